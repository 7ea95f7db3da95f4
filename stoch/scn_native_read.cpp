// A store read from its record file. Nothing of a file is believed before it has been checked against the rest of it.
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <cstring>

#include "frame/messages.h"
#include "stoch/scn_core_file.h"
#include "stoch/scn_stoc.h"

// A piece that contradicts the others: the message of a failed read, and 2 for the caller's own line.
static int badPiece(const char *caller, const RecordFile *file) { return qrts_VRCheckRt(caller, file->name, VREC_READ); }

// ---- the core's index part ----------------------------------------------------------------------------------

// Reads the record of n integers into a fresh array; null when it has another length.
static int *readInts(const char *caller, RecordFile *file, int record, int64_t n) {
  const int64_t bytes = n * int64_t(sizeof(int));
  if (recordFile_length(caller, file, record) != bytes) return nullptr;
  int *array = static_cast<int *>(qrts__alloc(caller, bytes, 1));
  if (recordFile_read(caller, file, record, array, bytes) == bytes) return array;
  std::free(array);
  return nullptr;
}

static bool readMaps(const char *caller, RecordFile *file, CoreData *core) {
  const int first = file->directory[file->coreWord] + 1;
  const int64_t stages = int64_t(core->nStages) + 1, rows = int64_t(core->nRows) + EXT_ROWS, cols = int64_t(core->nCols) + EXT_COLS;
  struct { int **array; int64_t n; } const pieces[] = {{&core->rowStageStart, stages}, {&core->colStageStart, stages},
                                                       {&core->rowPerm, rows},         {&core->rowRank, rows},
                                                       {&core->colPerm, cols},         {&core->colRank, cols}};
  for (int k = 0; k < 6; k++) {
    *pieces[k].array = readInts(caller, file, first + k, pieces[k].n);
    if (*pieces[k].array == nullptr) return false;
  }
  return core_checkMaps(core) == nullptr;
}

// Stages in both orders and local numbers follow from starts and permutation.
static void deriveStages(const char *caller, int n, int extended, int nStages, const int *starts, const int *perm, int **stage,
                         int **sortedStage, int **local) {
  const int64_t word = int64_t(sizeof(int));
  *stage = static_cast<int *>(qrts__alloc(caller, (int64_t(n) + 1) * word, 0));
  *sortedStage = static_cast<int *>(qrts__alloc(caller, (int64_t(n) + 1) * word, 0));
  *local = static_cast<int *>(qrts__alloc(caller, (int64_t(n) + extended) * word, 0));
  for (int s = 1; s <= nStages; s++)
    for (int p = starts[s - 1]; p < starts[s]; p++) {
      (*sortedStage)[p - 1] = s;
      (*stage)[perm[p - 1] - 1] = s;
      (*local)[p - 1] = p - starts[s - 1] + 1;
    }
}

static bool readHeader(const char *caller, RecordFile *file, CoreData *core) {
  int32_t header[5];
  const int record = file->directory[file->coreWord];
  if (recordFile_read(caller, file, record, header, sizeof header) != int(sizeof header)) return false;
  // counts beyond what the permutation records could hold are refused when these are read, before any allocation
  if (header[0] < 0 || header[1] < 0 || header[2] < 0 || header[3] < 1) return false;
  if (header[0] > VREC_MAX_OFFSET / 8 || header[1] > VREC_MAX_OFFSET / 8 || header[2] > VREC_MAX_OFFSET / 16) return false;
  if (blockCount(header[3]) > VREC_MAX_OFFSET / 8 || (header[4] != 1 && header[4] != 2)) return false;
  core->nRows = header[0];
  core->nCols = header[1];
  core->maxElements = header[2];
  core->nStages = header[3];
  core->problemType = header[4];
  return true;
}

