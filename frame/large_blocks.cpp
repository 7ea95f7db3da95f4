// Large blocks: mappings of the system that begin at a multiple of its large pages.
#include "frame/large_blocks.h"

#include <sys/mman.h>
#include <unistd.h>

#include <cerrno>

namespace {

constexpr uintptr_t LARGE_PAGE = uintptr_t(1) << 21;  // of x86-64 and, with pages of 4096 bytes, of ARM

uintptr_t roundUp(uintptr_t value, uintptr_t unit) { return (value + unit - 1) / unit * unit; }

uintptr_t smallPage() {
  static const uintptr_t size = uintptr_t(sysconf(_SC_PAGESIZE));
  return size;
}

// A last part that fills half a large page gets a whole one.
uintptr_t mappedBytes(size_t bytes) {
  const uintptr_t tail = bytes % LARGE_PAGE;
  return roundUp(bytes, tail >= LARGE_PAGE / 2 ? LARGE_PAGE : smallPage());
}

void unmapBetween(uintptr_t from, uintptr_t to) {
  if (to > from) munmap(reinterpret_cast<void *>(from), to - from);
}

}  // namespace

void *largeBlock_new(size_t bytes) {
  const uintptr_t wanted = mappedBytes(bytes), room = wanted + LARGE_PAGE - smallPage();
  const int saved = errno;
  void *const map = mmap(nullptr, room, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0);
  if (map == MAP_FAILED) return nullptr;
  const uintptr_t from = uintptr_t(map), block = roundUp(from, LARGE_PAGE);
  unmapBetween(from, block);
  unmapBetween(block + wanted, from + room);
  madvise(reinterpret_cast<void *>(block), wanted, MADV_HUGEPAGE);  // a hint that some systems do not take
  errno = saved;
  return reinterpret_cast<void *>(block);
}

void *largeBlock_resize(void *block, size_t oldBytes, size_t newBytes) {
  const uintptr_t from = uintptr_t(block), old = mappedBytes(oldBytes), wanted = mappedBytes(newBytes);
  if (wanted <= old) {
    unmapBetween(from + wanted, from + old);
    return block;
  }
  void *const fresh = largeBlock_new(newBytes);
  if (!fresh) return nullptr;
  // Pages move, not bytes; the flags of the mapping move with them.
  if (mremap(block, old, wanted, MREMAP_MAYMOVE | MREMAP_FIXED, fresh) != MAP_FAILED) return fresh;
  largeBlock_free(fresh, newBytes);
  return nullptr;
}

void largeBlock_free(void *block, size_t bytes) { unmapBetween(uintptr_t(block), uintptr_t(block) + mappedBytes(bytes)); }
