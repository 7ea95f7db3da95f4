// Faults these tests would catch: a direction spread to the wrong node, order or weight, a bound that moves though it is
// absent, a step lost or added at the ends of the range, a status that ends the run, a run without end.
//
// What a run finds at each lambda is compared with a single solve of the same program built at that lambda.
#include <gtest/gtest.h>

#include <cmath>
#include <functional>
#include <limits>
#include <vector>

#include "certificate_model.h"
#include "include/qrts_c_api.h"

namespace {

constexpr double NONE = 1e31;

struct Point {
  double lambda, value;
  int status;
  std::string fault;
};
std::vector<Point> seen;
int stopAfter;

int watch(QRTModel *model) {
  const int status = qrt_getIprobstat(model);
  seen.push_back({qrt_getRslambda(model), qrt_getRobjvalue(model), status, firstFault(certifyModel(model))});
  return int(seen.size()) >= stopAfter ? 7 : 0;
}

// Directions over the core.
struct Direction {
  std::vector<double> objective, rowLower, rowUpper, colLower, colUpper;
};

class Parametric : public testing::Test {
 protected:
  void SetUp() override {
    context = qrts_initializeContext();
    ASSERT_NE(context, nullptr);
    qrt_messagesPrintOff(qrt_baseModel(context), 1, 6999);
    seen.clear();
    stopAfter = std::numeric_limits<int>::max();
  }
  void TearDown() override { qrts_endContext(context); }

  // Buy x1, x2 before demand is known; make up by y1 (dear) or sell y2. Rows and columns of the two stages stand mixed
  // in the core's order, so that an order mistaken for another shows. Three scenarios of unequal weight, over 3 stages.
  QRTStoch *load(const Direction &d, double lambda) {
    std::vector<double> objective = {5, 1, 2, -1, 4}, rowLower = {4, -NONE, 3}, rowUpper = {NONE, 6, NONE};
    std::vector<double> colLower = {0, 0, 0, 0, 0}, colUpper = {NONE, 8, NONE, 5, NONE};
    const auto add = [lambda](std::vector<double> &to, const std::vector<double> &along) {
      for (size_t k = 0; k < along.size(); ++k)
        if (std::fabs(to[k]) < 1e20) to[k] += lambda * along[k];
    };
    add(objective, d.objective);
    add(rowLower, d.rowLower);
    add(rowUpper, d.rowUpper);
    add(colLower, d.colLower);
    add(colUpper, d.colUpper);
    const std::vector<int> rowStage = {2, 1, 3}, colStage = {2, 1, 1, 2, 3};
    // row 1: y1 + x1 + x2 - y2 >= 4;  row 2: x1 + x2 <= 6;  row 3: z + y1 + x1 >= 3
    const std::vector<int> rows = {1, 1, 1, 1, 2, 2, 3, 3, 3}, cols = {1, 2, 3, 4, 2, 3, 5, 1, 2};
    const std::vector<double> values = {1, 1, 1, -1, 1, 1, 1, 1, 1};
    QRTStoch *stoch = qrts_newStoch(context, "line", 3);
    EXPECT_EQ(qrts_createCore(stoch, 3, rowStage.data(), colStage.data(), 3, 5, 9, objective.data(), rowLower.data(), rowUpper.data(),
                              colLower.data(), colUpper.data(), rows.data(), cols.data(), values.data()),
              0);
    const double demand[3][3] = {{0, 0, 0}, {5, 0, 1}, {1, 0, 6}}, weight[3] = {0.5, 0.3, 0.2};
    const int ancestor[3] = {0, 0, 2}, stage[3] = {2, 2, 3};
    for (int s = 0; s < 3; ++s) {
      double lower[3] = {demand[s][0], demand[s][1], demand[s][2]};
      if (stage[s] == 3) lower[0] = 0;  // its second stage is its ancestor's
      EXPECT_EQ(qrts_addScenario(stoch, s + 1, ancestor[s], stage[s], weight[s], 0, 3, 5, 0, nullptr, lower, nullptr, nullptr, nullptr,
                                 nullptr, nullptr, nullptr, 0),
                0);
    }
    EXPECT_GT(qrts_describeFullModel(stoch, 1), 0);
    return stoch;
  }

