// The dual of a model as a model of its own: solved first, its row duals are a point of the model to start from.
//
//     minimise  -(sum L_i y_i over lower sides + sum U_i y_i over upper sides + the same for bounds)
//     subject to  A'y + d = s c,   y >= 0 at lower sides, <= 0 at upper ones, free in equations; d likewise at bounds
//
// s is the sense of the model, so that both minimise. A bound of 0 needs no column: its d is the slack of the row. The
// multiplier of row j is -x_j.
#include <cmath>

#include "frame/controls.h"
#include "frame/guarded_memory.h"
#include "model/model_store.h"
#include "prep/meta_driver.h"

namespace {

constexpr int FRESH = 1;
enum : int { PRIMAL_OPTIMAL = 0 };

// Columns of the dual as they are made.
struct DualColumns {
  int count;
  double *cost, *lower, *upper;
  int *start;       // [count + 1]
  int64_t elements;
  int *row;
  double *element;
};

bool finite(double bound) { return std::fabs(bound) < QRT_INFINITE_TEST; }

void close(DualColumns *d, double cost, double lower, double upper) {
  d->cost[d->count] = cost;
  d->lower[d->count] = lower;
  d->upper[d->count] = upper;
  d->start[++d->count] = int(d->elements);
}

void put(DualColumns *d, int row, double element) {
  d->row[d->elements] = row;
  d->element[d->elements++] = element;
}

// One column for each finite side of row i of the model, one free column for an equation.
void columnsOfRow(DualColumns *d, const QRTModel *model, const CleanCopy &copy, int i) {
  const double low = model->lower[i], high = model->upper[i];
  auto elements = [&] {
    for (int e = copy.rowStarts[i]; e < copy.rowStarts[i + 1]; e++)
      put(d, copy.columns[e], copy.rowElements[e] / elementFactor(model, i, copy.columns[e]));
  };
  if (low == high) {
    elements();
    close(d, -low, -QRT_INFINITY, QRT_INFINITY);
    return;
  }
  if (finite(low)) elements(), close(d, -low, 0.0, QRT_INFINITY);
  if (finite(high)) elements(), close(d, -high, -QRT_INFINITY, 0.0);
}

// Sides of row j of the dual, and columns for bounds that are not 0.
void rowOfColumn(DualColumns *d, double cost, int j, double low, double high, double *rowLower, double *rowUpper) {
  *rowLower = *rowUpper = cost;
  if (low == 0.0 && finite(low)) *rowLower = -QRT_INFINITY;
  else if (finite(low)) put(d, j, 1.0), close(d, -low, 0.0, QRT_INFINITY);
  if (high == 0.0) *rowUpper = QRT_INFINITY;
  else if (finite(high)) put(d, j, 1.0), close(d, -high, -QRT_INFINITY, 0.0);
}

template <class T> T *array(QRTModel *model, int64_t count) {
  return static_cast<T *>(temporaryAllocate(model, count + 1, int64_t(sizeof(T))));
}

// Values that the dual found, within the bounds of the model.
void takePoint(QRTModel *model, QRTModel *dual) {
  const double *multiplier = qrt_rowduals(dual), sign = dual->dualSignFlip ? -1.0 : 1.0;
  for (int j = 0; j < model->Inumcols; j++) {
    const int at = model->Imaxrows + j;
    model->solution[at] = std::fmin(std::fmax(sign * multiplier[j], model->lower[at]), model->upper[at]);
  }
}

}  // namespace

bool startFromDual(QRTModel *model) {
  const int m = model->Inumrows, n = model->Inumcols;
  const double sense = controlReal(model, CONTROL_Rmaxmin);
  if (!model->context || m == 0 || n == 0 || sense == 0.0 || model->Inumquadraticblocks > 0) return false;
  CleanCopy copy;
  qrt_push(model);
  qrt_cleanCopy(model, &copy, CLEAN_COLUMNS | CLEAN_ROWS, 0.0, 0);
  const int64_t most = 2 * (int64_t(m) + n), elements = 2 * (int64_t(copy.nElements) + n);
  if (most > INT32_MAX || elements > INT32_MAX) {
    qrt_deleteCleanCopy(&copy);
    qrt_pop(model);
    return false;
  }
  DualColumns d = {0, array<double>(model, most), array<double>(model, most), array<double>(model, most), array<int>(model, most),
                   0, array<int>(model, elements), array<double>(model, elements)};
  double *rowLower = array<double>(model, n), *rowUpper = array<double>(model, n);
  d.start[0] = 0;
  for (int i = 0; i < m; i++) columnsOfRow(&d, model, copy, i);
  qrt_deleteCleanCopy(&copy);
  for (int j = 0; j < n; j++) {
    const int at = model->Imaxrows + j;
    rowOfColumn(&d, sense * model->objective[at], j, model->lower[at], model->upper[at], &rowLower[j], &rowUpper[j]);
  }
  QRTModel *dual = qrt_newModel(model->context, "dual_model");
  bool found = dual != nullptr;
  if (found) {
    qrt_loadRimModel(dual, n, rowLower, rowUpper, d.count, d.cost, d.lower, d.upper);
    if (d.elements > 0) qrt_addColumnElementBlock(dual, d.count, d.row, d.start, d.element);
    found = qrt_eitherSimplex(dual, FRESH) < 2 && qrt_getIprobstat(dual) == PRIMAL_OPTIMAL;
    if (found) takePoint(model, dual);
    qrt_deleteModel(dual);
  }
  qrt_pop(model);
  return found;
}
