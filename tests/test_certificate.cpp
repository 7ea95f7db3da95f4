// A certificate that passes a wrong claim would hide any fault of a solver: each kind of wrong claim must be named.
#include "certificate.h"

#include <gtest/gtest.h>

#include <random>
#include <vector>

namespace {

// A random program built backwards from its optimum: the solution, the duals and which bound is active are drawn
// first, bounds and costs follow from them.
struct Known {
  CertificateProgram lp;
  CertificateClaim claim;
  std::vector<int> start, row;
  std::vector<double> element, c, cl, cu, rl, ru, x, r, a, y;
};

void build(Known &k, int rows, int columns, double sense, unsigned seed) {
  std::mt19937 random(seed);
  auto whole = [&](int low, int high) { return double(std::uniform_int_distribution<int>(low, high)(random)); };
  k.start = {0};
  for (int j = 0; j < columns; ++j) {
    for (int i = 0; i < rows; ++i)
      if (whole(0, 2) == 0) {
        k.row.push_back(i);
        k.element.push_back(whole(-9, 9));
      }
    k.start.push_back(int(k.row.size()));
    k.x.push_back(whole(-5, 5));
  }
  k.a.assign(size_t(rows), 0.0);
  for (int j = 0; j < columns; ++j)
    for (int e = k.start[size_t(j)]; e < k.start[size_t(j) + 1]; ++e)
      k.a[size_t(k.row[size_t(e)])] += k.element[size_t(e)] * k.x[size_t(j)];
  auto place = [&](double value, std::vector<double> &lower, std::vector<double> &upper, std::vector<double> &dual) {
    switch (int(whole(0, 3))) {
      case 0: lower.push_back(value), upper.push_back(1e31), dual.push_back(whole(0, 6)); break;
      case 1: lower.push_back(-1e31), upper.push_back(value), dual.push_back(-whole(0, 6)); break;
      case 2: lower.push_back(value), upper.push_back(value), dual.push_back(whole(-6, 6)); break;
      default: lower.push_back(value - whole(1, 3)), upper.push_back(1e31), dual.push_back(0);
    }
  };
  for (int i = 0; i < rows; ++i) place(k.a[size_t(i)], k.rl, k.ru, k.y);
  double cx = 0;
  for (int j = 0; j < columns; ++j) {
    place(k.x[size_t(j)], k.cl, k.cu, k.r);
    double cost = k.r[size_t(j)];
    for (int e = k.start[size_t(j)]; e < k.start[size_t(j) + 1]; ++e) cost += k.element[size_t(e)] * k.y[size_t(k.row[size_t(e)])];
    k.c.push_back(sense * cost);
    cx += k.c.back() * k.x[size_t(j)];
  }
  k.lp = {rows, columns, k.start.data(), k.row.data(), k.element.data(), k.c.data(), k.cl.data(), k.cu.data(),
          k.rl.data(), k.ru.data(), sense, 7.0};
  k.claim.status = 0;
  k.claim.objective = cx - 7.0;
  k.claim.columnValue = k.x.data();
  k.claim.reducedCost = k.r.data();
  k.claim.rowActivity = k.a.data();
  k.claim.rowDual = k.y.data();
}

std::string judge(const Known &k) { return firstFault(recomputeCertificate(k.lp, k.claim)); }

}  // namespace

TEST(Certificate, PassesAnOptimumInBothSenses) {
  for (unsigned seed = 1; seed <= 40; ++seed) {
    Known k;
    build(k, 6, 9, seed % 2 ? 1.0 : -1.0, seed);
    EXPECT_EQ("", judge(k)) << "seed " << seed;
  }
}

TEST(Certificate, NamesEachKindOfWrongClaim) {
  Known k;
  build(k, 8, 12, 1.0, 99);
  auto changed = [&](std::vector<double> &vector, size_t at, double by) {
    vector[at] += by;
    const std::string fault = judge(k);
    vector[at] -= by;
    return fault;
  };
  EXPECT_EQ(0u, changed(k.a, 3, 0.01).find("primal residual"));
  EXPECT_EQ(0u, changed(k.r, 5, 0.01).find("dual residual"));
  k.claim.objective += 0.1;
  EXPECT_EQ(0u, judge(k).find("objective differs"));
  k.claim.objective -= 0.1;
  k.a[3] = std::nan("");
  EXPECT_EQ(0u, judge(k).find("primal residual"));
}

