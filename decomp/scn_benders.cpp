// The L-shaped method: master and subproblems in turn until bound and value meet.
//
//     master proposes x --> each subproblem: z_j(x) and a cut --> cuts become rows --> master ...
//
// After a new proposal only bounds of fixed columns have moved: dual feasible bases stay so, in the subproblems
// (scn_family.h) and, while its columns keep their bounds, in the master.
#include "decomp/scn_benders.h"

#include <climits>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <cstring>

#include "decomp/scn_benders_run.h"
#include "decomp/scn_solving.h"
#include "frame/entry_frame.h"
#include "frame/messages.h"

namespace {

constexpr int MERGE_NUMBER = 57;  // message number
constexpr double RAY_NOISE = 1e-9;

int number(const QRTStoch *model) { return model->smodel->tag; }

}  // namespace

// ---- the user exits -----------------------------------------------------------------------------------------

namespace {
constexpr int EXIT_SOLVE = 11, EXIT_GAP = 12, EXIT_MESSAGE = 13;
QRTSUserExit exits[3];  // by EXIT_... - EXIT_SOLVE
bool exitExists(int which) { return which >= EXIT_SOLVE && which <= EXIT_MESSAGE; }

void tellGap(double gap) {
  if (exits[EXIT_GAP - EXIT_SOLVE]) exits[EXIT_GAP - EXIT_SOLVE](&gap, nullptr);
  else qrtsbndu2(&gap);
}
}  // namespace

void tellSolve(int cycle, int solves) {
  if (exits[EXIT_SOLVE - EXIT_SOLVE]) exits[EXIT_SOLVE - EXIT_SOLVE](&cycle, &solves);
  else qrtsbndu1(&cycle, &solves);
}

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
  const int all = lp->Inumcols, own = masterOf(run->master)->nCols;
  say(MSG_MASTER_UNBOUNDED);
  if (!run->ray)
    run->ray = static_cast<double *>(qrts__alloc("qrts_CLshaped", int64_t(all) * int64_t(sizeof(double)), 0));
  memcpy(run->ray, columnsOf(lp, lp->aux), size_t(all) * sizeof(double));
  double a = 0.0, b = 0.0;
  double *x = columnsOf(lp, lp->solution);
  run->rayCost = run->raySize = 0.0;
  for (int j = 0; j < all; ++j) {
    a += run->ray[j] * run->ray[j];
    b += x[j] * x[j];
    const double cost = run->ray[j] * columnsOf(lp, lp->objective)[j];
    run->raySize += fabs(cost);
    if (j < own) run->rayCost += cost;  // the recourse columns only say what the master hopes of the subproblems
  }
  a = sqrt(a);
  b = sqrt(b);
  const double t = a < qrt_getRtoldinf(lp) ? 10.0 * b : 10.0 * b / a;
  for (int j = 0; j < all; ++j) x[j] += t * run->ray[j];
}

// What the master's outcome asks for; false when the run is over (run->end says how).
bool judgeMaster(BendersRun *run, int outcome) {
  run->master->status = run->mstat = outcome;
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
  BendersMaster *record = masterOf(run->master);
  const QRTModel *lp = run->master->smodel->model;
  const double *x = lp->solution + lp->Imaxrows;
  if (record->nCols > 0) memcpy(run->proposed, x, size_t(record->nCols) * sizeof(double));
  for (int j = 1; j <= record->numSubs; ++j)
    if (record->subs[j - 1].hasOptimal) record->subs[j - 1].estimate = x[record->nCols + j];
}

// Bounds that an optimum of the master gives.
void takeMasterValue(BendersRun *run) {
  const QRTModel *lp = run->master->smodel->model;
  const BendersMaster *record = masterOf(run->master);
  run->masterValue = run->stoch->robjvalue = qrt_getRobjvalue(run->master->smodel->model);
  run->boundKnown = true;
  for (int j = 0; j < record->numSubs; ++j) run->boundKnown &= record->subs[j].hasOptimal != 0;
  sayValue(MSG_MASTER_VALUE, run->masterValue);
  run->thetaValue = lp->solution[lp->Imaxrows + record->nCols];
  sayValue(MSG_ESTIMATED_VALUE, run->stoch->optmaxmin * run->thetaValue);
}

int firstMasterSolve(BendersRun *run) {
  QRTStoch *master = run->master;
  qrts_copy2SolverOptions(master, run->stoch);
  if (master->optmaxmin < 0.0) qrt_setMaximize(master->smodel->model);
  say(MSG_FIRST_PASS);
  saySolving("master", number(master));
  quieten(master->smodel->model);
  int outcome, code = solveAfresh(master, master->alg, "master.pre");
  if (code < 2) code = confirmedOutcome(master->smodel->model, &outcome);
  if (code >= 2) return code;
  run->stoch->status = outcome;
  if (!judgeMaster(run, outcome)) return 0;
  propose(run);
  if (run->cyclesBefore > 0 && run->mstat == 0) takeMasterValue(run);
  return 0;
}

// ---- one cycle

