// How fast files are written: models in both number forms, bases, saves, triples and native files.
// usage: bench_writing [ROWS COLUMNS [SCENARIOS]]
#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <functional>
#include <string>

#include "generators.h"

namespace {

void measure(const char *what, const std::string &path, const std::function<int()> &write) {
  const double begin = secondsNow(), processor = processorNow();
  const int code = write();
  const double seconds = secondsNow() - begin, spent = processorNow() - processor;
  const double megabytes = double(fileSize(path)) / 1e6;
  std::printf("%-28s %8.1f MB %8.3f s %8.1f MB/s (of processor time %8.1f)%s\n", what, megabytes, seconds, megabytes / seconds,
              megabytes / spent, code == 0 ? "" : "  failed");
  std::remove(path.c_str());
}

}  // namespace

int main(int argc, char **argv) {
  const int rows = argc > 2 ? std::atoi(argv[1]) : 100000, columns = argc > 2 ? std::atoi(argv[2]) : 200000;
  const int scenarios = argc > 3 ? std::atoi(argv[3]) : 50000;
  const std::string stem = "/tmp/bench_writing." + std::to_string(getpid());
  const std::string source = stem + ".mps", target = stem + ".out";
  writeMps(source, rows, columns, 5);
  QRTModel *model = qrt_newModel(benchContext(), "");
  benchQuiet(model);
  if (qrt_importModel(model, source.c_str()) != 0) return 1;
  std::remove(source.c_str());
  for (int format = 1; format <= 2; ++format)
    for (int pairs = 1; pairs <= 2; ++pairs) {
      const std::string what = std::string(format == 1 ? "MPS" : "MPS, binary") + (pairs == 1 ? ", one pair" : ", two pairs");
      measure(what.c_str(), target, [&] { return qrt_exportModel(model, target.c_str(), format, pairs); });
    }
  measure("basis", target, [&] { return qrt_exportBasis(model, target.c_str(), 1, 1); });
  qrt_crash(model, 1);
  measure("basis after a crash", target, [&] { return qrt_exportBasis(model, target.c_str(), 1, 2); });
  measure("save", target, [&] { return qrt_saveModel(model, target.c_str()); });
  qrt_deleteModel(model);

  const int random = 20;
  writeCore(stem, random);
  writeScenarios(stem + ".sto", random, scenarios);
  QRTStoch *stoch = qrts_newStoch(benchContext(), "", scenarios);
  benchQuiet(qrtse_getBaseModel(stoch));
  qrts_setLenientOn(stoch);
  const int kind = qrts_readSMPSData(stoch, (stem + ".cor").c_str(), (stem + ".tim").c_str(), (stem + ".sto").c_str());
  for (const char *end : {".cor", ".tim", ".sto"}) std::remove((stem + end).c_str());
  if (kind < 1) return 1;
  for (int mode = 1; mode >= 0; --mode)
    measure(mode ? "stoch file, values" : "stoch file, differences", target, [&] {
      return qrts_outMatrixSMPS(stoch, 1, mode, (stem + ".c").c_str(), (stem + ".t").c_str(), target.c_str());
    });
  std::remove((stem + ".c").c_str());
  std::remove((stem + ".t").c_str());
  measure("native file", target, [&] { return qrts_writeNativeData(stoch, target.c_str()); });
  qrts_deleteStoch(stoch);
  return 0;
}
