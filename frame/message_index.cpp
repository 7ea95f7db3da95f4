// The message table and the way from the number users see to the internal index.
#include <cstring>

#include "frame/guarded_memory.h"
#include "frame/message_control.h"
#include "frame/message_table.h"
#include "frame/messages.h"

const MessageRow qrtminfo[QRT_MESSAGE_COUNT] = {
    {0, 0, 0, ""},
#define MESSAGE(index, number, rc, flags, maxprt, maxalw, control, text) {number, rc, flags, text},
#define UNUSED(index, maxprt, maxalw, control) {0, 0, 0, ""},
#include "frame/message_table.def"
#undef MESSAGE
#undef UNUSED
};

MessageControl qrtmot[QRT_MESSAGE_COUNT] = {
    {-1, -1, 0},
#define MESSAGE(index, number, rc, flags, maxprt, maxalw, control, text) {maxprt, maxalw, control},
#define UNUSED(index, maxprt, maxalw, control) {maxprt, maxalw, control},
#include "frame/message_table.def"
#undef MESSAGE
#undef UNUSED
};

namespace {

// ORDER: the row of index k stands at k.
constexpr int tableOrder[] = {
    0,
#define MESSAGE(index, number, rc, flags, maxprt, maxalw, control, text) index,
#define UNUSED(index, maxprt, maxalw, control) index,
#include "frame/message_table.def"
#undef MESSAGE
#undef UNUSED
};
constexpr bool rowsInOrder() {
  int expected = 0;
  for (int index : tableOrder)
    if (index != expected++) return false;
  return expected == QRT_MESSAGE_COUNT;
}
static_assert(rowsInOrder(), "message_table.def must list every index once, in order");

constexpr int THOUSANDS = 10;
// One table a thousand of numbers, each as long as the highest number in use there: index of a number, 0 for none.
int16_t *internal_id[THOUSANDS];
int max_idnnn[THOUSANDS];  // entries of each table
bool tablesBuilt = false;

void init_tables() {
  for (int index = 1; index < QRT_MESSAGE_COUNT; ++index) {
    const int number = qrtminfo[index].number;
    int &size = max_idnnn[number / 1000];
    if (number > 0 && number % 1000 + 1 > size) size = number % 1000 + 1;
  }
  for (int t = 0; t < THOUSANDS; ++t)
    internal_id[t] = static_cast<int16_t *>(guardedAllocateZero(max_idnnn[t], sizeof(int16_t)));
  for (int index = QRT_MESSAGE_COUNT - 1; index > 0; --index) {  // the lowest index wins where a number repeats
    const int number = qrtminfo[index].number;
    if (number > 0) internal_id[number / 1000][number % 1000] = int16_t(index);
  }
  tablesBuilt = true;
}

void freeTables() {
  for (int t = 0; t < THOUSANDS; ++t) {
    qrt_freeBase(internal_id[t]);
    internal_id[t] = nullptr;
    max_idnnn[t] = 0;
  }
  tablesBuilt = false;
}

int indexOf(int number) {
  const int t = number / 1000;
  return number % 1000 < max_idnnn[t] ? internal_id[t][number % 1000] : 0;
}

}  // namespace

int qrtetoi(int number, int *next) {
  if (number == -1000) {
    freeTables();
    return 0;
  }
  if (next) *next = 0;
  if (number < 1 || number > 9999) return 0;
  if (!tablesBuilt) init_tables();
  for (int above = number + 1; next && above <= 9999; ++above) {
    if (indexOf(above)) {
      *next = above;
      break;
    }
  }
  return indexOf(number);
}

int messageNumber(int index) { return qrtminfo[index].number; }
