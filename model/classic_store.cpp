// The model of the classic interface: laying its arrays out in DSPACE, and copying between them and a QRTModel.
#include "model/classic_store.h"

#include <cstring>

#include "frame/core_workspace.h"
#include "frame/dspace.h"
#include "frame/entry_frame.h"
#include "frame/guarded_memory.h"
#include "frame/messages.h"
#include "model/model_store.h"

namespace {

constexpr int MSG_INCONSISTENT = 108;
constexpr int DOUBLE_RIMS = 5;
constexpr int CHANGE_RIMS = 3;

int64_t words(int64_t bytes) { return (bytes + 7) / 8; }
int64_t rimEntries(const ClassicShape &shape) { return int64_t(shape.maxRows) + shape.maxCols; }

double *takeWords(int64_t n) { return qrtlommdp(int(n)); }

// A rim vector in the core's form, all entries of one value.
double *placeRim(const ClassicShape &shape, double value) {
  const int64_t n = rimEntries(shape);
  double *vector = takeWords(n);
  for (int64_t k = 0; k < n; ++k) vector[k] = value;
  return oneBased(vector);
}

char *placeNames(const ClassicShape &shape, char kind, int count, int capacity) {
  const int64_t bytes = int64_t(capacity) * shape.nameLength;
  char *names = reinterpret_cast<char *>(takeWords(words(bytes)));
  memset(names, ' ', size_t(words(bytes)) * 8);
  for (int k = 0; k < count; ++k) defaultName(kind, k, shape.nameLength, names + int64_t(k) * shape.nameLength);
  return names - shape.nameLength;
}

// Copies rows and columns of a rim vector; `from` and `to` begin at row 0.
template <class T> void copyRim(T *to, const T *from, const ClassicShape &shape, int fromColumns) {
  if (!from) return;
  memcpy(to, from, size_t(shape.rows) * sizeof(T));
  memcpy(to + shape.maxRows, from + fromColumns, size_t(shape.cols) * sizeof(T));
}

int withoutBlanks(const char *name, int width) {
  while (width > 0 && name[width - 1] == ' ') --width;
  return width;
}

void copyPadded(char *entry, const char *name, int length, int width) {
  memset(entry, ' ', size_t(width));
  memcpy(entry, name, size_t(length < width ? length : width));
}

void require(bool good) {
  if (!good) qrtmesg_no(MSG_INCONSISTENT);
}

bool within(int64_t number, int last) { return number >= 1 && number <= last; }

// Every element of a block lies in a row and a column of the model. Offsets may be negative.
bool blockSound(const ElementBlock &b, const QrtLplp &lplp) {
  if (b.count < 0) return false;
  const int64_t columnOffset = int64_t(b.columnBase) - lplp.Imaxrows;
  int64_t elements = b.count;
  if (!isTriples(b)) {
    if (b.columns[0] != 1) return false;
    for (int c = 0; c < b.count; ++c) {
      const bool filled = b.columns[c + 1] > b.columns[c];
      if (b.columns[c + 1] < b.columns[c] || (filled && !within(c + 1 + columnOffset, lplp.Inumcols))) return false;
    }
    elements = int64_t(b.columns[b.count]) - 1;
  }
  if (elements > b.columns - b.rows) return false;  // the columns lie behind the rows
  for (int64_t k = 0; k < elements; ++k) {
    if (!within(int64_t(b.rows[k]) + b.rowBase, lplp.Inumrows)) return false;
    if (isTriples(b) && !within(b.columns[k] + columnOffset, lplp.Inumcols)) return false;
  }
  return true;
}

// Numbers counted from 1 to numbers counted from 0, on the target's chain.
int *fromZero(QRTModel *target, const int *numbers, int64_t n) {
  int *copy = static_cast<int *>(temporaryAllocate(target, n > 0 ? n : 1, 4));
  for (int64_t k = 0; k < n; ++k) copy[k] = numbers[k] - 1;
  return copy;
}

void copyBlock(QRTModel *target, const ElementBlock &b, const QrtLplp &lplp) {
  require(blockSound(b, lplp));
  const int columnOffset = b.columnBase - lplp.Imaxrows;
  const bool triples = isTriples(b);
  const int elements = triples ? b.count : b.columns[b.count] - 1;
  int *rows = fromZero(target, b.rows, elements);
  int *columns = fromZero(target, b.columns, triples ? b.count : b.count + 1);
  if (triples) appendTripleBlock(target, elements, rows, columns, b.elements, b.rowBase, columnOffset);
  else appendColumnBlock(target, b.count, rows, columns, b.elements, b.rowBase, columnOffset);
  qrt_freeTemporary(target, columns);
  qrt_freeTemporary(target, rows);
}

void placeCopyOfBlock(const QRTModel *source, const ElementBlock &b) {
  const int elements = int(blockElements(b));
  const int numbers = isTriples(b) ? b.count : b.count + 1;
  ElementBlock *block =
      placeClassicBlock(b.type, b.count, elements, blockRowOffset(source, b), blockColumnOffset(source, b));
  for (int k = 0; k < elements; ++k) block->rows[k] = b.rows[k] + 1;
  for (int k = 0; k < numbers; ++k) block->columns[k] = b.columns[k] + 1;
  if (elements > 0) memcpy(block->elements, b.elements, size_t(elements) * sizeof(double));
  block->extent = b.extent;
}

ClassicShape shapeOf(const QrtAddr &addr, const QrtLplp &lplp) {
  return {lplp.Inumrows, lplp.Inumcols, lplp.Imaxrows, lplp.Imaxcols, lplp.Inumchar, addr.rownames != nullptr,
          addr.scales != nullptr, addr.objectiveDelta != nullptr, lplp.Inumblocks};
}

// The change vectors, of which a model has all or none.
double *QrtAddr::*const changes[CHANGE_RIMS] = {&QrtAddr::objectiveDelta, &QrtAddr::lowerDelta, &QrtAddr::upperDelta};
double *QRTModel::*const modelChanges[CHANGE_RIMS] = {&QRTModel::objectiveDelta, &QRTModel::lowerDelta, &QRTModel::upperDelta};

}  // namespace

