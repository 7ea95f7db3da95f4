// Families: subproblems of the same shape share one linear program; a member keeps only what it changes.
//
// With x the real columns of a member, xhat the proposal in its virtual columns and r its row activities,
//
//     minimise c'x    subject to   [W  -I] (x, r) = -(T + dT) xhat,     lower <= (r, x) <= upper
//
//     variable k        0 .. nRows-1 the activity of row k;  nRows + j the real column j
//     W, c, T, bounds   the core's, laid out for the shape; held once
//     member            bounds, and seldom costs or elements, that differ from these
//
// Costs are those of the minimisation, divided by the member's weight: the probability of its subtrees. Duals y and
// reduced costs d obey d = c - W'y for columns, d = y for activities, and the gradient of a value is -(T + dT)'y.
//
// A member is solved in one of two ways. Members that differ in bounds and T alone share all dual feasible bases: they
// walk down the family's tree of bases (scn_basis_tree.h), where a step costs one pass over the rows. The others, and
// families with too many rows for that, are written into the family's model and go on from their own last basis
// or from that of the member before them, whose factor stands there: what has taken less work of late.
#pragma once

#include "decomp/scn_benders.h"

struct BasisTree;

struct Family {
  // shape: nodes as a cut lists them, ancestors behind
  int32_t nReal, nVirtual;
  int32_t *shape;            // [2 * (nReal + nVirtual)] stage and parent of each node; parents from 1, 0 for none
  double *share;             // [nReal] probability of a node relative to the member's weight
  int32_t *rowOffset, *colOffset;  // [nReal + nVirtual] of nodes; columns of virtual nodes count on from realCols
  uint32_t hash;             // of shape
  int32_t nRows, realCols, virtualCols;
  // the shared program
  int32_t *start, *row;      // W by columns: [realCols + 1], rows from 0
  double *value;
  int32_t *rowStart, *rowCol;  // W by rows
  double *rowValue;
  int32_t *tStart, *tRow;    // T by columns: [virtualCols + 1]
  double *tValue;
  double *lower, *upper;     // [nRows + realCols] of variables
  double *cost;              // [realCols] minimised
  unsigned char *fixedInAll; // [nRows + realCols] 1: bounds coincide in every member
  // members' differences, one pool each; a member's stand together
  int64_t nRim, rimRoom;
  int32_t *rimAt;            // RIM_... part + index
  double *rimValue;          // absolute value, which takes the shared one's place
  int64_t nElements, elementRoom;
  int32_t *elementRow, *elementCol;  // columns as in the model: real ones, then virtual ones
  double *elementValue;      // added to the shared element
  // workers, made at the first use
  QRTModel *model;           // holds one member at a time
  int32_t modelScaled;       // 1: scaling, presolve and crash as the options ask have been seen to
  int32_t modelBasis, nBases;  // number of the basis it holds, 0 none; numbers given
  double stepsOwn, stepsNext;  // pivots of late that members needed from their own basis, from the one in the model
  int64_t starts;            // members that had the choice
  BasisTree *tree;           // null: not tried yet, or of no use
  int32_t treeUseless;       // 1: no tree is to be made
  double *product;           // [nRows] T xhat of the proposal in view
  const int32_t *productOf;  // places of the virtual columns it was made for; null: stale
  int32_t productAlongRay;   // 1: it was made for a ray
  int32_t treeFailures;      // bases that would not do as a root
};

// Where rimAt points, for a family with m rows and n real columns: lower bounds of all variables, upper bounds, costs.
inline int32_t rimLower(const Family *, int32_t k) { return k; }
inline int32_t rimUpper(const Family *f, int32_t k) { return f->nRows + f->realCols + k; }
inline int32_t rimCost(const Family *f, int32_t j) { return 2 * (f->nRows + f->realCols) + j; }

struct Member {
  int32_t family, cluster;
  const int *nodes;          // [nReal of the family] store numbers
  const int32_t *masterAt;   // [nVirtual] column of the master at which a virtual node's columns stand; shared
  double weight;
  int64_t firstRim, firstElement;
  int32_t nRim, nElements;
  unsigned char *basis;      // [nRows + realCols] upper status bits of its last solve in the model; null before
  int32_t basisNumber, cutBasis;  // number of that basis in its family, of the one of its last cut; 0 none
  double value;              // of its last solve, minimised, not weighted
  int32_t home;              // node of the tree where it came to rest; -1 none
  int8_t alone;              // 1: costs or real elements differ, or bounds are of another kind: no tree for it
  int8_t status;             // 0 optimal, 1 infeasible; of its last solve
  int8_t cutStatus;          // the same, when its last cut was made; -1 none
  int8_t cutAlongRay;
  int32_t cutHome;           // home of that cut
};

struct Families {
  QRTStoch *stoch;
  Family *family;            // [count]
  int32_t count, room;
  Member *member;            // [nMembers] model i + 2 of the list stands at [i]
  int32_t nMembers;
  int32_t **placePool;       // blocks behind masterAt
  int32_t nPlaces, placeRoom;
  int32_t largestRows, largestReal, largestVirtual;
  // work of one solve
  double *lower, *upper;     // [largestRows + largestReal] bounds of the member in view
  double *gradient;          // [largestVirtual]
  double *reduced;           // [largestRows + largestReal]
  int32_t boundsOf;          // family whose bounds stand there, -1 none
  double *hatX;              // [largestVirtual] proposal in the member's virtual columns
  double *extra;             // [largestRows] -(dT) xhat; zero between solves
  double *solution;          // [largestRows + largestReal] values of the variables, when asked for
};

// Builds families and members from the lists of a cut at a stage (list 0, the master's, is passed over); `lists` must
// outlive them. 0, or a code of 2 or more.
int families_build(Families *all, QRTStoch *stoch, QRTStoch *master, int **lists, const int *counts, int n);
void families_free(Families *all);
// First broken invariant as text, or null: members' nodes fit their family, pools are in range.
const char *families_check(const Families *all);

// What a solve of a member gives. Arrays are work of `all` or of the tree, good until the next solve.
struct MemberAnswer {
  int status;                // 0 optimal, 1 infeasible, 2 unbounded, other: not solved
  double value;              // minimised and not weighted: cost, or by how much the member is infeasible
  const double *reduced;     // [nRows + realCols] d, or with status 1 the infeasibility multipliers in the same signs
  const double *gradient;    // [virtualCols]
  double size;               // along a ray: of the terms that the value is made of, where they cancel
  double rightHandSide;      // of the cut: gradient'x (- theta) <= rightHandSide
  bool sameMultipliers;      // those of the member's last cut
};
// How the caller wants it.
struct MemberTask {
  const double *xhat;        // values of the master's own columns: a proposal, or with alongRay a ray
  bool alongRay;             // bounds become those of the recession cone
};
// A new proposal or ray: what was derived from the last one is stale. After a pass, families_endPass() lets the trees
// find better roots.
void families_newProposal(Families *all);
void families_endPass(Families *all);
// The answer has become a cut.
void member_noteCut(Member *member, const MemberAnswer *answer, bool alongRay);
// Solves member i. 0, or a solver's code of 2 or more.
int member_solve(Families *all, int i, const MemberTask *task, MemberAnswer *answer);
// The same at a proposal, and leaves values, duals and statuses of its nodes in the described model of stoch.
int member_gather(Families *all, int i, const double *xhat, MemberAnswer *answer);
// Takes a start from the described model of stoch.
void member_hotStart(Families *all, int i);
// Writes member i at a proposal as an MPS file. 0 or the writer's code.
int member_export(Families *all, int i, const double *xhat, const char *file);
