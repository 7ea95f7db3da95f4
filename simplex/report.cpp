// What the driver tells: the progress table, the final lines, and the user's iteration exit.
#include "frame/entry_frame.h"
#include "frame/messages.h"
#include "include/qrt_classic.h"
#include "simplex/driver.h"

void progressLine(SimplexWork *w) {
  if (!(qrtlplp.Iloglevel & LOG_PROGRESS)) return;
  if (w->state.logLineCount % 20 == 0) qrtmesg_no(MSG_PROGRESS_HEADING);
  w->state.logLineCount++;
  messageI(1, qrtlplp.Iiternum);
  messageI(2, qrtlplp.Inumpinf);
  messageI(3, qrtlplp.Inumdinf);
  messageD(1, qrtlplp.Robjvalue);
  messageD(2, qrtlplp.Rsumpinf);
  messageD(3, qrtlplp.Rsumdinf);
  qrtmesg_no(MSG_PROGRESS_LINE);
}

void finalReport(const SimplexWork *w) {
  if (qrtlplp.Iprobstat < 0) qrtlplp.Iprobstat = 3;
  if (!(qrtlplp.Iloglevel & LOG_FINAL)) return;
  const int status = qrtlplp.Iprobstat;
  messageI(1, qrtlplp.Iiternum);
  messageD(1, qrtlplp.Robjvalue);
  qrtmesg_no(status <= 2 ? MSG_OPTIMAL + status : status == 3 ? MSG_OPTIMAL + 3 : MSG_OPTIMAL);
  if (status == 1) {
    qrtmesg_no_i1_d1(MSG_PRIMAL_SUM, qrtlplp.Inumpinf, qrtlplp.Rsumpinf);
  } else if (status == 2 && w->enterVar > 0) {
    char name[128];
    const int length = variableName(w, w->enterVar, name);
    messageI(1, variableNumber(w, w->enterVar));
    qrtmesg_no_q1(MSG_UNBOUNDED_AT, name, length);
  }
}

extern "C" {

QRTItruExit QRTITRC = nullptr;

// Weak: a program that defines a function of this name is called instead. It changes nothing.
__attribute__((weak)) void QRTITRU(int *status, int code) { (void)status, (void)code; }

}  // extern "C"

namespace {

int callBack(SimplexWork *w, int code) {
  QRTModel *model = w->model;
  if (model->callbacks.itru) {
    // Getters inside the call-back read the image: it is renewed first. The exit may issue messages of its own.
    static QrtErr saved;
    saved = qrterr;
    qrt_swapCommons(model, nullptr);
    const int answer = model->callbacks.itru(model, qrtlplp.Iprobstat, code);
    qrt_makeThisCurrent(model);  // it may have worked on another model
    const int32_t summary = qrterr.severitySummary;
    qrterr = saved;
    qrterr.severitySummary = summary > saved.severitySummary ? summary : saved.severitySummary;
    return answer;
  }
  int status = qrtlplp.Iprobstat;
  if (!qrt_modelInfo && QRTITRC) QRTITRC(&status, code);
  else QRTITRU(&status, code);
  return status;
}

}  // namespace

int qrtitrx(SimplexWork *w, int code) {
  const int every = qrtlplp.Iiterufreq > 0 ? qrtlplp.Iiterufreq : 1;
  if (qrtlplp.Iiternum % every != 0) return qrtlplp.Iprobstat;
  const int before = qrtlplp.Iprobstat;
  const int answer = callBack(w, code);
  if (answer == before) return answer;
  if (answer == 3) {
    qrtlplp.Iprobstat = 3;
    return 3;
  }
  if (answer == 99 && code == 1) return 99;
  messageI(1, answer);
  messageI(2, 1);
  qrtmesg_no_q1(MSG_BAD_EXIT_VALUE, "QRTITRU", -1);
  return before;
}
