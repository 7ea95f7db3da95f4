// The stochastic program: its records, the four ways of counting a row or a column, and the store's workers.
//
//     stage 1     stage 2     stage 3          A scenario is a path from the root to a leaf, defined from its
//     node 1 ---- node 2 ---- node 3           branching stage b on; before b it shares its ancestor's nodes.
//            |            `-- node 4           Scenario 1 owns nodes 2,3 (b = 2, ancestor 0); scenario 2 owns
//            `--- node 5 ---- node 6           node 4 (b = 3, ancestor 1); scenario 3 owns nodes 5,6.
//
// The data of a node are DIFFERENCES from the core, one sparse list a stage; they lie on the record file, in a group
// of four records (block starts, rows, columns, values). Only 32 bytes a scenario stay in memory, and 64 a node once
// the node table is asked for.
//
// A list holds bounds and costs too, in extended rows and columns behind the real ones:
//
//               1 .. nCols      nCols+1     nCols+2
//     1..nRows  matrix          row lower   row upper
//     nRows+1   column lower
//     nRows+2   column upper
//     nRows+3   objective
//     nRows+4   quadratic diagonal
//
// The matrix is cut into blocks (r, c) by row stage r and column stage c <= r; block (r, c) has number r(r-1)/2 + c.
//
// FOUR INDEX SPACES, all 1-based but the last:
//
//     input      i    the order in which the caller gave the rows; what interfaces and files speak
//       |  rowRank      ^  rowPerm
//       v               |
//     sorted     p    the rows of stage 1, then of stage 2, ...; inside a stage in input order
//       |  rowLocal     ^  + rowStageStart[stage] - 1
//       v               |
//     local      k    1 .. rows of the stage; extended rows follow as count+1 .. count+4
//       |  + node.rowOffset - 1
//       v
//     model      0-based row of a described model
//
// and the same for columns. A column in block (s, c) is local to stage c, not to s. Extended entries map to
// themselves from input to sorted.
#pragma once

#include <cstdint>

#include "frame/model_record.h"
#include "include/qrts_c_api.h"
#include "stoch/scn_record_file.h"
#include "stoch/scn_tree.h"


constexpr double SCN_INFINITY = 1.0e31;
constexpr int SCN_RECORDS_PER_GROUP = 4;   // file records of one node

// Bits of CoreData::rimFlags.
enum : int { RIM_ROW_LOWER_INFINITE = 1, RIM_ROW_UPPER_INFINITE = 2, RIM_COL_LOWER_INFINITE = 4, RIM_COL_UPPER_INFINITE = 8 };
// Extended rows behind nRows, extended columns behind nCols.
enum : int { EXT_COL_LOWER = 1, EXT_COL_UPPER = 2, EXT_OBJECTIVE = 3, EXT_QUADRATIC = 4, EXT_ROWS = 4 };
enum : int { EXT_ROW_LOWER = 1, EXT_ROW_UPPER = 2, EXT_COLS = 2 };

// ---- what the readers of files leave behind -----------------------------------------------------------------

// Names and hash tables of an SMPS triple, owned. Names stand side by side, numchar characters each, blank padded; a table
// and its size are as scn_hash.h has them.
struct SmpsData {
  int32_t rowHashSize;      int *rowHash;
  int32_t colHashSize;      int *colHash;
  int32_t periodHashSize;   int *periodHash;
  int32_t scenarioHashSize; int *scenarioHash;
  int32_t blockHashSize;    int *blockHash;
  char *rowNames, *colNames, *periodNames, *scenarioNames, *blockNames;
  char problemName[80], objectiveName[80], rhsName[80], boundName[80], rangeName[80];  // blank padded, no NUL
  int32_t numchar;          // 8 fixed, 31 free
  int32_t nPeriods;         // names in periodNames
};

