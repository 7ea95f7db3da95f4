// Scale factors the solver gives a problem for its own use: powers of two, so that going in and out is exact.
#pragma once

// Column-ordered matrix with starts [0..n], rows 0-based. Fills rowScale [m], columnScale [n]: the scaled element is
// a * rowScale * columnScale. work holds 2m. Returns false, with nothing filled, when the elements are near enough to one another.
bool chooseScales(int m, int n, const int *start, const int *row, const double *value, double *rowScale,
                  double *columnScale, double *work);
