// The record file of a store: stamp and directory on top of numbered records, codes turned into messages, files
// copied and moved by name.
#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include "frame/messages.h"
#include "frame/safe_file.h"
#include "stoch/scn_stoc.h"

constexpr int STAMP_BYTES = 128;
constexpr int DIRECTORY_WORDS = 200;

// ---- codes to messages --------------------------------------------------------------------------------------

// Arguments of the messages 874 to 892 in the order of their texts: F the file, S the subroutine.
static const char *const argumentOrder[] = {
    "FS", "FS", "FS", "SF", "SF",  // open, close, seek, write, read
    "SF", "SF", "FS", "FS",        // status, disposition, handle, name space
    "S",  "SF", "SF", "SF", "SF",  // handle, attach, detach, record, negative size
    "S",  "FS", "SF", "FS",        // empty name, stamp, delete, file size
    "S"                            // unknown code
};

static int messageOfCode(int rc) {
  if (rc < VREC_OPEN || rc > VREC_FILE_SIZE) return MSG_VREC_UNKNOWN;
  // bad tag and null handle share a message
  return rc <= VREC_BAD_TAG ? MSG_VREC_FIRST + (rc - VREC_OPEN) : MSG_VREC_FIRST + (rc - VREC_OPEN) - 1;
}

int qrts_VRCheckRt(const char *caller, const char *fileName, int rc) {
  if (rc == VREC_OK || rc == VREC_ATTACHED) return 0;
  if (rc == 1 || rc == 2) return rc;
  const int index = messageOfCode(rc);
  const char *order = argumentOrder[index - MSG_VREC_FIRST];
  for (int k = 0; order[k] != '\0'; k++) messageC(k + 1, order[k] == 'F' ? (fileName ? fileName : "") : caller);
  stochMessage(index);
  return 2;
}

void qrts_VRCheckStop(const char *caller, const RecordFile *file, int rc) {
  if (qrts_VRCheckRt(caller, file ? file->name : "", rc) >= 2) qrts_endProcess(2);
}

// ---- temporary files ----------------------------------------------------------------------------------------

static RecordFile *temporaries = nullptr;

static void removeTemporaries() {
  for (const RecordFile *file = temporaries; file != nullptr; file = file->nextTemporary)
    if (file->process == getpid()) unlink(file->name);
}

static void unchain(const RecordFile *file) {
  for (RecordFile **link = &temporaries; *link != nullptr; link = &(*link)->nextTemporary)
    if (*link == file) {
      *link = file->nextTemporary;
      return;
    }
}

void recordFile_setDisposition(RecordFile *file, const char *disposition) {
  static bool registered = false;
  std::snprintf(file->disposition, sizeof file->disposition, "%s", disposition);
  unchain(file);
  if (std::strcmp(disposition, "DELETE") != 0) return;
  file->process = getpid();
  file->nextTemporary = temporaries;
  temporaries = file;
  if (!registered) registered = std::atexit(removeTemporaries) == 0;
}

// ---- open and close -----------------------------------------------------------------------------------------

static void freeRecordFile(RecordFile *file) {
  unchain(file);
  std::free(file->directory);
  std::free(file->name);
  std::free(file);
}

// What has begun to exist is released before the process ends, for callers that put a jump in place of the end.
[[noreturn]] static void failOpen(RecordFile *file) {
  int rc;
  if (file->handle != nullptr) qrtdioclvf(&rc, &file->handle, file->disposition);
  freeRecordFile(file);
  qrts_endProcess(2);
}

static void makeHead(const char *caller, RecordFile *file) {
  const struct { int wanted, bytes; const char *what; } heads[] = {
      {file->stampRecord, file->stampSize, "data-stamp"}, {file->dirRecord, file->dirWidth * file->dirCount, "directory"}};
  for (const auto &head : heads) {
    int rc, record = 0;
    qrtdiozvr(&rc, file->handle, &record, head.bytes);
    if (qrts_VRCheckRt(caller, file->name, rc) >= 2) failOpen(file);
    if (record != head.wanted) {
      messageC(1, head.what);
      messageC(2, file->name);
      messageC(3, caller);
      stochMessage(MSG_VREC_NOT_INITIALISED);
    }
  }
}

static void readHead(const char *caller, RecordFile *file) {
  int rc, record = file->dirRecord, actual;
  const int bytes = file->dirWidth * file->dirCount;
  qrtdiogtvr(&rc, file->handle, &record, file->directory, bytes, &actual);
  if (rc == VREC_OK && actual != bytes) rc = VREC_READ;
  if (qrts_VRCheckRt(caller, file->name, rc) >= 2) failOpen(file);
}

