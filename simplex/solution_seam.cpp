// The seam between a model and a solve: the only place that knows both forms.
//
//     caller's view                          inside
//     activity r_i of row i, at its lower    logical s_i = -r_i / varScale, at its upper
//     column j at [Imaxrows + j - 1]         variable m + j, value x_j / varScale
//     c, in the sense of Rmaxmin             cost = Rmaxmin * c * varScale, minimised
//     dual y_i, reduced cost r_j             y_i / ..., dj_j / varScale; the core's sign of y is the caller's negated
//
// varScale is what a unit of the inside is worth outside: 1/rowScale for a logical; for a structural columnScale of the
// solver's own factors (a * rowScale * columnScale), 1/factor of a model its owner scaled (a * row factor / column factor).
#include <cmath>
#include <cstdio>
#include <cstring>

#include "frame/guarded_memory.h"
#include "frame/messages.h"
#include "model/model_store.h"
#include "simplex/driver.h"
#include "simplex/dual.h"
#include "simplex/kept_solve.h"
#include "simplex/scaling.h"

namespace {

template <class T> T *array(SimplexWork *w, int64_t count) {
  return static_cast<T *>(solveMemory(w, count + 1, sizeof(T)));
}

// An array [0..count] whose entries from 1 on are all written before any is read.
template <class T> T *rawArray(SimplexWork *w, int64_t count) {
  T *block = static_cast<T *>(solveMemoryRaw(w, count + 1, sizeof(T)));
  block[0] = T();
  return block;
}

// A work vector that lives as long as the solve.
void workVector(SimplexWork *w, SparseVector *v) {
  v->size = w->m;
  v->count = 0;
  v->index = array<int32_t>(w, w->m + 1);
  v->value = array<double>(w, w->m + 1);
}

void allocateArrays(SimplexWork *w) {
  const int64_t total = w->total, m = w->m;
  w->lower = rawArray<double>(w, total);
  w->upper = rawArray<double>(w, total);
  w->value = rawArray<double>(w, total);
  w->cost = rawArray<double>(w, total);
  w->flags = rawArray<uint32_t>(w, total);
  w->dj = array<double>(w, total);
  w->weight = rawArray<double>(w, total);
  w->list = rawArray<int>(w, total);
  w->where = rawArray<int>(w, total);
  w->basicLower = array<double>(w, m);
  w->basicValue = array<double>(w, m);
  w->basicUpper = array<double>(w, m);
  w->basicStatus = array<uint32_t>(w, m);
  w->excess = array<double>(w, m);
  w->tauVector = array<double>(w, m);
  w->trueLower = rawArray<double>(w, total);
  w->trueUpper = rawArray<double>(w, total);
  w->objective = rawArray<double>(w, total);
  w->varScale = rawArray<double>(w, total);
  w->shift = array<double>(w, total);
  w->y = array<double>(w, m);
  int *unit = array<int>(w, m);
  for (int i = 1; i <= m; i++) unit[i] = i;
  w->unitRow = unit;
  workVector(w, &w->rhs);
  workVector(w, &w->multipliers);
}

// Factors by which an element inside differs from the stored one: row[i] * column[j]; null: all 1.
struct ElementFactors {
  const double *row, *column;
};

// The solver's own factors. They depend on the matrix alone: a model solved again finds those of the first time.
ElementFactors ownFactors(SimplexWork *w, const QRTMatrixCopy *copy) {
  ModelMatrixCopies *kept = w->model->rowColumnCopy;
  if (kept->solverScaled == 0) {
    double *factors = static_cast<double *>(guardedAllocate(int64_t(w->m) + w->n + 1, int64_t(sizeof(double))));
    double *work = array<double>(w, 2 * int64_t(w->m));
    const bool chosen = chooseScales(w->m, w->n, copy->starts, copy->indices, copy->elements, factors, factors + w->m, work);
    kept->solverScales = factors;
    kept->solverScaled = chosen ? 2 : 1;
  }
  if (kept->solverScaled != 2) return {nullptr, nullptr};
  return {kept->solverScales, kept->solverScales + w->m};
}

// Factors the elements carry already (a model scaled by its owner), or factors of the solver's own choice; without
// scaleInside neither. Sets varScale and matrixForm.
ElementFactors setScales(SimplexWork *w, const QRTMatrixCopy *copy, int scaleInside) {
  QRTModel *model = w->model;
  w->scaled = 0;
  w->matrixForm = FORM_STORED;
  ElementFactors factors = {nullptr, nullptr};
  if (model->matrixScaled) {
    const double *owner = model->scales, *ownerColumn = model->scales + model->Imaxrows;
    if (scaleInside) {
      for (int i = 1; i <= w->m; i++) w->varScale[i] = 1.0 / owner[i - 1];
      for (int j = 1; j <= w->n; j++) w->varScale[w->m + j] = 1.0 / ownerColumn[j - 1];
      w->scaled = 2;
      return factors;
    }
    // The owner's factors are taken back: the problem stands in the caller's units.
    double *rowScale = array<double>(w, w->m);
    for (int i = 0; i < w->m; i++) rowScale[i] = 1.0 / owner[i];
    factors = {rowScale, ownerColumn};
    w->matrixForm = FORM_UNSCALED;
  } else if (scaleInside) {
    factors = ownFactors(w, copy);
    if (factors.row) {
      for (int i = 1; i <= w->m; i++) w->varScale[i] = 1.0 / factors.row[i - 1];
      for (int j = 1; j <= w->n; j++) w->varScale[w->m + j] = factors.column[j - 1];
      w->scaled = 1;
      w->matrixForm = FORM_SCALED;
      return factors;
    }
  }
  for (int k = 1; k <= w->total; k++) w->varScale[k] = 1.0;
  return factors;
}

template <class T> void fresh(T **block, int64_t count) {
  qrt_free(*block);
  *block = nullptr;
  *block = static_cast<T *>(guardedAllocate(count, int64_t(sizeof(T))));
}

// The matrix in solver form, by columns and by rows, into the kept record.
void makeMatrix(SimplexWork *w, KeptSolve *kept, const QRTMatrixCopy *copy, const ElementFactors &factors) {
  const int64_t elements = copy->starts[w->n];
  kept->matrixForm = FORM_NONE;
  fresh(&kept->colStart, int64_t(w->n) + 2);
  fresh(&kept->colRow, elements + 1);
  fresh(&kept->colValue, elements + 1);
  fresh(&kept->rowStart, int64_t(w->m) + 2);
  fresh(&kept->rowVar, elements + 1);
  fresh(&kept->rowValue, elements + 1);
  int32_t *start = kept->colStart, *row = kept->colRow, *rowStart = kept->rowStart, *rowVar = kept->rowVar;
  double *value = kept->colValue, *rowValue = kept->rowValue;
  int *next = array<int>(w, w->m + 1);
  start[0] = 0;
  for (int j = 0; j < w->n; j++) {
    start[j + 1] = copy->starts[j];
    for (int e = copy->starts[j]; e < copy->starts[j + 1]; e++) {
      const int i = copy->indices[e];
      row[e] = i + 1;
      value[e] = factors.row ? copy->elements[e] * factors.row[i] * factors.column[j] : copy->elements[e];
      next[i + 1]++;
    }
  }
  start[w->n + 1] = int(elements);
  int position = 0;
  rowStart[0] = 0;
  for (int i = 1; i <= w->m; i++) {
    rowStart[i] = position;
    position += next[i];
    next[i] = rowStart[i];
  }
  rowStart[w->m + 1] = position;
  for (int j = 1; j <= w->n; j++)
    for (int e = start[j]; e < start[j + 1]; e++) {
      const int p = next[row[e]]++;
      rowVar[p] = w->m + j;
      rowValue[p] = value[e];
    }
  kept->matrixM = w->m;
  kept->matrixN = w->n;
  kept->matrixVersion = w->model->matrixVersion;
}

void loadMatrix(SimplexWork *w, int scaleInside) {
  const QRTMatrixCopy *copy = currentColumnCopy(w->model);
  const ElementFactors factors = setScales(w, copy, scaleInside);
  KeptSolve *kept = keptSolve(w->model);
  // A compressed model is another one at each solve, under the version of the whole.
  const bool passing = w->matrixForm == FORM_UNSCALED || w->model->compression;
  if (passing || kept->matrixForm != w->matrixForm || kept->matrixM != w->m || kept->matrixN != w->n || kept->matrixVersion != w->model->matrixVersion) {
    makeMatrix(w, kept, copy, factors);
    kept->matrixForm = passing ? FORM_NONE : w->matrixForm;
  }
  w->colStart = kept->colStart;
  w->colRow = kept->colRow;
  w->colValue = kept->colValue;
  w->rowStart = kept->rowStart;
  w->rowVar = kept->rowVar;
  w->rowValue = kept->rowValue;
  w->matrixElements = copy->starts[w->n];
}

uint32_t swapSides(uint32_t side) {
  return ((side & STATUS_AT_UPPER) >> 1) | ((side & STATUS_AT_LOWER) << 1);
}

void loadVariable(SimplexWork *w, int k, double low, double high, double x, double c, uint32_t status) {
  const double scale = w->varScale[k];
  const bool row = k <= w->m;
  if (row) {
    const double old = low;
    low = -high;
    high = -old;
    x = -x;
    c = -c;
  }
  w->trueLower[k] = w->lower[k] = low <= -QRT_INFINITE_TEST ? -QRT_INFINITY : low / scale;
  w->trueUpper[k] = w->upper[k] = high >= QRT_INFINITE_TEST ? QRT_INFINITY : high / scale;
  w->value[k] = x / scale;
  w->objective[k] = c * scale;
  w->cost[k] = qrtlplp.Rmaxmin * w->objective[k];
  uint32_t flags = status & STATUS_SIDE_MASK;
  if (row) flags = swapSides(flags);
  if (status & STATUS_BASIC) flags = VAR_BASIC;
  w->flags[k] = flags;
  w->weight[k] = 1.0;
}

}  // namespace

