// The meta driver (qrt_simplex): presolve, scaling, a crash and one of the simplex methods in one call, with the caller's controls
// back afterwards.
#include <cmath>

#include "frame/controls.h"
#include "frame/entry_frame.h"
#include "frame/messages.h"
#include "frame/work_image.h"
#include "prep/meta_driver.h"

namespace {

enum : int { STRATEGY_MASK = 15, OPTION_NO_PERTURBATION = 16, OPTION_NO_SCALING = 32, OPTION_KEEP_FILE = 64,
             OPTION_NO_PRESOLVE = 256 };
enum : int { STRATEGY_EITHER = 0, STRATEGY_PRIMAL = 1, STRATEGY_DUAL = 2, LAST_STRATEGY = STRATEGY_COSTS_CROSSOVER };

constexpr int DEFAULT_REFACTORISATION = 100, MOST_REFACTORISATION = 2000;
constexpr double PERTURBATION_SCALE = 0.001;
constexpr double PERTURBATION = 1.0e-4;
constexpr double DUAL_WEIGHT = 1.0e-12;
constexpr int STEEPEST_EDGE = 3;
constexpr int CRASH_TYPE = 2;
constexpr int FRESH = 1;

// The controls a strategy sets for its run.
struct Controls {
  int Imaxfactor, Idevexmode;
  double RprimalPerturbation, RdualPerturbation, Rdweight;
};

Controls presentControls(const QRTModel *model) {
  return {controlInteger(model, CONTROL_Imaxfactor), controlInteger(model, CONTROL_Idevexmode),
          controlReal(model, CONTROL_RprimalPerturbation), controlReal(model, CONTROL_RdualPerturbation),
          controlReal(model, CONTROL_Rdweight)};
}

void storeControls(QRTModel *model, const Controls &c) {
  storeControlInteger(model, CONTROL_Imaxfactor, c.Imaxfactor);
  storeControlInteger(model, CONTROL_Idevexmode, c.Idevexmode);
  storeControlReal(model, CONTROL_RprimalPerturbation, c.RprimalPerturbation);
  storeControlReal(model, CONTROL_RdualPerturbation, c.RdualPerturbation);
  storeControlReal(model, CONTROL_Rdweight, c.Rdweight);
}

// More iterations between factorisations for larger models, where the caller has not said otherwise.
int refactorisationInterval(const QRTModel *model, int present) {
  if (present != DEFAULT_REFACTORISATION) return present;
  const int64_t wanted = DEFAULT_REFACTORISATION + (2 * int64_t(model->Inumrows) + model->Inumcols) / 300;
  return wanted < MOST_REFACTORISATION ? int(wanted) : MOST_REFACTORISATION;
}

int solveBy(QRTModel *model, int strategy, int options, double scale) {
  if (strategy < STRATEGY_IDIOT && strategy != STRATEGY_DUAL && qrt_getNumberBasicColumns(model) == 0) {
    const int code = qrt_crash(model, CRASH_TYPE);
    if (code >= 2) return code;
  }
  Controls run = presentControls(model);
  run.Imaxfactor = refactorisationInterval(model, run.Imaxfactor);
  if (strategy == STRATEGY_PRIMAL && run.RprimalPerturbation == 0.0) run.RprimalPerturbation = -PERTURBATION * scale;
  if (strategy == STRATEGY_DUAL) {
    if (run.RdualPerturbation == 0.0) run.RdualPerturbation = -PERTURBATION * scale;
    run.Rdweight = std::fmin(run.Rdweight, DUAL_WEIGHT);
    run.Idevexmode = STEEPEST_EDGE;
  }
  storeControls(model, run);
  if (strategy >= STRATEGY_IDIOT) return solveByIdiot(model, strategy, options);
  if (strategy == STRATEGY_EITHER) return qrt_eitherSimplex(model, FRESH);
  return strategy == STRATEGY_PRIMAL ? qrt_primalSimplex(model, FRESH) : qrt_dualSimplex(model, FRESH);
}

}  // namespace

int qrt_simplex(QRTModel *model, int options) {
  qrt_enter(model, "qrt_simplex", 2);
  QRT_JUMP_FRAME(model, qrt_disaster(model));
  const int strategy = options & STRATEGY_MASK;
  qrt_checkParameter(model, 2, strategy, STRATEGY_EITHER, LAST_STRATEGY);
  const Controls entry = presentControls(model);
  const double scale = options & OPTION_NO_PERTURBATION ? 0.0 : PERTURBATION_SCALE;
  const bool keepFile = (options & OPTION_KEEP_FILE) != 0;
  bool presolved = false;
  int code = options & OPTION_NO_PRESOLVE ? 0 : metaPresolve_begin(model, keepFile, &presolved);
  if (code < 2 && !(options & OPTION_NO_SCALING)) code = qrt_scale(model);
  if (code < 2) code = solveBy(model, strategy, options, scale);
  if (presolved) {
    storeControls(model, entry);
    const int last = metaPresolve_end(model, keepFile, scale);
    if (code < 2) code = last;
  }
  storeControls(model, entry);
  QRT_END_FRAME();
  qrt_leave(model);
  return code;
}
