// Presolve and postsolve through their entries: every type, streams in memory and in files, models that turn out to have no
// solution, and everything that can go wrong with a file. Faults it would catch: a model left half reduced, a basis of the
// wrong size, names or types on the wrong column, a damaged file taken for a good one.
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cmath>
#include <cstdlib>
#include <fstream>
#include <iterator>
#include <string>
#include <vector>

#include "certificate_model.h"
#include "frame/entry_frame.h"
#include "prep/presolve_call.h"
#include "prep/presolve_run.h"
#include "support/planted_lp.h"

namespace {

std::vector<int> told;  // numbers of the messages of the call under test
void listen(QRTModel *, int number, int, const double *, int, const int *, int, const char *) { told.push_back(number); }

struct PresolveEntry : ::testing::Test {
  static QRTContext *context;
  static std::string folder;
  static void SetUpTestSuite() {
    context = qrt_initializeContext();
    QRTModel *base = qrt_baseModel(context);
    qrt_messagesPrintOff(base, 1, 9999);
    qrt_mset(base, 7000, 256, -1, 0, 7999, 0);
    qrt_mset(base, 9016, 256, -1, 0, 9016, 0);
    char name[] = "/tmp/tavstoch-presolve-XXXXXX";
    folder = mkdtemp(name);
  }
  static void TearDownTestSuite() {
    qrt_endContext(context);
    const std::string remove = "rm -rf " + folder;
    EXPECT_EQ(0, std::system(remove.c_str()));
  }
  static std::string file(const char *name) { return folder + "/" + name; }
  static std::string bytesOf(const std::string &path) {
    std::ifstream in(path, std::ios::binary);
    return {std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>()};
  }
  static void write(const std::string &path, const std::string &bytes) {
    std::ofstream(path, std::ios::binary).write(bytes.data(), std::streamsize(bytes.size()));
  }
  // All that a model is, as bytes: two images are equal only when nothing has changed.
  static std::string image(QRTModel *q) {
    const std::string path = file("image.sav");
    EXPECT_EQ(0, qrt_saveModel(q, path.c_str()));
    return bytesOf(path);
  }
  static QRTModel *small(int rows, const std::vector<double> &rl, const std::vector<double> &ru, const std::vector<double> &c,
                         const std::vector<double> &l, const std::vector<double> &u, const std::vector<double> &dense) {
    QRTModel *q = qrt_newModel(context, "small");
    const int n = int(c.size());
    qrt_loadRimModel(q, rows, rl.data(), ru.data(), n, c.data(), l.data(), u.data());
    std::vector<int> row, column;
    std::vector<double> value;
    for (int i = 0; i < rows; i++)
      for (int j = 0; j < n; j++)
        if (dense[size_t(i * n + j)] != 0.0) row.push_back(i), column.push_back(j), value.push_back(dense[size_t(i * n + j)]);
    if (!row.empty()) qrt_addElementBlock(q, int(row.size()), row.data(), column.data(), value.data());
    return q;
  }
  static int basics(QRTModel *q) { return qrt_getNumberBasicRows(q) + qrt_getNumberBasicColumns(q); }
  // Whatever the reduced model was: the original is optimal as it comes back, and a simplex agrees at once.
  static void expectOptimal(QRTModel *q, const PlantedLp &lp, int iterations) {
    ASSERT_EQ(lp.rows(), qrt_getInumrows(q));
    ASSERT_EQ(lp.columns(), qrt_getInumcols(q));
    EXPECT_EQ("", firstFault(certifyModel(q), 1e-7));
    EXPECT_NEAR(lp.optimum, qrt_getRobjvalue(q), 1e-7 * (1 + std::fabs(lp.optimum)));
    EXPECT_EQ(lp.rows(), basics(q));
    const int before = qrt_getIiternum(q);
    qrt_primalSimplex(q, 1);
    EXPECT_EQ(0, qrt_getIprobstat(q));
    EXPECT_LE(qrt_getIiternum(q) - before, iterations) << "iterations after postsolve";
  }
};
QRTContext *PresolveEntry::context = nullptr;
std::string PresolveEntry::folder;

TEST_F(PresolveEntry, EveryTypeComesBackOptimal) {
  const int kinds = 4, flags[] = {0, 1, 2, 3, 4, 8, 9, 11, 15, 16, 32, 47, 63};
  int again = 0, runs = 0, removed = 0;
  for (unsigned seed = 1; seed <= 12 && !HasFailure(); seed++) {
    const PlantedLp lp = plantedLp(seed, 12, 18, PLANT_ALL, 2);
    for (int kind = 0; kind < kinds; kind++)
      for (int flag : flags) {
        const int type = kind + 4 * flag + (seed % 3 == 0 ? 20000 : 0);
        SCOPED_TRACE("seed " + std::to_string(seed) + " type " + std::to_string(type));
        QRTModel *q = lp.load(context);
        if (seed % 2 == 0) qrt_scale(q);
        const int code = preSolveForRun(q, type, nullptr);
        ASSERT_EQ(0, code);
        removed += lp.rows() - qrt_getInumrows(q);
        qrt_primalSimplex(q, 1);
        ASSERT_EQ(0, qrt_getIprobstat(q));
        EXPECT_NEAR(lp.optimum, qrt_getRobjvalue(q), 1e-7 * (1 + std::fabs(lp.optimum))) << "value of the reduced model";
        ASSERT_EQ(0, qrt_postSolve(q, nullptr));
        const int before = qrt_getIiternum(q);
        expectOptimal(q, lp, 3);
        again += qrt_getIiternum(q) != before;
        runs++;
        qrt_deleteModel(q);
      }
  }
  EXPECT_GT(removed, 10 * runs) << "next to nothing was removed";
  // A free variable the reduced model never needed has no vertex to come back to: a step then puts it in its place.
  EXPECT_LE(again, runs / 20) << "bases that are not yet optimal, of " << runs;
}

// Maximised, in a caller's sign of duals, with a constant: the same point and value by way of presolve as without.
TEST_F(PresolveEntry, SenseAndConstantStay) {
  for (unsigned seed = 21; seed <= 30; seed++) {
    PlantedLp lp = plantedLp(seed, 10, 14, PLANT_ALL, 2);
    for (double &c : lp.cost) c = -c;
    QRTModel *q = lp.load(context);
    qrt_setMaximize(q);
    qrt_setRobjectiveOffset(q, 4.5);
    ASSERT_EQ(0, preSolveForRun(q, 47, nullptr));
    qrt_primalSimplex(q, 1);
    EXPECT_NEAR(-lp.optimum - 4.5, qrt_getRobjvalue(q), 1e-7 * (1 + std::fabs(lp.optimum)));
    ASSERT_EQ(0, qrt_postSolve(q, nullptr));
    EXPECT_EQ(4.5, qrt_getRobjectiveOffset(q));
    EXPECT_EQ("", firstFault(certifyModel(q), 1e-7));
    qrt_deleteModel(q);
  }
}

// Found infeasible at different depths: the model is the very one it was, and postsolve has nothing to do.
TEST_F(PresolveEntry, InfeasibleLeavesTheModel) {
  for (unsigned seed = 1; seed <= 8; seed++)
    for (int type : {0, 3, 47, 63 * 4 - 64 + 3}) {
      SCOPED_TRACE("seed " + std::to_string(seed) + " type " + std::to_string(type));
      const PlantedLp lp = plantedLp(seed, 12, 18, PLANT_ALL, 2);
      QRTModel *q = lp.load(context);
      // Three rows, no two of which contradict one another: x + y = 2, x - y = 0, x = 3 in new columns.
      const int n = lp.columns(), columns[] = {n, n + 1};
      const double zero[] = {0, 0}, high[] = {10, 10}, sum[] = {1, 1}, difference[] = {1, -1};
      qrt_addColumns(q, 2, zero, high, zero, nullptr, nullptr, nullptr);
      qrt_addOneRow(q, 2, 2, 2, columns, sum);
      qrt_addOneRow(q, 0, 0, 2, columns, difference);
      qrt_addOneRow(q, 3, 3, 1, columns, sum);
      qrt_createNames(q, 8);
      qrt_markAsInteger(q, 1);
      const std::string before = image(q), path = file("infeasible.pre");
      EXPECT_EQ(1, qrt_preSolve(q, type, path.c_str()));
      EXPECT_EQ(before, image(q));
      EXPECT_EQ(0, qrt_postSolve(q, path.c_str()));
      EXPECT_EQ(before, image(q));
      EXPECT_EQ(1, qrt_preSolve(q, type, nullptr));
      EXPECT_EQ(before, image(q));
      EXPECT_EQ(0, qrt_postSolve(q, nullptr));
      qrt_deleteModel(q);
    }
}

TEST_F(PresolveEntry, UnboundedByDuals) {
  // x wants to grow and no row holds it back.
  QRTModel *q = small(1, {1}, {1e31}, {-1, 1}, {0, 0}, {1e31, 5}, {1, 1});
  const std::string before = image(q);
  EXPECT_EQ(2, qrt_preSolve(q, 35, nullptr));
  EXPECT_EQ(before, image(q));
  qrt_primalSimplex(q, 1);
  EXPECT_EQ(2, qrt_getIprobstat(q));
  qrt_deleteModel(q);
}

// Repair makes a feasible model of one that is not; what comes back is a start and no optimum.
TEST_F(PresolveEntry, RepairedIsNotOptimal) {
  QRTModel *q = small(2, {4, -1e31}, {1e31, 9}, {1, 1}, {0, 0}, {1, 1}, {1, 1, 1, -1});
  EXPECT_EQ(1, qrt_preSolve(q, 0, nullptr));
  const int code = preSolveForRun(q, 64 + 3 + 10000, nullptr);
  if (code == 0) {
    qrt_primalSimplex(q, 1);
    EXPECT_EQ(0, qrt_postSolve(q, nullptr));
    EXPECT_GT(qrt_getInumpinf(q), 0);
  } else {
    EXPECT_EQ(1, code);  // found before the repairing stage
  }
  EXPECT_EQ(2, qrt_getInumrows(q));
  EXPECT_EQ(2, basics(q));
  qrt_primalSimplex(q, 1);
  EXPECT_EQ(1, qrt_getIprobstat(q));
  qrt_deleteModel(q);
}

// A solve that was stopped, or never begun, gives a start: no duals, a basis of the right size, the optimum from there.
TEST_F(PresolveEntry, StoppedSolveGivesAStart) {
  for (unsigned seed = 1; seed <= 20; seed++)
    for (int limit : {-1, 0, 3}) {
      SCOPED_TRACE("seed " + std::to_string(seed) + " limit " + std::to_string(limit));
      const PlantedLp lp = plantedLp(seed, 30, 45, PLANT_ALL, 3);
      QRTModel *q = lp.load(context);
      qrt_setImaxiter(q, 1000000);
      if (limit < 0) qrt_primalSimplex(q, 1);  // optimal before: that says nothing of the reduced model
      ASSERT_EQ(0, preSolveForRun(q, 43, nullptr));
      qrt_setImaxiter(q, limit < 0 ? 0 : limit);
      if (limit >= 0) qrt_primalSimplex(q, 1);
      const bool solved = limit >= 0 && qrt_getIprobstat(q) == 0;
      ASSERT_EQ(0, qrt_postSolve(q, nullptr));
      EXPECT_EQ(lp.rows(), basics(q));
      for (int i = 0; i < lp.rows() && !solved; i++) EXPECT_EQ(0.0, qrt_rowduals(q)[i]);
      qrt_setImaxiter(q, 1000000);
      qrt_primalSimplex(q, 1);
      EXPECT_EQ("", firstFault(certifyModel(q), 1e-7));
      EXPECT_NEAR(lp.optimum, qrt_getRobjvalue(q), 1e-7 * (1 + std::fabs(lp.optimum)));
      qrt_deleteModel(q);
    }
}

// An optimal point without a basis: values and duals come back all the same, and statuses are a start of the right size.
TEST_F(PresolveEntry, PointWithoutBasis) {
  for (unsigned seed = 1; seed <= 40 && !HasFailure(); seed++) {
    SCOPED_TRACE("seed " + std::to_string(seed));
    const PlantedLp lp = plantedLp(seed, 20, 30, PLANT_ALL, 3);
    QRTModel *q = lp.load(context);
    ASSERT_EQ(0, preSolveForRun(q, 47, nullptr));
    qrt_primalSimplex(q, 1);
    for (int i = 0; i < qrt_getInumrows(q); i++) q->status[i] = 0;
    for (int j = 0; j < qrt_getInumcols(q); j++) q->status[q->Imaxrows + j] = 0;
    ASSERT_EQ(0, qrt_postSolve(q, nullptr));
    EXPECT_EQ("", firstFault(certifyModel(q), 1e-7));
    EXPECT_EQ(lp.rows(), basics(q));
    qrt_deleteModel(q);
  }
}

// What postsolve believes of a basis: neither a singular one, nor values or duals that are not its own.
TEST_F(PresolveEntry, BasisIsJudged) {
  const PlantedLp lp = plantedLp(9, 15, 20, 0, 0);
  QRTModel *q = lp.load(context);
  qrt_primalSimplex(q, 1);
  qrt_enter(q, "test", 0);
  std::vector<double> x(qrt_colsol(q), qrt_colsol(q) + lp.columns()), y(qrt_rowduals(q), qrt_rowduals(q) + lp.rows());
  std::vector<char> rowBasic, columnBasic;
  for (int i = 0; i < lp.rows(); i++) rowBasic.push_back(qrt_rowStatus(q, i) == 0);
  for (int j = 0; j < lp.columns(); j++) columnBasic.push_back(qrt_columnStatus(q, j) == 0);
  Postsolve p = {q, lp.rows(), lp.columns(), 0, 1e-9, 1e-12, x.data(), nullptr, y.data(), rowBasic.data(), columnBasic.data(), nullptr};
  EXPECT_TRUE(basisConfirms(&p));
  for (int j = 0; j < lp.columns(); j++)
    if (columnBasic[size_t(j)]) {
      x[size_t(j)] += 1e-3;
      EXPECT_FALSE(basisConfirms(&p)) << "value of column " << j;
      x[size_t(j)] -= 1e-3;
    }
  for (int i = 0; i < lp.rows(); i++) {
    y[size_t(i)] += 1e-3;
    EXPECT_FALSE(basisConfirms(&p)) << "dual of row " << i;
    y[size_t(i)] -= 1e-3;
  }
  const auto out = std::find(columnBasic.begin(), columnBasic.end(), char(1));
  ASSERT_NE(columnBasic.end(), out);
  *out = 0;
  EXPECT_FALSE(basisConfirms(&p)) << "one variable short";
  qrt_leave(q);
  qrt_deleteModel(q);
}

// Rows and columns move up with all that is theirs, and back.
TEST_F(PresolveEntry, NamesTypesAndSetsMoveAlong) {
  // Row 0 is free, row 1 a bound of column 0, which row 3 then fixes; columns 2 and 4 make a set.
  QRTModel *q = small(5, {-1e31, -1e31, 1, 2, 0.5}, {1e31, 3, 9, 2, 1e31}, {1, 2, 3, 4, 5}, {0, 0, 0, 0, 0}, {9, 9, 2.7, 1, 6},
                      {1, 1, 0, 0, 0, 2, 0, 0, 0, 0, 0, 1, 1, 0, 1, 1, 0, 0, 0, 0, 0, 1, 1, 1, 1});
  qrt_createNames(q, 8);
  qrt_markAsInteger(q, 2);
  qrt_markAsInteger(q, 3);
  const int members[] = {2, 4};
  qrt_addSOS1Set(q, 1, 2, members, nullptr, nullptr);
  const std::string before = image(q);
  ASSERT_EQ(1, qrt_preSolve(q, 0, nullptr)) << "2 x <= 3 and x = 2";
  EXPECT_EQ(before, image(q));
  double *rowUpper = qrt_getRowupper(q);
  rowUpper[1] = 4;
  qrt_setRowupper(q, rowUpper);
  qrt_free(rowUpper);
  ASSERT_EQ(0, qrt_preSolve(q, 0, nullptr));
  ASSERT_EQ(2, qrt_getInumrows(q));
  ASSERT_EQ(4, qrt_getInumcols(q));
  const int width = qrt_getInumchar(q);
  EXPECT_EQ("C0000001", std::string(qrt_colnames(q), 8));
  EXPECT_EQ("R0000002", std::string(qrt_rownames(q), 8));
  EXPECT_EQ("R0000004", std::string(qrt_rownames(q) + width, 8));
  EXPECT_EQ(1, qrt_integerType(q)[2]) << "column 3 is column 2 now";
  EXPECT_EQ(2.7, qrt_colupper(q)[1]) << "a member of a set is not rounded";
  EXPECT_EQ(0, qrt_postSolve(q, nullptr));
  EXPECT_EQ("C0000004", std::string(qrt_colnames(q) + 4 * width, 8));
  EXPECT_EQ(1, qrt_integerType(q)[3]);
  EXPECT_EQ(2.7, qrt_colupper(q)[2]);
  qrt_deleteModel(q);
}

TEST_F(PresolveEntry, IntegerBoundsAreRounded) {
  QRTModel *q = small(1, {5}, {12}, {1, 1}, {0.4, 0}, {7.9, 9.2}, {1, 1});
  qrt_markAsInteger(q, 0);
  ASSERT_EQ(0, qrt_preSolve(q, 0, nullptr));
  EXPECT_EQ(1.0, qrt_collower(q)[0]);
  EXPECT_EQ(7.0, qrt_colupper(q)[0]);
  EXPECT_EQ(9.2, qrt_colupper(q)[1]);
  qrt_deleteModel(q);
  q = small(1, {0}, {20}, {1, 1}, {0.4, 0}, {0.6, 9}, {1, 1});
  qrt_markAsInteger(q, 0);
  EXPECT_EQ(1, qrt_preSolve(q, 0, nullptr));
  EXPECT_EQ(0.6, qrt_colupper(q)[0]);
  qrt_deleteModel(q);
}

// Scaled between the two calls: values are those of the caller throughout, and the matrix comes back unscaled.
TEST_F(PresolveEntry, ScaledBetween) {
  const PlantedLp lp = plantedLp(5, 20, 30, PLANT_ALL, 2);
  QRTModel *q = lp.load(context);
  ASSERT_EQ(0, preSolveForRun(q, 35, nullptr));
  qrt_scale(q);
  qrt_primalSimplex(q, 1);
  ASSERT_EQ(0, qrt_postSolve(q, nullptr));
  expectOptimal(q, lp, 3);
  qrt_deleteModel(q);
}

TEST_F(PresolveEntry, NothingLeftIsAStandIn) {
  for (int kind = 0; kind < 4; kind++) {
    QRTModel *q = small(2, {-1e31, -1e31}, {100, 50}, {1, 2}, {1, 2}, {4, 5}, {1, 1, 1, 0});
    told.clear();
    qrt_registerMsguCallBack(q, listen);
    qrt_mset(q, 7020, 256, -1, 1, 7020, 0);
    EXPECT_EQ(999, qrt_preSolve(q, kind, nullptr));
    EXPECT_EQ(1, qrt_getInumrows(q));
    EXPECT_EQ(1, qrt_getInumels(q));
    qrt_dualSimplex(q, 1);
    EXPECT_EQ(5.0, qrt_getRobjvalue(q));
    EXPECT_EQ(0, qrt_postSolve(q, nullptr));
    EXPECT_EQ("", firstFault(certifyModel(q), 1e-9));
    EXPECT_EQ(2, basics(q));
    qrt_deleteModel(q);
  }
  // What had no rows or columns to begin with has lost nothing.
  QRTModel *q = small(0, {}, {}, {1, -1}, {0, 0}, {1, 1}, {});
  EXPECT_EQ(0, qrt_preSolve(q, 3, nullptr));
  qrt_primalSimplex(q, 1);
  EXPECT_EQ(0, qrt_postSolve(q, nullptr));
  EXPECT_EQ(-1.0, qrt_getRobjvalue(q));
  qrt_deleteModel(q);
  q = small(1, {2}, {3}, {}, {}, {}, {});
  EXPECT_EQ(1, qrt_preSolve(q, 3, nullptr));
  qrt_deleteModel(q);
}

// A stream that was lost, cut off or changed harms nothing; a good one serves however often it is read.
TEST_F(PresolveEntry, DamagedFiles) {
  const PlantedLp lp = plantedLp(3, 3, 4, PLANT_ALL, 1);
  const std::string path = file("whole.pre"), damaged = file("damaged.pre");
  QRTModel *q = lp.load(context);
  ASSERT_EQ(0, preSolveForRun(q, 47, path.c_str()));
  qrt_primalSimplex(q, 1);
  const std::string whole = bytesOf(path), before = image(q);
  ASSERT_GT(whole.size(), 1000u);
  write(damaged, whole);
  for (size_t length = whole.size(); length-- > 0;) {
    ASSERT_EQ(0, truncate(damaged.c_str(), off_t(length)));
    const int code = qrt_postSolve(q, damaged.c_str());
    ASSERT_TRUE(code == 21 || code == 999) << "cut at " << length << ": " << code;
    if (length % 97 == 0) { ASSERT_EQ(before, image(q)) << "cut at " << length; }
  }
  // Each byte in turn is another: refused, or taken for a file of other numbers; never a crash. The original image is
  // another reader's business, so only what follows it.
  QRTModel *copy = qrt_newModel(context, "copy");
  qrt_saveModel(q, file("reduced.sav").c_str());
  for (size_t at = whole.size() - 1500; at < whole.size(); at += 3) {
    std::string other = whole;
    other[at] = char(other[at] ^ 0x55);
    write(damaged, other);
    qrt_deleteModel(copy);
    copy = qrt_newModel(context, "copy");
    qrt_restoreModel(copy, file("reduced.sav").c_str());
    qrt_postSolve(copy, damaged.c_str());
  }
  qrt_deleteModel(copy);
  EXPECT_EQ(341, qrt_postSolve(q, file("absent.pre").c_str()));
  EXPECT_EQ(before, image(q));
  ASSERT_EQ(0, qrt_postSolve(q, path.c_str()));
  expectOptimal(q, lp, 3);
  qrt_deleteModel(q);
}

TEST_F(PresolveEntry, WhereNothingCanBeWritten) {
  const PlantedLp lp = plantedLp(4, 10, 15, PLANT_ALL, 2);
  QRTModel *q = lp.load(context);
  const std::string before = image(q);
  EXPECT_EQ(341, qrt_preSolve(q, 3, (folder + "/absent/x.pre").c_str()));
  EXPECT_EQ(before, image(q));
  // The device takes what it is given and then has no room: the model stays.
  const int code = qrt_preSolve(q, 3, "/dev/full");
  EXPECT_TRUE(code == 21 || code == 999) << code;
  EXPECT_EQ(before, image(q));
  // A file that stood there survives a presolve that cannot replace it.
  const std::string path = file("kept.pre");
  write(path, "what stood here");
  if (geteuid() != 0) {
    chmod(folder.c_str(), 0500);
    EXPECT_NE(0, qrt_preSolve(q, 3, path.c_str()));
    chmod(folder.c_str(), 0700);
    EXPECT_EQ("what stood here", bytesOf(path));
  }
  EXPECT_EQ(0, qrt_preSolve(q, 3, path.c_str()));
  EXPECT_NE("what stood here", bytesOf(path));
  qrt_primalSimplex(q, 1);
  EXPECT_EQ(0, qrt_postSolve(q, path.c_str()));
  expectOptimal(q, lp, 3);
  qrt_deleteModel(q);
}

// No stream: the model is reduced for good, and postsolve says nothing.
TEST_F(PresolveEntry, Nowhere) {
  const PlantedLp lp = plantedLp(6, 10, 15, PLANT_ALL, 2);
  QRTModel *q = lp.load(context);
  ASSERT_EQ(0, qrt_postSolve(q, nullptr));
  ASSERT_EQ(0, preSolveForRun(q, 3, "/null"));
  const int rows = qrt_getInumrows(q);
  EXPECT_LT(rows, lp.rows());
  qrt_primalSimplex(q, 1);
  const std::string before = image(q);
  EXPECT_EQ(0, qrt_postSolve(q, "/null"));
  EXPECT_EQ(before, image(q));
  EXPECT_NEAR(lp.optimum, qrt_getRobjvalue(q), 1e-7 * (1 + std::fabs(lp.optimum)));
  qrt_deleteModel(q);
}

}  // namespace
