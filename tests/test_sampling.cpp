// Sampling: a draw that leaves the table or favours some scenarios, probabilities that do not follow the draws, calls
// that should change nothing, and samples that fold together in a tree.
#include "stoch/scn_sampling.h"

#include <gtest/gtest.h>

#include <cmath>
#include <cstdlib>
#include <vector>

#include "support/smps_triple.h"

namespace {

// Two stages, n scenarios of weight k, cost of the one column of stage 2 differing.
class Sampled : public testing::Test {
 protected:
  QRTContext *context = nullptr;
  QRTStoch *stoch = nullptr;
  void build(int n) {
    context = qrts_initializeContext();
    stoch = qrts_newStoch(context, "sampled", n);
    const int stages[2] = {1, 2}, rows[3] = {1, 2, 2}, cols[3] = {1, 1, 2};
    const double cost[2] = {1, 2}, lower[2] = {1, 3}, values[3] = {1, 1, 1};
    ASSERT_EQ(qrts_createCore(stoch, 2, stages, stages, 2, 2, 3, cost, lower, nullptr, nullptr, nullptr, rows, cols, values), 0);
    for (int k = 1; k <= n; ++k) {
      const double change[2] = {0, double(k)};
      ASSERT_EQ(qrts_addScenario(stoch, k, 0, 2, k, 0, 2, 2, 0, change, nullptr, nullptr, nullptr, nullptr, nullptr, nullptr,
                                 nullptr, 0), 0);
    }
  }
  double leaf(int scenario) { return qrts_get2NodeProbability(stoch, scenario + 1); }
  ~Sampled() override {
    if (stoch) qrts_deleteStoch(stoch);
    if (context) qrts_endContext(context);
  }
};

TEST(Draw, StaysInTheTableAndCoversIt) {
  for (const int n : {1, 2, 3, 1000, 32768, 2147483647}) {
    EXPECT_EQ(qrts_drawScenario(0, n), 0);
    EXPECT_EQ(qrts_drawScenario(RAND_MAX, n), n - 1);
  }
  EXPECT_EQ(qrts_drawScenario(RAND_MAX / 2, 2), 0);
  EXPECT_EQ(qrts_drawScenario(RAND_MAX / 2 + 1, 2), 1);
}

TEST_F(Sampled, FrequenciesAreUniformAndSumToOne) {
  const int n = 50, draws = 100000;
  build(n);
  srand(20);
  ASSERT_EQ(qrts_generateSamples(stoch, draws, 0), 0);
  double total = 0, chiSquare = 0;
  for (int k = 1; k <= n; ++k) {
    const double hits = leaf(k) * draws, expected = double(draws) / n;
    EXPECT_NEAR(hits, std::round(hits), 1e-6);
    total += leaf(k);
    chiSquare += (hits - expected) * (hits - expected) / expected;
  }
  EXPECT_NEAR(total, 1.0, 1e-9);
  // 49 degrees of freedom: the quantiles of 0.0001 and 0.9999
  EXPECT_GT(chiSquare, 18.0);
  EXPECT_LT(chiSquare, 95.0);
  for (int k = 1; k <= n; ++k) EXPECT_EQ(stoch->sdata->scenarios->table[k - 1].probability, k);
}

TEST_F(Sampled, NothingHappensWithoutADraw) {
  build(4);
  EXPECT_EQ(qrts_generateSamples(stoch, 100, 1), 0);
  EXPECT_EQ(qrts_generateSamples(stoch, 0, 0), 0);
  EXPECT_EQ(qrts_generateSamples(stoch, -5, 0), 0);
  for (int k = 1; k <= 4; ++k) EXPECT_EQ(leaf(k), k);
}

TEST_F(Sampled, TheModelFollowsTheDraws) {
  build(4);
  srand(3);
  ASSERT_EQ(qrts_generateSamples(stoch, 1, 0), 0);
  int hit = 0;
  for (int k = 1; k <= 4; ++k) {
    EXPECT_TRUE(leaf(k) == 0.0 || leaf(k) == 1.0);
    if (leaf(k) == 1.0) hit = k;
  }
  ASSERT_GT(hit, 0);
  ASSERT_EQ(qrts_eitherSimplex(stoch), 0);
  // only the scenario hit counts: x = 3 at cost 1 beats y at cost 2 + k
  EXPECT_NEAR(qrts_getRobjvalue(stoch), 3.0, 1e-9);
  EXPECT_EQ(qrts_getNumScenarios(stoch), 1);
  // the described model has fewer leaves than the store has scenarios: still every entry is written
  ASSERT_EQ(qrts_generateSamples(stoch, 10, 0), 0);
  EXPECT_NEAR(stoch->sdata->nodes->nodes[1].probability, 1.0, 1e-12);
  for (int k = 2; k <= 4; ++k) EXPECT_EQ(stoch->sdata->nodes->nodes[k].probability, 0.0);
}

TEST_F(Sampled, OneScenarioTakesAll) {
  build(1);
  ASSERT_EQ(qrts_generateSamples(stoch, 1000, 0), 0);
  EXPECT_NEAR(leaf(1), 1.0, 1e-12);
}

TEST(TreeOfSamples, EqualVectorsFold) {
  const int events[2] = {3, 1}, others[2] = {3, 2};
  QRTTree *tree = qrts_createScenarioTree(events, 2, 10, 0.25);
  EXPECT_EQ(qrts_addEventToTree(tree, others, 2, 0.25), 2);
  EXPECT_EQ(qrts_addEventToTree(tree, events, 2, 0.5), 1);
  double probability;
  int number;
  ASSERT_EQ(qrts_getScenarioFromTree(tree, 2, nullptr, nullptr, &probability, &number, nullptr), 0);
  EXPECT_EQ(number, 1);
  EXPECT_EQ(probability, 0.75);
  qrts_deleteTree(tree);
}

}  // namespace
