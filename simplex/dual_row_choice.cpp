// Which row leaves: the list of infeasible rows and the choice of the best by steepest edge.
#include "simplex/dual.h"

#include <cmath>

namespace {

// How far row i lies outside its bounds, with sign: positive above upper, negative below lower, 0 within tolerance.
double outside(const SimplexWork *w, int i) {
  const double value = w->basicValue[i], tolerance = qrtlplp.Rtolpinf;
  if (w->basicUpper[i] < QRT_INFINITE_TEST && value > w->basicUpper[i] + tolerance) return value - w->basicUpper[i];
  if (w->basicLower[i] > -QRT_INFINITE_TEST && value < w->basicLower[i] - tolerance) return value - w->basicLower[i];
  return 0.0;
}

void list(DualWork *d, int i) {
  if (d->rowPlace[i]) return;
  d->row[d->rowCount++] = i;
  d->rowPlace[i] = d->rowCount;
}

void unlistAt(DualWork *d, int place) {
  const int i = d->row[place], last = d->row[--d->rowCount];
  d->row[place] = last;
  d->rowPlace[last] = place + 1;
  d->rowPlace[i] = 0;
}

}  // namespace

void dualRows_rebuild(SimplexWork *w) {
  DualWork *d = w->dual;
  for (int t = 0; t < d->rowCount; t++) d->rowPlace[d->row[t]] = 0;
  d->rowCount = 0;
  for (int i = 1; i <= w->m; i++) {
    const double off = outside(w, i);
    d->misfit[i] = off * off;
    if (off != 0.0) list(d, i);
  }
}

void dualRows_update(SimplexWork *w, int i) {
  DualWork *d = w->dual;
  const double off = outside(w, i);
  const double old = d->misfit[i];
  if (off == 0.0 && old == 0.0) return;
  const double tolerance = qrtlplp.Rtolpinf;
  if (old != 0.0) {
    qrtlplp.Inumpinf--;
    qrtlplp.Rsumpinf -= std::sqrt(old) - tolerance;
  }
  d->misfit[i] = off * off;
  if (off != 0.0) {
    qrtlplp.Inumpinf++;
    qrtlplp.Rsumpinf += std::fabs(off) - tolerance;
    list(d, i);
  }
  if (qrtlplp.Inumpinf == 0) qrtlplp.Rsumpinf = 0.0;
}

int qrtczrd(SimplexWork *w) {
  DualWork *d = w->dual;
  const double *misfit = d->misfit, *weight = d->rowWeight;
  double best = 0.0;
  int chosen = 0;
  for (int t = d->rowCount - 1; t >= 0; t--) {
    const int i = d->row[t];
    if (misfit[i] == 0.0) {
      unlistAt(d, t);
      continue;
    }
    if (misfit[i] > best * weight[i] && !(w->flags[w->list[i]] & VAR_REJECTED)) {
      best = misfit[i] / weight[i];
      chosen = i;
    }
  }
  return chosen;
}

const char *dualRows_check(const SimplexWork *w) {
  const DualWork *d = w->dual;
  for (int t = 0; t < d->rowCount; t++)
    if (d->rowPlace[d->row[t]] != t + 1) return "the place of a listed row is wrong";
  for (int i = 1; i <= w->m; i++) {
    const double off = outside(w, i);
    if (off != 0.0 && !d->rowPlace[i]) return "an infeasible row is not listed";
    if (std::fabs(d->misfit[i] - off * off) > 1.0e-9 * (1.0 + off * off)) return "a row's misfit is stale";
    if (!(d->rowWeight[i] > 0.0)) return "a row weight is not positive";
  }
  return nullptr;
}
