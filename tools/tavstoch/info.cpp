// tavstoch info: the sizes of a stochastic program, without solving it.
#include <fmt/core.h>

#include <cstdio>

#include "command.h"
#include "cut.h"
#include "failure.h"
#include "report.h"
#include "stoch_program.h"

int runInfo(Session &session, const Options &options) {
  StochProgram program(session, options);
  QRTStoch *stoch = program.handle();
  const std::vector<std::string> strayings = session.strayings();
  const long long random = countRandomElements(options.stoch);
  if (!options.cut.empty()) cutOf(options.cut, program);  // before anything is printed
  const int stages = qrts_getNumStages(stoch), scenarios = qrts_getNumScenarios(stoch), nodes = qrts_getNumNodes(stoch);

  session.progress.phase("estimating the equivalent");
  const bool estimated = qrts_estimateLPSize(stoch) < 2;
  session.progress.done();
  session.takeMessages();
  // The estimate and the count of random variables are only spoken, in messages 465 and 431.
  long long rows = -1, columns = -1, least = -1, most = -1, variables = -1, events = -1;
  for (const Message &m : session.messages()) {
    if (m.number == 465 && estimated)
      std::sscanf(m.text.c_str(), "The stochastic LP has %lld rows, %lld columns, and has a minimum of %lld elements and a maximum of %lld", &rows, &columns, &least, &most);
    if (m.number == 431) std::sscanf(m.text.c_str(), "Model has %lld independent random variables and %lld events", &variables, &events);
  }

  FILE *out = session.output();
  if (options.json) {
    nlohmann::ordered_json json = {{"command", "info"}, {"problem", program.core().problem}, {"data", program.dataKind()},
                                   {"stages", nlohmann::ordered_json::array()}, {"scenarios", scenarios}, {"nodes", nodes},
                                   {"randomElements", random}};
    for (int s = 1; s <= stages; ++s) json["stages"].push_back({{"rows", program.stageSize(s, true)}, {"columns", program.stageSize(s, false)}});
    if (variables >= 0) json["randomVariables"] = variables;
    json["equivalent"] = {{"rows", rows}, {"columns", columns}, {"leastElements", least}, {"mostElements", most}};
    if (program.core().objectiveConstant != 0) json["objectiveConstant"] = program.core().objectiveConstant;
    json["strayings"] = strayings;
    bool sound = true;
    if (!options.cut.empty()) sound = describeCut(options, program, json["cut"], nullptr);
    if (!sound) throw InternalFailure("the cut does not hold every row once");
    fmt::print(out, "{}\n", json.dump(2));
    return EXIT_SOLVED;
  }
  fmt::print(out, "problem     {}, {} data, read in {:.2f} s\n", program.core().problem, program.dataKind(), program.readSeconds());
  fmt::print(out, "{:>11} {:>10} {:>10}\n", "stage", "rows", "columns");
  for (int s = 1; s <= stages; ++s) fmt::print(out, "{:>11} {:>10} {:>10}\n", s, program.stageSize(s, true), program.stageSize(s, false));
  fmt::print(out, "scenarios   {}\nnodes       {}\n", scenarios, nodes);
  fmt::print(out, "random      {} elements", random);
  if (variables >= 0) fmt::print(out, " in {} independent variables", variables);
  fmt::print(out, "\n");
  if (rows >= 0) fmt::print(out, "equivalent  {} rows, {} columns, {} to {} elements\n", rows, columns, least, most);
  if (program.core().objectiveConstant != 0) fmt::print(out, "constant    {:.10g} in the objective\n", program.core().objectiveConstant);
  if (strayings.empty()) fmt::print(out, "strayings   none\n");
  for (const std::string &text : strayings) fmt::print(out, "straying    {}\n", text);
  nlohmann::ordered_json ignored;
  if (!options.cut.empty() && !describeCut(options, program, ignored, out)) return EXIT_INTERNAL;
  return EXIT_SOLVED;
}
