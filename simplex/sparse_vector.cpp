// Sparse vectors: life, clearing and packing of the record in sparse_vector.h.
#include "simplex/sparse_vector.h"

#include <cmath>
#include <cstring>

#include "frame/guarded_memory.h"

void sparseVector_allocate(SparseVector *vector, int size) {
  sparseVector_free(vector);
  vector->index = static_cast<int32_t *>(guardedAllocate(int64_t(size) + 1, sizeof(int32_t)));
  vector->value = static_cast<double *>(guardedAllocateZero(int64_t(size) + 1, sizeof(double)));
  vector->size = size;
  vector->count = 0;
}

void sparseVector_free(SparseVector *vector) {
  if (vector->index) qrt__free(vector->index);
  if (vector->value) qrt__free(vector->value);
  *vector = SparseVector{};
}

void sparseVector_clear(SparseVector *vector) {
  // A sweep moves eight bytes a row in order, the list one scattered write an entry: about ten times dearer.
  if (vector->count < 0 || vector->count > vector->size / 8)
    std::memset(vector->value, 0, (size_t(vector->size) + 1) * sizeof(double));
  else
    for (int k = 0; k < vector->count; k++) vector->value[vector->index[k]] = 0.0;
  vector->value[0] = 0.0;
  vector->count = 0;
}

void sparseVector_pack(SparseVector *vector) {
  double *value = vector->value;
  int32_t *index = vector->index;
  const int size = vector->size;
  int count = 0, i = 1;
  const auto look = [&](int row) {
    const double x = value[row];
    if (x == 0.0) return;
    if (std::fabs(x) > TINY_VALUE)
      index[count++] = row;
    else
      value[row] = 0.0;
  };
  // Most of a sparse vector goes by in fours: one test of their bits, sign bits left out.
  for (; i + 3 <= size; i += 4) {
    uint64_t bits[4];
    std::memcpy(bits, value + i, sizeof bits);
    if (((bits[0] | bits[1] | bits[2] | bits[3]) << 1) == 0) continue;
    for (int row = i; row < i + 4; row++) look(row);
  }
  for (; i <= size; i++) look(i);
  vector->count = count;
}

void sparseVector_clean(SparseVector *vector, double tolerance) {
  if (vector->count < 0) sparseVector_pack(vector);
  int count = 0;
  for (int k = 0; k < vector->count; k++) {
    const int row = vector->index[k];
    if (std::fabs(vector->value[row]) > tolerance)
      vector->index[count++] = row;
    else
      vector->value[row] = 0.0;
  }
  vector->count = count;
}

void sparseVector_copy(const SparseVector *from, SparseVector *to) {
  sparseVector_clear(to);
  if (from->count < 0) {
    std::memcpy(to->value, from->value, (size_t(from->size) + 1) * sizeof(double));
  } else {
    for (int k = 0; k < from->count; k++) {
      const int row = from->index[k];
      to->index[k] = row;
      to->value[row] = from->value[row];
    }
  }
  to->count = from->count;
}

const char *sparseVector_check(const SparseVector *vector) {
  if (vector->size < 0) return "negative size";
  if (vector->count < 0) return nullptr;
  if (vector->count > vector->size) return "list longer than the vector";
  // Each listed row hands its list place to the sum below; a row listed twice or left out breaks the balance of
  // counts or of sums of squares of the row numbers.
  int64_t listed = 0, nonzeros = 0;
  uint64_t listedSum = 0, nonzeroSum = 0;
  for (int k = 0; k < vector->count; k++) {
    const int row = vector->index[k];
    if (row < 1 || row > vector->size) return "row out of range";
    if (vector->value[row] == 0.0) continue;
    listed++;
    listedSum += uint64_t(row) * uint64_t(row) * 2654435761u;
  }
  for (int i = 1; i <= vector->size; i++) {
    if (vector->value[i] == 0.0) continue;
    nonzeros++;
    nonzeroSum += uint64_t(i) * uint64_t(i) * 2654435761u;
  }
  if (listed < nonzeros) return "nonzero off the list";
  if (listed > nonzeros || listedSum != nonzeroSum) return "row listed twice";
  return nullptr;
}
