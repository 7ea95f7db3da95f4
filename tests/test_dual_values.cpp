// The dual values pass: mode 3 of the dual, from row duals in the model. Faults it would catch: duals that are not looked at,
// or with the sign of the other side of the seam; a row left with a reduced cost; costs that stay shifted; a pass that loses
// its place when it has to factorise, or its limit.
#include <cmath>
#include <random>
#include <vector>

#include <gtest/gtest.h>

#include "certificate_model.h"
#include "qrt_c_api.h"
#include "support/planted_lp.h"
#include "support/quiet_models.h"

namespace {

int dualPasses;
int countPasses(QRTModel *, int status, int code) {
  dualPasses += code == 4;
  return status;
}

struct DualValues : QuietModels<unsigned> {
  PlantedLp problem;
  std::vector<double> y;   // optimal row duals
  int cold = 0;            // iterations of the dual from the slack basis

  QRTModel *load() { return keep(problem.load(context)); }
  void SetUp() override {
    problem = plantedLp(GetParam(), 120, 220, PLANT_DUPLICATE_COLUMNS | PLANT_FREE_COLUMNS | PLANT_SLACKS, 6);
    QRTModel *q = load();
    qrt_dualSimplex(q, 1);
    cold = qrt_getIiternum(q);
    y.assign(qrt_rowduals(q), qrt_rowduals(q) + problem.rows());
  }
  void expectOptimal(QRTModel *q) {
    EXPECT_EQ(0, qrt_getIprobstat(q));
    EXPECT_NEAR(problem.optimum, qrt_getRobjvalue(q), 1e-7 * (1.0 + std::fabs(problem.optimum)));
    EXPECT_EQ("", firstFault(certifyModel(q), 1e-7));
    EXPECT_EQ(problem.rows(), qrt_getNumberBasicRows(q) + qrt_getNumberBasicColumns(q));
    for (int j = 0; j < problem.columns(); j++) EXPECT_EQ(problem.cost[size_t(j)], qrt_objective(q)[j]);
  }
};

TEST_P(DualValues, OptimalDualsSaveWork) {
  QRTModel *q = load();
  qrt_copyRowduals(q, y.data(), 0, problem.rows());
  qrt_registerItruCallBack(q, countPasses);
  dualPasses = 0;
  ASSERT_EQ(0, qrt_dualSimplex(q, 3));
  expectOptimal(q);
  EXPECT_GE(dualPasses, 1);
  EXPECT_LT(qrt_getIiternum(q), cold) << "no use was made of the duals";
  // With the other sign they are of no help, if they were taken as they are.
  for (double &value : y) value = -value;
  QRTModel *turned = load();
  qrt_copyRowduals(turned, y.data(), 0, problem.rows());
  ASSERT_EQ(0, qrt_dualSimplex(turned, 3));
  expectOptimal(turned);
  EXPECT_LT(qrt_getIiternum(q), qrt_getIiternum(turned));
}

TEST_P(DualValues, AnyDualsEndInTheOptimum) {
  std::mt19937 random(GetParam());
  std::normal_distribution<double> noise;
  for (const double size : {1e-6, 0.1, 100.0}) {
    QRTModel *q = load();
    std::vector<double> given = y;
    for (double &value : given) value += size * noise(random);
    qrt_copyRowduals(q, given.data(), 0, problem.rows());
    if (size == 0.1) qrt_setImaxfactor(q, 3);
    ASSERT_EQ(0, qrt_dualSimplex(q, 3));
    expectOptimal(q);
  }
}

TEST_P(DualValues, LimitStopsThePassAndARunGoesOn) {
  QRTModel *q = load();
  qrt_copyRowduals(q, y.data(), 0, problem.rows());
  qrt_setImaxiter(q, 0);
  ASSERT_EQ(0, qrt_dualSimplex(q, 3));
  EXPECT_EQ(3, qrt_getIprobstat(q));
  EXPECT_EQ(0, qrt_getIiternum(q));
  qrt_copyRowduals(q, y.data(), 0, problem.rows());
  qrt_setImaxiter(q, 7);
  ASSERT_EQ(0, qrt_dualSimplex(q, 3));
  EXPECT_EQ(3, qrt_getIprobstat(q));
  EXPECT_EQ(7, qrt_getIiternum(q));
  qrt_setImaxiter(q, 99999999);
  ASSERT_EQ(0, qrt_dualSimplex(q, 0));
  expectOptimal(q);
  // The optimal basis with its own duals has nothing to settle.
  const int before = qrt_getIiternum(q);
  ASSERT_EQ(0, qrt_dualSimplex(q, 3));
  expectOptimal(q);
  EXPECT_EQ(before, qrt_getIiternum(q));
}

INSTANTIATE_TEST_SUITE_P(Seeds, DualValues, ::testing::Values(1u, 2u, 3u, 4u));

}  // namespace
