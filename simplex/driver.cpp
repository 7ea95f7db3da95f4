// The core of the simplex (qrtsslvf): set-up, the major loop, and the way out.
//
//     factorise -> recompute and check -> decide -> iterate -> factorise ...
#include <cmath>
#include <cstdlib>
#include <cstring>

#include "frame/entry_frame.h"
#include "frame/guarded_memory.h"
#include "frame/messages.h"
#include "model/model_store.h"
#include "simplex/driver.h"
#include "simplex/dual.h"
#include "simplex/exotic.h"
#include "simplex/kept_solve.h"

namespace {

constexpr int ROW_PRICING_ROWS = 100;   // below this a row copy gains nothing
constexpr double SPARSE_ROWS = 0.1;     // mean density of the inverse's rows up to which pivotal rows are short
constexpr int STALLED_PASSES = 21;
// A pass that ends after so few iterations tells of trouble: those of a sound solve are longer, unless the caller limits the
// updates. One of medium length tells a little, as circles with a few good steps in them go through such passes, too.
constexpr int SHORT_PASS = 5, MEDIUM_PASS = 25;
constexpr int SHORT_WEIGHT = 5;         // of a short pass against one of a medium one
constexpr int CIRCLING_WEIGHT = 2000;

SimplexWork *newWork(QRTModel *model) {
  SimplexWork *w = static_cast<SimplexWork *>(temporaryAllocate(model, 1, int64_t(sizeof(SimplexWork))));
  std::memset(w, 0, sizeof *w);
  w->model = model;
  return w;
}

void saveControls(SimplexWork *w) {
  w->entryRtolpinf = qrtlplp.Rtolpinf;
  w->entryRtoldinf = qrtlplp.Rtoldinf;
  w->entryPweight = qrtlplp.Rpweight;
  w->entryDweight = qrtlplp.Rdweight;
  w->entryImaxiter = qrtlplp.Imaxiter;
  w->entryIfastits = qrtlplp.Ifastits;
  w->entryIdevexmode = qrtlplp.Idevexmode;
}

void restoreControls(const SimplexWork *w) {
  qrtlplp.Rtolpinf = w->entryRtolpinf;
  qrtlplp.Rtoldinf = w->entryRtoldinf;
  qrtlplp.Rpweight = w->entryPweight;
  qrtlplp.Rdweight = w->entryDweight;
  qrtlplp.Imaxiter = w->entryImaxiter;
  qrtlplp.Ifastits = w->entryIfastits;
  qrtlplp.Idevexmode = w->entryIdevexmode;
}

void setDefaults(SimplexWork *w, int algorithm, int init, int coreMode) {
  w->algorithm = algorithm;
  w->init = init;
  w->coreMode = coreMode;
  w->minimumWeight = 1.0e-31;
  w->priceRefresh = 500;
  w->priceBase = -w->priceRefresh;
  w->updateLimit10 = 10 * (qrtlplp.Imaxfactor > 0 ? qrtlplp.Imaxfactor : 1);
  w->pivotThreshold = 0.1;
  w->pivotZeroTol = 1.0e-8;
  w->state.checkCount = -1;
  w->rejectIter = -100;
  w->troubleIter = -1000;
  w->djTest = 1.0e-6;
  w->switchFactor = 1.0;
  w->firstStructurals = -1;
  w->baseDualTolerance = std::fmax(qrtlplp.Rtoldinf, 1.0e-7);
  w->djTolerance = qrtlplp.Rtoldinf;
  w->cleaning = init == 0 ? 0 : 1;
  w->startValues = init == 3;
  w->factorIter = qrtlplp.Iiternum;
  w->lastPassIter = -1;
  w->leastPrimalSum = w->leastDualSum = w->leastCostSeen = 1.0e300;
  w->mostCostSeen = -1.0e300;
  w->enterGamma = 1.0;
  w->referenceError = 10.0;
  w->rowPricing = qrtlplp.IuseRowCopy && w->m > ROW_PRICING_ROWS;
  w->priceMode = init == 0 ? PRICE_FULL : init;
  if (algorithm == ALGORITHM_DUAL) {
    // Its values pass is about multipliers; the primal values follow from the basis.
    w->dualValues = w->priceMode == PRICE_VALUES;
    w->priceMode = PRICE_FULL;
    w->startValues = 0;
  }
  qrtlplp.randomSeed = 1.0e8;
  w->exotic = exoticRecord(w->model);
  if (w->exotic) w->accuracyLevel = w->exotic->leastAccuracy;
  if (const ExoticPivots *pivots = exoticPivots(w->model)) {
    w->pivotZeroTol = pivots->zeroTol;
    if (pivots->threshold > 0.0) w->pivotThreshold = pivots->threshold;
  }
}

// Basics named by the caller's status words, in variable order, into list[1..]; returns their number.
int listBasics(SimplexWork *w, int *basic) {
  int count = 0;
  for (int k = 1; k <= w->total; k++)
    if (w->flags[k] & VAR_BASIC) basic[count++] = k;
  return count;
}

// What a repair did to the basis: structurals out, logicals in.
void applyRepair(SimplexWork *w) {
  for (int k = 1; k <= w->total; k++) w->flags[k] &= ~uint32_t(VAR_BASIC);
  for (int i = 1; i <= w->m; i++) w->flags[w->list[i]] = (w->flags[w->list[i]] & VAR_REFERENCE) | VAR_BASIC;
  const Factor *factor = w->factor;
  int added = 0;
  for (int r = 0; r < factor->repairCount; r++) {
    if (factor->repairedRow[r] > 0) added++;
    const int out = factor->thrownOut[r];
    if (out > 0 && !(w->flags[out] & VAR_BASIC)) {
      double value = w->value[out];
      if (value < w->lower[out]) value = w->lower[out];
      if (value > w->upper[out]) value = w->upper[out];
      w->value[out] = value;
    }
  }
  w->addedLogicals += added;
  w->djState = 5;
}

int runFactorisation(SimplexWork *w, int nBasic, const int *basic, int repair) {
  BasisMatrix matrix;
  matrix.m = w->m;
  matrix.columnBase = w->m;
  matrix.start = w->colStart;
  matrix.row = w->colRow;
  matrix.value = w->colValue;
  matrix.rowBase = 0;
  Factor *factor = w->factor;
  factor->pivotThreshold = w->pivotThreshold;
  factor->pivotZeroTol = w->pivotZeroTol;
  factor->maxUpdates = qrtlplp.Imaxfactor > 0 ? qrtlplp.Imaxfactor : 1;
  const FactorResult result = qrtlfct(factor, &matrix, nBasic, basic, repair, w->list);
  if (result == FACTOR_REPAIRED) {
    applyRepair(w);
    w->historyCount = 0;
    tidyNonbasics(w, 0);
    qrtrsrt(w);
    return 0;
  }
  return result == FACTOR_GOOD ? 0 : 1;
}

}  // namespace

