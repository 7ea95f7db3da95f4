// Faults these tests would catch: a model that waits for ever, an empty answer taken for a cut, a cut that forgets the cut
// rows below it, rays judged by the wrong cost or under inhomogeneous cuts, a solution gathered from models that answered
// different proposals, a kept list whose cuts are lost or used in the wrong sense.
#include <gtest/gtest.h>

#include <unistd.h>

#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <random>
#include <string>
#include <vector>

#include "decomp/scn_nested.h"
#include "support/hand_programs.h"

namespace {

using hand::demand, hand::Program;

constexpr unsigned SEEDS = 300, LONG_SEEDS = 6000;  // the second by TAVSTOCH_LONG_TESTS

struct Way {
  int strategy, value;
};

class Nested : public testing::Test {
 protected:
  void SetUp() override {
    context = qrts_initializeContext();
    ASSERT_NE(context, nullptr);
    qrt_messagesPrintOff(qrt_baseModel(context), 1, 6999);
    qrt_mset(qrt_baseModel(context), 7453, 256, -1, 0, 7454, 0);  // infeasible and unbounded ones come back
  }
  void TearDown() override { qrts_endContext(context); }

  // Every cut of the tree that differs from others.
  static std::vector<Way> ways(int stages) {
    std::vector<Way> all = {{2, 1}, {2, 2}, {2, 4}, {3, 2}, {3, 3}, {3, 100}};
    for (int cut = 2; cut <= stages; ++cut) all.push_back({1, cut});
    return all;
  }
  // Leaves a list of so many models on the object.
  static int cut(QRTStoch *stoch, Way way) {
    return way.strategy == 1   ? qrtse_decomposeCutAtStage(stoch, way.value)
           : way.strategy == 2 ? qrtse_decomposeCutByRowSize(stoch, way.value)
                               : qrtse_decomposeCutByNodeSize(stoch, way.value);
  }
  static int solve(QRTStoch *stoch, Way way) {
    if (way.strategy == 1) qrts_setCutPeriod(stoch, way.value);
    if (way.strategy == 2) qrts_setMinNumRows(stoch, way.value);
    if (way.strategy == 3) qrts_setMaxsubmodels(stoch, way.value);
    return qrtse_nestedLSolve(stoch, way.strategy, 0);
  }

  void expectCase(const hand::Case &known, QRTStoch *stoch, bool maximize) {
    const int status = qrts_getStatus(stoch);
    if (known.outcome != hand::OPTIMAL) {
      EXPECT_TRUE(known.outcome == hand::INFEASIBLE ? status == 1 : status == 4 || status == 8) << "status " << status;
      return;
    }
    const double optimum = maximize ? -known.optimum : known.optimum;
    EXPECT_EQ(status, 0);
    EXPECT_NEAR(qrts_getRobjvalue(stoch), optimum, 1e-7);
    double values[8], probabilities[8], mean, deviation;
    int numbers[8];
    if (known.program.colStage[0] == 1) {
      EXPECT_EQ(qrts_getNodeSolution(stoch, 1, 1, 0, values, numbers), 0);
      EXPECT_NEAR(values[0], known.x, 1e-7);
    }
    ASSERT_EQ(qrts_getScenarioDistribution(stoch, qrts_getNumScenarios(stoch), numbers, probabilities, values, &mean, &deviation), 0);
    EXPECT_NEAR(mean, optimum, 1e-7);
  }

