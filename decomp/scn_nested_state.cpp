// The saved state of a nested run: for each model its cuts, its last proposal and its basis, so that a long run that is
// cut off goes on from there.
//
//     header       which program and which cut of it (sizes, sense, a fingerprint of every model) and how far it came
//     each model   solution, statuses         [rows + columns], or none where its numbers went bad
//                  which recourse columns have lost their first bound
//                  cuts: right-hand sides, row starts, columns, values
// and the sum that every state file ends with.
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <cstring>

#include "decomp/scn_nested.h"
#include "decomp/scn_solving.h"
#include "decomp/scn_state_file.h"
#include "model/model_store.h"

namespace {

constexpr const char *CALLER = "qrts_setSaveState";
constexpr char MAGIC[] = "TAVNEST1";

struct StateHeader {
  char magic[STATE_MAGIC];
  int32_t models, cycle;
  uint64_t fingerprint;
  double sense, bestValue;
};
static_assert(sizeof(StateHeader) == 40, "states are written as they stand");

struct ModelHeader {
  int32_t values;           // rows + columns with a solution and a status, 0 none
  int32_t children, cuts, elements;
};
static_assert(sizeof(ModelHeader) == 16, "states are written as they stand");

StateHeader headerOf(const QRTStoch *base, int nModels, int cycle) {
  StateHeader h = {};
  memcpy(h.magic, MAGIC, STATE_MAGIC);
  h.models = nModels;
  h.cycle = cycle;
  h.fingerprint = EMPTY_SUM;
  for (int i = 0; i < nModels; ++i) h.fingerprint = addBytes(h.fingerprint, &nestedOf(base->submodels[i])->fingerprint, 8);
  h.sense = base->optmaxmin;
  h.bestValue = nestedTables(base)->bestValue;
  return h;
}

int64_t firstCutRow(const NestedModel *rec) { return int64_t(rec->nRows) + 1; }
int64_t modelRows(const NestedModel *rec) { return rec->nRows + (rec->masterPart ? 1 + int64_t(rec->masterPart->numCuts) : 0); }
int64_t modelColumns(const NestedModel *rec) { return rec->nCols + (rec->masterPart ? 1 + int64_t(rec->masterPart->numChildren) : 0); }

// A presolve that failed leaves a reduced model.
bool isWhole(const NestedModel *rec, const QRTModel *lp) { return lp->Inumrows == modelRows(rec) && lp->Inumcols == modelColumns(rec); }

bool allFinite(const double *values, int64_t n) {
  for (int64_t k = 0; k < n; ++k)
    if (!std::isfinite(values[k])) return false;
  return true;
}

// The cut rows of a master, unscaled.
void collectCuts(const NestedModel *rec, const QRTModel *lp, CutBatch *cuts) {
  const int n = rec->masterPart->numCuts, first = int(firstCutRow(rec));
  cutBatch_open(cuts, n + 1);
  cuts->rows = n;
  if (n > 0) memcpy(cuts->upper, rec->masterPart->cutRhs, size_t(n) * sizeof(double));
  forEachElement(lp, [&](int i, int, double &) {
    if (i >= first) ++cuts->starts[i - first + 2];  // the starts come out one further on
  });
  for (int r = 0; r < n; ++r) cuts->starts[r + 2] += cuts->starts[r + 1];
  cuts->elements = cuts->starts[n + 1];
  cuts->columns = static_cast<int *>(qrts__alloc(CALLER, 4 * (int64_t(cuts->elements) + 1), 1));
  cuts->values = static_cast<double *>(qrts__alloc(CALLER, 8 * (int64_t(cuts->elements) + 1), 1));
  forEachElement(lp, [&](int i, int j, double &value) {
    if (i < first) return;
    const int at = cuts->starts[i - first + 1]++;
    cuts->columns[at] = j;
    cuts->values[at] = value / elementFactor(lp, i, j);
  });
}

void putModel(StateWriter *out, const QRTStoch *sub) {
  const NestedModel *rec = nestedOf(sub);
  const NestedMaster *master = rec->masterPart;
  const QRTModel *lp = sub->smodel->model;
  CutBatch cuts = {};
  ModelHeader h = {0, master ? master->numChildren : 0, 0, 0};
  if (isWhole(rec, lp)) {
    if (master) collectCuts(rec, lp, &cuts);
    // Numbers that went bad are left behind, and the file must not carry them on.
    if (!allFinite(cuts.upper, cuts.rows) || !allFinite(cuts.values, cuts.elements)) {
      cutBatch_drop(&cuts);
    } else if (rec->solved && allFinite(lp->solution, lp->Inumrows) && allFinite(lp->solution + lp->Imaxrows, lp->Inumcols)) {
      h.values = lp->Inumrows + lp->Inumcols;
    }
  }
  h.cuts = cuts.rows;
  h.elements = cuts.elements;
  stateWriter_put(out, &h, sizeof h);
  if (h.values > 0) {
    stateWriter_put(out, lp->solution, 8 * int64_t(lp->Inumrows));
    stateWriter_put(out, lp->solution + lp->Imaxrows, 8 * int64_t(lp->Inumcols));
    stateWriter_put(out, lp->status, 4 * int64_t(lp->Inumrows));
    stateWriter_put(out, lp->status + lp->Imaxrows, 4 * int64_t(lp->Inumcols));
  }
  for (int j = 0; j < h.children; ++j) {
    const int32_t freed = h.cuts > 0 && master->children[j].freed;
    stateWriter_put(out, &freed, 4);
  }
  stateWriter_put(out, cuts.upper, 8 * int64_t(h.cuts));
  if (h.cuts > 0) stateWriter_put(out, cuts.starts, 4 * (int64_t(h.cuts) + 1));
  stateWriter_put(out, cuts.columns, 4 * int64_t(h.elements));
  stateWriter_put(out, cuts.values, 8 * int64_t(h.elements));
  cutBatch_drop(&cuts);
}

// ---- reading

// One model's part of a state, in the file's memory.
struct ModelPart {
  ModelHeader h;
  const char *solution, *status, *freed, *upper, *starts, *columns, *values;
};
int32_t intAt(const char *p, int64_t k) {
  int32_t v;
  memcpy(&v, p + 4 * k, 4);
  return v;
}
double doubleAt(const char *p, int64_t k) {
  double v;
  memcpy(&v, p + 8 * k, 8);
  return v;
}

bool takePart(StateReader *in, ModelPart *part) {
  const auto next = [in](int64_t bytes) { return static_cast<const char *>(stateReader_next(in, bytes)); };
  const char *head = next(sizeof part->h);
  if (!head) return false;
  memcpy(&part->h, head, sizeof part->h);
  const ModelHeader &h = part->h;
  if (h.values < 0 || h.children < 0 || h.cuts < 0 || h.elements < 0) return false;
  part->solution = next(8 * int64_t(h.values));
  part->status = next(4 * int64_t(h.values));
  part->freed = next(4 * int64_t(h.children));
  part->upper = next(8 * int64_t(h.cuts));
  part->starts = next(h.cuts > 0 ? 4 * (int64_t(h.cuts) + 1) : 0);
  part->columns = next(4 * int64_t(h.elements));
  part->values = next(8 * int64_t(h.elements));
  return part->solution && part->status && part->freed && part->upper && part->starts && part->columns && part->values;
}

// Sizes that fit the model, indices in range, starts in order, numbers that are numbers.
bool partHolds(const ModelPart *part, const NestedModel *rec) {
  const ModelHeader &h = part->h;
  const NestedMaster *master = rec->masterPart;
  if (h.children != (master ? master->numChildren : 0) || (!master && h.cuts > 0)) return false;
  const int64_t columns = modelColumns(rec), rows = rec->nRows + (master ? 1 + int64_t(h.cuts) : 0);
  if (h.values != 0 && h.values != rows + columns) return false;
  if (h.cuts == 0) return h.elements == 0;
  if (intAt(part->starts, 0) != 0 || intAt(part->starts, h.cuts) != h.elements) return false;
  for (int r = 0; r < h.cuts; ++r)
    if (intAt(part->starts, r + 1) < intAt(part->starts, r) || !std::isfinite(doubleAt(part->upper, r))) return false;
  for (int e = 0; e < h.elements; ++e)
    if (intAt(part->columns, e) < 0 || intAt(part->columns, e) >= columns || !std::isfinite(doubleAt(part->values, e))) return false;
  for (int64_t k = 0; k < h.values; ++k)
    if (!std::isfinite(doubleAt(part->solution, k))) return false;
  return true;
}

// What is wrong with a state for these models, or null.
const char *complaintOf(StateReader *in, const QRTStoch *base, int nModels, StateHeader *h) {
  const void *head = stateReader_next(in, sizeof *h);
  if (!head) return "it is damaged";
  memcpy(h, head, sizeof *h);
  const StateHeader own = headerOf(base, nModels, 0);
  if (h->models != own.models || h->fingerprint != own.fingerprint || h->sense != own.sense)
    return "it belongs to another program or another cut";
  for (int i = 0; i < nModels; ++i) {
    ModelPart part;
    if (!takePart(in, &part) || !partHolds(&part, nestedOf(base->submodels[i]))) return "it is damaged";
  }
  return in->at == in->size ? nullptr : "it is damaged";
}

int usePart(const ModelPart *part, QRTStoch *sub) {
  NestedModel *rec = nestedOf(sub);
  QRTModel *lp = sub->smodel->model;
  const ModelHeader &h = part->h;
  if (NestedMaster *master = rec->masterPart) {
    CutBatch cuts;
    cutBatch_open(&cuts, h.cuts);
    for (int r = 0; r < h.cuts; ++r) {
      for (int e = intAt(part->starts, r); e < intAt(part->starts, r + 1); ++e)
        cutBatch_element(&cuts, intAt(part->columns, e), doubleAt(part->values, e));
      cutBatch_endRow(&cuts, doubleAt(part->upper, r));
      nested_noteRow(sub, doubleAt(part->upper, r));
    }
    const int code = cutBatch_add(&cuts, lp);
    if (code >= 2) return code;
    for (int j = 0; j < master->numChildren; ++j) {
      master->children[j].freed = intAt(part->freed, j) != 0;
      if (master->children[j].freed) lp->lower[lp->Imaxrows + rec->nCols + 1 + j] = -SCN_INFINITY;
    }
    rec->cutsActive = master->numCuts;
    master->freedNow = h.values == 0;  // a basis of these rows stands for the bounds as they are
  }
  if (h.values == 0) return 0;
  for (int k = 0; k < h.values; ++k) {
    const int at = k < lp->Inumrows ? k : lp->Imaxrows + k - lp->Inumrows;
    lp->solution[at] = doubleAt(part->solution, k);
    lp->status[at] = intAt(part->status, k) & ~int(STATUS_POSITION_MASK);  // positions belong to the run that is gone
  }
  rec->solved = 1;
  return sub->ifScale ? qrt_scale(lp) : 0;
}

}  // namespace

