// Solutions by node and by scenario: the path of a scenario through the tree, and the model's values along it.
#include <cmath>
#include <cstdio>
#include <cstdlib>

#include "frame/messages.h"
#include "model/model_store.h"
#include "stoch/scn_generation.h"

namespace {

constexpr double SHOWN_AS_ZERO = 1e-08;

// The vector asked for, and how a stage's entries lie in it and in the core.
struct Side {
  const double *vector;  // the model's rows or columns, primal or dual
  bool rows;
};

Side sideOf(const QRTModel *model, int rows, int dual) {
  const double *rim = dual ? model->dual : model->solution;
  return {rows ? rim : rim + model->Imaxrows, rows != 0};
}

bool hasModel(const QRTStoch *stoch, const char *caller) {
  if (!stoch->smodel || !stoch->smodel->model || !stoch->smodel->nodeList) {
    messageC(1, "Stochastic Model");
    messageC(2, caller);
    stochMessage(MSG_BAD_STRUCTURE);
    return false;
  }
  if (qrt_validateModel(stoch->smodel->model) != 0 || !stoch->smodel->model->solution) {
    messageC(1, caller);
    stochMessage(MSG_MODEL_INVALID);
    return false;
  }
  return true;
}

// What every getter needs: a model, the core, the tree, and a scenario and stage that exist.
bool ready(QRTStoch *stoch, const char *caller, int scenario, int stage) {
  if (!hasModel(stoch, caller) || qrts_unpackCore(stoch->sdata) >= 2 || qrts_needNodes(stoch->sdata) >= 2) return false;
  if (scenario < 1 || scenario > stoch->sdata->scenarios->count) {
    messageC(1, "scenarios");
    messageI(1, scenario);
    messageI(2, stoch->sdata->scenarios->count);
    stochMessage(MSG_TOO_MANY);
    return false;
  }
  if (stage < 1 || stage > stoch->sdata->core->nStages) {
    stochMessage(MSG_BAD_STAGE);
    return false;
  }
  return true;
}

// The model's node for a scenario and stage, or null outside the model.
const TreeNode *modelNode(QRTStoch *stoch, int scenario, int stage) {
  int rc, storeNode;
  qrts_find(&rc, stoch->sdata, scenario - 1, stage, stage, &storeNode);
  if (rc) return nullptr;
  const int position = placeOfNode(stoch->smodel, storeNode);
  return position ? &stoch->smodel->nodeList->nodes[position - 1] : nullptr;
}

int stageSize(const CoreData *core, int stage, bool rows) {
  return rows ? rowsOfStage(core, stage) : colsOfStage(core, stage);
}

// Entries of one node in sorted order: values[place(k)], indices[place(k)] for k = 0 .. size-1.
template <class Place> void fillStage(const TreeNode *node, int size, const Side &side, Place place, double *values, int *indices) {
  // A virtual node has no rows in the model.
  const bool present = node && !(side.rows && node->isVirtual);
  const int offset = !present ? 0 : side.rows ? node->rowOffset : node->colOffset;
  for (int k = 0; k < size; ++k) {
    values[place(k)] = present ? side.vector[offset + k] : 0.0;
    indices[place(k)] = present ? offset + k : -1;
  }
}

int getStage(QRTStoch *stoch, const char *caller, int scenario, int stage, int rows, int dual, double *values, int *indices) {
  if (!ready(stoch, caller, scenario, stage)) return 2;
  const int size = stageSize(stoch->sdata->core, stage, rows != 0);
  const Side side = sideOf(stoch->smodel->model, rows, dual);
  fillStage(modelNode(stoch, scenario, stage), size, side, [](int k) { return k; }, values, indices);
  for (int k = 0; k < size; ++k)
    if (fabs(values[k]) < SHOWN_AS_ZERO) values[k] = 0.0;
  return 0;
}

bool arraysPresent(const double *values, const int *indices, int count) {
  if (values && indices) return true;
  printf("\n Error ! The solution[%d] and tav_indx[%d] arrays are not malloc-ed !\n", count, count);
  return false;
}

}  // namespace

