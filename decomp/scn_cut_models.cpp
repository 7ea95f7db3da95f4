// From node lists to a list of models: each is an object that shares the data of the one it was cut from.
#include <cstdio>
#include <cstdlib>
#include <cstring>

#include "decomp/scn_benders.h"
#include "decomp/scn_solving.h"
#include "frame/entry_frame.h"
#include "frame/messages.h"

namespace {

constexpr int MSG_FORMING = 830;

// A cut on its way to models.
struct Cut {
  int **lists;
  int *counts, *parents;
  int n;
};

void freeCut(Cut *cut) {
  for (int b = 0; b < cut->n; ++b) free(cut->lists[b]);
  free(cut->lists);
  free(cut->counts);
  free(cut->parents);
}

// How the three entries differ.
struct Manner {
  const char *allocator, *masterRole, *subRole;
  int worstLoad;      // results of loading above this give 0
};

void refuseBelowOne(int value, const char *text) {
  if (value >= 1) return;
  fputs(text, stdout);
  qrts_endProcess(0);
}

// Whole model described and filled. 0, -1 or, with `filled` failing, 1.
int makeWholeModel(QRTStoch *stoch) {
  if (!stoch->smodel) {
    printf("\n Warning! No Model has been described.  Invoking qrts_describeFullModel(stoch,1) ...\n");
    if (qrts_describe2FullModel(stoch, 0, 1) < 0) return -1;
  }
  if (stoch->smodel->model->Inumblocks == 0 && qrts_load2BaseModel(stoch, 1) > 0) return 1;
  return 0;
}

void tellForming(const char *role, int number) {
  messageC(1, "Forming TAV model for");
  messageC(2, role);
  messageI(1, number);
  stochMessage(MSG_FORMING);
}

// Those of the store, once for all models of a cut. False after a message.
bool makeProbabilities(QRTStoch *stoch) {
  int rc = 0;
  if (qrts_needNodes(stoch->sdata) < 2) qrts_prob(&rc, stoch->sdata->nodes, stoch->sdata->core->nStages, 1);
  return rc < 2;
}

QRTStoch *newMember(QRTStoch *stoch, int i, int parent) {
  char name[192];
  snprintf(name, sizeof name, i == 0 ? "%.127s-Master[%d]" : "%.127s-Sub[%d]", stoch->name, i + 1);
  QRTStoch *model = qrts_new3Stoch(stoch->baseModel->context, stoch, name);
  model->sdata = stoch->sdata;
  model->ownsData = 0;
  model->masterModel = parent;
  qrts_copy2SolverOptions(model, stoch);
  model->probabilitiesStand = 1;  // see makeProbabilities()
  return model;
}

// Model i from its list. 1, -1 when it can't be described, 0 when it can't be filled.
int formModel(QRTStoch *stoch, const Cut *cut, int i, const Manner *manner, int load) {
  QRTStoch *model = newMember(stoch, i, cut->parents ? cut->parents[i] : i > 0);
  stoch->submodels[i] = model;
  tellForming(i == 0 ? manner->masterRole : manner->subRole, stoch->smodel->tag + 1 + i);
  int maxRows, maxCols;
  const int described = i == 0 ? qrts_describe2MasterModel(model, 1, cut->counts[0], cut->lists[0], 0, cut->n, &maxRows, &maxCols)
                               : qrts_describe2SubModel(model, i + 1, cut->counts[i], cut->lists[i], 0);
  model->probabilitiesStand = 0;
  if (described < 0) return -1;
  if (load && qrts_load2BaseModel(model, 1) > manner->worstLoad) return 0;
  model->nNodeList = cut->counts[i];
  const size_t bytes = size_t(cut->counts[i]) * sizeof(int);
  model->nodeList = static_cast<int *>(qrts__alloc(manner->allocator, int64_t(bytes), 0));
  memcpy(model->nodeList, cut->lists[i], bytes);
  return 1;
}

int formModels(QRTStoch *stoch, Cut *cut, const Manner *manner, int load) {
  stoch->submodels = static_cast<QRTStoch **>(qrts__alloc(manner->allocator, int64_t(cut->n) * int64_t(sizeof(QRTStoch *)), 0));
  stoch->nSubmodels = (stoch->nSubmodels > 0 ? stoch->nSubmodels : 0) + cut->n;
  messageI(1, cut->n);
  stochMessage(MSG_DECOMPOSING);
  int result = makeProbabilities(stoch) ? cut->n : -1;
  for (int i = 0; i < cut->n && result > 0; ++i) {
    const int formed = formModel(stoch, cut, i, manner, load);
    if (formed == 1) continue;
    result = formed;
  }
  freeCut(cut);
#ifdef QRT_SELF_CHECKS
  const char *broken = result > 0 ? submodels_check(stoch) : nullptr;
  if (broken) {
    fprintf(stderr, "cut tree: %s\n", broken);
    abort();
  }
#endif
  return result;
}

constexpr Manner AT_STAGE = {"qrts_bendersLSolve", "Benders' Master problem", "Benders' subproblem", 1};
constexpr Manner BY_ROWS = {"qrts_bendersLSolve", "Benders' Master problem", "Benders' subproblem", 0};
constexpr Manner BY_NODES = {"qrts_nestedLSolve", "Nested Benders' Master problem", "Nested Benders' subproblem", 0};

}  // namespace

