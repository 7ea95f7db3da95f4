// Scenarios: from dense vectors or triplets to groups of difference records, and the table that finds them again.
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <cstring>

#include "frame/messages.h"
#include "stoch/scn_core_file.h"
#include "stoch/scn_stoc.h"

// ---- a list sorted into stages ------------------------------------------------------------------------------

// Block of every element, counted from the first block of the first stage; 0 for rows of earlier stages.
static int blockKeys(const CoreData *core, int firstStage, int count, const int *rows, const int *cols, int *keys, bool *early) {
  const int before = blockNumber(firstStage, 1) - 1;
  *early = false;
  for (int e = 0; e < count; e++) {
    const int i = rows[e], j = cols[e];
    const bool rimRow = i > core->nRows, rimCol = j > core->nCols;
    if (i < 1 || j < 1 || i > core->nRows + EXT_ROWS || j > core->nCols + EXT_COLS || (rimRow && rimCol)) return MSG_SORT_FAILED;
    const int rowStage = rimRow ? core->colStage[j - 1] : core->rowStage[i - 1];
    const int colStage = rimRow || rimCol ? rowStage : core->colStage[j - 1];
    if (rowStage < colStage) {
      stochMessage(MSG_NOT_TRIANGULAR);
      std::printf("\t Row index %d has stage %d\n\t Col index %d has stage %d\n", i, rowStage, j, colStage);
      return MSG_NOT_TRIANGULAR;
    }
    keys[e] = rowStage < firstStage ? 0 : blockNumber(rowStage, colStage) - before;
    if (keys[e] == 0) *early = true;
  }
  return 0;
}

static void carve(CoreData *core, int64_t n, int64_t nKeys, bool withCopy, StageGroups *groups, double **copy, int **keys) {
  const int64_t bytes = n * (withCopy ? 16 : 8) + (3 * n + nKeys + 1) * 4;
  groups->values = static_cast<double *>(core_buffer(core, bytes));
  *copy = withCopy ? groups->values + n : nullptr;
  int *ints = reinterpret_cast<int *>(groups->values + (withCopy ? 2 * n : n));
  groups->rows = ints;
  groups->cols = ints + n;
  *keys = ints + 2 * n;
  groups->blockStart = ints + 3 * n;
}

int stageGroups_sort(CoreData *core, int firstStage, int count, const int *rows, const int *cols, const double *values,
                     StochData *absolute, StageGroups *groups) {
  // unpacking works in the buffer too, so it comes before the buffer is divided
  if (absolute != nullptr && qrts_unpackCore(absolute) != 0) return 2;
  const bool anyStage = firstStage <= core->nStages;
  const int64_t nKeys = anyStage ? blockCount(core->nStages) - blockNumber(firstStage, 1) + 1 : 0;
  double *copy;
  int *keys;
  carve(core, count, nKeys, absolute != nullptr, groups, &copy, &keys);
  groups->firstStage = firstStage;
  bool early = false;
  int fault = blockKeys(core, firstStage, count, rows, cols, keys, &early);
  if (fault == MSG_NOT_TRIANGULAR) return 2;
  if (fault == 0 && copy != nullptr && count > 0) {
    std::memcpy(copy, values, size_t(count) * sizeof(double));
    int rc;
    qrtbinsbdt(&rc, absolute, count, rows, cols, copy);
    if (rc != 0) return 2;
    values = copy;
  }
  groups->count = 0;
  if (fault == 0 && anyStage) {
    int rc;
    qrtsortd(&rc, int(nKeys), groups->blockStart, count, keys, rows, cols, values, groups->rows, groups->cols, groups->values);
    if (rc != 0) fault = MSG_SORT_FAILED;
    else groups->count = groups->blockStart[nKeys] - 1;
  }
  if (fault != 0) {
    messageC(1, "blocks");
    messageC(2, "qrtbinptdt");
    stochMessage(MSG_SORT_FAILED);
    return 2;
  }
  if (early) stochMessage(MSG_EARLIER_STAGES);
  return 0;
}

