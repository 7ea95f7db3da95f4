// What passes between models of a nested decomposition, by tables that all models of the process see. One writes into its
// entry, another reads it on its next visit, and nothing needs a lock. Models that live in other processes would be
// reached from here: no other file knows how a proposal or a cut travels.
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <cstring>

#include "decomp/scn_nested.h"

namespace {

constexpr int TABLES_SLOT = 2;      // of QRTStoch::decomposition
constexpr double SAME_CUT = 1e-13;  // of the largest coefficient
constexpr int64_t HEAD = 16;        // bytes before a block: the link, and alignment

const char BAD_MODEL[] = "Invalid model number received by Status task\n";

// The object that owns the run, from any model of its list.
QRTStoch *baseOf(QRTStoch *model) { return model->parent; }
NestedTables *tablesOf(QRTStoch *sub) { return nestedTables(baseOf(sub)); }

bool inTable(const StatusTable *table, int model, const char *complaint) {
  if (model >= 1 && model <= table->nModels) return true;
  fputs(complaint, stdout);
  return false;
}

}  // namespace

void *nestedAlloc(QRTStoch *base, int64_t bytes) {
  char *block = static_cast<char *>(qrts__alloc("qrts_nestedLSolve", HEAD + (bytes > 0 ? bytes : 8), 0));
  *reinterpret_cast<void **>(block) = base->decomposition[SUBMODEL_BLOCKS];
  base->decomposition[SUBMODEL_BLOCKS] = block;
  return block + HEAD;
}

NestedTables *nestedTables(const QRTStoch *base) { return static_cast<NestedTables *>(base->decomposition[TABLES_SLOT]); }

// ---- statuses

void nested_CStatusInitialize(QRTStoch *base, int nModels) {
  NestedTables *tables = nestedTables(base);
  if (!tables) {
    tables = nestedBlock<NestedTables>(base, 1);
    base->decomposition[TABLES_SLOT] = tables;
    tables->status.entries = nestedBlock<StatusEntry>(base, int64_t(nModels) + 1);
    tables->status.nModels = nModels;
  }
  memset(tables->status.entries, 0, (size_t(nModels) + 1) * sizeof(StatusEntry));
  tables->statusRequests = 0;
}

int nested_CPutStatus(StatusTable *table, int model, int code, int seq, double value) {
  if (!inTable(table, model, BAD_MODEL)) return 2;
  table->entries[model].status = code;
  table->entries[model].seq = seq;
  table->entries[model].value = value;
  return 0;
}

int nested_CGetStatus(const StatusTable *table, int model, int *code, int *seq, double *value) {
  if (!inTable(table, model, BAD_MODEL)) return 2;
  *code = table->entries[model].status;
  *seq = table->entries[model].seq;
  *value = table->entries[model].value;
  return 0;
}

int nested_CStatusNotify(StatusTable *table, int model, int n, const int *childModels, int needed, int seq, int *result) {
  if (needed < 1 || needed > table->nModels + 1) {
    printf("Incorrect number of responses requested from Status task\n");
    return 2;
  }
  if (!inTable(table, model, BAD_MODEL)) return 2;
  for (int j = 0; j < n; ++j) {
    if (!inTable(table, childModels[j], "Invalid model number specified to Status task\n")) return 2;
    StatusEntry *child = &table->entries[childModels[j]];
    if (child->seq == seq && child->status != NESTED_WORKING) {
      --needed;
    } else {
      child->waiting = model;
      child->waitingSeq = seq;
    }
  }
  *result = needed > 0 ? -1 : seq;
  return 0;
}

int qrtnested_Cputstat(QRTStoch *base, int model, int code, int seq, double value) {
  NestedTables *tables = nestedTables(base);
  ++tables->statusRequests;
  return nested_CPutStatus(&tables->status, model, code, seq, value);
}

int qrtnested_Cgetstat(QRTStoch *sub, int model, int *code, int *seq, double *value) {
  NestedTables *tables = tablesOf(sub);
  ++tables->statusRequests;
  return nested_CGetStatus(&tables->status, model, code, seq, value);
}

int qrtnested_Cwaitstat(QRTStoch *sub, int model, const int *childModels, int numChildren, int needed, int seq, int, int) {
  NestedTables *tables = tablesOf(sub);
  ++tables->statusRequests;
  int result = -1;
  return nested_CStatusNotify(&tables->status, model, numChildren, childModels, needed, seq, &result) ? -1 : result;
}

