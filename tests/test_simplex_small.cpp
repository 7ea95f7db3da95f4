// The primal simplex on small problems: every kind of row and column, the classic hard cases, and what a caller may
// expect around a solve. Faults it would catch: a sign turned at the seam, a ray or a proof that is none, cycling, a
// basis of the wrong size, controls that do not come back, a stop that leaves the model inconsistent.
#include <algorithm>
#include <cmath>
#include <initializer_list>
#include <random>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "certificate_model.h"
#include "qrt_c_api.h"

// The exit of this program.
static int classicAnswer = -2, classicCalls = 0;  // -2: the status as it is
extern "C" void QRTITRU(int *status, int code) {
  classicCalls += code != 0;
  if (classicAnswer != -2) *status = classicAnswer;
}

// The exit on the leaving variable: at call `wantedCall` it takes `wantedRow` and `wantedBound`.
static int rowCalls = 0, wantedCall = 0, wantedRow = 0, wantedBound = 0, strangeRows = 0;
extern "C" void QRTCZRU(int, int numberRows, const double *column, int *row, int *bound) {
  rowCalls++;
  if (*row < 0 || *row > numberRows || (*row > 0 && column[*row] == 0.0) || (*bound != 0 && *bound != 2)) strangeRows++;
  if (rowCalls == wantedCall) *row = wantedRow, *bound = wantedBound;
}

namespace {

constexpr double INF = 1.0e31;

// A problem as triples; rows and columns come with their bounds.
struct Lp {
  std::vector<double> rowLow, rowUp, cost, low, up;
  std::vector<int> row, column;
  std::vector<double> element;
  double sense = 1.0, offset = 0.0;

  int addColumn(double c, double l = 0.0, double u = INF) {
    cost.push_back(c), low.push_back(l), up.push_back(u);
    return int(cost.size()) - 1;
  }
  int addRow(double l, double u, std::initializer_list<double> coefficients = {}) {
    rowLow.push_back(l), rowUp.push_back(u);
    int j = 0;
    for (double a : coefficients) put(int(rowLow.size()) - 1, j++, a);
    return int(rowLow.size()) - 1;
  }
  void put(int i, int j, double a) {
    if (a != 0.0) row.push_back(i), column.push_back(j), element.push_back(a);
  }
};

std::vector<int> heard;  // numbers of messages that were listened to
std::vector<int> heardCount;
void listen(QRTModel *, int number, int, const double *, int nInts, const int *ints, int, const char *) {
  heard.push_back(number);
  heardCount.push_back(nInts > 0 ? ints[0] : 0);
}
int timesHeard(int number) { return int(std::count(heard.begin(), heard.end(), number)); }

struct Simplex : ::testing::Test {
  static QRTContext *context;
  std::vector<QRTModel *> models;
  static void SetUpTestSuite() {
    context = qrt_initializeContext();
    qrt_messagesPrintOff(qrt_baseModel(context), 1, 6999);
  }
  static void TearDownTestSuite() { qrt_endContext(context); }
  void SetUp() override { heard.clear(), heardCount.clear(); }
  void TearDown() override {
    for (QRTModel *q : models) qrt_deleteModel(q);
  }

