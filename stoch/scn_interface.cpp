// The public functions of the stochastic interface: each passes the entry frame and hands on to its worker.
#include "include/qrts_c_api.h"

#include <cstdarg>

#include "stoch/scn_entry.h"
#include "stoch/scn_sampling.h"
#include "stoch/scn_smps.h"
#include "stoch/scn_smps_writer.h"

// A forwarder with the usual frame: `failure` for a bad handle, else what the worker returns.
#define QRTS_FORWARD(stoch, failure, call) return framed((stoch), __func__, (failure), [=] { return call; })

extern "C" {

QRTContext *qrts_initialize(void) { return qrt_initialize(); }
int qrts_end(void) { return qrt_end(); }
QRTContext *qrts_initializeContext(void) { return qrt_initializeContext(); }
int qrts_endContext(QRTContext *context) {
  if (context) qrts_deleteObjectsOf(context);
  return qrt_endContext(context);
}

QRTStoch *qrts_newStoch(QRTContext *context, const char *name, int maxScenarios) {
  QRTStoch *stoch = qrts_new2Stoch(context, name, maxScenarios);
  QRTS_FORWARD(stoch, static_cast<QRTStoch *>(nullptr), stoch);
}
QRTStoch *qrts_createStoch(const char *name, int maxScenarios) {
  QRTStoch *stoch = qrts_create2Stoch(name, maxScenarios);
  QRTS_FORWARD(stoch, static_cast<QRTStoch *>(nullptr), stoch);
}
int qrts_deleteStoch(QRTStoch *stoch) { QRTS_FORWARD(stoch, 2, qrts_delete2Stoch(stoch)); }
int qrts_copyStoch(QRTStoch *target, QRTStoch *source) { QRTS_FORWARD(source, 2, qrts_copy2Stoch(target, source, 1)); }
int qrts_messagePrintOff(QRTStoch *stoch, int number) {
  if (number < 1 || number >= 10000 || !handleLives(stoch)) return -1;
  return qrt_messagePrintOff(stoch->baseModel, number);
}
int qrts_messagePrintOn(QRTStoch *stoch, int number) {
  return handleLives(stoch) ? qrt_messagePrintOn(stoch->baseModel, number) : -1;
}

QRTModel *qrtse_getBaseModel(QRTStoch *stoch) { QRTS_FORWARD(stoch, static_cast<QRTModel *>(nullptr), stoch->baseModel); }
QRTModel *qrtse_getCurrentModel(QRTStoch *stoch) {
  QRTS_FORWARD(stoch, static_cast<QRTModel *>(nullptr), stoch->smodel ? stoch->smodel->model : nullptr);
}
int qrtse_copyCurrentModel(QRTStoch *stoch, QRTModel *target) {
  QRTS_FORWARD(stoch, 2, stoch->smodel && stoch->smodel->model ? qrt_copyModel(target, stoch->smodel->model) : 1);
}

int qrts_readSMPSData(QRTStoch *stoch, const char *core, const char *time, const char *sto) {
  return framed(stoch, __func__, -1, [=] {
    if (stoch->ifDebug) qrts_debug("-1qrts_read2SMPSData");
    return qrts_read2SMPSData(stoch, core, time, sto);
  });
}
int qrts_createCore(QRTStoch *stoch, int nStages, const int *rowStages, const int *colStages, int nRows, int nCols,
                    int nElements, const double *objective, const double *rowLower, const double *rowUpper,
                    const double *colLower, const double *colUpper, const int *rows, const int *cols,
                    const double *elements, ...) {
  const double *quadDiagonal = nullptr;
  if (handleLives(stoch) && stoch->sdata && stoch->sdata->core && stoch->sdata->core->problemType == 2) {
    va_list more;
    va_start(more, elements);
    quadDiagonal = va_arg(more, const double *);
    va_end(more);
  }
  QRTS_FORWARD(stoch, 2,
               qrts_Ccore(stoch, nStages, rowStages, colStages, nRows, nCols, nElements, objective, rowLower, rowUpper,
                          colLower, colUpper, rows, cols, elements, quadDiagonal));
}
int qrts_addScenario(QRTStoch *stoch, int scenario, int ancestor, int stage, double probability, int notRead, int nRows,
                     int nCols, int nElements, const double *objective, const double *rowLower, const double *rowUpper,
                     const double *colLower, const double *colUpper, const int *rows, const int *cols,
                     const double *elements, int replace) {
  QRTS_FORWARD(stoch, 2,
               qrts_Cadsc(stoch, scenario, ancestor, stage, probability, notRead, nRows, nCols, nElements, objective,
                          rowLower, rowUpper, colLower, colUpper, rows, cols, elements, replace));
}
int qrts_setCoreProblemType(QRTStoch *stoch, int type) {
  return framed(stoch, __func__, 2, [=] {
    if (stoch->sdata && stoch->sdata->core) stoch->sdata->core->problemType = type;
    return 0;
  });
}
int qrts_readNativeData(QRTStoch *stoch, const char *file) { QRTS_FORWARD(stoch, 2, qrts_read2NativeData(stoch, file, 1, 0)); }
int qrts_writeNativeData(QRTStoch *stoch, const char *file) { QRTS_FORWARD(stoch, 2, qrts_write2NativeData(stoch, file)); }
int qrts_outMatrixSMPS(QRTStoch *stoch, int type, int mode, const char *core, const char *time, const char *sto) {
  QRTS_FORWARD(stoch, 2, qrts_out2MatrixSMPS(stoch, type, mode, core, time, sto));
}
int qrts_outMatrixMPS(QRTStoch *stoch, const char *file) { QRTS_FORWARD(stoch, 2, qrts_out2MatrixMPS(stoch, file)); }
int qrts_generateSamples(QRTStoch *stoch, int count, int flag) { QRTS_FORWARD(stoch, 2, qrts_generate2Samples(stoch, count, flag)); }

int qrts_getNumScenarios(QRTStoch *stoch) { QRTS_FORWARD(stoch, -1, qrts_get2Numleaf(stoch)); }
int qrts_getNumNodes(QRTStoch *stoch) { QRTS_FORWARD(stoch, -1, qrts_get2Numnodes(stoch)); }
int qrts_getNumStages(QRTStoch *stoch) { QRTS_FORWARD(stoch, 2, qrts_get2NumStages(stoch)); }
int qrts_getCoreNumrows(QRTStoch *stoch) { QRTS_FORWARD(stoch, 2, qrts_get2CoreNumrows(stoch)); }
int qrts_getCoreNumcols(QRTStoch *stoch) { QRTS_FORWARD(stoch, 2, qrts_get2CoreNumcols(stoch)); }
int qrts_getNumrowsAtStage(QRTStoch *stoch, int stage) { QRTS_FORWARD(stoch, 2, qrts_get2NumrowsAtStage(stoch, stage)); }
int qrts_getNumcolsAtStage(QRTStoch *stoch, int stage) { QRTS_FORWARD(stoch, 2, qrts_get2NumcolsAtStage(stoch, stage)); }

int qrts_getNsubmodels(QRTStoch *stoch) { return handleLives(stoch) ? stoch->nSubmodels : -1; }

QRTTree *qrts_createScenarioTree(const int *events, int nStages, int maxSamples, double probability) {
  QRTTree *tree = qrttree_Cinit(events, nStages, maxSamples, probability);
  return framedTree(tree, __func__, static_cast<QRTTree *>(nullptr), [=] { return tree; });
}
int qrts_addEventToTree(QRTTree *tree, const int *events, int nStages, double probability) {
  return framedTree(tree, __func__, 2, [=] { return qrttree_Cadd(tree, events, nStages, probability); });
}
int qrts_getScenarioFromTree(QRTTree *tree, int index, int *ancestor, int *stage, double *probability, int *number,
                             int **events) {
  return framedTree(tree, __func__, 2, [=] { return qrttree_Cget(tree, index, ancestor, stage, probability, number, events); });
}
int qrts_deleteTree(QRTTree *tree) {
  return framedTree(tree, __func__, 2, [=] { return qrts_delete2Tree(tree); });
}

}  // extern "C"
