// The master: its recourse columns, their link row, and bounds that keep it from running away.
#include <cstdio>
#include <cstdlib>
#include <cstring>

#include "decomp/scn_benders.h"
#include "decomp/scn_solving.h"
#include "frame/messages.h"

namespace {

constexpr const char *CALLER = "qrts_Cmstr";
constexpr int LINK_ROW_EXIT = 998;
constexpr int MSG_ROLE = 830;  // "@C01 @C02 @I01"

template <class T> T *newArray(int64_t count) {
  return static_cast<T *>(qrts__alloc(CALLER, (count + 1) * int64_t(sizeof(T)), 0));
}

void addLargeBounds(QRTStoch *model) {
  messageC(1, "Adding large bounds to");
  messageC(2, "Master problem");
  messageI(1, model->smodel->tag);
  stochMessage(MSG_ROLE);
  BendersMaster *record = masterOf(model);
  QRTModel *lp = model->smodel->model;
  record->savedLower = newArray<double>(record->nCols);
  record->savedUpper = newArray<double>(record->nCols);
  double *lower = lp->lower + lp->Imaxrows, *upper = lp->upper + lp->Imaxrows;
  for (int j = 0; j <= record->nCols; ++j) {
    record->savedLower[j] = lower[j];
    record->savedUpper[j] = upper[j];
    if (lower[j] <= -SCN_INFINITY) lower[j] = -LARGE_BOUND;
    if (upper[j] >= SCN_INFINITY) upper[j] = LARGE_BOUND;
  }
}

}  // namespace

int qrts_Cmstr0(QRTStoch *model, int nChild) {
  QRTModel *lp = model->smodel->model;
  const int first = lp->Inumcols;
  qrt_setInumcols(lp, first + nChild + 1);
  int *columns = newArray<int>(nChild);
  double *values = newArray<double>(nChild);
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

int qrts_Cmstr(QRTStoch *model, int nChild, int largeBounds) {
  BendersMaster *record = newArray<BendersMaster>(1);
  model->smethod = record;
  record->nCols = model->smodel->nCols;
  record->nRows = model->smodel->nRows;
  record->numSubs = nChild;
  record->subs = newArray<SubEntry>(nChild);
  const int code = qrts_Cmstr0(model, nChild);
  if (largeBounds) addLargeBounds(model);
  return code;
}

void freeMaster(QRTStoch *model) {
  BendersMaster *record = masterOf(model);
  if (!record) return;
  free(record->subs);
  free(record->savedLower);
  free(record->savedUpper);
  free(record);
  model->smethod = nullptr;
}
