// The hash of row and column names, and the arrays that grow while a file is read.

#include <cstring>

#include "frame/guarded_memory.h"
#include "frame/messages.h"
#include "model/mps_reader.h"

namespace {

// Multipliers of the characters of a name, in order: near each other, so that a key stays small, and without a
// common factor.
const uint32_t mmult[MAX_NAME] = {0x3FFFB, 0x3F583, 0x3EB79, 0x3E153, 0x3D735, 0x3CD2D, 0x3C3B5, 0x3BA17,
                                  0x3B003, 0x3A64B, 0x39C41, 0x391FF, 0x38779, 0x37DFB, 0x37435, 0x36A55,
                                  0x36061, 0x356E1, 0x34CFF, 0x342D9, 0x33895, 0x32F21, 0x325B7, 0x31BFD,
                                  0x31211, 0x307ED, 0x2FE3F, 0x2F443, 0x2EAB9, 0x2E11D, 0x2D725};

constexpr int MAX_SLOTS = 0x7ffffffe;

// Slot of a name, from 1. The key is a 32-bit sum whose sign is dropped.
int homeSlot(const NameTable *table, const char *name) {
  uint32_t key = 0;
  for (int k = 0; k < table->length; k++) key += uint32_t(static_cast<unsigned char>(name[k])) * mmult[k];
  if (key & 0x80000000u) key = 0u - key;
  return int(key % uint32_t(table->size)) + 1;
}

bool sameName(const char *a, const char *b, int length) {
  if (length == 8) {
    uint64_t left, right;
    memcpy(&left, a, 8);
    memcpy(&right, b, 8);
    return left == right;
  }
  return memcmp(a, b, size_t(length)) == 0;
}

const char *nameOf(const NameTable *table, int index) {
  return table->names + int64_t(index - 1) * table->length;
}

}  // namespace

int qrtmkhash(QRTModel *model, NameTable *table, const char *names, int length, int count, bool tellDuplicates) {
  const int64_t size = 2 * int64_t(count > 0 ? count : 1);
  table->names = names;
  table->length = length;
  table->count = count;
  table->size = int(size > MAX_SLOTS ? MAX_SLOTS : size);
  table->slots = static_cast<NameSlot *>(temporaryAllocate(model, table->size, int64_t(sizeof(NameSlot))));
  memset(table->slots, 0, size_t(table->size) * sizeof(NameSlot));
  // First every name that finds its home slot free, then the others through free slots: so that a chain never
  // runs through another key's home.
  unsigned char *placed = static_cast<unsigned char *>(temporaryAllocate(model, count + 1, 1));
  for (int index = 1; index <= count; index++) {
    NameSlot *slot = &table->slots[homeSlot(table, nameOf(table, index)) - 1];
    placed[index] = slot->index == 0;
    if (placed[index]) slot->index = index;
  }
  int duplicates = 0;
  int cursor = 0;
  for (int index = 1; index <= count; index++) {
    if (placed[index]) continue;
    const char *name = nameOf(table, index);
    NameSlot *slot = &table->slots[homeSlot(table, name) - 1];
    bool duplicate = false;
    for (;;) {
      duplicate = sameName(name, nameOf(table, slot->index), length);
      if (duplicate || slot->next == 0) break;
      slot = &table->slots[slot->next - 1];
    }
    if (duplicate) {
      duplicates++;
      if (tellDuplicates) qrtmesg_no_q1(MSG_DUPLICATE_NAME, name, length);
      continue;
    }
    while (table->slots[cursor].index != 0) cursor++;  // twice as many slots as names: one is free
    table->slots[cursor].index = index;
    slot->next = cursor + 1;
  }
  qrt_freeTemporary(model, placed);
#ifdef QRT_SELF_CHECKS
  if (nameTable_check(table)) __builtin_trap();
#endif
  return duplicates;
}

int qrthash(const NameTable *table, const char *name) {
  if (table->count == 0) return 0;
  const NameSlot *slot = &table->slots[homeSlot(table, name) - 1];
  while (slot->index != 0) {
    if (sameName(name, nameOf(table, slot->index), table->length)) return slot->index;
    if (slot->next == 0) break;
    slot = &table->slots[slot->next - 1];
  }
  return 0;
}

const char *nameTable_check(const NameTable *table) {
  int64_t used = 0;
  for (int k = 0; k < table->size; k++) {
    const NameSlot *slot = &table->slots[k];
    if (slot->index < 0 || slot->index > table->count) return "a slot names no name";
    if (slot->next < 0 || slot->next > table->size) return "a link leaves the table";
    if (slot->next != 0 && table->slots[slot->next - 1].index == 0) return "a link leads to a free slot";
    if (slot->index == 0 && slot->next != 0) return "a free slot has a link";
    used += slot->index != 0;
    if (slot->index != 0 && qrthash(table, nameOf(table, slot->index)) != slot->index) return "a name is not found in its chain";
  }
  return used > table->count ? "more slots are used than there are names" : nullptr;
}

void *growRoom(QRTModel *model, void *array, int64_t used, int64_t *room, int bytes, int64_t least) {
  if (array && used < *room) return array;
  const int64_t wanted = *room * 2 > least ? *room * 2 : least;
  void *grown = temporaryAllocate(model, wanted, bytes);
  if (array) {
    memcpy(grown, array, size_t(used) * size_t(bytes));
    qrt_freeTemporary(model, array);
  }
  *room = wanted;
  return grown;
}
