// Element blocks: adding, repeating, dropping and renumbering the parts whose sum is the matrix.
#include <climits>
#include <cstdlib>
#include <cstring>

#include "frame/entry_frame.h"
#include "frame/guarded_memory.h"
#include "frame/messages.h"
#include "model/model_store.h"

namespace {

template <class T> T *copyOf(const T *values, int64_t n) {
  T *copy = static_cast<T *>(guardedAllocate(n > 0 ? n : 1, sizeof(T)));
  if (n > 0) memcpy(copy, values, sizeof(T) * size_t(n));
  return copy;
}

// The references of a guarded block, kept in its header 16 bytes before the data.
int references(const void *block) {
  int32_t count;
  memcpy(&count, static_cast<const char *>(block) - 16, sizeof count);
  return count;
}

int blockCapacity(const QRTModel *model) {
  return model->blocks ? qrt_validAddress(model->blocks) / int(sizeof(ElementBlock)) : 0;
}

// A zeroed record at the end of the block array, not yet counted.
ElementBlock *newRecord(QRTModel *model) {
  reserveBlocks(model, model->Inumblocks + 1);
  ElementBlock *block = &model->blocks[model->Inumblocks];
  memset(static_cast<void *>(block), 0, sizeof *block);
  block->first = 1;
  return block;
}

void placeRecord(QRTModel *model, ElementBlock *block, int rowOffset, int columnOffset) {
  block->rowBase = rowOffset + blockShift(model);
  block->columnBase = model->Imaxrows + columnOffset + blockShift(model);
}

int commitRecord(QRTModel *model) {
  touchMatrix(model);
  return model->Inumblocks++;
}

// New elements of a scaled matrix take on the factors of their row and column.
void scaleBlock(QRTModel *model, const ElementBlock &b) {
  if (!model->matrixScaled) return;
  const int r0 = blockRowOffset(model, b), c0 = blockColumnOffset(model, b);
  if (isTriples(b)) {
    for (int e = 0; e < b.count; e++) b.elements[e] *= elementFactor(model, b.rows[e] + r0, b.columns[e] + c0);
  } else {
    for (int c = 0; c < b.count; c++)
      for (int e = b.columns[c]; e < b.columns[c + 1]; e++) b.elements[e] *= elementFactor(model, b.rows[e] + r0, c + c0);
  }
}

int largestPlusOne(const int *values, int n) {
  int largest = -1;
  for (int k = 0; k < n; k++) largest = values[k] > largest ? values[k] : largest;
  return largest + 1;
}

// Renumbers a triples block in place; columns and rows are those of the model, 0-based.
void mapTriples(const QRTModel *model, ElementBlock &b, const int *rowMap, const int *columnMap) {
  const int r0 = blockRowOffset(model, b), c0 = blockColumnOffset(model, b);
  int kept = 0;
  for (int e = 0; e < b.count; e++) {
    const int r = rowMap ? rowMap[b.rows[e] + r0] : b.rows[e] + r0;
    const int c = columnMap ? columnMap[b.columns[e] + c0] : b.columns[e] + c0;
    if (r < 0 || c < 0) continue;
    b.rows[kept] = r;
    b.columns[kept] = c;
    b.elements[kept++] = b.elements[e];
  }
  b.count = kept;
  b.extent = largestPlusOne(b.columns, kept);
}

// The same for a column block: columns that stay close up, so its offset becomes that of the first kept one.
void mapColumns(const QRTModel *model, ElementBlock &b, const int *rowMap, const int *columnMap) {
  const int r0 = blockRowOffset(model, b), c0 = blockColumnOffset(model, b);
  int kept = 0, columns = 0, firstNew = -1, start = b.columns[0];
  for (int c = 0; c < b.count; c++) {
    const int end = b.columns[c + 1];
    const int newColumn = columnMap ? columnMap[c + c0] : c + c0;
    if (newColumn >= 0) {
      if (firstNew < 0) firstNew = newColumn;
      for (int e = start; e < end; e++) {
        const int r = rowMap ? rowMap[b.rows[e] + r0] : b.rows[e] + r0;
        if (r < 0) continue;
        b.rows[kept] = r;
        b.elements[kept++] = b.elements[e];
      }
      b.columns[++columns] = kept;
    }
    start = end;
  }
  b.columns[0] = 0;
  b.count = b.extent = columns;
  b.columnBase = model->Imaxrows + blockShift(model) + (firstNew < 0 ? 0 : firstNew);
}

bool checkIndices(const int *indices, int64_t n, int offset, int limit, int message) {
  int smallest, largest;
  indexRange(indices, n, &smallest, &largest);
  if (n == 0 || (int64_t(smallest) + offset >= 0 && int64_t(largest) + offset < limit)) return true;
  qrtmesg_no_i2(message, smallest, largest);
  return false;
}

bool checkStarts(const int *starts, int count) {
  if (starts[0] < 0) {
    qrtmesg_no_i1(MSG_BAD_STARTS, 0);
    return false;
  }
  for (int c = 0; c < count; c++) {
    if (starts[c + 1] < starts[c]) {
      qrtmesg_no_i1(MSG_BAD_STARTS, c + 1);
      return false;
    }
  }
  return true;
}

int addTriples(QRTModel *model, int n, const int *rows, const int *columns, const double *elements, int rowOffset,
               int columnOffset) {
  qrt_checkParameter(model, 2, n, 0, INT_MAX);
  if (!checkIndices(rows, n, rowOffset, model->Inumrows, MSG_ROWS_OUT_OF_RANGE)) return -1;
  if (!checkIndices(columns, n, columnOffset, model->Inumcols, MSG_COLUMNS_OUT_OF_RANGE)) return -1;
  return appendTripleBlock(model, n, rows, columns, elements, rowOffset, columnOffset);
}

int addColumns(QRTModel *model, int numberColumns, const int *rows, const int *starts, const double *elements,
               int rowOffset, int columnOffset) {
  qrt_checkParameter(model, 2, numberColumns, 0, model->Inumcols);
  if (!checkStarts(starts, numberColumns)) return -1;
  const int64_t n = int64_t(starts[numberColumns]) - starts[0];
  if (!checkIndices(rows ? rows + starts[0] : nullptr, n, rowOffset, model->Inumrows, MSG_ROWS_OUT_OF_RANGE)) return -1;
  if (columnOffset < 0 || int64_t(columnOffset) + numberColumns > model->Inumcols) {
    qrtmesg_no_i2(MSG_COLUMNS_OUT_OF_RANGE, columnOffset, columnOffset + numberColumns - 1);
    return -1;
  }
  return appendColumnBlock(model, numberColumns, rows, starts, elements, rowOffset, columnOffset);
}

int addSpace(QRTModel *model, int numberColumns, int columnOffset, int numberElements) {
  qrt_checkParameter(model, 2, numberColumns, 0, model->Inumcols);
  qrt_checkParameter(model, 3, columnOffset, 0, model->Inumcols - numberColumns);
  qrt_checkParameter(model, 4, numberElements, 0, INT_MAX);
  ElementBlock *block = newRecord(model);
  block->type = 3;
  block->count = block->extent = numberColumns;
  placeRecord(model, block, 0, columnOffset);
  const int64_t room = numberElements > 0 ? numberElements : 1;
  int *rows = static_cast<int *>(guardedAllocate(room, sizeof(int)));
  int *starts = static_cast<int *>(guardedAllocateZero(int64_t(numberColumns) + 1, sizeof(int)));
  block->elements = static_cast<double *>(guardedAllocate(room, sizeof(double)));
  block->rows = rows;
  block->columns = starts;
  return commitRecord(model);
}

int addDiagonal(QRTModel *model, int n, const double *values, int rowOffset, int columnOffset) {
  qrt_checkParameter(model, 2, n, 0, INT_MAX);
  int *index = static_cast<int *>(temporaryAllocate(model, n > 0 ? n : 1, sizeof(int)));
  for (int k = 0; k < n; k++) index[k] = k;
  const int number = addTriples(model, n, index, index, values, rowOffset, columnOffset);
  qrt_freeTemporary(model, index);
  return number;
}

int repeatBlock(QRTModel *model, int block, int rowOffset, int columnOffset, int reserved) {
  qrt_checkParameter(model, 2, block, 0, model->Inumblocks - 1);
  qrt_checkParameter(model, 5, reserved, 0, 0);
  const ElementBlock &source = model->blocks[block];
  const int n = int(blockElements(source));
  if (!checkIndices(source.rows, n, rowOffset, model->Inumrows, MSG_ROWS_OUT_OF_RANGE)) return -1;
  if (columnOffset < 0 || int64_t(columnOffset) + source.extent > model->Inumcols) {
    qrtmesg_no_i2(MSG_COLUMNS_OUT_OF_RANGE, columnOffset, columnOffset + source.extent - 1);
    return -1;
  }
  return appendRepeatedBlock(model, block, rowOffset, columnOffset);
}

}  // namespace

