// Solves of a model that was solved before. Faults they would catch: something kept from the last solve (factor, matrix,
// weights, work memory) that no longer belongs to the model, and a re-solve that costs as much as a solve.
#include <algorithm>
#include <cmath>
#include <cstdlib>
#include <iterator>
#include <random>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "certificate_model.h"
#include "qrt_c_api.h"
#include "support/planted_lp.h"
#include "support/published_lp.h"
#include "warm_changes.h"

namespace {

constexpr double INF = 1.0e31;

struct Warm : ::testing::Test {
  static QRTContext *context;
  static void SetUpTestSuite() {
    context = qrt_initializeContext();
    qrt_messagesPrintOff(qrt_baseModel(context), 1, 6999);
  }
  static void TearDownTestSuite() { qrt_endContext(context); }
};
QRTContext *Warm::context = nullptr;

struct Walk {
  std::mt19937 random;
  QRTModel *model;
  double between(double a, double b) { return std::uniform_real_distribution<double>(a, b)(random); }
  int whole(int most) { return int(random() % unsigned(most)); }
  int rows() const { return qrt_getInumrows(model); }
  int columns() const { return qrt_getInumcols(model); }

  std::vector<int> someOf(int count, double share) {
    std::vector<int> picked;
    for (int k = 0; k < count; k++)
      if (between(0, 1) < share) picked.push_back(k);
    return picked;
  }
  std::vector<double> values(size_t count) {
    std::vector<double> v(count);
    for (double &x : v) x = between(-2, 4);
    return v;
  }
  void start(QRTContext *context, int m, int n) {
    model = qrt_newModel(context, "walk");
    const std::vector<double> low(size_t(m), -INF), up(size_t(m), 20.0), none(size_t(n), 0.0), cost(size_t(n), -1.0);
    std::vector<double> most(size_t(n), 3.0);
    qrt_loadRimModel(model, m, low.data(), up.data(), n, cost.data(), none.data(), most.data());
    std::vector<int> begin{0}, row;
    for (int j = 0; j < n; j++) {
      for (int i : someOf(m, 0.3)) row.push_back(i);
      begin.push_back(int(row.size()));
    }
    const std::vector<double> element = values(row.size());
    qrt_addColumnElementBlock(model, n, row.data(), begin.data(), element.data());
  }
  void changeCosts() {
    double *c = qrt_getObjective(model);
    for (int j : someOf(columns(), 0.2)) c[j] = between(-3, 3);
    qrt_setObjective(model, c);
    qrt_free(c);
  }
  void changeBounds() {
    double *u = qrt_getColupper(model), *r = qrt_getRowupper(model);
    for (int j : someOf(columns(), 0.2)) u[j] = qrt_collower(model)[j] + whole(4);
    for (int i : someOf(rows(), 0.2)) r[i] = between(5, 25);
    qrt_setColupper(model, u);
    qrt_setRowupper(model, r);
    qrt_free(u), qrt_free(r);
  }
  void addRow() {
    const std::vector<int> column = someOf(columns(), 0.3);
    const std::vector<double> element = values(column.size());
    qrt_addOneRow(model, -INF, between(2, 15), int(column.size()), column.data(), element.data());
  }
  void addColumn() {
    const std::vector<int> row = someOf(rows(), 0.3);
    const std::vector<double> element = values(row.size());
    qrt_addOneColumn(model, 0.0, 2.0, between(-3, 1), int(row.size()), row.data(), element.data());
  }
  void removeSome() {
    const std::vector<int> row = someOf(rows(), 1.5 / rows()), column = someOf(columns(), 1.5 / columns());
    if (!row.empty() && int(row.size()) < rows()) qrt_deleteRows(model, int(row.size()), row.data());
    if (!column.empty() && int(column.size()) < columns()) qrt_deleteColumns(model, int(column.size()), column.data());
  }
  void replaceColumn() {
    const std::vector<int> row = someOf(rows(), 0.3);
    const std::vector<double> element = values(row.size());
    qrt_replaceColumn(model, whole(columns()), int(row.size()), row.data(), element.data());
  }
  // Another basis of the same size: what the caller says counts, not what the last solve left.
  void otherBasis() {
    std::vector<int> which(size_t(std::max(rows(), columns())));
    for (size_t k = 0; k < which.size(); k++) which[k] = int(k);
    const std::vector<int> basic(size_t(rows()), int(0x80000000u)), lower(size_t(columns()), 0x20000000);
    qrt_setRowStatus(model, rows(), which.data(), basic.data());
    qrt_setColumnStatus(model, columns(), which.data(), lower.data());
  }
  void change() {
    switch (whole(10)) {
      case 0: case 1: return changeCosts();
      case 2: case 3: return changeBounds();
      case 4: return addRow();
      case 5: return addColumn();
      case 6: return removeSome();
      case 7: return replaceColumn();
      case 8: return otherBasis();
      default: qrt_setMaximize(model), changeCosts(), qrt_setMinimize(model); return;
    }
  }
};

using Solver = int (*)(QRTModel *, int);
const Solver solvers[] = {qrt_dualSimplex, qrt_primalSimplex, qrt_eitherSimplex};

// After every step of a random walk the model solved warm agrees with a copy that has never been solved.
TEST_F(Warm, EachStepOfAWalkAgreesWithAFreshModel) {
  int optimal = 0;
  for (unsigned seed = 0; seed < 60; seed++) {
    Walk walk{std::mt19937(seed), nullptr};
    walk.start(context, 5 + int(seed % 40), 8 + int(seed % 30));
    // A wide scatter of elements makes the solver scale; another time the owner does.
    if (seed % 3 == 1) {
      const int big[] = {0, 1};
      const double far[] = {1.0e5, 1.0e-4};
      qrt_addOneColumn(walk.model, 0.0, 1.0e-3, -1.0, 2, big, far);
    }
    for (int step = 0; step < 25; step++) {
      if (seed % 5 == 4 && step == 10) qrt_scale(walk.model);
      QRTModel *fresh = qrt_newModel(context, "fresh");
      qrt_copyModel(fresh, walk.model);
      Walk copy{std::mt19937(1), fresh};
      copy.otherBasis();
      SCOPED_TRACE("seed " + std::to_string(seed) + " step " + std::to_string(step));
      ASSERT_EQ(0, solvers[walk.whole(3)](walk.model, 1));
      ASSERT_EQ(0, qrt_primalSimplex(fresh, 1));
      ASSERT_EQ(qrt_getIprobstat(fresh), qrt_getIprobstat(walk.model));
      ASSERT_EQ("", firstFault(certifyModel(walk.model), 1e-6));
      if (qrt_getIprobstat(fresh) == 0) {
        const double z = qrt_getRobjvalue(fresh);
        ASSERT_NEAR(z, qrt_getRobjvalue(walk.model), 1e-6 * (1.0 + std::fabs(z)));
        optimal++;
      }
      qrt_deleteModel(fresh);
      walk.change();
    }
    qrt_deleteModel(walk.model);
  }
  EXPECT_GT(optimal, 1000);
}

// A repeated dual: every re-solve starts from the basis saved, with an allowance of its own, and agrees with a plain solve.
TEST_F(Warm, RepeatedDual) {
  Walk walk{std::mt19937(8), nullptr};
  walk.start(context, 40, 60);
  QRTModel *q = walk.model;
  ASSERT_EQ(0, qrt_primalSimplex(q, 1));
  const double first = qrt_getRobjvalue(q);
  const int limit = qrt_getImaxiter(q), before = qrt_getIiternum(q), m = walk.rows(), n = walk.columns();
  double *upper = const_cast<double *>(qrt_colupper(q));
  const double *x = qrt_colsol(q), *y = qrt_rowduals(q), *d = qrt_colrcosts(q);
  ASSERT_EQ(0, qrt_startFastDualSimplex(q, 500));
  EXPECT_EQ(0, qrt_getIprobstat(q));
  EXPECT_EQ(before, qrt_getIiternum(q));
  int moved = 0, known = 0;
  for (int j = 0; j < n; j++) {
    const double value = x[j], old = upper[j];
    if (value < 0.1) continue;
    upper[j] = 0.5 * value;
    ASSERT_EQ(0, qrt_fastDualSimplex(q)) << j;
    ASSERT_EQ(0, qrt_getIprobstat(q)) << j;
    EXPECT_EQ(before, qrt_getIiternum(q));
    const double z = qrt_getRobjvalue(q);
    EXPECT_GE(z, first - 1e-9);
    moved += z > first + 1e-6;
    // The duals stand in the caller's sign: with the reduced costs they give the value of the dual problem.
    double dual = 0.0;
    for (int i = 0; i < m; i++) dual += y[i] * 20.0;
    for (int k = 0; k < n; k++) dual += d[k] < 0.0 ? d[k] * upper[k] : 0.0;
    EXPECT_NEAR(z, dual, 1e-7 * (1.0 + std::fabs(z))) << j;
    upper[j] = old;
    ASSERT_EQ(0, qrt_fastDualSimplex(q));
    EXPECT_NEAR(first, qrt_getRobjvalue(q), 1e-9 * (1.0 + std::fabs(first)));
    known++;
  }
  EXPECT_GT(known, 5);
  EXPECT_GT(moved, 5);
  ASSERT_EQ(0, qrt_stopFastDualSimplex(q));
  EXPECT_EQ(limit, qrt_getImaxiter(q));
  EXPECT_EQ("", firstFault(certifyModel(q), 1e-7));

  // No allowance: the change that needs iterations is found to need them.
  ASSERT_EQ(0, qrt_startFastDualSimplex(q, 0));
  for (int j = 0; j < n; j++)
    if (x[j] > 0.1) upper[j] = 0.5 * x[j];
  ASSERT_EQ(0, qrt_fastDualSimplex(q));
  EXPECT_EQ(3, qrt_getIprobstat(q));
  ASSERT_EQ(0, qrt_stopFastDualSimplex(q));
  ASSERT_EQ(0, qrt_dualSimplex(q, 1));
  EXPECT_EQ(0, qrt_getIprobstat(q));
  EXPECT_EQ("", firstFault(certifyModel(q), 1e-7));
  qrt_deleteModel(q);
}

// What is not allowed between start and stop is refused, and so are the others without a start; the model survives both.
TEST_F(Warm, RepeatedDualRefusesOtherCalls) {
  Walk walk{std::mt19937(9), nullptr};
  walk.start(context, 20, 30);
  QRTModel *q = walk.model;
  qrt_mset(q, 7029, 256, -1, 0, 0, 0);
  EXPECT_NE(0, qrt_fastDualSimplex(q));
  EXPECT_NE(0, qrt_stopFastDualSimplex(q));
  ASSERT_EQ(0, qrt_startFastDualSimplex(q, 10));
  const int limit = qrt_getImaxiter(q);
  EXPECT_EQ(10, limit);
  qrt_primalSimplex(q, 1);
  EXPECT_NE(0, qrt_fastDualSimplex(q)) << "the refused call has ended the repeated dual";
  ASSERT_EQ(0, qrt_primalSimplex(q, 1));
  EXPECT_EQ(0, qrt_getIprobstat(q));
  EXPECT_EQ("", firstFault(certifyModel(q), 1e-7));
  qrt_deleteModel(q);
}

// A solve inside a call-back of another solve has its own memory, and both end as if alone.
QRTModel *inner = nullptr;
int innerSolves = 0;
int solveWithin(QRTModel *, int status, int) {
  if (innerSolves < 3) {
    innerSolves++;
    EXPECT_EQ(0, qrt_dualSimplex(inner, 1));
    EXPECT_EQ(0, qrt_getIprobstat(inner));
  }
  return status;
}
TEST_F(Warm, ASolveWithinACallBackKeepsItsOwnMemory) {
  Walk outer{std::mt19937(3), nullptr}, within{std::mt19937(4), nullptr}, alone{std::mt19937(3), nullptr};
  outer.start(context, 30, 60), within.start(context, 40, 50), alone.start(context, 30, 60);
  inner = within.model;
  qrt_setIiterufreq(outer.model, 2);
  qrt_registerItruCallBack(outer.model, solveWithin);
  ASSERT_EQ(0, qrt_primalSimplex(outer.model, 1));
  ASSERT_EQ(0, qrt_primalSimplex(alone.model, 1));
  EXPECT_EQ(3, innerSolves);
  EXPECT_EQ(qrt_getRobjvalue(alone.model), qrt_getRobjvalue(outer.model));
  EXPECT_EQ("", firstFault(certifyModel(outer.model), 1e-7));
  for (QRTModel *model : {outer.model, within.model, alone.model}) qrt_deleteModel(model);
}

// The primal goes on with the weights it left: without them (the memory given back between two solves) the same re-solves
// take more iterations. Faults: weights that are not found again, of the wrong variables, or without their framework.
TEST_F(Warm, ThePrimalsWeightsStay) {
  int kept = 0, forgotten = 0;
  for (unsigned seed = 1; seed <= 12; seed++) {
    const PlantedLp problem = plantedLp(seed, 150, 320, PLANT_DUPLICATE_COLUMNS, 4);
    QRTModel *with = problem.load(context), *without = problem.load(context);
    for (QRTModel *q : {with, without}) {
      std::mt19937 random(seed);
      std::uniform_real_distribution<double> between(-1, 1);
      ASSERT_EQ(0, qrt_primalSimplex(q, 1));
      const int before = qrt_getIiternum(q);
      for (int round = 0; round < 6; round++) {
        double *c = qrt_getObjective(q);
        for (int j = 0; j < problem.columns(); j++)
          if (between(random) > 0.8) c[j] += between(random);
        qrt_setObjective(q, c);
        qrt_free(c);
        if (q == without) qrt_eraseFactor(q);
        ASSERT_EQ(0, qrt_primalSimplex(q, 1));
        if (qrt_getIprobstat(q) != 0) break;
        EXPECT_EQ("", firstFault(certifyModel(q), 1e-7));
      }
      (q == with ? kept : forgotten) += qrt_getIiternum(q) - before;
    }
    EXPECT_EQ(qrt_getIprobstat(without), qrt_getIprobstat(with));
    qrt_deleteModel(with), qrt_deleteModel(without);
  }
  EXPECT_LT(kept, 0.95 * forgotten) << kept << " against " << forgotten;
}

// Published models after small changes: a re-solve takes less than a fifth of the iterations of a cold solve in the median of
// each kind of change, both come to the same outcome, and the certificate bears it out.
TEST_F(Warm, SmallChangesCostFewIterations) {
  const char *const few[] = {"adlittle", "israel", "lotfi", "stair", "sctap2"};
  const char *const many[] = {"25fv47", "agg", "bandm", "beaconfd", "bnl1", "brandy", "capri", "czprob", "degen2", "finnis", "fit1d", "scfxm1", "scfxm2", "ship04l", "stocfor2"};
  std::vector<std::string> names(std::begin(few), std::end(few));
  if (std::getenv("TAVSTOCH_LONG_TESTS")) names.insert(names.end(), std::begin(many), std::end(many));
  std::vector<double> share[WARM_CHANGES];
  for (const PublishedLp &lp : publishedLps()) {
    if (std::find(names.begin(), names.end(), lp.name) == names.end()) continue;
    for (int change = 0; change < WARM_CHANGES; change++) {
      SCOPED_TRACE(lp.name + ", " + warmChangeName(change));
      QRTModel *model = lp.read(context);
      ASSERT_EQ(0, qrt_dualSimplex(model, 1));
      applyWarmChange(model, change, 1);
      int before = qrt_getIiternum(model);
      ASSERT_EQ(0, solveAfterChange(model, change));
      const int warm = qrt_getIiternum(model) - before, status = qrt_getIprobstat(model);
      ASSERT_LE(status, 1);
      EXPECT_EQ("", firstFault(certifyModel(model), 1e-6));
      const double value = qrt_getRobjvalue(model);
      forgetBasis(model);
      before = qrt_getIiternum(model);
      ASSERT_EQ(0, solveAfterChange(model, change));
      const int cold = qrt_getIiternum(model) - before;
      EXPECT_EQ(qrt_getIprobstat(model), status);
      if (status == 0) { EXPECT_NEAR(qrt_getRobjvalue(model), value, 1e-6 * std::fmax(1.0, std::fabs(value))); }
      share[change].push_back(double(warm) / std::max(cold, 1));
      qrt_deleteModel(model);
    }
  }
  if (share[0].empty()) GTEST_SKIP() << "no published models here";
  for (int change = 0; change < WARM_CHANGES; change++) {
    std::sort(share[change].begin(), share[change].end());
    EXPECT_LT(share[change][share[change].size() / 2], 0.2) << warmChangeName(change);
  }
}

}  // namespace
