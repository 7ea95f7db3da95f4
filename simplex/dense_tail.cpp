// The dense tail of L and U in the solves: triangular solves on contiguous columns, four columns at a time.
//
// The last rows the elimination finished as a dense matrix hold most elements of a factor that fills up. Kept as sparse
// columns each element costs an index and a scattered store; here four of them cost one load and one store of the
// vector, and the compiler's vectors do two at a time.
#include <cmath>
#include <cstring>

#include "frame/guarded_memory.h"
#include "simplex/factor_arrays.h"

namespace {

// w[0..n) -= the four columns times x.
QRT_VECTORISE void subtractFour(double *__restrict w, const double *const *column, const double *x, int n) {
  const double *__restrict c0 = column[0], *__restrict c1 = column[1];
  const double *__restrict c2 = column[2], *__restrict c3 = column[3];
  const double x0 = x[0], x1 = x[1], x2 = x[2], x3 = x[3];
  for (int s = 0; s < n; s++) w[s] -= (x0 * c0[s] + x1 * c1[s]) + (x2 * c2[s] + x3 * c3[s]);
}

typedef double Pair __attribute__((vector_size(16)));
typedef double UnalignedPair __attribute__((vector_size(16), aligned(8), may_alias));

// Products of four columns with w[0..n). Sums are kept in pairs: the order of additions is fixed, so results do not
// depend on the compiler.
void productsOfFour(const double *w, const double *const *column, int n, double *sum) {
  Pair s0 = {0.0, 0.0}, s1 = s0, s2 = s0, s3 = s0;
  int k = 0;
  for (; k + 2 <= n; k += 2) {
    const Pair v = *reinterpret_cast<const UnalignedPair *>(w + k);
    s0 += v * *reinterpret_cast<const UnalignedPair *>(column[0] + k);
    s1 += v * *reinterpret_cast<const UnalignedPair *>(column[1] + k);
    s2 += v * *reinterpret_cast<const UnalignedPair *>(column[2] + k);
    s3 += v * *reinterpret_cast<const UnalignedPair *>(column[3] + k);
  }
  sum[0] = s0[0] + s0[1];
  sum[1] = s1[0] + s1[1];
  sum[2] = s2[0] + s2[1];
  sum[3] = s3[0] + s3[1];
  if (k < n)
    for (int c = 0; c < 4; c++) sum[c] += w[k] * column[c][k];
}

double product(const double *w, const double *column, int n) {
  double sum = 0.0;
  for (int k = 0; k < n; k++) sum += w[k] * column[k];
  return sum;
}

// Values of the rows into the work array; gives the first and last step with a value. Row 0 counts as zero.
bool gather(const double *value, int stride, const int32_t *rows, double *w, int size, int *first, int *last) {
  int low = size, high = -1;
  for (int t = 0; t < size; t++) {
    const double v = rows[t] ? value[int64_t(rows[t]) * stride] : 0.0;
    w[t] = v;
    if (v == 0.0) continue;
    if (low == size) low = t;
    high = t;
  }
  *first = low;
  *last = high;
  return high >= 0;
}

void scatter(double *value, int stride, const int32_t *rows, const double *w, int from, int to) {
  for (int t = from; t <= to; t++)
    if (rows[t]) value[int64_t(rows[t]) * stride] = std::fabs(w[t]) <= TINY_VALUE ? 0.0 : w[t];
}

}  // namespace

void tail_size(FactorArrays *a, int size) {
  const int64_t needed = int64_t(size) * size;
  if (needed <= a->tailCapacity) return;
  double **blocks[] = {&a->tailLower, &a->tailUpper, &a->tailWork};
  a->tailCapacity = 0;
  for (double **block : blocks) {
    if (*block) qrt__free(*block);
    *block = nullptr;
    *block = static_cast<double *>(guardedAllocateZero(needed, sizeof(double)));
  }
  a->tailCapacity = needed;
}

int64_t tail_lower(FactorArrays *a, double *value, int stride) {
  const int d = a->tailSize;
  double *w = a->tailWork;
  const double *lower = a->tailLower;
  int first, last;
  if (!gather(value, stride, a->tailRow, w, d, &first, &last)) return 0;
  int t = first;
  for (; t + 4 <= d; t += 4) {
    const double *column[4];
    for (int c = 0; c < 4; c++) column[c] = lower + int64_t(t + c) * d;
    w[t + 1] -= w[t] * column[0][t + 1];
    w[t + 2] -= w[t] * column[0][t + 2] + w[t + 1] * column[1][t + 2];
    w[t + 3] -= w[t] * column[0][t + 3] + w[t + 1] * column[1][t + 3] + w[t + 2] * column[2][t + 3];
    const double x[4] = {w[t], w[t + 1], w[t + 2], w[t + 3]};
    for (int c = 0; c < 4; c++) column[c] += t + 4;
    subtractFour(w + t + 4, column, x, d - t - 4);
  }
  for (; t < d; t++)
    for (int s = t + 1; s < d; s++) w[s] -= w[t] * lower[int64_t(t) * d + s];
  scatter(value, stride, a->tailRow, w, first, d - 1);
  return 1 + int64_t(d - first) * (d - first) / 4;
}

