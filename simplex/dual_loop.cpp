// The dual loop between two factorisations (qrtsdul): choose a row, form its pivotal row, find the column, check the
// pivot, flip and step. It never factorises and believes "no row" and "no column" only at a fresh factorisation.
#include "simplex/dual.h"

#include <cmath>

#include "simplex/driver.h"
#include "simplex/kept_solve.h"

namespace {

enum Fate : int { GO_ON, LEAVE };

constexpr double PIVOT_DISAGREES = 1.0e-7;   // relative difference of a pivot by row and by column
constexpr double WEIGHT_FAR_OFF = 0.25;      // stored over true weight below which the row choice is made again
constexpr double FRESH_SMALLEST_PIVOT = 1.0e-9;
constexpr int ROW_CHOICES = 20;
constexpr double DRIFT_ALLOWED = 1.0e-9;     // of reduced costs, before a check makes them anew

struct Pass {
  int code;
  int wanted;   // 1: a factorisation is wanted
};

int sinceFactor(const SimplexWork *w) { return qrtlplp.Iiternum - w->factorIter; }

Fate refactor(Pass *pass) {
  pass->code = PASS_REFACTOR;
  return LEAVE;
}

}  // namespace

void dualLoop_enterColumn(SimplexWork *w) {
  DualWork *d = w->dual;
  const int *row;
  const double *value;
  const int length = variableColumn(w, w->enterVar, &row, &value);
  for (int e = 0; e < length; e++) {
    d->alpha.index[e] = row[e];
    d->alpha.value[row[e]] = value[e];
  }
  d->alpha.count = length;
  sparseVector_copy(&d->rho, &d->tau);
  qrtftn2(w->factor, &d->alpha, &d->tau, SOLVE_TAU);
}

bool dualLoop_pivotAgrees(SimplexWork *w) {
  const double byRow = w->pivotValue, byColumn = w->dual->alpha.value[w->leaveRow];
  const double size = std::fabs(byColumn);
  if (size < FRESH_SMALLEST_PIVOT) return false;
  const double off = std::fabs(byRow - byColumn);
  if (off <= PIVOT_DISAGREES * (1.0 + size)) return true;
  if (qrtlplp.Iloglevel & LOG_DETAIL) {
    messageI(1, w->enterVar);
    messageD(1, byRow);
    messageD(2, byColumn);
    qrtmesg_no(183);
  }
  return sinceFactor(w) == 0 && off <= 1.0e-3 * size;
}

bool dualLoop_userExit(SimplexWork *w) {
  if (qrtlplp.Ilogfreq > 0 && qrtlplp.Iiternum % qrtlplp.Ilogfreq == 0) progressLine(w);
  if (qrtlplp.Iiterufreq <= 0 || qrtlplp.Iiternum % qrtlplp.Iiterufreq != 0) return false;
  const double weight = qrtlplp.Rdweight;
  const int answer = qrtitrx(w, 1);
  if (weight != qrtlplp.Rdweight) w->bestObjective = 1.0e51;
  return answer == 99 || qrtlplp.Iprobstat == 3;
}

namespace {

// Row r and its inverse row, with a weight that agrees with it; 0 when no row is left.
int chooseRow(SimplexWork *w) {
  DualWork *d = w->dual;
  for (int tries = 0;; tries++) {
    const int r = qrtczrd(w);
    if (r == 0) return 0;
    qrtbtrn_row(w->factor, r, 1.0, &d->rho);
    double norm = 0.0;
    for (int t = 0; t < d->rho.count; t++) norm += d->rho.value[d->rho.index[t]] * d->rho.value[d->rho.index[t]];
    const double stored = d->rowWeight[r];
    d->rhoNorm = norm > 1.0e-12 ? norm : 1.0e-12;
    d->rowWeight[r] = d->rhoNorm;
    // A row that looked better than it is: the choice is made again with what is known now.
    if (stored >= WEIGHT_FAR_OFF * norm || tries >= ROW_CHOICES) return r;
    sparseVector_clear(&d->rho);
  }
}

void clearPivotRow(SimplexWork *w) { sparseVector_clear(&w->primal->pivotRow); }

Fate rejectRow(SimplexWork *w, Pass *pass) {
  clearPivotRow(w);
  if (sinceFactor(w) > 0 && w->updateCount > 0) return refactor(pass);
  const int k = w->list[w->leaveRow];
  w->flags[k] |= VAR_REJECTED;
  w->rejectedCount++;
  w->rejectIter = qrtlplp.Iiternum;
  w->accuracyLevel = 2;
  return GO_ON;
}

Fate noRow(SimplexWork *w, Pass *pass) {
  if (sinceFactor(w) > 0) {
    w->nothingLeft = 1;
    return refactor(pass);
  }
  if (w->dual->phase == 2) qrtlplp.Iprobstat = 0;
  return LEAVE;
}

Fate noColumn(SimplexWork *w, Pass *pass) {
  clearPivotRow(w);
  if (sinceFactor(w) > 0) return refactor(pass);
  qrtlplp.Iprobstat = 1;
  return LEAVE;
}

// The entering column gives its reduced cost without regard to how it was carried here.
void noteDrift(SimplexWork *w) {
  DualWork *d = w->dual;
  const int k = w->enterVar;
  double sum = w->cost[k], size = std::fabs(sum);
  for (int t = 0; t < d->alpha.count; t++) {
    const int i = d->alpha.index[t];
    const double term = w->cost[w->list[i]] * d->alpha.value[i];
    sum -= term;
    size += std::fabs(term);
  }
  const double drift = std::fabs(sum - w->dj[k]) / (1.0 + 1.0e-5 * size);
  if (drift > d->djDrift) d->djDrift = drift;
}

Fate housekeeping(SimplexWork *w, Pass *pass) {
  if (qrtlplp.Iiternum >= qrtlplp.Imaxiter) {
    qrtlplp.Iprobstat = 3;
    return LEAVE;
  }
  if (dualLoop_userExit(w)) return LEAVE;
  if (dualCutoff_passed(w)) {
    w->dual->cutOff = 1;
    return LEAVE;
  }
  return pass->wanted ? refactor(pass) : GO_ON;
}

Fate pivot(SimplexWork *w, Pass *pass, int leavesAtUpper) {
  DualWork *d = w->dual;
  noteDrift(w);
  dualFlips_apply(w);
  history_append(w);
  qrtupsd(w, leavesAtUpper);
  qrtlplp.Iiternum++;
  w->updateCount++;
  const UpdateResult updated = qrtetsj(w->factor, w->leaveRow, d->alpha.value[w->leaveRow], sinceFactor(w));
  if (updated == UPDATE_FAILED) {
    qrtbckt(w, 1);
    return refactor(pass);
  }
  if (refactorisationWanted(w, 0) || updated == UPDATE_REFACTOR) pass->wanted = 1;
  return housekeeping(w, pass);
}

Fate iterate(SimplexWork *w, Pass *pass) {
  DualWork *d = w->dual;
  const int r = chooseRow(w);
  if (r == 0) return noRow(w, pass);
  pass->code = PASS_COLUMN_CHOSEN;
  w->leaveRow = r;
  w->leaveVar = w->list[r];
  d->rowLengthSum += d->rho.count;
  d->rowLengthCount++;
  const bool above = w->basicValue[r] > w->basicUpper[r];
  const double bound = above ? w->basicUpper[r] : w->basicLower[r];
  pivotRow_form(w, &d->rho);
  switch (qrtczcf(w, above ? 1.0 : -1.0, std::fabs(w->basicValue[r] - bound))) {
    case DUAL_UNBOUNDED: return noColumn(w, pass);
    case DUAL_SMALL_PIVOT: return rejectRow(w, pass);
    default: break;
  }
  dualLoop_enterColumn(w);
  if (!dualLoop_pivotAgrees(w)) return rejectRow(w, pass);
  return pivot(w, pass, above);
}

}  // namespace

