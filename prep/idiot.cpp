// The idiot crash from the model and back into it: the work form, the rounds and their penalty, the point and its duals.
#include "prep/idiot.h"

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <cstring>

#include "frame/entry_frame.h"
#include "frame/guarded_memory.h"
#include "frame/messages.h"
#include "frame/records.h"
#include "model/model_store.h"

namespace {

enum : int { TOLD_LINE = 1, TOLD_END = 4, TOLD_LEVEL = 8, TOLD_SLACKS = 9, TOLD_DETAIL = 10 };
constexpr double LARGEST_SIDE = 1.0e10;     // a row needs one bound below this
constexpr double SMALLEST_RANGE = 1.0e-8;   // rows with less are equations
constexpr int STOPPED = 3;                  // Iprobstat of a point that nobody has proved anything of

template <class T> T *array(QRTModel *model, int64_t count) {
  T *block = static_cast<T *>(temporaryAllocate(model, count + 1, int64_t(sizeof(T))));
  std::memset(static_cast<void *>(block), 0, size_t(count + 1) * sizeof(T));
  return block;
}

void say(QRTModel *model, int number, const char *text) { qrt_userMessage(model, number, text); }

double rowFactor(const QRTModel *model, int i) { return model->matrixScaled ? model->scales[i] : 1.0; }
double columnFactor(const QRTModel *model, int j) { return model->matrixScaled ? model->scales[model->Imaxrows + j] : 1.0; }
double scaledBound(double bound, double factor) { return std::fabs(bound) < QRT_INFINITE_TEST ? bound * factor : bound; }

// How a row becomes an equation.
struct RowForm {
  double rhs;
  double slack;  // coefficient of its artificial slack, 0 for none
  double range;
  bool free;     // no bound at all: it is left out
};

RowForm formOf(QRTModel *model, int i, double factor) {
  const double lower = scaledBound(model->lower[i], factor), upper = scaledBound(model->upper[i], factor);
  if (lower <= -QRT_INFINITE_TEST && upper >= QRT_INFINITE_TEST) return {0.0, 0.0, 0.0, true};
  if (std::fabs(lower) > LARGEST_SIDE && std::fabs(upper) > LARGEST_SIDE) {
    char text[80];
    snprintf(text, sizeof text, "Can't handle rows where both bounds >1.0e10 %d %g", i, lower);
    say(model, TOLD_DETAIL, text);
    qrt_s_stop();
  }
  const bool byLower = std::fabs(lower) <= std::fabs(upper);
  const double rhs = byLower ? lower : upper;
  if (upper - lower <= SMALLEST_RANGE) return {rhs, 0.0, 0.0, false};
  return {rhs, byLower ? -1.0 : 1.0, std::fmin(upper - lower, QRT_INFINITY), false};
}

double ownRowScale(const RowForm &form, double lower, double upper) {
  const double size = std::fmax(std::fabs(lower), std::fabs(upper));
  return !form.free && size > 1.0 && size < LARGEST_SIDE ? 1.0 / size : 1.0;
}

// Columns of the copy and the artificial slacks behind them, rows times `rowScale`.
IdiotWork *newWork(QRTModel *model, const CleanCopy *copy, const RowForm *forms, const double *rowScale) {
  IdiotWork *w = array<IdiotWork>(model, 1);
  const int m = model->Inumrows, n = model->Inumcols;
  int slacks = 0;
  for (int i = 0; i < m; i++) slacks += forms[i].slack != 0.0;
  w->model = model;
  w->m = m;
  w->n = n;
  w->total = n + slacks;
  int *starts = array<int>(model, w->total + 1), *rows = array<int>(model, int64_t(copy->nElements) + slacks);
  double *elements = array<double>(model, int64_t(copy->nElements) + slacks), *square = array<double>(model, w->total);
  double *lower = array<double>(model, w->total), *upper = array<double>(model, w->total), *cost = array<double>(model, w->total);
  double *rhs = array<double>(model, m);
  bool allOnes = true;
  int nz = 0;
  const auto put = [&](int i, double value, int j) {
    rows[nz] = i;
    elements[nz++] = value;
    square[j] += value * value;
    allOnes = allOnes && value == 1.0;
  };
  const double sense = qrtlplp.Rmaxmin;
  for (int j = 0; j < n; j++) {
    const double factor = columnFactor(model, j);
    lower[j] = scaledBound(model->lower[model->Imaxrows + j], factor);
    upper[j] = scaledBound(model->upper[model->Imaxrows + j], factor);
    cost[j] = sense * model->objective[model->Imaxrows + j] / factor;
    for (int e = copy->starts[j]; e < copy->starts[j + 1]; e++)
      if (!forms[copy->rows[e]].free) put(copy->rows[e], copy->elements[e] * rowScale[copy->rows[e]], j);
    starts[j + 1] = nz;
  }
  int at = n;
  for (int i = 0; i < m; i++) {
    rhs[i] = forms[i].rhs * rowScale[i];
    if (forms[i].slack == 0.0) continue;
    upper[at] = scaledBound(forms[i].range, rowScale[i]);
    put(i, forms[i].slack, at);
    starts[++at] = nz;
  }
  w->starts = starts;
  w->rows = rows;
  w->elements = allOnes ? nullptr : elements;
  w->lower = lower;
  w->upper = upper;
  w->cost = cost;
  w->square = square;
  w->rhs = rhs;
  w->x = array<double>(model, w->total);
  w->residual = array<double>(model, m);
  w->multiplier = array<double>(model, m);
  w->pull = array<double>(model, w->total);
  for (int k = 0; k < 3; k++) {
    w->oldX[k] = array<double>(model, w->total);
    w->oldResidual[k] = array<double>(model, m);
    w->direction[k] = array<double>(model, w->total);
    w->image[k] = array<double>(model, m);
  }
  return w;
}

// Columns at the model's values or at the bound nearest to 0; slacks where their row has them.
void startPoint(IdiotWork *w, bool fromSolution) {
  const QRTModel *model = w->model;
  for (int j = 0; j < w->total; j++) {
    const double wanted = fromSolution && j < w->n ? model->solution[model->Imaxrows + j] * columnFactor(model, j) : 0.0;
    w->x[j] = std::fmin(w->upper[j], std::fmax(w->lower[j], wanted));
  }
  idiot_residuals(w);
  for (int j = w->n; j < w->total; j++) {
    const int i = w->rows[w->starts[j]];
    const double sign = w->elements ? w->elements[w->starts[j]] : 1.0;
    const double to = std::fmin(w->upper[j], std::fmax(0.0, w->x[j] - w->residual[i] / sign));
    w->residual[i] += sign * (to - w->x[j]);
    w->x[j] = to;
  }
}

// The first column of a run of slacks that covers all rows, or -1: one element of 1 in the row of its place, and a cost
// of at least 0. Looked for behind the other columns, then in front of them.
int countCostedSlacks(const IdiotWork *w) {
  if (w->n < w->m || w->m == 0) return -1;
  const int places[] = {w->n - w->m, 0};
  for (int first : places) {
    int i = 0;
    for (; i < w->m; i++) {
      const int j = first + i, e = w->starts[j];
      if (w->starts[j + 1] - e != 1 || w->rows[e] != i || w->cost[j] < 0.0) break;
      if (w->elements && w->elements[e] != 1.0) break;
    }
    if (i == w->m) return first;
  }
  return -1;
}

// mu from the prices that the cheapest columns give the rows.
double muFromCosts(const IdiotWork *w) {
  double *price = array<double>(w->model, w->m);
  for (int i = 0; i < w->m; i++) price[i] = QRT_INFINITY;
  for (int j = 0; j < w->n; j++) {
    const int count = w->starts[j + 1] - w->starts[j];
    for (int e = w->starts[j]; e < w->starts[j + 1]; e++) price[w->rows[e]] = std::fmin(price[w->rows[e]], w->cost[j] / count);
  }
  double sum = 0.0;
  for (int i = 0; i < w->m; i++)
    if (price[i] < QRT_INFINITY) sum += std::fabs(price[i]);
  return std::fmax(5.0, 2.0 * sum / (4.0 * w->m + 8000.0) * 0.5);
}

// The rounds and what steers them.
struct Rounds {
  IdiotWork *w;
  const IdiotInfo *info;
  double mu, djTest, drop, smallInfeas, reasonable;
  double lastInfeas, lastObjective;  // of the round before
  int count, atThisMu, sweeps, updates;
  // the test of the fall
  double oldInfeas, oldObjective;
  int withoutFall;
  double *best;                      // [total], null unless the best point is kept
  double bestInfeas, bestObjective;
};

bool falls(double now, double before, double enough) {
  return before - now >= enough * (std::fmax(std::fabs(before), std::fabs(now)) + 1.0);
}

// False after five rounds in a row in which neither infeasibility nor objective fell enough.
bool dropping(Rounds *r, double infeasibility, double objective) {
  const double enough = r->info->dropEnough;
  const bool passes = falls(infeasibility, r->oldInfeas, enough) || falls(objective, r->oldObjective, enough);
  r->oldInfeas = infeasibility;
  r->oldObjective = objective;
  r->withoutFall = passes ? 0 : r->withoutFall + 1;
  return r->withoutFall < 5;
}

int awayFromBounds(const IdiotWork *w, double tolerance) {
  int count = 0;
  for (int j = 0; j < w->n; j++) count += w->x[j] > w->lower[j] + tolerance && w->x[j] < w->upper[j] - tolerance;
  return count;
}

double columnTolerance(const IdiotInfo &info) { return info.strategy & IDIOT_TIGHT_COLUMNS ? 1.0e-10 : 1.0e-6; }

void sayRound(const Rounds *r, const IdiotResult &found) {
  const int interior = awayFromBounds(r->w, columnTolerance(*r->info));
  char text[160];
  if (r->info->logging & 1)
    snprintf(text, sizeof text, "Iteration %d - mu %g, drop %g, dj test %g, %d away from bounds", r->count, r->mu, r->drop, r->djTest,
             interior);
  else
    snprintf(text, sizeof text, "%d - mu %g, infeasibility %g, objective %g, %d interior", r->count, r->mu, found.infeasibility,
             found.objective, interior);
  say(r->w->model, TOLD_LINE, text);
}

void keepBest(Rounds *r, const IdiotResult &found) {
  if (!r->best) return;
  const bool small = found.infeasibility <= r->smallInfeas, wasSmall = r->bestInfeas <= r->smallInfeas;
  if (small && wasSmall ? found.objective >= r->bestObjective : found.infeasibility >= r->bestInfeas) return;
  r->bestInfeas = found.infeasibility;
  r->bestObjective = found.objective;
  std::memcpy(r->best, r->w->x, size_t(r->w->total) * sizeof(double));
}

void lowerLevel(Rounds *r, double infeasibility) {
  if (!(r->info->strategy & IDIOT_FALLING_LEVEL) || infeasibility >= r->reasonable) return;
  r->reasonable = std::fmax(std::sqrt(infeasibility * r->reasonable), r->smallInfeas);
  char text[64];
  snprintf(text, sizeof text, "reasonable infeas now %g", r->reasonable);
  say(r->w->model, TOLD_LEVEL, text);
}

void updateMultipliers(Rounds *r, double infeasibility) {
  IdiotWork *w = r->w;
  const bool oldOnly = r->info->strategy & IDIOT_OLD_MULTIPLIERS;
  for (int i = 0; i < w->m; i++)
    if (!oldOnly || w->multiplier[i] != 0.0) w->multiplier[i] += w->residual[i] / r->mu;
  r->updates++;
  if (r->updates % 10 || infeasibility <= 1.5 * r->smallInfeas) return;
  char text[96];
  snprintf(text, sizeof text, " Increasing smallInfeas from %f to %f", r->smallInfeas, 1.5 * r->smallInfeas);
  say(w->model, TOLD_LEVEL, text);
  r->smallInfeas *= 1.5;
}

// A lower mu, or new multipliers at this one.
void nextPenalty(Rounds *r, const IdiotResult &found) {
  const double infeasibility = found.infeasibility;
  r->atThisMu++;
  const bool stalled = infeasibility > 0.9 * r->lastInfeas && !falls(found.objective, r->lastObjective, 0.05);
  const bool settled = infeasibility <= r->reasonable && infeasibility >= 0.98 * r->lastInfeas;
  if (settled || r->atThisMu >= r->info->majorIterations || stalled) {
    r->mu *= r->info->muFactor;
    r->atThisMu = 0;
    lowerLevel(r, infeasibility);
  } else if (r->info->lambdaIterations >= 0) {
    updateMultipliers(r, infeasibility);
  }
}

void runRounds(Rounds *r, double startInfeas, double *startX) {
  IdiotWork *w = r->w;
  const IdiotInfo &info = *r->info;
  r->lastInfeas = r->oldInfeas = startInfeas;
  r->lastObjective = r->oldObjective = 0.0;
  r->bestInfeas = r->bestObjective = QRT_INFINITY;
  for (;;) {
    const IdiotLimits limits = {info.firstIterations > 0 ? info.firstIterations : info.maxIterations, r->mu, r->drop, r->djTest,
                                info.strategy & (IDIOT_MOVES_SMALL | IDIOT_INNER_MOVES) ? r->smallInfeas : QRT_INFINITY,
                                std::max(1, info.dropFrequency), std::max(1, info.checkFrequency)};
    const IdiotResult found = qrtidiot3(w, limits);
    r->count++;
    r->sweeps += found.sweeps;
#ifdef QRT_SELF_CHECKS
    if (const char *fault = idiot_check(w)) fprintf(stderr, "idiot crash: %s\n", fault);
#endif
    const bool goOn = found.infeasibility >= r->reasonable && !(r->mu < info.stopMu && found.infeasibility < r->smallInfeas)
                          ? true
                          : dropping(r, found.infeasibility, found.objective);
    keepBest(r, found);
    sayRound(r, found);
    if (!goOn) return;
    if ((info.strategy & IDIOT_TIGHT_START) && r->count > 3) {
      r->djTest = info.djTest * (std::fabs(found.weighted) + 10.0);
      r->drop = 0.01 * r->djTest;
    }
    if (r->count == 1 && found.infeasibility < 0.9 * startInfeas && found.infeasibility > r->reasonable) {
      // Well on the way: the same way again, with dearer residuals.
      r->mu *= 0.1;
      std::memcpy(w->x, startX, size_t(w->total) * sizeof(double));
    } else {
      nextPenalty(r, found);
    }
    r->lastInfeas = found.infeasibility;
    r->lastObjective = found.objective;
    if (r->count >= qrtlplp.Imajorits) {
      say(w->model, TOLD_END, "Exiting due to imajorits");
      return;
    }
    if (r->mu < info.stopMu) return;
  }
}

// Column values, activities, duals as the penalty estimates them; all slacks basic.
void storePoint(IdiotWork *w, double mu, double tolerance, const double *rowScale, double *largest) {
  QRTModel *model = w->model;
  const int base = model->Imaxrows;
  for (int i = 0; i < w->m; i++) {
    model->solution[i] = 0.0;
    model->dual[i] = -(w->multiplier[i] + w->residual[i] / mu) * rowScale[i] * rowFactor(model, i);
    model->status[i] = int(STATUS_BASIC | (uint32_t(i + 1) & STATUS_POSITION_MASK));
  }
  for (int j = 0; j < w->n; j++) {
    const int at = base + j;
    const bool atLower = w->x[j] - w->lower[j] <= tolerance, atUpper = w->upper[j] - w->x[j] <= tolerance;
    const bool free = model->lower[at] <= -QRT_INFINITE_TEST && model->upper[at] >= QRT_INFINITE_TEST;
    model->solution[at] = atLower ? model->lower[at] : atUpper ? model->upper[at] : w->x[j] / columnFactor(model, j);
    model->status[at] = int(atLower ? STATUS_AT_LOWER : atUpper ? STATUS_AT_UPPER : free && w->x[j] == 0.0 ? STATUS_FREE : 0u);
    double dj = w->pull[j];
    for (int e = w->starts[j]; e < w->starts[j + 1]; e++) dj += (w->elements ? w->elements[e] : 1.0) * w->residual[w->rows[e]] / mu;
    model->dual[at] = dj * columnFactor(model, j);
  }
  *largest = 0.0;
  for (int i = 0; i < w->m; i++) *largest = std::fmax(*largest, std::fabs(w->residual[i]) / (rowScale[i] * rowFactor(model, i)));
}

// Row activities of the stored columns, their violations, the objective.
void measure(IdiotWork *w, const CleanCopy *copy) {
  QRTModel *model = w->model;
  double objective = -qrtlplp.RobjectiveOffset;
  for (int j = 0; j < w->n; j++) {
    const double x = model->solution[model->Imaxrows + j];
    objective += model->objective[model->Imaxrows + j] * x;
    for (int e = copy->starts[j]; e < copy->starts[j + 1]; e++)
      model->solution[copy->rows[e]] += copy->elements[e] / elementFactor(model, copy->rows[e], j) * x;
  }
  qrtlplp.Rsumpinf = 0.0;
  qrtlplp.Inumpinf = 0;
  for (int i = 0; i < w->m; i++) {
    const double outside = std::fmax(model->lower[i] - model->solution[i], model->solution[i] - model->upper[i]);
    if (outside <= qrtlplp.Rtolpinf) continue;
    qrtlplp.Rsumpinf += outside;
    qrtlplp.Inumpinf++;
  }
  qrtlplp.Robjvalue = objective;
  qrtlplp.Iprobstat = STOPPED;
}

bool hasColumnBlock(const QRTModel *model) {
  return model->Inumblocks == 1 && std::abs(model->blocks[0].type) == 3 && model->Inumcols > 0 && model->Inumrows > 0;
}

}  // namespace

