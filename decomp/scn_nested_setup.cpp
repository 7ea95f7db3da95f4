// Before the first visit of a nested decomposition: the tree of models is checked, each model gets its records, its
// recourse columns and its bound sets.
#include <cstdio>
#include <cstdlib>
#include <cstring>

#include "decomp/scn_nested.h"
#include "decomp/scn_solving.h"
#include "frame/messages.h"
#include "model/model_store.h"

namespace {

constexpr int LARGE_BOUNDS = 3;     // activeBounds of a model whose free columns have large bounds
constexpr int FIRST_SEQ = 20;       // behind the model's number
constexpr int MSG_ROLE = 830;       // "@C01 @C02 @I01"
constexpr double TOLERANCE = 1.0e-06;

QRTStoch *baseOf(QRTStoch *model) { return model->parent; }

// Counts children [n] and finds the root of the tree of models. False after a text.
bool walkModelTree(const int *parents, int n, int *children, int *root) {
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

// Who holds a node as a real one, for every node of the store. False after a text.
bool ownNodes(const NodeList *store, int nModels, int *const *lists, const int *counts, int *owner) {
  for (int i = 0; i < nModels; ++i)
    for (int p = 0; p < counts[i]; ++p) {
      int &place = owner[lists[i][p] - 1];
      if (place != 0) {
        printf("Real node %d appears in two models.\n", lists[i][p]);
        return false;
      }
      place = i + 1;
    }
  for (int n = 0; n < store->nNodes; ++n) {
    const int parent = store->nodes[n].parent;
    if (owner[n] == 0 || parent == 0 || owner[parent - 1] != 0) continue;
    printf("The parent of node %d does not appear in any model.\n", n + 1);
    return false;
  }
  return true;
}

NestedMaster *newMaster(QRTStoch *base, QRTStoch *sub, int nChildren) {
  NestedMaster *master = nestedBlock<NestedMaster>(base, 1);
  const NodeList *list = sub->smodel->nodeList;
  const int nCols = sub->smodel->nCols;
  master->children = nestedBlock<NestedChild>(base, nChildren);
  master->childTasks = nestedBlock<int>(base, nChildren);
  master->childModels = nestedBlock<int>(base, nChildren);
  master->cutBuffer = nestedBlock<double>(base, nCols);
  master->cutIndex = nestedBlock<int>(base, nCols);
  master->columnIndex = nestedBlock<int>(base, nCols);
  for (int k = 0; k < list->nNodes; ++k)
    for (int c = 0; c < list->nodes[k].nCols; ++c) master->columnIndex[list->nodes[k].colOffset + c] = list->nodes[k].colOffset + c + 1;
  return master;
}

// Records of a model that has none yet.
NestedModel *newRecords(QRTStoch *base, QRTStoch *sub, int nChildren, int parentModel) {
  NestedModel *rec = nestedBlock<NestedModel>(base, 1);
  const StochModel *smodel = sub->smodel;
  const NodeList *list = smodel->nodeList;
  sub->smethod = rec;
  rec->nCols = rec->nReal = smodel->nCols;
  rec->nRows = smodel->nRows;
  for (int k = list->nNodes - list->nVirtual; k < list->nNodes; ++k) rec->nReal -= list->nodes[k].nCols;
  rec->storeNode = nestedBlock<int>(base, list->nNodes);
  storeNumbers(sub, rec->storeNode);
  rec->weight = weightOfModel(smodel);
  if (nChildren > 0) rec->masterPart = newMaster(base, sub, nChildren);
  if (parentModel > 0) {
    rec->slavePart = nestedBlock<NestedSlave>(base, 1);
    rec->slavePart->cut = nestedBlock<double>(base, rec->nCols - rec->nReal);
  }
  return rec;
}

BoundSet *newSet(QRTStoch *base, int nCols, int nRows) {
  BoundSet *set = nestedBlock<BoundSet>(base, 1);
  set->colLower = nestedBlock<double>(base, nCols);
  set->colUpper = nestedBlock<double>(base, nCols);
  set->rowLower = nestedBlock<double>(base, nRows);
  set->rowUpper = nestedBlock<double>(base, nRows);
  return set;
}

// The store grows by itself: room is for a beginning.
int makeRoom(QRTModel *lp, int maxiter, int nChildren) {
  const int64_t wanted = int64_t(maxiter) * nChildren, enough = 4 * int64_t(nChildren) + 50;
  const int64_t rows = int64_t(lp->Inumrows) + 1 + (wanted < enough ? wanted : enough);
  const int code = qrt_setImaxrows(lp, rows > MAX_ROWS ? MAX_ROWS : int(rows));
  return code >= 2 ? code : qrt_setImaxcols(lp, lp->Inumcols + nChildren + 1);
}

// Elements, recourse columns and bounds of a model that an earlier run has not prepared.
int prepare(QRTStoch *sub, int modelNumber, int nChildren) {
  NestedModel *rec = nestedOf(sub);
  QRTModel *lp = sub->smodel->model;
  int code = nChildren > 0 ? makeRoom(lp, sub->maxiter, nChildren) : 0;
  if (code >= 2) return code;
  if (lp->Inumblocks == 0) {
    sayNumber(MSG_FORMING_NESTED, modelNumber);
    code = qrts_load2BaseModel(sub, 1);
    if (code >= 2) return code;
  }
  rec->fingerprint = nested_fingerprint(sub);
  divideCosts(lp, rec->weight);
  sub->costWeight = rec->weight;
  if (nChildren > 0) code = qrts_Cmstr0(sub, nChildren);
  if (code >= 2) return code;
  if (nChildren > 0 && sub->ifLargeBounds) {
    messageC(1, "Adding large bounds to");
    messageC(2, "Master problem");
    sayNumber(MSG_ROLE, modelNumber);
    qrtnested_Clgbd(sub);
  }
  if (rec->slavePart) qrtnested_Cptbd(sub);
  quieten(lp);
  qrt_setCompressOff(lp);  // the virtual columns' reduced costs are what a cut is made of
  return 0;
}

}  // namespace

int qrtnested_Cinitmgr(QRTStoch *stoch, int nModels, int *const *lists, const int *counts, const int *parents, int *childCounts,
                       int *root) {
  if (!stoch->sdata) {
    messageC(1, "Stochastic Data");
    messageC(2, "qrts_nestedLSolve");
    stochMessage(MSG_BAD_STRUCTURE);
    return 2;
  }
  memset(childCounts, 0, size_t(nModels) * sizeof(int));
  if (!walkModelTree(parents, nModels, childCounts, root)) return 2;
  const NodeList *store = stoch->sdata->nodes;
  int *owner = static_cast<int *>(qrts__alloc("qrts_nestedLSolve", int64_t(store->nNodes) * int64_t(sizeof(int)), 0));
  const bool good = ownNodes(store, nModels, lists, counts, owner);
  free(owner);
  return good ? 0 : 2;
}

int qrtnested_Cinitmdl(QRTStoch *stoch, QRTStoch *sub, int nChildren, int parentModel, int modelNumber) {
  NestedModel *rec = nestedOf(sub);
  if (!rec) rec = newRecords(stoch, sub, nChildren, parentModel);
  qrts_copy2SolverOptions(sub, stoch);
  rec->modelNumber = modelNumber;
  rec->estimated = -SCN_INFINITY;
  rec->actual = rec->bestValue = SCN_INFINITY;
  rec->relGap = SCN_INFINITY;
  rec->solveCount = rec->settled = 0;
  if (NestedSlave *slave = rec->slavePart) {
    slave->proposalSeq = slave->isRay = slave->changed = 0;
    slave->parentModel = parentModel;
  }
  if (NestedMaster *master = rec->masterPart) {
    master->numChildren = 0;  // they enter one by one
    master->proposalSeq = modelNumber + FIRST_SEQ;
    master->convergence = master->proposalKind = master->ownRay = master->allReported = 0;
  }
  if (parentModel > 0) {
    NestedMaster *above = nestedOf(stoch->submodels[parentModel - 1])->masterPart;
    above->childModels[above->numChildren++] = modelNumber;
  }
  return qrts_unpackCore(stoch->sdata);
}

int nested_forgetCuts(QRTStoch *sub) {
  NestedMaster *master = nestedOf(sub)->masterPart;
  QRTModel *lp = sub->smodel->model;
  const int first = nestedOf(sub)->nRows + 1, n = master->numCuts;
  if (n == 0) return 0;
  int *which = static_cast<int *>(qrts__alloc("qrts_nestedLSolve", int64_t(n) * int64_t(sizeof(int)), 0));
  for (int k = 0; k < n; ++k) which[k] = first + k;
  const int code = qrt_deleteRows(lp, n, which);
  free(which);
  for (int j = 0; j < master->numChildren; ++j) {
    lp->lower[lp->Imaxrows + nestedOf(sub)->nCols + 1 + j] = 0.0;
    master->children[j].freed = 0;
  }
  master->numCuts = nestedOf(sub)->cutsActive = 0;
  return code;
}

int qrtnested_Cinittav(QRTStoch *sub, int modelNumber, int nChildren) {
  NestedModel *rec = nestedOf(sub);
  int code = 0;
  if (rec->sense == 0.0) code = prepare(sub, modelNumber, nChildren);
  // Cuts bound the value of the program in one sense. In the other they say nothing.
  else if (rec->sense != sub->optmaxmin && rec->masterPart) code = nested_forgetCuts(sub);
  if (code >= 2) return code;
  rec->sense = sub->optmaxmin;
  QRTModel *lp = sub->smodel->model;
  if (rec->masterPart) {
    rec->masterPart->freedNow = 1;
    lp->objective[lp->Imaxrows + rec->nCols] = rec->sense;  // the total bounds the program from below when it is minimised
  }
  if (rec->slavePart) qrtnested_Cgtbd(sub, BOUNDS_ORIGINAL);
  qrt_setRmaxmin(lp, rec->sense);
  if (qrt_getRtolpinf(lp) > TOLERANCE) qrt_setRtolpinf(lp, TOLERANCE);
  if (qrt_getRtoldinf(lp) > TOLERANCE) qrt_setRtoldinf(lp, TOLERANCE);
  return 0;
}

void qrtnested_Cptbd(QRTStoch *sub) {
  NestedModel *rec = nestedOf(sub);
  if (!rec->rayBounds) {
    rec->originalBounds = newSet(baseOf(sub), rec->nReal, rec->nRows);
    rec->rayBounds = newSet(baseOf(sub), rec->nReal, rec->nRows);
    rec->anchorBounds = newSet(baseOf(sub), rec->nReal, rec->nRows);
  }
  makeBoundSets(sub->smodel->model, rec->originalBounds, rec->rayBounds, rec->anchorBounds, rec->nReal, rec->nRows);
  rec->activeBounds = BOUNDS_ORIGINAL;
}

void qrtnested_Clgbd(QRTStoch *sub) {
  NestedModel *rec = nestedOf(sub);
  QRTModel *lp = sub->smodel->model;
  double *lower = lp->lower + lp->Imaxrows, *upper = lp->upper + lp->Imaxrows;
  rec->saved = newSet(baseOf(sub), rec->nReal, 0);
  for (int j = 0; j < rec->nReal; ++j) {
    rec->saved->colLower[j] = lower[j];
    rec->saved->colUpper[j] = upper[j];
    if (lower[j] <= -SCN_INFINITY) lower[j] = -LARGE_BOUND;
    if (upper[j] >= SCN_INFINITY) upper[j] = LARGE_BOUND;
  }
  rec->activeBounds = LARGE_BOUNDS;
}

void qrtnested_Cgtbd(QRTStoch *sub, int which) {
  NestedModel *rec = nestedOf(sub);
  const NestedMaster *master = rec->masterPart;
  const int cuts = master ? master->numCuts : 0;
  if (which == rec->activeBounds && rec->cutsActive == cuts) return;
  const BoundSet *set = chooseBounds(which, rec->originalBounds, rec->rayBounds, rec->anchorBounds);
  if (!set) return;
  QRTModel *lp = sub->smodel->model;
  putBounds(lp, set, rec->nReal, rec->nRows);
  for (int k = 0; k < cuts; ++k) lp->upper[rec->nRows + 1 + k] = which == BOUNDS_RAY ? 0.0 : master->cutRhs[k];
  rec->activeBounds = which;
  rec->cutsActive = cuts;
}

const char *nestedModel_check(const QRTStoch *sub) {
  const NestedModel *rec = nestedOf(sub);
  const QRTModel *lp = sub->smodel->model;
  const NestedMaster *master = rec->masterPart;
  if (lp->Inumrows != rec->nRows + (master ? 1 + master->numCuts : 0)) return "the model has other rows than its nodes, a link row and cuts";
  if (lp->Inumcols != rec->nCols + (master ? 1 + master->numChildren : 0)) return "the model has other columns than its nodes and recourse";
  if (rec->slavePart && rec->activeBounds != LARGE_BOUNDS) {
    const BoundSet *set = rec->activeBounds == BOUNDS_RAY ? rec->rayBounds : rec->originalBounds;
    for (int j = 0; j < rec->nReal; ++j)
      if (lp->lower[lp->Imaxrows + j] != set->colLower[j] || lp->upper[lp->Imaxrows + j] != set->colUpper[j])
        return "a real column has not the bounds of the active set";
  }
  for (int j = rec->nReal; j < rec->nCols; ++j)
    if (rec->solved && lp->lower[lp->Imaxrows + j] != lp->upper[lp->Imaxrows + j]) return "a virtual column is not fixed";
  if (!master) return nullptr;
  for (int k = 0; k < rec->cutsActive; ++k)
    if (lp->upper[rec->nRows + 1 + k] != (rec->activeBounds == BOUNDS_RAY ? 0.0 : master->cutRhs[k])) return "a cut row has another bound than its cut";
  for (int j = 0; j < master->numChildren; ++j)
    for (int v = 0; v < master->children[j].numNodes; ++v)
      if (placeOfNode(sub->smodel, master->children[j].nodes[v]) == 0) return "a child's virtual node is not in the model";
  return nullptr;
}
