// Rows that say nothing, rows that say it of one column, and rows that leave their columns no choice: how they go and how
// they come back.
//
// A row is redundant when its activity cannot leave its sides, forcing when it can only just reach one of them (then every
// column stands at the bound that gets it there), and a bound when it has one column. Only true bounds count: a bound
// that some row implied must not remove the row that implied it.
#include "frame/messages.h"
#include "prep/presolve_run.h"

namespace {

constexpr double DRIFT = 1.0e-6;      // of a kept activity, relative: what may differ from a computed one
constexpr double BOTH = 3.0, LOWER_ONLY = 1.0, UPPER_ONLY = 2.0;

double slackOf(double side, double tolerance) { return tolerance * std::fmax(1.0, std::fabs(side)); }

void dropRow(Presolve *p, int i) {
  Reduction *r = logReduction(p, REDUCTION_ROW_DROPPED, i, -1);
  r->lower = p->rowLower[i];
  r->upper = p->rowUpper[i];
  removeRow(p, i, MARK_REDUNDANT);
}

// A row without columns: its sides must admit 0.
int emptyRow(Presolve *p, int i) {
  const double by = std::fmax(p->rowLower[i], -p->rowUpper[i]);
  if (by > p->tolerance) {
    if (!p->repair) return foundInfeasible(p, by, -1, i);
    p->repairs++;
  }
  dropRow(p, i);
  return 1;
}

// Bounds a singleton row gives its column.
struct Implied {
  double lower, upper;
};
Implied impliedBounds(const Presolve *p, int i, double element) {
  auto bound = [element](double side) { return std::fabs(side) < QRT_INFINITE_TEST ? side / element : side * (element > 0.0 ? 1.0 : -1.0); };
  Implied b = {bound(p->rowLower[i]), bound(p->rowUpper[i])};
  if (element < 0.0) {
    const double low = b.upper;
    b.upper = b.lower;
    b.lower = low;
  }
  if (!hasLower(b.lower)) b.lower = -QRT_INFINITY;
  if (!hasUpper(b.upper)) b.upper = QRT_INFINITY;
  return b;
}

int singletonRow(Presolve *p, int i) {
  const int j = p->entry[p->rowFirst[i]].column;
  const double element = p->entry[p->rowFirst[i]].value, lower = p->lower[j], upper = p->upper[j];
  Implied b = impliedBounds(p, i, element);
  const double by = std::fmax(b.lower - upper, lower - b.upper);
  if (by > slackOf(b.lower > upper ? upper : lower, p->tolerance)) {
    if (!p->repair) return foundInfeasible(p, by, j, i);
    p->repairs++;
  }
  // What crosses by less, or is repaired, ends at the column's own bound.
  b.lower = std::fmin(b.lower, upper);
  b.upper = std::fmax(b.upper, lower);
  const bool raises = b.lower > lower + PRESOLVE_ZERO, cuts = b.upper < upper - PRESOLVE_ZERO;
  if (!raises && !cuts) {
    dropRow(p, i);
    return 1;
  }
  const int type = raises && cuts ? REDUCTION_SINGLETON_BOTH : raises ? REDUCTION_SINGLETON_LOWER : REDUCTION_SINGLETON_UPPER;
  Reduction *r = logReduction(p, type, i, j);
  r->lower = lower;
  r->upper = upper;
  r->value1 = element;
  r->value2 = raises && cuts ? BOTH : raises ? LOWER_ONLY : UPPER_ONLY;
  removeRow(p, i, MARK_REDUNDANT);
  changeBounds(p, j, raises ? b.lower : lower, cuts ? b.upper : upper);
  const double end = cuts && !raises ? p->upper[j] : p->lower[j];
  if (p->upper[j] - p->lower[j] <= PRESOLVE_ZERO && mayRest(p, j, end)) fixColumn(p, j, end, REDUCTION_AT_LOWER, i + 1);
  return 1;
}

// Fixes the columns that have no range anyway; false when a column of the row may not be fixed.
bool prepareForcing(Presolve *p, int i, int side) {
  for (int e = p->rowFirst[i]; e >= 0; e = p->entry[e].rowNext) {
    const int j = p->entry[e].column;
    if (!mayRest(p, j, (p->entry[e].value > 0.0) == (side > 0) ? p->lower[j] : p->upper[j])) return false;
  }
  for (int e = p->rowFirst[i], next; e >= 0; e = next) {
    next = p->entry[e].rowNext;
    const int j = p->entry[e].column;
    if (p->upper[j] - p->lower[j] <= PRESOLVE_ZERO) fixColumn(p, j, p->lower[j], REDUCTION_AT_LOWER, MARK_AT_LOWER);
  }
  return true;
}

// side 1: the least activity only just reaches the upper side; -1: the greatest the lower one.
int forcingRow(Presolve *p, int i, int side) {
  if (!prepareForcing(p, i, side)) return 0;
  Reduction *r = logReduction(p, REDUCTION_FORCING, i, -1);
  r->lower = p->rowLower[i];
  r->upper = p->rowUpper[i];
  r->value1 = side;
  logRowContent(p, i);
  const int64_t at = r->rowAt;
  const int count = r->rowCount;
  removeRow(p, i, MARK_FORCING);
  for (int k = 0; k < count; k++) {
    const int j = p->log->index[at + k];
    const bool atLower = (p->log->value[at + k] > 0.0) == (side > 0);
    fixColumn(p, j, atLower ? p->lower[j] : p->upper[j], atLower ? REDUCTION_AT_LOWER : REDUCTION_AT_UPPER, i + 1);
  }
  return 1 + count;
}

// Whether the kept activity is near enough to a side for the exact one to matter.
bool worthComputing(const Presolve *p, int i) {
  const PresolveActivity &a = p->activity[i];
  const double u = p->rowUpper[i], l = p->rowLower[i];
  const double drift = DRIFT * (1.0 + std::fabs(a.least) + std::fabs(a.most));
  const bool cannotExceed = !hasUpper(u) || (a.mostInfinite == 0 && a.most <= u + drift);
  const bool cannotFall = !hasLower(l) || (a.leastInfinite == 0 && a.least >= l - drift);
  const bool mustTouchUpper = hasUpper(u) && a.leastInfinite == 0 && a.least >= u - drift;
  const bool mustTouchLower = hasLower(l) && a.mostInfinite == 0 && a.most <= l + drift;
  return (cannotExceed && cannotFall) || mustTouchUpper || mustTouchLower;
}

int rowByActivity(Presolve *p, int i) {
  if (!worthComputing(p, i)) return 0;
  const PresolveActivity a = p->activity[i] = computeActivity(p, i, -1);
  const double u = p->rowUpper[i], l = p->rowLower[i];
  const bool bounded = hasUpper(u), floored = hasLower(l);
  double by = 0.0;
  if (bounded && a.leastInfinite == 0 && a.least - u > slackOf(u, p->tolerance)) by = a.least - u;
  if (floored && a.mostInfinite == 0 && l - a.most > slackOf(l, p->tolerance)) by = l - a.most;
  if (by > 0.0) {
    if (!p->repair) return foundInfeasible(p, by, -1, i);
    p->repairs++;
  }
  const bool cannotExceed = !bounded || (a.mostInfinite == 0 && a.most <= u + slackOf(u, PRESOLVE_ZERO));
  const bool cannotFall = !floored || (a.leastInfinite == 0 && a.least >= l - slackOf(l, PRESOLVE_ZERO));
  if (cannotExceed && cannotFall) {
    dropRow(p, i);
    return 1;
  }
  if (p->plain) return 0;
  if (bounded && a.leastInfinite == 0 && a.least >= u - slackOf(u, PRESOLVE_ZERO)) return forcingRow(p, i, 1);
  if (floored && a.mostInfinite == 0 && a.most <= l + slackOf(l, PRESOLVE_ZERO)) return forcingRow(p, i, -1);
  return 0;
}

}  // namespace

