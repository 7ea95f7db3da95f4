// The model of the classic interface: its arrays in DSPACE, and the way between them and a QRTModel.
//
// The arrays lie behind each other from the low end of the free space on, each from a doubleword on:
//
//     lower, activities, upper, duals, objective    rim vectors: Imaxrows + Imaxcols doubles, rows before columns
//     status                                        Imaxrows + Imaxcols words
//     row names, column names                       entries of Inumchar characters, padded with blanks
//     scales, change vectors                        rim vectors, if there are any
//     block records, then the arrays of each block  rows, columns (triples) or starts, elements
//
// Row numbers, column numbers and starts count from 1. qrtaddr has their addresses in the core's 1-based form, qrtlplp the
// sizes. All functions expect a classic call in progress, unless they say otherwise.
#pragma once

#include "frame/records.h"

struct ClassicShape {
  int32_t rows, cols, maxRows, maxCols;
  int32_t nameLength;
  bool named, scaled, parametric;
  int32_t blocks;
};
// Doublewords that the arrays of a shape, and one block's, take.
int64_t classicRimSpace(const ClassicShape &shape);
int64_t classicBlockSpace(int type, int count, int64_t elements);
int64_t classicFreeSpace();

// Forgets the present model. Its space is free again when nothing was taken behind it and no saved model has it.
void releaseClassicModel();
// Makes room for a model and enters it, with the defaults of new rows and columns and no block filled. Too little space is
// message 32, which does not return.
void placeClassicModel(const ClassicShape &shape);
// Makes room for the arrays of the next block and enters it; the caller fills them. `columnOffset` counts from 0.
ElementBlock *placeClassicBlock(int type, int count, int64_t elements, int rowBase, int columnOffset);
// Room for the auxiliary vector, if there is any left; false without.
bool placeClassicAux();

// Fills an empty model, which need not have an image or be current, with the classic model of two saved records. What
// a caller has written into DSPACE is checked: message 108, which does not return, for indices that are none.
void copyClassicModel(QRTModel *target, const QrtAddr &addr, const QrtLplp &lplp);
// The reverse: places a model that is at rest as the present classic one.
void placeCopyOfModel(const QRTModel *source);
