// The model as a whole: loading rims, full copies, release, and the checks of guards and invariants.
#include <climits>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <cstring>

#include "frame/entry_frame.h"
#include "frame/guarded_memory.h"
#include "frame/messages.h"
#include "model/byte_stream.h"
#include "model/model_store.h"

namespace {

// The rim vectors of doubles of a model, in region order of the names of regions.
double *QRTModel::*const doubleRims[] = {&QRTModel::lower,  &QRTModel::solution,       &QRTModel::upper,
                                         &QRTModel::dual,   &QRTModel::scales,         &QRTModel::aux,
                                         &QRTModel::rweight, &QRTModel::objective,     &QRTModel::objectiveDelta,
                                         &QRTModel::lowerDelta, &QRTModel::upperDelta};

// Names of regions, by their number.
enum Region {
  REGION_BLOCKS, REGION_LOWER, REGION_ACTIVITIES, REGION_UPPER, REGION_DUALS, REGION_STATUS, REGION_NAMES,
  REGION_SCALES, REGION_PRESOLVE, REGION_INTEGER_TYPES, REGION_SETS, REGION_ENTRIES, REGION_AUX, REGION_WEIGHTS,
  REGION_OBJECTIVE, REGION_RECORDS, REGION_ROW_LIST, REGION_COLUMN_LIST, REGION_COLUMN_COPY, REGION_OTHER = 24,
  REGION_ROW_COPY = 21
};

void freeBlock(void **home) {
  qrt_free(*home);
  *home = nullptr;
}

}  // namespace

void dropQuadratic(QRTModel *model) {
  for (int k = 0; k < model->Inumquadraticblocks; k++) {
    ElementBlock *block = model->quadraticBlocks[k].block;
    qrt_free(block->rows);
    qrt_free(block->columns);
    qrt_free(block->elements);
    qrt_free(block);
  }
  qrt_free(model->quadraticBlocks);
  model->quadraticBlocks = nullptr;
  model->Inumquadraticblocks = 0;
}

