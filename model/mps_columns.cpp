// The COLUMNS section of an MPS file with its markers, and columns that stand in two places of it.
#include <cmath>
#include <cstring>

#include "frame/guarded_memory.h"
#include "frame/messages.h"
#include "frame/records.h"
#include "model/mps_reader.h"

namespace {

constexpr int64_t FIRST_COLUMNS = 1000;
constexpr int64_t FIRST_ELEMENTS = 5000;
constexpr int64_t MOST_ELEMENTS = 0x7ffffff0;
constexpr double SAME_RATIO = 1e-12;  // of the segments of a piecewise-linear column

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
      else if (std::fabs(data->element[k] / reference - ratio) > SAME_RATIO) good = false;
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
  } else if (isSetName(data, SET_OBJECTIVE, name)) {
    takeCost(data, name, value, &data->cost[data->n - 1], true);
  } else if (data->asked[SET_OBJECTIVE_CHANGE] && isSetName(data, SET_OBJECTIVE_CHANGE, name)) {
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