// The realisations of one random variable; elements in input coordinates.
struct RealisationSet {
  int32_t count;
  int *start;               // [count+1] 1-based start of each realisation, start[0] = 1
  int *rows, *cols;         // [start[count]-1]
  double *probabilities;    // [count]
  double *values;           // [start[count]-1]
};
// One variable of an INDEP section, or one block of a BLOCKS section.
struct RandomVariable {
  int32_t type;             // 2 INDEP, 3 BLOCKS
  int32_t stage;            // 2..nStages
  RealisationSet *set;      // owned
};
struct RandomVariableList {
  int32_t count;
  RandomVariable **variables;  // [count] in file order
};
// All random variables of a stoch file, independent of one another: the scenarios are their combinations.
struct IndependentData {
  RandomVariableList *list;
  int32_t nScenarios;       // product of the counts, held at 2^31-1 when it is larger
  int32_t maxElements;      // bound on the elements of one scenario
};

// ---- the store ----------------------------------------------------------------------------------------------

// The core, and the work areas that serve it. Everything is owned.
struct CoreData {
  int32_t nStages;          // 0: no core yet
  int32_t maxElements;      // largest list so far, of the core and of any scenario
  int32_t nRows, nCols;
  int *rowStageStart;       // [nStages+1] sorted position where a stage begins: stage s at [s-1], first 1, last nRows+1
  int *colStageStart;       // the same of columns
  // the unpacked core, null until qrtbingtcd(); never changed afterwards
  int *mrow, *mcol;         // [maxElements at unpacking] local indices of matrix elements, block after block
  int *blockStart;          // [nStages(nStages+1)/2 + 1] 1-based start of a block, block b at [b-1]
  double *rowLower, *rowUpper;             // [nRows] sorted order
  double *colLower, *colUpper, *objective; // [nCols]
  double *dels;             // values beside mrow, mcol
  double *quadDiagonal;     // [nCols]
  // a second copy in column order with sorted indices, for qrtbinsbdt(); null until its first use
  int *orderedStart;        // [nCols+1] 1-based start of a sorted column
  int *orderedRow;          // sorted rows, rising inside a column
  double *orderedValue;
  void *reservedA[3];       // reserved fields keep the places of the others
  int *rowStage, *colStage;             // [nRows], [nCols] stage in input order
  int *sortedRowStage, *sortedColStage; // the same in sorted order
  int *rowPerm, *colPerm;   // [nRows+4], [nCols+2] sorted to input: position p at [p-1]
  int *rowRank, *colRank;   // input to sorted: input index i at [i-1]
  int *rowLocal, *colLocal; // sorted to local; extended entries are those of the stage last written
  int64_t bufferSize;       // bytes
  void *buffer;             // node data in view; good until the next call that fetches a node
  int64_t tripletSize;      // bytes
  void *triplets;           // work area of the writers
  int *rimFlags;            // [max(nRows, nCols)] RIM_..._INFINITE, input order; null until core_needRimFlags()
  void *reservedB[4];
  SmpsData *smps;           // null unless read from files; released by qrts_freeSmpsData
  double tolerance;         // differences up to this are none; 1e-16
  int32_t reservedC;
  int32_t problemType;      // 1 linear, 2 quadratic
  int *integerMarks;        // [nCols+1] input order, null without
  int32_t nIntegers;        // columns marked
};

// One scenario; written to the record file as it stands.
struct ScenarioRecord {
  double probability;       // as given: a weight
  int32_t ancestor;         // scenario number, 0 for the root
  int32_t branchStage;      // first stage of its own
  int32_t firstNode, lastNode;  // lastNode - firstNode = nStages - branchStage
  int32_t firstRecord;      // file record of the first group; groups of later stages follow
  int32_t reserved;
};
static_assert(sizeof(ScenarioRecord) == 32, "scenario records are written as they stand");

struct ScenarioTable {
  int32_t count;
  int32_t maximum;          // what the object was created for
  ScenarioRecord *table;    // [capacity] scenario k at [k-1]; grows as it fills
  int32_t capacity;
};

