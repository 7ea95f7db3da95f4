// The context, the life of models, and the swap of work records between the live globals and a model's image.
#include <cstdlib>
#include <cstring>
#include <initializer_list>

#include "frame/classic_frame.h"
#include "frame/controls.h"
#include "frame/entry_frame.h"
#include "frame/guarded_memory.h"
#include "frame/message_control.h"
#include "frame/work_image.h"

QrtLplp qrtlplp;
QrtAddr qrtaddr;
QrtBcom qrtbcom;
QrtQpqp qrtqpqp;
QrtInt3 qrtint3;
QrtInt qrtint;
QrtConv qrtconv;
QrtNete qrtnete;
QrtNeti qrtneti;

QRTModel *qrt_modelInfo = nullptr;
QRTModel *qrt_oldModelInfo = nullptr;
void *qrtdspc2 = nullptr;
QRTModel initialCommon;
QRTModel qrt_no_dspaceCommon;
const char qrt_header[8] = "TAV_QRT";

namespace {

enum : int { MSG_BASE_HAS_SIZE = 567, MSG_NOT_INITIALIZED = 559 };

constexpr int STDERR_NEVER = 9999;  // above every message number that goes to a log

void setBothCurrent(QRTModel *model) {
  qrt_modelInfo = model;
  qrt_oldModelInfo = model;
}

}  // namespace

void saveRecords(WorkImage *image) {
  image->lplp = qrtlplp;
  image->addr = qrtaddr;
  image->bcom = qrtbcom;
  image->qpqp = qrtqpqp;
  image->int3 = qrtint3;
  image->integer = qrtint;
  image->conv = qrtconv;
  image->nete = qrtnete;
  image->neti = qrtneti;
  image->Rprintcpu = qrterr.Rprintcpu;
  image->lineCount = qrterr.lineCount;
  image->pageNumber = qrterr.pageNumber;
  image->Imsgpos = qrterr.Imsgpos;
  image->Ipagelines = qrterr.Ipagelines;
  image->Ilinelen = qrterr.Ilinelen;
}

void loadRecords(const WorkImage *image) {
  qrtlplp = image->lplp;
  qrtaddr = image->addr;
  qrtbcom = image->bcom;
  qrtqpqp = image->qpqp;
  qrtint3 = image->int3;
  qrtint = image->integer;
  qrtconv = image->conv;
  qrtnete = image->nete;
  qrtneti = image->neti;
  qrterr.Rprintcpu = image->Rprintcpu;
  qrterr.lineCount = image->lineCount;
  qrterr.pageNumber = image->pageNumber;
  qrterr.Imsgpos = image->Imsgpos;
  qrterr.Ipagelines = image->Ipagelines;
  qrterr.Ilinelen = image->Ilinelen;
}

const QrtLplp *imageLplp(const QRTModel *model) { return &imageOf(model)->lplp; }

void qrt_swapCommons(QRTModel *out, QRTModel *in) {
  if (out == in) return;
  if (out && out->furtherInfo) saveRecords(imageOf(out));
  if (in && in->furtherInfo) loadRecords(imageOf(in));
}

void qrt_makeThisCurrent(QRTModel *model) {
  if (model == qrt_modelInfo) return;
  qrt_swapCommons(qrt_modelInfo, model);
  setBothCurrent(model);
}

QRTModel *qrt_getCurrent() { return qrt_modelInfo; }

// Makes a model's image: what is live goes home first, then the base's values become the live ones and the new
// model's own.
void qrt_allocFurtherInfo(QRTModel *base, QRTModel *old, QRTModel *model) {
  WorkImage *image = static_cast<WorkImage *>(guardedAllocateZero(1, sizeof(WorkImage)));
  qrt_swapCommons(old, base);
  model->furtherInfo = reinterpret_cast<unsigned char *>(image);
  saveRecords(image);
}