TEST(Certificate, SeesViolatedBoundsWrongSignsAndSlackDuals) {
  // minimise x with 1 <= x, one row x <= 5.
  const int start[] = {0, 1}, row[] = {0};
  const double one[] = {1}, lower[] = {1}, none[] = {1e31}, free[] = {-1e31}, five[] = {5};
  CertificateProgram lp{1, 1, start, row, one, one, lower, none, free, five, 1.0, 0.0};
  double x[] = {1}, r[] = {1}, a[] = {1}, y[] = {0};
  CertificateClaim claim;
  claim.status = 0;
  claim.objective = 1;
  claim.columnValue = x, claim.reducedCost = r, claim.rowActivity = a, claim.rowDual = y;
  auto fault = [&] { return firstFault(recomputeCertificate(lp, claim)); };
  EXPECT_EQ("", fault());
  x[0] = a[0] = claim.objective = 0.5;  // below the bound
  EXPECT_EQ(0u, fault().find("bound violation"));
  x[0] = a[0] = claim.objective = 3;  // feasible, not optimal
  EXPECT_EQ(0u, fault().find("complementary slackness"));
  x[0] = a[0] = claim.objective = 1;
  y[0] = 1, r[0] = 0;  // dual residual is zero, but the row has no lower bound to pay for
  EXPECT_EQ(0u, fault().find("dual of a missing bound"));
}

TEST(Certificate, JudgesProofsOfInfeasibility) {
  // x >= 3 by a row, x <= 1 by its bound: short by 2. w = 1, v = -1, rowAux = -w.
  const int start[] = {0, 1}, row[] = {0};
  const double one[] = {1}, zero[] = {0}, three[] = {3}, none[] = {1e31};
  CertificateProgram lp{1, 1, start, row, one, one, zero, one, three, none, 1.0, 0.0};
  double x[] = {1}, a[] = {1}, nothing[] = {0}, rowAux[] = {-1}, columnAux[] = {-1};
  CertificateClaim claim;
  claim.status = 1;
  claim.columnValue = x, claim.rowActivity = a, claim.rowDual = nothing, claim.reducedCost = nothing;
  claim.rowAux = rowAux, claim.columnAux = columnAux, claim.infeasibility = 2;
  auto judged = [&] { return recomputeCertificate(lp, claim); };
  EXPECT_EQ("", firstFault(judged()));
  EXPECT_DOUBLE_EQ(2, judged().farkasSum);
  claim.infeasibility = 3;
  EXPECT_NE("", firstFault(judged()));
  claim.infeasibility = 2;
  rowAux[0] = columnAux[0] = 1;  // the opposite sign proves nothing
  EXPECT_EQ(0u, firstFault(judged()).find("no proof of infeasibility"));
  claim.rowAux = claim.columnAux = nullptr;
  EXPECT_NE("", firstFault(judged()));
}

TEST(Certificate, JudgesRays) {
  // minimise -x - y, x - y <= 2: the ray (1, 1) descends without end.
  const int start[] = {0, 1, 2}, row[] = {0, 0};
  const double element[] = {1, -1}, cost[] = {-1, -1}, zero[] = {0, 0}, none[] = {1e31, 1e31}, free[] = {-1e31}, two[] = {2};
  CertificateProgram lp{1, 2, start, row, element, cost, zero, none, free, two, 1.0, 0.0};
  double x[] = {0, 0}, a[] = {0}, nothing[] = {0, 0}, ray[] = {1, 1}, image[] = {0};
  CertificateClaim claim;
  claim.status = 2;
  claim.columnValue = x, claim.rowActivity = a, claim.rowDual = nothing, claim.reducedCost = nothing;
  claim.columnAux = ray, claim.rowAux = image;
  auto fault = [&] { return firstFault(recomputeCertificate(lp, claim)); };
  EXPECT_EQ("", fault());
  ray[1] = 0, image[0] = 1;  // runs into the row
  EXPECT_EQ(0u, fault().find("ray leaves a bound"));
  ray[1] = 1, image[0] = 1;
  EXPECT_EQ(0u, fault().find("row part of the ray"));
  ray[0] = ray[1] = 0, image[0] = 0;
  EXPECT_NE("", fault());
  const double rising[] = {1, 1};
  ray[0] = ray[1] = 1, lp.objective = rising;
  EXPECT_EQ("the objective does not fall along the ray", fault());
}
