// Two FTRANs in one walk of the factor (`qrtftn2`): the entering column and the vector for the rows' weights.
//
// The mirror of btran_pair.cpp; the entering column's spike is kept from its lane.
#include <cmath>

#include "simplex/solve_choice.h"
#include "simplex/walk.h"

namespace {

int64_t lowerPair(FactorArrays *a, StoredPair *value) {
  int64_t work = a->lNumber;
  for (int e = 0; e < a->lNumber; e++) {
    const Pair v = load(value[a->lPivotRow[e]]);
    if (isTiny(v)) continue;
    work += a->lStart[e + 1] - a->lStart[e];
    subtractAlong(value, a->lStore.index, a->lStore.value, a->lStart[e], a->lStart[e + 1], v);
  }
  if (a->tailSize) work += tail_lower(a, a->pairs, 2) + tail_lower(a, a->pairs + 1, 2);
  return work;
}

void rowEtasPair(const Factor *factor, StoredPair *value) {
  const FactorArrays *a = factor->arrays;
  const int32_t *index = a->rStore.index;
  const double *element = a->rStore.value;
  for (int e = 0; e < factor->etaNumber; e++) {
    // two sums by turns: each addition waits for the one before it
    Pair even = {0.0, 0.0}, odd = even;
    int p = a->rStart[e];
    const int end = a->rStart[e + 1];
    for (; p + 1 < end; p += 2) {
      even += load(value[index[p]]) * Pair{element[p], element[p]};
      odd += load(value[index[p + 1]]) * Pair{element[p + 1], element[p + 1]};
    }
    if (p < end) even += load(value[index[p]]) * Pair{element[p], element[p]};
    store(value[a->rRow[e]], load(value[a->rRow[e]]) - (even + odd));
  }
}

void keepSpike(FactorArrays *a, int m) {
  int count = 0;
  for (int i = 1; i <= m; i++) {
    const double v = a->pairs[2 * i];
    if (std::fabs(v) <= TINY_VALUE) continue;
    a->spikeIndex[count] = i;
    a->spikeValue[count++] = v;
  }
  a->spikeCount = count;
}

int64_t upperPart(const FactorArrays *a, StoredPair *value, int from, int to) {
  int64_t elements = 0;
  for (int k = from; k >= to; k--) {
    const int row = a->order[k];
    if (row) stepAlongUpper(value, row, a->pivotInverse, a->uColumns, a->uColumnStore, &elements);
  }
  return elements;
}

int64_t upperPair(FactorArrays *a, StoredPair *value) {
  int64_t work = a->orderEnd;
  int next = a->orderEnd - 1;
  if (a->tailSize) {
    work += upperPart(a, value, next, a->tailEnd);
    work += tail_upper(a, a->pairs, 2) + tail_upper(a, a->pairs + 1, 2);
    for (int t = a->tailSize - 1; t >= 0; t--) {
      const int row = a->tailUpperRow[t];
      if (!row) continue;
      const int start = a->uColumns.start[row], end = start + a->uColumns.length[row];
      subtractAlong(value, a->uColumnStore.index, a->uColumnStore.value, start, end, load(value[row]));
    }
    next = a->tailFirst - 1;
  }
  return work + upperPart(a, value, next, a->orderLogicals);
}

void spread(FactorArrays *a, const SparseVector *x, int lane) {
  for (int k = 0; k < x->count; k++) a->pairs[2 * x->index[k] + lane] = x->value[x->index[k]];
}

}  // namespace

void qrtftn2(Factor *factor, SparseVector *x, SparseVector *y, SolveKind kindOfY) {
  FactorArrays *a = factor->arrays;
  const int m = factor->m;
  if (x->count < 0) sparseVector_pack(x);
  if (y->count < 0) sparseVector_pack(y);
  if (factor->density[SOLVE_COLUMN] < SHARE_DENSITY || factor->density[kindOfY] < SHARE_DENSITY || x->count == 0 ||
      y->count == 0) {
    qrtftrn_ft(factor, x);
    qrtftrn(factor, y, kindOfY);
    return;
  }
  StoredPair *value = reinterpret_cast<StoredPair *>(a->pairs);
  spread(a, x, 0);
  spread(a, y, 1);
  int64_t work = lowerPair(a, value);
  rowEtasPair(factor, value);
  keepSpike(a, m);
  work += factor->etaCount + upperPair(a, value);
  gatherPair(a, m, x, y);
  factor->solveWork += double(work);
  noteDensity(&a->partDensity[SOLVE_COLUMN], a->spikeCount, m);
  noteDensity(&factor->density[SOLVE_COLUMN], x->count, m);
  noteDensity(&factor->density[kindOfY], y->count, m);
  factor->lastCount = x->count;
}
