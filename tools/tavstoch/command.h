// What the subcommands share: their options, the exit codes and the call that each one answers to.
#pragma once

#include <string>
#include <vector>

enum ExitCode : int {
  EXIT_SOLVED = 0,
  EXIT_INFEASIBLE = 1,
  EXIT_UNBOUNDED = 2,
  EXIT_STOPPED = 3,     // iteration limit, or the user
  EXIT_USAGE = 64,
  EXIT_BAD_INPUT = 65,
  EXIT_INTERNAL = 70,   // the library failed, or its answer did not pass --check
};

constexpr int NOT_GIVEN = -1;  // of an option for which 0 is a value

// Options of every subcommand; a subcommand reads those it offers.
struct Options {
  std::string core, time, stoch;  // solve, info
  std::string mps;                // lp
  std::string method = "direct";
  std::string logFile;            // the library's messages; empty: kept aside and shown only on a failure
  std::string solutionFile;       // CSV
  std::string cut;                // "stage:K", "rows:N", "models:N"; empty for the method's own choice
  double gap = 1e-8;              // relative gap at which a decomposition stops
  int cycles = 100;
  std::string saveState;          // file for the state of a run by cycles
  int saveEvery = 10;             // cycles between states
  std::string resume;             // state to go on from
  bool noFinal = false;           // end a decomposition without a simplex solve of the whole
  int mode = 1;                   // lp: how the simplex starts
  std::string algorithm = "either";  // lp
  std::vector<std::string> files; // convert: what is read, then what is written; sample: what is written
  bool native = false;            // convert: the first file is a native one
  bool add = false;               // convert, sample: a triple of differences
  int draws = 1000;               // sample
  unsigned seed = 1;              // sample
  int pairs = 2;                  // convert: pairs of name and number on a card
  bool binary = false;            // convert: numbers with every bit
  std::string changes;            // parametric: the file that says what moves
  std::string csvFile;            // parametric: where the table goes; empty: the terminal
  double from = 0, step = 0.1, to = 1;  // parametric: the range of lambda
  int crash = 0;                  // type, 0 none
  int presolve = NOT_GIVEN;       // level, 0 is one for a linear program and none for a stochastic one
  int maxScenarios = 1000000;
  bool idiot = false;             // lp: start from the idiot crash
  bool strict = false, inherit = false, maximize = false, scale = false, free = false;
  bool check = false, json = false, quiet = false;
};

// Each subcommand is a call on a session that main() opens and closes. @return an exit code.
class Session;
int runSolve(Session &session, const Options &options);
int runLp(Session &session, const Options &options);
int runInfo(Session &session, const Options &options);
int runParametric(Session &session, const Options &options);
int runSample(Session &session, const Options &options);
int runConvert(Session &session, const Options &options);
