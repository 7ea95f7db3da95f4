// tavstoch parametric: the optimum along a line of costs and bounds, as a table of lambda, status and value.
#include <fmt/core.h>

#include <cmath>
#include <fstream>
#include <sstream>
#include <unordered_map>

#include "command.h"
#include "failure.h"
#include "files.h"
#include "report.h"
#include "stoch_program.h"

namespace {

// Directions over the core, and the mask of those that a line named.
struct Changes {
  std::vector<double> objective, rowLower, rowUpper, colLower, colUpper;
  int mask = 0;
};

// The kinds of a line: the bits that it moves, and whether its name is that of a row.
struct Kind {
  const char *word;
  int mask;
  bool row;
};
const Kind KINDS[] = {{"objective", 1, false}, {"rowlower", 2, true}, {"rowupper", 4, true}, {"row", 6, true},
                      {"collower", 8, false},  {"colupper", 16, false}, {"column", 24, false}};

std::unordered_map<std::string, size_t> positions(const std::vector<std::string> &names) {
  std::unordered_map<std::string, size_t> at;
  for (size_t k = 0; k < names.size(); ++k) at.emplace(names[k], k);
  return at;
}

std::string trimmed(const std::string &text) {
  const size_t first = text.find_first_not_of(" \t\r"), last = text.find_last_not_of(" \t\r");
  return first == std::string::npos ? "" : text.substr(first, last - first + 1);
}

// Reads the file; throws BadInput with the line that cannot be understood.
Changes readChanges(const std::string &path, const StochProgram &program) {
  const CoreText &core = program.core();
  if (core.rows.size() != size_t(qrts_getCoreNumrows(program.handle())) || core.columns.size() != size_t(qrts_getCoreNumcols(program.handle())))
    throw InternalFailure("the names of the core file cannot be told apart");
  requireFile(path);
  std::ifstream file(path);
  const auto rows = positions(core.rows), columns = positions(core.columns);
  Changes changes;
  for (auto *v : {&changes.rowLower, &changes.rowUpper}) v->resize(core.rows.size() + 1);
  for (auto *v : {&changes.objective, &changes.colLower, &changes.colUpper}) v->resize(core.columns.size() + 1);
  std::string line;
  for (int number = 1; std::getline(file, line); ++number) {
    if (trimmed(line).empty() || trimmed(line)[0] == '#') continue;
    const auto refuse = [&](const char *why) { throw BadInput(fmt::format("{}: line {}: {}: {}", path, number, why, trimmed(line))); };
    std::istringstream fields(line);
    std::string word, name, figure;
    std::getline(fields, word, ',');
    std::getline(fields, name, ',');
    std::getline(fields, figure);
    const Kind *kind = nullptr;
    for (const Kind &k : KINDS)
      if (trimmed(word) == k.word) kind = &k;
    if (!kind) refuse("not a kind of change");
    const auto &names = kind->row ? rows : columns;
    const auto found = names.find(trimmed(name));
    if (found == names.end()) refuse(kind->row ? "no such row" : "no such column");
    const std::string digits = trimmed(figure);
    char *end = nullptr;
    const double change = std::strtod(digits.c_str(), &end);
    if (digits.empty() || *end || !std::isfinite(change)) refuse("not a number");
    changes.mask |= kind->mask;
    std::vector<double> *vectors[] = {&changes.objective, &changes.rowLower, &changes.rowUpper, &changes.colLower, &changes.colUpper};
    for (int bit = 0; bit < 5; ++bit)
      if (kind->mask & 1 << bit) (*vectors[bit])[found->second] += change;
  }
  if (!changes.mask) throw BadInput(path + ": names no change");
  return changes;
}

struct Step {
  double lambda;
  int status;
  double value;
};
// The call-back of the library carries no argument of ours.
struct Trace {
  std::vector<Step> steps;
  FILE *lines = nullptr;
  double constant = 0;
} trace;

int tell(QRTModel *model) {
  const Step step = {qrt_getRslambda(model), qrt_getIprobstat(model), qrt_getRobjvalue(model) + trace.constant};
  trace.steps.push_back(step);
  if (trace.lines) {
    fmt::print(trace.lines, "{:>14.8g}  {:<10} {}\n", step.lambda, statusWord(step.status),
               statusExitCode(step.status) == EXIT_SOLVED ? fmt::format("{:>18.10g}", step.value) : "");
    std::fflush(trace.lines);
  }
  return Session::stopAsked() ? EXIT_STOPPED : 0;
}

void writeTable(FILE *file) {
  fmt::print(file, "lambda,status,value\n");
  for (const Step &s : trace.steps)
    fmt::print(file, "{:.12g},{},{}\n", s.lambda, statusWord(s.status),
               statusExitCode(s.status) == EXIT_SOLVED ? fmt::format("{:.17g}", s.value) : "");
}

}  // namespace

int runParametric(Session &session, const Options &options) {
  if (!options.csvFile.empty()) requireWritable(options.csvFile);
  StochProgram program(session, options);
  QRTStoch *stoch = program.handle();
  Changes changes = readChanges(options.changes, program);
  session.progress.phase("generating the equivalent");
  if (qrts_describeFullModel(stoch, 1) < 0) session.noEquivalent();
  session.progress.done();
  QRTModel *model = qrtse_getCurrentModel(stoch);
  if (!model) throw InternalFailure("no model was generated: " + session.complaint());
  session.raiseLimits(model);
  session.watch(model);
  qrt_setRslambda(model, options.from);
  qrt_setRslambdadelta(model, options.step);
  qrt_setRslambdalim(model, options.to);
  FILE *out = session.output();
  const bool words = !options.json && !options.quiet && !options.csvFile.empty();
  trace = Trace();
  trace.lines = words ? out : nullptr;
  trace.constant = program.core().objectiveConstant;
  if (words) fmt::print(out, "{:>14}  {:<10} {:>18}\n", "lambda", "status", "value");
  session.progress.phase("solving");
  const int code = qrts_solveParametricCoreModel(stoch, changes.objective.data(), changes.rowLower.data(), changes.rowUpper.data(),
                                                 changes.colLower.data(), changes.colUpper.data(), changes.mask, tell);
  session.progress.done();
  if (code >= 2 && !Session::stopAsked()) {
    const std::string complaint = session.complaint();
    throw InternalFailure(fmt::format("the solve failed with code {}{}{}", code, complaint.empty() ? "" : ": ", complaint));
  }
  if (options.json) {
    nlohmann::ordered_json json = {{"command", "parametric"}, {"core", options.core}, {"time", options.time}, {"stoch", options.stoch},
                                   {"steps", nlohmann::ordered_json::array()}};
    for (const Step &s : trace.steps) {
      json["steps"].push_back({{"lambda", s.lambda}, {"status", statusWord(s.status)}});
      if (statusExitCode(s.status) == EXIT_SOLVED) json["steps"].back()["value"] = s.value;
    }
    fmt::print(out, "{}\n", json.dump(2));
  } else if (options.csvFile.empty()) {
    writeTable(out);
  }
  if (!options.csvFile.empty()) writeFile(options.csvFile, writeTable);
  return Session::stopAsked() ? EXIT_STOPPED : EXIT_SOLVED;
}
