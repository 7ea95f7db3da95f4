// The basis factor against dense arithmetic: wrong pivots, lost elements, stale copies of U, lists that do not hold,
// repairs that leave a basis with no inverse.
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <random>
#include <vector>

#include "simplex/factor.h"

namespace {

// A column-ordered matrix of n columns over m rows, and a basis among them and the logicals.
struct Model {
  int m;
  std::vector<int32_t> start{0, 0}, row;  // start[j] for column j from 1
  std::vector<double> value;
  std::vector<int32_t> basic;       // variables, in any order
  std::vector<int32_t> basicOfRow;  // [1..m]

  explicit Model(int rows) : m(rows), basicOfRow(size_t(rows) + 1, 0) {}
  int columns() const { return int(start.size()) - 2; }
  int add(const std::vector<std::pair<int, double>> &entries) {
    for (const auto &[i, x] : entries) {
      row.push_back(i);
      value.push_back(x);
    }
    start.push_back(int32_t(row.size()));
    return m + columns();
  }
  BasisMatrix matrix() const { return {m, m, start.data(), row.data(), value.data(), 0}; }
  std::vector<double> column(int variable) const {
    std::vector<double> x(size_t(m) + 1, 0.0);
    if (variable <= m)
      x[size_t(variable)] = 1.0;
    else
      for (int p = start[size_t(variable - m)]; p < start[size_t(variable - m) + 1]; p++)
        x[size_t(row[size_t(p)])] += value[size_t(p)];
    return x;
  }
};

// Dense solve by elimination with complete pivoting; false when singular.
bool denseSolve(std::vector<std::vector<double>> a, std::vector<double> b, std::vector<double> *x) {
  const size_t n = b.size();
  std::vector<size_t> columnAt(n);
  for (size_t j = 0; j < n; j++) columnAt[j] = j;
  for (size_t k = 0; k < n; k++) {
    size_t r = k, c = k;
    for (size_t i = k; i < n; i++)
      for (size_t j = k; j < n; j++)
        if (std::fabs(a[i][j]) > std::fabs(a[r][c])) r = i, c = j;
    if (std::fabs(a[r][c]) < 1e-13) return false;
    std::swap(a[r], a[k]);
    std::swap(b[r], b[k]);
    for (size_t i = 0; i < n; i++) std::swap(a[i][c], a[i][k]);
    std::swap(columnAt[c], columnAt[k]);
    for (size_t i = k + 1; i < n; i++) {
      const double f = a[i][k] / a[k][k];
      if (f == 0.0) continue;
      for (size_t j = k; j < n; j++) a[i][j] -= f * a[k][j];
      b[i] -= f * b[k];
    }
  }
  x->assign(n, 0.0);
  for (size_t k = n; k-- > 0;) {
    double s = b[k];
    for (size_t j = k + 1; j < n; j++) s -= a[k][j] * (*x)[columnAt[j]];
    (*x)[columnAt[k]] = s / a[k][k];
  }
  return true;
}

std::vector<std::vector<double>> denseBasis(const Model &model, bool transposed) {
  const size_t m = size_t(model.m);
  std::vector<std::vector<double>> a(m, std::vector<double>(m, 0.0));
  for (size_t k = 1; k <= m; k++) {
    const std::vector<double> column = model.column(model.basicOfRow[k]);
    for (size_t i = 1; i <= m; i++) (transposed ? a[k - 1][i - 1] : a[i - 1][k - 1]) = column[i];
  }
  return a;
}

class Vector {
 public:
  explicit Vector(int m) { sparseVector_allocate(&x, m); }
  ~Vector() { sparseVector_free(&x); }
  SparseVector x = {};
  void set(const std::vector<double> &from) {
    sparseVector_clear(&x);
    for (int i = 1; i <= x.size; i++)
      if (from[size_t(i)] != 0.0) sparseVector_add(&x, i, from[size_t(i)]);
  }
};

// Residuals of both solves. Elimination with a threshold by rows is accurate to the largest element of each row, so that
// is what a residual is measured by.
std::vector<double> rowSizes(const Model &model) {
  std::vector<double> size(size_t(model.m) + 1, 0.0);
  for (int k = 1; k <= model.m; k++) {
    const std::vector<double> column = model.column(model.basicOfRow[size_t(k)]);
    for (size_t i = 1; i < size.size(); i++) size[i] = std::max(size[i], std::fabs(column[i]));
  }
  return size;
}

double ftranResidual(const Model &model, const std::vector<double> &b, const SparseVector &x) {
  std::vector<double> r = b;
  const std::vector<double> size = rowSizes(model);
  double largest = 0.0, worst = 0.0;
  for (int k = 1; k <= model.m; k++) {
    const double v = x.value[k];
    if (v == 0.0) continue;
    largest = std::max(largest, std::fabs(v));
    const std::vector<double> column = model.column(model.basicOfRow[size_t(k)]);
    for (size_t i = 1; i < b.size(); i++) r[i] -= v * column[i];
  }
  for (size_t i = 1; i < b.size(); i++) worst = std::max(worst, std::fabs(r[i]) / (1.0 + size[i] * largest));
  return worst;
}

double btranResidual(const Model &model, const std::vector<double> &b, const SparseVector &y) {
  const std::vector<double> size = rowSizes(model);
  double sum = 1.0, worst = 0.0;
  for (int i = 1; i <= model.m; i++) sum += size[size_t(i)] * std::fabs(y.value[i]);
  for (int k = 1; k <= model.m; k++) {
    const std::vector<double> column = model.column(model.basicOfRow[size_t(k)]);
    double s = b[size_t(k)];
    for (int i = 1; i <= model.m; i++) s -= column[size_t(i)] * y.value[i];
    worst = std::max(worst, std::fabs(s) / sum);
  }
  return worst;
}

class FactorTest : public ::testing::Test {
 protected:
  void SetUp() override { factor = factor_create(); }
  void TearDown() override { factor_free(factor); }
  FactorResult factorise(Model *model, int repair = 0) {
    const BasisMatrix matrix = model->matrix();
    const FactorResult result = qrtlfct(factor, &matrix, int(model->basic.size()), model->basic.data(), repair, model->basicOfRow.data());
    const char *fault = factor_check(factor);
    EXPECT_EQ(fault, nullptr) << fault;
    return result;
  }
  // Solves with sparse, denser and full right-hand sides, lists known and unknown.
  void checkSolves(const Model &model, double tolerance) {
    const int m = model.m;
    Vector v(m);
    for (int form = 0; form < 6; form++) {
      std::vector<double> b(size_t(m) + 1, 0.0);
      const int wanted = form % 3 == 0 ? 1 : form % 3 == 1 ? std::min(m, 4) : m;
      std::uniform_int_distribution<int> anyRow(1, m);
      for (int k = 0; k < wanted; k++) b[size_t(wanted == m ? k + 1 : anyRow(random))] = real(random);
      for (int transposed = 0; transposed < 2; transposed++) {
        v.set(b);
        if (form >= 3) v.x.count = LIST_UNKNOWN;
        if (transposed)
          qrtbtrn(factor, &v.x, form % 3 == 2 ? SOLVE_DUALS : SOLVE_ROW);
        else
          qrtftrn(factor, &v.x, form % 3 == 2 ? SOLVE_RHS : SOLVE_COLUMN);
        ASSERT_EQ(sparseVector_check(&v.x), nullptr) << sparseVector_check(&v.x);
        ASSERT_GE(v.x.count, 0);
        ASSERT_LT(transposed ? btranResidual(model, b, v.x) : ftranResidual(model, b, v.x), tolerance)
            << "form " << form << " transposed " << transposed << " m " << m;
      }
    }
  }
  // Every column of the inverse against every row of it: unit vectors reach each corner of the solves.
  void checkInverse(int m) {
    std::vector<std::vector<double>> columns;
    Vector v(m);
    for (int j = 1; j <= m; j++) {
      sparseVector_clear(&v.x);
      sparseVector_add(&v.x, j, 1.0);
      qrtftrn(factor, &v.x, SOLVE_COLUMN);
      columns.emplace_back(v.x.value, v.x.value + m + 1);
    }
    for (int i = 1; i <= m; i++) {
      sparseVector_clear(&v.x);
      qrtbtrn_row(factor, i, 1.0, &v.x);
      for (int j = 1; j <= m; j++) {
        const double x = columns[size_t(j - 1)][size_t(i)];
        ASSERT_NEAR(v.x.value[j], x, 1e-8 * (1.0 + std::fabs(x))) << "row " << i << " column " << j;
      }
    }
  }
  Model randomModel(int m, int n, double share, double scale = 0.0) {
    Model model(m);
    std::uniform_int_distribution<int> anyRow(1, std::max(m, 1));
    for (int j = 0; j < n; j++) {
      std::vector<std::pair<int, double>> entries;
      const int count = std::min(m, 1 + int(share * m * (0.2 + 1.6 * unit(random))));
      while (int(entries.size()) < count) {
        const int i = anyRow(random);
        bool there = false;
        for (const auto &e : entries) there = there || e.first == i;
        if (!there) entries.push_back({i, real(random) * std::pow(10.0, scale * (unit(random) - 0.5))});
      }
      model.add(entries);
    }
    return model;
  }
  Factor *factor = nullptr;
  std::mt19937 random{20};
  std::uniform_real_distribution<double> unit{0.0, 1.0};
  std::uniform_real_distribution<double> real{-3.0, 3.0};
};

// Faults: a stage that drops or doubles elements, a pivot order that is none, a wrong sign in a solve. A random
// triangular part keeps the basis regular; permutations hide it.
TEST_F(FactorTest, SolvesWithRandomBases) {
  for (int m : {1, 2, 3, 7, 20, 60, 150, 300})
    for (double share : {0.0, 0.02, 0.2, 0.9}) {
      if (m == 300 && share > 0.5) continue;
      Model model = randomModel(m, 2 * m, share);
      // repair 1: random columns may be dependent; the repaired basis must be right in any case
      for (int j = 1; j <= m; j++) model.basic.push_back(unit(random) < 0.3 ? j : m + j);
      std::shuffle(model.basic.begin(), model.basic.end(), random);
      const FactorResult result = factorise(&model, 1);
      ASSERT_TRUE(result == FACTOR_GOOD || result == FACTOR_REPAIRED);
      std::vector<int32_t> seen = model.basicOfRow;
      std::sort(seen.begin() + 1, seen.end());
      ASSERT_EQ(std::adjacent_find(seen.begin() + 1, seen.end()), seen.end()) << "a variable is basic twice";
      checkSolves(model, 1e-9);
    }
}

// Faults: arithmetic where none is needed, a nucleus left of a permuted triangle, logicals with etas.
TEST_F(FactorTest, TriangularBasesHaveNoNucleusAndNoArithmetic) {
  const int m = 80;
  Model model(m);
  std::vector<int> rows(m), order(m);
  for (int k = 0; k < m; k++) rows[size_t(k)] = k + 1;
  std::shuffle(rows.begin(), rows.end(), random);
  for (int k = 0; k < m; k++) {  // upper triangle in the order of `rows`
    std::vector<std::pair<int, double>> entries{{rows[size_t(k)], 1.0 + unit(random)}};
    for (int l = 0; l < k; l++)
      if (unit(random) < 0.1) entries.push_back({rows[size_t(l)], real(random)});
    model.add(entries);
  }
  for (int j = 1; j <= m; j++) model.basic.push_back(m + j);
  std::shuffle(model.basic.begin(), model.basic.end(), random);
  ASSERT_EQ(factorise(&model), FACTOR_GOOD);
  EXPECT_EQ(factor->nucleusRows, 0);
  EXPECT_EQ(factor->lCount, 0);
  checkSolves(model, 1e-9);

  Model slack(m);
  for (int j = m; j >= 1; j--) slack.basic.push_back(j);
  ASSERT_EQ(factorise(&slack), FACTOR_GOOD);
  EXPECT_EQ(factor->lCount + factor->uCount, 0);
  Vector v(m);
  sparseVector_add(&v.x, 17, -2.5);
  qrtftrn_ft(factor, &v.x);
  ASSERT_EQ(v.x.count, 1);
  EXPECT_EQ(v.x.value[17], -2.5);
  sparseVector_clear(&v.x);
  qrtftrn(factor, &v.x, SOLVE_COLUMN);
  EXPECT_EQ(v.x.count, 0);
}

TEST_F(FactorTest, NoRowsAtAll) {
  Model model(0);
  ASSERT_EQ(factorise(&model), FACTOR_GOOD);
  Vector v(0);
  qrtftrn(factor, &v.x, SOLVE_RHS);
  qrtbtrn(factor, &v.x, SOLVE_DUALS);
  EXPECT_EQ(v.x.count, 0);
}

// Faults: the repair takes the logical of a row that has a pivot, leaves the wrong number of basics, reports short.
TEST_F(FactorTest, SingularBasesAreRepairedOnceAndRight) {
  for (int round = 0; round < 40; round++) {
    const int m = 10 + 3 * round;
    Model model = randomModel(m, m, round % 2 ? 0.3 : 0.05);
    int spoilt = 0;
    for (int j = 1; j <= m; j++) {
      const int kind = int(unit(random) * 12);
      if (kind == 0 && j > 1) {  // the same column again
        std::vector<std::pair<int, double>> entries;
        for (int p = model.start[size_t(j - 1)]; p < model.start[size_t(j)]; p++)
          entries.push_back({model.row[size_t(p)], 2.0 * model.value[size_t(p)]});
        model.basic.push_back(model.add(entries));
        spoilt++;
      } else if (kind == 1) {  // nothing in it
        model.basic.push_back(model.add({}));
        spoilt++;
      } else if (kind == 2) {  // sum of two others
        std::vector<double> sum = model.column(m + 1), other = model.column(m + 1 + j % m);
        std::vector<std::pair<int, double>> entries;
        for (int i = 1; i <= m; i++)
          if (sum[size_t(i)] + other[size_t(i)] != 0.0) entries.push_back({i, sum[size_t(i)] + other[size_t(i)]});
        model.basic.push_back(model.add(entries));
      } else {
        model.basic.push_back(m + j);
      }
    }
    const std::vector<int32_t> given = model.basic;
    if (spoilt) {
      std::vector<int32_t> before = model.basicOfRow;
      const FactorResult hard = factorise(&model, 0);
      EXPECT_TRUE(hard == FACTOR_TINY_PIVOT || hard == FACTOR_NO_PIVOT || hard == FACTOR_GOOD);
      if (hard != FACTOR_GOOD) {
        EXPECT_EQ(before, model.basicOfRow);
      }
    }
    const FactorResult result = factorise(&model, 1);
    EXPECT_EQ(result, factor->repairCount ? FACTOR_REPAIRED : FACTOR_GOOD);
    std::vector<int32_t> expected = given;
    for (int k = 0; k < factor->repairCount; k++) {
      const auto at = std::find(expected.begin(), expected.end(), factor->thrownOut[k]);
      ASSERT_NE(at, expected.end());
      *at = factor->repairedRow[k];
      EXPECT_EQ(model.basicOfRow[size_t(factor->repairedRow[k])], factor->repairedRow[k]);
    }
    std::vector<int32_t> got(model.basicOfRow.begin() + 1, model.basicOfRow.end());
    std::sort(expected.begin(), expected.end());
    std::sort(got.begin(), got.end());
    ASSERT_EQ(expected, got);
    checkSolves(model, 1e-7);
  }
  // too many and too few variables
  Model many(3);
  const int a = many.add({{1, 1.0}, {2, 1.0}}), b = many.add({{2, 1.0}, {3, 2.0}});
  many.basic = {1, 2, 3, a, b};
  EXPECT_EQ(factorise(&many, 0), FACTOR_NO_PIVOT);
  EXPECT_EQ(factorise(&many, 1), FACTOR_REPAIRED);
  EXPECT_EQ(factor->repairCount, 2);
  many.basic = {b};
  EXPECT_EQ(factorise(&many, 1), FACTOR_REPAIRED);
  EXPECT_EQ(factor->repairCount, 2);
  EXPECT_EQ(std::count(many.basicOfRow.begin() + 1, many.basicOfRow.end(), b), 1);
  checkSolves(many, 1e-12);
}

// Faults: an absolute pivot test that throws out small but legal columns; a noise pivot that is accepted.
TEST_F(FactorTest, SmallColumnsStayAndNoisePivotsGo) {
  Model model(3);
  model.basic = {model.add({{1, 2e-9}, {2, 1e-9}}), model.add({{1, 1.0}, {2, 3.0}, {3, 1.0}}), model.add({{2, 1.0}, {3, -4.0}})};
  ASSERT_EQ(factorise(&model, 0), FACTOR_GOOD);
  checkSolves(model, 1e-12);
  Model noise(2);
  noise.basic = {noise.add({{1, 1.0}, {2, 1.0}}), noise.add({{1, 1.0}, {2, 1.0 + 1e-10}})};
  EXPECT_EQ(factorise(&noise, 0), FACTOR_NO_PIVOT);
  EXPECT_EQ(factorise(&noise, 1), FACTOR_REPAIRED);
  checkSolves(noise, 1e-12);
}

TEST_F(FactorTest, BadlyScaledBases) {
  for (int round = 0; round < 20; round++) {
    const int m = 20 + 5 * round;
    Model model = randomModel(m, m, 0.08, 9.0);
    for (int j = 1; j <= m; j++) model.basic.push_back(m + j);
    factorise(&model, 1);
    checkSolves(model, 1e-6);
  }
}

// Fault: the dense kernel loses a column, a row, or the sign of a multiplier; panels that end early.
TEST_F(FactorTest, DenseTail) {
  for (int m : {101, 120, 173, 256}) {
    Model model = randomModel(m, m, 0.95);
    for (int j = 1; j <= m; j++) model.basic.push_back(m + j);
    ASSERT_EQ(factorise(&model), FACTOR_GOOD);
    EXPECT_GT(factor->denseRows, 100);
    checkSolves(model, 1e-8);
    checkInverse(m);
    for (int step = 0; step < 20; step++) {  // rows leave the tail, their columns come back behind it
      Vector alpha(m);
      const int enter = 1 + int(unit(random) * m);
      sparseVector_add(&alpha.x, enter, 1.0);
      qrtftrn_ft(factor, &alpha.x);
      const int p = alpha.x.index[alpha.x.count / 2];
      if (std::fabs(alpha.x.value[p]) < 0.01 || model.basicOfRow[size_t(p)] <= m) continue;
      if (std::find(model.basicOfRow.begin() + 1, model.basicOfRow.end(), enter) != model.basicOfRow.end()) continue;
      ASSERT_NE(qrtetsj(factor, p, alpha.x.value[p], 10), UPDATE_FAILED);
      model.basicOfRow[size_t(p)] = enter;
    }
    checkInverse(m);
    checkSolves(model, 1e-8);
    // dependent columns inside the dense tail
    Model twice = model;
    for (int k = 0; k < 7; k++) {
      std::vector<double> sum = model.column(m + 2 * k + 1);
      const std::vector<double> other = model.column(m + 2 * k + 2);
      std::vector<std::pair<int, double>> entries;
      for (int i = 1; i <= m; i++) entries.push_back({i, sum[size_t(i)] - other[size_t(i)]});
      twice.basic[size_t(3 * k + 20)] = twice.add(entries);
    }
    ASSERT_EQ(factorise(&twice, 1), FACTOR_REPAIRED);
    EXPECT_EQ(factor->repairCount, 7);
    checkSolves(twice, 1e-7);
  }
}

// Faults of the update: a copy of U that keeps an old element, a row eta of the wrong row, an order with a row lost, a
// kept eta that is stale. Random exchanges, each checked against the basis it stands for.
TEST_F(FactorTest, LongUpdateSequences) {
  int mostDense = 0;
  for (int m : {1, 5, 40, 130, 200}) {
    for (double share : {0.01, 0.1}) {
      if (m == 130) share *= 7.0;  // full enough for a dense tail, which the updates then take apart
      Model model = randomModel(m, 4 * m, share);
      for (int j = 1; j <= m; j++) model.basic.push_back(j);
      ASSERT_EQ(factorise(&model), FACTOR_GOOD);
      Vector alpha(m), rho(m);
      int done = 0, failed = 0;
      for (int step = 0; step < 400; step++) {
        int enter = 1 + int(unit(random) * 5 * m);
        if (enter > 5 * m) enter = 5 * m;
        if (std::find(model.basicOfRow.begin() + 1, model.basicOfRow.end(), enter) != model.basicOfRow.end()) continue;
        alpha.set(model.column(enter));
        qrtftrn_ft(factor, &alpha.x);
        ASSERT_EQ(sparseVector_check(&alpha.x), nullptr);
        if (step % 5 == 2) {  // the same column, now with another beside it; its spike serves the update
          Vector again(m), beside(m), other(m);
          again.set(model.column(enter));
          beside.set(model.column(m + 1));
          other.set(model.column(m + 1));
          qrtftrn(factor, &other.x, SOLVE_TAU);
          qrtftn2(factor, &again.x, &beside.x, SOLVE_TAU);
          ASSERT_EQ(sparseVector_check(&again.x), nullptr);
          ASSERT_EQ(sparseVector_check(&beside.x), nullptr);
          for (int i = 1; i <= m; i++) {
            ASSERT_NEAR(again.x.value[i], alpha.x.value[i], 1e-7 * (1.0 + std::fabs(alpha.x.value[i])));
            ASSERT_NEAR(beside.x.value[i], other.x.value[i], 1e-7 * (1.0 + std::fabs(other.x.value[i])));
          }
        }
        int p = 0;
        for (int k = 0; k < alpha.x.count; k++) {
          const int i = alpha.x.index[k];
          // mostly a large pivot, sometimes a poor one
          if (p == 0 ? std::fabs(alpha.x.value[i]) > 0.01 : std::fabs(alpha.x.value[i]) > 2.0 * std::fabs(alpha.x.value[p])) p = i;
        }
        if (p == 0) continue;
        const double pivot = alpha.x.value[p];
        if (step % 2) {  // the BTRAN's part serves the update
          sparseVector_clear(&rho.x);
          qrtbtrn_row(factor, p, step % 4 == 1 ? 1.0 : -2.5, &rho.x);
          if (step % 4 == 3) {  // two at once, against each by itself
            Vector one(m), two(m), other(m);
            other.set(model.column(step % 3 ? m + 1 : 1));
            two.set(model.column(step % 3 ? m + 1 : 1));
            qrtbtrn(factor, &other.x, SOLVE_TAU);
            qrtbtn2(factor, p, -2.5, &one.x, &two.x, SOLVE_TAU);
            ASSERT_EQ(sparseVector_check(&one.x), nullptr);
            ASSERT_EQ(sparseVector_check(&two.x), nullptr);
            for (int i = 1; i <= m; i++) {
              ASSERT_NEAR(one.x.value[i], rho.x.value[i], 1e-7 * (1.0 + std::fabs(rho.x.value[i])));
              ASSERT_NEAR(two.x.value[i], other.x.value[i], 1e-7 * (1.0 + std::fabs(other.x.value[i])));
            }
          }
          if (step % 10 == 3) {  // another FTRAN in between changes nothing
            alpha.set(model.column(enter > m ? 1 : m + 1));
            qrtftrn(factor, &alpha.x, SOLVE_TAU);
          }
        }
        const UpdateResult result = qrtetsj(factor, p, pivot, 10);
        if (result == UPDATE_FAILED) {
          failed++;
        } else {
          model.basicOfRow[size_t(p)] = enter;
          done++;
        }
        const char *fault = factor_check(factor);
        ASSERT_EQ(fault, nullptr) << fault;
        if (result != UPDATE_GOOD || factor->updateCount == 150) {
          model.basic.assign(model.basicOfRow.begin() + 1, model.basicOfRow.end());
          ASSERT_EQ(factorise(&model, 1), FACTOR_GOOD);
          mostDense = std::max(mostDense, factor->denseRows);
        }
        if (step % 13 == 0) checkSolves(model, 1e-6);
      }
      EXPECT_GT(done, m == 1 ? 2 : 100);
      EXPECT_LT(failed, 10);
      checkSolves(model, 1e-6);
      const BasisMatrix matrix = model.matrix();
      EXPECT_LT(factor_residual(factor, &matrix, model.basicOfRow.data()), 1e-6);
      Factor *copy = factor_copy(factor);
      std::swap(copy, factor);
      EXPECT_EQ(factor_check(factor), nullptr);
      checkSolves(model, 1e-6);
      std::swap(copy, factor);
      factor_free(copy);
    }
  }
  EXPECT_GT(mostDense, 100);
}

// A result that the list forms found must equal that of plain elimination, not only satisfy the equations.
TEST_F(FactorTest, AgreesWithDenseElimination) {
  const int m = 50;
  Model model = randomModel(m, m, 0.06);
  for (int j = 1; j <= m; j++) model.basic.push_back(m + j);
  factorise(&model, 1);
  Vector v(m);
  std::vector<double> b(size_t(m) + 1, 0.0), x;
  b[7] = 1.0;
  b[31] = -0.25;
  for (int transposed = 0; transposed < 2; transposed++) {
    v.set(b);
    if (transposed)
      qrtbtrn(factor, &v.x, SOLVE_ROW);
    else
      qrtftrn(factor, &v.x, SOLVE_COLUMN);
    ASSERT_TRUE(denseSolve(denseBasis(model, transposed), std::vector<double>(b.begin() + 1, b.end()), &x));
    for (int i = 1; i <= m; i++) EXPECT_NEAR(v.x.value[i], x[size_t(i - 1)], 1e-8 * (1.0 + std::fabs(x[size_t(i - 1)])));
  }
}

// Faults: an update that disagrees with its pivot is taken for good; one that fails has changed the factor.
TEST_F(FactorTest, UpdateJudgesItsPivot) {
  const int m = 30;
  Model model = randomModel(m, 2 * m, 0.15);
  for (int j = 1; j <= m; j++) model.basic.push_back(j);
  ASSERT_EQ(factorise(&model), FACTOR_GOOD);
  Vector alpha(m);
  const auto enter = [&](int variable, double error, int iterations) {
    alpha.set(model.column(variable));
    qrtftrn_ft(factor, &alpha.x);
    const int p = alpha.x.index[0];
    const UpdateResult result = qrtetsj(factor, p, alpha.x.value[p] * (1.0 + error), iterations);
    if (result != UPDATE_FAILED) model.basicOfRow[size_t(p)] = variable;
    EXPECT_EQ(factor_check(factor), nullptr);
    return result;
  };
  EXPECT_EQ(enter(m + 1, 0.0, 5), UPDATE_GOOD);
  EXPECT_EQ(enter(m + 2, 1e-6, 5), UPDATE_REFACTOR);
  checkSolves(model, 1e-9);
  EXPECT_EQ(enter(m + 3, 0.5, 5), UPDATE_FAILED);
  checkSolves(model, 1e-9);
  EXPECT_EQ(enter(m + 3, 0.5, 1), UPDATE_REFACTOR);
  checkSolves(model, 1e-9);
  // a unit spike needs no row eta
  Model slack(5);
  slack.basic = {1, 2, 3, 4, 5};
  factorise(&slack);
  Vector unitColumn(5);
  sparseVector_add(&unitColumn.x, 3, 2.0);
  qrtftrn_ft(factor, &unitColumn.x);
  EXPECT_EQ(qrtetsj(factor, 3, 2.0, 5), UPDATE_GOOD);
  EXPECT_EQ(factor->etaNumber, 0);
  EXPECT_EQ(factor->etaCount, 0);
  EXPECT_EQ(factor->updateCount, 1);
}

// Staircase: results stay sparse, so the searches run; their answers are those of full solves.
TEST_F(FactorTest, HyperSparseStaircase) {
  const int m = 4000;
  Model model(m);
  for (int j = 1; j <= m; j++) {
    std::vector<std::pair<int, double>> entries{{j, 1.0 + 0.1 * unit(random)}};
    if (j % 50 && j < m) entries.push_back({j + 1, real(random) / 4});
    if (j % 7 == 0 && j > 3) entries.push_back({j - 2, 0.3});
    model.basic.push_back(model.add(entries));
  }
  ASSERT_EQ(factorise(&model), FACTOR_GOOD);
  Vector v(m), w(m);
  for (int round = 0; round < 50; round++) {
    const int i = 1 + int(unit(random) * (m - 1));
    for (int transposed = 0; transposed < 2; transposed++) {
      sparseVector_clear(&v.x);
      sparseVector_clear(&w.x);
      sparseVector_add(&v.x, i, 1.0);
      w.x.value[i] = 1.0;
      w.x.count = LIST_UNKNOWN;
      if (transposed) {
        qrtbtrn(factor, &v.x, SOLVE_ROW);
        qrtbtrn_dense(factor, w.x.value);
      } else {
        qrtftrn(factor, &v.x, SOLVE_COLUMN);
        qrtftrn_dense(factor, w.x.value);
      }
      ASSERT_EQ(sparseVector_check(&v.x), nullptr);
      for (int k = 1; k <= m; k++) ASSERT_NEAR(v.x.value[k], w.x.value[k], 1e-11);
    }
  }
  EXPECT_LT(factor->density[SOLVE_COLUMN], 0.1);
}

}  // namespace
