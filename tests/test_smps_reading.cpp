// The readers of time and stoch files: what each card means in the store, what is refused and by which message, and
// the order in which independent variables become scenarios.
#include <gtest/gtest.h>

#include <cmath>
#include <cstdlib>
#include <cstring>
#include <map>
#include <random>

#include "stoch/scn_fields.h"
#include "stoch/scn_hash.h"
#include "stoch/scn_smps.h"
#include "support/smps_triple.h"

namespace {

// Rows and columns of the three-stage core.
enum { C1 = 1, C2, C3, E3, ROWS = 4 };
enum { X = 1, U, V, COLS = 3 };
constexpr int LOWER = COLS + EXT_ROW_LOWER, UPPER = COLS + EXT_ROW_UPPER, COST = ROWS + EXT_OBJECTIVE;

std::string number(double v) {
  char text[32];
  snprintf(text, sizeof text, "%g", v);
  return text;
}

// ---- fields and numbers

TEST(Fields, EndAtBlankDollarLengthAndLineEnd) {
  struct {
    const char *line;
    int start, maximum, wantStart, wantEnd;
  } const cases[] = {{"    ABC  D", 4, 8, 4, 6},   {"    ABC  D", 7, 8, 9, 9},  {"    ABC$  ", 4, 8, 4, 6},
                     {"    $BC", 4, 8, 4, 3},      {"    ", 4, 8, 4, 3},        {"AB", 9, 8, 9, 8},
                     {"ABCDEFGHIJ", 0, 8, 0, 7}};
  for (const auto &c : cases) {
    int start = c.start, end = -7;
    const Field field = qrtfform(c.line, int(strlen(c.line)), &start, &end, c.maximum);
    EXPECT_EQ(start, c.wantStart) << c.line;
    EXPECT_EQ(end, c.wantEnd) << c.line;
    EXPECT_EQ(field.length, c.wantEnd - c.wantStart + 1) << c.line;
  }
}

TEST(Numbers, AreThoseOfTheStandardLibraryOnTwelveCharacters) {
  std::mt19937_64 random(11);
  const char *const alphabets[] = {"0123456789", "0123456789.-", "0123456789.eE+-", "01.eE+-xXdD pnainf"};
  int finite = 0;
  for (int k = 0; k < 400000; ++k) {
    char text[24] = "";
    const int length = int(random() % 13);
    if (k % 3 == 0) {
      // A decimal near the middle between two floats, cut at twelve characters.
      uint32_t bits = uint32_t(random()) & 0x7fffffffu;
      float f;
      memcpy(&f, &bits, 4);
      char wide[64] = "";
      snprintf(wide, sizeof wide, "%.*g", int(random() % 11) + 1,
               (double(f) + double(std::nextafterf(f, 1e38f))) / 2 * (k % 2 ? 1 : 1e-3));
      memcpy(text, wide, 12);  // a shorter text brings its own end
    } else {
      const char *alphabet = alphabets[k % 4];
      for (int i = 0; i < length; ++i) text[i] = alphabet[random() % strlen(alphabet)];
      text[length] = 0;
    }
    if (strchr(text, ' ')) continue;
    char *end;
    const float single = strtof(text, &end);
    const bool good = end != text && std::isfinite(single);
    float ours = -1;
    ASSERT_EQ(scanFloat(text, int(strlen(text)), &ours), good) << text;
    if (good) {
      ASSERT_EQ(memcmp(&ours, &single, sizeof ours), 0) << text << ": " << ours << " is not " << single;
    }
    finite += good;
    if (strpbrk(text, "dD")) continue;
    const double twice = strtod(text, &end);
    double wide = -1;
    ASSERT_EQ(scanDouble(text, int(strlen(text)), &wide), end != text && std::isfinite(twice)) << text;
    if (std::isfinite(twice) && end != text) {
      ASSERT_EQ(memcmp(&wide, &twice, sizeof wide), 0) << text;
    }
  }
  EXPECT_GT(finite, 200000);
  double value;
  EXPECT_TRUE(scanDouble("1.5D+2", 6, &value));
  EXPECT_EQ(value, 150.0);
}

TEST(Hash, FindsEveryNameAndNoOther) {
  std::mt19937 random(3);
  for (int numchar : {8, 31}) {
    char *names = nullptr;
    int *table = nullptr;
    int32_t size = 0;
    GrowingNames list = {&names, &table, &size, numchar, 0, 0};
    std::map<std::string, int> plain;
    for (int k = 0; k < 3000; ++k) {
      const std::string name = "N" + std::to_string(random() % 2500);
      const auto known = plain.find(name);
      const int got = growingNames_add(&list, Field{name.data(), int(name.size())});
      ASSERT_EQ(got, known == plain.end() ? int(plain.size()) + 1 : -known->second);
      if (known == plain.end()) plain[name] = got;
    }
    for (int k = 0; k < 2600; ++k) {
      const std::string name = "N" + std::to_string(k);
      ASSERT_EQ(growingNames_find(&list, Field{name.data(), int(name.size())}), plain.count(name) ? plain[name] : 0);
    }
    free(names);
    free(table);
  }
  int start = -1, end = 5, size = 0;
  qrthash8(&start, &end, nullptr, &size, 8, nullptr, nullptr);
  EXPECT_TRUE(start == 0 && end == 0);
}

// ---- the time file

TEST(TimeFile, GivesStagesAndRefusesByMessage) {
  struct {
    const char *what, *text;
    int result, message;
  } const cases[] = {
      {"as it should be", THREE_STAGE_TIME, 1, 0},
      {"no end", "TIME          TRI\nPERIODS\n    X         C1                       S1\n", 1, 3410},
      {"TIME card", "TYME          TRIAL\nPERIODS\n", -1, 7440},
      {"PERIODS card", "TIME          TRIAL\nPERODS\n", -1, 7440},
      {"end of file", "* nothing\n", -1, 7439},
      {"other problem", "TIME          TRIALS\nPERIODS\n", -1, 7448},
      {"no column", "TIME          TRIAL\nPERIODS\n    Q         C1                       S1\nENDATA\n", -1, 3418},
      {"no row", "TIME          TRIAL\nPERIODS\n    X         QQ                       S1\nENDATA\n", -1, 3419},
      {"column order",
       "TIME          TRIAL\nPERIODS\n    X         C1                       S1\n    V         C2                       S2\n"
       "    U         C3                       S3\nENDATA\n",
       -1, 3412},
      {"row order",
       "TIME          TRIAL\nPERIODS\n    X         C1                       S1\n    U         C3                       S2\n"
       "    V         C2                       S3\nENDATA\n",
       -1, 3411},
      {"same period twice",
       "TIME          TRIAL\nPERIODS\n    X         C1                       S1\n    U         C2                       S1\nENDATA\n",
       -1, 7434},
      {"no period", "TIME          TRIAL\nPERIODS\nENDATA\n", -1, 7434},
      {"columns before the first period", "TIME          TRIAL\nPERIODS\n    U         C1                       S1\nENDATA\n", -1, 7404},
  };
  for (const auto &c : cases) {
    Triple triple;
    triple.time = c.text;
    triple.stoch = stochFile("SCENARIOS", "");
    EXPECT_EQ(triple.read(5), c.result) << c.what << "\n" << triple.log;
    if (c.message) {
      EXPECT_GE(triple.told(c.message), 1) << c.what << "\n" << triple.log;
    }
  }
}

TEST(TimeFile, OnePeriodOrEqualStarts) {
  Triple triple;
  triple.stoch = stochFile("SCENARIOS", scenarioCard("S1", "ROOT", 1.0, "B"));
  triple.time = "TIME          TRIAL\nPERIODS\n    X         C1                       A\n    X         C1                       B\nENDATA\n";
  EXPECT_EQ(triple.read(5), 1) << triple.log;
  EXPECT_EQ(qrts_getNumStages(triple.object()), 2);
  EXPECT_EQ(qrts_getNumcolsAtStage(triple.object(), 1), 0);
  EXPECT_EQ(qrts_getNumcolsAtStage(triple.object(), 2), 3);
}

// ---- scenarios

TEST(Scenarios, ValuesLandWhereTheirNamesSay) {
  for (const bool add : {false, true}) {
    Triple triple;
    const double base = add ? 0 : 1;  // absolute values, or differences from 3, 2, 1, 4, 1, 100 and -inf
    triple.stoch = stochFile("SCENARIOS",
                             scenarioCard("ONE", "ROOT", 0.25, "NOWHERE") + card("RHS", "C2", number(6 * base + 4 * (1 - base))) +
                                 card("U", "COST", number(7 * base + 4 * (1 - base))) + card("X", "C2", number(2 * base + 1 * (1 - base))) +
                                 "* a remark\n" + scenarioCard("TWO", "ONE", 0.5, "STAGE3") +
                                 card("RHS", "E3", number(3 * base + 2 * (1 - base))) + card("RHS", "C3", number(8 * base + 4 * (1 - base))) +
                                 boundCard("UP", "BND", "V", number(50 * base - 50 * (1 - base))) +
                                 boundCard("LO", "BND", "V", number(1)) + boundCard("PL", "BND", "V", "9"),
                             add ? "ADD" : "REPLACE");
    ASSERT_EQ(triple.read(5), 1) << triple.log;
    QRTStoch *s = triple.object();
    EXPECT_EQ(qrts_getNumScenarios(s), 2);
    EXPECT_EQ(qrts_getNumNodes(s), 4);
    EXPECT_EQ(s->sdata->scenarios->table[0].probability, 0.25);
    EXPECT_EQ(s->sdata->scenarios->table[1].ancestor, 1);
    EXPECT_EQ(s->sdata->scenarios->table[1].branchStage, 3);
    for (int scenario : {1, 2}) {
      EXPECT_EQ(storedValue(s, scenario, C2, LOWER), 6);
      EXPECT_EQ(storedValue(s, scenario, C2, UPPER), 1e31);
      EXPECT_EQ(storedValue(s, scenario, COST, U), 7);
      EXPECT_EQ(storedValue(s, scenario, C2, X), 2);
      EXPECT_EQ(storedValue(s, scenario, C3, X), 1);
      EXPECT_EQ(storedValue(s, scenario, C1, UPPER), 5);
    }
    // One value moves both sides of an equality; what a scenario does not list is the core's.
    EXPECT_EQ(storedValue(s, 1, E3, LOWER), 1);
    EXPECT_EQ(storedValue(s, 2, E3, LOWER), 3);
    EXPECT_EQ(storedValue(s, 2, E3, UPPER), 3);
    EXPECT_EQ(storedValue(s, 2, C3, LOWER), 8);
    EXPECT_EQ(storedValue(s, 2, ROWS + EXT_COL_UPPER, V), 50);
    EXPECT_EQ(storedValue(s, 2, ROWS + EXT_COL_LOWER, V), 1);
    EXPECT_EQ(storedValue(s, 1, ROWS + EXT_COL_UPPER, V), 100);
    EXPECT_EQ(qrts_store_check(s->sdata), nullptr);
  }
}

TEST(Scenarios, SinglePrecisionByTheLetterOnly) {
  Triple triple;
  triple.stoch = stochFile("SCENARIOS", scenarioCard("S1", "ROOT", 0.1, "STAGE2") + card("RHS", "C2", "0.1"));
  ASSERT_EQ(triple.read(5), 1);
  EXPECT_EQ(storedValue(triple.object(), 1, C2, LOWER), double(0.1f));
  EXPECT_EQ(triple.object()->sdata->scenarios->table[0].probability, double(0.1f));
  triple.lenient = true;
  ASSERT_EQ(triple.read(5), 1);
  EXPECT_EQ(storedValue(triple.object(), 1, C2, LOWER), 2 + (0.1 - 2));
  EXPECT_EQ(triple.object()->sdata->scenarios->table[0].probability, 0.1);
}

TEST(Scenarios, RefusalsAndWarnings) {
  const std::string one = scenarioCard("S1", "ROOT", 0.5, "STAGE2"), two = scenarioCard("S2", "S1", 0.5, "STAGE3");
  struct {
    const char *what;
    std::string body;
    int result, message, scenarios;
  } const cases[] = {
      {"unknown parent", one + scenarioCard("S2", "SX", 0.5, "STAGE3"), -1, 3416, 1},
      {"unknown period", one + scenarioCard("S2", "S1", 0.5, "STAGE9"), -1, 3417, 1},
      {"same scenario twice", one + scenarioCard("S1", "ROOT", 0.5, "STAGE2"), -1, 3413, 1},
      {"range", one + card("RNG", "C1", "1.0"), -1, 7442, 0},
      {"unknown column", one + card("Q", "C2", "1.0"), -1, 3418, 0},
      {"unknown row", one + card("X", "Q", "1.0"), -1, 3419, 0},
      {"right-hand side of the objective", one + card("RHS", "COST", "1.0"), -1, 3419, 0},
      {"bound of no column", one + boundCard("UP", "BND", "Q", "1.0"), -1, 3418, 0},
      {"no number", one + card("RHS", "C2", "abc"), -1, 7436, 0},
      {"not finite", one + card("RHS", "C2", "inf"), -1, 7436, 0},
      {"no probability", " SC S1        ROOT\n", -1, 7436, 0},
      {"negative probability", scenarioCard("S1", "ROOT", -0.5, "STAGE2"), -1, 7428, 0},
      {"branches before its ancestor", one + scenarioCard("S2", "S1", 0.5, "STAGE2"), 1, 3403, 2},
      {"infinite lower bound", one + boundCard("LO", "BND", "U", "1.0") + two, 1, 3420, 2},
      {"both bounds infinite", one + boundCard("FX", "BND", "U", "1.0") + two, 1, 3421, 2},
      {"data of an earlier stage", one + two + card("RHS", "C2", "3.0"), 1, 3404, 2},
      {"no scenario at all", "", 1, 0, 0},
  };
  for (const auto &c : cases) {
    Triple triple;
    triple.stoch = stochFile("SCENARIOS", c.body);
    EXPECT_EQ(triple.read(5), c.result) << c.what << "\n" << triple.log;
    if (c.message) {
      EXPECT_GE(triple.told(c.message), 1) << c.what << "\n" << triple.log;
    }
    if (c.result < 0) {
      EXPECT_GE(triple.told(7436) + triple.told(7442) + triple.told(7428), 1) << c.what << "\n" << triple.log;
    }
    EXPECT_EQ(triple.object()->sdata->scenarios->count, c.scenarios) << c.what;
  }
}

TEST(Scenarios, EndOfFileAndMaximum) {
  Triple triple;
  triple.stoch = "STOCH         TRIAL\nSCENARIOS     DISCRETE\n" + scenarioCard("S1", "ROOT", 1.0, "STAGE2");
  ASSERT_EQ(triple.read(5), 1);
  EXPECT_EQ(triple.told(3410), 1);
  EXPECT_EQ(triple.object()->sdata->scenarios->count, 1);
  // The reading stops at the maximum, whatever follows; an ignored bound then shows in the result.
  const std::string ignored = boundCard("LO", "BND", "U", "1.0");
  for (const bool ignoring : {false, true}) {
    triple.stoch = stochFile("SCENARIOS", scenarioCard("S1", "ROOT", 1.0, "STAGE2") + (ignoring ? ignored : "") +
                                              scenarioCard("S2", "NOBODY", 1.0, "STAGE2"));
    EXPECT_EQ(triple.read(1), ignoring ? -1 : 1);
    EXPECT_EQ(triple.object()->sdata->scenarios->count, 1);
    EXPECT_EQ(triple.told(3416), 0);
  }
  triple.stoch = stochFile("SCENARIOS", scenarioCard("S1", "ROOT", 1.0, "STAGE2"));
  EXPECT_EQ(triple.read(0), -1);
  EXPECT_EQ(triple.told(7426), 1);
}

TEST(Scenarios, TooManyElementsStopAtTheBuffersSize) {
  Triple triple;
  std::string body = scenarioCard("S1", "ROOT", 1.0, "STAGE2");
  for (int k = 0; k < 2000; ++k) body += card("RHS", "C2", number(k));
  triple.stoch = stochFile("SCENARIOS", body);
  EXPECT_EQ(triple.read(5), -1);
  EXPECT_EQ(triple.told(7441), 1);
}

TEST(Scenarios, InheritanceTakesOverWhatIsNotListed) {
  Triple triple;
  triple.stoch = stochFile("SCENARIOS", scenarioCard("S1", "ROOT", 0.5, "STAGE2") + card("RHS", "C2", "3.0") +
                                            card("RHS", "C3", "9.0") + card("V", "COST", "6.0") +
                                            scenarioCard("S2", "S1", 0.25, "STAGE3") + card("RHS", "C3", "7.0") +
                                            scenarioCard("S3", "S2", 0.25, "STAGE2"));
  for (const bool inherit : {false, true}) {
    triple.inherit = inherit;
    ASSERT_EQ(triple.read(5), 1);
    QRTStoch *s = triple.object();
    EXPECT_EQ(storedValue(s, 2, C2, LOWER), 3);  // a shared node
    EXPECT_EQ(storedValue(s, 2, C3, LOWER), 7);
    EXPECT_EQ(storedValue(s, 2, COST, V), inherit ? 6 : 5);
    EXPECT_EQ(storedValue(s, 3, C2, LOWER), inherit ? 3 : 2);
    EXPECT_EQ(storedValue(s, 3, C3, LOWER), inherit ? 7 : 4);
    EXPECT_EQ(storedValue(s, 3, COST, V), inherit ? 6 : 5);
    EXPECT_EQ(triple.told(3404), 0);
  }
}

// ---- random variables

TEST(Independent, CombinationsFollowTheReflectedOrder) {
  // Two variables of stage 2 and one of stage 3; a probability of zero must not spoil those behind it.
  const double v0[] = {2, 6}, v1[] = {3, 1, 2}, v2[] = {4, 8, 9}, p0[] = {0.5, 0.5}, p1[] = {0.5, 0.25, 0.25}, p2[] = {0.75, 0, 0.25};
  std::string body;
  for (int k = 0; k < 2; ++k) body += card("RHS", "C2", number(v0[k]), "STAGE2", number(p0[k]));
  for (int k = 0; k < 3; ++k) body += card("U", "COST", number(v1[k]), "STAGE2", number(p1[k]));
  for (int k = 0; k < 3; ++k) body += card("RHS", "C3", number(v2[k]), "STAGE3", number(p2[k]));
  Triple triple;
  triple.stoch = stochFile("INDEP", body);
  ASSERT_EQ(triple.read(50), 2) << triple.log;
  QRTStoch *s = triple.object();
  ASSERT_EQ(s->sdata->scenarios->count, 18);
  EXPECT_EQ(qrts_getNumNodes(s), 1 + 6 + 18);
  EXPECT_NE(triple.log.find("Model has 3 independent random variables and 18 events"), std::string::npos);
  const int counts[] = {2, 3, 3};
  int choice[] = {0, 0, 0}, direction[] = {1, 1, 1};
  std::map<std::pair<int, int>, int> stageTwo;  // first scenario of each outcome of stage 2
  for (int i = 0; i < 18; ++i) {
    for (int a = i, k = 0; i > 0; ++k) {
      if (a % counts[k] != 0) {
        choice[k] += direction[k];
        break;
      }
      direction[k] = -direction[k];
      a /= counts[k];
    }
    const ScenarioRecord &record = s->sdata->scenarios->table[i];
    const auto known = stageTwo.find({choice[0], choice[1]});
    EXPECT_EQ(record.ancestor, known == stageTwo.end() ? 0 : known->second);
    EXPECT_EQ(record.branchStage, known == stageTwo.end() ? 2 : 3);
    stageTwo.insert({{choice[0], choice[1]}, i + 1});
    EXPECT_NEAR(record.probability, p0[choice[0]] * p1[choice[1]] * p2[choice[2]], 1e-15);
    EXPECT_EQ(storedValue(s, i + 1, C2, LOWER), v0[choice[0]]);
    EXPECT_EQ(storedValue(s, i + 1, COST, U), v1[choice[1]]);
    EXPECT_EQ(storedValue(s, i + 1, C3, LOWER), v2[choice[2]]);
  }
  EXPECT_EQ(independent_check(s->sdata->independent, s->sdata->core), nullptr);
  EXPECT_EQ(qrts_store_check(s->sdata), nullptr);
}

TEST(Independent, RunsOfLinesAreVariables) {
  Triple triple;
  // One variable although its periods differ; a bound that is infinite in the core makes nothing; ADD.
  triple.stoch = stochFile("INDEP",
                           card("RHS", "C3", "1.0", "STAGE2", "0.5") + card("RHS", "C3", "3.0", "STAGE3", "0.5") +
                               " LO BND       U                  4.0   STAGE2             1.0\n" +
                               " UP BND       V                  4.0   STAGE3             1.0\n",
                           "ADD");
  ASSERT_EQ(triple.read(9), 2) << triple.log;
  QRTStoch *s = triple.object();
  ASSERT_EQ(s->sdata->scenarios->count, 2);
  EXPECT_EQ(s->sdata->independent->list->count, 2);
  EXPECT_EQ(s->sdata->independent->list->variables[0]->stage, 2);
  EXPECT_EQ(storedValue(s, 1, C3, LOWER), 5);
  EXPECT_EQ(storedValue(s, 2, C3, LOWER), 7);
  EXPECT_EQ(storedValue(s, 2, ROWS + EXT_COL_UPPER, V), 104);
  EXPECT_EQ(triple.told(3420), 0);
}

TEST(Independent, MoreCombinationsThanAnyInteger) {
  // 2^80 of them: the store refuses the first that is too many, and the count is shown as the largest integer.
  const std::string core = THREE_STAGE_CORE;
  std::string rows, columns, rhs, body;
  for (int k = 0; k < 80; ++k) {
    const std::string name = "R" + std::to_string(k);
    rows += " G  " + name + "\n";
    columns += card("V", name.c_str(), "1.0");
    rhs += card("RHS", name.c_str(), "1.0");
    body += card("RHS", name.c_str(), "1.0", "STAGE3", "0.5") + card("RHS", name.c_str(), "2.0", "STAGE3", "0.5");
  }
  Triple triple;
  triple.core = core.substr(0, core.find("COLUMNS")) + rows + core.substr(core.find("COLUMNS"), core.find("RHS\n") - core.find("COLUMNS")) +
                columns + "RHS\n" + rhs + core.substr(core.find("RHS\n") + 4);
  triple.stoch = stochFile("INDEP", body);
  EXPECT_EQ(triple.read(1000), -1);
  EXPECT_EQ(triple.object()->sdata->scenarios->count, 1000);
  EXPECT_EQ(triple.told(3401), 0);  // no two combinations were taken for one
  EXPECT_NE(triple.log.find("80 independent random variables and 2147483647 events"), std::string::npos);
  EXPECT_NE(triple.log.find("Number of scenarios requested, 1001, exceeds declared maximum 1000."), std::string::npos) << triple.log.substr(triple.log.size() - 300);
}

TEST(Blocks, VectorsWithAndWithoutLines) {
  Triple triple;
  triple.stoch = stochFile("BLOCKS", "    skipped   line\n" + blockCard("B1", "STAGE2", 0.5) + card("RHS", "C2", "6.0") + card("X", "C2", "2.0") +
                                         blockCard("B1", "ignored", 0.5) + blockCard("B2", "STAGE3", 0.25) + card("RHS", "E3", "6.0") +
                                         blockCard("B2", "STAGE3", 0.75) + card("V", "COST", "7.0"));
  ASSERT_EQ(triple.read(9), 3) << triple.log;
  QRTStoch *s = triple.object();
  ASSERT_EQ(s->sdata->scenarios->count, 4);
  EXPECT_EQ(qrts_getNumNodes(s), 7);
  const double c2[] = {6, 2, 2, 6}, x[] = {2, 1, 1, 2}, e3[] = {6, 6, 1, 1}, cost[] = {5, 5, 7, 7}, p[] = {0.125, 0.125, 0.375, 0.375};
  for (int i = 0; i < 4; ++i) {
    EXPECT_EQ(storedValue(s, i + 1, C2, LOWER), c2[i]);
    EXPECT_EQ(storedValue(s, i + 1, C2, X), x[i]);
    EXPECT_EQ(storedValue(s, i + 1, E3, UPPER), e3[i]);
    EXPECT_EQ(storedValue(s, i + 1, COST, V), cost[i]);
    EXPECT_DOUBLE_EQ(s->sdata->scenarios->table[i].probability, p[i]);
  }
}

TEST(RandomVariables, RefusalsAndWarnings) {
  const std::string good = card("RHS", "C2", "6.0", "STAGE2", "0.5");
  const std::string block = blockCard("B1", "STAGE2", 1.0);
  struct {
    const char *what, *section;
    std::string body;
    int message;
  } const cases[] = {
      {"unknown period", "INDEP", card("RHS", "C2", "6.0", "STAGE9", "0.5"), 3417},
      {"stage 1", "INDEP", card("RHS", "C1", "6.0", "STAGE1", "0.5"), 7436},
      {"range", "INDEP", card("RNG", "C1", "6.0", "STAGE2", "0.5"), 7442},
      {"unknown row", "INDEP", card("RHS", "Q", "6.0", "STAGE2", "0.5"), 3419},
      {"no number", "INDEP", card("RHS", "C2", "x", "STAGE2", "0.5"), 7436},
      {"no probability", "INDEP", card("RHS", "C2", "6.0", "STAGE2", ""), 7436},
      {"section of another kind", "INDEP", good + "BLOCKS        DISCRETE\n" + block, 7436},
      {"block reopened", "BLOCKS", block + blockCard("B2", "STAGE2", 1.0) + block, 7436},
      {"block of stage 1", "BLOCKS", blockCard("B1", "STAGE1", 1.0), 7436},
      {"block of no period", "BLOCKS", blockCard("B1", "STAGE9", 1.0), 3417},
      {"unknown column", "BLOCKS", block + card("Q", "C2", "1.0"), 3418},
      {"range in a block", "BLOCKS", block + card("RNG", "C1", "1.0"), 7442},
      {"distribution", "NORMAL", good, 7438},
  };
  for (const auto &c : cases) {
    Triple triple;
    triple.stoch = stochFile(c.section, c.body);
    EXPECT_EQ(triple.read(9), -1) << c.what;
    EXPECT_GE(triple.told(c.message), 1) << c.what << "\n" << triple.log;
    EXPECT_EQ(triple.object()->sdata->scenarios->count, 0) << c.what;
  }
  Triple triple;
  triple.stoch = "STOCH         TRIAL\nINDEP         DISCRETE\n" + good;
  EXPECT_EQ(triple.read(9), 2);
  EXPECT_EQ(triple.told(3410), 2);  // once when the lines are counted, once at the end of the section
  triple.stoch = "STOCH         TRIAL\nINDEP         NORMAL\n" + good + "ENDATA\n";
  EXPECT_EQ(triple.read(9), -1);
  EXPECT_EQ(triple.told(7438), 1);
}

TEST(Triples, HeadsAndFilesAreChecked) {
  struct {
    const char *what, *core, *stoch;
    int message;
  } const cases[] = {
      {"core without NAME", "* x\nROWS\nENDATA\n", "", 7440},  {"empty core", "", "", 7439},
      {"stoch without its card", nullptr, "SCENARIOS     DISCRETE\n", 7440}, {"empty stoch", nullptr, "* x\n", 7439},
      {"stoch ends early", nullptr, "STOCH         TRIAL\n", 7439},          {"other problem", nullptr, "STOCH         OTHER\nINDEP         DISCRETE\n", 7448},
  };
  for (const auto &c : cases) {
    Triple triple;
    if (c.core) triple.core = c.core;
    triple.stoch = c.stoch;
    EXPECT_EQ(triple.read(5), -1) << c.what;
    EXPECT_EQ(triple.told(c.message), 1) << c.what << "\n" << triple.log;
  }
  Triple triple;
  EXPECT_EXIT(qrts_readSMPSData(nullptr, "a", "b", "c"), testing::ExitedWithCode(0), "");
  triple.stoch = stochFile("SCENARIOS", "");
  ASSERT_EQ(triple.read(1), 1);
  EXPECT_EXIT(qrts_readSMPSData(triple.object(), "a", "b", "c"), testing::ExitedWithCode(999 & 255), "");
}

TEST(Triples, AnObjectWithoutContextReadsToo) {
  Triple triple;
  triple.write("t.cor", triple.core);
  triple.write("t.tim", triple.time);
  triple.write("t.sto", stochFile("SCENARIOS", scenarioCard("S1", "ROOT", 1.0, "STAGE2")));
  QRTContext *context = qrts_initializeContext();
  QRTStoch *stoch = qrts_createStoch("alone", 3);
  EXPECT_EQ(qrts_readSMPSData(stoch, triple.path("t.cor").c_str(), triple.path("t.tim").c_str(), triple.path("t.sto").c_str()), 1);
  EXPECT_EQ(qrts_getNumNodes(stoch), 3);
  EXPECT_EQ(qrts_describeFullModel(stoch, 1), 6);
  EXPECT_EQ(qrts_deleteStoch(stoch), 0);
  qrts_endContext(context);
}

}  // namespace
