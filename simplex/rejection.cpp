// Variables barred from entering because they led into numerical trouble (qrtrjct), and their return (qrtuflg).
#include <cmath>

#include "frame/messages.h"
#include "simplex/driver.h"

void qrtrjct(SimplexWork *w, int k) {
  w->rejectedCount++;
  if (qrtlplp.Iiternum > w->rejectIter) w->rejectIter = qrtlplp.Iiternum;
  if (w->state.checkCount > 2) w->state.checkCount = 2;
  if (qrtlplp.Iloglevel & LOG_REJECTION) qrtmesg_no_i1(MSG_REJECTED, variableNumber(w, k));
  if (!(w->flags[k] & VAR_BASIC)) list_setState(w, k, 0);
  w->flags[k] |= VAR_REJECTED;
}

void qrtuflg(SimplexWork *w) {
  int count = 0;
  for (int k = 1; k <= w->total; k++) {
    const bool wasRejected = (w->flags[k] & VAR_REJECTED) != 0;
    w->flags[k] &= ~uint32_t(VAR_REJECTED);
    if (w->flags[k] & VAR_BASIC) continue;
    if (!wasRejected && (variableState(w->flags[k]) != 0 || w->upper[k] - w->lower[k] <= qrtlplp.Rtolpinf)) continue;
    w->flags[k] = (w->flags[k] & ~uint32_t(VAR_STATE)) | uint32_t(stateOfValue(w, k)) << VAR_STATE_SHIFT;
    count++;
  }
  w->rejectedCount = 0;
  qrtrsrt(w);
  w->djState = 5;
  w->djRefresh = 999;
  if (count > 0 && (qrtlplp.Iloglevel & LOG_REJECTION)) qrtmesg_no(MSG_READMITTED);
}