int64_t blockElements(const ElementBlock &block) {
  return isTriples(block) ? block.count : int64_t(block.columns[block.count]) - block.columns[0];
}

int64_t matrixElements(const QRTModel *model) {
  int64_t total = 0;
  for (int k = 0; k < model->Inumblocks; k++) total += blockElements(model->blocks[k]);
  return total;
}

void reserveBlocks(QRTModel *model, int count) {
  const int room = blockCapacity(model);
  if (count <= room) return;
  int64_t wanted = int64_t(room) * 2 > count ? int64_t(room) * 2 : count;
  if (wanted < 8) wanted = 8;
  model->blocks =
      static_cast<ElementBlock *>(qrt_reallocBase(model->blocks, checkedBytes(wanted, sizeof(ElementBlock))));
}

int appendTripleBlock(QRTModel *model, int n, const int *rows, const int *columns, const double *elements,
                      int rowOffset, int columnOffset) {
  ElementBlock *block = newRecord(model);
  block->type = 2;
  block->count = n;
  placeRecord(model, block, rowOffset, columnOffset);
  block->rows = copyOf(rows, n);
  block->columns = copyOf(columns, n);
  block->elements = copyOf(elements, n);
  block->extent = largestPlusOne(columns, n);
  scaleBlock(model, *block);
  return commitRecord(model);
}

