// The dual ratio test with bound flipping (qrtczcf): how far the reduced costs may go, and which variable stops them.
//
// Along the step every nonbasic j whose reduced cost falls towards zero has a break at dist_j / size_j. Beyond it a boxed
// variable simply goes to its other bound and the dual objective keeps rising, more slowly by size_j * range_j, so the
// step may pass breaks while its slope stays positive (Maros 2003). Breaks are taken in groups that lie within the
// dual tolerance of one another (Harris 1973), and within the last groups the largest pivot wins (Koberstein 2005).
#include "simplex/dual.h"

#include <cmath>
#include <utility>

namespace {

constexpr double FRESH_PIVOT = 1.0e-9;   // smallest row entry looked at right after a factorisation
constexpr double LATER_PIVOT = 1.0e-7;   // and when updates have added their noise
constexpr double TRUSTED_PIVOT = 1.0e-5; // below this only a fresh factor is believed
constexpr double FREE_PREFERENCE = 10.0;
constexpr double GOOD_SHARE = 0.1;       // a pivot of this share of the largest is good enough

void addBreak(DualWork *d, const SimplexWork *w, int *count, int k, double a, double sign, double floor) {
  const double size = std::fabs(a);
  if (size <= floor) return;
  const int state = variableState(w->flags[k]);
  const double along = sign * a, dj = w->dj[k];
  double dist;
  if (state == 3) dist = 0.0;
  else if (state == 1 && along > 0.0) dist = dj;
  else if (state == 2 && along < 0.0) dist = -dj;
  else return;
  DualBreak *b = &d->breaks[(*count)++];
  b->var = k;
  b->size = state == 3 ? size * FREE_PREFERENCE : size;
  b->dist = dist;
}

int collectBreaks(SimplexWork *w, double sign, double floor) {
  DualWork *d = w->dual;
  const SparseVector *row = &w->primal->pivotRow;
  int count = 0;
  if (row->count >= 0) {
    for (int t = 0; t < row->count; t++) addBreak(d, w, &count, row->index[t], row->value[row->index[t]], sign, floor);
  } else {
    for (int place = w->m + 1; place <= w->partEndLower; place++) {
      const int k = w->list[place];
      if (row->value[k] != 0.0) addBreak(d, w, &count, k, row->value[k], sign, floor);
    }
  }
  return count;
}

// The step at which the reduced cost is wrong by the tolerance. One that is wrong already has the less of it left: what
// the steps take out of the tolerance must not add up.
double relaxedStep(const DualBreak *b, double tolerance) {
  const double room = b->dist + tolerance;
  return room > 0.0 ? room / b->size : 0.0;
}

// What the dual objective's slope loses when the step goes beyond a break.
double slopeTaken(const SimplexWork *w, const DualBreak *b) {
  const double range = infinityRange(w->lower[b->var], w->upper[b->var]);
  return range >= QRT_INFINITE_TEST ? QRT_INFINITY : b->size * range;
}

// Moves the breaks within `step` from [from, count) to the front; returns the end of those moved. `next` becomes the
// least relaxed step among the rest, `slope` loses what the moved ones take.
int takeWithin(const SimplexWork *w, int from, int count, double step, double tolerance, double *slope, double *next) {
  DualBreak *breaks = w->dual->breaks;
  *next = QRT_INFINITY;
  int end = from;
  for (int t = from; t < count; t++) {
    DualBreak *b = &breaks[t];
    if (b->dist <= step * b->size) {
      *slope -= slopeTaken(w, b);
      std::swap(breaks[end++], *b);
    } else {
      const double relaxed = relaxedStep(b, tolerance);
      if (relaxed < *next) *next = relaxed;
    }
  }
  return end;
}

double leastRelaxed(const DualBreak *breaks, int count, double tolerance) {
  double least = QRT_INFINITY;
  for (int t = 0; t < count; t++) {
    const double relaxed = relaxedStep(&breaks[t], tolerance);
    if (relaxed < least) least = relaxed;
  }
  return least;
}

// A step that reached nothing, because rounding ate the tolerance, is made a little longer.
double longerStep(double step) { return step * (1.0 + 1.0e-9) + 1.0e-12; }

// A few rounds with steps growing tenfold leave only the breaks that the groups can reach.
int narrow(const SimplexWork *w, int count, double distance, double tolerance) {
  double slope = distance, next = leastRelaxed(w->dual->breaks, count, tolerance);
  int end = 0;
  while (end < count && slope > 0.0 && next < QRT_INFINITY)
    end = takeWithin(w, end, count, 10.0 * next + 1.0e-7, tolerance, &slope, &next);
  return end;
}

// Ends of the groups into groupEnd[1..], groupEnd[0] = 0; returns their number.
int formGroups(const SimplexWork *w, int count, double distance, double tolerance) {
  DualWork *d = w->dual;
  double slope = distance, next = leastRelaxed(d->breaks, count, tolerance);
  int groups = 0, end = 0;
  d->groupEnd[0] = 0;
  while (end < count && slope > 0.0 && next < QRT_INFINITY) {
    const int before = end;
    const double step = next;
    end = takeWithin(w, end, count, step, tolerance, &slope, &next);
    if (end > before) d->groupEnd[++groups] = end;
    else next = longerStep(step);
  }
  return groups;
}

// The break to stop at: in the latest group with a pivot that compares well with the largest met.
int chooseBreak(const DualWork *d, int groups, int *group) {
  double largest = 0.0;
  for (int t = 0; t < d->groupEnd[groups]; t++)
    if (d->breaks[t].size > largest) largest = d->breaks[t].size;
  const double wanted = std::fmin(GOOD_SHARE * largest, 1.0);
  int fallback = -1, fallbackGroup = 0;
  for (int g = groups; g >= 1; g--) {
    int best = -1;
    for (int t = d->groupEnd[g - 1]; t < d->groupEnd[g]; t++) {
      const DualBreak &b = d->breaks[t];
      // Equal pivots fall to the lower number, so that a solve repeats.
      if (best < 0 || b.size > d->breaks[best].size || (b.size == d->breaks[best].size && b.var < d->breaks[best].var))
        best = t;
    }
    if (best < 0) continue;
    if (d->breaks[best].size >= wanted) {
      *group = g;
      return best;
    }
    if (fallback < 0 || d->breaks[best].size > d->breaks[fallback].size) fallback = best, fallbackGroup = g;
  }
  *group = fallbackGroup;
  return fallback;
}

}  // namespace

DualRatio qrtczcf(SimplexWork *w, double sign, double distance) {
  DualWork *d = w->dual;
  const bool fresh = w->updateCount < 10;
  const double tolerance = w->djTolerance;
  d->flipCount = 0;
  int count = collectBreaks(w, sign, fresh ? FRESH_PIVOT : LATER_PIVOT);
  if (count == 0) return DUAL_UNBOUNDED;
  count = narrow(w, count, distance, tolerance);
  const int groups = formGroups(w, count, distance, tolerance);
  int group;
  const int chosen = chooseBreak(d, groups, &group);
  if (chosen < 0) return DUAL_SMALL_PIVOT;  // numbers beyond all reason
  const int k = d->breaks[chosen].var;
  const double pivot = w->primal->pivotRow.value[k];
  if (std::fabs(pivot) < TRUSTED_PIVOT && w->updateCount > 0) return DUAL_SMALL_PIVOT;
  for (int t = 0; t < d->groupEnd[group - 1]; t++) d->flips[d->flipCount++] = d->breaks[t].var;
  w->enterVar = k;
  w->pivotValue = pivot;
  w->enterDj = w->dj[k];
  return DUAL_ENTERS;
}
