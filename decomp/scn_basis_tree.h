// The tree of dual feasible bases of a family, down which members walk to their optimum.
//
//     root       B_0 with its inverse, dense
//      |         a step: the variable in row position p leaves to one of its bounds, variable q enters
//     child      B = B_parent with one column exchanged; kept: alpha = B_parent^-1 a_q, the reduced costs d
//
// Costs and W are the same for all members, so what is dual feasible for one is so for all, at every proposal, and the
// choice of the entering variable does not depend on the member. A member computes its basic values at the root, takes
// the row that is most infeasible, and follows the child of that row if there is one (x := x - theta alpha) or makes it.
// Where nothing is infeasible it has its optimum; where nothing can enter, the row is a proof of infeasibility. This is
// the "trickling down" of Gassmann and Wallace (1996), after the sifting of Gartska and Rutenberg (1973).
#pragma once

#include "decomp/scn_family.h"

constexpr int TREE_MOST_ROWS = 300;   // the root's inverse is dense

// Makes the tree from an optimal basis of the family's model: variable basic[p] in position p (any order), sides of all
// variables. Null when the basis is singular or not dual feasible.
BasisTree *tree_create(const Family *family, const unsigned char *status, double primalTolerance, double dualTolerance);
void tree_free(BasisTree *tree);
// New proposal: what its common right-hand side needs is computed at the next walk.
void tree_newProposal(BasisTree *tree);

enum : int { WALK_OPTIMAL = 0, WALK_INFEASIBLE = 1, WALK_LOST = 2 };
// Walks a member down from the root; bounds in all->lower, all->upper, its -(dT) xhat in `extra` (null for none).
// WALK_OPTIMAL and WALK_INFEASIBLE leave the node in *home; WALK_LOST: this member needs another way.
int tree_walk(BasisTree *tree, Families *all, const Member *member, bool alongRay, const double *extra, int *home);
// After WALK_INFEASIBLE by a hair: the member stays at the basis above the proof, in *home. False when that is unsound.
bool tree_stayAbove(BasisTree *tree, int *home);
// Of a node: d [nRows + realCols] (multipliers of a proof at an infeasible leaf); gradient for the shared T.
const double *tree_reduced(const BasisTree *tree, int home);
const double *tree_gradient(BasisTree *tree, int home);
// Values of all variables at the end of the last walk into values [nRows + realCols]; statuses (upper status bits) into
// status unless null.
void tree_solution(const BasisTree *tree, const Families *all, double *values, unsigned char *status);
// Cost of that solution.
double tree_cost(const BasisTree *tree);
// After a pass: moves the root to where most members came to rest when walks have become long. True when all homes
// are void.
bool tree_reroot(BasisTree *tree);
// First broken invariant as text, or null: a node's basis against its alpha and d. Dear.
const char *tree_check(const BasisTree *tree);
