// Reference weights and reduced costs carried from one iteration to the next by the pivotal row, and the row copy of
// the matrix that forms that row from the nonzeros of rho.
//
//     dj_j     := dj_j - theta * alpha_rj - change' a_j            theta = dj_q / alpha_rq
//     Devex    weight_j := max(weight_j, |alpha_rj / alpha_rq| * enterGamma)
//     steepest edge   weight_j := weight_j + r (r * enterGamma + tau_j),  r = alpha_rj / alpha_rq,  tau = -2 B^-T alpha_F
//
// Devex weights are norms over the reference framework F (Harris 1973), steepest edge weights squared norms (Goldfarb
// and Reid 1977, restricted to F: the projected form). rho belongs to the basis before the exchange.
#include "simplex/primal.h"

#include <cmath>
#include <cstring>

#include "simplex/exotic.h"

namespace {

// Weight a variable outside the framework starts with when it leaves the basis.
constexpr double OUTSIDE_WEIGHT = 1.0e-12;
// The list of a pivotal row is given up when it passes this share of all variables: a sweep is cheaper then.
constexpr double LIST_SHARE = 0.15;

// A vector too full for the row copy to pay, or an expert who wants none of it.
bool fullRow(const SimplexWork *w, const SparseVector *rho) {
  return int64_t(rho->count) * 4 > w->m || (w->exotic && w->exotic->otherKernels);
}

// Fixed nonbasics never enter, so they stand with the basics behind the end of each row.
bool inPivotRow(uint32_t flags) { return !(flags & VAR_BASIC) && (flags & VAR_STATE); }

// alpha_j := rho' a_j column by column, for a rho that is too full for the row copy to pay.
void formByColumns(SimplexWork *w, const SparseVector *rho, double *out) {
  for (int place = w->m + 1; place <= w->partEndLower; place++) {
    const int k = w->list[place];
    if (k <= w->m) {
      out[k] = rho->value[k];
      continue;
    }
    const int j = k - w->m;
    double sum = 0.0;
    for (int e = w->colStart[j]; e < w->colStart[j + 1]; e++) sum += w->colValue[e] * rho->value[w->colRow[e]];
    out[k] = sum;
  }
}

// Adds rows of the copy from slot `first` of rho's list on, without keeping a list.
void addRowsWithoutList(SimplexWork *w, const SparseVector *rho, int first, double *out) {
  const PrimalWork *p = w->primal;
  for (int t = first; t < rho->count; t++) {
    const int i = rho->index[t];
    const double x = rho->value[i];
    if (inPivotRow(w->flags[i])) out[i] += x;
    for (int e = w->rowStart[i]; e < p->rowEnd[i]; e++) out[p->rowVar[e]] += x * p->rowValue[e];
  }
}

// Visits the entries of the pivotal row with |alpha| above TINY_VALUE and leaves the vector empty.
template <class Visit> void drainRow(SparseVector *row, const SimplexWork *w, Visit visit) {
  double *value = row->value;
  if (row->count >= 0) {
    for (int t = 0; t < row->count; t++) {
      const int k = row->index[t];
      const double a = value[k];
      value[k] = 0.0;
      if (std::fabs(a) > TINY_VALUE) visit(k, a);
    }
  } else {
    for (int k = 1; k <= w->total; k++) {
      const double a = value[k];
      if (a == 0.0) continue;
      value[k] = 0.0;
      if (std::fabs(a) > TINY_VALUE) visit(k, a);
    }
  }
  row->count = 0;
}

// Weights 1 + |B^-1 a_j|^2 for every structural: one FTRAN each, worth it only when asked for by the control.
void exactNorms(SimplexWork *w) {
  PrimalWork *p = w->primal;
  for (int k = 1; k <= w->total; k++) {
    if (w->flags[k] & VAR_BASIC) continue;
    const int *row;
    const double *value;
    const int length = variableColumn(w, k, &row, &value);
    for (int e = 0; e < length; e++) sparseVector_add(&p->tau, row[e], value[e]);
    qrtftrn(w->factor, &p->tau, SOLVE_RHS);
    double sum = 1.0;
    for (int t = 0; t < p->tau.count; t++) sum += p->tau.value[p->tau.index[t]] * p->tau.value[p->tau.index[t]];
    w->weight[k] = sum;
    sparseVector_clear(&p->tau);
  }
}

}  // namespace

