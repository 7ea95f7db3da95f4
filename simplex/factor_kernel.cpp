// Third stage: sparse right-looking elimination of the nucleus with Markowitz counts and threshold pivoting.
//
// Rows are kept with values, the largest element in magnitude first, so that the threshold test of an element costs
// one load; columns are kept as lists of rows. Rows and columns hang in doubly linked lists by their counts, where the
// search for a pivot begins at the shortest. A row of U leaves the active rows when it is pivoted.
#include <cmath>
#include <cstring>

#include "frame/messages.h"
#include "simplex/factor_arrays.h"

namespace {

constexpr int NOT_LINKED = -1;
// Lists looked at in one search once there is a candidate (Suhl and Suhl 1990): more buys less fill than it costs.
constexpr int SEARCH_LISTS = 4;
// Below this many rows a dense tail does not pay its set-up; above it, a share of 1/2.5 of nonzeros
// is enough: the dense kernel does several operations in the time of one sparse one.
constexpr int64_t DENSE_ROWS = 100;
constexpr double DENSE_SHARE = 2.5;

void linkRow(FactorArrays *a, int i) {
  const int count = a->activeRows.length[i];
  if (count == 0 || a->rowBarred[i]) return;
  const int head = a->rowCountHead[count];
  a->rowNext[i] = head;
  a->rowPrev[i] = 0;
  if (head) a->rowPrev[head] = i;
  a->rowCountHead[count] = i;
}

// Must be called while the length is still that of the list the row hangs in.
void unlinkRow(FactorArrays *a, int i) {
  if (a->rowPrev[i] == NOT_LINKED) return;
  const int next = a->rowNext[i], previous = a->rowPrev[i];
  if (previous)
    a->rowNext[previous] = next;
  else
    a->rowCountHead[a->activeRows.length[i]] = next;
  if (next) a->rowPrev[next] = previous;
  a->rowPrev[i] = NOT_LINKED;
}

void linkColumn(FactorArrays *a, int c) {
  const int count = a->activeColumns.length[c];
  if (count == 0) return;
  const int head = a->columnCountHead[count];
  a->columnNext[c] = head;
  a->columnPrev[c] = 0;
  if (head) a->columnPrev[head] = c;
  a->columnCountHead[count] = c;
}

void unlinkColumn(FactorArrays *a, int c) {
  if (a->columnPrev[c] == NOT_LINKED) return;
  const int next = a->columnNext[c], previous = a->columnPrev[c];
  if (previous)
    a->columnNext[previous] = next;
  else
    a->columnCountHead[a->activeColumns.length[c]] = next;
  if (next) a->columnPrev[next] = previous;
  a->columnPrev[c] = NOT_LINKED;
}

// Takes row i off the list of column c. A row that is not there can only mean that memory was overwritten.
void removeFromColumn(FactorArrays *a, int c, int i) {
  int32_t *list = a->columnElements.index + a->activeColumns.start[c];
  const int last = a->activeColumns.length[c] - 1;
  int q = 0;
  while (q <= last && list[q] != i) q++;
  if (q > last) {
    qrtmesg_no(MSG_OVERWRITTEN);
    return;
  }
  list[q] = list[last];
  a->activeColumns.length[c] = last;
}

void addToColumn(FactorArrays *a, int c, int i) {
  StoreLists *columns = &a->activeColumns;
  const int length = columns->length[c];
  if (length == columns->room[c])
    store_moveList(&a->columnElements, columns, a->nColumns, c, length + length / 2 + 4);
  a->columnElements.index[columns->start[c] + length] = i;
  columns->length[c] = length + 1;
}

// Brings the largest element of a row to its front (qrtmltf).
void largestToFront(FactorArrays *a, int i) {
  const int start = a->activeRows.start[i], length = a->activeRows.length[i];
  double *value = a->rowElements.value + start;
  int32_t *index = a->rowElements.index + start;
  int best = 0;
  double largest = 0.0;
  for (int q = 0; q < length; q++) {
    const double size = std::fabs(value[q]);
    if (size > largest) {
      largest = size;
      best = q;
    }
  }
  if (best) {
    const double x = value[0];
    value[0] = value[best];
    value[best] = x;
    const int32_t c = index[0];
    index[0] = index[best];
    index[best] = c;
  }
}

struct Pivot {
  int row, column;
  double value;
};

// The best pivot by merit (row count - 1) * (column count - 1) among the shortest columns and rows whose magnitude is
// at least u times the largest of its row (qrtfpvt). row 0: none left.
Pivot qrtfpvt(FactorArrays *a, double u) {
  Pivot best = {0, 0, 0.0};
  int64_t merit = INT64_MAX;
  int looked = 0;
  const StoreLists *rows = &a->activeRows, *columns = &a->activeColumns;
  const int most = a->m > a->nColumns ? a->m : a->nColumns;
  for (int k = 1; k <= most; k++) {
    if (merit <= int64_t(k - 1) * (k - 1)) return best;
    if (k <= a->m)
      for (int c = a->columnCountHead[k], next; c; c = next) {
        next = a->columnNext[c];
        bool found = false;
        const int32_t *list = a->columnElements.index + columns->start[c];
        for (int q = 0; q < k; q++) {
          const int i = list[q];
          if (a->rowBarred[i]) continue;
          const int64_t candidate = int64_t(rows->length[i] - 1) * (k - 1);
          if (candidate >= merit) {
            found = true;  // not tried, and not worth it while there is something better
            continue;
          }
          const int32_t *index = a->rowElements.index + rows->start[i];
          const double *value = a->rowElements.value + rows->start[i];
          int p = 0;
          while (index[p] != c) p++;
          // The only element of a column is a pivot of any size: there is nothing it could blow up.
          if (k > 1 && std::fabs(value[p]) < u * std::fabs(value[0])) continue;
          found = true;
          merit = candidate;
          best = {i, c, value[p]};
        }
        // No row would have it as pivot: out of the way until its count changes.
        if (!found) {
          unlinkColumn(a, c);
          continue;
        }
        if (++looked >= SEARCH_LISTS || merit <= int64_t(k - 1) * (k - 1)) return best;
      }
    if (merit <= int64_t(k - 1) * k) return best;
    if (k <= a->nColumns)
      for (int i = a->rowCountHead[k]; i; i = a->rowNext[i]) {
        const int32_t *index = a->rowElements.index + rows->start[i];
        const double *value = a->rowElements.value + rows->start[i];
        const double bar = u * std::fabs(value[0]);
        for (int q = 0; q < k; q++) {
          if (std::fabs(value[q]) < bar) continue;
          const int64_t candidate = int64_t(columns->length[index[q]] - 1) * (k - 1);
          if (candidate < merit) {
            merit = candidate;
            best = {i, index[q], value[q]};
          }
        }
        if (++looked >= SEARCH_LISTS || merit <= int64_t(k) * (k - 1)) return best;
      }
  }
  return best;
}

// Takes pivot row and column off all lists and stores the row of U; leaves pivotWork and columnMark loaded with the rest
// of the row (qrtprpv). Returns where the row of U begins in kernelRows.
int qrtprpv(FactorArrays *a, const Pivot *pivot) {
  const int r = pivot->row, c = pivot->column;
  unlinkRow(a, r);
  unlinkColumn(a, c);
  const int start = a->activeRows.start[r], length = a->activeRows.length[r];
  const int at = a->kernelRows.end;
  store_grow(&a->kernelRows, int64_t(at) + length);
  const int32_t *index = a->rowElements.index + start;
  const double *value = a->rowElements.value + start;
  int end = at;
  for (int q = 0; q < length; q++) {
    const int j = index[q];
    if (j == c) continue;
    unlinkColumn(a, j);
    removeFromColumn(a, j, r);
    a->kernelRows.index[end] = j;
    a->kernelRows.value[end++] = value[q];
    a->pivotWork[j] = value[q];
    a->columnMark[j] = 1;
  }
  removeFromColumn(a, c, r);
  a->kernelRows.end = end;
  a->kernelRowStart[r] = at;
  a->kernelRowLength[r] = end - at;
  a->activeElements -= length;
  a->activeRowCount--;
  a->activeRows.length[r] = 0;
  a->activeRows.room[r] = 0;
  return at;
}

// Row i minus multiplier times the pivot row, fill-in included; the pivot column's element is gone already.
void eliminateRow(FactorArrays *a, int i, double multiplier, int pivotStart, int pivotLength) {
  StoreLists *rows = &a->activeRows;
  int length = rows->length[i];
  int start = rows->start[i];
  int32_t *index = a->rowElements.index + start;
  double *value = a->rowElements.value + start;
  const int before = length;
  int hits = 0;
  double largest = 0.0;
  int best = 0;
  for (int q = 0; q < length;) {
    const int j = index[q];
    if (a->columnMark[j]) {
      hits++;
      a->columnMark[j] = -1;
      const double x = value[q] - multiplier * a->pivotWork[j];
      if (std::fabs(x) <= TINY_VALUE) {
        removeFromColumn(a, j, i);
        length--;
        index[q] = index[length];
        value[q] = value[length];
        continue;
      }
      value[q] = x;
    }
    const double size = std::fabs(value[q]);
    if (size > largest) {
      largest = size;
      best = q;
    }
    q++;
  }
  const int fill = pivotLength - hits;
  if (fill > 0) {
    if (length + fill > rows->room[i]) {
      rows->length[i] = length;
      const int wanted = length + fill;
      store_moveList(&a->rowElements, rows, a->m, i, wanted + wanted / 4 + 2);
      start = rows->start[i];
      index = a->rowElements.index + start;
      value = a->rowElements.value + start;
    }
    const int32_t *pivotIndex = a->kernelRows.index + pivotStart;
    const double *pivotValue = a->kernelRows.value + pivotStart;
    for (int q = 0; q < pivotLength; q++) {
      const int j = pivotIndex[q];
      if (a->columnMark[j] < 0) {
        a->columnMark[j] = 1;
        continue;
      }
      const double x = -multiplier * pivotValue[q];
      const double size = std::fabs(x);
      if (size <= TINY_VALUE) continue;
      if (size > largest) {
        largest = size;
        best = length;
      }
      index[length] = j;
      value[length++] = x;
      addToColumn(a, j, i);
    }
  } else {
    const int32_t *pivotIndex = a->kernelRows.index + pivotStart;
    for (int q = 0; q < pivotLength; q++) a->columnMark[pivotIndex[q]] = 1;
  }
  if (best) {
    const double x = value[0];
    value[0] = value[best];
    value[best] = x;
    const int32_t j = index[0];
    index[0] = index[best];
    index[best] = j;
  }
  rows->length[i] = length;
  a->activeElements += length - before;
}

// One elimination step. Returns the operations it took.
int64_t pivotStep(Factor *factor, const Pivot *pivot) {
  FactorArrays *a = factor->arrays;
  StoreLists *rows = &a->activeRows;
  const int r = pivot->row, c = pivot->column;
  const int pivotStart = qrtprpv(a, pivot), pivotLength = a->kernelRowLength[r];
  recordPivot(a, r, c, pivot->value, STAGE_KERNEL);
  const double size = std::fabs(pivot->value);
  if (size < factor->smallestPivot) factor->smallestPivot = size;

  // The column's list may move while fill-in is added elsewhere: work from a copy.
  const int others = a->activeColumns.length[c];
  int64_t work = pivotLength + others;
  if (others) {
    std::memcpy(a->pivotColumnRows, a->columnElements.index + a->activeColumns.start[c],
                size_t(others) * sizeof(int32_t));
    const double inverse = 1.0 / pivot->value;
    for (int k = 0; k < others; k++) {
      const int i = a->pivotColumnRows[k];
      unlinkRow(a, i);
      int32_t *index = a->rowElements.index + rows->start[i];
      double *value = a->rowElements.value + rows->start[i];
      int q = 0;
      while (index[q] != c) q++;
      const double multiplier = value[q] * inverse;
      const int last = --rows->length[i];
      a->activeElements--;
      index[q] = index[last];
      value[q] = value[last];
      store_append(&a->lStore, i, multiplier);
      if (pivotLength) {
        work += last + pivotLength;
        eliminateRow(a, i, multiplier, pivotStart, pivotLength);
      } else if (q == 0 && last > 1) {
        work += last;
        largestToFront(a, i);
      }
      linkRow(a, i);
    }
    a->lPivotRow[a->lNumber] = r;
    a->lStart[++a->lNumber] = a->lStore.end;
    a->activeColumns.length[c] = 0;
  }
  a->activeColumns.room[c] = 0;
  const int32_t *pivotIndex = a->kernelRows.index + pivotStart;
  for (int q = 0; q < pivotLength; q++) {
    a->columnMark[pivotIndex[q]] = 0;
    linkColumn(a, pivotIndex[q]);
  }
  return work;
}

// Gives up column c: it leaves the active rows.
void rejectColumn(FactorArrays *a, int c) {
  StoreLists *rows = &a->activeRows;
  unlinkColumn(a, c);
  const int32_t *list = a->columnElements.index + a->activeColumns.start[c];
  for (int k = 0; k < a->activeColumns.length[c]; k++) {
    const int i = list[k];
    unlinkRow(a, i);
    int32_t *index = a->rowElements.index + rows->start[i];
    double *value = a->rowElements.value + rows->start[i];
    int q = 0;
    while (index[q] != c) q++;
    const int last = --rows->length[i];
    index[q] = index[last];
    value[q] = value[last];
    a->activeElements--;
    if (q == 0 && last > 1) largestToFront(a, i);
    linkRow(a, i);
  }
  a->activeColumns.length[c] = a->activeColumns.room[c] = 0;
  a->columnState[c] = COLUMN_REJECTED;
}

}  // namespace