int factorise(SimplexWork *w) {
  const bool first = w->passNumber < 0;
  w->acceptedUpdates = 0;
  int result;
  if (first && keptFactor_take(w)) {
    w->passNumber = 0;
    w->acceptedUpdates = w->factor->updateCount;
    result = 0;
  } else if (first) {
    int *basic = static_cast<int *>(temporaryAllocate(w->model, w->total + 1, int64_t(sizeof(int))));
    const int count = listBasics(w, basic);
    result = runFactorisation(w, count, basic, 1);
    w->passNumber = 0;
  } else {
    // The factor writes the new order over the list it reads.
    std::memcpy(w->basisCopy, w->list + 1, size_t(w->m) * sizeof(int));
    result = runFactorisation(w, w->m, w->basisCopy, 0);
    // With nothing to undo a repair is the only way on.
    if (result != 0 && w->historyCount == 0) result = runFactorisation(w, w->m, w->basisCopy, 1);
  }
  if (result != 0) return result;
  // The first check tidies the nonbasics and lists them itself. Where pivotal rows are formed column by column the columns are
  // better met in their own order.
  if (w->state.checkCount >= 0) {
    if (first || w->factor->density[SOLVE_ROW] > SPARSE_ROWS) qrtrsrt(w);
    else list_basicsReordered(w);
  }
  w->updateCount = w->acceptedUpdates;
  w->leastCost = 0.0;
  w->totalWork = 0.0;
  return 0;
}

