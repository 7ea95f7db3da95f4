// A model of a subset of the rows and columns of another.
#include <climits>
#include <cstring>

#include "frame/entry_frame.h"
#include "frame/guarded_memory.h"
#include "model/model_store.h"

namespace {

// Entries of a rim vector in the new numbering.
template <class T>
void gather(QRTModel *target, const QRTModel *source, T *QRTModel::*member, const int *rows, const int *columns) {
  T *to = target->*member;
  const T *from = source->*member;
  if (!to || !from) return;
  for (int i = 0; i < target->Inumrows; i++) to[i] = from[rows[i]];
  for (int j = 0; j < target->Inumcols; j++) to[target->Imaxrows + j] = from[source->Imaxrows + columns[j]];
}

void gatherNames(QRTModel *target, const QRTModel *source, const int *rows, const int *columns) {
  if (!source->rownames) return;
  setNameLength(target, nameLength(source));
  ensureNames(target);
  char unused[40];
  int length;
  for (int i = 0; i < target->Inumrows; i++) {
    const char *name = rowNameOf(source, rows[i], unused, &length);
    storeName(target, target->rownames + int64_t(i) * nameStride(target), name, length);
  }
  for (int j = 0; j < target->Inumcols; j++) {
    const char *name = columnNameOf(source, columns[j], unused, &length);
    storeName(target, target->colnames + int64_t(j) * nameStride(target), name, length);
  }
}

// The chosen columns of the source's matrix, rows renumbered, as one column block.
void gatherMatrix(QRTModel *target, QRTModel *source, const int *rows, const int *columns) {
  int *rowMap = static_cast<int *>(temporaryAllocate(target, source->Inumrows > 0 ? source->Inumrows : 1, sizeof(int)));
  for (int i = 0; i < source->Inumrows; i++) rowMap[i] = -1;
  for (int i = 0; i < target->Inumrows; i++) rowMap[rows[i]] = i;
  const QRTMatrixCopy *whole = currentColumnCopy(source);
  int64_t room = 0;
  for (int j = 0; j < target->Inumcols; j++) room += whole->starts[columns[j] + 1] - whole->starts[columns[j]];
  int *starts = static_cast<int *>(temporaryAllocate(target, int64_t(target->Inumcols) + 1, sizeof(int)));
  int *newRows = static_cast<int *>(temporaryAllocate(target, room > 0 ? room : 1, sizeof(int)));
  double *values = static_cast<double *>(temporaryAllocate(target, room > 0 ? room : 1, sizeof(double)));
  int count = 0;
  starts[0] = 0;
  for (int j = 0; j < target->Inumcols; j++) {
    const int c = columns[j];
    for (int e = whole->starts[c]; e < whole->starts[c + 1]; e++) {
      const int r = whole->indices[e];
      if (rowMap[r] < 0) continue;
      newRows[count] = rowMap[r];
      values[count++] = whole->elements[e] / elementFactor(source, r, c);
    }
    starts[j + 1] = count;
  }
  appendColumnBlock(target, target->Inumcols, newRows, starts, values, 0, 0);
  qrt_freeTemporary(target, values);
  qrt_freeTemporary(target, newRows);
  qrt_freeTemporary(target, starts);
  qrt_freeTemporary(target, rowMap);
}

void copySubset(QRTModel *target, QRTModel *source, int numberRows, int numberColumns, const int *rows,
                const int *columns) {
  qrt_checkParameter(target, 3, numberRows, 0, source->Inumrows);
  qrt_checkParameter(target, 4, numberColumns, 0, source->Inumcols);
  for (int i = 0; i < numberRows; i++) qrt_checkParameter(target, 5, rows[i], 0, source->Inumrows - 1);
  for (int j = 0; j < numberColumns; j++) qrt_checkParameter(target, 6, columns[j], 0, source->Inumcols - 1);
  clearModelData(target);
  resizeRims(target, numberRows, numberColumns, 0, 0, 0);
  double *QRTModel::*const rims[] = {&QRTModel::lower, &QRTModel::solution, &QRTModel::upper, &QRTModel::dual,
                                     &QRTModel::objective};
  for (auto member : rims) gather(target, source, member, rows, columns);
  gather(target, source, &QRTModel::status, rows, columns);
  // Positions in the basis of the whole mean nothing here.
  for (int k = 0; k < target->Imaxrows + numberColumns; k++)
    if (uint32_t(target->status[k]) & STATUS_BASIC)
      target->status[k] = int(uint32_t(target->status[k]) & ~STATUS_POSITION_MASK);
  gatherNames(target, source, rows, columns);
  if (source->integerTypes)
    for (int j = 0; j < numberColumns; j++)
      if (source->integerTypes[columns[j]]) markInteger(target, j, source->integerTypes[columns[j]]);
  gatherMatrix(target, source, rows, columns);
  selfCheckModel(target);
}

}  // namespace

extern "C" int qrt_copySubModel(QRTModel *target, QRTModel *source, int numberRows, int numberColumns, const int *rows,
                                const int *columns) {
  qrt_enterLeave(source, "qrt_copySubModel");
  qrt_enter(target, "qrt_copySubModel", 1);
  QRT_JUMP_FRAME(target, qrt_disaster(target));
  copySubset(target, source, numberRows, numberColumns, rows, columns);
  QRT_END_FRAME();
  qrt_leave(target);
  return 0;
}
