// Numbered records on top of the bytes: allocating, locating, reading and writing them, and the open and close of a file.
#include <cstdlib>
#include <cstring>
#include <unistd.h>

#include "stoch/scn_record_file.h"

constexpr int STAMP_OFFSET = 40;
constexpr int LAST_DIRECTORY_WORD = 36;  // offset of VirtualHeader::lastDirectory
constexpr int BLOCK_WORDS_BYTES = VREC_FANOUT * 4;
constexpr int BLOCK_PAIRS_BYTES = VREC_FANOUT * 8;
static const char stamp[4] = {'V', 'R', 'E', 'C'};

// Where record n is entered.
struct RecordPlace {
  int32_t block;       // b, from 1 over the whole file
  int32_t directory;   // d, from 1
  int32_t slot;        // of the block in its directory; slot 1 has no word
  int32_t entry;       // e, 1..256
};
static RecordPlace placeOf(int record) {
  RecordPlace place;
  place.block = (record - 1) / VREC_FANOUT + 1;
  place.directory = (place.block - 1) / VREC_FANOUT + 1;
  place.slot = place.block - VREC_FANOUT * (place.directory - 1);
  place.entry = record - VREC_FANOUT * (place.block - 1);
  return place;
}

static bool reserveBlocks(VirtualFile *f, int64_t wanted) {
  if (wanted <= f->blockCapacity) return true;
  int64_t capacity = int64_t(f->blockCapacity) * 2 + 16;
  if (capacity < wanted) capacity = wanted;
  void *grown = std::realloc(f->blockOffset, size_t(capacity) * sizeof(int32_t));
  if (grown == nullptr) return false;
  f->blockOffset = static_cast<int32_t *>(grown);
  f->blockCapacity = int32_t(capacity);
  return true;
}

// A header is believed only if its counts agree with one another and with the length of the file: everything that
// is allocated or looped over later is bounded by them.
static bool soundHeader(const VirtualHeader *h, int64_t fileEnd) {
  if (h->recordCount < 0 || h->recordCount > fileEnd / int64_t(sizeof(IndexPair))) return false;
  if (h->indexEntries != VREC_FANOUT || h->directoryEntries != VREC_FANOUT) return false;
  if (h->indexBlocks != (h->recordCount + VREC_FANOUT - 1) / VREC_FANOUT) return false;
  if (h->directoryBlocks != (h->indexBlocks + VREC_FANOUT - 1) / VREC_FANOUT) return false;
  if (h->largestRecord < 0 || h->totalBytes < 0 || h->endOfData < VREC_FIRST_BLOCK) return false;
  if (h->directoryBlocks == 0) return h->lastDirectory == LAST_DIRECTORY_WORD && h->firstDirectory == VREC_FIRST_BLOCK;
  return true;
}

// Offsets of all index blocks, from the chain of directories. They rise along a sound file, which also ends a cycle.
static int loadBlockOffsets(VirtualFile *f) {
  const VirtualHeader *h = &f->header;
  if (!reserveBlocks(f, int64_t(h->indexBlocks) + 1)) return VREC_READ;
  int64_t directory = h->firstDirectory, behind = VREC_FIRST_BLOCK;
  int32_t words[VREC_FANOUT];
  for (int b = 1; b <= h->indexBlocks; b++) {
    const int slot = (b - 1) % VREC_FANOUT + 1;
    int64_t offset;
    if (slot == 1) {
      if (b > 1) directory = words[0];
      if (directory < behind) return VREC_READ;
      const int rc = qrtdioread(f, directory, words, BLOCK_WORDS_BYTES);
      if (rc != VREC_OK) return VREC_READ;
      offset = directory + BLOCK_WORDS_BYTES;
      behind = offset;
    } else {
      offset = words[slot - 1];
    }
    if (offset < behind || offset + BLOCK_PAIRS_BYTES > f->fileEnd) return VREC_READ;
    behind = offset + BLOCK_PAIRS_BYTES;
    f->blockOffset[b - 1] = int32_t(offset);
  }
  if (h->indexBlocks > 0 && directory != h->lastDirectory) return VREC_READ;
  return VREC_OK;
}

static int loadBlock(VirtualFile *f, IndexBlock *into, int number) {
  if (into->number == number) return VREC_OK;
  into->number = 0;
  into->dirty = 0;
  const int rc = qrtdioread(f, f->blockOffset[number - 1], into->pairs, BLOCK_PAIRS_BYTES);
  if (rc == VREC_OK) into->number = number;
  return rc;
}

