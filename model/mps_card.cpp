// One card to fields: the fixed layouts, the free format, decimal and packed numbers.

#include <charconv>
#include <cmath>
#include <cstring>

#include "frame/messages.h"
#include "frame/units.h"
#include "model/mps_reader.h"

namespace {

constexpr int NUMBER_WIDTH = 12;
constexpr int NUMBER_WIDTH_HEX = 16;
constexpr int LONG_NAME = 13;  // from this length on a fixed card holds one pair

// 10^k is exact in a double up to here.
const double powersOfTen[] = {1e0,  1e1,  1e2,  1e3,  1e4,  1e5,  1e6,  1e7,  1e8,  1e9,  1e10, 1e11,
                              1e12, 1e13, 1e14, 1e15, 1e16, 1e17, 1e18, 1e19, 1e20, 1e21, 1e22};
constexpr int MAX_EXACT_POWER = 22;
constexpr int MAX_MANTISSA_DIGITS = 19;
constexpr uint64_t MAX_EXACT_INTEGER = uint64_t(1) << 53;

bool isDigit(char c) { return c >= '0' && c <= '9'; }

int letters(const char *text, int length, const char *word) {
  int k = 0;
  while (word[k] && k < length && (text[k] | 0x20) == word[k]) k++;
  return word[k] ? 0 : k;
}

// The slow way for numbers whose digits or exponent leave the exact range: `text` is digits, point and exponent.
double convertLong(const char *text, int length, int magnitude) {
  char copy[128];
  if (length > int(sizeof copy)) length = int(sizeof copy);  // cards are shorter
  for (int k = 0; k < length; k++) copy[k] = text[k] == 'd' || text[k] == 'D' ? 'e' : text[k];
  double value = 0;
  const std::from_chars_result result = std::from_chars(copy, copy + length, value);
  if (result.ec == std::errc::result_out_of_range) return magnitude > 0 ? HUGE_VAL : 0.0;
  return value;
}

// Reads a line into the card up to its first control character; what lies beyond the card's columns is lost.
bool readLine(CardReader *reader) {
  FILE *stream = reader->stream;
  if (!stream) return false;
  const int columns = reader->binary ? CARD_COLUMNS_BINARY : CARD_COLUMNS;
  char *text = reader->text;
  int c = getc_unlocked(stream);
  if (c == EOF) return false;
  int length = 0;
  while (c >= ' ' && length < columns) {
    text[length++] = char(c);
    c = getc_unlocked(stream);
  }
  while (c != '\n' && c != EOF) c = getc_unlocked(stream);
  reader->length = length;
  memset(text + length, ' ', size_t(CARD_COLUMNS_BINARY - length));
  return true;
}

// Columns first .. first + width - 1 of the card (from 1), blanks removed, padded to the name length.
void takeName(const CardReader *reader, char *name, int first, int width) {
  const int length = reader->nameLength;
  int kept = 0;
  if (first <= CARD_COLUMNS_BINARY) {
    if (first + width - 1 > CARD_COLUMNS_BINARY) width = CARD_COLUMNS_BINARY - first + 1;
    const char *from = reader->text + first - 1;
    for (int k = 0; k < width; k++)
      if (from[k] != ' ') name[kept++] = from[k];
  }
  while (kept < length) name[kept++] = ' ';
}

void takeNumber(const CardReader *reader, char *number, int first, int width) {
  memset(number, ' ', NUMBER_WIDTH_HEX);
  if (first + width - 1 > CARD_COLUMNS_BINARY) width = CARD_COLUMNS_BINARY - first + 1;
  if (width > 0) memcpy(number, reader->text + first - 1, size_t(width));
}

struct Token {
  const char *text;
  int length;
};

// Tokens from column `first` to the last column; a "$" at the start of one ends the card.
int findTokens(const CardReader *reader, int first, Token *tokens, int most) {
  const int end = reader->length < CARD_COLUMNS ? reader->length : CARD_COLUMNS;
  int count = 0;
  int k = first - 1;
  while (count < most) {
    while (k < end && reader->text[k] == ' ') k++;
    if (k >= end || reader->text[k] == '$') break;
    tokens[count].text = reader->text + k;
    const int begin = k;
    while (k < end && reader->text[k] != ' ') k++;
    tokens[count++].length = k - begin;
  }
  return count;
}

void putToken(char *field, int size, const Token *token) {
  const int length = token->length < size ? token->length : size;
  memcpy(field, token->text, size_t(length));
  memset(field + length, ' ', size_t(size - length));
}

void clearFields(CardReader *reader) {
  const size_t length = size_t(reader->nameLength);
  memset(reader->name1, ' ', length);
  memset(reader->name2, ' ', length);
  memset(reader->name3, ' ', length);
  memset(reader->number2, ' ', sizeof reader->number2);
  memset(reader->number3, ' ', sizeof reader->number3);
  reader->value2 = reader->value3 = 0;
  reader->pairs = 0;
}

// Fixed layout of names of 8: type 2-3, names at 5, 15 and 40, numbers at 25 and 50.
void cutFast(CardReader *reader) {
  takeName(reader, reader->name1, 5, 8);
  const int pairs = ((reader->length < 61 ? reader->length : 61) + 10) / 25;
  reader->pairs = 0;
  if (pairs < 1 || reader->text[14] == ' ' || reader->text[14] == '$') {
    memset(reader->name2, ' ', 8);
    memset(reader->name3, ' ', 8);
    return;
  }
  reader->pairs = 1;
  takeName(reader, reader->name2, 15, 8);
  takeNumber(reader, reader->number2, 25, NUMBER_WIDTH);
  if (pairs < 2 || reader->text[39] == ' ' || reader->text[39] == '$') {
    memset(reader->name3, ' ', 8);
    return;
  }
  reader->pairs = 2;
  takeName(reader, reader->name3, 40, 8);
  takeNumber(reader, reader->number3, 50, NUMBER_WIDTH);
}

// Fixed layout of names of another length: the fields follow one another with a blank between. It differs from
// that of 8 characters, which has wider gaps.
void cutFixed(CardReader *reader) {
  const int L = reader->nameLength;
  const int w = reader->binary ? NUMBER_WIDTH_HEX : NUMBER_WIDTH;
  clearFields(reader);
  if (L == 8) {
    takeName(reader, reader->name1, 5, 8);
    takeName(reader, reader->name2, 15, 8);
    takeNumber(reader, reader->number2, 25, NUMBER_WIDTH);
    takeName(reader, reader->name3, 40, 8);
    takeNumber(reader, reader->number3, 50, NUMBER_WIDTH);
  } else {
    takeName(reader, reader->name1, 5, L);
    takeName(reader, reader->name2, L + 6, L);
    takeNumber(reader, reader->number2, 2 * L + 7, w);
    if (L < LONG_NAME) {
      takeName(reader, reader->name3, 2 * L + w + 8, L);
      takeNumber(reader, reader->number3, 3 * L + w + 9, w);
    } else if (fieldIs(reader->name2, L, "'MARKER'")) {
      // The second pair has no room, but a marker says what it is in that place.
      Token word;
      if (findTokens(reader, 2 * L + 7, &word, 1) == 1) putToken(reader->name3, L, &word);
    }
  }
  if (!isBlank(reader->name2, L)) reader->pairs = isBlank(reader->name3, L) ? 1 : 2;
}

// Free format: tokens only. False for a card with fewer than two of them.
bool cutFree(CardReader *reader, int mode) {
  Token tokens[6];
  const int L = reader->nameLength;
  int count = findTokens(reader, 2, tokens, 6);
  if (count < 2) return false;
  clearFields(reader);
  memset(reader->head, ' ', 4);
  const Token *token = tokens;
  const bool typed = mode == 2 || reader->sectionState == STATE_ROWS || reader->sectionState == STATE_BOUNDS;
  const bool setType = token->length == 2 && token->text[0] == 'S' && (token->text[1] == '1' || token->text[1] == '2');
  if (typed || (setType && reader->sectionState != STATE_ROWS)) {
    memcpy(reader->head + 1, token->text, size_t(token->length < 2 ? token->length : 2));
    token++;
    count--;
  }
  putToken(reader->name1, L, token);
  if (mode == 1 && reader->sectionState == STATE_ROWS) return true;
  if (count < 2) return true;
  putToken(reader->name2, L, token + 1);
  reader->pairs = 1;
  if (mode == 1 && reader->sectionState == STATE_COLUMNS && fieldIs(reader->name2, L, "'MARKER'")) {
    if (count >= 3) putToken(reader->name3, L, token + 2);
    return true;
  }
  if (count >= 3) putToken(reader->number2, NUMBER_WIDTH_HEX, token + 2);
  if (count >= 5) {
    putToken(reader->name3, L, token + 3);
    putToken(reader->number3, NUMBER_WIDTH_HEX, token + 4);
    reader->pairs = 2;
  }
  return true;
}

// The name and the flag word of a NAME card. A flag word may stand alone: with names of 8 the name has its columns.
void cutNameCard(CardReader *reader) {
  Token tokens[6];
  const int count = findTokens(reader, 5, tokens, 6);
  memset(reader->name2, ' ', sizeof reader->name2);
  memset(reader->number2, ' ', sizeof reader->number2);
  if (count >= 1) putToken(reader->name2, int(sizeof reader->name2), &tokens[0]);
  if (count >= 2) putToken(reader->number2, int(sizeof reader->number2), &tokens[1]);
  if (reader->nameLength == 8 && count == 1 && isBlank(reader->text + 14, 8)) {
    putToken(reader->number2, int(sizeof reader->number2), &tokens[0]);
    memset(reader->name2, ' ', sizeof reader->name2);
  }
  if (fieldIs(reader->number2, int(sizeof reader->number2), "FREE")) {
    reader->format = FORMAT_FREE;
    reader->freeByCard = 1;
    reader->nameLength = MAX_NAME;
    qrtmesg_no(MSG_FREE_FORMAT);
  }
  reader->sectionState = STATE_ROWS;
  if (reader->nameLength == 8 && reader->format == FORMAT_FIXED) reader->format = FORMAT_FAST;
}

// Twelve columns of the common dialect: blanks dropped, digits with a point. Anything else goes the general way.
bool convertFast(const char *text, double *value) {
  char packed[NUMBER_WIDTH];
  int length = 0;
  uint64_t digits = 0;
  int nDigits = 0, decimals = -1;
  bool plain = true;
  for (int k = 0; k < NUMBER_WIDTH; k++) {
    const char c = text[k];
    if (c == ' ') continue;
    if (isDigit(c)) {
      digits = digits * 10 + uint64_t(c - '0');
      nDigits++;
      if (decimals >= 0) decimals++;
    } else if (c == '.' && decimals < 0) {
      decimals = 0;
    } else if ((c != '-' && c != '+') || length > 0) {
      plain = false;
    }
    packed[length++] = c;
  }
  if (!plain || nDigits == 0) return parseReal(packed, length, value) > 0;
  const double size = decimals > 0 ? double(digits) / powersOfTen[decimals] : double(digits);
  *value = packed[0] == '-' ? -size : size;
  return true;
}

bool convertHex(const char *text, double *value) {
  uint64_t bits = 0;
  for (int k = 0; k < NUMBER_WIDTH_HEX; k++) {
    const char c = text[k];
    int digit = 0;
    if (isDigit(c)) digit = c - '0';
    else if (c >= 'a' && c <= 'f') digit = c - 'a' + 10;
    else if (c >= 'A' && c <= 'F') digit = c - 'A' + 10;
    else return false;
    bits = bits << 4 | uint64_t(digit);
  }
  memcpy(value, &bits, 8);
  return true;
}

bool convertText(const CardReader *reader, const char *number, double *value) {
  if (reader->binary) return reader->nameLength == 8 ? unpackBinary(number, value) : convertHex(number, value);
  if (reader->format == FORMAT_FAST) return convertFast(number, value);
  return parseReal(number, NUMBER_WIDTH_HEX, value) > 0;
}

void convertPair(CardReader *reader, const char *name, char *number, double *value) {
  *value = 0;
  bool good = convertText(reader, number, value) && !std::isnan(*value);
  if (good && reader->sectionState != STATE_COLUMNS) {
    // Bounds of this size mean none; an infinite one would spoil the arithmetic of ranges.
    if (*value > QRT_INFINITY) *value = QRT_INFINITY;
    if (*value < -QRT_INFINITY) *value = -QRT_INFINITY;
    if (std::fabs(*value) < reader->dropBelow) *value = 0;
  } else if (good) {
    good = !std::isinf(*value);
  }
  if (good) return;
  messageI(1, reader->cardNumber);
  qrtmesg_no_q2_i1(MSG_BAD_NUMBER, name, reader->nameLength, number, NUMBER_WIDTH_HEX, reader->cardNumber);
  *value = 0;
  memset(number, ' ', NUMBER_WIDTH_HEX);
}

// Markers and bounds without a value have no number to convert.
bool cardHasNumbers(const CardReader *reader) {
  if (reader->sectionState == STATE_RHS) return true;
  if (reader->sectionState == STATE_COLUMNS)
    return reader->name2[0] != '\'' || !fieldIs(reader->name2, reader->nameLength, "'MARKER'");
  if (reader->sectionState != STATE_BOUNDS) return false;
  const char *head = reader->head;
  return memcmp(head, " LO ", 4) == 0 || memcmp(head, " UP ", 4) == 0 || memcmp(head, " FX ", 4) == 0 ||
         memcmp(head, " UI ", 4) == 0;
}

void tellEnd(const CardReader *reader) {
  messageI(1, -1);
  messageI(2, reader->unit);
  if (reader->sectionState != STATE_START) {
    qrtmesg_no(MSG_PREMATURE_END);
    return;
  }
  messageC(1, reader->wantedName ? reader->wantedName : "", reader->wantedName ? 80 : 0);
  qrtmesg_no(MSG_NO_NAME_CARD);
}

}  // namespace

