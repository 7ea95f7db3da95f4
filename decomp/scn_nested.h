// Nested decomposition: the models of a cut tree of any depth, each a master to its children and a subproblem to its
// parent.
//
//     root        rows of its nodes   real columns |                 | total | theta_1 .. theta_c     proposals x down
//      |                                                                                              statuses and
//     inner       rows of its nodes   real columns | virtual columns | total | theta_1 .. theta_c     cuts up
//      |                               link row and cut rows stand behind the rows of the nodes
//     leaf        rows of its nodes   real columns | virtual columns
//
// A master of more than 500 children takes their cuts in sums over clusters of neighbours: a row a child and cycle would let
// it grow far beyond what its children cost.
//
// Virtual columns are the ancestors' decisions, fixed at the parent's proposal. Signs and the arithmetic of a cut are
// those of scn_benders.h; a model that is a master too counts its cut rows among its rows.
//
// Units. Costs come weighted by probability. Inside a model they are divided by its weight w (weightOfModel), and so are
// its recourse columns: theta_j = sense * z_j / w. Everything that travels (values, cuts) is in the program's own units.
//
// Two values. A model that has answered reports the cost of decisions that exist: its own proposal and what the children
// made of it. Its cut bounds the value from the other side. Far from the end a model answers as soon as the two are near
// enough for the root to go on (`inner` below); then its solution and its children's no longer fit together, it is not
// `settled`, and the root asks once more before it ends.
#pragma once

#include "decomp/scn_benders.h"

enum : int {
  MSG_SENT_PROPOSAL = 930, MSG_RECEIVED_PROPOSAL = 931, MSG_SENT_CUT = 932, MSG_RECEIVED_CUT = 933,
  MSG_RESOLVED_PROPOSAL = 934, MSG_SENT_AUGMENTED = 935, MSG_SENT_RAY = 936, MSG_ACTUAL_TOTAL = 939,
  MSG_ESTIMATED_TOTAL = 940, MSG_TOTAL_GAP = 941, MSG_ROOT_CYCLES = 942, MSG_STEP_GAP = 943, MSG_STEP_VALUE = 944,
  MSG_FORMING_NESTED = 945, MSG_OPTIMAL_AFTER = 946, MSG_OPTIMAL_VALUE = 947, MSG_NESTED_EXCEEDED = 948,
  MSG_SOLVING_WITH = 961, MSG_NESTED_INFEASIBLE = 972, MSG_NESTED_UNBOUNDED = 973
};

// modelStatus, and the status a model posts.
enum : int {
  NESTED_OPTIMAL = 0,       // finished with the proposal in hand
  NESTED_INFEASIBLE = 1,    // at the proposal in hand; a cut has gone up
  NESTED_WORKING = 2,       // has a proposal open, or is solving
  NESTED_UNBOUNDED = 4,     // the root
  NESTED_STALLED = 5,       // the solver, or the exchange, gave up on this model
  NESTED_UNBOUNDED_BELOW = 8
};
// Kinds of proposal.
enum : int { PROPOSAL_POINT = 0, PROPOSAL_RAY = 1, PROPOSAL_AUGMENTED = 3 };
// What a visit tells the driver.
enum : int { EVENT_NONE = 0, EVENT_ROOT_SOLVED = 1, EVENT_TERMINAL = 2, EVENT_ROOT_DONE = 3 };

// ---- records: blocks of the list of models, as long-lived as it ---------------------------------------------

// What a master knows of a child. Values in the program's units and sense.
struct NestedChild {
  int32_t seq, status;      // of its last answer
  int32_t numNodes;         // its virtual nodes, all of them nodes of this master
  const int *nodes;         // [numNodes] store numbers, the child's
  int32_t hasOptimal;       // 1: has answered with status 0 in this run
  int32_t freed;            // 1: its recourse column has lost the bound 0
  double estimate;          // this master's value of its column; -1e31 before hasOptimal
  double value;             // cost it reported
  double probability;
};

