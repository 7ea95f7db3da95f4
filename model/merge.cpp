// The whole matrix in one order: from all blocks by counting, from triples in place, and by transposition.
#include <algorithm>
#include <climits>
#include <cmath>
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

// Sums equal rows of one sorted column, elements [begin, end), drops what is at or below the tolerance, and moves the
// rest down to `kept`. Answers where the next column goes.
int compactColumn(int begin, int end, int kept, int *rows, double *elements, double tolerance) {
  for (int e = begin; e < end;) {
    const int row = rows[e];
    double sum = elements[e++];
    while (e < end && rows[e] == row) sum += elements[e++];
    if (!(std::fabs(sum) > tolerance)) continue;
    rows[kept] = row;
    elements[kept++] = sum;
  }
  return kept;
}

// The same for all columns; starts follow. Answers the count.
int compactColumns(int nColumns, int *rows, int *starts, double *elements, double tolerance) {
  int kept = 0, begin = 0;
  for (int c = 0; c < nColumns; c++) {
    const int end = starts[c + 1];
    kept = compactColumn(begin, end, kept, rows, elements, tolerance);
    begin = end;
    starts[c + 1] = kept;
  }
  return kept;
}

// ---- all blocks into column order ------------------------------------------------------------------------------
//
// Most columns of a generated model belong to one block alone. Such a column is PLAIN when that block is in column
// order with rising rows and no element at or below the tolerance: runs of plain columns are copied as they lie, and
// nothing looks at them one by one. All others are counted, placed, sorted and summed.

constexpr unsigned char PLAIN = 1;

// Columns [begin, end) of the model, all plain and all of one block.
struct PlainRun {
  int begin, end, block;
};

struct Gathering {
  const QRTModel *model;
  int n;
  double tolerance;
  unsigned char *reach;  // [n] 0 no block reaches the column, PLAIN, anything else shared
  PlainRun *runs;        // [nRuns] in column order
  int nRuns;
  // the result; starts[c + 1] of a column that is not plain is its count first, then the moving place of its next element
  int *rows, *starts;
  double *elements;
};

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

// One clean block more for n columns: 0 becomes PLAIN, that becomes 3, and what is shared stays so. Eight at a time.
void reachOnce(unsigned char *reach, int n) {
  constexpr uint64_t ONES = 0x0101010101010101u, LOW_SEVEN = 0x7f7f7f7f7f7f7f7fu;
  int c = 0;
  for (; c + 8 <= n; c += 8) {
    uint64_t eight;
    memcpy(&eight, reach + c, 8);
    eight = (eight & LOW_SEVEN) << 1 | ONES;
    memcpy(reach + c, &eight, 8);
  }
  for (; c < n; c++) reach[c] = static_cast<unsigned char>(reach[c] << 1 | 1);
}

// First column from c on that is not plain, or n.
int endOfPlain(const unsigned char *reach, int c, int n) {
  constexpr uint64_t ONES = 0x0101010101010101u;
  for (; c + 8 <= n; c += 8) {
    uint64_t eight;
    memcpy(&eight, reach + c, 8);
    if (eight != ONES) break;
  }
  while (c < n && reach[c] == PLAIN) c++;
  return c;
}

void findReach(Gathering *g) {
  constexpr unsigned char SHARED = 3;
  CleanVerdicts verdicts = {};
  for (int k = 0; k < g->model->Inumblocks; k++) {
    const ElementBlock &b = g->model->blocks[k];
    unsigned char *mine = g->reach + blockColumnOffset(g->model, b);
    if (isTriples(b))
      for (int e = 0; e < b.count; e++) mine[b.columns[e]] |= SHARED;
    else if (columnsAreClean(&verdicts, b, g->tolerance))
      reachOnce(mine, b.count);
    else
      for (int c = 0; c < b.count; c++) mine[c] |= SHARED;
  }
}

// The plain runs of a block to `runs`, which may be null; answers their number.
int runsOfBlock(const Gathering *g, int block, PlainRun *runs) {
  const ElementBlock &b = g->model->blocks[block];
  if (isTriples(b)) return 0;
  const int first = blockColumnOffset(g->model, b), end = first + b.count;
  int count = 0;
  for (int c = first; c < end;) {
    const void *next = memchr(g->reach + c, PLAIN, size_t(end - c));
    if (!next) break;
    const int begin = int(static_cast<const unsigned char *>(next) - g->reach);
    c = endOfPlain(g->reach, begin, end);
    if (runs) runs[count] = {begin, c, block};
    count++;
  }
  return count;
}

void findRuns(QRTModel *model, Gathering *g) {
  int64_t count = 0;
  for (int k = 0; k < model->Inumblocks; k++) count += runsOfBlock(g, k, nullptr);
  g->runs = static_cast<PlainRun *>(temporaryAllocate(model, count + 1, sizeof(PlainRun)));
  bool inOrder = true;
  for (int k = 0; k < model->Inumblocks; k++) {
    const int first = g->nRuns;
    g->nRuns += runsOfBlock(g, k, g->runs + first);
    inOrder = inOrder && (first == 0 || g->nRuns == first || g->runs[first].begin > g->runs[first - 1].begin);
  }
  const auto earlier = [](const PlainRun &a, const PlainRun &b) { return a.begin < b.begin; };
  if (!inOrder) std::sort(g->runs, g->runs + g->nRuns, earlier);
}

