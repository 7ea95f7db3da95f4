// The TIME file: which stage each row and column of the core belongs to; then the core goes into the store.
#include <cstdlib>
#include <cstring>

#include "frame/entry_frame.h"
#include "frame/messages.h"
#include "model/model_store.h"
#include "stoch/scn_smps.h"

namespace {

struct StageMarks {
  int *rows, *cols;   // [nRows], [nCols] stage, 0 in front of the first period
  int nPeriods;
  int row, column;    // where the last period began, from 1
};

void copyControl(char target[80], const char *text) {
  memset(target, ' ', 80);
  for (int k = 0; text && k < 80 && text[k]; ++k) target[k] = text[k];
}

// Names of all rows or columns of the work model, numchar characters each, blank padded.
char *copyNames(QRTModel *model, int n, int numchar, const char *(*nameOf)(const QRTModel *, int, char *, int *)) {
  char *names = static_cast<char *>(qrts__alloc("qrts_Ctmps", static_cast<int64_t>(n) * numchar + 1, 1));
  char buffer[128];
  for (int k = 0; k < n; ++k) {
    int length = 0;
    const char *name = nameOf(model, k, buffer, &length);
    fieldToName(Field{name, length}, names + static_cast<int64_t>(k) * numchar, numchar);
  }
  return names;
}

// A table holding names 1..n; false when two names are equal.
bool buildTable(int **table, int32_t *size, int numchar, const char *names, int n) {
  *size = hashSizeFor(n);
  const int64_t words = static_cast<int64_t>(*size) + n + 1;
  *table = static_cast<int *>(qrts__alloc("qrts_Ctmps", words * static_cast<int64_t>(sizeof(int)), 0));
  int start = -1, end = n;
  qrthash8(&start, &end, *table, size, numchar, names, nullptr);
  return start > 0;
}

SmpsData *newSmpsData(QRTModel *model, int numchar) {
  SmpsData *smps = static_cast<SmpsData *>(qrts__alloc("qrts_Ctmps", sizeof(SmpsData), 0));
  smps->numchar = numchar;
  smps->rowNames = copyNames(model, model->Inumrows, numchar, rowNameOf);
  smps->colNames = copyNames(model, model->Inumcols, numchar, columnNameOf);
  copyControl(smps->problemName, qrt_getCname(model));
  copyControl(smps->objectiveName, qrt_getCobjective(model));
  copyControl(smps->rhsName, qrt_getCrhs(model));
  copyControl(smps->boundName, qrt_getCbound(model));
  copyControl(smps->rangeName, qrt_getCrange(model));
  return smps;
}

// What the reader's code means to the caller: 0 to go on, else 2.
int actOnCode(int rc) {
  switch (rc) {
    case RC_OK: return 0;
    case RC_END_OF_FILE: return severe(MSG_PREMATURE_END, "TIME");
    case RC_NO_ROOM_AT_ALL:
    case RC_NO_ROOM: return severe(MSG_NO_SPACE, "TIME");
    case RC_NO_TIME_ENDATA: severe(MSG_NO_ENDATA, "TIME"); return 0;
    case RC_CARD_MISSING: return severe(MSG_HASH_FAILED, "period");
    case RC_NO_TIME_CARD: messageC(2, "TIME"); return severe(MSG_EXPECTING, "TIME");
    case RC_NO_PERIODS_CARD: messageC(2, "TIME"); return severe(MSG_EXPECTING, "PERIODS");
    case RC_NAME_DIFFERS: return severe(MSG_NAME_DIFFERS, "TIME");
    default: return severe(MSG_INDEX_ERROR, "TIME");
  }
}

// The names of the periods once shared a work area of this many bytes with nothing else; a file that needed more
// was refused, and by the letter still is. Below zero: not even an empty file fits.
int64_t periodRoom(const SmpsReader *reader) {
  const int64_t nR = reader->nRows, nC = reader->nCols;
  return 8 * (2 * nR + nC - 1 - (nR + 1) / 2 - (nC + 1) / 2);
}

void markStages(StageMarks *marks, int toRow, int toColumn) {
  for (int i = marks->row; i < toRow; ++i) marks->rows[i - 1] = marks->nPeriods;
  for (int j = marks->column; j < toColumn; ++j) marks->cols[j - 1] = marks->nPeriods;
}

int tellOrder(int index, Field period, int rc) {
  messageC(1, period.text, period.length);
  stochMessage(index);
  return rc;
}

// One period card: 0 or a code.
int readPeriod(SmpsReader *reader, StageMarks *marks, GrowingNames *periods) {
  if (!reader->lenient && (marks->nPeriods + int64_t(1)) * reader->numchar >= periodRoom(reader)) return RC_NO_ROOM;
  Card card;
  cutCard(reader, &TIME_CARD, &card);
  if (reader->lenient) lenientHeadCard(reader, &TIME_CARD, &card);
  int column = findColumn(reader, card.field[0]), row = findRow(reader, card.field[1]);
  if (reader->lenient && column && !row && lenientNoPeriodRow(reader, &card)) row = marks->row;
  if (!column) {
    tellMissing(RC_NO_COLUMN, card.field[0]);
    return RC_NO_TIME_COLUMN;
  }
  if (!row) {
    tellMissing(RC_NO_ROW, card.field[1]);
    return RC_NO_TIME_ROW;
  }
  if (column < marks->column) return tellOrder(MSG_COLUMN_ORDER, card.field[2], RC_COLUMN_ORDER);
  if (row < marks->row) return tellOrder(MSG_ROW_ORDER, card.field[2], RC_ROW_ORDER);
  markStages(marks, row, column);
  ++marks->nPeriods;
  marks->row = row;
  marks->column = column;
  return growingNames_add(periods, card.field[2]) > 0 ? RC_OK : RC_CARD_MISSING;
}

void qrtstotime(int *rc, SmpsReader *reader, StageMarks *marks) {
  SmpsData *smps = reader->smps;
  GrowingNames periods = {&smps->periodNames, &smps->periodHash, &smps->periodHashSize, reader->numchar, 0, 0};
  if (!reader->lenient && periodRoom(reader) < 0) {
    *rc = RC_NO_ROOM_AT_ALL;
    return;
  }
  *rc = RC_END_OF_FILE;
  if (!nextCard(reader)) return;
  *rc = RC_NO_TIME_CARD;
  if (!lineBegins(reader, "TIME")) return;
  *rc = RC_NAME_DIFFERS;
  if (!problemNameAgrees(reader)) return;
  *rc = RC_END_OF_FILE;
  if (!nextCard(reader)) return;
  *rc = RC_NO_PERIODS_CARD;
  if (!lineBegins(reader, "PERIODS")) return;
  bool duplicate = false;
  *rc = RC_NO_TIME_ENDATA;
  while (nextCard(reader)) {
    if (lineBegins(reader, "   ")) {
      const int code = readPeriod(reader, marks, &periods);
      duplicate = duplicate || code == RC_CARD_MISSING;
      if (code == RC_OK || code == RC_CARD_MISSING) continue;
      *rc = code;
      return;
    }
    if (lineBegins(reader, "ENDATA")) *rc = RC_OK;
    break;
  }
  // From the last start to the end; a file without periods leaves stage 0, which the store refuses.
  markStages(marks, reader->nRows + 1, reader->nCols + 1);
  smps->nPeriods = marks->nPeriods;
  // A failed hash outranks a missing ENDATA, of which its message says nothing.
  if (duplicate || marks->nPeriods == 0) *rc = RC_CARD_MISSING;
}

// The work model's matrix as triplets counted from 1, and on to the store.
int storeCore(QRTStoch *stoch, QRTModel *model, const StageMarks *marks) {
  if (qrt_mergeBlocks(model, 0) != 0) return 2;
  const int64_t n = matrixElements(model);
  if (n > INT32_MAX) return 2;
  const int64_t room = n + 1;
  int *rows = static_cast<int *>(qrts__alloc("qrts_Ctmps", room * static_cast<int64_t>(sizeof(int)), 1));
  int *cols = static_cast<int *>(qrts__alloc("qrts_Ctmps", room * static_cast<int64_t>(sizeof(int)), 1));
  double *values = static_cast<double *>(qrts__alloc("qrts_Ctmps", room * static_cast<int64_t>(sizeof(double)), 1));
  int count = 0;
  forEachElement(model, [&](int row, int column, double value) {
    rows[count] = row + 1;
    cols[count] = column + 1;
    values[count++] = value;
  });
  const int result =
      qrts_Ccore(stoch, marks->nPeriods, marks->rows, marks->cols, model->Inumrows, model->Inumcols, count,
                 qrt_objective(model), qrt_rowlower(model), qrt_rowupper(model), qrt_collower(model),
                 qrt_colupper(model), rows, cols, values, nullptr);
  free(rows);
  free(cols);
  free(values);
  return result;
}

// Opens the file, makes the names, reads; 0 or 2.
int readStages(SmpsReader *reader, QRTModel *model, const char *timeFile, StageMarks *marks) {
  if (!textFile_open(&reader->file, timeFile, reader->lenient)) return severe(MSG_CANNOT_READ, timeFile ? timeFile : "");
  SmpsData *smps = reader->smps = reader->core->smps = newSmpsData(model, reader->numchar);
  int result = 0, rc = RC_OK;
  if (!buildTable(&smps->rowHash, &smps->rowHashSize, reader->numchar, smps->rowNames, model->Inumrows)) {
    result = severe(MSG_HASH_FAILED, "row");
  } else if (!buildTable(&smps->colHash, &smps->colHashSize, reader->numchar, smps->colNames, model->Inumcols)) {
    result = severe(MSG_HASH_FAILED, "columns");
  } else {
    qrtstotime(&rc, reader, marks);
  }
  textFile_close(&reader->file);
  return result ? result : actOnCode(rc);
}

}  // namespace

