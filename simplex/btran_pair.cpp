// Two BTRANs in one walk of the factor (`qrtbtn2`): the pivotal row and the vector for its weights.
//
// Both vectors lie side by side, so one load of an element, one index and one two-wide operation serve both, and the
// branches of the walk are taken once. It pays when both results are dense; else each goes its own sparse way.
#include <cmath>

#include "simplex/solve_choice.h"
#include "simplex/walk.h"

namespace {

int64_t upperPart(const FactorArrays *a, StoredPair *value, int from, int end) {
  int64_t elements = 0;
  for (int k = from; k < end; k++) {
    const int row = a->order[k];
    if (row) stepAlongUpper(value, row, a->pivotInverse, a->uRows, a->uRowStore, &elements);
  }
  return elements;
}

int64_t upperPair(FactorArrays *a, StoredPair *value, int first) {
  int64_t work = a->orderEnd - first;
  if (a->tailSize && first < a->tailEnd) {
    work += upperPart(a, value, first, a->tailFirst);
    work += tail_upperTransposed(a, a->pairs, 2);
    work += tail_upperTransposed(a, a->pairs + 1, 2);
    for (int t = 0; t < a->tailSize; t++) {
      const int row = a->tailUpperRow[t];
      if (!row) continue;
      const int start = a->uRows.start[row];
      subtractAlong(value, a->uRowStore.index, a->uRowStore.value, start, start + a->uRows.length[row], load(value[row]));
    }
    first = a->tailEnd;
  }
  return work + upperPart(a, value, first, a->orderEnd);
}

int64_t rowEtasPair(const Factor *factor, StoredPair *value) {
  const FactorArrays *a = factor->arrays;
  int64_t work = factor->etaNumber;
  for (int e = factor->etaNumber - 1; e >= 0; e--) {
    const Pair v = load(value[a->rRow[e]]);
    if (isTiny(v)) continue;
    work += a->rStart[e + 1] - a->rStart[e];
    subtractAlong(value, a->rStore.index, a->rStore.value, a->rStart[e], a->rStart[e + 1], v);
  }
  return work;
}

int64_t lowerPair(FactorArrays *a, StoredPair *value) {
  int64_t work = a->lOrderLength;
  if (a->tailSize) work += tail_lowerTransposed(a, a->pairs, 2) + tail_lowerTransposed(a, a->pairs + 1, 2);
  for (int k = a->lOrderLength - 1; k >= 0; k--) {
    const int row = a->lOrder[k];
    const Pair v = load(value[row]);
    if (isTiny(v)) continue;
    work += a->lRowStart[row + 1] - a->lRowStart[row];
    subtractAlong(value, a->lRowStore.index, a->lRowStore.value, a->lRowStart[row], a->lRowStart[row + 1], v);
  }
  return work;
}

// Spreads y over its lane, and empties it. Returns the first position of the order with a value.
int spread(FactorArrays *a, SparseVector *y, int first) {
  for (int k = 0; k < y->count; k++) {
    const int row = y->index[k];
    a->pairs[2 * row + 1] = y->value[row];
    if (a->orderPosition[row] < first) first = a->orderPosition[row];
  }
  return first;
}

}  // namespace

void qrtbtn2(Factor *factor, int row, double scale, SparseVector *x, SparseVector *y, SolveKind kindOfY) {
  FactorArrays *a = factor->arrays;
  const int m = factor->m;
  if (y->count < 0) sparseVector_pack(y);
  if (factor->density[SOLVE_ROW] < SHARE_DENSITY || factor->density[kindOfY] < SHARE_DENSITY || y->count == 0) {
    qrtbtrn_row(factor, row, scale, x);
    qrtbtrn(factor, y, kindOfY);
    return;
  }
  StoredPair *value = reinterpret_cast<StoredPair *>(a->pairs);
  a->pairs[2 * row] = scale;
  const int first = spread(a, y, a->orderPosition[row]);
  int64_t work = upperPair(a, value, first);

  // What U leaves of the unit vector is, but for a factor, the row eta of an update of that row.
  const double factorOfEta = -1.0 / (scale * a->pivotInverse[row]);
  int count = 0;
  for (int i = 1; i <= m; i++) {
    const double eta = a->pairs[2 * i] * factorOfEta;
    if (std::fabs(eta) <= TINY_VALUE || i == row) continue;
    a->keptEtaIndex[count] = i;
    a->keptEtaValue[count++] = eta;
  }
  a->keptEtaCount = count;
  a->keptEtaRow = row;
  noteDensity(&a->partDensity[SOLVE_ROW], count + 1, m);

  if (factor->etaNumber) work += rowEtasPair(factor, value);
  work += lowerPair(a, value);
  gatherPair(a, m, x, y);
  factor->solveWork += double(work);
  noteDensity(&factor->density[SOLVE_ROW], x->count, m);
  noteDensity(&factor->density[kindOfY], y->count, m);
  factor->lastCount = y->count;
}
