// Generation against reading: the three files of a triple read, then its whole equivalent described and loaded, each
// in a process of its own so that no memory is warm: medians of the processor time and their ratio.
// usage: bench_generation CORE TIME STOCH [REPEATS]
#include <sys/resource.h>

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <vector>

#include "generators.h"
#include "in_child.h"

namespace {

struct Run {
  double reading, generation;
  long long readingFaults, generationFaults;  // pages first touched: what no program can avoid for new memory
  int blocks, rows, columns, elements;
};

long long pageFaults() {
  rusage usage;
  getrusage(RUSAGE_SELF, &usage);
  return usage.ru_minflt;
}

bool runOnce(char **files, Run *run) {
  QRTStoch *stoch = qrts_newStoch(benchContext(), "", 2000000);
  benchQuiet(qrtse_getBaseModel(stoch));
  qrts_setLenientOn(stoch);
  long long faults = pageFaults();
  double begin = processorNow();
  if (qrts_readSMPSData(stoch, files[0], files[1], files[2]) < 1) return false;
  run->reading = processorNow() - begin;
  run->readingFaults = pageFaults() - faults;
  faults = pageFaults();
  begin = processorNow();
  run->blocks = qrts_describeFullModel(stoch, 1);
  run->generation = processorNow() - begin;
  run->generationFaults = pageFaults() - faults;
  QRTModel *model = qrtse_getCurrentModel(stoch);
  if (run->blocks < 0 || !model) return false;
  run->rows = qrt_getInumrows(model);
  run->columns = qrt_getInumcols(model);
  run->elements = qrt_sizeMatrix(model);
  return true;
}

double median(std::vector<double> values) {
  std::sort(values.begin(), values.end());
  return values[values.size() / 2];
}

}  // namespace

int main(int argc, char **argv) {
  if (argc < 4) {
    std::fprintf(stderr, "usage: bench_generation CORE TIME STOCH [REPEATS]\n");
    return 64;
  }
  const int repeats = argc > 4 ? std::max(1, std::atoi(argv[4])) : 21;
  benchContext();
  std::vector<double> reading, generation, ratio;
  Run run = {};
  for (int k = 0; k < repeats; ++k) {
    if (!inChild(&run, [&](Run *result) { return runOnce(argv + 1, result); })) {
      std::fprintf(stderr, "refused\n");
      return 65;
    }
    reading.push_back(run.reading);
    generation.push_back(run.generation);
    ratio.push_back(run.generation / run.reading);
  }
  std::printf("%s: %d blocks, %d rows, %d columns, %d elements; medians of %d runs\n", argv[1], run.blocks, run.rows, run.columns,
              run.elements, repeats);
  std::printf("  reading    %9.3f ms (least %.3f), %lld page faults\n", 1e3 * median(reading),
              1e3 * *std::min_element(reading.begin(), reading.end()), run.readingFaults);
  std::printf("  generation %9.3f ms (least %.3f), %lld page faults\n", 1e3 * median(generation),
              1e3 * *std::min_element(generation.begin(), generation.end()), run.generationFaults);
  std::printf("  generation / reading %.2f\n", median(ratio));
  return 0;
}
