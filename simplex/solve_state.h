// The records of one simplex solve and the contract between its driver and its iteration loops.
//
// The problem inside. Rows and columns form one compact index space of `total` = m + n variables, counted from 1:
//
//     A x + s = 0,   lower <= (s, x) <= upper,   minimise cost'(s, x)
//
//     k = 1 .. m          the logical of row k: column e_k, value s_k = -(activity of row k), bounds swapped and negated
//     k = m+1 .. m+n      the structural column k - m
//
// cost is Rmaxmin times the model's objective, so the inside always minimises. The caller's view (activities, capacity
// Imaxrows between rows and columns, duals, status words) is made once, in solution_seam.cpp, and nowhere else.
//
// With B the basis matrix, y solves B'y = cost_B and dj_k = cost_k - y'a_k: a variable that can increase is attractive
// when dj < -tolerance, one that can decrease when dj > tolerance.
#pragma once

#include "frame/records.h"
#include "simplex/factor.h"

struct PrimalWork;    // the primal loop's own work, simplex/primal.h
struct DualWork;      // the dual loop's own work, simplex/dual.h
struct ExoticRecord;  // parameters for experts, simplex/exotic.h
struct SimplexWork;

// Bits of SimplexWork::flags. With bits 30 and 29 as a two-bit state: 0 cannot move (fixed or rejected), 1 can increase,
// 2 can decrease, 3 free or strictly between its bounds.
enum : uint32_t {
  VAR_BASIC = 0x80000000u,
  VAR_DOWN = 0x40000000u,        // nonbasic: above its lower bound by more than Rtolpinf; basic: above its upper bound
  VAR_UP = 0x20000000u,          // nonbasic: below its upper bound by more than Rtolpinf; basic: below its lower bound
  VAR_STATE = 0x60000000u,
  VAR_REFERENCE = 0x10000000u,   // in the Devex reference framework
  VAR_REJECTED = 0x04000000u     // barred from entering; such a nonbasic also has state 0
};
constexpr int VAR_STATE_SHIFT = 29;
inline int variableState(uint32_t flags) { return int((flags & VAR_STATE) >> VAR_STATE_SHIFT); }

// Bits of SimplexWork::basicStatus, beside VAR_REFERENCE.
enum : uint32_t {
  ROW_FIXED = 0x80000000u,       // upper - lower at most 1e-12
  ROW_ABOVE = 0x40000000u,       // value above upper by more than Rtolpinf
  ROW_BELOW = 0x20000000u,       // value below lower by more than Rtolpinf
  ROW_MARK_ABOVE = 0x04000000u,  // marks of the ratio test
  ROW_MARK_BELOW = 0x02000000u
};

enum : int { ALGORITHM_UNDECIDED = 0, ALGORITHM_PRIMAL = 1, ALGORITHM_DUAL = 2 };

enum : int {
  PRICE_FULL = 1,      // Devex or steepest edge over everything
  PRICE_RANDOM = 2,    // random partial
  PRICE_VALUES = 3,    // values pass: push nonbasics that stand between their bounds
  PRICE_LISTED = 4,    // re-price what a singular factorisation threw out
  PRICE_BLOCKS = 5     // fast partial
};

// Why a loop came back to the driver.
enum : int {
  PASS_FIRST_NO_COLUMN = 1,  // first pass of a solve, nothing was chosen
  PASS_NO_COLUMN = 2,        // later pass, nothing was chosen
  PASS_COLUMN_CHOSEN = 3,    // at least one column was chosen; ordinary end
  PASS_REFACTOR = 4          // a new factorisation is wanted
};

enum : int { AUX_NONE = -1, AUX_PERTURBATION = 1, AUX_TRUE_COSTS = 2, AUX_INFEASIBILITY = 3, AUX_RAY = 4 };

// Counters of one solve that the checkpoint, the recovery and the loops share.
struct SolveState {
  int32_t degenerateCount;   // degenerate steps since degenerateBase (raised by the loop: step counted as zero)
  int32_t degenerateBase;    // iteration at which that counting began
  int32_t perturbRounds;     // perturbed problems solved and cleaned in this solve
  int32_t weightFlag;        // set by a loop: qrtchgw should lower the weight faster
  int32_t rejectRounds;      // times rejected variables were re-admitted after an optimum
  int32_t stallCount;        // recomputations in a row that failed the merit test with nothing to undo
  int32_t logLineCount;      // lines of the progress table since its heading
  int32_t checkCount;        // -1 before the first check, then checks made
};

