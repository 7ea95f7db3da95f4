// Pricing of a stretch of columns at a time, from row multipliers that every iteration brings up to date (mode 5).
// It pays where columns outnumber rows by far: no pivotal row over all columns is ever formed.
#include "simplex/primal.h"

#include <cmath>

namespace {

constexpr int SHORTEST_STRETCH = 500;
constexpr int FEWEST_WANTED = 100;

// Chunks the columns are thought to fall into, from the setting the strategy left in the low ten bits.
int chunks(const SimplexWork *w) {
  int c = w->partialSize & 1023;
  if (c == 0) c = 10;
  if (c > 10 && int64_t(w->n) < 2 * int64_t(c) * w->m) {
    c = w->n / (2 * w->m);
    if (c > 10) c = 10;
  }
  return c < 1 ? 1 : c;
}

// Attractive columns after which a scan may stop: twice what is wanted.
int enough(const SimplexWork *w) {
  const int known = w->primal->attractiveCount;
  int ratio = w->m > 0 ? w->n / w->m : 1;
  if (ratio > 10) ratio = 10;
  if (ratio < 1) ratio = 1;
  const int small = w->m / 100 + w->n / 500 + FEWEST_WANTED;
  int wanted = known / ratio > small ? known / ratio : small;
  if (wanted > known / 4) wanted = known / 4;
  return 2 * (wanted > FEWEST_WANTED ? wanted : FEWEST_WANTED);
}

double reducedCost(const SimplexWork *w, int k, double costWeight) {
  if (k <= w->m) return costWeight * w->cost[k] - w->y[k];
  const int j = k - w->m;
  double sum = 0.0;
  for (int e = w->colStart[j]; e < w->colStart[j + 1]; e++) sum += w->colValue[e] * w->y[w->colRow[e]];
  return costWeight * w->cost[k] - sum;
}

}  // namespace

int scan_blocks(SimplexWork *w) {
  PrimalWork *p = w->primal;
  if (w->djState & 4) {
    computeReducedCosts(w, costWeightNow(), infeasibilityWeightNow(), w->y, w->dj);
    w->djState = 8;
    w->djRefresh = 0;
    candidates_rebuild(w);
  }
  const double tolerance = pricingTolerance(w), costWeight = costWeightNow();
  const int stretch = w->total / chunks(w) > SHORTEST_STRETCH ? w->total / chunks(w) : SHORTEST_STRETCH;
  const int stop = enough(w);
  int best = 0, seen = 0, inStretch = 0;
  double bestSize = 0.0;
  int k = p->blockVar;
  for (int step = 0; step < w->total; step++) {
    if (++k > w->total) k = 1;
    const uint32_t flags = w->flags[k];
    if (!(flags & VAR_BASIC) && (flags & VAR_STATE)) {
      const double d = reducedCost(w, k, costWeight);
      w->dj[k] = d;
      if (attractive(flags, d, tolerance)) {
        seen++;
        double size = std::fabs(d);
        if ((flags & VAR_STATE) == VAR_STATE) size *= 5.0;
        if (size > bestSize) bestSize = size, best = k;
      }
    }
    if (seen >= stop || (++inStretch >= stretch && best)) break;
  }
  p->blockVar = k;
  return best;
}
