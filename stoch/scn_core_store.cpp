// The core: taken from the caller, written to the record file, unpacked from it again.
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <cstring>

#include "frame/messages.h"
#include "stoch/scn_core_file.h"
#include "stoch/scn_stoc.h"

constexpr double DEFAULT_TOLERANCE = 1.0e-16;
constexpr double SORT_TOLERANCE = 1.0e-16;

// ---- life of the store --------------------------------------------------------------------------------------

StochData *qrts_Cinit(int maxScenarios) {
  static const char *const name = "qrts_createStoch";
  StochData *sdata = static_cast<StochData *>(qrts__alloc(name, sizeof(StochData), 0));
  sdata->core = static_cast<CoreData *>(qrts__alloc(name, sizeof(CoreData), 0));
  sdata->core->tolerance = DEFAULT_TOLERANCE;
  sdata->core->problemType = 1;
  sdata->scenarios = static_cast<ScenarioTable *>(qrts__alloc(name, sizeof(ScenarioTable), 0));
  sdata->scenarios->maximum = maxScenarios > 0 ? maxScenarios : 0;
  sdata->nodes = static_cast<NodeList *>(qrts__alloc(name, sizeof(NodeList), 0));
  return sdata;
}

void core_clear(CoreData *core) {
  const CoreData kept = *core;
  void *const arrays[] = {core->rowStageStart, core->colStageStart, core->mrow, core->mcol, core->blockStart, core->rowLower,
                          core->rowUpper, core->colLower, core->colUpper, core->objective, core->dels, core->quadDiagonal,
                          core->orderedStart, core->orderedRow, core->orderedValue, core->rowStage, core->colStage,
                          core->sortedRowStage, core->sortedColStage, core->rowPerm, core->colPerm, core->rowRank, core->colRank,
                          core->rowLocal, core->colLocal, core->buffer, core->triplets, core->rimFlags};
  for (void *array : arrays) std::free(array);
  std::memset(core, 0, sizeof *core);
  core->smps = kept.smps;
  core->tolerance = kept.tolerance;
  core->problemType = kept.problemType;
  core->integerMarks = kept.integerMarks;
  core->nIntegers = kept.nIntegers;
}

int qrts_freeSdata(StochData *sdata) {
  if (sdata == nullptr) return 0;
  RecordFile *file = sdata->file;
  if (sdata->core != nullptr) {
    core_clear(sdata->core);
    qrts_freeSmpsData(sdata->core->smps);
    std::free(sdata->core->integerMarks);
    std::free(sdata->core);
  }
  if (sdata->scenarios != nullptr) std::free(sdata->scenarios->table);
  std::free(sdata->scenarios);
  qrts_freeNodeList(sdata->nodes);
  qrts_freeIndependent(sdata->independent);
  std::free(sdata);
  qrts_VRFileFree("qrts_freeSdata", file);
  return 0;
}

void *core_buffer(CoreData *core, int64_t bytes) {
  if (bytes > core->bufferSize) {
    std::free(core->buffer);
    core->buffer = nullptr;
    core->bufferSize = 0;
    core->buffer = qrts__alloc("core_buffer", bytes, 1);
    core->bufferSize = bytes;
  }
  return core->buffer;
}

// ---- from the caller's vectors to triplets ------------------------------------------------------------------

// Sets flags[i] where the entry lies off its base by more than tol, and counts them.
static int qrts_sprs(int n, const double *vector, char *flags, double base, double tol) {
  int counted = 0;
  for (int i = 0; i < n; i++) {
    flags[i] = std::fabs(base - vector[i]) > tol;
    counted += flags[i];
  }
  return counted;
}

// One rim vector of the core and what its entries become.
struct RimVector {
  const double *values;  // null: the default everywhere, which leaves nothing but minus infinity to store
  int n;
  double base, tol;      // entries within tol of the base are not stored
  double absent;         // value of every entry of a null vector
  int extended;          // row or column behind the real ones
  bool isColumn;         // the vector runs over columns, `extended` is a row
};

static double rimEntry(const RimVector *rim, int i) { return rim->values ? rim->values[i] : rim->absent; }

