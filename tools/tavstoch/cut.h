// The models of a cut tree, in words or as JSON.
#pragma once

#include <nlohmann/json.hpp>

#include "command.h"
#include "stoch_program.h"

// Cuts as --cut says ("stage:K", "rows:N", "models:N") and lists the models: into json, and on `out` unless it is null.
// @return whether every row of the equivalent is in exactly one of them. Throws BadInput for another form.
bool describeCut(const Options &options, const StochProgram &program, nlohmann::ordered_json &json, FILE *out);