void rows_partition(SimplexWork *w) {
  PrimalWork *p = w->primal;
  if (p->rowsArePartitioned && !w->runsChanged) return;
  for (int i = 1; i <= w->m; i++) {
    int low = w->rowStart[i], high = w->rowStart[i + 1];
    while (low < high) {
      if (inPivotRow(w->flags[p->rowVar[low]])) {
        low++;
        continue;
      }
      high--;
      const int k = p->rowVar[low];
      const double a = p->rowValue[low];
      p->rowVar[low] = p->rowVar[high], p->rowValue[low] = p->rowValue[high];
      p->rowVar[high] = k, p->rowValue[high] = a;
    }
    p->rowEnd[i] = low;
  }
  p->rowsArePartitioned = 1;
  w->runsChanged = 0;
}

void rows_exchange(SimplexWork *w, int entering, int leaving) {
  PrimalWork *p = w->primal;
  const auto swapSlots = [p](int a, int b) {
    const int k = p->rowVar[a];
    const double x = p->rowValue[a];
    p->rowVar[a] = p->rowVar[b], p->rowValue[a] = p->rowValue[b];
    p->rowVar[b] = k, p->rowValue[b] = x;
  };
  if (entering > w->m)
    for (int e = w->colStart[entering - w->m]; e < w->colStart[entering - w->m + 1]; e++) {
      const int i = w->colRow[e];
      int slot = w->rowStart[i];
      while (p->rowVar[slot] != entering) slot++;
      swapSlots(slot, --p->rowEnd[i]);
    }
  if (leaving > w->m && inPivotRow(w->flags[leaving]))
    for (int e = w->colStart[leaving - w->m]; e < w->colStart[leaving - w->m + 1]; e++) {
      const int i = w->colRow[e];
      int slot = p->rowEnd[i];
      while (p->rowVar[slot] != leaving) slot++;
      swapSlots(slot, p->rowEnd[i]++);
    }
}

void pivotRow_form(SimplexWork *w, const SparseVector *rho) {
  PrimalWork *p = w->primal;
  SparseVector *row = &p->pivotRow;
  double *out = row->value;
  if (fullRow(w, rho)) {
    formByColumns(w, rho, out);
    row->count = LIST_UNKNOWN;
    return;
  }
  const int limit = int(LIST_SHARE * w->total);
  int count = 0;
  for (int t = 0; t < rho->count; t++) {
    const int i = rho->index[t];
    const double x = rho->value[i];
    if (inPivotRow(w->flags[i])) {
      out[i] = x;
      row->index[count++] = i;
    }
    for (int e = w->rowStart[i]; e < p->rowEnd[i]; e++) {
      const int k = p->rowVar[e];
      const double old = out[k];
      const double sum = old + x * p->rowValue[e];
      if (old == 0.0) row->index[count++] = k;
      out[k] = sum == 0.0 ? CANCELLED_VALUE : sum;
    }
    if (count > limit) {
      addRowsWithoutList(w, rho, t + 1, out);
      row->count = LIST_UNKNOWN;
      return;
    }
  }
  row->count = count;
}

