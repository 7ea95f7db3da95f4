// Nested decomposition, the driver: cuts the tree, visits the models in turn until the root reports an end, gathers.
//
// A visit that finds nothing to do costs a few table reads, so models are visited round and round: parents before children,
// for then a proposal reaches the leaves in one round.
#include "decomp/scn_nested.h"

#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <cstring>

#include "decomp/scn_solving.h"
#include "frame/entry_frame.h"
#include "frame/messages.h"
#include "model/model_store.h"

namespace {

constexpr int NO_LIMIT_SET = 999999, MODELS_INSTEAD = 100;  // of maxsubmodels
constexpr int STATUS_LIMIT = 2, STATUS_NO_CUT = 3, STATUS_FAILED = -1;
constexpr int NESTED_ALG = 1;                               // left behind: the final solve is primal
constexpr double SMALLEST_GAP_SHOWN = 1.1e-08;
const char CONFIGURATION[] = "tavpe.cfg";

struct NestedRun {
  QRTStoch *stoch;
  QRTStoch **models;        // [n]
  int n;
  const int *parents;       // [n] from 1, 0 for the root
  const int *childCounts;   // [n]
  int *order;               // [n] models from 0, parents before their children
  int seqStep;
  double g;
  int limit;                // cycle at which the run ends
  int cycle, last;
  double rootValue;
  int ender;                // model from 0 that ended the run, -1 none yet
  int visited;              // model from 0 of the last visit
};

// Parents before children; in each generation by number.
void sortByDepth(NestedRun *run) {
  int *depth = static_cast<int *>(qrts__alloc("qrts_nestedLSolve", int64_t(run->n) * int64_t(sizeof(int)), 0));
  int deepest = 0, placed = 0;
  for (int i = 0; i < run->n; ++i) {
    for (int up = run->parents[i]; up != 0; up = run->parents[up - 1]) ++depth[i];
    if (depth[i] > deepest) deepest = depth[i];
  }
  for (int d = 0; d <= deepest; ++d)
    for (int i = 0; i < run->n; ++i)
      if (depth[i] == d) run->order[placed++] = i;
  free(depth);
}

void exportForDebug(const QRTStoch *model, int number) {
  char name[32];
  snprintf(name, sizeof name, "fort.%dx", number);
  exportInUnits(model->smodel->model, name);
}

// ---- set-up

void readyTables(NestedRun *run) {
  QRTStoch *stoch = run->stoch;
  nested_CStatusInitialize(stoch, run->n);
  qrtnested_CInitProposal(stoch, run->n);
  qrtnested_CInitCuts(stoch, run->n);
  NestedTables *tables = nestedTables(stoch);
  tables->g = run->g;
  tables->inner = tables->bestValue = SCN_INFINITY;
  tables->rootChecks = tables->cutsOfCycle = tables->cutsSoFar = tables->stopAsked = 0;
  tables->started = qrtcput();
}

int exchangeNodeLists(NestedRun *run) {
  int code = 0;
  for (int i = 0; i < run->n && !code; ++i) code = nested_CSendNodesToMaster(run->models[i]);
  for (int i = 0; i < run->n && !code; ++i) code = nested_CRecvNodeListFromSlaves(run->models[i], run->models, run->n);
  for (int i = 0; i < run->n && !code; ++i) code = nested_CSendNodeListToSlaves(run->models[i], run->models);
  for (int i = 0; i < run->n && !code; ++i) code = nested_CRecvNodeListFromMaster(run->models[i], run->models);
  return code;
}

int setUp(NestedRun *run) {
  messageI(1, run->n);
  say(MSG_SOLVING_WITH);
  for (int k = 0; k < run->n; ++k) {
    const int i = run->order[k];
    const int code = qrtnested_Cinitmdl(run->stoch, run->models[i], run->childCounts[i], run->parents[i], i + 1);
    if (code >= 2) return code;
  }
  readyTables(run);
  int code = exchangeNodeLists(run);
  if (code >= 2) return code;
  quieten(run->stoch->baseModel);
  for (int i = 0; i < run->n && code < 2; ++i) code = qrtnested_Cinittav(run->models[i], i + 1, run->childCounts[i]);
  return code < 2 ? nested_resume(run->stoch, run->n) : code;
}

// ---- the cycles

// One visit to model i. A solver's code; run->ender when the run is over.
int visitModel(NestedRun *run, int i, bool firstSweep) {
  QRTStoch *stoch = run->stoch, *model = run->models[i];
  NestedTables *tables = nestedTables(stoch);
  int event;
  run->visited = i;
  double value = stoch->robjvalue, gap = stoch->reloptgap;
  const int code = qrtnested_Cmodel(model, firstSweep, firstSweep, &event, &value, &gap, run->g, run->seqStep);
  if (code >= 2) return code;
  NestedModel *rec = nestedOf(model);
  model->status = rec->modelStatus;
  if (!rec->slavePart) {
    stoch->robjvalue = value;
    stoch->reloptgap = gap;
  }
  if (stoch->ifDebug) exportForDebug(model, firstSweep ? i + 10 : 20 * run->last + i);
  if (rec->modelStatus == NESTED_STALLED) run->limit = run->cycle;
  if (tables->stopAsked) {
    run->ender = i;
    return 0;
  }
  // With cuts of an earlier run the first solve of the root may be the last.
  if (event == EVENT_ROOT_SOLVED) run->rootValue = value;
  if (event == EVENT_NONE || (firstSweep && event == EVENT_ROOT_SOLVED)) return 0;
  run->last = run->cycle;
  if (rec->modelStatus != NESTED_WORKING || run->cycle >= run->limit) {
    run->ender = i;
    return 0;
  }
  messageI(1, run->cycle - 1);
  sayValue(MSG_STEP_GAP, stoch->reloptgap);
  messageI(1, run->cycle);
  sayValue(MSG_STEP_VALUE, value);
  ++run->cycle;
  if (stoch->saveFile && run->cycle % stoch->saveEvery == 0) nested_saveState(stoch, run->n, run->cycle);
  return 0;
}

int rounds(NestedRun *run) {
  NestedTables *tables = nestedTables(run->stoch);
  run->cycle = 2;
  run->last = 1;
  run->limit = run->stoch->maxiter;
  run->ender = -1;
  for (bool firstSweep = true; run->ender < 0; firstSweep = false) {
    const int64_t before = tables->moves;
    for (int k = 0; k < run->n && run->ender < 0; ++k) {
      const int code = visitModel(run, run->order[k], firstSweep);
      if (code >= 2) return code;
    }
    if (run->ender >= 0 || tables->moves != before) continue;
    // Everybody waits for somebody: no further round would differ.
    run->ender = run->order[0];
    nestedOf(run->models[run->ender])->modelStatus = NESTED_STALLED;
    sayNumber(MSG_DID_NOT_SOLVE, run->ender + 1);
  }
  return 0;
}

// ---- the end

void tellEnd(NestedRun *run, int status) {
  QRTStoch *stoch = run->stoch;
  if (status == NESTED_OPTIMAL) {
    messageI(1, run->last - 1);
    say(MSG_OPTIMAL_AFTER);
    sayValue(MSG_TOTAL_GAP, stoch->reloptgap);
    stoch->robjvalue = run->rootValue;
    sayValue(MSG_OPTIMAL_VALUE, run->rootValue);
  } else if (status == NESTED_STALLED) {
    if (stoch->reloptgap < SMALLEST_GAP_SHOWN) stoch->reloptgap = SCN_INFINITY;
    sayValue(MSG_TOTAL_GAP, stoch->reloptgap);
  } else if (status == NESTED_INFEASIBLE) {
    stochMessage(MSG_NESTED_INFEASIBLE);
  } else if (status == NESTED_UNBOUNDED || status == NESTED_UNBOUNDED_BELOW) {
    stochMessage(MSG_NESTED_UNBOUNDED);
  }
  if (run->last == run->limit) say(MSG_NESTED_EXCEEDED);
}

// Where the run did not end with parts that fit together, each model solves at what its parent holds.
int fitTogether(NestedRun *run, int status) {
  if (status != NESTED_OPTIMAL && status != NESTED_WORKING) return 0;
  bool fits = status == NESTED_OPTIMAL;
  for (int i = 0; i < run->n && fits; ++i) fits = nestedOf(run->models[i])->activeBounds != BOUNDS_RAY;
  for (int k = 1; k < run->n && !fits; ++k) {
    const int i = run->order[k];
    const int code = solveAtParent(run->models[i], run->models[run->parents[i] - 1]);
    if (code >= 2) return code;
  }
  return 0;
}

void leaveBounds(NestedRun *run) {
  for (int i = 0; i < run->n; ++i)
    if (nestedOf(run->models[i])->slavePart) qrtnested_Cgtbd(run->models[i], BOUNDS_ORIGINAL);
}

}  // namespace

