// Bounds that rows imply on their columns. They are kept beside the true ones: they may prove that there is no solution
// and tighten integer columns, but never go out as bounds of the reduced model, where they would make vertices degenerate
// and reduced costs that belong to rows.
#include "frame/records.h"
#include "prep/presolve_run.h"

namespace {

constexpr double INFINITE_TERM = 1.0e15;     // a bound of this size gives no information
constexpr double RELAXATION = 0.001;
constexpr double SURE_GAP = 1.0e-7;          // a chain of bounds carries the rounding of all its rows
constexpr double INTEGER_MARGIN = 1.0e-6;    // least distance from an integer for a rounding to count

bool infinite(double bound) { return std::fabs(bound) >= INFINITE_TERM; }

// Sum of the other columns' finite terms, when at most this column's own is infinite; `at` is this column's bound.
bool restOf(double sum, int infinities, double element, double at, double *rest) {
  if (infinite(at)) {
    *rest = sum;
    return infinities == 1;
  }
  *rest = sum - element * at;
  return infinities == 0;
}

PresolveActivity workActivity(const Presolve *p, int i) {
  PresolveActivity a = {0.0, 0.0, 0, 0};
  for (int e = p->rowFirst[i]; e >= 0; e = p->entry[e].rowNext) {
    const double v = p->entry[e].value, l = p->workLower[p->entry[e].column], u = p->workUpper[p->entry[e].column];
    const double low = v > 0.0 ? l : u, high = v > 0.0 ? u : l;
    if (infinite(low)) a.leastInfinite++;
    else a.least += v * low;
    if (infinite(high)) a.mostInfinite++;
    else a.most += v * high;
  }
  return a;
}

// Tightens one column by one row; the row's activity follows.
int tightenColumn(Presolve *p, int i, const PresolveEntry &x, PresolveActivity *a) {
  const int j = x.column;
  const double v = x.value, l = p->workLower[j], u = p->workUpper[j];
  const double low = v > 0.0 ? l : u, high = v > 0.0 ? u : l;
  double newLow = low, newHigh = high, rest;  // in the direction of the row's activity
  const double sign = v > 0.0 ? 1.0 : -1.0;
  if (hasUpper(p->rowUpper[i]) && restOf(a->least, a->leastInfinite, v, low, &rest)) {
    const double bound = (p->rowUpper[i] - rest) / v;
    if (sign * bound < sign * high - PRESOLVE_ZERO * std::fmax(1.0, std::fabs(bound)) && !infinite(bound)) newHigh = bound;
  }
  if (hasLower(p->rowLower[i]) && restOf(a->most, a->mostInfinite, v, high, &rest)) {
    const double bound = (p->rowLower[i] - rest) / v;
    if (sign * bound > sign * low + PRESOLVE_ZERO * std::fmax(1.0, std::fabs(bound)) && !infinite(bound)) newLow = bound;
  }
  if (newLow == low && newHigh == high) return 0;
  if (infinite(low) && !infinite(newLow)) a->leastInfinite--;
  if (infinite(high) && !infinite(newHigh)) a->mostInfinite--;
  a->least += v * ((infinite(newLow) ? 0.0 : newLow) - (infinite(low) ? 0.0 : low));
  a->most += v * ((infinite(newHigh) ? 0.0 : newHigh) - (infinite(high) ? 0.0 : high));
  p->workLower[j] = v > 0.0 ? newLow : newHigh;
  p->workUpper[j] = v > 0.0 ? newHigh : newLow;
  const double gap = p->workLower[j] - p->workUpper[j];
  if (gap <= 0.0) return 0;
  const double size = std::fmax(1.0, std::fmax(std::fabs(newLow), std::fabs(newHigh)));
  if (gap > std::fmax(p->tolerance, SURE_GAP) * size && gap * std::fabs(v) > p->tolerance * size) return foundInfeasible(p, gap, j, i);
  // Bounds that only just cross meet, and the row's sums start afresh.
  const double meet = 0.5 * (p->workLower[j] + p->workUpper[j]);
  p->workLower[j] = p->workUpper[j] = meet;
  *a = workActivity(p, i);
  return 0;
}

// Integer columns take what was found, rounded.
int exportIntegers(Presolve *p) {
  int done = 0;
  for (int j = 0; j < p->n; j++) {
    if (!columnAlive(p, j) || p->columnKind[j] != COLUMN_INTEGER) continue;
    const double lower = p->workLower[j], upper = p->workUpper[j];
    const double low = infinite(lower) ? p->lower[j] : std::fmax(p->lower[j], std::ceil(lower - INTEGER_MARGIN));
    const double high = infinite(upper) ? p->upper[j] : std::fmin(p->upper[j], std::floor(upper + INTEGER_MARGIN));
    if (low <= p->lower[j] && high >= p->upper[j]) continue;
    if (low > high) return foundInfeasible(p, low - high, j, -1);
    changeBounds(p, j, low, high);
    done++;
  }
  return done;
}

// Gives the work bounds a margin that covers the tolerance they were found with.
void relax(Presolve *p) {
  for (int j = 0; j < p->n; j++) {
    if (!infinite(p->workLower[j])) p->workLower[j] = std::fmax(p->lower[j], p->workLower[j] - RELAXATION * (std::fabs(p->workLower[j]) + 1.0));
    if (!infinite(p->workUpper[j])) p->workUpper[j] = std::fmin(p->upper[j], p->workUpper[j] + RELAXATION * (std::fabs(p->workUpper[j]) + 1.0));
  }
}

}  // namespace

int tightenBounds(Presolve *p) {
  if (!(p->flags & PRESOLVE_FLAG_KEEP_BOUNDS))
    for (int j = 0; j < p->n; j++) {
      p->workLower[j] = p->lower[j];
      p->workUpper[j] = p->upper[j];
    }
  for (int i = 0; i < p->m; i++) {
    if (!rowAlive(p, i)) continue;
    PresolveActivity a = workActivity(p, i);
    if ((a.leastInfinite > 1 || !hasUpper(p->rowUpper[i])) && (a.mostInfinite > 1 || !hasLower(p->rowLower[i]))) continue;
    for (int e = p->rowFirst[i]; e >= 0; e = p->entry[e].rowNext)
      if (tightenColumn(p, i, p->entry[e], &a) < 0) return PRESOLVE_INFEASIBLE;
  }
  const int done = exportIntegers(p);
  if (p->flags & PRESOLVE_FLAG_RELAX) relax(p);
  return done;
}
