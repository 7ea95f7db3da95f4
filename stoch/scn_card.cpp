// A card becomes fields, and a data line becomes elements in the coordinates of the store.
#include <cstdlib>
#include <cstring>

#include "frame/messages.h"
#include "stoch/scn_smps.h"

const CardLayout TIME_CARD = {3, {5, 15, 40}, {false, false, false}};
const CardLayout SCENARIO_CARD = {4, {5, 15, 25, 40}, {false, false, true, false}};
const CardLayout INDEP_CARD = {5, {5, 15, 25, 40, 50}, {false, false, true, false, true}};
const CardLayout BLOCK_CARD = {3, {5, 15, 25}, {false, false, true}};
const CardLayout PAIRS_CARD = {3, {5, 15, 25}, {false, false, true}};

void cutCard(const SmpsReader *reader, const CardLayout *layout, Card *card) {
  const char *line = reader->file.line;
  const int length = reader->file.length;
  card->type[0] = length > 1 ? line[1] : ' ';
  card->type[1] = length > 2 ? line[2] : ' ';
  int start = 4, end = 0;
  for (int k = 0; k < layout->count; ++k) {
    if (!reader->isFree) start = layout->column[k] - 1;
    card->field[k] = qrtfform(line, length, &start, &end, layout->isValue[k] ? SCN_VALUE_LENGTH : reader->numchar);
    if (!reader->isFree) continue;
    // The next field begins behind the blank that ends this one; of a field that was cut the rest is passed over. A
    // "$" ends the card.
    while (end + 1 < length && line[end + 1] != ' ' && line[end + 1] != '$') ++end;
    start = end + 1 < length && line[end + 1] == '$' ? length : end + 2;
  }
}

bool lineBegins(const SmpsReader *reader, const char *word) {
  const Field line = {reader->file.line, reader->file.length};
  return reader->lenient ? fieldBeginsAnyCase(line, word) : fieldBegins(line, word);
}

bool typeIs(const SmpsReader *reader, const char type[2], const char *word) {
  const Field field = {type, 2};
  return reader->lenient ? fieldEqualsAnyCase(field, word) : fieldEquals(field, word);
}

bool lineIsBlank(const TextFile *file) {
  for (int k = 0; k < file->length; ++k)
    if (file->line[k] != ' ') return false;
  return true;
}

bool nextCard(SmpsReader *reader) {
  while (textFile_nextCard(&reader->file)) {
    if (!reader->lenient) return true;
    if (reader->file.line == reader->file.untabbed) tellStraying(reader, STRAY_TABS);
    if (lineIsBlank(&reader->file)) {
      tellStraying(reader, STRAY_BLANK_LINE);
      continue;
    }
    for (int k = 0; k < reader->file.length && reader->file.line[k] != ' '; ++k)
      if (reader->file.line[k] >= 'a' && reader->file.line[k] <= 'z') tellStraying(reader, STRAY_LOWER_CASE);
    return true;
  }
  return false;
}

bool readValue(const SmpsReader *reader, Field field, double *value) {
  if (reader->lenient) return scanDouble(field.text, field.length, value);
  float single;
  if (!scanFloat(field.text, field.length, &single)) return false;
  *value = static_cast<double>(single);
  return true;
}

bool problemNameAgrees(SmpsReader *reader) {
  int start = 5, end;  // behind column 5, which is the last of "STOCH"
  const Field name = qrtfform(reader->file.line, reader->file.length, &start, &end, reader->numchar);
  if (memcmp(name.text, reader->smps->problemName, static_cast<size_t>(name.length)) == 0) return true;
  if (!reader->lenient) return false;
  tellStraying(reader, STRAY_PROBLEM_NAME);
  return true;
}

int findRow(const SmpsReader *r, Field name) {
  const int row = hashFind(r->smps->rowHash, r->smps->rowHashSize, r->numchar, r->smps->rowNames, name);
  return row > r->nRows ? 0 : row;
}
int findColumn(const SmpsReader *r, Field name) {
  const int column = hashFind(r->smps->colHash, r->smps->colHashSize, r->numchar, r->smps->colNames, name);
  return column > r->nCols ? 0 : column;
}
int findPeriod(const SmpsReader *r, Field name) {
  return hashFind(r->smps->periodHash, r->smps->periodHashSize, r->numchar, r->smps->periodNames, name);
}

bool nameIs(const SmpsReader *reader, Field field, const char *padded) {
  // Compared over numchar characters, both sides blank padded: a set without a name equals an empty field.
  char name[SCN_NAME_LENGTH + 1];
  fieldToName(field, name, reader->numchar);
  return memcmp(name, padded, static_cast<size_t>(reader->numchar)) == 0;
}

static void addElement(Item *item, int row, int col) {
  item->rows[item->count] = row;
  item->cols[item->count++] = col;
}

