// Small operations on the model store, repeated until their time is known.
#include <benchmark/benchmark.h>

#include <vector>

#include "generators.h"

namespace {

// A model of n columns with three elements each, as one column block.
QRTModel *banded(int n) {
  QRTModel *model = qrt_newModel(benchContext(), "");
  benchQuiet(model);
  qrt_loadRimModel(model, n, nullptr, nullptr, n, nullptr, nullptr, nullptr);
  std::vector<int> rows, starts{0};
  std::vector<double> elements;
  for (int j = 0; j < n; ++j) {
    for (int i = j; i < j + 3 && i < n; ++i) {
      rows.push_back(i);
      elements.push_back(1.0 + i - j);
    }
    starts.push_back(int(rows.size()));
  }
  qrt_addColumnElementBlock(model, n, rows.data(), starts.data(), elements.data());
  return model;
}

void getter(benchmark::State &state) {
  QRTModel *model = banded(10);
  for (auto _ : state) benchmark::DoNotOptimize(qrt_getIiternum(model));
  qrt_deleteModel(model);
}
BENCHMARK(getter);

void addRows(benchmark::State &state) {
  const int n = int(state.range(0));
  const double lower[] = {0}, upper[] = {1}, elements[] = {1, 2};
  const int starts[] = {0, 2}, columns[] = {0, 1};
  for (auto _ : state) {
    state.PauseTiming();
    QRTModel *model = banded(n);
    state.ResumeTiming();
    for (int k = 0; k < 100; ++k) qrt_addRows(model, 1, lower, upper, starts, columns, elements);
    state.PauseTiming();
    qrt_deleteModel(model);
    state.ResumeTiming();
  }
}
BENCHMARK(addRows)->Arg(1000)->Arg(10000)->Unit(benchmark::kMillisecond);

void mergeBlocks(benchmark::State &state) {
  const int n = int(state.range(0));
  for (auto _ : state) {
    state.PauseTiming();
    QRTModel *model = banded(n);
    const int row[] = {0}, column[] = {0};
    const double one[] = {1};
    for (int k = 0; k < 100; ++k) qrt_addElementBlock(model, 1, row, column, one);
    state.ResumeTiming();
    qrt_mergeBlocks(model, 0);
    state.PauseTiming();
    qrt_deleteModel(model);
    state.ResumeTiming();
  }
}
BENCHMARK(mergeBlocks)->Arg(1000)->Arg(100000)->Unit(benchmark::kMillisecond);

}  // namespace

BENCHMARK_MAIN();
