// A store saved under a name, or written anew to a file of its own.
#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <cstring>

#include "frame/messages.h"
#include "frame/safe_file.h"
#include "stoch/scn_core_file.h"
#include "stoch/scn_stoc.h"

static void announce(const char *what, const char *file) {
  messageC(1, what);
  messageC(2, file);
  stochMessage(MSG_TWO_TEXTS);
}

// ---- saving under a name ------------------------------------------------------------------------------------

static bool storable(const QRTStoch *stoch, const char *file, const char *caller) {
  if (stoch->sdata != nullptr && stoch->sdata->file != nullptr && file != nullptr && file[0] != '\0') return true;
  messageC(1, "STOCH");
  messageC(2, caller);
  stochMessage(MSG_BAD_STRUCTURE);
  return false;
}

static int writeTable(StochData *sdata, const char *file) {
  int rc;
  qrtbinptsi(&rc, sdata);
  if (rc >= 2) {
    std::printf("\n Error while writing STOCH data into file %s", file);
    return 1;
  }
  return 0;
}

// The store goes on in the file of the new name. The old handle still writes to the moved file, so it is closed,
// without removing what it points to, before the new one opens it.
static int moveStore(StochData *sdata, const char *file) {
  static const char *const name = "qrts_write2NativeData";
  if (recordFile_move(sdata->file->name, file) != 0) return severe(MSG_SAVE_FAILED, file);
  recordFile_setDisposition(sdata->file, "SAVE");
  RecordFile *old = sdata->file;
  sdata->file = nullptr;
  qrts_VRFileFree(name, old);
  sdata->file = qrts_VRFileOpen(name, file, "OLD");
  return 0;
}

// With `goOn` the store works on in the file of that name, else the file is a copy.
static int writeUnderName(QRTStoch *stoch, const char *file, const char *caller, bool goOn) {
  if (!storable(stoch, file, caller)) return 2;
  const bool shared = stoch->ownsData == 0;
  const int copied = shared ? qrts_copySdata2newfile(stoch, file) : 0;
  announce("Copying stochastic data to", file);
  if (shared) return copied;
  if (writeTable(stoch->sdata, file) != 0) return 1;
  const bool elsewhere = std::strcmp(file, stoch->sdata->file->name) != 0;
  if (goOn && elsewhere) return moveStore(stoch->sdata, file);
  if (goOn) recordFile_setDisposition(stoch->sdata->file, "SAVE");
  return goOn || !elsewhere || qrts_copyFile(stoch->sdata->file->name, file) == 0 ? 0 : severe(MSG_SAVE_FAILED, file);
}

int qrts_write2NativeData(QRTStoch *stoch, const char *file) { return writeUnderName(stoch, file, "qrts_write2NativeData", true); }
int qrts_write3NativeData(QRTStoch *stoch, const char *file) { return writeUnderName(stoch, file, "qrts_write3NativeData", false); }

// ---- a new file from a store that does not own its own ------------------------------------------------------

// Copies one record to the end of another file; returns its number there.
static int copyRecord(const char *caller, CoreData *core, RecordFile *from, int record, RecordFile *to) {
  const int length = recordFile_length(caller, from, record);
  void *bytes = core_buffer(core, length > 0 ? length : 1);
  if (length > 0) recordFile_read(caller, from, record, bytes, length);
  return recordFile_append(caller, to, bytes, length);
}

static int copyGroup(const char *caller, CoreData *core, RecordFile *from, int record, RecordFile *to) {
  const int first = copyRecord(caller, core, from, record, to);
  for (int k = 1; k < SCN_RECORDS_PER_GROUP; k++) copyRecord(caller, core, from, record + k, to);
  return first;
}

// The copy under way. A record file that fails ends the process, which should leave no piece of it.
static struct {
  char *place, *target;  // malloc'd, null when nothing is under way
} copying;

// Puts the copy to its place, or forgets it; 0 when it stands there.
static int endCopy(int error) {
  if (copying.place != nullptr) error = safeFile_settle(copying.place, copying.target, error);
  std::free(copying.place);
  std::free(copying.target);
  copying.place = copying.target = nullptr;
  return error;
}

static void abandonCopy() { endCopy(ECANCELED); }

int qrts_copySdata2newfile(QRTStoch *stoch, const char *file) {
  static const char *const name = "qrts_copyStoch";
  if (!storable(stoch, file, name) || qrts_needNodes(stoch->sdata) != 0) return 2;
  StochData *sdata = stoch->sdata;
  CoreData *core = sdata->core;
  RecordFile *from = sdata->file;
  const NodeList *list = sdata->nodes;
  const int64_t starts = 4 * int64_t(core->nStages) + 4, values = 8 * int64_t(core->maxElements);
  core_buffer(core, starts > values ? starts : values);
  static bool registered = false;
  if (!registered) registered = std::atexit(abandonCopy) == 0;
  abandonCopy();
  copying.place = safeFile_place(file);
  copying.target = strdup(file);
  RecordFile *to = copying.place && copying.target ? qrts_VRFileOpen(name, copying.place, "NEW") : nullptr;
  if (to == nullptr) {
    abandonCopy();
    return 2;
  }
  writeCoreIndex(name, core, to, core->maxElements);
  to->directory[to->dataWord] = recordFile_count(name, to) + 1;
  for (int s = 0; s < core->nStages; s++)
    copyGroup(name, core, from, from->directory[from->dataWord] + SCN_RECORDS_PER_GROUP * s, to);

  // the table of the new file names the new records, the store keeps its own
  TreeNode *moved =
      static_cast<TreeNode *>(qrts__alloc(name, list->nNodes * int64_t(sizeof(TreeNode)), 1));
  std::memcpy(moved, list->nodes, size_t(list->nNodes) * sizeof(TreeNode));
  for (int n = 0; n < list->nNodes; n++)
    if (moved[n].record > 0) moved[n].record = copyGroup(name, core, from, moved[n].record, to);
  to->directory[to->scenarioWord] =
      recordFile_append(name, to, sdata->scenarios->table, sdata->scenarios->count * int64_t(sizeof(ScenarioRecord)));
  to->directory[to->nodeWord] = recordFile_append(name, to, moved, list->nNodes * int64_t(sizeof(TreeNode)));
  std::free(moved);
  recordFile_save(name, to);
  qrts_VRFileFree(name, to);
  return endCopy(0) == 0 ? 0 : severe(MSG_SAVE_FAILED, file);
}
