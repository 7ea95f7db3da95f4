// The whole matrix in one order: from all blocks by counting, from triples in place, and by transposition.
#include <cmath>
#include <climits>
#include <cstring>

#include "frame/entry_frame.h"
#include "frame/guarded_memory.h"
#include "frame/messages.h"
#include "model/model_store.h"

namespace {

template <class T> T *newBlock(int64_t n) {
  return static_cast<T *>(guardedAllocate(n > 0 ? n : 1, sizeof(T)));
}

// Block 0 is the whole matrix in column order: one column block over all columns, rows not shifted.
bool singleWholeBlock(const QRTModel *model) {
  if (model->Inumblocks != 1) return false;
  const ElementBlock &b = model->blocks[0];
  return !isTriples(b) && b.count == model->Inumcols && blockRowOffset(model, b) == 0 &&
         blockColumnOffset(model, b) == 0 && b.columns[0] == 0;
}

// No row twice in a column, no element at or below the tolerance; with `sorted`, rows ascending.
bool blockIsClean(QRTModel *model, const ElementBlock &b, double tolerance, bool sorted) {
  bool clean = true, ascending = true;
  for (int c = 0; c < b.count && (ascending || !sorted); c++)
    for (int e = b.columns[c]; e < b.columns[c + 1]; e++) {
      clean = clean && std::fabs(b.elements[e]) > tolerance;
      if (e > b.columns[c]) ascending = ascending && b.rows[e] > b.rows[e - 1];
    }
  if (!clean || ascending) return clean;
  if (sorted) return false;
  int *lastColumn = static_cast<int *>(temporaryAllocate(model, model->Inumrows, sizeof(int)));
  for (int i = 0; i < model->Inumrows; i++) lastColumn[i] = -1;
  for (int c = 0; c < b.count && clean; c++)
    for (int e = b.columns[c]; e < b.columns[c + 1]; e++) {
      clean = clean && lastColumn[b.rows[e]] != c;
      lastColumn[b.rows[e]] = c;
    }
  qrt_freeTemporary(model, lastColumn);
  return clean;
}

// First column from c on that is not plain, or n.
int endOfRun(const char *plain, int c, int n) {
  const void *stop = memchr(plain + c, 0, size_t(n - c));
  return stop ? int(static_cast<const char *>(stop) - plain) : n;
}

// Sums equal rows of sorted columns and drops what is at or below the tolerance; starts follow. Answers the count.
// Where plain[c] is set (plain may be null) column c is known to need nothing, and whole runs of such columns move at
// once, or not at all while nothing has been dropped.
int compactColumns(int nColumns, int *rows, int *starts, double *elements, double tolerance, const char *plain) {
  int kept = 0, begin = 0;
  for (int c = 0; c < nColumns;) {
    if (plain && plain[c]) {
      const int next = endOfRun(plain, c, nColumns);
      const int length = starts[next] - begin, shift = begin - kept;
      if (shift > 0) {
        memmove(rows + kept, rows + begin, sizeof(int) * size_t(length));
        memmove(elements + kept, elements + begin, sizeof(double) * size_t(length));
        for (int k = c + 1; k < next; k++) starts[k] -= shift;
      }
      begin = starts[next];
      kept += length;
      starts[next] = kept;
      c = next;
      continue;
    }
    const int end = starts[c + 1];
    for (int e = begin; e < end;) {
      const int row = rows[e];
      double sum = elements[e++];
      while (e < end && rows[e] == row) sum += elements[e++];
      if (!(std::fabs(sum) > tolerance)) continue;
      rows[kept] = row;
      elements[kept++] = sum;
    }
    begin = end;
    starts[++c] = kept;
  }
  return kept;
}

// Prefix sums of counts held at [c + 1], whose total fits an int; answers it.
int prefixSums(int *starts, int nColumns) {
  int total = 0;
  starts[0] = 0;
  for (int c = 1; c <= nColumns; c++) starts[c] = total += starts[c];
  return total;
}

// Adds the elements of each column c of a block to count[c].
void countBlock(const QRTModel *model, const ElementBlock &b, int *count) {
  int *mine = count + blockColumnOffset(model, b);
  if (isTriples(b))
    for (int e = 0; e < b.count; e++) mine[b.columns[e]]++;
  else
    for (int c = 0; c < b.count; c++) mine[c] += b.columns[c + 1] - b.columns[c];
}

// The last verdicts on arrays of column blocks: repeated blocks share theirs, so each is looked at once.
struct CleanVerdicts {
  static constexpr int ROOM = 256;
  const int *rows[ROOM];
  bool clean[ROOM];
};

// True when the rows of each column ascend, none comes twice and every element is above the tolerance.
bool columnsAreClean(CleanVerdicts *verdicts, const ElementBlock &b, double tolerance) {
  const int slot = int((reinterpret_cast<uintptr_t>(b.rows) >> 5) % CleanVerdicts::ROOM);
  if (verdicts->rows[slot] == b.rows) return verdicts->clean[slot];
  bool clean = true;
  for (int c = 0; c < b.count && clean; c++)
    for (int e = b.columns[c]; e < b.columns[c + 1]; e++)
      clean = clean && std::fabs(b.elements[e]) > tolerance && (e == b.columns[c] || b.rows[e] > b.rows[e - 1]);
  verdicts->rows[slot] = b.rows;
  verdicts->clean[slot] = clean;
  return clean;
}

// Marks the columns that come whole from one clean column block (and those without elements): they need neither sort
// nor sum.
void markPlainColumns(const QRTModel *model, const int *starts, double tolerance, char *plain) {
  CleanVerdicts verdicts = {};
  for (int k = 0; k < model->Inumblocks; k++) {
    const ElementBlock &b = model->blocks[k];
    if (isTriples(b) || !columnsAreClean(&verdicts, b, tolerance)) continue;
    const int c0 = blockColumnOffset(model, b);
    const int *whole = starts + c0, *own = b.columns;
    char *mine = plain + c0;
    for (int c = 0; c < b.count; c++) mine[c] = char(mine[c] | (whole[c + 1] - whole[c] == own[c + 1] - own[c]));
  }
}

// Copies elements [from, from + length) of a block to the places from `at`.
void placeRun(const ElementBlock &b, int from, int length, int rowOffset, int at, int *rows, double *elements) {
  const int *source = b.rows + from;
  for (int e = 0; e < length; e++) rows[at + e] = source[e] + rowOffset;
  memcpy(elements + at, b.elements + from, sizeof(double) * size_t(length));
}

// Puts a block's elements at the moving place of their columns. Runs of plain columns go as one piece.
void placeBlock(const QRTModel *model, const ElementBlock &b, const char *plain, int *place, int *rows, double *elements) {
  const int r0 = blockRowOffset(model, b), c0 = blockColumnOffset(model, b);
  place += c0;
  plain += c0;
  if (isTriples(b)) {
    for (int e = 0; e < b.count; e++) {
      const int at = place[b.columns[e]]++;
      rows[at] = b.rows[e] + r0;
      elements[at] = b.elements[e];
    }
    return;
  }
  for (int c = 0; c < b.count;) {
    const int next = plain[c] ? endOfRun(plain, c, b.count) : c + 1, last = next - 1;
    // A column of the run that is another block's has places of its own between ours, which then lie apart.
    const bool together = place[last] - place[c] == b.columns[last] - b.columns[c];
    if (together) placeRun(b, b.columns[c], b.columns[next] - b.columns[c], r0, place[c], rows, elements);
    for (; c < next; c++) {
      const int length = b.columns[c + 1] - b.columns[c];
      if (!together) placeRun(b, b.columns[c], length, r0, place[c], rows, elements);
      place[c] += length;
    }
  }
}

// All blocks into column order by two passes, one that counts and one that places.
void gatherColumns(QRTModel *model, CleanCopy *copy, double tolerance) {
  const int n = model->Inumcols;
  if (matrixElements(model) > INT_MAX) qrt_badMalloc(matrixElements(model) * int64_t(sizeof(double)));
  int *starts = static_cast<int *>(temporaryAllocateZero(model, int64_t(n) + 2, sizeof(int)));
  char *plain = static_cast<char *>(temporaryAllocateZero(model, int64_t(n) + 1, 1));
  expectWrites(starts, int64_t(sizeof(int)) * n);
  // Counts of column c go to [c + 2], so that after the prefix sums [c + 1] is the moving place of column c and
  // ends up as the start of the next.
  for (int k = 0; k < model->Inumblocks; k++) countBlock(model, model->blocks[k], starts + 2);
  int *place = starts + 1;
  const int total = prefixSums(place, n);
  markPlainColumns(model, place, tolerance, plain);
  int *rows = static_cast<int *>(temporaryAllocate(model, total > 0 ? total : 1, sizeof(int)));
  double *elements = static_cast<double *>(temporaryAllocate(model, total > 0 ? total : 1, sizeof(double)));
  expectWrites(rows, int64_t(sizeof(int)) * total);
  expectWrites(elements, int64_t(sizeof(double)) * total);
  for (int k = 0; k < model->Inumblocks; k++) placeBlock(model, model->blocks[k], plain, place, rows, elements);
  for (int c = endOfRun(plain, 0, n); c < n; c = endOfRun(plain, c + 1, n)) qrt_sortMatrix(starts + c, rows, elements, 1);
  copy->nElements = compactColumns(n, rows, starts, elements, tolerance, plain);
  qrt_freeTemporary(model, plain);
  qrt_makePermanent(model, rows);
  qrt_makePermanent(model, elements);
  qrt_makePermanent(model, starts);
  copy->rows = rows;
  copy->elements = elements;
  copy->starts = starts;
  copy->owned = 1;
}

void raiseBase(int *values, int64_t n) {
  for (int64_t k = 0; k < n; k++) values[k]++;
}

}  // namespace