struct NestedMaster {
  int32_t proposalSeq;      // modelNumber + 20 before the first; those of different models never meet
  int32_t convergence;      // of the last check: 0 converged, 1 a child infeasible, 2 not converged, 8 a child unbounded
  int32_t numChildren;
  NestedChild *children;    // [numChildren]
  int *childTasks, *childModels;  // [numChildren] task, model number
  int32_t allReported;      // 1: every child has hasOptimal
  int32_t proposalKind;
  int32_t ownRay;           // 1: the ray is that of this model's own unbounded problem
  double *cutBuffer;        // [columns of the model] coefficients of the cut being read
  int *cutIndex, *columnIndex;    // [columns of the model] columns of that cut; 1, 2, ... node by node
  int32_t numCuts;          // cut rows
  double *cutRhs;           // [cutRoom] right-hand sides of the cut rows in their order, in this model's units
  int32_t cutRoom;
  int32_t freedNow;         // 1: a recourse column lost its bound since the last solve
  double rayCost, raySize;  // own cost along the ray, and the sum of the sizes of its terms
  double *ray;              // [columns with recourse] null before the first need
};

struct NestedSlave {
  int32_t proposalSeq;      // of the proposal in hand
  int32_t parentTask, parentModel;
  int32_t numNodes;         // the parent's whole node list in its order
  const int *nodes;         // store numbers; the parent's
  const double *proposal;   // [parent's columns] the proposal in hand; the sender's
  int *place;               // [virtual columns] where each stands in a proposal
  double *cut;              // [virtual columns] coefficients on their way up
  double cutRhs;
  int32_t isRay;            // 1: the proposal in hand is a ray
  int32_t childIndex;       // place among the parent's children, from 1
  int32_t changed;          // 1: the cut differs from the last one the parent has taken
};

struct NestedModel {
  double estimated;         // sum of the children's estimates, -1e31 at first
  double actual;            // sum of their values, 1e31 with an infeasible one
  double relGap;
  NestedMaster *masterPart; // null without children
  NestedSlave *slavePart;   // null for the root
  BoundSet *anchorBounds, *rayBounds, *originalBounds;  // over real columns and rows; slaves only, see large
  BoundSet *saved;          // column bounds as they were before large ones, or null
  int32_t activeBounds;     // set in the model now, 3 after large bounds
  int32_t cutsActive;       // cut rows that have the upper bound this set gives them
  int32_t modelStatus, modelNumber, managerTask, reportToManager;
  int32_t solveCount;       // solves since the proposal came
  int32_t solved;           // 1: has a basis of its own
  int32_t settled;          // 1: its solution and those below it fit together
  int32_t nCols, nReal, nRows;  // of the described model; the real columns come first
  int *storeNode;           // [nodes of the model] store numbers
  double weight;            // costs are divided by it
  double bestValue;         // least sense * cost found at the proposal in hand, 1e31 before one is known
  double sense;             // of the run the cuts belong to
  uint64_t fingerprint;     // of the program it holds, as it was loaded
};
inline NestedModel *nestedOf(const QRTStoch *model) { return static_cast<NestedModel *>(model->smethod); }

// ---- tables through which models of one process exchange (scn_exchange.cpp) ---------------------------------

struct StatusEntry {
  int32_t status, seq;
  double value;
  int32_t waiting, waitingSeq;  // model that waits for this one, and for which answer: it has one parent
};
struct StatusTable {
  int32_t nModels;
  StatusEntry *entries;     // [nModels + 1] model m at [m]
};
struct ProposalEntry {
  int32_t kind, seq, ncols;
  double *data;             // [ncols]
};
struct DeliveryEntry {
  int32_t pending, sameProcess;  // -1 before the first proposal
  const ProposalEntry *from;
};
struct CutEntry {
  int32_t model, type, childIndex, seq, numElements, pending, sameProcess;
  double *data;             // [numElements]
  double rhs;
  int32_t taken;            // 1: the parent has made it a row
  int32_t fresh;            // 1: none has been sent in this run
};

