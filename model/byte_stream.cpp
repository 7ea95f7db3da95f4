// Streams of bytes in files and in memory.
#include "model/byte_stream.h"

#include <cerrno>
#include <cstring>

#include "frame/guarded_memory.h"

namespace {

constexpr int64_t FIRST_CHUNK = 64 * 1024, LARGEST_CHUNK = 64 * 1024 * 1024;

char *bytesOf(ByteChunk *chunk) { return reinterpret_cast<char *>(chunk + 1); }

void addChunk(ByteStream *stream) {
  int64_t room = stream->last ? 2 * stream->last->room : FIRST_CHUNK;
  if (room > LARGEST_CHUNK) room = LARGEST_CHUNK;
  ByteChunk *chunk = static_cast<ByteChunk *>(guardedAllocate(room + int64_t(sizeof(ByteChunk)), 1));
  chunk->next = nullptr;
  chunk->used = 0;
  chunk->room = room;
  if (stream->last) stream->last->next = chunk;
  else stream->first = chunk;
  stream->last = chunk;
}

int64_t lesser(int64_t a, int64_t b) { return a < b ? a : b; }

}  // namespace

void byteStream_ofFile(ByteStream *stream, FILE *file, bool reading) {
  *stream = {};
  stream->file = file;
  if (!reading) return;
  const int64_t here = ftell(file);
  fseek(file, 0, SEEK_END);
  stream->size = ftell(file) - here;
  fseek(file, here, SEEK_SET);
}

void byteStream_rewind(ByteStream *stream) {
  stream->position = stream->offset = 0;
  stream->current = stream->first;
}

void byteStream_release(ByteStream *stream) {
  while (stream->first) {
    ByteChunk *next = stream->first->next;
    qrt_free(stream->first);
    stream->first = next;
  }
  *stream = {};
}

void qrtgeno(ByteStream *stream, const void *bytes, int64_t count) {
  if (count <= 0 || stream->error) return;
  stream->position += count;
  stream->size = stream->position;
  if (stream->file) {
    if (fwrite(bytes, 1, size_t(count), stream->file) != size_t(count)) stream->error = errno ? errno : EIO;
    return;
  }
  const char *from = static_cast<const char *>(bytes);
  while (count > 0) {
    if (!stream->last || stream->last->used == stream->last->room) addChunk(stream);
    ByteChunk *chunk = stream->last;
    const int64_t n = lesser(count, chunk->room - chunk->used);
    memcpy(bytesOf(chunk) + chunk->used, from, size_t(n));
    chunk->used += n;
    from += n;
    count -= n;
  }
}

bool qrtgeni(ByteStream *stream, void *bytes, int64_t count) {
  if (count < 0 || count > byteStream_left(stream)) return false;
  stream->position += count;
  if (stream->file) return count == 0 || fread(bytes, 1, size_t(count), stream->file) == size_t(count);
  char *to = static_cast<char *>(bytes);
  while (count > 0) {
    ByteChunk *chunk = stream->current;
    if (stream->offset == chunk->used) {
      stream->current = chunk->next;
      stream->offset = 0;
      continue;
    }
    const int64_t n = lesser(count, chunk->used - stream->offset);
    memcpy(to, bytesOf(chunk) + stream->offset, size_t(n));
    stream->offset += n;
    to += n;
    count -= n;
  }
  return true;
}

void byteStream_patch(ByteStream *stream, int64_t at, const void *bytes, int64_t count) {
  if (stream->error) return;
  if (stream->file) {
    const bool done = fseek(stream->file, at, SEEK_SET) == 0 && fwrite(bytes, 1, size_t(count), stream->file) == size_t(count) &&
                      fseek(stream->file, 0, SEEK_END) == 0;
    if (!done) stream->error = errno ? errno : EIO;
    return;
  }
  const char *from = static_cast<const char *>(bytes);
  for (ByteChunk *chunk = stream->first; chunk && count > 0; chunk = chunk->next) {
    if (at < chunk->used) {
      const int64_t n = lesser(count, chunk->used - at);
      memcpy(bytesOf(chunk) + at, from, size_t(n));
      from += n;
      count -= n;
      at += n;
    }
    at -= chunk->used;
  }
}