namespace {

bool reachesBelow(double value, double *extreme) {
  if (!(value < *extreme - 1.0e-9 * std::fabs(*extreme))) return false;
  *extreme = value;
  return true;
}

// With numbers so large that rounding outweighs the tolerances, every factorisation may show other infeasibilities than
// the one before, and the passes between them, of an iteration or two, lead round the same few bases for ever. Neither
// sum and no objective then reaches a new extreme, and there is no answer to be had.
bool circling(SimplexWork *w) {
  const int made = qrtlplp.Iiternum - w->lastPassIter;
  const double cost = qrtlplp.Rmaxmin * qrtlplp.Robjvalue;
  double fallen = -w->mostCostSeen;
  bool moved = reachesBelow(qrtlplp.Rsumpinf, &w->leastPrimalSum);
  moved = reachesBelow(qrtlplp.Rsumdinf, &w->leastDualSum) || moved;
  moved = reachesBelow(cost, &w->leastCostSeen) || moved;
  moved = reachesBelow(-cost, &fallen) || moved;
  w->mostCostSeen = -fallen;
  if (moved || made > MEDIUM_PASS) {
    w->circleWeight = 0;
    return false;
  }
  // A limit of a few updates makes every pass short.
  const int patience = qrtlplp.Imaxfactor > 2 * SHORT_PASS ? CIRCLING_WEIGHT : 100 * CIRCLING_WEIGHT;
  w->circleWeight += made > SHORT_PASS ? 1 : SHORT_WEIGHT;
  if (w->circleWeight < patience) return false;
  qrtlplp.Iprobstat = -1;
  qrtmesg_no(MSG_NO_PROGRESS);
  return true;
}

// Passes without an iteration: the tests are loosened a little each time, and in the end the run stops.
bool stalled(SimplexWork *w) {
  if (circling(w)) return true;
  if (qrtlplp.Iiternum != w->lastPassIter) {
    w->lastPassIter = qrtlplp.Iiternum;
    w->stallPasses = 0;
    return false;
  }
  w->bestObjective += 0.001 * std::fabs(w->bestObjective) + 1.0e-12;
  if (++w->stallPasses < STALLED_PASSES) return false;
  qrtlplp.Iprobstat = -1;
  qrtmesg_no(MSG_NO_PROGRESS);
  return true;
}

// One pass of the primal loop; true when the solve is to be left.
bool primalPass(SimplexWork *w) {
  const int fastits = qrtlplp.Ifastits, devexmode = qrtlplp.Idevexmode;
  choosePricing(w);
  if (qrtitrx(w, 3) == 3) return true;
  w->historyCount = 0;
  w->factorIter = qrtlplp.Iiternum;
  qrtsprm(w);
#ifdef QRT_SELF_CHECKS
  if (const char *fault = solveState_check(w)) qrtmesg_no_q1(158, fault, -1);
#endif
  w->passNumber++;
  qrtlplp.Ifastits = fastits;
  qrtlplp.Idevexmode = devexmode;
  if (qrtlplp.Inumpinf == 0 && qrtlplp.Inumdinf == 0 && w->coreMode < 0) qrtlplp.Iprobstat = 0;
  if (qrtlplp.Iprobstat == 3) return true;
  const bool clean = qrtlplp.Inumpinf == 0 && w->primalPerturbation == 0.0;
  if (clean && qrtlplp.Rmaxmin * qrtlplp.Robjvalue < qrtlplp.Rdccutoff) {
    qrtlplp.Iprobstat = 3;
    return true;
  }
  return false;
}

// The basis of a values pass, under the true costs. The primal ends the run; infeasible rows are left to the dual before, whose
// own the basis is (25fv47 from its optimal multipliers: 838 iterations in all, 1613 by the primal alone).
void goOnFromValues(SimplexWork *w) {
  if (qrtlplp.Inumpinf == 0) {
    switchToPrimal(w, w->entryPweight);
    return;
  }
  dualRelease(w);
  w->dual->reachedFeasible = 1;
}

// One pass of the dual loop; true when the solve is to be left.
bool dualPass(SimplexWork *w) {
  if (qrtitrx(w, 4) == 3) return true;
  w->historyCount = 0;
  w->factorIter = qrtlplp.Iiternum;
  const bool values = w->dualValues != 0;
  if (values) qrtsdvl(w);
  else qrtsdul(w);
#ifdef QRT_SELF_CHECKS
  if (const char *fault = solveState_check(w)) qrtmesg_no_q1(158, fault, -1);
#endif
  w->passNumber++;
  if (values && !w->dualValues && qrtlplp.Iprobstat < 0) goOnFromValues(w);
  return qrtlplp.Iprobstat == 3;
}

// The factor belongs to another basis than the list, or carries updates.
bool factorIsStale(const SimplexWork *w) {
  return !w->factor->valid || w->historyCount > 0 || w->updateCount > w->acceptedUpdates;
}

constexpr int UPDATES_BELIEVED = 20;
constexpr double RESIDUAL_BELIEVED = 1.0e-9;

// A short run that found nothing more to do: the values recomputed by the factor as it stands, with the updates of that run,
// tell as well as those of a new factorisation that the basis is optimal, when their residuals are as small.
bool endsWithoutFactorisation(SimplexWork *w) {
  if (!w->nothingLeft || !w->factor->valid || w->updateCount > UPDATES_BELIEVED || w->cleaning == 2) return false;
  if (qrtlplp.Iprobstat >= 0 || qrtlplp.Inumpinf > 0 || w->rejectedCount > 0 || w->primalPerturbation != 0.0) return false;
  if (w->priceMode == PRICE_VALUES || (w->algorithm == ALGORITHM_DUAL && (w->dual->costsShifted || w->dual->phase == 1))) return false;
  w->finalMode = 1;
  const int check = qrtchks(w);
  w->finalMode = 0;
  if (check != CHECK_GOOD || qrtlplp.Inumpinf > 0 || qrtlplp.Inumdinf > 0) return false;
  if (!(w->largestResidual <= RESIDUAL_BELIEVED) || !(w->largestBasicDj <= RESIDUAL_BELIEVED)) return false;
  w->acceptedUpdates = w->updateCount;
  w->historyCount = 0;
  qrtlplp.Iprobstat = 0;
  return true;
}

// What the check asks for before any decision; true when the basis must be factorised first.
bool checkWantsFactor(SimplexWork *w, int check) {
  if (check == CHECK_NEW_BASIS) {
    w->passNumber = -1;
    return true;
  }
  if (check != CHECK_REFACTOR && check != CHECK_REFACTOR_TIGHT) return false;
  if (check == CHECK_REFACTOR_TIGHT) {
    w->pivotThreshold = 0.9;
    w->troubleIter = qrtlplp.Iiternum;
  }
  if (qrtlplp.Iprobstat != 2) w->enterVar = 0;  // of an unbounded problem the ray is still to come from it
  return true;
}

// What becomes of the major loop after a step of it.
enum Course : int { ITERATE, CHECK_AGAIN, FACTORISE_AGAIN, ENDED, FAILED };

Course actOnDecision(SimplexWork *w, int decision) {
  switch (decision) {
    case DECIDE_GO_ON: return qrtlplp.Iprobstat >= 0 ? ENDED : ITERATE;
    case DECIDE_LEAVE: return FAILED;
    case DECIDE_RECHECK: return CHECK_AGAIN;
    case DECIDE_BACKTRACK: return qrtbackup(w) != 0 ? FAILED : FACTORISE_AGAIN;
    case DECIDE_PERTURB: qrtprtb(w); return CHECK_AGAIN;
    case DECIDE_READMIT: qrtuflg(w); return CHECK_AGAIN;
    default: return factorIsStale(w) ? FACTORISE_AGAIN : CHECK_AGAIN;
  }
}

Course iterate(SimplexWork *w) {
  qrtchke(w);
  if (qrtlplp.Iprobstat >= 0) return ENDED;
  if (stalled(w)) return FAILED;
  if (qrtlplp.Iiternum >= qrtlplp.Imaxiter) {
    qrtlplp.Iprobstat = 3;
    return ENDED;
  }
  w->iterated = 1;
  w->valuesChecked = w->nothingLeft = 0;
  const bool ended = w->algorithm == ALGORITHM_DUAL ? dualPass(w) : primalPass(w);
  if (ended || endsWithoutFactorisation(w)) return ENDED;
  return factorIsStale(w) ? FACTORISE_AGAIN : CHECK_AGAIN;
}

Course checkAndDecide(SimplexWork *w, int *continued) {
  const int check = qrtchks(w);
  if (checkWantsFactor(w, check)) return FACTORISE_AGAIN;
  // A factor of an earlier solve has to show that it is still as good as a new one.
  if (w->acceptedUpdates > 0 && w->state.checkCount < 0 && check == CHECK_GOOD &&
      !(w->largestResidual <= RESIDUAL_BELIEVED && w->largestBasicDj <= RESIDUAL_BELIEVED)) {
    w->passNumber = -1;
    return FACTORISE_AGAIN;
  }
  if (w->addedLogicals > 0) {
    qrtmesg_no_i1(MSG_LOGICALS_ADDED, w->addedLogicals);
    w->addedLogicals = 0;
  }
  int decision = DECIDE_BACKTRACK;
  if (check != CHECK_UNUSABLE) {
    w->valuesChecked = 1;
    decision = qrtchkp(w, *continued);
    *continued = 0;
  }
  if (w->pivotThreshold > w->entryThreshold && qrtlplp.Iiternum - w->troubleIter > 500)
    w->pivotThreshold = w->entryThreshold;
  return actOnDecision(w, decision);
}

// Returns 0 when Iprobstat tells the end, or SOLVE_FAILED.
int majorLoop(SimplexWork *w, int continued) {
  Course course = FACTORISE_AGAIN;
  for (;;) {
    if (course == FACTORISE_AGAIN && factorise(w) != 0) {
      if (qrtbackup(w) != 0) return SOLVE_FAILED;
      continue;
    }
    course = checkAndDecide(w, &continued);
    if (course == ITERATE) course = iterate(w);
    if (course == ENDED) return 0;
    if (course == FAILED) return SOLVE_FAILED;
  }
}

// The last recomputation, with true bounds, so that what the caller reads is consistent.
void finalRecomputation(SimplexWork *w) {
  // The last check has it all, unless it was made for other bounds, other costs or a proof.
  if (w->valuesChecked && qrtlplp.Iprobstat == 0 && w->primalPerturbation == 0.0 && !factorIsStale(w) &&
      !(w->dual && (w->dual->costsShifted || w->dual->phase == 1)))
    return;
  w->finalMode = 1;
  const int status = qrtlplp.Iprobstat;
  if (w->primalPerturbation != 0.0) removePerturbation(w);
  dualRelease(w);
  if (factorIsStale(w)) {
    if (factorise(w) != 0) runFactorisation(w, w->m, w->basisCopy, 1);
    qrtrsrt(w);
  }
  w->cleaning = 0;
  const int checks = w->state.checkCount;
  w->state.checkCount = checks < 0 ? 1 : checks;
  qrtchks(w);
  w->state.checkCount = checks;
  qrtlplp.Iprobstat = status;
}

constexpr int SECOND_STATUS_CUTOFF = 11;

void setSecondStatus(const SimplexWork *w) {
  const bool cut = w && w->dual && w->dual->cutOff && qrtlplp.Iprobstat == 1;
  qrtlplp.Iprobstat2 = cut ? SECOND_STATUS_CUTOFF : qrtlplp.Iprobstat == 0 ? 0 : qrtlplp.Iprobstat == 1 ? 3 : -1;
}

void zeroInfeasibilities() {
  if (qrtlplp.Iprobstat != 0) return;
  qrtlplp.Inumpinf = qrtlplp.Inumdinf = 0;
  qrtlplp.Rsumpinf = qrtlplp.Rsumdinf = 0.0;
}

// Why a run happens. One that only cleans up after scaling, the solver's or the owner's, starts from the basis of the
// run before and has a limit of iterations of its own.
// An infeasibility whose proof fails outside the scaling proves nothing: the problem is solved again without it and without
// that limit.
constexpr int LEG_WHOLE = 0, LEG_CLEAN_UP = 1, LEG_AGAIN = 2;

struct LegResult {
  SimplexWork *work;
  int code;          // 0 or SOLVE_FAILED
  bool violated;     // sound inside, but outside the tolerances in the caller's units
  int doubt;         // of an optimum: DOUBT_*
};

// The way from the loop to the model: consistent values, statuses, duals, ray or proof.
void leave(SimplexWork *w, LegResult *leg) {
  keepForNext(w);
  finalRecomputation(w);
  qrtplsh(w);
  qrtinfs(w);
  keptFactor_leave(w);
  keptWeights_leave(w);
  restoreControls(w);
  const int status = qrtlplp.Iprobstat;
  if (w->scaled && (status == 0 || status == 1))
    leg->violated = largestOutsideDual(w) > qrtlplp.Rtoldinf ||
                    (status == 0 && largestOutsideViolation(w) > qrtlplp.Rtolpinf) ||
                    (status == 1 && qrtlplp.Rsumpinf <= qrtlplp.Rtolpinf);
  if (status == 0 && w->coreMode == 0) leg->doubt = doubtOfOptimum(w);
  if (leg->code == 0) zeroInfeasibilities();
  setSecondStatus(w);
}

LegResult runLeg(QRTModel *model, int algorithm, int init, int coreMode, int kind) {
  SimplexWork *w = newWork(model);
  LegResult leg = {w, 0, false, DOUBT_NONE};
  solveMemory_claim(w);
  loadProblem(w, kind == LEG_WHOLE);
  saveControls(w);
  setDefaults(w, algorithm, init, coreMode);
  w->passNumber = -1;
  w->entryThreshold = w->pivotThreshold;
  w->basisCopy = static_cast<int *>(temporaryAllocate(model, w->m + 1, int64_t(sizeof(int))));
  w->factor = keptSolve(model)->factor;
  qrtclbs(w);
  const bool continued = takeOver(w);
  if (!continued && model->auxKind != AUX_NONE) dropAux(model);
  qrtlplp.Iprobstat = -1;
  if (kind == LEG_CLEAN_UP) {
    const int limit = qrtlplp.Iiternum + w->m / 2 + 100;
    if (limit < qrtlplp.Imaxiter) qrtlplp.Imaxiter = limit;
  }
  leg.code = majorLoop(w, continued);
  leave(w, &leg);
  return leg;
}

// The answer of a run as it stands in model and controls, to be put back when a clean-up makes it no better.
struct Answer {
  double *solution, *dual, *aux;
  int *status;
  int auxKind, Iprobstat, Iprobstat2, Inumpinf, Inumdinf;
  double Robjvalue, Rsumpinf, Rsumdinf;
};

template <class T> T *copyOf(QRTModel *model, const T *vector) {
  const int64_t count = int64_t(model->Imaxrows) + model->Inumcols;
  if (!vector) return nullptr;
  T *copy = static_cast<T *>(temporaryAllocate(model, count + 1, int64_t(sizeof(T))));
  std::memcpy(copy, vector, size_t(count) * sizeof(T));
  return copy;
}

Answer takeAnswer(QRTModel *model) {
  return {copyOf(model, model->solution), copyOf(model, model->dual), copyOf(model, model->aux),
          copyOf(model, model->status),   model->auxKind,             qrtlplp.Iprobstat,
          qrtlplp.Iprobstat2,             qrtlplp.Inumpinf,           qrtlplp.Inumdinf,
          qrtlplp.Robjvalue,              qrtlplp.Rsumpinf,           qrtlplp.Rsumdinf};
}

void putAnswerBack(QRTModel *model, const Answer &a) {
  const size_t count = size_t(model->Imaxrows) + size_t(model->Inumcols);
  std::memcpy(model->solution, a.solution, count * sizeof(double));
  std::memcpy(model->dual, a.dual, count * sizeof(double));
  std::memcpy(model->status, a.status, count * sizeof(int));
  if (a.aux) {
    if (!model->aux) model->aux = newRimVector(model, 0.0);
    std::memcpy(model->aux, a.aux, count * sizeof(double));
  } else {
    dropAux(model);
  }
  model->auxKind = a.auxKind;
  qrtlplp.Iprobstat = a.Iprobstat;
  qrtlplp.Iprobstat2 = a.Iprobstat2;
  qrtlplp.Inumpinf = a.Inumpinf;
  qrtlplp.Inumdinf = a.Inumdinf;
  qrtlplp.Robjvalue = a.Robjvalue;
  qrtlplp.Rsumpinf = a.Rsumpinf;
  qrtlplp.Rsumdinf = a.Rsumdinf;
}

// A problem its owner has scaled: what the scale factors hide is told.
void reportUnscaledViolation(const SimplexWork *w) {
  if (w->scaled != 2 || qrtlplp.Iprobstat != 0) return;
  int which = 0, count = 0;
  const double worst = outsideViolation(w, &which, &count);
  if (!(worst > qrtlplp.Rtolpinf)) return;
  qrtmesg_no_i2(MSG_SCALED_COUNTS_DIFFER, 0, count);
  messageI(1, variableNumber(w, which));
  qrtmesg_no_d1(MSG_UNSCALED_VIOLATION, worst);
}

// All logicals basic, columns at the bound nearest to zero.
void startFromLogicals(QRTModel *model) {
  for (int i = 0; i < model->Inumrows; i++) model->status[i] = int(STATUS_BASIC);
  for (int j = 0; j < model->Inumcols; j++) {
    const int at = model->Imaxrows + j;
    uint32_t status;
    model->solution[at] = startValue(model->lower[at], model->upper[at], &status);
    model->status[at] = int(status);
  }
}

// A run that failed, or whose optimum is none, belongs to its way as much as to the problem: the other algorithm, from the
// logicals and without scaling, mostly gets through. Its answer stands if nothing is wrong with it; a point that only the costs
// deny is still one, so that the problem is not infeasible.
LegResult solveAnotherWay(QRTModel *model, int coreMode, const LegResult &first) {
  const Answer answer = takeAnswer(model);
  const int other = first.work->algorithm == ALGORITHM_DUAL ? ALGORITHM_PRIMAL : ALGORITHM_DUAL;
  startFromLogicals(model);
  const LegResult leg = runLeg(model, other, 1, coreMode, LEG_AGAIN);
  const int status = qrtlplp.Iprobstat;
  const bool contradicts = status == 1 && first.doubt == DOUBT_COSTS;
  if (leg.code == 0 && status >= 0 && status <= 2 && leg.doubt == DOUBT_NONE && !contradicts) return leg;
  putAnswerBack(model, answer);
  return first;
}

// No optimum, and no way to one.
int endInDifficulty() {
  qrtlplp.Iprobstat = qrtlplp.Iprobstat2 = -1;
  qrtmesg_no(MSG_NO_PROGRESS);
  return SOLVE_FAILED;
}

}  // namespace

