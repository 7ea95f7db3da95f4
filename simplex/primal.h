// The primal loop's own work and the contracts between its parts, in the order of an iteration.
//
// In one iteration, with g the gradient of what is minimised (see below) and B the basis before the exchange:
//
//     q        entering variable, chosen by |dj| / weight                              primal_pricing, primal_scans
//     alpha    B^-1 a_q                                                                primal_check
//     r, step  leaving row and length, x_B := x_B - enterDir * step * alpha            primal_ratio, primal_step
//     rho      row r of B^-1
//     pivotRow rho' a_j over the nonbasic j; dj and weight follow from it              primal_weights
//
// What is minimised: while some basic variable lies outside its bounds,
//     Rpweight * cost'x + sum of infeasibilities,   g_i = Rpweight * cost_i + (+1 above upper, -1 below lower);
// once all are feasible, cost'x alone. There is no separate first phase. When a step moves a row across a bound, g
// changes in that row only, and the reduced costs follow by one more sparse solve with the change.
//
// Everything here works in the numbering of solve_state.h. Vectors are empty (all zero) between iterations.
#pragma once

#include "simplex/factor.h"
#include "simplex/solve_state.h"

struct PrimalWork {
  // ---- vectors of one iteration, over rows
  SparseVector alpha;       // entering column
  SparseVector rho;         // pivotal row of the inverse
  SparseVector change;      // change of g by rows of infeasible variables, then its BTRAN
  SparseVector tau;         // steepest edge: alpha within the reference framework, then its BTRAN
  // ---- over variables
  SparseVector pivotRow;    // [1..total] rho' a_j for nonbasic j; LIST_UNKNOWN when formed without a list
  double *pairs;            // [2(m+1)] rho and tau side by side, for columns that need both
  double *tauRow;           // [1..total] tau' a_j, formed only when most columns need it
  double *basicCost;        // [0..m] cost of the variable basic in row i
  double *costPart;         // [1..total] cost part of the reduced costs, when a weight is worked out

  // ---- attractive nonbasics, exactly those, with their scores side by side: the choice is one sweep over `score`
  int *candidate;           // [total] variables at 0..candidateCount-1
  double *score;            // [total] score of candidate[slot] by its reduced cost, weight and state
  int *candidatePlace;      // [1..total] place in `candidate` plus 1, 0: not listed
  int candidateCount;
  int scoreMode;            // SCORE_* the scores were made with
  double scoreTolerance;    // and the tolerance

  // ---- the matrix by rows with the nonbasic columns first in each row
  int *rowEnd;              // [1..m] row i's nonbasic columns stand at rowStart[i] .. rowEnd[i]-1
  int *rowVar;              // permuted copy of SimplexWork::rowVar
  double *rowValue;         // and of rowValue
  int rowsArePartitioned;   // 1: kept up by exchanges since the start of the pass

  // ---- ratio test
  struct Breakpoint *window;  // [m+1]
  int *changedRow;            // [m+1] rows whose bits 30, 29 changed in the step
  int changedCount;
  double *savedValue;         // [m+1] basic values before the step, in the order of alpha's list
  uint32_t *savedStatus;      // [m+1] and states
  double enterCostPart, enterInfeasiblePart;  // the two parts of the entering variable's reduced cost
  int weightKind;             // SCORE_DEVEX or SCORE_STEEPEST: what the weights are; 0 before the first framework
  int weightsTaken;           // 1: the first pass of the solve has looked for kept weights
  int weightsCarried;         // 1: they have been kept up by every exchange since their framework began
  int leavesReference;        // 1: the leaving variable is in the reference framework

  // ---- partial pricing
  int blockVar;             // where the next block starts
  int randomFailures;       // refused candidates of random pricing since the factorisation
  double failureWeight;     // weight of one failure in the success rate
  int valuesPlace;          // last variable the values pass looked at
  int listedPlace;          // next of the thrown-out variables
  int attractiveCount;      // attractive variables in the last full pricing

  // ---- memory of one solve
  int unboundedVar;         // 0; a variable found unbounded on the last pass; -1 right after the weight was dropped for it
  double savedWeight;       // Rpweight before that drop
  double infeasibilityMark; // Rsumpinf may not pass this without a lower weight
  double columnLengthSum;   // of alpha lengths in the pass
  double rowLengthSum;      // of rho lengths
  int rowCount;
};

