// One row of the message table; the rows stand in message_table.def.
#pragma once

#include <cstdint>

#include "frame/model_record.h"

struct MessageRow {
  int16_t number;   // what users see; 0 for an index without a message
  uint8_t rc;       // added to 100 * severity for the return code
  uint8_t flags;    // see below
  const char *text; // template
};
enum : uint8_t { MESSAGE_STOP = 0x80, MESSAGE_MODIFIABLE = 0x40, MESSAGE_UNIT_MASK = 0x0c };
inline int messageSeverity(const MessageRow &row) { return (row.flags >> 4) & 3; }

extern const MessageRow qrtminfo[QRT_MESSAGE_COUNT];

// Numbers and strings of the last message built, for user exits; entry k holds argument k + 1.
struct MessageExitLists {
  int nReals, nInts, nStrings;   // placeholders met of each kind
  double reals[15];
  int ints[15];
  char strings[15 + 4][128];     // arguments, then up to four pieces of the whole line from [nStrings] on
};

// The text of a message as it will be printed.
struct MessageText {
  char text[6144];               // NUL-terminated
  int length;
  bool startsPage;
};
constexpr int MESSAGE_TEXT_CAP = int(sizeof(MessageText::text));

// Expands the template of `index` with the arguments of qrterr (qrtmsg1).
void buildMessageText(int index, MessageText *out, MessageExitLists *lists);
