// The frame of a classic call: way in, way out, and the way back from a fatal error.
#include "frame/classic_frame.h"

#include <cstring>
#include <initializer_list>

#include "frame/dspace.h"
#include "frame/guarded_memory.h"
#include "frame/messages.h"
#include "frame/units.h"
#include "include/qrt_classic.h"

namespace {

enum : int {
  MSG_ENTERING = 163, MSG_SPACE_IN_USE = 332, MSG_NO_DSPACE = 418, MSG_CLOCK = 802,
  MSG_NOT_QUADRATIC = 672, MSG_NOT_LINEAR = 673, MSG_MAXMIN_TAKEN_AS_1 = 674, MSG_POSTSOLVE_FIRST = 783,
  MSG_NOT_NETWORK = 798
};
constexpr int UNIT_BY_DEFAULT = 6;

// What the name of a routine means for the state of the classic model.
enum ModeEffect {
  SETS_PRESOLVED, CLEARS_PRESOLVED, SETS_QUADRATIC, CLEARS_NETWORK,
  NEEDS_QUADRATIC, NEEDS_POSTSOLVED, NEEDS_NETWORK
};
const struct {
  const char *name;
  ModeEffect effect;
} modeEffects[] = {
    {"QRTPRSL", SETS_PRESOLVED},   {"QRTPSSL", CLEARS_PRESOLVED},
    {"QRTQMPS", SETS_QUADRATIC},   {"QRTQMDL", SETS_QUADRATIC},
    {"QRTQSLV", NEEDS_QUADRATIC},  {"QRTQPAR", NEEDS_QUADRATIC},
    {"QRTSPAR", NEEDS_POSTSOLVED}, {"QRTSBND", NEEDS_POSTSOLVED},
    {"QRTSOBJ", NEEDS_POSTSOLVED}, {"QRTPMDL", NEEDS_POSTSOLVED},
    {"QRTLMDL", CLEARS_NETWORK},   {"QRTDSCB", CLEARS_NETWORK},
    {"QRTMPS", CLEARS_NETWORK},    {"QRTRPTB", CLEARS_NETWORK},
    {"QRTNSLV", NEEDS_NETWORK},
};

bool started = false;           // the first classic call of the process has been
bool switched = false;          // this call has put an image away, or loaded that of the classic interface
int *callerRtcod = nullptr;     // of the call in progress
double absentDspace[8];         // stands in for a null work area: the call is a classic one all the same

bool endsWith(const char *name, const char *ending) {
  const size_t n = strlen(name), k = strlen(ending);
  return n >= k && strcmp(name + n - k, ending) == 0;
}

// Routines that have nothing to do with the free space of DSPACE.
bool keepsOffArena(const char *name) {
  for (const char *ending : {"INIT", "DSCA", "FCLS", "FOPN", "MSTR", "NAME"})
    if (endsWith(name, ending)) return true;
  return strlen(name) > 4 && (strcmp(name + 4, "SET") == 0 || strcmp(name + 4, "GET") == 0);
}

// Routines that may be called before DSPACE is laid out.
bool needsNoDspace(const char *name) {
  for (const char *ending : {"SET", "GET", "MSTR", "MSAV", "INIT", "DSCA"})
    if (endsWith(name, ending)) return true;
  return false;
}

// While a context is there, the classic interface's records wait in an image as those of any model do.
bool hasImage() { return qrt_validModel(&qrt_no_dspaceCommon) && qrt_no_dspaceCommon.furtherInfo; }

void startClassic(const char *name) {
  started = true;
  if (strcmp(name, "QRTINIT") == 0) {  // its worker sets the rest
    qrterr.Ilinelen = 80;
    qrterr.Imsgpos = 0;
    qrterr.Ipagelines = 55;
    qrterr.pageNumber = 1;
    qrterr.lineCount = 56;             // past the page: the first message begins one
    qrtlplp.Imsgunit = UNIT_BY_DEFAULT;
  } else if (strcmp(name, "QRTGUIU") != 0) {
    qrtinitf();
  }
  if (!hasImage()) qrterr.cpuAtStart = qrtcput();  // else the context has read it
  qrterr.Rprintcpu = 0;
}

// The message names QRTPRSL, whose mode stands in the way, instead of the routine called.
void tellPresolved(int message) {
  const char *name = qrterr.routineName;
  qrterr.routineName = "QRTPRSL";
  qrtmesg_no(message);
  qrterr.routineName = name;
}

void needQuadratic() {
  if (!qrtlplp.quadraticMode) qrtmesg_no(MSG_NOT_LINEAR);
  if (qrtlplp.presolvedMode) tellPresolved(MSG_NOT_QUADRATIC);
  if (qrtlplp.Rmaxmin == 1.0) return;
  qrtmesg_no_d1(MSG_MAXMIN_TAKEN_AS_1, qrtlplp.Rmaxmin);
  qrtlplp.Rmaxmin = 1.0;
}

void trackModes(const char *name) {
  for (const auto &row : modeEffects) {
    if (strcmp(row.name, name) != 0) continue;
    switch (row.effect) {
      case SETS_PRESOLVED: qrtlplp.presolvedMode = 1; return;
      case CLEARS_PRESOLVED: qrtlplp.presolvedMode = 0; return;
      case SETS_QUADRATIC: qrtlplp.quadraticMode = 1; return;
      case CLEARS_NETWORK: qrtlplp.networkLoaded = 0; return;
      case NEEDS_QUADRATIC: needQuadratic(); return;
      case NEEDS_POSTSOLVED:
        if (qrtlplp.presolvedMode) qrtmesg_no(MSG_POSTSOLVE_FIRST);
        return;
      case NEEDS_NETWORK:
        if (qrtlplp.presolvedMode) tellPresolved(MSG_NOT_NETWORK);
        return;
    }
  }
}

// Tells what is used of DSPACE when the free space has moved, and notes it in the header.
void storeFreeSpace() {
  const double *base = qrtaddr.arena[ARENA_BASE];
  bool moved = false;
  for (int k = 0; k < ARENA_WORDS; ++k) moved = moved || qrtaddr.arena[k] - base != qrtdspc[k];
  if (!moved) return;
  qrtmesg_no_i4(MSG_SPACE_IN_USE, int(qrtaddr.arena[ARENA_BASE] - base), int(qrtaddr.arena[ARENA_LOW] - base),
                int(qrtaddr.arena[ARENA_HIGH] - base), int(qrtaddr.arena[ARENA_END] - base));
  qrtinfwp(0);
}

}  // namespace

