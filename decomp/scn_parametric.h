// Parametric solve: the described model's optimum along a line of costs and bounds.
#pragma once

#include "stoch/scn_stoc.h"

using ParametricCallBack = int (*)(QRTModel *model);

// Bits of the mask that says which vectors move.
enum : int { MOVE_OBJECTIVE = 1, MOVE_ROW_LOWER = 2, MOVE_ROW_UPPER = 4, MOVE_COL_LOWER = 8, MOVE_COL_UPPER = 16, MOVE_ALL = 31 };

// The directions; one that its mask does not select may be null.
struct ParametricDirection {
  const double *objective;            // [columns]
  const double *rowLower, *rowUpper;  // [rows]
  const double *colLower, *colUpper;  // [columns]
};

// Directions over the described model, in its order. Describes and loads the whole tree first when nothing is.
// 0, 2 after a message with the rim untouched, else the code of the solve or call-back that ended the run.
int qrts_Cspar(QRTStoch *stoch, const ParametricDirection &direction, int mask, ParametricCallBack fn);
// The same once over the core, in input order, spread to every node: costs weighted by its probability, bounds not.
int qrts_CsparCore(QRTStoch *stoch, const ParametricDirection &core, int mask, ParametricCallBack fn);
// The loop over lambda; directions over the described model, which must be loaded.
int qrts_CsparSolve(QRTStoch *stoch, const ParametricDirection &direction, int mask, ParametricCallBack fn);
