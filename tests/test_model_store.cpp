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
#include "frame/work_image.h"
#include "model/integer_sets.h"
#include "model/model_store.h"

namespace {

struct Store : ::testing::Test {
  static QRTContext *context;
  QRTModel *model = nullptr;
  static void SetUpTestSuite() { context = qrt_initializeContext(); }
  static void TearDownTestSuite() { qrt_endContext(context); }
  void SetUp() override {
    model = qrt_newModel(context, "store");
    qrt_mset(model, 1, 256, -1, 0, 9999, 0);
  }
  void TearDown() override { qrt_deleteModel(model); }
};
QRTContext *Store::context = nullptr;

using Dense = std::map<std::pair<int, int>, double>;

void drop0(Dense &sum) {
  for (auto it = sum.begin(); it != sum.end();) it = it->second == 0.0 ? sum.erase(it) : std::next(it);
}

Dense matrixOf(QRTModel *model) {
  Dense sum;
  forEachElement(model, [&](int r, int c, double v) { sum[{r, c}] += v; });
  drop0(sum);
  return sum;
}

// ---- a plain twin of the model, edited beside it ----------------------------------------------------------------

// Rows and columns carry a unique lower bound as their tag, so that a misplaced entry shows.
struct Twin {
  std::vector<double> rowTag, columnTag;
  Dense matrix;
  double nextTag = 1.0;
  int rows() const { return int(rowTag.size()); }
  int columns() const { return int(columnTag.size()); }

  void renumber(const std::vector<int> &rowMap, const std::vector<int> &columnMap) {
    Dense kept;
    for (const auto &[at, v] : matrix) {
      const int r = rowMap[size_t(at.first)], c = columnMap[size_t(at.second)];
      if (r >= 0 && c >= 0) kept[{r, c}] = v;
    }
    matrix = kept;
  }
  static std::vector<int> identity(int n) {
    std::vector<int> map(size_t(n), 0);
    for (int k = 0; k < n; k++) map[size_t(k)] = k;
    return map;
  }
  // Removes the listed numbers from `tags` and answers the map.
  static std::vector<int> removal(std::vector<double> &tags, const std::vector<int> &which) {
    std::vector<int> map(tags.size(), 0);
    for (int k : which) map[size_t(k)] = -1;
    std::vector<double> kept;
    for (size_t k = 0; k < tags.size(); k++)
      if (map[k] >= 0) {
        map[k] = int(kept.size());
        kept.push_back(tags[k]);
      }
    tags = kept;
    return map;
  }
};

struct Walk {
  QRTModel *model;
  Twin twin;
  std::mt19937 random;
  int pick(int n) { return int(random() % unsigned(n)); }
  double value() { return double(pick(9) - 4); }

  void compare() {
    ASSERT_STREQ(nullptr, model_check(model));
    ASSERT_EQ(twin.rows(), model->Inumrows);
    ASSERT_EQ(twin.columns(), model->Inumcols);
    drop0(twin.matrix);
    ASSERT_EQ(twin.matrix, matrixOf(model));
    for (int i = 0; i < twin.rows(); i++) ASSERT_EQ(twin.rowTag[size_t(i)], qrt_rowlower(model)[i]);
    for (int j = 0; j < twin.columns(); j++) ASSERT_EQ(twin.columnTag[size_t(j)], qrt_collower(model)[j]);
    if (twin.rows() > 0) compareOneRow(pick(twin.rows()));
  }
  void compareOneRow(int row) {
    QRTVector *vector = qrt_getRow(model, row);
    Dense got, expected;
    for (int e = 0; e < vector->count; e++) got[{row, vector->indices[e]}] = vector->elements[e];
    qrt_freeVector(vector);
    for (const auto &[at, v] : twin.matrix)
      if (at.first == row) expected[at] = v;
    ASSERT_EQ(expected, got);
  }

