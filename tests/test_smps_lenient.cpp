// The lenient manner: each straying is accepted with the meaning it has in published files, told once a file, and
// refused by the letter; what nobody can understand stays refused.
#include <gtest/gtest.h>

#include <cstring>
#include <vector>

#include "support/smps_triple.h"

namespace {

enum { C1 = 1, C2, C3, E3, ROWS = 4 };
enum { X = 1, U, V, COLS = 3 };
constexpr int LOWER = COLS + EXT_ROW_LOWER, COST = ROWS + EXT_OBJECTIVE;
const std::string ONE = scenarioCard("S1", "ROOT", 0.5, "STAGE2"), C2_IS_6 = card("RHS", "C2", "6.0");

std::string replaced(std::string text, const std::string &from, const std::string &to) {
  for (size_t at = text.find(from); at != std::string::npos; at = text.find(from, at + to.size())) text.replace(at, from.size(), to);
  return text;
}

struct Straying {
  const char *what;
  std::string core, time, stoch;
  const char *told;        // in message 501
  int byTheLetter;  // result; 1 with another meaning, 0 for a core whose import ends the process
};

std::vector<Straying> strayings() {
  const std::string core = THREE_STAGE_CORE, time = THREE_STAGE_TIME, plain = stochFile("SCENARIOS", ONE + C2_IS_6);
  const std::string tabs = " SC S1\tROOT\t0.5\tSTAGE2\n    RHS\tC2\t6.0\n";
  return {
      {"problem name of the stoch file", core, time, replaced(plain, "STOCH         TRIAL", "STOCH         storm"), "t.sto, card 2: the problem name", -1},
      {"problem name of the time file", core, replaced(time, "TRIAL", "Other"), plain, "t.tim, card 1: the problem name", -1},
      {"NAME card", core, time, replaced(plain, "STOCH         TRIAL", "NAME          TRIAL"), "NAME stands for STOCH", -1},
      {"no distribution", core, time, replaced(plain, "DISCRETE", "        "), "no distribution named", -1},
      {"quoted root", core, time, replaced(plain, " ROOT ", " 'ROOT' "), "the root in quotes", -1},
      {"tabs", core, time, stochFile("SCENARIOS", tabs), "tabs; read as blanks", -1},
      {"tabs in the core", replaced(core, "    U         COST               3.0   C2                 1.0", "\tU\tCOST\t3.0\tC2\t1.0"), time, plain, "t.cor, card 12: tabs", 1},
      {"off the columns", core, time, stochFile("SCENARIOS", " SC S1 ROOT 0.5 STAGE2\n  RHS C2 6.0\n"), "t.sto, card 4: fields off their columns", -1},
      {"off the columns in time", core, "TIME TRIAL\nPERIODS\n     X  C1  STAGE1\n     U C2 STAGE2\n   V C3  STAGE3\nENDATA\n", plain, "t.tim, card 3: fields off", -1},
      {"off the columns in the core", replaced(core, "    V         E3                 1.0", "    V   E3   1.0"), time, plain, "t.cor, card 15: fields off", 1},
      {"empty lines", core, time, replaced(plain, "STOCH ", "\n   \nSTOCH "), "an empty line", -1},
      {"lower case", replaced(core, "ROWS\n", "rows\n"), replaced(time, "PERIODS", "Periods"), replaced(replaced(plain, "SCENARIOS", "scenarios"), " SC ", " sc "), "t.tim, card 2: a section word in lower case", 0},
      {"other set name", core, time, replaced(plain, "    RHS ", "    DEM "), "a set name that is not the core's", -1},
      {"core without right-hand sides named so", replaced(core, "    RHS ", "        "), time, plain, "a set name that is not the core's", -1},
      {"long names", replaced(replaced(core, "C2 ", "DEMAND_OF_2 "), "C2\n", "DEMAND_OF_2\n"), replaced(time, "C2       ", "DEMAND_OF_2"), replaced(plain, "C2        ", "DEMAND_OF_2 "), "t.cor, card 5: names longer than 8", 0},
      {"row of no constraint", core, replaced(replaced(time, "X         C1", "X         COST"), "C3  ", "COST"), plain, "begins at no constraint row", -1},
      {"period without a row", core, replaced(time, "X         C1", "X           "), plain, "begins at no constraint row", -1},
  };
}

TEST(Lenient, AcceptsEachStrayingAndTellsItOnce) {
  for (const Straying &s : strayings()) {
    Triple triple;
    triple.core = s.core;
    triple.time = s.time;
    triple.stoch = s.stoch;
    if (s.byTheLetter) {
      EXPECT_EQ(triple.read(5), s.byTheLetter) << s.what << " by the letter\n" << triple.log;
    }
    triple.lenient = true;
    ASSERT_EQ(triple.read(5), 1) << s.what << "\n" << triple.log;
    const size_t first = triple.log.find(s.told);
    EXPECT_NE(first, std::string::npos) << s.what << "\n" << triple.log;
    if (first != std::string::npos) {
      EXPECT_EQ(triple.log.find(s.told, first + 1), std::string::npos) << s.what << " told twice\n" << triple.log;
    }
    QRTStoch *stoch = triple.object();
    ASSERT_EQ(stoch->sdata->scenarios->count, 1) << s.what;
    EXPECT_EQ(stoch->sdata->scenarios->table[0].probability, 0.5) << s.what;
    EXPECT_EQ(storedValue(stoch, 1, C2, LOWER), 6) << s.what;
    EXPECT_EQ(storedValue(stoch, 1, E3, V), 1) << s.what;
    EXPECT_EQ(storedValue(stoch, 1, COST, U), 3) << s.what;
    EXPECT_EQ(qrts_getNumStages(stoch), 3) << s.what;
  }
}

TEST(Lenient, SoundFilesStrayNowhere) {
  Triple triple;
  triple.lenient = true;
  triple.stoch = stochFile("SCENARIOS", ONE + C2_IS_6 + scenarioCard("S2", "S1", 0.5, "STAGE3") + card("RHS", "C3", "5.0"));
  ASSERT_EQ(triple.read(5), 1);
  EXPECT_EQ(triple.told(501), 0) << triple.log;
}

TEST(Lenient, SecondPairsAreItems) {
  Triple triple;
  triple.stoch = stochFile("SCENARIOS", ONE + card("RHS", "C2", "6.0", "C3", "9.0") + card("X", "C2", "4.0", "COST", "8.0"));
  ASSERT_EQ(triple.read(5), 1);
  EXPECT_EQ(storedValue(triple.object(), 1, C3, LOWER), 4) << "by the letter a card has one pair";
  triple.lenient = true;
  ASSERT_EQ(triple.read(5), 1);
  EXPECT_EQ(storedValue(triple.object(), 1, C2, LOWER), 6);
  EXPECT_EQ(storedValue(triple.object(), 1, C3, LOWER), 9);
  EXPECT_EQ(storedValue(triple.object(), 1, C2, X), 4);
  EXPECT_EQ(triple.told(501), 1);
  triple.stoch = stochFile("SCENARIOS", ONE + card("RHS", "C2", "6.0", "NONE", "9.0"));
  EXPECT_EQ(triple.read(5), -1);
  EXPECT_EQ(triple.told(3419), 1) << triple.log;
  // A remark behind the value is no pair.
  triple.stoch = stochFile("SCENARIOS", ONE + card("RHS", "C2", "6.0", "demand", "") + card("RHS", "C3", "7.0", "of the", "peak"));
  EXPECT_EQ(triple.read(5), 1) << triple.log;
  EXPECT_EQ(storedValue(triple.object(), 1, C3, LOWER), 7);
}

TEST(Lenient, IndependentLinesWithoutPeriodTakeTheStageOfTheirItem) {
  for (const char *blanks : {"      ", "                 "}) {
    Triple triple;
    const std::string p = std::string(blanks) + "0.5\n";
    auto line = [&](const char *a, const char *b, const char *v) { return std::string("    ") + a + std::string(10 - strlen(a), ' ') + b + std::string(10 - strlen(b), ' ') + v + p; };
    triple.stoch = stochFile("INDEP", line("RHS", "C2", "6.0") + line("RHS", "C2", "7.0") + line("V", "COST", "1.0") + line("V", "COST", "2.0") +
                                          line("X", "C3", "3.0") + line("X", "C3", "4.0") + " UP BND       V         9.0" + p + " UP BND       V         8.0" + p);
    EXPECT_EQ(triple.read(99), -1);
    triple.lenient = true;
    ASSERT_EQ(triple.read(99), 2) << triple.log;
    const RandomVariableList *list = triple.object()->sdata->independent->list;
    ASSERT_EQ(list->count, 4);
    const int stages[] = {2, 3, 3, 3};
    for (int k = 0; k < 4; ++k) EXPECT_EQ(list->variables[k]->stage, stages[k]);
    EXPECT_EQ(triple.told(501), 1) << triple.log;
    EXPECT_EQ(storedValue(triple.object(), 2, C2, LOWER), 7);
    EXPECT_EQ(storedValue(triple.object(), 1, ROWS + EXT_COL_UPPER, V), 9);
  }
}

TEST(Lenient, BlocksAfterIndependentLines) {
  Triple triple;
  triple.lenient = true;
  triple.stoch = stochFile("INDEP", card("RHS", "C2", "6.0", "STAGE2", "0.5") + card("RHS", "C2", "7.0", "STAGE2", "0.5") +
                                        "BLOCKS        DISCRETE\n" + blockCard("B", "STAGE3", 0.25) + card("RHS", "C3", "8.0") +
                                        blockCard("B", "STAGE3", 0.75));
  ASSERT_EQ(triple.read(9), 3) << triple.log;
  EXPECT_EQ(triple.object()->sdata->scenarios->count, 4);
  EXPECT_EQ(triple.object()->sdata->independent->list->variables[0]->type, 2);
  EXPECT_EQ(triple.object()->sdata->independent->list->variables[1]->type, 3);
}

TEST(Lenient, LinesWithABoundTypeWhateverTheSet) {
  Triple triple;
  triple.lenient = true;
  triple.stoch = stochFile("SCENARIOS", ONE + boundCard("UP", "OTHER", "V", "50.0") + " lo BND V 2\n" + " FX RHS       U         1.0\n");
  ASSERT_EQ(triple.read(5), 1) << triple.log;
  EXPECT_EQ(storedValue(triple.object(), 1, ROWS + EXT_COL_UPPER, V), 50);
  EXPECT_EQ(storedValue(triple.object(), 1, ROWS + EXT_COL_LOWER, V), 2);
}

TEST(Lenient, WhatNobodyUnderstandsIsRefused) {
  struct {
    const char *section;
    std::string body;
    int message;
  } const cases[] = {
      {"CHANCE", " G  CC1       C2        0.6\n", 7438},
      {"SCENARIOS", ONE + " G  CC1       C2        0.6\n", 7436},
      {"SCENARIOS", ONE + "    FOO       BAR                1.0\n", 7436},
      {"SCENARIOS", ONE + "    RHS       C2\n", 7436},
      {"SCENARIOS", ONE + card("RNG", "C1", "1.0"), 7442},
      {"INDEP", "    RHS       C2        6.0\n", 7436},
      {"INDEP", card("RHS", "C1", "6.0", "", "0.5"), 7436},
      {"BLOCKS", " BL B1\n", 7436},
  };
  for (const auto &c : cases) {
    Triple triple;
    triple.lenient = true;
    triple.stoch = stochFile(c.section, c.body);
    EXPECT_EQ(triple.read(5), -1) << c.body;
    EXPECT_EQ(triple.told(c.message), 1) << c.body << "\n" << triple.log;
  }
}

}  // namespace
