// The records behind the opaque handles: QRTContext, QRTModel, the element block and the temporary chain.
//
// Rim layout. Every rim vector of a model holds rows and columns in one allocation:
//
//     allocation            pointer in the model
//     |                     |
//     [ extraFront spare ]  [ row 0 .. row Imaxrows-1 ][ column 0 .. column Imaxcols-1 ][ 3 spare ]
//
// so row i stands at [i], column j at [Imaxrows + j], and the allocation starts `extraFront` entries before the
// pointer. Always free or reallocate through rimAllocation().
#pragma once

#include <cstdint>
#include <cstdio>

#include "include/qrt_c_api.h"

constexpr double QRT_INFINITY = 1.0e31;       // a bound of this size means "none"
constexpr double QRT_INFINITE_TEST = 1.0e20;  // a bound at or beyond this is treated as infinite
constexpr int QRT_MESSAGE_COUNT = 980;        // rows of the message table, index 0 unused

// Bits of QRTModel::modelFlags.
enum : uint32_t {
  MODEL_COMPRESS = 1u << 0,         // compress the matrix before a solve
  MODEL_TRACE_ENTRY = 1u << 16,     // announce every entry
  MODEL_SHOW_CLASSIC = 1u << 17,    // show the classic routine name beside the module
  MODEL_NAMED_CONTROLS = 1u << 18,  // control messages name the variable
  MODEL_TRACE_PARAMETERS = 1u << 19,
  MODEL_BLOCKS_STAY = 1u << 20,     // element blocks stay 0-based for the core
  MODEL_MOVING = 1u << 31           // being moved to or from DSPACE: entry frames leave the current model alone
};

// Bits of a status word.
enum : uint32_t {
  STATUS_BASIC = 0x80000000u,
  STATUS_AT_UPPER = 0x40000000u,    // bits 30,29 = 10
  STATUS_AT_LOWER = 0x20000000u,    // 01
  STATUS_FREE = 0x60000000u,        // 11, free at zero
  STATUS_SIDE_MASK = 0x60000000u,   // 00 is superbasic
  STATUS_POSITION_MASK = 0x00ffffffu
};

// One part of the coefficient matrix; the matrix is the sum of all blocks, which may overlap.
struct ElementBlock {
  int32_t type;        // 2 triples, 3 column-ordered; a negative type is the same layout
  int32_t count;       // type 2: elements; type 3: columns
  int32_t columnBase;  // Imaxrows plus the block's column offset
  int32_t first;       // 1
  int32_t extent;      // type 2: highest column index plus 1; type 3: columns
  int32_t rowBase;     // added to each row index
  int32_t flags;       // 0
  int *rows;           // [nElements] row of each element, relative to rowBase
  int *columns;        // type 2: [count] column of each element; type 3: [count+1] starts
  double *elements;    // [nElements]
};

// Two 16-bit counters and the flags that steer one message of one model.
struct MessageControl {
  int16_t maxprt;  // prints left: -1 always, 0 never
  int16_t maxalw;  // occurrences left: -1 unlimited; at 1 the occurrence stops the process
  uint32_t flags;  // MESSAGE_...
};
enum : uint32_t { MESSAGE_TRACE = 1u << 31, MESSAGE_PREFIX = 1u << 30, MESSAGE_USER_EXIT = 1u << 29 };

// A temporary block known to a model's chain, newest first.
struct ChainEntry {
  ChainEntry *newer;
  ChainEntry *older;
  void *address;  // null in a mark entry
  int32_t size;   // bytes; -1 in a mark entry
};

// The ten user exits of a model, in the order of their registration functions.
struct CallbackTable {
  void *brnu, *chnu, *cutu, *evnu, *heuu;
  QRTItruCallBack itru;
  QRTMsguCallBack msgu;
  void *nodu, *ordu, *slvu;
};

struct QRTContext {
  QRTModel *base;      // always &initialCommon; the validity test of a context
  QRTModel **models;   // [nModels] owned
  int32_t nModels;
};

