// One pass of the L-shaped method: every subproblem at the proposal, cuts summed up by cluster, rows for the master.
//
// Up to a few hundred subproblems send a cut each. Beyond, neighbours form clusters with one recourse column and one cut
// together: the master would else grow by a row a subproblem and cycle, and be what the run spends its time on.
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <cstring>

#include "decomp/scn_benders_run.h"
#include "decomp/scn_solving.h"
#include "frame/messages.h"

namespace {

constexpr const char *CALLER = "qrts_CLshaped";
constexpr int CUT_EACH = 500;          // subproblems up to which each has its own recourse column
constexpr int FEWEST_CLUSTERS = 64;
constexpr int MOST_FEASIBILITY_CUTS = 500;  // a pass, where subproblems are many
constexpr double NOISE_SHARE = 0.01;   // of the gap that all cuts below the noise may leave together

template <class T> T *newArray(int64_t count) {
  return static_cast<T *>(qrts__alloc(CALLER, (count + 1) * int64_t(sizeof(T)), 0));
}

void addCompensated(BendersRun *run, double value) {
  const double sum = run->total + value;
  run->totalRest += fabs(run->total) >= fabs(value) ? (run->total - sum) + value : (value - sum) + run->total;
  run->total = sum;
}

void addGradient(BendersRun *run, const Member *member, const MemberAnswer *answer) {
  const Family *f = &run->all.family[member->family];
  int at = 0;
  for (int v = 0; v < f->nVirtual; ++v) {
    const int last = v + 1 < f->nVirtual ? f->colOffset[f->nReal + v + 1] - f->realCols : f->virtualCols;
    cutColumns_add(&run->cut, member->masterAt[v], last - at, answer->gradient + at, member->weight);
    at = last;
  }
}

// What a cluster has told so far in this pass.
struct ClusterSum {
  double rightHandSide;
  double value;             // in the sense of the program
  bool optimal;             // every member so far
  bool moved;               // some member's multipliers are not those of its last cut
};

// A cut that would move the master by less than rounding is none: it only makes the master longer.
bool cutIsNoise(const BendersRun *run, const SubEntry *entry, double value) {
  if (!entry->hasOptimal || run->mstat != 0 || run->thetaValue <= -SCN_INFINITY) return false;
  const double violation = run->stoch->optmaxmin * value - entry->estimate;
  const double share = NOISE_SHARE * run->stoch->gapAsked / masterOf(run->master)->numSubs;
  // A master that has run away estimates any size: what a proposal has cost is a better measure.
  const double size = run->bestValue < SCN_INFINITY ? fmin(fabs(run->thetaValue), fabs(run->bestValue)) : 0.0;
  return violation <= share * size + 1e-14 * (fabs(value) + fabs(entry->estimate));
}

// A cut of a subproblem without feasible point. Members at one proof share all but the right-hand side: the least of
// them says it for all.
void sendProof(BendersRun *run, int i, const MemberAnswer *answer) {
  const Member *member = &run->all.member[i];
  const bool shared = member->home >= 0 && member->nElements == 0;
  CutColumns *cut = &run->cut;
  double kept = 0.0;
  for (int v = 0; v < run->all.family[member->family].virtualCols; ++v) kept = fmax(kept, fabs(answer->gradient[v]));
  const double factor = kept > 0.0 ? 1.0 / kept : 1.0;  // multipliers of phase one can be of any size
  for (int p = 0; shared && p < run->nProofs; ++p) {
    const SharedProof &known = run->proofs[p];
    if (known.family != member->family || known.home != member->home || known.masterAt != member->masterAt) continue;
    double &rhs = run->batch.upper[known.row];
    rhs = fmin(rhs, factor * answer->rightHandSide);
    return;
  }
  if (run->n > CUT_EACH && run->feasibilityCuts >= MOST_FEASIBILITY_CUTS) return;
  // The member's gradient alone; the cluster's sum so far is of no use once a member is infeasible.
  cutColumns_clear(cut);
  const Family *f = &run->all.family[member->family];
  int at = 0;
  for (int v = 0; v < f->nVirtual; ++v) {
    const int last = v + 1 < f->nVirtual ? f->colOffset[f->nReal + v + 1] - f->realCols : f->virtualCols;
    cutColumns_add(cut, member->masterAt[v], last - at, answer->gradient + at, 1.0);
    at = last;
  }
  const int row = cutBatch_sum(&run->batch, cut, -1, factor, answer->rightHandSide);
  cutColumns_clear(cut);
  ++run->feasibilityCuts;
  ++run->newCuts;
  if (shared && run->nProofs < MOST_SHARED_PROOFS) run->proofs[run->nProofs++] = {member->family, member->home, row, member->masterAt};
}

// How the subproblem's value changes along the master's ray.
int solveAlongRay(BendersRun *run, int i, MemberAnswer *answer) {
  const MemberTask task = {run->ray, true};
  run->total = -run->stoch->optmaxmin * SCN_INFINITY;
  saySolving("subordinate", i + 2);
  const int code = member_solve(&run->all, i, &task, answer);
  if (code >= 2) return code;
  const double change = run->stoch->optmaxmin * run->all.member[i].weight * answer->value;
  if (answer->status == 0) {
    run->rayCost += change;
    run->raySize += fabs(change) + run->all.member[i].weight * answer->size;
  } else {
    run->rayCost = run->stoch->optmaxmin * SCN_INFINITY;  // barred: its cut says so, and the ray proves nothing
  }
  run->rayPass = true;
  return 0;
}

// Subproblem i at the last proposal, its part of the cluster's cut into `sum`.
int visit(BendersRun *run, int i, ClusterSum *sum) {
  Member *member = &run->all.member[i];
  tellSolve(run->cycle, ++run->solves);
  saySolving("subordinate", i + 2);
  const MemberTask task = {run->proposed, false};
  MemberAnswer answer;
  int code = member_solve(&run->all, i, &task, &answer);
  if (code >= 2 || answer.status > 2 || answer.status < 0) run_writeFailure(run, i);
  if (code >= 2) return code;
  bool alongRay = false;
  const double value = run->stoch->optmaxmin * member->weight * answer.value;
  if (answer.status == 1) {
    run->mstat = run->master->status = 0;
    run->total = run->stoch->optmaxmin * SCN_INFINITY;
  } else if (answer.status == 2) {
    say(MSG_PROBLEM_UNBOUNDED);
    run->stoch->status = 2;
    run->end = END_CLEAN;
    return 0;
  } else if (answer.status == 0 && run->mstat == 2) {
    alongRay = true;
    code = solveAlongRay(run, i, &answer);
    if (code >= 2) return code;
  }
  if (answer.status >= 2 || answer.status < 0) {
    sayNumber(MSG_DID_NOT_SOLVE, i + 1);
    run->end = END_FAILED;
    return 0;
  }
  if (!alongRay && answer.status == 0 && fabs(run->total) < SCN_INFINITY) addCompensated(run, value);
  if (!alongRay) sum->value += value;
  sum->moved |= alongRay || !answer.sameMultipliers;
  member_noteCut(member, &answer, alongRay);
  if (answer.status == 1) {
    sendProof(run, i, &answer);
    sum->optimal = false;
  } else if (sum->optimal) {
    addGradient(run, member, &answer);
    sum->rightHandSide += member->weight * answer.rightHandSide;
  }
  return 0;
}

void sendCut(BendersRun *run, int child, const ClusterSum *sum) {
  BendersMaster *record = masterOf(run->master);
  SubEntry *entry = &record->subs[child - 1];
  QRTModel *lp = run->master->smodel->model;
  const int at = lp->Imaxrows + record->nCols + child;
  entry->value = sum->value;
  cutBatch_sum(&run->batch, &run->cut, record->nCols + child, 1.0, sum->rightHandSide);
  lp->lower[at] = -SCN_INFINITY;
  lp->solution[at] = run->master->optmaxmin * sum->value;
  entry->hasOptimal = 1;
  ++run->newCuts;
}

int visitCluster(BendersRun *run, int child) {
  SubEntry *entry = &masterOf(run->master)->subs[child - 1];
  ClusterSum sum = {0.0, 0.0, true, false};
  for (int k = 0; k < entry->nMembers && run->end == END_NOT_YET; ++k) {
    const int code = visit(run, entry->firstMember + k, &sum);
    if (code >= 2) return code;
  }
  // Multipliers that have not changed give the cut that the master has.
  const bool wanted = sum.optimal && run->end == END_NOT_YET &&
                      ((run->cycle < 2 && run->cyclesBefore == 0) || run->rayPass || !entry->hasOptimal || (sum.moved && !cutIsNoise(run, entry, sum.value)));
  if (wanted) sendCut(run, child, &sum);
  // Multipliers that went into no row are not those of the members' last cuts: another proposal may need that very cut.
  for (int k = 0; !wanted && sum.moved && k < entry->nMembers; ++k) run->all.member[entry->firstMember + k].cutStatus = -1;
  cutColumns_clear(&run->cut);
  return 0;
}

}  // namespace

