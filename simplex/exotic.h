// Parameters for experts (qrt_exoticParameters): what the strategy of the simplex would otherwise decide by itself.
#pragma once

#include "frame/model_record.h"

struct ExoticRecord {
  double smallSum;         // Rsumpinf below which, in a short pass, the reference of the merit test is raised
  double raise;            // by this factor; 1000 or more: given up altogether
  double dumpSum;          // without effect: a run writes no dumps of its state, only messages and what the calls for files name
  int32_t devexHeld;       // no weights before this iteration: columns are priced in parts
  int32_t steepestHeld;    // no steepest edge before this one; at least devexHeld
  int32_t leastAccuracy;   // accuracyLevel does not fall below
  int32_t perturbAt;       // bounds (primal) are perturbed at this iteration, and not before; 0: as the run asks for it
  int32_t shortPass;       // a pass with fewer iterations is a short one
  int32_t dumpEvery;       // likewise
  int32_t otherWhenFeasible;  // 1: at the first check the other algorithm takes over when the start is feasible for it alone
  int32_t otherKernels;    // 1: pivotal rows are formed column by column, 0: by rows where that is shorter
};
struct ExoticPivots {
  double zeroTol, threshold;  // absolute zero pivot; relative threshold, 0: the default
};

// Null when nothing was set. Owned by the model.
const ExoticRecord *exoticRecord(const QRTModel *model);
const ExoticPivots *exoticPivots(const QRTModel *model);
