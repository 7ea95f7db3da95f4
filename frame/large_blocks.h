// Memory of a megabyte and more, straight from the system and where large pages fit: its pages come, and are cleared, at a
// third of the time of small ones, and what is never written costs nothing.
#pragma once

#include <cstddef>
#include <cstdint>

#if defined(__has_feature)
#if __has_feature(address_sanitizer)
#define QRT_ADDRESS_SANITIZER 1
#endif
#elif defined(__SANITIZE_ADDRESS__)
#define QRT_ADDRESS_SANITIZER 1
#endif

// From how many bytes on a block is large. Never under the address sanitizer, which watches the blocks of malloc only.
#ifdef QRT_ADDRESS_SANITIZER
constexpr int64_t LARGE_BLOCK = INT32_MAX;  // more than any block has
#else
constexpr int64_t LARGE_BLOCK = 1 << 20;
#endif

// Zero bytes, or null.
void *largeBlock_new(size_t bytes);
// Another size, maybe another place, new bytes not set; null leaves the block as it was.
void *largeBlock_resize(void *block, size_t oldBytes, size_t newBytes);
void largeBlock_free(void *block, size_t bytes);
