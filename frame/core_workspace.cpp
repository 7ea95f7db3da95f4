// Work space of core routines: taken from the temporary chain of the current model.
//
// The names are those of the core; each has one comment in plain words. A routine without a current model has no
// work space to take from and gets null.
#include "frame/core_workspace.h"

#include "frame/entry_frame.h"
#include "frame/guarded_memory.h"

// n doublewords for a caller that indexes an array based at address 0: *index becomes address / 8 + 1.
void qrthisf(int *rtcod, void *dspace, int n, intptr_t *index) {
  void *block = qrthisf2(dspace, n);
  *rtcod = block ? 0 : 11;
  *index = block ? intptr_t(uintptr_t(block) / 8) + 1 : 0;
}

// n doublewords.
void *qrthisf2(void *, int n) { return qrt_modelInfo ? temporaryAllocate(qrt_modelInfo, n, 8) : nullptr; }

// n doublewords, by the other names under which core routines ask.
void *qrthisf3(void *dspace, int n) { return qrthisf2(dspace, n); }
int *qrthisfi(void *dspace, int n) { return static_cast<int *>(qrthisf2(dspace, n)); }
double *qrthisfd(void *dspace, int n) { return static_cast<double *>(qrthisf2(dspace, n)); }

// n integers, n doubles, from the other end of the space: one chain serves both ends.
int *qrtlommip(int n) { return qrt_modelInfo ? static_cast<int *>(temporaryAllocate(qrt_modelInfo, n, 4)) : nullptr; }
double *qrtlommdp(int n) {
  return qrt_modelInfo ? static_cast<double *>(temporaryAllocate(qrt_modelInfo, n, 8)) : nullptr;
}

// The next multiple of `alignment` at or above an address.
uintptr_t qrtalign(uintptr_t address, uintptr_t alignment) {
  return (address + alignment - 1) / alignment * alignment;
}
