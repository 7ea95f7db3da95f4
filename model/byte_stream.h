// A stream of bytes that lies in a file or in memory: where images of models and the log of presolve go.
//
// In memory it is a chain of guarded blocks, so that its length is bounded by memory alone. It is written once from the
// start, may be patched where it was written, and is read from the start as often as needed. A zeroed record is an empty
// stream in memory; a write may leave by a jump, so its owner must be able to find it.
#pragma once

#include <cstdint>
#include <cstdio>

struct ByteChunk {
  ByteChunk *next;
  int64_t used, room;    // bytes behind the record
};

struct ByteStream {
  FILE *file;            // the caller's; null: memory
  int64_t position;      // bytes written or read so far
  int64_t size;          // bytes there are to read
  int error;             // errno of the first write that failed, 0 none
  ByteChunk *first, *last, *current;  // current and its offset: where reading stands
  int64_t offset;
};

// A stream of a file, at its present position; for reading, the rest of the file is what there is.
void byteStream_ofFile(ByteStream *stream, FILE *file, bool reading);
void byteStream_rewind(ByteStream *stream);   // to read from the start
void byteStream_release(ByteStream *stream);  // gives the memory back; the file stays open

// Appends bytes; after a failure nothing more is written and `error` stays (qrtgeno).
void qrtgeno(ByteStream *stream, const void *bytes, int64_t count);
// The next bytes; false when fewer are left (qrtgeni).
bool qrtgeni(ByteStream *stream, void *bytes, int64_t count);
// Writes over bytes that were written before, for streams that are being written.
void byteStream_patch(ByteStream *stream, int64_t at, const void *bytes, int64_t count);
inline int64_t byteStream_left(const ByteStream *stream) { return stream->size - stream->position; }
