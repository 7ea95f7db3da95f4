// Taking rows, columns and elements out: the map of old to new numbers, and closing up what is left.
#pragma once

#include "model/model_store.h"

// Map of `size` old numbers to new ones, -1 for those listed in `which` (repeats count once); a temporary block.
// Null, after a message, when an index is out of range. Sets how many are kept.
int *removalMap(QRTModel *model, const char *caller, int n, const int *which, int size, int *kept);
// Moves all data of rows (or columns) down by the map, refills what became free with the defaults, and stores the
// new size. The matrix has been mapped before. Basis positions that no longer hold are cleared.
void closeUp(QRTModel *model, const int *map, bool rows, int kept);
// Takes all elements of one row, or of one column, out of all blocks; the other number is -1.
void removeElements(QRTModel *model, int row, int column);
