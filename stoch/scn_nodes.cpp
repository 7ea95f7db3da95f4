// The node tree made from the scenario table: links, probabilities, summaries, a node's data, and the small queries.
#include <cstdio>
#include <cstdlib>
#include <cstring>

#include "frame/messages.h"
#include "stoch/scn_stoc.h"

// ---- life and links -----------------------------------------------------------------------------------------

void qrts_freeNodeList(NodeList *list) {
  if (list == nullptr) return;
  std::free(list->stageCount);
  std::free(list->stageHead);
  std::free(list->nodes);
  std::free(list);
}

void qrts_dropNodes(StochData *sdata) {
  NodeList *list = sdata->nodes;
  std::free(list->stageCount);
  std::free(list->stageHead);
  std::free(list->nodes);
  list->stageCount = list->stageHead = nullptr;
  list->nodes = nullptr;
  list->nVirtual = list->nLeaves = 0;
}

// A stage is one chain. While nodes arrive, the last parent's children stand in front, latest first, and each
// parent's first arrived child points, negated, at the old head. That head may get later siblings in front of it, so
// a second pass moves every such pointer, and the stage's head, to the first child of the same parent.
void qrts_linkNodes(NodeList *list, int nStages) {
  std::memset(list->stageCount, 0, size_t(nStages) * sizeof(int));
  std::memset(list->stageHead, 0, size_t(nStages) * sizeof(int));
  TreeNode *nodes = list->nodes;
  for (int n = 0; n < list->nNodes; n++) nodes[n].firstChild = nodes[n].next = 0;
  for (int n = 1; n <= list->nNodes; n++) {
    TreeNode *node = &nodes[n - 1];
    int *head = &list->stageHead[node->stage - 1];
    TreeNode *parent = node->parent > 0 ? &nodes[node->parent - 1] : nullptr;
    if (parent != nullptr && parent->firstChild != 0) {
      node->next = parent->firstChild;
    } else {
      node->next = -*head;
      *head = n;
    }
    if (parent != nullptr) parent->firstChild = n;
    list->stageCount[node->stage - 1]++;
  }
  list->nLeaves = 0;
  for (int n = 0; n < list->nNodes; n++) {
    TreeNode *node = &nodes[n];
    if (node->firstChild == 0) list->nLeaves++;
    if (node->next >= 0) continue;
    const int parent = nodes[-node->next - 1].parent;
    if (parent > 0) node->next = -nodes[parent - 1].firstChild;
  }
  for (int s = 1; s < nStages; s++) {
    if (list->stageHead[s] == 0) continue;
    const int parent = nodes[list->stageHead[s] - 1].parent;
    if (parent > 0) list->stageHead[s] = nodes[parent - 1].firstChild;
  }
}

// ---- the store's table --------------------------------------------------------------------------------------

static void fillNode(TreeNode *node, const CoreData *core, int number, int stage, int scenario, int parent, int record) {
  *node = TreeNode{};
  node->number = number;
  node->stage = stage;
  node->scenario = scenario;
  node->parent = parent;
  node->record = record;
  node->nRows = rowsOfStage(core, stage);
  node->nCols = colsOfStage(core, stage);
}

// Parent of the first node of a scenario: the ancestor's node one stage earlier.
static int branchParent(const ScenarioTable *scenarios, const ScenarioRecord *record) {
  if (record->branchStage == 2 || record->ancestor == 0) return 1;
  const ScenarioRecord *ancestor = &scenarios->table[record->ancestor - 1];
  return ancestor->firstNode + record->branchStage - ancestor->branchStage - 1;
}

static void rootWithoutStages(TreeNode *root, const ScenarioTable *scenarios) {
  // a tree of one stage is its root: it carries what the leaves would
  root->probability = scenarios->count == 0 ? 1.0 : 0.0;
  for (int k = 0; k < scenarios->count; k++) root->probability += scenarios->table[k].probability;
}

