// Published programs of three and more stages by nested decomposition, cut in all three ways, without and with the final
// solve of the whole.
#include <gtest/gtest.h>

#include <cmath>
#include <string>
#include <tuple>
#include <vector>

#include "include/qrts_c_api.h"
#include "support/published_lp.h"

namespace {

struct Published {
  const char *name;
  int rows;
  double optimum;
};
const Published PUBLISHED[] = {
    {"fxm3_6", 6200, 18615.42901},      {"lands3s_blocks", 44, 504.7373333}, {"lands3s_dep", 86, 722.5836667},
    {"lands3s_indep", 128, 719.2066667}, {"pltexpA3_6", 4430, -13.96936764},  {"pltexpA4_6", 26894, -19.59941738},
    {"sgpf5y3", 1952, -3027.6035},       {"sgpf5y4", 9827, -4031.303083},     {"watc_16", 4573, -2400.07944},
    {"wati_32", 8413, -1866.848444},
};

class PublishedNested : public testing::TestWithParam<std::tuple<Published, int>> {};

TEST_P(PublishedNested, MeetsTheKnownOptimum) {
  if (publishedFolder("smps").empty()) GTEST_SKIP() << "no published models here";
  const Published known = std::get<0>(GetParam());
  const int strategy = std::get<1>(GetParam());
  const std::string base = publishedFolder("smps") + "/smps/" + known.name;
  QRTContext *context = qrts_initializeContext();
  qrt_messagesPrintOff(qrt_baseModel(context), 1, 6999);
  QRTStoch *stoch = qrts_newStoch(context, known.name, 10000);
  qrts_setLenientOn(stoch);
  ASSERT_GT(qrts_readSMPSData(stoch, (base + ".cor").c_str(), (base + ".tim").c_str(), (base + ".sto").c_str()), 0);
  qrts_setMaxiter(stoch, 2000);
  qrts_setMinNumRows(stoch, known.rows / 8);
  qrts_setFinalSimplexSolverOff(stoch);
  EXPECT_EQ(qrtse_nestedLSolve(stoch, strategy, 0), 0);
  EXPECT_EQ(qrts_getStatus(stoch), 0);
  EXPECT_NEAR(qrts_getRobjvalue(stoch), known.optimum, 1e-5 * std::fabs(known.optimum));
  // The point gathered is one: its scenarios cost what the run says.
  const size_t n = size_t(qrts_getNumScenarios(stoch));
  std::vector<int> ids(n);
  std::vector<double> probabilities(n), values(n);
  double mean = 0, deviation;
  qrts_getScenarioDistribution(stoch, int(n), ids.data(), probabilities.data(), values.data(), &mean, &deviation);
  EXPECT_NEAR(mean, known.optimum, 1e-5 * std::fabs(known.optimum));
  qrts_setFinalSimplexSolverOn(stoch);
  EXPECT_EQ(qrtse_nestedLSolve(stoch, strategy, 0), 0);
  EXPECT_EQ(qrts_getStatus(stoch), 0);
  EXPECT_NEAR(qrts_getRobjvalue(stoch), known.optimum, 2e-6 * std::fabs(known.optimum));
  const int warm = qrt_getIiternum(qrtse_getCurrentModel(stoch));
  if (strategy == 1) {
    qrts_describeFullModel(stoch, 1);
    qrts_eitherSimplex(stoch);
    EXPECT_LE(10 * warm, qrt_getIiternum(qrtse_getCurrentModel(stoch)));
  }
  qrts_endContext(context);
}
std::string nameOf(const testing::TestParamInfo<std::tuple<Published, int>> &tested) {
  return std::string(std::get<0>(tested.param).name) + "_" + std::to_string(std::get<1>(tested.param));
}
INSTANTIATE_TEST_SUITE_P(All, PublishedNested, testing::Combine(testing::ValuesIn(PUBLISHED), testing::Values(1, 2, 3)), nameOf);

}  // namespace