// One node; written to the record file as it stands.
struct TreeNode {
  double probability;       // unconditional; valid after qrts_prob()
  int32_t stage;
  int32_t scenario;         // owner, 0 for the root
  int32_t number;           // from 1
  int32_t parent;           // 0 for the root
  int32_t firstChild;       // 0 for a leaf
  int32_t next;             // chain through a stage: >0 next sibling, <0 minus the first child of the next parent, 0 end
  int32_t rowOffset, colOffset;  // place in a described model, 0-based
  int32_t nRows, nCols;     // of the stage; a virtual node has nRows 0
  int32_t reservedA;
  int32_t isVirtual;        // 1: an ancestor that brings columns only
  int32_t record;           // first of its four file records, 0 for no data
  int32_t reservedB;
};
static_assert(sizeof(TreeNode) == 64, "tree nodes are written as they stand");

struct NodeList {
  int32_t nNodes;           // kept while scenarios are added, also without a table; 0 before the first
  int32_t nVirtual;         // of them, ancestors that bring columns only
  int *stageCount;          // [nStages] nodes of stage s at [s-1]
  int *stageHead;           // [nStages] first node of a stage's chain
  TreeNode *nodes;          // [nNodes] node n at [n-1]; null until qrts_mktr()
  int32_t nLeaves;          // nodes without children, as qrts_Csget() counts them; valid while nodes is set
};

// The store. Shared by an object and its submodels, owned by the object with ownsData 1.
struct StochData {
  NodeList *nodes;
  CoreData *core;
  ScenarioTable *scenarios;
  RecordFile *file;         // null before the first core
  void *reserved;
  IndependentData *independent;  // null unless read from INDEP or BLOCKS; released by qrts_freeIndependent
};

// A node of the store and its position in a description; an empty place of the hash table has number 0.
struct NodePlace {
  int32_t number, position;
};

// A described model: the deterministic equivalent of the tree or of a part of it.
struct StochModel {
  NodeList *nodeList;       // own copy, in the model's numbering
  void *reserved;
  QRTModel *model;          // owned
  int32_t tag;              // the caller's, passed on when the model is copied
  int32_t nRows, nCols;
  int32_t nElements;        // of the core blocks of the real nodes
  int *nodeMap;             // [nodes of the store] position from 1 in nodeList, 0 for none; null where few are held:
  NodePlace *nodePlaces;    // [2^(32 - placeShift)] then they stand here, found by placeOfNode(); else null
  int32_t placeShift;
  int32_t problemType;      // 1, or 2 with a quadratic diagonal
  double *quadDiagonal;     // [nCols] for type 2
};

// Where a node of the store stands in the description, from 1; 0 when it is not in it.
inline int placeOfNode(const StochModel *smodel, int number) {
  if (smodel->nodeMap) return smodel->nodeMap[number - 1];
  const uint32_t mask = (1u << (32 - smodel->placeShift)) - 1;
  uint32_t slot = uint32_t(number) * 2654435769u >> smodel->placeShift;  // 2^32 over the golden ratio spreads any stride
  while (smodel->nodePlaces[slot].number != 0 && smodel->nodePlaces[slot].number != number) slot = (slot + 1) & mask;
  return smodel->nodePlaces[slot].position;
}

// ---- objects ------------------------------------------------------------------------------------------------

// Slots of QRTStoch::decomposition from this one on live as long as the list of submodels. It has the blocks that go with
// the list: a chain, each begins with a pointer to the next.
constexpr int SUBMODEL_BLOCKS = 1;

