// The SMPS writer: a program that comes back with other node data or another optimum, cards off the columns that the
// reader takes them from, names that clash, and files left behind by a refusal.
#include "stoch/scn_smps_writer.h"

#include <gtest/gtest.h>

#include <sys/stat.h>

#include <cmath>
#include <cstring>
#include <fstream>
#include <sstream>

#include "frame/messages.h"
#include "support/smps_triple.h"

namespace {

// Every item of every scenario, core included, in input order (which is the file's for what was read from files).
std::vector<double> items(QRTStoch *stoch) {
  const CoreData *core = stoch->sdata->core;
  const int m = core->nRows, n = core->nCols;
  std::vector<double> all;
  for (int k = 1; k <= stoch->sdata->scenarios->count; ++k) {
    for (int i = 1; i <= m; ++i)
      for (int j = 1; j <= n + 2; ++j)
        if (j > n || core->colStage[j - 1] <= core->rowStage[i - 1]) all.push_back(storedValue(stoch, k, i, j));
    for (int i = 1; i <= 3; ++i)
      for (int j = 1; j <= n; ++j) all.push_back(storedValue(stoch, k, m + i, j));
  }
  return all;
}

double optimum(QRTStoch *stoch) {
  EXPECT_EQ(qrts_eitherSimplex(stoch), 0);
  EXPECT_EQ(qrts_getStatus(stoch), 0);
  return qrts_getRobjvalue(stoch);
}

void expectClose(double a, double b, const char *what) { EXPECT_NEAR(a, b, 3e-6 * (1 + std::fabs(a))) << what; }

// Writes the triple's object in both manners and reads it back by the letter.
void roundTrip(Triple &from, const std::string &what) {
  const std::vector<double> before = items(from.object());
  const double value = optimum(from.object());
  const int scenarios = from.object()->sdata->scenarios->count, nodes = from.object()->sdata->nodes->nNodes;
  for (const int mode : {1, 0}) {
    Triple to;
    ASSERT_EQ(to.takeWritten(from, from.object(), mode), 0) << what;
    // one library context at a time: the reading below uses the same one
    ASSERT_EQ(to.readInto(from, 1000), 1) << what << " mode " << mode << "\n" << to.stoch << to.log;
    ASSERT_EQ(to.object()->sdata->scenarios->count, scenarios);
    EXPECT_EQ(to.object()->sdata->nodes->nNodes, nodes);
    const std::vector<double> after = items(to.object());
    ASSERT_EQ(before.size(), after.size());
    for (size_t k = 0; k < before.size(); ++k) expectClose(before[k], after[k], what.c_str());
    expectClose(value, optimum(to.object()), what.c_str());
  }
}

std::string indep(const char *first, const char *second, double value, const char *period, double p) {
  char line[128];
  snprintf(line, sizeof line, "    %-8s  %-8s  %12g   %-8s  %12g\n", first, second, value, period, p);
  return line;
}

TEST(RoundTrip, ScenariosIndependentAndBlocks) {
  Triple t;
  t.stoch = stochFile("SCENARIOS",
                      scenarioCard("ONE", "ROOT", 0.5, "STAGE1") + card("RHS", "C2", "2.5") + card("X", "C3", "1.25") +
                          card("RHS", "E3", "0.5") + scenarioCard("TWO", "ONE", 0.25, "STAGE3") + card("V", "COST", "7.125") +
                          boundCard("UP", "BND", "V", "60") + scenarioCard("EMPTY", "ROOT", 0.25, "STAGE1"));
  ASSERT_EQ(t.read(100), 1) << t.log;
  roundTrip(t, "scenarios");
  t.stoch = stochFile("INDEP", indep("RHS", "C2", 2.5, "STAGE2", 0.5) + indep("RHS", "C2", 3.5, "STAGE2", 0.5) +
                                   indep("X", "C3", 0.75, "STAGE3", 0.25) + indep("X", "C3", 1.5, "STAGE3", 0.75));
  ASSERT_EQ(t.read(100), 2) << t.log;
  ASSERT_EQ(t.object()->sdata->scenarios->count, 4);
  roundTrip(t, "independent");
  t.stoch = stochFile("BLOCKS", blockCard("B1", "STAGE2", 0.5) + card("RHS", "C2", "2.25") + card("U", "COST", "3.5") +
                                    blockCard("B1", "STAGE2", 0.5) + card("RHS", "C2", "4") + card("U", "COST", "2"));
  ASSERT_EQ(t.read(100), 3) << t.log;
  roundTrip(t, "blocks");
}

// A line under REPLACE makes an equation of a ranged row; written back it must be one line, not one for each side.
TEST(RoundTrip, RangedRowsPutAtOneValue) {
  Triple t;
  const size_t at = t.core.find("BOUNDS"), end = t.core.find("ENDATA");
  t.core.insert(at < end ? at : end, "RANGES\n" + card("RNG", "C2", "6"));
  t.stoch = stochFile("SCENARIOS", scenarioCard("ONE", "ROOT", 0.5, "STAGE1") + card("RHS", "C2", "2.5") +
                                       scenarioCard("TWO", "ROOT", 0.5, "STAGE1") + card("RHS", "C2", "4.25"));
  ASSERT_EQ(t.read(100), 1) << t.log;
  EXPECT_EQ(t.told(501), 0);
  const std::vector<double> before = items(t.object());
  Triple to;
  ASSERT_EQ(to.takeWritten(t, t.object(), 1), 0);
  ASSERT_EQ(to.readInto(t, 100), 1) << to.log;
  const std::vector<double> after = items(to.object());
  ASSERT_EQ(before.size(), after.size());
  for (size_t k = 0; k < before.size(); ++k) expectClose(before[k], after[k], "ranged");
}

// Nothing of the core needs a right-hand side or a bound, but a scenario changes both: the sets must be there to be named.
TEST(RoundTrip, SetsThatOnlyScenariosUse) {
  Triple host;  // for its folder and context
  host.stoch = stochFile("SCENARIOS", scenarioCard("ONE", "ROOT", 1.0, "STAGE1"));
  ASSERT_EQ(host.read(100), 1) << host.log;
  QRTStoch *stoch = qrts_newStoch(host.library(), "bare", 2);
  const int rowStages[] = {1, 2}, colStages[] = {1, 2}, rows[] = {1, 2, 2}, cols[] = {1, 1, 2};
  const double cost[] = {1, 2}, rowLower[] = {0, 0}, elements[] = {1, -1, 1}, moved[] = {0, 3}, raised[] = {0, 1};
  ASSERT_EQ(qrts_createCore(stoch, 2, rowStages, colStages, 2, 2, 3, cost, rowLower, nullptr, nullptr, nullptr, rows, cols, elements), 0);
  ASSERT_EQ(qrts_addScenario(stoch, 1, 0, 2, 0.5, 0, 2, 2, 0, nullptr, moved, nullptr, nullptr, nullptr, nullptr, nullptr, nullptr, 0), 0);
  ASSERT_EQ(qrts_addScenario(stoch, 2, 0, 2, 0.5, 0, 2, 2, 0, nullptr, nullptr, nullptr, raised, nullptr, nullptr, nullptr, nullptr, 0), 0);
  const std::vector<double> before = items(stoch);
  for (const int mode : {1, 0}) {
    Triple to;
    ASSERT_EQ(to.takeWritten(host, stoch, mode), 0);
    ASSERT_EQ(to.readInto(host, 100), 1) << to.core << to.stoch << to.log;
    EXPECT_EQ(before, items(to.object()));
  }
  qrts_deleteStoch(stoch);
}

TEST(Cards, StandInTheirColumns) {
  Triple t;
  t.stoch = stochFile("SCENARIOS", scenarioCard("ONE", "ROOT", 0.5, "STAGE1") + card("RHS", "E3", "0.5") +
                                       boundCard("UP", "BND", "V", "60") + scenarioCard("TWO", "ONE", 0.5, "STAGE3"));
  ASSERT_EQ(t.read(100), 1);
  ASSERT_EQ(qrts_outMatrixSMPS(t.object(), 3, 1, t.path("o.cor").c_str(), t.path("o.tim").c_str(), t.path("o.sto").c_str()), 0);
  EXPECT_EQ(contents(t.path("o.sto")),
            "STOCH         TRIAL   \n"
            "SCENARIOS     DISCRETE                REPLACE\n"
            " SC ONE       ROOT               0.5  STAGE2  \n"
            "    RHS       E3                 0.5\n"
            " UP BND       V                   60\n"
            " SC TWO       ONE                0.5  STAGE3  \n"
            "ENDATA\n");
  EXPECT_NE(contents(t.path("o.tim")).find("    U         C2                      STAGE2  \n"), std::string::npos);
}

// Rows in another order than their stages, no names, a ranged row whose one side moves, a difference too small to write.
TEST(ProgramByCalls, ComesBackInStageOrderAndTellsWhatIsLost) {
  Triple t;
  t.stoch = stochFile("SCENARIOS", scenarioCard("ONE", "ROOT", 1, "STAGE1"));
  ASSERT_EQ(t.read(10), 1);
  QRTStoch *stoch = qrts_newStoch(t.library(), "calls", 10);
  qrt_mset(qrtse_getBaseModel(stoch), 7401, 256, 0, 0, 7454, 0);
  const int rowStages[3] = {2, 1, 2}, colStages[2] = {2, 1}, rows[4] = {1, 1, 2, 3}, cols[4] = {1, 2, 2, 1};
  const double cost[2] = {2, 1}, lower[3] = {3, 1, -5}, upper[3] = {1e31, 8, 9}, values[4] = {1, 1, 1, 1};
  ASSERT_EQ(qrts_createCore(stoch, 2, rowStages, colStages, 3, 2, 4, cost, lower, upper, nullptr, nullptr, rows, cols, values), 0);
  const double more[3] = {1, 0, 0}, tiny[2] = {1e-7, 0}, side[3] = {0, 0, -4};
  ASSERT_EQ(qrts_addScenario(stoch, 1, 0, 2, 2, 0, 3, 2, 0, tiny, more, nullptr, nullptr, nullptr, nullptr, nullptr, nullptr, 0), 0);
  const std::string cor = t.path("o.cor"), tim = t.path("o.tim"), sto = t.path("o.sto");
  ASSERT_EQ(qrts_outMatrixSMPS(stoch, 1, 0, cor.c_str(), tim.c_str(), sto.c_str()), 0);
  const std::string text = contents(sto);
  EXPECT_NE(text.find(" SC SCEN0001  ROOT                 2  STG00002\n    RHS1      R0000002             1\nENDATA\n"), std::string::npos) << text;
  Triple to;
  to.core = contents(cor);
  to.time = contents(tim);
  to.stoch = text;
  ASSERT_EQ(to.readInto(t, 10), 1) << to.log;
  EXPECT_NEAR(optimum(stoch), optimum(to.object()), 1e-9);
  EXPECT_EQ(storedValue(to.object(), 1, 2, 2 + EXT_ROW_LOWER), 4.0);  // input row 1 is the second in stage order
  FILE *log = tmpfile();
  qrt_setLogfileFilePointer(qrtse_getBaseModel(stoch), log);
  ASSERT_EQ(qrts_addScenario(stoch, 2, 0, 2, 1, 0, 3, 2, 0, nullptr, nullptr, side, nullptr, nullptr, nullptr, nullptr, nullptr, 0), 0);
  ASSERT_EQ(qrts_outMatrixSMPS(stoch, 1, 0, cor.c_str(), tim.c_str(), sto.c_str()), 0);
  flushLogs();
  char told[8192] = "";
  rewind(log);
  told[fread(told, 1, sizeof told - 1, log)] = 0;
  EXPECT_NE(strstr(told, "1 sides of rows move"), nullptr) << told;
  qrts_deleteStoch(stoch);
  fclose(log);
}

// More scenarios than "SCEN0001" has room for: the names of the later ones must not run together when they are cut.
TEST(ProgramByCalls, TenThousandScenariosComeBackInBothManners) {
  Triple t;
  t.stoch = stochFile("SCENARIOS", scenarioCard("ONE", "ROOT", 1, "STAGE1"));
  ASSERT_EQ(t.read(10), 1);
  const int n = 10050, stages[2] = {1, 2}, rows[3] = {1, 2, 2}, cols[3] = {1, 1, 2};
  const double cost[2] = {1, 2}, lower[2] = {0, 1}, values[3] = {1, 1, 1};
  QRTStoch *stoch = qrts_newStoch(t.library(), "many", n);
  ASSERT_EQ(qrts_createCore(stoch, 2, stages, stages, 2, 2, 3, cost, lower, nullptr, nullptr, nullptr, rows, cols, values), 0);
  for (int k = 1; k <= n; ++k) {
    const double demand[2] = {0, double(k % 101)}, element[1] = {0.25 * (k % 3)};
    const int row[1] = {2}, col[1] = {2};
    ASSERT_EQ(qrts_addScenario(stoch, k, 0, 2, 1.0 / n, 0, 2, 2, 1, nullptr, demand, nullptr, nullptr, nullptr, row, col, element, 0), 0);
  }
  for (const int mode : {1, 0}) {
    Triple to;
    ASSERT_EQ(to.takeWritten(t, stoch, mode), 0);
    EXPECT_NE(to.stoch.find(" SC SCEN9999  ROOT"), std::string::npos);
    EXPECT_NE(to.stoch.find(" SC S0010050  ROOT"), std::string::npos);
    ASSERT_EQ(to.readInto(t, n), 1) << to.log;
    ASSERT_EQ(to.object()->sdata->scenarios->count, n);
    for (const int k : {1, 9999, 10000, 10001, n}) {
      EXPECT_NEAR(storedValue(to.object(), k, 2, 2 + EXT_ROW_LOWER), 1 + k % 101, 1e-5) << k;
      EXPECT_NEAR(storedValue(to.object(), k, 2, 2), 1 + 0.25 * (k % 3), 1e-6) << k;
    }
  }
  qrts_deleteStoch(stoch);
}

TEST(Refusals, LeaveFilesAsDocumented) {
  Triple t;
  t.stoch = stochFile("SCENARIOS", scenarioCard("ONE", "ROOT", 1, "STAGE1"));
  ASSERT_EQ(t.read(10), 1);
  t.write("o.cor", "kept");
  struct stat about;
  EXPECT_EQ(qrts_outMatrixSMPS(t.object(), 4, 1, t.path("o.cor").c_str(), t.path("o.tim").c_str(), t.path("o.sto").c_str()), 2);
  EXPECT_EQ(contents(t.path("o.cor")), "kept");
  EXPECT_EQ(qrts_outMatrixSMPS(t.object(), 1, 1, t.path("o.cor").c_str(), t.path("no/o.tim").c_str(), t.path("o.sto").c_str()), 2);
  EXPECT_NE(stat(t.path("o.sto").c_str(), &about), 0);
  EXPECT_EQ(contents(t.path("o.cor")), "kept");
  EXPECT_EQ(qrts_outMatrixSMPS(t.object(), 1, 1, t.path("o.cor").c_str(), t.path("o.tim").c_str(), "/dev/full"), 2);
  EXPECT_EQ(stat("/dev/full", &about), 0);
  EXPECT_EQ(qrts_outMatrixMPS(t.object(), t.path("o.mps").c_str()), 1);
  EXPECT_EQ(qrts_outMatrixMPS(t.object(), nullptr), 1);
  qrts_describeFullModel(t.object(), 1);
  EXPECT_EQ(qrts_outMatrixMPS(t.object(), t.path("o.mps").c_str()), 0);
  EXPECT_EQ(contents(t.path("o.mps")).rfind("ENDATA"), contents(t.path("o.mps")).size() - 7);
}

}  // namespace
