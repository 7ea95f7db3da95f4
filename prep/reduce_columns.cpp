// Columns without a range or without elements, and bounds of integer columns.
#include "frame/messages.h"
#include "frame/records.h"
#include "prep/presolve_run.h"

namespace {

constexpr double NOISE = 1.0e-9;  // bounds of integer columns that rows left carry rounding, whatever the tolerance

// Where a column of no row belongs: its cost decides, and without a cost the bound nearest to 0. False when the cost
// pushes where there is no bound: then it stays for a solver to find the model unbounded, or infeasible.
bool restingPlace(const Presolve *p, int j, double *value, int *type) {
  const double lower = p->lower[j], upper = p->upper[j], cost = p->cost[j];
  const bool low = hasLower(lower), high = hasUpper(upper);
  *type = REDUCTION_AT_LOWER;
  if (cost > 0.0) {
    *value = lower;
    return low;
  }
  if (cost < 0.0) {
    *value = upper;
    *type = REDUCTION_AT_UPPER;
    return high;
  }
  // At 0 between its bounds it would be no part of a vertex, and a simplex after postsolve had to move it.
  if (low && (!high || std::fabs(lower) <= std::fabs(upper))) {
    *value = lower;
  } else if (high) {
    *value = upper;
    *type = REDUCTION_AT_UPPER;
  } else {
    *value = 0.0;
    *type = REDUCTION_BETWEEN;
  }
  return true;
}

double withoutNoise(double bound) {
  const double whole = std::floor(bound + 0.5);
  return std::fabs(bound - whole) <= NOISE ? whole : bound;
}

}  // namespace

int reduceEmptyColumns(Presolve *p) {
  int done = 0, j;
  while (takeColumn(p, COLUMNS_EMPTY, &j)) {
    if (p->columnKind[j] == COLUMN_IN_SET) continue;
    double value = p->lower[j];
    int type = REDUCTION_AT_LOWER;
    if (p->upper[j] - p->lower[j] > PRESOLVE_ZERO && (p->columnCount[j] > 0 || !restingPlace(p, j, &value, &type))) continue;
    if (!mayRest(p, j, value)) continue;
    fixColumn(p, j, value, type, type == REDUCTION_AT_UPPER ? MARK_AT_UPPER : MARK_AT_LOWER);
    done++;
  }
  return done;
}

int roundIntegers(Presolve *p) {
  const double t = qrtint3.Rtolint;
  int done = 0, j;
  while (takeColumn(p, COLUMNS_ROUND, &j)) {
    if (p->columnKind[j] != COLUMN_INTEGER) continue;
    const double old[2] = {withoutNoise(p->lower[j]), withoutNoise(p->upper[j])};
    const double lower = hasLower(old[0]) ? std::fmax(old[0], std::ceil(old[0] - t)) : old[0];
    const double upper = hasUpper(old[1]) ? std::fmin(old[1], std::floor(old[1] + t)) : old[1];
    if (lower > upper) {
      qrtmesg_no_i1_d2(MSG_ROUNDING_CROSSES, j + 1, lower, upper);
      return PRESOLVE_INFEASIBLE;
    }
    if (lower == p->lower[j] && upper == p->upper[j]) continue;
    changeBounds(p, j, lower, upper);
    done++;
  }
  return done;
}

void undoFixedColumn(Postsolve *p, const Reduction *r) {
  p->x[r->column] = r->value1;
  p->d[r->column] = contentDual(p, r, r->value2);
  p->columnBasic[r->column] = 0;
}
