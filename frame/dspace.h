// DSPACE: the caller's array of doublewords in which all arrays of a classic model live.
//
//     byte      0  "TAV!"       first half of the marker
//               4  dlen         length in doublewords
//               8  16           words of this header
//              12  number of models
//              16  0, 0
//              24  handle       of the saved models, which lie outside of DSPACE; 0 none
//              28  arena        five doubleword offsets from the start of DSPACE, see below
//              48  0, 0, 0, 0   where the usable area begins
//              64  arrays from the low end | free space | work space from the high end
//        8*dlen-4  "!VAT"       second half of the marker
//
// The header's words have 32 bits whatever an address has: the arena is kept there as offsets, and the saved models as
// a handle into a table of the process. While a classic call runs, qrtaddr.arena holds the arena as addresses.
#pragma once

#include <cstdint>

#include "frame/records.h"

// The arena words, in the order of the header.
enum : int {
  ARENA_BASE,    // start of DSPACE
  ARENA_USABLE,  // start of the usable area
  ARENA_LOW,     // first free doubleword
  ARENA_HIGH,    // behind the last free doubleword
  ARENA_END      // behind DSPACE
};

struct DspaceHeader {
  char marker[4];
  int32_t dlen, words, nModels, reserved[2], handle;
  int32_t arena[ARENA_WORDS];
  int32_t zeros[4];
};
static_assert(sizeof(DspaceHeader) == 64, "the header's byte offsets are known to callers");

// Both markers stand. Reads no further than the length in the header says. False for null.
bool dspaceMarked(const void *dspace);
DspaceHeader dspaceHeader(const void *dspace);
// First broken invariant of a marked DSPACE as text, or null.
const char *dspace_check(const void *dspace);

extern int32_t qrtdspc[ARENA_WORDS];  // the header's arena words as the running call found them

// Loads the free-space window from the header of the call's DSPACE (1), or stores it there (0).
void qrtinfwp(int load);
// Position of an address as a classic caller counts: of doublewords or integers in DSPACE, from 1. 0 for an address
// outside of it or off the boundary.
int qrttoin(const void *dspace, const void *address, int size);
// 1 when an address lies between the arena words numbered `low` and `high`.
int qrtInDspace(const void *address, int low, int high);

// Lays out DSPACE anew; *rtcod 11 when it is too short for that, and nothing is touched. Short lengths and bad counts
// are told without a stop.
void qrtdscaf(int *rtcod, void *dspace, const int *dlen, const int *nmodels);
// Saves the live records as those of model `*model`, from 1, or makes that model's the live ones; *rtcod 31 for a
// number out of range. `quiet` not 0: nothing is said.
void qrtptmif(int *rtcod, void *dspace, const int *model, int quiet);
void qrtgtmif(int *rtcod, void *dspace, const int *model, int quiet);
// No present model: no sizes and no arrays. The free space stays as it is.
void forgetClassicModel();
// A model saved by qrtptmif, or by qrtpshsf in full, has arrays that begin at `from`.
bool savedModelAt(const void *dspace, const double *from);
// Control variables to their defaults, models and their arrays released. DSPACE stays laid out; it may be null, or not
// yet laid out.
void qrtinitf(int *rtcod, void *dspace);
// Saves the arena, with `full` also the model's sizes and a copy of its block records, on the current model's stack;
// takes the newest back, and with it all space taken since. *rtcod 31 when there is none. For an object model the
// stack is its temporary chain.
void qrtpshsf(int *rtcod, void *dspace, int full);
void qrtpopsf(int *rtcod, void *dspace, int full);
