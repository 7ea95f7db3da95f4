// The start of a values pass: does the basis handed in belong to the values handed in?
//
// The basic values follow from the nonbasic ones. Where the result lies outside its bounds and far from the value
// given, the basis is a bad one for this point: pushing values from there would begin by losing the point. The worst
// structurals then leave the basis with the value they were given, as nonbasics between their bounds, and logicals
// take their places. With all structurals outside, the point is kept whatever it was.
#include <cmath>

#include "simplex/driver.h"

namespace {

constexpr double MIN_DIFFERENCE = 0.001;
constexpr double BAD_SHARE = 1.0e4;        // of Rtolpinf: relative difference at which the basis is given up
constexpr int MOST_AT_ONCE = 100;

// Relative size of what the recomputation did to the structural in row i beyond its bounds; 0 when harmless.
double damage(const SimplexWork *w, int i) {
  const int k = w->list[i];
  if (k <= w->m) return 0.0;
  const double fresh = w->value[k], given = w->basicValue[i];
  const double difference = std::fabs(fresh - given), size = std::fmax(std::fabs(fresh), std::fabs(given));
  const double tolerance = qrtlplp.Rtolpinf;
  if (!(difference > MIN_DIFFERENCE)) return 0.0;
  if (fresh >= w->lower[k] - tolerance && fresh <= w->upper[k] + tolerance) return 0.0;
  if (!(difference > tolerance + 1.0e-11 * size)) return 0.0;
  return (difference - tolerance) / size;
}

}  // namespace

void rememberGivenValues(SimplexWork *w) {
  for (int i = 1; i <= w->m; i++) w->basicValue[i] = w->value[w->list[i]];
}

int throwOutBadStarts(SimplexWork *w) {
  double worst = 0.0;
  for (int i = 1; i <= w->m; i++) worst = std::fmax(worst, damage(w, i));
  if (!(worst > BAD_SHARE * qrtlplp.Rtolpinf)) return 0;
  const int allowed = w->m / 20 < MOST_AT_ONCE ? w->m / 20 + 1 : MOST_AT_ONCE;
  // The worst first, then those within a falling share of it, without a sort.
  int out = 0;
  for (double share = 0.6; out == 0 || (share > 0.05 && out < allowed); share *= 0.6)
    for (int i = 1; i <= w->m && out < allowed; i++) {
      const int k = w->list[i];
      if (!(w->flags[k] & VAR_BASIC) || !(damage(w, i) >= share * worst)) continue;
      w->flags[k] &= ~uint32_t(VAR_BASIC);
      out++;
    }
  for (int i = 1; i <= w->m; i++) w->value[w->list[i]] = w->basicValue[i];
  return out;
}
