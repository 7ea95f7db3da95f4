// The public functions of decomposition: each passes the entry frame and hands on.
#include "decomp/scn_benders.h"
#include "decomp/scn_parametric.h"
#include "frame/messages.h"

namespace {
template <class Call> int framed(QRTStoch *stoch, const char *function, int sign, Call call) {
  const int frame = qrts_CEnter(stoch, function);
  const int result = frame > 0 ? sign * frame : call();
  flushLogs();
  return result;
}
}  // namespace

extern "C" {

int qrtse_decomposeCutAtStage(QRTStoch *stoch, int stage) {
  return framed(stoch, __func__, -1, [=] { return qrts_decompose2CutAtStage(stoch, stage, 0); });
}
int qrtse_decomposeCutByRowSize(QRTStoch *stoch, int minNumRows) {
  return framed(stoch, __func__, -1, [=] { return qrts_decompose2CutByRowSize(stoch, minNumRows, 0); });
}
int qrtse_decomposeCutByNodeSize(QRTStoch *stoch, int maxsubmodels) {
  return framed(stoch, __func__, -1, [=] { return qrts_decompose2CutByNodeSize(stoch, maxsubmodels, 0); });
}
int qrts_bendersLSolve(QRTStoch *stoch, int mode) {
  return framed(stoch, __func__, 1, [=] { return qrts_benders2LSolve(stoch, mode); });
}
int qrtse_solveParametricModel(QRTStoch *stoch, double *parobj, double *parrowlower, double *parrowupper, double *parcollower,
                               double *parcolupper, int mask, int (*fn)(QRTModel *model)) {
  const ParametricDirection direction = {parobj, parrowlower, parrowupper, parcollower, parcolupper};
  return framed(stoch, __func__, 1, [=] { return qrts_Cspar(stoch, direction, mask, fn); });
}
int qrts_solveParametricCoreModel(QRTStoch *stoch, double *cdelta, double *lrdelta, double *urdelta, double *lcdelta,
                                  double *ucdelta, int mask, int (*fn)(QRTModel *model)) {
  const ParametricDirection core = {cdelta, lrdelta, urdelta, lcdelta, ucdelta};
  return framed(stoch, __func__, 1, [=] { return qrts_CsparCore(stoch, core, mask, fn); });
}
void qrts_setCycleCallBack(QRTStoch *stoch, QRTSCycleCallBack callback, void *data) {
  if (!handleLives(stoch)) return;
  stoch->cycleCallBack = callback;
  stoch->cycleData = data;
}

}  // extern "C"
