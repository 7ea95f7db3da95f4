// Bounds shifted at random while degenerate steps stall the primal (qrtprtb), and their way back.
//
// The finite bounds of basic variables are widened by a random amount relative to their size. The present point stays
// feasible where it is, and ties in the ratio test, which are what cycling lives on, become differences. Nonbasics
// keep theirs: to move them would shift every equation a little off its right-hand side, and a degenerate basis full
// of equations would have as many infeasible rows to repair as it has rows.
#include <cmath>

#include "frame/messages.h"
#include "simplex/driver.h"

namespace {

constexpr double DEFAULT_SIZE = 1.0e-6;    // two powers of ten above the feasibility tolerance
constexpr double LARGEST_SIZE = 1.0e-3;

// The minimal standard generator in doubles; a draw lies in (0, 1].
double draw(double *seed) {
  const double product = 16807.0 * *seed;
  *seed = product - std::floor(product / 2147483647.0) * 2147483647.0;
  return std::floor(8192.0 * *seed / 2147483647.0 + 1.0) / 8192.0;
}

double boundSize(double lower, double upper) {
  const double a = std::fabs(lower) < QRT_INFINITE_TEST ? std::fabs(lower) : 0.0;
  const double b = std::fabs(upper) < QRT_INFINITE_TEST ? std::fabs(upper) : 0.0;
  return std::fmin(a > 0.0 ? a : b, b > 0.0 ? b : a);
}

void widen(SimplexWork *w, int k) {
  const double shift = w->shift[k];
  if (w->trueLower[k] > -QRT_INFINITE_TEST) w->lower[k] = w->trueLower[k] - shift;
  if (w->trueUpper[k] < QRT_INFINITE_TEST) w->upper[k] = w->trueUpper[k] + shift;
}

// A nonbasic that stood at a bound follows it.
void followBound(SimplexWork *w, int k) {
  if (w->flags[k] & VAR_BASIC) return;
  const int state = variableState(w->flags[k]);
  if (state == 1) w->value[k] = w->lower[k];
  else if (state == 2) w->value[k] = w->upper[k];
  else if (w->value[k] < w->lower[k]) w->value[k] = w->lower[k];
  else if (w->value[k] > w->upper[k]) w->value[k] = w->upper[k];
}

}  // namespace

void applyShifts(SimplexWork *w) {
  for (int k = 1; k <= w->total; k++) {
    if (w->shift[k] == 0.0) continue;
    widen(w, k);
    followBound(w, k);
  }
}

void qrtprtb(SimplexWork *w) {
  if (w->primalPerturbation == 0.0) w->primalPerturbation = 1000.0 * qrtlplp.Iiternum + 1.0e7;
  double seed = w->primalPerturbation;
  const double asked = std::fabs(qrtlplp.RprimalPerturbation);
  const double size = asked == 0.0 ? DEFAULT_SIZE : std::fmin(asked, LARGEST_SIZE);
  for (int k = 1; k <= w->total; k++) {
    w->shift[k] = 0.0;
    if (!(w->flags[k] & VAR_BASIC) || w->trueUpper[k] - w->trueLower[k] <= 1.0e-12) continue;
    const double relative = size * (1.0 + boundSize(w->trueLower[k], w->trueUpper[k]));
    w->shift[k] = relative * (0.5 + 0.5 * draw(&seed));
  }
  w->primalPerturbation = seed;
  applyShifts(w);
  w->bestObjective = 1.0e51;
  w->djState = 5;
  w->djRefresh = 999;
}

void removePerturbation(SimplexWork *w) {
  if (w->primalPerturbation == 0.0) return;
  w->primalPerturbation = 0.0;
  for (int k = 1; k <= w->total; k++) {
    if (w->shift[k] == 0.0) continue;
    w->shift[k] = 0.0;
    w->lower[k] = w->trueLower[k];
    w->upper[k] = w->trueUpper[k];
    followBound(w, k);
    if (!(w->flags[k] & (VAR_BASIC | VAR_REJECTED)))
      w->flags[k] = (w->flags[k] & ~uint32_t(VAR_STATE)) | uint32_t(stateOfValue(w, k)) << VAR_STATE_SHIFT;
  }
  qrtrsrt(w);
  w->djState = 5;
  w->djRefresh = 999;
}
