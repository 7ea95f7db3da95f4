// Bounded queues between master and subproblems, and the memory of a run. They have the form of a message exchange,
// though the two sides take turns: a side that runs apart needs nothing else.
#include <cstdlib>
#include <cstring>

#include "decomp/scn_benders.h"

namespace {

struct Buffer {
  int32_t capacity;   // slots, 0 once freed
  int32_t maxSize;    // bytes a slot
  int32_t count, head;
  int32_t totalPut;
  char *slots;        // [capacity * maxSize]
  int32_t *lengths;   // [capacity] bytes used
};

// All buffers of a run, by id, and the blocks it allocated.
struct RunMemory {
  Buffer *buffers;    // [room] buffer id at [id-1]
  int32_t count, room;
  void **blocks;      // [blockRoom]
  int64_t nBlocks, blockRoom;
};

constexpr int MEMORY_SLOT = 0;  // of QRTStoch::decomposition

RunMemory *memoryOf(QRTStoch *base) {
  void *&slot = base->decomposition[MEMORY_SLOT];
  if (!slot) slot = qrts__alloc("qrtbenders_Calloc", sizeof(RunMemory), 0);
  return static_cast<RunMemory *>(slot);
}

Buffer *find(QRTStoch *base, int id) {
  RunMemory *memory = memoryOf(base);
  if (id < 1 || id > memory->count || memory->buffers[id - 1].capacity == 0) return nullptr;
  return &memory->buffers[id - 1];
}

char *slotOf(const Buffer *b, int position) {
  return b->slots + int64_t((b->head + position) % b->capacity) * b->maxSize;
}

}  // namespace

int qrtinit_Cbuffer(QRTStoch *base, int capacity, int maxSize) {
  if (capacity < 1 || maxSize < 1) return -1;
  RunMemory *memory = memoryOf(base);
  if (memory->count == memory->room) {
    memory->room = memory->room ? 2 * memory->room : 64;
    memory->buffers = static_cast<Buffer *>(
        qrts__realloc("qrtinit_Cbuffer", memory->buffers, int64_t(memory->room) * int64_t(sizeof(Buffer))));
  }
  Buffer *b = &memory->buffers[memory->count];
  *b = {capacity, maxSize, 0, 0, 0, nullptr, nullptr};
  b->slots = static_cast<char *>(malloc(size_t(capacity) * size_t(maxSize)));
  b->lengths = static_cast<int32_t *>(malloc(size_t(capacity) * sizeof(int32_t)));
  if (!b->slots || !b->lengths) {
    free(b->slots);
    free(b->lengths);
    return -1;
  }
  return ++memory->count;
}

int qrtput_Cbuffer(QRTStoch *base, int id, const void *data, int size) {
  Buffer *b = find(base, id);
  if (!b || !data || size < 0) return -1;
  if (b->count == b->capacity) return 0;
  const int length = size < b->maxSize ? size : b->maxSize;
  memcpy(slotOf(b, b->count), data, size_t(length));
  b->lengths[(b->head + b->count) % b->capacity] = length;
  ++b->count;
  return ++b->totalPut;
}

int qrtget_Cbuffer(QRTStoch *base, int id, void *data, int *size, int after) {
  const Buffer *b = find(base, id);
  if (!b) return -1;
  const int oldest = b->totalPut - b->count + 1;
  const int wanted = after < oldest ? oldest : after + 1;
  if (wanted > b->totalPut) return 0;
  const int position = wanted - oldest;
  *size = b->lengths[(b->head + position) % b->capacity];
  memcpy(data, slotOf(b, position), size_t(*size));
  return wanted;
}

void qrtpop_Cbuffer(QRTStoch *base, int id) {
  Buffer *b = find(base, id);
  if (!b || b->count == 0) return;
  b->head = (b->head + 1) % b->capacity;
  --b->count;
}

void qrtfree_Cbuffer(QRTStoch *base, int id) {
  Buffer *b = find(base, id);
  if (!b) return;
  free(b->slots);
  free(b->lengths);
  *b = {};
}

void qrtdel_Cbuffers(QRTStoch *base) {
  RunMemory *memory = memoryOf(base);
  for (int id = 1; id <= memory->count; ++id) qrtfree_Cbuffer(base, id);
  free(memory->buffers);
  memory->buffers = nullptr;
  memory->count = memory->room = 0;
}

void *qrtbenders_Calloc(QRTStoch *base, const char *name, int64_t size, int noClear) {
  RunMemory *memory = memoryOf(base);
  if (memory->nBlocks == memory->blockRoom) {
    memory->blockRoom = memory->blockRoom ? 2 * memory->blockRoom : 64;
    memory->blocks = static_cast<void **>(
        qrts__realloc(name, memory->blocks, memory->blockRoom * int64_t(sizeof(void *))));
  }
  // A stage may be empty: a block of no bytes is as good as one of eight.
  void *block = qrts__alloc(name, size > 0 ? size : 8, noClear);
  memory->blocks[memory->nBlocks++] = block;
  return block;
}

void qrtbenders_Cfree(QRTStoch *base) {
  RunMemory *memory = memoryOf(base);
  while (memory->nBlocks > 0) free(memory->blocks[--memory->nBlocks]);
  free(memory->blocks);
  qrtdel_Cbuffers(base);
  free(memory);
  base->decomposition[MEMORY_SLOT] = nullptr;
}