static void setRimFlags(CoreData *core, const RimVector *rims) {
  int *flags = core->rimFlags;
  for (int i = 0; i < core->nRows; i++) {
    if (rimEntry(&rims[0], i) <= -SCN_INFINITY) flags[i] |= RIM_ROW_LOWER_INFINITE;
    if (!(std::fabs(rims[1].base - rimEntry(&rims[1], i)) > rims[1].tol)) flags[i] |= RIM_ROW_UPPER_INFINITE;
  }
  for (int j = 0; j < core->nCols; j++) {
    if (rimEntry(&rims[2], j) <= -SCN_INFINITY) flags[j] |= RIM_COL_LOWER_INFINITE;
    if (!(std::fabs(rims[3].base - rimEntry(&rims[3], j)) > rims[3].tol)) flags[j] |= RIM_COL_UPPER_INFINITE;
  }
}

static int *newRimFlags(const char *caller, int nRows, int nCols) {
  const int64_t n = nRows > nCols ? nRows : nCols;
  return static_cast<int *>(qrts__alloc(caller, (n > 0 ? n : 1) * int64_t(sizeof(int)), 0));
}

int core_needRimFlags(StochData *sdata) {
  CoreData *core = sdata->core;
  if (core->rimFlags != nullptr) return 0;
  if (qrts_unpackCore(sdata) != 0) return 2;
  int *flags = newRimFlags("core_needRimFlags", core->nRows, core->nCols);
  const double upperTolerance = SCN_INFINITY * core->tolerance;
  for (int p = 1; p <= core->nRows; p++) {
    int *flag = &flags[rowSortedToInput(core, p) - 1];
    if (core->rowLower[p - 1] <= -SCN_INFINITY) *flag |= RIM_ROW_LOWER_INFINITE;
    if (!(std::fabs(SCN_INFINITY - core->rowUpper[p - 1]) > upperTolerance)) *flag |= RIM_ROW_UPPER_INFINITE;
  }
  for (int p = 1; p <= core->nCols; p++) {
    int *flag = &flags[colSortedToInput(core, p) - 1];
    if (core->colLower[p - 1] <= -SCN_INFINITY) *flag |= RIM_COL_LOWER_INFINITE;
    if (!(std::fabs(SCN_INFINITY - core->colUpper[p - 1]) > upperTolerance)) *flag |= RIM_COL_UPPER_INFINITE;
  }
  core->rimFlags = flags;
  return 0;
}

static int structureFault(const char *what, const char *where) {
  messageC(1, what);
  messageC(2, where);
  stochMessage(MSG_BAD_STRUCTURE);
  return 2;
}

