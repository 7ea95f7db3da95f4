// Faults these tests would catch: cuts that cut off the optimum or cut nothing (in either sense of the program), a ray
// taken for unboundedness too early or never, empty first answers, values or duals gathered from the wrong place, a gap
// of one run taken as the tolerance of the next.
//
// Every program is small enough to solve by hand; the reasoning stands beside its optimum.
#include <gtest/gtest.h>

#include <cmath>
#include <cstdio>
#include <string>
#include <vector>

#include "decomp/scn_benders.h"
#include "decomp/scn_solving.h"
#include "include/qrts_c_api.h"
#include "support/hand_programs.h"

namespace {

using hand::demand, hand::NONE, hand::Program;

class Benders : public testing::Test {
 protected:
  void SetUp() override {
    context = qrts_initializeContext();
    ASSERT_NE(context, nullptr);
    qrt_messagesPrintOff(qrt_baseModel(context), 1, 6999);
  }
  void TearDown() override { qrts_endContext(context); }

  QRTStoch *load(const Program &p, bool maximize = false) { return hand::load(context, p, maximize); }

  static double firstStage(QRTStoch *stoch, int column) {
    double values[8];
    int indices[8];
    EXPECT_EQ(qrts_getNodeSolution(stoch, 1, 1, 0, values, indices), 0);
    return values[column];
  }

  // Both senses, with and without large bounds: the optimum, the first column, and the scenarios' mean.
  void expectOptimum(const Program &p, double optimum, double x, int cut = 2) {
    for (const bool maximize : {false, true})
      for (const bool large : {false, true}) {
        QRTStoch *stoch = load(p, maximize);
        qrts_setCutPeriod(stoch, cut);
        if (large) qrts_setLargeBoundsOn(stoch);
        const double sense = maximize ? -1 : 1;
        ASSERT_EQ(qrts_bendersLSolve(stoch, 0), 0);
        ASSERT_EQ(qrts_getStatus(stoch), 0) << "maximize " << maximize << " large " << large;
        EXPECT_NEAR(qrts_getRobjvalue(stoch), sense * optimum, 1e-7) << "maximize " << maximize << " large " << large;
        if (p.colStage[0] == 1) {
          EXPECT_NEAR(firstStage(stoch, 0), x, 1e-7);
        }
        int ids[8];
        double probabilities[8], values[8], mean, deviation;
        ASSERT_EQ(qrts_getScenarioDistribution(stoch, qrts_getNumScenarios(stoch), ids, probabilities, values, &mean, &deviation), 0);
        EXPECT_NEAR(mean, sense * optimum, 1e-7);
        EXPECT_EQ(qrts_getNsubmodels(stoch), 0);
        qrts_deleteStoch(stoch);
      }
  }

  void expectStatus(const Program &p, int status, int cut) {
    for (const bool maximize : {false, true})
      for (const bool large : {false, true}) {
        QRTStoch *stoch = load(p, maximize);
        qrts_setCutPeriod(stoch, cut);
        if (large) qrts_setLargeBoundsOn(stoch);
        EXPECT_EQ(qrts_bendersLSolve(stoch, 0), 0);
        EXPECT_EQ(qrts_getStatus(stoch), status) << "maximize " << maximize << " large " << large;
        qrts_deleteStoch(stoch);
      }
  }