void dualLoop_clear(SimplexWork *w) {
  DualWork *d = w->dual;
  sparseVector_clear(&d->alpha);
  sparseVector_clear(&d->rho);
  sparseVector_clear(&d->tau);
  sparseVector_clear(&d->moved);
}

namespace {

// Weights are kept by variable between passes: a factorisation orders the rows anew.
void gatherWeights(SimplexWork *w) {
  for (int i = 1; i <= w->m; i++) {
    const double weight = w->weight[w->list[i]];
    w->dual->rowWeight[i] = weight > 0.0 ? weight : 1.0;
  }
}
void scatterWeights(SimplexWork *w) {
  for (int i = 1; i <= w->m; i++) w->weight[w->list[i]] = w->dual->rowWeight[i];
}

}  // namespace

void dualLoop_begin(SimplexWork *w) {
  gatherWeights(w);
  dualRows_rebuild(w);
  rows_partition(w);
}

void dualLoop_end(SimplexWork *w) {
  dualLoop_clear(w);
  scatterWeights(w);
  basicsToRims(w);
}

DualWork *dualWork(SimplexWork *w) {
  if (w->dual) return w->dual;
  primalWork(w);  // its row copy and pivotal row serve both
  DualWork *d = static_cast<DualWork *>(workZeroed(w, 1, sizeof(DualWork)));
  workVector_make(w, &d->alpha, w->m);
  workVector_make(w, &d->rho, w->m);
  workVector_make(w, &d->tau, w->m);
  workVector_make(w, &d->moved, w->m);
  d->rowWeight = workDoubles(w, int64_t(w->m) + 1);
  d->misfit = workDoubles(w, int64_t(w->m) + 1);
  d->row = workIntegers(w, int64_t(w->m) + 1);
  d->rowPlace = workIntegers(w, int64_t(w->m) + 1);
  d->breaks = static_cast<DualBreak *>(solveMemoryRaw(w, int64_t(w->total) + 1, sizeof(DualBreak)));
  d->flips = workIntegers(w, int64_t(w->total) + 1);
  d->groupEnd = workIntegers(w, int64_t(w->total) + 2);
  d->phase = 2;
  w->dual = d;
  keptWeights_take(w);
  return d;
}

int qrtsdul(SimplexWork *w) {
  DualWork *d = dualWork(w);
  Pass pass{};
  pass.code = w->passNumber == 0 ? PASS_FIRST_NO_COLUMN : PASS_NO_COLUMN;
  dualLoop_begin(w);
  d->rowLengthSum = 0.0;
  d->rowLengthCount = d->cutOff = 0;
  d->djDrift = 0.0;
  while (iterate(w, &pass) == GO_ON) {
#ifdef QRT_SELF_CHECKS
    if (qrtlplp.Iiternum % 50 == 0)
      if (const char *fault = dualRows_check(w)) qrtmesg_no_q1(158, fault, -1);
#endif
    dualLoop_clear(w);
  }
  dualLoop_end(w);
  w->btranMean = d->rowLengthCount ? d->rowLengthSum / d->rowLengthCount : 0.0;
  // An ordinary end leaves reduced costs good enough to go on with; "no row" and "no column" are judged on fresh ones.
  w->djState = pass.wanted && d->djDrift <= DRIFT_ALLOWED ? 1 : 5;
  return pass.code;
}