int appendColumnBlock(QRTModel *model, int numberColumns, const int *rows, const int *starts, const double *elements,
                      int rowOffset, int columnOffset) {
  const int base = starts[0], n = starts[numberColumns] - base;
  ElementBlock *block = newRecord(model);
  block->type = 3;
  block->count = block->extent = numberColumns;
  placeRecord(model, block, rowOffset, columnOffset);
  block->rows = copyOf(rows ? rows + base : rows, n);
  block->columns = copyOf(starts, int64_t(numberColumns) + 1);
  block->elements = copyOf(elements ? elements + base : elements, n);
  if (base != 0)
    for (int c = 0; c <= numberColumns; c++) block->columns[c] -= base;
  scaleBlock(model, *block);
  return commitRecord(model);
}

int appendRepeatedBlock(QRTModel *model, int source, int rowOffset, int columnOffset) {
  ElementBlock *block = newRecord(model);
  *block = model->blocks[source];
  placeRecord(model, block, rowOffset, columnOffset);
  qrt_incrementCount(block->rows);
  qrt_incrementCount(block->columns);
  qrt_incrementCount(block->elements);
  const int number = commitRecord(model);
  if (model->matrixScaled) {
    // The stored values carry the factors of the source's rows and columns: take them back before the new ones.
    unshareBlock(model, number);
    ElementBlock &b = model->blocks[number];
    const int r0 = blockRowOffset(model, model->blocks[source]), c0 = blockColumnOffset(model, model->blocks[source]);
    if (isTriples(b)) {
      for (int e = 0; e < b.count; e++) b.elements[e] /= elementFactor(model, b.rows[e] + r0, b.columns[e] + c0);
    } else {
      for (int c = 0; c < b.count; c++)
        for (int e = b.columns[c]; e < b.columns[c + 1]; e++) b.elements[e] /= elementFactor(model, b.rows[e] + r0, c + c0);
    }
    scaleBlock(model, b);
  }
  return number;
}

