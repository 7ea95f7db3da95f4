// Primitives of the working form: every change of a row, a column or an element goes through here, so that links, counts,
// activities and queues stay true.
#include <cstring>

#include "frame/guarded_memory.h"
#include "frame/messages.h"
#include "prep/presolve.h"

namespace {

constexpr int MSG_WILL_BE_INFEASIBLE = 95;

void enqueue(PresolveQueue *q, int index) {
  int at = q->first + q->count++;
  if (at >= q->room) at -= q->room;
  q->ring[at] = index;
}

int dequeue(PresolveQueue *q) {
  const int index = q->ring[q->first];
  if (++q->first == q->room) q->first = 0;
  q->count--;
  return index;
}

// Adds (sign 1) or takes away (-1) a column's term in the activity of a row.
void addTerm(PresolveActivity *a, double element, double lower, double upper, int sign) {
  const double low = element > 0.0 ? lower : upper, high = element > 0.0 ? upper : lower;
  if (std::fabs(low) < QRT_INFINITE_TEST) a->least += sign * element * low;
  else a->leastInfinite += sign;
  if (std::fabs(high) < QRT_INFINITE_TEST) a->most += sign * element * high;
  else a->mostInfinite += sign;
}

void unlink(Presolve *p, int e) {
  PresolveEntry &x = p->entry[e];
  if (x.rowPrevious >= 0) p->entry[x.rowPrevious].rowNext = x.rowNext;
  else p->rowFirst[x.row] = x.rowNext;
  if (x.rowNext >= 0) p->entry[x.rowNext].rowPrevious = x.rowPrevious;
  if (x.columnPrevious >= 0) p->entry[x.columnPrevious].columnNext = x.columnNext;
  else p->columnFirst[x.column] = x.columnNext;
  if (x.columnNext >= 0) p->entry[x.columnNext].columnPrevious = x.columnPrevious;
  p->rowCount[x.row]--;
  p->columnCount[x.column]--;
  p->liveEntries--;
  x.rowNext = p->entryFree;
  p->entryFree = e;
}

int newEntry(Presolve *p) {
  if (p->entryFree >= 0) {
    const int e = p->entryFree;
    p->entryFree = p->entry[e].rowNext;
    return e;
  }
  if (p->entryTop == p->entryRoom) {
    const int64_t room = int64_t(p->entryRoom) + p->entryRoom / 4 + 1000;
    const int grown = room > INT32_MAX ? INT32_MAX : int(room);
    p->entry = static_cast<PresolveEntry *>(qrt_reallocTemporary(p->model, p->entry, grown, int(sizeof(PresolveEntry))));
    p->entryRoom = grown;
  }
  return p->entryTop++;
}

void addEntry(Presolve *p, int row, int column, double value) {
  const int e = newEntry(p);
  PresolveEntry &x = p->entry[e];
  x.value = value;
  x.row = row;
  x.column = column;
  x.rowPrevious = x.columnPrevious = -1;
  x.rowNext = p->rowFirst[row];
  x.columnNext = p->columnFirst[column];
  if (x.rowNext >= 0) p->entry[x.rowNext].rowPrevious = e;
  if (x.columnNext >= 0) p->entry[x.columnNext].columnPrevious = e;
  p->rowFirst[row] = p->columnFirst[column] = e;
  p->rowCount[row]++;
  p->columnCount[column]++;
  p->liveEntries++;
  addTerm(&p->activity[row], value, p->lower[column], p->upper[column], 1);
}

}  // namespace

void touchRow(Presolve *p, int row) {
  for (int q = 0; q < ROW_QUEUES; q++)
    if (!(p->rowWaits[row] & (1u << q))) enqueue(&p->rowQueue[q], row);
  p->rowWaits[row] = (1u << ROW_QUEUES) - 1;
}

void touchColumn(Presolve *p, int column) {
  for (int q = 0; q < COLUMN_QUEUES; q++)
    if (!(p->columnWaits[column] & (1u << q))) enqueue(&p->columnQueue[q], column);
  p->columnWaits[column] = (1u << COLUMN_QUEUES) - 1;
}