int qrts_mktr(StochData *sdata) {
  static const char *const name = "qrts_mktr";
  const CoreData *core = sdata->core;
  const ScenarioTable *scenarios = sdata->scenarios;
  if (core->nStages == 0) return 2;
  qrts_dropNodes(sdata);
  NodeList *list = sdata->nodes;
  if (list->nNodes < 1) list->nNodes = 1;
  const int64_t stages = core->nStages;
  list->stageCount = static_cast<int *>(qrts__alloc(name, stages * int64_t(sizeof(int)), 0));
  list->stageHead = static_cast<int *>(qrts__alloc(name, stages * int64_t(sizeof(int)), 0));
  list->nodes = static_cast<TreeNode *>(qrts__alloc(name, list->nNodes * int64_t(sizeof(TreeNode)), 1));
  fillNode(&list->nodes[0], core, 1, 1, 0, 0, 0);
  for (int k = 1; k <= scenarios->count; k++) {
    const ScenarioRecord *record = &scenarios->table[k - 1];
    int parent = branchParent(scenarios, record), fileRecord = record->firstRecord;
    for (int s = record->branchStage; s <= core->nStages; s++) {
      const int number = record->firstNode + s - record->branchStage;
      fillNode(&list->nodes[number - 1], core, number, s, k, parent, fileRecord);
      parent = number;
      fileRecord += SCN_RECORDS_PER_GROUP;
    }
    if (record->lastNode >= record->firstNode) list->nodes[record->lastNode - 1].probability = record->probability;
  }
  if (core->nStages == 1) rootWithoutStages(&list->nodes[0], scenarios);
  qrts_linkNodes(list, core->nStages);
  selfCheckStore(sdata);
  return 0;
}

int qrts_needNodes(StochData *sdata) {
  if (sdata == nullptr) return 2;
  return sdata->nodes->nodes != nullptr ? 0 : qrts_mktr(sdata);
}

// ---- probabilities ------------------------------------------------------------------------------------------

static int absolute(int value) { return value < 0 ? -value : value; }

void qrts_prob(int *rc, NodeList *list, int nStages, int normalise) {
  TreeNode *nodes = list->nodes;
  for (int n = 0; n < list->nNodes; n++)
    if (nodes[n].firstChild != 0) nodes[n].probability = 0.0;
  for (int s = nStages; s >= 2; s--)
    for (int n = list->stageHead[s - 1]; n != 0; n = absolute(nodes[n - 1].next)) {
      const TreeNode *node = &nodes[n - 1];
      if (node->parent > 0) nodes[node->parent - 1].probability += node->probability;
    }
  *rc = 0;
  const int root = list->stageHead[0];
  const double total = root > 0 ? nodes[root - 1].probability : 0.0;
  if (total == 0.0) {
    stochMessage(MSG_ZERO_PROBABILITY);
    *rc = 2;
    return;
  }
  if (!normalise) return;
  for (int n = 0; n < list->nNodes; n++) nodes[n].probability /= total;
}

int qrts_Ccprb(QRTStoch *stoch, const double *probabilities) {
  StochData *sdata = stoch->sdata;
  if (sdata == nullptr || sdata->core->nStages == 0) return 2;
  if (sdata->nodes->nodes == nullptr || probabilities == nullptr) qrts_mktr(sdata);
  if (probabilities == nullptr) return 2;
  const ScenarioTable *scenarios = sdata->scenarios;
  TreeNode *nodes = sdata->nodes->nodes;
  if (sdata->core->nStages == 1) {
    if (scenarios->count > 0) nodes[0].probability = 0.0;
    for (int k = 0; k < scenarios->count; k++) nodes[0].probability += probabilities[k];
    return 0;
  }
  for (int k = 0; k < scenarios->count; k++) nodes[scenarios->table[k].lastNode - 1].probability = probabilities[k];
  return 0;
}

// ---- summaries and queries ----------------------------------------------------------------------------------

// The list that counts and getters speak of: the described model's when there is one, else the store's.
static const NodeList *activeNodes(QRTStoch *stoch) {
  if (stoch->smodel != nullptr && stoch->smodel->nodeList != nullptr) return stoch->smodel->nodeList;
  return qrts_needNodes(stoch->sdata) == 0 ? stoch->sdata->nodes : nullptr;
}

