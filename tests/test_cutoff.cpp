// Cutoffs: the dual stops once no feasible point can be better, the primal once it has one that is good enough. Faults they
// would catch: a cutoff that ends a run although the optimum is better, one that is lost when costs are shifted, the sense of a
// maximisation, a stop that is told as an infeasibility or leaves duals that do not tell why.
#include <cmath>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "certificate_model.h"
#include "qrt_c_api.h"
#include "support/planted_lp.h"
#include "support/quiet_models.h"

namespace {

constexpr unsigned KINDS = PLANT_DUPLICATE_COLUMNS | PLANT_SLACKS | PLANT_DOUBLETONS;

struct Cutoff : QuietModels<unsigned> {
  PlantedLp problem;
  void SetUp() override { problem = plantedLp(GetParam(), 80, 150, KINDS, 6); }
  QRTModel *load(bool maximise, double perturbation) {
    PlantedLp p = problem;
    if (maximise)
      for (double &c : p.cost) c = -c;
    QRTModel *q = keep(p.load(context));
    if (maximise) qrt_setMaximize(q);
    qrt_setRdualPerturbation(q, perturbation);
    return q;
  }
  double below(double share) const { return problem.optimum - share * (1.0 + std::fabs(problem.optimum)); }
};

// What the duals in the model prove about the minimised objective of every feasible point.
double boundByDuals(QRTModel *q) {
  double sum = 0.0;
  auto add = [&sum](double d, double low, double up) {
    const double bound = d > 0.0 ? low : up;
    if (std::fabs(bound) < 1e20) sum += d * bound;
    else EXPECT_NEAR(0.0, d, 1e-6);
  };
  for (int i = 0; i < qrt_getInumrows(q); i++) add(qrt_rowduals(q)[i], qrt_rowlower(q)[i], qrt_rowupper(q)[i]);
  for (int j = 0; j < qrt_getInumcols(q); j++) add(qrt_colrcosts(q)[j], qrt_collower(q)[j], qrt_colupper(q)[j]);
  return sum;
}

TEST_P(Cutoff, TheDualStopsWhereNothingBetterIsLeft) {
  for (const bool maximise : {false, true})
    for (const double perturbation : {0.0, -1.0e-7, -1.0e-5}) {
      SCOPED_TRACE((maximise ? "maximise " : "minimise ") + std::to_string(perturbation));
      QRTModel *q = load(maximise, perturbation);
      ASSERT_EQ(0, qrt_dualSimplex(q, 1));
      ASSERT_EQ(0, qrt_getIprobstat(q));
      const int whole = qrt_getIiternum(q);
      for (const double share : {0.5, 1.0e-2, 1.0e-4, -1.0e-6, -0.1}) {
        SCOPED_TRACE("share " + std::to_string(share));
        QRTModel *cut = load(maximise, perturbation);
        qrt_setRbbcutoff(cut, below(share));
        ASSERT_EQ(0, qrt_dualSimplex(cut, 1));
        if (share > 0.0) {
          EXPECT_EQ(1, qrt_getIprobstat(cut));
          EXPECT_EQ(11, qrt_getIprobstat2(cut));
          EXPECT_LE(qrt_getIiternum(cut), whole + 10);
          if (share == 0.5 && perturbation == 0.0) { EXPECT_LT(qrt_getIiternum(cut), whole); }
          if (perturbation == 0.0) { EXPECT_GE(boundByDuals(cut), below(share) - 1e-6 * (1.0 + std::fabs(below(share)))); }
        } else {
          EXPECT_EQ(0, qrt_getIprobstat(cut));
          EXPECT_EQ(0, qrt_getIprobstat2(cut));
          EXPECT_NEAR((maximise ? -1 : 1) * problem.optimum, qrt_getRobjvalue(cut), 1e-7 * (1.0 + std::fabs(problem.optimum)));
          EXPECT_EQ("", firstFault(certifyModel(cut), 1e-7));
        }
        // Without it the run goes on to the optimum.
        qrt_setRbbcutoff(cut, 1.0e31);
        ASSERT_EQ(0, qrt_dualSimplex(cut, 1));
        EXPECT_EQ(0, qrt_getIprobstat(cut));
        EXPECT_EQ("", firstFault(certifyModel(cut), 1e-7));
      }
    }
}

// An infeasible problem is told as such, by its proof, when the cutoff is not reached first.
TEST_P(Cutoff, InfeasibleIsNoCutoff) {
  for (size_t j = 0; j < problem.cost.size(); j++) {
    problem.lower[j] = std::fmax(problem.lower[j], -10.0);
    problem.upper[j] = std::fmin(problem.upper[j], problem.lower[j] + 10.0);
  }
  problem.rowLower[0] = problem.rowUpper[0] = 1.0e6;
  QRTModel *q = load(false, 0.0);
  qrt_setRbbcutoff(q, 1.0e15);
  ASSERT_EQ(0, qrt_dualSimplex(q, 1));
  EXPECT_EQ(1, qrt_getIprobstat(q));
  EXPECT_EQ(3, qrt_getIprobstat2(q));
  EXPECT_EQ("", firstFault(certifyModel(q), 1e-6));
}

TEST_P(Cutoff, ThePrimalStopsWhereItIsGoodEnough) {
  for (const bool maximise : {false, true}) {
    QRTModel *q = load(maximise, 0.0);
    const double enough = below(-0.5);
    qrt_setRdccutoff(q, enough);
    ASSERT_EQ(0, qrt_primalSimplex(q, 1));
    EXPECT_EQ(3, qrt_getIprobstat(q));
    EXPECT_EQ(0, qrt_getInumpinf(q));
    const double minimised = (maximise ? -1 : 1) * qrt_getRobjvalue(q);
    EXPECT_LT(minimised, enough);
    EXPECT_GT(minimised, problem.optimum);
    qrt_setRdccutoff(q, below(1.0));
    ASSERT_EQ(0, qrt_primalSimplex(q, 1));
    EXPECT_EQ(0, qrt_getIprobstat(q));
  }
}

INSTANTIATE_TEST_SUITE_P(Seeds, Cutoff, ::testing::Values(1u, 2u, 3u, 4u, 5u, 6u));

}  // namespace
