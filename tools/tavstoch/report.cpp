// Words, JSON and CSV for outcomes.
#include "report.h"

#include <fmt/core.h>

#include <cmath>

#include "certificate_model.h"

const char *statusWord(int status) {
  switch (status) {
    case 0: case 5: return "optimal";
    case 1: return "infeasible";
    case 2: return "unbounded";
    case 3: return "stopped";
    default: return "failed";
  }
}

int statusExitCode(int status) {
  switch (status) {
    case 0: case 5: return EXIT_SOLVED;
    case 1: return EXIT_INFEASIBLE;
    case 2: return EXIT_UNBOUNDED;
    case 3: return EXIT_STOPPED;
    default: return EXIT_INTERNAL;
  }
}

void printValues(FILE *out, const std::vector<NamedValue> &values) {
  constexpr size_t shortList = 25, longest = 50;
  const bool all = values.size() <= shortList;
  size_t printed = 0, nonzero = 0, width = 8;
  for (const NamedValue &v : values) {
    nonzero += v.value != 0;
    if (all || v.value != 0) width = std::max(width, v.name.size());
  }
  for (const NamedValue &v : values) {
    if (!all && v.value == 0) continue;
    if (printed == longest) break;
    fmt::print(out, "  {:<{}} {:>16.9g}\n", v.name, width, v.value);
    ++printed;
  }
  if (!all) fmt::print(out, "  ({} of {} are not zero{})\n", nonzero, values.size(), nonzero > printed ? "; --solution writes all" : "");
}

nlohmann::ordered_json describeOutcome(QRTModel *model, int status, double objective, double constant) {
  nlohmann::ordered_json json;
  json["status"] = statusWord(status);
  json["exitCode"] = statusExitCode(status);
  json["objective"] = objective;
  if (constant != 0) json["objectiveConstant"] = constant;
  json["sumOfInfeasibilities"] = qrt_getRsumpinf(model);
  json["iterations"] = qrt_getIiternum(model);
  json["rows"] = qrt_getInumrows(model);
  json["columns"] = qrt_getInumcols(model);
  json["elements"] = qrt_getInumels(model);
  return json;
}

void printOutcome(FILE *out, QRTModel *model, int status, double objective, double constant, double seconds) {
  fmt::print(out, "model      {} rows, {} columns, {} elements\n", qrt_getInumrows(model), qrt_getInumcols(model), qrt_getInumels(model));
  fmt::print(out, "status     {} after {} iterations, {:.2f} s\n", statusWord(status), qrt_getIiternum(model), seconds);
  if (status == 1) fmt::print(out, "           sum of infeasibilities {:.9g}\n", qrt_getRsumpinf(model));
  fmt::print(out, "objective  {:.10g}\n", objective);
  if (constant != 0) fmt::print(out, "           with the constant {:.10g} of the core's objective row\n", constant);
}

bool checkOutcome(const Options &options, Session &session, QRTModel *model, nlohmann::ordered_json &json) {
  if (!options.check) return true;
  const Certificate certificate = certifyModel(model);
  const std::string fault = firstFault(certificate);
  if (options.json) {
    json["check"] = {{"sound", fault.empty()}, {"fault", fault}, {"primalResidual", certificate.primalResidual},
                     {"boundViolation", certificate.boundViolation}, {"dualResidual", certificate.dualResidual},
                     {"complementarity", certificate.complementarity}, {"gap", certificate.gap}};
  } else if (!options.quiet) {
    fmt::print(session.output(), "check      {}\n{}", fault.empty() ? "passed" : fault, describeCertificate(certificate));
  }
  if (!fault.empty()) fmt::print(stderr, "tavstoch: the answer does not pass the check: {}\n", fault);
  return fault.empty();
}

std::string csvField(const std::string &text) {
  if (text.find_first_of(",\"\n") == std::string::npos) return text;
  std::string quoted = "\"";
  for (char c : text) {
    if (c == '"') quoted += '"';
    quoted += c;
  }
  return quoted + '"';
}
