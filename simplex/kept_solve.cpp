// What a model keeps between two solves, and the work memory they share; the contracts are in kept_solve.h.
#include "simplex/kept_solve.h"

#include <cmath>
#include <cstdlib>
#include <cstring>

#include "frame/guarded_memory.h"
#include "model/model_store.h"
#include "simplex/dual.h"
#include "simplex/primal.h"

namespace {

// A factor with more updates than this is made anew at the next solve: it has become slow and less exact.
constexpr int MOST_UPDATES_KEPT = 50;

}  // namespace

KeptSolve *keptSolve(QRTModel *model) {
  if (!model->factor) model->factor = guardedAllocateZero(1, sizeof(KeptSolve));
  KeptSolve *kept = static_cast<KeptSolve *>(model->factor);
  if (!kept->factor) kept->factor = factor_create();
  return kept;
}

void releaseFactor(void *record) {
  KeptSolve *kept = static_cast<KeptSolve *>(record);
  qrt_freeFactor(kept);
  factor_free(kept->factor);
  void *const blocks[] = {kept->basis, kept->colStart, kept->colRow, kept->rowStart, kept->rowVar, kept->colValue, kept->rowValue, kept->costShift};
  for (void *block : blocks) qrt_free(block);
  qrt_free(kept);
}

void keptSolve_drop(QRTModel *model) {
  if (model->factor) releaseFactor(model->factor);
  model->factor = nullptr;
}

bool keptFactor_take(SimplexWork *w) {
  KeptSolve *kept = static_cast<KeptSolve *>(w->model->factor);
  const bool good = kept->factorGood != 0;
  kept->factorGood = 0;  // the solve will change it; whoever leaves in good order says so again
  if (!good || w->model->compression || kept->m != w->m || kept->n != w->n || kept->version != w->model->matrixVersion || kept->form != w->matrixForm) return false;
  const Factor *factor = kept->factor;
  const int most = qrtlplp.Imaxfactor < MOST_UPDATES_KEPT ? qrtlplp.Imaxfactor : MOST_UPDATES_KEPT;
  if (!factor->valid || factor->updateCount > most) return false;
  int basics = 0;
  for (int k = 1; k <= w->total; k++) basics += (w->flags[k] & VAR_BASIC) != 0;
  if (basics != w->m) return false;
  for (int i = 1; i <= w->m; i++)
    if (!(w->flags[kept->basis[i]] & VAR_BASIC)) return false;
  std::memcpy(w->list + 1, kept->basis + 1, size_t(w->m) * sizeof(int32_t));
  return true;
}

void keptFactor_leave(SimplexWork *w) {
  KeptSolve *kept = static_cast<KeptSolve *>(w->model->factor);
  if (w->matrixForm == FORM_UNSCALED || w->model->compression || !w->factor->valid) return;
  if (w->m > kept->basisRoom) {
    qrt_free(kept->basis);
    kept->basis = nullptr;
    kept->basisRoom = 0;
    kept->basis = static_cast<int32_t *>(guardedAllocate(int64_t(w->m) + 1, sizeof(int32_t)));
    kept->basisRoom = w->m;
  }
  if (w->m > 0) std::memcpy(kept->basis + 1, w->list + 1, size_t(w->m) * sizeof(int32_t));
  kept->m = w->m;
  kept->n = w->n;
  kept->version = w->model->matrixVersion;
  kept->form = w->matrixForm;
  kept->factorGood = 1;
}

namespace {

inline int rimPlace(const SimplexWork *w, int k) { return k <= w->m ? k - 1 : w->model->Imaxrows + (k - w->m) - 1; }

// A basic variable of the reference framework, among the primal's weights, which are those of nonbasics; negative means in
// the framework there.
constexpr double BASIC_IN_REFERENCE = -1.0e300;

double *rimOfWeights(const SimplexWork *w, int k) { return &w->model->rweight[rimPlace(w, k)]; }

// Weights of this kind, of this matrix: do they belong to this basis? Its basics must all have one of the dual's, its nonbasics
// one of the primal's; variables added since have the 1 that new entries of a rim vector get.
bool weightsFit(const SimplexWork *w, int kind) {
  const KeptSolve *kept = static_cast<const KeptSolve *>(w->model->factor);
  if (!w->model->rweight || kept->weightForm != w->matrixForm || kept->weightKind != kind) return false;
  if (kind == WEIGHTS_DUAL) {
    for (int i = 1; i <= w->m; i++)
      if (!(*rimOfWeights(w, w->list[i]) > 0.0)) return false;
    return true;
  }
  for (int place = w->m + 1; place <= w->total; place++) {
    const double weight = *rimOfWeights(w, w->list[place]);
    if (weight == 0.0 || weight == BASIC_IN_REFERENCE) return false;
  }
  return true;
}

KeptSolve *prepareToLeave(SimplexWork *w) {
  KeptSolve *kept = static_cast<KeptSolve *>(w->model->factor);
  kept->weightForm = FORM_NONE;
  if (!w->model->rweight) w->model->rweight = newRimVector(w->model, 1.0);
  return kept;
}

void leaveDualWeights(SimplexWork *w) {
  KeptSolve *kept = prepareToLeave(w);
  for (int k = 1; k <= w->total; k++) *rimOfWeights(w, k) = (w->flags[k] & VAR_BASIC) ? w->weight[k] : 0.0;
  kept->weightKind = WEIGHTS_DUAL;
  kept->weightForm = w->matrixForm;
}

void leavePrimalWeights(SimplexWork *w) {
  KeptSolve *kept = prepareToLeave(w);
  for (int k = 1; k <= w->total; k++) {
    const uint32_t flags = w->flags[k];
    const bool inside = (flags & VAR_REFERENCE) != 0;
    *rimOfWeights(w, k) = flags & VAR_BASIC ? (inside ? BASIC_IN_REFERENCE : 0.0) : inside ? -w->weight[k] : w->weight[k];
  }
  kept->weightKind = w->primal->weightKind;
  kept->weightForm = w->matrixForm;
}

}  // namespace

