// A crash from the model and back into it: all slacks basic, columns at a bound, then the passes.
#include "prep/crash.h"

#include <cmath>
#include <cstring>

#include "frame/entry_frame.h"
#include "frame/guarded_memory.h"
#include "frame/messages.h"
#include "frame/records.h"
#include "model/model_store.h"

namespace {

constexpr double FIRST_SEED = 1.0e8;     // the same model gives the same basis
constexpr double COST_LIMIT = 100.0;     // times the largest cost of the other columns bars a singleton
constexpr int START_FROM_VALUES = 3;     // for a solver that goes on from here

template <class T> T *array(QRTModel *model, int64_t count) {
  T *block = static_cast<T *>(temporaryAllocate(model, count + 1, int64_t(sizeof(T))));
  std::memset(static_cast<void *>(block), 0, size_t(count + 1) * sizeof(T));
  return block;
}

bool anyColumnBasic(const QRTModel *model) {
  for (int j = 0; j < model->Inumcols; j++)
    if (uint32_t(model->status[model->Imaxrows + j]) & STATUS_BASIC) return true;
  return false;
}

// The nearest bound to a value, or zero without any.
double boundNearest(double lower, double upper, double value) {
  const bool hasLower = lower > -QRT_INFINITE_TEST, hasUpper = upper < QRT_INFINITE_TEST;
  if (hasLower && (!hasUpper || value - lower <= upper - value)) return lower;
  return hasUpper ? upper : 0.0;
}

void loadMatrix(CrashWork *w, CleanCopy *copy) {
  QRTModel *model = w->model;
  w->starts = copy->starts;
  w->rows = copy->rows;
  w->rowStarts = copy->rowStarts;
  w->columns = copy->columns;
  w->elements = array<double>(model, copy->nElements);
  w->rowElements = array<double>(model, copy->nElements);
  for (int j = 0; j < w->n; j++)
    for (int e = w->starts[j]; e < w->starts[j + 1]; e++) {
      w->elements[e] = copy->elements[e] / elementFactor(model, w->rows[e], j);
      w->columnLargest[j] = std::fmax(w->columnLargest[j], std::fabs(w->elements[e]));
    }
  for (int i = 0; i < w->m; i++)
    for (int e = w->rowStarts[i]; e < w->rowStarts[i + 1]; e++)
      w->rowElements[e] = copy->rowElements[e] / elementFactor(model, i, w->columns[e]);
}

// All slacks basic, columns at a bound, activities with them (qrtnlbsf).
void loadRims(CrashWork *w) {
  const QRTModel *model = w->model;
  for (int j = 0; j < w->n; j++) {
    const int at = model->Imaxrows + j;
    w->lower[j] = model->lower[at];
    w->upper[j] = model->upper[at];
    w->value[j] = boundNearest(w->lower[j], w->upper[j], model->solution[at]);
    for (int e = w->starts[j]; e < w->starts[j + 1]; e++) w->activity[w->rows[e]] += w->elements[e] * w->value[j];
    if (w->upper[j] - w->lower[j] <= w->tolerance) w->state[j] = COLUMN_FIXED;
  }
}

// Primal care alone: a singleton that costs out of all proportion would fill its row too dearly. Dual care: with costs
// out of the basis the multipliers stay zero, and every reduced cost stays the cost it is.
void leaveOutByCost(CrashWork *w, bool dualCare) {
  const double *cost = w->model->objective + w->model->Imaxrows;
  double largest = 0.0;
  for (int j = 0; j < w->n; j++)
    if (w->starts[j + 1] - w->starts[j] > 1) largest = std::fmax(largest, std::fabs(cost[j]));
  for (int j = 0; j < w->n; j++) {
    if (w->state[j] != COLUMN_OPEN) continue;
    const bool singleton = w->starts[j + 1] - w->starts[j] == 1;
    if (dualCare ? cost[j] != 0.0 : singleton && std::fabs(cost[j]) > COST_LIMIT * largest)
      w->state[j] = COLUMN_LEFT_OUT;
  }
}

void prepareLists(CrashWork *w) {
  for (int c = 0; c <= CRASH_LISTS; c++) w->first[c] = -1;
  for (int i = 0; i < w->m; i++) {
    w->pivotColumn[i] = -1;
    for (int e = w->rowStarts[i]; e < w->rowStarts[i + 1]; e++) w->openCount[i] += w->state[w->columns[e]] == COLUMN_OPEN;
    w->wanted[i] = w->rowLower[i] > -QRT_INFINITE_TEST || w->rowUpper[i] < QRT_INFINITE_TEST;
  }
}

uint32_t sideOf(double lower, double upper, double value) {
  if (upper - lower <= 1.0e-12) return 0u;
  if (lower > -QRT_INFINITE_TEST && value == lower) return STATUS_AT_LOWER;
  if (upper < QRT_INFINITE_TEST && value == upper) return STATUS_AT_UPPER;
  return STATUS_FREE;
}

void storeBasis(const CrashWork *w) {
  QRTModel *model = w->model;
  const int base = model->Imaxrows;
  for (int j = 0; j < w->n; j++) {
    const int at = base + j;
    model->solution[at] = w->value[j];
    model->status[at] = int(sideOf(model->lower[at], model->upper[at], w->value[j]));
  }
  for (int i = 0; i < w->m; i++) {
    const int basic = w->pivotColumn[i] < 0 ? i : base + w->pivotColumn[i];
    model->solution[i] = w->activity[i];
    if (w->pivotColumn[i] >= 0) model->status[i] = int(sideOf(w->rowLower[i], w->rowUpper[i], w->activity[i]));
    model->status[basic] = int(STATUS_BASIC | (uint32_t(i + 1) & STATUS_POSITION_MASK));
  }
}

CrashWork *newWork(QRTModel *model, int type) {
  CrashWork *w = array<CrashWork>(model, 1);
  const int m = model->Inumrows, n = model->Inumcols;
  w->model = model;
  w->m = m;
  w->n = n;
  w->columnLargest = array<double>(model, n);
  w->lower = array<double>(model, n);
  w->upper = array<double>(model, n);
  w->value = array<double>(model, n);
  w->rowLower = model->lower;
  w->rowUpper = model->upper;
  w->columnLower = model->lower + model->Imaxrows;
  w->columnUpper = model->upper + model->Imaxrows;
  w->activity = array<double>(model, m);
  w->state = array<CrashColumn>(model, n);
  w->pivotColumn = array<int>(model, m);
  w->openCount = array<int>(model, m);
  w->first = array<int>(model, CRASH_LISTS);
  w->next = array<int>(model, m);
  w->previous = array<int>(model, m);
  w->listed = array<char>(model, m);
  w->wanted = array<char>(model, m);
  w->tolerance = qrtlplp.Rtolpinf;
  w->relaxing = type <= CRASH_DUAL && !model->presolveInfo;
  w->seed = FIRST_SEED;
  return w;
}

}  // namespace

