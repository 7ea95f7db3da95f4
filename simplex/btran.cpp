// BTRAN: x := B^-T x, through U, R and L transposed, each by search or by sweep.
#include <cmath>
#include <cstring>

#include "simplex/solve_choice.h"
#include "simplex/walk.h"

namespace {

// ---- U transposed: along the rows of U, in pivot order

int64_t sweepPart(const FactorArrays *a, double *value, int from, int end) {
  int64_t elements = 0;
  for (int k = from; k < end; k++)
    if (a->order[k]) stepAlongUpper(value, a->order[k], a->pivotInverse, a->uRows, a->uRowStore, &elements);
  return elements;
}

int64_t tailPart(FactorArrays *a, double *value) {
  int64_t work = tail_upperTransposed(a, value);
  if (work == 0) return 0;
  for (int t = 0; t < a->tailSize; t++) {
    const int row = a->tailUpperRow[t];
    if (!row) continue;
    const double v = value[row];
    if (v == 0.0) continue;
    const int start = a->uRows.start[row], end = start + a->uRows.length[row];
    work += end - start;
    subtractAlong(value, a->uRowStore.index, a->uRowStore.value, start, end, v);
  }
  return work;
}

int64_t upperSweep(FactorArrays *a, double *value, int first) {
  int64_t work = a->orderEnd - first;
  if (a->tailSize && first < a->tailEnd) {
    work += sweepPart(a, value, first, a->tailFirst);
    work += tailPart(a, value);
    first = a->tailEnd;
  }
  return work + sweepPart(a, value, first, a->orderEnd);
}

void upper(Factor *factor, SparseVector *x, SolveKind kind) {
  FactorArrays *a = factor->arrays;
  const int m = factor->m;
  int first = 0;
  if (x->count >= 0) {
    if (searchPays(m, x->count, a->partDensity[kind])) {
      const SearchGraph graph = {a->uRowStore.index, a->uRows.start, a->uRows.length, nullptr,
                                 a->tailSize ? a->tailStep : nullptr};
      const int found = symbolicSearch(a, &graph, x->index, x->count, searchLimit(m));
      if (found >= 0) {
        walkFoundUpper(a, x, found, a->uRows, a->uRowStore);
        factor->solveWork += 4.0 * found;
        return;
      }
    }
    first = a->orderEnd;
    for (int k = 0; k < x->count; k++) {
      const int position = a->orderPosition[x->index[k]];
      if (position < first) first = position;
    }
  }
  factor->solveWork += double(upperSweep(a, x->value, first));
  x->count = LIST_UNKNOWN;
}

// ---- R transposed: backward, each eta only when its row is not zero

void rowEtas(Factor *factor, SparseVector *x) {
  const FactorArrays *a = factor->arrays;
  double *value = x->value;
  const int32_t *index = a->rStore.index;
  const double *element = a->rStore.value;
  int64_t work = factor->etaNumber;
  for (int e = factor->etaNumber - 1; e >= 0; e--) {
    const double v = value[a->rRow[e]];
    if (isTiny(v)) continue;
    const int end = a->rStart[e + 1];
    work += end - a->rStart[e];
    if (x->count < 0) {
      subtractAlong(value, index, element, a->rStart[e], end, v);
    } else {
      for (int p = a->rStart[e]; p < end; p++) {
        const int row = index[p];
        const double old = value[row], x1 = old - v * element[p];
        if (old == 0.0) x->index[x->count++] = row;
        value[row] = std::fabs(x1) <= TINY_VALUE ? CANCELLED_VALUE : x1;
      }
    }
  }
  factor->solveWork += double(work);
}

// ---- L transposed: along the row copy of L, backward in the factorisation's order

void lowerSearch(FactorArrays *a, SparseVector *x, int found) {
  double *value = x->value;
  int count = 0;
  for (int k = found - 1; k >= 0; k--) {
    const int row = a->searchList[k];
    const double v = value[row];
    if (isTiny(v)) {
      value[row] = 0.0;
      continue;
    }
    x->index[count++] = row;
    subtractAlong(value, a->lRowStore.index, a->lRowStore.value, a->lRowStart[row], a->lRowStart[row + 1], v);
  }
  x->count = count;
}

int64_t lowerSweep(FactorArrays *a, double *value) {
  const int32_t *index = a->lRowStore.index, *start = a->lRowStart;
  const double *element = a->lRowStore.value;
  int64_t work = a->lOrderLength;
  for (int k = a->lOrderLength - 1; k >= 0; k--) {
    const int row = a->lOrder[k];
    const double v = value[row];
    if (v == 0.0) continue;
    if (isTiny(v)) {
      value[row] = 0.0;
      continue;
    }
    const int end = start[row + 1];
    work += end - start[row];
    subtractAlong(value, index, element, start[row], end, v);
  }
  return work;
}

void lower(Factor *factor, SparseVector *x, SolveKind kind) {
  FactorArrays *a = factor->arrays;
  const int m = factor->m;
  if (a->tailSize) {
    const int64_t work = tail_lowerTransposed(a, x->value);
    factor->solveWork += double(work);
    if (work) tail_relist(a, x);
  }
  if (a->lNumber == 0) {
    sparseVector_clean(x, TINY_VALUE);
    return;
  }
  if (x->count >= 0 && searchPays(m, x->count, factor->density[kind])) {
    const SearchGraph graph = {a->lRowStore.index, a->lRowStart, nullptr, nullptr, nullptr};
    const int found = symbolicSearch(a, &graph, x->index, x->count, searchLimit(m));
    if (found >= 0) {
      lowerSearch(a, x, found);
      factor->solveWork += 4.0 * found;
      return;
    }
  }
  factor->solveWork += double(lowerSweep(a, x->value));
  sparseVector_pack(x);
}

// What U leaves of a unit vector is, but for a factor, the row eta of an update of that row.
void keepEta(Factor *factor, const SparseVector *x, int row, double scale) {
  FactorArrays *a = factor->arrays;
  const double factorOfEta = -1.0 / (scale * a->pivotInverse[row]);
  int count = 0;
  const auto keep = [&](int i) {
    const double v = x->value[i];
    if (v == 0.0 || i == row) return;
    const double y = v * factorOfEta;
    if (std::fabs(y) <= TINY_VALUE) return;
    a->keptEtaIndex[count] = i;
    a->keptEtaValue[count++] = y;
  };
  if (x->count >= 0)
    for (int k = 0; k < x->count; k++) keep(x->index[k]);
  else
    for (int i = 1; i <= factor->m; i++) keep(i);
  a->keptEtaCount = count;
  a->keptEtaRow = row;
}

void solve(Factor *factor, SparseVector *x, SolveKind kind, int keepRow, double scale) {
  FactorArrays *a = factor->arrays;
  if (x->count < 0) sparseVector_pack(x);
  if (x->count == 0) {
    factor->lastCount = 0;
    return;
  }
  upper(factor, x, kind);
  notePartDensity(a, kind, x, factor->m);
  if (keepRow) keepEta(factor, x, keepRow, scale);
  if (factor->etaNumber) rowEtas(factor, x);
  lower(factor, x, kind);
  noteDensity(&factor->density[kind], x->count, factor->m);
  factor->lastCount = x->count;
}

}  // namespace

void qrtbtju(Factor *factor, SparseVector *x, SolveKind kind) { upper(factor, x, kind); }

void qrtbtrn(Factor *factor, SparseVector *x, SolveKind kind) { solve(factor, x, kind, 0, 1.0); }

void qrtbtrn_row(Factor *factor, int row, double scale, SparseVector *x) {
  x->value[row] = scale;
  x->index[0] = row;
  x->count = 1;
  solve(factor, x, SOLVE_ROW, row, scale);
}

void qrtbtrn_dense(Factor *factor, double *value) {
  SparseVector x = factor->arrays->work;
  x.value = value;
  x.count = LIST_UNKNOWN;
  solve(factor, &x, SOLVE_DUALS, 0, 1.0);
}