  QRTContext *context = nullptr;
};

TEST_F(Benders, HardCasesAtEveryCut) {
  for (const hand::Case &known : hand::cases()) {
    SCOPED_TRACE(known.name);
    for (int cut = 2; cut <= known.program.stages; ++cut)
      if (known.outcome == hand::OPTIMAL) expectOptimum(known.program, known.optimum, known.x, cut);
      else expectStatus(known.program, known.outcome, cut);
  }
}

TEST_F(Benders, OneScenarioOnly) {
  const Program p = demand(2, 1, 3, NONE, {{1, 4}});  // y = 3, x = 1
  QRTStoch *stoch = load(p);
  EXPECT_EQ(qrts_bendersLSolve(stoch, 0), 1);
  EXPECT_EQ(qrts_getStatus(stoch), 3);
  qrts_setFinalSimplexSolverOn(stoch);
  qrts_bendersLSolve(stoch, 0);
  EXPECT_EQ(qrts_getStatus(stoch), 0);
  EXPECT_NEAR(qrts_getRobjvalue(stoch), 5, 1e-7);
  qrts_deleteStoch(stoch);
}

TEST_F(Benders, GatheredDualsAreThoseOfADirectSolve) {
  // x rests on its bound, no demand meets it: the duals are unique.
  const Program p = demand(1, 9, NONE, 3, {{1, 6}, {3, 2.5}, {2, 2}});
  for (const bool maximize : {false, true}) {
    double dual[2][3], cost[2][3], none[3];
    int index[3];
    for (const bool direct : {false, true}) {
      QRTStoch *stoch = load(p, maximize);
      if (direct) qrts_eitherSimplex(stoch);
      else qrts_bendersLSolve(stoch, 0);
      ASSERT_EQ(qrts_getStatus(stoch), 0);
      for (int s = 1; s <= 3; ++s) {
        qrts_getNodeDualSolution(stoch, s, 2, 1, none, index);
        dual[direct][s - 1] = none[0];
        qrts_getNodeDualSolution(stoch, s, 2, 0, none, index);
        cost[direct][s - 1] = none[0];
      }
      qrts_deleteStoch(stoch);
    }
    for (int s = 0; s < 3; ++s) {
      EXPECT_NEAR(dual[0][s], dual[1][s], 1e-7) << s;
      EXPECT_NEAR(cost[0][s], cost[1][s], 1e-7) << s;
    }
  }
}

TEST_F(Benders, LimitGapAndHotStart) {
  const Program p = demand(1, 3, NONE, NONE, {{1, 6}, {3, 2}, {2, 4}});
  QRTStoch *stoch = load(p);
  qrts_setMaxiter(stoch, 1);
  EXPECT_EQ(qrts_bendersLSolve(stoch, 0), 0);
  EXPECT_EQ(qrts_getStatus(stoch), 3);
  EXPECT_EQ(qrts_getRobjvalue(stoch), 0.0);
  qrts_setMaxiter(stoch, 100);
  qrts_bendersLSolve(stoch, 0);
  ASSERT_EQ(qrts_getStatus(stoch), 0);
  const double optimum = qrts_getRobjvalue(stoch);
  EXPECT_LT(qrts_getRelOptimalityGap(stoch), 1e-8);  // the gap reached, which must not be the next run's tolerance
  for (int mode : {0, 1}) {
    qrts_bendersLSolve(stoch, mode);
    EXPECT_EQ(qrts_getStatus(stoch), 0);
    EXPECT_NEAR(qrts_getRobjvalue(stoch), optimum, 1e-9);
  }
  qrts_setFinalSimplexSolverOn(stoch);
  qrts_bendersLSolve(stoch, 0);
  EXPECT_NEAR(qrts_getRobjvalue(stoch), optimum, 1e-9);
  qrts_deleteStoch(stoch);
}

int solvesSeen, gapsSeen, cyclesSeen;
double lastLower, lastUpper;
int countSolve(void *, void *solves) { return solvesSeen = *static_cast<int *>(solves); }
int countGap(void *, void *) { return ++gapsSeen; }
int watch(const QRTSCycle *cycle, void *stopAt) {
  cyclesSeen = cycle->cycle;
  EXPECT_GE(cycle->lower, lastLower);
  lastLower = cycle->lower;
  lastUpper = cycle->upper;
  return cycle->cycle == *static_cast<int *>(stopAt);
}

TEST_F(Benders, ExitsAndCycleNews) {
  int solve = 11, gap = 12, other = 14, never = 0, second = 2;
  EXPECT_EQ(qrts_rgcb(&other, countSolve), 14);
  qrts_rgcb(&solve, countSolve);
  qrts_rgcb(&gap, countGap);
  solvesSeen = gapsSeen = 0;
  for (int *stop : {&never, &second}) {
    lastLower = -NONE;
    QRTStoch *stoch = load(demand(1, 3, NONE, NONE, {{1, 6}, {3, 2}, {2, 4}, {1, 5}}));
    qrts_setCycleCallBack(stoch, watch, stop);
    EXPECT_EQ(qrts_bendersLSolve(stoch, 0), 0);
    EXPECT_EQ(qrts_getStatus(stoch), *stop ? 3 : 0);
    if (*stop) {
      EXPECT_EQ(cyclesSeen, 2);
    } else {
      EXPECT_NEAR(lastLower, qrts_getRobjvalue(stoch), 1e-9);
      EXPECT_NEAR(lastUpper, qrts_getRobjvalue(stoch), 1e-9);
      EXPECT_EQ(solvesSeen, 3 * cyclesSeen);  // three models beside the master
      EXPECT_GE(gapsSeen, cyclesSeen);
    }
    qrts_deleteStoch(stoch);
  }
  qrts_clcb(&solve);
  qrts_clcb(&gap);
}

double sumOfRow(QRTModel *model, int row) {
  QRTVector *const v = qrt_getRow(model, row);
  double sum = 0;
  for (int k = 0; k < v->count; ++k) sum += v->elements[k];
  qrt_freeVector(v);
  return sum;
}

TEST_F(Benders, ASubproblemThatDoesNotSolveIsWrittenOut) {
  const std::string file = testing::TempDir() + "failing.state", model = file + ".sub2.mps";
  Program p = demand(1, 0.5, NONE, NONE, {{1, 3}, {1, -1}});
  constexpr int ROWS = 5;
  p.rowStage.assign(ROWS, 2);
  p.rowLower.assign(ROWS, 0);
  p.rowUpper.assign(ROWS, NONE);
  p.elements.clear();
  for (int i = 1; i <= ROWS; ++i) {
    p.elements.push_back({i, 1, 1});
    p.elements.push_back({i, i + 1, 100});
    if (i == 1) continue;
    p.colStage.push_back(2);
    p.objective.push_back(0.5);
    p.colLower.push_back(0);
    p.colUpper.push_back(NONE);
  }
  for (hand::Scenario &s : p.scenarios) s.rowLower.assign(ROWS, s.rowLower[0]);
  for (const bool scaled : {false, true}) {
    QRTStoch *stoch = load(p);
    if (scaled) qrts_setScaleOn(stoch);
    qrt_setImaxiter(qrtse_getBaseModel(stoch), 3);  // enough for the master, whose scenario asks for nothing
    qrts_setSaveState(stoch, file.c_str(), 1);
    EXPECT_EQ(qrts_bendersLSolve(stoch, 0), 1);
    EXPECT_EQ(std::remove(file.c_str()), 0);
    QRTModel *read = qrt_newModel(context, "");
    qrt_messagesPrintOff(read, 1, 6999);
    ASSERT_EQ(qrt_importModel(read, model.c_str()), 0);
    EXPECT_EQ(qrt_getInumrows(read), ROWS);
    EXPECT_EQ(qrt_getInumcols(read), ROWS + 1);
    EXPECT_EQ(qrt_rowlower(read)[0], 3);
    for (int i = 0; i < ROWS; ++i) EXPECT_DOUBLE_EQ(sumOfRow(read, i), 101);
    std::remove(model.c_str());
    qrts_deleteStoch(stoch);
  }
}

TEST_F(Benders, TheWholeComesWhenSomebodyLooks) {
  const Program p = demand(1, 3, NONE, NONE, {{1, 6}, {3, 2}, {2, 4}});
  for (const bool look : {false, true}) {
    QRTStoch *stoch = load(p);
    EXPECT_EQ(qrts_bendersLSolve(stoch, 0), 0);
    EXPECT_EQ(stoch->smodel, nullptr);
    if (look) {
      EXPECT_NEAR(firstStage(stoch, 0), 4, 1e-7);  // 1 of 6 above: a unit costs 1 and saves 3/6
      ASSERT_NE(stoch->smodel, nullptr);
      EXPECT_GT(qrt_getInumels(qrtse_getCurrentModel(stoch)), 0);
      // A scenario added now does not disturb what was found.
      const double more[] = {9};
      EXPECT_EQ(qrts_addScenario(stoch, 4, 0, 2, 1, 0, 1, 2, 0, nullptr, more, nullptr, nullptr, nullptr, nullptr, nullptr, nullptr, 0), 0);
      EXPECT_NEAR(firstStage(stoch, 0), 4, 1e-7);
    }
    qrts_deleteStoch(stoch);
  }
  QRTStoch *left = load(p);  // goes with the context
  EXPECT_EQ(qrts_bendersLSolve(left, 0), 0);
}

TEST_F(Benders, SubmodelsCanBeSeenWhileItRuns) {
  QRTStoch *stoch = load(demand(1, 3, NONE, NONE, {{1, 6}, {3, 2}, {2, 4}}));
  struct Look {
    QRTStoch *stoch;
    int models, rows;
  } look = {stoch, 0, 0};
  qrts_setCycleCallBack(stoch, [](const QRTSCycle *, void *data) {
    Look *l = static_cast<Look *>(data);
    l->models = qrts_getNsubmodels(l->stoch);
    QRTStoch **models = qrts_getSubmodels(l->stoch);
    l->rows = 0;
    for (int i = 0; models && i < l->models; ++i) l->rows += qrt_getInumrows(qrtse_getCurrentModel(models[i]));
    return 0;
  }, &look);
  EXPECT_EQ(qrts_bendersLSolve(stoch, 0), 0);
  EXPECT_EQ(qrts_getStatus(stoch), 0);
  EXPECT_EQ(look.models, 3);
  EXPECT_EQ(look.rows, 3);
  EXPECT_EQ(qrts_getNsubmodels(stoch), 0);
  qrts_deleteStoch(stoch);
}

// max x - 3/4 y, 300 x <= 400 y + 5: x = 4, y = 3 improve for ever. Scaled, what is stored is another matrix.
TEST(Ray, HoldsByMatrixBoundsAndCosts) {
  QRTContext *context = qrts_initializeContext();
  for (const bool scaled : {false, true}) {
    SCOPED_TRACE(scaled);
    QRTModel *model = qrt_newModel(context, "ray");
    qrt_messagesPrintOff(model, 1, 6999);
    const double cost[] = {1, -0.75}, up = 5, value[] = {300, -400};
    const int row[] = {0, 0}, start[] = {0, 1, 2};
    qrt_loadRimModel(model, 1, nullptr, &up, 2, cost, nullptr, nullptr);
    qrt_addColumnElementBlock(model, 2, row, start, value);
    qrt_setMaximize(model);
    if (scaled) qrt_scale(model);
    qrt_primalSimplex(model, 1);
    int outcome = -1;
    EXPECT_EQ(confirmedOutcome(model, &outcome), 0);
    ASSERT_EQ(outcome, 2);
    const auto ray = [&](int j) -> double & { return model->aux[model->Imaxrows + j]; };  // each solve makes it anew
    EXPECT_TRUE(rayHolds(model, -1));
    EXPECT_FALSE(rayHolds(model, 1));  // its cost rises
    ray(0) *= 1.001;                   // leaves the row
    EXPECT_FALSE(rayHolds(model, -1));
    EXPECT_EQ(confirmedOutcome(model, &outcome), 0);
    EXPECT_EQ(outcome, 2);             // another solve found the true one
    EXPECT_NEAR(ray(0) / ray(1), 4.0 / 3.0, 1e-9);
    model->upper[model->Imaxrows] = 9;  // leaves the bound that x has now
    EXPECT_FALSE(rayHolds(model, -1));
    EXPECT_EQ(confirmedOutcome(model, &outcome), 0);
    EXPECT_EQ(outcome, 0);
    qrt_deleteModel(model);
  }
  qrts_endContext(context);
}

TEST(CutArithmetic, TheDualFormHoldsFarOut) {
  // min 2y, y >= 3 - x at x = -1e15: value 2e15 + 6 has lost digits, the dual form has not.
  double zero = 0, none = NONE, three = 3, minus = -NONE;
  const BoundSet bounds = {&zero, &none, &three, &none};
  const double y = 2, d = 0;
  DualBound bound = dualBound(&bounds, 1, 1, &y, 1, &d, 1e-9);
  EXPECT_EQ(bound.value, 6);
  EXPECT_EQ(cutRightHandSide(bound, 2 * -1e15, 2e15 + 5.75, false), -6);
  // Disagreement beyond rounding: the weaker, which is valid whichever of the two is wrong.
  EXPECT_EQ(cutRightHandSide(bound, 2, 7, false), -5);
  EXPECT_EQ(cutRightHandSide(bound, 2, 9, false), -6);
  // A multiplier that wants an infinite bound: only the point can tell, unless it is rounding.
  const BoundSet open = {&minus, &none, &three, &none};
  const double slope = 0.5, noise = 1e-12;
  bound = dualBound(&open, 1, 1, &y, 1, &slope, 1e-9);
  EXPECT_TRUE(bound.needsInfinity);
  EXPECT_EQ(cutRightHandSide(bound, 2, 9, false), -7);
  EXPECT_FALSE(dualBound(&open, 1, 1, &y, 1, &noise, 1e-9).needsInfinity);
}

}  // namespace
