// Faults these tests would catch: a node in two models or in none, a virtual node its parent does not hold, groups of the
// wrong size, branches that stop growing too early or too late, a root merged away.
#include <gtest/gtest.h>

#include <random>
#include <vector>

#include "decomp/scn_benders.h"
#include "include/qrts_c_api.h"

namespace {

// A tree of `stages` stages, one row and column each; scenarios branch at random, or all at stage 2.
class CutTree : public testing::Test {
 protected:
  void SetUp() override {
    context = qrts_initializeContext();
    qrt_messagesPrintOff(qrt_baseModel(context), 1, 6999);
  }
  void TearDown() override { qrts_endContext(context); }

  QRTStoch *tree(int stages, int scenarios, unsigned seed, bool zeroWeights = false) {
    std::minstd_rand random(seed);
    QRTStoch *stoch = qrts_newStoch(context, "tree", scenarios);
    std::vector<int> stage, index;
    std::vector<double> ones;
    for (int s = 1; s <= stages; ++s) {
      stage.push_back(s);
      index.push_back(s);
      ones.push_back(1);
    }
    EXPECT_EQ(qrts_createCore(stoch, stages, stage.data(), stage.data(), stages, stages, stages, ones.data(), ones.data(), nullptr,
                              nullptr, nullptr, index.data(), index.data(), ones.data()),
              0);
    std::vector<int> branch;
    for (int k = 1; k <= scenarios; ++k) {
      const int ancestor = k == 1 ? 0 : int(random() % unsigned(k));
      const int first = ancestor == 0 ? 2 : branch[size_t(ancestor) - 1] + 1;
      const int at = ancestor == 0 || first > stages ? 2 : first + int(random() % unsigned(stages - first + 1));
      branch.push_back(at);
      const double weight = zeroWeights && k % 4 == 0 ? 0 : 1;
      EXPECT_EQ(qrts_addScenario(stoch, k, ancestor == 0 || first > stages ? 0 : ancestor, at, weight, 0, stages, stages, 0, nullptr,
                                 nullptr, nullptr, nullptr, nullptr, nullptr, nullptr, nullptr, 0),
                0);
    }
    return stoch;
  }

  static std::vector<int> sizes(QRTStoch *stoch) {
    std::vector<int> n;
    for (int i = 0; i < qrts_getNsubmodels(stoch); ++i) n.push_back(qrts_getSubmodels(stoch)[i]->nNodeList);
    return n;
  }

  QRTContext *context = nullptr;
};

TEST_F(CutTree, GroupsOfATwoStageTree) {
  QRTStoch *stoch = tree(2, 7, 1);
  for (auto &s : {std::pair<int, std::vector<int>>{999999, {2, 1, 1, 1, 1, 1, 1}}, {3, {4, 2, 2}}, {2, {5, 3}}, {1, {8}}}) {
    qrts_setMaxsubmodels(stoch, s.first);
    EXPECT_EQ(qrtse_decomposeCutAtStage(stoch, 2), int(s.second.size()));
    EXPECT_EQ(sizes(stoch), s.second);
  }
  EXPECT_EQ(qrtse_decomposeCutAtStage(stoch, 1), 1);
  EXPECT_EQ(qrtse_decomposeCutAtStage(stoch, 3), -1);
}

TEST_F(CutTree, EveryCutOfRandomTreesIsSound) {
  for (unsigned seed = 1; seed <= 60; ++seed) {
    const int stages = 2 + int(seed % 4);
    QRTStoch *stoch = tree(stages, 3 + int(seed % 23), seed, seed % 3 == 0);
    ASSERT_GT(qrts_describeFullModel(stoch, 1), 0);
    for (int stage = 1; stage <= stages; ++stage) {
      EXPECT_GT(qrtse_decomposeCutAtStage(stoch, stage), 0);
      ASSERT_EQ(submodels_check(stoch), nullptr) << "stage " << stage << " seed " << seed;
    }
    for (int rows : {1, 4, 9, 1000}) {
      EXPECT_GT(qrtse_decomposeCutByRowSize(stoch, rows), 0);
      ASSERT_EQ(submodels_check(stoch), nullptr) << rows << " rows, seed " << seed;
      EXPECT_EQ(qrts_getSubmodels(stoch)[0]->masterModel, 0);
    }
    for (int models : {1, 2, 5, 1000}) {
      const int n = qrtse_decomposeCutByNodeSize(stoch, models);
      EXPECT_LE(n, models);
      ASSERT_EQ(submodels_check(stoch), nullptr) << models << " models, seed " << seed;
    }
    qrts_deleteStoch(stoch);
  }
}

TEST_F(CutTree, RowsGrowFromTheLastLeaf) {
  // Two stages, one row a node: the first branch is the root and the last leaf; with 3 rows wanted it takes one more,
  // and each later branch gathers what it can.
  QRTStoch *stoch = tree(2, 7, 5);
  EXPECT_EQ(qrtse_decomposeCutByRowSize(stoch, 1), 7);
  EXPECT_EQ(qrtse_decomposeCutByRowSize(stoch, 100), 1);
  const int n = qrtse_decomposeCutByRowSize(stoch, 3);
  const std::vector<int> got = sizes(stoch);
  ASSERT_EQ(int(got.size()), n);
  for (int i = 0; i + 1 < n; ++i) EXPECT_GE(got[size_t(i)], 3);
  for (int i = 1; i < n; ++i) EXPECT_EQ(qrts_getSubmodels(stoch)[i]->masterModel, 1);
}

}  // namespace
