// Implied free columns: a column that its rows keep within its bounds goes, and a row that is active in every optimum with it.
//
//     row p:  a x_j + sum_k p_k x_k = r,   other rows q of the column with element a_q
//
// If the rows of the column bound it, by the least and greatest activity of their other columns, as tightly as its own
// bounds do, those never act, and x_j = (r - sum_k p_k x_k) / a can be put in everywhere:
//
//     cost c_k -= (c_j / a) p_k,  constant += c_j r / a,   row q += -(a_q / a) row p,  sides of q += -(a_q / a) r
//
// Row p is an equation, or the signs of the costs and of the other duals tell which side of it is active: the reduced
// cost of 0 makes its dual (c_j - sum_q a_q y_q) / a, and where every term has the same sign, so has y_p. In the primal:
// the column wants to move one way, and row p alone stops it.
//
// The way back. x_j comes from the row as it stood and is basic; its reduced cost is 0, which gives the row's dual,
// y_p = (c_j - sum_q a_q y_q) / a; all other duals and reduced costs stay what they are. (Andersen and Andersen 1995,
// section 3.3; R. Fourer, D. M. Gay: Experience with a primal presolve algorithm, 1994.)
#include <cmath>

#include "frame/records.h"
#include "prep/presolve.h"

namespace {

constexpr double SMALLEST_SHARE = 0.1;  // of the column's largest element that a pivot must have
constexpr int MOST_ROWS = 20;           // of a column that may be substituted with fill
constexpr int FILL_ALLOWED = 3;         // elements more than are removed
constexpr int WORTH_COUNTING = 300;     // most pairs of a row and a column to look up

// Only a bound at the other end of the column enters what a row implies for one end.
bool rowImplies(const PresolveEntry &x, double side, bool fromUpper, double bound, const PresolveActivity &rest, double slack) {
  if ((fromUpper ? rest.leastInfinite : rest.mostInfinite) > 0) return false;
  const double room = slack * (1.0 + std::fabs(side));
  return fromUpper ? side - rest.least <= x.value * bound + room : side - rest.most >= x.value * bound - room;
}

bool impliedFree(const Presolve *p, int column) {
  if (!boundImplied(p, column, -1, false) || !boundImplied(p, column, 1, false)) return false;
  return boundImplied(p, column, -1, true) && boundImplied(p, column, 1, true);
}

// At most a few elements more than go? Counted where the worst case leaves it open and counting is cheap.
bool fillIsSmall(const Presolve *p, int row, int column) {
  const int64_t worst = int64_t(p->rowCount[row] - 1) * (p->columnCount[column] - 1);
  const int allowed = p->rowCount[row] + p->columnCount[column] - 1 + FILL_ALLOWED;
  if (worst <= allowed) return true;
  if (worst > WORTH_COUNTING) return false;
  int fill = 0;
  for (int e = p->columnFirst[column]; e >= 0; e = p->entry[e].columnNext) {
    if (p->entry[e].row == row) continue;
    for (int k = p->rowFirst[row]; k >= 0 && fill <= allowed; k = p->entry[k].rowNext)
      if (p->entry[k].column != column && findEntry(p, p->entry[e].row, p->entry[k].column) < 0) fill++;
  }
  return fill <= allowed;
}

// The element whose row is to define the column, the shortest that may; -1: none.
int choosePivot(const Presolve *p, int column, double *side) {
  double largest = 0.0;
  for (int e = p->columnFirst[column]; e >= 0; e = p->entry[e].columnNext)
    largest = std::fmax(largest, std::fabs(p->entry[e].value));
  int best = -1;
  for (int e = p->columnFirst[column]; e >= 0; e = p->entry[e].columnNext) {
    const PresolveEntry &x = p->entry[e];
    double r = p->rowUpper[x.row];
    if (std::fabs(x.value) < SMALLEST_SHARE * largest) continue;
    if (best >= 0 && p->rowCount[x.row] >= p->rowCount[p->entry[best].row]) continue;
    if (!isEquation(p, x.row) && !sideByDuals(p, e, &r)) continue;
    if (!fillIsSmall(p, x.row, column)) continue;
    best = e;
    *side = r;
  }
  return best >= 0 && impliedFree(p, column) ? best : -1;
}

// The row, times -a_q / a, goes into each other row of the column, and into the objective.
void putIn(Presolve *p, int row, int column, double a, double r) {
  const double cost = p->cost[column];
  p->constant += cost * r / a;
  for (int e = p->rowFirst[row]; cost != 0.0 && e >= 0; e = p->entry[e].rowNext)
    if (p->entry[e].column != column) changeCost(p, p->entry[e].column, p->cost[p->entry[e].column] - cost / a * p->entry[e].value);
  while (p->columnFirst[column] >= 0) {
    const PresolveEntry x = p->entry[p->columnFirst[column]];
    dropEntry(p, p->columnFirst[column]);
    if (x.row == row) continue;
    const double times = -x.value / a;
    if (r != 0.0) shiftSides(p, x.row, times * r);
    for (int e = p->rowFirst[row]; e >= 0; e = p->entry[e].rowNext)
      if (p->entry[e].column != column) addToElement(p, x.row, p->entry[e].column, times * p->entry[e].value);
  }
}

void logFreeColumn(Presolve *p, int type, int row, int column, double a, double side) {
  Reduction *r = logReduction(p, type, row, column);
  r->lower = r->upper = side;
  r->value1 = type == REDUCTION_FILL ? -p->cost[column] / a : a;
  r->value2 = type == REDUCTION_FILL ? side : -p->cost[column] / a;
  logRowContent(p, row);
  logColumnContent(p, column);
}

// Opens and closes the group of a column of two rows: bare numbers, the record above them has all that is needed.
void logSecondRow(Presolve *p, int row, int column) {
  logReduction(p, REDUCTION_FREE_OPEN, row, column);
  for (int e = p->columnFirst[column]; e >= 0; e = p->entry[e].columnNext)
    if (p->entry[e].row != row) logReduction(p, REDUCTION_FREE_CLOSE, p->entry[e].row, column)->value1 = p->entry[e].value;
}

int reduceColumns(Presolve *p, int queue, int mostRows, bool fill) {
  int done = 0, column = -1;
  while (takeColumn(p, queue, &column)) {
    const int count = p->columnCount[column];
    if (count == 0 || count > mostRows || p->columnKind[column] != COLUMN_CONTINUOUS) continue;
    if (count == 1 && p->cost[column] == 0.0) continue;  // its row may absorb it
    if (p->upper[column] - p->lower[column] <= PRESOLVE_ZERO) continue;
    double side = 0.0;
    const int e = choosePivot(p, column, &side);
    if (e < 0) {
      tightenRowOf(p, column);
      continue;
    }
    const int row = p->entry[e].row;
    const double a = p->entry[e].value;
    if (!fill && count == 2) logSecondRow(p, row, column);
    logFreeColumn(p, fill ? REDUCTION_FILL : REDUCTION_FREE_SINGLETON, row, column, a, side);
    putIn(p, row, column, a, side);
    removeRow(p, row, MARK_ELIMINATED);
    dropColumn(p, column, 1 + row);
    done++;
  }
  return done;
}

void undo(Postsolve *p, const Reduction *r, double side, double cost) {
  const int *row = columnIndices(p, r);
  const double *element = columnElements(p, r);
  double a = 0.0, rest = cost;
  for (int k = 0; k < r->columnCount; k++) {
    if (row[k] == r->row) a = element[k];
    else rest -= element[k] * p->y[row[k]];
  }
  p->x[r->column] = (side - contentActivity(p, r, r->column)) / a;
  p->d[r->column] = 0.0;
  p->columnBasic[r->column] = 1;
  p->rowBasic[r->row] = 0;
  p->y[r->row] = rest / a;
}

}  // namespace

