// Life of a factor: creation, sizes, growing stores, copies, and its self-check.
#include <cmath>
#include <cstring>

#include "frame/guarded_memory.h"
#include "frame/messages.h"
#include "simplex/factor_arrays.h"

namespace {

// A growing block doubles by halves; positions are 32-bit, so a store ends below 2^31 elements.
int64_t grownCapacity(int64_t old, int64_t needed) {
  int64_t capacity = old + old / 2;
  if (capacity < needed) capacity = needed + needed / 8 + 64;
  const int64_t most = INT32_MAX - 64;
  if (capacity > most) capacity = needed > most ? needed : most;  // the allocation below refuses what is too long
  return capacity;
}

template <class T> void release(T **block) {
  if (*block) qrt__free(*block);
  *block = nullptr;
}

// A new block for an old one whose contents are done with; null in between, should the allocation jump.
template <class T> void renew(T **block, int64_t count) {
  release(block);
  *block = static_cast<T *>(guardedAllocateZero(count, sizeof(T)));
}

void renewLists(StoreLists *lists, int64_t count) {
  renew(&lists->start, count);
  renew(&lists->length, count);
  renew(&lists->room, count);
}

void freeLists(StoreLists *lists) {
  release(&lists->start);
  release(&lists->length);
  release(&lists->room);
}

template <class T> void copyBlock(T **to, const T *from, int64_t count) {
  *to = nullptr;
  if (!from) return;
  *to = static_cast<T *>(guardedAllocate(count, sizeof(T)));
  std::memcpy(*to, from, size_t(count) * sizeof(T));
}

void copyStore(ElementStore *to, const ElementStore *from) {
  *to = ElementStore{};
  to->hasValues = from->hasValues;
  store_reserve(to, from->end);
  if (from->end) {
    std::memcpy(to->index, from->index, size_t(from->end) * sizeof(int32_t));
    if (from->hasValues) std::memcpy(to->value, from->value, size_t(from->end) * sizeof(double));
  }
  to->end = from->end;
}

void copyLists(StoreLists *to, const StoreLists *from, int64_t count) {
  copyBlock(&to->start, from->start, count);
  copyBlock(&to->length, from->length, count);
  copyBlock(&to->room, from->room, count);
}

}  // namespace

void store_reserve(ElementStore *store, int64_t needed) {
  store->end = 0;
  if (needed <= store->capacity && store->index) return;
  const int64_t capacity = grownCapacity(0, needed);
  store->capacity = 0;
  release(&store->index);
  release(&store->value);
  store->index = static_cast<int32_t *>(guardedAllocate(capacity, sizeof(int32_t)));
  if (store->hasValues) store->value = static_cast<double *>(guardedAllocate(capacity, sizeof(double)));
  store->capacity = int32_t(capacity);
}

void store_grow(ElementStore *store, int64_t needed) {
  if (needed <= store->capacity) return;
  const int64_t capacity = grownCapacity(store->capacity, needed);
  int32_t *index = static_cast<int32_t *>(guardedAllocate(capacity, sizeof(int32_t)));
  if (store->end) std::memcpy(index, store->index, size_t(store->end) * sizeof(int32_t));
  release(&store->index);
  store->index = index;
  if (store->hasValues) {
    double *value = static_cast<double *>(guardedAllocate(capacity, sizeof(double)));
    if (store->end) std::memcpy(value, store->value, size_t(store->end) * sizeof(double));
    release(&store->value);
    store->value = value;
  }
  store->capacity = int32_t(capacity);
}

void store_free(ElementStore *store) {
  release(&store->index);
  release(&store->value);
  const int32_t hasValues = store->hasValues;
  *store = ElementStore{};
  store->hasValues = hasValues;
}

