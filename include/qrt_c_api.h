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

/** A row or column of the matrix: count numbers and values. Given back with qrt_freeVector(). */
typedef struct QRTVector {
  int count;        /**< entries */
  int *indices;     /**< [count] column numbers of a row, row numbers of a column, ascending */
  double *elements; /**< [count] values, unscaled */
} QRTVector;

/** A copy of the matrix by rows or by columns; given back with qrt_deleteMatrixCopy(). */
typedef struct QRTMatrixCopy {
  int *indices;     /**< column numbers (by rows) or row numbers (by columns), ascending in each vector */
  int *starts;      /**< [vectors + 1] where each vector begins, from 0 */
  double *elements; /**< values as stored: equal positions of overlapping blocks summed, zeros left out */
} QRTMatrixCopy;

/** @brief Sets sizes, bounds and costs of an empty model; one that is not empty is cleared first. A null vector
 *  means its default: rows -1e31 to 1e31, columns 0 to 1e31, costs 0. Crossed bounds are severe.
 *  @param model the model.  @param numberRows 0 to 16777215.  @param rowLower [numberRows].  @param rowUpper [numberRows].
 *  @param numberColumns 0 or more.  @param objective [numberColumns] costs.  @param columnLower [numberColumns].
 *  @param columnUpper [numberColumns].  @return 0. */
QRT_API int qrt_loadRimModel(QRTModel *model, int numberRows, const double *rowLower, const double *rowUpper,
                             int numberColumns, const double *objective, const double *columnLower,
                             const double *columnUpper);
/** @brief Changes the size; -1 keeps a number. New rows are free and basic, new columns 0 to 1e31. A smaller size
 *  cuts the matrix. Capacities grow with room to spare; direct pointers become invalid. @return 0. */
QRT_API int qrt_resizeModel(QRTModel *model, int numberRows, int numberColumns, int exact);
/** @brief The same with wanted capacities; with exact 1 they are taken as they are (when they hold the size). */
QRT_API int qrt_resizeModelExact(QRTModel *model, int numberRows, int numberColumns, int maxRows, int maxColumns,
                                 int exact);
/** @brief Empties the target and makes it a full copy of the source, controls included; log, call-backs and message
 *  limits stay the target's own. @return 0. */
QRT_API int qrt_copyModel(QRTModel *target, QRTModel *source);
/** @brief Checks the guards of all blocks of the model. @return number of faults, each named on the log. */
QRT_API int qrt_validateModel(QRTModel *model);

/** @brief Adds n triples to the matrix; equal positions add up. @return number of the new block, -1 on error. */
QRT_API int qrt_addElementBlock(QRTModel *model, int n, const int *rows, const int *columns, const double *elements);
/** @brief Triples whose row and column numbers count from the offsets. */
QRT_API int qrt_addElementBlockWithOffsets(QRTModel *model, int n, const int *rows, const int *columns,
                                           const double *elements, int rowOffset, int columnOffset);
/** @brief Adds columns: column c holds rows[starts[c]] up to rows[starts[c + 1] - 1]. @return number of the new
 *  block, -1 on error. */
QRT_API int qrt_addColumnElementBlock(QRTModel *model, int numberColumns, const int *rows, const int *starts,
                                      const double *elements);
/** @brief Columns whose row and column numbers count from the offsets. */
QRT_API int qrt_addColumnElementBlockWithOffsets(QRTModel *model, int numberColumns, const int *rows,
                                                 const int *starts, const double *elements, int rowOffset,
                                                 int columnOffset);
/** @brief An empty column block with room for numberElements elements. @return its number, -1 on error. */
QRT_API int qrt_addSpaceForColumnElementBlock(QRTModel *model, int numberColumns, int columnOffset,
                                              int numberElements);
/** @brief n elements down a diagonal that begins at the offsets. @return number of the new block, -1 on error. */
QRT_API int qrt_addDiagonalElementBlock(QRTModel *model, int n, const double *elements, int rowOffset,
                                        int columnOffset);
/** @brief The elements of an existing block once more at other offsets; storage is shared. reserved is 0.
 *  @return number of the new block, -1 on error. */
QRT_API int qrt_repeatElementBlock(QRTModel *model, int block, int rowOffset, int columnOffset, int reserved);
/** @brief Removes the block added last; nothing without blocks. */
QRT_API int qrt_dropLastElementBlock(QRTModel *model);
/** @brief Sums all blocks into one column block; option 1 leaves room in its starts. */
QRT_API int qrt_mergeBlocks(QRTModel *model, int option);
/** @brief Number of elements in all blocks, overlaps counted each. */
QRT_API int qrt_sizeMatrix(QRTModel *model);
/** @brief The same number, among the integer values of a model. */
QRT_API int qrt_getInumels(QRTModel *model);
/** @brief Layout of a block: 2 triples, 3 columns. */
QRT_API int qrt_blockType(QRTModel *model, int block);
/** @brief Added to each row number of a block. */
QRT_API int qrt_blockRowBase(QRTModel *model, int block);
/** @brief Row capacity plus the block's column offset. */
QRT_API int qrt_blockColumnBase(QRTModel *model, int block);
/** @brief Elements of a block. */
QRT_API int qrt_blockNumberElements(QRTModel *model, int block);
/** @brief Columns of a block; of triples, the highest column number plus 1. */
QRT_API int qrt_blockNumberColumns(QRTModel *model, int block);
/** @brief Row numbers of a block, owned by the model. */
QRT_API const int *qrt_blockRow(QRTModel *model, int block);
/** @brief Column numbers of triples, or the starts of a column block; owned by the model. */
QRT_API const int *qrt_blockColumn(QRTModel *model, int block);
/** @brief Values of a block as stored, owned by the model. */
QRT_API const double *qrt_blockElement(QRTModel *model, int block);

