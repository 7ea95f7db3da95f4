// The choice of the entering variable: which reduced costs hold, when weights start anew, and which scan looks at them.
#include "simplex/primal.h"

#include <cmath>

namespace {

// All reduced costs from scratch, and the list of attractive variables with them.
void recompute(SimplexWork *w) {
  computeReducedCosts(w, costWeightNow(), infeasibilityWeightNow(), w->y, w->dj);
  w->djState = 8;
  w->djRefresh = 0;
  candidates_rebuild(w);
}

void resetWhenDue(SimplexWork *w) {
  const int now = qrtlplp.Iiternum;
  const int kind = steepestEdge() ? SCORE_STEEPEST : SCORE_DEVEX;
  // Norms and squared norms are not each other's continuation: a change of mode starts anew at once.
  const bool otherKind = w->primal->weightKind != 0 && w->primal->weightKind != kind;
  if (now >= w->priceBase + w->priceRefresh || otherKind) w->resetWanted = 1;
  if (w->resetWanted <= 0) return;
  const int patience = steepestEdge() ? 20 : w->m < 5000 ? 50 : w->m / 100;
  if (now - w->priceBase < patience && !otherKind) return;
  if (steepestEdge()) w->weightFloor = 0.1;
  w->primal->weightKind = kind;
  w->primal->weightsCarried = 1;
  qrtrctf(w);
}

int chooseFull(SimplexWork *w) {
  if (qrtlplp.Idevexmode > 0 || (qrtlplp.Idevexmode < 0 && !primalInfeasible())) resetWhenDue(w);
  if (w->djState & 4) recompute(w);
  if (w->primal->scoreTolerance != pricingTolerance(w)) candidates_rebuild(w);
  int k = candidates_best(w);
  if (k == 0 && w->djState != 8) {
    // Nothing attractive by updated reduced costs: only fresh ones may say so.
    recompute(w);
    k = candidates_best(w);
  }
  if (k) w->enterWeight = w->weight[k];
  return k;
}

int chooseRandom(SimplexWork *w) {
  for (int round = 0; round < 2; round++) {
    if (w->djState & 4) recompute(w);
    const int k = scan_random(w);
    if (k || w->djState == 8) return k;
    w->djState = 5;
  }
  return 0;
}

}  // namespace

int qrtccol(SimplexWork *w) {
  w->enterVar = 0;
  w->enterWeight = 1.0;
  int mode = w->priceMode;
  const bool blocks = mode == PRICE_BLOCKS || (mode == PRICE_FULL && (w->partialSize & 1023));
  if (blocks) mode = PRICE_BLOCKS;
  int k = 0, found = FOUND_FULL;
  if (mode == PRICE_VALUES) {
    k = scan_values(w);
    found = FOUND_PARTIAL;
    if (k) {
      const int state = variableState(w->flags[k]);
      w->enterDj = state == 1 ? -1.0 : state == 2 ? 1.0 : 0.0;
      qrtlplp.Inumdinf = 1;
      w->meritPrimal = 1.0e50;
      w->bestObjective = 1.0e51;
      w->enterVar = k;
      return found;
    }
    return 0;
  }
  if (mode == PRICE_LISTED) {
    if (w->djState & 4) recompute(w);
    k = scan_listed(w);
    found = FOUND_PARTIAL;
    if (!k) {
      w->priceMode = mode = PRICE_RANDOM;
      w->priceBase = -w->priceRefresh;
    }
  }
  if (!k && mode == PRICE_RANDOM) k = chooseRandom(w), found = FOUND_PARTIAL;
  if (!k && mode == PRICE_BLOCKS) {
    k = scan_blocks(w);
    found = FOUND_PARTIAL;
    if (!k) {
      recompute(w);
      k = candidates_best(w);
      found = FOUND_FULL;
    }
  }
  if (!k && mode == PRICE_FULL) k = chooseFull(w);
  if (!k) return 0;
  w->enterVar = k;
  w->enterDj = w->dj[k];
  return found;
}
