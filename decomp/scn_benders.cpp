// The L-shaped method: master and subproblems in turn until bound and value meet.
//
//     master proposes x --> each subproblem: z_j(x) and a cut --> cuts become rows --> master ...
//
// After a new proposal only bounds of fixed columns have moved, so a subproblem's last basis stays dual feasible: its
// solves go on by the dual simplex. So does the master's while its columns keep their bounds.
#include "decomp/scn_benders.h"

#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <cstring>

#include "decomp/scn_benders_run.h"
#include "decomp/scn_solving.h"
#include "frame/entry_frame.h"
#include "frame/messages.h"

namespace {

constexpr int MERGE_NUMBER = 57;      // message number
constexpr double RAY_NOISE = 1e-9;
constexpr double NOISE_SHARE = 0.01;  // of the gap that all cuts below the noise may leave together

int number(const QRTStoch *model) { return model->smodel->tag; }

}  // namespace

// ---- the user exits -----------------------------------------------------------------------------------------

namespace {
constexpr int EXIT_SOLVE = 11, EXIT_GAP = 12, EXIT_MESSAGE = 13;
QRTSUserExit exits[3];  // by EXIT_... - EXIT_SOLVE
bool exitExists(int which) { return which >= EXIT_SOLVE && which <= EXIT_MESSAGE; }

void tellSolve(int cycle, int solves) {
  if (exits[EXIT_SOLVE - EXIT_SOLVE]) exits[EXIT_SOLVE - EXIT_SOLVE](&cycle, &solves);
  else qrtsbndu1(&cycle, &solves);
}
void tellGap(double gap) {
  if (exits[EXIT_GAP - EXIT_SOLVE]) exits[EXIT_GAP - EXIT_SOLVE](&gap, nullptr);
  else qrtsbndu2(&gap);
}
}  // namespace

extern "C" {
int qrts_rgcb(int *which, QRTSUserExit function) {
  if (exitExists(*which)) exits[*which - EXIT_SOLVE] = function;
  return *which;
}
int qrts_clcb(int *which) {
  if (exitExists(*which)) exits[*which - EXIT_SOLVE] = nullptr;
  return *which;
}
int QRTSBNDU1(int *, int *) { return 0; }
int QRTSBNDU2(double *) { return 0; }
int qrtsbndu1(int *cycle, int *solves) { return QRTSBNDU1(cycle, solves); }
int qrtsbndu2(double *gap) { return QRTSBNDU2(gap); }
int qrtsbndu1_(int *cycle, int *solves) { return QRTSBNDU1(cycle, solves); }
int qrtsbndu2_(double *gap) { return QRTSBNDU2(gap); }
}

// ---- steps of a run -----------------------------------------------------------------------------------------