/** @brief Private copy of a row, duplicates summed, unscaled. Null when the number is out of range. */
QRT_API QRTVector *qrt_getRow(QRTModel *model, int row);
/** @brief Private copy of a column. */
QRT_API QRTVector *qrt_getColumn(QRTModel *model, int column);
/** @brief Frees what qrt_getRow() or qrt_getColumn() gave. */
QRT_API int qrt_freeVector(QRTVector *vector);
/** @brief Copy of the matrix by rows. */
QRT_API int qrt_createRowCopy(QRTModel *model, QRTMatrixCopy *copy);
/** @brief Copy of the matrix by columns. */
QRT_API int qrt_createColumnCopy(QRTModel *model, QRTMatrixCopy *copy);
/** @brief Frees the arrays of a copy. */
QRT_API int qrt_deleteMatrixCopy(QRTMatrixCopy *copy);
/** @brief Sorts each of `count` vectors by index, values along (null: indices only). */
QRT_API int qrt_sortMatrix(const int *starts, int *indices, double *elements, int count);
/** @brief Transposes nMajor vectors over nMinor indices into the caller's arrays. */
QRT_API int qrt_makeCopy(int nMajor, int nMinor, const int *starts, const int *indices, const double *elements,
                         int *outStarts, int *outIndices, double *outElements);
/** @brief Turns n triples into column order in place, sorted by row, equal rows summed; sums of at most `tolerance`
 *  in size are dropped. starts is [nColumns + 1]; the column array is destroyed. @return elements left. */
QRT_API int qrt_makeColumnOrdered(int *rows, int *columns, double *elements, int *starts, int n, int nColumns,
                                  double tolerance);

