// The first column block, into which added rows and columns are merged so that the usual model stays one block.
#pragma once

#include "model/model_store.h"

// Number of a column block with row and column offset 0 whose starts cover all present columns: the first column
// block of the model, extended and with arrays of its own; made at the end of the list when the first one is
// placed elsewhere or there is none.
int firstColumnBlock(QRTModel *model);
// Inserts n elements behind what their columns hold, in the order given, already scaled as the matrix is. The
// block is moved up from the top, so no second element buffer is needed.
void insertElements(QRTModel *model, int n, const int *rows, const int *columns, const double *elements);
// Appends columns at the tail, for columns firstColumn .. firstColumn + count - 1 (the last of the model); element
// e of column c stands at starts[c] <= e < starts[c + 1].
void appendColumns(QRTModel *model, int firstColumn, int count, const int *starts, const int *rows,
                   const double *elements);
// Checks the starts and the range of the indices; issues the message of what is wrong.
bool soundVectors(const int *starts, int count, const int *indices, int limit, int rangeMessage);
// Checks bounds of new rows or columns (a null vector means the default); stops the call on a crossed pair.
void checkNewBounds(const char *entry, int n, const double *lower, const double *upper, double defaultLower);
