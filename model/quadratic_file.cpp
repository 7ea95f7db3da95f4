// Quadratic sections of a card file, read after the model whose column names they use.

#include <cmath>
#include <cstring>

#include "frame/entry_frame.h"
#include "frame/guarded_memory.h"
#include "frame/messages.h"
#include "frame/records.h"
#include "frame/units.h"
#include "model/mps_reader.h"

namespace {

constexpr int FILE_NOT_OPENED = 200;
constexpr int NO_SECTION = 34;  // severity summary aside, what the caller gets without any quadratic term

// Triples in the order of the cards.
struct Triples {
  int64_t count, room;
  int32_t *row, *column;
  double *value;
};

void addTriple(QRTModel *model, Triples *triples, int row, int column, double value) {
  int64_t room = triples->room;
  triples->row = static_cast<int32_t *>(growRoom(model, triples->row, triples->count, &room, 4, 1000));
  room = triples->room;
  triples->column = static_cast<int32_t *>(growRoom(model, triples->column, triples->count, &room, 4, 1000));
  triples->value = static_cast<double *>(growRoom(model, triples->value, triples->count, &triples->room, 8, 1000));
  triples->row[triples->count] = row;
  triples->column[triples->count] = column;
  triples->value[triples->count++] = value;
}

// The model's names blank-padded, as the hash wants them.
char *paddedNames(QRTModel *model, bool rows, int length) {
  const int count = rows ? model->Inumrows : model->Inumcols;
  char *names = static_cast<char *>(temporaryAllocate(model, int64_t(count) + 1, length));
  for (int k = 0; k < count; k++) {
    char buffer[40];
    int used = 0;
    const char *name = rows ? rowNameOf(model, k, buffer, &used) : columnNameOf(model, k, buffer, &used);
    char *entry = names + int64_t(k) * length;
    memset(entry, ' ', size_t(length));
    memcpy(entry, name, size_t(used));
  }
  return names;
}

void tellCard(const CardReader *reader, int message, const char *name, int echo) {
  qrtmesg_no_q1_i1(message, name, reader->nameLength, reader->cardNumber);
  qrtmesg_no_qmesg(echo, reader->text, CARD_COLUMNS);
}

// Cards of one section up to the next section card; the kind of the last card.
int readTerms(QRTModel *model, CardReader *reader, const NameTable *columns, Triples *triples) {
  for (;;) {
    int kind = CARD_END;
    qrtincd(reader, 1, &kind);
    if (kind != CARD_DATA) return kind;
    const int column = qrthash(columns, reader->name1) - 1;
    if (column < 0) {
      tellCard(reader, MSG_NO_COLUMN, reader->name1, ECHO_NO_COLUMN);
      continue;
    }
    for (int pair = 1; pair <= reader->pairs; pair++) {
      const char *name = pair == 1 ? reader->name2 : reader->name3;
      const double value = pair == 1 ? reader->value2 : reader->value3;
      const int row = qrthash(columns, name) - 1;
      if (row < 0) tellCard(reader, MSG_NO_COLUMN, name, ECHO_NO_COLUMN);
      else if (std::fabs(value) >= qrtlplp.Rtolmps) addTriple(model, triples, row, column, value);
    }
  }
}

// The RSECTION belongs to rows; this library's quadratic models have none, so its names are checked and no more.
int checkRowTerms(CardReader *reader, const NameTable *rows, const NameTable *columns) {
  for (;;) {
    int kind = CARD_END;
    qrtincd(reader, 1, &kind);
    if (kind != CARD_DATA) return kind;
    if (qrthash(rows, reader->name1) == 0 && qrthash(columns, reader->name1) == 0)
      tellCard(reader, MSG_NO_ROW, reader->name1, ECHO_ROW);
    for (int pair = 1; pair <= reader->pairs; pair++) {
      const char *name = pair == 1 ? reader->name2 : reader->name3;
      if (qrthash(rows, name) == 0 && qrthash(columns, name) == 0) tellCard(reader, MSG_NO_ROW, name, ECHO_ROW);
    }
  }
}

int skipSection(CardReader *reader) {
  int kind = CARD_END;
  do qrtincd(reader, 1, &kind);
  while (kind == CARD_DATA);
  return kind;
}

bool ofObjective(const CardReader *reader) {
  char operand[80];
  sectionOperand(reader, operand);
  return isBlank(operand, 80) || memcmp(operand, qrtconv.values[1], 80) == 0;
}

void orderByColumn(QRTModel *model, const Triples *triples, QuadraticData *data) {
  data->n = model->Inumcols;
  data->nz = triples->count;
  data->start = static_cast<int32_t *>(temporaryAllocate(model, int64_t(data->n) + 2, 4));
  data->row = static_cast<int32_t *>(temporaryAllocate(model, data->nz + 1, 4));
  data->element = static_cast<double *>(temporaryAllocate(model, data->nz + 1, 8));
  memset(data->start, 0, (size_t(data->n) + 2) * 4);
  // start[j + 2] counts column j, so that after the sums start[j + 1] is where its next element goes.
  for (int64_t k = 0; k < data->nz; k++) data->start[triples->column[k] + 2]++;
  for (int j = 2; j <= data->n + 1; j++) data->start[j] += data->start[j - 1];
  for (int64_t k = 0; k < data->nz; k++) {
    const int place = data->start[triples->column[k] + 1]++;
    data->row[place] = triples->row[k];
    data->element[place] = triples->value[k];
  }
}

void installQuadratic(QRTModel *model, const QuadraticData *data) {
  const int64_t nz = data->nz > 0 ? data->nz : 1;
  int *rows = static_cast<int *>(qrt_makeTemporary(model, guardedAllocate(nz, 4)));
  int *starts = static_cast<int *>(qrt_makeTemporary(model, guardedAllocate(int64_t(data->n) + 1, 4)));
  double *elements = static_cast<double *>(qrt_makeTemporary(model, guardedAllocate(nz, 8)));
  void *home = qrt_makeTemporary(model, guardedAllocateZero(1, int64_t(sizeof(ElementBlock))));
  QuadraticEntry *list = static_cast<QuadraticEntry *>(
    guardedAllocateZero(int64_t(model->Inumquadraticblocks) + 1, int64_t(sizeof(QuadraticEntry))));
  ElementBlock *block = static_cast<ElementBlock *>(home);
  memcpy(starts, data->start, (size_t(data->n) + 1) * 4);
  memcpy(rows, data->row, size_t(data->nz) * 4);
  memcpy(elements, data->element, size_t(data->nz) * 8);
  block->type = 3;
  block->count = block->extent = data->n;
  block->columnBase = model->Imaxrows;
  block->first = 1;
  block->rows = rows;
  block->columns = starts;
  block->elements = elements;
  qrt_makePermanent(model, home);
  qrt_makePermanent(model, elements);
  qrt_makePermanent(model, starts);
  qrt_makePermanent(model, rows);
  if (model->Inumquadraticblocks > 0)
    memcpy(list, model->quadraticBlocks, size_t(model->Inumquadraticblocks) * sizeof(QuadraticEntry));
  qrt_free(model->quadraticBlocks);
  list[model->Inumquadraticblocks++].block = block;
  model->quadraticBlocks = list;
}

int importQuadratic(QRTModel *model, const char *filename) {
  const bool standard = !filename || !*filename || strcmp(filename, "stdin") == 0;
  if (!standard && qrtopenbyname(filename, UNIT_IMPORT, 0) != 0) {
    qrtmesg_no_q1(MSG_CANNOT_OPEN, filename, -1);
    return FILE_NOT_OPENED;
  }
  qrt_push(model);
  QuadraticData data;
  const int result = qrtqmpsf(model, standard ? UNIT_STDIN : UNIT_IMPORT, &data);
  if (result == 0) installQuadratic(model, &data);
  qrt_pop(model);
  return result;
}

}  // namespace