namespace {

double *columnsOf(const QRTModel *lp, double *rim) { return rim + lp->Imaxrows; }

// Leaves the master's point far out along its ray in the solution vector, the ray in run->ray and its cost.
void takeRay(BendersRun *run) {
  QRTModel *lp = run->master->smodel->model;
  const int all = lp->Inumcols, own = methodOf(run->master)->master->nCols;
  say(MSG_MASTER_UNBOUNDED);
  if (!run->ray)
    run->ray = static_cast<double *>(
        qrtbenders_Calloc(run->stoch, "qrts_CLshaped", int64_t(all) * int64_t(sizeof(double)), 0));
  memcpy(run->ray, columnsOf(lp, lp->aux), size_t(all) * sizeof(double));
  double a = 0.0, b = 0.0;
  double *x = columnsOf(lp, lp->solution);
  run->rayCost = run->raySize = 0.0;
  for (int j = 0; j < all; ++j) {
    a += run->ray[j] * run->ray[j];
    b += x[j] * x[j];
    if (j >= own) continue;  // the recourse columns only repeat what the subproblems will tell
    const double cost = run->ray[j] * columnsOf(lp, lp->objective)[j];
    run->rayCost += cost;
    run->raySize += fabs(cost);
  }
  a = sqrt(a);
  b = sqrt(b);
  const double t = a < qrt_getRtoldinf(lp) ? 10.0 * b : 10.0 * b / a;
  for (int j = 0; j < all; ++j) x[j] += t * run->ray[j];
}

// What the master's status asks for; false when the run is over (run->end says how).
bool judgeMaster(BendersRun *run) {
  QRTModel *lp = run->master->smodel->model;
  run->mstat = outcomeOf(lp);
  run->master->status = run->mstat;
  if (run->mstat >= 3) {
    sayNumber(MSG_DID_NOT_SOLVE, number(run->master));
    run->end = END_FAILED;
  } else if (run->mstat == 1) {
    say(MSG_MASTER_INFEASIBLE);
    run->stoch->status = 1;
    run->end = END_CLEAN;
  } else if (run->mstat == 2) {
    takeRay(run);
  } else if (run->mstat != 0) {
    stochMessage(MSG_STATUS_CONFUSED);
    run->end = END_FAILED;
  }
  return run->end == END_NOT_YET;
}

void propose(BendersRun *run) {
  QRTModel *lp = run->master->smodel->model;
  const double *x = columnsOf(lp, lp->solution);
  qrtbenders_Cputprop(run->master, x);
  memcpy(run->proposed, x, size_t(methodOf(run->master)->master->nCols) * sizeof(double));
}

int firstMasterSolve(BendersRun *run) {
  QRTStoch *master = run->master;
  qrts_copy2SolverOptions(master, run->stoch);
  if (master->optmaxmin < 0.0) qrt_setMaximize(master->smodel->model);
  say(MSG_FIRST_PASS);
  saySolving("master", number(master));
  quieten(master->smodel->model);
  const int code = solveAfresh(master, master->alg);
  if (code >= 2) return code;
  run->stoch->status = outcomeOf(master->smodel->model);
  if (judgeMaster(run)) propose(run);
  return 0;
}

// ---- one subproblem

int solveSub(BendersRun *run, QRTStoch *sub) {
  QRTModel *lp = sub->smodel->model;
  if (run->cycle > 1) return solveOn(lp);
  qrts_copy2SolverOptions(sub, run->stoch);
  if (sub->optmaxmin < 0.0) qrt_setMaximize(lp);
  quieten(lp);
  qrt_setCompressOff(lp);  // the virtual columns' reduced costs are what a cut is made of
  return solveAfresh(sub, sub->alg);
}

double valueOf(QRTStoch *sub) { return methodOf(sub)->slave->weight * qrt_getRobjvalue(sub->smodel->model); }

void sendCut(BendersRun *run, QRTStoch *sub, int status, bool alongRay) {
  QRTModel *lp = sub->smodel->model;
  const bool optimal = status == 0;
  const double value = optimal ? qrt_getRobjvalue(lp) : qrt_getRsumpinf(lp);
  const double *multipliers = optimal ? lp->dual : lp->aux;
  qrtbenders_Cputcut(sub, alongRay, optimal ? CUT_OPTIMALITY : CUT_FEASIBILITY, qrt_getRtoldinf(lp),
                     multipliers + lp->Imaxrows, multipliers, lp->solution + lp->Imaxrows, value, sub->optmaxmin);
  qrtbenders_Cputstat(sub, status, optimal ? valueOf(sub) : value);
  ++run->newCuts;
}

// A cut that would move the master by less than rounding is none: it only makes the master longer.
bool cutIsNoise(const BendersRun *run, int child, double value) {
  const SubEntry &entry = methodOf(run->master)->master->subs[child - 1];
  if (!entry.hasOptimal || run->mstat != 0 || run->thetaValue <= -SCN_INFINITY) return false;
  const double violation = run->stoch->optmaxmin * value - entry.estimate;
  const double share = NOISE_SHARE * run->stoch->gapAsked / methodOf(run->master)->master->numSubs;
  return violation <= share * fabs(run->thetaValue) + 1e-14 * (fabs(value) + fabs(entry.estimate));
}

// Along the master's ray: how the subproblem's value changes there. False when it failed.
bool solveAlongRay(BendersRun *run, QRTStoch *sub, int *status, int *code) {
  QRTModel *lp = sub->smodel->model;
  const BendersMethod *above = methodOf(run->master);
  fixVirtualColumns(sub, above->storeNode, run->master->smodel->nodeList->nNodes, run->ray, lp->upper + lp->Imaxrows,
                    lp->lower + lp->Imaxrows);
  qrts_Cgtbd(sub, BOUNDS_RAY);
  run->total = -run->stoch->optmaxmin * SCN_INFINITY;
  saySolving("subordinate", number(sub));
  *code = solveOn(lp);
  if (*code >= 2) return false;
  *status = outcomeOf(lp);
  run->rayCost += valueOf(sub);
  run->raySize += fabs(valueOf(sub));
  run->rayPass = true;
  return true;
}

// Subproblem i at the last proposal. Returns a solver's code of 2 or more; run->end when the run is over.
int visitSub(BendersRun *run, int i) {
  QRTStoch *sub = run->models[i];
  QRTModel *lp = sub->smodel->model;
  tellSolve(run->cycle, ++run->solves);
  qrtbenders_Cgetprop(sub, lp->upper + lp->Imaxrows, lp->lower + lp->Imaxrows);
  qrts_Cgtbd(sub, BOUNDS_ORIGINAL);
  saySolving("subordinate", number(sub));
  const int before = qrt_getIiternum(lp);
  int code = solveSub(run, sub);
  if (code >= 2) return code;
  int status = outcomeOf(lp);
  sub->status = status;
  bool alongRay = false;
  if (status == 1) {
    run->mstat = run->master->status = 0;
    run->total = run->stoch->optmaxmin * SCN_INFINITY;
  } else if (status == 2) {
    say(MSG_PROBLEM_UNBOUNDED);
    run->stoch->status = 2;
    run->end = END_CLEAN;
    return 0;
  } else if (status == 0 && run->mstat == 2) {
    alongRay = true;
    if (!solveAlongRay(run, sub, &status, &code)) return code;
  }
  if (status >= 2 || status < 0) {
    sayNumber(MSG_DID_NOT_SOLVE, i);
    run->end = END_FAILED;
    return 0;
  }
  if (!alongRay && status == 0 && fabs(run->total) < SCN_INFINITY) addCompensated(run, valueOf(sub));
  // Without iterations the multipliers are those of the solve before; their cut is known if it was sent then.
  BendersSlave *slave = methodOf(sub)->slave;
  if (qrt_getIiternum(lp) != before) slave->cutIsCurrent = 0;
  const bool unmoved = slave->cutIsCurrent && run->lastStatus[i] == 0 && !slave->lastCutAlongRay;
  if (status == 0 && !alongRay && run->cycle >= 2 && (unmoved || cutIsNoise(run, i, valueOf(sub)))) {
    qrtbenders_Cputstat(sub, 0, valueOf(sub));
    return 0;
  }
  run->lastStatus[i] = status;
  sendCut(run, sub, status, alongRay);
  return 0;
}

// All subproblems at the last proposal.
int pass(BendersRun *run) {
  run->total = run->totalRest = 0.0;
  run->newCuts = 0;
  run->rayPass = false;
  for (int i = 1; i < run->n && run->end == END_NOT_YET; ++i) {
    const int code = visitSub(run, i);
    if (code >= 2) return code;
  }
  if (run->end != END_NOT_YET) return 0;
  // Only all subproblems together can tell that nothing closes the ray.
  if (run->rayPass && run->mstat == 2 && run->stoch->optmaxmin * run->rayCost < -RAY_NOISE * run->raySize) {
    say(MSG_PROBLEM_UNBOUNDED);
    run->stoch->status = 2;
    run->end = END_CLEAN;
    return 0;
  }
  run->total += run->totalRest;
  sayValue(MSG_ACTUAL_VALUE, run->total);
  return qrtbenders_Cchkslvs(run->master);
}

// ---- the end test and the next proposal

void finish(BendersRun *run, double relative) {
  run->stoch->reloptgap = relative;
  sayValue(MSG_OPTIMAL_WITHIN, relative);
  run->stoch->status = 0;
  run->end = END_GATHER;
  if (!run->stoch->ifLargeBounds) return;
  // An answer that leans on a bound of the method's own making is none.
  const QRTModel *lp = run->master->smodel->model;
  const BoundSet *saved = methodOf(run->master)->originalBounds;
  for (int j = 0; j < methodOf(run->master)->master->nCols; ++j) {
    const double x = lp->solution[lp->Imaxrows + j];
    const bool leans = (x <= -LARGE_BOUND && saved->colLower[j] <= -SCN_INFINITY) ||
                       (x >= LARGE_BOUND && saved->colUpper[j] >= SCN_INFINITY);
    if (!leans) continue;
    say(MSG_PROBLEM_UNBOUNDED);
    run->stoch->status = 2;
    run->end = END_CLEAN;
    return;
  }
}

void tellCycle(BendersRun *run, double relative) {
  const double sense = run->stoch->optmaxmin;
  BendersMaster *record = methodOf(run->master)->master;
  run->totalCuts += run->newCuts;
  if (relative < SCN_INFINITY) {
    // The proposal's own cost is what the master's value holds beside its estimate of the rest.
    const QRTModel *lp = run->master->smodel->model;
    double own = 0.0;
    for (int j = 0; j < record->nCols; ++j) own += lp->objective[lp->Imaxrows + j] * run->proposed[j];
    const double value = sense * (own + run->total);
    if (value < run->bestValue) run->bestValue = value;
  }
  if (!run->stoch->cycleCallBack) return;
  QRTSCycle news = {};
  news.cycle = run->cycle;
  const double bound = run->boundKnown ? sense * run->masterValue : -SCN_INFINITY, value = run->bestValue;
  news.lower = sense > 0.0 ? bound : -value;
  news.upper = sense > 0.0 ? value : -bound;
  news.gap = relative;
  news.cuts = run->newCuts;
  news.totalCuts = run->totalCuts;
  news.seconds = qrtcput() - run->started;
  if (run->stoch->cycleCallBack(&news, run->stoch->cycleData) != 0 && run->end == END_NOT_YET) run->end = END_STOPPED;
}

void testGap(BendersRun *run) {
  double relative = SCN_INFINITY;
  if (fabs(run->total) < SCN_INFINITY) {
    const double gap = fabs(run->total - run->stoch->optmaxmin * run->thetaValue);
    double scale = fabs(run->thetaValue) + fabs(run->total);
    if (scale == 0.0) scale = 1.0;
    relative = gap / scale;
    tellGap(gap);
    sayValue(MSG_GAP, gap);
    sayValue(MSG_RELATIVE_GAP, relative);
    if (gap < run->stoch->gapAsked * scale) {
      tellGap(gap);
      finish(run, relative);
    } else if (run->newCuts == 0) {
      say(MSG_NO_NEW_CUTS);
      finish(run, relative);
    }
  }
  tellCycle(run, relative);
}

int solveMaster(BendersRun *run) {
  QRTStoch *master = run->master;
  QRTModel *lp = master->smodel->model;
  const int theta = methodOf(master)->master->nCols;
  saySolving("master", number(master));
  if (fabs(run->total) < SCN_INFINITY) lp->solution[lp->Imaxrows + theta] = run->stoch->optmaxmin * run->total;
  // A column that has just lost its bound makes the last basis dual infeasible; else the new rows are all that is wrong.
  const int freed = countFreed(run);
  const int code = freed > 0 || run->mstat == 2 ? qrt_primalSimplex(lp, SOLVE_FROM_VALUES) : solveOn(lp);
  if (code >= 2) return code;
  if (!judgeMaster(run)) return 0;
  propose(run);
  if (run->mstat != 0) return 0;
  run->masterValue = run->stoch->robjvalue = qrt_getRobjvalue(lp);
  run->boundKnown = methodOf(master)->master->allReported != 0;
  sayValue(MSG_MASTER_VALUE, run->masterValue);
  run->thetaValue = lp->solution[lp->Imaxrows + theta];
  sayValue(MSG_ESTIMATED_VALUE, run->stoch->optmaxmin * run->thetaValue);
  return 0;
}

// The cycles are used up: the point that is gathered must be that of the last proposal.
int lastPass(BendersRun *run) {
  run->stoch->status = 3;
  for (int i = 1; i < run->n; ++i) {
    QRTStoch *sub = run->models[i];
    QRTModel *lp = sub->smodel->model;
    qrtbenders_Cgetprop(sub, lp->upper + lp->Imaxrows, lp->lower + lp->Imaxrows);
    qrts_Cgtbd(sub, BOUNDS_ORIGINAL);
    saySolving("subordinate", number(sub));
    if (run->cycle < 2 && run->stoch->alg < 0) {
      printf("\n QRTERROR! alg=-1 not supported.\n");
      qrts_endProcess(UNSUPPORTED_EXIT);
    }
    const int code = solveSub(run, sub);
    if (code >= 2) return code;
    sub->status = outcomeOf(lp);
  }
  say(MSG_CYCLES_EXCEEDED);
  run->end = END_GATHER;
  return 0;
}

int cycles(BendersRun *run) {
  run->cycle = 1;
  while (run->cycle < run->stoch->maxiter) {
    int code = pass(run);
    if (code >= 2 || run->end != END_NOT_YET) return code;
    testGap(run);
    if (run->end == END_STOPPED) {
      run->stoch->status = 3;
      run->end = END_GATHER;
    }
    if (run->end != END_NOT_YET) return 0;
    sayNumber(MSG_BEGIN_CYCLE, ++run->cycle);
    code = solveMaster(run);
    if (code >= 2 || run->end != END_NOT_YET) return code;
  }
  return lastPass(run);
}

void warnOfList(QRTStoch *stoch) {
  if (stoch->nSubmodels <= 0) return;
  printf("\n **** Warning !  qrts_bendersLSolve() has found an existing **** ");
  printf("\n **** decomposition.  Deleting the decomposition information ... ");
  qrts_deleteSubmodels(stoch);
  printf("\n **** A new decomposition (at cut stage = cutperiod) will be \n");
  printf("\n **** performed. \n");
}

// Records, total recourse column and, on request, the start. 0, or a code of 2 or more.
int setUp(BendersRun *run, int mode) {
  QRTStoch *stoch = run->stoch;
  int *parents = static_cast<int *>(
      qrtbenders_Calloc(stoch, "qrts_CLshaped", int64_t(run->n) * int64_t(sizeof(int)), 0));
  for (int i = 0; i < run->n; ++i) parents[i] = run->models[i]->masterModel;
  int root = 0;
  const int code = qrtbenders_Cinit(run->models, run->n, parents, stoch->maxiter, &root, stoch->ifLargeBounds);
  if (code >= 2) return code;
  if (root != 1) {
    stochMessage(MSG_DUPLICATE_ROOT);
    qrts_endProcess(2);
  }
  QRTModel *lp = run->master->smodel->model;
  const int own = methodOf(run->master)->master->nCols;
  if (run->master->optmaxmin == -1.0) lp->objective[lp->Imaxrows + own] = -1.0;
  if (mode == 1 && stoch->status >= 0) qrts_Chots(stoch, run->models, run->n);
  run->lastStatus = static_cast<int *>(
      qrtbenders_Calloc(stoch, "qrts_CLshaped", int64_t(run->n) * int64_t(sizeof(int)), 0));
  for (int i = 0; i < run->n; ++i) run->lastStatus[i] = -1;
  run->proposed = static_cast<double *>(
      qrtbenders_Calloc(stoch, "qrts_CLshaped", (int64_t(own) + 1) * int64_t(sizeof(double)), 0));
  qrt_messagePrintOff(lp, MERGE_NUMBER);
  return 0;
}

int runCycles(BendersRun *run, int mode) {
  int code = setUp(run, mode);
  if (code < 2) code = firstMasterSolve(run);
  if (code < 2 && run->end == END_NOT_YET) code = cycles(run);
  if (code >= 2) return code;
  if (run->end == END_FAILED) return 1;
  if (run->end == END_GATHER) code = qrts_Cgthr(run->stoch, run->models, run->n);
  return code < 2 ? 0 : code;
}

}  // namespace

