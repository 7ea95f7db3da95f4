// Issues messages: decides by the limits, breaks the text into lines, pages them like a line printer, calls the
// user exit, and stops the process or jumps when a limit or a stop flag says so.
#include <cstdlib>
#include <cstring>
#include <ctime>

#include "frame/classic_frame.h"
#include "frame/entry_frame.h"
#include "frame/message_control.h"
#include "frame/message_log.h"
#include "frame/message_table.h"
#include "frame/messages.h"

QrtErr qrterr = {};
int blnkcnt = 0;

namespace {

enum : int { MSG_PAGE_HEADER = 11, MSG_STOPPED = 491, MSG_BANNER = 548 };
constexpr int FIRST_STOCHASTIC = 820, LAST_STOCHASTIC = 973;
constexpr int STRING_WIDTH = 128;
constexpr int MARGIN = 10;       // control column, id and a blank: what a line loses to them
constexpr int ID_WIDTH = 8;
constexpr char VERSION_TEXT[] = "3.0 (Jan 3 2001)";

struct Decision {
  bool print, stop, exit, prefix, fatal;
  int code;
};

// Counts the occurrence, unless it is one without consequences, and says what is to be done with it (qrtmsg3).
Decision decide(int index, bool consequences) {
  const MessageControl control = controlTableInForce()[index];
  Decision d;
  d.print = control.maxprt >= 1 || control.maxprt == -1;
  d.stop = control.maxalw == 1;
  if (control.maxprt > 0) --changeableTableInForce()[index].maxprt;
  if (consequences && control.maxalw != -1) --changeableTableInForce()[index].maxalw;
  d.exit = (control.flags & MESSAGE_USER_EXIT) != 0;
  d.prefix = (control.flags & MESSAGE_PREFIX) != 0;
  const MessageRow &row = qrtminfo[index];
  d.fatal = (row.flags & MESSAGE_STOP) != 0;
  d.code = messageSeverity(row) * 100 + row.rc;
  return d;
}

// Writes one finished line, to stderr too when the number is at or above the model's threshold.
void writeLine(FILE *fp, char control, const char *id, const char *text, int length, bool alsoStderr) {
  char line[MARGIN + MESSAGE_TEXT_CAP + 512];
  int n;
  if (qrterr.Imsgpos == 0) {
    n = snprintf(line, sizeof line, "%c%s %.*s\n", control, id, length, text);
  } else {
    n = snprintf(line, sizeof line, "%c%.*s", control, length, text);
    while (n < qrterr.Ilinelen - ID_WIDTH) line[n++] = ' ';
    n += snprintf(line + n, sizeof line - size_t(n), "%s\n", id);
  }
  fwrite(line, 1, size_t(n), fp);
  if (alsoStderr) {
    fflush(fp);  // keeps the order of the two streams
    fwrite(line, 1, size_t(n), stderr);
  }
}

// Columns (counted from 1) of the line that begins at `start`: returns its last column, sets where the next begins.
int lineEnd(const char *text, int total, int start, int *next) {
  const int end = qrterr.Ilinelen + start - MARGIN;
  if (total < end) {
    *next = total + 1;
    return total;
  }
  for (int p = end; p >= start + MARGIN; --p) {
    if (text[p - 1] == ' ') {
      *next = p + 1;
      return p - 1;
    }
  }
  *next = end;
  return end - 1;
}

// A full page: the header comes first. Its arguments are saved around it, as a nested message must.
void breakPage() {
  const int32_t savedI01 = qrterr.I[0];
  char savedC01[STRING_WIDTH];
  memcpy(savedC01, qrterr.C[0], STRING_WIDTH);
  messageI(1, qrterr.pageNumber);
  messageC(1, VERSION_TEXT);
  qrterr.lineCount = 0;
  qrtmsg2(MSG_PAGE_HEADER, 0);
  qrterr.I[0] = savedI01;
  memcpy(qrterr.C[0], savedC01, STRING_WIDTH);
}

void printText(FILE *fp, int number, const char *id, const MessageText &built, bool noPage) {
  if (qrterr.Ilinelen == 0) {  // before any context: lines and pages have no size yet, and every line would turn a page
    qrterr.Ilinelen = 80;
    qrterr.Ipagelines = 100;
  }
  if (!built.startsPage && blnkcnt > 0) {
    qrterr.lineCount += blnkcnt;
    if (qrterr.lineCount <= qrterr.Ipagelines)
      for (int i = 0; i < blnkcnt; ++i) fputc('\n', fp);
  }
  char control = built.startsPage ? '1' : ' ';
  char blankId[ID_WIDTH + 1] = "        ";
  const bool alsoStderr = qrt_modelInfo && number >= qrt_modelInfo->stderrNumber;
  int start = 1;
  do {
    int next;
    const int last = lineEnd(built.text, built.length, start, &next);
    if (++qrterr.lineCount > qrterr.Ipagelines) {
      qrterr.lineCount = 0;
      if (!noPage) {
        breakPage();
        if (qrterr.lineCount != 0) {
          fputc('\n', fp);
          qrterr.lineCount += 2;
        }
      }
    }
    writeLine(fp, control, id, built.text + start - 1, last - start + 1, alsoStderr);
    id = blankId;
    control = ' ';
    start = next;
  } while (start <= built.length);
  blnkcnt = 0;
}

// Adds the pieces of the whole line behind the counted strings.
void addLinePieces(MessageExitLists *lists, const MessageText &built, const char *id) {
  constexpr int FIRST_TEXT = 118;
  char (*piece)[STRING_WIDTH] = lists->strings + (lists->nStrings < 15 ? lists->nStrings : 15);
  memset(piece, ' ', 4 * STRING_WIDTH);
  piece[0][0] = built.startsPage ? '1' : ' ';
  memcpy(piece[0] + 1, id, ID_WIDTH);
  int taken = built.length < FIRST_TEXT ? built.length : FIRST_TEXT;
  memcpy(piece[0] + MARGIN, built.text, size_t(taken));
  for (int k = 1; k < 4 && taken < built.length; ++k) {
    const int left = built.length - taken;
    const int part = left < STRING_WIDTH ? left : STRING_WIDTH;
    memcpy(piece[k], built.text + taken, size_t(part));
    taken += part;
  }
}

// Calls the message exit of the model or of the classic interface; the callee may use the library as if from outside
// (qrtmsgg).
void callUserExit(int number, MessageExitLists *lists) {
  QRTModel *model = qrt_modelInfo;
  if (model && !model->callbacks.msgu) return;
  const int32_t savedClassic = qrterr.classicDepth, savedExit = qrterr.userExitDepth;
  qrterr.userExitDepth += qrterr.classicDepth;
  qrterr.classicDepth = 0;
  if (model) {
    qrt_swapCommons(model, nullptr);
    model->callbacks.msgu(model, number, lists->nReals, lists->reals, lists->nInts, lists->ints, lists->nStrings,
                          lists->strings[0]);
  } else {
    callClassicMessageExit(number, lists);
  }
  qrterr.classicDepth = savedClassic;
  qrterr.userExitDepth = savedExit;
}

}  // namespace

