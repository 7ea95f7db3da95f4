// SMPS triples written by a test, and what the store holds after they have been read.
#pragma once

#include <cstdio>
#include <string>
#include <vector>

#include "include/qrts_c_api.h"
#include "stoch/scn_stoc.h"

// A folder of its own with three files; removed at the end.
class Triple {
 public:
  Triple();
  ~Triple();
  std::string path(const char *name) const { return folder + "/" + name; }
  void write(const char *name, const std::string &text) const;
  // A three-stage core of three rows and columns: X | U | V; C1 <= 5, C2 >= 2, C3 >= 4, E3 = 1 in stage 3.
  std::string core, time, stoch;
  // Reads the present texts into a new object of its own, whose severe messages are let pass.
  int read(int maxScenarios);
  // The same within the context of another triple, which must outlive this one: there is one context at a time.
  int readInto(const Triple &host, int maxScenarios);
  // Writes an object as a triple into the host's folder and takes over its texts, not yet read; the writer's result.
  int takeWritten(const Triple &host, QRTStoch *object, int manner);
  QRTContext *library() const { return context; }
  QRTStoch *object() const { return held; }
  bool lenient = false, inherit = false;
  // The log of the last reading holds a message of this number; how often.
  int told(int number) const;
  std::string log;

 private:
  void release();
  int readIn(QRTContext *library, int maxScenarios);
  std::string folder;
  QRTStoch *held = nullptr;
  QRTContext *context = nullptr;
  FILE *logStream = nullptr;
};

// All bytes of a file; empty when it cannot be read.
std::string contents(const std::string &path);

// Cards in the fixed format.
std::string card(const char *first, const char *second, const std::string &value, const char *third = "", const std::string &fourth = "");
std::string boundCard(const char *type, const char *set, const char *column, const std::string &value);
std::string scenarioCard(const char *name, const char *parent, double probability, const char *period);
std::string blockCard(const char *name, const char *period, double probability);
extern const char *const THREE_STAGE_CORE;
extern const char *const THREE_STAGE_TIME;
std::string stochFile(const char *section, const std::string &body, const char *manner = "REPLACE");

// An item of a scenario as the store has it: the core's value plus the difference of the node that owns its stage.
// Input coordinates, extended ones included.
double storedValue(QRTStoch *stoch, int scenario, int row, int column);
int nodeOfScenario(const StochData *data, int scenario, int stage);
