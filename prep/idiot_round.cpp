// One round of the idiot crash: sweeps over the columns at one penalty, with an extrapolation over the last points.
#include <cmath>
#include <cstdio>
#include <cstring>

#include "frame/messages.h"
#include "prep/idiot.h"

namespace {

enum : int { TOLD_ROUND = 2, TOLD_DETAIL = 10 };
constexpr double MOVABLE = 1.0e-5;       // distance to the bound that makes a move worth while
constexpr double COST_TERM = 1.0e-4;     // and the reduced cost
constexpr double PIVOT_FLOOR = 1.0e-20;
constexpr int KEEP_EVERY = 5, FIRST_KEPT = 12;

void say(IdiotWork *w, int number, const char *text) { qrt_userMessage(w->model, number, text); }

double dot(const IdiotWork *w, int j, const double *vector) {
  double sum = 0.0;
  if (w->elements) {
    for (int e = w->starts[j]; e < w->starts[j + 1]; e++) sum += w->elements[e] * vector[w->rows[e]];
  } else {
    for (int e = w->starts[j]; e < w->starts[j + 1]; e++) sum += vector[w->rows[e]];
  }
  return sum;
}

void addColumn(IdiotWork *w, int j, double step, double *vector) {
  if (w->elements) {
    for (int e = w->starts[j]; e < w->starts[j + 1]; e++) vector[w->rows[e]] += step * w->elements[e];
  } else {
    for (int e = w->starts[j]; e < w->starts[j + 1]; e++) vector[w->rows[e]] += step;
  }
}

// One pass over all columns; the largest reduced cost met of a column that could move in its direction.
double sweep(IdiotWork *w, double mu) {
  double largest = 0.0;
  for (int j = 0; j < w->total; j++) {
    const double lower = w->lower[j], upper = w->upper[j];
    if (lower == upper) continue;
    const double gradient = mu * w->pull[j] + dot(w, j, w->residual);
    const double room = gradient > 0.0 ? w->x[j] - lower : upper - w->x[j];
    if (std::fabs(gradient) > mu * COST_TERM && room > MOVABLE) largest = std::fmax(largest, std::fabs(gradient));
    double to;
    if (w->square[j] > 0.0) {
      to = std::fmin(upper, std::fmax(lower, w->x[j] - gradient / w->square[j]));
    } else {
      // No row: the cost alone decides, and a column without end in that direction stays where it is.
      to = gradient > 0.0 ? lower : gradient < 0.0 ? upper : w->x[j];
      if (std::fabs(to) >= QRT_INFINITE_TEST) to = w->x[j];
    }
    const double step = to - w->x[j];
    if (step == 0.0) continue;
    w->x[j] = to;
    addColumn(w, j, step, w->residual);
  }
  return largest / mu;
}

// Solves the symmetric system of three by elimination; a pivot below the floor makes its unknown 0.
void solve(double h[3][3], double g[3], int count) {
  bool out[3] = {false, false, false};
  for (int k = 0; k < count; k++) {
    if (h[k][k] <= PIVOT_FLOOR) {
      out[k] = true;
      continue;
    }
    for (int i = k + 1; i < count; i++) {
      const double factor = h[i][k] / h[k][k];
      for (int j = k; j < count; j++) h[i][j] -= factor * h[k][j];
      g[i] -= factor * g[k];
    }
  }
  for (int k = count - 1; k >= 0; k--) {
    for (int j = k + 1; j < count; j++) g[k] -= h[k][j] * g[j];
    g[k] = out[k] ? 0.0 : g[k] / h[k][k];
  }
}

double inner(int n, const double *a, const double *b) {
  double sum = 0.0;
  for (int k = 0; k < n; k++) sum += a[k] * b[k];
  return sum;
}

void keepPoint(IdiotWork *w) {
  double *const x = w->oldX[2], *const residual = w->oldResidual[2];
  for (int k = 2; k > 0; k--) {
    w->oldX[k] = w->oldX[k - 1];
    w->oldResidual[k] = w->oldResidual[k - 1];
  }
  w->oldX[0] = x;
  w->oldResidual[0] = residual;
  std::memcpy(x, w->x, size_t(w->total) * sizeof(double));
  std::memcpy(residual, w->residual, size_t(w->m) * sizeof(double));
  if (w->kept < 3) w->kept++;
}

// The best combination of the way from the kept points to the present one. The sweeps creep along a few directions of
// weak curvature; W is quadratic, so its minimum over them is a small system.
void extrapolate(IdiotWork *w, double mu) {
  const int count = w->kept;
  if (count == 0) return;
  char text[128];
  const IdiotResult before = idiot_value(w, mu);
  for (int k = 0; k < count; k++) {
    for (int j = 0; j < w->total; j++) w->direction[k][j] = w->x[j] - w->oldX[k][j];
    for (int i = 0; i < w->m; i++) w->image[k][i] = w->residual[i] - w->oldResidual[k][i];
  }
  double h[3][3] = {}, theta[3] = {};
  for (int k = 0; k < count; k++) {
    theta[k] = -inner(w->total, w->pull, w->direction[k]) - inner(w->m, w->residual, w->image[k]) / mu;
    for (int l = 0; l < count; l++) h[k][l] = inner(w->m, w->image[k], w->image[l]) / mu;
  }
  solve(h, theta, count);
  snprintf(text, sizeof text, "theta %g %g %g", theta[0], theta[1], theta[2]);
  say(w, TOLD_DETAIL, text);
  double *const saved = w->direction[0];  // overwritten as the step is taken: direction k of a column is read first
  for (int j = 0; j < w->total; j++) {
    double to = w->x[j];
    for (int k = 0; k < count; k++) to += theta[k] * w->direction[k][j];
    saved[j] = w->x[j];
    w->x[j] = std::fmin(w->upper[j], std::fmax(w->lower[j], to));
  }
  idiot_residuals(w);
  const IdiotResult after = idiot_value(w, mu);
  if (after.weighted < before.weighted) {
    snprintf(text, sizeof text, "%d %g better than %g", count, after.weighted, before.weighted);
    say(w, TOLD_DETAIL, text);
    return;
  }
  const bool bad = after.weighted > before.weighted + 1.0e-3 * (std::fabs(before.weighted) + 1.0);
  snprintf(text, sizeof text, "Weighted objective from %g to %g %s", before.weighted, after.weighted, bad ? "**** bad move" : "?");
  say(w, TOLD_DETAIL, text);
  snprintf(text, sizeof text, "restoring previous - now %g best %g", after.weighted, before.weighted);
  say(w, TOLD_DETAIL, text);
  std::memcpy(w->x, saved, size_t(w->total) * sizeof(double));
  idiot_residuals(w);
}

void sayProgress(IdiotWork *w, const IdiotResult &r, double dj) {
  double dual = 0.0;
  for (int i = 0; i < w->m; i++) dual -= w->multiplier[i] * w->rhs[i];
  char text[160];
  snprintf(text, sizeof text, "%d Infeas %g, obj %g - wtObj %g dual %g maxDj %g", r.sweeps, r.infeasibility, r.objective, r.weighted,
           dual, dj);
  say(w, TOLD_ROUND, text);
}

// Columns that stand at the bound their reduced cost asks for, or between with none, and the others.
void sayGoodAndBad(IdiotWork *w, double mu) {
  double good = 0.0, bad = 0.0;
  for (int j = 0; j < w->total; j++) {
    if (w->lower[j] == w->upper[j]) continue;
    const double dj = w->pull[j] + dot(w, j, w->residual) / mu;
    const double room = dj > 0.0 ? w->x[j] - w->lower[j] : w->upper[j] - w->x[j];
    if (std::fabs(dj) <= COST_TERM || room <= MOVABLE) good += std::fabs(dj);
    else bad += std::fabs(dj);
  }
  char text[64];
  snprintf(text, sizeof text, "%g good %g bad", good, bad);
  say(w, TOLD_DETAIL, text);
}

}  // namespace