/** @brief Row lower bounds, [rows], owned by the model; good until the next change of size. Null when absent. */
QRT_API const double *qrt_rowlower(QRTModel *model);
/** @brief Private copy of the same, freed with qrt_free(). */
QRT_API double *qrt_getRowlower(QRTModel *model);
/** @brief Stores a vector that qrt_getRowlower() gave. @return 0, 1 for a vector of another origin or length. */
QRT_API int qrt_setRowlower(QRTModel *model, double *vector);
/** @brief Row activities, [rows], owned by the model; good until the next change of size. Null when absent. */
QRT_API const double *qrt_rowacts(QRTModel *model);
/** @brief Private copy of the same, freed with qrt_free(). */
QRT_API double *qrt_getRowacts(QRTModel *model);
/** @brief Stores a vector that qrt_getRowacts() gave. @return 0, 1 for a vector of another origin or length. */
QRT_API int qrt_setRowacts(QRTModel *model, double *vector);
/** @brief Row upper bounds, [rows], owned by the model; good until the next change of size. Null when absent. */
QRT_API const double *qrt_rowupper(QRTModel *model);
/** @brief Private copy of the same, freed with qrt_free(). */
QRT_API double *qrt_getRowupper(QRTModel *model);
/** @brief Stores a vector that qrt_getRowupper() gave. @return 0, 1 for a vector of another origin or length. */
QRT_API int qrt_setRowupper(QRTModel *model, double *vector);
/** @brief Row duals, [rows], owned by the model; good until the next change of size. Null when absent. */
QRT_API const double *qrt_rowduals(QRTModel *model);
/** @brief Private copy of the same, freed with qrt_free(). */
QRT_API double *qrt_getRowduals(QRTModel *model);
/** @brief Stores a vector that qrt_getRowduals() gave. @return 0, 1 for a vector of another origin or length. */
QRT_API int qrt_setRowduals(QRTModel *model, double *vector);
/** @brief Row status words, [rows], owned by the model; good until the next change of size. Null when absent. */
QRT_API const int *qrt_rowstat(QRTModel *model);
/** @brief Private copy of the same, freed with qrt_free(). */
QRT_API int *qrt_getRowstat(QRTModel *model);
/** @brief Stores a vector that qrt_getRowstat() gave. @return 0, 1 for a vector of another origin or length. */
QRT_API int qrt_setRowstat(QRTModel *model, int *vector);
/** @brief Column lower bounds, [columns], owned by the model; good until the next change of size. Null when absent. */
QRT_API const double *qrt_collower(QRTModel *model);
/** @brief Private copy of the same, freed with qrt_free(). */
QRT_API double *qrt_getCollower(QRTModel *model);
/** @brief Stores a vector that qrt_getCollower() gave. @return 0, 1 for a vector of another origin or length. */
QRT_API int qrt_setCollower(QRTModel *model, double *vector);
/** @brief Column values, [columns], owned by the model; good until the next change of size. Null when absent. */
QRT_API const double *qrt_colsol(QRTModel *model);
/** @brief Private copy of the same, freed with qrt_free(). */
QRT_API double *qrt_getColsol(QRTModel *model);
/** @brief Stores a vector that qrt_getColsol() gave. @return 0, 1 for a vector of another origin or length. */
QRT_API int qrt_setColsol(QRTModel *model, double *vector);
/** @brief Column upper bounds, [columns], owned by the model; good until the next change of size. Null when absent. */
QRT_API const double *qrt_colupper(QRTModel *model);
/** @brief Private copy of the same, freed with qrt_free(). */
QRT_API double *qrt_getColupper(QRTModel *model);
/** @brief Stores a vector that qrt_getColupper() gave. @return 0, 1 for a vector of another origin or length. */
QRT_API int qrt_setColupper(QRTModel *model, double *vector);
/** @brief Reduced costs, [columns], owned by the model; good until the next change of size. Null when absent. */
QRT_API const double *qrt_colrcosts(QRTModel *model);
/** @brief Private copy of the same, freed with qrt_free(). */
QRT_API double *qrt_getColrcosts(QRTModel *model);
/** @brief Stores a vector that qrt_getColrcosts() gave. @return 0, 1 for a vector of another origin or length. */
QRT_API int qrt_setColrcosts(QRTModel *model, double *vector);
/** @brief Column status words, [columns], owned by the model; good until the next change of size. Null when absent. */
QRT_API const int *qrt_colstat(QRTModel *model);
/** @brief Private copy of the same, freed with qrt_free(). */
QRT_API int *qrt_getColstat(QRTModel *model);
/** @brief Stores a vector that qrt_getColstat() gave. @return 0, 1 for a vector of another origin or length. */
QRT_API int qrt_setColstat(QRTModel *model, int *vector);
/** @brief Column costs, [columns], owned by the model; good until the next change of size. Null when absent. */
QRT_API const double *qrt_objective(QRTModel *model);
/** @brief Private copy of the same, freed with qrt_free(). */
QRT_API double *qrt_getObjective(QRTModel *model);
/** @brief Stores a vector that qrt_getObjective() gave. @return 0, 1 for a vector of another origin or length. */
QRT_API int qrt_setObjective(QRTModel *model, double *vector);
/** @brief Row scale factors, [rows], owned by the model; good until the next change of size. Null when absent. */
QRT_API const double *qrt_rowscales(QRTModel *model);
/** @brief Private copy of the same, freed with qrt_free(). */
QRT_API double *qrt_getRowscales(QRTModel *model);
/** @brief Stores a vector that qrt_getRowscales() gave. @return 0, 1 for a vector of another origin or length. */
QRT_API int qrt_setRowscales(QRTModel *model, double *vector);
/** @brief Column scale factors, [columns], owned by the model; good until the next change of size. Null when absent. */
QRT_API const double *qrt_colscales(QRTModel *model);
/** @brief Private copy of the same, freed with qrt_free(). */
QRT_API double *qrt_getColscales(QRTModel *model);
/** @brief Stores a vector that qrt_getColscales() gave. @return 0, 1 for a vector of another origin or length. */
QRT_API int qrt_setColscales(QRTModel *model, double *vector);
/** @brief Row part of the auxiliary vector, [rows], owned by the model; good until the next change of size. Null when absent. */
QRT_API const double *qrt_rowaux(QRTModel *model);
/** @brief Private copy of the same, freed with qrt_free(). */
QRT_API double *qrt_getRowaux(QRTModel *model);
/** @brief Stores a vector that qrt_getRowaux() gave. @return 0, 1 for a vector of another origin or length. */
QRT_API int qrt_setRowaux(QRTModel *model, double *vector);
/** @brief Column part of the auxiliary vector, [columns], owned by the model; good until the next change of size. Null when absent. */
QRT_API const double *qrt_colaux(QRTModel *model);
/** @brief Private copy of the same, freed with qrt_free(). */
QRT_API double *qrt_getColaux(QRTModel *model);
/** @brief Stores a vector that qrt_getColaux() gave. @return 0, 1 for a vector of another origin or length. */
QRT_API int qrt_setColaux(QRTModel *model, double *vector);
/** @brief Steepest-edge weights of rows, [rows], owned by the model; good until the next change of size. Null when absent. */
QRT_API const double *qrt_rweight(QRTModel *model);
/** @brief Private copy of the same, freed with qrt_free(). */
QRT_API double *qrt_getRweight(QRTModel *model);
/** @brief Stores a vector that qrt_getRweight() gave. @return 0, 1 for a vector of another origin or length. */
QRT_API int qrt_setRweight(QRTModel *model, double *vector);
/** @brief Steepest-edge weights of columns, [columns], owned by the model; good until the next change of size. Null when absent. */
QRT_API const double *qrt_cweight(QRTModel *model);
/** @brief Private copy of the same, freed with qrt_free(). */
QRT_API double *qrt_getCweight(QRTModel *model);
/** @brief Stores a vector that qrt_getCweight() gave. @return 0, 1 for a vector of another origin or length. */
QRT_API int qrt_setCweight(QRTModel *model, double *vector);
/** @brief Cost changes of a parametric run, [columns], owned by the model; good until the next change of size. Null when absent. */
QRT_API const double *qrt_objectiveDelta(QRTModel *model);
/** @brief Private copy of the same, freed with qrt_free(). */
QRT_API double *qrt_getObjectiveDelta(QRTModel *model);
/** @brief Stores a vector that qrt_getObjectiveDelta() gave. @return 0, 1 for a vector of another origin or length. */
QRT_API int qrt_setObjectiveDelta(QRTModel *model, double *vector);
/** @brief Changes of row lower bounds, [rows], owned by the model; good until the next change of size. Null when absent. */
QRT_API const double *qrt_lowerRowDelta(QRTModel *model);
/** @brief Private copy of the same, freed with qrt_free(). */
QRT_API double *qrt_getLowerRowDelta(QRTModel *model);
/** @brief Stores a vector that qrt_getLowerRowDelta() gave. @return 0, 1 for a vector of another origin or length. */
QRT_API int qrt_setLowerRowDelta(QRTModel *model, double *vector);
/** @brief Changes of row upper bounds, [rows], owned by the model; good until the next change of size. Null when absent. */
QRT_API const double *qrt_upperRowDelta(QRTModel *model);
/** @brief Private copy of the same, freed with qrt_free(). */
QRT_API double *qrt_getUpperRowDelta(QRTModel *model);
/** @brief Stores a vector that qrt_getUpperRowDelta() gave. @return 0, 1 for a vector of another origin or length. */
QRT_API int qrt_setUpperRowDelta(QRTModel *model, double *vector);
/** @brief Changes of column lower bounds, [columns], owned by the model; good until the next change of size. Null when absent. */
QRT_API const double *qrt_lowerColumnDelta(QRTModel *model);
/** @brief Private copy of the same, freed with qrt_free(). */
QRT_API double *qrt_getLowerColumnDelta(QRTModel *model);
/** @brief Stores a vector that qrt_getLowerColumnDelta() gave. @return 0, 1 for a vector of another origin or length. */
QRT_API int qrt_setLowerColumnDelta(QRTModel *model, double *vector);
/** @brief Changes of column upper bounds, [columns], owned by the model; good until the next change of size. Null when absent. */
QRT_API const double *qrt_upperColumnDelta(QRTModel *model);
/** @brief Private copy of the same, freed with qrt_free(). */
QRT_API double *qrt_getUpperColumnDelta(QRTModel *model);
/** @brief Stores a vector that qrt_getUpperColumnDelta() gave. @return 0, 1 for a vector of another origin or length. */
QRT_API int qrt_setUpperColumnDelta(QRTModel *model, double *vector);
/** @brief Stores values[0..last-first-1] as entries first to last - 1: row lower bounds. */
QRT_API int qrt_copyRowlower(QRTModel *model, const double *values, int first, int last);
/** @brief Stores values[0..last-first-1] as entries first to last - 1: row activities. */
QRT_API int qrt_copyRowacts(QRTModel *model, const double *values, int first, int last);
/** @brief Stores values[0..last-first-1] as entries first to last - 1: row upper bounds. */
QRT_API int qrt_copyRowupper(QRTModel *model, const double *values, int first, int last);
/** @brief Stores values[0..last-first-1] as entries first to last - 1: row duals. */
QRT_API int qrt_copyRowduals(QRTModel *model, const double *values, int first, int last);
/** @brief Stores values[0..last-first-1] as entries first to last - 1: row status words. */
QRT_API int qrt_copyRowstat(QRTModel *model, const int *values, int first, int last);
/** @brief Stores values[0..last-first-1] as entries first to last - 1: column lower bounds. */
QRT_API int qrt_copyCollower(QRTModel *model, const double *values, int first, int last);
/** @brief Stores values[0..last-first-1] as entries first to last - 1: column values. */
QRT_API int qrt_copyColsol(QRTModel *model, const double *values, int first, int last);
/** @brief Stores values[0..last-first-1] as entries first to last - 1: column upper bounds. */
QRT_API int qrt_copyColupper(QRTModel *model, const double *values, int first, int last);
/** @brief Stores values[0..last-first-1] as entries first to last - 1: reduced costs. */
QRT_API int qrt_copyColrcosts(QRTModel *model, const double *values, int first, int last);
/** @brief Stores values[0..last-first-1] as entries first to last - 1: column status words. */
QRT_API int qrt_copyColstat(QRTModel *model, const int *values, int first, int last);
/** @brief Stores values[0..last-first-1] as entries first to last - 1: column costs. */
QRT_API int qrt_copyObjective(QRTModel *model, const double *values, int first, int last);