int qrts_decompose2CutAtStage(QRTStoch *stoch, int cutperiod, int load) {
  refuseBelowOne(cutperiod, "\n ERROR! Set oModel->cutperiod > 0\n");
  qrts_deleteSubmodels(stoch);
  const int whole = makeWholeModel(stoch);
  if (whole) return whole < 0 ? -1 : 0;
  Cut cut = {};
  if (qrts_Cpcut(stoch, cutperiod, &cut.lists, &cut.counts, &cut.n) >= 2) return -1;
  return formModels(stoch, &cut, &AT_STAGE, load);
}

int qrts_decompose2CutByRowSize(QRTStoch *stoch, int minNumRows, int load) {
  refuseBelowOne(minNumRows, "\n ERROR! Set oModel->minNumRows > 0\n");
  qrts_deleteSubmodels(stoch);
  const int whole = makeWholeModel(stoch);
  if (whole) return whole < 0 ? -1 : 0;
  Cut cut = {};
  if (qrts_Cdcut(stoch, minNumRows, &cut.lists, &cut.counts, &cut.parents, &cut.n) >= 2) return -1;
  return formModels(stoch, &cut, &BY_ROWS, load);
}

int qrts_decompose2CutByNodeSize(QRTStoch *stoch, int maxsubmodels, int load) {
  refuseBelowOne(maxsubmodels, "\n ERROR! Set oModel->maxsubmodels to a number > 0.\n");
  qrts_deleteSubmodels(stoch);
  const int whole = makeWholeModel(stoch);
  if (whole) return whole < 0 ? -1 : 0;
  const int wanted = stoch->smodel->nRows / 9 * 10 / maxsubmodels;
  Cut cut = {};
  if (qrts_Cdcut(stoch, wanted, &cut.lists, &cut.counts, &cut.parents, &cut.n) >= 2) return -1;
  if (cut.n > maxsubmodels) {
    if (qrts_Cncut(stoch, maxsubmodels, cut.lists, cut.counts, cut.parents, cut.n) >= 2) {
      freeCut(&cut);
      return -1;
    }
    cut.n = maxsubmodels;
  }
  return formModels(stoch, &cut, &BY_NODES, load);
}

namespace {

int tagOf(const QRTStoch *stoch) { return stoch->smodel ? stoch->smodel->tag : 0; }

// What describing and filling a model would say of it.
void tellModel(int nNodes, int nVirtual, int nRows, int nCols, int nBlocks) {
  const auto count = [](const char *what, int n) {
    messageC(1, what);
    messageI(1, n);
    say(MSG_NODE_TOTAL);
  };
  if (!heard(MSG_NODE_TOTAL) && !heard(MSG_DECLARING) && !heard(MSG_BLOCK_TOTAL)) return;
  count("model nodes", nNodes + nVirtual);
  if (nVirtual > 0) {
    count("real nodes", nNodes);
    count("virtual nodes", nVirtual);
  }
  messageI(1, nRows);
  messageI(2, nCols);
  say(MSG_DECLARING);
  sayNumber(MSG_BLOCK_TOTAL, nBlocks);
}

}  // namespace

void tellSubproblem(const QRTStoch *stoch, int i, int nNodes, int nVirtual, int nRows, int nCols, int nBlocks) {
  if (heard(MSG_FORMING)) tellForming(AT_STAGE.subRole, tagOf(stoch) + 1 + i);
  tellModel(nNodes, nVirtual, nRows, nCols, nBlocks);
}