// State of a run and its tables; on the decomposed object.
struct NestedTables {
  StatusTable status;
  ProposalEntry *proposals; // [nModels + 1] by sender
  DeliveryEntry *deliveries;// by receiver
  CutEntry *cuts;           // by sender
  int statusRequests;
  double g;                 // gap to reach
  double inner;             // gap that is enough below the root
  int rootChecks;           // of the root's children
  int cutsOfCycle, cutsSoFar;
  int64_t moves;            // things done; a round without one will never do another
  double bestValue;         // least sense * cost of any proposal of the root
  double started;           // process time
  int32_t stopAsked;        // the caller wants no further cycle
  int32_t cyclesBefore;     // of the run whose state this one went on from
};
NestedTables *nestedTables(const QRTStoch *base);
// Zeroed block that lives as long as the list of models.
void *nestedAlloc(QRTStoch *base, int64_t bytes);
template <class T> T *nestedBlock(QRTStoch *base, int64_t count) {
  return static_cast<T *>(nestedAlloc(base, count * int64_t(sizeof(T))));
}

// Everything that passes between models goes through these and nothing else: a form that sends messages would stand
// here. `sub` is the model that calls. Each status call counts in statusRequests.
void nested_CStatusInitialize(QRTStoch *base, int nModels);
int nested_CPutStatus(StatusTable *table, int model, int code, int seq, double value);
int nested_CGetStatus(const StatusTable *table, int model, int *code, int *seq, double *value);
int nested_CStatusNotify(StatusTable *table, int model, int n, const int *childModels, int needed, int seq, int *result);
void qrtnested_CInitProposal(QRTStoch *base, int nModels);
void qrtnested_CInitCuts(QRTStoch *base, int nModels);
int qrtnested_Cputstat(QRTStoch *base, int model, int code, int seq, double value);
int qrtnested_Cgetstat(QRTStoch *sub, int model, int *code, int *seq, double *value);
// seq when `needed` children have answered it, else -1.
int qrtnested_Cwaitstat(QRTStoch *sub, int model, const int *childModels, int numChildren, int needed, int seq,
                        int reportToManager, int managerTask);
void qrtnested_Cputprop(QRTStoch *sub, const int *childTasks, const int *childModels, int numChildren, int kind, int seq,
                        int ncols, const double *data, int model);
// Sequence number of a proposal that waits for the model, 0 for none. The values stay the sender's.
int qrtnested_Cgetprop(QRTStoch *sub, int parentTask, int parentModel, int wait, int *isRay, const double **proposal, int model,
                       int reportToManager, int managerTask);
// childIndex 0: an empty cut, which leaves an unread one in place.
void qrtnested_Cputcut(QRTStoch *sub, int parentTask, int model, int childIndex, int type, int seq, double rhs, int n,
                       const double *data);
// childIndex of an unread cut, 0 for none.
int qrtnested_Cgetcut(QRTStoch *sub, int childTask, int childModel, int seq, int *type, double *rhs, double *buffer);
// The model's last cut, read or not, if it was one on its value: its elements, else null.
const double *qrtnested_Clastcut(QRTStoch *sub, int childModel, double *rhs, int *n);
// The parent has made the model's last cut a row: the model need not send it again.
void qrtnested_Ctakecut(QRTStoch *sub, int childModel);
// 1: the model's last cut has been taken and is this one but for rounding.
int qrtnested_Csamecut(QRTStoch *sub, int model, int type, double rhs, int n, const double *data);
void qrtnested_Cputmsg(QRTStoch *sub, const char *text);
// The four sweeps of the node list exchange, each over all models; `models` is the list.
int nested_CSendNodesToMaster(QRTStoch *sub);
int nested_CRecvNodeListFromSlaves(QRTStoch *sub, QRTStoch **models, int nModels);
int nested_CSendNodeListToSlaves(QRTStoch *sub, QRTStoch **models);
int nested_CRecvNodeListFromMaster(QRTStoch *sub, QRTStoch **models);

// ---- node data (scn_node_copy.cpp) --------------------------------------------------------------------------

