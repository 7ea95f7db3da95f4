// Faults these tests would catch: a member solved with another's bounds or elements, a basis taken for optimal that is
// not, values, duals or proofs of the tree that differ from those of the simplex on the same program, differences that
// stay in the shared program, clusters whose cut is not the sum of their members'.
//
// Random trees of two and three stages with random bounds, costs and elements are solved by the L-shaped method and as
// a whole; the optimum is the whole's, and the gathered solution is feasible and costs it.
#include <gtest/gtest.h>

#include <cmath>
#include <cstdio>
#include <fstream>
#include <iterator>
#include <random>
#include <string>
#include <vector>

#include "decomp/scn_basis_tree.h"
#include "decomp/scn_benders.h"
#include "include/qrts_c_api.h"

namespace {

constexpr double NONE = 1e31;

struct Kind {
  bool costs, matrix, technology, bounds, infeasible;  // what scenarios change, beside right-hand sides
};

class Families : public testing::Test {
 protected:
  void SetUp() override {
    context = qrts_initializeContext();
    qrt_messagesPrintOff(qrt_baseModel(context), 1, 6999);
  }
  void TearDown() override { qrts_endContext(context); }

  double uniform(double low, double high) { return std::uniform_real_distribution<double>(low, high)(random); }

  // Each stage: rows  sum of positive elements >= right-hand side, columns in [0, u] with positive costs; unless
  // `infeasible`, a column that meets any row at a price.
  QRTStoch *program(unsigned seed, int stages, int scenarios, const Kind &kind, bool maximize) {
    random.seed(seed);
    const int rows = 4, cols = 7, nRows = rows * stages, nCols = cols * stages;
    std::vector<int> rowStage, colStage, elementRow, elementCol;
    std::vector<double> objective, rowLower, colUpper, values;
    for (int s = 1; s <= stages; ++s) {
      for (int i = 0; i < rows; ++i) {
        rowStage.push_back(s);
        rowLower.push_back(uniform(1, 5));
      }
      for (int j = 0; j < cols; ++j) {
        colStage.push_back(s);
        const bool rescue = j < rows;
        objective.push_back((maximize ? -1 : 1) * (rescue ? uniform(6, 12) : uniform(1, 3)));
        colUpper.push_back(rescue && !(kind.infeasible && s == stages) ? NONE : uniform(1, 4));
        if (rescue) {
          elementRow.push_back((s - 1) * rows + j + 1);
          elementCol.push_back((s - 1) * cols + j + 1);
          values.push_back(1);
        }
      }
      for (int i = 0; i < rows; ++i)
        for (int t = 1; t <= s; ++t)
          for (int j = rows; j < cols; ++j)
            if (random() % 2) {
              elementRow.push_back((s - 1) * rows + i + 1);
              elementCol.push_back((t - 1) * cols + j + 1);
              values.push_back(t == s ? uniform(0.5, 2) : uniform(0.2, 1));
            }
    }
    QRTStoch *stoch = qrts_newStoch(context, "family", scenarios);
    EXPECT_EQ(qrts_createCore(stoch, stages, rowStage.data(), colStage.data(), nRows, nCols, int(values.size()), objective.data(),
                              rowLower.data(), nullptr, nullptr, colUpper.data(), elementRow.data(), elementCol.data(), values.data()),
              0);
    for (int k = 1; k <= scenarios; ++k) {
      const int branch = stages > 2 && k % 3 != 1 ? 3 : 2, ancestor = branch == 3 ? k - (k - 1) % 3 : k == 1 ? 0 : 1;
      std::vector<double> low(size_t(nRows), 0.0), cost(size_t(nCols), 0.0), up(size_t(nCols), 0.0);
      std::vector<int> r, c;
      std::vector<double> v;
      for (int i = rows * (branch - 1); i < nRows; ++i)
        if (random() % 3) low[size_t(i)] = uniform(0, 4);
      for (int j = cols * (branch - 1); j < nCols; ++j) {
        if (kind.costs && random() % 2) cost[size_t(j)] = (maximize ? -1 : 1) * uniform(0, 2);
        if (kind.bounds && colUpper[size_t(j)] < NONE && random() % 2) up[size_t(j)] = uniform(-0.5, 0.5);
      }
      for (size_t e = 0; e < values.size(); ++e) {
        const int s = rowStage[size_t(elementRow[e]) - 1], t = colStage[size_t(elementCol[e]) - 1];
        if (s < branch || values[e] == 1 || !(t == s ? kind.matrix : kind.technology) || random() % 3) continue;
        r.push_back(elementRow[e]);
        c.push_back(elementCol[e]);
        v.push_back(uniform(-0.1, 0.4));
      }
      EXPECT_EQ(qrts_addScenario(stoch, k, ancestor, branch, uniform(0.5, 2), 0, nRows, nCols, int(v.size()), cost.data(), low.data(),
                                 nullptr, nullptr, up.data(), r.data(), c.data(), v.data(), 0),
                0);
    }
    if (maximize) qrts_setMaximize(stoch);
    qrts_setMaxiter(stoch, 500);
    qrts_setFinalSimplexSolverOff(stoch);
    return stoch;
  }