QRTStoch *formMasterAlone(QRTStoch *stoch, int **lists, const int *counts, int n, int nChild) {
  messageI(1, n);
  stochMessage(MSG_DECOMPOSING);
  if (!makeProbabilities(stoch)) return nullptr;
  QRTStoch *master = newMember(stoch, 0, 0);
  tellForming(AT_STAGE.masterRole, tagOf(stoch) + 1);
  int maxRows, maxCols;
  const int described = qrts_describe2MasterModel(master, 1, counts[0], lists[0], 0, nChild + 1, &maxRows, &maxCols);
  master->probabilitiesStand = 0;
  if (described >= 0 &&
      qrts_load2BaseModel(master, 1) <= AT_STAGE.worstLoad) {
    master->nNodeList = counts[0];
    const int64_t bytes = int64_t(counts[0]) * int64_t(sizeof(int));
    master->nodeList = static_cast<int *>(qrts__alloc(AT_STAGE.allocator, bytes, 0));
    memcpy(master->nodeList, lists[0], size_t(bytes));
    return master;
  }
  master->sdata = nullptr;
  qrts_delete2Stoch(master);
  return nullptr;
}

QRTStoch **qrts_get2Submodels(QRTStoch *stoch) {
  // While the L-shaped method runs, its subproblems take the form of objects only when somebody looks.
  if (stoch->nSubmodels > 0 && !stoch->submodels) qrts_decompose2CutAtStage(stoch, stoch->cutperiod, 1);
  if (stoch->nSubmodels > 0 && stoch->submodels) return stoch->submodels;
  printf(" Warning !  No decomposed submodels are present. \n");
  return nullptr;
}

void storeNumbers(const QRTStoch *model, int *out) {
  const StochModel *smodel = model->smodel;
  const NodeList *store = model->sdata->nodes;
  memset(out, 0, size_t(smodel->nodeList->nNodes) * sizeof(int));
  const int listed = model->nodeList ? model->nNodeList : store->nNodes;
  for (int p = 0; p < listed; ++p)
    for (int s = model->nodeList ? model->nodeList[p] : p + 1; s != 0; s = store->nodes[s - 1].parent) {
      const int k = placeOfNode(smodel, s);
      if (k == 0 || out[k - 1] != 0) break;
      out[k - 1] = s;
    }
}

const char *submodels_check(const QRTStoch *stoch) {
  if (stoch->nSubmodels <= 0) return nullptr;
  const int nStore = stoch->sdata->nodes->nNodes, n = stoch->nSubmodels;
  const char *fault = nullptr;
  int *owner = static_cast<int *>(qrts__alloc("submodels_check", int64_t(nStore) * int64_t(sizeof(int)), 0));
  int roots = 0;
  for (int i = 0; i < n && !fault; ++i) {
    const QRTStoch *model = stoch->submodels[i];
    if (model->masterModel < 0 || model->masterModel > n || model->masterModel == i + 1) fault = "a parent is no other model";
    roots += model->masterModel == 0;
    for (int p = 0; p < model->nNodeList && !fault; ++p) {
      if (owner[model->nodeList[p] - 1]) fault = "a node is real in two models";
      owner[model->nodeList[p] - 1] = i + 1;
    }
  }
  if (!fault && roots != 1) fault = "there is not one root model";
  for (int s = 0; s < nStore && !fault; ++s)
    if (stoch->smodel && placeOfNode(stoch->smodel, s + 1) && owner[s] == 0) fault = "a node is real in no model";
  for (int i = 0; i < n && !fault; ++i) {
    const QRTStoch *model = stoch->submodels[i];
    const int parent = model->masterModel;
    for (int p = 0; p < model->nNodeList && !fault && parent; ++p)
      for (int s = stoch->sdata->nodes->nodes[model->nodeList[p] - 1].parent; s && owner[s - 1] != i + 1;
           s = stoch->sdata->nodes->nodes[s - 1].parent) {
        if (placeOfNode(stoch->submodels[parent - 1]->smodel, s) == 0) fault = "a virtual node is not in the parent model";
        if (placeOfNode(model->smodel, s) == 0) fault = "an ancestor is not in its model";
      }
  }
  free(owner);
  return fault;
}