void addCompensated(BendersRun *run, double value) {
  const double sum = run->total + value;
  run->totalRest += fabs(run->total) >= fabs(value) ? (run->total - sum) + value : (value - sum) + run->total;
  run->total = sum;
}

int countFreed(BendersRun *run) {
  const BendersMaster *record = methodOf(run->master)->master;
  int reported = 0;
  for (int j = 0; j < record->numSubs; ++j) reported += record->subs[j].hasOptimal;
  const int freed = reported - run->freedBefore;
  run->freedBefore = reported;
  return freed;
}

int qrts_CLshaped(QRTStoch *stoch, int mode) {
  if (mode != 0 && mode != 1) {
    printf("\n ERROR! mode parameter must be 0 or 1!\n");
    qrts_endProcess(0);
  }
  warnOfList(stoch);
  BendersRun run = {};
  run.stoch = stoch;
  run.thetaValue = -SCN_INFINITY;
  run.bestValue = SCN_INFINITY;
  run.started = qrtcput();
  run.n = qrts_decompose2CutAtStage(stoch, stoch->cutperiod, 1);
  int code = 1;
  if (run.n < 2) {
    printf("\n ERROR! No valid decomposition performed\n");
    stoch->status = 3;
  } else {
    run.models = stoch->submodels;
    run.master = run.models[0];
    code = runCycles(&run, mode);
  }
  qrts_deleteSubmodels(stoch);
  qrtbenders_Cfree(stoch);
  return code;
}

int qrts_benders2LSolve(QRTStoch *stoch, int mode) {
  if (!stoch->smodel && qrts_describe2FullModel(stoch, 0, 1) < 0) return 2;
  if (stoch->smodel->model->Inumblocks == 0) {
    const int code = qrts_load2BaseModel(stoch, 1);
    if (code >= 2) return code;
  }
  switchSimplexLog(stoch, false);
  if (stoch->optmaxmin < 0.0) qrt_setMaximize(stoch->smodel->model);
  int code = 0;
  if (stoch->maxiter > 0) code = qrts_CLshaped(stoch, mode);
  const bool sound = stoch->status == 0 || stoch->status == 2 || stoch->status == 3;
  if (code < 2 && (stoch->maxiter == 0 || (sound && stoch->ifFinalSimplex == 1))) code = solveWhole(stoch);
  if (code >= 2) return code;
  switchSimplexLog(stoch, true);
  return code;
}
