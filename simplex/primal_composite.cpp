// What the primal loop works out about its composite weight: both parts of the reduced costs, cost and infeasibility,
// and from them the weight at which columns turn attractive or stop being so.
#include "simplex/primal.h"

#include <cmath>

namespace {

// Parts of all reduced costs: dj = weight * cost part + infeasibility part. Stored ones are overwritten.
void bothParts(SimplexWork *w, double *costPart, double *infeasiblePart) {
  computeReducedCosts(w, 1.0, 0.0, nullptr, costPart);
  computeReducedCosts(w, 0.0, 1.0, nullptr, infeasiblePart);
  w->djState = 5;
  w->djRefresh = 999;
}

bool pays(uint32_t flags, double dj) { return attractive(flags, dj, qrtlplp.Rtoldinf); }

}  // namespace

double qrtbthd(SimplexWork *w) {
  PrimalWork *p = w->primal;
  double *costPart = p->costPart, *infeasiblePart = w->dj;
  bothParts(w, costPart, infeasiblePart);
  double least = 1.0e25;
  for (int place = w->m + 1; place <= w->partEndLower; place++) {
    const int k = w->list[place];
    const double q = infeasiblePart[k], c = costPart[k];
    // Only where the infeasibility part alone would bring the variable in and its cost speaks against it.
    if (!pays(w->flags[k], q) || q * c >= 0.0) continue;
    const double ratio = std::fabs(q / c);
    if (ratio < least) least = ratio;
  }
  return least < 1.0e25 ? least : 0.0;
}

int qrtadjw(SimplexWork *w) {
  PrimalWork *p = w->primal;
  double *costPart = p->costPart, *infeasiblePart = w->dj;
  bothParts(w, costPart, infeasiblePart);
  const double now = qrtlplp.Rpweight;
  int kept = 0, gained = 0;
  double lowest = now;
  for (int place = w->m + 1; place <= w->partEndLower; place++) {
    const int k = w->list[place];
    const uint32_t flags = w->flags[k];
    const double q = infeasiblePart[k], c = costPart[k];
    if (pays(flags, q + now * c)) {
      kept++;
      continue;
    }
    // Attractive for feasibility alone and held back by its cost: a lower weight lets it in.
    if (!pays(flags, q) || q * c >= 0.0) continue;
    gained++;
    const double ratio = std::fabs(q / c);
    if (ratio < lowest) lowest = ratio;
  }
  // Enough columns pull as it is, or none would be won: the weight stays.
  if (gained == 0 || kept > gained) return 0;
  double weight = lowest > 0.1 * now ? lowest : 0.1 * now;
  weight *= 0.9;
  if (weight < w->minimumWeight) return 0;
  qrtnwwt(w, weight, 1);
  return 1;
}