bool takeRow(Presolve *p, int queue, int *row) {
  while (p->rowQueue[queue].count > 0) {
    const int i = dequeue(&p->rowQueue[queue]);
    p->rowWaits[i] = static_cast<unsigned char>(p->rowWaits[i] & ~(1u << queue));
    if (!rowAlive(p, i)) continue;
    *row = i;
    return true;
  }
  return false;
}

bool takeColumn(Presolve *p, int queue, int *column) {
  while (p->columnQueue[queue].count > 0) {
    const int j = dequeue(&p->columnQueue[queue]);
    p->columnWaits[j] = static_cast<unsigned char>(p->columnWaits[j] & ~(1u << queue));
    if (!columnAlive(p, j)) continue;
    *column = j;
    return true;
  }
  return false;
}

void dropEntry(Presolve *p, int e) {
  const PresolveEntry x = p->entry[e];
  addTerm(&p->activity[x.row], x.value, p->lower[x.column], p->upper[x.column], -1);
  unlink(p, e);
  if (rowAlive(p, x.row)) touchRow(p, x.row);
  if (columnAlive(p, x.column)) touchColumn(p, x.column);
}

void removeRow(Presolve *p, int row, int mark) {
  p->rowMark[row] = mark;
  p->liveRows--;
  while (p->rowFirst[row] >= 0) {
    const int e = p->rowFirst[row], j = p->entry[e].column;
    unlink(p, e);
    touchColumn(p, j);
  }
}

void dropColumn(Presolve *p, int column, int mark) {
  p->columnMark[column] = mark;
  p->liveColumns--;
  while (p->columnFirst[column] >= 0) dropEntry(p, p->columnFirst[column]);
}

void removeColumn(Presolve *p, int column, double value, int mark) {
  p->constant += p->cost[column] * value;
  for (int e = p->columnFirst[column]; e >= 0; e = p->entry[e].columnNext)
    if (value != 0.0) shiftSides(p, p->entry[e].row, -p->entry[e].value * value);
  dropColumn(p, column, mark);
}

void changeBounds(Presolve *p, int column, double lower, double upper) {
  for (int e = p->columnFirst[column]; e >= 0; e = p->entry[e].columnNext) {
    const PresolveEntry &x = p->entry[e];
    addTerm(&p->activity[x.row], x.value, p->lower[column], p->upper[column], -1);
    addTerm(&p->activity[x.row], x.value, lower, upper, 1);
    touchRow(p, x.row);
  }
  p->lower[column] = hasLower(lower) ? lower : -QRT_INFINITY;
  p->upper[column] = hasUpper(upper) ? upper : QRT_INFINITY;
  p->workLower[column] = std::fmax(p->workLower[column], p->lower[column]);
  p->workUpper[column] = std::fmin(p->workUpper[column], p->upper[column]);
  touchColumn(p, column);
}

// Columns of the row have to be looked at again: which way the row can push them may have changed.
void changeSides(Presolve *p, int row, double lower, double upper) {
  const bool opened = hasLower(lower) != hasLower(p->rowLower[row]) || hasUpper(upper) != hasUpper(p->rowUpper[row]);
  p->rowLower[row] = hasLower(lower) ? lower : -QRT_INFINITY;
  p->rowUpper[row] = hasUpper(upper) ? upper : QRT_INFINITY;
  touchRow(p, row);
  if (!opened) return;
  for (int e = p->rowFirst[row]; e >= 0; e = p->entry[e].rowNext) touchColumn(p, p->entry[e].column);
}

void shiftSides(Presolve *p, int row, double by) {
  if (hasLower(p->rowLower[row])) p->rowLower[row] += by;
  if (hasUpper(p->rowUpper[row])) p->rowUpper[row] += by;
  touchRow(p, row);
}

void changeCost(Presolve *p, int column, double cost) {
  p->cost[column] = cost;
  touchColumn(p, column);
}

