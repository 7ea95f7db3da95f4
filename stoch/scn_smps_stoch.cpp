// The STOCH file: its first two cards, the driver, and the SCENARIOS section.
#include <cstdlib>
#include <cstring>

#include "frame/messages.h"
#include "stoch/scn_inherit.h"
#include "stoch/scn_smps.h"

namespace {

// One scenario as its SC line and data lines tell.
struct ScenarioText {
  int ancestor, stage;
  double probability;
  ElementList elements;
  int maximum;          // elements allowed
  bool boundIgnored;
};

bool atScenarioCard(const SmpsReader *reader) {
  return reader->file.length > 2 && typeIs(reader, reader->file.line + 1, "SC");
}

void tellIgnored(const Item *item, int scenario) {
  const int indices[2] = {item->lowerIgnored ? MSG_IGNORED_LOWER : 0, item->upperIgnored ? MSG_IGNORED_UPPER : 0};
  for (int index : indices) {
    if (!index) continue;
    messageI(1, item->column);
    messageI(2, scenario);
    stochMessage(index);
  }
}

bool isRoot(SmpsReader *reader, Field parent) {
  return fieldBegins(parent, "ROOT") || (reader->lenient && lenientIsRoot(reader, parent));
}

// The SC line: name, parent, probability, period. 0 or a code.
int readScenarioCard(SmpsReader *reader, int scenario, GrowingNames *names, ScenarioText *text) {
  Card card;
  cutCard(reader, &SCENARIO_CARD, &card);
  if (reader->lenient) lenientHeadCard(reader, &SCENARIO_CARD, &card);
  if (growingNames_add(names, card.field[0]) != scenario) {
    stochMessage(MSG_SCENARIO_TWICE);
    return RC_TWICE;
  }
  text->ancestor = 0;
  text->stage = 2;
  if (!isRoot(reader, card.field[1])) {
    text->ancestor = growingNames_find(names, card.field[1]);
    if (!text->ancestor) {
      messageC(1, card.field[1].text, card.field[1].length);
      stochMessage(MSG_NO_SCENARIO);
      return RC_NO_SCENARIO;
    }
    text->stage = findPeriod(reader, card.field[3]);
    if (!text->stage) {
      tellMissing(RC_NO_STAGE, card.field[3]);
      return RC_NO_STAGE;
    }
  }
  return readValue(reader, card.field[2], &text->probability) ? RC_OK : RC_BAD_NUMBER;
}

// Reads the scenario whose SC line is the present line, up to the line that ends it. *rc: 0, or 1 for an ignored
// bound, when another SC line follows; 2 and 3 at the end; else the code of a failure.
void qrtstoscen(int *rc, SmpsReader *reader, int scenario, GrowingNames *names, ScenarioText *text) {
  text->elements.count = 0;
  text->boundIgnored = false;
  *rc = readScenarioCard(reader, scenario, names, text);
  if (*rc != RC_OK) return;
  for (;;) {
    if (!nextCard(reader)) {
      *rc = RC_END_OF_FILE;
      return;
    }
    if (atScenarioCard(reader)) break;
    if (lineBegins(reader, "ENDATA")) {
      *rc = RC_ENDATA;
      return;
    }
    if (int64_t(text->elements.count) + 2 > text->maximum) {
      *rc = RC_TOO_MANY;
      return;
    }
    DataLine data;
    readDataLine(reader, &PAIRS_CARD, &data);
    for (int k = 0; k < data.nItems; ++k) tellIgnored(&data.items[k], scenario);
    if (data.rc >= 300) {
      *rc = data.rc;
      return;
    }
    text->boundIgnored = text->boundIgnored || data.rc == RC_BOUND_IGNORED;
    elementList_addItems(&text->elements, &data);
  }
  *rc = text->boundIgnored ? RC_BOUND_IGNORED : RC_OK;
}

// 0 when the scenario is to be added, else 2 after the message.
int actOnCode(int rc, int scenario) {
  switch (rc) {
    case RC_OK:
    case RC_BOUND_IGNORED:
    case RC_ENDATA: return 0;
    case RC_END_OF_FILE: severe(MSG_NO_ENDATA, "STOCH"); return 0;
    case RC_TOO_MANY:
      messageI(1, scenario);
      stochMessage(MSG_TOO_MANY_ELEMENTS);
      return 2;
    case RC_RANGES: stochMessage(MSG_NO_RANGES); return 2;
    default: return severe(MSG_INDEX_ERROR, "STOCH");
  }
}

int addScenario(SmpsReader *reader, int scenario, const ScenarioText *text, int replace) {
  const ElementList *e = &text->elements;
  int rc = 0;
  qrtbinptsc(&rc, reader->stoch->sdata, scenario, text->ancestor, text->stage, text->probability, reader->nRows,
             reader->nCols, e->count, e->rows, e->cols, e->values, replace);
  return rc;
}

// Passes to the first SC line: 0, or the code of the end that came first.
int findFirstScenario(SmpsReader *reader) {
  while (nextCard(reader)) {
    if (atScenarioCard(reader)) return RC_OK;
    if (lineBegins(reader, "ENDATA")) return RC_ENDATA;
  }
  return RC_END_OF_FILE;
}

int readScenarios(SmpsReader *reader, int replace) {
  SmpsData *smps = reader->smps;
  GrowingNames names = {&smps->scenarioNames, &smps->scenarioHash, &smps->scenarioHashSize, reader->numchar, 0, 0};
  ScenarioText text{};
  Inheritance *inheritance = reader->stoch->inherit ? inheritance_new() : nullptr;
  const int maximum = reader->stoch->sdata->scenarios->maximum;
  // The buffer's bytes, taken as a number of elements: the limit that files of this kind are measured against.
  const int64_t room = reader->core->bufferSize;
  text.maximum = room > INT32_MAX ? INT32_MAX : static_cast<int>(room);
  int level = 0;
  int rc = findFirstScenario(reader);
  // A section without any scenario adds none.
  if (rc != RC_OK) actOnCode(rc, 1);
  for (int scenario = 1; rc == RC_OK || rc == RC_BOUND_IGNORED; ++scenario) {
    qrtstoscen(&rc, reader, scenario, &names, &text);
    if (actOnCode(rc, scenario) != 0) {
      level = 2;
      break;
    }
    if (inheritance) inheritance_take(inheritance, reader->core, text.ancestor, text.stage, &text.elements);
    if (addScenario(reader, scenario, &text, replace) >= 2) {
      level = 2;
      break;
    }
    if (rc == RC_BOUND_IGNORED) level = 1;
    if (rc == RC_ENDATA || rc == RC_END_OF_FILE) level = 0;
    if (scenario >= maximum) break;
  }
  inheritance_free(inheritance);
  elementList_free(&text.elements);
  return level;
}

int headFailure(int rc) {
  switch (rc) {
    case RC_OK: return 0;
    case RC_END_OF_FILE: return severe(MSG_PREMATURE_END, "STOCH");
    case RC_NAME_DIFFERS: return severe(MSG_NAME_DIFFERS, "STOCH");
    default: messageC(2, "STOCH"); return severe(MSG_EXPECTING, "STOCH");
  }
}

int readOpened(SmpsReader *reader, int *type, int *replace) {
  int rc = RC_OK;
  qrtstofstl(&rc, reader, type, replace);
  if (rc != RC_OK) return headFailure(rc);
  if (*type == DIST_NONE) {
    stochMessage(MSG_DISTRIBUTION);
    return 2;
  }
  return *type == DIST_SCENARIOS ? readScenarios(reader, *replace) : readRandomVariables(reader, type);
}

}  // namespace

