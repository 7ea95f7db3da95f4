// What each section of an MPS file does: ROWS, COLUMNS with its markers, RHS and RANGES, BOUNDS, and the bounds of
// integer columns. Cards come from mps_card.cpp; what is wrong with one is told and the card skipped.

#include <cmath>
#include <cstring>

#include "frame/guarded_memory.h"
#include "frame/messages.h"
#include "frame/records.h"
#include "frame/units.h"
#include "model/mps_reader.h"

namespace {

constexpr int64_t FIRST_ROWS = 1000;
constexpr int64_t FIRST_COLUMNS = 1000;
constexpr int64_t FIRST_ELEMENTS = 5000;
constexpr int64_t MOST_ELEMENTS = 0x7ffffff0;
constexpr double SAME_BOUND = 1e-12;

bool same(double a, double b) { return a == b || std::fabs(a - b) <= SAME_BOUND; }

// The value of a name is the set's: a set name is kept to 80 columns, a name of a card to L.
bool isSet(const MpsData *data, int set, const char *name) {
  const int L = data->reader.nameLength;
  return memcmp(data->sets[set], name, size_t(L)) == 0 && isBlank(data->sets[set] + L, 80 - L);
}

void takeSet(MpsData *data, int set, const char *name) {
  const int L = data->reader.nameLength;
  memset(data->sets[set], ' ', 80);
  memcpy(data->sets[set], name, size_t(L));
}

char *nameAt(char *names, int64_t index, int L) { return names + index * L; }

}  // namespace

// ---- ROWS ----

