// Each reduction of presolve by itself, and all in turns, on programs with planted redundancies: the reduced program is
// solved, every step is undone and the point that comes back is held against the original by the certificate. Faults it
// would catch: a lost constant, a dual of the wrong sign, a value off its bound, one basic variable too many or too few.
#include <gtest/gtest.h>

#include <cstring>
#include <string>
#include <vector>

#include "certificate_model.h"
#include "frame/entry_frame.h"
#include "prep/presolve_run.h"
#include "support/planted_lp.h"

namespace {

using Reduce = int (*)(Presolve *);

struct Case {
  const char *name;
  unsigned plants;
  std::vector<Reduce> reductions;
  bool slacksRemoved = false;
};
void PrintTo(const Case &c, std::ostream *out) { *out << c.name; }

// A solved point of a program in arrays of the original size.
struct Point {
  std::vector<double> x, d, y, activity;
  std::vector<char> rowBasic, columnBasic;
};

void undo(Postsolve *p, const Reduction *r) {
  switch (r->type) {
    case REDUCTION_ROW_DROPPED: undoDroppedRow(p, r); break;
    case REDUCTION_SINGLETON_BOTH: case REDUCTION_SINGLETON_LOWER: case REDUCTION_SINGLETON_UPPER: undoSingletonRow(p, r); break;
    case REDUCTION_FORCING: undoForcingRow(p, r); break;
    case REDUCTION_KEPT: case REDUCTION_SUBSTITUTED: undoDoubleton(p, r); break;
    case REDUCTION_SLACK: undoSlack(p, r); break;
    case REDUCTION_SUMMED: undoSummedColumns(p, r); break;
    case REDUCTION_DOMINATED: undoDominatedColumn(p, r); break;
    case REDUCTION_DUPLICATE_ROW: undoDuplicateRow(p, r); break;
    case REDUCTION_FREE_SINGLETON: case REDUCTION_FREE_OPEN: case REDUCTION_FREE_CLOSE: undoFreeColumn(p, r); break;
    case REDUCTION_SIGN_ROWS: undoSignRows(p, r); break;
    case REDUCTION_FILL: undoSubstitution(p, r); break;
    default: undoFixedColumn(p, r);
  }
}

struct PresolveReductions : ::testing::TestWithParam<Case> {
  static QRTContext *context;
  static void SetUpTestSuite() {
    context = qrt_initializeContext();
    qrt_messagesPrintOff(qrt_baseModel(context), 1, 6999);
  }
  static void TearDownTestSuite() { qrt_endContext(context); }
  int rowsGone = 0, columnsGone = 0, returned = 0, between = 0;

  // What is left, as a model of its own; rows and columns in their order.
  QRTModel *reduced(const Presolve *p, std::vector<int> *rows, std::vector<int> *columns) {
    std::vector<int> map(size_t(p->m), -1), start{0}, row;
    std::vector<double> element, rl, ru, c, l, u;
    for (int i = 0; i < p->m; i++)
      if (rowAlive(p, i)) map[size_t(i)] = int(rows->size()), rows->push_back(i), rl.push_back(p->rowLower[i]), ru.push_back(p->rowUpper[i]);
    for (int j = 0; j < p->n; j++) {
      if (!columnAlive(p, j)) continue;
      columns->push_back(j);
      c.push_back(p->cost[j]), l.push_back(p->lower[j]), u.push_back(p->upper[j]);
      for (int e = p->columnFirst[j]; e >= 0; e = p->entry[e].columnNext) row.push_back(map[size_t(p->entry[e].row)]), element.push_back(p->entry[e].value);
      start.push_back(int(row.size()));
    }
    QRTModel *q = qrt_newModel(context, "reduced");
    qrt_loadRimModel(q, int(rl.size()), rl.data(), ru.data(), int(c.size()), c.data(), l.data(), u.data());
    if (!row.empty()) qrt_addColumnElementBlock(q, int(c.size()), row.data(), start.data(), element.data());
    return q;
  }

  void solveAndUndo(const PlantedLp &lp, Presolve *p, Point *point) {
    std::vector<int> rows, columns;
    QRTModel *q = reduced(p, &rows, &columns);
    qrt_primalSimplex(q, 1);
    ASSERT_EQ(0, qrt_getIprobstat(q));
    EXPECT_NEAR(lp.optimum, qrt_getRobjvalue(q) + p->constant, 1e-7 * (1 + std::fabs(lp.optimum))) << "value of the reduced program";
    for (size_t k = 0; k < rows.size(); k++) {
      point->y[size_t(rows[k])] = qrt_rowduals(q)[k];
      point->rowBasic[size_t(rows[k])] = qrt_rowStatus(q, int(k)) == 0;
    }
    for (size_t k = 0; k < columns.size(); k++) {
      point->x[size_t(columns[k])] = qrt_colsol(q)[k];
      point->d[size_t(columns[k])] = qrt_colrcosts(q)[k];
      point->columnBasic[size_t(columns[k])] = qrt_columnStatus(q, int(k)) == 0;
    }
    qrt_deleteModel(q);
    Postsolve back = {p->model, p->m, p->n, 0, 1e-9, 1e-9, point->x.data(), point->d.data(), point->y.data(),
                      point->rowBasic.data(), point->columnBasic.data(), p->log};
    for (int k = p->log->count - 1; k >= 0; k--) undo(&back, &p->log->record[k]);
  }

