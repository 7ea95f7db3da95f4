// The direct way: the deterministic equivalent goes to a simplex solver as one model.
#include <cstdio>

#include "frame/entry_frame.h"
#include "frame/messages.h"
#include "prep/presolve_call.h"
#include "stoch/scn_generation.h"

namespace {

// Values of the option `alg`.
enum : int { ALG_EITHER = 0, ALG_PRIMAL = 1 };
constexpr int UNSUPPORTED_EXIT = 999;
constexpr int FROM_VALUES = 3;  // the primal starts from the values it finds
constexpr int FRESH = 1;
constexpr char PRESOLVE_FILE[] = "oModel.pre";  // of the working folder: two runs that presolve need a folder each

// Scaling, presolve and crash as the object's options ask; a code of 2 or more is a failure. A crash is for a single solve of the
// whole: an object with cycles to run keeps the bases that they leave.
int prepare(QRTStoch *stoch, QRTModel *model) {
  if (stoch->ifScale) {
    const int code = qrt_scale(model);
    if (code >= 2) return code;
  }
  if (stoch->ifPresolve > 0) {
    // A model that presolve finds infeasible is whole again, and the solve says so.
    const int code = preSolveForRun(model, stoch->ifPresolve, PRESOLVE_FILE);
    if (code >= 2) return code;
  }
  return stoch->ifCrash && stoch->maxiter == 0 ? qrt_crash(model, stoch->ifCrash) : 0;
}

int solveBy(QRTModel *model, int alg) {
  if (alg < ALG_EITHER) {
    printf("\n QRTERROR ! Alg <= -1 not supported.\n");
    qrts_endProcess(UNSUPPORTED_EXIT);
  }
  if (alg == ALG_PRIMAL) return qrt_primalSimplex(model, FROM_VALUES);
  return qrt_eitherSimplex(model, FRESH);
}

}  // namespace

int qrts_either2Simplex(QRTStoch *stoch) {
  if (!stoch->smodel) {
    printf("\n No Stochastic Model has been described. Invoking qrts_describeFullModel(stoch,1).\n");
    if (qrts_describe2FullModel(stoch, 0, 1) < 0) return 1;
  }
  QRTModel *model = stoch->smodel->model;
  if (!model) {
    printf("\n Model has no Data.  Exiting.\n");
    return 1;
  }
  const int prepared = prepare(stoch, model);
  if (prepared >= 2) return prepared;
  const int code = solveBy(model, stoch->alg);
  stoch->status = qrt_getIprobstat(model);
  stoch->robjvalue = qrt_getRobjvalue(model);
  if (code >= 2) return code;  // the model stays reduced, and the file is there for whoever wants it back
  if (stoch->ifPresolve > 0) postSolveForRun(model, PRESOLVE_FILE);
  return 0;
}
