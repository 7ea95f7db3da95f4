// The parts of the primal iteration on small problems: a ratio test that picks an untrustworthy pivot or stops at the
// wrong break, reference weights or reduced costs that drift from their definition while the pivotal row carries them.
#include <gtest/gtest.h>

#include <cmath>
#include <random>
#include <vector>

#include "frame/entry_frame.h"
#include "frame/guarded_memory.h"
#include "simplex/primal.h"

// The exit of this program: what the test at hand wants of it.
static void (*wantedExit)(const double *column, int *row, int *bound) = nullptr;
extern "C" void QRTCZRU(int, int, const double *column, int *row, int *bound) {
  if (wantedExit) wantedExit(column, row, bound);
}

namespace {

const double NONE = 1.0e31;

// A problem A x + s = 0 with a basis of logicals, as the driver would hand it to the loop.
struct Problem {
  QRTContext *context = nullptr;
  SimplexWork work{};
  std::vector<int> colStart, colRow, rowStart, rowVar, unitRow, list, where;
  std::vector<double> colValue, rowValue, lower, upper, value, cost, dj, weight, basicLower, basicValue, basicUpper, excess, y,
      objective;
  std::vector<uint32_t> flags, basicStatus;
  std::vector<std::vector<double>> dense;  // [i][j] from 1

  Problem(int m, int n) {
    context = qrt_initializeContext();
    work.model = qrt_newModel(context, "inner");
    qrt_swapCommons(nullptr, work.model);
    qrt_modelInfo = work.model;
    qrt_push(work.model);
    work.m = m, work.n = n, work.total = m + n;
    dense.assign(size_t(m) + 1, std::vector<double>(size_t(n) + 1, 0.0));
    const size_t all = size_t(m + n) + 1, rows = size_t(m) + 1;
    lower.assign(all, 0.0), upper.assign(all, NONE), value.assign(all, 0.0), cost.assign(all, 0.0), dj.assign(all, 0.0);
    weight.assign(all, 1.0), flags.assign(all, 0), list.assign(all, 0), where.assign(all, 0), objective.assign(all, 0.0);
    basicLower.assign(rows, 0.0), basicValue.assign(rows, 0.0), basicUpper.assign(rows, 0.0), excess.assign(rows, 0.0);
    y.assign(rows, 0.0), basicStatus.assign(rows, 0);
  }
  ~Problem() {
    factor_free(work.factor);
    sparseVector_free(&work.rhs);
    sparseVector_free(&work.multipliers);
    qrt_pop(work.model);
    qrt_endContext(context);
  }