static const TreeNode *activeNode(QRTStoch *stoch, int number) {
  const NodeList *list = activeNodes(stoch);
  return list != nullptr && number >= 1 && number <= list->nNodes ? &list->nodes[number - 1] : nullptr;
}

// Childless nodes in the order of their scenarios; a scenario that has several gives the deepest.
static int collectLeaves(const NodeList *list, int nScenarios, int **leaves) {
  static const char *const name = "qrts_Csget";
  int *byScenario = static_cast<int *>(qrts__alloc(name, (int64_t(nScenarios) + 1) * int64_t(sizeof(int)), 0));
  for (int n = 1; n <= list->nNodes; n++) {
    const TreeNode *node = &list->nodes[n - 1];
    if (node->firstChild != 0) continue;
    int *place = &byScenario[node->scenario];
    if (*place == 0 || list->nodes[*place - 1].stage < node->stage) *place = n;
  }
  int count = 0;
  for (int k = 0; k <= nScenarios; k++)
    if (byScenario[k] != 0) byScenario[count++] = byScenario[k];
  *leaves = byScenario;
  return count;
}

int qrts_Csget(QRTStoch *stoch, NodeSummaryList **summary) {
  static const char *const name = "qrts_Csget";
  const NodeList *list = activeNodes(stoch);
  if (list == nullptr) return 2;
  const CoreData *core = stoch->sdata->core;
  if (*summary == nullptr) *summary = static_cast<NodeSummaryList *>(qrts__alloc(name, sizeof(NodeSummaryList), 0));
  NodeSummaryList *out = *summary;
  std::free(out->nodes);
  std::free(out->leaves);
  out->nNodes = list->nNodes;
  out->nodes = static_cast<NodeSummary *>(qrts__alloc(name, list->nNodes * int64_t(sizeof(NodeSummary)), 1));
  for (int n = 0; n < list->nNodes; n++) {
    const TreeNode *node = &list->nodes[n];
    out->nodes[n] = NodeSummary{node->probability, node->number, node->parent, node->firstChild, node->next, node->stage,
                                node->scenario, node->rowOffset, node->colOffset, rowsOfStage(core, node->stage),
                                colsOfStage(core, node->stage), node->isVirtual, 0};
  }
  out->nLeaves = collectLeaves(list, stoch->sdata->scenarios->count, &out->leaves);
  return 0;
}

void qrts_freeSummary(NodeSummaryList *summary) {
  if (summary == nullptr) return;
  std::free(summary->nodes);
  std::free(summary->leaves);
  std::free(summary);
}

static bool hasCore(const QRTStoch *stoch) { return stoch->sdata != nullptr && stoch->sdata->core->nStages > 0; }
static bool described(const QRTStoch *stoch) { return stoch->smodel != nullptr && stoch->smodel->nodeList != nullptr; }

int qrts_get2Numnodes(QRTStoch *stoch) {
  if (described(stoch)) return stoch->smodel->nodeList->nNodes;
  if (!hasCore(stoch)) return -1;
  const int n = stoch->sdata->nodes->nNodes;
  return n > 0 ? n : 1;
}

int qrts_get2Numleaf(QRTStoch *stoch) {
  if (described(stoch)) return stoch->smodel->nodeList->nLeaves;
  if (!hasCore(stoch)) return -1;
  const int k = stoch->sdata->scenarios->count;
  return k > 0 && stoch->sdata->core->nStages > 1 ? k : 1;
}

int qrts_get2NumStages(QRTStoch *stoch) { return hasCore(stoch) ? stoch->sdata->core->nStages : 0; }
int qrts_get2CoreNumrows(QRTStoch *stoch) { return hasCore(stoch) ? stoch->sdata->core->nRows : 0; }
int qrts_get2CoreNumcols(QRTStoch *stoch) { return hasCore(stoch) ? stoch->sdata->core->nCols : 0; }

