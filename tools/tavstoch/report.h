// What the subcommands print: a solve in words or as JSON, names beside values.
#pragma once

#include <nlohmann/json.hpp>
#include <string>
#include <vector>

#include "command.h"
#include "session.h"

// Iprobstat in a word, and the exit code it stands for.
const char *statusWord(int status);
int statusExitCode(int status);

// One named value with its dual.
struct NamedValue {
  std::string name;
  double value, dual;
};

// The values worth a line on a terminal: all of a short list, else those that are not zero, and at most fifty.
void printValues(FILE *out, const std::vector<NamedValue> &values);

// Sizes, iterations and outcome of the model that was solved.
nlohmann::ordered_json describeOutcome(QRTModel *model, int status, double objective, double constant);
void printOutcome(FILE *out, QRTModel *model, int status, double objective, double constant, double seconds);

// Judges the model's outcome when --check asks for it and prints the measures. @return false for an unsound one.
bool checkOutcome(const Options &options, Session &session, QRTModel *model, nlohmann::ordered_json &json);

// A text as one CSV field.
std::string csvField(const std::string &text);
