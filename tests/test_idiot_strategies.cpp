// The strategies of the meta driver that begin with the idiot crash, with the options that go with them. Faults caught: a
// wrong end, a model that does not come back whole, a crash on a model with nothing in it, an option that does nothing.
#include <gtest/gtest.h>

#include <cmath>
#include <string>
#include <vector>

#include "certificate_model.h"
#include "prep/meta_driver.h"
#include "support/planted_lp.h"
#include "support/published_lp.h"

namespace {

constexpr double INF = 1.0e31;
constexpr int DUAL_FIRST = 128, NO_PRESOLVE = 256, PRESOLVED_SETS = 512;

struct IdiotStrategies : ::testing::Test {
  static QRTContext *context;
  static void SetUpTestSuite() {
    context = qrt_initializeContext();
    qrt_messagesPrintOff(qrt_baseModel(context), 1, 9999);
    for (const int number : {7020, 9016}) qrt_mset(qrt_baseModel(context), number, 30000, -1, 0, 0, 0);
  }
  static void TearDownTestSuite() { qrt_endContext(context); }

  static QRTModel *make(std::vector<double> rl, std::vector<double> ru, std::vector<double> cost, std::vector<double> l, std::vector<double> u,
                        std::vector<int> start, std::vector<int> row, std::vector<double> value) {
    QRTModel *q = qrt_newModel(context, "odd");
    qrt_loadRimModel(q, int(rl.size()), rl.data(), ru.data(), int(cost.size()), cost.data(), l.data(), u.data());
    if (!row.empty()) qrt_addColumnElementBlock(q, int(cost.size()), row.data(), start.data(), value.data());
    return q;
  }
};
QRTContext *IdiotStrategies::context = nullptr;

TEST_F(IdiotStrategies, PlantedProgramsWithEveryOption) {
  for (unsigned seed = 1; seed <= 6; seed++)
    for (int strategy = 3; strategy <= 9; strategy++)
      for (const int options : {0, DUAL_FIRST, PRESOLVED_SETS, DUAL_FIRST + PRESOLVED_SETS, NO_PRESOLVE, NO_PRESOLVE + DUAL_FIRST, NO_PRESOLVE + PRESOLVED_SETS}) {
        SCOPED_TRACE("seed " + std::to_string(seed) + " options " + std::to_string(strategy + options));
        const PlantedLp lp = plantedLp(seed, 20, 30, PLANT_ALL, 3);
        QRTModel *q = lp.load(context);
        ASSERT_LT(qrt_simplex(q, strategy + options), 2);
        ASSERT_EQ(0, qrt_getIprobstat(q));
        EXPECT_EQ("", firstFault(certifyModel(q), 1e-6));
        EXPECT_NEAR(lp.optimum, qrt_getRobjvalue(q), 1e-6 * (1 + std::fabs(lp.optimum)));
        EXPECT_EQ(lp.rows(), qrt_getInumrows(q));
        qrt_deleteModel(q);
        if (HasFailure()) return;
      }
}

// The multipliers of the dual are an optimal point: of every kind of row and bound, of either sense, scaled or not.
TEST_F(IdiotStrategies, DualGivesAnOptimalPoint) {
  for (unsigned seed = 1; seed <= 20; seed++)
    for (const bool scaled : {false, true}) {
      SCOPED_TRACE("seed " + std::to_string(seed));
      const PlantedLp lp = plantedLp(seed, 20, 30, PLANT_ALL, 3);
      QRTModel *q = lp.load(context);
      if (seed % 2) {
        std::vector<double> cost(qrt_objective(q), qrt_objective(q) + lp.columns());
        for (double &c : cost) c = -c;
        qrt_copyObjective(q, cost.data(), 0, lp.columns());
        qrt_setMaximize(q);
      }
      if (scaled) qrt_scale(q);
      ASSERT_TRUE(startFromDual(q));
      double value = -qrt_getRobjectiveOffset(q);
      for (int j = 0; j < lp.columns(); j++) value += qrt_objective(q)[j] * qrt_colsol(q)[j];
      EXPECT_NEAR(lp.optimum, seed % 2 ? -value : value, 1e-6 * (1 + std::fabs(lp.optimum)));
      qrt_deleteModel(q);
    }
}

TEST_F(IdiotStrategies, OddModels) {
  for (int strategy = 3; strategy <= 9; strategy++)
    for (const int options : {0, DUAL_FIRST, PRESOLVED_SETS + NO_PRESOLVE, DUAL_FIRST + NO_PRESOLVE}) {
      SCOPED_TRACE(strategy + options);
      auto expect = [&](QRTModel *q, int status, double value) {
        qrt_simplex(q, strategy + options);
        EXPECT_EQ(status, qrt_getIprobstat(q));
        EXPECT_NEAR(value, status == 0 ? qrt_getRobjvalue(q) : value, 1e-7);
        qrt_deleteModel(q);
      };
      expect(make({}, {}, {1, -1}, {2, 0}, {9, 3}, {0, 0, 0}, {}, {}), 0, -1);                               // no rows
      expect(make({-1, 0}, {1, 2}, {1}, {1}, {4}, {0, 0}, {}, {}), 0, 1);                                    // no elements
      expect(make({1, 2}, {1, 2}, {1, 3}, {-INF, -INF}, {INF, INF}, {0, 2, 3}, {0, 1, 1}, {1, 1, 1}), 0, 4);  // all free
      expect(make({0}, {9}, {1, 1}, {1, 2}, {1, 2}, {0, 1, 2}, {0, 0}, {1, 1}), 0, 3);                       // all fixed
      expect(make({0}, {1}, {1, 1}, {1, 2}, {1, 2}, {0, 1, 2}, {0, 0}, {1, 1}), 1, 0);                       // and so infeasible
      expect(make({1}, {INF}, {1e20, 1}, {0, 0}, {INF, INF}, {0, 1, 2}, {0, 0}, {1, 1}), 0, 1);              // a cost beyond measure
      expect(make({0}, {0}, {-1, 0}, {0, 0}, {INF, INF}, {0, 1, 2}, {0, 0}, {1, -1}), 2, 0);                 // unbounded
    }
}

TEST_F(IdiotStrategies, Published) {
  const auto all = publishedLps();
  if (all.empty()) GTEST_SKIP() << "no published programs at hand";
  int solved = 0;
  for (const PublishedLp &lp : all) {
    if (lp.infeasible || !lp.wanted(400)) continue;
    const int strategy = 3 + solved % 7, options = solved % 3 == 1 ? DUAL_FIRST : solved % 3 == 2 ? PRESOLVED_SETS + NO_PRESOLVE : 0;
    SCOPED_TRACE(lp.name + " options " + std::to_string(strategy + options));
    QRTModel *q = lp.read(context);
    ASSERT_LT(qrt_simplex(q, strategy + options), 2);
    EXPECT_EQ(0, qrt_getIprobstat(q));
    EXPECT_NEAR(lp.optimum, qrt_getRobjvalue(q), 1e-6 * (1 + std::fabs(lp.optimum)));
    EXPECT_EQ("", firstFault(certifyModel(q), 1e-6));
    qrt_deleteModel(q);
    solved++;
  }
  EXPECT_GE(solved, 20);
}

}  // namespace