int qrts_get2NumrowsAtStage(QRTStoch *stoch, int stage) {
  return stage >= 1 && stage <= qrts_get2NumStages(stoch) ? rowsOfStage(stoch->sdata->core, stage) : 0;
}
int qrts_get2NumcolsAtStage(QRTStoch *stoch, int stage) {
  return stage >= 1 && stage <= qrts_get2NumStages(stoch) ? colsOfStage(stoch->sdata->core, stage) : 0;
}

int qrts_get2NodeNumcols(QRTStoch *stoch, int node) {
  const TreeNode *found = activeNode(stoch, node + 1);
  return found != nullptr ? found->nCols : -1;
}

double *qrts_get2NodeColsol(QRTStoch *stoch, int node) {
  if (!described(stoch) || stoch->smodel->model == nullptr || stoch->smodel->model->solution == nullptr) return nullptr;
  const TreeNode *found = activeNode(stoch, node + 1);
  const QRTModel *model = stoch->smodel->model;
  return found != nullptr ? model->solution + model->Imaxrows + found->colOffset : nullptr;
}

int qrts_get2LeafNodeName(QRTStoch *stoch, int i) {
  const NodeList *list = activeNodes(stoch);
  if (list == nullptr || i < 0) return -1;
  int *leaves;
  const int n = collectLeaves(list, stoch->sdata->scenarios->count, &leaves);
  const int leaf = i < n ? leaves[i] : -1;
  std::free(leaves);
  return leaf;
}

int qrts_node2ScenarioNum(QRTStoch *stoch, int node) {
  const TreeNode *found = activeNode(stoch, node);
  return found != nullptr ? found->scenario : -1;
}
int qrts_get2NodeParent(QRTStoch *stoch, int node) {
  const TreeNode *found = activeNode(stoch, node);
  return found != nullptr ? found->parent : -1;
}
double qrts_get2NodeProbability(QRTStoch *stoch, int node) {
  const TreeNode *found = activeNode(stoch, node);
  return found != nullptr ? found->probability : -1.0;
}

double *qrts_get2CoreObjective(QRTStoch *stoch, int node) {
  const TreeNode *found = activeNode(stoch, node + 1);
  if (found == nullptr || qrts_unpackCore(stoch->sdata) != 0) return nullptr;
  const CoreData *core = stoch->sdata->core;
  return core->objective + core->colStageStart[found->stage - 1] - 1;
}

// ---- node data ----------------------------------------------------------------------------------------------

static int groupFault(const char *caller, const RecordFile *file) { return qrts_VRCheckRt(caller, file->name, VREC_READ); }

// Indices inside one block; the diagonal block also holds the rim.
static bool soundBlock(int nRows, int nCols, bool diagonal, int n, const int *rows, const int *cols) {
  for (int e = 0; e < n; e++) {
    if (rows[e] < 1 || cols[e] < 1) return false;
    const bool rimRow = rows[e] > nRows, rimCol = cols[e] > nCols;
    if (!rimRow && !rimCol) continue;
    if (!diagonal || (rimRow && rimCol) || rows[e] > nRows + EXT_ROWS || cols[e] > nCols + EXT_COLS) return false;
  }
  return true;
}

// What comes from a file is believed only after every start and index has been seen to lie in its range.
static bool soundGroup(const CoreData *core, const NodeGroup *group) {
  const int *starts = group->blockStart;
  if (starts[0] != 1) return false;
  for (int c = 1; c <= group->stage; c++)
    if (starts[c] < starts[c - 1] || starts[c] - 1 > group->nElements) return false;
  if (starts[group->stage] - 1 != group->nElements) return false;
  for (int c = 1; c <= group->stage; c++) {
    const int from = starts[c - 1] - 1;
    if (!soundBlock(rowsOfStage(core, group->stage), colsOfStage(core, c), c == group->stage, starts[c] - 1 - from,
                    group->rows + from, group->cols + from))
      return false;
  }
  return true;
}

