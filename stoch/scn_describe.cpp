// Describing: which nodes a model has, where their rows and columns stand, and the empty model of that size.
#include <climits>
#include <cstdio>
#include <cstdlib>
#include <cstring>

#include "frame/entry_frame.h"
#include "frame/messages.h"
#include "model/model_store.h"
#include "stoch/scn_generation.h"
#include "stoch/scn_object.h"

namespace {

constexpr int CODE_OF_FAILURE = 200;  // store calls report failures from here on

void tellCount(const char *what, int count) {
  messageC(1, what);
  messageI(1, count);
  stochMessage(MSG_NODE_TOTAL);
}

// Running totals of the layout.
struct Layout {
  StochModel *smodel;
  int64_t rows, cols, twiceBlocks;
  int room;         // of the table of nodes
  int front, back;  // real nodes fill the table from the front, virtual ones from the back
  int removed;
};

// A hash table of places with at least twice `count` slots.
void openPlaces(StochModel *smodel, int64_t count) {
  smodel->placeShift = 31;
  while (smodel->placeShift > 1 && int64_t(1) << (32 - smodel->placeShift) < 2 * count) --smodel->placeShift;
  const int64_t slots = int64_t(1) << (32 - smodel->placeShift);
  smodel->nodePlaces = static_cast<NodePlace *>(qrts__alloc("qrts_dscm0", slots * int64_t(sizeof(NodePlace)), 0));
}

void setPlace(StochModel *smodel, int number, int position) {
  if (smodel->nodeMap) {
    smodel->nodeMap[number - 1] = position;
    return;
  }
  const uint32_t mask = (1u << (32 - smodel->placeShift)) - 1;
  uint32_t slot = uint32_t(number) * 2654435769u >> smodel->placeShift;  // as placeOfNode()
  while (smodel->nodePlaces[slot].number != 0 && smodel->nodePlaces[slot].number != number) slot = (slot + 1) & mask;
  smodel->nodePlaces[slot] = {number, position};
}

// The hash table was made for as many ancestors as there could be.
void shrinkPlaces(StochModel *smodel) {
  if (smodel->nodeMap) return;
  NodePlace *old = smodel->nodePlaces;
  const int64_t slots = int64_t(1) << (32 - smodel->placeShift);
  openPlaces(smodel, smodel->nodeList->nNodes);
  for (int64_t k = 0; k < slots; ++k)
    if (old[k].number != 0) setPlace(smodel, old[k].number, old[k].position);
  free(old);
}

void placeReal(Layout *layout, TreeNode *place, const TreeNode &from) {
  *place = from;
  place->rowOffset = int32_t(layout->rows);
  place->colOffset = int32_t(layout->cols);
  layout->rows += from.nRows;
  layout->cols += from.nCols;
  layout->twiceBlocks += 2 * int64_t(from.stage);
}

// A virtual node has no rows; its rowOffset is set to the total when that is known.
void placeVirtual(Layout *layout, TreeNode *place, const TreeNode &from) {
  *place = from;
  place->isVirtual = 1;
  place->nRows = 0;
  place->colOffset = int32_t(layout->cols);
  layout->cols += from.nCols;
}

void placeListed(Layout *layout, const NodeList *store, int number) {
  const TreeNode &node = store->nodes[number - 1];
  StochModel *smodel = layout->smodel;
  NodeList *list = smodel->nodeList;
  if (placeOfNode(smodel, number) != 0) return;  // listed twice
  if (!(node.probability > 0.0)) {
    ++layout->removed;
    return;
  }
  int position;
  if (node.isVirtual) {
    position = layout->room - layout->back++;
    placeVirtual(layout, &list->nodes[position - 1], node);
  } else {
    position = ++layout->front;
    placeReal(layout, &list->nodes[position - 1], node);
  }
  setPlace(smodel, number, position);
  ++list->stageCount[node.stage - 1];
}

// Moves the nodes at the back of the table down behind the front ones.
void closeGap(Layout *layout) {
  StochModel *smodel = layout->smodel;
  TreeNode *nodes = smodel->nodeList->nodes;
  int to = layout->front;
  for (int from = layout->room - layout->back; from < layout->room; ++from, ++to) {
    if (to != from) nodes[to] = nodes[from];
    nodes[to].rowOffset = int32_t(layout->rows);
    setPlace(smodel, nodes[to].number, to + 1);
  }
}

// Appends the ancestors of listed nodes that are not in the model, parent first, as virtual nodes.
void appendAncestors(Layout *layout, const NodeList *store) {
  StochModel *smodel = layout->smodel;
  NodeList *list = smodel->nodeList;
  const int listed = layout->front + layout->back;
  int total = listed;
  for (int k = 0; k < listed; ++k) {
    for (int up = list->nodes[k].parent; up != 0 && placeOfNode(smodel, up) == 0; up = store->nodes[up - 1].parent) {
      TreeNode *place = &list->nodes[total++];
      placeVirtual(layout, place, store->nodes[up - 1]);
      place->rowOffset = int32_t(layout->rows);
      setPlace(smodel, up, total);
      ++list->stageCount[place->stage - 1];
      ++list->nVirtual;
    }
  }
  list->nNodes = total;
}

// Parents are store numbers until here; the model counts its own nodes.
void renumber(StochModel *smodel) {
  NodeList *list = smodel->nodeList;
  for (int k = 0; k < list->nNodes; ++k) {
    TreeNode &node = list->nodes[k];
    node.parent = node.parent ? placeOfNode(smodel, node.parent) : 0;
    node.firstChild = 0;
    node.number = k + 1;
  }
}

// Elements of the core's blocks (s, 1..s) for each stage s, at [s-1]: they lie one behind the other.
int64_t coreElementsOfStage(const CoreData *core, int stage) {
  return int64_t(core->blockStart[blockNumber(stage, stage)]) - core->blockStart[blockNumber(stage, 1) - 1];
}

int countElements(const StochModel *smodel, const CoreData *core) {
  int64_t elements = 0;
  for (int k = 0; k < smodel->nodeList->nNodes; ++k) {
    const TreeNode &node = smodel->nodeList->nodes[k];
    if (!node.isVirtual) elements += coreElementsOfStage(core, node.stage);
  }
  return elements > INT32_MAX ? INT32_MAX : int(elements);
}

// Which nodes: null for all of the store. False after a message.
bool acceptList(int nNodes, const int *nodeList, int nStore) {
  if (nNodes == 0) {
    stochMessage(nodeList ? MSG_LIST_IGNORED : MSG_ORIGINAL_LIST);
    if (nodeList) stochMessage(MSG_ORIGINAL_LIST);
    return true;
  }
  bool usable = nodeList && nNodes > 0;
  for (int k = 0; usable && k < nNodes; ++k) usable = nodeList[k] >= 1 && nodeList[k] <= nStore;
  if (!usable) stochMessage(MSG_LIST_EMPTY);
  return usable;
}

// With room for so many nodes. Its map covers the store only if it holds a good part of it: a tree cut into thousands of
// models would else cost the square of its nodes.
StochModel *newDescription(const CoreData *core, int nStore, int room) {
  StochModel *smodel = static_cast<StochModel *>(qrts__alloc("qrts_dscm0", sizeof(StochModel), 0));
  NodeList *list = static_cast<NodeList *>(qrts__alloc("qrts_dscm0", sizeof(NodeList), 0));
  smodel->nodeList = list;
  smodel->problemType = 1;
  if (room >= nStore / 4) smodel->nodeMap = static_cast<int *>(qrts__alloc("qrts_dscm0", int64_t(nStore) * int64_t(sizeof(int)), 0));
  else openPlaces(smodel, room);
  list->stageCount = static_cast<int *>(qrts__alloc("qrts_dscm0", int64_t(core->nStages) * int64_t(sizeof(int)), 0));
  list->stageHead = static_cast<int *>(qrts__alloc("qrts_dscm0", int64_t(core->nStages) * int64_t(sizeof(int)), 0));
  list->nodes = static_cast<TreeNode *>(qrts__alloc("qrts_dscm0", int64_t(room) * int64_t(sizeof(TreeNode)), 1));
  return smodel;
}

void layOut(Layout *layout, const NodeList *store, int nNodes, const int *nodeList) {
  if (nNodes == 0)
    for (int number = 1; number <= store->nNodes; ++number) placeListed(layout, store, number);
  else
    for (int k = 0; k < nNodes; ++k) placeListed(layout, store, nodeList[k]);
  layout->smodel->nodeList->nVirtual = layout->back;
  if (layout->removed) {
    messageI(1, layout->removed);
    stochMessage(MSG_ZERO_NODES_REMOVED);
  }
  closeGap(layout);
  appendAncestors(layout, store);
}

}  // namespace