// All subproblems at the last proposal.
int pass(BendersRun *run) {
  int code = run_pass(run);
  if (code >= 2 || run->end != END_NOT_YET) return code;
  // Only all subproblems together can tell that nothing closes the ray.
  if (run->rayPass && run->mstat == 2 && run->stoch->optmaxmin * run->rayCost < -RAY_NOISE * run->raySize) {
    say(MSG_PROBLEM_UNBOUNDED);
    run->stoch->status = 2;
    run->end = END_CLEAN;
    return 0;
  }
  sayValue(MSG_ACTUAL_VALUE, run->total);
  run_keepCuts(run, &run->batch);
  code = cutBatch_add(&run->batch, run->master->smodel->model);
  if (code < 2 && run->stoch->saveFile && run->cycle % run->stoch->saveEvery == 0) run_saveState(run);
  return code;
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
  const BendersMaster *record = masterOf(run->master);
  for (int j = 0; j < record->nCols; ++j) {
    const double x = lp->solution[lp->Imaxrows + j];
    const bool leans = (x <= -LARGE_BOUND && record->savedLower[j] <= -SCN_INFINITY) ||
                       (x >= LARGE_BOUND && record->savedUpper[j] >= SCN_INFINITY);
    if (!leans) continue;
    say(MSG_PROBLEM_UNBOUNDED);
    run->stoch->status = 2;
    run->end = END_CLEAN;
    return;
  }
}

