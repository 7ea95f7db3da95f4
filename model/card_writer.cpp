// Cards going out, and the file they go to.
#include "model/card_writer.h"

#include <cerrno>
#include <charconv>
#include <cmath>
#include <cstdlib>
#include <cstring>

#include "frame/messages.h"
#include "frame/safe_file.h"
#include "frame/units.h"

namespace {

constexpr int NUMBER_WIDTH = 12;
constexpr int HEX_WIDTH = 16;
constexpr int LONG_NAME = 13;
constexpr int MSG_CANNOT_OPEN_OUTPUT = 558;

// The file under way. Not on the chain: a jump frees the chain before the file is cleaned up.
struct {
  char *target;    // malloc'd; null when nothing is open
  char *written;   // malloc'd; the file that is being written, the target itself for devices
} output;

void forgetOutput() {
  free(output.target);
  free(output.written);
  output.target = output.written = nullptr;
}

}  // namespace

bool outputFile_open(const char *filename) {
  outputFile_abandon();
  const char *name = filename && *filename ? filename : "tempfile";
  const size_t length = strlen(name);
  output.target = static_cast<char *>(malloc(length + 1));
  output.written = safeFile_place(name);
  if (!output.target || !output.written) {
    forgetOutput();
    return false;
  }
  memcpy(output.target, name, length + 1);
  if (qrtopenbyname(output.written, UNIT_IMPORT, 4) == 0) return true;
  qrtmesg_no_q1(MSG_CANNOT_OPEN_OUTPUT, name, -1);
  closeNamedUnit(UNIT_IMPORT);
  forgetOutput();
  return false;
}

FILE *outputFile_stream() { return output.target ? qrt_file_fp[UNIT_IMPORT - UNIT_FIRST_NAMED] : nullptr; }

bool outputFile_commit() {
  FILE *stream = outputFile_stream();
  if (!stream) return false;
  int error = 0;
  if (fflush(stream) != 0 || ferror(stream)) error = errno ? errno : EIO;
  closeNamedUnit(UNIT_IMPORT);
  error = safeFile_settle(output.written, output.target, error);
  forgetOutput();
  if (error == 0) return true;
  qrtmesg_no_i2(MSG_WRITE_ERROR, error, UNIT_IMPORT);
  return false;
}

void outputFile_abandon() {
  if (!output.target) return;
  closeNamedUnit(UNIT_IMPORT);
  safeFile_settle(output.written, output.target, ECANCELED);
  forgetOutput();
}

// ---- numbers

namespace {

// Digits d[0].d[1]... times 10^exponent as the shorter of a plain and an exponent form; returns the length.
int arrange(bool negative, const char *digits, int n, int exponent, char *text) {
  char plain[48], scientific[48];
  int p = 0, s = 0;
  if (negative) plain[p++] = scientific[s++] = '-';
  if (exponent >= 0 && exponent < 20) {
    for (int k = 0; k <= exponent || k < n; k++) {
      if (k == exponent + 1) plain[p++] = '.';
      plain[p++] = k < n ? digits[k] : '0';
    }
  } else if (exponent < 0 && exponent > -8) {
    plain[p++] = '.';
    for (int k = exponent + 1; k < 0; k++) plain[p++] = '0';
    for (int k = 0; k < n; k++) plain[p++] = digits[k];
  } else {
    p = 48;
  }
  scientific[s++] = digits[0];
  if (n > 1) {
    scientific[s++] = '.';
    for (int k = 1; k < n; k++) scientific[s++] = digits[k];
  }
  scientific[s++] = 'e';
  const std::to_chars_result end = std::to_chars(scientific + s, scientific + sizeof scientific, exponent);
  s = int(end.ptr - scientific);
  const char *best = p <= s ? plain : scientific;
  const int length = p <= s ? p : s;
  memcpy(text, best, size_t(length));
  return length;
}

// "1.2345e-07" to digits and exponent, trailing zeros dropped; returns the number of digits.
int takeApart(const char *from, const char *end, char *digits, int *exponent) {
  int n = 0;
  while (from < end && *from != 'e') {
    if (*from != '.') digits[n++] = *from;
    from++;
  }
  *exponent = 0;
  if (from < end) {
    from++;
    if (*from == '+') from++;
    std::from_chars(from, end, *exponent);
  }
  while (n > 1 && digits[n - 1] == '0') n--;
  return n;
}

}  // namespace

int qrtfltf(double value, char text[13]) {
  if (!(value < QRT_INFINITY)) value = QRT_INFINITY;  // a NaN too
  if (value < -QRT_INFINITY) value = -QRT_INFINITY;
  char digits[32], made[40], arranged[48];
  const double size = std::fabs(value);
  if (size == 0.0) {
    text[0] = '0';
    text[1] = '\0';
    return 1;
  }
  int exponent, length = 0;
  std::to_chars_result end = std::to_chars(made, made + sizeof made, size, std::chars_format::scientific);
  int n = takeApart(made, end.ptr, digits, &exponent);
  length = arrange(value < 0.0, digits, n, exponent, arranged);
  // Each digit less makes the text one shorter, but a rounding that carries may save more.
  for (int precision = n - 2; length > NUMBER_WIDTH && precision >= 0; precision--) {
    end = std::to_chars(made, made + sizeof made, size, std::chars_format::scientific, precision);
    n = takeApart(made, end.ptr, digits, &exponent);
    length = arrange(value < 0.0, digits, n, exponent, arranged);
  }
  memcpy(text, arranged, size_t(length));
  text[length] = '\0';
  return length;
}

