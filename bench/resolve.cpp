// What a warm re-solve costs: a model solved once, then again and again after small changes of its right-hand sides, as a
// decomposition does with its subproblems. Instructions where the kernel counts them, else processor time.
// usage: bench_resolve [ROWS...]
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <ctime>
#include <random>
#include <vector>

#include <linux/perf_event.h>
#include <sys/ioctl.h>
#include <sys/syscall.h>
#include <unistd.h>

#include "generators.h"

namespace {

// Instructions of this process in user mode; open < 0 when the kernel does not count them.
struct Counter {
  int file;
  Counter() {
    perf_event_attr wanted;
    std::memset(&wanted, 0, sizeof wanted);
    wanted.size = sizeof wanted;
    wanted.type = PERF_TYPE_HARDWARE;
    wanted.config = PERF_COUNT_HW_INSTRUCTIONS;
    wanted.exclude_kernel = wanted.exclude_hv = 1;
    file = int(syscall(SYS_perf_event_open, &wanted, 0, -1, -1, 0));
  }
  // Thousands of instructions, or microseconds of processor time.
  double read() const {
    if (file >= 0) {
      long long count = 0;
      return ::read(file, &count, sizeof count) == sizeof count ? double(count) / 1e3 : 0.0;
    }
    timespec now;
    clock_gettime(CLOCK_PROCESS_CPUTIME_ID, &now);
    return double(now.tv_sec) * 1e6 + double(now.tv_nsec) * 1e-3;
  }
};

// A recourse problem: demands met from a few sources each, what is missing bought dearly; always feasible, never degenerate.
QRTModel *recourse(int rows, std::vector<double> *demand) {
  std::mt19937 random(7);
  const int columns = 2 * rows, perColumn = 4;
  std::vector<int> starts{0}, rowOf;
  std::vector<double> element, cost, low, high;
  for (int j = 0; j < columns + rows; j++) {
    const bool bought = j >= columns;
    const int stride = rows / perColumn;
    int i = bought ? j - columns : int(random() % unsigned(stride));
    for (int k = 0; k < (bought ? 1 : perColumn); k++, i += stride) {
      rowOf.push_back(i);
      element.push_back(bought ? 1.0 : (k == 1 ? -0.5 : 1.0) * (0.5 + double(random() % 1000) / 500));
    }
    starts.push_back(int(rowOf.size()));
    cost.push_back(bought ? 50.0 : 1.0 + double(random() % 1000) / 250);
    low.push_back(0.0);
    high.push_back(bought ? 1e31 : 2.0 + double(random() % 1000) / 100);
  }
  QRTModel *model = qrt_newModel(benchContext(), "");
  benchQuiet(model);
  qrt_setIloglevel(model, 0);
  demand->clear();
  for (int i = 0; i < rows; i++) demand->push_back(5.0 + double(random() % 1000) / 100);
  const std::vector<double> none(size_t(rows), 1e31);
  const std::vector<int> empty(size_t(rows) + 1, 0);
  qrt_addRows(model, rows, demand->data(), none.data(), empty.data(), nullptr, nullptr);
  qrt_addColumns(model, columns + rows, low.data(), high.data(), cost.data(), starts.data(), rowOf.data(), element.data());
  return model;
}

using Solve = int (*)(QRTModel *, int);

void measure(const Counter &counter, int rows, int changes, const char *name, Solve solve) {
  std::vector<double> demand;
  QRTModel *model = recourse(rows, &demand);
  const double begin = counter.read();
  qrt_dualSimplex(model, 1);
  const double cold = counter.read() - begin;
  const int coldIterations = qrt_getIiternum(model);
  const int rounds = 50;
  std::mt19937 random(11);
  double spent = 0.0;
  const int before = qrt_getIiternum(model);
  for (int round = 0; round < rounds; round++) {
    double *lower = qrt_getRowlower(model);
    for (int t = 0; t < changes; t++) {
      const unsigned i = unsigned(random()) % unsigned(rows);
      lower[i] = demand[i] * (0.9 + double(random() % 200) / 1000);
    }
    qrt_setRowlower(model, lower);
    qrt_free(lower);
    const double start = counter.read();
    solve(model, 1);
    spent += counter.read() - start;
    if (qrt_getIprobstat(model) != 0) std::printf("status %d\n", qrt_getIprobstat(model));
  }
  std::printf("%8d %8d %-8s %12d %14.0f %12.1f %14.1f %10.4f\n", rows, changes, name, coldIterations, cold,
              double(qrt_getIiternum(model) - before) / rounds, spent / rounds, spent / rounds / cold);
  qrt_deleteModel(model);
}

}  // namespace

int main(int argc, char **argv) {
  const Counter counter;
  const char *unit = counter.file >= 0 ? "k instr." : "us";
  std::printf("%8s %8s %-8s %12s %14s %12s %14s %10s\n", "rows", "changes", "by", "iterations", "cold", "iterations", "re-solve", "share");
  std::printf("%8s %8s %-8s %12s %14s %12s %14s %10s\n", "", "", "", "cold", unit, "re-solve", unit, "of cold");
  std::vector<int> sizes;
  for (int k = 1; k < argc; k++) sizes.push_back(std::atoi(argv[k]));
  if (sizes.empty()) sizes = {50, 500, 5000};
  for (int rows : sizes)
    for (int changes : {0, 1, 5, 20}) {
      measure(counter, rows, changes, "dual", qrt_dualSimplex);
      measure(counter, rows, changes, "primal", qrt_primalSimplex);
      measure(counter, rows, changes, "either", qrt_eitherSimplex);
    }
  return 0;
}
