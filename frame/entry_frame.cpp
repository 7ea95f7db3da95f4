// The frame of every public call: validity, the entry message, the way down to the core and up again, and what
// happens on a fatal error.
#include "frame/entry_frame.h"

#include <cstdlib>
#include <cstring>
#include <ctime>

#include "frame/classic_frame.h"
#include "frame/guarded_memory.h"
#include "frame/work_image.h"

jmp_buf qrtaixb;

namespace {

enum : int {
  MSG_ENTERING = 483,
  MSG_CPU_TIME = 389,
  MSG_STOPPED = 491,
  MSG_UNINITIALIZED = 562,
  MSG_BAD_PARAMETER = 149,
  MSG_PARAMETER_INT = 550,
  MSG_PARAMETER_TEXT = 551,
  MSG_PARAMETER_REAL = 552,
  MSG_NOT_RETURNED_BY = 573,
  MSG_ARRAY_LENGTH = 574,
  MSG_NIL_POINTER = 602,
  MSG_NOT_CREATED_BY = 603
};

// "Entering TAV module name (model)", when the model's limits let it pass.
void announceEntry(QRTModel *model) {
  messageC(1, "");
  char title[128] = "";
  const char *name = model->characterControls[0];
  if (name && *name) snprintf(title, sizeof title, "(%.125s)", name);
  messageC(2, title);
  qrtmesg_no(MSG_ENTERING);
}

// A repeated dual keeps the model down between its calls. Another call is refused, and if the limits of the message let it
// go on all the same, it ends the repeated dual, so that it finds the model as every call does.
void refuseWhileDown(QRTModel *model, const char *routine) {
  static const char *const allowed[] = {"qrt_fastDualSimplex", "qrt_stopFastDualSimplex", "qrt_deleteModel"};
  for (const char *name : allowed)
    if (strcmp(routine, name) == 0) return;
  model->fastDual = 0;
  qrtlplp.Imaxiter = model->fastDualLimit;
  if (model->dual && model->dualSignFlip)
    for (int i = 0; i < model->Inumrows; ++i) model->dual[i] = -model->dual[i];
  qrt_up(model, 0);
  // The frame of the call is not armed yet.
  messageC(8, routine);
  JumpFrame frame;
  jumpFrame_save(&frame, model);
  if (setjmp(qrtaixb) == 0) {
    jumpFrame_arm(&frame);
    qrtmesg_no_i4(MSG_BAD_PARAMETER, 1, 1, 0, 0);
  }
  jumpFrame_restore(&frame);
}

bool entryMessageOn(const QRTModel *model) {
  return model->messageControl && model->messageControl[MSG_ENTERING].maxprt != 0;
}

}  // namespace

bool qrt_validModel(const QRTModel *model) {
  return model && memcmp(model->header, qrt_header, sizeof qrt_header) == 0;
}

void jumpFrame_save(JumpFrame *frame, QRTModel *model) {
  memcpy(&frame->outerBuffer, &qrtaixb, sizeof(jmp_buf));
  frame->outerArmed = model->recoverArmed;
  frame->model = model;
}

void jumpFrame_arm(JumpFrame *frame) { frame->model->recoverArmed = 1; }

void jumpFrame_restore(JumpFrame *frame) {
  memcpy(&qrtaixb, &frame->outerBuffer, sizeof(jmp_buf));
  frame->model->recoverArmed = frame->outerArmed;
}

void qrt_enter(QRTModel *model, const char *routine, int level) {
  if (!qrt_validModel(model)) {
    flushLogs();
    fputs("QRT9999S Fatal Error - ** Model not initialized\n", stderr);
    fflush(stderr);  // an application may have given it a buffer
    abort();
  }
  if (!(model->modelFlags & MODEL_MOVING)) qrt_makeThisCurrent(model);
  if (model->fastDual == 1) refuseWhileDown(model, routine);
  if (model->entryDepth == 0) {
    messageC(8, routine);
    qrterr.severitySummary = 0;
    qrterr.returnCode = 0;
    if ((level != 0 || (model->modelFlags & MODEL_TRACE_ENTRY)) && entryMessageOn(model)) announceEntry(model);
  }
  ++model->entryDepth;
}

void qrt_leave(QRTModel *model) {
  if (--model->entryDepth == 0) {
    model->recoverArmed = 0;
    flushLogs();
  }
}

