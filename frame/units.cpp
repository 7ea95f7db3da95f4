// The table of open units: open, close, rewind, inquire, and the checks that file formats make on a unit.

#include "frame/units.h"

#include <unistd.h>

#include <cstdlib>
#include <cstring>

#include "frame/messages.h"
#include "include/qrt_classic.h"

UnitRecord *cfilelist = nullptr;
char *qrt_file_name[UNIT_NAMED_COUNT];
FILE *qrt_file_fp[UNIT_NAMED_COUNT];

namespace {

enum : int { MSG_OPEN_FORMATTED = 112, MSG_OPEN_UNFORMATTED = 127, MSG_BAD_UNIT = 152, MSG_OPEN_DIRECT = 447 };

constexpr size_t BIG_BUFFER = 1 << 18;  // files by name are read and written as a whole

bool isNamedUnit(int unit) { return unit >= UNIT_FIRST_NAMED && unit < UNIT_FIRST_NAMED + UNIT_NAMED_COUNT; }

const char *storedName(int unit) { return isNamedUnit(unit) ? qrt_file_name[unit - UNIT_FIRST_NAMED] : nullptr; }

bool beginsWith(const char *text, const char *start) { return text && strncmp(text, start, strlen(start)) == 0; }

char *copyText(const char *text, size_t length) {
  char *copy = static_cast<char *>(malloc(length + 1));
  if (!copy) return nullptr;
  memcpy(copy, text, length);
  copy[length] = 0;
  return copy;
}

// The file that a request means: its own name, else the stored name of the unit, else fort.<unit>.
char *nameOfRequest(const OpenList *request) {
  if (request->file && request->fileLength > 0) {
    size_t length = strnlen(request->file, size_t(request->fileLength));
    while (length > 0 && request->file[length - 1] == ' ') length--;
    if (length > 0) return copyText(request->file, length);
  }
  if (const char *stored = storedName(request->unit)) return copyText(stored, strlen(stored));
  char made[32];
  snprintf(made, sizeof made, "fort.%d", request->unit);
  return copyText(made, strlen(made));
}

void linkRecord(UnitRecord *record) {
  record->previous = nullptr;
  record->next = cfilelist;
  if (cfilelist) cfilelist->previous = record;
  cfilelist = record;
}

FILE *openStream(const char *name, const OpenList *request) {
  const bool old = beginsWith(request->status, "OLD");
  if (beginsWith(request->form, "UNFORMATTED")) {
    FILE *stream = fopen(name, "r+b");
    return stream || old ? stream : fopen(name, "w+b");
  }
  FILE *stream = fopen(name, "r+");
  return stream ? stream : fopen(name, old ? "r" : "w+");
}

void makeRecord(FILE *stream, char *name, const OpenList *request) {
  UnitRecord *record = static_cast<UnitRecord *>(malloc(sizeof(UnitRecord)));
  if (!record) abort();
  record->stream = stream;
  record->name = name;
  record->unit = request->unit;
  record->request = *request;
  record->request.file = name;
  record->request.fileLength = int(strlen(name));
  record->written = 0;
  linkRecord(record);
  if (isNamedUnit(request->unit)) qrt_file_fp[request->unit - UNIT_FIRST_NAMED] = stream;
}

}  // namespace

UnitRecord *qrtfindfile(int unit) {
  for (UnitRecord *record = cfilelist; record; record = record->next)
    if (record->unit == unit) return record;
  return nullptr;
}

int qrt_f_open(const OpenList *request) {
  if (UnitRecord *open = qrtfindfile(request->unit)) {
    // A named unit follows its name: a new name closes the old file.
    const char *stored = storedName(request->unit);
    if (!stored || strcmp(stored, open->name) == 0) return 0;
    qrt_f_clos2(open);
  }
  char *name = nameOfRequest(request);
  if (!name) return 1;
  if (beginsWith(request->status, "NEW")) remove(name);
  FILE *stream = openStream(name, request);
  if (!stream) {
    free(name);
    return 1;
  }
  fseek(stream, 0, SEEK_SET);
  makeRecord(stream, name, request);
  return 0;
}

int qrtopenbyname(const char *name, int unit, int mode) {
  if (UnitRecord *open = qrtfindfile(unit)) qrt_f_clos2(open);
  FILE *stream = nullptr;
  if (mode == 0) {
    stream = fopen(name, "r+");
    if (!stream) stream = fopen(name, "r");
  } else if (mode >= 1 && mode <= 3) {
    stream = fopen(name, "r+b");
    if (!stream) stream = fopen(name, "rb");
  } else if (mode >= 4) {
    stream = fopen(name, "w+b");
  } else {
    stream = fopen(name, "a");
  }
  if (!stream) return 1;
  setvbuf(stream, nullptr, _IOFBF, BIG_BUFFER);
  if (mode != -1) fseek(stream, 0, SEEK_SET);
  char *copy = copyText(name, strlen(name));
  if (!copy) {
    fclose(stream);
    return 1;
  }
  const OpenList request = {0, unit, copy, int(strlen(copy)), "OLD", "SEQUENTIAL", nullptr, 0, "NULL"};
  makeRecord(stream, copy, &request);
  setUnitFileName(unit, name);
  return 0;
}