namespace {

void freeSensitivity(QRTModel *model) {
  BoundSensitivity *s = model->boundSensitivity;
  if (!s) return;
  for (int v = 0; v < 4; v++) {
    qrt_free(s->rowReal[v]);
    qrt_free(s->rowInt[v]);
    qrt_free(rimAllocation(model, s->rimReal[v]));
    qrt_free(rimAllocation(model, s->rimInt[v]));
  }
  qrt_free(s);
  model->boundSensitivity = nullptr;
}

template <class T> T *copyOfBlock(const T *block) { return static_cast<T *>(qrt_copyOfMemory(block)); }
template <class T> T *copyOfRim(const QRTModel *model, T *vector) {
  T *copy = copyOfBlock(rimAllocation(model, vector));
  return copy ? copy + model->extraFront : nullptr;
}

// ---- loading ---------------------------------------------------------------------------------------------------

// Counts and reports one crossed pair of bounds.
int badPair(double lower, double upper, const char *kind, int number) {
  if (upper >= lower) return 0;
  char text[32];
  snprintf(text, sizeof text, "%s %d", kind, number);
  qrtmesg_no_q1_d2(MSG_INVALID_BOUNDS, text, -1, lower, upper);
  return 1;
}

int fillRows(QRTModel *model, const double *lower, const double *upper) {
  int bad = 0;
  if (!lower && !upper) return bad;  // a resized model stands at these defaults already
  for (int i = 0; i < model->Inumrows; i++) {
    const double lo = lower ? lower[i] : -QRT_INFINITY, up = upper ? upper[i] : QRT_INFINITY;
    bad += badPair(lo, up, "Row", i);
    model->lower[i] = lo;
    model->upper[i] = up;
    model->solution[i] = lo < 0.0 ? (up < 0.0 ? up : 0.0) : lo;
    model->dual[i] = 0.0;
    model->objective[i] = 0.0;
    model->status[i] = int(STATUS_BASIC);
  }
  return bad;
}

int fillColumns(QRTModel *model, const double *objective, const double *lower, const double *upper) {
  int bad = 0;
  if (!lower && !upper && !objective) {  // likewise, but for the side a nonbasic column stands at
    uint32_t atLower;
    startValue(0.0, QRT_INFINITY, &atLower);
    int *status = model->status + model->Imaxrows;
    expectWrites(status, int64_t(sizeof(int)) * model->Inumcols);
    for (int j = 0; j < model->Inumcols; j++) status[j] = int(atLower);
    return bad;
  }
  for (int j = 0; j < model->Inumcols; j++) {
    const int at = model->Imaxrows + j;
    const double lo = lower ? lower[j] : 0.0, up = upper ? upper[j] : QRT_INFINITY;
    bad += badPair(lo, up, "Column", j);
    uint32_t status;
    model->lower[at] = lo;
    model->upper[at] = up;
    model->solution[at] = startValue(lo, up, &status);
    model->dual[at] = 0.0;
    model->objective[at] = objective ? objective[j] : 0.0;
    model->status[at] = int(status);
  }
  return bad;
}

void loadRims(QRTModel *model, int rows, const double *rowLower, const double *rowUpper, int columns,
              const double *objective, const double *columnLower, const double *columnUpper) {
  qrt_checkParameter(model, 2, rows, 0, MAX_ROWS);
  qrt_checkParameter(model, 5, columns, 0, INT_MAX);
  if (model->Inumrows > 0 || model->Inumcols > 0) {
    const char *name = model->characterControls[0];
    qrtmesg_no_q1(MSG_OVERWRITING_MODEL, name ? name : "", -1);
    clearModelData(model);
  }
  resizeRims(model, rows, columns, model->Imaxrows, model->Imaxcols, 0);
  int bad = fillRows(model, rowLower, rowUpper);
  bad += fillColumns(model, objective, columnLower, columnUpper);
  if (bad > 0) qrtmesg_no(MSG_STORE_STOPPED);
}

// ---- copying ---------------------------------------------------------------------------------------------------

// Blocks of one model into another; arrays that blocks of the source share are shared by the copies as well.
void copyBlocks(QRTModel *target, const QRTModel *source) {
  const int n = source->Inumblocks;
  if (n == 0) return;
  reserveBlocks(target, n);
  // Shared arrays lie in blocks of equal `rows`; sorting by address would need a second list, and repeats always
  // follow their original, so the copy looks back through a small table of addresses.
  int slots = 16;
  while (slots < 2 * n) slots *= 2;
  int *table = static_cast<int *>(temporaryAllocate(target, slots, sizeof(int)));
  for (int k = 0; k < slots; k++) table[k] = -1;
  for (int k = 0; k < n; k++) {
    const ElementBlock &from = source->blocks[k];
    uint64_t hash = uint64_t(reinterpret_cast<uintptr_t>(from.rows)) >> 3;
    hash *= 0x9E3779B97F4A7C15u;
    int slot = int((hash >> 32) & uint64_t(slots - 1));
    while (table[slot] >= 0 && source->blocks[table[slot]].rows != from.rows) slot = (slot + 1) & (slots - 1);
    ElementBlock &to = target->blocks[k];
    to = from;
    if (table[slot] < 0) {
      table[slot] = k;
      to.rows = copyOfBlock(from.rows);
      to.columns = copyOfBlock(from.columns);
      to.elements = copyOfBlock(from.elements);
    } else {
      const ElementBlock &first = target->blocks[table[slot]];
      to.rows = first.rows;
      to.columns = first.columns;
      to.elements = first.elements;
      qrt_incrementCount(to.rows);
      qrt_incrementCount(to.columns);
      qrt_incrementCount(to.elements);
    }
    target->Inumblocks = k + 1;
  }
  qrt_freeTemporary(target, table);
}

void copyQuadratic(QRTModel *target, const QRTModel *source) {
  const int n = source->Inumquadraticblocks;
  if (n == 0) return;
  target->quadraticBlocks = static_cast<QuadraticEntry *>(guardedAllocateZero(n, sizeof(QuadraticEntry)));
  for (int k = 0; k < n; k++) {
    ElementBlock *block = copyOfBlock(source->quadraticBlocks[k].block);
    block->rows = copyOfBlock(block->rows);
    block->columns = copyOfBlock(block->columns);
    block->elements = copyOfBlock(block->elements);
    target->quadraticBlocks[k].block = block;
    target->Inumquadraticblocks = k + 1;
  }
}

void copySensitivity(QRTModel *target, const QRTModel *source) {
  if (!source->boundSensitivity) return;
  BoundSensitivity *s = copyOfBlock(source->boundSensitivity);
  for (int v = 0; v < 4; v++) {
    s->rowReal[v] = copyOfBlock(s->rowReal[v]);
    s->rowInt[v] = copyOfBlock(s->rowInt[v]);
    s->rimReal[v] = copyOfRim(source, s->rimReal[v]);
    s->rimInt[v] = copyOfRim(source, s->rimInt[v]);
  }
  target->boundSensitivity = s;
}

// The controls: the image of the work records and the six texts.
void copyControls(QRTModel *target, const QRTModel *source) {
  if (target->furtherInfo && source->furtherInfo) {
    memcpy(target->furtherInfo, source->furtherInfo, size_t(qrt_validAddress(source->furtherInfo)));
    if (target == qrt_modelInfo) qrt_swapCommons(nullptr, target);
  }
  for (int c = 0; c < 6; c++) {
    qrt_free(target->characterControls[c]);
    target->characterControls[c] = qrt_strdup(source->characterControls[c]);
  }
}

void copyWhole(QRTModel *target, const QRTModel *source) {
  clearModelData(target);
  target->extraFront = source->extraFront;
  target->Imaxrows = source->Imaxrows;
  target->Imaxcols = source->Imaxcols;
  target->Inumchar = source->Inumchar;
  for (auto member : doubleRims) target->*member = copyOfRim(source, source->*member);
  target->status = copyOfRim(source, source->status);
  target->Inumrows = source->Inumrows;
  target->Inumcols = source->Inumcols;
  copyBlocks(target, source);
  copyQuadratic(target, source);
  copySensitivity(target, source);
  target->rownames = copyOfBlock(source->rownames);
  target->colnames = copyOfBlock(source->colnames);
  target->integerTypes = copyOfBlock(source->integerTypes);
  target->setInfo = qrt_copyOfMemory(source->setInfo);
  target->entryInfo = qrt_copyOfMemory(source->entryInfo);
  target->sellistcol = qrt_copyOfMemory(source->sellistcol);
  target->sellistrow = qrt_copyOfMemory(source->sellistrow);
  target->Inumints = source->Inumints;
  target->Inumsets = source->Inumsets;
  target->dualSignFlip = source->dualSignFlip;
  target->auxKind = source->auxKind;
  target->matrixScaled = source->matrixScaled;
  target->indexForm = source->indexForm;
  target->modelFlags = source->modelFlags;
  target->userData = source->userData;
  copyControls(target, source);
  if (source->rowNamePointers || source->colNamePointers) qrt_namePointers(target, 0);
  touchMatrix(target);
}

// ---- guards ----------------------------------------------------------------------------------------------------

int checkRegion(void *block, int region) {
  if (!block) return 0;
  const int faults = qrt_checkAddress(block);
  if (faults > 0) qrt_errorMessage(0, region);
  return faults;
}

int checkCopies(const QRTModel *model) {
  const ModelMatrixCopies *copies = model->rowColumnCopy;
  if (!copies) return 0;
  return checkRegion(copies->column.indices, REGION_COLUMN_COPY) +
         checkRegion(copies->column.starts, REGION_COLUMN_COPY + 1) +
         checkRegion(copies->column.elements, REGION_COLUMN_COPY + 2) +
         checkRegion(copies->row.starts, REGION_ROW_COPY) + checkRegion(copies->row.indices, REGION_ROW_COPY + 1) +
         checkRegion(copies->row.elements, REGION_ROW_COPY + 2);
}

int validateRegions(QRTModel *model) {
  int faults = checkRegion(model->blocks, REGION_BLOCKS);
  for (int k = 0; k < model->Inumblocks && faults == 0; k++) {
    const ElementBlock &b = model->blocks[k];
    faults += checkRegion(b.rows, REGION_BLOCKS) + checkRegion(b.columns, REGION_BLOCKS) +
              checkRegion(b.elements, REGION_BLOCKS);
  }
  const struct {
    double *vector;
    int region;
  } rims[] = {{model->lower, REGION_LOWER},          {model->solution, REGION_ACTIVITIES},
              {model->upper, REGION_UPPER},          {model->dual, REGION_DUALS},
              {model->scales, REGION_SCALES},        {model->aux, REGION_AUX},
              {model->rweight, REGION_WEIGHTS},      {model->objective, REGION_OBJECTIVE},
              {model->objectiveDelta, REGION_OTHER}, {model->lowerDelta, REGION_OTHER},
              {model->upperDelta, REGION_OTHER}};
  for (const auto &rim : rims) faults += checkRegion(rimAllocation(model, rim.vector), rim.region);
  faults += checkRegion(rimAllocation(model, model->status), REGION_STATUS);
  faults += checkRegion(model->rownames, REGION_NAMES) + checkRegion(model->colnames, REGION_NAMES);
  faults += checkRegion(model->presolveInfo, REGION_PRESOLVE);
  faults += checkRegion(model->integerTypes, REGION_INTEGER_TYPES);
  faults += checkRegion(model->setInfo, REGION_SETS) + checkRegion(model->entryInfo, REGION_ENTRIES);
  faults += checkRegion(model->furtherInfo, REGION_RECORDS);
  faults += checkRegion(model->sellistrow, REGION_ROW_LIST) + checkRegion(model->sellistcol, REGION_COLUMN_LIST);
  faults += checkCopies(model);
  faults += checkRegion(model->rowNamePointers, REGION_OTHER) + checkRegion(model->colNamePointers, REGION_OTHER);
  for (void *block : model->workBlocks) faults += checkRegion(block, REGION_OTHER);
  return faults;
}

// ---- invariants ------------------------------------------------------------------------------------------------

const char *checkBlock(const QRTModel *model, const ElementBlock &b) {
  if (b.type != 2 && b.type != 3 && b.type != -2 && b.type != -3) return "block of unknown type";
  if (b.count < 0) return "block with a negative count";
  const int r0 = blockRowOffset(model, b), c0 = blockColumnOffset(model, b);
  const int64_t n = blockElements(b);
  if (n < 0) return "block with decreasing starts";
  if (qrt_validAddress(b.rows) < int(sizeof(int) * size_t(n))) return "row indices of a block too short or damaged";
  if (qrt_validAddress(b.elements) < int(sizeof(double) * size_t(n))) return "elements of a block too short or damaged";
  if (isTriples(b)) {
    for (int e = 0; e < b.count; e++) {
      if (b.columns[e] < 0 || b.columns[e] >= b.extent) return "triple beyond the extent of its block";
      if (b.columns[e] + c0 < 0 || b.columns[e] + c0 >= model->Inumcols) return "triple in no column";
    }
  } else {
    if (c0 < 0 || c0 + b.count > model->Inumcols) return "column block beyond the columns";
    if (b.columns[0] != 0) return "column block that does not start at 0";
    for (int c = 0; c < b.count; c++)
      if (b.columns[c + 1] < b.columns[c]) return "column block with decreasing starts";
  }
  for (int64_t e = 0; e < n; e++)
    if (b.rows[e] + r0 < 0 || b.rows[e] + r0 >= model->Inumrows) return "element in no row";
  return nullptr;
}

const char *checkRims(const QRTModel *model) {
  if (!model->lower) {
    if (model->Inumrows != 0 || model->Inumcols != 0) return "size without rim vectors";
    return model->Inumblocks != 0 ? "blocks without rim vectors" : nullptr;
  }
  const int64_t wanted = rimLength(model) * int64_t(sizeof(double));
  for (auto member : doubleRims) {
    const double *vector = model->*member;
    if (vector && qrt_validAddress(rimAllocation(model, vector)) < wanted) return "rim vector too short or damaged";
  }
  if (!model->solution || !model->upper || !model->dual || !model->objective || !model->status)
    return "a rim vector is missing";
  if (qrt_validAddress(rimAllocation(model, model->status)) < rimLength(model) * int64_t(sizeof(int)))
    return "status vector too short or damaged";
  return nullptr;
}

const char *checkNames(const QRTModel *model) {
  if (!model->rownames != !model->colnames) return "names of rows or columns only";
  if (!model->rownames) return nullptr;
  const int64_t stride = nameStride(model);
  if (stride < 1 || stride > 32) return "name length out of range";
  if (qrt_validAddress(model->rownames) < stride * model->Inumrows) return "row names too short or damaged";
  if (qrt_validAddress(model->colnames) < stride * model->Inumcols) return "column names too short or damaged";
  const bool atRest = (model->indexForm & 2) == 0;
  for (int i = 0; atRest && model->rowNamePointers && i < model->Inumrows; i++)
    if (model->rowNamePointers[i] != model->rownames + i * stride) return "row name pointer off its name";
  for (int j = 0; atRest && model->colNamePointers && j < model->Inumcols; j++)
    if (model->colNamePointers[j] != model->colnames + j * stride) return "column name pointer off its name";
  return nullptr;
}

}  // namespace

