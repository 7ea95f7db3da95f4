// The repeated dual: many short re-solves from one basis after changes of bounds or costs, without the way down and up
// between them (qrt_startFastDualSimplex, qrt_fastDualSimplex, qrt_stopFastDualSimplex).
//
//     start   the model goes down and stays there; one pass factorises the basis and checks it; factor, basis, status
//             words, values and weights are saved
//     fast    back to what was saved, a dual from there with an allowance of iterations of its own
//     stop    the model comes up, what was saved goes
//
// Between start and stop the caller reaches the model through rim pointers taken before, and reads controls; any other
// call is refused where it enters (frame/entry_frame.cpp).
#include <climits>
#include <cstring>

#include "frame/entry_frame.h"
#include "frame/guarded_memory.h"
#include "frame/messages.h"
#include "model/model_store.h"
#include "simplex/driver.h"
#include "simplex/kept_solve.h"

// What start saves. Owned by the model's KeptSolve; every block guarded.
struct SavedFactor {
  Factor *factor;             // null: the pass left none that could be used again
  int32_t m, n, version, form, weightForm;
  int32_t *basis;             // [1..m]
  int *status;                // [rim] status words, values, and the weights if there were any
  double *solution, *rweight;
};

namespace {

constexpr int MODE_SAVE = 3, MODE_REUSE = 2;

int64_t rimCount(const QRTModel *model) { return int64_t(model->Imaxrows) + model->Inumcols; }

template <class T> T *guardedCopy(const T *from, int64_t count) {
  if (!from) return nullptr;
  T *copy = static_cast<T *>(guardedAllocate(count + 1, int64_t(sizeof(T))));
  std::memcpy(copy, from, size_t(count) * sizeof(T));
  return copy;
}

}  // namespace

void qrt_freeFactor(KeptSolve *kept) {
  SavedFactor *saved = kept->saved;
  if (!saved) return;
  factor_free(saved->factor);
  void *const blocks[] = {saved->basis, saved->status, saved->solution, saved->rweight, saved};
  for (void *block : blocks) qrt_free(block);
  kept->saved = nullptr;
}

namespace {

void qrt_saveFactor(QRTModel *model) {
  KeptSolve *kept = keptSolve(model);
  qrt_freeFactor(kept);
  SavedFactor *saved = kept->saved = static_cast<SavedFactor *>(guardedAllocateZero(1, sizeof(SavedFactor)));
  if (kept->factorGood) {
    saved->m = kept->m;
    saved->n = kept->n;
    saved->version = kept->version;
    saved->form = kept->form;
    saved->basis = guardedCopy(kept->basis, int64_t(kept->m) + 1);
    saved->factor = factor_copy(kept->factor);
  }
  saved->weightForm = kept->weightForm;
  saved->status = guardedCopy(model->status, rimCount(model));
  saved->solution = guardedCopy(model->solution, rimCount(model));
  saved->rweight = guardedCopy(model->rweight, rimCount(model));
}

// The factor in place may still be the one saved: the last re-solve made no iteration.
bool stillThere(const KeptSolve *kept, const SavedFactor *saved) {
  return kept->factorGood && kept->m == saved->m && kept->n == saved->n && kept->version == saved->version && kept->form == saved->form &&
         kept->factor->updateCount == saved->factor->updateCount && kept->factor->factorisations == saved->factor->factorisations &&
         std::memcmp(kept->basis + 1, saved->basis + 1, size_t(saved->m) * sizeof(int32_t)) == 0;
}

void qrt_restoreFactor(QRTModel *model) {
  KeptSolve *kept = keptSolve(model);
  const SavedFactor *saved = kept->saved;
  if (saved->factor && !stillThere(kept, saved)) {
    kept->factorGood = 0;
    Factor *copy = factor_copy(saved->factor);
    factor_free(kept->factor);
    kept->factor = copy;
    std::memcpy(kept->basis, saved->basis, (size_t(saved->m) + 1) * sizeof(int32_t));  // room for m since start
    kept->m = saved->m;
    kept->n = saved->n;
    kept->version = saved->version;
    kept->form = saved->form;
    kept->factorGood = 1;
  }
  const size_t count = size_t(rimCount(model));
  std::memcpy(model->status, saved->status, count * sizeof(int));
  std::memcpy(model->solution, saved->solution, count * sizeof(double));
  kept->weightForm = saved->rweight ? saved->weightForm : int32_t(FORM_NONE);
  if (saved->rweight) std::memcpy(model->rweight, saved->rweight, count * sizeof(double));
}

void flipDuals(QRTModel *model) {
  if (!model->dual || !model->dualSignFlip) return;
  for (int i = 0; i < model->Inumrows; i++) model->dual[i] = -model->dual[i];
}

// After a jump nothing is down any more.
int lostModel(QRTModel *model, int limit) {
  solveMemory_release();
  keptSolve_drop(model);
  qrtlplp.Imaxiter = limit;
  model->fastDual = 0;
  return qrt_disaster(model);
}

bool failed(int core) { return core == SOLVE_NO_STORAGE || core == SOLVE_FAILED; }

bool notStarted(QRTModel *model) {
  if (model->fastDual) return false;
  qrt_checkParameter(model, 1, 0, 1, 1);
  return true;
}

}  // namespace

