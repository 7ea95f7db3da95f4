// The subproblem's side: the proposal into its bounds, statuses and cuts out; and the records of a whole run.
#include <cmath>
#include <cstdio>
#include <cstring>

#include "decomp/scn_benders.h"
#include "decomp/scn_solving.h"
#include "frame/messages.h"

namespace {

struct StatusRecord {
  int32_t code, seq;
  double value;
};
static_assert(sizeof(StatusRecord) == 16, "a status record has 16 bytes");

template <class T> T *block(QRTStoch *base, int64_t count) {
  return static_cast<T *>(qrtbenders_Calloc(base, "qrts_Cslav", count * int64_t(sizeof(T)), 0));
}

QRTStoch *ownerOf(QRTStoch *model) { return model->parent; }

void packCutHead(QRTStoch *base, QRTStoch *sub, int position) {
  BendersMethod *method = methodOf(sub);
  const NodeList *list = sub->smodel->nodeList;
  const int nVirtual = list->nVirtual, firstVirtual = list->nNodes - nVirtual;
  VecBuffer *cut = method->slave->cut;
  cut->size = int32_t(cutSize(nVirtual, sub->smodel->nCols - method->slave->realCols));
  cut->data = block<char>(base, cut->size);
  char *data = static_cast<char *>(cut->data);
  memcpy(data + 12, &position, sizeof position);
  memcpy(data + 16, &nVirtual, sizeof nVirtual);
  memcpy(data + 20, method->storeNode + firstVirtual, size_t(nVirtual) * sizeof(int));
}

}  // namespace

int qrts_Cslav(QRTStoch *base, QRTStoch *sub, QRTStoch *master) {
  BendersMethod *method = methodOf(sub);
  BendersMaster *above = methodOf(master)->master;
  BendersSlave *slave = method->slave = block<BendersSlave>(base, 1);
  const StochModel *smodel = sub->smodel;
  const NodeList *list = smodel->nodeList;
  slave->lastSeq = -1;
  slave->realCols = smodel->nCols;
  for (int k = list->nNodes - list->nVirtual; k < list->nNodes; ++k) slave->realCols -= list->nodes[k].nCols;
  slave->weight = sub->costWeight = weightOfModel(smodel);
  divideCosts(smodel->model, slave->weight);
  // One copy of the proposal serves all subproblems of a master, which take turns.
  slave->proposal = above->proposal;
  slave->cut = block<VecBuffer>(base, 1);
  slave->cut->bufferId = above->cuts->bufferId;
  packCutHead(base, sub, above->numSubs + 1);
  SubEntry *entry = &above->subs[above->numSubs++];
  entry->probability = list->stageHead[0] ? list->nodes[list->stageHead[0] - 1].probability : 0.0;
  entry->statusBuffer = method->statusBuffer;
  qrts_Cslav0(base, sub);
  qrtbenders_Cputstat(sub, 0, -SCN_INFINITY);
  return 0;
}

void fixVirtualColumns(QRTStoch *sub, const int *nodes, int nNodes, const double *values, double *colUpper, double *colLower) {
  const StochModel *smodel = sub->smodel;
  const TreeNode *store = sub->sdata->nodes->nodes;
  for (int v = 0; v < nNodes; ++v) {
    const int size = store[nodes[v] - 1].nCols, k = smodel->nodeMap[nodes[v] - 1];
    if (k && smodel->nodeList->nodes[k - 1].isVirtual && size > 0) {
      const int at = smodel->nodeList->nodes[k - 1].colOffset;
      memcpy(colUpper + at, values, size_t(size) * sizeof(double));
      memcpy(colLower + at, values, size_t(size) * sizeof(double));
    }
    values += size;
  }
}

