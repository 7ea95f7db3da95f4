// The stochastic store. Faults caught here: index spaces mixed up in cores whose stages are not in order, a value that
// comes back as another one, node tables with wrong parents or chains, refusals that leave traces, files that do not
// read back, bad files that crash.
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <fstream>
#include <map>
#include <random>
#include <sstream>
#include <string>
#include <unistd.h>
#include <vector>

#include <gtest/gtest.h>

#include "frame/entry_frame.h"
#include "frame/messages.h"
#include "include/qrts_c_api.h"
#include "stoch/scn_stoc.h"

namespace {

constexpr double INF = SCN_INFINITY;

// A bare object around a store: what the workers need and no more. Severe messages are let pass.
struct Bare {
  QRTStoch object{};
  explicit Bare(int maximum) {
    std::memcpy(object.tag, "SPO", 4);
    object.sdata = qrts_Cinit(maximum);
    object.ownsData = 1;
    object.nSubmodels = -1;
  }
  ~Bare() { qrts_freeSdata(object.sdata); }
  QRTStoch *stoch() { return &object; }
  StochData *store() { return object.sdata; }
};

class Store : public testing::Test {
 protected:
  QRTContext *context = nullptr;
  void SetUp() override {
    context = qrt_initializeContext();
    qrt_mset(qrt_baseModel(context), 401, 0, -1, 0, 466, 0);
    qrt_mset(qrt_baseModel(context), 3401, 0, -1, 0, 3423, 0);
    qrt_mset(qrt_baseModel(context), 7401, 256, -1, 0, 7454, 0);
    qrt_makeThisCurrent(qrt_newModel(context, "m"));
  }
  void TearDown() override { qrt_endContext(context); }
  // Prints the messages of one call, so that it can be looked at.
  template <class F> std::string spoken(F call) {
    qrt_mset(qrt_getCurrent(), 401, 0, 256, 0, 466, 0);
    qrt_mset(qrt_getCurrent(), 3401, 0, 256, 0, 3423, 0);
    qrt_mset(qrt_getCurrent(), 7401, 256, 256, 0, 7454, 0);
    flushLogs();
    std::fflush(stdout);
    testing::internal::CaptureStdout();
    call();
    flushLogs();
    std::fflush(stdout);
    const std::string text = testing::internal::GetCapturedStdout();
    qrt_mset(qrt_getCurrent(), 401, 0, -1, 0, 466, 0);
    qrt_mset(qrt_getCurrent(), 3401, 0, -1, 0, 3423, 0);
    qrt_mset(qrt_getCurrent(), 7401, 256, -1, 0, 7454, 0);
    return text;
  }
};

// A model as plain tables, in input order: what the store must give back.
struct PlainModel {
  int nRows = 0, nCols = 0;
  std::map<std::pair<int, int>, double> matrix;  // 1-based
  std::vector<double> rowLower, rowUpper, colLower, colUpper, objective;
};

struct PlainCore : PlainModel {
  int nStages = 0;
  std::vector<int> rowStage, colStage, rows, cols;
  std::vector<double> elements;
};

// Stages scattered over the rows and columns, every stage present.
PlainCore randomCore(std::mt19937 &random, int nStages, int nRows, int nCols) {
  PlainCore core;
  core.nStages = nStages;
  core.nRows = nRows;
  core.nCols = nCols;
  const auto number = [&](int n) { return int(random() % std::mt19937::result_type(n)); };
  for (int i = 0; i < nRows; i++) core.rowStage.push_back(i < nStages ? nStages - i : number(nStages) + 1);
  for (int j = 0; j < nCols; j++) core.colStage.push_back(j < nStages ? j + 1 : number(nStages) + 1);
  for (int i = 1; i <= nRows; i++)
    for (int j = 1; j <= nCols; j++)
      if (core.colStage[size_t(j - 1)] <= core.rowStage[size_t(i - 1)] && number(3) == 0) {
        const double value = number(19) - 9.5;
        core.matrix[{i, j}] = value;
        core.rows.push_back(i);
        core.cols.push_back(j);
        core.elements.push_back(value);
      }
  for (int i = 0; i < nRows; i++) {
    core.rowLower.push_back(number(3) == 0 ? -INF : number(5) - 2.0);
    core.rowUpper.push_back(number(3) == 0 ? INF : number(5) + 3.0);
  }
  for (int j = 0; j < nCols; j++) {
    core.colLower.push_back(number(3) == 0 ? -INF : number(3) - 1.0);
    core.colUpper.push_back(number(3) == 0 ? INF : number(5) + 3.0);
    core.objective.push_back(number(4) - 1.0);
  }
  return core;
}

int load(QRTStoch *stoch, const PlainCore &c) {
  return qrts_Ccore(stoch, c.nStages, c.rowStage.data(), c.colStage.data(), c.nRows, c.nCols, int(c.elements.size()), c.objective.data(),
                    c.rowLower.data(), c.rowUpper.data(), c.colLower.data(), c.colUpper.data(), c.rows.data(), c.cols.data(),
                    c.elements.data(), nullptr);
}

// The unpacked core, through the view, in input order.
PlainModel unpacked(QRTStoch *stoch) {
  CoreView *v = nullptr;
  EXPECT_EQ(qrts_Ccdat(stoch, &v), 0);
  PlainModel m;
  m.nRows = v->nRows;
  m.nCols = v->nCols;
  m.rowLower.resize(size_t(v->nRows));
  m.rowUpper = m.rowLower;
  m.colLower.resize(size_t(v->nCols));
  m.colUpper = m.objective = m.colLower;
  for (int p = 0; p < v->nRows; p++) {
    m.rowLower[size_t(v->rowPerm[p] - 1)] = v->rowLower[p];
    m.rowUpper[size_t(v->rowPerm[p] - 1)] = v->rowUpper[p];
  }
  for (int p = 0; p < v->nCols; p++) {
    const size_t j = size_t(v->colPerm[p] - 1);
    m.colLower[j] = v->colLower[p];
    m.colUpper[j] = v->colUpper[p];
    m.objective[j] = v->objective[p];
  }
  for (int r = 1; r <= v->nStages; r++)
    for (int c = 1; c <= r; c++) {
      const int b = blockNumber(r, c);
      for (int e = v->blockStart[b - 1] - 1; e < v->blockStart[b] - 1; e++) {
        const int p = v->mrow[e] + v->rowStageStart[r - 1] - 1, q = v->mcol[e] + v->colStageStart[c - 1] - 1;
        m.matrix[{v->rowPerm[p - 1], v->colPerm[q - 1]}] += v->dels[e];
      }
    }
  std::free(v);
  return m;
}

// Adds a node's differences to a model in input order.
void addNode(QRTStoch *stoch, int node, PlainModel *m) {
  NodeView *v = nullptr;
  ASSERT_EQ(qrts_Cndat(stoch, node, &v), 0);
  const CoreData *core = stoch->sdata->core;
  if (v->values != nullptr) {
    for (int k = 1; k <= v->nRows; k++) {
      const size_t i = size_t(rowSortedToInput(core, rowLocalToSorted(core, v->stage, k)) - 1);
      m->rowLower[i] += v->rowLower[k - 1];
      m->rowUpper[i] += v->rowUpper[k - 1];
    }
    for (int k = 1; k <= v->nCols; k++) {
      const size_t j = size_t(colSortedToInput(core, colLocalToSorted(core, v->stage, k)) - 1);
      m->colLower[j] += v->colLower[k - 1];
      m->colUpper[j] += v->colUpper[k - 1];
      m->objective[j] += v->objective[k - 1];
    }
    for (int c = 1; c <= v->stage; c++)
      for (int e = v->blockStart[c - 1] - 1; e < v->blockStart[c] - 1; e++)
        m->matrix[{rowSortedToInput(core, rowLocalToSorted(core, v->stage, v->rows[e])),
                   colSortedToInput(core, colLocalToSorted(core, c, v->cols[e]))}] += v->values[e];
  }
  std::free(v);
}

void expectSame(const PlainModel &a, const PlainModel &b, const std::string &where) {
  SCOPED_TRACE(where);
  EXPECT_EQ(a.rowLower, b.rowLower);
  EXPECT_EQ(a.rowUpper, b.rowUpper);
  EXPECT_EQ(a.colLower, b.colLower);
  EXPECT_EQ(a.colUpper, b.colUpper);
  EXPECT_EQ(a.objective, b.objective);
  auto places = a.matrix;
  places.insert(b.matrix.begin(), b.matrix.end());
  for (const auto &place : places) {
    const auto x = a.matrix.find(place.first), y = b.matrix.find(place.first);
    EXPECT_EQ(x == a.matrix.end() ? 0.0 : x->second, y == b.matrix.end() ? 0.0 : y->second)
        << "element " << place.first.first << ", " << place.first.second;
  }
}

// One scenario in plain form: what it changes in the stages from its branching stage on.
struct PlainScenario {
  int ancestor, branchStage;
  double weight;
  std::vector<int> rows, cols;
  std::vector<double> values;
  std::vector<double> rowLower, rowUpper, colLower, colUpper, objective;
};

// Differences (or, with replace, absolute values) for rows of the stages owned, never at infinite bounds.
PlainScenario randomScenario(std::mt19937 &random, const PlainCore &core, int ancestor, int branchStage, bool replace) {
  PlainScenario s;
  const auto number = [&](int n) { return int(random() % std::mt19937::result_type(n)); };
  s.ancestor = ancestor;
  s.branchStage = branchStage;
  s.weight = number(4) + 1;
  s.rowLower.assign(size_t(core.nRows), 0.0);
  s.colLower.assign(size_t(core.nCols), 0.0);
  s.objective = s.colLower;
  s.rowUpper.assign(size_t(core.nRows), replace ? INF : 0.0);
  s.colUpper.assign(size_t(core.nCols), replace ? INF : 0.0);
  for (size_t i = 0; i < size_t(core.nRows); i++) {
    if (replace && core.rowLower[i] == -INF) s.rowLower[i] = -INF;
    if (core.rowStage[i] < branchStage) continue;
    if (core.rowLower[i] != -INF && number(3) == 0) s.rowLower[i] = number(7) + 1.5;
    if (core.rowUpper[i] != INF && number(3) == 0) s.rowUpper[i] = number(7) + 1.5;
  }
  for (size_t j = 0; j < size_t(core.nCols); j++) {
    if (replace && core.colLower[j] == -INF) s.colLower[j] = -INF;
    if (core.colStage[j] < branchStage) continue;
    if (core.colLower[j] != -INF && number(3) == 0) s.colLower[j] = number(7) + 0.5;
    if (core.colUpper[j] != INF && number(3) == 0) s.colUpper[j] = number(7) + 0.5;
    if (number(3) == 0) s.objective[j] = number(7) + 0.25;
  }
  for (int i = 1; i <= core.nRows; i++)
    for (int j = 1; j <= core.nCols; j++) {
      const int r = core.rowStage[size_t(i - 1)];
      if (r < branchStage || core.colStage[size_t(j - 1)] > r || number(6) != 0) continue;
      s.rows.push_back(i);
      s.cols.push_back(j);
      s.values.push_back(number(9) + 0.5);
    }
  return s;
}

int add(QRTStoch *stoch, int scenario, const PlainCore &core, const PlainScenario &s, bool replace) {
  return qrts_Cadsc(stoch, scenario, s.ancestor, s.branchStage, s.weight, 0, core.nRows, core.nCols, int(s.values.size()),
                    s.objective.data(), s.rowLower.data(), s.rowUpper.data(), s.colLower.data(), s.colUpper.data(), s.rows.data(),
                    s.cols.data(), s.values.data(), replace);
}

// What the scenario's own stages hold: the core, changed. Values of stages it does not own are the core's.
PlainModel changed(const PlainCore &core, const PlainScenario &s, bool replace) {
  PlainModel m = core;
  const auto put = [replace](double &to, double value, double base) {
    if (value == base) return;
    if (replace) to = value;
    else to += value;
  };
  const double none = replace ? INF : 0.0;
  for (size_t i = 0; i < size_t(core.nRows); i++) {
    put(m.rowLower[i], s.rowLower[i], 0.0);
    put(m.rowUpper[i], s.rowUpper[i], none);
  }
  for (size_t j = 0; j < size_t(core.nCols); j++) {
    put(m.colLower[j], s.colLower[j], 0.0);
    put(m.colUpper[j], s.colUpper[j], none);
    put(m.objective[j], s.objective[j], 0.0);
  }
  for (size_t e = 0; e < s.values.size(); e++) {
    double &to = m.matrix[{s.rows[e], s.cols[e]}];
    if (replace) to = s.values[e];
    else to += s.values[e];
  }
  return m;
}

// Small deterministic core: three stages, rows 1,2,3 in stages 3,1,2, columns 1,2,3 in stages 2,3,1.
PlainCore mixedCore() {
  PlainCore c;
  c.nStages = 3;
  c.nRows = c.nCols = 3;
  c.rowStage = {3, 1, 2};
  c.colStage = {2, 3, 1};
  c.rows = {1, 1, 1, 2, 3, 3};
  c.cols = {1, 2, 3, 3, 1, 3};
  c.elements = {11, 12, 13, 23, 31, 33};
  c.rowLower = {1, -INF, 0};
  c.rowUpper = {INF, 5, 7};
  c.colLower = {0, 2, -INF};
  c.colUpper = {9, INF, INF};
  c.objective = {0, 4, 5};
  for (size_t e = 0; e < 6; e++) c.matrix[{c.rows[e], c.cols[e]}] = c.elements[e];
  return c;
}

std::string fileBytes(const std::string &path) {
  std::ifstream in(path, std::ios::binary);
  std::ostringstream all;
  all << in.rdbuf();
  return all.str();
}

struct ScratchName {
  std::string path;
  ScratchName() {
    char *name = recordFile_temporaryName();
    path = name;
    std::free(name);
  }
  ~ScratchName() { std::remove(path.c_str()); }
};

}  // namespace

