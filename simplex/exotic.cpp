// Setting the experts' parameters; see exotic.h for what each does.
#include "simplex/exotic.h"

#include "frame/entry_frame.h"
#include "frame/guarded_memory.h"

namespace {

enum : int { PLACE_RECORD = 0, PLACE_PIVOTS = 1 };  // of QRTModel::workBlocks
constexpr int INTEGERS = 8, REALS = 3, PIVOTS = 2;

void *renewed(QRTModel *model, int place, int64_t size) {
  qrt_free(model->workBlocks[place]);
  model->workBlocks[place] = nullptr;
  if (size > 0) model->workBlocks[place] = guardedAllocateZero(1, size);
  return model->workBlocks[place];
}

void setRecord(QRTModel *model, int integers, const int *integer, int reals, const double *real) {
  ExoticRecord *record = static_cast<ExoticRecord *>(renewed(model, PLACE_RECORD, integers + reals > 0 ? sizeof(ExoticRecord) : 0));
  if (!record) return;
  int32_t *const fields[] = {&record->devexHeld, &record->steepestHeld, &record->leastAccuracy,     &record->perturbAt,
                             &record->shortPass, &record->dumpEvery,    &record->otherWhenFeasible, &record->otherKernels};
  double *const numbers[] = {&record->smallSum, &record->raise, &record->dumpSum};
  for (int k = 0; k < integers; k++) *fields[k] = integer[k];
  for (int k = 0; k < reals; k++) *numbers[k] = real[k];
  if (record->steepestHeld < record->devexHeld) record->steepestHeld = record->devexHeld;
}

void setPivots(QRTModel *model, int pivots, const double *pivot) {
  ExoticPivots *record = static_cast<ExoticPivots *>(renewed(model, PLACE_PIVOTS, pivots > 0 ? sizeof(ExoticPivots) : 0));
  if (!record) return;
  record->zeroTol = pivot[0];
  record->threshold = pivots > 1 ? pivot[1] : 0.0;
}

}  // namespace

const ExoticRecord *exoticRecord(const QRTModel *model) { return static_cast<const ExoticRecord *>(model->workBlocks[PLACE_RECORD]); }
const ExoticPivots *exoticPivots(const QRTModel *model) { return static_cast<const ExoticPivots *>(model->workBlocks[PLACE_PIVOTS]); }

extern "C" int qrt_exoticParameters(QRTModel *model, int integers, const int *integer, int reals, const double *real, int pivots,
                                    const double *pivot) {
  qrt_enter(model, "qrt_exoticParameters", 1);
  QRT_JUMP_FRAME(model, qrt_disaster(model));
  qrt_checkParameter(model, 2, integers, 0, INTEGERS);
  qrt_checkParameter(model, 4, reals, 0, REALS);
  qrt_checkParameter(model, 6, pivots, 0, PIVOTS);
  setRecord(model, integers, integer, reals, real);
  setPivots(model, pivots, pivot);
  QRT_END_FRAME();
  qrt_leave(model);
  return 0;
}
