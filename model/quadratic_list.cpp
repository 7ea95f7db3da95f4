// The list of quadratic blocks: element blocks of the same layout over columns and columns, kept apart from the matrix.
#include <climits>
#include <cstring>

#include "frame/entry_frame.h"
#include "frame/guarded_memory.h"
#include "frame/messages.h"
#include "model/first_block.h"

namespace {

template <class T> T *copyOf(const T *values, int64_t n) {
  T *copy = static_cast<T *>(guardedAllocate(n > 0 ? n : 1, sizeof(T)));
  if (n > 0) memcpy(copy, values, sizeof(T) * size_t(n));
  return copy;
}

// Enters a filled record at the end of the list; both indices of an element are columns.
int enterBlock(QRTModel *model, const ElementBlock &record) {
  const int number = model->Inumquadraticblocks;
  model->quadraticBlocks = static_cast<QuadraticEntry *>(
      qrt_reallocBase(model->quadraticBlocks, checkedBytes(int64_t(number) + 1, sizeof(QuadraticEntry))));
  ElementBlock *block = static_cast<ElementBlock *>(guardedAllocateZero(1, sizeof(ElementBlock)));
  *block = record;
  block->first = 1;
  block->columnBase = model->Imaxrows;
  model->quadraticBlocks[number] = {block, 0};
  model->Inumquadraticblocks = number + 1;
  return number;
}

int addTriples(QRTModel *model, int n, const int *rows, const int *columns, const double *elements) {
  qrt_checkParameter(model, 2, n, 0, INT_MAX);
  const int starts[2] = {0, n};
  if (!soundVectors(starts, 1, rows, model->Inumcols, MSG_ROWS_OUT_OF_RANGE)) return -1;
  if (!soundVectors(starts, 1, columns, model->Inumcols, MSG_COLUMNS_OUT_OF_RANGE)) return -1;
  ElementBlock block = {};
  block.type = 2;
  block.count = n;
  int smallest, largest;
  indexRange(columns, n, &smallest, &largest);
  block.extent = largest + 1;
  block.rows = copyOf(rows, n);
  block.columns = copyOf(columns, n);
  block.elements = copyOf(elements, n);
  return enterBlock(model, block);
}

int addColumns(QRTModel *model, int numberColumns, const int *rows, const int *starts, const double *elements) {
  qrt_checkParameter(model, 2, numberColumns, 0, model->Inumcols);
  if (!soundVectors(starts, numberColumns, rows, model->Inumcols, MSG_ROWS_OUT_OF_RANGE)) return -1;
  const int base = starts[0], n = starts[numberColumns] - base;
  ElementBlock block = {};
  block.type = 3;
  block.count = block.extent = numberColumns;
  block.rows = copyOf(rows + base, n);
  block.columns = copyOf(starts, int64_t(numberColumns) + 1);
  block.elements = copyOf(elements + base, n);
  for (int c = 0; c <= numberColumns; c++) block.columns[c] -= base;
  return enterBlock(model, block);
}

}  // namespace

extern "C" {

int qrt_addElementInformationBlock(QRTModel *model, int n, const int *rows, const int *columns,
                                   const double *elements) {
  qrt_enter(model, "qrt_addElementInformationBlock", 1);
  QRT_JUMP_FRAME(model, (qrt_disaster(model), -1));
  const int number = addTriples(model, n, rows, columns, elements);
  QRT_END_FRAME();
  qrt_leave(model);
  return number;
}

int qrt_addColumnElementInformationBlock(QRTModel *model, int numberColumns, const int *rows, const int *starts,
                                         const double *elements) {
  qrt_enter(model, "qrt_addColumnElementInformationBlock", 1);
  QRT_JUMP_FRAME(model, (qrt_disaster(model), -1));
  const int number = addColumns(model, numberColumns, rows, starts, elements);
  QRT_END_FRAME();
  qrt_leave(model);
  return number;
}

#define QUADRATIC_READER(name, type, failure, expression)                     \
  type name(QRTModel *model, int block) {                                     \
    qrt_enterLeave(model, #name);                                             \
    if (block < 0 || block >= model->Inumquadraticblocks) {                   \
      qrt_enter(model, #name, 0);                                             \
      QRT_JUMP_FRAME(model, (qrt_disaster(model), failure));                  \
      qrt_checkParameter(model, 2, block, 0, model->Inumquadraticblocks - 1); \
      QRT_END_FRAME();                                                        \
      qrt_leave(model);                                                       \
      return failure;                                                         \
    }                                                                         \
    const ElementBlock &b = *model->quadraticBlocks[block].block;             \
    return expression;                                                        \
  }
QUADRATIC_READER(qrt_quadraticBlockType, int, 999, b.type)
QUADRATIC_READER(qrt_quadraticBlockRowBase, int, 999, b.rowBase)
QUADRATIC_READER(qrt_quadraticBlockColumnBase, int, 999, b.columnBase)
QUADRATIC_READER(qrt_quadraticBlockNumberElements, int, 999, int(blockElements(b)))
QUADRATIC_READER(qrt_quadraticBlockNumberColumns, int, 999, b.extent)
QUADRATIC_READER(qrt_quadraticBlockRow, const int *, nullptr, b.rows)
QUADRATIC_READER(qrt_quadraticBlockColumn, const int *, nullptr, b.columns)
QUADRATIC_READER(qrt_quadraticBlockElement, const double *, nullptr, b.elements)

}  // extern "C"