void transposeMatrix(int nMajor, int nMinor, const int *starts, const int *indices, const double *elements,
                     int *outStarts, int *outIndices, double *outElements) {
  memset(outStarts, 0, sizeof(int) * (size_t(nMinor) + 1));
  for (int e = starts[0]; e < starts[nMajor]; e++) outStarts[indices[e] + 1]++;
  for (int i = 0; i < nMinor; i++) outStarts[i + 1] += outStarts[i];
  // The starts serve as moving places; afterwards each stands at the end of its vector and is shifted back.
  for (int j = 0; j < nMajor; j++)
    for (int e = starts[j]; e < starts[j + 1]; e++) {
      const int at = outStarts[indices[e]]++;
      outIndices[at] = j;
      outElements[at] = elements[e];
    }
  for (int i = nMinor; i > 0; i--) outStarts[i] = outStarts[i - 1];
  outStarts[0] = 0;
}

void qrt_cleanCopy(QRTModel *model, CleanCopy *copy, int option, double tolerance, int base) {
  memset(copy, 0, sizeof *copy);
  copy->nRows = model->Inumrows;
  copy->nColumns = model->Inumcols;
  copy->base = base;
  const bool borrow = base == 0 && !(option & CLEAN_OWNED) && singleWholeBlock(model) &&
                      blockIsClean(model, model->blocks[0], tolerance, (option & CLEAN_SORTED) != 0);
  if (borrow) {
    const ElementBlock &b = model->blocks[0];
    copy->rows = b.rows;
    copy->starts = b.columns;
    copy->elements = b.elements;
    copy->nElements = b.columns[b.count];
  } else {
    gatherColumns(model, copy, tolerance);
  }
  if (option & CLEAN_ROWS) {
    copy->rowStarts = newBlock<int>(int64_t(copy->nRows) + 1);
    copy->columns = newBlock<int>(copy->nElements);
    copy->rowElements = newBlock<double>(copy->nElements);
    transposeMatrix(copy->nColumns, copy->nRows, copy->starts, copy->rows, copy->elements, copy->rowStarts,
                    copy->columns, copy->rowElements);
  }
  if (base != 0) {
    raiseBase(copy->rows, copy->nElements);
    raiseBase(copy->starts, int64_t(copy->nColumns) + 1);
    if (copy->columns) {
      raiseBase(copy->columns, copy->nElements);
      raiseBase(copy->rowStarts, int64_t(copy->nRows) + 1);
    }
  }
}