// ---- proposals: stored once a sender, delivered by pointer

void qrtnested_CInitProposal(QRTStoch *base, int nModels) {
  NestedTables *tables = nestedTables(base);
  if (!tables->proposals) {
    tables->proposals = nestedBlock<ProposalEntry>(base, int64_t(nModels) + 1);
    tables->deliveries = nestedBlock<DeliveryEntry>(base, int64_t(nModels) + 1);
    for (int m = 0; m <= nModels; ++m) tables->deliveries[m].sameProcess = -1;
  }
  for (int m = 0; m <= nModels; ++m) tables->deliveries[m].pending = 0;
}

void qrtnested_Cputprop(QRTStoch *sub, const int *, const int *childModels, int numChildren, int kind, int seq, int ncols,
                        const double *data, int model) {
  NestedTables *tables = tablesOf(sub);
  ProposalEntry *entry = &tables->proposals[model];
  if (!entry->data) entry->data = nestedBlock<double>(baseOf(sub), ncols);
  entry->kind = kind;
  entry->seq = seq;
  entry->ncols = ncols;
  if (ncols > 0) memcpy(entry->data, data, size_t(ncols) * sizeof(double));
  for (int j = 0; j < numChildren; ++j) tables->deliveries[childModels[j]] = {1, 1, entry};
  ++tables->moves;
}

int qrtnested_Cgetprop(QRTStoch *sub, int, int, int, int *isRay, const double **proposal, int model, int, int) {
  NestedTables *tables = tablesOf(sub);
  DeliveryEntry *delivery = &tables->deliveries[model];
  if (!delivery->pending) return 0;
  delivery->pending = 0;
  *isRay = delivery->from->kind;
  *proposal = delivery->from->data;
  ++tables->moves;
  return delivery->from->seq;
}

// ---- cuts: the last one of each model

void qrtnested_CInitCuts(QRTStoch *base, int nModels) {
  NestedTables *tables = nestedTables(base);
  if (!tables->cuts) tables->cuts = nestedBlock<CutEntry>(base, int64_t(nModels) + 1);
  for (int m = 0; m <= nModels; ++m) {
    tables->cuts[m].pending = tables->cuts[m].taken = 0;
    tables->cuts[m].fresh = 1;
  }
}

void qrtnested_Cputcut(QRTStoch *sub, int, int model, int childIndex, int type, int seq, double rhs, int n, const double *data) {
  CutEntry *entry = &tablesOf(sub)->cuts[model];
  if (childIndex == 0) return;  // a cut not yet read is still good
  if (!entry->data) entry->data = nestedBlock<double>(baseOf(sub), n);
  if (n > 0) memcpy(entry->data, data, size_t(n) * sizeof(double));
  entry->model = model;
  entry->type = type;
  entry->childIndex = childIndex;
  entry->seq = seq;
  entry->numElements = n;
  entry->rhs = rhs;
  entry->pending = entry->sameProcess = 1;
  entry->taken = entry->fresh = 0;
}

int qrtnested_Cgetcut(QRTStoch *sub, int, int childModel, int, int *type, double *rhs, double *buffer) {
  CutEntry *entry = &tablesOf(sub)->cuts[childModel];
  if (!entry->pending) return 0;
  entry->pending = 0;
  *type = entry->type;
  *rhs = entry->rhs;
  if (entry->numElements > 0) memcpy(buffer, entry->data, size_t(entry->numElements) * sizeof(double));
  return entry->childIndex;
}

const double *qrtnested_Clastcut(QRTStoch *sub, int childModel, double *rhs, int *n) {
  const CutEntry *entry = &tablesOf(sub)->cuts[childModel];
  if (entry->fresh || entry->type != CUT_OPTIMALITY) return nullptr;
  *rhs = entry->rhs;
  *n = entry->numElements;
  return entry->data;
}

void qrtnested_Ctakecut(QRTStoch *sub, int childModel) {
  NestedTables *tables = tablesOf(sub);
  tables->cuts[childModel].taken = 1;
  ++tables->cutsOfCycle;
  ++tables->moves;
}

