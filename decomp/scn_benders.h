// Decomposition: a tree cut into models, and the records by which a master and its subproblems talk.
//
//     model 1 (master)        rows of its nodes                      own columns | total | theta_1 .. theta_n
//        |  proposal          link row: total - sum theta_j = 0
//        v                    cuts:     g'x - theta_j <= r   (type 0),   g'x <= r   (type 1)
//     models 2 .. n           real nodes first, then virtual ones: ancestors in other models, columns only, fixed at the
//                             proposal. Their reduced costs are the gradient g of the subproblem's value. The L-shaped
//                             method holds them as members of families (scn_family.h), not as objects.
//
// Signs. Duals y and reduced costs d are those of the minimisation of sense * cost in both senses, y positive on a row
// at its lower bound. For every dual feasible (y, d), real bounds l, u and any values x of the virtual columns,
//     sense * z(x)  >=  D + sum over virtual columns of d_k x_k,
//     D = sum of y_i (L_i if y_i > 0 else U_i) + sum over real columns of d_j (l_j if d_j > 0 else u_j),
// so -D is the right-hand side of the cut at any proposal, plain or along a ray. Infeasibility multipliers obey the same
// with 0 on the left.
//
// Recourse columns theta_j carry sense * z_j; the total has cost `sense` and therefore bounds the program in both senses.
#pragma once

#include "include/qrts_c_api.h"
#include "stoch/scn_generation.h"
#include "stoch/scn_object.h"
#include "stoch/scn_stoc.h"

// Messages of the two methods, by index.
enum : int {
  MSG_FIRST_PASS = 833, MSG_DID_NOT_SOLVE = 834, MSG_MASTER_INFEASIBLE = 835, MSG_MASTER_UNBOUNDED = 836,
  MSG_ESTIMATED_VALUE = 837, MSG_BEGIN_CYCLE = 838, MSG_SOLVING = 839, MSG_ACTUAL_VALUE = 841,
  MSG_PROBLEM_UNBOUNDED = 842, MSG_GAP = 843, MSG_RELATIVE_GAP = 844, MSG_OPTIMAL_WITHIN = 845, MSG_NO_NEW_CUTS = 846,
  MSG_CYCLES_EXCEEDED = 847, MSG_MASTER_VALUE = 849, MSG_DUPLICATE_ROOT = 914, MSG_STATUS_CONFUSED = 915,
  MSG_DECOMPOSING = 949
};

// ---- cutting the tree (scn_cut_tree.cpp) --------------------------------------------------------------------

// Each forms the list of models of `stoch` (an existing one is deleted first); load non-zero also fills them.
// Number of models; -1 when the cut or a description fails; 0 when loading fails. A value below 1 ends the process.
int qrts_decompose2CutAtStage(QRTStoch *stoch, int cutperiod, int load);
int qrts_decompose2CutByRowSize(QRTStoch *stoch, int minNumRows, int load);
int qrts_decompose2CutByNodeSize(QRTStoch *stoch, int maxsubmodels, int load);
// Node lists of the models, each in its order; lists, counts and parents are the caller's to free(), as is each list.
// Node numbers are those of the store. 0, or 2 after a text.
int qrts_Cpcut(QRTStoch *stoch, int cutperiod, int ***lists, int **counts, int *nModels);
int qrts_Cdcut(QRTStoch *stoch, int minNumRows, int ***lists, int **counts, int **parents, int *nModels);
// Merges the smallest branches into their parents until maxsubmodels are left; rewrites the arrays in place.
int qrts_Cncut(QRTStoch *stoch, int maxsubmodels, int **lists, int *counts, int *parents, int nModels);
// The list, or null with a warning on stdout.
QRTStoch **qrts_get2Submodels(QRTStoch *stoch);
// Forms the master of a cut alone, with room for nChild recourse columns, and announces the other models, which the
// caller holds in another form. Null when it can't be described or filled.
QRTStoch *formMasterAlone(QRTStoch *stoch, int **lists, const int *counts, int n, int nChild);
// Says of model i (from 1) what forming it would.
void tellSubproblem(const QRTStoch *stoch, int i, int nNodes, int nVirtual, int nRows, int nCols, int nBlocks);
// First broken invariant of the list as text, or null: every described node real in exactly one model, every virtual
// node held by the parent model, one root.
const char *submodels_check(const QRTStoch *stoch);

// ---- records ------------------------------------------------------------------------------------------------

// Bounds of the real columns and rows of a subproblem.
struct BoundSet {
  double *colLower, *colUpper, *rowLower, *rowUpper;
};

// Which set: as they stand; the recession cone of the box; finite ones alone.
enum : int { BOUNDS_ORIGINAL = 0, BOUNDS_RAY = 1, BOUNDS_ANCHOR = 2 };

enum : int { CUT_OPTIMALITY = 0, CUT_FEASIBILITY = 1 };

// What a master knows of a child: a subproblem, or a cluster of subproblems that send one cut together.
struct SubEntry {
  int32_t firstMember, nMembers;
  int32_t hasOptimal;       // 1: has sent an optimality cut
  double estimate;          // the master's value of its column, sense * z
  double value;             // last value reported, in the sense of the program
};