struct QRTStoch {
  char tag[4];              // "SPO"; zero bytes once deleted
  StochData *sdata;         // the store; whose it is says ownsData
  StochModel *smodel;       // what is described, null for nothing; owned
  void *reservedA;
  QRTModel *baseModel;      // owned; source of control settings, and the voice of all messages of the object
  char name[128];
  int32_t ownsData;         // 1: delete releases sdata; -1 as created; 0 a copy without data of its own
  QRTStoch *parent;         // of a submodel: the object it was cut from
  void *decomposition[7];   // work of the decomposition, by SUBMODEL_BLOCKS and the slots it names itself
  void *smethod;            // method records of the solvers
  void *smethodData[3];
  int *integerMarks;        // [columns of the described model + 1], null without
  int32_t nIntegers;
  int32_t nSubmodels;       // -1 none
  int32_t masterModel;      // of a submodel: the model (from 1) of its parent in the list, 0 for the root; -1 else
  int32_t nNodeList;
  int *nodeList;            // [nNodeList] nodes of a submodel, numbers of the store
  QRTStoch **submodels;     // [nSubmodels] owned
  void *reservedB;
  // options, each by its setter in scn_options.cpp, which has the defaults; then the outcome of the last solve
  int32_t ifParallel, ifDebug, cutperiod, minNumRows, maxsubmodels, maxiter;
  int32_t ifScale, ifPresolve, ifCrash, alg, ifLargeBounds;
  double optmaxmin, reloptgap;
  int32_t status, ifFinalSimplex;
  double robjvalue;
  // State of ours.
  int32_t lenient;          // 1: read files as the world writes them
  int32_t inherit;          // 1: a scenario takes over its ancestor's items for the stages it owns
  int32_t probabilitiesStand;  // of a submodel: those of the store were made when the tree was cut
  double costWeight;        // of a submodel: what a decomposition divided its costs by; 0 nothing
  double gapAsked;          // the gap last asked for; reloptgap shows the one reached once a decomposition has run
  QRTSCycleCallBack cycleCallBack;  // told of each cycle, or null
  void *cycleData;          // what it gets back
  char *saveFile;           // where a decomposition leaves its state, null nowhere; owned
  char *resumeFile;         // from which state it goes on, null from none; owned
  int32_t saveEvery;        // cycles between states
  // A decomposition that has not written the whole model yet: called with keep 1 before any public call looks at the
  // object, with keep 0 when the object goes. Null when nothing is due.
  void (*realise)(QRTStoch *stoch, int keep);
  void *realiseData;        // what it works with; released by it
};

// ---- views --------------------------------------------------------------------------------------------------

// A node's differences, rim taken out into dense vectors. Points into the shared buffer.
struct NodeView {
  int32_t stage, nRows, nCols, nElements;
  double *rowLower, *rowUpper;               // [nRows] local order; null for a node without data, as all below
  double *colLower, *colUpper, *objective;   // [nCols]
  int *rows, *cols;                          // [nElements] 1-based local indices
  double *values;
  int *blockStart;                           // [stage+1] first 1; blocks (stage, 1) .. (stage, stage)
};
// The core; points into the store. Vectors in sorted order, indices local.
struct CoreView {
  int32_t nRows, nCols, nElements, nStages, nBlocks;
  double *rowLower, *rowUpper, *colLower, *colUpper, *objective;
  int *mrow, *mcol;
  double *dels;
  int *rowStageStart, *colStageStart, *blockStart, *rowPerm, *colPerm;
};
// A node's group as it lies on the file, rim still in the diagonal block. Points into the shared buffer.
struct NodeGroup {
  int32_t stage, nElements;
  int *blockStart;          // [stage+1] first 1
  int *rows, *cols;         // [nElements] 1-based local indices
  double *values;
};

// A node as callers outside the store see it; fields as in TreeNode.
struct NodeSummary {
  double probability;
  int32_t number, parent, firstChild, next, stage, scenario, rowOffset, colOffset, nRows, nCols, isVirtual;
  int32_t reserved;
};
static_assert(sizeof(NodeSummary) == 56, "callers step through summaries by this size");
struct NodeSummaryList {
  int32_t nNodes;
  NodeSummary *nodes;       // [nNodes] owned
  int32_t nLeaves;
  int *leaves;              // [nLeaves] node numbers, by scenario; owned
};

