// Small changes of a solved model; see warm_changes.h.
#include "warm_changes.h"

#include <cmath>
#include <random>
#include <vector>

#include "certificate_model.h"

namespace {

constexpr double NO_BOUND = 1.0e20;

struct Draw {
  std::mt19937 random;
  double between(double a, double b) { return std::uniform_real_distribution<double>(a, b)(random); }
  int below(int n) { return int(random() % unsigned(n)); }
};

bool finite(double bound) { return std::fabs(bound) < NO_BOUND; }

int onePerCent(int count) { return count < 100 ? 1 : count / 100; }

void moveBounds(QRTModel *model, Draw &draw) {
  const int n = qrt_getInumcols(model);
  double *low = qrt_getCollower(model), *up = qrt_getColupper(model);
  const double *x = qrt_colsol(model);
  for (int left = onePerCent(n), tries = 0; left > 0 && tries < 50 * n; tries++) {
    const int j = draw.below(n);
    if (low[j] == up[j]) continue;
    if (finite(up[j])) up[j] -= draw.between(0.0, 0.1) * (finite(low[j]) ? up[j] - low[j] : std::fabs(up[j]));
    else if (x[j] > low[j] + 1.0e-6) up[j] = low[j] + draw.between(0.9, 1.0) * (x[j] - low[j]);
    else continue;
    left--;
  }
  qrt_setCollower(model, low);
  qrt_setColupper(model, up);
  qrt_free(low), qrt_free(up);
}

void changeCosts(QRTModel *model, Draw &draw) {
  const int n = qrt_getInumcols(model);
  double *cost = qrt_getObjective(model);
  for (int left = onePerCent(n), tries = 0; left > 0 && tries < 50 * n; tries++) {
    const int j = draw.below(n);
    if (cost[j] == 0.0) continue;
    cost[j] *= draw.between(0.9, 1.1);
    left--;
  }
  qrt_setObjective(model, cost);
  qrt_free(cost);
}

void moveRightHandSides(QRTModel *model, Draw &draw) {
  const int m = qrt_getInumrows(model);
  double *low = qrt_getRowlower(model), *up = qrt_getRowupper(model);
  for (int left = onePerCent(m), tries = 0; left > 0 && tries < 50 * m; tries++) {
    const int i = draw.below(m);
    const double side = finite(low[i]) ? low[i] : up[i];
    if (!finite(side) || side == 0.0) continue;
    const double move = draw.between(-0.05, 0.05) * side;
    if (finite(low[i])) low[i] += move;
    if (finite(up[i])) up[i] += move;
    left--;
  }
  qrt_setRowlower(model, low);
  qrt_setRowupper(model, up);
  qrt_free(low), qrt_free(up);
}

void addCuts(QRTModel *model, Draw &draw) {
  const int n = qrt_getInumcols(model);
  const double *x = qrt_colsol(model), *low = qrt_collower(model);
  std::vector<int> positive;
  for (int j = 0; j < n; j++)
    if (x[j] > 1.0e-6 && low[j] > -NO_BOUND && x[j] > low[j] + 1.0e-6) positive.push_back(j);
  if (positive.empty()) return;
  // The values are those before any row is added.
  const std::vector<double> value(x, x + n);
  for (int cut = 0; cut < 5; cut++) {
    std::vector<int> column;
    std::vector<double> element;
    std::vector<char> used(size_t(n), 0);
    double activity = 0.0;
    for (int k = 0; k < 8; k++) {
      const int j = positive[size_t(draw.below(int(positive.size())))];
      if (used[size_t(j)]) continue;
      used[size_t(j)] = 1;
      column.push_back(j);
      element.push_back(draw.between(0.5, 2.0) / std::fmax(1.0, value[size_t(j)]));
      activity += element.back() * value[size_t(j)];
    }
    qrt_addOneRow(model, -1.0e31, 0.98 * activity, int(column.size()), column.data(), element.data());
  }
}

void addPayingColumns(QRTModel *model, Draw &draw) {
  const int n = qrt_getInumcols(model), m = qrt_getInumrows(model);
  const ModelMatrix matrix = collectMatrix(model);
  const std::vector<double> y(qrt_rowduals(model), qrt_rowduals(model) + m);
  const double sense = qrt_getRmaxmin(model);
  for (int k = 0; k < 5; k++) {
    const int like = draw.below(n);
    std::vector<int> row;
    std::vector<double> element;
    double worth = 0.0, size = 0.0;
    for (int e = matrix.start[size_t(like)]; e < matrix.start[size_t(like) + 1]; e++) {
      row.push_back(matrix.row[size_t(e)]);
      element.push_back(matrix.element[size_t(e)] * draw.between(0.8, 1.2));
      const double term = element.back() * y[size_t(row.back())];
      worth += term;
      size += std::fabs(term);
    }
    // Its reduced cost is a hundredth of what its rows are worth below zero.
    const double cost = sense * (worth - 0.01 * size);
    qrt_addOneColumn(model, 0.0, 1.0e31, cost, int(row.size()), row.data(), element.data());
  }
}

void fixColumns(QRTModel *model, Draw &draw) {
  const int n = qrt_getInumcols(model);
  double *low = qrt_getCollower(model), *up = qrt_getColupper(model);
  const double *x = qrt_colsol(model);
  std::vector<int> between;
  for (int j = 0; j < n; j++)
    if (low[j] > -NO_BOUND && x[j] > low[j] + 1.0e-6 && x[j] < up[j] - 1.0e-6) between.push_back(j);
  for (int k = 0; k < 10 && !between.empty(); k++) {
    const int at = draw.below(int(between.size())), j = between[size_t(at)];
    between.erase(between.begin() + at);
    low[j] = up[j] = low[j] + draw.between(0.97, 1.0) * (x[j] - low[j]);
  }
  qrt_setCollower(model, low);
  qrt_setColupper(model, up);
  qrt_free(low), qrt_free(up);
}

}  // namespace

