// What a run leaves in the model's aux vector for one that goes on from it (mode 0): the perturbation in force.
//
//     primal   aux holds the widths by which bounds were widened, in the caller's units                  AUX_PERTURBATION
//     dual     aux holds the true costs; the shifts themselves lie in the model's KeptSolve              AUX_TRUE_COSTS
//
// The model itself always has true bounds and costs. A continuing run takes a perturbation over only while rows, columns and
// matrix are those it was made for, and only by the algorithm that made it.
#include <cstring>

#include "frame/guarded_memory.h"
#include "frame/messages.h"
#include "model/model_store.h"
#include "simplex/driver.h"
#include "simplex/dual.h"
#include "simplex/kept_solve.h"

namespace {

constexpr double SHIFTED_COSTS = 1.0e10;  // dualPerturbation while costs are shifted

double *auxOf(const SimplexWork *w, int k) {
  return w->model->aux + (k <= w->m ? k - 1 : w->model->Imaxrows + (k - w->m) - 1);
}

void needAux(QRTModel *model) {
  if (model->aux) return;
  model->aux = newRimVector(model, 0.0);
  if (qrtlplp.Iloglevel & LOG_FINAL) qrtmesg_no(MSG_AUX_CREATED);
}

void takeBounds(SimplexWork *w) {
  w->primalPerturbation = qrtlplp.keptPerturbation;
  for (int k = 1; k <= w->total; k++) w->shift[k] = *auxOf(w, k) / w->varScale[k];
  applyShifts(w);
  w->perturbDone |= 1;
}

// Shifts, not costs, are carried over: the caller may have changed costs meanwhile.
void takeCosts(SimplexWork *w) {
  const KeptSolve *kept = keptSolve(w->model);
  for (int k = 1; k <= w->total; k++) w->cost[k] += kept->costShift[k] * w->varScale[k];
  w->costsTaken = 1;
  w->dualPerturbation = SHIFTED_COSTS;
  w->perturbDone |= 2;
}

void keepCosts(SimplexWork *w) {
  QRTModel *model = w->model;
  KeptSolve *kept = keptSolve(model);
  qrt_free(kept->costShift);
  kept->costShift = nullptr;
  kept->costShift = static_cast<double *>(guardedAllocate(int64_t(w->total) + 1, int64_t(sizeof(double))));
  for (int k = 1; k <= w->total; k++) {
    kept->costShift[k] = (w->cost[k] - qrtlplp.Rmaxmin * w->objective[k]) / w->varScale[k];
    *auxOf(w, k) = k <= w->m ? model->objective[k - 1] : model->objective[model->Imaxrows + (k - w->m) - 1];
  }
  model->auxKind = AUX_TRUE_COSTS;
}

}  // namespace

bool takeOver(SimplexWork *w) {
  QRTModel *model = w->model;
  if (w->init != 0) return false;
  const bool same = qrtlplp.keptRows == w->m && qrtlplp.keptCols == w->n && qrtlplp.keptVersion == model->matrixVersion;
  if (!same) return false;
  if (qrtlplp.keptPriceMode > 0 && qrtlplp.keptPriceMode != PRICE_VALUES) w->priceMode = qrtlplp.keptPriceMode;
  if (qrtlplp.keptPerturbation == 0.0 || !model->aux) return false;
  const bool bounds = model->auxKind == AUX_PERTURBATION, costs = model->auxKind == AUX_TRUE_COSTS;
  if ((bounds && w->algorithm == ALGORITHM_DUAL) || (costs && w->algorithm != ALGORITHM_DUAL)) {
    qrtmesg_no(MSG_AUX_OF_OTHER);
    return false;
  }
  if (bounds) takeBounds(w);
  if (costs && keptSolve(model)->costShift) takeCosts(w);
  return bounds || w->costsTaken;
}

void keepForNext(SimplexWork *w) {
  QRTModel *model = w->model;
  const bool costs = w->algorithm == ALGORITHM_DUAL && qrtlplp.Iprobstat == 3 && w->dual && w->dual->phase == 2 &&
                     w->dualPerturbation > qrtlplp.Rtoldinf && w->dual->costsShifted;
  qrtlplp.keptRows = w->m;
  qrtlplp.keptCols = w->n;
  qrtlplp.keptVersion = model->matrixVersion;
  qrtlplp.keptPriceMode = w->priceMode;
  qrtlplp.keptPerturbation = costs ? SHIFTED_COSTS : w->primalPerturbation;
  if (costs) {
    needAux(model);
    keepCosts(w);
  } else if (w->primalPerturbation != 0.0) {
    needAux(model);
    for (int k = 1; k <= w->total; k++) *auxOf(w, k) = w->shift[k] * w->varScale[k];
    model->auxKind = AUX_PERTURBATION;
  } else if (model->auxKind == AUX_PERTURBATION || model->auxKind == AUX_TRUE_COSTS) {
    dropAux(model);
  }
}

void dropAux(QRTModel *model) {
  if (model->aux) freeRimVector(model, &model->aux);
  qrtaddr.aux = nullptr;
  model->auxKind = AUX_NONE;
}
