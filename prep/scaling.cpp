// Geometric scaling of a model's matrix, and its public entry.
#include "prep/scaling.h"

#include <cmath>
#include <cstring>

#include "frame/entry_frame.h"
#include "frame/guarded_memory.h"
#include "frame/messages.h"
#include "frame/records.h"
#include "model/model_store.h"

namespace {

constexpr int PASSES = 6;
constexpr double IGNORED = 1.0e-20;              // products at or below this do not count
constexpr double LEAST = 1.0e-12, MOST = 1.0e12; // where the largest and the smallest of a vector start
constexpr double WELL_SCALED_SPREAD = 10.0, WELL_SCALED_LOW = 0.1, WELL_SCALED_HIGH = 10.0;
constexpr double ROW_NORM_LIMIT = 25.0;          // a row's sum of squares counts up to this many squares of its largest

struct Range {
  double smallest = MOST, largest = LEAST;
};

// Smallest and largest |a| * factor of one vector, over the indices that are not skipped.
Range rangeOf(int begin, int end, const int *index, const double *element, const double *factor, const char *skip) {
  Range range;
  for (int e = begin; e < end; e++) {
    if (skip[index[e]]) continue;
    const double v = std::fabs(element[e]) * factor[index[e]];
    if (!(v > IGNORED)) continue;
    range.smallest = std::fmin(range.smallest, v);
    range.largest = std::fmax(range.largest, v);
  }
  return range;
}

bool hasCounting(int begin, int end, const int *index, const double *element, const char *skip) {
  for (int e = begin; e < end; e++)
    if (!skip[index[e]] && element[e] != 0.0) return true;
  return false;
}

// The last pass over rows scales by the norm, which one huge element must not rule alone.
double rowNormFactor(int begin, int end, const int *index, const double *element, const double *factor,
                     const char *skip) {
  double squares = LEAST, largest = LEAST;
  bool any = false;
  for (int e = begin; e < end; e++) {
    if (skip[index[e]]) continue;
    const double v = std::fabs(element[e]) * factor[index[e]];
    if (!(v > IGNORED)) continue;
    any = true;
    squares += v * v;
    largest = std::fmax(largest, v);
  }
  if (any) squares = std::fmin(squares, ROW_NORM_LIMIT * largest * largest);
  return 1.0 / std::sqrt(squares);
}

double geometric(const Range &range) { return 1.0 / std::sqrt(range.smallest * range.largest); }

// Elements times r / c in both copies; the pattern stays.
void scaleColumns(CleanCopy *copy, const double *rowScale, const double *columnScale) {
  for (int j = 0; j < copy->nColumns; j++)
    for (int e = copy->starts[j]; e < copy->starts[j + 1]; e++)
      copy->elements[e] *= rowScale[copy->rows[e]] / columnScale[j];
}

// Computes the factors and scales the column copy (qrtsclt).
void scaleCopy(QRTModel *model, CleanCopy *copy) {
  double *rowScale = model->scales, *columnScale = model->scales + model->Imaxrows;
  const ScalingMatrix matrix = {copy->nRows,     copy->nColumns, copy->starts,  copy->rows,
                                copy->elements,  copy->rowStarts, copy->columns, copy->rowElements};
  const ScalingRange range = qrt_compute_scales(model, matrix, model->lower, model->upper, model->lower + model->Imaxrows,
                                                model->upper + model->Imaxrows, qrtlplp.Rtolpinf, rowScale, columnScale);
  qrtmesg_no_d2(MSG_INITIAL_RANGE, range.smallest, range.largest);
  if (range.ratio <= 1.0) qrtmesg_no_d2(MSG_SCALED_RANGE, range.ratio, 1.0);
  scaleColumns(copy, rowScale, columnScale);
}

}  // namespace

