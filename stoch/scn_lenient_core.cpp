// The lenient manner for the core file: a fixed file whose fields stand off their columns, or with tabs, long names
// or lower-case section words, is rewritten in free format before the reader of MPS files sees it. A file that keeps
// to the letter is left alone, and so is one that white space cannot split with certainty.
#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <cstring>

#include "stoch/scn_smps.h"

namespace {

constexpr int TOKENS = 8;
constexpr int CARD_COLUMNS = 80;

enum Section { NONE, NAME, ROWS, COLUMNS, RHS, RANGES, BOUNDS, ENDATA, UNKNOWN };
struct SectionWord {
  const char *word;
  Section section;
};
const SectionWord SECTIONS[] = {{"NAME", NAME},     {"ROWS", ROWS},     {"COLUMNS", COLUMNS}, {"RHS", RHS},
                                {"RANGES", RANGES}, {"BOUNDS", BOUNDS}, {"ENDATA", ENDATA}};

Section sectionOf(Field word) {
  for (const SectionWord &s : SECTIONS)
    if (fieldEqualsAnyCase(word, s.word)) return s.section;
  return UNKNOWN;
}

bool lowerCase(Field word) {
  for (int k = 0; k < word.length; ++k)
    if (word.text[k] >= 'a' && word.text[k] <= 'z') return true;
  return false;
}

// Columns from 1.
bool inside(const char *line, Field token, int first, int last) {
  const int start = static_cast<int>(token.text - line) + 1;
  return start >= first && start + token.length - 1 <= last;
}

// -1 when the tokens of a data card stand in the fields of the fixed format, else the straying.
int strayOfCard(Section section, const char *line, const Field *tokens, int n) {
  static const int FIRST[] = {5, 15, 25, 40, 50}, LAST[] = {12, 22, 36, 47, 61};
  int from = 0, windows = 5;
  if (section == ROWS || section == BOUNDS) {
    if (!inside(line, tokens[0], 2, 3)) return STRAY_OFF_COLUMNS;
    from = 1;
    if (section == ROWS) windows = 1;
  }
  for (int t = from; t < n; ++t) {
    if (tokens[t].text - line >= 61) break;  // remarks
    bool fits = false;
    for (int w = 0; w < windows && !fits; ++w) fits = inside(line, tokens[t], FIRST[w], LAST[w]);
    if (fits) continue;
    double value;
    const bool name = !scanDouble(tokens[t].text, tokens[t].length, &value);
    return name && tokens[t].length > 8 ? STRAY_LONG_NAMES : STRAY_OFF_COLUMNS;
  }
  return -1;
}

// The tokens of the next card that is neither blank nor a comment; 0 at the end of the file.
int nextTokens(SmpsReader *reader, Field *tokens) {
  while (textFile_next(&reader->file)) {
    if (reader->file.length == 0 || reader->file.line[0] == '*') continue;
    const int n = cutByBlanks(reader->file.line, reader->file.length, tokens, TOKENS);
    if (n > 0) return n;
  }
  return 0;
}

// Notes every straying of the file; true when it must be rewritten.
bool scanCore(SmpsReader *reader, bool isFree) {
  Section section = NONE;
  bool strays = false;
  Field tokens[TOKENS];
  for (int n; section != ENDATA && (n = nextTokens(reader, tokens)) > 0;) {
    const char *line = reader->file.line;
    const int length = reader->file.length;
    int stray = -1;
    const bool tabs = line == reader->file.untabbed;
    if (line[0] != ' ') {
      section = sectionOf(tokens[0]);
      if (section == UNKNOWN) return false;
      if (tabs) stray = STRAY_TABS;
      if (lowerCase(tokens[0])) stray = STRAY_LOWER_CASE;
    } else if (section > NAME) {
      if (tabs) {
        stray = STRAY_TABS;
      } else if (isFree) {
        if (length > CARD_COLUMNS) stray = STRAY_OFF_COLUMNS;
      } else {
        stray = strayOfCard(section, line, tokens, n);
      }
    }
    if (stray < 0) continue;
    strays = true;
    tellStraying(reader, static_cast<Straying>(stray));
  }
  return strays;
}

void put(FILE *out, Field field) {
  fputc(' ', out);
  fwrite(field.text, 1, static_cast<size_t>(field.length), out);
}

const Field RHS_SET = {"RHS", 3}, RANGE_SET = {"RNG", 3}, BOUND_SET = {"BND", 3};

// One pair a card, so that no card grows too long: name 1 with each (name, value).
bool putPairs(FILE *out, Field first, const Field *pairs, int n) {
  if (n < 2 || n % 2 != 0) return false;
  for (int k = 0; k < n; k += 2) {
    fputs("   ", out);
    put(out, first);
    put(out, pairs[k]);
    put(out, pairs[k + 1]);
    fputc('\n', out);
  }
  return true;
}

bool putBound(FILE *out, const Field *tokens, int n) {
  static const char *const VALUELESS[] = {"FR", "MI", "PL", "BV"};
  bool valueless = false;
  for (const char *type : VALUELESS) valueless = valueless || fieldEqualsAnyCase(tokens[0], type);
  const int withoutSet = valueless ? 2 : 3;
  if (n < withoutSet || n > 4) return false;
  put(out, tokens[0]);
  put(out, n == withoutSet ? BOUND_SET : tokens[1]);
  for (int k = n == withoutSet ? 1 : 2; k < n; ++k) put(out, tokens[k]);
  fputc('\n', out);
  return true;
}

bool putCard(FILE *out, Section section, const Field *tokens, int n) {
  switch (section) {
    case ROWS:
      if (n != 2) return false;
      put(out, tokens[0]);
      put(out, tokens[1]);
      fputc('\n', out);
      return true;
    case COLUMNS:
      if (n == 3 && fieldEqualsAnyCase(tokens[1], "'MARKER'")) {
        fputs("   ", out);
        for (int k = 0; k < 3; ++k) put(out, tokens[k]);
        fputc('\n', out);
        return true;
      }
      return n % 2 == 1 && putPairs(out, tokens[0], tokens + 1, n - 1);
    case RHS:
    case RANGES:
      if (n % 2 == 1) return putPairs(out, tokens[0], tokens + 1, n - 1);
      return putPairs(out, section == RHS ? RHS_SET : RANGE_SET, tokens, n);
    case BOUNDS: return putBound(out, tokens, n);
    default: return true;
  }
}

// Writes the file again in free format; false when a card cannot be split with certainty.
bool rewriteCore(SmpsReader *reader, FILE *out) {
  Section section = NONE;
  Field tokens[TOKENS];
  for (int n; section != ENDATA && (n = nextTokens(reader, tokens)) > 0;) {
    const char *line = reader->file.line;
    if (line[0] == ' ') {
      if (section > NAME && !putCard(out, section, tokens, n)) return false;
      continue;
    }
    section = sectionOf(tokens[0]);
    if (section == UNKNOWN) return false;
    for (const SectionWord &s : SECTIONS)
      if (s.section == section) fputs(s.word, out);
    if (section == NAME && n > 1) {
      fputs("         ", out);
      put(out, tokens[1]);
    }
    fputc('\n', out);
  }
  return true;
}

}  // namespace

char *lenientCore(SmpsReader *reader, bool isFree) {
  const char *name = reader->file.name;
  if (!textFile_open(&reader->file, name, true)) return nullptr;
  char *copy = nullptr;
  if (scanCore(reader, isFree)) {
    copy = recordFile_temporaryName();
    FILE *out = copy ? fopen(copy, "w") : nullptr;
    textFile_rewind(&reader->file);
    bool good = out && rewriteCore(reader, out);
    if (out && fclose(out) != 0) good = false;
    if (!good && copy) {
      unlink(copy);
      free(copy);
      copy = nullptr;
    }
  }
  textFile_close(&reader->file);
  reader->file.name = name;
  return copy;
}
