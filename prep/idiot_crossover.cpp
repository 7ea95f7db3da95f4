// From the point of the idiot crash to a basis: the columns that the point uses are solved for alone, then those that the
// duals ask for join, then all.
//
// Columns outside the working set are fixed where they stand, so that a solve with compression works on the small matrix.
// Their bounds come back before the last solve, and also when a solve in between fails.
#include <algorithm>
#include <cmath>
#include <cstdio>
#include <cstring>

#include "frame/controls.h"
#include "frame/entry_frame.h"
#include "frame/guarded_memory.h"
#include "frame/messages.h"
#include "model/model_store.h"
#include "prep/idiot.h"
#include "prep/presolve_call.h"

namespace {

enum : int { TOLD_LEVEL = 8 };
enum : int { GO_ON = 0, FULL_PRICING = 1, FROM_VALUES = 3 };
constexpr int CRASH_TYPE = 1, PRESOLVE_TYPE = 67;
constexpr double NEAR_BOUND = 1.0e-6;
constexpr double WEIGHT_FACTOR = 10.0;  // Rpweight of each further round

// The crossover of one model; arrays are guarded blocks of its own.
struct CrossOver {
  QRTModel *model;
  int m, n;
  CleanCopy copy;
  double *lower, *upper;  // [n] the model's own bounds while columns are fixed
  bool presolve;          // before the solve of a working set
  char *free;             // [n] 1: in the working set
  double *key;            // [n] reduced cost in the direction into the bounds; below 0: the column wants to move
};

double *columns(QRTModel *model, double *rim) { return rim + model->Imaxrows; }

// Columns near a bound go to it; activities follow.
void snap(CrossOver *c) {
  QRTModel *model = c->model;
  double *x = columns(model, model->solution);
  for (int i = 0; i < c->m; i++) model->solution[i] = 0.0;
  double objective = 0.0;
  for (int j = 0; j < c->n; j++) {
    const double lower = c->lower[j], upper = c->upper[j];
    if (x[j] - lower <= NEAR_BOUND * (1.0 + std::fabs(lower))) x[j] = lower;
    else if (upper - x[j] <= NEAR_BOUND * (1.0 + std::fabs(upper))) x[j] = upper;
    objective += columns(model, model->objective)[j] * x[j];
    for (int e = c->copy.starts[j]; e < c->copy.starts[j + 1]; e++)
      model->solution[c->copy.rows[e]] += c->copy.elements[e] / elementFactor(model, c->copy.rows[e], j) * x[j];
  }
  char text[64];
  snprintf(text, sizeof text, "New objective after scaling %g", objective);
  qrt_userMessage(model, TOLD_LEVEL, text);
}

// Keys of the columns outside the working set, by the duals the model holds.
void priceOut(CrossOver *c, double sense) {
  const QRTModel *model = c->model;
  for (int j = 0; j < c->n; j++) {
    double dj = sense * model->objective[model->Imaxrows + j];
    for (int e = c->copy.starts[j]; e < c->copy.starts[j + 1]; e++)
      dj -= c->copy.elements[e] / elementFactor(model, c->copy.rows[e], j) * model->dual[c->copy.rows[e]];
    const double x = model->solution[model->Imaxrows + j];
    c->key[j] = c->lower[j] == c->upper[j] ? QRT_INFINITY : x == c->lower[j] ? dj : x == c->upper[j] ? -dj : -std::fabs(dj);
  }
}

// Frees those with the smallest keys, at most `allowed`, and none whose key exceeds the limit. Their number.
int admit(CrossOver *c, int allowed, double limit) {
  double *sorted = static_cast<double *>(guardedAllocate(int64_t(c->n) + 1, sizeof(double)));
  int candidates = 0;
  for (int j = 0; j < c->n; j++)
    if (!c->free[j] && c->key[j] < limit) sorted[candidates++] = c->key[j];
  if (candidates > allowed) {
    std::nth_element(sorted, sorted + allowed, sorted + candidates);
    limit = sorted[allowed];
  }
  int count = 0;
  for (int j = 0; j < c->n; j++)
    if (!c->free[j] && c->key[j] < limit) {
      c->free[j] = 1;
      count++;
    }
  qrt_free(sorted);
  return count;
}

void fixOthers(CrossOver *c) {
  QRTModel *model = c->model;
  double *lower = columns(model, model->lower), *upper = columns(model, model->upper), *x = columns(model, model->solution);
  for (int j = 0; j < c->n; j++) {
    lower[j] = c->free[j] ? c->lower[j] : x[j];
    upper[j] = c->free[j] ? c->upper[j] : x[j];
  }
}

void giveBoundsBack(CrossOver *c) {
  QRTModel *model = c->model;
  if (c->n) std::memcpy(columns(model, model->lower), c->lower, size_t(c->n) * sizeof(double));
  if (c->n) std::memcpy(columns(model, model->upper), c->upper, size_t(c->n) * sizeof(double));
}

// A column that was fixed between its bounds is at none of them; one at a bound says so.
void statusesOfFixed(CrossOver *c) {
  QRTModel *model = c->model;
  for (int j = 0; j < c->n; j++) {
    const int at = model->Imaxrows + j;
    if (c->free[j] || (uint32_t(model->status[at]) & STATUS_BASIC)) continue;
    const double x = model->solution[at];
    model->status[at] = int(x == c->lower[j] ? STATUS_AT_LOWER : x == c->upper[j] ? STATUS_AT_UPPER : 0u);
  }
}

// The set on a smaller model, whose columns outside it are gone.
int solveSmaller(QRTModel *model, int mode) {
  int code = preSolveForRun(model, PRESOLVE_TYPE, nullptr);
  if (code >= 2) return code;
  const bool reduced = code == 0;
  code = qrt_primalSimplex(model, reduced ? FULL_PRICING : mode);
  if (!reduced) return code;
  const int back = qrt_postSolve(model, nullptr);
  return code < 2 ? back : code;
}

int solveSet(CrossOver *c, int mode) {
  fixOthers(c);
  const uint32_t flags = c->model->modelFlags;
  c->model->modelFlags |= MODEL_COMPRESS;
  const int code = c->presolve ? solveSmaller(c->model, mode) : qrt_primalSimplex(c->model, mode);
  c->model->modelFlags = flags;
  giveBoundsBack(c);
  statusesOfFixed(c);
  return code;
}

void allSlackBasis(QRTModel *model) {
  for (int j = 0; j < model->Inumcols; j++) model->status[model->Imaxrows + j] &= int(~STATUS_BASIC);
  for (int i = 0; i < model->Inumrows; i++) model->status[i] = int(STATUS_BASIC | (uint32_t(i + 1) & STATUS_POSITION_MASK));
}

int runRounds(CrossOver *c, const IdiotInfo &info, double sense, bool close) {
  QRTModel *model = c->model;
  int interior = 0;
  for (int j = 0; j < c->n; j++) {
    const double x = columns(model, model->solution)[j];
    c->free[j] = x > c->lower[j] && x < c->upper[j];
    interior += c->free[j];
  }
  priceOut(c, sense);
  const int allowed = std::max(c->m, c->n / 10);
  const int ordinary = admit(c, allowed, close ? 0.0 : QRT_INFINITY);
  char text[80];
  snprintf(text, sizeof text, "%d added from previous iterations, %d ordinary allowed, ", interior, ordinary);
  qrt_userMessage(model, TOLD_LEVEL, text);
  allSlackBasis(model);
  fixOthers(c);
  int code = qrt_crash(model, CRASH_TYPE);
  giveBoundsBack(c);
  const double weight = controlReal(model, CONTROL_Rpweight);
  for (int round = 0; code < 2 && round <= info.strategyCount; round++) {
    if (round > 0) {
      priceOut(c, sense);
      if (admit(c, allowed, -controlReal(model, CONTROL_Rtoldinf)) == 0) break;
      storeControlReal(model, CONTROL_Rpweight, controlReal(model, CONTROL_Rpweight) * WEIGHT_FACTOR);
    }
    code = solveSet(c, round == 0 ? FULL_PRICING : GO_ON);
    if (controlInteger(model, CONTROL_Iprobstat) != 0) break;  // the columns that help are not among them
  }
  storeControlReal(model, CONTROL_Rpweight, weight);
  return code;
}

}  // namespace

