// The arithmetic of a cut, once for both methods, and cuts as rows of a master.
#include <cmath>
#include <cstdlib>
#include <cstring>

#include "decomp/scn_benders.h"

namespace {

constexpr double NOISE = 1e-12;  // a coefficient that rounding left of a sum that cancels
constexpr double FORMS_AGREE = 1e-9;
constexpr double NOISE_OF_SUM = 1e-12;

}  // namespace

void addDualTerm(DualBound *bound, double multiplier, double lower, double upper, double tol) {
  if (multiplier == 0.0) return;
  const double side = multiplier > 0.0 ? lower : upper;
  if (fabs(side) >= QRT_INFINITE_TEST) {
    // Rounding against an open side says nothing; a real multiplier would make the bound worthless.
    if (fabs(multiplier) >= tol) bound->needsInfinity = true;
    return;
  }
  const double term = multiplier * side;
  bound->value += term;
  bound->size += fabs(term);
}

DualBound dualBound(const BoundSet *bounds, int nRows, int nReal, const double *rows, double rowSign, const double *d,
                    double tol) {
  DualBound bound = {0.0, 0.0, false};
  for (int i = 0; i < nRows; ++i) addDualTerm(&bound, rowSign * rows[i], bounds->rowLower[i], bounds->rowUpper[i], tol);
  for (int j = 0; j < nReal; ++j) addDualTerm(&bound, d[j], bounds->colLower[j], bounds->colUpper[j], tol);
  return bound;
}

double gradientNoise(const double *rows, int nRows) {
  double largest = 0.0;
  for (int i = 0; i < nRows; ++i) largest = fmax(largest, fabs(rows[i]));
  return NOISE_OF_SUM * largest;
}

double cutRightHandSide(const DualBound &bound, double gradientTerm, double value, bool alongRay) {
  const double fromDual = -bound.value, fromPoint = gradientTerm - value;
  if (alongRay) return fromDual;
  if (bound.needsInfinity) return fromPoint;
  const double size = fabs(gradientTerm) + fabs(value) + bound.size;
  if (fabs(fromDual - fromPoint) <= FORMS_AGREE * size) return fromDual;
  return fromDual > fromPoint ? fromDual : fromPoint;
}

void cutBatch_open(CutBatch *batch, int64_t mostRows) {
  *batch = {};
  batch->starts = static_cast<int *>(qrts__alloc("qrtbenders_Cchkslvs", (mostRows + 1) * int64_t(sizeof(int)), 0));
  batch->upper = static_cast<double *>(qrts__alloc("qrtbenders_Cchkslvs", (mostRows + 1) * int64_t(sizeof(double)), 0));
}

void cutBatch_element(CutBatch *batch, int column, double value) {
  if (value == 0.0) return;
  if (batch->elements == batch->room) {
    batch->room = 2 * batch->room + 64;
    batch->columns = static_cast<int *>(qrts__realloc("qrtbenders_Cchkslvs", batch->columns, batch->room * int64_t(sizeof(int))));
    batch->values =
        static_cast<double *>(qrts__realloc("qrtbenders_Cchkslvs", batch->values, batch->room * int64_t(sizeof(double))));
  }
  batch->columns[batch->elements] = column;
  batch->values[batch->elements++] = value;
}

void cutBatch_endRow(CutBatch *batch, double rhs) {
  batch->upper[batch->rows++] = rhs;
  batch->starts[batch->rows] = batch->elements;
}

int cutBatch_add(CutBatch *batch, QRTModel *model) {
  int code = 0;
  if (batch->rows > 0) code = qrt_addRows(model, batch->rows, nullptr, batch->upper, batch->starts, batch->columns, batch->values);
  if (batch->rows > 0 && code < 2) code = qrt_mergeBlocks(model, 1);
  cutBatch_drop(batch);
  return code < 2 ? 0 : code;
}

void cutBatch_drop(CutBatch *batch) {
  free(batch->starts);
  free(batch->columns);
  free(batch->values);
  free(batch->upper);
  *batch = {};
}

int cutBatch_sum(CutBatch *batch, const CutColumns *cut, int theta, double factor, double rightHandSide) {
  for (int k = 0; k < cut->count; ++k) {
    const double value = factor * cut->sum[cut->touched[k]];
    if (fabs(value) > NOISE) cutBatch_element(batch, cut->touched[k], value);
  }
  if (theta >= 0) cutBatch_element(batch, theta, -1.0);
  cutBatch_endRow(batch, factor * rightHandSide);
  return batch->rows - 1;
}

void cutColumns_add(CutColumns *cut, int first, int count, const double *gradient, double factor) {
  for (int k = 0; k < count; ++k) {
    if (gradient[k] == 0.0) continue;
    const int j = first + k;
    if (!cut->marked[j]) {
      cut->marked[j] = 1;
      cut->touched[cut->count++] = j;
    }
    cut->sum[j] += factor * gradient[k];
  }
}

void cutColumns_clear(CutColumns *cut) {
  for (int k = 0; k < cut->count; ++k) {
    cut->sum[cut->touched[k]] = 0.0;
    cut->marked[cut->touched[k]] = 0;
  }
  cut->count = 0;
}
