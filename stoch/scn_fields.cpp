// Lines, fields and numbers of the SMPS files.
#include "stoch/scn_fields.h"

#include <sys/stat.h>

#include <charconv>
#include <cstdlib>
#include <cstring>

#include "stoch/scn_stoc.h"

namespace {
constexpr int64_t BUFFER_BYTES = 1 << 20;

// Keeps the unread end of the buffer and fills up behind it.
void refill(TextFile *file) {
  const int64_t rest = file->filled - file->next;
  memmove(file->buffer, file->buffer + file->next, static_cast<size_t>(rest));
  file->next = 0;
  file->filled = rest;
  const size_t got = fread(file->buffer + rest, 1, static_cast<size_t>(BUFFER_BYTES - rest), file->stream);
  file->filled += static_cast<int64_t>(got);
  if (static_cast<int64_t>(got) < BUFFER_BYTES - rest) file->streamEnded = true;
}

// End of the line that begins at `next`, or null when the buffer holds no line end.
char *lineEnd(TextFile *file) {
  return static_cast<char *>(memchr(file->buffer + file->next, '\n', static_cast<size_t>(file->filled - file->next)));
}

void dropRestOfLine(TextFile *file) {
  for (;;) {
    if (char *end = lineEnd(file)) {
      file->next = end - file->buffer + 1;
      break;
    }
    file->next = file->filled;
    if (file->streamEnded) break;
    refill(file);
  }
  file->dropsRest = false;
}

void presentLine(TextFile *file, const char *start, int64_t length) {
  if (length > 0 && start[length - 1] == '\r') --length;
  if (length > SCN_LINE_LENGTH) length = SCN_LINE_LENGTH;
  if (const void *nul = memchr(start, 0, static_cast<size_t>(length))) length = static_cast<const char *>(nul) - start;
  file->line = start;
  file->length = static_cast<int>(length);
  ++file->card;
  if (!file->blankTabs || !memchr(start, '\t', static_cast<size_t>(length))) return;
  for (int k = 0; k < file->length; ++k) file->untabbed[k] = start[k] == '\t' ? ' ' : start[k];
  file->line = file->untabbed;
}

// ---- numbers

// A decimal number cut into sign, digits and exponent: value = mantissa * 10^exponent.
struct Decimal {
  uint64_t mantissa;
  int exponent;
  bool negative;
  bool exact;      // all digits fit the mantissa
};

bool isDigit(char c) { return c >= '0' && c <= '9'; }

// Longest numeric beginning; false when there is no digit.
bool cutDecimal(const char *p, const char *end, bool letterD, Decimal *out) {
  *out = Decimal{0, 0, false, true};
  if (p < end && (*p == '-' || *p == '+')) out->negative = *p++ == '-';
  bool digits = false, point = false;
  for (; p < end; ++p) {
    if (*p == '.' && !point) {
      point = true;
      continue;
    }
    if (!isDigit(*p)) break;
    digits = true;
    if (out->mantissa > (UINT64_MAX - 9) / 10) {
      out->exact = false;  // the rest is left to the slow path, which reads the text again
      continue;
    }
    out->mantissa = out->mantissa * 10 + static_cast<uint64_t>(*p - '0');
    if (point) --out->exponent;
  }
  if (!digits) return false;
  if (p < end && (*p == 'e' || *p == 'E' || (letterD && (*p == 'd' || *p == 'D')))) {
    const char *q = p + 1;
    bool minus = false;
    if (q < end && (*q == '-' || *q == '+')) minus = *q++ == '-';
    int power = 0;
    const bool any = q < end && isDigit(*q);
    for (; q < end && isDigit(*q); ++q)
      if (power < 100000) power = power * 10 + (*q - '0');
    if (any) out->exponent += minus ? -power : power;
  }
  return true;
}

constexpr double POWERS[] = {1e0,  1e1,  1e2,  1e3,  1e4,  1e5,  1e6,  1e7,  1e8,  1e9,  1e10, 1e11,
                             1e12, 1e13, 1e14, 1e15, 1e16, 1e17, 1e18, 1e19, 1e20, 1e21, 1e22};

// Both the mantissa and the power of ten are exact doubles, so one operation rounds correctly (Clinger's fast path).
bool fastDouble(const Decimal &d, double *value) {
  if (!d.exact || d.mantissa > (1ull << 53) || d.exponent < -22 || d.exponent > 22) return false;
  const double m = static_cast<double>(d.mantissa);
  const double v = d.exponent < 0 ? m / POWERS[-d.exponent] : m * POWERS[d.exponent];
  *value = d.negative ? -v : v;
  return true;
}

// Everything else: correctly rounded and blind to the locale. Infinite results are refused, underflow gives 0.
template <class Real> bool slowReal(const char *p, const char *end, bool letterD, const Decimal &d, Real *value) {
  char text[SCN_LINE_LENGTH + 1];
  size_t n = 0;
  if (p < end && (*p == '-' || *p == '+')) ++p;
  for (; p < end && n < sizeof text - 1; ++p) text[n++] = letterD && (*p == 'd' || *p == 'D') ? 'e' : *p;
  Real v = 0;
  const std::from_chars_result result = std::from_chars(text, text + n, v);
  if (result.ec == std::errc::result_out_of_range) {
    if (d.exponent > 0) return false;
    v = 0;
  } else if (result.ec != std::errc()) {
    return false;
  }
  *value = d.negative ? -v : v;
  return true;
}

// "0x1.8p3": part of what "%g" reads.
template <class Real> bool hexadecimal(const char *p, const char *end, bool *isHexadecimal, Real *value) {
  *isHexadecimal = false;
  bool negative = false;
  if (p < end && (*p == '-' || *p == '+')) negative = *p++ == '-';
  if (end - p < 3 || p[0] != '0' || (p[1] != 'x' && p[1] != 'X')) return false;
  if (!isDigit(p[2]) && !(p[2] >= 'a' && p[2] <= 'f') && !(p[2] >= 'A' && p[2] <= 'F') && p[2] != '.') return false;
  Real v = 0;
  const std::from_chars_result result = std::from_chars(p + 2, end, v, std::chars_format::hex);
  if (result.ec == std::errc::invalid_argument) return false;  // "0x" alone is a zero
  *isHexadecimal = true;
  if (result.ec == std::errc::result_out_of_range) {
    // Too large is refused, too small is zero.
    const char *minus = static_cast<const char *>(memchr(p, '-', static_cast<size_t>(end - p)));
    if (!minus) return false;
    v = 0;
  }
  *value = negative ? -v : v;
  return true;
}

}  // namespace