void releaseModelData(QRTModel *model) {
  if (model->compression) qrt_decompressMatrix(model, model->compression);
  dropAllBlocks(model);
  qrt_free(model->blocks);
  model->blocks = nullptr;
  dropQuadratic(model);
  freeSensitivity(model);
  for (auto member : doubleRims) freeRimVector(model, &(model->*member));
  qrt_free(rimAllocation(model, model->status));
  model->status = nullptr;
  void **const plain[] = {&model->presolveInfo, &model->setInfo,      &model->entryInfo,     &model->sellistcol,
                          &model->sellistrow,   &model->integerTypeIndex, &model->workBlocks[0], &model->workBlocks[1],
                          &model->workBlocks[2]};
  for (void **home : plain) freeBlock(home);
  releaseMatrixCopies(model);
  if (model->presolveStream) {
    byteStream_release(model->presolveStream);
    qrt_free(model->presolveStream);
    model->presolveStream = nullptr;
  }
  qrt_free(model->idiotInfo);
  model->idiotInfo = nullptr;
  qrt_free(model->integerTypes);
  qrt_free(model->rownames);
  qrt_free(model->colnames);
  qrt_free(model->rowNamePointers);
  qrt_free(model->colNamePointers);
  model->integerTypes = model->rownames = model->colnames = nullptr;
  model->rowNamePointers = model->colNamePointers = nullptr;
}