int findEntry(const Presolve *p, int row, int column) {
  if (p->rowCount[row] < p->columnCount[column]) {
    for (int e = p->rowFirst[row]; e >= 0; e = p->entry[e].rowNext)
      if (p->entry[e].column == column) return e;
  } else {
    for (int e = p->columnFirst[column]; e >= 0; e = p->entry[e].columnNext)
      if (p->entry[e].row == row) return e;
  }
  return -1;
}

void addToElement(Presolve *p, int row, int column, double by) {
  const int e = findEntry(p, row, column);
  if (e < 0) {
    if (std::fabs(by) <= PRESOLVE_ZERO) return;
    addEntry(p, row, column, by);
    touchRow(p, row);
    touchColumn(p, column);
    return;
  }
  const double old = p->entry[e].value, sum = old + by;
  if (std::fabs(sum) <= PRESOLVE_ZERO * std::fmax(1.0, std::fabs(old))) {
    dropEntry(p, e);
    return;
  }
  addTerm(&p->activity[row], old, p->lower[column], p->upper[column], -1);
  addTerm(&p->activity[row], sum, p->lower[column], p->upper[column], 1);
  p->entry[e].value = sum;
  touchRow(p, row);
  touchColumn(p, column);
}

PresolveActivity computeActivity(const Presolve *p, int row, int skip) {
  PresolveActivity a = {0.0, 0.0, 0, 0};
  for (int e = p->rowFirst[row]; e >= 0; e = p->entry[e].rowNext) {
    const PresolveEntry &x = p->entry[e];
    if (x.column != skip) addTerm(&a, x.value, p->lower[x.column], p->upper[x.column], 1);
  }
  return a;
}

int foundInfeasible(Presolve *, double by, int column, int row) {
  messageD(1, by);
  qrtmesg_no_i2(MSG_WILL_BE_INFEASIBLE, column + 1, row + 1);
  return PRESOLVE_INFEASIBLE;
}

const char *presolve_check(const Presolve *p) {
  int entries = 0, rows = 0, columns = 0;
  for (int i = 0; i < p->m; i++) {
    int count = 0, previous = -1;
    for (int e = p->rowFirst[i]; e >= 0; previous = e, e = p->entry[e].rowNext) {
      const PresolveEntry &x = p->entry[e];
      if (x.row != i || x.rowPrevious != previous) return "a row's links do not lead back";
      if (!columnAlive(p, x.column)) return "an element of a column that went";
      if (x.value == 0.0) return "an element of zero";
      if (++count > p->rowCount[i]) return "a row has more elements than it counts";
    }
    if (count != p->rowCount[i]) return "a row has fewer elements than it counts";
    if (!rowAlive(p, i) && count) return "a row that went has elements";
    entries += count;
    rows += rowAlive(p, i);
    if (!rowAlive(p, i)) continue;
    const PresolveActivity a = computeActivity(p, i, -1), &kept = p->activity[i];
    if (a.leastInfinite != kept.leastInfinite || a.mostInfinite != kept.mostInfinite) return "infinite terms of a row";
    if (std::fabs(a.least - kept.least) > 1.0e-4 * (1.0 + std::fabs(a.least))) return "least activity of a row";
    if (std::fabs(a.most - kept.most) > 1.0e-4 * (1.0 + std::fabs(a.most))) return "greatest activity of a row";
  }
  for (int j = 0; j < p->n; j++) {
    int count = 0, previous = -1;
    for (int e = p->columnFirst[j]; e >= 0; previous = e, e = p->entry[e].columnNext) {
      if (p->entry[e].column != j || p->entry[e].columnPrevious != previous) return "a column's links do not lead back";
      count++;
    }
    if (count != p->columnCount[j]) return "a column's count";
    columns += columnAlive(p, j);
  }
  if (entries != p->liveEntries) return "number of elements";
  if (rows != p->liveRows || columns != p->liveColumns) return "number of rows or columns";
  for (int q = 0; q < ROW_QUEUES; q++) {
    int waiting = 0;
    for (int i = 0; i < p->m; i++) waiting += p->rowWaits[i] >> q & 1;
    if (waiting != p->rowQueue[q].count) return "rows that wait";
  }
  return nullptr;
}