// The last record ends where the data end, and its bytes are on the file, or none of them are: what a writer leaves
// that was stopped between allocating and writing. Anything else would have the next record padded to a false end.
static bool soundEnd(const VirtualFile *f) {
  const VirtualHeader *h = &f->header;
  if (h->recordCount == 0) return h->endOfData <= f->fileEnd;
  const IndexPair last = f->tail.pairs[(h->recordCount - 1) % VREC_FANOUT];
  if (int64_t(last.offset) + last.length != h->endOfData) return false;
  return h->endOfData <= f->fileEnd || last.offset == f->fileEnd;
}

// Header and index are read once, at the first operation on a file opened with "OLD".
static int load(VirtualFile *f) {
  if (f->failure != VREC_OK) return f->failure;
  if (f->loaded) return VREC_OK;
  int rc = qrtdioread(f, 0, &f->header, sizeof(VirtualHeader));
  if (rc == VREC_OK && !soundHeader(&f->header, f->fileEnd)) rc = VREC_READ;
  if (rc == VREC_OK) rc = loadBlockOffsets(f);
  if (rc == VREC_OK && f->header.indexBlocks > 0) rc = loadBlock(f, &f->tail, f->header.indexBlocks);
  if (rc == VREC_OK && !soundEnd(f)) rc = VREC_READ;
  f->loaded = rc == VREC_OK;
  return rc;
}

static int storeTailBlock(VirtualFile *f) {
  if (!f->tail.dirty) return VREC_OK;
  const int rc = qrtdiowrit(f, f->blockOffset[f->tail.number - 1], f->tail.pairs, BLOCK_PAIRS_BYTES);
  if (rc == VREC_OK) f->tail.dirty = 0;
  return rc;
}

static int flushAll(VirtualFile *f) {
  int rc = f->failure != VREC_OK ? f->failure : storeTailBlock(f);
  if (rc == VREC_OK && f->headerDirty) rc = qrtdiowrit(f, 0, &f->header, sizeof(VirtualHeader));
  if (rc == VREC_OK) f->headerDirty = 0;
  return rc == VREC_OK ? virtualFile_pushTail(f) : rc;
}

static int writeNewHead(VirtualFile *f) {
  VirtualHeader *h = &f->header;
  h->indexEntries = h->directoryEntries = VREC_FANOUT;
  h->endOfData = h->firstDirectory = VREC_FIRST_BLOCK;
  h->lastDirectory = LAST_DIRECTORY_WORD;
  f->loaded = 1;
  int rc = qrtdiowrit(f, 0, h, sizeof *h);
  if (rc == VREC_OK) rc = qrtdiowrit(f, STAMP_OFFSET, stamp, sizeof stamp);
  if (rc == VREC_OK) rc = qrtdiopad(f, VREC_FIRST_BLOCK);
  return rc == VREC_OK ? virtualFile_pushTail(f) : rc;
}

static int checkStamp(VirtualFile *f) {
  char found[4] = {0, 0, 0, 0};
  if (f->fileEnd < STAMP_OFFSET + int64_t(sizeof found)) return VREC_BAD_STAMP;
  const int rc = qrtdioread(f, STAMP_OFFSET, found, sizeof found);
  if (rc != VREC_OK) return rc;
  return std::memcmp(found, stamp, sizeof stamp) == 0 ? VREC_OK : VREC_BAD_STAMP;
}

static void release(VirtualFile **handle) {
  VirtualFile *f = *handle;
  virtualFile_closeStream(f);
  std::free(f->blockOffset);
  std::free(f->name);
  std::memset(f, 0, sizeof *f);
  std::free(f);
  *handle = nullptr;
}

void qrtdioopvf(int *rc, VirtualFile **handle, const char *name, const char *status) {
  *handle = nullptr;
  const bool fresh = status != nullptr && std::strcmp(status, "NEW") == 0;
  if (!fresh && (status == nullptr || std::strcmp(status, "OLD") != 0)) { *rc = VREC_BAD_STATUS; return; }
  if (name == nullptr || name[0] == '\0') { *rc = VREC_EMPTY_NAME; return; }
  VirtualFile *f = static_cast<VirtualFile *>(std::calloc(1, sizeof(VirtualFile)));
  if (f == nullptr) { *rc = VREC_NO_HANDLE; return; }
  *handle = f;
  f->fd = -1;
  *rc = virtualFile_openStream(f, name, fresh);
  if (*rc == VREC_OK) {
    f->name = strdup(name);
    if (f->name == nullptr) *rc = VREC_NO_NAME_SPACE;
  }
  std::memcpy(f->tag, "Vrec", 5);
  if (*rc == VREC_OK) *rc = fresh ? writeNewHead(f) : checkStamp(f);
  if (*rc != VREC_OK) release(handle);
}

