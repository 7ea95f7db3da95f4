// A vector over the rows of the basis with a list of its nonzeros: what every solve takes and gives.
//
// The rule that lets work follow nonzeros instead of m: `value` is zero everywhere except at the rows named in
// `index`, each named once. Whoever writes an entry puts it on the list; whoever is done clears the vector through
// the list. Between uses a vector is empty: count 0 and all values zero, so no loop over m is needed to start anew.
#pragma once

#include <cstdint>

#include "frame/model_record.h"

struct SparseVector {
  int32_t size;    // m; rows are numbered 1..size
  int32_t count;   // entries of index; LIST_UNKNOWN: the list does not hold and any value may be nonzero
  int32_t *index;  // [size+1] rows of the nonzeros at 0..count-1, in no order; owned
  double *value;   // [size+1] the vector; [0] belongs to the caller and is never read by a solve; owned
};

enum : int32_t { LIST_UNKNOWN = -1 };

// What rounding leaves of a zero; results of solves hold nothing smaller.
constexpr double TINY_VALUE = 1.0e-14;
// Stands for a value that cancelled to zero while its row stays on the list.
constexpr double CANCELLED_VALUE = 1.0e-50;

// Two guarded blocks, values zero, list empty. The vector must be zero bytes or hold blocks of an earlier call,
// which are released. Leaves by the fatal return when there is no memory.
void sparseVector_allocate(SparseVector *vector, int size);
void sparseVector_free(SparseVector *vector);

// Back to empty: through the list when it is short, else by one sweep.
void sparseVector_clear(SparseVector *vector);
// Makes the list anew by a scan, dropping values of at most TINY_VALUE.
void sparseVector_pack(SparseVector *vector);
// Drops listed values of at most `tolerance` from value and list.
void sparseVector_clean(SparseVector *vector, double tolerance);
// Values and list of `from` into `to`, which is cleared first; sizes agree.
void sparseVector_copy(const SparseVector *from, SparseVector *to);

// Adds `amount` at `row`. A sum that cancels stays on the list as CANCELLED_VALUE, so the row is never listed twice.
inline void sparseVector_add(SparseVector *vector, int row, double amount) {
  const double old = vector->value[row];
  const double sum = old + amount;
  if (old == 0.0) vector->index[vector->count++] = row;
  vector->value[row] = sum > -TINY_VALUE && sum < TINY_VALUE ? CANCELLED_VALUE : sum;
}

// First broken rule as text, or null: index out of range, row listed twice, nonzero off the list.
const char *sparseVector_check(const SparseVector *vector);
