// The saved state of a run of the L-shaped method: bounds, the last proposal and every cut, so that a long run that is
// cut off goes on from there.
//
//     header       who the state belongs to (sizes, sense, a fingerprint of the program) and how far it came
//     proposal     [own columns]      value, hasOptimal of each child
//     cuts         right-hand sides, row starts, columns, values; children's columns count from own columns + 1
//     checksum     of all bytes before
//
// A state is written beside its file and takes its name when it is whole: a write that fails leaves the old one.
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <cstring>

#include "decomp/scn_benders_run.h"

namespace {

constexpr const char *CALLER = "qrts_setSaveState";
constexpr char MAGIC[8] = {'T', 'A', 'V', 'S', 'T', 'A', 'T', '1'};

struct StateHeader {
  char magic[8];
  int32_t models, children, ownCols, ownRows;
  uint64_t fingerprint;
  double sense;
  int32_t cycle, rows, elements, boundKnown;
  double masterValue, bestValue;
};
static_assert(sizeof(StateHeader) == 72, "states are written as they stand");

uint64_t addBytes(uint64_t sum, const void *data, size_t bytes) {
  const unsigned char *p = static_cast<const unsigned char *>(data);
  for (size_t k = 0; k < bytes; ++k) sum = (sum ^ p[k]) * 1099511628211ull;
  return sum;
}
constexpr uint64_t EMPTY_SUM = 14695981039346656037ull;

// Of the data that cuts stand on: master's rims, shared programs, members' weights and differences.
uint64_t fingerprintOf(const BendersRun *run) {
  uint64_t sum = EMPTY_SUM;
  const auto add = [&sum](const void *data, int64_t bytes) {
    if (bytes > 0) sum = addBytes(sum, data, size_t(bytes));
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
  memcpy(h.magic, MAGIC, sizeof MAGIC);
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

// A file on its way out or in, with the sum of what went through it.
struct Stream {
  FILE *file;
  uint64_t sum;
  bool good;
};
void put(Stream *s, const void *data, int64_t bytes) {
  if (bytes <= 0) return;
  s->good = s->good && fwrite(data, 1, size_t(bytes), s->file) == size_t(bytes);
  s->sum = addBytes(s->sum, data, size_t(bytes));
}
void take(Stream *s, void *data, int64_t bytes) {
  if (bytes <= 0) return;
  s->good = s->good && fread(data, 1, size_t(bytes), s->file) == size_t(bytes);
  if (s->good) s->sum = addBytes(s->sum, data, size_t(bytes));
}

bool writeAll(const BendersRun *run, FILE *file) {
  Stream s = {file, EMPTY_SUM, true};
  const StateHeader h = headerOf(run);
  const BendersMaster *record = masterOf(run->master);
  put(&s, &h, sizeof h);
  put(&s, run->proposed, 8 * int64_t(h.ownCols));
  for (int j = 0; j < h.children; ++j) {
    put(&s, &record->subs[j].value, 8);
    put(&s, &record->subs[j].hasOptimal, 4);
  }
  put(&s, run->kept.upper, 8 * int64_t(h.rows));
  put(&s, run->kept.starts, 4 * (int64_t(h.rows) + 1));
  put(&s, run->kept.columns, 4 * int64_t(h.elements));
  put(&s, run->kept.values, 8 * int64_t(h.elements));
  const uint64_t sum = s.sum;
  put(&s, &sum, sizeof sum);
  return s.good;
}

// What is wrong with a state's header for this run, or null.
const char *complaintOf(const StateHeader *h, const BendersRun *run) {
  const StateHeader own = headerOf(run);
  if (memcmp(h->magic, MAGIC, sizeof MAGIC) != 0) return "it is no saved state";
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

// Bytes from here to the end of the file.
int64_t bytesLeft(FILE *file) {
  const long at = ftell(file);
  fseek(file, 0, SEEK_END);
  const long end = ftell(file);
  fseek(file, at, SEEK_SET);
  return int64_t(end) - at;
}

const char *readAll(BendersRun *run, FILE *file, CutBatch *cuts) {
  Stream s = {file, EMPTY_SUM, true};
  StateHeader h;
  BendersMaster *record = masterOf(run->master);
  take(&s, &h, sizeof h);
  if (!s.good) return "it is cut off";
  const char *complaint = complaintOf(&h, run);
  if (complaint) return complaint;
  const int64_t expected = 8 * int64_t(h.ownCols) + 12 * int64_t(h.children) + 8 * int64_t(h.rows) + 4 * (int64_t(h.rows) + 1) +
                           12 * int64_t(h.elements) + 8;
  const int64_t present = bytesLeft(file);
  if (present != expected) return present < expected ? "it is cut off" : "it is damaged";
  double *proposed = static_cast<double *>(qrts__alloc(CALLER, 8 * (int64_t(h.ownCols) + 1), 1));
  SubEntry *subs = static_cast<SubEntry *>(qrts__alloc(CALLER, (int64_t(h.children) + 1) * int64_t(sizeof(SubEntry)), 0));
  take(&s, proposed, 8 * int64_t(h.ownCols));
  for (int j = 0; j < h.children; ++j) {
    take(&s, &subs[j].value, 8);
    take(&s, &subs[j].hasOptimal, 4);
  }
  cutBatch_open(cuts, h.rows);
  cuts->rows = h.rows;
  cuts->elements = h.elements;
  cuts->room = h.elements;
  cuts->columns = static_cast<int *>(qrts__alloc(CALLER, 4 * (int64_t(h.elements) + 1), 1));
  cuts->values = static_cast<double *>(qrts__alloc(CALLER, 8 * (int64_t(h.elements) + 1), 1));
  take(&s, cuts->upper, 8 * int64_t(h.rows));
  take(&s, cuts->starts, 4 * (int64_t(h.rows) + 1));
  take(&s, cuts->columns, 4 * int64_t(h.elements));
  take(&s, cuts->values, 8 * int64_t(h.elements));
  const uint64_t sum = s.sum;
  uint64_t saved = 0;
  take(&s, &saved, sizeof saved);
  if (!s.good || saved != sum || !cutsHold(cuts, h.ownCols + 1 + h.children)) {
    complaint = "it is damaged";
  } else {
    for (int j = 0; j < h.children; ++j) {
      record->subs[j].value = subs[j].value;
      record->subs[j].hasOptimal = subs[j].hasOptimal;
    }
    if (h.ownCols > 0) memcpy(run->proposed, proposed, size_t(h.ownCols) * sizeof(double));
    run->cyclesBefore = h.cycle;
    run->bestValue = h.bestValue;
  }
  free(proposed);
  free(subs);
  return complaint;
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
  const char *path = run->stoch->saveFile;
  if (!path || !run->kept.starts) return;
  char *beside = static_cast<char *>(qrts__alloc(CALLER, int64_t(strlen(path)) + 8, 0));
  strcpy(beside, path);
  strcat(beside, ".part");
  FILE *file = fopen(beside, "wb");
  bool good = file && writeAll(run, file);
  if (file) good = fclose(file) == 0 && good;
  good = good && rename(beside, path) == 0;
  if (!good) {
    printf("\n Warning ! State file %s could not be written.\n", path);
    remove(beside);
  }
  free(beside);
}

int run_resume(BendersRun *run) {
  const char *path = run->stoch->resumeFile;
  if (!path) return 0;
  FILE *file = fopen(path, "rb");
  CutBatch cuts = {};
  const char *complaint = file ? readAll(run, file, &cuts) : "it cannot be opened";
  if (file) fclose(file);
  if (!complaint) return useCuts(run, &cuts);
  printf("\n ERROR! State file %s cannot be used: %s.\n", path, complaint);
  cutBatch_drop(&cuts);
  return 2;
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
