// The entry of presolve: where the stream goes, what the type asks for, and the order in which things become final. The
// model changes last, when all that could fail is behind: a failure on the way leaves it as it was.
#include <cstring>

#include "frame/controls.h"
#include "frame/entry_frame.h"
#include "frame/guarded_memory.h"
#include "frame/message_control.h"
#include "frame/messages.h"
#include "frame/records.h"
#include "frame/units.h"
#include "model/card_writer.h"
#include "model/model_store.h"
#include "prep/presolve_call.h"
#include "prep/presolve_run.h"

namespace {

constexpr int LARGEST_TYPE = 333333, LARGEST_KIND = 3;
constexpr int PASS_UNIT = 320000;      // an option from here on says how many passes
constexpr int DEFAULT_PASSES = 5;
constexpr int MOST_ROWS_AND_COLUMNS = 6000000;
constexpr int NOT_OPENED = 341, NOT_WRITTEN = 21, IS_INFEASIBLE = 1, IS_UNBOUNDED = 2;

// What the recovery of a jump has to know: which call was at work, and how far.
struct Run {
  QRTModel *model;
  int depth;
  bool finished;   // the reduced model stands and its stream is whole
};
Run run;

void releaseStream(QRTModel *model) {
  if (!model->presolveStream) return;
  byteStream_release(model->presolveStream);
  qrt_free(model->presolveStream);
  model->presolveStream = nullptr;
}

int recoverFromJump(QRTModel *model) {
  outputFile_abandon();
  if (!run.finished) releaseStream(model);
  const int code = qrt_disaster(model);
  model->entryDepth = run.depth;
  return code;
}

enum Medium { NOWHERE, IN_MEMORY, IN_FILE };
Medium mediumOf(const char *filename) {
  if (!filename) return IN_MEMORY;
  return std::strcmp(filename, "/null") == 0 ? NOWHERE : IN_FILE;
}

// The stream goes out before the model changes; false after a message.
bool storeStream(Presolve *p, Medium medium, const ReducedShape *shape, int complete) {
  QRTModel *model = p->model;
  if (medium == IN_MEMORY && complete) {
    model->presolveStream = static_cast<ByteStream *>(guardedAllocateZero(1, int64_t(sizeof(ByteStream))));
    writePresolve(p, model->presolveStream, shape, complete);
    const int64_t bytes = model->presolveStream->size;
    qrtmesg_no_i2(MSG_KEPT_IN_MEMORY, bytes > INT32_MAX ? INT32_MAX : int(bytes), 1);
  }
  if (medium != IN_FILE) return true;
  ByteStream stream;
  byteStream_ofFile(&stream, outputFile_stream(), false);
  writePresolve(p, &stream, shape, complete);
  if (stream.error) {
    outputFile_abandon();
    qrtmesg_no_i2(MSG_WRITE_ERROR, stream.error, UNIT_IMPORT);
    return false;
  }
  return outputFile_commit();
}

struct Option {
  int kind, flags, passes;
};
Option decode(int option) {
  const int rest = option % PASS_UNIT;
  return {rest & 127, rest >> 7, option >= PASS_UNIT ? option / PASS_UNIT : DEFAULT_PASSES};
}

// Returns 0, or a code after its message; *allRows tells that nothing but a stand-in is left.
int qrtprslf(QRTModel *model, Medium medium, int option, bool *allRows) {
  const Option o = decode(option);
  if (o.kind > LARGEST_KIND) qrtmesg_no_i4(MSG_BAD_PARAMETER, 2, o.kind, 0, LARGEST_KIND);
  if (int64_t(model->Inumrows) + model->Inumcols > MOST_ROWS_AND_COLUMNS) {
    messageQ("qrtprsl: 10000 morder");
    qrtmesg_no(MSG_STOPPED_BECAUSE);
    return NOT_WRITTEN;
  }
  if (model->Inumquadraticblocks > 0 && o.kind > 0) qrtmesg_no_q1(MSG_NO_NONLINEAR, "qrtprsl", -1);
  Presolve *p = newPresolve(model, o.kind, o.flags);
  const int result = runPasses(p, o.passes);
  ReducedShape shape = {};
  if (result < 0) {
    if (!storeStream(p, medium, &shape, 0)) return NOT_WRITTEN;
    return result == PRESOLVE_UNBOUNDED ? IS_UNBOUNDED : IS_INFEASIBLE;
  }
  findShape(p, &shape);
  if (!storeStream(p, medium, &shape, 1)) return NOT_WRITTEN;
  makeReducedModel(p, &shape);
  // No solver has seen this model: what was known of the original's status is not its.
  storeControlInteger(model, CONTROL_Iprobstat, -1);
  *allRows = shape.dummy != 0;
  qrtmesg_no(MSG_NEW_MATRIX);
  return 0;
}

int preSolve(QRTModel *model, int type, const char *filename) {
  const Medium medium = mediumOf(filename);
  if (medium == IN_FILE && !outputFile_open(filename)) return NOT_OPENED;
  if (medium == IN_MEMORY) releaseStream(model);
  qrt_push(model);
  bool allRows = false;
  const int code = qrtprslf(model, medium, (type & 3) | ((type >> 2) << 7), &allRows);
  outputFile_abandon();  // what was not committed
  qrt_pop(model);
  run.finished = code == 0;
  // The last act: by default it ends the process, and a caller that let it pass finds everything in place.
  if (allRows) qrtmesg_no_q1(MSG_ALL_ROWS_DELETED, "qrtprsl", -1);
  return code;
}

}  // namespace

int preSolveForRun(QRTModel *model, int type, const char *filename) {
  MessageControl *control = model->messageControl ? &ownMessageTable(model)[MSG_ALL_ROWS_DELETED] : nullptr;
  const MessageControl before = control ? *control : MessageControl{};
  if (control) control->maxalw = -1;
  const int code = qrt_preSolve(model, type, filename);
  if (control) *control = before;
  return code != 0 && run.finished ? 0 : code;
}

int postSolveForRun(QRTModel *model, const char *filename) {
  const int code = qrt_postSolve(model, filename);
  remove(filename);
  return code;
}

extern "C" int qrt_preSolve(QRTModel *model, int type, const char *filename) {
  qrt_eraseFactor(model);
  run = {model, model->entryDepth, false};
  qrt_enter(model, "qrt_preSolve", 2);
  qrt_printCharParameter(model, 3, filename ? filename : "");
  QRT_JUMP_FRAME(model, recoverFromJump(model));
  qrt_checkParameter(model, 2, type, 0, LARGEST_TYPE);
  const int code = preSolve(model, type, filename);
  QRT_END_FRAME();
  qrt_leave(model);
  return code;
}
