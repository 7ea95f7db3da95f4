// Published models against their known optima, each answer judged by the certificate: the fault caught is any wrong
// answer of the whole chain from a file to a solution. The names, sizes and optima are read from the tables of the
// data folder's README.md at run time; without that folder there is nothing to do and the test says so.
#include <gtest/gtest.h>
#include <unistd.h>

#include <cmath>
#include <cstdlib>
#include <string>
#include <vector>

#include "certificate_model.h"
#include "qrts_c_api.h"
#include "support/published_lp.h"

namespace {

#ifdef QRT_SELF_CHECKS
constexpr int largestRows = 1000;  // self-checks at every seam: the larger models are for the release build
#else
constexpr int largestRows = 20000;
#endif

std::vector<PublishedLp> linearPrograms() {
  std::vector<PublishedLp> all = publishedLps(), models;
  for (const PublishedLp &p : all)
    if (p.rows <= largestRows) models.push_back(p);
  return models;
}

struct PublishedTriple {
  std::string name;
  bool inherits = false;
  double optimum = 0, inheritedOptimum = 0;
};

// Rows "| name | ... | rows of the equivalent | ... | optimum | optimum with inherited data |".
std::vector<PublishedTriple> stochasticPrograms() {
  std::vector<PublishedTriple> models;
  for (const auto &cells : publishedTable("smps", "smps/", 10)) {
    PublishedTriple p;
    p.name = cells[0];
    p.optimum = std::atof(cells[8].c_str());
    p.inherits = !cells[9].empty();
    p.inheritedOptimum = std::atof(cells[9].c_str());
    if (std::atoi(cells[5].c_str()) <= largestRows) models.push_back(p);
  }
  return models;
}

// One context a process; severe messages come back as return values, and the log is out of the way.
QRTContext *context() {
  static QRTContext *const one = [] {
    QRTContext *made = qrts_initializeContext();
    QRTModel *base = qrt_baseModel(made);
    qrt_mset(base, 7000, 256, 0, 0, 7999, 0);
    if (!freopen("/dev/null", "w", stderr)) std::abort();
    return made;
  }();
  return one;
}

// The library logs on stdout, where GoogleTest reports: messages of these models go nowhere.
void silence(QRTModel *model) {
  qrt_mset(model, 7000, 256, 0, 0, 7999, 0);
  qrt_setLogfileName(model, "/dev/null");
}

double relative(double value, double reference) { return std::fabs(value - reference) / std::max(1.0, std::fabs(reference)); }

}  // namespace

class LinearProgram : public testing::TestWithParam<PublishedLp> {
protected:
  QRTModel *import() {
    QRTModel *model = GetParam().read(context());
    silence(model);
    EXPECT_EQ(GetParam().rows, qrt_getInumrows(model));
    return model;
  }
  void judge(QRTModel *model, int mode) {
    const PublishedLp &p = GetParam();
    EXPECT_EQ(p.infeasible ? 1 : 0, qrt_getIprobstat(model)) << "mode " << mode;
    if (!p.infeasible) {
      EXPECT_LT(relative(qrt_getRobjvalue(model), p.optimum), 1e-6) << "mode " << mode << ": " << qrt_getRobjvalue(model) << " is not " << p.optimum;
    }
    EXPECT_EQ("", firstFault(certifyModel(model))) << "mode " << mode;
  }
};

TEST_P(LinearProgram, IsSolvedFromEveryStart) {
  QRTModel *model = nullptr;
  std::vector<double> values;
  for (int mode : {1, 2}) {
    model = import();
    EXPECT_EQ(0, qrt_primalSimplex(model, mode));
    judge(model, mode);
    const double *x = qrt_colsol(model);
    values.assign(x, x + qrt_getInumcols(model));
    qrt_deleteModel(model);
  }
  // Mode 3 starts from given values: here the solution, blurred, so that it is neither basic nor quite feasible.
  model = import();
  double *start = qrt_getColsol(model);
  for (size_t j = 0; j < values.size(); ++j) start[j] = std::round(values[j] * 1000) / 1000;
  qrt_setColsol(model, start);
  qrt_free(start);
  EXPECT_EQ(0, qrt_primalSimplex(model, 3));
  judge(model, 3);
  qrt_deleteModel(model);
}

class StochasticProgram : public testing::TestWithParam<PublishedTriple> {};

