// Presolve and postsolve: the working form of a model under reduction, the log of what was done to it, and the contract
// that every reduction keeps. Each reduce_*.cpp holds one reduction and, beside it, the way back.
//
//     minimise  cost'x + constant     rowLower <= A x <= rowUpper,   lower <= x <= upper
//
// cost is Rmaxmin * c, so that everything here minimises; elements and bounds are the caller's, without scale factors.
// A reduction takes a row or a column out, and what it leaves is again such a program: sides of rows are shifted by the
// columns that were fixed, costs and constant by what was substituted. Rows and columns count from 0 and keep their
// numbers until the end.
//
// The way back is one stack. Reduction k turned program k into program k+1; its undo turns an optimal primal and dual
// point and basis of program k+1 into one of program k. So it may rely on the duals of every row that was alive when it
// was recorded, and on nothing else: content it needs (the row, the column as they stood) lies in its record, never in
// the original model, whose other columns may not be back yet.
#pragma once

#include <cmath>
#include <cstdint>

#include "frame/model_record.h"

// ---- the program under reduction -----------------------------------------------------------------------------

constexpr double PRESOLVE_ZERO = 1.0e-12;      // bounds, sides and activities that differ by less are the same

inline bool hasLower(double bound) { return bound > -QRT_INFINITE_TEST; }
inline bool hasUpper(double bound) { return bound < QRT_INFINITE_TEST; }

// One element, linked into its row and its column; free ones are linked by rowNext.
struct PresolveEntry {
  double value;
  int row, column;
  int rowNext, rowPrevious;        // -1 at the ends
  int columnNext, columnPrevious;
};

// What a mark says of a row or a column that is no longer there; alive is 0.
enum PresolveMark : int32_t {
  MARK_ALIVE = 0,
  MARK_REDUNDANT = -1,             // row: dropped as redundant or free
  MARK_FORCING = -2,               // row: fixed all its columns
  MARK_ELIMINATED = -5,            // row: went with the column it defined
  MARK_AT_LOWER = 0x20000000,      // column: stays at its lower bound
  MARK_AT_UPPER = 0x40000000       // column: stays at its upper bound; a column may also bear 1 + the row that fixed it
};

enum PresolveKind : char { COLUMN_CONTINUOUS = 0, COLUMN_INTEGER = 1, COLUMN_IN_SET = 2 };  // the last is never touched

// Who waits for changed rows and columns: each reduction has a queue of its own, so that none looks at anything twice
// without reason. Everything is in every queue at the start.
enum PresolveRowQueue : int { ROWS_ACTIVITY, ROWS_DOUBLETON, ROW_QUEUES };
enum PresolveColumnQueue : int { COLUMNS_ROUND, COLUMNS_EMPTY, COLUMNS_SIGN, COLUMNS_DUAL, COLUMNS_FREE, COLUMNS_SUBSTITUTE, COLUMN_QUEUES };

struct PresolveQueue {
  int *ring;                       // [room] circular: an index waits at most once
  int room, first, count;
};

// Activity of a row over its live columns: the sum of finite terms and the number of infinite ones. Kept up to date with
// every change, so drifting by rounding: it tells where to look, computeActivity() decides.
struct PresolveActivity {
  double least, most;
  int leastInfinite, mostInfinite;
};