void qrts_dscm0(int *rc, StochData *sdata, int nNodes, const int *nodeList, StochModel **out, int64_t *twiceBlocks,
                int probabilityFlag, bool probabilitiesStand) {
  *rc = 2;
  *out = nullptr;
  if (qrts_unpackCore(sdata) >= 2 || qrts_needNodes(sdata) >= 2) return;
  const CoreData *core = sdata->core;
  NodeList *store = sdata->nodes;
  if (!acceptList(nNodes, nodeList, store->nNodes)) return;
  int probabilityCode = 0;
  if (!probabilitiesStand) qrts_prob(&probabilityCode, store, core->nStages, 1);
  if (probabilityCode >= 2) return;

  // Each listed node may bring an ancestor a stage.
  const int64_t most = nNodes > 0 ? int64_t(nNodes) * core->nStages : store->nNodes;
  const int room = most < store->nNodes ? int(most) : store->nNodes;
  Layout layout = {newDescription(core, store->nNodes, room), 0, 0, 0, room, 0, 0, 0};
  layOut(&layout, store, nNodes, nodeList);
  StochModel *smodel = layout.smodel;
  NodeList *list = smodel->nodeList;
  if (layout.rows > MAX_ROWS || layout.cols > INT32_MAX - MAX_ROWS || list->nNodes == 0) {
    // Positions in a basis have 24 bits: a larger equivalent can only be solved in parts.
    messageC(1, "rows");
    messageI(1, layout.rows > INT32_MAX ? INT32_MAX : int(layout.rows));
    messageI(2, MAX_ROWS);
    if (list->nNodes == 0) stochMessage(MSG_LIST_EMPTY);
    else stochMessage(MSG_TOO_MANY);
    qrts_freeSmodel(smodel);
    return;
  }
  list->nodes = static_cast<TreeNode *>(
      qrts__realloc("qrts_dscm0", list->nodes, int64_t(list->nNodes) * int64_t(sizeof(TreeNode))));
  shrinkPlaces(smodel);
  renumber(smodel);
  qrts_linkNodes(list, core->nStages);
  tellCount("model nodes", list->nNodes);
  if (list->nVirtual > 0) {
    tellCount("real nodes", list->nNodes - list->nVirtual);
    tellCount("virtual nodes", list->nVirtual);
  }
  if (probabilityFlag) qrts_prob(&probabilityCode, list, core->nStages, 0);
  smodel->nRows = int32_t(layout.rows);
  smodel->nCols = int32_t(layout.cols);
  smodel->nElements = countElements(smodel, core);
  *out = smodel;
  *twiceBlocks = layout.twiceBlocks;
  *rc = probabilityCode >= 2 ? 2 : 0;
}