int adoptColumnBlock(QRTModel *model, int numberColumns, int *rows, int *starts, double *elements) {
  ElementBlock *block = newRecord(model);
  block->type = 3;
  block->count = block->extent = numberColumns;
  placeRecord(model, block, 0, 0);
  block->rows = rows;
  block->columns = starts;
  block->elements = elements;
  return commitRecord(model);
}

void dropLastBlock(QRTModel *model) {
  if (model->Inumblocks <= 0) return;
  ElementBlock &block = model->blocks[--model->Inumblocks];
  // Each drop takes one reference; the arrays go with the last block that holds them.
  qrt_free(block.rows);
  qrt_free(block.columns);
  qrt_free(block.elements);
  memset(static_cast<void *>(&block), 0, sizeof block);
  touchMatrix(model);
}

void dropAllBlocks(QRTModel *model) {
  while (model->Inumblocks > 0) dropLastBlock(model);
}

void unshareBlock(QRTModel *model, int b) {
  ElementBlock &block = model->blocks[b];
  const int64_t n = blockElements(block);
  auto makeOwn = [](auto *&array, int64_t length) {
    if (references(array) < 2) return;
    auto *own = copyOf(array, length);
    qrt_free(array);
    array = own;
  };
  makeOwn(block.rows, n);
  makeOwn(block.columns, isTriples(block) ? n : int64_t(block.count) + 1);
  makeOwn(block.elements, n);
}

void mapMatrix(QRTModel *model, const int *rowMap, const int *columnMap) {
  for (int k = 0; k < model->Inumblocks; k++) {
    unshareBlock(model, k);
    ElementBlock &b = model->blocks[k];
    if (isTriples(b)) {
      mapTriples(model, b, rowMap, columnMap);
      b.columnBase = model->Imaxrows + blockShift(model);
    } else {
      mapColumns(model, b, rowMap, columnMap);
    }
    b.rowBase = blockShift(model);
  }
  touchMatrix(model);
}

void qrt_toFortran(QRTModel *model, int) {
  if (model->indexForm & 1) return;
  if (model->modelFlags & MODEL_BLOCKS_STAY) return;
  model->indexForm |= 1;
  for (int k = 0; k < model->Inumblocks; k++) {
    model->blocks[k].rowBase++;
    model->blocks[k].columnBase++;
  }
}

void qrt_fromFortran(QRTModel *model, int) {
  if (!(model->indexForm & 1)) return;
  model->indexForm &= ~1;
  for (int k = 0; k < model->Inumblocks; k++) {
    model->blocks[k].rowBase--;
    model->blocks[k].columnBase--;
  }
}

// ---- public ----------------------------------------------------------------------------------------------------

// The jump of an adder answers -1, its own failure value.
#define ADDER_FRAME(name)      \
  qrt_enter(model, name, 1);   \
  QRT_JUMP_FRAME(model, (qrt_disaster(model), -1))
#define ADDER_END() \
  QRT_END_FRAME();  \
  qrt_leave(model)

