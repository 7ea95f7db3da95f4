// Idiot crash: a nearly feasible, nearly optimal point without any factorisation, and the way from it to a basis.
//
//     minimise   W(x) = c'x + lambda'r + |r|^2 / (2 mu),    r = A x + S s - b,    lower <= x <= upper, 0 <= s <= range
//
// one column at a time: along x_j the minimum lies at a step of -(mu (c_j + a_j'lambda) + a_j'r) / a_j'a_j, cut at the
// bounds. Rounds of such sweeps follow each other with a falling mu, which makes the residuals dearer. A row with a range
// has a slack s of its own, S = +-1 so that b is the bound of the smaller size. y = -(lambda + r / mu) estimates the duals.
//
// The matrix is the stored one, with the model's factors in it when it is scaled; rims are moved into that form here.
#pragma once

#include <cstdint>

#include "frame/model_record.h"
#include "include/qrt_c_api.h"

// The options of the crash, a record of the model from its first use on.
struct IdiotInfo {
  double djTest;             // reduced cost below which a sweep has nothing left to gain
  double mu;                 // first penalty; 0: from the costs
  double drop;               // fall of W that a round must show over dropFrequency sweeps
  double muFactor;           // applied to mu when it is lowered
  double stopMu;             // a mu below this ends the run
  double smallInfeas;        // infeasibility counted as small
  double reasonableInfeas;   // infeasibility counted as feasible enough
  double dropEnough;         // relative fall that keeps the rounds going
  double spare;
  int32_t majorIterations;   // rounds at one mu
  int32_t maxIterations;     // sweeps of a round when firstIterations is 0
  int32_t logging;           // bit 0: the long form of the progress line
  int32_t checkFrequency;    // sweeps between progress lines of a round
  int32_t dropFrequency;     // sweeps between tests of the fall
  int32_t lambdaIterations;  // below 0: multipliers stay 0
  int32_t firstIterations;   // sweeps of a round
  int32_t strategyCount;     // rounds of the crossover
  int32_t strategy;          // IDIOT_... bits
};
enum : int {
  IDIOT_TIGHT_START = 4,        // djTest begins at 1e-10 and follows the size of W from round 3 on
  IDIOT_INNER_MOVES = 8,        // adds IDIOT_MOVES_SMALL to the options of each round
  IDIOT_SCALE_ROWS = 16,        // rows are divided by their larger bound for the run
  IDIOT_FALLING_LEVEL = 32,     // the reasonable infeasibility falls as the run gets better
  IDIOT_MOVES_SMALL = 64,       // the low-dj test of a round also asks for an infeasibility below smallInfeas
  IDIOT_TIGHT_COLUMNS = 128,    // a column counts as at its bound within 1e-10, not 1e-6
  IDIOT_OLD_MULTIPLIERS = 0x800,  // updates touch only multipliers that are not 0
  IDIOT_KEEP_BEST = 0x1000,     // the best point of the rounds, not the last
  IDIOT_FROM_SOLUTION = 0x2000  // starts from the column values of the model
};

// The record of a model, made with the defaults on first use; owned by the model.
IdiotInfo *qrt_idiotInfo(QRTModel *model);
void qrt_initializeIdiot(QRTModel *model);

// One run; arrays hang on the model's temporary chain.
struct IdiotWork {
  QRTModel *model;
  int m;                     // rows
  int n;                     // columns of the model
  int total;                 // n and the artificial slacks behind them
  const int *starts, *rows;  // [total + 1], [elements] 0-based; elements of rows without any bound are left out
  const double *elements;    // [elements]; null when all are 1
  const double *lower, *upper, *cost;  // [total]; costs of the minimised form
  const double *rhs;         // [m]
  double *x;                 // [total]
  double *residual;          // [m] A x + S s - b
  double *multiplier;        // [m] lambda
  double *pull;              // [total] c_j + a_j'lambda, of the present multipliers
  const double *square;      // [total] a_j'a_j
  // the last three points a round kept, for the extrapolation
  double *oldX[3], *oldResidual[3];   // [total], [m] each
  double *direction[3];               // [total] work
  double *image[3];                   // [m] work: A direction
  int kept;                  // how many of them stand
};

// What a round found: infeasibility is the sum of |r|, and of r^2 beside it.
struct IdiotResult {
  double infeasibility, squares, objective, weighted;
  int sweeps;
  double largestDj;
};
struct IdiotLimits {
  int sweeps;
  double mu, drop, djTest, smallInfeas;  // smallInfeas 1e31: no such test
  int dropFrequency, checkFrequency;
};
// One round from the present point (idiot_round.cpp).
IdiotResult qrtidiot3(IdiotWork *w, const IdiotLimits &limits);
// Residuals afresh, pulls of the present multipliers, and what stands.
void idiot_residuals(IdiotWork *w);
void idiot_pulls(IdiotWork *w);
IdiotResult idiot_value(const IdiotWork *w, double mu);
// First broken invariant as text, or null: bounds kept, residuals those of the point.
const char *idiot_check(const IdiotWork *w);

// The rounds on the model below (idiot.cpp): 0, or 1 without a column block.
int runIdiot(QRTModel *model, const IdiotInfo &info);

// Added to a mode of the crossover: the point is nearly feasible, and beside its own columns only those join the first solve
// that its duals ask for.
enum : int { IDIOT_CROSS_CLOSE = 128 };
// Added likewise: each solve of a working set goes by way of presolve, unless the model is a presolved one already.
enum : int { IDIOT_CROSS_PRESOLVED = 32 };
// From the point the model holds to a basis and on to the optimum (idiot_crossover.cpp). The code of the last solve,
// or of the first that failed.
int crossOverIdiot(QRTModel *model, const IdiotInfo &info, int mode);