void qrtbenders_Cgetprop(QRTStoch *sub, double *colUpper, double *colLower) {
  BendersSlave *slave = methodOf(sub)->slave;
  const char *data = static_cast<const char *>(slave->proposal->data);
  int size;
  slave->seq = qrtget_Cbuffer(ownerOf(sub), slave->proposal->bufferId, slave->proposal->data, &size, slave->lastSeq);
  if (slave->seq < 1) return;
  int nNodes;
  memcpy(&nNodes, data, sizeof nNodes);
  fixVirtualColumns(sub, reinterpret_cast<const int *>(data + 4), nNodes,
                    reinterpret_cast<const double *>(data + proposalOffset(nNodes)), colUpper, colLower);
}

void qrtbenders_Cputstat(QRTStoch *model, int code, double value) {
  BendersMethod *method = methodOf(model);
  const StatusRecord record = {code, method->slave ? method->slave->lastSeq : -1, value};
  method->lastStatus = code;
  qrtpop_Cbuffer(ownerOf(model), method->statusBuffer);
  qrtput_Cbuffer(ownerOf(model), method->statusBuffer, &record, sizeof record);
}

int qrtbenders_Cgetstat(QRTStoch *model, int buffer, int *code, int *seq, double *value) {
  StatusRecord record = {0, 0, 0.0};
  int size = 0;
  const int got = qrtget_Cbuffer(ownerOf(model), buffer, &record, &size, 0);
  if (size != int(sizeof record)) printf(">>> ERROR!! Status buffer error\n\n");
  *code = record.code;
  *seq = record.seq;
  *value = record.value;
  return got;
}

void qrtbenders_Cputcut(QRTStoch *sub, int alongRay, int type, double tol, const double *rcost, const double *rows,
                        const double *colsol, double value, double sense) {
  const BendersMethod *method = methodOf(sub);
  BendersSlave *slave = method->slave;
  char *data = static_cast<char *>(slave->cut->data);
  double *gradient = reinterpret_cast<double *>(data + cutOffset(sub->smodel->nodeList->nVirtual));
  const int real = slave->realCols, nVirtual = sub->smodel->nCols - real;
  // qrt_rowaux has the sign opposite to that of row duals.
  const double rowSign = type == CUT_OPTIMALITY ? 1.0 : -1.0;
  const DualBound bound = dualBound(method->originalBounds, sub->smodel->nRows, real, rows, rowSign, rcost, tol);
  double gradientTerm = 0.0, largest = 0.0;
  for (int k = 0; k < nVirtual; ++k) {
    gradientTerm += rcost[real + k] * colsol[real + k];
    largest = fmax(largest, fabs(rcost[real + k]));
  }
  const double rightHandSide = cutRightHandSide(bound, gradientTerm, type == CUT_OPTIMALITY ? sense * value : value, alongRay != 0);
  // A feasibility cut may be scaled at will; multipliers of phase one can be of any size.
  const double factor = type == CUT_OPTIMALITY ? slave->weight : largest > 0.0 ? 1.0 / largest : 1.0;
  for (int k = 0; k < nVirtual; ++k) gradient[k] = factor * rcost[real + k];
  const double rhs = factor * rightHandSide;
  memcpy(data, &rhs, sizeof rhs);
  memcpy(data + 8, &type, sizeof type);
  slave->lastCutAlongRay = alongRay;
  slave->cutIsCurrent = 1;
  slave->cutRejected = qrtput_Cbuffer(ownerOf(sub), slave->cut->bufferId, data, slave->cut->size) < 1;
}

