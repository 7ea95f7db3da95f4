// Nested decomposition of programs cut in all three ways: models, memory, seconds and cycles, beside the direct solve.
//
//     bench_nested [--reference SCRIPT] [--stage K] [--rows N]... [--models N]... [--direct] [--final] [--maxiter N]
//                  [--tree STAGES BRANCHES GOODS]... [BASE]...
//
// BASE stands for BASE.cor, BASE.tim, BASE.sto; SCRIPT as for bench_decomposition. Each run has a process of its own, so
// that its memory is its own. "cut" is the time of describing the models and the memory of a model after it; "solve" that
// of the whole run, and the memory of a model then, the whole program apart.
#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>
#include <vector>

#include "generators.h"
#include "in_child.h"
#include "qrts_c_api.h"

namespace {

enum class Cut { STAGE, ROWS, MODELS, DIRECT };
struct Way {
  Cut cut;
  int value;
};

struct Outcome {
  int status, cycles, models, rows, finalIterations;
  double objective, loadSeconds, cutSeconds, seconds;
  long long memoryWhole, memoryCut, memory;
};

int countCycle(const QRTSCycle *cycle, void *outcome) {
  static_cast<Outcome *>(outcome)->cycles = cycle->cycle;
  return 0;
}

Outcome solve(const std::string &base, Way way, bool finalSolve, int maxiter) {
  Outcome o = {};
  o.status = -1;
  QRTStoch *stoch = qrts_newStoch(benchContext(), "bench", 10000000);
  benchQuiet(qrtse_getBaseModel(stoch));
  qrt_messagesPrintOff(qrtse_getBaseModel(stoch), 1, 6999);
  qrts_setLenientOn(stoch);
  if (qrts_readSMPSData(stoch, (base + ".cor").c_str(), (base + ".tim").c_str(), (base + ".sto").c_str()) <= 0) return o;
  double start = processorNow();
  if (qrts_describeFullModel(stoch, 1) < 0) return o;
  qrt_messagesPrintOff(qrtse_getCurrentModel(stoch), 1, 6999);
  o.rows = qrt_getInumrows(qrtse_getCurrentModel(stoch));
  o.loadSeconds = processorNow() - start;
  o.memoryWhole = peakMemory();
  start = processorNow();
  if (way.cut == Cut::DIRECT) {
    qrts_eitherSimplex(stoch);
    o.finalIterations = qrt_getIiternum(qrtse_getCurrentModel(stoch));
  } else {
    o.models = way.cut == Cut::STAGE  ? qrtse_decomposeCutAtStage(stoch, way.value)
               : way.cut == Cut::ROWS ? qrtse_decomposeCutByRowSize(stoch, way.value)
                                      : qrtse_decomposeCutByNodeSize(stoch, way.value);
    o.cutSeconds = processorNow() - start;
    o.memoryCut = peakMemory();
    if (o.models < 2) return o;
    qrts_setMaxiter(stoch, maxiter);
    if (!finalSolve) qrts_setFinalSimplexSolverOff(stoch);
    qrts_setCycleCallBack(stoch, countCycle, &o);
    start = processorNow();
    qrtse_nestedLSolve(stoch, 1, 0);
    if (finalSolve) o.finalIterations = qrt_getIiternum(qrtse_getCurrentModel(stoch));
  }
  o.seconds = processorNow() - start;
  o.memory = peakMemory();
  o.status = qrts_getStatus(stoch);
  o.objective = qrts_getRobjvalue(stoch);
  return o;
}

Outcome run(const std::string &base, Way way, bool finalSolve, int maxiter) {
  Outcome o = {};
  const auto work = [&](Outcome *result) {
    *result = solve(base, way, finalSolve, maxiter);
    return true;
  };
  if (!inChild(&o, work)) o.status = -1;
  return o;
}

void line(const std::string &name, Way way, const Outcome &o) {
  const char *kinds[] = {"stage", "rows", "models", "direct"};
  char cut[32];
  std::snprintf(cut, sizeof cut, way.cut == Cut::DIRECT ? "%s" : "%s:%d", kinds[int(way.cut)], way.value);
  const double n = o.models > 0 ? o.models : 1;
  std::printf("%-22s %-12s %7d %8d %7d %8.3f %8.3f %9.3f %7d %9.1f %9.1f  %d  %.9g\n", name.c_str(), cut, o.rows, o.models, o.cycles, o.loadSeconds,
              o.cutSeconds, o.seconds, o.finalIterations, o.models ? double(o.memoryCut - o.memoryWhole) / n / 1024.0 : 0.0,
              double(o.memory - o.memoryWhole) / n / 1024.0, o.status, o.objective);
  std::fflush(stdout);
}

}  // namespace

int main(int argc, char **argv) {
  std::string script;
  std::vector<Way> ways;
  std::vector<std::pair<std::string, std::string>> programs;
  std::vector<std::string> made;
  bool finalSolve = false;
  int maxiter = 2000;
  for (int a = 1; a < argc; ++a) {
    const std::string argument = argv[a];
    const auto number = [&](int k) { return a + k < argc ? std::atoi(argv[a + k]) : 0; };
    if (argument == "--reference") script = a + 1 < argc ? argv[++a] : "";
    else if (argument == "--stage") ways.push_back({Cut::STAGE, number(1)}), ++a;
    else if (argument == "--rows") ways.push_back({Cut::ROWS, number(1)}), ++a;
    else if (argument == "--models") ways.push_back({Cut::MODELS, number(1)}), ++a;
    else if (argument == "--direct") ways.push_back({Cut::DIRECT, 0});
    else if (argument == "--final") finalSolve = true;
    else if (argument == "--maxiter") maxiter = number(1), ++a;
    else if (argument == "--tree") {
      const std::string name = "stocks " + std::to_string(number(1)) + "x" + std::to_string(number(2)) + "x" + std::to_string(number(3));
      const std::string base = "/tmp/bench_nested_" + std::to_string(getpid()) + "_" + std::to_string(made.size());
      writeStocks(base, number(1), number(2), number(3));
      programs.push_back({name, base});
      made.push_back(base);
      a += 3;
    } else programs.push_back({argument.substr(argument.rfind('/') + 1), argument});
  }
  if (programs.empty() || ways.empty()) {
    std::fprintf(stderr, "usage: bench_nested [--stage K] [--rows N] [--models N] [--direct] [--tree STAGES BRANCHES GOODS]... [BASE]...\n");
    return 64;
  }
  std::printf("%-22s %-12s %7s %8s %7s %8s %8s %9s %7s %9s %9s  %s\n", "program", "cut", "rows", "models", "cycles", "load s", "cut s", "solve s",
              "iterat.", "KB/m. cut", "KB/m. end", "status, objective");
  for (const auto &program : programs) {
    for (const Way way : ways) line(program.first, way, run(program.second, way, finalSolve, maxiter));
    if (script.empty()) continue;
    const std::string command = script + " " + program.second + ".cor " + program.second + ".tim " + program.second + ".sto";
    FILE *pipe = popen(command.c_str(), "r");
    char text[1024] = "";
    while (pipe && std::fgets(text, sizeof text, pipe)) {}
    if (pipe) pclose(pipe);
    std::printf("%-22s reference    %s", program.first.c_str(), *text ? text : "failed\n");
    std::fflush(stdout);
  }
  for (const std::string &base : made)
    for (const char *end : {".cor", ".tim", ".sto"}) std::remove((base + end).c_str());
  return 0;
}
