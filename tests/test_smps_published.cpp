// Published triples, read in the lenient manner: sizes of the tree as independently known. By the letter each either
// reads or is refused by a message, and never crashes. Files that nobody can read are refused.
#include <gtest/gtest.h>

#include <fstream>
#include <sstream>

#include "support/published_lp.h"
#include "support/smps_triple.h"

namespace {

struct Published {
  const char *name;
  int type, stages, scenarios, nodes;
};
const Published PUBLISHED[] = {
    {"4node_16", 2, 2, 16, 17},         {"4node_256", 2, 2, 256, 257},       {"4node_64", 2, 2, 64, 65},
    {"airl_first", 3, 2, 25, 26},       {"assets_small", 3, 2, 100, 101},    {"bl42", 1, 2, 4, 5},
    {"chem", 3, 2, 2, 3},               {"dakota", 1, 2, 3, 4},              {"dcap233_200", 1, 2, 200, 201},
    {"env_15", 3, 2, 15, 16},           {"env_aggr", 2, 2, 5, 6},            {"fxm2_16", 2, 2, 16, 17},
    {"fxm2_6", 2, 2, 6, 7},             {"fxm3_6", 2, 3, 36, 43},            {"lands", 2, 2, 3, 4},
    {"lands2", 2, 2, 64, 65},           {"lands3s_blocks", 3, 3, 3, 7},      {"lands3s_dep", 1, 3, 9, 13},
    {"lands3s_indep", 2, 3, 9, 19},     {"pgp2", 2, 2, 576, 577},            {"phone_1", 2, 2, 1, 2},
    {"pltexpA2_16", 3, 2, 16, 17},      {"pltexpA2_6", 3, 2, 6, 7},          {"pltexpA3_6", 3, 3, 36, 43},
    {"pltexpA4_6", 3, 4, 216, 259},     {"rand0_2000", 3, 2, 2000, 2001},    {"semi_2_2", 1, 2, 2, 3},
    {"sgpf5y3", 1, 3, 25, 31},          {"sgpf5y4", 1, 4, 125, 156},         {"sizes_3", 1, 2, 3, 4},
    {"sslp_5_25_50", 1, 2, 50, 51},     {"stocfor2", 3, 2, 64, 65},          {"stormG2_125", 3, 2, 125, 126},
    {"stormG2_27", 3, 2, 27, 28},       {"stormG2_8", 3, 2, 8, 9},           {"watc_16", 1, 10, 16, 111},
    {"wati_32", 1, 10, 32, 191},
};

class PublishedTriple : public testing::TestWithParam<Published> {};

TEST_P(PublishedTriple, HasTheKnownTree) {
  if (publishedFolder("smps").empty()) GTEST_SKIP() << "no published models here";
  const Published &known = GetParam();
  const std::string base = publishedFolder("smps") + "/smps/" + known.name;
  Triple triple;
  triple.core = contents(base + ".cor");
  triple.time = contents(base + ".tim");
  triple.stoch = contents(base + ".sto");
  triple.lenient = true;
  ASSERT_EQ(triple.read(10000), known.type) << triple.log;
  EXPECT_EQ(qrts_getNumStages(triple.object()), known.stages);
  EXPECT_EQ(triple.object()->sdata->scenarios->count, known.scenarios);
  EXPECT_EQ(qrts_getNumNodes(triple.object()), known.nodes);
  EXPECT_EQ(qrts_store_check(triple.object()->sdata), nullptr);
  EXPECT_EQ(triple.told(3401), 0);  // no scenario taken for another
  // By the letter: read as the same tree, or refused.
  triple.lenient = false;
  const int strict = triple.read(10000);
  if (strict > 0) {
    EXPECT_EQ(triple.object()->sdata->scenarios->count, known.scenarios);
  } else {
    EXPECT_NE(triple.log.find("S "), std::string::npos) << "refused without a message";
  }
}
std::string nameOf(const testing::TestParamInfo<Published> &tested) { return tested.param.name; }
INSTANTIATE_TEST_SUITE_P(All, PublishedTriple, testing::ValuesIn(PUBLISHED), nameOf);

// Written as additions and read by the letter, this program has elements of 1e-9 beside real ones, the rounding of single
// precision. A wrong answer it would catch: "infeasible", by a proof that holds only within the solver's scaling.
TEST(WrittenAsAdditions, KeepsItsOptimumDespiteSinglePrecision) {
  if (publishedFolder("smps").empty()) GTEST_SKIP() << "no published models here";
  const std::string base = publishedFolder("smps") + "/smps/stocfor2";
  Triple triple;
  triple.core = contents(base + ".cor");
  triple.time = contents(base + ".tim");
  triple.stoch = contents(base + ".sto");
  triple.lenient = true;
  ASSERT_GT(triple.read(100), 0) << triple.log;
  Triple again;
  ASSERT_EQ(again.takeWritten(triple, triple.object(), 2), 0);
  ASSERT_GT(again.readInto(triple, 100), 0) << again.log;
  ASSERT_EQ(qrts_eitherSimplex(again.object()), 0);
  EXPECT_EQ(qrts_getStatus(again.object()), 0);
  EXPECT_NEAR(qrts_getRobjvalue(again.object()), -39772.44771, 0.01);
}

TEST(Strays, AreRefusedByMessage) {
  if (publishedFolder("smps").empty()) GTEST_SKIP() << "no published models here";
  struct {
    const char *core, *time, *stoch;
    int byTheLetter, leniently;  // messages; a core as small as hv21 has no room for period names by the letter
  } const cases[] = {
      {"dakota-cc.cor", "dakota-cc.tim", "dakota-cc.sto", 7438, 7438},
      {"hv21.cor", "hv21.tim", "hv21-cc.sto", 7435, 7436},
      {"hv21.cor", "hv21.tim", "hv21-icc.sto", 7435, 7436},
      {"../smps/sgpf5y3.cor", "../smps/sgpf5y3.tim", "no_stoch_card.sto", 7440, 7440},
  };
  for (const auto &c : cases)
    for (const bool lenient : {false, true}) {
      Triple triple;
      const std::string folder = publishedFolder("smps") + "/strays/";
      triple.core = contents(folder + c.core);
      triple.time = contents(folder + c.time);
      triple.stoch = contents(folder + c.stoch);
      triple.lenient = lenient;
      EXPECT_EQ(triple.read(100), -1) << c.stoch;
      EXPECT_EQ(triple.told(lenient ? c.leniently : c.byTheLetter), 1) << c.stoch << "\n" << triple.log;
    }
}

}  // namespace
