// Rows that other rows imply: with the bounds that those put on its columns a row's activity cannot leave its sides, so it
// goes; it comes back basic, with dual 0.
//
// The bounds are taken one step deep: from one row and the true bounds of its other columns. A row is never held against
// bounds that it implied itself, and a bound is good only as long as its row is there, so every proof rests on rows that
// stay, and no ring of rows can talk each other out of the program. Nothing of these bounds goes out: columns keep theirs.
#include <cmath>

#include "frame/guarded_memory.h"
#include "prep/presolve.h"

namespace {

constexpr double LARGEST_BOUND = 1.0e8;  // an implied bound beyond it has too few digits behind the point

// The tightest bounds that rows imply, and the rows they are from; [n] each.
struct ImpliedBounds {
  double *lower, *upper;
  int *lowerFrom, *upperFrom;  // -1: the column's own
};

ImpliedBounds newBounds(const Presolve *p) {
  ImpliedBounds b;
  b.lower = static_cast<double *>(temporaryAllocate(p->model, int64_t(p->n) + 1, sizeof(double)));
  b.upper = static_cast<double *>(temporaryAllocate(p->model, int64_t(p->n) + 1, sizeof(double)));
  b.lowerFrom = static_cast<int *>(temporaryAllocate(p->model, int64_t(p->n) + 1, sizeof(int)));
  b.upperFrom = static_cast<int *>(temporaryAllocate(p->model, int64_t(p->n) + 1, sizeof(int)));
  for (int j = 0; j < p->n; j++) {
    b.lower[j] = p->lower[j];
    b.upper[j] = p->upper[j];
    b.lowerFrom[j] = b.upperFrom[j] = -1;
  }
  return b;
}

void release(const Presolve *p, const ImpliedBounds &b) {
  qrt_freeTemporary(p->model, b.lower);
  qrt_freeTemporary(p->model, b.upper);
  qrt_freeTemporary(p->model, b.lowerFrom);
  qrt_freeTemporary(p->model, b.upperFrom);
}

void offer(ImpliedBounds *b, int column, bool upper, double value, int row) {
  if (std::fabs(value) > LARGEST_BOUND) return;
  if (upper && value < b->upper[column]) b->upper[column] = value, b->upperFrom[column] = row;
  if (!upper && value > b->lower[column]) b->lower[column] = value, b->lowerFrom[column] = row;
}

bool finite(double bound) { return std::fabs(bound) < QRT_INFINITE_TEST; }

// Bounds that one row implies on each of its columns.
void implyBounds(const Presolve *p, int row, ImpliedBounds *b) {
  const PresolveActivity &kept = p->activity[row];  // its counts are exact
  const double low = p->rowLower[row], high = p->rowUpper[row];
  const bool byUpper = hasUpper(high) && kept.leastInfinite <= 1, byLower = hasLower(low) && kept.mostInfinite <= 1;
  if (!byUpper && !byLower) return;
  const PresolveActivity all = computeActivity(p, row, -1);
  for (int e = p->rowFirst[row]; e >= 0; e = p->entry[e].rowNext) {
    const int j = p->entry[e].column;
    const double a = p->entry[e].value;
    const double atLeast = a > 0.0 ? p->lower[j] : p->upper[j], atMost = a > 0.0 ? p->upper[j] : p->lower[j];
    if (byUpper && all.leastInfinite == (finite(atLeast) ? 0 : 1))
      offer(b, j, a > 0.0, (high - (all.least - (finite(atLeast) ? a * atLeast : 0.0))) / a, row);
    if (byLower && all.mostInfinite == (finite(atMost) ? 0 : 1))
      offer(b, j, a < 0.0, (low - (all.most - (finite(atMost) ? a * atMost : 0.0))) / a, row);
  }
}

// Can the row's activity leave its sides, with what other live rows say of its columns?
bool impliedByOthers(const Presolve *p, int row, const ImpliedBounds &b) {
  double least = 0.0, most = 0.0, size = 0.0;
  const bool floored = hasLower(p->rowLower[row]), bounded = hasUpper(p->rowUpper[row]);
  for (int e = p->rowFirst[row]; e >= 0; e = p->entry[e].rowNext) {
    const int j = p->entry[e].column;
    const double a = p->entry[e].value;
    const int lowFrom = b.lowerFrom[j], highFrom = b.upperFrom[j];
    const double lower = lowFrom < 0 || lowFrom == row || !rowAlive(p, lowFrom) ? p->lower[j] : b.lower[j];
    const double upper = highFrom < 0 || highFrom == row || !rowAlive(p, highFrom) ? p->upper[j] : b.upper[j];
    const double low = a > 0.0 ? lower : upper, high = a > 0.0 ? upper : lower;
    if ((floored && !finite(low)) || (bounded && !finite(high))) return false;
    least += a * low;
    most += a * high;
    size += std::fabs(a) * std::fmax(finite(low) ? std::fabs(low) : 0.0, finite(high) ? std::fabs(high) : 0.0);
  }
  const double slack = PRESOLVE_ZERO * (1.0 + size);
  return (!floored || least >= p->rowLower[row] - slack) && (!bounded || most <= p->rowUpper[row] + slack);
}

}  // namespace

int dropImpliedRows(Presolve *p) {
  ImpliedBounds b = newBounds(p);
  for (int i = 0; i < p->m; i++)
    if (rowAlive(p, i)) implyBounds(p, i, &b);
  int done = 0;
  for (int i = 0; i < p->m; i++) {
    if (!rowAlive(p, i) || isEquation(p, i) || !impliedByOthers(p, i, b)) continue;
    Reduction *r = logReduction(p, REDUCTION_ROW_DROPPED, i, -1);
    r->lower = p->rowLower[i];
    r->upper = p->rowUpper[i];
    removeRow(p, i, MARK_REDUNDANT);
    done++;
  }
  release(p, b);
  return done;
}
