// Columns without cost that every row of theirs wants moved the same way: fixed at the bound there, or, where no bound is,
// taken out together with those rows, and the way back.
//
// A row with one side wants a column to increase or to decrease, by the sign of its element; moving the column so costs
// nothing and hurts nobody. With a bound in that direction some optimum has the column there. Without one the column
// alone can satisfy all its rows, whatever the others do.
//
// The way back of the second case: the rows come back first, basic and with dual 0. The column moves from its bound (from
// nowhere, if it has none on that side either) just as far as the most demanding row needs. If a row decides, that row
// is non-basic and the column basic, both with dual 0; else the column stays at its bound.
#include <cmath>

#include "prep/presolve.h"

namespace {

constexpr double FAR = 1.0e10;  // a bound beyond it is no place to put a column

// 1 up, -1 down, 0 no common direction.
int wantedDirection(const Presolve *p, int column) {
  int direction = 0;
  for (int e = p->columnFirst[column]; e >= 0; e = p->entry[e].columnNext) {
    const PresolveEntry &x = p->entry[e];
    const bool low = hasLower(p->rowLower[x.row]), up = hasUpper(p->rowUpper[x.row]);
    if (low == up) return 0;  // two sides pull both ways; a free row is not for long
    const int wants = (low ? 1 : -1) * (x.value > 0.0 ? 1 : -1);
    if (direction && wants != direction) return 0;
    direction = wants;
  }
  return direction;
}

// A record of the column, then one for each row: on the way back the rows are there before the column looks at them.
void dropRowsOf(Presolve *p, int column, int direction) {
  Reduction *r = logReduction(p, REDUCTION_SIGN_ROWS, -1, column);
  r->lower = p->lower[column];
  r->upper = p->upper[column];
  r->value1 = direction > 0 ? r->lower : r->upper;
  r->value2 = direction;
  logColumnContent(p, column);
  while (p->columnFirst[column] >= 0) {
    const int row = p->entry[p->columnFirst[column]].row;
    r = logReduction(p, REDUCTION_ROW_DROPPED, row, -1);
    r->lower = p->rowLower[row];
    r->upper = p->rowUpper[row];
    logRowContent(p, row);
    removeRow(p, row, MARK_REDUNDANT);
  }
  dropColumn(p, column, direction > 0 ? MARK_AT_LOWER : MARK_AT_UPPER);
}

}  // namespace

int reduceBySigns(Presolve *p) {
  int done = 0, column = -1;
  while (takeColumn(p, COLUMNS_SIGN, &column)) {
    if (p->cost[column] != 0.0 || p->columnCount[column] == 0 || p->columnKind[column] == COLUMN_IN_SET) continue;
    if (p->upper[column] - p->lower[column] <= PRESOLVE_ZERO) continue;
    const int direction = wantedDirection(p, column);
    if (direction == 0) continue;
    const double bound = direction > 0 ? p->upper[column] : p->lower[column];
    if (std::fabs(bound) < FAR) {
      if (!mayRest(p, column, bound)) continue;
      fixColumn(p, column, bound, REDUCTION_SIGN_FIXED, direction > 0 ? MARK_AT_UPPER : MARK_AT_LOWER);
    } else {
      if (std::fabs(bound) < QRT_INFINITE_TEST || p->columnKind[column] != COLUMN_CONTINUOUS) continue;
      dropRowsOf(p, column, direction);
    }
    done++;
  }
  return done;
}

void undoSignRows(Postsolve *p, const Reduction *r) {
  const int column = r->column;
  const double direction = r->value2, start = direction > 0.0 ? r->lower : r->upper;
  const double *element = columnElements(p, r);
  bool placed = std::fabs(start) < QRT_INFINITE_TEST;
  double value = placed ? start : 0.0;
  int decides = -1;
  for (int k = 0; k < r->columnCount; k++) {
    const Reduction *dropped = r + 1 + k;  // logged in the order of the column content
    const double side = hasLower(dropped->lower) ? dropped->lower : dropped->upper;
    const double needed = (side - contentActivity(p, dropped, column)) / element[k];
    if (placed && direction * (needed - value) <= 0.0) continue;
    placed = true;
    value = needed;
    decides = dropped->row;
  }
  p->x[column] = value;
  p->d[column] = 0.0;
  p->columnBasic[column] = decides >= 0;
  if (decides >= 0) p->rowBasic[decides] = 0;
}
