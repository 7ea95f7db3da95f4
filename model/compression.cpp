// Compression before a solve: free basic rows and fixed nonbasic columns leave the model, and come back after it
// with everything a caller can see about them.
//
// With F the fixed columns at x_F and K the kept ones, the small model is
//
//     min c_K x_K   s.t.   l - A_F x_F <= A_K x_K <= u - A_F x_F,      offset' = offset - c_F x_F
//
// so that its objective value is that of the whole. Free rows bound nothing and are left out; a row or column is
// kept when its status would make the basis of the small model too small (fixed but basic) or too large (free but
// nonbasic). Afterwards, with y the row duals and w, d the multipliers or the ray in aux:
//
//     reduced cost of j in F   Rmaxmin c_j - a_j y         activity of a free row i   a_i x
//     aux of j in F            -a_j w (multipliers) or 0   aux of a free row i        0 or a_i d (ray)
#include <cmath>
#include <cstring>

#include "frame/entry_frame.h"
#include "frame/guarded_memory.h"
#include "frame/records.h"
#include "frame/work_image.h"
#include "model/model_store.h"

struct CompressInfo {
  QRTModel whole;       // the model's record as it was: owner of the arrays put aside
  int *keptRow;         // [small rows] row number in the whole
  int *keptColumn;      // [small columns]
  int *rowPosition;     // [whole rows] number in the small model, -1 when taken out
  int *columnPosition;  // [whole columns]
  double *rowShift;     // [whole rows] A_F x_F
  double offset;        // RobjectiveOffset of the whole
  int32_t smallRows, smallColumns;
};

