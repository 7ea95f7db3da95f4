// tavstoch lp: a linear program from an MPS file, solved by the simplex.
#include <fmt/core.h>

#include <cstring>

#include "command.h"
#include "failure.h"
#include "files.h"
#include "mps_model.h"
#include "report.h"

namespace {

std::vector<std::string> namesOf(const char *entries, int length, int count, char letter) {
  std::vector<std::string> names;
  for (int k = 0; k < count; ++k) {
    const char *entry = entries ? entries + size_t(k) * size_t(length) : "";
    const size_t used = entries ? strnlen(entry, size_t(length)) : 0;
    names.push_back(used ? std::string(entry, used) : fmt::format("{}{:07}", letter, k));
    while (names.back().size() > 1 && names.back().back() == ' ') names.back().pop_back();
  }
  return names;
}

std::vector<NamedValue> valuesOf(QRTModel *model, bool rows) {
  const int count = rows ? qrt_getInumrows(model) : qrt_getInumcols(model);
  const double *value = rows ? qrt_rowacts(model) : qrt_colsol(model), *dual = rows ? qrt_rowduals(model) : qrt_colrcosts(model);
  std::vector<std::string> names =
      namesOf(rows ? qrt_rownames(model) : qrt_colnames(model), qrt_getInumchar(model), count, rows ? 'R' : 'C');
  std::vector<NamedValue> values;
  for (int k = 0; k < count; ++k) values.push_back({std::move(names[size_t(k)]), value[k], dual[k]});
  return values;
}

void writeSolution(const std::string &path, QRTModel *model) {
  writeFile(path, [&](FILE *file) {
    fmt::print(file, "kind,name,value,dual\n");
    for (bool rows : {false, true})
      for (const NamedValue &v : valuesOf(model, rows))
        fmt::print(file, "{},{},{:.17g},{:.17g}\n", rows ? "row" : "column", csvField(v.name), v.value, v.dual);
  });
}

// Sweeps are no iterations: the count begins with the crossover.
int fromIdiot(QRTModel *model, int mode) {
  qrt_mergeBlocks(model, 0);
  const int crashed = qrt_idiot(model);
  return crashed >= 2 ? crashed : crashed == 1 ? qrt_primalSimplex(model, mode) : qrt_idiotCrossOver(model, mode);
}

int solveBy(const std::string &algorithm, QRTModel *model, int mode) {
  if (algorithm == "primal") return qrt_primalSimplex(model, mode);
  if (algorithm == "dual") return qrt_dualSimplex(model, mode);
  return qrt_eitherSimplex(model, mode);
}

int solveAsTold(const Options &options, QRTModel *model) {
  return options.idiot ? fromIdiot(model, options.mode) : solveBy(options.algorithm, model, options.mode);
}

// A model found infeasible or unbounded while it was smaller is solved as it stands: the proof is wanted of the original.
int solvePresolved(const Options &options, QRTModel *model) {
  const int reduced = qrt_preSolve(model, options.presolve, nullptr);
  const bool stands = reduced == 0 || (reduced == 999 && qrt_getInumrows(model) <= 1);
  if (!stands && reduced != 1 && reduced != 2) return reduced;
  const int code = solveAsTold(options, model);
  if (!stands || code >= 2) return code;
  if (qrt_postSolve(model, nullptr) >= 2) return 2;
  const int status = qrt_getIprobstat(model);
  return status == 1 || status == 2 ? qrt_primalSimplex(model, 1) : code;
}

}  // namespace

int runLp(Session &session, const Options &options) {
  if (!options.solutionFile.empty()) requireWritable(options.solutionFile);
  double readSeconds = 0;
  QRTModel *model = readMps(session, options.mps, options.free, true, &readSeconds);
  if (options.maximize) qrt_setMaximize(model);
  session.watch(model);
  session.progress.phase("solving");
  if (options.scale) qrt_scale(model);
  if (options.crash) qrt_crash(model, options.crash);
  const int code = options.presolve != NOT_GIVEN ? solvePresolved(options, model) : solveAsTold(options, model);
  const double solveSeconds = session.progress.done();
  const int status = qrt_getIprobstat(model);
  if (code >= 2 || statusExitCode(status) == EXIT_INTERNAL) {
    const std::string complaint = session.complaint();
    throw InternalFailure(fmt::format("the solve failed with code {} and status {}{}{}", code, status, complaint.empty() ? "" : ": ", complaint));
  }
  const double objective = qrt_getRobjvalue(model);
  nlohmann::ordered_json json = {{"command", "lp"}, {"file", options.mps}};
  json.update(describeOutcome(model, status, objective, 0));
  json["seconds"] = {{"read", readSeconds}, {"solve", solveSeconds}};
  FILE *out = session.output();
  const bool words = !options.json && !options.quiet;
  if (words) {
    fmt::print(out, "read       {} in {:.2f} s\n", options.mps, readSeconds);
    printOutcome(out, model, status, objective, 0, solveSeconds);
    if (status == 0 || status == 5) {
      fmt::print(out, "columns\n");
      printValues(out, valuesOf(model, false));
    }
  }
  if (!options.solutionFile.empty()) writeSolution(options.solutionFile, model);
  const bool sound = checkOutcome(options, session, model, json);
  if (options.json) fmt::print(out, "{}\n", json.dump(2));
  else if (options.quiet) fmt::print(out, "{} {:.10g}\n", statusWord(status), objective);
  return sound ? statusExitCode(status) : EXIT_INTERNAL;
}
