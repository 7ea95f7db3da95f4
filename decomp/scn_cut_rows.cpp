// The arithmetic of a cut, once for both methods, and cuts as rows of a master.
#include <cmath>
#include <cstdlib>
#include <cstring>

#include "decomp/scn_benders.h"

namespace {

constexpr double FORMS_AGREE = 1e-9;

// One term of the dual function: multiplier times the bound that makes it least.
void addTerm(DualBound *bound, double multiplier, double lower, double upper, double tol) {
  if (multiplier == 0.0) return;
  const double side = multiplier > 0.0 ? lower : upper;
  if (fabs(side) >= QRT_INFINITE_TEST) {
    // Rounding against an open side says nothing; a real multiplier would make the bound worthless.
    if (fabs(multiplier) >= tol) bound->needsInfinity = true;
    return;
  }
  const double term = multiplier * side;
  bound->value += term;
  bound->size += fabs(term);
}

}  // namespace

DualBound dualBound(const BoundSet *bounds, int nRows, int nReal, const double *rows, double rowSign, const double *d,
                    double tol) {
  DualBound bound = {0.0, 0.0, false};
  for (int i = 0; i < nRows; ++i) addTerm(&bound, rowSign * rows[i], bounds->rowLower[i], bounds->rowUpper[i], tol);
  for (int j = 0; j < nReal; ++j) addTerm(&bound, d[j], bounds->colLower[j], bounds->colUpper[j], tol);
  return bound;
}

double cutRightHandSide(const DualBound &bound, double gradientTerm, double value, bool alongRay) {
  const double fromDual = -bound.value, fromPoint = gradientTerm - value;
  if (alongRay) return fromDual;
  if (bound.needsInfinity) return fromPoint;
  const double size = fabs(gradientTerm) + fabs(value) + bound.size;
  if (fabs(fromDual - fromPoint) <= FORMS_AGREE * size) return fromDual;
  return fromDual > fromPoint ? fromDual : fromPoint;
}

void cutBatch_open(CutBatch *batch, int64_t mostRows) {
  *batch = {};
  batch->starts = static_cast<int *>(qrts__alloc("qrtbenders_Cchkslvs", (mostRows + 1) * int64_t(sizeof(int)), 0));
  batch->upper = static_cast<double *>(qrts__alloc("qrtbenders_Cchkslvs", (mostRows + 1) * int64_t(sizeof(double)), 0));
}

void cutBatch_element(CutBatch *batch, int column, double value) {
  if (value == 0.0) return;
  if (batch->elements == batch->room) {
    batch->room = 2 * batch->room + 64;
    batch->columns = static_cast<int *>(qrts__realloc("qrtbenders_Cchkslvs", batch->columns, batch->room * int64_t(sizeof(int))));
    batch->values =
        static_cast<double *>(qrts__realloc("qrtbenders_Cchkslvs", batch->values, batch->room * int64_t(sizeof(double))));
  }
  batch->columns[batch->elements] = column;
  batch->values[batch->elements++] = value;
}

void cutBatch_endRow(CutBatch *batch, double rhs) {
  batch->upper[batch->rows++] = rhs;
  batch->starts[batch->rows] = batch->elements;
}

int cutBatch_add(CutBatch *batch, QRTModel *model) {
  int code = 0;
  if (batch->rows > 0) code = qrt_addRows(model, batch->rows, nullptr, batch->upper, batch->starts, batch->columns, batch->values);
  if (batch->rows > 0 && code < 2) code = qrt_mergeBlocks(model, 1);
  free(batch->starts);
  free(batch->columns);
  free(batch->values);
  free(batch->upper);
  return code < 2 ? 0 : code;
}

namespace {

// The cut in the master's record as a row.
void appendCut(CutBatch *batch, QRTStoch *master, int type, int child, double rhs) {
  BendersMaster *record = methodOf(master)->master;
  const StochModel *smodel = master->smodel;
  const TreeNode *store = master->sdata->nodes->nodes;
  const char *data = static_cast<const char *>(record->cuts->data);
  int nVirtual;
  memcpy(&nVirtual, data + 16, sizeof nVirtual);
  const int *nodes = reinterpret_cast<const int *>(data + 20);
  const double *gradient = reinterpret_cast<const double *>(data + cutOffset(nVirtual));
  for (int v = 0; v < nVirtual; ++v) {
    const int size = store[nodes[v] - 1].nCols, at = smodel->nodeList->nodes[smodel->nodeMap[nodes[v] - 1] - 1].colOffset;
    for (int k = 0; k < size; ++k) cutBatch_element(batch, at + k, *gradient++);
  }
  if (type == CUT_OPTIMALITY) {
    QRTModel *model = smodel->model;
    const int theta = record->nCols + child;
    model->lower[model->Imaxrows + theta] = -SCN_INFINITY;
    model->solution[model->Imaxrows + theta] = master->optmaxmin * record->subs[child - 1].value;
    cutBatch_element(batch, theta, -1.0);
  }
  cutBatch_endRow(batch, rhs);
}

}  // namespace

int takeCuts(QRTStoch *master) {
  BendersMaster *record = methodOf(master)->master;
  CutBatch batch;
  cutBatch_open(&batch, record->numSubs);
  int type, child;
  double rhs;
  for (qrtbenders_Cgetcut(master, &type, &child, &rhs); child > 0; qrtbenders_Cgetcut(master, &type, &child, &rhs))
    appendCut(&batch, master, type, child, rhs);
  record->newCuts = batch.rows > 0;
  return cutBatch_add(&batch, master->smodel->model);
}