// One iteration, as backtracking needs it. entry[t] is iteration factorIter + t + 1; the history is emptied when a loop
// starts, so that the factorisation and check after a pass can still undo it.
struct HistoryEntry {
  int32_t enterVar;          // 0: none
  int32_t leaveVar;          // 0: a bound flip of enterVar
  int32_t row;               // row position exchanged at that time, 0 for a flip
  uint32_t enterFlags;       // flags of enterVar before the iteration
  uint32_t leaveFlags;       // flags of leaveVar before it
  double enterValue;         // value of enterVar before it
  double leaveValue;         // value of leaveVar before it
  double weight;             // Rpweight or Rdweight in force
  double bestObjective;
};

// The workspace of one solve. Owned by qrtsslvf; every array hangs on the model's temporary chain and dies with the
// call. Arrays written [1..x] have an unused entry 0.
struct SimplexWork {
  QRTModel *model;
  int m, n, total;
  SolveState state;

  // ---- matrix: merged, without zeros or duplicates; fixed for the whole solve
  const int *colStart;       // [1..n+1] positions of structural j = k - m in colRow and colValue
  const int *colRow;         // rows 1..m
  const double *colValue;
  const int *rowStart;       // [1..m+1] the same by rows, structurals only
  const int *rowVar;         // variable numbers m+1..m+n
  const double *rowValue;
  const int *unitRow;        // [1..m] the numbers 1..m: the rows of logical columns
  int matrixElements;

  // ---- variables [1..total]
  double *lower, *upper;     // working bounds, |bound| >= 1e20 means none; shifted while primalPerturbation is set
  double *value;             // nonbasic: true at all times; basic: stale inside a loop, see basicValue
  double *cost;              // minimised
  uint32_t *flags;           // VAR_*
  double *dj;                // nonbasic: reduced cost of the objective pricing looks at; basic: 0
  double *weight;            // reference weight

  // ---- order of the variables
  // list[1..m] basic variables by row position; then the free and in-between ones up to partEndFree, those that can
  // decrease up to partEndUpper, those that can increase up to partEndLower, then those that cannot move up to total.
  int *list;                 // [1..total]
  int *where;                // [1..total] position in list; for a basic variable that is its row position
  int partEndFree, partEndUpper, partEndLower;
  int runsChanged;           // 1: variables joined or left those that cannot move, so a row copy parted by them is stale

  // ---- basic variables by row position [0..m]; entry 0 is the entering variable
  double *basicLower, *basicValue, *basicUpper;
  uint32_t *basicStatus;     // ROW_* and VAR_REFERENCE
  double *excess;            // what row i adds to Rsumpinf, as last counted by qrtchpf
  double *tauVector;         // [0..m] steepest edge: second vector

  // ---- factor
  Factor *factor;
  int factorIter;            // Iiternum at the last factorisation
  int updateCount;           // basis changes since then
  int updateLimit10;         // ten times the updates allowed
  int etaLimit;              // eta elements allowed
  double factorWork, ftranWork, totalWork, leastCost;  // refactorisation rule
  double pivotThreshold;     // 0.1; 0.9 in numerical trouble
  double pivotZeroTol;       // 1e-8

  // ---- where the solve stands
  int algorithm;             // ALGORITHM_*
  int priceMode;             // PRICE_*
  int passNumber;            // loops run in this solve; 0 in the first
  int priceBase, priceRefresh;  // weights are reset when Iiternum reaches priceBase + priceRefresh
  int accuracyLevel;         // 0 normal, 1 and 2 tightened
  int feasibleCount;         // arrivals at feasibility
  int phaseStartIter;        // Iiternum at the start of the phase
  int rejectedCount, rejectIter;
  int weightChangeIter;      // Iiternum of the last change of the composite weight
  double bestObjective;      // reference of the merit test
  double meritPrimal, meritDual;  // objective (minimised) + infeasibility / weight
  double primalPerturbation; // not 0 while bounds are shifted; also the seed of their random numbers
  double dualPerturbation;   // above Rtoldinf while costs are shifted
  int perturbDone;           // bit 1 primal, bit 2 dual
  int costsSwapped;          // 2 while shifted costs stand in cost
  double minimumWeight;      // 1e-31
  double switchFactor;       // default 1.0: scales the tests that leave partial pricing
  int rowPricing;            // 1: row copy may be used for pricing

