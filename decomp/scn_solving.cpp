// What both methods do with a model: announce it, solve it from nothing or from its last basis, weigh its costs; and the
// final solve of the whole.
#include "decomp/scn_solving.h"

#include <cstdio>

#include "frame/entry_frame.h"
#include "frame/messages.h"
#include "model/model_store.h"
#include "prep/presolve_call.h"

namespace {
constexpr int MSG_NO_QUADRATIC_HERE = 672, QUADRATIC_TYPE = 2;
constexpr char WHOLE_FILE[] = "oModel.pre";
constexpr int PRESOLVE_SAYS_INFEASIBLE = 1, PRESOLVE_SAYS_UNBOUNDED = 2;
constexpr int SIMPLEX_LOG[] = {16, 48, 129, 132, 133, 134};  // message numbers

int crashAndSolve(QRTModel *lp, int crash, int algorithm) {
  if (crash) {
    const int code = qrt_crash(lp, crash);
    if (code >= 2) return code;
  }
  return algorithm == 2 ? qrt_dualSimplex(lp, 1) : algorithm == 1 ? qrt_primalSimplex(lp, 0) : qrt_eitherSimplex(lp, 1);
}

}  // namespace

bool heard(int index) {
  const QRTModel *speaker = stochMessageGetSpeaker();
  if (!speaker) speaker = qrt_modelInfo;
  return !speaker || !speaker->messageControl || speaker->messageControl[index].maxprt != 0 ||
         speaker->messageControl[index].maxalw > 0;
}
void say(int index) {
  if (heard(index)) stochMessage(index);
}
void sayValue(int index, double value) {
  messageD(1, value);
  say(index);
}
void sayNumber(int index, int number) {
  messageI(1, number);
  say(index);
}
void saySolving(const char *what, int number) {
  if (!heard(MSG_SOLVING)) return;
  messageC(1, what);
  messageI(1, number);
  stochMessage(MSG_SOLVING);
}

void quieten(QRTModel *lp) {
  qrt_setIlogfreq(lp, 999);
  qrt_setIloglevel(lp, 3);
}

int solveFromNothing(QRTModel *lp, const SolveOptions &options, const char *presolveFile) {
  if (options.scale) {
    const int code = qrt_scale(lp);
    if (code >= 2) return code;
  }
  if (options.presolve <= 0) return crashAndSolve(lp, options.crash, options.algorithm);
  int code = preSolveForRun(lp, options.presolve, presolveFile);
  if (code == PRESOLVE_SAYS_INFEASIBLE || code == PRESOLVE_SAYS_UNBOUNDED) {
    // It has no multipliers and no ray to offer, and has left the model whole.
    remove(presolveFile);
    return crashAndSolve(lp, options.crash, options.algorithm);
  }
  if (code != 0) return code;
  code = crashAndSolve(lp, options.crash, options.algorithm);
  const int back = postSolveForRun(lp, presolveFile);  // the file goes also after a failure
  if (code >= 2 || back >= 2) return code >= 2 ? code : back;
  // Rays and multipliers of the reduced model are none of the whole: cuts are made of the whole model's own.
  const int status = qrt_getIprobstat(lp);
  return status == 1 || status == 2 ? qrt_primalSimplex(lp, SOLVE_FROM_BASIS) : code;
}

int solveAfresh(QRTStoch *model, int algorithm, const char *presolveFile) {
  return solveFromNothing(model->smodel->model, {model->ifScale != 0, model->ifPresolve, model->ifCrash, algorithm}, presolveFile);
}

int solveFromLogicals(QRTModel *lp) {
  for (int i = 0; i < lp->Inumrows; ++i) lp->status[i] = int(STATUS_BASIC);
  for (int j = 0; j < lp->Inumcols; ++j) lp->status[lp->Imaxrows + j] &= ~int(STATUS_BASIC);
  return qrt_primalSimplex(lp, 1);
}

int solveOn(QRTModel *lp) {
  const int code = qrt_dualSimplex(lp, 1);
  if (code < 2 && qrt_getIprobstat(lp) >= 0 && qrt_getIprobstat(lp) != 3) return code;
  return solveFromLogicals(lp);
}

int outcomeOf(QRTModel *lp) {
  const int status = qrt_getIprobstat(lp);
  return status == 5 ? 0 : status;
}

double weightOfModel(const StochModel *smodel) {
  const NodeList *list = smodel->nodeList;
  double weight = 0.0;
  for (int k = 0; k < list->nNodes; ++k) {
    const TreeNode &node = list->nodes[k];
    if (!node.isVirtual && (node.parent == 0 || list->nodes[node.parent - 1].isVirtual)) weight += node.probability;
  }
  return weight > 0.0 ? weight : 1.0;
}

void divideCosts(QRTModel *lp, double weight) {
  for (int j = 0; j < lp->Inumcols; ++j) lp->objective[lp->Imaxrows + j] /= weight;
}

void switchSimplexLog(QRTStoch *stoch, bool on) {
  QRTModel *models[2] = {stoch->baseModel, stoch->smodel ? stoch->smodel->model : stoch->baseModel};
  for (QRTModel *model : models)
    for (int message : SIMPLEX_LOG) on ? qrt_messagePrintOn(model, message) : qrt_messagePrintOff(model, message);
}

namespace {
int tellQuadratic(QRTModel *model, const char *function) {
  qrt_enter(model, function, 1);
  QRT_JUMP_FRAME(model, qrt_disaster(model));
  qrtmesg_no(MSG_NO_QUADRATIC_HERE);
  QRT_END_FRAME();
  qrt_leave(model);
  return 0;
}
}  // namespace

bool refuseQuadratic(QRTStoch *stoch, const char *function) {
  if (stoch->smodel->problemType != QUADRATIC_TYPE) return false;
  tellQuadratic(stoch->smodel->model, function);
  return true;
}

int solveWhole(QRTStoch *stoch) {
  QRTModel *model = stoch->smodel->model;
  int code = stoch->ifScale ? qrt_scale(model) : 0;
  if (code >= 2) return code;
  if (stoch->ifPresolve > 0) code = preSolveForRun(model, stoch->ifPresolve, WHOLE_FILE);
  const bool presolved = stoch->ifPresolve > 0 && code == 0;
  if (code == PRESOLVE_SAYS_INFEASIBLE || code == PRESOLVE_SAYS_UNBOUNDED) {
    remove(WHOLE_FILE);
    code = 0;
  }
  if (code >= 2) return code;
  if (stoch->ifCrash && stoch->maxiter == 0) code = qrt_crash(model, stoch->ifCrash);
  if (code < 2) {
    if (stoch->alg < 0) {
      printf("\n QRTERROR ! Alg <= -1 not supported.\n");
      qrts_endProcess(UNSUPPORTED_EXIT);
    }
    code = stoch->alg == 1   ? qrt_primalSimplex(model, SOLVE_FROM_VALUES)
           : stoch->alg == 2 ? qrt_dualSimplex(model, 1)
                             : qrt_eitherSimplex(model, stoch->maxiter == 0 ? 1 : SOLVE_FROM_VALUES);
  }
  if (code < 2) {
    stoch->status = qrt_getIprobstat(model);
    stoch->robjvalue = qrt_getRobjvalue(model);
  }
  if (presolved) postSolveForRun(model, WHOLE_FILE);
  return code < 2 ? 0 : code;
}