int qrts_Ctmps(QRTStoch *stoch, QRTModel *model, const char *timeFile, int numchar, bool isFree) {
  if (!model || qrt_validateModel(model) != 0) return severe(MSG_MODEL_DAMAGED, "qrts_Ctmps");
  CoreData *core = stoch->sdata->core;
  qrts_freeSmpsData(core->smps);
  core->smps = nullptr;
  SmpsReader reader{};
  reader.stoch = stoch;
  reader.core = core;
  reader.nRows = model->Inumrows;
  reader.nCols = model->Inumcols;
  reader.numchar = numchar;
  reader.isFree = isFree;
  reader.lenient = stoch->lenient != 0;
  StageMarks marks{nullptr, nullptr, 0, 1, 1};
  marks.rows = static_cast<int *>(
      qrts__alloc("qrts_Ctmps", (model->Inumrows + int64_t(1)) * static_cast<int64_t>(sizeof(int)), 0));
  marks.cols = static_cast<int *>(
      qrts__alloc("qrts_Ctmps", (model->Inumcols + int64_t(1)) * static_cast<int64_t>(sizeof(int)), 0));
  int result = readStages(&reader, model, timeFile, &marks);
  if (result == 0) result = storeCore(stoch, model, &marks);
  free(marks.rows);
  free(marks.cols);
  return result;
}

void qrts_freeSmpsData(SmpsData *smps) {
  if (!smps) return;
  free(smps->rowHash);
  free(smps->colHash);
  free(smps->periodHash);
  free(smps->scenarioHash);
  free(smps->blockHash);
  free(smps->rowNames);
  free(smps->colNames);
  free(smps->periodNames);
  free(smps->scenarioNames);
  free(smps->blockNames);
  free(smps);
}