  void expectWholeOptimum(const Kind &kind, int stages, int scenarios, unsigned seed, int cut) {
    const bool maximize = seed % 2;
    QRTStoch *direct = program(seed, stages, scenarios, kind, maximize);
    ASSERT_EQ(qrts_eitherSimplex(direct), 0);
    QRTStoch *stoch = program(seed, stages, scenarios, kind, maximize);
    qrts_setCutPeriod(stoch, cut);
    ASSERT_EQ(qrts_bendersLSolve(stoch, 0), 0) << "seed " << seed;
    ASSERT_EQ(qrts_getStatus(stoch), qrts_getStatus(direct)) << "seed " << seed << " cut " << cut;
    if (qrts_getStatus(direct) == 0) {
      const double optimum = qrts_getRobjvalue(direct), size = std::fmax(1, std::fabs(optimum));
      EXPECT_NEAR(qrts_getRobjvalue(stoch), optimum, 1e-6 * size) << "seed " << seed << " cut " << cut;
      // What was gathered: within rows and bounds, at that cost, statuses with a basis for every row.
      QRTModel *model = qrtse_getCurrentModel(stoch);
      const double *x = qrt_colsol(model), *c = qrt_objective(model), *r = qrt_rowacts(model), *low = qrt_rowlower(model);
      double cost = 0;
      for (int j = 0; j < qrt_getInumcols(model); ++j) {
        cost += c[j] * x[j];
        EXPECT_GE(x[j], qrt_collower(model)[j] - 1e-6);
        EXPECT_LE(x[j], qrt_colupper(model)[j] + 1e-6);
      }
      for (int i = 0; i < qrt_getInumrows(model); ++i) EXPECT_GE(r[i], low[i] - 1e-6);
      EXPECT_NEAR(cost, optimum, 1e-6 * size) << "seed " << seed << " cut " << cut;
    }
    qrts_deleteStoch(stoch);
    qrts_deleteStoch(direct);
  }

