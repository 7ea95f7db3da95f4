// Faults these tests would catch: a state that lacks a cut or a bound, or holds them in scaled units, a basis put on the
// wrong rows, a damaged or foreign state that is taken, or that costs a kept list its cuts, a failure that leaves nothing.
#include <gtest/gtest.h>

#include <unistd.h>

#include <cstdio>
#include <fstream>
#include <random>
#include <string>
#include <vector>

#include "decomp/scn_nested.h"
#include "support/hand_programs.h"

namespace {

using hand::Program;

// Three goods over three stages: capacity is built at first, then each is made, kept or short. 3 * 3 scenarios.
Program stocks(unsigned seed) {
  std::mt19937 random(seed);
  Program p;
  p.stages = 3;
  const auto column = [&p](int stage, double cost, double upper) {
    p.colStage.push_back(stage);
    p.objective.push_back(cost);
    p.colLower.push_back(0);
    p.colUpper.push_back(upper);
    return int(p.colStage.size());
  };
  const auto row = [&p](int stage, double lower, double upper) {
    p.rowStage.push_back(stage);
    p.rowLower.push_back(lower);
    p.rowUpper.push_back(upper);
    return int(p.rowStage.size());
  };
  const int budget = row(1, -hand::NONE, 16);
  int capacity[3], kept[3];
  for (int g = 0; g < 3; ++g) {
    capacity[g] = column(1, 3 + 0.1 * int(random() % 10), hand::NONE);
    kept[g] = column(1, 1.5, 9);
    p.elements.insert(p.elements.end(), {{budget, capacity[g], 1}, {budget, kept[g], 0.5}});
  }
  for (int s = 2; s <= 3; ++s)
    for (int g = 0; g < 3; ++g) {
      const int make = column(s, 1 + int(random() % 5), hand::NONE), shortage = column(s, 11, hand::NONE), keep = column(s, 0.25, 9);
      const int limit = row(s, -hand::NONE, 0), balance = row(s, 5, 5);
      p.elements.insert(p.elements.end(), {{limit, make, 1}, {limit, capacity[g], -1}, {balance, kept[g], 1}, {balance, make, 1},
                                           {balance, shortage, 1}, {balance, keep, -1}});
      kept[g] = keep;
    }
  for (int k = 0; k < 9; ++k) {
    const int stage = k % 3 == 0 ? 2 : 3;
    hand::Scenario s = {stage == 2 ? 0 : k, stage, double(1 + random() % 4), {}, {}, {}, {}};
    for (size_t i = 0; i < p.rowStage.size(); ++i) {
      const bool demand = p.rowStage[i] >= stage && p.rowLower[i] > 0;
      const double shift = demand ? double(random() % 11) - 4 : 0;
      s.rowLower.push_back(shift);
      s.rowUpper.push_back(shift);
    }
    p.scenarios.push_back(s);
  }
  return p;
}

std::string contents(const std::string &path) {
  std::ifstream in(path, std::ios::binary);
  return {std::istreambuf_iterator<char>(in), {}};
}
void overwrite(const std::string &path, const std::string &bytes) {
  std::ofstream(path, std::ios::binary).write(bytes.data(), std::streamsize(bytes.size()));
}

class NestedState : public testing::Test {
 protected:
  void SetUp() override {
    context = qrts_initializeContext();
    ASSERT_NE(context, nullptr);
    qrt_messagesPrintOff(qrt_baseModel(context), 1, 6999);
    qrt_mset(qrt_baseModel(context), 7453, 256, -1, 0, 7454, 0);
    std::remove(file.c_str());
  }
  void TearDown() override {
    qrts_endContext(context);
    std::remove(file.c_str());
  }

  QRTStoch *make(unsigned seed, int strategy, bool maximize = false) {
    QRTStoch *stoch = hand::load(context, stocks(seed), maximize);
    qrts_setCutPeriod(stoch, 2);
    qrts_setMinNumRows(stoch, 4);
    qrts_setMaxsubmodels(stoch, 6);
    EXPECT_GE(strategy == 1   ? qrtse_decomposeCutAtStage(stoch, 2)
              : strategy == 2 ? qrtse_decomposeCutByRowSize(stoch, 4)
                              : qrtse_decomposeCutByNodeSize(stoch, 6),
              3);
    qrts_setCycleCallBack(
        stoch,
        [](const QRTSCycle *news, void *seen) {
          *static_cast<int *>(seen) = news->cycle;
          return 0;
        },
        &cycles);
    return stoch;
  }
  // Solves; the cycles it took are in `cycles`.
  int solve(QRTStoch *stoch) { return qrtse_nestedLSolve(stoch, 1, 0); }