void qrt_deleteCleanCopy(CleanCopy *copy) {
  if (copy->owned) {
    qrt_free(copy->rows);
    qrt_free(copy->starts);
    qrt_free(copy->elements);
  }
  qrt_free(copy->columns);
  qrt_free(copy->rowStarts);
  qrt_free(copy->rowElements);
  memset(copy, 0, sizeof *copy);
}

void mergeAllBlocks(QRTModel *model, int option) {
  CleanCopy copy;
  qrt_cleanCopy(model, &copy, CLEAN_COLUMNS, 0.0, 0);
  if (!copy.owned) return;
  dropAllBlocks(model);
  const int64_t columns = int64_t(option == 0 || model->Imaxcols < copy.nColumns ? copy.nColumns : model->Imaxcols);
  copy.starts = static_cast<int *>(qrt_reallocBase(copy.starts, checkedBytes(columns + 1, sizeof(int))));
  copy.rows = static_cast<int *>(
      qrt_reallocBase(copy.rows, checkedBytes(copy.nElements > 0 ? copy.nElements : 1, sizeof(int))));
  copy.elements = static_cast<double *>(
      qrt_reallocBase(copy.elements, checkedBytes(copy.nElements > 0 ? copy.nElements : 1, sizeof(double))));
  adoptColumnBlock(model, copy.nColumns, copy.rows, copy.starts, copy.elements);
}