int qrts_Cemdl0(StochModel *smodel, QRTModel *model, int tag) {
  if (!smodel->nodeList || !smodel->nodeList->nodes) {
    messageC(1, "Stochastic Model");
    messageC(2, "qrts_Cemdl0");
    stochMessage(MSG_BAD_STRUCTURE);
    return 2;
  }
  if (qrt_validateModel(model) != 0) {
    messageC(1, "qrts_Cemdl0");
    stochMessage(MSG_MODEL_INVALID);
    return 2;
  }
  smodel->model = model;
  smodel->tag = tag;
  const int code = qrt_loadRimModel(model, smodel->nRows, nullptr, nullptr, smodel->nCols, nullptr, nullptr, nullptr);
  if (code < CODE_OF_FAILURE) qrt_dropLastElementBlock(model);
  messageI(1, smodel->nRows);
  messageI(2, smodel->nCols);
  stochMessage(MSG_DECLARING);
  return code >= CODE_OF_FAILURE ? 2 : 0;
}

namespace {

// Room in a master for one cut a subproblem and cycle, and one column a subproblem.
void makeRoomForCuts(QRTModel *model, const StochModel *smodel, int nSubproblems, int cycles, int *maxRows, int *maxCols,
                     int debug) {
  if (debug) printf("\n row %d nmodels %d maxits %d", smodel->nRows, nSubproblems, cycles);
  // Most cycles bring far fewer cuts, and the store grows by itself: the room is for a beginning.
  const int64_t wanted = int64_t(cycles) * nSubproblems, enough = 4 * int64_t(nSubproblems) + 1000;
  const int64_t rows = smodel->nRows + (wanted < enough ? wanted : enough);
  const int64_t cols = int64_t(smodel->nCols) + nSubproblems + 1;
  *maxRows = rows > MAX_ROWS ? MAX_ROWS : int(rows);
  *maxCols = int(cols);
  if (*maxRows > 0) qrt_setImaxrows(model, *maxRows);
  if (*maxCols > 0) qrt_setImaxcols(model, *maxCols);
  const int64_t spare = int64_t(nSubproblems - 1) * (cols + 1);
  if (qrt_getIextrablk(model) < spare) qrt_setIextrablk(model, spare > INT32_MAX ? INT32_MAX : int(spare));
}

}  // namespace