/** @brief Row names: entries of qrt_getInumchar() bytes (one more while pointer tables exist), NUL-terminated when
 *  shorter than their entry. Owned by the model, null without names. */
QRT_API const char *qrt_rownames(QRTModel *model);
/** @brief Column names, likewise. */
QRT_API const char *qrt_colnames(QRTModel *model);
/** @brief Table of pointers to the row names, made on the first call; null without names. */
QRT_API char **qrt_rowNamePointers(QRTModel *model);
/** @brief Table of pointers to the column names. */
QRT_API char **qrt_colNamePointers(QRTModel *model);
/** @brief Gives all rows and columns default names of a length from 1 to 31 (0: the present length). */
QRT_API int qrt_createNames(QRTModel *model, int length);
/** @brief Removes all names. */
QRT_API int qrt_deleteNames(QRTModel *model);
/** @brief Stores names[0..last-first-1] as the names of rows first to last - 1; longer ones are cut. */
QRT_API int qrt_copyRowNames(QRTModel *model, const char *const *names, int first, int last);
/** @brief Stores names of columns first to last - 1. */
QRT_API int qrt_copyColumnNames(QRTModel *model, const char *const *names, int first, int last);

/** @brief Adds n rows, basic. @param model the model.  @param n number of rows.  @param lower [n], null for -1e31.
 *  @param upper [n], null for 1e31.  @param starts [n + 1] where each row begins in columns, null for empty rows.
 *  @param columns column numbers.  @param elements values.  @return 0, 1 for bad starts; a column out of range is
 *  severe and gives 999 with a raised limit. In each case the model is as it was. */
QRT_API int qrt_addRows(QRTModel *model, int n, const double *lower, const double *upper, const int *starts,
                        const int *columns, const double *elements);
/** @brief Adds one row with n elements. */
QRT_API int qrt_addOneRow(QRTModel *model, double lower, double upper, int n, const int *columns,
                          const double *elements);
/** @brief Adds n columns, nonbasic at the bound nearest 0: lower null for 0, upper null for 1e31, costs null for 0,
 *  starts null for empty columns. @return 0, 1 for bad starts; a row out of range is severe and gives 999 with a
 *  raised limit. */
QRT_API int qrt_addColumns(QRTModel *model, int n, const double *lower, const double *upper, const double *objective,
                           const int *starts, const int *rows, const double *elements);
/** @brief Adds one column with n elements. */
QRT_API int qrt_addOneColumn(QRTModel *model, double lower, double upper, double objective, int n, const int *rows,
                             const double *elements);
/** @brief Adds n elements to the last column, which takes its default name. */
QRT_API int qrt_addColumnElements(QRTModel *model, int n, const int *rows, const double *elements);
/** @brief Deletes the rows listed, each once. @return 0, 1 when a number is out of range (nothing is deleted). */
QRT_API int qrt_deleteRows(QRTModel *model, int n, const int *which);
/** @brief Deletes the columns listed, each once. */
QRT_API int qrt_deleteColumns(QRTModel *model, int n, const int *which);
/** @brief Replaces all elements of a row. */
QRT_API int qrt_replaceRow(QRTModel *model, int row, int n, const int *columns, const double *elements);
/** @brief Replaces all elements of a column. */
QRT_API int qrt_replaceColumn(QRTModel *model, int column, int n, const int *rows, const double *elements);
/** @brief Sets the matrix at n positions (the last entry of a position counts); positions without an element get one. */
QRT_API int qrt_replaceElements(QRTModel *model, int n, const int *rows, const int *columns, const double *elements);

