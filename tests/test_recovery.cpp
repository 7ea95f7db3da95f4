// Problems made to provoke numerical trouble: what would be caught is a recovery that loses the problem (wrong optimum, wrong
// status, a basis of the wrong size) or that is no longer reached, which the messages tell.
#include <algorithm>
#include <cmath>
#include <functional>
#include <random>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "certificate_model.h"
#include "qrt_c_api.h"

namespace {

constexpr double INF = 1.0e31;
enum : int { TOLD_BACKTRACKING = 32, TOLD_PERTURBED = 33, TOLD_REJECTED = 35, TOLD_LOGICALS_ADDED = 37, TOLD_READMITTED = 25, TOLD_PROHIBITED = 42 };

std::vector<int> heard;
void listen(QRTModel *, int number, int, const double *, int, const int *, int, const char *) { heard.push_back(number); }

struct Draw {
  std::mt19937 random;
  double between(double a, double b) { return std::uniform_real_distribution<double>(a, b)(random); }
};

struct Recovery : ::testing::Test {
  static QRTContext *context;
  static void SetUpTestSuite() {
    context = qrt_initializeContext();
    qrt_messagesPrintOff(qrt_baseModel(context), 1, 6999);
  }
  static void TearDownTestSuite() { qrt_endContext(context); }
  void SetUp() override { heard.clear(); }
  // Most for n columns of 0 to 1000 in m rows of at most 1 to 9; `element` draws each position, 0 for none.
  static QRTModel *packing(Draw &d, int m, int n, const std::function<double()> &element);
  static int told(int number) { return int(std::count(heard.begin(), heard.end(), number)); }
};
QRTContext *Recovery::context = nullptr;

using Solver = int (*)(QRTModel *, int);
const Solver solvers[] = {qrt_primalSimplex, qrt_dualSimplex, qrt_eitherSimplex};

void listenTo(QRTModel *q) {
  qrt_setIloglevel(q, 4);  // rejections are told on demand
  qrt_registerMsguCallBack(q, listen);
  for (int number : {TOLD_BACKTRACKING, TOLD_PERTURBED, TOLD_REJECTED, TOLD_LOGICALS_ADDED, TOLD_READMITTED, TOLD_PROHIBITED})
    qrt_messageUserExitOn(q, number);
}

QRTModel *Recovery::packing(Draw &d, int m, int n, const std::function<double()> &element) {
  std::vector<double> low(size_t(m), -INF), up, cost, none(size_t(n), 0.0), most(size_t(n), 1.0e3), elements;
  std::vector<int> start{0}, row;
  for (int i = 0; i < m; i++) up.push_back(d.between(1, 9));
  for (int j = 0; j < n; j++) {
    cost.push_back(d.between(-5, 1));
    for (int i = 0; i < m; i++)
      if (const double e = element(); e != 0.0) row.push_back(i), elements.push_back(e);
    start.push_back(int(row.size()));
  }
  QRTModel *q = qrt_newModel(context, "packing");
  listenTo(q);
  qrt_loadRimModel(q, m, low.data(), up.data(), n, cost.data(), none.data(), most.data());
  qrt_addColumnElementBlock(q, n, row.data(), start.data(), elements.data());
  return q;
}

void expectCertified(QRTModel *q, Solver solve, int status, double tolerance) {
  ASSERT_EQ(0, solve(q, 1));
  ASSERT_EQ(status, qrt_getIprobstat(q));
  EXPECT_EQ("", firstFault(certifyModel(q), tolerance));
  EXPECT_EQ(qrt_getInumrows(q), qrt_getNumberBasicRows(q) + qrt_getNumberBasicColumns(q));
}

// Rows that repeat one another but for rounding, as the cuts of a decomposition do, added to a solved model round by round.
TEST_F(Recovery, NearlyEqualRows) {
  for (const double noise : {1e-13, 1e-11, 1e-9})
    for (unsigned seed = 0; seed < 25; seed++) {
      SCOPED_TRACE("noise " + std::to_string(-std::log10(noise)) + " seed " + std::to_string(seed));
      Draw d{std::mt19937(seed)};
      const int nx = 6 + int(seed % 8), parts = 2 + int(seed % 10);
      std::vector<double> low, up, cost;
      for (int j = 0; j < nx; j++) low.push_back(0), up.push_back(d.between(1e3, 1e4)), cost.push_back(d.between(1, 100));
      for (int k = 0; k < parts; k++) low.push_back(-INF), up.push_back(INF), cost.push_back(1.0 / parts);
      QRTModel *q = qrt_newModel(context, "cuts");
      listenTo(q);
      qrt_loadRimModel(q, 0, nullptr, nullptr, nx + parts, cost.data(), low.data(), up.data());
      for (int round = 0; round < 6; round++) {
        for (int k = 0; k < parts; k++) {
          std::vector<int> column;
          std::vector<double> element;
          const double a = d.between(1e5, 1e6);
          for (int j = 0; j < nx; j++) column.push_back(j), element.push_back(d.between(0, 200));
          column.push_back(nx + k), element.push_back(1);
          for (unsigned copy = 0; copy < 1 + seed % 3; copy++) {
            std::vector<double> near = element;
            for (int j = 0; j < nx; j++) near[size_t(j)] *= 1 + noise * d.between(-1, 1);
            qrt_addOneRow(q, a * (1 + noise * d.between(-1, 1)), INF, int(column.size()), column.data(), near.data());
          }
        }
        expectCertified(q, round == 0 ? qrt_primalSimplex : qrt_dualSimplex, 0, 1e-6);
        if (HasFatalFailure()) return;
      }
      qrt_deleteModel(q);
    }
}

// Transport between few places with every column there twice or three times but for rounding, started from a basis that holds
// the copies beside one another: singular to working precision.
QRTModel *copiedColumns(QRTContext *context, unsigned seed, double noise, int copies) {
  Draw d{std::mt19937(seed)};
  const int m = 20, n = 40;
  QRTModel *q = qrt_newModel(context, "copies");
  std::vector<double> rowLow, rowUp(size_t(m), INF);
  for (int i = 0; i < m; i++) rowLow.push_back(d.between(1, 9));
  const std::vector<int> none(size_t(m) + 1, 0);
  qrt_addRows(q, m, rowLow.data(), rowUp.data(), none.data(), nullptr, nullptr);
  for (int j = 0; j < n; j++) {
    const int row[] = {j % m, (j * 7 + 3) % m, (j * 3 + 5) % m};
    double element[3];
    const double cost = d.between(1, 5);
    for (double &e : element) e = d.between(0.5, 3);
    const int length = row[0] == row[1] || row[1] == row[2] || row[0] == row[2] ? 1 : 3;
    for (int copy = 0; copy < copies; copy++) {
      double near[3];
      for (int k = 0; k < 3; k++) near[k] = element[k] * (1 + noise * d.between(-1, 1));
      qrt_addOneColumn(q, 0.0, 5.0, cost * (1 + noise * d.between(-1, 1)), length, row, near);
    }
  }
  std::vector<int> which, basic;
  for (int k = 0; k < m; k++) which.push_back(k), basic.push_back(0x20000000);
  qrt_setRowStatus(q, m, which.data(), basic.data());
  qrt_markColumnsAsBasic(q, m, which.data());
  return q;
}
TEST_F(Recovery, SingularStartsOfCopiedColumns) {
  for (const double noise : {0.0, 1e-12, 1e-9, 1e-6})
    for (unsigned seed = 0; seed < 8; seed++)
      for (const Solver solve : solvers) {
        SCOPED_TRACE("noise " + std::to_string(noise) + " seed " + std::to_string(seed));
        QRTModel *q = copiedColumns(context, seed, noise, 2 + int(seed % 2));
        listenTo(q);
        heard.clear();
        expectCertified(q, solve, 0, 1e-6);
        if (HasFatalFailure()) return;
        if (noise <= 1e-9) { EXPECT_EQ(1, told(TOLD_LOGICALS_ADDED)) << "the repair is told once"; }
        qrt_deleteModel(q);
      }
}

// The Hilbert matrix: bases whose condition grows to the limit of the arithmetic.
TEST_F(Recovery, HilbertRows) {
  for (int m = 4; m <= 14; m += 2)
    for (const Solver solve : solvers) {
      SCOPED_TRACE("order " + std::to_string(m));
      QRTModel *q = qrt_newModel(context, "hilbert");
      listenTo(q);
      std::vector<double> side, none(size_t(m), INF), cost;
      std::vector<int> start{0}, column;
      std::vector<double> element;
      for (int i = 0; i < m; i++) {
        double sum = 0.0;
        for (int j = 0; j < m; j++) {
          column.push_back(j);
          element.push_back(1.0 / (i + j + 1));
          sum += element.back();
        }
        side.push_back(sum);
        cost.push_back(sum + 1.0 / (i + 1));
        start.push_back(int(column.size()));
      }
      qrt_loadRimModel(q, 0, nullptr, nullptr, m, cost.data(), nullptr, nullptr);
      qrt_addRows(q, m, side.data(), none.data(), start.data(), column.data(), element.data());
      expectCertified(q, solve, 0, 1e-6);
      if (HasFatalFailure()) return;
      qrt_deleteModel(q);
    }
}

// Rows in which all that could be a pivot is tiny beside one large element, so that steps through them ruin the basis.
TEST_F(Recovery, TinyPivots) {
  for (const double tiny : {1e-5, 1e-7, 1e-9, 1e-11})
    for (unsigned seed = 0; seed < 12; seed++)
      for (const Solver solve : solvers) {
        SCOPED_TRACE("tiny " + std::to_string(-std::log10(tiny)) + " seed " + std::to_string(seed));
        Draw d{std::mt19937(seed)};
        QRTModel *q = packing(d, 15, 30, [&] {
          const double kind = d.between(0, 1);
          return kind > 0.4 ? 0.0 : kind < 0.15 ? tiny * d.between(-1, 1) : d.between(-1, 3);
        });
        expectCertified(q, solve, 0, 1e-6);
        if (HasFatalFailure()) return;
        qrt_deleteModel(q);
      }
}

// Degenerate to the last row: an assignment with equal costs apart from a few stalls the primal until it perturbs.
TEST_F(Recovery, DegenerateAssignmentIsPerturbed) {
  const int size = 40;
  Draw d{std::mt19937(5)};
  QRTModel *q = qrt_newModel(context, "assignment");
  listenTo(q);
  std::vector<double> cost, side(size_t(2 * size), 1.0);
  std::vector<int> start{0}, row;
  std::vector<double> element;
  for (int i = 0; i < size; i++)
    for (int j = 0; j < size; j++) {
      cost.push_back(double(int(d.between(1, 4))));
      row.push_back(i), row.push_back(size + j);
      element.push_back(1), element.push_back(1);
      start.push_back(int(row.size()));
    }
  qrt_loadRimModel(q, 2 * size, side.data(), side.data(), size * size, cost.data(), nullptr, nullptr);
  qrt_addColumnElementBlock(q, size * size, row.data(), start.data(), element.data());
  for (const Solver solve : solvers) {
    std::vector<int> which, basic, lower;
    for (int k = 0; k < size * size; k++) which.push_back(k), lower.push_back(0x20000000), basic.push_back(int(0x80000000u));
    qrt_setRowStatus(q, 2 * size, which.data(), basic.data());
    qrt_setColumnStatus(q, size * size, which.data(), lower.data());
    expectCertified(q, solve, 0, 1e-7);
    EXPECT_NEAR(double(size), qrt_getRobjvalue(q), 1e-6) << "every row finds a column of cost 1";
  }
  EXPECT_GE(told(TOLD_PERTURBED), 1);
}

// A zero tolerance for pivots far above what the basis needs makes good bases fail: the run goes back, bars columns, lets them
// in again, and ends at the optimum, or says that some columns were kept out.
TEST_F(Recovery, BasesThatMayNotBeFactorised) {
  int certified = 0;
  for (const double zero : {0.005, 0.02})
    for (unsigned seed = 0; seed < 40; seed++)
      for (const Solver solve : {qrt_primalSimplex, qrt_dualSimplex}) {
        SCOPED_TRACE("zero " + std::to_string(zero) + " seed " + std::to_string(seed));
        Draw d{std::mt19937(seed)};
        const int m = 30;
        QRTModel *q = packing(d, m, 60, [&] { return d.between(0, 1) < 0.2 ? d.between(-1, 3) : 0.0; });
        const double pivots[] = {zero, 0.001};
        qrt_exoticParameters(q, 0, nullptr, 0, nullptr, 2, pivots);
        const int before = told(TOLD_PROHIBITED);
        ASSERT_EQ(0, solve(q, 1));
        EXPECT_EQ(m, qrt_getNumberBasicRows(q) + qrt_getNumberBasicColumns(q));
        if (told(TOLD_PROHIBITED) == before) {
          ASSERT_EQ(0, qrt_getIprobstat(q));
          ASSERT_EQ("", firstFault(certifyModel(q), 1e-6));
          certified++;
        }
        // With the tolerances of every day it is an easy problem.
        qrt_exoticParameters(q, 0, nullptr, 0, nullptr, 0, nullptr);
        expectCertified(q, solve, 0, 1e-6);
        if (HasFatalFailure()) return;
        qrt_deleteModel(q);
      }
  EXPECT_GT(certified, 140);
  EXPECT_GT(told(TOLD_BACKTRACKING), 5);
  EXPECT_GT(told(TOLD_REJECTED), 5);
  EXPECT_GT(told(TOLD_READMITTED), 5);
}

}  // namespace