extern "C" {

int qrt_startFastDualSimplex(QRTModel *model, int iterations) {
  qrt_enter(model, "qrt_startFastDualSimplex", 2);
  const int limit = qrtlplp.Imaxiter;
  QRT_JUMP_FRAME(model, lostModel(model, limit));
  qrt_checkParameter(model, 2, iterations, 0, INT_MAX);
  qrt_down(model, 1, 0);
  qrtlplp.Imaxiter = 0;
  const int core = qrtsslvf(model, ALGORITHM_DUAL, 1, 0, MODE_SAVE);
  if (failed(core)) {
    qrtlplp.Imaxiter = limit;
    qrt_up(model, 0);
  } else {
    qrt_saveFactor(model);
    const int64_t most = int64_t(qrtlplp.Iiternum) + (iterations > 0 ? iterations : 0);
    qrtlplp.Imaxiter = most < INT_MAX ? int(most) : INT_MAX;
    model->fastDual = 1;
    model->fastDualLimit = limit;
    flipDuals(model);
    qrt_swapCommons(model, nullptr);
  }
  QRT_END_FRAME();
  qrt_leave(model);
  return failed(core) ? core : 0;
}

int qrt_fastDualSimplex(QRTModel *model) {
  qrt_enter(model, "qrt_fastDualSimplex", 2);
  const int limit = model->fastDual ? model->fastDualLimit : qrtlplp.Imaxiter;
  QRT_JUMP_FRAME(model, lostModel(model, limit));
  int core = SOLVE_FAILED;
  if (!notStarted(model)) {
    const int before = qrtlplp.Iiternum;
    model->fastDual = 2;
    qrt_push(model);
    qrt_restoreFactor(model);
    core = qrtsslvf(model, ALGORITHM_DUAL, 1, 0, MODE_REUSE);
    qrt_pop(model);
    flipDuals(model);
    qrtlplp.Iiternum = before;
    model->fastDual = 1;
    qrt_swapCommons(model, nullptr);
  }
  QRT_END_FRAME();
  qrt_leave(model);
  return failed(core) ? core : 0;
}

int qrt_stopFastDualSimplex(QRTModel *model) {
  qrt_enter(model, "qrt_stopFastDualSimplex", 2);
  QRT_JUMP_FRAME(model, qrt_disaster(model));
  const bool idle = notStarted(model);
  if (!idle) {
    qrt_freeFactor(keptSolve(model));
    qrtlplp.Imaxiter = model->fastDualLimit;
    model->fastDual = 0;
    flipDuals(model);
    qrt_up(model, 0);
  }
  QRT_END_FRAME();
  qrt_leave(model);
  return idle ? SOLVE_FAILED : 0;
}

}  // extern "C"