struct Presolve {
  QRTModel *model;                 // its arrays are not touched before the end; owns the blocks below by its chain
  int m, n;                        // of the program at the start
  int kind;                        // 0..3: doubletons in 1 and 3, implied free columns in 2 and 3
  int flags;                       // PRESOLVE_FLAG_*
  int pass;                        // from 1
  int repair;                      // 1: an infeasibility is repaired where possible
  int repairs;                     // bounds that were moved by it
  int plain;                       // 0, or PRESOLVE_ROWS_ONLY (quadratic terms), PRESOLVE_NOTHING (parametric vectors)
  double tolerance;                // Rtolpinf
  double dualTolerance;            // Rtoldinf
  double constant;
  // elements
  PresolveEntry *entry;            // [entryRoom]
  int entryRoom, entryTop, entryFree;
  int liveEntries;
  int *rowFirst, *rowCount;        // [m] first entry, live entries
  int *columnFirst, *columnCount;  // [n]
  // rims
  double *rowLower, *rowUpper;     // [m]
  double *lower, *upper, *cost;    // [n] true bounds: what rows imply is in workLower, workUpper
  double *workLower, *workUpper;   // [n] bounds tightened by rows, to detect infeasibility only
  int32_t *rowMark, *columnMark;   // [m], [n] PresolveMark
  char *columnKind;                // [n] PresolveKind
  PresolveActivity *activity;      // [m] from the true bounds
  int liveRows, liveColumns;
  PresolveQueue rowQueue[ROW_QUEUES], columnQueue[COLUMN_QUEUES];
  unsigned char *rowWaits, *columnWaits;  // [m], [n] bit q: the index waits in queue q
  struct ReductionLog *log;
};

enum : int { PRESOLVE_ROWS_ONLY = 1, PRESOLVE_NOTHING = 2 };
enum : int {
  PRESOLVE_FLAG_DUPLICATES = 1,
  PRESOLVE_FLAG_FILL = 2,
  PRESOLVE_FLAG_KEEP_BOUNDS = 4,
  PRESOLVE_FLAG_DUALS = 8,
  PRESOLVE_FLAG_REPAIR = 16,
  PRESOLVE_FLAG_RELAX = 32
};

// What a reduction returns besides the number of things it removed or changed.
enum : int { PRESOLVE_INFEASIBLE = -1, PRESOLVE_UNBOUNDED = -2 };

inline bool rowAlive(const Presolve *p, int i) { return p->rowMark[i] == MARK_ALIVE; }
inline bool columnAlive(const Presolve *p, int j) { return p->columnMark[j] == MARK_ALIVE; }
// Can the column be fixed there? An integer column at whole values only: until its bounds are rounded they may not be.
inline bool mayRest(const Presolve *p, int j, double value) {
  if (p->columnKind[j] == COLUMN_IN_SET) return false;
  return p->columnKind[j] == COLUMN_CONTINUOUS || value == std::floor(value);
}
inline bool isEquation(const Presolve *p, int i) { return p->rowUpper[i] - p->rowLower[i] <= PRESOLVE_ZERO; }

// Primitives. They keep links, counts, activities and queues; whatever changes waits in all queues afterwards.
void removeRow(Presolve *p, int row, int mark);
// Fixes a column at `value` and takes it out: sides of its rows and the constant move. Records nothing.
void removeColumn(Presolve *p, int column, double value, int mark);
// Takes a column without a value out (it was substituted): its elements go, nothing moves.
void dropColumn(Presolve *p, int column, int mark);
void changeBounds(Presolve *p, int column, double lower, double upper);
void changeSides(Presolve *p, int row, double lower, double upper);
void shiftSides(Presolve *p, int row, double by);          // finite sides += by
void changeCost(Presolve *p, int column, double cost);
int findEntry(const Presolve *p, int row, int column);     // -1: none; walks the shorter of the two lists
// Adds to the element of (row, column), which appears or goes as needed; a sum of 1e-12 or less of its terms is zero.
void addToElement(Presolve *p, int row, int column, double by);
void dropEntry(Presolve *p, int e);
// Activity of a row from its elements; `skip` is a column left out, or -1.
PresolveActivity computeActivity(const Presolve *p, int row, int skip);
bool takeRow(Presolve *p, int queue, int *row);            // next live row that waits; false when none does
bool takeColumn(Presolve *p, int queue, int *column);
void touchRow(Presolve *p, int row);
void touchColumn(Presolve *p, int column);
// The message on an infeasibility of size `by`; numbers from 0, -1 for none. Returns PRESOLVE_INFEASIBLE.
int foundInfeasible(Presolve *p, double by, int column, int row);
// First broken invariant of the working form as text, or null; walks everything.
const char *presolve_check(const Presolve *p);

// ---- the log -------------------------------------------------------------------------------------------------