TEST_F(Store, CoreComesBackWhateverTheOrderOfItsStages) {
  std::mt19937 random(11);
  for (int trial = 0; trial < 30; trial++) {
    const int nStages = trial % 5 + 1, nRows = nStages + trial % 7, nCols = nStages + trial % 4;
    const PlainCore core = randomCore(random, nStages, nRows, nCols);
    Bare bare(10);
    ASSERT_EQ(load(bare.stoch(), core), 0);
    ASSERT_STREQ(qrts_store_check(bare.store()), nullptr);
    expectSame(unpacked(bare.stoch()), core, "trial " + std::to_string(trial));
    int rows = 0;
    for (int s = 1; s <= nStages; s++) rows += qrts_get2NumrowsAtStage(bare.stoch(), s);
    EXPECT_EQ(rows, nRows);
  }
}

TEST_F(Store, ScenariosComeBackAsDifferencesAndAsAbsoluteValues) {
  for (unsigned seed = 1; seed <= 20; seed++) {
    std::mt19937 random(seed);
    const bool replace = seed % 2 == 0;
    const int nStages = int(seed % 4) + 2, nScenarios = 25;
    const PlainCore core = randomCore(random, nStages, nStages + 6, nStages + 5);
    Bare bare(nScenarios);
    ASSERT_EQ(load(bare.stoch(), core), 0);
    std::vector<PlainScenario> scenarios;
    for (int k = 1; k <= nScenarios; k++) {
      int ancestor = k == 1 ? 0 : int(random() % std::mt19937::result_type(k)), stage = 2;
      if (ancestor > 0) {
        const int from = scenarios[size_t(ancestor - 1)].branchStage + 1;
        if (from > nStages) ancestor = 0;
        else stage = from + int(random() % std::mt19937::result_type(nStages - from + 1));
      }
      scenarios.push_back(randomScenario(random, core, ancestor, stage, replace));
      if (k % 3 == 0) bare.store()->core->mrow == nullptr ? void() : (void)qrts_get2Numnodes(bare.stoch());
      ASSERT_EQ(add(bare.stoch(), k, core, scenarios.back(), replace), 0);
    }
    expectSame(unpacked(bare.stoch()), core, "the core stays as it was");
    ASSERT_EQ(qrts_mktr(bare.store()), 0);
    ASSERT_STREQ(qrts_store_check(bare.store()), nullptr);
    int expectedNodes = 1;
    for (int k = 1; k <= nScenarios; k++) {
      const PlainScenario &s = scenarios[size_t(k - 1)];
      PlainModel got = core;
      const ScenarioRecord &record = bare.store()->scenarios->table[k - 1];
      for (int n = record.firstNode; n <= record.lastNode; n++) addNode(bare.stoch(), n, &got);
      expectSame(got, changed(core, s, replace), "seed " + std::to_string(seed) + " scenario " + std::to_string(k));
      // the first node hangs below the ancestor's node one stage earlier, whoever owns that
      const TreeNode *node = &bare.store()->nodes->nodes[record.firstNode - 1];
      const TreeNode *parent = &bare.store()->nodes->nodes[node->parent - 1];
      EXPECT_EQ(parent->stage, s.branchStage - 1);
      EXPECT_EQ(parent->scenario, s.ancestor);
      expectedNodes += nStages - s.branchStage + 1;
    }
    EXPECT_EQ(qrts_get2Numnodes(bare.stoch()), expectedNodes);
    EXPECT_EQ(qrts_get2Numleaf(bare.stoch()), nScenarios);

    NodeSummaryList *summary = nullptr;
    ASSERT_EQ(qrts_Csget(bare.stoch(), &summary), 0);
    ASSERT_EQ(summary->nLeaves, nScenarios);
    for (int k = 0; k < nScenarios; k++) EXPECT_EQ(summary->leaves[k], bare.store()->scenarios->table[k].lastNode);
    EXPECT_EQ(summary->nNodes, expectedNodes);
    qrts_freeSummary(summary);
  }
}

