// What an MPS file says of rows: the ROWS section, and the right-hand sides and ranges that give them their bounds.
// Cards come from mps_card.cpp; what is wrong with one is told and the card skipped.
#include <cstring>

#include "frame/guarded_memory.h"
#include "frame/messages.h"
#include "frame/records.h"
#include "model/mps_reader.h"

// ---- ROWS ----

namespace {

constexpr int64_t FIRST_ROWS = 1000;

// Skips to the NAME card wanted. A NAME card of another model leaves no trace in the reader.
bool findModel(MpsData *data) {
  CardReader *reader = &data->reader;
  for (;;) {
    int kind = CARD_END;
    qrtincd(reader, 1, &kind);
    if (kind == CARD_END) return false;
    if (kind != CARD_SECTION || !sectionBegins(reader, "NAME")) continue;
    if (!data->asked[SET_MODEL] || memcmp(reader->name2, data->sets[SET_MODEL], 80) == 0) break;
    reader->sectionState = STATE_START;
    reader->format = reader->startFormat;
    reader->nameLength = reader->startLength;
    reader->freeByCard = 0;
  }
  memcpy(data->sets[SET_MODEL], reader->name2, 80);
  reader->binary = fieldIs(reader->number2, int(sizeof reader->number2), "BINARY");
  return true;
}

char rowTypeOf(const char *head) {
  static const struct { char text[5]; char type; } types[] = {
    {" N  ", ROW_FREE}, {" L  ", ROW_L}, {" G  ", ROW_G}, {" E  ", ROW_E},
    {"  N ", ROW_FREE}, {"  L ", ROW_L}, {"  G ", ROW_G}, {"  E ", ROW_E}};
  for (const auto &row : types)
    if (memcmp(head, row.text, 4) == 0) return row.type;
  return 0;
}

void addRow(MpsData *data, const char *name, char type) {
  const int L = data->reader.nameLength;
  int64_t room = data->room.rows;
  data->rowNames = static_cast<char *>(growRoom(data->model, data->rowNames, data->m, &room, L, FIRST_ROWS));
  data->rowType = static_cast<char *>(growRoom(data->model, data->rowType, data->m, &data->room.rows, 1, FIRST_ROWS));
  memcpy(nameAt(data->rowNames, data->m, L), name, size_t(L));
  data->rowType[data->m++] = type;
}

void dropRow(MpsData *data, const char *name) {
  const int L = data->reader.nameLength;
  data->droppedNames =
    static_cast<char *>(growRoom(data->model, data->droppedNames, data->nDropped, &data->droppedRoom, L, 10));
  memcpy(nameAt(data->droppedNames, data->nDropped++, L), name, size_t(L));
}

void takeFreeRow(MpsData *data, bool *objectiveFound) {
  const char *name = data->reader.name1;
  if (isBlank(data->sets[SET_OBJECTIVE], 80)) takeSetName(data, SET_OBJECTIVE, name);
  if (isSetName(data, SET_OBJECTIVE, name)) {
    *objectiveFound = true;
    return;
  }
  if (data->asked[SET_OBJECTIVE_CHANGE] && isSetName(data, SET_OBJECTIVE_CHANGE, name)) return;
  if (qrtlplp.Ioneobj == 1) dropRow(data, name);
  else addRow(data, name, ROW_FREE);
}

// Dropped rows stand behind the kept ones, so that an index above m says what a name is.
void appendDropped(MpsData *data) {
  const int L = data->reader.nameLength;
  const int64_t total = int64_t(data->m) + data->nDropped;
  char *names = static_cast<char *>(temporaryAllocate(data->model, total + 1, L));
  if (data->m) memcpy(names, data->rowNames, size_t(data->m) * size_t(L));
  if (data->nDropped) memcpy(nameAt(names, data->m, L), data->droppedNames, size_t(data->nDropped) * size_t(L));
  if (data->rowNames) qrt_freeTemporary(data->model, data->rowNames);
  if (data->droppedNames) qrt_freeTemporary(data->model, data->droppedNames);
  data->rowNames = names;
  data->droppedNames = nullptr;
}

}  // namespace

int qrtrows(MpsData *data) {
  CardReader *reader = &data->reader;
  if (!findModel(data)) return READ_BAD_SECTION;
  int kind = CARD_DATA;
  do {
    qrtincd(reader, 1, &kind);
    if (kind == CARD_END) return READ_BAD_SECTION;
  } while (kind != CARD_SECTION || !sectionBegins(reader, "ROW"));
  bool objectiveFound = false;
  for (;;) {
    qrtincd(reader, 1, &kind);
    if (kind != CARD_DATA) break;
    if (data->m + data->nDropped >= MAX_ROWS) return READ_ROW_STORAGE;
    char type = rowTypeOf(reader->head);
    if (!type) {
      qrtmesg_no_q1_i1(MSG_ROW_TYPE, reader->head, 4, reader->cardNumber);
      echoCard(data, ECHO_ROW_TYPE);
      type = ROW_FREE;
    }
    if (type == ROW_FREE) takeFreeRow(data, &objectiveFound);
    else addRow(data, reader->name1, type);
  }
  if (kind == CARD_END || !sectionBegins(reader, "COLU")) return READ_BAD_SECTION;
  if (!objectiveFound) return READ_NO_OBJECTIVE;
  appendDropped(data);
  return READ_OK;
}

// ---- RHS and RANGES ----

void qrtdfrw(MpsData *data) {
  data->rowLower = static_cast<double *>(temporaryAllocate(data->model, int64_t(data->m) + 1, 8));
  data->rowUpper = static_cast<double *>(temporaryAllocate(data->model, int64_t(data->m) + 1, 8));
  for (int i = 0; i < data->m; i++) {
    const char type = data->rowType[i];
    data->rowLower[i] = type == ROW_FREE || type == ROW_L ? -QRT_INFINITY : 0.0;
    data->rowUpper[i] = type == ROW_FREE || type == ROW_G ? QRT_INFINITY : 0.0;
  }
}

