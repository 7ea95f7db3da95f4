// The passes of a crash: which row, which column, and the step.
#include <cmath>
#include <cstring>

#include "frame/messages.h"
#include "prep/crash.h"

namespace {

constexpr int MAX_PASSES = 50;
constexpr double EQUATION = 1.0e-12;        // a row with at most this range is an equation
constexpr double ZERO_STEP = 1.0e-12;
constexpr double PIVOT_SHARE = 0.01;        // of the column's largest element: keeps multipliers of the triangle small
constexpr double SINGLETON_BONUS = 1.0e7, DOUBLETON_BONUS = 10.0;
constexpr double RANDOM_LOW = 0.99, RANDOM_SHARE = 0.01;
constexpr int TRIES = 4;                    // columns of a row that may fail the test of their other rows
constexpr double MULTIPLIER = 16807.0, MODULUS = 2147483647.0;

double nextUniform(CrashWork *w) {
  const double product = w->seed * MULTIPLIER;
  w->seed = product - std::floor(product / MODULUS) * MODULUS;
  return w->seed / MODULUS;
}

// ---- lists of rows by their number of open columns

// Long rows share the last list, so that looking for the shortest stays cheap.
int listOf(const CrashWork *w, int i) { return w->openCount[i] < CRASH_LISTS ? w->openCount[i] : CRASH_LISTS; }

void listRow(CrashWork *w, int i) {
  const int count = listOf(w, i), head = w->first[count];
  w->next[i] = head;
  w->previous[i] = -2 - count;
  if (head >= 0) w->previous[head] = i;
  w->first[count] = i;
  w->listed[i] = 1;
  if (count < w->shortest) w->shortest = count;
}

void unlistRow(CrashWork *w, int i) {
  const int before = w->previous[i], after = w->next[i];
  if (before >= 0) w->next[before] = after;
  else w->first[-2 - before] = after;
  if (after >= 0) w->previous[after] = before;
  w->listed[i] = 0;
}

// Column j may enter no longer: the rows it is in have one usable column less.
void closeColumn(CrashWork *w, int j, CrashColumn state) {
  const bool wasOpen = w->state[j] == COLUMN_OPEN;
  w->state[j] = state;
  if (!wasOpen) return;
  for (int e = w->starts[j]; e < w->starts[j + 1]; e++) {
    const int i = w->rows[e];
    const bool listed = w->listed[i] != 0;
    if (listed) unlistRow(w, i);
    w->openCount[i]--;
    if (listed) listRow(w, i);
  }
}

// ---- a row's need

// What the row's activity must change by and the bound it then stands at; false for a row that needs nothing.
bool needOf(const CrashWork *w, int i, double *change, double *bound) {
  const double lower = w->rowLower[i], upper = w->rowUpper[i], activity = w->activity[i];
  if (activity < lower - w->tolerance || upper - lower <= EQUATION) *bound = lower;
  else if (activity > upper + w->tolerance) *bound = upper;
  else return false;
  *change = *bound - activity;
  return true;
}

// How far the open columns of a row can take its activity down and up from where it stands, and the columns through
// which each infinite part comes.
struct Reach {
  double down, up;             // finite parts
  int infiniteDown, infiniteUp;
  int positive, negative;      // open columns with elements of either sign
  int lastPositive, lastNegative;
};

Reach reachOf(const CrashWork *w, int i) {
  Reach reach = {0.0, 0.0, 0, 0, 0, 0, -1, -1};
  for (int e = w->rowStarts[i]; e < w->rowStarts[i + 1]; e++) {
    const int j = w->columns[e];
    if (w->state[j] != COLUMN_OPEN) continue;
    const double a = w->rowElements[e];
    const bool noLower = w->lower[j] <= -QRT_INFINITE_TEST, noUpper = w->upper[j] >= QRT_INFINITE_TEST;
    const double below = noLower ? 0.0 : w->lower[j] - w->value[j], above = noUpper ? 0.0 : w->upper[j] - w->value[j];
    if (a > 0.0) {
      reach.positive++;
      reach.lastPositive = e;
      reach.infiniteDown += noLower;
      reach.infiniteUp += noUpper;
      reach.down += a * below;
      reach.up += a * above;
    } else {
      reach.negative++;
      reach.lastNegative = e;
      reach.infiniteDown += noUpper;
      reach.infiniteUp += noLower;
      reach.down += a * above;
      reach.up += a * below;
    }
  }
  return reach;
}

// The only open column on one side of the row: where the row and the range of the other open columns imply a bound at
// least as tight as the column's own, the own one limits nothing and counts as none for the reach of other rows.
void relaxBound(CrashWork *w, int i, int e, const Reach &reach) {
  const int j = w->columns[e];
  const double a = w->rowElements[e];
  const bool noLower = w->lower[j] <= -QRT_INFINITE_TEST, noUpper = w->upper[j] >= QRT_INFINITE_TEST;
  const double below = noLower ? 0.0 : w->lower[j] - w->value[j], above = noUpper ? 0.0 : w->upper[j] - w->value[j];
  // For a move d of the column and a contribution c of the others, low <= c + a d <= high.
  const double high = w->rowUpper[i] - w->activity[i], low = w->rowLower[i] - w->activity[i];
  const double othersDown = reach.down - (a > 0.0 ? a * below : a * above);
  const double othersUp = reach.up - (a > 0.0 ? a * above : a * below);
  const bool othersNoDown = reach.infiniteDown - ((a > 0.0 ? noLower : noUpper) ? 1 : 0) > 0;
  const bool othersNoUp = reach.infiniteUp - ((a > 0.0 ? noUpper : noLower) ? 1 : 0) > 0;
  const bool fromHigh = w->rowUpper[i] < QRT_INFINITE_TEST && !othersNoDown;
  const bool fromLow = w->rowLower[i] > -QRT_INFINITE_TEST && !othersNoUp;
  const double byHigh = (high - othersDown) / a, byLow = (low - othersUp) / a;
  bool dropped = false;
  if (!noUpper && (a > 0.0 ? fromHigh && byHigh <= above : fromLow && byLow <= above)) {
    w->upper[j] = QRT_INFINITY;
    dropped = true;
  }
  if (!noLower && (a > 0.0 ? fromLow && byLow >= below : fromHigh && byHigh >= below)) {
    w->lower[j] = -QRT_INFINITY;
    dropped = true;
  }
  w->relaxed += dropped;
}

double violation(const CrashWork *w, int i, double activity) {
  if (activity < w->rowLower[i]) return w->rowLower[i] - activity;
  return activity > w->rowUpper[i] ? activity - w->rowUpper[i] : 0.0;
}

// The sum of infeasibilities must fall when column j moves.
bool movesWell(const CrashWork *w, int j, double step) {
  if (std::fabs(step) <= ZERO_STEP) return true;
  double before = 0.0, after = 0.0;
  for (int e = w->starts[j]; e < w->starts[j + 1]; e++) {
    const int i = w->rows[e];
    before += violation(w, i, w->activity[i]);
    after += violation(w, i, w->activity[i] + w->elements[e] * step);
  }
  return after < before;
}

double scoreOf(CrashWork *w, int j, double step) {
  const int n = w->starts[j + 1] - w->starts[j];
  double score = std::fabs(step) <= ZERO_STEP ? 0.0 : std::fabs(step);
  if (n == 1) score += SINGLETON_BONUS;
  else if (n == 2) score += DOUBLETON_BONUS;
  else if (score == 0.0) score = 1.0 / n;
  return score * (RANDOM_LOW + RANDOM_SHARE * nextUniform(w));
}

struct Choice {
  int column;
  double step, score;
};

// The best columns of row i that can take it to its bound, best first; returns how many.
int chooseColumns(CrashWork *w, int i, double change, Choice best[TRIES]) {
  int count = 0;
  for (int e = w->rowStarts[i]; e < w->rowStarts[i + 1]; e++) {
    const int j = w->columns[e];
    const double a = w->rowElements[e];
    if (w->state[j] != COLUMN_OPEN || std::fabs(a) < PIVOT_SHARE * w->columnLargest[j]) continue;
    const double step = change / a, target = w->value[j] + step;
    if (std::fabs(step) > ZERO_STEP && (target < w->columnLower[j] || target > w->columnUpper[j])) continue;
    Choice choice = {j, step, scoreOf(w, j, step)};
    int at = count < TRIES ? count++ : TRIES;
    while (at > 0 && (choice.score > best[at - 1].score || (choice.score == best[at - 1].score && j < best[at - 1].column))) {
      if (at < TRIES) best[at] = best[at - 1];
      at--;
    }
    if (at < TRIES) best[at] = choice;
  }
  return count;
}

void pivot(CrashWork *w, int row, const Choice &choice, double bound) {
  const int j = choice.column;
  w->pivotColumn[row] = j;
  w->value[j] += choice.step;
  for (int e = w->starts[j]; e < w->starts[j + 1]; e++) {
    const int i = w->rows[e];
    w->activity[i] += w->elements[e] * choice.step;
    if (i != row && w->pivotColumn[i] < 0) w->wanted[i] = 1;
  }
  w->activity[row] = bound;
  closeColumn(w, j, COLUMN_BASIC);
  for (int e = w->rowStarts[row]; e < w->rowStarts[row + 1]; e++)
    if (w->state[w->columns[e]] == COLUMN_OPEN) closeColumn(w, w->columns[e], COLUMN_BLOCKED);
  if (std::fabs(choice.step) <= ZERO_STEP) w->zeroPivots++;
  else w->nonzeroPivots++;
}

bool tryRow(CrashWork *w, int i) {
  double change, bound;
  if (w->openCount[i] == 0 || !needOf(w, i, &change, &bound)) return false;
  const Reach reach = reachOf(w, i);
  if (!reach.infiniteUp && change > reach.up + 1.0e-12) return false;
  if (!reach.infiniteDown && change < reach.down - w->tolerance) return false;
  if (w->relaxing) {
    if (reach.positive == 1) relaxBound(w, i, reach.lastPositive, reach);
    else if (reach.negative == 1) relaxBound(w, i, reach.lastNegative, reach);
  }
  Choice best[TRIES];
  const int count = chooseColumns(w, i, change, best);
  for (int k = 0; k < count; k++)
    if (movesWell(w, best[k].column, best[k].step)) {
      pivot(w, i, best[k], bound);
      return true;
    }
  return false;
}

// The rows wanted go to the lists; what they ask for from now on is for the next pass.
void listWanted(CrashWork *w) {
  for (int i = w->m - 1; i >= 0; i--) {
    if (!w->wanted[i]) continue;
    w->wanted[i] = 0;
    listRow(w, i);
  }
}

int onePass(CrashWork *w) {
  listWanted(w);
  int pivots = 0;
  for (;;) {
    while (w->shortest <= CRASH_LISTS && w->first[w->shortest] < 0) w->shortest++;
    if (w->shortest > CRASH_LISTS) return pivots;
    const int i = w->first[w->shortest];
    unlistRow(w, i);
    pivots += tryRow(w, i);
  }
}

bool anyInfeasible(const CrashWork *w) {
  for (int i = 0; i < w->m; i++)
    if (violation(w, i, w->activity[i]) > w->tolerance) return true;
  return false;
}

}  // namespace