  void judge(const PlantedLp &lp, Point *point) {
    double value = 0.0;
    int basics = 0;
    for (int j = 0; j < lp.columns(); j++) {
      const size_t k = size_t(j);
      value += lp.cost[k] * point->x[k];
      basics += point->columnBasic[k];
      for (int e = lp.start[k]; e < lp.start[k + 1]; e++) point->activity[size_t(lp.row[size_t(e)])] += lp.element[size_t(e)] * point->x[k];
      EXPECT_NEAR(0.0, point->columnBasic[k] ? point->d[k] : 0.0, 1e-6) << "basic column " << j;
      const bool rests = std::fabs(point->x[k] - lp.lower[k]) < 1e-6 || std::fabs(point->x[k] - lp.upper[k]) < 1e-6 ||
                         (lp.lower[k] < -1e20 && lp.upper[k] > 1e20);
      returned++, between += !point->columnBasic[k] && !rests;
    }
    for (size_t i = 0; i < point->y.size(); i++) {
      basics += point->rowBasic[i];
      EXPECT_NEAR(0.0, point->rowBasic[i] ? point->y[i] : 0.0, 1e-6) << "basic row " << i;
      const bool rests = std::fabs(point->activity[i] - lp.rowLower[i]) < 1e-6 || std::fabs(point->activity[i] - lp.rowUpper[i]) < 1e-6;
returned++, between += !point->rowBasic[i] && !rests;
    }
    EXPECT_EQ(lp.rows(), basics);
    CertificateProgram program;
    program.rows = lp.rows(), program.columns = lp.columns();
    program.start = lp.start.data(), program.row = lp.row.data(), program.element = lp.element.data();
    program.objective = lp.cost.data(), program.columnLower = lp.lower.data(), program.columnUpper = lp.upper.data();
    program.rowLower = lp.rowLower.data(), program.rowUpper = lp.rowUpper.data();
    CertificateClaim claim;
    claim.status = 0, claim.objective = lp.optimum;
    claim.columnValue = point->x.data(), claim.reducedCost = point->d.data();
    claim.rowActivity = point->activity.data(), claim.rowDual = point->y.data();
    EXPECT_EQ("", firstFault(recomputeCertificate(program, claim), 1e-7));
    EXPECT_NEAR(lp.optimum, value, 1e-7 * (1 + std::fabs(lp.optimum)));
  }

  void run(unsigned seed, int rows, int columns, int plants) {
    SCOPED_TRACE("seed " + std::to_string(seed));
    const PlantedLp lp = plantedLp(seed, rows, columns, GetParam().plants, plants);
    QRTModel *model = lp.load(context);
    qrt_setIthreshold(model, 6);
    qrt_enter(model, "test", 0);
    qrt_down(model, 1, 0);
    Presolve *p = newPresolve(model, 3, 15);
    for (int pass = 1; pass <= 3; pass++)
      for (const Reduce reduce : GetParam().reductions) {
        ASSERT_GE(reduce(p), 0);
        const char *fault = presolve_check(p);
        ASSERT_EQ(nullptr, fault) << fault;
      }
    rowsGone += p->m - p->liveRows, columnsGone += p->n - p->liveColumns;
    Point point{std::vector<double>(size_t(p->n)), std::vector<double>(size_t(p->n)), std::vector<double>(size_t(p->m)),
                std::vector<double>(size_t(p->m)), std::vector<char>(size_t(p->m)), std::vector<char>(size_t(p->n))};
    solveAndUndo(lp, p, &point);
    judge(lp, &point);
    qrt_enter(model, "test", 0);
    qrt_up(model, 0);
    qrt_deleteModel(model);
  }
};
QRTContext *PresolveReductions::context = nullptr;

TEST_P(PresolveReductions, ComeBackWhole) {
  for (unsigned seed = 1; seed <= 300 && !HasFailure(); seed++) run(seed, 6, 8, 2);
  for (unsigned seed = 1001; seed <= 1040 && !HasFailure(); seed++) run(seed, 40, 60, 12);
  EXPECT_GT(rowsGone + columnsGone, 200) << "nothing found of what was planted";
  // A free variable that the reduced program never needed has no vertex to come back to.
  EXPECT_LE(between, returned / 200) << "variables that are neither basic nor at a bound";
}

const std::vector<Reduce> everything = {dropDuplicateRows, reduceBySigns, reduceRows, dropImpliedRows, reduceEmptyColumns, reduceByDuals, reduceFreeColumns,
                                        reduceDoubletons, substituteFreeColumns, absorbSlacks, mergeDuplicateColumns, fixDominatedColumns};
INSTANTIATE_TEST_SUITE_P(
    Kinds, PresolveReductions,
    ::testing::Values(Case{"doubletons", PLANT_DOUBLETONS, {reduceDoubletons}}, Case{"free", PLANT_FREE_SINGLETONS | PLANT_FREE_COLUMNS, {reduceFreeColumns}},
                      Case{"fill", PLANT_FREE_SINGLETONS | PLANT_FREE_COLUMNS, {substituteFreeColumns}}, Case{"signs", PLANT_SIGNS, {reduceBySigns}},
                      Case{"duals", PLANT_DOMINATED | PLANT_FREE_SINGLETONS, {reduceByDuals}}, Case{"slacks", PLANT_SLACKS, {absorbSlacks}},
                      Case{"duplicateRows", PLANT_DUPLICATE_ROWS, {dropDuplicateRows}},
                      Case{"duplicateColumns", PLANT_DUPLICATE_COLUMNS, {mergeDuplicateColumns}},
                      Case{"rows", PLANT_FORCING | PLANT_SINGLETON_ROWS | PLANT_REDUNDANT_ROWS, {reduceRows, reduceEmptyColumns}},
                      Case{"replaceable", PLANT_DUPLICATE_COLUMNS, {fixDominatedColumns}},
                      Case{"impliedRows", PLANT_DUPLICATE_ROWS | PLANT_REDUNDANT_ROWS | PLANT_FORCING, {dropImpliedRows}},
                      Case{"all", PLANT_ALL, everything}),
    [](const auto &information) { return std::string(information.param.name); });

}  // namespace
