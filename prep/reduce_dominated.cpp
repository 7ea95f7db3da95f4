// Columns that another one can replace at no higher cost and no harm: they stay at their lower bound.
//
// Column k, without upper bound, dominates column j with t > 0 when
//
//     a_ij  = t a_ik  in every row with two sides,
//     a_ij >= t a_ik  in rows with an upper side only,  a_ij <= t a_ik  in rows with a lower side only,  c_j >= t c_k.
//
// Any x_j above its bound may then be handed over, t for one, to x_k. In duals: with the signs that one-sided rows give
// theirs, d_j >= t d_k >= 0, so that the column comes back at its bound and nothing else moves. Proportional columns are
// a special case that is dealt with elsewhere. (G. Gamrath and others, Progress in presolving for mixed integer programming,
// Math. Prog. Comp. 7, 2015, on dominated columns.)
#include <algorithm>
#include <cmath>

#include "frame/guarded_memory.h"
#include "prep/presolve.h"

namespace {

constexpr double SAME = 1.0e-12;
constexpr int DOMINATORS = 8;   // of a group that a column is held against

// A column in the search: what must agree up to the factor, and the price of one unit.
struct Candidate {
  uint64_t pattern;   // of its rows with two sides, and the sign of the first of them
  float sum;          // weighted elements there, divided by the first in size
  double price, size; // cost / size, size of the first element
  int column;
};

uint64_t mixed(uint64_t x) {
  x += 0x9e3779b97f4a7c15u;
  x = (x ^ (x >> 30)) * 0xbf58476d1ce4e5b9u;
  x = (x ^ (x >> 27)) * 0x94d049bb133111ebu;
  return x ^ (x >> 31);
}

bool twoSided(const Presolve *p, int row) { return hasLower(p->rowLower[row]) && hasUpper(p->rowUpper[row]); }

// False for a column that no row with two sides holds: there is nothing to find the factor by.
bool describe(const Presolve *p, int column, Candidate *c) {
  int first = INT32_MAX;
  double lead = 0.0;
  for (int e = p->columnFirst[column]; e >= 0; e = p->entry[e].columnNext)
    if (p->entry[e].row < first && twoSided(p, p->entry[e].row)) first = p->entry[e].row, lead = p->entry[e].value;
  if (first == INT32_MAX) return false;
  *c = {lead > 0.0 ? 1u : 0u, 0.0f, 0.0, std::fabs(lead), column};
  double sum = 0.0;
  for (int e = p->columnFirst[column]; e >= 0; e = p->entry[e].columnNext) {
    const PresolveEntry &x = p->entry[e];
    if (!twoSided(p, x.row)) continue;
    c->pattern += mixed(uint64_t(x.row) + 2);
    sum += (0.5 + double(mixed(uint64_t(x.row)) >> 11) * 0x1p-53) * (x.value / c->size);
  }
  c->sum = float(sum);
  c->price = p->cost[column] / c->size;
  return true;
}

bool before(const Candidate &a, const Candidate &b) {
  if (a.pattern != b.pattern) return a.pattern < b.pattern;
  if (a.sum != b.sum) return a.sum < b.sum;
  if (a.price != b.price) return a.price < b.price;
  return a.column < b.column;
}

// What column j has more than t times column k in a row, and whether that can only help.
bool rowAllows(const Presolve *p, int row, double own, double share) {
  const double more = own - share, noise = SAME * (std::fabs(own) + std::fabs(share));
  if (hasUpper(p->rowUpper[row]) && more < -noise) return false;
  return !hasLower(p->rowLower[row]) || more <= noise;
}

// Elements of the column in hand by row; `owner` says whose they are.
struct Scatter {
  double *value;
  int *owner;
};

bool dominates(const Presolve *p, const Scatter &held, int k, int j, double times) {
  if (p->cost[j] < times * p->cost[k] - SAME * std::fabs(times * p->cost[k])) return false;
  int met = 0;
  for (int e = p->columnFirst[k]; e >= 0; e = p->entry[e].columnNext) {
    const int row = p->entry[e].row;
    const bool both = held.owner[row] == j;
    met += both;
    if (!rowAllows(p, row, both ? held.value[row] : 0.0, times * p->entry[e].value)) return false;
  }
  if (met == p->columnCount[j]) return true;
  for (int e = p->columnFirst[j]; e >= 0; e = p->entry[e].columnNext) {
    const int row = p->entry[e].row;
    if (findEntry(p, row, k) < 0 && !rowAllows(p, row, p->entry[e].value, 0.0)) return false;
  }
  return true;
}

// Without upper bound, or with one that rows imply and that can go.
bool unlimited(Presolve *p, int column) {
  if (!hasUpper(p->upper[column])) return true;
  if (!boundImplied(p, column, 1, true)) return false;
  changeBounds(p, column, p->lower[column], QRT_INFINITY);
  return true;
}

bool mayDominate(const Presolve *p, int column) { return boundImplied(p, column, 1, false); }

// One group of candidates with the same pattern, cheapest first.
int searchGroup(Presolve *p, const Candidate *list, int count, const Scatter &held) {
  int dominator[DOMINATORS], known = 0, done = 0;
  for (int c = 0; c < count; c++) {
    const int j = list[c].column;
    bool gone = false;
    if (known > 0 && hasLower(p->lower[j])) {
      for (int e = p->columnFirst[j]; e >= 0; e = p->entry[e].columnNext) {
        held.value[p->entry[e].row] = p->entry[e].value;
        held.owner[p->entry[e].row] = j;
      }
      const int most = known < DOMINATORS ? known : DOMINATORS;
      for (int d = 0; d < most && !gone; d++) {
        const Candidate &k = list[dominator[d]];
        if (!dominates(p, held, k.column, j, list[c].size / k.size) || !unlimited(p, k.column)) continue;
        fixColumn(p, j, p->lower[j], REDUCTION_DOMINATED, MARK_AT_LOWER);
        p->log->record[p->log->count - 1].other = k.column;
        gone = true;
        done++;
      }
    }
    if (!gone && mayDominate(p, j)) dominator[known++ % DOMINATORS] = c;
  }
  return done;
}

}  // namespace

int fixDominatedColumns(Presolve *p) {
  Candidate *list = static_cast<Candidate *>(temporaryAllocate(p->model, int64_t(p->n) + 1, sizeof(Candidate)));
  Scatter held = {static_cast<double *>(temporaryAllocate(p->model, int64_t(p->m) + 1, sizeof(double))),
                  static_cast<int *>(temporaryAllocate(p->model, int64_t(p->m) + 1, sizeof(int)))};
  for (int i = 0; i < p->m; i++) held.owner[i] = -1;
  int count = 0, done = 0;
  for (int j = 0; j < p->n; j++)
    if (columnAlive(p, j) && p->columnKind[j] == COLUMN_CONTINUOUS && p->upper[j] - p->lower[j] > PRESOLVE_ZERO) count += describe(p, j, &list[count]);
  std::sort(list, list + count, before);
  for (int first = 0, next; first < count; first = next) {
    for (next = first + 1; next < count && list[next].pattern == list[first].pattern && list[next].sum == list[first].sum;) next++;
    if (next - first > 1) done += searchGroup(p, list + first, next - first, held);
  }
  qrt_freeTemporary(p->model, held.owner);
  qrt_freeTemporary(p->model, held.value);
  qrt_freeTemporary(p->model, list);
  return done;
}
