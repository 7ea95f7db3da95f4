// Bounds, values and states of all variables at the start of a solve (qrtclbs), and the tidying of nonbasic values
// before the first recomputation.
#include "simplex/driver.h"

#include <cmath>

#include "frame/messages.h"

namespace {

// Names variable k as the caller knows it: the bounds of a logical are those of its row.
void reportCrossedBounds(const SimplexWork *w, int k) {
  char name[128];
  const int length = variableName(w, k, name);
  const bool row = k <= w->m;
  const double s = w->varScale[k];
  const double low = (row ? -w->upper[k] : w->lower[k]) * s, high = (row ? -w->lower[k] : w->upper[k]) * s;
  messageC(1, name, length);
  qrtmesg_no_d2(MSG_BAD_BOUNDS, low, high);
}

double distance(double a, double b) { return std::fabs(b) >= QRT_INFINITE_TEST ? QRT_INFINITY : std::fabs(a - b); }

// The bound a nonbasic value belongs to. `side` is the state it had: it breaks ties where the value names no bound.
double boundFor(double value, double lower, double upper, int side) {
  const bool hasLower = lower > -QRT_INFINITE_TEST, hasUpper = upper < QRT_INFINITE_TEST;
  if (!hasLower && !hasUpper) return 0.0;
  if (!hasUpper) return lower;
  if (!hasLower) return upper;
  const double tolerance = 2.0 * qrtlplp.Rtolpinf;
  if (value <= lower + tolerance && value < upper - tolerance) return lower;
  if (value >= upper - tolerance && value > lower + tolerance) return upper;
  if (side == 1) return lower;
  if (side == 2) return upper;
  return distance(value, lower) <= distance(value, upper) ? lower : upper;
}

}  // namespace

void qrtclbs(SimplexWork *w) {
  const double tolerance = qrtlplp.Rtolpinf;
  int crossed = 0;
  for (int k = 1; k <= w->total; k++) {
    if (w->lower[k] > w->upper[k]) {
      if (w->lower[k] > w->upper[k] + tolerance) {
        reportCrossedBounds(w, k);
        crossed++;
      } else {
        w->upper[k] = w->lower[k];
        w->trueUpper[k] = w->trueLower[k];
      }
    }
    if (!(std::fabs(w->value[k]) < QRT_INFINITE_TEST)) w->value[k] = boundFor(0.0, w->lower[k], w->upper[k], 0);
  }
  if (crossed > 0) qrtmesg_no_q1(MSG_STOPPED_ON_ERRORS, "QRTCLBS", -1);
}

void tidyNonbasics(SimplexWork *w, int cleaning) {
  const bool keepInside = w->priceMode == PRICE_VALUES && cleaning == 1;
  for (int k = 1; k <= w->total; k++) {
    if (w->flags[k] & VAR_BASIC) continue;
    const int side = variableState(w->flags[k]);
    double value = w->value[k];
    const double lower = w->lower[k], upper = w->upper[k];
    if (upper - lower <= 1.0e-12) {
      value = lower;
    } else if (cleaning > 0) {
      // A value outside its bounds always comes back: the loops need every nonbasic inside.
      if (value < lower) value = lower;
      if (value > upper) value = upper;
      if (!keepInside) value = boundFor(value, lower, upper, side);
    } else {
      if (value < lower) value = lower;
      if (value > upper) value = upper;
    }
    w->value[k] = value;
    if (w->flags[k] & VAR_REJECTED) {
      w->flags[k] &= ~uint32_t(VAR_STATE);
      continue;
    }
    w->flags[k] = (w->flags[k] & ~uint32_t(VAR_STATE)) | uint32_t(stateOfValue(w, k)) << VAR_STATE_SHIFT;
    // Within the tolerance of a bound means at it; exactly at it keeps residuals honest.
    if (variableState(w->flags[k]) == 1) w->value[k] = lower;
    if (variableState(w->flags[k]) == 2) w->value[k] = upper;
  }
}