void qrt_enterLeave(QRTModel *model, const char *routine) {
  if (!qrt_validModel(model)) {
    qrtmesg_no(MSG_UNINITIALIZED);
    flushLogs();
    abort();
  }
  if (model->entryDepth != 0) return;
  if ((model->modelFlags & MODEL_TRACE_ENTRY) && entryMessageOn(model)) {
    qrt_makeThisCurrent(model);
    messageC(8, routine);
    announceEntry(model);
  }
  model->recoverArmed = 0;
}

// Enters the model's arrays into the core's address record, 1-based.
void qrt__down(QRTModel *model, int dropAux, int toBase) {
  qrtlplp.Inumrows = model->Inumrows;
  qrtlplp.Inumcols = model->Inumcols;
  qrtlplp.Imaxrows = model->Imaxrows;
  qrtlplp.Imaxcols = model->Imaxcols;
  qrtlplp.Itotal = model->Imaxrows + model->Imaxcols;
  qrtlplp.Inumblocks = model->Inumblocks;
  qrtlplp.Inumchar = model->Inumchar;
  qrtlplp.blockBase = model->modelFlags & MODEL_BLOCKS_STAY ? 0 : 1;
  qrt_toFortran(model, toBase);
  qrtaddr.blocks = model->blocks;
  qrtaddr.lower = oneBased(model->lower);
  qrtaddr.upper = oneBased(model->upper);
  qrtaddr.objective = oneBased(model->objective);
  qrtaddr.solution = oneBased(model->solution);
  qrtaddr.sellistcol = model->sellistcol;
  qrtaddr.sellistrow = model->sellistrow;
  qrtlplp.parametric = model->objectiveDelta != nullptr;
  qrtaddr.objectiveDelta = oneBased(model->objectiveDelta);
  qrtaddr.lowerDelta = oneBased(model->lowerDelta);
  qrtaddr.upperDelta = oneBased(model->upperDelta);
  if (model->dual && model->dualSignFlip)
    for (int i = 0; i < model->Inumrows; ++i) model->dual[i] = -model->dual[i];
  qrtaddr.dual = oneBased(model->dual);
  qrtaddr.status = oneBased(model->status);
  const int stride = model->Inumchar;
  qrtaddr.rownames = model->rownames ? model->rownames - stride : nullptr;
  qrtaddr.colnames = model->colnames ? model->colnames - stride : nullptr;
  qrtaddr.presolveInfo = model->presolveInfo;
  if (dropAux && model->aux && model->auxKind < 3) {
    qrt_freeBase(rimAllocation(model, model->aux));
    model->aux = nullptr;
    model->auxKind = -1;
  }
  qrtaddr.aux = dropAux ? nullptr : oneBased(model->aux);
  qrtaddr.scales = oneBased(model->scales);
  qrterr.routineName = "QRT_no_dspace";
}

void qrt_down(QRTModel *model, int dropAux, int toBase) {
  qrt_namePointers(model, 2);
  qrt__down(model, dropAux, toBase);
  if (!qrterr.clockError && qrterr.Rprintcpu > 0) qrterr.cpuAtEntry = qrtcput();
  qrtdspc2 = nullptr;
  qrt_push(model);
}

void qrt__up(QRTModel *model, int fromBase) {
  if (model->dual && model->dualSignFlip)
    for (int i = 0; i < model->Inumrows; ++i) model->dual[i] = -model->dual[i];
  qrt_swapCommons(model, nullptr);
  qrt_fromFortran(model, fromBase);
  qrtlplp.blockBase = 0;
}

void qrt_up(QRTModel *model, int fromBase) {
  qrt_pop(model);
  qrt_namePointers(model, -2);
  qrt_stopCPU();
  qrt__up(model, fromBase);
}

double qrtcput() {
  timespec now;
  if (clock_gettime(CLOCK_PROCESS_CPUTIME_ID, &now) != 0) {
    qrterr.clockError = 1;
    return 0.0;
  }
  return double(now.tv_sec) + 1e-9 * double(now.tv_nsec);
}

void qrt_stopCPU() {
  if (qrterr.clockError || qrterr.Rprintcpu <= 0) return;
  const double now = qrtcput();
  const double spent = now - qrterr.cpuAtEntry;
  if (spent >= qrterr.Rprintcpu) qrtmesg_no_d2(MSG_CPU_TIME, now - qrterr.cpuAtStart, spent);
}

