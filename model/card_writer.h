// Cards going out: one card in the layouts that the reader takes, numbers as text, and a file that replaces its
// predecessor only when it is whole.
#pragma once

#include <cstdint>
#include <cstdio>

#include "frame/model_record.h"

enum : int {
  MSG_WRITE_ERROR = 119,   // I/O status, unit
  MSG_ONLY_UNSCALED = 179
};

// ---- a file under way (one at a time, on the unit of imports and exports)
//
// It is written beside its place under a name of its own and renamed at the end, so that a full disk or a jump leaves
// what stood there. What is no ordinary file (a device, a pipe) is written straight.

// Opens unit 101; null or empty names mean "tempfile". False when it cannot be opened, told by a message.
bool outputFile_open(const char *filename);
// Closes it and puts it in its place. False after a message when something could not be written.
bool outputFile_commit();
// Closes it and removes what was written; harmless when nothing is open. For jumps too.
void outputFile_abandon();
// The stream, null when nothing is open.
FILE *outputFile_stream();

// ---- cards

struct CardWriter {
  FILE *stream;
  int unit;
  int nameLength;    // L
  int binary;        // 1: numbers packed into 12 characters (L = 8) or 16 hexadecimal digits
  int entries;       // pairs a card, 1 or 2; names of 13 and more leave room for one
  int failed;        // 1 after the message about a write error
  // a pair that waits for its neighbour
  char head[4];
  char owner[32], waiting[32];
  int ownerLength, waitingLength;
  double waitingValue;
  int hasWaiting;
};
struct CardName {
  const char *text;
  int length;
};
void cards_start(CardWriter *writer, FILE *stream, int unit, int nameLength, bool binary, int entries);
// A card of the fixed layout of section cards: head word, and for NAME its operands.
void cards_section(CardWriter *writer, const char *word, const char *operand, const char *flag);
// A data card (qrtoucd): head of 4 characters, name 1, then up to two names with values; a null name ends it.
void qrtoucd(CardWriter *writer, const char *head, CardName name1, const CardName *name2, const double *value2,
             const CardName *name3, const double *value3);
// Gathers pairs of one owner (a column, a set) into cards of `entries` pairs; cards_flush writes what waits.
void cards_pair(CardWriter *writer, const char *head, CardName owner, CardName name, double value);
void cards_flush(CardWriter *writer);

// Decimal text of at most 12 characters nearest to the value, which is clipped to +-1e31; returns its length (qrtfltf).
int qrtfltf(double value, char text[13]);
// The double as 12 characters of six bits each, low bits first.
void packBinary(double value, char text[12]);
