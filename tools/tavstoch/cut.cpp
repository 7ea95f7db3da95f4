// How a tree is cut into models, as tavstoch info --cut shows it.
#include "cut.h"

#include <fmt/core.h>

#include <algorithm>
#include <cstdlib>

#include "failure.h"

TreeCut parseCut(const std::string &cut, const StochProgram &program) {
  const size_t colon = cut.find(':');
  const std::string kind = cut.substr(0, colon);
  char *end = nullptr;
  const long value = colon == std::string::npos ? 0 : std::strtol(cut.c_str() + colon + 1, &end, 10);
  if (!end || *end || value < 1 || value > 2147483646 || (kind != "stage" && kind != "rows" && kind != "models"))
    throw BadInput("--cut " + cut + ": stage:K, rows:N or models:N");
  const int stages = qrts_getNumStages(program.handle());
  if (kind == "stage" && value > stages) throw BadInput(fmt::format("--cut {}: the program has {} stages", cut, stages));
  return {kind == "stage" ? TreeCut::STAGE : kind == "rows" ? TreeCut::ROWS : TreeCut::MODELS, int(value)};
}

int cutTree(const TreeCut &cut, const StochProgram &program) {
  QRTStoch *stoch = program.handle();
  return cut.kind == TreeCut::STAGE  ? qrtse_decomposeCutAtStage(stoch, cut.value)
         : cut.kind == TreeCut::ROWS ? qrtse_decomposeCutByRowSize(stoch, cut.value)
                                     : qrtse_decomposeCutByNodeSize(stoch, cut.value);
}

bool describeCut(const Options &options, const StochProgram &program, nlohmann::ordered_json &json, FILE *out) {
  const TreeCut cut = parseCut(options.cut, program);
  QRTStoch *stoch = program.handle();
  if (qrts_describeFullModel(stoch, 1) < 0) throw InternalFailure("the equivalent could not be generated");
  const int wholeRows = qrt_getInumrows(qrtse_getCurrentModel(stoch)), wholeNodes = qrts_getNumNodes(stoch);
  const int n = cutTree(cut, program);
  QRTStoch **models = n > 0 ? qrts_getSubmodels(stoch) : nullptr;
  if (!models) throw InternalFailure("the tree could not be cut");
  constexpr int longest = 40;
  json = nlohmann::ordered_json::array();
  long rows = 0;
  int lowest = wholeRows, highest = 0;
  if (out) {
    fmt::print(out, "cut         {} model{} of {} nodes\n", n, n == 1 ? "" : "s", wholeNodes);
    fmt::print(out, "{:>11} {:>10} {:>10} {:>10}\n", "model", "nodes", "rows", "columns");
  }
  for (int i = 0; i < n; ++i) {
    QRTModel *model = qrtse_getCurrentModel(models[i]);
    const int modelRows = qrt_getInumrows(model), columns = qrt_getInumcols(model), nodes = qrts_getNumNodes(models[i]);
    rows += modelRows;
    lowest = std::min(lowest, modelRows);
    highest = std::max(highest, modelRows);
    json.push_back({{"model", i + 1}, {"nodes", nodes}, {"rows", modelRows}, {"columns", columns}});
    if (out && i < longest) fmt::print(out, "{:>11} {:>10} {:>10} {:>10}\n", i + 1, nodes, modelRows, columns);
  }
  // Rows belong to real nodes: a node in two models or in none shows here.
  const bool whole = rows == wholeRows;
  if (out && n > longest) fmt::print(out, "            and {} more; {} to {} rows a model\n", n - longest, lowest, highest);
  if (out) fmt::print(out, "            {}\n", whole ? "every row of the equivalent is in exactly one model" : fmt::format("{} rows in the models, {} in the equivalent", rows, wholeRows));
  return whole;
}
