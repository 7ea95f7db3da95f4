// The dual loop's own work and the contracts between its parts, in the order of an iteration.
//
// The basis is kept dual feasible (dj_j >= 0 at a lower bound, <= 0 at an upper bound) while basic variables outside
// their bounds are driven out, one row at a time:
//
//     r        row of the largest infeasibility^2 / weight                              dual_row_choice
//     rho      row r of B^-1;  pivotRow = rho' a_j over the nonbasic j                  dual_loop
//     q, theta entering variable: the step along which reduced costs keep their signs   dual_ratio
//     flips    boxed variables whose reduced costs change sign go to their other bound  dual_ratio, dual_step
//     alpha    B^-1 a_q;  tau = B^-1 rho, for the weights                               dual_step
//
//     dj_j := dj_j - theta * alpha_rj,   theta = dj_q / alpha_rq
//     x_B  := x_B - step * alpha,        step = (x_r - bound) / alpha_rq
//     weight_i := weight_i - 2 (alpha_i/alpha_r) tau_i + (alpha_i/alpha_r)^2 |rho|^2    dual steepest edge
//
// weight_i is |row i of B^-1|^2 (Forrest and Goldfarb 1992). A wrong sign within rounding is mended by a shift of that
// variable's cost, so no step ever goes backwards; the true costs return at the end (dual_costs.cpp).
//
// A start that is not dual feasible, and cannot be made so by moving boxed variables to their other bound, goes through
// a first phase: the same loop on the same matrix with artificial bounds (Koberstein and Suhl 2007; see dual_phase.cpp).
#pragma once

#include "simplex/primal.h"

// A nonbasic variable whose reduced cost the step may bring to zero.
struct DualBreak {
  int var;
  double size;    // |alpha_rj|
  double dist;    // |dj| on the allowed side, negative when it is on the wrong one by rounding, 0 for a free variable
};

struct DualWork {
  SparseVector alpha;      // entering column
  SparseVector rho;        // row of the inverse
  SparseVector tau;        // B^-1 rho
  SparseVector moved;      // sum of the columns of flipped variables times their moves, then its FTRAN
  double *rowWeight;       // [1..m] steepest edge weights by row position
  double *misfit;          // [1..m] squared infeasibility of row i, 0 when it is inside its bounds
  int *row;                // [m] rows that may be infeasible: a superset, at 0..rowCount-1
  int *rowPlace;           // [1..m] place in `row` plus 1, 0 not listed
  int rowCount;
  DualBreak *breaks;       // [total + 1] of the ratio test
  int *flips;              // [total + 1] variables to go to their other bound
  int flipCount;
  int *groupEnd;           // [total + 2] ends of the groups of breaks met at about the same step
  double rhoNorm;          // |rho|^2 of the chosen row
  int costsShifted;        // 1: cost differs from the true costs
  int spread;              // 1: dualSpread has run in this solve
  int phase;               // 1 artificial bounds, 2 the bounds in force
  int phaseOneRuns;        // first phases of this solve
  int reachedFeasible;     // 1: the true bounds have seen a dual feasible basis; what gets lost is mended by shifts
  int rowLengthCount;      // pivotal rows of the pass, and their total length
  double rowLengthSum;
  int djAge;               // checks since the reduced costs were last made from the multipliers
  int flipChecks;          // checks in a row that found boxed variables on the wrong side
  double djDrift;          // largest relative error seen in the pass of a reduced cost carried from step to step
  int cutOff;              // 1: the loop left because the objective passed Rbbcutoff, or the run ends for it
  int cutoffWait;          // Iiternum before which the cutoff is not looked at
  int cutoffReturns;       // times the true costs came back for its sake
  double *givenY;          // [1..m] multipliers of a values pass, null before one
  int *valuesRow;          // [m] its rows with basics of nonzero reduced cost
  int valuesFailures;      // exchanges of it that the factor refused
};

// What the ratio test answers.
enum DualRatio : int {
  DUAL_ENTERS = 0,      // enterVar, pivotValue (of the row) and flips are set
  DUAL_UNBOUNDED = 1,   // nothing limits the step: the row proves that the problem is infeasible
  DUAL_SMALL_PIVOT = 2  // only pivots too small to be trusted
};

