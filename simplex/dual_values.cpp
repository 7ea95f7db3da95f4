// The dual values pass (qrtsdvl): from row multipliers that came with the model to a basis that fits them.
//
// Multipliers y of any kind, of an interior method say, give reduced costs d = cost - A'y that need not be zero for the
// basic variables. Each such row r is settled by moving y along its row of the inverse,
//
//     y := y + t rho,   d_j := d_j - t alpha_rj,   d of its basic variable := d - t,
//
// which changes no other basic's d. Either t takes d to zero, or a nonbasic's reduced cost vanishes first: then that one
// becomes basic, and the variable of the row leaves for the bound that the sign of what remains of its d names. It is the
// mirror image of the primal values pass, and the dual half of a crossover (Bixby and Saltzman 1994).
//
//   - Free basics come first, while the nonbasics have all their room: they must stay, so they take the whole step.
//   - A fixed variable may have any d, so it leaves whenever there is a column to take its place.
//   - A boxed nonbasic does not stop the step, it goes to its other bound.
//
// Where the multipliers are infeasible, or a whole step makes them so, the cost of the column gives way; the true costs are
// back when the run goes on from the basis found.
#include "simplex/dual.h"

#include <cmath>

#include "simplex/driver.h"

namespace {

constexpr double FIXED_RANGE = 1.0e-12;
constexpr double FRESH_PIVOT = 1.0e-9;
constexpr double LATER_PIVOT = 1.0e-7;
constexpr double LEAST_PIVOT = 1.0e-5;   // of an exchange; below it the row takes the whole step
constexpr double NO_LIMIT = 1.0e20;      // for a fixed variable
constexpr int MOST_FAILURES = 10;        // exchanges the factor refused, before no more are tried

enum Fate : int { GO_ON, LEAVE };

bool hasLower(const SimplexWork *w, int k) { return w->lower[k] > -QRT_INFINITE_TEST; }
bool hasUpper(const SimplexWork *w, int k) { return w->upper[k] < QRT_INFINITE_TEST; }
bool isFixed(const SimplexWork *w, int k) { return w->upper[k] - w->lower[k] <= FIXED_RANGE; }
bool isBoxed(const SimplexWork *w, int k) { return hasLower(w, k) && hasUpper(w, k); }

// Can k stand at a bound with a reduced cost of this sign?
bool mayLeave(const SimplexWork *w, int k, double d) { return isFixed(w, k) || (d > 0.0 ? hasLower(w, k) : hasUpper(w, k)); }

// The multipliers in the model; those of a slack basis where there are none.
void takeValues(SimplexWork *w) {
  DualWork *d = w->dual;
  d->givenY = workDoubles(w, int64_t(w->m) + 1);
  d->valuesRow = workIntegers(w, int64_t(w->m) + 1);
  for (int i = 1; i <= w->m; i++) {
    const double y = -w->model->dual[i - 1] * w->varScale[i];
    d->givenY[i] = std::fabs(y) < QRT_INFINITE_TEST ? y : 0.0;
  }
}

// Reduced costs of all variables, basics too, and every nonbasic made feasible: boxed ones by a flip, others by their cost.
void reducedCostsOfValues(SimplexWork *w) {
  for (int k = 1; k <= w->total; k++) w->dj[k] = w->cost[k] - columnTimes(w, k, w->dual->givenY);
  makeDualFeasible(w);
  dualShiftInfeasible(w, QRT_INFINITY);
}

// Rows to settle, those of free variables first (qrtczrv2); returns their number.
int listRows(SimplexWork *w) {
  DualWork *d = w->dual;
  int count = 0;
  for (int round = 0; round < 2; round++)
    for (int i = 1; i <= w->m; i++) {
      const int k = w->list[i];
      const bool isFree = !hasLower(w, k) && !hasUpper(w, k);
      if (isFree == (round == 0) && std::fabs(w->dj[k]) > qrtlplp.Rtoldinf) d->valuesRow[count++] = i;
    }
  return count;
}

// The nonbasic j, not boxed, whose reduced cost reaches zero along the step, and how far it lets the step go.
struct Block {
  int var;       // 0: none before the limit
  double ratio;  // of the step's length
};

// Distance of j's reduced cost from zero along a step of this sign; false when the step leads away from it.
bool approaches(const SimplexWork *w, int k, double a, double sign, double *dist) {
  const int state = variableState(w->flags[k]);
  const double along = sign * a, dj = w->dj[k];
  if (state == 3) *dist = 0.0;
  else if (state == 1 && along > 0.0) *dist = dj;
  else if (state == 2 && along < 0.0) *dist = -dj;
  else return false;
  return true;
}

template <class Visit> void eachOfPivotRow(const SimplexWork *w, Visit visit) {
  const SparseVector *row = &w->primal->pivotRow;
  if (row->count >= 0) {
    for (int t = 0; t < row->count; t++) visit(row->index[t], row->value[row->index[t]]);
  } else {
    for (int place = w->m + 1; place <= w->partEndLower; place++)
      if (row->value[w->list[place]] != 0.0) visit(w->list[place], row->value[w->list[place]]);
  }
}

// Two passes as in the dual's own ratio test: the least relaxed ratio, then the largest pivot within it (qrtczcv).
Block chooseColumn(const SimplexWork *w, double sign, double limit) {
  const double tolerance = w->djTolerance, floor = w->updateCount < 10 ? FRESH_PIVOT : LATER_PIVOT;
  double least = limit;
  eachOfPivotRow(w, [&](int k, double a) {
    double dist;
    if (std::fabs(a) <= floor || isBoxed(w, k) || !approaches(w, k, a, sign, &dist)) return;
    const double relaxed = (std::fmax(dist, 0.0) + tolerance) / std::fabs(a);
    if (relaxed < least) least = relaxed;
  });
  Block best = {0, 0.0};
  double largest = 0.0;
  eachOfPivotRow(w, [&](int k, double a) {
    double dist;
    const double size = std::fabs(a);
    if (size <= floor || size <= largest || isBoxed(w, k) || !approaches(w, k, a, sign, &dist)) return;
    dist = std::fmax(dist, 0.0);
    if (dist > least * size || dist >= limit * size) return;
    largest = size;
    best.var = k;
    best.ratio = dist / size;
  });
  return best;
}

void moveMultipliers(SimplexWork *w, double t) {
  DualWork *d = w->dual;
  for (int e = 0; e < d->rho.count; e++) d->givenY[d->rho.index[e]] += t * d->rho.value[d->rho.index[e]];
}

// Boxed columns whose reduced costs change sign in a step of t.
void noteFlips(SimplexWork *w, double t, int entering) {
  DualWork *d = w->dual;
  d->flipCount = 0;
  eachOfPivotRow(w, [&](int k, double a) {
    if (k == entering || isFixed(w, k) || !isBoxed(w, k)) return;
    const int state = variableState(w->flags[k]);
    const double after = w->dj[k] - t * a;
    if ((state == 1 && after < -w->djTolerance) || (state == 2 && after > w->djTolerance)) d->flips[d->flipCount++] = k;
  });
}

// The whole step: the row's variable stays basic with reduced cost zero.
Fate settle(SimplexWork *w, int r) {
  const int k = w->list[r];
  const double t = w->dj[k];
  noteFlips(w, t, 0);
  moveMultipliers(w, t);
  dualFlips_apply(w);
  SparseVector *row = &w->primal->pivotRow;
  eachOfPivotRow(w, [&](int j, double a) {
    w->dj[j] -= t * a;
    const int state = variableState(w->flags[j]);
    const bool wrong = (state == 1 && w->dj[j] < 0.0) || (state == 2 && w->dj[j] > 0.0) || (state == 3 && w->dj[j] != 0.0);
    if (!wrong || isBoxed(w, j)) return;
    w->cost[j] -= w->dj[j];
    w->dj[j] = 0.0;
    w->dual->costsShifted = 1;
  });
  sparseVector_clear(row);
  w->dj[k] = 0.0;
  return GO_ON;
}

Fate housekeeping(SimplexWork *w, int *wanted) {
  if (qrtlplp.Iiternum >= qrtlplp.Imaxiter) {
    qrtlplp.Iprobstat = 3;
    return LEAVE;
  }
  if (dualLoop_userExit(w) || *wanted) return LEAVE;
  return GO_ON;
}

// A column takes the row, whose variable goes to the bound that what is left of its reduced cost belongs to.
Fate exchangeRow(SimplexWork *w, int r, const Block &block, double sign, int *wanted) {
  DualWork *d = w->dual;
  const int leaving = w->list[r];
  const double t = sign * block.ratio, left = w->dj[leaving] - t;
  w->enterVar = block.var;
  w->pivotValue = w->primal->pivotRow.value[block.var];
  w->enterDj = w->dj[block.var];
  const bool atUpper = !isFixed(w, leaving) && left < 0.0;
  noteFlips(w, t, block.var);
  moveMultipliers(w, t);
  // What the ratio test's tolerance lets past is taken up by the cost, as in the dual's own step.
  w->cost[block.var] += t * w->pivotValue - w->dj[block.var];
  w->dj[block.var] = t * w->pivotValue;
  d->costsShifted = 1;
  dualFlips_apply(w);
  history_append(w);
  qrtupsd(w, atUpper);
  w->dj[leaving] += left + t;
  qrtlplp.Iiternum++;
  w->updateCount++;
  const UpdateResult updated = qrtetsj(w->factor, r, d->alpha.value[r], qrtlplp.Iiternum - w->factorIter);
  if (updated == UPDATE_FAILED) {
    d->valuesFailures++;
    qrtbckt(w, 1);
    return LEAVE;
  }
  if (refactorisationWanted(w, 0) || updated == UPDATE_REFACTOR) *wanted = 1;
  return GO_ON;
}

// One row of the list.
Fate pushRow(SimplexWork *w, int r, int *wanted) {
  DualWork *d = w->dual;
  const int k = w->list[r];
  const double dk = w->dj[k], sign = dk > 0.0 ? 1.0 : -1.0;
  w->leaveRow = r;
  w->leaveVar = k;
  qrtbtrn_row(w->factor, r, 1.0, &d->rho);
  d->rhoNorm = 0.0;
  for (int e = 0; e < d->rho.count; e++) d->rhoNorm += d->rho.value[d->rho.index[e]] * d->rho.value[d->rho.index[e]];
  d->rowWeight[r] = d->rhoNorm = std::fmax(d->rhoNorm, 1.0e-12);
  pivotRow_form(w, &d->rho);
  const Block block = chooseColumn(w, sign, isFixed(w, k) ? NO_LIMIT : std::fabs(dk));
  const bool canLeave = block.var > 0 && mayLeave(w, k, dk - sign * block.ratio) && d->valuesFailures < MOST_FAILURES;
  if (!canLeave) return settle(w, r);
  w->pivotValue = w->primal->pivotRow.value[block.var];
  w->enterVar = block.var;
  dualLoop_enterColumn(w);
  const bool trusted = std::fabs(w->pivotValue) >= LEAST_PIVOT && dualLoop_pivotAgrees(w);
  if (!trusted && w->updateCount > 0) {
    sparseVector_clear(&w->primal->pivotRow);
    return LEAVE;  // a new factor may tell otherwise; the row is still on the list then
  }
  if (!trusted) return settle(w, r);
  const Fate fate = exchangeRow(w, r, block, sign, wanted);
  return fate == LEAVE ? LEAVE : housekeeping(w, wanted);
}

}  // namespace

int qrtsdvl(SimplexWork *w) {
  DualWork *d = dualWork(w);
  if (!d->givenY) takeValues(w);
  reducedCostsOfValues(w);
  dualLoop_begin(w);
  // Values and objective of the primal side follow when the pass is over.
  const double objective = qrtlplp.Robjvalue;
  const int count = listRows(w);
  int done = 0, wanted = 0;
  qrtlplp.Inumdinf = count;
  for (Fate fate = GO_ON; fate == GO_ON && done < count; done += fate == GO_ON) {
    fate = pushRow(w, d->valuesRow[done], &wanted);
    qrtlplp.Robjvalue = objective;
    qrtlplp.Inumdinf = count - done - (fate == GO_ON);
    dualLoop_clear(w);
  }
  dualLoop_end(w);
  w->djState = 5;
  if (done == count && qrtlplp.Iprobstat < 0) w->dualValues = 0;
  return PASS_REFACTOR;
}
