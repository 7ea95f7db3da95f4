// The saved state of a run of the L-shaped method: bounds, the last proposal and every cut, so that a long run that is
// cut off goes on from there.
//
//     header       who the state belongs to (sizes, sense, a fingerprint of the program) and how far it came
//     proposal     [own columns]      value, hasOptimal of each child
//     cuts         right-hand sides, row starts, columns, values; children's columns count from own columns + 1
// and the sum that every state file ends with.
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <cstring>

#include "decomp/scn_benders_run.h"
#include "decomp/scn_state_file.h"

namespace {

constexpr const char *CALLER = "qrts_setSaveState";
constexpr char MAGIC[] = "TAVSTAT1";

struct StateHeader {
  char magic[STATE_MAGIC];
  int32_t models, children, ownCols, ownRows;
  uint64_t fingerprint;
  double sense;
  int32_t cycle, rows, elements, boundKnown;
  double masterValue, bestValue;
};
static_assert(sizeof(StateHeader) == 72, "states are written as they stand");

// Of the data that cuts stand on: master's rims, shared programs, members' weights and differences.
uint64_t fingerprintOf(const BendersRun *run) {
  uint64_t sum = EMPTY_SUM;
  const auto add = [&sum](const void *data, int64_t bytes) {
    if (bytes > 0) sum = addBytes(sum, data, bytes);
  };
  const BendersMaster *record = masterOf(run->master);
  const QRTModel *lp = run->master->smodel->model;
  add(lp->objective + lp->Imaxrows, 8 * int64_t(record->nCols));
  add(lp->lower, 8 * int64_t(record->nRows));
  add(lp->upper, 8 * int64_t(record->nRows));
  for (int f = 0; f < run->all.count; ++f) {
    const Family &one = run->all.family[f];
    add(one.value, 8 * int64_t(one.start[one.realCols]));
    add(one.tValue, 8 * int64_t(one.tStart[one.virtualCols]));
    add(one.lower, 8 * (int64_t(one.nRows) + one.realCols));
    add(one.cost, 8 * int64_t(one.realCols));
    add(one.rimValue, 8 * one.nRim);
    add(one.elementValue, 8 * one.nElements);
  }
  for (int i = 0; i < run->n - 1; ++i) add(&run->all.member[i].weight, 8);
  return sum;
}

StateHeader headerOf(const BendersRun *run) {
  const BendersMaster *record = masterOf(run->master);
  StateHeader h = {};
  memcpy(h.magic, MAGIC, STATE_MAGIC);
  h.models = run->n;
  h.children = record->numSubs;
  h.ownCols = record->nCols;
  h.ownRows = record->nRows;
  h.fingerprint = run->fingerprint;
  h.sense = run->stoch->optmaxmin;
  h.cycle = run->cyclesBefore + run->cycle;
  h.rows = run->kept.rows;
  h.elements = run->kept.elements;
  h.boundKnown = run->boundKnown;
  h.masterValue = run->masterValue;
  h.bestValue = run->bestValue;
  return h;
}

void writeAll(const BendersRun *run, StateWriter *out) {
  const StateHeader h = headerOf(run);
  const BendersMaster *record = masterOf(run->master);
  stateWriter_put(out, &h, sizeof h);
  stateWriter_put(out, run->proposed, 8 * int64_t(h.ownCols));
  for (int j = 0; j < h.children; ++j) {
    stateWriter_put(out, &record->subs[j].value, 8);
    stateWriter_put(out, &record->subs[j].hasOptimal, 4);
  }
  stateWriter_put(out, run->kept.upper, 8 * int64_t(h.rows));
  stateWriter_put(out, run->kept.starts, 4 * (int64_t(h.rows) + 1));
  stateWriter_put(out, run->kept.columns, 4 * int64_t(h.elements));
  stateWriter_put(out, run->kept.values, 8 * int64_t(h.elements));
}

// What is wrong with a state's header for this run, or null.
const char *complaintOf(const StateHeader *h, const BendersRun *run) {
  const StateHeader own = headerOf(run);
  if (h->models != own.models || h->children != own.children || h->ownCols != own.ownCols || h->ownRows != own.ownRows ||
      h->fingerprint != own.fingerprint || h->sense != own.sense)
    return "it belongs to another program or another cut";
  if (h->rows < 0 || h->elements < 0) return "it is damaged";
  return nullptr;
}

// Indices in range, starts in order.
bool cutsHold(const CutBatch *cuts, int nCols) {
  if (cuts->starts[0] != 0 || cuts->starts[cuts->rows] != cuts->elements) return false;
  for (int r = 0; r < cuts->rows; ++r)
    if (cuts->starts[r + 1] < cuts->starts[r]) return false;
  for (int e = 0; e < cuts->elements; ++e)
    if (cuts->columns[e] < 0 || cuts->columns[e] >= nCols || !std::isfinite(cuts->values[e])) return false;
  return true;
}

const char *readAll(BendersRun *run, StateReader *in, CutBatch *cuts) {
  StateHeader h;
  BendersMaster *record = masterOf(run->master);
  const void *head = stateReader_next(in, sizeof h);
  if (!head) return "it is damaged";
  memcpy(&h, head, sizeof h);
  const char *complaint = complaintOf(&h, run);
  if (complaint) return complaint;
  const int64_t rows = h.rows, elements = h.elements;
  if (in->size - in->at != 8 * int64_t(h.ownCols) + 12 * int64_t(h.children) + 8 * rows + 4 * (rows + 1) + 12 * elements)
    return "it is damaged";
  const void *proposed = stateReader_next(in, 8 * int64_t(h.ownCols));
  const char *subs = static_cast<const char *>(stateReader_next(in, 12 * int64_t(h.children)));
  cutBatch_open(cuts, rows);
  cuts->rows = h.rows;
  cuts->elements = h.elements;
  cuts->room = elements;
  cuts->columns = static_cast<int *>(qrts__alloc(CALLER, 4 * (elements + 1), 1));
  cuts->values = static_cast<double *>(qrts__alloc(CALLER, 8 * (elements + 1), 1));
  memcpy(cuts->upper, stateReader_next(in, 8 * rows), size_t(8 * rows));
  memcpy(cuts->starts, stateReader_next(in, 4 * (rows + 1)), size_t(4 * (rows + 1)));
  memcpy(cuts->columns, stateReader_next(in, 4 * elements), size_t(4 * elements));
  memcpy(cuts->values, stateReader_next(in, 8 * elements), size_t(8 * elements));
  if (!cutsHold(cuts, h.ownCols + 1 + h.children)) return "it is damaged";
  for (int j = 0; j < h.children; ++j) {
    memcpy(&record->subs[j].value, subs + 12 * j, 8);
    memcpy(&record->subs[j].hasOptimal, subs + 12 * j + 8, 4);
  }
  if (h.ownCols > 0) memcpy(run->proposed, proposed, size_t(h.ownCols) * sizeof(double));
  run->cyclesBefore = h.cycle;
  run->bestValue = h.bestValue;
  return nullptr;
}

// Cuts of a state into the master, whose columns lose their first bounds where they have an optimality cut.
int useCuts(BendersRun *run, CutBatch *cuts) {
  const BendersMaster *record = masterOf(run->master);
  QRTModel *lp = run->master->smodel->model;
  for (int j = 1; j <= record->numSubs; ++j)
    if (record->subs[j - 1].hasOptimal) lp->lower[lp->Imaxrows + record->nCols + j] = -SCN_INFINITY;
  run_keepCuts(run, cuts);
  run->totalCuts = cuts->rows;
  countFreed(run);
  return cutBatch_add(cuts, lp);
}

}  // namespace

