// One member's answer: by a walk through the family's tree of bases, else by the simplex on the family's model.
#include <cmath>
#include <cstdlib>
#include <cstring>

#include "decomp/scn_basis_tree.h"
#include "decomp/scn_solving.h"
#include "frame/entry_frame.h"
#include "model/model_store.h"

namespace {

constexpr const char *CALLER = "member_solve";
constexpr double HAIR = 10.0;        // tolerances by which a member may be infeasible and still count as feasible
constexpr int MOST_TREE_FAILURES = 3;
constexpr double FACTOR_IN_STEPS = 4, ROWS_A_STEP = 40;  // what loading and factorising a basis costs, in pivots
constexpr int TRY_OTHER = 16;
constexpr double MEMORY_OF_STEPS = 32;
constexpr int STATUS_SHIFT = 24;     // a basis keeps the upper byte of a status word

BoundSet boundsOf(const Families *all, const Family *f) {
  return {all->lower + f->nRows, all->upper + f->nRows, all->lower, all->upper};
}

void putRims(const Families *all, const Family *f, const Member *member, bool shared) {
  const int nVar = f->nRows + f->realCols;
  for (int64_t r = member->firstRim; r < member->firstRim + member->nRim; ++r) {
    const int at = f->rimAt[r];
    if (at < nVar) all->lower[at] = shared ? f->lower[at] : f->rimValue[r];
    else if (at < 2 * nVar) all->upper[at - nVar] = shared ? f->upper[at - nVar] : f->rimValue[r];
  }
}

// The member's bounds into all->lower and all->upper, where the shared ones of its family stand.
void applyBounds(Families *all, const Member *member) {
  const Family *f = &all->family[member->family];
  const size_t bytes = (size_t(f->nRows) + size_t(f->realCols)) * sizeof(double);
  if (all->boundsOf != member->family && bytes) {
    memcpy(all->lower, f->lower, bytes);
    memcpy(all->upper, f->upper, bytes);
  }
  all->boundsOf = member->family;
  putRims(all, f, member, false);
}

void takeProposal(Families *all, const Member *member, const double *xhat) {
  const Family *f = &all->family[member->family];
  double *to = all->hatX;
  for (int v = 0; v < f->nVirtual; ++v) {
    const int last = v + 1 < f->nVirtual ? f->colOffset[f->nReal + v + 1] : f->realCols + f->virtualCols;
    const int size = last - f->colOffset[f->nReal + v];
    if (size > 0) memcpy(to, xhat + member->masterAt[v], size_t(size) * sizeof(double));
    to += size;
  }
}

// T xhat, unless it stands.
void makeProduct(Families *all, Family *f, const Member *member, bool alongRay) {
  if (f->productOf == member->masterAt && f->productAlongRay == int(alongRay)) return;
  f->productOf = member->masterAt;
  f->productAlongRay = alongRay;
  memset(f->product, 0, size_t(f->nRows) * sizeof(double));
  for (int v = 0; v < f->virtualCols; ++v)
    if (all->hatX[v] != 0.0)
      for (int e = f->tStart[v]; e < f->tStart[v + 1]; ++e) f->product[f->tRow[e]] += f->tValue[e] * all->hatX[v];
  tree_newProposal(f->tree);
}

// Fills the answer's cut from multipliers that stand in answer->reduced and gradient. False when they are a proof that
// leans on an infinite bound.
bool makeCut(const Families *all, const Family *f, bool dualFormOnly, double tolerance, MemberAnswer *answer) {
  const BoundSet bounds = boundsOf(all, f);
  const DualBound dual = dualBound(&bounds, f->nRows, f->realCols, answer->reduced, 1.0, answer->reduced + f->nRows, tolerance);
  double gradientTerm = 0.0;
  for (int v = 0; v < f->virtualCols; ++v) gradientTerm += answer->gradient[v] * all->hatX[v];
  answer->rightHandSide = cutRightHandSide(dual, gradientTerm, answer->value, dualFormOnly);
  return answer->status != 1 || !dual.needsInfinity;
}

// How far a feasibility cut is violated when its largest coefficient is 1.
double scaledViolation(const Families *all, const Family *f, const MemberAnswer *answer) {
  double term = 0.0, largest = 0.0;
  for (int v = 0; v < f->virtualCols; ++v) {
    term += answer->gradient[v] * all->hatX[v];
    largest = fmax(largest, fabs(answer->gradient[v]));
  }
  return largest > 0.0 ? (term - answer->rightHandSide) / largest : SCN_INFINITY;
}

// Sizes of the terms in the value along a ray, -y'(T + dT) r. Where they cancel the value is rounding of their size.
double raySizeOf(const Families *all, const Family *f, const Member *member, const double *y) {
  double size = 0.0;
  for (int v = 0; v < f->virtualCols; ++v)
    if (all->hatX[v] != 0.0)
      for (int e = f->tStart[v]; e < f->tStart[v + 1]; ++e) size += fabs(y[f->tRow[e]] * f->tValue[e] * all->hatX[v]);
  for (int64_t e = member->firstElement; e < member->firstElement + member->nElements; ++e)
    if (f->elementCol[e] >= f->realCols) size += fabs(y[f->elementRow[e]] * f->elementValue[e] * all->hatX[f->elementCol[e] - f->realCols]);
  return size;
}

// ---- by the tree

void makeExtra(Families *all, const Family *f, const Member *member) {
  for (int64_t e = member->firstElement; e < member->firstElement + member->nElements; ++e)
    all->extra[f->elementRow[e]] -= f->elementValue[e] * all->hatX[f->elementCol[e] - f->realCols];
}

void dropExtra(Families *all, const Family *f, const Member *member) {
  for (int64_t e = member->firstElement; e < member->firstElement + member->nElements; ++e) all->extra[f->elementRow[e]] = 0.0;
}

const double *memberGradient(Families *all, const Family *f, const Member *member, int home) {
  const double *shared = tree_gradient(f->tree, home);
  if (member->nElements == 0) return shared;
  if (f->virtualCols) memcpy(all->gradient, shared, size_t(f->virtualCols) * sizeof(double));
  const double *y = tree_reduced(f->tree, home);
  for (int64_t e = member->firstElement; e < member->firstElement + member->nElements; ++e)
    all->gradient[f->elementCol[e] - f->realCols] -= f->elementValue[e] * y[f->elementRow[e]];
  return all->gradient;
}

// Leaves the answer of the tree; false when the member needs the model.
bool askTree(Families *all, Member *member, const MemberTask *task, MemberAnswer *answer) {
  Family *f = &all->family[member->family];
  if (!f->tree || member->alone) return false;
  makeProduct(all, f, member, task->alongRay);
  if (member->nElements) makeExtra(all, f, member);
  int home = -1;
  const int outcome = tree_walk(f->tree, all, member, task->alongRay, member->nElements ? all->extra : nullptr, &home);
  if (member->nElements) dropExtra(all, f, member);
  if (outcome == WALK_LOST) return false;
  const double tolerance = qrt_getRtoldinf(f->model);
  answer->status = outcome == WALK_OPTIMAL ? 0 : 1;
  for (;;) {
    answer->reduced = tree_reduced(f->tree, home);
    answer->gradient = memberGradient(all, f, member, home);
    answer->value = 0.0;
    if (answer->status == 0) answer->value = tree_cost(f->tree);
    // The tree measures no infeasibility: a proof is worth what its multipliers say.
    if (!makeCut(all, f, task->alongRay || answer->status == 1, tolerance, answer)) return false;
    if (answer->status == 0 || task->alongRay) break;
    answer->value = scaledViolation(all, f, answer);
    if (answer->value > HAIR * qrt_getRtolpinf(f->model)) break;
    if (!tree_stayAbove(f->tree, &home)) return false;
    answer->status = 0;
  }
  answer->sameMultipliers = member->cutHome == home && !task->alongRay && !member->cutAlongRay && member->cutStatus == answer->status;
  member->home = home;
  return true;
}

// ---- by the model

void addMatrix(const Family *f, QRTModel *model) {
  const int n = f->realCols + f->virtualCols, nReal = f->start[f->realCols], nAll = nReal + f->tStart[f->virtualCols];
  int *starts = static_cast<int *>(qrts__alloc(CALLER, (int64_t(n) + 1) * int64_t(sizeof(int)), 0));
  int *rows = static_cast<int *>(qrts__alloc(CALLER, (int64_t(nAll) + 1) * int64_t(sizeof(int)), 0));
  double *values = static_cast<double *>(qrts__alloc(CALLER, (int64_t(nAll) + 1) * int64_t(sizeof(double)), 0));
  for (int j = 0; j <= f->realCols; ++j) starts[j] = f->start[j];
  for (int v = 1; v <= f->virtualCols; ++v) starts[f->realCols + v] = nReal + f->tStart[v];
  for (int e = 0; e < nReal; ++e) {
    rows[e] = f->row[e];
    values[e] = f->value[e];
  }
  for (int e = nReal; e < nAll; ++e) {
    rows[e] = f->tRow[e - nReal];
    values[e] = f->tValue[e - nReal];
  }
  if (n > 0) appendColumnBlock(model, n, rows, starts, values, 0, 0);
  free(starts);
  free(rows);
  free(values);
}

// The family's model: empty rims of its size, the shared matrix. It always minimises.
void makeModel(Families *all, Family *f) {
  const QRTStoch *stoch = all->stoch;
  char name[192];
  snprintf(name, sizeof name, "%.127s-PartialSubTree", stoch->name);
  f->model = qrts_create2EmptyModel(stoch->baseModel->context, stoch->baseModel, name, stoch->ifDebug);
  qrt_loadRimModel(f->model, f->nRows, nullptr, nullptr, f->realCols + f->virtualCols, nullptr, nullptr, nullptr);
  qrt_dropLastElementBlock(f->model);
  addMatrix(f, f->model);
  qrt_setRmaxmin(f->model, 1.0);
  quieten(f->model);
  qrt_setCompressOff(f->model);  // the virtual columns' reduced costs are what a cut is made of
  for (int j = 0; j < f->virtualCols; ++j) f->model->objective[f->model->Imaxrows + f->realCols + j] = 0.0;
}

// Recession cone of an interval.
double coneBound(double bound) { return bound <= -SCN_INFINITY || bound >= SCN_INFINITY ? bound : 0.0; }

double restingValue(const QRTModel *lp, int at) {
  const uint32_t word = uint32_t(lp->status[at]);
  if ((word & STATUS_SIDE_MASK) == STATUS_AT_UPPER && lp->upper[at] < SCN_INFINITY) return lp->upper[at];
  if (lp->lower[at] > -SCN_INFINITY) return lp->lower[at];
  return lp->upper[at] < SCN_INFINITY ? lp->upper[at] : 0.0;
}

// Whether a member begins with its own last basis, which must be factorised, or with that of the member before it, whose
// factor stands in the model. Both are dual feasible unless costs or elements differ, and what they cost is counted as it
// comes: every so often the dearer one is tried again.
bool ownStart(const Family *f, const Member *member) {
  if (member->alone || f->modelBasis == 0) return true;
  const double own = f->stepsOwn + FACTOR_IN_STEPS + f->nRows / ROWS_A_STEP, next = f->stepsNext;
  const bool tryOther = f->starts % TRY_OTHER == 0;
  return (own < next) != tryOther;
}

void noteStart(Family *f, bool own, int steps) {
  double *mean = own ? &f->stepsOwn : &f->stepsNext;
  *mean += (steps - *mean) / MEMORY_OF_STEPS;
  ++f->starts;
}

void addOwnElements(const Family *f, const Member *member) {
  if (member->nElements)
    appendTripleBlock(f->model, member->nElements, f->elementRow + member->firstElement, f->elementCol + member->firstElement,
                      f->elementValue + member->firstElement, 0, 0);
}

// With `own` it begins from the basis it left, else from the one in the model.
void loadMember(Families *all, Family *f, const Member *member, bool alongRay, bool own) {
  QRTModel *lp = f->model;
  const int base = lp->Imaxrows, nVar = f->nRows + f->realCols;
  for (int k = 0; k < nVar; ++k) {
    const int at = k < f->nRows ? k : base + k - f->nRows;
    lp->lower[at] = alongRay ? coneBound(all->lower[k]) : all->lower[k];
    lp->upper[at] = alongRay ? coneBound(all->upper[k]) : all->upper[k];
    if (own) lp->status[at] = int(uint32_t(member->basis[k]) << STATUS_SHIFT);
    else if (!member->basis) lp->status[at] &= ~int(STATUS_POSITION_MASK);
    if (!(uint32_t(lp->status[at]) & STATUS_BASIC)) lp->solution[at] = restingValue(lp, at);
  }
  for (int j = 0; j < f->realCols; ++j) lp->objective[base + j] = f->cost[j];
  for (int64_t r = member->firstRim; r < member->firstRim + member->nRim; ++r)
    if (f->rimAt[r] >= 2 * nVar) lp->objective[base + f->rimAt[r] - 2 * nVar] = f->rimValue[r];
  for (int v = 0; v < f->virtualCols; ++v) {
    const int at = base + f->realCols + v;
    lp->lower[at] = lp->upper[at] = lp->solution[at] = all->hatX[v];
    lp->status[at] = 0;
  }
  addOwnElements(f, member);
}

// First solve in the model, as the options ask. Elements that differ are in the caller's units.
int solveFirst(const QRTStoch *asked, const Family *f, const Member *member) {
  const bool started = member->basis != nullptr;
  const SolveOptions options = {asked->ifScale && f->nElements == 0 && !started, started ? 0 : asked->ifPresolve, asked->ifCrash, asked->alg};
  const int code = solveFromNothing(f->model, options, "subModel.pre");
  if (options.presolve > 0 && member->nElements) {
    // What comes back from presolve is one matrix: the member's own elements must be a block that can be taken off.
    dropAllBlocks(f->model);
    addMatrix(f, f->model);
    addOwnElements(f, member);
  }
  return code;
}

int runSimplex(Families *all, Family *f, const Member *member) {
  if (f->modelScaled) return solveOn(f->model);
  f->modelScaled = 1;
  return solveFirst(all->stoch, f, member);
}

void keepBasis(const Family *f, Member *member) {
  const int nVar = f->nRows + f->realCols;
  if (!member->basis) member->basis = static_cast<unsigned char *>(qrts__alloc(CALLER, int64_t(nVar) + 1, 1));
  for (int k = 0; k < nVar; ++k) {
    const int at = k < f->nRows ? k : f->model->Imaxrows + k - f->nRows;
    member->basis[k] = static_cast<unsigned char>(uint32_t(f->model->status[at]) >> STATUS_SHIFT & 0xE0);
  }
}

void plantTree(Families *all, Family *f, const Member *member) {
  if (f->tree || f->treeUseless || member->alone) return;
  f->treeUseless = f->nRows > TREE_MOST_ROWS || all->nMembers < 2;
  if (f->treeUseless) return;
  f->tree = tree_create(f, member->basis, qrt_getRtolpinf(f->model), qrt_getRtoldinf(f->model));
  if (!f->tree && ++f->treeFailures >= MOST_TREE_FAILURES) f->treeUseless = 1;
}

// Multipliers of the model's last solve in the family's signs.
void takeMultipliers(Families *all, const Family *f, MemberAnswer *answer) {
  const QRTModel *lp = f->model;
  const double *from = answer->status == 1 ? lp->aux : lp->dual;
  const double rowSign = answer->status == 1 ? -1.0 : 1.0;  // qrt_rowaux has the sign opposite to that of row duals
  for (int i = 0; i < f->nRows; ++i) all->reduced[i] = rowSign * from[i];
  for (int j = 0; j < f->realCols; ++j) all->reduced[f->nRows + j] = from[lp->Imaxrows + j];
  for (int v = 0; v < f->virtualCols; ++v) all->gradient[v] = from[lp->Imaxrows + f->realCols + v];
  answer->reduced = all->reduced;
  answer->gradient = all->gradient;
}

int askModel(Families *all, Member *member, const MemberTask *task, MemberAnswer *answer) {
  Family *f = &all->family[member->family];
  if (!f->model) makeModel(all, f);
  QRTModel *lp = f->model;
  const bool hadBasis = member->basis != nullptr, own = hadBasis && ownStart(f, member);
  loadMember(all, f, member, task->alongRay, own);
  const int before = qrt_getIiternum(lp);
  const int32_t startBasis = own ? member->basisNumber : f->modelBasis;
  f->modelBasis = 0;
  int code = runSimplex(all, f, member);
  if (code < 2) code = confirmedOutcome(lp, &answer->status);
  answer->value = answer->status == 1 ? qrt_getRsumpinf(lp) : qrt_getRobjvalue(lp);
  if (code < 2 && answer->status == 1 && !task->alongRay) {
    takeMultipliers(all, f, answer);
    makeCut(all, f, task->alongRay, qrt_getRtoldinf(lp), answer);
    if (scaledViolation(all, f, answer) <= HAIR * qrt_getRtolpinf(lp)) {
      // A cut that shallow would come back for ever.
      const double tolerance = qrt_getRtolpinf(lp);
      qrt_setRtolpinf(lp, HAIR * tolerance);
      code = solveOn(lp);
      if (code < 2) code = confirmedOutcome(lp, &answer->status);
      qrt_setRtolpinf(lp, tolerance);
      answer->value = answer->status == 1 ? qrt_getRsumpinf(lp) : qrt_getRobjvalue(lp);
    }
  }
  if (member->nElements) dropLastBlock(lp);
  if (code >= 2 || answer->status < 0 || answer->status > 1) return code;
  takeMultipliers(all, f, answer);
  makeCut(all, f, task->alongRay, qrt_getRtoldinf(lp), answer);
  const int steps = qrt_getIiternum(lp) - before;
  if (hadBasis && !member->alone) noteStart(f, own, steps);
  member->basisNumber = steps == 0 && startBasis != 0 ? startBasis : ++f->nBases;
  f->modelBasis = member->alone ? 0 : member->basisNumber;  // its duals may be infeasible for others
  answer->sameMultipliers = member->basisNumber == member->cutBasis && !task->alongRay && !member->cutAlongRay &&
                            member->cutStatus == answer->status && member->cutHome < 0;
  keepBasis(f, member);
  if (answer->status == 0 && !task->alongRay) plantTree(all, f, member);
  member->home = -1;
  return code;
}

int solve(Families *all, Member *member, const MemberTask *task, MemberAnswer *answer, bool *byTree) {
  *answer = {};
  takeProposal(all, member, task->xhat);
  applyBounds(all, member);
  int code = 0;
  *byTree = askTree(all, member, task, answer);
  if (!*byTree) code = askModel(all, member, task, answer);
  if (code < 2 && task->alongRay && answer->status == 0) answer->size = raySizeOf(all, &all->family[member->family], member, answer->reduced);
  if (code < 2 && !task->alongRay) {
    member->value = answer->value;
    member->status = static_cast<int8_t>(answer->status);
  }
  return code;
}

}  // namespace

