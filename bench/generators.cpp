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

namespace {

void card(FILE *file, const char *column, const char *row, double value) { std::fprintf(file, "    %-8s  %-8s  %12.4f\n", column, row, value); }

// A name of a letter and two numbers.
struct Name {
  char text[12];
  Name(char letter, int a, int b) { std::snprintf(text, sizeof text, "%c%03d%03d", letter, a % 1000, b % 1000); }
};

FILE *createPart(const std::string &path, const char *end, const char *header) {
  FILE *file = create(path + end);
  std::fprintf(file, "%s\n", header);
  return file;
}

void writeTwoPeriods(const std::string &path, const char *name, const char *column1, const char *row1, const char *column2, const char *row2) {
  FILE *file = create(path + ".tim");
  std::fprintf(file, "TIME          %s\nPERIODS\n    %-8s  %-8s                 NOW\n    %-8s  %-8s                 THEN\nENDATA\n", name, column1,
               row1, column2, row2);
  std::fclose(file);
}

}  // namespace

void writeCargo(const std::string &path, int scenarios) {
  constexpr int places = 20, routes = 148, fleets = 10, demands = 117;
  Dice dice = {4711u};
  const auto pick = [&](int below) { return int(dice.roll(0, below)); };
  std::vector<int> from(routes), to(routes);
  for (int a = 0; a < routes; ++a) {
    // A ring joins all places; the other routes lie anywhere.
    from[size_t(a)] = a < places ? a : pick(places);
    to[size_t(a)] = a < places ? (a + 1) % places : (from[size_t(a)] + 1 + pick(places - 1)) % places;
  }
  FILE *file = createPart(path, ".cor", "NAME          CARGO\nROWS\n N  COST");
  for (int k = 0; k < fleets; ++k) std::fprintf(file, " L  %s\n", Name('H', k, 0).text);
  for (int p = 0; p < places; ++p) std::fprintf(file, " E  %s\n", Name('A', p, 0).text);
  for (int p = 0; p < places; ++p)
    for (int d = 0; d < places; ++d)
      if (p != d) std::fprintf(file, " E  %s\n", Name('B', p, d).text);
  for (int a = 0; a < routes; ++a) std::fprintf(file, " L  %s\n", Name('R', a, 0).text);
  std::fprintf(file, "COLUMNS\n");
  for (int a = 0; a < routes; ++a) {
    const Name flights('F', a, 0);
    const double length = dice.roll(1, 6);
    card(file, flights.text, "COST", 12 * length);
    card(file, flights.text, Name('H', pick(fleets), 0).text, length);
    card(file, flights.text, Name('A', from[size_t(a)], 0).text, 1);
    card(file, flights.text, Name('A', to[size_t(a)], 0).text, -1);
    card(file, flights.text, Name('R', a, 0).text, -dice.roll(10, 25));
  }
  for (int a = 0; a < routes; ++a)
    for (int d = 0; d < places; ++d) {
      const int p = from[size_t(a)], q = to[size_t(a)];
      if (d == p || (d != q && dice.roll(0, 1) > 0.25)) continue;
      const Name flow('X', a, d);
      card(file, flow.text, "COST", dice.roll(0.1, 0.5));
      card(file, flow.text, Name('B', p, d).text, 1);
      if (d != q) card(file, flow.text, Name('B', q, d).text, -1);
      card(file, flow.text, Name('R', a, 0).text, 1);
    }
  for (int p = 0; p < places; ++p)
    for (int d = 0; d < places; ++d)
      if (p != d) {
        card(file, Name('L', p, d).text, "COST", dice.roll(15, 40));
        card(file, Name('L', p, d).text, Name('B', p, d).text, 1);
      }
  std::fprintf(file, "RHS\n");
  for (int k = 0; k < fleets; ++k) card(file, "RHS", Name('H', k, 0).text, dice.roll(60, 120));
  std::vector<double> need(places * places);
  for (int p = 0; p < places; ++p)
    for (int d = 0; d < places; ++d)
      if (p != d && dice.roll(0, 1) < 0.6) card(file, "RHS", Name('B', p, d).text, need[size_t(p * places + d)] = dice.roll(2, 20));
  std::fprintf(file, "ENDATA\n");
  std::fclose(file);
  writeTwoPeriods(path, "CARGO", Name('F', 0, 0).text, Name('H', 0, 0).text, Name('X', 0, to[0]).text, Name('B', 0, 1).text);
  file = createPart(path, ".sto", "STOCH         CARGO\nSCENARIOS     DISCRETE");
  for (int s = 0; s < scenarios; ++s) {
    std::fprintf(file, " SC S%07d  ROOT      %12.9f   THEN\n", s, 1.0 / scenarios);
    for (int k = 0, left = demands; k < places * places && left > 0; ++k)
      if (need[size_t(k)] > 0) {
        card(file, "RHS", Name('B', k / places, k % places).text, need[size_t(k)] * dice.roll(0.8, 1.2));
        --left;
      }
  }
  std::fprintf(file, "ENDATA\n");
  std::fclose(file);
}