void run_keepCuts(BendersRun *run, const CutBatch *cuts) {
  if (!run->stoch->saveFile || cuts->rows == 0) return;
  CutBatch *kept = &run->kept;
  const int64_t rows = int64_t(kept->rows) + cuts->rows;
  if (rows + 1 > run->keptRoom) {
    run->keptRoom = 2 * rows + 64;
    kept->starts = static_cast<int *>(qrts__realloc(CALLER, kept->starts, run->keptRoom * int64_t(sizeof(int))));
    kept->upper = static_cast<double *>(qrts__realloc(CALLER, kept->upper, run->keptRoom * int64_t(sizeof(double))));
    kept->starts[kept->rows] = kept->elements;
  }
  for (int r = 0; r < cuts->rows; ++r) {
    for (int e = cuts->starts[r]; e < cuts->starts[r + 1]; ++e) cutBatch_element(kept, cuts->columns[e], cuts->values[e]);
    cutBatch_endRow(kept, cuts->upper[r]);
  }
}

void run_prepareState(BendersRun *run) {
  if (!run->stoch->saveFile && !run->stoch->resumeFile) return;
  run->fingerprint = fingerprintOf(run);
  if (!run->stoch->saveFile) return;
  cutBatch_open(&run->kept, 64);
  run->keptRoom = 65;
}

void run_saveState(const BendersRun *run) {
  if (!run->stoch->saveFile || !run->kept.starts) return;
  StateWriter out;
  stateWriter_open(&out, run->stoch->saveFile);
  writeAll(run, &out);
  stateWriter_close(&out);
}

int run_resume(BendersRun *run) {
  const char *path = run->stoch->resumeFile;
  if (!path) return 0;
  StateReader in;
  CutBatch cuts = {};
  const char *complaint = stateReader_open(&in, path, MAGIC);
  if (!complaint) complaint = readAll(run, &in, &cuts);
  stateReader_close(&in);
  if (!complaint) return useCuts(run, &cuts);
  cutBatch_drop(&cuts);
  return refuseState(path, complaint);
}

void run_writeFailure(BendersRun *run, int i) {
  const char *path = run->stoch->saveFile;
  if (!path) return;
  char *file = static_cast<char *>(qrts__alloc(CALLER, int64_t(strlen(path)) + 40, 0));
  snprintf(file, strlen(path) + 40, "%s.sub%d.mps", path, i + 2);
  const int code = member_export(&run->all, i, run->proposed, file);
  printf(code < 2 ? "\n Subproblem %d did not solve at the last proposal; it is written to %s\n"
                  : "\n Subproblem %d did not solve at the last proposal; it could not be written to %s\n",
         i + 2, file);
  free(file);
}
