// The step: basic values along the entering column, infeasibility counts, sums and the change of the gradient with
// them, then the exchange of the two variables.
#include "simplex/primal.h"

#include <cmath>

namespace {

constexpr double ZERO_STEP = 1.0e-12;
constexpr double FIXED_RANGE = 1.0e-12;

struct Excess {
  double amount;    // beyond the tolerance, 0 when feasible
  uint32_t status;  // ROW_ABOVE, ROW_BELOW or 0
};
inline Excess excessOf(double x, double lower, double upper, double tolerance) {
  if (x < lower - tolerance && lower > -QRT_INFINITE_TEST) return {lower - x - tolerance, ROW_BELOW};
  if (x > upper + tolerance && upper < QRT_INFINITE_TEST) return {x - upper - tolerance, ROW_ABOVE};
  return {0.0, 0};
}
inline double gradientOf(uint32_t status) { return status & ROW_ABOVE ? 1.0 : status & ROW_BELOW ? -1.0 : 0.0; }

// Values and states as they were, to take a step back.
void restore(SimplexWork *w) {
  PrimalWork *p = w->primal;
  for (int t = 0; t < p->alpha.count; t++) {
    const int i = p->alpha.index[t];
    w->basicValue[i] = p->savedValue[t];
    w->basicStatus[i] = p->savedStatus[t];
  }
  sparseVector_clear(&p->change);
  p->changedCount = 0;
}

// Moves the values of a basis with infeasible rows; corrects count and sum, records changes of g.
void moveInfeasible(SimplexWork *w, double move, int leavingRow) {
  PrimalWork *p = w->primal;
  const double tolerance = qrtlplp.Rtolpinf;
  double sum = qrtlplp.Rsumpinf;
  int number = qrtlplp.Inumpinf;
  for (int t = 0; t < p->alpha.count; t++) {
    const int i = p->alpha.index[t];
    const double old = w->basicValue[i];
    const uint32_t status = w->basicStatus[i];
    const double x = old - move * p->alpha.value[i];
    p->savedValue[t] = old;
    p->savedStatus[t] = status;
    w->basicValue[i] = x;
    const uint32_t before = status & (ROW_ABOVE | ROW_BELOW);
    const double lower = w->basicLower[i], upper = w->basicUpper[i];
    Excess now = excessOf(x, lower, upper, tolerance);
    if (i == leavingRow) now = Excess{0.0, 0};  // it stops exactly at a bound
    if (before | now.status) {
      if (before) sum -= before & ROW_ABOVE ? old - upper - tolerance : lower - old - tolerance;
      sum += now.amount;
      if (before != now.status) {
        number += (now.status != 0) - (before != 0);
        w->basicStatus[i] = (status & ~uint32_t(ROW_ABOVE | ROW_BELOW)) | now.status;
        p->changedRow[p->changedCount++] = i;
        sparseVector_add(&p->change, i, gradientOf(now.status) - gradientOf(before));
      }
    }
  }
  qrtlplp.Inumpinf = number;
  qrtlplp.Rsumpinf = number > 0 ? (sum > 0.0 ? sum : 0.0) : 0.0;
}

// The same while all rows are feasible: a state changes only where the step went beyond a break on purpose.
void moveFeasible(SimplexWork *w, double move, int leavingRow) {
  PrimalWork *p = w->primal;
  const double tolerance = qrtlplp.Rtolpinf;
  double sum = 0.0;
  int number = 0;
  for (int t = 0; t < p->alpha.count; t++) {
    const int i = p->alpha.index[t];
    const double old = w->basicValue[i];
    const double x = old - move * p->alpha.value[i];
    p->savedValue[t] = old;
    p->savedStatus[t] = w->basicStatus[i];
    w->basicValue[i] = x;
    if (x >= w->basicLower[i] - tolerance && x <= w->basicUpper[i] + tolerance) continue;
    const Excess now = excessOf(x, w->basicLower[i], w->basicUpper[i], tolerance);
    if (now.status == 0 || i == leavingRow) continue;
    sum += now.amount;
    number++;
    w->basicStatus[i] |= now.status;
    p->changedRow[p->changedCount++] = i;
    sparseVector_add(&p->change, i, gradientOf(now.status));
  }
  qrtlplp.Inumpinf = number;
  qrtlplp.Rsumpinf = sum;
}

}  // namespace