RecordFile *qrts_VRFileOpen(const char *caller, const char *name, const char *status) {
  const bool temporary = status != nullptr && std::strcmp(status, "TMP") == 0;
  const bool old = status != nullptr && std::strcmp(status, "OLD") == 0;
  const bool fresh = status != nullptr && std::strcmp(status, "NEW") == 0;
  const bool named = name != nullptr && name[0] != '\0';
  if (!(temporary || old || fresh) || (!temporary && !named)) return nullptr;

  RecordFile *file = static_cast<RecordFile *>(qrts__alloc(caller, sizeof(RecordFile), 0));
  file->directory = static_cast<int *>(qrts__alloc(caller, DIRECTORY_WORDS * int(sizeof(int)), 0));
  file->name = named ? strdup(name) : recordFile_temporaryName();
  recordFile_setDisposition(file, temporary && file->name != nullptr ? "DELETE" : "SAVE");
  file->stampSize = STAMP_BYTES;
  file->stampRecord = 1;
  file->dirWidth = int(sizeof(int));
  file->dirCount = DIRECTORY_WORDS;
  file->dirRecord = 2;
  file->dataWord = 1;
  file->scenarioWord = 2;
  file->nodeWord = 3;

  int rc = VREC_NO_NAME_SPACE;
  if (file->name != nullptr) qrtdioopvf(&rc, &file->handle, file->name, old ? "OLD" : "NEW");
  if (qrts_VRCheckRt(caller, file->name, rc) >= 2) failOpen(file);
  if (old) readHead(caller, file);
  else makeHead(caller, file);
  return file;
}

void qrts_VRFileFree(const char *caller, RecordFile *file) {
  if (file == nullptr) return;
  int rc;
  qrtdioclvf(&rc, &file->handle, file->disposition);
  const int result = qrts_VRCheckRt(caller, file->name, rc);
  freeRecordFile(file);
  if (result >= 2) qrts_endProcess(2);
}

// ---- records with their check -------------------------------------------------------------------------------

int recordFile_count(const char *caller, RecordFile *file) {
  int rc, record = 0, actual;
  qrtdiogtvr(&rc, file->handle, &record, nullptr, 0, &actual);
  qrts_VRCheckStop(caller, file, rc);
  return record;
}

int recordFile_length(const char *caller, RecordFile *file, int record) {
  // record 0 means the count to the layer below; here it is a directory word that was never written
  int rc = VREC_BAD_RECORD, actual = 0;
  if (record > 0) qrtdiogtvr(&rc, file->handle, &record, nullptr, 0, &actual);
  qrts_VRCheckStop(caller, file, rc);
  return actual;
}

int recordFile_append(const char *caller, RecordFile *file, const void *data, int64_t size) {
  int rc = VREC_FILE_SIZE, record = 0;
  if (size <= VREC_MAX_OFFSET) qrtdioptvr(&rc, file->handle, &record, data, int(size));
  qrts_VRCheckStop(caller, file, rc);
  return record;
}

void recordFile_write(const char *caller, RecordFile *file, int record, const void *data, int64_t size) {
  int rc = VREC_BAD_RECORD;
  if (record > 0 && size <= VREC_MAX_OFFSET) qrtdioptvr(&rc, file->handle, &record, data, int(size));
  qrts_VRCheckStop(caller, file, rc);
}

int recordFile_read(const char *caller, RecordFile *file, int record, void *buffer, int64_t maximum) {
  int rc = VREC_BAD_RECORD, actual = 0;
  const int most = maximum > VREC_MAX_OFFSET ? VREC_MAX_OFFSET : int(maximum);
  if (record > 0) qrtdiogtvr(&rc, file->handle, &record, buffer, most, &actual);
  qrts_VRCheckStop(caller, file, rc);
  return most > 0 ? actual : 0;
}

void recordFile_save(const char *caller, RecordFile *file) {
  recordFile_write(caller, file, file->dirRecord, file->directory, int64_t(file->dirWidth) * file->dirCount);
  int rc;
  qrtdiofls(&rc, file->handle);
  qrts_VRCheckStop(caller, file, rc);
}

// ---- files by name ------------------------------------------------------------------------------------------

char *recordFile_temporaryName() {
  char path[] = "/tmp/kvfXXXXXX";
  const int fd = mkstemp(path);
  if (fd < 0) return nullptr;
  close(fd);
  return strdup(path);
}

static bool sameFile(int a, const char *name) {
  struct stat stateA, stateB;
  return fstat(a, &stateA) == 0 && stat(name, &stateB) == 0 && stateA.st_dev == stateB.st_dev && stateA.st_ino == stateB.st_ino;
}

static bool copyBytes(int from, int to) {
  static char block[1 << 16];
  for (;;) {
    const ssize_t n = read(from, block, sizeof block);
    if (n < 0 && errno == EINTR) continue;
    if (n <= 0) return n == 0;
    for (ssize_t done = 0; done < n;) {
      const ssize_t k = write(to, block + done, size_t(n - done));
      if (k < 0 && errno == EINTR) continue;
      if (k <= 0) return false;
      done += k;
    }
  }
}

// The target is only replaced by a whole copy.
static int copyToPlace(int in, const char *to) {
  char *place = safeFile_place(to);
  const int out = place ? open(place, O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, 0666) : -1;
  int error = out < 0 ? EIO : copyBytes(in, out) ? 0 : EIO;
  if (out >= 0 && close(out) != 0) error = EIO;
  if (place && out >= 0) error = safeFile_settle(place, to, error);
  free(place);
  return error != 0;
}

int qrts_copyFile(const char *from, const char *to) {
  const int in = open(from, O_RDONLY | O_CLOEXEC);
  if (in < 0) return 2;
  const int result = sameFile(in, to) ? 1 : copyToPlace(in, to);
  close(in);
  return result;
}

int recordFile_move(const char *from, const char *to) {
  if (rename(from, to) == 0) return 0;
  if (errno != EXDEV) return 1;
  const int result = qrts_copyFile(from, to);
  return result == 0 && unlink(from) != 0 ? 1 : result;
}
