// Limits of messages, and the functions by which users change them.
#include "frame/message_control.h"

#include <cstring>

#include "frame/entry_frame.h"
#include "frame/guarded_memory.h"
#include "frame/message_table.h"
#include "frame/messages.h"

namespace {

enum : int { MSG_NOT_DEFINED = 198, MSG_NOT_MODIFIABLE = 199, MSG_FIRST_USER = 591, MSG_PREVIOUS_ERRORS = 30 };
constexpr int WITHOUT_LIMIT = 256;  // this and above mean always, or any number of times
constexpr int NEVER = -1;           // any negative print count means never

void setFlag(uint32_t *flags, uint32_t bit, int how) {
  if (how == 1) *flags &= ~bit;
  else if (how == 2) *flags |= bit;
}

void changeEntry(MessageControl *control, int maxalw, int maxprt, int trace, int usrexit, int prefix) {
  if (maxalw >= WITHOUT_LIMIT) control->maxalw = -1;
  else if (maxalw > 0) control->maxalw = int16_t(maxalw);
  if (maxprt >= WITHOUT_LIMIT) control->maxprt = -1;
  else if (maxprt > 0) control->maxprt = int16_t(maxprt);
  else if (maxprt < 0) control->maxprt = 0;
  setFlag(&control->flags, MESSAGE_TRACE, trace);
  setFlag(&control->flags, MESSAGE_USER_EXIT, usrexit);
  setFlag(&control->flags, MESSAGE_PREFIX, prefix);
}

// Runs a change on a model's table without a frame: the model stands in as the current one for the moment.
int changeWithoutFrame(QRTModel *model, int number, int last, int maxprt, int usrexit) {
  if (!qrt_validModel(model)) qrt_enterLeave(model, "qrt_messagePrint");
  QRTModel *before = qrt_modelInfo;
  qrt_modelInfo = model;
  ++qrterr.classicDepth;
  int rtcod = 0;
  const int keep = 0;
  qrtmsetf(&rtcod, nullptr, &number, &keep, &maxprt, &keep, &usrexit, &last, &keep);
  --qrterr.classicDepth;
  qrt_modelInfo = before;
  return rtcod;
}

bool singleFormAccepts(int number) {
  return (number >= 1 && number <= 350) || (number >= 3000 && number <= 3150) || (number >= 6000 && number <= 6050);
}

int changeSingle(QRTModel *model, int number, int maxprt, int usrexit) {
  if (!singleFormAccepts(number)) return 1;
  changeWithoutFrame(model, number, 0, maxprt, usrexit);
  return 0;
}

int changeRange(QRTModel *model, int first, int last, int maxprt) {
  return last < first ? 0 : changeWithoutFrame(model, first, last, maxprt, 0);
}

// Entry 0 is no message: its flags count the models beyond the first that hold the table.
uint32_t &furtherHolders(MessageControl *table) { return table[0].flags; }

}  // namespace

const MessageControl *controlTableInForce() {
  return qrt_modelInfo && qrt_modelInfo->messageControl ? qrt_modelInfo->messageControl : qrtmot;
}

MessageControl *changeableTableInForce() {
  return qrt_modelInfo && qrt_modelInfo->messageControl ? ownMessageTable(qrt_modelInfo) : qrtmot;
}

void newMessageTable(QRTModel *model, const MessageControl *from) {
  model->messageControl = static_cast<MessageControl *>(guardedAllocate(QRT_MESSAGE_COUNT, sizeof(MessageControl)));
  memcpy(model->messageControl, from, QRT_MESSAGE_COUNT * sizeof(MessageControl));
  furtherHolders(model->messageControl) = 0;
}

MessageControl *ownMessageTable(QRTModel *model) {
  MessageControl *shared = model->messageControl;
  if (furtherHolders(shared) == 0) return shared;
  newMessageTable(model, shared);
  --furtherHolders(shared);
  return model->messageControl;
}

void shareMessageTable(QRTModel *model, QRTModel *source) {
  if (model->messageControl == source->messageControl) return;
  releaseMessageTable(model);
  model->messageControl = source->messageControl;
  ++furtherHolders(model->messageControl);
}

void releaseMessageTable(QRTModel *model) {
  MessageControl *table = model->messageControl;
  model->messageControl = nullptr;
  if (!table) return;
  if (furtherHolders(table) > 0) --furtherHolders(table);
  else qrt_freeBase(table);
}

void setPrintCount(QRTModel *model, int number, int maxprt) {
  const int index = qrtetoi(number, nullptr);
  if (index) ownMessageTable(model)[index].maxprt = int16_t(maxprt);
}