const char *warmChangeName(int change) {
  static const char *const names[] = {"bounds", "costs", "rhs", "5 rows", "5 columns", "10 fixed"};
  return names[change];
}

void applyWarmChange(QRTModel *model, int change, unsigned seed) {
  Draw draw{std::mt19937(seed)};
  switch (change) {
    case WARM_BOUNDS: return moveBounds(model, draw);
    case WARM_COSTS: return changeCosts(model, draw);
    case WARM_RIGHT_HAND_SIDES: return moveRightHandSides(model, draw);
    case WARM_ROWS: return addCuts(model, draw);
    case WARM_COLUMNS: return addPayingColumns(model, draw);
    default: return fixColumns(model, draw);
  }
}

int solveAfterChange(QRTModel *model, int change) {
  return change == WARM_COSTS || change == WARM_COLUMNS ? qrt_primalSimplex(model, 1) : qrt_dualSimplex(model, 1);
}

void forgetBasis(QRTModel *model) {
  const int m = qrt_getInumrows(model), n = qrt_getInumcols(model);
  std::vector<int> which(size_t(m > n ? m : n));
  for (size_t k = 0; k < which.size(); k++) which[k] = int(k);
  const std::vector<int> basic(size_t(m), int(0x80000000u)), lower(size_t(n), 0x20000000);
  double *x = qrt_getColsol(model);
  for (int j = 0; j < n; j++) {
    const double low = qrt_collower(model)[j], up = qrt_colupper(model)[j];
    x[j] = low > 0.0 ? low : up < 0.0 ? up : low > -NO_BOUND ? low : up < NO_BOUND ? up : 0.0;
  }
  qrt_setColsol(model, x);
  qrt_free(x);
  qrt_setRowStatus(model, m, which.data(), basic.data());
  qrt_setColumnStatus(model, n, which.data(), lower.data());
}
