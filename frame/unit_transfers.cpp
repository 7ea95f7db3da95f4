// Transfers on units and strings: start call, item calls, end call. Formats are constants of the library, so each
// bracketed one stands in a table here as a list of fields, and nothing interprets its text.

#include <cctype>
#include <cstdlib>
#include <cstring>

#include "frame/units.h"

namespace {

// State of the running transfer; there is one for the process.
UnitRecord *ucurrentfile;     // unformatted
UnitRecord *fcurrentfile;     // formatted; null for a transfer to a string or to the standard output
int fcurrentunit;
int ireadwrite;               // 0 read, 1 write
Icilist internalformat;
int fmtpos;                   // field of a bracketed format, or position in a conversion string
int lastChar;                 // last character read
bool onString;                // the transfer runs on a string
int stringPosition;           // where the next field of the string starts
char lineBuffer[1024];        // the line being written
int lineLength;

// One field of a format: kind I, F, D, A, Z or X, as often as `count` says.
struct FormatField {
  char kind;
  int count;
  int width;                  // 0: the item's own length
  int decimals;               // least digits of an integer
  int scale;                  // digits before the point of a D field
};
struct KnownFormat {
  const char *text;
  int nFields;
  FormatField fields[8];
};

const KnownFormat knownFormats[] = {
  {"(bn,f12.0)", 1, {{'F', 1, 12, 0, 0}}},
  {"(z16)", 1, {{'Z', 1, 16, 0, 0}}},
  {"(i7.7)", 1, {{'I', 1, 7, 7, 0}}},
  {"(d20.12)", 1, {{'D', 1, 20, 12, 0}}},
  {"(a)", 1, {{'A', 1, 0, 0, 0}}},
  {"(f20.8)", 1, {{'F', 1, 20, 8, 0}}},
  {"(A12)", 1, {{'A', 1, 12, 0, 0}}},
  {"(i8,119x,a1)", 3, {{'I', 1, 8, 0, 0}, {'X', 119, 1, 0, 0}, {'A', 1, 1, 0, 0}}},
  {"(1x,i2,1x)", 3, {{'X', 1, 1, 0, 0}, {'I', 1, 2, 0, 0}, {'X', 1, 1, 0, 0}}},
  {"(I12,I13,I13)", 2, {{'I', 1, 12, 0, 0}, {'I', 2, 13, 0, 0}}},
  {"(I13,I13,I13)", 1, {{'I', 3, 13, 0, 0}}},
  {"(i7,i7,i7,i7,i7,i7,i7,i7,i7,i7)", 1, {{'I', 10, 7, 0, 0}}},
  {"(i4,1p,d14.6,d10.2,8d9.1)", 4,
   {{'I', 1, 4, 0, 0}, {'D', 1, 14, 6, 1}, {'D', 1, 10, 2, 1}, {'D', 8, 9, 1, 1}}},
};

// A format outside the table is a fault of the library itself, not of any input.
[[noreturn]] void unknownFormat(const char *text) {
  fprintf(stderr, "unknown format %s\n", text);
  exit(1);
}

const KnownFormat *findFormat(const char *text) {
  for (const KnownFormat &known : knownFormats)
    if (strcmp(known.text, text) == 0) return &known;
  unknownFormat(text);
}

// The field that item number `item` of a format goes to; *skip is the number of blanks in front of it.
const FormatField *fieldOfItem(const KnownFormat *format, int item, int *skip) {
  *skip = 0;
  int items = 0;
  for (int pass = 0; pass < 2; pass++) {      // a used-up list starts again
    for (int k = 0; k < format->nFields; k++) {
      const FormatField *field = &format->fields[k];
      if (field->kind == 'X') {
        *skip += field->count;
        continue;
      }
      if (item < items + field->count) {
        if (item != items) *skip = 0;
        return field;
      }
      items += field->count;
      *skip = 0;
    }
    if (items > 0) {
      item %= items;
      items = 0;
    }
  }
  unknownFormat(format->text);
}

int readCharacter() {
  if (onString) {
    if (stringPosition >= internalformat.recordLength || !internalformat.internalUnit[stringPosition]) return EOF;
    return lastChar = static_cast<unsigned char>(internalformat.internalUnit[stringPosition++]);
  }
  FILE *stream = fcurrentfile ? fcurrentfile->stream : fcurrentunit == UNIT_STDIN ? stdin : nullptr;
  return lastChar = stream ? getc(stream) : EOF;
}

// Up to `width` characters of the line, blank-padded; returns how many there were.
int readField(char *text, int width) {
  int got = 0;
  while (got < width && lastChar != '\n') {
    const int c = readCharacter();
    if (c == EOF || c == '\n') break;
    text[got++] = char(c);
  }
  if (got < width) memset(text + got, ' ', size_t(width - got));
  return got;
}

void writeText(const char *text, int length) {
  if (length > int(sizeof lineBuffer) - 1 - lineLength) length = int(sizeof lineBuffer) - 1 - lineLength;
  memcpy(lineBuffer + lineLength, text, size_t(length));
  lineLength += length;
}

void writeRightAligned(const char *text, int width) {
  const int length = int(strlen(text));
  if (width > 0 && length > width) {
    for (int k = 0; k < width; k++) writeText("*", 1);   // does not fit
    return;
  }
  for (int k = length; k < width; k++) writeText(" ", 1);
  writeText(text, length);
}

// Drops blanks and turns a D exponent into an E one.
void cleanNumber(char *text, int width) {
  int kept = 0;
  for (int k = 0; k < width; k++) {
    if (text[k] == ' ') continue;
    text[kept++] = text[k] == 'D' || text[k] == 'd' ? 'e' : text[k];
  }
  text[kept] = 0;
}

int decodeItem(const FormatField *field, int skip, char *item, int length) {
  char text[128];
  while (skip-- > 0) readField(text, 1);
  if (field->kind == 'A') {
    const int width = field->width > 0 ? field->width : length;
    int got = 0;
    while (got < width && lastChar != '\n') {
      const int c = readCharacter();
      if (c == EOF || c == '\n') break;
      if (got < length) item[got] = char(c);
      got++;
    }
    if (got < length) memset(item + got, ' ', size_t(length - got));
    return got == 0 && lastChar == EOF ? 1 : 0;
  }
  const int got = readField(text, field->width);
  if (got == 0 && lastChar == EOF) return 1;
  cleanNumber(text, field->width);
  char *end = text;
  if (field->kind == 'I') {
    const int32_t value = int32_t(strtoll(text, &end, 10));
    if (*end) return 1;
    memcpy(item, &value, sizeof value);
  } else if (field->kind == 'Z') {
    const uint64_t value = strtoull(text, &end, 16);
    if (*end || length > 8) return 1;
    memcpy(item, &value, size_t(length));
  } else {
    const double value = strtod(text, &end);
    if (*end) return 1;
    if (length == 8) memcpy(item, &value, 8);
    else if (const float single = float(value); length == 4) memcpy(item, &single, 4);
  }
  return 0;
}

void encodeItem(const FormatField *field, int skip, const char *item, int length) {
  while (skip-- > 0) writeText(" ", 1);
  char text[400];
  if (field->kind == 'A') {
    const int width = field->width > 0 ? field->width : length;
    for (int k = 0; k < width; k++) writeText(k < length ? item + k : " ", 1);
    return;
  }
  if (field->kind == 'I') {
    int32_t value = 0;
    memcpy(&value, item, 4);
    snprintf(text, sizeof text, "%.*d", field->decimals, value);
  } else if (field->kind == 'Z') {
    uint64_t value = 0;
    memcpy(&value, item, size_t(length > 8 ? 8 : length));
    snprintf(text, sizeof text, length == 8 ? "%016llx" : "%llx", static_cast<unsigned long long>(value));
  } else {
    double value = 0;
    if (length == 8) {
      memcpy(&value, item, 8);
    } else {
      float single = 0;
      memcpy(&single, item, 4);
      value = double(single);
    }
    snprintf(text, sizeof text, field->kind == 'D' ? "%#.*e" : "%#.*f", field->decimals, value);
  }
  writeRightAligned(text, field->width);
}

// The next conversion of a stdio format string: the piece from fmtpos to its end is copied to `piece`.
// Returns 1 for an integer, 2 a double, 4 a float, 5 a scan set, 6 a text, 0 when the string is used up.
int nextConversion(const char *format, char *piece, int cap) {
  const char *start = format + fmtpos;
  const char *p = strchr(start, '%');
  if (!p) return 0;
  bool isLong = false;
  for (p++; isdigit(static_cast<unsigned char>(*p)) || *p == '.' || *p == 'l'; p++) isLong = isLong || *p == 'l';
  int kind = 6;
  if (*p == 'd' || *p == 'i' || *p == 'x') kind = 1;
  else if (*p == 'f' || *p == 'e' || *p == 'g' || *p == 'E' || *p == 'G') kind = isLong ? 2 : 4;
  else if (*p == '[') kind = 5;
  if (kind == 5) while (*p && *p != ']') p++;
  if (*p) p++;
  const int length = int(p - start);
  if (length >= cap) unknownFormat(format);
  memcpy(piece, start, size_t(length));
  piece[length] = 0;
  fmtpos += length;
  return kind;
}

int convertItem(void *item) {
  char piece[64];
  const int kind = nextConversion(internalformat.format, piece, int(sizeof piece));
  if (kind == 0) return 1;
  if (ireadwrite == 0) {
    if (onString) {
      int used = 0;
      char counted[72];
      snprintf(counted, sizeof counted, "%s%%n", piece);
      const int got = sscanf(internalformat.internalUnit + stringPosition, counted, item, &used);
      stringPosition += used;
      return got == 1 ? 0 : 1;
    }
    return fcurrentfile && fscanf(fcurrentfile->stream, piece, item) == 1 ? 0 : 1;
  }
  char text[512];
  if (kind == 1) snprintf(text, sizeof text, piece, *static_cast<int *>(item));
  else if (kind == 2) snprintf(text, sizeof text, piece, *static_cast<double *>(item));
  else if (kind == 4) snprintf(text, sizeof text, piece, double(*static_cast<float *>(item)));
  else snprintf(text, sizeof text, piece, static_cast<char *>(item));
  writeText(text, int(strlen(text)));
  return 0;
}

int startUnformatted(const ControlList *control, int write, bool direct) {
  ucurrentfile = qrtfindfile(control->unit);
  ireadwrite = write;
  if (!ucurrentfile) return 1;
  if (!direct) return 0;
  const int64_t offset = int64_t(ucurrentfile->request.recordLength) * (int64_t(control->recordNumber) - 1);
  return offset >= 0 && fseeko(ucurrentfile->stream, offset, SEEK_SET) == 0 ? 0 : 1;
}

void startFormatted(const char *format, int write) {
  ireadwrite = write;
  fmtpos = 0;
  lastChar = 0;
  stringPosition = 0;
  lineLength = 0;
  internalformat.format = format;
}

}  // namespace