void qrts_find(int *rc, StochData *sdata, int scenario, int first, int last, int *out) {
  *rc = first > last ? 1 : 0;
  if (*rc) return;
  *rc = 2;
  if (scenario < 0 || scenario >= sdata->scenarios->count || first < 1 || last > sdata->core->nStages) return;
  if (qrts_needNodes(sdata) >= 2) return;
  const TreeNode *nodes = sdata->nodes->nodes;
  int node = sdata->scenarios->table[scenario].lastNode;
  while (nodes[node - 1].stage > last) node = nodes[node - 1].parent;
  for (int k = last - first; k >= 0; --k) {
    out[k] = node;
    node = nodes[node - 1].parent;
  }
  *rc = 0;
}

int qrts_get3NodeSolution(QRTStoch *stoch, int scenario, int rows, int dual, double *values, int *indices) {
  if (!ready(stoch, "qrts_get3NodeSolution", scenario, 1)) return 2;
  const CoreData *core = stoch->sdata->core;
  const Side side = sideOf(stoch->smodel->model, rows, dual);
  for (int stage = 1; stage <= core->nStages; ++stage) {
    const int first = rows ? core->rowStageStart[stage - 1] : core->colStageStart[stage - 1];
    const int *perm = rows ? core->rowPerm : core->colPerm;
    const auto inputPlace = [perm, first](int k) { return perm[first - 1 + k] - 1; };
    fillStage(modelNode(stoch, scenario, stage), stageSize(core, stage, rows != 0), side, inputPlace, values, indices);
  }
  return 0;
}

int qrts_get2NodeColumnSolution(QRTStoch *stoch, int scenario, int stage, int dual, double *values, int *indices) {
  return getStage(stoch, "qrts_get2NodeColumnSolution", scenario, stage, 0, dual, values, indices);
}

int qrts_get2NodeRowSolution(QRTStoch *stoch, int scenario, int stage, int dual, double *values, int *indices) {
  return getStage(stoch, "qrts_get2NodeRowSolution", scenario, stage, 1, dual, values, indices);
}

int qrts_get2NodeSolution(QRTStoch *stoch, int scenario, int stage, int rows, int dual, double *values, int *indices) {
  const int count = rows ? qrts_get2NumrowsAtStage(stoch, stage) : qrts_get2NumcolsAtStage(stoch, stage);
  if (!arraysPresent(values, indices, count)) return 2;
  return rows ? qrts_get2NodeRowSolution(stoch, scenario, stage, dual, values, indices)
              : qrts_get2NodeColumnSolution(stoch, scenario, stage, dual, values, indices);
}

int qrts_get2ScenarioSolution(QRTStoch *stoch, int scenario, int rows, int dual, double *values, int *indices) {
  if (!arraysPresent(values, indices, 0)) return 2;
  if (!ready(stoch, "qrts_get2ScenarioSolution", scenario, 1)) return 2;
  const CoreData *core = stoch->sdata->core;
  int at = 0;
  for (int stage = 1; stage <= core->nStages; ++stage) {
    const int code = qrts_get2NodeSolution(stoch, scenario, stage, rows, dual, values + at, indices + at);
    if (code >= 2) return code;
    at += stageSize(core, stage, rows != 0);
  }
  return 0;
}

int qrts_print2NodeSolution(QRTStoch *stoch, int scenario, int stage, int rows, int dual) {
  if (!ready(stoch, "qrts_print2NodeSolution", scenario, stage)) return 2;
  const int count = stageSize(stoch->sdata->core, stage, rows != 0);
  const int64_t room = int64_t(count) + 1;
  double *values = static_cast<double *>(qrts__alloc("qrts_print2NodeSolution", room * int64_t(sizeof(double)), 0));
  int *indices = static_cast<int *>(qrts__alloc("qrts_print2NodeSolution", room * int64_t(sizeof(int)), 0));
  const int code = qrts_get2NodeSolution(stoch, scenario, stage, rows, dual, values, indices);
  if (code < 2) {
    messageI(1, scenario);
    messageI(2, count);
    messageC(1, rows ? "rows" : "columns");
    messageI(3, stage);
    stochMessage(MSG_SOLUTION_OF);
    messageC(1, rows ? "Rows" : "Columns");
    messageC(2, rows ? "Activities" : "Solutions");
    stochMessage(MSG_SOLUTION_HEAD);
    for (int k = 0; k < count; ++k) {
      if (!(fabs(values[k]) > SHOWN_AS_ZERO)) continue;
      messageI(1, indices[k]);
      messageD(1, values[k]);
      stochMessage(MSG_SOLUTION_LINE);
    }
  }
  free(values);
  free(indices);
  return code;
}