void store_compact(ElementStore *store, StoreLists *lists, int count, int64_t freeWanted) {
  int64_t live = 0;
  for (int k = 1; k <= count; k++) live += lists->room[k];
  // Half of the store free after compaction keeps the cost of compactions below that of the moves that led to them.
  int64_t capacity = store->capacity;
  const int64_t wanted = live + live / 2 + freeWanted;
  if (capacity < wanted) capacity = grownCapacity(capacity, wanted);
  int32_t *index = static_cast<int32_t *>(guardedAllocate(capacity, sizeof(int32_t)));
  double *value = store->hasValues ? static_cast<double *>(guardedAllocate(capacity, sizeof(double))) : nullptr;
  int32_t end = 0;
  for (int k = 1; k <= count; k++) {
    const int32_t from = lists->start[k], length = lists->length[k];
    if (length) {
      std::memcpy(index + end, store->index + from, size_t(length) * sizeof(int32_t));
      if (value) std::memcpy(value + end, store->value + from, size_t(length) * sizeof(double));
    }
    lists->start[k] = end;
    end += lists->room[k];
  }
  release(&store->index);
  release(&store->value);
  store->index = index;
  store->value = value;
  store->capacity = int32_t(capacity);
  store->end = end;
}

void store_moveList(ElementStore *store, StoreLists *lists, int count, int k, int wanted) {
  if (int64_t(store->end) + wanted > store->capacity) store_compact(store, lists, count, wanted);
  const int32_t from = lists->start[k], length = lists->length[k], to = store->end;
  if (length) {
    std::memcpy(store->index + to, store->index + from, size_t(length) * sizeof(int32_t));
    if (store->hasValues) std::memcpy(store->value + to, store->value + from, size_t(length) * sizeof(double));
  }
  lists->start[k] = to;
  lists->room[k] = wanted;
  store->end = to + wanted;
}

Factor *factor_create() {
  Factor *factor = static_cast<Factor *>(guardedAllocateZero(1, sizeof(Factor)));
  factor->arrays = static_cast<FactorArrays *>(guardedAllocateZero(1, sizeof(FactorArrays)));
  factor->pivotThreshold = 0.1;
  factor->pivotZeroTol = 1.0e-8;
  factor->maxUpdates = 100;
  FactorArrays *a = factor->arrays;
  a->rowCapacity = a->columnCapacity = -1;
  a->lStore.hasValues = a->lRowStore.hasValues = a->rStore.hasValues = 1;
  a->uRowStore.hasValues = a->uColumnStore.hasValues = 1;
  a->loaded.hasValues = a->rowElements.hasValues = a->kernelRows.hasValues = 1;
  a->spikeCount = -1;
  return factor;
}

// Every array by row, and every array by local column, in one place: sized and released from the same tables.
struct BlockTables {
  int32_t **rowIntegers[23];
  double **rowReals[4];
  uint8_t **rowBytes[3];
  int32_t **columnIntegers[9];
  double **columnReals[2];
};

namespace {
BlockTables blockTables(FactorArrays *a) {
  return {{&a->lPivotRow, &a->lStart, &a->lEtaOfRow, &a->lOrder, &a->lRowStart, &a->orderPosition, &a->spikeIndex,
           &a->keptEtaIndex, &a->searchStack, &a->searchNext, &a->searchList, &a->rowColumnsStart, &a->basicInRow,
           &a->rowCount, &a->rowXor, &a->columnCountHead, &a->rowNext, &a->rowPrev, &a->kernelRowStart,
           &a->kernelRowLength, &a->tailRow, &a->tailUpperRow, &a->tailStep},
          {&a->pivotInverse, &a->spikeValue, &a->keptEtaValue, &a->pivotValue},
          {&a->mark, &a->rowStage, &a->rowBarred},
          {&a->variable, &a->pivotRowOfColumn, &a->loadStart, &a->columnCount, &a->columnXor, &a->rowCountHead,
           &a->columnNext, &a->columnPrev, &a->columnMark},
          {&a->columnTiny, &a->pivotWork}};
}
}  // namespace

