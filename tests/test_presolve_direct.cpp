// Direct solves of stochastic programs by way of presolve. Faults it would catch: a run that ends because presolve had
// solved its model wholly, a work file left behind, a solution read from the reduced model.
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cmath>
#include <string>

#include "certificate_model.h"
#include "support/smps_triple.h"

namespace {

// Three stages, nine scenarios; `demand` moves the second and third stage.
std::string scenarios(double demand) {
  std::string body = scenarioCard("S1", "ROOT", 0.25, "STAGE1");
  body += card("RHS", "C2", std::to_string(demand));
  body += scenarioCard("S2", "S1", 0.25, "STAGE3") + card("RHS", "C3", std::to_string(demand + 3));
  body += scenarioCard("S3", "S1", 0.25, "STAGE2") + card("RHS", "C2", std::to_string(demand + 1)) + card("RHS", "C3", "6.5");
  body += scenarioCard("S4", "S3", 0.25, "STAGE3") + card("RHS", "C3", "9.25");
  return stochFile("SCENARIOS", body);
}

struct Answer {
  int code, status;
  double value;
  std::string fault;
};
Answer solveDirectly(Triple &triple, int level, bool scale) {
  QRTStoch *stoch = triple.object();
  if (level) qrts_setPresolve(stoch, level);
  else qrts_setPresolveOff(stoch);
  if (scale) qrts_setScaleOn(stoch);
  EXPECT_GE(qrts_describeFullModel(stoch, 1), 0);
  Answer a;
  a.code = qrts_eitherSimplex(stoch);
  a.status = qrts_getStatus(stoch);
  a.value = qrts_getRobjvalue(stoch);
  if (a.status == 0) a.fault = firstFault(certifyModel(qrtse_getCurrentModel(stoch)), 1e-7);
  return a;
}

struct PresolveDirect : ::testing::Test {
  void SetUp() override {
    char name[] = "/tmp/tavstoch-direct-XXXXXX";
    ASSERT_NE(nullptr, getcwd(home, sizeof home));
    folder = mkdtemp(name);
    ASSERT_EQ(0, chdir(folder.c_str()));
    triple.core = THREE_STAGE_CORE;
    triple.time = THREE_STAGE_TIME;
  }
  void TearDown() override {
    ASSERT_EQ(0, chdir(home));
    EXPECT_EQ(0, rmdir(folder.c_str())) << "something was left in the working folder";
  }
  char home[4096];
  std::string folder;
  Triple triple;
};

TEST_F(PresolveDirect, AgreesWithoutPresolve) {
  triple.stoch = scenarios(2.5);
  for (bool scale : {false, true}) {
    ASSERT_LE(triple.read(10), 1) << triple.log;
    const Answer plain = solveDirectly(triple, 0, scale);
    ASSERT_EQ(0, plain.status);
    for (int level : {1, 2, 3}) {
      ASSERT_LE(triple.read(10), 1) << triple.log;
      const Answer a = solveDirectly(triple, level, scale);
      EXPECT_EQ(0, a.code);
      EXPECT_EQ(0, a.status);
      EXPECT_NEAR(plain.value, a.value, 1e-8 * (1 + std::fabs(plain.value))) << "level " << level;
      EXPECT_EQ("", a.fault);
      EXPECT_NE(0, access("oModel.pre", F_OK)) << "a work file stays";
    }
  }
}

// Models of a decomposition presolve at their first solve only; cuts and final solve are those of whole models.
TEST_F(PresolveDirect, DecompositionsAgree) {
  triple.stoch = scenarios(2.5);
  ASSERT_LE(triple.read(10), 1) << triple.log;
  const Answer plain = solveDirectly(triple, 0, false);
  for (int level : {1, 3})
    for (bool nested : {false, true})
      for (bool final : {false, true}) {
        SCOPED_TRACE("level " + std::to_string(level) + (nested ? " nested" : " two-level") + (final ? " with final solve" : ""));
        ASSERT_LE(triple.read(10), 1) << triple.log;
        QRTStoch *stoch = triple.object();
        qrts_setPresolve(stoch, level);
        if (!final) qrts_setFinalSimplexSolverOff(stoch);
        qrts_setCutPeriod(stoch, 2);
        ASSERT_EQ(0, nested ? qrtse_nestedLSolve(stoch, 1, 0) : qrts_bendersLSolve(stoch, 0));
        EXPECT_EQ(0, qrts_getStatus(stoch));
        EXPECT_NEAR(plain.value, qrts_getRobjvalue(stoch), 1e-6 * (1 + std::fabs(plain.value)));
        for (const char *file : {"master.pre", "subModel.pre", "NsubModel.pre", "oModel.pre"}) EXPECT_NE(0, access(file, F_OK)) << file;
      }
}

// A folder where a work file should be: only a solve that goes through presolve trips over it.
TEST_F(PresolveDirect, EveryPartOfADecompositionPresolves) {
  triple.stoch = scenarios(2.5);
  for (const char *file : {"master.pre", "subModel.pre", "oModel.pre"}) {
    ASSERT_LE(triple.read(10), 1) << triple.log;
    QRTStoch *stoch = triple.object();
    qrts_setPresolve(stoch, 1);
    qrts_setCutPeriod(stoch, 2);
    ASSERT_EQ(0, mkdir(file, 0700));
    EXPECT_GE(qrts_bendersLSolve(stoch, 0), 2) << file;
    EXPECT_EQ(0, rmdir(file));
  }
}

// Presolve solves this one: nothing is left, which by default ends a process that calls qrt_preSolve() itself.
TEST_F(PresolveDirect, NothingLeftIsNoReasonToStop) {
  triple.core = "NAME          TRIAL\nROWS\n N  COST\n G  C1\n G  C2\nCOLUMNS\n    X         COST               1.0   C1                 1.0\n"
                "    Y         COST               2.0   C2                 1.0\nRHS\n    RHS       C1                 1.0   C2                 2.0\nENDATA\n";
  triple.time = "TIME          TRIAL\nPERIODS       LP\n    X         C1                       STAGE1\n    Y         C2                       STAGE2\nENDATA\n";
  triple.stoch = stochFile("INDEP", card("RHS", "C2", "3.0", "STAGE2", "0.5") + card("RHS", "C2", "5.0", "STAGE2", "0.5"));
  triple.read(4);
  ASSERT_EQ(2, qrts_getNumScenarios(triple.object()));
  const Answer a = solveDirectly(triple, 3, false);
  EXPECT_EQ(0, a.code);
  EXPECT_EQ(0, a.status);
  EXPECT_NEAR(9.0, a.value, 1e-9);
  EXPECT_EQ("", a.fault);
}

TEST_F(PresolveDirect, InfeasibleIsSolvedAsItStands) {
  std::string body = scenarioCard("S1", "ROOT", 1.0, "STAGE1") + boundCard("UP", "BND", "V", "0.5");  // E3 wants V at 1
  triple.stoch = stochFile("SCENARIOS", body);
  ASSERT_LE(triple.read(4), 1) << triple.log;
  const Answer a = solveDirectly(triple, 3, false);
  EXPECT_EQ(0, a.code);
  EXPECT_EQ(1, a.status);
  EXPECT_NE(0, access("oModel.pre", F_OK));
}

}  // namespace