struct BendersMaster {
  int32_t numSubs;
  SubEntry *subs;           // [numSubs] child j at [j-1]
  int32_t nCols, nRows;     // own columns and rows, without what the method added
  double *savedLower, *savedUpper;  // [nCols + 1] column bounds that large ones stand for; null without
};
inline BendersMaster *masterOf(const QRTStoch *model) { return static_cast<BendersMaster *>(model->smethod); }

// ---- a cut's arithmetic (scn_cut_rows.cpp), for both methods ------------------------------------------------

// The dual function of a subproblem's own rows and real columns.
struct DualBound {
  double value;             // D
  double size;              // sum of the sizes of its terms
  bool needsInfinity;       // a multiplier above the tolerance asks for an infinite bound: D is useless
};
// One term: a multiplier times the bound that makes the product least. Multipliers up to `tol` in size are left out where
// they ask for an infinite bound.
void addDualTerm(DualBound *bound, double multiplier, double lower, double upper, double tol);
// Multipliers rowSign * rows[] and d[] in the signs above; bounds of the first nReal columns and of all rows.
DualBound dualBound(const BoundSet *bounds, int nRows, int nReal, const double *rows, double rowSign, const double *d,
                    double tol);
// Size up to which a gradient's coefficients are the rounding of sums over these row multipliers. A cut must not hold them:
// in a feasibility cut, which has no estimate to give way, a proposal would meet it by a column of 1e15.
double gradientNoise(const double *rows, int nRows);
// Right-hand side of a cut at a proposal: gradientTerm = sum of d_k xhat_k over the virtual columns, value = sense * z
// (type 0) or the sum of infeasibilities (type 1). -D where it can be had and both forms agree; else the weaker one,
// which is valid; along a ray only -D holds.
double cutRightHandSide(const DualBound &bound, double gradientTerm, double value, bool alongRay);
// Store number of each node of a described model, into out [nodes of the model].
void storeNumbers(const QRTStoch *model, int *out);

// Cuts on their way to being rows of a master: one batch, one merge.
struct CutBatch {
  int rows, elements;
  int64_t room;             // elements
  int *starts, *columns;    // [rows + 1], [elements]
  double *values, *upper;
};
void cutBatch_open(CutBatch *batch, int64_t mostRows);
void cutBatch_element(CutBatch *batch, int column, double value);  // a zero is left out
void cutBatch_endRow(CutBatch *batch, double rhs);
// Appends the rows to the model and closes the batch. 0 or a store's code.
int cutBatch_add(CutBatch *batch, QRTModel *model);
// Closes a batch whose rows are not wanted; harmless after cutBatch_add().
void cutBatch_drop(CutBatch *batch);

// A cut while it is summed up over subproblems.
struct CutColumns {
  double *sum;               // [own columns of the master] zero where not touched
  unsigned char *marked;     // the same
  int *touched, count;
};
void cutColumns_add(CutColumns *cut, int first, int count, const double *gradient, double factor);
void cutColumns_clear(CutColumns *cut);
// Ends a row factor * (cut <= rightHandSide), with -1 on column theta unless that is negative; returns its place.
int cutBatch_sum(CutBatch *batch, const CutColumns *cut, int theta, double factor, double rightHandSide);

// ---- bound sets (scn_bounds.cpp) ----------------------------------------------------------------------------

// Fills the three sets, whose arrays the caller owns, from the model's present bounds of its first nCols columns and nRows
// rows.
void makeBoundSets(const QRTModel *model, const BoundSet *original, const BoundSet *ray, const BoundSet *anchor, int nCols, int nRows);
// The set of that number, or null after a text.
const BoundSet *chooseBounds(int which, const BoundSet *original, const BoundSet *ray, const BoundSet *anchor);
void putBounds(QRTModel *model, const BoundSet *set, int nCols, int nRows);

// ---- solutions to and fro (scn_gather.cpp) ------------------------------------------------------------------

// From the real nodes of the models into the described model of stoch, and back as a start. 0, or 2 after a text.
int qrts_Cgthr(QRTStoch *stoch, QRTStoch **models, int n);
int qrts_Chots(QRTStoch *stoch, QRTStoch **models, int n);
// |objective - dual objective| at the model's solution.
double qrts_get2DualityGap(QRTModel *model);

// ---- L-shaped method (scn_benders.cpp, scn_benders_master.cpp, scn_benders_pass.cpp) -------------------------

// The whole solve. mode 1 starts from the solution in the described model. 0 or a solver's code.
int qrts_benders2LSolve(QRTStoch *stoch, int mode);
// The cycles alone, with cut, records and gathering.
int qrts_CLshaped(QRTStoch *stoch, int mode);
// Record and recourse columns of a master with nChild children; the record is freed by freeMaster(). 0 or a store's code.
int qrts_Cmstr(QRTStoch *model, int nChild, int largeBounds);
// The recourse columns and their link row alone.
int qrts_Cmstr0(QRTStoch *model, int nChild);
void freeMaster(QRTStoch *model);