  QRTContext *context = nullptr;
};

TEST_F(Nested, HardCasesByEveryCut) {
  for (const hand::Case &known : hand::cases())
    for (const Way way : ways(known.program.stages))
      for (const bool maximize : {false, true})
        for (const bool large : {false, true}) {
          SCOPED_TRACE(std::string(known.name) + ", strategy " + std::to_string(way.strategy) + " at " + std::to_string(way.value) +
                       (maximize ? ", maximised" : "") + (large ? ", large bounds" : ""));
          QRTStoch *stoch = hand::load(context, known.program, maximize);
          if (large) qrts_setLargeBoundsOn(stoch);
          if (cut(stoch, way) >= 2) {
            EXPECT_EQ(solve(stoch, way), 0);
            expectCase(known, stoch, maximize);
          }
          qrts_deleteStoch(stoch);
        }
}

// A program of two to five stages with rows and columns of every kind. Some rows can be bought off, so that about half of
// the programs have a solution.
Program randomProgram(unsigned seed) {
  std::mt19937 random(seed);
  const auto pick = [&](int low, int high) { return low + int(random() % unsigned(high - low + 1)); };
  Program p;
  p.stages = pick(2, 5);
  std::vector<int> sums;
  const auto addColumn = [&](int stage, double cost, double lower, double upper) {
    p.colStage.push_back(stage);
    p.objective.push_back(cost);
    p.colLower.push_back(lower);
    p.colUpper.push_back(upper);
    return int(p.colStage.size());
  };
  for (int s = 1; s <= p.stages; ++s) {
    for (int k = pick(s == 1 ? 1 : 0, 3); k > 0; --k) {
      const int kind = pick(0, 9);
      addColumn(s, pick(-2, 6), kind == 0 ? -hand::NONE : kind < 3 ? -2 : 0, kind == 0 || kind > 6 ? hand::NONE : pick(1, 9));
    }
    const int known = int(p.colStage.size());
    for (int k = pick(0, 3); k > 0; --k) {
      p.rowStage.push_back(s);
      const int row = int(p.rowStage.size()), kind = pick(0, 3), b = pick(-4, 6);
      for (int j = 1; j <= known; ++j)
        if (pick(0, 2) == 0) p.elements.push_back({row, j, double(pick(1, 3) * (pick(0, 2) ? 1 : -1))});
      p.rowLower.push_back(kind == 1 ? -hand::NONE : b);
      p.rowUpper.push_back(kind == 0 ? hand::NONE : kind == 3 ? b + pick(0, 4) : b);
      if (pick(0, 3) == 0) continue;
      for (double sign : {1.0, -1.0}) p.elements.push_back({row, addColumn(s, pick(4, 20), 0, hand::NONE), sign});
    }
  }
  std::vector<int> branch;
  for (int k = 1; k <= pick(1, 12); ++k) {
    const int ancestor = pick(0, k - 1), first = ancestor ? branch[size_t(ancestor) - 1] + 1 : 2;
    hand::Scenario s = {first > p.stages ? 0 : ancestor, first > p.stages ? 2 : pick(first, p.stages), double(pick(0, 6)), {}, {}, {}, {}};
    if (s.ancestor == 0) s.stage = 2;
    if (k == 1) s.weight = 1;
    branch.push_back(s.stage);
    for (size_t i = 0; i < p.rowStage.size(); ++i) {
      const double shift = p.rowStage[i] >= s.stage && pick(0, 1) ? pick(-3, 3) : 0;
      s.rowLower.push_back(p.rowLower[i] <= -hand::NONE ? 0 : shift);
      s.rowUpper.push_back(p.rowUpper[i] >= hand::NONE ? 0 : shift);
    }
    for (size_t j = 0; j < p.colStage.size(); ++j) {
      const bool own = p.colStage[j] >= s.stage;
      s.objective.push_back(own && pick(0, 3) == 0 ? pick(0, 2) : 0);
      s.colUpper.push_back(own && p.colUpper[j] < hand::NONE && pick(0, 3) == 0 ? pick(-1, 2) : 0);
    }
    // Elements change where there are some, within the stage and against those before.
    for (const hand::Entry &e : p.elements)
      if (p.rowStage[size_t(e.row) - 1] >= s.stage && pick(0, 9) == 0) s.elements.push_back({e.row, e.col, pick(0, 1) ? 1.0 : -e.value});
    p.scenarios.push_back(s);
  }
  return p;
}

TEST_F(Nested, RandomProgramsAgreeWithTheDirectSolve) {
  int outcomes[3] = {0, 0, 0};
  const unsigned seeds = std::getenv("TAVSTOCH_LONG_TESTS") ? LONG_SEEDS : SEEDS;
  for (unsigned seed = 1; seed <= seeds; ++seed) {
    const Program p = randomProgram(seed);
    const bool maximize = seed % 2;
    QRTStoch *direct = hand::load(context, p, maximize);
    qrts_eitherSimplex(direct);
    const int status = qrts_getStatus(direct);
    ASSERT_TRUE(status >= 0 && status <= 2) << "seed " << seed;
    ++outcomes[status];
    const double optimum = qrts_getRobjvalue(direct);
    qrts_deleteStoch(direct);
    for (const Way way : ways(p.stages)) {
      SCOPED_TRACE("seed " + std::to_string(seed) + ", strategy " + std::to_string(way.strategy) + " at " + std::to_string(way.value));
      QRTStoch *stoch = hand::load(context, p, maximize);
      qrts_setMaxiter(stoch, 2000);
      if (cut(stoch, way) < 2) {
        qrts_deleteStoch(stoch);
        continue;
      }
      EXPECT_EQ(solve(stoch, way), 0);
      const int found = qrts_getStatus(stoch);
      if (status == 0) {
        EXPECT_EQ(found, 0);
        EXPECT_NEAR(qrts_getRobjvalue(stoch), optimum, 1e-6 * (1 + std::fabs(optimum)));
      } else if (status == 1) {
        EXPECT_TRUE(found == 1 || found == 4 || found == 8) << found;  // a part without end may be met before one without solution
      } else {
        EXPECT_TRUE(found == 4 || found == 8) << found;
      }
      qrts_deleteStoch(stoch);
    }
  }
  for (int outcome : outcomes) EXPECT_GT(outcome, int(seeds) / 20);
}

// One master of 600 children, beyond the 500 that send a row each: sums of cuts must neither cut off the optimum nor stop
// short of it, also while some children have no solution, along a ray, and when the list is used again.
TEST_F(Nested, ManyChildrenSendTheirCutsInClusters) {
  std::mt19937 random(11);
  std::vector<std::pair<double, double>> demands;
  for (int k = 0; k < 600; ++k) demands.push_back({double(1 + random() % 3), double(random() % 500) / 10});
  Program ray = demand(-1, 3, hand::NONE, hand::NONE, demands);
  ray.elements = {{1, 1, -1}, {1, 2, 1}};  // x gains, y >= x + d pays
  for (const Program &p : {demand(1, 3, hand::NONE, hand::NONE, demands), demand(1, 3, 7, hand::NONE, demands), ray})
    for (const bool maximize : {false, true}) {
      QRTStoch *direct = hand::load(context, p, maximize);
      qrts_eitherSimplex(direct);
      ASSERT_EQ(qrts_getStatus(direct), 0);
      const double optimum = qrts_getRobjvalue(direct);
      qrts_deleteStoch(direct);
      QRTStoch *stoch = hand::load(context, p, maximize);
      ASSERT_EQ(qrtse_decomposeCutAtStage(stoch, 2), 600);
      for (int again = 0; again < 2; ++again) {
        EXPECT_EQ(qrtse_nestedLSolve(stoch, 1, 0), 0);
        EXPECT_EQ(qrts_getStatus(stoch), 0);
        EXPECT_NEAR(qrts_getRobjvalue(stoch), optimum, 1e-6 * (1 + std::fabs(optimum)));
      }
      QRTStoch *root = qrts_getSubmodels(stoch)[0];
      EXPECT_EQ(nestedModel_check(root), nullptr);
      EXPECT_LT(qrt_getInumrows(qrtse_getCurrentModel(root)), 2 * 600);
      const std::string file = testing::TempDir() + "clusters.state";
      qrts_setSaveState(stoch, file.c_str(), 1000);
      EXPECT_EQ(qrtse_nestedLSolve(stoch, 1, 0), 0);
      QRTStoch *second = hand::load(context, p, maximize);
      ASSERT_EQ(qrtse_decomposeCutAtStage(second, 2), 600);
      qrts_setResumeState(second, file.c_str());
      qrts_setMaxiter(second, 4);  // its cuts are all that is needed
      EXPECT_EQ(qrtse_nestedLSolve(second, 1, 0), 0);
      EXPECT_EQ(qrts_getStatus(second), 0);
      EXPECT_NEAR(qrts_getRobjvalue(second), optimum, 1e-6 * (1 + std::fabs(optimum)));
      std::remove(file.c_str());
      qrts_deleteStoch(second);
      qrts_deleteStoch(stoch);
    }
}

// Values and estimates that meet end nothing while a child has not bounded its column: its first bound of 0 may be why.
TEST_F(Nested, AColumnAtItsFirstBoundIsNoEstimate) {
  QRTStoch *stoch = hand::load(context, demand(1, 3, hand::NONE, hand::NONE, {{1, 4}, {1, 8}, {2, 6}}), false);
  ASSERT_GE(qrtse_decomposeCutAtStage(stoch, 2), 2);
  EXPECT_EQ(qrtse_nestedLSolve(stoch, 1, 0), 0);
  ASSERT_EQ(qrts_getStatus(stoch), 0);
  QRTStoch *root = qrts_getSubmodels(stoch)[0];
  NestedMaster *master = nestedOf(root)->masterPart;
  double gap = -1;
  qrtnested_Cchkslvs(root, nestedOf(root), &gap, 1e-6);
  EXPECT_EQ(master->convergence, 0);
  master->children[master->numChildren - 1].freed = 0;
  qrtnested_Cchkslvs(root, nestedOf(root), &gap, 1e-6);
  EXPECT_EQ(master->convergence, 2);
  qrts_deleteStoch(stoch);
}

TEST_F(Nested, AKeptListServesAgainInEitherSense) {
  const std::vector<hand::Case> cases = hand::cases();
  const hand::Case &known = cases[13];
  ASSERT_STREQ(known.name, "barred two stages below");
  QRTStoch *stoch = hand::load(context, known.program, false);
  ASSERT_EQ(qrtse_decomposeCutAtStage(stoch, 2), 2);
  int rows[3];
  for (int &r : rows) {
    EXPECT_EQ(qrtse_nestedLSolve(stoch, 1, 0), 0);
    expectCase(known, stoch, false);
    ASSERT_EQ(qrts_getNsubmodels(stoch), 2);
    QRTStoch *root = qrts_getSubmodels(stoch)[0];
    EXPECT_EQ(nestedModel_check(root), nullptr);
    r = qrt_getInumrows(qrtse_getCurrentModel(root));
  }
  EXPECT_EQ(rows[1], rows[0]);  // the cuts of the first run are all that the others need
  EXPECT_EQ(rows[2], rows[0]);
  // Maximised, everything goes to its bounds: x has none.
  qrts_setMaximize(stoch);
  EXPECT_EQ(qrtse_nestedLSolve(stoch, 1, 0), 0);
  EXPECT_EQ(qrts_getStatus(stoch), 4);
  qrts_setMinimize(stoch);
  EXPECT_EQ(qrtse_nestedLSolve(stoch, 1, 0), 0);
  expectCase(known, stoch, false);
  qrts_describeFullModel(stoch, 1);  // the list goes with the model it was cut from
  EXPECT_EQ(qrts_getNsubmodels(stoch), 0);
  qrts_deleteStoch(stoch);
}

// Options of a run that a run may overwrite: the gap shown, the algorithm, tasks that nobody can run.
TEST_F(Nested, WhatARunLeavesBehind) {
  QRTStoch *stoch = hand::load(context, demand(1, 3, hand::NONE, hand::NONE, {{1, 6}, {3, 2}, {2, 4}}), false);
  qrts_eitherSimplex(stoch);  // a status of 0 must not pass for a list with its models loaded
  const double optimum = qrts_getRobjvalue(stoch);
  qrtse_setParallelOn(stoch);
  for (int maxiter : {1, 2, 100, 100}) {
    qrts_setMaxiter(stoch, maxiter);
    EXPECT_EQ(qrtse_nestedLSolve(stoch, 3, 1), 0);
    EXPECT_EQ(qrts_getStatus(stoch), maxiter < 3 ? 2 : 0);
    EXPECT_LE(qrts_getNsubmodels(stoch), 0);
  }
  EXPECT_NEAR(qrts_getRobjvalue(stoch), optimum, 1e-9);
  EXPECT_EQ(stoch->alg, 1);
  EXPECT_EQ(stoch->ifParallel, 0);
  EXPECT_LT(qrts_getRelOptimalityGap(stoch), 1e-8);
  qrts_setFinalSimplexSolverOn(stoch);
  qrts_setMaxiter(stoch, 2);  // stopped at once: the final solve must find the optimum alone
  EXPECT_EQ(qrtse_nestedLSolve(stoch, 1, 0), 0);
  EXPECT_EQ(qrts_getStatus(stoch), 0);
  EXPECT_NEAR(qrts_getRobjvalue(stoch), optimum, 1e-9);
  qrts_deleteStoch(stoch);
}

TEST_F(Nested, OneModelOnlyAndNoCyclesGoToTheSimplex) {
  for (int maxiter : {0, 100}) {
    QRTStoch *stoch = hand::load(context, demand(2, 1, 3, hand::NONE, {{1, 4}}), false);  // y = 3, x = 1
    qrts_setMaxiter(stoch, maxiter);
    EXPECT_EQ(qrtse_nestedLSolve(stoch, 1, 0), 0);
    EXPECT_EQ(qrts_getStatus(stoch), 0);
    EXPECT_NEAR(qrts_getRobjvalue(stoch), 5, 1e-7);
    qrts_deleteStoch(stoch);
  }
}

TEST_F(Nested, CycleNewsBoundTheOptimumAndStopTheRun) {
  const std::vector<hand::Case> cases = hand::cases();
  for (size_t which : {size_t(12), size_t(13), size_t(15)})
    for (const bool maximize : {false, true})
      for (const int stopAt : {0, 2}) {
        const hand::Case &known = cases[which];
        QRTStoch *stoch = hand::load(context, known.program, maximize);
        struct Watch {
          double optimum;
          int stopAt, cycles;
        } watch = {maximize ? -known.optimum : known.optimum, stopAt, 0};
        qrts_setCycleCallBack(
            stoch,
            [](const QRTSCycle *news, void *data) {
              Watch *w = static_cast<Watch *>(data);
              EXPECT_EQ(news->cycle, ++w->cycles);
              EXPECT_LE(news->lower, w->optimum + 1e-7);
              EXPECT_GE(news->upper, w->optimum - 1e-7);
              return int(news->cycle == w->stopAt);
            },
            &watch);
        EXPECT_EQ(solve(stoch, {2, 1}), 0);
        EXPECT_EQ(qrts_getStatus(stoch), stopAt ? 2 : 0) << known.name;
        if (stopAt) {
          EXPECT_EQ(watch.cycles, stopAt);
        } else {
          expectCase(known, stoch, maximize);
        }
        qrts_deleteStoch(stoch);
      }
}

TEST_F(Nested, GatheredDualsAreThoseOfADirectSolve) {
  // x rests on its bound, no demand meets it: the duals are unique.
  const Program p = demand(1, 9, hand::NONE, 3, {{1, 6}, {3, 2.5}, {2, 2}});
  for (const bool maximize : {false, true}) {
    double dual[2][3], cost[2][3];
    int index[3];
    for (const bool direct : {false, true}) {
      QRTStoch *stoch = hand::load(context, p, maximize);
      direct ? qrts_eitherSimplex(stoch) : solve(stoch, {3, 100});
      ASSERT_EQ(qrts_getStatus(stoch), 0);
      for (int s = 1; s <= 3; ++s) {
        qrts_getNodeDualSolution(stoch, s, 2, 1, &dual[direct][s - 1], index);
        qrts_getNodeDualSolution(stoch, s, 2, 0, &cost[direct][s - 1], index);
      }
      qrts_deleteStoch(stoch);
    }
    for (int s = 0; s < 3; ++s) {
      EXPECT_NEAR(dual[0][s], dual[1][s], 1e-7) << s;
      EXPECT_NEAR(cost[0][s], cost[1][s], 1e-7) << s;
    }
  }
}

TEST_F(Nested, QuadraticTermsAreRefusedByBothMethods) {
  // x + E[y], y >= d - x, d 1 or 3, and q y * y on top.
  const int rowStages[] = {2}, colStages[] = {1, 2}, rows[] = {1, 1}, cols[] = {1, 2};
  const double ones[] = {1, 1}, lower[] = {1}, more[] = {2};
  for (const double q : {0.0, 4.0})
    for (const bool nested : {false, true}) {
      const double quadratic[] = {0, q};
      QRTStoch *stoch = qrts_newStoch(context, "quadratic", 5);
      qrts_setCoreProblemType(stoch, 2);
      ASSERT_EQ(qrts_createCore(stoch, 2, rowStages, colStages, 1, 2, 2, ones, lower, nullptr, nullptr, nullptr, rows, cols, ones, quadratic), 0);
      for (int k = 1; k <= 2; ++k)
        qrts_addScenario(stoch, k, 0, 2, 0.5, 0, 1, 2, 0, nullptr, k == 1 ? nullptr : more, nullptr, nullptr, nullptr, nullptr, nullptr, nullptr, 0);
      qrts_setFinalSimplexSolverOff(stoch);
      qrt_mset(qrtse_getBaseModel(stoch), 7070, 256, -1, 0, 0, 0);  // in the caller's hands
      const int code = nested ? qrtse_nestedLSolve(stoch, 1, 0) : qrts_bendersLSolve(stoch, 0);
      EXPECT_EQ(code, q == 0.0 ? 0 : 2);
      if (q == 0.0) {
        EXPECT_NEAR(qrts_getRobjvalue(stoch), 2, 1e-9);
      }
      qrts_deleteStoch(stoch);
    }
}

using NestedDeathTest = Nested;
TEST_F(NestedDeathTest, BadParametersAndUnlimitedSeverityEndTheProcess) {
  GTEST_FLAG_SET(death_test_style, "threadsafe");
  QRTStoch *stoch = hand::load(context, hand::cases()[3].program, false);
  // Texts go to stdout; a process that ends well says so by its code.
  EXPECT_EXIT(qrtse_nestedLSolve(stoch, 4, 0), testing::ExitedWithCode(0), "");
  EXPECT_EXIT(qrtse_nestedLSolve(stoch, 1, 2), testing::ExitedWithCode(0), "");
  EXPECT_EXIT(qrtse_nestedLSolve(stoch, 2, 0), testing::ExitedWithCode(0), "");  // no rows asked for
  EXPECT_EXIT(
      {
        qrt_mset(qrtse_getBaseModel(stoch), 7453, 1, -1, 0, 7454, 0);
        qrtse_nestedLSolve(stoch, 1, 0);
        _exit(9);
      },
      testing::ExitedWithCode(0), "");
  qrts_deleteStoch(stoch);
}

TEST_F(Nested, NodeDataBetweenModels) {
  // Root 1, nodes 2 and 3 of stage 2, leaves 4 to 7 below them; three columns at stage 1, two at 2, one at 3, a row each at
  // 2 and 3. The second model holds one node of stage 2 with its leaves, and the root as a virtual one.
  Program p;
  p.stages = 3;
  p.rowStage = {2, 3};
  p.colStage = {1, 1, 1, 2, 2, 3};
  p.objective.assign(6, 1);
  p.rowLower.assign(2, 0);
  p.rowUpper.assign(2, hand::NONE);
  p.colLower.assign(6, 0);
  p.colUpper.assign(6, hand::NONE);
  p.elements = {{1, 1, 1}, {1, 4, 1}, {2, 1, 1}, {2, 6, 1}};
  for (int k = 0; k < 4; ++k) p.scenarios.push_back({k % 2 ? k : 0, k % 2 ? 3 : 2, 1, {}, {}, {}, {}});
  QRTStoch *whole = hand::load(context, p, false);
  ASSERT_EQ(qrtse_decomposeCutAtStage(whole, 2), 2);
  QRTStoch *sub = qrts_getSubmodels(whole)[1];
  const int own = sub->nodeList[0];
  const int columns = whole->smodel->nCols, subColumns = sub->smodel->nCols;
  ASSERT_EQ(subColumns, 2 + 1 + 1 + 3);
  std::vector<double> from(static_cast<size_t>(columns)), into(size_t(subColumns), -1.0);
  for (int j = 0; j < columns; ++j) from[size_t(j)] = j;
  const auto copy = [&](QRTStoch *a, const void *x, const char *ka, QRTStoch *b, void *y, const char *kb, const std::vector<int> &list, int unit) {
    return qrts_Cndcp(a, x, ka, b, y, kb, int(list.size()), list.empty() ? nullptr : list.data(), unit, sizeof(double));
  };
  const int at = whole->smodel->nodeList->nodes[placeOfNode(whole->smodel, own) - 1].colOffset;
  // Between models: the virtual columns alone, then all.
  EXPECT_EQ(copy(whole, from.data(), "ALL", sub, into.data(), "VIRTUAL", {}, 1), 3);
  EXPECT_EQ(std::vector<double>(into.end() - 3, into.end()), (std::vector<double>{0, 1, 2}));
  EXPECT_EQ(into[0], -1);
  EXPECT_EQ(copy(whole, from.data(), "A", sub, into.data(), "A", {}, 1), subColumns);
  EXPECT_EQ(into[0], at);
  // Packed: with a list, nodes that do not pass keep their place.
  std::vector<double> packed(size_t(subColumns) + 3, -1.0);
  EXPECT_EQ(copy(sub, into.data(), "REAL", nullptr, packed.data(), nullptr, {1, own}, 1), 2);
  EXPECT_EQ(packed[2], -1);
  EXPECT_EQ(packed[3], at);
  EXPECT_EQ(copy(sub, into.data(), "V", nullptr, packed.data(), nullptr, {}, 1), 3);
  EXPECT_EQ(packed[2], 2);
  // Unpacked, and cleared; a virtual node has no rows; an unknown kind copies nothing.
  const std::vector<double> fresh = {7, 8, 9};
  EXPECT_EQ(copy(nullptr, fresh.data(), nullptr, sub, into.data(), "VIRTUAL", {1}, 1), 3);
  EXPECT_EQ(into[size_t(subColumns) - 1], 9);
  EXPECT_EQ(copy(nullptr, nullptr, nullptr, sub, into.data(), "VIRTUAL", {}, 1), 3);
  EXPECT_EQ(into[size_t(subColumns) - 1], 0);
  std::vector<double> rows(8, 5.0);
  EXPECT_EQ(copy(nullptr, nullptr, nullptr, sub, rows.data(), "ALL", {}, 0), 3);
  EXPECT_EQ(rows[3], 5);
  EXPECT_EQ(copy(nullptr, nullptr, nullptr, sub, into.data(), "none", {}, 1), 0);
  qrts_deleteStoch(whole);
}

}  // namespace