  const std::string file = testing::TempDir() + "nested.state";
  QRTContext *context = nullptr;
  int cycles = 0;
};

TEST_F(NestedState, ARunCutOffGoesOn) {
  for (int strategy : {1, 2, 3})
    for (const bool maximize : {false, true})
      for (const bool scaled : {false, true}) {
        SCOPED_TRACE("strategy " + std::to_string(strategy) + (maximize ? ", maximised" : "") + (scaled ? ", scaled" : ""));
        QRTStoch *whole = make(1, strategy, maximize), *first = make(1, strategy, maximize), *second = make(1, strategy, maximize);
        for (QRTStoch *stoch : {whole, first, second})
          if (scaled) qrts_setScaleOn(stoch);
        ASSERT_EQ(solve(whole), 0);
        const int needed = cycles, cutAfter = needed - 1;
        ASSERT_GT(cutAfter, 2);
        qrts_setSaveState(first, file.c_str(), 1000);  // at the end, at least
        qrts_setMaxiter(first, cutAfter);
        ASSERT_EQ(solve(first), 0);
        EXPECT_EQ(qrts_getStatus(first), 2);
        qrts_setResumeState(second, file.c_str());
        ASSERT_EQ(solve(second), 0);
        EXPECT_EQ(qrts_getStatus(second), 0);
        EXPECT_NEAR(qrts_getRobjvalue(second), qrts_getRobjvalue(whole), 1e-6);
        EXPECT_LT(cycles, needed);
        // A list that has gone further goes back to where the state stands, and ends at the same.
        ASSERT_EQ(solve(second), 0);
        EXPECT_NEAR(qrts_getRobjvalue(second), qrts_getRobjvalue(whole), 1e-6);
        for (QRTStoch *stoch : {whole, first, second}) qrts_deleteStoch(stoch);
      }
}

TEST_F(NestedState, StatesComeEverySoManyCyclesAndWithAFailure) {
  QRTStoch *first = make(5, 2);
  struct Watch {
    std::string file;
    int seen;
  } watch = {file, 0};
  qrts_setSaveState(first, file.c_str(), 2);
  qrts_setCycleCallBack(
      first,
      [](const QRTSCycle *news, void *data) {
        Watch *w = static_cast<Watch *>(data);
        if (news->cycle == 3) w->seen = !contents(w->file).empty();
        return 0;
      },
      &watch);
  ASSERT_EQ(solve(first), 0);
  EXPECT_EQ(watch.seen, 1);
  const double optimum = qrts_getRobjvalue(first);
  qrts_deleteStoch(first);
  std::remove(file.c_str());
  // Not iterations enough for a model below the root.
  QRTStoch *failing = make(5, 2);
  qrts_setSaveState(failing, file.c_str(), 1000);
  qrt_setImaxiter(qrtse_getCurrentModel(qrts_getSubmodels(failing)[3]), 1);
  EXPECT_EQ(solve(failing), 1);
  EXPECT_EQ(qrts_getStatus(failing), -1);
  const std::string model = file + ".sub4.mps";
  QRTModel *read = qrt_newModel(context, "");
  qrt_messagesPrintOff(read, 1, 6999);
  EXPECT_EQ(qrt_importModel(read, model.c_str()), 0);
  EXPECT_EQ(qrt_getInumrows(read), qrt_getInumrows(qrtse_getCurrentModel(qrts_getSubmodels(failing)[3])));
  std::remove(model.c_str());
  QRTStoch *second = make(5, 2);
  qrts_setResumeState(second, file.c_str());
  ASSERT_EQ(solve(second), 0);
  EXPECT_NEAR(qrts_getRobjvalue(second), optimum, 1e-6);
  qrts_deleteStoch(failing);
  qrts_deleteStoch(second);
}

TEST_F(NestedState, DamagedAndForeignStatesAreRefusedAndNothingIsLost) {
  QRTStoch *first = make(3, 2);
  qrts_setSaveState(first, file.c_str(), 1000);
  qrts_setMaxiter(first, 3);
  ASSERT_EQ(solve(first), 0);
  const std::string state = contents(file);
  ASSERT_GT(state.size(), 1000u);

  QRTStoch *second = make(3, 2);
  qrts_setMaxiter(second, 2000);
  ASSERT_EQ(solve(second), 0);
  const double optimum = qrts_getRobjvalue(second);
  QRTStoch *root = qrts_getSubmodels(second)[0];
  const int rows = qrt_getInumrows(qrtse_getCurrentModel(root));
  qrts_setResumeState(second, file.c_str());
  qrts_setSaveState(second, file.c_str(), 1);  // a refused state must not be written over either
  testing::internal::CaptureStdout();
  for (size_t length = state.size(); length-- > 0;) {
    ASSERT_EQ(truncate(file.c_str(), off_t(length)), 0);
    ASSERT_EQ(solve(second), 2) << length;
  }
  EXPECT_EQ(contents(file), "");
  for (size_t at = 0; at < state.size(); at += 37) {
    std::string changed = state;
    changed[at] = char(changed[at] ^ 0x11);
    overwrite(file, changed);
    ASSERT_EQ(solve(second), 2) << at;
  }
  EXPECT_NE(testing::internal::GetCapturedStdout().find("it is damaged or cut off"), std::string::npos);
  EXPECT_EQ(qrt_getInumrows(qrtse_getCurrentModel(root)), rows);
  overwrite(file, state);
  for (QRTStoch *other : {make(4, 2), make(3, 3), make(3, 2, true)}) {
    qrts_setResumeState(other, file.c_str());
    testing::internal::CaptureStdout();
    EXPECT_EQ(solve(other), 2);
    EXPECT_NE(testing::internal::GetCapturedStdout().find("another program or another cut"), std::string::npos);
    qrts_setResumeState(other, nullptr);
    EXPECT_EQ(solve(other), 0);
    qrts_deleteStoch(other);
  }
  QRTStoch *lShaped = make(3, 1);
  qrts_setResumeState(lShaped, file.c_str());
  EXPECT_EQ(qrts_bendersLSolve(lShaped, 0), 2);
  qrts_deleteStoch(lShaped);
  EXPECT_EQ(contents(file), state);
  ASSERT_EQ(solve(second), 0);
  EXPECT_NEAR(qrts_getRobjvalue(second), optimum, 1e-6);
  // A folder that isn't there: told, and the run goes on.
  qrts_setResumeState(second, nullptr);
  qrts_setSaveState(second, (file + ".d/state").c_str(), 1);
  EXPECT_EQ(solve(second), 0);
  EXPECT_NEAR(qrts_getRobjvalue(second), optimum, 1e-6);
  qrts_deleteStoch(first);
  qrts_deleteStoch(second);
}

}  // namespace
