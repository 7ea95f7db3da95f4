// How a tree is cut into models, as tavstoch info --cut shows it.
#include "cut.h"

#include <fmt/core.h>

#include <algorithm>
#include <cstdlib>
#include <cstring>

#include "failure.h"

bool parseCut(const std::string &text, TreeCut *cut) {
  static const struct { const char *word; TreeCut::Kind kind; } KINDS[] = {
      {"stage:", TreeCut::STAGE}, {"rows:", TreeCut::ROWS}, {"models:", TreeCut::MODELS}};
  for (const auto &kind : KINDS) {
    if (text.rfind(kind.word, 0) != 0) continue;
    const char *digits = text.c_str() + std::strlen(kind.word);
    char *end = nullptr;
    const long long value = std::strtoll(digits, &end, 10);
    *cut = {kind.kind, int(value)};
    return end != digits && !*end && value >= 1 && value <= 2147483646;
  }
  return false;
}

TreeCut cutOf(const std::string &text, const StochProgram &program) {
  TreeCut cut;
  if (!parseCut(text, &cut)) throw BadInput("--cut " + text + ": stage:K, rows:N or models:N");
  const int stages = qrts_getNumStages(program.handle());
  if (cut.kind == TreeCut::STAGE && cut.value > stages) throw BadInput(fmt::format("--cut {}: the program has {} stages", text, stages));
  return cut;
}

int cutTree(const TreeCut &cut, const StochProgram &program) {
  QRTStoch *stoch = program.handle();
  return cut.kind == TreeCut::STAGE  ? qrtse_decomposeCutAtStage(stoch, cut.value)
         : cut.kind == TreeCut::ROWS ? qrtse_decomposeCutByRowSize(stoch, cut.value)
                                     : qrtse_decomposeCutByNodeSize(stoch, cut.value);
}

bool describeCut(const Options &options, const StochProgram &program, nlohmann::ordered_json &json, FILE *out) {
  const TreeCut cut = cutOf(options.cut, program);
  QRTStoch *stoch = program.handle();
  if (qrts_describeFullModel(stoch, 1) < 0) throw InternalFailure("the equivalent could not be generated");
  const int wholeRows = qrt_getInumrows(qrtse_getCurrentModel(stoch)), wholeNodes = qrts_getNumNodes(stoch);
  const int n = cutTree(cut, program);
  QRTStoch **models = n > 0 ? qrts_getSubmodels(stoch) : nullptr;
  if (!models) throw InternalFailure("the tree could not be cut");
  constexpr int longest = 40;
  json = nlohmann::ordered_json::array();
  long long rows = 0;
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
