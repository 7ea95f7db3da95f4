// The cutoff of the dual (Rbbcutoff): when no point can be better than it, whatever the costs in force are.
//
// For any multipliers y and any point x of the rows, c'x = d'x with d = c - A'y, so every feasible z has
//
//     c'z = d'z >= c'x + sum over k of (least of d_k z_k within its bounds, less d_k x_k)
//
// and the basic point x of the dual, feasible or not, gives a bound on the optimum by the true costs c. The terms are zero but
// for nonbasics whose true d has the wrong sign and for basics whose costs are shifted: what the shifts have cost is what the
// bound loses. A wrong sign against an open side leaves no bound, unless it is within the tolerance all of this works with.
#include <cmath>

#include "simplex/driver.h"
#include "simplex/dual.h"

namespace {

constexpr int PATIENCE = 5;         // iterations after a bound that fell short
constexpr double HOPEFUL = 1.0e-6;  // the objective carried from step to step may be off by this, relative
constexpr int MOST_RETURNS = 3;     // to the true costs for the sake of the cutoff

// What the bound loses by variable k, at or below 0 where x_k is inside its bounds; -infinity where there is no bound.
double lossOf(const SimplexWork *w, int k, double x, double d) {
  if (d == 0.0) return 0.0;
  const double bound = d > 0.0 ? w->lower[k] : w->upper[k];
  if (std::fabs(bound) < QRT_INFINITE_TEST) return d * (bound - x);
  return std::fabs(d) <= qrtlplp.Rtoldinf ? 0.0 : -QRT_INFINITY;
}

double provenBound(const SimplexWork *w) {
  double bound = -qrtlplp.Rmaxmin * qrtlplp.RobjectiveOffset;
  for (int k = 1; k <= w->total; k++) {
    const double cost = qrtlplp.Rmaxmin * w->objective[k], shift = w->cost[k] - cost;
    const bool basic = (w->flags[k] & VAR_BASIC) != 0;
    const double x = basic ? w->basicValue[w->where[k]] : w->value[k];
    bound += cost * x;
    // Where a variable cannot move its reduced cost is neither kept up nor wanted.
    if (!basic && !(w->flags[k] & VAR_STATE)) continue;
    bound += lossOf(w, k, x, (basic ? 0.0 : w->dj[k]) - shift);
    if (bound <= -QRT_INFINITE_TEST) return -QRT_INFINITY;
  }
  return bound;
}

bool hopeful(const SimplexWork *w) {
  if (w->dual->phase != 2 || w->rejectedCount > 0) return false;
  const double objective = qrtlplp.Rmaxmin * qrtlplp.Robjvalue;
  return qrtint3.Rbbcutoff < objective + HOPEFUL * (1.0 + std::fabs(objective));
}

}  // namespace

bool dualCutoff_passed(SimplexWork *w) {
  DualWork *d = w->dual;
  if (qrtlplp.Iiternum < d->cutoffWait || !hopeful(w)) return false;
  if (qrtint3.Rbbcutoff < provenBound(w)) return true;
  d->cutoffWait = qrtlplp.Iiternum + PATIENCE;
  return false;
}

bool dualCutoff_wantsTrueCosts(SimplexWork *w) {
  DualWork *d = w->dual;
  if (!d->costsShifted || d->cutoffReturns >= MOST_RETURNS || !hopeful(w)) return false;
  if (!(qrtint3.Rbbcutoff < qrtlplp.Rmaxmin * qrtlplp.Robjvalue)) return false;
  d->cutoffReturns++;
  d->cutoffWait = 0;
  return true;
}
