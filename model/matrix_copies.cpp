// Copies of the matrix in row or column order: the caller's, the model's own with a version stamp, and single rows
// and columns taken from them.
#include <cstring>

#include "frame/entry_frame.h"
#include "frame/guarded_memory.h"
#include "model/model_store.h"

namespace {

// Takes the arrays of one order out of a clean copy and frees the rest.
void buildColumnCopy(QRTModel *model, QRTMatrixCopy *copy) {
  CleanCopy clean;
  qrt_cleanCopy(model, &clean, CLEAN_COLUMNS | CLEAN_SORTED | CLEAN_OWNED, 0.0, 0);
  copy->indices = clean.rows;
  copy->starts = clean.starts;
  copy->elements = clean.elements;
}

void buildRowCopy(QRTModel *model, QRTMatrixCopy *copy) {
  CleanCopy clean;
  qrt_cleanCopy(model, &clean, CLEAN_COLUMNS | CLEAN_ROWS, 0.0, 0);
  copy->indices = clean.columns;
  copy->starts = clean.rowStarts;
  copy->elements = clean.rowElements;
  clean.columns = clean.rowStarts = nullptr;
  clean.rowElements = nullptr;
  qrt_deleteCleanCopy(&clean);
}

void freeArrays(QRTMatrixCopy *copy) {
  qrt_free(copy->indices);
  qrt_free(copy->starts);
  qrt_free(copy->elements);
  memset(copy, 0, sizeof *copy);
}

void dropSolverScales(ModelMatrixCopies *copies) {
  qrt_free(copies->solverScales);
  copies->solverScales = nullptr;
  copies->solverScaled = 0;
}

// The model's record, emptied when it was made of an older matrix.
ModelMatrixCopies *currentCopies(QRTModel *model) {
  if (!model->rowColumnCopy)
    model->rowColumnCopy = static_cast<ModelMatrixCopies *>(guardedAllocateZero(1, sizeof(ModelMatrixCopies)));
  ModelMatrixCopies *copies = model->rowColumnCopy;
  if (copies->version != model->matrixVersion || copies->nRows != model->Inumrows || copies->nColumns != model->Inumcols) {
    freeArrays(&copies->row);
    freeArrays(&copies->column);
    dropSolverScales(copies);
    copies->version = model->matrixVersion;
    copies->nRows = model->Inumrows;
    copies->nColumns = model->Inumcols;
  }
  return copies;
}

QRTVector *vectorOf(QRTModel *model, const QRTMatrixCopy *copy, int k, bool isRow) {
  const int start = copy->starts[k], n = copy->starts[k + 1] - start;
  int *indices = static_cast<int *>(temporaryAllocate(model, n > 0 ? n : 1, sizeof(int)));
  double *elements = static_cast<double *>(temporaryAllocate(model, n > 0 ? n : 1, sizeof(double)));
  QRTVector *vector = static_cast<QRTVector *>(guardedAllocateZero(1, sizeof(QRTVector)));
  memcpy(indices, copy->indices + start, sizeof(int) * size_t(n));
  memcpy(elements, copy->elements + start, sizeof(double) * size_t(n));
  for (int e = 0; e < n; e++)
    elements[e] /= isRow ? elementFactor(model, k, indices[e]) : elementFactor(model, indices[e], k);
  qrt_makePermanent(model, indices);
  qrt_makePermanent(model, elements);
  vector->count = n;
  vector->indices = indices;
  vector->elements = elements;
  return vector;
}

QRTVector *getRow(QRTModel *model, int row) {
  qrt_checkParameter(model, 2, row, 0, model->Inumrows - 1);
  return vectorOf(model, currentRowCopy(model), row, true);
}

QRTVector *getColumn(QRTModel *model, int column) {
  qrt_checkParameter(model, 2, column, 0, model->Inumcols - 1);
  return vectorOf(model, currentColumnCopy(model), column, false);
}

}  // namespace

const QRTMatrixCopy *currentRowCopy(QRTModel *model) {
  ModelMatrixCopies *copies = currentCopies(model);
  if (!copies->row.starts) buildRowCopy(model, &copies->row);
  return &copies->row;
}

const QRTMatrixCopy *currentColumnCopy(QRTModel *model) {
  ModelMatrixCopies *copies = currentCopies(model);
  if (!copies->column.starts) buildColumnCopy(model, &copies->column);
  return &copies->column;
}

void releaseMatrixCopies(QRTModel *model) {
  if (!model->rowColumnCopy) return;
  freeArrays(&model->rowColumnCopy->row);
  freeArrays(&model->rowColumnCopy->column);
  dropSolverScales(model->rowColumnCopy);
  qrt_free(model->rowColumnCopy);
  model->rowColumnCopy = nullptr;
}

extern "C" {

int qrt_createRowCopy(QRTModel *model, QRTMatrixCopy *copy) {
  qrt_enter(model, "qrt_createRowCopy", 1);
  QRT_JUMP_FRAME(model, qrt_disaster(model));
  buildRowCopy(model, copy);
  QRT_END_FRAME();
  qrt_leave(model);
  return 0;
}

int qrt_createColumnCopy(QRTModel *model, QRTMatrixCopy *copy) {
  qrt_enter(model, "qrt_createColumnCopy", 1);
  QRT_JUMP_FRAME(model, qrt_disaster(model));
  buildColumnCopy(model, copy);
  QRT_END_FRAME();
  qrt_leave(model);
  return 0;
}

int qrt_deleteMatrixCopy(QRTMatrixCopy *copy) {
  if (copy) freeArrays(copy);
  return 0;
}

QRTVector *qrt_getRow(QRTModel *model, int row) {
  qrt_enter(model, "qrt_getRow", 0);
  QRT_JUMP_FRAME(model, (qrt_disaster(model), nullptr));
  QRTVector *vector = getRow(model, row);
  QRT_END_FRAME();
  qrt_leave(model);
  return vector;
}

QRTVector *qrt_getColumn(QRTModel *model, int column) {
  qrt_enter(model, "qrt_getColumn", 0);
  QRT_JUMP_FRAME(model, (qrt_disaster(model), nullptr));
  QRTVector *vector = getColumn(model, column);
  QRT_END_FRAME();
  qrt_leave(model);
  return vector;
}

int qrt_freeVector(QRTVector *vector) {
  if (!vector) return 0;
  qrt_free(vector->indices);
  qrt_free(vector->elements);
  qrt_free(vector);
  return 0;
}

}  // extern "C"