bool boundImplied(const Presolve *p, int column, int end, bool prove) {
  const double bound = end > 0 ? p->upper[column] : p->lower[column], opposite = end > 0 ? p->lower[column] : p->upper[column];
  if (std::fabs(bound) >= QRT_INFINITE_TEST) return true;
  const bool bounded = std::fabs(opposite) < QRT_INFINITE_TEST;
  for (int e = p->columnFirst[column]; e >= 0; e = p->entry[e].columnNext) {
    const PresolveEntry &x = p->entry[e];
    const bool fromUpper = (x.value > 0.0) == (end > 0);  // a x_j <= upper side - least, a x_j >= lower side - most
    const double side = fromUpper ? p->rowUpper[x.row] : p->rowLower[x.row];
    if (std::fabs(side) >= QRT_INFINITE_TEST) continue;
    PresolveActivity rest = p->activity[x.row];
    (fromUpper ? rest.leastInfinite : rest.mostInfinite) -= !bounded;
    (fromUpper ? rest.least : rest.most) -= bounded ? x.value * opposite : 0.0;
    if (!rowImplies(x, side, fromUpper, bound, rest, 1.0e-6)) continue;
    if (!prove || rowImplies(x, side, fromUpper, bound, computeActivity(p, x.row, column), PRESOLVE_ZERO)) return true;
  }
  return false;
}

int reduceFreeColumns(Presolve *p) { return reduceColumns(p, COLUMNS_FREE, 2, false); }

int substituteFreeColumns(Presolve *p) {
  const int limit = qrtint.Ithreshold >= 3 ? qrtint.Ithreshold : 2;
  return reduceColumns(p, COLUMNS_SUBSTITUTE, limit < MOST_ROWS ? limit : MOST_ROWS, true);
}

void undoFreeColumn(Postsolve *p, const Reduction *r) {
  if (r->type == REDUCTION_FREE_SINGLETON) undo(p, r, r->upper, -r->value2 * r->value1);
}

void undoSubstitution(Postsolve *p, const Reduction *r) {
  double a = 1.0;
  for (int k = 0; k < r->columnCount; k++)
    if (columnIndices(p, r)[k] == r->row) a = columnElements(p, r)[k];
  undo(p, r, r->value2, -r->value1 * a);
}