void factor_size(Factor *factor, int m, int nColumns, int nBasic) {
  FactorArrays *a = factor->arrays;
  const BlockTables tables = blockTables(a);
  const int updates = factor->maxUpdates > 1 ? factor->maxUpdates : 1;
  a->m = m;
  if (m + updates + 8 > a->orderCapacity) {
    a->orderCapacity = 0;
    renew(&a->order, int64_t(m) + updates + 8);
    a->orderCapacity = m + updates + 8;
  }
  if (m > a->rowCapacity) {
    a->rowCapacity = -1;
    const int64_t n = int64_t(m) + 2;
    for (int32_t **block : tables.rowIntegers) renew(block, n);
    for (double **block : tables.rowReals) renew(block, n);
    for (uint8_t **block : tables.rowBytes) renew(block, n);
    renew(&a->pivotColumnRows, n);
    renewLists(&a->uRows, n);
    renewLists(&a->uColumns, n);
    renewLists(&a->activeRows, n);
    renew(&a->pairs, 2 * n);
    sparseVector_allocate(&a->work, m);
    a->rowCapacity = m;
  }
  a->work.size = m;
  if (nColumns > a->columnCapacity) {
    a->columnCapacity = -1;
    const int64_t n = int64_t(nColumns) + 2;
    for (int32_t **block : tables.columnIntegers) renew(block, n);
    for (double **block : tables.columnReals) renew(block, n);
    renew(&a->columnState, n);
    renewLists(&a->activeColumns, n);
    a->columnCapacity = nColumns;
  }
  if (m + nBasic > a->listCapacity) {
    a->listCapacity = 0;
    const int64_t n = int64_t(m) + nBasic + 2;
    renew(&a->stack, n);
    renew(&factor->thrownOut, n);
    renew(&factor->repairedRow, n);
    a->listCapacity = m + nBasic;
  }
}

void factor_free(Factor *factor) {
  if (!factor) return;
  FactorArrays *a = factor->arrays;
  if (a) {
    const BlockTables tables = blockTables(a);
    for (int32_t **block : tables.rowIntegers) release(block);
    for (double **block : tables.rowReals) release(block);
    for (uint8_t **block : tables.rowBytes) release(block);
    for (int32_t **block : tables.columnIntegers) release(block);
    for (double **block : tables.columnReals) release(block);
    int32_t **others[] = {&a->pivotColumnRows, &a->order, &a->rRow, &a->rStart, &a->stack, &factor->repairedRow,
                          &factor->thrownOut};
    for (int32_t **block : others) release(block);
    release(&a->columnState);
    release(&a->dense);
    release(&a->pairs);
    release(&a->tailLower);
    release(&a->tailUpper);
    release(&a->tailWork);
    StoreLists *lists[] = {&a->uRows, &a->uColumns, &a->activeRows, &a->activeColumns};
    for (StoreLists *list : lists) freeLists(list);
    ElementStore *stores[] = {&a->lStore, &a->lRowStore, &a->rStore, &a->uRowStore, &a->uColumnStore, &a->loaded,
                              &a->rowColumns, &a->rowElements, &a->columnElements, &a->kernelRows};
    for (ElementStore *store : stores) store_free(store);
    sparseVector_free(&a->work);
    qrt__free(a);
  }
  qrt__free(factor);
}

