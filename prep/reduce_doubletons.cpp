// Doubleton equations: a row that ties two columns gives one of them up, and the way back.
//
//     a1 x1 + a2 x2 = r     =>    x2 = f x1 + g,   f = -a1 / a2,   g = r / a2
//
// x1, the kept column, takes over the elements, the cost and the bounds of x2:
//
//     a_i1 += f a_i2,  sides of row i -= g a_i2,  c1 += f c2,  constant += g c2
//
// The way back. With any dual y of the row, the reduced costs of the two columns satisfy d1 + f d2 = d1', the reduced
// cost of x1 in the smaller program. One of the two is given its place and the row's dual follows: if x1 is basic, or
// rests on a bound of its own, x2 is basic and d2 = 0; if x1 rests on a bound that came from x2, then x2 rests on its
// bound, x1 is basic and d1 = 0. (E. D. Andersen, K. D. Andersen: Presolving in linear programming, Math. Prog. 71,
// 1995, section 3; J. A. Tomlin, J. S. Welch: Formal optimization of some reduced linear programming problems, Math.
// Prog. 27, 1983.)
#include <cmath>

#include "prep/presolve.h"

namespace {

constexpr double LARGEST_FACTOR = 1.0e3;  // beyond it rounding in x1 would show in x2

// What the bounds of x2 mean for x1.
struct ImpliedBounds {
  double lower, upper;
};

ImpliedBounds implied(double lower2, double upper2, double f, double g) {
  const double low = hasLower(lower2) ? (lower2 - g) / f : f > 0.0 ? -QRT_INFINITY : QRT_INFINITY;
  const double high = hasUpper(upper2) ? (upper2 - g) / f : f > 0.0 ? QRT_INFINITY : -QRT_INFINITY;
  return f > 0.0 ? ImpliedBounds{low, high} : ImpliedBounds{high, low};
}

// Does the column's own bound hold, or the other, tighter by more than rounding? The same test both ways.
bool ownLowerHolds(double own, double other) { return !hasLower(other) || other <= own + PRESOLVE_ZERO * (1.0 + std::fabs(own)); }
bool ownUpperHolds(double own, double other) { return !hasUpper(other) || other >= own - PRESOLVE_ZERO * (1.0 + std::fabs(own)); }

bool isWhole(double value, double tolerance) { return std::fabs(value - std::floor(value + 0.5)) <= tolerance; }

// Which element's column goes, or -1 if neither may.
int choosePivot(const Presolve *p, int e1, int e2, double *side) {
  const PresolveEntry &a = p->entry[e1], &b = p->entry[e2];
  const char kindA = p->columnKind[a.column], kindB = p->columnKind[b.column];
  if (kindA == COLUMN_IN_SET || kindB == COLUMN_IN_SET) return -1;
  int pivot = std::fabs(a.value) >= std::fabs(b.value) ? e1 : e2;
  if (kindA == COLUMN_INTEGER && kindB == COLUMN_INTEGER) {
    if (std::fabs(a.value) != 1.0 || std::fabs(b.value) != 1.0 || !isWhole(*side, p->tolerance)) return -1;
    *side = std::floor(*side + 0.5);
  } else if (kindA == COLUMN_INTEGER) {
    pivot = e2;
  } else if (kindB == COLUMN_INTEGER) {
    pivot = e1;
  }
  const double out = p->entry[pivot].value, kept = p->entry[pivot == e1 ? e2 : e1].value;
  return std::fabs(kept) > LARGEST_FACTOR * std::fabs(out) ? -1 : pivot;
}

// Bounds of the kept column cut by those of the other; false when they contradict each other.
bool intersect(Presolve *p, int row, int kept, const ImpliedBounds &other, double *lower, double *upper) {
  const double ownLower = p->lower[kept], ownUpper = p->upper[kept];
  *lower = ownLowerHolds(ownLower, other.lower) ? ownLower : other.lower;
  *upper = ownUpperHolds(ownUpper, other.upper) ? ownUpper : other.upper;
  if (*lower <= *upper) return true;
  const double gap = *lower - *upper;
  if (gap > p->tolerance) {
    if (!p->repair) {
      foundInfeasible(p, gap, kept, row);
      return false;
    }
    p->repairs++;
  }
  if (*lower == ownLower) *upper = *lower;  // the nearer of its own bounds
  else *lower = *upper;
  return true;
}

// Columns of the row gather what the substituted column was to other rows, the objective and the constant.
void foldInto(Presolve *p, int kept, int out, double f, double g) {
  changeCost(p, kept, p->cost[kept] + f * p->cost[out]);
  p->constant += g * p->cost[out];
  while (p->columnFirst[out] >= 0) {
    const PresolveEntry x = p->entry[p->columnFirst[out]];
    dropEntry(p, p->columnFirst[out]);  // its place in the row is taken at once by the new one
    if (g != 0.0) shiftSides(p, x.row, -g * x.value);
    addToElement(p, x.row, kept, f * x.value);
  }
}

int reduceRow(Presolve *p, int row) {
  const int e1 = p->rowFirst[row], e2 = p->entry[e1].rowNext;
  double side = p->rowUpper[row];
  const int pivot = choosePivot(p, e1, e2, &side);
  if (pivot < 0) return 0;
  const PresolveEntry out = p->entry[pivot], keep = p->entry[pivot == e1 ? e2 : e1];
  const double f = -keep.value / out.value, g = side / out.value;
  double lower, upper;
  if (!intersect(p, row, keep.column, implied(p->lower[out.column], p->upper[out.column], f, g), &lower, &upper))
    return PRESOLVE_INFEASIBLE;

  Reduction *r = logReduction(p, REDUCTION_KEPT, row, keep.column);
  r->other = out.column;
  r->lower = p->lower[keep.column];
  r->upper = p->upper[keep.column];
  r->value1 = f;
  r->value2 = g;
  logPair(p, true, out.column, p->cost[out.column]);
  r = logReduction(p, REDUCTION_SUBSTITUTED, row, out.column);
  r->other = keep.column;
  r->lower = p->lower[out.column];
  r->upper = p->upper[out.column];
  r->value1 = f;
  r->value2 = g;
  logRowContent(p, row);
  removeRow(p, row, MARK_ELIMINATED);
  logColumnContent(p, out.column);  // without the row itself

  if (lower != p->lower[keep.column] || upper != p->upper[keep.column]) changeBounds(p, keep.column, lower, upper);
  foldInto(p, keep.column, out.column, f, g);
  dropColumn(p, out.column, 1 + row);
  return 1;
}

}  // namespace

