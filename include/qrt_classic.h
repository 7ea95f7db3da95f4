/** @file qrt_classic.h
 *  Classic interface of libtavstoch: Fortran-style entries, every argument by reference, texts NUL-terminated.
 *  Each entry has two symbols, upper case and lower case with an underscore.
 */
#ifndef QRT_CLASSIC_H
#define QRT_CLASSIC_H
#include "qrt_export.h"
#ifdef __cplusplus
extern "C" {
#endif

/** @brief Opens a unit. @param unit number, 0 to 109.  @param file name; empty means the unit's own name.
 *  @param status "OLD", "NEW" (an existing file goes first) or "UNKNOWN".  @param access "SEQUENTIAL" or "DIRECT".
 *  @param form "FORMATTED" or "UNFORMATTED".  @param blank "NULL" or empty.  @param recl bytes of a record for
 *  direct access.  @param rc out: 0 opened or already open, 1 no file could be had. */
QRT_API void QRTFOPN(const int *unit, const char *file, const char *status, const char *access, const char *form,
                     const char *blank, const int *recl, int *rc);
/** @brief The same as QRTFOPN(). */
QRT_API void qrtfopn_(const int *unit, const char *file, const char *status, const char *access, const char *form,
                      const char *blank, const int *recl, int *rc);
/** @brief Closes a unit; a status that begins with "DELETE" removes its file. @param unit number.
 *  @param status null, empty or "DELETE".  @param rc out: 0, also when the unit was not open. */
QRT_API void QRTFCLS(const int *unit, const char *status, int *rc);
/** @brief The same as QRTFCLS(). */
QRT_API void qrtfcls_(const int *unit, const char *status, int *rc);

#ifdef __cplusplus
}
#endif
#endif