// One row the ratio test may meet. Its next break lies `dist` ahead in its own direction of movement.
struct Breakpoint {
  int row;
  int infeasible;   // 1: the row is outside its bounds now and becomes feasible at the next break
  double size;      // |alpha|
  double dist;      // from the present value to the break; may be slightly negative
  double range;     // upper - lower, for the break after that
  double ratio;     // dist / size
};

// What the ratio test answers.
enum RatioResult : int {
  RATIO_ROW = 0,          // a row limits the step
  RATIO_NONE = 1,         // nothing limits it
  RATIO_SMALL_PIVOT = 2,  // only pivots too small to be trusted
  RATIO_FLIP = 3          // the entering variable reaches its own other bound first
};
struct RatioChoice {
  int row;                // 0 for a flip
  double step;            // not negative but for rounding
  double pivot;           // alpha of the row, with its sign
  int leavesAtUpper;      // 1: the leaving variable stops at its upper bound
  double meanSlope;       // mean rate of change of the merit over the step
  int passedBreaks;       // 1: the step goes on beyond the first break
};

// Answers of the entering column's check.
enum ColumnCheck : int {
  COLUMN_GOOD = 0,
  COLUMN_STALE = 1,        // the stored reduced cost was wrong: price anew
  COLUMN_REFACTOR = 2,     // wrong right after a factorisation
  COLUMN_NOT_ATTRACTIVE = 3  // it cannot move, or the true reduced cost has the other sign
};

// How a column was found: from reduced costs that all hold, or from some that may be out of date.
enum : int { FOUND_FULL = 1, FOUND_PARTIAL = 3 };

inline bool primalInfeasible() { return qrtlplp.Inumpinf > 0; }
// Factor of the cost part in what is minimised now.
inline double costWeightNow() { return primalInfeasible() ? qrtlplp.Rpweight : 1.0; }
inline double infeasibilityWeightNow() { return primalInfeasible() ? 1.0 : 0.0; }
inline int referenceMode() { return (qrtlplp.Idevexmode < 0 ? -qrtlplp.Idevexmode : qrtlplp.Idevexmode) & 7; }
inline bool steepestEdge() { return referenceMode() >= 2; }
inline double infinityRange(double lower, double upper) {
  return lower <= -QRT_INFINITE_TEST || upper >= QRT_INFINITE_TEST ? QRT_INFINITY : upper - lower;
}
// Is a reduced cost attractive for a variable in this two-bit state?
inline bool attractive(uint32_t flags, double dj, double tolerance) {
  return ((flags & VAR_UP) && dj < -tolerance) || ((flags & VAR_DOWN) && dj > tolerance);
}

// ---- primal_scans.cpp: the list of attractive variables and the ways of walking it
double pricingTolerance(const SimplexWork *w);
enum : int { SCORE_SIZE = 0, SCORE_DEVEX = 1, SCORE_STEEPEST = 2 };  // |dj|; |dj| / weight; dj^2 / weight
// A free variable counts this much more than a bounded one: once basic it never leaves again.
constexpr double FREE_PREFERENCE = 5.0;
// Lists every attractive nonbasic with its score; sets Inumdinf to their number (qrtprc0).
void candidates_rebuild(SimplexWork *w);
void candidate_drop(PrimalWork *p, int k);
// Whatever changed a variable's reduced cost, weight or state says so here; MODE is p->scoreMode.
template <int MODE> inline void candidate_note(SimplexWork *w, PrimalWork *p, int k) {
  const double d = w->dj[k];
  const uint32_t flags = w->flags[k];
  if (!attractive(flags, d, p->scoreTolerance) || (flags & VAR_BASIC)) {
    if (p->candidatePlace[k]) candidate_drop(p, k);
    return;
  }
  double size = d < 0.0 ? -d : d;
  if (MODE == SCORE_DEVEX) size /= w->weight[k];
  if (MODE == SCORE_STEEPEST) size *= size / w->weight[k];
  if ((flags & VAR_STATE) == VAR_STATE) size *= FREE_PREFERENCE;
  int place = p->candidatePlace[k];
  if (!place) {
    p->candidate[p->candidateCount++] = k;
    p->candidatePlace[k] = place = p->candidateCount;
  }
  p->score[place - 1] = size;
}
void candidate_changed(SimplexWork *w, int k);  // the same by the mode in force
// Best of the list, 0 when it is empty (qrtprc1, qrtprc5, qrtprc6).
int candidates_best(const SimplexWork *w);
// Next variable of a values pass (qrtprc3), random partial choice (qrtprc2), next attractive of those a repair threw
// out (qrtprc4); 0 when there is none.
int scan_values(SimplexWork *w);
int scan_random(SimplexWork *w);
int scan_listed(SimplexWork *w);
const char *candidates_check(const SimplexWork *w);

