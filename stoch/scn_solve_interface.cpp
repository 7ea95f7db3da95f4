// The public functions of generation, direct solve and solutions: each passes the entry frame and hands on.
#include "include/qrts_c_api.h"
#include "stoch/scn_entry.h"
#include "stoch/scn_generation.h"

extern "C" {

int qrts_estimateLPSize(QRTStoch *stoch) {
  return framed(stoch, __func__, 2, [=] { return qrts_estimate2LPSize(stoch); });
}
int qrts_describeFullModel(QRTStoch *stoch, int load) {
  return framed(stoch, __func__, 2, [=] { return qrts_describe2FullModel(stoch, 0, load); });
}
int qrts_describeSubModel(QRTStoch *stoch, int tag, int nNodes, int *nodeList, int probabilityFlag) {
  return framed(stoch, __func__, 2, [=] { return qrts_describe2SubModel(stoch, tag, nNodes, nodeList, probabilityFlag); });
}
int qrts_loadBaseModel(QRTStoch *stoch) {
  return framed(stoch, __func__, 2, [=] { return qrts_load2BaseModel(stoch, 1); });
}
int qrts_eitherSimplex(QRTStoch *stoch) {
  return framed(stoch, __func__, 2, [=] { return qrts_either2Simplex(stoch); });
}
int qrts_printNodeSolution(QRTStoch *stoch, int scenario, int stage, int rows) {
  return framed(stoch, __func__, 2, [=] { return qrts_print2NodeSolution(stoch, scenario, stage, rows, 0); });
}
int qrts_printNodeDualSolution(QRTStoch *stoch, int scenario, int stage, int rows) {
  return framed(stoch, __func__, 2, [=] { return qrts_print2NodeSolution(stoch, scenario, stage, rows, 1); });
}
int qrts_getNodeSolution(QRTStoch *stoch, int scenario, int stage, int rows, double *values, int *indices) {
  return framed(stoch, __func__, 2, [=] { return qrts_get2NodeSolution(stoch, scenario, stage, rows, 0, values, indices); });
}
int qrts_getNodeDualSolution(QRTStoch *stoch, int scenario, int stage, int rows, double *values, int *indices) {
  return framed(stoch, __func__, 2, [=] { return qrts_get2NodeSolution(stoch, scenario, stage, rows, 1, values, indices); });
}
int qrts_getScenarioSolution(QRTStoch *stoch, int scenario, int rows, double *values, int *indices) {
  return framed(stoch, __func__, 2, [=] { return qrts_get2ScenarioSolution(stoch, scenario, rows, 0, values, indices); });
}
int qrts_getScenarioDualSolution(QRTStoch *stoch, int scenario, int rows, double *values, int *indices) {
  return framed(stoch, __func__, 2, [=] { return qrts_get2ScenarioSolution(stoch, scenario, rows, 1, values, indices); });
}
int qrts_printObjectiveDistribution(QRTStoch *stoch) {
  return framed(stoch, __func__, 2, [=] { return qrts_print2ObjDistribution(stoch); });
}
int qrts_getScenarioDistribution(QRTStoch *stoch, int count, int *ids, double *probabilities, double *values, double *mean,
                                 double *deviation) {
  return framed(stoch, __func__, 2, [=] {
    return qrts_get2ObjDistribution(stoch, count, ids, probabilities, values, mean, deviation);
  });
}

}  // extern "C"