namespace {

bool takeRightHandSide(char type, double value, double *lower, double *upper, bool first) {
  if (type == ROW_FREE) return true;
  double *bound = type == ROW_L ? upper : lower;
  if (first && *bound != 0) return false;
  *bound = value;
  if (type == ROW_E) *upper = value;
  return true;
}

// R keeps its sign on L and G rows; on an equality it says to which side the row opens.
bool takeRange(char *type, double value, double *lower, double *upper, bool first) {
  if (*type == ROW_L) {
    if (first && *lower != -QRT_INFINITY) return false;
    *lower = *upper - value;
    if (first && value == 0) *type = ROW_E;
  } else if (*type == ROW_G) {
    if (first && *upper != QRT_INFINITY) return false;
    *upper = *lower + value;
    if (first && value == 0) *type = ROW_E;
  } else if (*type == ROW_E && value < 0) {
    *lower = *upper + value;
    if (first) *type = ROW_L;
  } else if (*type == ROW_E && value > 0) {
    *upper = *lower + value;
    if (first) *type = ROW_G;
  }
  return true;
}

}  // namespace

void qrtdone(MpsData *data, const char *name, double value, int which, int mode, char *flagged) {
  const bool first = mode == 1;
  const int32_t index = qrthash(&data->rowTable, name);
  if (index == 0) {
    if (!isSetName(data, SET_OBJECTIVE, name)) {
      tellName(data, MSG_NO_ROW, name, ECHO_ROW);
    } else if (which == 1 && first) {
      if (data->offset != 0) tellTwice(data, name, ECHO_ROW);
      else data->offset = value;  // the constant keeps the sign it has on the card
    }
    return;
  }
  if (index > data->m) return;
  const int i = index - 1;
  double *lower = first ? &data->rowLower[i] : &data->lowerChange[i];
  double *upper = first ? &data->rowUpper[i] : &data->upperChange[i];
  if (flagged) flagged[i] = 1;
  const bool taken = which == 1 ? takeRightHandSide(data->rowType[i], value, lower, upper, first)
                                : takeRange(&data->rowType[i], value, lower, upper, first);
  if (!taken) tellTwice(data, name, ECHO_ROW);
}

namespace {

// One RHS (which 1) or RANGES (which 2) section. *changed turns true when the change vectors hold the rows.
int readRowSection(MpsData *data, int which, char *flagged, bool *changed) {
  CardReader *reader = &data->reader;
  const int set = which == 1 ? SET_RHS : SET_RANGE;
  const int changeSet = which == 1 ? SET_RHS_CHANGE : SET_RANGE_CHANGE;
  bool choose = isBlank(data->sets[set], 80);
  bool found = false, over = false;
  for (;;) {
    int kind = CARD_END;
    qrtincd(reader, 1, &kind);
    if (kind == CARD_END) return READ_BAD_SECTION;
    if (kind == CARD_SECTION) break;
    if (over) continue;
    if (choose) takeSetName(data, set, reader->name1);
    choose = false;
    int mode = 0;
    if (isSetName(data, set, reader->name1)) {
      mode = 1;
      found = true;
    } else if (data->asked[changeSet] && isSetName(data, changeSet, reader->name1)) {
      mode = 2;
      if (!*changed) {
        memcpy(data->lowerChange, data->rowLower, size_t(data->m) * 8);
        memcpy(data->upperChange, data->rowUpper, size_t(data->m) * 8);
      }
      *changed = true;
    } else {
      over = found;
      continue;
    }
    char *touched = mode == 2 ? flagged : nullptr;
    if (reader->pairs > 0) qrtdone(data, reader->name2, reader->value2, which, mode, touched);
    if (reader->pairs > 1) qrtdone(data, reader->name3, reader->value3, which, mode, touched);
  }
  if (data->asked[set] && !found) return which == 1 ? READ_NO_RHS : READ_NO_RANGE;
  return READ_OK;
}

}  // namespace

int qrtrwbd(MpsData *data) {
  CardReader *reader = &data->reader;
  reader->sectionState = STATE_RHS;
  const bool changes = data->asked[SET_RHS_CHANGE] || data->asked[SET_RANGE_CHANGE] || data->asked[SET_BOUND_CHANGE];
  char *flagged = nullptr;
  bool changed = false;
  if (changes) {
    const size_t entries = size_t(data->m) + size_t(data->n) + 1;
    data->lowerChange = static_cast<double *>(temporaryAllocate(data->model, int64_t(entries), 8));
    data->upperChange = static_cast<double *>(temporaryAllocate(data->model, int64_t(entries), 8));
    memset(data->lowerChange, 0, entries * 8);
    memset(data->upperChange, 0, entries * 8);
    flagged = static_cast<char *>(temporaryAllocate(data->model, int64_t(data->m) + 1, 1));
    memset(flagged, 0, size_t(data->m) + 1);
  }
  while (!sectionBegins(reader, "BOUN") && !sectionBegins(reader, "ENDA") && !sectionBegins(reader, "NAME")) {
    int which = 0;
    if (sectionBegins(reader, "RHS ")) which = 1;
    if (sectionBegins(reader, "RANG")) which = 2;
    if (which == 0) return READ_BAD_SECTION;
    const int failure = readRowSection(data, which, flagged, &changed);
    if (failure != READ_OK) return failure;
  }
  if (changed) {
    for (int i = 0; i < data->m; i++)
      if (!flagged[i]) data->lowerChange[i] = data->upperChange[i] = 0;
  }
  return READ_OK;
}
