// Work space of core routines: from the temporary chain of the current model, or from DSPACE when there is none.
//
// The names are those of the core; each has one comment in plain words in the header.
#include "frame/core_workspace.h"

#include "frame/dspace.h"
#include "frame/entry_frame.h"
#include "frame/guarded_memory.h"
#include "frame/messages.h"

namespace {

enum : int { MSG_SHORT = 32, MSG_BAD_PARAMETER = 149, MSG_REQUESTED = 180 };
constexpr int COUNT_PARAMETER = 3;
constexpr int LARGEST_REQUEST = 536870912;
constexpr int STORAGE_CODE = 11, COUNT_CODE = 31;

int64_t freeDoublewords() { return qrtaddr.arena[ARENA_HIGH] - qrtaddr.arena[ARENA_LOW]; }

// n doublewords of DSPACE from one of its ends, or null after a message. Outside of any classic call there is none.
double *takeFromDspace(int64_t n, bool high) {
  const int64_t missing = n - freeDoublewords();
  if (n < 0) return nullptr;
  if (missing > 0) {
    qrtmesg_no_i2(MSG_SHORT, int(missing), int(n));
    return nullptr;
  }
  double *&edge = qrtaddr.arena[high ? ARENA_HIGH : ARENA_LOW];
  if (high) return edge -= n;
  edge += n;
  return edge - n;
}

}  // namespace

void qrthisf(int *rtcod, void *dspace, int n, intptr_t *index) {
  *rtcod = 0;
  *index = 0;
  if (!qrt_modelInfo && (n < 0 || n > LARGEST_REQUEST)) {
    *rtcod = COUNT_CODE;
    qrtmesg_no_i4(MSG_BAD_PARAMETER, COUNT_PARAMETER, n, 0, LARGEST_REQUEST);
    return;
  }
  void *block = qrthisf2(dspace, n);
  if (qrt_modelInfo) *index = block ? intptr_t(uintptr_t(block) / 8) + 1 : 0;
  else *index = qrttoin(dspace, block, 8);
  if (!block && n > 0) *rtcod = STORAGE_CODE;
}

void *qrthisf2(void *, int n) { return qrt_modelInfo ? temporaryAllocate(qrt_modelInfo, n, 8) : takeFromDspace(n, true); }

void *qrthisf3(void *dspace, int n) { return qrthisf2(dspace, n); }
int *qrthisfi(void *dspace, int n) { return static_cast<int *>(qrthisf2(dspace, n)); }
double *qrthisfd(void *dspace, int n) { return static_cast<double *>(qrthisf2(dspace, n)); }

void qrtlomm(int *rtcod, int *n, double **address) {
  *rtcod = 0;
  const bool all = *n < 1;
  const int64_t least = all ? -int64_t(*n) : *n;
  if (qrt_modelInfo) {  // a chain has no end: all that is free is what was asked for at least
    *n = int(least);
    *address = static_cast<double *>(temporaryAllocate(qrt_modelInfo, least, 8));
    return;
  }
  const int64_t available = freeDoublewords();
  *address = nullptr;
  if (all && least <= available) *n = int(available);
  if (all && least > available) qrtmesg_no_i2(MSG_REQUESTED, int(least), int(available));
  else *address = takeFromDspace(*n, false);
  if (!*address) *rtcod = STORAGE_CODE;
}

int *qrtlommip(int n) {
  if (qrt_modelInfo) return static_cast<int *>(temporaryAllocate(qrt_modelInfo, n, 4));
  return reinterpret_cast<int *>(takeFromDspace((int64_t(n) + 1) / 2, false));
}

double *qrtlommdp(int n) {
  return qrt_modelInfo ? static_cast<double *>(temporaryAllocate(qrt_modelInfo, n, 8)) : takeFromDspace(n, false);
}

uintptr_t qrtalign(uintptr_t address, uintptr_t alignment) {
  const uintptr_t from = qrt_modelInfo ? 0 : uintptr_t(qrtaddr.arena[ARENA_BASE]);
  return from + (address - from + alignment - 1) / alignment * alignment;
}