void qrtdioclvf(int *rc, VirtualFile **handle, const char *disposition) {
  *rc = qrtdiochk(*handle);
  if (*rc != VREC_OK) return;
  const bool remove = disposition != nullptr && std::strcmp(disposition, "DELETE") == 0;
  if (!remove && (disposition == nullptr || std::strcmp(disposition, "SAVE") != 0)) { *rc = VREC_BAD_DISPOSITION; return; }
  VirtualFile *f = *handle;
  if (!remove && flushAll(f) != VREC_OK) *rc = VREC_CLOSE;
  if (virtualFile_closeStream(f) != VREC_OK) *rc = VREC_CLOSE;
  if (remove && unlink(f->name) != 0 && *rc == VREC_OK) *rc = VREC_DELETE;
  release(handle);
}

void qrtdioatvf(int *rc, VirtualFile *handle) {
  *rc = qrtdiochk(handle);
  if (*rc != VREC_OK) return;
  *rc = VREC_ATTACHED;
}

void qrtdiodtvf(int *rc, VirtualFile *handle) {
  *rc = qrtdiochk(handle);
  if (*rc == VREC_OK) handle->attached = 0;
}

void qrtdiofls(int *rc, VirtualFile *handle) {
  *rc = qrtdiochk(handle);
  if (*rc == VREC_OK) *rc = flushAll(handle);
}

// Adds a directory block at `end`, linked from the last one. While there is none the link falls on the header word
// that holds the last directory, which the next header write sets right.
static int addDirectory(VirtualFile *f, VirtualHeader *h, int32_t end) {
  int rc = qrtdiowrit(f, h->lastDirectory, &end, sizeof end);
  if (rc == VREC_OK) rc = qrtdiopad(f, end);
  if (rc == VREC_OK) rc = qrtdiozero(f, end, BLOCK_WORDS_BYTES);
  h->directoryBlocks++;
  h->lastDirectory = end;
  h->endOfData = end + BLOCK_WORDS_BYTES;
  return rc;
}

static int addIndexBlock(VirtualFile *f, VirtualHeader *h, RecordPlace place, int32_t end) {
  int rc = storeTailBlock(f);
  if (rc == VREC_OK && place.slot >= 2) rc = qrtdiowrit(f, h->lastDirectory + 4 * (place.slot - 1), &end, sizeof end);
  if (rc == VREC_OK) rc = qrtdiopad(f, end);
  if (rc == VREC_OK) rc = qrtdiozero(f, end, BLOCK_PAIRS_BYTES);
  if (rc == VREC_OK && !reserveBlocks(f, place.block)) rc = VREC_WRITE;
  if (rc != VREC_OK) return rc;
  f->blockOffset[place.block - 1] = end;
  std::memset(&f->tail, 0, sizeof f->tail);
  f->tail.number = place.block;
  h->indexBlocks++;
  h->endOfData = end + BLOCK_PAIRS_BYTES;
  return VREC_OK;
}

void qrtdiodscv(int *rc, VirtualFile *f, int size, int *record) {
  *record = 0;
  if (size < 0) { *rc = VREC_NEGATIVE_SIZE; return; }
  *rc = load(f);
  if (*rc != VREC_OK) return;
  VirtualHeader h = f->header;  // takes effect as a whole
  const RecordPlace place = placeOf(h.recordCount + 1);
  const bool needDirectory = place.directory > h.directoryBlocks, needBlock = place.block > h.indexBlocks;
  // offsets have 32 bits: refuse before anything would pass them
  int64_t end = int64_t(h.endOfData) + (needDirectory ? BLOCK_WORDS_BYTES : 0) + (needBlock ? BLOCK_PAIRS_BYTES : 0);
  end = (end + 7) & ~int64_t(7);
  if (end + size > VREC_MAX_OFFSET || int64_t(h.totalBytes) + size > VREC_MAX_OFFSET) { *rc = VREC_FILE_SIZE; return; }

  if (needDirectory) *rc = addDirectory(f, &h, h.endOfData);
  if (*rc == VREC_OK && needBlock) *rc = addIndexBlock(f, &h, place, h.endOfData);
  if (*rc == VREC_OK) *rc = qrtdiopad(f, end);
  if (*rc != VREC_OK) {
    f->failure = *rc;
    return;
  }
  f->tail.pairs[place.entry - 1] = IndexPair{int32_t(end), size};
  f->tail.dirty = 1;
  h.recordCount++;
  if (h.largestRecord < size) h.largestRecord = size;
  h.totalBytes += size;
  h.endOfData = int32_t(end + size);
  f->header = h;
  f->headerDirty = 1;
  *record = h.recordCount;
}

