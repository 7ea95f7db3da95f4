// Two vectors side by side: what the paired solves share.
#pragma once

#include <cmath>

#include "simplex/factor_arrays.h"

typedef double Pair __attribute__((vector_size(16)));
// In memory: guarded blocks are aligned for doubles only, and the same places are read as doubles too.
typedef double StoredPair __attribute__((vector_size(16), aligned(8), may_alias));

// Expected density of each from which a walk is shared.
constexpr double SHARE_DENSITY = 0.15;

inline bool bothTiny(Pair v) {
  return std::fabs(v[0]) <= TINY_VALUE && std::fabs(v[1]) <= TINY_VALUE;
}

inline void subtractAlong(StoredPair *value, const int32_t *index, const double *element, int start, int end, Pair v) {
  for (int p = start; p < end; p++) {
    const double e = element[p];
    value[index[p]] -= v * Pair{e, e};
  }
}

// One step of a walk over U: divides the pair at `row` by the pivot and takes it off along the line of U that belongs to
// it, a row of U or a column. The length of that line, or 0 where both values are zero or too small to count.
inline int64_t stepAlongUpper(StoredPair *value, int row, double pivotInverse, const StoreLists &lines,
                              const int32_t *index, const double *element) {
  Pair v = value[row];
  if (v[0] == 0.0 && v[1] == 0.0) return 0;
  if (bothTiny(v)) {
    value[row] = Pair{0.0, 0.0};
    return 0;
  }
  v *= Pair{pivotInverse, pivotInverse};
  value[row] = v;
  const int start = lines.start[row], stop = start + lines.length[row];
  subtractAlong(value, index, element, start, stop, v);
  return stop - start;
}

// Moves both lanes to their vectors with lists, dropping what is tiny, and leaves the pairs zero.
inline void gatherPair(FactorArrays *a, int m, SparseVector *x, SparseVector *y) {
  int xCount = 0, yCount = 0;
  for (int i = 1; i <= m; i++) {
    const double u = a->pairs[2 * i], v = a->pairs[2 * i + 1];
    a->pairs[2 * i] = a->pairs[2 * i + 1] = 0.0;
    const bool keepX = std::fabs(u) > TINY_VALUE, keepY = std::fabs(v) > TINY_VALUE;
    x->value[i] = keepX ? u : 0.0;
    y->value[i] = keepY ? v : 0.0;
    x->index[xCount] = i;
    xCount += keepX;
    y->index[yCount] = i;
    yCount += keepY;
  }
  x->count = xCount;
  y->count = yCount;
}
