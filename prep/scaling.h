// Scaling: one factor a row, one a column, so that elements lie near 1.
//
//     stored element = a(i, j) * r(i) / c(j)        r(i) at scales[i], c(j) at scales[Imaxrows + j]
//
// Only elements are rewritten. Rims stay in the caller's units; the solver's seam multiplies bounds and values by their
// factor and divides costs and duals by it on the way in, and the other way round on the way out.
#pragma once

#include "frame/model_record.h"

enum : int {
  MSG_INITIAL_RANGE = 78,
  MSG_SCALED_RANGE = 79,
  MSG_MATRIX_REWRITTEN = 81,
  MSG_ALREADY_SCALED = 87
};

// The matrix twice over, 0-based, without zeros or duplicates.
struct ScalingMatrix {
  int nRows, nColumns;
  const int *starts, *rows;           // [nColumns + 1], [elements] by columns
  const double *elements;
  const int *rowStarts, *columns;     // [nRows + 1], [elements] by rows
  const double *rowElements;
};

struct ScalingRange {
  double smallest, largest;  // of the elements that count, before scaling
  double ratio;              // worst smallest / largest of a scaled column; 2 when the matrix was well scaled already
};

// Fills rowScale [nRows] and columnScale [nColumns] with the factors r and c. Bounds are [nRows] and [nColumns]. Free
// rows, fixed columns (range below `tolerance`) and empty ones keep 1 and do not count for the others. Allocates two
// flag arrays on the model's temporary chain.
ScalingRange qrt_compute_scales(QRTModel *model, const ScalingMatrix &matrix, const double *rowLower,
                                const double *rowUpper, const double *columnLower, const double *columnUpper,
                                double tolerance, double *rowScale, double *columnScale);

// Scales the model below: one block of type 3 replaces the matrix. A scaled one is left alone, with a warning.
void qrtscalf(QRTModel *model);
