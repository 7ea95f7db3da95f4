// The LP model store: rim vectors, the coefficient matrix as a list of element blocks, names, and the edits on them.
//
//     row i    = rim[i]              element (r, c) of block B stands at row     r + B.rowBase
//     column j = rim[Imaxrows + j]                                       column  c + B.columnBase - Imaxrows
//
// The matrix is the SUM of all blocks: blocks may overlap, and equal positions add up. Blocks may share their
// arrays (a repeated block); a shared array carries one reference for each block that points at it, so edits in
// place must first call unshareBlock().
//
// Index forms. Arrays are 0-based always. For a core call qrt_toFortran() raises rowBase and columnBase of each
// block by one, so that row and column numbers come out 1-based by arithmetic alone; functions here read blocks
// in either form (see blockShift). Names are NUL-terminated at rest, blank-padded across a core call.
//
// Functions that can fail do so by a message (see each contract) and leave by the jump of the entry frame. All
// expect the model to be current when they can issue a message.
#pragma once

#include "frame/model_record.h"

// Message indices of this room.
enum : int {
  MSG_STORE_STOPPED = 30,          // stopped due to previous errors
  MSG_INVALID_BOUNDS = 66,         // invalid bound combination for @C01
  MSG_COLUMNS_OUT_OF_RANGE = 268,  // smallest and largest column index
  MSG_ROWS_OUT_OF_RANGE = 269,
  MSG_BAD_STARTS = 561,            // starts decrease at @I01
  MSG_OVERWRITING_MODEL = 560,
  MSG_POINTERS_MAY_BE_INVALID = 572
};

constexpr int MAX_ROWS = 16777215;  // a basis position must fit 24 bits

// Block of the quadratic list; the second word is reserved.
struct QuadraticEntry {
  ElementBlock *block;  // owned, guarded; its columns count like those of the matrix
  int32_t reserved;
};

// Vectors of a sensitivity run that follow the model through a change of size. Null until made.
struct BoundSensitivity {
  double *rowReal[4];  // [Imaxrows] each
  int *rowInt[4];      // [Imaxrows]
  double *rimReal[4];  // rim vectors
  int *rimInt[4];      // rim vectors
};

// ---- sizes (capacity.cpp) ------------------------------------------------------------------------------------

// 1 while qrt_toFortran is in force: rowBase and columnBase stand one higher than at rest.
inline int blockShift(const QRTModel *model) { return model->indexForm & 1; }
// Capacity that follows from a wanted one: a wanted capacity below the size grows to size + size/5 + 100.
int64_t grownCapacity(int64_t size, int64_t wanted);
// Changes the size without frame or parameter check; see qrt_resizeModelExact for the rules.
void resizeRims(QRTModel *model, int rows, int cols, int maxRows, int maxCols, int exact);

// ---- rim vectors (rim.cpp) -----------------------------------------------------------------------------------

// Allocates an optional rim vector (rimLength entries, cleared to `value`); the pointer to keep in the model.
double *newRimVector(const QRTModel *model, double value);
void freeRimVector(const QRTModel *model, double **vector);
// Copies the change vectors of a parametric run into the model, in place of those it has; null for one that is not
// wanted. The first within a frame of its own (0, or 999 after a fatal error), the second within the caller's.
int qrt_loadParametricData(QRTModel *model, const double *objective, const double *rowLower, const double *rowUpper,
                           const double *colLower, const double *colUpper);
void installParametricData(QRTModel *model, const double *objective, const double *rowLower, const double *rowUpper,
                           const double *colLower, const double *colUpper);
// Value and status word of a nonbasic column at the bound nearest to zero.
double startValue(double lower, double upper, uint32_t *status);

// ---- blocks (blocks.cpp) -------------------------------------------------------------------------------------

// Adders without frame, message or range check, for callers whose indices are known to be good. Arrays are
// copied; nothing that exists is touched; O(elements) each. Return the number of the new block.
int appendTripleBlock(QRTModel *model, int n, const int *rows, const int *columns, const double *elements,
                      int rowOffset, int columnOffset);
int appendColumnBlock(QRTModel *model, int numberColumns, const int *rows, const int *starts, const double *elements,
                      int rowOffset, int columnOffset);
