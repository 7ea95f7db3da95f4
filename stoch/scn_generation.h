// From the tree to an ordinary model, and from its solution back to nodes and scenarios.
//
//     store node n --nodeMap--> model node k --rowOffset, colOffset--> rows and columns of the model
//
//              cols of root   cols of n2   cols of n3
//     root   [    A11                                 ]
//     n2     [    A21            A22                  ]      one block (s, t) for each node of stage s and each of
//     n3     [    A31            A32          A33     ]      its ancestors of stage t, plus the node's differences
//
// Core blocks are entered once and repeated by reference; merging expands them. A virtual node (an ancestor of a real
// one, itself outside the model) brings columns only, fixed at 0, where a decomposition writes its decisions.
#pragma once

#include "stoch/scn_stoc.h"

// Messages of generation, solve and solutions.
enum : int {
  MSG_DECLARING = 824, MSG_BLOCK_TOTAL = 825, MSG_NODE_TOTAL = 826, MSG_ORIGINAL_LIST = 827, MSG_NO_QUADRATIC = 848,
  MSG_LIST_IGNORED = 862, MSG_ZERO_NODES_REMOVED = 863, MSG_LIST_EMPTY = 902, MSG_MODEL_INVALID = 912,
  MSG_SOLUTION_HEAD = 952, MSG_SOLUTION_LINE = 953, MSG_SOLUTION_OF = 954, MSG_DISTRIBUTION_MEAN = 955,
  MSG_DISTRIBUTION_HEAD = 956, MSG_DISTRIBUTION_LINE = 957, MSG_NODE_SIZE = 958, MSG_LP_SIZE = 959
};

// ---- describing (scn_describe.cpp) --------------------------------------------------------------------------

// Describe the whole tree, or the real nodes of a list of store nodes (from 1) with their virtual ancestors, and
// create the empty model for it; an earlier description is released. With probabilityFlag, inner nodes take the
// sum of the model's own leaves as probability. Return the number of blocks, or -1.
int qrts_describe2FullModel(QRTStoch *stoch, int tag, int load);
int qrts_describe2PartialModel(QRTStoch *stoch, int tag, int nNodes, const int *nodeList, int probabilityFlag);
int qrts_describe2SubModel(QRTStoch *stoch, int tag, int nNodes, const int *nodeList, int probabilityFlag);
// A master gets room for the cuts of nSubproblems over maxiter cycles; the room is returned.
int qrts_describe2MasterModel(QRTStoch *stoch, int tag, int nNodes, const int *nodeList, int probabilityFlag,
                              int nSubproblems, int *maxRows, int *maxCols);
// The steps of the four above: layout, empty model, rims. Null after a message.
StochModel *qrts_Cdscm(QRTStoch *stoch, int tag, const char *modelName, int nNodes, const int *nodeList, int *blockCount,
                       int probabilityFlag, int nSubproblems, int cycles, int *maxRows, int *maxCols, int debug);
// Lays out nodes, rows and columns; *twiceBlocks is twice the number of blocks. probabilitiesStand: qrts_prob() has been
// over the store since its weights last changed. *rc 0, or 2 after a message.
void qrts_dscm0(int *rc, StochData *sdata, int nNodes, const int *nodeList, StochModel **out, int64_t *twiceBlocks,
                int probabilityFlag, bool probabilitiesStand);
// Gives the described model its empty rims. 0 or 2.
int qrts_Cemdl0(StochModel *smodel, QRTModel *model, int tag);
// Frees a description with its model; null is ignored.
void qrts_freeSmodel(StochModel *smodel);
// First broken invariant of a description as text, or null.
const char *smodel_check(const QRTStoch *stoch);

// ---- loading (scn_load.cpp), size (scn_estimate.cpp) --------------------------------------------------------

// Fills the described model node by node; with merge, into one column block. 0, or a code of 2 or more.
int qrts_load2BaseModel(QRTStoch *stoch, int merge);
// The same; `fresh` says that nobody has touched the rims since they were described, so that zeros need not be written.
int qrts_load3BaseModel(QRTStoch *stoch, int merge, bool fresh);
// Issues the size of each node and of the whole. 0 or 2.
int qrts_estimate2LPSize(QRTStoch *stoch);

// ---- solving and reading back (scn_direct.cpp, scnsoln.cpp, scn_distribution.cpp) ---------------------------

// Solves the described model (describing the whole tree first when nothing is), and takes over status and objective.
// 0, 1 without a model, or the solver's code of 2 or more.
int qrts_either2Simplex(QRTStoch *stoch);
// The path of a scenario (index from 0) from stage `first` to `last`: store node numbers into out[0..last-first].
// *rc 0, 1 when first is above last, 2 for a scenario or stage that does not exist.
void qrts_find(int *rc, StochData *sdata, int scenario, int first, int last, int *out);
// Values of the rows (rows 1) or columns (0) of one stage of a scenario, primal or dual, in stage-sorted core order,
// with their 0-based numbers in the model; sizes below 1e-08 come as 0. A node outside the model gives 0 and index -1.
int qrts_get2NodeSolution(QRTStoch *stoch, int scenario, int stage, int rows, int dual, double *values, int *indices);
int qrts_get2NodeColumnSolution(QRTStoch *stoch, int scenario, int stage, int dual, double *values, int *indices);
int qrts_get2NodeRowSolution(QRTStoch *stoch, int scenario, int stage, int dual, double *values, int *indices);
// All stages, one behind the other.
int qrts_get2ScenarioSolution(QRTStoch *stoch, int scenario, int rows, int dual, double *values, int *indices);
// All stages in the core's input order, small values as they are.
int qrts_get3NodeSolution(QRTStoch *stoch, int scenario, int rows, int dual, double *values, int *indices);
int qrts_print2NodeSolution(QRTStoch *stoch, int scenario, int stage, int rows, int dual);
// The first n leaves: scenario numbers, probabilities, objective values unweighted by probability; mean and deviation.
int qrts_get2ObjDistribution(QRTStoch *stoch, int n, int *ids, double *probabilities, double *values, double *mean,
                             double *deviation);
// Issues the same as messages.
int qrts_print2ObjDistribution(QRTStoch *stoch);