void families_newProposal(Families *all) {
  for (int f = 0; f < all->count; ++f) all->family[f].productOf = nullptr;
}

void families_endPass(Families *all) {
  for (int f = 0; f < all->count; ++f) {
    if (!all->family[f].tree || !tree_reroot(all->family[f].tree)) continue;
    for (int i = 0; i < all->nMembers; ++i)
      if (all->member[i].family == f) all->member[i].home = all->member[i].cutHome = -1;
  }
}

void member_noteCut(Member *member, const MemberAnswer *answer, bool alongRay) {
  member->cutHome = member->home;
  member->cutBasis = member->basisNumber;
  member->cutStatus = static_cast<int8_t>(answer->status);
  member->cutAlongRay = alongRay;
}

int member_solve(Families *all, int i, const MemberTask *task, MemberAnswer *answer) {
  Member *member = &all->member[i];
  bool byTree;
  const int code = solve(all, member, task, answer, &byTree);
  putRims(all, &all->family[member->family], member, true);
  return code;
}

int member_gather(Families *all, int i, const double *xhat, MemberAnswer *answer) {
  Member *member = &all->member[i];
  const Family *f = &all->family[member->family];
  const MemberTask task = {xhat, false};
  bool byTree;
  const int code = solve(all, member, &task, answer, &byTree);
  if (code < 2 && (answer->status == 0 || answer->status == 1)) {
    const StochModel *whole = all->stoch->smodel;
    QRTModel *to = whole->model;
    unsigned char *status = static_cast<unsigned char *>(qrts__alloc(CALLER, int64_t(f->nRows) + f->realCols + 1, 1));
    if (byTree) {
      tree_solution(f->tree, all, all->solution, status);
    } else {
      for (int k = 0; k < f->nRows + f->realCols; ++k) {
        const int at = k < f->nRows ? k : f->model->Imaxrows + k - f->nRows;
        all->solution[k] = f->model->solution[at];
        status[k] = static_cast<unsigned char>(uint32_t(f->model->status[at]) >> STATUS_SHIFT & 0xE0);
      }
    }
    const auto copyPart = [&](int target, int source, int n) {
      for (int k = 0; k < n; ++k) {
        to->solution[target + k] = all->solution[source + k];
        to->dual[target + k] = member->weight * answer->reduced[source + k];
        to->status[target + k] = int(uint32_t(status[source + k]) << STATUS_SHIFT);
      }
    };
    for (int p = 0; p < f->nReal; ++p) {
      const TreeNode &node = whole->nodeList->nodes[placeOfNode(whole, member->nodes[p]) - 1];
      copyPart(node.rowOffset, f->rowOffset[p], node.nRows);
      copyPart(to->Imaxrows + node.colOffset, f->nRows + f->colOffset[p], node.nCols);
    }
    free(status);
  }
  putRims(all, f, member, true);
  return code;
}