int sectionCard(SmpsReader *reader, int *replace) {
  const char *line = reader->file.line;
  const int length = reader->file.length;
  Field word[3];
  int start = 0, end;
  for (Field &w : word) {
    w = qrtfform(line, length, &start, &end, SCN_LINE_LENGTH);
    start = end + 2;
  }
  int type = lineBegins(reader, "SCENA")   ? DIST_SCENARIOS
             : lineBegins(reader, "INDEP") ? DIST_INDEP
             : lineBegins(reader, "BLOCK") ? DIST_BLOCKS
                                           : DIST_NONE;
  const bool discrete = reader->lenient ? fieldBeginsAnyCase(word[1], "DISCR") : fieldBegins(word[1], "DISCR");
  if (type && !discrete) {
    // The manner may stand in the place of the distribution.
    const bool manner = fieldBeginsAnyCase(word[1], "REPL") || fieldBeginsAnyCase(word[1], "ADD");
    if (!reader->lenient || (word[1].length > 0 && !manner)) return DIST_NONE;
    word[2] = word[1];
    tellStraying(reader, STRAY_NO_DISTRIBUTION);
  }
  *replace = (reader->lenient ? fieldBeginsAnyCase(word[2], "ADD") : fieldBegins(word[2], "ADD")) ? 0 : 1;
  return type;
}

void qrtstofstl(int *rc, SmpsReader *reader, int *type, int *replace) {
  *type = DIST_NONE;
  *rc = RC_END_OF_FILE;
  if (!nextCard(reader)) return;
  *rc = RC_CARD_MISSING;
  if (!lineBegins(reader, "STOCH")) {
    if (!reader->lenient || !lineBegins(reader, "NAME")) return;
    tellStraying(reader, STRAY_NAME_CARD);
  }
  *rc = RC_NAME_DIFFERS;
  if (!problemNameAgrees(reader)) return;
  *rc = RC_END_OF_FILE;
  if (!nextCard(reader)) return;
  *rc = RC_OK;
  *type = sectionCard(reader, replace);
}

int qrts_Csmps(QRTStoch *stoch, int *type, int *replace, const char *stochFile, int numchar, bool isFree) {
  SmpsReader reader{};
  CoreData *core = stoch->sdata->core;
  reader.stoch = stoch;
  reader.core = core;
  reader.smps = core->smps;
  reader.nRows = core->nRows;
  reader.nCols = core->nCols;
  reader.numchar = numchar;
  reader.isFree = isFree;
  reader.lenient = stoch->lenient != 0;
  if (!reader.smps) {
    messageC(2, "qrts_Csmps");
    return severe(MSG_BAD_STRUCTURE, "SMPS");
  }
  if (!textFile_open(&reader.file, stochFile, reader.lenient)) return severe(MSG_CANNOT_READ, stochFile ? stochFile : "");
  const int result = readOpened(&reader, type, replace);
  textFile_close(&reader.file);
  return result;
}
