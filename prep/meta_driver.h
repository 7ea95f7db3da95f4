// The strategies of the meta driver that begin with the idiot crash.
#pragma once

#include "include/qrt_c_api.h"

enum : int { STRATEGY_IDIOT = 3, STRATEGY_IDIOT_CONTROLS = 4, STRATEGY_VERY_FEASIBLE = 5, STRATEGY_SMALL_COSTS = 6,
             STRATEGY_SMALL_CROSSOVER = 7, STRATEGY_COSTS_TWICE = 8, STRATEGY_COSTS_CROSSOVER = 9 };

// Strategy 3 to 9 on a model within the meta driver's frame: the crash with the strategy's options, the crossover, the
// simplex. The code of the solve that ended it.
int solveByIdiot(QRTModel *model, int strategy);
