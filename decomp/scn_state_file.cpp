// Files that hold the state of a decomposition.
#include "decomp/scn_state_file.h"

#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdlib>
#include <cstring>

#include "frame/safe_file.h"
#include "stoch/scn_stoc.h"

namespace {
constexpr const char *CALLER = "qrts_setSaveState";
constexpr uint64_t FACTOR = 1099511628211ull;  // of the FNV-1a sum, as is EMPTY_SUM (Fowler, Noll, Vo)
constexpr int64_t SUM_BYTES = 8;
}  // namespace

uint64_t addBytes(uint64_t sum, const void *data, int64_t bytes) {
  const unsigned char *p = static_cast<const unsigned char *>(data);
  for (int64_t k = 0; k < bytes; ++k) sum = (sum ^ p[k]) * FACTOR;
  return sum;
}

void stateWriter_open(StateWriter *writer, const char *path) {
  *writer = {nullptr, path, safeFile_place(path), EMPTY_SUM, false};
  if (writer->place) writer->file = fopen(writer->place, "wb");
  writer->good = writer->file != nullptr;
}

void stateWriter_put(StateWriter *writer, const void *data, int64_t bytes) {
  if (bytes <= 0 || !writer->good) return;
  writer->good = fwrite(data, 1, size_t(bytes), writer->file) == size_t(bytes);
  writer->sum = addBytes(writer->sum, data, bytes);
}

void stateWriter_close(StateWriter *writer) {
  const uint64_t sum = writer->sum;
  stateWriter_put(writer, &sum, SUM_BYTES);
  if (writer->file) {
    // On the disk before it takes the place of the old one: else a machine that goes down leaves neither.
    writer->good = writer->good && fflush(writer->file) == 0 && fsync(fileno(writer->file)) == 0;
    writer->good = fclose(writer->file) == 0 && writer->good;
  }
  const bool opened = writer->place && writer->file;
  if (!opened || safeFile_settle(writer->place, writer->path, writer->good ? 0 : EIO) != 0)
    printf("\n Warning ! State file %s could not be written.\n", writer->path);
  free(writer->place);
  *writer = {};
}

const char *stateReader_open(StateReader *reader, const char *path, const char *magic) {
  *reader = {};
  FILE *file = fopen(path, "rb");
  struct stat about;
  if (!file || fstat(fileno(file), &about) != 0 || !S_ISREG(about.st_mode)) {
    if (file) fclose(file);
    return "it cannot be opened";
  }
  const int64_t all = about.st_size;
  reader->bytes = static_cast<char *>(qrts__alloc(CALLER, all + 1, 1));
  const bool read = fread(reader->bytes, 1, size_t(all), file) == size_t(all);
  fclose(file);
  reader->size = all - SUM_BYTES;
  uint64_t sum = 0;
  if (reader->size >= STATE_MAGIC) memcpy(&sum, reader->bytes + reader->size, SUM_BYTES);
  const char *complaint = nullptr;
  if (!read) complaint = "it cannot be read";
  else if (all < STATE_MAGIC || memcmp(reader->bytes, magic, STATE_MAGIC) != 0) complaint = "it is no saved state of this method";
  else if (reader->size < STATE_MAGIC || sum != addBytes(EMPTY_SUM, reader->bytes, reader->size)) complaint = "it is damaged or cut off";
  if (complaint) stateReader_close(reader);
  return complaint;
}

const void *stateReader_next(StateReader *reader, int64_t bytes) {
  if (bytes < 0 || bytes > reader->size - reader->at) return nullptr;
  const char *here = reader->bytes + reader->at;
  reader->at += bytes;
  return here;
}

void stateReader_close(StateReader *reader) {
  free(reader->bytes);
  *reader = {};
}

int refuseState(const char *path, const char *complaint) {
  printf("\n ERROR! State file %s cannot be used: %s.\n", path, complaint);
  return 2;
}