int crossOverIdiot(QRTModel *model, const IdiotInfo &info, int mode) {
  CrossOver c = {};
  c.model = model;
  c.m = model->Inumrows;
  c.n = model->Inumcols;
  qrt_cleanCopy(model, &c.copy, CLEAN_COLUMNS | CLEAN_OWNED, 0.0, 0);
  const int64_t length = int64_t(c.n) + 1;
  c.lower = static_cast<double *>(guardedAllocate(length, sizeof(double)));
  c.upper = static_cast<double *>(guardedAllocate(length, sizeof(double)));
  c.key = static_cast<double *>(guardedAllocate(length, sizeof(double)));
  c.free = static_cast<char *>(guardedAllocate(length, 1));
  if (c.n) std::memcpy(c.lower, columns(model, model->lower), size_t(c.n) * sizeof(double));
  if (c.n) std::memcpy(c.upper, columns(model, model->upper), size_t(c.n) * sizeof(double));
  c.presolve = (mode & IDIOT_CROSS_PRESOLVED) && !model->presolveStream;
  snap(&c);
  int code = runRounds(&c, info, controlReal(model, CONTROL_Rmaxmin), mode & IDIOT_CROSS_CLOSE);
  qrt_deleteCleanCopy(&c.copy);
  for (void *block : {static_cast<void *>(c.lower), static_cast<void *>(c.upper), static_cast<void *>(c.key), static_cast<void *>(c.free)})
    qrt_free(block);
  if (code >= 2) return code;
  const int devex = controlInteger(model, CONTROL_Idevexmode);
  storeControlInteger(model, CONTROL_Idevexmode, 1);
  code = qrt_primalSimplex(model, mode & ~(IDIOT_CROSS_CLOSE | IDIOT_CROSS_PRESOLVED));
  storeControlInteger(model, CONTROL_Idevexmode, devex);
  return code;
}

extern "C" int qrt_idiotCrossOver(QRTModel *model, int mode) {
  qrt_enter(model, "qrt_idiotCrossOver", 2);
  QRT_JUMP_FRAME(model, qrt_disaster(model));
  qrt_checkParameter(model, 2, mode, GO_ON, FROM_VALUES);
  const int code = crossOverIdiot(model, *qrt_idiotInfo(model), mode);
  QRT_END_FRAME();
  qrt_leave(model);
  return code;
}
