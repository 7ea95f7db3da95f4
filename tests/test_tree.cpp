// Event trees against a plain map of vectors: a fault in folding, ancestors, branching stages or weights shows here,
// and one that makes siblings cost time in proportion to their number.
#include <gtest/gtest.h>

#include <ctime>
#include <map>
#include <random>
#include <vector>

#include "include/qrts_c_api.h"
#include "stoch/scn_object.h"

namespace {

class Tree : public testing::Test {
 protected:
  void SetUp() override {
    context = qrts_initializeContext();
    model = qrt_newModel(context, "tree");
    qrt_mset(model, 7401, 256, -1, 0, 7454, 0);
    qrt_messagesPrintOff(model, 401, 499);
  }
  void TearDown() override { qrts_endContext(context); }
  QRTContext *context;
  QRTModel *model;
};

struct Known {
  int number, branchStage, ancestor;
  double probability;
};

// What a tree must answer, from the definition alone: compare with every earlier scenario.
class PlainTree {
 public:
  int add(const std::vector<int> &events, double p) {
    auto at = scenarios.find(events);
    if (at != scenarios.end()) {
      at->second.probability += p;
      return at->second.number;
    }
    Known next{int(order.size()) + 1, 1, 0, p};
    // The longest prefix shared with an earlier scenario; its first sharer created the node above.
    for (const auto &earlier : order) {
      int shared = 0;
      while (events[size_t(shared)] == earlier[size_t(shared)]) ++shared;
      if (shared + 1 > next.branchStage) {
        next.branchStage = shared + 1;
        next.ancestor = scenarios[earlier].number;
      }
    }
    scenarios[events] = next;
    order.push_back(events);
    return next.number;
  }
  std::map<std::vector<int>, Known> scenarios;
  std::vector<std::vector<int>> order;
};

TEST_F(Tree, AgreesWithPlainListOnRandomSamples) {
  std::mt19937 random(7);
  for (int depth : {1, 2, 5}) {
    const int nSamples = 400, fan = depth == 1 ? 300 : 4;
    PlainTree plain;
    std::vector<std::vector<int>> samples;
    QRTTree *tree = nullptr;
    double total = 0, firstWeight = 0;
    for (int k = 0; k < nSamples; ++k) {
      std::vector<int> events;
      for (int s = 0; s < depth; ++s) events.push_back(int(random() % unsigned(fan)) - fan / 2);
      const double p = double(1 + random() % 9);
      const int number = plain.add(events, p);
      total += p;
      if (k == 0) firstWeight = p;
      if (!tree) {
        tree = qrts_createScenarioTree(events.data(), depth, nSamples, p);
        ASSERT_NE(tree, nullptr);
      } else {
        ASSERT_EQ(qrts_addEventToTree(tree, events.data(), depth, p), number);
      }
      samples.push_back(events);
      if (k % 37 == 0) {
        ASSERT_EQ(qrttree_check(tree), nullptr);
      }
    }
    ASSERT_EQ(qrttree_check(tree), nullptr);
    for (int k = 0; k < nSamples; ++k) {
      int ancestor, stage, number, *events;
      double p;
      ASSERT_EQ(qrts_getScenarioFromTree(tree, k, &ancestor, &stage, &p, &number, &events), 0);
      const Known &known = plain.scenarios[samples[size_t(k)]];
      EXPECT_EQ(number, known.number);
      EXPECT_EQ(stage, known.branchStage);
      EXPECT_EQ(ancestor, known.ancestor);
      EXPECT_EQ(p, known.probability);
      EXPECT_EQ(std::vector<int>(events, events + depth), samples[size_t(k)]);
    }
    EXPECT_EQ(tree->root->probability, total - firstWeight);  // the first sample does not count in the root
    EXPECT_EQ(qrts_deleteTree(tree), 0);
  }
}

TEST_F(Tree, InnerNodesCarryTheSamplesThroughThem) {
  const int a[] = {1, 1}, b[] = {1, 2}, c[] = {5, 1};
  QRTTree *tree = qrts_createScenarioTree(a, 2, 9, 1.0);
  qrts_addEventToTree(tree, b, 2, 2.0);
  qrts_addEventToTree(tree, c, 2, 4.0);
  qrts_addEventToTree(tree, a, 2, 8.0);
  qrttree_orderSiblings(tree);
  const EventNode *five = tree->root->firstChild, *one = five->nextSibling;
  ASSERT_EQ(five->event, 5);
  ASSERT_EQ(one->event, 1);
  EXPECT_EQ(one->probability, 11.0);
  EXPECT_EQ(five->probability, 4.0);
  // The first sample does not count in the root, and the leaf of an added branch starts at nothing.
  EXPECT_EQ(tree->root->probability, 14.0);
  EXPECT_EQ(one->firstChild->event, 2);
  EXPECT_EQ(one->firstChild->probability, 0.0);
  EXPECT_EQ(one->firstChild->nextSibling->probability, 9.0);
  EXPECT_EQ(tree->nNodes, 5);
  qrts_deleteTree(tree);
}

TEST_F(Tree, RefusesWhatItCannotHold) {
  const int events[] = {3, 4};
  EXPECT_EQ(qrts_createScenarioTree(events, 0, 5, 1.0), nullptr);
  EXPECT_EQ(qrts_createScenarioTree(nullptr, 2, 5, 1.0), nullptr);
  QRTTree *tree = qrts_createScenarioTree(events, 2, 2, 1.0);
  EXPECT_EQ(qrts_addEventToTree(tree, events, 1, 1.0), 2);
  EXPECT_EQ(qrts_addEventToTree(tree, events, 2, 1.0), 1);
  EXPECT_EQ(qrts_addEventToTree(tree, events, 2, 1.0), -1);
  EXPECT_EQ(qrts_addEventToTree(tree, events, 2, 1.0), -1);
  // A refused sample takes no place.
  EXPECT_EQ(qrts_getScenarioFromTree(tree, 1, nullptr, nullptr, nullptr, nullptr, nullptr), 0);
  EXPECT_EQ(qrts_getScenarioFromTree(tree, 2, nullptr, nullptr, nullptr, nullptr, nullptr), 1);
  EXPECT_EQ(qrts_getScenarioFromTree(tree, -1, nullptr, nullptr, nullptr, nullptr, nullptr), 1);
  EXPECT_EQ(qrts_deleteTree(tree), 0);
  EXPECT_EQ(qrts_addEventToTree(tree, events, 2, 1.0), 2);
  EXPECT_EQ(qrts_deleteTree(nullptr), 2);
}

double secondsFor(int nSamples) {
  const clock_t start = clock();
  int event = 0;
  QRTTree *tree = qrttree_Cinit(&event, 1, nSamples, 1.0);
  for (int k = 1; k < nSamples; ++k) {
    event = int(unsigned(k) * 2654435761u >> 1);
    EXPECT_EQ(qrttree_Cadd(tree, &event, 1, 1.0), k + 1);
  }
  EXPECT_EQ(qrttree_check(tree), nullptr);
  qrts_delete2Tree(tree);
  return double(clock() - start) / CLOCKS_PER_SEC;
}

TEST_F(Tree, ManySiblingsCostLinearTime) {
  // Sixteen times the siblings may cost the logarithm of their sort and the caches more, but not 256 times.
  // (processor time, with room for a busy machine).
  const double small = secondsFor(20000), large = secondsFor(320000);
  EXPECT_LT(large, 100 * small + 2.0);
}

}  // namespace
