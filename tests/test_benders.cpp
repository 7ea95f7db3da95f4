// Faults these tests would catch: cuts that cut off the optimum or cut nothing (in either sense of the program), a ray
// taken for unboundedness too early or never, empty first answers, values or duals gathered from the wrong place, a gap
// of one run taken as the tolerance of the next.
//
// Every program is small enough to solve by hand; the reasoning stands beside its optimum.
#include <gtest/gtest.h>

#include <cmath>
#include <cstdio>
#include <string>
#include <vector>

#include "decomp/scn_benders.h"
#include "include/qrts_c_api.h"

namespace {

constexpr double NONE = 1e31;
struct Entry {
  int row, col;  // from 1
  double value;
};
struct Scenario {
  int ancestor, stage;
  double weight;
  std::vector<double> rowLower, rowUpper, objective, colUpper;  // differences, empty for none
};

struct Program {
  int stages = 2;
  std::vector<int> rowStage, colStage;
  std::vector<double> objective, rowLower, rowUpper, colLower, colUpper;
  std::vector<Entry> elements;
  std::vector<Scenario> scenarios;
};

class Benders : public testing::Test {
 protected:
  void SetUp() override {
    context = qrts_initializeContext();
    ASSERT_NE(context, nullptr);
    qrt_messagesPrintOff(qrt_baseModel(context), 1, 6999);
  }
  void TearDown() override { qrts_endContext(context); }

  QRTStoch *load(const Program &p, bool maximize = false) {
    QRTStoch *stoch = qrts_newStoch(context, "hand", 20);
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
      const auto some = [](const std::vector<double> &v) { return v.empty() ? nullptr : v.data(); };
      EXPECT_EQ(qrts_addScenario(stoch, ++number, s.ancestor, s.stage, s.weight, 0, int(p.rowStage.size()), int(p.colStage.size()), 0,
                                 some(s.objective), some(s.rowLower), some(s.rowUpper), nullptr, some(s.colUpper), nullptr, nullptr,
                                 nullptr, 0),
                0);
    }
    if (maximize) qrts_setMaximize(stoch);
    qrts_setMaxiter(stoch, 200);
    qrts_setFinalSimplexSolverOff(stoch);
    return stoch;
  }

  static double firstStage(QRTStoch *stoch, int column) {
    double values[8];
    int indices[8];
    EXPECT_EQ(qrts_getNodeSolution(stoch, 1, 1, 0, values, indices), 0);
    return values[column];
  }

  // Both senses, with and without large bounds: the optimum, the first column, and the scenarios' mean.
  void expectOptimum(const Program &p, double optimum, double x, int cut = 2) {
    for (const bool maximize : {false, true})
      for (const bool large : {false, true}) {
        QRTStoch *stoch = load(p, maximize);
        qrts_setCutPeriod(stoch, cut);
        if (large) qrts_setLargeBoundsOn(stoch);
        const double sense = maximize ? -1 : 1;
        ASSERT_EQ(qrts_bendersLSolve(stoch, 0), 0);
        ASSERT_EQ(qrts_getStatus(stoch), 0) << "maximize " << maximize << " large " << large;
        EXPECT_NEAR(qrts_getRobjvalue(stoch), sense * optimum, 1e-7) << "maximize " << maximize << " large " << large;
        if (p.colStage[0] == 1) {
          EXPECT_NEAR(firstStage(stoch, 0), x, 1e-7);
        }
        int ids[8];
        double probabilities[8], values[8], mean, deviation;
        ASSERT_EQ(qrts_getScenarioDistribution(stoch, qrts_getNumScenarios(stoch), ids, probabilities, values, &mean, &deviation), 0);
        EXPECT_NEAR(mean, sense * optimum, 1e-7);
        EXPECT_EQ(qrts_getNsubmodels(stoch), 0);
        qrts_deleteStoch(stoch);
      }
  }

  void expectStatus(const Program &p, int status) {
    for (const bool maximize : {false, true})
      for (const bool large : {false, true}) {
        QRTStoch *stoch = load(p, maximize);
        if (large) qrts_setLargeBoundsOn(stoch);
        EXPECT_EQ(qrts_bendersLSolve(stoch, 0), 0);
        EXPECT_EQ(qrts_getStatus(stoch), status) << "maximize " << maximize << " large " << large;
        qrts_deleteStoch(stoch);
      }
  }

  QRTContext *context = nullptr;
};