Factor *factor_copy(const Factor *from) {
  Factor *factor = factor_create();
  FactorArrays *a = factor->arrays;
  const FactorArrays *b = from->arrays;
  factor->maxUpdates = b->orderCapacity;  // as much room in the order as the original has
  factor_size(factor, from->m, 0, 0);
  int32_t *thrownOut = factor->thrownOut, *repairedRow = factor->repairedRow;
  *factor = *from;
  factor->arrays = a;
  factor->thrownOut = thrownOut;
  factor->repairedRow = repairedRow;
  factor->repairCount = 0;
  const int64_t m = from->m;
  const size_t words = (size_t(m) + 2) * sizeof(int32_t), reals = (size_t(m) + 2) * sizeof(double);
  struct { int32_t *to; const int32_t *source; } integers[] = {
      {a->lPivotRow, b->lPivotRow}, {a->lStart, b->lStart}, {a->lEtaOfRow, b->lEtaOfRow}, {a->lOrder, b->lOrder},
      {a->lRowStart, b->lRowStart}, {a->orderPosition, b->orderPosition}, {a->spikeIndex, b->spikeIndex},
      {a->keptEtaIndex, b->keptEtaIndex}, {a->tailRow, b->tailRow}, {a->tailUpperRow, b->tailUpperRow},
      {a->tailStep, b->tailStep}};
  for (auto &pair : integers) std::memcpy(pair.to, pair.source, words);
  struct { double *to; const double *source; } numbers[] = {
      {a->pivotInverse, b->pivotInverse}, {a->spikeValue, b->spikeValue}, {a->keptEtaValue, b->keptEtaValue}};
  for (auto &pair : numbers) std::memcpy(pair.to, pair.source, reals);
  std::memcpy(a->order, b->order, size_t(b->orderEnd) * sizeof(int32_t));
  a->lNumber = b->lNumber;
  a->lOrderLength = b->lOrderLength;
  a->orderEnd = b->orderEnd;
  a->orderLogicals = b->orderLogicals;
  a->spikeCount = b->spikeCount;
  a->keptEtaRow = b->keptEtaRow;
  a->keptEtaCount = b->keptEtaCount;
  if (b->tailSize) {
    const size_t square = size_t(b->tailSize) * size_t(b->tailSize) * sizeof(double);
    tail_size(a, b->tailSize);
    std::memcpy(a->tailLower, b->tailLower, square);
    std::memcpy(a->tailUpper, b->tailUpper, square);
    a->tailSize = b->tailSize;
    a->tailFirst = b->tailFirst;
    a->tailEnd = b->tailEnd;
    a->tailLowerCount = b->tailLowerCount;
    a->tailUpperCount = b->tailUpperCount;
  }
  std::memcpy(a->partDensity, b->partDensity, sizeof a->partDensity);
  copyStore(&a->lStore, &b->lStore);
  copyStore(&a->lRowStore, &b->lRowStore);
  copyStore(&a->rStore, &b->rStore);
  copyStore(&a->uRowStore, &b->uRowStore);
  copyStore(&a->uColumnStore, &b->uColumnStore);
  freeLists(&a->uRows);
  freeLists(&a->uColumns);
  copyLists(&a->uRows, &b->uRows, m + 2);
  copyLists(&a->uColumns, &b->uColumns, m + 2);
  copyBlock(&a->rRow, b->rRow, b->rCapacity);
  copyBlock(&a->rStart, b->rStart, int64_t(b->rCapacity) + 1);
  a->rCapacity = b->rCapacity;
  return factor;
}

namespace {

// U as rows against U as columns: every element of one must be in the other, with equal value.
const char *checkUpper(const Factor *factor) {
  const FactorArrays *a = factor->arrays;
  int64_t byRows = 0, byColumns = 0;
  for (int i = 1; i <= factor->m; i++) {
    if (a->uRows.length[i] > a->uRows.room[i] || a->uColumns.length[i] > a->uColumns.room[i]) return "list longer than its room";
    if (a->uRows.start[i] + a->uRows.room[i] > a->uRowStore.end) return "row of U beyond the store";
    if (a->uColumns.start[i] + a->uColumns.room[i] > a->uColumnStore.end) return "column of U beyond the store";
    byRows += a->uRows.length[i];
    byColumns += a->uColumns.length[i];
    for (int q = a->uColumns.start[i]; q < a->uColumns.start[i] + a->uColumns.length[i]; q++) {
      const int row = a->uColumnStore.index[q];
      if (row < 1 || row > factor->m) return "row of an element of U out of range";
      if (a->orderPosition[row] >= a->orderPosition[i]) return "element of U below the diagonal";
      int p = a->uRows.start[row];
      const int end = p + a->uRows.length[row];
      while (p < end && a->uRowStore.index[p] != i) p++;
      if (p == end) return "element of U in its column but not in its row";
      if (a->uRowStore.value[p] != a->uColumnStore.value[q]) return "element of U differs between row and column";
    }
  }
  if (byRows != byColumns) return "element of U in its row but not in its column";
  if (byRows + a->tailUpperCount != factor->uCount) return "count of U is wrong";
  return nullptr;
}

// The tail's rows stand in the order where they should, and rows taken out have no element left.
const char *checkTail(const FactorArrays *a) {
  const int d = a->tailSize;
  int last = a->tailFirst - 1, nonzeros = 0;
  for (int t = 0; t < d; t++) {
    if (a->tailStep[a->tailRow[t]] != t + 1) return "step of a row of the tail is wrong";
    const int row = a->tailUpperRow[t];
    if (row) {
      if (row != a->tailRow[t]) return "rows of the tail disagree";
      if (a->orderPosition[row] <= last || a->orderPosition[row] >= a->tailEnd) return "tail out of order";
      last = a->orderPosition[row];
    }
    for (int s = 0; s < d; s++) {
      const double v = a->tailUpper[int64_t(t) * d + s];
      if (v == 0.0 || s >= t) continue;
      nonzeros++;
      if (!row || !a->tailUpperRow[s]) return "element of U's tail in a row taken out";
    }
  }
  return nonzeros == a->tailUpperCount ? nullptr : "count of U's tail is wrong";
}

}  // namespace