// Number of elements of a group by the lengths of its records; -1 when they disagree.
static int64_t groupLength(const char *caller, RecordFile *file, int record, int stage) {
  const int64_t startBytes = recordFile_length(caller, file, record), rowBytes = recordFile_length(caller, file, record + 1);
  const int64_t n = rowBytes / int64_t(sizeof(int));
  if (startBytes != (int64_t(stage) + 1) * int64_t(sizeof(int)) || rowBytes % int64_t(sizeof(int)) != 0) return -1;
  if (recordFile_length(caller, file, record + 2) != rowBytes) return -1;
  return recordFile_length(caller, file, record + 3) == n * int64_t(sizeof(double)) ? n : -1;
}

// Reads a group behind `front` bytes (a multiple of 8) of the shared buffer.
static int readGroupBehind(const char *caller, StochData *sdata, int record, int stage, int64_t front, NodeGroup *group) {
  CoreData *core = sdata->core;
  RecordFile *file = sdata->file;
  const int64_t n = record > 0 ? groupLength(caller, file, record, stage) : 0;
  if (n < 0) return groupFault(caller, file);
  const int64_t word = int64_t(sizeof(int));
  char *place = static_cast<char *>(core_buffer(core, front + 16 * n + word * (stage + 1))) + front;
  group->stage = stage;
  group->nElements = int(n);
  group->values = reinterpret_cast<double *>(place);
  group->rows = reinterpret_cast<int *>(place + 8 * n);
  group->cols = group->rows + n;
  group->blockStart = group->cols + n;
  if (record == 0) {
    for (int c = 0; c <= stage; c++) group->blockStart[c] = 1;
    return 0;
  }
  recordFile_read(caller, file, record, group->blockStart, word * (stage + 1));
  recordFile_read(caller, file, record + 1, group->rows, word * n);
  recordFile_read(caller, file, record + 2, group->cols, word * n);
  recordFile_read(caller, file, record + 3, group->values, 8 * n);
  return soundGroup(core, group) ? 0 : groupFault(caller, file);
}

int qrts_readGroup(const char *caller, StochData *sdata, int record, int stage, NodeGroup *group) {
  return readGroupBehind(caller, sdata, record, stage, 0, group);
}

int qrts_groupCount(const char *caller, StochData *sdata, int record, int stage) {
  if (record <= 0) return 0;
  const int64_t n = groupLength(caller, sdata->file, record, stage);
  return n > 0 ? int(n) : 0;
}

static int viewOfNode(StochData *sdata, const TreeNode *node, NodeView *view) {
  const CoreData *core = sdata->core;
  const int m = rowsOfStage(core, node->stage), n = colsOfStage(core, node->stage);
  *view = NodeView{};
  view->stage = node->stage;
  view->nRows = m;
  view->nCols = n;
  if (node->record <= 0) return 0;
  const int64_t front = 8 * (3 * int64_t(n) + 2 * int64_t(m));
  NodeGroup group;
  if (readGroupBehind("qrts_Cndat", sdata, node->record, node->stage, front, &group) != 0) return 2;
  double *dense = static_cast<double *>(sdata->core->buffer);
  std::memset(dense, 0, size_t(front));
  view->rowLower = dense;
  view->rowUpper = dense + m;
  view->colLower = dense + 2 * int64_t(m);
  view->colUpper = view->colLower + n;
  view->objective = view->colUpper + n;
  view->rows = group.rows;
  view->cols = group.cols;
  view->values = group.values;
  view->blockStart = group.blockStart;
  const int diagonal = group.blockStart[node->stage - 1] - 1;
  int onDiagonal = group.nElements - diagonal;
  qrtspltblk(1, m, n, &onDiagonal, group.rows + diagonal, group.cols + diagonal, group.values + diagonal, view->rowLower,
             view->rowUpper, view->colLower, view->colUpper, view->objective, nullptr);
  view->nElements = diagonal + onDiagonal;
  view->blockStart[node->stage] = view->nElements + 1;
  return 0;
}

int qrts_Cndat(QRTStoch *stoch, int node, NodeView **view) {
  if (qrts_needNodes(stoch->sdata) != 0 || node < 1 || node > stoch->sdata->nodes->nNodes) return 2;
  if (*view == nullptr) *view = static_cast<NodeView *>(qrts__alloc("qrts_Cndat", sizeof(NodeView), 0));
  return viewOfNode(stoch->sdata, &stoch->sdata->nodes->nodes[node - 1], *view);
}

