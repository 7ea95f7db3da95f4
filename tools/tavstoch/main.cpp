// The command: options, and one place where every outcome becomes an exit code.
#include <CLI/CLI.hpp>
#include <fcntl.h>
#include <fmt/core.h>
#include <unistd.h>

#include <cmath>
#include <csignal>
#include <system_error>

#include "command.h"
#include "cut.h"
#include "failure.h"
#include "session.h"

namespace {

using Run = int (*)(Session &, const Options &);

// A range lets "nan" through, since it compares with nothing.
const CLI::Validator FINITE([](const std::string &text) {
  char *end = nullptr;
  return std::isfinite(std::strtod(text.c_str(), &end)) ? std::string() : text + " is no finite number";
}, "");

const CLI::Validator CUT([](const std::string &text) {
  TreeCut cut;
  return parseCut(text, &cut) ? std::string() : text + ": stage:K, rows:N or models:N";
}, "");

// An option that the method would not look at is a mistake to be told, not to be passed over.
void checkMethod(const CLI::App &solve, const Options &o) {
  const auto refuse = [&](std::initializer_list<const char *> names, const char *whose) {
    for (const char *name : names)
      if (solve.count(name)) throw CLI::ValidationError(name, std::string("of --method ") + whose + " only");
  };
  if (o.method == "direct")
    refuse({"--cut", "--gap", "--cycles", "--no-final", "--save-state", "--save-every", "--resume"}, "lshaped and nested");
  TreeCut cut;
  if (o.method == "lshaped" && parseCut(o.cut, &cut) && (cut.kind != TreeCut::STAGE || cut.value < 2))
    throw CLI::ValidationError("--cut", o.cut + ": the L-shaped method cuts at stage:K, K from 2");
}

void checkSteps(const Options &o) {
  constexpr double most = 1e7;
  if ((o.to - o.from) / o.step > most) throw CLI::ValidationError("--step", "more than 10,000,000 steps");
}

void checkFiles(const Options &o) {
  const size_t count = o.files.size();
  if (o.native ? count != 4 : count != 2 && count != 4 && count != 6)
    throw CLI::ValidationError("FILES", "2 files (MPS), 4 (triple to native, --native: to a triple) or 6 (triple to triple)");
}

// An option for another kind of file changes nothing: as above.
void checkForms(const CLI::App &convert, const Options &o) {
  const auto refuse = [&](std::initializer_list<const char *> names, const char *whose) {
    for (const char *name : names)
      if (convert.count(name)) throw CLI::ValidationError(name, std::string("for ") + whose + " only");
  };
  const bool mps = o.files.size() == 2, toTriple = o.native || o.files.size() == 6;
  if (!mps) refuse({"--free", "--binary", "--pairs"}, "MPS files");
  if (mps || o.native) refuse({"--strict", "--inherit"}, "triples read");
  if (!toTriple) refuse({"--add"}, "triples written");
}

// One file written twice is a triple lost.
void checkTargets(const std::vector<std::string> &files, size_t first) {
  for (size_t i = first; i < files.size(); ++i)
    for (size_t k = first; k < i; ++k)
      if (files[i] == files[k]) throw CLI::ValidationError(files[i], "to be written twice");
}

void addReading(CLI::App *app, Options &o) {
  app->add_flag("--strict", o.strict, "read by the letter: refuse what published files contain beyond the format");
  app->add_flag("--inherit", o.inherit, "a scenario takes over its ancestor's data");
  app->add_option("--max-scenarios", o.maxScenarios, "scenarios to make room for")->check(CLI::Range(1, 2147483646))->capture_default_str();
}

void addTriple(CLI::App *app, Options &o) {
  app->add_option("CORE", o.core, "core file")->required();
  app->add_option("TIME", o.time, "time file")->required();
  app->add_option("STOCH", o.stoch, "stoch file")->required();
  addReading(app, o);
}

void addOutput(CLI::App *app, Options &o) {
  app->add_option("--log", o.logFile, "write the library's messages to this file");
  app->add_flag("--json", o.json, "print JSON");
  app->add_flag("--quiet", o.quiet, "print the outcome only, no progress");
}

// A level may be left out.
void addPresolve(CLI::App *app, Options &o, int largest, const char *text) {
  app->add_option("--presolve", o.presolve, text)->check(CLI::Range(0, largest))->expected(0, 1)->default_str("3");
}

void addSolving(CLI::App *app, Options &o) {
  app->add_flag("--scale", o.scale, "scale the model before the solve");
  app->add_option("--crash", o.crash, "start from a crash basis: 1 or 3 for feasibility, 2 or 4 keeping dual feasibility")
      ->check(CLI::Range(1, 4));
  app->add_flag("--maximize", o.maximize, "maximise the objective");
  app->add_option("--solution", o.solutionFile, "write values and duals to this CSV file");
  app->add_flag("--check", o.check, "recompute residuals, violations and the gap from the model alone");
}

void addSolve(CLI::App &app, Options &o, Run &run) {
  CLI::App *solve = app.add_subcommand("solve", "solve a stochastic program");
  addTriple(solve, o);
  solve->add_option("--method", o.method, "how to solve")->check(CLI::IsMember({"direct", "lshaped", "nested"}))->capture_default_str();
  solve->add_option("--cut", o.cut, "where the tree is cut: stage:K (lshaped: stage:2 by default); nested also rows:N, fewest a model, or models:N, most (100)")->check(CUT);
  solve->add_option("--gap", o.gap, "lshaped, nested: relative gap to stop at")->check(FINITE)->check(CLI::Range(1.1e-16, 0.999))->capture_default_str();
  solve->add_option("--cycles", o.cycles, "lshaped, nested: most cycles")->check(CLI::Range(1, 2147483646))->capture_default_str();
  solve->add_option("--save-state", o.saveState, "lshaped, nested: leave bounds, proposals and cuts in this file");
  solve->add_option("--save-every", o.saveEvery, "cycles between two states")->check(CLI::Range(1, 2147483646))->capture_default_str();
  solve->add_option("--resume", o.resume, "lshaped, nested: go on from such a file");
  solve->add_flag("--no-final", o.noFinal, "lshaped, nested: no simplex solve of the whole at the end");
  addSolving(solve, o);
  addPresolve(solve, o, 3, "solve a smaller model and map its solution back; level 1 to 3, 3 when left out");
  addOutput(solve, o);
  solve->callback([&run, &o, solve] {
    checkMethod(*solve, o);
    run = runSolve;
  });
}

void addLp(CLI::App &app, Options &o, Run &run) {
  CLI::App *lp = app.add_subcommand("lp", "solve a linear program");
  lp->add_option("FILE", o.mps, "MPS file")->required();
  lp->add_flag("--free", o.free, "free format");
  lp->add_option("--mode", o.mode, "0 go on, 1 full pricing, 2 partial pricing first, 3 from given values")
      ->check(CLI::Range(0, 3))->capture_default_str();
  lp->add_option("--algorithm", o.algorithm, "primal, dual, or either: the library's own choice")
      ->check(CLI::IsMember({"primal", "dual", "either"}))->capture_default_str();
  addSolving(lp, o);
  addPresolve(lp, o, 333333, "solve a smaller model and map its solution back; a type of qrt_preSolve(), 3 when left out");
  addOutput(lp, o);
  lp->add_flag("--idiot", o.idiot, "look for a nearly optimal point first, cross over to a basis and go on with the primal in --mode")
      ->excludes("--crash")->excludes("--algorithm");
  lp->callback([&run] { run = runLp; });
}

void addInfo(CLI::App &app, Options &o, Run &run) {
  CLI::App *info = app.add_subcommand("info", "sizes of a stochastic program");
  addTriple(info, o);
  info->add_option("--cut", o.cut, "show the models of a cut: stage:K, rows:N (fewest a model) or models:N (most)")->check(CUT);
  addOutput(info, o);
  info->callback([&run] { run = runInfo; });
}

void addParametric(CLI::App &app, Options &o, Run &run) {
  CLI::App *parametric = app.add_subcommand("parametric", "trace the optimum while costs and bounds move");
  addTriple(parametric, o);
  parametric->add_option("CHANGES", o.changes, "what moves: lines KIND,NAME,CHANGE per unit of lambda; KIND is objective, row, "
                         "rowlower, rowupper, column, collower or colupper, NAME one of the core")->required();
  parametric->add_option("--from", o.from, "first lambda")->check(FINITE)->capture_default_str();
  parametric->add_option("--step", o.step, "step of lambda")->check(FINITE)->check(CLI::PositiveNumber)->capture_default_str();
  parametric->add_option("--to", o.to, "last lambda")->check(FINITE)->capture_default_str();
  parametric->add_option("--csv", o.csvFile, "write lambda, status and value to this CSV file");
  parametric->add_flag("--maximize", o.maximize, "maximise the objective");
  addOutput(parametric, o);
  parametric->callback([&run, &o] {
    checkSteps(o);
    run = runParametric;
  });
}

void addConvert(CLI::App &app, Options &o, Run &run) {
  CLI::App *convert = app.add_subcommand("convert", "write a program in another form");
  convert->add_option("FILES", o.files, "MPS TARGET; or CORE TIME STOCH and the three files of the new triple; or CORE TIME "
                      "STOCH NATIVE; or, with --native, NATIVE CORE TIME STOCH")->required()->expected(2, 6);
  convert->add_flag("--native", o.native, "the first file is a native file");
  convert->add_flag("--add", o.add, "a triple is written as additions to the core, not as values");
  addReading(convert, o);
  convert->add_flag("--free", o.free, "FILE is in the free format");
  convert->add_flag("--binary", o.binary, "write binary numbers, which keep every bit");
  convert->add_option("--pairs", o.pairs, "pairs of name and number on a card")->check(CLI::Range(1, 2))->capture_default_str();
  addOutput(convert, o);
  convert->callback([&run, &o, convert] {
    checkFiles(o);
    checkForms(*convert, o);
    checkTargets(o.files, o.native ? 1 : o.files.size() == 6 ? 3 : o.files.size());
    run = runConvert;
  });
}

void addSample(CLI::App &app, Options &o, Run &run) {
  CLI::App *sample = app.add_subcommand("sample", "draw the scenarios' probabilities anew and write the program as a triple");
  addTriple(sample, o);
  sample->add_option("TARGETS", o.files, "core, time and stoch file to write")->required()->expected(3);
  sample->add_option("--draws", o.draws, "draws; each falls on every scenario alike")->check(CLI::Range(1, 2147483646))->capture_default_str();
  sample->add_option("--seed", o.seed, "start of the random sequence")->capture_default_str();
  sample->add_flag("--add", o.add, "the triple is written as additions to the core, not as values");
  addOutput(sample, o);
  sample->callback([&run, &o] {
    checkTargets(o.files, 0);
    run = runSample;
  });
}

// In the place of a standard stream that is closed the next file opened would come to lie, and be written into.
// @return whether there is a standard output.
bool fillStandardStreams() {
  const bool open1 = fcntl(STDOUT_FILENO, F_GETFD) >= 0;
  int filler;
  while ((filler = open("/dev/null", O_RDWR)) >= 0 && filler <= STDERR_FILENO) {}
  close(filler);
  return open1;
}

// Every way a subcommand ends, as an exit code.
int runToCode(Run run, const Options &options) {
  try {
    Session session(options);
    const int code = run(session, options);
    session.finish();
    return code;
  } catch (const std::system_error &error) {  // fmt's word for an output that takes no more
    fmt::print(stderr, "tavstoch: standard output: {}\n", error.code().message());
    return EXIT_BAD_INPUT;
  } catch (const BadInput &error) {
    fmt::print(stderr, "tavstoch: {}\n", error.what());
    return EXIT_BAD_INPUT;
  } catch (const std::exception &error) {
    fmt::print(stderr, "tavstoch: {}\n", error.what());
    return EXIT_INTERNAL;
  }
}

}  // namespace

int main(int argc, char **argv) {
  // A reader that goes away (`| head -1`) is told like a full disk, after the files asked for are written.
  std::signal(SIGPIPE, SIG_IGN);
  if (!fillStandardStreams()) {
    fmt::print(stderr, "tavstoch: standard output is closed\n");
    return EXIT_BAD_INPUT;
  }
  Options options;
  Run run = nullptr;
  CLI::App app{"tavstoch: stochastic programs in SMPS files, and linear ones in MPS files"};
  app.set_version_flag("--version", "tavstoch " TAVSTOCH_VERSION);
  app.require_subcommand(1);
  for (const auto &add : {addSolve, addLp, addInfo, addParametric, addConvert, addSample}) add(app, options, run);
  try {
    app.parse(argc, argv);
  } catch (const CLI::ParseError &error) {
    return app.exit(error) == 0 ? EXIT_SOLVED : EXIT_USAGE;
  }
  return runToCode(run, options);
}
