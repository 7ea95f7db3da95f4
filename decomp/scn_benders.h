// Decomposition: a tree cut into models, and the records by which a master and its subproblems talk.
//
//     model 1 (master)        rows of its nodes                      own columns | total | theta_1 .. theta_n
//        |  proposal          link row: total - sum theta_j = 0
//        v                    cuts:     g'x - theta_j <= r   (type 0),   g'x <= r   (type 1)
//     models 2 .. n           real nodes first, then virtual ones: ancestors in other models, columns only, fixed at the
//                             proposal. Their reduced costs are the gradient g of the subproblem's value.
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
// First broken invariant of the list as text, or null: every described node real in exactly one model, every virtual
// node held by the parent model, one root.
const char *submodels_check(const QRTStoch *stoch);

// ---- buffers (scn_buffers.cpp) ------------------------------------------------------------------------------

// Bounded queues of records, all on the object that owns the run. Ids count from 1; a sequence number is the total of
// puts at its own put. See the functions for capacity and failure.
int qrtinit_Cbuffer(QRTStoch *base, int capacity, int maxSize);  // id, or -1 for an argument below 1
int qrtput_Cbuffer(QRTStoch *base, int id, const void *data, int size);  // sequence number, 0 full, -1 bad
int qrtget_Cbuffer(QRTStoch *base, int id, void *data, int *size, int after);  // sequence number, 0 none, -1 bad
void qrtpop_Cbuffer(QRTStoch *base, int id);
void qrtfree_Cbuffer(QRTStoch *base, int id);
void qrtdel_Cbuffers(QRTStoch *base);
// Blocks that live as long as the run; qrtbenders_Cfree releases them and the buffers.
void *qrtbenders_Calloc(QRTStoch *base, const char *name, int64_t size, int noClear);
void qrtbenders_Cfree(QRTStoch *base);

// ---- records ------------------------------------------------------------------------------------------------

// A record on its way through a buffer.
struct VecBuffer {
  int32_t bufferId;
  int32_t size;             // bytes
  void *data;               // the packed record
};

// Bounds of the real columns and rows of a subproblem.
struct BoundSet {
  double *colLower, *colUpper, *rowLower, *rowUpper;
};
// Which set: as they stand; the recession cone of the box; finite ones alone.
enum : int { BOUNDS_ORIGINAL = 0, BOUNDS_RAY = 1, BOUNDS_ANCHOR = 2 };

enum : int { CUT_OPTIMALITY = 0, CUT_FEASIBILITY = 1 };

// What a master knows of a child.
struct SubEntry {
  double probability;       // of the first node of the child's stage-1 chain
  int32_t seq, status, statusBuffer;
  int32_t hasOptimal;       // 1: has reported status 0
  double estimate;          // the master's value of its column
  double value;             // last value reported, in the sense of the program
};

struct BendersMaster {
  int32_t numSubs;
  SubEntry *subs;           // [children] child j at [j-1]
  int32_t allReported, combinedStatus, proposalSeq;
  VecBuffer *proposal, *cuts;
  int *cutIndex;            // [ncols + 1]
  int *columnIndex;         // shared: 1, 2, ...
  int32_t newCuts;          // 1: the last collection found some
  int32_t nCols, nRows;     // own columns and rows, without what the method added
};

struct BendersSlave {
  int32_t lastSeq;          // -1
  VecBuffer *proposal, *cut;
  int32_t cutRejected;
  int32_t seq;              // of the proposal read
  int32_t realCols;         // columns of real nodes; virtual ones follow
  int32_t cutIsCurrent;     // 1: the last cut is that of the present basis
  int32_t lastCutAlongRay;  // 1: the multipliers of the last cut belong to a solve along a ray
  double weight;            // costs are divided by it while the method runs, duals and values multiplied
};

struct BendersMethod {
  BendersMaster *master;    // null without children
  BendersSlave *slave;      // null without parent
  BoundSet *anchorBounds, *rayBounds, *originalBounds;
  int32_t activeBounds;
  int *nodeOwner;           // [store nodes] shared: model (from 1) that holds the node as a real one
  int *storeNode;           // [nodes of the model] store number of model node k at [k-1]
  int32_t statusBuffer;
  int32_t lastStatus;
};
inline BendersMethod *methodOf(const QRTStoch *model) { return static_cast<BendersMethod *>(model->smethod); }

// ---- a cut's arithmetic (scn_cut_rows.cpp), for both methods ------------------------------------------------

// The dual function of a subproblem's own rows and real columns.
struct DualBound {
  double value;             // D
  double size;              // sum of the sizes of its terms
  bool needsInfinity;       // a multiplier above the tolerance asks for an infinite bound: D is useless
};
// Multipliers rowSign * rows[] and d[] in the signs above; bounds of the first nReal columns and of all rows. Multipliers
// up to `tol` in size are left out where they ask for an infinite bound.
DualBound dualBound(const BoundSet *bounds, int nRows, int nReal, const double *rows, double rowSign, const double *d,
                    double tol);
