// The solve by cycles between a master and subproblems, with its history.
#pragma once

#include <vector>

#include "command.h"
#include "stoch_program.h"

struct CycleHistory {
  std::vector<QRTSCycle> cycles;
  FILE *lines = nullptr;  // where each cycle is told as it ends, or null
};
// Runs the method that the options ask for. @return the library's code; *status the outcome, in the words of a simplex solve.
// Throws BadInput when the tree has no such cut.
int solveByCycles(const Options &options, const StochProgram &program, CycleHistory &history, int *status);