int reduceDoubletons(Presolve *p) {
  int done = 0, row = -1;
  while (takeRow(p, ROWS_DOUBLETON, &row)) {
    if (p->rowCount[row] != 2 || !isEquation(p, row)) continue;
    const int result = reduceRow(p, row);
    if (result < 0) return result;
    done += result;
  }
  return done;
}

// The record of the substituted column does the work; that of the kept one stands right below it.
void undoDoubleton(Postsolve *p, const Reduction *r) {
  if (r->type != REDUCTION_SUBSTITUTED) return;
  const Reduction *kept = r - 1;
  const int x1 = kept->column, x2 = r->column, row = r->row;
  const double f = r->value1, g = r->value2, cost2 = rowElements(p, kept)[0];
  const double a2 = rowElements(p, r)[rowIndices(p, r)[0] == x2 ? 0 : 1];
  const double d1 = p->d[x1], rest2 = contentDual(p, r, cost2);  // without the row's own part

  bool boundOfOther = false;
  double bound2 = 0.0;
  if (!p->columnBasic[x1]) {
    const ImpliedBounds other = implied(r->lower, r->upper, f, g);
    const bool ownLower = ownLowerHolds(kept->lower, other.lower), ownUpper = ownUpperHolds(kept->upper, other.upper);
    const double lower = ownLower ? kept->lower : other.lower, upper = ownUpper ? kept->upper : other.upper;
    const bool atLower = restsAtLower(p->x[x1], lower, upper, d1);
    boundOfOther = atLower ? hasLower(lower) && !ownLower : hasUpper(upper) && !ownUpper;
    bound2 = atLower == (f > 0.0) ? r->lower : r->upper;
  }
  p->x[x2] = f * p->x[x1] + g;
  p->rowBasic[row] = 0;
  if (boundOfOther) {
    if (std::fabs(p->x[x2] - bound2) <= p->tolerance * (1.0 + std::fabs(bound2))) p->x[x2] = bound2;
    p->columnBasic[x1] = 1;
    p->columnBasic[x2] = 0;
    p->d[x1] = 0.0;
    p->d[x2] = d1 / f;
  } else {
    p->columnBasic[x2] = 1;
    p->d[x2] = 0.0;
  }
  p->y[row] = (rest2 - p->d[x2]) / a2;
}
