// The last look at an optimum before it is told: true reduced costs and true bounds in the caller's units, those of barred
// columns and of widened bounds as well, which the loops leave out.
#include <cmath>

#include "simplex/driver.h"

namespace {

constexpr double PATIENCE = 10.0;    // times the tolerances: what a clean-up after scaling leaves is no false optimum
constexpr double ROUNDING = 1.0e-12;  // of the terms of a sum

double logicalTerms(const SimplexWork *w, int i) {
  double sum = 0.0;
  for (int e = w->rowStart[i]; e < w->rowStart[i + 1]; e++) sum += std::fabs(w->rowValue[e] * w->value[w->rowVar[e]]);
  return sum;
}

double costTerms(const SimplexWork *w, int k) {
  const int *row;
  const double *element;
  double sum = std::fabs(w->cost[k]);
  for (int e = variableColumn(w, k, &row, &element) - 1; e >= 0; e--) sum += std::fabs(element[e] * w->y[row[e]]);
  return sum;
}

// Nonbasic k would gain by a step that its true bounds allow.
bool pays(const SimplexWork *w, int k) {
  const double d = w->dj[k], low = w->trueLower[k], high = w->trueUpper[k];
  // Where rounding of the multipliers outweighs the tolerance the recomputation has raised it.
  const double noise = w->djTolerance > w->baseDualTolerance ? w->djTolerance : 0.0;
  if (!(std::fabs(d) > PATIENCE * w->entryRtoldinf * w->varScale[k]) || std::fabs(d) <= noise || high - low <= 1.0e-12) return false;
  const double room = d < 0.0 ? high - w->value[k] : w->value[k] - low;
  return room > w->entryRtolpinf && std::fabs(d) > ROUNDING * costTerms(w, k);
}

// Basic k stands outside its true bounds.
bool strays(const SimplexWork *w, int k) {
  const double over = std::fmax(w->value[k] - w->trueUpper[k], w->trueLower[k] - w->value[k]);
  if (!(over * w->varScale[k] > PATIENCE * w->entryRtolpinf)) return false;
  return over > ROUNDING * (k <= w->m ? logicalTerms(w, k) : std::fabs(w->value[k]));
}

// The check before has counted none, by the tolerances and in the units that matter here.
bool checkedBefore(const SimplexWork *w) {
  return !w->scaled && w->rejectedCount == 0 && qrtlplp.Inumpinf == 0 && qrtlplp.Inumdinf == 0 &&
         w->djTolerance <= PATIENCE * w->entryRtoldinf;
}

}  // namespace

int doubtOfOptimum(const SimplexWork *w) {
  if (checkedBefore(w)) return DOUBT_NONE;
  for (int p = 1; p <= w->m; p++)
    if (strays(w, w->list[p])) return DOUBT_BOUNDS;
  for (int p = w->m + 1; p <= w->total; p++)
    if (pays(w, w->list[p])) return DOUBT_COSTS;
  return DOUBT_NONE;
}
