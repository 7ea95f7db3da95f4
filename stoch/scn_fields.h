// Lines, fields and numbers of the SMPS files: how text becomes (pointer, length) pairs and values.
//
// A file is read through one buffer of a megabyte; lines and fields point into it and nothing is copied, so a field
// is good until the next line is asked for. Columns are counted from 1, as the format's own tables do.
#pragma once

#include <cstdint>
#include <cstdio>

constexpr int SCN_LINE_LENGTH = 255;  // characters of a line that count; the rest is dropped
constexpr int SCN_VALUE_LENGTH = 12;  // characters of a number
constexpr int SCN_NAME_LENGTH = 31;   // longest name of any dialect

struct TextFile {
  FILE *stream;         // owned; null while closed
  const char *name;     // the caller's
  char *buffer;         // [capacity] owned
  int64_t filled;       // bytes in the buffer
  int64_t next;         // where the next line begins
  bool streamEnded;     // nothing more to come into the buffer
  bool dropsRest;       // the end of an over-long line is still to be skipped
  const char *line;     // the present line without its end; good until the next one
  int length;           // at most SCN_LINE_LENGTH; ends at a NUL byte
  int64_t card;         // number of the present line, comments included
  bool blankTabs;       // tabs count as blanks
  char untabbed[SCN_LINE_LENGTH + 1];
};

// Opens for reading; false if that fails (a folder counts as failure), and then there is nothing to close.
bool textFile_open(TextFile *file, const char *name, bool blankTabs);
void textFile_close(TextFile *file);
// Moves to the next line; false at the end. Line ends are "\n" or "\r\n", the last line may lack its end.
bool textFile_next(TextFile *file);
// Moves to the next line that is no comment ("*" in column 1).
bool textFile_nextCard(TextFile *file);
// Starts again at the first line.
void textFile_rewind(TextFile *file);

struct Field {
  const char *text;
  int length;           // 0: empty
};

// Finds one field: from *start (0-based) on blanks are skipped and *start moves to the first other character; the
// field runs to the next blank, "$" or the end of the line, and has at most `maximum` characters. *end is its last
// character, or *start - 1 for an empty field: none left, or a "$".
Field qrtfform(const char *line, int length, int *start, int *end, int maximum);
// Fills n bytes with blanks.
void qrtclean(char *buffer, int n);
// A field into a blank-padded name of n characters.
void fieldToName(Field field, char *name, int n);
bool fieldBegins(Field field, const char *word);
bool fieldEquals(Field field, const char *word);
// The same without regard to case; `word` in upper case.
bool fieldBeginsAnyCase(Field field, const char *word);
bool fieldEqualsAnyCase(Field field, const char *word);

// A number as "%g" reads it, in the C locale whatever the process has set: the longest numeric beginning counts, what
// follows is ignored. False when there is none, and for infinite values and NaN. The result is exactly strtof's.
bool scanFloat(const char *text, int length, float *value);
// The same in double precision; an exponent may also begin with D or d.
bool scanDouble(const char *text, int length, double *value);
