// Inequalities that some optimum has tight at a side which one column tells: they may as well be equations, which lets other
// reductions take columns out of them. Nothing is recorded, since the way back needs nothing.
//
// In an optimum  a_r y_r = c_j - sum_{q != r} a_q y_q - d_j  for every column j of row r. The sides of the rows give each
// y_q its sign and the bounds of the column give d_j its own. Where all terms on the right have the same sign, so has
// y_r, and it keeps that sign when row r becomes an equation: with the same primal value, the optimum of the smaller
// program is one of the larger. In the primal: the column wants to move one way, or may do so at no cost, and row r
// alone stops it. (T. Achterberg and others, Presolve reductions in mixed integer programming, INFORMS J. Computing 32,
// 2020, section 4.4, on variables with one lock.)
#include "prep/presolve.h"

namespace {

constexpr int MOST_ROWS = 20;  // of a column looked at

// How many terms may be positive, how many negative; one that may be either counts in both.
struct Signs {
  int positive, negative;
};

// Of -a y: y >= 0 at a lower side makes it negative for a positive element.
Signs signsOf(const Presolve *p, const PresolveEntry &x) {
  const bool low = hasLower(p->rowLower[x.row]), high = hasUpper(p->rowUpper[x.row]);
  return x.value > 0.0 ? Signs{high, low} : Signs{low, high};
}

Signs allSigns(const Presolve *p, int column, bool withBounds) {
  Signs s = {p->cost[column] > 0.0, p->cost[column] < 0.0};
  if (withBounds) s.positive += hasUpper(p->upper[column]), s.negative += hasLower(p->lower[column]);
  for (int e = p->columnFirst[column]; e >= 0; e = p->entry[e].columnNext) {
    const Signs term = signsOf(p, p->entry[e]);
    s.positive += term.positive;
    s.negative += term.negative;
  }
  return s;
}

// The side of the entry's row by the terms of all others.
bool sideFrom(const Presolve *p, Signs all, const PresolveEntry &x, double *side) {
  const Signs own = signsOf(p, x);
  const bool positive = all.positive > own.positive, negative = all.negative > own.negative;
  if (positive == negative) return false;
  *side = positive == (x.value > 0.0) ? p->rowLower[x.row] : p->rowUpper[x.row];
  return std::fabs(*side) < QRT_INFINITE_TEST;
}

}  // namespace

bool sideByDuals(const Presolve *p, int e, double *side) {
  return sideFrom(p, allSigns(p, p->entry[e].column, false), p->entry[e], side);
}

bool tightenRowOf(Presolve *p, int column) {
  if (p->columnKind[column] != COLUMN_CONTINUOUS || p->columnCount[column] > MOST_ROWS) return false;
  const Signs all = allSigns(p, column, true);
  for (int e = p->columnFirst[column]; e >= 0; e = p->entry[e].columnNext) {
    double side = 0.0;
    if (isEquation(p, p->entry[e].row) || !sideFrom(p, all, p->entry[e], &side)) continue;
    changeSides(p, p->entry[e].row, side, side);
    return true;
  }
  return false;
}