ScalingRange qrt_compute_scales(QRTModel *model, const ScalingMatrix &x, const double *rowLower, const double *rowUpper,
                                const double *columnLower, const double *columnUpper, double tolerance,
                                double *rowScale, double *columnScale) {
  const int m = x.nRows, n = x.nColumns;
  char *skipRow = static_cast<char *>(temporaryAllocate(model, m + 1, 1));
  char *skipColumn = static_cast<char *>(temporaryAllocate(model, n + 1, 1));
  ScalingRange answer = {QRT_INFINITY, 0.0, QRT_INFINITY};
  for (int i = 0; i < m; i++) {
    rowScale[i] = 1.0;
    skipRow[i] = (rowUpper[i] > QRT_INFINITE_TEST && rowLower[i] < -QRT_INFINITE_TEST) || x.rowStarts[i] == x.rowStarts[i + 1];
  }
  for (int j = 0; j < n; j++) {
    columnScale[j] = 1.0;
    skipColumn[j] = columnUpper[j] - columnLower[j] < tolerance ||
                    !hasCounting(x.starts[j], x.starts[j + 1], x.rows, x.elements, skipRow);
  }
  for (int i = 0; i < m; i++)
    if (!skipRow[i]) skipRow[i] = !hasCounting(x.rowStarts[i], x.rowStarts[i + 1], x.columns, x.rowElements, skipColumn);

  auto rowPass = [&] {
    answer.smallest = QRT_INFINITY;
    answer.largest = 0.0;
    for (int i = 0; i < m; i++) {
      if (skipRow[i]) continue;
      const Range range = rangeOf(x.rowStarts[i], x.rowStarts[i + 1], x.columns, x.rowElements, columnScale, skipColumn);
      rowScale[i] = geometric(range);
      answer.smallest = std::fmin(answer.smallest, range.smallest);
      answer.largest = std::fmax(answer.largest, range.largest);
    }
  };
  double initialSmallest = 0.0, initialLargest = 0.0;
  for (int pass = 0; pass < PASSES; pass++) {
    rowPass();
    if (pass == 0) {
      initialSmallest = answer.smallest;
      initialLargest = answer.largest;
      const double mean = std::sqrt(initialSmallest * initialLargest);
      if (initialLargest <= WELL_SCALED_SPREAD * initialSmallest && mean >= WELL_SCALED_LOW && mean <= WELL_SCALED_HIGH) {
        answer.ratio = 2.0;
        break;
      }
    }
    for (int j = 0; j < n; j++)
      if (!skipColumn[j])
        columnScale[j] = geometric(rangeOf(x.starts[j], x.starts[j + 1], x.rows, x.elements, rowScale, skipRow));
  }
  answer.smallest = initialSmallest;
  answer.largest = initialLargest;
  if (answer.ratio != 2.0) {
    for (int i = 0; i < m; i++)
      if (!skipRow[i])
        rowScale[i] = rowNormFactor(x.rowStarts[i], x.rowStarts[i + 1], x.columns, x.rowElements, columnScale, skipColumn);
    for (int j = 0; j < n; j++) {
      if (skipColumn[j]) continue;
      const Range range = rangeOf(x.starts[j], x.starts[j + 1], x.rows, x.elements, rowScale, skipRow);
      const bool any = range.smallest < MOST;
      // From here on the factor divides: the column's largest element becomes 1.
      columnScale[j] = any ? range.largest : 1.0;
      if (any) answer.ratio = std::fmin(answer.ratio, range.smallest / range.largest);
    }
  }
  qrt_freeTemporary(model, skipColumn);
  qrt_freeTemporary(model, skipRow);
  return answer;
}

void qrtscalf(QRTModel *model) {
  if (model->matrixScaled) {
    qrtmesg_no(MSG_ALREADY_SCALED);
    return;
  }
  if (model->scales) freeRimVector(model, &model->scales);
  model->scales = newRimVector(model, 1.0);
  qrtaddr.scales = oneBased(model->scales);
  CleanCopy copy;
  qrt_cleanCopy(model, &copy, CLEAN_COLUMNS | CLEAN_ROWS | CLEAN_OWNED, 0.0, 0);
  scaleCopy(model, &copy);
  dropAllBlocks(model);
  adoptColumnBlock(model, copy.nColumns, copy.rows, copy.starts, copy.elements);
  copy.owned = 0;
  qrt_deleteCleanCopy(&copy);
  model->matrixScaled = 1;
  qrtmesg_no(MSG_MATRIX_REWRITTEN);
  selfCheckModel(model);
}

extern "C" int qrt_scale(QRTModel *model) {
  qrt_eraseFactor(model);
  qrt_enter(model, "qrt_scale", 2);
  QRT_JUMP_FRAME(model, qrt_disaster(model));
  qrt_down(model, 0, 0);
  qrtscalf(model);
  qrt_up(model, 0);
  QRT_END_FRAME();
  qrt_leave(model);
  return 0;
}