namespace {

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
  if (isBlank(data->sets[SET_OBJECTIVE], 80)) takeSet(data, SET_OBJECTIVE, name);
  if (isSet(data, SET_OBJECTIVE, name)) {
    *objectiveFound = true;
    return;
  }
  if (data->asked[SET_OBJECTIVE_CHANGE] && isSet(data, SET_OBJECTIVE_CHANGE, name)) return;
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

// ---- COLUMNS ----

namespace {

enum : int { MARK_NONE = 0, MARK_INTEGERS = 1, MARK_SET = 2, MARK_SEPARABLE = 3 };

struct MarkerWord {
  char text[9];
  int group;
  bool opens;
};
// ORDER: closing words, opening words.
const MarkerWord markerWords[] = {
  {"'SEPEND'", MARK_SEPARABLE, false}, {"'INTEND'", MARK_INTEGERS, false}, {"'SOSEND'", MARK_SET, false},
  {"'SOSORG'", MARK_SET, true},        {"'INTORG'", MARK_INTEGERS, true},  {"'SEPORG'", MARK_SEPARABLE, true}};

// Where the reader stands between two cards of the COLUMNS section.
struct ColumnState {
  int open;           // MARK_...: the marker that is open
  char type;          // type of the columns to come
  int32_t set;        // their set, 0 none
  int32_t setRow;     // row that gets a 1 for each of them, -1 none
  int32_t *mark;      // [m + nDropped + 1] column (from 1) that last had an entry in this row
};

void openSet(MpsData *data, ColumnState *state) {
  const CardReader *reader = &data->reader;
  char type = COLUMN_ROW_SET;
  if (memcmp(reader->head, " S1 ", 4) == 0) type = COLUMN_S1;
  if (memcmp(reader->head, " S2 ", 4) == 0) type = COLUMN_S2;
  int32_t row = -1;
  if (type == COLUMN_ROW_SET) {
    row = qrthash(&data->rowTable, reader->name1) - 1;
    if (row < 0 || row >= data->m) {
      tellName(data, MSG_NO_SET_ROW, reader->name1, ECHO_SET_ROW);
      return;
    }
  }
  int64_t room = data->setRoom;
  data->setRow = static_cast<int32_t *>(growRoom(data->model, data->setRow, data->nSets, &room, 4, 100));
  room = data->setRoom;
  data->setType = static_cast<char *>(growRoom(data->model, data->setType, data->nSets, &room, 1, 100));
  data->setRoom = int32_t(room);
  data->setRow[data->nSets] = row;
  data->setType[data->nSets++] = type;
  state->type = type;
  state->set = data->nSets;
  state->setRow = row;
}

void openSeparable(MpsData *data) {
  if (data->integerUnit == 0) {
    qrtmesg_no(MSG_NO_INTEGER_UNIT);
    return;
  }
  qrtmesg_no(MSG_SEPARABLE_FOUND);
  if (isBlank(data->sets[SET_OBJECTIVE], 80)) qrtmesg_no(MSG_SEPARABLE_NEEDS_COST_ROW);
  int64_t room = data->groupRoom;
  data->groupFirst = static_cast<int32_t *>(growRoom(data->model, data->groupFirst, data->nGroups, &room, 4, 100));
  room = data->groupRoom;
  data->groupEnd = static_cast<int32_t *>(growRoom(data->model, data->groupEnd, data->nGroups, &room, 4, 100));
  data->groupRoom = int32_t(room);
  data->groupEnd[data->nGroups] = -1;  // open
  data->groupFirst[data->nGroups++] = data->n;
}

// The segments of a piecewise-linear column differ in their cost alone: their entries are those of the first, up
// to one factor.
void closeSeparable(MpsData *data) {
  const int group = data->nGroups - 1;
  if (group < 0 || data->groupEnd[group] >= 0) return;  // refused when it opened
  const int first = data->groupFirst[group];
  data->groupEnd[group] = data->n;
  if (data->n - first < 2) return;
  double *entry = static_cast<double *>(temporaryAllocate(data->model, int64_t(data->m) + 1, 8));
  memset(entry, 0, (size_t(data->m) + 1) * 8);
  for (int k = data->start[first]; k < data->start[first + 1]; k++) entry[data->row[k]] = data->element[k];
  bool good = true;
  for (int j = first + 1; j < data->n; j++) {
    const int end = j + 1 < data->n ? data->start[j + 1] : int(data->nz);
    double ratio = 0;
    for (int k = data->start[j]; k < end; k++) {
      const double reference = entry[data->row[k]];
      if (reference == 0) good = false;
      else if (ratio == 0) ratio = data->element[k] / reference;
      else if (std::fabs(data->element[k] / reference - ratio) > SAME_BOUND) good = false;
    }
  }
  qrt_freeTemporary(data->model, entry);
  if (good) return;
  data->nGroups--;  // its columns stay as they are
  qrtmesg_no(MSG_SEPARABLE_COSTS_ONLY);
}

void takeMarker(MpsData *data, ColumnState *state) {
  const CardReader *reader = &data->reader;
  const MarkerWord *word = nullptr;
  for (const MarkerWord &known : markerWords)
    if (fieldIs(reader->name3, reader->nameLength, known.text)) word = &known;
  if (!word) {
    tellName(data, MSG_UNKNOWN_MARKER, reader->name3, ECHO_MARKER);
    return;
  }
  const bool inOrder = word->opens ? state->open == MARK_NONE : state->open == word->group;
  if (!inOrder) {
    qrtmesg_no_i1(MSG_MARKER_SEQUENCE, reader->cardNumber);
    echoCard(data, ECHO_MARKER_SEQUENCE);
    return;
  }
  if (!word->opens) {
    if (word->group == MARK_SEPARABLE) closeSeparable(data);
    state->open = MARK_NONE;
    state->type = COLUMN_CONTINUOUS;
    state->set = 0;
    state->setRow = -1;
    return;
  }
  state->open = word->group;
  if (word->group == MARK_INTEGERS) state->type = COLUMN_INTEGER;
  if (word->group == MARK_SET) openSet(data, state);
  if (word->group == MARK_SEPARABLE) openSeparable(data);
}

void addElement(MpsData *data, int32_t row, double value) {
  int64_t room = data->room.elements;
  if (!data->row || data->nz >= room) {
    data->row = static_cast<int32_t *>(growRoom(data->model, data->row, data->nz, &room, 4, FIRST_ELEMENTS));
    room = data->room.elements;
    data->element = static_cast<double *>(growRoom(data->model, data->element, data->nz, &room, 8, FIRST_ELEMENTS));
    data->room.elements = room;
  }
  data->row[data->nz] = row;
  data->element[data->nz++] = value;
}

template <class T> void growColumns(MpsData *data, T **array, int entry) {
  int64_t room = data->room.columns;
  *array = static_cast<T *>(growRoom(data->model, *array, data->n + 1, &room, entry, FIRST_COLUMNS));
}

void startColumn(MpsData *data, ColumnState *state, const char *name) {
  const int L = data->reader.nameLength;
  if (!data->columnNames || data->n + 1 >= data->room.columns) {
    // One more start than columns: the arrays grow one entry early, and are copied one entry further.
    growColumns(data, &data->columnType, 1);
    growColumns(data, &data->columnSet, 4);
    growColumns(data, &data->cost, 8);
    if (data->asked[SET_OBJECTIVE_CHANGE]) growColumns(data, &data->costChange, 8);
    growColumns(data, &data->start, 4);
    int64_t room = data->room.columns;
    data->columnNames = static_cast<char *>(growRoom(data->model, data->columnNames, data->n + 1, &room, L, FIRST_COLUMNS));
    data->room.columns = room;
  }
  const int j = data->n;
  memcpy(nameAt(data->columnNames, j, L), name, size_t(L));
  data->columnType[j] = state->type;
  data->columnSet[j] = state->set;
  data->cost[j] = 0;
  if (data->costChange) data->costChange[j] = 0;
  data->start[j] = int32_t(data->nz);
  data->n++;
  if (state->setRow >= 0) {
    addElement(data, state->setRow, 1.0);
    state->mark[state->setRow + 1] = data->n;
  }
}

void takeCost(MpsData *data, const char *name, double value, double *cost, bool count) {
  if (*cost != 0) tellName(data, MSG_DUPLICATE_ENTRY, name, ECHO_OBJECTIVE);
  *cost = std::fabs(value) < qrtlplp.Rtolmps ? 0 : value;
  if (count && *cost != 0) data->nCosts++;
}

void takeEntry(MpsData *data, ColumnState *state, const char *name, double value) {
  const int32_t index = qrthash(&data->rowTable, name);
  if (index > data->m) {
    data->nDiscarded++;
  } else if (index > 0) {
    if (state->setRow == index - 1) return;
    if (state->mark[index] == data->n) {
      tellName(data, MSG_DUPLICATE_ENTRY, name, ECHO_DUPLICATE_ENTRY);
    } else if (std::fabs(value) >= qrtlplp.Rtolmps) {
      addElement(data, index - 1, value);
      state->mark[index] = data->n;
    }
  } else if (isSet(data, SET_OBJECTIVE, name)) {
    takeCost(data, name, value, &data->cost[data->n - 1], true);
  } else if (data->asked[SET_OBJECTIVE_CHANGE] && isSet(data, SET_OBJECTIVE_CHANGE, name)) {
    takeCost(data, name, value, &data->costChange[data->n - 1], false);
  } else {
    tellName(data, MSG_NO_ROW, name, ECHO_ROW);
  }
}

bool endsColumns(const CardReader *reader) {
  return sectionBegins(reader, "RHS") || sectionBegins(reader, "RANG") || sectionBegins(reader, "BOUN") ||
         sectionBegins(reader, "ENDA") || sectionBegins(reader, "NAME");
}

}  // namespace

int qrtcols(MpsData *data) {
  CardReader *reader = &data->reader;
  const int L = reader->nameLength;
  reader->sectionState = STATE_COLUMNS;
  ColumnState state = {MARK_NONE, COLUMN_CONTINUOUS, 0, -1, nullptr};
  const int64_t marks = int64_t(data->m) + data->nDropped + 1;
  state.mark = static_cast<int32_t *>(temporaryAllocate(data->model, marks, 4));
  memset(state.mark, 0, size_t(marks) * 4);
  int kind = CARD_DATA;
  for (;;) {
    qrtincd(reader, 1, &kind);
    if (kind != CARD_DATA) break;
    if (reader->name2[0] == '\'' && fieldIs(reader->name2, L, "'MARKER'")) {
      takeMarker(data, &state);
      continue;
    }
    if (isBlank(reader->name1, L)) {
      qrtmesg_no_i1(MSG_BLANK_COLUMN, reader->cardNumber);
      echoCard(data, ECHO_BLANK_COLUMN);
      continue;
    }
    if (data->nz >= MOST_ELEMENTS || data->n >= MOST_ELEMENTS) return READ_COLUMN_STORAGE;
    if (data->n == 0 || memcmp(nameAt(data->columnNames, data->n - 1, L), reader->name1, size_t(L)) != 0)
      startColumn(data, &state, reader->name1);
    if (reader->pairs > 0) takeEntry(data, &state, reader->name2, reader->value2);
    if (reader->pairs > 1) takeEntry(data, &state, reader->name3, reader->value3);
  }
  if (state.open == MARK_SEPARABLE) closeSeparable(data);
  if (!data->start) data->start = static_cast<int32_t *>(temporaryAllocate(data->model, 1, 4));
  data->start[data->n] = int32_t(data->nz);
  qrt_freeTemporary(data->model, state.mark);
  return kind == CARD_END || !endsColumns(reader) ? READ_BAD_SECTION : READ_OK;
}

// A column that comes again further down the section joins the first of its name.
int qrtdups(MpsData *data) {
  const int L = data->reader.nameLength;
  NameTable table;
  if (qrtmkhash(data->model, &table, data->columnNames, L, data->n, false) == 0) {
    data->columnTable = table;
    return READ_OK;
  }
  QRTModel *model = data->model;
  int32_t *target = static_cast<int32_t *>(temporaryAllocate(model, data->n, 4));
  int n = 0, failure = READ_OK;
  for (int j = 0; j < data->n; j++) {
    const int first = qrthash(&table, nameAt(data->columnNames, j, L)) - 1;
    if (first == j) {
      target[j] = n++;
      continue;
    }
    target[j] = target[first];
    if (data->cost[first] != 0 && data->cost[j] != 0) {
      messageD(1, data->cost[first]);
      messageD(2, data->cost[j]);
      qrtmesg_no_q1(MSG_DUPLICATE_OBJECTIVE, nameAt(data->columnNames, j, L), L);
      failure = READ_DUPLICATE_NAMES;
    } else if (data->cost[j] != 0) {
      data->cost[first] = data->cost[j];
    }
  }
  qrtmesg_no_i2(MSG_DUPLICATE_COLUMNS, data->n, n);
  // The elements in order of their new columns, by counting.
  int32_t *start = static_cast<int32_t *>(temporaryAllocate(model, int64_t(n) + 2, 4));
  int32_t *row = static_cast<int32_t *>(temporaryAllocate(model, data->nz + 1, 4));
  double *element = static_cast<double *>(temporaryAllocate(model, data->nz + 1, 8));
  memset(start, 0, (size_t(n) + 2) * 4);
  for (int j = 0; j < data->n; j++) start[target[j] + 2] += data->start[j + 1] - data->start[j];
  for (int j = 2; j <= n + 1; j++) start[j] += start[j - 1];  // start[j + 1]: where the next of column j goes
  for (int j = 0; j < data->n; j++)
    for (int k = data->start[j]; k < data->start[j + 1]; k++) {
      const int place = start[target[j] + 1]++;
      row[place] = data->row[k];
      element[place] = data->element[k];
    }
  for (int j = 0; j < data->n; j++) {
    const int to = target[j];
    if (qrthash(&table, nameAt(data->columnNames, j, L)) - 1 != j) continue;
    data->columnType[to] = data->columnType[j];
    data->columnSet[to] = data->columnSet[j];
    data->cost[to] = data->cost[j];
    if (data->costChange) data->costChange[to] = data->costChange[j];
  }
  char *names = static_cast<char *>(temporaryAllocate(model, n, L));
  for (int j = 0; j < data->n; j++)
    if (qrthash(&table, nameAt(data->columnNames, j, L)) - 1 == j)
      memcpy(nameAt(names, target[j], L), nameAt(data->columnNames, j, L), size_t(L));
  data->columnNames = names;
  data->start = start;
  data->row = row;
  data->element = element;
  data->n = n;
  qrtmkhash(model, &data->columnTable, names, L, n, false);
  return failure;
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

void tellTwice(const MpsData *data, const char *name, int echo) {
  qrtmesg_no_q1(MSG_DUPLICATE_NAME, name, data->reader.nameLength);
  echoCard(data, echo);
}

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
    if (!isSet(data, SET_OBJECTIVE, name)) {
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
    if (choose) takeSet(data, set, reader->name1);
    choose = false;
    int mode = 0;
    if (isSet(data, set, reader->name1)) {
      mode = 1;
      found = true;
    } else if (data->asked[changeSet] && isSet(data, changeSet, reader->name1)) {
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

// ---- BOUNDS ----

namespace {

enum : int { BOUND_LO, BOUND_UP, BOUND_FX, BOUND_MI, BOUND_FR, BOUND_PL, BOUND_BV, BOUND_UI, BOUND_UNKNOWN };
const char boundTypes[][5] = {" LO ", " UP ", " FX ", " MI ", " FR ", " PL ", " BV ", " UI "};  // ORDER as above

int boundTypeOf(const char *head) {
  int type = 0;
  while (type < BOUND_UNKNOWN && memcmp(head, boundTypes[type], 4) != 0) type++;
  return type;
}

void takeLower(MpsData *data, const char *name, double value, double *lower, double upper) {
  if (same(*lower, value)) return;
  if (!same(*lower, 0)) {
    tellTwice(data, name, ECHO_BOUND);
    return;
  }
  if (upper < value - SAME_BOUND) tellBounds(data, name, value, upper, ECHO_BOUND);
  *lower = value;
}

// A negative upper bound on a column that has no other opens the lower one; zero does not.
void takeUpper(MpsData *data, const char *name, double value, double *lower, double *upper) {
  if (same(*upper, value)) return;
  if (*upper == QRT_INFINITY && same(*lower, 0) && value < -SAME_BOUND) *lower = -QRT_INFINITY;
  if (*upper == QRT_INFINITY) {
    if (value < *lower - SAME_BOUND) tellBounds(data, name, *lower, value, ECHO_BOUND);
    *upper = value;
  } else if (same(*upper, 0) && *lower == -QRT_INFINITY) {
    *upper = value;
  } else {
    tellTwice(data, name, ECHO_BOUND);
  }
}

void takeBound(MpsData *data, int type, int j, double value) {
  const char *name = data->reader.name2;
  double *lower = &data->columnLower[j];
  double *upper = &data->columnUpper[j];
  const bool untouched = same(*lower, 0) && *upper == QRT_INFINITY;
  switch (type) {
    case BOUND_LO: takeLower(data, name, value, lower, *upper); break;
    case BOUND_UP: takeUpper(data, name, value, lower, upper); break;
    case BOUND_FX:
      if (untouched || same(value, *lower) || same(value, *upper)) *lower = *upper = value;
      else tellBounds(data, name, *lower, *upper, ECHO_BOUND);
      break;
    case BOUND_MI:
      if (same(*lower, 0)) *lower = -QRT_INFINITY;
      else tellBounds(data, name, *lower, *upper, ECHO_BOUND);
      break;
    case BOUND_FR:
      if (untouched) *lower = -QRT_INFINITY;
      else tellBounds(data, name, *lower, *upper, ECHO_BOUND);
      break;
    case BOUND_PL: *upper = QRT_INFINITY; break;
    default:
      if (data->columnType[j] == COLUMN_CONTINUOUS) data->columnType[j] = COLUMN_INTEGER;
      takeUpper(data, name, type == BOUND_BV ? 1.0 : value, lower, upper);
  }
}

void takeBoundChange(MpsData *data, int type, int j, double value) {
  double *lower = &data->lowerChange[data->m + j];
  double *upper = &data->upperChange[data->m + j];
  switch (type) {
    case BOUND_LO:
      if (!same(value, data->columnLower[j])) *lower = value;
      break;
    case BOUND_UP:
      if (!same(value, data->columnUpper[j])) *upper = value;
      break;
    case BOUND_FX: *lower = *upper = value; break;
    case BOUND_MI: *lower = -QRT_INFINITY; break;
    case BOUND_FR:
      *lower = -QRT_INFINITY;
      *upper = QRT_INFINITY;
      break;
    case BOUND_PL: *upper = QRT_INFINITY; break;
    default: break;
  }
}

void takeBoundCard(MpsData *data, bool change) {
  const CardReader *reader = &data->reader;
  const int type = boundTypeOf(reader->head);
  if (type == BOUND_UNKNOWN) {
    qrtmesg_no_q1_i1(MSG_BOUND_TYPE, reader->head, 4, reader->cardNumber);
    echoCard(data, ECHO_BOUND_TYPE);
    return;
  }
  const int j = qrthash(&data->columnTable, reader->name2) - 1;
  if (j < 0) {
    tellName(data, MSG_NO_COLUMN, reader->name2, ECHO_NO_COLUMN);
    return;
  }
  const bool numeric = type == BOUND_LO || type == BOUND_UP || type == BOUND_FX || type == BOUND_UI;
  const double value = numeric && reader->pairs > 0 ? reader->value2 : 0;
  if (change) takeBoundChange(data, type, j, value);
  else takeBound(data, type, j, value);
}

}  // namespace

int qrtclbd(MpsData *data) {
  CardReader *reader = &data->reader;
  const int64_t room = int64_t(data->n) + 1;
  data->columnLower = static_cast<double *>(temporaryAllocate(data->model, room, 8));
  data->columnUpper = static_cast<double *>(temporaryAllocate(data->model, room, 8));
  for (int j = 0; j < data->n; j++) {
    data->columnLower[j] = 0;
    data->columnUpper[j] = QRT_INFINITY;
  }
  if (!sectionBegins(reader, "BOUN")) return READ_OK;
  reader->sectionState = STATE_BOUNDS;
  bool choose = isBlank(data->sets[SET_BOUND], 80);
  bool found = false;
  for (;;) {
    int kind = CARD_END;
    qrtincd(reader, 1, &kind);
    if (kind == CARD_END) return READ_BAD_SECTION;
    if (kind == CARD_SECTION) break;
    if (choose) takeSet(data, SET_BOUND, reader->name1);
    choose = false;
    if (isSet(data, SET_BOUND, reader->name1)) {
      found = true;
      takeBoundCard(data, false);
    } else if (data->asked[SET_BOUND_CHANGE] && isSet(data, SET_BOUND_CHANGE, reader->name1)) {
      takeBoundCard(data, true);
    }
  }
  if (!sectionBegins(reader, "ENDA") && !sectionBegins(reader, "NAME")) return READ_BAD_SECTION;
  return data->asked[SET_BOUND] && !found ? READ_NO_BOUND : READ_OK;
}

// ---- integer columns ----

namespace {

double roundUp(double lower, double tolerance) {
  return lower >= 0 ? std::trunc(lower + 1 - tolerance) : std::trunc(lower - 1 + tolerance);
}

double roundDown(double upper, double tolerance) {
  return upper >= 0 ? std::trunc(upper + tolerance) : std::trunc(upper - tolerance);
}

// Branching needs finite bounds: an open one is taken one above the other.
void closeIntegerBounds(MpsData *data, int j, double tolerance) {
  double lower = data->columnLower[j];
  double upper = data->columnUpper[j];
  if (upper >= NO_BOUND_LIMIT) {
    upper = lower + 1;
    if (lower <= -tolerance) upper = 0;
    if (lower <= -NO_BOUND_LIMIT) {
      lower = 0;
      upper = 1;
    }
  } else if (lower <= -NO_BOUND_LIMIT) {
    lower = upper - 1;
  }
  lower = roundUp(lower, tolerance);
  upper = roundDown(upper, tolerance);
  if (upper < lower) {
    tellBounds(data, nameAt(data->columnNames, j, data->reader.nameLength), lower, upper, 0);
    lower = 0;
    upper = 1;
  }
  data->columnLower[j] = lower;
  data->columnUpper[j] = upper;
}

}  // namespace

void qrtibnd(MpsData *data) {
  const double tolerance = qrtint3.Rtolint;
  for (int j = 0; j < data->n; j++) {
    const char type = data->columnType[j];
    if (type == COLUMN_CONTINUOUS) continue;
    data->nTyped++;
    if (type == COLUMN_INTEGER) closeIntegerBounds(data, j, tolerance);
    if (type == COLUMN_ROW_SET) {
      // The set's row says that the set sums to 1.
      const int row = data->setRow[data->columnSet[j] - 1];
      data->rowLower[row] = data->rowUpper[row] = 1;
    }
  }
  if (data->integerUnit > 0 && (data->nTyped > 0 || data->nGroups > 0)) writeIntegerFile(data, data->integerUnit);
  if (data->nTyped > 0) qrtmesg_no_i2(MSG_INTEGERS_READ, data->nTyped, data->nSets);
}

const char *mpsData_check(const MpsData *data) {
  if (data->m < 0 || data->n < 0 || data->nz < 0) return "a count is negative";
  if (data->start[0] != 0 || data->start[data->n] != data->nz) return "the column starts do not span the elements";
  for (int j = 0; j < data->n; j++) {
    if (data->start[j + 1] < data->start[j]) return "the column starts go down";
    if (data->columnSet[j] < 0 || data->columnSet[j] > data->nSets) return "a column is in no set";
    if (std::isnan(data->columnLower[j]) || std::isnan(data->columnUpper[j])) return "a column bound is no number";
  }
  for (int64_t k = 0; k < data->nz; k++) {
    if (data->row[k] < 0 || data->row[k] >= data->m) return "an element lies outside the rows";
    if (!std::isfinite(data->element[k])) return "an element is not finite";
  }
  for (int i = 0; i < data->m; i++)
    if (std::isnan(data->rowLower[i]) || std::isnan(data->rowUpper[i])) return "a row bound is no number";
  return nullptr;
}