int64_t tail_lowerTransposed(FactorArrays *a, double *value, int stride) {
  const int d = a->tailSize;
  double *w = a->tailWork;
  const double *lower = a->tailLower;
  int first, last;
  if (!gather(value, stride, a->tailRow, w, d, &first, &last)) return 0;
  const int end = last + 1;  // nothing behind the last value comes to life
  int t = end;
  for (; t >= 4; t -= 4) {
    const double *column[4];
    double sum[4];
    for (int c = 0; c < 4; c++) column[c] = lower + int64_t(t - 4 + c) * d + t;
    productsOfFour(w + t, column, end - t, sum);
    double *v = w + t - 4;
    v[3] -= sum[3];
    v[2] -= sum[2] + v[3] * column[2][-1];
    v[1] -= sum[1] + v[3] * column[1][-1] + v[2] * column[1][-2];
    v[0] -= sum[0] + v[3] * column[0][-1] + v[2] * column[0][-2] + v[1] * column[0][-3];
  }
  for (t--; t >= 0; t--) w[t] -= product(w + t + 1, lower + int64_t(t) * d + t + 1, end - t - 1);
  scatter(value, stride, a->tailRow, w, 0, last);
  return 1 + int64_t(end) * end / 4;
}

int64_t tail_upper(FactorArrays *a, double *value, int stride) {
  const int d = a->tailSize;
  double *w = a->tailWork;
  const double *upper = a->tailUpper;
  const int32_t *rows = a->tailUpperRow;
  int first, last;
  if (!gather(value, stride, rows, w, d, &first, &last)) return 0;
  const auto inverse = [a, rows](int t) { return rows[t] ? a->pivotInverse[rows[t]] : 0.0; };
  int t = last;
  for (; t >= 3; t -= 4) {
    const double *column[4];
    double x[4];
    for (int c = 0; c < 4; c++) column[c] = upper + int64_t(t - 3 + c) * d;
    double *v = w + t - 3;
    const double *at = column[0] + (t - 3);
    x[3] = v[3] * inverse(t);
    at = column[3] + (t - 3);
    x[2] = (v[2] - x[3] * at[2]) * inverse(t - 1);
    x[1] = v[1] - x[3] * at[1];
    x[0] = v[0] - x[3] * at[0];
    at = column[2] + (t - 3);
    x[1] = (x[1] - x[2] * at[1]) * inverse(t - 2);
    x[0] -= x[2] * at[0];
    at = column[1] + (t - 3);
    x[0] = (x[0] - x[1] * at[0]) * inverse(t - 3);
    for (int c = 0; c < 4; c++) v[c] = x[c];
    subtractFour(w, column, x, t - 3);
  }
  for (; t >= 0; t--) {
    w[t] *= inverse(t);
    for (int s = 0; s < t; s++) w[s] -= w[t] * upper[int64_t(t) * d + s];
  }
  scatter(value, stride, rows, w, 0, last);
  return 1 + int64_t(last + 1) * (last + 1) / 4;
}

int64_t tail_upperTransposed(FactorArrays *a, double *value, int stride) {
  const int d = a->tailSize;
  double *w = a->tailWork;
  const double *upper = a->tailUpper;
  const int32_t *rows = a->tailUpperRow;
  int first, last;
  if (!gather(value, stride, rows, w, d, &first, &last)) return 0;
  const auto inverse = [a, rows](int t) { return rows[t] ? a->pivotInverse[rows[t]] : 0.0; };
  int t = first;
  for (; t + 4 <= d; t += 4) {
    const double *column[4];
    double sum[4];
    for (int c = 0; c < 4; c++) column[c] = upper + int64_t(t + c) * d + first;
    productsOfFour(w + first, column, t - first, sum);
    double *v = w + t;
    for (int c = 0; c < 4; c++) column[c] += t - first;
    v[0] = (v[0] - sum[0]) * inverse(t);
    v[1] = (v[1] - sum[1] - v[0] * column[1][0]) * inverse(t + 1);
    v[2] = (v[2] - sum[2] - v[0] * column[2][0] - v[1] * column[2][1]) * inverse(t + 2);
    v[3] = (v[3] - sum[3] - v[0] * column[3][0] - v[1] * column[3][1] - v[2] * column[3][2]) * inverse(t + 3);
  }
  for (; t < d; t++) w[t] = (w[t] - product(w + first, upper + int64_t(t) * d + first, t - first)) * inverse(t);
  scatter(value, stride, rows, w, first, d - 1);
  return 1 + int64_t(d - first) * (d - first) / 4;
}

void tail_rowToVector(const FactorArrays *a, int step, SparseVector *x) {
  const int d = a->tailSize;
  for (int s = step + 1; s < d; s++) {
    const double v = a->tailUpper[int64_t(s) * d + step];
    if (v == 0.0 || !a->tailUpperRow[s]) continue;
    x->index[x->count++] = a->tailUpperRow[s];
    x->value[a->tailUpperRow[s]] = v;
  }
}

int tail_remove(FactorArrays *a, int step) {
  const int d = a->tailSize;
  int removed = 0;
  double *column = a->tailUpper + int64_t(step) * d;
  for (int s = 0; s < step; s++) {
    removed += column[s] != 0.0;
    column[s] = 0.0;
  }
  for (int s = step + 1; s < d; s++) {
    double *element = a->tailUpper + int64_t(s) * d + step;
    removed += *element != 0.0;
    *element = 0.0;
  }
  a->tailUpperRow[step] = 0;
  return removed;
}