  void addTriples() {
    std::vector<int> r, c;
    std::vector<double> v;
    for (int n = pick(7); n > 0; n--) {
      r.push_back(pick(twin.rows()));
      c.push_back(pick(twin.columns()));
      v.push_back(value());
      twin.matrix[{r.back(), c.back()}] += v.back();
    }
    ASSERT_GE(qrt_addElementBlock(model, int(r.size()), r.data(), c.data(), v.data()), 0);
  }
  void addColumnBlock() {
    const int first = pick(twin.columns()), n = pick(twin.columns() - first) + 1;
    std::vector<int> r, s{0};
    std::vector<double> v;
    for (int c = 0; c < n; c++) {
      for (int k = pick(4); k > 0; k--) {
        r.push_back(pick(twin.rows()));
        v.push_back(value());
        twin.matrix[{r.back(), first + c}] += v.back();
      }
      s.push_back(int(r.size()));
    }
    ASSERT_GE(qrt_addColumnElementBlockWithOffsets(model, n, r.data(), s.data(), v.data(), 0, first), 0);
  }
  void repeatBlock() {
    if (model->Inumblocks == 0) return;
    const int b = pick(model->Inumblocks);
    const ElementBlock block = model->blocks[b];
    const int64_t n = blockElements(block);
    int highest = 0;
    for (int64_t e = 0; e < n; e++) highest = std::max(highest, block.rows[e]);
    if (twin.rows() <= highest || twin.columns() <= block.extent) return;
    const int rowOffset = pick(twin.rows() - highest), columnOffset = pick(twin.columns() - block.extent + 1);
    if (isTriples(block)) {
      for (int e = 0; e < block.count; e++)
        twin.matrix[{block.rows[e] + rowOffset, block.columns[e] + columnOffset}] += block.elements[e];
    } else {
      for (int c = 0; c < block.count; c++)
        for (int e = block.columns[c]; e < block.columns[c + 1]; e++)
          twin.matrix[{block.rows[e] + rowOffset, c + columnOffset}] += block.elements[e];
    }
    ASSERT_GE(qrt_repeatElementBlock(model, b, rowOffset, columnOffset, 0), 0);
  }
  // Rows or columns with elements on their other side.
  void addVectors(bool rowwise) {
    const int n = pick(3) + 1, other = rowwise ? twin.columns() : twin.rows();
    const int first = rowwise ? twin.rows() : twin.columns();
    std::vector<int> index, s{0};
    std::vector<double> v, tags;
    for (int k = 0; k < n; k++) {
      tags.push_back(-twin.nextTag++);
      for (int e = other > 0 ? pick(4) : 0; e > 0; e--) {
        index.push_back(pick(other));
        v.push_back(value());
        twin.matrix[rowwise ? std::make_pair(first + k, index.back()) : std::make_pair(index.back(), first + k)] +=
            v.back();
      }
      s.push_back(int(index.size()));
      (rowwise ? twin.rowTag : twin.columnTag).push_back(tags.back());
    }
    if (rowwise)
      ASSERT_EQ(0, qrt_addRows(model, n, tags.data(), nullptr, s.data(), index.data(), v.data()));
    else
      ASSERT_EQ(0, qrt_addColumns(model, n, tags.data(), nullptr, nullptr, s.data(), index.data(), v.data()));
  }
  void removeVectors(bool rowwise) {
    std::vector<double> &tags = rowwise ? twin.rowTag : twin.columnTag;
    if (tags.size() < 4) return;
    std::vector<int> which;
    for (int k = pick(3) + 1; k > 0; k--) which.push_back(pick(int(tags.size())));
    which.push_back(which.front());
    const int n = int(which.size());
    const std::vector<int> rowMap = rowwise ? Twin::removal(tags, which) : Twin::identity(twin.rows());
    const std::vector<int> columnMap = rowwise ? Twin::identity(twin.columns()) : Twin::removal(tags, which);
    twin.renumber(rowMap, columnMap);
    ASSERT_EQ(0, rowwise ? qrt_deleteRows(model, n, which.data()) : qrt_deleteColumns(model, n, which.data()));
  }
  void replaceVector(bool rowwise) {
    const int k = pick(rowwise ? twin.rows() : twin.columns()), other = rowwise ? twin.columns() : twin.rows();
    for (auto &[at, v] : twin.matrix)
      if ((rowwise ? at.first : at.second) == k) v = 0.0;
    std::vector<int> index;
    std::vector<double> v;
    for (int e = pick(4); e > 0; e--) {
      index.push_back(pick(other));
      v.push_back(value());
      twin.matrix[rowwise ? std::make_pair(k, index.back()) : std::make_pair(index.back(), k)] += v.back();
    }
    const int n = int(index.size());
    ASSERT_EQ(0, rowwise ? qrt_replaceRow(model, k, n, index.data(), v.data())
                         : qrt_replaceColumn(model, k, n, index.data(), v.data()));
  }
  void replaceElements() {
    std::vector<int> r, c;
    std::vector<double> v;
    for (int n = pick(6); n > 0; n--) {
      r.push_back(pick(twin.rows()));
      c.push_back(pick(twin.columns()));
      v.push_back(value());
      twin.matrix[{r.back(), c.back()}] = v.back();
    }
    ASSERT_EQ(0, qrt_replaceElements(model, int(r.size()), r.data(), c.data(), v.data()));
  }
  void resize() {
    const int rows = std::max(3, twin.rows() + pick(9) - 4), columns = std::max(3, twin.columns() + pick(9) - 4);
    ASSERT_EQ(0, qrt_resizeModelExact(model, rows, columns, rows + pick(30), columns + pick(30), pick(2)));
    std::vector<int> rowMap, columnMap;
    for (int i = 0; i < twin.rows(); i++) rowMap.push_back(i < rows ? i : -1);
    for (int j = 0; j < twin.columns(); j++) columnMap.push_back(j < columns ? j : -1);
    twin.renumber(rowMap, columnMap);
    twin.rowTag.resize(size_t(rows), -1e31);
    twin.columnTag.resize(size_t(columns), 0.0);
  }
  void step() {
    switch (pick(13)) {
      case 0: return addTriples();
      case 1: return addColumnBlock();
      case 2: return repeatBlock();
      case 3: return addVectors(true);
      case 4: return addVectors(false);
      case 5: return removeVectors(true);
      case 6: return removeVectors(false);
      case 7: return replaceVector(true);
      case 8: return replaceVector(false);
      case 9: return replaceElements();
      case 10: return resize();
      case 11: ASSERT_EQ(0, qrt_mergeBlocks(model, pick(2))); return;
      default: return addTriples();
    }
  }
};

// Fault: any edit that loses, doubles or misplaces an element or a rim entry, damages shared arrays or leaks a guard.
TEST_F(Store, randomEditsAgreeWithADenseMap) {
  for (unsigned seed = 1; seed <= 12; seed++) {
    QRTModel *m = qrt_newModel(context, "walk");
    qrt_mset(m, 1, 256, -1, 0, 9999, 0);
    Walk walk{m, {}, std::mt19937(seed)};
    walk.addVectors(true);
    walk.addVectors(true);
    walk.addVectors(true);
    walk.addVectors(false);
    walk.addVectors(false);
    for (int k = 0; k < 250 && !HasFatalFailure(); k++) {
      walk.step();
      walk.compare();
    }
    EXPECT_EQ(0, qrt_validateModel(m));
    EXPECT_EQ(nullptr, m->tempChainHead);
    qrt_deleteModel(m);
    ASSERT_FALSE(HasFatalFailure()) << "seed " << seed;
  }
}

// Fault: capacities that do not follow the growth rule, a column part left behind, defaults missing in new entries.
TEST_F(Store, capacitiesGrowByTheirRuleAndColumnsMove) {
  ASSERT_EQ(0, qrt_addRows(model, 10, nullptr, nullptr, nullptr, nullptr, nullptr));
  EXPECT_EQ(112, model->Imaxrows);
  const double cost[] = {3, 4, 5};
  ASSERT_EQ(0, qrt_addColumns(model, 3, nullptr, nullptr, cost, nullptr, nullptr, nullptr));
  qrt_markAsInteger(model, 1);
  model->scales = newRimVector(model, 2.0);
  ASSERT_EQ(0, qrt_resizeModel(model, 113, -1, 0));
  EXPECT_EQ(113 + 22 + 100, model->Imaxrows);
  EXPECT_EQ(4.0, qrt_objective(model)[1]);
  EXPECT_EQ(1e31, qrt_rowupper(model)[112]);
  EXPECT_EQ(int(STATUS_BASIC), qrt_rowstat(model)[112]);
  EXPECT_EQ(2.0, qrt_colscales(model)[2]);
  EXPECT_EQ(1.0, qrt_rowscales(model)[112]);
  EXPECT_EQ(1, qrt_integerType(model)[1]);
  ASSERT_EQ(0, qrt_resizeModelExact(model, 20, 3, 25, 4, 1));
  EXPECT_EQ(25, model->Imaxrows);
  EXPECT_EQ(4, model->Imaxcols);
  EXPECT_EQ(5.0, qrt_objective(model)[2]);
  EXPECT_EQ(nullptr, model_check(model));
}

// Fault: start states of rows and columns, where each way of adding has its own.
TEST_F(Store, addedAndLoadedVectorsStartAtTheRightState) {
  const double lower[] = {-5, 2, -1, -1e31, -3}, upper[] = {-1, 4, 3, 1e31, 9};
  ASSERT_EQ(0, qrt_addRows(model, 5, lower, upper, nullptr, nullptr, nullptr));
  const unsigned rowWords[] = {0xC0000000u, 0xA0000000u, 0xE0000000u, 0xE0000000u, 0xE0000000u};
  for (int i = 0; i < 5; i++) EXPECT_EQ(int(rowWords[i]), qrt_rowstat(model)[i]);
  EXPECT_EQ(-1.0, qrt_rowacts(model)[0]);
  EXPECT_EQ(-2, qrt_isRowBasic(model, 1));
  QRTModel *loaded = qrt_newModel(context, "loaded");
  qrt_mset(loaded, 1, 256, -1, 0, 9999, 0);
  ASSERT_EQ(0, qrt_loadRimModel(loaded, 5, lower, upper, 5, nullptr, lower, upper));
  const double rowValues[] = {-1, 2, 0, 0, 0}, columnValues[] = {-1, 2, -1, 0, -3};
  const int columnStates[] = {1, -1, -1, 2, -1};
  for (int k = 0; k < 5; k++) {
    EXPECT_EQ(rowValues[k], qrt_rowacts(loaded)[k]);
    EXPECT_EQ(int(STATUS_BASIC), qrt_rowstat(loaded)[k]);
    EXPECT_EQ(columnValues[k], qrt_colsol(loaded)[k]);
    EXPECT_EQ(columnStates[k], qrt_columnStatus(loaded, k));
  }
  qrt_deleteModel(loaded);
}

// Fault: refusals that change the model, or that report success.
TEST_F(Store, refusedInputLeavesTheModelAsItWas) {
  ASSERT_EQ(0, qrt_loadRimModel(model, 3, nullptr, nullptr, 2, nullptr, nullptr, nullptr));
  const int bad[] = {0, 3}, good[] = {0, 1}, starts[] = {0, 2, 1}, negative[] = {-1, 0};
  const double values[] = {1, 2}, low[] = {2, 0}, high[] = {1, 1};
  EXPECT_EQ(-1, qrt_addElementBlock(model, 2, bad, good, values));
  EXPECT_EQ(-1, qrt_addElementBlock(model, 2, good, negative, values));
  EXPECT_EQ(-1, qrt_addColumnElementBlock(model, 2, good, starts, values));
  EXPECT_NE(0, qrt_addRows(model, 2, nullptr, nullptr, starts, good, values));
  EXPECT_EQ(999, qrt_addRows(model, 2, low, high, nullptr, nullptr, nullptr));
  EXPECT_EQ(999, qrt_addColumns(model, 2, low, high, nullptr, nullptr, nullptr, nullptr));
  EXPECT_EQ(1, qrt_deleteRows(model, 1, bad + 1));
  EXPECT_EQ(99, qrt_rowStatus(model, 3));
  EXPECT_EQ(3, model->Inumrows);
  EXPECT_EQ(2, model->Inumcols);
  EXPECT_EQ(0, model->Inumblocks);
  const int rows[] = {0, 1, 7};
  EXPECT_EQ(1, qrt_setRowsNonBasicAtLower(model, 1, rows));  // a free row stays as it was
  EXPECT_EQ(0, qrt_rowStatus(model, 0));
  EXPECT_EQ(1, qrt_markRowsAsBasic(model, 3, rows));
  EXPECT_EQ(nullptr, model_check(model));
}

// Fault: a typed copy of another vector or length is taken, or the right one refused.
TEST_F(Store, setterTakesOnlyWhatItsGetterGave) {
  ASSERT_EQ(0, qrt_loadRimModel(model, 2, nullptr, nullptr, 2, nullptr, nullptr, nullptr));
  double *lower = qrt_getCollower(model), *upper = qrt_getColupper(model), *rows = qrt_getRowlower(model);
  upper[1] = 9;
  EXPECT_EQ(0, qrt_setColupper(model, upper));
  EXPECT_EQ(9.0, qrt_colupper(model)[1]);
  EXPECT_EQ(1, qrt_setColupper(model, lower));
  EXPECT_EQ(1, qrt_setCollower(model, rows));
  ASSERT_EQ(0, qrt_resizeModel(model, -1, 3, 0));
  EXPECT_EQ(1, qrt_setColupper(model, upper));
  EXPECT_EQ(nullptr, qrt_getColaux(model));
  const double part[] = {7, 8};
  EXPECT_EQ(0, qrt_copyColupper(model, part, 1, 3));
  EXPECT_EQ(8.0, qrt_colupper(model)[2]);
  qrt_free(lower);
  qrt_free(upper);
  qrt_free(rows);
}

// Fault: a damaged vector that validation does not see or names wrongly.
TEST_F(Store, validationFindsADamagedVector) {
  ASSERT_EQ(0, qrt_loadRimModel(model, 2, nullptr, nullptr, 2, nullptr, nullptr, nullptr));
  EXPECT_EQ(0, qrt_validateModel(model));
  double &behind = model->upper[model->Imaxrows + model->Imaxcols + 3];
  const double keep = behind;
  behind = -1.0;
  testing::internal::CaptureStderr();
  EXPECT_GE(qrt_validateModel(model), 1);
  EXPECT_NE(nullptr, model_check(model));
  testing::internal::GetCapturedStderr();
  behind = keep;
  EXPECT_EQ(0, qrt_validateModel(model));
}

// ---- names -----------------------------------------------------------------------------------------------------

std::string rowName(QRTModel *model, int row) {
  char buffer[40];
  int length;
  const char *name = rowNameOf(model, row, buffer, &length);
  return std::string(name, size_t(length));
}

// Fault: names that change, overlap or lose their last character between the forms.
TEST_F(Store, namesKeepTheirTextInAllForms) {
  ASSERT_EQ(0, qrt_loadRimModel(model, 3, nullptr, nullptr, 2, nullptr, nullptr, nullptr));
  EXPECT_EQ("R0000002", rowName(model, 2));  // made up while there are none
  EXPECT_EQ(nullptr, qrt_rownames(model));
  const char *names[] = {"LIMIT", "EIGHTLEN", "NINELETTERS"};
  ASSERT_EQ(0, qrt_copyRowNames(model, names, 0, 3));
  EXPECT_EQ("NINELETT", rowName(model, 2));
  for (int round = 0; round < 2; round++) {
    qrt_namePointers(model, 2);
    qrt_namePointers(model, 2);
    EXPECT_EQ(0, memcmp(model->rownames, "LIMIT   EIGHTLENNINELETT", 24));
    EXPECT_EQ(8, model->Inumchar);
    qrt_namePointers(model, -2);
    EXPECT_EQ("LIMIT", rowName(model, 0));
    EXPECT_STREQ("LIMIT", qrt_rownames(model));
    EXPECT_EQ(nullptr, model_check(model));
    char **table = qrt_rowNamePointers(model);  // the second round runs with wide entries
    EXPECT_STREQ("EIGHTLEN", table[1]);
    EXPECT_EQ(9, model->Inumchar);
    EXPECT_EQ(8, nameLength(model));
  }
  ASSERT_EQ(0, qrt_addRows(model, 300, nullptr, nullptr, nullptr, nullptr, nullptr));
  EXPECT_STREQ("R0000302", qrt_rowNamePointers(model)[302]);
  EXPECT_STREQ("C0000001", qrt_colNamePointers(model)[1]);
  const int first[] = {0};
  ASSERT_EQ(0, qrt_deleteRows(model, 1, first));
  EXPECT_STREQ("EIGHTLEN", qrt_rowNamePointers(model)[0]);
  setNameLength(model, 12);
  EXPECT_EQ("NINELETT", rowName(model, 1));
  EXPECT_EQ(nullptr, model_check(model));
  ASSERT_EQ(0, qrt_createNames(model, 4));
  EXPECT_EQ("R001", rowName(model, 1));
  ASSERT_EQ(0, qrt_deleteNames(model));
  EXPECT_EQ(4, model->Inumchar);
}

// ---- blocks, copies --------------------------------------------------------------------------------------------

// Fault: overlapping blocks replace each other, or zero sums survive a merge.
TEST_F(Store, mergingSumsSharedAndOverlappingBlocks) {
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
  CleanCopy copy;
  qrt_cleanCopy(model, &copy, CLEAN_COLUMNS | CLEAN_ROWS | CLEAN_SORTED, 0.0, 1);
  EXPECT_EQ(6, copy.nElements);
  Dense byRows;
  for (int i = 1; i <= 6; i++)
    for (int e = copy.rowStarts[i - 1]; e < copy.rowStarts[i]; e++)
      byRows[{i - 1, copy.columns[e - 1] - 1}] = copy.rowElements[e - 1];
  EXPECT_EQ(sum, byRows);
  qrt_deleteCleanCopy(&copy);
  qrt_toFortran(model, 0);
  EXPECT_EQ(sum, matrixOf(model));
  mergeAllBlocks(model, 1);
  qrt_fromFortran(model, 0);
  EXPECT_EQ(1, model->Inumblocks);
  EXPECT_EQ(sum, matrixOf(model));
  qrt_cleanCopy(model, &copy, CLEAN_COLUMNS, 0.0, 0);
  EXPECT_EQ(0, copy.owned);
  EXPECT_EQ(model->blocks[0].rows, copy.rows);
  qrt_deleteCleanCopy(&copy);
  EXPECT_EQ(nullptr, model_check(model));
}

// Fault: columns copied whole although another block has elements in or between them, or although their rows descend,
// come twice or hold a zero; columns behind a dropped element not moved up.
TEST_F(Store, mergedBlocksAreTheirSumInOrder) {
  std::mt19937 random(11);
  auto pick = [&](int n) { return int(random() % unsigned(n)); };
  for (int round = 0; round < 300; round++) {
    const int nRows = 12, nColumns = 16;
    ASSERT_EQ(0, qrt_loadRimModel(model, nRows, nullptr, nullptr, nColumns, nullptr, nullptr, nullptr));
    // Clean column blocks over part of the columns, some of which stay empty in them; then repeats and disturbances.
    for (int k = 0; k < 1 + pick(3); k++) {
      const int width = 1 + pick(6);
      std::vector<int> starts{0}, rows;
      std::vector<double> values;
      for (int c = 0; c < width; c++) {
        for (int r = 0; r < 4; r++) {
          if (pick(3) != 0) continue;
          rows.push_back(r);
          values.push_back(pick(20) == 0 ? 0.0 : 1.0 + pick(3));
        }
        if (pick(8) == 0 && int(rows.size()) > starts.back()) {  // unclean: the last row once more, or out of order
          rows.push_back(pick(2) ? rows.back() : 0);
          values.push_back(-1.0);
        }
        starts.push_back(int(rows.size()));
      }
      const int block = qrt_addColumnElementBlockWithOffsets(model, width, rows.data(), starts.data(), values.data(), pick(8), pick(nColumns - width + 1));
      for (int again = pick(4); again > 0; again--) qrt_repeatElementBlock(model, block, pick(8), pick(nColumns - width + 1), 0);
    }
    for (int k = pick(3); k > 0; k--) {
      const int row = pick(nRows), column = pick(nColumns);
      const double value = pick(2) ? -1.0 : 0.5;
      qrt_addElementBlock(model, 1, &row, &column, &value);
    }
    const Dense sum = matrixOf(model);
    ASSERT_EQ(0, qrt_mergeBlocks(model, pick(2)));
    ASSERT_EQ(1, model->Inumblocks);
    const ElementBlock &b = model->blocks[0];
    ASSERT_EQ(int(sum.size()), b.columns[nColumns]) << "round " << round;
    EXPECT_EQ(sum, matrixOf(model)) << "round " << round;
    for (int c = 0; c < nColumns; c++)
      for (int e = b.columns[c] + 1; e < b.columns[c + 1]; e++) EXPECT_LT(b.rows[e - 1], b.rows[e]) << "round " << round;
    EXPECT_EQ(nullptr, model_check(model));
  }
}

// Fault: cycles followed wrongly when triples are ordered in place; sums at the tolerance kept.
TEST_F(Store, triplesAreOrderedInPlace) {
  std::mt19937 random(5);
  for (int round = 0; round < 50; round++) {
    const int nRows = 7, nColumns = 5, n = int(random() % 60);
    std::vector<int> r, c, starts(nColumns + 1);
    std::vector<double> v;
    Dense expected;
    for (int e = 0; e < n; e++) {
      r.push_back(int(random() % nRows));
      c.push_back(int(random() % nColumns));
      v.push_back(double(int(random() % 5) - 2));
      expected[{r.back(), c.back()}] += v.back();
    }
    const int left = qrt_makeColumnOrdered(r.data(), c.data(), v.data(), starts.data(), n, nColumns, 1.0);
    Dense got;
    for (int j = 0; j < nColumns; j++)
      for (int e = starts[size_t(j)]; e < starts[size_t(j) + 1]; e++) got[{r[size_t(e)], j}] = v[size_t(e)];
    for (auto &[at, sum] : expected)
      if (std::fabs(sum) <= 1.0) sum = 0.0;
    drop0(expected);
    ASSERT_EQ(expected, got);
    ASSERT_EQ(left, int(expected.size()));
  }
}

// Fault: elements added to a scaled matrix that miss its factors, or rows given back scaled.
TEST_F(Store, scaledMatrixScalesWhatComesInAndUnscalesWhatGoesOut) {
  ASSERT_EQ(0, qrt_loadRimModel(model, 2, nullptr, nullptr, 2, nullptr, nullptr, nullptr));
  model->scales = newRimVector(model, 1.0);
  model->scales[0] = 2.0;
  model->scales[model->Imaxrows + 1] = 0.25;
  model->matrixScaled = 1;
  const int zero[] = {0}, one[] = {1}, both[] = {0, 1};
  const double three[] = {3}, pair[] = {5, 6};
  ASSERT_EQ(0, qrt_addElementBlock(model, 1, zero, one, three));
  EXPECT_EQ(24.0, qrt_blockElement(model, 0)[0]);
  ASSERT_EQ(1, qrt_repeatElementBlock(model, 0, 1, 0, 0));
  ASSERT_EQ(0, qrt_addOneRow(model, -1, 1, 2, both, pair));
  ASSERT_EQ(0, qrt_addOneColumn(model, 0, 1, 0, 2, both, pair));
  ASSERT_EQ(0, qrt_replaceElements(model, 1, zero, zero, three));
  EXPECT_EQ(12.0, matrixOf(model)[std::make_pair(1, 1)]);
  EXPECT_EQ(24.0, matrixOf(model)[std::make_pair(2, 1)]);
  EXPECT_EQ(10.0, matrixOf(model)[std::make_pair(0, 2)]);
  QRTVector *row = qrt_getRow(model, 0);
  ASSERT_EQ(3, row->count);
  for (int e = 0; e < 3; e++) EXPECT_EQ(e == 2 ? 5.0 : 3.0, row->elements[e]);
  qrt_freeVector(row);
}

// Fault: a copy that shares memory with its source, forgets a part, or copies shared blocks once each.
TEST_F(Store, copiesAreWholeAndIndependent) {
  const double cost[] = {1, 2, 3};
  ASSERT_EQ(0, qrt_loadRimModel(model, 4, nullptr, nullptr, 3, cost, nullptr, nullptr));
  const int rows[] = {0, 1}, columns[] = {0, 2};
  const double values[] = {5, 6};
  qrt_addElementBlock(model, 2, rows, columns, values);
  qrt_repeatElementBlock(model, 0, 2, 0, 0);
  qrt_markAsInteger(model, 2);
  qrt_addSOS1Set(model, 3, 2, columns, nullptr, nullptr);
  const char *name[] = {"ALPHA"};
  qrt_copyRowNames(model, name, 1, 2);
  qrt_setImaxiter(model, 77);
  QRTModel *copy = qrt_newModel(context, "copy");
  qrt_mset(copy, 1, 256, -1, 0, 9999, 0);
  ASSERT_EQ(0, qrt_copyModel(copy, model));
  EXPECT_EQ(77, qrt_getImaxiter(copy));
  EXPECT_EQ(copy->blocks[0].rows, copy->blocks[1].rows);
  const int first[] = {0};
  ASSERT_EQ(0, qrt_deleteColumns(copy, 1, first));
  EXPECT_EQ(1, entityTable(copy)->entity[0].count);
  EXPECT_EQ(1, memberTable(copy)[0].column);
  ASSERT_EQ(0, qrt_deleteRows(copy, 1, first));
  EXPECT_EQ("ALPHA", rowName(copy, 0));
  EXPECT_EQ(6.0, matrixOf(copy)[std::make_pair(0, 1)]);
  EXPECT_EQ(2, countIntegerColumns(model));
  EXPECT_EQ(1, countIntegerColumns(copy));
  EXPECT_EQ(nullptr, model_check(copy));
  EXPECT_EQ(4u, matrixOf(model).size());
  const int pickRows[] = {3, 1}, pickColumns[] = {2};
  ASSERT_EQ(0, qrt_copySubModel(copy, model, 2, 1, pickRows, pickColumns));
  EXPECT_EQ((Dense{{{0, 0}, 6.0}, {{1, 0}, 6.0}}), matrixOf(copy));
  EXPECT_EQ("ALPHA", rowName(copy, 1));
  EXPECT_EQ(3.0, qrt_objective(copy)[0]);
  EXPECT_EQ(nullptr, model_check(copy));
  qrt_deleteModel(copy);
  EXPECT_EQ(nullptr, model_check(model));
}

// ---- compression -----------------------------------------------------------------------------------------------

// A model with free rows (one of them nonbasic) and fixed columns (one of them basic).
struct Compressed : Store {
  static constexpr int M = 6, N = 7;
  std::vector<double> a = std::vector<double>(M * N);
  double at(int i, int j) const { return a[size_t(i * N + j)]; }
  void build(bool scaled) {
    std::mt19937 random(17);
    std::vector<double> rowLower(M, 1.0), rowUpper(M, 40.0), lower(N, -2.0), upper(N, 9.0), cost;
    rowLower[1] = rowLower[4] = -1e31;
    rowUpper[1] = rowUpper[4] = 1e31;
    rowUpper[2] = rowLower[2];
    for (int j : {0, 3, 5}) lower[size_t(j)] = upper[size_t(j)] = 1.25 * j + 0.1;
    for (int j = 0; j < N; j++) cost.push_back(double(j) - 2.5);
    ASSERT_EQ(0, qrt_loadRimModel(model, M, rowLower.data(), rowUpper.data(), N, cost.data(), lower.data(),
                                  upper.data()));
    std::vector<int> rows, starts{0};
    std::vector<double> values;
    for (int j = 0; j < N; j++) {
      for (int i = 0; i < M; i++)
        if (random() % 3 != 0) {
          a[size_t(i * N + j)] = double(int(random() % 19) - 9) / 7.0 + 0.01;
          rows.push_back(i);
          values.push_back(at(i, j));
        }
      starts.push_back(int(rows.size()));
    }
    if (scaled) {
      model->scales = newRimVector(model, 1.0);
      for (int k = 0; k < M; k++) model->scales[k] = 0.5 + k;
      for (int j = 0; j < N; j++) model->scales[model->Imaxrows + j] = 3.0 - 0.3 * j;
      model->matrixScaled = 1;
    }
    ASSERT_EQ(0, qrt_addColumnElementBlock(model, N, rows.data(), starts.data(), values.data()));
    const int free4[] = {4}, fixed5[] = {5}, word[] = {int(STATUS_FREE)};
    qrt_setRowStatus(model, 1, free4, word);
    qrt_markColumnsAsBasic(model, 1, fixed5);
    ASSERT_EQ(0, qrt_createNames(model, 0));
    qrt_setRobjectiveOffset(model, 3.5);
  }
};

// Fault: what leaves the model shifts nothing, or comes back without activity, reduced cost, status, aux or offset.
TEST_F(Compressed, roundTripRestoresEverything) {
  for (const bool scaled : {false, true}) {
    for (int kind : {3, 4}) {
      build(scaled);
      const std::vector<double> cost(qrt_objective(model), qrt_objective(model) + N);
      CompressInfo *info = qrt_compressMatrix(model);
      ASSERT_NE(nullptr, info);
      ASSERT_EQ(M - 1, model->Inumrows);  // the nonbasic free row stays
      ASSERT_EQ(N - 2, model->Inumcols);  // the basic fixed column stays
      EXPECT_EQ(nullptr, model_check(model));
      EXPECT_EQ("R0000002", rowName(model, 1));
      EXPECT_EQ(nullptr, qrt_compressMatrix(model));
      EXPECT_EQ(5, qrt_oldSeq(info, 4));
      EXPECT_EQ(-1, qrt_compressedSeq(info, 1));
      EXPECT_EQ(model->Imaxrows, qrt_compressedSeq(info, qrt_oldSeq(info, model->Imaxrows)));
      // Any point of the small model, with a row at its shifted bound.
      std::vector<double> x(N, 0.0), y(M, 0.0), w(M, 0.0), d(N, 0.0);
      model->auxKind = kind;
      model->aux = newRimVector(model, 0.0);
      for (int j = 0; j < model->Inumcols; j++) {
        model->solution[model->Imaxrows + j] = 0.3 * j - 1.0;
        model->aux[model->Imaxrows + j] = 0.7 * j - 2.0;
        model->status[model->Imaxrows + j] = int(STATUS_AT_UPPER);
      }
      for (int i = 0; i < model->Inumrows; i++) {
        const int whole = qrt_oldSeq(info, i);
        model->dual[i] = y[size_t(whole)] = 0.2 * i - 0.5;
        model->aux[i] = w[size_t(whole)] = 1.0 + i;
      }
      const int capacity = qrt_oldSeq(info, model->Imaxrows) - 1;  // column 0 is fixed, column 1 the first kept
      for (int j = 0; j < model->Inumcols; j++) {
        const int whole = qrt_oldSeq(info, model->Imaxrows + j) - capacity;
        x[size_t(whole)] = model->solution[model->Imaxrows + j];
        d[size_t(whole)] = model->aux[model->Imaxrows + j];
      }
      model->solution[0] = model->lower[0];
      double fixedCost = 0.0;
      for (int j : {0, 3}) {
        x[size_t(j)] = 1.25 * j + 0.1;
        fixedCost += cost[size_t(j)] * x[size_t(j)];
      }
      EXPECT_DOUBLE_EQ(3.5 - fixedCost, qrt_getRobjectiveOffset(model));
      qrt_decompressMatrix(model, info);
      EXPECT_EQ(nullptr, model_check(model));
      EXPECT_EQ(3.5, qrt_getRobjectiveOffset(model));
      ASSERT_EQ(M, model->Inumrows);
      ASSERT_EQ(N, model->Inumcols);
      EXPECT_EQ(1.0, qrt_rowacts(model)[0]);
      double activity = 0.0, ray = 0.0;
      for (int j = 0; j < N; j++) {
        EXPECT_EQ(x[size_t(j)], qrt_colsol(model)[j]);
        activity += at(1, j) * x[size_t(j)];
        ray += at(1, j) * d[size_t(j)];
      }
      EXPECT_NEAR(activity, qrt_rowacts(model)[1], 1e-12);
      EXPECT_EQ(int(STATUS_BASIC), qrt_rowstat(model)[1]);
      EXPECT_NEAR(kind == 4 ? ray : 0.0, qrt_rowaux(model)[1], 1e-12);
      for (int j : {0, 3}) {
        double reduced = qrt_getRmaxmin(model) * cost[size_t(j)], multiplier = 0.0;
        for (int i = 0; i < M; i++) reduced -= at(i, j) * y[size_t(i)];
        for (int i = 0; i < M; i++) multiplier += at(i, j) * w[size_t(i)];
        EXPECT_NEAR(reduced, qrt_colrcosts(model)[j], 1e-12);
        EXPECT_NEAR(kind == 3 ? multiplier : 0.0, qrt_colaux(model)[j], 1e-12);
        EXPECT_EQ(-2, qrt_columnStatus(model, j));
      }
      EXPECT_EQ(1, qrt_columnStatus(model, 6));
      EXPECT_EQ("R0000001", rowName(model, 1));
    }
  }
}

// Fault: a model that is deleted, or reloaded, while compressed.
TEST_F(Compressed, deletingACompressedModelFreesBothForms) {
  build(false);
  ASSERT_NE(nullptr, qrt_compressMatrix(model));
  ASSERT_EQ(0, qrt_loadRimModel(model, 1, nullptr, nullptr, 1, nullptr, nullptr, nullptr));
  EXPECT_EQ(nullptr, model_check(model));
}

}  // namespace
