// First stage of a factorisation: the basis is loaded, and the outer routine that runs the stages in order.
#include <cmath>
#include <cstring>

#include "frame/guarded_memory.h"
#include "simplex/factor_arrays.h"

void qrtslct(Factor *factor, const BasisMatrix *matrix, int nBasic, const int32_t *basic) {
  FactorArrays *a = factor->arrays;
  const int m = matrix->m;
  int64_t elements = 0;
  int nColumns = 0;
  for (int k = 0; k < nBasic; k++) {
    if (basic[k] <= matrix->columnBase) continue;
    const int j = basic[k] - matrix->columnBase;
    nColumns++;
    elements += matrix->start[j + 1] - matrix->start[j];
  }
  factor_size(factor, m, nColumns, nBasic);
  a->nColumns = nColumns;
  a->pivots = 0;
  store_reserve(&a->loaded, elements);
  std::memset(a->rowStage, STAGE_ACTIVE, size_t(m) + 1);
  std::memset(a->rowBarred, 0, size_t(m) + 1);
  std::memset(a->columnState, COLUMN_ACTIVE, size_t(nColumns) + 1);
  std::memset(a->rowCount, 0, (size_t(m) + 1) * sizeof(int32_t));
  std::memset(a->rowXor, 0, (size_t(m) + 1) * sizeof(int32_t));

  // A basic logical is a pivot as it stands: its column is a unit column, so its row is a row of U.
  int logicals = 0;
  for (int k = 0; k < nBasic; k++) {
    const int row = basic[k];
    if (row > matrix->columnBase) continue;
    if (row < 1 || row > m || a->rowStage[row] != STAGE_ACTIVE) {
      factor->thrownOut[factor->repairCount] = row;
      factor->repairedRow[factor->repairCount++] = 0;
      continue;
    }
    recordPivot(a, row, 0, 1.0, STAGE_EARLY);
    logicals++;
  }
  a->orderLogicals = logicals;

  // One pass over the structurals gives elements, counts and the xor of the indices: where a count is 1, the xor is
  // the one index left, and no list has to be searched for it.
  int32_t *index = a->loaded.index;
  double *value = a->loaded.value;
  int end = 0, c = 0;
  for (int k = 0; k < nBasic; k++) {
    if (basic[k] <= matrix->columnBase) continue;
    const int j = basic[k] - matrix->columnBase;
    c++;
    a->variable[c] = basic[k];
    a->pivotRowOfColumn[c] = 0;
    a->loadStart[c] = end;
    int count = 0, rowsXor = 0;
    double largest = 0.0;
    for (int p = matrix->start[j]; p < matrix->start[j + 1]; p++) {
      const double x = matrix->value[p];
      const double size = std::fabs(x);
      if (size <= TINY_VALUE) continue;
      const int row = matrix->row[p] + matrix->rowBase;
      if (size > largest) largest = size;
      index[end] = row;
      value[end++] = x;
      a->rowCount[row]++;
      a->rowXor[row] ^= c;
      if (a->rowStage[row] == STAGE_ACTIVE) {
        count++;
        rowsXor ^= row;
      }
    }
    a->columnCount[c] = count;
    a->columnXor[c] = rowsXor;
    // A column that is small as a whole is legal data, so what counts as no pivot shrinks with it.
    a->columnTiny[c] = factor->pivotZeroTol * (largest < 1.0 ? largest : 1.0);
  }
  a->loadStart[nColumns + 1] = end;
  a->loaded.end = end;
  factor->basisElements = end + logicals;

  // The columns of each row that still needs a pivot.
  store_reserve(&a->rowColumns, end);
  int at = 0;
  for (int i = 1; i <= m; i++) {
    a->rowColumnsStart[i] = at;
    if (a->rowStage[i] == STAGE_ACTIVE) at += a->rowCount[i];
  }
  a->rowColumnsStart[m + 1] = at;
  int32_t *next = a->orderPosition;  // free until the factor is shaped
  std::memcpy(next, a->rowColumnsStart, (size_t(m) + 1) * sizeof(int32_t));
  for (c = 1; c <= nColumns; c++)
    for (int p = a->loadStart[c]; p < a->loadStart[c + 1]; p++) {
      const int row = index[p];
      if (a->rowStage[row] == STAGE_ACTIVE) a->rowColumns.index[next[row]++] = c;
    }
  a->rowColumns.end = at;
}

FactorResult qrtlfct(Factor *factor, const BasisMatrix *matrix, int nBasic, const int32_t *basic, int repair,
                     int32_t *basicOfRow) {
  FactorArrays *a = factor->arrays;
  factor->valid = 0;
  factor->m = matrix->m;
  factor->updateCount = factor->etaNumber = factor->etaCount = 0;
  factor->repairCount = 0;
  factor->denseRows = factor->nucleusRows = 0;
  factor->rowCompactions = factor->columnCompactions = 0;
  factor->smallestPivot = 1.0;
  factor->factorWork = factor->solveWork = 0.0;
  factor->factorisations++;
  a->spikeCount = -1;
  a->keptEtaRow = 0;
  a->tailSize = a->tailFirst = a->tailEnd = a->tailLowerCount = a->tailUpperCount = 0;

  qrtslct(factor, matrix, nBasic, basic);
  if (factor->repairCount && !repair) return FACTOR_NO_PIVOT;
  if (qrttria(factor) && !repair) return FACTOR_TINY_PIVOT;
  factor->nucleusRows = factor->m - a->pivots;
  if (a->pivots < factor->m) {
    if (qrtford(factor) && !repair) return FACTOR_TINY_PIVOT;
    if (qrtcmfc(factor, repair) && !repair) return FACTOR_NO_PIVOT;
  }
  qrtshff(factor);
  if (factor->repairCount && !repair) return FACTOR_NO_PIVOT;
  qrtshfv(factor);
  factor->valid = 1;
  factor_selfCheck(factor);
  std::memcpy(basicOfRow + 1, a->basicInRow + 1, size_t(factor->m) * sizeof(int32_t));
  return factor->repairCount ? FACTOR_REPAIRED : FACTOR_GOOD;
}