bool textFile_open(TextFile *file, const char *name, bool blankTabs) {
  *file = TextFile{};
  struct stat about;
  if (!name || stat(name, &about) != 0 || S_ISDIR(about.st_mode)) return false;
  file->stream = fopen(name, "r");
  if (!file->stream) return false;
  setvbuf(file->stream, nullptr, _IONBF, 0);  // our buffer is the only one
  file->name = name;
  file->blankTabs = blankTabs;
  file->buffer = static_cast<char *>(qrts__alloc("qrts_Csmps", BUFFER_BYTES, 1));
  return true;
}

void textFile_close(TextFile *file) {
  if (file->stream) fclose(file->stream);
  free(file->buffer);
  *file = TextFile{};
}

bool textFile_next(TextFile *file) {
  if (file->dropsRest) dropRestOfLine(file);
  char *end = lineEnd(file);
  if (!end && !file->streamEnded) {
    refill(file);
    end = lineEnd(file);
  }
  const char *start = file->buffer + file->next;
  if (end) {
    file->next = end - file->buffer + 1;
    presentLine(file, start, end - start);
    return true;
  }
  const int64_t rest = file->filled - file->next;
  if (rest == 0) return false;
  // The last line without its end, or one longer than the whole buffer: only its beginning counts.
  file->next = file->filled;
  file->dropsRest = !file->streamEnded;
  presentLine(file, start, rest);
  return true;
}

bool textFile_nextCard(TextFile *file) {
  while (textFile_next(file))
    if (file->length == 0 || file->line[0] != '*') return true;
  return false;
}

void textFile_rewind(TextFile *file) {
  rewind(file->stream);
  file->filled = file->next = file->card = 0;
  file->streamEnded = file->dropsRest = false;
}

Field qrtfform(const char *line, int length, int *start, int *end, int maximum) {
  int k = *start;
  while (k < length && line[k] == ' ') ++k;
  *start = k;
  int stop = k;
  while (stop < length && line[stop] != ' ' && line[stop] != '$' && stop - k < maximum) ++stop;
  *end = stop - 1;
  return Field{line + (k < length ? k : length), stop - k > 0 && k < length ? stop - k : 0};
}

void qrtclean(char *buffer, int n) { memset(buffer, ' ', static_cast<size_t>(n)); }

void fieldToName(Field field, char *name, int n) {
  const int length = field.length < n ? field.length : n;
  memcpy(name, field.text, static_cast<size_t>(length));
  memset(name + length, ' ', static_cast<size_t>(n - length));
}

bool fieldBegins(Field field, const char *word) {
  const size_t n = strlen(word);
  return static_cast<size_t>(field.length) >= n && memcmp(field.text, word, n) == 0;
}
bool fieldEquals(Field field, const char *word) {
  return static_cast<size_t>(field.length) == strlen(word) && fieldBegins(field, word);
}
bool fieldBeginsAnyCase(Field field, const char *word) {
  const int n = static_cast<int>(strlen(word));
  if (field.length < n) return false;
  for (int k = 0; k < n; ++k) {
    const char c = field.text[k];
    if ((c >= 'a' && c <= 'z' ? c - 'a' + 'A' : c) != word[k]) return false;
  }
  return true;
}
bool fieldEqualsAnyCase(Field field, const char *word) {
  return static_cast<size_t>(field.length) == strlen(word) && fieldBeginsAnyCase(field, word);
}

bool scanFloat(const char *text, int length, float *value) {
  const char *end = text + length;
  bool hex;
  Decimal d;
  if (!cutDecimal(text, end, false, &d)) return false;
  if (hexadecimal(text, end, &hex, value)) return true;
  if (hex) return false;
  double wide;
  if (fastDouble(d, &wide)) {
    // Rounding twice differs from rounding once only when the double lies halfway between two floats.
    uint64_t bits;
    memcpy(&bits, &wide, sizeof bits);
    if ((bits & 0x1FFFFFFFu) != 0x10000000u) {
      *value = static_cast<float>(wide);
      return true;
    }
  }
  return slowReal(text, end, false, d, value);
}

bool scanDouble(const char *text, int length, double *value) {
  const char *end = text + length;
  bool hex;
  Decimal d;
  if (!cutDecimal(text, end, true, &d)) return false;
  if (hexadecimal(text, end, &hex, value)) return true;
  if (hex) return false;
  return fastDouble(d, value) || slowReal(text, end, true, d, value);
}
