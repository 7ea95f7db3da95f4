// Counting sorts by small integer keys, matrices brought into column order, and the parting of rim and matrix elements.
#include <cmath>
#include <cstdlib>
#include <cstring>

#include "stoch/scn_stoc.h"

// Turns counts per key, held at starts[key], into 1-based starts at [key-1]. The counting loop leaves room for it:
// counts stand one place behind the start they become.
static void countsToStarts(int nKeys, int *starts) {
  starts[0] = 1;
  for (int k = 1; k <= nKeys; k++) starts[k] += starts[k - 1];
}

// After placing, starts[k-1] has moved to the end of key k: moves the row of ends back to starts.
static void endsToStarts(int nKeys, int *starts) {
  for (int k = nKeys; k >= 1; k--) starts[k] = starts[k - 1];
  starts[0] = 1;
}

void qrtskey(int *rc, int nKeys, int *starts, int n, int *rank, int *perm, const int *keys, int *sortedKeys, int *local) {
  *rc = 2;
  if (nKeys < 1) return;
  std::memset(starts, 0, (size_t(nKeys) + 1) * sizeof(int));
  for (int i = 0; i < n; i++) {
    if (keys[i] < 1 || keys[i] > nKeys) return;
    starts[keys[i]]++;
  }
  countsToStarts(nKeys, starts);
  for (int i = 0; i < n; i++) {
    const int p = starts[keys[i] - 1]++;
    rank[i] = p;
    perm[p - 1] = i + 1;
    sortedKeys[p - 1] = keys[i];
  }
  endsToStarts(nKeys, starts);
  for (int p = 1; p <= n; p++) local[p - 1] = p - starts[sortedKeys[p - 1] - 1] + 1;
  *rc = 0;
}

void qrtsortd(int *rc, int nKeys, int *starts, int n, const int *keys, const int *rows, const int *cols, const double *values,
              int *sortedRows, int *sortedCols, double *sortedValues) {
  *rc = 2;
  if (nKeys < 1) return;
  std::memset(starts, 0, (size_t(nKeys) + 1) * sizeof(int));
  for (int e = 0; e < n; e++) {
    if (keys[e] < 0 || keys[e] > nKeys) return;
    if (keys[e] > 0) starts[keys[e]]++;
  }
  countsToStarts(nKeys, starts);
  for (int e = 0; e < n; e++) {
    if (keys[e] == 0) continue;
    const int p = starts[keys[e] - 1]++ - 1;
    sortedRows[p] = rows[e];
    sortedCols[p] = cols[e];
    sortedValues[p] = values[e];
  }
  endsToStarts(nKeys, starts);
  *rc = 0;
}

// Sums neighbours of the same row inside each column and drops what is not above the tolerance.
static int mergeColumns(int *rows, int *cols, double *values, int *colStarts, int nCols, double tolerance) {
  int kept = 0, from = 0;
  for (int j = 0; j < nCols; j++) {
    const int to = colStarts[j + 1];
    colStarts[j] = kept;
    while (from < to) {
      const int row = rows[from];
      double sum = values[from++];
      while (from < to && rows[from] == row) sum += values[from++];
      if (std::fabs(sum) <= tolerance) continue;
      rows[kept] = row;
      cols[kept] = j;
      values[kept++] = sum;
    }
  }
  colStarts[nCols] = kept;
  return kept;
}

int qrts_makeColumnOrdered(int *rows, int *cols, double *values, int *rowCounts, int *colStarts, int *colCounts, int nRows,
                           int nCols, int count, double tolerance) {
  static const char *const name = "qrts_makeColumnOrdered";
  for (int i = 0; i < nRows; i++) rowCounts[i] = 0;
  for (int j = 0; j < nCols; j++) colCounts[j] = colStarts[j] = 0;
  colStarts[nCols] = 0;
  if (count < 1) return 0;
  for (int e = 0; e < count; e++) {
    rowCounts[rows[e]]++;
    colCounts[cols[e]]++;
  }
  // two stable passes, rows then columns, leave the rows of a column rising
  const int64_t n = count;
  int *byRow = static_cast<int *>(qrts__alloc(name, (n + nRows + 1) * int64_t(sizeof(int)), 1));
  int *place = byRow + n;
  place[0] = 0;
  for (int i = 0; i < nRows; i++) place[i + 1] = place[i] + rowCounts[i];
  for (int e = 0; e < count; e++) byRow[place[rows[e]]++] = e;

  int *rowsNow = static_cast<int *>(qrts__alloc(name, n * int64_t(sizeof(int)), 1));
  double *valuesNow = static_cast<double *>(qrts__alloc(name, n * int64_t(sizeof(double)), 1));
  for (int j = 0; j < nCols; j++) colStarts[j + 1] = colStarts[j] + colCounts[j];
  for (int k = 0; k < count; k++) {
    const int e = byRow[k], p = colStarts[cols[e]]++;
    rowsNow[p] = rows[e];
    valuesNow[p] = values[e];
  }
  for (int j = nCols; j >= 1; j--) colStarts[j] = colStarts[j - 1];
  colStarts[0] = 0;
  std::memcpy(rows, rowsNow, size_t(count) * sizeof(int));
  std::memcpy(values, valuesNow, size_t(count) * sizeof(double));
  std::free(valuesNow);
  std::free(rowsNow);
  std::free(byRow);
  return mergeColumns(rows, cols, values, colStarts, nCols, tolerance);
}

int qrts_SortMatrix(int *rows, int *cols, double *values, int *rowCounts, int *colStarts, int *colCounts, int nRows, int nCols,
                    int count, double tolerance) {
  for (int e = 0; e < count; e++) {
    rows[e]--;
    cols[e]--;
  }
  const int kept = qrts_makeColumnOrdered(rows, cols, values, rowCounts, colStarts, colCounts, nRows, nCols, count, tolerance);
  for (int e = 0; e < kept; e++) {
    rows[e]++;
    cols[e]++;
  }
  for (int j = 0; j <= nCols; j++) colStarts[j]++;
  return kept;
}

// Stores or adds one rim element.
static void putRim(int additive, double *vector, int position, double value) {
  if (additive) vector[position - 1] += value;
  else vector[position - 1] = value;
}

void qrtspltblk(int additive, int nRows, int nCols, int *count, int *rows, int *cols, double *values, double *rowLower,
                double *rowUpper, double *colLower, double *colUpper, double *objective, double *quadratic) {
  int kept = 0;
  for (int e = 0; e < *count; e++) {
    const int row = rows[e], col = cols[e];
    switch (row - nRows) {
      case EXT_COL_LOWER: putRim(additive, colLower, col, values[e]); continue;
      case EXT_COL_UPPER: putRim(additive, colUpper, col, values[e]); continue;
      case EXT_OBJECTIVE: putRim(additive, objective, col, values[e]); continue;
      case EXT_QUADRATIC:
        if (quadratic != nullptr) putRim(1, quadratic, col, values[e]);
        continue;
      default: break;
    }
    if (col - nCols == EXT_ROW_LOWER) {
      putRim(additive, rowLower, row, values[e]);
    } else if (col - nCols == EXT_ROW_UPPER) {
      putRim(additive, rowUpper, row, values[e]);
    } else {
      rows[kept] = row;
      cols[kept] = col;
      values[kept++] = values[e];
    }
  }
  *count = kept;
}

int BinSearchLong(int n, const int *array, int key) {
  int low = 0, high = n - 1;
  while (low <= high) {
    const int middle = low + (high - low) / 2;
    if (array[middle] == key) return middle;
    if (array[middle] < key) low = middle + 1;
    else high = middle - 1;
  }
  return -1;
}
