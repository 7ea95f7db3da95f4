// The frame of a classic call, and what the message system needs to know of a call in progress.
//
// Every classic entry has the form
//
//     void qrtxxxx_(int *rtcod, void *dspace, ...) {
//       QRT_CLASSIC_CALL("QRTXXXX", dspace, 3, rtcod, qrtxxxxf(rtcod, dspace, ...));
//     }
//
// While it runs no model is current: the work records are those of the classic interface, and the object model that was
// current has its own back afterwards. A fatal error comes back to the frame, with the code of the worst message in
// *rtcod. The frame is armed before qrtdown, which can fail itself. Calls nest by way of user exits only, and each
// restores what it found of an outer one.
#pragma once

#include <csetjmp>

#include "frame/entry_frame.h"
#include "frame/message_table.h"

struct ClassicFrame {
  jmp_buf outerBuffer;
  int *outerRtcod;
  void *outerDspace;
  QRTModel *outerModel;
  const char *outerRoutine;
  int32_t outerDepth, outerExitDepth;
  bool outerSwitched;
};
void classicFrame_open(ClassicFrame *frame);
void classicFrame_jumped(const ClassicFrame *frame);  // a fatal error came back: the call's work space goes
void classicFrame_close(const ClassicFrame *frame);

#define QRT_CLASSIC_CALL(name, dspace, nparams, rtcod, worker) \
  ClassicFrame classicFrame_;                                  \
  classicFrame_open(&classicFrame_);                           \
  if (setjmp(qrtaixb) == 0) {                                  \
    qrtdown((name), (dspace), (nparams), (rtcod));             \
    worker;                                                    \
  } else {                                                     \
    classicFrame_jumped(&classicFrame_);                       \
  }                                                            \
  qrtup(rtcod);                                                \
  classicFrame_close(&classicFrame_)

// Into and out of a classic call; `name` must outlive it, dspace may be null where the routine does not need it. The
// number of arguments is for languages that do not check it; nothing looks at it here.
// qrtup leaves in *rtcod the code of the call's worst message, from a warning up, or else what the worker stored there;
// it returns 0 for an inner call and *rtcod for the outermost.
void qrtdown(const char *name, void *dspace, int nparams, int *rtcod);
int qrtup(int *rtcod);

// The part of qrtret that belongs to a classic call: the free space is as before it, *rtcod has the worst code.
void classicFatalReturn(const void *dspace);
// True when the live records are the only place where those of the classic interface are kept.
bool classicRecordsLive();
// Stream of the unit in Imsgunit, which takes the messages while no model is current.
FILE *classicMessageStream();
// Calls QRTMSGC, or else QRTMSGU; an object model that the exit may have entered does not stay current.
void callClassicMessageExit(int number, const MessageExitLists *lists);
