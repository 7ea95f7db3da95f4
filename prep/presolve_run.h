// What the drivers of presolve and postsolve offer one another: from the model to the working form, through the passes
// and the stream, to the reduced model; and back.
#pragma once

#include "model/byte_stream.h"
#include "prep/presolve.h"

enum : int {
  MSG_NEW_MATRIX = 81,
  MSG_UNBOUNDED = 93,
  MSG_ALL_ROWS_DELETED = 94,
  MSG_STOPPED_BECAUSE = 131,
  MSG_NO_NONLINEAR = 148,
  MSG_BAD_PARAMETER = 149,
  MSG_WORST_SLACKNESS = 281,
  MSG_WORST_INFEASIBILITY = 280,
  MSG_MAPPED_OBJECTIVE = 279,
  MSG_PRIMAL_OBJECTIVE = 282,
  MSG_DUAL_OBJECTIVE = 283,
  MSG_ROUNDING_CROSSES = 412,
  MSG_CANNOT_OPEN = 558,
  MSG_KEPT_IN_MEMORY = 811
};

// Which of the rows and columns of the original are in the reduced model, in order.
struct ReducedShape {
  int rows, columns;
  int *row, *column;     // [rows], [columns] numbers in the original
  int dummy;             // 1: all rows went, and one free row with one element stands for them
  int repairs;           // bounds that repair moved: the solution of the reduced model need not fit the original
};

// The working form of a model, on its temporary chain; nothing of the model changes.
Presolve *newPresolve(QRTModel *model, int kind, int flags);
// Steps before, in and after the passes. 0, PRESOLVE_INFEASIBLE or PRESOLVE_UNBOUNDED (told by its message).
int runPasses(Presolve *p, int passes);
void findShape(Presolve *p, ReducedShape *shape);
// The model becomes the reduced one; its rims keep their room. Nothing in here fails but for want of memory, before any
// change.
void makeReducedModel(Presolve *p, const ReducedShape *shape);

// The stream holds the original model, then offset, rows of the reduced model and a tag, then the log. The tag is 99 once
// all of it is written.
constexpr int PRESOLVE_COMPLETE = 99;
// Writes everything; `complete` 0 leaves the tag at 0 and the log out (presolve ended without a reduced model).
void writePresolve(Presolve *p, ByteStream *stream, const ReducedShape *shape, int complete);

struct PresolveRecord {
  struct SavedModel *original;
  double offset;         // of the original
  int tag;
  ReductionLog log;
  ReducedShape shape;
};
// Reads all of a stream and checks it; 0, or 1 after a message. Nothing of the model changes.
int readPresolve(QRTModel *model, ByteStream *stream, PresolveRecord *record);
bool knownReduction(int type);
// Undoes the log on a point of the reduced model.
void undoReductions(Postsolve *p);
// Whether the stored solution of the original is the one of its basis.
bool basisConfirms(const Postsolve *p);
// Quality of the solution the reduced model holds, in four messages.
void reportSolution(QRTModel *model);
