// Undoing iterations after numerical trouble (qrtbackup, qrtbckt), from the history since the last factorisation.
#include <cmath>
#include <cstring>

#include "frame/guarded_memory.h"
#include "frame/messages.h"
#include "simplex/driver.h"

void history_append(SimplexWork *w) {
  if (w->historyCount == w->historyCapacity) {
    const int larger = 2 * w->historyCapacity + 64;
    HistoryEntry *fresh =
        static_cast<HistoryEntry *>(temporaryAllocate(w->model, larger, int64_t(sizeof(HistoryEntry))));
    if (w->historyCount > 0) std::memcpy(fresh, w->history, size_t(w->historyCount) * sizeof(HistoryEntry));
    w->history = fresh;
    w->historyCapacity = larger;
  }
  const int enter = w->enterVar, row = w->leaveRow;
  HistoryEntry *entry = &w->history[w->historyCount++];
  entry->enterVar = enter;
  entry->row = row;
  entry->leaveVar = row > 0 ? w->list[row] : 0;
  entry->enterFlags = w->flags[enter];
  entry->enterValue = w->value[enter];
  entry->leaveFlags = row > 0 ? w->flags[entry->leaveVar] : 0u;
  entry->leaveValue = row > 0 ? w->basicValue[row] : 0.0;
  entry->weight = w->algorithm == ALGORITHM_DUAL ? qrtlplp.Rdweight : qrtlplp.Rpweight;
  entry->bestObjective = w->bestObjective;
}

namespace {

// Undoes the last entry: the basis and the nonbasic value of the entering variable are those before it.
void undo(SimplexWork *w, const HistoryEntry *entry) {
  if (entry->row > 0) {
    // A factorisation in between may have moved the entering variable to another row.
    const int row = w->where[entry->enterVar];
    w->list[row] = entry->leaveVar;
    w->where[entry->leaveVar] = row;
    w->flags[entry->leaveVar] = entry->leaveFlags;
    w->value[entry->leaveVar] = entry->leaveValue;
  }
  w->flags[entry->enterVar] = entry->enterFlags;
  w->value[entry->enterVar] = entry->enterValue;
  if (w->algorithm == ALGORITHM_DUAL) qrtlplp.Rdweight = entry->weight;
  else qrtlplp.Rpweight = entry->weight;
  w->bestObjective = entry->bestObjective;
  qrtlplp.Iiternum--;
}

}  // namespace

void qrtbckt(SimplexWork *w, int count) {
  const int made = w->historyCount;
  int steps = count;
  if (count == 0) {
    if (qrtlplp.Idevexmode >= 3) qrtlplp.Idevexmode = 2;
    if (qrtlplp.Idevexmode <= -3) qrtlplp.Idevexmode = -2;
    steps = made / 3 > 1 ? made / 3 : 1;
    const int shorter = int(std::fmin(0.6 * w->updateLimit10, 8.0 * made + 1.0));
    w->updateLimit10 = shorter > 7 ? shorter : 7;
    w->priceBase = -1 - w->priceRefresh;
    w->state.degenerateCount = w->state.degenerateCount > steps ? w->state.degenerateCount - steps : 0;
    w->accuracyLevel = 2;
    messageI(1, steps);
    messageI(2, qrtlplp.Iiternum);
    qrtmesg_no(MSG_BACKTRACKING);
  }
  if (steps == 1 && qrtlplp.Inumpinf == 0) qrtlplp.Inumpinf = 1;
  w->leaveVar = 0;
  int barred[6], barredCount = 0;
  for (int k = 0; k < steps && w->historyCount > 0; k++) {
    const HistoryEntry *entry = &w->history[--w->historyCount];
    undo(w, entry);
    if (w->historyCount < 5 && barredCount < 5) barred[barredCount++] = entry->enterVar;
  }
  // The list changes under several variables at once: rebuilt, then those that led into trouble are barred.
  qrtrsrt(w);
  if (w->priceMode != PRICE_VALUES)
    for (int k = 0; k < barredCount; k++)
      if (!(w->flags[barred[k]] & (VAR_BASIC | VAR_REJECTED))) qrtrjct(w, barred[k]);
  w->djState = 5;
  w->djRefresh = 999;
}

int qrtbackup(SimplexWork *w) {
  if (w->historyCount == 0) {
    qrtmesg_no(MSG_NO_PROGRESS);
    qrtlplp.Iprobstat = -1;
    return 1;
  }
  qrtbckt(w, 0);
  w->cleaning = w->priceMode == PRICE_VALUES ? 0 : 2;
  if (qrtlplp.Iiternum - w->troubleIter < 40) w->pivotThreshold = 0.9;
  w->troubleIter = qrtlplp.Iiternum;
  return 0;
}
