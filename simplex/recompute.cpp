// The solution made anew from the factor: basic values, infeasibilities, objective, multipliers, reduced costs
// (qrtchks and its parts). What the loops update, this corrects and judges.
#include <cmath>

#include "frame/messages.h"
#include "simplex/driver.h"
#include "simplex/dual.h"

namespace {

constexpr double RESIDUAL_NOISE = 1.0e-12;       // residual elements up to this do not count
constexpr double RESIDUAL_TO_TELL = 1.0e-5;
constexpr double RESIDUAL_LOST = 0.01;
constexpr double REFINE_ABOVE = 1.0e-10;

// A factor that carries updates gives values that depend on the way to the basis; refined once they agree with those of a
// new factor to rounding. Cuts made of them would else differ a little each time, and a master full of nearly equal
// rows has no good basis.
bool refineAnyway(const SimplexWork *w, int round) { return round == 0 && w->factor->updateCount > 0; }

// r := -(A x + s) over all variables, into the empty vector `r`; returns the largest element.
double rowResidual(SimplexWork *w, SparseVector *r, double noise) {
  double *value = r->value;
  for (int i = 1; i <= w->m; i++) value[i] = -w->value[i];
  for (int j = 1; j <= w->n; j++) {
    const double x = w->value[w->m + j];
    if (x == 0.0) continue;
    for (int e = w->colStart[j]; e < w->colStart[j + 1]; e++) value[w->colRow[e]] -= w->colValue[e] * x;
  }
  r->count = LIST_UNKNOWN;
  double largest = 0.0;
  for (int i = 1; i <= w->m; i++) {
    const double size = std::fabs(value[i]);
    if (size <= noise) value[i] = 0.0;
    else if (!(size <= largest)) largest = size;  // a NaN counts as large
  }
  return largest;
}

void addToBasics(SimplexWork *w, SparseVector *correction) {
  for (int i = 1; i <= w->m; i++) {
    const double add = correction->value[i];
    if (add != 0.0) w->value[w->list[i]] += add;
  }
  sparseVector_clear(correction);
}

// Solves B x_B = -N x_N, then looks at the residual and refines once or twice. With `keep` the values there are start.
void recomputeBasics(SimplexWork *w, bool keep) {
  SparseVector *r = &w->rhs;
  if (!keep) {
    for (int i = 1; i <= w->m; i++) w->value[w->list[i]] = 0.0;
    rowResidual(w, r, RESIDUAL_NOISE);
    qrtftrn(w->factor, r, SOLVE_RHS);
    addToBasics(w, r);
  }
  double largest = 0.0;
  for (int round = 0; round < 3; round++) {
    largest = rowResidual(w, r, refineAnyway(w, round) ? 0.0 : RESIDUAL_NOISE);
    if (!(largest > (refineAnyway(w, round) ? 0.0 : REFINE_ABOVE)) || round == 2 || !(largest < 1.0e30)) {
      sparseVector_clear(r);
      break;
    }
    // Scaled up, so that the solve does not drop what it takes for noise.
    const double scale = 1.0 / largest;
    for (int i = 1; i <= w->m; i++) r->value[i] *= scale;
    qrtftrn(w->factor, r, SOLVE_RHS);
    for (int i = 1; i <= w->m; i++) r->value[i] *= largest;
    addToBasics(w, r);
  }
  w->largestResidual = largest;
  if (largest > RESIDUAL_TO_TELL) qrtmesg_no_d1(MSG_LARGEST_RESIDUAL, largest);
}

double basicGradient(const SimplexWork *w, int i, double costWeight, double infeasibilityWeight) {
  double g = costWeight * w->cost[w->list[i]];
  if (w->basicStatus[i] & ROW_ABOVE) g += infeasibilityWeight;
  if (w->basicStatus[i] & ROW_BELOW) g -= infeasibilityWeight;
  return g;
}

// y := B^-T gradient, refined once when the basic reduced costs show that it is off.
void solveMultipliers(SimplexWork *w, double costWeight, double infeasibilityWeight, double *y) {
  SparseVector *v = &w->multipliers;
  for (int i = 1; i <= w->m; i++) v->value[i] = basicGradient(w, i, costWeight, infeasibilityWeight);
  v->count = LIST_UNKNOWN;
  qrtbtrn(w->factor, v, SOLVE_DUALS);
  for (int i = 1; i <= w->m; i++) y[i] = v->value[i];
  sparseVector_clear(v);
}

double largestBasicDj(SimplexWork *w, double costWeight, double infeasibilityWeight, const double *y,
                      SparseVector *residual) {
  double largest = 0.0;
  for (int i = 1; i <= w->m; i++) {
    const int k = w->list[i];
    const double off = basicGradient(w, i, costWeight, infeasibilityWeight) - columnTimes(w, k, y);
    if (residual) residual->value[i] = off;
    if (!(std::fabs(off) <= largest)) largest = std::fabs(off);
  }
  if (residual) residual->count = LIST_UNKNOWN;
  return largest;
}

void formReducedCosts(const SimplexWork *w, double costWeight, const double *y, double *dj) {
  for (int k = 1; k <= w->total; k++)
    dj[k] = (w->flags[k] & VAR_BASIC) ? 0.0 : costWeight * w->cost[k] - columnTimes(w, k, y);
}

}  // namespace

