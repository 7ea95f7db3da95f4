// Makes the files and takes the measures of the benchmarks.
#include "generators.h"

#include <sys/resource.h>
#include <sys/stat.h>
#include <time.h>

#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <random>
#include <vector>

namespace {

FILE *create(const std::string &path) {
  FILE *file = std::fopen(path.c_str(), "w");
  if (!file) {
    std::perror(path.c_str());
    std::exit(1);
  }
  return file;
}

}  // namespace

QRTContext *benchContext() {
  static QRTContext *const context = [] {
    QRTContext *made = qrts_initializeContext();
    benchQuiet(qrt_baseModel(made));
    return made;
  }();
  return context;
}

void benchQuiet(QRTModel *model) {
  qrt_setLogfileName(model, "/dev/null");  // first, or the banner comes out
  qrt_mset(model, 7000, 256, 0, 0, 7999, 0);
}

double secondsNow() { return std::chrono::duration<double>(std::chrono::steady_clock::now().time_since_epoch()).count(); }

double processorNow() {
  timespec now;
  clock_gettime(CLOCK_PROCESS_CPUTIME_ID, &now);
  return double(now.tv_sec) + 1e-9 * double(now.tv_nsec);
}

long long peakMemory() {
  rusage usage;
  getrusage(RUSAGE_SELF, &usage);
  return 1024LL * usage.ru_maxrss;
}

long long fileSize(const std::string &path) {
  struct stat about;
  return stat(path.c_str(), &about) == 0 ? about.st_size : -1;
}

double countLines(const std::string &path, long long *lines) {
  const double begin = secondsNow();
  FILE *pipe = popen(("wc -l < '" + path + "'").c_str(), "r");
  long long count = 0;
  if (pipe) {
    if (std::fscanf(pipe, "%lld", &count) != 1) count = 0;
    pclose(pipe);
  }
  if (lines) *lines = count;
  return secondsNow() - begin;
}

void writeMps(const std::string &path, int rows, int columns, int perColumn) {
  FILE *file = create(path);
  std::mt19937 random(1);
  std::fprintf(file, "NAME          BENCH\nROWS\n N  COST\n");
  for (int i = 0; i < rows; ++i) std::fprintf(file, " L  R%07d\n", i);
  std::fprintf(file, "COLUMNS\n");
  for (int j = 0; j < columns; ++j) {
    std::fprintf(file, "    C%07d  COST      %12.5f\n", j, double(random() % 100000) / 1000);
    // The rows of a column are distinct: they lie a stride apart.
    const int stride = rows / perColumn;
    int i = int(random() % unsigned(stride));
    for (int k = 0; k < perColumn; ++k, i += stride) {
      if (k % 2 == 0) std::fprintf(file, "    C%07d", j);
      std::fprintf(file, k % 2 == 0 ? "  R%07d  %12.5f" : "   R%07d  %12.5f", i, double(random() % 9999) / 100 + 0.01);
      if (k % 2 == 1 || k + 1 == perColumn) std::fprintf(file, "\n");
    }
  }
  std::fprintf(file, "RHS\n");
  for (int i = 0; i < rows; ++i) std::fprintf(file, "    RHS       R%07d  %12.2f\n", i, 1000.0 + i % 97);
  std::fprintf(file, "ENDATA\n");
  std::fclose(file);
}

void writeCore(const std::string &path, int random) {
  FILE *file = create(path + ".cor");
  std::fprintf(file, "NAME          BENCH\nROWS\n N  COST\n L  ROOM\n");
  for (int k = 0; k < random; ++k) std::fprintf(file, " G  NEED%04d\n", k);
  std::fprintf(file, "COLUMNS\n    BUY       COST               1.0   ROOM               1.0\n");
  for (int k = 0; k < random; ++k) std::fprintf(file, "    BUY       NEED%04d           1.0\n", k);
  for (int k = 0; k < random; ++k) std::fprintf(file, "    LATE%04d  COST               2.0   NEED%04d           1.0\n", k, k);
  std::fprintf(file, "RHS\n    RHS       ROOM              50.0\n");
  for (int k = 0; k < random; ++k) std::fprintf(file, "    RHS       NEED%04d           1.0\n", k);
  std::fprintf(file, "ENDATA\n");
  std::fclose(file);
  file = create(path + ".tim");
  std::fprintf(file, "TIME          BENCH\nPERIODS\n    BUY       ROOM                     NOW\n    LATE0000  NEED0000                 THEN\nENDATA\n");
  std::fclose(file);
}