// ---- one helper a step between the index spaces -------------------------------------------------------------

inline int blockNumber(int rowStage, int colStage) { return int(int64_t(rowStage) * (rowStage - 1) / 2) + colStage; }
inline int64_t blockCount(int nStages) { return int64_t(nStages) * (int64_t(nStages) + 1) / 2; }

inline int rowsOfStage(const CoreData *c, int stage) { return c->rowStageStart[stage] - c->rowStageStart[stage - 1]; }
inline int colsOfStage(const CoreData *c, int stage) { return c->colStageStart[stage] - c->colStageStart[stage - 1]; }

inline int rowInputToSorted(const CoreData *c, int i) { return c->rowRank[i - 1]; }
inline int colInputToSorted(const CoreData *c, int j) { return c->colRank[j - 1]; }
inline int rowSortedToInput(const CoreData *c, int p) { return c->rowPerm[p - 1]; }
inline int colSortedToInput(const CoreData *c, int p) { return c->colPerm[p - 1]; }
inline int rowSortedToLocal(const CoreData *c, int p) { return c->rowLocal[p - 1]; }
inline int colSortedToLocal(const CoreData *c, int p) { return c->colLocal[p - 1]; }
inline int rowLocalToSorted(const CoreData *c, int stage, int k) { return k + c->rowStageStart[stage - 1] - 1; }
inline int colLocalToSorted(const CoreData *c, int stage, int k) { return k + c->colStageStart[stage - 1] - 1; }
inline int rowLocalToModel(const TreeNode *node, int k) { return k + node->rowOffset - 1; }
inline int colLocalToModel(const TreeNode *node, int k) { return k + node->colOffset - 1; }

// ---- messages and memory of the layer (scn_message.cpp) -----------------------------------------------------

// Message indices of the store. All severe ones (S) end the process by default.
enum : int {
  MSG_CORE_SIZE = 822, MSG_SCENARIO_LINE = 823, MSG_TWO_TEXTS = 831,
  MSG_SCENARIO_REPEATED = 855, MSG_ROOT_STAGE = 856, MSG_TRUE_ANCESTOR = 857, MSG_EARLIER_STAGES = 858, MSG_CORE_INFINITE = 861,
  MSG_NO_MEMORY = 870, MSG_ZERO_ALLOCATION = 871, MSG_BAD_STRUCTURE = 872, MSG_SORT_FAILED = 873,
  MSG_VREC_FIRST = 874, MSG_VREC_UNKNOWN = 892, MSG_VREC_NOT_INITIALISED = 893, MSG_SAVE_FAILED = 894,
  MSG_TOO_MANY = 895, MSG_BAD_STAGE = 896, MSG_NEGATIVE_PROBABILITY = 897, MSG_NO_ANCESTOR = 898, MSG_SIZE_DIFFERS = 899,
  MSG_NOT_TRIANGULAR = 900, MSG_ZERO_PROBABILITY = 901
};

// Issues message `index` with the arguments already placed (messageI, messageD, messageC), on the model that speaks
// for the object of the running call: makes that model current first, so its limits and its log count. Without one
// (trees, bad handles) the current model speaks. Indices 820 to 973 never jump: when a severe one is let pass by its
// limit, this returns and the caller gives its documented result.
void stochMessage(int index);
// The same with `text` as its first argument; gives 2, the result of the function that has it to say.
int severe(int index, const char *text);
// The model that speaks from now on, null for whatever model is current. Set by qrts_CEnter() to the object's
// baseModel at every public call; cleared when that model is deleted.
void stochMessageSpeaker(QRTModel *baseModel);
QRTModel *stochMessageGetSpeaker();
// Leaves the process with exit(code) after flushing the logs. Fuzzers and tests may put a jump in its place.
[[noreturn]] void qrts_endProcess(int code);
extern void (*qrts_endProcessHook)(int code);