TEST_F(Store, FileOfAMixedCoreByteByByte) {
  ScratchName name;
  Bare bare(5);
  const PlainCore core = mixedCore();
  ASSERT_EQ(load(bare.stoch(), core), 0);
  const int rows[] = {1, 1}, cols[] = {2, 4};
  const double values[] = {0.5, 2.0};
  int rc = -1;
  qrtbinptsc(&rc, bare.store(), 1, 0, 2, 0.25, 3, 3, 2, rows, cols, values, 0);
  ASSERT_EQ(rc, 0);
  ASSERT_EQ(qrts_write2NativeData(bare.stoch(), name.path.c_str()), 0);

  RecordFile *file = qrts_VRFileOpen("test", name.path.c_str(), "OLD");
  const auto ints = [file](int record) {
    std::vector<int> all(size_t(recordFile_length("test", file, record)) / 4);
    if (!all.empty()) recordFile_read("test", file, record, all.data(), int64_t(all.size()) * 4);
    return all;
  };
  const auto reals = [file](int record) {
    std::vector<double> all(size_t(recordFile_length("test", file, record)) / 8);
    if (!all.empty()) recordFile_read("test", file, record, all.data(), int64_t(all.size()) * 8);
    return all;
  };
  using Ints = std::vector<int>;
  using Reals = std::vector<double>;
  // 6 matrix elements; row lower of 1, 2; row upper of 2, 3; column lower of 2, 3; column upper of 1; cost of 2, 3
  EXPECT_EQ(ints(3), (Ints{3, 3, 15, 3, 1}));
  EXPECT_EQ(ints(4), (Ints{1, 2, 3, 4}));
  EXPECT_EQ(ints(6), (Ints{2, 3, 1, 4, 5, 6, 7})) << "rows: sorted to input";
  EXPECT_EQ(ints(7), (Ints{3, 1, 2, 4, 5, 6, 7})) << "rows: input to sorted";
  EXPECT_EQ(ints(8), (Ints{3, 1, 2, 4, 5}));
  EXPECT_EQ(ints(9), (Ints{2, 3, 1, 4, 5}));
  EXPECT_EQ(file->directory[0], 3);
  EXPECT_EQ(file->directory[1], 10);
  // stage 1: the element, row lower -1e31 and upper 5, column lower -1e31, cost 5
  EXPECT_EQ(ints(10), (Ints{1, 6}));
  EXPECT_EQ(ints(11), (Ints{1, 1, 1, 2, 4}));
  EXPECT_EQ(ints(12), (Ints{1, 2, 3, 1, 1}));
  EXPECT_EQ(reals(13), (Reals{23, -INF, 5, -INF, 5}));
  // stage 3: column of stage 1, then 2, then the diagonal block with its rim
  EXPECT_EQ(ints(18), (Ints{1, 2, 3, 7}));
  EXPECT_EQ(ints(19), (Ints{1, 1, 1, 1, 2, 4}));
  EXPECT_EQ(ints(20), (Ints{1, 1, 1, 2, 1, 1}));
  EXPECT_EQ(reals(21), (Reals{13, 11, 12, 1, 2, 4}));
  // the scenario: nothing at stage 2, an element and a row lower bound at stage 3
  EXPECT_EQ(ints(22), (Ints{1, 1, 1}));
  EXPECT_EQ(ints(23), Ints{});
  EXPECT_EQ(ints(26), (Ints{1, 1, 1, 3}));
  EXPECT_EQ(ints(27), (Ints{1, 1}));
  EXPECT_EQ(ints(28), (Ints{1, 2}));
  EXPECT_EQ(reals(29), (Reals{0.5, 2.0}));
  EXPECT_EQ(file->directory[2], 30);
  EXPECT_EQ(file->directory[3], 0);
  EXPECT_EQ(recordFile_count("test", file), 30);
  ScenarioRecord record;
  EXPECT_EQ(recordFile_read("test", file, 30, &record, 32), 32);
  EXPECT_TRUE(record.probability == 0.25 && record.ancestor == 0 && record.branchStage == 2 && record.firstNode == 2 &&
              record.lastNode == 3 && record.firstRecord == 22);
  qrts_VRFileFree("test", file);
}