namespace {

bool isBasic(const QRTModel *model, int at) { return (uint32_t(model->status[at]) & STATUS_BASIC) != 0; }

bool isFreeBasicRow(const QRTModel *model, int i) {
  return model->lower[i] <= -QRT_INFINITE_TEST && model->upper[i] >= QRT_INFINITE_TEST && isBasic(model, i);
}
bool isFixedNonbasicColumn(const QRTModel *model, int j) {
  const int at = model->Imaxrows + j;
  return model->lower[at] == model->upper[at] && std::fabs(model->lower[at]) < QRT_INFINITE_TEST &&
         !isBasic(model, at);
}

// The matrix must be one block by columns over all of them; quadratic terms and parametric changes would need
// more than the bounds to move.
bool canCompress(const QRTModel *model) {
  if (model->compression || model->Inumblocks != 1 || model->Inumquadraticblocks > 0) return false;
  if (model->objectiveDelta || model->lowerDelta || model->upperDelta || !model->lower) return false;
  const ElementBlock &b = model->blocks[0];
  return !isTriples(b) && b.count == model->Inumcols && blockRowOffset(model, b) == 0 &&
         blockColumnOffset(model, b) == 0;
}

// Value of stored element e of column j without its scale factors.
double unscaled(const QRTModel *model, const ElementBlock &b, int e, int j) {
  return b.elements[e] / elementFactor(model, b.rows[e], j);
}

template <class T> T *temporary(QRTModel *model, int64_t n) {
  return static_cast<T *>(temporaryAllocate(model, n > 0 ? n : 1, sizeof(T)));
}

// Positions of what stays; answers how many go.
int choose(QRTModel *model, CompressInfo *info) {
  int rows = 0, columns = 0;
  for (int i = 0; i < model->Inumrows; i++) {
    const bool out = isFreeBasicRow(model, i);
    info->rowPosition[i] = out ? -1 : rows;
    if (!out) info->keptRow[rows++] = i;
  }
  for (int j = 0; j < model->Inumcols; j++) {
    const bool out = isFixedNonbasicColumn(model, j);
    info->columnPosition[j] = out ? -1 : columns;
    if (!out) info->keptColumn[columns++] = j;
  }
  info->smallRows = rows;
  info->smallColumns = columns;
  return model->Inumrows - rows + model->Inumcols - columns;
}

int64_t smallLength(const CompressInfo *info) { return int64_t(info->smallRows) + info->smallColumns + 3; }

template <class T> T *compressVector(QRTModel *model, const CompressInfo *info, const T *whole) {
  if (!whole) return nullptr;
  T *small = temporary<T>(model, smallLength(info));
  memset(small, 0, sizeof(T) * size_t(smallLength(info)));
  const T *columns = whole + info->whole.Imaxrows;
  for (int i = 0; i < info->smallRows; i++) small[i] = whole[info->keptRow[i]];
  for (int j = 0; j < info->smallColumns; j++) small[info->smallRows + j] = columns[info->keptColumn[j]];
  return small;
}

// Scatters a vector of the small model, whose column part begins at smallRows, over one of the whole.
template <class T> void spreadVector(const CompressInfo *info, const T *small, T *whole) {
  T *columns = whole + info->whole.Imaxrows;
  for (int i = 0; i < info->smallRows; i++) whole[info->keptRow[i]] = small[i];
  for (int j = 0; j < info->smallColumns; j++) columns[info->keptColumn[j]] = small[info->smallRows + j];
}

char *compressEntries(QRTModel *model, const char *whole, int stride, const int *kept, int n) {
  if (!whole) return nullptr;
  char *small = temporary<char>(model, int64_t(stride) * n);
  for (int k = 0; k < n; k++) memcpy(small + int64_t(k) * stride, whole + int64_t(kept[k]) * stride, size_t(stride));
  return small;
}

// The kept part of the matrix as one block in an array of its own.
ElementBlock *compressBlock(QRTModel *model, const CompressInfo *info) {
  const ElementBlock &b = model->blocks[0];
  int64_t n = 0;
  for (int j = 0; j < info->smallColumns; j++) {
    const int c = info->keptColumn[j];
    for (int e = b.columns[c]; e < b.columns[c + 1]; e++) n += info->rowPosition[b.rows[e]] >= 0;
  }
  ElementBlock *small = temporary<ElementBlock>(model, 1);
  *small = b;
  small->count = small->extent = info->smallColumns;
  small->rows = temporary<int>(model, n);
  small->columns = temporary<int>(model, int64_t(info->smallColumns) + 1);
  small->elements = temporary<double>(model, n);
  int kept = 0;
  small->columns[0] = 0;
  for (int j = 0; j < info->smallColumns; j++) {
    const int c = info->keptColumn[j];
    for (int e = b.columns[c]; e < b.columns[c + 1]; e++) {
      if (info->rowPosition[b.rows[e]] < 0) continue;
      small->rows[kept] = info->rowPosition[b.rows[e]];
      small->elements[kept++] = b.elements[e];
    }
    small->columns[j + 1] = kept;
  }
  small->rowBase = blockShift(model);
  small->columnBase = info->smallRows + blockShift(model);
  return small;
}

// Sums A_F x_F into rowShift; answers c_F x_F.
double gatherFixed(const QRTModel *model, CompressInfo *info) {
  const ElementBlock &b = model->blocks[0];
  double cost = 0.0;
  for (int j = 0; j < model->Inumcols; j++) {
    if (info->columnPosition[j] >= 0) continue;
    const double x = model->lower[model->Imaxrows + j];
    if (x == 0.0) continue;
    cost += model->objective[model->Imaxrows + j] * x;
    for (int e = b.columns[j]; e < b.columns[j + 1]; e++) info->rowShift[b.rows[e]] += unscaled(model, b, e, j) * x;
  }
  return cost;
}

void shiftRows(QRTModel *model, const CompressInfo *info) {
  for (int i = 0; i < info->smallRows; i++) {
    const double shift = info->rowShift[info->keptRow[i]];
    if (shift == 0.0) continue;
    if (model->lower[i] > -QRT_INFINITE_TEST) model->lower[i] -= shift;
    if (model->upper[i] < QRT_INFINITE_TEST) model->upper[i] -= shift;
    model->solution[i] -= shift;
  }
}

void storeOffset(QRTModel *model, double offset) {
  if (model == qrt_modelInfo) qrtlplp.RobjectiveOffset = offset;
  if (model->furtherInfo) imageOf(model)->lplp.RobjectiveOffset = offset;
}

// The arrays of the small model, on the chain until all are there.
struct SmallArrays {
  double *lower, *solution, *upper, *dual, *objective, *scales, *aux, *rweight;
  int *status;
  char *rownames, *colnames, *integerTypes;
  ElementBlock *blocks;
};

SmallArrays makeSmall(QRTModel *model, const CompressInfo *info) {
  SmallArrays s;
  s.lower = compressVector(model, info, model->lower);
  s.solution = compressVector(model, info, model->solution);
  s.upper = compressVector(model, info, model->upper);
  s.dual = compressVector(model, info, model->dual);
  s.objective = compressVector(model, info, model->objective);
  s.scales = compressVector(model, info, model->scales);
  s.aux = compressVector(model, info, model->aux);
  s.rweight = compressVector(model, info, model->rweight);
  s.status = compressVector(model, info, model->status);
  s.rownames = compressEntries(model, model->rownames, nameStride(model), info->keptRow, info->smallRows);
  s.colnames = compressEntries(model, model->colnames, nameStride(model), info->keptColumn, info->smallColumns);
  s.integerTypes = compressEntries(model, model->integerTypes, 1, info->keptColumn, info->smallColumns);
  s.blocks = compressBlock(model, info);
  return s;
}

// Puts the small arrays in place of the whole ones, which info->whole remembers. Nothing can fail here.
void install(QRTModel *model, CompressInfo *info, const SmallArrays &s) {
  void *const made[] = {s.lower, s.solution, s.upper, s.dual, s.objective, s.scales, s.aux, s.rweight, s.status,
                        s.rownames, s.colnames, s.integerTypes, s.blocks, s.blocks->rows, s.blocks->columns,
                        s.blocks->elements, info, info->keptRow, info->keptColumn, info->rowPosition,
                        info->columnPosition, info->rowShift};
  for (void *block : made) qrt_makePermanent(model, block);
  model->lower = s.lower;
  model->solution = s.solution;
  model->upper = s.upper;
  model->dual = s.dual;
  model->objective = s.objective;
  model->scales = s.scales;
  model->aux = s.aux;
  model->rweight = s.rweight;
  model->status = s.status;
  model->rownames = s.rownames;
  model->colnames = s.colnames;
  model->integerTypes = s.integerTypes;
  model->blocks = s.blocks;
  model->rowColumnCopy = nullptr;
  model->boundSensitivity = nullptr;
  model->sellistrow = model->sellistcol = nullptr;
  model->integerTypeIndex = nullptr;
  model->rowNamePointers = model->colNamePointers = nullptr;
  model->extraFront = 0;
  model->Inumrows = model->Imaxrows = info->smallRows;
  model->Inumcols = model->Imaxcols = info->smallColumns;
  if (model->integerTypes) model->Inumints = -1;
  model->compression = info;
}

// Row activities of the whole: exact bounds where the small model stood at its own, sums for rows taken out.
void spreadActivities(QRTModel *whole, const QRTModel *small, const CompressInfo *info) {
  for (int i = 0; i < info->smallRows; i++) {
    const int at = info->keptRow[i];
    const double x = small->solution[i];
    if (x == small->lower[i])
      whole->solution[at] = whole->lower[at];
    else if (x == small->upper[i])
      whole->solution[at] = whole->upper[at];
    else
      whole->solution[at] = x + info->rowShift[at];
  }
  for (int i = 0; i < whole->Inumrows; i++)
    if (info->rowPosition[i] < 0) {
      whole->solution[i] = info->rowShift[i];
      whole->dual[i] = 0.0;
      whole->status[i] = int(STATUS_BASIC);
    }
  const ElementBlock &b = whole->blocks[0];
  for (int j = 0; j < whole->Inumcols; j++) {
    const double x = whole->solution[whole->Imaxrows + j];
    if (info->columnPosition[j] < 0 || x == 0.0) continue;
    for (int e = b.columns[j]; e < b.columns[j + 1]; e++)
      if (info->rowPosition[b.rows[e]] < 0) whole->solution[b.rows[e]] += unscaled(whole, b, e, j) * x;
  }
}

void spreadFixedColumns(QRTModel *whole, const CompressInfo *info, double sense) {
  const ElementBlock &b = whole->blocks[0];
  for (int j = 0; j < whole->Inumcols; j++) {
    if (info->columnPosition[j] >= 0) continue;
    const int at = whole->Imaxrows + j;
    double reduced = sense * whole->objective[at];
    for (int e = b.columns[j]; e < b.columns[j + 1]; e++) reduced -= unscaled(whole, b, e, j) * whole->dual[b.rows[e]];
    whole->solution[at] = whole->lower[at];
    whole->dual[at] = reduced;
    whole->status[at] = 0;  // what a solve leaves on a fixed nonbasic column
  }
}

// The auxiliary vector of the whole, by what the run left in the small one.
void spreadAux(QRTModel *whole, const QRTModel *small, const CompressInfo *info) {
  freeRimVector(whole, &whole->aux);
  whole->auxKind = small->auxKind;
  if (!small->aux) return;
  whole->aux = newRimVector(whole, 0.0);
  spreadVector(info, small->aux, whole->aux);
  const ElementBlock &b = whole->blocks[0];
  double *columns = whole->aux + whole->Imaxrows;
  for (int j = 0; j < whole->Inumcols; j++) {
    const bool fixed = info->columnPosition[j] < 0;
    if (fixed && whole->auxKind == 2) columns[j] = whole->objective[whole->Imaxrows + j];
    if (fixed && whole->auxKind == 3)
      for (int e = b.columns[j]; e < b.columns[j + 1]; e++)
        columns[j] += unscaled(whole, b, e, j) * whole->aux[b.rows[e]];  // the row part is -w
    if (!fixed && whole->auxKind == 4 && columns[j] != 0.0)
      for (int e = b.columns[j]; e < b.columns[j + 1]; e++)
        if (info->rowPosition[b.rows[e]] < 0) whole->aux[b.rows[e]] += unscaled(whole, b, e, j) * columns[j];
  }
}

void spreadWeights(QRTModel *whole, const QRTModel *small, const CompressInfo *info) {
  if (!small->rweight) {
    freeRimVector(whole, &whole->rweight);
    return;
  }
  if (!whole->rweight) whole->rweight = newRimVector(whole, 1.0);
  spreadVector(info, small->rweight, whole->rweight);
}

void freeSmall(QRTModel *small) {
  double *QRTModel::*const rims[] = {&QRTModel::lower,     &QRTModel::solution, &QRTModel::upper, &QRTModel::dual,
                                     &QRTModel::objective, &QRTModel::scales,   &QRTModel::aux,   &QRTModel::rweight};
  for (auto member : rims) freeRimVector(small, &(small->*member));
  qrt_free(rimAllocation(small, small->status));
  for (int k = 0; k < small->Inumblocks; k++) {
    qrt_free(small->blocks[k].rows);
    qrt_free(small->blocks[k].columns);
    qrt_free(small->blocks[k].elements);
  }
  qrt_free(small->blocks);
  qrt_free(small->rownames);
  qrt_free(small->colnames);
  qrt_free(small->integerTypes);
  qrt_free(small->integerTypeIndex);
  qrt_free(small->rowNamePointers);
  qrt_free(small->colNamePointers);
  releaseMatrixCopies(small);
}

void freeInfo(CompressInfo *info) {
  qrt_free(info->keptRow);
  qrt_free(info->keptColumn);
  qrt_free(info->rowPosition);
  qrt_free(info->columnPosition);
  qrt_free(info->rowShift);
  qrt_free(info);
}

// Takes over from `whole` what compression put aside; other fields of the record may have changed meanwhile.
void putBack(QRTModel *model, const QRTModel &whole) {
  model->lower = whole.lower;
  model->solution = whole.solution;
  model->upper = whole.upper;
  model->dual = whole.dual;
  model->objective = whole.objective;
  model->scales = whole.scales;
  model->aux = whole.aux;
  model->rweight = whole.rweight;
  model->status = whole.status;
  model->rownames = whole.rownames;
  model->colnames = whole.colnames;
  model->integerTypes = whole.integerTypes;
  model->integerTypeIndex = whole.integerTypeIndex;
  model->Inumints = whole.Inumints;
  model->blocks = whole.blocks;
  model->Inumblocks = whole.Inumblocks;
  model->rowColumnCopy = whole.rowColumnCopy;
  model->boundSensitivity = whole.boundSensitivity;
  model->sellistrow = whole.sellistrow;
  model->sellistcol = whole.sellistcol;
  model->rowNamePointers = whole.rowNamePointers;
  model->colNamePointers = whole.colNamePointers;
  model->Inumchar = whole.Inumchar;
  model->extraFront = whole.extraFront;
  model->Inumrows = whole.Inumrows;
  model->Imaxrows = whole.Imaxrows;
  model->Inumcols = whole.Inumcols;
  model->Imaxcols = whole.Imaxcols;
  model->indexForm = whole.indexForm;
  model->matrixScaled = whole.matrixScaled;
}

constexpr int LEAST_SHARE = 10;  // per cent of rows and columns

}  // namespace

