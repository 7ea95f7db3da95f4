// The classic interface. Faults these tests would catch: a header word at another place, an area touched that is too short
// to be laid out, an object model that a classic call disturbs or the other way round, a fatal error that does not come
// back to its frame or leaves space taken, models that take each other's arrays, a control stored past its rule.
#include <gtest/gtest.h>

#include <cstring>
#include <functional>
#include <string>
#include <vector>

#include "frame/classic_frame.h"
#include "frame/controls_classic.h"
#include "frame/core_workspace.h"
#include "frame/dspace.h"
#include "frame/message_control.h"
#include "frame/messages.h"
#include "frame/records.h"
#include "include/qrt_classic.h"

namespace {

constexpr double UNTOUCHED = 77.5;

// A work area between two fences that nobody may write to.
struct Area {
  std::vector<double> room;
  int length;
  explicit Area(int dlen) : room(size_t(dlen) + 2, UNTOUCHED), length(dlen) {}
  ~Area() {
    int rc = -1;
    qrtinit_(&rc, dspace());  // what lies outside of it goes too
  }
  double *dspace() { return room.data() + 1; }
  int declare(int nModels = 1) { return declareAs(length, nModels); }
  int declareAs(int dlen, int nModels = 1) {
    int rc = -9;
    qrtdsca_(&rc, dspace(), &dlen, &nModels);
    EXPECT_EQ(UNTOUCHED, room.front());
    EXPECT_EQ(UNTOUCHED, room.back());
    return rc;
  }
  int32_t word(int offset) const {
    int32_t value;
    memcpy(&value, reinterpret_cast<const char *>(room.data() + 1) + offset, 4);
    return value;
  }
  std::vector<int> integers() {
    std::vector<int> list(71, -7);
    int rc = -9;
    const int n = 71;
    qrtiget_(&rc, dspace(), list.data(), &n);
    EXPECT_EQ(0, rc);
    return list;
  }
  int set(int position, int value) {
    std::vector<int> list = integers();
    list[size_t(position - 1)] = value;
    int rc = -9;
    const int n = 71;
    qrtiset_(&rc, dspace(), list.data(), &n);
    return rc;
  }
  int get(int position) { return integers()[size_t(position - 1)]; }
  int save(int model) {
    int rc = -9;
    qrtptmi_(&rc, dspace(), &model);
    return rc;
  }
  int load(int model) {
    int rc = -9;
    qrtgtmi_(&rc, dspace(), &model);
    return rc;
  }
  int take(int n, int *rc = nullptr) {
    int code = -9, index = -9;
    qrthis_(&code, dspace(), &n, &index);
    if (rc) *rc = code;
    else EXPECT_EQ(0, code);
    return index;
  }
  int freeDoublewords() const { return word(40) - word(36); }
  int push(int full = 0) {
    int rc = -9;
    qrtpshs_(&rc, dspace(), &full);
    return rc;
  }
  int pop(int full = 0) {
    int rc = -9;
    qrtpops_(&rc, dspace(), &full);
    return rc;
  }
};

std::string said(const std::function<void()> &call) {
  testing::internal::CaptureStdout();
  call();
  fflush(stdout);
  return testing::internal::GetCapturedStdout();
}

bool has(const std::string &text, const std::string &part) { return text.find(part) != std::string::npos; }

void limit(int number, int maxalw, int maxprt = 0, int usrexit = 0) {
  int rc = -9;
  const int keep = 0;
  qrtmset_(&rc, nullptr, &number, &maxalw, &maxprt, &keep, &usrexit, &keep, &keep);
  EXPECT_EQ(0, rc);
}

// A severe message ends the call, not the process, while this lives.
struct Raised {
  int number;
  explicit Raised(int severe) : number(severe) { limit(number, 256); }
  ~Raised() { limit(number, 1); }
};

// As an entry does, with any name and worker.
int classicCall(const char *name, void *dspace, const std::function<void()> &worker = [] {}) {
  int rc = 0;
  QRT_CLASSIC_CALL(name, dspace, 2, &rc, worker());
  return rc;
}

class Classic : public ::testing::Test {
 protected:
  Area area{20000};
  Classic() { said([this] { EXPECT_EQ(0, area.declare(3)); }); }
  ~Classic() override {
    EXPECT_EQ(nullptr, dspace_check(area.dspace()));
    EXPECT_EQ(0, qrterr.classicDepth);
    EXPECT_EQ(nullptr, qrtdspc2);
  }
};

TEST_F(Classic, DspaceHasItsHeaderAndMarkersWhereCallersLook) {
  EXPECT_EQ(0, memcmp(area.dspace(), "TAV!", 4));
  EXPECT_EQ(0, memcmp(reinterpret_cast<char *>(area.dspace() + 20000) - 4, "!VAT", 4));
  const int expected[][2] = {{4, 20000}, {8, 16}, {12, 3}, {16, 0}, {20, 0}, {28, 0}, {32, 6}, {40, 19999}, {44, 20000},
                             {48, 0}, {52, 0}, {56, 0}, {60, 0}};
  for (const auto &pair : expected) EXPECT_EQ(pair[1], area.word(pair[0])) << pair[0];
  EXPECT_NE(0, area.word(24)) << "the saved models";
  EXPECT_GE(area.word(36), 8) << "the zeros at the start of the usable area are not free";
}

TEST_F(Classic, DeclaringTwiceIsToldAndStartsAnew) {
  area.set(5, 1234);
  ASSERT_EQ(230, area.save(2));
  area.take(100);
  const std::string same = said([this] { EXPECT_EQ(120, area.declare(2)); });
  EXPECT_TRUE(has(same, " QRT3037W DSPACE has already been initialized")) << same;
  EXPECT_EQ(19999 - area.word(36), area.freeDoublewords());
  EXPECT_EQ(0, area.load(2));
  EXPECT_EQ(1234, area.get(5)) << "controls are not those of a model saved before";

  limit(9058, 0, 256);
  const std::string other = said([this] { EXPECT_EQ(120, area.declareAs(15000, 1)); });
  EXPECT_TRUE(has(other, "Workarea already initialized with different size")) << other;
  EXPECT_FALSE(has(other, "DSPACE has already been initialized"));
  EXPECT_EQ(15000, area.word(4));
  limit(9058, 0, -1);
}

TEST_F(Classic, ShortAreasAreToldAndTheShortestLeftAlone) {
  for (int length : {0, 7, -5}) {
    Area tiny(8);
    const std::string text = said([&] { EXPECT_EQ(11, tiny.declareAs(length)); });
    for (double x : tiny.room) EXPECT_EQ(UNTOUCHED, x) << length;
    EXPECT_TRUE(has(text, length < 0 ? "invalid length of -5 doublewords" : "additional entries in DSPACE are needed")) << text;
  }
  for (int length : {8, 9, 10, 500}) {
    Area small(length);
    const std::string text = said([&] { EXPECT_EQ(0, small.declare()); });
    EXPECT_TRUE(has(text, "QRT7003S At least " + std::to_string(1000 - length) + " additional entries")) << text;
    EXPECT_EQ(nullptr, dspace_check(small.dspace())) << length;
    EXPECT_EQ(length < 9 ? 0 : length - 9, small.freeDoublewords());
  }
  const std::string enough = said([] {
    Area thousand(1000);
    EXPECT_EQ(0, thousand.declare());
  });
  EXPECT_FALSE(has(enough, "additional"));
}

TEST_F(Classic, BadModelCountsAreTakenAsOne) {
  for (int count : {0, -3, 999999}) {
    Area other(2000);
    const std::string text = said([&] { EXPECT_EQ(0, other.declare(count)); });
    EXPECT_TRUE(has(text, "QRTDSCA has been called with an invalid value of " + std::to_string(count))) << text;
    EXPECT_TRUE(has(text, "This application has 1 model(s)"));
    EXPECT_EQ(1, other.word(12));
  }
}

TEST_F(Classic, ModelsKeepTheirOwnControls) {
  area.set(5, 100);
  EXPECT_EQ(0, area.save(1));
  area.set(5, 200);
  const std::string text = said([this] { EXPECT_EQ(230, area.save(2)); });
  EXPECT_TRUE(has(text, "QRTPTMI is saving model information for model 1 as model 2")) << text;
  area.set(5, 300);
  EXPECT_EQ(0, area.load(1));
  EXPECT_EQ(100, area.get(5));
  EXPECT_EQ(0, area.load(2));
  EXPECT_EQ(200, area.get(5));
  EXPECT_EQ(0, area.save(2)) << "now it is the present one";
  EXPECT_EQ(0, area.load(3)) << "never saved";
  EXPECT_NE(200, area.get(5));
  EXPECT_EXIT(area.load(4), testing::ExitedWithCode(0), "");
  Raised raised(7000);
  for (int number : {0, 4, -1}) {
    EXPECT_EQ(321, area.load(number));
    EXPECT_EQ(321, area.save(number));
  }
}

TEST_F(Classic, SpaceIsSharedByTheModelsAndComesBackInOrder) {
  const int all = area.freeDoublewords();
  area.save(1);
  const int first = area.take(10);
  EXPECT_EQ(19999 - 10 + 1, first) << "the last doubleword has the marker";
  area.load(2);
  EXPECT_EQ(first - 5, area.take(5)) << "a model loaded does not give away what another has taken";
  EXPECT_EQ(0, area.push());
  area.take(1000);
  EXPECT_EQ(0, area.push(1));
  area.take(2000);
  EXPECT_EQ(0, area.pop(1));
  EXPECT_EQ(all - 1015, area.freeDoublewords());
  EXPECT_EQ(0, area.pop());
  EXPECT_EQ(all - 15, area.freeDoublewords());
  EXPECT_EQ(231, area.pop());
  area.load(1);
  EXPECT_EQ(231, area.pop()) << "each model has its own stack";
  EXPECT_EQ(area.freeDoublewords(), all - 15);
  EXPECT_EQ(first - 5 - (all - 15), area.take(all - 15)) << "to the last doubleword";
  EXPECT_EQ(0, area.freeDoublewords());
}

TEST_F(Classic, SpaceThatIsNotThereEndsTheCallAndNothingIsTaken) {
  const int before = area.freeDoublewords();
  EXPECT_EXIT(area.take(20000), testing::ExitedWithCode(0), "");
  Raised shortage(7003), parameter(7029), request(7034);
  int rc = 0;
  area.take(before + 1, &rc);
  EXPECT_EQ(321, rc);
  area.take(-1, &rc);
  EXPECT_EQ(331, rc);
  area.take(536870913, &rc);
  EXPECT_EQ(331, rc);
  EXPECT_EQ(before, area.freeDoublewords());
  // Taken and then failed: it is free again.
  EXPECT_EQ(321, classicCall("QRTLMDL", area.dspace(), [this] {
              qrtlommdp(50);
              qrthisfi(area.dspace(), 30000);
            }));
  EXPECT_EQ(before, area.freeDoublewords());
  EXPECT_EQ(0, area.get(9)) << "the next call finds a whole frame";
}

TEST_F(Classic, BothEndsOfTheSpaceMeet) {
  const int before = area.freeDoublewords();
  const int code = classicCall("QRTLMDL", area.dspace(), [&] {
    int *integers = qrtlommip(7);
    double *reals = qrtlommdp(2);
    EXPECT_EQ(static_cast<void *>(integers + 8), reals) << "integers take whole doublewords";
    double *high = qrthisfd(area.dspace(), 3);
    EXPECT_EQ(area.dspace() + 19999 - 3, high);
    int rc = -1, n = -100;
    double *rest = nullptr;
    qrtlomm(&rc, &n, &rest);
    EXPECT_EQ(0, rc);
    EXPECT_EQ(before - 9, n);
    EXPECT_EQ(high, rest + n);
    EXPECT_EQ(1, qrtInDspace(rest, ARENA_USABLE, ARENA_LOW));
    EXPECT_EQ(0, qrtInDspace(high, ARENA_USABLE, ARENA_LOW));
    EXPECT_EQ(uintptr_t(area.dspace() + 8), qrtalign(uintptr_t(area.dspace()) + 1, 64)) << "counted from its start";
  });
  EXPECT_EQ(0, code);
  EXPECT_EQ(0, area.freeDoublewords()) << "what is taken stays taken";
  Raised request(7034);
  EXPECT_EQ(321, classicCall("QRTLMDL", area.dspace(), [] {
              int rc = -1, n = -1;
              double *rest = nullptr;
              qrtlomm(&rc, &n, &rest);
            }));
}

TEST_F(Classic, AnAreaNeverDeclaredIsRefused) {
  std::vector<double> other(100, UNTOUCHED);
  const int one = 1;
  int rc = -9;
  EXPECT_EXIT(qrtgtmi_(&rc, other.data(), &one), testing::ExitedWithCode(0), "");
  Raised raised(7043);
  const std::string text = said([&] { qrtgtmi_(&rc, other.data(), &one); });
  EXPECT_EQ(321, rc);
  EXPECT_TRUE(has(text, "QRT7043S DSPACE has not been initialized by QRTDSCA")) << text;
  for (double x : other) EXPECT_EQ(UNTOUCHED, x);
  qrtgtmi_(&rc, nullptr, &one);
  EXPECT_EQ(321, rc);
  reinterpret_cast<char *>(area.dspace() + 20000)[-1] = 'x';
  EXPECT_EQ(321, area.load(1)) << "the end marker was overwritten";
  reinterpret_cast<char *>(area.dspace() + 20000)[-1] = 'T';
  EXPECT_EQ(0, area.load(1));
}

TEST_F(Classic, ListsObeyTheClassicRules) {
  int rc = -9;
  qrtinit_(&rc, area.dspace());
  int list[71];
  double reals[45];
  char texts[17 * 80];
  const int n = 71;
  qrtiset_(&rc, area.dspace(), list, &n);
  EXPECT_EQ(130, rc) << "not fetched yet";
  qrtrset_(&rc, area.dspace(), reals, &n);
  EXPECT_EQ(130, rc);
  qrtcset_(&rc, area.dspace(), texts, &n);
  EXPECT_EQ(130, rc);

  const std::vector<int> defaults = area.integers();
  const int expected[][2] = {{2, 6}, {5, 99999999}, {8, 0}, {11, 8}, {20, 1}, {21, 1}, {22, 3}, {36, 80}, {47, -1}, {52, 1},
                             {65, 1}, {66, 1}, {69, 0}, {71, 0}};
  for (const auto &pair : expected) EXPECT_EQ(pair[1], defaults[size_t(pair[0] - 1)]) << pair[0];
  const int rules[][3] = {
      // position, value, outcome
      {3, 999, 0}, {3, 1000, 130}, {8, 5, 130}, {16, 9, 130}, {16, 10, 0}, {24, 1, 130}, {29, 1, 130}, {46, 1, 0},
      {47, 0, 130}, {52, 70000, 0}, {62, -3, 0}, {62, -4, 130}, {63, 3, 130}, {2, 5, 130}, {2, 110, 130}, {58, 5, 130}, {58, 7, 0},
      {27, 1, 130}, {9, 10, 0}, {27, 10, 0}, {27, 11, 130}, {9, 9, 130}, {11, 32, 130}, {11, 31, 0},
      {51, 4, 0}, {51, 5, 130}, {50, 3, 0}, {53, 3, 130}};
  for (const auto &rule : rules) {
    const int before = area.get(rule[0]);
    EXPECT_EQ(rule[2], area.set(rule[0], rule[1])) << rule[0] << " = " << rule[1];
    EXPECT_EQ(rule[2] == 0 && rule[0] != 46 ? rule[1] : before, area.get(rule[0])) << rule[0] << " = " << rule[1];
  }
  // The worker's own code: the first read-only entry that differs.
  std::vector<int> changed = area.integers();
  changed[62] = changed[46] = 5;
  qrtisetf(&rc, area.dspace(), changed.data(), &n);
  EXPECT_EQ(-47, rc);

  int shorter[3] = {-7, -7, -7};
  const int two = 2;
  qrtiget_(&rc, nullptr, shorter, &two);
  EXPECT_EQ(-7, shorter[2]);
  Raised raised(7029);
  const int negative = -1;
  const std::string text = said([&] { qrtrget_(&rc, area.dspace(), reals, &negative); });
  EXPECT_EQ(331, rc);
  EXPECT_TRUE(has(text, "QRTRGET has been called with an invalid value of -1 for parameter")) << text;
  qrtinit_(&rc, area.dspace());
  EXPECT_EQ(defaults, area.integers());
}

TEST_F(Classic, RealsAndTextsGoToTheirHomes) {
  int rc = -9;
  qrtinit_(&rc, area.dspace());
  double reals[45];
  const int n = 45;
  qrtrget_(&rc, area.dspace(), reals, &n);
  EXPECT_EQ(0.1, reals[3]) << "a barrier parameter is shown here";
  EXPECT_EQ(0.0, reals[44]);
  reals[0] = 1e-6;
  reals[2] = -5.0;
  reals[3] = 12.5;
  qrtrset_(&rc, area.dspace(), reals, &n);
  EXPECT_EQ(0, rc);
  EXPECT_EQ(12.5, qrtlplp.RobjectiveOffset) << "but another thing is set";
  qrtrget_(&rc, area.dspace(), reals, &n);
  EXPECT_EQ(1e-6, reals[0]);
  EXPECT_EQ(-1.0, reals[2]);
  EXPECT_EQ(0.1, reals[3]);
  reals[1] = 101.0;
  qrtrset_(&rc, area.dspace(), reals, &n);
  EXPECT_EQ(130, rc);
  EXPECT_EQ(1e-7, qrtlplp.Rtoldinf);

  char texts[17 * 80];
  const int all = 17;
  qrtcget_(&rc, area.dspace(), texts, &all);
  EXPECT_EQ(std::string(17 * 80, ' '), std::string(texts, sizeof texts));
  memcpy(texts + 16 * 80, "LAST", 4);
  memcpy(texts, "NAME", 4);
  const std::string text = said([&] { qrtcset_(&rc, area.dspace(), texts, &all); });
  EXPECT_EQ(0, rc);
  EXPECT_TRUE(has(text, "Character control variable 17 has been changed from  to LAST")) << text;
  EXPECT_EQ(0, memcmp(qrtconv.values[16], "LAST  ", 6));

  int positions[69];
  const int many = 100;
  qrtnget_(&rc, area.dspace(), positions, &many);
  EXPECT_EQ(7, positions[22]);
  EXPECT_EQ(19999, positions[23]);
  EXPECT_EQ(0, positions[0]) << "no model, no arrays";
  qrtinit_(&rc, area.dspace());
}

TEST_F(Classic, ObjectModelsAndClassicOnesDoNotSeeEachOther) {
  area.set(5, 55);
  QRTContext *context = qrt_initializeContext();
  ASSERT_NE(nullptr, context);
  EXPECT_EQ(55, area.get(5)) << "a context made later leaves the classic controls";
  EXPECT_EQ(80, area.get(36));
  QRTModel *a = qrt_newModel(context, "a"), *b = qrt_newModel(context, "b");
  qrt_setImaxiter(a, 7);
  area.set(5, 66);
  EXPECT_EQ(a, qrt_getCurrent());
  EXPECT_EQ(7, qrt_getImaxiter(a));
  EXPECT_EQ(7, qrtlplp.Imaxiter) << "the live records are the model's again";
  qrt_setImaxiter(b, 8);
  EXPECT_EQ(66, area.get(5));
  qrt_deleteModel(b);
  EXPECT_EQ(nullptr, qrt_getCurrent());
  EXPECT_EQ(66, area.get(5)) << "no current model, and its records still in place";
  area.set(5, 67);
  EXPECT_EQ(nullptr, qrt_getCurrent());
  EXPECT_EQ(0, qrt_setIlogfreq(a, 9));
  EXPECT_EQ(67, area.get(5));
  // A fatal error within a classic call comes back to it, and to the model that was current.
  {
    Raised raised(7000);
    EXPECT_EQ(321, area.load(99));
    EXPECT_EQ(a, qrt_getCurrent());
    EXPECT_EQ(7, qrtlplp.Imaxiter);
  }
  qrt_endContext(context);
  EXPECT_EQ(67, area.get(5)) << "the end of the context";
}

// What the exits below have seen and are to do.
int exitNumber = 0, exitInts = 0, exitTexts = 0, exitFirst = 0;
std::string exitLine;
std::function<void()> exitDoes;
void classicExit(void *, const int *, const int *number, const int *, const double *, const int *nInts, const int *ints,
                 const int *nTexts, const char *texts, size_t width) {
  exitNumber = *number;
  exitInts = *nInts;
  exitTexts = *nTexts;
  exitFirst = ints[0];
  exitLine = std::string(texts + size_t(*nTexts) * width, width);
  const auto once = std::move(exitDoes);
  exitDoes = nullptr;
  if (once) once();
}

TEST_F(Classic, TheMessageExitMayUseTheWholeLibrary) {
  QRTContext *context = qrt_initializeContext();
  QRTModel *model = qrt_newModel(context, "m");
  qrt_setImaxiter(model, 7);
  Area second(3000);
  second.declare();
  limit(81, 0, 0, 2);
  QRTMSGC = classicExit;
  int inner = -9, innerFatal = -9;
  exitDoes = [&] {
    EXPECT_EQ(nullptr, qrt_getCurrent());
    inner = area.get(5);
    EXPECT_EQ(0, qrt_setImaxiter(model, 9));  // enters an object model
    Raised raised(7000);
    innerFatal = second.load(5);
  };
  area.set(5, 55);
  EXPECT_EQ(120, area.declare(2));
  QRTMSGC = nullptr;
  EXPECT_EQ(81, exitNumber);
  EXPECT_EQ(1, exitInts);
  EXPECT_EQ(2, exitFirst);
  EXPECT_TRUE(has(exitLine, "QRT0081I This application has 2 model(s)")) << exitLine;
  EXPECT_EQ(55, inner);
  EXPECT_EQ(321, innerFatal);
  EXPECT_EQ(model, qrt_getCurrent());
  EXPECT_EQ(9, qrt_getImaxiter(model));
  EXPECT_EQ(55, area.get(5));
  EXPECT_EQ(2, area.word(12));
  limit(81, 0, 0, 1);
  qrt_endContext(context);
}

QRTModel *calledBack = nullptr;
Area *calledArea = nullptr;
void objectCallBack(QRTModel *model, int, int, const double *, int, const int *, int, const char *) {
  calledBack = model;
  qrt_clearMsguCallBack(model);
  calledArea->set(5, 99);
}

TEST_F(Classic, AClassicCallMayComeFromAnObjectModelsExit) {
  QRTContext *context = qrt_initializeContext();
  QRTModel *model = qrt_newModel(context, "m");
  qrt_messageUserExitOn(model, 48);
  qrt_registerMsguCallBack(model, objectCallBack);
  calledArea = &area;
  qrt_setI(model, 12, 4);
  EXPECT_EQ(model, calledBack);
  EXPECT_EQ(12, qrt_getImaxiter(model));
  EXPECT_EQ(12, qrtlplp.Imaxiter);
  EXPECT_EQ(99, area.get(5));
  EXPECT_EQ(nullptr, qrtdspc2);
  qrt_endContext(context);
}

TEST_F(Classic, LimitsAreThoseOfTheClassicInterface) {
  int rc = -9;
  const int notThere = 9999, keep = 0, never = -1, always = 256;
  qrtmset_(&rc, area.dspace(), &notThere, &keep, &never, &keep, &keep, &keep, &keep);
  EXPECT_EQ(130, rc);
  // 7100 may be changed, 7101 not: the entry leaves it within a range.
  const int first = 7100, behind = 7102;
  const int fixed = qrtetoi(7101, nullptr), free = qrtetoi(7102, nullptr);
  qrtmset_(&rc, area.dspace(), &first, &always, &keep, &keep, &keep, &behind, &keep);
  EXPECT_EQ(0, rc);
  EXPECT_EQ(1, qrtmot[fixed].maxalw);
  EXPECT_EQ(-1, qrtmot[free].maxalw);
  qrtmsetf(&rc, area.dspace(), &first, &always, &keep, &keep, &keep, &behind, &keep);
  EXPECT_EQ(-1, qrtmot[fixed].maxalw);
  const int one = 1;
  qrtmsetf(&rc, area.dspace(), &first, &one, &keep, &keep, &keep, &behind, &keep);
  // Silence is the caller's, not that of object models.
  limit(50, 0, -1);
  EXPECT_EQ("", said([this] { area.get(1); }));
  limit(50, 0, 256);
  EXPECT_TRUE(has(said([this] { area.get(1); }), "Entering TAV subroutine QRTIGET"));
}

TEST_F(Classic, TheWorstMessageOfACallIsItsCode) {
  Raised raised(7003);
  EXPECT_EQ(321, classicCall("QRTLMDL", area.dspace(), [this] {
              qrtmesg_no(432);  // a warning
              qrthisfd(area.dspace(), 30000);
            }));
  EXPECT_EQ(120, classicCall("QRTLMDL", area.dspace(), [] { qrtmesg_no(432); }));
  EXPECT_EQ(0, classicCall("QRTLMDL", area.dspace(), [] { qrtmesg_no(1); }));
  int rc = -9;
  QRT_CLASSIC_CALL("QRTLMDL", area.dspace(), 2, &rc, rc = 32);
  EXPECT_EQ(32, rc) << "the worker's own code stands when no message says more";
}

TEST_F(Classic, NamesOfRoutinesSetAndAskForModes) {
  int rc = -9;
  qrtinit_(&rc, area.dspace());
  Raised linear(7069), quadratic(7070), postsolve(7087), network(7081);
  const auto call = [this](const char *name) { return classicCall(name, area.dspace()); };
  EXPECT_EQ(331, call("QRTQSLV")) << "no quadratic data";
  EXPECT_EQ(0, call("QRTSPAR"));
  EXPECT_EQ(0, call("QRTNSLV"));
  EXPECT_EQ(0, call("QRTPRSL"));
  EXPECT_EQ(311, call("QRTSPAR"));
  EXPECT_EQ(311, call("QRTPMDL"));
  EXPECT_EQ(331, call("QRTNSLV"));
  EXPECT_EQ(0, call("QRTQMPS"));
  const std::string text = said([&] { EXPECT_EQ(331, call("QRTQPAR")); });
  EXPECT_TRUE(has(text, "Subroutine QRTPRSL is not valid for a quadratic programming problem")) << text;
  EXPECT_EQ(0, call("QRTPSSL"));
  qrtlplp.Rmaxmin = -1.0;
  EXPECT_EQ(0, call("QRTQSLV"));
  EXPECT_EQ(1.0, qrtlplp.Rmaxmin);
  qrtlplp.networkLoaded = 1;
  EXPECT_EQ(0, call("QRTPSSL"));
  EXPECT_EQ(1, qrtlplp.networkLoaded);
  EXPECT_EQ(0, call("QRTDSCB"));
  EXPECT_EQ(0, qrtlplp.networkLoaded);
  qrtinit_(&rc, area.dspace());
}

TEST_F(Classic, MessagesGoToTheirUnit) {
  const std::string file = testing::TempDir() + "classic_messages";
  const int unit = 33, none = 0;
  int rc = -9;
  QRTFOPN(&unit, file.c_str(), "NEW", "SEQUENTIAL", "FORMATTED", "", &none, &rc);
  ASSERT_EQ(0, rc);
  area.set(2, unit);
  EXPECT_EQ("", said([this] { area.get(1); }));
  area.set(2, 6);
  QRTFCLS(&unit, "", &rc);
  FILE *stream = fopen(file.c_str(), "r");
  ASSERT_NE(nullptr, stream);
  char line[200] = "";
  ASSERT_NE(nullptr, fgets(line, sizeof line, stream));
  EXPECT_EQ('1', line[0]) << "another unit begins with a page";
  fclose(stream);
  remove(file.c_str());
}

TEST(OlderNames, SayWhatHasReplacedThem) {
  testing::internal::CaptureStderr();
  QRTContext *context = qrt_initialize();
  ASSERT_NE(nullptr, context);
  QRTModel *model = qrt_createModel("old");
  EXPECT_EQ(nullptr, qrt_context(model));
  const std::string file = testing::TempDir() + "older_names";
  EXPECT_EQ(0, qrt_saveToFile(model, file.c_str()));
  EXPECT_EQ(0, qrt_restoreFromFile(model, file.c_str()));
  remove(file.c_str());
  EXPECT_EQ(0, qrt_end());
  EXPECT_EQ(model, qrt_getCurrent()) << "nothing has ended";
  qrt_deleteModel(model);
  qrt_endContext(context);
  EXPECT_EQ(
      "qrt_initialize replaced by env=qrt_initializeContext()\n"
      "qrt_createModel replaced by qrt_newModel(env,name)\n"
      "qrt_saveToFile replaced by qrt_saveModel\n"
      "qrt_restoreFromFile replaced by qrt_restoreModel\n"
      "qrt_end replaced by qrt_endContext(env)\n",
      testing::internal::GetCapturedStderr());
}

}  // namespace
