// Small random programs of every outcome through every type of presolve: what it says, what the reduced program says and
// what the original says must agree, and an optimum must come back whole. Faults caught: a program called infeasible or
// unbounded that is not, one called optimal that is neither, a model not restored after presolve has given up.
#include <gtest/gtest.h>

#include <cmath>
#include <random>
#include <string>
#include <vector>

#include "certificate_model.h"
#include "qrt_c_api.h"

namespace {

constexpr double INF = 1.0e31;
constexpr int TYPES[] = {0, 1, 2, 3, 4, 7, 11, 19, 32, 35, 43, 47, 131, 175, 10003, 330047};

struct Program {
  int m, n;
  std::vector<int> start{0}, row;
  std::vector<double> element, cost, lower, upper, rowLower, rowUpper;
  bool maximise;
  double offset;
};

Program draw(unsigned seed) {
  std::mt19937 random(seed);
  auto whole = [&](int a, int b) { return a + int(random() % unsigned(b - a + 1)); };
  auto chance = [&](int percent) { return whole(1, 100) <= percent; };
  Program p;
  p.m = whole(1, 9), p.n = whole(1, 12);
  p.maximise = chance(30), chance(20), p.offset = chance(30) ? whole(-5, 5) : 0;
  std::vector<double> activity(size_t(p.m), 0.0);
  const int density = whole(10, 60), range = whole(1, 3), free = whole(0, 30), positive = whole(0, 100);
  for (int j = 0; j < p.n; j++) {
    double l = 0, u = INF, x = whole(0, 3);
    const int kind = whole(0, 99);
    if (kind < free) l = -INF, x = whole(-3, 3);
    else if (kind < free + 25) u = whole(0, 4), x = whole(0, int(u));
    else if (kind < free + 32) l = u = x = whole(-2, 2);
    else if (kind < free + 40) l = -INF, u = whole(-1, 3), x = u - whole(0, 2);
    p.lower.push_back(l), p.upper.push_back(u);
    const double c = chance(25) ? 0 : whole(-4, 4);
    p.cost.push_back(chance(positive) ? std::fabs(c) * (p.maximise ? -1 : 1) : c);
    for (int i = 0; i < p.m; i++) {
      if (!chance(density)) continue;
      double a = whole(1, range) * (chance(50) ? 1 : -1);
      if (chance(10)) a *= 0.5;
      p.row.push_back(i), p.element.push_back(a);
      activity[size_t(i)] += a * x;
    }
    p.start.push_back(int(p.row.size()));
  }
  const bool feasible = chance(75);
  for (int i = 0; i < p.m; i++) {
    const double a = feasible ? activity[size_t(i)] : whole(-6, 6), slack = chance(50) ? 0 : whole(1, 3);
    const int kind = whole(0, 99);
    p.rowLower.push_back(kind < 35 ? a : kind < 60 ? a - slack : kind < 70 ? a - slack : -INF);
    p.rowUpper.push_back(kind < 35 ? a : kind < 60 ? INF : kind < 70 ? a + whole(0, 2) : kind < 97 ? a + slack : INF);
  }
  return p;
}

struct PresolveRandom : ::testing::Test {
  QRTContext *context = nullptr;
  void SetUp() override {
    context = qrt_initializeContext();
    qrt_messagesPrintOff(qrt_baseModel(context), 1, 9999);
    for (const int number : {7020, 9016}) qrt_mset(qrt_baseModel(context), number, 30000, -1, 0, 0, 0);
  }
  void TearDown() override { qrt_endContext(context); }
  int seen[3] = {0, 0, 0}, early[3] = {0, 0, 0}, trips = 0, mended = 0;

  QRTModel *load(const Program &p) {
    QRTModel *q = qrt_newModel(context, "random");
    qrt_loadRimModel(q, p.m, p.rowLower.data(), p.rowUpper.data(), p.n, p.cost.data(), p.lower.data(), p.upper.data());
    if (!p.row.empty()) qrt_addColumnElementBlock(q, p.n, p.row.data(), p.start.data(), p.element.data());
    if (p.maximise) qrt_setMaximize(q);
    qrt_setRobjectiveOffset(q, p.offset);
    qrt_setIthreshold(q, 6);
    return q;
  }

