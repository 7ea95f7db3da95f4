// Idiot crash: points that are nearly feasible, and ways from them to the optimum that save iterations.
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <functional>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "certificate_model.h"
#include "prep/idiot.h"
#include "support/published_lp.h"

namespace {

struct Idiot : ::testing::Test {
  static QRTContext *context;
  static void SetUpTestSuite() {
    context = qrt_initializeContext();
    qrt_messagesPrintOff(qrt_baseModel(context), 1, 9000);
  }
  static void TearDownTestSuite() { qrt_endContext(context); }

  // What the call leaves on stdout: messages and plain lines.
  static std::string said(const std::function<void()> &call) {
    testing::internal::CaptureStdout();
    call();
    return testing::internal::GetCapturedStdout();
  }
  static int times(const std::string &text, const std::string &what) {
    int count = 0;
    for (size_t at = text.find(what); at != std::string::npos; at = text.find(what, at + 1)) count++;
    return count;
  }
};
QRTContext *Idiot::context = nullptr;

// A transport problem, sources by destinations, whose duals are all of moderate size.
QRTModel *transport(QRTContext *context, int sources, int destinations, bool ranges, double sense) {
  const int m = sources + destinations, n = sources * destinations;
  std::vector<double> lower(static_cast<size_t>(m)), upper(static_cast<size_t>(m)), cost(static_cast<size_t>(n)), ones(2 * size_t(n), 1.0);
  for (int i = 0; i < sources; i++) {
    lower[size_t(i)] = ranges ? 0 : destinations;
    upper[size_t(i)] = destinations;
  }
  for (int k = 0; k < destinations; k++) lower[size_t(sources + k)] = upper[size_t(sources + k)] = ranges ? 0.6 * sources : sources;
  std::vector<int> rows, starts(1, 0);
  for (int i = 0; i < sources; i++)
    for (int k = 0; k < destinations; k++) {
      cost[size_t(i * destinations + k)] = sense * (1 + (i * 7 + k * 11) % 13);
      rows.insert(rows.end(), {i, sources + k});
      starts.push_back(int(rows.size()));
    }
  QRTModel *q = qrt_newModel(context, "transport");
  EXPECT_EQ(0, qrt_loadRimModel(q, m, lower.data(), upper.data(), n, cost.data(), nullptr, nullptr));
  EXPECT_EQ(0, qrt_addColumnElementBlock(q, n, rows.data(), starts.data(), ones.data()));
  if (sense < 0) qrt_setMaximize(q);
  return q;
}

// Fault: a sign lost for rows with ranges or a maximised objective, scale factors the wrong way round, values outside
// bounds, activities that are not those of the values, duals of the wrong sign, bounds or costs that stay changed.
TEST_F(Idiot, PointIsNearlyFeasibleAndNearlyOptimal) {
  for (const bool ranges : {false, true})
    for (const double sense : {1.0, -1.0})
      for (const bool scaled : {false, true}) {
        QRTModel *q = transport(context, 12, 15, ranges, sense), *exact = transport(context, 12, 15, ranges, sense);
        ASSERT_EQ(0, qrt_primalSimplex(exact, 1));
        const double optimum = qrt_getRobjvalue(exact);
        if (scaled) qrt_scale(q);
        qrt_idiotInfo(q)->mu = 0;
        qrt_idiotInfo(q)->majorIterations = 3;
        said([&] { ASSERT_EQ(0, qrt_idiot(q)); });
        EXPECT_NEAR(qrt_getRobjvalue(q), optimum, 0.05 * std::fabs(optimum)) << ranges << sense << scaled;
        EXPECT_LT(qrt_getRsumpinf(q), 0.5);
        EXPECT_GT(qrt_getIiternum(q), 0);
        EXPECT_EQ(3, qrt_getIprobstat(q));
        const Certificate c = certifyModel(q);
        EXPECT_LT(c.primalResidual, 1e-9);
        EXPECT_LT(c.dualResidual, 1e-6);
        for (int j = 0; j < 180; j++) ASSERT_GE(qrt_colsol(q)[j], 0.0);
        EXPECT_EQ(0, qrt_getNumberBasicColumns(q));
        for (int mode = 0; mode <= 3; mode++) {
          said([&] { ASSERT_EQ(0, qrt_idiotCrossOver(q, mode)); });
          EXPECT_EQ("", firstFault(certifyModel(q)));
          EXPECT_NEAR(optimum, qrt_getRobjvalue(q), 1e-7 * std::fabs(optimum));
        }
        for (int j = 0; j < 180; j++) ASSERT_TRUE(qrt_collower(q)[j] == 0.0 && qrt_colupper(q)[j] == 1e31 && qrt_objective(q)[j] == qrt_objective(exact)[j]);
        qrt_deleteModel(q);
        qrt_deleteModel(exact);
      }
}

// Fault: rows without bounds that pull, costed slacks unnoticed, a short line in the long form, an offset told each round,
// another start than the one asked for, Imajorits without effect, a missing matrix that ends the process.
TEST_F(Idiot, OptionsAndWords) {
  // min x0 + x1, x0 + s0 = 3, x1 + s1 = 2, and a row without bounds: slack columns of no cost behind.
  QRTModel *q = qrt_newModel(context, "slacks");
  qrt_messagesPrintOn(q, 501, 510);
  qrt_setCompressOff(q);  // it would take the row without bounds away
  const double lower[] = {3, 2, -1e31}, upper[] = {3, 2, 1e31}, cost[] = {1, 1, 0, 0, 0};
  const int rows[] = {0, 2, 1, 2, 0, 1, 2}, starts[] = {0, 2, 4, 5, 6, 7};
  const double elements[] = {1, 50, 1, -50, 1, 1, 1};
  ASSERT_EQ(0, qrt_loadRimModel(q, 3, lower, upper, 5, cost, nullptr, nullptr));
  EXPECT_EQ(1, qrt_idiot(q));  // no matrix
  ASSERT_EQ(0, qrt_addColumnElementBlock(q, 5, rows, starts, elements));
  qrt_setRobjectiveOffset(q, 7);
  qrt_idiotInfo(q)->mu = 0;
  std::string text = said([&] { ASSERT_EQ(0, qrt_idiot(q)); });
  EXPECT_EQ(1, times(text, "** Objective offset is 7"));
  EXPECT_NEAR(-7.0, qrt_getRobjvalue(q), 1e-2);
  EXPECT_NE(std::string::npos, text.find("Iteration 1 - mu 5, drop 50, dj test 0.1, "));
  EXPECT_NE(std::string::npos, text.find("Final infeas"));
  EXPECT_EQ(0, times(text, "costed slacks"));  // the last of them is in a row without bounds
  qrt_setRobjectiveOffset(q, 0);
  const double two[] = {2, 2, 2};
  qrt_copyRowlower(q, two, 0, 3);
  qrt_initializeIdiot(q);
  qrt_idiotInfo(q)->logging = 0;
  qrt_setImajorits(q, 2);
  text = said([&] { ASSERT_EQ(0, qrt_idiot(q)); });
  EXPECT_EQ(0, times(text, "Objective offset"));
  EXPECT_EQ(1, times(text, "This model has costed slacks"));
  EXPECT_NE(std::string::npos, text.find("1 - mu 0.0001, infeasibility "));
  EXPECT_EQ(1, times(text, "Exiting due to imajorits"));
  EXPECT_EQ(0, times(text, "3 - mu"));
  // From the optimum a round has nothing to do.
  const double optimum[] = {0, 0, 3, 2, 2};
  qrt_copyColsol(q, optimum, 0, 5);
  qrt_idiotInfo(q)->strategy = IDIOT_FROM_SOLUTION;
  text = said([&] { ASSERT_EQ(0, qrt_idiot(q)); });
  EXPECT_NE(std::string::npos, text.find("Exiting on low dj 0 after 1 iterations"));
  qrt_deleteModel(q);
}

// Fault: a row with two huge bounds that is taken on as an equation of no sense.
TEST_F(Idiot, RowWithHugeBoundsOnlyEndsTheProcess) {
  const auto run = [] {
    QRTModel *q = qrt_newModel(context, "huge");
    const double lower[] = {-1e12}, upper[] = {1e15};
    qrt_loadRimModel(q, 1, lower, upper, 1, nullptr, nullptr, nullptr);
    const int row[] = {0}, starts[] = {0, 1};
    const double one[] = {1};
    qrt_addColumnElementBlock(q, 1, row, starts, one);
    qrt_idiot(q);
    std::_Exit(77);
  };
  EXPECT_EXIT(run(), testing::ExitedWithCode(0), "");
}

constexpr int ALONE = -1;

// Fault: a wrong outcome from the point of the crash (alone, by crossover, by a strategy of the meta driver), costs or
// controls that stay changed; and on the whole, a crash that costs iterations instead of saving them.
TEST_F(Idiot, PublishedModelsAreSolvedWithFewerIterations) {
  const std::vector<PublishedLp> models = publishedLps();
  if (models.empty()) GTEST_SKIP() << "no published models";
  double saved = 0;
  int count = 0;
  for (const PublishedLp &p : models) {
    if (!p.wanted(350)) continue;
    QRTModel *cold = p.read(context);
    ASSERT_EQ(0, qrt_primalSimplex(cold, 1));
    // Alone, and every strategy of the meta driver with presolve (bit 64: by a file) and some without (256).
    for (const int way : {ALONE, 0, 1, 2, 3, 4, 5, 6, 7, 8, 9, 2 + 64, 3 + 256, 5 + 256, 9 + 256}) {
      SCOPED_TRACE(p.name + (way == ALONE ? " alone" : " options " + std::to_string(way)));
      QRTModel *q = p.read(context);
      qrt_setImaxiterb(q, 60);
      said([&] {
        if (way == ALONE) {
          ASSERT_EQ(0, qrt_idiot(q));
          ASSERT_EQ(0, qrt_primalSimplex(q, 3));
        } else {
          ASSERT_EQ(0, qrt_simplex(q, way));
        }
      });
      EXPECT_EQ(qrt_getIprobstat(cold), qrt_getIprobstat(q));
      EXPECT_EQ("", firstFault(certifyModel(q), 1e-6));
      EXPECT_EQ(30, qrt_getImajorits(q));
      EXPECT_EQ(qrt_getRpweight(cold), qrt_getRpweight(q));
      EXPECT_EQ(0.0, qrt_getRprimalPerturbation(q));
      ASSERT_EQ(qrt_getInumcols(cold), qrt_getInumcols(q));
      for (int j = 0; j < qrt_getInumcols(q); j++) ASSERT_EQ(qrt_objective(cold)[j], qrt_objective(q)[j]);
      if (!p.infeasible) {
        EXPECT_NEAR(p.optimum, qrt_getRobjvalue(q), 1e-6 * std::fmax(1.0, std::fabs(p.optimum)));
        if (way == 3 + 256) saved += std::log((qrt_getIiternum(q) + 1.0) / (qrt_getIiternum(cold) + 1.0));
        count += way == 3 + 256;
      }
      qrt_deleteModel(q);
    }
    qrt_deleteModel(cold);
  }
  std::remove("/tmp/save.fil");  // what bit 64 keeps
  printf("strategy 3: iterations %.2f times those from all slacks in the geometric mean of %d models\n", std::exp(saved / count), count);
  EXPECT_LT(saved, 0.0);
}

}  // namespace
