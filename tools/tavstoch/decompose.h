// The solve by cycles between a master and subproblems, with its history.
#pragma once

#include <vector>

#include "command.h"
#include "stoch_program.h"

struct CycleHistory {
  std::vector<QRTSCycle> cycles;
  FILE *lines = nullptr;  // where each cycle is told as it ends, or null
};
// The stage that --cut names. Throws BadInput for another form.
int cutStage(const std::string &cut);
// Runs the L-shaped method as the options ask. @return the library's code. Throws BadInput when the tree has no such cut.
int solveByCycles(const Options &options, const StochProgram &program, CycleHistory &history);