void writeIndep(const std::string &path, int random, int outcomes) {
  FILE *file = create(path);
  std::fprintf(file, "STOCH         BENCH\nINDEP         DISCRETE\n");
  for (int k = 0; k < random; ++k)
    for (int o = 0; o < outcomes; ++o)
      std::fprintf(file, "    RHS       NEED%04d  %12.4f   THEN      %12.8f\n", k, 2.0 + o + k, 1.0 / outcomes);
  std::fprintf(file, "ENDATA\n");
  std::fclose(file);
}

void writeScenarios(const std::string &path, int random, int scenarios) {
  FILE *file = create(path);
  std::fprintf(file, "STOCH         BENCH\nSCENARIOS     DISCRETE\n");
  for (int s = 0; s < scenarios; ++s) {
    std::fprintf(file, " SC S%07d  ROOT      %12.9f   THEN\n", s, 1.0 / scenarios);
    for (int k = 0; k < random; ++k) std::fprintf(file, "    RHS       NEED%04d  %12.4f\n", k, 2.0 + (s * 7 + k) % 1013);
  }
  std::fprintf(file, "ENDATA\n");
  std::fclose(file);
}

namespace {

// The same numbers on every machine.
struct Dice {
  unsigned state;
  double roll(double low, double high) {
    state = state * 1664525u + 1013904223u;
    return low + (high - low) * double(state >> 8) / 16777216.0;
  }
};

}  // namespace

void writePlants(const std::string &path, int plants, int markets, int scenarios) {
  Dice dice = {12345u};
  FILE *file = create(path + ".cor");
  std::fprintf(file, "NAME          PLANTS\nROWS\n N  COST\n L  BUDGET\n");
  for (int p = 0; p < plants; ++p) std::fprintf(file, " L  MAKE%04d\n", p);
  for (int m = 0; m < markets; ++m) std::fprintf(file, " G  NEED%04d\n", m);
  std::fprintf(file, "COLUMNS\n");
  for (int p = 0; p < plants; ++p) {
    std::fprintf(file, "    BUILD%03d  COST      %12.4f   BUDGET             1.0\n", p, dice.roll(2.0, 4.0));
    std::fprintf(file, "    BUILD%03d  MAKE%04d          -1.0\n", p, p);
  }
  for (int p = 0; p < plants; ++p)
    for (int m = 0; m < markets; ++m) {
      std::fprintf(file, "    S%03d%03d   COST      %12.4f   MAKE%04d           1.0\n", p, m, dice.roll(1.0, 9.0), p);
      std::fprintf(file, "    S%03d%03d   NEED%04d           1.0\n", p, m, m);
    }
  for (int m = 0; m < markets; ++m) std::fprintf(file, "    SHORT%03d  COST      %12.4f   NEED%04d           1.0\n", m, dice.roll(15.0, 30.0), m);
  std::fprintf(file, "RHS\n    RHS       BUDGET    %12.1f\n", 40.0 * markets);
  for (int m = 0; m < markets; ++m) std::fprintf(file, "    RHS       NEED%04d          50.0\n", m);
  std::fprintf(file, "ENDATA\n");
  std::fclose(file);
  file = create(path + ".tim");
  std::fprintf(file, "TIME          PLANTS\nPERIODS\n    BUILD000  BUDGET                   NOW\n    S000000   MAKE0000                 THEN\nENDATA\n");
  std::fclose(file);
  file = create(path + ".sto");
  std::fprintf(file, "STOCH         PLANTS\nSCENARIOS     DISCRETE\n");
  for (int s = 0; s < scenarios; ++s) {
    std::fprintf(file, " SC S%07d  ROOT      %12.9f   THEN\n", s, 1.0 / scenarios);
    for (int m = 0; m < markets; ++m) std::fprintf(file, "    RHS       NEED%04d  %12.4f\n", m, dice.roll(10.0, 90.0));
  }
  std::fprintf(file, "ENDATA\n");
  std::fclose(file);
}

