// Stochastic programs solved whole and in parts: seconds, cycles, memory, and how they grow with the scenarios.
//
//     bench_decomposition [--reference COMMAND] [--direct N] [--nested N] [--keep DIR] [--tree N | --cargo N | --factory N]...
//                         [BASE]...
//
// BASE stands for BASE.cor, BASE.tim, BASE.sto; --tree, --cargo and --factory make programs of N scenarios with 14, 528
// and 8,684 rows each, which --keep leaves in a folder. COMMAND gets the three files and prints a line of commas whose
// last three fields are optimum, status and seconds (such a one is bench/highs); what it took is shown as a multiple of
// the L-shaped method's time. Each run has a process of its own, so that its memory is its own; --direct N solves whole
// up to N scenarios (1000), --nested N by the nested method up to N (300).
#include <unistd.h>

#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>
#include <vector>

#include "generators.h"
#include "in_child.h"
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

Outcome run(const Triple &triple, Method method) {
  Outcome o = {};
  const auto work = [&](Outcome *result) {
    *result = solve(triple, method);
    return true;
  };
  if (!inChild(&o, work)) o.status = -1;
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

void reference(const std::string &name, const std::string &script, const Triple &triple, const Outcome &parts) {
  const std::string command = script + " " + triple.core + " " + triple.time + " " + triple.stoch;
  FILE *pipe = popen(command.c_str(), "r");
  char text[1024] = "";
  while (pipe && std::fgets(text, sizeof text, pipe)) {}
  if (pipe) pclose(pipe);
  text[std::strcspn(text, "\n")] = 0;
  std::printf("%-18s %-9s %s", name.c_str(), "reference", *text ? text : "failed");
  // Optimum, status, seconds.
  double field[3] = {NAN, -1, NAN};
  for (int k = 2; k >= 0; --k) {
    char *comma = std::strrchr(text, ',');
    field[k] = std::atof(comma ? comma + 1 : text);
    if (comma) *comma = 0;
  }
  if (parts.status == 0 && field[2] > 0) {
    const bool solved = field[1] == 0, same = std::fabs(field[0] - parts.objective) <= 1e-6 * std::fmax(1, std::fabs(field[0]));
    std::printf("  %s %.1f times lshaped%s", solved ? "takes" : "stopped after", field[2] / parts.seconds, solved && !same ? ", ANOTHER VALUE" : "");
  }
  std::printf("\n");
  std::fflush(stdout);
}

using Writer = void (*)(const std::string &, int);
void writeTree(const std::string &base, int n) { writePlants(base, 6, 8, n); }
void writeYear(const std::string &base, int n) { writeFactory(base, 52, n); }
const struct {
  const char *option, *name;
  Writer write;
} GENERATED[] = {{"--tree", "plants", writeTree}, {"--cargo", "cargo", writeCargo}, {"--factory", "factory", writeYear}};

struct Program {
  std::string name;
  Triple triple;
  const char *kind;  // option that made it, null for files of the caller's
};

int usage() {
  std::fprintf(stderr, "usage: bench_decomposition [--reference COMMAND] [--direct N] [--nested N] [--keep DIR] "
                       "[--tree N | --cargo N | --factory N]... [BASE]...\n");
  return 64;
}

}  // namespace

int main(int argc, char **argv) {
  std::string script, folder;
  int mostDirect = 1000, mostNested = 300;
  std::vector<Program> programs;
  std::vector<std::string> made;
  const auto add = [&](const std::string &name, const std::string &base, const char *kind) {
    programs.push_back({name, {base + ".cor", base + ".tim", base + ".sto"}, kind});
  };
  for (int a = 1; a < argc; ++a) {
    const std::string argument = argv[a];
    if (argument.compare(0, 2, "--") != 0) {
      add(argument.substr(argument.rfind('/') + 1), argument, nullptr);
      continue;
    }
    if (a + 1 == argc) return usage();
    const std::string value = argv[++a];
    bool known = true;
    if (argument == "--reference") script = value;
    else if (argument == "--direct") mostDirect = std::atoi(value.c_str());
    else if (argument == "--nested") mostNested = std::atoi(value.c_str());
    else if (argument == "--keep") folder = value;
    else known = false;
    for (const auto &generated : GENERATED) {
      if (argument != generated.option) continue;
      known = true;
      const std::string base = folder.empty() ? "/tmp/bench_" + std::string(generated.name) + "_" + std::to_string(getpid()) + "_" + value
                                              : folder + "/" + generated.name + "_" + value;
      generated.write(base, std::atoi(value.c_str()));
      add(std::string(generated.name) + " " + value, base, generated.option);
      if (folder.empty()) made.push_back(base);
    }
    if (!known) return usage();
  }
  if (programs.empty()) return usage();
  std::printf("%-18s %-9s %8s %9s %9s %7s %9s %9s %9s %8s  %s\n", "program", "method", "scenar.", "read s", "solve s", "cycles",
              "iterat.", "MB", "B/scen.", "us/scen.", "objective");
  std::vector<Outcome> outcomes;
  for (const Program &program : programs) {
    const Outcome parts = run(program.triple, Method::LSHAPED);
    outcomes.push_back(parts);
    line(program.name, "lshaped", parts);
    if (parts.scenarios <= mostNested) line(program.name, "nested", run(program.triple, Method::NESTED));
    if (parts.scenarios <= mostDirect) line(program.name, "direct", run(program.triple, Method::WHOLE));
    if (!script.empty()) reference(program.name, script, program.triple, parts);
  }
  for (size_t k = 1; k < programs.size(); ++k) {
    const Outcome &small = outcomes[k - 1], &large = outcomes[k];
    if (!programs[k].kind || programs[k].kind != programs[k - 1].kind || small.status != 0 || large.status != 0) continue;
    const double times = std::log(double(large.scenarios) / small.scenarios);
    std::printf("%s to %s: seconds grow as the scenarios to the power %.3f, seconds a cycle %.3f\n", programs[k - 1].name.c_str(),
                programs[k].name.c_str(), std::log(large.seconds / small.seconds) / times,
                std::log(large.seconds * small.cycles / (small.seconds * large.cycles)) / times);
  }
  for (const std::string &base : made)
    for (const char *end : {".cor", ".tim", ".sto"}) std::remove((base + end).c_str());
  return 0;
}
