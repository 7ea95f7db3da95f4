// The public functions of generation, direct solve and solutions: each passes the entry frame and hands on.
#include "frame/messages.h"
#include "include/qrts_c_api.h"
#include "stoch/scn_generation.h"
#include "stoch/scn_object.h"

namespace {
// Every framed call ends here: its lines reach the log before the caller goes on.
template <class Call> int framed(QRTStoch *stoch, const char *function, Call call) {
  const int result = qrts_CEnter(stoch, function) > 0 ? 2 : call();
  flushLogs();
  return result;
}
}  // namespace

extern "C" {

int qrts_estimateLPSize(QRTStoch *stoch) {
  return framed(stoch, __func__, [=] { return qrts_estimate2LPSize(stoch); });
}
int qrts_describeFullModel(QRTStoch *stoch, int load) {
  return framed(stoch, __func__, [=] { return qrts_describe2FullModel(stoch, 0, load); });
}
int qrts_describeSubModel(QRTStoch *stoch, int tag, int nNodes, int *nodeList, int probabilityFlag) {
  return framed(stoch, __func__, [=] { return qrts_describe2SubModel(stoch, tag, nNodes, nodeList, probabilityFlag); });
}
int qrts_loadBaseModel(QRTStoch *stoch) {
  return framed(stoch, __func__, [=] { return qrts_load2BaseModel(stoch, 1); });
}
int qrts_eitherSimplex(QRTStoch *stoch) {
  return framed(stoch, __func__, [=] { return qrts_either2Simplex(stoch); });
}
int qrts_printNodeSolution(QRTStoch *stoch, int scenario, int stage, int rows) {
  return framed(stoch, __func__, [=] { return qrts_print2NodeSolution(stoch, scenario, stage, rows, 0); });
}
int qrts_printNodeDualSolution(QRTStoch *stoch, int scenario, int stage, int rows) {
  return framed(stoch, __func__, [=] { return qrts_print2NodeSolution(stoch, scenario, stage, rows, 1); });
}
int qrts_getNodeSolution(QRTStoch *stoch, int scenario, int stage, int rows, double *values, int *indices) {
  return framed(stoch, __func__, [=] { return qrts_get2NodeSolution(stoch, scenario, stage, rows, 0, values, indices); });
}
int qrts_getNodeDualSolution(QRTStoch *stoch, int scenario, int stage, int rows, double *values, int *indices) {
  return framed(stoch, __func__, [=] { return qrts_get2NodeSolution(stoch, scenario, stage, rows, 1, values, indices); });
}
int qrts_getScenarioSolution(QRTStoch *stoch, int scenario, int rows, double *values, int *indices) {
  return framed(stoch, __func__, [=] { return qrts_get2ScenarioSolution(stoch, scenario, rows, 0, values, indices); });
}
int qrts_getScenarioDualSolution(QRTStoch *stoch, int scenario, int rows, double *values, int *indices) {
  return framed(stoch, __func__, [=] { return qrts_get2ScenarioSolution(stoch, scenario, rows, 1, values, indices); });
}
int qrts_printObjectiveDistribution(QRTStoch *stoch) {
  return framed(stoch, __func__, [=] { return qrts_print2ObjDistribution(stoch); });
}
int qrts_getScenarioDistribution(QRTStoch *stoch, int count, int *ids, double *probabilities, double *values, double *mean,
                                 double *deviation) {
  return framed(stoch, __func__, [=] {
    return qrts_get2ObjDistribution(stoch, count, ids, probabilities, values, mean, deviation);
  });
}

}  // extern "C"
