// State of one run of the L-shaped method.
#pragma once

#include "decomp/scn_family.h"

enum BendersEnd : int {
  END_NOT_YET,
  END_GATHER,   // the last proposal is the answer
  END_CLEAN,    // infeasible or unbounded: nothing to gather
  END_FAILED,   // a model did not solve
  END_STOPPED   // the caller wants no further cycle
};

// Feasibility cuts of one pass that share their gradient: members at one proof of one family.
struct SharedProof {
  int32_t family, home, row;
  const int32_t *masterAt;
};
constexpr int MOST_SHARED_PROOFS = 256;

struct BendersRun {
  QRTStoch *stoch, *master;
  Families all;             // the subproblems: model i + 2 of the cut is member i
  int n;                    // models of the cut, the master included
  int **lists, *counts;     // [n] their nodes
  bool running;             // cycles are under way
  bool answer;              // the last proposal is to be gathered
  int cycle, solves;
  BendersEnd end;
  int mstat;                // 0 the proposal is an optimum of the master, 2 a point far out on its ray
  double thetaValue;        // the master's total recourse, -1e31 before the first bounded master with cuts
  double total, totalRest;  // value of the recourse at the proposal; +-1e31 when unknown; rounding of its sum
  int newCuts, totalCuts;
  double *ray;              // [all columns of the master] null before the first unbounded master
  double rayCost, raySize;  // of the program along it, so far; sum of the sizes of its terms, the master's estimate among them
  bool rayPass;             // a subproblem has been solved along it in this pass
  double *proposed;         // [own columns of the master] the last proposal
  bool boundKnown;          // masterValue bounds the program: every subproblem has a cut on its value
  double masterValue;
  double bestValue;         // least sense * value of any proposal
  int freedBefore;          // recourse columns without their first bound, as of the last master
  double started;
  // saved state
  uint64_t fingerprint;     // of the program, when states are written or read
  int cyclesBefore;         // of the run that was resumed
  CutBatch kept;            // all cuts so far; empty unless states are written
  int64_t keptRoom;
  // a pass
  CutBatch batch;
  CutColumns cut;           // of the cluster in view
  SharedProof proofs[MOST_SHARED_PROOFS];
  int nProofs, feasibilityCuts;
};

// Recourse columns for so many subproblems and first-stage columns.
int run_clusters(int members, int ownColumns);
// Clusters, work arrays and the first look at every subproblem. 0 or a code of 2 or more.
int run_setUp(BendersRun *run, int **lists, const int *counts);
void run_free(BendersRun *run);
// All subproblems at the last proposal; their cuts become rows. Returns a solver's code of 2 or more; run->end when the
// run is over.
int run_pass(BendersRun *run);
// The last proposal's solution of every subproblem into the described model. 0 or a code of 2 or more.
int run_gather(BendersRun *run, bool announce);
// Saved states (scn_resume.cpp); nothing happens where the object names no file. Keeping takes a copy of cuts before they
// are added; resuming puts a state's cuts into the master before its first solve: 0, or 2 after a text that says why not.
void run_prepareState(BendersRun *run);
void run_keepCuts(BendersRun *run, const CutBatch *cuts);
void run_saveState(const BendersRun *run);
int run_resume(BendersRun *run);
// Writes member i, which did not solve, as an MPS file beside the state, and a line on stdout that says so.
void run_writeFailure(BendersRun *run, int i);
// Recourse columns that lost their first bound since the last call.
int countFreed(BendersRun *run);
// The user exit at each solve of a subproblem (scn_benders.cpp).
void tellSolve(int cycle, int solves);
