// A model read from an MPS file, for the subcommands that take one.
#pragma once

#include <string>

#include "session.h"

// Reads the file into a new model; with `oneObjective` free rows beside the objective are left out. Warnings about cards
// go to stderr. Throws BadInput when the library refuses the file or could not understand a number in it.
QRTModel *readMps(Session &session, const std::string &path, bool freeFormat, bool oneObjective, double *seconds = nullptr);