void computeReducedCosts(SimplexWork *w, double costWeight, double infeasibilityWeight, double *y, double *dj) {
  double *multipliers = y ? y : w->y;
  solveMultipliers(w, costWeight, infeasibilityWeight, multipliers);
  formReducedCosts(w, costWeight, multipliers, dj);
}

int variableColumn(const SimplexWork *w, int k, const int **row, const double **value) {
  if (k <= w->m) {
    static const double one = 1.0;
    *row = w->unitRow + k;
    *value = &one;
    return 1;
  }
  const int j = k - w->m;
  *row = w->colRow + w->colStart[j];
  *value = w->colValue + w->colStart[j];
  return w->colStart[j + 1] - w->colStart[j];
}

void basicsFromRims(SimplexWork *w) {
  for (int i = 1; i <= w->m; i++) {
    const int k = w->list[i];
    w->basicLower[i] = w->lower[k];
    w->basicUpper[i] = w->upper[k];
    w->basicValue[i] = w->value[k];
    w->basicStatus[i] = (w->flags[k] & VAR_REFERENCE) | (w->upper[k] - w->lower[k] <= 1.0e-12 ? ROW_FIXED : 0u);
  }
}

void basicsToRims(SimplexWork *w) {
  for (int i = 1; i <= w->m; i++) w->value[w->list[i]] = w->basicValue[i];
}

namespace {

// Excess of row i beyond the tolerance, with its flag set.
double rowExcess(SimplexWork *w, int i) {
  uint32_t status = w->basicStatus[i] & ~uint32_t(ROW_ABOVE | ROW_BELOW);
  const double tolerance = qrtlplp.Rtolpinf, value = w->basicValue[i];
  double excess = 0.0;
  if (w->basicUpper[i] < QRT_INFINITE_TEST && value > w->basicUpper[i] + tolerance) {
    status |= ROW_ABOVE;
    excess = value - w->basicUpper[i] - tolerance;
  } else if (w->basicLower[i] > -QRT_INFINITE_TEST && value < w->basicLower[i] - tolerance) {
    status |= ROW_BELOW;
    excess = w->basicLower[i] - value - tolerance;
  }
  w->basicStatus[i] = status;
  return excess;
}

}  // namespace

void qrtchpf(SimplexWork *w) {
  int count = 0;
  double sum = 0.0;
  for (int i = 1; i <= w->m; i++) {
    const double excess = rowExcess(w, i);
    w->excess[i] = excess;
    if (w->basicStatus[i] & (ROW_ABOVE | ROW_BELOW)) {
      count++;
      sum += excess;
    }
  }
  qrtlplp.Inumpinf = count;
  qrtlplp.Rsumpinf = sum;
}

void qrtchdf(SimplexWork *w) {
  int count = 0;
  double sum = 0.0;
  const double tolerance = qrtlplp.Rtoldinf;
  for (int k = 1; k <= w->total; k++) {
    if (w->flags[k] & VAR_BASIC) continue;
    const int state = variableState(w->flags[k]);
    const double d = w->dj[k];
    if (((state & 1) && d < -tolerance) || ((state & 2) && d > tolerance)) {
      count++;
      sum += std::fabs(d);
    }
  }
  qrtlplp.Inumdinf = count;
  qrtlplp.Rsumdinf = sum;
}

void qrtobjv(SimplexWork *w) {
  const double objective = qrtlplp.Rmaxmin * qrtlplp.Robjvalue;
  w->meritPrimal = objective + (qrtlplp.Rsumpinf > 0.0 ? qrtlplp.Rsumpinf / qrtlplp.Rpweight : 0.0);
  w->meritDual = -objective + (qrtlplp.Rsumdinf > 0.0 ? qrtlplp.Rsumdinf / qrtlplp.Rdweight : 0.0);
}

void recomputeObjective(SimplexWork *w) {
  double sum = 0.0;
  for (int k = 1; k <= w->total; k++)
    if (w->objective[k] != 0.0) sum += w->objective[k] * w->value[k];
  qrtlplp.Robjvalue = sum - qrtlplp.RobjectiveOffset;
}