extern "C" {

int qrt_addElementBlockWithOffsets(QRTModel *model, int n, const int *rows, const int *columns, const double *elements,
                                   int rowOffset, int columnOffset) {
  ADDER_FRAME("qrt_addElementBlockWithOffsets");
  const int number = addTriples(model, n, rows, columns, elements, rowOffset, columnOffset);
  ADDER_END();
  return number;
}

int qrt_addElementBlock(QRTModel *model, int n, const int *rows, const int *columns, const double *elements) {
  ADDER_FRAME("qrt_addElementBlock");
  const int number = addTriples(model, n, rows, columns, elements, 0, 0);
  ADDER_END();
  return number;
}

int qrt_addColumnElementBlockWithOffsets(QRTModel *model, int numberColumns, const int *rows, const int *starts,
                                         const double *elements, int rowOffset, int columnOffset) {
  ADDER_FRAME("qrt_addColumnElementBlockWithOffsets");
  const int number = addColumns(model, numberColumns, rows, starts, elements, rowOffset, columnOffset);
  ADDER_END();
  return number;
}

int qrt_addColumnElementBlock(QRTModel *model, int numberColumns, const int *rows, const int *starts,
                              const double *elements) {
  ADDER_FRAME("qrt_addColumnElementBlock");
  const int number = addColumns(model, numberColumns, rows, starts, elements, 0, 0);
  ADDER_END();
  return number;
}

int qrt_addSpaceForColumnElementBlock(QRTModel *model, int numberColumns, int columnOffset, int numberElements) {
  ADDER_FRAME("qrt_addSpaceForColumnElementBlock");
  const int number = addSpace(model, numberColumns, columnOffset, numberElements);
  ADDER_END();
  return number;
}

int qrt_addDiagonalElementBlock(QRTModel *model, int n, const double *elements, int rowOffset, int columnOffset) {
  ADDER_FRAME("qrt_addDiagonalElementBlock");
  const int number = addDiagonal(model, n, elements, rowOffset, columnOffset);
  ADDER_END();
  return number;
}

int qrt_repeatElementBlock(QRTModel *model, int block, int rowOffset, int columnOffset, int reserved) {
  ADDER_FRAME("qrt_repeatElementBlock");
  const int number = repeatBlock(model, block, rowOffset, columnOffset, reserved);
  ADDER_END();
  return number;
}

int qrt_dropLastElementBlock(QRTModel *model) {
  qrt_enter(model, "qrt_dropLastElementBlock", 1);
  dropLastBlock(model);
  qrt_leave(model);
  return 0;
}

int qrt_sizeMatrix(QRTModel *model) {
  qrt_enterLeave(model, "qrt_sizeMatrix");
  const int64_t n = matrixElements(model);
  return n > INT_MAX ? INT_MAX : int(n);
}

int qrt_getInumels(QRTModel *model) {
  qrt_enterLeave(model, "qrt_getInumels");
  const int64_t n = matrixElements(model);
  return n > INT_MAX ? INT_MAX : int(n);
}

// Readers of one block; a wrong number fails the parameter check.
#define BLOCK_READER(name, type, failure, expression)            \
  type name(QRTModel *model, int block) {                        \
    qrt_enterLeave(model, #name);                                \
    if (block < 0 || block >= model->Inumblocks) {               \
      qrt_enter(model, #name, 0);                                \
      QRT_JUMP_FRAME(model, (qrt_disaster(model), failure));     \
      qrt_checkParameter(model, 2, block, 0, model->Inumblocks - 1); \
      QRT_END_FRAME();                                           \
      qrt_leave(model);                                          \
      return failure;                                            \
    }                                                            \
    const ElementBlock &b = model->blocks[block];                \
    return expression;                                           \
  }
BLOCK_READER(qrt_blockType, int, 999, b.type)
BLOCK_READER(qrt_blockRowBase, int, 999, b.rowBase)
BLOCK_READER(qrt_blockColumnBase, int, 999, b.columnBase)
BLOCK_READER(qrt_blockNumberElements, int, 999, int(blockElements(b)))
BLOCK_READER(qrt_blockNumberColumns, int, 999, b.extent)
BLOCK_READER(qrt_blockRow, const int *, nullptr, b.rows)
BLOCK_READER(qrt_blockColumn, const int *, nullptr, b.columns)
BLOCK_READER(qrt_blockElement, const double *, nullptr, b.elements)

}  // extern "C"