int qrts_Ccore(QRTStoch *stoch, int nStages, const int *rowStages, const int *colStages, int nRows, int nCols, int nElements,
               const double *objective, const double *rowLower, const double *rowUpper, const double *colLower,
               const double *colUpper, const int *rows, const int *cols, const double *elements, const double *quadDiagonal) {
  static const char *const name = "qrts_createCore";
  StochData *sdata = stoch->sdata;
  if (sdata == nullptr) return structureFault("CORE", name);
  CoreData *core = sdata->core;
  if (sdata->file != nullptr || core->nStages != 0) {
    std::printf("****** ERROR:  The QRTStoch object already has data. \n"
                "******         Please delete this object and create a new one \n"
                "******         before attempting reading of data. \n");
    return 2;
  }
  if (nRows < 0 || nCols < 0 || nElements < 0 || (nRows > 0 && rowStages == nullptr) || (nCols > 0 && colStages == nullptr) ||
      (nElements > 0 && (rows == nullptr || cols == nullptr || elements == nullptr)))
    return structureFault("CORE", name);

  const double tol = core->tolerance, upperTol = SCN_INFINITY * core->tolerance, infinity = SCN_INFINITY;
  const RimVector rims[6] = {{rowLower, nRows, 0.0, tol, -infinity, EXT_ROW_LOWER, false},
                             {rowUpper, nRows, infinity, upperTol, infinity, EXT_ROW_UPPER, false},
                             {colLower, nCols, 0.0, tol, 0.0, EXT_COL_LOWER, true},
                             {colUpper, nCols, infinity, upperTol, infinity, EXT_COL_UPPER, true},
                             {objective, nCols, 0.0, tol, 0.0, EXT_OBJECTIVE, true},
                             {core->problemType == 2 ? quadDiagonal : nullptr, nCols, 0.0, tol, 0.0, EXT_QUADRATIC, true}};
  const int64_t longest = nRows > nCols ? nRows : nCols;
  char *flags = static_cast<char *>(qrts__alloc(name, longest * 6 + 1, 0));
  int64_t total = nElements;
  for (int v = 0; v < 6; v++) {
    char *mine = flags + v * longest;
    if (rims[v].values != nullptr) {
      total += qrts_sprs(rims[v].n, rims[v].values, mine, rims[v].base, rims[v].tol);
    } else if (std::fabs(rims[v].base - rims[v].absent) > rims[v].tol) {
      std::memset(mine, 1, size_t(rims[v].n));
      total += rims[v].n;
    }
  }
  int rc = 2;
  if (total <= VREC_MAX_OFFSET / 16) {  // a longer list fits no record file
    core->nRows = nRows;
    core->nCols = nCols;
    core->rimFlags = newRimFlags(name, nRows, nCols);
    setRimFlags(core, rims);
    TripletArea area = tripletArea(core, total);
    for (int e = 0; e < nElements; e++) addTriplet(&area, rows[e], cols[e], elements[e]);
    for (int v = 0; v < 6; v++)
      for (int i = 0; i < rims[v].n; i++) {
        if (!flags[v * longest + i]) continue;
        if (rims[v].isColumn) addTriplet(&area, nRows + rims[v].extended, i + 1, rimEntry(&rims[v], i));
        else addTriplet(&area, i + 1, nCols + rims[v].extended, rimEntry(&rims[v], i));
      }
    std::free(flags);
    qrtbinptcr(&rc, sdata, nStages, rowStages, colStages, nRows, nCols, area.count, area.rows, area.cols, area.values,
               core->problemType);
  } else {
    std::free(flags);
    qrts_VRCheckStop(name, nullptr, VREC_FILE_SIZE);
  }
  return rc;
}

TripletArea tripletArea(CoreData *core, int64_t capacity) {
  const int64_t n = capacity > 0 ? capacity : 1, bytes = n * 16;
  if (bytes > core->tripletSize) {
    std::free(core->triplets);
    core->tripletSize = 0;
    core->triplets = nullptr;
    core->triplets = qrts__alloc("tripletArea", bytes, 1);
    core->tripletSize = bytes;
  }
  TripletArea area;
  area.count = 0;
  area.values = static_cast<double *>(core->triplets);
  area.rows = reinterpret_cast<int *>(area.values + n);
  area.cols = area.rows + n;
  return area;
}

// ---- writing the core ---------------------------------------------------------------------------------------

static int *stageArray(int64_t n) {
  return static_cast<int *>(qrts__alloc("qrtbinptcr", (n > 0 ? n : 1) * int64_t(sizeof(int)), 0));
}

static void allocateStageArrays(CoreData *core, int nStages, int nRows, int nCols) {
  core->rowStageStart = stageArray(int64_t(nStages) + 1);
  core->colStageStart = stageArray(int64_t(nStages) + 1);
  core->rowStage = stageArray(nRows);
  core->colStage = stageArray(nCols);
  core->sortedRowStage = stageArray(nRows);
  core->sortedColStage = stageArray(nCols);
  core->rowPerm = stageArray(int64_t(nRows) + EXT_ROWS);
  core->rowRank = stageArray(int64_t(nRows) + EXT_ROWS);
  core->rowLocal = stageArray(int64_t(nRows) + EXT_ROWS);
  core->colPerm = stageArray(int64_t(nCols) + EXT_COLS);
  core->colRank = stageArray(int64_t(nCols) + EXT_COLS);
  core->colLocal = stageArray(int64_t(nCols) + EXT_COLS);
}

