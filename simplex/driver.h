// What the driver's own files offer one another: the steps of a major iteration. The contract with the iteration loops
// is solve_state.h.
//
// A solve is a sequence of major iterations: factorise, recompute and check (qrtchks), decide (qrtchkp), iterate.
// All recovery from numerical trouble happens at this level; the loops only stop and say why.
#pragma once

#include "simplex/solve_state.h"

// Messages of the simplex by their index.
enum : int {
  MSG_OPTIMAL = 1,              // 1..4: the final line, by status 0..3
  MSG_PRIMAL_SUM = 5,
  MSG_DUAL_SUM = 6,
  MSG_STOPPED_ON_ERRORS = 30,
  MSG_BAD_BOUNDS = 66,
  MSG_READMITTED = 96,
  MSG_SCALED_COUNTS_DIFFER = 101,
  MSG_NO_PROGRESS = 109,
  MSG_VALUES_PASS_ENDED = 111,
  MSG_BACKTRACKING = 114,
  MSG_PERTURBED = 115,
  MSG_PERTURBATION_ENDED = 116,
  MSG_REJECTED = 118,
  MSG_NO_FACTOR_STORAGE = 121,
  MSG_LOGICALS_ADDED = 123,
  MSG_PROGRESS_HEADING = 126,
  MSG_NEW_WEIGHT = 130,
  MSG_LARGEST_RESIDUAL = 133,
  MSG_BASIC_DJ = 134,
  MSG_COLUMNS_PROHIBITED = 135,
  MSG_OPTIMAL_PERTURBED = 136,
  MSG_DEVEX_SUCCESS_RATE = 137,
  MSG_DEVEX_ITERATIONS = 138,
  MSG_DEVEX_GROWTH = 139,
  MSG_UNSCALED_VIOLATION = 140,
  MSG_BAD_ARGUMENT = 149,
  MSG_BAD_EXIT_VALUE = 173,
  MSG_PROGRESS_LINE = 185,
  MSG_AUX_CREATED = 328,
  MSG_AUX_OF_OTHER = 329,
  MSG_PRIMAL_CHOSEN = 333,
  MSG_DUAL_CHOSEN = 334,
  MSG_UNBOUNDED_AT = 544
};
// Values of Iloglevel and Istopmask (they name bits by value).
enum : int { LOG_FINAL = 1, LOG_PROGRESS = 2, LOG_REJECTION = 4, LOG_DETAIL = 16 };
enum : int { STOP_AT_DEVEX = 1, STOP_AT_FEASIBLE = 2, STOP_AT_PERTURBED = 8 };

// What qrtchks found.
enum : int {
  CHECK_GOOD = 0,
  CHECK_REFACTOR = 3,         // factorise again
  CHECK_REFACTOR_TIGHT = 33,  // accuracy lost: factorise again with the tight pivot threshold
  CHECK_NEW_BASIS = 5,        // basics were thrown out: factorise as the first time, with repair
  CHECK_UNUSABLE = 4          // the factor gives no numbers to go on with
};
// What qrtchkp decided.
enum : int {
  DECIDE_GO_ON = 0,        // iterate, or leave when Iprobstat is set
  DECIDE_RECHECK = 1,      // check again without factorising
  DECIDE_BACKTRACK = 2,
  DECIDE_PERTURB = 3,
  DECIDE_LEAVE = 4,
  DECIDE_READMIT = 5,
  DECIDE_REFACTOR = 6
};
// Return codes of the core.
enum : int { SOLVE_NO_STORAGE = 11, SOLVE_FAILED = 32 };

