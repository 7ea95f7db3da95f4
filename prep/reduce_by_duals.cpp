// Dual analysis: bounds on row duals fix columns whose reduced cost they leave one sign, and turn rows whose dual cannot
// vanish into equations.
//
// In every optimum  d_j = c_j - sum_i a_ij y_i  is >= 0 where x_j has no upper bound and <= 0 where it has no lower one,
// and y_i >= 0 in a row without an upper side, <= 0 without a lower one. The first are constraints on y, from which
// tighter bounds on single y_i follow, and from those a range for each d_j. Where d_j >= 0 throughout and x_j has a lower
// bound, some optimum has it there: less of x_j can be made up for, at no higher cost, by the unlimited columns and
// sides that the proof rests on. (Andersen and Andersen 1995, section 3.3; J. Gondzio, Presolve analysis of linear
// programs prior to applying an interior point method, 1997.)
//
// A proof may not rest on what it takes away: else an optimal dual of the smaller program need not fit the column when it
// comes back. A column that lent a bound to some y_i is a source and stays during this call. A row that becomes an
// equation loses the sign of its dual, so it must not be one whose sign some bound rests on: those that do become
// equations then owe their bounds to sources and to signs that stay, however long the chain. The way back needs no more
// than the fixed columns.
#include <cmath>

#include "frame/guarded_memory.h"
#include "prep/presolve.h"

