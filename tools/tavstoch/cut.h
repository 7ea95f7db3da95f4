// The models of a cut tree, in words or as JSON.
#pragma once

#include <nlohmann/json.hpp>

#include "command.h"
#include "stoch_program.h"

// What --cut asks for: "stage:K", "rows:N" (fewest a model) or "models:N" (most).
struct TreeCut {
  enum Kind { STAGE, ROWS, MODELS } kind;
  int value;
};
// Throws BadInput for another form, and for a stage the program has not.
TreeCut parseCut(const std::string &cut, const StochProgram &program);
// Forms the models. @return how many; below 1 when the tree can't be cut so.
int cutTree(const TreeCut &cut, const StochProgram &program);

// Cuts as --cut says and lists the models: into json, and on `out` unless it is null.
// @return whether every row of the equivalent is in exactly one of them. Throws BadInput for another form.
bool describeCut(const Options &options, const StochProgram &program, nlohmann::ordered_json &json, FILE *out);