  QRTModel *load(const Lp &p) {
    QRTModel *q = qrt_newModel(context, "small");
    models.push_back(q);
    const int m = int(p.rowLow.size()), n = int(p.cost.size());
    EXPECT_EQ(0, qrt_loadRimModel(q, m, p.rowLow.data(), p.rowUp.data(), n, p.cost.data(), p.low.data(), p.up.data()));
    std::vector<int> start(size_t(n) + 1, 0), rows(p.row.size() + 1);
    std::vector<double> values(p.row.size() + 1);
    for (int j : p.column) start[size_t(j) + 1]++;
    for (int j = 0; j < n; j++) start[size_t(j) + 1] += start[size_t(j)];
    std::vector<int> at = start;
    for (size_t k = 0; k < p.row.size(); k++) {
      const size_t z = size_t(at[size_t(p.column[k])]++);
      rows[z] = p.row[k], values[z] = p.element[k];
    }
    if (!p.row.empty()) {
      EXPECT_EQ(0, qrt_addColumnElementBlock(q, n, rows.data(), start.data(), values.data()));
    }
    if (p.sense < 0) qrt_setMaximize(q);
    qrt_setRobjectiveOffset(q, p.offset);
    return q;
  }
  void hear(QRTModel *q, std::initializer_list<int> numbers) {
    qrt_registerMsguCallBack(q, listen);
    for (int number : numbers) qrt_messageUserExitOn(q, number);
  }
};
QRTContext *Simplex::context = nullptr;

// Statuses, positions and counts of a basis; every nonbasic stands where its status says.
void expectBasis(QRTModel *q) {
  const int m = qrt_getInumrows(q), n = qrt_getInumcols(q);
  EXPECT_EQ(m, qrt_getNumberBasicRows(q) + qrt_getNumberBasicColumns(q));
  std::vector<int> taken(size_t(m), 0);
  for (int k = 0; k < m + n; k++) {
    const bool isRow = k < m;
    const int i = isRow ? k : k - m;
    const int status = isRow ? qrt_rowStatus(q, i) : qrt_columnStatus(q, i);
    const int position = isRow ? qrt_isRowBasic(q, i) : qrt_isColumnBasic(q, i);
    const double x = isRow ? qrt_rowacts(q)[i] : qrt_colsol(q)[i];
    const double l = isRow ? qrt_rowlower(q)[i] : qrt_collower(q)[i];
    const double u = isRow ? qrt_rowupper(q)[i] : qrt_colupper(q)[i];
    if (status == 0) {
      ASSERT_LT(position, m);
      if (position == -2) continue;  // taken out before the solve: basic, position not known
      ASSERT_GE(position, 0);
      EXPECT_EQ(0, taken[size_t(position)]++) << "two basics at one position";
      continue;
    }
    EXPECT_EQ(-1, position);
    if (status == -1) { EXPECT_EQ(l, x); }
    if (status == 1) { EXPECT_EQ(u, x); }
    if (status == 2) { EXPECT_EQ(0.0, x); }
    if (status == -2 && qrt_getIprobstat(q) == 0) { EXPECT_LE(u - l, 1.0e-12); }
  }
}

// Solves and holds the answer to its certificate.
void solve(QRTModel *q, int status, int mode = 1) {
  ASSERT_EQ(0, qrt_primalSimplex(q, mode));
  ASSERT_EQ(status, qrt_getIprobstat(q)) << "objective " << qrt_getRobjvalue(q) << ", sum " << qrt_getRsumpinf(q);
  EXPECT_EQ("", firstFault(certifyModel(q), 1.0e-7));
  EXPECT_EQ(status == 0 ? 0 : status == 1 ? 3 : -1, qrt_getIprobstat2(q));
  if (status == 0) {
    EXPECT_EQ(0, qrt_getInumpinf(q) + qrt_getInumdinf(q));
    EXPECT_EQ(0.0, qrt_getRsumpinf(q) + qrt_getRsumdinf(q));
  }
  expectBasis(q);
}
void solveTo(QRTModel *q, double objective, int mode = 1) {
  solve(q, 0, mode);
  EXPECT_NEAR(objective, qrt_getRobjvalue(q), 1.0e-7 * (1.0 + std::fabs(objective)));
}

Lp textbook() {  // max 3x + 5y: x <= 4, 2y <= 12, 3x + 2y <= 18
  Lp p;
  p.addColumn(-3), p.addColumn(-5);
  p.addRow(-INF, 4, {1, 0}), p.addRow(-INF, 12, {0, 2}), p.addRow(-INF, 18, {3, 2});
  return p;
}

// ---- signs ----------------------------------------------------------------------------------------------------------

TEST_F(Simplex, DualsBelongToTheMinimisedForm) {
  QRTModel *q = load(textbook());
  solveTo(q, -36);
  EXPECT_NEAR(2, qrt_colsol(q)[0], 1e-9);
  EXPECT_NEAR(6, qrt_colsol(q)[1], 1e-9);
  EXPECT_NEAR(-1.5, qrt_rowduals(q)[1], 1e-9);
  EXPECT_NEAR(-1, qrt_rowduals(q)[2], 1e-9);
  EXPECT_EQ(1, qrt_rowStatus(q, 2));
  Lp p = textbook();
  p.cost = {3, 5}, p.sense = -1, p.offset = 100;
  q = load(p);
  solveTo(q, -64);
  EXPECT_NEAR(-1.5, qrt_rowduals(q)[1], 1e-9);
  qrt_setMinimize(q);  // the other sense from the optimal basis of this one
  solveTo(q, -100);
}

TEST_F(Simplex, ActiveSideOfRangesAndBoxes) {
  for (int signs = 0; signs < 8; signs++) {
    Lp p;
    p.addColumn(signs & 1 ? -1 : 1, -3, 8), p.addColumn(signs & 2 ? -2 : 2, -2, 4), p.addColumn(signs & 4 ? 1.5 : -1, 0.5, 3);
    p.addRow(2, 5, {1, 1, 0}), p.addRow(1, 1, {1, -1, 1}), p.addRow(-4, 6, {0, 1, 2});
    for (int mode = 1; mode <= 3; mode++) solve(load(p), 0, mode);
  }
  Lp free;
  free.addColumn(1, -INF, INF), free.addRow(2, 5, {1});
  QRTModel *q = load(free);
  solveTo(q, 2);
  EXPECT_EQ(-1, qrt_rowStatus(q, 0));
  EXPECT_NEAR(1, qrt_rowduals(q)[0], 1e-12);
  qrt_setMaximize(q);
  solveTo(q, 5);
  EXPECT_EQ(1, qrt_rowStatus(q, 0));
  EXPECT_NEAR(-1, qrt_rowduals(q)[0], 1e-12);
}

// ---- nothing there --------------------------------------------------------------------------------------------------

TEST_F(Simplex, EmptyRowsColumnsAndModels) {
  Lp none;
  none.addColumn(2, -1, 4), none.addColumn(-2, -1, 4), none.addColumn(0, -5, 6);
  solveTo(load(none), -10);
  Lp noElements;
  noElements.addColumn(1, 1, 2), noElements.addColumn(-1, -INF, 3);
  noElements.addRow(-1, 1), noElements.addRow(-INF, INF);
  solveTo(load(noElements), -2);
  Lp noColumns;
  noColumns.addRow(-1, 1);
  solveTo(load(noColumns), 0);
  Lp wants;  // an empty row that wants 1
  wants.addColumn(1, 0, 5), wants.addRow(1, 2), wants.addRow(0, 9, {1});
  wants.row = {1};
  QRTModel *q = load(wants);
  solve(q, 1);
  EXPECT_NEAR(1, qrt_getRsumpinf(q), 1e-6);
  Lp open;  // an empty column without limit
  open.addColumn(-1), open.addRow(0, 1);
  solve(load(open), 2);
  Lp ray;  // free, no rows at all
  ray.addColumn(1, -INF, INF);
  solve(load(ray), 2);
}

TEST_F(Simplex, ElementsOfOneCellAddUpAndCancel) {
  Lp p;
  p.addColumn(-1), p.addColumn(-1, 0, 2);
  p.addRow(-INF, 6, {1, 1});
  QRTModel *q = load(p);
  const int rows[] = {0, 0}, columns[] = {0, 1};
  const double more[] = {1, -1};
  ASSERT_EQ(1, qrt_addElementBlock(q, 2, rows, columns, more));
  solveTo(q, -5);  // 2x <= 6, y by its bound
}

// ---- no optimum -----------------------------------------------------------------------------------------------------

TEST_F(Simplex, InfeasibleWithProof) {
  Lp p;
  for (int j = 0; j < 4; j++) p.addColumn(j - 1.5, 0, 10);
  p.addRow(20, INF, {1, 2, 0.5, 1}), p.addRow(-INF, 8, {1, 2, 0.5, 1}), p.addRow(1, 3, {1, -1, 1, -1});
  for (int sense = -1; sense <= 1; sense += 2)
    for (int mode = 1; mode <= 3; mode++) {
      p.sense = sense;
      QRTModel *q = load(p);
      solve(q, 1, mode);
      EXPECT_NEAR(12, qrt_getRsumpinf(q), 1e-6);
      EXPECT_GE(qrt_getInumpinf(q), 1);
    }
  QRTModel *q = load(p);
  solve(q, 1);
  double *l = qrt_getRowlower(q);
  l[0] = 7;  // mended: the same model solves on from the basis left behind
  qrt_setRowlower(q, l);
  qrt_free(l);
  solve(q, 0);
  Lp bounds;  // columns alone against one row
  bounds.addColumn(0, 0, 1), bounds.addColumn(0, 0, 1), bounds.addRow(3, INF, {1, 1});
  solve(load(bounds), 1);
  Lp unboundedToo;  // infeasible and dual infeasible: infeasible it is
  unboundedToo.addColumn(-1), unboundedToo.addColumn(0, 0, 1), unboundedToo.addRow(2, 2, {0, 1});
  solve(load(unboundedToo), 1);
}

TEST_F(Simplex, UnboundedWithRay) {
  for (int sense = -1; sense <= 1; sense += 2) {
    Lp p;
    p.sense = sense;
    p.addColumn(-sense), p.addColumn(0.25 * sense), p.addColumn(0, -INF, INF);
    p.addRow(-INF, 4, {1, -1, 0}), p.addRow(-2, INF, {-1, 2, 1}), p.addRow(1, 3, {0, 0, 1});
    QRTModel *q = load(p);
    solve(q, 2);
    double *u = qrt_getColupper(q);
    u[0] = 1000;
    qrt_setColupper(q, u);
    qrt_free(u);
    solve(q, 0);
  }
}

// ---- degeneracy -----------------------------------------------------------------------------------------------------

TEST_F(Simplex, CyclingExamplesUnderEveryPricing) {
  Lp beale, kuhn;
  for (double c : {-.75, 150., -.02, 6.}) beale.addColumn(c);
  beale.addRow(-INF, 0, {.25, -60, -.04, 9}), beale.addRow(-INF, 0, {.5, -90, -.02, 3}), beale.addRow(-INF, 1, {0, 0, 1, 0});
  for (double c : {-2., -3., 1., 12.}) kuhn.addColumn(c);
  kuhn.addRow(-INF, 0, {-2, -9, 1, 9}), kuhn.addRow(-INF, 0, {1 / 3., 1, -1 / 3., -2}), kuhn.addRow(-INF, 2, {2, 3, -1, -12});
  for (int devex = -3; devex <= 3; devex++)
    for (int mode = 0; mode <= 3; mode++) {
      QRTModel *q = load(beale);
      qrt_setIdevexmode(q, devex);
      solveTo(q, -0.05, mode);
      EXPECT_EQ(devex, qrt_getIdevexmode(q));
      q = load(kuhn);
      qrt_setIdevexmode(q, devex);
      solveTo(q, -2, mode);
    }
}

TEST_F(Simplex, AssignmentAndKleeMinty) {
  Lp p;  // costs of a circulant: every basis is degenerate, the optimum is the diagonal
  const int n = 12;
  for (int i = 0; i < n; i++)
    for (int j = 0; j < n; j++) p.addColumn((j - i + n) % n + (i == j ? 1 : 2));
  for (int i = 0; i < n; i++) p.addRow(1, 1);
  for (int j = 0; j < n; j++) p.addRow(1, 1);
  for (int i = 0; i < n; i++)
    for (int j = 0; j < n; j++) p.put(i, n * i + j, 1), p.put(n + j, n * i + j, 1);
  for (int mode = 1; mode <= 2; mode++) solveTo(load(p), n, mode);

  Lp cube;  // max sum 2^(d-j) x_j, whose vertices plain pricing may visit all
  const int d = 10;
  for (int j = 1; j <= d; j++) cube.addColumn(-std::pow(2.0, d - j));
  for (int i = 1; i <= d; i++) {
    cube.addRow(-INF, std::pow(5.0, i));
    for (int j = 1; j < i; j++) cube.put(i - 1, j - 1, std::pow(2.0, i - j + 1));
    cube.put(i - 1, i - 1, 1);
  }
  for (int devex : {0, 1, 2, 3}) {
    QRTModel *q = load(cube);
    qrt_setIdevexmode(q, devex);
    solveTo(q, -std::pow(5.0, d));
  }
}

// ---- starts ---------------------------------------------------------------------------------------------------------

TEST_F(Simplex, SingularStartIsRepairedAndTold) {
  Lp p;
  p.addColumn(1, 0, 9), p.addColumn(2, 0, 9), p.addColumn(1, 0, 9);
  p.addRow(2, 8, {1, 2, 0}), p.addRow(2, 12, {2, 4, 0}), p.addRow(1, 5, {0, 0, 1});
  QRTModel *q = load(p);
  hear(q, {37});
  const int columns[] = {0, 1, 2};
  for (int i = 0; i < 3; i++) qrt_setRowStatus(q, 1, &i, reinterpret_cast<const int *>("\0\0\0\x20"));
  ASSERT_EQ(0, qrt_markColumnsAsBasic(q, 3, columns));  // two of them are parallel
  solveTo(q, 3);
  ASSERT_EQ(1, timesHeard(37));
  EXPECT_EQ(1, heardCount[0]);
  solveTo(q, 3);  // a sound start says nothing
  EXPECT_EQ(1, timesHeard(37));
}

TEST_F(Simplex, OptimalStartCostsNoIteration) {
  QRTModel *q = load(textbook());
  solve(q, 0);
  const int before = qrt_getIiternum(q);
  for (int mode = 0; mode <= 3; mode++) solveTo(q, -36, mode);
  EXPECT_EQ(before, qrt_getIiternum(q));
}

// ---- random problems with a known optimum -----------------------------------------------------------------------------

// Solution, multipliers and active sides are drawn first, bounds and costs follow from them.
Lp known(int m, int n, unsigned seed, double *optimum) {
  std::mt19937 random(seed);
  auto between = [&](double a, double b) { return std::uniform_real_distribution<double>(a, b)(random); };
  Lp p;
  std::vector<double> y(static_cast<size_t>(m)), activity(static_cast<size_t>(m), 0.0);
  for (double &v : y) v = between(0, 1) < 0.5 ? between(-3, 3) : 0.0;
  *optimum = 0.0;
  for (int i = 0; i < m; i++) p.addRow(-INF, INF);
  for (int j = 0; j < n; j++) {
    const double kind = between(0, 1);
    const double l = between(0, 1) < 0.8 ? 0 : between(-2, 1);
    double u = kind < 0.8 && between(0, 1) < 0.5 ? INF : l + between(1, 9);
    double x = l, r = between(0.01, 4), low = l;
    if (kind < 0.4 * m / n) {
      x = l + between(0.2, 0.8) * (u < INF ? u - l : 5.0), r = 0;
      if (between(0, 1) < 0.1) low = -INF, u = INF;
    } else if (kind >= 0.8) {
      x = u, r = -r;
    }
    double c = r;
    for (int e = 0; e < 4; e++) {
      const int i = int(between(0, m)) % m;
      const double a = (between(0, 1) < 0.5 ? -1 : 1) * between(0.5, 5);
      p.put(i, j, a);
      activity[size_t(i)] += a * x, c += a * y[size_t(i)];
    }
    p.addColumn(c, low, u);
    *optimum += c * x;
  }
  for (size_t i = 0; i < size_t(m); i++) {
    const double a = activity[i];
    if (y[i] >= 0) p.rowLow[i] = y[i] > 0 ? a : a - between(0.1, 9);
    if (y[i] <= 0) p.rowUp[i] = y[i] < 0 ? a : a + between(0.1, 9);
    if (y[i] != 0 && between(0, 1) < 0.3) p.rowLow[i] = p.rowUp[i] = a;
  }
  return p;
}

TEST_F(Simplex, KnownOptimumByEveryRoute) {
  for (unsigned seed = 1; seed <= 6; seed++) {
    double v;
    Lp p = known(60 + 40 * int(seed), 130 + 90 * int(seed), seed, &v);
    for (int mode = 1; mode <= 3; mode++) solveTo(load(p), v, mode);
    for (int devex : {-1, 0, 2, 3}) {
      QRTModel *q = load(p);
      qrt_setIdevexmode(q, devex);
      solveTo(q, v);
    }
    for (int often : {0, 1, 7}) {
      QRTModel *q = load(p);
      qrt_setImaxfactor(q, often);
      solveTo(q, v);
    }
    QRTModel *q = load(p);
    qrt_setIfastits(q, 1000003);
    solveTo(q, v);
    q = load(p);
    qrt_setRprimalPerturbation(q, -1.0e-5);  // a negative size perturbs at once
    hear(q, {33, 34});
    solveTo(q, v);
    EXPECT_EQ(1, timesHeard(33));
    EXPECT_GE(timesHeard(34), 1);
    heard.clear();
  }
}

// A long run of the dual shifts costs at random and keeps its reduced costs over factorisations: neither may show in the
// optimum, the multipliers or the reduced costs.
TEST_F(Simplex, LongDualRunsEndWithTheTrueCosts) {
  for (unsigned seed = 71; seed < 75; seed++) {
    double v;
    const Lp p = known(250 + 50 * int(seed - 70), 700, seed, &v);
    for (int often : {100, 12}) {
      QRTModel *q = load(p);
      qrt_setImaxfactor(q, often);
      ASSERT_EQ(0, qrt_dualSimplex(q, 1));
      EXPECT_GT(qrt_getIiternum(q), 200);
      ASSERT_EQ(0, qrt_getIprobstat(q));
      EXPECT_NEAR(v, qrt_getRobjvalue(q), 1e-8 * (1 + std::fabs(v)));
      EXPECT_EQ("", firstFault(certifyModel(q), 1e-7));
    }
  }
}

TEST_F(Simplex, BadScalesAreTakenInStride) {
  double v;
  Lp p = known(80, 160, 17, &v);
  std::mt19937 random(5);
  std::vector<double> f(p.cost.size());
  for (size_t j = 0; j < f.size(); j++) {
    f[j] = std::pow(10.0, std::uniform_real_distribution<double>(-2.5, 2.5)(random));
    if (p.low[j] > -INF) p.low[j] /= f[j];
    if (p.up[j] < INF) p.up[j] /= f[j];
    p.cost[j] *= f[j];
  }
  for (size_t k = 0; k < p.element.size(); k++) p.element[k] *= f[size_t(p.column[k])];
  QRTModel *q = load(p);
  solveTo(q, v);
  for (size_t j = 0; j < f.size(); j++) EXPECT_LE(p.low[j] - 1.0e-8, qrt_colsol(q)[j]);
}

TEST_F(Simplex, WarmStartsAfterChanges) {
  double v;
  const Lp p = known(150, 300, 23, &v);
  QRTModel *q = load(p);
  solveTo(q, v);
  std::mt19937 random(9);
  for (int change = 0; change < 20; change++) {
    const int j = int(random() % 300);
    double *u = qrt_getColupper(q), *c = qrt_getObjective(q);
    if (change % 2) u[j] = std::max(qrt_collower(q)[j], qrt_colsol(q)[j] - 0.3);
    else c[j] -= 1.5;
    qrt_setColupper(q, u), qrt_setObjective(q, c);
    qrt_free(u), qrt_free(c);
    const int before = qrt_getIiternum(q);
    ASSERT_EQ(0, qrt_primalSimplex(q, 1));
    EXPECT_EQ("", firstFault(certifyModel(q), 1.0e-7));
    EXPECT_LT(qrt_getIiternum(q) - before, 100) << "no use was made of the basis";
    if (qrt_getIprobstat(q) != 0) break;
  }
}

// ---- values pass ------------------------------------------------------------------------------------------------------

TEST_F(Simplex, ValuesPassPushesAPointToABasis) {
  double v;
  Lp p = known(60, 150, 31, &v);
  QRTModel *q = load(p);
  hear(q, {31});
  double *x = qrt_getColsol(q), *a = qrt_getRowacts(q);
  const int m = 60, n = 150;
  for (int j = 0; j < n; j++) {
    const size_t k = size_t(j);
    x[j] = p.low[k] <= -INF ? 0.5 : p.low[k] + 0.37 * std::min(1.0, p.up[k] - p.low[k]);
  }
  for (int i = 0; i < m; i++) a[i] = 0;
  for (size_t k = 0; k < p.row.size(); k++) a[p.row[k]] += p.element[k] * x[p.column[k]];
  std::vector<int> all(static_cast<size_t>(n)), superbasic(static_cast<size_t>(n), 0);
  for (int j = 0; j < n; j++) all[size_t(j)] = j;
  qrt_setColsol(q, x), qrt_setRowacts(q, a);
  qrt_setColumnStatus(q, n, all.data(), superbasic.data());
  solveTo(q, v, 3);
  EXPECT_GE(timesHeard(31), 1);
  solveTo(q, v, 3);
  qrt_free(x), qrt_free(a);
}

// ---- limits, stops, exits -----------------------------------------------------------------------------------------------

TEST_F(Simplex, LimitsStopAndContinue) {
  double v;
  const Lp p = known(120, 260, 41, &v);
  QRTModel *q = load(p);
  qrt_setImaxiter(q, 0);
  solve(q, 3);
  EXPECT_EQ(0, qrt_getIiternum(q));
  for (int limit = 5; qrt_getIprobstat(q) == 3; limit += 40) {
    qrt_setImaxiter(q, limit);
    ASSERT_EQ(0, qrt_primalSimplex(q, 0));
    EXPECT_LE(qrt_getIiternum(q), limit);
    EXPECT_EQ(limit, qrt_getImaxiter(q));
    expectBasis(q);
    if (qrt_getIprobstat(q) == 3) { EXPECT_EQ(3, certifyModel(q).status); }
  }
  solveTo(q, v, 0);
  qrt_setImaxiter(q, qrt_getIiternum(q));  // at the limit but optimal: optimal
  solveTo(q, v);
}

// A stop while bounds are perturbed: the model holds true values, and a run that goes on takes the perturbation over.
TEST_F(Simplex, PerturbedStopContinues) {
  double v;
  const Lp p = known(120, 260, 42, &v);
  QRTModel *q = load(p);
  qrt_setRprimalPerturbation(q, -1.0e-5);
  qrt_setImaxiter(q, 30);
  hear(q, {33, 82});
  solve(q, 3);
  EXPECT_EQ(1, timesHeard(33));
  EXPECT_EQ(1, timesHeard(82));
  qrt_setImaxiter(q, 99999999);
  solveTo(q, v, 0);
  EXPECT_EQ(1, timesHeard(33)) << "perturbed a second time";
}

// The same for the costs that the dual perturbs; the primal cannot use them and says so.
TEST_F(Simplex, PerturbedDualStopContinues) {
  double v;
  const Lp p = known(120, 260, 44, &v);
  for (const bool byPrimal : {false, true}) {
    QRTModel *q = load(p);
    qrt_setRdualPerturbation(q, -1.0e-5);
    hear(q, {33, 82, 3035});
    // A stop in the first phase keeps nothing: on until one comes with perturbed costs in force.
    for (int limit = 10; timesHeard(82) == 0 && limit < 400; limit += 10) {
      qrt_setImaxiter(q, limit);
      ASSERT_EQ(0, qrt_dualSimplex(q, 0));
      if (qrt_getIprobstat(q) == 0) break;
    }
    ASSERT_EQ(1, timesHeard(82));
    EXPECT_EQ(3, qrt_getIprobstat(q));
    const int perturbed = timesHeard(33);
    ASSERT_GE(perturbed, 1);
    for (size_t j = 0; j < p.cost.size(); j++) EXPECT_EQ(p.cost[j], qrt_objective(q)[j]);
    qrt_setImaxiter(q, 99999999);
    ASSERT_EQ(0, byPrimal ? qrt_primalSimplex(q, 0) : qrt_dualSimplex(q, 0));
    EXPECT_EQ(0, qrt_getIprobstat(q));
    EXPECT_NEAR(v, qrt_getRobjvalue(q), 1e-6 * (1.0 + std::fabs(v)));
    EXPECT_EQ("", firstFault(certifyModel(q), 1e-6));
    EXPECT_EQ(byPrimal ? 1 : 0, timesHeard(3035));
    if (!byPrimal) { EXPECT_EQ(perturbed, timesHeard(33)) << "perturbed a second time"; }
    heard.clear();
  }
}

TEST_F(Simplex, StopAtFirstDualFeasibleBasis) {
  double v;
  const Lp p = known(100, 220, 43, &v);
  QRTModel *q = load(p);
  qrt_setIstopmask(q, 2);
  ASSERT_EQ(0, qrt_dualSimplex(q, 1));
  ASSERT_EQ(3, qrt_getIprobstat(q));
  EXPECT_EQ(0, qrt_getInumdinf(q));
  EXPECT_GT(qrt_getInumpinf(q), 0);
  qrt_setIstopmask(q, 0);
  ASSERT_EQ(0, qrt_dualSimplex(q, 1));
  EXPECT_EQ(0, qrt_getIprobstat(q));
  EXPECT_NEAR(v, qrt_getRobjvalue(q), 1e-6 * (1.0 + std::fabs(v)));
}

// Parameters for experts change the way and not the answer; that each one arrives shows in what the run tells.
TEST_F(Simplex, ExpertsParameters) {
  double v;
  const Lp p = known(200, 420, 45, &v);
  QRTModel *q = load(p);
  hear(q, {33, 85});
  const int perturbAt[] = {0, 0, 1, 60};
  ASSERT_EQ(0, qrt_exoticParameters(q, 4, perturbAt, 0, nullptr, 0, nullptr));
  solveTo(q, v);
  EXPECT_EQ(1, timesHeard(33)) << "perturbed at iteration 60, whether it stalled or not";
  heard.clear();

  QRTModel *plain = load(p);
  solveTo(plain, v);
  const int usual = qrt_getIiternum(plain);
  const int held[] = {40, 100000};
  const double real[] = {10.0, 2000.0}, pivot[] = {1e-9, 0.5};
  q = load(p);
  hear(q, {33, 85});
  ASSERT_EQ(0, qrt_exoticParameters(q, 2, held, 2, real, 2, pivot));
  solveTo(q, v);
  EXPECT_NE(usual, qrt_getIiternum(q)) << "pricing in parts, then Devex, takes another way";

  // Pivotal rows column by column are the same rows.
  const int byColumns[] = {0, 0, 0, 0, 0, 0, 0, 1};
  for (const auto solver : {qrt_primalSimplex, qrt_dualSimplex}) {
    q = load(p);
    ASSERT_EQ(0, qrt_exoticParameters(q, 8, byColumns, 0, nullptr, 0, nullptr));
    ASSERT_EQ(0, solver(q, 1));
    EXPECT_NEAR(v, qrt_getRobjvalue(q), 1e-7 * (1.0 + std::fabs(v)));
    EXPECT_EQ("", firstFault(certifyModel(q), 1e-7));
  }

  // A start that is feasible for the dual alone: minimise positive costs over rows that want more than zero.
  Lp cover;
  for (int j = 0; j < 6; j++) cover.addColumn(1.0 + j);
  cover.addRow(4.0, INF, {1, 2, 1, 0, 3, 1});
  cover.addRow(5.0, INF, {2, 0, 1, 1, 1, 2});
  const int change[] = {0, 0, 0, 0, 0, 0, 1};
  q = load(cover);
  hear(q, {33, 85});
  ASSERT_EQ(0, qrt_exoticParameters(q, 7, change, 0, nullptr, 0, nullptr));
  ASSERT_EQ(0, qrt_primalSimplex(q, 1));
  EXPECT_EQ(0, qrt_getIprobstat(q));
  EXPECT_EQ("", firstFault(certifyModel(q), 1e-7));
  EXPECT_EQ(1, timesHeard(85));
  heard.clear();
  // None again: the primal stays the primal.
  ASSERT_EQ(0, qrt_exoticParameters(q, 0, nullptr, 0, nullptr, 0, nullptr));
  double *low = qrt_getRowlower(q);
  low[0] = 6.0;
  qrt_setRowlower(q, low);
  qrt_free(low);
  ASSERT_EQ(0, qrt_primalSimplex(q, 1));
  EXPECT_EQ(0, timesHeard(85));
  heard.clear();
}

TEST_F(Simplex, StopAtFirstFeasiblePoint) {
  double v;
  Lp p = known(100, 220, 43, &v);
  QRTModel *q = load(p);
  qrt_setIstopmask(q, 2);
  ASSERT_EQ(0, qrt_primalSimplex(q, 1));
  ASSERT_EQ(3, qrt_getIprobstat(q));
  EXPECT_EQ(0.0, qrt_getRsumpinf(q));
  EXPECT_EQ(0, qrt_getInumpinf(q));
  qrt_setIstopmask(q, 0);
  solveTo(q, v);
}

int calls, stopAt, answerThen, strange;
int iterationExit(QRTModel *q, int status, int code) {
  calls++;
  if (status != -1 || (code != 1 && code != 3) || qrt_getIprobstat(q) != -1) strange++;
  return calls == stopAt ? answerThen : status;
}

// What the exit says in its ninth call, and the status that follows: stop, go on for good, and a word that means nothing.
struct ExitCase {
  int answer, status;
};
constexpr ExitCase EXIT_CASES[] = {{3, 3}, {99, 0}, {42, 0}};

void armExit(QRTModel *q, int (*exit)(QRTModel *, int, int), int answer) {
  qrt_mset(q, 3023, 256, -1, 0, 0, 0);
  qrt_registerItruCallBack(q, exit);
  qrt_setIiterufreq(q, 1);
  calls = strange = 0, stopAt = 9, answerThen = answer;
}

TEST_F(Simplex, IterationExit) {
  double v;
  const Lp p = known(90, 200, 47, &v);
  for (const ExitCase &c : EXIT_CASES) {
    QRTModel *q = load(p);
    hear(q, {3023});
    armExit(q, iterationExit, c.answer);
    ASSERT_EQ(0, qrt_primalSimplex(q, 1));
    EXPECT_EQ(c.status, qrt_getIprobstat(q));
    EXPECT_EQ(0, strange);
    EXPECT_GE(calls, 9);
    expectBasis(q);
    EXPECT_EQ(c.answer == 42 ? 1 : 0, timesHeard(3023));
    if (c.answer == 3) { EXPECT_LE(qrt_getIiternum(q), 12); }
    qrt_clearItruCallBack(q);
    calls = 0;
    solveTo(q, v);
    EXPECT_EQ(0, calls);
    heard.clear();
  }
}

// The exit by name, for programs without call-backs: a call-back comes before it.
TEST_F(Simplex, IterationExitByName) {
  double v;
  QRTModel *q = load(known(90, 200, 47, &v));
  qrt_setIiterufreq(q, 1);
  classicAnswer = 3, classicCalls = 0;
  ASSERT_EQ(0, qrt_primalSimplex(q, 1));
  classicAnswer = -2;
  EXPECT_EQ(3, qrt_getIprobstat(q));
  EXPECT_EQ(1, classicCalls);
  solveTo(q, v);
  EXPECT_GT(classicCalls, 10);
}

// The same in the dual, which calls before each of its passes with code 4 and in its iterations with code 1; where its costs
// were shifted the primal ends the run.
int dualCalls[5];
int dualExit(QRTModel *, int status, int code) {
  if (code >= 0 && code < 5) dualCalls[code]++;
  return ++calls == stopAt ? answerThen : status;
}

TEST_F(Simplex, IterationExitOfTheDual) {
  double v;
  const Lp p = known(90, 200, 47, &v);
  for (const ExitCase &c : EXIT_CASES) {
    QRTModel *q = load(p);
    hear(q, {3023});
    armExit(q, dualExit, c.answer);
    std::fill(std::begin(dualCalls), std::end(dualCalls), 0);
    ASSERT_EQ(0, qrt_dualSimplex(q, 1));
    EXPECT_EQ(c.status, qrt_getIprobstat(q));
    EXPECT_GE(dualCalls[4], 1);
    EXPECT_GE(dualCalls[1], 5);
    EXPECT_EQ(0, dualCalls[0] + dualCalls[2]);
    EXPECT_EQ(c.answer == 42 ? 1 : 0, timesHeard(3023));
    if (c.answer == 3) { EXPECT_LE(qrt_getIiternum(q), 12); }
    if (c.status == 0) { EXPECT_EQ("", firstFault(certifyModel(q), 1e-7)); }
    heard.clear();
  }
}

// A program may choose the variable that leaves. A choice that is none is told and passed over; one that leads out of the
// feasible region costs iterations, not the answer.
TEST_F(Simplex, ExitOnTheLeavingVariable) {
  struct Case {
    int call, row, bound, told;
  };
  const Case cases[] = {{0, 0, 0, 0}, {1, 3, 0, 0}, {1, 9, 0, 1}, {1, 1, 0, 1}, {1, 3, 2, 1}, {1, 3, 7, 1}};
  for (const Case &c : cases) {
    SCOPED_TRACE("row " + std::to_string(c.row) + ", bound " + std::to_string(c.bound));
    QRTModel *q = load(textbook());  // the second column enters first; it does not occur in row 1
    qrt_mset(q, 3023, 256, -1, 0, 0, 0);
    hear(q, {3023});
    rowCalls = strangeRows = 0, wantedCall = c.call, wantedRow = c.row, wantedBound = c.bound;
    solveTo(q, -36);
    wantedCall = 0;
    EXPECT_GE(rowCalls, 2);
    EXPECT_EQ(0, strangeRows);
    EXPECT_EQ(c.told, timesHeard(3023));
    if (c.told) { EXPECT_EQ(c.row > 3 || c.row == 1 ? c.row : c.bound, heardCount.empty() ? -1 : heardCount[0]); }
    heard.clear(), heardCount.clear();
  }
}

// Stop mask 1: the run ends where pricing goes over from parts of the columns to all of them, or from given values to a basis.
TEST_F(Simplex, StopWhereFullPricingBegins) {
  double v;
  const Lp p = known(150, 700, 61, &v);
  for (const int mode : {2, 3}) {
    QRTModel *q = load(p);
    hear(q, {31, 44, 45, 46});
    qrt_setIstopmask(q, 1);
    ASSERT_EQ(0, qrt_primalSimplex(q, mode));
    EXPECT_EQ(3, qrt_getIprobstat(q)) << "mode " << mode;
    EXPECT_EQ(mode == 3 ? 1 : 0, timesHeard(31));
    EXPECT_EQ(mode == 2 ? 1 : 0, timesHeard(44) + timesHeard(45) + timesHeard(46));
    expectBasis(q);
    qrt_setIstopmask(q, 0);
    solveTo(q, v);
    heard.clear();
    EXPECT_EQ(1, qrt_setIstopmask(q, 8)) << "no such stop";
  }
}

TEST_F(Simplex, ControlsComeBack) {
  double v;
  const Lp p = known(90, 200, 53, &v);
  QRTModel *q = load(p);
  qrt_setRpweight(q, 0.03), qrt_setRdweight(q, 0.07), qrt_setRtolpinf(q, 1e-9), qrt_setRtoldinf(q, 1e-8);
  solveTo(q, v, 2);
  EXPECT_EQ(0.03, qrt_getRpweight(q));
  EXPECT_EQ(0.07, qrt_getRdweight(q));
  EXPECT_EQ(1e-9, qrt_getRtolpinf(q));
  EXPECT_EQ(1e-8, qrt_getRtoldinf(q));
  EXPECT_EQ(0, qrt_getIfastits(q));
  EXPECT_EQ(1, qrt_getIdevexmode(q));
}

// Fixed columns and free rows leave the model before the solve and come back with everything a caller can read.
TEST_F(Simplex, CompressionIsInvisible) {
  int optimal = 0;
  for (unsigned seed = 61; seed < 71; seed++) {
    double v;
    Lp p = known(70, 160, seed, &v);
    for (size_t j = 0; j < p.cost.size(); j += 7)
      if (p.low[j] > -INF) p.up[j] = p.low[j];
    for (size_t i = 0; i < p.rowLow.size(); i += 9) p.rowLow[i] = -INF, p.rowUp[i] = INF;
    QRTModel *whole = load(p), *small = load(p);
    qrt_setCompressOff(whole);
    qrt_setCompressOn(small);
    ASSERT_EQ(0, qrt_primalSimplex(whole, 1));
    solve(small, qrt_getIprobstat(whole));
    EXPECT_EQ("", firstFault(certifyModel(whole), 1e-7));
    if (qrt_getIprobstat(whole) != 0) continue;  // which point is the least infeasible depends on the scaling, and that on the model
    optimal++;
    EXPECT_NEAR(qrt_getRobjvalue(whole), qrt_getRobjvalue(small), 1e-7 * (1 + std::fabs(qrt_getRobjvalue(whole))));
  }
  EXPECT_GE(optimal, 2);
}

}  // namespace
