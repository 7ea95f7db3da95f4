// Which pricing the next primal pass uses.
//
// The pivot row is formed by rows over the nonbasic columns only, so reduced costs and weights of all columns can be
// kept up at about the cost of the solves. Steepest edge then costs one more sparse solve an iteration and saves a
// fifth to a third of the iterations against Devex (pds, ken, greenbeb, model10, pilot87: in total time as well), so
// that Devex, the default, is taken to mean "the library's choice". Pricing by parts of the columns only pays where
// even one pass over the list of attractive columns is long against the solves: when a caller asks for it (Ifastits),
// or when the columns outnumber the rows many times.
#include <cmath>
#include <cstdlib>

#include "simplex/driver.h"
#include "simplex/exotic.h"

namespace {

constexpr double COLUMNS_A_ROW_FOR_PARTS = 200.0;

// Number of parts a caller's Ifastits asks for, 0 for none.
int partsAskedFor(const SimplexWork *w) {
  const int asked = qrtlplp.Ifastits;
  if (asked <= 0) return 0;
  if (asked >= 1000001 && asked <= 1001000) return asked - 1000000;
  const int shape = w->m > 0 ? w->n / w->m : 1;
  return shape < 1 ? 1 : shape > 1023 ? 1023 : shape;
}

}  // namespace

void choosePricing(SimplexWork *w) {
  w->partialSize = 0;
  if (w->entryIdevexmode != 1 || qrtlplp.Ifastits < 0) return;
  if (w->priceMode != PRICE_FULL && w->priceMode != PRICE_BLOCKS) return;
  w->priceMode = PRICE_FULL;
  int parts = partsAskedFor(w);
  if (parts == 0 && w->m > 0 && w->n > COLUMNS_A_ROW_FOR_PARTS * w->m) parts = 10;
  // An expert may hold back steepest edge, and weights altogether.
  const int now = qrtlplp.Iiternum;
  if (parts == 0 && w->exotic && now < w->exotic->devexHeld) parts = 10;
  const bool held = w->exotic && now < w->exotic->steepestHeld;
  const int mode = parts > 0 || held ? 1 : 2;
  if (w->settledMode != mode) {
    w->settledMode = mode;
    w->priceBase = -w->priceRefresh;
  }
  w->partialSize = parts;
  qrtlplp.Idevexmode = mode;
  qrtlplp.Ifastits = 0;
}