static int sortFault(const char *what) {
  messageC(1, what);
  messageC(2, "qrtbinptcr");
  stochMessage(MSG_SORT_FAILED);
  return 2;
}

static int sortStages(CoreData *core, int nStages, const int *rowStages, const int *colStages, int nRows, int nCols) {
  // a stage count that could not fit the maps of so many blocks is no stage count
  if (nStages < 1 || blockCount(nStages) > VREC_MAX_OFFSET / 8) return sortFault("rows");
  allocateStageArrays(core, nStages, nRows, nCols);
  core->nStages = nStages;
  core->nRows = nRows;
  core->nCols = nCols;
  int rc;
  qrtskey(&rc, nStages, core->rowStageStart, nRows, core->rowRank, core->rowPerm, rowStages, core->sortedRowStage, core->rowLocal);
  if (rc != 0) return sortFault("rows");
  qrtskey(&rc, nStages, core->colStageStart, nCols, core->colRank, core->colPerm, colStages, core->sortedColStage, core->colLocal);
  if (rc != 0) return sortFault("columns");
  if (nRows > 0) std::memcpy(core->rowStage, rowStages, size_t(nRows) * sizeof(int));
  if (nCols > 0) std::memcpy(core->colStage, colStages, size_t(nCols) * sizeof(int));
  for (int k = 1; k <= EXT_ROWS; k++) core->rowRank[nRows + k - 1] = core->rowPerm[nRows + k - 1] = nRows + k;
  for (int k = 1; k <= EXT_COLS; k++) core->colRank[nCols + k - 1] = core->colPerm[nCols + k - 1] = nCols + k;
  return 0;
}

void writeCoreIndex(const char *caller, const CoreData *core, RecordFile *file, int elementCount) {
  const int32_t header[5] = {core->nRows, core->nCols, elementCount, core->nStages, core->problemType};
  const int64_t word = int64_t(sizeof(int));
  file->directory[file->coreWord] = recordFile_append(caller, file, header, sizeof header);
  recordFile_append(caller, file, core->rowStageStart, word * (core->nStages + 1));
  recordFile_append(caller, file, core->colStageStart, word * (core->nStages + 1));
  recordFile_append(caller, file, core->rowPerm, word * (int64_t(core->nRows) + EXT_ROWS));
  recordFile_append(caller, file, core->rowRank, word * (int64_t(core->nRows) + EXT_ROWS));
  recordFile_append(caller, file, core->colPerm, word * (int64_t(core->nCols) + EXT_COLS));
  recordFile_append(caller, file, core->colRank, word * (int64_t(core->nCols) + EXT_COLS));
}

int64_t coreBufferBytes(int64_t elements, int nStages) { return 8 * elements + 4 * (4 * elements + nStages) + 4; }

void qrtbinptcr(int *rc, StochData *sdata, int nStages, const int *rowStages, const int *colStages, int nRows, int nCols,
                int count, const int *rows, const int *cols, const double *values, int problemType) {
  static const char *const name = "qrtbinptcr";
  CoreData *core = sdata->core;
  messageI(1, nRows);
  messageI(2, nCols);
  messageI(3, nStages);
  stochMessage(MSG_CORE_SIZE);

  *rc = sortStages(core, nStages, rowStages, colStages, nRows, nCols);
  StageGroups groups;
  if (*rc == 0) {
    core->problemType = problemType;
    core->maxElements = count;
    core_buffer(core, coreBufferBytes(count, nStages));
    *rc = stageGroups_sort(core, 1, count, rows, cols, values, nullptr, &groups);
  }
  if (*rc != 0) {
    core_clear(core);
    return;
  }
  if (sdata->file == nullptr) sdata->file = qrts_VRFileOpen(name, nullptr, "TMP");
  RecordFile *file = sdata->file;
  writeCoreIndex(name, core, file, count);
  file->directory[file->dataWord] = stageGroups_write(core, file, &groups);
  recordFile_save(name, file);
  selfCheckStore(sdata);
}

// ---- unpacking ----------------------------------------------------------------------------------------------

