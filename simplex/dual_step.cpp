// The dual step: bound flips, reduced costs, basic values, weights and the exchange (qrtupsd and its parts).
#include "simplex/dual.h"

#include <cmath>

namespace {

constexpr double LEAST_WEIGHT = 1.0e-4;
constexpr double FIXED_RANGE = 1.0e-12;

// x_B := x_B - v, with the infeasibilities of the rows touched.
void subtractFromBasics(SimplexWork *w, const SparseVector *v) {
  for (int t = 0; t < v->count; t++) {
    const int i = v->index[t];
    w->basicValue[i] -= v->value[i];
    dualRows_update(w, i);
  }
}

// Reduced costs along the pivotal row, which is left empty.
void updateReducedCosts(SimplexWork *w, double theta) {
  SparseVector *row = &w->primal->pivotRow;
  double *value = row->value, *dj = w->dj;
  if (row->count >= 0) {
    for (int t = 0; t < row->count; t++) {
      const int k = row->index[t];
      dj[k] -= theta * value[k];
      value[k] = 0.0;
    }
  } else {
    for (int place = w->m + 1; place <= w->partEndLower; place++) {
      const int k = w->list[place];
      dj[k] -= theta * value[k];
      value[k] = 0.0;
    }
  }
  row->count = 0;
}

// A reduced cost of the wrong sign, left by rounding, becomes zero at the price of a shift of the cost.
void shiftCost(SimplexWork *w, int k) {
  w->cost[k] -= w->dj[k];
  w->dj[k] = 0.0;
  w->dual->costsShifted = 1;
}

void carryWeights(SimplexWork *w) {
  DualWork *d = w->dual;
  const int r = w->leaveRow;
  const double inverse = 1.0 / d->alpha.value[r], norm = d->rhoNorm;
  for (int t = 0; t < d->alpha.count; t++) {
    const int i = d->alpha.index[t];
    if (i == r) continue;
    const double ratio = d->alpha.value[i] * inverse;
    const double fresh = d->rowWeight[i] + ratio * (ratio * norm - 2.0 * d->tau.value[i]);

    d->rowWeight[i] = fresh > LEAST_WEIGHT ? fresh : LEAST_WEIGHT;
  }
  const double weight = norm * inverse * inverse;
  d->rowWeight[r] = weight > LEAST_WEIGHT ? weight : LEAST_WEIGHT;
}

void exchangeBasics(SimplexWork *w, int leavesAtUpper, double step) {
  const int r = w->leaveRow, entering = w->enterVar, leaving = w->list[r];
  w->leaveVar = leaving;
  w->leaveState = leavesAtUpper ? 2 : 0;
  w->value[leaving] = leavesAtUpper ? w->basicUpper[r] : w->basicLower[r];
  const double entered = w->value[entering] + step;
  list_pivot(w, r, entering, stateOfValue(w, leaving));
  w->value[entering] = entered;
  w->basicLower[r] = w->lower[entering];
  w->basicUpper[r] = w->upper[entering];
  w->basicValue[r] = entered;
  w->basicStatus[r] = w->upper[entering] - w->lower[entering] <= FIXED_RANGE ? uint32_t(ROW_FIXED) : 0u;
  dualRows_update(w, r);
  rows_exchange(w, entering, leaving);
}

}  // namespace

void column_addTo(const SimplexWork *w, SparseVector *v, int k, double move) {
  const int *row;
  const double *value;
  const int length = variableColumn(w, k, &row, &value);
  for (int e = 0; e < length; e++) sparseVector_add(v, row[e], move * value[e]);
}

void dualFlips_apply(SimplexWork *w) {
  DualWork *d = w->dual;
  if (d->flipCount == 0) return;
  double gain = 0.0;
  for (int t = 0; t < d->flipCount; t++) {
    const int k = d->flips[t];
    const bool up = variableState(w->flags[k]) == 1;
    const double target = up ? w->upper[k] : w->lower[k], move = target - w->value[k];
    gain += w->dj[k] * move;
    column_addTo(w, &d->moved, k, move);
    w->value[k] = target;
    list_setState(w, k, up ? 2 : 1);
  }
  d->flipCount = 0;
  qrtlplp.Robjvalue += qrtlplp.Rmaxmin * gain;
  qrtftrn(w->factor, &d->moved, SOLVE_RHS);
  subtractFromBasics(w, &d->moved);
  sparseVector_clear(&d->moved);
}

void qrtupsd(SimplexWork *w, int leavesAtUpper) {
  DualWork *d = w->dual;
  const int r = w->leaveRow, entering = w->enterVar;
  const double pivot = d->alpha.value[r];
  const int state = variableState(w->flags[entering]);
  const double dj = w->dj[entering];
  if ((state == 1 && dj < 0.0) || (state == 2 && dj > 0.0)) shiftCost(w, entering);
  const double theta = w->dj[entering] / pivot;
  if (std::fabs(theta) <= 1.0e-12) w->state.degenerateCount++;
  const double bound = leavesAtUpper ? w->basicUpper[r] : w->basicLower[r];
  const double step = (w->basicValue[r] - bound) / pivot;
  w->stepLength = step;
  qrtlplp.Robjvalue += qrtlplp.Rmaxmin * w->dj[entering] * step;
  updateReducedCosts(w, theta);
  for (int t = 0; t < d->alpha.count; t++) {
    const int i = d->alpha.index[t];
    w->basicValue[i] -= step * d->alpha.value[i];
    if (i != r) dualRows_update(w, i);
  }
  w->basicValue[r] = bound;
  dualRows_update(w, r);
  carryWeights(w);
  const int leaving = w->list[r];
  exchangeBasics(w, leavesAtUpper, step);
  w->dj[entering] = 0.0;
  w->dj[leaving] = -theta;
}