// The normal end of the process on a severe message.
[[noreturn]] void qrt_s_stop() {
  flushLogs();
  fputc('\n', stderr);
  exit(0);
}

FILE *messageStream() {
  if (!qrt_modelInfo) return classicMessageStream();
  return qrt_modelInfo->logFile ? qrt_modelInfo->logFile : stdout;
}

namespace {

// Prints the message and calls the exits, as far as its limits say.
Decision showMessage(int index, int noPage, bool consequences) {
  const Decision decision = decide(index, consequences);
  const int number = qrtminfo[index].number;
  if (decision.print || decision.exit) {
    MessageText built;
    MessageExitLists lists;
    buildMessageText(index, &built, &lists);
    if (built.startsPage) {
      ++qrterr.pageNumber;
      qrterr.lineCount = 0;
    }
    char id[16] = "        ";
    if (decision.prefix) snprintf(id, sizeof id, "QRT%4.4d%c", number, "IWES"[messageSeverity(qrtminfo[index])]);
    if (decision.print) {
      printText(messageStream(), number, id, built, noPage != 0);
      flushWhenDue();
    }
    if (decision.exit && (qrt_modelInfo || qrtdspc2)) {
      addLinePieces(&lists, built, id);
      callUserExit(number, &lists);
    }
  }
  return decision;
}

// The very first message of a run comes after a line that names the library.
void printBanner() {
  if (qrterr.bannerPrinted) return;
  qrterr.bannerPrinted = 1;
  char savedC01[STRING_WIDTH];
  memcpy(savedC01, qrterr.C[0], STRING_WIDTH);
  messageC(1, VERSION_TEXT);
  qrtmsg2(MSG_BANNER, 1);
  memcpy(qrterr.C[0], savedC01, STRING_WIDTH);
}

}  // namespace

void qrtmsg2(int index, int noPage) {
  const Decision decision = showMessage(index, noPage, true);
  if (decision.stop) {
    messageI(1, qrtminfo[index].number);
    qrtmsg2(MSG_STOPPED, 0);
    qrt_s_stop();
  }
  if (messageSeverity(qrtminfo[index]) + 1 > qrterr.severitySummary) {
    qrterr.severitySummary = messageSeverity(qrtminfo[index]) + 1;
    qrterr.returnCode = decision.code;
  }
  // The stochastic layer's messages hand their failure up as a return value, so with a raised limit they do not jump.
  if (decision.fatal && (index < FIRST_STOCHASTIC || index > LAST_STOCHASTIC)) qrtret(qrtdspc2);
}

void qrtmesg() {
  const int index = qrterr.messageIndex;
  if (index == -1) {
    ++blnkcnt;
    return;
  }
  printBanner();
  if (index > 0 && index < QRT_MESSAGE_COUNT) {
    qrterr.messageIndex = 0;
    qrtmsg2(index, 0);
  }
}

void qrtmesg_inform(int index) {
  printBanner();
  showMessage(index, 0, false);
}

void qrtmesg_no(int index) {
  qrterr.messageIndex = index;
  qrtmesg();
}

// Copies the build date to C02.
const char *qrt_build_stamp() {
  static const char stamp[] = "Jan 3 2001";
  messageC(2, stamp);
  return stamp;
}
