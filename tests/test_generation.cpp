// Faults these tests would catch: a block at the wrong node's offset, data of one scenario in another's node, rows or
// columns permuted between input, stage and model order, weights not normalised, getters that read a neighbour's value.
//
// Random cores with rows and columns of mixed stages, and random trees, are built through the interface; the expected
// equivalent is put together here from the definition, densely, and compared entry by entry.
#include <gtest/gtest.h>

#include <cmath>
#include <map>
#include <random>
#include <vector>

#include "include/qrts_c_api.h"
#include "model/model_store.h"
#include "stoch/scn_generation.h"

namespace {

struct Triplet {
  int row, col;  // 0-based, input order
  double value;
};
struct Scenario {
  int ancestor, branch;
  double weight;
  std::vector<Triplet> changes;
  std::vector<double> objective, rowLower, rowUpper;  // differences, dense
  std::vector<int> path;                              // node of each stage, 0-based
};
struct Node {
  int stage, scenario;
  double probability;
  int rowOffset, colOffset;
};

struct Case {
  int nStages, nRows, nCols;
  std::vector<int> rowStage, colStage;
  std::vector<double> objective, rowLower, rowUpper, colLower, colUpper;
  std::vector<Triplet> elements;
  std::vector<Scenario> scenarios;
  std::vector<Node> nodes;
  int modelRows = 0, modelCols = 0;

