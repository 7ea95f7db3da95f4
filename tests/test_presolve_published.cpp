// Presolve, a solve, postsolve: published and planted programs at every kind and flag. Faults caught: an optimum that
// moves, a point that does not satisfy the original, a basis of the wrong size or one that the simplex has to mend.
#include <gtest/gtest.h>

#include <cmath>
#include <string>

#include "certificate_model.h"
#include "support/planted_lp.h"
#include "support/published_lp.h"

namespace {

// Kinds 0 to 3; duplicates, fill, kept bounds, duals, repair, relaxation in turn and together; one pass and many.
constexpr int TYPES[] = {0, 1, 2, 3, 4, 7, 11, 19, 35, 39, 47, 64, 67, 131, 255, 10003, 330047};

struct PresolveRoundTrip : ::testing::Test {
  static QRTContext *context;
  static void SetUpTestSuite() {
    context = qrt_initializeContext();
    qrt_messagesPrintOff(qrt_baseModel(context), 1, 6999);
    qrt_mset(qrt_baseModel(context), 7020, 30000, -1, 0, 0, 0);  // a program that presolve solves alone is no failure
  }
  static void TearDownTestSuite() { qrt_endContext(context); }
  int trips = 0, mended = 0, steps = 0;

  int presolve(QRTModel *q, int type) {
    const int result = qrt_preSolve(q, type, nullptr);
    return result == 999 && qrt_getInumrows(q) <= 1 ? 0 : result;
  }

  void roundTrip(QRTModel *q, double optimum, int type) {
    SCOPED_TRACE("type " + std::to_string(type));
    const int m = qrt_getInumrows(q), n = qrt_getInumcols(q);
    qrt_setIthreshold(q, 10);
    ASSERT_EQ(0, presolve(q, type));
    ASSERT_EQ(0, qrt_dualSimplex(q, 1));
    ASSERT_EQ(0, qrt_getIprobstat(q));
    const double tolerance = 1e-6 * (1 + std::fabs(optimum));
    EXPECT_NEAR(optimum, qrt_getRobjvalue(q), tolerance);
    ASSERT_EQ(0, qrt_postSolve(q, nullptr));
    ASSERT_EQ(m, qrt_getInumrows(q));
    ASSERT_EQ(n, qrt_getInumcols(q));
    EXPECT_NEAR(optimum, qrt_getRobjvalue(q), tolerance);
    EXPECT_EQ("", firstFault(certifyModel(q), 1e-6));
    EXPECT_EQ(m, qrt_getNumberBasicRows(q) + qrt_getNumberBasicColumns(q));
    const int before = qrt_getIiternum(q);
    ASSERT_EQ(0, qrt_primalSimplex(q, 1));
    ASSERT_EQ(0, qrt_getIprobstat(q));
    EXPECT_NEAR(optimum, qrt_getRobjvalue(q), tolerance);
    trips++, mended += qrt_getIiternum(q) > before, steps += qrt_getIiternum(q) - before;
  }
};
QRTContext *PresolveRoundTrip::context = nullptr;

TEST_F(PresolveRoundTrip, Planted) {
  for (unsigned seed = 1; seed <= 40 && !HasFailure(); seed++)
    for (const int type : TYPES) {
      SCOPED_TRACE("seed " + std::to_string(seed));
      const PlantedLp lp = plantedLp(seed, 30, 40, PLANT_ALL, 6);
      QRTModel *q = lp.load(context);
      roundTrip(q, lp.optimum, type);
      qrt_deleteModel(q);
      if (HasFailure()) break;
    }
  EXPECT_LE(mended, trips / 20) << "starts after postsolve that the simplex had to mend";
}

// A point without a basis, as an interior method leaves it: values and duals come back by formula, and a start with them.
TEST_F(PresolveRoundTrip, PointWithoutBasis) {
  for (unsigned seed = 1; seed <= 40 && !HasFailure(); seed++)
    for (const int type : {0, 3, 47}) {
      SCOPED_TRACE("seed " + std::to_string(seed) + " type " + std::to_string(type));
      const PlantedLp lp = plantedLp(seed, 30, 40, PLANT_ALL, 6);
      QRTModel *q = lp.load(context);
      ASSERT_EQ(0, presolve(q, type));
      qrt_primalSimplex(q, 1);
      ASSERT_EQ(0, qrt_getIprobstat(q));
      const int nowhere = 0;
      for (int i = 0; i < qrt_getInumrows(q); i++) qrt_setRowStatus(q, 1, &i, &nowhere);
      for (int j = 0; j < qrt_getInumcols(q); j++) qrt_setColumnStatus(q, 1, &j, &nowhere);
      ASSERT_EQ(0, qrt_postSolve(q, nullptr));
      EXPECT_EQ("", firstFault(certifyModel(q), 1e-6));
      EXPECT_NEAR(lp.optimum, qrt_getRobjvalue(q), 1e-6 * (1 + std::fabs(lp.optimum)));
      EXPECT_EQ(lp.rows(), qrt_getNumberBasicRows(q) + qrt_getNumberBasicColumns(q));
      ASSERT_EQ(0, qrt_primalSimplex(q, 1));
      EXPECT_NEAR(lp.optimum, qrt_getRobjvalue(q), 1e-6 * (1 + std::fabs(lp.optimum)));
      qrt_deleteModel(q);
    }
}

TEST_F(PresolveRoundTrip, Published) {
  const auto all = publishedLps();
  if (all.empty()) GTEST_SKIP() << "no published programs at hand";
  for (const PublishedLp &lp : all) {
    if (lp.infeasible || !lp.wanted(700)) continue;
    for (const int type : {0, 3, 39, 47}) {
      SCOPED_TRACE(lp.name);
      QRTModel *q = lp.read(context);
      roundTrip(q, lp.optimum, type);
      qrt_deleteModel(q);
    }
  }
  EXPECT_LE(mended, trips / 10) << "starts after postsolve that the simplex had to mend";
}

}  // namespace
