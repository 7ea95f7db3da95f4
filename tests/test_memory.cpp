// Faults these tests would catch: a chain whose links break when blocks are freed, resized or unlinked in any order; a
// mark that frees too much or too little; an allocation failure that leaks or jumps into a dead frame.
#include <gtest/gtest.h>

#include <cstdio>
#include <cstring>
#include <random>
#include <vector>

#include "frame/entry_frame.h"
#include "frame/guarded_memory.h"

namespace {

class Memory : public ::testing::Test {
 protected:
  void SetUp() override {
    context = qrt_initializeContext();
    model = qrt_newModel(context, "memory");
    qrt_messagesPrintOff(model, 1, 9999);
  }
  void TearDown() override { qrt_endContext(context); }
  void checkChain() const {
    const char *broken = temporaryChain_check(model);
    ASSERT_EQ(broken, nullptr) << broken;
  }
  QRTContext *context = nullptr;
  QRTModel *model = nullptr;
};

TEST_F(Memory, ChainSurvivesARandomWalkAgainstAList) {
  std::minstd_rand random(7);
  std::vector<int *> live;  // oldest first
  for (int step = 0; step < 3000; ++step) {
    const int what = int(random() % 10);
    if (what < 5 || live.empty()) {
      int *block = qrt_longTemporary(model, 1 + int(random() % 50));
      block[0] = step;
      live.push_back(block);
    } else if (what < 7) {
      const size_t k = random() % live.size();
      const int kept = live[k][0];
      live[k] = qrt_longReallocTemporary(model, live[k], 1 + int(random() % 500));
      ASSERT_EQ(live[k][0], kept);
    } else if (what == 7) {
      const size_t k = random() % live.size();
      qrt_freeTemporary(model, live[k]);
      live.erase(live.begin() + long(k));
    } else if (what == 8) {
      const size_t k = random() % live.size();
      qrt_makePermanent(model, live[k]);
      int *again = static_cast<int *>(qrt_makeTemporary(model, live[k]));
      live.erase(live.begin() + long(k));
      live.push_back(again);
    } else {
      const size_t n = random() % 3;
      qrt_freeSome(model, int(n));
      live.resize(live.size() > n ? live.size() - n : 0);
    }
    checkChain();
    ASSERT_EQ(qrt_region(model, 0), live.empty() ? nullptr : live.back());
  }
  if (!live.empty()) {
    qrt_freeUntil(model, live.front());
    EXPECT_EQ(qrt_region(model, 0), live.front());
    EXPECT_EQ(qrt_region(model, 1), nullptr);
  }
}

// Fault: a block that grows or shrinks past the size from which the system gives it loses bytes or guards, or keeps its pages.
TEST_F(Memory, LargeBlocksKeepTheirBytesThroughEverySize) {
  const int sizes[] = {1000, 262143, 262144, 300000, 524287, 524288, 786000, 2000000, 600000, 262144, 5, 1500000, 40};
  const auto resident = [] {
    FILE *file = std::fopen("/proc/self/statm", "r");
    long long total = 0, pages = 0;
    EXPECT_EQ(2, std::fscanf(file, "%lld %lld", &total, &pages));
    std::fclose(file);
    return pages;
  };
  const long long before = resident();
  for (int round = 0; round < 60; ++round) {
    int *block = static_cast<int *>(guardedAllocateZero(sizes[0], sizeof(int)));
    int written = 0;
    for (const int n : sizes) {
      block = qrt_longRealloc(block, n);
      ASSERT_EQ(4 * n, qrt_validAddress(block));
      if (written > n) written = n;
      for (int k = 0; k < written; k += 511) ASSERT_EQ(k, block[k]);
      for (int k = 0; k < n; k++) block[k] = k;
      written = n;
      ASSERT_EQ(0, qrt_checkAddress(block));
    }
    qrt_free(block);
    const int n = sizes[round % 13];
    int *zeros = static_cast<int *>(guardedAllocateZero(n, sizeof(int)));
    for (int k = 0; k < n; k += 97) ASSERT_EQ(0, zeros[k]);
    int *copy = static_cast<int *>(qrt_copyOfMemory(zeros));
    qrt_incrementCount(zeros);
    qrt_free(zeros);
    EXPECT_EQ(4 * n, qrt_validAddress(zeros));
    qrt_free(zeros);
    qrt_free(copy);
  }
  EXPECT_LT(resident() - before, 20000);  // 60 rounds would keep over 100,000
}

TEST_F(Memory, MarksFreeWhatCameAfterThem) {
  qrt_push(model);  // an empty chain takes no mark: the pop frees whatever was allocated in between
  qrt_doubleTemporary(model, 3);
  qrt_pop(model);
  EXPECT_EQ(qrt_region(model, 0), nullptr);
  double *kept = qrt_doubleTemporary(model, 3);
  qrt_push(model);
  qrt_doubleTemporary(model, 4);
  qrt_push(model);
  double *escaped = qrt_doubleTemporary(model, 5);
  qrt_makePermanent(model, escaped);
  qrt_pop(model);
  qrt_pop(model);
  EXPECT_EQ(qrt_region(model, 0), kept);
  EXPECT_EQ(qrt_validAddress(escaped), 40);
  qrt_free(escaped);
  checkChain();
}

// A public-like call that fails to allocate inside two nested frames.
int failingCall(QRTModel *model, int depth) {
  qrt_enter(model, "failing", 0);
  QRT_JUMP_FRAME(model, qrt_disaster(model));
  qrt_doubleTemporary(model, 100);
  if (depth > 0) {
    const int inner = failingCall(model, depth - 1);
    EXPECT_EQ(inner, 999);
    EXPECT_EQ(model->recoverArmed, 1) << "the outer frame must still be armed";
    guardedAllocate(INT64_C(1) << 30, 8);  // and must still catch
  } else {
    guardedAllocate(INT64_C(1) << 40, 1);
  }
  QRT_END_FRAME();
  qrt_leave(model);
  return 0;
}

TEST_F(Memory, AllocationFailureJumpsToTheNearestFrameAndFreesTheChain) {
  // 7105 is not modifiable by itself, but a range that begins at a modifiable message reaches it.
  ASSERT_EQ(qrt_mset(model, 7102, 256, 0, 0, 7105, 0), 0);
  EXPECT_EQ(failingCall(model, 2), 999);
  EXPECT_EQ(model->recoverArmed, 0);
  EXPECT_EQ(model->entryDepth, 3) << "a call left by a jump leaves its depth as found";
  EXPECT_EQ(qrt_region(model, 0), nullptr);
  EXPECT_EQ(qrt_badMallocFlag, 0);
}

TEST_F(Memory, NegativeSizesReturnNullInsteadOfFailing) {
  EXPECT_EQ(qrt_mallocBase(INT32_MIN), nullptr);
  void *block = qrt_mallocBase(-12);
  ASSERT_NE(block, nullptr);
  EXPECT_EQ(qrt_validAddress(block), 12);
  EXPECT_EQ(qrt_reallocBase(block, INT32_MIN), nullptr);
  qrt_free(block);
}

TEST(MemoryDeath, FailureWithoutRaisedLimitEndsTheProcessWithStatusZero) {
  EXPECT_EXIT(
      {
        QRTModel *model = qrt_newModel(qrt_initializeContext(), "");
        qrt_makeThisCurrent(model);
        guardedAllocate(INT64_C(1) << 40, 1);
      },
      ::testing::ExitedWithCode(0), "^\n$");
}

}  // namespace