uint64_t nested_fingerprint(const QRTStoch *sub) {
  const QRTModel *lp = sub->smodel->model;
  uint64_t sum = addBytes(EMPTY_SUM, sub->nodeList, 4 * int64_t(sub->nNodeList));
  const double *rims[] = {lp->lower, lp->upper, lp->lower + lp->Imaxrows, lp->upper + lp->Imaxrows, lp->objective + lp->Imaxrows};
  for (int v = 0; v < 5; ++v) sum = addBytes(sum, rims[v], 8 * int64_t(v < 2 ? lp->Inumrows : lp->Inumcols));
  forEachElement(lp, [&sum](int i, int j, const double &value) {
    // A word at a time: there are as many elements as the equivalent has.
    uint64_t word;
    memcpy(&word, &value, 8);
    sum = (sum ^ word ^ (uint64_t(uint32_t(i)) << 32 | uint32_t(j)) * 0x9E3779B97F4A7C15ull) * 0xff51afd7ed558ccdull;
    sum ^= sum >> 29;
  });
  return sum;
}

void nested_saveState(const QRTStoch *base, int nModels, int cycle) {
  if (!base->saveFile) return;
  StateWriter out;
  stateWriter_open(&out, base->saveFile);
  const StateHeader h = headerOf(base, nModels, nestedTables(base)->cyclesBefore + cycle);
  stateWriter_put(&out, &h, sizeof h);
  for (int i = 0; i < nModels; ++i) putModel(&out, base->submodels[i]);
  stateWriter_close(&out);
}

