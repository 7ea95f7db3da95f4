// The MPS reader of the classic interface: reads as that of the object interface does, on the chain of the classic model,
// then lays the model out in DSPACE.
#include <cstring>

#include "frame/classic_frame.h"
#include "frame/guarded_memory.h"
#include "frame/messages.h"
#include "frame/units.h"
#include "include/qrt_classic.h"
#include "model/classic_store.h"
#include "model/model_store.h"
#include "model/mps_reader.h"

namespace {

enum : int { MSG_ERASED = 45, MSG_DEFAULT_MODEL = 176 };
constexpr int OPTION_FREE = 128, OPTION_TRIPLES = 1;
constexpr int TYPE_TRIPLES = 2, TYPE_COLUMNS = 3;
constexpr int UNIT_IN = 4, UNIT_INTEGER = 0;  // kinds of qrtckun

void announceModel() {
  if (qrtlplp.Inumblocks > 0) qrtmesg_no(MSG_ERASED);
  else qrtmesg_no_i1(MSG_DEFAULT_MODEL, qrtlplp.classicModel);
}

void fillNames(char *to, const char *from, int count, int from1, int width) {
  for (int64_t k = 0; k < count; ++k) memcpy(to + (k + 1) * width, from + k * from1, size_t(width));
}

void fillTriples(const MpsData *data) {
  ElementBlock *block = placeClassicBlock(TYPE_TRIPLES, int(data->nz), data->nz, 0, 0);
  block->extent = data->n;
  for (int j = 0; j < data->n; ++j)
    for (int k = data->start[j]; k < data->start[j + 1]; ++k) {
      block->rows[k] = data->row[k] + 1;
      block->columns[k] = j + 1;
      block->elements[k] = data->element[k];
    }
}

void fillColumns(const MpsData *data) {
  ElementBlock *block = placeClassicBlock(TYPE_COLUMNS, data->n, data->nz, 0, 0);
  for (int j = 0; j <= data->n; ++j) block->columns[j] = data->start[j] + 1;
  for (int k = 0; k < data->nz; ++k) block->rows[k] = data->row[k] + 1;
  if (data->nz > 0) memcpy(block->elements, data->element, size_t(data->nz) * sizeof(double));
}

void fillRims(const MpsData *data) {
  const size_t m = size_t(data->m) * sizeof(double), n = size_t(data->n) * sizeof(double);
  const int column = qrtlplp.Imaxrows + 1;
  if (m) memcpy(qrtaddr.lower + 1, data->rowLower, m);
  if (m) memcpy(qrtaddr.upper + 1, data->rowUpper, m);
  if (n) memcpy(qrtaddr.lower + column, data->columnLower, n);
  if (n) memcpy(qrtaddr.upper + column, data->columnUpper, n);
  if (n) memcpy(qrtaddr.objective + column, data->cost, n);
  if (!qrtlplp.parametric) return;
  if (n && data->costChange) memcpy(qrtaddr.objectiveDelta + column, data->costChange, n);
  if (m && data->lowerChange) memcpy(qrtaddr.lowerDelta + 1, data->lowerChange, m);
  if (n && data->lowerChange) memcpy(qrtaddr.lowerDelta + column, data->lowerChange + data->m, n);
  if (m && data->upperChange) memcpy(qrtaddr.upperDelta + 1, data->upperChange, m);
  if (n && data->upperChange) memcpy(qrtaddr.upperDelta + column, data->upperChange + data->m, n);
}

// Lays out what was read. READ_ROW_STORAGE or READ_COLUMN_STORAGE when DSPACE is too small for it.
int placeMpsData(const MpsData *data, int option, int maxRows, int maxCols) {
  ClassicShape shape = {};
  shape.rows = data->m;
  shape.cols = data->n;
  shape.maxRows = maxRows > data->m ? maxRows : data->m;
  shape.maxCols = maxCols > data->n ? maxCols : data->n;
  shape.nameLength = keptNameLength(data);
  shape.named = true;
  shape.parametric = data->costChange || data->lowerChange || data->upperChange;
  shape.blocks = 1;
  ClassicShape rowsOnly = shape;
  rowsOnly.maxCols = 0;
  const bool triples = (option & ~OPTION_FREE) == OPTION_TRIPLES;
  const int64_t matrix = classicBlockSpace(triples ? TYPE_TRIPLES : TYPE_COLUMNS, data->n, data->nz);
  if (classicRimSpace(rowsOnly) > classicFreeSpace()) return READ_ROW_STORAGE;
  if (classicRimSpace(shape) + matrix > classicFreeSpace()) return READ_COLUMN_STORAGE;
  placeClassicModel(shape);
  fillRims(data);
  fillNames(qrtaddr.rownames, data->rowNames, data->m, data->reader.nameLength, shape.nameLength);
  fillNames(qrtaddr.colnames, data->columnNames, data->n, data->reader.nameLength, shape.nameLength);
  if (triples) fillTriples(data);
  else fillColumns(data);
  return READ_OK;
}

void keepControls(const MpsData *data) {
  for (int set = SET_MODEL; set <= SET_BOUND; ++set) memcpy(qrtconv.values[controlOfSet[set]], data->sets[set], 80);
  qrtlplp.RobjectiveOffset = data->offset;
  qrtlplp.Imaxfactor = factorLimitFor(data->m);
  qrtint.Inumints = data->nTyped;
  qrtint.Inumsets = data->nSets;
}

void readIntoDspace(int *rtcod, int unit, int option, int intunit) {
  qrtckun(rtcod, unit, UNIT_IN, "QRTMPS");
  if (*rtcod == 0 && intunit != 0) qrtckun(rtcod, intunit, UNIT_INTEGER, "QRTMPS");
  if (*rtcod != 0) return;
  announceModel();
  // Capacities asked for by the controls, unless they are those of the model that goes.
  const int maxRows = qrtaddr.lower ? 0 : qrtlplp.Imaxrows, maxCols = qrtaddr.lower ? 0 : qrtlplp.Imaxcols;
  releaseClassicModel();

  QRTModel *chain = &qrt_no_dspaceCommon;
  chain->Inumchar = qrtlplp.Inumchar;
  qrt_push(chain);
  MpsData data;
  startMpsData(&data, chain);
  qrtmpsf(rtcod, &data, unit, option, intunit);
  if (*rtcod == 0) {
    sortMpsColumns(&data);
    const int failure = placeMpsData(&data, option, maxRows, maxCols);
    if (failure == READ_OK) keepControls(&data);
    else *rtcod = tellFailure(&data, failure);
  }
  qrt_pop(chain);
}

}  // namespace

extern "C" void qrtmps_(int *rtcod, void *dspace, const int *unit, const int *option, const int *intunit) {
  QRT_CLASSIC_CALL("QRTMPS", dspace, 5, rtcod, readIntoDspace(rtcod, *unit, *option, *intunit));
}

extern "C" void QRTMPS(int *rtcod, void *dspace, const int *unit, const int *option, const int *intunit) {
  qrtmps_(rtcod, dspace, unit, option, intunit);
}
