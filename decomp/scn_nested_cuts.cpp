// Cuts of a nested decomposition: made from a model's last solve, and taken by its parent as rows.
#include <cmath>
#include <cstdlib>
#include <cstring>

#include "decomp/scn_benders_run.h"
#include "decomp/scn_nested.h"
#include "decomp/scn_solving.h"
#include "frame/messages.h"

namespace {

constexpr double NOISE_SHARE = 0.01;      // of the gap to reach that all cuts left out may leave together
constexpr double ROUNDING = 1e-14;
constexpr double FEASIBLE_BY = 10.0;      // tolerances by which a proposal may miss a cut and still count as feasible

QRTStoch *baseOf(QRTStoch *model) { return model->parent; }

// What the rows and columns that a master has besides its nodes' add to the dual function.
void addRecourseTerms(DualBound *bound, const QRTModel *lp, const NestedModel *rec, const double *multipliers, double rowSign,
                      double tol) {
  const NestedMaster *master = rec->masterPart;
  for (int k = 0; k < master->numCuts; ++k)
    addDualTerm(bound, rowSign * multipliers[rec->nRows + 1 + k], -SCN_INFINITY, master->cutRhs[k], tol);
  for (int j = 0; j <= master->numChildren; ++j) {
    const int at = lp->Imaxrows + rec->nCols + j;
    addDualTerm(bound, multipliers[at], lp->lower[at], lp->upper[at], tol);
  }
}

void tellCut(int index, int model, int other) {
  messageI(1, model);
  messageI(2, other);
  say(index);
}

// By how much the parent's proposal, at which the model was solved, misses its feasibility cut; terms: their sizes.
double missOf(const QRTStoch *sub, double *terms) {
  const NestedModel *rec = nestedOf(sub);
  const QRTModel *lp = sub->smodel->model;
  const double *at = lp->lower + lp->Imaxrows + rec->nReal, *cut = rec->slavePart->cut;
  double miss = rec->slavePart->isRay ? 0.0 : -rec->slavePart->cutRhs;
  *terms = fabs(miss);
  for (int k = 0; k < rec->nCols - rec->nReal; ++k) {
    miss += cut[k] * at[k];
    *terms += fabs(cut[k] * at[k]);
  }
  return miss;
}

}  // namespace

bool qrtnested_Ccutrhs(QRTStoch *sub, int type) {
  const NestedModel *rec = nestedOf(sub);
  NestedSlave *slave = rec->slavePart;
  QRTModel *lp = sub->smodel->model;
  const bool optimal = type == CUT_OPTIMALITY;
  const double *multipliers = optimal ? lp->dual : lp->aux, *d = multipliers + lp->Imaxrows;
  const double rowSign = optimal ? 1.0 : -1.0;  // qrt_rowaux has the sign opposite to that of row duals
  const double tol = qrt_getRtoldinf(lp);
  // A bound of the method's own making would blow rounding up; a multiplier that needs it needs infinity.
  BoundSet bounds = *rec->originalBounds;
  if (rec->saved) {
    bounds.colLower = rec->saved->colLower;
    bounds.colUpper = rec->saved->colUpper;
  }
  DualBound bound = dualBound(&bounds, rec->nRows, rec->nReal, multipliers, rowSign, d, tol);
  if (rec->masterPart) addRecourseTerms(&bound, lp, rec, multipliers, rowSign, tol);
  const double noise = gradientNoise(multipliers, lp->Inumrows), *at = lp->lower + lp->Imaxrows + rec->nReal;
  double gradientTerm = 0.0;
  for (int k = 0; k < rec->nCols - rec->nReal; ++k) {
    slave->cut[k] = fabs(d[rec->nReal + k]) > noise ? d[rec->nReal + k] : 0.0;
    gradientTerm += slave->cut[k] * at[k];
  }
  // Only the dual function holds along a ray, and for multipliers of any scale: the solver's sum of infeasibilities is not
  // in theirs.
  const bool dualAlone = slave->isRay || !optimal;
  if (dualAlone && bound.needsInfinity) return false;
  slave->cutRhs = cutRightHandSide(bound, gradientTerm, rec->sense * qrt_getRobjvalue(lp), dualAlone);
  return true;
}