void qrtbingtci(int *rc, StochData *sdata) {
  static const char *const name = "qrtbingtci";
  CoreData *core = sdata->core;
  RecordFile *file = sdata->file;
  core_clear(core);
  *rc = 0;
  if (!readHeader(name, file, core) || !readMaps(name, file, core)) {
    *rc = badPiece(name, file);
    core_clear(core);
    return;
  }
  deriveStages(name, core->nRows, EXT_ROWS, core->nStages, core->rowStageStart, core->rowPerm, &core->rowStage,
               &core->sortedRowStage, &core->rowLocal);
  deriveStages(name, core->nCols, EXT_COLS, core->nStages, core->colStageStart, core->colPerm, &core->colStage,
               &core->sortedColStage, &core->colLocal);
  // the count in the header only sizes work areas; a core that is on the file is no longer than the file
  const int64_t data = file->directory[file->dataWord], records = recordFile_count(name, file);
  if (data < 1 || data + int64_t(SCN_RECORDS_PER_GROUP) * core->nStages - 1 > records) {
    *rc = badPiece(name, file);
    core_clear(core);
  }
}

// ---- scenarios ----------------------------------------------------------------------------------------------

// All a record says but where its data are, which a node table may put elsewhere.
static bool soundScenario(const ScenarioTable *table, int k, int nStages, int64_t *lastNode) {
  const ScenarioRecord *record = &table->table[k - 1];
  if (!std::isfinite(record->probability) || record->ancestor < 0 || record->ancestor >= k) return false;
  if (record->branchStage < 2 || (record->branchStage > nStages && nStages > 1) || record->branchStage > nStages + 1) return false;
  if (record->ancestor == 0 ? record->branchStage != 2 : table->table[record->ancestor - 1].branchStage >= record->branchStage)
    return false;
  if (record->firstNode != *lastNode + 1) return false;
  *lastNode += nStages - record->branchStage + 1;
  return record->lastNode == *lastNode;
}

void qrtbingtsi(int *rc, StochData *sdata) {
  static const char *const name = "qrtbingtsi";
  RecordFile *file = sdata->file;
  ScenarioTable *table = sdata->scenarios;
  table->count = 0;
  sdata->nodes->nNodes = 0;
  qrts_dropNodes(sdata);
  *rc = 0;
  const int record = file->directory[file->scenarioWord];
  if (record == 0) {
    std::printf("No scenario information in the file %s\n", file->name);
    *rc = 1;
    return;
  }
  const int64_t bytes = recordFile_length(name, file, record), one = int64_t(sizeof(ScenarioRecord));
  const int count = int(bytes / one);
  bool sound = bytes % one == 0;
  if (sound && count > 0) {
    scenarioTable_reserve(table, count);
    sound = recordFile_read(name, file, record, table->table, bytes) == bytes;
  }
  int64_t lastNode = 1;
  for (int k = 1; sound && k <= count; k++) sound = soundScenario(table, k, sdata->core->nStages, &lastNode) && lastNode < VREC_MAX_OFFSET;
  if (!sound) {
    *rc = badPiece(name, file);
    return;
  }
  table->count = count;
  if (table->maximum < count) table->maximum = count;
  sdata->nodes->nNodes = count > 0 ? int(lastNode) : 0;
}

// ---- the node table -----------------------------------------------------------------------------------------

// The groups of a scenario lie on the file behind those of the scenario before it, so that there are never more nodes
// than records for them. *behind is the last record taken.
static bool soundRecord(int64_t firstRecord, int stages, int64_t records, int64_t *behind) {
  if (stages == 0) return true;
  if (firstRecord <= *behind) return false;
  *behind = firstRecord + int64_t(SCN_RECORDS_PER_GROUP) * stages - 1;
  return *behind <= records;
}

