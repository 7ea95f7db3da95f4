// Names and their numbers: the hash of the SMPS readers. Names stand side by side, blank padded, numchar characters
// each; a name's number is its position from 1.
//
// A table for n names has size = 3n/2 + 1 buckets and occupies size + n + 1 integers:
//
//     [0]              names entered so far
//     [1 .. size]      first name of a bucket, 0 for none
//     [size + k]       next name of the bucket of name k, 0 at the end, -1 while k has not been entered
#pragma once

#include <cstdint>

#include "stoch/scn_fields.h"

int hashSizeFor(int n);
// Search (*start 0): *start becomes the number of `name`, 0 if there is none.
// Insert (*start not 0): enters the names from |*start| to *end (cut to *size); a negative *start is a fresh build.
// *start stays positive on success; a name already there gives *start minus its number and *end the number of the
// second one. A size of 0 or less gives *start = *end = 0.
void qrthash8(int *start, int *end, int *table, const int *size, int numchar, const char *names, const char *name);
// Marks the chain entries first..last as not entered and sets [0] to last.
void qrtfilnil_(int *table, int size, int first, int last);
// Number of a field among the names of a table, 0 for none; fields longer than numchar are cut.
int hashFind(const int *table, int size, int numchar, const char *names, Field field);

// A name list that grows by one, for scenarios and blocks: pointers to where its parts are kept.
struct GrowingNames {
  char **names;         // [capacity * numchar]
  int **table;
  int32_t *size;        // buckets
  int numchar;
  int count;
  int capacity;
};
// Adds a name: its new number, or minus the number of an equal name that is there already.
int growingNames_add(GrowingNames *list, Field name);
int growingNames_find(const GrowingNames *list, Field name);