int64_t classicRimSpace(const ClassicShape &shape) {
  const int64_t n = rimEntries(shape);
  int64_t space = DOUBLE_RIMS * n + words(n * 4);
  if (shape.named)
    space += words(int64_t(shape.maxRows) * shape.nameLength) + words(int64_t(shape.maxCols) * shape.nameLength);
  if (shape.scaled) space += n;
  if (shape.parametric) space += CHANGE_RIMS * n;
  return space + words(int64_t(shape.blocks) * int64_t(sizeof(ElementBlock)));
}

int64_t classicBlockSpace(int type, int count, int64_t elements) {
  const int64_t columns = type == 2 || type == -2 ? elements : int64_t(count) + 1;
  return words(elements * 4) + words(columns * 4) + elements;
}

int64_t classicFreeSpace() { return qrtaddr.arena[ARENA_HIGH] - qrtaddr.arena[ARENA_LOW]; }

void releaseClassicModel() {
  const bool behind = qrtaddr.modelTo == qrtaddr.arena[ARENA_LOW];
  if (qrtaddr.modelFrom && behind && !savedModelAt(qrtdspc2, qrtaddr.modelFrom))
    qrtaddr.arena[ARENA_LOW] = qrtaddr.modelFrom;
  forgetClassicModel();
}