TEST_F(Store, RefusalsLeaveNothingChanged) {
  Bare bare(4);
  const PlainCore core = mixedCore();
  ASSERT_EQ(load(bare.stoch(), core), 0);
  std::mt19937 random(3);
  ASSERT_EQ(add(bare.stoch(), 1, core, randomScenario(random, core, 0, 2, false), false), 0);
  const int one[] = {1}, two[] = {2}, three[] = {3}, nine[] = {9};
  const double value[] = {1.0};
  StochData *sdata = bare.store();
  const int records = recordFile_count("test", sdata->file);
  const auto refused = [&](int scenario, int ancestor, int stage, double p, int nRows, int nCols, const int *row, const int *col,
                           int replace, const char *text) {
    int rc = -1;
    const std::string said = spoken([&] { qrtbinptsc(&rc, sdata, scenario, ancestor, stage, p, nRows, nCols, row ? 1 : 0, row, col, value, replace); });
    EXPECT_EQ(rc, 2);
    EXPECT_NE(said.find(text), std::string::npos) << said;
    EXPECT_EQ(sdata->scenarios->count, 1);
    EXPECT_EQ(sdata->nodes->nNodes, 3);
    EXPECT_EQ(recordFile_count("test", sdata->file), records);
    EXPECT_STREQ(qrts_store_check(sdata), nullptr);
  };
  refused(5, 0, 2, 0.5, 3, 3, nullptr, nullptr, 0, "Number of scenarios requested, 5, exceeds declared maximum 4");
  refused(0, 0, 2, 0.5, 3, 3, nullptr, nullptr, 0, "Number of scenarios requested, 0,");
  refused(2, 0, 4, 0.5, 3, 3, nullptr, nullptr, 0, "Branching stage out of bounds.");
  refused(2, 0, -1, 0.5, 3, 3, nullptr, nullptr, 0, "Branching stage out of bounds.");
  refused(2, 0, 2, -0.5, 3, 3, nullptr, nullptr, 0, "Scenario has negative probability.");
  refused(2, 0, 2, std::nan(""), 3, 3, nullptr, nullptr, 0, "Scenario has negative probability.");
  refused(2, 2, 3, 0.5, 3, 3, nullptr, nullptr, 0, "Ancestor scenario 2 does not exist.");
  refused(2, -1, 3, 0.5, 3, 3, nullptr, nullptr, 0, "Ancestor scenario -1 does not exist.");
  refused(2, 0, 2, 0.5, 4, 3, nullptr, nullptr, 0, "Number of rows in CORE model 3 does not match number 4 in scenario");
  refused(2, 0, 2, 0.5, 3, 2, nullptr, nullptr, 0, "Number of columns in CORE model 3 does not match number 2 in scenario");
  refused(2, 0, 2, 0.5, 3, 3, two, one, 0, "not block lower-triangular");
  refused(2, 0, 2, 0.5, 3, 3, two, two, 1, "\t Row index 2 has stage 1\n\t Col index 2 has stage 3\n");
  refused(2, 0, 2, 0.5, 3, 3, nine, three, 0, "Sort of blocks failed in subroutine qrtbinptdt.");
  refused(2, 0, 2, 0.5, 3, 3, one, nine, 0, "Sort of blocks failed in subroutine qrtbinptdt.");
  const int quadratic[] = {7};
  refused(2, 0, 2, 0.5, 3, 3, quadratic, one, 1, "Can't subtract incoming block\n");

  // a repeated number and a gap are warnings; only the repeated one changes anything
  int rc = -1;
  std::string said = spoken([&] { qrtbinptsc(&rc, sdata, 1, 0, 2, 7.5, 3, 3, 0, nullptr, nullptr, nullptr, 0); });
  EXPECT_EQ(rc, 0);
  EXPECT_NE(said.find("Scenario 1 has already been defined."), std::string::npos);
  EXPECT_EQ(sdata->scenarios->table[0].probability, 7.5);
  said = spoken([&] { qrtbinptsc(&rc, sdata, 4, 0, 2, 3.5, 3, 3, 0, nullptr, nullptr, nullptr, 0); });
  EXPECT_EQ(rc, 0);
  EXPECT_NE(said.find("Scenario 4 has already been defined."), std::string::npos);
  EXPECT_EQ(sdata->scenarios->count, 1);
  EXPECT_EQ(recordFile_count("test", sdata->file), records);
}