  // ---- pricing
  int djState;               // 5 recompute, 1 updatable with the last pivot row, 8 clean
  int djRefresh;             // 999: do not trust stored reduced costs
  double djTolerance;        // reduced-cost tolerance handed to pricing while infeasible
  double djTest;             // relative tolerance of the entering column's check, 1e-6
  int partialSize;           // low ten bits: chunks of fast partial pricing; after a pass: mean pivot column length
  double btranMean;          // mean length of pivot rows' BTRAN in the last pass
  double enterGamma, referenceError, weightFloor;
  int resetWanted;
  int pivotColumnLength;
  int boundInfeasible;       // nonbasics outside their bounds: 0, the driver moves them to a bound

  // ---- the last step
  int enterVar, leaveVar;    // leaveVar 0: bound flip
  int leaveRow;
  int enterDir;              // +1 increases, -1 decreases
  double enterDj, enterWeight, pivotValue, stepLength;
  int leaveState;            // 0 left to its lower bound, 2 to its upper bound

  // ---- history since factorIter
  HistoryEntry *history;     // [historyCapacity]
  int historyCount, historyCapacity;

  PrimalWork *primal;        // null at the start of a solve; made by the first pass on the temporary chain
  DualWork *dual;            // likewise, by the first dual check

  // ---- truth behind the working vectors
  double *trueLower, *trueUpper;  // [1..total] bounds without perturbation
  double *objective;         // [1..total] the model's objective, unsigned: Robjvalue = objective'value - offset
  double *varScale;          // [1..total] caller's value = value * varScale, powers of two; all 1 without scaling
  double *shift;             // [1..total] while perturbed: bounds were widened by this on both sides
  double *y;                 // [1..m] row multipliers of the last recomputation

  // ---- what is kept between solves (kept_solve.h)
  int matrixForm;            // MatrixForm of the matrix above
  int ownsArena;             // 1: work memory comes from the shared block
  int iterated;              // 1: a loop has run
  int acceptedUpdates;       // updates the factor carries that a check has borne out; more of them make it stale
  int valuesChecked;         // 1: nothing has moved since the last check
  int costsTaken;            // 1: cost holds the shifts of the run before, and the dual does not know it yet
  int nothingLeft;           // 1: the loop left because it found no candidate, at a factor with updates

  const ExoticRecord *exotic;  // null: none set
  int perturbedByRequest;    // 1: the perturbation it names has been done

  // ---- the driver's own
  SparseVector rhs, multipliers;  // work, empty between uses
  int *basisCopy;                 // [0..m-1] the basis while a factorisation orders it anew
  int coreMode;              // -2, -1 accept a pass without infeasibilities; 0 normal
  int init;                  // 0 continue, 1 full pricing, 2 random partial, 3 values pass
  int cleaning;              // 0 keep values, 1 tidy nonbasics, 2 put every one on a bound
  int dualValues;            // 1 until a values pass of the dual is over
  int startValues;           // 1 until the first check of a values pass has looked at the values given
  int finalMode;             // 1 during the last recomputation: no trouble handling
  int scaled;                // 0 varScale is all 1; 1 factors of the solver; 2 the matrix is scaled by its owner
  int troubleIter;           // iteration at which pivotThreshold was raised
  int forcedPerturbation;    // a negative control asked for a perturbation, not yet applied
  int addedLogicals;         // brought in by repairs, not yet told
  double entryRtolpinf, entryRtoldinf, entryThreshold, entryPweight, entryDweight;
  int entryImaxiter, entryIfastits, entryIdevexmode;
  double baseDualTolerance;  // max(Rtoldinf on entry, 1e-7)
  double largestResidual, largestBasicDj;
  // checkpoint
  double stallBest;          // best merit seen
  double bestAtRemoval;
  int noGainCount, noGainIter;
  double lastWeight;
  int stallPasses, lastPassIter;
  // ---- watch for passes that go round in a circle (circling)
  int circleWeight;          // passes of few iterations since anything below reached a new extreme, short ones heavier
  double leastPrimalSum, leastDualSum, leastCostSeen, mostCostSeen;
  int doubtCount;            // statuses of the loop that the recomputation did not bear out
  int wasInfeasible;         // Inumpinf was positive at the last check
  // composite weight: what qrtchgw remembers (composite_weight.cpp)
  struct WeightMemory {
    double expectedIterations;    // R
    double expectedFall;          // ddrop
    double lowestSum, startSum;   // smin, the sum at the first check
    double firstWeight;           // w0
    int startIter, changes;
    int count, iteration[11];
    double sum[11];
  } weightMemory;
  // pricing strategy
  int settledMode;                // Idevexmode of the last pass, 0 before the first
  // refactorisation limits
  int firstStructurals;           // structural basics at the first call
  double biggestFactor;           // largest L plus eta length in the phase
};

// ---- what the driver offers to the loops --------------------------------------------------------------------------

