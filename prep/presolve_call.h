// Presolve as the solvers above use it: a program that presolve solves wholly is no reason to stop.
#pragma once

#include "frame/model_record.h"

// qrt_preSolve() with the limit of the message that every row went raised for the call. 0 when the reduced model stands and
// its stream is whole, though it be a stand-in for nothing; other codes as qrt_preSolve() has them.
int preSolveForRun(QRTModel *model, int type, const char *filename);
// qrt_postSolve() on a file of preSolveForRun(), which is removed whatever came of it.
int postSolveForRun(QRTModel *model, const char *filename);
