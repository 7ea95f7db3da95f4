// Objects and their options: defaults, what setters refuse and what they store instead, handles of every kind, entry
// lines, and the nine options that travel.
#include <gtest/gtest.h>

#include <cstring>
#include <string>

#include "frame/messages.h"
#include "include/qrts_c_api.h"
#include "stoch/scn_object.h"

namespace {

class Object : public testing::Test {
 protected:
  void SetUp() override {
    context = qrts_initializeContext();
    qrt_mset(qrt_newModel(context, ""), 7401, 256, 0, 0, 7454, 0);
    stoch = qrts_newStoch(context, "object", 3);
  }
  void TearDown() override { qrts_endContext(context); }
  template <class Call> std::string printed(Call call) {
    flushLogs();
    testing::internal::CaptureStdout();
    call();
    flushLogs();
    return testing::internal::GetCapturedStdout();
  }
  QRTContext *context;
  QRTStoch *stoch;
};

TEST_F(Object, DefaultsAndRefusedValues) {
  EXPECT_EQ(qrts_getCutPeriod(stoch), 2);
  EXPECT_EQ(qrts_getMinNumRows(stoch), 0);
  EXPECT_EQ(qrts_getMaxsubmodels(stoch), 999999);
  EXPECT_EQ(qrts_getMaxiter(stoch), 100);
  EXPECT_EQ(qrts_getRelOptimalityGap(stoch), 1e-08);
  EXPECT_EQ(qrts_getStatus(stoch), -1);
  EXPECT_EQ(qrts_getNsubmodels(stoch), -1);
  EXPECT_EQ(stoch->ifFinalSimplex, 1);
  EXPECT_EQ(stoch->optmaxmin, 1.0);
  EXPECT_EQ(stoch->ownsData, 1);
  struct {
    void (*set)(QRTStoch *, int);
    int32_t QRTStoch::*home;
    int value, stored;
    const char *warning;
  } const cases[] = {
      {qrts_setCutPeriod, &QRTStoch::cutperiod, -1, 2, ""},
      {qrts_setCutPeriod, &QRTStoch::cutperiod, 0, 0, ""},
      {qrts_setMinNumRows, &QRTStoch::minNumRows, 7, 7, ""},
      {qrts_setMinNumRows, &QRTStoch::minNumRows, -7, 7, ""},
      {qrts_setMaxsubmodels, &QRTStoch::maxsubmodels, 0, 999999, ""},
      {qrts_setMaxsubmodels, &QRTStoch::maxsubmodels, 1, 1, ""},
      {qrts_setMaxiter, &QRTStoch::maxiter, 0, 0, ""},
      {qrts_setMaxiter, &QRTStoch::maxiter, -1, 0, ""},
      {qrts_setPresolve, &QRTStoch::ifPresolve, 3, 3, ""},
      {qrts_setPresolve, &QRTStoch::ifPresolve, 4, 1, "\n Warning ! Invalid 'type' value specified.  Valid range is [1,3]. A value of '1' assumed.\n"},
      {qrts_setCrash, &QRTStoch::ifCrash, 4, 4, ""},
      {qrts_setCrash, &QRTStoch::ifCrash, 0, 1, "\n Warning ! Invalid 'crash' value specified.  Valid range is [1,4]. A value of '1' assumed.\n"},
      {qrts_setSimplexAlg, &QRTStoch::alg, 2, 2, ""},
      {qrts_setSimplexAlg, &QRTStoch::alg, -1, 0, "\n Warning ! Invalid 'alg' value specified.  Valid range is [0,2]. A value of '0' assumed.\n"},
  };
  for (const auto &c : cases) {
    EXPECT_EQ(printed([&] { c.set(stoch, c.value); }), c.warning);
    EXPECT_EQ(stoch->*c.home, c.stored);
  }
  for (const double bad : {1.0, 1e-16, 0.0, -0.5}) {
    EXPECT_NE(printed([&] { qrts_setRelOptimalityGap(stoch, bad); }).find("Waring ! Invalid 'tolerance' value"), std::string::npos);
    EXPECT_EQ(qrts_getRelOptimalityGap(stoch), 1e-08);
  }
  qrts_setRelOptimalityGap(stoch, 0.5);
  EXPECT_EQ(qrts_getRelOptimalityGap(stoch), 0.5);
  EXPECT_EQ(qrts_messagePrintOff(stoch, 0), -1);
  EXPECT_EQ(qrts_messagePrintOff(stoch, 10000), -1);
  EXPECT_EQ(qrts_messagePrintOff(stoch, 100), 0);
}

TEST_F(Object, NineOptionsTravel) {
  QRTStoch *other = qrts_newStoch(context, "", 1);
  qrts_setMaxiter(stoch, 5);
  qrts_setMaximize(stoch);
  qrts_setCutPeriod(stoch, 9);
  qrts_setDebugOn(stoch);
  const std::string trace = printed([&] { qrts_copy2SolverOptions(other, stoch); });
  EXPECT_EQ(other->maxiter, 5);
  EXPECT_EQ(other->optmaxmin, -1.0);
  EXPECT_EQ(other->ifDebug, 1);
  EXPECT_EQ(other->cutperiod, 2) << "not one of the nine";
  EXPECT_EQ(trace.find("\n ****************** Before **********************  \n src->maxiter       5  \n\n target->maxiter         100  \n"), 0u) << trace;
  EXPECT_NE(trace.find("\n target->optmaxmin       -1.000000  \n"), std::string::npos);
}

TEST_F(Object, EntryLinesNameTheFamilyAndTheObject) {
  std::string name(200, 'n');
  const std::string lines = printed([&] {
    qrts_setCoreProblemType(stoch, 1);
    qrtse_getBaseModel(stoch);
    qrts_getCutPeriod(stoch);
    EXPECT_EQ(qrts_deleteStoch(qrts_newStoch(context, name.c_str(), 1)), 0);
  });
  EXPECT_NE(lines.find("QRT0456I                Entering TAV (Tavstoch) module qrts_setCoreProblemType (object)"), std::string::npos) << lines;
  EXPECT_NE(lines.find("QRT0457I                Entering TAV (Tavextras) module qrtse_getBaseModel (object)"), std::string::npos) << lines;
  EXPECT_EQ(lines.find("qrts_getCutPeriod"), std::string::npos) << "a scalar query has no frame";
  EXPECT_EQ(lines.find(std::string(128, 'n')), std::string::npos);
}

TEST_F(Object, HandlesAreAnsweredWhateverTheyAre) {
  QRTStoch *deleted = qrts_newStoch(context, "deleted", 3);
  EXPECT_EQ(qrts_deleteStoch(deleted), 0);
  qrt_makeThisCurrent(qrt_model(context, 0));
  int anything[8] = {0};
  QRTStoch *const bad[] = {nullptr, deleted, reinterpret_cast<QRTStoch *>(anything)};
  for (QRTStoch *handle : bad) {
    EXPECT_EQ(qrts_deleteStoch(handle), 2);
    EXPECT_EQ(qrts_readSMPSData(handle, "a", "b", "c"), -1);
    EXPECT_EQ(qrts_copyStoch(stoch, handle), 2);
    EXPECT_EQ(qrts_getNumNodes(handle), -1);
    EXPECT_EQ(qrtse_getBaseModel(handle), nullptr);
    EXPECT_EQ(qrts_getCutPeriod(handle), 0);
    qrts_setCutPeriod(handle, 5);
    EXPECT_EQ(qrts_messagePrintOff(handle, 5), -1);
  }
  EXPECT_EQ(anything[0], 0);
  EXPECT_EQ(qrts_getNumStages(stoch), 0);
  EXPECT_EQ(qrts_getNumScenarios(stoch), -1);
  EXPECT_EQ(qrtse_getCurrentModel(stoch), nullptr);
  EXPECT_EQ(qrts_getSubmodels(stoch), nullptr);
  // Thousands of handles come and go.
  for (int round = 0; round < 300; ++round) {
    QRTTree *trees[20];
    const int event = round;
    for (QRTTree *&tree : trees) tree = qrttree_Cinit(&event, 1, 1, 1.0);
    for (QRTTree *tree : trees) {
      ASSERT_EQ(qrts_validate2Tree(tree), 0);
      qrts_delete2Tree(tree);
      ASSERT_EQ(qrts_validate2Tree(tree), 1);
    }
  }
  // The end of the context takes the objects that are left along.
  QRTStoch *left = stoch;
  qrts_endContext(context);
  EXPECT_EQ(qrts_getMaxiter(left), 0);
  context = qrts_initializeContext();
}

}  // namespace