// Copies data arranged by node, `size` bytes an item: one item a node (unit < 0), its rows (0) or its columns (> 0). Kinds
// by first letter: All, Real, Virtual. From model to model (nodes held by both, at their places), from a model into packed
// data (`to` null), from packed data into a model (`from` null), or clears (`from` and fromData null). With a list of store
// numbers, packed data follow the list, also over nodes that do not pass. Number of items copied.
int qrts_Cndcp(QRTStoch *from, const void *fromData, const char *fromKind, QRTStoch *to, void *toData, const char *toKind, int nList,
               const int *list, int unit, int size);

// ---- setting models up (scn_nested_setup.cpp) ---------------------------------------------------------------

// Checks the tree of models: parents from 1, 0 for the root. childCounts [nModels]. 0, or 2 after a text.
int qrtnested_Cinitmgr(QRTStoch *stoch, int nModels, int *const *lists, const int *counts, const int *parents, int *childCounts,
                       int *root);
// Records of a model, new or, from an earlier run, made ready again.
int qrtnested_Cinitmdl(QRTStoch *stoch, QRTStoch *sub, int nChildren, int parentModel, int modelNumber);
// Loads the model, gives it recourse columns and bound sets, unless an earlier run has. 0 or a store's code.
int qrtnested_Cinittav(QRTStoch *sub, int modelNumber, int nChildren);
void qrtnested_Cptbd(QRTStoch *sub);
void qrtnested_Clgbd(QRTStoch *sub);
void qrtnested_Cgtbd(QRTStoch *sub, int which);
// Drops the cuts of an earlier run. 0 or a store's code.
int nested_forgetCuts(QRTStoch *sub);
// First broken invariant of a model's records as text, or null.
const char *nestedModel_check(const QRTStoch *sub);

// ---- one visit (scn_nested_model.cpp), cuts (scn_nested_cuts.cpp) -------------------------------------------

// One visit to a model: takes a proposal, reads statuses and cuts, solves, sends a proposal down or a cut up. forceCut:
// send a full cut even if nothing changed. 0 or a solver's code; *howmany an EVENT_.
int qrtnested_Cmodel(QRTStoch *sub, int forceCut, int wait, int *howmany, double *value, double *gap, double g, int seqStep);
// Sums the children's results and tests for convergence.
void qrtnested_Cchkslvs(QRTStoch *sub, NestedModel *rec, double *gap, double g);
// Posts the last proposal once more under a new sequence number.
void qrtnested_Clastprop(QRTStoch *sub, int seqStep);
// Cut of the model's last solve into the slave part's cut and cutRhs, in the model's units; false when the multipliers
// prove nothing.
bool qrtnested_Ccutrhs(QRTStoch *sub, int type);
// The cut of the last solve up to the parent; with nothing new an empty one. False for an infeasibility without proof.
bool sendCut(QRTStoch *sub, int type, int forceCut);
// Cuts of the children that bar the last proposal, as rows. *read how many; 0 or a store's code.
int readCuts(QRTStoch *sub, double g, int *read);
// Counts a cut row of this right-hand side, which is about to enter the model.
void nested_noteRow(QRTStoch *sub, double rhs);
// Solves the model at its parent's present solution, for a point whose parts fit together. A solver's code.
int solveAtParent(QRTStoch *sub, QRTStoch *parent);

// ---- saved states (scn_nested_state.cpp); nothing happens where the object names no file ---------------------

// Of a model just loaded: its nodes, rims and elements.
uint64_t nested_fingerprint(const QRTStoch *sub);
void nested_saveState(const QRTStoch *base, int nModels, int cycle);
// Puts cuts and bases of a state into the models before their first visit. 0, 2 after a text that says why not, or a
// store's code.
int nested_resume(QRTStoch *base, int nModels);
// Writes model i, which did not solve, as an MPS file beside the state, and a line on stdout that says so.
void nested_writeFailure(const QRTStoch *base, int i);

// ---- the whole (scn_nested.cpp) -----------------------------------------------------------------------------

// The whole solve. 0, 1 after a failed subproblem, or a solver's code.
int qrts_nested2LSolve(QRTStoch *stoch, int cutstrategy, int mode);
// The run of all models in this process: status of the model that ended it, -1 when one stalled, or a negated error.
int qrts_Csub(QRTStoch *stoch, int nModels, const int *parents, const int *childCounts);