// Plain memory, zeroed unless noClear; less than 1 byte or a failed request ends the process with code 2 after a
// message. Given back by free().
void *qrts__alloc(const char *caller, int64_t bytes, int noClear);
void *qrts__realloc(const char *caller, void *pointer, int64_t bytes);

// ---- life of the store --------------------------------------------------------------------------------------

// The four records of a new object: tolerance 1e-16, problemType 1, an empty table for maxScenarios (below 0: 0).
StochData *qrts_Cinit(int maxScenarios);
// Closes the record file and frees everything, names and random variables included; null is ignored. Returns 0.
int qrts_freeSdata(StochData *sdata);
// Frees a node list with its table; null is ignored.
void qrts_freeNodeList(NodeList *list);
// Of the reading track; each frees its record, null is ignored.
void qrts_freeSmpsData(SmpsData *smps);
void qrts_freeIndependent(IndependentData *independent);
// First broken invariant of the whole store as text, or null. Reads every scenario's place, no node data.
const char *qrts_store_check(const StochData *sdata);
#ifdef QRT_SELF_CHECKS
// Ends the process with the text on stderr when that check finds a fault of the tables in memory.
void selfCheckStore(const StochData *sdata);
#else
inline void selfCheckStore(const StochData *) {}
#endif

// ---- core (scn_core_store.cpp) ------------------------------------------------------------------------------

// Loads a core from dense vectors (input order) and 1-based triplets; null vectors mean row bounds -1e31 and 1e31,
// column bounds 0 and 1e31, objective 0. quadDiagonal only for problemType 2, else null. 0, or 2 after a message.
// A second core on a filled object prints three error lines and gives 2.
int qrts_Ccore(QRTStoch *stoch, int nStages, const int *rowStages, const int *colStages, int nRows, int nCols, int nElements,
               const double *objective, const double *rowLower, const double *rowUpper, const double *colLower,
               const double *colUpper, const int *rows, const int *cols, const double *elements, const double *quadDiagonal);
// Writes the core given as triplets in extended coordinates; opens a temporary record file when there is none.
// *rc 0, or 2 after a message, with nothing kept. Stages 1..nStages, indices 1-based.
void qrtbinptcr(int *rc, StochData *sdata, int nStages, const int *rowStages, const int *colStages, int nRows, int nCols,
                int count, const int *rows, const int *cols, const double *values, int problemType);
// Unpacks the core from the file: mrow .. quadDiagonal and blockStart. Replaces an unpacked core. *rc 0 or 2.
void qrtbingtcd(int *rc, StochData *sdata);
// qrtbingtcd unless the core is unpacked already; 2 when there is no core.
int qrts_unpackCore(StochData *sdata);
// Reads header, stages and permutations of the file's core. *rc 0, or 2 after a message.
void qrtbingtci(int *rc, StochData *sdata);
// 2 without a core. Allocates the view when *view is null (free() it).
int qrts_Ccdat(QRTStoch *stoch, CoreView **view);
const char *core_check(const CoreData *core);
// Frees all arrays of the core and forgets its sizes; tolerance, problemType and names stay.
void core_clear(CoreData *core);
// Derives rimFlags from the unpacked core when a loaded file left them out. 0, or 2 without a core.
int core_needRimFlags(StochData *sdata);

// ---- scenarios (scn_scenario_store.cpp) ---------------------------------------------------------------------

// Adds a scenario given by dense vectors (input order, null for no entries) and 1-based triplets, as differences or,
// with replace, as absolute values. The caller's arrays are not changed. 0, or 2 after a message.
int qrts_Cadsc(QRTStoch *stoch, int scenario, int ancestor, int branchStage, double probability, int notRead, int nRows, int nCols,
               int nElements, const double *objective, const double *rowLower, const double *rowUpper, const double *colLower,
               const double *colUpper, const int *rows, const int *cols, const double *elements, int replace);