  static void range(QRTStoch *stoch, double from, double step, double to) {
    QRTModel *model = qrtse_getCurrentModel(stoch);
    qrt_setRslambda(model, from);
    qrt_setRslambdadelta(model, step);
    qrt_setRslambdalim(model, to);
  }

  static int runCore(QRTStoch *stoch, Direction d, int mask, int (*fn)(QRTModel *) = watch) {
    const auto some = [](std::vector<double> &v) { return v.empty() ? nullptr : v.data(); };
    return qrts_solveParametricCoreModel(stoch, some(d.objective), some(d.rowLower), some(d.rowUpper), some(d.colLower),
                                         some(d.colUpper), mask, fn);
  }

  void compareWithSingleSolves(const Direction &d, const std::vector<double> &lambdas) {
    ASSERT_EQ(seen.size(), lambdas.size());
    for (size_t k = 0; k < lambdas.size(); ++k) {
      EXPECT_NEAR(seen[k].lambda, lambdas[k], 1e-12);
      QRTStoch *single = load(d, lambdas[k]);
      ASSERT_EQ(qrts_eitherSimplex(single), 0);
      EXPECT_EQ(seen[k].status, qrts_getStatus(single)) << "at " << lambdas[k];
      EXPECT_EQ(seen[k].fault, "") << "at " << lambdas[k];
      if (seen[k].status == 0) {
        EXPECT_NEAR(seen[k].value, qrts_getRobjvalue(single), 1e-8) << "at " << lambdas[k];
      }
      qrts_deleteStoch(single);
    }
  }

