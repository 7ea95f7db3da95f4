// Where a model's messages go: stdout, a file of ours or the caller's stream.
#include "frame/message_log.h"

#include <cstdlib>
#include <cstring>
#include <ctime>

#include "frame/entry_frame.h"
#include "frame/guarded_memory.h"
#include "frame/messages.h"

namespace {

enum : int { MSG_CHANGED = 492, MSG_NEW_LOGFILE = 565, MSG_NO_LOGFILE = 566 };
constexpr double FLUSH_SECONDS = 0.2;
double lastFlush = 0;

bool isStandardStream(FILE *stream) { return stream == stdin || stream == stdout || stream == stderr; }

void qrt_close(FILE *stream) {
  if (stream && !isStandardStream(stream)) fclose(stream);
}

void replaceLog(QRTModel *model, FILE *stream, const char *name, int owned) {
  if (model->logfileOwned) qrt_close(model->logFile);
  else if (model->logFile) fflush(model->logFile);
  char *newName = qrt_strdup(name);
  qrt_free(model->logName);
  model->logName = newName;
  model->logFile = stream;
  model->logfileOwned = owned;
}

const char *presentName(const QRTModel *model) { return model->logName ? model->logName : "stdout"; }

}  // namespace

void flushWhenDue() {
  timespec now;
  clock_gettime(CLOCK_MONOTONIC, &now);
  const double seconds = double(now.tv_sec) + 1e-9 * double(now.tv_nsec);
  if (seconds - lastFlush < FLUSH_SECONDS) return;
  lastFlush = seconds;
  flushLogs();
}

void flushLogs() {
  FILE *log = messageStream();
  if (log) fflush(log);
  fflush(stdout);
}

FILE *qrt_getLogfileFilePointer(QRTModel *model) {
  qrt_enterLeave(model, "qrt_getLogfileFilePointer");
  return model->logFile;
}

const char *qrt_getLogfileName(QRTModel *model) {
  qrt_enterLeave(model, "qrt_getLogfileName");
  return presentName(model);
}

int qrt_setLogfileFilePointer(QRTModel *model, FILE *stream) {
  qrt_enter(model, "qrt_setLogfileFilePointer", 0);
  if (stream != model->logFile) replaceLog(model, stream, stream == stdout ? "stdout" : "user_fp", 0);
  qrt_leave(model);
  return 0;
}

int qrt_setLogfileName(QRTModel *model, const char *name) {
  qrt_enter(model, "qrt_setLogfileName", 0);
  const bool toStdout = !name || strcmp(name, "-") == 0 || strcmp(name, "stdout") == 0;
  const char *wanted = toStdout ? "stdout" : name;
  int result = 0;
  if (strcmp(wanted, presentName(model)) != 0) {
    FILE *stream = toStdout ? stdout : fopen(name, "a");
    if (stream) {
      const bool hadStream = model->logFile != nullptr;
      replaceLog(model, stream, wanted, toStdout ? 0 : 1);
      messageC(2, wanted);
      if (hadStream) qrtmesg_no(MSG_NEW_LOGFILE);
    } else {
      messageC(2, wanted);
      qrtmesg_no(MSG_NO_LOGFILE);
      result = 1;
    }
  }
  qrt_leave(model);
  return result;
}

int qrt_stderrNumber(QRTModel *model, int number) {
  qrt_enter(model, "qrt_stderrNumber", 1);
  const int previous = model->stderrNumber;
  QRT_JUMP_FRAME(model, qrt_disaster(model));
  qrt_checkParameter(model, 2, number, -999999, 999999);
  if (number != previous) {
    model->stderrNumber = number;
    messageC(3, "stderrNumber");
    messageI(2, previous);
    messageI(3, number);
    qrtmesg_no(MSG_CHANGED);
  }
  QRT_END_FRAME();
  qrt_leave(model);
  return previous;
}
