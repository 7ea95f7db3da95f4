// FTRAN: x := B^-1 x, through L, R and U, each by search or by sweep.
#include <cmath>
#include <cstring>

#include "simplex/solve_choice.h"
#include "simplex/walk.h"

namespace {

// ---- L

void lowerSearch(FactorArrays *a, SparseVector *x, int found) {
  double *value = x->value;
  int count = 0;
  for (int k = found - 1; k >= 0; k--) {
    const int row = a->searchList[k];
    const double pivot = value[row];
    if (isTiny(pivot)) {
      value[row] = 0.0;
      continue;
    }
    x->index[count++] = row;
    const int e = a->lEtaOfRow[row];
    if (e < 0) continue;
    subtractAlong(value, a->lStore.index, a->lStore.value, a->lStart[e], a->lStart[e + 1], pivot);
  }
  x->count = count;
}

int64_t lowerSweep(FactorArrays *a, double *value, int first) {
  const int32_t *index = a->lStore.index, *start = a->lStart, *pivotRow = a->lPivotRow;
  const double *element = a->lStore.value;
  const int number = a->lNumber;
  int64_t work = number - first;
  for (int e = first; e < number; e++) {
    const double pivot = value[pivotRow[e]];
    if (pivot == 0.0) continue;
    if (isTiny(pivot)) {
      value[pivotRow[e]] = 0.0;
      continue;
    }
    const int end = start[e + 1];
    work += end - start[e];
    subtractAlong(value, index, element, start[e], end, pivot);
  }
  return work;
}

// Eta from which a listed vector can make a difference.
int firstEta(const FactorArrays *a, const SparseVector *x) {
  int first = a->lNumber;
  for (int k = 0; k < x->count; k++) {
    const int e = a->lEtaOfRow[x->index[k]];
    if (e >= 0 && e < first) first = e;
  }
  return first;
}

void lowerEtas(Factor *factor, SparseVector *x, SolveKind kind) {
  FactorArrays *a = factor->arrays;
  const int m = factor->m;
  int first = 0;
  if (x->count >= 0) {
    first = firstEta(a, x);
    if (first == a->lNumber) return;
    if (searchPays(m, x->count, a->partDensity[kind])) {
      const SearchGraph graph = {a->lStore.index, a->lStart, nullptr, a->lEtaOfRow, nullptr};
      const int found = symbolicSearch(a, &graph, x->index, x->count, searchLimit(m));
      if (found >= 0) {
        lowerSearch(a, x, found);
        factor->solveWork += 4.0 * found;
        return;
      }
    }
  }
  factor->solveWork += double(lowerSweep(a, x->value, first));
  x->count = LIST_UNKNOWN;
}

void lower(Factor *factor, SparseVector *x, SolveKind kind) {
  FactorArrays *a = factor->arrays;
  if (a->lNumber) lowerEtas(factor, x, kind);
  if (!a->tailSize) return;
  const int64_t work = tail_lower(a, x->value);
  factor->solveWork += double(work);
  if (work) tail_relist(a, x);
}

// ---- R

void rowEtas(Factor *factor, SparseVector *x) {
  const FactorArrays *a = factor->arrays;
  double *value = x->value;
  const int32_t *index = a->rStore.index;
  const double *element = a->rStore.value;
  for (int e = 0; e < factor->etaNumber; e++) {
    const int end = a->rStart[e + 1];
    double sum = 0.0;
    for (int p = a->rStart[e]; p < end; p++) sum += value[index[p]] * element[p];
    if (sum == 0.0) continue;
    const int row = a->rRow[e];
    const double old = value[row], x1 = old - sum;
    if (old == 0.0 && x->count >= 0) x->index[x->count++] = row;
    value[row] = std::fabs(x1) <= TINY_VALUE ? CANCELLED_VALUE : x1;
  }
  factor->solveWork += factor->etaCount;
}

void keepSpike(Factor *factor, const SparseVector *x) {
  FactorArrays *a = factor->arrays;
  int count = 0;
  if (x->count >= 0) {
    for (int k = 0; k < x->count; k++) {
      const int row = x->index[k];
      const double v = x->value[row];
      if (std::fabs(v) <= TINY_VALUE) continue;
      a->spikeIndex[count] = row;
      a->spikeValue[count++] = v;
    }
  } else {
    for (int row = 1; row <= factor->m; row++) {
      const double v = x->value[row];
      if (v == 0.0 || std::fabs(v) <= TINY_VALUE) continue;
      a->spikeIndex[count] = row;
      a->spikeValue[count++] = v;
    }
  }
  a->spikeCount = count;
}

// ---- U

// Positions from..to, downward; the rows found go to the list from `count` on. Returns the new count.
int sweepPart(const FactorArrays *a, double *value, int32_t *list, int count, int from, int to, int64_t *work) {
  int64_t elements = 0;
  for (int k = from; k >= to; k--) {
    const int row = a->order[k];
    if (row && stepAlongUpper(value, row, a->pivotInverse, a->uColumns, a->uColumnStore, &elements)) list[count++] = row;
  }
  *work += elements;
  return count;
}

int tailPart(FactorArrays *a, double *value, int32_t *list, int count, int64_t *work) {
  const int64_t done = tail_upper(a, value);
  if (done == 0) return count;
  *work += done;
  for (int t = a->tailSize - 1; t >= 0; t--) {
    const int row = a->tailUpperRow[t];
    if (!row) continue;
    const double v = value[row];
    if (v == 0.0) continue;
    list[count++] = row;
    const int start = a->uColumns.start[row], end = start + a->uColumns.length[row];
    *work += end - start;
    subtractAlong(value, a->uColumnStore.index, a->uColumnStore.value, start, end, v);
  }
  return count;
}

// From position `last` down, leaving the list of the result: what came after the tail, the tail, what came before it.
// The logicals at the head of the order have unit columns: they are only listed.
int64_t upperSweep(FactorArrays *a, SparseVector *x, int last) {
  double *value = x->value;
  int32_t *list = x->index;
  int64_t work = last + 1;
  int count = 0, next = last;
  if (a->tailSize) {
    count = sweepPart(a, value, list, count, last, a->tailEnd, &work);
    if (last >= a->tailFirst) {
      count = tailPart(a, value, list, count, &work);
      next = a->tailFirst - 1;
    }
  }
  count = sweepPart(a, value, list, count, next, a->orderLogicals, &work);
  for (int k = next < a->orderLogicals ? next : a->orderLogicals - 1; k >= 0; k--) {
    const int row = a->order[k];
    const double v = value[row];
    if (v == 0.0 || row == 0) continue;
    if (isTiny(v))
      value[row] = 0.0;
    else
      list[count++] = row;
  }
  x->count = count;
  return work;
}

void upper(Factor *factor, SparseVector *x, SolveKind kind) {
  FactorArrays *a = factor->arrays;
  const int m = factor->m;
  int last = a->orderEnd - 1;
  if (x->count >= 0) {
    if (searchPays(m, x->count, factor->density[kind])) {
      const SearchGraph graph = {a->uColumnStore.index, a->uColumns.start, a->uColumns.length, nullptr,
                                 a->tailSize ? a->tailStep : nullptr};
      const int found = symbolicSearch(a, &graph, x->index, x->count, searchLimit(m));
      if (found >= 0) {
        walkFoundUpper(a, x, found, a->uColumns, a->uColumnStore);
        factor->solveWork += 4.0 * found;
        return;
      }
    }
    last = -1;
    for (int k = 0; k < x->count; k++) {
      const int position = a->orderPosition[x->index[k]];
      if (position > last) last = position;
    }
  }
  factor->solveWork += double(upperSweep(a, x, last));
}

void solve(Factor *factor, SparseVector *x, SolveKind kind, bool keep) {
  FactorArrays *a = factor->arrays;
  if (x->count < 0) sparseVector_pack(x);
  if (x->count == 0) {
    if (keep) a->spikeCount = 0;
    factor->lastCount = 0;
    return;
  }
  lower(factor, x, kind);
  notePartDensity(a, kind, x, factor->m);
  if (factor->etaNumber) rowEtas(factor, x);
  if (keep) keepSpike(factor, x);
  upper(factor, x, kind);
  noteDensity(&factor->density[kind], x->count, factor->m);
  factor->lastCount = x->count;
}

}  // namespace

void qrtftrn(Factor *factor, SparseVector *x, SolveKind kind) { solve(factor, x, kind, false); }

void qrtftrn_ft(Factor *factor, SparseVector *x) { solve(factor, x, SOLVE_COLUMN, true); }

void qrtftrn_dense(Factor *factor, double *value) {
  SparseVector x = factor->arrays->work;
  x.value = value;
  x.count = LIST_UNKNOWN;
  solve(factor, &x, SOLVE_RHS, false);
}
