// The checkpoint between factorisation and iterations (qrtchkp): is the solve finished, has it gained, should it go
// back, perturb, change its pricing?
#include <cmath>
#include <cstdlib>

#include "frame/messages.h"
#include "simplex/driver.h"
#include "simplex/dual.h"
#include "simplex/exotic.h"

namespace {

constexpr double WEIGHT_AFTER_PERTURBATION = 1.0e3;

int finish(int status) {
  qrtlplp.Iprobstat = status;
  return DECIDE_GO_ON;
}

bool perturbed(const SimplexWork *w) { return w->primalPerturbation != 0.0; }

void resetWeights(SimplexWork *w) { w->priceBase = -w->priceRefresh; }

void restartDegenerateCount(SimplexWork *w) {
  w->state.degenerateCount = 0;
  w->state.degenerateBase = qrtlplp.Iiternum;
}

int commonExit(SimplexWork *w) {
  const int most = qrtlplp.Imaxfactor > 0 ? qrtlplp.Imaxfactor : 1;
  const int64_t longer = 9 * int64_t(w->updateLimit10) / 8 + 1;
  w->updateLimit10 = int(longer < 10 * int64_t(most) ? longer : 10 * int64_t(most));
  if (qrtlplp.Iiternum - w->rejectIter > most && w->rejectedCount > 0 && w->priceMode != PRICE_VALUES) return DECIDE_READMIT;
  if (w->rejectIter + 800 + 0.9 * most < qrtlplp.Iiternum && w->rejectIter + 800 >= w->factorIter)
    w->accuracyLevel = w->exotic ? w->exotic->leastAccuracy : 0;
  return DECIDE_GO_ON;
}

// What every check that goes on to iterate ends with.
int afterDecision(SimplexWork *w, int decision) {
  if (decision != DECIDE_GO_ON || qrtlplp.Iprobstat >= 0) return decision;
  w->state.checkCount = w->state.checkCount < 0 ? 1 : w->state.checkCount + 1;
  progressLine(w);
  if (w->algorithm == ALGORITHM_PRIMAL && qrtlplp.RprimalPerturbation < 0.0 && w->priceMode != PRICE_VALUES &&
      !(w->perturbDone & 1) && !perturbed(w)) {
    w->perturbDone |= 1;
    qrtmesg_no(MSG_PERTURBED);
    return DECIDE_PERTURB;
  }
  return decision;
}

// Dual where the start is dual feasible or nearly so, and the shape does not speak against it; primal otherwise.
bool dualSuits(const SimplexWork *w) {
  const double pinf = qrtlplp.Inumpinf, dinf = qrtlplp.Inumdinf, m = w->m, n = w->n;
  if (pinf == 0) return false;
  if (dinf == 0 && n < 3.0 * m) return true;
  return 4.0 * dinf * n < pinf * m || qrtlplp.Rsumdinf < 0.0001 * qrtlplp.Rsumpinf || (dinf * n < 2.0 * pinf * m && n < 1.5 * m);
}

void chooseAlgorithm(SimplexWork *w) {
  // The dual would move boxed variables to their better bound: only what it could not mend counts.
  const int dinf = qrtlplp.Inumdinf;
  const double sum = qrtlplp.Rsumdinf;
  countUnflippable(w);
  const bool dual = dualSuits(w);
  qrtlplp.Inumdinf = dinf;
  qrtlplp.Rsumdinf = sum;
  w->algorithm = dual ? ALGORITHM_DUAL : ALGORITHM_PRIMAL;
  qrtmesg_no(dual ? MSG_DUAL_CHOSEN : MSG_PRIMAL_CHOSEN);
}

// On request: a primal that starts dual feasible becomes a dual, and the other way round.
void takeOtherWhenFeasible(SimplexWork *w) {
  const bool primal = w->algorithm == ALGORITHM_PRIMAL;
  const int own = primal ? qrtlplp.Inumpinf : qrtlplp.Inumdinf, other = primal ? qrtlplp.Inumdinf : qrtlplp.Inumpinf;
  if (other > 0 || own == 0 || w->priceMode == PRICE_VALUES) return;
  w->algorithm = primal ? ALGORITHM_DUAL : ALGORITHM_PRIMAL;
  if (!primal && std::abs(qrtlplp.Idevexmode) == 3) qrtlplp.Idevexmode = 2;
  qrtmesg_no(primal ? MSG_DUAL_CHOSEN : MSG_PRIMAL_CHOSEN);
}

int firstCheck(SimplexWork *w, int continued) {
  w->phaseStartIter = qrtlplp.Iiternum;
  w->bestObjective = w->stallBest = w->bestAtRemoval = 1.0e51;
  const bool clean = qrtlplp.Inumpinf == 0 && qrtlplp.Inumdinf == 0 && w->priceMode != PRICE_VALUES;
  if (clean && !perturbed(w)) return finish(0);
  if (qrtlplp.Iiternum >= qrtlplp.Imaxiter) return finish(3);
  w->enterVar = 0;
  w->bestObjective = w->meritPrimal;
  w->state = SolveState();
  w->state.checkCount = -1;
  restartDegenerateCount(w);
  w->noGainIter = qrtlplp.Iiternum;
  resetWeights(w);
  if (qrtlplp.Inumpinf == 0) qrtlplp.Idevexmode = std::abs(qrtlplp.Idevexmode);
  if (!continued) qrtchgw(w);
  if (w->priceMode == PRICE_BLOCKS && w->switchFactor <= 1.0) w->switchFactor = w->n / (2.0 * (w->m > 0 ? w->m : 1));
  w->lastWeight = qrtlplp.Rpweight;
  return commonExit(w);
}

// Optimal (or stuck) for the perturbed bounds: the true ones come back and the run goes on, five times at most.
int endPerturbation(SimplexWork *w) {
  const int status = qrtlplp.Iprobstat;
  w->state.perturbRounds++;
  if (qrtlplp.Istopmask & STOP_AT_PERTURBED) return finish(3);
  if (w->state.perturbRounds >= 5) {
    qrtmesg_no(MSG_OPTIMAL_PERTURBED);
    return finish(qrtlplp.Inumpinf > 0 ? 1 : 0);
  }
  if (std::abs(qrtlplp.Idevexmode) >= 3) qrtlplp.Idevexmode = 2;
  const double merit = w->meritPrimal;
  w->bestObjective = w->stallBest = 9.9e50;
  w->perturbDone |= 2;
  removePerturbation(w);
  // The basis prices out: with a large weight no column is attractive at first, and the loop lowers the weight to where
  // the first one is, which is a dual step. A small one would trade all of the objective for feasibility.
  if (status < 1) qrtlplp.Rpweight = std::fmax(w->lastWeight, WEIGHT_AFTER_PERTURBATION);
  if (merit < w->bestAtRemoval) {
    w->bestAtRemoval = merit;
    w->state.perturbRounds = w->state.perturbRounds > 2 ? w->state.perturbRounds - 1 : 1;
  }
  qrtlplp.Iprobstat = -1;
  resetWeights(w);
  restartDegenerateCount(w);
  qrtmesg_no(MSG_PERTURBATION_ENDED);
  return DECIDE_REFACTOR;
}

// No candidate left, or the loop has set a status: what follows from it.
int looksFinished(SimplexWork *w) {
  if (w->rejectedCount > 0) {
    w->state.rejectRounds++;
    if (w->state.rejectRounds < 6) {
      w->bestObjective = 1.0e51;
      qrtlplp.Iprobstat = -1;
      return DECIDE_READMIT;
    }
    qrtmesg_no(MSG_COLUMNS_PROHIBITED);
  }
  if (perturbed(w)) return endPerturbation(w);
  if (qrtlplp.Iprobstat == 2) return finish(2);
  return finish(qrtlplp.Inumpinf > 0 ? 1 : 0);
}

// A status set by the loop stands only if the recomputed solution bears it out.
void confirmStatus(SimplexWork *w) {
  const int status = qrtlplp.Iprobstat;
  if (status == 0 && (qrtlplp.Inumpinf > 0 || qrtlplp.Inumdinf > 0) && w->doubtCount < 20) {
    w->doubtCount++;
    qrtlplp.Iprobstat = -1;
  }
  if (status == 1 && w->doubtCount < 20) {
    if (qrtlplp.Inumpinf == 0) {
      w->doubtCount++;
      qrtlplp.Iprobstat = -1;
    } else if (qrtlplp.Inumdinf > 0 && !w->rejectedCount) {
      // The pure infeasibility objective can still fall: the weight was the obstacle.
      w->doubtCount++;
      qrtlplp.Iprobstat = -1;
      qrtnwwt(w, 1.0e-30, 1);
    }
  }
  if (status == 2 && qrtlplp.Inumpinf > 0) qrtlplp.Iprobstat = -1;
}

double testedMerit(const SimplexWork *w) {
  if (qrtlplp.Rsumpinf <= 0.0001)
    return qrtlplp.Rmaxmin * qrtlplp.Robjvalue + 0.01 * qrtlplp.Rsumpinf / qrtlplp.Rpweight;
  return w->meritPrimal;
}

// Merit test: a solution that came out worse than the best is not believed. Returns DECIDE_GO_ON to go on.
int meritTest(SimplexWork *w, double tested) {
  double slack = 10.0 * qrtlplp.Rtolpinf;
  if (w->feasibleCount > 0) slack = qrtlplp.Rtolpinf / qrtlplp.Rpweight;
  if (w->historyCount == 0 && qrtlplp.Iiternum > w->weightChangeIter) w->bestObjective = w->meritPrimal;
  if (const ExoticRecord *exotic = w->exotic)
    if (w->historyCount < exotic->shortPass && qrtlplp.Rsumpinf < exotic->smallSum)
      w->bestObjective = exotic->raise >= 1000.0 ? 1.0e60 : w->bestObjective + (exotic->raise - 1.0) * std::fabs(w->bestObjective);
  if (!(w->bestObjective + 1.0e-5 * std::fabs(w->bestObjective) + slack < tested)) {
    w->state.stallCount = 0;
    return DECIDE_GO_ON;
  }
  if (w->historyCount > 0) {
    w->state.checkCount = 0;
    w->priceMode = PRICE_FULL;
    return DECIDE_BACKTRACK;
  }
  if (++w->state.stallCount >= 10) {
    qrtmesg_no(MSG_NO_PROGRESS);
    qrtlplp.Iprobstat = -1;
    return DECIDE_LEAVE;
  }
  w->bestObjective = w->stallBest = 1.0e70;
  return DECIDE_GO_ON;
}

int gainTest(SimplexWork *w, double tested) {
  if (tested < w->stallBest - 1.0e-15 * std::fabs(w->stallBest) - 1.0e-12) {
    w->state.rejectRounds = 0;
    w->noGainCount = 0;
    w->noGainIter = qrtlplp.Iiternum;
    return DECIDE_GO_ON;
  }
  w->noGainCount++;
  const int since = qrtlplp.Iiternum - w->noGainIter;
  if (w->accuracyLevel == 0) {
    if (w->noGainCount >= 11 && 5 * w->noGainCount >= since) w->accuracyLevel = 1;
  } else if (w->noGainCount >= 28 && since >= 2 * w->noGainCount && since <= 3 * w->noGainCount &&
             w->priceMode != PRICE_VALUES) {
    if (w->noGainCount >= 32) {
      w->noGainCount = 0;
      w->state.checkCount = 0;
      return w->historyCount > 0 ? DECIDE_BACKTRACK : DECIDE_GO_ON;
    }
    qrtlplp.Idevexmode = qrtlplp.Idevexmode == 1 ? 2 : 1;
  }
  return DECIDE_GO_ON;
}

// Long runs of degenerate steps call for a perturbation.
bool perturbationWanted(SimplexWork *w) {
  if (qrtlplp.Rdccutoff != -1.0e31) {
    restartDegenerateCount(w);
    return false;
  }
  const int since = qrtlplp.Iiternum - w->state.degenerateBase;
  const int count = w->state.degenerateCount;
  if (count < since && (perturbed(w) || w->state.perturbRounds != 0 || qrtlplp.Rtolpinf > 0.001)) {
    restartDegenerateCount(w);
    return false;
  }
  if (perturbed(w)) return false;
  if (w->exotic && w->exotic->perturbAt > 0 && !w->perturbedByRequest) {
    restartDegenerateCount(w);
    w->perturbedByRequest = qrtlplp.Iiternum >= w->exotic->perturbAt;
    return w->perturbedByRequest != 0;
  }
  double v = std::fmin(100.0, std::fmin((w->m + 1) / 2, (w->m + w->n) / 6));
  if (w->switchFactor > 10.0) v = w->total;
  if (qrtlplp.Iiternum - w->phaseStartIter < v || count < 4 * since / 7 + 5) {
    restartDegenerateCount(w);
    return false;
  }
  return count >= std::fmin(2.0 * qrtlplp.Imaxfactor, 0.7 * since);
}

// Partial pricing ends when the phase has lasted long enough.
int leavePartialPricing(SimplexWork *w) {
  if (w->priceMode != PRICE_RANDOM && w->priceMode != PRICE_BLOCKS) return DECIDE_GO_ON;
  const int fast = qrtlplp.Ifastits;
  const double since = qrtlplp.Iiternum - w->phaseStartIter;
  const bool passed = (w->m + w->n) * w->switchFactor < 2.0 * since || (w->switchFactor < 0.0 && w->feasibleCount > 0);
  int mode = w->priceMode;
  if (fast == 0 && passed) mode = PRICE_FULL;
  if (fast > 0) {
    if (passed) mode = PRICE_BLOCKS;
    if (since > fast) mode = PRICE_FULL;
  }
  if (fast < 0 && since > -double(fast)) mode = PRICE_FULL;
  if (mode == w->priceMode) return DECIDE_GO_ON;
  w->priceMode = mode;
  if (mode != PRICE_FULL) return DECIDE_GO_ON;
  qrtmesg_no(MSG_DEVEX_ITERATIONS);
  resetWeights(w);
  if (qrtlplp.Istopmask & STOP_AT_DEVEX) qrtlplp.Iprobstat = 3;
  return DECIDE_GO_ON;
}

void arriveAtFeasibility(SimplexWork *w) {
  w->feasibleCount++;
  if (w->feasibleCount == 1) {
    const int fast = qrtlplp.Ifastits;
    if (w->priceMode == PRICE_FULL && fast == 0) {
      if (std::abs(qrtlplp.Idevexmode) < 3) qrtlplp.Idevexmode = std::abs(qrtlplp.Idevexmode);
      if (qrtlplp.Idevexmode != 2 && w->priceRefresh < 10000) resetWeights(w);
    } else if (fast != 0) {
      w->phaseStartIter = qrtlplp.Iiternum;
      w->priceMode = fast > 0 ? PRICE_BLOCKS : PRICE_RANDOM;
    }
    const double weight = qrtlplp.Rpweight;
    if (weight < 1.0e-6) qrtlplp.Rpweight = std::fmin(w->entryPweight, std::sqrt(1.0e-6 * weight));
    qrtobjv(w);
  }
  if (qrtlplp.Istopmask & STOP_AT_FEASIBLE) qrtlplp.Iprobstat = 3;
}

int laterCheck(SimplexWork *w) {
  const bool values = w->priceMode == PRICE_VALUES;
  const bool clean = qrtlplp.Inumpinf == 0 && qrtlplp.Inumdinf == 0;
  if (!values && (qrtlplp.Iprobstat >= 0 || clean)) return looksFinished(w);
  if (values) {
    w->lastWeight = qrtlplp.Rpweight;
    return commonExit(w);
  }
  const double tested = testedMerit(w);
  int decision = meritTest(w, tested);
  if (decision != DECIDE_GO_ON) return decision;
  decision = gainTest(w, tested);
  if (decision != DECIDE_GO_ON) return decision;
  w->bestObjective = std::fmin(w->bestObjective, tested);
  w->stallBest = std::fmin(w->stallBest, tested);
  if (perturbationWanted(w)) {
    qrtmesg_no(MSG_PERTURBED);
    restartDegenerateCount(w);
    w->bestObjective = 1.0e51;
    return DECIDE_PERTURB;
  }
  decision = leavePartialPricing(w);
  if (qrtlplp.Inumpinf == 0 && w->wasInfeasible) arriveAtFeasibility(w);
  if (qrtlplp.Iprobstat >= 0) return DECIDE_GO_ON;
  if (qrtlplp.Inumpinf > 0) qrtchgw(w);
  w->lastWeight = qrtlplp.Rpweight;
  return commonExit(w);
}

}  // namespace

int qrtchkp(SimplexWork *w, int continued) {
  if (qrtlplp.Iprobstat == 3) return DECIDE_GO_ON;
  const bool first = w->state.checkCount < 0;
  if (first && w->algorithm == ALGORITHM_UNDECIDED) {
    if (qrtlplp.Inumpinf == 0 && qrtlplp.Inumdinf == 0) w->algorithm = ALGORITHM_PRIMAL;  // nothing to do but to say so
    else chooseAlgorithm(w);
  }
  if (first && w->exotic && w->exotic->otherWhenFeasible) takeOtherWhenFeasible(w);
  if (w->algorithm == ALGORITHM_DUAL) return afterDecision(w, dualCheckpoint(w, continued));
  confirmStatus(w);
  int decision;
  if (first) {
    decision = firstCheck(w, continued);
    if (qrtlplp.Inumpinf == 0 && qrtlplp.Iprobstat < 0) {
      w->wasInfeasible = 0;
      arriveAtFeasibility(w);
    }
  } else {
    decision = laterCheck(w);
  }
  w->wasInfeasible = qrtlplp.Inumpinf > 0;
  return afterDecision(w, decision);
}
