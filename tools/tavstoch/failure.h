// How the command fails: one exception a kind, turned into a line on stderr and an exit code by main().
#pragma once

#include <stdexcept>
#include <string>

struct BadInput : std::runtime_error {
  using std::runtime_error::runtime_error;
};
struct InternalFailure : std::runtime_error {
  using std::runtime_error::runtime_error;
};