void loadProblem(SimplexWork *w, int scaleInside) {
  QRTModel *model = w->model;
  w->m = model->Inumrows;
  w->n = model->Inumcols;
  w->total = w->m + w->n;
  allocateArrays(w);
  loadMatrix(w, scaleInside);
  const int base = model->Imaxrows;
  for (int i = 0; i < w->m; i++)
    loadVariable(w, i + 1, model->lower[i], model->upper[i], model->solution[i], model->objective[i],
                 uint32_t(model->status[i]));
  for (int j = 0; j < w->n; j++)
    loadVariable(w, w->m + j + 1, model->lower[base + j], model->upper[base + j], model->solution[base + j],
                 model->objective[base + j], uint32_t(model->status[base + j]));
}

namespace {

constexpr double NOISE = 1.0e-12;

// Status word of a nonbasic by where its value stands; `low`, `high`, `x` are the caller's.
uint32_t restingStatus(double low, double high, double x) {
  if (high - low <= 1.0e-12) return 0u;
  const double t = qrtlplp.Rtolpinf;
  const bool hasLow = low > -QRT_INFINITE_TEST, hasHigh = high < QRT_INFINITE_TEST;
  if (hasLow && std::fabs(x - low) <= t) return STATUS_AT_LOWER;
  if (hasHigh && std::fabs(x - high) <= t) return STATUS_AT_UPPER;
  if (!hasLow && !hasHigh && std::fabs(x) <= t) return STATUS_FREE;
  return 0u;
}

// Infeasible basics keep telling on which side they are out.
uint32_t basicWord(const SimplexWork *w, int k) {
  const int i = w->where[k];
  uint32_t word = STATUS_BASIC | (uint32_t(i) & STATUS_POSITION_MASK);
  uint32_t out = 0;
  if (w->basicStatus[i] & ROW_ABOVE) out = STATUS_AT_UPPER;
  if (w->basicStatus[i] & ROW_BELOW) out = STATUS_AT_LOWER;
  return word | (k <= w->m ? swapSides(out) : out);
}

struct CallerBounds {
  double low, high;
};
CallerBounds callerBounds(const SimplexWork *w, int k) {
  const QRTModel *model = w->model;
  const int at = k <= w->m ? k - 1 : model->Imaxrows + (k - w->m) - 1;
  return {model->lower[at], model->upper[at]};
}

// The value outside; one that stands at a bound inside gets the caller's bound bit for bit.
double callerValue(const SimplexWork *w, int k, const CallerBounds &b) {
  const double x = w->value[k];
  double outside = k <= w->m ? -x * w->varScale[k] : x * w->varScale[k];
  if (!(w->flags[k] & VAR_BASIC)) {
    const double low = k <= w->m ? w->trueUpper[k] : w->trueLower[k];
    const double high = k <= w->m ? w->trueLower[k] : w->trueUpper[k];
    const double inside = x;
    if (std::fabs(low) < QRT_INFINITE_TEST && inside == low) return b.low;
    if (std::fabs(high) < QRT_INFINITE_TEST && inside == high) return b.high;
  }
  if (std::fabs(outside) <= NOISE) outside = 0.0;
  return outside;
}

// True infeasibility in the caller's units.
void countOutside(const SimplexWork *w) {
  int count = 0;
  double sum = 0.0;
  const double t = qrtlplp.Rtolpinf;
  for (int i = 1; i <= w->m; i++) {
    const int k = w->list[i];
    if (!(w->basicStatus[i] & (ROW_ABOVE | ROW_BELOW))) continue;
    const double scale = w->varScale[k];
    double excess = 0.0;
    if (w->basicStatus[i] & ROW_ABOVE) excess = (w->value[k] - w->upper[k]) * scale - t;
    else excess = (w->lower[k] - w->value[k]) * scale - t;
    count++;
    sum += excess > 0.0 ? excess : 0.0;
  }
  qrtlplp.Inumpinf = count;
  qrtlplp.Rsumpinf = sum;
}

}  // namespace

