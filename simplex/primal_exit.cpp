// The user's word on the variable that leaves (exit QRTCZRU): its default, its call, and the check of what it answers.
#include "simplex/primal.h"

#include <cmath>

// Weak: a program that defines a function of this name is called instead. It changes nothing.
extern "C" __attribute__((weak)) void QRTCZRU(int enteringVariable, int numberRows, const double *column, int *row, int *bound) {
  (void)enteringVariable, (void)numberRows, (void)column, (void)row, (void)bound;
}

namespace {

enum : int { MSG_BAD_EXIT_CHOICE = 173 };
constexpr double LEAST_PIVOT = 1.0e-12;

void refuse(int value, int position) {
  messageI(1, value);
  messageI(2, position);
  qrtmesg_no_q1(MSG_BAD_EXIT_CHOICE, "QRTCZRU", 7);
}

}  // namespace

RatioResult qrtczru(SimplexWork *w, RatioResult found, RatioChoice *choice) {
  if (found != RATIO_ROW && found != RATIO_FLIP) return found;
  const PrimalWork *p = w->primal;
  int row = choice->row, bound = choice->leavesAtUpper ? 2 : 0;
  const int oldRow = row, oldBound = bound;
  QRTCZRU(w->enterVar, w->m, p->alpha.value, &row, &bound);
  if (row == oldRow && bound == oldBound) return found;
  if (row < 1 || row > w->m || std::fabs(p->alpha.value[row]) <= LEAST_PIVOT) {
    refuse(row, 4);
    return found;
  }
  const double target = bound == 2 ? w->basicUpper[row] : w->basicLower[row];
  if ((bound != 0 && bound != 2) || std::fabs(target) >= QRT_INFINITE_TEST) {
    refuse(bound, 5);
    return found;
  }
  choice->row = row;
  choice->leavesAtUpper = bound == 2;
  choice->pivot = p->alpha.value[row];
  choice->step = (w->basicValue[row] - target) / (w->enterDir * choice->pivot);
  return RATIO_ROW;
}