int qrtsslvf(QRTModel *model, int algorithm, int init, int keep, int coreMode) {
  (void)keep;
  const bool nested = solveMemory_taken();
  if (init == 0 && qrtlplp.startWord != 0) init = qrtlplp.startWord;
  qrtlplp.startWord = 0;
  LegResult leg = runLeg(model, algorithm, init, coreMode, LEG_WHOLE);
  if (leg.code != 0) leg = solveAnotherWay(model, coreMode, leg);
  int code = leg.code;
  // A run that stopped at the cutoff has no answer to clean up.
  if (code == 0 && leg.violated && qrtlplp.Iprobstat2 != SECOND_STATUS_CUTOFF) {
    const Answer first = takeAnswer(model);
    const LegResult scaled = leg;
    const bool unproved = first.Iprobstat == 1;
    leg = runLeg(model, ALGORITHM_PRIMAL, 1, coreMode, unproved ? LEG_AGAIN : LEG_CLEAN_UP);
    const int status = qrtlplp.Iprobstat;
    if (leg.code != 0 || status < 0 || (status > 1 && !unproved)) {
      putAnswerBack(model, first);
      leg = scaled;
    }
  }
  if (code == 0 && leg.doubt != DOUBT_NONE) {
    leg = solveAnotherWay(model, coreMode, leg);
    if (leg.doubt != DOUBT_NONE) code = endInDifficulty();
  }
  finalReport(leg.work);
  reportUnscaledViolation(leg.work);
  if (!nested) solveMemory_release();
  return code != 0 ? code : qrtlplp.Iprobstat;
}

double nextRandom() {
  const double product = qrtlplp.randomSeed * 16807.0;
  qrtlplp.randomSeed = product - std::floor(product / 2147483647.0) * 2147483647.0;
  return qrtlplp.randomSeed / 2147483647.0;
}