int qrtford(Factor *factor) {
  FactorArrays *a = factor->arrays;
  const int m = factor->m, n = a->nColumns;
  StoreLists *rows = &a->activeRows, *columns = &a->activeColumns;
  a->kernelFault = 0;
  std::memset(a->rowCountHead, 0, (size_t(n) + 1) * sizeof(int32_t));
  std::memset(a->columnCountHead, 0, (size_t(m) + 1) * sizeof(int32_t));
  std::memset(a->columnMark, 0, (size_t(n) + 1) * sizeof(int32_t));
  // A row gets room for as much again: most rows of a nucleus see some fill-in, few see more.
  int64_t rowRoom = 0;
  int32_t empty = 0, live = 0;
  a->activeRowCount = 0;
  for (int i = 1; i <= m; i++) {
    a->rowPrev[i] = NOT_LINKED;
    rows->start[i] = int32_t(rowRoom);
    rows->length[i] = 0;
    rows->room[i] = 0;
    if (a->rowStage[i] != STAGE_ACTIVE) continue;
    a->activeRowCount++;
    if (a->rowCount[i] == 0) empty++;
    rows->room[i] = a->rowCount[i] + a->rowCount[i] / 2 + 2;
    rowRoom += rows->room[i];
    live += a->rowCount[i];
  }
  store_reserve(&a->rowElements, 2 * rowRoom);
  a->rowElements.end = int32_t(rowRoom);
  store_reserve(&a->columnElements, 3 * int64_t(live) + 8 * int64_t(n));
  store_reserve(&a->kernelRows, 2 * int64_t(live));
  a->activeElements = live;
  for (int c = 1; c <= n; c++) {
    a->columnPrev[c] = NOT_LINKED;
    columns->length[c] = columns->room[c] = 0;
    columns->start[c] = a->columnElements.end;
    if (a->columnState[c] != COLUMN_ACTIVE) continue;
    int32_t *list = a->columnElements.index + a->columnElements.end;
    int length = 0;
    for (int p = a->loadStart[c]; p < a->loadStart[c + 1]; p++) {
      const int i = a->loaded.index[p];
      if (a->rowStage[i] != STAGE_ACTIVE) continue;
      list[length++] = i;
      const int q = rows->start[i] + rows->length[i]++;
      a->rowElements.index[q] = c;
      a->rowElements.value[q] = a->loaded.value[p];
    }
    if (length == 0) empty++;
    columns->length[c] = length;
    columns->room[c] = length + length / 2 + 4;
    a->columnElements.end += columns->room[c];
    linkColumn(a, c);
  }
  for (int i = 1; i <= m; i++)
    if (a->rowStage[i] == STAGE_ACTIVE) {
      if (rows->length[i] > 1) largestToFront(a, i);
      linkRow(a, i);
    }
  return empty;
}

