// Adding, replacing and deleting columns.
#include <climits>
#include <cstring>

#include "frame/entry_frame.h"
#include "frame/guarded_memory.h"
#include "frame/messages.h"
#include "model/edit_entry.h"
#include "model/first_block.h"
#include "model/removal.h"

namespace {

void placeColumn(QRTModel *model, int j, double lower, double upper, double cost) {
  const int at = model->Imaxrows + j;
  if (upper < lower) upper = lower;  // crossed by rounding only, or refused before
  uint32_t status;
  model->lower[at] = lower;
  model->upper[at] = upper;
  model->solution[at] = startValue(lower, upper, &status);
  model->dual[at] = 0.0;
  model->objective[at] = cost;
  model->status[at] = int(status);
}

int addColumns(QRTModel *model, const char *entry, int n, const double *lower, const double *upper,
               const double *objective, const int *starts, const int *rows, const double *elements) {
  qrt_checkParameter(model, 2, n, 0, INT_MAX - model->Inumcols);
  if (n == 0) return 0;
  if (starts && !soundVectors(starts, n, rows, model->Inumrows, MSG_ROWS_OUT_OF_RANGE)) return 1;
  checkNewBounds(entry, n, lower, upper, 0.0);
  const int first = model->Inumcols;
  resizeRims(model, model->Inumrows, first + n, model->Imaxrows, model->Imaxcols, 0);
  for (int k = 0; k < n; k++)
    placeColumn(model, first + k, lower ? lower[k] : 0.0, upper ? upper[k] : QRT_INFINITY,
                objective ? objective[k] : 0.0);
  if (starts && starts[n] > starts[0]) appendColumns(model, first, n, starts, rows, elements);
  return 0;
}

int addOneColumn(QRTModel *model, double lower, double upper, double objective, int n, const int *rows,
                 const double *elements) {
  qrt_checkParameter(model, 5, n, 0, INT_MAX);
  const int starts[2] = {0, n};
  return addColumns(model, "qrt_addOneColumn entry", 1, &lower, &upper, &objective, starts, rows, elements);
}

void insertIntoColumn(QRTModel *model, int column, int n, const int *rows, const double *elements) {
  if (n == 0) return;
  int *columns = static_cast<int *>(temporaryAllocate(model, n, sizeof(int)));
  double *values = static_cast<double *>(temporaryAllocate(model, n, sizeof(double)));
  for (int e = 0; e < n; e++) {
    columns[e] = column;
    values[e] = elements[e] * elementFactor(model, rows[e], column);
  }
  insertElements(model, n, rows, columns, values);
  qrt_freeTemporary(model, values);
  qrt_freeTemporary(model, columns);
}

int replaceColumn(QRTModel *model, int column, int n, const int *rows, const double *elements) {
  qrt_checkParameter(model, 2, column, 0, model->Inumcols - 1);
  qrt_checkParameter(model, 3, n, 0, INT_MAX);
  const int starts[2] = {0, n};
  if (!soundVectors(starts, 1, rows, model->Inumrows, MSG_ROWS_OUT_OF_RANGE)) return 1;
  removeElements(model, -1, column);
  insertIntoColumn(model, column, n, rows, elements);
  return 0;
}

// Elements for the column added last, which takes its default name again.
int addColumnElements(QRTModel *model, int n, const int *rows, const double *elements) {
  qrt_checkParameter(model, 2, n, 0, INT_MAX);
  const int column = model->Inumcols - 1, starts[2] = {0, n};
  if (column < 0 || !soundVectors(starts, 1, rows, model->Inumrows, MSG_ROWS_OUT_OF_RANGE)) return 1;
  insertIntoColumn(model, column, n, rows, elements);
  if (model->colnames) {
    char name[40];
    defaultName('C', column, nameLength(model), name);
    storeName(model, model->colnames + int64_t(column) * nameStride(model), name, nameLength(model));
  }
  return 0;
}

int deleteColumns(QRTModel *model, int n, const int *which) {
  qrt_checkParameter(model, 2, n, 0, model->Inumcols);
  if (n == 0) return 0;
  int kept;
  int *map = removalMap(model, "qrt_deleteColumns", n, which, model->Inumcols, &kept);
  if (!map) return 1;
  mapMatrix(model, nullptr, map);
  closeUp(model, map, false, kept);
  qrt_freeTemporary(model, map);
  return 0;
}

}  // namespace

MODEL_ENTRY(qrt_addColumns(QRTModel *model, int n, const double *lower, const double *upper, const double *objective,
                            const int *starts, const int *rows, const double *elements),
             addColumns(model, "qrt_addColumns entry", n, lower, upper, objective, starts, rows, elements))
MODEL_ENTRY(qrt_addOneColumn(QRTModel *model, double lower, double upper, double objective, int n, const int *rows,
                              const double *elements),
             addOneColumn(model, lower, upper, objective, n, rows, elements))
MODEL_ENTRY(qrt_addColumnElements(QRTModel *model, int n, const int *rows, const double *elements),
             addColumnElements(model, n, rows, elements))
MODEL_ENTRY(qrt_replaceColumn(QRTModel *model, int column, int n, const int *rows, const double *elements),
             replaceColumn(model, column, n, rows, elements))
MODEL_ENTRY(qrt_deleteColumns(QRTModel *model, int n, const int *which), deleteColumns(model, n, which))