int qrts_Csub(QRTStoch *stoch, int nModels, const int *parents, const int *childCounts) {
  NestedRun run = {};
  run.stoch = stoch;
  run.models = stoch->submodels;
  run.n = nModels;
  run.parents = parents;
  run.childCounts = childCounts;
  run.seqStep = nModels + 2;
  run.g = stoch->gapAsked;  // reloptgap shows what the last run reached
  run.order = static_cast<int *>(qrts__alloc("qrts_nestedLSolve", int64_t(nModels) * int64_t(sizeof(int)), 0));
  sortByDepth(&run);
  int code = setUp(&run);
  if (code < 2) {
    code = rounds(&run);
    // Before the news of the end, which may end the process.
    nested_saveState(stoch, nModels, run.cycle);
    if (code >= 2) nested_writeFailure(stoch, run.visited);
    else if (nestedOf(run.models[run.ender])->modelStatus == NESTED_STALLED) nested_writeFailure(stoch, run.ender);
  }
  int status = 0;
  if (code < 2) {
    status = nestedOf(run.models[run.ender])->modelStatus;
    tellEnd(&run, status);
    code = fitTogether(&run, status);
  }
  if (code < 2) {
    leaveBounds(&run);
    code = qrts_Cgthr(stoch, stoch->submodels, nModels);
  }
  free(run.order);
  if (code >= 2) return -code;
  return status == NESTED_STALLED ? STATUS_FAILED : status;
}