static void mergeChecked(QRTModel *model, int option) {
  qrt_checkParameter(model, 2, option, 0, 1);
  mergeAllBlocks(model, option);
  selfCheckModel(model);
}

extern "C" int qrt_mergeBlocks(QRTModel *model, int option) {
  qrt_enter(model, "qrt_mergeBlocks", 1);
  QRT_JUMP_FRAME(model, qrt_disaster(model));
  mergeChecked(model, option);
  QRT_END_FRAME();
  qrt_leave(model);
  return 0;
}

extern "C" int qrt_makeCopy(int nMajor, int nMinor, const int *starts, const int *indices, const double *elements,
                            int *outStarts, int *outIndices, double *outElements) {
  transposeMatrix(nMajor, nMinor, starts, indices, elements, outStarts, outIndices, outElements);
  return 0;
}

// In place: no second buffer for elements. A slot whose element stands in its column already is marked by a row of
// -2 once it is final while cycles are followed; rows are kept in the column array meanwhile, whose content is no
// longer needed for a placed element.
extern "C" int qrt_makeColumnOrdered(int *rows, int *columns, double *elements, int *starts, int n, int nColumns,
                                     double tolerance) {
  memset(starts, 0, sizeof(int) * (size_t(nColumns) + 1));
  for (int e = 0; e < n; e++) starts[columns[e] + 1]++;
  for (int c = 0; c < nColumns; c++) starts[c + 1] += starts[c];
  // starts[c] runs as the next free place of column c and ends at the start of column c + 1.
  constexpr int DONE = -2, HOLE = -1;
  for (int e = n - 1; e >= 0; e--) {
    if (rows[e] == DONE) continue;
    int row = rows[e], column = columns[e];
    double value = elements[e];
    rows[e] = HOLE;
    for (;;) {
      const int at = starts[column]++;
      const int nextRow = rows[at], nextColumn = columns[at];
      const double nextValue = elements[at];
      rows[at] = DONE;
      columns[at] = row;
      elements[at] = value;
      if (nextRow == HOLE) break;
      row = nextRow;
      column = nextColumn;
      value = nextValue;
    }
  }
  if (n > 0) memcpy(rows, columns, sizeof(int) * size_t(n));
  for (int c = nColumns; c > 0; c--) starts[c] = starts[c - 1];
  starts[0] = 0;
  qrt_sortMatrix(starts, rows, elements, nColumns);
  return compactColumns(nColumns, rows, starts, elements, tolerance, nullptr);
}