namespace {

// Costs of basics, multipliers and reduced costs; the tolerance follows the noise of the multipliers.
void recomputeDuals(SimplexWork *w, double costWeight, double infeasibilityWeight, bool first) {
  solveMultipliers(w, costWeight, infeasibilityWeight, w->y);
  SparseVector *off = &w->multipliers;
  double largest = largestBasicDj(w, costWeight, infeasibilityWeight, w->y, off);
  if (largest > (refineAnyway(w, 0) ? 0.0 : REFINE_ABOVE) && largest < 1.0e30) {
    const double scale = 1.0 / largest;
    for (int i = 1; i <= w->m; i++) off->value[i] *= scale;
    qrtbtrn(w->factor, off, SOLVE_DUALS);
    for (int i = 1; i <= w->m; i++) w->y[i] += largest * off->value[i];
    sparseVector_clear(off);
    largest = largestBasicDj(w, costWeight, infeasibilityWeight, w->y, nullptr);
  } else {
    sparseVector_clear(off);
  }
  w->largestBasicDj = largest;
  double norm = 0.0;
  for (int i = 1; i <= w->m; i++) norm += w->y[i] * w->y[i];
  norm = std::sqrt(norm);
  // What the norm says can be pessimistic by powers of ten; the reduced costs of basics, which ought to be zero, show
  // the noise there is.
  const double floor = std::fmin((first ? 1.0e-13 : 1.0e-11) * norm, 10.0 * largest);
  const double cap = std::fmax(1000.0 * w->entryRtoldinf, w->baseDualTolerance);
  // From the multipliers of now alone: those of an infeasible point far away are larger by powers of ten, and a
  // tolerance that never fell back would end the solve too early.
  qrtlplp.Rtoldinf = std::fmin(std::fmax(w->baseDualTolerance, floor), cap);
  w->djTolerance = qrtlplp.Rtoldinf;
  formReducedCosts(w, costWeight, w->y, w->dj);
}

// After an ordinary pass of the dual values and reduced costs are those carried from step to step. The values are
// refined where their residual asks for it; the reduced costs have been watched by the loop, and are made anew every
// so often, because to do so each time costs as much as many sparse iterations.
constexpr int MOST_CHECKS_WITH_KEPT_DUALS = 5;

bool dualsMayBeKept(SimplexWork *w) {
  DualWork *d = w->dual;
  if (w->algorithm != ALGORITHM_DUAL || !d || w->finalMode || w->djState != 1 || qrtlplp.Iprobstat >= 0) return false;
  return d->djAge < MOST_CHECKS_WITH_KEPT_DUALS;
}

}  // namespace

int qrtchks(SimplexWork *w) {
  const bool first = w->state.checkCount < 0;
  if (first || w->cleaning == 2) {
    tidyNonbasics(w, w->cleaning);
    if (w->cleaning == 2 || w->priceMode != PRICE_VALUES) w->cleaning = 0;
    qrtrsrt(w);
  }
#ifdef QRT_SELF_CHECKS
  if (const char *fault = solveState_check(w)) qrtmesg_no_q1(158, fault, -1);
#endif
  const bool keep = !first && dualsMayBeKept(w);
  const bool judgeStart = first && w->startValues && w->priceMode == PRICE_VALUES;
  if (judgeStart) rememberGivenValues(w);
  recomputeBasics(w, keep);
  if (judgeStart) {
    if (throwOutBadStarts(w) > 0) return CHECK_NEW_BASIS;
    w->startValues = 0;
  }
  basicsFromRims(w);
  if (!w->finalMode && !(w->largestResidual <= RESIDUAL_LOST)) {
    w->bestObjective = 1.0e51;
    if (!(w->largestResidual < 1.0e30)) return CHECK_UNUSABLE;
    if (!first && w->pivotThreshold < 0.9) return CHECK_REFACTOR_TIGHT;
  }
  qrtchpf(w);
  recomputeObjective(w);
  if (keep && qrtlplp.Inumpinf > 0) {
    w->dual->djAge++;
    qrtobjv(w);
    w->djState = 1;
    return CHECK_GOOD;
  }
  if (w->dual) w->dual->djAge = 0;
  const bool cutOff = w->dual && w->dual->cutOff;  // then the duals of the costs are what tells why
  const bool infeasible = qrtlplp.Iprobstat == 1 && qrtlplp.Inumpinf > 0 && !cutOff;
  recomputeDuals(w, infeasible ? 0.0 : 1.0, infeasible ? 1.0 : 0.0, first);
  if (w->largestBasicDj > qrtlplp.Rtoldinf) {
    qrtmesg_no_d1(MSG_BASIC_DJ, w->largestBasicDj);
    if (!w->finalMode && w->largestBasicDj > std::fmax(0.01, qrtlplp.Rtoldinf)) {
      w->bestObjective = 1.0e51;
      if (w->pivotThreshold < 0.9) return CHECK_REFACTOR_TIGHT;
    }
  }
  qrtchdf(w);
  qrtobjv(w);
  w->djState = 5;
  w->djRefresh = 999;
  return CHECK_GOOD;
}
