// The factorisation of the basis, its solves and its update.
//
//     B = L · R_1^-1 · ... · R_k^-1 · U
//
//     B   the basis: column i is the variable basic in row i. Factorisation chooses which basic variable stands in
//         which row, so that rows and basis positions are one numbering, 1..m, and no vector is ever permuted.
//     L   column etas of the elimination: eta e takes lValue * x[lPivotRow[e]] from the rows lIndex.
//         lStart, lIndex, lValue by eta for FTRAN; a row-ordered copy lRowStart, lRowIndex, lRowValue for BTRAN.
//     R   row etas, one an update: eta e takes the sum of rValue * x[rIndex] from row rRow[e].
//         When the elimination ended dense, its last rows form a tail: what L and U hold among them lies in two dense
//         triangles, tailLower and tailUpper.
//     U   upper triangular in the order `order`: U[i][j] with i before j. Kept twice, without its diagonal:
//         by rows (rowStart, rowLen, elemCol, elemValue) for BTRAN, by columns (uColStart, uColLen, uColRow,
//         uColValue) for FTRAN. The diagonal stands inverted in pivotInverse.
//     order   the pivot order as a list of rows. An update takes a row out (its place holds 0) and appends it at
//             the end. In it come logicals, singletons, nucleus, dense tail, and the rows that updates have moved.
//
// The elimination is right-looking with Markowitz counts and threshold pivoting, after singletons have been peeled
// off without arithmetic (Suhl and Suhl 1990); the update is that of Forrest and Tomlin (1972); sparse solves find
// the pattern of the result by depth-first search (Gilbert and Peierls 1988) when the running mean of the result's
// density says that it will pay (Hall and McKinnon 2005).
//
// Variables are named as in the solver: 1..m is the logical of that row, a unit column; columnBase + j is column j
// of the matrix, j from 1. Rows count from 1 everywhere; positions in element arrays count from 0.
#pragma once

#include "simplex/sparse_vector.h"

// The matrix a basis takes its columns from. Nothing is owned; used only during a factorisation.
struct BasisMatrix {
  int32_t m;            // rows
  int32_t columnBase;   // variable columnBase + j is column j, j from 1; at least m
  const int32_t *start; // column j holds the elements start[j] .. start[j+1]-1 (j from 1: see oneBased)
  const int32_t *row;   // row of an element, less rowBase
  const double *value;  // no row occurs twice in a column; zeros are harmless
  int32_t rowBase;      // what makes row[k] count from 1: 1 for rows counted from 0, 0 for rows counted from 1
};

// What a factorisation can end with.
enum FactorResult : int32_t {
  FACTOR_GOOD = 0,
  FACTOR_REPAIRED = 2,     // singular; logicals took the place of what had no pivot; the factor is valid for the new basis
  FACTOR_TINY_PIVOT = 7,   // a pivot below pivotZeroTol where no repair was allowed; no valid factor
  FACTOR_NO_PIVOT = 99     // singular where no repair was allowed; no valid factor
};

// What an update can end with.
enum UpdateResult : int32_t {
  UPDATE_GOOD = 0,
  UPDATE_REFACTOR = 2,     // step kept, the factor is updated: factorise right after this step
  UPDATE_FAILED = 3        // the step must be undone; the factor is still that of the basis before it
};

// Kinds of solves. Each keeps a running mean of its result's density, from which the next one of its kind chooses
// between search and sweep.
enum SolveKind : int32_t {
  SOLVE_COLUMN = 0,        // FTRAN of an entering column
  SOLVE_RHS,               // FTRAN of a right-hand side: values, residuals, flips
  SOLVE_TAU,               // FTRAN of a pivotal row, for steepest edge weights
  SOLVE_ROW,               // BTRAN of a unit vector: the pivotal row
  SOLVE_DUALS,             // BTRAN of costs or of a change of costs
  SOLVE_KINDS
};

struct Factor {
  // -- what the caller sets --
  double pivotThreshold;   // u: a pivot is at least u times the largest of its row; 0.1
  double pivotZeroTol;     // absolute zero pivot; relative to the largest of the column where that is below 1; 1e-8
  int32_t maxUpdates;      // updates to leave room for (Imaxfactor); at least 1 is kept; takes effect when factorising