bool compressionPays(const QRTModel *model) {
  if (!canCompress(model)) return false;
  const int64_t all = int64_t(model->Inumrows) + model->Inumcols;
  int64_t out = 0;
  for (int i = 0; i < model->Inumrows; i++) out += isFreeBasicRow(model, i);
  for (int j = 0; j < model->Inumcols; j++) out += isFixedNonbasicColumn(model, j);
  return 100 * out > LEAST_SHARE * all;
}

CompressInfo *qrt_compressMatrix(QRTModel *model) {
  if (!canCompress(model)) return nullptr;
  CompressInfo *info = temporary<CompressInfo>(model, 1);
  memset(static_cast<void *>(info), 0, sizeof *info);
  info->whole = *model;
  info->keptRow = temporary<int>(model, model->Inumrows);
  info->keptColumn = temporary<int>(model, model->Inumcols);
  info->rowPosition = temporary<int>(model, model->Inumrows);
  info->columnPosition = temporary<int>(model, model->Inumcols);
  info->rowShift = temporary<double>(model, model->Inumrows);
  if (choose(model, info) == 0) {
    qrt_freeTemporary(model, info->rowShift);
    qrt_freeTemporary(model, info->columnPosition);
    qrt_freeTemporary(model, info->rowPosition);
    qrt_freeTemporary(model, info->keptColumn);
    qrt_freeTemporary(model, info->keptRow);
    qrt_freeTemporary(model, info);
    return nullptr;
  }
  memset(info->rowShift, 0, sizeof(double) * size_t(model->Inumrows));
  const double fixedCost = gatherFixed(model, info);
  info->offset = imageLplp(model)->RobjectiveOffset;
  const SmallArrays small = makeSmall(model, info);
  const bool tables = model->rowNamePointers || model->colNamePointers;
  install(model, info, small);
  shiftRows(model, info);
  storeOffset(model, info->offset - fixedCost);
  if (tables) qrt_namePointers(model, 0);
  selfCheckModel(model);
  return info;
}