  // Loads `dense` and factorises the basis of logicals.
  void load() {
    const int m = work.m, n = work.n;
    colStart.assign(size_t(n) + 2, 0);
    colRow.clear(), colValue.clear();
    for (int j = 1; j <= n; j++) {
      colStart[size_t(j)] = int(colRow.size());
      for (int i = 1; i <= m; i++)
        if (dense[size_t(i)][size_t(j)] != 0.0) colRow.push_back(i), colValue.push_back(dense[size_t(i)][size_t(j)]);
    }
    colStart[size_t(n) + 1] = int(colRow.size());
    rowStart.assign(size_t(m) + 2, 0);
    rowVar.clear(), rowValue.clear();
    for (int i = 1; i <= m; i++) {
      rowStart[size_t(i)] = int(rowVar.size());
      for (int j = 1; j <= n; j++)
        if (dense[size_t(i)][size_t(j)] != 0.0) rowVar.push_back(m + j), rowValue.push_back(dense[size_t(i)][size_t(j)]);
    }
    rowStart[size_t(m) + 1] = int(rowVar.size());
    unitRow.resize(size_t(m) + 1);
    for (int i = 0; i <= m; i++) unitRow[size_t(i)] = i;
    SimplexWork *w = &work;
    w->colStart = colStart.data(), w->colRow = colRow.data(), w->colValue = colValue.data();
    w->rowStart = rowStart.data(), w->rowVar = rowVar.data(), w->rowValue = rowValue.data();
    w->unitRow = unitRow.data(), w->matrixElements = int(colRow.size());
    w->lower = lower.data(), w->upper = upper.data(), w->value = value.data(), w->cost = cost.data(), w->dj = dj.data();
    w->weight = weight.data(), w->flags = flags.data(), w->list = list.data(), w->where = where.data();
    w->basicLower = basicLower.data(), w->basicValue = basicValue.data(), w->basicUpper = basicUpper.data();
    w->basicStatus = basicStatus.data(), w->excess = excess.data(), w->y = y.data(), w->objective = objective.data();
    sparseVector_allocate(&w->rhs, m);
    sparseVector_allocate(&w->multipliers, m);
    for (int i = 1; i <= m; i++) list[size_t(i)] = i, flags[size_t(i)] = VAR_BASIC;
    qrtlplp.Rtolpinf = 1.0e-8, qrtlplp.Rtoldinf = 1.0e-7, qrtlplp.Rmaxmin = 1.0, qrtlplp.Iloglevel = 0;
    for (int j = m + 1; j <= m + n; j++) {
      value[size_t(j)] = lower[size_t(j)] > -1.0e20 ? lower[size_t(j)] : upper[size_t(j)] < 1.0e20 ? upper[size_t(j)] : 0.0;
      flags[size_t(j)] = uint32_t(stateOfValue(w, j)) << VAR_STATE_SHIFT;
    }
    qrtrsrt(w);
    w->factor = factor_create();
    w->factor->maxUpdates = 50;
    factorise();
    w->pivotZeroTol = 1.0e-8, w->djTest = 1.0e-6, w->djTolerance = 1.0e-7, w->priceMode = PRICE_FULL;
    w->priceRefresh = 500, w->priceBase = -500, w->algorithm = ALGORITHM_PRIMAL, w->updateLimit10 = 1000, w->switchFactor = 1.0;
    w->etaLimit = 1000000, w->minimumWeight = 1.0e-31, w->bestObjective = 1.0e51;
    qrtlplp.Iiternum = 0, qrtlplp.Imaxiter = 1000000, qrtlplp.Imaxfactor = 100, qrtlplp.Iprobstat = -1, qrtlplp.Rpweight = 0.1;
    qrtlplp.Iiterufreq = 0, qrtlplp.Idevexmode = 1, qrtlplp.Ifastits = 0, qrtlplp.Rdccutoff = -1.0e31, qrtlplp.Ipossbasis = 65;
    qrtlplp.Inumpinf = 0, qrtlplp.Rsumpinf = 0.0, qrtlplp.Robjvalue = 0.0;
    recompute();
  }
  void factorise() {
    const BasisMatrix matrix{work.m, work.m, colStart.data(), colRow.data(), colValue.data(), 0};
    std::vector<int> basic(list.begin() + 1, list.begin() + 1 + work.m);
    ASSERT_EQ(FACTOR_GOOD, qrtlfct(work.factor, &matrix, work.m, basic.data(), 0, list.data()));
    for (int i = 1; i <= work.m; i++) where[size_t(list[size_t(i)])] = i;
    work.factorIter = qrtlplp.Iiternum;
    work.historyCount = work.updateCount = 0;
  }
  // Basic values by FTRAN, counts, objective.
  void recompute() {
    SimplexWork *w = &work;
    std::vector<double> rhs(size_t(w->m) + 1, 0.0);
    for (int k = 1; k <= w->total; k++) {
      if (flags[size_t(k)] & VAR_BASIC) continue;
      const int *row;
      const double *element;
      const int length = variableColumn(w, k, &row, &element);
      for (int e = 0; e < length; e++) rhs[size_t(row[e])] -= element[e] * value[size_t(k)];
    }
    qrtftrn_dense(w->factor, rhs.data());
    for (int i = 1; i <= w->m; i++) value[size_t(list[size_t(i)])] = rhs[size_t(i)];
    basicsFromRims(w);
    qrtchpf(w);
    double sum = 0.0;
    for (int k = 1; k <= w->total; k++) sum += cost[size_t(k)] * value[size_t(k)];
    qrtlplp.Robjvalue = sum;
    qrtobjv(w);
  }
  // Exactly one iteration of the real loop.
  int oneIteration() {
    qrtlplp.Iprobstat = -1;
    qrtlplp.Imaxiter = qrtlplp.Iiternum + 1;
    work.partialSize = 0;  // a pass leaves a measure here; the strategy between passes would have set it
    return qrtsprm(&work);
  }
  std::vector<double> column(int k) {  // B^-1 a_k
    std::vector<double> x(size_t(work.m) + 1, 0.0);
    const int *row;
    const double *element;
    const int length = variableColumn(&work, k, &row, &element);
    for (int e = 0; e < length; e++) x[size_t(row[e])] = element[e];
    qrtftrn_dense(work.factor, x.data());
    return x;
  }
};

// A ratio test alone: alpha and the basic rows as given, the basis is that of the logicals.
struct RatioCase {
  Problem problem;
  explicit RatioCase(int m) : problem(m, 1) {
    for (int i = 1; i <= m; i++) problem.dense[size_t(i)][1] = 1.0;
    problem.load();
    primalWork(&problem.work);
    problem.work.enterVar = m + 1;
    problem.work.enterDir = 1;
    problem.work.enterDj = -1.0;
  }
  void row(int i, double alpha, double value, double lower, double upper) {
    SimplexWork *w = &problem.work;
    SparseVector *v = &w->primal->alpha;
    v->index[v->count++] = i;
    v->value[i] = alpha;
    w->basicValue[i] = value, w->basicLower[i] = lower, w->basicUpper[i] = upper;
    w->basicStatus[i] = upper - lower <= 1.0e-12 ? uint32_t(ROW_FIXED) : 0u;
  }
  RatioResult run(double range, RatioChoice *choice) {
    SimplexWork *w = &problem.work;
    qrtlplp.Inumpinf = 0;
    for (int t = 0; t < w->primal->alpha.count; t++) {
      const int i = w->primal->alpha.index[t];
      w->basicStatus[i] &= ~uint32_t(ROW_ABOVE | ROW_BELOW);
      if (w->basicValue[i] > w->basicUpper[i] + 1.0e-8) w->basicStatus[i] |= ROW_ABOVE, qrtlplp.Inumpinf++;
      if (w->basicValue[i] < w->basicLower[i] - 1.0e-8) w->basicStatus[i] |= ROW_BELOW, qrtlplp.Inumpinf++;
    }
    const RatioResult result = qrtczrp(w, range, choice);
    sparseVector_clear(&w->primal->alpha);
    return result;
  }
};

TEST(PrimalRatio, TakesTheLargestPivotWithinTheTolerance) {
  RatioCase c(3);
  RatioChoice choice;
  c.row(1, 1.0e-4, 1.0e-4, 0.0, NONE);           // ratio exactly 1, tiny pivot
  c.row(2, 2.0, 2.0 + 1.0e-8, 0.0, NONE);        // ratio 1 + 5e-9: inside the relaxed step
  c.row(3, 5.0, 10.0, 0.0, NONE);                // ratio 2
  ASSERT_EQ(RATIO_ROW, c.run(1.0e20, &choice));
  EXPECT_EQ(2, choice.row);
  EXPECT_NEAR(1.0, choice.step, 1.0e-7);
  EXPECT_EQ(0, choice.leavesAtUpper);
}

TEST(PrimalRatio, FixedRowsLeaveFirstUnlessTheOtherPivotIsFarLarger) {
  for (const double other : {5.0, 20.0}) {
    RatioCase c(2);
    RatioChoice choice;
    c.row(1, 1.0, 0.0, 0.0, 0.0);
    c.row(2, other, 0.0, 0.0, NONE);
    ASSERT_EQ(RATIO_ROW, c.run(1.0e20, &choice));
    EXPECT_EQ(other < 10.0 ? 1 : 2, choice.row);
  }
}

TEST(PrimalRatio, FlipUnboundedAndUpwardMoves) {
  RatioChoice choice;
  RatioCase flip(1);
  flip.row(1, 1.0, 5.0, 0.0, NONE);
  EXPECT_EQ(RATIO_FLIP, flip.run(3.0, &choice));
  EXPECT_DOUBLE_EQ(3.0, choice.step);
  RatioCase unbounded(2);
  unbounded.row(1, -1.0, 5.0, 0.0, NONE);
  unbounded.row(2, 1.0, 0.0, -NONE, NONE);
  EXPECT_EQ(RATIO_NONE, unbounded.run(1.0e20, &choice));
  RatioCase up(1);
  up.row(1, -2.0, 1.0, 0.0, 5.0);
  ASSERT_EQ(RATIO_ROW, up.run(1.0e20, &choice));
  EXPECT_DOUBLE_EQ(2.0, choice.step);
  EXPECT_EQ(1, choice.leavesAtUpper);
}

TEST(PrimalRatio, PassesBreaksWhileTheInfeasibilityStillFalls) {
  // Three rows 1, 2 and 3 below their bound move up at rate 1 and gain 1 each; dj is -3. Each one that arrives takes 1
  // off the slope, and as an equation it takes 1 more, so the second equation to arrive ends the step.
  for (const bool equations : {false, true}) {
    RatioCase c(3);
    RatioChoice choice;
    c.problem.work.enterDj = -3.0;
    for (int i = 1; i <= 3; i++) c.row(i, -1.0, -double(i), 0.0, equations ? 0.0 : NONE);
    ASSERT_EQ(RATIO_ROW, c.run(1.0e20, &choice));
    EXPECT_EQ(equations ? 2 : 3, choice.row);
    EXPECT_NEAR(equations ? 2.0 : 3.0, choice.step, 1.0e-9);
    EXPECT_EQ(1, choice.passedBreaks);
  }
}

TEST(PrimalRatio, RefusesPivotsBelowTheFloor) {
  RatioCase c(1);
  RatioChoice choice;
  c.problem.work.enterDj = -1.0e-9;
  c.row(1, 1.0e-9, 0.0, 0.0, NONE);
  EXPECT_EQ(RATIO_SMALL_PIVOT, c.run(1.0e20, &choice));
}

TEST(PrimalExit, ReplacesTheRowAndIsCheckedBeforeItIsBelieved) {
  struct {
    void (*exit)(const double *, int *, int *);
    int row, atUpper;
    double step;
  } const cases[] = {
      {[](const double *, int *row, int *bound) { *row = 2, *bound = 0; }, 2, 0, 2.0},
      {[](const double *, int *row, int *) { *row = 3; }, 1, 0, 1.0},              // no pivot there
      {[](const double *, int *row, int *) { *row = 17; }, 1, 0, 1.0},             // no such row
      {[](const double *, int *row, int *bound) { *row = 2, *bound = 2; }, 1, 0, 1.0},  // no such bound
  };
  for (const auto &c : cases) {
    RatioCase test(3);
    test.row(1, 1.0, 1.0, 0.0, NONE);
    test.row(2, 2.0, 4.0, 0.0, NONE);
    RatioChoice choice;
    SimplexWork *w = &test.problem.work;
    const SparseVector *alpha = &w->primal->alpha;
    const RatioResult found = qrtczrp(w, 1.0e20, &choice);
    ASSERT_EQ(RATIO_ROW, found);
    wantedExit = c.exit;
    EXPECT_EQ(RATIO_ROW, qrtczru(w, found, &choice));
    wantedExit = nullptr;
    EXPECT_EQ(c.row, choice.row);
    EXPECT_EQ(c.atUpper, choice.leavesAtUpper);
    EXPECT_NEAR(c.step, choice.step, 1.0e-12);
    EXPECT_EQ(2, alpha->count);
    sparseVector_clear(&w->primal->alpha);
  }
}

// A random feasible problem whose logicals start inside their bounds.
void fillRandom(Problem *problem, unsigned seed) {
  std::mt19937 draw(seed);
  std::uniform_real_distribution<double> real(-1.0, 1.0);
  const int m = problem->work.m, n = problem->work.n;
  for (int i = 1; i <= m; i++)
    for (int j = 1; j <= n; j++)
      if (real(draw) > 0.2) problem->dense[size_t(i)][size_t(j)] = std::round(8.0 * real(draw)) / 4.0;
  for (int i = 1; i <= m; i++) {
    problem->lower[size_t(i)] = seed % 2 ? -4.0 - std::fabs(real(draw)) : 0.5 * real(draw) - 0.2;
    problem->upper[size_t(i)] = problem->lower[size_t(i)] + 1.0 + 8.0 * std::fabs(real(draw));
  }
  for (int j = m + 1; j <= m + n; j++) {
    problem->lower[size_t(j)] = std::round(real(draw));
    problem->upper[size_t(j)] = real(draw) > 0.0 ? NONE : problem->lower[size_t(j)] + 2.0 + real(draw);
    problem->cost[size_t(j)] = problem->objective[size_t(j)] = real(draw);
  }
}

double exactNorm(Problem *problem, int k) {
  const std::vector<double> alpha = problem->column(k);
  double sum = problem->flags[size_t(k)] & VAR_REFERENCE ? 1.0 : 0.0;
  for (int i = 1; i <= problem->work.m; i++)
    if (problem->flags[size_t(problem->list[size_t(i)])] & VAR_REFERENCE) sum += alpha[size_t(i)] * alpha[size_t(i)];
  return sum;
}

TEST(PrimalWeights, SteepestEdgeWeightsAreTheNormsTheyStandFor) {
  for (unsigned seed = 1; seed <= 12; seed++) {
    Problem problem(8, 14);
    fillRandom(&problem, seed);
    problem.load();
    qrtlplp.Idevexmode = 2;
    int iterations = 0;
    for (; iterations < 25; iterations++) {
      problem.oneIteration();
      if (qrtlplp.Iprobstat != 3) break;
      for (int k = 1; k <= problem.work.total; k++) {
        if ((problem.flags[size_t(k)] & VAR_BASIC) || variableState(problem.flags[size_t(k)]) == 0) continue;
        const double exact = exactNorm(&problem, k);
        if (problem.weight[size_t(k)] == 0.1 && exact < 0.1) continue;  // raised to the floor by the scan
        ASSERT_NEAR(1.0, problem.weight[size_t(k)] / exact, 1.0e-6) << "seed " << seed << " variable " << k;
      }
    }
    EXPECT_GT(iterations, 1);
  }
}

TEST(PrimalWeights, DevexWeightsFollowTheirRecurrence) {
  for (unsigned seed = 1; seed <= 12; seed++) {
    Problem problem(8, 14);
    fillRandom(&problem, seed);
    problem.load();
    SimplexWork *w = &problem.work;
    problem.oneIteration();
    for (int iterations = 0; iterations < 25; iterations++) {
      const std::vector<double> before = problem.weight;
      const std::vector<uint32_t> flagsBefore = problem.flags;
      std::vector<std::vector<double>> columns(size_t(w->total) + 1);
      for (int k = 1; k <= w->total; k++) columns[size_t(k)] = problem.column(k);
      std::vector<double> norm(size_t(w->total) + 1);
      for (int k = 1; k <= w->total; k++) norm[size_t(k)] = std::sqrt(exactNorm(&problem, k));
      problem.oneIteration();
      if (qrtlplp.Iprobstat != 3) break;
      if (w->leaveRow == 0) continue;
      const int q = w->enterVar, r = w->leaveRow;
      const double pivot = columns[size_t(q)][size_t(r)];
      for (int k = 1; k <= w->total; k++) {
        if ((flagsBefore[size_t(k)] & VAR_BASIC) || k == q || variableState(flagsBefore[size_t(k)]) == 0) continue;
        const double share = std::fabs(columns[size_t(k)][size_t(r)] / pivot) * norm[size_t(q)];
        EXPECT_NEAR(std::fmax(before[size_t(k)], share), problem.weight[size_t(k)], 1.0e-7 * (1.0 + share));
      }
    }
  }
}

// Whatever the loop carried forward over an iteration must agree with what follows from the basis it left.
TEST(PrimalIteration, ValuesCountsAndReducedCostsStayTrue) {
  for (unsigned seed = 1; seed <= 40; seed++) {
    Problem problem(9, 15);
    fillRandom(&problem, seed);
    problem.load();
    SimplexWork *w = &problem.work;
    qrtlplp.Idevexmode = seed % 3 == 0 ? 2 : 1;
    for (int iterations = 0; iterations < 60; iterations++) {
      problem.oneIteration();
      if (qrtlplp.Iprobstat != 3) break;
      ASSERT_EQ(nullptr, solveState_check(w));
      ASSERT_EQ(nullptr, primal_check(w));
      const std::vector<double> values = problem.value, reduced = problem.dj;
      const int number = qrtlplp.Inumpinf;
      const double sum = qrtlplp.Rsumpinf, objective = qrtlplp.Robjvalue;
      const bool carried = !(w->djState & 4);
      problem.recompute();
      for (int k = 1; k <= w->total; k++) ASSERT_NEAR(problem.value[size_t(k)], values[size_t(k)], 2.0e-8) << seed;
      EXPECT_EQ(qrtlplp.Inumpinf, number);
      EXPECT_NEAR(qrtlplp.Rsumpinf, sum, 1.0e-6);
      EXPECT_NEAR(qrtlplp.Robjvalue, objective, 1.0e-6);
      if (carried) {
        std::vector<double> fresh(size_t(w->total) + 1);
        computeReducedCosts(w, costWeightNow(), infeasibilityWeightNow(), nullptr, fresh.data());
        for (int k = 1; k <= w->total; k++)
          if (!(problem.flags[size_t(k)] & VAR_BASIC) && variableState(problem.flags[size_t(k)]) != 0) {
            ASSERT_NEAR(fresh[size_t(k)], reduced[size_t(k)], 1.0e-8) << "seed " << seed << " variable " << k;
          }
        ASSERT_EQ(nullptr, candidates_check(w));
      }
      if (iterations % 20 == 19) problem.factorise();
      problem.recompute();
    }
    EXPECT_NE(3, qrtlplp.Iprobstat) << "seed " << seed << " does not end";
  }
}

// One infeasible row that y (variable 3) mends at a cost, beside x (variable 2), which pays without end.
void fillUnboundedBesideInfeasible(Problem *problem, double costX, double costY) {
  problem->dense[1][2] = 1.0;
  problem->lower[1] = -NONE, problem->upper[1] = -5.0;  // the activity of the row is at least 5
  problem->cost[2] = problem->objective[2] = costX;
  problem->cost[3] = problem->objective[3] = costY;
}

// Fault: a column without a limit is taken for the end, or barred, while rows are still infeasible; the weight that was
// dropped for the sake of another look stays dropped, or comes back so large that the column just checked pays no more.
TEST(PrimalIteration, UnboundedWhileInfeasibleDropsTheWeightAndBringsItBack) {
  struct {
    double costX, costY, weight;
  } const cases[] = {
      {-1.0, 9.5, 0.5 / 9.5},     // half of what the column of y allows
      {-100.0, -1.0, 0.99 * 0.1}  // its cost pulls the same way: almost all of the old weight
  };
  for (const auto &c : cases) {
    Problem problem(1, 2);
    fillUnboundedBesideInfeasible(&problem, c.costX, c.costY);
    problem.load();
    SimplexWork *w = &problem.work;
    problem.oneIteration();
    EXPECT_EQ(3, qrtlplp.Iprobstat) << "the limit of one iteration, not a verdict";
    EXPECT_EQ(3, problem.list[1]) << "y is basic";
    EXPECT_DOUBLE_EQ(5.0, problem.value[3]);
    EXPECT_EQ(0, qrtlplp.Inumpinf);
    EXPECT_NEAR(c.weight, qrtlplp.Rpweight, 1.0e-12);
    EXPECT_EQ(0, w->primal->unboundedVar);
    EXPECT_EQ(0u, problem.flags[2] & VAR_REJECTED);
    // Feasible now, and x still has no limit: believed only right after a factorisation.
    qrtlplp.Iiternum++;
    EXPECT_EQ(PASS_REFACTOR, problem.oneIteration());
    EXPECT_NE(2, qrtlplp.Iprobstat);
    problem.factorise();
    problem.recompute();
    problem.oneIteration();
    EXPECT_EQ(2, qrtlplp.Iprobstat);
    EXPECT_EQ(2, w->primal->unboundedVar);
  }
}

// Fault: a step that made things worse leaves traces in values, states, sums or the history; or is tried for ever.
TEST(PrimalIteration, UndoneStepLeavesNoTraceAndBarsItsColumn) {
  for (int accuracy = 0; accuracy <= 1; accuracy++) {
    Problem problem(2, 1);
    problem.dense[1][1] = problem.dense[2][1] = 1.0;
    problem.lower[1] = -1.0, problem.upper[1] = 0.0;
    problem.lower[2] = -100.0, problem.upper[2] = 0.0;
    problem.cost[3] = problem.objective[3] = -1.0;
    problem.load();
    SimplexWork *w = &problem.work;
    w->accuracyLevel = accuracy;
    // The exit insists on the far row, so that the near one ends 99 below its bound.
    wantedExit = [](const double *, int *row, int *bound) { *row = 2, *bound = 0; };
    const double weight = qrtlplp.Rpweight, merit = w->meritPrimal;
    problem.oneIteration();
    wantedExit = nullptr;
    EXPECT_EQ(0, qrtlplp.Iprobstat) << "no column is left";
    EXPECT_NE(0u, problem.flags[3] & VAR_REJECTED);
    EXPECT_EQ(accuracy ? weight : 0.9 * weight, qrtlplp.Rpweight) << "a flood lowers the weight first";
    EXPECT_EQ(0, qrtlplp.Iiternum);
    EXPECT_EQ(0, w->historyCount);
    EXPECT_EQ(0, qrtlplp.Inumpinf);
    EXPECT_EQ(0.0, qrtlplp.Rsumpinf);
    EXPECT_EQ(0.0, qrtlplp.Robjvalue);
    EXPECT_EQ(merit, w->meritPrimal);
    for (int i = 1; i <= 2; i++) {
      EXPECT_EQ(i, problem.list[size_t(i)]);
      EXPECT_EQ(0.0, problem.basicValue[size_t(i)]);
      EXPECT_EQ(0u, problem.basicStatus[size_t(i)] & (ROW_ABOVE | ROW_BELOW));
    }
    EXPECT_EQ(0.0, problem.value[3]);
    EXPECT_EQ(nullptr, primal_check(w));
  }
}

std::vector<double> heard;  // variable, computed and true reduced cost of each message
void listenToCosts(QRTModel *, int, int, const double *reals, int, const int *integers, int, const char *) {
  heard.insert(heard.end(), {double(integers[0]), reals[0], reals[1]});
}

// Fault: a reduced cost that drifted is taken as it is, asks for a factorisation that is there already, or is not told.
TEST(PrimalCheck, StaleReducedCostsAreToldAndTakenOrRefused) {
  struct {
    double stored;
    int since, state;
    ColumnCheck answer;
    int messages, accuracy;
  } const cases[] = {
      {-1.0, 3, 0, COLUMN_GOOD, 0, 0},
      {-1.0 - 1.0e-5, 3, 0, COLUMN_STALE, 1, 1},  // beyond the tolerance for reduced costs
      {-1.0 - 1.5e-6, 3, 0, COLUMN_STALE, 1, 1},
      {0.5, 3, 0, COLUMN_STALE, 1, 1},
      {-2.0, 0, 0, COLUMN_REFACTOR, 1, 0},
      {-2.0, 0, 8, COLUMN_GOOD, 1, 0},            // everything is fresh: the column's own value is the better one
  };
  for (const auto &c : cases) {
    Problem problem(1, 1);
    problem.dense[1][1] = 1.0;
    problem.lower[1] = -1.0, problem.upper[1] = 0.0;
    problem.cost[2] = problem.objective[2] = -1.0;
    problem.load();
    SimplexWork *w = &problem.work;
    primalWork(w);
    w->primal->scoreMode = SCORE_DEVEX, w->primal->scoreTolerance = 1.0e-7;
    qrt_registerMsguCallBack(w->model, listenToCosts);
    qrt_messageUserExitOn(w->model, 56);
    heard.clear();
    qrtlplp.Iloglevel = 16;
    w->enterVar = 2, w->enterDj = c.stored, w->enterWeight = 1.0, w->djState = c.state;
    qrtlplp.Iiternum = w->factorIter + c.since;
    EXPECT_EQ(c.answer, qrtchdj(w, FOUND_FULL)) << c.stored;
    EXPECT_EQ(-1.0, w->enterDj) << "the true one counts from here";
    EXPECT_EQ(c.accuracy, w->accuracyLevel) << c.stored;
    ASSERT_EQ(size_t(3 * c.messages), heard.size()) << c.stored;
    if (c.messages > 0) {
      EXPECT_EQ((std::vector<double>{2.0, c.stored, -1.0}), heard);
    }
    sparseVector_clear(&w->primal->alpha);
  }
}

}  // namespace