StepResult qrtupsp(SimplexWork *w, double step, int leavingRow, int leavingFixed) {
  PrimalWork *p = w->primal;
  const bool wasInfeasible = primalInfeasible();
  const double oldObjective = qrtlplp.Robjvalue, oldSum = qrtlplp.Rsumpinf, oldMerit = w->meritPrimal;
  const int oldNumber = qrtlplp.Inumpinf;
  const bool zero = step <= ZERO_STEP;
  if (zero) w->state.degenerateCount++;
  if (zero && !wasInfeasible && w->priceMode != PRICE_VALUES) step = 0.0;
  const double move = step * w->enterDir;
  w->stepLength = move;
  p->changedCount = 0;
  if (move != 0.0 || wasInfeasible) {
    if (wasInfeasible)
      moveInfeasible(w, move, leavingRow);
    else
      moveFeasible(w, move, leavingRow);
  }
  qrtlplp.Robjvalue += qrtlplp.Rmaxmin * p->enterCostPart * move;
  qrtobjv(w);
  if (w->priceMode == PRICE_VALUES) return STEP_GOOD;
  const bool stepped = move != 0.0 || wasInfeasible;
  StepResult result = STEP_GOOD;
  if (w->meritPrimal > oldMerit + qrtlplp.Rtolpinf / qrtlplp.Rpweight && w->accuracyLevel > 0)
    result = STEP_UNDONE;
  else if (qrtlplp.Rsumpinf > 1.2 * oldSum + 1.0) {
    w->accuracyLevel = 1;
    result = STEP_FLOODED;
  }
  if (result != STEP_GOOD) {
    if (stepped) restore(w);
    qrtlplp.Robjvalue = oldObjective;
    qrtlplp.Rsumpinf = oldSum;
    qrtlplp.Inumpinf = oldNumber;
    w->meritPrimal = oldMerit;
    return result;
  }
  if (w->meritPrimal > oldMerit && move != 0.0 && qrtlplp.Rpweight > 0.0 && !leavingFixed)
    w->bestObjective += w->meritPrimal - oldMerit;
  w->djState |= 1;
  w->djState &= ~8;
  if (wasInfeasible != primalInfeasible()) {
    // The scale of the reduced costs changes with the phase, so nothing stored can be carried over.
    w->djState |= 5;
    w->djRefresh = 999;
  }
  return STEP_GOOD;
}

int exchange(SimplexWork *w, int leavesAtUpper) {
  PrimalWork *p = w->primal;
  const int row = w->leaveRow, entering = w->enterVar, leaving = w->list[row];
  w->leaveVar = leaving;
  w->leaveState = leavesAtUpper ? 2 : 0;
  w->value[leaving] = leavesAtUpper ? w->basicUpper[row] : w->basicLower[row];
  const double entered = w->value[entering] + w->stepLength;
  list_pivot(w, row, entering, stateOfValue(w, leaving));
  w->value[entering] = entered;
  w->basicLower[row] = w->lower[entering];
  w->basicUpper[row] = w->upper[entering];
  w->basicValue[row] = entered;
  w->basicStatus[row] = (w->flags[entering] & VAR_REFERENCE) |
                        (w->upper[entering] - w->lower[entering] <= FIXED_RANGE ? uint32_t(ROW_FIXED) : 0u);
  p->basicCost[row] = w->cost[entering];
  return leaving;
}

void flip(SimplexWork *w) {
  const int k = w->enterVar;
  const double bound = w->enterDir > 0 ? w->upper[k] : w->lower[k];
  w->value[k] = std::fabs(bound) < QRT_INFINITE_TEST ? bound : 0.0;
  list_setState(w, k, stateOfValue(w, k));
}
