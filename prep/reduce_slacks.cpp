// Columns with one element: a slack in all but name is absorbed by its row, whose sides move apart, and the way back.
//
//     L <= s + a x_j <= U,  l <= x_j <= u     =>     L - max(a x_j) <= s <= U - min(a x_j)
//
// It needs a cost of zero. In an equation any cost can be made so: c_j x_j = (c_j / a)(r - s) turns the cost into one of
// the row's other columns, and the row's dual is less by c_j / a until the column is back.
//
// The way back. If the row rests on a widened side, the column takes the bound that made it so, and the row rests on its
// own side; the signs of both duals agree, since d_j = -a y'. If the row is basic, its dual is 0 and the column goes
// where it brings the row within its sides: to a bound if one does, else so far that the row rests on a side, which
// makes the column basic in place of the row. (Andersen and Andersen 1995, section 3.2.)
#include <cmath>

#include "prep/presolve.h"

namespace {

struct Sides {
  double lower, upper;
};

// The sides of the row without the column.
Sides widened(double rowLower, double rowUpper, double a, double lower, double upper) {
  const double least = a > 0.0 ? lower : upper, most = a > 0.0 ? upper : lower;
  return {hasLower(rowLower) && std::fabs(most) < QRT_INFINITE_TEST ? rowLower - a * most : -QRT_INFINITY,
          hasUpper(rowUpper) && std::fabs(least) < QRT_INFINITE_TEST ? rowUpper - a * least : QRT_INFINITY};
}

// The cost of the column goes to the other columns of its equation.
void shiftCost(Presolve *p, int row, int column, double a) {
  const double y = p->cost[column] / a;
  for (int e = p->rowFirst[row]; e >= 0; e = p->entry[e].rowNext)
    if (p->entry[e].column != column) changeCost(p, p->entry[e].column, p->cost[p->entry[e].column] - y * p->entry[e].value);
  p->constant += y * p->rowUpper[row];
  p->cost[column] = 0.0;
}

bool within(double value, double lower, double upper) {
  const double slack = 1.0e-9 * (1.0 + std::fabs(value));
  return value >= lower - slack && value <= upper + slack;
}

// The bound nearest to zero that leaves the row within its sides; false if none does. A column without bounds may stay at 0.
bool boundThatFits(const Reduction *r, double s, double *value) {
  const double near = std::fabs(r->lower) <= std::fabs(r->upper) ? r->lower : r->upper;
  const double far = near == r->lower ? r->upper : r->lower;
  const double tries[2] = {std::fabs(near) < QRT_INFINITE_TEST ? near : 0.0, far};
  for (const double x : tries) {
    if (std::fabs(x) >= QRT_INFINITE_TEST || !within(s + r->value1 * x, r->otherLower, r->otherUpper)) continue;
    *value = x;
    return true;
  }
  return false;
}

// A value that puts the row on one of its sides, without leaving the bounds but by rounding.
double valueAtSide(const Reduction *r, double s) {
  const double sides[2] = {r->otherLower, r->otherUpper};
  double best = 0.0, bestExcess = QRT_INFINITY;
  for (const double side : sides) {
    if (std::fabs(side) >= QRT_INFINITE_TEST) continue;
    const double x = (side - s) / r->value1;
    const double excess = std::fmax(0.0, std::fmax(r->lower - x, x - r->upper));
    if (excess < bestExcess) best = x, bestExcess = excess;
  }
  return best;
}

}  // namespace

int absorbSlacks(Presolve *p) {
  int done = 0;
  for (int j = 0; j < p->n; j++) {
    if (!columnAlive(p, j) || p->columnCount[j] != 1 || p->columnKind[j] != COLUMN_CONTINUOUS) continue;
    const PresolveEntry x = p->entry[p->columnFirst[j]];
    if (!rowAlive(p, x.row) || (p->cost[j] != 0.0 && !isEquation(p, x.row))) continue;
    Reduction *r = logReduction(p, REDUCTION_SLACK, x.row, j);
    r->lower = p->lower[j];
    r->upper = p->upper[j];
    r->otherLower = p->rowLower[x.row];
    r->otherUpper = p->rowUpper[x.row];
    r->value1 = x.value;
    r->value2 = p->cost[j] / x.value;
    logRowContent(p, x.row);
    if (p->cost[j] != 0.0) shiftCost(p, x.row, j, x.value);
    const Sides sides = widened(p->rowLower[x.row], p->rowUpper[x.row], x.value, p->lower[j], p->upper[j]);
    dropColumn(p, j, 1 + x.row);
    changeSides(p, x.row, sides.lower, sides.upper);
    done++;
  }
  return done;
}

void undoSlack(Postsolve *p, const Reduction *r) {
  const int row = r->row, column = r->column;
  const double a = r->value1, y = p->y[row], s = contentActivity(p, r, column);
  const Sides sides = widened(r->otherLower, r->otherUpper, a, r->lower, r->upper);
  bool atSide = !p->rowBasic[row] && (hasLower(sides.lower) || hasUpper(sides.upper));
  if (atSide) {
    const bool low = restsAtLower(s, sides.lower, sides.upper, y);
    p->x[column] = low == (a > 0.0) ? r->upper : r->lower;
    p->columnBasic[column] = 0;
    // An interior point need not rest on the side its dual leans to: then the column makes up the difference.
    if (p->valuesOnly && !within(s + a * p->x[column], r->otherLower, r->otherUpper)) atSide = false;
  }
  if (!atSide) {
    p->columnBasic[column] = 0;
    // A dual that the shifted cost leaves in the equation wants the row non-basic.
    if (r->value2 != 0.0 || !boundThatFits(r, s, &p->x[column])) {
      p->x[column] = valueAtSide(r, s);
      p->columnBasic[column] = 1;
      p->rowBasic[row] = 0;
    }
  }
  p->d[column] = -a * y;
  p->y[row] = y + r->value2;
}
