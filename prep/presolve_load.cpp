// From a model to the working form: true elements and bounds, costs to be minimised, everything waiting in every queue.
#include <cstring>

#include "frame/guarded_memory.h"
#include "frame/messages.h"
#include "frame/records.h"
#include "model/integer_sets.h"
#include "model/model_store.h"
#include "prep/presolve_run.h"

namespace {

template <class T> T *array(QRTModel *model, int64_t count) {
  T *block = static_cast<T *>(temporaryAllocate(model, count + 1, int64_t(sizeof(T))));
  std::memset(static_cast<void *>(block), 0, size_t(count + 1) * sizeof(T));
  return block;
}

void allocateRims(Presolve *p) {
  QRTModel *model = p->model;
  p->rowFirst = array<int>(model, p->m);
  p->rowCount = array<int>(model, p->m);
  p->columnFirst = array<int>(model, p->n);
  p->columnCount = array<int>(model, p->n);
  p->rowLower = array<double>(model, p->m);
  p->rowUpper = array<double>(model, p->m);
  p->lower = array<double>(model, p->n);
  p->upper = array<double>(model, p->n);
  p->cost = array<double>(model, p->n);
  p->workLower = array<double>(model, p->n);
  p->workUpper = array<double>(model, p->n);
  p->rowMark = array<int32_t>(model, p->m);
  p->columnMark = array<int32_t>(model, p->n);
  p->columnKind = array<char>(model, p->n);
  p->activity = array<PresolveActivity>(model, p->m);
  p->rowWaits = array<unsigned char>(model, p->m);
  p->columnWaits = array<unsigned char>(model, p->n);
  for (PresolveQueue &q : p->rowQueue) q = {array<int>(model, p->m), p->m, 0, 0};
  for (PresolveQueue &q : p->columnQueue) q = {array<int>(model, p->n), p->n, 0, 0};
  p->log = array<ReductionLog>(model, 1);
  p->log->model = model;
}

double lowerOf(double bound) { return hasLower(bound) ? bound : -QRT_INFINITY; }
double upperOf(double bound) { return hasUpper(bound) ? bound : QRT_INFINITY; }

void loadRims(Presolve *p) {
  const QRTModel *model = p->model;
  const int base = model->Imaxrows;
  const double sense = qrtlplp.Rmaxmin;
  for (int i = 0; i < p->m; i++) {
    p->rowLower[i] = lowerOf(model->lower[i]);
    p->rowUpper[i] = upperOf(model->upper[i]);
    p->rowFirst[i] = -1;
  }
  for (int j = 0; j < p->n; j++) {
    p->lower[j] = p->workLower[j] = lowerOf(model->lower[base + j]);
    p->upper[j] = p->workUpper[j] = upperOf(model->upper[base + j]);
    p->cost[j] = sense * model->objective[base + j];
    p->columnFirst[j] = -1;
    const char type = model->integerTypes ? model->integerTypes[j] : char(0);
    p->columnKind[j] = type == 0 ? COLUMN_CONTINUOUS : type == 1 ? COLUMN_INTEGER : COLUMN_IN_SET;
  }
  // A group only says in which order its integer columns are branched on; a set binds its members to one another.
  const EntityTable *table = entityTable(model);
  for (int s = 0; table && s < table->nEntities; s++)
    for (int k = 0; k < table->entity[s].count; k++) {
      const int j = memberTable(model)[table->entity[s].first + k].column;
      if (table->entity[s].type != ENTITY_GROUP) p->columnKind[j] = COLUMN_IN_SET;
    }
}

// From the last element to the first, each in front of its lists: they end in ascending order.
void loadElements(Presolve *p) {
  QRTModel *model = p->model;
  CleanCopy copy;
  qrt_cleanCopy(model, &copy, CLEAN_COLUMNS, 0.0, 0);
  p->entryRoom = copy.nElements + copy.nElements / 10 + 100;
  p->entry = static_cast<PresolveEntry *>(temporaryAllocate(model, p->entryRoom, int64_t(sizeof(PresolveEntry))));
  p->entryTop = p->liveEntries = copy.nElements;
  p->entryFree = -1;
  for (int j = p->n - 1; j >= 0; j--)
    for (int e = copy.starts[j + 1] - 1; e >= copy.starts[j]; e--) {
      const int i = copy.rows[e];
      PresolveEntry &x = p->entry[e];
      x = {copy.elements[e] / elementFactor(model, i, j), i, j, p->rowFirst[i], -1, p->columnFirst[j], -1};
      if (x.rowNext >= 0) p->entry[x.rowNext].rowPrevious = e;
      if (x.columnNext >= 0) p->entry[x.columnNext].columnPrevious = e;
      p->rowFirst[i] = p->columnFirst[j] = e;
      p->rowCount[i]++;
      p->columnCount[j]++;
    }
  qrt_deleteCleanCopy(&copy);
  for (int i = 0; i < p->m; i++) p->activity[i] = computeActivity(p, i, -1);
}

}  // namespace

Presolve *newPresolve(QRTModel *model, int kind, int flags) {
  Presolve *p = array<Presolve>(model, 1);
  p->model = model;
  p->m = p->liveRows = model->Inumrows;
  p->n = p->liveColumns = model->Inumcols;
  p->kind = kind;
  p->flags = flags;
  // What depends on terms or directions that the working form does not hold may not be substituted away.
  p->plain = model->Inumquadraticblocks > 0 || qrtlplp.Rmaxmin == 0.0 ? PRESOLVE_ROWS_ONLY : 0;
  if (model->objectiveDelta || model->lowerDelta || model->upperDelta) p->plain = PRESOLVE_NOTHING;
  p->tolerance = qrtlplp.Rtolpinf;
  p->dualTolerance = qrtlplp.Rtoldinf;
  allocateRims(p);
  loadRims(p);
  loadElements(p);
  for (int i = 0; i < p->m; i++) touchRow(p, i);
  for (int j = 0; j < p->n; j++) touchColumn(p, j);
  return p;
}
