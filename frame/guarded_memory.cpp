// Guarded blocks: every permanent block of the library, with tags before and after the user's bytes.
//
//     offset   0        4       8         12        16         24       24+n     28+n
//              | n      | tag   | count   | length  | accessor | n bytes | n     | tag |
//
// The accessor is the name of the routine that made the block (rim getters), so that a setter can tell whether a
// vector came from its own getter.
#include "frame/guarded_memory.h"

#include <sys/mman.h>
#include <unistd.h>

#include <cerrno>
#include <climits>
#include <cstdlib>
#include <cstring>

#include "frame/entry_frame.h"
#include "frame/large_blocks.h"
#include "frame/messages.h"

int qrt_badMallocFlag = 0;

namespace {

constexpr char GUARD_TAG[4] = {'q', 'r', 't', '_'};
constexpr int FRONT = 24;
constexpr int TRAILER = 8;
constexpr int64_t LARGEST_BLOCK = INT32_MAX - (FRONT + TRAILER);  // what the 32-bit length fields can carry

struct GuardFront {
  int32_t length;
  char tag[4];
  int32_t references;
  int32_t accessorLength;
  const char *accessor;
};
static_assert(sizeof(GuardFront) == FRONT, "the user's bytes follow at offset 24");

struct GuardTrailer {
  int32_t length;
  char tag[4];
};
static_assert(sizeof(GuardTrailer) == TRAILER, "the trailer takes 8 bytes");

GuardFront *frontOf(const void *user) {
  return reinterpret_cast<GuardFront *>(const_cast<char *>(static_cast<const char *>(user)) - FRONT);
}

GuardTrailer readTrailer(const void *user, int32_t length) {
  GuardTrailer trailer;
  memcpy(&trailer, static_cast<const char *>(user) + length, sizeof trailer);
  return trailer;
}

// Writes all guards anew: the block counts one reference and has no accessor.
void *writeGuards(void *start, int32_t length) {
  GuardFront *front = static_cast<GuardFront *>(start);
  front->length = length;
  memcpy(front->tag, GUARD_TAG, 4);
  front->references = 1;
  front->accessorLength = 0;
  front->accessor = nullptr;
  char *user = static_cast<char *>(start) + FRONT;
  GuardTrailer trailer;
  trailer.length = length;
  memcpy(trailer.tag, GUARD_TAG, 4);
  memcpy(user + length, &trailer, sizeof trailer);
  return user;
}

int32_t roundedLength(int64_t bytes) { return int32_t((bytes + 3) & ~int64_t(3)); }

// The length of a block with sound guards, -1 otherwise.
int qrt_checkMalloc(const void *user) {
  const GuardFront *front = frontOf(user);
  if (memcmp(front->tag, GUARD_TAG, 4) != 0 || front->length < 0) return -1;
  const GuardTrailer trailer = readTrailer(user, front->length);
  if (memcmp(trailer.tag, GUARD_TAG, 4) != 0 || trailer.length != front->length) return -1;
  return front->length;
}

// With its guards. The length alone says whether a block is a large one.
size_t wholeBytes(int32_t length) { return size_t(length) + FRONT + TRAILER; }
bool isLarge(int32_t length) { return length >= LARGE_BLOCK; }

void *takeBytes(int32_t length, bool zeroed) {
  const size_t whole = wholeBytes(length);
  if (isLarge(length)) return largeBlock_new(whole);
  return zeroed ? calloc(whole, 1) : malloc(whole);
}

void giveBack(GuardFront *front) {
  if (isLarge(front->length)) largeBlock_free(front, wholeBytes(front->length));
  else free(front);
}

// The block with another length and guards not yet written, or null and nothing changed.
void *resizeBytes(GuardFront *front, int32_t length) {
  const int32_t old = front->length;
  if (isLarge(old) && isLarge(length)) return largeBlock_resize(front, wholeBytes(old), wholeBytes(length));
  if (!isLarge(old) && !isLarge(length)) return realloc(front, wholeBytes(length));
  void *fresh = takeBytes(length, false);
  if (!fresh) return nullptr;
  memcpy(fresh, front, FRONT + size_t(old < length ? old : length));
  giveBack(front);
  return fresh;
}

// `zeroed` leaves the clearing to the system, which hands out large blocks clear and maps their pages at first use.
void *allocateBytes(int64_t bytes, bool mayFail, bool zeroed = false) {
  if (bytes <= LARGEST_BLOCK) {
    const int32_t length = roundedLength(bytes);
    void *start = takeBytes(length, zeroed);
    if (start) return writeGuards(start, length);
  }
  if (mayFail) return nullptr;
  qrt_badMalloc(bytes);
}

}  // namespace

int checkedBytes(int64_t count, int64_t size) {
  // Both factors stay below 2^31 in every sound request, so the product cannot overflow 64 bits.
  if (count < 0 || size < 0 || count > INT32_MAX || size > INT32_MAX || count * size > LARGEST_BLOCK) {
    qrt_badMalloc(count < 0 || size < 0 ? -1 : INT32_MAX);
  }
  return int(count * size);
}

void *guardedAllocate(int64_t count, int64_t size) {
  return count == 0 ? nullptr : allocateBytes(checkedBytes(count, size), false);
}

void *guardedAllocateZero(int64_t count, int64_t size) {
  return count == 0 ? nullptr : allocateBytes(checkedBytes(count, size), false, true);
}