void qrt_decompressMatrix(QRTModel *model, CompressInfo *info) {
  if (!info) return;
  QRTModel small = *model;
  putBack(model, info->whole);
  model->compression = nullptr;
  spreadVector(info, small.solution, model->solution);
  spreadVector(info, small.dual, model->dual);
  spreadVector(info, small.status, model->status);
  spreadActivities(model, &small, info);
  const double sense = imageLplp(model) ? imageLplp(model)->Rmaxmin : 1.0;
  spreadFixedColumns(model, info, sense);
  spreadAux(model, &small, info);
  spreadWeights(model, &small, info);
  storeOffset(model, info->offset);
  freeSmall(&small);
  freeInfo(info);
  selfCheckModel(model);
}

double *qrt_compressDouble(QRTModel *model, const CompressInfo *info, const double *whole) {
  double *small = compressVector(model, info, whole);
  qrt_makePermanent(model, small);
  return small;
}
int *qrt_compressLong(QRTModel *model, const CompressInfo *info, const int *whole) {
  int *small = compressVector(model, info, whole);
  qrt_makePermanent(model, small);
  return small;
}
void qrt_decompressDouble(const CompressInfo *info, const double *small, double *whole) {
  spreadVector(info, small, whole);
}
void qrt_decompressLong(const CompressInfo *info, const int *small, int *whole) { spreadVector(info, small, whole); }

int qrt_oldSeq(const CompressInfo *info, int sequence) {
  if (!info) return sequence;
  if (sequence < info->smallRows) return info->keptRow[sequence];
  return info->whole.Imaxrows + info->keptColumn[sequence - info->smallRows];
}

int qrt_compressedSeq(const CompressInfo *info, int sequence) {
  if (!info) return sequence;
  if (sequence < info->whole.Imaxrows) return info->rowPosition[sequence];
  const int position = info->columnPosition[sequence - info->whole.Imaxrows];
  return position < 0 ? -1 : info->smallRows + position;
}

static int setCompress(QRTModel *model, const char *routine, bool on) {
  qrt_enter(model, routine, 0);
  if (on)
    model->modelFlags |= MODEL_COMPRESS;
  else
    model->modelFlags &= ~uint32_t(MODEL_COMPRESS);
  qrt_leave(model);
  return 0;
}
extern "C" int qrt_setCompressOn(QRTModel *model) { return setCompress(model, "qrt_setCompressOn", true); }
extern "C" int qrt_setCompressOff(QRTModel *model) { return setCompress(model, "qrt_setCompressOff", false); }