StochModel *qrts_Cdscm(QRTStoch *stoch, int tag, const char *modelName, int nNodes, const int *nodeList, int *blockCount,
                       int probabilityFlag, int nSubproblems, int cycles, int *maxRows, int *maxCols, int debug) {
  if (debug) qrts_debug("qrts_Cdscm0");
  int rc;
  StochModel *smodel;
  int64_t twiceBlocks = 0;
  qrts_dscm0(&rc, stoch->sdata, nNodes, nodeList, &smodel, &twiceBlocks, probabilityFlag,
             stoch->probabilitiesStand != 0);
  if (rc >= 2) {
    qrts_freeSmodel(smodel);
    return nullptr;
  }
  *blockCount = twiceBlocks / 2 > INT32_MAX ? INT32_MAX : int(twiceBlocks / 2);
  QRTModel *model = qrts_create2EmptyModel(stoch->baseModel->context, stoch->baseModel, modelName, debug);
  if (nSubproblems >= 2 && stoch->status == -1)
    makeRoomForCuts(model, smodel, nSubproblems, cycles, maxRows, maxCols, debug);
  if (stoch->probabilitiesStand && nSubproblems == 0) {
    // One of the many models of a cut: the usual spare room would be most of it.
    if (smodel->nRows > 0) qrt_setImaxrows(model, smodel->nRows);
    if (smodel->nCols > 0) qrt_setImaxcols(model, smodel->nCols);
  }
  if (debug) qrts_debug("qrts_Cemdl0");
  if (qrts_Cemdl0(smodel, model, tag) < 2) return smodel;
  if (!smodel->model) qrt_deleteModel(model);
  qrts_freeSmodel(smodel);
  return nullptr;
}

