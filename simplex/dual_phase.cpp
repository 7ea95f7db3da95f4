// A dual feasible start: boxed variables to their better bound, and the first phase with artificial bounds.
//
// The first phase solves, over the same matrix and costs with a zero right-hand side,
//
//     bounds  [-1000, 1000] free    [0, 1] lower only    [-1, 0] upper only    [0, 0] boxed or fixed
//
// All variables are boxed there, so every basis can be made dual feasible by flips. At its optimum the objective is the
// negative sum of dual infeasibilities: a basis with objective zero is dual feasible for the true bounds, and when it is
// not zero no basis is (Koberstein and Suhl 2007).
#include "simplex/dual.h"

#include <cmath>

#include "simplex/driver.h"

namespace {

constexpr double FREE_BOX = 1000.0;

bool hasLower(double bound) { return bound > -QRT_INFINITE_TEST; }
bool hasUpper(double bound) { return bound < QRT_INFINITE_TEST; }

void setState(SimplexWork *w, int k) {
  w->flags[k] = (w->flags[k] & ~uint32_t(VAR_STATE)) | uint32_t(stateOfValue(w, k)) << VAR_STATE_SHIFT;
}

// The value of a nonbasic by the sign of its reduced cost; a reduced cost of zero keeps the side it has.
double valueBySign(const SimplexWork *w, int k) {
  const double lower = w->lower[k], upper = w->upper[k], d = w->dj[k];
  if (!hasLower(lower) && !hasUpper(upper)) return 0.0;
  if (!hasLower(lower)) return upper;
  if (!hasUpper(upper)) return lower;
  if (d > qrtlplp.Rtoldinf) return lower;
  if (d < -qrtlplp.Rtoldinf) return upper;
  return w->value[k] >= upper ? upper : w->value[k] <= lower ? lower : w->value[k] - lower <= upper - w->value[k] ? lower : upper;
}

void placeNonbasics(SimplexWork *w) {
  for (int k = 1; k <= w->total; k++) {
    if (w->flags[k] & VAR_BASIC) continue;
    w->value[k] = valueBySign(w, k);
    setState(w, k);
  }
  qrtrsrt(w);
}

}  // namespace

namespace {

// Where nonbasic k ought to stand: a boxed variable on the side of its reduced cost, others on the bound they have.
double properValue(const SimplexWork *w, int k) {
  const double lower = w->lower[k], upper = w->upper[k], dj = w->dj[k], tolerance = qrtlplp.Rtoldinf;
  const bool below = hasLower(lower), above = hasUpper(upper);
  if (!below && !above) return w->value[k];
  if (!above) return lower;
  if (!below) return upper;
  if (dj > tolerance) return lower;
  if (dj < -tolerance) return upper;
  return valueBySign(w, k);
}

}  // namespace

int makeDualFeasible(SimplexWork *w) {
  DualWork *d = dualWork(w);
  int moved = 0;
  for (int k = 1; k <= w->total; k++) {
    if ((w->flags[k] & (VAR_BASIC | VAR_REJECTED)) || !(w->flags[k] & VAR_STATE)) continue;
    const double target = properValue(w, k), move = target - w->value[k];
    if (move == 0.0) continue;
    column_addTo(w, &d->moved, k, move);
    w->value[k] = target;
    list_setState(w, k, stateOfValue(w, k));
    moved++;
  }
  if (moved > 0) {
    qrtftrn(w->factor, &d->moved, SOLVE_RHS);
    for (int t = 0; t < d->moved.count; t++) {
      const int i = d->moved.index[t];
      w->basicValue[i] -= d->moved.value[i];
    }
    sparseVector_clear(&d->moved);
    basicsToRims(w);
    qrtchpf(w);
    recomputeObjective(w);
  }
  qrtchdf(w);
  qrtobjv(w);
  return moved;
}

void countUnflippable(const SimplexWork *w) {
  const double tolerance = qrtlplp.Rtoldinf;
  int count = 0;
  double sum = 0.0;
  for (int k = 1; k <= w->total; k++) {
    const uint32_t flags = w->flags[k];
    if (flags & VAR_BASIC) continue;
    const double dj = w->dj[k];
    if (!((flags & VAR_UP) && dj < -tolerance) && !((flags & VAR_DOWN) && dj > tolerance)) continue;
    if (hasLower(w->lower[k]) && hasUpper(w->upper[k])) continue;
    count++;
    sum += std::fabs(dj);
  }
  qrtlplp.Inumdinf = count;
  qrtlplp.Rsumdinf = sum;
}

void enterPhaseOne(SimplexWork *w) {
  DualWork *d = dualWork(w);
  d->phase = 1;
  d->phaseOneRuns++;
  for (int k = 1; k <= w->total; k++) {
    const bool below = hasLower(w->trueLower[k]), above = hasUpper(w->trueUpper[k]);
    w->lower[k] = below ? 0.0 : above ? -1.0 : -FREE_BOX;
    w->upper[k] = above ? 0.0 : below ? 1.0 : FREE_BOX;
  }
  placeNonbasics(w);
}

void leavePhaseOne(SimplexWork *w) {
  DualWork *d = w->dual;
  if (!d || d->phase == 2) return;
  d->phase = 2;
  for (int k = 1; k <= w->total; k++) {
    w->lower[k] = w->trueLower[k];
    w->upper[k] = w->trueUpper[k];
  }
  placeNonbasics(w);
}
