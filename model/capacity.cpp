// Sizes and capacities: growing and cutting the rim vectors, whose column part moves with the row capacity.
//
// A resize works in two halves. The first allocates everything of the new layout on the temporary chain, so that a
// failed allocation leaves the old model untouched; the second copies and swaps pointers and cannot fail.
#include <climits>
#include <cstring>

#include "frame/entry_frame.h"
#include "frame/guarded_memory.h"
#include "frame/messages.h"
#include "model/integer_sets.h"

namespace {

// One row per rim vector of doubles: where it hangs and what a new row or column holds. Those that must exist
// come first.
struct RimRow {
  double *QRTModel::*vector;
  double newRow, newColumn;
  bool always;
};
const RimRow rimRows[] = {
    {&QRTModel::lower, -QRT_INFINITY, 0.0, true},
    {&QRTModel::solution, 0.0, 0.0, true},
    {&QRTModel::upper, QRT_INFINITY, QRT_INFINITY, true},
    {&QRTModel::dual, 0.0, 0.0, true},
    {&QRTModel::objective, 0.0, 0.0, true},
    {&QRTModel::scales, 1.0, 1.0, false},
    {&QRTModel::rweight, 1.0, 1.0, false},
    {&QRTModel::aux, 0.0, 0.0, false},
    {&QRTModel::objectiveDelta, 0.0, 0.0, false},
    {&QRTModel::lowerDelta, 0.0, 0.0, false},
    {&QRTModel::upperDelta, 0.0, 0.0, false},
};
constexpr int RIM_COUNT = sizeof rimRows / sizeof rimRows[0];

// Old and new layout of one resize.
struct Layout {
  int oldRows, oldCols, oldMaxRows;  // entries that carry data, and where columns began
  int rows, cols, maxRows, maxCols;
  int front;
  int64_t length() const { return int64_t(front) + maxRows + maxCols + 3; }
};

template <class T> void fillRange(T *vector, int64_t from, int64_t to, T value) {
  for (int64_t k = from; k < to; k++) vector[k] = value;
}

// A rim vector of the new layout: kept entries copied from `old` (may be null), the rest set to the defaults. `fresh`
// comes zeroed, and what is to be zero is not written: untouched pages cost nothing.
template <class T> void layOut(const Layout &lay, const T *old, T *fresh, T newRow, T newColumn) {
  const int rowsKept = old ? (lay.oldRows < lay.rows ? lay.oldRows : lay.rows) : 0;
  const int colsKept = old ? (lay.oldCols < lay.cols ? lay.oldCols : lay.cols) : 0;
  if (newRow != T(0) && newColumn != T(0)) expectWrites(fresh, int64_t(sizeof(T)) * (int64_t(lay.maxRows) + lay.maxCols));
  if (rowsKept > 0) memcpy(fresh, old, sizeof(T) * size_t(rowsKept));
  if (newRow != T(0)) fillRange(fresh, rowsKept, lay.maxRows, newRow);
  T *columns = fresh + lay.maxRows;
  if (colsKept > 0) memcpy(columns, old + lay.oldMaxRows, sizeof(T) * size_t(colsKept));
  if (newColumn != T(0)) fillRange(columns, colsKept, lay.maxCols, newColumn);
}

// Without a new layout only entries beyond the smaller size change: those in use must start from the defaults,
// those given up go back to them.
template <class T> void resetTail(const QRTModel *model, const Layout &lay, T *vector, T newRow, T newColumn) {
  const int rowLow = lay.oldRows < lay.rows ? lay.oldRows : lay.rows, rowHigh = lay.oldRows + lay.rows - rowLow;
  const int colLow = lay.oldCols < lay.cols ? lay.oldCols : lay.cols, colHigh = lay.oldCols + lay.cols - colLow;
  fillRange(vector, rowLow, rowHigh < model->Imaxrows ? rowHigh : model->Imaxrows, newRow);
  fillRange(vector + model->Imaxrows, colLow, colHigh < model->Imaxcols ? colHigh : model->Imaxcols, newColumn);
}

template <class T> T *newTemporary(QRTModel *model, int64_t n) {
  return static_cast<T *>(temporaryAllocate(model, n, sizeof(T)));
}

// An empty rim vector of the new layout, as layOut() wants it.
template <class T> T *newRim(QRTModel *model, const Layout &lay) {
  return static_cast<T *>(temporaryAllocateZero(model, lay.length(), sizeof(T))) + lay.front;
}

void keep(QRTModel *model, void *block) {
  if (block) qrt_makePermanent(model, block);
}

// The optional arrays of plain row or column length: bytes of integer types, names, selection lists.
struct PlainArray {
  char *old;
  char *fresh;
  int64_t entry, keptEntries, newEntries;
};
PlainArray growPlain(QRTModel *model, void *old, int64_t entry, int64_t kept, int64_t wanted) {
  PlainArray a = {static_cast<char *>(old), nullptr, entry, kept, wanted};
  if (old) a.fresh = newTemporary<char>(model, entry * (wanted > 0 ? wanted : 1));
  return a;
}
template <class T> void swapPlain(QRTModel *model, PlainArray &a, T **home) {
  if (!a.old) return;
  const int64_t kept = a.keptEntries < a.newEntries ? a.keptEntries : a.newEntries;
  memcpy(a.fresh, a.old, size_t(a.entry * kept));
  memset(a.fresh + a.entry * kept, 0, size_t(a.entry * ((a.newEntries > 0 ? a.newEntries : 1) - kept)));
  keep(model, a.fresh);
  qrt_free(a.old);
  *home = reinterpret_cast<T *>(a.fresh);
}

void resizeSensitivity(QRTModel *model, const Layout &lay) {
  BoundSensitivity *s = model->boundSensitivity;
  if (!s) return;
  for (int v = 0; v < 4; v++) {
    // Four vectors of row length and four of the whole rim, of each kind.
    PlainArray r = growPlain(model, s->rowReal[v], sizeof(double), lay.oldRows, lay.maxRows);
    PlainArray i = growPlain(model, s->rowInt[v], sizeof(int), lay.oldRows, lay.maxRows);
    double *rim = s->rimReal[v] ? newRim<double>(model, lay) : nullptr;
    int *rimInt = s->rimInt[v] ? newRim<int>(model, lay) : nullptr;
    swapPlain(model, r, &s->rowReal[v]);
    swapPlain(model, i, &s->rowInt[v]);
    if (rim) {
      layOut(lay, s->rimReal[v], rim, 0.0, 0.0);
      keep(model, rim - lay.front);
      qrt_free(rimAllocation(model, s->rimReal[v]));
      s->rimReal[v] = rim;
    }
    if (rimInt) {
      layOut(lay, s->rimInt[v], rimInt, 0, 0);
      keep(model, rimInt - lay.front);
      qrt_free(rimAllocation(model, s->rimInt[v]));
      s->rimInt[v] = rimInt;
    }
  }
}

void relayRims(QRTModel *model, const Layout &lay) {
  double *fresh[RIM_COUNT];
  for (int v = 0; v < RIM_COUNT; v++) {
    const bool wanted = rimRows[v].always || model->*rimRows[v].vector;
    fresh[v] = wanted ? newRim<double>(model, lay) : nullptr;
  }
  int *status = newRim<int>(model, lay);
  const int stride = model->Inumchar;
  PlainArray rowNames = growPlain(model, model->rownames, stride, lay.oldRows, lay.maxRows);
  PlainArray colNames = growPlain(model, model->colnames, stride, lay.oldCols, lay.maxCols);
  PlainArray types = growPlain(model, model->integerTypes, 1, lay.oldCols, lay.maxCols);
  PlainArray rowList = growPlain(model, model->sellistrow, sizeof(int), lay.oldRows, lay.maxRows);
  PlainArray colList = growPlain(model, model->sellistcol, sizeof(int), lay.oldCols, lay.maxCols);
  resizeSensitivity(model, lay);

  for (int v = 0; v < RIM_COUNT; v++) {
    if (!fresh[v]) continue;
    double *old = model->*rimRows[v].vector;
    layOut(lay, old, fresh[v], rimRows[v].newRow, rimRows[v].newColumn);
    keep(model, fresh[v] - lay.front);
    qrt_free(rimAllocation(model, old));
    model->*rimRows[v].vector = fresh[v];
  }
  layOut(lay, model->status, status, int(STATUS_BASIC), 0);
  keep(model, status - lay.front);
  qrt_free(rimAllocation(model, model->status));
  model->status = status;
  swapPlain(model, rowNames, &model->rownames);
  swapPlain(model, colNames, &model->colnames);
  swapPlain(model, types, &model->integerTypes);
  swapPlain(model, rowList, &model->sellistrow);
  swapPlain(model, colList, &model->sellistcol);

  const int shift = lay.maxRows - model->Imaxrows;
  for (int k = 0; k < model->Inumblocks; k++) model->blocks[k].columnBase += shift;
  for (int k = 0; k < model->Inumquadraticblocks; k++) model->quadraticBlocks[k].block->columnBase += shift;
  model->Imaxrows = lay.maxRows;
  model->Imaxcols = lay.maxCols;
}

void resetTails(QRTModel *model, const Layout &lay) {
  for (const RimRow &row : rimRows)
    if (model->*row.vector) resetTail(model, lay, model->*row.vector, row.newRow, row.newColumn);
  resetTail(model, lay, model->status, int(STATUS_BASIC), 0);
  if (model->integerTypes && lay.cols < lay.oldCols)
    memset(model->integerTypes + lay.cols, 0, size_t(lay.oldCols - lay.cols));
}

void nameNewEntries(QRTModel *model, const Layout &lay) {
  if (!model->rownames) return;
  const int stride = nameStride(model);
  char text[40];
  for (int i = lay.oldRows; i < lay.rows; i++) {
    defaultName('R', i, nameLength(model), text);
    storeName(model, model->rownames + int64_t(i) * stride, text, nameLength(model));
  }
  for (int j = lay.oldCols; j < lay.cols; j++) {
    defaultName('C', j, nameLength(model), text);
    storeName(model, model->colnames + int64_t(j) * stride, text, nameLength(model));
  }
}

// Takes out of the matrix what lies beyond the new size.
void cutBlocks(QRTModel *model, int rows, int cols) {
  if (rows == 0) {
    dropAllBlocks(model);
    return;
  }
  int *rowMap = newTemporary<int>(model, model->Inumrows);
  for (int i = 0; i < model->Inumrows; i++) rowMap[i] = i < rows ? i : -1;
  int *columnMap = model->Inumcols > 0 ? newTemporary<int>(model, model->Inumcols) : nullptr;
  for (int j = 0; j < model->Inumcols; j++) columnMap[j] = j < cols ? j : -1;
  mapMatrix(model, rowMap, columnMap);
  if (columnMap) qrt_freeTemporary(model, columnMap);
  if (rowMap) qrt_freeTemporary(model, rowMap);
}

// A negative capacity in the model asks for that much room above the size.
int capacityAsked(int stored, int size) {
  if (stored >= 0) return stored;
  const int64_t sum = int64_t(size) - stored;
  return sum > INT_MAX ? INT_MAX : int(sum);
}

// Members of sets that lie beyond the new size leave them.
void cutEntities(QRTModel *model, int cols) {
  int *columnMap = newTemporary<int>(model, model->Inumcols);
  for (int j = 0; j < model->Inumcols; j++) columnMap[j] = j < cols ? j : -1;
  mapEntities(model, columnMap);
  qrt_freeTemporary(model, columnMap);
}

int chosenCapacity(int size, int wanted, int present, bool haveVectors, int exact) {
  int64_t capacity = grownCapacity(size, wanted);
  if (!exact && haveVectors && capacity < present) capacity = present;
  return capacity > INT_MAX ? INT_MAX : int(capacity);
}

}  // namespace

