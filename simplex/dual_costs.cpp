// Costs under the dual: random shifts against degeneracy, and the return of the true ones.
#include "simplex/dual.h"

#include <cmath>

#include "simplex/driver.h"

namespace {

// Sizes relative to the cost. The first is above the ratio test's own tolerance, or it would do nothing. The second is
// for every long run: reduced costs that stand well apart leave the ratio test fewer breaks that only rounding tells
// apart, and with it fewer small pivots (pilot87: a third less iterations; model10: no longer goes astray).
constexpr double DEFAULT_SIZE = 5.0e-7;
constexpr double LONG_RUN_SIZE = 1.0e-4;

// Shifts every cost of a nonbasic that stands at a bound to the side that keeps its reduced cost feasible; structurals by
// `base` * (1 + `share` * |cost|) times a random number, logicals by a thousandth of `base`.
void shiftAtRandom(SimplexWork *w, double base, double share) {
  for (int k = 1; k <= w->total; k++) {
    if (w->flags[k] & VAR_BASIC) continue;
    const int state = variableState(w->flags[k]);
    if (state != 1 && state != 2) continue;
    double size = base * (0.5 + 0.5 * nextRandom());
    size *= k > w->m ? 1.0 + share * std::fabs(w->cost[k]) : 1.0e-3;
    const double shift = state == 1 ? size : -size;
    w->cost[k] += shift;
    w->dj[k] += shift;
  }
  w->dual->costsShifted = 1;
}

// Costs of large size are shifted by more, but not in full proportion.
double growth(const SimplexWork *w) {
  double largest = 0.0;
  for (int k = w->m + 1; k <= w->total; k++) largest = std::fmax(largest, std::fabs(w->cost[k]));
  return largest > 100.0 ? std::sqrt(std::sqrt(largest)) : 1.0;
}

}  // namespace

void dualPerturb(SimplexWork *w) {
  const double asked = std::fabs(qrtlplp.RdualPerturbation);
  const bool byDefault = asked == 0.0 || asked == 1.0e-7;
  shiftAtRandom(w, byDefault ? DEFAULT_SIZE * growth(w) : asked, byDefault ? 1.0 : 0.01);
  w->dualPerturbation = 1.0e10;
  w->bestObjective = 1.0e51;
}

void dualSpread(SimplexWork *w) {
  w->dual->spread = 1;
  shiftAtRandom(w, LONG_RUN_SIZE * growth(w), 1.0);
}

int dualShiftInfeasible(SimplexWork *w, double limit) {
  const double tolerance = qrtlplp.Rtoldinf;
  int left = 0, shifted = 0;
  for (int k = 1; k <= w->total; k++) {
    const uint32_t flags = w->flags[k];
    if (flags & VAR_BASIC) continue;
    const double dj = w->dj[k];
    if (!((flags & VAR_UP) && dj < -tolerance) && !((flags & VAR_DOWN) && dj > tolerance)) continue;
    if (std::fabs(dj) > limit) {
      left++;
      continue;
    }
    // A little beyond zero, so that the next rounding does not undo it; a free variable has no side to be on.
    const double past = variableState(flags) == 3 ? 0.0 : tolerance * nextRandom();
    const double target = dj < 0.0 ? past : -past;
    w->cost[k] += target - dj;
    w->dj[k] = target;
    shifted++;
  }
  if (shifted > 0) w->dual->costsShifted = 1;
  qrtchdf(w);
  qrtobjv(w);
  return left;
}

bool dualRelease(SimplexWork *w) {
  DualWork *d = w->dual;
  if (!d) return false;
  const bool differed = d->costsShifted || d->phase == 1;
  leavePhaseOne(w);
  if (d->costsShifted)
    for (int k = 1; k <= w->total; k++) w->cost[k] = qrtlplp.Rmaxmin * w->objective[k];
  d->costsShifted = 0;
  w->dualPerturbation = 0.0;
  w->djState = 5;
  w->djRefresh = 999;
  return differed;
}