void idiot_residuals(IdiotWork *w) {
  for (int i = 0; i < w->m; i++) w->residual[i] = -w->rhs[i];
  for (int j = 0; j < w->total; j++)
    if (w->x[j] != 0.0) addColumn(w, j, w->x[j], w->residual);
}

void idiot_pulls(IdiotWork *w) {
  for (int j = 0; j < w->total; j++) w->pull[j] = w->cost[j] + dot(w, j, w->multiplier);
}

// W counts the multipliers' share through the pulls; their part of the right-hand side is the same for every point.
IdiotResult idiot_value(const IdiotWork *w, double mu) {
  IdiotResult r = {};
  for (int i = 0; i < w->m; i++) {
    r.infeasibility += std::fabs(w->residual[i]);
    r.squares += w->residual[i] * w->residual[i];
  }
  double pulled = 0.0;
  for (int j = 0; j < w->total; j++) {
    r.objective += w->cost[j] * w->x[j];
    pulled += w->pull[j] * w->x[j];
  }
  r.weighted = pulled + r.squares / (2.0 * mu);
  return r;
}

IdiotResult qrtidiot3(IdiotWork *w, const IdiotLimits &limits) {
  const double mu = limits.mu;
  char text[128];
  idiot_pulls(w);
  idiot_residuals(w);
  w->kept = 0;
  IdiotResult last = idiot_value(w, mu);
  double reference = last.weighted, dj = 0.0;
  int sinceDrop = 0;
  for (int done = 1; done <= limits.sweeps; done++) {
    dj = sweep(w, mu);
    last.sweeps = done;
    sinceDrop++;
    const bool fifth = done % KEEP_EVERY == 0;
    if (fifth && done > FIRST_KEPT) extrapolate(w, mu);
    if (fifth || done == limits.sweeps) {
      last = idiot_value(w, mu);
      last.sweeps = done;
    }
    if (done % limits.checkFrequency == 0) sayProgress(w, last, dj);
    if (dj <= limits.djTest && (limits.smallInfeas >= QRT_INFINITY || idiot_value(w, mu).infeasibility <= limits.smallInfeas)) {
      snprintf(text, sizeof text, "Exiting on low dj %g after %d iterations", dj, done);
      say(w, TOLD_ROUND, text);
      break;
    }
    if (fifth && sinceDrop >= limits.dropFrequency) {
      if (reference - last.weighted < limits.drop) {
        snprintf(text, sizeof text, "Exiting as drop in %d its is %g after %d iterations", sinceDrop, reference - last.weighted, done);
        say(w, TOLD_ROUND, text);
        break;
      }
      reference = last.weighted;
      sinceDrop = 0;
    }
    if (fifth) keepPoint(w);
  }
  const int sweeps = last.sweeps;
  idiot_residuals(w);  // what single steps have added up loses digits
  last = idiot_value(w, mu);
  last.sweeps = sweeps;
  last.largestDj = dj;
  snprintf(text, sizeof text, "%d Final infeas %g, obj %g - wtObj %g", sweeps, last.infeasibility, last.objective, last.weighted);
  say(w, TOLD_ROUND, text);
  sayGoodAndBad(w, mu);
  return last;
}

const char *idiot_check(const IdiotWork *w) {
  for (int j = 0; j < w->total; j++)
    if (w->x[j] < w->lower[j] || w->x[j] > w->upper[j]) return "a value outside its bounds";
  for (int i = 0; i < w->m; i++)
    if (!(std::fabs(w->residual[i]) < QRT_INFINITE_TEST)) return "a residual without end";
  return nullptr;
}
