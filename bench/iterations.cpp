// Iterations a second against rows: work that follows nonzeros falls slower than rows grow.
// What a fall comes from is told by the elements a row of the last basis and of its factor (L, U and its diagonal), which
// is fill, and by the rows that an entering column and a row of the inverse reach, which is the length of the solves.
// usage: bench_iterations [--dual] [--limit N] FILE.mps...
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>

#include "frame/model_record.h"
#include "generators.h"
#include "simplex/factor.h"
#include "simplex/kept_solve.h"

namespace {

double perRow(double elements, int rows) { return rows > 0 ? elements / rows : 0.0; }

}  // namespace

int main(int argc, char **argv) {
  int limit = 0;
  bool dual = false;
  std::printf("%-20s %8s %8s %9s %10s %9s %12s %14s %6s %7s %7s %7s\n", "model", "rows", "columns", "elements", "iterations", "seconds",
              "iterations/s", "rows x it/s", "B/row", "LU/row", "column", "row");
  for (int k = 1; k < argc; ++k) {
    if (std::strcmp(argv[k], "--limit") == 0 && k + 1 < argc) {
      limit = std::atoi(argv[++k]);
      continue;
    }
    if (std::strcmp(argv[k], "--dual") == 0) {
      dual = true;
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
    dual ? qrt_dualSimplex(model, 1) : qrt_primalSimplex(model, 1);
    const double seconds = secondsNow() - begin;
    const char *slash = std::strrchr(argv[k], '/');
    const int rows = qrt_getInumrows(model), iterations = qrt_getIiternum(model);
    std::printf("%-20s %8d %8d %9d %10d %9.3f %12.0f %14.3g", slash ? slash + 1 : argv[k], rows, qrt_getInumcols(model),
                qrt_getInumels(model), iterations, seconds, iterations / seconds, double(rows) * iterations / seconds);
    // A solve that leaves no factor for the next one has none to show.
    const KeptSolve *kept = static_cast<const KeptSolve *>(model->factor);
    if (kept && kept->factorGood) {
      const Factor *factor = kept->factor;
      std::printf(" %6.2f %7.2f %7.0f %7.0f", perRow(factor->basisElements, rows),
                  perRow(double(factor->lCount) + factor->uCount + rows, rows), factor->density[SOLVE_COLUMN] * rows,
                  factor->density[SOLVE_ROW] * rows);
    }
    std::printf("\n");
    qrt_deleteModel(model);
  }
  return 0;
}
