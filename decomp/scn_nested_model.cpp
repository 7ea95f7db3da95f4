// One visit to a model of a nested decomposition.
//
//     proposal in --> solve --> leaf: cut and status up
//                       |  ^    master: proposal down, wait for the children
//                       v  |
//                    children answered --> cuts that bar the proposal: rows, and solve again
//                                      --> none: finished, cut and status up
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <cstring>

#include "decomp/scn_nested.h"
#include "decomp/scn_solving.h"
#include "frame/entry_frame.h"
#include "frame/messages.h"

namespace {

constexpr double RAY_NOISE = 1e-9;
constexpr double INFINITE_GAP = 1e31;
constexpr int MOST_LOOSENING = 4;   // powers of ten by which the tolerance may give way for a proposal barred by rounding
// Share of the root's gap that models below may leave: more takes more cycles, less makes models below converge at points
// that the root gives up again. A half took the least time on trees of 3 to 10 stages, a fifth less than a tenth did.
constexpr double LOOSER_BELOW = 0.5;
constexpr int FIRST_SEQ = 20;

QRTStoch *baseOf(QRTStoch *model) { return model->parent; }

// A model on its visit.
struct Visit {
  QRTStoch *sub;
  NestedModel *rec;
  NestedMaster *master;     // null for a leaf
  NestedSlave *slave;       // null for the root
  QRTModel *lp;
  NestedTables *tables;
  int forceCut;
  int *howmany;
  double *value;
  double g;
  int seqStep;
};

void post(Visit *v, int code, int seq, double value) { qrtnested_Cputstat(baseOf(v->sub), v->rec->modelNumber, code, seq, value); }

int answerSeq(const Visit *v) { return v->slave ? v->slave->proposalSeq : v->master->proposalSeq; }

void tellOther(int index, int model, int other) {
  messageI(1, model);
  messageI(2, other);
  say(index);
}

// Fixes the virtual columns at what the parent's columns say.
void fixVirtual(QRTStoch *sub, const double *proposal) {
  const NestedModel *rec = nestedOf(sub);
  QRTModel *lp = sub->smodel->model;
  double *lower = lp->lower + lp->Imaxrows + rec->nReal, *upper = lp->upper + lp->Imaxrows + rec->nReal;
  for (int k = 0; k < rec->nCols - rec->nReal; ++k) lower[k] = upper[k] = proposal[rec->slavePart->place[k]];
}

double *columns(const Visit *v, double *rim) { return rim + v->lp->Imaxrows; }

// The model's own costs along x, in the program's units.
double ownCost(const Visit *v, const double *x, double *size) {
  double sum = 0.0, sizes = 0.0;
  const double *c = columns(v, v->lp->objective);
  for (int j = 0; j < v->rec->nCols; ++j) {
    sum += c[j] * x[j];
    sizes += fabs(c[j] * x[j]);
  }
  if (size) *size = v->rec->weight * sizes;
  return v->rec->weight * sum;
}

// ---- endings of a visit

int stall(Visit *v) {
  sayNumber(MSG_DID_NOT_SOLVE, v->rec->modelNumber);
  *v->howmany = EVENT_TERMINAL;
  v->rec->modelStatus = NESTED_STALLED;
  return 0;
}

int unbounded(Visit *v) {
  v->rec->modelStatus = v->slave ? NESTED_UNBOUNDED_BELOW : NESTED_UNBOUNDED;
  post(v, v->rec->modelStatus, answerSeq(v), 0.0);
  *v->howmany = EVENT_TERMINAL;
  return 0;
}

// An optimum that leans on a bound of the method's own making is none.
bool leansOnLargeBound(const Visit *v) {
  const BoundSet *saved = v->rec->saved;
  const double *x = columns(v, v->lp->solution);
  for (int j = 0; saved && j < v->rec->nReal; ++j)
    if ((x[j] <= -LARGE_BOUND && saved->colLower[j] <= -SCN_INFINITY) || (x[j] >= LARGE_BOUND && saved->colUpper[j] >= SCN_INFINITY))
      return true;
  return false;
}

// Finished with the proposal in hand; value: what its answer costs.
int finish(Visit *v, double value, int settled) {
  NestedModel *rec = v->rec;
  if (settled && leansOnLargeBound(v)) return unbounded(v);
  rec->modelStatus = NESTED_OPTIMAL;
  rec->settled = settled;
  post(v, NESTED_OPTIMAL, answerSeq(v), value);
  ++v->tables->moves;
  if (!v->slave) return 0;
  // Along a ray the multipliers may prove nothing; the parent then has no cut, and is told that this is all.
  if (!sendCut(v->sub, CUT_OPTIMALITY, v->forceCut))
    qrtnested_Cputcut(v->sub, v->slave->parentTask, rec->modelNumber, 0, CUT_OPTIMALITY, v->slave->proposalSeq, 0.0, 0, nullptr);
  return 0;
}

// ---- proposals

void setEstimates(Visit *v, const double *x) {
  for (int j = 0; j < v->master->numChildren; ++j) {
    NestedChild *child = &v->master->children[j];
    if (child->hasOptimal) child->estimate = v->rec->sense * v->rec->weight * x[v->rec->nCols + 1 + j];
  }
}

// Sends x, a point or a ray with its recourse, under a new sequence number.
void propose(Visit *v, int kind, const double *x, int message) {
  NestedMaster *master = v->master;
  master->proposalSeq += v->seqStep;
  qrtnested_Cputprop(v->sub, master->childTasks, master->childModels, master->numChildren, kind, master->proposalSeq, v->rec->nCols, x,
                     v->rec->modelNumber);
  setEstimates(v, x);
  sayNumber(message, v->rec->modelNumber);
}

// The ray of the model's unbounded problem, with its own cost.
void takeRay(Visit *v) {
  NestedMaster *master = v->master;
  const int all = v->lp->Inumcols;
  if (!master->ray) master->ray = nestedBlock<double>(baseOf(v->sub), all);
  memcpy(master->ray, columns(v, v->lp->aux), size_t(all) * sizeof(double));
  master->rayCost = ownCost(v, master->ray, &master->raySize);
  master->ownRay = 1;
}

// Moves the solution far out along the ray: a finite point that stands for an unbounded solution.
void moveAlongRay(Visit *v) {
  const double *ray = v->master->ray;
  double *x = columns(v, v->lp->solution), a = 0.0, b = 0.0;
  for (int j = 0; j < v->lp->Inumcols; ++j) {
    a += ray[j] * ray[j];
    b += x[j] * x[j];
  }
  a = sqrt(a);
  b = sqrt(b);
  const double t = a < qrt_getRtoldinf(v->lp) ? 10.0 * b : 10.0 * b / a;
  for (int j = 0; j < v->lp->Inumcols; ++j) x[j] += t * ray[j];
}

// ---- after a solve

// Each child has bounded its column; until then that column's first bound of 0 may hold this model back.
bool allFreed(const NestedMaster *master) {
  for (int j = 0; j < master->numChildren; ++j)
    if (!master->children[j].freed) return false;
  return true;
}

// Bound and best known value are near enough for this stage of the run.
bool nearEnough(const Visit *v) {
  if (!v->slave || v->slave->isRay || v->rec->bestValue >= INFINITE_GAP || v->tables->inner <= v->g || !allFreed(v->master)) return false;
  const double bound = v->rec->sense * v->rec->weight * qrt_getRobjvalue(v->lp);
  const double size = fmin(fabs(v->rec->estimated), fabs(v->rec->actual)) + 0.1;
  return v->rec->bestValue - bound <= v->tables->inner * size;
}

int solvedOptimal(Visit *v) {
  const double own = v->rec->weight * qrt_getRobjvalue(v->lp);
  if (!v->master) return finish(v, own, 1);
  if (nearEnough(v)) return finish(v, v->rec->sense * v->rec->bestValue, 0);
  v->master->ownRay = 0;
  v->master->proposalKind = v->slave && v->slave->isRay ? PROPOSAL_RAY : PROPOSAL_POINT;
  propose(v, v->master->proposalKind, columns(v, v->lp->solution), MSG_SENT_PROPOSAL);
  return 0;
}

int solvedUnbounded(Visit *v) {
  if (!v->master) return unbounded(v);
  takeRay(v);
  if (v->slave && v->slave->isRay) {
    v->master->proposalKind = PROPOSAL_RAY;
    propose(v, PROPOSAL_RAY, v->master->ray, MSG_SENT_PROPOSAL);
    return 0;
  }
  moveAlongRay(v);
  v->master->proposalKind = PROPOSAL_AUGMENTED;
  propose(v, PROPOSAL_POINT, columns(v, v->lp->solution), MSG_SENT_AUGMENTED);
  return 0;
}

// ---- solving

int run(Visit *v) {
  ++v->tables->moves;
  const bool first = !v->rec->solved, freed = v->master && v->master->freedNow;
  v->rec->solved = 1;
  if (v->master) v->master->freedNow = 0;
  if (first) {
    const int code = solveAfresh(v->sub, v->sub->alg, "NsubModel.pre");
    return code < 2 && (qrt_getIprobstat(v->lp) < 0 || qrt_getIprobstat(v->lp) == 3) ? solveFromLogicals(v->lp) : code;
  }
  // A column that has lost its bound makes the last basis dual infeasible; else new rows or fixed values are all that is
  // wrong. After a ray the values lie far out, and further each time they are started from.
  const bool ray = v->master && v->master->ownRay;
  if (freed || ray) {
    const int code = qrt_primalSimplex(v->lp, ray ? SOLVE_FROM_BASIS : SOLVE_FROM_VALUES);
    return code < 2 && (qrt_getIprobstat(v->lp) < 0 || qrt_getIprobstat(v->lp) == 3) ? solveFromLogicals(v->lp) : code;
  }
  return solveOn(v->lp);
}

// Infeasible at the proposal, but the multipliers do not show it: from the logical basis, then with a tolerance that
// gives way. *status becomes what the model is in the end, 1 with a proof that has been sent.
int tryForProof(Visit *v, int *status) {
  const double tolerance = qrt_getRtolpinf(v->lp);
  int code = 0;
  for (int k = 0; k <= MOST_LOOSENING && code < 2; ++k) {
    code = solveFromLogicals(v->lp);
    *status = outcomeOf(v->lp);
    if (code >= 2 || *status != 1 || sendCut(v->sub, CUT_FEASIBILITY, v->forceCut)) break;
    *status = NESTED_STALLED;
    qrt_setRtolpinf(v->lp, qrt_getRtolpinf(v->lp) * 10.0);
  }
  qrt_setRtolpinf(v->lp, tolerance);
  return code;
}

int solvedInfeasible(Visit *v) {
  v->rec->modelStatus = NESTED_INFEASIBLE;
  if (!v->slave) {
    post(v, NESTED_INFEASIBLE, answerSeq(v), 0.0);
    *v->howmany = EVENT_TERMINAL;
    return 0;
  }
  messageI(1, v->rec->modelNumber);
  messageI(2, v->rec->solveCount);
  say(MSG_RESOLVED_PROPOSAL);
  post(v, NESTED_INFEASIBLE, v->slave->proposalSeq, 0.0);
  return 0;
}

int solve(Visit *v) {
  NestedModel *rec = v->rec;
  ++rec->solveCount;
  saySolving("Nested Benders'", rec->modelNumber);
  if (v->slave) qrtnested_Cgtbd(v->sub, v->slave->isRay ? BOUNDS_RAY : BOUNDS_ORIGINAL);
  if (v->sub->alg == 2) qrt_setIdevexmode(v->lp, 3);
  if (v->master && rec->actual < SCN_INFINITY && !v->master->ownRay)
    columns(v, v->lp->solution)[rec->nCols] = rec->sense * rec->actual / rec->weight;
  int status, code = run(v);
  if (code < 2) code = confirmedOutcome(v->lp, &status);
  if (code >= 2) return code;
  if (status == 1 && v->slave && !sendCut(v->sub, CUT_FEASIBILITY, v->forceCut)) {
    code = tryForProof(v, &status);
    if (code >= 2) return code;
  }
  if (!v->slave) *v->howmany = EVENT_ROOT_SOLVED;
  *v->value = rec->weight * qrt_getRobjvalue(v->lp);
  if (status == 0) return solvedOptimal(v);
  if (status == 1) return solvedInfeasible(v);
  if (status == 2) return solvedUnbounded(v);
  return stall(v);
}

// ---- the children have answered

bool allSettled(const Visit *v) {
  QRTStoch **models = v->sub->parent->submodels;
  for (int j = 0; j < v->master->numChildren; ++j)
    if (!nestedOf(models[v->master->childModels[j] - 1])->settled) return false;
  return true;
}

// Nothing bars the last proposal.
int conclude(Visit *v) {
  NestedMaster *master = v->master;
  const bool known = v->rec->actual < SCN_INFINITY;
  if (!v->slave && known && v->tables->inner > v->g && !allSettled(v)) {
    // The answer stands, but its parts do not fit together yet.
    v->tables->inner = v->g;
    qrtnested_Clastprop(v->sub, v->seqStep);
    return 0;
  }
  if (master->proposalKind == PROPOSAL_AUGMENTED) {
    master->proposalKind = PROPOSAL_RAY;
    propose(v, PROPOSAL_RAY, master->ray, MSG_SENT_RAY);
    return 0;
  }
  if (master->proposalKind == PROPOSAL_RAY && master->ownRay) {
    const double cost = v->rec->sense * (master->rayCost + v->rec->actual);
    // The solver says the ray improves, and nothing contradicts it; unless by rounding.
    return cost < -RAY_NOISE * (master->raySize + fabs(v->rec->actual)) ? unbounded(v) : stall(v);
  }
  return finish(v, ownCost(v, columns(v, v->lp->solution), nullptr) + v->rec->actual, allSettled(v));
}

// What a cycle of the root has shown, for whoever watches.
void tellCycle(Visit *v) {
  QRTStoch *base = baseOf(v->sub);
  NestedTables *tables = v->tables;
  const bool point = v->master->proposalKind != PROPOSAL_RAY;
  if (point && v->rec->bestValue < tables->bestValue) tables->bestValue = v->rec->bestValue;
  tables->cutsSoFar += tables->cutsOfCycle;
  if (base->cycleCallBack) {
    QRTSCycle news = {};
    const bool bounded = v->master->proposalKind == PROPOSAL_POINT && allFreed(v->master);
    const double sense = v->rec->sense, bound = bounded ? sense * v->rec->weight * qrt_getRobjvalue(v->lp) : -SCN_INFINITY;
    news.cycle = tables->rootChecks;
    news.lower = sense > 0.0 ? bound : -tables->bestValue;
    news.upper = sense > 0.0 ? tables->bestValue : -bound;
    news.gap = bounded && v->rec->actual < SCN_INFINITY ? v->rec->relGap : SCN_INFINITY;
    news.cuts = tables->cutsOfCycle;
    news.totalCuts = tables->cutsSoFar;
    news.seconds = qrtcput() - tables->started;
    if (base->cycleCallBack(&news, base->cycleData) != 0) tables->stopAsked = 1;
  }
  tables->cutsOfCycle = 0;
}

int judgeAnswers(Visit *v, double *gap) {
  NestedModel *rec = v->rec;
  NestedMaster *master = v->master;
  ++v->tables->moves;
  qrtnested_Cchkslvs(v->sub, rec, gap, v->g);
  if (rec->actual < SCN_INFINITY && master->proposalKind != PROPOSAL_RAY) {
    const double found = rec->sense * (ownCost(v, columns(v, v->lp->solution), nullptr) + rec->actual);
    if (found < rec->bestValue) rec->bestValue = found;
  }
  if (!v->slave) {
    tellCycle(v);
    if (v->tables->stopAsked) return 0;
    if (rec->actual < SCN_INFINITY) v->tables->inner = fmax(v->g, LOOSER_BELOW * rec->relGap);
  }
  if (master->convergence == 0) return conclude(v);
  int read = 0;
  const int code = readCuts(v->sub, v->g, &read);
  if (code >= 2) return code;
  if (read > 0) return solve(v);
  return master->convergence == 2 ? conclude(v) : stall(v);
}

// A proposal from the parent, if there is one.
int receive(Visit *v, int wait) {
  NestedSlave *slave = v->slave;
  const double *proposal;
  const int seq = qrtnested_Cgetprop(v->sub, slave->parentTask, slave->parentModel, wait, &slave->isRay, &proposal, v->rec->modelNumber,
                                     v->rec->reportToManager, v->rec->managerTask);
  if (seq <= 0) return 0;
  tellOther(MSG_RECEIVED_PROPOSAL, v->rec->modelNumber, slave->parentModel);
  slave->proposal = proposal;
  slave->proposalSeq = seq;
  slave->changed = 0;
  v->rec->solveCount = 0;
  v->rec->bestValue = SCN_INFINITY;
  v->rec->modelStatus = NESTED_WORKING;
  post(v, NESTED_WORKING, seq, 0.0);
  fixVirtual(v->sub, proposal);
  return solve(v);
}

[[noreturn]] void refuse(const char *text) {
  fputs(text, stdout);
  qrts_endProcess(2);
}

int visit(Visit *v, int wait, double *gap) {
  if (v->rec->modelStatus != NESTED_WORKING) {
    if (v->slave) return receive(v, wait);
    *v->howmany = EVENT_ROOT_DONE;
    return 0;
  }
  if (!v->master) refuse("BNDRERROR: nonroot leaf model has been activated with WORKING status\n");
  if (v->master->proposalSeq == v->rec->modelNumber + FIRST_SEQ) {
    if (v->slave) refuse("BNDRERROR: nonroot model has been activated with WORKING status prior to posting any ");
    v->master->proposalKind = PROPOSAL_POINT;
    v->rec->solveCount = 0;
    return solve(v);
  }
  const NestedMaster *master = v->master;
  const int answered = qrtnested_Cwaitstat(v->sub, v->rec->modelNumber, master->childModels, master->numChildren, master->numChildren,
                                           master->proposalSeq, v->rec->reportToManager, v->rec->managerTask);
  return answered == -1 ? 0 : judgeAnswers(v, gap);
}

}  // namespace