/** @brief State of a row: 0 basic, -1 at lower, 1 at upper, 2 free at zero, -2 superbasic; 99 out of range. */
QRT_API int qrt_rowStatus(QRTModel *model, int row);
/** @brief State of a column, likewise. */
QRT_API int qrt_columnStatus(QRTModel *model, int column);
/** @brief Position in the basis from 0, -1 when not basic, -2 when basic at no known position. */
QRT_API int qrt_isRowBasic(QRTModel *model, int row);
/** @brief Position of a column in the basis, likewise. */
QRT_API int qrt_isColumnBasic(QRTModel *model, int column);
/** @brief Marks rows as basic. @return 0, 1 when some number was out of range (skipped). */
QRT_API int qrt_markRowsAsBasic(QRTModel *model, int n, const int *which);
/** @brief Marks columns as basic. */
QRT_API int qrt_markColumnsAsBasic(QRTModel *model, int n, const int *which);
/** @brief Puts rows nonbasic at their lower bound (at 0 when only the upper is finite). @return 0, 1 when a free row
 *  or a number out of range was skipped. */
QRT_API int qrt_setRowsNonBasicAtLower(QRTModel *model, int n, const int *which);
/** @brief Puts rows nonbasic at their upper bound (at 0 when only the lower is finite). */
QRT_API int qrt_setRowsNonBasicAtUpper(QRTModel *model, int n, const int *which);
/** @brief Puts columns nonbasic at their lower bound. */
QRT_API int qrt_setColumnsNonBasicAtLower(QRTModel *model, int n, const int *which);
/** @brief Puts columns nonbasic at their upper bound. */
QRT_API int qrt_setColumnsNonBasicAtUpper(QRTModel *model, int n, const int *which);
/** @brief Stores raw status words of rows; a solve only takes the basic bit (31) from them, values say the side. */
QRT_API int qrt_setRowStatus(QRTModel *model, int n, const int *which, const int *status);
/** @brief Stores raw status words of columns. */
QRT_API int qrt_setColumnStatus(QRTModel *model, int n, const int *which, const int *status);
/** @brief Number of basic rows. */
QRT_API int qrt_getNumberBasicRows(QRTModel *model);
/** @brief Number of basic columns. */
QRT_API int qrt_getNumberBasicColumns(QRTModel *model);

/** @brief Marks a column as integer; it counts once. @return 0, 999 for a column out of range. */
QRT_API int qrt_markAsInteger(QRTModel *model, int column);
/** @brief One byte a column, not 0 for integers; null without any. Owned by the model. */
QRT_API const char *qrt_integerType(QRTModel *model);

/** @brief Solves take free rows and fixed columns out of the model for their run (the default). */
QRT_API int qrt_setCompressOn(QRTModel *model);
/** @brief Solves work on the whole model. */
QRT_API int qrt_setCompressOff(QRTModel *model);

/** @brief Makes the target the model of some rows and columns of the source, in the order listed; its own controls
 *  stay. @return 0. */
QRT_API int qrt_copySubModel(QRTModel *target, QRTModel *source, int numberRows, int numberColumns, const int *rows,
                             const int *columns);

/** @brief Adds n triples over columns and columns to the quadratic list. @return number of the block, -1 on error. */
QRT_API int qrt_addElementInformationBlock(QRTModel *model, int n, const int *rows, const int *columns,
                                           const double *elements);
/** @brief Adds columns of the quadratic matrix to the quadratic list. */
QRT_API int qrt_addColumnElementInformationBlock(QRTModel *model, int numberColumns, const int *rows,
                                                 const int *starts, const double *elements);
/** @brief Layout of a quadratic block. */
QRT_API int qrt_quadraticBlockType(QRTModel *model, int block);
/** @brief Row offset of a quadratic block. */
QRT_API int qrt_quadraticBlockRowBase(QRTModel *model, int block);
/** @brief Row capacity plus the column offset of a quadratic block. */
QRT_API int qrt_quadraticBlockColumnBase(QRTModel *model, int block);
/** @brief Elements of a quadratic block. */
QRT_API int qrt_quadraticBlockNumberElements(QRTModel *model, int block);
/** @brief Columns of a quadratic block. */
QRT_API int qrt_quadraticBlockNumberColumns(QRTModel *model, int block);
/** @brief Row numbers of a quadratic block. */
QRT_API const int *qrt_quadraticBlockRow(QRTModel *model, int block);
/** @brief Column numbers or starts of a quadratic block. */
QRT_API const int *qrt_quadraticBlockColumn(QRTModel *model, int block);
/** @brief Values of a quadratic block. */
QRT_API const double *qrt_quadraticBlockElement(QRTModel *model, int block);

/** @brief Adds a group of integer columns. @param model the model.  @param priority 1 to 65535, smaller first.
 *  @param count columns.  @param columns [count].  @param downCosts [count] pseudo-costs, null for 0.001.
 *  @param upCosts [count], likewise.  @return 0, 1 for a value out of range. */
QRT_API int qrt_addIntegerSet(QRTModel *model, int priority, int count, const int *columns, const double *downCosts,
                              const double *upCosts);
/** @brief Adds a special ordered set of type 1; upCosts are the reference values, null for 0, 1, 2, ... */
QRT_API int qrt_addSOS1Set(QRTModel *model, int priority, int count, const int *columns, const double *downCosts,
                           const double *upCosts);
/** @brief Adds a special ordered set of type 2. */
QRT_API int qrt_addSOS2Set(QRTModel *model, int priority, int count, const int *columns, const double *downCosts,
                           const double *upCosts);
/** @brief Adds a set of type 3: 0-1 columns that sum to 1. */
QRT_API int qrt_addSOS3Set(QRTModel *model, int priority, int count, const int *columns, const double *downCosts,
                           const double *upCosts);

/* ---- files ---------------------------------------------------------------------------------------------- */

/** @brief Opens a numbered unit of the core's file layer. @param unit 0 to 109.  @param file name, or null or empty
 *  for the unit's own name (fort.unit).  @param status "OLD", "NEW" or "UNKNOWN".  @param access "SEQUENTIAL" or
 *  "DIRECT".  @param form "FORMATTED" or "UNFORMATTED".  @param blank "NULL" or null.  @param recl bytes of a record
 *  for direct access.  @param rc out: 0 opened or already open, 1 no file could be had. */
