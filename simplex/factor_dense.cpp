// Fourth stage: what the sparse kernel leaves when it has become dense is eliminated as a dense matrix.
//
// The matrix lies by rows. Each pivot is the largest element of its row among the columns not yet pivoted, and its
// column is exchanged with the last of those, so that the active part of every row stays contiguous. Eight rows make a
// panel: they are finished among themselves, then every other row takes all eight in one pass, eight multiply-adds for
// one load and store.
#include <cmath>
#include <cstring>

#include "frame/guarded_memory.h"
#include "simplex/factor_arrays.h"

namespace {

constexpr int PANEL = 8;
constexpr int CHUNK = 400;  // columns of a panel that stay in the first cache: 8 rows of 400 doubles

// row[0..n) -= sum over k of multiplier[k] * panel[k][0..n).
QRT_VECTORISE void subtractPanel(double *__restrict row, const double *const *panel, const double *multiplier, int n) {
  const double m0 = multiplier[0], m1 = multiplier[1], m2 = multiplier[2], m3 = multiplier[3];
  const double m4 = multiplier[4], m5 = multiplier[5], m6 = multiplier[6], m7 = multiplier[7];
  const double *__restrict p0 = panel[0], *__restrict p1 = panel[1], *__restrict p2 = panel[2];
  const double *__restrict p3 = panel[3], *__restrict p4 = panel[4], *__restrict p5 = panel[5];
  const double *__restrict p6 = panel[6], *__restrict p7 = panel[7];
  for (int j = 0; j < n; j++)
    row[j] -= (m0 * p0[j] + m1 * p1[j]) + (m2 * p2[j] + m3 * p3[j]) + (m4 * p4[j] + m5 * p5[j]) +
              (m6 * p6[j] + m7 * p7[j]);
}

QRT_VECTORISE void subtractRow(double *__restrict row, const double *__restrict pivotRow, double multiplier, int n) {
  for (int j = 0; j < n; j++) row[j] -= multiplier * pivotRow[j];
}

// Position of the element of largest magnitude (qrtidmx).
int largestPosition(const double *row, int n) {
  int best = 0;
  double largest = -1.0;
  for (int j = 0; j < n; j++) {
    const double size = std::fabs(row[j]);
    if (size > largest) {
      largest = size;
      best = j;
    }
  }
  return best;
}

// The dense tail. Rows and columns are named by their places; rowOf, columnOf say which they are.
struct DenseTail {
  int rows, columns;
  double *matrix;      // [rows * columns] by rows
  int32_t *rowOf;      // [rows]
  int32_t *columnOf;   // [columns]
  int32_t *pivotPlace; // [pivots] place of the row pivoted in step k, whose pivot stands at column columns-1-k
  int32_t *rowState;   // [rows] step of the row's pivot, -1 open, -2 barred
  int pivots;
  double *row(int place) const { return matrix + int64_t(place) * columns; }
};

void gatherTail(Factor *factor, DenseTail *tail) {
  FactorArrays *a = factor->arrays;
  const StoreLists *rows = &a->activeRows;
  int columns = 0, places = 0;
  for (int c = 1; c <= a->nColumns; c++)
    if (a->columnState[c] == COLUMN_ACTIVE && a->activeColumns.length[c] > 0) {
      tail->columnOf[columns++] = c;
      a->columnMark[c] = columns;
    }
  tail->columns = columns;
  const int64_t size = int64_t(tail->rows) * columns;
  if (size > a->denseCapacity) {
    a->denseCapacity = 0;
    if (a->dense) qrt__free(a->dense);
    a->dense = nullptr;
    a->dense = static_cast<double *>(guardedAllocate(size, sizeof(double)));
    a->denseCapacity = size;
  }
  tail->matrix = a->dense;
  std::memset(tail->matrix, 0, size_t(size) * sizeof(double));
  for (int i = 1; i <= factor->m; i++) {
    if (a->rowStage[i] != STAGE_ACTIVE) continue;
    double *row = tail->row(places);
    tail->rowState[places] = -1;
    tail->rowOf[places++] = i;
    for (int q = rows->start[i]; q < rows->start[i] + rows->length[i]; q++)
      row[a->columnMark[a->rowElements.index[q]] - 1] = a->rowElements.value[q];
  }
  for (int k = 0; k < columns; k++) a->columnMark[tail->columnOf[k]] = 0;
}

void exchangeColumns(DenseTail *tail, int j, int k) {
  if (j == k) return;
  for (int place = 0; place < tail->rows; place++) {
    double *row = tail->row(place);
    const double x = row[j];
    row[j] = row[k];
    row[k] = x;
  }
  const int32_t c = tail->columnOf[j];
  tail->columnOf[j] = tail->columnOf[k];
  tail->columnOf[k] = c;
}

// Multipliers of one row against the panel's pivots first..last-1, in place, without touching the active part.
void formMultipliers(const DenseTail *tail, double *row, int first, int last, double *multiplier) {
  for (int k = first; k < last; k++) {
    const int at = tail->columns - 1 - k;
    double x = row[at];
    for (int l = first; l < k; l++) x -= multiplier[l - first] * tail->row(tail->pivotPlace[l])[at];
    multiplier[k - first] = row[at] = x / tail->row(tail->pivotPlace[k])[at];
  }
}

// Finishes up to eight rows among themselves; returns the number pivoted.
int factorPanel(Factor *factor, DenseTail *tail, int *nextPlace) {
  FactorArrays *a = factor->arrays;
  const int first = tail->pivots;
  double multiplier[PANEL];
  while (tail->pivots < first + PANEL && tail->pivots < tail->columns && *nextPlace < tail->rows) {
    const int place = (*nextPlace)++;
    double *row = tail->row(place);
    const int active = tail->columns - tail->pivots;
    formMultipliers(tail, row, first, tail->pivots, multiplier);
    for (int k = first; k < tail->pivots; k++)
      subtractRow(row, tail->row(tail->pivotPlace[k]), multiplier[k - first], active);
    const int j = largestPosition(row, active);
    if (std::fabs(row[j]) < a->columnTiny[tail->columnOf[j]] || row[j] == 0.0) {
      // No pivot in this row. It has this panel's pivots behind it up to here; the caller gives it the rest.
      tail->rowState[place] = -2 - tail->pivots;
      a->rowBarred[tail->rowOf[place]] = 1;
      continue;
    }
    exchangeColumns(tail, j, active - 1);
    tail->pivotPlace[tail->pivots] = place;
    tail->rowState[place] = tail->pivots++;
  }
  return tail->pivots - first;
}

// Applies the panel's pivots from first on to every row not pivoted before or in it.
void applyPanel(DenseTail *tail, int first) {
  const int count = tail->pivots - first, active = tail->columns - tail->pivots;
  double multiplier[PANEL];
  const double *panel[PANEL];
  for (int place = 0; place < tail->rows; place++) {
    const int state = tail->rowState[place];
    if (state >= 0) continue;
    // A row barred inside this panel has taken the pivots before it; one barred earlier, or open, takes all.
    int from = first;
    if (state <= -2 && -2 - state > first) from = -2 - state;
    double *row = tail->row(place);
    formMultipliers(tail, row, from, tail->pivots, multiplier);
    if (from == first && count == PANEL) {
      for (int j = 0; j < active; j += CHUNK) {
        for (int k = 0; k < PANEL; k++) panel[k] = tail->row(tail->pivotPlace[first + k]) + j;
        subtractPanel(row + j, panel, multiplier, active - j < CHUNK ? active - j : CHUNK);
      }
    } else {
      for (int k = from; k < tail->pivots; k++)
        subtractRow(row, tail->row(tail->pivotPlace[k]), multiplier[k - from], active);
    }
  }
}

// From this share of nonzeros in the finished triangles on they are kept dense; and a tail that is a small part of all
// rows stays sparse, since solves that touch it must give up searching.
constexpr double KEEP_DENSE_SHARE = 0.5;
constexpr int KEEP_DENSE_ROWS = 50;  // at least one row in so many

// Keeps the finished tail as two dense triangles; false when sparse ones serve better.
bool keepTail(Factor *factor, const DenseTail *tail) {
  FactorArrays *a = factor->arrays;
  const int d = tail->pivots;
  if (d < tail->rows || int64_t(d) * KEEP_DENSE_ROWS < factor->m) return false;
  int64_t nonzeros = 0;
  for (int k = 0; k < d; k++) {
    double *values = tail->row(tail->pivotPlace[k]);
    const int pivotAt = tail->columns - 1 - k;
    // columns of a row that is pivoted: those of later pivots, its own, the multipliers of earlier ones
    for (int at = tail->columns - d; at < tail->columns; at++) {
      if (std::fabs(values[at]) <= TINY_VALUE && at != pivotAt) values[at] = 0.0;
      nonzeros += values[at] != 0.0;
    }
  }
  if (double(nonzeros) < KEEP_DENSE_SHARE * d * d) return false;
  tail_size(a, d);
  int lower = 0, upper = 0;
  const int last = tail->columns - 1;
  for (int t = 0; t < d; t++) {
    double *l = a->tailLower + int64_t(t) * d, *u = a->tailUpper + int64_t(t) * d;
    for (int s = 0; s < d; s++) {
      const double x = tail->row(tail->pivotPlace[s])[last - t];
      l[s] = s > t ? x : 0.0;
      u[s] = s < t ? x : 0.0;
      if (x != 0.0 && s != t) (s > t ? lower : upper)++;
    }
  }
  a->tailSize = d;
  a->tailFirst = a->pivots;
  a->tailLowerCount = lower;
  a->tailUpperCount = upper;
  std::memset(a->tailStep, 0, (size_t(factor->m) + 1) * sizeof(int32_t));
  for (int k = 0; k < d; k++) {
    const int row = tail->rowOf[tail->pivotPlace[k]];
    a->tailRow[k] = a->tailUpperRow[k] = row;
    a->tailStep[row] = k + 1;
  }
  return true;
}

// Hands the finished tail over: dense triangles, or etas of L and rows of U.
void storeTail(Factor *factor, const DenseTail *tail) {
  FactorArrays *a = factor->arrays;
  const bool dense = keepTail(factor, tail);
  for (int k = 0; k < tail->pivots; k++) {
    const int at = tail->columns - 1 - k, row = tail->rowOf[tail->pivotPlace[k]];
    const double *values = tail->row(tail->pivotPlace[k]);
    recordPivot(a, row, tail->columnOf[at], values[at], STAGE_KERNEL);
    if (std::fabs(values[at]) < factor->smallestPivot) factor->smallestPivot = std::fabs(values[at]);
    a->kernelRowStart[row] = a->kernelRows.end;
    a->kernelRowLength[row] = 0;
    if (dense) continue;
    store_grow(&a->kernelRows, int64_t(a->kernelRows.end) + at);
    for (int j = 0; j < at; j++)
      if (std::fabs(values[j]) > TINY_VALUE) store_append(&a->kernelRows, tail->columnOf[j], values[j]);
    a->kernelRowLength[row] = a->kernelRows.end - a->kernelRowStart[row];
    const int start = a->lStore.end;
    for (int place = 0; place < tail->rows; place++) {
      if (tail->rowState[place] >= 0 && tail->rowState[place] <= k) continue;
      const double multiplier = tail->row(place)[at];
      if (std::fabs(multiplier) > TINY_VALUE) store_append(&a->lStore, tail->rowOf[place], multiplier);
    }
    if (a->lStore.end > start) {
      a->lPivotRow[a->lNumber] = row;
      a->lStart[++a->lNumber] = a->lStore.end;
    }
  }
  if (dense) a->tailEnd = a->pivots;
  a->activeRowCount -= tail->pivots;
}

}  // namespace

void qrtcmfd(Factor *factor) {
  FactorArrays *a = factor->arrays;
  // The count lists are not needed any more: their arrays serve the tail.
  DenseTail tail = {};
  tail.rows = a->activeRowCount;
  tail.rowOf = a->pivotColumnRows;
  tail.columnOf = a->columnNext;
  tail.pivotPlace = a->rowNext;
  tail.rowState = a->rowPrev;
  gatherTail(factor, &tail);
  int nextPlace = 0;
  while (nextPlace < tail.rows && tail.pivots < tail.columns) {
    const int first = tail.pivots;
    if (factorPanel(factor, &tail, &nextPlace) == 0) continue;
    applyPanel(&tail, first);
  }
  storeTail(factor, &tail);
  // Rows and columns left over have no pivot: nothing hangs in the count lists any more.
  std::memset(a->rowCountHead, 0, (size_t(a->nColumns) + 1) * sizeof(int32_t));
  std::memset(a->columnCountHead, 0, (size_t(factor->m) + 1) * sizeof(int32_t));
}