// Writes one scenario given as triplets in extended input coordinates. The arrays are not changed. A repeated number
// only changes the probability, with a warning and *rc 0. Every refusal gives *rc 2 and leaves the store unchanged
// (but for maxElements). Drops the store's node table. Linear in count, with a search only when replace is set:
// a caller that writes many scenarios from few realisations subtracts the core once by qrtbinsbdt().
void qrtbinptsc(int *rc, StochData *sdata, int scenario, int ancestor, int branchStage, double probability, int nRows, int nCols,
                int count, const int *rows, const int *cols, const double *values, int replace);
// Writes the groups of stages firstStage..nStages; *firstRecord is the first record's number. *rc 0, or 2 after
// message 900 or 873, with nothing written. Elements of earlier row stages are dropped with message 858.
// Works in the shared buffer: no argument may point there.
void qrtbinptdt(int *rc, CoreData *core, RecordFile *file, int firstStage, int count, const int *rows, const int *cols,
                const double *values, int *firstRecord);
// Turns absolute values into differences from the core, in place (values only; input coordinates). 2 after printing
// "Can't subtract incoming block" for an extended index that has no core value.
void qrtbinsbdt(int *rc, StochData *sdata, int count, const int *rows, const int *cols, double *values);
// The twin: adds the core to the values of matrix elements.
void qrtbinaddt(int *rc, StochData *sdata, int count, const int *rows, const int *cols, double *values);
// Writes the scenario table to the file and brings the file up to date; reads it back.
void qrtbinptsi(int *rc, StochData *sdata);
void qrtbingtsi(int *rc, StochData *sdata);
// Makes room for one more scenario, at least doubling the table.
void scenarioTable_reserve(ScenarioTable *table, int64_t wanted);

// ---- nodes (scn_nodes.cpp) ----------------------------------------------------------------------------------

// Builds the node table from the scenario table; 0, or 2 without a core. Probabilities: leaves only.
int qrts_mktr(StochData *sdata);
// The same unless a table stands.
int qrts_needNodes(StochData *sdata);
// Forgets the table (it no longer fits the scenarios); nNodes stays.
void qrts_dropNodes(StochData *sdata);
// Rebuilds stageCount, stageHead, firstChild, next and nLeaves of any list from its nodes' stages and parents, in
// table order. Arrays [nStages] must be allocated.
void qrts_linkNodes(NodeList *list, int nStages);
// Sums leaf probabilities up to the root; with normalise divides by the total. *rc 0, or 2 after message 901.
void qrts_prob(int *rc, NodeList *list, int nStages, int normalise);
// Other probabilities of the scenarios [nScenarios] in the node table; null brings the given ones back. 0, or 2.
int qrts_Ccprb(QRTStoch *stoch, const double *probabilities);
// Reads the node table of the file, if there is one.
void qrtbingtni(int *rc, StochData *sdata);
// Summary of the described model's nodes, else of the store's. The caller frees by qrts_freeSummary().
int qrts_Csget(QRTStoch *stoch, NodeSummaryList **summary);
void qrts_freeSummary(NodeSummaryList *summary);
// Differences of store node n (from 1) in dense form; allocates the view when *view is null (free() it).
int qrts_Cndat(QRTStoch *stoch, int node, NodeView **view);
// The group of four records at `record` of a node in `stage`, as it lies on the file, into the shared buffer; an
// empty group for record 0. Sound indices are guaranteed. 0 or 2.
int qrts_readGroup(const char *caller, StochData *sdata, int record, int stage, NodeGroup *group);
// Number of elements of that group, rim included, without reading them.
int qrts_groupCount(const char *caller, StochData *sdata, int record, int stage);
// Room for `bytes` in the shared buffer; contents are lost when it grows.
void *core_buffer(CoreData *core, int64_t bytes);
const char *nodeList_check(const NodeList *list, const CoreData *core);

