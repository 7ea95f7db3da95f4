// Iterations a second against rows: work that follows nonzeros falls slower than rows grow.
// usage: bench_iterations [--limit N] FILE.mps...
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>

#include "generators.h"

int main(int argc, char **argv) {
  int limit = 0;
  std::printf("%-20s %8s %8s %9s %10s %9s %12s %14s\n", "model", "rows", "columns", "elements", "iterations", "seconds", "iterations/s", "rows x it/s");
  for (int k = 1; k < argc; ++k) {
    if (std::strcmp(argv[k], "--limit") == 0 && k + 1 < argc) {
      limit = std::atoi(argv[++k]);
      continue;
    }
    QRTModel *model = qrt_newModel(benchContext(), "");
    benchQuiet(model);
    qrt_setIloglevel(model, 0);
    if (qrt_importModel(model, argv[k]) != 0) {
      std::printf("%-20s refused\n", argv[k]);
      continue;
    }
    if (limit > 0) qrt_setImaxiter(model, limit);
    const double begin = secondsNow();
    qrt_primalSimplex(model, 1);
    const double seconds = secondsNow() - begin;
    const char *slash = std::strrchr(argv[k], '/');
    const int rows = qrt_getInumrows(model), iterations = qrt_getIiternum(model);
    std::printf("%-20s %8d %8d %9d %10d %9.3f %12.0f %14.3g\n", slash ? slash + 1 : argv[k], rows, qrt_getInumcols(model), qrt_getInumels(model), iterations,
                seconds, iterations / seconds, double(rows) * iterations / seconds);
    qrt_deleteModel(model);
  }
  return 0;
}
