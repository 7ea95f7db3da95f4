// When a new factorisation pays: limits set at each checkpoint (qrtchke) and tested after every iteration.
#include <cmath>

#include "frame/messages.h"
#include "simplex/driver.h"

namespace {

constexpr double CHECK_PER_ROW = 20.0, CHECK_PER_VARIABLE = 5.0;   // operations, about

int structuralBasics(const SimplexWork *w) {
  int count = 0;
  for (int i = 1; i <= w->m; i++)
    if (w->list[i] > w->m) count++;
  return count;
}

// Iterations of random pricing are worth it while the factor still grows fast. Returns the growth below which they
// are not, by the shape of the model and the iterations of the phase.
double growthLimit(const SimplexWork *w, int structurals) {
  const double m = w->m, n = w->n, f = w->switchFactor, s0 = w->firstStructurals;
  const double k = qrtlplp.Iiternum - w->phaseStartIter;
  if (n <= 3.0 * m) {
    if (f * m < k) return 5000.0;
    if (f * std::fmin(m / 2.0, s0) < k) return 100.0;
    if (f * s0 / 5.0 < k) return 10.0;
    return f > 3.0 ? -999999.0 : 0.0;
  }
  if (f * n < k) return 5000.0;
  if (f * std::fmin((m + n) / 4.0, n - (m - s0)) < k) return 100.0;
  (void)structurals;
  return f > 1.1 ? -999999.0 : 0.0;
}

}  // namespace

void qrtchke(SimplexWork *w) {
  const double m = w->m > 0 ? w->m : 1;
  const Factor *factor = w->factor;
  const double length = double(factor->lCount) + factor->etaCount;
  const int structurals = structuralBasics(w);
  if (w->firstStructurals < 0) w->firstStructurals = structurals;
  w->factorWork = factor->factorWork;
  double limit = (std::fmax(length - w->etaLimit, 0.0) + length) * m / (structurals + 1.0);
  limit = std::fmax(std::fmax(1.2 * limit, 2.0 * length), 2.0 * m);
  w->etaLimit = int(std::fmin(limit, 2.0e9));
  if (w->algorithm == ALGORITHM_DUAL) {
    w->priceMode = PRICE_FULL;
    return;
  }
  if (w->priceMode != PRICE_RANDOM) return;
  if (length < w->biggestFactor + growthLimit(w, structurals)) {
    if (qrtlplp.Ifastits > 0) {
      w->priceMode = PRICE_BLOCKS;
    } else if (qrtlplp.Ifastits == 0) {
      w->priceMode = PRICE_FULL;
      w->priceBase = -w->priceRefresh;
      qrtmesg_no(MSG_DEVEX_GROWTH);
      if (qrtlplp.Istopmask & STOP_AT_DEVEX) qrtlplp.Iprobstat = 3;
    }
  }
  if (length > w->biggestFactor) w->biggestFactor = length;
}

bool refactorisationWanted(SimplexWork *w, int etaLength) {
  (void)etaLength;  // the factor counts its own elements
  const Factor *factor = w->factor;
  const int updates = w->updateCount;
  const int since = qrtlplp.Iiternum - w->factorIter;
  const int most = qrtlplp.Imaxfactor > 0 ? qrtlplp.Imaxfactor : 1;
  if (10 * int64_t(updates) >= w->updateLimit10 || since >= 4 * int64_t(most)) return true;
  if (20 * int64_t(updates) >= w->updateLimit10 && factor->etaCount > w->etaLimit) return true;
  if (updates < 20) return false;
  // Running cost of an iteration, by operations counted: past its least value a fresh factor is cheaper. A fresh factor
  // brings a check with it that looks at every row and variable.
  const double start = 2.0 * factor->factorWork + CHECK_PER_ROW * w->m + CHECK_PER_VARIABLE * w->total;
  const double cost = (start + factor->solveWork) / updates;
  if (w->leastCost <= 0.0 || cost < w->leastCost) w->leastCost = cost;
  return cost > 1.05 * w->leastCost;
}