  QRTContext *context = nullptr;
};

const Direction EVERYTHING = {{1, 0.5, -0.25, 0.5, 2}, {1, -0.5, 0.5}, {2, 1, 1}, {0.25, 0.5, 0, 0.25, 0.125}, {1, -1, 3, 0.5, 1}};

// Each mask alone and all sums of them, from a start that is not 0.
TEST_F(Parametric, CoreDirectionsAgreeWithSingleSolves) {
  for (int mask = 1; mask <= 31; ++mask) {
    SCOPED_TRACE("mask " + std::to_string(mask));
    Direction d;
    if (mask & 1) d.objective = EVERYTHING.objective;
    if (mask & 2) d.rowLower = EVERYTHING.rowLower;
    if (mask & 4) d.rowUpper = EVERYTHING.rowUpper;
    if (mask & 8) d.colLower = EVERYTHING.colLower;
    if (mask & 16) d.colUpper = EVERYTHING.colUpper;
    for (double start : {0.0, 0.5}) {
      seen.clear();
      QRTStoch *stoch = load(d, 0);
      range(stoch, start, 0.5, start + 2);
      EXPECT_EQ(runCore(stoch, d, mask), 0);
      compareWithSingleSolves(d, {start, start + 0.5, start + 1, start + 1.5, start + 2});
      EXPECT_EQ(qrt_getRslambda(qrtse_getCurrentModel(stoch)), start);
      EXPECT_EQ(qrts_getStatus(stoch), seen.back().status);
      qrts_deleteStoch(stoch);
    }
  }
}

// The same direction written out over the model by hand: columns 0, 1 of the root, then two for each node of stage 2 and
// one for each of stage 3, in the order of the nodes.
TEST_F(Parametric, ModelDirectionsAreTakenAsTheyStand) {
  Direction d;
  d.objective = {1, 0.5, -0.25, 0.5, 2};
  d.rowLower = {1, 0, 0.5};
  QRTStoch *stoch = load(d, 0);
  QRTModel *model = qrtse_getCurrentModel(stoch);
  const int n = qrt_getInumcols(model), m = qrt_getInumrows(model);
  std::vector<double> objective(size_t(n), 0), rowLower(size_t(m), 0);
  double probability[3] = {0.5, 0.3, 0.2}, values[8];
  for (int s = 1; s <= 3; ++s)
    for (int stage = 1; stage <= 3; ++stage) {
      int at[8];
      const std::vector<std::vector<double>> alongColumns = {{0.5, -0.25}, {1, 0.5}, {2}}, alongRows = {{0}, {1}, {0.5}};
      ASSERT_EQ(qrts_getNodeSolution(stoch, s, stage, 0, values, at), 0);
      for (size_t k = 0; k < alongColumns[size_t(stage - 1)].size(); ++k)
        objective[size_t(at[k])] += probability[s - 1] * alongColumns[size_t(stage - 1)][k];
      ASSERT_EQ(qrts_getNodeSolution(stoch, s, stage, 1, values, at), 0);
      rowLower[size_t(at[0])] = alongRows[size_t(stage - 1)][0];
    }
  range(stoch, 0, 0.25, 1);
  EXPECT_EQ(qrtse_solveParametricModel(stoch, objective.data(), rowLower.data(), nullptr, nullptr, nullptr, 3, watch), 0);
  compareWithSingleSolves(d, {0, 0.25, 0.5, 0.75, 1});
  qrts_deleteStoch(stoch);
}

// Statuses along the way end nothing: feasible again after infeasible, bounded again after unbounded.
TEST_F(Parametric, RunsThroughInfeasibleAndUnboundedStretches) {
  Direction tight;
  tight.colUpper = {0, 0, 0, 0, 0};
  tight.rowUpper = {0, -4, 0};  // x1 + x2 <= 6 - 4 lambda: none from 1.5 on
  Direction paid;
  paid.objective = {0, 0, 0, -3, -3};  // z earns from lambda 4/3 on, without end
  for (const Direction &d : {tight, paid}) {
    seen.clear();
    QRTStoch *stoch = load(d, 0);
    range(stoch, 0, 1, 3);
    EXPECT_EQ(runCore(stoch, d, d.objective.empty() ? 4 : 1), 0);
    compareWithSingleSolves(d, {0, 1, 2, 3});
    EXPECT_EQ(seen[3].status, d.objective.empty() ? 1 : 2);
    // Back again on the same model: its rim stayed at 3, so that 3 steps down come to where it began.
    const double first = seen[0].value;
    seen.clear();
    stopAfter = 4;
    range(stoch, 0, -1, 0);
    EXPECT_EQ(runCore(stoch, d, d.objective.empty() ? 4 : 1), 7);
    ASSERT_EQ(seen.size(), 4u);
    EXPECT_EQ(seen[3].status, 0);
    EXPECT_NEAR(seen[3].value, first, 1e-8);
    stopAfter = std::numeric_limits<int>::max();
    qrts_deleteStoch(stoch);
  }
}

TEST_F(Parametric, EndsOfTheRange) {
  Direction d;
  d.rowLower = {1, 0, 0};
  const auto solves = [&](double from, double step, double to) {
    seen.clear();
    QRTStoch *stoch = load(d, 0);
    range(stoch, from, step, to);
    EXPECT_EQ(runCore(stoch, d, 2), 0);
    qrts_deleteStoch(stoch);
    return seen.size();
  };
  EXPECT_EQ(solves(0, 0.1, 0.3), 4u);    // sums of 0.1 do not meet 0.3
  EXPECT_EQ(solves(0, 0.1, 1.0), 11u);
  EXPECT_EQ(solves(0, 0.3, 1.0), 4u);    // 0, 0.3, 0.6, 0.9
  EXPECT_EQ(solves(0.5, 0.5, 0.9), 1u);
  EXPECT_EQ(solves(2, 0.5, 1), 1u);
  EXPECT_NEAR(seen[0].lambda, 2, 0);
}

TEST_F(Parametric, Refusals) {
  Direction d;
  d.rowLower = {1, 0, 0};
  QRTStoch *stoch = load(d, 0);
  const double before = qrt_rowlower(qrtse_getCurrentModel(stoch))[1];
  const auto text = [&](const std::function<int()> &call, int code) {
    testing::internal::CaptureStdout();
    EXPECT_EQ(call(), code);
    return testing::internal::GetCapturedStdout();
  };
  range(stoch, 0.5, 0.5, 2);
  const struct { int mask; const char *core, *whole; } nulls[] = {{1, "cdelta[]", "parobj"}, {8, "lcdelta[]", "parcollower"},
      {16, "ucdelta[]", "parcolupper"}, {2, "lrdelta[]", "parrowlower"}, {4, "urdelta[]", "parrowupper"}, {31, "cdelta[]", "parobj"},
      {22, "ucdelta[]", "parcolupper"}};
  for (const auto &c : nulls) {
    EXPECT_EQ(text([&] { return runCore(stoch, {}, c.mask); }, 2), std::string("\n ERROR ! ") + c.core + " vector is NULL.\n");
    EXPECT_EQ(text([&] { return qrtse_solveParametricModel(stoch, nullptr, nullptr, nullptr, nullptr, nullptr, c.mask, watch); }, 2),
              std::string("\n ERROR ! ") + c.whole + " vector is NULL.\n");
  }
  EXPECT_EQ(text([&] { return runCore(stoch, d, 0); }, 0), "");
  EXPECT_NE(text([&] { return runCore(stoch, d, 32); }, 2).find("mask"), std::string::npos);
  for (double step : {0.0, -0.5, 1e-20}) {
    range(stoch, 0.5, step, 2);
    EXPECT_NE(text([&] { return runCore(stoch, d, 2, nullptr); }, 2).find("Rslambdadelta"), std::string::npos);
  }
  EXPECT_EQ(qrt_rowlower(qrtse_getCurrentModel(stoch))[1], before);
  EXPECT_TRUE(seen.empty());
  // Without a function each solve says its lambda and status.
  range(stoch, 0, 0.5, 0.5);
  EXPECT_EQ(text([&] { return runCore(stoch, d, 2, nullptr); }, 0),
            "\n ****(NULL function poniter) lambda = 0.000000, IPROBSTAT = 0\n"
            "\n ****(NULL function poniter) lambda = 0.500000, IPROBSTAT = 0\n");
  // A step of 0 with a function is the function's to end.
  stopAfter = 3;
  range(stoch, 0, 0, 1);
  EXPECT_EQ(runCore(stoch, d, 2), 7);
  EXPECT_EQ(seen.size(), 3u);
  qrts_deleteStoch(stoch);
}

// Nothing described, and described but not loaded: the run sees to it.
TEST_F(Parametric, DescribesAndLoadsWhatIsMissing) {
  Direction d;
  d.rowLower = {1, 0, 0};
  double value[3];
  for (int way = 0; way < 3; ++way) {
    seen.clear();
    stopAfter = 1;
    QRTStoch *stoch = load(d, 0);
    if (way == 1) qrts_describeFullModel(stoch, 0);
    if (way == 2) {
      QRTStoch *fresh = qrts_newStoch(context, "copy", 3);
      EXPECT_EQ(qrts_writeNativeData(stoch, "parametric.tmp"), 0);
      EXPECT_EQ(qrts_readNativeData(fresh, "parametric.tmp"), 0);
      std::remove("parametric.tmp");
      qrts_deleteStoch(stoch);
      stoch = fresh;
    }
    EXPECT_EQ(runCore(stoch, d, 2), 7);
    ASSERT_EQ(seen.size(), 1u);
    EXPECT_EQ(seen[0].status, 0);
    value[way] = seen[0].value;
    qrts_deleteStoch(stoch);
  }
  EXPECT_DOUBLE_EQ(value[1], value[0]);
  EXPECT_NEAR(value[2], value[0], 1e-9);
}

}  // namespace
