// Files that hold the state of a decomposition: written whole or not at all, read whole and proved by their sum.
#pragma once

#include <cstdint>
#include <cstdio>

// A state on its way out. It is written beside its file and takes its name when it is whole: a write that fails leaves
// the old one.
struct StateWriter {
  FILE *file;               // null when it can't be opened
  const char *path;         // the caller's
  char *place;              // where it is written until it is whole, null without memory
  uint64_t sum;             // of the bytes so far
  bool good;
};
void stateWriter_open(StateWriter *writer, const char *path);
void stateWriter_put(StateWriter *writer, const void *data, int64_t bytes);
// The sum of all bytes goes last. Says on stdout when the state could not be written.
void stateWriter_close(StateWriter *writer);

// A state in memory.
struct StateReader {
  char *bytes;              // the whole file, freed by stateReader_close()
  int64_t size;             // without the sum
  int64_t at;               // read so far
};
constexpr int STATE_MAGIC = 8;  // bytes a state begins with
// The file, if it begins with `magic` and its sum is right; else what is wrong with it, and nothing to close.
const char *stateReader_open(StateReader *reader, const char *path, const char *magic);
// The next so many bytes, null when there are fewer.
const void *stateReader_next(StateReader *reader, int64_t bytes);
void stateReader_close(StateReader *reader);
// Says on stdout that a run can't go on from a state; gives 2, the result of the run.
int refuseState(const char *path, const char *complaint);

constexpr uint64_t EMPTY_SUM = 14695981039346656037ull;
uint64_t addBytes(uint64_t sum, const void *data, int64_t bytes);
