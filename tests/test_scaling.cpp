// Scaling: what the factors do to elements, and that nothing else about a model changes with them.
#include <algorithm>
#include <cmath>
#include <cstdlib>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "certificate_model.h"
#include "model/model_store.h"
#include "support/published_lp.h"

namespace {

struct Scaling : ::testing::Test {
  static QRTContext *context;
  QRTModel *model = nullptr;
  static void SetUpTestSuite() {
    context = qrt_initializeContext();
    qrt_messagesPrintOff(qrt_baseModel(context), 1, 9000);
  }
  static void TearDownTestSuite() { qrt_endContext(context); }
  void SetUp() override { model = qrt_newModel(context, "scaling"); }
  void TearDown() override { qrt_deleteModel(model); }
  // A dense matrix by rows; 0 leaves no element.
  void load(int m, int n, const std::vector<double> &a) {
    std::vector<double> lower(size_t(m), 0.0), upper(size_t(m), 10.0);
    ASSERT_EQ(0, qrt_loadRimModel(model, m, lower.data(), upper.data(), n, nullptr, nullptr, nullptr));
    std::vector<int> rows, columns;
    std::vector<double> values;
    for (int i = 0; i < m; i++)
      for (int j = 0; j < n; j++)
        if (a[size_t(i * n + j)] != 0.0) {
          rows.push_back(i);
          columns.push_back(j);
          values.push_back(a[size_t(i * n + j)]);
        }
    ASSERT_EQ(0, qrt_addElementBlock(model, int(rows.size()), rows.data(), columns.data(), values.data()));
  }
};
QRTContext *Scaling::context = nullptr;

// Fault: factors of well scaled matrices, of free rows and fixed columns, and of elements that do not count.
TEST_F(Scaling, FactorsFollowTheirRules) {
  load(2, 2, {2, 0.5, 1, 3});
  ASSERT_EQ(0, qrt_scale(model));
  EXPECT_DOUBLE_EQ(1.0, qrt_rowscales(model)[0]);  // 1 / sqrt(0.5 * 2)
  EXPECT_DOUBLE_EQ(1 / std::sqrt(3.0), qrt_rowscales(model)[1]);
  EXPECT_EQ(1.0, qrt_colscales(model)[0]);
  EXPECT_EQ(1.0, qrt_colscales(model)[1]);

  qrt_deleteModel(model);
  model = qrt_newModel(context, "mixed");
  load(3, 3, {1e4, 3, 0, 7, 1e-3, 50, 1e6, 2, 1e-5});
  const double none[] = {-1e31}, all[] = {1e31}, one[] = {1.0};
  qrt_copyRowlower(model, none, 2, 3);
  qrt_copyRowupper(model, all, 2, 3);  // row 2 is free
  qrt_copyCollower(model, one, 1, 2);
  qrt_copyColupper(model, one, 1, 2);  // column 1 is fixed
  ASSERT_EQ(0, qrt_scale(model));
  const double *r = qrt_rowscales(model), *c = qrt_colscales(model);
  EXPECT_EQ(1.0, r[2]);
  EXPECT_EQ(1.0, c[1]);
  EXPECT_NE(1.0, r[0]);
  ASSERT_EQ(1, qrt_getInumblocks(model));
  EXPECT_EQ(3, qrt_blockType(model, 0));
  const int *start = qrt_blockColumn(model, 0), *row = qrt_blockRow(model, 0);
  const double *element = qrt_blockElement(model, 0);
  const double a[3][3] = {{1e4, 3, 0}, {7, 1e-3, 50}, {1e6, 2, 1e-5}};
  for (int j = 0; j < 3; j++) {
    double largest = 0.0;
    for (int e = start[j]; e < start[j + 1]; e++) {
      EXPECT_DOUBLE_EQ(a[row[e]][j] * r[row[e]] / c[j], element[e]);
      if (row[e] != 2) largest = std::max(largest, std::fabs(element[e]));
    }
    if (j != 1) { EXPECT_NEAR(1.0, largest, 1e-14); }
  }
}

constexpr int ALREADY_SCALED = 3013;
int lastMessage = 0;
void noteMessage(QRTModel *, int number, int, const double *, int, const int *, int, const char *) { lastMessage = number; }

// Fault: a second scaling that scales again, fails, or says nothing.
TEST_F(Scaling, SecondScalingIsRefusedGently) {
  load(2, 2, {1000, 1, 1, 0.001});
  ASSERT_EQ(0, qrt_scale(model));
  const std::vector<double> r(qrt_rowscales(model), qrt_rowscales(model) + 2);
  const double first = qrt_blockElement(model, 0)[0];
  lastMessage = 0;
  qrt_registerMsguCallBack(model, noteMessage);
  qrt_messageUserExitOn(model, ALREADY_SCALED);
  EXPECT_EQ(0, qrt_scale(model));
  EXPECT_EQ(ALREADY_SCALED, lastMessage);
  EXPECT_EQ(first, qrt_blockElement(model, 0)[0]);
  for (int i = 0; i < 2; i++) EXPECT_EQ(r[size_t(i)], qrt_rowscales(model)[i]);
}

// Fault: edits of a scaled model that miss the factors, or give scaled values back. The same random edits on a scaled
// and on an unscaled model must leave the same matrix.
TEST_F(Scaling, EditsSeeTheCallersUnits) {
  std::vector<double> a(60);
  unsigned seed = 5;
  auto random = [&seed] { return seed = seed * 1103515245u + 12345u, int(seed >> 16 & 0x7fff); };
  for (double &v : a) v = random() % 3 ? std::pow(10.0, random() % 9 - 4) * (random() % 9 + 1) : 0.0;
  load(6, 10, a);
  QRTModel *twin = qrt_newModel(context, "twin");
  qrt_copyModel(twin, model);
  ASSERT_EQ(0, qrt_scale(model));
  for (QRTModel *m : {model, twin}) {
    seed = 77;
    for (int k = 0; k < 12; k++) {
      const int i = random() % qrt_getInumrows(m), j = random() % qrt_getInumcols(m), l = random() % qrt_getInumcols(m);
      const int rows[] = {i, i}, columns[] = {j, l == j ? (j + 1) % qrt_getInumcols(m) : l};
      const int rowPair[] = {i, (i + 1) % qrt_getInumrows(m)};
      const double values[] = {0.25 * k + 1, -3.0e3};
      switch (k % 6) {
        case 0: qrt_addOneRow(m, 0, 1, 2, columns, values); break;
        case 1: qrt_addOneColumn(m, 0, 1, 0, 2, rowPair, values); break;
        case 2: qrt_replaceElements(m, 2, rows, columns, values); break;
        case 3: qrt_replaceRow(m, i, 2, columns, values); break;
        case 4: qrt_replaceColumn(m, j, 2, rowPair, values); break;
        default: qrt_addElementBlock(m, 2, rows, columns, values); break;
      }
    }
    qrt_deleteRows(m, 1, std::vector<int>{2}.data());
    qrt_deleteColumns(m, 1, std::vector<int>{4}.data());
    ASSERT_EQ(nullptr, model_check(m));
  }
  QRTModel *part = qrt_newModel(context, "part");
  const int rows[] = {4, 0, 3}, columns[] = {5, 1, 2, 0};
  qrt_copySubModel(part, model, 3, 4, rows, columns);
  for (int j = 0; j < qrt_getInumcols(twin); j++) {
    QRTVector *got = qrt_getColumn(model, j), *expected = qrt_getColumn(twin, j);
    ASSERT_EQ(expected->count, got->count);
    for (int e = 0; e < got->count; e++) {
      EXPECT_EQ(expected->indices[e], got->indices[e]);
      EXPECT_NEAR(expected->elements[e], got->elements[e], 1e-13 * std::fabs(expected->elements[e]));
    }
    qrt_freeVector(got);
    qrt_freeVector(expected);
  }
  for (int i = 0; i < 3; i++) {
    QRTVector *got = qrt_getRow(part, i), *whole = qrt_getRow(twin, rows[i]);
    for (int e = 0; e < got->count; e++) {
      const int *at = std::find(whole->indices, whole->indices + whole->count, columns[got->indices[e]]);
      ASSERT_NE(whole->indices + whole->count, at);
      EXPECT_NEAR(whole->elements[at - whole->indices], got->elements[e], 1e-13 * std::fabs(got->elements[e]));
    }
    qrt_freeVector(got);
    qrt_freeVector(whole);
  }
  qrt_deleteModel(part);
  qrt_deleteModel(twin);
}

// Fault: a factor applied twice, not at all or the wrong way round to any rim at the solver's seam: answer, duals,
// statuses and proofs of a scaled model are judged in the caller's units, against the published optimum.
TEST_F(Scaling, PublishedModelsKeepTheirAnswers) {
  const std::vector<PublishedLp> models = publishedLps();
  if (models.empty()) GTEST_SKIP() << "no published models";
  for (const PublishedLp &p : models) {
    if (!p.wanted(1500)) continue;
    SCOPED_TRACE(p.name);
    for (const bool compress : {true, false}) {
      QRTModel *q = p.read(context);
      if (!compress) qrt_setCompressOff(q);
      ASSERT_EQ(0, qrt_scale(q));
      ASSERT_EQ(0, qrt_primalSimplex(q, 1));
      ASSERT_EQ(p.infeasible ? 1 : 0, qrt_getIprobstat(q));
      if (!p.infeasible) { EXPECT_NEAR(p.optimum, qrt_getRobjvalue(q), 1e-6 * std::max(1.0, std::fabs(p.optimum))); }
      EXPECT_EQ("", firstFault(certifyModel(q), 1e-6));
      int basics = 0;
      for (int i = 0; i < qrt_getInumrows(q); i++) basics += qrt_rowStatus(q, i) == 0;
      for (int j = 0; j < qrt_getInumcols(q); j++) {
        const int status = qrt_columnStatus(q, j);
        const double x = qrt_colsol(q)[j];
        basics += status == 0;
        // A value at a bound is the caller's bound to the last bit.
        if (status == -1) { EXPECT_EQ(qrt_collower(q)[j], x); }
        if (status == 1) { EXPECT_EQ(qrt_colupper(q)[j], x); }
      }
      EXPECT_EQ(qrt_getInumrows(q), basics);
      const int first = qrt_getIiternum(q);
      if (!p.infeasible) {
        ASSERT_EQ(0, qrt_primalSimplex(q, 1));
        EXPECT_LE(qrt_getIiternum(q) - first, 5);
      }
      qrt_deleteModel(q);
    }
  }
}

}  // namespace