int64_t grownCapacity(int64_t size, int64_t wanted) { return wanted < size ? size + size / 5 + 100 : wanted; }

void resizeRims(QRTModel *model, int rows, int cols, int maxRows, int maxCols, int exact) {
  const bool have = model->lower != nullptr;
  maxRows = capacityAsked(maxRows, rows);
  maxCols = capacityAsked(maxCols, cols);
  if (!have) model->Imaxrows = model->Imaxcols = 0;
  Layout lay;
  lay.oldRows = model->Inumrows;
  lay.oldCols = model->Inumcols;
  lay.oldMaxRows = model->Imaxrows;
  lay.rows = rows;
  lay.cols = cols;
  lay.maxRows = chosenCapacity(rows, maxRows, model->Imaxrows, have, exact);
  lay.maxCols = chosenCapacity(cols, maxCols, model->Imaxcols, have, exact);
  lay.front = model->extraFront;
  if (model->Inumblocks > 0 && (rows < lay.oldRows || cols < lay.oldCols)) cutBlocks(model, rows, cols);
  if (model->setInfo && cols < lay.oldCols) cutEntities(model, cols);
  if (!have || lay.maxRows != model->Imaxrows || lay.maxCols != model->Imaxcols)
    relayRims(model, lay);
  else
    resetTails(model, lay);
  nameNewEntries(model, lay);
  if (model->integerTypes) {
    if (cols < lay.oldCols) model->Inumints = -1;
    qrt_free(model->integerTypeIndex);
    model->integerTypeIndex = nullptr;
  }
  if (rows != lay.oldRows || cols != lay.oldCols) touchMatrix(model);
  model->Inumrows = rows;
  model->Inumcols = cols;
  if (model->rowNamePointers || model->colNamePointers) qrt_namePointers(model, 0);
}

