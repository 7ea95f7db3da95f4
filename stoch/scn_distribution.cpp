// The distribution of scenario objective values: what each scenario costs on its own, with mean and deviation.
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <cstring>

#include "frame/messages.h"
#include "model/model_store.h"
#include "stoch/scn_generation.h"

namespace {

constexpr int NULL_ARRAY_EXIT = 99;

// Cost of a node with its own data, not weighted by its probability. *code 0 or 2.
double nodeValue(QRTStoch *stoch, const TreeNode &node, int *code) {
  const StochModel *smodel = stoch->smodel;
  const CoreData *core = stoch->sdata->core;
  const double *x = smodel->model->solution + smodel->model->Imaxrows + node.colOffset;
  const double *cost = core->objective + core->colStageStart[node.stage - 1] - 1;
  double value = 0.0;
  for (int k = 0; k < node.nCols; ++k) value += cost[k] * x[k];
  if (node.parent == 0 || node.record == 0) return value;
  NodeGroup group;
  *code = qrts_readGroup("qrts_get2ObjDistribution", stoch->sdata, node.record, node.stage, &group);
  if (*code >= 2) return value;
  // Cost differences stand in the extended row of the diagonal block, the last of the group.
  const int costRow = rowsOfStage(core, node.stage) + EXT_OBJECTIVE;
  for (int e = group.blockStart[node.stage - 1] - 1; e < group.blockStart[node.stage] - 1; ++e)
    if (group.rows[e] == costRow && group.cols[e] <= node.nCols) value += group.values[e] * x[group.cols[e] - 1];
  return value;
}

// Turns node values into sums from the root: each stage after the one before it.
void sumDownTheTree(const NodeList *list, int nStages, double *values) {
  const int64_t bytes = (int64_t(list->nNodes) + 1) * int64_t(sizeof(int));
  int *order = static_cast<int *>(qrts__alloc("qrts_get2ObjDistribution", bytes, 1));
  int *place = static_cast<int *>(qrts__alloc("qrts_get2ObjDistribution", (int64_t(nStages) + 1) * int64_t(sizeof(int)), 0));
  for (int s = 1; s < nStages; ++s) place[s] = place[s - 1] + list->stageCount[s - 1];
  for (int n = 0; n < list->nNodes; ++n) order[place[list->nodes[n].stage - 1]++] = n;
  for (int k = 0; k < list->nNodes; ++k) {
    const int parent = list->nodes[order[k]].parent;
    if (parent) values[order[k]] += values[parent - 1];
  }
  free(order);
  free(place);
}

int collect(QRTStoch *stoch, int n, int *ids, double *probabilities, double *values, double *mean, double *deviation) {
  const NodeList *list = stoch->smodel->nodeList;
  const int64_t bytes = (int64_t(list->nNodes) + 1) * int64_t(sizeof(double));
  double *nodeValues = static_cast<double *>(qrts__alloc("qrts_get2ObjDistribution", bytes, 0));
  int code = 0;
  for (int k = 0; k < list->nNodes && code < 2; ++k) nodeValues[k] = nodeValue(stoch, list->nodes[k], &code);
  NodeSummaryList *summary = nullptr;
  if (code < 2) code = qrts_Csget(stoch, &summary);
  double sum = 0.0, squares = 0.0;
  if (code < 2) {
    sumDownTheTree(list, stoch->sdata->core->nStages, nodeValues);
    const int leaves = n < summary->nLeaves ? n : summary->nLeaves;
    for (int i = 0; i < leaves; ++i) {
      const TreeNode &leaf = list->nodes[summary->leaves[i] - 1];
      ids[i] = leaf.scenario;
      probabilities[i] = leaf.probability;
      values[i] = nodeValues[summary->leaves[i] - 1];
      sum += leaf.probability * values[i];
      squares += leaf.probability * values[i] * values[i];
      if (stoch->ifDebug)
        printf(" \t In qrts_get2ObjDistribution \n ---- Scenario %d value %f probability %f \n", ids[i], values[i],
               probabilities[i]);
    }
  }
  const double variance = squares - sum * sum;
  *mean = sum;
  *deviation = variance > 0.0 ? sqrt(variance) : 0.0;
  qrts_freeSummary(summary);
  free(nodeValues);
  return code < 2 ? 0 : code;
}

}  // namespace

int qrts_get2ObjDistribution(QRTStoch *stoch, int n, int *ids, double *probabilities, double *values, double *mean,
                             double *deviation) {
  if (!ids || !probabilities || !values) {
    printf("\n ERROR ! One of scenid[], scenobj[], scenprob[] is NULL !\n");
    qrts_endProcess(NULL_ARRAY_EXIT);
  }
  if (!stoch->smodel || !stoch->smodel->model || !stoch->smodel->model->solution) {
    messageC(1, "Stochastic Model");
    messageC(2, "qrts_get2ObjDistribution");
    stochMessage(MSG_BAD_STRUCTURE);
    return 2;
  }
  if (qrts_unpackCore(stoch->sdata) >= 2) return 2;
  if (stoch->ifDebug) printf(" \n \t Distribution of Optimal Values \n \n");
  const int code = collect(stoch, n, ids, probabilities, values, mean, deviation);
  if (stoch->ifDebug && code == 0) {
    printf(" \t \t Mean Value: \t \t %f \n", *mean);
    printf(" \t \t Standard Deviation: \t %f \n", *deviation);
  }
  return code;
}

int qrts_print2ObjDistribution(QRTStoch *stoch) {
  const int n = qrts_get2Numleaf(stoch);
  const int64_t room = n > 0 ? n : 1;
  int *ids = static_cast<int *>(qrts__alloc("qrts_print2ObjDistribution", room * int64_t(sizeof(int)), 0));
  double *probabilities = static_cast<double *>(qrts__alloc("qrts_print2ObjDistribution", room * int64_t(sizeof(double)), 0));
  double *values = static_cast<double *>(qrts__alloc("qrts_print2ObjDistribution", room * int64_t(sizeof(double)), 0));
  double mean = 0.0, deviation = 0.0;
  const int code = qrts_get2ObjDistribution(stoch, n, ids, probabilities, values, &mean, &deviation);
  if (code < 2) {
    stochMessage(MSG_DISTRIBUTION_HEAD);
    for (int i = 0; i < n; ++i) {
      messageI(1, ids[i]);
      messageD(1, values[i]);
      messageD(2, probabilities[i]);
      stochMessage(MSG_DISTRIBUTION_LINE);
      if (stoch->ifDebug)
        printf(" \t In qrts_print2ObjDistribution \n Scenario %d value %f probability %f \n", ids[i], values[i],
               probabilities[i]);
    }
    messageD(1, mean);
    messageD(2, deviation);
    stochMessage(MSG_DISTRIBUTION_MEAN);
    if (stoch->ifDebug) {
      printf(" \t \t Mean Value: \t \t %f \n", mean);
      printf(" \t \t Standard Deviation: \t %f \n", deviation);
    }
  }
  free(ids);
  free(probabilities);
  free(values);
  return code;
}
