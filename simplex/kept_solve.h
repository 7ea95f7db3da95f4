// What a model keeps between two solves, so that a re-solve after a small change costs what the change costs: the factor
// of the last basis, the matrix in the solver's form, the steepest edge weights; and the work memory all solves share.
//
// Nothing here shows from outside: each part carries a stamp of what it was made of, and a solve that finds another stamp
// makes the part anew.
//
//     factor     of the basis in `basis`, for this matrix in this scaling; it may carry the updates of earlier solves
//     matrix     colStart .. rowValue of SimplexWork
//     weights    |row i of B^-1|^2 of the dual, by variable in the model's rweight, where a nonbasic one has 0: a basis
//                all of whose variables have a weight is the one that was left, but for rows added since, whose
//                logicals are basic with the weight 1 that new rows get. Or the primal's, of its nonbasics, where a basic
//                one has none: likewise, but for columns added since
#pragma once

#include "simplex/solve_state.h"

struct KeptSolve {
  Factor *factor;          // owned; null until the first solve
  int32_t factorGood;      // 1: factor belongs to `basis`, matrixVersion and form below
  int32_t m, n;            // of that basis
  int32_t version, form;   // matrixVersion and MatrixForm it was made of
  int32_t *basis;          // [1..basisRoom] variable basic in row i; owned, guarded
  int32_t basisRoom;
  int32_t weightForm;      // MatrixForm of the weights in rweight, 0: there are none
  int32_t weightKind;      // WEIGHTS_DUAL, or what PrimalWork::weightKind was
  // the matrix in solver form; see SimplexWork
  int32_t matrixM, matrixN, matrixVersion, matrixForm;  // stamp; matrixForm 0: not made
  int32_t *colStart, *colRow, *rowStart, *rowVar;       // owned, guarded
  double *colValue, *rowValue;
  double *costShift;          // [1..total] costs in force less true ones, minimised, in the caller's units, after a stop; or null
  struct SavedFactor *saved;  // of a repeated dual (fast_dual.cpp), null outside one; owned
};

// How the elements inside differ from those stored.
enum MatrixForm : int32_t {
  FORM_NONE = 0,
  FORM_STORED = 1,      // as stored
  FORM_SCALED = 2,      // by factors of the solver
  FORM_UNSCALED = 3     // the owner's factors taken back; never kept
};

constexpr int WEIGHTS_DUAL = 0;

// The model's record, made at first use.
KeptSolve *keptSolve(QRTModel *model);
// Frees it with all it holds; after a jump out of a solve nothing in it can be trusted.
void keptSolve_drop(QRTModel *model);
// Frees what a repeated dual has saved (fast_dual.cpp).
void qrt_freeFactor(KeptSolve *kept);

// Takes over the kept factor with its order of the basis when it is that of the basic variables in `flags`; false: there is
// none that fits.
bool keptFactor_take(SimplexWork *w);
// At the end of a solve: the factor stays with the basis in list.
void keptFactor_leave(SimplexWork *w);
// Steepest edge weights of the dual for all variables: kept ones where they fit, 1 otherwise.
void keptWeights_take(SimplexWork *w);
// Weights of the primal of this kind (SCORE_*) with their reference framework; false, and nothing done, where none fit.
bool keptWeights_takePrimal(SimplexWork *w, int kind);
// The weights of the algorithm that ends the run stay with the model.
void keptWeights_leave(SimplexWork *w);

// ---- work memory: one block that solves use in turn, so that a small one does not begin with forty allocations
// Claims the block for w when no other solve has it.
void solveMemory_claim(SimplexWork *w);
bool solveMemory_taken();
// The solve that has it is over or was left by a jump.
void solveMemory_release();
// count elements of `size` bytes for the rest of this solve, zeroed; from the block or the temporary chain. May jump.
void *solveMemory(SimplexWork *w, int64_t count, size_t size);
// The same with whatever was there before, for what is written before it is read.
void *solveMemoryRaw(SimplexWork *w, int64_t count, size_t size);