void classifyBound(const SmpsReader *reader, const char type[2], Field column, Item *item) {
  const CoreData *core = reader->core;
  item->column = findColumn(reader, column);
  if (!item->column) {
    item->rc = RC_NO_COLUMN;
    item->missing = column;
    return;
  }
  const int flags = core->rimFlags[item->column - 1];
  const bool both = typeIs(reader, type, "FX");
  if (both || typeIs(reader, type, "LO")) {
    item->lowerIgnored = flags & RIM_COL_LOWER_INFINITE;
    if (!item->lowerIgnored) addElement(item, reader->nRows + EXT_COL_LOWER, item->column);
  }
  if (both || typeIs(reader, type, "UP")) {
    item->upperIgnored = flags & RIM_COL_UPPER_INFINITE;
    if (!item->upperIgnored) addElement(item, reader->nRows + EXT_COL_UPPER, item->column);
  }
  if (item->lowerIgnored || item->upperIgnored) item->rc = RC_BOUND_IGNORED;
}

void classifyRightHandSide(const SmpsReader *reader, Field row, Item *item) {
  const CoreData *core = reader->core;
  const int i = findRow(reader, row);
  if (!i) {
    item->rc = RC_NO_ROW;
    item->missing = row;
    return;
  }
  // One value moves both sides of an equality or a ranged row.
  if (!(core->rimFlags[i - 1] & RIM_ROW_LOWER_INFINITE)) addElement(item, i, reader->nCols + EXT_ROW_LOWER);
  if (!(core->rimFlags[i - 1] & RIM_ROW_UPPER_INFINITE)) addElement(item, i, reader->nCols + EXT_ROW_UPPER);
}

void classifyItem(const SmpsReader *reader, const char type[2], Field first, Field second, Item *item) {
  const SmpsData *smps = reader->smps;
  *item = Item{};
  if (nameIs(reader, first, smps->boundName)) return classifyBound(reader, type, second, item);
  if (nameIs(reader, first, smps->rangeName)) {
    item->rc = RC_RANGES;
    return;
  }
  if (nameIs(reader, first, smps->rhsName)) return classifyRightHandSide(reader, second, item);
  const bool isCost = nameIs(reader, second, smps->objectiveName);
  const int row = isCost ? reader->nRows + EXT_OBJECTIVE : findRow(reader, second);
  const int column = row ? findColumn(reader, first) : 0;
  if (row && column) return addElement(item, row, column);
  item->rc = row ? RC_NO_COLUMN : RC_NO_ROW;
  item->missing = row ? first : second;
}

void tellMissing(int rc, Field missing) {
  const int index = rc == RC_NO_ROW      ? MSG_NO_ROW
                    : rc == RC_NO_COLUMN ? MSG_NO_COLUMN
                    : rc == RC_NO_STAGE  ? MSG_NO_STAGE
                                         : 0;
  if (!index) return;
  messageC(1, missing.text, missing.length);
  stochMessage(index);
}

int stageOfElement(const CoreData *core, int row, int col) {
  return row <= core->nRows ? core->rowStage[row - 1] : core->colStage[col - 1];
}

void understandCard(const SmpsReader *reader, const CardLayout *layout, const Card *card, DataLine *data) {
  const bool independent = layout == &INDEP_CARD;
  *data = DataLine{};
  if (!readValue(reader, card->field[2], &data->values[0])) {
    data->rc = RC_BAD_NUMBER;
    return;
  }
  if (independent && !(data->stage = findPeriod(reader, card->field[3]))) {
    data->rc = RC_NO_STAGE;
    data->missing = card->field[3];
    return;
  }
  classifyItem(reader, card->type, card->field[0], card->field[1], &data->items[0]);
  data->nItems = 1;
  data->rc = data->items[0].rc;
  data->missing = data->items[0].missing;
  if (independent && data->items[0].count > 0 && !readValue(reader, card->field[4], &data->probability))
    data->rc = RC_BAD_NUMBER;
}

void readDataLine(SmpsReader *reader, const CardLayout *layout, DataLine *data) {
  Card card;
  cutCard(reader, layout, &card);
  if (reader->lenient)
    lenientDataLine(reader, layout, &card, data);
  else
    understandCard(reader, layout, &card, data);
  if (data->rc >= 300) tellMissing(data->rc, data->missing);
}

void elementList_add(ElementList *list, int row, int col, double value) {
  if (list->count == list->capacity) {
    if (list->capacity == INT32_MAX) qrts__alloc("qrts_Csmps", INT64_MAX, 1);  // ends the process
    const int64_t wanted = list->capacity ? 2 * static_cast<int64_t>(list->capacity) : 64;
    list->capacity = wanted > INT32_MAX ? INT32_MAX : static_cast<int>(wanted);
    const int64_t n = list->capacity;
    list->rows = static_cast<int *>(qrts__realloc("qrts_Csmps", list->rows, n * static_cast<int64_t>(sizeof(int))));
    list->cols = static_cast<int *>(qrts__realloc("qrts_Csmps", list->cols, n * static_cast<int64_t>(sizeof(int))));
    list->values =
        static_cast<double *>(qrts__realloc("qrts_Csmps", list->values, n * static_cast<int64_t>(sizeof(double))));
  }
  list->rows[list->count] = row;
  list->cols[list->count] = col;
  list->values[list->count++] = value;
}

void elementList_addItems(ElementList *list, const DataLine *data) {
  for (int i = 0; i < data->nItems; ++i)
    for (int k = 0; k < data->items[i].count; ++k)
      elementList_add(list, data->items[i].rows[k], data->items[i].cols[k], data->values[i]);
}

void elementList_free(ElementList *list) {
  free(list->rows);
  free(list->cols);
  free(list->values);
  *list = ElementList{};
}