void member_hotStart(Families *all, int i) {
  Member *member = &all->member[i];
  const Family *f = &all->family[member->family];
  const StochModel *whole = all->stoch->smodel;
  member->basis = static_cast<unsigned char *>(qrts__alloc(CALLER, int64_t(f->nRows) + f->realCols + 1, 1));
  const auto takePart = [&](int target, int source, int n) {
    for (int k = 0; k < n; ++k)
      member->basis[target + k] = static_cast<unsigned char>(uint32_t(whole->model->status[source + k]) >> STATUS_SHIFT & 0xE0);
  };
  for (int p = 0; p < f->nReal; ++p) {
    const TreeNode &node = whole->nodeList->nodes[placeOfNode(whole, member->nodes[p]) - 1];
    takePart(f->rowOffset[p], node.rowOffset, node.nRows);
    takePart(f->nRows + f->colOffset[p], whole->model->Imaxrows + node.colOffset, node.nCols);
  }
}

int member_export(Families *all, int i, const double *xhat, const char *file) {
  Member *member = &all->member[i];
  Family *f = &all->family[member->family];
  takeProposal(all, member, xhat);
  applyBounds(all, member);
  if (!f->model) makeModel(all, f);
  loadMember(all, f, member, false, false);
  const int code = exportInUnits(f->model, file);
  if (member->nElements) dropLastBlock(f->model);
  putRims(all, f, member, true);
  return code;
}