// The types below 20 and from 28 to 39 go out as stack entries (16 and 32 bytes), 23, 26, 27 as merge records (64), 40 as
// substitution records (40); `sequence` restores true time order. Comments: lower, upper, value1, value2.
enum ReductionType : int32_t {
  REDUCTION_ROW_DROPPED = 0,       // row redundant or free
  REDUCTION_AT_LOWER = 1,          // column fixed at its lower bound: bounds, value, cost; column content
  REDUCTION_AT_UPPER = 2,          // at its upper bound
  REDUCTION_SINGLETON_BOTH = 3,    // singleton row became bounds: old bounds of the column, element, which bounds are the row's
  REDUCTION_SINGLETON_LOWER = 11,  // only the lower bound came from the row
  REDUCTION_SINGLETON_UPPER = 12,
  REDUCTION_BETWEEN = 13,          // column fixed strictly between its bounds
  REDUCTION_FORCING = 14,          // row fixed all its columns: 1 at its upper side, -1 at its lower; row content
  REDUCTION_KEPT = 21,             // doubleton equation: the variable kept ...
  REDUCTION_SUBSTITUTED = 22,      // ... and the one substituted
  REDUCTION_SLACK = 23,            // zero-cost singleton absorbed by its row
  REDUCTION_SUMMED = 26,           // duplicate columns added up
  REDUCTION_DOMINATED = 27,        // duplicate columns, one at its bound
  REDUCTION_DUPLICATE_ROW = 28,    // proportional row folded into another
  REDUCTION_FREE_SINGLETON = 30,   // implied free column and the row that defines it
  REDUCTION_FREE_OPEN = 31, REDUCTION_FREE_CLOSE = 32,
  REDUCTION_SIGN_ROWS = 33,        // rows that a free column satisfies alone
  REDUCTION_SIGN_FIXED = 34,       // column fixed by the signs of its elements
  REDUCTION_FILL = 40              // implied free column substituted with fill
};

struct Reduction {
  int32_t type;
  int32_t row, column;             // -1 for none
  int32_t other;                   // second row or column, -1 for none
  double lower, upper, value1, value2;
  double otherLower, otherUpper;   // merge records only
  int64_t rowAt, columnAt;         // where content begins in the pair area
  int32_t rowCount, columnCount;   // pairs (index, value) of the row and of the column as they stood; 0 without
};

struct ReductionLog {
  QRTModel *model;
  Reduction *record;               // [room], in time order
  int count, room;
  int *index;                      // [pairRoom] row or column numbers
  double *value;                   // [pairRoom]
  int64_t pairs, pairRoom;
};

// A new record with the given numbers, all else 0; good until the next record is made.
Reduction *logReduction(Presolve *p, int type, int row, int column);
// Live content, for the record made last: call before the removal that the record is about.
void logRowContent(Presolve *p, int row);                  // (column, element)
void logColumnContent(Presolve *p, int column);            // (row, element)
void logPair(Presolve *p, bool row, int index, double value);  // one pair more; all row pairs before all column pairs
// Fixes a column with its record: the common case.
void fixColumn(Presolve *p, int column, double value, int type, int mark);

// ---- the way back --------------------------------------------------------------------------------------------

// A point of the program at the present depth of the stack. Duals are those of the minimised form: d = cost - A'y,
// y_i >= 0 at the lower side of a row, <= 0 at the upper; d_j likewise at bounds. Entries of rows and columns that are
// not back yet are 0.
struct Postsolve {
  QRTModel *model;
  int m, n;
  int valuesOnly;                  // 1: the point has no basis (an interior one): duals by formula, statuses by value
  double tolerance, dualTolerance;
  double *x, *d;                   // [n]
  double *y;                       // [m]
  char *rowBasic, *columnBasic;    // [m], [n] 1 basic; together as many as rows are back
  const ReductionLog *log;
};

