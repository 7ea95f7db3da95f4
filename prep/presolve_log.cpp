// The log of reductions: records in true time order, and the rows and columns as they stood beside them.
#include <cstring>

#include "frame/guarded_memory.h"
#include "prep/presolve.h"

namespace {

template <class T> T *grown(QRTModel *model, T *block, int64_t used, int64_t room) {
  T *wider = static_cast<T *>(temporaryAllocate(model, room, int64_t(sizeof(T))));
  if (used > 0) std::memcpy(static_cast<void *>(wider), block, size_t(used) * sizeof(T));
  if (block) qrt_freeTemporary(model, block);
  return wider;
}

void putPair(ReductionLog *log, int index, double value) {
  if (log->pairs == log->pairRoom) {
    const int64_t room = log->pairRoom + log->pairRoom / 2 + 1000;
    log->index = grown(log->model, log->index, log->pairs, room);
    log->value = grown(log->model, log->value, log->pairs, room);
    log->pairRoom = room;
  }
  log->index[log->pairs] = index;
  log->value[log->pairs++] = value;
}

}  // namespace

Reduction *logReduction(Presolve *p, int type, int row, int column) {
  ReductionLog *log = p->log;
  if (log->count == log->room) {
    const int64_t room = int64_t(log->room) + log->room / 2 + 100;
    log->record = grown(log->model, log->record, log->count, room);
    log->room = int(room);
  }
  Reduction *r = &log->record[log->count++];
  std::memset(static_cast<void *>(r), 0, sizeof *r);
  r->type = type;
  r->row = row;
  r->column = column;
  r->other = -1;
  r->rowAt = r->columnAt = log->pairs;
  return r;
}

void logPair(Presolve *p, bool row, int index, double value) {
  ReductionLog *log = p->log;
  Reduction *r = &log->record[log->count - 1];
  putPair(log, index, value);
  if (row) {
    r->rowCount++;
    r->columnAt = log->pairs;
  } else {
    r->columnCount++;
  }
}

void logRowContent(Presolve *p, int row) {
  for (int e = p->rowFirst[row]; e >= 0; e = p->entry[e].rowNext) logPair(p, true, p->entry[e].column, p->entry[e].value);
}

void logColumnContent(Presolve *p, int column) {
  for (int e = p->columnFirst[column]; e >= 0; e = p->entry[e].columnNext)
    logPair(p, false, p->entry[e].row, p->entry[e].value);
}

void fixColumn(Presolve *p, int column, double value, int type, int mark) {
  Reduction *r = logReduction(p, type, -1, column);
  r->lower = p->lower[column];
  r->upper = p->upper[column];
  r->value1 = value;
  r->value2 = p->cost[column];
  logColumnContent(p, column);
  removeColumn(p, column, value, mark);
}

double contentDual(const Postsolve *p, const Reduction *r, double cost) {
  const int *row = columnIndices(p, r);
  const double *element = columnElements(p, r);
  double d = cost;
  for (int k = 0; k < r->columnCount; k++) d -= element[k] * p->y[row[k]];
  return d;
}

double contentActivity(const Postsolve *p, const Reduction *r, int skip) {
  const int *column = rowIndices(p, r);
  const double *element = rowElements(p, r);
  double sum = 0.0;
  for (int k = 0; k < r->rowCount; k++)
    if (column[k] != skip) sum += element[k] * p->x[column[k]];
  return sum;
}

void setRowDual(Postsolve *p, const Reduction *r, double y) {
  const int *column = rowIndices(p, r);
  const double *element = rowElements(p, r);
  p->y[r->row] = y;
  if (y == 0.0) return;
  for (int k = 0; k < r->rowCount; k++) p->d[column[k]] -= element[k] * y;
}
