// Models of the classic interface. Faults these tests would catch: an array at another place than its position says, numbers
// that count from 0, space taken twice or not given back, duals of the wrong sign, one model's arrays shown as another's,
// damaged numbers in DSPACE followed, an exchange that loses a block, a name or a control.
#include <gtest/gtest.h>

#include <cmath>
#include <cstring>
#include <fstream>
#include <string>
#include <vector>

#include "frame/dspace.h"
#include "include/qrt_classic.h"
#include "model/model_store.h"

namespace {

// max 1.5 x + 2 y + 3 z, two rows; -17.5 at (1, 2, 4) as a minimisation. Z's entries come out of the order of rows.
const char *const smallFile =
    "NAME          SMALL\n"
    "ROWS\n N  COST\n L  CAP\n G  LEAST\n"
    "COLUMNS\n"
    "    X         COST              -1.5   CAP                1.0\n"
    "    X         LEAST              1.0\n"
    "    Y         COST              -2.0   CAP                2.0\n"
    "    Z         LEAST              1.0   CAP                1.0\n"
    "    Z         COST              -3.0\n"
    "RHS\n"
    "    NEED      CAP                9.0   LEAST              2.0\n"
    "BOUNDS\n"
    " UP LIMIT     X                  1.0\n"
    " UP LIMIT     Z                  4.0\n"
    "ENDATA\n";
const char *const infeasibleFile =
    "NAME          NONE\nROWS\n N  COST\n L  LOW\n G  HIGH\nCOLUMNS\n"
    "    X         COST               1.0   LOW                1.0\n"
    "    X         HIGH               1.0\n"
    "RHS\n    NEED      LOW                1.0   HIGH               2.0\nENDATA\n";

constexpr int UNIT = 44;
enum : int { AT_ROW_LOWER = 1, AT_ROW_UPPER = 3, AT_ROW_DUAL = 4, AT_COL_LOWER = 6, AT_COL_VALUE = 7, AT_COL_UPPER = 8,
             AT_COL_STATUS = 10, AT_COST = 11, AT_ROW_NAMES = 12, AT_COL_NAMES = 13, AT_ROWS = 25, AT_COLUMNS = 26,
             AT_ELEMENTS = 27, AT_ROW_AUX = 29 };
enum : int { IMAXITER = 5, IMAXROWS = 9, IMAXCOLS = 10, INUMROWS = 27, INUMCOLS = 28, IPROBSTAT = 47 };

void raise(int number, int maxalw) {
  int rc = -9;
  const int keep = 0;
  qrtmset_(&rc, nullptr, &number, &maxalw, &keep, &keep, &keep, &keep, &keep);
}
struct Raised {
  int number;
  explicit Raised(int severe) : number(severe) { raise(number, 256); }
  ~Raised() { raise(number, 1); }
};

class ClassicModels : public ::testing::Test {
 protected:
  std::vector<double> room;
  double *ds = nullptr;
  int rc = -9;
  void SetUp() override {
    const int first = 1, last = 2999, keep = 0, never = -1;  // no news
    qrtmset_(&rc, nullptr, &first, &keep, &never, &keep, &keep, &last, &keep);
    declare(20000, 3);
  }
  void TearDown() override {
    EXPECT_EQ(nullptr, dspace_check(ds));
    qrtinit_(&rc, ds);
    close();
    const int first = 1, last = 2999, keep = 0, always = 256;
    qrtmset_(&rc, nullptr, &first, &keep, &always, &keep, &keep, &last, &keep);
  }
  void declare(int dlen, int nModels) {
    if (ds) qrtinit_(&rc, ds);
    room.assign(size_t(dlen), 0.0);
    ds = room.data();
    qrtdsca_(&rc, ds, &dlen, &nModels);
    ASSERT_EQ(0, rc);
  }
  void close() { qrtfcls_(&openUnit, "DELETE", &rc); }
  int openUnit = UNIT;
  int read(const char *text, int option = 2) {
    close();
    char texts[17 * 80];  // any model, any sets
    const int all = 17;
    qrtcget_(&rc, ds, texts, &all);
    memset(texts, ' ', sizeof texts);
    qrtcset_(&rc, ds, texts, &all);
    const std::string file = testing::TempDir() + "classic_model.mps";
    std::ofstream(file) << text;
    const int none = 0;
    qrtfopn_(&openUnit, file.c_str(), "OLD", "SEQUENTIAL", "FORMATTED", "NULL", &none, &rc);
    EXPECT_EQ(0, rc);
    qrtmps_(&rc, ds, &openUnit, &option, &none);
    return rc;
  }
  int solve(int alg = 0, int init = 1) {
    qrtsslv_(&rc, ds, &alg, &init);
    return rc;
  }
  int load(int model) {
    qrtgtmi_(&rc, ds, &model);
    return rc;
  }
  int save(int model) {
    qrtptmi_(&rc, ds, &model);
    return rc;
  }
  int position(int which) {
    int list[69];
    const int n = 69;
    int code = -9;
    qrtnget_(&code, ds, list, &n);
    EXPECT_EQ(0, code);
    return list[which - 1];
  }
  double *reals(int which) { return ds + position(which) - 1; }
  int *integers(int which) { return reinterpret_cast<int *>(ds) + position(which) - 1; }
  std::string name(int which, int k, int width) {
    return std::string(reinterpret_cast<char *>(reals(which)) + k * width, size_t(width));
  }
  int control(int position) {
    int list[71], code = -9;
    const int n = 71;
    qrtiget_(&code, ds, list, &n);
    return list[position - 1];
  }
  int setControl(int position, int value) {
    int list[71];
    const int n = 71;
    qrtiget_(&rc, ds, list, &n);
    list[position - 1] = value;
    qrtiset_(&rc, ds, list, &n);
    return rc;
  }
  double objective() {
    double list[45];
    int code = -9;
    const int n = 45;
    qrtrget_(&code, ds, list, &n);
    return list[17];
  }
  int freeDoublewords() const {
    const DspaceHeader header = dspaceHeader(ds);
    return header.arena[ARENA_HIGH] - header.arena[ARENA_LOW];
  }
};

TEST_F(ClassicModels, PositionsShowWhatTheFileSays) {
  ASSERT_EQ(0, read(smallFile));
  EXPECT_EQ(2, control(INUMROWS));
  EXPECT_EQ(3, control(INUMCOLS));
  EXPECT_EQ(2, control(IMAXROWS));
  EXPECT_EQ(-1e31, reals(AT_ROW_LOWER)[0]);
  EXPECT_EQ(9.0, reals(AT_ROW_UPPER)[0]);
  EXPECT_EQ(2.0, reals(AT_ROW_LOWER)[1]);
  EXPECT_EQ(1e31, reals(AT_ROW_UPPER)[1]);
  const double upper[] = {1.0, 1e31, 4.0}, cost[] = {-1.5, -2.0, -3.0};
  for (int j = 0; j < 3; ++j) {
    EXPECT_EQ(0.0, reals(AT_COL_LOWER)[j]);
    EXPECT_EQ(upper[j], reals(AT_COL_UPPER)[j]);
    EXPECT_EQ(cost[j], reals(AT_COST)[j]);
  }
  EXPECT_EQ("CAP     ", name(AT_ROW_NAMES, 0, 8));
  EXPECT_EQ("LEAST   ", name(AT_ROW_NAMES, 1, 8));
  EXPECT_EQ("Z       ", name(AT_COL_NAMES, 2, 8));
  const int starts[] = {1, 3, 4, 6}, rows[] = {1, 2, 1, 1, 2};
  const double elements[] = {1, 1, 2, 1, 1};
  for (int j = 0; j < 4; ++j) EXPECT_EQ(starts[j], integers(AT_COLUMNS)[j]);
  for (int k = 0; k < 5; ++k) {
    EXPECT_EQ(rows[k], integers(AT_ROWS)[k]);
    EXPECT_EQ(elements[k], reals(AT_ELEMENTS)[k]);
  }
  char texts[80];
  const int one = 1;
  qrtcget_(&rc, ds, texts, &one);
  EXPECT_EQ(0, memcmp(texts, "SMALL   ", 8));
}

TEST_F(ClassicModels, TriplesAndRoomForMore) {
  EXPECT_EQ(0, setControl(IMAXROWS, 7));
  EXPECT_EQ(0, setControl(IMAXCOLS, 10));
  ASSERT_EQ(0, read(smallFile, 1));
  EXPECT_EQ(7, control(IMAXROWS));
  EXPECT_EQ(130, setControl(IMAXROWS, 8)) << "arrays cannot move";
  EXPECT_EQ(0, setControl(INUMROWS, 3)) << "but there is room";
  EXPECT_EQ(reals(AT_COL_LOWER), reals(AT_ROW_LOWER) + 7);
  const int rows[] = {1, 2, 1, 1, 2}, columns[] = {1, 1, 2, 3, 3};
  for (int k = 0; k < 5; ++k) {
    EXPECT_EQ(rows[k], integers(AT_ROWS)[k]);
    EXPECT_EQ(columns[k], integers(AT_COLUMNS)[k]);
  }
  EXPECT_EQ(0, solve());
  EXPECT_NEAR(-17.5, objective(), 1e-9);
}

TEST_F(ClassicModels, ReadingAgainTakesTheSpaceOnce) {
  const int all = freeDoublewords();
  ASSERT_EQ(0, read(smallFile));
  const int once = freeDoublewords();
  EXPECT_LT(once, all);
  EXPECT_EQ(120, read(smallFile)) << "a warning: a model goes";
  EXPECT_EQ(once, freeDoublewords());
  EXPECT_EQ(0, save(1));
  EXPECT_EQ(120, read(smallFile));
  EXPECT_EQ(2 * once - all, freeDoublewords()) << "a saved model has its arrays still";
}

TEST_F(ClassicModels, SpaceTooSmallIsSevereAndLeavesNoModel) {
  for (int dlen : {9, 30, 45, 58, 59}) {
    std::vector<double> small(size_t(dlen), 0.0);
    const int one = 1;
    qrtdsca_(&rc, small.data(), &dlen, &one);
    ASSERT_EQ(0, rc);
    const int all = dspaceHeader(small.data()).arena[ARENA_HIGH] - dspaceHeader(small.data()).arena[ARENA_LOW];
    double *const before = ds;
    ds = small.data();
    if (dlen == 59) {
      EXPECT_EQ(0, read(smallFile)) << "to the last doubleword";
      EXPECT_EQ(0, freeDoublewords());
    } else {
      Raised rows(7006), columns(7007);
      EXPECT_EQ(340, read(smallFile)) << dlen;
      EXPECT_EQ(0, position(AT_ROW_LOWER));
      EXPECT_EQ(all, freeDoublewords());
      EXPECT_EQ(nullptr, dspace_check(ds));
    }
    qrtinit_(&rc, ds);
    ds = before;
  }
}

TEST_F(ClassicModels, SolvesShowTheCoresDualsAndTheAnswer) {
  ASSERT_EQ(0, read(smallFile));
  EXPECT_EQ(0, solve());
  EXPECT_EQ(0, control(IPROBSTAT));
  EXPECT_NEAR(-17.5, objective(), 1e-9);
  const double expected[] = {1.0, 2.0, 4.0};
  for (int j = 0; j < 3; ++j) EXPECT_NEAR(expected[j], reals(AT_COL_VALUE)[j], 1e-9);
  // One more of CAP would give -1; the core's dual has the other sign than that of a QRTModel.
  EXPECT_NEAR(1.0, reals(AT_ROW_DUAL)[0], 1e-9);
  EXPECT_EQ(0, position(AT_ROW_AUX));
  // A change in place, and on from the basis.
  reals(AT_ROW_UPPER)[0] = 10.0;
  EXPECT_EQ(0, solve(2));
  EXPECT_NEAR(-18.5, objective(), 1e-9);
  EXPECT_EQ(0, setControl(IMAXITER, 0));
  for (int j = 0; j < 3; ++j) integers(AT_COL_STATUS)[j] = 0x20000000;
  reals(AT_COL_VALUE)[0] = reals(AT_COL_VALUE)[1] = reals(AT_COL_VALUE)[2] = 0.0;
  solve(1, 1);
  EXPECT_EQ(3, control(IPROBSTAT)) << "stopped by the limit";
  EXPECT_EQ(0, setControl(IMAXITER, 1000));
  EXPECT_EQ(0, solve(1, 0));
  EXPECT_NEAR(-18.5, objective(), 1e-9);
}

int iterationCalls = 0;
void stopAtOnce(int *status, int) {
  ++iterationCalls;
  *status = 3;
}

TEST_F(ClassicModels, TheIterationExitMayStop) {
  ASSERT_EQ(0, read(smallFile));
  QRTITRC = stopAtOnce;
  solve(1);
  QRTITRC = nullptr;
  EXPECT_GT(iterationCalls, 0);
  EXPECT_EQ(3, control(IPROBSTAT));
  EXPECT_EQ(0, solve(1, 0));
}

TEST_F(ClassicModels, WhatWasProvedOfAnInfeasibleModelIsKept) {
  ASSERT_EQ(0, read(infeasibleFile));
  EXPECT_EQ(100, solve());
  EXPECT_EQ(1, control(IPROBSTAT));
  ASSERT_NE(0, position(AT_ROW_AUX));
  const double *w = reals(AT_ROW_AUX);
  EXPECT_NEAR(0.0, w[0] + w[1], 1e-9);
  EXPECT_GT(std::fabs(w[0]), 1e-6);
}

TEST_F(ClassicModels, BadCallsAndDamagedNumbersAreSevere) {
  Raised data(7005), parameter(7029), inconsistent(7021);
  EXPECT_EQ(321, solve()) << "no model";
  ASSERT_EQ(0, read(smallFile));
  EXPECT_EQ(331, solve(3));
  EXPECT_EQ(331, solve(0, 4));
  const int before = freeDoublewords();
  for (int *entry : {&integers(AT_ROWS)[2], &integers(AT_COLUMNS)[1], &integers(AT_COLUMNS)[3]}) {
    const int good = *entry;
    for (int bad : {0, -1, 1000000, 2147483647}) {
      *entry = bad;
      EXPECT_EQ(331, solve()) << bad;
    }
    *entry = good;
  }
  EXPECT_EQ(before, freeDoublewords());
  EXPECT_EQ(0, solve());
  EXPECT_NEAR(-17.5, objective(), 1e-9);
  const int three = 3, none = 0;
  qrtmps_(&rc, ds, &openUnit, &three, &none);
  EXPECT_EQ(331, rc) << "option 3";
}

TEST_F(ClassicModels, SeveralModelsLieSideBySide) {
  ASSERT_EQ(0, read(smallFile));
  EXPECT_EQ(0, solve());
  EXPECT_EQ(0, save(1));
  EXPECT_EQ(0, load(2));
  EXPECT_EQ(0, position(AT_ROW_LOWER));
  ASSERT_EQ(0, read(infeasibleFile));
  EXPECT_EQ(100, solve());
  EXPECT_EQ(0, save(2));
  EXPECT_EQ(0, load(1));
  EXPECT_NEAR(-17.5, objective(), 1e-9);
  EXPECT_NEAR(4.0, reals(AT_COL_VALUE)[2], 1e-9);
  EXPECT_EQ("LEAST   ", name(AT_ROW_NAMES, 1, 8));
  EXPECT_EQ(0, load(2));
  EXPECT_EQ("HIGH    ", name(AT_ROW_NAMES, 1, 8));
  EXPECT_EQ(1, control(IPROBSTAT));
}

TEST_F(ClassicModels, WhatWasPushedInFullComesBackWhole) {
  ASSERT_EQ(0, read(smallFile));
  EXPECT_EQ(0, solve());
  const int full = 1, arenaOnly = 0, before = freeDoublewords();
  qrtpshs_(&rc, ds, &full);
  EXPECT_EQ(120, read(infeasibleFile));
  qrtpops_(&rc, ds, &full);
  EXPECT_EQ(0, rc);
  EXPECT_EQ(before, freeDoublewords());
  EXPECT_EQ(3, control(INUMCOLS));
  EXPECT_EQ("Z       ", name(AT_COL_NAMES, 2, 8));
  EXPECT_EQ(0, solve(2));
  EXPECT_NEAR(-17.5, objective(), 1e-9);
  // Pushed without the model, what was made since is gone.
  qrtpshs_(&rc, ds, &arenaOnly);
  EXPECT_EQ(0, load(2));
  qrtpshs_(&rc, ds, &arenaOnly);
  ASSERT_EQ(0, read(infeasibleFile));
  qrtpops_(&rc, ds, &arenaOnly);
  EXPECT_EQ(0, position(AT_ROW_LOWER));
  EXPECT_EQ(0, control(INUMROWS));
  EXPECT_EQ(before, freeDoublewords());
}

// A model with blocks of all kinds, names of a length of its own, integers, scaled or not.
class Exchange : public ClassicModels {
 protected:
  void SetUp() override {
    ClassicModels::SetUp();
    context = qrt_initializeContext();
    model = made("from");
    back = qrt_newModel(context, "back");
    for (QRTModel *m : {model, back}) qrt_messagesPrintOff(m, 1, 6999);
  }
  void TearDown() override {
    qrt_endContext(context);
    ClassicModels::TearDown();
  }
  QRTModel *made(const char *title) {
    QRTModel *m = qrt_newModel(context, title);
    qrt_messagesPrintOff(m, 1, 6999);
    const double rowLower[] = {-1e31, 1, 2}, rowUpper[] = {9, 1e31, 8};
    const double cost[] = {-1, -2, -3, 1, 0.5}, low[] = {0, 0, 0, -1, 0}, high[] = {1, 3, 4, 1e31, 2};
    EXPECT_EQ(0, qrt_loadRimModel(m, 3, rowLower, rowUpper, 5, cost, low, high));
    const int starts[] = {0, 2, 3, 5}, rows[] = {0, 1, 0, 0, 1};
    const double elements[] = {1, 1, 2, 1, 1};
    EXPECT_EQ(0, qrt_addColumnElementBlock(m, 3, rows, starts, elements));
    const int tripleRows[] = {2, 2, 0}, tripleColumns[] = {3, 4, 3};
    const double tripleElements[] = {1, 2, -1};
    EXPECT_EQ(1, qrt_addElementBlock(m, 3, tripleRows, tripleColumns, tripleElements));
    EXPECT_EQ(2, qrt_addElementBlockWithOffsets(m, 3, tripleRows, tripleColumns, tripleElements, 0, -3));
    qrt_createNames(m, 12);
    qrt_setImaxiter(m, 4321);
    qrt_setRtolpinf(m, 1e-6);
    qrt_setCrhs(m, "SIDE");
    return m;
  }
  static std::vector<double> dense(const QRTModel *m) {
    std::vector<double> matrix(size_t(m->Inumrows) * size_t(m->Inumcols), 0.0);
    forEachElement(m, [&](int i, int j, double &value) { matrix[size_t(i) * size_t(m->Inumcols) + size_t(j)] += value; });
    return matrix;
  }
  static void expectSame(QRTModel *a, QRTModel *b) {
    ASSERT_EQ(a->Inumrows, b->Inumrows);
    ASSERT_EQ(a->Inumcols, b->Inumcols);
    EXPECT_EQ(a->Inumblocks, b->Inumblocks);
    EXPECT_EQ(dense(a), dense(b));
    for (int i = 0; i < a->Inumrows; ++i) {
      EXPECT_EQ(qrt_rowlower(a)[i], qrt_rowlower(b)[i]);
      EXPECT_EQ(qrt_rowupper(a)[i], qrt_rowupper(b)[i]);
      EXPECT_EQ(qrt_rowacts(a)[i], qrt_rowacts(b)[i]);
      EXPECT_EQ(qrt_rowduals(a)[i], qrt_rowduals(b)[i]);
      EXPECT_EQ(qrt_rowstat(a)[i], qrt_rowstat(b)[i]);
    }
    for (int j = 0; j < a->Inumcols; ++j) {
      EXPECT_EQ(qrt_collower(a)[j], qrt_collower(b)[j]);
      EXPECT_EQ(qrt_colupper(a)[j], qrt_colupper(b)[j]);
      EXPECT_EQ(qrt_colsol(a)[j], qrt_colsol(b)[j]);
      EXPECT_EQ(qrt_colrcosts(a)[j], qrt_colrcosts(b)[j]);
      EXPECT_EQ(qrt_colstat(a)[j], qrt_colstat(b)[j]);
      EXPECT_EQ(qrt_objective(a)[j], qrt_objective(b)[j]);
      char x[40], y[40];
      int n = 0, k = 0;
      const char *one = columnNameOf(a, j, x, &n), *other = columnNameOf(b, j, y, &k);
      EXPECT_EQ(std::string(one, size_t(n)), std::string(other, size_t(k)));
    }
    EXPECT_EQ(nullptr, model_check(b));
  }
  QRTContext *context = nullptr;
  QRTModel *model = nullptr, *back = nullptr;
};

TEST_F(Exchange, GoesThereAndBack) {
  EXPECT_EQ(0, qrt_primalSimplex(model, 1));
  const double optimum = qrt_getRobjvalue(model);
  ASSERT_EQ(0, qrt_loadDspace(model, ds, 20000));
  EXPECT_EQ(model, qrt_getCurrent());
  EXPECT_EQ(4321, qrt_getImaxiter(model));
  EXPECT_EQ(4321, control(IMAXITER));
  EXPECT_EQ(3, control(INUMROWS));
  EXPECT_EQ(5, control(INUMCOLS));
  EXPECT_EQ(-qrt_rowduals(model)[0], reals(AT_ROW_DUAL)[0]);
  EXPECT_EQ(optimum, objective());
  ASSERT_EQ(0, qrt_unloadDspace(back, ds, 20000));
  EXPECT_EQ(back, qrt_getCurrent());
  expectSame(model, back);
  EXPECT_EQ(4321, qrt_getImaxiter(back));
  EXPECT_EQ(1e-6, qrt_getRtolpinf(back));
  EXPECT_STREQ("SIDE", qrt_getCrhs(back));
  EXPECT_EQ(optimum, qrt_getRobjvalue(back));
  EXPECT_EQ(0, qrt_dualSimplex(back, 1));
  EXPECT_EQ(optimum, qrt_getRobjvalue(back));
}

TEST_F(Exchange, ASolveInDspaceIsThatOfTheModel) {
  ASSERT_EQ(0, qrt_loadDspace(model, ds, 20000));
  EXPECT_EQ(0, solve());
  EXPECT_EQ(0, qrt_primalSimplex(model, 1));
  EXPECT_NEAR(qrt_getRobjvalue(model), objective(), 1e-9);
  ASSERT_EQ(0, qrt_unloadDspace(back, ds, 20000));
  for (int i = 0; i < 3; ++i) EXPECT_NEAR(qrt_rowduals(model)[i], qrt_rowduals(back)[i], 1e-9);
  for (int j = 0; j < 5; ++j) EXPECT_NEAR(qrt_colrcosts(model)[j], qrt_colrcosts(back)[j], 1e-9);
}

TEST_F(Exchange, ScaledModelsStayScaled) {
  ASSERT_EQ(0, qrt_mergeBlocks(model, 0));
  ASSERT_EQ(0, qrt_scale(model));
  ASSERT_EQ(0, qrt_loadDspace(model, ds, 20000));
  ASSERT_EQ(0, qrt_unloadDspace(back, ds, 20000));
  EXPECT_EQ(model->matrixScaled, back->matrixScaled);
  expectSame(model, back);
  for (int i = 0; i < 3; ++i) EXPECT_EQ(qrt_rowscales(model)[i], qrt_rowscales(back)[i]);
  EXPECT_EQ(0, solve());
  EXPECT_EQ(0, qrt_primalSimplex(model, 1));
  EXPECT_NEAR(qrt_getRobjvalue(model), objective(), 1e-9);
}

TEST_F(Exchange, RefusalsLeaveTheModelAlone) {
  QRTModel *untouched = made("same");
  EXPECT_EXIT(qrt_loadDspace(model, ds, 9999), testing::ExitedWithCode(0), "");
  qrt_mset(model, 7029, 256, 0, 0, 0, 0);
  EXPECT_EQ(999, qrt_loadDspace(model, ds, 9999));
  EXPECT_EQ(999, qrt_unloadDspace(model, ds, 9999));
  model->entryDepth = 0;  // a call that ended by a jump leaves it
  Raised undeclared(7043), shortage(7003);
  EXPECT_EQ(321, qrt_unloadDspace(model, ds, 15000)) << "another length";
  std::vector<double> blank(10000, 0.0);
  EXPECT_EQ(321, qrt_unloadDspace(model, blank.data(), 10000));
  // Too big for the area.
  ASSERT_EQ(0, qrt_resizeModelExact(back, 3000, 3000, 3000, 3000, 1));
  EXPECT_EQ(321, qrt_loadDspace(back, ds, 20000));
  EXPECT_EQ(3000, qrt_getInumrows(back));
  expectSame(untouched, model);
  EXPECT_FALSE(model->modelFlags & MODEL_MOVING);
}

}  // namespace