int countFreed(BendersRun *run) {
  const BendersMaster *record = masterOf(run->master);
  int reported = 0;
  for (int j = 0; j < record->numSubs; ++j) reported += record->subs[j].hasOptimal;
  const int freed = reported - run->freedBefore;
  run->freedBefore = reported;
  return freed;
}

int run_clusters(int members, int ownColumns) {
  if (members <= CUT_EACH) return members;
  const int wanted = 4 * ownColumns > FEWEST_CLUSTERS ? 4 * ownColumns : FEWEST_CLUSTERS;
  return wanted < members ? wanted : members;
}

int run_setUp(BendersRun *run, int **lists, const int *counts) {
  const int code = families_build(&run->all, run->stoch, run->master, lists, counts, run->n);
  if (code >= 2) return code;
  BendersMaster *record = masterOf(run->master);
  const int members = run->n - 1, children = record->numSubs;
  for (int c = 0, first = 0; c < children; ++c) {
    SubEntry *entry = &record->subs[c];
    entry->firstMember = first;
    entry->nMembers = int((int64_t(members) * (c + 1)) / children) - first;
    for (int k = 0; k < entry->nMembers; ++k) run->all.member[first + k].cluster = c;
    first += entry->nMembers;
  }
  run->cut.sum = newArray<double>(record->nCols);
  run->cut.marked = newArray<unsigned char>(record->nCols);
  run->cut.touched = newArray<int>(record->nCols);
  run->proposed = newArray<double>(record->nCols);
  for (int i = 0; i < members; ++i) {
    const Family &f = run->all.family[run->all.member[i].family];
    int blocks = 0;
    for (int p = 0; p < f.nReal; ++p) blocks += f.shape[2 * p];
    tellSubproblem(run->stoch, i + 1, f.nReal, f.nVirtual, f.nRows, f.realCols + f.virtualCols, blocks);
  }
  return 0;
}