void placeClassicModel(const ClassicShape &shape) {
  qrtaddr.modelFrom = qrtaddr.modelTo = qrtaddr.arena[ARENA_LOW];
  const int64_t n = rimEntries(shape);
  double *lower = placeRim(shape, 0.0);
  double *solution = placeRim(shape, 0.0);
  double *upper = placeRim(shape, QRT_INFINITY);
  double *dual = placeRim(shape, 0.0);
  double *objective = placeRim(shape, 0.0);
  int *status = qrtlommip(int(n));
  for (int i = 0; i < shape.maxRows; ++i) {
    lower[i + 1] = -QRT_INFINITY;
    status[i] = int(STATUS_BASIC);
  }
  for (int64_t k = shape.maxRows; k < n; ++k) status[k] = 0;
  char *rownames = shape.named ? placeNames(shape, 'R', shape.rows, shape.maxRows) : nullptr;
  char *colnames = shape.named ? placeNames(shape, 'C', shape.cols, shape.maxCols) : nullptr;
  double *scales = shape.scaled ? placeRim(shape, 1.0) : nullptr;
  double *delta[CHANGE_RIMS] = {};
  if (shape.parametric)
    for (double *&vector : delta) vector = placeRim(shape, 0.0);
  double *blocks = takeWords(words(int64_t(shape.blocks) * int64_t(sizeof(ElementBlock))));

  qrtaddr.lower = lower;
  qrtaddr.solution = solution;
  qrtaddr.upper = upper;
  qrtaddr.dual = dual;
  qrtaddr.objective = objective;
  qrtaddr.status = oneBased(status);
  qrtaddr.rownames = rownames;
  qrtaddr.colnames = colnames;
  qrtaddr.scales = scales;
  for (int k = 0; k < CHANGE_RIMS; ++k) qrtaddr.*changes[k] = delta[k];
  qrtaddr.blocks = reinterpret_cast<ElementBlock *>(blocks);
  qrtaddr.modelTo = qrtaddr.arena[ARENA_LOW];
  qrtlplp.Inumrows = shape.rows;
  qrtlplp.Inumcols = shape.cols;
  qrtlplp.Imaxrows = shape.maxRows;
  qrtlplp.Imaxcols = shape.maxCols;
  qrtlplp.Itotal = shape.maxRows + shape.maxCols;
  qrtlplp.Inumblocks = 0;
  qrtlplp.Inumchar = shape.nameLength;
  qrtlplp.parametric = shape.parametric;
}

ElementBlock *placeClassicBlock(int type, int count, int64_t elements, int rowBase, int columnOffset) {
  ElementBlock block = {};
  block.type = type;
  block.count = count;
  block.columnBase = qrtlplp.Imaxrows + columnOffset;
  block.first = 1;
  block.extent = count;
  block.rowBase = rowBase;
  block.rows = qrtlommip(int(elements));
  block.columns = qrtlommip(isTriples(block) ? int(elements) : count + 1);
  block.elements = takeWords(elements);
  ElementBlock *place = &qrtaddr.blocks[qrtlplp.Inumblocks++];
  *place = block;
  qrtaddr.modelTo = qrtaddr.arena[ARENA_LOW];
  return place;
}

bool placeClassicAux() {
  if (qrtaddr.aux) return true;
  const ClassicShape shape = shapeOf(qrtaddr, qrtlplp);
  if (rimEntries(shape) > classicFreeSpace()) return false;
  const bool behind = qrtaddr.modelTo == qrtaddr.arena[ARENA_LOW];
  qrtaddr.aux = placeRim(shape, 0.0);
  if (behind) qrtaddr.modelTo = qrtaddr.arena[ARENA_LOW];
  return true;
}