int parseReal(const char *text, int length, double *value) {
  int k = 0;
  while (k < length && text[k] == ' ') k++;
  bool negative = false;
  if (k < length && (text[k] == '-' || text[k] == '+')) negative = text[k++] == '-';
  const int begin = k;
  uint64_t mantissa = 0;
  int significant = 0, nDigits = 0, exponent = 0, dropped = 0;
  bool point = false;
  for (; k < length; k++) {
    if (text[k] == '.' && !point) {
      point = true;
      continue;
    }
    if (!isDigit(text[k])) break;
    nDigits++;
    if (point) exponent--;
    if (significant < MAX_MANTISSA_DIGITS) {
      mantissa = mantissa * 10 + uint64_t(text[k] - '0');
      if (mantissa) significant++;
    } else {
      dropped++;
    }
  }
  if (nDigits == 0) {
    const int used = letters(text + begin, length - begin, "inf");
    if (used == 0) return 0;
    *value = negative ? -HUGE_VAL : HUGE_VAL;
    const int whole = letters(text + begin, length - begin, "infinity");
    return begin + (whole ? whole : used);
  }
  if (k + 1 < length && (text[k] == 'e' || text[k] == 'E' || text[k] == 'd' || text[k] == 'D')) {
    int p = k + 1;
    bool down = false;
    if (text[p] == '-' || text[p] == '+') down = text[p++] == '-';
    if (p < length && isDigit(text[p])) {
      int written = 0;
      for (; p < length && isDigit(text[p]); p++)
        if (written < 100000) written = written * 10 + (text[p] - '0');
      exponent += down ? -written : written;
      k = p;
    }
  }
  double size = 0;
  if (mantissa == 0) {
    size = 0;
  } else if (dropped == 0 && mantissa <= MAX_EXACT_INTEGER && exponent >= -MAX_EXACT_POWER && exponent <= MAX_EXACT_POWER) {
    // Both operands are exact, so one rounding gives the nearest double.
    size = exponent < 0 ? double(mantissa) / powersOfTen[-exponent] : double(mantissa) * powersOfTen[exponent];
  } else {
    size = convertLong(text + begin, k - begin, significant + dropped + exponent);
  }
  *value = negative ? -size : size;
  return k;
}