  // -- what the caller reads --
  int32_t m;               // rows of the present factor
  int32_t valid;           // 1: solves are allowed
  int32_t updateCount;     // basis changes since the factorisation
  int32_t etaNumber;       // row etas since the factorisation; an update that needs none raises nothing
  int32_t etaCount;        // elements of R
  int32_t lCount;          // elements of L
  int32_t uCount;          // elements of U, diagonal not counted, kept up to date by updates
  int32_t basisElements;   // elements of the basis as loaded, logicals with one each
  int32_t nucleusRows;     // rows left for the kernel after the triangular stage
  int32_t denseRows;       // rows finished by the dense kernel
  int32_t factorisations;  // count since creation
  int32_t rowCompactions, columnCompactions;  // of the last kernel
  double smallestPivot;    // magnitude, of the last factorisation
  double factorWork;       // operations of the last factorisation, by count: the cost rule's unit
  double solveWork;        // operations of all solves and updates since the factorisation
  double density[SOLVE_KINDS];  // running mean of the result's share of nonzeros, 0..1
  int32_t lastCount;       // nonzeros of the last solve's result
  // repair report of the last factorisation: variable thrownOut[k] left, the logical of row repairedRow[k] came in
  int32_t repairCount;
  int32_t *thrownOut;      // [0..repairCount-1], 0 where the basis given was short of a variable; owned
  int32_t *repairedRow;    // [0..repairCount-1]; owned

  struct FactorArrays *arrays;  // L, R, U and work, drawn in factor_arrays.h; owned
};

// A factor without a basis, with the defaults above. One guarded record; leaves by the fatal return without memory.
Factor *factor_create();
// Releases everything; null is allowed.
void factor_free(Factor *factor);

// Factorises the basis made of basic[0..nBasic-1] (nBasic may differ from m: surplus variables are thrown out, missing
// ones made up by logicals, both only under repair) and gives in basicOfRow[1..m] the variable basic in each row.
// repair 1: first factorisation of a solve; columns without an acceptable pivot leave, the logicals of the rows left
// over come in, and the result is FACTOR_REPAIRED with the report in thrownOut and repairedRow (surplus variables are
// listed with row 0). repair 0: the results 7 and 99 leave basicOfRow as it was. Work of the call lies in blocks
// the factor keeps between factorisations, which grow when needed; m = 0 is allowed.
FactorResult qrtlfct(Factor *factor, const BasisMatrix *matrix, int nBasic, const int32_t *basic, int repair,
                     int32_t *basicOfRow);

// FTRAN: x := B^-1 x. The list of x may be unknown on entry; on return it always holds and values of at most
// TINY_VALUE are gone.
void qrtftrn(Factor *factor, SparseVector *x, SolveKind kind);
// The same for an entering column; the vector between R and U (the spike) is kept for the next qrtetsj. Later plain
// FTRANs do not disturb it.
void qrtftrn_ft(Factor *factor, SparseVector *x);
// Two FTRANs that share the walk of the factor when both are expected dense: x as by qrtftrn_ft, y as by qrtftrn.
void qrtftn2(Factor *factor, SparseVector *x, SparseVector *y, SolveKind kindOfY);
// FTRAN of a plain array value[1..m].
void qrtftrn_dense(Factor *factor, double *value);

// BTRAN: x := B^-T x. As for FTRAN.
void qrtbtrn(Factor *factor, SparseVector *x, SolveKind kind);
// BTRAN of `scale` times the unit vector of `row` into x, which comes in empty. The part of it that an update of this
// row needs is kept, so that a qrtetsj of the same row before any other update saves its own solve.
void qrtbtrn_row(Factor *factor, int row, double scale, SparseVector *x);
// BTRAN of a plain array value[1..m].
void qrtbtrn_dense(Factor *factor, double *value);
// Two BTRANs that share the walk of the factor when both are expected dense: x as by qrtbtrn_row, y as by qrtbtrn.
void qrtbtn2(Factor *factor, int row, double scale, SparseVector *x, SparseVector *y, SolveKind kindOfY);

// Forrest-Tomlin update: the column kept by the last qrtftrn_ft becomes basic in `row`. pivotValue is that column's
// entry of `row` after FTRAN; the new diagonal must agree with it. iterationsSinceFactor decides between the results
// 2 and 3 when it does not. Without a kept column the result is 3. There is always room for one more update: stores
// grow, and it is for the caller to ask for a new factorisation when updates have made solves dear.
UpdateResult qrtetsj(Factor *factor, int row, double pivotValue, int iterationsSinceFactor);

// Copy of a factor with all it holds, for repeated duals; free it by factor_free.
Factor *factor_copy(const Factor *factor);

// First broken invariant as text, or null. Costs O(elements).
const char *factor_check(const Factor *factor);
// Largest element of B x - b for a few vectors x, against the basis itself: for tests and debug builds.
double factor_residual(Factor *factor, const BasisMatrix *matrix, const int32_t *basicOfRow);