void qrtplsh(SimplexWork *w) {
  QRTModel *model = w->model;
  if (w->scaled) countOutside(w);
  for (int k = 1; k <= w->total; k++) {
    const bool row = k <= w->m;
    const int at = row ? k - 1 : model->Imaxrows + (k - w->m) - 1;
    const CallerBounds b = callerBounds(w, k);
    const double x = callerValue(w, k, b);
    model->solution[at] = x;
    const double d = row ? -w->y[k] / w->varScale[k] : w->dj[k] / w->varScale[k];
    model->dual[at] = std::fabs(d) <= NOISE ? 0.0 : d;
    const uint32_t word = (w->flags[k] & VAR_BASIC) ? basicWord(w, k) : restingStatus(b.low, b.high, x);
    model->status[at] = int(word);
  }
}

double largestOutsideDual(const SimplexWork *w) {
  double worst = 0.0;
  for (int p = w->m + 1; p <= w->partEndLower; p++) {
    const int k = w->list[p];
    const int state = variableState(w->flags[k]);
    const double d = w->dj[k];
    const double wrong = state == 3 ? std::fabs(d) : state == 2 ? d : -d;
    worst = std::fmax(worst, wrong / w->varScale[k]);
  }
  return worst;
}

double outsideViolation(const SimplexWork *w, int *which, int *count) {
  double worst = 0.0;
  *which = *count = 0;
  for (int i = 1; i <= w->m; i++) {
    const int k = w->list[i];
    double over = 0.0;
    if (w->trueUpper[k] < QRT_INFINITE_TEST) over = std::fmax(over, w->value[k] - w->trueUpper[k]);
    if (w->trueLower[k] > -QRT_INFINITE_TEST) over = std::fmax(over, w->trueLower[k] - w->value[k]);
    // Rounding of a large value is no violation.
    const double outside = (over - 1.0e-14 * std::fabs(w->value[k])) * w->varScale[k];
    if (outside > qrtlplp.Rtolpinf) ++*count;
    if (outside > worst) {
      worst = outside;
      *which = k;
    }
  }
  return worst;
}