namespace {

int describe(QRTStoch *stoch, int tag, const char *suffix, int nNodes, const int *nodeList, int probabilityFlag,
             int nSubproblems, int *maxRows, int *maxCols) {
  qrts_deleteSubmodels(stoch);  // they were cut from the model that goes
  char name[192];
  snprintf(name, sizeof name, "%.127s%s", stoch->name, suffix);
  if (stoch->ifDebug) qrts_debug("qrts_Cdscm");
  qrts_freeSmodel(stoch->smodel);
  stoch->smodel = nullptr;
  int blocks = 0;
  stoch->smodel = qrts_Cdscm(stoch, tag, name, nNodes, nodeList, &blocks, probabilityFlag, nSubproblems, stoch->maxiter,
                             maxRows, maxCols, stoch->ifDebug);
#ifdef QRT_SELF_CHECKS
  const char *broken = stoch->smodel ? smodel_check(stoch) : nullptr;
  if (broken) {
    fprintf(stderr, "described model: %s\n", broken);
    abort();
  }
#endif
  return stoch->smodel ? blocks : -1;
}

}  // namespace

int qrts_describe2FullModel(QRTStoch *stoch, int tag, int load) {
  int maxRows, maxCols;
  const int blocks = describe(stoch, tag, "-CompleteTree", 0, nullptr, 1, 0, &maxRows, &maxCols);
  if (blocks >= 0 && load && qrts_load3BaseModel(stoch, 1, true) > 0) return -1;
  return blocks;
}

int qrts_describe2PartialModel(QRTStoch *stoch, int tag, int nNodes, const int *nodeList, int probabilityFlag) {
  int maxRows, maxCols;
  return describe(stoch, tag, "-PartialTree", nNodes, nodeList, probabilityFlag, 0, &maxRows, &maxCols);
}

int qrts_describe2SubModel(QRTStoch *stoch, int tag, int nNodes, const int *nodeList, int probabilityFlag) {
  int maxRows, maxCols;
  return describe(stoch, tag, "-PartialSubTree", nNodes, nodeList, probabilityFlag, 0, &maxRows, &maxCols);
}

int qrts_describe2MasterModel(QRTStoch *stoch, int tag, int nNodes, const int *nodeList, int probabilityFlag,
                              int nSubproblems, int *maxRows, int *maxCols) {
  return describe(stoch, tag, "-PartialMasterTree", nNodes, nodeList, probabilityFlag, nSubproblems, maxRows, maxCols);
}

void qrts_freeSmodel(StochModel *smodel) {
  if (!smodel) return;
  qrts_freeNodeList(smodel->nodeList);
  free(smodel->nodeMap);
  free(smodel->nodePlaces);
  free(smodel->quadDiagonal);
  if (smodel->model) qrt_deleteModel(smodel->model);
  free(smodel);
}

const char *smodel_check(const QRTStoch *stoch) {
  const StochModel *smodel = stoch->smodel;
  const NodeList *list = smodel->nodeList;
  int64_t rows = 0, cols = 0;
  int virtualNodes = 0;
  for (int k = 0; k < list->nNodes; ++k) {
    const TreeNode &node = list->nodes[k];
    if (node.colOffset != cols) return "a node's columns do not follow the node before";
    if (node.isVirtual ? node.nRows != 0 : node.rowOffset != rows) return "a node's rows do not follow the node before";
    if (node.number != k + 1) return "a node's number is not its place in the table";
    if (node.parent < 0 || node.parent > list->nNodes) return "a parent is not in the table";
    if (node.parent && list->nodes[node.parent - 1].stage != node.stage - 1) return "a parent is not one stage above";
    if (!node.parent && node.stage != 1) return "a node above stage 1 has no parent";
    rows += node.nRows;
    cols += node.nCols;
    virtualNodes += node.isVirtual;
  }
  if (rows != smodel->nRows || cols != smodel->nCols) return "the nodes do not add up to the model's size";
  if (virtualNodes != list->nVirtual) return "the number of virtual nodes is wrong";
  int mapped = 0;
  for (int n = 0; n < stoch->sdata->nodes->nNodes; ++n) mapped += placeOfNode(smodel, n + 1) != 0;
  if (mapped != list->nNodes) return "the map does not reach every node once";
  return nullptr;
}
