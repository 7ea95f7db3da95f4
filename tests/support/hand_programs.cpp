#include "support/hand_programs.h"

#include <gtest/gtest.h>

namespace hand {

Program demand(double c1, double c2, double most, double xMost, const std::vector<std::pair<double, double>> &weightAndDemand) {
  Program p;
  p.rowStage = {2};
  p.colStage = {1, 2};
  p.objective = {c1, c2};
  p.rowLower = {0};
  p.rowUpper = {NONE};
  p.colLower = {0, 0};
  p.colUpper = {xMost, most};
  p.elements = {{1, 1, 1}, {1, 2, 1}};
  for (const auto &s : weightAndDemand) p.scenarios.push_back({0, 2, s.first, {s.second}, {}, {}, {}});
  return p;
}

namespace {

// min -x + E[c y],  y >= x - b: the first master knows no end.
Program shortfall(double c) {
  Program p = demand(-1, c, NONE, NONE, {{0.5, -2}, {0.5, -4}});
  p.elements = {{1, 1, -1}, {1, 2, 1}};
  return p;
}

// y+ - y- = d - x at 3 and 1, d one of 1, 5 and -3.
Program newsvendor(double cost) {
  Program p;
  p.rowStage = {2};
  p.colStage = {1, 2, 2};
  p.objective = {cost, 3, 1};
  p.rowLower = p.rowUpper = {0};
  p.colLower = {-NONE, 0, 0};
  p.colUpper = {NONE, NONE, NONE};
  p.elements = {{1, 1, 1}, {1, 2, 1}, {1, 3, -1}};
  for (double d : {1.0, 5.0, -3.0}) p.scenarios.push_back({0, 2, 1, {d}, {d}, {}, {}});
  return p;
}

// Two nodes of stage 2 with two leaves each, a column a stage, and one row a leaf: sign * (x + y + z) >= the leaf's number.
Program twoByTwo(double c1, double c2, double c3, double xMost, double yMost, double zMost, const std::vector<double> &leaves) {
  Program p;
  p.stages = 3;
  p.rowStage = {3};
  p.colStage = {1, 2, 3};
  p.objective = {c1, c2, c3};
  p.rowLower = {0};
  p.rowUpper = {NONE};
  p.colLower = {0, 0, 0};
  p.colUpper = {xMost, yMost, zMost};
  p.elements = {{1, 1, 1}, {1, 2, 1}, {1, 3, 1}};
  for (int k = 0; k < 4; ++k) p.scenarios.push_back({k % 2 ? k : 0, k % 2 ? 3 : 2, 1, {leaves[size_t(k)]}, {}, {}, {}});
  return p;
}

// The same with z >= x + y - b: x and y gain, z pays.
Program overrun(double cost) {
  Program p = twoByTwo(-1, -0.5, cost, NONE, NONE, NONE, {-2, -4, -3, -5});
  p.elements = {{1, 1, -1}, {1, 2, -1}, {1, 3, 1}};
  return p;
}

Program withoutColumnsLast() {
  Program p = demand(1, 1, NONE, NONE, {{1, 2}, {1, 7}});
  p.colStage = {1};
  p.objective = {1};
  p.colLower = {0};
  p.colUpper = {NONE};
  p.elements = {{1, 1, 1}};
  return p;
}

Program withoutColumnsFirst() {
  Program p = withoutColumnsLast();
  p.colStage = {2};
  p.objective = {2};
  return p;
}

Program boundsAndCosts() {
  Program p = demand(2, 1, 10, NONE, {{1, 4}, {1, 4}});
  p.scenarios[1].objective = {0, 1};
  p.scenarios[1].colUpper = {0, -9};
  return p;
}

Program fourStages() {
  Program p;
  p.stages = 4;
  p.rowStage = {4};
  p.colStage = {1, 2, 3, 4};
  p.objective = {1, 1.5, 1.8, 5};
  p.rowLower = {0};
  p.rowUpper = {NONE};
  p.colLower = {0, 0, 0, 0};
  p.colUpper = {NONE, NONE, NONE, NONE};
  p.elements = {{1, 1, 1}, {1, 2, 1}, {1, 3, 1}, {1, 4, 1}};
  p.scenarios = {{0, 2, 1, {4}, {}, {}, {}}, {0, 2, 1, {8}, {}, {}, {}}, {2, 3, 1, {6}, {}, {}, {}}, {3, 4, 1, {10}, {}, {}, {}}};
  return p;
}

Program emptyMiddle() {
  Program p = twoByTwo(1, 0, 3, NONE, NONE, NONE, {0, 0, 0, 0});
  p.rowStage = {2, 3};
  p.colStage = {1, 3};
  p.objective = {1, 3};
  p.rowLower = {0, 0};
  p.rowUpper = {NONE, NONE};
  p.colLower = {0, 0};
  p.colUpper = {NONE, NONE};
  p.elements = {{1, 1, 1}, {2, 1, 1}, {2, 2, 1}};
  const double need[4] = {1, 1, 4, 4}, want[4] = {2, 3, 5, 9};
  for (size_t k = 0; k < 4; ++k) p.scenarios[k].rowLower = {need[k], want[k]};
  return p;
}

Program lateLeaf() {
  Program p;
  p.stages = 3;
  p.rowStage = {2, 3};
  p.colStage = {1, 2, 3};
  p.objective = {1, 1, 3};
  p.rowLower = {0, -NONE};
  p.rowUpper = {NONE, 50};
  p.colLower = {0, 0, 2};
  p.colUpper = {NONE, 1, 2};
  p.elements = {{1, 1, 1}, {1, 2, 1}, {2, 1, 1}, {2, 3, 1}};
  p.scenarios = {{0, 2, 1, {4, 0}, {}, {}, {}}, {0, 2, 1, {1, 0}, {}, {}, {}}};
  return p;
}

}  // namespace

std::vector<Case> cases() {
  return {
      // The large demand needs x >= 8 - 3; beyond, a unit costs 1 and saves at most 0.25.
      {"infeasible first proposals", demand(1, 0.5, 3, NONE, {{1, 4}, {1, 8}}), OPTIMAL, 5.75, 5},
      // From x = 2 on a unit gains 1 and costs 3 in half of the cases.
      {"unbounded first master", shortfall(3), OPTIMAL, -2, 2},
      {"unbounded as a whole", shortfall(0.5), UNBOUNDED, 0, 0},
      {"infeasible as a whole", demand(1, 1, 3, 2, {{1, 4}, {1, 8}}), INFEASIBLE, 0, 0},
      // The least x with P(d <= x) >= 3/4 is the largest demand.
      {"free column, equalities", newsvendor(0), OPTIMAL, 4, 5},
      // Slope in x: 0.5 + P(d < x) - 3 P(d > x) = 0.5 + 2/3 - 1 between 1 and 5, 0.5 + 1/3 - 2 below 1: x = 1, cost 0.5 +
      // (0 + 12 + 4) / 3.
      {"free column with a cost", newsvendor(0.5), OPTIMAL, 0.5 + 16.0 / 3, 1},
      {"second stage without columns", withoutColumnsLast(), OPTIMAL, 7, 7},
      {"first stage without anything", withoutColumnsFirst(), OPTIMAL, 9, 0},
      // y costs 1, then 2 with y <= 1: x >= 3, and a further unit costs 2 and saves 0.5 + 1.
      {"scenario bounds and costs", boundsAndCosts(), OPTIMAL, 7.5, 3},
      // P = 1/4, 3/4, 0. Below 2 a unit saves 3, above it 0.75.
      {"weights not of one", demand(1, 3, NONE, NONE, {{1, 6}, {3, 2}, {0, 100}}), OPTIMAL, 5, 2},
      {"no weight first", demand(1, 3, NONE, NONE, {{0, 100}, {3, 2}, {1, 6}}), OPTIMAL, 5, 2},
      // One case in a million costs a million: the same trade as with even odds.
      {"rare scenario", demand(1, 3e6, NONE, NONE, {{1e-6, 5}, {1 - 1e-6, 0}}), OPTIMAL, 5, 5},
      // Units for the last stage at 1, 1.5, 1.8 and 5. All need 4, three in four 6, two in four 8, the last scenario 10. Up
      // to 8 the first stage is cheapest; the last two are bought in stage 3 by the half that may need them: 2 * 0.9.
      {"four stages", fourStages(), OPTIMAL, 9.8, 8},
      // x + y_A >= 4 - 1 and x + y_B >= 6 - 1, y <= 2: x = 3, y_B = 2, and z = 1 in the two dear leaves. Another unit of x
      // would save 2 in half of the cases and 1 in a quarter.
      {"barred two stages below", twoByTwo(3, 2, 1, NONE, 2, 1, {2, 4, 3, 6}), OPTIMAL, 11.5, 3},
      {"infeasible two stages below", twoByTwo(3, 2, 1, 2, 2, 1, {2, 4, 3, 6}), INFEASIBLE, 0, 0},
      // Up to b everything gains. From x = 2 on a unit gains 1, takes 0.25 from y_B and costs 4 in a quarter; y_B = 1.
      {"rays at two levels", overrun(4), OPTIMAL, -2.25, 2},
      // y gains 0.25 (in half of the cases), z costs 0.125.
      {"unbounded below the root", overrun(0.25), UNBOUNDED, 0, 0},
      // x >= 4. Up to 5 a unit saves 3 in half of the cases, then in a quarter.
      {"middle stage without columns", emptyMiddle(), OPTIMAL, 8, 5},
      // x + y >= 4, y <= 1 bars the first proposals of one node, so its leaf is reached late; the leaves cost 6 whatever
      // happens and need no pivot. A unit of y costs 0.5.
      {"leaf reached late", lateLeaf(), OPTIMAL, 9.5, 3},
  };
}

QRTStoch *load(QRTContext *context, const Program &p, bool maximize) {
  QRTStoch *stoch = qrts_newStoch(context, "hand", int(p.scenarios.size()) + 10);
  std::vector<int> rows, cols;
  std::vector<double> values, objective = p.objective;
  for (const Entry &e : p.elements) {
    rows.push_back(e.row);
    cols.push_back(e.col);
    values.push_back(e.value);
  }
  if (maximize)
    for (double &c : objective) c = -c;
  EXPECT_EQ(qrts_createCore(stoch, p.stages, p.rowStage.data(), p.colStage.data(), int(p.rowStage.size()), int(p.colStage.size()),
                            int(values.size()), objective.data(), p.rowLower.data(), p.rowUpper.data(), p.colLower.data(),
                            p.colUpper.data(), rows.data(), cols.data(), values.data()),
            0);
  int number = 0;
  for (Scenario s : p.scenarios) {
    if (maximize)
      for (double &c : s.objective) c = -c;
    std::vector<int> at[2];
    std::vector<double> differences;
    for (const Entry &e : s.elements) {
      at[0].push_back(e.row);
      at[1].push_back(e.col);
      differences.push_back(e.value);
    }
    const auto some = [](const std::vector<double> &v) { return v.empty() ? nullptr : v.data(); };
    EXPECT_EQ(qrts_addScenario(stoch, ++number, s.ancestor, s.stage, s.weight, 0, int(p.rowStage.size()), int(p.colStage.size()),
                               int(differences.size()), some(s.objective), some(s.rowLower), some(s.rowUpper), nullptr,
                               some(s.colUpper), at[0].data(), at[1].data(), differences.data(), 0),
              0);
  }
  if (maximize) qrts_setMaximize(stoch);
  qrts_setMaxiter(stoch, 200);
  qrts_setFinalSimplexSolverOff(stoch);
  return stoch;
}

}  // namespace hand
