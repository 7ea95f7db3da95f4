// Save files: what goes in comes out, section by section, and a damaged file harms nothing.
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <fstream>
#include <iterator>
#include <string>
#include <vector>

#include <gtest/gtest.h>
#include <unistd.h>

#include "model/integer_sets.h"
#include "model/model_store.h"
#include "model/save_file.h"

namespace {

struct Save : ::testing::Test {
  static QRTContext *context;
  static std::string folder;
  QRTModel *model = nullptr;
  static void SetUpTestSuite() {
    context = qrt_initializeContext();
    qrt_messagesPrintOff(qrt_baseModel(context), 1, 9000);
    qrt_mset(qrt_baseModel(context), 7000, 256, -1, 0, 7999, 0);
    char name[] = "/tmp/tavstoch-save-XXXXXX";
    folder = mkdtemp(name);
  }
  static void TearDownTestSuite() {
    qrt_endContext(context);
    const std::string remove = "rm -rf " + folder;
    EXPECT_EQ(0, std::system(remove.c_str()));
  }
  void TearDown() override {
    if (model) qrt_deleteModel(model);
  }
  static std::string file(const std::string &name) { return folder + "/" + name; }
  // Everything a file can hold: blocks of both kinds that overlap, one repeated, integers, sets, quadratic terms.
  static QRTModel *build() {
    QRTModel *q = qrt_newModel(context, "saved");
    const double rowLower[] = {-1e31, 1, 2, 0}, rowUpper[] = {40, 9, 2, 30}, cost[] = {1, -2, 0.5, 3, 0.1};
    const double lower[] = {0, -1, 0, 0, 0}, upper[] = {4, 5, 1, 1e31, 1};
    qrt_loadRimModel(q, 4, rowLower, rowUpper, 5, cost, lower, upper);
    qrt_resizeModelExact(q, 4, 5, 7, 9, 1);  // room to spare, so that rows and capacities differ
    const int rows[] = {0, 2, 1, 0, 2}, columns[] = {0, 1, 4, 3, 2}, starts[] = {0, 2, 4, 5};
    const double values[] = {1.0 / 3.0, 2, 0.1, -7, 5};
    qrt_addElementBlock(q, 5, rows, columns, values);
    qrt_addColumnElementBlockWithOffsets(q, 3, rows, starts, values, 1, 1);
    qrt_repeatElementBlock(q, 1, 0, 2, 0);
    qrt_createNames(q, 12);
    const char *names[] = {"FIRST_ROW", "SECOND"};
    qrt_copyRowNames(q, names, 0, 2);
    qrt_markAsInteger(q, 2);
    const int set[] = {0, 4};
    qrt_addSOS2Set(q, 3, 2, set, nullptr, nullptr);
    qrt_addElementInformationBlock(q, 2, set, columns, values);
    qrt_setRobjectiveOffset(q, 12.25);
    qrt_setImaxiter(q, 777);
    qrt_setRtolint(q, 1e-5);
    qrt_setCrhs(q, "RIGHT");
    return q;
  }
};
QRTContext *Save::context = nullptr;
std::string Save::folder;

template <class T> bool same(const T *a, const T *b, int64_t n) { return (!a || !b) ? a == b : std::memcmp(a, b, sizeof(T) * size_t(n)) == 0; }

std::string difference(QRTModel *a, QRTModel *b) {
  if (a->Inumrows != b->Inumrows || a->Inumcols != b->Inumcols || a->Imaxrows != b->Imaxrows || a->Imaxcols != b->Imaxcols) return "size";
  const int64_t n = int64_t(a->Imaxrows) + a->Imaxcols;
  if (!same(a->status, b->status, n)) return "statuses";
  if (!same(a->solution, b->solution, n) || !same(a->dual, b->dual, n)) return "values";
  if (!same(a->lower, b->lower, n) || !same(a->upper, b->upper, n) || !same(a->objective, b->objective, n)) return "bounds or costs";
  if (!same(a->aux, b->aux, n) || (a->aux && a->auxKind != b->auxKind)) return "aux";
  if (!same(a->scales, b->scales, n) || a->matrixScaled != b->matrixScaled) return "scales";
  if (a->Inumchar != b->Inumchar || !same(a->rownames, b->rownames, int64_t(a->Inumrows) * a->Inumchar)) return "row names";
  if (!same(a->colnames, b->colnames, int64_t(a->Inumcols) * a->Inumchar)) return "column names";
  if (a->Inumblocks != b->Inumblocks) return "blocks";
  for (int k = 0; k < a->Inumblocks; k++) {
    const ElementBlock &x = a->blocks[k], &y = b->blocks[k];
    const int64_t e = blockElements(x);
    if (x.type != y.type || x.count != y.count || x.rowBase != y.rowBase || x.columnBase != y.columnBase) return "a block's record";
    if (!same(x.rows, y.rows, e) || !same(x.elements, y.elements, e)) return "a block's arrays";
  }
  if (!same(a->integerTypes, b->integerTypes, a->Inumcols) || qrt_getInumints(a) != qrt_getInumints(b)) return "integers";
  if (a->Inumsets != b->Inumsets) return "sets";
  for (int k = 0; a->setInfo && k < entityTable(a)->nMembers; k++)
    if (!same(memberTable(a) + k, memberTable(b) + k, 1)) return "members";
  if (a->Inumquadraticblocks != b->Inumquadraticblocks) return "quadratic blocks";
  for (int k = 0; k < a->Inumquadraticblocks; k++)
    if (!same(a->quadraticBlocks[k].block->elements, b->quadraticBlocks[k].block->elements, blockElements(*a->quadraticBlocks[k].block))) return "quadratic";
  if (qrt_getRobjectiveOffset(a) != qrt_getRobjectiveOffset(b) || qrt_getImaxiter(a) != qrt_getImaxiter(b) || qrt_getRtolint(a) != qrt_getRtolint(b) ||
      qrt_getIprobstat(a) != qrt_getIprobstat(b) || qrt_getRobjvalue(a) != qrt_getRobjvalue(b) || qrt_getIiternum(a) != qrt_getIiternum(b))
    return "controls";
  if (std::strcmp(qrt_getCrhs(a), qrt_getCrhs(b)) != 0 || std::strcmp(qrt_getCname(a), qrt_getCname(b)) != 0) return "texts";
  return "";
}

std::string contents(const std::string &name) {
  std::ifstream stream(name, std::ios::binary);
  return std::string(std::istreambuf_iterator<char>(stream), std::istreambuf_iterator<char>());
}

void writeFile(const std::string &name, const std::string &bytes) { std::ofstream(name, std::ios::binary) << bytes; }

// Fault: any part of a model that does not come back bit for bit, solved or not, scaled or not.
TEST_F(Save, WholeModelsComeBack) {
  for (const bool solved : {false, true})
    for (const bool scaled : {false, true}) {
      model = build();
      if (scaled) qrt_scale(model);
      if (solved) { ASSERT_EQ(0, qrt_primalSimplex(model, 1)); }
      ASSERT_EQ(0, qrt_saveModel(model, file("a.sav").c_str()));
      QRTModel *back = qrt_newModel(context, "other");
      ASSERT_EQ(0, qrt_restoreModel(back, file("a.sav").c_str()));
      EXPECT_EQ("", difference(model, back));
      EXPECT_EQ(nullptr, model_check(back));
      ASSERT_EQ(0, qrt_restoreModel(back, file("a.sav").c_str()));  // over a model of the same size
      EXPECT_EQ("", difference(model, back));
      if (solved) {
        const int before = qrt_getIiternum(back);
        ASSERT_EQ(0, qrt_primalSimplex(back, 1));
        EXPECT_EQ(before, qrt_getIiternum(back));
      }
      qrt_deleteModel(back);
      qrt_deleteModel(model);
      model = nullptr;
    }
}

// Fault: a header or section of another layout than the one described.
TEST_F(Save, LayoutIsTheOneDescribed) {
  model = build();
  ASSERT_EQ(0, qrt_saveModel(model, file("l.sav").c_str()));
  const std::string bytes = contents(file("l.sav"));
  int32_t words[22];
  std::memcpy(words, bytes.data(), sizeof words);
  EXPECT_EQ("TAV!", bytes.substr(0, 4));
  EXPECT_EQ(int32_t(SAVE_RECORDS | SAVE_NAMES | SAVE_STATUS | SAVE_VALUES | SAVE_DUALS | SAVE_BOUNDS_AND_COSTS | SAVE_MATRIX | SAVE_INTEGERS | SAVE_QUADRATIC), words[1]);
  const int expected[20] = {4, 7, 9, 0, 0, 0, 0, 0, 0, 0, 1168, 1336, 848, 592, 0, 416};
  for (int k = 0; k < 20; k++) EXPECT_EQ(expected[k], words[2 + k]) << k;
  const size_t afterRecords = 88 + 1168 + 1336 + 848 + 592;
  EXPECT_EQ("FIRST_ROW   SECOND      ", bytes.substr(afterRecords, 24));
  const size_t lower = afterRecords + 16 * 12 + 16 * (4 + 8 + 8);
  double value;
  std::memcpy(&value, bytes.data() + lower + 8 * 8, 8);
  EXPECT_EQ(-1.0, value);  // column 1 stands behind the room for rows
}

// Fault: a mask that writes or reads more or less than it says.
TEST_F(Save, MasksChooseSections) {
  model = build();
  ASSERT_EQ(0, qrt_primalSimplex(model, 1));
  qrt_setImodelmask(model, SAVE_STATUS | SAVE_VALUES);
  ASSERT_EQ(0, qrt_saveModel(model, file("s.sav").c_str()));
  qrt_setImodelmask(model, 0);
  ASSERT_EQ(0, qrt_saveModel(model, file("w.sav").c_str()));
  QRTModel *other = build();
  qrt_setImaxiter(other, 5);
  ASSERT_EQ(0, qrt_restoreModel(other, file("s.sav").c_str()));
  EXPECT_TRUE(same(model->solution, other->solution, 16) && same(model->status, other->status, 16));
  EXPECT_FALSE(same(model->dual, other->dual, 16));
  EXPECT_EQ(5, qrt_getImaxiter(other));
  qrt_setImodelmask(other, SAVE_DUALS);
  ASSERT_EQ(0, qrt_restoreModel(other, file("w.sav").c_str()));
  EXPECT_TRUE(same(model->dual, other->dual, 16));
  EXPECT_EQ(5, qrt_getImaxiter(other));
  qrt_deleteModel(other);
  // Records of another size are passed over, the rest is taken.
  std::string bytes = contents(file("w.sav"));
  const int32_t foreign = 1172;
  std::memcpy(&bytes[8 + 4 * HEAD_LPLP], &foreign, 4);
  bytes.insert(88 + 1168, 4, '\0');
  writeFile(file("f.sav"), bytes);
  other = build();
  qrt_setImaxiter(other, 5);
  ASSERT_EQ(0, qrt_restoreModel(other, file("f.sav").c_str()));
  EXPECT_EQ(5, qrt_getImaxiter(other));
  EXPECT_TRUE(same(model->dual, other->dual, 16));
  qrt_deleteModel(other);
  // A model that was scaled since takes the unscaled matrix, and says so.
  other = build();
  qrt_scale(other);
  ASSERT_EQ(0, qrt_restoreModel(other, file("w.sav").c_str()));
  EXPECT_EQ(0, other->matrixScaled);
  EXPECT_EQ(model->blocks[0].elements[0], other->blocks[0].elements[0]);
  qrt_deleteModel(other);
}

// Fault: a damaged file that is taken for a whole one, runs past its end, or leaves half a model behind.
TEST_F(Save, DamagedFilesChangeNothing) {
  model = build();
  ASSERT_EQ(0, qrt_saveModel(model, file("d.sav").c_str()));
  const std::string bytes = contents(file("d.sav"));
  QRTModel *empty = qrt_newModel(context, "empty");
  for (size_t length = 0; length < bytes.size(); length += length < 100 || length > 3900 ? 1 : 37) {
    writeFile(file("cut.sav"), bytes.substr(0, length));
    ASSERT_NE(0, qrt_restoreModel(empty, file("cut.sav").c_str())) << length;
    ASSERT_EQ(0, qrt_getInumcols(empty));
    ASSERT_NE(0, qrt_restoreModel(model, file("cut.sav").c_str())) << length;
  }
  QRTModel *twin = build();
  EXPECT_EQ("", difference(twin, model));
  // Any byte changed: refused, or a sound model.
  unsigned seed = 9;
  for (size_t at = 0; at < bytes.size(); at += 11) {
    std::string changed = bytes;
    seed = seed * 1103515245u + 12345u;
    changed[at] = char(changed[at] ^ char(1 + (seed >> 16) % 255));
    writeFile(file("changed.sav"), changed);
    QRTModel *fresh = qrt_newModel(context, "fresh");
    qrt_restoreModel(fresh, file("changed.sav").c_str());
    ASSERT_EQ(nullptr, model_check(fresh)) << at;
    qrt_deleteModel(fresh);
  }
  // Another size, no such file, a full disk.
  QRTModel *small = qrt_newModel(context, "small");
  qrt_resizeModelExact(small, 2, 2, 2, 2, 1);
  EXPECT_NE(0, qrt_restoreModel(small, file("d.sav").c_str()));
  EXPECT_NE(0, qrt_restoreModel(small, file("absent.sav").c_str()));
  if (access("/dev/full", W_OK) == 0) { EXPECT_NE(0, qrt_saveModel(model, "/dev/full")); }
  EXPECT_NE(0, qrt_saveModel(model, (folder + "/none/x.sav").c_str()));
  EXPECT_EQ(bytes, contents(file("d.sav")));
  qrt_deleteModel(small);
  qrt_deleteModel(twin);
  qrt_deleteModel(empty);
}

}  // namespace