// Rebuilds the nonbasic part of list, where and the run ends from the flags; list[1..m] stands (qrtrsrt).
void qrtrsrt(SimplexWork *w);
// The same when only the order of the basics in list[1..m] has changed.
void list_basicsReordered(SimplexWork *w);
// Gives nonbasic k the state 0..3 and moves it to the run of that state; constant time.
void list_setState(SimplexWork *w, int k, int state);
// Exchanges: nonbasic `enter` becomes basic at row position `row`; the variable there becomes nonbasic with `state`.
void list_pivot(SimplexWork *w, int row, int enter, int state);
// State a nonbasic k has by its value and bounds, with tolerance Rtolpinf; 0 for a fixed one.
int stateOfValue(const SimplexWork *w, int k);
// First broken invariant of list, where, flags and run ends, or null.
const char *solveState_check(const SimplexWork *w);

// Counts infeasible basics into Inumpinf and Rsumpinf (excess beyond Rtolpinf) and sets ROW_ABOVE, ROW_BELOW for all
// rows (qrtchpf).
void qrtchpf(SimplexWork *w);
// meritPrimal, meritDual from Robjvalue, Rsumpinf, Rsumdinf and the weights (qrtobjv).
void qrtobjv(SimplexWork *w);
// y := multipliers of costWeight * cost + infeasibilityWeight * (+1 above, -1 below), dj of all nonbasics from it; a
// basic's dj is 0. y [1..m] may be null. One BTRAN and one pass over the matrix (qrtfrmc, qrtfrmd).
void computeReducedCosts(SimplexWork *w, double costWeight, double infeasibilityWeight, double *y, double *dj);
// Column of variable k: entries to `row` and `value`, returns their number (at most m).
int variableColumn(const SimplexWork *w, int k, const int **row, const double **value);

// y' a_k for a vector over the rows.
inline double columnTimes(const SimplexWork *w, int k, const double *y) {
  if (k <= w->m) return y[k];
  double sum = 0.0;
  const int j = k - w->m;
  for (int e = w->colStart[j]; e < w->colStart[j + 1]; e++) sum += w->colValue[e] * y[w->colRow[e]];
  return sum;
}

// Copies flags of row i's variable, bounds and value into entry i of the basic vectors.
void basicsFromRims(SimplexWork *w);
// The reverse for the values.
void basicsToRims(SimplexWork *w);

// Records the iteration that is about to be made, from enterVar, leaveRow (0: flip), flags and values as they are
// BEFORE it. Grows the history when needed.
void history_append(SimplexWork *w);
// Counts one iteration into the refactorisation rule; etaLength is the room the update took. True: factorise now.
bool refactorisationWanted(SimplexWork *w, int etaLength);
// A variable that cannot be used now: state 0, VAR_REJECTED, message 118; the driver re-admits it (qrtrjct).
void qrtrjct(SimplexWork *w, int k);
// Undoes `count` iterations, 0: a third of those since the factorisation (qrtbckt). Afterwards the basis differs from
// the factor: the loop must leave with PASS_REFACTOR.
void qrtbckt(SimplexWork *w, int count);
// The user's iteration exit (qrtitrx): called when Iiternum is a multiple of Iiterufreq. Code 1 in iterations, 3 before
// a primal pass, 4 before a dual pass. Sets Iprobstat; returns the value the exit gave (99: end this pass).
int qrtitrx(SimplexWork *w, int code);
// New composite weight (qrtnwwt): below 1e-19 becomes 1e-30; djState 5; with apply also Rpweight, merit and
// bestObjective; message 130 on demand.
void qrtnwwt(SimplexWork *w, double weight, int apply);
// Next uniform number of the shared generator, in (0,1).
double nextRandom();
// One progress line (message 185), heading every 20th.
void progressLine(SimplexWork *w);

// ---- what a loop offers to the driver -----------------------------------------------------------------------------

// The primal loop. On entry the basis is freshly factorised, values recomputed, basic vectors filled, Inumpinf,
// Rsumpinf, Robjvalue, merits right. It iterates until it wants a factorisation, has no candidate, or Iprobstat is set:
//   0 / 1 no candidate at a fresh factorisation, feasible / infeasible;  2 unbounded at a fresh factorisation, with
//   enterVar and enterDir the ray;  3 iteration limit or user;  -1 otherwise.
// On return nonbasic values, flags, list, history, Iiternum, Inumpinf, Rsumpinf, Robjvalue are those of the basis in
// list; work vectors of the factor are zero. Returns PASS_*.
int qrtsprm(SimplexWork *w);
