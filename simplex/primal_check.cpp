// The check of the entering column: its true reduced cost, exact reference norm and direction, all from the FTRANed
// column and at the cost of its nonzeros.
#include "simplex/primal.h"

#include <cmath>

namespace {

enum : int { MSG_REDUCED_COSTS_DIFFER = 184 };
constexpr double FIXED_RANGE = 1.0e-12;
constexpr int LOG_DETAIL = 16;

void loadColumn(SimplexWork *w) {
  PrimalWork *p = w->primal;
  const int *row;
  const double *value;
  const int length = variableColumn(w, w->enterVar, &row, &value);
  SparseVector *alpha = &p->alpha;
  for (int e = 0; e < length; e++) {
    alpha->index[e] = row[e];
    alpha->value[row[e]] = value[e];
  }
  alpha->count = length;
  qrtftrn_ft(w->factor, alpha);
  w->pivotColumnLength = alpha->count;
  p->columnLengthSum += alpha->count;
}

// Entry 0 of the basic vectors stands for the entering variable.
void loadEntryZero(SimplexWork *w) {
  const int k = w->enterVar;
  w->basicLower[0] = w->lower[k];
  w->basicValue[0] = w->value[k];
  w->basicUpper[0] = w->upper[k];
  w->basicStatus[0] = w->flags[k] & VAR_REFERENCE;
}

// Sums over alpha: cost, infeasibility gradient, squares within the framework.
void columnSums(const SimplexWork *w, double *cost, double *infeasible, double *reference) {
  const PrimalWork *p = w->primal;
  double costSum = 0.0, infeasibleSum = 0.0, referenceSum = 0.0;
  for (int t = 0; t < p->alpha.count; t++) {
    const int i = p->alpha.index[t];
    const double a = p->alpha.value[i];
    const uint32_t status = w->basicStatus[i];
    costSum += p->basicCost[i] * a;
    if (status & (ROW_ABOVE | ROW_BELOW)) infeasibleSum += status & ROW_BELOW ? a : -a;
    if (status & VAR_REFERENCE) referenceSum += a * a;
  }
  *cost = costSum, *infeasible = infeasibleSum, *reference = referenceSum;
}

void checkWeight(SimplexWork *w, double squares) {
  if (w->flags[w->enterVar] & VAR_REFERENCE) squares += 1.0;
  const double stored = w->enterWeight;
  if (steepestEdge()) {
    w->enterGamma = squares;
    const double larger = stored > squares ? stored : squares;
    const double allowed = 0.25 * larger > 0.2 ? 0.25 * larger : 0.2;
    if (referenceMode() == 2 && std::fabs(squares - stored) > allowed) w->resetWanted = 2;
    return;
  }
  const double gamma = std::sqrt(squares);
  w->enterGamma = gamma;
  double patience = qrtlplp.Iiternum - 40 < w->factorIter ? 1.0 : 0.5;
  if (w->partialSize & 1023) patience *= 0.001;
  if (50.0 * stored < gamma * patience && gamma > 1.5) {
    w->resetWanted = -2;
    w->referenceError = 0.0;
    return;
  }
  const double limit = 0.3 * patience < w->referenceError ? 0.3 * patience : w->referenceError;
  if (gamma < limit * stored) {
    w->referenceError = gamma / stored;
    w->resetWanted = 3;
  }
}

ColumnCheck compareWithStored(SimplexWork *w, double stored, double exact) {
  double scale = std::fabs(stored) > std::fabs(exact) ? std::fabs(stored) : std::fabs(exact);
  if (scale < 1.0e-4) scale = 1.0e-4;
  const double difference = std::fabs(stored - exact);
  if (difference <= w->djTest * scale) return COLUMN_GOOD;
  if (qrtlplp.Iloglevel & LOG_DETAIL) {
    const int user = w->enterVar;
    qrtmesg_no_i1_d2(MSG_REDUCED_COSTS_DIFFER, user, stored, exact);
  }
  if (qrtlplp.Iiternum == w->factorIter) return COLUMN_REFACTOR;
  if (w->accuracyLevel < 1) w->accuracyLevel = 1;
  const bool tolerable = difference < 100.0 * w->djTest * scale && stored * exact > 0.0 && difference < 2.0 * qrtlplp.Rtoldinf;
  return tolerable ? COLUMN_GOOD : COLUMN_STALE;
}

// The values pass moves a variable to the nearer bound, whatever its reduced cost.
void valuesDirection(SimplexWork *w) {
  const int k = w->enterVar;
  const bool hasLower = w->lower[k] > -QRT_INFINITE_TEST, hasUpper = w->upper[k] < QRT_INFINITE_TEST;
  const double below = w->value[k] - w->lower[k], above = w->upper[k] - w->value[k];
  if (std::fabs(w->enterDj) > qrtlplp.Rtoldinf)
    w->enterDir = w->enterDj < 0.0 ? 1 : -1;  // a move that also pays is the better one
  else if (hasLower && hasUpper)
    w->enterDir = below <= above ? -1 : 1;
  else if (hasLower)
    w->enterDir = -1;
  else if (hasUpper)
    w->enterDir = 1;
  else
    w->enterDir = w->value[k] > 0.0 ? -1 : 1;
}

}  // namespace

ColumnCheck qrtchdj(SimplexWork *w, int found) {
  PrimalWork *p = w->primal;
  const int k = w->enterVar;
  if (w->upper[k] - w->lower[k] <= FIXED_RANGE) return COLUMN_NOT_ATTRACTIVE;
  loadColumn(w);
  loadEntryZero(w);
  double cost, infeasible, squares;
  columnSums(w, &cost, &infeasible, &squares);
  const double costPart = w->cost[k] - cost;
  const double stored = w->enterDj;
  const double exact = primalInfeasible() ? qrtlplp.Rpweight * costPart + infeasible : costPart;
  p->enterCostPart = costPart;
  p->enterInfeasiblePart = infeasible;
  if (w->priceMode == PRICE_VALUES) {
    w->enterDj = exact;
    if (qrtlplp.Ipossbasis >= 10000 && std::fabs(infeasible) > 1.0e-9) w->enterDj = infeasible;
    w->enterGamma = 1.0;
    valuesDirection(w);
    return COLUMN_GOOD;
  }
  if (qrtlplp.Idevexmode != 0 && w->priceMode == PRICE_FULL)
    checkWeight(w, squares);
  else
    w->enterGamma = 1.0;
  ColumnCheck answer = COLUMN_GOOD;
  if (found == FOUND_FULL) answer = compareWithStored(w, stored, exact);
  w->enterDj = exact;
  const double tolerance = 0.9 * pricingTolerance(w);
  if (answer == COLUMN_REFACTOR && w->djState == 8) answer = COLUMN_GOOD;  // both are fresh: the column's is the better one
  if (!attractive(w->flags[k], exact, tolerance)) {
    w->dj[k] = exact;
    candidate_changed(w, k);
    return answer == COLUMN_GOOD ? COLUMN_NOT_ATTRACTIVE : answer;
  }
  w->enterDir = exact < 0.0 ? 1 : -1;
  if (answer == COLUMN_GOOD) w->dj[k] = exact;
  return answer;
}
