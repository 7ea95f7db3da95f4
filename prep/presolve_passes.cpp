// The order of the reductions: what runs before the passes, in each pass, and after them.
#include <cstdio>
#include <cstdlib>

#include "frame/messages.h"
#include "prep/presolve_run.h"

namespace {

enum : int { KIND_0 = 1, KIND_1 = 2, KIND_2 = 4, KIND_3 = 8, ALL_KINDS = 15 };

// One row a step: which kinds run it, a flag it needs and one that keeps it out (0: none).
struct Step {
  int (*reduce)(Presolve *);
  int kinds, needs, without;
};

constexpr Step BEFORE[] = {
    {dropDuplicateRows, ALL_KINDS, PRESOLVE_FLAG_DUPLICATES, 0},
};
// These look at what waits and at little else, so they take turns until nothing does. Bounds of integer columns are whole
// before any column is fixed.
constexpr Step QUICK[] = {
    {roundIntegers, ALL_KINDS, 0, 0},
    {reduceBySigns, KIND_1 | KIND_2 | KIND_3, 0, 0},
    {reduceRows, ALL_KINDS, 0, 0},
    {reduceEmptyColumns, ALL_KINDS, 0, 0},
    {reduceFreeColumns, KIND_2 | KIND_3, 0, PRESOLVE_FLAG_FILL},
    {substituteFreeColumns, KIND_2 | KIND_3, PRESOLVE_FLAG_FILL, 0},
    {reduceDoubletons, KIND_1 | KIND_3, 0, 0},
};
// Each of these looks at every row or column, once a pass.
constexpr Step PASS[] = {
    {dropImpliedRows, ALL_KINDS, 0, 0},
    {tightenBounds, ALL_KINDS, 0, 0},
    // Last: it drops bounds that rows imply, which others may want to see.
    {reduceByDuals, ALL_KINDS, PRESOLVE_FLAG_DUALS, 0},
};
constexpr Step AFTER[] = {
    {dropDuplicateRows, ALL_KINDS, PRESOLVE_FLAG_DUPLICATES, 0},
    {absorbSlacks, ALL_KINDS, PRESOLVE_FLAG_DUPLICATES, 0},
    {mergeDuplicateColumns, ALL_KINDS, PRESOLVE_FLAG_DUPLICATES, 0},
    {fixDominatedColumns, ALL_KINDS, PRESOLVE_FLAG_DUALS, 0},
};
// A matrix with empty rows or columns is no model to hand on, whatever the passes left.
constexpr Step CLEAN[] = {
    {roundIntegers, ALL_KINDS, 0, 0},
    {reduceRows, ALL_KINDS, 0, 0},
    {reduceEmptyColumns, ALL_KINDS, 0, 0},
};

#ifdef QRT_SELF_CHECKS
void selfCheck(const Presolve *p) {
  const char *fault = presolve_check(p);
  if (!fault) return;
  fprintf(stderr, "presolve: %s\n", fault);
  abort();
}
#else
void selfCheck(const Presolve *) {}
#endif

// Runs the steps that apply; the number of changes, or the failure.
template <int N> int runSteps(Presolve *p, const Step (&steps)[N]) {
  int done = 0;
  for (const Step &step : steps) {
    if (!(step.kinds & (1 << p->kind)) || (step.needs && !(p->flags & step.needs)) || (p->flags & step.without)) continue;
    if (p->plain && step.reduce != reduceRows) continue;
    const int result = step.reduce(p);
    if (result < 0) return result;
    done += result;
    selfCheck(p);
  }
  return done;
}

// The steps until they find nothing more; 0, or the failure.
template <int N> int exhaust(Presolve *p, const Step (&steps)[N]) {
  int result = 1;
  while (result > 0) result = runSteps(p, steps);
  return result;
}

// On a large program a pass that removed next to nothing is the last: each costs a few looks at every element.
constexpr int LARGE = 50000;
constexpr double LITTLE = 0.01;
bool worthAnother(const Presolve *p, int rows, int columns) {
  const int gone = rows - p->liveRows + columns - p->liveColumns;
  return gone > (p->liveEntries > LARGE ? LITTLE * (rows + columns) : 0.0);
}

// Passes go on until one removes nothing; what the steps after them find may start them again, except where only
// activities count.
int runAll(Presolve *p, int passes) {
  int result = runSteps(p, BEFORE);
  bool finished = false;
  for (p->pass = 1; result >= 0 && p->pass <= passes && !finished; p->pass++) {
    const int rows = p->liveRows, columns = p->liveColumns;
    result = exhaust(p, QUICK);
    if (result == 0) result = runSteps(p, PASS);
    if (result < 0 || p->liveRows == 0) break;
    if (worthAnother(p, rows, columns)) continue;
    result = runSteps(p, AFTER);
    finished = p->kind == 0 || !worthAnother(p, rows, columns);
  }
  if (result >= 0 && !finished) result = runSteps(p, AFTER);
  if (result >= 0 && (p->flags & PRESOLVE_FLAG_REPAIR)) p->repair = 1;
  if (result >= 0) result = exhaust(p, CLEAN);
  return result;
}

}  // namespace

int runPasses(Presolve *p, int passes) {
  if (p->plain == PRESOLVE_NOTHING) return 0;
  const int result = runAll(p, passes);
  if (result == PRESOLVE_UNBOUNDED) qrtmesg_no_q1(MSG_UNBOUNDED, "qrtredc", -1);
  return result < 0 ? result : 0;
}