namespace {

void changeLimits(int *rtcod, int mesgnum, int maxalw, int maxprt, int trace, int usrexit, int lastnum, int prefix,
                  bool skipUnmodifiable) {
  *rtcod = 0;
  int next;
  int index = qrtetoi(mesgnum, &next);
  if (index == 0) {
    qrtmesg_no_i1(MSG_NOT_DEFINED, mesgnum);
    *rtcod = 1;
    return;
  }
  if (!(qrtminfo[index].flags & MESSAGE_MODIFIABLE)) {
    qrtmesg_no_i1(MSG_NOT_MODIFIABLE, mesgnum);
    *rtcod = 2;
    return;
  }
  for (;;) {
    if (!skipUnmodifiable || (qrtminfo[index].flags & MESSAGE_MODIFIABLE)) {
      const MessageControl before = controlTableInForce()[index];
      MessageControl changed = before;
      changeEntry(&changed, maxalw, maxprt, trace, usrexit, prefix);
      const bool same = changed.maxalw == before.maxalw && changed.maxprt == before.maxprt && changed.flags == before.flags;
      if (!same) changeableTableInForce()[index] = changed;
    }
    if (next == 0 || next > lastnum) return;
    index = qrtetoi(next, &next);
  }
}

}  // namespace

void qrtmsetf(int *rtcod, void *, const int *mesgnum, const int *maxalw, const int *maxprt, const int *trace,
              const int *usrexit, const int *lastnum, const int *prefix) {
  changeLimits(rtcod, *mesgnum, *maxalw, *maxprt, *trace, *usrexit, *lastnum, *prefix, false);
}

void classicMessageSet(int *rtcod, void *, const int *mesgnum, const int *maxalw, const int *maxprt, const int *trace,
                       const int *usrexit, const int *lastnum, const int *prefix) {
  changeLimits(rtcod, *mesgnum, *maxalw, *maxprt, *trace, *usrexit, *lastnum, *prefix, true);
}

int qrt_mset(QRTModel *model, int number, int maxalw, int maxprt, int usrexit, int lastnum, int prefix) {
  qrt_enter(model, "qrt_mset", 0);
  int rtcod = 0;
  const int trace = 0;
  qrtmsetf(&rtcod, nullptr, &number, &maxalw, &maxprt, &trace, &usrexit, &lastnum, &prefix);
  qrt_leave(model);
  qrt_enter(model, "qrt_mset", 1);
  qrt_leave(model);
  return rtcod;
}

int qrt_messagePrintOn(QRTModel *model, int number) { return changeSingle(model, number, WITHOUT_LIMIT, 0); }
int qrt_messagePrintOff(QRTModel *model, int number) { return changeSingle(model, number, NEVER, 0); }
int qrt_messageUserExitOn(QRTModel *model, int number) { return changeSingle(model, number, 0, 2); }
int qrt_messageUserExitOff(QRTModel *model, int number) { return changeSingle(model, number, 0, 1); }
int qrt_messagesPrintOn(QRTModel *model, int first, int last) { return changeRange(model, first, last, WITHOUT_LIMIT); }
int qrt_messagesPrintOff(QRTModel *model, int first, int last) { return changeRange(model, first, last, NEVER); }

int qrt_userMessage(QRTModel *model, int n, const char *text) {
  if (!model || model->entryDepth == 0) {
    qrt_enterLeave(model, "qrt_userMessage");
    qrt_makeThisCurrent(model);
  }
  if (n >= 1 && n <= 10) {
    messageQ(text ? text : "");
    qrtmesg_no(MSG_FIRST_USER + n - 1);
    flushLogs();
    return 0;
  }
  qrt_enter(model, "qrt_userMessage", 1);
  QRT_JUMP_FRAME(model, qrt_disaster(model));
  qrt_checkParameter(model, 2, n, 1, 10);
  qrtmesg_no(MSG_PREVIOUS_ERRORS);
  QRT_END_FRAME();
  qrt_leave(model);
  return 0;
}

int qrt_registerMsguCallBack(QRTModel *model, QRTMsguCallBack function) {
  qrt_enterLeave(model, "qrt_registerMsguCallBack");
  model->callbacks.msgu = function;
  return 0;
}

int qrt_clearMsguCallBack(QRTModel *model) { return qrt_registerMsguCallBack(model, nullptr); }

int qrt_registerItruCallBack(QRTModel *model, QRTItruCallBack function) {
  qrt_enterLeave(model, "qrt_registerItruCallBack");
  model->callbacks.itru = function;
  return 0;
}

int qrt_clearItruCallBack(QRTModel *model) { return qrt_registerItruCallBack(model, nullptr); }
