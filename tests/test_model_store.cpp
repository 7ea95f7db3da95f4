// Model store: every edit against a dense map, growth of the rims, names in all forms, compression and back.
#include <cmath>
#include <cstring>
#include <map>
#include <random>
#include <string>
#include <utility>
#include <vector>

#include <gtest/gtest.h>

#include "frame/entry_frame.h"
#include "model/model_store.h"

namespace {

struct Store : ::testing::Test {
  static QRTContext *context;
  QRTModel *model = nullptr;
  static void SetUpTestSuite() { context = qrt_initializeContext(); }
  static void TearDownTestSuite() { qrt_endContext(context); }
  void SetUp() override {
    model = qrt_newModel(context, "store");
    qrt_messagesPrintOff(model, 1, 9999);
  }
  void TearDown() override { qrt_deleteModel(model); }
};
QRTContext *Store::context = nullptr;

using Dense = std::map<std::pair<int, int>, double>;

Dense matrixOf(QRTModel *model) {
  Dense sum;
  forEachElement(model, [&](int r, int c, double v) { sum[{r, c}] += v; });
  for (auto it = sum.begin(); it != sum.end();) it = it->second == 0.0 ? sum.erase(it) : std::next(it);
  return sum;
}

// Fault: the column part of a rim stays where it was when the row capacity grows.
TEST_F(Store, columnPartsMoveWithTheRowCapacity) {
  const double cost[] = {3, 4, 5};
  ASSERT_EQ(0, qrt_loadRimModel(model, 2, nullptr, nullptr, 3, cost, nullptr, nullptr));
  const int room = model->Imaxrows;
  ASSERT_EQ(0, qrt_resizeModel(model, room + 7, -1, 0));
  EXPECT_GT(model->Imaxrows, room);
  EXPECT_EQ(nullptr, model_check(model));
  EXPECT_EQ(4.0, qrt_objective(model)[1]);
  EXPECT_EQ(1e31, qrt_rowupper(model)[room + 6]);
  EXPECT_EQ(int(STATUS_BASIC), qrt_rowstat(model)[room + 6]);
}

// Fault: overlapping blocks replace each other, or a repeated block is freed or edited twice.
TEST_F(Store, blocksAddUpAndShareTheirArrays) {
  ASSERT_EQ(0, qrt_loadRimModel(model, 6, nullptr, nullptr, 5, nullptr, nullptr, nullptr));
  const int rows[] = {0, 1, 3}, columns[] = {0, 1, 4};
  const double values[] = {1, 2, 3};
  EXPECT_EQ(0, qrt_addElementBlock(model, 3, rows, columns, values));
  EXPECT_EQ(1, qrt_repeatElementBlock(model, 0, 2, 0, 0));
  const int columnRows[] = {5, 3}, starts[] = {0, 1, 2};
  const double columnValues[] = {7, -3};
  EXPECT_EQ(2, qrt_addColumnElementBlockWithOffsets(model, 2, columnRows, starts, columnValues, 0, 3));
  EXPECT_EQ(model->blocks[0].rows, model->blocks[1].rows);
  EXPECT_EQ(8, qrt_sizeMatrix(model));
  const Dense sum = matrixOf(model);
  EXPECT_EQ(6u, sum.size());
  EXPECT_EQ(0u, sum.count({3, 4}));
  ASSERT_EQ(0, qrt_mergeBlocks(model, 1));
  EXPECT_EQ(1, model->Inumblocks);
  EXPECT_EQ(6, qrt_sizeMatrix(model));
  EXPECT_EQ(sum, matrixOf(model));
  EXPECT_EQ(nullptr, model_check(model));
  qrt_toFortran(model, 0);
  EXPECT_EQ(sum, matrixOf(model));
  qrt_fromFortran(model, 0);
}

}  // namespace
__attribute__((weak)) void releaseFactor(void *) {}
