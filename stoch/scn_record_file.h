// The record file: one binary file of numbered records, in which the store keeps the core and every scenario.
//
// Two layers. A VirtualFile knows records: it allocates, locates, reads and writes them by number. A RecordFile adds
// a data-stamp (record 1) and a directory of 200 words (record 2) that says where the logical pieces stand.
//
// The file, all integers 32 bits in the order of the host:
//
//     0     header, ten words (VirtualHeader)
//     40    "VREC", then zero bytes
//     296   directory block, 256 words: word 1 the next directory, word k the k-th index block of this directory
//     1320  index block, 256 pairs: data offset and length of a record. The first index block of a directory
//           stands directly behind it, so it needs no word.
//     3368  data of record 1, then as they come: data on multiples of 8, index blocks, directories
//
//     record n:  index block b = (n-1)/256 + 1,  pair e = n - 256(b-1),  directory d = (b-1)/256 + 1,  slot b - 256(d-1)
//
// Nothing is ever freed and a record keeps its length for life, so the file only grows at its end. That is what the
// speed rests on: the end of the file lies in one append buffer, and header, index offsets and the index block in
// use are kept in the handle. qrtdiofls() brings the bytes to the file as if every step had been written at once.
//
// No function here issues messages except those of the RecordFile layer; none jumps. A failure leaves its code in rc
// (see qrts_VRCheckRt) and the handle usable, so that it can be closed.
#pragma once

#include <cstdint>

constexpr int VREC_FANOUT = 256;          // entries of a directory and of an index block
constexpr int VREC_FIRST_BLOCK = 296;     // where the first directory stands
constexpr int VREC_MAX_OFFSET = 0x7fffffff;

// Return codes of the record layer.
enum : int {
  VREC_OK = 0,
  VREC_ATTACHED = 100,
  VREC_OPEN = 301, VREC_CLOSE = 302, VREC_SEEK = 303, VREC_WRITE = 304, VREC_READ = 305,
  VREC_BAD_STATUS = 306, VREC_BAD_DISPOSITION = 307, VREC_NO_HANDLE = 308, VREC_NO_NAME_SPACE = 309,
  VREC_BAD_TAG = 310, VREC_NULL_HANDLE = 311, VREC_ATTACH = 312, VREC_DETACH = 313, VREC_BAD_RECORD = 314,
  VREC_NEGATIVE_SIZE = 315, VREC_EMPTY_NAME = 316, VREC_BAD_STAMP = 317, VREC_DELETE = 318, VREC_FILE_SIZE = 319
};

// The first 40 bytes of the file.
struct VirtualHeader {
  int32_t recordCount;       // records allocated, numbered from 1
  int32_t indexBlocks;
  int32_t indexEntries;      // 256
  int32_t directoryBlocks;
  int32_t directoryEntries;  // 256
  int32_t largestRecord;     // bytes
  int32_t totalBytes;        // sum of all record lengths
  int32_t endOfData;         // next free offset
  int32_t firstDirectory;    // offset
  int32_t lastDirectory;     // offset; 36, the place of this very word, while there is none
};
static_assert(sizeof(VirtualHeader) == 40, "the header is written as it stands");

struct IndexPair {
  int32_t offset, length;
};

// One index block held in memory.
struct IndexBlock {
  int32_t number;            // from 1, 0: none
  int32_t dirty;             // 1: differs from the file
  IndexPair pairs[VREC_FANOUT];
};

struct VirtualFile {
  char tag[5];               // "Vrec"; what makes a handle valid
  int32_t attached;
  char *name;                // owned
  int fd;                    // owned
  int32_t loaded;            // 1: header and index offsets have been read and found sound
  int32_t failure;           // code of an allocation that broke off half-way: nothing is read or written after it
  int32_t headerDirty;
  VirtualHeader header;
  int32_t *blockOffset;      // [blockCapacity] offset of index block b at [b-1]; owned
  int32_t blockCapacity;
  IndexBlock tail;           // the last index block of the file
  IndexBlock recent;         // the other block used last, never dirty
  // the end of the file: bytes [tailStart, fileEnd) are in tailBytes, the rest is on disk
  char *tailBytes;           // [VREC_TAIL_CAPACITY] owned
  int64_t tailStart, fileEnd;
  // read-ahead: bytes [windowStart, windowStart + windowLength) of the file
  char *window;              // [VREC_WINDOW] owned
  int64_t windowStart;
  int32_t windowLength;
};

// ---- records (scn_vrec_ind.cpp) -----------------------------------------------------------------------------

