// Expands message templates: literal text, and placeholders that begin with "@".
//
//     @Inn integer   @Jnnww right-aligned    @Dnn real   @Ennww right-aligned
//     @Cnn string    @Bnnww left-aligned     @Mnn module name   @Q free text   @H starts a page
//
// nn are two digits of the argument's number, ww two digits of width.
#include <cmath>
#include <cstdio>
#include <cstring>

#include "frame/entry_frame.h"
#include "frame/message_table.h"
#include "frame/messages.h"
#include "frame/records.h"

namespace {

constexpr int ARGUMENTS = 15;
constexpr int STRING_WIDTH = 128;
constexpr int WIDTH_OF_NAMES = 99;  // a width that stands for Inumchar
constexpr double SMALLEST_FIXED = 0.0010000000474974513;  // 0.001 in single precision
constexpr double LARGEST_FIXED = 1e10;
constexpr int UNIT_OF_MEMORY = 5;
constexpr int MSG_ENTERING = 483, MSG_MODULE_C09_FIRST = 950, MSG_MODULE_C09_LAST = 951;

struct Piece {
  const char *text;
  int length;
};

// Without leading and trailing blanks; also ends at an "@" or a NUL.
Piece qrttrim(const char *text, int width) {
  int end = 0;
  while (end < width && text[end] != '\0' && text[end] != '@') ++end;
  int begin = 0;
  while (begin < end && text[begin] == ' ') ++begin;
  while (end > begin && text[end - 1] == ' ') --end;
  return {text + begin, end - begin};
}

struct Builder {
  MessageText *out;
  void put(const char *text, int length) {
    const int room = MESSAGE_TEXT_CAP - 1 - out->length;
    if (length > room) length = room;
    memcpy(out->text + out->length, text, size_t(length));
    out->length += length;
  }
  void blanks(int n) {
    while (n-- > 0) put(" ", 1);
  }
  bool endsWith(const char *word) const {
    const int n = int(strlen(word));
    return out->length >= n && memcmp(out->text + out->length - n, word, size_t(n)) == 0;
  }
};

int formatReal(double x, char *buffer, size_t size) {
  const double a = fabs(x);
  if (!(a >= SMALLEST_FIXED && a < LARGEST_FIXED)) return snprintf(buffer, size, "%14.6E", x);
  const int k = int(floor(log10(a)));
  const int decimals = 6 - k > 0 ? 6 - k : 0;
  return snprintf(buffer, size, "%14.*f", decimals, x);
}

// Two digits at `p` as a number, -1 when they are none.
int twoDigits(const char *p) {
  if (p[0] < '0' || p[0] > '9' || p[1] < '0' || p[1] > '9') return -1;
  return (p[0] - '0') * 10 + p[1] - '0';
}

void moduleName(int index, char name[2 * STRING_WIDTH + 4]) {
  const char *classic = qrterr.routineName ? qrterr.routineName : "";
  if (!qrt_modelInfo) {
    snprintf(name, STRING_WIDTH, "%s", classic);
    return;
  }
  const bool second = index >= MSG_MODULE_C09_FIRST && index <= MSG_MODULE_C09_LAST;
  const Piece module = qrttrim(qrterr.C[second ? 8 : 7], STRING_WIDTH);
  const bool both = !second && (qrt_modelInfo->modelFlags & MODEL_SHOW_CLASSIC) && index != MSG_ENTERING;
  if (both) snprintf(name, 2 * STRING_WIDTH + 4, "%.*s(%s)", module.length, module.text, classic);
  else snprintf(name, STRING_WIDTH + 1, "%.*s", module.length, module.text);
}

// A unit's number gives way to its file's name directly after "unit" or "file", where the message says so.
bool putUnitName(Builder &builder, int index, int slot) {
  if (!(qrtminfo[index].flags & MESSAGE_UNIT_MASK) || slot > 2 || !qrt_modelInfo) return false;
  const bool afterUnit = builder.endsWith("unit ");
  if (!afterUnit && !builder.endsWith("file ")) return false;
  if (afterUnit) memcpy(builder.out->text + builder.out->length - 5, "file", 4);
  const int unit = qrterr.I[slot - 1];
  const char *name = unit == UNIT_OF_MEMORY ? "Memory" : qrt_f_inquire(unit);
  const Piece piece = qrttrim(name ? name : "", STRING_WIDTH);
  builder.put(piece.text, piece.length);
  return true;
}

void putPadded(Builder &builder, Piece piece, int width, bool right) {
  if (right) builder.blanks(width - piece.length);
  builder.put(piece.text, piece.length);
  if (!right) builder.blanks(width - piece.length);
}

void keepString(MessageExitLists *lists, int slot, Piece piece) {
  ++lists->nStrings;
  char *entry = lists->strings[slot - 1];
  memset(entry, ' ', STRING_WIDTH);
  memcpy(entry, piece.text, size_t(piece.length < STRING_WIDTH ? piece.length : STRING_WIDTH));
}

// Expands one placeholder at `p` (which points at "@"); returns its length, 0 when it is none.
int expandPlaceholder(const char *p, int index, Builder &builder, MessageExitLists *lists) {
  const char kind = p[1];
  if (kind == 'Q') {
    const Piece piece = qrttrim(qrterr.Q, STRING_WIDTH);
    builder.put(piece.text, piece.length);
    return 2;
  }
  if (kind == 'H') {
    builder.out->startsPage = true;
    return 2;
  }
  if (!strchr("IJDECBM", kind) || kind == '\0') return 0;
  const int slot = twoDigits(p + 2);
  if (slot < 1 || slot > ARGUMENTS) return 0;
  const bool wide = kind == 'J' || kind == 'E' || kind == 'B';
  int width = wide ? twoDigits(p + 4) : 0;
  if (width < 0) return 0;
  char buffer[512];
  switch (kind) {
    case 'I':
    case 'J': {
      ++lists->nInts;
      lists->ints[slot - 1] = qrterr.I[slot - 1];
      if (kind == 'I' && putUnitName(builder, index, slot)) break;
      snprintf(buffer, sizeof buffer, "%14d", qrterr.I[slot - 1]);
      putPadded(builder, qrttrim(buffer, int(sizeof buffer)), width, true);
      break;
    }
    case 'D':
    case 'E':
      ++lists->nReals;
      lists->reals[slot - 1] = qrterr.D[slot - 1];
      formatReal(qrterr.D[slot - 1], buffer, sizeof buffer);
      putPadded(builder, qrttrim(buffer, int(sizeof buffer)), width, true);
      break;
    case 'M': {
      moduleName(index, buffer);
      const Piece piece = qrttrim(buffer, int(sizeof buffer));
      keepString(lists, slot, piece);
      builder.put(piece.text, piece.length);
      break;
    }
    default: {
      const Piece piece = qrttrim(qrterr.C[slot - 1], STRING_WIDTH);
      keepString(lists, slot, piece);
      if (width == WIDTH_OF_NAMES) width = qrtlplp.Inumchar;
      putPadded(builder, piece, width, false);
    }
  }
  return wide ? 6 : 4;
}

}  // namespace

