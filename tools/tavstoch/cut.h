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
// @return false for another form.
bool parseCut(const std::string &text, TreeCut *cut);
// The cut of a text in that form. Throws BadInput for a stage the program has not.
TreeCut cutOf(const std::string &text, const StochProgram &program);
// Forms the models. @return how many; below 1 when the tree can't be cut so.
int cutTree(const TreeCut &cut, const StochProgram &program);

// Cuts as --cut says and lists the models: into json, and on `out` unless it is null.
// @return whether every row of the equivalent is in exactly one of them.
bool describeCut(const Options &options, const StochProgram &program, nlohmann::ordered_json &json, FILE *out);
