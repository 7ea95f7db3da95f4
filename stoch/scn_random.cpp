// Random variables: the INDEP and BLOCKS sections of a STOCH file become IndependentData.
#include <cstdlib>
#include <cstring>

#include "frame/messages.h"
#include "stoch/scn_smps.h"

namespace {

struct VariableStart {
  int type, stage;
  int firstRealisation;     // from 0
};
struct RealisationStart {
  int firstElement;         // from 0
  double probability;
};

// Sections as they are read: everything lies in three growing lists, each variable a run of realisations and each
// realisation a run of elements.
struct Sections {
  ElementList elements;
  VariableStart *variables;
  int nVariables, variableRoom;
  RealisationStart *realisations;
  int nRealisations, realisationRoom;
};

template <class T> T *grown(T *array, int count, int *room) {
  if (count < *room) return array;
  *room = *room ? (*room > INT32_MAX / 2 ? INT32_MAX : *room * 2) : 64;
  return static_cast<T *>(qrts__realloc("qrts_Csmps", array, int64_t(*room) * static_cast<int64_t>(sizeof(T))));
}

// A variable has no place in stage 1: the root is not random.
bool newVariable(Sections *s, int type, int stage) {
  if (stage < 2) return false;
  s->variables = grown(s->variables, s->nVariables, &s->variableRoom);
  s->variables[s->nVariables++] = VariableStart{type, stage, s->nRealisations};
  return true;
}

void newRealisation(Sections *s, double probability) {
  s->realisations = grown(s->realisations, s->nRealisations, &s->realisationRoom);
  s->realisations[s->nRealisations++] = RealisationStart{s->elements.count, probability};
}

void freeSections(Sections *s) {
  elementList_free(&s->elements);
  free(s->variables);
  free(s->realisations);
}

// In the lenient manner another section may follow; its card ends this one. Tabs and case are settled by then.
int nextSection(SmpsReader *reader) {
  if (!reader->lenient || reader->file.line[0] == ' ') return DIST_NONE;
  int replace;
  const int type = sectionCard(reader, &replace);
  return type == DIST_INDEP || type == DIST_BLOCKS ? type : DIST_NONE;
}

// Lines counted up to ENDATA, comments excluded: only the missing card matters any more, since all lists grow.
bool hasEndata(SmpsReader *reader) {
  while (textFile_nextCard(&reader->file))
    if (lineBegins(reader, "ENDATA")) return true;
  return false;
}

// INDEP: one line, one realisation. A run of lines with the same last element is one variable, whatever its periods.
// *next is the section that follows, if any.
void qrtstoindp(int *rc, SmpsReader *reader, Sections *s, int *next) {
  int lastRow = 0, lastCol = 0;
  *next = DIST_NONE;
  while (nextCard(reader)) {
    if (lineBegins(reader, "ENDATA")) {
      *rc = RC_ENDATA;
      return;
    }
    if (lineBegins(reader, "STOCH") || lineBegins(reader, "INDEP")) continue;
    *next = nextSection(reader);
    if (*next) return;
    DataLine data;
    readDataLine(reader, &INDEP_CARD, &data);
    if (data.rc >= 300) {
      *rc = data.rc;
      return;
    }
    if (data.items[0].count == 0) continue;
    const int last = data.items[0].count - 1;
    const bool same = data.items[0].rows[last] == lastRow && data.items[0].cols[last] == lastCol;
    lastRow = data.items[0].rows[last];
    lastCol = data.items[0].cols[last];
    if (!same && !newVariable(s, DIST_INDEP, data.stage)) {
      *rc = RC_NO_STAGE;
      return;
    }
    newRealisation(s, data.probability);
    elementList_addItems(&s->elements, &data);
  }
  *rc = RC_END_OF_FILE;
}

bool atBlockCard(const SmpsReader *reader) {
  return reader->file.length > 2 && typeIs(reader, reader->file.line + 1, "BL");
}

// A BL line: a new block, or one more realisation of the block opened last. 0 or a code.
int openBlock(SmpsReader *reader, Sections *s, GrowingNames *blocks) {
  Card card;
  cutCard(reader, &BLOCK_CARD, &card);
  if (reader->lenient) lenientHeadCard(reader, &BLOCK_CARD, &card);
  const int known = growingNames_find(blocks, card.field[0]);
  double probability;
  if (known && known != blocks->count) return RC_BLOCK_REOPENED;
  if (!known) {
    if (growingNames_add(blocks, card.field[0]) <= 0) return RC_TWICE;
    const int stage = findPeriod(reader, card.field[1]);
    if (!stage) tellMissing(RC_NO_STAGE, card.field[1]);
    if (!newVariable(s, DIST_BLOCKS, stage)) return RC_NO_STAGE;
  }
  if (!readValue(reader, card.field[2], &probability)) return RC_BAD_NUMBER;
  newRealisation(s, probability);
  return RC_OK;
}

void qrtstoblck(int *rc, SmpsReader *reader, Sections *s, GrowingNames *blocks, int *next) {
  bool open = false;
  *next = DIST_NONE;
  while (nextCard(reader)) {
    if (lineBegins(reader, "ENDATA")) {
      *rc = RC_ENDATA;
      return;
    }
    if (atBlockCard(reader)) {
      open = true;
      *rc = openBlock(reader, s, blocks);
      if (*rc != RC_OK) return;
      continue;
    }
    *next = nextSection(reader);
    if (*next) return;
    if (!open) continue;
    DataLine data;
    readDataLine(reader, &PAIRS_CARD, &data);
    if (data.rc >= 300) {
      *rc = data.rc;
      return;
    }
    elementList_addItems(&s->elements, &data);
  }
  *rc = RC_END_OF_FILE;
}

// All sections from the present one to the end; the last code. Returns the type of the last section.
int readSections(int *rc, SmpsReader *reader, int type, Sections *s) {
  SmpsData *smps = reader->smps;
  GrowingNames blocks = {&smps->blockNames, &smps->blockHash, &smps->blockHashSize, reader->numchar, 0, 0};
  for (int next = type;;) {
    type = next;
    if (type == DIST_INDEP)
      qrtstoindp(rc, reader, s, &next);
    else
      qrtstoblck(rc, reader, s, &blocks, &next);
    if (!next) return type;
    tellStraying(reader, STRAY_SECOND_SECTION);
  }
}

// 0 to go on, else 2 after the message.
int actOnCode(int rc) {
  switch (rc) {
    case RC_OK:
    case RC_BOUND_IGNORED:
    case RC_ENDATA: return 0;
    case RC_END_OF_FILE: severe(MSG_NO_ENDATA, "STOCH"); return 0;
    case RC_TOO_MANY:
      messageI(1, 0);
      stochMessage(MSG_TOO_MANY_ELEMENTS);
      return 2;
    case RC_RANGES: stochMessage(MSG_NO_RANGES); return 2;
    case RC_TWICE: return severe(MSG_HASH_FAILED, "block");
    default: return severe(MSG_INDEX_ERROR, "STOCH");
  }
}

template <class T> T *allocated(int64_t n) {
  return static_cast<T *>(qrts__alloc("qrts_Csmps", (n + 1) * static_cast<int64_t>(sizeof(T)), 0));
}

// Variable v of the sections as a record of its own. Raises *largest to its longest realisation.
RandomVariable *makeVariable(const Sections *s, int v, int *largest) {
  const VariableStart *from = &s->variables[v];
  const int end = v + 1 < s->nVariables ? s->variables[v + 1].firstRealisation : s->nRealisations;
  const int count = end - from->firstRealisation;
  RandomVariable *variable = allocated<RandomVariable>(0);
  RealisationSet *set = variable->set = allocated<RealisationSet>(0);
  variable->type = from->type;
  variable->stage = from->stage;
  set->count = count;
  set->start = allocated<int>(count);
  set->probabilities = allocated<double>(count);
  const int firstElement = count ? s->realisations[from->firstRealisation].firstElement : 0;
  for (int r = 0; r <= count; ++r) {
    const int k = from->firstRealisation + r;
    const int element = k < s->nRealisations ? s->realisations[k].firstElement : s->elements.count;
    set->start[r] = element - firstElement + 1;
    if (r < count) set->probabilities[r] = s->realisations[k].probability;
    if (r > 0 && set->start[r] - set->start[r - 1] > *largest) *largest = set->start[r] - set->start[r - 1];
  }
  const int n = set->start[count] - 1;
  set->rows = allocated<int>(n);
  set->cols = allocated<int>(n);
  set->values = allocated<double>(n);
  if (n > 0) {
    memcpy(set->rows, s->elements.rows + firstElement, static_cast<size_t>(n) * sizeof(int));
    memcpy(set->cols, s->elements.cols + firstElement, static_cast<size_t>(n) * sizeof(int));
    memcpy(set->values, s->elements.values + firstElement, static_cast<size_t>(n) * sizeof(double));
  }
  return variable;
}

IndependentData *makeIndependent(const Sections *s) {
  IndependentData *independent = allocated<IndependentData>(0);
  independent->list = allocated<RandomVariableList>(0);
  independent->list->variables = allocated<RandomVariable *>(s->nVariables);
  int64_t product = 1, maxElements = 0;
  int largest = 0;
  for (int v = 0; v < s->nVariables; ++v) {
    RandomVariable *variable = makeVariable(s, v, &largest);
    independent->list->variables[independent->list->count++] = variable;
    // Published files have products far beyond any integer.
    product = product * variable->set->count > INT32_MAX ? INT32_MAX : product * variable->set->count;
    maxElements += largest;
  }
  independent->nScenarios = static_cast<int32_t>(product);
  independent->maxElements = maxElements > INT32_MAX ? INT32_MAX : static_cast<int32_t>(maxElements);
  return independent;
}

}  // namespace