void qrtret(void *dspace) {
  qrterr.classicDepth = 0;
  qrterr.userExitDepth = 0;
  flushLogs();
  if (dspace) {
    classicFatalReturn(dspace);
    longjmp(qrtaixb, 999);
  }
  if (qrt_modelInfo && qrt_modelInfo->recoverArmed) longjmp(qrtaixb, 999);
  qrtmsg2(MSG_STOPPED, 0);
  flushLogs();
  fputs("nowhere to longjmp to - exiting\n", stderr);
  exit(999);
}

int qrt_disaster(QRTModel *model) {
  qrt_badMallocFlag = 0;
  qrt_freeSome(model, 99999999);
  flushLogs();
  return 999;  // the frame's macro has already put the outer frame back, so nothing stays armed by this call
}

int qrt_setPrinting(QRTModel *model, int on, int, int debugLevel) {
  qrt_enter(model, "qrt_setPrinting", 0);
  if (on) model->modelFlags |= MODEL_TRACE_ENTRY;
  else model->modelFlags &= ~MODEL_TRACE_ENTRY;
  model->modelFlags &= ~MODEL_SHOW_CLASSIC;
  if (debugLevel >= 0) {
    model->traceLevel = debugLevel;
    model->modelFlags |= MODEL_TRACE_PARAMETERS;
  }
  qrt_leave(model);
  return 0;
}

int qrt_setDebug(QRTModel *model, int level) {
  qrt_enter(model, "qrt_setDebug", 0);
  if (level < 0) {
    model->modelFlags &= ~MODEL_TRACE_PARAMETERS;
  } else {
    model->traceLevel = level;
    model->modelFlags |= MODEL_TRACE_PARAMETERS;
  }
  qrt_leave(model);
  return 0;
}

int qrt_eraseFactor(QRTModel *model) {
  qrt_enter(model, "qrt_eraseFactor", 1);
  if (model->factor) releaseFactor(model->factor);
  model->factor = nullptr;
  qrt_leave(model);
  return 0;
}

namespace {
bool tracesParameters(const QRTModel *model) {
  return (model->modelFlags & MODEL_TRACE_PARAMETERS) && model->entryDepth == 1;
}
}  // namespace

void qrt_checkParameter(QRTModel *model, int parameter, int value, int low, int high) {
  if (value < low || value > high) {
    qrtmesg_no_i4(MSG_BAD_PARAMETER, parameter, value, low, high);
  } else if (tracesParameters(model)) {
    qrtmesg_no_i2(MSG_PARAMETER_INT, parameter, value);
  }
}

void qrt_printCharParameter(QRTModel *model, int parameter, const char *value) {
  if (tracesParameters(model)) qrtmesg_no_q1_i1(MSG_PARAMETER_TEXT, value ? value : "", -1, parameter);
}

void qrt_printDoubleParameter(QRTModel *model, int parameter, double value) {
  if (tracesParameters(model)) qrtmesg_no_i1_d1(MSG_PARAMETER_REAL, parameter, value);
}

// Checks that a vector given to a setter came from its getter and has the length the model now needs.
int qrt__checkfield(const char *caller, const char *getterName, void *pointer, int expectedLength) {
  if (!pointer) {
    if (expectedLength > 0) qrtmesg_no_q1(MSG_NIL_POINTER, caller, -1);
    return expectedLength != 0;
  }
  char address[32];
  snprintf(address, sizeof address, "0x%jx", uintmax_t(uintptr_t(pointer)));
  if (qrt_validAddress(pointer) < 0) {
    qrtmesg_no_q3(MSG_NOT_RETURNED_BY, address, -1, getterName, -1, caller, -1);
    return 1;
  }
  const int length = qrt_accessor_len(pointer, getterName);
  if (length < 0) {
    const bool untyped = qrt_untyped_accessor(pointer) != 0;
    qrtmesg_no_q3(untyped ? MSG_NOT_CREATED_BY : MSG_NOT_RETURNED_BY, address, -1, untyped ? caller : getterName, -1,
                  untyped ? getterName : caller, -1);
    return untyped ? 0 : 1;
  }
  if (length != expectedLength) {
    qrtmesg_no_q2_i2(MSG_ARRAY_LENGTH, address, -1, caller, -1, length, expectedLength);
    return 1;
  }
  return 0;
}