void classicFrame_open(ClassicFrame *frame) {
  memcpy(&frame->outerBuffer, &qrtaixb, sizeof(jmp_buf));
  frame->outerRtcod = callerRtcod;
  frame->outerDspace = qrtdspc2;
  frame->outerModel = qrt_oldModelInfo;
  frame->outerRoutine = qrterr.routineName;
  frame->outerDepth = qrterr.classicDepth;
  frame->outerExitDepth = qrterr.userExitDepth;
  frame->outerSwitched = switched;
}

// The chain of the classic model has the temporary blocks of classic calls.
void classicFrame_jumped(const ClassicFrame *frame) {
  qrterr.classicDepth = frame->outerDepth + 1;  // qrtret has cleared both, and qrtup counts this call
  qrterr.userExitDepth = frame->outerExitDepth;
  qrt_badMallocFlag = 0;
  qrt_freeSome(&qrt_no_dspaceCommon, INT32_MAX);
}

void classicFrame_close(const ClassicFrame *frame) {
  memcpy(&qrtaixb, &frame->outerBuffer, sizeof(jmp_buf));
  callerRtcod = frame->outerRtcod;
  qrtdspc2 = frame->outerDspace;
  qrt_oldModelInfo = frame->outerModel;
  qrterr.routineName = frame->outerRoutine;
  switched = frame->outerSwitched;
}