double largestOutsideViolation(const SimplexWork *w) {
  int which, count;
  return outsideViolation(w, &which, &count);
}

int variableName(const SimplexWork *w, int k, char name[128]) {
  const bool row = k <= w->m;
  const int number = row ? k : k - w->m;
  const char *table = row ? qrtaddr.rownames : qrtaddr.colnames;
  if (table && qrtlplp.Inumchar > 0) {
    const int length = qrtlplp.Inumchar < 128 ? qrtlplp.Inumchar : 128;
    std::memcpy(name, table + int64_t(number) * qrtlplp.Inumchar, size_t(length));
    return length;
  }
  char text[32];
  const int length = std::snprintf(text, sizeof text, "%c%7.7d", row ? 'R' : 'C', number - 1);
  std::memcpy(name, text, size_t(length));
  return length;
}

namespace {

double *auxVector(QRTModel *model) {
  if (!model->aux) model->aux = newRimVector(model, 0.0);
  for (int i = 0; i < model->Inumrows; i++) model->aux[i] = 0.0;
  for (int j = 0; j < model->Inumcols; j++) model->aux[model->Imaxrows + j] = 0.0;
  return model->aux;
}

// Least value of coefficient * v over [low, high]; a coefficient that is noise against an open side counts as 0.
double leastOf(double *coefficient, double low, double high) {
  const double c = *coefficient;
  const double bound = c > 0.0 ? low : high;
  if (c == 0.0) return 0.0;
  if (std::fabs(bound) >= QRT_INFINITE_TEST) {
    *coefficient = 0.0;
    return 0.0;
  }
  return c * bound;
}

// w: multipliers of the pure infeasibility objective. For every point of the rows, (-A'w)'x + w'r = 0, while the
// bounds of x and r hold the left side at or above the infeasibility: the proof that there is no feasible point.
void storeInfeasibility(SimplexWork *w) {
  QRTModel *model = w->model;
  double *aux = auxVector(model);
  double proof = 0.0;
  for (int i = 1; i <= w->m; i++) {
    double multiplier = w->y[i] / w->varScale[i];
    proof += leastOf(&multiplier, model->lower[i - 1], model->upper[i - 1]);
    aux[i - 1] = -multiplier;
  }
  for (int j = 1; j <= w->n; j++) {
    double sum = 0.0;
    for (int e = w->colStart[j]; e < w->colStart[j + 1]; e++) sum -= w->colValue[e] * w->y[w->colRow[e]];
    const int at = model->Imaxrows + j - 1;
    sum /= w->varScale[w->m + j];
    proof += leastOf(&sum, model->lower[at], model->upper[at]);
    aux[at] = sum;
  }
  if (proof > 0.0 && qrtlplp.Rsumpinf > 0.0) {
    const double scale = qrtlplp.Rsumpinf / proof;
    for (int i = 0; i < w->m; i++) aux[i] *= scale;
    for (int j = 0; j < w->n; j++) aux[model->Imaxrows + j] *= scale;
  }
  model->auxKind = AUX_INFEASIBILITY;
}

void storeRay(SimplexWork *w) {
  QRTModel *model = w->model;
  double *aux = auxVector(model);
  const int enter = w->enterVar;
  const double step = w->enterDir;
  SparseVector *alpha = &w->rhs;
  const int *row;
  const double *value;
  const int count = variableColumn(w, enter, &row, &value);
  for (int e = 0; e < count; e++) sparseVector_add(alpha, row[e], value[e]);
  qrtftrn(w->factor, alpha, SOLVE_COLUMN);
  double largest = 1.0;
  for (int p = 0; p < alpha->count; p++) largest = std::fmax(largest, std::fabs(alpha->value[alpha->index[p]]));
  auto put = [&](int k, double d) {
    d *= w->varScale[k];
    if (k <= w->m) aux[k - 1] = -d;
    else aux[model->Imaxrows + (k - w->m) - 1] = d;
  };
  put(enter, step);
  for (int p = 0; p < alpha->count; p++) {
    const int i = alpha->index[p];
    if (std::fabs(alpha->value[i]) > 1.0e-11 * largest) put(w->list[i], -step * alpha->value[i]);
  }
  sparseVector_clear(alpha);
  model->auxKind = AUX_RAY;
}

}  // namespace

void qrtinfs(SimplexWork *w) {
  if (qrtlplp.Iprobstat == 1 && !(w->dual && w->dual->cutOff)) storeInfeasibility(w);
  if (qrtlplp.Iprobstat == 2 && w->enterVar > 0) storeRay(w);
}
