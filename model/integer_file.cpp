// The integer information file: what kind each integer column is, and the sets. The MPS reader writes one for what
// it found between markers, and reads it, or one of the caller's, into the model.
//
//     NAME          INTEGERS  FORMATA
//     VARIABLES
//      BV COLUMN                            0 or 1; UI integer, CO member of a set only, NL piecewise linear
//     SETS
//      S1 SET00001  PRI              100    then one card a member
//         COLUMN    RFV                1
//     ENDATA
//
// Cards have the fixed layout for names of max(L, 8) characters.

#include <unistd.h>

#include <algorithm>
#include <cmath>
#include <cstdlib>
#include <cstring>

#include "frame/guarded_memory.h"
#include "frame/messages.h"
#include "frame/units.h"
#include "model/integer_sets.h"
#include "model/mps_reader.h"

namespace {

enum : int {
  MSG_UNKNOWN_KEYWORD = 91,
  MSG_WRONG_SECTION = 144,
  MSG_SET_MEMBER_UNKNOWN = 145,
  MSG_FORMAT_A = 387,
  MSG_MASK_COUNT = 437,
  MSG_SET_MASK_COUNT = 439,
  MSG_SEGMENT_LOWER = 466,
  MSG_SEGMENT_COSTS = 467,
  MSG_SEGMENT_VALUES = 468,
  MSG_UNKNOWN_ATTRIBUTE = 476,
  MSG_TWO_FIELDS = 477,
  MSG_BAD_PRIORITY = 478,
  MSG_BAD_PSEUDO_COST = 479,
  MSG_WILDCARDS = 480,
  MSG_DEFINED_TWICE = 481
};

constexpr double DEFAULT_PRIORITY = 100;
constexpr double DEFAULT_PSEUDO_COST = 0.001;
constexpr int MOST_PRIORITY = 65535;

int fileNameLength(int L) { return L > 8 ? L : 8; }

// ---- writing ----

// One card: head, two names and a number, in the layout of the file's name length.
void putCard(FILE *stream, int width, const char *head, const char *name, int nameLength, const char *word,
             bool hasValue, double value) {
  const char *gap = width == 8 ? "  " : " ";
  fprintf(stream, "%s%-*.*s", head, width, nameLength, name);
  if (word) fprintf(stream, "%s%-*s", gap, width, word);
  if (hasValue) fprintf(stream, "%s%12.6g", gap, value);
  fputc('\n', stream);
}

// The unit the file is written on: what is open, else a file of /tmp that vanishes with the process.
FILE *integerStream(int unit) {
  if (qrtfindfile(unit)) {
    qrt_f_rew(0, unit);
    return qrt_FILE(unit);
  }
  char name[] = "/tmp/tavstoch-integers-XXXXXX";
  const int descriptor = mkstemp(name);
  if (descriptor >= 0) {
    close(descriptor);
    const OpenList request = {1, unit, name, int(strlen(name)), "UNKNOWN", "SEQUENTIAL", "FORMATTED", 0, nullptr};
    qrt_f_open(&request);
    unlink(name);
  }
  FILE *stream = qrt_FILE(unit);
  if (!stream) qrtmesg_no_q1(MSG_CANNOT_OPEN, "/tmp/tempFile", -1);
  return stream;
}

void writeVariables(const MpsData *data, FILE *stream, int width) {
  const int L = data->reader.nameLength;
  fputs("VARIABLES\n", stream);
  for (int j = 0; j < data->n; j++) {
    const char type = data->columnType[j];
    if (type == COLUMN_CONTINUOUS) continue;
    const bool zeroOne = data->columnLower[j] == 0 && data->columnUpper[j] == 1;
    const char *head = type == COLUMN_S1 || type == COLUMN_S2 ? " CO " : zeroOne ? " BV " : " UI ";
    putCard(stream, width, head, data->columnNames + int64_t(j) * L, L, nullptr, false, 0);
  }
  for (int group = 0; group < data->nGroups; group++) {
    const int first = data->groupFirst[group];
    if (first >= data->groupEnd[group]) continue;
    const char *name = data->columnNames + int64_t(first) * L;
    // The segments follow one another: each begins where the one before it ends.
    double end = data->columnLower[first];
    putCard(stream, width, " NL ", name, L, "LOWERC", true, data->cost[first] * end);
    putCard(stream, width, " NL ", name, L, "LOWERB", true, end);
    end = data->columnUpper[first];
    putCard(stream, width, " NL ", name, L, "UPPERC", true, data->cost[first] * (end < QRT_INFINITE_TEST ? end : 1));
    putCard(stream, width, " NL ", name, L, "UPPERB", true, end);
    const double reference = data->start[first] < data->start[first + 1] ? data->element[data->start[first]] : 1;
    for (int j = first + 1; j < data->groupEnd[group]; j++) {
      const double dratio = data->start[j] < data->start[j + 1] ? data->element[data->start[j]] / reference : 1;
      end += data->columnUpper[j] * dratio;
      putCard(stream, width, " NL ", name, L, "SLOPE", true, data->cost[j] / dratio);
      putCard(stream, width, " NL ", name, L, "UPPERB", true, end < QRT_INFINITY ? end : QRT_INFINITY);
    }
  }
}

void writeSets(const MpsData *data, FILE *stream, int width) {
  if (data->nSets == 0) return;
  const int L = data->reader.nameLength;
  static const char heads[][5] = {"    ", " SI ", " S1 ", " S2 "};  // ORDER COLUMN_...
  fputs("SETS\n", stream);
  int set = 0, place = 0;
  for (int j = 0; j < data->n; j++) {
    if (data->columnSet[j] == 0) continue;
    if (data->columnSet[j] != set) {
      set = data->columnSet[j];
      place = 0;
      char name[24];
      snprintf(name, sizeof name, "SET%05d", set);
      putCard(stream, width, heads[int(data->setType[set - 1])], name, int(strlen(name)), "PRI", true, DEFAULT_PRIORITY);
    }
    const char *name = data->columnNames + int64_t(j) * L;
    putCard(stream, width, "    ", name, L, "RFV", true, ++place);
    putCard(stream, width, "    ", name, L, "PCD", true, DEFAULT_PSEUDO_COST);
  }
}

}  // namespace

