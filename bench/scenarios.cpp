// The stochastic store under many scenarios: writing them, the node table, reading every node, saving and loading.
#include <cstdio>
#include <cstdlib>
#include <vector>

#include "generators.h"
#include "stoch/scn_stoc.h"

namespace {

constexpr int ROWS = 40, COLS = 60, ELEMENTS = 10;

int loadCore(QRTStoch *stoch) {
  std::vector<int> rowStages(ROWS), colStages(COLS), rows, cols;
  std::vector<double> elements;
  for (int i = 0; i < ROWS; i++) rowStages[size_t(i)] = i < 10 ? 1 : 2;
  for (int j = 0; j < COLS; j++) colStages[size_t(j)] = j < 20 ? 1 : 2;
  for (int i = 0; i < ROWS; i++)
    for (int j = 0; j < COLS; j++) {
      if ((i * 7 + j * 3) % 5 != 0 || colStages[size_t(j)] > rowStages[size_t(i)]) continue;
      rows.push_back(i + 1);
      cols.push_back(j + 1);
      elements.push_back(i + j + 1.0);
    }
  const std::vector<double> zero(COLS, 0.0);
  return qrts_createCore(stoch, 2, rowStages.data(), colStages.data(), ROWS, COLS, int(elements.size()), zero.data(), zero.data(),
                         nullptr, nullptr, nullptr, rows.data(), cols.data(), elements.data());
}

void line(const char *what, double start, int n) {
  const double seconds = secondsNow() - start;
  std::printf("%-28s %8.3f s %8.3f us each\n", what, seconds, 1e6 * seconds / n);
}

void writeAll(StochData *sdata, int n, int replace) {
  int rows[ELEMENTS], cols[ELEMENTS], rc = 0;
  double values[ELEMENTS];
  for (int k = 0; k < ELEMENTS; k++) {
    rows[k] = 11 + 2 * k;
    cols[k] = COLS + EXT_ROW_LOWER;
    values[k] = k;
  }
  for (int s = 1; s <= n && rc == 0; s++) {
    values[0] = s;
    qrtbinptsc(&rc, sdata, s, 0, 2, 1.0, ROWS, COLS, ELEMENTS, rows, cols, values, replace);
  }
}

}  // namespace

int main(int argc, char **argv) {
  const int n = argc > 1 ? std::atoi(argv[1]) : 1000000;
  QRTStoch *stoch = qrts_newStoch(benchContext(), "bench", n), *other = qrts_newStoch(benchContext(), "other", n);
  benchQuiet(qrtse_getBaseModel(stoch));
  benchQuiet(qrtse_getBaseModel(other));
  // a line for each scenario would be most of the time
  qrt_messagesPrintOff(qrtse_getBaseModel(stoch), 401, 499);
  qrt_messagesPrintOff(qrtse_getBaseModel(other), 401, 499);
  if (n < 1 || loadCore(stoch) != 0 || loadCore(other) != 0) return 1;
  StochData *sdata = stoch->sdata;
  std::printf("%d scenarios of two stages, %d elements each\n", n, ELEMENTS);

  const long long before = peakMemory();
  double start = secondsNow();
  writeAll(sdata, n, 0);
  line("write differences", start, n);
  std::printf("%-28s %8lld bytes a scenario in memory, %lld in the file\n", "", (peakMemory() - before) / n,
              static_cast<long long>(sdata->file->handle->fileEnd) / n);
  start = secondsNow();
  writeAll(other->sdata, n, 1);
  line("write absolute values", start, n);
  start = secondsNow();
  qrts_mktr(sdata);
  line("node table", start, n);
  start = secondsNow();
  NodeView room, *view = &room;
  double sum = 0.0;
  for (int k = 2; k <= sdata->nodes->nNodes; k++)
    if (qrts_Cndat(stoch, k, &view) == 0) sum += view->rowLower[0];
  line("every node once", start, n);
  start = secondsNow();
  std::srand(1);
  for (int k = 0; k < n / 10; k++)
    if (qrts_Cndat(stoch, 2 + std::rand() % n, &view) == 0) sum += view->rowLower[0];
  line("a tenth of them at random", start, n / 10 + 1);

  const char *const path = "/tmp/bench_scenarios.kvf";
  start = secondsNow();
  qrts_writeNativeData(stoch, path);
  line("save", start, n);
  qrts_deleteStoch(other);
  other = qrts_newStoch(benchContext(), "other", 1);
  start = secondsNow();
  qrts_readNativeData(other, path);
  line("load", start, n);
  const bool good = qrts_getNumScenarios(other) == n && sum > 0.0;
  qrts_deleteStoch(other);
  qrts_deleteStoch(stoch);
  std::remove(path);
  return good ? 0 : 1;
}