bool unpackBinary(const char *text, double *value) {
  uint64_t words[2];
  for (int half = 0; half < 2; half++) {
    uint64_t bits = 0;
    for (int k = 5; k >= 0; k--) {
      const char c = text[half * 6 + k];
      unsigned code = 0;
      if (isDigit(c)) code = unsigned(c - '0');
      else if (c >= 'a' && c <= 'z') code = unsigned(c - 'a') + 10;
      else if (c >= 'A' && c <= 'Z') code = unsigned(c - 'A') + 36;
      else if (c == '*') code = 62;
      else if (c == '+') code = 63;
      else return false;
      bits = bits << 6 | code;
    }
    words[half] = bits & 0xffffffffu;
  }
  const uint64_t whole = words[1] << 32 | words[0];
  memcpy(value, &whole, 8);
  return true;
}

bool isBlank(const char *field, int length) {
  static const char blanks[] = "                                                                                ";
  return memcmp(field, blanks, size_t(length)) == 0;
}

bool fieldIs(const char *field, int length, const char *word) {
  return qrts_cmp(field, length, word, int(strlen(word))) == 0;
}

bool sectionBegins(const CardReader *reader, const char *word) {
  return memcmp(reader->text, word, strlen(word)) == 0;
}

void sectionOperand(const CardReader *reader, char operand[80]) {
  Token tokens[2];
  memset(operand, ' ', 80);
  if (findTokens(reader, 1, tokens, 2) == 2) putToken(operand, 80, &tokens[1]);
}

