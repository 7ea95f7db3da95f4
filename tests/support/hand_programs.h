// Stochastic programs small enough to solve by hand, the hard cases of a decomposition among them.
#pragma once

#include <utility>
#include <vector>

#include "include/qrts_c_api.h"

namespace hand {

constexpr double NONE = 1e31;

struct Entry {
  int row, col;  // from 1
  double value;
};
struct Scenario {
  int ancestor, stage;
  double weight;
  std::vector<double> rowLower, rowUpper, objective, colUpper;  // differences, empty for none
  std::vector<Entry> elements = {};                             // differences
};
struct Program {
  int stages = 2;
  std::vector<int> rowStage, colStage;
  std::vector<double> objective, rowLower, rowUpper, colLower, colUpper;
  std::vector<Entry> elements;
  std::vector<Scenario> scenarios;
};

// min c1 x + E[c2 y],  x + y >= d,  0 <= y <= most,  0 <= x <= xMost.
Program demand(double c1, double c2, double most, double xMost, const std::vector<std::pair<double, double>> &weightAndDemand);

enum Outcome { OPTIMAL, INFEASIBLE, UNBOUNDED };
struct Case {
  const char *name;
  Program program;
  Outcome outcome;
  double optimum;
  double x;          // first column, if it is one of stage 1
};
// Each with the reasoning for its optimum.
std::vector<Case> cases();

// The program in an object, minimised or, with every cost negated, maximised; without a final solve of the whole.
QRTStoch *load(QRTContext *context, const Program &program, bool maximize);

}  // namespace hand
