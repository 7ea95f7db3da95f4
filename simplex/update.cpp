// The update of Forrest and Tomlin (1972): one column of the basis is replaced.
//
// With p the row whose variable leaves, column p of U becomes the spike and position p moves to the end of the order.
// There row p would stand below the diagonal; it is eliminated by the row eta y that solves y U' = row p of U, U' being
// U without row and column p. The new diagonal is spike[p] - y * spike. As determinants tell, it must equal the pivot
// of the ratio test times the old diagonal, which measures the accuracy of the factor for nothing.
#include <cmath>
#include <cstring>

#include "frame/guarded_memory.h"
#include "simplex/factor_arrays.h"

namespace {

// Relative disagreement of the two pivots up to which the update is good, and up to which it is kept.
constexpr double GOOD_AGREEMENT = 1.0e-8;
constexpr double FAIR_AGREEMENT = 0.01;
constexpr double GOOD_DIAGONAL = 1.0e-7;
constexpr double FAIR_DIAGONAL = 1.0e-6;

bool inTail(const FactorArrays *a, int p) {
  return a->tailSize && a->tailStep[p] && a->tailUpperRow[a->tailStep[p] - 1] == p;
}

// Row eta of row p into keptEta, unless the BTRAN of that row left it there.
void makeRowEta(Factor *factor, int p) {
  FactorArrays *a = factor->arrays;
  if (a->keptEtaRow == p) return;
  a->keptEtaRow = p;
  a->keptEtaCount = 0;
  const int length = a->uRows.length[p];
  SparseVector *x = &a->work;
  const int start = a->uRows.start[p];
  for (int q = start; q < start + length; q++) {
    x->index[x->count++] = a->uRowStore.index[q];
    x->value[a->uRowStore.index[q]] = a->uRowStore.value[q];
  }
  if (inTail(a, p)) tail_rowToVector(a, a->tailStep[p] - 1, x);
  if (x->count == 0) return;
  qrtbtju(factor, x, SOLVE_ROW);
  if (x->count < 0) sparseVector_pack(x);
  int count = 0;
  for (int k = 0; k < x->count; k++) {
    const int row = x->index[k];
    const double y = x->value[row];
    x->value[row] = 0.0;
    if (std::fabs(y) <= TINY_VALUE) continue;
    a->keptEtaIndex[count] = row;
    a->keptEtaValue[count++] = y;
  }
  x->count = 0;
  a->keptEtaCount = count;
}

// Takes the element named `index` out of list k; the last one fills its place.
void removeElement(ElementStore *store, StoreLists *lists, int k, int index) {
  int32_t *at = store->index + lists->start[k];
  double *value = store->value + lists->start[k];
  const int last = --lists->length[k];
  int q = 0;
  while (at[q] != index) q++;
  at[q] = at[last];
  value[q] = value[last];
}

// Row p and column p out of both copies of U.
void removeRowAndColumn(Factor *factor, int p) {
  FactorArrays *a = factor->arrays;
  int start = a->uRows.start[p], length = a->uRows.length[p];
  for (int q = start; q < start + length; q++) removeElement(&a->uColumnStore, &a->uColumns, a->uRowStore.index[q], p);
  factor->uCount -= length;
  a->uRows.length[p] = 0;
  start = a->uColumns.start[p];
  length = a->uColumns.length[p];
  for (int q = start; q < start + length; q++) removeElement(&a->uRowStore, &a->uRows, a->uColumnStore.index[q], p);
  factor->uCount -= length;
  a->uColumns.length[p] = 0;
  if (inTail(a, p)) {
    const int removed = tail_remove(a, a->tailStep[p] - 1);
    a->tailUpperCount -= removed;
    factor->uCount -= removed;
  }
}

void insertSpike(Factor *factor, int p) {
  FactorArrays *a = factor->arrays;
  StoreLists *rows = &a->uRows, *columns = &a->uColumns;
  const int count = a->spikeCount;
  if (columns->room[p] < count) store_moveList(&a->uColumnStore, columns, factor->m, p, count);
  int end = columns->start[p];
  for (int k = 0; k < count; k++) {
    const int row = a->spikeIndex[k];
    if (row == p) continue;
    a->uColumnStore.index[end] = row;
    a->uColumnStore.value[end++] = a->spikeValue[k];
    const int length = rows->length[row];
    if (length == rows->room[row]) store_moveList(&a->uRowStore, rows, factor->m, row, length + length / 2 + 4);
    const int q = rows->start[row] + length;
    a->uRowStore.index[q] = p;
    a->uRowStore.value[q] = a->spikeValue[k];
    rows->length[row] = length + 1;
  }
  columns->length[p] = end - columns->start[p];
  factor->uCount += columns->length[p];
}

void storeRowEta(Factor *factor, int p) {
  FactorArrays *a = factor->arrays;
  const int count = a->keptEtaCount;
  if (count == 0) return;
  if (factor->etaNumber == a->rCapacity) {
    const int capacity = 2 * a->rCapacity;
    int32_t *rows = static_cast<int32_t *>(guardedAllocate(capacity, sizeof(int32_t)));
    std::memcpy(rows, a->rRow, size_t(factor->etaNumber) * sizeof(int32_t));
    qrt__free(a->rRow);
    a->rRow = rows;
    int32_t *starts = static_cast<int32_t *>(guardedAllocate(int64_t(capacity) + 1, sizeof(int32_t)));
    std::memcpy(starts, a->rStart, (size_t(factor->etaNumber) + 1) * sizeof(int32_t));
    qrt__free(a->rStart);
    a->rStart = starts;
    a->rCapacity = capacity;
  }
  ElementStore *store = &a->rStore;
  store_grow(store, int64_t(store->end) + count);
  std::memcpy(store->index + store->end, a->keptEtaIndex, size_t(count) * sizeof(int32_t));
  std::memcpy(store->value + store->end, a->keptEtaValue, size_t(count) * sizeof(double));
  store->end += count;
  a->rRow[factor->etaNumber++] = p;
  a->rStart[factor->etaNumber] = store->end;
  factor->etaCount += count;
}

// Position p goes to the end of the order; when the list is full its holes are taken out.
void moveToEnd(FactorArrays *a, int p) {
  a->order[a->orderPosition[p]] = 0;
  if (a->orderEnd == a->orderCapacity) {
    int end = 0, logicals = 0;
    const int tailFirst = a->tailFirst, tailEnd = a->tailEnd;
    for (int k = 0; k < a->orderEnd; k++) {
      if (k == tailFirst) a->tailFirst = end;
      if (k == tailEnd) a->tailEnd = end;
      const int row = a->order[k];
      if (!row) continue;
      if (k < a->orderLogicals) logicals++;
      a->orderPosition[row] = end;
      a->order[end++] = row;
    }
    a->orderEnd = end;
    a->orderLogicals = logicals;
  }
  a->orderPosition[p] = a->orderEnd;
  a->order[a->orderEnd++] = p;
}

}  // namespace