void writeIntegerFile(const MpsData *data, int unit) {
  FILE *stream = integerStream(unit);
  if (!stream) return;
  const int width = fileNameLength(data->reader.nameLength);
  fprintf(stream, "NAME          INTEGERS  FORMATA\n");
  writeVariables(data, stream, width);
  writeSets(data, stream, width);
  fputs("ENDATA\n", stream);
  fflush(stream);
  qrtfindfile(unit)->written = 1;
}

// ---- reading ----

namespace {

enum : char { KIND_NONE = 0, KIND_INTEGER = 1, KIND_MEMBER = 2, KIND_PIECEWISE = 3 };

struct SegmentState {
  int column;          // of the segments, -1 none
  int segments;        // finished
  bool hasLower;
  double lower, end;   // LOWERB of this segment, UPPERB of the one before
  int costs;           // LOWERC, UPPERC or SLOPE seen since the last UPPERB; a slope counts twice
};

struct IntegerFile {
  QRTModel *model;
  const NameTable *columns;
  CardReader reader;
  char *kind;          // [n] KIND_...
  char wildcard, single;  // any run of characters, any one character; 0 none
  SegmentState segment;
  EntityRecord *sets;
  MemberRecord *members;
  int64_t nSets, nMembers, setRoom, memberRoom;
  char setName[80];
};

void tellCard(const IntegerFile *file, int message, const char *text, int length) {
  qrtmesg_no_q1_i1(message, text, length, file->reader.cardNumber);
}

bool nameIs(const char *name, int length, const char *word) { return fieldIs(name, length, word); }

// Does `name` fit the mask? Linear but for one place to go back to.
bool matches(const IntegerFile *file, const char *mask, int maskLength, const char *name, int nameLength) {
  int m = 0, k = 0, backMask = -1, backName = 0;
  while (k < nameLength) {
    if (m < maskLength && file->wildcard && mask[m] == file->wildcard) {
      backMask = ++m;
      backName = k;
    } else if (m < maskLength && (mask[m] == name[k] || (file->single && mask[m] == file->single))) {
      m++;
      k++;
    } else if (backMask >= 0) {
      m = backMask;
      k = ++backName;
    } else {
      return false;
    }
  }
  while (m < maskLength && file->wildcard && mask[m] == file->wildcard) m++;
  return m == maskLength;
}

int usedLength(const char *name, int length) {
  while (length > 0 && name[length - 1] == ' ') length--;
  return length;
}

bool isMask(const IntegerFile *file, const char *name, int length) {
  for (int k = 0; k < length; k++)
    if ((file->wildcard && name[k] == file->wildcard) || (file->single && name[k] == file->single)) return true;
  return false;
}

// The next column after `from` that a card's name means, or -1.
int nextColumn(const IntegerFile *file, const char *name, int from) {
  const NameTable *columns = file->columns;
  const int used = usedLength(name, file->reader.nameLength);
  if (!isMask(file, name, used)) {
    if (from >= 0 || used > columns->length) return -1;
    return qrthash(columns, name) - 1;
  }
  for (int j = from + 1; j < columns->count; j++) {
    const char *column = columns->names + int64_t(j) * columns->length;
    if (matches(file, name, used, column, usedLength(column, columns->length))) return j;
  }
  return -1;
}

struct KindRow {
  char head[5];
  char kind;
  bool ofSets;
  int setType;         // of EntityRecord
};
const KindRow kindRows[] = {{" BV ", KIND_INTEGER, false, 0}, {" UI ", KIND_INTEGER, false, 0},
                            {" CO ", KIND_MEMBER, false, 0},  {" NL ", KIND_PIECEWISE, false, 0},
                            {" QQ ", KIND_PIECEWISE, false, 0}, {" MS ", KIND_NONE, false, 0},
                            {" IN ", KIND_NONE, true, 1},     {" SI ", KIND_NONE, true, 2},
                            {" S1 ", KIND_NONE, true, 3},     {" S2 ", KIND_NONE, true, 4},
                            {" JO ", KIND_NONE, true, 1}};

const KindRow *kindOf(const IntegerFile *file, bool ofSets) {
  for (const KindRow &row : kindRows) {
    if (memcmp(row.head, file->reader.head, 4) != 0) continue;
    if (row.ofSets == ofSets) return &row;
    tellCard(file, MSG_WRONG_SECTION, file->reader.head, 4);
    return nullptr;
  }
  tellCard(file, MSG_UNKNOWN_KEYWORD, file->reader.head, 4);
  return nullptr;
}

// One attribute of a piecewise-linear column. The segments are checked; the columns stand in the model themselves.
void takeSegment(IntegerFile *file, int column, const char *word, int length, double value) {
  SegmentState *s = &file->segment;
  const char *name = file->columns->names + int64_t(column) * file->columns->length;
  if (s->column != column) *s = {column, 0, false, 0, -QRT_INFINITY, 0};
  if (nameIs(word, length, "LOWERB")) {
    s->hasLower = true;
    s->lower = value;
    if (s->segments > 0 && value < s->end) {
      messageI(1, s->segments + 1);
      messageD(2, value);
      qrtmesg_no_q1_i1(MSG_SEGMENT_LOWER, name, file->columns->length, s->segments + 1);
    }
  } else if (nameIs(word, length, "LOWERC") || nameIs(word, length, "UPPERC")) {
    s->costs++;
  } else if (nameIs(word, length, "SLOPE")) {
    s->costs += 2;
  } else if (nameIs(word, length, "UPPERB")) {
    s->segments++;
    if (s->costs < 2) qrtmesg_no_q1_i1(MSG_SEGMENT_COSTS, name, file->columns->length, s->segments);
    const double begin = s->hasLower ? s->lower : s->end;
    if (value < begin) qrtmesg_no_q1_i1(MSG_SEGMENT_VALUES, name, file->columns->length, s->segments);
    s->end = value;
    s->hasLower = false;
    s->costs = 0;
  } else if (!nameIs(word, length, "QA") && !nameIs(word, length, "QB") && !nameIs(word, length, "QC") &&
             !nameIs(word, length, "TYPE")) {
    tellCard(file, MSG_UNKNOWN_KEYWORD, word, length);
  }
}

void takeVariable(IntegerFile *file, const KindRow *row, int column) {
  QRTModel *model = file->model;
  const NameTable *columns = file->columns;
  if (row->kind != KIND_PIECEWISE && file->kind[column] != KIND_NONE) {
    qrtmesg_no_q1(MSG_DEFINED_TWICE, columns->names + int64_t(column) * columns->length, columns->length);
    return;
  }
  file->kind[column] = row->kind;
  if (row->kind == KIND_INTEGER) markInteger(model, column, 1);
  if (memcmp(row->head, " BV ", 4) != 0) return;
  double *lower = &model->lower[model->Imaxrows + column];
  double *upper = &model->upper[model->Imaxrows + column];
  if (*lower < 0 || *upper > 1) {
    *lower = 0;
    *upper = 1;
  }
}

// VARIABLES, up to the next section card; its kind is returned.
int qrtivar(IntegerFile *file) {
  CardReader *reader = &file->reader;
  for (;;) {
    int kind = CARD_END;
    qrtincd(reader, 2, &kind);
    if (kind != CARD_DATA) return kind;
    const KindRow *row = kindOf(file, false);
    if (!row) continue;
    if (memcmp(row->head, " MS ", 4) == 0) {
      file->wildcard = reader->name1[0] == ' ' ? '\0' : reader->name1[0];
      file->single = reader->pairs > 0 ? reader->name2[0] : '\0';
      qrtmesg_no_q2(MSG_WILDCARDS, &file->wildcard, file->wildcard ? 1 : 0, &file->single, file->single ? 1 : 0);
      continue;
    }
    const int L = reader->nameLength;
    int count = 0;
    for (int j = nextColumn(file, reader->name1, -1); j >= 0; j = nextColumn(file, reader->name1, j)) {
      count++;
      takeVariable(file, row, j);
      for (int pair = 1; row->kind == KIND_PIECEWISE && pair <= reader->pairs; pair++) {
        double value = 0;
        cardNumber(reader, pair + 1, &value);
        takeSegment(file, j, pair == 1 ? reader->name2 : reader->name3, L, value);
      }
    }
    if (isMask(file, reader->name1, L)) {
      messageI(1, count);
      qrtmesg_no_q1_i1(MSG_MASK_COUNT, reader->name1, L, count);
    } else if (count == 0) {
      qrtmesg_no_q1_i1(MSG_NO_COLUMN, reader->name1, L, reader->cardNumber);
      qrtmesg_no_qmesg(ECHO_NO_COLUMN, reader->text, CARD_COLUMNS);
    }
  }
}

void openEntry(IntegerFile *file, const KindRow *row) {
  QRTModel *model = file->model;
  file->sets = static_cast<EntityRecord *>(
    growRoom(model, file->sets, file->nSets, &file->setRoom, int(sizeof(EntityRecord)), 100));
  file->sets[file->nSets++] = {row->setType, int(DEFAULT_PRIORITY), 0, int(file->nMembers)};
  memcpy(file->setName, file->reader.name1, sizeof file->setName);
}

void takeSetAttribute(IntegerFile *file, const char *word, bool good, double value) {
  const int L = file->reader.nameLength;
  if (nameIs(word, L, "RFR") || nameIs(word, L, "RFO")) return;
  if (nameIs(word, L, "PRI")) {
    if (good && value >= 1 && value <= MOST_PRIORITY) file->sets[file->nSets - 1].priority = int(value);
    else qrtmesg_no_i1_d1(MSG_BAD_PRIORITY, file->reader.cardNumber, value);
  } else if (nameIs(word, L, "PCU") || nameIs(word, L, "PCD")) {
    if (!good || value < 0) qrtmesg_no_i1_d1(MSG_BAD_PSEUDO_COST, file->reader.cardNumber, value);
  } else {
    qrtmesg_no_q2_i1(MSG_UNKNOWN_ATTRIBUTE, word, L, file->setName, L, file->reader.cardNumber);
  }
}

void takeMemberAttribute(IntegerFile *file, MemberRecord *member, const char *word, bool good, double value) {
  const int L = file->reader.nameLength;
  if (nameIs(word, L, "RFV")) {
    if (good) member->up = value;
  } else if (nameIs(word, L, "PCU") || nameIs(word, L, "PCD")) {
    if (!good || value < 0) qrtmesg_no_i1_d1(MSG_BAD_PSEUDO_COST, file->reader.cardNumber, value);
    else if (word[2] == 'D') member->down = value;
  } else {
    qrtmesg_no_q2_i1(MSG_UNKNOWN_ATTRIBUTE, word, L, file->setName, L, file->reader.cardNumber);
  }
}

// The member of the open set for a column; a card that follows one of the same column adds to it.
MemberRecord *memberOf(IntegerFile *file, int column) {
  EntityRecord *set = &file->sets[file->nSets - 1];
  if (set->count > 0 && file->members[file->nMembers - 1].column == column) return &file->members[file->nMembers - 1];
  file->members = static_cast<MemberRecord *>(
    growRoom(file->model, file->members, file->nMembers, &file->memberRoom, int(sizeof(MemberRecord)), 1000));
  MemberRecord *member = &file->members[file->nMembers++];
  *member = {column, 0, DEFAULT_PSEUDO_COST, double(++set->count)};
  markInteger(file->model, column, set->type == 4 ? 2 : 1);
  return member;
}

void takeMembers(IntegerFile *file) {
  const CardReader *reader = &file->reader;
  const int L = reader->nameLength;
  int count = 0;
  for (int j = nextColumn(file, reader->name1, -1); j >= 0; j = nextColumn(file, reader->name1, j)) {
    count++;
    if (file->kind[j] == KIND_NONE) {
      qrtmesg_no_q1(MSG_SET_MEMBER_UNKNOWN, reader->name1, L);
      continue;
    }
    MemberRecord *member = memberOf(file, j);
    for (int pair = 1; pair <= reader->pairs; pair++) {
      double value = 0;
      const bool good = cardNumber(reader, pair + 1, &value);
      takeMemberAttribute(file, member, pair == 1 ? reader->name2 : reader->name3, good, value);
    }
  }
  if (isMask(file, reader->name1, L)) {
    messageC(2, file->setName, L);
    qrtmesg_no_q2_i1(MSG_SET_MASK_COUNT, reader->name1, L, file->setName, L, count);
  } else if (count == 0) {
    qrtmesg_no_q1(MSG_SET_MEMBER_UNKNOWN, reader->name1, L);
  }
}

// SETS, up to the next section card; its kind is returned.
int qrtiist(IntegerFile *file) {
  CardReader *reader = &file->reader;
  for (;;) {
    int kind = CARD_END;
    qrtincd(reader, 2, &kind);
    if (kind != CARD_DATA) return kind;
    if (!isBlank(reader->head, 4)) {
      const KindRow *row = kindOf(file, true);
      if (!row) continue;
      openEntry(file, row);
      for (int pair = 1; pair <= reader->pairs; pair++) {
        double value = 0;
        const bool good = cardNumber(reader, pair + 1, &value);
        takeSetAttribute(file, pair == 1 ? reader->name2 : reader->name3, good, value);
      }
    } else if (file->nSets == 0 || isBlank(reader->name1, reader->nameLength)) {
      qrtmesg_no_q2_i1(MSG_TWO_FIELDS, "", 0, file->setName, reader->nameLength, reader->cardNumber);
    } else {
      takeMembers(file);
    }
  }
}

// Members ascend by their reference values; the sets replace those of the model.
void installSets(IntegerFile *file) {
  dropEntities(file->model);
  for (int64_t k = 0; k < file->nSets; k++) {
    const EntityRecord *set = &file->sets[k];
    MemberRecord *first = file->members + set->first;
    std::sort(first, first + set->count, [](const MemberRecord &a, const MemberRecord &b) { return a.up < b.up; });
    storeEntity(file->model, set->type, set->priority, set->count, first);
  }
}

}  // namespace

