// What the fuzz targets share: a context with raised limits, files of given bytes, and a way back when the library
// ends the process on purpose, which is an answer and not a crash.
#pragma once

#include <csetjmp>
#include <cstddef>
#include <cstdint>
#include <string>

#include "qrts_c_api.h"

// Arms the way back; fuzzDone() takes it away, since the fuzzer itself leaves by exit().
QRTContext *fuzzContext();
void fuzzDone();
// Raises the limits of severe messages and sends the log away.
void fuzzQuiet(QRTModel *model);
// Path of a scratch file named `name` that holds the bytes.
std::string fuzzFile(const char *name, const void *bytes, size_t size);
std::string fuzzFile(const char *name, const std::string &text);

// The small program that a target's one bad file stands beside.
extern const char *const fuzzCore, *const fuzzTime, *const fuzzStoch;

// Where exit() leads while a target runs; the link wraps it.
extern std::jmp_buf fuzzExit;

// One reading of a triple, followed by generation when it succeeds.
void fuzzTriple(const std::string &core, const std::string &time, const std::string &stoch, bool lenient);
