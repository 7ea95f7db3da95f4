// From the working form to the reduced model: rows and columns that stayed move up, keep names, types and factors, and get
// the matrix that is left.
#include <cstring>

#include "frame/controls.h"
#include "frame/guarded_memory.h"
#include "frame/messages.h"
#include "frame/records.h"
#include "model/model_store.h"
#include "model/removal.h"
#include "prep/presolve_run.h"

namespace {

int *numbers(QRTModel *model, int64_t count) {
  int *block = static_cast<int *>(temporaryAllocate(model, count + 1, int64_t(sizeof(int))));
  std::memset(block, 0, size_t(count + 1) * sizeof(int));
  return block;
}

// Old numbers to new ones, -1 for those that went.
int *mapOf(QRTModel *model, const int *kept, int count, int size) {
  int *map = numbers(model, size);
  for (int k = 0; k < size; k++) map[k] = -1;
  for (int k = 0; k < count; k++) map[kept[k]] = k;
  return map;
}

struct NewMatrix {
  int *starts, *rows;
  double *elements;
};

// Guarded arrays that pass to the model. Stored elements bear the factors of a scaled model.
NewMatrix newMatrix(const Presolve *p, const ReducedShape *shape, const int *rowMap) {
  const QRTModel *model = p->model;
  const int64_t nz = shape->dummy ? 1 : p->liveEntries;
  NewMatrix x;
  x.starts = static_cast<int *>(guardedAllocate(int64_t(shape->columns) + 1, int64_t(sizeof(int))));
  x.rows = static_cast<int *>(guardedAllocate(nz + 1, int64_t(sizeof(int))));
  x.elements = static_cast<double *>(guardedAllocate(nz + 1, int64_t(sizeof(double))));
  int at = 0;
  for (int k = 0; k < shape->columns; k++) {
    const int j = shape->column[k];
    x.starts[k] = at;
    if (shape->dummy && k == 0) {
      x.rows[at] = 0;
      x.elements[at++] = elementFactor(model, shape->row[0], j);
    }
    for (int e = p->columnFirst[j]; e >= 0; e = p->entry[e].columnNext) {
      x.rows[at] = rowMap[p->entry[e].row];
      x.elements[at++] = p->entry[e].value * elementFactor(model, p->entry[e].row, j);
    }
  }
  x.starts[shape->columns] = at;
  return x;
}

double within(double value, double lower, double upper) { return value < lower ? lower : value > upper ? upper : value; }

void storeRims(const Presolve *p, const ReducedShape *shape) {
  QRTModel *model = p->model;
  const double sense = qrtlplp.Rmaxmin;
  for (int k = 0; k < shape->rows; k++) {
    const int i = shape->row[k];
    model->lower[k] = shape->dummy ? -QRT_INFINITY : p->rowLower[i];
    model->upper[k] = shape->dummy ? QRT_INFINITY : p->rowUpper[i];
    model->dual[k] = model->solution[k] = 0.0;
  }
  for (int k = 0; k < shape->columns; k++) {
    const int j = shape->column[k], at = model->Imaxrows + k;
    const bool alive = columnAlive(p, j);  // a dummy column stands for those that went
    model->lower[at] = alive ? p->lower[j] : 0.0;
    model->upper[at] = alive ? p->upper[j] : 0.0;
    if (!p->plain) model->objective[at] = alive ? p->cost[j] / sense : 0.0;
    model->solution[at] = within(model->solution[at], model->lower[at], model->upper[at]);
    model->dual[at] = 0.0;
  }
}

// The old basis without what went is hardly ever one: too many basic variables give way, rows fill what is missing.
void completeBasis(QRTModel *model) {
  int basic = 0;
  auto isBasic = [model](int at) { return (uint32_t(model->status[at]) & STATUS_BASIC) != 0; };
  for (int i = 0; i < model->Inumrows; i++) basic += isBasic(i);
  for (int j = 0; j < model->Inumcols; j++) basic += isBasic(model->Imaxrows + j);
  auto rest = [model](int at) {
    uint32_t side = STATUS_FREE;
    if (model->upper[at] - model->lower[at] <= PRESOLVE_ZERO) side = 0;
    else if (hasLower(model->lower[at])) side = STATUS_AT_LOWER;
    else if (hasUpper(model->upper[at])) side = STATUS_AT_UPPER;
    model->status[at] = int(side);
  };
  for (int i = 0; i < model->Inumrows && basic > model->Inumrows; i++)
    if (isBasic(i)) rest(i), basic--;
  for (int j = 0; j < model->Inumcols && basic > model->Inumrows; j++)
    if (isBasic(model->Imaxrows + j)) rest(model->Imaxrows + j), basic--;
  for (int i = 0; i < model->Inumrows && basic < model->Inumrows; i++)
    if (!isBasic(i)) model->status[i] = int(STATUS_BASIC), basic++;
}

void storeActivities(QRTModel *model, const NewMatrix &x) {
  for (int k = 0; k < model->Inumcols; k++)
    for (int e = x.starts[k]; e < x.starts[k + 1]; e++)
      model->solution[x.rows[e]] += x.elements[e] / elementFactor(model, x.rows[e], k) * model->solution[model->Imaxrows + k];
}

}  // namespace

void findShape(Presolve *p, ReducedShape *shape) {
  // A model that had no rows to begin with has not lost them.
  shape->dummy = p->liveRows == 0 && p->m > 0 && p->n > 0;
  shape->repairs = p->repairs;
  shape->row = numbers(p->model, p->m);
  shape->column = numbers(p->model, p->n);
  shape->rows = shape->columns = 0;
  for (int i = 0; i < p->m; i++)
    if (rowAlive(p, i)) shape->row[shape->rows++] = i;
  for (int j = 0; j < p->n; j++)
    if (columnAlive(p, j)) shape->column[shape->columns++] = j;
  if (!shape->dummy) return;
  shape->row[shape->rows++] = 0;
  if (shape->columns == 0) shape->column[shape->columns++] = 0;
}

void makeReducedModel(Presolve *p, const ReducedShape *shape) {
  QRTModel *model = p->model;
  int *rowMap = mapOf(model, shape->row, shape->rows, p->m), *columnMap = mapOf(model, shape->column, shape->columns, p->n);
  const NewMatrix x = newMatrix(p, shape, rowMap);
  dropAllBlocks(model);
  freeRimVector(model, &model->aux);
  model->auxKind = -1;
  freeRimVector(model, &model->rweight);
  closeUp(model, rowMap, true, shape->rows);
  closeUp(model, columnMap, false, shape->columns);
  storeRims(p, shape);
  adoptColumnBlock(model, shape->columns, x.rows, x.starts, x.elements);
  storeActivities(model, x);
  completeBasis(model);
  touchMatrix(model);
  if (!p->plain) storeControlReal(model, CONTROL_RobjectiveOffset, qrtlplp.RobjectiveOffset - p->constant / qrtlplp.Rmaxmin);
  selfCheckModel(model);
}