// Queries. Nodes from 0: NodeNumcols, CoreObjective, node2Objective, LeafNodeName, NodeColsol; from 1: the rest.
// Node and scenario counts are those of the described model when there is one; -1 without data.
int qrts_get2Numnodes(QRTStoch *stoch);
int qrts_get2Numleaf(QRTStoch *stoch);
int qrts_get2NumStages(QRTStoch *stoch);
int qrts_get2CoreNumrows(QRTStoch *stoch);
int qrts_get2CoreNumcols(QRTStoch *stoch);
int qrts_get2NumrowsAtStage(QRTStoch *stoch, int stage);
int qrts_get2NumcolsAtStage(QRTStoch *stoch, int stage);
int qrts_get2NodeNumcols(QRTStoch *stoch, int node);
double *qrts_get2NodeColsol(QRTStoch *stoch, int node);
int qrts_get2LeafNodeName(QRTStoch *stoch, int i);
int qrts_node2ScenarioNum(QRTStoch *stoch, int node);
int qrts_get2NodeParent(QRTStoch *stoch, int node);
double qrts_get2NodeProbability(QRTStoch *stoch, int node);
double *qrts_get2CoreObjective(QRTStoch *stoch, int node);
double *qrts_node2Objective(QRTStoch *stoch, int node);

// ---- sorting (scn_sort.cpp) ---------------------------------------------------------------------------------

// Stable counting sort of n keys 1..nKeys. starts [nKeys+1] 1-based, rank and perm [n] 1-based positions, sortedKeys
// [n], local [n] the position inside its key (indexed by sorted position). *rc 0, or 2 for a key out of range.
void qrtskey(int *rc, int nKeys, int *starts, int n, int *rank, int *perm, const int *keys, int *sortedKeys, int *local);
// Stable counting sort of triplets into other arrays; starts [nKeys+1] 1-based. A key of 0 drops its triplet. *rc as
// above.
void qrtsortd(int *rc, int nKeys, int *starts, int n, const int *keys, const int *rows, const int *cols, const double *values,
              int *sortedRows, int *sortedCols, double *sortedValues);
// Column order, rows rising, equal places summed, results of at most `tolerance` dropped; returns the new count.
// 1-based triplets; rowCounts [nRows], colStarts [nCols+1] 1-based, colCounts [nCols] before the merging.
int qrts_SortMatrix(int *rows, int *cols, double *values, int *rowCounts, int *colStarts, int *colCounts, int nRows, int nCols,
                    int count, double tolerance);
// The same for 0-based indices and starts.
int qrts_makeColumnOrdered(int *rows, int *cols, double *values, int *rowCounts, int *colStarts, int *colCounts, int nRows,
                           int nCols, int count, double tolerance);
// Moves the rim elements of a stage's diagonal block (local indices) into vectors and closes the gaps: stored, or
// added with `additive` (the quadratic always added; its vector may be null). *count is what stays.
void qrtspltblk(int additive, int nRows, int nCols, int *count, int *rows, int *cols, double *values, double *rowLower,
                double *rowUpper, double *colLower, double *colUpper, double *objective, double *quadratic);
// Place of `key` in a rising array, or -1.
int BinSearchLong(int n, const int *array, int key);

// ---- saving, loading, copying (scn_native.cpp) --------------------------------------------------------------

// A store from its record file; `announce` tells of it, a `temporary` file goes with the store.
int qrts_read2NativeData(QRTStoch *stoch, const char *file, int announce, int temporary);
// The store under a name: the first goes on working in that file, the second leaves a copy there. 0, or 1 or 2 after a message.
int qrts_write2NativeData(QRTStoch *stoch, const char *file);
int qrts_write3NativeData(QRTStoch *stoch, const char *file);
// A new file from a store whose data belong to another object, record by record.
int qrts_copySdata2newfile(QRTStoch *stoch, const char *file);
// A whole object (copyData 0: without its data), its data by way of a file, its described model.
int qrts_copy2Stoch(QRTStoch *target, QRTStoch *source, int copyData);
int qrts_copySdata(QRTStoch *target, QRTStoch *source);
int qrts_copySmodel(QRTStoch *target, QRTStoch *source);
