// Bounds of columns: the BOUNDS section of an MPS file, and what integer columns need besides.
#include <cmath>
#include <cstring>

#include "frame/guarded_memory.h"
#include "frame/messages.h"
#include "frame/records.h"
#include "model/mps_reader.h"

namespace {

constexpr double SAME_BOUND = 1e-12;

bool same(double a, double b) { return a == b || std::fabs(a - b) <= SAME_BOUND; }

// ---- BOUNDS ----

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
    if (choose) takeSetName(data, SET_BOUND, reader->name1);
    choose = false;
    if (isSetName(data, SET_BOUND, reader->name1)) {
      found = true;
      takeBoundCard(data, false);
    } else if (data->asked[SET_BOUND_CHANGE] && isSetName(data, SET_BOUND_CHANGE, reader->name1)) {
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
