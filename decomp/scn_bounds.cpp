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
