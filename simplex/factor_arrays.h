// The arrays behind a Factor: L, R, U for the solves, and the stores of the elimination. Inner header of the factor.
//
// All arrays [1..m] have an unused entry 0. A `Store` is a pair of parallel element arrays that grows; a list inside
// it has a start, a length and room to grow in place, and moves to the end of the store when the room is used up.
#pragma once

#include "simplex/factor.h"

enum : int { MSG_OVERWRITTEN = 158 };  // a structure of the factor contradicts itself

// Debug builds look through the whole factor after a factorisation and now and then after an update.
#ifdef QRT_SELF_CHECKS
void factor_selfCheck(const Factor *factor);
#else
inline void factor_selfCheck(const Factor *) {}
#endif

// Loops over dense columns: GCC's vectors come with -O3 only.
#if defined(__GNUC__) && !defined(__clang__)
#define QRT_VECTORISE __attribute__((optimize("O3")))
#else
#define QRT_VECTORISE
#endif

// Parallel arrays of indices and (unless the store holds indices only) values.
struct ElementStore {
  int32_t *index;     // [capacity] owned, guarded
  double *value;      // [capacity] owned, guarded; null in a store of indices
  int32_t capacity;
  int32_t end;        // elements from here on are free
  int32_t hasValues;  // 1: value is kept
};

// Lists inside one store, numbered from 1.
struct StoreLists {
  int32_t *start, *length, *room;  // [1..lists] owned
};

enum RowStage : uint8_t {
  STAGE_ACTIVE = 0,    // not yet pivoted
  STAGE_EARLY = 1,     // pivoted as a logical or with a column of one element: its row of U is its row of B
  STAGE_ROW = 2,       // pivoted as a row of one element: its row of U is empty
  STAGE_KERNEL = 3,    // pivoted by the kernel: its row of U is in `kernelRows`
  STAGE_REPAIRED = 4   // got its logical because nothing else could stand there
};

enum ColumnState : uint8_t {
  COLUMN_ACTIVE = 0,
  COLUMN_PIVOTED = 1,
  COLUMN_REJECTED = 2  // its only possible pivot is too small: it leaves the basis
};

struct FactorArrays {
  int32_t rowCapacity;     // arrays [1..m] are long enough for this m
  int32_t columnCapacity;  // arrays by local column likewise
  int32_t orderCapacity;
  int32_t listCapacity;    // stack, thrownOut and repairedRow are long enough for m + nBasic

  // ---- the factor -------------------------------------------------------------------------------------------------
  // L, eta e = 0..lNumber-1 in pivot order
  int32_t lNumber;
  int32_t *lPivotRow;      // [m]
  int32_t *lStart;         // [m+1] eta e holds lStore[lStart[e]..lStart[e+1]-1]
  int32_t *lEtaOfRow;      // [1..m] eta whose pivot row this is, -1 none
  ElementStore lStore;     // rows and multipliers
  int32_t lOrderLength;
  int32_t *lOrder;         // [m] rows that occur in some eta, in pivot order
  int32_t *lRowStart;      // [1..m+1] row i of the row copy of L: pivot rows of the etas that hold i
  ElementStore lRowStore;
  // R, eta e = 0..etaNumber-1
  int32_t *rRow;           // [rCapacity]
  int32_t *rStart;         // [rCapacity+1]
  int32_t rCapacity;
  ElementStore rStore;
  // U
  int32_t orderEnd;
  int32_t orderLogicals;   // order[0..orderLogicals-1] were logicals at the factorisation: columns of U empty, diagonal 1
  int32_t *order;          // [orderCapacity] rows in pivot order, 0 where a row was taken out
  int32_t *orderPosition;  // [1..m]
  double *pivotInverse;    // [1..m] 1 / diagonal
  StoreLists uRows;        // [1..m] by rows: columns (named by their row) and values
  ElementStore uRowStore;
  StoreLists uColumns;     // [1..m] by columns: rows and values
  ElementStore uColumnStore;
  int32_t uRowLive, uColumnLive;  // room in use; the rest of [0, end) is garbage
  // The dense tail: the last tailSize pivots of the factorisation, when the dense kernel made them. What L and U hold
  // among these rows lies here by columns and not in the stores; element (s,t) at [t*tailSize + s].
  int32_t tailSize;        // 0: none
  int32_t tailFirst, tailEnd;  // the tail's part of order
  int32_t *tailRow;        // [tailSize] row of L's tail by step
  int32_t *tailUpperRow;   // [tailSize] the same for U; 0 once an update took the row out, its row and column are zero then
  int32_t *tailStep;       // [1..m] step + 1 of a row in the tail at the factorisation, 0 else
  double *tailLower;       // [tailSize^2] s > t
  double *tailUpper;       // [tailSize^2] s < t
  double *tailWork;        // [tailSize]
  int64_t tailCapacity;    // of tailLower and tailUpper
  int32_t tailLowerCount, tailUpperCount;  // nonzeros among them, part of lCount and uCount
  // the spike of the last entering column, between R and U
  int32_t spikeCount;      // -1: none kept
  int32_t *spikeIndex;     // [m]
  double *spikeValue;      // [m]
  // row eta kept by the last BTRAN of a unit vector
  int32_t keptEtaRow;      // 0: none
  int32_t keptEtaCount;
  int32_t *keptEtaIndex;   // [m]
  double *keptEtaValue;    // [m]