int qrt_f_clos2(UnitRecord *record) {
  if (isNamedUnit(record->unit)) qrt_file_fp[record->unit - UNIT_FIRST_NAMED] = nullptr;
  const int result = qrt_close(record->stream);
  if (record->next) record->next->previous = record->previous;
  if (record->previous) record->previous->next = record->next;
  else cfilelist = record->next;
  free(record->name);
  free(record);
  return result;
}

int qrt_f_clos(const CloseList *request) {
  UnitRecord *record = qrtfindfile(request->unit);
  if (!record) return 0;
  if (beginsWith(request->status, "DELETE")) unlink(record->name);
  return qrt_f_clos2(record);
}

int qrt_f_close(int reportErrors, int unit) {
  const CloseList request = {reportErrors, unit, nullptr};
  return qrt_f_clos(&request);
}

int qrt_f_end(int reportErrors, int unit) { return qrt_f_close(reportErrors, unit); }

int qrt_f_rew(int, int unit) {
  UnitRecord *record = qrtfindfile(unit);
  if (!record) return 0;
  if (record->written) {
    fflush(record->stream);
    record->written = 0;
  }
  return fseek(record->stream, 0, SEEK_SET) == 0 ? 0 : 1;
}

int qrt_f_inqu(InquireList *inquiry) {
  const UnitRecord *record = qrtfindfile(inquiry->unit);
  inquiry->isOpen = record != nullptr;
  inquiry->name = record ? record->name : nullptr;
  return 0;
}

const char *qrt_f_inquire(int unit) {
  const char *name = nullptr;
  if (const UnitRecord *record = qrtfindfile(unit)) name = record->name;
  if (!name) name = storedName(unit);
  return name ? name : "";
}

FILE *qrt_FILE(int unit) {
  const UnitRecord *record = qrtfindfile(unit);
  return record ? record->stream : nullptr;
}

FILE *qrt_unit_fp(int unit) {
  if (unit == UNIT_STDOUT) return stdout;
  if (FILE *stream = qrt_FILE(unit)) return stream;
  const OpenList request = {0, unit, nullptr, 0, "UNKNOWN", "SEQUENTIAL", "FORMATTED", 0, nullptr};
  return qrt_f_open(&request) == 0 ? qrt_FILE(unit) : nullptr;
}

int qrt_close(FILE *stream) {
  if (!stream || stream == stdin || stream == stdout || stream == stderr) return 0;
  return fclose(stream);
}

void setUnitFileName(int unit, const char *name) {
  if (!isNamedUnit(unit)) return;
  char **slot = &qrt_file_name[unit - UNIT_FIRST_NAMED];
  char *copy = name ? copyText(name, strlen(name)) : nullptr;
  free(*slot);
  *slot = copy;
}

void closeNamedUnit(int unit) {
  qrt_f_close(0, unit);
  setUnitFileName(unit, nullptr);
}

int qrts_cmp(const char *a, int aLength, const char *b, int bLength) {
  const int longer = aLength > bLength ? aLength : bLength;
  for (int k = 0; k < longer; k++) {
    const unsigned char left = k < aLength ? static_cast<unsigned char>(a[k]) : ' ';
    const unsigned char right = k < bLength ? static_cast<unsigned char>(b[k]) : ' ';
    if (left != right) return left < right ? -1 : 1;
  }
  return 0;
}

// Opens, rewinds and keeps the outcome in @I01, where the messages and the readers of a file look for it.
static int openAndRewind(const OpenList *request) {
  int status = qrt_f_open(request);
  if (status == 0) status = qrt_f_rew(1, request->unit);
  messageI(1, status);
  return status;
}

void qrtopen(int unit, int kind, int *rc) {
  *rc = 0;
  messageI(1, 0);
  InquireList inquiry = {0, unit, 0, nullptr};
  qrt_f_inqu(&inquiry);
  const bool open = inquiry.isOpen != 0;
  OpenList request = {1, unit, nullptr, 0, kind == 1 || kind == 3 ? "OLD" : "UNKNOWN", "SEQUENTIAL", nullptr, 0, nullptr};
  int message = MSG_OPEN_FORMATTED;
  if (kind == 1 || kind == 2) {
    if (open || unit == (kind == 1 ? UNIT_STDIN : UNIT_STDOUT)) return;
    if (kind == 1) request.blank = "NULL";
  } else if (kind == 3 || kind == 4) {
    message = MSG_OPEN_UNFORMATTED;
    if (open) {
      messageI(1, qrt_f_rew(1, unit));
      return;
    }
    if (unit == (kind == 3 ? UNIT_STDIN : UNIT_STDOUT)) return;
    request.form = "UNFORMATTED";
  } else {
    message = MSG_OPEN_DIRECT;
    request.access = "DIRECT";
    request.form = "UNFORMATTED";
    request.recordLength = kind;
    if (open) {
      // Reopened under its own name, since the record length belongs to the open.
      char *name = copyText(inquiry.name, strlen(inquiry.name));
      qrt_f_close(0, unit);
      request.file = name;
      request.fileLength = name ? int(strlen(name)) : 0;
      const int status = openAndRewind(&request);
      free(name);
      if (status == 0) return;
      *rc = 21;
      qrtmesg_no_i2(message, status, unit);
      return;
    }
  }
  const int status = openAndRewind(&request);
  if (status == 0) return;
  *rc = 21;
  qrtmesg_no_i2(message, status, unit);
}

