// The checkpoint of the dual (qrtchkp, dual side): phases, the end of shifts, the cutoff, and when to go on in the primal.
#include <cmath>

#include "frame/messages.h"
#include "simplex/driver.h"
#include "simplex/dual.h"

namespace {

constexpr double WEIGHT_FOR_CLEAN_UP = 1.0e-4;   // the basis is nearly optimal: infeasibilities count for more than cost
constexpr double WEIGHT_FOR_PROOF = 1.0e-30;     // infeasibility alone: the multipliers are the proof
constexpr int MOST_PHASE_ONES = 2;
constexpr double ROUNDING_DJ = 1.0e-5;           // reduced costs up to this are the rounding of a first phase that succeeded
constexpr int MOST_FLIP_CHECKS = 20;
constexpr int LONG_RUN = 100;                    // iterations
constexpr int MOST_DOUBTS = 20;

int finish(int status) {
  qrtlplp.Iprobstat = status;
  return DECIDE_GO_ON;
}

int goOnInPrimal(SimplexWork *w, double weight) {
  switchToPrimal(w, weight);
  return DECIDE_RECHECK;
}

// No row is infeasible under the present costs: the true ones decide.
int looksOptimal(SimplexWork *w) {
  DualWork *d = w->dual;
  if (w->rejectedCount > 0) {
    qrtlplp.Iprobstat = -1;
    if (++w->state.rejectRounds < 6) return DECIDE_READMIT;
    qrtmesg_no(MSG_COLUMNS_PROHIBITED);
  }
  if (!d->costsShifted) return qrtlplp.Inumdinf == 0 ? finish(0) : goOnInPrimal(w, WEIGHT_FOR_CLEAN_UP);
  if (w->dualPerturbation > qrtlplp.Rtoldinf) {
    w->state.perturbRounds++;
    if (qrtlplp.Istopmask & STOP_AT_PERTURBED) return finish(3);
    qrtmesg_no(MSG_PERTURBATION_ENDED);
  }
  return goOnInPrimal(w, WEIGHT_FOR_CLEAN_UP);
}

// Phase one has no row left to choose: the basis is as dual feasible as any.
int endPhaseOne(SimplexWork *w) {
  leavePhaseOne(w);
  qrtlplp.Iprobstat = -1;
  return DECIDE_RECHECK;
}

// Dual infeasibilities that no flip removes: mended by shifts once there was a feasible basis, else a first phase.
// Returns DECIDE_GO_ON when they are gone.
int mendDuals(SimplexWork *w) {
  DualWork *d = w->dual;
  const double limit = d->reachedFeasible ? QRT_INFINITY : d->phaseOneRuns > 0 ? ROUNDING_DJ : 0.0;
  if (dualShiftInfeasible(w, limit) == 0) {
    d->reachedFeasible = 1;
    return DECIDE_GO_ON;
  }
  if (d->phaseOneRuns >= MOST_PHASE_ONES) return goOnInPrimal(w, WEIGHT_FOR_CLEAN_UP);
  enterPhaseOne(w);
  if (w->state.checkCount < 0) w->state.checkCount = 0;  // the first check is behind: its shortcuts are for the true bounds
  return DECIDE_RECHECK;
}

// A status the loop set at a fresh factorisation.
int statusOfLoop(SimplexWork *w) {
  DualWork *d = w->dual;
  if (qrtlplp.Iprobstat == 1) {
    // The row proves infeasibility; the least sum of infeasibilities and its multipliers come from the primal.
    qrtlplp.Iprobstat = -1;
    if (d->phase == 1) leavePhaseOne(w);
    return goOnInPrimal(w, WEIGHT_FOR_PROOF);
  }
  if (qrtlplp.Inumpinf == 0) return looksOptimal(w);
  if (++w->doubtCount > MOST_DOUBTS) return goOnInPrimal(w, w->entryPweight);
  qrtlplp.Iprobstat = -1;
  return DECIDE_GO_ON;
}

bool perturbationWanted(SimplexWork *w) {
  if (w->dualPerturbation > qrtlplp.Rtoldinf || w->state.perturbRounds != 0) return false;
  const int since = qrtlplp.Iiternum - w->state.degenerateBase;
  if (qrtlplp.Iiternum - w->phaseStartIter < std::fmin(100.0, (w->m + w->n) / 6)) return false;
  return since > 0 && w->state.degenerateCount >= 0.7 * since;
}

// A short run, as after a small change of the model, keeps its true costs and needs no primal at its end; so does one
// that may stop at a cutoff, which is a matter of true costs.
bool spreadWanted(const SimplexWork *w) {
  const double asked = std::fabs(qrtlplp.RdualPerturbation);
  if (asked != 0.0 && asked != 1.0e-7) return false;  // a caller's own size stands
  if (w->dual->spread || w->state.perturbRounds > 0 || qrtint3.Rbbcutoff < QRT_INFINITE_TEST) return false;
  return qrtlplp.Iiternum - w->phaseStartIter >= LONG_RUN;
}

void startPhase(SimplexWork *w) {
  w->phaseStartIter = qrtlplp.Iiternum;
  w->bestObjective = w->stallBest = w->bestAtRemoval = 1.0e51;
  w->state = SolveState();
  w->state.checkCount = -1;
  w->state.degenerateBase = qrtlplp.Iiternum;
}

// Past the cutoff by the numbers of this check, or by shifted costs only. DECIDE_LEAVE: neither.
int cutoffCheck(SimplexWork *w) {
  DualWork *d = w->dual;
  if (d->cutOff) d->cutoffWait = 0;
  d->cutOff = dualCutoff_passed(w);
  if (d->cutOff) return finish(1);
  if (!dualCutoff_wantsTrueCosts(w)) return DECIDE_LEAVE;
  if (w->dualPerturbation > qrtlplp.Rtoldinf) w->perturbDone |= 2;
  dualRelease(w);
  w->bestObjective = w->stallBest = 1.0e51;
  qrtlplp.Iprobstat = -1;
  return DECIDE_RECHECK;
}

// A values pass goes its way whatever the basis is worth so far.
int valuesCheck(SimplexWork *w) {
  if (w->state.checkCount >= 0) return DECIDE_GO_ON;
  startPhase(w);
  return qrtlplp.Iiternum >= qrtlplp.Imaxiter ? finish(3) : DECIDE_GO_ON;
}

int firstCheck(SimplexWork *w) {
  startPhase(w);
  const bool shifted = w->dual && w->dual->costsShifted;
  if (qrtlplp.Inumpinf == 0 && qrtlplp.Inumdinf == 0 && !shifted) return finish(0);
  if (qrtlplp.Iiternum >= qrtlplp.Imaxiter) return finish(3);
  if (qrtlplp.RdualPerturbation < 0.0 && !(w->perturbDone & 2) && qrtlplp.Inumdinf == 0) {
    w->perturbDone |= 2;
    qrtmesg_no(MSG_PERTURBED);
    dualPerturb(w);
  }
  return DECIDE_GO_ON;
}

}  // namespace