// Opens `name` with status "NEW" (an existing file is emptied) or "OLD".
void qrtdioopvf(int *rc, VirtualFile **handle, const char *name, const char *status);
// Closes with the disposition "SAVE" or "DELETE"; frees the handle and sets *handle to null, also on failure (but
// not for a bad handle or disposition).
void qrtdioclvf(int *rc, VirtualFile **handle, const char *disposition);
// Attach answers VREC_ATTACHED for a sound handle; detach clears the mark.
void qrtdioatvf(int *rc, VirtualFile *handle);
void qrtdiodtvf(int *rc, VirtualFile *handle);
// Reads at most `maximum` bytes of record *record; *actual is what was read, or the length for a maximum of 0.
// For *record 0 nothing is read and the number of records comes back in it.
void qrtdiogtvr(int *rc, VirtualFile *handle, int *record, void *buffer, int maximum, int *actual);
// Writes the smaller of `size` and the record's length; *record 0 allocates a record of `size` bytes first.
void qrtdioptvr(int *rc, VirtualFile *handle, int *record, const void *buffer, int size);
// The same with zero bytes, over the whole length of the record.
void qrtdiozvr(int *rc, VirtualFile *handle, int *record, int size);
// Brings every buffered byte to the file.
void qrtdiofls(int *rc, VirtualFile *handle);
// New record: number in *record. Its data are not yet in the file.
void qrtdiodscv(int *rc, VirtualFile *handle, int size, int *record);
// Where a record stands; 0 and 0 for record 0.
void qrtdiotrkv(int *rc, VirtualFile *handle, int record, IndexPair *place);
// First broken invariant as text, or null.
const char *virtualFile_check(VirtualFile *handle);

// ---- bytes (scn_vrec_dep.cpp) -------------------------------------------------------------------------------

constexpr int VREC_TAIL_CAPACITY = 1 << 20;
constexpr int VREC_WINDOW = 1 << 15;
constexpr int VREC_JUMP_WINDOW = 1 << 12;
int qrtdiochk(const VirtualFile *handle);                                 // 0 or a code
int qrtdiowrit(VirtualFile *f, int64_t offset, const void *data, int64_t n);
int qrtdioread(VirtualFile *f, int64_t offset, void *data, int64_t n);
int qrtdiozero(VirtualFile *f, int64_t offset, int64_t n);
int qrtdiopad(VirtualFile *f, int64_t offset);                            // file ends at `offset` afterwards
int virtualFile_pushTail(VirtualFile *f);                                 // empties the append buffer
int virtualFile_openStream(VirtualFile *f, const char *name, bool fresh);
int virtualFile_closeStream(VirtualFile *f);

// ---- the directory layer (scn_record_file.cpp) --------------------------------------------------------------

struct RecordFile {
  char *name;              // owned
  VirtualFile *handle;     // owned
  char disposition[8];     // "SAVE" or "DELETE": what closing does; changed by recordFile_setDisposition()
  int32_t stampSize;       // 128
  int32_t stampRecord;     // 1
  int32_t *directory;      // [dirCount] record numbers, 0 for not yet written; owned
  int32_t dirWidth;        // 4
  int32_t dirCount;        // 200
  int32_t dirRecord;       // 2
  int32_t coreWord;        // 0: core header
  int32_t dataWord;        // 1: first record of the core's data
  int32_t scenarioWord;    // 2: scenario table
  int32_t nodeWord;        // 3: node table
  RecordFile *nextTemporary;  // the open files to be deleted are chained, for a process that ends without closing them
  int32_t process;            // that opened it: a child that ends must not delete it
};

// Opens with status "TMP" (removed at the close; null or empty name: a fresh file in /tmp), "OLD" or "NEW".
// Null for a bad status or a missing name. A failure of the record layer ends the process with code 2.
// `caller` is the name that messages show as the subroutine.
RecordFile *qrts_VRFileOpen(const char *caller, const char *name, const char *status);
// "SAVE" or "DELETE". A file to be deleted goes at the close or when the process that opened it ends by exit().
void recordFile_setDisposition(RecordFile *file, const char *disposition);
// Closes by the disposition and frees; null is ignored.
void qrts_VRFileFree(const char *caller, RecordFile *file);
// 0 for success; 1 and 2 as they are; else issues the message of the code and answers 2.
int qrts_VRCheckRt(const char *caller, const char *fileName, int rc);
// The same, and a result of 2 ends the process with code 2.
void qrts_VRCheckStop(const char *caller, const RecordFile *file, int rc);
// Number of records, read and write of one record, with the check: a failure ends the process with code 2.
int recordFile_count(const char *caller, RecordFile *file);
int recordFile_length(const char *caller, RecordFile *file, int record);
int recordFile_append(const char *caller, RecordFile *file, const void *data, int64_t size);
void recordFile_write(const char *caller, RecordFile *file, int record, const void *data, int64_t size);
int recordFile_read(const char *caller, RecordFile *file, int record, void *buffer, int64_t maximum);
// Writes the directory record and brings everything to the file.
void recordFile_save(const char *caller, RecordFile *file);
// A new empty file in /tmp; its name (malloc) or null.
char *recordFile_temporaryName();
// Copies or moves a file by name: 0, 2 when `from` cannot be opened, 1 when `to` cannot be written.
int qrts_copyFile(const char *from, const char *to);
int recordFile_move(const char *from, const char *to);
