// Guarded blocks and temporary chains: all memory of the library comes from here.
//
// A guarded block carries a tag, its length, a reference count and an accessor type around the user data; a
// request that fails does not return but jumps to the entry frame (a negative size asks for null instead).
// A temporary block hangs on the model's chain and is freed by qrt_pop, so that a jump leaks nothing.
// The public ones of these functions are declared in include/qrt_c_api.h.
#pragma once

#include "frame/model_record.h"

// Bytes of a product, or a failed allocation when it does not fit a block: never a wrapped int.
int checkedBytes(int64_t count, int64_t size);
// qrt_malloc with a 64-bit count; the block is not cleared.
void *guardedAllocate(int64_t count, int64_t size);
// The same, cleared to zero bytes; pages of a large block that stay zero may never be touched.
void *guardedAllocateZero(int64_t count, int64_t size);
// Tells the system that all of a stretch of memory is about to be written, so that its pages come by one call and not
// by a fault each, which costs twice as much. A hint: contents stay, and nothing depends on it.
void expectWrites(void *memory, int64_t bytes);
// Temporary block on the current model's chain (qrt_modelInfo must not be null); 64-bit count; null for count 0.
void *temporaryAllocate(QRTModel *model, int64_t count, int64_t size);
void *temporaryAllocateZero(QRTModel *model, int64_t count, int64_t size);

// Guarded vectors of n elements, and the end of any guarded block, for callers inside the library.
void *qrt__double(int n);
void *qrt__long(int n);
void *qrt__int(int n);
void qrt__free(void *pointer);
// Frees the temporary blocks that are newer than `entry`.
void qrt_freeUntilChain(QRTModel *model, ChainEntry *entry);
// The chain's entry of a temporary block; an address that is on no chain ends the process.
ChainEntry *qrt_findEntry(QRTModel *model, const void *pointer);
// Issues "malloc failed on a request for @I01 bytes" and leaves by the fatal return.
[[noreturn]] void qrt_badMalloc(int64_t bytes);
extern int qrt_badMallocFlag;
// First broken invariant of the chain as text, or null.
const char *temporaryChain_check(const QRTModel *model);