void buildMessageText(int index, MessageText *out, MessageExitLists *lists) {
  out->length = 0;
  out->startsPage = false;
  lists->nReals = lists->nInts = lists->nStrings = 0;
  Builder builder{out};
  const char *p = qrtminfo[index].text;
  while (*p) {
    const int taken = *p == '@' ? expandPlaceholder(p, index, builder, lists) : 0;
    if (taken == 0) builder.put(p++, 1);
    p += taken;
  }
  out->text[out->length] = '\0';
}

int expandMessage(int index, char *out, int cap) {
  MessageText text;
  MessageExitLists lists;
  buildMessageText(index, &text, &lists);
  snprintf(out, size_t(cap), "%s", text.text);
  return text.length;
}

void messageC(int slot, const char *text, int length) {
  char *entry = qrterr.C[slot - 1];
  size_t n = 0;
  const size_t limit = length < 0 || length > STRING_WIDTH ? size_t(STRING_WIDTH) : size_t(length);
  while (n < limit && text[n] != '\0') ++n;
  memmove(entry, text, n);
  memset(entry + n, ' ', size_t(STRING_WIDTH) - n);
}

void messageQ(const char *text, int length) {
  size_t n = 0;
  const size_t limit = length < 0 || length > STRING_WIDTH ? size_t(STRING_WIDTH) : size_t(length);
  while (n < limit && text[n] != '\0') ++n;
  memmove(qrterr.Q, text, n);
  memset(qrterr.Q + n, ' ', size_t(STRING_WIDTH) - n);
}

// Copies a raw template, blank-padded: table headings are fetched this way.
void qrtmes2(int index, char buffer[128]) {
  const size_t n = strlen(qrtminfo[index].text);
  memset(buffer, ' ', STRING_WIDTH);
  memcpy(buffer, qrtminfo[index].text, n < STRING_WIDTH ? n : STRING_WIDTH);
}