int reduceRows(Presolve *p) {
  int done = 0, i;
  while (takeRow(p, ROWS_ACTIVITY, &i)) {
    int result;
    if (!hasLower(p->rowLower[i]) && !hasUpper(p->rowUpper[i])) {
      dropRow(p, i);
      result = 1;
    } else if (p->rowCount[i] == 0) {
      result = emptyRow(p, i);
    } else if (p->rowCount[i] == 1 && !p->plain) {
      result = singletonRow(p, i);
    } else {
      result = rowByActivity(p, i);
    }
    if (result < 0) return result;
    done += result;
  }
  return done;
}

void undoDroppedRow(Postsolve *p, const Reduction *r) {
  p->y[r->row] = 0.0;
  p->rowBasic[r->row] = 1;
}

// The bound that holds the column decides: where it is the row's, the reduced cost is the row's dual.
void undoSingletonRow(Postsolve *p, const Reduction *r) {
  const int i = r->row, j = r->column;
  const bool raised = r->value2 != UPPER_ONLY, cut = r->value2 != LOWER_ONLY;
  const double x = p->x[j], d = p->d[j];
  bool rowHolds = false;
  if (!p->columnBasic[j]) {
    if (d > p->dualTolerance) rowHolds = raised;
    else if (d < -p->dualTolerance) rowHolds = cut;
    else rowHolds = x - r->lower > p->tolerance && r->upper - x > p->tolerance;
    // At no bound of its own the column cannot stay nonbasic, whatever its reduced cost.
    if (x - r->lower > p->tolerance * std::fmax(1.0, std::fabs(x)) && r->upper - x > p->tolerance * std::fmax(1.0, std::fabs(x))) rowHolds = true;
  }
  p->rowBasic[i] = !rowHolds;
  p->y[i] = 0.0;
  if (!rowHolds) return;
  p->y[i] = d / r->value1;
  p->d[j] = 0.0;
  p->columnBasic[j] = 1;
}

// The row's dual must leave every reduced cost with the sign its bound asks for: the extreme ratio decides, and its column
// becomes basic.
void undoForcingRow(Postsolve *p, const Reduction *r) {
  const double side = r->value1;
  const int *column = rowIndices(p, r);
  const double *element = rowElements(p, r);
  int chosen = -1;
  double y = 0.0;
  for (int k = 0; k < r->rowCount; k++) {
    const double ratio = p->d[column[k]] / element[k];
    if (side * ratio < side * y) {
      y = ratio;
      chosen = column[k];
    }
  }
  p->rowBasic[r->row] = chosen < 0;
  p->y[r->row] = 0.0;
  if (chosen < 0) return;
  setRowDual(p, r, y);
  p->d[chosen] = 0.0;
  p->columnBasic[chosen] = 1;
}
