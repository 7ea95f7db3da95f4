// The second channel: printf-like messages of the stochastic layer, each on the stream its row names.
#include <cstdarg>

#include "frame/messages.h"

struct ScnMessageRow {
  int32_t id;        // 500 to 999; -1 closes the table
  int32_t suppress;  // bit 0: nothing is printed
  char severity;     // I, W or E
  bool toStderr;
  const char *text;  // a printf format
};

namespace {

constexpr bool LOG = false, ERR = true;

ScnMessageRow msgtab[] = {
#define STOCH_MESSAGE(id, severity, stream, text) {id, 0, severity, stream, text},
#include "frame/stoch_messages.def"
#undef STOCH_MESSAGE
    {-1, 0, 'I', false, nullptr}};

ScnMessageRow *findRow(ScnMessageRow *table, int id) {
  for (ScnMessageRow *row = table; row->id != -1; ++row)
    if (row->id == id) return row;
  return nullptr;
}

void reportUnknown(const ScnMessageContext *context, int id) {
  fflush(stdout);
  fprintf(stderr, "%s999E: ", context->prefix ? context->prefix : "");
  fprintf(stderr, "Internal error: Unknown message id: %d\n", id);
  fflush(stderr);
}

int qrts__Messagev(int quiet, ScnMessageContext *context, int id, va_list arguments) {
  const ScnMessageRow *row = findRow(context->table, id);
  if (!row) {
    reportUnknown(context, id);
    return 2;
  }
  FILE *stream = row->toStderr ? stderr : stdout;
  const bool print = !quiet && !(row->suppress & 1);
  if (print && context->prefix) fprintf(stream, "%s%4.4d%c: ", context->prefix, id, row->severity);
  if (print && row->text) {
    vfprintf(stream, row->text, arguments);
    fputc('\n', stream);
  }
  fflush(stream);
  return row->severity == 'E' ? 2 : row->severity == 'W' ? 1 : 0;
}

}  // namespace

ScnMessageContext scn_msg = {" SCN", {nullptr, nullptr}, msgtab, 0};

int qrts__Message(ScnMessageContext *context, int id, ...) {
  context->table = msgtab;
  va_list arguments;
  va_start(arguments, id);
  const int result = qrts__Messagev(0, context, id, arguments);
  va_end(arguments);
  return result;
}

int qrts__Mset(ScnMessageContext *context, int id, int value) {
  if (id < 0) {
    for (ScnMessageRow *row = msgtab; row->id != -1; ++row) row->suppress = value;
    return 0;
  }
  ScnMessageRow *row = findRow(msgtab, id);
  if (!row) {
    reportUnknown(context, id);
    return 1;
  }
  row->suppress = value;
  return 0;
}
