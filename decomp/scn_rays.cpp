// Whether the ray of a model that the simplex calls unbounded proves it: a wrong one would end a run with a wrong verdict,
// or go on as a direction in which nothing lies.
#include <cmath>
#include <cstdlib>

#include "decomp/scn_solving.h"
#include "model/model_store.h"

namespace {

constexpr int KIND_RAY = 4;               // of QRTModel::auxKind
constexpr double LEAVES_CONE = 1e-7;      // share of a row's terms, of a column's largest entry, that counts as leaving
constexpr double ROUNDING = 1e-11;        // share of the largest entry that rounding may leave of terms that cancel
constexpr double COST_NOISE = 1e-9;

// How far v points out of the recession cone of [lower, upper].
double outside(double v, double lower, double upper) {
  if (v < 0.0 && lower > -QRT_INFINITE_TEST) return -v;
  if (v > 0.0 && upper < QRT_INFINITE_TEST) return v;
  return 0.0;
}

}  // namespace

bool rayHolds(const QRTModel *lp, double sense) {
  if (lp->auxKind != KIND_RAY || !lp->aux) return false;
  const int base = lp->Imaxrows, m = lp->Inumrows, n = lp->Inumcols;
  const double *ray = lp->aux + base;
  double longest = 0.0, cost = 0.0, costSize = 0.0;
  for (int j = 0; j < n; ++j) {
    longest = fmax(longest, fabs(ray[j]));
    cost += sense * lp->objective[base + j] * ray[j];
    costSize += fabs(lp->objective[base + j] * ray[j]);
  }
  bool holds = cost < -COST_NOISE * costSize;
  for (int j = 0; holds && j < n; ++j) holds = outside(ray[j], lp->lower[base + j], lp->upper[base + j]) <= LEAVES_CONE * longest;
  if (!holds || m == 0) return holds;
  double *sum = static_cast<double *>(qrts__alloc("qrts_CLshaped", 3 * int64_t(m) * int64_t(sizeof(double)), 1));
  double *size = sum + m, *largest = size + m;
  for (int i = 0; i < 3 * m; ++i) sum[i] = 0.0;
  forEachElement(lp, [&](int i, int j, const double &stored) {
    const double element = stored / elementFactor(lp, i, j), term = element * ray[j];
    sum[i] += term;
    size[i] += fabs(term);
    largest[i] = fmax(largest[i], fabs(element));
  });
  for (int i = 0; holds && i < m; ++i)
    holds = outside(sum[i], lp->lower[i], lp->upper[i]) <= LEAVES_CONE * size[i] + ROUNDING * largest[i] * longest;
  free(sum);
  return holds;
}

int confirmedOutcome(QRTModel *lp, int *outcome) {
  const double sense = qrt_getRmaxmin(lp);
  *outcome = outcomeOf(lp);
  if (*outcome != 2 || rayHolds(lp, sense)) return 0;
  const int code = solveFromLogicals(lp);
  *outcome = outcomeOf(lp);
  if (code < 2 && *outcome == 2 && !rayHolds(lp, sense)) *outcome = 3;
  return code;
}