void runCrash(CrashWork *w) {
  for (int pass = 0; pass < MAX_PASSES; pass++) {
    const int pivots = pass > 0 || anyInfeasible(w) ? onePass(w) : 0;
    qrtmesg_no_i2(MSG_CRASH_COUNTS, w->relaxed, w->zeroPivots + w->nonzeroPivots);
    qrtmesg_no_i1(MSG_ZERO_PIVOTS, w->zeroPivots);
    qrtmesg_no_i1(MSG_NONZERO_PIVOTS, w->nonzeroPivots);
#ifdef QRT_SELF_CHECKS
    if (const char *fault = crash_check(w)) qrtmesg_no_qmesg(131, fault, int(std::strlen(fault)));
#endif
    if (pivots == 0) break;
  }
}

const char *crash_check(const CrashWork *w) {
  for (int count = 0; count <= CRASH_LISTS; count++)
    for (int i = w->first[count]; i >= 0; i = w->next[i])
      if (!w->listed[i] || listOf(w, i) != count) return "crash: a row in a wrong list";
  for (int i = 0; i < w->m; i++) {
    int open = 0;
    for (int e = w->rowStarts[i]; e < w->rowStarts[i + 1]; e++) open += w->state[w->columns[e]] == COLUMN_OPEN;
    if (open != w->openCount[i]) return "crash: a wrong count of open columns";
    if (w->pivotColumn[i] >= 0 && (open || w->state[w->pivotColumn[i]] != COLUMN_BASIC))
      return "crash: a pivot row with an open column";
  }
  return nullptr;
}
