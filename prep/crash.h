// Crash: a triangular starting basis better than that of all slacks.
//
//     rows of the pivots, in order  [ p              ]      column k has no element in the rows of pivots 1 .. k-1, so
//                                   [ x  p           ]      that a later step leaves the rows pivoted before where they
//     rows whose slack stays basic  [ x  x  p        ]      are, at a bound, and the basis is never singular
//                                   [ x  x  x  1     ]
//
// Rows outside their bounds and equations are taken by their number of usable columns, smallest first. The column that
// enters moves until the row stands at its bound; it must get there within its own bounds, so that all values stay
// legal. The model's bounds are never changed.
#pragma once

#include <cstdint>

#include "frame/model_record.h"

enum : int {
  MSG_DUAL_CARE = 104,
  MSG_CRASH_COUNTS = 105,  // columns with relaxed bounds, variables put into the basis
  MSG_ZERO_PIVOTS = 106,
  MSG_NONZERO_PIVOTS = 107
};

enum : int { CRASH_PRIMAL = 1, CRASH_DUAL = 2, CRASH_PRIMAL_STRICT = 3, CRASH_DUAL_STRICT = 4 };

constexpr int CRASH_LISTS = 1000;  // rows with this many open columns or more share one list

enum CrashColumn : char {
  COLUMN_OPEN,     // may enter
  COLUMN_FIXED,
  COLUMN_LEFT_OUT, // its cost bars it
  COLUMN_BLOCKED,  // has an element in a pivot row: it would break the triangle
  COLUMN_BASIC
};

// One run; every array hangs on the model's temporary chain. Everything is 0-based and in the caller's units.
struct CrashWork {
  QRTModel *model;
  int m, n;
  // the matrix by columns and by rows, without scale factors
  const int *starts, *rows;         // [n + 1], [elements]
  double *elements;
  const int *rowStarts, *columns;   // [m + 1], [elements]
  double *rowElements;
  double *columnLargest;            // [n] largest element in size
  double *lower, *upper, *value;    // [n] of columns; a bound that a row implies may be relaxed here
  const double *rowLower, *rowUpper, *columnLower, *columnUpper;  // the model's own
  double *activity;                 // [m]
  CrashColumn *state;               // [n]
  int *pivotColumn;                 // [m] column that entered at the row, -1 while its slack is basic
  // rows to be looked at, in doubly linked lists by their number of open columns
  int *openCount;                   // [m]
  int *first;                       // [CRASH_LISTS + 1]; -1 ends a list
  int *next, *previous;             // [m]; previous -2 - c marks the head of list c
  int shortest;                     // lists before it are empty
  char *listed;                     // [m] 1 in a list of this pass
  char *wanted;                     // [m] 1 to be looked at in the next pass
  double tolerance;                 // Rtolpinf
  bool relaxing;                    // bounds implied by a row count as none
  double seed;
  int relaxed, zeroPivots, nonzeroPivots;
};

// Passes over the rows until none pivots (qrtcrh2 with relaxing, qrtcrh3 without).
void runCrash(CrashWork *w);
// First broken invariant of lists and counts as text, or null.
const char *crash_check(const CrashWork *w);

// Crash of the model below, type 1 to 4.
void qrtcrshf(QRTModel *model, int type);
