// The primal loop between two factorisations (qrtsprm): choose a column, check it, find the row, step, carry the
// reduced costs and weights on, exchange. It never factorises and never decides more than it can prove at a fresh
// factorisation; for everything else it leaves to the driver with a code.
#include "simplex/primal.h"

#include <cmath>
#include <cstring>

#include "frame/guarded_memory.h"
#include "simplex/kept_solve.h"

namespace {

enum : int { MSG_VALUES_ENDED = 111, MSG_TO_DEVEX_SUCCESS = 137, MSG_OVERWRITTEN = 158 };
enum : int { STOP_AT_SWITCH = 1 };
constexpr double WEIGHT_FLOOR = 1.0e-20;

// What becomes of the loop after a part of an iteration.
enum Fate : int { GO_ON, LEAVE };

// What one pass remembers.
struct Pass {
  int code;            // PASS_*
  int entryMode;
  double entryWeight;
  double savedZeroTol;
  int refused;         // columns refused in a row
  int valuesRetries;   // tries of the present variable in a values pass
  int wanted;          // 1: a factorisation is wanted
};

int sinceFactor(const SimplexWork *w) { return qrtlplp.Iiternum - w->factorIter; }

void distrust(SimplexWork *w) {
  w->djState = 5;
  w->djRefresh = 999;
}

void raiseBest(SimplexWork *w) {
  const double floor = 1.001 * qrtlplp.Rsumpinf / qrtlplp.Rpweight + qrtlplp.Rmaxmin * qrtlplp.Robjvalue;
  if (w->bestObjective < floor) w->bestObjective = floor;
}

Fate refactor(Pass *pass) {
  pass->code = PASS_REFACTOR;
  return LEAVE;
}

void toFullPricing(SimplexWork *w) {
  w->priceMode = PRICE_FULL;
  w->priceBase = -w->priceRefresh;
  qrtmesg_no(MSG_TO_DEVEX_SUCCESS);
  if (qrtlplp.Istopmask & STOP_AT_SWITCH) qrtlplp.Iprobstat = 3;
}

// A smaller weight after infeasibility grew by `factor`.
void lowerWeight(SimplexWork *w, double factor) {
  PrimalWork *p = w->primal;
  qrtnwwt(w, factor * qrtlplp.Rpweight, 1);
  p->infeasibilityMark = 1.00001 * qrtlplp.Rsumpinf;
  distrust(w);
  const double base = 1.001 * qrtlplp.Rsumpinf / qrtlplp.Rpweight + qrtlplp.Rmaxmin * qrtlplp.Robjvalue;
  w->bestObjective = base > 1.001 * w->meritPrimal ? base : 1.001 * w->meritPrimal;
}

void reject(SimplexWork *w) {
  qrtrjct(w, w->enterVar);
  w->accuracyLevel = 2;
  distrust(w);
}

void clearVectors(PrimalWork *p) {
  sparseVector_clear(&p->alpha);
  sparseVector_clear(&p->rho);
  sparseVector_clear(&p->change);
  sparseVector_clear(&p->tau);
}

// ---- no column ----------------------------------------------------------------------------------------------------

Fate endOfValuesPass(SimplexWork *w, Pass *pass) {
  PrimalWork *p = w->primal;
  if (sinceFactor(w) > 10) {
    p->valuesPlace = 0;
    return refactor(pass);
  }
  w->priceMode = PRICE_FULL;
  w->priceBase = -w->priceRefresh;
  distrust(w);
  if (pass->entryWeight > qrtlplp.Rpweight) qrtlplp.Rpweight = pass->entryWeight;
  qrtobjv(w);
  w->bestObjective = w->meritPrimal + 1.0e-6 * (std::fabs(w->meritPrimal) + 1.0);
  qrtmesg_no_q1(MSG_VALUES_ENDED, "QRTSSLV", 7);
  if (qrtlplp.Istopmask & STOP_AT_SWITCH) {
    qrtlplp.Iprobstat = 3;
    return LEAVE;
  }
  w->bestObjective = 1.0e50;
  return GO_ON;
}

Fate noColumn(SimplexWork *w, Pass *pass) {
  if (w->priceMode == PRICE_VALUES) return endOfValuesPass(w, pass);
  if (sinceFactor(w) > 0) {
    w->nothingLeft = 1;
    return LEAVE;  // only a fresh factorisation is believed
  }
  if (!primalInfeasible()) {
    qrtlplp.Iprobstat = 0;
    return LEAVE;
  }
  const double ratio = qrtbthd(w);
  if (ratio > WEIGHT_FLOOR && qrtlplp.Rpweight > WEIGHT_FLOOR) {
    // The least ratio lies below the weight in force, or the column would have been attractive.
    const double weight = 0.3 * ratio < qrtlplp.Rpweight ? 0.3 * ratio : 0.3 * qrtlplp.Rpweight;
    qrtnwwt(w, weight, 1);
    distrust(w);
    return GO_ON;
  }
  qrtlplp.Iprobstat = 1;
  return LEAVE;
}

// ---- a column that was refused ------------------------------------------------------------------------------------

Fate refusedColumn(SimplexWork *w, Pass *pass, ColumnCheck check) {
  PrimalWork *p = w->primal;
  if (check == COLUMN_REFACTOR) return refactor(pass);
  if (w->priceMode == PRICE_RANDOM) {
    const int failures = ++p->randomFailures;
    const int phase = qrtlplp.Iiternum - w->phaseStartIter;
    double factor = w->switchFactor * p->failureWeight;
    if (qrtlplp.Ifastits > 0) factor = (phase < 100 ? 5.0 : 0.8) * p->failureWeight;
    if (factor > 0.5) factor = 0.5;
    if ((sinceFactor(w) - failures) * factor + 5.0 < failures || factor == 0.0) {
      if (qrtlplp.Ifastits > 0)
        w->priceMode = PRICE_BLOCKS;
      else
        toFullPricing(w);
      distrust(w);
      if (qrtlplp.Iprobstat == 3) return LEAVE;
    }
    return GO_ON;
  }
  if (w->priceMode == PRICE_FULL && w->djState == 8) {
    // Everything was fresh and still the column disagrees: its own value stands in dj now. A run of these means that
    // the factor has lost its accuracy.
    if (++pass->refused > 20 && sinceFactor(w) > 0) return refactor(pass);
    if (pass->refused > 50) reject(w);
    return GO_ON;
  }
  distrust(w);
  return GO_ON;
}

// ---- unbounded ----------------------------------------------------------------------------------------------------

Fate unboundedColumn(SimplexWork *w, Pass *pass) {
  PrimalWork *p = w->primal;
  w->leaveVar = w->leaveRow = 0;
  if (w->enterGamma <= 0.01 && std::fabs(w->enterDj) <= 1000.0 * qrtlplp.Rtoldinf) w->priceBase = -9999;
  if (qrtlplp.Iiternum - w->priceBase >= 501) w->priceBase = -9999;
  if (sinceFactor(w) > 0) {
    p->unboundedVar = w->enterVar;
    return refactor(pass);
  }
  if (w->priceMode == PRICE_RANDOM) {
    toFullPricing(w);
    distrust(w);
    return qrtlplp.Iprobstat == 3 ? LEAVE : GO_ON;
  }
  if (primalInfeasible() && qrtlplp.Rpweight > WEIGHT_FLOOR) {
    // Unbounded while infeasible: the weight of the cost is too large. The column is looked at once more without it.
    w->weightChangeIter = qrtlplp.Iiternum;
    p->savedWeight = qrtlplp.Rpweight;
    qrtlplp.Rpweight = WEIGHT_FLOOR;
    w->bestObjective = w->meritPrimal = 1.0e51;
    p->unboundedVar = -1;
    distrust(w);
    return GO_ON;
  }
  if (w->priceMode == PRICE_VALUES && std::fabs(w->enterDj) <= qrtlplp.Rtoldinf) {
    // Nothing stops it, but nothing is gained either: it stays where it is.
    return GO_ON;
  }
  p->unboundedVar = w->enterVar;
  qrtlplp.Ifastits = 0;
  if (primalInfeasible()) {
    // The sum of infeasibilities cannot fall without end: the column's numbers are wrong.
    reject(w);
    return GO_ON;
  }
  qrtlplp.Iprobstat = 2;
  return LEAVE;
}

// After the weight was dropped for an unbounded column: as large again as the column just checked allows.
void restoreWeight(SimplexWork *w) {
  PrimalWork *p = w->primal;
  const double q = p->enterInfeasiblePart, c = p->enterCostPart;
  double weight = 0.99 * p->savedWeight;
  if (q * c < 0.0) {
    const double most = 0.5 * std::fabs(q / c);
    if (most < weight) weight = most;
  }
  qrtnwwt(w, weight, 1);
  qrtobjv(w);
  w->enterDj = qrtlplp.Rpweight * c + q;
  p->unboundedVar = 0;
  distrust(w);
}

// ---- pivots that cannot be trusted, steps that were undone ----------------------------------------------------------

Fate valuesTrouble(SimplexWork *w, Pass *pass) {
  PrimalWork *p = w->primal;
  if (++pass->valuesRetries <= 2) {
    p->valuesPlace = w->enterVar - 1;
    return sinceFactor(w) > 0 ? refactor(pass) : GO_ON;
  }
  pass->valuesRetries = 0;
  if (sinceFactor(w) > 0) {
    p->valuesPlace = w->enterVar - 1;
    return refactor(pass);
  }
  reject(w);
  return GO_ON;
}

Fate badPivot(SimplexWork *w, Pass *pass, bool flooded) {
  if (w->priceMode == PRICE_VALUES) return valuesTrouble(w, pass);
  if (flooded && qrtlplp.Rpweight > 1.0e-10) {
    lowerWeight(w, 0.9);
    return GO_ON;
  }
  // With many updates behind it the factor is the likelier culprit.
  if (sinceFactor(w) >= 20) return refactor(pass);
  reject(w);
  return GO_ON;
}

// ---- bookkeeping after an iteration -----------------------------------------------------------------------------------

Fate userExit(SimplexWork *w) {
  const double weight = qrtlplp.Rpweight;
  const int answer = qrtitrx(w, 1);
  if (weight != qrtlplp.Rpweight) {
    w->bestObjective = 1.0e51;
    w->priceMode = PRICE_BLOCKS;
    distrust(w);
  }
  return answer == 99 || qrtlplp.Iprobstat == 3 ? LEAVE : GO_ON;
}

Fate housekeeping(SimplexWork *w, Pass *pass) {
  PrimalWork *p = w->primal;
  if (qrtlplp.Iiternum >= qrtlplp.Imaxiter) {
    qrtlplp.Iprobstat = 3;
    return LEAVE;
  }
  if (qrtlplp.Iiterufreq > 0 && qrtlplp.Iiternum % qrtlplp.Iiterufreq == 0 && userExit(w) == LEAVE) return LEAVE;
  if (qrtlplp.Ilogfreq > 0 && qrtlplp.Iiternum % qrtlplp.Ilogfreq == 0) progressLine(w);
  if (!primalInfeasible() && w->primalPerturbation == 0.0 && qrtlplp.Rmaxmin * qrtlplp.Robjvalue < qrtlplp.Rdccutoff) {
    qrtlplp.Iprobstat = 3;
    return LEAVE;
  }
  if (w->priceMode == PRICE_VALUES && sinceFactor(w) >= 31 && w->leaveRow) {
    const double size = std::fabs(w->pivotValue);
    if (size > 1.0e7 || size < 1.0e-6) return refactor(pass);
  }
  if (qrtlplp.Iiternum % 500 == 49 && primalInfeasible() && w->priceMode != PRICE_VALUES) qrtadjw(w);
  if (qrtlplp.Rsumpinf > p->infeasibilityMark && qrtlplp.Rpweight > 1.0e-30 && w->priceMode != PRICE_VALUES) lowerWeight(w, 0.7);
  return GO_ON;
}

// Reduced costs that no scan keeps up: a new column's is 0, and so would the one that left be but for the step.
void settleTwoCosts(SimplexWork *w, int leaving) {
  const double theta = w->enterDj / w->pivotValue;
  w->dj[w->enterVar] = 0.0;
  w->dj[leaving] = w->primal->change.value[w->leaveRow] - theta;
}

// Row multipliers after an exchange, for the pricing that works from them.
void multipliers_update(SimplexWork *w) {
  PrimalWork *p = w->primal;
  double enterDj = w->enterDj;
  for (int t = 0; t < p->change.count; t++) {
    const int i = p->change.index[t];
    if (i != w->leaveRow) enterDj -= p->change.value[i] * p->alpha.value[i];
  }
  const double theta = enterDj / w->pivotValue;
  for (int t = 0; t < p->rho.count; t++) w->y[p->rho.index[t]] += theta * p->rho.value[p->rho.index[t]];
  if (p->change.count == 0) return;
  p->change.value[w->leaveRow] = p->change.value[w->leaveRow] != 0.0 ? CANCELLED_VALUE : 0.0;
  qrtbtrn(w->factor, &p->change, SOLVE_DUALS);
  for (int t = 0; t < p->change.count; t++) w->y[p->change.index[t]] += p->change.value[p->change.index[t]];
}

// Weights that the last solve left go on where that one stopped: a framework as old as it was when it began here.
void takeKeptWeights(SimplexWork *w) {
  PrimalWork *p = w->primal;
  if (p->weightsTaken || w->priceMode != PRICE_FULL || (w->partialSize & 1023) || qrtlplp.Idevexmode <= 0) return;
  p->weightsTaken = 1;
  const int kind = steepestEdge() ? SCORE_STEEPEST : SCORE_DEVEX;
  if (w->dual || p->weightKind != 0 || !keptWeights_takePrimal(w, kind)) return;
  p->weightKind = kind;
  p->weightsCarried = 1;
  w->resetWanted = 0;
  w->priceBase = qrtlplp.Iiternum;
  w->referenceError = 10.0;
  if (!steepestEdge()) return;
  w->weightFloor = 0.1;
  w->priceRefresh = referenceMode() >= 3 ? 999999 : 3000000;
}

// Everything that follows from a pivot before the factor changes: rho, weights, reduced costs.
void carryOn(SimplexWork *w) {
  PrimalWork *p = w->primal;
  const int leaving = w->leaveVar;
  const bool blocks = w->priceMode == PRICE_BLOCKS || (w->priceMode == PRICE_FULL && (w->partialSize & 1023));
  p->leavesReference = (w->basicStatus[w->leaveRow] & VAR_REFERENCE) != 0;
  if (w->priceMode != PRICE_FULL && !blocks) {
    p->weightsCarried = 0;
    settleTwoCosts(w, leaving);
    if (w->priceMode == PRICE_VALUES) distrust(w);
    return;
  }
  if (!blocks && p->scoreMode == SCORE_STEEPEST) {
    const bool framework = referenceMode() == 2;
    for (int t = 0; t < p->alpha.count; t++) {
      const int i = p->alpha.index[t];
      if (framework && !(w->basicStatus[i] & VAR_REFERENCE)) continue;
      p->tau.index[p->tau.count++] = i;
      p->tau.value[i] = p->alpha.value[i];
    }
    qrtbtn2(w->factor, w->leaveRow, 1.0, &p->rho, &p->tau, SOLVE_TAU);
  } else {
    qrtbtrn_row(w->factor, w->leaveRow, 1.0, &p->rho);
  }
  p->rowLengthSum += p->rho.count;
  p->rowCount++;
  if (blocks) {
    p->weightsCarried = 0;
    settleTwoCosts(w, leaving);
    if (!(w->djState & 4)) multipliers_update(w);
    return;
  }
  weights_update(w, !(w->djState & 4));
}

// ---- the iteration --------------------------------------------------------------------------------------------------

Fate takeFlip(SimplexWork *w, Pass *pass, double range) {
  PrimalWork *p = w->primal;
  w->leaveRow = w->leaveVar = 0;
  history_append(w);
  const int found = qrtupsp(w, range, 0, 0);
  if (found != STEP_GOOD) {
    w->historyCount--;
    return badPivot(w, pass, found == STEP_FLOODED);
  }
  flip(w);
  candidate_changed(w, w->enterVar);
  qrtlplp.Iiternum++;
  const bool full = w->priceMode == PRICE_FULL && !(w->partialSize & 1023);
  if (p->change.count > 0 && !(w->djState & 4)) {
    if (full)
      change_apply(w);
    else
      distrust(w);
  }
  if (refactorisationWanted(w, 0)) pass->wanted = 1;
  return GO_ON;
}

Fate takeRow(SimplexWork *w, Pass *pass, const RatioChoice *choice) {
  PrimalWork *p = w->primal;
  const bool wasInfeasible = primalInfeasible();
  const double oldMerit = w->meritPrimal;
  w->leaveRow = choice->row;
  w->leaveVar = w->list[choice->row];
  w->pivotValue = choice->pivot;
  history_append(w);
  const int found = qrtupsp(w, choice->step, choice->row, (w->basicStatus[choice->row] & ROW_FIXED) != 0);
  if (found != STEP_GOOD) {
    w->historyCount--;
    return badPivot(w, pass, found == STEP_FLOODED);
  }
  carryOn(w);
  const int leaving = exchange(w, choice->leavesAtUpper);
  if (p->rowsArePartitioned) rows_exchange(w, w->enterVar, leaving);
  candidate_changed(w, leaving);
  candidate_changed(w, w->enterVar);
  qrtlplp.Iiternum++;
  w->updateCount++;
  const int etasBefore = w->factor->etaCount;
  const UpdateResult updated = qrtetsj(w->factor, w->leaveRow, w->pivotValue, sinceFactor(w));
  if (updated == UPDATE_FAILED) {
    qrtbckt(w, 1);
    if (w->priceMode == PRICE_VALUES) p->valuesPlace = w->enterVar - 1;
    return refactor(pass);
  }
  if (refactorisationWanted(w, w->factor->etaCount - etasBefore) || updated == UPDATE_REFACTOR) pass->wanted = 1;
  if (w->meritPrimal > oldMerit + 0.0001 * std::fabs(oldMerit) + 1.0e-6 && sinceFactor(w) >= (wasInfeasible ? 51 : 11))
    pass->wanted = 1;
  return GO_ON;
}

// Columns are priced in blocks while they are plenty, all of them when few are attractive.
void switchPricing(SimplexWork *w, const Pass *pass) {
  const int g = w->m / 100 + w->n / 500 + 100;
  if (w->priceMode == PRICE_FULL && (pass->code < PASS_COLUMN_CHOSEN || qrtlplp.Iiternum - w->priceBase >= 100) &&
      qrtlplp.Iiternum - w->phaseStartIter < qrtlplp.Ifastits && g < qrtlplp.Inumdinf) {
    w->priceMode = PRICE_BLOCKS;
    w->resetWanted = 0;
    w->priceBase = qrtlplp.Iiternum + qrtlplp.Imaxfactor;
    distrust(w);
  } else if (w->priceMode == PRICE_BLOCKS && pass->code < PASS_COLUMN_CHOSEN && qrtlplp.Inumdinf < g) {
    w->priceMode = PRICE_FULL;
    w->priceBase = qrtlplp.Iiternum - qrtlplp.Imaxfactor;
    distrust(w);
  }
}

bool isFree(const SimplexWork *w, int k) {
  return w->lower[k] <= -QRT_INFINITE_TEST && w->upper[k] >= QRT_INFINITE_TEST;
}

double rangeAhead(const SimplexWork *w) {
  const int k = w->enterVar;
  double range = w->enterDir > 0 ? w->upper[k] - w->value[k] : w->value[k] - w->lower[k];
  const double bound = w->enterDir > 0 ? w->upper[k] : w->lower[k];
  if (std::fabs(bound) >= QRT_INFINITE_TEST) {
    // A free variable of a values pass rests at zero.
    if (w->priceMode == PRICE_VALUES && isFree(w, k) && w->value[k] * w->enterDir < 0.0) return std::fabs(w->value[k]);
    return 1.0e20;
  }
  if (range < 0.0) range = 0.0;
  return range < 1.0e20 ? range : 1.0e20;
}

Fate iterate(SimplexWork *w, Pass *pass) {
  PrimalWork *p = w->primal;
  raiseBest(w);
  if (w->priceMode == PRICE_FULL && p->unboundedVar > 0) {
    w->weight[p->unboundedVar] = WEIGHT_FLOOR;
    candidate_changed(w, p->unboundedVar);
    p->unboundedVar = 0;
    if (w->priceBase < qrtlplp.Iiternum - 18) w->priceBase = qrtlplp.Iiternum - 18;
  }
  const int found = qrtccol(w);
  if (!found) return noColumn(w, pass);
  switchPricing(w, pass);
  pass->code = PASS_COLUMN_CHOSEN;
  const ColumnCheck check = qrtchdj(w, found);
  if (check != COLUMN_GOOD) return refusedColumn(w, pass, check);
  if (p->unboundedVar < 0) restoreWeight(w);
  RatioChoice choice;
  const double range = rangeAhead(w);
  RatioResult ratio = qrtczrp(w, range, &choice);
  if (w->priceMode == PRICE_VALUES && std::fabs(w->enterDj) <= qrtlplp.Rtoldinf &&
      (ratio == RATIO_NONE || ratio == RATIO_SMALL_PIVOT || (ratio == RATIO_ROW && std::fabs(choice.pivot) < 1.0e-4))) {
    // Nothing is lost in the other direction, which may offer a better pivot.
    w->enterDir = -w->enterDir;
    ratio = qrtczrp(w, rangeAhead(w), &choice);
  }
  ratio = qrtczru(w, ratio, &choice);
  Fate fate;
  switch (ratio) {
    case RATIO_NONE: return unboundedColumn(w, pass);
    case RATIO_SMALL_PIVOT: return badPivot(w, pass, false);
    case RATIO_FLIP: fate = takeFlip(w, pass, choice.step); break;
    default: fate = takeRow(w, pass, &choice); break;
  }
  if (fate == LEAVE) return LEAVE;
  pass->refused = pass->valuesRetries = 0;
  if (qrtlplp.Iprobstat >= 0) return LEAVE;
  fate = housekeeping(w, pass);
  if (fate == GO_ON && pass->wanted) return refactor(pass);
  return fate;
}

void begin(SimplexWork *w, Pass *pass) {
  PrimalWork *p = w->primal;
  pass->entryMode = w->priceMode;
  pass->entryWeight = qrtlplp.Rpweight;
  pass->savedZeroTol = w->pivotZeroTol;
  pass->code = w->passNumber == 0 ? PASS_FIRST_NO_COLUMN : PASS_NO_COLUMN;
  if (w->passNumber == 0) p->unboundedVar = 0;
  distrust(w);
  const double eta = w->factor->lCount + w->factor->etaCount;
  p->failureWeight = 0.05 / ((3.0 * eta + w->m) / (w->n + w->matrixElements + 1.0e-12) + 1.0e-12);
  p->infeasibilityMark = 1.00001 * qrtlplp.Rsumpinf > 0.001 ? 1.00001 * qrtlplp.Rsumpinf : 0.001;
  p->columnLengthSum = p->rowLengthSum = 0.0;
  p->rowCount = p->randomFailures = p->listedPlace = 0;
  if (w->priceMode == PRICE_VALUES) w->pivotZeroTol = 1.1e-5;
  takeKeptWeights(w);
  for (int i = 1; i <= w->m; i++) p->basicCost[i] = w->cost[w->list[i]];
  for (int i = 1; i <= w->m; i++)
    w->basicStatus[i] = (w->basicStatus[i] & ~uint32_t(VAR_REFERENCE)) | (w->flags[w->list[i]] & VAR_REFERENCE);
  rows_partition(w);
}

int finish(SimplexWork *w, Pass *pass) {
  PrimalWork *p = w->primal;
  clearVectors(p);
  basicsToRims(w);
  w->pivotZeroTol = pass->savedZeroTol;
  w->partialSize = int(p->columnLengthSum / (sinceFactor(w) + 1));
  w->btranMean = p->rowCount ? p->rowLengthSum / p->rowCount : 0.0;
  if (w->priceMode == PRICE_LISTED) w->priceMode = pass->entryMode;
  if (pass->entryMode == PRICE_VALUES) {
    if (pass->entryWeight < qrtlplp.Rpweight) qrtlplp.Rpweight = pass->entryWeight;
    w->bestObjective = 1.0e51;
  }
  if (pass->entryMode != PRICE_FULL && qrtlplp.Iprobstat >= 0) {
    w->priceMode = PRICE_FULL;
    w->priceBase = -w->priceRefresh;
  }
  return pass->code;
}

}  // namespace