// The extended entries of the local maps stand behind the rows and columns of the stage that is being written.
static void setExtendedLocals(CoreData *core, int stage) {
  for (int k = 1; k <= EXT_ROWS; k++) core->rowLocal[core->nRows + k - 1] = rowsOfStage(core, stage) + k;
  for (int k = 1; k <= EXT_COLS; k++) core->colLocal[core->nCols + k - 1] = colsOfStage(core, stage) + k;
}

int stageGroups_write(CoreData *core, RecordFile *file, StageGroups *groups) {
  static const char *const name = "qrtbinptdt";
  const int firstRecord = recordFile_count(name, file) + 1;
  int *starts = groups->blockStart;  // of the present stage; its last entry is the first of the next
  for (int s = groups->firstStage; s <= core->nStages; s++) {
    const int from = starts[0] - 1, boundary = starts[s];
    const int64_t n = boundary - 1 - from;
    setExtendedLocals(core, s);
    for (int e = from; e < from + n; e++) {
      groups->rows[e] = rowSortedToLocal(core, rowInputToSorted(core, groups->rows[e]));
      groups->cols[e] = colSortedToLocal(core, colInputToSorted(core, groups->cols[e]));
    }
    for (int c = 0; c <= s; c++) starts[c] -= from;
    recordFile_append(name, file, starts, (int64_t(s) + 1) * int64_t(sizeof(int)));
    recordFile_append(name, file, groups->rows + from, n * int64_t(sizeof(int)));
    recordFile_append(name, file, groups->cols + from, n * int64_t(sizeof(int)));
    recordFile_append(name, file, groups->values + from, n * int64_t(sizeof(double)));
    starts[s] = boundary;
    starts += s;
  }
  return firstRecord;
}

void qrtbinptdt(int *rc, CoreData *core, RecordFile *file, int firstStage, int count, const int *rows, const int *cols,
                const double *values, int *firstRecord) {
  StageGroups groups;
  *rc = stageGroups_sort(core, firstStage, count, rows, cols, values, nullptr, &groups);
  if (*rc == 0) *firstRecord = stageGroups_write(core, file, &groups);
}

// ---- one scenario -------------------------------------------------------------------------------------------

void scenarioTable_reserve(ScenarioTable *table, int64_t wanted) {
  if (wanted <= table->capacity) return;
  int64_t capacity = int64_t(table->capacity) * 2 + 16;
  if (capacity > table->maximum) capacity = table->maximum;
  if (capacity < wanted) capacity = wanted;
  table->table = static_cast<ScenarioRecord *>(
      qrts__realloc("qrtbinptsc", table->table, capacity * int64_t(sizeof(ScenarioRecord))));
  table->capacity = int32_t(capacity);
}

static int refuse(int index) {
  stochMessage(index);
  return 2;
}

static int sizeFault(const char *what, int mine, int given) {
  messageC(1, what);
  messageI(1, mine);
  messageI(2, given);
  return refuse(MSG_SIZE_DIFFERS);
}

static void repeatScenario(StochData *sdata, int scenario, double probability) {
  messageI(1, scenario);
  messageD(1, probability);
  stochMessage(MSG_SCENARIO_REPEATED);
  // a number beyond the next one has no record to change
  if (scenario > sdata->scenarios->count) return;
  sdata->scenarios->table[scenario - 1].probability = probability;
  qrts_dropNodes(sdata);
}

// The scenario whose nodes the new one leaves: the given ancestor or one of its own ancestors that branched before
// `stage`. 0 is the root.
static int trueAncestor(const ScenarioTable *table, int ancestor, int stage) {
  while (ancestor != 0 && table->table[ancestor - 1].branchStage >= stage) ancestor = table->table[ancestor - 1].ancestor;
  return ancestor;
}

static void forceRootStage(int *stage) {
  if (*stage == 2) return;
  stochMessage(MSG_ROOT_STAGE);
  *stage = 2;
}