void qrtdiotrkv(int *rc, VirtualFile *f, int record, IndexPair *place) {
  *place = IndexPair{0, 0};
  *rc = load(f);
  if (*rc != VREC_OK) return;
  if (record < 0 || record > f->header.recordCount) { *rc = VREC_BAD_RECORD; return; }
  if (record == 0) return;
  const RecordPlace where = placeOf(record);
  IndexBlock *block = where.block == f->tail.number ? &f->tail : &f->recent;
  *rc = loadBlock(f, block, where.block);
  if (*rc != VREC_OK) return;
  const IndexPair pair = block->pairs[where.entry - 1];
  // data begin inside the file, or at its end while they have not been written
  if (pair.offset < VREC_FIRST_BLOCK || pair.offset > f->fileEnd || pair.length < 0 ||
      int64_t(pair.offset) + pair.length > VREC_MAX_OFFSET) {
    *rc = VREC_READ;
    return;
  }
  *place = pair;
}

void qrtdiogtvr(int *rc, VirtualFile *handle, int *record, void *buffer, int maximum, int *actual) {
  *actual = 0;
  *rc = qrtdiochk(handle);
  if (*rc != VREC_OK) return;
  IndexPair place;
  qrtdiotrkv(rc, handle, *record, &place);
  if (*rc != VREC_OK) return;
  if (*record == 0) { *record = handle->header.recordCount; return; }
  // a length beyond the end of the file must not make the caller allocate it
  if (int64_t(place.offset) + place.length > handle->fileEnd) { *rc = VREC_READ; return; }
  *actual = maximum > 0 && maximum < place.length ? maximum : place.length;
  if (maximum > 0) *rc = qrtdioread(handle, place.offset, buffer, *actual);
}

// Finds the record to write, allocating it for number 0.
static void locateForWriting(int *rc, VirtualFile *handle, int *record, int size, IndexPair *place) {
  *place = IndexPair{0, 0};
  *rc = qrtdiochk(handle);
  if (*rc == VREC_OK && *record == 0) qrtdiodscv(rc, handle, size, record);
  if (*rc == VREC_OK) qrtdiotrkv(rc, handle, *record, place);
}

void qrtdioptvr(int *rc, VirtualFile *handle, int *record, const void *buffer, int size) {
  IndexPair place;
  locateForWriting(rc, handle, record, size, &place);
  const int n = size < place.length ? size : place.length;
  if (*rc == VREC_OK && n > 0) *rc = qrtdiowrit(handle, place.offset, buffer, n);
}

void qrtdiozvr(int *rc, VirtualFile *handle, int *record, int size) {
  IndexPair place;
  locateForWriting(rc, handle, record, size, &place);
  if (*rc == VREC_OK) *rc = qrtdiozero(handle, place.offset, place.length);
}

const char *virtualFile_check(VirtualFile *f) {
  if (qrtdiochk(f) != VREC_OK) return "the handle has no valid tag";
  if (load(f) != VREC_OK) return "header or index can't be read";
  const VirtualHeader *h = &f->header;
  if (!soundHeader(h, f->fileEnd)) return "the counts of the header disagree";
  if (f->tailStart > f->fileEnd) return "the append buffer begins behind the end of the file";
  int64_t behind = VREC_FIRST_BLOCK, total = 0;
  int largest = 0;
  for (int n = 1; n <= h->recordCount; n++) {
    int rc;
    IndexPair place;
    qrtdiotrkv(&rc, f, n, &place);
    if (rc != VREC_OK) return "a record can't be located";
    if (place.offset % 8 != 0) return "data do not start on a multiple of 8";
    if (place.offset < behind) return "two records overlap";
    const int block = placeOf(n).block;
    if (place.offset < f->blockOffset[block - 1] + BLOCK_PAIRS_BYTES) return "data lie in front of their index block";
    behind = int64_t(place.offset) + place.length;
    total += place.length;
    if (largest < place.length) largest = place.length;
  }
  if (total != h->totalBytes) return "total bytes differ from the sum of lengths";
  if (largest != h->largestRecord) return "the largest record is another one";
  if (h->recordCount > 0 && behind != h->endOfData) return "end of data is not the end of the last record";
  return nullptr;
}