int qrt_s_rsue(const ControlList *control) { return startUnformatted(control, 0, false); }
int qrt_s_wsue(const ControlList *control) { return startUnformatted(control, 1, false); }
int qrt_s_rdue(const ControlList *control) { return startUnformatted(control, 0, true); }
int qrt_s_wdue(const ControlList *control) { return startUnformatted(control, 1, true); }
int qrt_e_rsue() { return 0; }
int qrt_e_wsue() { return 0; }
int qrt_e_rdue() { return 0; }
int qrt_e_wdue() { return 0; }

int qrt_do_uio(int count, void *pointer, int length) {
  if (!ucurrentfile || count < 0 || length < 0) return 1;
  const size_t bytes = size_t(count) * size_t(length);
  if (ireadwrite == 0) return fread(pointer, 1, bytes, ucurrentfile->stream) == bytes ? 0 : 1;
  ucurrentfile->written = 1;
  return fwrite(pointer, 1, bytes, ucurrentfile->stream) == bytes ? 0 : 1;
}

int qrt_s_rsfe(const ControlList *control) {
  startFormatted(control->format, 0);
  onString = false;
  fcurrentunit = control->unit;
  fcurrentfile = qrtfindfile(control->unit);
  return fcurrentfile || control->unit == UNIT_STDIN ? 0 : 1;
}