const char *factor_check(const Factor *factor) {
  const FactorArrays *a = factor->arrays;
  if (!factor->valid) return nullptr;
  int rows = 0;
  for (int k = 0; k < a->orderEnd; k++) {
    const int i = a->order[k];
    if (i == 0) continue;
    rows++;
    if (i < 1 || i > factor->m || a->orderPosition[i] != k) return "order and positions disagree";
    if (k < a->orderLogicals && (a->uColumns.length[i] || a->pivotInverse[i] != 1.0)) return "logical with a column of U";
  }
  if (rows != factor->m) return "a row is not in the order once";
  for (int i = 1; i <= factor->m; i++) {
    if (!std::isfinite(a->pivotInverse[i]) || a->pivotInverse[i] == 0.0) return "diagonal of U is zero or infinite";
    if (a->mark[i]) return "mark left by a search";
    if (a->work.value[i] != 0.0 || a->pairs[2 * i] != 0.0 || a->pairs[2 * i + 1] != 0.0) return "work vector not clean";
  }
  if (a->work.count) return "work vector not empty";
  const int lElements = factor->lCount - a->tailLowerCount;
  if (a->lStart[a->lNumber] != lElements || a->lRowStore.end != lElements) return "copies of L differ in length";
  for (int e = 0; e < a->lNumber; e++)
    if (a->lEtaOfRow[a->lPivotRow[e]] != e) return "pivot row of an eta of L disagrees";
  if (a->rStore.end != factor->etaCount || a->rStart[factor->etaNumber] != factor->etaCount) return "count of R is wrong";
  if (const char *fault = checkTail(a)) return fault;
  return checkUpper(factor);
}

double factor_residual(Factor *factor, const BasisMatrix *matrix, const int32_t *basicOfRow) {
  const int m = factor->m;
  SparseVector x = {};
  sparseVector_allocate(&x, m);
  double *b = static_cast<double *>(guardedAllocateZero(int64_t(m) + 1, sizeof(double)));
  double worst = 0.0;
  for (int round = 0; round < 2; round++) {
    for (int i = 1; i <= m; i++) b[i] = x.value[i] = ((i * 7 + round * 3) % 11 - 5) / 5.0;
    x.count = LIST_UNKNOWN;
    qrtftrn(factor, &x, SOLVE_RHS);
    double largest = 1.0;
    for (int i = 1; i <= m; i++) {
      const double v = x.value[i];
      if (v == 0.0) continue;
      if (std::fabs(v) > largest) largest = std::fabs(v);
      if (basicOfRow[i] <= matrix->columnBase) {
        b[basicOfRow[i]] -= v;
        continue;
      }
      const int j = basicOfRow[i] - matrix->columnBase;
      for (int q = matrix->start[j]; q < matrix->start[j + 1]; q++) b[matrix->row[q] + matrix->rowBase] -= v * matrix->value[q];
    }
    for (int i = 1; i <= m; i++)
      if (std::fabs(b[i]) / largest > worst) worst = std::fabs(b[i]) / largest;
    sparseVector_clear(&x);
  }
  sparseVector_free(&x);
  qrt__free(b);
  return worst;
}

#ifdef QRT_SELF_CHECKS
void factor_selfCheck(const Factor *factor) {
  if (const char *fault = factor_check(factor)) qrtmesg_no_q1(MSG_OVERWRITTEN, fault, -1);
}
#endif