int nested_resume(QRTStoch *base, int nModels) {
  nestedTables(base)->cyclesBefore = 0;
  const char *path = base->resumeFile;
  if (!path) return 0;
  StateReader in;
  StateHeader h = {};
  const char *complaint = stateReader_open(&in, path, MAGIC);
  if (!complaint) {
    complaint = complaintOf(&in, base, nModels, &h);
    if (complaint) stateReader_close(&in);
  }
  if (complaint) return refuseState(path, complaint);
  NestedTables *tables = nestedTables(base);
  tables->cyclesBefore = h.cycle;
  tables->bestValue = h.bestValue;
  in.at = sizeof h;
  int code = 0;
  for (int i = 0; i < nModels && code < 2; ++i) {
    ModelPart part;
    takePart(&in, &part);
    QRTStoch *sub = base->submodels[i];
    if (nestedOf(sub)->masterPart) code = nested_forgetCuts(sub);  // a kept list begins again where the state stands
    if (code < 2) code = usePart(&part, sub);
  }
  stateReader_close(&in);
  return code;
}

void nested_writeFailure(const QRTStoch *base, int i) {
  const char *path = base->saveFile;
  if (!path) return;
  const size_t room = strlen(path) + 40;
  char *file = static_cast<char *>(qrts__alloc(CALLER, int64_t(room), 0));
  snprintf(file, room, "%s.sub%d.mps", path, i + 1);
  const int code = exportInUnits(base->submodels[i]->smodel->model, file);
  printf(code < 2 ? "\n Subproblem %d did not solve at the last proposal; it is written to %s\n"
                  : "\n Subproblem %d did not solve at the last proposal; it could not be written to %s\n",
         i + 1, file);
  free(file);
}