namespace {

void cell(FILE *file, const char *columnKind, int stage, int good, const char *row, double value) {
  std::fprintf(file, "    %s%02d%03d  %-8s  %12.4f\n", columnKind, stage, good, row, value);
}
std::string rowName(const char *kind, int stage, int good) {
  char name[40];
  std::snprintf(name, sizeof name, "%s%02d%03d", kind, stage, good);
  return name;
}

void writeStocksCore(const std::string &path, int stages, int goods) {
  Dice dice = {777u};
  FILE *file = create(path + ".cor");
  std::fprintf(file, "NAME          STOCKS\nROWS\n N  COST\n");
  for (int s = 1; s <= stages; ++s) {
    std::fprintf(file, " L  BUD%02d\n", s);
    for (int g = 0; g < goods; ++g) std::fprintf(file, " L  LIM%02d%03d\n E  BAL%02d%03d\n", s, g, s, g);
  }
  std::fprintf(file, "COLUMNS\n");
  for (int s = 1; s <= stages; ++s)
    for (int g = 0; g < goods; ++g) {
      const std::string balance = rowName("BAL", s, g), budget = rowName("BUD", s, 0).substr(0, 5);
      cell(file, "CAP", s, g, "COST", dice.roll(3.0, 6.0));
      cell(file, "CAP", s, g, budget.c_str(), 1.0);
      for (int later = s + 1; later <= stages; ++later) cell(file, "CAP", s, g, rowName("LIM", later, g).c_str(), -1.0);
      cell(file, "MAK", s, g, "COST", dice.roll(1.0, 3.0));
      cell(file, "MAK", s, g, rowName("LIM", s, g).c_str(), 1.0);
      cell(file, "MAK", s, g, rowName("LIM", s, (g + 1) % goods).c_str(), 0.4);
      cell(file, "MAK", s, g, balance.c_str(), 1.0);
      cell(file, "SHO", s, g, "COST", dice.roll(12.0, 25.0));
      cell(file, "SHO", s, g, balance.c_str(), 1.0);
      cell(file, "KEE", s, g, "COST", dice.roll(0.2, 0.6));
      cell(file, "KEE", s, g, balance.c_str(), -1.0);
      if (s < stages) cell(file, "KEE", s, g, rowName("BAL", s + 1, g).c_str(), 1.0);
    }
  std::fprintf(file, "RHS\n");
  for (int s = 1; s <= stages; ++s) {
    std::fprintf(file, "    RHS       BUD%02d     %12.1f\n", s, 12.0 * goods);
    for (int g = 0; g < goods; ++g) {
      std::fprintf(file, "    RHS       LIM%02d%03d  %12.1f\n", s, g, s == 1 ? 20.0 : 4.0);
      std::fprintf(file, "    RHS       BAL%02d%03d  %12.1f\n", s, g, 10.0);
    }
  }
  std::fprintf(file, "ENDATA\n");
  std::fclose(file);
  file = create(path + ".tim");
  std::fprintf(file, "TIME          STOCKS\nPERIODS\n");
  for (int s = 1; s <= stages; ++s) std::fprintf(file, "    CAP%02d000  BUD%02d                    STAGE%d\n", s, s, s);
  std::fprintf(file, "ENDATA\n");
  std::fclose(file);
}

}  // namespace

void writeStocks(const std::string &path, int stages, int branches, int goods) {
  writeStocksCore(path, stages, goods);
  Dice dice = {4321u};
  long long leaves = 1;
  for (int s = 1; s < stages; ++s) leaves *= branches;
  FILE *file = create(path + ".sto");
  std::fprintf(file, "STOCH         STOCKS\nSCENARIOS     DISCRETE\n");
  for (long long k = 0; k < leaves; ++k) {
    // The last digits of k that are all 0 are the stages that begin anew.
    int stage = stages;
    long long below = branches;
    for (long long rest = k; stage > 2 && rest % branches == 0; rest /= branches, --stage) below *= branches;
    if (k == 0) stage = 2;
    char ancestor[24] = "ROOT";
    if (stage > 2) std::snprintf(ancestor, sizeof ancestor, "S%07lld", k - k % below);
    std::fprintf(file, " SC S%07lld  %-8s  %12.9f   STAGE%d\n", k, ancestor, 1.0 / double(leaves), stage);
    for (int s = stage; s <= stages; ++s)
      for (int g = 0; g < goods; ++g) std::fprintf(file, "    RHS       BAL%02d%03d  %12.4f\n", s, g, dice.roll(2.0, 30.0));
  }
  std::fprintf(file, "ENDATA\n");
  std::fclose(file);
}