int qrtnested_Csamecut(QRTStoch *sub, int model, int type, double rhs, int n, const double *data) {
  const CutEntry *entry = &tablesOf(sub)->cuts[model];
  if (entry->fresh || (!entry->taken && !entry->pending) || entry->type != type || entry->numElements != n) return 0;
  double largest = 0.0, difference = 0.0;
  for (int k = 0; k < n; ++k) {
    largest = fmax(largest, fabs(data[k]));
    difference = fmax(difference, fabs(data[k] - entry->data[k]));
  }
  return difference <= SAME_CUT * largest && fabs(rhs - entry->rhs) <= SAME_CUT * (fabs(rhs) + largest);
}

void qrtnested_Cputmsg(QRTStoch *, const char *text) { printf("%s", text); }

// ---- node lists

namespace {

const int *virtualNodes(const QRTStoch *sub, int *count) {
  const NodeList *list = sub->smodel->nodeList;
  *count = list->nVirtual;
  return nestedOf(sub)->storeNode + (list->nNodes - list->nVirtual);
}

}  // namespace

// A model's virtual nodes stand where its master finds them, behind its real ones: what is left is to see that they do.
int nested_CSendNodesToMaster(QRTStoch *sub) {
  if (!nestedOf(sub)->slavePart) return 0;
  const NodeList *list = sub->smodel->nodeList;
  int count = 0;
  for (int k = 0; k < list->nNodes; ++k) count += list->nodes[k].isVirtual != 0;
  if (count != list->nVirtual) printf("TAVSE initmdl: wrong number of virtuals\n");
  return 0;
}

int nested_CRecvNodeListFromSlaves(QRTStoch *sub, QRTStoch **models, int) {
  NestedMaster *master = nestedOf(sub)->masterPart;
  if (!master) return 0;
  for (int j = 0; j < master->numChildren; ++j) {
    NestedChild *child = &master->children[j];
    const QRTStoch *model = models[master->childModels[j] - 1];
    const NodeList *list = model->smodel->nodeList;
    child->seq = master->proposalSeq;
    child->status = NESTED_OPTIMAL;
    child->hasOptimal = 0;
    child->estimate = -SCN_INFINITY;
    child->nodes = virtualNodes(model, &child->numNodes);
    child->probability = list->stageHead[0] ? list->nodes[list->stageHead[0] - 1].probability : 0.0;
  }
  return 0;
}

int nested_CSendNodeListToSlaves(QRTStoch *sub, QRTStoch **models) {
  const NestedMaster *master = nestedOf(sub)->masterPart;
  if (!master) return 0;
  for (int j = 0; j < master->numChildren; ++j) nestedOf(models[master->childModels[j] - 1])->slavePart->childIndex = j + 1;
  return 0;
}

namespace {

// Where the virtual columns of a model stand among its parent's, which hold other nodes as well.
void findPlaces(QRTStoch *sub, QRTStoch *parent) {
  const NestedModel *rec = nestedOf(sub), *above = nestedOf(parent);
  const int n = rec->nCols - rec->nReal;
  rec->slavePart->place = nestedBlock<int>(baseOf(sub), n);
  int *all = static_cast<int *>(qrts__alloc("qrts_nestedLSolve", int64_t(rec->nCols + 1) * int64_t(sizeof(int)), 0));
  int count = 0;
  const int *nodes = virtualNodes(sub, &count);
  qrts_Cndcp(parent, above->masterPart->columnIndex, "ALL", sub, all, "VIRTUAL", count, nodes, 1, sizeof(int));
  for (int k = 0; k < n; ++k) rec->slavePart->place[k] = all[rec->nReal + k] - 1;
  free(all);
}

}  // namespace

int nested_CRecvNodeListFromMaster(QRTStoch *sub, QRTStoch **models) {
  NestedModel *rec = nestedOf(sub);
  rec->modelStatus = NESTED_WORKING;
  if (NestedSlave *slave = rec->slavePart) {
    QRTStoch *parent = models[slave->parentModel - 1];
    slave->numNodes = parent->smodel->nodeList->nNodes;
    slave->nodes = nestedOf(parent)->storeNode;
    if (!slave->place) findPlaces(sub, parent);
    rec->modelStatus = NESTED_OPTIMAL;
  }
  return qrtnested_Cputstat(baseOf(sub), rec->modelNumber, rec->modelStatus, 0, -SCN_INFINITY);
}
