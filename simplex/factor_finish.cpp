// Last stage: a singular basis is completed by logicals, and L and U take the shape the solves work with.
#include <cmath>
#include <cstring>

#include "frame/guarded_memory.h"
#include "simplex/factor_arrays.h"

namespace {

// Spare places of a row or column of U, for the spikes of updates to come; a list that needs more moves.
constexpr int SPARE_ROW = 4;

// Counts the elements of U by row and column into the lengths of the lists, then `fill` puts them in place.
// The elements come from two places: loaded columns, where their row was pivoted early, and rows made by the kernel.
template <class Visit> void visitUpper(const FactorArrays *a, Visit visit) {
  for (int c = 1; c <= a->nColumns; c++) {
    const int column = a->pivotRowOfColumn[c];
    if (!column) continue;
    for (int p = a->loadStart[c]; p < a->loadStart[c + 1]; p++) {
      const int row = a->loaded.index[p];
      if (a->rowStage[row] == STAGE_EARLY && row != column) visit(row, column, a->loaded.value[p]);
    }
  }
  for (int k = 0; k < a->pivots; k++) {
    const int row = a->order[k];
    if (a->rowStage[row] != STAGE_KERNEL) continue;
    const int start = a->kernelRowStart[row], end = start + a->kernelRowLength[row];
    for (int p = start; p < end; p++) {
      const int column = a->pivotRowOfColumn[a->kernelRows.index[p]];
      if (column) visit(row, column, a->kernelRows.value[p]);  // 0: the column was thrown out
    }
  }
}

void shapeUpper(Factor *factor) {
  FactorArrays *a = factor->arrays;
  const int m = factor->m;
  StoreLists *rows = &a->uRows, *columns = &a->uColumns;
  std::memset(rows->length, 0, (size_t(m) + 1) * sizeof(int32_t));
  std::memset(columns->length, 0, (size_t(m) + 1) * sizeof(int32_t));
  int64_t elements = 0;
  visitUpper(a, [&](int row, int column, double) {
    rows->length[row]++;
    columns->length[column]++;
    elements++;
  });
  factor->uCount = int32_t(elements) + a->tailUpperCount;

  // Lists stand in pivot order, so that a sweep runs through the stores from end to end. Columns are never added to
  // in place, so they need no spare room.
  store_reserve(&a->uRowStore, elements + elements / 2 + (SPARE_ROW + 2) * int64_t(m) + 256);
  store_reserve(&a->uColumnStore, 2 * elements + 8 * int64_t(m) + 256);
  int rowEnd = 0, columnEnd = 0;
  for (int k = 0; k < m; k++) {
    const int i = a->order[k];
    rows->start[i] = rowEnd;
    rows->room[i] = rows->length[i] + SPARE_ROW;
    rowEnd += rows->room[i];
    columns->start[i] = columnEnd;
    columns->room[i] = columns->length[i];
    columnEnd += columns->room[i];
    rows->length[i] = columns->length[i] = 0;
  }
  a->uRowStore.end = rowEnd;
  a->uColumnStore.end = columnEnd;
  int32_t *rowIndex = a->uRowStore.index, *columnIndex = a->uColumnStore.index;
  double *rowValue = a->uRowStore.value, *columnValue = a->uColumnStore.value;
  visitUpper(a, [&](int row, int column, double x) {
    int p = rows->start[row] + rows->length[row]++;
    rowIndex[p] = column;
    rowValue[p] = x;
    p = columns->start[column] + columns->length[column]++;
    columnIndex[p] = row;
    columnValue[p] = x;
  });
  for (int k = 0; k < m; k++) {
    const int i = a->order[k];
    a->orderPosition[i] = k;
    a->pivotInverse[i] = 1.0 / a->pivotValue[i];
  }
  a->orderEnd = m;
}

void shapeLower(Factor *factor) {
  FactorArrays *a = factor->arrays;
  const int m = factor->m;
  for (int i = 0; i <= m; i++) a->lEtaOfRow[i] = -1;
  for (int e = 0; e < a->lNumber; e++) a->lEtaOfRow[a->lPivotRow[e]] = e;
  const int elements = a->lStart[a->lNumber];
  factor->lCount = elements + a->tailLowerCount;
  store_reserve(&a->lRowStore, elements);
  int32_t *next = a->rowCount;  // free by now
  std::memset(next, 0, (size_t(m) + 1) * sizeof(int32_t));
  for (int p = 0; p < elements; p++) next[a->lStore.index[p]]++;
  int end = 0;
  for (int i = 1; i <= m; i++) {
    a->lRowStart[i] = end;
    end += next[i];
    next[i] = a->lRowStart[i];
  }
  a->lRowStart[m + 1] = end;
  for (int e = 0; e < a->lNumber; e++)
    for (int p = a->lStart[e]; p < a->lStart[e + 1]; p++) {
      const int q = next[a->lStore.index[p]]++;
      a->lRowStore.index[q] = a->lPivotRow[e];
      a->lRowStore.value[q] = a->lStore.value[p];
    }
  a->lRowStore.end = end;
  a->lOrderLength = 0;
  for (int k = 0; k < m; k++) {
    const int i = a->order[k];
    if (a->lRowStart[i + 1] > a->lRowStart[i]) a->lOrder[a->lOrderLength++] = i;
  }
}

}  // namespace

void qrtshff(Factor *factor) {
  FactorArrays *a = factor->arrays;
  const int m = factor->m;
  if (a->pivots == m && factor->repairCount == 0) {
    int thrown = 0;
    for (int c = 1; c <= a->nColumns && !thrown; c++) thrown = a->pivotRowOfColumn[c] == 0;
    if (!thrown) return;
  }
  // What is left of an unpivoted row lies in columns without pivot only, and no eta has it as pivot row: with its logical
  // in, its row and column of U are those of the identity.
  int row = 1;
  for (int c = 1; c <= a->nColumns; c++) {
    if (a->pivotRowOfColumn[c]) continue;
    while (row <= m && a->rowStage[row] != STAGE_ACTIVE) row++;
    factor->thrownOut[factor->repairCount] = a->variable[c];
    factor->repairedRow[factor->repairCount++] = row <= m ? row : 0;
    if (row <= m) recordPivot(a, row, 0, 1.0, STAGE_REPAIRED);
  }
  for (; row <= m; row++) {
    if (a->rowStage[row] != STAGE_ACTIVE) continue;
    factor->thrownOut[factor->repairCount] = 0;
    factor->repairedRow[factor->repairCount++] = row;
    recordPivot(a, row, 0, 1.0, STAGE_REPAIRED);
  }
}

void qrtshfv(Factor *factor) {
  FactorArrays *a = factor->arrays;
  shapeUpper(factor);
  shapeLower(factor);
  a->rStore.end = 0;
  if (a->rCapacity == 0) {
    a->rRow = static_cast<int32_t *>(guardedAllocate(64, sizeof(int32_t)));
    a->rStart = static_cast<int32_t *>(guardedAllocate(65, sizeof(int32_t)));
    a->rCapacity = 64;
  }
  a->rStart[0] = 0;
  std::memset(a->mark, 0, size_t(factor->m) + 1);
  // A first guess of the solves' densities; the running means soon forget it.
  if (factor->factorisations == 1)
    for (int kind = 0; kind < SOLVE_KINDS; kind++) factor->density[kind] = a->partDensity[kind] = 0.05;
}
