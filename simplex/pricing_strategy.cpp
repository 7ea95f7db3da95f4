// Which pricing the next primal pass uses: steepest edge, Devex over everything, or Devex over parts of the columns.
//
// Pricing should cost no more than the solves do. Both are measured: `ratio` is the cost of the solves of one
// iteration over that of one full pricing, from the lengths the last pass left behind.
#include <cmath>
#include <cstdlib>

#include "simplex/driver.h"

namespace {

struct PassLengths {
  double column;      // a: mean pivot column, with a charge for long ones
  double columnSolve; // b: the same, for the quadratic cost of solves
};

PassLengths lengthsOfLastPass(const SimplexWork *w) {
  PassLengths p;
  p.column = p.columnSolve = w->partialSize;
  if (p.column > 50.0) {
    const double excess = std::log10(p.column) - 1.0;
    p.column *= excess * excess;
  }
  const double rho = w->btranMean;
  if (rho != 0.0) {
    if (p.column < rho) p.column = 0.5 * (p.column + rho);
    if (p.columnSolve < rho) p.columnSolve = 0.2 * rho + 0.8 * p.columnSolve;
  }
  return p;
}

double costRatio(const SimplexWork *w, const PassLengths &p, double sincePhase) {
  const double lenL = w->factor->lCount, lenE = w->factor->etaCount;
  const double m = w->m, n = w->n, elements = w->matrixElements;
  if (w->rowPricing || 64.0 * p.column < m) {
    double ratio = std::fmin(2.0 * lenL + 4.0 * m + lenE, p.columnSolve * p.columnSolve + 2.0 * m) / (elements + 4.0 * n + 1.0e-12);
    if (qrtlplp.Inumpinf == 0 || sincePhase > (m + n) / 4.0) ratio *= 1.5;
    return ratio;
  }
  return (2.0 * (lenL + lenE) + m) / (elements + n + 1.0e-12) + 1.0e-12;
}

// Limits the ratio is held against: above `steepest` steepest edge pays, above `devex` full Devex does.
void limits(SimplexWork *w, const PassLengths &p, double sincePhase, double *steepest, double *devex) {
  const double m = w->m, n = w->n, a = p.column, b = p.columnSolve;
  double u = 0.3, v = 0.3;
  if (qrtlplp.Inumpinf >= 6) {
    const bool falling = w->lastInumpinf - qrtlplp.Inumpinf >= 3;
    u = falling ? 3.0 : 1.0;
    v = falling ? 0.5 : 0.3;
  }
  if (qrtlplp.Ifastits > 0) u = v = 10.0;
  if (m >= 20.0 * a && b < 501.0) {
    const double f = m >= 30.0 * a && b >= 51.0 ? 10.0 : 2.0;
    u *= f;
    v *= f;
  } else if (m < 4.0 * a && b >= 50.0) {
    u *= 0.6;
    v *= 0.2;
  } else if (m < 8.0 * a && b >= 20.0) {
    u *= 0.8;
    v *= 0.4;
  }
  if (qrtlplp.Inumpinf == 0 && sincePhase > m + n) {
    v = 0.02;
    if (m < 8.0 * a || sincePhase > 2.0 * (m + n)) u = 0.02;
  }
  if (m > 16.0 * a || (w->rowPricing && (m > 8.0 * a || (m > 4.0 * a && m >= 40001.0)))) u = 3.0;
  if (w->rowPricing && (m > 32.0 * a || (m > 16.0 * a && m >= 10001.0))) v = 2.0;
  if (sincePhase < m + n / 8.0) {
    u *= 2.0;
    v *= 2.0;
  }
  *devex = v;
  *steepest = std::fmax(u, v);
}

void settle(SimplexWork *w, int mode) {
  if (w->settledMode != mode) {
    w->settledMode = mode;
    w->modeChanges++;
    w->priceBase = -w->priceRefresh;
  }
  qrtlplp.Idevexmode = mode;
  w->partialSize = w->m < 2001 ? 2048 : w->m < 4001 ? 1024 : 0;
}

}  // namespace

void choosePricing(SimplexWork *w) {
  if (!w->rowPricing || w->entryIdevexmode != 1 || qrtlplp.Ifastits < 0 ||
      (w->priceMode != PRICE_FULL && w->priceMode != PRICE_BLOCKS)) {
    w->partialSize = 0;
    return;
  }
  w->priceMode = PRICE_FULL;
  const double sincePhase = qrtlplp.Iiternum - w->phaseStartIter;
  const PassLengths p = lengthsOfLastPass(w);
  const double ratio = costRatio(w, p, sincePhase);
  double steepest, devex;
  limits(w, p, sincePhase, &steepest, &devex);
  w->lastInumpinf = qrtlplp.Inumpinf;
  if (w->settledMode != 0 && w->m > 16.0 * p.column && w->modeChanges < 5) {
    if (w->m > 64.0 * p.column) w->settledMode = 0;
    else if (w->settledMode == 2) w->settledMode = 1;
  }
  if (steepest < ratio || w->settledMode == 2) {
    settle(w, 2);
  } else if (devex < ratio || w->settledMode == 1) {
    settle(w, 1);
  } else {
    int parts = int(std::fmin(2.0 / ratio, 1023.0));
    const int asked = qrtlplp.Ifastits;
    if (asked >= 1000001 && asked <= 1001000) parts = asked - 1000000;
    else if (asked > 0 && w->m > 0 && parts < w->n / w->m) parts = w->n / w->m;
    w->partialSize = parts < 1 ? 1 : parts > 1023 ? 1023 : parts;
    qrtlplp.Idevexmode = 1;
  }
  qrtlplp.Ifastits = 0;
}
