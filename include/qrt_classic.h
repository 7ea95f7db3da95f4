/** @file qrt_classic.h
 *  Classic interface of libtavstoch, for C and Fortran: every argument by reference. Each entry has two symbols, upper case
 *  and lower case with an underscore; a Fortran program calls `QRTDSCA(rtcod, dspace, dlen, nmodels)` and gets the latter.
 *
 *  All arrays of a classic model lie in DSPACE, an array of doublewords that the caller supplies and that qrtdsca_() lays
 *  out. Control variables are fetched and set as whole lists, by position.
 *
 *  *rtcod comes back 0, or from a warning up with the code of the call's worst message: its severity (1 warning, 2 error,
 *  3 severe) times 100 plus the code in the message table. Below that it has the routine's own code, which its
 *  description names. A severe message ends the process at its first occurrence, as in the object interface, until its
 *  limit has been raised with qrtmset_(); then it ends the call, and space that the call has taken is free again.
 *
 *  Both interfaces can be used side by side, object models and classic ones do not see each other. Messages of classic
 *  calls have limits of their own, and go to the unit in the control Imsgunit, by default the standard output.
 */
#ifndef QRT_CLASSIC_H
#define QRT_CLASSIC_H
#include <stddef.h>
#include "qrt_export.h"
#ifdef __cplusplus
extern "C" {
#endif

struct QRTModel;  /* of qrt_c_api.h */

/** @name Work area
 *  @{ */

/** @brief Lays out DSPACE: 64 bytes of header, and markers "TAV!" in its first and "!VAT" in its last four bytes.
 *  An area that is laid out already is laid out anew, with *rtcod 120.
 *  @param rtcod out: 0; 11 for a length below 8 or negative, nothing is touched then.
 *  @param dspace array of *dlen doubles, the caller's as long as classic calls name it; call qrtinit_() before it goes.
 *  @param dlen its length in doublewords. Below 1000 a shortage is told, but the area laid out.
 *  @param nmodels models that qrtptmi_() can save, 1 to 999998; another count is told and taken as 1. */
QRT_API void qrtdsca_(int *rtcod, void *dspace, const int *dlen, const int *nmodels);
/** @brief The same as qrtdsca_(). */
QRT_API void QRTDSCA(int *rtcod, void *dspace, const int *dlen, const int *nmodels);

/** @brief Sets all control variables to their defaults and releases the models, in DSPACE and those saved.
 *  @param rtcod out: 0.  @param dspace a work area, laid out or not; it stays laid out. */
QRT_API void qrtinit_(int *rtcod, void *dspace);
/** @brief The same as qrtinit_(). */
QRT_API void QRTINIT(int *rtcod, void *dspace);

/** @brief Saves the present model, its control variables and where its arrays are, as model *model. A number other than
 *  that of the present model is warned of (*rtcod 230), and the present number stays.
 *  @param rtcod out: 0; a number that was not declared is severe.  @param dspace the work area.
 *  @param model 1 to the number of models. */
QRT_API void qrtptmi_(int *rtcod, void *dspace, const int *model);
/** @brief The same as qrtptmi_(). */
QRT_API void QRTPTMI(int *rtcod, void *dspace, const int *model);

/** @brief Makes model *model the present one, as it was saved last; a model never saved is as DSPACE was laid out. What was
 *  changed in the present model since it was saved is lost.
 *  @param rtcod out: 0; a number that was not declared is severe.  @param dspace the work area.
 *  @param model 1 to the number of models. */
QRT_API void qrtgtmi_(int *rtcod, void *dspace, const int *model);
/** @brief The same as qrtgtmi_(). */
QRT_API void QRTGTMI(int *rtcod, void *dspace, const int *model);

/** @brief Takes work space from the high end of DSPACE.
 *  @param rtcod out: 0; too little space or a bad count is severe.  @param dspace the work area.
 *  @param n doublewords, 0 to 536870912.  @param index out: position of the first in dspace, from 1; in C
 *  `(double *)dspace + *index - 1`. 0 when there is none. It is the caller's until qrtpops_(). */
QRT_API void qrthis_(int *rtcod, void *dspace, const int *n, int *index);
/** @brief The same as qrthis_(). */
QRT_API void QRTHIS(int *rtcod, void *dspace, const int *n, int *index);

/** @brief Saves what of DSPACE is free, on a stack of the present model; qrtpops_() frees what was taken since.
 *  @param rtcod out: 0.  @param dspace the work area.
 *  @param full not 0: the sizes of the model and the records of its element blocks are saved as well. */
QRT_API void qrtpshs_(int *rtcod, void *dspace, const int *full);
/** @brief The same as qrtpshs_(). */
QRT_API void QRTPSHS(int *rtcod, void *dspace, const int *full);

/** @brief Takes back the newest state of qrtpshs_().
 *  @param rtcod out: 0, or 231 when none is saved.  @param dspace the work area.
 *  @param full not 0: sizes and block records come back too, if they were saved. */
QRT_API void qrtpops_(int *rtcod, void *dspace, const int *full);
/** @brief The same as qrtpops_(). */
QRT_API void QRTPOPS(int *rtcod, void *dspace, const int *full);
/** @} */

/** @name Models
 *  A model's arrays lie in DSPACE from its low end on; qrtnget_() has their positions. Rows, columns, elements and starts
 *  count from 1. Row duals have the sign of the solver's core, which is the other than in the object interface.
 *  @{ */

/** @brief Reads a model from an MPS file into DSPACE, in place of the present model. The text controls name model,
 *  objective and sets, as for qrt_importModel(). Capacities are those in the controls Imaxrows and Imaxcols, or just the
 *  size. Which columns are integer is told to the integer unit only.
 *  @param rtcod out: 0; 120 when a model was replaced; the worst code of what was told of single cards, which does not stop
 *  the reader. A file that ends early, a set asked for and not found, and too little space are severe.  @param dspace the work area.
 *  @param unit 5 for the standard input, else that of a file opened with qrtfopn_(), which stays open.
 *  @param option 1 keeps the elements as triples and merges columns that come twice, 2 by column; plus 128 for free format.
 *  @param intunit unit to which the integer information is written, 0 for none. */
QRT_API void qrtmps_(int *rtcod, void *dspace, const int *unit, const int *option, const int *intunit);
/** @brief The same as qrtmps_(). */
QRT_API void QRTMPS(int *rtcod, void *dspace, const int *unit, const int *option, const int *intunit);

/** @brief Solves the present model by the simplex method; values, duals and status words stay in DSPACE, and what was proved
 *  of an infeasible or unbounded model in its auxiliary vector, if there is room.
 *  @param rtcod out: Iprobstat, 0 optimal; 100 when a warning says that the model is infeasible or unbounded; 11 out of
 *  memory; 32 numerical failure.  @param dspace the work area.  @param alg 0 the library chooses, 1 primal, 2 dual.
 *  @param init 0 goes on as the last run, 1 starts from the present basis, 2 likewise with random partial pricing at first,
 *  3 from the present values. */
QRT_API void qrtsslv_(int *rtcod, void *dspace, const int *alg, const int *init);
/** @brief The same as qrtsslv_(). */
QRT_API void QRTSSLV(int *rtcod, void *dspace, const int *alg, const int *init);

/** @brief Iteration exit; see QRTITRU(). */
typedef void (*QRTItruExit)(int *status, int code);
/** @brief The iteration exit of classic solves, or null: QRTITRU() is called then. The caller sets it. */
extern QRT_API QRTItruExit QRTITRC;

/** @brief Lays out DSPACE for one model, and copies an object model with its control variables into it. Integer marks and
 *  sets are not copied.  @param model a QRTModel, unchanged.  @param dspace array of dlen doubles.
 *  @param dlen at least 10000.  @return 0; 999 for a dlen below; a code of 300 and up after a severe message, as of too
 *  little space. */
QRT_API int qrt_loadDspace(struct QRTModel *model, void *dspace, int dlen);
/** @brief The reverse: the present classic model and its control variables replace those of an object model, whose integer
 *  marks and sets stay while the number of columns does.  @param model a QRTModel.  @param dspace the work area, unchanged.
 *  @param dlen its length.  @return 0; 999 for a dlen below 10000 or indices in DSPACE that are none; 321 when that is no
 *  work area of this length. */
QRT_API int qrt_unloadDspace(struct QRTModel *model, void *dspace, int dlen);
/** @} */

/** @name Control variables
 *  Position p of a list is the position in the table of control variables (qrt_controls.h), from 1; a list of len entries
 *  moves the first len. These entries need no DSPACE but qrtnget_(). A set must come after a get of the same list, and
 *  processes the entries that differ from the present values: out of range is a warning (*rtcod 130) and leaves the value,
 *  as is a read-only variable. A negative len is severe.
 *  @{ */

/** @brief Fetches the integers.  @param rtcod out: 0.  @param dspace any work area, or null.
 *  @param array out: [len] values.  @param len entries; 71 are all. */
QRT_API void qrtiget_(int *rtcod, void *dspace, int *array, const int *len);
/** @brief The same as qrtiget_(). */
QRT_API void QRTIGET(int *rtcod, void *dspace, int *array, const int *len);

/** @brief Sets the integers.  @param rtcod out: 0, or 130 after a refusal, also when the list was not fetched before.
 *  @param dspace any work area, or null.  @param array [len] values.  @param len entries. */
QRT_API void qrtiset_(int *rtcod, void *dspace, const int *array, const int *len);
/** @brief The same as qrtiset_(). */
QRT_API void QRTISET(int *rtcod, void *dspace, const int *array, const int *len);

/** @brief Fetches the reals. Position 4 shows the barrier's first mu.  @param rtcod out: 0.
 *  @param dspace any work area, or null.  @param array out: [len] values.  @param len entries; 45 are all. */
QRT_API void qrtrget_(int *rtcod, void *dspace, double *array, const int *len);
/** @brief The same as qrtrget_(). */
QRT_API void QRTRGET(int *rtcod, void *dspace, double *array, const int *len);

/** @brief Sets the reals. A value at position 4 that differs from what was fetched becomes the constant of the objective.
 *  @param rtcod out: 0, or 130 after a refusal.  @param dspace any work area, or null.
 *  @param array [len] values.  @param len entries. */
QRT_API void qrtrset_(int *rtcod, void *dspace, const double *array, const int *len);
/** @brief The same as qrtrset_(). */
QRT_API void QRTRSET(int *rtcod, void *dspace, const double *array, const int *len);

/** @brief Fetches where the arrays of the present model are, as positions in dspace from 1, in units of the array's own type:
 *  `(double *)dspace + p - 1`, or `(int *)dspace + p - 1` for the status and the indices; 0 for an array that is not there.
 *  1 row lower bounds, 2 activities, 3 upper bounds, 4 duals, 5 status (int); 6 to 10 the same of the columns; 11 objective;
 *  12 row names, 13 column names, padded with blanks; 14 row scales, 15 column scales; 16 presolve data; 23 start of the
 *  usable area; 24 last free doubleword; of the last element block 25 row indices (int), 26 column data (int), 27 elements;
 *  29 rows and 30 columns of the auxiliary vector.
 *  @param rtcod out: 0.  @param dspace the work area.  @param array out: [len] positions.  @param len entries; 69 are all. */
QRT_API void qrtnget_(int *rtcod, void *dspace, int *array, const int *len);
/** @brief The same as qrtnget_(). */
QRT_API void QRTNGET(int *rtcod, void *dspace, int *array, const int *len);

/** @brief Fetches the texts: names of model, objective, RHS, range, bound and basis, then eleven further names.
 *  @param rtcod out: 0.  @param dspace any work area, or null.
 *  @param array out: [len] texts of 80 characters, padded with blanks.  @param len entries; 17 are all. */
QRT_API void qrtcget_(int *rtcod, void *dspace, char *array, const int *len);
/** @brief The same as qrtcget_(). */
QRT_API void QRTCGET(int *rtcod, void *dspace, char *array, const int *len);

/** @brief Sets the texts.  @param rtcod out: 0, or 130 when the list was not fetched before.
 *  @param dspace any work area, or null.  @param array [len] texts of 80 characters.  @param len entries. */
QRT_API void qrtcset_(int *rtcod, void *dspace, const char *array, const int *len);
/** @brief The same as qrtcset_(). */
QRT_API void QRTCSET(int *rtcod, void *dspace, const char *array, const int *len);
/** @} */

/** @name Messages
 *  @{ */

/** @brief Changes the limits of the message with a number, and of all modifiable ones up to *lastnum.
 *  @param rtcod out: 0, or 130 for a number without a message or one that may not be changed.
 *  @param dspace any work area, or null.  @param mesgnum number as it is shown.
 *  @param maxalw 0 keeps; 1 to 255 occurrences until the process stops; 256 and up: any number.
 *  @param maxprt 0 keeps; negative never prints; 1 to 255 prints so often; 256 and up: always.
 *  @param trace recorded only: 0 keeps, 1 off, 2 on.  @param usrexit the same for the call of the message exit.
 *  @param lastnum 0, or the last number of a range.  @param prefix as trace, for the number before the text. */
QRT_API void qrtmset_(int *rtcod, void *dspace, const int *mesgnum, const int *maxalw, const int *maxprt, const int *trace,
                      const int *usrexit, const int *lastnum, const int *prefix);
/** @brief The same as qrtmset_(). */
QRT_API void QRTMSET(int *rtcod, void *dspace, const int *mesgnum, const int *maxalw, const int *maxprt, const int *trace,
                     const int *usrexit, const int *lastnum, const int *prefix);

/** @brief Message exit of classic calls, for messages whose user exit is on. It may call the library as if from outside.
 *  dspace: work area of the call; reserved: 0; number: the message's; nReals, nInts, nTexts: how many placeholders of each
 *  kind its text has; reals, ints: arguments, entry k is the argument numbered k + 1; texts: entries of `width` (128)
 *  characters, the arguments and from entry *nTexts on up to four pieces of the whole line. width is by value and last, as
 *  Fortran passes the length of a character array. It must not delete the object model that was current before the call. */
typedef void (*QRTMsguExit)(void *dspace, const int *reserved, const int *number, const int *nReals, const double *reals,
                            const int *nInts, const int *ints, const int *nTexts, const char *texts, size_t width);
/** @brief The message exit in force, or null: QRTMSGU() is called then. The caller sets it. */
extern QRT_API QRTMsguExit QRTMSGC;
/** @brief Message exit that an application may replace by one of the same name; calls qrtmsgu_(). See QRTMsguExit. */
QRT_USER_EXIT void QRTMSGU(void *dspace, const int *reserved, const int *number, const int *nReals, const double *reals,
                           const int *nInts, const int *ints, const int *nTexts, const char *texts, size_t width);
/** @brief Message exit that a Fortran subroutine QRTMSGU replaces; does nothing. See QRTMsguExit. */
QRT_USER_EXIT void qrtmsgu_(void *dspace, const int *reserved, const int *number, const int *nReals, const double *reals,
                            const int *nInts, const int *ints, const int *nTexts, const char *texts, size_t width);
/** @} */

/** @name Files
 *  These have no frame: they need no DSPACE and issue no message. Texts are NUL-terminated.
 *  @{ */
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
/** @} */

#ifdef __cplusplus
}
#endif
#endif