UpdateResult qrtetsj(Factor *factor, int row, double pivotValue, int iterationsSinceFactor) {
  FactorArrays *a = factor->arrays;
  const int p = row;
  if (a->spikeCount < 0) return UPDATE_FAILED;
  makeRowEta(factor, p);

  // The spike's own entry, and the row eta times the spike with the spike spread out in the work vector.
  double diagonal = 0.0;
  double *work = a->work.value;
  for (int k = 0; k < a->spikeCount; k++) work[a->spikeIndex[k]] = a->spikeValue[k];
  diagonal = work[p];
  for (int k = 0; k < a->keptEtaCount; k++) diagonal -= a->keptEtaValue[k] * work[a->keptEtaIndex[k]];
  for (int k = 0; k < a->spikeCount; k++) work[a->spikeIndex[k]] = 0.0;

  const double expected = pivotValue / a->pivotInverse[p];
  const double size = std::fabs(diagonal);
  const double disagreement = std::fabs(1.0 - size / std::fabs(expected));
  UpdateResult result = UPDATE_GOOD;
  if (!(size > GOOD_DIAGONAL && disagreement <= GOOD_AGREEMENT)) {
    const bool fair = size > FAIR_DIAGONAL && disagreement <= FAIR_AGREEMENT;
    if (!fair && iterationsSinceFactor >= 2) return UPDATE_FAILED;
    result = UPDATE_REFACTOR;
    if (size < 1.0e-30) {  // nothing can be solved with it: the step stands, the factor does not
      factor->valid = 0;
      factor->updateCount++;
      a->spikeCount = -1;
      a->keptEtaRow = 0;
      return result;
    }
  }

  storeRowEta(factor, p);
  removeRowAndColumn(factor, p);
  insertSpike(factor, p);
  a->pivotInverse[p] = 1.0 / diagonal;
  moveToEnd(a, p);
  factor->solveWork += 2.0 * a->spikeCount + a->keptEtaCount;
  factor->updateCount++;
  a->spikeCount = -1;
  a->keptEtaRow = 0;
  if (factor->updateCount % 16 == 1) factor_selfCheck(factor);
  return result;
}
