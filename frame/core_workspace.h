// Work space of core routines. With a current model it comes from the model's temporary chain and ends with the call;
// with none from the free space of DSPACE, where it ends with qrtpopsf, or the call, if that ends by a fatal error.
// Sizes are in doublewords but for qrtlommip's. Too little space is told by a message that by default ends the process.
#pragma once

#include <cstdint>

// n doublewords from the high end. *index: for an object model the block's address / 8 + 1, so that it can be used as
// an index into an array based at address 0; in DSPACE the position that qrttoin computes. *rtcod 0, 11 or 31.
void qrthisf(int *rtcod, void *dspace, int n, intptr_t *index);
// The same, returning an address or null, by the names under which core routines ask.
void *qrthisf2(void *dspace, int n);
void *qrthisf3(void *dspace, int n);
int *qrthisfi(void *dspace, int n);
double *qrthisfd(void *dspace, int n);
// *n doublewords from the low end; when *n is below 1 all that is free, at least -*n, and *n becomes their number.
// *rtcod 0, or 11 with *address null.
void qrtlomm(int *rtcod, int *n, double **address);
// n integers, n doubles from the low end, or null.
int *qrtlommip(int n);
double *qrtlommdp(int n);
// The next multiple of `alignment` at or above an address, counted from address 0, or in DSPACE from its start.
uintptr_t qrtalign(uintptr_t address, uintptr_t alignment);
