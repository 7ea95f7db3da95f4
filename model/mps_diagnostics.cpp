// What the MPS reader says: diagnostics of single cards with their echo, the closing report, and why it gave up.

#include <cstring>

#include "frame/messages.h"
#include "model/mps_reader.h"

void echoCard(const MpsData *data, int echo) { qrtmesg_no_qmesg(echo, data->reader.text, CARD_COLUMNS); }

void tellName(const MpsData *data, int message, const char *name, int echo) {
  qrtmesg_no_q1_i1(message, name, data->reader.nameLength, data->reader.cardNumber);
  echoCard(data, echo);
}

void tellTwice(const MpsData *data, const char *name, int echo) {
  qrtmesg_no_q1(MSG_DUPLICATE_NAME, name, data->reader.nameLength);
  echoCard(data, echo);
}

void tellBounds(const MpsData *data, const char *name, double lower, double upper, int echo) {
  qrtmesg_no_q1_d2(MSG_BOUND_PAIR, name, data->reader.nameLength, lower, upper);
  if (echo) echoCard(data, echo);
}

// The names that chose the data, the size of the matrix, and what was left out.
void reportModel(const MpsData *data) {
  qrtmesg_no(-1);
  for (int set = SET_MODEL; set <= SET_BOUND; set++) {
    const bool always = set == SET_MODEL || set == SET_OBJECTIVE;
    if (!always && isBlank(data->sets[set], 80)) continue;
    char word[128];
    qrtmes2(MSG_WORD_MATRIX + set, word);
    qrtmesg_no_q2(MSG_USING, data->sets[set], 80, word, int(sizeof word));
  }
  qrtmesg_no(-1);
  qrtmesg_no_i3(MSG_MATRIX_SIZE, data->m, data->n, int(data->nz));
  if (data->nDropped > 0) {
    qrtmesg_no_i2(MSG_ROWS_IGNORED, data->nDropped, data->m + data->nDropped);
    qrtmesg_no_i1(MSG_ELEMENTS_DISCARDED, int(data->nDiscarded));
  }
  qrtmesg_no_i1(MSG_OBJECTIVE_ENTRIES, data->nCosts);
  qrtmesg_no(-1);
}

namespace {

// One row a failure: its message, what the message is told, and the return code.
enum : int { TELL_NOTHING, TELL_ROWS, TELL_COLUMNS, TELL_END, TELL_SET };
struct FailureRow {
  int message;
  int arguments;
  int set;         // whose name @C01 is
  int returnCode;
};
const FailureRow failures[] = {
  {0, TELL_NOTHING, 0, 0},
  {MSG_ROW_STORAGE, TELL_ROWS, 0, 11},
  {MSG_COLUMN_STORAGE, TELL_COLUMNS, 0, 11},
  {0, TELL_NOTHING, 0, 21},
  {MSG_NO_OBJECTIVE, TELL_SET, SET_OBJECTIVE, 21},
  {MSG_PREMATURE_END, TELL_END, 0, 21},
  {MSG_DUPLICATE_NAMES, TELL_NOTHING, 0, 21},
  {MSG_NO_RHS_SET, TELL_SET, SET_RHS, 21},
  {MSG_NO_RANGE_SET, TELL_SET, SET_RANGE, 21},
  {MSG_NO_BOUND_SET, TELL_SET, SET_BOUND, 21},
  {MSG_INCONSISTENT, TELL_NOTHING, 0, 21},
  {MSG_AREAS_DIFFER, TELL_NOTHING, 0, 21},
  {MSG_STOPPED, TELL_NOTHING, 0, 21},
  {MSG_ENTERING, TELL_NOTHING, 0, 21},
};

}  // namespace

int tellFailure(const MpsData *data, int failure) {
  const FailureRow *row = &failures[failure];
  switch (row->arguments) {
    case TELL_ROWS: qrtmesg_no_i1(row->message, data->m); break;
    case TELL_COLUMNS: qrtmesg_no_i2(row->message, data->n, int(data->nz)); break;
    case TELL_END: qrtmesg_no_i2(row->message, 0, data->reader.unit); break;
    case TELL_SET: qrtmesg_no_q1(row->message, data->sets[row->set], 80); break;
    default:
      if (row->message) qrtmesg_no(row->message);
  }
  return row->returnCode;
}
