// Stochastic programs solved whole and in parts: seconds, cycles, memory, and how they grow with the scenarios.
//
//     bench_decomposition [--reference SCRIPT] [--direct N] [--nested N] [--tree N]... [BASE]...
//
// BASE stands for BASE.cor, BASE.tim, BASE.sto; --tree N makes a program of N scenarios. SCRIPT gets the three files
// and prints a line of commas whose last three fields are optimum, status and seconds. Each run has a process of its
// own, so that its memory is its own; --direct N solves whole up to N scenarios (1000), --nested N by the nested method
// up to N (300).
#include <sys/wait.h>
#include <unistd.h>

#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>
#include <vector>

#include "generators.h"
#include "qrts_c_api.h"

namespace {

struct Triple {
  std::string core, time, stoch;
};

struct Outcome {
  int status, cycles, iterations, scenarios;
  double objective, readSeconds, seconds;
  long long memoryBefore, memory;  // highest, after reading and at the end
};

int countCycle(const QRTSCycle *cycle, void *outcome) {
  static_cast<Outcome *>(outcome)->cycles = cycle->cycle;
  return 0;
}

enum class Method { WHOLE, LSHAPED, NESTED };

Outcome solve(const Triple &triple, Method method) {
  Outcome o = {};
  double start = processorNow();
  QRTStoch *stoch = qrts_newStoch(benchContext(), "bench", 10000000);
  benchQuiet(qrtse_getBaseModel(stoch));
  qrt_messagesPrintOff(qrtse_getBaseModel(stoch), 1, 6999);
  qrts_setLenientOn(stoch);
  o.status = -1;
  if (qrts_readSMPSData(stoch, triple.core.c_str(), triple.time.c_str(), triple.stoch.c_str()) <= 0) return o;
  o.scenarios = qrts_getNumScenarios(stoch);
  o.readSeconds = processorNow() - start;
  o.memoryBefore = peakMemory();
  start = processorNow();
  if (method == Method::WHOLE) {
    qrts_eitherSimplex(stoch);
  } else {
    qrts_setMaxiter(stoch, 2000);
    qrts_setFinalSimplexSolverOff(stoch);
    qrts_setCycleCallBack(stoch, countCycle, &o);
    method == Method::LSHAPED ? qrts_bendersLSolve(stoch, 0) : qrtse_nestedLSolve(stoch, 1, 0);
  }
  o.seconds = processorNow() - start;
  o.memory = peakMemory();
  o.status = qrts_getStatus(stoch);
  o.objective = qrts_getRobjvalue(stoch);
  if (method == Method::WHOLE) o.iterations = qrt_getIiternum(qrtse_getCurrentModel(stoch));
  return o;
}

// In a process of its own.
Outcome run(const Triple &triple, Method method) {
  Outcome o = {};
  o.status = -1;
  int ends[2];
  if (pipe(ends) != 0) return o;
  std::fflush(stdout);
  const pid_t child = fork();
  if (child == 0) {
    o = solve(triple, method);
    const ssize_t written = write(ends[1], &o, sizeof o);
    _exit(written == ssize_t(sizeof o) ? 0 : 1);
  }
  close(ends[1]);
  if (child < 0 || read(ends[0], &o, sizeof o) != ssize_t(sizeof o)) o.status = -1;
  close(ends[0]);
  int status;
  if (child > 0) waitpid(child, &status, 0);
  return o;
}

void line(const std::string &name, const char *method, const Outcome &o) {
  if (o.status < 0) {
    std::printf("%-18s %-9s failed\n", name.c_str(), method);
    return;
  }
  std::printf("%-18s %-9s %8d %9.3f %9.3f %7d %9d %9.1f %9.0f %8.2f  %.9g\n", name.c_str(), method, o.scenarios, o.readSeconds,
              o.seconds, o.cycles, o.iterations, double(o.memory) / 1048576.0,
              double(o.memory - o.memoryBefore) / o.scenarios, 1e6 * o.seconds / o.scenarios, o.objective);
  std::fflush(stdout);
}

void reference(const std::string &name, const std::string &script, const Triple &triple) {
  const std::string command = script + " " + triple.core + " " + triple.time + " " + triple.stoch;
  FILE *pipe = popen(command.c_str(), "r");
  char text[1024] = "";
  while (pipe && std::fgets(text, sizeof text, pipe)) {}
  if (pipe) pclose(pipe);
  std::printf("%-18s %-9s %s", name.c_str(), "reference", *text ? text : "failed\n");
  std::fflush(stdout);
}

}  // namespace

int main(int argc, char **argv) {
  std::string script;
  int mostDirect = 1000, mostNested = 300;
  std::vector<std::pair<std::string, Triple>> programs;
  std::vector<double> trees, seconds;
  std::vector<std::string> made;
  for (int a = 1; a < argc; ++a) {
    const std::string argument = argv[a];
    if (argument == "--reference" && a + 1 < argc) {
      script = argv[++a];
    } else if (argument == "--direct" && a + 1 < argc) {
      mostDirect = std::atoi(argv[++a]);
    } else if (argument == "--nested" && a + 1 < argc) {
      mostNested = std::atoi(argv[++a]);
    } else if (argument == "--tree" && a + 1 < argc) {
      const std::string base = "/tmp/bench_plants_" + std::to_string(getpid()) + "_" + argv[++a];
      writePlants(base, 6, 8, std::atoi(argv[a]));
      programs.push_back({std::string("plants ") + argv[a], {base + ".cor", base + ".tim", base + ".sto"}});
      made.push_back(base);
    } else {
      programs.push_back({argument.substr(argument.rfind('/') + 1), {argument + ".cor", argument + ".tim", argument + ".sto"}});
    }
  }
  if (programs.empty()) {
    std::fprintf(stderr, "usage: bench_decomposition [--reference SCRIPT] [--direct N] [--nested N] [--tree N]... [BASE]...\n");
    return 64;
  }
  std::printf("%-18s %-9s %8s %9s %9s %7s %9s %9s %9s %8s  %s\n", "program", "method", "scenar.", "read s", "solve s", "cycles",
              "iterat.", "MB", "B/scen.", "us/scen.", "objective");
  for (const auto &program : programs) {
    const Outcome parts = run(program.second, Method::LSHAPED);
    line(program.first, "lshaped", parts);
    if (program.first.compare(0, 7, "plants ") == 0 && parts.status == 0) {
      trees.push_back(parts.scenarios);
      seconds.push_back(parts.seconds);
    }
    if (parts.scenarios <= mostNested) line(program.first, "nested", run(program.second, Method::NESTED));
    if (parts.scenarios <= mostDirect) line(program.first, "direct", run(program.second, Method::WHOLE));
    if (!script.empty()) reference(program.first, script, program.second);
  }
  for (size_t k = 1; k < trees.size(); ++k)
    std::printf("from %.0f to %.0f scenarios seconds grow as their power %.3f\n", trees[k - 1], trees[k],
                std::log(seconds[k] / seconds[k - 1]) / std::log(trees[k] / trees[k - 1]));
  for (const std::string &base : made)
    for (const char *end : {".cor", ".tim", ".sto"}) std::remove((base + end).c_str());
  return 0;
}
