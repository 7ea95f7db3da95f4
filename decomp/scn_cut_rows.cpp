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

namespace {

// Rows of a batch of cuts, as qrt_addRows() wants them.
struct Batch {
  int rows, elements;
  int64_t room;
  int *starts, *columns;
  double *values, *lower, *upper;
};

void needRoom(Batch *batch, int64_t more) {
  if (batch->elements + more <= batch->room) return;
  batch->room = 2 * (batch->elements + more);
  batch->columns = static_cast<int *>(qrts__realloc("qrtbenders_Cchkslvs", batch->columns, batch->room * int64_t(sizeof(int))));
  batch->values =
      static_cast<double *>(qrts__realloc("qrtbenders_Cchkslvs", batch->values, batch->room * int64_t(sizeof(double))));
}

void append(Batch *batch, int column, double value) {
  if (value == 0.0) return;
  batch->columns[batch->elements] = column;
  batch->values[batch->elements++] = value;
}

// The cut in the master's record as a row.
void appendCut(Batch *batch, QRTStoch *master, int type, int child, double rhs) {
  BendersMaster *record = methodOf(master)->master;
  const StochModel *smodel = master->smodel;
  const TreeNode *store = master->sdata->nodes->nodes;
  const char *data = static_cast<const char *>(record->cuts->data);
  int nVirtual;
  memcpy(&nVirtual, data + 16, sizeof nVirtual);
  const int *nodes = reinterpret_cast<const int *>(data + 20);
  const double *gradient = reinterpret_cast<const double *>(data + cutOffset(nVirtual));
  needRoom(batch, (record->cuts->size - cutOffset(nVirtual)) / 8 + 2);
  for (int v = 0; v < nVirtual; ++v) {
    const int size = store[nodes[v] - 1].nCols, at = smodel->nodeList->nodes[smodel->nodeMap[nodes[v] - 1] - 1].colOffset;
    for (int k = 0; k < size; ++k) append(batch, at + k, *gradient++);
  }
  if (type == CUT_OPTIMALITY) {
    QRTModel *model = smodel->model;
    const int theta = record->nCols + child;
    model->lower[model->Imaxrows + theta] = -SCN_INFINITY;
    model->solution[model->Imaxrows + theta] = master->optmaxmin * record->subs[child - 1].value;
    append(batch, theta, -1.0);
  }
  batch->lower[batch->rows] = -SCN_INFINITY;
  batch->upper[batch->rows++] = rhs;
  batch->starts[batch->rows] = batch->elements;
}

int addBatch(QRTModel *model, Batch *batch) {
  int code = qrt_addRows(model, batch->rows, batch->lower, batch->upper, batch->starts, batch->columns, batch->values);
  if (code < 2) code = qrt_mergeBlocks(model, 1);
  return code;
}

}  // namespace

int takeCuts(QRTStoch *master) {
  BendersMaster *record = methodOf(master)->master;
  const int64_t n = int64_t(record->numSubs) + 1;
  Batch batch = {};
  batch.starts = static_cast<int *>(qrts__alloc("qrtbenders_Cchkslvs", n * int64_t(sizeof(int)), 0));
  batch.lower = static_cast<double *>(qrts__alloc("qrtbenders_Cchkslvs", n * int64_t(sizeof(double)), 0));
  batch.upper = static_cast<double *>(qrts__alloc("qrtbenders_Cchkslvs", n * int64_t(sizeof(double)), 0));
  int type, child;
  double rhs;
  for (qrtbenders_Cgetcut(master, &type, &child, &rhs); child > 0; qrtbenders_Cgetcut(master, &type, &child, &rhs))
    appendCut(&batch, master, type, child, rhs);
  record->newCuts = batch.rows > 0;
  const int code = batch.rows > 0 ? addBatch(master->smodel->model, &batch) : 0;
  free(batch.starts);
  free(batch.columns);
  free(batch.values);
  free(batch.lower);
  free(batch.upper);
  return code < 2 ? 0 : code;
}