  // ---- work of the solves; clean between calls --------------------------------------------------------------------
  uint8_t *mark;           // [1..m] 0
  int32_t *searchStack;    // [m] rows on the path of a search
  int32_t *searchNext;     // [m] next element of each row on the path
  int32_t *searchList;     // [m] pattern found, in post-order
  double partDensity[SOLVE_KINDS];  // running mean of the density after the first triangular factor
  uint32_t sweeps;         // sweeps over a first factor; every eighth has its result counted
  double *pairs;           // [2m+2] zero; two vectors side by side, row i's values at [2i] and [2i+1]
  SparseVector work;       // zero; for solves of plain arrays

  // ---- the elimination; meaningless between factorisations --------------------------------------------------------
  int32_t m, nColumns;     // nColumns: local columns, those of basic[] that are structurals
  int32_t pivots;          // rows pivoted so far; order[0..pivots-1]
  int32_t *variable;       // [1..nColumns] variable of a local column
  int32_t *pivotRowOfColumn;  // [1..nColumns] 0 not pivoted
  uint8_t *columnState;    // [1..nColumns] ColumnState
  double *columnTiny;      // [1..nColumns] pivots below this are too small
  int32_t *loadStart;      // [1..nColumns+1] loaded columns
  ElementStore loaded;     // rows and values of the basis, without zeros
  int32_t *rowColumnsStart;   // [1..m+1] columns of each row not held by a logical
  ElementStore rowColumns;    // indices only
  uint8_t *rowStage;       // [1..m] RowStage
  uint8_t *rowBarred;      // [1..m] 1: all that is left in the row is too small; it cannot pivot
  int32_t *basicInRow;     // [1..m] variable pivoted in the row
  int32_t *rowCount, *rowXor;        // [1..m] active elements of the row, xor of their columns
  int32_t *columnCount, *columnXor;  // [1..nColumns] likewise
  int32_t *stack;          // [m + nBasic]
  double *pivotValue;      // [1..m]

  // kernel: rows with values, columns with indices only, and count lists over both
  StoreLists activeRows;   // [1..m] largest element in magnitude first
  ElementStore rowElements;
  StoreLists activeColumns;  // [1..nColumns]
  ElementStore columnElements;
  int32_t *rowCountHead, *rowNext, *rowPrev;           // heads by count, [0..nColumns]; prev -1: not linked
  int32_t *columnCountHead, *columnNext, *columnPrev;  // heads by count, [0..m]
  int32_t *columnMark;     // [1..nColumns] not 0: column of the pivot row; negative: met in the row at hand
  double *pivotWork;       // [1..nColumns] values of the pivot row
  int32_t *pivotColumnRows;  // [m] rows of the pivot column
  int32_t *kernelRowStart, *kernelRowLength;  // [1..m] rows of U made by the kernel
  ElementStore kernelRows; // local columns and values
  double *dense;           // [denseCapacity] the dense tail, by rows
  int64_t denseCapacity;
  int32_t activeElements, activeRowCount;
  int32_t kernelFault;     // 1: a row or column had to be given up
};

// ---- stores (factor_record.cpp) -----------------------------------------------------------------------------------

// Room for `needed` elements without keeping what is there; end becomes 0.
void store_reserve(ElementStore *store, int64_t needed);
// Room for `needed` elements, keeping those before end.
void store_grow(ElementStore *store, int64_t needed);
void store_free(ElementStore *store);
// Moves all lists to a fresh block, each keeping its room, so that at least `free` elements are free at the end.
void store_compact(ElementStore *store, StoreLists *lists, int count, int64_t freeWanted);
// Gives list k room for `wanted` elements by moving it to the end; compacts or grows the store when needed.
void store_moveList(ElementStore *store, StoreLists *lists, int count, int k, int wanted);