  QRTContext *context = nullptr;
  std::minstd_rand random;
};

const Kind KINDS[] = {
    {false, false, false, false, false}, {true, false, false, false, false}, {false, true, false, false, false},
    {false, false, true, false, false},  {false, false, false, true, false}, {true, true, true, true, false},
    {false, false, true, true, true},    {false, true, false, false, true},
};

TEST_F(Families, EveryKindOfDifferenceInTwoStages) {
  unsigned seed = 1;
  for (const Kind &kind : KINDS)
    for (int round = 0; round < 6; ++round) expectWholeOptimum(kind, 2, 12, seed++, 2);
}

TEST_F(Families, SubtreesOfThreeStagesAtBothCuts) {
  unsigned seed = 100;
  for (const Kind &kind : KINDS)
    for (int round = 0; round < 3; ++round, ++seed)
      for (int cut : {2, 3}) expectWholeOptimum(kind, 3, 15, seed, cut);
}

TEST_F(Families, ManyScenariosInClusters) {
  expectWholeOptimum({false, false, true, true, false}, 2, 700, 7, 2);  // beyond 500 a cut stands for several
  expectWholeOptimum({false, false, false, true, true}, 2, 700, 8, 2);
}

std::vector<char> contents(const std::string &path) {
  std::ifstream in(path, std::ios::binary);
  return {std::istreambuf_iterator<char>(in), {}};
}
void overwrite(const std::string &path, const std::vector<char> &bytes) {
  std::ofstream(path, std::ios::binary).write(bytes.data(), std::streamsize(bytes.size()));
}

TEST_F(Families, StatesGoOnOrAreRefused) {
  const std::string file = testing::TempDir() + "benders.state";
  const auto make = [this](unsigned seed) { return program(seed, 2, 40, {false, false, true, true, false}, true); };
  int cyclesSeen = 0;
  const auto watch = [](const QRTSCycle *cycle, void *seen) {
    *static_cast<int *>(seen) = cycle->cycle;
    return 0;
  };
  QRTStoch *whole = make(3);
  qrts_setCycleCallBack(whole, watch, &cyclesSeen);
  ASSERT_EQ(qrts_bendersLSolve(whole, 0), 0);
  const int cycles = cyclesSeen;
  ASSERT_GT(cycles, 3);

  QRTStoch *first = make(3);
  EXPECT_EQ(qrts_setSaveState(first, file.c_str(), 0), 2);
  ASSERT_EQ(qrts_setSaveState(first, file.c_str(), 100), 0);  // at the end of the run, at least
  qrts_setMaxiter(first, 3);
  ASSERT_EQ(qrts_bendersLSolve(first, 0), 0);
  EXPECT_EQ(qrts_getStatus(first), 3);
  const std::vector<char> state = contents(file);
  ASSERT_GT(state.size(), 100u);

  QRTStoch *second = make(3);
  ASSERT_EQ(qrts_setResumeState(second, file.c_str()), 0);
  qrts_setCycleCallBack(second, watch, &cyclesSeen);
  ASSERT_EQ(qrts_bendersLSolve(second, 0), 0);
  EXPECT_EQ(qrts_getStatus(second), 0);
  EXPECT_NEAR(qrts_getRobjvalue(second), qrts_getRobjvalue(whole), 1e-6);
  EXPECT_LT(cyclesSeen, cycles);

  // Cut off at any place, one byte changed anywhere, nothing there, another program: refused, and the object lives on.
  std::vector<std::vector<char>> bad = {{}};
  for (size_t length : {size_t(1), size_t(40), state.size() / 2, state.size() - 1}) bad.push_back({state.begin(), state.begin() + long(length)});
  for (size_t at = 0; at < state.size(); at += 37) {
    bad.push_back(state);
    bad.back()[at] = char(bad.back()[at] ^ 0x11);
  }
  for (const std::vector<char> &bytes : bad) {
    overwrite(file, bytes);
    EXPECT_EQ(qrts_bendersLSolve(second, 0), 2) << bytes.size();
  }
  overwrite(file, state);
  QRTStoch *other = make(4);
  qrts_setResumeState(other, file.c_str());
  EXPECT_EQ(qrts_bendersLSolve(other, 0), 2);
  std::remove(file.c_str());
  EXPECT_EQ(qrts_bendersLSolve(second, 0), 2);
  qrts_setResumeState(second, nullptr);
  EXPECT_EQ(qrts_bendersLSolve(second, 0), 0);
  for (QRTStoch *stoch : {whole, first, second, other}) qrts_deleteStoch(stoch);
}

// Walks of all members of a family, at random proposals, against the simplex on the member's own program.
TEST_F(Families, WalksEndWhereTheSimplexDoes) {
  bool anyOptimal = false;
  for (unsigned seed = 1; seed <= 12; ++seed) {
    QRTStoch *stoch = program(seed, 2, 30, {false, false, seed % 2 == 0, true, seed % 3 == 0}, false);
    ASSERT_GT(qrts_describeFullModel(stoch, 1), 0);
    qrts_setMaxsubmodels(stoch, 999999);
    int **lists, *counts, n;
    ASSERT_EQ(qrts_Cpcut(stoch, 2, &lists, &counts, &n), 0);
    QRTStoch *master = formMasterAlone(stoch, lists, counts, n, n - 1);
    ASSERT_NE(master, nullptr);
    ::Families walking, solving;
    ASSERT_EQ(families_build(&walking, stoch, master, lists, counts, n), 0);
    ASSERT_EQ(families_build(&solving, stoch, master, lists, counts, n), 0);
    for (int f = 0; f < solving.count; ++f) solving.family[f].treeUseless = 1;
    int walked = 0, optimal = 0;
    for (int proposal = 0; proposal < 12; ++proposal) {
      std::vector<double> xhat(size_t(master->smodel->nCols));
      for (double &x : xhat) x = uniform(0, 2);
      families_newProposal(&walking);
      for (int i = 0; i < n - 1; ++i) {
        const MemberTask task = {xhat.data(), false};
        MemberAnswer a, b;
        ASSERT_EQ(member_solve(&walking, i, &task, &a), 0);
        const double value = a.value, rhs = a.rightHandSide;
        const int status = a.status;
        std::vector<double> gradient(a.gradient, a.gradient + walking.family[0].virtualCols);
        ASSERT_EQ(member_solve(&solving, i, &task, &b), 0);
        ASSERT_EQ(status, b.status) << "seed " << seed << " member " << i;
        double term = 0;
        for (size_t k = 0; k < gradient.size(); ++k) term += gradient[k] * xhat[k];
        if (status == 0) {
          EXPECT_NEAR(value, b.value, 1e-7 * (1 + std::fabs(b.value)));
          EXPECT_NEAR(term - rhs, value, 1e-7 * (1 + std::fabs(value)));  // the cut is tight where it was made
        } else {
          EXPECT_GT(term, rhs);
        }
        optimal += status == 0;
        walked += walking.member[i].home >= 0;
      }
      families_endPass(&walking);
      if (walking.family[0].tree) {
        EXPECT_EQ(tree_check(walking.family[0].tree), nullptr);
      }
    }
    EXPECT_GE(walked + 3, optimal) << "the tree is of no use, seed " << seed;
    anyOptimal |= optimal > 0;
    families_free(&walking);
    families_free(&solving);
    for (int i = 0; i < n; ++i) free(lists[i]);
    free(lists);
    free(counts);
    master->sdata = nullptr;
    qrts_delete2Stoch(master);
    qrts_deleteStoch(stoch);
  }
  EXPECT_TRUE(anyOptimal);
}

}  // namespace