void packBinary(double value, char text[12]) {
  static const char code[] = "0123456789abcdefghijklmnopqrstuvwxyzABCDEFGHIJKLMNOPQRSTUVWXYZ*+";
  uint64_t whole;
  memcpy(&whole, &value, 8);
  for (int half = 0; half < 2; half++) {
    uint64_t bits = half ? whole >> 32 : whole & 0xffffffffu;
    for (int k = 0; k < 6; k++) {
      text[half * 6 + k] = code[bits & 63];
      bits >>= 6;
    }
  }
}

// ---- cards

namespace {

int numberWidth(const CardWriter *w) { return w->binary && w->nameLength != 8 ? HEX_WIDTH : NUMBER_WIDTH; }

void putLine(CardWriter *w, char *line, int length) {
  while (length > 0 && line[length - 1] == ' ') length--;
  line[length++] = '\n';
  if (fwrite(line, 1, size_t(length), w->stream) == size_t(length) || w->failed) return;
  w->failed = 1;
  qrtmesg_no_i2(MSG_WRITE_ERROR, errno, w->unit);
}

void putName(char *line, int column, CardName name, int width) {
  memcpy(line + column - 1, name.text, size_t(name.length < width ? name.length : width));
}

void putNumber(const CardWriter *w, char *line, int column, double value) {
  const int width = numberWidth(w);
  char *to = line + column - 1;
  if (!w->binary) {
    char text[13];
    const int length = qrtfltf(value, text);
    memcpy(to + width - length, text, size_t(length));
  } else if (w->nameLength == 8) {
    packBinary(value, to);
  } else {
    char text[HEX_WIDTH + 1];
    uint64_t bits;
    memcpy(&bits, &value, 8);
    snprintf(text, sizeof text, "%016llx", static_cast<unsigned long long>(bits));
    memcpy(to, text, HEX_WIDTH);
  }
}

}  // namespace

void cards_start(CardWriter *w, FILE *stream, int unit, int nameLength, bool binary, int entries) {
  memset(static_cast<void *>(w), 0, sizeof *w);
  w->stream = stream;
  w->unit = unit;
  w->nameLength = nameLength;
  w->binary = binary;
  w->entries = nameLength < LONG_NAME ? entries : 1;
}

void cards_section(CardWriter *w, const char *word, const char *operand, const char *flag) {
  char line[160];
  memset(line, ' ', sizeof line);
  memcpy(line, word, strlen(word));
  int length = int(strlen(word));
  if (operand && *operand) {
    // To the first blank: what follows would read as a flag.
    size_t n = strcspn(operand, " ");
    if (n > 79) n = 79;
    memcpy(line + 14, operand, n);
    length = 14 + int(n);
  }
  if (flag) {
    if (length < 24) length = 24;
    else length++;
    memcpy(line + length, flag, strlen(flag));
    length += int(strlen(flag));
  }
  putLine(w, line, length);
  // The end of a file should be seen by others at once.
  if (word[0] == 'E') fflush(w->stream);
}

void qrtoucd(CardWriter *w, const char *head, CardName name1, const CardName *name2, const double *value2,
             const CardName *name3, const double *value3) {
  char line[160];
  memset(line, ' ', sizeof line);
  memcpy(line, head, 4);
  const int L = w->nameLength, width = numberWidth(w);
  // Names of 8 have wider gaps than others.
  const int second = L == 8 ? 15 : L + 6, number2 = L == 8 ? 25 : 2 * L + 7;
  const int third = L == 8 ? 40 : 2 * L + width + 8, number3 = L == 8 ? 50 : 3 * L + width + 9;
  putName(line, 5, name1, L);
  if (name2) putName(line, second, *name2, L);
  if (value2) putNumber(w, line, number2, *value2);
  if (name3 && L >= LONG_NAME) putName(line, number2, *name3, L);  // the word of a marker: its place is beyond the card
  else if (name3) putName(line, third, *name3, L);
  if (value3) putNumber(w, line, number3, *value3);
  putLine(w, line, number3 + width);
}

void cards_flush(CardWriter *w) {
  if (!w->hasWaiting) return;
  w->hasWaiting = 0;
  const CardName owner = {w->owner, w->ownerLength}, name = {w->waiting, w->waitingLength};
  qrtoucd(w, w->head, owner, &name, &w->waitingValue, nullptr, nullptr);
}

void cards_pair(CardWriter *w, const char *head, CardName owner, CardName name, double value) {
  const bool same = w->hasWaiting && w->ownerLength == owner.length && memcmp(w->owner, owner.text, size_t(owner.length)) == 0;
  if (same) {
    const CardName first = {w->waiting, w->waitingLength};
    w->hasWaiting = 0;
    qrtoucd(w, head, owner, &first, &w->waitingValue, &name, &value);
    return;
  }
  cards_flush(w);
  memcpy(w->head, head, 4);
  w->ownerLength = owner.length < 32 ? owner.length : 32;
  memcpy(w->owner, owner.text, size_t(w->ownerLength));
  w->waitingLength = name.length < 32 ? name.length : 32;
  memcpy(w->waiting, name.text, size_t(w->waitingLength));
  w->waitingValue = value;
  w->hasWaiting = 1;
  if (w->entries < 2) cards_flush(w);
}
