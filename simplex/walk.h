// Steps of the walks through the factor, the same for one vector (`double`) and for two that lie side by side (`Pair`).
#pragma once

#include <cmath>
#include <cstring>

#include "simplex/factor_arrays.h"

typedef double Pair __attribute__((vector_size(16)));
// In memory: guarded blocks are aligned for doubles only, and the same places are read as doubles too.
struct StoredPair {
  double lane[2];
};

inline double load(const double &place) { return place; }
inline void store(double &place, double v) { place = v; }
inline Pair load(const StoredPair &place) {
  Pair v;
  std::memcpy(&v, place.lane, sizeof v);
  return v;
}
inline void store(StoredPair &place, Pair v) { std::memcpy(place.lane, &v, sizeof v); }

// Expected density of each of two vectors from which a walk is shared.
constexpr double SHARE_DENSITY = 0.15;

inline bool isZero(double v) { return v == 0.0; }
inline bool isZero(Pair v) { return v[0] == 0.0 && v[1] == 0.0; }
inline bool isTiny(double v) { return v <= TINY_VALUE && v >= -TINY_VALUE; }
inline bool isTiny(Pair v) { return std::fabs(v[0]) <= TINY_VALUE && std::fabs(v[1]) <= TINY_VALUE; }
// A number as wide as a vector's values.
inline double spreadAs(double, double number) { return number; }
inline Pair spreadAs(Pair, double number) { return Pair{number, number}; }

template <class Stored, class Value>
inline void subtractAlong(Stored *value, const int32_t *index, const double *element, int start, int end, Value v) {
  for (int p = start; p < end; p++) store(value[index[p]], load(value[index[p]]) - v * spreadAs(v, element[p]));
}

// One step of a walk over U: divides what lies at `row` by the pivot and takes it off along the line of U that belongs to
// it, a row of U or a column. Nothing where that is zero; what is too small to count becomes zero.
// @return whether a value stayed; *elements grows by the length of the line.
template <class Stored>
inline bool stepAlongUpper(Stored *value, int row, const double *pivotInverse, const StoreLists &lines,
                           const ElementStore &ofLines, int64_t *elements) {
  auto v = load(value[row]);
  if (isZero(v)) return false;
  if (isTiny(v)) {
    store(value[row], spreadAs(v, 0.0));
    return false;
  }
  v *= spreadAs(v, pivotInverse[row]);
  store(value[row], v);
  const int start = lines.start[row], end = start + lines.length[row];
  *elements += end - start;
  subtractAlong(value, ofLines.index, ofLines.value, start, end, v);
  return true;
}

// The walk over the `found` rows of a symbolic search in U, its result listed.
inline void walkFoundUpper(const FactorArrays *a, SparseVector *x, int found, const StoreLists &lines,
                           const ElementStore &ofLines) {
  int count = 0;
  int64_t elements = 0;
  for (int k = found - 1; k >= 0; k--) {
    const int row = a->searchList[k];
    if (stepAlongUpper(x->value, row, a->pivotInverse, lines, ofLines, &elements)) x->index[count++] = row;
  }
  x->count = count;
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