// Once, and only for a caller from outside: pointers that were handed out may dangle after this.
static void warnOfPointers(QRTModel *model) {
  if (!model->externalPointers || model->entryDepth >= 2) return;
  qrtmesg_no(MSG_POINTERS_MAY_BE_INVALID);
  model->externalPointers = 0;
}

static void resizeChecked(QRTModel *model, int rows, int cols, int maxRows, int maxCols, int exact) {
  qrt_checkParameter(model, 2, rows, -1, MAX_ROWS);
  qrt_checkParameter(model, 3, cols, -1, INT_MAX);
  qrt_checkParameter(model, 4, maxRows, 0, MAX_ROWS);
  qrt_checkParameter(model, 5, maxCols, 0, INT_MAX);
  qrt_checkParameter(model, 6, exact, 0, 1);
  warnOfPointers(model);
  resizeRims(model, rows < 0 ? model->Inumrows : rows, cols < 0 ? model->Inumcols : cols, maxRows, maxCols, exact);
}

extern "C" int qrt_resizeModelExact(QRTModel *model, int rows, int cols, int maxRows, int maxCols, int exact) {
  qrt_enter(model, "qrt_resizeModelExact", 1);
  QRT_JUMP_FRAME(model, qrt_disaster(model));
  resizeChecked(model, rows, cols, maxRows, maxCols, exact);
  selfCheckModel(model);
  QRT_END_FRAME();
  qrt_leave(model);
  return 0;
}

static void resizeFromPresent(QRTModel *model, int rows, int cols, int exact) {
  qrt_checkParameter(model, 2, rows, -1, MAX_ROWS);
  qrt_checkParameter(model, 3, cols, -1, INT_MAX);
  qrt_checkParameter(model, 4, exact, 0, 1);
  warnOfPointers(model);
  resizeRims(model, rows < 0 ? model->Inumrows : rows, cols < 0 ? model->Inumcols : cols, model->Imaxrows,
             model->Imaxcols, exact);
}

extern "C" int qrt_resizeModel(QRTModel *model, int rows, int cols, int exact) {
  qrt_enter(model, "qrt_resizeModel", 1);
  QRT_JUMP_FRAME(model, qrt_disaster(model));
  resizeFromPresent(model, rows, cols, exact);
  selfCheckModel(model);
  QRT_END_FRAME();
  qrt_leave(model);
  return 0;
}