void qrtnested_Cchkslvs(QRTStoch *sub, NestedModel *rec, double *gap, double g) {
  NestedMaster *master = rec->masterPart;
  int mask = 0;
  master->allReported = 1;
  rec->actual = rec->estimated = 0.0;
  for (int j = 0; j < master->numChildren; ++j) {
    NestedChild *child = &master->children[j];
    qrtnested_Cgetstat(sub, master->childModels[j], &child->status, &child->seq, &child->value);
    if (child->status == NESTED_UNBOUNDED_BELOW) {
      master->convergence = NESTED_UNBOUNDED_BELOW;
      return;
    }
    mask |= child->status;
    if (child->seq != master->proposalSeq) mask = 2;
    if (child->status == NESTED_OPTIMAL && rec->actual < SCN_INFINITY) {
      rec->actual += child->value;
      rec->estimated += child->estimate;
    }
    if (child->status == NESTED_INFEASIBLE && rec->actual < SCN_INFINITY) rec->actual = SCN_INFINITY;
    if (child->status < 1) child->hasOptimal = 1;
    master->allReported &= child->hasOptimal;
  }
  sayValue(MSG_ACTUAL_TOTAL, rec->actual);
  sayValue(MSG_ESTIMATED_TOTAL, rec->estimated);
  *gap = fabs(rec->estimated - rec->actual);
  const double tolerance = (fmin(fabs(rec->estimated), fabs(rec->actual)) + 0.1) * g;
  rec->relGap = *gap / tolerance * g;
  sayValue(MSG_TOTAL_GAP, *gap);
  if (!rec->slavePart) sayNumber(MSG_ROOT_CYCLES, ++nestedTables(baseOf(sub))->rootChecks);
  master->convergence = mask & 2 ? 2 : mask & 1 ? 1 : tolerance < *gap || !allFreed(master) ? 2 : 0;
}

