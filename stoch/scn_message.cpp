// Messages, plain memory and the end of the process, as the whole stochastic layer uses them.
#include <cstdlib>

#include "frame/entry_frame.h"
#include "frame/messages.h"
#include "stoch/scn_stoc.h"

static QRTModel *speaker = nullptr;
void (*qrts_endProcessHook)(int code) = nullptr;

void stochMessageSpeaker(QRTModel *baseModel) { speaker = baseModel; }
QRTModel *stochMessageGetSpeaker() { return speaker; }

void stochMessage(int index) {
  // The model that was current stays out: the next call on it makes it current itself, and it may be gone by then.
  if (speaker != nullptr && speaker != qrt_modelInfo) qrt_makeThisCurrent(speaker);
  qrtmesg_no(index);
}

int severe(int index, const char *text) {
  messageC(1, text);
  stochMessage(index);
  return 2;
}

void qrts_endProcess(int code) {
  flushLogs();
  std::fflush(stdout);
  if (qrts_endProcessHook != nullptr) qrts_endProcessHook(code);
  std::exit(code);
}

static void *checkedMemory(const char *caller, void *memory) {
  if (memory == nullptr) {
    messageC(1, caller);
    stochMessage(MSG_NO_MEMORY);
    qrts_endProcess(2);
  }
  return memory;
}

static void checkRequest(const char *caller, int64_t bytes) {
  if (bytes < 1) {
    messageC(1, caller);
    stochMessage(MSG_ZERO_ALLOCATION);
    qrts_endProcess(2);
  }
}

void *qrts__alloc(const char *caller, int64_t bytes, int noClear) {
  checkRequest(caller, bytes);
  return checkedMemory(caller, noClear ? std::malloc(size_t(bytes)) : std::calloc(1, size_t(bytes)));
}

void *qrts__realloc(const char *caller, void *pointer, int64_t bytes) {
  checkRequest(caller, bytes);
  return checkedMemory(caller, std::realloc(pointer, size_t(bytes)));
}
