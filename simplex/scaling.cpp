// Geometric scaling in a few passes, rounded to powers of two.
#include "simplex/scaling.h"

#include <cmath>

namespace {

constexpr int PASSES = 4;
constexpr double WELL_SCALED_LOW = 0.2, WELL_SCALED_HIGH = 5.0;

// Unlike those of the library these are taken inline.
inline double smaller(double a, double b) { return a < b ? a : b; }
inline double larger(double a, double b) { return a > b ? a : b; }

double powerOfTwo(double x) { return std::exp2(std::nearbyint(std::log2(x))); }

// One pass over columns: factor 1/sqrt(smallest * largest) each, and the extremes of every row on the way.
void columnPass(int m, int n, const int *start, const int *row, const double *value, const double *rowScale,
                double *columnScale, double *rowSmall, double *rowLarge) {
  for (int i = 0; i < m; i++) {
    rowSmall[i] = 1.0e300;
    rowLarge[i] = 0.0;
  }
  for (int j = 0; j < n; j++) {
    double small = 1.0e300, large = 0.0;
    for (int e = start[j]; e < start[j + 1]; e++) {
      const double a = std::fabs(value[e]) * rowScale[row[e]];
      if (a == 0.0) continue;
      small = smaller(small, a);
      large = larger(large, a);
    }
    columnScale[j] = large > 0.0 ? 1.0 / std::sqrt(small * large) : 1.0;
    for (int e = start[j]; e < start[j + 1]; e++) {
      const double a = std::fabs(value[e]) * columnScale[j];
      if (a == 0.0) continue;
      rowSmall[row[e]] = smaller(rowSmall[row[e]], a);
      rowLarge[row[e]] = larger(rowLarge[row[e]], a);
    }
  }
}

}  // namespace

bool chooseScales(int m, int n, const int *start, const int *row, const double *value, double *rowScale,
                  double *columnScale, double *work) {
  double small = 1.0e300, large = 0.0;
  for (int e = start[0]; e < start[n]; e++) {
    const double a = std::fabs(value[e]);
    if (a == 0.0) continue;
    small = smaller(small, a);
    large = larger(large, a);
  }
  if (large == 0.0 || (small >= WELL_SCALED_LOW && large <= WELL_SCALED_HIGH)) return false;
  double *rowSmall = work, *rowLarge = work + m;
  for (int i = 0; i < m; i++) rowScale[i] = 1.0;
  for (int pass = 0; pass < PASSES; pass++) {
    columnPass(m, n, start, row, value, rowScale, columnScale, rowSmall, rowLarge);
    for (int i = 0; i < m; i++) rowScale[i] = rowLarge[i] > 0.0 ? 1.0 / std::sqrt(rowSmall[i] * rowLarge[i]) : 1.0;
  }
  for (int i = 0; i < m; i++) rowScale[i] = powerOfTwo(rowScale[i]);
  // Last, every column's largest element is brought near one: the absolute pivot tolerances assume it.
  for (int j = 0; j < n; j++) {
    double top = 0.0;
    for (int e = start[j]; e < start[j + 1]; e++) top = larger(top, std::fabs(value[e]) * rowScale[row[e]]);
    columnScale[j] = top > 0.0 ? powerOfTwo(1.0 / top) : 1.0;
  }
  return true;
}