// A further block over the arrays of block `source` at other offsets: O(1), no element is copied.
int appendRepeatedBlock(QRTModel *model, int source, int rowOffset, int columnOffset);
// A column block over guarded arrays that pass to the model (starts[0] = 0). Return the number of the new block.
int adoptColumnBlock(QRTModel *model, int numberColumns, int *rows, int *starts, double *elements);
// Room for at least `count` blocks in the array, so that adders need not move it.
void reserveBlocks(QRTModel *model, int count);
void dropLastBlock(QRTModel *model);
void dropAllBlocks(QRTModel *model);
// Gives block b arrays of its own, to be edited in place; harmless when they are not shared.
void unshareBlock(QRTModel *model, int b);
// Elements in one block, and in all (each overlap counted).
int64_t blockElements(const ElementBlock &block);
int64_t matrixElements(const QRTModel *model);
// Row and column of a block's index 0, 0-based whatever the index form.
inline int blockRowOffset(const QRTModel *model, const ElementBlock &b) { return b.rowBase - blockShift(model); }
inline int blockColumnOffset(const QRTModel *model, const ElementBlock &b) {
  return b.columnBase - blockShift(model) - model->Imaxrows;
}
inline bool isTriples(const ElementBlock &b) { return b.type == 2 || b.type == -2; }
// Calls visit(row, column, value reference) for each stored element, 0-based, in storage order.
template <class Visit> void forEachElement(const QRTModel *model, Visit visit) {
  for (int k = 0; k < model->Inumblocks; k++) {
    const ElementBlock &b = model->blocks[k];
    const int r0 = blockRowOffset(model, b), c0 = blockColumnOffset(model, b);
    if (isTriples(b)) {
      for (int e = 0; e < b.count; e++) visit(b.rows[e] + r0, b.columns[e] + c0, b.elements[e]);
    } else {
      for (int c = 0; c < b.count; c++)
        for (int e = b.columns[c]; e < b.columns[c + 1]; e++) visit(b.rows[e] + r0, c + c0, b.elements[e]);
    }
  }
}
// Removes and renumbers elements: rowMap[i] / columnMap[j] is the new number of a row or column, or -1; a null
// map keeps all. The maps keep the order and leave no gap.
void mapMatrix(QRTModel *model, const int *rowMap, const int *columnMap);
// The matrix changed: copies of it are stale.
inline void touchMatrix(QRTModel *model) { model->matrixVersion++; }
// What the stored element of (row, column) is multiplied by: the factor of its row over that of its column, 1 while
// the matrix is unscaled.
inline double elementFactor(const QRTModel *model, int row, int column) {
  return model->matrixScaled ? model->scales[row] / model->scales[model->Imaxrows + column] : 1.0;
}

// ---- copies in one order (merge.cpp, matrix_copies.cpp) ------------------------------------------------------

// The whole matrix in one order, duplicates summed, exact zeros dropped.
//   columns: rows[starts[j] .. starts[j+1]) are the row numbers of column j, values in elements
//   rows:    columns[rowStarts[i] .. rowStarts[i+1]), values in rowElements; ascending column numbers
// With base 1 all numbers and starts count from 1 (the vectors themselves still begin at [0]).
struct CleanCopy {
  int nRows, nColumns, base;
  int owned;           // 0: rows, starts and elements are the arrays of block 0 and must not be changed or freed
  int nElements;
  int *rows;           // [nElements]
  int *starts;         // [nColumns + 1]
  double *elements;    // [nElements]
  int *columns;        // [nElements], null unless asked for
  int *rowStarts;      // [nRows + 1]
  double *rowElements; // [nElements]
};
enum : int {
  CLEAN_COLUMNS = 1,
  CLEAN_ROWS = 2,
  CLEAN_SORTED = 4,  // rows ascend in each column; without it only that no row comes twice
  CLEAN_OWNED = 8    // never borrow the arrays of the model
};
// Fills `copy`; blocks stay as they are, in either index form. Elements whose sum is at most `tolerance` in size
// are dropped. Linear in the elements (columns that come unsorted are sorted). Guarded blocks: give back with
// qrt_deleteCleanCopy.
void qrt_cleanCopy(QRTModel *model, CleanCopy *copy, int option, double tolerance, int base);
void qrt_deleteCleanCopy(CleanCopy *copy);
// Merges all blocks into one column block; option 0 cuts the starts to exact size, 1 leaves room for Imaxcols.
void mergeAllBlocks(QRTModel *model, int option);
// Transposes count vectors of minor length nMinor; out arrays are the caller's ([nMinor+1], [n], [n]).
void transposeMatrix(int nMajor, int nMinor, const int *starts, const int *indices, const double *elements,
                     int *outStarts, int *outIndices, double *outElements);
