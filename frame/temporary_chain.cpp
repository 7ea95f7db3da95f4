// Temporary chains: blocks that live for the length of a core call, newest first, with marks between calls.
//
//     tempChainHead (newest) -> older -> ... -> older -> tempChainTail (oldest)
//
// qrt_down sets a mark and qrt_up frees back to it, so a core routine need not free its work memory; after a fatal
// jump qrt_disaster frees the whole chain.
#include <cstdlib>
#include <cstring>

#include "frame/entry_frame.h"
#include "frame/guarded_memory.h"
#include "frame/messages.h"

namespace {

constexpr int REGION_OTHER = 24;  // the region name under which a damaged temporary block is reported

ChainEntry *appendEntry(QRTModel *model, void *address, int32_t size) {
  ChainEntry *entry = static_cast<ChainEntry *>(guardedAllocate(1, sizeof(ChainEntry)));
  entry->newer = nullptr;
  entry->older = model->tempChainHead;
  entry->address = address;
  entry->size = size;
  if (entry->older) entry->older->newer = entry;
  else model->tempChainTail = entry;
  model->tempChainHead = entry;
  return entry;
}

void unlinkEntry(QRTModel *model, ChainEntry *entry) {
  if (entry->newer) entry->newer->older = entry->older;
  else model->tempChainHead = entry->older;
  if (entry->older) entry->older->newer = entry->newer;
  else model->tempChainTail = entry->newer;
}

void freeEntry(QRTModel *model, ChainEntry *entry) {
  unlinkEntry(model, entry);
  qrt_freeBase(entry->address);
  qrt_freeBase(entry);
}

}  // namespace

void *temporaryAllocate(QRTModel *model, int64_t count, int64_t size) {
  if (count == 0) return nullptr;
  void *block = guardedAllocate(count, size);
  appendEntry(model, block, qrt_validAddress(block));
  return block;
}

void *temporaryAllocateZero(QRTModel *model, int64_t count, int64_t size) {
  void *block = guardedAllocateZero(count, size);
  if (block) appendEntry(model, block, qrt_validAddress(block));
  return block;
}

void *qrt_mallocTemporary(QRTModel *model, int count, int size) { return temporaryAllocate(model, count, size); }

double *qrt_doubleTemporary(QRTModel *model, int n) { return static_cast<double *>(temporaryAllocate(model, n, 8)); }
int *qrt_longTemporary(QRTModel *model, int n) { return static_cast<int *>(temporaryAllocate(model, n, 4)); }

// An address that is not in the chain is a fault of the library itself.
ChainEntry *qrt_findEntry(QRTModel *model, const void *pointer) {
  for (ChainEntry *entry = model->tempChainHead; entry; entry = entry->older)
    if (entry->address == pointer) return entry;
  fflush(nullptr);
  abort();
}

void *qrt_reallocTemporary(QRTModel *model, void *pointer, int count, int size) {
  if (!pointer) return temporaryAllocate(model, count, size);
  ChainEntry *entry = qrt_findEntry(model, pointer);
  const int bytes = checkedBytes(count, size);
  if (bytes != entry->size) {
    entry->address = qrt_reallocBase(pointer, bytes);
    entry->size = bytes;
  }
  return entry->address;
}

double *qrt_doubleReallocTemporary(QRTModel *model, void *pointer, int n) {
  return static_cast<double *>(qrt_reallocTemporary(model, pointer, n, 8));
}
int *qrt_longReallocTemporary(QRTModel *model, void *pointer, int n) {
  return static_cast<int *>(qrt_reallocTemporary(model, pointer, n, 4));
}
int *qrt_intReallocTemporary(QRTModel *model, void *pointer, int n) {
  return static_cast<int *>(qrt_reallocTemporary(model, pointer, n, 4));
}

void qrt_freeTemporary(QRTModel *model, void *pointer) {
  if (pointer) freeEntry(model, qrt_findEntry(model, pointer));
}

void *qrt_makePermanent(QRTModel *model, void *pointer) {
  if (!pointer) return nullptr;
  ChainEntry *entry = qrt_findEntry(model, pointer);
  unlinkEntry(model, entry);
  qrt_freeBase(entry);
  return pointer;
}

void *qrt_makeTemporary(QRTModel *model, void *pointer) {
  if (pointer) appendEntry(model, pointer, qrt_validAddress(pointer));
  return pointer;
}

void *qrt_region(QRTModel *model, int i) {
  ChainEntry *entry = model->tempChainHead;
  while (entry && i-- > 0) entry = entry->older;
  return entry ? entry->address : nullptr;
}

void qrt_freeSome(QRTModel *model, int n) {
  while (n-- > 0 && model->tempChainHead) freeEntry(model, model->tempChainHead);
}

void qrt_freeUntil(QRTModel *model, void *pointer) {
  while (model->tempChainHead && model->tempChainHead->address != pointer) freeEntry(model, model->tempChainHead);
}

void qrt_freeUntilChain(QRTModel *model, ChainEntry *entry) {
  while (model->tempChainHead && model->tempChainHead != entry) freeEntry(model, model->tempChainHead);
}

void qrt_push(QRTModel *model) {
  if (model->tempChainHead) appendEntry(model, nullptr, -1);
}

void qrt_pop(QRTModel *model) {
  while (model->tempChainHead) {
    ChainEntry *entry = model->tempChainHead;
    const bool mark = entry->address == nullptr && entry->size == -1;
    freeEntry(model, entry);
    if (mark) return;
  }
}

int qrt_checkChain(QRTModel *model) {
  int faults = 0;
  for (ChainEntry *entry = model->tempChainHead; entry; entry = entry->older) faults += qrt_checkAddress(entry->address);
  if (faults) qrt_errorMessage(0, REGION_OTHER);
  return faults;
}

const char *temporaryChain_check(const QRTModel *model) {
  if ((model->tempChainHead == nullptr) != (model->tempChainTail == nullptr)) return "head and tail disagree on emptiness";
  const ChainEntry *newer = nullptr;
  for (const ChainEntry *entry = model->tempChainHead; entry; newer = entry, entry = entry->older) {
    if (entry->newer != newer) return "an entry's newer link does not lead back";
    if (!entry->older && entry != model->tempChainTail) return "the tail is not the oldest entry";
    if (entry->address && qrt_validAddress(entry->address) < 0) return "a temporary block's guards are damaged";
    if (!entry->address && entry->size != -1) return "an empty entry is no mark";
  }
  return nullptr;
}