void copyClassicModel(QRTModel *target, const QrtAddr &addr, const QrtLplp &lplp) {
  const ClassicShape shape = shapeOf(addr, lplp);
  require(shape.rows >= 0 && shape.cols >= 0 && shape.rows <= shape.maxRows && shape.cols <= shape.maxCols);
  target->Inumchar = shape.nameLength;
  resizeRims(target, shape.rows, shape.cols, shape.maxRows, shape.maxCols, 1);
  const int columns = shape.maxRows;
  if (addr.lower) {
    copyRim(target->lower, addr.lower + 1, shape, columns);
    copyRim(target->solution, addr.solution + 1, shape, columns);
    copyRim(target->upper, addr.upper + 1, shape, columns);
    copyRim(target->dual, addr.dual + 1, shape, columns);
    copyRim(target->objective, addr.objective + 1, shape, columns);
    copyRim(target->status, addr.status + 1, shape, columns);
  }
  if (shape.named) {
    ensureNames(target);
    const int64_t width = shape.nameLength, stride = nameStride(target);
    const auto storeOne = [&](char *entry, const char *name) {
      storeName(target, entry, name, withoutBlanks(name, shape.nameLength));
    };
    for (int i = 0; i < shape.rows; ++i)
      storeOne(target->rownames + i * stride, addr.rownames + (i + 1) * width);
    for (int j = 0; j < shape.cols; ++j)
      storeOne(target->colnames + j * stride, addr.colnames + (j + 1) * width);
  }
  for (int k = 0; k < lplp.Inumblocks; ++k) copyBlock(target, addr.blocks[k], lplp);
  if (shape.scaled) {
    target->scales = newRimVector(target, 1.0);
    copyRim(target->scales, addr.scales + 1, shape, columns);
    target->matrixScaled = lplp.classicScaled;  // the elements have taken the factors on already
  }
  if (shape.parametric) {
    for (int k = 0; k < CHANGE_RIMS; ++k) {
      target->*modelChanges[k] = newRimVector(target, 0.0);
      copyRim(target->*modelChanges[k], addr.*changes[k] + 1, shape, columns);
    }
  }
  if (addr.aux && lplp.classicAuxKind > 0) {
    target->aux = newRimVector(target, 0.0);
    copyRim(target->aux, addr.aux + 1, shape, columns);
    target->auxKind = lplp.classicAuxKind;
  }
  selfCheckModel(target);
}

void placeCopyOfModel(const QRTModel *source) {
  ClassicShape shape = {};
  shape.rows = source->Inumrows;
  shape.cols = source->Inumcols;
  shape.maxRows = source->Imaxrows;
  shape.maxCols = source->Imaxcols;
  shape.nameLength = nameLength(source);
  shape.named = source->rownames != nullptr;
  shape.scaled = source->scales != nullptr;
  shape.parametric = source->objectiveDelta && source->lowerDelta && source->upperDelta;
  shape.blocks = source->Inumblocks;
  placeClassicModel(shape);
  const int columns = source->Imaxrows;
  copyRim(qrtaddr.lower + 1, source->lower, shape, columns);
  copyRim(qrtaddr.solution + 1, source->solution, shape, columns);
  copyRim(qrtaddr.upper + 1, source->upper, shape, columns);
  copyRim(qrtaddr.dual + 1, source->dual, shape, columns);
  copyRim(qrtaddr.objective + 1, source->objective, shape, columns);
  copyRim(qrtaddr.status + 1, source->status, shape, columns);
  if (shape.named) {
    char buffer[32];
    int length;
    const int64_t width = shape.nameLength;
    for (int i = 0; i < shape.rows; ++i) {
      const char *name = rowNameOf(source, i, buffer, &length);
      copyPadded(qrtaddr.rownames + (i + 1) * width, name, length, shape.nameLength);
    }
    for (int j = 0; j < shape.cols; ++j) {
      const char *name = columnNameOf(source, j, buffer, &length);
      copyPadded(qrtaddr.colnames + (j + 1) * width, name, length, shape.nameLength);
    }
  }
  if (shape.scaled) copyRim(qrtaddr.scales + 1, source->scales, shape, columns);
  qrtlplp.classicScaled = source->matrixScaled;
  if (shape.parametric)
    for (int k = 0; k < CHANGE_RIMS; ++k) copyRim(qrtaddr.*changes[k] + 1, source->*modelChanges[k], shape, columns);
  for (int k = 0; k < source->Inumblocks; ++k) placeCopyOfBlock(source, source->blocks[k]);
  if (source->aux && source->auxKind > 0 && placeClassicAux()) {
    copyRim(qrtaddr.aux + 1, source->aux, shape, columns);
    qrtlplp.classicAuxKind = source->auxKind;
  }
}
