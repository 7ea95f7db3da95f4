// The primal ratio test: which basic variable stops the entering one, and after what step.
//
// A row moves by -d * step * alpha. Its breaks, in the order it meets them when moving up (down is the mirror image):
//
//     below its lower bound    at lower it becomes feasible, then at upper infeasible again
//     within its bounds        at upper it becomes infeasible
//     above                    none: it was infeasible and only becomes more so
//
// Each break passed adds |alpha| times the infeasibility cost to the slope of the merit, which starts at -|dj|; the
// step may go on while the slope stays negative. Breaks are taken in groups: all rows whose break comes before the
// least break relaxed by the tolerance (Harris 1973), and from a group the row with the largest |alpha|.
//
// The first group is found by two sweeps over the window. When the step goes on beyond it, which is rare but in an
// infeasible phase, the rows ahead go into a heap by ratio, so that each further group costs its own size only.
#include "simplex/primal.h"

#include <algorithm>
#include <cmath>

namespace {

constexpr double LEAST_STEP = 1.0e-12;
// A step may use up this share of the tolerance: rounding must not carry a row over it.
constexpr double HARRIS_SHARE = 0.99;
constexpr double CLEARLY_LARGER = 1.01;      // a pivot this much larger needs no draw
constexpr double NEAR_TIE = 0.01;            // spread of the draw among near ties
constexpr double FIXED_PREFERENCE = 10.0;    // a fixed basic that leaves never comes back
constexpr int MOST_ROUNDS = 100;
constexpr double FIXED_RANGE = 1.0e-12;

// The state of the search over all groups.
struct Search {
  double tolerance;     // Rtolpinf
  double pivotFloor;    // ten times pivotZeroTol
  double slopeStart;    // -|dj|
  double breakCost;     // cost of one unit of infeasibility in the units of dj
  double goodSlope;     // sum of |alpha| of trusted breaks passed
  double smallSlope;    // the same of those below the pivot floor
  double smallBest;     // largest |alpha| among the latter
  int smallRow;
  double smallRatio;
  int row;              // accepted so far
  double theta, accepted;  // its ratio, its |alpha|
  double firstRatio;
  double lastRatio, area;  // for the mean slope
  bool stop;
};

double slopeNow(const Search *s) { return s->slopeStart + s->breakCost * (s->goodSlope + s->smallSlope); }

// Fills the window with the rows that reach a break within `range`; returns their number (qrtwinw).
int window(SimplexWork *w, double range) {
  PrimalWork *p = w->primal;
  const double direction = w->enterDir;
  const bool feasible = !primalInfeasible();
  const double t = qrtlplp.Rtolpinf;
  int count = 0;
  for (int s = 0; s < p->alpha.count; s++) {
    const int i = p->alpha.index[s];
    const double a = direction * p->alpha.value[i];
    const double size = std::fabs(a);
    if (size < 1.0e-11) continue;
    const uint32_t state = feasible ? 0u : w->basicStatus[i] & (ROW_ABOVE | ROW_BELOW);
    const double x = w->basicValue[i], lower = w->basicLower[i], upper = w->basicUpper[i];
    double dist;
    int infeasible = 0;
    if (a < 0.0) {  // moves up
      if (state == ROW_ABOVE) continue;
      if (state == ROW_BELOW)
        dist = lower - x, infeasible = 1;
      else if (upper < QRT_INFINITE_TEST)
        dist = upper - x;
      else
        continue;
    } else {
      if (state == ROW_BELOW) continue;
      if (state == ROW_ABOVE)
        dist = x - upper, infeasible = 1;
      else if (lower > -QRT_INFINITE_TEST)
        dist = x - lower;
      else
        continue;
    }
    if (size * range < dist - t) continue;
    Breakpoint *b = &p->window[count++];
    b->row = i;
    b->infeasible = infeasible;
    b->size = size;
    b->dist = dist;
    b->range = infinityRange(lower, upper);
    b->ratio = dist / size;
  }
  return count;
}

bool laterBreak(const Breakpoint &a, const Breakpoint &b) { return a.ratio > b.ratio; }

// Pass 2 for one row of the group: adds its slope, enters it into the choice of the group.
struct GroupChoice {
  double largest;   // |alpha| of the largest so far
  double score;
  int row;
  double size, ratio;
};
void consider(SimplexWork *w, Search *s, GroupChoice *g, const Breakpoint *b) {
  if (b->size < s->pivotFloor) {
    s->smallSlope += b->size;
    if (b->size > s->smallBest) s->smallBest = b->size, s->smallRow = b->row, s->smallRatio = b->ratio;
    return;
  }
  s->goodSlope += b->size;
  double score;
  if (w->basicStatus[b->row] & ROW_FIXED) {
    s->goodSlope += b->size;
    score = FIXED_PREFERENCE * b->size;
  } else if (b->size > CLEARLY_LARGER * g->largest) {
    score = b->size > g->score ? b->size : 0.0;
  } else {
    const double larger = b->size > g->largest ? b->size : g->largest;
    score = b->size + (nextRandom() - 0.5) * NEAR_TIE * larger;
  }
  if (b->size > g->largest) g->largest = b->size;
  if (score > g->score) g->score = score, g->row = b->row, g->size = b->size, g->ratio = b->ratio;
}

// Accepts, or not, the row a group offers; sets stop when the search ends here.
void settleGroup(SimplexWork *w, Search *s, const GroupChoice *g) {
  const bool feasible = !primalInfeasible();
  if (g->row == 0) {
    if (s->row == 0 && s->smallRow && s->slopeStart + s->breakCost * s->smallSlope >= 0.0) {
      s->row = s->smallRow, s->theta = s->smallRatio;
      s->stop = true;
      return;
    }
  } else {
    if (g->ratio >= 1.0e20) {
      s->stop = true;
      return;
    }
    if (s->row) {
      const bool worse = g->size < s->accepted && w->accuracyLevel != 0;
      if (worse || g->size < 0.01 * s->accepted || (feasible && s->accepted >= 0.01)) {
        s->stop = true;
        return;
      }
    } else {
      s->firstRatio = g->ratio;
    }
    s->row = g->row;
    s->theta = g->ratio;
    if (g->size > s->accepted) s->accepted = g->size;
  }
  if (slopeNow(s) >= -pricingTolerance(w)) s->stop = true;
}

// Next break of a row just passed; false when there is none.
bool advance(Breakpoint *b) {
  // An equation has both its breaks in one place: they were counted together.
  if (!b->infeasible || b->range >= QRT_INFINITE_TEST || b->range <= FIXED_RANGE) return false;
  b->infeasible = 0;
  b->dist += b->range;
  b->ratio = b->dist / b->size;
  return true;
}


// First group by sweeps; rows passed advance or leave the window. Returns the rows left, or -1 when `range` ends the
// step before any row.
int firstGroup(SimplexWork *w, Search *s, double range, int count) {
  Breakpoint *window = w->primal->window;
  double theta = range;
  for (int k = 0; k < count; k++) {
    const Breakpoint *b = &window[k];
    if (b->size * theta < b->dist) continue;
    const double relaxed = (b->dist + s->tolerance) / b->size;
    if (relaxed < theta) theta = relaxed > LEAST_STEP ? relaxed : LEAST_STEP;
  }
  if (range <= theta) return -1;
  GroupChoice g{};

  const double before = slopeNow(s);
  int left = 0;
  for (int k = 0; k < count; k++) {
    Breakpoint b = window[k];
    if (b.ratio <= theta) {
      consider(w, s, &g, &b);
      if (!advance(&b)) continue;
    }
    window[left++] = b;
  }
  settleGroup(w, s, &g);
  if (s->row) s->area += before * s->theta, s->lastRatio = s->theta;
  return left;
}

// Further groups from a heap. True when `range` ends the step.
bool laterGroups(SimplexWork *w, Search *s, double range, int count) {
  Breakpoint *heap = w->primal->window;
  std::make_heap(heap, heap + count, laterBreak);
  for (int round = 1; round < MOST_ROUNDS && !s->stop; round++) {
    if (count == 0 || heap[0].ratio >= range) return true;
    GroupChoice g{};

    const double before = slopeNow(s);
    double theta = range;
    int waiting = 0;  // advanced rows go back into the heap only after the group is complete
    Breakpoint *end = heap + count;
    int inHeap = count;
    while (inHeap > 0 && heap[0].ratio <= theta) {
      Breakpoint b = heap[0];
      const double relaxed = (b.dist + s->tolerance) / b.size;
      if (relaxed < theta) theta = relaxed > LEAST_STEP ? relaxed : LEAST_STEP;
      std::pop_heap(heap, heap + inHeap, laterBreak);
      inHeap--;
      consider(w, s, &g, &b);
      if (advance(&b)) {
        // The heap gives up slots at its end; those behind it hold the waiting rows.
        end[-1 - waiting] = b;
        waiting++;
      }
    }
    const int first = count - waiting;
    for (int k = 0; k < waiting; k++) heap[inHeap + k] = heap[first + k];
    for (int k = 0; k < waiting; k++) std::push_heap(heap, heap + inHeap + k + 1, laterBreak);
    count = inHeap + waiting;
    const int rowBefore = s->row;
    settleGroup(w, s, &g);
    if (s->row != rowBefore && s->theta > s->lastRatio) {
      s->area += before * (s->theta - s->lastRatio);
      s->lastRatio = s->theta;
    }
  }
  return false;
}

// The step that puts the leaving variable exactly on the bound it stops at.
void exactStep(SimplexWork *w, const Search *s, RatioChoice *choice) {
  const int i = s->row;
  const double t = s->tolerance;
  const double rate = w->enterDir * w->primal->alpha.value[i];
  const double lower = w->basicLower[i], upper = w->basicUpper[i];
  const double x = w->basicValue[i] - s->theta * rate;
  int atUpper;
  if (std::fabs(x - upper) <= t + 1.0e-12)
    atUpper = 1;
  else if (std::fabs(x - lower) <= t + 1.0e-12)
    atUpper = 0;
  else if (x <= lower + t)
    atUpper = 0;
  else if (x >= upper - t)
    atUpper = 1;
  else
    atUpper = upper - x < x - lower;
  choice->row = i;
  choice->leavesAtUpper = atUpper;
  choice->step = (w->basicValue[i] - (atUpper ? upper : lower)) / rate;
  choice->pivot = w->primal->alpha.value[i];
  choice->meanSlope = choice->step > 1.0e-15 ? s->area / choice->step : 0.0;
  choice->passedBreaks = s->theta > s->firstRatio;
}

// A column that only pivots below the floor stop, barred and let in again for the last time before it would be barred for
// good: an answer must come of it, or an optimum is claimed although the column pays. Rounding is no pivot, and the column
// then goes without end; anything else is one, and the factorisation that follows tells whether the basis can be used.
constexpr int LAST_ROUNDS = 4;
constexpr double ROUNDING = 1.0e-9;  // of the largest |alpha|

RatioResult lastResort(const SimplexWork *w, Search *s) {
  const SparseVector *alpha = &w->primal->alpha;
  double largest = 1.0;
  for (int k = 0; k < alpha->count; k++) largest = std::fmax(largest, std::fabs(alpha->value[alpha->index[k]]));
  if (s->smallBest < ROUNDING * largest) return RATIO_NONE;
  s->row = s->smallRow, s->theta = s->smallRatio;
  return RATIO_ROW;
}

}  // namespace