// Right-hand side of a cut at a proposal: gradientTerm = sum of d_k xhat_k over the virtual columns, value = sense * z
// (type 0) or the sum of infeasibilities (type 1). -D where it can be had and both forms agree; else the weaker one,
// which is valid; along a ray only -D holds.
double cutRightHandSide(const DualBound &bound, double gradientTerm, double value, bool alongRay);
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
// Store number of each node of a described model, into out [nodes of the model].
void storeNumbers(const QRTStoch *model, int *out);
// Sizes of records: nNodes numbers, then nCols reals at an offset of whole words.
inline int64_t proposalOffset(int64_t nNodes) { return (4 * nNodes + 3) / 8 * 8 + 8; }
inline int64_t proposalSize(int64_t nNodes, int64_t nCols) { return proposalOffset(nNodes) + 8 * nCols; }
inline int64_t cutOffset(int64_t nVirtual) { return (4 * nVirtual + 19) / 8 * 8 + 8; }
inline int64_t cutSize(int64_t nVirtual, int64_t nCols) { return cutOffset(nVirtual) + 8 * nCols; }

// ---- bound sets (scn_bounds.cpp) ----------------------------------------------------------------------------

// Fills the three sets, whose arrays the caller owns, from the model's present bounds of its first nCols columns and nRows
// rows.
void makeBoundSets(const QRTModel *model, const BoundSet *original, const BoundSet *ray, const BoundSet *anchor, int nCols, int nRows);
// The set of that number, or null after a text.
const BoundSet *chooseBounds(int which, const BoundSet *original, const BoundSet *ray, const BoundSet *anchor);
void putBounds(QRTModel *model, const BoundSet *set, int nCols, int nRows);
// Makes the three sets of a subproblem from its present bounds.
void qrts_Cslav0(QRTStoch *base, QRTStoch *sub);
// Puts a set into the model, unless it is there already.
void qrts_Cgtbd(QRTStoch *sub, int which);

// ---- solutions to and fro (scn_gather.cpp) ------------------------------------------------------------------

// From the real nodes of the models into the described model of stoch, and back as a start. 0, or 2 after a text.
int qrts_Cgthr(QRTStoch *stoch, QRTStoch **models, int n);
int qrts_Chots(QRTStoch *stoch, QRTStoch **models, int n);
// |objective - dual objective| at the model's solution.
double qrts_get2DualityGap(QRTModel *model);

// ---- L-shaped method (scn_benders.cpp, scn_benders_master.cpp, scn_benders_sub.cpp) -------------------------

// The whole solve. mode 1 starts from the solution in the described model. 0 or a solver's code.
int qrts_benders2LSolve(QRTStoch *stoch, int mode);
// The cycles alone, with cut, records and gathering.
int qrts_CLshaped(QRTStoch *stoch, int mode);
// Builds the records and checks the tree of models; parents from 1, 0 for the root. 0, or 2 after a text.
int qrtbenders_Cinit(QRTStoch **models, int nModels, const int *parents, int maxIterations, int *root, int largeBounds);
int qrts_Cmstr(QRTStoch *base, QRTStoch *model, int nChild, int largeBounds);
int qrts_Cmstr0(QRTStoch *model, int nChild);
int qrts_Cslav(QRTStoch *base, QRTStoch *sub, QRTStoch *master);
void qrtbenders_Cputprop(QRTStoch *master, const double *colsol);
// The last proposal into the bounds of the virtual columns.
void qrtbenders_Cgetprop(QRTStoch *sub, double *colUpper, double *colLower);
// Values of the master's columns into the bounds of the virtual columns, beside the buffer.
void fixVirtualColumns(QRTStoch *sub, const int *nodes, int nNodes, const double *values, double *colUpper, double *colLower);
void qrtbenders_Cputstat(QRTStoch *model, int code, double value);
int qrtbenders_Cgetstat(QRTStoch *model, int buffer, int *code, int *seq, double *value);
// Packs and queues a cut from reduced costs and row duals (type 0), or from qrt_colaux and qrt_rowaux (type 1), both as
// the solver left them; value is the objective value or the sum of infeasibilities. The subproblem's weight is applied
// to type 0 here.
void qrtbenders_Cputcut(QRTStoch *sub, int alongRay, int type, double tol, const double *rcost, const double *rows,
                        const double *colsol, double value, double sense);
// Takes the next cut into the master's record; *subId 0: none.
void qrtbenders_Cgetcut(QRTStoch *master, int *type, int *subId, double *rhs);
// Collects statuses and cuts; the cuts become rows in one batch. 0 or a store's code.
int qrtbenders_Cchkslvs(QRTStoch *master);
// The part of it that takes the cuts.
int takeCuts(QRTStoch *master);
int qrtbenders_Cchkprop(QRTStoch *master);