static double *rimArray(int64_t n, double value) {
  double *vector = static_cast<double *>(qrts__alloc("qrtbingtcd", (n > 0 ? n : 1) * int64_t(sizeof(double)), 1));
  for (int64_t i = 0; i < n; i++) vector[i] = value;
  return vector;
}

static void freeUnpacked(CoreData *core) {
  void **const arrays[] = {reinterpret_cast<void **>(&core->mrow),     reinterpret_cast<void **>(&core->mcol),
                           reinterpret_cast<void **>(&core->dels),     reinterpret_cast<void **>(&core->blockStart),
                           reinterpret_cast<void **>(&core->rowLower), reinterpret_cast<void **>(&core->rowUpper),
                           reinterpret_cast<void **>(&core->colLower), reinterpret_cast<void **>(&core->colUpper),
                           reinterpret_cast<void **>(&core->objective), reinterpret_cast<void **>(&core->quadDiagonal)};
  for (void **array : arrays) {
    std::free(*array);
    *array = nullptr;
  }
}

static void allocateUnpacked(CoreData *core, int64_t total) {
  const char *const name = "qrtbingtcd";
  const int64_t n = total > 0 ? total : 1;
  freeUnpacked(core);
  core->rowLower = rimArray(core->nRows, 0.0);
  core->rowUpper = rimArray(core->nRows, SCN_INFINITY);
  core->colLower = rimArray(core->nCols, 0.0);
  core->colUpper = rimArray(core->nCols, SCN_INFINITY);
  core->objective = rimArray(core->nCols, 0.0);
  core->quadDiagonal = rimArray(core->nCols, 0.0);
  core->mrow = static_cast<int *>(qrts__alloc(name, n * int64_t(sizeof(int)), 1));
  core->mcol = static_cast<int *>(qrts__alloc(name, n * int64_t(sizeof(int)), 1));
  core->dels = static_cast<double *>(qrts__alloc(name, n * int64_t(sizeof(double)), 1));
  core->blockStart = static_cast<int *>(qrts__alloc(name, (blockCount(core->nStages) + 1) * int64_t(sizeof(int)), 1));
}

// Puts one stage behind what is unpacked already: rim elements of the diagonal block into the vectors, the others
// behind the `total` elements in place. Returns the new total.
static int unpackStage(CoreData *core, int stage, const NodeGroup *group, int total) {
  const int rowAt = core->rowStageStart[stage - 1] - 1, colAt = core->colStageStart[stage - 1] - 1;
  const int diagonal = group->blockStart[stage - 1] - 1;
  int onDiagonal = group->nElements - diagonal;
  qrtspltblk(0, rowsOfStage(core, stage), colsOfStage(core, stage), &onDiagonal, group->rows + diagonal, group->cols + diagonal,
             group->values + diagonal, core->rowLower + rowAt, core->rowUpper + rowAt, core->colLower + colAt,
             core->colUpper + colAt, core->objective + colAt, core->quadDiagonal + colAt);
  const int kept = diagonal + onDiagonal;
  std::memcpy(core->mrow + total, group->rows, size_t(kept) * sizeof(int));
  std::memcpy(core->mcol + total, group->cols, size_t(kept) * sizeof(int));
  std::memcpy(core->dels + total, group->values, size_t(kept) * sizeof(double));
  for (int c = 1; c <= stage; c++) core->blockStart[blockNumber(stage, c) - 1] = group->blockStart[c - 1] + total;
  return total + kept;
}

void qrtbingtcd(int *rc, StochData *sdata) {
  static const char *const name = "qrtbingtcd";
  CoreData *core = sdata->core;
  *rc = 2;
  if (core->nStages < 1 || sdata->file == nullptr) return;
  const int first = sdata->file->directory[sdata->file->dataWord];
  int64_t total = 0;
  for (int s = 1; s <= core->nStages; s++)
    total += recordFile_length(name, sdata->file, first + SCN_RECORDS_PER_GROUP * (s - 1) + 1) / int64_t(sizeof(int));
  allocateUnpacked(core, total);
  int unpacked = 0;
  for (int s = 1; s <= core->nStages; s++) {
    NodeGroup group;
    if (qrts_readGroup(name, sdata, first + SCN_RECORDS_PER_GROUP * (s - 1), s, &group) != 0) {
      freeUnpacked(core);
      return;
    }
    unpacked = unpackStage(core, s, &group, unpacked);
  }
  core->blockStart[blockCount(core->nStages)] = unpacked + 1;
  selfCheckStore(sdata);
  *rc = 0;
}