void keptWeights_take(SimplexWork *w) {
  for (int k = 1; k <= w->total; k++) w->weight[k] = 1.0;
  if (!weightsFit(w, WEIGHTS_DUAL)) return;
  for (int i = 1; i <= w->m; i++) w->weight[w->list[i]] = *rimOfWeights(w, w->list[i]);
}

bool keptWeights_takePrimal(SimplexWork *w, int kind) {
  if (!weightsFit(w, kind)) return false;
  for (int k = 1; k <= w->total; k++) {
    const double kept = *rimOfWeights(w, k);
    const bool basic = (w->flags[k] & VAR_BASIC) != 0;
    w->weight[k] = basic ? 1.0 : std::fabs(kept);
    if (kept < 0.0) w->flags[k] |= VAR_REFERENCE;
    else w->flags[k] &= ~uint32_t(VAR_REFERENCE);
  }
  return true;
}

void keptWeights_leave(SimplexWork *w) {
  KeptSolve *kept = static_cast<KeptSolve *>(w->model->factor);
  if (w->dual && w->algorithm == ALGORITHM_DUAL) {
    leaveDualWeights(w);
    return;
  }
  if (!w->iterated) return;  // those of before are still right
  if (w->primal && w->primal->weightsCarried) leavePrimalWeights(w);
  else kept->weightForm = FORM_NONE;
}

// ---- work memory

namespace {

constexpr size_t ALIGNMENT = 64;
constexpr int64_t LARGEST_BLOCK = int64_t(1) << 28;  // a block beyond this is not worth holding on to

// Static, as the live records are: one solve runs at a time, and one within a call-back of it finds the block taken.
struct {
  unsigned char *block;
  int64_t capacity, used, wanted;  // wanted: what the last solves asked for in all
  int taken;
} arena;

}  // namespace

void solveMemory_claim(SimplexWork *w) {
  w->ownsArena = 0;
  if (arena.taken) return;
  if (arena.wanted > arena.capacity && arena.wanted <= LARGEST_BLOCK) {
    std::free(arena.block);
    const int64_t capacity = arena.wanted + arena.wanted / 4;
    arena.block = static_cast<unsigned char *>(std::malloc(size_t(capacity) + ALIGNMENT));
    arena.capacity = arena.block ? capacity : 0;
  }
  arena.used = arena.wanted = 0;
  arena.taken = w->ownsArena = 1;
}

bool solveMemory_taken() { return arena.taken != 0; }

void solveMemory_release() { arena.taken = 0; }

void *solveMemoryRaw(SimplexWork *w, int64_t count, size_t size) {
  const int64_t bytes = count * int64_t(size);
  if (w->ownsArena) {
    const int64_t step = (bytes + int64_t(ALIGNMENT) - 1) / int64_t(ALIGNMENT) * int64_t(ALIGNMENT);
    arena.wanted += step;
    if (arena.used + step <= arena.capacity) {
      const uintptr_t base = (reinterpret_cast<uintptr_t>(arena.block) + ALIGNMENT - 1) / ALIGNMENT * ALIGNMENT;
      void *place = reinterpret_cast<void *>(base + uintptr_t(arena.used));
      arena.used += step;
      return place;
    }
  }
  return temporaryAllocate(w->model, count, int64_t(size));
}

void *solveMemory(SimplexWork *w, int64_t count, size_t size) {
  void *place = solveMemoryRaw(w, count, size);
  if (count > 0) std::memset(place, 0, size_t(count) * size);
  return place;
}
