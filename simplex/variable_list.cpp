// The order of the variables: which are basic, and in which run of the nonbasic list each other one stands.
//
// Every change costs constant time: a variable crosses from run to run by trading places at the run ends.
#include "simplex/solve_state.h"

#include <cmath>

namespace {

// Runs in list order: 0 free and in-between (state 3), 1 can decrease (2), 2 can increase (1), 3 cannot move (0).
int runOfState(int state) { return 3 - state; }

int *runEnd(SimplexWork *w, int run) {
  return run == 0 ? &w->partEndFree : run == 1 ? &w->partEndUpper : &w->partEndLower;
}

void trade(SimplexWork *w, int p, int q) {
  const int a = w->list[p], b = w->list[q];
  w->list[p] = b;
  w->list[q] = a;
  w->where[b] = p;
  w->where[a] = q;
}

void moveBetweenRuns(SimplexWork *w, int k, int from, int to) {
  for (int run = from; run < to; run++) {
    int *end = runEnd(w, run);
    trade(w, w->where[k], *end);
    --*end;
  }
  for (int run = from; run > to; run--) {
    int *end = runEnd(w, run - 1);
    ++*end;
    trade(w, w->where[k], *end);
  }
}

}  // namespace

void qrtrsrt(SimplexWork *w) {
  int count[4] = {0, 0, 0, 0};
  for (int k = 1; k <= w->total; k++)
    if (!(w->flags[k] & VAR_BASIC)) count[runOfState(variableState(w->flags[k]))]++;
  int next[4];
  next[0] = w->m + 1;
  for (int run = 1; run < 4; run++) next[run] = next[run - 1] + count[run - 1];
  w->partEndFree = next[1] - 1;
  w->partEndUpper = next[2] - 1;
  w->partEndLower = next[3] - 1;
  for (int k = 1; k <= w->total; k++) {
    if (w->flags[k] & VAR_BASIC) continue;
    const int p = next[runOfState(variableState(w->flags[k]))]++;
    w->list[p] = k;
    w->where[k] = p;
  }
  list_basicsReordered(w);
  w->runsChanged = 1;
}

void list_basicsReordered(SimplexWork *w) {
  for (int i = 1; i <= w->m; i++) w->where[w->list[i]] = i;
}

void list_setState(SimplexWork *w, int k, int state) {
  const int old = variableState(w->flags[k]);
  if (old == state) return;
  if (old == 0 || state == 0) w->runsChanged = 1;
  moveBetweenRuns(w, k, runOfState(old), runOfState(state));
  w->flags[k] = (w->flags[k] & ~uint32_t(VAR_STATE)) | uint32_t(state) << VAR_STATE_SHIFT;
}

void list_pivot(SimplexWork *w, int row, int enter, int state) {
  const int leave = w->list[row], position = w->where[enter];
  const int old = variableState(w->flags[enter]);
  w->list[row] = enter;
  w->where[enter] = row;
  w->flags[enter] = (w->flags[enter] & ~uint32_t(VAR_STATE | VAR_REJECTED)) | VAR_BASIC;
  w->list[position] = leave;
  w->where[leave] = position;
  w->flags[leave] = (w->flags[leave] & ~uint32_t(VAR_STATE | VAR_BASIC)) | uint32_t(state) << VAR_STATE_SHIFT;
  moveBetweenRuns(w, leave, runOfState(old), runOfState(state));
}

int stateOfValue(const SimplexWork *w, int k) {
  if (w->upper[k] - w->lower[k] <= 1.0e-12) return 0;
  const double tolerance = qrtlplp.Rtolpinf;
  int state = 0;
  if (w->upper[k] >= QRT_INFINITE_TEST || w->value[k] < w->upper[k] - tolerance) state |= 1;
  if (w->lower[k] <= -QRT_INFINITE_TEST || w->value[k] > w->lower[k] + tolerance) state |= 2;
  // A range below the tolerance leaves neither side open; the variable may still move a little.
  if (state == 0) state = w->value[k] - w->lower[k] <= w->upper[k] - w->value[k] ? 1 : 2;
  return state;
}

const char *solveState_check(const SimplexWork *w) {
  if (w->partEndFree < w->m || w->partEndUpper < w->partEndFree || w->partEndLower < w->partEndUpper ||
      w->partEndLower > w->total)
    return "run ends out of order";
  int basics = 0;
  for (int p = 1; p <= w->total; p++) {
    const int k = w->list[p];
    if (k < 1 || k > w->total) return "list entry out of range";
    if (w->where[k] != p) return "where does not point back";
    const bool basic = (w->flags[k] & VAR_BASIC) != 0;
    if (basic != (p <= w->m)) return "basic flag and list part differ";
    if (basic) {
      basics++;
      continue;
    }
    const int run = p <= w->partEndFree ? 0 : p <= w->partEndUpper ? 1 : p <= w->partEndLower ? 2 : 3;
    if (run != runOfState(variableState(w->flags[k]))) return "variable in the wrong run";
    if (!(std::fabs(w->value[k]) < 1.0e50)) return "nonbasic value is not a number";
  }
  return basics == w->m ? nullptr : "number of basics is not the number of rows";
}
