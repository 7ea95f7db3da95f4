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

}  // namespace
