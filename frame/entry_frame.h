// The frame of every public call: enter, arm the jump, go down, come up, leave.
//
// A typical call:
//
//     qrt_enter(model, "qrt_someSolve", 2);
//     QRT_JUMP_FRAME(model, qrt_disaster(model));     // a fatal error comes back here and returns 999
//     qrt_checkParameter(model, 2, mode, 0, 3);
//     qrt_down(model, 1, 0);
//     worker(...);
//     qrt_up(model, 0);
//     QRT_END_FRAME(model);
//     qrt_leave(model);
//     return 0;
//
// One jump buffer serves the process; the macro saves the outer frame's buffer on entry and both ways out
// restore it, so nested public calls keep their frames. No object with a destructor may live in a function that
// uses these macros, nor in any frame between here and a routine that can issue a message.
#pragma once

#include <csetjmp>
#include <cstring>

#include "frame/model_record.h"

extern jmp_buf qrtaixb;
extern QRTModel *qrt_modelInfo;        // the current model, null while a classic routine runs
extern QRTModel *qrt_oldModelInfo;     // the model to go back to when a classic call returns
extern void *qrtdspc2;                 // DSPACE of the classic call in progress (see classic_frame.h), or null
extern QRTModel initialCommon;         // base model: defaults of all later models
extern QRTModel qrt_no_dspaceCommon;   // carries the record image of the classic interface
extern const char qrt_header[8];

struct JumpFrame {
  jmp_buf outerBuffer;
  int outerArmed;
  QRTModel *model;
};
void jumpFrame_save(JumpFrame *frame, QRTModel *model);    // remembers the outer frame
void jumpFrame_arm(JumpFrame *frame);                      // the buffer is set: a fatal error may now jump
void jumpFrame_restore(JumpFrame *frame);                  // puts the outer frame back; harmless when repeated

#define QRT_JUMP_FRAME(theModel, failureValue)   \
  JumpFrame jumpFrame_;                          \
  jumpFrame_save(&jumpFrame_, (theModel));       \
  if (setjmp(qrtaixb) != 0) {                    \
    jumpFrame_restore(&jumpFrame_);              \
    return (failureValue);                       \
  }                                              \
  jumpFrame_arm(&jumpFrame_)
#define QRT_END_FRAME() jumpFrame_restore(&jumpFrame_)

// Validity of a handle without any frame.
bool qrt_validModel(const QRTModel *model);
// Saves the current records into out's image and loads in's; either may be null.
void qrt_swapCommons(QRTModel *out, QRTModel *in);
void qrt_initializeModel(QRTContext *context, QRTModel *model);
void qrt_allocFurtherInfo(QRTModel *base, QRTModel *old, QRTModel *model);
void qrt_deleteModel2(QRTModel *model);
// The fatal return: jumps to the armed frame, of the classic call in progress when `dspace` is not null, else of the
// current model; without one the process ends.
[[noreturn]] void qrtret(void *dspace);
[[noreturn]] void qrt_fatalError();
// Enter and leave in one, for calls that neither jump nor touch live records: checks the handle and announces.
void qrt_enterLeave(QRTModel *model, const char *routine);
void qrt_leave(QRTModel *model);
// Down to the core's form: arrays and sizes into the live records, 1-based (qrt__down); besides, names padded, the clock read and
// a mark set on the temporary chain (qrt_down). Up is the way back, in the same two depths.
void qrt_down(QRTModel *model, int dropAux, int toBase);
void qrt_up(QRTModel *model, int fromBase);
void qrt__down(QRTModel *model, int dropAux, int toBase);
void qrt__up(QRTModel *model, int fromBase);
int qrt_disaster(QRTModel *model);  // after a jump: frees the temporary chain, flushes the log; 999
// Parameters of public calls, numbered from 1 for the handle. A bad one gives message 149; a good one is told when
// parameters are traced, which is all that the print... functions do.
void qrt_checkParameter(QRTModel *model, int parameter, int value, int low, int high);
void qrt_printCharParameter(QRTModel *model, int parameter, const char *value);
void qrt_printDoubleParameter(QRTModel *model, int parameter, double value);
// 0 when a vector given to a setter came from its getter and has the length that the model needs now; else 1, told.
int qrt__checkfield(const char *caller, const char *getterName, void *pointer, int expectedLength);
double qrtcput();          // seconds of process CPU time
void qrt_stopCPU();        // issues the CPU message when the call took at least Rprintcpu
void qrtinitf();           // defaults of all control variables into the work records

// What the frame needs of the model room, which lies above it.
void qrt_toFortran(QRTModel *model, int toBase);     // idempotent; sets indexForm bit 0
void qrt_fromFortran(QRTModel *model, int fromBase); // idempotent; clears it
void qrt_namePointers(QRTModel *model, int mode);    // idempotent for 2 and -2; indexForm bit 1
int qrt_resizeModelExact(QRTModel *model, int rows, int cols, int maxRows, int maxCols, int exact);
void releaseModelData(QRTModel *model);              // frees all blocks, rims, names, copies; leaves null fields
int countIntegerColumns(QRTModel *model);
// What the frame needs of the simplex room.
void releaseFactor(void *factor);