void *workZeroed(SimplexWork *w, int64_t count, size_t size) { return solveMemory(w, count, size); }
double *workDoubles(SimplexWork *w, int64_t count) { return static_cast<double *>(workZeroed(w, count, sizeof(double))); }
int *workIntegers(SimplexWork *w, int64_t count) { return static_cast<int *>(workZeroed(w, count, sizeof(int))); }
void workVector_make(SimplexWork *w, SparseVector *v, int size) {
  v->size = size;
  v->count = 0;
  v->index = workIntegers(w, int64_t(size) + 1);
  v->value = workDoubles(w, int64_t(size) + 1);
}

PrimalWork *primalWork(SimplexWork *w) {
  if (w->primal) return w->primal;
  PrimalWork *p = static_cast<PrimalWork *>(workZeroed(w, 1, sizeof(PrimalWork)));
  workVector_make(w, &p->alpha, w->m);
  workVector_make(w, &p->rho, w->m);
  workVector_make(w, &p->change, w->m);
  workVector_make(w, &p->tau, w->m);
  workVector_make(w, &p->pivotRow, w->total);
  p->tauRow = workDoubles(w, int64_t(w->total) + 1);
  p->basicCost = workDoubles(w, int64_t(w->m) + 1);
  p->costPart = workDoubles(w, int64_t(w->total) + 1);
  p->candidate = workIntegers(w, int64_t(w->total) + 1);
  p->score = workDoubles(w, int64_t(w->total) + 1);
  p->candidatePlace = workIntegers(w, int64_t(w->total) + 1);
  // Blocks are aligned to 8 bytes, pairs are read 16 at a time.
  p->pairs = workDoubles(w, 2 * (int64_t(w->m) + 1) + 1);
  if (reinterpret_cast<uintptr_t>(p->pairs) & 8) p->pairs++;
  p->rowEnd = workIntegers(w, int64_t(w->m) + 2);
  p->rowVar = static_cast<int *>(solveMemoryRaw(w, int64_t(w->matrixElements) + 1, sizeof(int)));
  p->rowValue = static_cast<double *>(solveMemoryRaw(w, int64_t(w->matrixElements) + 1, sizeof(double)));
  std::memcpy(p->rowVar, w->rowVar, size_t(w->matrixElements) * sizeof(int));
  std::memcpy(p->rowValue, w->rowValue, size_t(w->matrixElements) * sizeof(double));
  p->window = static_cast<Breakpoint *>(solveMemoryRaw(w, int64_t(w->m) + 1, sizeof(Breakpoint)));
  p->changedRow = workIntegers(w, int64_t(w->m) + 1);
  p->savedValue = workDoubles(w, int64_t(w->m) + 1);
  p->savedStatus = static_cast<uint32_t *>(workZeroed(w, int64_t(w->m) + 1, sizeof(uint32_t)));
  w->primal = p;
  return p;
}

const char *primal_check(const SimplexWork *w) {
  const PrimalWork *p = w->primal;
  const SparseVector *vectors[] = {&p->alpha, &p->rho, &p->change, &p->tau, &p->pivotRow};
  for (const SparseVector *v : vectors) {
    if (v->count != 0) return "a work vector of the primal is not empty";
    for (int i = 0; i <= v->size; i++)
      if (v->value[i] != 0.0) return "a work vector of the primal is not zero";
  }
  if (w->priceMode == PRICE_FULL && !(w->partialSize & 1023) && !(w->djState & 4))
    if (const char *fault = candidates_check(w)) return fault;
  return rows_check(w);
}

int qrtsprm(SimplexWork *w) {
  primalWork(w);
  Pass pass{};
  begin(w, &pass);
  while (iterate(w, &pass) == GO_ON) {
    clearVectors(w->primal);
#ifdef QRT_SELF_CHECKS
    if (qrtlplp.Iiternum % 64 == 0)
      if (const char *fault = primal_check(w)) qrtmesg_no_q1(MSG_OVERWRITTEN, fault, -1);
#endif
  }
  return finish(w, &pass);
}