void qrtcrshf(QRTModel *model, int type) {
  const bool dualCare = type == CRASH_DUAL || type == CRASH_DUAL_STRICT;
  if (dualCare) qrtmesg_no(MSG_DUAL_CARE);
  if (model->Inumrows > 0 && model->Inumcols > 0 && !anyColumnBasic(model)) {
    CrashWork *w = newWork(model, type);
    CleanCopy copy;
    qrt_cleanCopy(model, &copy, CLEAN_COLUMNS | CLEAN_ROWS, 0.0, 0);
    loadMatrix(w, &copy);
    loadRims(w);
    leaveOutByCost(w, dualCare);
    prepareLists(w);
    runCrash(w);
    storeBasis(w);
    qrt_deleteCleanCopy(&copy);
  }
  if (type >= CRASH_PRIMAL_STRICT) qrtlplp.startWord = START_FROM_VALUES;
}

// Its own function: no local of it lives across the jump frame of the entry.
static void crashFramed(QRTModel *model, int type) {
  qrt_checkParameter(model, 2, type, CRASH_PRIMAL, CRASH_DUAL_STRICT);
  qrt_down(model, 0, 0);
  qrtcrshf(model, type);
  qrt_up(model, 0);
}

extern "C" int qrt_crash(QRTModel *model, int type) {
  qrt_enter(model, "qrt_crash", 2);
  QRT_JUMP_FRAME(model, qrt_disaster(model));
  crashFramed(model, type);
  QRT_END_FRAME();
  qrt_leave(model);
  return 0;
}
