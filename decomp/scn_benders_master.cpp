// The master's side: recourse columns and their link row, proposals out, statuses and cuts in.
#include <cmath>
#include <cstdio>
#include <cstring>

#include "decomp/scn_benders.h"
#include "decomp/scn_solving.h"
#include "frame/messages.h"

namespace {

constexpr int LINK_ROW_EXIT = 998;
constexpr int MSG_ROLE = 830;  // "@C01 @C02 @I01"
constexpr double PROPOSAL_TOLERANCE = 1e-8;

template <class T> T *block(QRTStoch *base, int64_t count) {
  return static_cast<T *>(qrtbenders_Calloc(base, "qrts_Cmstr", count * int64_t(sizeof(T)), 0));
}

QRTStoch *ownerOf(QRTStoch *model) { return model->parent; }

void addLargeBounds(QRTStoch *base, QRTStoch *model) {
  messageC(1, "Adding large bounds to");
  messageC(2, "Master problem");
  messageI(1, model->smodel->tag);
  stochMessage(MSG_ROLE);
  BendersMethod *method = methodOf(model);
  QRTModel *lp = model->smodel->model;
  const int own = method->master->nCols;
  BoundSet *saved = method->originalBounds = block<BoundSet>(base, 1);
  saved->colLower = block<double>(base, own + 1);
  saved->colUpper = block<double>(base, own + 1);
  double *lower = lp->lower + lp->Imaxrows, *upper = lp->upper + lp->Imaxrows;
  for (int j = 0; j <= own; ++j) {
    saved->colLower[j] = lower[j];
    saved->colUpper[j] = upper[j];
    if (lower[j] <= -SCN_INFINITY) lower[j] = -LARGE_BOUND;
    if (upper[j] >= SCN_INFINITY) upper[j] = LARGE_BOUND;
  }
}

}  // namespace

int qrts_Cmstr0(QRTStoch *model, int nChild) {
  QRTModel *lp = model->smodel->model;
  const int first = lp->Inumcols;
  qrt_setInumcols(lp, first + nChild + 1);
  int *columns = static_cast<int *>(qrts__alloc("qrts_Cmstr0", (int64_t(nChild) + 1) * int64_t(sizeof(int)), 0));
  double *values = static_cast<double *>(qrts__alloc("qrts_Cmstr0", (int64_t(nChild) + 1) * int64_t(sizeof(double)), 0));
  for (int j = 0; j <= nChild; ++j) {
    const int at = lp->Imaxrows + first + j;
    lp->lower[at] = j == 0 ? -SCN_INFINITY : 0.0;
    lp->upper[at] = SCN_INFINITY;
    lp->objective[at] = j == 0 ? 1.0 : 0.0;
    lp->solution[at] = 0.0;
    lp->status[at] = int(j == 0 ? STATUS_FREE : STATUS_AT_LOWER);
    columns[j] = first + j;
    values[j] = j == 0 ? 1.0 : -1.0;
  }
  const int added = qrt_addOneRow(lp, 0.0, 0.0, nChild + 1, columns, values);
  free(columns);
  free(values);
  if (added >= 2) qrts_endProcess(LINK_ROW_EXIT);
  const int merged = qrt_mergeBlocks(lp, 1);
  return merged < 2 ? 0 : merged;
}

int qrts_Cmstr(QRTStoch *base, QRTStoch *model, int nChild, int largeBounds) {
  BendersMaster *record = methodOf(model)->master = block<BendersMaster>(base, 1);
  const StochModel *smodel = model->smodel;
  const int nNodes = smodel->nodeList->nNodes, nCols = smodel->nCols;
  record->nCols = nCols;
  record->nRows = smodel->nRows;
  record->subs = block<SubEntry>(base, nChild);
  record->proposal = block<VecBuffer>(base, 1);
  record->cuts = block<VecBuffer>(base, 1);
  record->cutIndex = block<int>(base, int64_t(nCols) + 1);
  record->proposal->size = int32_t(proposalSize(nNodes, nCols));
  record->proposal->data = block<char>(base, record->proposal->size);
  memcpy(record->proposal->data, &nNodes, sizeof nNodes);
  memcpy(static_cast<char *>(record->proposal->data) + 4, methodOf(model)->storeNode, size_t(nNodes) * sizeof(int));
  record->proposal->bufferId = qrtinit_Cbuffer(base, 1, record->proposal->size);
  record->cuts->size = int32_t(cutSize(nNodes, nCols) + 8);
  record->cuts->data = block<char>(base, record->cuts->size);
  record->cuts->bufferId = qrtinit_Cbuffer(base, nChild, record->cuts->size);
  const int code = qrts_Cmstr0(model, nChild);
  if (largeBounds) addLargeBounds(base, model);
  return code;
}

void qrtbenders_Cputprop(QRTStoch *master, const double *colsol) {
  BendersMaster *record = methodOf(master)->master;
  QRTStoch *base = ownerOf(master);
  char *data = static_cast<char *>(record->proposal->data);
  if (record->nCols > 0)
    memcpy(data + proposalOffset(master->smodel->nodeList->nNodes), colsol, size_t(record->nCols) * sizeof(double));
  qrtpop_Cbuffer(base, record->proposal->bufferId);
  record->proposalSeq = qrtput_Cbuffer(base, record->proposal->bufferId, data, record->proposal->size);
  for (int j = 1; j <= record->numSubs; ++j)
    if (record->subs[j - 1].hasOptimal) record->subs[j - 1].estimate = colsol[record->nCols + j];
}

void qrtbenders_Cgetcut(QRTStoch *master, int *type, int *subId, double *rhs) {
  BendersMaster *record = methodOf(master)->master;
  QRTStoch *base = ownerOf(master);
  const char *data = static_cast<const char *>(record->cuts->data);
  int size;
  *subId = 0;
  if (qrtget_Cbuffer(base, record->cuts->bufferId, record->cuts->data, &size, 0) < 1) return;
  qrtpop_Cbuffer(base, record->cuts->bufferId);
  record->cuts->size = size;
  memcpy(rhs, data, sizeof *rhs);
  memcpy(type, data + 8, sizeof *type);
  memcpy(subId, data + 12, sizeof *subId);
}

int qrtbenders_Cchkslvs(QRTStoch *master) {
  BendersMaster *record = methodOf(master)->master;
  int combined = 0;
  record->allReported = 1;
  for (int j = 0; j < record->numSubs; ++j) {
    SubEntry *sub = &record->subs[j];
    qrtbenders_Cgetstat(master, sub->statusBuffer, &sub->status, &sub->seq, &sub->value);
    combined |= sub->status;
    if (sub->status == 4) {
      record->combinedStatus = 4;
      record->newCuts = 0;
      return 0;
    }
    if (sub->seq != record->proposalSeq) combined |= 2;
    if (sub->status < 1) sub->hasOptimal = 1;
    record->allReported &= sub->hasOptimal;
  }
  record->combinedStatus = combined & 2 ? 2 : combined & 1;
  return takeCuts(master);
}

int qrtbenders_Cchkprop(QRTStoch *master) {
  const BendersMaster *record = methodOf(master)->master;
  for (int j = 0; j < record->numSubs; ++j) {
    const SubEntry &sub = record->subs[j];
    const double size = fmax(fabs(sub.estimate), fabs(sub.value));
    if (!sub.hasOptimal || fabs(sub.estimate - sub.value) > PROPOSAL_TOLERANCE * size) return -1;
  }
  return 0;
}
