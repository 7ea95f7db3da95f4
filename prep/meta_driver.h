// What the meta driver is made of: strategies that begin with the idiot crash, and presolve around a run.
#pragma once

#include "include/qrt_c_api.h"

enum : int { STRATEGY_IDIOT = 3, STRATEGY_IDIOT_CONTROLS = 4, STRATEGY_VERY_FEASIBLE = 5, STRATEGY_SMALL_COSTS = 6,
             STRATEGY_SMALL_CROSSOVER = 7, STRATEGY_COSTS_TWICE = 8, STRATEGY_COSTS_CROSSOVER = 9 };

// What the caller's options add to the strategies that begin with the idiot crash.
enum : int { OPTION_DUAL_FIRST = 128, OPTION_PRESOLVED_SETS = 512 };

// Solves the dual of the model as a model "dual_model" and takes its multipliers for the column values; false, and nothing
// done, when it has no optimum or the model is none that has a dual of this form.
bool startFromDual(QRTModel *model);

// Strategy 3 to 9 on a model within the meta driver's frame: the crash with the strategy's options, the crossover, the
// simplex. The code of the solve that ended it.
int solveByIdiot(QRTModel *model, int strategy, int options);

// Presolve before a run, its data in memory or in the file the driver has for it. *presolved tells whether the model is a
// reduced one now; 0, or the code of a failure.
int metaPresolve_begin(QRTModel *model, bool keepFile, bool *presolved);
// The original back with its solution, and a primal from there. The code of the solve that ended it.
int metaPresolve_end(QRTModel *model, bool keepFile, double perturbationScale);