void writeFactory(const std::string &path, int weeks, int scenarios) {
  constexpr int products = 100, resources = 67, uses = 3;
  Dice dice = {90210u};
  const auto pick = [&](int below) { return int(dice.roll(0, below)); };
  FILE *file = createPart(path, ".cor", "NAME          FACTORY\nROWS\n N  COST\n L  BUDGET");
  for (int t = 0; t < weeks; ++t) {
    for (int p = 0; p < products; ++p) std::fprintf(file, " E  %s\n", Name('D', p, t).text);
    for (int r = 0; r < resources; ++r) std::fprintf(file, " L  %s\n", Name('R', r, t).text);
  }
  std::fprintf(file, "COLUMNS\n");
  for (int r = 0; r < resources; ++r) {
    const Name buy('B', r, 0);
    card(file, buy.text, "COST", weeks * dice.roll(1, 3));
    card(file, buy.text, "BUDGET", 1);
    for (int t = 0; t < weeks; ++t) card(file, buy.text, Name('R', r, t).text, -1);
  }
  std::vector<int> resource(products * uses);
  std::vector<double> use(products * uses), cost(products), mean(products);
  for (int p = 0; p < products; ++p) {
    cost[size_t(p)] = dice.roll(2, 6);
    mean[size_t(p)] = dice.roll(10, 50);
    for (int k = 0; k < uses; ++k) {
      // Strides keep a product's resources apart.
      resource[size_t(p * uses + k)] = (p * 7 + k * 22 + pick(20)) % resources;
      use[size_t(p * uses + k)] = dice.roll(0.3, 1.5);
    }
  }
  for (int t = 0; t < weeks; ++t) {
    for (int p = 0; p < products; ++p) {
      const Name make('M', p, t), store('S', p, t), missing('L', p, t), demand('D', p, t);
      card(file, make.text, "COST", cost[size_t(p)]);
      card(file, make.text, demand.text, 1);
      for (int k = 0; k < uses; ++k)
        card(file, make.text, Name('R', resource[size_t(p * uses + k)], t).text, use[size_t(p * uses + k)]);
      card(file, store.text, "COST", 0.1 * cost[size_t(p)]);
      card(file, store.text, demand.text, -1);
      if (t + 1 < weeks) card(file, store.text, Name('D', p, t + 1).text, 1);
      card(file, missing.text, "COST", 8 * cost[size_t(p)]);
      card(file, missing.text, demand.text, 1);
    }
    for (int r = 0; r < resources; ++r) {
      card(file, Name('O', r, t).text, "COST", 6);
      card(file, Name('O', r, t).text, Name('R', r, t).text, -1);
    }
  }
  std::fprintf(file, "RHS\n");
  card(file, "RHS", "BUDGET", 60.0 * resources);
  for (int t = 0; t < weeks; ++t)
    for (int p = 0; p < products; ++p) card(file, "RHS", Name('D', p, t).text, mean[size_t(p)]);
  std::fprintf(file, "BOUNDS\n");
  for (int t = 0; t < weeks; ++t)
    for (int r = 0; r < resources; ++r) std::fprintf(file, " UP BND       %-8s  %12.4f\n", Name('O', r, t).text, 15.0);
  std::fprintf(file, "ENDATA\n");
  std::fclose(file);
  writeTwoPeriods(path, "FACTORY", Name('B', 0, 0).text, "BUDGET", Name('M', 0, 0).text, Name('D', 0, 0).text);
  file = createPart(path, ".sto", "STOCH         FACTORY\nSCENARIOS     DISCRETE");
  for (int s = 0; s < scenarios; ++s) {
    std::fprintf(file, " SC S%07d  ROOT      %12.9f   THEN\n", s, 1.0 / scenarios);
    // Each product's market drifts from week to week.
    for (int p = 0; p < products; ++p) {
      double level = 1;
      for (int t = 0; t < weeks; ++t) {
        level *= dice.roll(0.88, 1.13);
        card(file, "RHS", Name('D', p, t).text, mean[size_t(p)] * level * dice.roll(0.9, 1.1));
      }
    }
  }
  std::fprintf(file, "ENDATA\n");
  std::fclose(file);
}
