// The list of attractive nonbasic variables and the ways of walking it: best score, random stretch, values pass,
// variables a repair threw out. A choice costs the length of that list and not the number of columns.
#include "simplex/primal.h"

#include <cmath>

namespace {

bool isFreeState(uint32_t flags) { return (flags & VAR_STATE) == VAR_STATE; }

int scoreModeNow() {
  // A negative mode means plain pricing until the first feasible point, then its magnitude.
  if (qrtlplp.Idevexmode == 0 || (qrtlplp.Idevexmode < 0 && primalInfeasible())) return SCORE_SIZE;
  return steepestEdge() ? SCORE_STEEPEST : SCORE_DEVEX;
}

template <int MODE> void noteAll(SimplexWork *w) {
  PrimalWork *p = w->primal;
  for (int place = w->m + 1; place <= w->partEndLower; place++) {
    const int k = w->list[place];
    if (attractive(w->flags[k], w->dj[k], p->scoreTolerance)) candidate_note<MODE>(w, p, k);
  }
}

}  // namespace

double pricingTolerance(const SimplexWork *w) {
  return primalInfeasible() && w->djTolerance > 0.0 ? w->djTolerance : qrtlplp.Rtoldinf;
}

void candidates_rebuild(SimplexWork *w) {
  PrimalWork *p = w->primal;
  for (int slot = 0; slot < p->candidateCount; slot++) p->candidatePlace[p->candidate[slot]] = 0;
  p->candidateCount = 0;
  p->scoreTolerance = pricingTolerance(w);
  p->scoreMode = scoreModeNow();
  if (p->scoreMode == SCORE_STEEPEST)
    noteAll<SCORE_STEEPEST>(w);
  else if (p->scoreMode == SCORE_DEVEX)
    noteAll<SCORE_DEVEX>(w);
  else
    noteAll<SCORE_SIZE>(w);
  p->attractiveCount = p->candidateCount;
  qrtlplp.Inumdinf = p->candidateCount;
}

void candidate_drop(PrimalWork *p, int k) {
  const int slot = p->candidatePlace[k] - 1;
  p->candidatePlace[k] = 0;
  const int last = --p->candidateCount;
  if (slot == last) return;
  p->candidate[slot] = p->candidate[last];
  p->score[slot] = p->score[last];
  p->candidatePlace[p->candidate[slot]] = slot + 1;
}

void candidate_changed(SimplexWork *w, int k) {
  PrimalWork *p = w->primal;
  if (p->scoreMode == SCORE_STEEPEST)
    candidate_note<SCORE_STEEPEST>(w, p, k);
  else if (p->scoreMode == SCORE_DEVEX)
    candidate_note<SCORE_DEVEX>(w, p, k);
  else
    candidate_note<SCORE_SIZE>(w, p, k);
}

int candidates_best(const SimplexWork *w) {
  const PrimalWork *p = w->primal;
  const double *score = p->score;
  double best = 0.0;
  int bestSlot = -1;
  for (int slot = 0; slot < p->candidateCount; slot++)
    if (score[slot] > best) best = score[slot], bestSlot = slot;
  return bestSlot < 0 ? 0 : p->candidate[bestSlot];
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
  for (int k = 1; k <= w->total; k++) {
    const bool wanted = !(w->flags[k] & VAR_BASIC) && attractive(w->flags[k], w->dj[k], p->scoreTolerance);
    if (wanted != (p->candidatePlace[k] != 0)) return "the list does not hold exactly the attractive variables";
  }
  return nullptr;
}
