// What both methods do with a model: announce it, solve it from nothing or from its last basis, weigh its costs; and the
// final solve of the whole.
#pragma once

#include "decomp/scn_benders.h"

constexpr int SOLVE_FROM_BASIS = 1, SOLVE_FROM_VALUES = 3;  // modes of the primal simplex
constexpr int UNSUPPORTED_EXIT = 999;     // process code for an algorithm that does not exist
constexpr double LARGE_BOUND = 1.0e15;    // stands for infinity with ifLargeBounds

// Whether anybody would see a message: formatting is dear against a small solve.
bool heard(int index);
// Issues a message when anybody would see it; the second and third set @D01 and @I01.
void say(int index);
void sayValue(int index, double value);
void sayNumber(int index, int number);
void saySolving(const char *what, int number);

// Log of a model that is solved thousands of times.
void quieten(QRTModel *lp);
// First solve of a model: scaled, presolved by way of a file of this name, crashed.
struct SolveOptions {
  bool scale;
  int presolve, crash;       // types, 0 none
  int algorithm;             // 0 either, 1 primal, 2 dual
};
// Leaves no file behind, however it ends. A solver's code.
int solveFromNothing(QRTModel *lp, const SolveOptions &options, const char *presolveFile);
// The same as the object's options ask.
int solveAfresh(QRTStoch *model, int algorithm, const char *presolveFile);
// Goes on from the last basis by the dual simplex; trouble there is answered by a solve from the logical basis.
int solveOn(QRTModel *lp);
// From the logical basis by the primal simplex.
int solveFromLogicals(QRTModel *lp);
// qrt_getIprobstat, where an optimum of the problem as it was perturbed or scaled counts as optimal.
int outcomeOf(QRTModel *lp);
// Whether the ray that the last solve left stays in the recession cones of all bounds, by the model's own matrix, and improves
// the cost (sense 1 minimises) by more than rounding (scn_rays.cpp).
bool rayHolds(const QRTModel *lp, double sense);
// The outcome of the last solve. An unbounded one whose ray does not hold is solved from the logical basis; 3 when that
// gives no better ray. 0 or a solver's code.
int confirmedOutcome(QRTModel *lp, int *outcome);

// Probability of the subtrees a model holds: of its real nodes whose parent is elsewhere. Costs come weighted by
// probabilities; without that weight tolerances mean the same in a rare scenario as in a common one.
double weightOfModel(const StochModel *smodel);
void divideCosts(QRTModel *lp, double weight);

// Printing of the simplex log's messages, on the object's model and on its base model.
void switchSimplexLog(QRTStoch *stoch, bool on);
// Cuts are planes, and so are the costs that a simplex minimises: a program with quadratic terms is refused by message 7070,
// which ends the process unless its limit was raised. The object's model must be loaded.
bool refuseQuadratic(QRTStoch *stoch, const char *function);
// The whole model by one simplex solve from the values it holds; status and objective value. 0 or a solver's code.
int solveWhole(QRTStoch *stoch);