void run_free(BendersRun *run) {
  families_free(&run->all);
  cutBatch_drop(&run->batch);
  cutBatch_drop(&run->kept);
  free(run->cut.sum);
  free(run->cut.marked);
  free(run->cut.touched);
  free(run->proposed);
  free(run->ray);
}

int run_pass(BendersRun *run) {
  BendersMaster *record = masterOf(run->master);
  run->total = run->totalRest = 0.0;
  run->newCuts = run->nProofs = run->feasibilityCuts = 0;
  run->rayPass = false;
  families_newProposal(&run->all);
  cutBatch_open(&run->batch, int64_t(record->numSubs) + (run->n > CUT_EACH ? MOST_FEASIBILITY_CUTS : run->n));
  for (int child = 1; child <= record->numSubs && run->end == END_NOT_YET; ++child) {
    const int code = visitCluster(run, child);
    if (code >= 2) return code;
  }
  if (run->end != END_NOT_YET) return 0;
  families_endPass(&run->all);
  run->total += run->totalRest;
  return 0;
}

int run_gather(BendersRun *run, bool announce) {
  families_newProposal(&run->all);
  for (int i = 0; i < run->n - 1; ++i) {
    if (announce) saySolving("subordinate", i + 2);
    MemberAnswer answer;
    const int code = member_gather(&run->all, i, run->proposed, &answer);
    if (code >= 2) return code;
  }
  return qrts_Cgthr(run->stoch, &run->master, 1);
}