// Calls take(c, first, length) for each column c of a block that is not plain, with its elements in the block.
template <class Take> void forShared(const Gathering *g, const ElementBlock &b, Take take) {
  const int c0 = blockColumnOffset(g->model, b);
  if (isTriples(b)) {
    for (int e = 0; e < b.count; e++) take(b.columns[e] + c0, e, 1);
    return;
  }
  for (int c = endOfPlain(g->reach + c0, 0, b.count); c < b.count; c = endOfPlain(g->reach + c0, c + 1, b.count))
    take(c + c0, b.columns[c], b.columns[c + 1] - b.columns[c]);
}

// Elements of a run, from *first on in its block.
int runLength(const Gathering *g, const PlainRun &run, int *first) {
  const ElementBlock &b = g->model->blocks[run.block];
  const int *starts = b.columns - blockColumnOffset(g->model, b);
  *first = starts[run.begin];
  return starts[run.end] - *first;
}

// Calls column(c) for each column that is not plain and plain(run) for each run, all in column order.
template <class Column, class Plain> void inColumnOrder(const Gathering *g, Column column, Plain plain) {
  int c = 0;
  for (int k = 0; k <= g->nRuns; k++) {
    const int end = k < g->nRuns ? g->runs[k].begin : g->n;
    for (; c < end; c++) column(c);
    if (k == g->nRuns) return;
    plain(g->runs[k]);
    c = g->runs[k].end;
  }
}

// Four at a time, so that the compiler takes them as one.
void copyShifted(int *to, const int *from, int n, int shift) {
  int k = 0;
  for (; k + 4 <= n; k += 4) {
    const int a = from[k], b = from[k + 1], c = from[k + 2], d = from[k + 3];
    to[k] = a + shift;
    to[k + 1] = b + shift;
    to[k + 2] = c + shift;
    to[k + 3] = d + shift;
  }
  for (; k < n; k++) to[k] = from[k] + shift;
}

// A run to the elements from `kept` on. Answers where the next column goes.
int copyRun(Gathering *g, const PlainRun &run, int kept) {
  const ElementBlock &b = g->model->blocks[run.block];
  int first;
  const int length = runLength(g, run, &first), local = run.begin - blockColumnOffset(g->model, b);
  copyShifted(g->starts + run.begin + 1, b.columns + local + 1, run.end - run.begin, kept - first);
  copyShifted(g->rows + kept, b.rows + first, length, blockRowOffset(g->model, b));
  memcpy(g->elements + kept, b.elements + first, sizeof(double) * size_t(length));
  return kept + length;
}

// The elements of all columns that are not plain to their places, as if nothing were summed or dropped.
void placeShared(Gathering *g) {
  int *const place = g->starts + 1;
  for (int k = 0; k < g->model->Inumblocks; k++)
    forShared(g, g->model->blocks[k], [&](int c, int, int length) { place[c] += length; });
  int total = 0;
  inColumnOrder(
      g,
      [&](int c) {
        const int count = place[c];
        place[c] = total;
        total += count;
      },
      [&](const PlainRun &run) {
        int first;
        total += runLength(g, run, &first);
      });
  for (int k = 0; k < g->model->Inumblocks; k++) {
    const ElementBlock &b = g->model->blocks[k];
    const int r0 = blockRowOffset(g->model, b);
    forShared(g, b, [&](int c, int from, int length) {
      const int at = place[c];
      for (int e = 0; e < length; e++) {
        g->rows[at + e] = b.rows[from + e] + r0;
        g->elements[at + e] = b.elements[from + e];
      }
      place[c] = at + length;
    });
  }
}

// Sorts and sums what is placed and fills in the plain runs. What is dropped on the way moves all behind it down, never
// beyond elements not yet looked at. Answers the count.
int finishColumns(Gathering *g) {
  int kept = 0, begin = 0;
  inColumnOrder(
      g,
      [&](int c) {
        const int placed[2] = {begin, g->starts[c + 1]};
        if (placed[1] > begin) qrt_sortMatrix(placed, g->rows, g->elements, 1);
        kept = compactColumn(begin, placed[1], kept, g->rows, g->elements, g->tolerance);
        begin = placed[1];
        g->starts[c + 1] = kept;
      },
      [&](const PlainRun &run) {
        const int next = copyRun(g, run, kept);
        begin += next - kept;
        kept = next;
      });
  return kept;
}

void gatherColumns(QRTModel *model, CleanCopy *copy, double tolerance) {
  const int64_t total = matrixElements(model), room = total > 0 ? total : 1;
  if (total > INT_MAX) qrt_badMalloc(total * int64_t(sizeof(double)));
  Gathering g = {};
  g.model = model;
  g.n = model->Inumcols;
  g.tolerance = tolerance;
  g.reach = static_cast<unsigned char *>(temporaryAllocateZero(model, int64_t(g.n) + 1, 1));
  findReach(&g);
  findRuns(model, &g);
  g.starts = static_cast<int *>(temporaryAllocateZero(model, int64_t(g.n) + 1, sizeof(int)));
  g.rows = static_cast<int *>(temporaryAllocate(model, room, sizeof(int)));
  g.elements = static_cast<double *>(temporaryAllocate(model, room, sizeof(double)));
  expectWrites(g.starts, int64_t(sizeof(int)) * g.n);
  placeShared(&g);
  copy->nElements = finishColumns(&g);
  qrt_freeTemporary(model, g.runs);
  qrt_freeTemporary(model, g.reach);
  qrt_makePermanent(model, g.rows);
  qrt_makePermanent(model, g.elements);
  qrt_makePermanent(model, g.starts);
  copy->rows = g.rows;
  copy->elements = g.elements;
  copy->starts = g.starts;
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
