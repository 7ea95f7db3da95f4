// Faults these tests would catch: a control whose home, default or range is wired to another's field, a value that is
// visible in one place only, a refused value that changes something.
#include <gtest/gtest.h>

#include "frame/controls.h"
#include "frame/entry_frame.h"
#include "frame/records.h"

namespace {

class Controls : public ::testing::Test {
 protected:
  void SetUp() override {
    context = qrt_initializeContext();
    a = qrt_newModel(context, "a");
    b = qrt_newModel(context, "b");
    for (QRTModel *model : {qrt_baseModel(context), a, b}) qrt_messagesPrintOff(model, 1, 9999);
  }
  void TearDown() override { qrt_endContext(context); }
  QRTContext *context = nullptr;
  QRTModel *a = nullptr, *b = nullptr;
};

// Sizes and rooms have rules of their own and are tested apart.
bool isPlain(const IntegerControl &control) {
  const int p = control.position;
  const bool ruled = (p >= 9 && p <= 11) || p == 27 || p == 28 || p == 46 || (p >= 50 && p <= 53) || p == 22;
  return !ruled && control.access == ACCESS_RW && p <= 70;
}

TEST_F(Controls, EveryPlainIntegerKeepsToItsRangeAndItsOwnField) {
  for (const IntegerControl &control : integerControls) {
    if (!isPlain(control)) continue;
    const int index = control.position - 1;
    const int before = qrt_getI(a, index);
    EXPECT_EQ(before, control.objectInitial) << control.name;
    if (control.low > INT32_MIN) {
      EXPECT_EQ(qrt_setI(a, control.low - 1, index), 1) << control.name;
      EXPECT_EQ(qrt_getI(a, index), before) << control.name;
      EXPECT_EQ(qrt_setI(a, control.low, index), 0) << control.name;
      EXPECT_EQ(qrt_getI(a, index), control.low) << control.name;
    }
    if (control.high < INT32_MAX) {
      EXPECT_EQ(qrt_setI(a, control.high + 1, index), 1) << control.name;
      EXPECT_EQ(qrt_setI(a, control.high, index), 0) << control.name;
    }
    EXPECT_EQ(qrt_setI(a, before, index), 0) << control.name;
    for (const IntegerControl &other : integerControls)
      if (isPlain(other)) {
        EXPECT_EQ(qrt_getI(a, other.position - 1), other.objectInitial) << control.name << other.name;
      }
  }
}

TEST_F(Controls, EveryRealKeepsToItsRangeAndItsOwnField) {
  for (const RealControl &control : realControls) {
    if (control.position > 47 || control.position == 3) continue;
    const int index = control.position - 1;
    const double before = qrt_getR(a, index);
    if (control.high < REAL_ANY) {
      EXPECT_EQ(qrt_setR(a, control.high * 1.01, index), 1) << control.name;
    }
    if (control.low > -REAL_ANY) {
      EXPECT_EQ(qrt_setR(a, control.low - 1e25, index), 1) << control.name;
    }
    EXPECT_EQ(qrt_getR(a, index), before) << control.name;
    const double inside = control.high < REAL_ANY ? control.high * 0.5 : 77.25;
    EXPECT_EQ(qrt_setR(a, inside, index), 0) << control.name;
    EXPECT_EQ(qrt_getR(a, index), inside) << control.name;
    EXPECT_EQ(qrt_getR(b, index), before) << control.name << " leaked into another model";
    EXPECT_EQ(qrt_setR(a, before, index), 0);
  }
  EXPECT_EQ(qrt_setRtolpinf(a, 50.0), 0) << "only the upper bound is tested";
  EXPECT_EQ(qrt_setRmaxmin(a, -3.0), 0);
  EXPECT_EQ(qrt_getRmaxmin(a), -1.0);
  EXPECT_EQ(qrt_setR(a, 0.0 / 0.0, 0), 1);
}

TEST_F(Controls, LiveRecordFollowsTheCurrentModel) {
  EXPECT_EQ(qrt_setImaxiter(a, 7), 0);
  EXPECT_EQ(qrtlplp.Imaxiter, 7);
  EXPECT_EQ(qrt_setIlogfreq(b, 3), 0);
  EXPECT_EQ(qrtlplp.Imaxiter, 99999999);
  EXPECT_EQ(qrt_getImaxiter(a), 7) << "an accessor reads the image";
  qrt_makeThisCurrent(a);
  EXPECT_EQ(qrtlplp.Imaxiter, 7);
  EXPECT_EQ(qrtlplp.Ilogfreq, 999999);
  EXPECT_EQ(qrt_setImaxiter(qrt_baseModel(context), 123), 0);
  EXPECT_EQ(qrt_getImaxiter(qrt_newModel(context, "c")), 123);
  EXPECT_EQ(qrt_getImaxiter(a), 7);
}

TEST_F(Controls, OneWordHoldsStrategyAndFastInteger) {
  EXPECT_EQ(qrt_setIstrategy(a, 48), 0);
  EXPECT_EQ(qrt_setIfastinteger(a, 0x8001), 0);
  EXPECT_EQ(qrt_getIstrategy(a), 48);
  EXPECT_EQ(qrt_getIfastinteger(a), 0x8001);
  EXPECT_EQ(qrt_setIstrategy(a, 8192), 1);
  EXPECT_EQ(qrt_setIstrategy(a, 5), 0);
  EXPECT_EQ(qrt_getIfastinteger(a), 0x8001);
}

TEST_F(Controls, RoomsAreFixedOnceSet) {
  EXPECT_EQ(qrt_setImaxints(a, 10), 0);
  EXPECT_EQ(qrt_setImaxints(a, 11), 1);
  EXPECT_EQ(qrt_setImaxsets(a, 3), 1);
  EXPECT_EQ(qrt_setImaxsets(b, 3), 0);
  EXPECT_EQ(qrt_setImaxsets(b, 4), 1);
}

TEST_F(Controls, SizesAreModelFieldsAndNamesFixTheirLength) {
  ASSERT_EQ(qrt_loadRimModel(a, 4, nullptr, nullptr, 3, nullptr, nullptr, nullptr), 0);
  EXPECT_EQ(qrt_setImaxrows(a, 3), 1);
  EXPECT_EQ(qrt_setImaxrows(a, 40), 0);
  EXPECT_EQ(qrt_getImaxrows(a), 40);
  EXPECT_EQ(qrt_setInumrows(a, 6), 0);
  EXPECT_EQ(qrt_getInumrows(a), 6);
  EXPECT_EQ(qrt_setInumchar(a, 12), 0);
  qrt_createNames(a, 12);
  EXPECT_EQ(qrt_setInumchar(a, 8), 1);
  EXPECT_EQ(qrt_getInumchar(a), 12);
}

TEST_F(Controls, CharacterValuesAreCutAndKept) {
  EXPECT_EQ(qrt_setCbasis(a, std::string(100, 'n').c_str()), 0);
  EXPECT_EQ(qrt_getCbasis(a), std::string(79, 'n'));
  EXPECT_STREQ(qrt_getCbasis(b), "");
  EXPECT_EQ(qrt_setC(b, "OBJ", 1), 0);
  EXPECT_STREQ(qrt_getCobjective(b), "OBJ");
  EXPECT_STREQ(qrt_getCname(b), "b");
}

}  // namespace
