// The lenient manner: everything the readers accept beyond the letter, because published files contain it.
//
// A card is first read by the letter. Where a fixed reading cuts or skips text, or gives names that nobody knows, it
// is split by white space instead; then set names that differ from the core's are taken for what the second name
// says. Each kind of straying is told once a file. What is still not understood keeps the failure of the letter.
#include <cstdio>
#include <cstdlib>
#include <cstring>

#include "frame/messages.h"
#include "stoch/scn_smps.h"

namespace {

const char *const STRAYING_TEXT[STRAY_COUNT] = {
    "the problem name is not the core's; accepted",
    "NAME stands for STOCH",
    "no distribution named; taken as DISCRETE",
    "no period on the line; taken from the row, or from the column",
    "a second pair of name and value; read as another item",
    "a period that begins at no constraint row; it begins where the last one did",
    "the root in quotes",
    "tabs; read as blanks",
    "fields off their columns; split by white space",
    "names longer than 8 without FREE",
    "a second section; read as further random variables",
    "a set name that is not the core's; understood by the second name",
    "a section word in lower case",
    "an empty line; passed over",
};

const char *const BOUND_TYPES[] = {"UP", "LO", "FX", "MI", "PL", "FR", "BV", "UI", "LI"};

bool isBoundType(Field word) {
  for (const char *type : BOUND_TYPES)
    if (fieldEqualsAnyCase(word, type)) return true;
  return false;
}

constexpr int TOKENS = 8;

// A line cut by white space: a leading word that is one of the format's types, then the rest.
struct SplitLine {
  char type[2];
  Field field[TOKENS];
  int n;
};

void splitLine(const SmpsReader *reader, bool typeLeads, SplitLine *split) {
  Field tokens[TOKENS];
  const int n = lenientTokens(reader, tokens, TOKENS);
  const int skip = typeLeads && n > 0 ? 1 : 0;
  split->type[0] = skip ? tokens[0].text[0] : ' ';
  split->type[1] = skip && tokens[0].length > 1 ? tokens[0].text[1] : ' ';
  split->n = n - skip;
  for (int k = skip; k < n; ++k) split->field[k - skip] = tokens[k];
}

bool beginsWithBoundType(const SmpsReader *reader, int pairsBehind) {
  Field tokens[TOKENS];
  const int n = lenientTokens(reader, tokens, TOKENS);
  return n > pairsBehind && isBoundType(tokens[0]);
}

// A name of a set that is not the core's: the first name is no column, and the second leaves no doubt.
bool classifyBySecondName(SmpsReader *reader, const char type[2], Field first, Field second, Item *item) {
  if (first.length == 0 || findColumn(reader, first)) return false;
  *item = Item{};
  if (isBoundType(Field{type, 2}) && findColumn(reader, second))
    classifyBound(reader, type, second, item);
  else if (findRow(reader, second))
    classifyRightHandSide(reader, second, item);
  else
    return false;
  return item->rc < 300;
}

bool classifyBroadly(SmpsReader *reader, const char type[2], Field first, Field second, Item *item) {
  classifyItem(reader, type, first, second, item);
  if (item->rc < 300) return true;
  Item other;
  if (item->rc == RC_RANGES || !classifyBySecondName(reader, type, first, second, &other)) return false;
  *item = other;
  tellStraying(reader, STRAY_SET_NAME);
  return true;
}

// Understands fields that stand in order: first, second, value, then either period and probability or a second pair.
// Sets data->rc below 300 on success.
void understandFields(SmpsReader *reader, const SplitLine *split, bool independent, DataLine *data) {
  *data = DataLine{};
  data->rc = RC_BAD_NUMBER;
  const int n = split->n;
  const Field *f = split->field;
  if (n < (independent ? 4 : 3) || !readValue(reader, f[2], &data->values[0])) return;
  Item *item = &data->items[0];
  const bool known = classifyBroadly(reader, split->type, f[0], f[1], item);
  data->nItems = 1;
  data->rc = item->rc;
  data->missing = item->missing;
  if (!known) return;
  if (!independent) {
    if (n < 5 || f[3].length == 0) return;
    // The second pair shares the first name.
    data->nItems = 2;
    if (!readValue(reader, f[4], &data->values[1])) {
      data->rc = RC_BAD_NUMBER;
    } else if (!classifyBroadly(reader, split->type, f[0], f[3], &data->items[1])) {
      data->rc = data->items[1].rc;
      data->missing = data->items[1].missing;
    } else {
      tellStraying(reader, STRAY_SECOND_PAIR);
      if (data->items[1].rc) data->rc = data->items[1].rc;
    }
    return;
  }
  const Field probability = n > 4 ? f[4] : f[3];
  if (n > 4) {
    data->stage = findPeriod(reader, f[3]);
    if (!data->stage) {
      data->rc = RC_NO_STAGE;
      data->missing = f[3];
      return;
    }
  } else if (item->count > 0) {
    data->stage = stageOfElement(reader->core, item->rows[0], item->cols[0]);
    tellStraying(reader, STRAY_NO_PERIOD);
  }
  if (!readValue(reader, probability, &data->probability)) data->rc = RC_BAD_NUMBER;
}

// Text behind the value: a second pair, or a remark.
bool lineHasMore(const SmpsReader *reader, const Card *card) {
  const Field value = card->field[2];
  for (const char *p = value.text + value.length; p < reader->file.line + reader->file.length; ++p)
    if (*p != ' ') return *p != '$';
  return false;
}

}  // namespace

