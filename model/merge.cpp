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

// Sums equal rows of sorted columns and drops what is at or below the tolerance; starts follow. Answers the count.
int compactColumns(int nColumns, int *rows, int *starts, double *elements, double tolerance) {
  int kept = 0, begin = 0;
  for (int c = 0; c < nColumns; c++) {
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
    starts[c + 1] = kept;
  }
  return kept;
}

// Prefix sums of counts held at [c + 1]; answers the total or fails when it passes 2^31 - 1.
int prefixSums(int *starts, int nColumns) {
  int64_t total = 0;
  starts[0] = 0;
  for (int c = 0; c < nColumns; c++) {
    total += starts[c + 1];
    if (total > INT_MAX) qrt_badMalloc(total * int64_t(sizeof(double)));
    starts[c + 1] = int(total);
  }
  return int(total);
}

// All blocks into column order by two passes, one that counts and one that places.
void gatherColumns(QRTModel *model, CleanCopy *copy, double tolerance) {
  const int n = model->Inumcols;
  if (matrixElements(model) > INT_MAX) qrt_badMalloc(matrixElements(model) * int64_t(sizeof(double)));
  int *starts = static_cast<int *>(temporaryAllocate(model, int64_t(n) + 2, sizeof(int)));
  memset(starts, 0, sizeof(int) * (size_t(n) + 2));
  // Counts of column c go to [c + 2], so that after the prefix sums [c + 1] is the moving place of column c and
  // ends up as the start of the next.
  int *count = starts + 2;
  for (int k = 0; k < model->Inumblocks; k++) {
    const ElementBlock &b = model->blocks[k];
    const int c0 = blockColumnOffset(model, b);
    if (isTriples(b))
      for (int e = 0; e < b.count; e++) count[b.columns[e] + c0]++;
    else
      for (int c = 0; c < b.count; c++) count[c + c0] += b.columns[c + 1] - b.columns[c];
  }
  const int total = prefixSums(starts + 1, n);
  int *rows = static_cast<int *>(temporaryAllocate(model, total > 0 ? total : 1, sizeof(int)));
  double *elements = static_cast<double *>(temporaryAllocate(model, total > 0 ? total : 1, sizeof(double)));
  int *place = starts + 1;
  for (int k = 0; k < model->Inumblocks; k++) {
    const ElementBlock &b = model->blocks[k];
    const int r0 = blockRowOffset(model, b), c0 = blockColumnOffset(model, b);
    if (isTriples(b)) {
      for (int e = 0; e < b.count; e++) {
        const int at = place[b.columns[e] + c0]++;
        rows[at] = b.rows[e] + r0;
        elements[at] = b.elements[e];
      }
    } else {
      for (int c = 0; c < b.count; c++) {
        const int length = b.columns[c + 1] - b.columns[c], at = place[c + c0];
        const int *from = b.rows + b.columns[c];
        for (int e = 0; e < length; e++) rows[at + e] = from[e] + r0;
        memcpy(elements + at, b.elements + b.columns[c], sizeof(double) * size_t(length));
        place[c + c0] += length;
      }
    }
  }
  qrt_sortMatrix(starts, rows, elements, n);
  copy->nElements = compactColumns(n, rows, starts, elements, tolerance);
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
  return compactColumns(nColumns, rows, starts, elements, tolerance);
}
