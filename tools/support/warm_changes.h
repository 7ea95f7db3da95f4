// Small changes of a solved model, of the kinds that decomposition, branching and parametric runs make, for tests and tables
// of how a re-solve compares with a solve.
#pragma once

#include "qrt_c_api.h"

enum WarmChange : int {
  WARM_BOUNDS,          // 1 % of the columns: finite bounds moved by up to a tenth, or an upper bound a little below the value
  WARM_COSTS,           // 1 % of the columns: costs changed by up to a tenth
  WARM_RIGHT_HAND_SIDES,// 1 % of the rows: finite bounds moved by up to a twentieth
  WARM_ROWS,            // 5 rows that cut off the solution
  WARM_COLUMNS,         // 5 columns that pay
  WARM_FIXED,           // 10 columns between their bounds fixed a little off their value
  WARM_CHANGES
};
const char *warmChangeName(int change);
// The model holds an optimal solution. What comes out may be infeasible.
void applyWarmChange(QRTModel *model, int change, unsigned seed);
// The algorithm whose feasibility the change leaves: the dual for bounds, right-hand sides and rows, the primal for costs and
// columns.
int solveAfterChange(QRTModel *model, int change);
// All rows basic, all columns at the bound nearest zero: where a cold solve starts.
void forgetBasis(QRTModel *model);