void tellStraying(SmpsReader *reader, Straying what) {
  if (reader->told & (1u << what)) return;
  reader->told |= 1u << what;
  char text[128];
  const char *name = reader->file.name ? reader->file.name : "";
  const char *slash = strrchr(name, '/');
  snprintf(text, sizeof text, "%.40s, card %lld: %s", slash ? slash + 1 : name, static_cast<long long>(reader->file.card),
           STRAYING_TEXT[what]);
  qrt_userMessage(reader->stoch->baseModel, 1, text);
}

int cutByBlanks(const char *line, int length, Field *tokens, int most) {
  int n = 0;
  for (int k = 0; n < most;) {
    while (k < length && line[k] == ' ') ++k;
    if (k >= length || line[k] == '$') break;
    const int start = k;
    while (k < length && line[k] != ' ' && line[k] != '$') ++k;
    tokens[n++] = Field{line + start, k - start};
  }
  return n;
}

int lenientTokens(const SmpsReader *reader, Field *tokens, int most) {
  return cutByBlanks(reader->file.line, reader->file.length, tokens, most);
}

bool lenientAligned(const SmpsReader *reader, const Card *card, const CardLayout *layout) {
  Field tokens[TOKENS];
  int n = lenientTokens(reader, tokens, TOKENS), at = 0;
  // A type in columns 2 and 3 is no field.
  if (n > 0 && tokens[0].text - reader->file.line < 4) {
    if (tokens[0].text - reader->file.line + tokens[0].length > 4) return false;
    at = 1;
  }
  for (int k = 0; k < layout->count; ++k) {
    const Field field = card->field[k];
    if (field.length == 0) continue;
    if (at >= n || tokens[at].text != field.text || tokens[at].length != field.length) return false;
    ++at;
  }
  return true;
}

void lenientDataLine(SmpsReader *reader, const CardLayout *layout, const Card *card, DataLine *data) {
  const bool independent = layout == &INDEP_CARD;
  const bool aligned = lenientAligned(reader, card, layout);
  if (aligned) {
    understandCard(reader, layout, card, data);
    if (data->rc < 300 && (independent || !lineHasMore(reader, card))) return;
  }
  DataLine split;
  SplitLine line;
  // As one of the format's bound types only where it leaves the names and the value their places.
  splitLine(reader, beginsWithBoundType(reader, independent ? 4 : 3), &line);
  if (!independent && line.n == 4 && aligned && data->rc < 300) return;  // a remark behind the value
  understandFields(reader, &line, independent, &split);
  if (split.rc >= 300) {
    if (!aligned) understandCard(reader, layout, card, data);
    // A second pair with an unknown name is refused. Of two failures the more telling one stands: a name nobody
    // knows, rather than a number that is none.
    const bool badPair = data->rc < 300 && line.n >= 5 && split.rc != RC_BAD_NUMBER && !independent;
    if (badPair || data->rc == RC_BAD_NUMBER || (data->rc >= 300 && split.missing.length > 0)) *data = split;
    return;
  }
  *data = split;
  if (!aligned && !(independent && line.n == 4)) tellStraying(reader, STRAY_OFF_COLUMNS);
}

bool lenientHeadCard(SmpsReader *reader, const CardLayout *layout, Card *card) {
  // Fixed fields that are the line's tokens stand. A field may be missing: the row of a period, the period of a root.
  if (lenientAligned(reader, card, layout)) return true;
  SplitLine line;
  splitLine(reader, layout != &TIME_CARD, &line);
  if (line.n < 2) return false;
  for (int k = 0; k < layout->count; ++k) card->field[k] = k < line.n ? line.field[k] : Field{"", 0};
  tellStraying(reader, STRAY_OFF_COLUMNS);
  return true;
}

bool lenientNoPeriodRow(SmpsReader *reader, Card *card) {
  Field *field = card->field;
  if (field[2].length == 0 && field[1].length > 0) {
    // Two fields only: a column and a period.
    field[2] = field[1];
    field[1] = Field{"", 0};
  }
  if (field[1].length > 0 && !nameIs(reader, field[1], reader->smps->objectiveName)) return false;
  if (field[2].length == 0) return false;
  tellStraying(reader, STRAY_NO_PERIOD_ROW);
  return true;
}

bool lenientIsRoot(SmpsReader *reader, Field parent) {
  if (parent.length >= 2 && (parent.text[0] == '\'' || parent.text[0] == '"')) {
    parent.text += 1;
    parent.length -= parent.text[parent.length - 2] == parent.text[-1] ? 2 : 1;
    if (!fieldEqualsAnyCase(parent, "ROOT")) return false;
    tellStraying(reader, STRAY_QUOTED_ROOT);
    return true;
  }
  return fieldEqualsAnyCase(parent, "ROOT");
}