QRT_API void qrt_fopn(int unit, const char *file, const char *status, const char *access, const char *form,
                      const char *blank, int recl, int *rc);
/** @brief Reads an MPS file into the model, which loses what it held. Names have Inumchar characters (8 by default);
 *  a NAME card with FREE switches to the free format. Cname, Cobjective, Crhs, Crange and Cbound choose among several
 *  models and sets of one file when they are not blank, and hold the names used afterwards.
 *  @param filename path; null, empty or "stdin" read the standard input.
 *  @return 0; 200 when the file cannot be opened, 21 or 11 when the reader gave up, both only with raised message
 *  limits; 999 after a fatal error. Cards that make no sense are reported by messages and skipped. */
QRT_API int qrt_importModel(QRTModel *model, const char *filename);
/** @brief qrt_importModel() for the free format: fields separated by blanks, names of up to 31 characters. */
QRT_API int qrt_importModelFree(QRTModel *model, const char *filename);
/** @brief Reads the QSECTION of the objective from a file of cards and adds it to the model's quadratic blocks. The
 *  names are those of the model's columns; unknown ones are reported by messages and skipped.
 *  @param filename path; null, empty or "stdin" read the standard input.
 *  @return 0; 34 when the file holds no quadratic term; 200 when it cannot be opened; 999 after a fatal error. */
QRT_API int qrt_importQuadraticData(QRTModel *model, const char *filename);

/** @brief Writes the model as an MPS file that qrt_importModel() reads. Rows and columns without a name get R0000001,
 *  C0000001 and so on. Decimal numbers are rounded to 12 characters; binary ones keep every bit. A file of that name is
 *  replaced once the new one is whole.
 *  @param filename path; null or empty write "tempfile".  @param format 1 decimal, 2 binary numbers.  @param entries
 *  pairs of name and number on a card, 1 or 2 (names of more than 12 characters leave room for one).
 *  @return 0; 200 when the file cannot be opened, 21 when it cannot be written or the model is scaled, both only with
 *  raised message limits; 999 after a fatal error. */
QRT_API int qrt_exportModel(QRTModel *model, const char *filename, int format, int entries);
/** @brief Writes the basis as cards that qrt_importBasis() reads.
 *  @param filename path; null or empty write "tempfile".  @param format 1 the basis alone, 2 with the values of basic
 *  variables and of nonbasic columns that stand at no bound.  @param numbers 1 decimal, 2 binary.
 *  @return as qrt_exportModel(). */
QRT_API int qrt_exportBasis(QRTModel *model, const char *filename, int format, int numbers);
/** @brief Reads a basis: the one named by Cbasis when that is not blank, else the first of the file. Cards that name
 *  no row or column of the model are skipped; rows not named become basic, columns not named go to the bound nearest
 *  to zero. A basis of the wrong size is mended by the next solve.
 *  @param filename path; null or empty read "tempfile".
 *  @return 0; 200 when the file cannot be opened, 21 when it holds no such basis (the model is left as it was), both
 *  only with raised message limits; 999 after a fatal error. */
QRT_API int qrt_importBasis(QRTModel *model, const char *filename);

/** @brief Writes the model as a binary file: controls, names, statuses, values, duals, bounds, costs, matrix, scale
 *  factors, integer and quadratic data, or what of them Imodelmask names (bits 1 controls, 2 selection lists, 4 names,
 *  8 statuses, 16 values, 32 duals, 64 lower and 128 upper bounds, 256 costs, 512 matrix, 1024 scale factors, 2048 marks
 *  of presolve, 4096 integer data; 0 all). The file is for the same kind of machine. A file of that name is replaced
 *  once the new one is whole.
 *  @param filename path; null or empty write "tempfile".
 *  @return 0; 200 when the file cannot be opened, 21 when it cannot be written, both only with raised message limits;
 *  999 after a fatal error. */
QRT_API int qrt_saveModel(QRTModel *model, const char *filename);
/** @brief Reads what qrt_saveModel() wrote, as far as Imodelmask asks for it (0 all); the rest of the model stays. An
 *  empty model takes the size of the file, another must have the same capacities.
 *  @param filename path; null or empty read "tempfile".
 *  @return 0; 200 when the file cannot be opened, 21 when it is no such file, is cut off or does not fit (the model is
 *  left as it was), both only with raised message limits; 999 after a fatal error. */
QRT_API int qrt_restoreModel(QRTModel *model, const char *filename);

/* ---- preparation ---------------------------------------------------------------------------------------- */

/** @brief Scales the matrix, by geometric passes, so that its elements lie near 1.
 *
 *  Stored elements become a[i][j] * rowscales[i] / colscales[j], in one column block. Bounds, costs, values and duals
 *  stay in the caller's units: solves apply the factors on the way in and out. Elements, rows and columns added or
 *  replaced later are given unscaled and take on the factors of their row and column, 1 for new ones; qrt_getRow() and
 *  qrt_getColumn() give unscaled values, qrt_blockElement() shows what is stored. Free rows, fixed columns and empty
 *  ones keep the factor 1.
 *  @return 0, also with a warning for a model that is scaled already, which stays as it is; 999 after a fatal error. */