void clearModelData(QRTModel *model) {
  const int length = nameLength(model);
  releaseModelData(model);
  model->Inumchar = length;
  model->Inumrows = model->Inumcols = model->Imaxrows = model->Imaxcols = 0;
  model->Inumints = model->Inumsets = 0;
  model->auxKind = -1;
  model->matrixScaled = 0;
  model->indexForm = 0;
  touchMatrix(model);
}

const char *model_check(const QRTModel *model) {
  if (model->Inumrows < 0 || model->Inumrows > model->Imaxrows) return "more rows than room";
  if (model->Inumcols < 0 || model->Inumcols > model->Imaxcols) return "more columns than room";
  const char *fault = checkRims(model);
  for (int k = 0; !fault && k < model->Inumblocks; k++) fault = checkBlock(model, model->blocks[k]);
  if (!fault) fault = checkNames(model);
  if (!fault && model->integerTypes && model->Inumints >= 0) {
    int n = 0;
    for (int j = 0; j < model->Inumcols; j++) n += model->integerTypes[j] != 0;
    if (n != model->Inumints) fault = "wrong count of integer columns";
  }
  if (!fault && model->matrixScaled && !model->scales) fault = "scaled matrix without factors";
  return fault;
}

#ifdef QRT_SELF_CHECKS
void selfCheckModel(const QRTModel *model) {
  const char *fault = model_check(model);
  if (!fault) return;
  fprintf(stderr, "model store: %s\n", fault);
  abort();
}
#endif