struct QRTModel {
  char header[8];          // "TAV_QRT"; what makes a handle valid
  ElementBlock *blocks;    // [Inumblocks] owned, guarded
  // rim vectors, see above
  double *lower;           // -1e31 for none
  double *solution;        // row activities, column values
  double *upper;           // 1e31 for none
  double *dual;            // row duals, reduced costs
  int *status;             // status words
  char *rownames;          // entries of Inumchar bytes (+1 while a pointer table exists)
  char *colnames;
  double *scales;          // rim vector, scale factors
  void *presolveInfo;      // marks of presolve; guarded, as are all further arrays here
  char *integerTypes;      // [Imaxcols] one byte a column, 0 continuous
  void *setInfo;           // integer sets, and the entries that belong to them: see integer_sets.h
  void *entryInfo;
  double *aux;             // rim vector; what it holds says auxKind
  void *sellistcol, *sellistrow;  // selection lists, saved and restored with the model
  void *userData;          // the caller's
  struct ModelMatrixCopies *rowColumnCopy;  // copies by rows and by columns, or null
  int32_t externalPointers;  // 1 when a direct pointer to a rim vector has been handed out
  void *integerTypeIndex;
  int32_t logfileOwned;    // 1 when logFile was opened by the library
  double *rweight;         // rim vector, steepest-edge weights
  double *objective;       // rim vector; the row part is the null row objective
  struct QuadraticEntry *quadraticBlocks;  // [Inumquadraticblocks]
  FILE *logFile;           // where its messages go
  char *logName;           // null, "stdout", "user_fp" or a path; guarded
  char *characterControls[6];  // Cname, Cobjective, Crhs, Crange, Cbound, Cbasis: guarded, NUL-terminated, or null
  unsigned char *furtherInfo;  // image of the work records
  void *factor;            // retained factorisation, released by qrt_eraseFactor
  char **rowNamePointers, **colNamePointers;  // tables made on request, or null
  struct BoundSensitivity *boundSensitivity;
  double *objectiveDelta, *lowerDelta, *upperDelta;  // rim vectors of parametric runs
  QRTContext *context;     // owner, or null
  void *workBlocks[3];     // released with the model
  CallbackTable callbacks;
  int32_t Inumchar;        // length of names; one more while they are NUL-terminated
  int32_t Imaxrows;        // row capacity, and where the column part of a rim vector begins
  int32_t Imaxcols;        // column capacity
  int32_t Inumblocks;
  int32_t Inumrows, Inumcols;
  int32_t Inumsets;
  int32_t Inumints;        // negative: unknown, counted on request
  int32_t dualSignFlip;    // 1: row duals are negated across every solver call
  int32_t auxKind;         // -1 none, 1 primal perturbation, 2 true costs, 3 infeasibility multipliers, 4 ray
  int32_t Imaxfactorsize;
  int32_t extraFront;      // spare entries in front of each rim vector
  int32_t Inumquadraticblocks;
  uint32_t modelFlags;
  int32_t entryDepth;      // public calls that are running, one inside another
  int32_t traceLevel;      // as given to qrt_setDebug()
  int32_t stderrNumber;    // messages numbered at or above this also go to stderr
  int32_t recoverArmed;    // 1 while a jump frame is armed for this model
  ChainEntry *tempChainTail, *tempChainHead;  // oldest and newest temporary block
  MessageControl *messageControl;             // [980] shared until changed: see ownMessageTable()
  // State of ours beyond the classic record.
  int32_t indexForm;       // 0: blocks 0-based and names terminated; 1: blocks 1-based; 2: names padded; 3: both
  int32_t matrixVersion;   // grows with every change of the matrix
  int32_t matrixScaled;    // 1: stored elements are multiplied by scales[i] / scales[Imaxrows + j]
  struct ByteStream *presolveStream; // in memory: what postsolve needs of the last presolve, or null; owned
  int32_t fastDual;        // 1 between the calls of a repeated dual: the model stays down; 2 within one
  int32_t fastDualLimit;   // Imaxiter before it
  struct CompressInfo *compression;  // what the model was before it was compressed, null while it is whole
  struct IdiotInfo *idiotInfo;       // options of the idiot crash, null before its first use; guarded
};

// Start of the allocation behind a rim vector.
template <class T> inline T *rimAllocation(const QRTModel *model, T *vector) {
  return vector ? vector - model->extraFront : nullptr;
}
inline int64_t rimLength(const QRTModel *model) {
  return int64_t(model->extraFront) + model->Imaxrows + model->Imaxcols + 3;
}
