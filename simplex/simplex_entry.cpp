// Public entries of the simplex: each a frame around the core.
#include "frame/entry_frame.h"
#include "frame/messages.h"
#include "model/model_store.h"
#include "simplex/driver.h"
#include "simplex/kept_solve.h"

namespace {

// Controls a solve changes while it runs: a jump must not leave them changed.
struct SolveControls {
  double Rtolpinf, Rtoldinf, Rpweight, Rdweight;
  int Imaxiter, Ifastits, Idevexmode;
  bool nested;  // within a call-back of another solve, whose work memory must stay its own
};

void remember(SolveControls *c) {
  *c = {qrtlplp.Rtolpinf, qrtlplp.Rtoldinf, qrtlplp.Rpweight,  qrtlplp.Rdweight,
        qrtlplp.Imaxiter, qrtlplp.Ifastits, qrtlplp.Idevexmode, solveMemory_taken()};
}

int recoverFromJump(QRTModel *model, const SolveControls *c) {
  qrtlplp.Rtolpinf = c->Rtolpinf;
  qrtlplp.Rtoldinf = c->Rtoldinf;
  qrtlplp.Rpweight = c->Rpweight;
  qrtlplp.Rdweight = c->Rdweight;
  qrtlplp.Imaxiter = c->Imaxiter;
  qrtlplp.Ifastits = c->Ifastits;
  qrtlplp.Idevexmode = c->Idevexmode;
  if (!c->nested) solveMemory_release();
  keptSolve_drop(model);
  const int code = qrt_disaster(model);
  if (model->compression) qrt_decompressMatrix(model, model->compression);
  return code;
}

// A status set is a run that did its work, whatever the status; only failures of the machinery are told by the code.
int objectCode(int core) { return core == SOLVE_NO_STORAGE || core == SOLVE_FAILED ? core : 0; }

int objectSolve(QRTModel *model, const char *routine, int algorithm, int mode) {
  qrt_enter(model, routine, 2);
  SolveControls controls;
  remember(&controls);
  QRT_JUMP_FRAME(model, recoverFromJump(model, &controls));
  qrt_checkParameter(model, 2, mode, 0, 3);
  const bool compress = (model->modelFlags & MODEL_COMPRESS) && compressionPays(model);
  CompressInfo *compressed = compress ? qrt_compressMatrix(model) : nullptr;
  qrt_down(model, mode == 0 ? 0 : 1, 0);
  const int core = qrtsslvf(model, algorithm, mode, model->entryDepth <= 1, 0);
  qrt_up(model, 0);
  if (compressed) qrt_decompressMatrix(model, compressed);
  QRT_END_FRAME();
  qrt_leave(model);
  return objectCode(core);
}

}  // namespace

extern "C" {

int qrt_primalSimplex(QRTModel *model, int mode) {
  return objectSolve(model, "qrt_primalSimplex", ALGORITHM_PRIMAL, mode);
}

int qrt_dualSimplex(QRTModel *model, int mode) { return objectSolve(model, "qrt_dualSimplex", ALGORITHM_DUAL, mode); }

int qrt_eitherSimplex(QRTModel *model, int mode) {
  // Random partial pricing is the caller's business only where the algorithm is.
  return objectSolve(model, "qrt_eitherSimplex", ALGORITHM_UNDECIDED, mode == 2 ? 1 : mode);
}

}  // extern "C"