TEST_F(Store, CoresThatAreRefused) {
  PlainCore bad = mixedCore();
  const auto refused = [&](const PlainCore &core, const char *text) {
    Bare bare(2);
    int rc = -1;
    const std::string said = spoken([&] { rc = load(bare.stoch(), core); });
    EXPECT_EQ(rc, 2);
    EXPECT_NE(said.find(text), std::string::npos) << said;
    EXPECT_EQ(bare.store()->core->nStages, 0);
    EXPECT_EQ(bare.store()->file, nullptr);
    EXPECT_EQ(qrts_get2Numnodes(bare.stoch()), -1);
    EXPECT_EQ(load(bare.stoch(), mixedCore()), 0) << "a refused core leaves the object free for another";
  };
  bad.rows[3] = 2;
  bad.cols[3] = 1;
  refused(bad, "not block lower-triangular");
  bad = mixedCore();
  bad.rowStage[1] = 0;
  refused(bad, "Sort of rows failed in subroutine qrtbinptcr.");
  bad = mixedCore();
  bad.colStage[1] = 4;
  refused(bad, "Sort of columns failed in subroutine qrtbinptcr.");
  bad = mixedCore();
  bad.nStages = 0;
  refused(bad, "Sort of rows failed");
  bad = mixedCore();
  bad.cols[0] = 0;
  refused(bad, "Sort of blocks failed");

  Bare bare(2);
  ASSERT_EQ(load(bare.stoch(), mixedCore()), 0);
  int rc = -1;
  const std::string said = spoken([&] { rc = load(bare.stoch(), mixedCore()); });
  EXPECT_EQ(rc, 2);
  EXPECT_EQ(said.find("****** ERROR:  The QRTStoch object already has data. \n"), 0u) << said;
}

TEST_F(Store, BranchesArePutRight) {
  Bare bare(9);
  ASSERT_EQ(load(bare.stoch(), mixedCore()), 0);
  StochData *sdata = bare.store();
  const auto give = [&](int k, int ancestor, int stage) {
    int rc = -1;
    const std::string said = spoken([&] { qrtbinptsc(&rc, sdata, k, ancestor, stage, 1.0, 3, 3, 0, nullptr, nullptr, nullptr, 0); });
    EXPECT_EQ(rc, 0);
    return said;
  };
  const auto has = [&](int k, int ancestor, int stage) {
    const ScenarioRecord &r = sdata->scenarios->table[k - 1];
    EXPECT_EQ(r.ancestor, ancestor) << "scenario " << k;
    EXPECT_EQ(r.branchStage, stage) << "scenario " << k;
  };
  EXPECT_NE(give(1, 0, 3).find("branching stage = 2"), std::string::npos);
  has(1, 0, 2);
  EXPECT_EQ(give(2, 1, 3).find("QRT34"), std::string::npos);
  has(2, 1, 3);
  EXPECT_NE(give(3, 2, 3).find("Scenario 3 branches prior to ancestor's branch stage: true ancestor is 1"), std::string::npos);
  has(3, 1, 3);
  std::string said = give(4, 2, 2);
  EXPECT_NE(said.find("true ancestor is 0"), std::string::npos);
  EXPECT_EQ(said.find("branching stage = 2"), std::string::npos);
  has(4, 0, 2);
  said = give(5, 2, 1);
  EXPECT_NE(said.find("true ancestor is 0"), std::string::npos);
  EXPECT_NE(said.find("branching stage = 2"), std::string::npos) << "no scenario owns a node of stage 1";
  has(5, 0, 2);
  EXPECT_STREQ(qrts_store_check(sdata), nullptr);
}

