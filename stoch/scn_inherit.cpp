// Inheritance between scenarios of a file.
#include "stoch/scn_inherit.h"

#include <cstdlib>
#include <cstring>

struct Inheritance {
  ElementList all;      // the whole path of each scenario, one after the other
  int64_t *start;       // [capacity+1] first element of scenario k at [k-1]
  int count, capacity;
  int *slots;           // [room] open-addressed: element number + 1 of the scenario in hand
  int64_t room;         // a power of two
};

namespace {

uint64_t slotOf(int row, int col) {
  uint64_t h = (static_cast<uint64_t>(static_cast<uint32_t>(row)) << 32 | static_cast<uint32_t>(col)) * 0x9E3779B97F4A7C15ull;
  return h ^ (h >> 29);
}

bool listed(const Inheritance *in, const ElementList *own, int row, int col) {
  const uint64_t mask = static_cast<uint64_t>(in->room - 1);
  for (uint64_t s = slotOf(row, col) & mask; in->slots[s]; s = (s + 1) & mask) {
    const int k = in->slots[s] - 1;
    if (own->rows[k] == row && own->cols[k] == col) return true;
  }
  return false;
}

// The scenario's own elements into the table.
void indexOwn(Inheritance *in, const ElementList *own) {
  int64_t room = in->room ? in->room : 64;
  while (room < 2 * int64_t(own->count) + 2) room *= 2;
  if (room != in->room) {
    free(in->slots);
    in->slots = static_cast<int *>(qrts__alloc("inheritance_take", room * static_cast<int64_t>(sizeof(int)), 1));
    in->room = room;
  }
  memset(in->slots, 0, static_cast<size_t>(room) * sizeof(int));
  const uint64_t mask = static_cast<uint64_t>(room - 1);
  for (int k = 0; k < own->count; ++k) {
    uint64_t s = slotOf(own->rows[k], own->cols[k]) & mask;
    while (in->slots[s]) s = (s + 1) & mask;
    in->slots[s] = k + 1;
  }
}

}  // namespace

Inheritance *inheritance_new() { return static_cast<Inheritance *>(qrts__alloc("inheritance_new", sizeof(Inheritance), 0)); }

void inheritance_take(Inheritance *in, const CoreData *core, int ancestor, int stage, ElementList *elements) {
  const int nOwn = elements->count;
  if (in->count == in->capacity) {
    in->capacity = in->capacity ? in->capacity * 2 : 64;
    in->start = static_cast<int64_t *>(
        qrts__realloc("inheritance_take", in->start, (in->capacity + int64_t(1)) * static_cast<int64_t>(sizeof(int64_t))));
  }
  in->start[in->count] = in->all.count;
  for (int k = 0; k < nOwn; ++k) elementList_add(&in->all, elements->rows[k], elements->cols[k], elements->values[k]);
  if (ancestor >= 1 && ancestor <= in->count) {
    indexOwn(in, elements);
    const int64_t first = in->start[ancestor - 1], last = in->start[ancestor];
    for (int64_t k = first; k < last; ++k) {
      const int row = in->all.rows[k], col = in->all.cols[k];
      const double value = in->all.values[k];
      if (listed(in, elements, row, col)) continue;
      // Stages before the branch are nodes of the ancestor; they are kept for scenarios that branch earlier from here.
      elementList_add(&in->all, row, col, value);
      if (stageOfElement(core, row, col) >= (stage < 2 ? 2 : stage)) elementList_add(elements, row, col, value);
    }
  }
  in->start[++in->count] = in->all.count;
}

void inheritance_free(Inheritance *in) {
  if (!in) return;
  elementList_free(&in->all);
  free(in->start);
  free(in->slots);
  free(in);
}
