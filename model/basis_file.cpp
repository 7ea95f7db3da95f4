// A basis as a file of cards, out and in.
//
//      XU COLUMN    ROW        the column is basic, the row nonbasic at its upper bound (XL: at its lower)
//      BS NAME                 basic: a column without a row to pair with, or a row
//      UL, LL NAME             a nonbasic column at its upper or lower bound
//      FR COLUMN               a nonbasic column between its bounds
//
// What is not named: a row is basic, a column stands at the bound nearest to zero.
#include <cmath>
#include <cstring>

#include "frame/entry_frame.h"
#include "frame/guarded_memory.h"
#include "frame/messages.h"
#include "frame/records.h"
#include "frame/units.h"
#include "model/card_writer.h"
#include "model/mps_reader.h"

namespace {

constexpr int NOT_OPENED = 200, NOT_WRITTEN = 21, NOT_FOUND = 21;
constexpr int CONTROL_OF_MODEL = 0, CONTROL_OF_BASIS = 5;  // Cname, Cbasis
constexpr int VALUE_COLUMN = 25, VALUE_WIDTH = 12;         // of the first number with names of 8

bool isBasic(const QRTModel *model, int at) { return (uint32_t(model->status[at]) & STATUS_BASIC) != 0; }

// ---- out

CardName nameFor(const QRTModel *model, bool row, int k, char buffer[40]) {
  int length = 0;
  if (row ? model->rownames : model->colnames) {
    const char *name = row ? rowNameOf(model, k, buffer, &length) : columnNameOf(model, k, buffer, &length);
    if (length > 0) return {name, length};
  }
  length = snprintf(buffer, 40, "%c%7.7d", row ? 'R' : 'C', k + 1);
  return {buffer, length < nameLength(model) ? length : nameLength(model)};
}

// Where a nonbasic stands: the head of its card, null when it needs none; *value is set when no bound gives it.
const char *restOf(const QRTModel *model, int at, bool values, bool *off) {
  const double lower = model->lower[at], upper = model->upper[at], x = model->solution[at];
  const double t = qrtlplp.Rtolpinf;
  *off = false;
  if (lower > -QRT_INFINITE_TEST && std::fabs(x - lower) <= t) return upper - lower > 1.0e-12 ? " LL " : nullptr;
  if (upper < QRT_INFINITE_TEST && std::fabs(x - upper) <= t) return " UL ";
  *off = values;
  if (values) return " FR ";
  return (uint32_t(model->status[at]) & STATUS_SIDE_MASK) == STATUS_AT_UPPER ? " UL " : " LL ";
}

// All names padded to one length, for the name tables; made-up ones where the model has none.
char *paddedNames(QRTModel *model, bool row, int length) {
  const int count = row ? model->Inumrows : model->Inumcols;
  char *names = static_cast<char *>(temporaryAllocate(model, int64_t(count) + 1, length));
  memset(names, ' ', (size_t(count) + 1) * size_t(length));
  for (int k = 0; k < count; k++) {
    char buffer[40];
    const CardName name = nameFor(model, row, k, buffer);
    memcpy(names + int64_t(k) * length, name.text, size_t(name.length < length ? name.length : length));
  }
  return names;
}

void writeBasis(QRTModel *model, FILE *stream, bool values, bool binary) {
  CardWriter cards;
  cards_start(&cards, stream, UNIT_IMPORT, nameLength(model), binary, 1);
  const char *name = model->characterControls[CONTROL_OF_MODEL];
  NameTable columns;
  const int L = nameLength(model);
  qrtmkhash(model, &columns, paddedNames(model, false, L), L, model->Inumcols, false);
  const char *rowNames = paddedNames(model, true, L);
  cards_section(&cards, "NAME", name, binary ? "BINARY" : nullptr);
  const int m = model->Inumrows, base = model->Imaxrows;
  char first[40], second[40];
  int row = 0;
  for (int j = 0; j < model->Inumcols; j++) {
    const double x = model->solution[base + j];
    const CardName column = nameFor(model, false, j, first);
    if (isBasic(model, base + j)) {
      while (row < m && isBasic(model, row)) row++;
      if (row >= m) {
        qrtoucd(&cards, " BS ", column, nullptr, values ? &x : nullptr, nullptr, nullptr);
        continue;
      }
      const CardName pair = nameFor(model, true, row, second);
      const double up = model->upper[row], low = model->lower[row], r = model->solution[row];
      const bool atUpper = up < QRT_INFINITE_TEST && (low <= -QRT_INFINITE_TEST || std::fabs(up - r) < std::fabs(r - low));
      qrtoucd(&cards, atUpper ? " XU " : " XL ", column, &pair, values ? &x : nullptr, nullptr, nullptr);
      row++;
    } else {
      bool off;
      const char *head = restOf(model, base + j, values, &off);
      if (head) qrtoucd(&cards, head, column, nullptr, off ? &x : nullptr, nullptr, nullptr);
    }
  }
  // A row whose name is a column's too would be taken for the column; not named it is basic anyway.
  for (int i = 0; i < m; i++)
    if (isBasic(model, i) && qrthash(&columns, rowNames + int64_t(i) * L) == 0)
      qrtoucd(&cards, " BS ", nameFor(model, true, i, first), nullptr, values ? &model->solution[i] : nullptr, nullptr,
              nullptr);
  cards_section(&cards, "ENDATA", nullptr, nullptr);
}

int exportBasis(QRTModel *model, const char *filename, int format, int numbers) {
  qrt_checkParameter(model, 3, format, 1, 2);
  qrt_checkParameter(model, 4, numbers, 1, 2);
  if (!outputFile_open(filename)) return NOT_OPENED;
  qrt_push(model);
  writeBasis(model, outputFile_stream(), format == 2, numbers == 2);
  qrt_pop(model);
  return outputFile_commit() ? 0 : NOT_WRITTEN;
}

// ---- in

struct BasisReader {
  QRTModel *model;
  CardReader cards;
  NameTable rows, columns;
  char *named;   // rows, then columns: 1 once a card has named it
};

// Skips to the NAME card wanted: Cbasis, or any when that is blank.
bool findBasis(BasisReader *b) {
  char wanted[80];
  memset(wanted, ' ', sizeof wanted);
  const char *held = b->model->characterControls[CONTROL_OF_BASIS];
  if (held) memcpy(wanted, held, strnlen(held, 79));
  CardReader *cards = &b->cards;
  cards->wantedName = wanted;
  bool found = false;
  while (!found) {
    int kind = CARD_END;
    qrtincd(cards, 2, &kind);
    if (kind == CARD_END) break;
    if (kind != CARD_SECTION || !sectionBegins(cards, "NAME")) continue;
    found = isBlank(wanted, 80) || memcmp(cards->name2, wanted, 80) == 0;
    if (found) break;
    cards->sectionState = STATE_START;
    cards->format = cards->startFormat;
    cards->nameLength = cards->startLength;
  }
  cards->wantedName = nullptr;
  if (found) cards->binary = fieldIs(cards->number2, int(sizeof cards->number2), "BINARY");
  return found;
}

// The first number of a card; its columns count even where no second name stands before it.
bool firstNumber(BasisReader *b, double *value) {
  CardReader *cards = &b->cards;
  if (cards->nameLength == 8 && cards->format != FORMAT_FREE) {
    memset(cards->number2, ' ', sizeof cards->number2);
    memcpy(cards->number2, cards->text + VALUE_COLUMN - 1, VALUE_WIDTH);
  }
  if (isBlank(cards->number2, int(sizeof cards->number2))) return false;
  return cardNumber(cards, 2, value);
}

void setBasic(BasisReader *b, int at, int slot, const double *value) {
  b->model->status[at] = int(STATUS_BASIC);
  if (value) b->model->solution[at] = *value;
  b->named[slot] = 1;
}

void setNonbasic(BasisReader *b, int at, int slot, uint32_t side, const double *value) {
  QRTModel *model = b->model;
  // A column without bounds stands at none, whatever its card says.
  const bool boundless = model->lower[at] <= -QRT_INFINITE_TEST && model->upper[at] >= QRT_INFINITE_TEST;
  if (boundless && !value) side = STATUS_FREE;
  const double bound = side == STATUS_AT_UPPER ? model->upper[at] : model->lower[at];
  double x = value ? *value : std::fabs(bound) < QRT_INFINITE_TEST ? bound : 0.0;
  if (x < model->lower[at]) x = model->lower[at];
  if (x > model->upper[at]) x = model->upper[at];
  model->solution[at] = x;
  model->status[at] = int(side);
  b->named[slot] = 1;
}

void takeCard(BasisReader *b) {
  const CardReader *cards = &b->cards;
  const QRTModel *model = b->model;
  const int m = model->Inumrows, base = model->Imaxrows;
  const int column = qrthash(&b->columns, cards->name1) - 1;
  double number;
  const bool given = firstNumber(b, &number);
  const double *value = given ? &number : nullptr;
  auto headIs = [cards](const char *head) { return memcmp(cards->head, head, 4) == 0; };
  if (headIs(" BS ")) {
    const int row = column >= 0 ? -1 : qrthash(&b->rows, cards->name1) - 1;
    if (column >= 0) setBasic(b, base + column, m + column, value);
    if (row >= 0) setBasic(b, row, row, value);
  } else if (column >= 0 && (headIs(" XL ") || headIs(" XU "))) {
    const int row = qrthash(&b->rows, cards->name2) - 1;
    if (row < 0) return;
    setBasic(b, base + column, m + column, value);
    const bool upper = headIs(" XU ");
    setNonbasic(b, row, row, upper ? uint32_t(STATUS_AT_UPPER) : uint32_t(STATUS_AT_LOWER), nullptr);
  } else if (column >= 0 && headIs(" LL ")) {
    setNonbasic(b, base + column, m + column, STATUS_AT_LOWER, value);
  } else if (column >= 0 && headIs(" UL ")) {
    setNonbasic(b, base + column, m + column, STATUS_AT_UPPER, value);
  } else if (column >= 0 && headIs(" FR ")) {
    setNonbasic(b, base + column, m + column, given && number != 0.0 ? 0u : uint32_t(STATUS_FREE), value);
  }
}

// Rows become basic and columns go to a bound before the cards speak.
void startAll(BasisReader *b) {
  QRTModel *model = b->model;
  for (int i = 0; i < model->Inumrows; i++) model->status[i] = int(STATUS_BASIC);
  for (int j = 0; j < model->Inumcols; j++) {
    const int at = model->Imaxrows + j;
    uint32_t side;
    model->solution[at] = startValue(model->lower[at], model->upper[at], &side);
    model->status[at] = int(side);
  }
}

int readBasis(QRTModel *model) {
  BasisReader b = {};
  b.model = model;
  startCards(&b.cards, UNIT_IMPORT, nameLength(model), false);
  if (!findBasis(&b)) return NOT_FOUND;
  const int length = b.cards.nameLength;
  qrtmkhash(model, &b.rows, paddedNames(model, true, length), length, model->Inumrows, false);
  qrtmkhash(model, &b.columns, paddedNames(model, false, length), length, model->Inumcols, false);
  b.named = static_cast<char *>(temporaryAllocate(model, int64_t(model->Inumrows) + model->Inumcols + 1, 1));
  memset(b.named, 0, size_t(model->Inumrows) + size_t(model->Inumcols) + 1);
  startAll(&b);
  for (;;) {
    int kind = CARD_END;
    qrtincd(&b.cards, 2, &kind);
    if (kind != CARD_DATA) break;
    takeCard(&b);
  }
  return 0;
}

int importBasis(QRTModel *model, const char *filename) {
  const char *name = filename && *filename ? filename : "tempfile";
  if (qrtopenbyname(name, UNIT_IMPORT, 0) != 0) {
    qrtmesg_no_q1(MSG_CANNOT_OPEN, name, -1);
    return NOT_OPENED;
  }
  qrt_push(model);
  const int result = readBasis(model);
  qrt_pop(model);
  return result;
}

}  // namespace

extern "C" int qrt_exportBasis(QRTModel *model, const char *filename, int format, int numbers) {
  qrt_enter(model, "qrt_exportBasis", 2);
  qrt_printCharParameter(model, 2, filename ? filename : "");
  QRT_JUMP_FRAME(model, (outputFile_abandon(), qrt_disaster(model)));
  const int result = exportBasis(model, filename, format, numbers);
  QRT_END_FRAME();
  qrt_leave(model);
  return result;
}

extern "C" int qrt_importBasis(QRTModel *model, const char *filename) {
  qrt_eraseFactor(model);
  qrt_enter(model, "qrt_importBasis", 2);
  qrt_printCharParameter(model, 2, filename ? filename : "");
  QRT_JUMP_FRAME(model, (closeNamedUnit(UNIT_IMPORT), qrt_disaster(model)));
  const int result = importBasis(model, filename);
  closeNamedUnit(UNIT_IMPORT);
  QRT_END_FRAME();
  qrt_leave(model);
  return result;
}