namespace {

bool shareData(QRTStoch **models, int n) {
  bool good = models[0]->sdata != nullptr;
  for (int i = 1; i < n && good; ++i) good = models[i]->sdata == models[0]->sdata;
  if (good) return true;
  messageC(1, "StochData");
  messageC(2, "benders");
  stochMessage(MSG_BAD_STRUCTURE);
  return false;
}

// Counts children and finds the root. Parents that count up, as those of a cut at a stage, cost one step each.
bool walkTree(const int *parents, int n, int *children, int *root) {
  *root = 0;
  for (int i = 1; i <= n; ++i) {
    int steps = 0;
    for (int up = i; up != 0; up = parents[up - 1]) {
      if (parents[up - 1] < 0 || parents[up - 1] > n) {
        printf("Invalid model number in parent list.\n");
        return false;
      }
      if (++steps > n) {
        printf("Cycle detected in model tree.\n");
        return false;
      }
    }
    const int parent = parents[i - 1];
    if (parent != 0) {
      ++children[parent - 1];
    } else if (*root != 0) {
      printf("Multiple root models.\n");
      return false;
    } else {
      *root = i;
    }
  }
  return true;
}

bool ownNodes(QRTStoch *model, int number) {
  BendersMethod *method = methodOf(model);
  const NodeList *list = model->smodel->nodeList;
  for (int k = 0; k < list->nNodes - list->nVirtual; ++k) {
    int &owner = method->nodeOwner[method->storeNode[k] - 1];
    if (owner != 0) {
      printf("Real node %d appears in two models.\n", method->storeNode[k]);
      return false;
    }
    owner = number;
  }
  return true;
}

bool checkVirtualNodes(const QRTStoch *model, int number, const QRTStoch *parent) {
  const BendersMethod *method = methodOf(model);
  const NodeList *list = model->smodel->nodeList;
  for (int k = list->nNodes - list->nVirtual; k < list->nNodes; ++k) {
    const int node = method->storeNode[k];
    if (method->nodeOwner[node - 1] == 0) {
      printf("Node %d appears only as virtual.\n", node);
      return false;
    }
    if (parent->smodel->nodeMap[node - 1] == 0) {
      printf("Node %d is virtual in model %d but does not appear in its parent model.\n", node, number);
      return false;
    }
  }
  return true;
}

// Records of all models, masters before the subproblems that report to them.
int makeRecords(QRTStoch *base, QRTStoch **models, int n, const int *parents, const int *children, int largeBounds) {
  int *nodeOwner = block<int>(base, models[0]->sdata->nodes->nNodes);
  int widest = 0, code = 0;
  for (int i = 0; i < n; ++i) widest = models[i]->smodel->nCols > widest ? models[i]->smodel->nCols : widest;
  int *columnIndex = block<int>(base, widest);
  for (int k = 0; k < widest; ++k) columnIndex[k] = k + 1;
  for (int i = 0; i < n; ++i) {
    BendersMethod *method = block<BendersMethod>(base, 1);
    models[i]->smethod = method;
    method->nodeOwner = nodeOwner;
    method->storeNode = block<int>(base, models[i]->smodel->nodeList->nNodes);
    storeNumbers(models[i], method->storeNode);
    method->statusBuffer = qrtinit_Cbuffer(base, 1, sizeof(StatusRecord));
    if (children[i] > 0) {
      code = qrts_Cmstr(base, models[i], children[i], largeBounds);
      if (code >= 2) return code;
      method->master->columnIndex = columnIndex;
    }
    if (!ownNodes(models[i], i + 1)) return 2;
  }
  for (int i = 0; i < n; ++i) {
    if (parents[i] == 0) continue;
    QRTStoch *parent = models[parents[i] - 1];
    if (!checkVirtualNodes(models[i], i + 1, parent)) return 2;
    code = qrts_Cslav(base, models[i], parent);
  }
  return code;
}

}  // namespace

int qrtbenders_Cinit(QRTStoch **models, int nModels, const int *parents, int maxIterations, int *root, int largeBounds) {
  (void)maxIterations;  // rows for cuts come as they are needed
  if (!shareData(models, nModels)) return 2;
  QRTStoch *base = models[0]->parent;
  int *children = block<int>(base, nModels);
  if (!walkTree(parents, nModels, children, root)) return 2;
  const int code = makeRecords(base, models, nModels, parents, children, largeBounds);
  if (code >= 2 || *root == 0) return code;
  BendersMethod *method = methodOf(models[*root - 1]);
  if (method->master) method->master->proposalSeq = 0;
  qrtbenders_Cputstat(models[*root - 1], 2, -SCN_INFINITY);
  return code;
}