extern "C" {

int qrt_loadRimModel(QRTModel *model, int numberRows, const double *rowLower, const double *rowUpper,
                     int numberColumns, const double *objective, const double *columnLower,
                     const double *columnUpper) {
  qrt_enter(model, "qrt_loadRimModel", 1);
  QRT_JUMP_FRAME(model, qrt_disaster(model));
  loadRims(model, numberRows, rowLower, rowUpper, numberColumns, objective, columnLower, columnUpper);
  selfCheckModel(model);
  QRT_END_FRAME();
  qrt_leave(model);
  return 0;
}

int qrt_copyModel(QRTModel *target, QRTModel *source) {
  qrt_enterLeave(source, "qrt_copyModel");
  qrt_enter(target, "qrt_copyModel", 1);
  if (target != source) {
    QRT_JUMP_FRAME(target, qrt_disaster(target));
    copyWhole(target, source);
    selfCheckModel(target);
    QRT_END_FRAME();
  }
  qrt_leave(target);
  return 0;
}

int qrt_validateModel(QRTModel *model) {
  qrt_enter(model, "qrt_validateModel", 0);
  QRT_JUMP_FRAME(model, qrt_disaster(model));
  const int faults = validateRegions(model);
  QRT_END_FRAME();
  qrt_leave(model);
  return faults;
}

}  // extern "C"