int qrts_unpackCore(StochData *sdata) {
  if (sdata == nullptr || sdata->core->nStages < 1) return 2;
  if (sdata->core->mrow != nullptr) return 0;
  int rc;
  qrtbingtcd(&rc, sdata);
  return rc;
}

// ---- the core as a column-ordered matrix, for differences ---------------------------------------------------

// Kept apart from the unpacked core, whose blocks the model generator needs as they are.
static int orderCore(StochData *sdata) {
  static const char *const name = "qrtbinsbdt";
  CoreData *core = sdata->core;
  if (core->orderedStart != nullptr) return 0;
  if (qrts_unpackCore(sdata) != 0) return 2;
  const int count = core->blockStart[blockCount(core->nStages)] - 1;
  const int64_t n = count > 0 ? count : 1, word = int64_t(sizeof(int));
  int *rows = static_cast<int *>(qrts__alloc(name, n * word, 1));
  int *cols = static_cast<int *>(qrts__alloc(name, n * word, 1));
  double *values = static_cast<double *>(qrts__alloc(name, n * int64_t(sizeof(double)), 1));
  int *starts = static_cast<int *>(qrts__alloc(name, (int64_t(core->nCols) + 1) * word, 1));
  int *counts = static_cast<int *>(qrts__alloc(name, (int64_t(core->nRows) + core->nCols + 1) * word, 1));
  for (int s = 1; s <= core->nStages; s++)
    for (int c = 1; c <= s; c++) {
      const int b = blockNumber(s, c);
      for (int e = core->blockStart[b - 1] - 1; e < core->blockStart[b] - 1; e++) {
        rows[e] = rowLocalToSorted(core, s, core->mrow[e]);
        cols[e] = colLocalToSorted(core, c, core->mcol[e]);
        values[e] = core->dels[e];
      }
    }
  qrts_SortMatrix(rows, cols, values, counts, starts, counts + core->nRows, core->nRows, core->nCols, count, SORT_TOLERANCE);
  std::free(counts);
  std::free(cols);
  core->orderedStart = starts;
  core->orderedRow = rows;
  core->orderedValue = values;
  return 0;
}

// Core value of the matrix element at sorted place (p, q).
static double coreElement(const CoreData *core, int p, int q) {
  const int from = core->orderedStart[q - 1] - 1, n = core->orderedStart[q] - 1 - from;
  const int at = BinSearchLong(n, core->orderedRow + from, p);
  return at < 0 ? 0.0 : core->orderedValue[from + at];
}

// Core value of an item in input coordinates; false when there is none of the kind.
static bool coreValue(const CoreData *core, int row, int col, double *value) {
  if (row < 1 || col < 1) return false;
  if (row > core->nRows) {
    if (col > core->nCols) return false;
    const int q = colInputToSorted(core, col) - 1;
    switch (row - core->nRows) {
      case EXT_COL_LOWER: *value = core->colLower[q]; return true;
      case EXT_COL_UPPER: *value = core->colUpper[q]; return true;
      case EXT_OBJECTIVE: *value = core->objective[q]; return true;
      default: return false;
    }
  }
  const int p = rowInputToSorted(core, row);
  switch (col - core->nCols) {
    case EXT_ROW_LOWER: *value = core->rowLower[p - 1]; return true;
    case EXT_ROW_UPPER: *value = core->rowUpper[p - 1]; return true;
    default: break;
  }
  if (col > core->nCols) return false;
  *value = coreElement(core, p, colInputToSorted(core, col));
  return true;
}

