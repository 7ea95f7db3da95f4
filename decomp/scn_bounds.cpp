// The three bound sets of a subproblem. The bounds of its virtual columns belong to the proposal and are not touched.
#include <cstdio>
#include <cstring>

#include "decomp/scn_benders.h"

namespace {

void fillPair(double l, double u, int k, double *rayLower, double *rayUpper, double *anchorLower, double *anchorUpper) {
  const bool hasLower = l > -SCN_INFINITY, hasUpper = u < SCN_INFINITY;
  rayLower[k] = hasLower ? 0.0 : -SCN_INFINITY;
  rayUpper[k] = hasUpper ? 0.0 : SCN_INFINITY;
  anchorLower[k] = hasLower ? l : hasUpper ? u : 0.0;
  anchorUpper[k] = hasUpper ? u : hasLower ? l : 0.0;
}

void copyInto(double *to, const double *from, int n) {
  if (n > 0) memcpy(to, from, size_t(n) * sizeof(double));
}

}  // namespace

void makeBoundSets(const QRTModel *model, const BoundSet *original, const BoundSet *ray, const BoundSet *anchor, int nCols, int nRows) {
  copyInto(original->colLower, model->lower + model->Imaxrows, nCols);
  copyInto(original->colUpper, model->upper + model->Imaxrows, nCols);
  copyInto(original->rowLower, model->lower, nRows);
  copyInto(original->rowUpper, model->upper, nRows);
  for (int j = 0; j < nCols; ++j)
    fillPair(original->colLower[j], original->colUpper[j], j, ray->colLower, ray->colUpper, anchor->colLower, anchor->colUpper);
  for (int i = 0; i < nRows; ++i)
    fillPair(original->rowLower[i], original->rowUpper[i], i, ray->rowLower, ray->rowUpper, anchor->rowLower, anchor->rowUpper);
}

const BoundSet *chooseBounds(int which, const BoundSet *original, const BoundSet *ray, const BoundSet *anchor) {
  if (which == BOUNDS_ORIGINAL) return original;
  if (which == BOUNDS_RAY) return ray;
  if (which == BOUNDS_ANCHOR) return anchor;
  printf("Invalid bounds type specified\n");
  return nullptr;
}

void putBounds(QRTModel *model, const BoundSet *set, int nCols, int nRows) {
  copyInto(model->lower + model->Imaxrows, set->colLower, nCols);
  copyInto(model->upper + model->Imaxrows, set->colUpper, nCols);
  copyInto(model->lower, set->rowLower, nRows);
  copyInto(model->upper, set->rowUpper, nRows);
}

namespace {

BoundSet *newSet(QRTStoch *base, int nCols, int nRows) {
  BoundSet *set = static_cast<BoundSet *>(qrtbenders_Calloc(base, "qrts_Cslav0", sizeof(BoundSet), 0));
  double **vectors[4] = {&set->colLower, &set->colUpper, &set->rowLower, &set->rowUpper};
  for (int v = 0; v < 4; ++v)
    *vectors[v] = static_cast<double *>(
        qrtbenders_Calloc(base, "qrts_Cslav0", int64_t(v < 2 ? nCols : nRows) * int64_t(sizeof(double)), 0));
  return set;
}

}  // namespace

void qrts_Cslav0(QRTStoch *base, QRTStoch *sub) {
  BendersMethod *method = methodOf(sub);
  const QRTModel *model = sub->smodel->model;
  const int nCols = method->slave->realCols, nRows = model->Inumrows;
  method->originalBounds = newSet(base, nCols, nRows);
  method->rayBounds = newSet(base, nCols, nRows);
  method->anchorBounds = newSet(base, nCols, nRows);
  makeBoundSets(model, method->originalBounds, method->rayBounds, method->anchorBounds, nCols, nRows);
  method->activeBounds = BOUNDS_ORIGINAL;
}

void qrts_Cgtbd(QRTStoch *sub, int which) {
  BendersMethod *method = methodOf(sub);
  if (which == method->activeBounds) return;
  const BoundSet *set = chooseBounds(which, method->originalBounds, method->rayBounds, method->anchorBounds);
  if (!set) return;
  putBounds(sub->smodel->model, set, method->slave->realCols, sub->smodel->nRows);
  method->activeBounds = which;
}
