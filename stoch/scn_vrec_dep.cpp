// The bytes under the virtual records: one file, its end held in an append buffer, its body read through a window.
#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include "stoch/scn_record_file.h"

static const char zeroBytes[1024] = {0};

static int64_t smaller(int64_t a, int64_t b) { return a < b ? a : b; }

int qrtdiochk(const VirtualFile *handle) {
  if (handle == nullptr) return VREC_NULL_HANDLE;
  return std::memcmp(handle->tag, "Vrec", 5) == 0 ? VREC_OK : VREC_BAD_TAG;
}

int virtualFile_openStream(VirtualFile *f, const char *name, bool fresh) {
  f->fd = fresh ? open(name, O_RDWR | O_CREAT | O_TRUNC | O_CLOEXEC, 0666) : open(name, O_RDWR | O_CLOEXEC);
  if (f->fd < 0) return VREC_OPEN;
  struct stat state;
  if (fstat(f->fd, &state) != 0 || !S_ISREG(state.st_mode)) {
    close(f->fd);
    f->fd = -1;
    return VREC_OPEN;
  }
  f->fileEnd = f->tailStart = state.st_size;
  return VREC_OK;
}

int virtualFile_closeStream(VirtualFile *f) {
  std::free(f->tailBytes);
  std::free(f->window);
  f->tailBytes = f->window = nullptr;
  const int result = f->fd >= 0 ? close(f->fd) : 0;
  f->fd = -1;
  return result == 0 ? VREC_OK : VREC_CLOSE;
}

static int writeThrough(VirtualFile *f, int64_t offset, const char *data, int64_t n) {
  while (n > 0) {
    const ssize_t done = pwrite(f->fd, data, size_t(n), off_t(offset));
    if (done < 0 && errno == EINTR) continue;
    if (done <= 0) return VREC_WRITE;
    data += done;
    offset += done;
    n -= done;
  }
  return VREC_OK;
}

static int readThrough(VirtualFile *f, int64_t offset, char *data, int64_t n) {
  while (n > 0) {
    const ssize_t done = pread(f->fd, data, size_t(n), off_t(offset));
    if (done < 0 && errno == EINTR) continue;
    if (done <= 0) return VREC_READ;
    data += done;
    offset += done;
    n -= done;
  }
  return VREC_OK;
}

int virtualFile_pushTail(VirtualFile *f) {
  const int64_t held = f->fileEnd - f->tailStart;
  if (held == 0) return VREC_OK;
  const int rc = writeThrough(f, f->tailStart, f->tailBytes, held);
  if (rc == VREC_OK) f->tailStart = f->fileEnd;
  return rc;
}

int qrtdiozero(VirtualFile *f, int64_t offset, int64_t n) {
  while (n > 0) {
    const int64_t piece = smaller(n, int64_t(sizeof zeroBytes));
    const int rc = qrtdiowrit(f, offset, zeroBytes, piece);
    if (rc != VREC_OK) return rc;
    offset += piece;
    n -= piece;
  }
  return VREC_OK;
}

int qrtdiopad(VirtualFile *f, int64_t offset) {
  if (f->fileEnd < offset) {
    const int rc = qrtdiozero(f, f->fileEnd, offset - f->fileEnd);
    if (rc != VREC_OK) return rc;
  }
  return f->fileEnd == offset ? VREC_OK : VREC_FILE_SIZE;
}

int qrtdiowrit(VirtualFile *f, int64_t offset, const void *data, int64_t n) {
  if (offset < 0) return VREC_SEEK;
  if (offset > f->fileEnd && n > 0) {
    const int rc = qrtdiopad(f, offset);
    if (rc != VREC_OK) return rc;
  }
  const char *bytes = static_cast<const char *>(data);
  while (n > 0) {
    int64_t piece;
    if (offset < f->tailStart) {
      piece = smaller(n, f->tailStart - offset);
      if (offset < f->windowStart + f->windowLength && offset + piece > f->windowStart) f->windowLength = 0;
      const int rc = writeThrough(f, offset, bytes, piece);
      if (rc != VREC_OK) return rc;
    } else {
      const int64_t place = offset - f->tailStart;
      if (place >= VREC_TAIL_CAPACITY) {
        const int rc = virtualFile_pushTail(f);
        if (rc != VREC_OK) return rc;
        continue;  // the place lies on disk now, or at the start of an empty buffer
      }
      if (f->tailBytes == nullptr) f->tailBytes = static_cast<char *>(std::malloc(VREC_TAIL_CAPACITY));
      if (f->tailBytes == nullptr) return VREC_WRITE;
      piece = smaller(n, VREC_TAIL_CAPACITY - place);
      std::memcpy(f->tailBytes + place, bytes, size_t(piece));
      if (f->fileEnd < offset + piece) f->fileEnd = offset + piece;
    }
    bytes += piece;
    offset += piece;
    n -= piece;
  }
  return VREC_OK;
}

// Fills the window from `offset` on; false when there is no memory for one. A read that goes on where the last one
// ended gets the whole window, one that jumps a short piece.
static bool moveWindow(VirtualFile *f, int64_t offset, int *rc) {
  if (f->window == nullptr) f->window = static_cast<char *>(std::malloc(VREC_WINDOW));
  if (f->window == nullptr) return false;
  const int64_t end = f->windowStart + f->windowLength;
  const bool onward = offset >= end && offset < end + VREC_JUMP_WINDOW;
  f->windowLength = 0;
  const int64_t length = smaller(onward ? VREC_WINDOW : VREC_JUMP_WINDOW, f->tailStart - offset);
  *rc = readThrough(f, offset, f->window, length);
  if (*rc == VREC_OK) {
    f->windowStart = offset;
    f->windowLength = int32_t(length);
  }
  return true;
}

int qrtdioread(VirtualFile *f, int64_t offset, void *data, int64_t n) {
  if (offset < 0) return VREC_SEEK;
  if (offset > f->fileEnd || n > f->fileEnd - offset) return VREC_READ;
  char *bytes = static_cast<char *>(data);
  while (n > 0) {
    int64_t piece;
    int rc = VREC_OK;
    if (offset >= f->tailStart) {
      piece = n;
      std::memcpy(bytes, f->tailBytes + (offset - f->tailStart), size_t(piece));
    } else if (offset >= f->windowStart && offset < f->windowStart + f->windowLength) {
      piece = smaller(n, f->windowStart + f->windowLength - offset);
      std::memcpy(bytes, f->window + (offset - f->windowStart), size_t(piece));
    } else {
      piece = smaller(n, f->tailStart - offset);
      if (piece < VREC_WINDOW && moveWindow(f, offset, &rc)) {
        if (rc != VREC_OK) return rc;
        continue;
      }
      rc = readThrough(f, offset, bytes, piece);
    }
    if (rc != VREC_OK) return rc;
    bytes += piece;
    offset += piece;
    n -= piece;
  }
  return VREC_OK;
}