void qrtdown(const char *name, void *dspace, int, int *rtcod) {
  if (++qrterr.classicDepth != 1) return;
  qrterr.severitySummary = 0;
  qrterr.returnCode = 0;
  if (!started) qrterr.userExitDepth = 0;
  qrtdspc2 = dspace ? dspace : absentDspace;
  callerRtcod = rtcod;
  switched = false;
  if (qrterr.userExitDepth == 0 || qrt_modelInfo) {
    qrt_oldModelInfo = qrt_modelInfo;
    if (hasImage()) {
      qrt_swapCommons(qrt_modelInfo, &qrt_no_dspaceCommon);
      switched = true;
    }
    qrt_modelInfo = nullptr;
  }
  if (!started) startClassic(name);
  if (!qrterr.clockError) qrterr.cpuAtEntry = qrtcput();
  if (qrterr.clockError && qrterr.Rprintcpu > 0) qrtmesg_no(MSG_CLOCK);
  qrterr.routineName = name;
  qrtmesg_no(MSG_ENTERING);
  trackModes(name);
  const bool marked = dspaceMarked(dspace);
  if (marked && !keepsOffArena(name)) qrtinfwp(1);
  if (!marked && !needsNoDspace(name)) qrtmesg_no(MSG_NO_DSPACE);
}

int qrtup(int *rtcod) {
  if (--qrterr.classicDepth != 0) return 0;
  if (!qrt_modelInfo && !keepsOffArena(qrterr.routineName) && dspaceMarked(qrtdspc2)) storeFreeSpace();
  qrt_stopCPU();
  if (qrterr.severitySummary >= 2) *rtcod = qrterr.returnCode;
  flushLogs();
  if (switched) qrt_swapCommons(&qrt_no_dspaceCommon, qrt_oldModelInfo);
  if (qrterr.userExitDepth == 0 || switched) {
    qrt_modelInfo = qrt_oldModelInfo;
    qrtdspc2 = nullptr;
  }
  return *rtcod;
}

void classicFatalReturn(const void *dspace) {
  // Space that the call has taken is free again: the header does not know of it yet.
  if (dspaceMarked(dspace)) qrtinfwp(1);
  *callerRtcod = qrterr.severitySummary >= 2 ? qrterr.returnCode : 0;
}

bool classicRecordsLive() { return started && !hasImage() && !qrt_modelInfo; }

FILE *classicMessageStream() {
  const int unit = qrtlplp.Imsgunit;
  if (unit <= 0) return stdout;  // before any defaults
  FILE *stream = qrt_unit_fp(unit);
  return stream ? stream : stdout;
}

// What the exit calls has no part in the call it interrupts, whose outcome and names come back behind it.
void callClassicMessageExit(int number, const MessageExitLists *lists) {
  void *dspace = qrtdspc2;
  QRTModel *old = qrt_oldModelInfo;
  const char *routine = qrterr.routineName;
  const int32_t summary = qrterr.severitySummary, code = qrterr.returnCode;
  if (hasImage()) qrt_swapCommons(&qrt_no_dspaceCommon, nullptr);
  qrtdspc2 = nullptr;
  const int reserved = 0;
  QRTMsguExit messageExit = QRTMSGC ? QRTMSGC : QRTMSGU;
  messageExit(dspace, &reserved, &number, &lists->nReals, lists->reals, &lists->nInts, lists->ints, &lists->nStrings,
              lists->strings[0], sizeof lists->strings[0]);
  if (hasImage() && qrt_modelInfo) qrt_swapCommons(qrt_modelInfo, &qrt_no_dspaceCommon);
  qrt_modelInfo = nullptr;
  qrt_oldModelInfo = old;
  qrtdspc2 = dspace;
  qrterr.routineName = routine;
  qrterr.severitySummary = summary;
  qrterr.returnCode = code;
}