TEST_F(Store, DenseVectorsAgainstInfiniteBounds) {
  Bare bare(9);
  const PlainCore core = mixedCore();
  ASSERT_EQ(load(bare.stoch(), core), 0);
  const double zero[3] = {0, 0, 0}, upper[3] = {4, 0, 0}, lower[3] = {0, 3, 0};
  double free[3] = {0, 3, 0};
  int rc = -1;
  const auto give = [&](int k, const double *rowLower, const double *rowUpper, int replace) {
    return spoken([&] {
      rc = qrts_Cadsc(bare.stoch(), k, 0, 2, 1.0, 0, 3, 3, 0, nullptr, rowLower, rowUpper, nullptr, nullptr, nullptr, nullptr, nullptr, replace);
    });
  };
  std::string said = give(1, lower, upper, 0);
  EXPECT_EQ(rc, 0);
  EXPECT_NE(said.find("Core row lower bound value at index 1 is infinite.  Nonzero value in scenario 1 ignored."), std::string::npos) << said;
  EXPECT_NE(said.find("Core row upper bound value at index 0 is infinite."), std::string::npos) << said;
  EXPECT_TRUE(lower[1] == 3 && upper[0] == 4) << "the caller's vectors stay";
  PlainModel got = core;
  addNode(bare.stoch(), 2, &got);
  addNode(bare.stoch(), 3, &got);
  expectSame(got, core, "ignored entries change nothing");
  // absolute: 0 is "not given" for a finite lower bound, so the core's stays
  free[1] = -INF;
  said = give(2, free, nullptr, 1);
  EXPECT_EQ(rc, 0);
  EXPECT_EQ(said.find("QRT3407W"), std::string::npos) << said;
  got = core;
  addNode(bare.stoch(), 4, &got);
  addNode(bare.stoch(), 5, &got);
  expectSame(got, core, "nothing given");
  EXPECT_EQ(give(3, zero, zero, 0).find("QRT3407W"), std::string::npos);
}

TEST_F(Store, ProbabilitiesAreWeights) {
  Bare bare(9);
  ASSERT_EQ(load(bare.stoch(), mixedCore()), 0);
  StochData *sdata = bare.store();
  int rc = -1;
  const struct { int ancestor, stage; double p; } given[] = {{0, 2, 2}, {1, 3, 6}, {0, 2, 0}, {3, 3, 8}};
  for (int k = 0; k < 4; k++) {
    qrtbinptsc(&rc, sdata, k + 1, given[k].ancestor, given[k].stage, given[k].p, 3, 3, 0, nullptr, nullptr, nullptr, 0);
    ASSERT_EQ(rc, 0);
  }
  ASSERT_EQ(qrts_mktr(sdata), 0);
  qrts_prob(&rc, sdata->nodes, 3, 1);
  EXPECT_EQ(rc, 0);
  // nodes: 1; scenario 1: 2, 3; scenario 2: 4; scenario 3: 5, 6; scenario 4: 7
  const double expected[] = {1, 0.5, 0.125, 0.375, 0.5, 0, 0.5};
  for (int n = 0; n < 7; n++) EXPECT_DOUBLE_EQ(sdata->nodes->nodes[n].probability, expected[n]) << "node " << n + 1;
  const double fresh[] = {1, 1, 1, 5};
  EXPECT_EQ(qrts_Ccprb(bare.stoch(), fresh), 0);
  qrts_prob(&rc, sdata->nodes, 3, 0);
  EXPECT_EQ(sdata->nodes->nodes[0].probability, 8);
  EXPECT_EQ(sdata->nodes->nodes[4].probability, 6);
  EXPECT_EQ(sdata->scenarios->table[0].probability, 2) << "the records keep what was given";
  EXPECT_EQ(qrts_Ccprb(bare.stoch(), nullptr), 2);
  EXPECT_EQ(sdata->nodes->nodes[2].probability, 2) << "rebuilt from the records";
  // a changed weight reaches the counts made earlier
  qrtbinptsc(&rc, sdata, 1, 0, 2, 0.5, 3, 3, 0, nullptr, nullptr, nullptr, 0);
  EXPECT_EQ(qrts_get2NodeProbability(bare.stoch(), 3), 0.5);
  const double nothing[] = {0, 0, 0, 0};
  EXPECT_EQ(qrts_Ccprb(bare.stoch(), nothing), 0);
  EXPECT_NE(spoken([&] { qrts_prob(&rc, sdata->nodes, 3, 1); }).find("Total probability in model is zero."), std::string::npos);
  EXPECT_EQ(rc, 2);
}

TEST_F(Store, OneStageAndNoScenarios) {
  PlainCore core = mixedCore();
  core.nStages = 1;
  core.rowStage = core.colStage = {1, 1, 1};
  Bare bare(3);
  EXPECT_TRUE(qrts_get2Numnodes(bare.stoch()) == -1 && qrts_get2Numleaf(bare.stoch()) == -1 && qrts_get2NumStages(bare.stoch()) == 0);
  ASSERT_EQ(load(bare.stoch(), core), 0);
  EXPECT_TRUE(qrts_get2Numnodes(bare.stoch()) == 1 && qrts_get2Numleaf(bare.stoch()) == 1);
  EXPECT_EQ(qrts_get2NodeProbability(bare.stoch(), 1), 1.0);
  int rc = -1;
  for (int k = 1; k <= 2; k++) {
    qrtbinptsc(&rc, bare.store(), k, 0, 1, 1.5, 3, 3, 0, nullptr, nullptr, nullptr, 0);
    ASSERT_EQ(rc, 0);
  }
  EXPECT_TRUE(qrts_get2Numnodes(bare.stoch()) == 1 && qrts_get2Numleaf(bare.stoch()) == 1);
  EXPECT_EQ(qrts_get2NodeProbability(bare.stoch(), 1), 3.0);
  EXPECT_STREQ(qrts_store_check(bare.store()), nullptr);
}