int readRandomVariables(SmpsReader *reader, int *type) {
  if (!hasEndata(reader)) severe(MSG_NO_ENDATA, "STOCH");
  textFile_rewind(&reader->file);
  // Back to the section card, which the caller has read.
  for (int card = 0; card < 2; ++card)
    if (!nextCard(reader)) return severe(MSG_CANNOT_READ, reader->file.name);
  Sections sections{};
  int rc = RC_OK;
  *type = readSections(&rc, reader, *type, &sections);
  const int result = actOnCode(rc);
  if (result == 0) {
    StochData *sdata = reader->stoch->sdata;
    qrts_freeIndependent(sdata->independent);
    sdata->independent = makeIndependent(&sections);
    messageI(1, sdata->independent->list->count);
    messageI(2, sdata->independent->nScenarios);
    stochMessage(MSG_RANDOM_VARIABLES);
  }
  freeSections(&sections);
  return result;
}

int qrts_Cdget(QRTStoch *stoch, RandomVariableList **list) {
  const IndependentData *independent = stoch->sdata ? stoch->sdata->independent : nullptr;
  if (!independent) {
    messageC(2, "qrts_Cdget");
    return severe(MSG_BAD_STRUCTURE, "Independent");
  }
  if (!*list) *list = allocated<RandomVariableList>(0);
  **list = *independent->list;
  return 0;
}

