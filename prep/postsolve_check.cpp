// The last word of postsolve: the basis that came back is factorised once, and values and duals that follow from it are
// held against those that were mapped.
//
//     A x + s = 0 with s = -activity:   B x_B = -(nonbasic part),   B'y = c_B with no cost on logicals
#include <cstring>

#include "frame/guarded_memory.h"
#include "frame/records.h"
#include "model/model_store.h"
#include "prep/presolve_run.h"
#include "simplex/factor.h"

namespace {

template <class T> T *array(QRTModel *model, int64_t count) {
  T *block = static_cast<T *>(temporaryAllocate(model, count + 1, int64_t(sizeof(T))));
  std::memset(static_cast<void *>(block), 0, size_t(count + 1) * sizeof(T));
  return block;
}

bool near(double a, double b, double tolerance) { return std::fabs(a - b) <= tolerance * (1.0 + std::fabs(b)); }

// Elements in the caller's units.
double *trueElements(QRTModel *model, const CleanCopy &copy) {
  double *value = array<double>(model, copy.nElements);
  for (int j = 0; j < copy.nColumns; j++)
    for (int e = copy.starts[j]; e < copy.starts[j + 1]; e++) value[e] = copy.elements[e] / elementFactor(model, copy.rows[e], j);
  return value;
}

struct Basis {
  Factor *factor;
  int32_t *ofRow;      // [1..m] variable basic in row i
  const CleanCopy *copy;
  const double *element;
};

// Largest difference allowed between what the basis gives and what was mapped, in tolerances.
constexpr double WORTH_A_SOLVE = 10.0;

bool valuesAgree(const Postsolve *p, const Basis &b, double *work) {
  for (int i = 0; i < p->m; i++)
    if (!p->rowBasic[i]) work[i + 1] += p->model->solution[i];
  for (int j = 0; j < p->n; j++)
    if (!p->columnBasic[j] && p->x[j] != 0.0)
      for (int e = b.copy->starts[j]; e < b.copy->starts[j + 1]; e++) work[b.copy->rows[e] + 1] -= b.element[e] * p->x[j];
  qrtftrn_dense(b.factor, work);
  for (int i = 1; i <= p->m; i++) {
    const int k = b.ofRow[i];
    const double mapped = k <= p->m ? -p->model->solution[k - 1] : p->x[k - p->m - 1];
    if (!near(work[i], mapped, WORTH_A_SOLVE * qrtlplp.Rtolpinf)) return false;
  }
  return true;
}

bool dualsAgree(const Postsolve *p, const Basis &b, double *work) {
  const double *cost = p->model->objective + p->model->Imaxrows;
  for (int i = 1; i <= p->m; i++) work[i] = b.ofRow[i] <= p->m ? 0.0 : qrtlplp.Rmaxmin * cost[b.ofRow[i] - p->m - 1];
  qrtbtrn_dense(b.factor, work);
  for (int i = 0; i < p->m; i++)
    if (!near(work[i + 1], p->y[i], WORTH_A_SOLVE * qrtlplp.Rtoldinf)) return false;
  return true;
}

}  // namespace

bool basisConfirms(const Postsolve *p) {
  QRTModel *model = p->model;
  CleanCopy copy;
  qrt_cleanCopy(model, &copy, CLEAN_COLUMNS, 0.0, 0);
  const double *element = trueElements(model, copy);
  int32_t *basic = array<int32_t>(model, p->m), *ofRow = array<int32_t>(model, p->m);
  int count = 0;
  for (int i = 0; i < p->m; i++)
    if (p->rowBasic[i]) basic[count++] = i + 1;
  for (int j = 0; j < p->n && count <= p->m; j++)
    if (p->columnBasic[j] && count < p->m) basic[count++] = p->m + j + 1;
  const BasisMatrix matrix = {p->m, p->m, oneBased(copy.starts), copy.rows, element, 1};
  Basis b = {factor_create(), ofRow, &copy, element};
  bool good = count == p->m && qrtlfct(b.factor, &matrix, count, basic, 0, ofRow) == FACTOR_GOOD;
  if (good) good = valuesAgree(p, b, array<double>(model, p->m)) && dualsAgree(p, b, array<double>(model, p->m));
  factor_free(b.factor);
  qrt_deleteCleanCopy(&copy);
  return good;
}