TEST_F(Store, NativeFilesReadBack) {
  std::mt19937 random(21);
  const PlainCore core = randomCore(random, 4, 12, 11);
  ScratchName first, second;
  Bare bare(60);
  ASSERT_EQ(load(bare.stoch(), core), 0);
  std::vector<PlainScenario> scenarios;
  for (int k = 1; k <= 40; k++) {
    scenarios.push_back(randomScenario(random, core, k % 3 == 0 ? k - 1 : 0, k % 3 == 0 ? 3 + k % 2 : 2, true));
    ASSERT_EQ(add(bare.stoch(), k, core, scenarios.back(), true), 0);
  }
  const std::string temporary = bare.store()->file->name;
  ASSERT_EQ(qrts_write2NativeData(bare.stoch(), first.path.c_str()), 0);
  EXPECT_NE(access(temporary.c_str(), F_OK), 0) << "the file was moved";
  EXPECT_EQ(std::string(bare.store()->file->name), first.path);
  // a table that grew gets a new record, one that did not is written over
  const int records = recordFile_count("test", bare.store()->file);
  ASSERT_EQ(qrts_write2NativeData(bare.stoch(), first.path.c_str()), 0);
  EXPECT_EQ(recordFile_count("test", bare.store()->file), records);
  scenarios.push_back(randomScenario(random, core, 0, 2, true));
  ASSERT_EQ(add(bare.stoch(), 41, core, scenarios.back(), true), 0);
  ASSERT_EQ(qrts_write2NativeData(bare.stoch(), first.path.c_str()), 0);

  const auto sameStore = [&](QRTStoch *other) {
    ASSERT_STREQ(qrts_store_check(other->sdata), nullptr);
    expectSame(unpacked(other), core, "core");
    ASSERT_EQ(other->sdata->scenarios->count, 41);
    for (int k = 1; k <= 41; k++) {
      PlainModel got = core;
      const ScenarioRecord record = other->sdata->scenarios->table[k - 1];
      EXPECT_EQ(record.probability, scenarios[size_t(k - 1)].weight);
      for (int n = record.firstNode; n <= record.lastNode; n++) addNode(other, n, &got);
      expectSame(got, changed(core, scenarios[size_t(k - 1)], true), "scenario " + std::to_string(k));
    }
  };
  {
    Bare back(1);
    ASSERT_EQ(qrts_read2NativeData(back.stoch(), first.path.c_str(), 1, 0), 0);
    sameStore(back.stoch());
    back.store()->scenarios->maximum = 50;
    ASSERT_EQ(add(back.stoch(), 42, core, randomScenario(random, core, 0, 2, true), true), 0) << "a store that was read can grow";
  }
  EXPECT_EQ(access(first.path.c_str(), F_OK), 0) << "a saved file outlives its store";
  {
    // an object that does not own the store writes a new file with a node table
    bare.object.ownsData = 0;
    ASSERT_EQ(qrts_write2NativeData(bare.stoch(), second.path.c_str()), 0);
    bare.object.ownsData = 1;
    sameStore(bare.stoch());
    Bare back(1);
    ASSERT_EQ(qrts_read2NativeData(back.stoch(), second.path.c_str(), 0, 0), 0);
    EXPECT_NE(back.store()->file->directory[3], 0);
    EXPECT_NE(back.store()->nodes->nodes, nullptr);
    sameStore(back.stoch());
    qrts_dropNodes(back.store());
    sameStore(back.stoch());
  }
}

TEST_F(Store, NativeFilesWithoutTablesAndWithoutAName) {
  ScratchName name;
  {
    Bare bare(3);
    ASSERT_EQ(load(bare.stoch(), mixedCore()), 0);
    // the core alone, as a crash before the table leaves it
    ASSERT_EQ(qrts_copyFile(bare.store()->file->name, name.path.c_str()), 0);
    EXPECT_EQ(qrts_write2NativeData(bare.stoch(), ""), 2);
    int rc = -1;
    EXPECT_NE(spoken([&] { rc = qrts_write2NativeData(bare.stoch(), "/tmp/no/such/folder/x"); }).find("attempting to save KVF file"), std::string::npos);
    EXPECT_EQ(rc, 2);
    EXPECT_STREQ(qrts_store_check(bare.store()), nullptr) << "a failed move leaves the store usable";
  }
  Bare back(3);
  std::string said = spoken([&] { EXPECT_EQ(qrts_read2NativeData(back.stoch(), name.path.c_str(), 1, 0), 0); });
  EXPECT_NE(said.find("No scenario information in the file " + name.path), std::string::npos) << said;
  EXPECT_NE(said.find("Loading stochastic data from " + name.path), std::string::npos) << said;
  EXPECT_EQ(back.store()->scenarios->count, 0);
  expectSame(unpacked(back.stoch()), mixedCore(), "core");
  Bare empty(3);
  EXPECT_EQ(qrts_write2NativeData(empty.stoch(), name.path.c_str()), 2);
  EXPECT_EXIT(qrts_read2NativeData(back.stoch(), name.path.c_str(), 1, 0), testing::ExitedWithCode(999 & 255), "");
}

namespace {
jmp_buf ended;
void jumpInsteadOfEnding(int) { longjmp(ended, 1); }

// Reads the bytes as a record file and touches everything it gives.
void digest(const std::string &path, const std::string &bytes) {
  std::ofstream(path, std::ios::binary | std::ios::trunc).write(bytes.data(), std::streamsize(bytes.size()));
  static Bare *bare;
  bare = new Bare(3);
  if (setjmp(ended) == 0) {
    qrts_endProcessHook = jumpInsteadOfEnding;
    if (qrts_read2NativeData(bare->stoch(), path.c_str(), 0, 0) == 0) {
      ASSERT_EQ(qrts_unpackCore(bare->store()) == 0 ? core_check(bare->store()->core) : nullptr, nullptr);
      const int nodes = qrts_get2Numnodes(bare->stoch());
      for (int n = 1; n <= nodes && n < 200; n++) {
        NodeView room, *view = &room;
        qrts_Cndat(bare->stoch(), n, &view);
      }
    }
  }
  if (setjmp(ended) == 0) delete bare;
  qrts_endProcessHook = nullptr;
}
}  // namespace