QRTContext *qrt_initializeContext() {
  if (memcmp(qrt_no_dspaceCommon.header, qrt_header, sizeof qrt_header) == 0) return nullptr;
  // What the classic interface has set before there was a context stays in force for it.
  WorkImage *ofClassic = nullptr;
  if (classicRecordsLive()) {
    ofClassic = static_cast<WorkImage *>(guardedAllocate(1, sizeof(WorkImage)));
    saveRecords(ofClassic);
  }
  memset(static_cast<void *>(&initialCommon), 0, sizeof initialCommon);
  memset(static_cast<void *>(&qrt_no_dspaceCommon), 0, sizeof qrt_no_dspaceCommon);
  setBothCurrent(&initialCommon);
  initialCommon.logFile = stdout;
  initialCommon.stderrNumber = STDERR_NEVER;
  QRTContext *context = static_cast<QRTContext *>(guardedAllocateZero(1, sizeof(QRTContext)));
  context->base = &initialCommon;
  qrterr.cpuAtStart = qrtcput();
  qrt_allocFurtherInfo(nullptr, nullptr, &initialCommon);
  initialCommon.modelFlags = MODEL_NAMED_CONTROLS | MODEL_COMPRESS;
  qrtinitf();
  applyObjectDefaults();
  qrt_initializeModel(context, &initialCommon);
  saveRecords(imageOf(&initialCommon));

  qrt_no_dspaceCommon.logFile = stdout;
  qrt_no_dspaceCommon.stderrNumber = STDERR_NEVER;
  qrt_initializeModel(context, &qrt_no_dspaceCommon);
  qrt_no_dspaceCommon.characterControls[0] = qrt_strdup("TAV using DSPACE");
  const int quiet[] = {100, 95, 87, 6, 102};
  for (int number : quiet) setPrintCount(&initialCommon, number, 0);
  qrt_makeThisCurrent(&initialCommon);
  if (ofClassic) *imageOf(&qrt_no_dspaceCommon) = *ofClassic;
  qrt_freeBase(ofClassic);
  return context;
}

// Sets the fields of an empty model; the image is made from the base's, except for the base itself.
void qrt_initializeModel(QRTContext *context, QRTModel *model) {
  QRTModel *base = context ? context->base : &initialCommon;
  if (base->Inumrows || base->Inumcols || base->Imaxrows || base->Imaxcols) qrtmesg_no(MSG_BASE_HAS_SIZE);
  FILE *logFile = model == base || model == &qrt_no_dspaceCommon ? model->logFile : base->logFile;
  const char *logName = base->logName;
  const int stderrNumber = model == &qrt_no_dspaceCommon ? model->stderrNumber : base->stderrNumber;
  const CallbackTable callbacks = base->callbacks;
  const uint32_t flags = base->modelFlags;
  unsigned char *image = model->furtherInfo;

  memset(static_cast<void *>(model), 0, sizeof *model);
  memcpy(model->header, qrt_header, sizeof qrt_header);
  model->furtherInfo = image;
  model->logFile = logFile;
  model->stderrNumber = stderrNumber;
  model->Inumchar = 8;
  model->dualSignFlip = 1;
  model->auxKind = -1;
  model->modelFlags = flags;
  model->callbacks = callbacks;
  model->callbacks.heuu = nullptr;
  if (model != base) qrt_allocFurtherInfo(base, qrt_oldModelInfo, model);
  setBothCurrent(model);
  if (model != base) {
    model->logName = qrt_strdup(logName);
    model->context = context;
  }
  if (model == &initialCommon || model == &qrt_no_dspaceCommon) newMessageTable(model, qrtmot);
  else shareMessageTable(model, base);
}