  int rowsOf(int stage) const { return int(std::count(rowStage.begin(), rowStage.end(), stage)); }
  int colsOf(int stage) const { return int(std::count(colStage.begin(), colStage.end(), stage)); }
  // Place of a row or column inside its stage, in input order.
  static int localOf(const std::vector<int> &stages, int k) {
    return int(std::count(stages.begin(), stages.begin() + k, stages[size_t(k)]));
  }
};

Case randomCase(unsigned seed) {
  std::minstd_rand random(seed);
  const auto pick = [&](int n) { return int(random() % unsigned(n)); };
  Case c;
  c.nStages = 1 + pick(4);
  c.nRows = c.nStages + pick(6);
  c.nCols = c.nStages + pick(6);
  for (int i = 0; i < c.nRows; ++i) c.rowStage.push_back(i < c.nStages ? c.nStages - i : 1 + pick(c.nStages));
  for (int j = 0; j < c.nCols; ++j) c.colStage.push_back(j < c.nStages ? j + 1 : 1 + pick(c.nStages));
  for (int j = 0; j < c.nCols; ++j) {
    c.objective.push_back(pick(9) - 4);
    c.colLower.push_back(pick(3) - 1);
    c.colUpper.push_back(pick(2) ? 1e31 : 5 + pick(4));
  }
  for (int i = 0; i < c.nRows; ++i) {
    c.rowLower.push_back(pick(2) ? pick(5) - 2 : -1e31);
    c.rowUpper.push_back(c.rowLower.back() < -1e30 || pick(2) ? 6 + pick(3) : 1e31);
  }
  for (int i = 0; i < c.nRows; ++i)
    for (int j = 0; j < c.nCols; ++j)
      if (c.colStage[size_t(j)] <= c.rowStage[size_t(i)] && pick(2)) c.elements.push_back({i, j, double(1 + pick(8))});
  return c;
}

void addScenarios(Case &c, unsigned seed, int count) {
  std::minstd_rand random(seed);
  const auto pick = [&](int n) { return int(random() % unsigned(n)); };
  c.nodes.push_back({1, 0, 0.0, 0, 0});
  if (c.nStages == 1) return;
  for (int s = 0; s < count; ++s) {
    Scenario scenario;
    scenario.ancestor = s == 0 ? 0 : 1 + pick(s);
    scenario.branch = s == 0 ? 2 : 2 + pick(c.nStages - 1);
    scenario.weight = 1 + pick(4);
    scenario.objective.assign(size_t(c.nCols), 0.0);
    scenario.rowLower.assign(size_t(c.nRows), 0.0);
    scenario.rowUpper.assign(size_t(c.nRows), 0.0);
    for (int j = 0; j < c.nCols; ++j)
      if (c.colStage[size_t(j)] >= scenario.branch && pick(3) == 0) scenario.objective[size_t(j)] = 1 + pick(3);
    for (int i = 0; i < c.nRows; ++i) {
      if (c.rowStage[size_t(i)] < scenario.branch) continue;
      if (c.rowLower[size_t(i)] > -1e30 && pick(3) == 0) scenario.rowLower[size_t(i)] = -1 - pick(2);
      if (c.rowUpper[size_t(i)] < 1e30 && pick(3) == 0) scenario.rowUpper[size_t(i)] = 1 + pick(2);
      for (int j = 0; j < c.nCols; ++j)
        if (c.colStage[size_t(j)] <= c.rowStage[size_t(i)] && pick(4) == 0) scenario.changes.push_back({i, j, 0.5 + pick(3)});
    }
    // The branch hangs below the ancestor's node of the stage before.
    for (int t = 1; t < scenario.branch; ++t)
      scenario.path.push_back(t == 1 ? 0 : c.scenarios[size_t(scenario.ancestor - 1)].path[size_t(t - 1)]);
    for (int t = scenario.branch; t <= c.nStages; ++t) {
      scenario.path.push_back(int(c.nodes.size()));
      c.nodes.push_back({t, s + 1, 0.0, 0, 0});
    }
    c.scenarios.push_back(scenario);
  }
  double total = 0.0;
  for (const Scenario &s : c.scenarios) total += s.weight;
  for (const Scenario &s : c.scenarios)
    for (int n : s.path) c.nodes[size_t(n)].probability += s.weight / total;
}

void layOut(Case &c) {
  for (Node &node : c.nodes) {
    node.rowOffset = c.modelRows;
    node.colOffset = c.modelCols;
    c.modelRows += c.rowsOf(node.stage);
    c.modelCols += c.colsOf(node.stage);
  }
}

QRTStoch *build(const Case &c, QRTContext *context) {
  QRTStoch *stoch = qrts_newStoch(context, "random", 100);
  qrt_messagesPrintOff(qrtse_getBaseModel(stoch), 1, 9999);
  std::vector<int> rows, cols;
  std::vector<double> values;
  for (const Triplet &e : c.elements) {
    rows.push_back(e.row + 1);
    cols.push_back(e.col + 1);
    values.push_back(e.value);
  }
  EXPECT_EQ(qrts_createCore(stoch, c.nStages, c.rowStage.data(), c.colStage.data(), c.nRows, c.nCols, int(rows.size()),
                            c.objective.data(), c.rowLower.data(), c.rowUpper.data(), c.colLower.data(),
                            c.colUpper.data(), rows.data(), cols.data(), values.data()),
            0);
  for (size_t s = 0; s < c.scenarios.size(); ++s) {
    const Scenario &sc = c.scenarios[s];
    rows.clear();
    cols.clear();
    values.clear();
    for (const Triplet &e : sc.changes) {
      rows.push_back(e.row + 1);
      cols.push_back(e.col + 1);
      values.push_back(e.value);
    }
    EXPECT_EQ(qrts_addScenario(stoch, int(s) + 1, sc.ancestor, sc.branch, sc.weight, 0, c.nRows, c.nCols, int(rows.size()),
                               sc.objective.data(), sc.rowLower.data(), sc.rowUpper.data(), nullptr, nullptr,
                               rows.data(), cols.data(), values.data(), 0),
              0);
  }
  return stoch;
}

// Node of each stage on the way to `node`.
std::vector<int> pathOf(const Case &c, int node) {
  if (node == 0) return {0};
  std::vector<int> path = c.scenarios[size_t(c.nodes[size_t(node)].scenario - 1)].path;
  path.resize(size_t(c.nodes[size_t(node)].stage));
  return path;
}

std::map<std::pair<int, int>, double> expectedMatrix(const Case &c) {
  std::map<std::pair<int, int>, double> matrix;
  for (size_t n = 0; n < c.nodes.size(); ++n) {
    const Node &node = c.nodes[n];
    const std::vector<int> path = pathOf(c, int(n));
    const auto add = [&](const Triplet &e) {
      if (c.rowStage[size_t(e.row)] != node.stage) return;
      const Node &owner = c.nodes[size_t(path[size_t(c.colStage[size_t(e.col)] - 1)])];
      matrix[{node.rowOffset + Case::localOf(c.rowStage, e.row), owner.colOffset + Case::localOf(c.colStage, e.col)}] += e.value;
    };
    for (const Triplet &e : c.elements) add(e);
    if (node.scenario > 0)
      for (const Triplet &e : c.scenarios[size_t(node.scenario - 1)].changes) add(e);
  }
  return matrix;
}

void expectModel(const Case &c, QRTModel *model) {
  ASSERT_EQ(qrt_getInumrows(model), c.modelRows);
  ASSERT_EQ(qrt_getInumcols(model), c.modelCols);
  std::map<std::pair<int, int>, double> found;
  forEachElement(model, [&](int row, int col, double value) { found[{row, col}] += value; });
  const auto expected = expectedMatrix(c);
  EXPECT_EQ(found.size(), expected.size());
  for (const auto &[place, value] : expected)
    EXPECT_NEAR(found[place], value, 1e-12) << place.first << ' ' << place.second;
  for (const Node &node : c.nodes) {
    const Scenario *scenario = node.scenario ? &c.scenarios[size_t(node.scenario - 1)] : nullptr;
    for (int i = 0; i < c.nRows; ++i) {
      if (c.rowStage[size_t(i)] != node.stage) continue;
      const int at = node.rowOffset + Case::localOf(c.rowStage, i);
      EXPECT_DOUBLE_EQ(qrt_rowlower(model)[at], c.rowLower[size_t(i)] + (scenario ? scenario->rowLower[size_t(i)] : 0.0));
      EXPECT_DOUBLE_EQ(qrt_rowupper(model)[at], c.rowUpper[size_t(i)] + (scenario ? scenario->rowUpper[size_t(i)] : 0.0));
    }
    for (int j = 0; j < c.nCols; ++j) {
      if (c.colStage[size_t(j)] != node.stage) continue;
      const int at = node.colOffset + Case::localOf(c.colStage, j);
      const double cost = c.objective[size_t(j)] + (scenario ? scenario->objective[size_t(j)] : 0.0);
      EXPECT_NEAR(qrt_objective(model)[at], cost * node.probability, 1e-12);
      EXPECT_EQ(qrt_collower(model)[at], c.colLower[size_t(j)]);
      EXPECT_EQ(qrt_colupper(model)[at], c.colUpper[size_t(j)]);
      EXPECT_GE(qrt_colsol(model)[at], c.colLower[size_t(j)]) << "a column must start inside its bounds";
    }
  }
}

void expectGetters(const Case &c, QRTStoch *stoch, QRTModel *model) {
  for (int j = 0; j < c.modelCols; ++j) model->solution[model->Imaxrows + j] = j + 1;
  for (int i = 0; i < c.modelRows; ++i) model->dual[i] = -(i + 1);
  std::vector<double> values(size_t(c.nCols) + size_t(c.nRows));
  std::vector<int> indices(values.size());
  for (size_t s = 0; s < c.scenarios.size(); ++s) {
    ASSERT_EQ(qrts_get3NodeSolution(stoch, int(s) + 1, 0, 0, values.data(), indices.data()), 0);
    for (int j = 0; j < c.nCols; ++j) {
      const Node &node = c.nodes[size_t(c.scenarios[s].path[size_t(c.colStage[size_t(j)] - 1)])];
      EXPECT_EQ(indices[size_t(j)], node.colOffset + Case::localOf(c.colStage, j));
      EXPECT_EQ(values[size_t(j)], indices[size_t(j)] + 1);
    }
    ASSERT_EQ(qrts_getScenarioDualSolution(stoch, int(s) + 1, 1, values.data(), indices.data()), 0);
    int at = 0;
    for (int stage = 1; stage <= c.nStages; ++stage) {
      const Node &node = c.nodes[size_t(c.scenarios[s].path[size_t(stage - 1)])];
      for (int k = 0; k < c.rowsOf(stage); ++k, ++at) {
        EXPECT_EQ(indices[size_t(at)], node.rowOffset + k);
        EXPECT_EQ(values[size_t(at)], -(node.rowOffset + k + 1));
      }
    }
  }
  const int n = qrts_getNumScenarios(stoch);
  ASSERT_EQ(n, int(c.scenarios.size()));
  std::vector<int> ids(size_t(n) + 1);
  std::vector<double> probabilities(ids.size()), objectives(ids.size());
  double mean, deviation;
  ASSERT_EQ(qrts_getScenarioDistribution(stoch, n + 1, ids.data(), probabilities.data(), objectives.data(), &mean, &deviation), 0);
  double expectedMean = 0.0;
  for (int i = 0; i < n; ++i) {
    const Scenario &scenario = c.scenarios[size_t(ids[size_t(i)] - 1)];
    double value = 0.0;
    for (int j = 0; j < c.nCols; ++j) {
      const int stage = c.colStage[size_t(j)];
      const Node &node = c.nodes[size_t(scenario.path[size_t(stage - 1)])];
      double cost = c.objective[size_t(j)];
      if (node.scenario) cost += c.scenarios[size_t(node.scenario - 1)].objective[size_t(j)];
      value += cost * (node.colOffset + Case::localOf(c.colStage, j) + 1);
    }
    EXPECT_NEAR(objectives[size_t(i)], value, 1e-9);
    expectedMean += value * probabilities[size_t(i)];
    EXPECT_NEAR(probabilities[size_t(i)], c.nodes[size_t(scenario.path.back())].probability, 1e-12);
  }
  EXPECT_NEAR(mean, expectedMean, 1e-9);
}

TEST(Generation, RandomTreesGiveTheEquivalentOfTheDefinition) {
  QRTContext *context = qrts_initializeContext();
  qrt_messagesPrintOff(qrt_baseModel(context), 1, 9999);
  for (unsigned seed = 1; seed <= 60; ++seed) {
    SCOPED_TRACE(seed);
    Case c = randomCase(seed);
    addScenarios(c, seed + 1000, 1 + int(seed % 7));
    layOut(c);
    if (c.nStages == 1) c.nodes[0].probability = 1.0;
    QRTStoch *stoch = build(c, context);
    int blocks = 0;
    for (const Node &node : c.nodes) blocks += node.stage;
    EXPECT_EQ(qrts_describeFullModel(stoch, 1), blocks);
    ASSERT_NE(stoch->smodel, nullptr);
    const char *broken = smodel_check(stoch);
    EXPECT_EQ(broken, nullptr) << broken;
    expectModel(c, qrtse_getCurrentModel(stoch));
    if (c.nStages > 1) expectGetters(c, stoch, qrtse_getCurrentModel(stoch));
    qrts_deleteStoch(stoch);
    if (::testing::Test::HasFailure()) break;
  }
  qrts_endContext(context);
}

// A list with one leaf: its ancestors come as virtual nodes behind it, parent first, fixed at zero.
TEST(Generation, PartOfTheTreeBringsVirtualAncestors) {
  QRTContext *context = qrts_initializeContext();
  qrt_messagesPrintOff(qrt_baseModel(context), 1, 9999);
  Case c;
  unsigned seed = 1;
  do c = randomCase(seed++);
  while (c.nStages != 3);
  addScenarios(c, 5, 4);
  QRTStoch *stoch = build(c, context);
  const int leaf = c.scenarios[1].path[2] + 1;
  EXPECT_EQ(qrts_describe2SubModel(stoch, 7, 1, &leaf, 0), 3);
  const NodeList *list = stoch->smodel->nodeList;
  ASSERT_EQ(list->nNodes, 3);
  EXPECT_EQ(list->nVirtual, 2);
  EXPECT_EQ(list->nodes[0].stage, 3);
  EXPECT_EQ(list->nodes[1].stage, 2);
  EXPECT_EQ(list->nodes[2].stage, 1);
  EXPECT_EQ(list->nodes[0].parent, 2);
  EXPECT_EQ(list->nodes[1].parent, 3);
  EXPECT_EQ(stoch->smodel->nRows, c.rowsOf(3));
  EXPECT_EQ(stoch->smodel->nCols, c.nCols);
  EXPECT_EQ(stoch->smodel->tag, 7);
  ASSERT_EQ(qrts_load2BaseModel(stoch, 1), 0);
  QRTModel *model = qrtse_getCurrentModel(stoch);
  for (int j = c.colsOf(3); j < c.nCols; ++j) {
    EXPECT_EQ(qrt_collower(model)[j], 0.0);
    EXPECT_EQ(qrt_colupper(model)[j], 0.0);
    EXPECT_EQ(qrt_objective(model)[j], 0.0);
  }
  qrts_deleteStoch(stoch);
  qrts_endContext(context);
}

// Scenarios of weight zero vanish with the inner nodes that only they pass.
TEST(Generation, ZeroProbabilityNodesAreLeftOut) {
  QRTContext *context = qrts_initializeContext();
  qrt_messagesPrintOff(qrt_baseModel(context), 1, 9999);
  Case c;
  unsigned seed = 3;
  do c = randomCase(seed++);
  while (c.nStages != 2);
  addScenarios(c, 9, 3);
  c.scenarios[2].weight = 0.0;
  QRTStoch *stoch = build(c, context);
  EXPECT_EQ(qrts_describeFullModel(stoch, 1), 1 + 2 * 2);
  EXPECT_EQ(stoch->smodel->nodeList->nNodes, 3);
  EXPECT_EQ(qrts_getNumScenarios(stoch), 2);
  std::vector<double> values(size_t(c.nCols));
  std::vector<int> indices(size_t(c.nCols));
  EXPECT_EQ(qrts_get3NodeSolution(stoch, 3, 0, 0, values.data(), indices.data()), 0);
  for (int j = 0; j < c.nCols; ++j)
    if (c.colStage[size_t(j)] == 2) {
      EXPECT_EQ(indices[size_t(j)], -1) << "a node outside the model has no place in it";
    }
  qrts_deleteStoch(stoch);
  qrts_endContext(context);
}

}  // namespace