// Settles ancestor and branching stage; 2 after a refusal.
static int settleBranch(const ScenarioTable *table, int nStages, int scenario, int *ancestor, int *stage, double probability) {
  if (*stage < 0 || *stage > nStages) return refuse(MSG_BAD_STAGE);
  if (!std::isfinite(probability) || probability < 0.0) return refuse(MSG_NEGATIVE_PROBABILITY);
  if (*ancestor == 0) {
    forceRootStage(stage);
    return 0;
  }
  if (*ancestor < 0 || *ancestor > table->count) {
    messageI(1, *ancestor);
    return refuse(MSG_NO_ANCESTOR);
  }
  const int found = trueAncestor(table, *ancestor, *stage);
  if (found != *ancestor) {
    messageI(1, scenario);
    messageI(2, found);
    stochMessage(MSG_TRUE_ANCESTOR);
    *ancestor = found;
  }
  // only the root owns stage 1
  if (*ancestor == 0) forceRootStage(stage);
  return 0;
}

// A list longer than any before: later readers size their work by the count in the file's header.
static void growElements(StochData *sdata, int count) {
  static const char *const name = "qrtbinptsc";
  CoreData *core = sdata->core;
  if (count <= core->maxElements) return;
  core->maxElements = count;
  RecordFile *file = sdata->file;
  int32_t header[4];
  const int record = file->directory[file->coreWord];
  recordFile_read(name, file, record, header, sizeof header);
  header[2] = count;
  recordFile_write(name, file, record, header, sizeof header);
}

void qrtbinptsc(int *rc, StochData *sdata, int scenario, int ancestor, int branchStage, double probability, int nRows, int nCols,
                int count, const int *rows, const int *cols, const double *values, int replace) {
  CoreData *core = sdata->core;
  ScenarioTable *table = sdata->scenarios;
  messageI(1, scenario);
  messageI(2, ancestor);
  messageI(3, branchStage);
  messageD(1, probability);
  stochMessage(MSG_SCENARIO_LINE);

  *rc = 2;
  if (scenario < 1 || scenario > table->maximum) {
    messageC(1, "scenarios");
    messageI(1, scenario);
    messageI(2, table->maximum);
    stochMessage(MSG_TOO_MANY);
    return;
  }
  // a weight that is no number is refused below, also for a scenario that is there
  if (scenario != table->count + 1 && std::isfinite(probability)) {
    repeatScenario(sdata, scenario, probability);
    *rc = 0;
    return;
  }
  if (settleBranch(table, core->nStages, scenario, &ancestor, &branchStage, probability) != 0) return;
  if (nRows != core->nRows) { *rc = sizeFault("rows", core->nRows, nRows); return; }
  if (nCols != core->nCols) { *rc = sizeFault("columns", core->nCols, nCols); return; }

  StageGroups groups;
  if (stageGroups_sort(core, branchStage, count, rows, cols, values, replace ? sdata : nullptr, &groups) != 0) return;
  growElements(sdata, count);
  scenarioTable_reserve(table, int64_t(table->count) + 1);
  NodeList *nodes = sdata->nodes;
  if (table->count == 0) nodes->nNodes = 1;
  ScenarioRecord *record = &table->table[table->count];
  record->probability = probability;
  record->ancestor = ancestor;
  record->branchStage = branchStage;
  record->firstNode = nodes->nNodes + 1;
  record->lastNode = nodes->nNodes + core->nStages - branchStage + 1;
  record->firstRecord = stageGroups_write(core, sdata->file, &groups);
  record->reserved = 0;
  nodes->nNodes = record->lastNode;
  table->count++;
  qrts_dropNodes(sdata);
  *rc = 0;
}

// ---- by interface -------------------------------------------------------------------------------------------

// One dense vector of a scenario.
struct DenseVector {
  const double *values;   // null: no entries
  int n;
  double base;            // entries at the base are no elements
  double infiniteBase;    // what an entry must be where the core is infinite
  int infiniteBit;        // RIM_..._INFINITE, 0 for the objective
  int extended;           // row or column behind the real ones
  bool isColumn;
  const char *what;       // as the warning names it
};