int qrtqmpsf(QRTModel *model, int unit, QuadraticData *data) {
  const int length = nameLength(model);
  NameTable rows, columns;
  qrtmkhash(model, &rows, paddedNames(model, true, length), length, model->Inumrows, false);
  qrtmkhash(model, &columns, paddedNames(model, false, length), length, model->Inumcols, false);
  CardReader reader;
  startCards(&reader, unit, length, false);
  reader.dropBelow = qrtlplp.Rtolmps;
  reader.wantedName = qrtconv.values[0];
  Triples triples = {0, 0, nullptr, nullptr, nullptr};
  int kind = CARD_END;
  qrtincd(&reader, 1, &kind);
  while (kind == CARD_SECTION && sectionBegins(&reader, "NAME")) {
    reader.binary = fieldIs(reader.number2, int(sizeof reader.number2), "BINARY");
    reader.nameLength = length;     // whatever the card says, the names are the model's
    reader.sectionState = STATE_RHS;  // cards of name, name and number
    qrtincd(&reader, 1, &kind);
  }
  while (kind == CARD_SECTION && !sectionBegins(&reader, "ENDA")) {
    if (sectionBegins(&reader, "QSEC") && ofObjective(&reader)) kind = readTerms(model, &reader, &columns, &triples);
    else if (sectionBegins(&reader, "RSEC")) kind = checkRowTerms(&reader, &rows, &columns);
    else {
      if (!sectionBegins(&reader, "QSEC")) qrtmesg_no_i1(MSG_BAD_QSECTION, reader.cardNumber);
      kind = skipSection(&reader);
    }
  }
  orderByColumn(model, &triples, data);
  if (triples.count == 0) {
    qrtmesg_no(MSG_NO_QUADRATIC);
    return NO_SECTION;
  }
  qrtmesg_no_q1_i1(MSG_QUADRATIC_READ, qrtconv.values[1], 80, int(triples.count));
  return 0;
}

extern "C" int qrt_importQuadraticData(QRTModel *model, const char *filename) {
  qrt_enter(model, "qrt_importQuadraticData", 2);
  qrt_printCharParameter(model, 2, filename ? filename : "");
  QRT_JUMP_FRAME(model, (closeNamedUnit(UNIT_IMPORT), qrt_disaster(model)));
  const int result = importQuadratic(model, filename);
  closeNamedUnit(UNIT_IMPORT);
  QRT_END_FRAME();
  qrt_leave(model);
  return result;
}
