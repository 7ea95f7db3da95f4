// Presolve around a run of the meta driver: the reduced model is what the strategy sees, and a short primal has the last
// word on the original.
#include <cmath>

#include "frame/controls.h"
#include "frame/records.h"
#include "model/model_store.h"
#include "prep/meta_driver.h"
#include "prep/presolve_call.h"

namespace {

constexpr int TYPE = 67;                       // kind 3, and infeasible bounds are repaired
constexpr char KEPT_FILE[] = "/tmp/save.fil";  // where the caller asks for the data in a file
constexpr int FROM_VALUES = 3;
constexpr double SNAP_PERTURBATION = 1.0e-15, LAST_PERTURBATION = 1.0e-10, LAST_WEIGHT = 1.0e-9;
constexpr int STOPPED = 3;

// Moves what is within the tolerance of a bound onto it; whether anything moved.
bool snap(QRTModel *model) {
  const double t = qrtlplp.Rtolpinf;
  bool moved = false;
  auto snapOne = [&](int at) {
    const double bounds[2] = {model->lower[at], model->upper[at]};
    for (const double bound : bounds)
      if (std::fabs(bound) < QRT_INFINITE_TEST && model->solution[at] != bound && std::fabs(model->solution[at] - bound) <= t) {
        model->solution[at] = bound;
        moved = true;
        return;
      }
  };
  for (int i = 0; i < model->Inumrows; i++) snapOne(i);
  for (int j = 0; j < model->Inumcols; j++) snapOne(model->Imaxrows + j);
  return moved;
}

}  // namespace

int metaPresolve_begin(QRTModel *model, bool keepFile, bool *presolved) {
  *presolved = false;
  if (model->presolveStream || model->Inumquadraticblocks > 0) return 0;  // presolved by its owner, or not for presolve
  const int code = preSolveForRun(model, TYPE, keepFile ? KEPT_FILE : nullptr);
  *presolved = code == 0;
  return code == 1 ? 0 : code;  // an infeasible model is whole, and the solve says so
}

int metaPresolve_end(QRTModel *model, bool keepFile, double perturbationScale) {
  const double perturbation = qrtlplp.RprimalPerturbation, weight = qrtlplp.Rpweight;
  int code = 0;
  if (qrtlplp.Iprobstat == 0 && snap(model)) {
    storeControlReal(model, CONTROL_RprimalPerturbation, SNAP_PERTURBATION * perturbationScale);
    code = qrt_primalSimplex(model, FROM_VALUES);
    storeControlReal(model, CONTROL_RprimalPerturbation, perturbation);
  }
  const int back = qrt_postSolve(model, keepFile ? KEPT_FILE : nullptr);
  if (code < 2) code = back;
  if (code >= 2 || qrtlplp.Iprobstat == STOPPED) return code;
  if (perturbation == 0.0) storeControlReal(model, CONTROL_RprimalPerturbation, LAST_PERTURBATION * perturbationScale);
  storeControlReal(model, CONTROL_Rpweight, std::fmin(weight, LAST_WEIGHT));
  code = qrt_primalSimplex(model, FROM_VALUES);
  storeControlReal(model, CONTROL_RprimalPerturbation, perturbation);
  storeControlReal(model, CONTROL_Rpweight, weight);
  return code;
}
