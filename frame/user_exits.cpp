// The message exit of the classic interface: an application gives a routine by name, or a pointer to one.
#include "include/qrt_classic.h"

extern "C" {

QRTMsguExit QRTMSGC = nullptr;

// Both names can be replaced. A C program gives the upper one; a Fortran subroutine QRTMSGU gets the lower one.
__attribute__((weak)) void qrtmsgu_(void *, const int *, const int *, const int *, const double *, const int *,
                                    const int *, const int *, const char *, size_t) {}

__attribute__((weak)) void QRTMSGU(void *dspace, const int *reserved, const int *number, const int *nReals,
                                   const double *reals, const int *nInts, const int *ints, const int *nTexts,
                                   const char *texts, size_t width) {
  qrtmsgu_(dspace, reserved, number, nReals, reals, nInts, ints, nTexts, texts, width);
}

}