// The model's own copies in row and in column order, made on request and good while matrixVersion stands.
struct ModelMatrixCopies {
  QRTMatrixCopy row;     // [Inumrows + 1] starts, column numbers, values as stored (scaled if the matrix is)
  QRTMatrixCopy column;  // [Inumcols + 1] starts, row numbers
  int32_t version;       // matrixVersion they were made of
  int32_t nRows, nColumns;
  // factors the simplex chose for the column copy: 0 not looked at yet, 1 none needed, 2 they stand in solverScales
  int32_t solverScaled;
  double *solverScales;   // [Inumrows + Inumcols] rows, then columns; guarded
};
const QRTMatrixCopy *currentRowCopy(QRTModel *model);
const QRTMatrixCopy *currentColumnCopy(QRTModel *model);
void releaseMatrixCopies(QRTModel *model);

// ---- names (names.cpp) ---------------------------------------------------------------------------------------

// Length of a name, whatever the present form; entries lie nameStride() bytes apart.
int nameLength(const QRTModel *model);
inline int nameStride(const QRTModel *model) { return model->Inumchar; }
// A name as it stands, without trailing blanks, not NUL-terminated; a model without names answers the default
// name made in `buffer` (32 bytes). Sets its length.
const char *rowNameOf(const QRTModel *model, int row, char *buffer, int *length);
const char *columnNameOf(const QRTModel *model, int column, char *buffer, int *length);
// Default name "R0000012" for number 12 and length 8, not NUL-terminated when it fills `length`.
void defaultName(char kind, int number, int length, char *entry);
// Name arrays of the present capacity with default names, when there are none.
void ensureNames(QRTModel *model);
// Stores one name, cut at nameLength (there must be names); form as the model's present one.
void storeName(QRTModel *model, char *entry, const char *name, int length);
// Changes the length of all names; longer ones are cut.
void setNameLength(QRTModel *model, int length);

// ---- sorting (sort_keys.cpp) ---------------------------------------------------------------------------------

void qrt_sort0(int *keys, int n);                     // ascending
void qrt_sort2(int *keys, double *values, int n);     // ascending by key, equal keys keep their order
// Smallest and largest of n indices; INT_MAX and -1 for none.
void indexRange(const int *indices, int64_t n, int *smallest, int *largest);

// ---- integers (integer_sets.cpp) -----------------------------------------------------------------------------

// Marks a column in the byte array of integer columns (1 integer, 2 member of an SOS2 set).
void markInteger(QRTModel *model, int column, char mark);

// ---- compression (compression.cpp) ---------------------------------------------------------------------------

// What a compressed model was before; owned by the model while it is compressed.
struct CompressInfo;
// Takes free basic rows and fixed nonbasic columns out of the model, when it is worth while: exactly one column
// block, no quadratic terms, no delta vectors. Null when nothing was taken out.
CompressInfo *qrt_compressMatrix(QRTModel *model);
// Would it remove more than a tenth of rows and columns? Less is not worth the copies it makes, and costs what the model
// keeps between solves.
bool compressionPays(const QRTModel *model);
// While compressed the model's numbers, names and RobjectiveOffset are those of the small model; after a solve call
// it when the duals are back in the caller's sign (behind qrt_up). It works in any index form, so that it also
// serves after a jump.
// Brings the model back and spreads solution, duals, statuses, aux and weights; null info does nothing.
void qrt_decompressMatrix(QRTModel *model, CompressInfo *info);
// Number in the whole model of a row or column of the small one, and back (-1: taken out). Rows count from 0,
// columns from the Imaxrows of the model they are numbers of; a null info changes nothing.
int qrt_oldSeq(const CompressInfo *info, int sequence);
int qrt_compressedSeq(const CompressInfo *info, int sequence);
// Further vectors in rim layout: a guarded copy in the small numbering, and a small one scattered over the whole.
double *qrt_compressDouble(QRTModel *model, const CompressInfo *info, const double *whole);
int *qrt_compressLong(QRTModel *model, const CompressInfo *info, const int *whole);
void qrt_decompressDouble(const CompressInfo *info, const double *small, double *whole);
void qrt_decompressLong(const CompressInfo *info, const int *small, int *whole);

// ---- files (mps_writer.cpp) ----------------------------------------------------------------------------------

// Writes a model as an MPS file in the caller's units, also when its matrix is scaled, which qrt_exportModel() refuses. The
// result is that function's.
int exportInUnits(QRTModel *model, const char *file);

// ---- whole model (whole_model.cpp) ---------------------------------------------------------------------------

// Frees rims, blocks, names, copies and integer data, and makes the model empty (sizes and capacities 0).
void clearModelData(QRTModel *model);
// Frees all quadratic blocks.
void dropQuadratic(QRTModel *model);
// First broken invariant of the store as text, or null; walks everything.
const char *model_check(const QRTModel *model);
// At the seams of debug builds: a broken invariant ends the process with its text.
#ifdef QRT_SELF_CHECKS
void selfCheckModel(const QRTModel *model);
#else
inline void selfCheckModel(const QRTModel *) {}
#endif
