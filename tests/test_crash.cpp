// Crash bases: legal, triangular, and worth their while.
#include <cmath>
#include <cstdlib>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "certificate_model.h"
#include "support/published_lp.h"

namespace {

struct Crash : ::testing::Test {
  static QRTContext *context;
  static void SetUpTestSuite() {
    context = qrt_initializeContext();
    qrt_messagesPrintOff(qrt_baseModel(context), 1, 9000);
  }
  static void TearDownTestSuite() { qrt_endContext(context); }
};
QRTContext *Crash::context = nullptr;

// Peels columns that have one element in the rows left: a triangular basis comes apart to nothing.
std::string faultOfBasis(QRTModel *q) {
  const int m = qrt_getInumrows(q), n = qrt_getInumcols(q);
  std::vector<char> rowLeft(size_t(m), 1);
  int basics = 0;
  for (int i = 0; i < m; i++)
    if (qrt_rowStatus(q, i) == 0) {
      rowLeft[size_t(i)] = 0;
      basics++;
    }
  const ModelMatrix a = collectMatrix(q);
  std::vector<std::vector<int>> columnsOf(static_cast<size_t>(m));
  std::vector<int> left(size_t(n), 0), ready;
  for (int j = 0; j < n; j++) {
    if (qrt_columnStatus(q, j) != 0) continue;
    basics++;
    for (int e = a.start[size_t(j)]; e < a.start[size_t(j) + 1]; e++)
      if (rowLeft[size_t(a.row[size_t(e)])]) {
        left[size_t(j)]++;
        columnsOf[size_t(a.row[size_t(e)])].push_back(j);
      }
    if (left[size_t(j)] == 1) ready.push_back(j);
  }
  if (basics != m) return "the basis has " + std::to_string(basics) + " members for " + std::to_string(m) + " rows";
  while (!ready.empty()) {
    const int j = ready.back();
    ready.pop_back();
    for (int e = a.start[size_t(j)]; e < a.start[size_t(j) + 1]; e++) {
      const int i = a.row[size_t(e)];
      if (!rowLeft[size_t(i)]) continue;
      rowLeft[size_t(i)] = 0;
      for (int k : columnsOf[size_t(i)])
        if (--left[size_t(k)] == 1) ready.push_back(k);
    }
  }
  for (int i = 0; i < m; i++)
    if (rowLeft[size_t(i)]) return "row " + std::to_string(i) + " has no column of its own";
  std::vector<double> activity(static_cast<size_t>(m));
  for (int j = 0; j < n; j++) {
    const double x = qrt_colsol(q)[j], slack = 1e-9 * (1 + std::fabs(x));
    if (x < qrt_collower(q)[j] - slack || x > qrt_colupper(q)[j] + slack) return "column " + std::to_string(j) + " is out of bounds";
    for (int e = a.start[size_t(j)]; e < a.start[size_t(j) + 1]; e++)
      activity[size_t(a.row[size_t(e)])] += a.element[size_t(e)] * x;
  }
  for (int i = 0; i < m; i++) {
    const double r = qrt_rowacts(q)[i];
    if (std::fabs(r - activity[size_t(i)]) > 1e-6 * (1 + std::fabs(r))) return "row " + std::to_string(i) + " has another activity";
    if (qrt_rowStatus(q, i) != 0 && r != qrt_rowlower(q)[i] && r != qrt_rowupper(q)[i])
      return "row " + std::to_string(i) + " is nonbasic between its bounds";
  }
  return "";
}

// Fault: a singular or oversized basis, changed bounds, values outside them, activities that are not those of the
// values, a solve that goes wrong from there; and on the whole, a crash that costs iterations instead of saving them.
TEST_F(Crash, BasesOfPublishedModelsAreSoundAndSaveIterations) {
  const std::vector<PublishedLp> models = publishedLps();
  if (models.empty()) GTEST_SKIP() << "no published models";
  double saved[5] = {};
  int count = 0;
  for (const PublishedLp &p : models) {
    if (!p.wanted(900)) continue;
    QRTModel *cold = p.read(context);
    ASSERT_EQ(0, qrt_primalSimplex(cold, 1));
    count += !p.infeasible;
    for (int type = 1; type <= 4; type++) {
      SCOPED_TRACE(p.name + " type " + std::to_string(type));
      QRTModel *q = p.read(context);
      const int m = qrt_getInumrows(q), n = qrt_getInumcols(q);
      if (type % 2 == 0) qrt_scale(q);
      ASSERT_EQ(0, qrt_crash(q, type));
      ASSERT_EQ("", faultOfBasis(q));
      for (int i = 0; i < m; i++) ASSERT_TRUE(qrt_rowlower(q)[i] == qrt_rowlower(cold)[i] && qrt_rowupper(q)[i] == qrt_rowupper(cold)[i]);
      for (int j = 0; j < n; j++) {
        ASSERT_TRUE(qrt_collower(q)[j] == qrt_collower(cold)[j] && qrt_colupper(q)[j] == qrt_colupper(cold)[j]);
        if (type % 2 == 0 && qrt_columnStatus(q, j) == 0) { ASSERT_EQ(0.0, qrt_objective(q)[j]); }
      }
      ASSERT_EQ(0, qrt_primalSimplex(q, type >= 3 ? 0 : 1));
      ASSERT_EQ(qrt_getIprobstat(cold), qrt_getIprobstat(q));
      EXPECT_EQ("", firstFault(certifyModel(q), 1e-6));
      if (!p.infeasible) {
        EXPECT_NEAR(p.optimum, qrt_getRobjvalue(q), 1e-6 * std::fmax(1.0, std::fabs(p.optimum)));
        if (type % 2) saved[type] += std::log((qrt_getIiternum(q) + 1.0) / (qrt_getIiternum(cold) + 1.0));
        if (std::getenv("TAVSTOCH_SHOW")) printf("%-10s type %d: %6d iterations, %6d cold\n", p.name.c_str(), type, qrt_getIiternum(q), qrt_getIiternum(cold));
      }
      qrt_deleteModel(q);
    }
    qrt_deleteModel(cold);
  }
  for (int type : {1, 3}) {
    printf("type %d: iterations %.2f times those from all slacks in the geometric mean of %d models\n", type, std::exp(saved[type] / count), count);
    EXPECT_LT(saved[type], 0.0) << "type " << type;
  }
}

struct SmallCrash : Crash {
  QRTModel *q = nullptr;
  void TearDown() override { qrt_deleteModel(q); }
  // Two equations x0 + x1 = 4, x1 + x2 = 3 and a row that holds as it stands.
  void load(const std::vector<double> &cost) {
    q = qrt_newModel(context, "small");
    const double lower[] = {4, 3, 0}, upper[] = {4, 3, 9};
    ASSERT_EQ(0, qrt_loadRimModel(q, 3, lower, upper, 3, cost.data(), nullptr, nullptr));
    const int rows[] = {0, 0, 1, 1, 2}, starts[] = {0, 1, 3, 5};
    const double ones[] = {1, 1, 1, 1, 1};
    ASSERT_EQ(0, qrt_addColumnElementBlock(q, 3, rows, starts, ones));
  }
};

// Fault: costs that are not looked at (dear singletons, dual care), another basis from the same model, pivots where
// nothing is infeasible, a basis of the caller's that is thrown away, a type out of range that is taken.
TEST_F(SmallCrash, CostsSeedAndStartAreRespected) {
  load({1, 1, 0});
  ASSERT_EQ(0, qrt_crash(q, 1));
  EXPECT_EQ(0, qrt_columnStatus(q, 0));  // the singleton first
  EXPECT_EQ(4.0, qrt_colsol(q)[0]);
  EXPECT_EQ(2, qrt_getNumberBasicColumns(q));
  const std::vector<int> words(qrt_colstat(q), qrt_colstat(q) + 3);
  ASSERT_EQ(0, qrt_crash(q, 1));  // columns are basic now
  for (int j = 0; j < 3; j++) EXPECT_EQ(words[size_t(j)], qrt_colstat(q)[j]);
  qrt_deleteModel(q);
  load({1000, 1, 1});
  ASSERT_EQ(0, qrt_crash(q, 1));
  EXPECT_EQ(-1, qrt_columnStatus(q, 0));  // a thousand times the cost of the others
  qrt_deleteModel(q);
  load({1, 1, 0});
  ASSERT_EQ(0, qrt_crash(q, 2));
  EXPECT_EQ(1, qrt_getNumberBasicColumns(q));
  EXPECT_EQ(0, qrt_columnStatus(q, 2));
  qrt_deleteModel(q);
  load({1, 1, 1});
  const double nothing[] = {0, 0, 0}, nine[] = {9, 9, 9};
  qrt_copyRowlower(q, nothing, 0, 3);
  qrt_copyRowupper(q, nine, 0, 3);
  ASSERT_EQ(0, qrt_crash(q, 3));
  EXPECT_EQ(0, qrt_getNumberBasicColumns(q));
  qrt_mset(q, 7029, 256, -1, 0, 7029, 0);
  EXPECT_EQ(999, qrt_crash(q, 5));
}

}  // namespace
