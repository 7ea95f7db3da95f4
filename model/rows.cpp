// Adding, replacing and deleting rows, and replacing single elements.
#include <climits>
#include <cstring>

#include "frame/entry_frame.h"
#include "frame/guarded_memory.h"
#include "frame/messages.h"
#include "model/edit_entry.h"
#include "model/first_block.h"
#include "model/removal.h"

namespace {

// A new row is basic, with the side of its slack noted.
void placeRow(QRTModel *model, int i, double lower, double upper) {
  if (upper < lower) upper = lower;  // crossed by rounding only, or refused before
  model->lower[i] = lower;
  model->upper[i] = upper;
  uint32_t side = STATUS_FREE;
  double value = 0.0;
  if (upper <= 0.0) {
    side = STATUS_AT_UPPER;
    value = upper;
  } else if (lower >= 0.0) {
    side = STATUS_AT_LOWER;
    value = lower;
  }
  model->solution[i] = value;
  model->dual[i] = 0.0;
  model->status[i] = int(STATUS_BASIC | side);
}

int addRows(QRTModel *model, const char *entry, int n, const double *lower, const double *upper, const int *starts,
            const int *columns, const double *elements) {
  qrt_checkParameter(model, 2, n, 0, MAX_ROWS - model->Inumrows);
  if (n == 0) return 0;
  if (starts && !soundVectors(starts, n, columns, model->Inumcols, MSG_COLUMNS_OUT_OF_RANGE)) return 1;
  checkNewBounds(entry, n, lower, upper, -QRT_INFINITY);
  const int first = model->Inumrows;
  resizeRims(model, first + n, model->Inumcols, model->Imaxrows, model->Imaxcols, 0);
  for (int k = 0; k < n; k++)
    placeRow(model, first + k, lower ? lower[k] : -QRT_INFINITY, upper ? upper[k] : QRT_INFINITY);
  const int count = starts ? starts[n] - starts[0] : 0;
  if (count == 0) return 0;
  int *rows = static_cast<int *>(temporaryAllocate(model, count, sizeof(int)));
  double *values = static_cast<double *>(temporaryAllocate(model, count, sizeof(double)));
  for (int k = 0; k < n; k++)
    for (int e = starts[k]; e < starts[k + 1]; e++) {
      rows[e - starts[0]] = first + k;
      values[e - starts[0]] = elements[e] * elementFactor(model, first + k, columns[e]);
    }
  insertElements(model, count, rows, columns + starts[0], values);
  qrt_freeTemporary(model, values);
  qrt_freeTemporary(model, rows);
  return 0;
}

int addOneRow(QRTModel *model, double lower, double upper, int n, const int *columns, const double *elements) {
  qrt_checkParameter(model, 4, n, 0, INT_MAX);
  const int starts[2] = {0, n};
  return addRows(model, "qrt_addOneRow entry", 1, &lower, &upper, starts, columns, elements);
}

int replaceRow(QRTModel *model, int row, int n, const int *columns, const double *elements) {
  qrt_checkParameter(model, 2, row, 0, model->Inumrows - 1);
  qrt_checkParameter(model, 3, n, 0, INT_MAX);
  const int starts[2] = {0, n};
  if (!soundVectors(starts, 1, columns, model->Inumcols, MSG_COLUMNS_OUT_OF_RANGE)) return 1;
  removeElements(model, row, -1);
  if (n == 0) return 0;
  int *rows = static_cast<int *>(temporaryAllocate(model, n, sizeof(int)));
  double *values = static_cast<double *>(temporaryAllocate(model, n, sizeof(double)));
  for (int e = 0; e < n; e++) {
    rows[e] = row;
    values[e] = elements[e] * elementFactor(model, row, columns[e]);
  }
  insertElements(model, n, rows, columns, values);
  qrt_freeTemporary(model, values);
  qrt_freeTemporary(model, rows);
  return 0;
}

int deleteRows(QRTModel *model, int n, const int *which) {
  qrt_checkParameter(model, 2, n, 0, model->Inumrows);
  if (n == 0) return 0;
  int kept;
  int *map = removalMap(model, "qrt_deleteRows", n, which, model->Inumrows, &kept);
  if (!map) return 1;
  if (kept == 0)
    dropAllBlocks(model);
  else
    mapMatrix(model, map, nullptr);
  closeUp(model, map, true, kept);
  qrt_freeTemporary(model, map);
  return 0;
}

// ---- single elements -------------------------------------------------------------------------------------------

// Open hash table from positions (row, column) to the last entry that names them.
struct PositionTable {
  int *slot;    // [size] entry number, -1 empty
  int mask;
  const int *rows, *columns;
  int find(int row, int column) const {
    uint64_t key = (uint64_t(uint32_t(row)) << 32 | uint32_t(column)) * 0x9E3779B97F4A7C15u;
    int at = int(uint32_t(key >> 32) & uint32_t(mask));
    while (slot[at] >= 0 && (rows[slot[at]] != row || columns[slot[at]] != column)) at = (at + 1) & mask;
    return at;
  }
};

PositionTable tableOf(QRTModel *model, int n, const int *rows, const int *columns) {
  int size = 16;
  while (size < n && size < (1 << 29)) size *= 2;
  size *= 2;
  PositionTable table = {static_cast<int *>(temporaryAllocate(model, size, sizeof(int))), size - 1, rows, columns};
  for (int k = 0; k < size; k++) table.slot[k] = -1;
  for (int e = 0; e < n; e++) table.slot[table.find(rows[e], columns[e])] = e;
  return table;
}

// Puts the new values in place: the first stored element of a position takes the value, later ones become 0.
// State of an entry: 0 not met, 1 stored.
void overwrite(QRTModel *model, const PositionTable &table, const char *columnTouched, const double *values,
               char *stored) {
  for (int k = 0; k < model->Inumblocks; k++) {
    unshareBlock(model, k);
    const ElementBlock &b = model->blocks[k];
    const int r0 = blockRowOffset(model, b), c0 = blockColumnOffset(model, b);
    auto visit = [&](int e, int column) {
      const int entry = table.slot[table.find(b.rows[e] + r0, column)];
      if (entry < 0) return;
      b.elements[e] = stored[entry] ? 0.0 : values[entry];
      stored[entry] = 1;
    };
    if (isTriples(b)) {
      for (int e = 0; e < b.count; e++)
        if (columnTouched[b.columns[e] + c0]) visit(e, b.columns[e] + c0);
    } else {
      for (int c = 0; c < b.count; c++)
        if (columnTouched[c + c0])
          for (int e = b.columns[c]; e < b.columns[c + 1]; e++) visit(e, c + c0);
    }
  }
}

int replaceElements(QRTModel *model, int n, const int *rows, const int *columns, const double *elements) {
  qrt_checkParameter(model, 2, n, 0, INT_MAX);
  const int starts[2] = {0, n};
  if (!soundVectors(starts, 1, rows, model->Inumrows, MSG_ROWS_OUT_OF_RANGE)) return 1;
  if (!soundVectors(starts, 1, columns, model->Inumcols, MSG_COLUMNS_OUT_OF_RANGE)) return 1;
  if (n == 0) return 0;
  const PositionTable table = tableOf(model, n, rows, columns);
  char *columnTouched = static_cast<char *>(temporaryAllocate(model, model->Inumcols, 1));
  char *stored = static_cast<char *>(temporaryAllocate(model, n, 1));
  double *values = static_cast<double *>(temporaryAllocate(model, n, sizeof(double)));
  memset(columnTouched, 0, size_t(model->Inumcols));
  memset(stored, 0, size_t(n));
  for (int e = 0; e < n; e++) {
    columnTouched[columns[e]] = 1;
    values[e] = elements[e] * elementFactor(model, rows[e], columns[e]);
  }
  overwrite(model, table, columnTouched, values, stored);
  // What had no place yet is inserted; of a position named twice only the last entry counts.
  int *newRows = static_cast<int *>(temporaryAllocate(model, n, sizeof(int)));
  int *newColumns = static_cast<int *>(temporaryAllocate(model, n, sizeof(int)));
  int added = 0;
  for (int e = 0; e < n; e++) {
    if (stored[e] || table.slot[table.find(rows[e], columns[e])] != e) continue;
    newRows[added] = rows[e];
    newColumns[added] = columns[e];
    values[added++] = values[e];
  }
  insertElements(model, added, newRows, newColumns, values);
  touchMatrix(model);
  qrt_freeTemporary(model, newColumns);
  qrt_freeTemporary(model, newRows);
  qrt_freeTemporary(model, values);
  qrt_freeTemporary(model, stored);
  qrt_freeTemporary(model, columnTouched);
  qrt_freeTemporary(model, table.slot);
  return 0;
}

}  // namespace

MODEL_ENTRY(qrt_addRows(QRTModel *model, int n, const double *lower, const double *upper, const int *starts,
                      const int *columns, const double *elements),
          addRows(model, "qrt_addRows entry", n, lower, upper, starts, columns, elements))
MODEL_ENTRY(qrt_addOneRow(QRTModel *model, double lower, double upper, int n, const int *columns,
                        const double *elements),
          addOneRow(model, lower, upper, n, columns, elements))
MODEL_ENTRY(qrt_replaceRow(QRTModel *model, int row, int n, const int *columns, const double *elements),
          replaceRow(model, row, n, columns, elements))
MODEL_ENTRY(qrt_deleteRows(QRTModel *model, int n, const int *which), deleteRows(model, n, which))
MODEL_ENTRY(qrt_replaceElements(QRTModel *model, int n, const int *rows, const int *columns, const double *elements),
          replaceElements(model, n, rows, columns, elements))
