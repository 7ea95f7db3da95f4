// Merging added rows and columns into the first column block, and the checks their callers share.
#include "model/first_block.h"

#include <climits>
#include <cstring>

#include "frame/entry_frame.h"
#include "frame/guarded_memory.h"
#include "frame/messages.h"

namespace {

// Makes a guarded array hold `needed` entries, with a fifth to spare so that repeated additions stay cheap.
template <class T> T *withRoom(T *array, int64_t needed) {
  const int64_t room = array ? qrt_validAddress(array) / int64_t(sizeof(T)) : 0;
  if (needed <= room) return array;
  int64_t wanted = needed + needed / 5 + 100;
  const int64_t largest = (int64_t(INT_MAX) - 32) / int64_t(sizeof(T));
  if (wanted > largest && needed <= largest) wanted = largest;
  return static_cast<T *>(qrt_reallocBase(array, checkedBytes(wanted, sizeof(T))));
}

void coverColumns(ElementBlock &b, int columns) {
  b.columns = withRoom(b.columns, int64_t(columns) + 1);
  for (int c = b.count; c < columns; c++) b.columns[c + 1] = b.columns[c];
  b.count = b.extent = columns;
}

void growElements(ElementBlock &b, int64_t total) {
  if (total > INT_MAX) qrt_badMalloc(total * int64_t(sizeof(double)));
  b.rows = withRoom(b.rows, total);
  b.elements = withRoom(b.elements, total);
}

// The first column block when it can take more columns behind `columns` present ones, or -1.
int usableBlock(const QRTModel *model, int columns) {
  for (int k = 0; k < model->Inumblocks; k++) {
    const ElementBlock &b = model->blocks[k];
    if (isTriples(b)) continue;
    const bool home = blockRowOffset(model, b) == 0 && blockColumnOffset(model, b) == 0 && b.count <= columns;
    return home ? k : -1;
  }
  return -1;
}

int newEmptyBlock(QRTModel *model, int columns) {
  int *starts = static_cast<int *>(guardedAllocateZero(int64_t(columns) + 1, sizeof(int)));
  int *rows = static_cast<int *>(guardedAllocate(1, sizeof(int)));
  double *elements = static_cast<double *>(guardedAllocate(1, sizeof(double)));
  return adoptColumnBlock(model, columns, rows, starts, elements);
}

int blockCovering(QRTModel *model, int columns) {
  int k = usableBlock(model, columns);
  if (k < 0) k = newEmptyBlock(model, columns);
  unshareBlock(model, k);
  coverColumns(model->blocks[k], columns);
  return k;
}

// Moves elements upwards, from the top, so that column c gets added[c] free places
// behind its own; those from one such column to the next move as one. added[c] becomes the first free place.
void openGaps(ElementBlock &b, int *added, int total) {
  int shift = total, c = b.count - 1;
  while (shift > 0) {
    const int top = c;
    while (added[c] == 0) c--;
    // Columns c + 1 .. top move by the full shift, column c by what is added below it.
    const int run = b.columns[c + 1], length = b.columns[top + 1] - run;
    memmove(b.rows + run + shift, b.rows + run, sizeof(int) * size_t(length));
    memmove(b.elements + run + shift, b.elements + run, sizeof(double) * size_t(length));
    for (int k = c + 1; k <= top; k++) b.columns[k + 1] += shift;
    const int start = b.columns[c], own = run - start;
    b.columns[c + 1] = run + shift;
    shift -= added[c];
    memmove(b.rows + start + shift, b.rows + start, sizeof(int) * size_t(own));
    memmove(b.elements + start + shift, b.elements + start, sizeof(double) * size_t(own));
    added[c] = start + shift + own;
    c--;
  }
}

}  // namespace

int firstColumnBlock(QRTModel *model) { return blockCovering(model, model->Inumcols); }

void insertElements(QRTModel *model, int n, const int *rows, const int *columns, const double *elements) {
  if (n == 0) return;
  const int number = firstColumnBlock(model);  // may move the block array
  ElementBlock &b = model->blocks[number];
  const int old = b.columns[b.count];
  int *added = static_cast<int *>(temporaryAllocate(model, b.count, sizeof(int)));
  memset(added, 0, sizeof(int) * size_t(b.count));
  for (int e = 0; e < n; e++) added[columns[e]]++;
  growElements(b, int64_t(old) + n);
  openGaps(b, added, n);
  for (int e = 0; e < n; e++) {
    const int at = added[columns[e]]++;
    b.rows[at] = rows[e];
    b.elements[at] = elements[e];
  }
  qrt_freeTemporary(model, added);
  touchMatrix(model);
}

void appendColumns(QRTModel *model, int firstColumn, int count, const int *starts, const int *rows,
                   const double *elements) {
  const int number = blockCovering(model, firstColumn);  // may move the block array
  ElementBlock &b = model->blocks[number];
  const int old = b.columns[b.count], base = starts[0], n = starts[count] - base;
  b.columns = withRoom(b.columns, int64_t(firstColumn) + count + 1);
  growElements(b, int64_t(old) + n);
  memcpy(b.rows + old, rows + base, sizeof(int) * size_t(n));
  for (int c = 0; c < count; c++) {
    b.columns[firstColumn + c + 1] = old + starts[c + 1] - base;
    for (int e = starts[c]; e < starts[c + 1]; e++)
      b.elements[old + e - base] = elements[e] * elementFactor(model, rows[e], firstColumn + c);
  }
  b.count = b.extent = firstColumn + count;
  touchMatrix(model);
}

bool soundVectors(const int *starts, int count, const int *indices, int limit, int rangeMessage) {
  if (starts[0] < 0) {
    qrtmesg_no_i1(MSG_BAD_STARTS, 0);
    return false;
  }
  for (int c = 0; c < count; c++)
    if (starts[c + 1] < starts[c]) {
      qrtmesg_no_i1(MSG_BAD_STARTS, c + 1);
      return false;
    }
  int smallest, largest;
  const int64_t n = int64_t(starts[count]) - starts[0];
  indexRange(indices ? indices + starts[0] : nullptr, n, &smallest, &largest);
  if (n > 0 && (smallest < 0 || largest >= limit)) {
    qrtmesg_no_i2(rangeMessage, smallest, largest);
    return false;
  }
  return true;
}

void checkNewBounds(const char *entry, int n, const double *lower, const double *upper, double defaultLower) {
  for (int k = 0; k < n; k++) {
    const double lo = lower ? lower[k] : defaultLower, up = upper ? upper[k] : QRT_INFINITY;
    if (up + 1.0e-12 >= lo) continue;
    messageI(1, k);
    qrtmesg_no_q1_d2(MSG_INVALID_BOUNDS, entry, -1, lo, up);
    qrtmesg_no(MSG_STORE_STOPPED);
  }
}