bool sendCut(QRTStoch *sub, int type, int forceCut) {
  const NestedModel *rec = nestedOf(sub);
  NestedSlave *slave = rec->slavePart;
  if (!qrtnested_Ccutrhs(sub, type)) return false;
  const int n = rec->nCols - rec->nReal;
  double factor = rec->weight, largest = 0.0;
  if (type == CUT_FEASIBILITY) {
    for (int k = 0; k < n; ++k) largest = fmax(largest, fabs(slave->cut[k]));
    factor = largest > 0.0 ? 1.0 / largest : 1.0;
  }
  for (int k = 0; k < n; ++k) slave->cut[k] *= factor;
  slave->cutRhs *= factor;
  if (type == CUT_FEASIBILITY) {
    double terms;
    const double miss = missOf(sub, &terms);
    if (!(miss > FEASIBLE_BY * qrt_getRtolpinf(sub->smodel->model) + ROUNDING * terms)) return false;
  }
  slave->changed = type == CUT_FEASIBILITY || !qrtnested_Csamecut(sub, rec->modelNumber, type, slave->cutRhs, n, slave->cut);
  const bool full = slave->changed || forceCut;
  qrtnested_Cputcut(sub, slave->parentTask, rec->modelNumber, full ? slave->childIndex : 0, type, slave->proposalSeq, slave->cutRhs, n,
                    slave->cut);
  if (full) tellCut(MSG_SENT_CUT, rec->modelNumber, slave->parentModel);
  return true;
}

namespace {

// What a master's last proposal was, own and recourse columns alike.
const double *postedPoint(const NestedModel *rec, const QRTModel *lp) {
  const NestedMaster *master = rec->masterPart;
  return master->proposalKind == PROPOSAL_RAY && master->ownRay ? master->ray : lp->solution + lp->Imaxrows;
}

// Whether the cut in the buffer, of child j, would move this model by more than noise.
bool cutBars(QRTStoch *sub, int j, int nElements, double rhs, double g) {
  const NestedModel *rec = nestedOf(sub);
  const NestedMaster *master = rec->masterPart;
  QRTModel *lp = sub->smodel->model;
  if (!master->children[j].freed) return true;
  const double *x = postedPoint(rec, lp);
  const double right = master->proposalKind == PROPOSAL_RAY ? 0.0 : rhs;
  const double theta = rec->weight * x[rec->nCols + 1 + j];
  double violation = -theta - right, terms = fabs(theta) + fabs(right);
  for (int k = 0; k < nElements; ++k) {
    const double term = master->cutBuffer[k] * x[master->cutIndex[k] - 1];
    violation += term;
    terms += fabs(term);
  }
  const double total = rec->actual < SCN_INFINITY ? fmin(fabs(rec->estimated), fabs(rec->actual)) + 0.1 : 0.0;
  const double share = NOISE_SHARE * g * total / master->numChildren;
  // The solver leaves rows unmet by its tolerance, small costs by a part of it.
  const double unmet = 2.0 * qrt_getRtolpinf(lp) * fmin(rec->weight, fabs(theta) + fabs(master->children[j].value));
  return violation > fmax(share, unmet) + ROUNDING * terms;
}

// The recourse column of child j, about to get a cut on its value, loses its bound and takes the value reported.
void freeColumn(QRTStoch *sub, int j) {
  const NestedModel *rec = nestedOf(sub);
  NestedMaster *master = rec->masterPart;
  NestedChild *child = &master->children[j];
  QRTModel *lp = sub->smodel->model;
  const int at = lp->Imaxrows + rec->nCols + 1 + j;
  if (!child->freed) master->freedNow = 1;
  child->freed = 1;
  lp->lower[at] = -SCN_INFINITY;
  if (master->proposalKind != PROPOSAL_RAY) lp->solution[at] = rec->sense * child->value / rec->weight;
}

void appendCut(QRTStoch *sub, CutBatch *batch, int j, int type, int nElements, double rhs) {
  NestedModel *rec = nestedOf(sub);
  const NestedMaster *master = rec->masterPart;
  const double scale = type == CUT_OPTIMALITY ? 1.0 / rec->weight : 1.0;
  for (int k = 0; k < nElements; ++k) cutBatch_element(batch, master->cutIndex[k] - 1, scale * master->cutBuffer[k]);
  if (type == CUT_OPTIMALITY) {
    freeColumn(sub, j);
    cutBatch_element(batch, rec->nCols + 1 + j, -1.0);
  }
  cutBatch_endRow(batch, scale * rhs);
  nested_noteRow(sub, scale * rhs);
}

}  // namespace

