// What presolve is worth: a solve with it beside one without, and how its time grows with the elements of a model.
// usage: bench_presolve [--type T] [--threshold N] [--dual] FILE.mps...
//        bench_presolve [--type T] [--threshold N] --sizes FILE.mps...
//        bench_presolve [--type T] [--threshold N] --grow [ELEMENTS]
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <random>
#include <string>
#include <vector>

#include "generators.h"

namespace {

struct Sizes {
  int rows, columns, elements;
};
Sizes sizesOf(QRTModel *q) { return {qrt_getInumrows(q), qrt_getInumcols(q), qrt_getInumels(q)}; }

int threshold = 1;  // Ithreshold: from 3 on the most rows of a column substituted with fill

QRTModel *newModel() {
  QRTModel *q = qrt_newModel(benchContext(), "");
  qrt_setIthreshold(q, threshold);
  benchQuiet(q);
  qrt_setIloglevel(q, 0);
  return q;
}

int solve(QRTModel *q, bool dual) { return dual ? qrt_dualSimplex(q, 1) : qrt_primalSimplex(q, 1); }

// Production over many periods: balances, capacities, demands as singleton rows, limits that cannot bind, pairs of equal
// quantities, machines that stand still. About 6 elements a column.
QRTModel *manyPeriods(int elements) {
  constexpr int PRODUCTS = 20, RESOURCES = 8, PER_PERIOD = (10 + 2 * RESOURCES) * PRODUCTS;
  const int periods = elements / PER_PERIOD + 1;
  std::mt19937 random(7);
  std::uniform_real_distribution<double> uniform(0.0, 1.0);
  std::vector<double> rl, ru, c, l, u, value;
  std::vector<int> start{0}, row;
  const int rowsPerPeriod = 4 * PRODUCTS + 2 + RESOURCES;
  auto column = [&](double cost, double low, double high) { c.push_back(cost), l.push_back(low), u.push_back(high); };
  auto element = [&](int i, double v) { row.push_back(i), value.push_back(v); };
  auto done = [&] { start.push_back(int(row.size())); };
  for (int t = 0; t < periods; t++) {
    const int at = t * rowsPerPeriod, next = at + rowsPerPeriod;
    for (int k = 0; k < PRODUCTS; k++) {
      const bool idle = k == PRODUCTS - 1;
      column(1 + uniform(random), 0, 1e31);  // made
      element(at + k, 1), element(at + PRODUCTS + k, 1), element(at + 4 * PRODUCTS, 1 + uniform(random));
      if (idle) element(at + 4 * PRODUCTS + 1, 1);
      for (int r = 0; r < RESOURCES; r++) element(at + 4 * PRODUCTS + 2 + r, 1 + uniform(random));
      done();
      column(0.01, 0, 50);                   // stored
      element(at + k, -1), element(at + 3 * PRODUCTS + k, 1);
      if (t + 1 < periods) element(next + k, 1);
      done();
      column(-3 * uniform(random), 0, 1e31);  // sold
      element(at + k, -1), element(at + 2 * PRODUCTS + k, 2);
      done();
      column(0, -1e31, 1e31);                // material, as much as is made
      element(at + PRODUCTS + k, -1), element(at + 4 * PRODUCTS, 0.1);
      for (int r = 0; r < RESOURCES; r++) element(at + 4 * PRODUCTS + 2 + r, uniform(random));
      done();
    }
    for (int k = 0; k < PRODUCTS; k++) rl.push_back(0), ru.push_back(0);
    for (int k = 0; k < PRODUCTS; k++) rl.push_back(0), ru.push_back(0);
    for (int k = 0; k < PRODUCTS; k++) rl.push_back(-1e31), ru.push_back(4 + 10 * uniform(random));
    for (int k = 0; k < PRODUCTS; k++) rl.push_back(-1e31), ru.push_back(80);
    rl.push_back(-1e31), ru.push_back(100);
    rl.push_back(-1e31), ru.push_back(0);
    for (int r = 0; r < RESOURCES; r++) rl.push_back(-1e31), ru.push_back(150 + 400 * uniform(random));
  }
  QRTModel *q = newModel();
  qrt_loadRimModel(q, int(rl.size()), rl.data(), ru.data(), int(c.size()), c.data(), l.data(), u.data());
  qrt_addColumnElementBlock(q, int(c.size()), row.data(), start.data(), value.data());
  return q;
}

void grow(int type, int largest) {
  std::printf("%10s %10s %10s | %10s %10s %10s | %9s %14s\n", "elements", "rows", "columns", "elements", "rows", "columns", "presolve s", "ns an element");
  for (int elements = 100000; elements <= largest; elements = elements < 1000000 ? 1000000 : elements + 3000000) {
    QRTModel *q = manyPeriods(elements);
    const Sizes before = sizesOf(q);
    const double begin = processorNow();
    qrt_preSolve(q, type, nullptr);
    const double seconds = processorNow() - begin;
    const Sizes after = sizesOf(q);
    std::printf("%10d %10d %10d | %10d %10d %10d | %9.3f %14.1f\n", before.elements, before.rows, before.columns, after.elements, after.rows, after.columns,
                seconds, 1e9 * seconds / before.elements);
    std::fflush(stdout);
    qrt_deleteModel(q);
  }
}

// What is left of a model, without a solve.
void sizes(int type, const char *file) {
  QRTModel *q = newModel();
  if (qrt_importModel(q, file) == 0) {
    const Sizes before = sizesOf(q);
    const double begin = processorNow();
    const int code = qrt_preSolve(q, type, nullptr);
    const double seconds = processorNow() - begin;
    const Sizes after = sizesOf(q);
    const char *slash = std::strrchr(file, '/');
    std::printf("%-14s %7d %7d %8d | %7d %7d %8d | %8.3f%s\n", slash ? slash + 1 : file, before.rows, before.columns, before.elements, after.rows,
                after.columns, after.elements, seconds, code == 1 ? "  infeasible" : code == 2 ? "  unbounded" : "");
    std::fflush(stdout);
  }
  qrt_deleteModel(q);
}

}  // namespace

