// Costs under the dual: random shifts against degeneracy, and the return of the true ones.
#include "simplex/dual.h"

#include <cmath>

#include "simplex/driver.h"

namespace {

// The largest shift relative to the size of the cost: above the ratio test's own tolerance, or it would do nothing.
constexpr double DEFAULT_SIZE = 5.0e-7;

}  // namespace

void dualPerturb(SimplexWork *w) {
  DualWork *d = dualWork(w);
  const double asked = std::fabs(qrtlplp.RdualPerturbation);
  const bool byDefault = asked == 0.0 || asked == 1.0e-7;
  double largest = 0.0;
  for (int k = w->m + 1; k <= w->total; k++) largest = std::fmax(largest, std::fabs(w->cost[k]));
  // Costs of large size are shifted by more, but not in full proportion.
  const double base = byDefault ? DEFAULT_SIZE * (largest > 100.0 ? std::sqrt(std::sqrt(largest)) : 1.0) : asked;
  for (int k = 1; k <= w->total; k++) {
    if (w->flags[k] & VAR_BASIC) continue;
    const int state = variableState(w->flags[k]);
    if (state != 1 && state != 2) continue;
    double size = base * (0.5 + 0.5 * nextRandom());
    size *= k > w->m ? (byDefault ? 1.0 + std::fabs(w->cost[k]) : 1.0 + 0.01 * std::fabs(w->cost[k])) : 1.0e-3;
    const double shift = state == 1 ? size : -size;
    w->cost[k] += shift;
    w->dj[k] += shift;
  }
  d->costsShifted = 1;
  w->dualPerturbation = 1.0e10;
  w->bestObjective = 1.0e51;
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
