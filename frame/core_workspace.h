// Work space of core routines: blocks that end with the call. See core_workspace.cpp.
#pragma once

#include <cstdint>

void qrthisf(int *rtcod, void *dspace, int n, intptr_t *index);
void *qrthisf2(void *dspace, int n);
void *qrthisf3(void *dspace, int n);
int *qrthisfi(void *dspace, int n);
double *qrthisfd(void *dspace, int n);
int *qrtlommip(int n);
double *qrtlommdp(int n);
uintptr_t qrtalign(uintptr_t address, uintptr_t alignment);