namespace {

void solveTriple(const std::string &name, bool inherit, double optimum) {
  context();
  QRTStoch *stoch = qrts_newStoch(context(), "", 100000);
  ASSERT_NE(nullptr, stoch);
  silence(qrtse_getBaseModel(stoch));
  qrts_setLenientOn(stoch);
  if (inherit) qrts_setInheritOn(stoch);
  const std::string stem = publishedFolder("smps") + "/smps/" + name;
  ASSERT_GT(qrts_readSMPSData(stoch, (stem + ".cor").c_str(), (stem + ".tim").c_str(), (stem + ".sto").c_str()), 0);
  ASSERT_GT(qrts_describeFullModel(stoch, 1), 0);
  QRTModel *model = qrtse_getCurrentModel(stoch);
  silence(model);
  ASSERT_EQ(0, qrts_eitherSimplex(stoch));
  ASSERT_EQ(0, qrts_getStatus(stoch));
  EXPECT_LT(relative(qrts_getRobjvalue(stoch), optimum), 2e-6) << qrts_getRobjvalue(stoch) << " is not " << optimum;
  EXPECT_EQ("", firstFault(certifyModel(model)));

  // The getters give, under the model's own numbers, the model's own values; only tiny ones are cut to zero.
  const int stages = qrts_getNumStages(stoch), scenarios = qrts_getNumScenarios(stoch);
  for (int rows : {0, 1}) {
    const double *value = rows ? qrt_rowacts(model) : qrt_colsol(model), *dual = rows ? qrt_rowduals(model) : qrt_colrcosts(model);
    const int total = rows ? qrts_getCoreNumrows(stoch) : qrts_getCoreNumcols(stoch);
    std::vector<double> got(size_t(total) + 1), gotDual(size_t(total) + 1);
    std::vector<int> index(size_t(total) + 1);
    for (int scenario : {1, scenarios}) {
      ASSERT_EQ(0, qrts_getScenarioSolution(stoch, scenario, rows, got.data(), index.data()));
      for (int k = 0; k < total; ++k) {
        const size_t at = size_t(k);
        ASSERT_NEAR(value[index[at]], got[at], 1e-8) << "scenario " << scenario << " entry " << k << (rows ? " of rows" : " of columns");
      }
      int offset = 0;
      for (int stage = 1; stage <= stages; ++stage) {
        const int count = rows ? qrts_getNumrowsAtStage(stoch, stage) : qrts_getNumcolsAtStage(stoch, stage);
        std::vector<double> node(size_t(count) + 1);
        std::vector<int> nodeIndex(size_t(count) + 1);
        ASSERT_EQ(0, qrts_getNodeDualSolution(stoch, scenario, stage, rows, node.data(), nodeIndex.data()));
        for (int k = 0; k < count; ++k) {
          ASSERT_EQ(index[size_t(offset + k)], nodeIndex[size_t(k)]);
          ASSERT_NEAR(dual[nodeIndex[size_t(k)]], node[size_t(k)], 1e-8);
        }
        offset += count;
      }
      ASSERT_EQ(total, offset);
    }
  }
  std::vector<int> ids(size_t(scenarios) + 1);
  std::vector<double> probability(size_t(scenarios) + 1), values(size_t(scenarios) + 1);
  double mean = 0, deviation = 0, sum = 0;
  qrts_getScenarioDistribution(stoch, scenarios, ids.data(), probability.data(), values.data(), &mean, &deviation);
  for (int k = 0; k < scenarios; ++k) sum += probability[size_t(k)];
  EXPECT_NEAR(1.0, sum, 1e-9);
  EXPECT_LT(relative(mean, qrts_getRobjvalue(stoch)), 1e-6);
  qrts_deleteStoch(stoch);
}

}  // namespace

TEST_P(StochasticProgram, ReachesItsOptimum) {
  const PublishedTriple &p = GetParam();
  solveTriple(p.name, false, p.optimum);
  if (p.inherits) solveTriple(p.name, true, p.inheritedOptimum);
}

static std::string identifier(std::string name) {
  for (char &c : name)
    if (!std::isalnum(static_cast<unsigned char>(c))) c = '_';
  return name;
}
const auto nameOf = [](const auto &info) { return identifier(info.param.name); };
INSTANTIATE_TEST_SUITE_P(Published, LinearProgram, testing::ValuesIn(linearPrograms()), nameOf);
INSTANTIATE_TEST_SUITE_P(Published, StochasticProgram, testing::ValuesIn(stochasticPrograms()), nameOf);
GTEST_ALLOW_UNINSTANTIATED_PARAMETERIZED_TEST(LinearProgram);
GTEST_ALLOW_UNINSTANTIATED_PARAMETERIZED_TEST(StochasticProgram);

TEST(Published, DataFolder) {
  if (linearPrograms().empty()) GTEST_SKIP() << "no published models: set TAVSTOCH_DATA_DIR";
  EXPECT_GT(stochasticPrograms().size(), 10u);
}
