// The strategies of the meta driver that begin with the idiot crash: the options of each, and what follows it.
#include <cmath>
#include <cstdio>
#include <cstring>

#include "frame/controls.h"
#include "frame/guarded_memory.h"
#include "model/model_store.h"
#include "prep/idiot.h"
#include "prep/meta_driver.h"

namespace {

enum : int { TOLD_STRATEGY = 9 };
enum : int { GO_ON = 0, FRESH = 1, FROM_VALUES = 3 };
constexpr double NEARLY_FEASIBLE = 0.1;      // Rsumpinf of a point that needs few columns besides its own
constexpr double VERY_FEASIBLE = 1.0e-10;
constexpr double TIGHTER = 0.01;             // of smallInfeas, for the strategies that ask for a small one
constexpr int ROUNDS_WITH_MULTIPLIERS = 5;   // at one mu: the multipliers are what modifies the costs

// What a strategy does beside its options.
struct Plan {
  const char *text;
  bool withoutCosts;  // the crash and its crossover look for a feasible point only
  int passes;         // of the crash
  int crossover;      // mode of its last solve
  bool close;         // the crossover trusts a nearly feasible point
};
const Plan PLANS[] = {
    {nullptr, false, 1, FROM_VALUES, false},
    {nullptr, false, 1, FROM_VALUES, false},
    {"getting very feasible", true, 1, GO_ON, false},
    {"small infeas tol and modify costs", false, 1, FROM_VALUES, false},
    {"small infeas tol and crossover", false, 1, GO_ON, true},
    {"small infeas tol, modcost*2 and crossover", false, 2, GO_ON, true},
    {"small infeas tol, modify costs and crossover", false, 1, GO_ON, true},
};

void readControls(QRTModel *model, IdiotInfo *info) {
  info->smallInfeas = controlReal(model, CONTROL_RregularizedDelta);
  info->firstIterations = controlInteger(model, CONTROL_Imaxiterb);
  info->maxIterations = controlInteger(model, CONTROL_Idensecol);
  info->mu = controlReal(model, CONTROL_Rdensethr);
  char text[96];
  snprintf(text, sizeof text, "Using RregularizedDelta %g for smallInfeas", info->smallInfeas);
  qrt_userMessage(model, TOLD_STRATEGY, text);
  snprintf(text, sizeof text, "Using Imaxiterb %d for maxits, Imajorits %d", info->firstIterations,
           controlInteger(model, CONTROL_Imajorits));
  qrt_userMessage(model, TOLD_STRATEGY, text);
  snprintf(text, sizeof text, "Using Idensecol %d for maxBigIts, Rdensethr %g for mu", info->maxIterations, info->mu);
  qrt_userMessage(model, TOLD_STRATEGY, text);
}

void setOptions(QRTModel *model, int strategy, IdiotInfo *info) {
  if (strategy == STRATEGY_IDIOT) {
    info->firstIterations = 205;  // and 30 rounds, which is what Imajorits says unless it was changed
    info->mu = 0.0;               // from the costs
    return;
  }
  readControls(model, info);
  if (strategy == STRATEGY_VERY_FEASIBLE) {
    info->majorIterations = 10;
    info->smallInfeas = info->reasonableInfeas = VERY_FEASIBLE;
  }
  if (strategy >= STRATEGY_SMALL_COSTS) info->smallInfeas *= TIGHTER;
  if (strategy == STRATEGY_SMALL_COSTS || strategy >= STRATEGY_COSTS_TWICE) info->majorIterations = ROUNDS_WITH_MULTIPLIERS;
}

// The crash by these options, as often as the plan says; each goes on from the one before.
int crash(QRTModel *model, const Plan &plan, const IdiotInfo &options) {
  IdiotInfo *const record = qrt_idiotInfo(model);
  const IdiotInfo kept = *record;
  int code = 0;
  for (int pass = 0; pass < plan.passes && code < 2; pass++) {
    *record = options;
    if (pass > 0) record->strategy |= IDIOT_FROM_SOLUTION;
    code = qrt_idiot(model);
  }
  *record = kept;
  return code;
}

int crashAndCross(QRTModel *model, const Plan &plan, const IdiotInfo &options, int crossover) {
  const int code = crash(model, plan, options);
  if (code >= 2) return code;
  if (code == 1) return qrt_primalSimplex(model, FRESH);  // nothing to crash: no columns or no rows
  storeControlInteger(model, CONTROL_Iiternum, 0);        // sweeps are no iterations
  const bool close = plan.close && controlReal(model, CONTROL_Rsumpinf) < NEARLY_FEASIBLE;
  return crossOverIdiot(model, options, crossover + (close ? IDIOT_CROSS_CLOSE : 0));
}

}  // namespace

int solveByIdiot(QRTModel *model, int strategy, int callerOptions) {
  const Plan &plan = PLANS[strategy - STRATEGY_IDIOT];
  IdiotInfo options = *qrt_idiotInfo(model);
  setOptions(model, strategy, &options);
  const int crossover = plan.crossover + (callerOptions & OPTION_PRESOLVED_SETS ? IDIOT_CROSS_PRESOLVED : 0);
  if (plan.text) qrt_userMessage(model, TOLD_STRATEGY, plan.text);
  int code = model->Inumblocks == 1 ? 0 : qrt_mergeBlocks(model, 0);
  if (code < 2 && (callerOptions & OPTION_DUAL_FIRST) && startFromDual(model)) options.strategy |= IDIOT_FROM_SOLUTION;
  if (code >= 2 || !plan.withoutCosts || model->Inumcols == 0) return code >= 2 ? code : crashAndCross(model, plan, options, crossover);
  double *costs = static_cast<double *>(guardedAllocate(model->Inumcols, sizeof(double)));
  const size_t bytes = size_t(model->Inumcols) * sizeof(double);
  std::memcpy(costs, model->objective + model->Imaxrows, bytes);
  std::memset(model->objective + model->Imaxrows, 0, bytes);
  code = crashAndCross(model, plan, options, crossover);
  std::memcpy(model->objective + model->Imaxrows, costs, bytes);
  qrt_free(costs);
  return code >= 2 ? code : qrt_primalSimplex(model, FRESH);
}