inline const int *rowIndices(const Postsolve *p, const Reduction *r) { return p->log->index + r->rowAt; }
inline const double *rowElements(const Postsolve *p, const Reduction *r) { return p->log->value + r->rowAt; }
inline const int *columnIndices(const Postsolve *p, const Reduction *r) { return p->log->index + r->columnAt; }
inline const double *columnElements(const Postsolve *p, const Reduction *r) { return p->log->value + r->columnAt; }
// cost - sum of element * y over the column content of a record.
double contentDual(const Postsolve *p, const Reduction *r, double cost);
// Sum of element * x over the row content, without column `skip` (-1: none).
double contentActivity(const Postsolve *p, const Reduction *r, int skip);
// At which end of [lower, upper] does a non-basic value rest? Its dual decides where there is no range.
inline bool restsAtLower(double value, double lower, double upper, double dual) {
  if (!hasLower(lower) || !hasUpper(upper)) return hasLower(lower);
  return upper - lower <= PRESOLVE_ZERO * (1.0 + std::fabs(lower)) ? dual >= 0.0 : value - lower <= upper - value;
}
// y[row] := y, and d of every column of the row content moves with it (row content must be in the record).
void setRowDual(Postsolve *p, const Reduction *r, double y);

// ---- reductions and their undo -------------------------------------------------------------------------------
//
//     int reduce...(Presolve *)       works off its queue; PRESOLVE_INFEASIBLE, PRESOLVE_UNBOUNDED, or how much it did
//     void undo...(Postsolve *, const Reduction *)    for one record

int reduceRows(Presolve *p);                     // reduce_rows.cpp: free, empty, redundant, forcing, singleton rows
int dropImpliedRows(Presolve *p);                // reduce_implied_rows.cpp: rows that others imply
int reduceEmptyColumns(Presolve *p);             // reduce_columns.cpp: fixed columns, columns without elements
int roundIntegers(Presolve *p);                  // reduce_columns.cpp
int tightenBounds(Presolve *p);                  // tighten_bounds.cpp: infeasibility by implied bounds, integer bounds
int reduceDoubletons(Presolve *p);               // reduce_doubletons.cpp
int reduceFreeColumns(Presolve *p);              // reduce_free_columns.cpp: one or two rows, no fill
int substituteFreeColumns(Presolve *p);          // reduce_free_columns.cpp: any number of rows, with fill
// Do rows imply the bound of a column at `end` (1 upper, -1 lower)? Without `prove` by the running activities only.
bool boundImplied(const Presolve *p, int column, int end, bool prove);
// tight_rows.cpp: the side at which an implied free column holds the row of one of its elements; false if the signs of costs and
// duals do not tell, or the row has none there.
bool sideByDuals(const Presolve *p, int e, double *side);
// Makes a row of the column an equation, if the column tells that some optimum has it tight.
bool tightenRowOf(Presolve *p, int column);
int reduceBySigns(Presolve *p);                  // reduce_by_signs.cpp
int reduceByDuals(Presolve *p);                  // reduce_by_duals.cpp
int fixDominatedColumns(Presolve *p);            // reduce_dominated.cpp: columns that another can replace
int dropDuplicateRows(Presolve *p);              // reduce_duplicates.cpp
int mergeDuplicateColumns(Presolve *p);          // reduce_duplicates.cpp
int absorbSlacks(Presolve *p);                   // reduce_slacks.cpp

void undoDroppedRow(Postsolve *p, const Reduction *r);
void undoFixedColumn(Postsolve *p, const Reduction *r);
void undoSingletonRow(Postsolve *p, const Reduction *r);
void undoForcingRow(Postsolve *p, const Reduction *r);
void undoDoubleton(Postsolve *p, const Reduction *r);
void undoFreeColumn(Postsolve *p, const Reduction *r);
void undoSubstitution(Postsolve *p, const Reduction *r);
void undoSignRows(Postsolve *p, const Reduction *r);
void undoSlack(Postsolve *p, const Reduction *r);
void undoSummedColumns(Postsolve *p, const Reduction *r);
void undoDominatedColumn(Postsolve *p, const Reduction *r);
void undoDuplicateRow(Postsolve *p, const Reduction *r);