void qrt_initializeIdiot(QRTModel *model) {
  if (!model->idiotInfo) model->idiotInfo = static_cast<IdiotInfo *>(guardedAllocate(1, sizeof(IdiotInfo)));
  *model->idiotInfo = {0.1, 1.0e-4, 50.0, 0.3333, 1.0e-7, 0.1, 100.0, 0.001, 1.0e31, 1, 1000, 1, 100, 100, 0, 100, 3, 0};
}

IdiotInfo *qrt_idiotInfo(QRTModel *model) {
  if (!model->idiotInfo) qrt_initializeIdiot(model);
  return model->idiotInfo;
}

int runIdiot(QRTModel *model, const IdiotInfo &info) {
  if (!hasColumnBlock(model)) {
    say(model, TOLD_DETAIL, "The idiot crash needs the matrix in one block by columns");
    return 1;
  }
  const double begin = qrtcput();
  if (qrtlplp.RobjectiveOffset != 0.0) printf("** Objective offset is %g\n", qrtlplp.RobjectiveOffset);
  CleanCopy copy;
  qrt_cleanCopy(model, &copy, CLEAN_COLUMNS, 0.0, 0);
  RowForm *forms = array<RowForm>(model, model->Inumrows);
  double *rowScale = array<double>(model, model->Inumrows);
  for (int i = 0; i < model->Inumrows; i++) {
    const double factor = rowFactor(model, i);
    forms[i] = formOf(model, i, factor);
    rowScale[i] = info.strategy & IDIOT_SCALE_ROWS ? ownRowScale(forms[i], model->lower[i] * factor, model->upper[i] * factor) : 1.0;
  }
  IdiotWork *w = newWork(model, &copy, forms, rowScale);
  if (countCostedSlacks(w) >= 0) say(model, TOLD_SLACKS, "This model has costed slacks");
  startPoint(w, info.strategy & IDIOT_FROM_SOLUTION);
  double *startX = array<double>(model, w->total);
  std::memcpy(startX, w->x, size_t(w->total) * sizeof(double));
  const bool tight = info.strategy & IDIOT_TIGHT_START;
  Rounds r = {};
  r.w = w;
  r.info = &info;
  r.mu = info.mu == 0.0 ? muFromCosts(w) : info.mu;
  r.djTest = tight ? 1.0e-10 : info.djTest;
  r.drop = info.drop;
  r.smallInfeas = info.smallInfeas;
  r.reasonable = info.reasonableInfeas;
  r.best = info.strategy & IDIOT_KEEP_BEST ? array<double>(model, w->total) : nullptr;
  const double startInfeas = idiot_value(w, r.mu).infeasibility;
  runRounds(&r, startInfeas, startX);
  if (r.best) std::memcpy(w->x, r.best, size_t(w->total) * sizeof(double));
  idiot_residuals(w);
  idiot_pulls(w);
  double largest;
  storePoint(w, r.mu, columnTolerance(info), rowScale, &largest);
  measure(w, &copy);
  qrtlplp.Iiternum = r.sweeps;
  printf("Time %g   Total iteration count %d, %d non-zero, lambda iters = % d\n", qrtcput() - begin, r.sweeps,
         awayFromBounds(w, columnTolerance(info)), r.updates);
  printf("largest infeasibility is %g\n", largest);
  qrt_deleteCleanCopy(&copy);
  return 0;
}

// Its own function: no local of it lives across the jump frame of the entry.
static int idiotFramed(QRTModel *model) {
  CompressInfo *compressed = (model->modelFlags & MODEL_COMPRESS) ? qrt_compressMatrix(model) : nullptr;
  const IdiotInfo info = *qrt_idiotInfo(model);
  qrt_down(model, 1, 0);
  const int code = runIdiot(model, info);
  qrt_up(model, 0);
  if (compressed) qrt_decompressMatrix(model, compressed);
  return code;
}

static int recoverIdiot(QRTModel *model) {
  const int code = qrt_disaster(model);
  if (model->compression) qrt_decompressMatrix(model, model->compression);
  return code;
}

extern "C" int qrt_idiot(QRTModel *model) {
  qrt_enter(model, "qrt_idiot", 1);
  QRT_JUMP_FRAME(model, recoverIdiot(model));
  const int code = idiotFramed(model);
  QRT_END_FRAME();
  qrt_leave(model);
  return code;
}
