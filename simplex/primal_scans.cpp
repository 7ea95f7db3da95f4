// The list of attractive nonbasic variables and the ways of walking it: best score, random stretch, values pass,
// variables a repair threw out. A choice costs the length of that list and not the number of columns.
#include "simplex/primal.h"

#include <cmath>

namespace {

// A free variable counts this much more than a bounded one: once basic it never leaves again.
constexpr double FREE_PREFERENCE = 5.0;

bool isFreeState(uint32_t flags) { return (flags & VAR_STATE) == VAR_STATE; }

void candidate_drop(PrimalWork *p, int slot) {
  p->candidatePlace[p->candidate[slot]] = 0;
  const int last = p->candidate[--p->candidateCount];
  if (slot < p->candidateCount) {
    p->candidate[slot] = last;
    p->candidatePlace[last] = slot + 1;
  }
}

// Scores are compared without division: a variable beats the best score b when |dj| > b * weight. With steepest edge
// weights are squared norms, and so are scores.
template <bool SQUARED> int bestOfList(SimplexWork *w, double tolerance) {
  PrimalWork *p = w->primal;
  const double *dj = w->dj;
  double *weight = w->weight;
  const uint32_t *flags = w->flags;
  double bestScore = 0.0, largest = 0.0;
  int best = 0;
  for (int slot = 0; slot < p->candidateCount;) {
    const int k = p->candidate[slot];
    const double d = dj[k];
    if (!attractive(flags[k], d, tolerance)) {
      candidate_drop(p, slot);
      continue;
    }
    slot++;
    double size = std::fabs(d);
    if (size > largest) largest = size;
    if (SQUARED) {
      if (weight[k] < w->weightFloor) weight[k] = w->weightFloor;
      size *= size;
    }
    if (isFreeState(flags[k])) size *= FREE_PREFERENCE;
    if (size > bestScore * weight[k]) {
      bestScore = size / weight[k];
      best = k;
    }
  }
  p->largestDj = largest;
  return best;
}

int largestOfList(SimplexWork *w, double tolerance) {
  PrimalWork *p = w->primal;
  double bestSize = 0.0;
  int best = 0;
  for (int slot = 0; slot < p->candidateCount;) {
    const int k = p->candidate[slot];
    if (!attractive(w->flags[k], w->dj[k], tolerance)) {
      candidate_drop(p, slot);
      continue;
    }
    slot++;
    double size = std::fabs(w->dj[k]);
    if (isFreeState(w->flags[k])) size *= FREE_PREFERENCE;
    if (size > bestSize) bestSize = size, best = k;
  }
  p->largestDj = bestSize;
  return best;
}

}  // namespace

double pricingTolerance(const SimplexWork *w) {
  return primalInfeasible() && w->djTolerance > 0.0 ? w->djTolerance : qrtlplp.Rtoldinf;
}

void candidates_rebuild(SimplexWork *w) {
  PrimalWork *p = w->primal;
  for (int slot = 0; slot < p->candidateCount; slot++) p->candidatePlace[p->candidate[slot]] = 0;
  p->candidateCount = 0;
  const double tolerance = pricingTolerance(w);
  for (int place = w->m + 1; place <= w->partEndLower; place++) {
    const int k = w->list[place];
    if (attractive(w->flags[k], w->dj[k], tolerance)) candidate_add(p, k);
  }
  p->attractiveCount = p->candidateCount;
  qrtlplp.Inumdinf = p->candidateCount;
}

int candidates_best(SimplexWork *w) {
  const double tolerance = pricingTolerance(w);
  if (qrtlplp.Idevexmode == 0) return largestOfList(w, tolerance);
  return steepestEdge() ? bestOfList<true>(w, tolerance) : bestOfList<false>(w, tolerance);
}

int scan_values(SimplexWork *w) {
  PrimalWork *p = w->primal;
  const double t = qrtlplp.Rtolpinf;
  for (int k = p->valuesPlace + 1; k <= w->total; k++) {
    if (w->flags[k] & (VAR_BASIC | VAR_REJECTED)) continue;
    const double x = w->value[k];
    const bool hasLower = w->lower[k] > -QRT_INFINITE_TEST, hasUpper = w->upper[k] < QRT_INFINITE_TEST;
    if (hasLower && x - w->lower[k] <= t) continue;
    if (hasUpper && w->upper[k] - x <= t) continue;
    if (!hasLower && !hasUpper && std::fabs(x) <= t) continue;
    p->valuesPlace = k;
    return k;
  }
  p->valuesPlace = w->total;
  return 0;
}

int scan_random(SimplexWork *w) {
  const int length = w->partEndLower - w->m;
  if (length <= 0) return 0;
  const int count = qrtlplp.Inumdinf - 1 > 1 ? qrtlplp.Inumdinf - 1 : 1;
  qrtlplp.Inumdinf = count;
  int target = count / 10 > 40 ? count / 10 : 40;
  if (target > (count + 1) / 2) target = (count + 1) / 2;
  const double tolerance = pricingTolerance(w);
  int start = int(nextRandom() * length);
  if (start >= length) start = 0;
  double bestSize = 0.0;
  int best = 0, seen = 0;
  for (int step = 0; step < length; step++) {
    int place = start + step;
    if (place >= length) place -= length;
    const int k = w->list[w->m + 1 + place];
    if (!attractive(w->flags[k], w->dj[k], tolerance)) continue;
    double size = std::fabs(w->dj[k]);
    if (isFreeState(w->flags[k])) size *= FREE_PREFERENCE;
    if (size > bestSize) bestSize = size, best = k;
    if (++seen > target) break;
  }
  return best;
}

int scan_listed(SimplexWork *w) {
  PrimalWork *p = w->primal;
  const double tolerance = pricingTolerance(w);
  while (p->listedPlace < w->factor->repairCount) {
    const int k = w->factor->thrownOut[p->listedPlace++];
    if (k > 0 && !(w->flags[k] & VAR_BASIC) && attractive(w->flags[k], w->dj[k], tolerance)) return k;
  }
  return 0;
}

const char *candidates_check(const SimplexWork *w) {
  const PrimalWork *p = w->primal;
  for (int slot = 0; slot < p->candidateCount; slot++) {
    const int k = p->candidate[slot];
    if (k < 1 || k > w->total) return "a candidate is no variable";
    if (p->candidatePlace[k] != slot + 1) return "a candidate does not know its place";
  }
  if (w->djState & 4) return nullptr;
  const double tolerance = pricingTolerance(w);
  for (int k = 1; k <= w->total; k++)
    if (!(w->flags[k] & VAR_BASIC) && attractive(w->flags[k], w->dj[k], tolerance) && !p->candidatePlace[k])
      return "an attractive variable is not listed";
  return nullptr;
}
