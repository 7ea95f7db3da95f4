// tavstoch solve: the deterministic equivalent of an SMPS triple, its first-stage decisions and the distribution of the
// scenarios' objective values.
#include <fmt/core.h>

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <numeric>
#include <unordered_set>

#include "command.h"
#include "decompose.h"
#include "failure.h"
#include "files.h"
#include "report.h"
#include "stoch_program.h"

namespace {

struct Distribution {
  std::vector<int> scenario;
  std::vector<double> probability, value;
  double mean = 0, deviation = 0;
};

Distribution distributionOf(QRTStoch *stoch, double constant) {
  const int count = std::max(0, qrts_getNumScenarios(stoch));
  Distribution d;
  d.scenario.resize(size_t(count) + 1);  // the getter wants arrays, also for no scenario
  d.probability.resize(size_t(count) + 1);
  d.value.resize(size_t(count) + 1);
  qrts_getScenarioDistribution(stoch, count, d.scenario.data(), d.probability.data(), d.value.data(), &d.mean, &d.deviation);
  d.scenario.resize(size_t(count));
  d.probability.resize(size_t(count));
  d.value.resize(size_t(count));
  for (double &v : d.value) v += constant;
  d.mean += constant;
  return d;
}

std::vector<NamedValue> nodeValues(const StochProgram &program, int scenario, int stage, bool rows, int *firstIndex) {
  const size_t count = size_t(program.stageSize(stage, rows));
  std::vector<double> value(count + 1), dual(count + 1);
  std::vector<int> index(count + 1);
  if (qrts_getNodeSolution(program.handle(), scenario, stage, rows, value.data(), index.data()) >= 2 ||
      qrts_getNodeDualSolution(program.handle(), scenario, stage, rows, dual.data(), index.data()) >= 2)
    throw InternalFailure(fmt::format("no solution of scenario {} at stage {}", scenario, stage));
  if (firstIndex) *firstIndex = count ? index[0] : -1;
  const std::vector<std::string> names = program.names(stage, rows);
  std::vector<NamedValue> values;
  for (size_t k = 0; k < count; ++k) values.push_back({names[k], value[k], dual[k]});
  return values;
}

// Every node once: the first scenario that passes through it names it.
void writeSolution(FILE *file, const StochProgram &program, const std::vector<int> &scenarios) {
  fmt::print(file, "stage,scenario,kind,name,value,dual\n");
  const int stages = qrts_getNumStages(program.handle());
  std::unordered_set<int> seen[2];  // columns and rows: the model's number of a node's first
  for (int scenario : scenarios)
    for (int stage = 1; stage <= stages; ++stage) {
      if (stage == 1 && scenario != scenarios.front()) continue;
      for (bool rows : {false, true}) {
        int first = -1;
        const std::vector<NamedValue> values = nodeValues(program, scenario, stage, rows, &first);
        if (first >= 0 && !seen[rows].insert(first).second) continue;
        for (const NamedValue &v : values)
          fmt::print(file, "{},{},{},{},{:.17g},{:.17g}\n", stage, scenario, rows ? "row" : "column", csvField(v.name), v.value, v.dual);
      }
    }
}

void printDistribution(FILE *out, const Distribution &d) {
  fmt::print(out, "distribution of the scenarios' objective values\n");
  fmt::print(out, "  mean       {:.10g}\n  deviation  {:.10g}\n", d.mean, d.deviation);
  constexpr size_t longest = 20;
  if (d.value.size() <= longest) {
    fmt::print(out, "  {:>10} {:>14} {:>18}\n", "scenario", "probability", "value");
    for (size_t k = 0; k < d.value.size(); ++k) fmt::print(out, "  {:>10} {:>14.6g} {:>18.10g}\n", d.scenario[k], d.probability[k], d.value[k]);
    return;
  }
  std::vector<size_t> order(d.value.size());
  std::iota(order.begin(), order.end(), size_t(0));
  std::sort(order.begin(), order.end(), [&](size_t a, size_t b) { return d.value[a] < d.value[b]; });
  fmt::print(out, "  {:>10} {:>18}\n", "quantile", "value");
  double passed = 0;
  size_t k = 0;
  for (double quantile : {0.0, 0.05, 0.25, 0.5, 0.75, 0.95, 1.0}) {
    while (k + 1 < order.size() && passed + d.probability[order[k]] < quantile * (1 - 1e-12)) passed += d.probability[order[k++]];
    fmt::print(out, "  {:>9.0f}% {:>18.10g}\n", 100 * quantile, d.value[quantile == 1 ? order.back() : order[k]]);
  }
}

// The whole equivalent, with what the options ask of its solve.
QRTModel *generateEquivalent(const Options &options, Session &session, QRTStoch *stoch, double *seconds) {
  session.progress.phase("generating the equivalent");
  if (qrts_describeFullModel(stoch, 1) < 0) session.noEquivalent();
  *seconds = session.progress.done();
  QRTModel *model = qrtse_getCurrentModel(stoch);
  if (!model) throw InternalFailure("no model was generated: " + session.complaint());
  session.raiseLimits(model);
  session.watch(model);
  if (options.scale) qrts_setScaleOn(stoch);
  if (options.presolve > 0) qrts_setPresolve(stoch, options.presolve);
  if (options.crash) {
    qrts_setCrash(stoch, options.crash);
    qrts_setMaxiter(stoch, 0);  // with cycles to run there would be no crash
  }
  return model;
}

void reportCycles(const CycleHistory &history, QRTStoch *stoch, nlohmann::ordered_json &json) {
  // The last cycle's gap is relative in both methods; what the library keeps of a nested run is absolute.
  json["gap"] = history.cycles.empty() ? qrts_getRelOptimalityGap(stoch) : history.cycles.back().gap;
  json["cycles"] = nlohmann::ordered_json::array();
  for (const QRTSCycle &c : history.cycles)
    json["cycles"].push_back({{"lower", c.lower}, {"upper", c.upper}, {"gap", c.gap}, {"cuts", c.cuts}, {"seconds", c.seconds}});
}

// First stage and distribution: on `out` unless it is null, into json, and all values into the solution file.
void reportDecisions(const Options &options, const StochProgram &program, double constant, nlohmann::ordered_json &json, FILE *out) {
  const Distribution distribution = distributionOf(program.handle(), constant);
  const int path = distribution.scenario.empty() ? 1 : distribution.scenario.front();
  const std::vector<NamedValue> firstStage = nodeValues(program, path, 1, false, nullptr);
  if (out) {
    fmt::print(out, "first stage\n");
    printValues(out, firstStage);
    printDistribution(out, distribution);
  }
  if (options.json) {
    json["firstStage"] = nlohmann::ordered_json::array();
    for (const NamedValue &v : firstStage) json["firstStage"].push_back({{"name", v.name}, {"value", v.value}, {"reducedCost", v.dual}});
    json["distribution"] = {{"mean", distribution.mean}, {"deviation", distribution.deviation}, {"scenario", distribution.scenario},
                            {"probability", distribution.probability}, {"value", distribution.value}};
  }
  if (!options.solutionFile.empty())
    writeFile(options.solutionFile, [&](FILE *file) { writeSolution(file, program, distribution.scenario); });
}

// A state that was not left behind is told after the result, which stands without it.
void requireState(const Options &options, Session &session) {
  session.takeMessages();
  for (const Message &m : session.messages())
    if (m.number == 0) throw BadInput("--save-state " + options.saveState + ": a state could not be written");
}

}  // namespace