double *qrts_node2Objective(QRTStoch *stoch, int node) {
  const TreeNode *found = activeNode(stoch, node + 1);
  NodeView view;
  return found != nullptr && viewOfNode(stoch->sdata, found, &view) == 0 ? view.objective : nullptr;
}

// ---- checks -------------------------------------------------------------------------------------------------

static const char *checkChain(const NodeList *list, int stage) {
  int seen = 0, next;
  for (int n = list->stageHead[stage - 1]; n != 0; n = absolute(next)) {
    const TreeNode *node = &list->nodes[n - 1];
    if (n < 1 || n > list->nNodes || node->stage != stage) return "a stage chain leaves its stage";
    if (++seen > list->stageCount[stage - 1]) return "a stage chain is longer than its count";
    next = node->next;
    if (next > 0 && list->nodes[next - 1].parent != node->parent) return "a sibling has another parent";
    if (next < 0 && list->nodes[-next - 1].parent == node->parent) return "the next parent is the same parent";
  }
  return seen == list->stageCount[stage - 1] ? nullptr : "a stage chain misses nodes";
}

const char *nodeList_check(const NodeList *list, const CoreData *core) {
  if (list->nodes == nullptr) return nullptr;
  int leaves = 0;
  for (int n = 1; n <= list->nNodes; n++) {
    const TreeNode *node = &list->nodes[n - 1];
    if (node->stage < 1 || node->stage > core->nStages) return "a node has no stage";
    if (node->parent < 0 || node->parent > list->nNodes) return "a parent does not exist";
    if (node->parent > 0 && list->nodes[node->parent - 1].stage != node->stage - 1) return "a parent is not one stage earlier";
    if (node->firstChild != 0 && list->nodes[node->firstChild - 1].parent != n) return "a first child has another parent";
    leaves += node->firstChild == 0;
  }
  if (leaves != list->nLeaves) return "the count of leaves is wrong";
  for (int s = 1; s <= core->nStages; s++) {
    const char *fault = checkChain(list, s);
    if (fault != nullptr) return fault;
  }
  return nullptr;
}

static const char *tablesFault(const StochData *sdata) {
  const CoreData *core = sdata->core;
  const ScenarioTable *table = sdata->scenarios;
  const char *fault = core_check(core);
  if (fault != nullptr) return fault;
  if (core->nStages == 0) return table->count == 0 ? nullptr : "scenarios without a core";
  if (sdata->file == nullptr) return "a core without a record file";
  int behind = 1;
  for (int k = 1; k <= table->count; k++) {
    const ScenarioRecord *record = &table->table[k - 1];
    if (record->firstNode != behind + 1) return "node numbers are not consecutive";
    if (record->lastNode - record->firstNode != core->nStages - record->branchStage) return "a scenario owns a wrong number of nodes";
    if (record->ancestor < 0 || record->ancestor >= k) return "an ancestor is not older than its scenario";
    if (record->ancestor == 0 ? record->branchStage != 2 : table->table[record->ancestor - 1].branchStage >= record->branchStage)
      return "a scenario does not branch behind its ancestor";
    behind = record->lastNode;
  }
  if (table->count > 0 && sdata->nodes->nNodes != behind) return "the count of nodes is wrong";
  return nodeList_check(sdata->nodes, core);
}

const char *qrts_store_check(const StochData *sdata) {
  const char *fault = tablesFault(sdata);
  return fault != nullptr || sdata->file == nullptr ? fault : virtualFile_check(sdata->file->handle);
}

#ifdef QRT_SELF_CHECKS
void selfCheckStore(const StochData *sdata) {
  // not the index of the file: one from outside may be odd and still give every record that is asked for
  const char *fault = tablesFault(sdata);
  if (fault == nullptr) return;
  std::fprintf(stderr, "stochastic store: %s\n", fault);
  std::abort();
}
#endif
