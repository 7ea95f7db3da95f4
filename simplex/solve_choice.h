// When a sparse solve searches for the pattern of its result and when it sweeps over all rows.
//
// A search costs a few times what the elements it meets cost a sweep; it pays when the result is sparse, which the
// results of earlier solves of the same kind foretell (Hall and McKinnon 2005).
#pragma once

#include "simplex/factor_arrays.h"

constexpr double SEARCH_DENSITY = 0.10;  // expected share of nonzeros up to which a search is tried
constexpr double SEARCH_START = 0.05;    // share of nonzeros in the right-hand side up to which it is tried
constexpr double DENSITY_MEMORY = 0.9;   // weight of the past in the running mean
constexpr int SEARCH_ROWS = 60;          // below this many rows a sweep is as cheap as anything

inline bool searchPays(int m, int count, double expected) {
  return m > SEARCH_ROWS && count <= SEARCH_START * m && expected <= SEARCH_DENSITY;
}

// Rows a search may find before it gives up in favour of a sweep.
inline int searchLimit(int m) { return m / 5; }

inline void noteDensity(double *mean, int count, int m) {
  *mean = DENSITY_MEMORY * *mean + (1.0 - DENSITY_MEMORY) * (double(count) / m);
}

// The density between the two triangular factors. After a sweep there is no list, and counting costs as much as the
// sweep's own overhead: then only every eighth time.
inline void notePartDensity(FactorArrays *a, SolveKind kind, const SparseVector *x, int m) {
  int count = x->count;
  if (count < 0) {
    if (a->sweeps++ & 7) return;
    count = 0;
    for (int i = 1; i <= m; i++) count += x->value[i] != 0.0;
  }
  noteDensity(&a->partDensity[kind], count, m);
}
