/** @file qrt_c_api.h
 *  Object interface of libtavstoch: contexts, models, controls, messages, model data, files and solvers.
 *
 *  Conventions. Functions return 0 on success unless said otherwise; rows and columns count from 0; reals are
 *  double, counts and indices int. A call that fails issues a numbered message on the model's log. A message of
 *  severity S ends the process with exit(0) at its first occurrence unless its limit was raised with qrt_mset();
 *  with the limit raised, the call that met it returns 999. One thread only.
 */
#ifndef QRT_C_API_H
#define QRT_C_API_H
#include <stdint.h>
#include <stdio.h>
#include "qrt_export.h"
#ifdef __cplusplus
extern "C" {
#endif

/** The library's context: one for the process, holds the list of models. */
typedef struct QRTContext QRTContext;
/** A model: an LP with its names, controls, messages and solution. */
typedef struct QRTModel QRTModel;

/** Iteration call-back: receives the running status and a code, returns the new status. */
typedef int (*QRTItruCallBack)(QRTModel *model, int status, int code);
/** Message call-back: number, count and values of the reals, integers and strings (entries of 128 characters). */
typedef void (*QRTMsguCallBack)(QRTModel *model, int number, int nReals, const double *reals, int nInts, const int *ints,
                                int nStrings, const char *strings);

/* ---- context and models --------------------------------------------------------------------------------- */

/** @brief Creates the context. @return the context, or null when one exists already. */
QRT_API QRTContext *qrt_initializeContext(void);
/** @brief Deletes all models of the context and ends the library's use. @return 0. */
QRT_API int qrt_endContext(QRTContext *context);
/** @brief New empty model with the base model's controls; it becomes current.
 *  @param context owner, or null for a model in no list.  @param name kept as Cname, cut at 79 characters. */
QRT_API QRTModel *qrt_newModel(QRTContext *context, const char *name);
/** @brief The base model: controls set here are the defaults of models made later. Owned by the library. */
QRT_API QRTModel *qrt_baseModel(QRTContext *context);
/** @brief Frees a model and all it owns. @return 0. */
QRT_API int qrt_deleteModel(QRTModel *model);
/** @brief Makes the model's state the live one. */
QRT_API void qrt_makeThisCurrent(QRTModel *model);
/** @brief The current model, or null. */
QRT_API QRTModel *qrt_getCurrent(void);
/** @brief Number of models in the context, -1 for null. */
QRT_API int qrt_numberOfModels(QRTContext *context);
/** @brief Model number i (from 0), null when out of range. */
QRT_API QRTModel *qrt_model(QRTContext *context, int i);
/** @brief Owning context of a model, or null. */
QRT_API QRTContext *qrt_context(QRTModel *model);
/** @brief 1 if the pointer is not null. */
QRT_API int qrt_validPtr(const void *pointer);
/** @brief Entry frame of a public call: checks the handle (aborts on a bad one), makes the model current and
 *  announces the routine when level is positive or entries are traced. Pairs with the end of the call. */
QRT_API void qrt_enter(QRTModel *model, const char *routine, int level);
/** @brief Exit frame: the pair of qrt_enter(). */
QRT_API void qrt_leave(QRTModel *model);
/** @brief Entry tracing on or off; a debug level of 0 or more also traces parameters. */
QRT_API int qrt_setPrinting(QRTModel *model, int on, int reserved, int debugLevel);
/** @brief Parameter tracing: a negative level ends it. */
QRT_API int qrt_setDebug(QRTModel *model, int level);
/** @brief Releases the factorisation kept from the last solve. */
QRT_API int qrt_eraseFactor(QRTModel *model);
/** @brief The caller's own pointer kept with the model. */
QRT_API void *qrt_userData(QRTModel *model);
/** @brief Stores the caller's own pointer with the model. */
QRT_API int qrt_setUserData(QRTModel *model, void *data);

/* ---- memory --------------------------------------------------------------------------------------------- */

/** @brief Guarded block of `bytes` bytes (a negative size returns null on failure; else failure is fatal). */
QRT_API void *qrt_mallocBase(int bytes);
/** @brief Resizes a guarded block; null acts as qrt_mallocBase(). */
QRT_API void *qrt_reallocBase(void *pointer, int bytes);
/** @brief Drops one reference, frees the block at none; null is ignored. */
QRT_API void qrt_freeBase(void *pointer);
/** @brief Guarded block of count * size bytes, null for count 0. */
QRT_API void *qrt_malloc(int count, int size);
/** @brief Resizes to count * size bytes; a product of 0 frees and returns null. */
QRT_API void *qrt_realloc(void *pointer, int count, int size);
/** @brief Guarded vector of n doubles. */
QRT_API double *qrt_double(int n);
/** @brief Guarded vector of n 32-bit integers. */
QRT_API int *qrt_long(int n);
/** @brief Guarded vector of n 32-bit integers. */
QRT_API int *qrt_int(int n);
/** @brief Resizes a guarded vector of doubles. */
QRT_API double *qrt_doubleRealloc(void *pointer, int n);
/** @brief Resizes a guarded vector of 32-bit integers. */
QRT_API int *qrt_longRealloc(void *pointer, int n);
/** @brief Resizes a guarded vector of 32-bit integers. */
QRT_API int *qrt_intRealloc(void *pointer, int n);
/** @brief Gives back a block got from the library; null is ignored. */
QRT_API void qrt_free(void *pointer);
/** @brief Guarded copy of a text; null gives null. */
QRT_API char *qrt_strdup(const char *text);
/** @brief Guarded copy of a whole block; null gives null. */
QRT_API void *qrt_copyOfMemory(const void *pointer);
/** @brief Adds a reference to a block. */
QRT_API void qrt_incrementCount(void *pointer);
/** @brief Length in bytes of a sound block, -1 for a damaged one, -8 for null. */
QRT_API int qrt_validAddress(const void *pointer);
/** @brief Number of damaged guards (0 to 3), one line on stderr for each. */
QRT_API int qrt_checkAddress(void *pointer);
/** @brief Tags a block with the name of its accessor. */
QRT_API void qrt_set_accessor_type(void *pointer, const char *name, int length);
/** @brief Accessor length of a block tagged `name`, -1 for another tag. */
QRT_API int qrt_accessor_len(void *pointer, const char *name);
/** @brief 1 if the block carries no tag. */
QRT_API int qrt_untyped_accessor(void *pointer);
/** @brief Block that lives until the model's next qrt_pop(), null for count 0. */
QRT_API void *qrt_mallocTemporary(QRTModel *model, int count, int size);
/** @brief Temporary vector of doubles. */
QRT_API double *qrt_doubleTemporary(QRTModel *model, int n);
/** @brief Temporary vector of 32-bit integers. */
QRT_API int *qrt_longTemporary(QRTModel *model, int n);
/** @brief Resizes a temporary block. */
QRT_API void *qrt_reallocTemporary(QRTModel *model, void *pointer, int count, int size);
/** @brief Resizes a temporary vector of doubles. */
QRT_API double *qrt_doubleReallocTemporary(QRTModel *model, void *pointer, int n);
/** @brief Resizes a temporary vector of 32-bit integers. */
QRT_API int *qrt_longReallocTemporary(QRTModel *model, void *pointer, int n);
/** @brief Resizes a temporary vector of 32-bit integers. */
QRT_API int *qrt_intReallocTemporary(QRTModel *model, void *pointer, int n);
/** @brief Frees one temporary block. */
QRT_API void qrt_freeTemporary(QRTModel *model, void *pointer);
/** @brief Takes a block off the chain: it outlives the call. */
QRT_API void *qrt_makePermanent(QRTModel *model, void *pointer);
/** @brief Hangs an existing guarded block on the chain. */
QRT_API void *qrt_makeTemporary(QRTModel *model, void *pointer);
/** @brief Address of the i-th temporary block counted from the newest (0), or null. */
QRT_API void *qrt_region(QRTModel *model, int i);
/** @brief Frees the n newest temporary blocks. */
QRT_API void qrt_freeSome(QRTModel *model, int n);
/** @brief Frees temporary blocks until `pointer` is the newest. */
QRT_API void qrt_freeUntil(QRTModel *model, void *pointer);
/** @brief Sets a mark on the chain (none when it is empty). */
QRT_API void qrt_push(QRTModel *model);
/** @brief Frees back to the newest mark, or everything without one. */
QRT_API void qrt_pop(QRTModel *model);
/** @brief Checks the guards of all temporary blocks. */
QRT_API int qrt_checkChain(QRTModel *model);

/* ---- messages ------------------------------------------------------------------------------------------- */

/** @brief Limits of the message `number`, or of all up to `lastnum`: maxalw occurrences before the process stops
 *  (0 keeps, 256 and over unlimited), maxprt prints (0 keeps, negative none, 256 and over always), usrexit and
 *  prefix (0 keep, 1 clear, 2 set). @return 0, 1 for an undefined number, 2 for an unmodifiable message. */
QRT_API int qrt_mset(QRTModel *model, int number, int maxalw, int maxprt, int usrexit, int lastnum, int prefix);
/** @brief Prints a message always. Numbers 1 to 350, 3000 to 3150, 6000 to 6050. @return 1 for others. */
QRT_API int qrt_messagePrintOn(QRTModel *model, int number);
/** @brief Never prints a message. */
QRT_API int qrt_messagePrintOff(QRTModel *model, int number);
/** @brief Prints a range of messages always. */
QRT_API int qrt_messagesPrintOn(QRTModel *model, int first, int last);
/** @brief Never prints a range of messages. */
QRT_API int qrt_messagesPrintOff(QRTModel *model, int first, int last);
/** @brief Calls the user exit for a message. */
QRT_API int qrt_messageUserExitOn(QRTModel *model, int number);
/** @brief No longer calls the user exit for a message. */
QRT_API int qrt_messageUserExitOff(QRTModel *model, int number);
/** @brief Issues user message n (1 to 10, numbers 501 to 510) with the caller's text. */
QRT_API int qrt_userMessage(QRTModel *model, int n, const char *text);
/** @brief Call-back for messages whose user exit is on. */
QRT_API int qrt_registerMsguCallBack(QRTModel *model, QRTMsguCallBack function);
/** @brief Removes the message call-back. */
QRT_API int qrt_clearMsguCallBack(QRTModel *model);
/** @brief Call-back within the simplex iterations, every Iiterufreq of them. */
QRT_API int qrt_registerItruCallBack(QRTModel *model, QRTItruCallBack function);
/** @brief Removes the iteration call-back. */
QRT_API int qrt_clearItruCallBack(QRTModel *model);
/** @brief Stream of the model's log. */
QRT_API FILE *qrt_getLogfileFilePointer(QRTModel *model);
/** @brief Name of the model's log: "stdout", "user_fp" or a path; owned by the model. */
QRT_API const char *qrt_getLogfileName(QRTModel *model);
/** @brief Sends the log to the caller's stream, which stays the caller's. */
QRT_API int qrt_setLogfileFilePointer(QRTModel *model, FILE *stream);
/** @brief Appends the log to a file; null, "-" and "stdout" mean stdout. @return 1 if it cannot be opened. */
QRT_API int qrt_setLogfileName(QRTModel *model, const char *name);
/** @brief Messages numbered at or above `number` also go to stderr. @return the previous value. */
QRT_API int qrt_stderrNumber(QRTModel *model, int number);

/* ---- controls ------------------------------------------------------------------------------------------- */

/** @brief Integer control by index (position less one), 0 to 69. */
QRT_API int qrt_getI(QRTModel *model, int index);
/** @brief Sets an integer control by index. @return 0, 1 refused, a negative position for a read-only one. */
QRT_API int qrt_setI(QRTModel *model, int value, int index);
/** @brief Real control by index, 0 to 46. */
QRT_API double qrt_getR(QRTModel *model, int index);
/** @brief Sets a real control by index. */
QRT_API int qrt_setR(QRTModel *model, double value, int index);
/** @brief Character control by index, 0 to 5; owned by the model. */
QRT_API const char *qrt_getC(QRTModel *model, int index);
/** @brief Sets a character control by index; cut at 79 characters. */
QRT_API int qrt_setC(QRTModel *model, const char *value, int index);
#include "qrt_controls.h"

/* ---- model data ----------------------------------------------------------------------------------------- */

/* ---- files ---------------------------------------------------------------------------------------------- */

/** @brief Opens a numbered unit of the core's file layer. @param unit 0 to 109.  @param file name, or null or empty
 *  for the unit's own name (fort.unit).  @param status "OLD", "NEW" or "UNKNOWN".  @param access "SEQUENTIAL" or
 *  "DIRECT".  @param form "FORMATTED" or "UNFORMATTED".  @param blank "NULL" or null.  @param recl bytes of a record
 *  for direct access.  @param rc out: 0 opened or already open, 1 no file could be had. */
QRT_API void qrt_fopn(int unit, const char *file, const char *status, const char *access, const char *form,
                      const char *blank, int recl, int *rc);

/* ---- solvers -------------------------------------------------------------------------------------------- */

#ifdef __cplusplus
}
#endif
#endif