int main(int argc, char **argv) {
  int type = 7;
  bool dual = false, header = false, onlySizes = false;
  double logs = 0.0, worst = 0.0;
  int counted = 0;
  for (int k = 1; k < argc; k++) {
    if (std::strcmp(argv[k], "--type") == 0 && k + 1 < argc) {
      type = std::atoi(argv[++k]);
      continue;
    }
    if (std::strcmp(argv[k], "--threshold") == 0 && k + 1 < argc) {
      threshold = std::atoi(argv[++k]);
      continue;
    }
    if (std::strcmp(argv[k], "--dual") == 0) {
      dual = true;
      continue;
    }
    if (std::strcmp(argv[k], "--sizes") == 0) {
      onlySizes = true;
      std::printf("%-14s %24s | %24s | %8s\n", "model", "rows columns elements", "after", "seconds");
      continue;
    }
    if (onlySizes) {
      sizes(type, argv[k]);
      continue;
    }
    if (std::strcmp(argv[k], "--grow") == 0) {
      grow(type, k + 1 < argc ? std::atoi(argv[k + 1]) : 10000000);
      return 0;
    }
    if (!header) std::printf("%-12s %24s | %24s | %9s %9s | %8s %8s %8s %6s\n", "model", "rows columns elements", "after", "iters", "after", "without", "pre+post", "with", "ratio");
    header = true;
    QRTModel *plain = newModel(), *q = newModel();
    if (qrt_importModel(plain, argv[k]) != 0 || qrt_importModel(q, argv[k]) != 0) continue;
    double begin = processorNow();
    solve(plain, dual);
    const double without = processorNow() - begin;
    const Sizes before = sizesOf(q);
    begin = processorNow();
    qrt_preSolve(q, type, nullptr);
    double around = processorNow() - begin;
    const Sizes after = sizesOf(q);
    begin = processorNow();
    solve(q, dual);
    const double reduced = processorNow() - begin;
    const int iterations = qrt_getIiternum(q);
    begin = processorNow();
    qrt_postSolve(q, nullptr);
    around += processorNow() - begin;
    const double ratio = (reduced + around) / without;
    const bool agree = qrt_getIprobstat(q) == qrt_getIprobstat(plain) &&
                       (qrt_getIprobstat(q) != 0 || std::fabs(qrt_getRobjvalue(q) - qrt_getRobjvalue(plain)) <= 1e-6 * (1 + std::fabs(qrt_getRobjvalue(plain))));
    const char *slash = std::strrchr(argv[k], '/');
    std::printf("%-12s %8d %7d %7d | %8d %7d %7d | %9d %9d | %8.3f %8.3f %8.3f %6.2f%s\n", slash ? slash + 1 : argv[k], before.rows, before.columns,
                before.elements, after.rows, after.columns, after.elements, qrt_getIiternum(plain), iterations, without, around, reduced + around, ratio,
                agree ? "" : "  DISAGREES");
    std::fflush(stdout);
    if (without > 0.1) {
      logs += std::log(ratio);
      counted++;
      worst = std::fmax(worst, ratio);
    }
    qrt_deleteModel(plain);
    qrt_deleteModel(q);
  }
  if (counted) std::printf("geometric mean of %d ratios over 0.1 s: %.3f, worst %.2f\n", counted, std::exp(logs / counted), worst);
  return 0;
}