void tellCycle(BendersRun *run, double relative) {
  const double sense = run->stoch->optmaxmin;
  BendersMaster *record = masterOf(run->master);
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
    // Until each subproblem has bounded its column, that column's first bound of 0 may hold the master back.
    if (gap < run->stoch->gapAsked * scale && (run->boundKnown || run->newCuts == 0)) {
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
  const int theta = masterOf(master)->nCols;
  saySolving("master", number(master));
  if (fabs(run->total) < SCN_INFINITY) lp->solution[lp->Imaxrows + theta] = run->stoch->optmaxmin * run->total;
  // A column that has just lost its bound makes the last basis dual infeasible; else the new rows are all that is wrong.
  const int freed = countFreed(run);
  int code = freed > 0 || run->mstat == 2 ? qrt_primalSimplex(lp, SOLVE_FROM_VALUES) : solveOn(lp);
  if (code >= 2 || outcomeOf(lp) < 0 || outcomeOf(lp) > 2) code = solveFromLogicals(lp);
  int outcome;
  if (code < 2) code = confirmedOutcome(lp, &outcome);
  if (code >= 2) return code;
  if (!judgeMaster(run, outcome)) return 0;
  propose(run);
  if (run->mstat != 0) return 0;
  takeMasterValue(run);
  return 0;
}

// The answer into the whole model, or a note of it where that model is not described yet.
int gather(BendersRun *run, bool announce) {
  run->answer = true;
  return run->stoch->smodel ? run_gather(run, announce) : 0;
}

// The cycles are used up: the point that is gathered must be that of the last proposal.
int lastPass(BendersRun *run) {
  run->stoch->status = 3;
  if (run->cycle < 2 && run->stoch->alg < 0) {
    printf("\n QRTERROR! alg=-1 not supported.\n");
    qrts_endProcess(UNSUPPORTED_EXIT);
  }
  run->end = END_GATHER;
  const int code = gather(run, true);
  say(MSG_CYCLES_EXCEEDED);
  return code;
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
      return gather(run, false);
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

// Master, total recourse column and, on request, the start. 0, 1 when it can't be formed, or a code of 2 or more.
int setUp(BendersRun *run, int mode, int **lists, const int *counts) {
  QRTStoch *stoch = run->stoch;
  // Clusters go by the first-stage columns that the master will have.
  int64_t own = 0;
  for (int p = 0; p < counts[0]; ++p) own += stoch->sdata->nodes->nodes[lists[0][p] - 1].nCols;
  const int children = run_clusters(run->n - 1, own > INT32_MAX / 8 ? INT32_MAX / 8 : int(own));
  run->master = formMasterAlone(stoch, lists, counts, run->n, children);
  if (!run->master) return 1;
  int code = qrts_Cmstr(run->master, children, stoch->ifLargeBounds);
  if (code < 2) code = run_setUp(run, lists, counts);
  if (code >= 2) return code;
  QRTModel *lp = run->master->smodel->model;
  if (run->master->optmaxmin == -1.0) lp->objective[lp->Imaxrows + masterOf(run->master)->nCols] = -1.0;
  if (mode == 1 && stoch->status >= 0) {
    qrts_Chots(stoch, &run->master, 1);
    for (int i = 0; i < run->n - 1; ++i) member_hotStart(&run->all, i);
  }
  qrt_messagePrintOff(lp, MERGE_NUMBER);
  run_prepareState(run);
  return run_resume(run);
}

int runCycles(BendersRun *run, int mode, int **lists, const int *counts) {
  int code = setUp(run, mode, lists, counts);
  if (code != 0) return code;
  code = firstMasterSolve(run);
  if (code < 2 && run->end == END_NOT_YET) code = cycles(run);
  run_saveState(run);
  if (code >= 2) return code;
  if (run->end == END_FAILED) return 1;
  if (run->end == END_GATHER && run->stoch->status != 3) code = gather(run, false);
  return code < 2 ? 0 : code;
}

// Nodes of each model; their number, or one below 2. The whole model must be described.
int cutAtStage(QRTStoch *stoch, int ***lists, int **counts) {
  const int stage = stoch->cutperiod;
  if (stage < 1) {
    printf("\n ERROR! Set oModel->cutperiod > 0\n");
    qrts_endProcess(0);
  }
  int n = 0;
  return qrts_Cpcut(stoch, stage, lists, counts, &n) >= 2 ? -1 : n;
}

void endRun(BendersRun *run) {
  if (run->master) {
    freeMaster(run->master);
    run->master->sdata = nullptr;
    qrts_delete2Stoch(run->master);
  }
  run_free(run);
  for (int i = 0; i < run->n; ++i) free(run->lists[i]);
  free(run->lists);
  free(run->counts);
  free(run);
}

// Somebody looks at the object before the whole model is there: describes it, during a run and after it, and leaves
// there what the run found. Until then a tree whose equivalent is much larger than its data costs its data alone.
void realise(QRTStoch *stoch, int keep) {
  BendersRun *run = static_cast<BendersRun *>(stoch->realiseData);
  stoch->realise = nullptr;
  stoch->realiseData = nullptr;
  if (keep) {
    const bool described = qrts_describe2FullModel(stoch, 0, 1) >= 0;
    if (run->running) {
      stoch->nSubmodels = run->n;
      return;
    }
    if (described && run->answer) {
      const int status = stoch->status;
      switchSimplexLog(stoch, false);
      if (run_gather(run, false) >= 2) stoch->status = -1;
      else stoch->status = status;
      switchSimplexLog(stoch, true);
    }
  }
  if (!run->running) endRun(run);
}

void awaitLook(QRTStoch *stoch, BendersRun *run) {
  stoch->realise = realise;
  stoch->realiseData = run;
}

// Whether the whole model may wait until somebody looks: nothing in the run needs it, and no node is left out of it.
bool wholeCanWait(QRTStoch *stoch, int mode) {
  if (stoch->smodel || mode != 0 || stoch->maxiter <= 0 || stoch->ifFinalSimplex == 1 || !stoch->sdata) return false;
  if (qrts_unpackCore(stoch->sdata) >= 2 || qrts_needNodes(stoch->sdata) >= 2) return false;
  if (stoch->sdata->core->problemType != 1) return false;
  NodeList *list = stoch->sdata->nodes;
  int rc = 0;
  qrts_prob(&rc, list, stoch->sdata->core->nStages, 1);
  if (rc >= 2) return false;
  for (int k = 0; k < list->nNodes; ++k)
    if (!(list->nodes[k].probability > 0.0)) return false;
  return list->nNodes > 0;
}

}  // namespace

int qrts_CLshaped(QRTStoch *stoch, int mode) {
  if (mode != 0 && mode != 1) {
    printf("\n ERROR! mode parameter must be 0 or 1!\n");
    qrts_endProcess(0);
  }
  warnOfList(stoch);
  BendersRun *run = static_cast<BendersRun *>(qrts__alloc("qrts_CLshaped", sizeof(BendersRun), 0));
  run->stoch = stoch;
  run->thetaValue = -SCN_INFINITY;
  run->bestValue = SCN_INFINITY;
  run->started = qrtcput();
  run->n = cutAtStage(stoch, &run->lists, &run->counts);
  run->running = true;
  int code = 1;
  if (run->n < 2) {
    printf("\n ERROR! No valid decomposition performed\n");
    stoch->status = 3;
  } else {
    stoch->nSubmodels = run->n;  // their objects are made when somebody looks
    if (!stoch->smodel) awaitLook(stoch, run);
    code = runCycles(run, mode, run->lists, run->counts);
  }
  run->running = false;
  qrts_deleteSubmodels(stoch);
  if (stoch->smodel) endRun(run);
  else awaitLook(stoch, run);
  return code;
}

int qrts_benders2LSolve(QRTStoch *stoch, int mode) {
  if (!wholeCanWait(stoch, mode)) {
    if (!stoch->smodel && qrts_describe2FullModel(stoch, 0, 1) < 0) return 2;
    if (stoch->smodel->model->Inumblocks == 0) {
      const int code = qrts_load2BaseModel(stoch, 1);
      if (code >= 2) return code;
    }
    if (refuseQuadratic(stoch, "qrts_bendersLSolve")) return 2;
    if (stoch->optmaxmin < 0.0) qrt_setMaximize(stoch->smodel->model);
  }
  switchSimplexLog(stoch, false);
  int code = 0;
  if (stoch->maxiter > 0) code = qrts_CLshaped(stoch, mode);
  const bool sound = stoch->status == 0 || stoch->status == 2 || stoch->status == 3;
  if (code < 2 && (stoch->maxiter == 0 || (sound && stoch->ifFinalSimplex == 1))) code = solveWhole(stoch);
  if (code >= 2) return code;
  switchSimplexLog(stoch, true);
  return code;
}
