// Public entries of the simplex: each a frame around the core.
#include <cstring>

#include "frame/classic_frame.h"
#include "frame/guarded_memory.h"
#include "frame/messages.h"
#include "include/qrt_classic.h"
#include "model/classic_store.h"
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

// ---- the classic entry: the core works on a copy of the model in DSPACE

enum : int { MSG_NO_DATA = 41, MSG_BAD_PARAMETER = 149 };

void checkClassic(int parameter, int value, int high) {
  if (value < 0 || value > high) qrtmesg_no_i4(MSG_BAD_PARAMETER, parameter, value, 0, high);
}

void discardModel(QRTModel *model) {
  keptSolve_drop(model);
  qrt_freeSome(model, INT32_MAX);
  releaseModelData(model);
  qrt_freeBase(model);
}

// What a solve leaves: values, duals and status words, and a ray or multipliers if there is room for them.
void storeAnswer(const QRTModel *model) {
  const size_t n = size_t(model->Imaxrows) + size_t(model->Imaxcols);
  memcpy(qrtaddr.solution + 1, model->solution, n * sizeof(double));
  memcpy(qrtaddr.dual + 1, model->dual, n * sizeof(double));
  memcpy(qrtaddr.status + 1, model->status, n * sizeof(int));
  qrtlplp.classicAuxKind = -1;
  if (!model->aux || !placeClassicAux()) return;
  memcpy(qrtaddr.aux + 1, model->aux, n * sizeof(double));
  qrtlplp.classicAuxKind = model->auxKind;
}

void solveInDspace(int *rtcod, int algorithm, int init) {
  *rtcod = 0;
  checkClassic(3, algorithm, 2);
  checkClassic(4, init, 3);
  if (!qrtaddr.lower) qrtmesg_no(MSG_NO_DATA);
  const QrtAddr inDspace = qrtaddr;
  const char *routine = qrterr.routineName;
  SolveControls controls;
  remember(&controls);
  QRTModel *model = static_cast<QRTModel *>(guardedAllocateZero(1, sizeof(QRTModel)));
  memcpy(model->header, qrt_header, sizeof qrt_header);
  model->auxKind = -1;  // dualSignFlip stays 0: the classic interface shows the core's duals
  // A fatal error goes on to the frame of the call once the copy is gone.
  jmp_buf outer;
  memcpy(&outer, &qrtaixb, sizeof outer);
  if (setjmp(qrtaixb) != 0) {
    recoverFromJump(model, &controls);
    discardModel(model);
    qrtaddr = inDspace;
    memcpy(&qrtaixb, &outer, sizeof outer);
    longjmp(qrtaixb, 999);
  }
  copyClassicModel(model, qrtaddr, qrtlplp);
  qrt__down(model, init == 0 ? 0 : 1, 0);
  qrterr.routineName = routine;
  *rtcod = qrtsslvf(model, algorithm, init, 1, 0);
  qrt__up(model, 0);
  memcpy(&qrtaixb, &outer, sizeof outer);
  qrtaddr = inDspace;
  storeAnswer(model);
  discardModel(model);
}

}  // namespace

extern "C" {

void qrtsslv_(int *rtcod, void *dspace, const int *alg, const int *init) {
  QRT_CLASSIC_CALL("QRTSSLV", dspace, 4, rtcod, solveInDspace(rtcod, *alg, *init));
}

void QRTSSLV(int *rtcod, void *dspace, const int *alg, const int *init) { qrtsslv_(rtcod, dspace, alg, init); }

int qrt_primalSimplex(QRTModel *model, int mode) {
  return objectSolve(model, "qrt_primalSimplex", ALGORITHM_PRIMAL, mode);
}

int qrt_dualSimplex(QRTModel *model, int mode) { return objectSolve(model, "qrt_dualSimplex", ALGORITHM_DUAL, mode); }

int qrt_eitherSimplex(QRTModel *model, int mode) {
  // Random partial pricing is the caller's business only where the algorithm is.
  return objectSolve(model, "qrt_eitherSimplex", ALGORITHM_UNDECIDED, mode == 2 ? 1 : mode);
}

}  // extern "C"