void qrtbinsbdt(int *rc, StochData *sdata, int count, const int *rows, const int *cols, double *values) {
  *rc = orderCore(sdata);
  for (int e = 0; *rc == 0 && e < count; e++) {
    double value;
    if (coreValue(sdata->core, rows[e], cols[e], &value)) {
      values[e] -= value;
    } else {
      std::printf("Can't subtract incoming block\n");
      *rc = 2;
    }
  }
}

void qrtbinaddt(int *rc, StochData *sdata, int count, const int *rows, const int *cols, double *values) {
  *rc = orderCore(sdata);
  const CoreData *core = sdata->core;
  for (int e = 0; *rc == 0 && e < count; e++)
    if (rows[e] >= 1 && rows[e] <= core->nRows && cols[e] >= 1 && cols[e] <= core->nCols)
      values[e] += coreElement(core, rowInputToSorted(core, rows[e]), colInputToSorted(core, cols[e]));
}

// ---- views and checks ---------------------------------------------------------------------------------------

int qrts_Ccdat(QRTStoch *stoch, CoreView **view) {
  if (qrts_unpackCore(stoch->sdata) != 0) return 2;
  const CoreData *core = stoch->sdata->core;
  if (*view == nullptr) *view = static_cast<CoreView *>(qrts__alloc("qrts_Ccdat", sizeof(CoreView), 0));
  const int nBlocks = int(blockCount(core->nStages));
  **view = CoreView{core->nRows, core->nCols, core->blockStart[nBlocks] - 1, core->nStages, nBlocks, core->rowLower, core->rowUpper,
                    core->colLower, core->colUpper, core->objective, core->mrow, core->mcol, core->dels, core->rowStageStart,
                    core->colStageStart, core->blockStart, core->rowPerm, core->colPerm};
  return 0;
}

// A stage map: starts rise from 1 to n + 1, perm and rank are inverse permutations, sorted by stage, input order kept.
static const char *checkMap(int n, int extended, int nStages, const int *starts, const int *perm, const int *rank) {
  if (starts[0] != 1 || starts[nStages] != n + 1) return "stage starts do not cover the rows or columns";
  for (int s = 1; s <= nStages; s++) {
    if (starts[s] < starts[s - 1]) return "stage starts fall";
    // the end is checked after the loop alone would let a start run past it
    if (starts[s] > n + 1) return "a stage start lies past the end";
    for (int p = starts[s - 1]; p < starts[s]; p++) {
      const int i = perm[p - 1];
      if (i < 1 || i > n || rank[i - 1] != p) return "permutation and rank are not inverse";
      if (p > starts[s - 1] && perm[p - 2] > i) return "input order is not kept inside a stage";
    }
  }
  for (int k = 1; k <= extended; k++)
    if (perm[n + k - 1] != n + k || rank[n + k - 1] != n + k) return "an extended entry does not map to itself";
  return nullptr;
}

const char *core_checkMaps(const CoreData *core) {
  const char *fault = checkMap(core->nRows, EXT_ROWS, core->nStages, core->rowStageStart, core->rowPerm, core->rowRank);
  if (fault == nullptr) fault = checkMap(core->nCols, EXT_COLS, core->nStages, core->colStageStart, core->colPerm, core->colRank);
  return fault;
}

const char *core_check(const CoreData *core) {
  if (core->nStages == 0) return core->mrow == nullptr ? nullptr : "a core without stages is unpacked";
  const char *fault = core_checkMaps(core);
  if (fault != nullptr || core->mrow == nullptr) return fault;
  if (core->blockStart[0] != 1) return "the first block does not start at 1";
  for (int s = 1; s <= core->nStages; s++)
    for (int c = 1; c <= s; c++) {
      const int b = blockNumber(s, c);
      if (core->blockStart[b] < core->blockStart[b - 1]) return "block starts fall";
      for (int e = core->blockStart[b - 1] - 1; e < core->blockStart[b] - 1; e++)
        if (core->mrow[e] < 1 || core->mrow[e] > rowsOfStage(core, s) || core->mcol[e] < 1 || core->mcol[e] > colsOfStage(core, c))
          return "a core element lies outside its block";
    }
  return nullptr;
}