QRT_API int qrt_scale(QRTModel *model);
/** @brief Makes the model smaller: the reduced model, with the same optimum, takes its place until qrt_postSolve().
 *
 *  Names, integer types, sets and scale factors go along; the rims keep their room, duals become 0, and RobjectiveOffset
 *  takes up what was fixed. Costs and bounds stay as they are but for what the reductions themselves change. A model with
 *  quadratic terms loses redundant rows only.
 *  @param type kind + 4 * flags + 10000 * passes, 0 to 333333. Kind: 0 what row activities tell; 1 and doubleton
 *         equations; 2 and implied free columns; 3 both. Flags: 1 duplicate rows and columns and zero-cost singletons;
 *         2 free columns with fill; 4 implied bounds outlast a pass; 8 dual analysis; 16 infeasible bounds are repaired
 *         (postsolve then judges the original); 32 implied bounds are relaxed by 0.001. Without passes: at most 5.
 *  @param filename where postsolve finds the original and the log: null memory of the model, "/null" nowhere, else a path.
 *         A file is written beside its place and renamed when it is whole.
 *  @return 0; 1 when the model is infeasible, 2 when dual analysis finds that no duals fit the costs (raised limit): it has no
 *          optimum, being unbounded or infeasible, and a solve as it stands tells which; 341 when the file
 *          cannot be opened (raised limit), 21 when it cannot be written: in all these cases the model is as it was; 999
 *          after a fatal error. A model all of whose rows go ends in message 7020, which stops the process unless its
 *          limit was raised; the call then returns 999 with a usable model of one free row. */
QRT_API int qrt_preSolve(QRTModel *model, int type, const char *filename);
/** @brief Brings the original model back and maps the solution of the reduced one onto it.
 *
 *  An optimal solution comes back with duals and an optimal basis; of any other status only values and a start basis are
 *  rebuilt, and duals are 0. A solution without a basis (an interior one) gets the statuses its values ask for.
 *  @param filename as given to qrt_preSolve(); null takes the model's memory and gives it up. "/null", memory without a
 *         presolve, or the file of a presolve that found the model infeasible do nothing.
 *  @return 0; 341 when the file cannot be opened, 21 when it is cut off or damaged (the model is as it was), both with
 *          raised limits; 999 after a fatal error. */
QRT_API int qrt_postSolve(QRTModel *model, const char *filename);
/** @brief Puts columns into the all-slack basis where they make rows feasible, keeping the basis triangular.
 *
 *  Columns move from their bound to where their row stands at its own; bounds stay as they are. Leaves status words,
 *  column values and row activities for the next solve. A model with a basic column is left alone.
 *  @param type 1 care for primal feasibility only, singletons of outstanding cost left out; 2 columns with a cost stay
 *         out of the basis, so that dual feasibility is not lost; 3 and 4 the same without regard to implied bounds, and
 *         a following solve in mode 0 starts from the values.
 *  @return 0; 999 after a fatal error. */
QRT_API int qrt_crash(QRTModel *model, int type);
/** @brief Looks for a nearly feasible and nearly optimal point without any factorisation.
 *
 *  Minimises the objective plus a penalty on the rows' residuals, one column at a time, in rounds of falling penalty. Leaves
 *  column values, row activities, an estimate of the duals and the all-slack basis; Iiternum counts sweeps, Rsumpinf the
 *  infeasibility left, Iprobstat is 3. A solve in mode 3 or qrt_idiotCrossOver() goes on from there. Imajorits bounds
 *  the rounds. Progress is told by messages 501 to 510. A row whose bounds both lie beyond 1e10 ends the process with exit(0).
 *  @return 0; 1 with message 510 unless the matrix is one block by columns (qrt_mergeBlocks()); 999 after a fatal error. */
QRT_API int qrt_idiot(QRTModel *model);
/** @brief Goes from the point the model holds to a basis and to the optimum: solves with the columns the point uses, then
 *  with those that the duals ask for, then with all.
 *  @param mode  of the last solve, as for qrt_primalSimplex().  @return as qrt_primalSimplex(). */
QRT_API int qrt_idiotCrossOver(QRTModel *model, int mode);
/** @brief Presolves, scales, builds a starting basis and solves in one call; the caller's controls are back afterwards.
 *  @param options the strategy in bits 0 to 3: 0 the library chooses the method, 1 primal, 2 dual without a crash;
 *         3 to 9 begin with the idiot crash and its crossover: 3 with 205 sweeps a round, 4 as Imaxiterb (sweeps), RregularizedDelta
 *         (infeasibility counted as small), Rdensethr (first penalty) say, as do the others: 5 looks for a feasible point
 *         before it minds the costs, 6 lets multipliers modify the costs, 7 to 9 end without a pass over the point's
 *         values, 8 with two crashes. Bit 16: no perturbation at the start; bit 32: no scaling. The run goes
 *         by way of qrt_preSolve() with type 67, unless the model is presolved already or bit 256 is set; bit 64 keeps the
 *         data for the way back in "/tmp/save.fil". With 3 to 9, bit 128 solves the dual first, as a model "dual_model", and
 *         begins the crash with its multipliers; bit 512 presolves the solves of the crossover too. A model that comes back from presolve is unscaled, if it was before;
 *         without presolve it stays scaled.
 *  @return 0 when the run ended with a status (qrt_getIprobstat()), else as qrt_primalSimplex(). */
QRT_API int qrt_simplex(QRTModel *model, int options);

/* ---- solvers -------------------------------------------------------------------------------------------- */

/** @brief Primal simplex method from the basis, values and controls the model holds.
 *
 *  The outcome stands in Iprobstat (0 optimal, 1 infeasible, 2 unbounded, 3 stopped), Robjvalue (objective less
 *  offset, in the caller's sense) and the rim vectors. Duals and reduced costs are those of the minimised form:
 *  colrcosts[j] = Rmaxmin * objective[j] - sum of a[i][j] * rowduals[i], at least 0 for what stands at its lower
 *  bound, at most 0 at its upper. After status 1 rowaux and colaux hold multipliers that prove infeasibility, after
 *  status 2 colaux is a ray along which the objective improves without end and rowaux its row activities.
 *  @param mode 0 goes on as the last run ended, 1 prices all columns from the start, 2 prices random parts first,
 *         3 takes values strictly between bounds as they stand and pushes them to a basis first.
 *  @return 0 whenever a status was reached, 11 without storage, 32 after a numerical failure, 999 after a fatal
 *          message. */