inline void store_append(ElementStore *store, int index, double value) {
  if (store->end == store->capacity) store_grow(store, int64_t(store->end) + 1);
  store->index[store->end] = index;
  store->value[store->end++] = value;
}

// Arrays for m rows, nColumns local columns and nBasic variables.
void factor_size(Factor *factor, int m, int nColumns, int nBasic);

// ---- stages of one factorisation, in order ------------------------------------------------------------------------

// Loads the basis: logicals become pivots at once, structurals local columns (qrtslct). Surplus logicals (named twice)
// go to the repair report.
void qrtslct(Factor *factor, const BasisMatrix *matrix, int nBasic, const int32_t *basic);
// Peels off columns and rows of one element. Returns the number of pivots refused as too small.
int qrttria(Factor *factor);
// Sets up the kernel's stores and count lists from what is left; counts rows and columns without elements (qrtford).
int qrtford(Factor *factor);
// Sparse elimination of the nucleus. Returns the number of rows left unpivoted; stops early when repair is 0.
int qrtcmfc(Factor *factor, int repair);
// Dense elimination of what is left.
void qrtcmfd(Factor *factor);
// Puts logicals where no pivot was found and reports.
void qrtshff(Factor *factor);
// Shapes L and U for the solves.
void qrtshfv(Factor *factor);

// Records a pivot of `row` in local column c (0: the row's logical).
inline void recordPivot(FactorArrays *a, int row, int c, double value, RowStage stage) {
  a->order[a->pivots++] = row;
  a->rowStage[row] = stage;
  a->pivotValue[row] = value;
  if (c) {
    a->pivotRowOfColumn[c] = row;
    a->columnState[c] = COLUMN_PIVOTED;
    a->basicInRow[row] = a->variable[c];
  } else {
    a->basicInRow[row] = row;
  }
}

// ---- the dense tail in solves (dense_tail.cpp): each takes and leaves values by row, row i's at [stride * i] ----------

// Room for a tail of `size` rows.
void tail_size(FactorArrays *a, int size);
// L, U, and their transposes within the tail. Return the operations done; 0 when no value there was different from zero.
int64_t tail_lower(FactorArrays *a, double *value, int stride = 1);
int64_t tail_lowerTransposed(FactorArrays *a, double *value, int stride = 1);
int64_t tail_upper(FactorArrays *a, double *value, int stride = 1);
int64_t tail_upperTransposed(FactorArrays *a, double *value, int stride = 1);
// Adds the elements of U's row at a step to x, which holds none of these rows.
void tail_rowToVector(const FactorArrays *a, int step, SparseVector *x);
// Takes row and column of a step out of U's tail; returns the nonzeros removed.
int tail_remove(FactorArrays *a, int step);
// After a tail has been solved, a list that holds must take in its rows that came to life.
inline void tail_relist(const FactorArrays *a, SparseVector *x) {
  if (x->count < 0) return;
  int count = 0;
  for (int k = 0; k < x->count; k++)
    if (!a->tailStep[x->index[k]]) x->index[count++] = x->index[k];
  for (int t = 0; t < a->tailSize; t++)
    if (x->value[a->tailRow[t]] != 0.0) x->index[count++] = a->tailRow[t];
  x->count = count;
}

// ---- symbolic search (symbolic_search.cpp) ------------------------------------------------------------------------

// A graph over the rows: row i leads to index[start[i]] .. index[start[i]+length[i]-1]. With `etaOfRow` the list of a
// row is that of its eta instead: index[start[e]] .. index[start[e+1]-1].
struct SearchGraph {
  const int32_t *index;
  const int32_t *start;
  const int32_t *length;   // null: start[i+1] ends the list
  const int32_t *etaOfRow; // or null
  const int32_t *barrier;  // rows that are not 0 here lead to more than the lists say: meeting one ends the search; or null
};
// Rows reachable from list[0..count-1], in post-order, to a->searchList; returns their number and leaves `mark` clean,
// or -1 when more than `limit` were found or a barrier was met.
int symbolicSearch(FactorArrays *a, const SearchGraph *graph, const int32_t *list, int count, int limit);

// U transposed by itself, with the choice between search and sweep (btran.cpp): the update's row eta.
void qrtbtju(Factor *factor, SparseVector *x, SolveKind kind);