int qrt_s_wsfe(const ControlList *control) {
  startFormatted(control->format, 1);
  onString = false;
  fcurrentunit = control->unit;
  fcurrentfile = nullptr;
  if (control->unit == UNIT_STDOUT) return 0;
  if (!qrt_unit_fp(control->unit)) return 1;
  fcurrentfile = qrtfindfile(control->unit);
  return 0;
}

int qrt_e_rsfe() {
  while (lastChar != '\n') {
    if (readCharacter() == EOF) return 1;
  }
  return 0;
}

int qrt_e_wsfe() {
  lineBuffer[lineLength] = 0;
  FILE *stream = fcurrentfile ? fcurrentfile->stream : fcurrentunit == UNIT_STDOUT ? stdout : nullptr;
  if (!stream) return 1;
  if (fcurrentfile) fcurrentfile->written = 1;
  return fprintf(stream, "%s\n", lineBuffer) < 0 ? 1 : 0;
}

int qrt_s_rsfi(const Icilist *request) {
  internalformat = *request;
  startFormatted(request->format, 0);
  onString = true;
  fcurrentfile = nullptr;
  return 0;
}

int qrt_s_wsfi(const Icilist *request) {
  internalformat = *request;
  startFormatted(request->format, 1);
  onString = true;
  fcurrentfile = nullptr;
  return 0;
}

int qrt_e_rsfi() { return 0; }

// The string takes the line that the items made, blank-padded to its length.
int qrt_e_wsfi() {
  if (!internalformat.format) return 0;
  const int length = lineLength < internalformat.recordLength ? lineLength : internalformat.recordLength;
  memcpy(internalformat.internalUnit, lineBuffer, size_t(length));
  if (length < internalformat.recordLength)
    memset(internalformat.internalUnit + length, ' ', size_t(internalformat.recordLength - length));
  return 0;
}

int qrt_do_fio(void *item, int length) {
  const char *format = internalformat.format;
  if (!format) {
    // A plain copy: length - 1 bytes and a closing NUL, at the record's place in the string.
    if (!onString || length < 1) return 1;
    const int64_t place = int64_t(internalformat.recordNumber > 0 ? internalformat.recordNumber - 1 : 0) *
                          internalformat.recordLength;
    memcpy(internalformat.internalUnit + place, item, size_t(length - 1));
    internalformat.internalUnit[place + length - 1] = 0;
    return 0;
  }
  if (format[0] != '(') return convertItem(item);
  int skip = 0;
  const FormatField *field = fieldOfItem(findFormat(format), fmtpos++, &skip);
  if (ireadwrite == 0) return decodeItem(field, skip, static_cast<char *>(item), length);
  encodeItem(field, skip, static_cast<const char *>(item), length);
  return 0;
}
