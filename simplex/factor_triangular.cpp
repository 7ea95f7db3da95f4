// Second stage: columns and rows of one element are pivoted without arithmetic until only the nucleus is left.
#include <cmath>

#include "simplex/factor_arrays.h"

namespace {

// The element of loaded column c in `row`.
double loadedElement(const FactorArrays *a, int c, int row) {
  int p = a->loadStart[c];
  while (a->loaded.index[p] != row) p++;
  return a->loaded.value[p];
}

void notePivot(Factor *factor, double pivot) {
  const double size = std::fabs(pivot);
  if (size < factor->smallestPivot) factor->smallestPivot = size;
}

// Columns with one active element: nothing to eliminate, the rest of their row is a row of U.
int peelColumns(Factor *factor) {
  FactorArrays *a = factor->arrays;
  int refused = 0, depth = 0;
  int32_t *stack = a->stack;
  for (int c = a->nColumns; c >= 1; c--)
    if (a->columnCount[c] == 1) stack[depth++] = c;
  while (depth) {
    const int c = stack[--depth];
    if (a->columnCount[c] != 1) continue;  // another column took its row
    const int row = a->columnXor[c];
    const double pivot = loadedElement(a, c, row);
    if (std::fabs(pivot) < a->columnTiny[c]) {
      // Throwing out the column is exact; barring the row would leave its other elements without a pivot.
      a->columnState[c] = COLUMN_REJECTED;
      a->columnCount[c] = 0;
      a->rowCount[row]--;
      a->rowXor[row] ^= c;
      refused++;
      continue;
    }
    notePivot(factor, pivot);
    recordPivot(a, row, c, pivot, STAGE_EARLY);
    for (int p = a->rowColumnsStart[row]; p < a->rowColumnsStart[row + 1]; p++) {
      const int j = a->rowColumns.index[p];
      if (a->columnState[j] != COLUMN_ACTIVE) continue;
      a->columnXor[j] ^= row;
      if (--a->columnCount[j] == 1) stack[depth++] = j;
    }
  }
  return refused;
}

// Rows with one active element: the rest of the column is an eta of L, and no other column has an element in the row.
int peelRows(Factor *factor) {
  FactorArrays *a = factor->arrays;
  int refused = 0, depth = 0;
  int32_t *stack = a->stack;
  for (int i = factor->m; i >= 1; i--)
    if (a->rowStage[i] == STAGE_ACTIVE && a->rowCount[i] == 1) stack[depth++] = i;
  while (depth) {
    const int row = stack[--depth];
    if (a->rowCount[row] != 1 || a->rowBarred[row]) continue;
    const int c = a->rowXor[row];
    const double pivot = loadedElement(a, c, row);
    if (std::fabs(pivot) < a->columnTiny[c]) {
      // The column may have a better element elsewhere: the row stays, to be eliminated with it.
      a->rowBarred[row] = 1;
      refused++;
      continue;
    }
    notePivot(factor, pivot);
    recordPivot(a, row, c, pivot, STAGE_ROW);
    const double inverse = 1.0 / pivot;
    const int start = a->lStore.end;
    for (int p = a->loadStart[c]; p < a->loadStart[c + 1]; p++) {
      const int i = a->loaded.index[p];
      if (a->rowStage[i] != STAGE_ACTIVE) continue;
      store_append(&a->lStore, i, a->loaded.value[p] * inverse);
      a->rowXor[i] ^= c;
      if (--a->rowCount[i] == 1) stack[depth++] = i;
    }
    if (a->lStore.end > start) {
      a->lPivotRow[a->lNumber] = row;
      a->lStart[++a->lNumber] = a->lStore.end;
    }
  }
  return refused;
}

}  // namespace

int qrttria(Factor *factor) {
  FactorArrays *a = factor->arrays;
  store_reserve(&a->lStore, int64_t(a->loaded.end) + 64);
  a->lNumber = 0;
  a->lStart[0] = 0;
  factor->factorWork += a->loaded.end + factor->m;
  int refused = peelColumns(factor);
  if (a->pivots < factor->m) refused += peelRows(factor);
  return refused;
}