void startCards(CardReader *reader, int unit, int nameLength, bool freeFormat) {
  memset(reader, 0, sizeof *reader);
  reader->unit = unit;
  if (unit >= UNIT_FIRST_NAMED && unit < UNIT_FIRST_NAMED + UNIT_NAMED_COUNT)
    reader->stream = qrt_file_fp[unit - UNIT_FIRST_NAMED];
  else
    reader->stream = unit == UNIT_STDIN && !qrt_FILE(unit) ? stdin : qrt_FILE(unit);
  reader->format = reader->startFormat = freeFormat ? FORMAT_FREE : FORMAT_FIXED;
  reader->nameLength = reader->startLength = freeFormat ? MAX_NAME : nameLength;
  reader->sectionState = STATE_START;
}

void qrtincd(CardReader *reader, int mode, int *kind) {
  for (;;) {
    if (!readLine(reader)) {
      *kind = CARD_END;
      tellEnd(reader);
      return;
    }
    reader->cardNumber++;
    memcpy(reader->head, reader->text, 4);
    if (reader->text[0] == '*') continue;
    if (reader->text[0] != ' ') {
      *kind = CARD_SECTION;
      messageI(1, reader->cardNumber);
      messageQ(reader->text, CARD_COLUMNS);
      if (!reader->silent) qrtmesg_no(MSG_SECTION_CARD);
      if (sectionBegins(reader, "NAME")) {
        if (reader->sectionState == STATE_START) cutNameCard(reader);
        return;
      }
      if (reader->sectionState == STATE_START) continue;
      return;
    }
    if (reader->sectionState == STATE_START) continue;
    *kind = CARD_DATA;
    if (reader->format == FORMAT_FREE) {
      if (!cutFree(reader, mode)) continue;
    } else if (reader->format == FORMAT_FAST) {
      cutFast(reader);
    } else {
      cutFixed(reader);
    }
    if (mode == 1 && reader->pairs > 0 && cardHasNumbers(reader)) {
      convertPair(reader, reader->name2, reader->number2, &reader->value2);
      if (reader->pairs > 1) convertPair(reader, reader->name3, reader->number3, &reader->value3);
    }
    return;
  }
}

bool cardNumber(const CardReader *reader, int which, double *value) {
  return convertText(reader, which == 2 ? reader->number2 : reader->number3, value) && std::isfinite(*value);
}