void qrtnested_Clastprop(QRTStoch *sub, int seqStep) {
  const NestedModel *rec = nestedOf(sub);
  NestedMaster *master = rec->masterPart;
  const QRTModel *lp = sub->smodel->model;
  const bool ray = master->proposalKind == PROPOSAL_RAY;
  master->proposalSeq += seqStep;
  qrtnested_Cputprop(sub, master->childTasks, master->childModels, master->numChildren, ray ? PROPOSAL_RAY : PROPOSAL_POINT,
                     master->proposalSeq, rec->nCols, ray && master->ownRay ? master->ray : lp->solution + lp->Imaxrows, rec->modelNumber);
}

int qrtnested_Cmodel(QRTStoch *sub, int forceCut, int wait, int *howmany, double *value, double *gap, double g, int seqStep) {
  NestedModel *rec = nestedOf(sub);
  Visit v = {sub, rec, rec->masterPart, rec->slavePart, sub->smodel->model, nestedTables(baseOf(sub)), forceCut, howmany, value, g, seqStep};
  *howmany = EVENT_NONE;
  const int code = visit(&v, wait, gap);
#ifdef QRT_SELF_CHECKS
  const char *broken = code < 2 ? nestedModel_check(sub) : nullptr;
  if (broken) {
    fprintf(stderr, "nested model %d: %s\n", rec->modelNumber, broken);
    abort();
  }
#endif
  return code;
}

int solveAtParent(QRTStoch *sub, QRTStoch *parent) {
  QRTModel *lp = sub->smodel->model;
  const QRTModel *above = parent->smodel->model;
  qrtnested_Cgtbd(sub, BOUNDS_ORIGINAL);
  fixVirtual(sub, above->solution + above->Imaxrows);
  return solveOn(lp);
}
