// Published two-stage programs by the L-shaped method, without and with the final solve of the whole.
#include <gtest/gtest.h>

#include <cmath>
#include <string>

#include "include/qrts_c_api.h"
#include "support/published_lp.h"

namespace {

struct Published {
  const char *name;
  double optimum;
};
const Published PUBLISHED[] = {
    {"4node_16", 423.0125},       {"4node_64", 423.0125},        {"4node_256", 425.375},       {"airl_first", 249101.6721},
    {"assets_small", -723.8386129}, {"bl42", 30.94},             {"chem", -13009.16667},       {"dakota", -24000},
    {"dcap233_200", 877.6522959}, {"env_15", 22265.25491},       {"env_aggr", 20478.69899},    {"fxm2_16", 18416.75903},
    {"fxm2_6", 18416.75903},      {"lands", 381.8533333},        {"lands2", 227.60375},        {"pgp2", 447.3243455},
    {"pltexpA2_16", -9.662338905}, {"pltexpA2_6", -9.479354405}, {"rand0_2000", 162.1460246},  {"semi_2_2", 997.4258998},
    {"sizes_3", 220102.8428},     {"sslp_5_25_50", -160.0633597}, {"stocfor2", -39772.44771},  {"stormG2_8", 15535235.73},
    {"stormG2_27", 15508982.31},  {"stormG2_125", 15512091.18},
};

class PublishedBenders : public testing::TestWithParam<Published> {};

TEST_P(PublishedBenders, MeetsTheKnownOptimum) {
  if (publishedFolder("smps").empty()) GTEST_SKIP() << "no published models here";
  const Published &known = GetParam();
  const std::string base = publishedFolder("smps") + "/smps/" + known.name;
  QRTContext *context = qrts_initializeContext();
  qrt_messagesPrintOff(qrt_baseModel(context), 1, 6999);
  QRTStoch *stoch = qrts_newStoch(context, known.name, 10000);
  qrts_setLenientOn(stoch);
  ASSERT_GT(qrts_readSMPSData(stoch, (base + ".cor").c_str(), (base + ".tim").c_str(), (base + ".sto").c_str()), 0);
  qrts_setMaxiter(stoch, 2000);
  qrts_setFinalSimplexSolverOff(stoch);
  EXPECT_EQ(qrts_bendersLSolve(stoch, 0), 0);
  EXPECT_EQ(qrts_getStatus(stoch), 0);
  EXPECT_NEAR(qrts_getRobjvalue(stoch), known.optimum, 1e-5 * std::fmax(1, std::fabs(known.optimum)));
  qrts_setFinalSimplexSolverOn(stoch);
  EXPECT_EQ(qrts_bendersLSolve(stoch, 1), 0);
  EXPECT_EQ(qrts_getStatus(stoch), 0);
  EXPECT_NEAR(qrts_getRobjvalue(stoch), known.optimum, 2e-6 * std::fmax(1, std::fabs(known.optimum)));
  qrts_endContext(context);
}
std::string nameOf(const testing::TestParamInfo<Published> &tested) { return tested.param.name; }
INSTANTIATE_TEST_SUITE_P(All, PublishedBenders, testing::ValuesIn(PUBLISHED), nameOf);

}  // namespace