void qrts_freeIndependent(IndependentData *independent) {
  if (!independent) return;
  for (int v = 0; v < independent->list->count; ++v) {
    RandomVariable *variable = independent->list->variables[v];
    free(variable->set->start);
    free(variable->set->rows);
    free(variable->set->cols);
    free(variable->set->probabilities);
    free(variable->set->values);
    free(variable->set);
    free(variable);
  }
  free(independent->list->variables);
  free(independent->list);
  free(independent);
}

const char *independent_check(const IndependentData *independent, const CoreData *core) {
  for (int v = 0; v < independent->list->count; ++v) {
    const RandomVariable *variable = independent->list->variables[v];
    const RealisationSet *set = variable->set;
    if (variable->stage < 2 || variable->stage > core->nStages) return "a random variable lies outside the stages";
    if (set->count < 1) return "a random variable has no realisation";
    if (set->start[0] != 1) return "the realisations do not start at 1";
    for (int r = 0; r < set->count; ++r)
      if (set->start[r + 1] < set->start[r]) return "the starts of the realisations fall";
    for (int k = 0; k < set->start[set->count] - 1; ++k) {
      if (set->rows[k] < 1 || set->rows[k] > core->nRows + EXT_OBJECTIVE) return "a row is out of range";
      if (set->cols[k] < 1 || set->cols[k] > core->nCols + EXT_COLS) return "a column is out of range";
    }
  }
  return nullptr;
}
