// How fast files are read, against `wc -l` on the same file, and what a scenario costs in memory.
// usage: bench_reading [CORE TIME STOCH]: with a triple also its generation against its reading.
#include <sys/wait.h>
#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <functional>
#include <string>

#include "generators.h"

namespace {

// Each measure runs in a process of its own, so that its memory is its own.
void alone(const std::function<void()> &measure) {
  std::fflush(stdout);
  const pid_t child = fork();
  if (child == 0) {
    measure();
    std::fflush(stdout);
    _exit(0);
  }
  int status = 0;
  waitpid(child, &status, 0);
  if (status != 0) std::printf("  failed with wait status %d\n", status);
}

void printSpeed(const char *what, const std::string &path, double seconds) {
  const double megabytes = double(fileSize(path)) / 1e6;
  long long lines = 0;
  const double counting = countLines(path, &lines);
  std::printf("%-34s %8.1f MB %9lld lines %8.3f s %8.1f MB/s %8.1f x wc -l\n", what, megabytes, lines, seconds, megabytes / seconds, seconds / counting);
}

QRTStoch *readTriple(const std::string &core, const std::string &time, const std::string &stochFile, double *seconds, int room) {
  QRTStoch *stoch = qrts_newStoch(benchContext(), "", room);
  benchQuiet(qrtse_getBaseModel(stoch));
  qrts_setLenientOn(stoch);
  const double begin = secondsNow();
  if (qrts_readSMPSData(stoch, core.c_str(), time.c_str(), stochFile.c_str()) < 1) {
    std::printf("  refused\n");
    _exit(1);
  }
  *seconds = secondsNow() - begin;
  return stoch;
}

void scenarioCost(const char *what, const std::string &stem, const std::string &stochFile, int room) {
  alone([&] {
    benchContext();
    const long long before = peakMemory();
    double seconds = 0;
    const double processor = processorNow();
    QRTStoch *stoch = readTriple(stem + ".cor", stem + ".tim", stochFile, &seconds, room);
    const double spent = processorNow() - processor;
    const int scenarios = qrts_getNumScenarios(stoch);
    std::printf("%-34s %9d scenarios %8.3f s %8.2f us each (processor %5.2f) %8.0f bytes each at the peak\n", what, scenarios, seconds,
                1e6 * seconds / scenarios, 1e6 * spent / scenarios,
                double(peakMemory() - before) / scenarios);
    printSpeed("  the file", stochFile, seconds);
  });
}

}  // namespace

int main(int argc, char **argv) {
  const std::string stem = "/tmp/tavstoch-bench-" + std::to_string(getpid());
  const std::string mps = stem + ".mps", indep = stem + "-indep.sto", scenarios = stem + "-scenarios.sto", wide = stem + "-wide.sto";

  writeMps(mps, 20000, 100000, 9);
  alone([&] {
    QRTModel *model = qrt_newModel(benchContext(), "");
    benchQuiet(model);
    const double begin = secondsNow();
    if (qrt_importModel(model, mps.c_str()) != 0) std::printf("  refused\n");
    printSpeed("MPS", mps, secondsNow() - begin);
  });

  constexpr int elements = 10;
  writeCore(stem, elements);
  for (int outcomes : {2, 3, 4}) {  // 1,024, 59,049 and 1,048,576 scenarios: the time for each should stay
    writeIndep(indep, elements, outcomes);
    scenarioCost("INDEP", stem, indep, 2000000);
  }
  for (int count : {10000, 100000}) {
    writeScenarios(scenarios, elements, count);
    scenarioCost("SCENARIOS", stem, scenarios, 2000000);
  }

  if (argc == 4) {
    alone([&] {
      double reading = 0;
      QRTStoch *stoch = readTriple(argv[1], argv[2], argv[3], &reading, 2000000);
      double begin = secondsNow();
      const int blocks = qrts_describeFullModel(stoch, 1);
      const double generation = secondsNow() - begin;
      QRTModel *model = qrtse_getCurrentModel(stoch);
      std::printf("%s: read in %.3f s, generated in %.3f s: %d blocks, %d rows, %d columns\n", argv[1], reading, generation, blocks,
                  model ? qrt_getInumrows(model) : -1, model ? qrt_getInumcols(model) : -1);
    });
  }
  for (const std::string &path : {mps, indep, scenarios, stem + ".cor", stem + ".tim"}) std::remove(path.c_str());
  return 0;
}