void nested_noteRow(QRTStoch *sub, double rhs) {
  NestedMaster *master = nestedOf(sub)->masterPart;
  if (master->numCuts == master->cutRoom) {
    const int room = master->cutRoom ? 2 * master->cutRoom : 4 * master->numChildren + 16;
    double *more = nestedBlock<double>(baseOf(sub), room);
    if (master->numCuts > 0) memcpy(more, master->cutRhs, size_t(master->numCuts) * sizeof(double));
    master->cutRhs = more;
    master->cutRoom = room;
  }
  master->cutRhs[master->numCuts++] = rhs;
}

namespace {

// A cut of child j on its way to a row of its own.
void takeAlone(QRTStoch *sub, CutBatch *batch, int j, int type, int nElements, double rhs) {
  NestedModel *rec = nestedOf(sub);
  tellCut(MSG_RECEIVED_CUT, rec->modelNumber, rec->masterPart->childModels[j]);
  qrtnested_Ctakecut(sub, rec->masterPart->childModels[j]);
  appendCut(sub, batch, j, type, nElements, rhs);
}

// Columns of child j's cuts into the master's cutIndex, from 1; their number.
int columnsOfCut(QRTStoch *sub, int j) {
  const NestedMaster *master = nestedOf(sub)->masterPart;
  const NestedChild &child = master->children[j];
  return qrts_Cndcp(sub, master->columnIndex, "ALL", nullptr, master->cutIndex, nullptr, child.numNodes, child.nodes, 1, 4);
}

void readEach(QRTStoch *sub, double g, CutBatch *batch) {
  NestedMaster *master = nestedOf(sub)->masterPart;
  for (int j = 0; j < master->numChildren; ++j) {
    int type;
    double rhs;
    if (qrtnested_Cgetcut(sub, master->childTasks[j], master->childModels[j], master->proposalSeq, &type, &rhs, master->cutBuffer) != j + 1)
      continue;
    const int n = columnsOfCut(sub, j);
    if (type == CUT_OPTIMALITY && !cutBars(sub, j, n, rhs, g)) continue;
    takeAlone(sub, batch, j, type, n, rhs);
  }
}

// The sum of the last cuts of some children, with what it misses at the master's proposal.
struct ClusterCut {
  double *sum;              // [own columns] zero between clusters
  double rhs;
  double theta, thetaSize;  // of the children's columns, in the program's units
  double size;              // of all terms
  double values;            // sizes of the values that the children reported
  bool anyNew, anyUnfreed;
};

void addToCluster(QRTStoch *sub, ClusterCut *cut, int j, const double *x) {
  const NestedModel *rec = nestedOf(sub);
  const NestedMaster *master = rec->masterPart;
  double rhs;
  int n = 0;
  const double *elements = qrtnested_Clastcut(sub, master->childModels[j], &rhs, &n);
  if (!elements) return;
  columnsOfCut(sub, j);
  for (int k = 0; k < n; ++k) {
    cut->sum[master->cutIndex[k] - 1] += elements[k];
    cut->size += fabs(elements[k] * x[master->cutIndex[k] - 1]);
  }
  const double theta = rec->weight * x[rec->nCols + 1 + j];
  cut->rhs += rhs;
  cut->theta += theta;
  cut->thetaSize += fabs(theta);
  cut->size += fabs(theta) + fabs(rhs);
  cut->values += fabs(master->children[j].value);
  cut->anyUnfreed |= !master->children[j].freed;
}

bool clusterBars(QRTStoch *sub, const ClusterCut *cut, int clusters, const double *x, double g) {
  const NestedModel *rec = nestedOf(sub);
  if (cut->anyUnfreed) return true;
  double violation = -cut->theta - (rec->masterPart->proposalKind == PROPOSAL_RAY ? 0.0 : cut->rhs);
  for (int k = 0; k < rec->nCols; ++k) violation += cut->sum[k] * x[k];
  const double total = rec->actual < SCN_INFINITY ? fmin(fabs(rec->estimated), fabs(rec->actual)) + 0.1 : 0.0;
  const double unmet = 2.0 * qrt_getRtolpinf(sub->smodel->model) * fmin(rec->weight, cut->thetaSize + cut->values);
  return violation > fmax(NOISE_SHARE * g * total / clusters, unmet) + ROUNDING * cut->size;
}

void appendCluster(QRTStoch *sub, CutBatch *batch, const ClusterCut *cut, int first, int end) {
  NestedModel *rec = nestedOf(sub);
  NestedMaster *master = rec->masterPart;
  double noise = 0.0;
  for (int k = 0; k < rec->nCols; ++k) noise = fmax(noise, fabs(cut->sum[k]));
  noise *= ROUNDING;
  for (int k = 0; k < rec->nCols; ++k)
    if (fabs(cut->sum[k]) > noise) cutBatch_element(batch, k, cut->sum[k] / rec->weight);
  for (int j = first; j < end; ++j) {
    double rhs;
    int n;
    if (!qrtnested_Clastcut(sub, master->childModels[j], &rhs, &n)) continue;
    freeColumn(sub, j);
    cutBatch_element(batch, rec->nCols + 1 + j, -1.0);
  }
  cutBatch_endRow(batch, cut->rhs / rec->weight);
  nested_noteRow(sub, cut->rhs / rec->weight);
}

// Children [first, end): one row for all whose last cut is on their value, if a new one is among them; a proof of
// infeasibility is a row of its own.
void readCluster(QRTStoch *sub, double g, CutBatch *batch, ClusterCut *cut, int first, int end, int clusters) {
  NestedMaster *master = nestedOf(sub)->masterPart;
  bool *isNew = reinterpret_cast<bool *>(cut->sum + nestedOf(sub)->nCols);
  cut->anyNew = false;
  for (int j = first; j < end; ++j) {
    int type;
    double rhs;
    isNew[j - first] = false;
    if (qrtnested_Cgetcut(sub, master->childTasks[j], master->childModels[j], master->proposalSeq, &type, &rhs, master->cutBuffer) != j + 1)
      continue;
    if (type == CUT_FEASIBILITY) takeAlone(sub, batch, j, type, columnsOfCut(sub, j), rhs);
    else isNew[j - first] = cut->anyNew = true;
  }
  if (!cut->anyNew) return;
  const NestedModel *rec = nestedOf(sub);
  const double *x = postedPoint(rec, sub->smodel->model);
  memset(cut->sum, 0, size_t(rec->nCols) * sizeof(double));
  cut->rhs = cut->theta = cut->thetaSize = cut->size = cut->values = 0.0;
  cut->anyUnfreed = false;
  for (int j = first; j < end; ++j) addToCluster(sub, cut, j, x);
  if (!clusterBars(sub, cut, clusters, x, g)) return;
  for (int j = first; j < end; ++j) {
    if (!isNew[j - first]) continue;
    tellCut(MSG_RECEIVED_CUT, rec->modelNumber, master->childModels[j]);
    qrtnested_Ctakecut(sub, master->childModels[j]);
  }
  appendCluster(sub, batch, cut, first, end);
}

}  // namespace

int readCuts(QRTStoch *sub, double g, int *read) {
  NestedModel *rec = nestedOf(sub);
  NestedMaster *master = rec->masterPart;
  const int n = master->numChildren, clusters = run_clusters(n, rec->nCols);
  CutBatch batch;
  cutBatch_open(&batch, int64_t(n) + clusters);
  if (clusters == n) {
    readEach(sub, g, &batch);
  } else {
    ClusterCut cut = {};
    cut.sum = static_cast<double *>(qrts__alloc("qrts_nestedLSolve", (int64_t(rec->nCols) + n) * int64_t(sizeof(double)), 0));
    for (int c = 0; c < clusters; ++c)
      readCluster(sub, g, &batch, &cut, int(int64_t(n) * c / clusters), int(int64_t(n) * (c + 1) / clusters), clusters);
    free(cut.sum);
  }
  *read = batch.rows;
  const int code = cutBatch_add(&batch, sub->smodel->model);
  if (rec->activeBounds != BOUNDS_RAY) rec->cutsActive = master->numCuts;
  return code;
}