// In the routines that take a unit it is the third argument, after the return code and the work area.
constexpr int UNIT_PARAMETER = 3;

void qrtckun(int *rc, int unit, int kind, const char *name) {
  *rc = 0;
  if (kind == 4 && unit == UNIT_STDIN) return;
  if (kind == 5 && (unit == UNIT_STDOUT || unit == 0)) return;
  // What is allowed by the low two bits of the kind, and the three ranges that the message lists.
  static const int lists[4][6] = {{0, 0, 3, 5, 7, 109}, {1, 1, 3, 4, 6, 109}, {1, 1, 3, 4, 6, 109}, {0, 1, 3, 4, 6, 109}};
  const int rule = kind & 3;
  bool allowed = unit >= 0 && unit <= 109;
  if (rule == 0) allowed = allowed && unit != 1 && unit != 2 && unit != 6;
  else if (rule == 3) allowed = allowed && (unit >= 7 || unit == 0 || unit == 3 || unit == 4);
  else allowed = allowed && unit != 0 && unit != 2 && unit != 5;
  if (allowed) return;
  *rc = 21;
  if (rule == 2) return;
  messageC(1, name);
  messageI(1, UNIT_PARAMETER);
  messageI(2, unit);
  for (int k = 0; k < 6; k++) messageI(3 + k, lists[rule][k]);
  qrtmesg_no(MSG_BAD_UNIT);
}

const char *unitTable_check() {
  const UnitRecord *previous = nullptr;
  for (const UnitRecord *record = cfilelist; record; record = record->next) {
    if (record->previous != previous) return "a unit's back link does not point to its predecessor";
    if (!record->stream) return "an open unit has no stream";
    if (!record->name) return "an open unit has no name";
    if (qrtfindfile(record->unit) != record) return "a unit stands twice in the list";
    if (isNamedUnit(record->unit) && qrt_file_fp[record->unit - UNIT_FIRST_NAMED] != record->stream)
      return "the stream table disagrees with the list";
    previous = record;
  }
  for (int i = 0; i < UNIT_NAMED_COUNT; i++)
    if (qrt_file_fp[i] && !qrtfindfile(UNIT_FIRST_NAMED + i)) return "the stream table holds a closed stream";
  return nullptr;
}

// ---- public entry points ----

static int openByFour(int unit, const char *file, int fileLength, const char *status, const char *access,
                      int accessLength, const char *form, int formLength, const char *blank, int recordLength) {
  const bool direct = qrts_cmp(access, accessLength, "DIRECT", 6) == 0;
  const bool unformatted = qrts_cmp(form, formLength, "UNFORMATTED", 11) == 0;
  OpenList request = {1, unit, file, fileLength, status, direct ? "DIRECT" : "SEQUENTIAL",
                      unformatted ? "UNFORMATTED" : "FORMATTED", direct ? recordLength : 0,
                      direct || unformatted ? nullptr : blank};
  const int result = qrt_f_open(&request);
  // The record outlives the caller's texts.
  if (UnitRecord *record = qrtfindfile(unit)) {
    record->request.status = beginsWith(status, "OLD") ? "OLD" : beginsWith(status, "NEW") ? "NEW" : "UNKNOWN";
    record->request.blank = record->request.blank ? "NULL" : nullptr;
  }
  return result;
}

static int textLength(const char *text) { return text ? int(strlen(text)) : 0; }

extern "C" void qrt_fopn(int unit, const char *file, const char *status, const char *access, const char *form,
                         const char *blank, int recl, int *rc) {
  *rc = openByFour(unit, file, textLength(file), status, access, textLength(access), form, textLength(form), blank, recl);
}

extern "C" void qrtfopn_(const int *unit, const char *file, const char *status, const char *access, const char *form,
                         const char *blank, const int *recl, int *rc) {
  qrt_fopn(*unit, file, status, access, form, blank, *recl, rc);
}

extern "C" void QRTFOPN(const int *unit, const char *file, const char *status, const char *access, const char *form,
                        const char *blank, const int *recl, int *rc) {
  qrt_fopn(*unit, file, status, access, form, blank, *recl, rc);
}

extern "C" void qrtfcls_(const int *unit, const char *status, int *rc) {
  const CloseList request = {1, *unit, status};
  *rc = qrt_f_clos(&request);
}

extern "C" void QRTFCLS(const int *unit, const char *status, int *rc) { qrtfcls_(unit, status, rc); }
