// State of one run of the L-shaped method.
#pragma once

#include "decomp/scn_benders.h"

enum BendersEnd : int {
  END_NOT_YET,
  END_GATHER,   // the last proposal is the answer
  END_CLEAN,    // infeasible or unbounded: nothing to gather
  END_FAILED,   // a model did not solve
  END_STOPPED   // the caller wants no further cycle
};

struct BendersRun {
  QRTStoch *stoch, *master;
  QRTStoch **models;        // [n] the list; the master first
  int n;
  int cycle, solves;
  BendersEnd end;
  int mstat;                // 0 the proposal is an optimum of the master, 2 a point far out on its ray
  double thetaValue;        // the master's total recourse, -1e31 before the first bounded master with cuts
  double total, totalRest;  // value of the recourse at the proposal; +-1e31 when unknown; rounding of its sum
  int newCuts, totalCuts;
  int *lastStatus;          // [n] of each subproblem's last cut, -1 none
  double *ray;              // [all columns of the master] null before the first unbounded master
  double rayCost, raySize;  // of the program along it, so far; sum of the sizes of its terms
  bool rayPass;             // a subproblem has been solved along it in this pass
  double *proposed;         // [own columns of the master] the last proposal
  bool boundKnown;          // masterValue bounds the program: every subproblem has a cut on its value
  double masterValue;
  double bestValue;         // least sense * value of any proposal
  int freedBefore;          // recourse columns without their first bound, as of the last master
  double started;
};

// Adds to the total; what rounding loses is kept beside it.
void addCompensated(BendersRun *run, double value);
// Recourse columns that lost their first bound since the last call.
int countFreed(BendersRun *run);