namespace {

// Whether models run in this process. Tasks need a configuration file, and a message layer, which this library has not:
// asked for tasks that others are said to run already, it can only end.
void chooseForm(QRTStoch *stoch) {
  FILE *file = fopen(CONFIGURATION, "r");
  if (!file) {
    stoch->ifParallel = 0;
    return;
  }
  fclose(file);
  stoch->ifParallel = stoch->ifParallel == -1;
}

// The cut that the strategy asks for; whether it left a list worth a run.
bool cutTree(QRTStoch *stoch, int strategy) {
  const int most = stoch->maxsubmodels < NO_LIMIT_SET ? stoch->maxsubmodels : MODELS_INSTEAD;
  const int n = strategy == 1   ? qrts_decompose2CutAtStage(stoch, stoch->cutperiod, 0)
                : strategy == 2 ? qrts_decompose2CutByRowSize(stoch, stoch->minNumRows, 0)
                                : qrts_decompose2CutByNodeSize(stoch, most, 0);
  if (n >= 2) return true;
  printf("\n ERROR! No valid decomposition performed\n");
  stoch->status = STATUS_NO_CUT;
  return false;
}

// The run over a list of at least two models. 0, or the code to leave with.
int runList(QRTStoch *stoch) {
  const int n = stoch->nSubmodels;
  chooseForm(stoch);
  int *numbers = static_cast<int *>(qrts__alloc("qrts_nestedLSolve", int64_t(3) * n * int64_t(sizeof(int)), 0));
  int **lists = static_cast<int **>(qrts__alloc("qrts_nestedLSolve", int64_t(n) * int64_t(sizeof(int *)), 0));
  int *counts = numbers, *parents = numbers + n, *childCounts = numbers + 2 * n;
  for (int i = 0; i < n; ++i) {
    parents[i] = stoch->submodels[i]->masterModel;
    counts[i] = stoch->submodels[i]->nNodeList;
    lists[i] = stoch->submodels[i]->nodeList;
  }
  int root = 0;
  int code = qrtnested_Cinitmgr(stoch, n, lists, counts, parents, childCounts, &root);
  if (code < 2 && stoch->ifParallel) {
    printf("TAVSE failed to spawn status task\n");
    qrts_endProcess(2);
  }
  if (code < 2) {
    stoch->status = qrts_Csub(stoch, n, parents, childCounts);
    code = stoch->status < 0 ? -stoch->status : 0;
  }
  free(lists);
  free(numbers);
  return code;
}

void refuse(bool refused, const char *text) {
  if (!refused) return;
  fputs(text, stdout);
  qrts_endProcess(0);
}

}  // namespace

int qrts_nested2LSolve(QRTStoch *stoch, int cutstrategy, int mode) {
  refuse(cutstrategy < 1 || cutstrategy > 3, "\n ERROR! cutstrategy parameter must be 1, 2 or 3! \n");
  refuse(mode != 0 && mode != 1, "\n ERROR! mode parameter must be 0 or 1! \n");
  if (!stoch->smodel && qrts_describe2FullModel(stoch, 0, 1) < 0) return 2;
  int code = stoch->smodel->model->Inumblocks == 0 ? qrts_load2BaseModel(stoch, 1) : 0;
  if (code >= 2) return code;
  if (refuseQuadratic(stoch, "qrts_nestedLSolve")) return 2;
  switchSimplexLog(stoch, false);
  if (stoch->optmaxmin < 0.0) qrt_setMaximize(stoch->smodel->model);
  const bool ownList = stoch->maxiter > 0 && stoch->nSubmodels <= 0;
  const bool decomposed = stoch->maxiter > 0 && (!ownList || cutTree(stoch, cutstrategy)) && stoch->nSubmodels >= 2;
  if (decomposed) code = runList(stoch);
  if (ownList) qrts_deleteSubmodels(stoch);
  if (code > 0) return code;
  stoch->alg = NESTED_ALG;
  const bool sound = stoch->status == NESTED_OPTIMAL || stoch->status == STATUS_LIMIT || stoch->status == STATUS_NO_CUT;
  if (!decomposed || (sound && stoch->ifFinalSimplex == 1)) code = solveWhole(stoch);
  if (code >= 2) return code;
  switchSimplexLog(stoch, true);
  return code;
}