QRTModel *qrt_newModel(QRTContext *context, const char *name) {
  if (!initialCommon.furtherInfo) qrt_fatalError();
  QRTModel *model = static_cast<QRTModel *>(guardedAllocateZero(1, sizeof(QRTModel)));
  if (context) {
    if (context->base != &initialCommon) qrt_fatalError();
    context->models = static_cast<QRTModel **>(qrt_realloc(context->models, context->nModels + 1, sizeof(QRTModel *)));
    context->models[context->nModels++] = model;
  }
  qrt_makeThisCurrent(&initialCommon);
  qrt_initializeModel(context, model);
  storeCharacterControl(model, 0, name ? name : "");
  qrt_enter(model, "qrt_newModel", 1);
  qrt_leave(model);
  return model;
}

QRTModel *qrt_baseModel(QRTContext *context) {
  if (!initialCommon.furtherInfo || !context || context->base != &initialCommon) qrt_fatalError();
  return context->base;
}

// Frees all that a model owns; afterwards no model is current.
void qrt_deleteModel2(QRTModel *model) {
  releaseModelData(model);
  if (model->factor) releaseFactor(model->factor);
  qrt_freeSome(model, INT32_MAX);
  for (char *&value : model->characterControls) {
    qrt_freeBase(value);
    value = nullptr;
  }
  for (void *&block : model->workBlocks) {
    qrt_freeBase(block);
    block = nullptr;
  }
  releaseMessageTable(model);
  qrt_freeBase(model->furtherInfo);
  if (model->logFile) fflush(model->logFile);
  if (model->logfileOwned) fclose(model->logFile);
  qrt_freeBase(model->logName);
  model->furtherInfo = nullptr;
  model->factor = nullptr;
  model->logFile = nullptr;
  model->logName = nullptr;
  model->logfileOwned = 0;
  setBothCurrent(nullptr);
}

int qrt_deleteModel(QRTModel *model) {
  qrt_enter(model, "qrt_deleteModel", 1);
  QRTContext *context = model->context;
  qrt_deleteModel2(model);
  if (context) {
    int at = context->nModels - 1;  // models made last mostly go first
    while (at >= 0 && context->models[at] != model) --at;
    if (at >= 0) {
      --context->nModels;
      for (int i = at; i < context->nModels; ++i) context->models[i] = context->models[i + 1];
    }
  }
  memset(model->header, 0, sizeof model->header);
  qrt_freeBase(model);
  return 0;
}

int qrt_endContext(QRTContext *context) {
  if (memcmp(qrt_no_dspaceCommon.header, qrt_header, sizeof qrt_header) != 0 || !context) return 0;
  while (context->nModels > 0) qrt_deleteModel(context->models[context->nModels - 1]);
  qrt_freeBase(context->models);
  qrt_freeBase(context);
  for (QRTModel *model : {&initialCommon, &qrt_no_dspaceCommon}) {
    qrt_makeThisCurrent(model);
    qrt_deleteModel2(model);
    memset(model->header, 0, sizeof model->header);
  }
  return qrtetoi(-1000, nullptr);
}

int qrt_numberOfModels(QRTContext *context) { return context ? context->nModels : -1; }

QRTModel *qrt_model(QRTContext *context, int i) {
  return context && i >= 0 && i < context->nModels ? context->models[i] : nullptr;
}

QRTContext *qrt_context(QRTModel *model) { return model->context; }
int qrt_validPtr(const void *pointer) { return pointer != nullptr; }

void *qrt_userData(QRTModel *model) {
  qrt_enterLeave(model, "qrt_userData");
  return model->userData;
}

int qrt_setUserData(QRTModel *model, void *data) {
  qrt_enterLeave(model, "qrt_setUserData");
  model->userData = data;
  return 0;
}

// The last resort of a call that comes before any context: the message needs a log, a page and a current model.
void qrt_fatalError() {
  initialCommon.logFile = stdout;
  initialCommon.stderrNumber = 7000;
  qrterr.Ilinelen = 80;
  qrterr.Ipagelines = 100;
  setBothCurrent(&initialCommon);
  qrtmesg_no(MSG_NOT_INITIALIZED);
  qrtret(nullptr);
}
