// Files and models for the benchmarks, made on the spot so that none has to be kept.
#pragma once

#include <string>

#include "qrts_c_api.h"

// Context whose messages are out of the way; severe ones come back as return values.
QRTContext *benchContext();
void benchQuiet(QRTModel *model);

double secondsNow();
// Processor time of this process: other work of the machine leaves it alone, as it does not the clock on the wall.
double processorNow();
// Peak of resident memory of this process so far, and of its present, in bytes.
long long peakMemory();
long long fileSize(const std::string &path);
// Seconds that counting the lines of a file takes: the yardstick of reading.
double countLines(const std::string &path, long long *lines);

// A random sparse MPS file.
void writeMps(const std::string &path, int rows, int columns, int perColumn);

// A two-stage triple with `random` random right-hand sides in stage 2: path + ".cor", ".tim".
void writeCore(const std::string &path, int random);
// INDEP data of `random` variables with `outcomes` outcomes each: outcomes^random scenarios.
void writeIndep(const std::string &path, int random, int outcomes);
// `scenarios` SCENARIOS entries of `random` elements each.
void writeScenarios(const std::string &path, int random, int scenarios);

// A two-stage triple: plants are built in stage 1 under a budget and serve markets in stage 2, where what is short has a
// price; every market's demand is random, in `scenarios` SCENARIOS entries. path + ".cor", ".tim", ".sto".
void writePlants(const std::string &path, int plants, int markets, int scenarios);
// A triple of `stages` stages whose nodes have `branches` children each: capacity for `goods` goods is built in every stage
// and can be used from the next one on; goods are made, kept or short; demand is random. branches^(stages - 1) SCENARIOS
// entries, a node has 2 * goods + 1 rows and 4 * goods columns.
void writeStocks(const std::string &path, int stages, int branches, int goods);

// A two-stage triple with network recourse, of the size of an airlift: flights are planned in stage 1 on 148 routes between
// 20 places, cargo for each of them flows in stage 2 over what was planned (528 rows), and what is left behind has a
// price; 117 demands are random, in `scenarios` SCENARIOS entries.
void writeCargo(const std::string &path, int scenarios);
// A two-stage triple with a large second stage: resources are bought in stage 1, and products made, stored and sold for
// `weeks` weeks in stage 2 (167 rows and 367 columns a week); all demands of a scenario are random.
void writeFactory(const std::string &path, int weeks, int scenarios);
