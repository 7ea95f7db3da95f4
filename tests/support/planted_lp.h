// Random linear programs with a known optimum and planted redundancies: what a presolve is there to find.
//
// The optimum is made first: values x, row duals y and reduced costs d that fit together; the costs are then A'y + d.
// Elements, values and duals are small dyadic fractions, so that proportional lines are so exactly.
#pragma once

#include <random>
#include <vector>

#include "qrt_c_api.h"

enum Plant : unsigned {
  PLANT_DUPLICATE_ROWS = 1u << 0,     // proportional, with other sides
  PLANT_DUPLICATE_COLUMNS = 1u << 1,  // proportional, of the same or a higher cost
  PLANT_FREE_SINGLETONS = 1u << 2,    // a free column in one equation
  PLANT_FREE_COLUMNS = 1u << 3,       // a free column in two to five rows, one an equation
  PLANT_SLACKS = 1u << 4,             // zero-cost singletons
  PLANT_DOUBLETONS = 1u << 5,         // equations of two columns, single and in chains
  PLANT_SIGNS = 1u << 6,              // zero-cost columns that all rows want moved one way, with and without a bound there
  PLANT_DOMINATED = 1u << 7,          // columns that can only hurt
  PLANT_FORCING = 1u << 8,            // rows that leave their columns no choice
  PLANT_SINGLETON_ROWS = 1u << 9,
  PLANT_REDUNDANT_ROWS = 1u << 10,
  PLANT_ALL = (1u << 11) - 1
};

struct PlantedLp {
  std::vector<int> start{0}, row;
  std::vector<double> element, cost, lower, upper, rowLower, rowUpper;
  double optimum = 0.0;
  int rows() const { return int(rowLower.size()); }
  int columns() const { return int(cost.size()); }
  QRTModel *load(QRTContext *context) const;
};

// `rows` and `columns` of a base program, then about `plants` redundancies of each wanted kind.
PlantedLp plantedLp(unsigned seed, int rows, int columns, unsigned kinds, int plants);