DualWork *dualWork(SimplexWork *w);   // made at first use, on the temporary chain

// ---- dual_row_choice.cpp
// Lists every infeasible row from the basic vectors.
void dualRows_rebuild(SimplexWork *w);
// Brings misfit and list up to date for row i after its value changed; keeps Inumpinf and Rsumpinf.
void dualRows_update(SimplexWork *w, int i);
// The row with the best score among those not rejected, 0 when there is none.
int qrtczrd(SimplexWork *w);
const char *dualRows_check(const SimplexWork *w);

// ---- dual_ratio.cpp: from pivotRow (left as it is), dj and flags; `sign` is +1 when the leaving variable stands above its
// upper bound, `distance` its infeasibility.
DualRatio qrtczcf(SimplexWork *w, double sign, double distance);

// ---- dual_step.cpp
// v := v + move * column of variable k.
void column_addTo(const SimplexWork *w, SparseVector *v, int k, double move);
// Moves the variables in `flips` to their other bound, and the basic values after them.
void dualFlips_apply(SimplexWork *w);
// Steps primal and dual along alpha and pivotRow, carries the weights on, exchanges enterVar and the variable of leaveRow.
void qrtupsd(SimplexWork *w, int leavesAtUpper);

// ---- dual_phase.cpp
// Moves boxed nonbasics to the bound where their reduced cost is feasible and brings the basic values after them; counts
// what stays infeasible into Inumdinf, Rsumdinf. Returns the number of variables moved.
int makeDualFeasible(SimplexWork *w);
// Only counts them, as they would be after the flips.
void countUnflippable(const SimplexWork *w);
void enterPhaseOne(SimplexWork *w);
void leavePhaseOne(SimplexWork *w);

// ---- dual_costs.cpp
// Random shifts of the costs of nonbasics that keep reduced costs feasible, against dual degeneracy (qrtprtb, dual side).
void dualPerturb(SimplexWork *w);
// Likewise once in every long run, untold like all shifts.
void dualSpread(SimplexWork *w);
// Shifts the costs of nonbasics whose reduced costs have the wrong sign until they are zero, those of at most `limit`
// only; returns the number left.
int dualShiftInfeasible(SimplexWork *w, double limit);
// True costs and true bounds back; true when anything differed.
bool dualRelease(SimplexWork *w);

// ---- dual_cutoff.cpp
// True when no feasible point of the true costs can be better than Rbbcutoff.
bool dualCutoff_passed(SimplexWork *w);
// The objective is past the cutoff and the shifts of costs are what hides it: they should go, a few times in a run.
bool dualCutoff_wantsTrueCosts(SimplexWork *w);

// ---- dual_checkpoint.cpp: qrtchkp of the dual.
int dualCheckpoint(SimplexWork *w, int continued);
// From the dual to the primal, from this basis on.
void switchToPrimal(SimplexWork *w, double weight);

// ---- dual_loop.cpp
// The entering column, and beside it the inverse row's own FTRAN for the weights: alpha and tau, from enterVar and rho.
void dualLoop_enterColumn(SimplexWork *w);
// Is the pivot by column the one the row promised? (qrtchpv)
bool dualLoop_pivotAgrees(SimplexWork *w);
// Progress line and the user's exit, where they are due; true when the exit wants the pass or the run to end.
bool dualLoop_userExit(SimplexWork *w);
// What every pass begins and ends with, and an iteration: weights and infeasible rows by position; vectors empty.
void dualLoop_begin(SimplexWork *w);
void dualLoop_end(SimplexWork *w);
void dualLoop_clear(SimplexWork *w);
// Iterates until it wants a factorisation, finds no row or no column, or Iprobstat is set. The same contract as qrtsprm.
int qrtsdul(SimplexWork *w);

// ---- dual_values.cpp
// The values pass: from the model's row duals to a basis that fits them. The same contract; when no row is left it clears
// dualValues.
int qrtsdvl(SimplexWork *w);