TEST_F(Store, DamagedNativeFilesAreRefused) {
  ScratchName name, other;
  std::mt19937 random(5);
  const PlainCore core = randomCore(random, 3, 7, 6);
  for (int owned = 0; owned <= 1; owned++) {
    {
      Bare bare(20);
      ASSERT_EQ(load(bare.stoch(), core), 0);
      for (int k = 1; k <= 8; k++)
        ASSERT_EQ(add(bare.stoch(), k, core, randomScenario(random, core, k == 5 ? 4 : 0, k == 5 ? 3 : 2, false), false), 0);
      bare.object.ownsData = owned;
      ASSERT_EQ(qrts_write2NativeData(bare.stoch(), name.path.c_str()), 0);
    }
    const std::string sound = fileBytes(name.path);
    for (size_t length = 0; length < sound.size(); length += 101) digest(other.path, sound.substr(0, length));
    const int32_t values[] = {-1, 0, 1, 2, 3, 7, 1000, 1 << 20, 0x7fffffff, int32_t(0x80000000)};
    for (int k = 0; k < 700; k++) {
      std::string bytes = sound;
      for (int hits = int(random() % 3); hits >= 0; hits--) {
        const int32_t value = random() % 3 ? values[random() % 10] : int32_t(random());
        const size_t from = random() % 4 == 0 ? 0 : 3368;
        std::memcpy(&bytes[(from + random() % (bytes.size() - from - 4)) & ~size_t(3)], &value, 4);
      }
      digest(other.path, bytes);
    }
  }
}

TEST_F(Store, CopiesOfObjectsHaveDataOfTheirOwn) {
  std::mt19937 random(33);
  const PlainCore core = randomCore(random, 3, 8, 7);
  QRTStoch *source = qrts_newStoch(context, "the source", 6), *target = qrts_newStoch(context, "", 1), *named = qrts_newStoch(context, "n", 4);
  EXPECT_EQ(qrts_copyStoch(target, source), 1) << "nothing to copy yet";
  ASSERT_EQ(load(source, core), 0);
  for (int k = 1; k <= 5; k++) ASSERT_EQ(add(source, k, core, randomScenario(random, core, 0, 2, false), false), 0);
  source->sdata->core->nIntegers = 1;
  source->sdata->core->integerMarks = static_cast<int *>(std::calloc(size_t(core.nCols) + 1, sizeof(int)));
  source->sdata->core->integerMarks[core.nCols - 1] = 7;
  qrts_setMaxiter(source, 17);
  ASSERT_EQ(load(named, mixedCore()), 0) << "what the target had is released";
  for (QRTStoch *copy : {target, named}) {
    ASSERT_EQ(qrts_copyStoch(copy, source), 0);
    EXPECT_STREQ(qrts_store_check(copy->sdata), nullptr);
    expectSame(unpacked(copy), core, "core of the copy");
    EXPECT_EQ(qrts_getNumScenarios(copy), 5);
    EXPECT_EQ(copy->sdata->core->integerMarks[core.nCols - 1], 7) << "one mark a column, not one an integer";
    EXPECT_EQ(qrts_getMaxiter(copy), 17);
    EXPECT_EQ(copy->ownsData, 1);
    EXPECT_NE(std::string(copy->sdata->file->name), source->sdata->file->name);
  }
  EXPECT_STREQ(target->name, "Copy(the source)");
  EXPECT_EQ(qrtse_getCurrentModel(target), nullptr);
  ASSERT_GT(qrts_describeFullModel(source, 1), 0);
  ASSERT_EQ(qrts_copyStoch(target, source), 0);
  QRTModel *described = qrtse_getCurrentModel(target), *original = qrtse_getCurrentModel(source);
  ASSERT_TRUE(described != nullptr && described != original);
  EXPECT_EQ(qrt_getInumrows(described), qrt_getInumrows(original));
  for (int j = 0; j < qrt_getInumcols(original); j++) EXPECT_EQ(qrt_objective(described)[j], qrt_objective(original)[j]);
  EXPECT_EQ(qrts_getNumNodes(target), qrts_getNumNodes(source));
  EXPECT_STREQ(named->name, "n");
  const std::string file = target->sdata->file->name;
  EXPECT_EQ(qrts_deleteStoch(source), 0);
  PlainModel first = core, again = core;
  addNode(target, 3, &first);
  addNode(named, 3, &again);
  expectSame(first, again, "copies live without their source");
  EXPECT_EQ(qrts_deleteStoch(target), 0);
  EXPECT_NE(access(file.c_str(), F_OK), 0) << "the file of a copy goes with it";
  EXPECT_EQ(qrts_copyStoch(target, named), 2) << "a deleted target";
  EXPECT_EQ(qrts_deleteStoch(named), 0);
}

TEST(Sorting, MatrixSplitAndSearchAgainstPlainTables) {
  std::mt19937 random(17);
  for (int trial = 0; trial < 200; trial++) {
    const int m = int(random() % 8) + 1, n = int(random() % 8) + 1, count = int(random() % 60);
    std::vector<int> rows, cols, rowCounts(size_t(m), 0), colCounts(size_t(n), 0), starts(size_t(n) + 1, 0);
    std::vector<double> values;
    std::map<std::pair<int, int>, double> plain;
    for (int e = 0; e < count; e++) {
      rows.push_back(int(random() % std::mt19937::result_type(m)) + 1);
      cols.push_back(int(random() % std::mt19937::result_type(n)) + 1);
      values.push_back(double(random() % 5) - 2.0);
      plain[{cols.back(), rows.back()}] += values.back();
    }
    const int kept = qrts_SortMatrix(rows.data(), cols.data(), values.data(), rowCounts.data(), starts.data(), colCounts.data(), m, n, count, 1e-16);
    int e = 0;
    for (const auto &entry : plain) {
      if (entry.second == 0.0) continue;
      ASSERT_LT(e, kept);
      EXPECT_TRUE(cols[size_t(e)] == entry.first.first && rows[size_t(e)] == entry.first.second && values[size_t(e)] == entry.second);
      EXPECT_TRUE(starts[size_t(cols[size_t(e)] - 1)] <= e + 1 && e + 1 < starts[size_t(cols[size_t(e)])]);
      e++;
    }
    EXPECT_EQ(e, kept);
    EXPECT_EQ(starts[size_t(n)], kept + 1);
  }
  const int rising[] = {1, 4, 6, 9, 12};
  for (int n = 0; n <= 5; n++)
    for (int key = 0; key < 14; key++) {
      int found = -1;
      for (int k = 0; k < n; k++)
        if (rising[k] == key) found = k;
      EXPECT_EQ(BinSearchLong(n, rising, key), found);
    }
}