int runSolve(Session &session, const Options &options) {
  for (const std::string &path : {options.solutionFile, options.saveState})
    if (!path.empty()) requireWritable(path);
  StochProgram program(session, options);
  QRTStoch *stoch = program.handle();
  const std::vector<std::string> strayings = session.strayings();
  const int stages = qrts_getNumStages(stoch), scenarios = qrts_getNumScenarios(stoch), nodes = qrts_getNumNodes(stoch);
  FILE *out = session.output();
  const bool words = !options.json && !options.quiet;
  if (words) {
    fmt::print(out, "read       {} stages, {} scenarios ({}), {} nodes, {:.2f} s\n", stages, scenarios, program.dataKind(), nodes, program.readSeconds());
    for (const std::string &text : strayings) fmt::print(out, "straying   {}\n", text);
    std::fflush(out);
  }

  double generateSeconds = 0;
  QRTModel *model = generateEquivalent(options, session, stoch, &generateSeconds);

  session.progress.phase("solving");
  CycleHistory history;
  history.lines = words ? out : nullptr;
  const bool decomposed = options.method != "direct";
  int status = 0;
  const int code = decomposed ? solveByCycles(options, program, history, &status) : qrts_eitherSimplex(stoch);
  const double solveSeconds = session.progress.done();
  if (!decomposed) status = qrts_getStatus(stoch);
  if (code >= 2 || statusExitCode(status) == EXIT_INTERNAL) {
    const std::string complaint = session.complaint();
    throw InternalFailure(fmt::format("the solve failed with code {} and status {}{}{}", code, status, complaint.empty() ? "" : ": ", complaint));
  }
  const double constant = program.core().objectiveConstant;
  const double objective = qrts_getRobjvalue(stoch) + constant;

  nlohmann::ordered_json json = {{"command", "solve"}, {"core", options.core}, {"time", options.time}, {"stoch", options.stoch},
                                 {"stages", stages}, {"scenarios", scenarios}, {"nodes", nodes}, {"strayings", strayings}};
  json.update(describeOutcome(model, status, objective, constant));
  json["seconds"] = {{"read", program.readSeconds()}, {"generate", generateSeconds}, {"solve", solveSeconds}};
  if (decomposed) reportCycles(history, stoch, json);
  if (words) printOutcome(out, model, status, objective, constant, solveSeconds);

  if (status == 0 || status == 5 || status == 3) reportDecisions(options, program, constant, json, words ? out : nullptr);
  const bool sound = checkOutcome(options, session, model, json);
  if (options.json) fmt::print(out, "{}\n", json.dump(2));
  else if (options.quiet) fmt::print(out, "{} {:.10g}\n", statusWord(status), objective);
  if (decomposed && !options.saveState.empty()) requireState(options, session);
  return sound ? statusExitCode(status) : EXIT_INTERNAL;
}
