// A stochastic program as the command holds it: read from its three files, with the names the library does not keep.
#pragma once

#include <string>
#include <vector>

#include "command.h"
#include "session.h"
#include "smps_text.h"

class StochProgram {
public:
  // Checks the files, then reads them. Throws BadInput with the library's complaint when it refuses them.
  StochProgram(Session &session, const Options &options);
  // Takes a native file. Such a file holds no names.
  StochProgram(Session &session, const Options &options, const std::string &native);
  ~StochProgram();
  StochProgram(const StochProgram &) = delete;
  StochProgram &operator=(const StochProgram &) = delete;

  QRTStoch *handle() const { return stoch_; }
  const CoreText &core() const { return core_; }
  const std::string &dataKind() const { return kind_; }  // SCENARIOS, INDEP or BLOCKS
  double readSeconds() const { return seconds_; }
  // Names of a stage's rows or columns, in the order of the solution getters.
  std::vector<std::string> names(int stage, bool rows) const;
  int stageSize(int stage, bool rows) const;

private:
  void open(Session &session, const Options &options, const std::string &name);

  QRTStoch *stoch_ = nullptr;
  CoreText core_;
  std::string kind_;
  double seconds_ = 0;
};