// ---- primal_partial.cpp: pricing of some columns only, from row multipliers (mode 5)
int scan_blocks(SimplexWork *w);

// ---- primal_pricing.cpp: the choice of the entering variable (qrtccol)
// Sets enterVar, enterDj, enterWeight; returns FOUND_FULL, FOUND_PARTIAL, or 0 when there is no column.
int qrtccol(SimplexWork *w);

// ---- primal_weights.cpp
// Partition of the row copy by basic and nonbasic, and its upkeep by one exchange.
void rows_partition(SimplexWork *w);
void rows_exchange(SimplexWork *w, int entering, int leaving);
// pivotRow := rho' a_j over nonbasic structurals and logicals (qrtbyrow2).
void pivotRow_form(SimplexWork *w, const SparseVector *rho);
// dj and weight after the exchange of enterVar and leaveRow, from rho (row leaveRow of the old inverse) and the
// change of g; lists what became attractive (qrtupdev, qrtupdev2). djWanted 0: only weights, dj will be recomputed.
void weights_update(SimplexWork *w, int djWanted);
// Reduced costs after a change of g alone; `change` becomes its BTRAN.
void change_apply(SimplexWork *w);
// New reference framework: the present nonbasics (qrtrctf).
void qrtrctf(SimplexWork *w);
const char *rows_check(const SimplexWork *w);

// ---- primal_check.cpp
// alpha of enterVar by FTRAN, true reduced cost in enterDj, enterGamma, enterDir.
ColumnCheck qrtchdj(SimplexWork *w, int found);

// ---- primal_ratio.cpp (qrtczrp, qrtwinw): from basic vectors, alpha, enterDir, enterDj and `range`, the distance to
// the entering variable's bound ahead, 1e20 for none.
RatioResult qrtczrp(SimplexWork *w, double range, RatioChoice *choice);

// ---- primal_exit.cpp: the user's exit may replace the leaving row; what it answers is checked, bad answers are told
RatioResult qrtczru(SimplexWork *w, RatioResult found, RatioChoice *choice);

// ---- primal_step.cpp (qrtupsp)
enum StepResult : int { STEP_GOOD = 0, STEP_UNDONE = 1, STEP_FLOODED = 3 };
// Moves the basic values along alpha by `step` times enterDir, brings counts, sums, objective and merit up to date and
// lists the rows whose infeasibility state changed with the change of g. Undone and flooded steps leave no trace.
StepResult qrtupsp(SimplexWork *w, double step, int leavingRow, int leavingFixed);
// Exchanges enterVar and the variable of leaveRow in list, basic vectors and flags; returns the variable that left.
int exchange(SimplexWork *w, int leavesAtUpper);
// The entering variable has moved to its other bound.
void flip(SimplexWork *w);

// ---- primal_composite.cpp
// Least weight at which some nonbasic turns attractive, 0 when none does (qrtbthd).
double qrtbthd(SimplexWork *w);
// Lowers Rpweight to where enough attractive columns stay (qrtadjw); 1 when it changed.
int qrtadjw(SimplexWork *w);

// ---- primal_loop.cpp
// Work memory of a solve, zeroed, on the temporary chain; the dual's comes from here, too.
void *workZeroed(SimplexWork *w, int64_t count, size_t size);
double *workDoubles(SimplexWork *w, int64_t count);
int *workIntegers(SimplexWork *w, int64_t count);
void workVector_make(SimplexWork *w, SparseVector *v, int size);
// Between iterations: vectors empty, candidates and rows as they should be. First broken invariant, or null.
const char *primal_check(const SimplexWork *w);
PrimalWork *primalWork(SimplexWork *w);
