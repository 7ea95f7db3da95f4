// The public functions of decomposition: each passes the entry frame and hands on.
#include <cstdlib>
#include <cstring>

#include "decomp/scn_nested.h"
#include "decomp/scn_parametric.h"
#include "stoch/scn_entry.h"

namespace {
void replaceText(char **text, const char *with) {
  free(*text);
  *text = nullptr;
  if (!with) return;
  *text = static_cast<char *>(qrts__alloc("qrts_setSaveState", int64_t(strlen(with)) + 1, 0));
  strcpy(*text, with);
}
}  // namespace

extern "C" {

int qrtse_decomposeCutAtStage(QRTStoch *stoch, int stage) {
  return framed(stoch, __func__, -2, [=] { return qrts_decompose2CutAtStage(stoch, stage, 0); });
}
int qrtse_decomposeCutByRowSize(QRTStoch *stoch, int minNumRows) {
  return framed(stoch, __func__, -2, [=] { return qrts_decompose2CutByRowSize(stoch, minNumRows, 0); });
}
int qrtse_decomposeCutByNodeSize(QRTStoch *stoch, int maxsubmodels) {
  return framed(stoch, __func__, -2, [=] { return qrts_decompose2CutByNodeSize(stoch, maxsubmodels, 0); });
}
QRTStoch **qrts_getSubmodels(QRTStoch *stoch) {
  return framed(stoch, __func__, static_cast<QRTStoch **>(nullptr), [=] { return qrts_get2Submodels(stoch); });
}
int qrts_bendersLSolve(QRTStoch *stoch, int mode) {
  return framed(stoch, __func__, 2, [=] { return qrts_benders2LSolve(stoch, mode); });
}
int qrtse_solveParametricModel(QRTStoch *stoch, double *parobj, double *parrowlower, double *parrowupper, double *parcollower,
                               double *parcolupper, int mask, int (*fn)(QRTModel *model)) {
  const ParametricDirection direction = {parobj, parrowlower, parrowupper, parcollower, parcolupper};
  return framed(stoch, __func__, 2, [=] { return qrts_Cspar(stoch, direction, mask, fn); });
}
int qrts_solveParametricCoreModel(QRTStoch *stoch, double *cdelta, double *lrdelta, double *urdelta, double *lcdelta,
                                  double *ucdelta, int mask, int (*fn)(QRTModel *model)) {
  const ParametricDirection core = {cdelta, lrdelta, urdelta, lcdelta, ucdelta};
  return framed(stoch, __func__, 2, [=] { return qrts_CsparCore(stoch, core, mask, fn); });
}
int qrtse_nestedLSolve(QRTStoch *stoch, int cutstrategy, int mode) {
  return framed(stoch, __func__, 1, [=] { return qrts_nested2LSolve(stoch, cutstrategy, mode); });
}
void qrts_setCycleCallBack(QRTStoch *stoch, QRTSCycleCallBack callback, void *data) {
  if (!handleLives(stoch)) return;
  stoch->cycleCallBack = callback;
  stoch->cycleData = data;
}

int qrts_setSaveState(QRTStoch *stoch, const char *file, int every) {
  if (!handleLives(stoch) || every < 1) return 2;
  replaceText(&stoch->saveFile, file);
  stoch->saveEvery = every;
  return 0;
}
int qrts_setResumeState(QRTStoch *stoch, const char *file) {
  if (!handleLives(stoch)) return 2;
  replaceText(&stoch->resumeFile, file);
  return 0;
}

}  // extern "C"
