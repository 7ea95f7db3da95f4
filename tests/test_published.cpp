// Published models against their known optima, each answer judged by the certificate: the fault caught is any wrong
// answer of the whole chain from a file to a solution. The names, sizes and optima are read from the tables of the
// data folder's README.md at run time; without that folder there is nothing to do and the test says so.
#include <gtest/gtest.h>
#include <unistd.h>

#include <cmath>
#include <cstdlib>
#include <fstream>
#include <sstream>
#include <string>
#include <vector>

#include "certificate_model.h"
#include "qrts_c_api.h"

namespace {

#ifdef QRT_SELF_CHECKS
constexpr int largestRows = 1000;  // self-checks at every seam: the larger models are for the release build
#else
constexpr int largestRows = 20000;
#endif

struct Published {
  std::string name;
  int rows = 0;
  bool infeasible = false, inherits = false;
  double optimum = 0, inheritedOptimum = 0;
};
std::ostream &operator<<(std::ostream &out, const Published &p) { return out << p.name; }

std::vector<std::vector<std::string>> tableOf(const std::string &heading, size_t leastCells) {
  std::vector<std::vector<std::string>> rows;
  std::ifstream file(std::string(TAVSTOCH_DATA_DIR) + "/README.md");
  std::string line;
  bool inside = false;
  while (std::getline(file, line)) {
    if (line.rfind("## ", 0) == 0) inside = line.find(heading) != std::string::npos;
    if (!inside || line.rfind("| ", 0) != 0 || line.rfind("| name", 0) == 0) continue;
    std::vector<std::string> cells;
    std::stringstream stream(line.substr(1));
    std::string cell;
    while (std::getline(stream, cell, '|')) {
      const size_t begin = cell.find_first_not_of(' '), end = cell.find_last_not_of(' ');
      cells.push_back(begin == std::string::npos ? "" : cell.substr(begin, end - begin + 1));
    }
    if (cells.size() >= leastCells) rows.push_back(cells);
  }
  return rows;
}

std::vector<Published> linearPrograms() {
  std::vector<Published> models;
  for (const auto &cells : tableOf("lp/", 6)) {
    Published p;
    p.name = cells[0];
    p.rows = std::atoi(cells[1].c_str());
    p.infeasible = cells[4] == "INFEASIBLE";
    p.optimum = std::atof(cells[5].c_str());
    if (p.rows <= largestRows) models.push_back(p);
  }
  return models;
}

std::vector<Published> stochasticPrograms() {
  std::vector<Published> models;
  for (const auto &cells : tableOf("smps/", 10)) {
    Published p;
    p.name = cells[0];
    p.rows = std::atoi(cells[5].c_str());
    p.optimum = std::atof(cells[8].c_str());
    p.inherits = !cells[9].empty();
    p.inheritedOptimum = std::atof(cells[9].c_str());
    if (p.rows <= largestRows) models.push_back(p);
  }
  return models;
}

std::string dataFile(const std::string &name) { return std::string(TAVSTOCH_DATA_DIR) + "/" + name; }

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

class LinearProgram : public testing::TestWithParam<Published> {
protected:
  QRTModel *import() {
    QRTModel *model = qrt_newModel(context(), "");
    silence(model);
    EXPECT_EQ(0, qrt_importModel(model, dataFile("lp/" + GetParam().name + ".mps").c_str()));
    EXPECT_EQ(GetParam().rows, qrt_getInumrows(model));
    return model;
  }
  void judge(QRTModel *model, int mode) {
    const Published &p = GetParam();
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

class StochasticProgram : public testing::TestWithParam<Published> {};

namespace {

void solveTriple(const std::string &name, bool inherit, double optimum) {
  context();
  QRTStoch *stoch = qrts_newStoch(context(), "", 100000);
  ASSERT_NE(nullptr, stoch);
  silence(qrtse_getBaseModel(stoch));
  qrts_setLenientOn(stoch);
  if (inherit) qrts_setInheritOn(stoch);
  const std::string stem = dataFile("smps/" + name);
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
  const Published &p = GetParam();
  solveTriple(p.name, false, p.optimum);
  if (p.inherits) solveTriple(p.name, true, p.inheritedOptimum);
}

static std::string nameOf(const testing::TestParamInfo<Published> &info) {
  std::string name = info.param.name;
  for (char &c : name)
    if (!std::isalnum(static_cast<unsigned char>(c))) c = '_';
  return name;
}
INSTANTIATE_TEST_SUITE_P(Published, LinearProgram, testing::ValuesIn(linearPrograms()), nameOf);
INSTANTIATE_TEST_SUITE_P(Published, StochasticProgram, testing::ValuesIn(stochasticPrograms()), nameOf);
GTEST_ALLOW_UNINSTANTIATED_PARAMETERIZED_TEST(LinearProgram);
GTEST_ALLOW_UNINSTANTIATED_PARAMETERIZED_TEST(StochasticProgram);

TEST(Published, DataFolder) {
  if (linearPrograms().empty()) GTEST_SKIP() << "no published models: set TAVSTOCH_DATA_DIR";
  EXPECT_GT(stochasticPrograms().size(), 10u);
}