QRT_API int qrt_primalSimplex(QRTModel *model, int mode);
/** @brief Dual simplex method with bound flipping; a start that is not dual feasible goes through a first phase.
 *  @param mode 0 goes on as the last run ended, 1 and 2 start from the basis, 3 takes the row duals as they stand (in the sign
 *         that a solve leaves them) and brings them to a basis whose reduced costs they are first: the second half of a crossover.
 *  @return as qrt_primalSimplex(). */
QRT_API int qrt_dualSimplex(QRTModel *model, int mode);
/** @brief Simplex method, the library choosing the algorithm. @param mode as for qrt_primalSimplex().
 *  @return as qrt_primalSimplex(). */
QRT_API int qrt_eitherSimplex(QRTModel *model, int mode);
/** @brief Parameters for experts, in place of what the simplex decides by itself; each call sets all of them anew.
 *  @param integers number of integers, 0 to 8.  @param integer in this order: iteration before which columns are priced in parts
 *  and without weights; iteration before which steepest edge is not used (at least the former); least accuracy level, 0 to 2; iteration
 *  at which the primal perturbs bounds, and before which it does not; pass length below which the allowance of the reals holds;
 *  without effect; 1: the other algorithm takes over at the first check when the start is feasible for it alone; 1: pivotal rows
 *  are formed column by column even where that is longer.
 *  @param reals number of reals, 0 to 3.  @param real sum of infeasibilities below which, in a pass shorter than given above, the
 *  reference of the merit test is multiplied by the next one (1000 or more: given up for that check); that factor; without effect.
 *  @param pivots number of pivot tolerances, 0 to 2.  @param pivot absolute zero pivot (else 1e-8), relative threshold (else 0.1).
 *  @return 0. */
QRT_API int qrt_exoticParameters(QRTModel *model, int integers, const int *integer, int reals, const double *real, int pivots,
                                 const double *pivot);
/** @brief Prepares many short dual re-solves from the present basis: factorises it, checks it (Iprobstat 0 when it is optimal,
 *  else 3) and saves it. Until qrt_stopFastDualSimplex() bounds and objective are changed through rim pointers taken before
 *  this call (qrt_collower() and the like); control getters, qrt_fastDualSimplex() and qrt_stopFastDualSimplex() are the only calls
 *  allowed, any other gives message 149 for parameter 1 and ends the repeated dual.
 *  @param iterations allowance of each re-solve, at least 0.  @return 0, 11 out of memory, 32 numerical failure. */
QRT_API int qrt_startFastDualSimplex(QRTModel *model, int iterations);
/** @brief One dual re-solve from the basis that qrt_startFastDualSimplex() saved, whatever the one before left. Iiternum comes back
 *  to its value on entry. Solution, duals and status words are read through rim pointers.
 *  @return as qrt_primalSimplex(); 32 without a start. */
QRT_API int qrt_fastDualSimplex(QRTModel *model);
/** @brief Ends it: what was saved is freed, Imaxiter is again what it was. The model keeps the solution of the last re-solve.
 *  @return 0, 32 without a start. */
QRT_API int qrt_stopFastDualSimplex(QRTModel *model);
/** @brief User exit of the simplex iterations, every Iiterufreq of them and before each pass, for models without a call-back
 *  of qrt_registerItruCallBack(). The library's own does nothing; a program that defines a function of this name replaces it.
 *  @param status in: the running Iprobstat; out: the same to go on, 3 to stop, 99 to end the pass; any other value
 *  gives message 173 and the solve goes on.  @param code 1 within a pass, 3 before a primal pass, 4 before a dual one. */
QRT_API void QRTITRU(int *status, int code);
/** @brief User exit of the primal simplex, called for every choice of a leaving variable. The library's own does
 *  nothing; a program that defines a function of this name replaces it and may change the choice. The answer is
 *  checked: a row without a pivot, or a bound that is not there, gives message 173 and the library's choice stands.
 *  Vectors are in the solver's working form, scaled and with row activities negated.
 *  @param enteringVariable row i as i, column j as rows + j, from 1.  @param numberRows rows.
 *  @param column [numberRows + 1] the entering column in terms of the basis, by row position from 1; not to be changed.
 *  @param row in and out: row position that leaves, 0 when the entering variable goes to its other bound.
 *  @param bound in and out: 0 the leaving variable stops at its lower bound, 2 at its upper one. */
QRT_API void QRTCZRU(int enteringVariable, int numberRows, const double *column, int *row, int *bound);

/** @name Older names
 *  Each says on stderr what has replaced it, and calls that.
 *  @{ */
/** @brief Older name of qrt_initializeContext(). */
QRT_API QRTContext *qrt_initialize(void);
/** @brief qrt_newModel() of a model in no context. */
QRT_API QRTModel *qrt_createModel(const char *name);
/** @brief Was the end of the library before qrt_endContext(); does nothing. @return 0. */
QRT_API int qrt_end(void);
/** @brief Older name of qrt_saveModel(). */
QRT_API int qrt_saveToFile(QRTModel *model, const char *filename);
/** @brief Older name of qrt_restoreModel(). */
QRT_API int qrt_restoreFromFile(QRTModel *model, const char *filename);
/** @brief Older name of qrt_importModel(). */
QRT_API int qrt_convertMPS(QRTModel *model, const char *filename);
/** @brief Older name of qrt_importModelFree(). */
QRT_API int qrt_convertMPSFree(QRTModel *model, const char *filename);
/** @brief Older name of qrt_importQuadraticData(). */
QRT_API int qrt_convertQuadratic(QRTModel *model, const char *filename);
/** @brief Older name of qrt_exportModel(). */
QRT_API int qrt_outMatrix(QRTModel *model, const char *filename, int format, int entries);
/** @brief Older name of qrt_exportBasis(). */
QRT_API int qrt_outBasis(QRTModel *model, const char *filename, int format, int numbers);
/** @brief Older name of qrt_importBasis(). */
QRT_API int qrt_inBasis(QRTModel *model, const char *filename);
/** @} */

#ifdef __cplusplus
}
#endif
#endif