  void expectOriginal(QRTModel *q, const Program &p) {
    ASSERT_EQ(p.m, qrt_getInumrows(q));
    ASSERT_EQ(p.n, qrt_getInumcols(q));
    EXPECT_EQ(p.offset, qrt_getRobjectiveOffset(q));
    for (int i = 0; i < p.m; i++) {
      EXPECT_EQ(p.rowLower[size_t(i)], qrt_rowlower(q)[i]);
      EXPECT_EQ(p.rowUpper[size_t(i)], qrt_rowupper(q)[i]);
    }
    for (int j = 0; j < p.n; j++) {
      EXPECT_EQ(p.lower[size_t(j)], qrt_collower(q)[j]);
      EXPECT_EQ(p.upper[size_t(j)], qrt_colupper(q)[j]);
      EXPECT_EQ(p.cost[size_t(j)], qrt_objective(q)[j]);
    }
    const ModelMatrix matrix = collectMatrix(q);
    EXPECT_EQ(p.row, matrix.row);
    EXPECT_EQ(p.element, matrix.element);
  }

  void trip(const Program &p, int type, int truth, double optimum) {
    SCOPED_TRACE("type " + std::to_string(type) + ", in truth " + std::to_string(truth));
    QRTModel *q = load(p);
    const int result = qrt_preSolve(q, type, nullptr);
    if (result == 1 || result == 2) {
      EXPECT_NE(0, truth) << "given up on a program with an optimum";
      EXPECT_TRUE(result == 2 || truth == 1);
      early[result]++;
      expectOriginal(q, p);
      EXPECT_EQ(0, qrt_postSolve(q, nullptr));
      expectOriginal(q, p);
      qrt_deleteModel(q);
      return;
    }
    ASSERT_TRUE(result == 0 || (result == 999 && qrt_getInumrows(q) <= 1)) << "result " << result;
    qrt_primalSimplex(q, 1);
    const int status = qrt_getIprobstat(q);
    ASSERT_EQ(truth, status);
    EXPECT_NEAR(optimum, truth == 0 ? qrt_getRobjvalue(q) : optimum, 1e-7 * (1 + std::fabs(optimum)));
    ASSERT_EQ(0, qrt_postSolve(q, nullptr));
    expectOriginal(q, p);
    EXPECT_EQ(p.m, qrt_getNumberBasicRows(q) + qrt_getNumberBasicColumns(q));
    if (status == 0) {
      EXPECT_EQ("", firstFault(certifyModel(q), 1e-7));
      EXPECT_NEAR(optimum, qrt_getRobjvalue(q), 1e-7 * (1 + std::fabs(optimum)));
      trips++;
    }
    const int before = qrt_getIiternum(q);
    qrt_primalSimplex(q, 1);
    EXPECT_EQ(truth, qrt_getIprobstat(q));
    if (status == 0) mended += qrt_getIiternum(q) > before;
    qrt_deleteModel(q);
  }
};

// ---- integer columns: all their values are tried, in the original and in what presolve leaves of it

constexpr int MOST_COMBINATIONS = 3000;

std::vector<int> integerColumns(QRTModel *q) {
  std::vector<int> list;
  for (int j = 0; j < qrt_getInumcols(q); j++)
    if (qrt_integerType(q) && qrt_integerType(q)[j] == 1) list.push_back(j);
  return list;
}

struct Best {
  int status = 1;  // 0, 1 or, as soon as one choice is, 2
  double value = INF;
  std::vector<double> fixed;
};

void setBounds(QRTModel *q, int j, double low, double high) {
  qrt_copyCollower(q, &low, j, j + 1);
  qrt_copyColupper(q, &high, j, j + 1);
}

void fixAt(QRTModel *q, const std::vector<int> &columns, const std::vector<double> &at) {
  for (size_t k = 0; k < columns.size(); k++) setBounds(q, columns[k], at[k], at[k]);
}

// The best over every choice of whole values; the bounds are as they were afterwards.
Best tryAll(QRTModel *q, bool maximise) {
  const std::vector<int> columns = integerColumns(q);
  std::vector<double> low, high, at;
  for (const int j : columns) {
    low.push_back(qrt_collower(q)[j]), high.push_back(qrt_colupper(q)[j]);
    at.push_back(std::ceil(low.back() - 1e-9));
  }
  Best best;
  for (bool more = true; more;) {
    bool inside = true;
    for (size_t k = 0; k < at.size(); k++) inside = inside && at[k] <= high[k] + 1e-9;
    if (inside) {
      fixAt(q, columns, at);
      qrt_primalSimplex(q, 1);
      const int status = qrt_getIprobstat(q);
      const double value = (maximise ? -1 : 1) * qrt_getRobjvalue(q);
      if (status == 2 || (status == 0 && best.status != 2 && value < best.value)) best = {status, value, at};
    }
    more = false;
    for (size_t k = 0; k < at.size() && !more; k++) {
      more = ++at[k] <= high[k] + 1e-9;
      if (!more) at[k] = std::ceil(low[k] - 1e-9);
    }
  }
  for (size_t k = 0; k < columns.size(); k++) setBounds(q, columns[k], low[k], high[k]);
  return best;
}

// Makes some columns integer, with few values each, between bounds that need not be whole.
std::vector<int> makeIntegers(Program *p, unsigned seed) {
  std::mt19937 random(seed ^ 0x5bd1e995u);
  std::vector<int> list;
  int combinations = 1;
  for (int j = 0; j < p->n; j++) {
    if (random() % 2) continue;
    double &l = p->lower[size_t(j)], &u = p->upper[size_t(j)];
    if (l < -100) l = u < 100 ? u - 2 : -1;
    if (u > 100) u = l + 1 + double(random() % 3);
    if (random() % 3 == 0) u += 0.5;
    if (random() % 5 == 0 && u - l >= 1) l += 0.25;
    combinations *= int(u - l) + 2;
    if (combinations > MOST_COMBINATIONS) break;
    list.push_back(j);
  }
  return list;
}

// Faults caught: a reduction that counts on values between whole ones, an integer column fixed or substituted where only
// a continuous one may be, one that comes back broken.
TEST_F(PresolveRandom, IntegerColumns) {
  int optimal = 0, reduced = 0;
  for (unsigned seed = 1; seed <= 400 && !HasFailure(); seed++) {
    SCOPED_TRACE("seed " + std::to_string(seed));
    Program p = draw(seed);
    const std::vector<int> integers = makeIntegers(&p, seed);
    auto loadMarked = [&] {
      QRTModel *q = load(p);
      for (const int j : integers) qrt_markAsInteger(q, j);
      return q;
    };
    QRTModel *q = loadMarked();
    const Best truth = tryAll(q, p.maximise);
    qrt_deleteModel(q);
    for (const int type : {0, 3, 7, 35, 43, 47, 175}) {
      SCOPED_TRACE("type " + std::to_string(type) + ", in truth " + std::to_string(truth.status));
      q = loadMarked();
      const int result = qrt_preSolve(q, type, nullptr);
      if (result == 1 || result == 2) {
        EXPECT_NE(0, truth.status) << "given up on a program with an optimum";
        expectOriginal(q, p);
      } else {
        const std::vector<int> left = integerColumns(q);
        const Best best = tryAll(q, p.maximise);
        ASSERT_EQ(truth.status, best.status);
        if (truth.status == 0) {
          ASSERT_NEAR(truth.value, best.value, 1e-7 * (1 + std::fabs(truth.value)));
          fixAt(q, left, best.fixed);
          qrt_primalSimplex(q, 1);
          ASSERT_EQ(0, qrt_postSolve(q, nullptr));
          expectOriginal(q, p);
          const Certificate back = certifyModel(q);
          EXPECT_LE(std::fmax(back.primalResidual, back.boundViolation), 1e-7);
          EXPECT_NEAR(truth.value, (p.maximise ? -1 : 1) * qrt_getRobjvalue(q), 1e-7 * (1 + std::fabs(truth.value)));
          for (const int j : integers) EXPECT_NEAR(std::round(qrt_colsol(q)[j]), qrt_colsol(q)[j], 1e-7) << "column " << j;
          optimal++;
          reduced += left.size() < integers.size();
        }
      }
      qrt_deleteModel(q);
      if (HasFailure()) break;
    }
  }
  EXPECT_GT(optimal, 500);
  EXPECT_GT(reduced, 200);
}

TEST_F(PresolveRandom, EveryOutcome) {
  for (unsigned seed = 1; seed <= 1500 && !HasFailure(); seed++) {
    SCOPED_TRACE("seed " + std::to_string(seed));
    const Program p = draw(seed);
    QRTModel *q = load(p);
    qrt_primalSimplex(q, 1);
    const int truth = qrt_getIprobstat(q);
    const double optimum = qrt_getRobjvalue(q);
    qrt_deleteModel(q);
    ASSERT_TRUE(truth >= 0 && truth <= 2);
    seen[truth]++;
    for (const int type : TYPES)
      if (!HasFailure()) trip(p, type, truth, optimum);
  }
  for (const int count : seen) EXPECT_GT(count, 50) << "the draw no longer covers an outcome";
  EXPECT_GT(early[1], 100);
  EXPECT_GT(early[2], 100);
  EXPECT_LE(mended, trips / 50);
}

}  // namespace