// ---- seam between the model and the solve (solution_seam.cpp)
// Arrays of a solve from the model below (qrtaddr); blocks, rims and status words in the caller's form.
// scaleInside 1 allows factors: the owner's of a scaled model, else the solver's own; 0 loads in the caller's units.
void loadProblem(SimplexWork *w, int scaleInside);
// Values, duals, reduced costs and status words back to the model, in the caller's form (qrtplsh). The last step
// recomputed must be the final one.
void qrtplsh(SimplexWork *w);
// Largest bound violation of a basic variable, and largest reduced cost of the wrong sign, in the caller's units.
double largestOutsideViolation(const SimplexWork *w);
double largestOutsideDual(const SimplexWork *w);
// The former with the variable that has it and the number of variables beyond Rtolpinf.
double outsideViolation(const SimplexWork *w, int *which, int *count);
// Name of variable k as the caller knows it, at most 128 characters, not terminated; returns its length.
int variableName(const SimplexWork *w, int k, char name[128]);
// Number of variable k as messages show it: row i as i, column j as Inumrows + j.
inline int variableNumber(const SimplexWork *, int k) { return k; }
// After status 1 the infeasibility multipliers, after 2 the ray, to the model's aux vector (qrtinfs).
void qrtinfs(SimplexWork *w);

// ---- the last look at an optimum (last_check.cpp)
// What speaks against it: a nonbasic that would gain, or a basic outside its bounds, by more than 10 times the caller's
// tolerances, in the caller's units, by true costs and bounds. The last step recomputed must be the final one.
enum : int { DOUBT_NONE = 0, DOUBT_COSTS = 1, DOUBT_BOUNDS = 2 };
int doubtOfOptimum(const SimplexWork *w);

// ---- classification (classify.cpp)
// Crossed bounds are reported and end the call; values beyond 1e20 come back (qrtclbs).
void qrtclbs(SimplexWork *w);
// Brings every nonbasic inside its bounds and, unless values are to be kept, onto one; sets its state.
void tidyNonbasics(SimplexWork *w, int cleaning);

// ---- start of a values pass (start_values.cpp)
// Keeps the values of basics as handed in, before they are recomputed.
void rememberGivenValues(SimplexWork *w);
// After the recomputation: structurals whose values it ruined lose their place in the basis (flag only) and all values
// are again those given. Returns their number; 0: the start is good.
int throwOutBadStarts(SimplexWork *w);

// ---- one major iteration
// Factorises the basis in list[1..m]; the first of a solve repairs a singular one. Returns 0, 1 for an unusable
// basis.
int factorise(SimplexWork *w);
int qrtchks(SimplexWork *w);                 // CHECK_*
int qrtchkp(SimplexWork *w, int continued);  // DECIDE_*
void qrtchke(SimplexWork *w);
// Returns 0, 1 when there is nothing to undo and the run must end.
int qrtbackup(SimplexWork *w);
void qrtuflg(SimplexWork *w);                // re-admits rejected variables
void qrtchgw(SimplexWork *w);                // composite weight
void qrtprtb(SimplexWork *w);                // perturbation into force
void applyShifts(SimplexWork *w);              // bounds widened by shift, nonbasics with them
void removePerturbation(SimplexWork *w);     // true bounds, values back on them
void choosePricing(SimplexWork *w);          // strategy before a primal pass

// Counts dual infeasible nonbasics into Inumdinf, Rsumdinf (qrtchdf).
void qrtchdf(SimplexWork *w);
// Robjvalue from all values.
void recomputeObjective(SimplexWork *w);

// ---- what a continuing run takes over (aux_region.cpp)
// At the start, after the bounds are loaded: with init 0 the pricing mode and a perturbation of the last run. True when one is in
// force; message 329 when it is the other algorithm's.
bool takeOver(SimplexWork *w);
// At the end, before true bounds and costs return. May jump.
void keepForNext(SimplexWork *w);
void dropAux(QRTModel *model);

// ---- report (report.cpp)
// The final lines by Iprobstat.
void finalReport(const SimplexWork *w);

// The core: algorithm 0 the driver chooses, 1 primal; init 0..3. Returns Iprobstat or SOLVE_*.
int qrtsslvf(QRTModel *model, int algorithm, int init, int keep, int coreMode);