// min c1 x + E[c2 y],  x + y >= d,  0 <= y <= most,  0 <= x <= xMost.
Program demand(double c1, double c2, double most, double xMost, std::vector<std::pair<double, double>> weightAndDemand) {
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

// min -x + E[c y],  y >= x - b: the first master knows no end.
Program shortfall(double c) {
  Program p = demand(-1, c, NONE, NONE, {{0.5, -2}, {0.5, -4}});
  p.elements = {{1, 1, -1}, {1, 2, 1}};
  return p;
}

TEST_F(Benders, InfeasibleFirstProposals) {
  // The large demand needs x >= 8 - 3; beyond, a unit costs 1 and saves at most 0.25.
  expectOptimum(demand(1, 0.5, 3, NONE, {{1, 4}, {1, 8}}), 5.75, 5);
}

TEST_F(Benders, UnboundedFirstMaster) {
  // From x = 2 on a unit gains 1 and costs 3 in half of the cases.
  expectOptimum(shortfall(3), -2, 2);
}

TEST_F(Benders, UnboundedAsAWhole) { expectStatus(shortfall(0.5), 2); }

TEST_F(Benders, InfeasibleAsAWhole) { expectStatus(demand(1, 1, 3, 2, {{1, 4}, {1, 8}}), 1); }

TEST_F(Benders, FreeFirstStageAndEqualities) {
  // y+ - y- = d - x at 3 and 1: the least x with P(d <= x) >= 3/4 is the largest demand.
  Program p;
  p.rowStage = {2};
  p.colStage = {1, 2, 2};
  p.objective = {0, 3, 1};
  p.rowLower = p.rowUpper = {0};
  p.colLower = {-NONE, 0, 0};
  p.colUpper = {NONE, NONE, NONE};
  p.elements = {{1, 1, 1}, {1, 2, 1}, {1, 3, -1}};
  for (double d : {1.0, 5.0, -3.0}) p.scenarios.push_back({0, 2, 1, {d}, {d}, {}, {}});
  expectOptimum(p, 4, 5);
  // A cost on the free column makes the first master unbounded. Slope in x: 0.5 + P(d < x) - 3 P(d > x) = 0.5 + 2/3 - 1
  // between 1 and 5, and 0.5 + 1/3 - 2 below 1: x = 1, cost 0.5 + (0 + 12 + 4) / 3.
  p.objective[0] = 0.5;
  expectOptimum(p, 0.5 + 16.0 / 3, 1);
}

TEST_F(Benders, StagesWithoutColumnsOrRows) {
  Program p = demand(1, 1, NONE, NONE, {{1, 2}, {1, 7}});
  p.colStage = {1};  // second stage: the row alone
  p.objective = {1};
  p.colLower = {0};
  p.colUpper = {NONE};
  p.elements = {{1, 1, 1}};
  expectOptimum(p, 7, 7);
  p.colStage = {2};  // first stage: nothing
  p.objective = {2};
  expectOptimum(p, 9, 0);
}

TEST_F(Benders, ScenarioBoundsAndCosts) {
  // y costs 1, then 2 with y <= 1: x >= 3, and a further unit costs 2 and saves 0.5 + 1.
  Program p = demand(2, 1, 10, NONE, {{1, 4}, {1, 4}});
  p.scenarios[1].objective = {0, 1};
  p.scenarios[1].colUpper = {0, -9};
  expectOptimum(p, 7.5, 3);
}

TEST_F(Benders, WeightsAreNormalisedAndZeroOnesIgnored) {
  // P = 1/4, 3/4, 0. Below 2 a unit saves 3, above it 0.75.
  expectOptimum(demand(1, 3, NONE, NONE, {{1, 6}, {3, 2}, {0, 100}}), 5, 2);
  expectOptimum(demand(1, 3, NONE, NONE, {{0, 100}, {3, 2}, {1, 6}}), 5, 2);
}

TEST_F(Benders, RareScenarios) {
  // One case in a million costs a million: the same trade as with even odds.
  expectOptimum(demand(1, 3e6, NONE, NONE, {{1e-6, 5}, {1 - 1e-6, 0}}), 5, 5);
}

TEST_F(Benders, FourStagesAtEveryCut) {
  // Units for the last stage at 1, 1.5, 1.8 and 5. All need 4, three in four 6, two in four 8, the last scenario 10.
  // Up to 8 the first stage is cheapest; the last two are bought in stage 3 by the half that may need them: 2 * 0.9.
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
  for (int cut : {2, 3, 4}) expectOptimum(p, 9.8, 8, cut);
}

TEST_F(Benders, OneScenarioOnly) {
  const Program p = demand(2, 1, 3, NONE, {{1, 4}});  // y = 3, x = 1
  QRTStoch *stoch = load(p);
  EXPECT_EQ(qrts_bendersLSolve(stoch, 0), 1);
  EXPECT_EQ(qrts_getStatus(stoch), 3);
  qrts_setFinalSimplexSolverOn(stoch);
  qrts_bendersLSolve(stoch, 0);
  EXPECT_EQ(qrts_getStatus(stoch), 0);
  EXPECT_NEAR(qrts_getRobjvalue(stoch), 5, 1e-7);
  qrts_deleteStoch(stoch);
}

TEST_F(Benders, GatheredDualsAreThoseOfADirectSolve) {
  // x rests on its bound, no demand meets it: the duals are unique.
  const Program p = demand(1, 9, NONE, 3, {{1, 6}, {3, 2.5}, {2, 2}});
  for (const bool maximize : {false, true}) {
    double dual[2][3], cost[2][3], none[3];
    int index[3];
    for (const bool direct : {false, true}) {
      QRTStoch *stoch = load(p, maximize);
      if (direct) qrts_eitherSimplex(stoch);
      else qrts_bendersLSolve(stoch, 0);
      ASSERT_EQ(qrts_getStatus(stoch), 0);
      for (int s = 1; s <= 3; ++s) {
        qrts_getNodeDualSolution(stoch, s, 2, 1, none, index);
        dual[direct][s - 1] = none[0];
        qrts_getNodeDualSolution(stoch, s, 2, 0, none, index);
        cost[direct][s - 1] = none[0];
      }
      qrts_deleteStoch(stoch);
    }
    for (int s = 0; s < 3; ++s) {
      EXPECT_NEAR(dual[0][s], dual[1][s], 1e-7) << s;
      EXPECT_NEAR(cost[0][s], cost[1][s], 1e-7) << s;
    }
  }
}

TEST_F(Benders, LimitGapAndHotStart) {
  const Program p = demand(1, 3, NONE, NONE, {{1, 6}, {3, 2}, {2, 4}});
  QRTStoch *stoch = load(p);
  qrts_setMaxiter(stoch, 1);
  EXPECT_EQ(qrts_bendersLSolve(stoch, 0), 0);
  EXPECT_EQ(qrts_getStatus(stoch), 3);
  EXPECT_EQ(qrts_getRobjvalue(stoch), 0.0);
  qrts_setMaxiter(stoch, 100);
  qrts_bendersLSolve(stoch, 0);
  ASSERT_EQ(qrts_getStatus(stoch), 0);
  const double optimum = qrts_getRobjvalue(stoch);
  EXPECT_LT(qrts_getRelOptimalityGap(stoch), 1e-8);  // the gap reached, which must not be the next run's tolerance
  for (int mode : {0, 1}) {
    qrts_bendersLSolve(stoch, mode);
    EXPECT_EQ(qrts_getStatus(stoch), 0);
    EXPECT_NEAR(qrts_getRobjvalue(stoch), optimum, 1e-9);
  }
  qrts_setFinalSimplexSolverOn(stoch);
  qrts_bendersLSolve(stoch, 0);
  EXPECT_NEAR(qrts_getRobjvalue(stoch), optimum, 1e-9);
  qrts_deleteStoch(stoch);
}

int solvesSeen, gapsSeen, cyclesSeen;
double lastLower, lastUpper;
int countSolve(void *, void *solves) { return solvesSeen = *static_cast<int *>(solves); }
int countGap(void *, void *) { return ++gapsSeen; }
int watch(const QRTSCycle *cycle, void *stopAt) {
  cyclesSeen = cycle->cycle;
  EXPECT_GE(cycle->lower, lastLower);
  lastLower = cycle->lower;
  lastUpper = cycle->upper;
  return cycle->cycle == *static_cast<int *>(stopAt);
}

TEST_F(Benders, ExitsAndCycleNews) {
  int solve = 11, gap = 12, other = 14, never = 0, second = 2;
  EXPECT_EQ(qrts_rgcb(&other, countSolve), 14);
  qrts_rgcb(&solve, countSolve);
  qrts_rgcb(&gap, countGap);
  solvesSeen = gapsSeen = 0;
  for (int *stop : {&never, &second}) {
    lastLower = -NONE;
    QRTStoch *stoch = load(demand(1, 3, NONE, NONE, {{1, 6}, {3, 2}, {2, 4}, {1, 5}}));
    qrts_setCycleCallBack(stoch, watch, stop);
    EXPECT_EQ(qrts_bendersLSolve(stoch, 0), 0);
    EXPECT_EQ(qrts_getStatus(stoch), *stop ? 3 : 0);
    if (*stop) {
      EXPECT_EQ(cyclesSeen, 2);
    } else {
      EXPECT_NEAR(lastLower, qrts_getRobjvalue(stoch), 1e-9);
      EXPECT_NEAR(lastUpper, qrts_getRobjvalue(stoch), 1e-9);
      EXPECT_EQ(solvesSeen, 3 * cyclesSeen);  // three models beside the master
      EXPECT_GE(gapsSeen, cyclesSeen);
    }
    qrts_deleteStoch(stoch);
  }
  qrts_clcb(&solve);
  qrts_clcb(&gap);
}

TEST_F(Benders, ASubproblemThatDoesNotSolveIsWrittenOut) {
  const std::string file = testing::TempDir() + "failing.state", model = file + ".sub2.mps";
  Program p = demand(1, 0.5, NONE, NONE, {{1, 3}, {1, -1}});
  constexpr int ROWS = 5;
  p.rowStage.assign(ROWS, 2);
  p.rowLower.assign(ROWS, 0);
  p.rowUpper.assign(ROWS, NONE);
  p.elements.clear();
  for (int i = 1; i <= ROWS; ++i) {
    p.elements.push_back({i, 1, 1});
    p.elements.push_back({i, i + 1, 1});
    if (i == 1) continue;
    p.colStage.push_back(2);
    p.objective.push_back(0.5);
    p.colLower.push_back(0);
    p.colUpper.push_back(NONE);
  }
  for (Scenario &s : p.scenarios) s.rowLower.assign(ROWS, s.rowLower[0]);
  QRTStoch *stoch = load(p);
  qrt_setImaxiter(qrtse_getBaseModel(stoch), 3);  // enough for the master, whose scenario asks for nothing
  qrts_setSaveState(stoch, file.c_str(), 1);
  EXPECT_EQ(qrts_bendersLSolve(stoch, 0), 1);
  EXPECT_EQ(std::remove(file.c_str()), 0);
  QRTModel *read = qrt_newModel(context, "");
  qrt_messagesPrintOff(read, 1, 6999);
  ASSERT_EQ(qrt_importModel(read, model.c_str()), 0);
  EXPECT_EQ(qrt_getInumrows(read), ROWS);
  EXPECT_EQ(qrt_getInumcols(read), ROWS + 1);
  EXPECT_EQ(qrt_rowlower(read)[0], 3);
  std::remove(model.c_str());
  qrts_deleteStoch(stoch);
}

TEST_F(Benders, SubmodelsCanBeSeenWhileItRuns) {
  QRTStoch *stoch = load(demand(1, 3, NONE, NONE, {{1, 6}, {3, 2}, {2, 4}}));
  struct Look {
    QRTStoch *stoch;
    int models, rows;
  } look = {stoch, 0, 0};
  qrts_setCycleCallBack(stoch, [](const QRTSCycle *, void *data) {
    Look *l = static_cast<Look *>(data);
    l->models = qrts_getNsubmodels(l->stoch);
    QRTStoch **models = qrts_getSubmodels(l->stoch);
    l->rows = 0;
    for (int i = 0; models && i < l->models; ++i) l->rows += qrt_getInumrows(qrtse_getCurrentModel(models[i]));
    return 0;
  }, &look);
  EXPECT_EQ(qrts_bendersLSolve(stoch, 0), 0);
  EXPECT_EQ(qrts_getStatus(stoch), 0);
  EXPECT_EQ(look.models, 3);
  EXPECT_EQ(look.rows, 3);
  EXPECT_EQ(qrts_getNsubmodels(stoch), 0);
  qrts_deleteStoch(stoch);
}

TEST(CutArithmetic, TheDualFormHoldsFarOut) {
  // min 2y, y >= 3 - x at x = -1e15: value 2e15 + 6 has lost digits, the dual form has not.
  double zero = 0, none = NONE, three = 3, minus = -NONE;
  const BoundSet bounds = {&zero, &none, &three, &none};
  const double y = 2, d = 0;
  DualBound bound = dualBound(&bounds, 1, 1, &y, 1, &d, 1e-9);
  EXPECT_EQ(bound.value, 6);
  EXPECT_EQ(cutRightHandSide(bound, 2 * -1e15, 2e15 + 5.75, false), -6);
  // Disagreement beyond rounding: the weaker, which is valid whichever of the two is wrong.
  EXPECT_EQ(cutRightHandSide(bound, 2, 7, false), -5);
  EXPECT_EQ(cutRightHandSide(bound, 2, 9, false), -6);
  // A multiplier that wants an infinite bound: only the point can tell, unless it is rounding.
  const BoundSet open = {&minus, &none, &three, &none};
  const double slope = 0.5, noise = 1e-12;
  bound = dualBound(&open, 1, 1, &y, 1, &slope, 1e-9);
  EXPECT_TRUE(bound.needsInfinity);
  EXPECT_EQ(cutRightHandSide(bound, 2, 9, false), -7);
  EXPECT_FALSE(dualBound(&open, 1, 1, &y, 1, &noise, 1e-9).needsInfinity);
}

}  // namespace