namespace {

// What one exchange does to the nonbasic j with alpha_rj = a and, for steepest edge, a_j' tau = t.
template <int MODE> struct Carry {
  SimplexWork *w;
  PrimalWork *p;
  double theta;      // what dj loses per unit of alpha_rj
  double scale;      // Devex: enterGamma / |pivot|
  double inverse;    // 1 / pivot
  double gamma;
  bool exactNorms;
  void operator()(int k, double a, double t) const {
    double *weight = w->weight;
    if (MODE == SCORE_STEEPEST) {
      const double r = a * inverse;
      double x = weight[k] + r * (r * gamma - 2.0 * t);
      if (exactNorms && x < r * r + 1.0) x = r * r + 1.0;
      weight[k] = x > w->weightFloor ? x : w->weightFloor;
    } else if (MODE == SCORE_DEVEX) {
      const double size = std::fabs(a) * scale;
      if (weight[k] < size) weight[k] = size;
    }
    w->dj[k] -= theta * a;
    candidate_note<MODE>(w, p, k);
  }
};

// A full rho: each column meets rho and tau at once, both from one place in memory.
typedef double Pair __attribute__((vector_size(16)));
void carryByPairs(SimplexWork *w, const Carry<SCORE_STEEPEST> &carry) {
  PrimalWork *p = w->primal;
  Pair *pairs = reinterpret_cast<Pair *>(p->pairs);
  const double *rho = p->rho.value, *tau = p->tau.value;
  for (int i = 1; i <= w->m; i++) pairs[i] = Pair{rho[i], tau[i]};
  const int *colRow = w->colRow;
  const double *colValue = w->colValue;
  for (int place = w->m + 1; place <= w->partEndLower; place++) {
    const int k = w->list[place];
    Pair sum;
    if (k <= w->m) {
      sum = pairs[k];
    } else {
      const int end = w->colStart[k - w->m + 1];
      sum = Pair{0.0, 0.0};
      for (int e = w->colStart[k - w->m]; e < end; e++) sum += Pair{colValue[e], colValue[e]} * pairs[colRow[e]];
    }
    if (std::fabs(sum[0]) > TINY_VALUE) carry(k, sum[0], sum[1]);
  }
}

bool tauByRowsPays(const SimplexWork *w) {
  const PrimalWork *p = w->primal;
  const double columns = p->pivotRow.count < 0 ? w->total : p->pivotRow.count;
  // Scattered additions cost about a third more than the products of a column.
  return 1.3 * p->tau.count * (w->n + w->m) < columns * w->m && columns > 0.1 * w->total;
}

template <int MODE> void carryRow(SimplexWork *w, const Carry<MODE> &carry) {
  PrimalWork *p = w->primal;
  pivotRow_form(w, &p->rho);
  drainRow(&p->pivotRow, w, [&carry](int k, double a) { carry(k, a, 0.0); });
}
template <> void carryRow<SCORE_STEEPEST>(SimplexWork *w, const Carry<SCORE_STEEPEST> &carry) {
  PrimalWork *p = w->primal;
  if (fullRow(w, &p->rho)) {
    carryByPairs(w, carry);
    return;
  }
  pivotRow_form(w, &p->rho);
  if (tauByRowsPays(w)) {
    // The products of tau with all columns at once, by its rows: cheaper than column by column for a long pivotal row.
    double *products = p->tauRow;
    addRowsWithoutList(w, &p->tau, 0, products);
    drainRow(&p->pivotRow, w, [&carry, products](int k, double a) { carry(k, a, products[k]); });
    std::memset(products, 0, (size_t(w->total) + 1) * sizeof(double));
    return;
  }
  const double *tau = p->tau.value;
  drainRow(&p->pivotRow, w, [&carry, w, tau](int k, double a) { carry(k, a, columnTimes(w, k, tau)); });
}

template <int MODE> void changeRow(SimplexWork *w) {
  PrimalWork *p = w->primal;
  drainRow(&p->pivotRow, w, [w, p](int k, double a) {
    w->dj[k] -= a;
    candidate_note<MODE>(w, p, k);
  });
}

}  // namespace