namespace {

constexpr int SWEEPS = 12;                // over all columns, at most, to tighten bounds on duals
constexpr double WORTHWHILE = 1.0e-3;     // relative gain below which a tighter bound is not taken
constexpr double LARGEST_DUAL = 1.0e8;    // implied bounds beyond it are left alone: they carry no digits
constexpr double CLEAR = 1.0e-9;          // relative size from which a reduced cost is not zero by rounding

struct DualBounds {
  double *low, *high;  // [m] bounds on y, +-1e31 for none
  char *found;         // [m] LOW, HIGH: the bound is from a column, not from the sides of the row
  char *support;       // [m] 1: a bound of another row rests on the sign that the sides of this one give its dual
  char *source;        // [n] 1: the column lent a bound
  char *due;           // [n] 1: to be looked at, since the dual of a row of it has changed
  int *changedIn;      // [m] sweep in which the row's dual last changed, so that its columns are due
  int sweep;
  double *lower, *upper;  // [n] bounds of the columns when the call began
};

enum : char { LOW = 1, HIGH = 2 };

struct Range {
  double least, most, size;  // +-1e31 where infinite; sum of the sizes of the terms
};

DualBounds newBounds(const Presolve *p) {
  DualBounds b;
  b.low = static_cast<double *>(temporaryAllocate(p->model, int64_t(p->m) + 1, sizeof(double)));
  b.high = static_cast<double *>(temporaryAllocate(p->model, int64_t(p->m) + 1, sizeof(double)));
  b.found = static_cast<char *>(temporaryAllocate(p->model, int64_t(p->m) + 1, 1));
  b.support = static_cast<char *>(temporaryAllocate(p->model, int64_t(p->m) + 1, 1));
  b.source = static_cast<char *>(temporaryAllocate(p->model, int64_t(p->n) + 1, 1));
  for (int i = 0; i < p->m; i++) {
    b.low[i] = hasUpper(p->rowUpper[i]) ? -QRT_INFINITY : 0.0;
    b.high[i] = hasLower(p->rowLower[i]) ? QRT_INFINITY : 0.0;
    b.found[i] = b.support[i] = 0;
  }
  b.due = static_cast<char *>(temporaryAllocate(p->model, int64_t(p->n) + 1, 1));
  b.changedIn = static_cast<int *>(temporaryAllocate(p->model, int64_t(p->m) + 1, sizeof(int)));
  b.sweep = 0;
  b.lower = static_cast<double *>(temporaryAllocate(p->model, int64_t(p->n) + 1, sizeof(double)));
  b.upper = static_cast<double *>(temporaryAllocate(p->model, int64_t(p->n) + 1, sizeof(double)));
  for (int i = 0; i < p->m; i++) b.changedIn[i] = 0;
  for (int j = 0; j < p->n; j++) {
    b.source[j] = 0;
    b.due[j] = 1;
    b.lower[j] = p->lower[j];
    b.upper[j] = p->upper[j];
  }
  return b;
}

// The most (sign 1) or the least (-1) that sum a_ij y_i of a column can be: its finite terms, and how many are infinite.
struct Extreme {
  double sum, size;
  int infinite, at;  // `at`: the entry of the last infinite term
};

Extreme extremeOf(const Presolve *p, const DualBounds &b, int column, int sign) {
  Extreme x = {0.0, 0.0, 0, -1};
  for (int e = p->columnFirst[column]; e >= 0; e = p->entry[e].columnNext) {
    const PresolveEntry &a = p->entry[e];
    const double y = sign * a.value > 0.0 ? b.high[a.row] : b.low[a.row];
    if (std::fabs(y) >= QRT_INFINITE_TEST) {
      x.infinite++;
      x.at = e;
      continue;
    }
    x.sum += a.value * y;
    x.size += std::fabs(a.value * y);
  }
  return x;
}

Range reducedCostRange(const Presolve *p, const DualBounds &b, int column) {
  const Extreme most = extremeOf(p, b, column, 1), least = extremeOf(p, b, column, -1);
  const double c = p->cost[column];
  return {most.infinite ? -QRT_INFINITY : c - most.sum, least.infinite ? QRT_INFINITY : c - least.sum,
          std::fabs(c) + std::fmax(most.size, least.size)};
}

// A tighter bound on the dual of a row. `upward` says that `value` is a lower bound of y.
bool offerBound(DualBounds *b, int row, bool upward, double value, bool take) {
  double *bound = upward ? &b->low[row] : &b->high[row];
  if (std::fabs(value) > LARGEST_DUAL) return false;
  if (std::fabs(*bound) < QRT_INFINITE_TEST) {
    const double gain = upward ? value - *bound : *bound - value;
    if (gain <= WORTHWHILE * (1.0 + std::fabs(*bound))) return false;
  }
  if (upward ? value > b->high[row] : value < b->low[row]) return false;  // no dual fits: not for this call to say
  if (!take) return true;
  *bound = value;
  b->found[row] = char(b->found[row] | (upward ? LOW : HIGH));
  return true;
}

// The bound of the dual of entry `of` came from the other entries of the column: note whose signs it rests on.
void markSupport(const Presolve *p, DualBounds *b, int column, int sign, int of) {
  for (int e = p->columnFirst[column]; e >= 0; e = p->entry[e].columnNext) {
    const PresolveEntry &a = p->entry[e];
    if (e != of && !(b->found[a.row] & (-sign * a.value > 0.0 ? HIGH : LOW))) b->support[a.row] = 1;
  }
}

// Once a sweep: the columns of a long row are not walked for each of its bounds.
void makeDue(const Presolve *p, DualBounds *b, int row) {
  if (b->changedIn[row] == b->sweep) return;
  b->changedIn[row] = b->sweep;
  for (int e = p->rowFirst[row]; e >= 0; e = p->entry[e].rowNext) b->due[p->entry[e].column] = 1;
}

// What sum a_ij y_i <= c_j (sign 1), or >= c_j (-1), says of each y_i, given the bounds of the others; without `take` only
// whether it says anything new.
bool lendBounds(const Presolve *p, DualBounds *b, int column, int sign, bool take) {
  const Extreme rest = extremeOf(p, *b, column, -sign);
  if (rest.infinite > 1) return false;
  bool lent = false;
  for (int e = p->columnFirst[column]; e >= 0; e = p->entry[e].columnNext) {
    const PresolveEntry &a = p->entry[e];
    if (rest.infinite == 1 && e != rest.at) continue;
    const double own = -sign * a.value > 0.0 ? b->high[a.row] : b->low[a.row];
    const double others = rest.infinite ? rest.sum : rest.sum - a.value * own;
    const double room = p->cost[column] - others;
    if (!rest.infinite && std::fabs(room) < CLEAR * (std::fabs(p->cost[column]) + rest.size)) continue;  // cancelled
    if (offerBound(b, a.row, sign * a.value < 0.0, room / a.value, take)) {
      lent = true;
      if (!take) return true;
      markSupport(p, b, column, sign, e);
      makeDue(p, b, a.row);
      if (!rest.infinite) break;  // the sum no longer holds
    }
  }
  return lent;
}

// A bound that rows imply holds nothing, so the constraint on y holds too; but then it has to go from the program, or an
// optimum of that may rest on it. `end`: 1 upper, -1 lower.
bool lendFrom(Presolve *p, DualBounds *b, int column, int end) {
  const double lower = p->lower[column], upper = p->upper[column];
  if (end > 0 ? hasUpper(upper) : hasLower(lower)) {
    if (!lendBounds(p, b, column, end, false) || !boundImplied(p, column, end, true)) return false;
    changeBounds(p, column, end > 0 ? lower : -QRT_INFINITY, end > 0 ? QRT_INFINITY : upper);
  }
  return lendBounds(p, b, column, end, true);
}

bool tightenDuals(Presolve *p, DualBounds *b) {
  bool any = false, changed = true;
  while (changed && b->sweep++ < SWEEPS) {
    changed = false;
    for (int j = 0; j < p->n; j++) {
      if (!b->due[j]) continue;
      b->due[j] = 0;
      if (!columnAlive(p, j) || p->columnCount[j] == 0 || p->columnKind[j] != COLUMN_CONTINUOUS) continue;
      if (p->upper[j] - p->lower[j] <= PRESOLVE_ZERO) continue;
      const bool lent = lendFrom(p, b, j, 1), lentToo = lendFrom(p, b, j, -1);
      if (lent || lentToo) b->source[j] = 1, changed = any = true;
    }
  }
  return any;
}

// Fixes the column if the range allows. 1 if it did, 0 if not, or PRESOLVE_UNBOUNDED.
int fixByRange(Presolve *p, const DualBounds &b, int column) {
  const Range d = reducedCostRange(p, b, column);
  const double clear = CLEAR * (1.0 + d.size), rounding = 1.0e-13 * d.size;
  if (d.least >= -rounding && hasLower(p->lower[column]) && mayRest(p, column, p->lower[column])) {
    fixColumn(p, column, p->lower[column], REDUCTION_AT_LOWER, MARK_AT_LOWER);
    return 1;
  }
  if (d.most <= rounding && hasUpper(p->upper[column]) && mayRest(p, column, p->upper[column])) {
    fixColumn(p, column, p->upper[column], REDUCTION_AT_UPPER, MARK_AT_UPPER);
    return 1;
  }
  if ((d.least > clear && !hasLower(p->lower[column])) || (d.most < -clear && !hasUpper(p->upper[column])))
    return PRESOLVE_UNBOUNDED;
  return 0;
}

int fixColumns(Presolve *p, const DualBounds &b) {
  int done = 0;
  for (int j = 0; j < p->n; j++) {
    if (!columnAlive(p, j) || p->columnCount[j] == 0 || b.source[j]) continue;
    const int result = fixByRange(p, b, j);
    if (result < 0) return result;
    done += result;
  }
  return done;
}

// The side at which the dual holds the row. Nothing is recorded: the row comes back by itself, its dual with the sign that
// the side wants.
int makeEquations(Presolve *p, const DualBounds &b) {
  int done = 0;
  for (int i = 0; i < p->m; i++) {
    if (!rowAlive(p, i) || b.support[i] || isEquation(p, i)) continue;
    const double lower = p->rowLower[i], upper = p->rowUpper[i];
    if (b.low[i] > CLEAR * 100.0 && b.low[i] < QRT_INFINITE_TEST && hasLower(lower)) changeSides(p, i, lower, lower), done++;
    else if (b.high[i] < -CLEAR * 100.0 && b.high[i] > -QRT_INFINITE_TEST && hasUpper(upper)) changeSides(p, i, upper, upper), done++;
  }
  return done;
}

// Bounds that went for the sake of a proof come back when nothing was proved: a simplex is better off with them.
void restoreBounds(Presolve *p, const DualBounds &b) {
  for (int j = 0; j < p->n; j++)
    if (b.source[j] && (p->lower[j] != b.lower[j] || p->upper[j] != b.upper[j])) changeBounds(p, j, b.lower[j], b.upper[j]);
}

// Is there anything that has changed since the last call?
bool somethingWaits(Presolve *p) {
  bool any = false;
  int column = -1;
  while (takeColumn(p, COLUMNS_DUAL, &column)) any = true;
  return any;
}

}  // namespace

int reduceByDuals(Presolve *p) {
  if (!somethingWaits(p)) return 0;
  DualBounds b = newBounds(p);
  int done = fixColumns(p, b);  // by the signs alone: needs no sources
  if (done < 0) return done;
  if (tightenDuals(p, &b)) {
    const int fixed = fixColumns(p, b);
    if (fixed < 0) return fixed;
    const int found = fixed + makeEquations(p, b);
    done += found;
    if (found == 0) {
      restoreBounds(p, b);
      somethingWaits(p);
    }
  }
  return done;
}
