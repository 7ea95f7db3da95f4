// Event trees: samples of event codes, folded into scenarios with an ancestor, a branching stage and a weight.
//
// A sample is a vector of nStages event codes. Equal prefixes of two samples are one path:
//
//     root (stage 0) -- stage 1 -- ... -- stage nStages (leaf, one per scenario)
//
// A scenario is a distinct vector; it owns the nodes from its branching stage down, and its ancestor is the
// scenario that created the node above. Node and scenario numbers count from 1, samples from 0.
//
// Children are found by a hash of (parent, event), so a sample costs O(nStages) whatever the fan-out. The sibling
// chains are built unsorted and put in falling order of event code only on request (qrttree_orderSiblings):
// nobody but a reader of the chains can see the difference.
#pragma once

#include <cstdint>

typedef struct QRTTree QRTTree;
struct TreeScenario;

struct EventNode {
  double probability;      // sum over all samples through this node; the leaf of an added branch starts at 0
  int32_t stage;           // 1..nStages, 0 in the root
  int32_t event;
  int32_t number;          // identifier only
  EventNode *firstChild;   // the child with the largest code once the chain is in order
  EventNode *parent;       // null in the root
  EventNode *nextSibling;
  TreeScenario *scenario;  // who created this node; the root has the first scenario
};

struct TreeScenario {
  double probability;      // sum over the samples of this scenario
  EventNode *leaf;
  int32_t *events;         // [nStages], in the tree's slabs
  int32_t sample;          // sample index at creation
  int32_t number;          // from 1
  int32_t branchStage;     // first stage, in tree numbering, that differs from an existing path; 1 for the first
  TreeScenario *ancestor;  // the first scenario points to itself
  TreeScenario *next;      // circular list; a new scenario follows its ancestor
};

// Equal pieces handed out from large blocks and freed together.
struct TreeSlab {
  void *newest;            // block in use; its first word links to the block before
  int64_t used, capacity;  // pieces of the newest block
};

struct QRTTree {
  char tag[6];             // "sTREE"; zero bytes once deleted
  EventNode *root;         // stage 0, event 0
  TreeScenario **samples;  // [sampleRoom], filled up to sampleIndex
  int32_t maxSamples;      // as given at creation
  int32_t nStages;
  int32_t sampleIndex;     // of the last sample; 0 after the first
  int32_t lastScenario;    // scenario number of the last sample
  int32_t nNodes;          // highest node number given
  int32_t nScenarios;      // distinct vectors
  int32_t sampleRoom;      // grows as filled, up to maxSamples
  bool chainsInOrder;
  EventNode **children;    // [childRoom] open-addressed by (parent, event); null is free; owned
  int64_t childRoom;       // a power of two
  int64_t childCount;      // nodes other than the root
  TreeSlab nodeSlab, scenarioSlab, eventSlab;
};

// New tree holding the first sample; null when nStages is below 1 or events is null. Ends the process when memory
// runs out, as all allocation of this layer does.
QRTTree *qrttree_Cinit(const int *events, int nStages, int maxSamples, double probability);
// Adds a sample. Returns its scenario number, -1 with a message when the sample table is full, 2 when the vector is
// null or shorter than the tree's.
int qrttree_Cadd(QRTTree *tree, const int *events, int nStages, double probability);
// Reads sample `index`; each output may be null. Returns 0, or 1 with a message when there is no such sample. The
// event vector belongs to the tree. The ancestor is 0 for branching stage 1.
int qrttree_Cget(QRTTree *tree, int index, int *ancestor, int *stage, double *probability, int *number, int **events);
// Sorts every sibling chain by falling event code.
void qrttree_orderSiblings(QRTTree *tree);
// First broken invariant as text, or null. Sorts the chains first.
const char *qrttree_check(QRTTree *tree);
int qrts_delete2Tree(QRTTree *tree);