void change_apply(SimplexWork *w) {
  PrimalWork *p = w->primal;
  qrtbtrn(w->factor, &p->change, SOLVE_DUALS);
  pivotRow_form(w, &p->change);
  if (p->scoreMode == SCORE_STEEPEST)
    changeRow<SCORE_STEEPEST>(w);
  else if (p->scoreMode == SCORE_DEVEX)
    changeRow<SCORE_DEVEX>(w);
  else
    changeRow<SCORE_SIZE>(w);
}

void weights_update(SimplexWork *w, int djWanted) {
  PrimalWork *p = w->primal;
  const int leaving = w->leaveVar;
  const double pivot = w->pivotValue;
  // The reduced cost that the exchange brings to zero, with the gradient after the step (but for the leaving row,
  // whose own change multiplies the same rho and cancels).
  double enterDj = w->enterDj;
  for (int t = 0; t < p->change.count; t++) {
    const int i = p->change.index[t];
    if (i != w->leaveRow) enterDj -= p->change.value[i] * p->alpha.value[i];
  }
  const double leaveChange = p->change.value[w->leaveRow];
  const double theta = enterDj / pivot, gamma = w->enterGamma, inverse = 1.0 / pivot, scale = gamma / std::fabs(pivot);
  if (leaveChange != 0.0) p->change.value[w->leaveRow] = CANCELLED_VALUE;
  const int otherChanges = p->change.count - (leaveChange != 0.0 ? 1 : 0);
  const bool exact = referenceMode() >= 3;
  if (p->scoreMode == SCORE_STEEPEST) {
    carryRow(w, Carry<SCORE_STEEPEST>{w, p, theta, scale, inverse, gamma, exact});
    const double own = gamma * inverse * inverse;
    w->weight[leaving] = exact && own < inverse * inverse + 1.0 ? inverse * inverse + 1.0 : own > w->weightFloor ? own : w->weightFloor;
  } else {
    if (p->scoreMode == SCORE_DEVEX)
      carryRow(w, Carry<SCORE_DEVEX>{w, p, theta, scale, inverse, gamma, exact});
    else
      carryRow(w, Carry<SCORE_SIZE>{w, p, theta, scale, inverse, gamma, exact});
    const double start = p->leavesReference ? 1.0 : OUTSIDE_WEIGHT;
    w->weight[leaving] = scale > start ? scale : start;
  }
  if (djWanted && otherChanges > 0) change_apply(w);
  w->dj[w->enterVar] = 0.0;
  w->dj[leaving] = leaveChange - theta;
}

void qrtrctf(SimplexWork *w) {
  w->resetWanted = 0;
  w->priceBase = qrtlplp.Iiternum;
  w->referenceError = 10.0;
  for (int k = 1; k <= w->total; k++) {
    w->weight[k] = 1.0;
    if (w->flags[k] & VAR_BASIC)
      w->flags[k] &= ~VAR_REFERENCE;
    else
      w->flags[k] |= VAR_REFERENCE;
  }
  for (int i = 1; i <= w->m; i++) w->basicStatus[i] &= ~VAR_REFERENCE;
  if (steepestEdge()) {
    w->priceRefresh = referenceMode() >= 3 ? 999999 : 3000000;
    if (referenceMode() >= 3) exactNorms(w);
  }
  w->djState = 5;
  w->enterGamma = 0.0;
}

const char *rows_check(const SimplexWork *w) {
  const PrimalWork *p = w->primal;
  if (!p->rowsArePartitioned) return nullptr;
  for (int i = 1; i <= w->m; i++) {
    if (p->rowEnd[i] < w->rowStart[i] || p->rowEnd[i] > w->rowStart[i + 1]) return "the end of a row's nonbasics lies outside the row";
    for (int e = w->rowStart[i]; e < w->rowStart[i + 1]; e++) {
      const uint32_t flags = w->flags[p->rowVar[e]];
      if (e < p->rowEnd[i] && (flags & VAR_BASIC)) return "a basic column stands among a row's nonbasics";
      if (e >= p->rowEnd[i] && inPivotRow(flags)) return "a nonbasic column stands behind a row's nonbasics";
    }
  }
  return nullptr;
}