// The table of a copied file names the records of that file, where its scenario table still names those of the file
// it came from. What the nodes say goes into the scenarios; the links are made anew.
static bool takeNodeTable(StochData *sdata, const TreeNode *nodes, int64_t records) {
  const int nStages = sdata->core->nStages;
  ScenarioTable *table = sdata->scenarios;
  if (nodes[0].record != 0) return false;
  int64_t behind = 0;
  for (int k = 1; k <= table->count; k++) {
    ScenarioRecord *scenario = &table->table[k - 1];
    for (int n = scenario->firstNode; n <= scenario->lastNode; n++) {
      const TreeNode *node = &nodes[n - 1];
      const int stage = scenario->branchStage + n - scenario->firstNode;
      if (node->number != n || node->scenario != k || node->stage != stage || !std::isfinite(node->probability)) return false;
      if (node->record != nodes[scenario->firstNode - 1].record + SCN_RECORDS_PER_GROUP * (n - scenario->firstNode)) return false;
    }
    if (scenario->lastNode < scenario->firstNode) continue;
    const int first = nodes[scenario->firstNode - 1].record;
    if (!soundRecord(first, nStages - scenario->branchStage + 1, records, &behind)) return false;
    scenario->firstRecord = first;
  }
  qrts_mktr(sdata);
  for (int n = 0; n < sdata->nodes->nNodes; n++) sdata->nodes->nodes[n].probability = nodes[n].probability;
  return true;
}

void qrtbingtni(int *rc, StochData *sdata) {
  static const char *const name = "qrtbingtni";
  RecordFile *file = sdata->file;
  const ScenarioTable *table = sdata->scenarios;
  const int nStages = sdata->core->nStages, record = file->directory[file->nodeWord];
  const int64_t records = recordFile_count(name, file);
  *rc = 0;
  bool sound = true;
  int64_t behind = 0;
  if (record == 0) {
    for (int k = 0; sound && k < table->count; k++)
      sound = soundRecord(table->table[k].firstRecord, nStages - table->table[k].branchStage + 1, records, &behind);
  } else {
    const int64_t bytes = recordFile_length(name, file, record), nodes = table->count > 0 ? sdata->nodes->nNodes : 1;
    sound = bytes == nodes * int64_t(sizeof(TreeNode));
    if (sound) {
      TreeNode *read = static_cast<TreeNode *>(qrts__alloc(name, bytes, 1));
      sound = recordFile_read(name, file, record, read, bytes) == bytes && takeNodeTable(sdata, read, records);
      std::free(read);
    }
  }
  if (sound) return;
  *rc = badPiece(name, file);
  sdata->scenarios->count = 0;
  sdata->nodes->nNodes = 0;
  qrts_dropNodes(sdata);
}

// ---- the whole ----------------------------------------------------------------------------------------------

int qrts_read2NativeData(QRTStoch *stoch, const char *file, int announce, int temporary) {
  static const char *const name = "qrts_read2NativeData";
  StochData *sdata = stoch->sdata;
  if (sdata == nullptr) {
    messageC(1, "STOCH");
    messageC(2, name);
    stochMessage(MSG_BAD_STRUCTURE);
    return 1;
  }
  if (sdata->file != nullptr) {
    std::printf("****** ERROR:  The QRTStoch object already has data. \n"
                "******         Please delete this object and create a new one \n"
                "******         before attempting reading of data. \n");
    qrts_endProcess(999);
  }
  if (announce) {
    messageC(1, "Loading stochastic data from");
    messageC(2, file != nullptr ? file : "");
    stochMessage(MSG_TWO_TEXTS);
  }
  sdata->file = qrts_VRFileOpen(name, file, "OLD");
  if (sdata->file == nullptr) {
    qrts_VRCheckRt(name, "", VREC_EMPTY_NAME);
    return 1;
  }
  if (temporary) recordFile_setDisposition(sdata->file, "DELETE");
  const struct { void (*read)(int *, StochData *); const char *fault; } pieces[] = {
      {qrtbingtci, "\n Error reading CORE information from KVF file !"},
      {qrtbingtsi, "\n Error reading SCENARIO information from KVF file !"},
      {qrtbingtni, "\n Error reading NODE information from KVF file !"}};
  for (const auto &piece : pieces) {
    int rc;
    piece.read(&rc, sdata);
    if (rc < 2) continue;
    std::printf("%s", piece.fault);
    return 1;
  }
  return 0;
}