void switchToPrimal(SimplexWork *w, double weight) {
  dualRelease(w);
  for (int k = 1; k <= w->total; k++) w->weight[k] = 1.0;
  w->algorithm = ALGORITHM_PRIMAL;
  qrtlplp.Iprobstat = -1;
  qrtlplp.Rpweight = std::fmin(qrtlplp.Rpweight, weight);
  w->bestObjective = w->stallBest = 1.0e51;
  w->priceBase = -w->priceRefresh;
  w->priceMode = PRICE_FULL;
  w->historyCount = 0;
  w->state.degenerateCount = 0;
  w->state.degenerateBase = qrtlplp.Iiternum;
  w->doubtCount = 0;
  if (w->rejectedCount > 0) qrtuflg(w);
}

int dualCheckpoint(SimplexWork *w, int continued) {
  (void)continued;
  // The dual starts from a basis, whatever values came with it.
  w->priceMode = PRICE_FULL;
  w->startValues = 0;
  if (w->dualValues) return valuesCheck(w);
  // A basis that is optimal as it stands needs none of the dual's work.
  const bool clean = qrtlplp.Inumpinf == 0 && qrtlplp.Inumdinf == 0;
  if (w->state.checkCount < 0 && clean && !w->costsTaken && qrtlplp.Iprobstat < 0) return firstCheck(w);
  DualWork *d = dualWork(w);
  if (w->costsTaken) d->costsShifted = 1;
  w->costsTaken = 0;
  // After a proof of infeasibility the check has made the multipliers of the proof: they say nothing about costs.
  if (qrtlplp.Iprobstat == 1) return statusOfLoop(w);
  // Each such flip gives back what the steps had gained: before it can go round in circles the costs give way instead.
  if (d->flipChecks > MOST_FLIP_CHECKS && d->reachedFeasible) dualShiftInfeasible(w, QRT_INFINITY);
  // Reduced costs kept from a pass are feasible as its ratio tests left them.
  const int moved = w->djState == 1 ? 0 : makeDualFeasible(w);
  d->flipChecks = moved > 0 ? d->flipChecks + 1 : 0;
  if (moved > 0) w->valuesChecked = 0;
  // Flips that repair the outcome of a pass mean that the values are no longer those its status was about.
  if (moved > 0 && qrtlplp.Iprobstat >= 0) qrtlplp.Iprobstat = -1;
  if (w->state.checkCount < 0) {
    const int decision = firstCheck(w);
    if (qrtlplp.Iprobstat >= 0) return decision;
    if (qrtlplp.Inumpinf == 0 && d->phase == 2) return goOnInPrimal(w, w->entryPweight);
  }
  if (w->state.checkCount >= 0) {
    const int cut = cutoffCheck(w);
    if (cut != DECIDE_LEAVE) return cut;
  }
  if (qrtlplp.Iprobstat >= 0) return statusOfLoop(w);
  if (d->phase == 1) {
    if (qrtlplp.Inumpinf == 0) return endPhaseOne(w);
    return w->rejectedCount > 0 && qrtlplp.Iiternum - w->rejectIter > 20 ? DECIDE_READMIT : DECIDE_GO_ON;
  }
  const bool arrives = d->reachedFeasible == 0;
  if (qrtlplp.Inumdinf > 0) {
    const int decision = mendDuals(w);
    if (decision != DECIDE_GO_ON) return decision;
  }
  d->reachedFeasible = 1;
  if (qrtlplp.Inumpinf == 0) return looksOptimal(w);
  if (arrives && (qrtlplp.Istopmask & STOP_AT_FEASIBLE)) return finish(3);
  if (w->rejectedCount > 0 && qrtlplp.Iiternum - w->rejectIter > 20) return DECIDE_READMIT;
  if (perturbationWanted(w)) {
    qrtmesg_no(MSG_PERTURBED);
    dualPerturb(w);
    w->state.degenerateCount = 0;
    w->state.degenerateBase = qrtlplp.Iiternum;
  }
  if (spreadWanted(w)) dualSpread(w);
  return DECIDE_GO_ON;
}