// Appends the entries off their base. One that the core's infinite bound forbids is warned about and taken as the base.
static void addDense(TripletArea *area, const CoreData *core, const DenseVector *v, int scenario) {
  for (int i = 0; v->values != nullptr && i < v->n; i++) {
    double x = v->values[i];
    if ((core->rimFlags[i] & v->infiniteBit) != 0 && std::fabs(x - v->infiniteBase) > core->tolerance) {
      messageC(1, v->what);
      messageI(1, i);
      messageI(2, scenario);
      stochMessage(MSG_CORE_INFINITE);
      x = v->infiniteBase;
    }
    if (!(std::fabs(v->base - x) > core->tolerance)) continue;
    if (v->isColumn) addTriplet(area, core->nRows + v->extended, i + 1, x);
    else addTriplet(area, i + 1, core->nCols + v->extended, x);
  }
}

int qrts_Cadsc(QRTStoch *stoch, int scenario, int ancestor, int branchStage, double probability, int, int nRows, int nCols,
               int nElements, const double *objective, const double *rowLower, const double *rowUpper, const double *colLower,
               const double *colUpper, const int *rows, const int *cols, const double *elements, int replace) {
  StochData *sdata = stoch->sdata;
  const bool noList = rows == nullptr || cols == nullptr || elements == nullptr;
  if (sdata == nullptr || sdata->core->nStages == 0 || nElements < 0 || (nElements > 0 && noList)) {
    messageC(1, sdata == nullptr || sdata->core->nStages == 0 ? "CORE" : "SCENARIO");
    messageC(2, "qrts_addScenario");
    return refuse(MSG_BAD_STRUCTURE);
  }
  CoreData *core = sdata->core;
  int rc;
  if (nRows != core->nRows || nCols != core->nCols) {
    // the vectors have the wrong length, so nothing of them is looked at: the store refuses the sizes
    qrtbinptsc(&rc, sdata, scenario, ancestor, branchStage, probability, nRows, nCols, 0, nullptr, nullptr, nullptr, 0);
    return rc;
  }
  if (core_needRimFlags(sdata) != 0) return 2;
  const double upper = replace ? SCN_INFINITY : 0.0, infiniteLower = replace ? -SCN_INFINITY : 0.0;
  const DenseVector vectors[5] = {
      {rowLower, nRows, 0.0, infiniteLower, RIM_ROW_LOWER_INFINITE, EXT_ROW_LOWER, false, "row lower bound"},
      {rowUpper, nRows, upper, upper, RIM_ROW_UPPER_INFINITE, EXT_ROW_UPPER, false, "row upper bound"},
      {colLower, nCols, 0.0, infiniteLower, RIM_COL_LOWER_INFINITE, EXT_COL_LOWER, true, "column lower bound"},
      {colUpper, nCols, upper, upper, RIM_COL_UPPER_INFINITE, EXT_COL_UPPER, true, "column upper bound"},
      {objective, nCols, 0.0, 0.0, 0, EXT_OBJECTIVE, true, ""}};
  TripletArea area = tripletArea(core, int64_t(nElements) + 2 * int64_t(nRows) + 3 * int64_t(nCols));
  for (int e = 0; e < nElements; e++) addTriplet(&area, rows[e], cols[e], elements[e]);
  for (const DenseVector &vector : vectors) addDense(&area, core, &vector, scenario);
  qrtbinptsc(&rc, sdata, scenario, ancestor, branchStage, probability, nRows, nCols, area.count, area.rows, area.cols, area.values,
             replace);
  return rc;
}

// ---- the table on the file ----------------------------------------------------------------------------------

void qrtbinptsi(int *rc, StochData *sdata) {
  static const char *const name = "qrtbinptsi";
  RecordFile *file = sdata->file;
  *rc = 2;
  if (file == nullptr) return;
  const ScenarioTable *table = sdata->scenarios;
  const int64_t bytes = int64_t(table->count) * int64_t(sizeof(ScenarioRecord));
  int *word = &file->directory[file->scenarioWord];
  // records never grow: a table that outgrew its record gets a new one
  if (*word != 0 && recordFile_length(name, file, *word) >= bytes) recordFile_write(name, file, *word, table->table, bytes);
  else *word = recordFile_append(name, file, table->table, bytes);
  recordFile_save(name, file);
  selfCheckStore(sdata);
  *rc = 0;
}