void expectWrites(void *memory, int64_t bytes) {
#ifndef MADV_POPULATE_WRITE
  constexpr int MADV_POPULATE_WRITE = 23;  // of Linux 5.14; an older kernel refuses, which is as good
#endif
  constexpr int64_t WORTH_A_CALL = 1 << 18;
  if (bytes < WORTH_A_CALL || bytes >= LARGE_BLOCK) return;  // large pages are best cleared just before they are written
  const uintptr_t page = uintptr_t(sysconf(_SC_PAGESIZE)), from = uintptr_t(memory);
  const uintptr_t first = (from + page - 1) & ~(page - 1), last = (from + uintptr_t(bytes)) & ~(page - 1);
  const int saved = errno;
  if (last > first) madvise(reinterpret_cast<void *>(first), last - first, MADV_POPULATE_WRITE);
  errno = saved;
}

void qrt_badMalloc(int64_t bytes) {
  qrt_badMallocFlag = 1;
  qrtmesg_no_i1(568, bytes > INT32_MAX ? INT32_MAX : int(bytes));  // "malloc failed on a request for @I01 bytes"
  qrtret(qrtdspc2);
}

void *qrt_mallocBase(int bytes) {
  return bytes < 0 ? allocateBytes(-int64_t(bytes), true) : allocateBytes(bytes, false);
}

void *qrt_reallocBase(void *pointer, int bytes) {
  if (!pointer) return qrt_mallocBase(bytes);
  const bool mayFail = bytes < 0;
  const int64_t wanted = mayFail ? -int64_t(bytes) : bytes;
  GuardFront *front = frontOf(pointer);
  if (wanted <= LARGEST_BLOCK) {
    const int32_t length = roundedLength(wanted);
    if (length == front->length) return pointer;
    void *moved = resizeBytes(front, length);
    if (moved) return writeGuards(moved, length);
  }
  if (mayFail) return nullptr;
  qrt_badMalloc(wanted);
}

void qrt_freeBase(void *pointer) {
  if (!pointer) return;
  GuardFront *front = frontOf(pointer);
  if (--front->references > 0) return;
  memset(front->tag, 0, 4);  // a pointer kept too long fails its guard test
  giveBack(front);
}

void *qrt_malloc(int count, int size) { return guardedAllocate(count, size); }

void *qrt_realloc(void *pointer, int count, int size) {
  if (!pointer) return qrt_malloc(count, size);
  const int bytes = checkedBytes(count, size);
  if (bytes == 0) {
    qrt_freeBase(pointer);
    return nullptr;
  }
  return qrt_reallocBase(pointer, bytes);
}

double *qrt_double(int n) { return static_cast<double *>(qrt_malloc(n, 8)); }
int *qrt_long(int n) { return static_cast<int *>(qrt_malloc(n, 4)); }
int *qrt_int(int n) { return static_cast<int *>(qrt_malloc(n, 4)); }
void *qrt__double(int n) { return qrt_malloc(n, 8); }
void *qrt__long(int n) { return qrt_malloc(n, 4); }
void *qrt__int(int n) { return qrt_malloc(n, 4); }
double *qrt_doubleRealloc(void *pointer, int n) { return static_cast<double *>(qrt_realloc(pointer, n, 8)); }
int *qrt_longRealloc(void *pointer, int n) { return static_cast<int *>(qrt_realloc(pointer, n, 4)); }
int *qrt_intRealloc(void *pointer, int n) { return static_cast<int *>(qrt_realloc(pointer, n, 4)); }
void qrt_free(void *pointer) { qrt_freeBase(pointer); }
void qrt__free(void *pointer) { qrt_freeBase(pointer); }

char *qrt_strdup(const char *text) {
  if (!text) return nullptr;
  const size_t bytes = strlen(text) + 1;
  char *copy = static_cast<char *>(guardedAllocate(int64_t(bytes), 1));
  memcpy(copy, text, bytes);
  return copy;
}

void *qrt_copyOfMemory(const void *pointer) {
  if (!pointer) return nullptr;
  const int length = qrt_checkMalloc(pointer);
  if (length < 0) {
    fflush(stdout);
    fprintf(stderr, "array at %jx has been overwritten\n", uintmax_t(uintptr_t(pointer)));
    fflush(stderr);
    abort();
  }
  void *copy = allocateBytes(length, false);
  memcpy(copy, pointer, size_t(length));
  return copy;
}

void qrt_incrementCount(void *pointer) {
  if (pointer) ++frontOf(pointer)->references;
}

int qrt_validAddress(const void *pointer) { return pointer ? qrt_checkMalloc(pointer) : -8; }

int qrt_checkAddress(void *pointer) {
  if (!pointer) return 0;
  const uintmax_t address = uintptr_t(pointer);
  const GuardFront *front = frontOf(pointer);
  int faults = 0;
  if (memcmp(front->tag, GUARD_TAG, 4) != 0) {
    fprintf(stderr, "bytes at %jx before array %jx overwritten\n", address - FRONT, address);
    ++faults;
  }
  if (front->length < 0) return faults + 1;  // without a length the trailer cannot be found
  const GuardTrailer trailer = readTrailer(pointer, front->length);
  if (memcmp(trailer.tag, GUARD_TAG, 4) != 0) {
    fprintf(stderr, "bytes at %jx after array %jx overwritten\n", address + uintmax_t(front->length), address);
    ++faults;
  }
  if (trailer.length != front->length) {
    fprintf(stderr, "lengths %d and %d of array %jx do not match\n", front->length, trailer.length, address);
    ++faults;
  }
  return faults;
}

void qrt_set_accessor_type(void *pointer, const char *name, int length) {
  if (!pointer) return;
  GuardFront *front = frontOf(pointer);
  front->accessor = name;
  front->accessorLength = length;
}

int qrt_accessor_len(void *pointer, const char *name) {
  const GuardFront *front = frontOf(pointer);
  const bool same = front->accessor == name || (front->accessor && name && strcmp(front->accessor, name) == 0);
  return same ? front->accessorLength : -1;
}

int qrt_untyped_accessor(void *pointer) { return frontOf(pointer)->accessor == nullptr; }