void qrtrdinf(QRTModel *model, const NameTable *columns, int unit, bool silent) {
  if (!qrtfindfile(unit)) return;
  qrt_f_rew(0, unit);
  IntegerFile file;
  memset(static_cast<void *>(&file), 0, sizeof file);
  file.model = model;
  file.columns = columns;
  file.segment.column = -1;
  memset(file.setName, ' ', sizeof file.setName);
  file.kind = static_cast<char *>(temporaryAllocate(model, int64_t(columns->count) + 1, 1));
  memset(file.kind, 0, size_t(columns->count) + 1);
  startCards(&file.reader, unit, fileNameLength(columns->length), false);
  file.reader.silent = silent;
  int kind = CARD_END;
  qrtincd(&file.reader, 2, &kind);
  if (kind == CARD_END) return;
  if (fieldIs(file.reader.number2, int(sizeof file.reader.number2), "FORMATA")) qrtmesg_no(MSG_FORMAT_A);
  qrtincd(&file.reader, 2, &kind);
  while (kind == CARD_SECTION && !sectionBegins(&file.reader, "ENDA")) {
    if (sectionBegins(&file.reader, "VARI")) {
      kind = qrtivar(&file);
    } else if (sectionBegins(&file.reader, "SETS")) {
      kind = qrtiist(&file);
    } else {
      tellCard(&file, MSG_UNKNOWN_KEYWORD, file.reader.text, 8);
      do qrtincd(&file.reader, 2, &kind);
      while (kind == CARD_DATA);
    }
  }
  installSets(&file);
}
