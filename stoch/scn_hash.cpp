// Names and their numbers: building, extending and searching the hash tables of the SMPS readers.
#include "stoch/scn_hash.h"

#include <cstdio>
#include <cstdlib>
#include <cstring>

#include "stoch/scn_stoc.h"

namespace {

// The name in 32 bytes, taken as sixteen signed big-endian 16-bit numbers and weighted; unsigned, so that the
// absolute value of the smallest integer is no trap.
int bucketOf(const char *name, int numchar, int size) {
  static const int32_t WEIGHTS[16] = {1, 11, 59, 7, 13, 29, 61, 73, 3, 97, 5, 89, 17, 83, 79, 43};
  unsigned char bytes[32] = {' '};
  memcpy(bytes, name, static_cast<size_t>(numchar < 32 ? numchar : 32));
  uint32_t sum = 0;
  for (int i = 0; i < 16; ++i) {
    const int32_t pair = static_cast<int16_t>(static_cast<uint16_t>(bytes[2 * i] << 8 | bytes[2 * i + 1]));
    sum += static_cast<uint32_t>(WEIGHTS[i]) * static_cast<uint32_t>(pair);
  }
  const uint32_t absolute = sum & 0x80000000u ? 0u - sum : sum;
  return static_cast<int>(absolute % static_cast<uint32_t>(size)) + 1;
}

const char *nameAt(const char *names, int numchar, int k) { return names + static_cast<int64_t>(k - 1) * numchar; }

}  // namespace

int hashSizeFor(int n) {
  const int64_t size = 3 * static_cast<int64_t>(n) / 2 + 1;
  return size > INT32_MAX ? INT32_MAX : static_cast<int>(size);
}

void qrtfilnil_(int *table, int size, int first, int last) {
  for (int k = first; k <= last; ++k) table[static_cast<int64_t>(size) + k] = -1;
  table[0] = last;
}

void qrthash8(int *start, int *end, int *table, const int *size, int numchar, const char *names, const char *name) {
  if (*size <= 0) {
    *start = *end = 0;
    return;
  }
  int *chain = table + *size;
  if (*start == 0) {
    int k = table[bucketOf(name, numchar, *size)];
    while (k > 0 && memcmp(nameAt(names, numchar, k), name, static_cast<size_t>(numchar)) != 0) k = chain[k];
    *start = k > 0 ? k : 0;
    return;
  }
  if (*end > *size) *end = *size;
  const bool fresh = *start < 0;
  const int first = fresh ? -*start : *start;
  if (first > *end) {
    *start = *end = 0;
    return;
  }
  if (fresh) {
    memset(table + 1, 0, static_cast<size_t>(*size) * sizeof(int));
    qrtfilnil_(table, *size, 1, *end);
    *start = first;
  } else if (table[0] < *end) {
    qrtfilnil_(table, *size, table[0] + 1, *end);
  }
  for (int k = first; k <= *end; ++k) {
    if (chain[k] >= 0) {
      printf("Problems? ikey %d\n", k);
      continue;
    }
    const char *entered = nameAt(names, numchar, k);
    int *link = table + bucketOf(entered, numchar, *size);
    while (*link > 0) {
      if (memcmp(nameAt(names, numchar, *link), entered, static_cast<size_t>(numchar)) == 0) {
        *start = -*link;
        *end = k;
        return;
      }
      link = chain + *link;
    }
    *link = k;
    chain[k] = 0;
  }
}

int hashFind(const int *table, int size, int numchar, const char *names, Field field) {
  if (!table || field.length == 0) return 0;
  char name[SCN_NAME_LENGTH + 1];
  fieldToName(field, name, numchar);
  int start = 0, end = 0;
  // A search changes nothing in the table.
  qrthash8(&start, &end, const_cast<int *>(table), &size, numchar, names, name);
  return start;
}

int growingNames_add(GrowingNames *list, Field name) {
  bool rebuilt = false;
  if (list->count == list->capacity) {
    const int64_t capacity = list->capacity ? 2 * static_cast<int64_t>(list->capacity) : 16;
    list->capacity = capacity > INT32_MAX / 4 ? INT32_MAX / 4 : static_cast<int>(capacity);
    *list->names = static_cast<char *>(
        qrts__realloc("qrts_Csmps", *list->names, static_cast<int64_t>(list->capacity) * list->numchar));
    *list->size = hashSizeFor(list->capacity);
    free(*list->table);
    const int64_t words = static_cast<int64_t>(*list->size) + list->capacity + 1;
    *list->table = static_cast<int *>(qrts__alloc("qrts_Csmps", words * static_cast<int64_t>(sizeof(int)), 0));
    rebuilt = true;
  }
  fieldToName(name, *list->names + static_cast<int64_t>(list->count) * list->numchar, list->numchar);
  const int number = list->count + 1;
  int start = rebuilt ? -1 : number, end = number;
  qrthash8(&start, &end, *list->table, list->size, list->numchar, *list->names, nullptr);
  if (start > 0) {
    list->count = number;
    return number;
  }
  // The refused name must not stay marked as a place of the table.
  (*list->table)[0] = list->count;
  return start;
}

int growingNames_find(const GrowingNames *list, Field name) {
  return hashFind(*list->table, *list->size, list->numchar, *list->names, name);
}
