// Numbered files: the solver core names a file by its unit; here a unit number meets a stdio stream.
//
// Unit 5 is the standard input and 6 the standard output; neither has a record until an open names it. Units 100
// to 109 are bound to named files through qrtopenbyname. A unit without any name is the file "fort.<unit>" of the
// working directory. Nothing in this header issues a message or jumps, except where it says so.
#pragma once

#include <cstdint>
#include <cstdio>

constexpr int UNIT_STDIN = 5;
constexpr int UNIT_STDOUT = 6;
constexpr int UNIT_FIRST_NAMED = 100;  // units 100 .. 109 have entries in the two tables below
constexpr int UNIT_NAMED_COUNT = 10;
constexpr int UNIT_IMPORT = 101;       // import, export, save and restore by file name

// A request to open a unit; the texts stay the caller's.
struct OpenList {
  int32_t reportErrors;   // 1: the caller wants the result
  int32_t unit;
  const char *file;       // null or empty: the unit's own name
  int32_t fileLength;     // characters of file
  const char *status;     // "OLD", "NEW" or "UNKNOWN"
  const char *access;     // "SEQUENTIAL" or "DIRECT"
  const char *form;       // "FORMATTED", "UNFORMATTED", or null for formatted
  int32_t recordLength;   // bytes of a record for direct access, else 0
  const char *blank;      // "NULL" or null
};

struct CloseList {
  int32_t reportErrors;
  int32_t unit;
  const char *status;     // null, or a text that begins with "DELETE": the file goes too
};

struct InquireList {
  int32_t reportErrors;
  int32_t unit;
  int32_t isOpen;         // out
  const char *name;       // out: file name, or null; owned by the unit
};

// An open unit. All of them hang on cfilelist, newest first.
struct UnitRecord {
  FILE *stream;
  char *name;             // malloc'd, any length
  int32_t unit;           // the search key
  OpenList request;       // copy of the request; its file pointer is `name`
  int32_t written;        // non-zero after a write: a rewind flushes first
  UnitRecord *next, *previous;
};

extern UnitRecord *cfilelist;
extern char *qrt_file_name[UNIT_NAMED_COUNT];  // malloc'd, or null
extern FILE *qrt_file_fp[UNIT_NAMED_COUNT];    // streams of units 100 + i, or null

UnitRecord *qrtfindfile(int unit);             // the record of an open unit, or null
int qrt_f_open(const OpenList *request);       // 0, also for a unit already open; 1 when no stream could be had
int qrtopenbyname(const char *name, int unit, int mode);  // 0 text, 1-3 binary input, 4 up output, below 0 append
int qrt_f_clos(const CloseList *request);      // 0 also for a unit that is not open
int qrt_f_clos2(UnitRecord *record);           // closes, unlinks and frees; returns what fclose returned
int qrt_f_close(int reportErrors, int unit);
int qrt_f_end(int reportErrors, int unit);
int qrt_f_rew(int reportErrors, int unit);     // flushes if written, then seeks to the start
int qrt_f_inqu(InquireList *inquiry);
FILE *qrt_unit_fp(int unit);                   // stream of a unit, opened formatted if need be; null on failure
int qrt_close(FILE *stream);                   // fclose, but never one of the standard streams
void setUnitFileName(int unit, const char *name);  // name for a unit 100 to 109; null forgets it
void closeNamedUnit(int unit);                 // closes a unit 100 to 109 and forgets its name
int qrts_cmp(const char *a, int aLength, const char *b, int bLength);  // compare, the shorter one blank-padded

// Open and checks as the file formats need them: these issue messages, which may jump.
// kind 1 text in, 2 text out, 3 binary in, 4 binary out, above that a record length for direct access.
void qrtopen(int unit, int kind, int *rc);
void qrtckun(int *rc, int unit, int kind, const char *name);
const char *unitTable_check();                 // first broken invariant of the unit list as text, or null

// ---- transfers: a start call, item calls, an end call; never two at a time ----

// Start of a transfer on a unit.
struct ControlList {
  int32_t reportErrors;
  int32_t unit;
  int32_t endFlag;
  const char *format;     // formatted transfers
  int32_t recordNumber;   // direct access, from 1
};
// Start of a formatted transfer from or to a string.
struct Icilist {
  int32_t reportErrors;
  char *internalUnit;     // the string
  int32_t endFlag;
  const char *format;     // null: items are copied as they stand
  int32_t recordLength;   // bytes of the string
  int32_t recordNumber;   // where a direct copy goes
};

int qrt_s_rsue(const ControlList *control);    // unformatted sequential
int qrt_s_wsue(const ControlList *control);
int qrt_e_rsue();
int qrt_e_wsue();
int qrt_s_rdue(const ControlList *control);    // unformatted direct
int qrt_s_wdue(const ControlList *control);
int qrt_e_rdue();
int qrt_e_wdue();
int qrt_do_uio(int count, void *pointer, int length);  // 0, or non-zero on a short transfer

int qrt_s_rsfe(const ControlList *control);    // formatted, on a unit
int qrt_s_wsfe(const ControlList *control);
int qrt_e_rsfe();                              // skips to the end of the line; 1 at the end of the file
int qrt_e_wsfe();
int qrt_s_rsfi(const Icilist *request);        // formatted, on a string
int qrt_s_wsfi(const Icilist *request);
int qrt_e_rsfi();
int qrt_e_wsfi();
int qrt_do_fio(void *item, int length);        // one item of `length` bytes
