// Reading an SMPS triple for the command.
#include "stoch_program.h"

#include <fmt/core.h>

#include "failure.h"
#include "files.h"

void StochProgram::open(Session &session, const Options &options, const std::string &name) {
  stoch_ = qrts_newStoch(session.context(), name.substr(0, 100).c_str(), options.maxScenarios);
  if (!stoch_) throw InternalFailure("no stochastic object");
  session.raiseLimits(qrtse_getBaseModel(stoch_));
}

StochProgram::StochProgram(Session &session, const Options &options, const std::string &native) {
  requireFile(native);
  open(session, options, native);
  session.progress.phase("reading " + native);
  const int code = qrts_readNativeData(stoch_, native.c_str());
  seconds_ = session.progress.done();
  if (code != 0) throw BadInput(native + ": " + (session.complaint().empty() ? "is no native file" : session.complaint()));
  session.filesAreRead();
  kind_ = "native";
}

StochProgram::StochProgram(Session &session, const Options &options) {
  for (const std::string *path : {&options.core, &options.time, &options.stoch})
    if (!requireFile(*path)) throw BadInput(*path + ": is no regular file, and is read twice");
  requireCards(options.core, options.strict ? "NAME" : "NAME ROWS");
  requireCards(options.time, "TIME");
  requireCards(options.stoch, options.strict ? "STOCH" : "STOCH NAME");
  core_ = scanCore(options.core);
  open(session, options, core_.problem);
  if (!options.strict) qrts_setLenientOn(stoch_);
  if (options.inherit) qrts_setInheritOn(stoch_);
  if (options.maximize) qrts_setMaximize(stoch_);
  session.progress.phase("reading " + options.core);
  const int kind = qrts_readSMPSData(stoch_, options.core.c_str(), options.time.c_str(), options.stoch.c_str());
  seconds_ = session.progress.done();
  if (kind < 1 || kind > 3) {
    std::string complaint = session.complaint();
    if (complaint.find("exceeds declared maximum") != std::string::npos) complaint += "; --max-scenarios raises it";
    throw BadInput(complaint.empty() ? "the library refuses these files" : complaint);
  }
  session.filesAreRead();
  const char *kinds[] = {"", "SCENARIOS", "INDEP", "BLOCKS"};
  kind_ = kinds[kind];
}

StochProgram::~StochProgram() {
  if (stoch_) qrts_deleteStoch(stoch_);
}

int StochProgram::stageSize(int stage, bool rows) const {
  return rows ? qrts_getNumrowsAtStage(stoch_, stage) : qrts_getNumcolsAtStage(stoch_, stage);
}

std::vector<std::string> StochProgram::names(int stage, bool rows) const {
  // A time file of this form cuts the core into stretches, so a stage's names stand side by side in core order.
  size_t begin = 0;
  for (int s = 1; s < stage; ++s) begin += size_t(stageSize(s, rows));
  const size_t count = size_t(stageSize(stage, rows));
  const std::vector<std::string> &all = rows ? core_.rows : core_.columns;
  const int total = rows ? qrts_getCoreNumrows(stoch_) : qrts_getCoreNumcols(stoch_);
  std::vector<std::string> names;
  for (size_t k = 0; k < count; ++k)
    // Without a trustworthy list of names, numbers are better than wrong names.
    names.push_back(all.size() == size_t(total) ? all[begin + k] : fmt::format("{}{}", rows ? "R" : "C", begin + k + 1));
  return names;
}