int qrtcmfc(Factor *factor, int repair) {
  FactorArrays *a = factor->arrays;
  int64_t work = 0;
  const int rowMoves = a->rowElements.capacity, columnMoves = a->columnElements.capacity;
  while (a->activeRowCount > 0) {
    const int64_t left = a->activeRowCount;
    if (left > DENSE_ROWS && double(left) * double(left) < DENSE_SHARE * a->activeElements && !a->kernelFault) {
      factor->denseRows = int32_t(left);
      qrtcmfd(factor);
      work += left * left * left / 3;
      break;
    }
    const Pivot pivot = qrtfpvt(a, factor->pivotThreshold);
    if (!pivot.row) break;
    if (std::fabs(pivot.value) < a->columnTiny[pivot.column]) {
      if (!repair) {
        factor->smallestPivot = std::fabs(pivot.value);
        return a->activeRowCount;
      }
      a->kernelFault = 1;
      if (a->activeColumns.length[pivot.column] == 1) {
        rejectColumn(a, pivot.column);
      } else {
        // By the threshold the whole row is small. It stays, to be eliminated with the others, but cannot pivot.
        unlinkRow(a, pivot.row);
        a->rowBarred[pivot.row] = 1;
      }
      continue;
    }
    work += pivotStep(factor, &pivot);
  }
  factor->rowCompactions = a->rowElements.capacity != rowMoves;
  factor->columnCompactions = a->columnElements.capacity != columnMoves;
  factor->factorWork += double(work);
  return a->activeRowCount;
}