RatioResult qrtczrp(SimplexWork *w, double range, RatioChoice *choice) {
  *choice = RatioChoice{};
  if (range > 1.0e20) range = 1.0e20;
  Search s{};
  s.tolerance = HARRIS_SHARE * qrtlplp.Rtolpinf;
  s.pivotFloor = 10.0 * w->pivotZeroTol;
  s.slopeStart = -std::fabs(w->enterDj);
  s.breakCost = primalInfeasible() ? 1.0 : qrtlplp.Rpweight > 0.0 ? 1.0 / qrtlplp.Rpweight : 1.0e30;
  if (w->priceMode == PRICE_VALUES && s.breakCost < 1.0e9) s.breakCost = 1.0e9;
  int count = window(w, range);
  const int left = firstGroup(w, &s, range, count);
  bool rangeEnds = left < 0;
  if (!rangeEnds && !s.stop) rangeEnds = laterGroups(w, &s, range, left);
  if (rangeEnds) {
    if (range < 1.0e20) {
      choice->step = range;
      return RATIO_FLIP;
    }
    if (s.row == 0 && s.smallRow == 0) return RATIO_NONE;
    if (s.row == 0 && w->state.rejectRounds >= LAST_ROUNDS && !primalInfeasible()) {
      if (lastResort(w, &s) == RATIO_NONE) return RATIO_NONE;
      exactStep(w, &s, choice);
      return RATIO_ROW;
    }
  }
  if (s.row == 0) return RATIO_SMALL_PIVOT;
  exactStep(w, &s, choice);
  double floor = s.pivotFloor;
  if (w->state.rejectRounds >= LAST_ROUNDS)
    floor *= 0.1;
  else if (!primalInfeasible() && choice->passedBreaks)
    floor *= 10.0;
  return std::fabs(choice->pivot) < floor ? RATIO_SMALL_PIVOT : RATIO_ROW;
}
