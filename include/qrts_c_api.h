/** @file qrts_c_api.h
 *  Stochastic interface of libtavstoch: stochastic programs over a tree of scenarios, and event trees.
 *
 *  A stochastic program has a core (all stages written once) and scenarios, given as differences from the core by
 *  three SMPS files or by calls. Its deterministic equivalent is an ordinary model that can be solved and read back
 *  by node and by scenario.
 *
 *  Conventions. Functions return 0 on success, 1 for a warning, 2 and above for a failure, unless said otherwise.
 *  Stages, scenarios and node numbers count from 1, scenario 0 means the root; row and column indices of a core or a
 *  scenario count from 1; indices handed out for a model count from 0. Reals are double, counts and indices int. Each
 *  call announces itself on the log of the object's base model. A null or deleted handle gives message 7403 and the
 *  function's failure value; like every message of severity S it ends the process with exit(0) unless its limit was
 *  raised with qrt_mset() on the base model (numbers 7401 to 7454). Vectors of a caller are never changed or kept.
 *  One thread only.
 */
#ifndef QRTS_C_API_H
#define QRTS_C_API_H
#include "qrt_c_api.h"
#ifdef __cplusplus
extern "C" {
#endif

/** A stochastic program: core, scenarios, the model made from them, options. */
typedef struct QRTStoch QRTStoch;
/** A free-standing tree of events, from which scenarios are numbered. */
typedef struct QRTTree QRTTree;

/* ---- context and objects --------------------------------------------------------------------------------- */

/** @brief Creates the library's context, as qrt_initializeContext(). @return the context, null when there is one. */
QRT_API QRTContext *qrts_initializeContext(void);
/** @brief Ends the library's use, as qrt_endContext(); objects of the context that are left are deleted. @return 0. */
QRT_API int qrts_endContext(QRTContext *context);
/** @brief Older name of qrts_initializeContext(); says so on stderr. */
QRT_API QRTContext *qrts_initialize(void);
/** @brief Was the end of the library before qrts_endContext(); says so on stderr and does nothing. @return 0. */
QRT_API int qrts_end(void);
/** @brief New empty object within a context.
 *  @param context  the library's context.
 *  @param name  shown in messages; copied, cut at 127 characters; null for none.
 *  @param maxScenarios  the most scenarios it will take; the memory for them grows as they come.
 *  @return the object, owned by the caller (qrts_deleteStoch()); null if it fails its check. */
QRT_API QRTStoch *qrts_newStoch(QRTContext *context, const char *name, int maxScenarios);
/** @brief The same outside any context. */
QRT_API QRTStoch *qrts_createStoch(const char *name, int maxScenarios);
/** @brief Deletes an object with its data, models and temporary record file. @return 0; 2 for a bad handle. */
QRT_API int qrts_deleteStoch(QRTStoch *stoch);
/** @brief Makes target a copy of source: data by way of a file of its own in /tmp, described model, base model, options.
 *  What the target held before is released. An empty name becomes "Copy(name of source)". Submodels are not copied.
 *  @return 0; 1 when the source has no data; 2 for a bad handle or a failed copy of the data. */
QRT_API int qrts_copyStoch(QRTStoch *target, QRTStoch *source);
/** @brief Never prints message `number` of this object. @return 0; -1 unless 1 <= number < 10000; 1 for a number
 *  that qrt_messagePrintOff() does not take (use qrt_messagesPrintOff() on the base model for those). */
QRT_API int qrts_messagePrintOff(QRTStoch *stoch, int number);
/** @brief Prints message `number` of this object always. @return as qrt_messagePrintOn(). */
QRT_API int qrts_messagePrintOn(QRTStoch *stoch, int number);
/** @brief The model whose controls, message limits and log all models of the object take, and on whose log it speaks.
 *  Owned by the object. @return null for a bad handle. */
QRT_API QRTModel *qrtse_getBaseModel(QRTStoch *stoch);
/** @brief The described model (the deterministic equivalent). Owned by the object; good until the next description.
 *  @return null when nothing is described, and for a bad handle. */
QRT_API QRTModel *qrtse_getCurrentModel(QRTStoch *stoch);
/** @brief Makes target a full copy of the described model. @return 0; 1 when nothing is described; 2 for a bad handle. */
QRT_API int qrtse_copyCurrentModel(QRTStoch *stoch, QRTModel *target);

/* ---- data in and out ------------------------------------------------------------------------------------- */

/** @brief Reads an SMPS triple into an object without data.
 *
 *  The core is an MPS file whose rows and columns stand in stage order; FREE on its NAME card puts all three files
 *  into free format with names of up to 31 characters, else names have 8. The time file names the first column and row
 *  of each period. The stoch file holds a SCENARIOS, INDEP or BLOCKS section of kind DISCRETE, with REPLACE (the
 *  default) or ADD; of INDEP and BLOCKS all combinations become scenarios, the first variable changing fastest. Values
 *  of the stoch file have single precision by the letter. See qrts_setLenientOn() for files that stray.
 *
 *  @return 1 SCENARIOS, 2 INDEP, 3 BLOCKS; -1 on failure after a message (scenarios read before it remain), also when
 *  reading stopped at the object's maximum with a bound ignored. An object that has data already ends the process
 *  with exit(999). */
QRT_API int qrts_readSMPSData(QRTStoch *stoch, const char *core, const char *time, const char *sto);
/** @brief The readers also accept what published files contain beyond the letter, telling each kind once a file by
 *  message 501 with file and card; values of the stoch file keep double precision. Accepted are: problem names that
 *  differ, NAME for STOCH, a section without DISCRETE, INDEP lines without a period, second pairs on a line, periods
 *  that begin at the objective row or at none, the root in quotes, tabs, fields off their columns, names longer than 8
 *  without FREE, INDEP and BLOCKS in one file, set names that are not the core's, section words in lower case, empty
 *  lines. Off by default. */
QRT_API void qrts_setLenientOn(QRTStoch *stoch);
/** @brief The readers go by the letter: the default. */
QRT_API void qrts_setLenientOff(QRTStoch *stoch);
/** @brief A scenario of a SCENARIOS section takes over its ancestor's items for the stages it owns, unless it lists
 *  them itself. Off by default: then an item that a scenario does not list has the core's value there. */
QRT_API void qrts_setInheritOn(QRTStoch *stoch);
/** @brief Scenarios take their data relative to the core alone: the default. */
QRT_API void qrts_setInheritOff(QRTStoch *stoch);
/** @brief Loads a core.
 *  @param stoch  object without data.
 *  @param nStages  number of stages.
 *  @param rowStages,colStages  [nRows], [nCols] stage of each row and column, 1 to nStages.
 *  @param nRows,nCols,nElements  sizes.
 *  @param objective  [nCols], null for 0.
 *  @param rowLower,rowUpper  [nRows], null for -1e31 and 1e31; a bound of that size means none.
 *  @param colLower,colUpper  [nCols], null for 0 and 1e31.
 *  @param rows,cols,elements  [nElements] triplets, indices from 1; a row of stage r holds columns of stages up to r.
 *  @param ...  for problem type 2, one const double *: the diagonal [nCols] of the quadratic objective.
 *  @return 0; 2 after a message. */
QRT_API int qrts_createCore(QRTStoch *stoch, int nStages, const int *rowStages, const int *colStages, int nRows, int nCols,
                            int nElements, const double *objective, const double *rowLower, const double *rowUpper,
                            const double *colLower, const double *colUpper, const int *rows, const int *cols,
                            const double *elements, ...);
/** @brief Adds scenario number `scenario`, which must be the next one; a number that exists only changes its weight.
 *  @param ancestor  scenario it departs from, 0 for the root.
 *  @param stage  first stage of its own; 2 for ancestor 0.
 *  @param probability  weight, not negative; weights need not sum to 1.
 *  @param notRead  not read.
 *  @param nRows,nCols  sizes of the core.
 *  @param objective,rowLower,rowUpper,colLower,colUpper  dense vectors in input order, null for no entries.
 *  @param rows,cols,elements  [nElements] triplets, indices from 1.
 *  @param replace  0: all values are differences from the core. 1: they are absolute, and a lower bound or cost of 0
 *  and an upper bound of 1e31 mean "as the core".
 *  @return 0; 2 after a message, and then the object is as before. */
QRT_API int qrts_addScenario(QRTStoch *stoch, int scenario, int ancestor, int stage, double probability, int notRead, int nRows,
                             int nCols, int nElements, const double *objective, const double *rowLower, const double *rowUpper,
                             const double *colLower, const double *colUpper, const int *rows, const int *cols,
                             const double *elements, int replace);
/** @brief 1 a linear core, 2 one with a quadratic diagonal; before qrts_createCore(). @return 0; 2 for a bad handle. */
QRT_API int qrts_setCoreProblemType(QRTStoch *stoch, int type);
/** @brief Reads core and scenarios from a record file into an object without data. The file stays open: scenarios added
 *  later go into it. Names and integer marks are not part of it. An object that has data already ends the process with
 *  exit(999), and a file that can't be read with exit(2).
 *  @return 0, also for a file that holds a core alone; 1 when its contents contradict one another; 2 for a bad handle. */
QRT_API int qrts_readNativeData(QRTStoch *stoch, const char *file);
/** @brief Saves core and scenarios under a name. An object that owns its data moves its file there and goes on working
 *  with it; one that shares them writes a new file. @return 0; 1 or 2 on failure. */
QRT_API int qrts_writeNativeData(QRTStoch *stoch, const char *file);
/** @brief Writes the program as an SMPS triple in fixed format, every scenario explicit, rows and columns in stage order.
 *
 *  Names read from files are kept, cut to 8 characters; where that makes two the same, and for programs that came by calls, they
 *  are R0000001, C0000001, STG00001, SCEN0001 and so on. Numbers of the stoch file have six digits, differences up to 1e-06
 *  are left out. Weights are those given, or those of qrts_generateSamples() when it came later. The format has one
 *  value for both sides of a row, no integer marks here, and no quadratic objective: message 501 tells what is lost.
 *  @param type  1 to 3, without further effect.
 *  @param mode  1: values in force, under REPLACE. Else differences from the core, under ADD.
 *  @param core,time,sto  files; each is written beside its place, and they replace what stands there once all are whole.
 *  @return 0; 2 after a message, also for a disk that is full; or the code of qrt_exportModel() when the core can't be
 *  written. What stood there then remains. */
QRT_API int qrts_outMatrixSMPS(QRTStoch *stoch, int type, int mode, const char *core, const char *time, const char *sto);
/** @brief Writes the described model as one MPS file (qrt_exportModel() with format 1, two pairs a card).
 *  @return 1 after a line on stdout when nothing is described or the name is null; 2 for a bad handle; else as
 *  qrt_exportModel(). */
QRT_API int qrts_outMatrixMPS(QRTStoch *stoch, const char *file);
/** @brief Replaces the probabilities of the scenarios by relative frequencies in `count` uniform draws by rand().
 *
 *  The given probabilities take no part, and a scenario not drawn gets 0. rand() is never seeded here: srand() makes
 *  draws repeatable. Models described later see the new probabilities; the native file keeps the given weights, and a
 *  scenario added later brings all of them back.
 *  @param count  number of draws; up to 0: nothing happens.  @param flag  0; else nothing happens.
 *  @return 0; 2 for a bad handle or without data. */
QRT_API int qrts_generateSamples(QRTStoch *stoch, int count, int flag);

/* ---- sizes ----------------------------------------------------------------------------------------------- */

/** @brief Scenarios; leaves of the described model when there is one. @return -1 without data or for a bad handle. */
QRT_API int qrts_getNumScenarios(QRTStoch *stoch);
/** @brief Nodes of the tree; of the described model when there is one. @return -1 without data or for a bad handle. */
QRT_API int qrts_getNumNodes(QRTStoch *stoch);
/** @brief Stages of the core, 0 without one. @return 2 for a bad handle. */
QRT_API int qrts_getNumStages(QRTStoch *stoch);
/** @brief Rows of the core, 0 without one. @return 2 for a bad handle. */
QRT_API int qrts_getCoreNumrows(QRTStoch *stoch);
/** @brief Columns of the core, 0 without one. @return 2 for a bad handle. */
QRT_API int qrts_getCoreNumcols(QRTStoch *stoch);
/** @brief Rows of the core in a stage, 0 for a stage that does not exist. @return 2 for a bad handle. */
QRT_API int qrts_getNumrowsAtStage(QRTStoch *stoch, int stage);
/** @brief Columns of the core in a stage, 0 for a stage that does not exist. @return 2 for a bad handle. */
QRT_API int qrts_getNumcolsAtStage(QRTStoch *stoch, int stage);

/* ---- deterministic equivalent and direct solve ----------------------------------------------------------- */

/** @brief Issues the size of every node and of the whole equivalent, without building it (messages 464, 465).
 *  @return 0; 2 after a message. */
QRT_API int qrts_estimateLPSize(QRTStoch *stoch);
/** @brief Describes the deterministic equivalent of the whole tree as an ordinary model; an earlier description ends.
 *
 *  Nodes stand in scenario order: the root, then each scenario's own nodes. Within a node rows and columns stand in
 *  stage order. Costs are weighted by node probabilities, which are normalised; nodes of probability 0 are left out.
 *  @param load  non-zero: the model is filled, too. @return number of element blocks; -1 after a message. */
QRT_API int qrts_describeFullModel(QRTStoch *stoch, int load);
/** @brief Describes the model of the listed nodes; their missing ancestors come as virtual nodes, columns fixed at 0.
 *  @param tag  the caller's number.  @param nNodes  entries of the list, 0 for all nodes.
 *  @param nodeList  [nNodes] node numbers from 1.
 *  @param probabilityFlag  non-zero: inner nodes take the sum of the listed leaves as probability.
 *  @return number of element blocks; -1 after a message. */
QRT_API int qrts_describeSubModel(QRTStoch *stoch, int tag, int nNodes, int *nodeList, int probabilityFlag);
/** @brief Fills the described model, once for each description. @return 0; 2 or a store's code on failure. */
QRT_API int qrts_loadBaseModel(QRTStoch *stoch);
/** @brief Solves the described model by the simplex method; describes and loads the whole tree when nothing is.
 *
 *  qrts_getStatus() and qrts_getRobjvalue() give the outcome. The constant of the core's objective is not part of it.
 *  @return 0 when the run ended with a status, 1 without a model, a solver's code of 2 or more on failure. */
QRT_API int qrts_eitherSimplex(QRTStoch *stoch);

/* ---- solutions ------------------------------------------------------------------------------------------- */

/** @brief Issues the nonzero column values (rows 0) or row activities (rows 1) of one stage of a scenario.
 *  @param scenario,stage  from 1.  @return 0; 2 after a message. */
QRT_API int qrts_printNodeSolution(QRTStoch *stoch, int scenario, int stage, int rows);
/** @brief The same for reduced costs and row duals. */
QRT_API int qrts_printNodeDualSolution(QRTStoch *stoch, int scenario, int stage, int rows);
/** @brief Column values (rows 0) or row activities (rows 1) of one stage of a scenario, in the core's order within the
 *  stage; sizes below 1e-08 come as 0.
 *  @param values,indices  [columns or rows of the stage] the caller's: values, and numbers in the model from 0 (-1 for
 *  a node outside it).  @return 0; 2 after a message. */
QRT_API int qrts_getNodeSolution(QRTStoch *stoch, int scenario, int stage, int rows, double *values, int *indices);
/** @brief The same for reduced costs (rows 0) and row duals (rows 1), which carry the node's probability. */
QRT_API int qrts_getNodeDualSolution(QRTStoch *stoch, int scenario, int stage, int rows, double *values, int *indices);
/** @brief All stages of a scenario, one behind the other.
 *  @param values,indices  [columns or rows of the core] the caller's. @return 0; 2 after a message. */
QRT_API int qrts_getScenarioSolution(QRTStoch *stoch, int scenario, int rows, double *values, int *indices);
/** @brief The same for reduced costs and row duals. */
QRT_API int qrts_getScenarioDualSolution(QRTStoch *stoch, int scenario, int rows, double *values, int *indices);
/** @brief Issues the objective value and probability of every scenario, their mean and standard deviation. */
QRT_API int qrts_printObjectiveDistribution(QRTStoch *stoch);
/** @brief Objective values of the first `count` scenarios, each as if it were certain, without the core's constant.
 *  @param ids,probabilities,values  [count] the caller's; a null one ends the process with code 99.
 *  @param mean,deviation  out.  @return 0; 2 after a message. */
QRT_API int qrts_getScenarioDistribution(QRTStoch *stoch, int count, int *ids, double *probabilities, double *values,
                                         double *mean, double *deviation);

/* ---- decomposition --------------------------------------------------------------------------------------- */

/** @brief Cuts the tree at a stage into a master and subproblems; a list that exists is deleted first.
 *  @param stage  from 1; the master holds the stages before it and the first group of subtrees. Groups: as many as
 *  nodes of the stage, but at most qrts_getMaxsubmodels(). A value below 1 ends the process with exit(0).
 *  @return number of models; -1 when the cut fails; 0 when the whole model can't be filled; -2 for a bad handle. */
QRT_API int qrtse_decomposeCutAtStage(QRTStoch *stoch, int stage);
/** @brief Cuts the tree into connected models of at least so many rows, where the tree allows. @return as above. */
QRT_API int qrtse_decomposeCutByRowSize(QRTStoch *stoch, int minNumRows);
/** @brief Cuts the tree into at most so many connected models of about equal size. @return as above. */
QRT_API int qrtse_decomposeCutByNodeSize(QRTStoch *stoch, int maxsubmodels);
/** @brief The submodels of a decomposition, owned by the object. @return null with a warning on stdout when there are
 *  none, and for a bad handle. */
QRT_API QRTStoch **qrts_getSubmodels(QRTStoch *stoch);
/** @brief Number of submodels, -1 without a decomposition. */
QRT_API int qrts_getNsubmodels(QRTStoch *stoch);

/** @brief Solves by the L-shaped method: cut at qrts_getCutPeriod(), one cut a subproblem and cycle.
 *
 *  Ends when the value of the last proposal and the master's estimate differ by less than qrts_getRelOptimalityGap() of
 *  their size, or no subproblem has a new cut; then the solution is gathered into the described model, where the getters
 *  find it, and a simplex solve of the whole follows unless qrts_setFinalSimplexSolverOff(). Afterwards
 *  qrts_getRelOptimalityGap() shows the gap reached; a later run uses the gap last set. The models of the cut are gone.
 *  Without a final solve, on an object that described no model before, the whole model is generated and filled only when
 *  a later call looks at the object: a run in parts then costs the memory of its data.
 *  A run that ends at qrts_getMaxiter() leaves as objective value the master's bound, not the value of the point gathered.
 *  @param mode  1 starts from the solution of the described model, 0 afresh; any other value ends the process with exit(0).
 *  @return 0; 1 without a valid cut (status 3) or when a model did not solve; a solver's code of 2 or more. */
QRT_API int qrts_bendersLSolve(QRTStoch *stoch, int mode);

/** @brief Solves by nested decomposition, over a tree of models of any depth.
 *
 *  Without a list of submodels the tree is cut first; a list made by one of the functions above is used as it stands and
 *  kept, with its cuts, for the next run. Ends when, at the root, the children's cost and the estimate of it differ by less
 *  than qrts_getRelOptimalityGap() of their size (plus 0.1), or no model has a new cut; solution and final solve are then as
 *  for qrts_bendersLSolve(). Afterwards qrts_getRelOptimalityGap() shows the absolute gap of the last check, qrts_getStatus()
 *  0 optimal, 1 infeasible, 2 stopped after qrts_getMaxiter() cycles or by a callback, 3 no valid cut, 4 or 8 unbounded,
 *  -1 a subproblem did not solve; the algorithm set is 1. A run that was stopped leaves a bound as objective value, not the
 *  value of the point gathered.
 *
 *  @warning An infeasible or unbounded program issues message 7453 or 7454, which ends the process unless the caller has
 *  raised its limit (qrt_mset()).
 *  @param stoch  the program.
 *  @param cutstrategy  1 cuts at qrts_getCutPeriod(), 2 by qrts_getMinNumRows(), which has no usable default, 3 into at most
 *  qrts_getMaxsubmodels() models, 100 when that was never set. Another value ends the process with exit(0).
 *  @param mode  0 or 1, without effect; any other value ends the process with exit(0).
 *  @return 0; 1 when a model did not solve; a solver's code of 2 or more. */
QRT_API int qrtse_nestedLSolve(QRTStoch *stoch, int cutstrategy, int mode);

/** @brief What a cycle of a decomposition tells. */
typedef struct QRTSCycle {
  int cycle;       /**< from 1 */
  double lower;    /**< proven lower bound on the optimum; -1e31 while there is none */
  double upper;    /**< proven upper bound; 1e31 while there is none */
  double gap;      /**< relative, of the method's own test; 1e31 while there is none */
  int cuts;        /**< added in this cycle */
  int totalCuts;   /**< since the method began */
  double seconds;  /**< process time since the method began */
} QRTSCycle;
/** @brief Called after each cycle with data that live as long as the call. @return non-zero to end the run there with
 *  status 3 (nested decomposition: 2) and the solution gathered. */
typedef int (*QRTSCycleCallBack)(const QRTSCycle *cycle, void *data);
/** @brief Registers the function that each cycle of the object is told to, null for none. */
QRT_API void qrts_setCycleCallBack(QRTStoch *stoch, QRTSCycleCallBack callback, void *data);
/** @brief Lets qrts_bendersLSolve() and qrtse_nestedLSolve() leave their state in a file: bounds, proposals, every cut; the
 *  nested method also the basis of each model.
 *
 *  It is written every so many cycles and whenever the run ends, also when a model does not solve; the file takes its name
 *  only when it is whole. A subproblem that does not solve is written beside it as "<file>.sub<model>.mps", with a line on
 *  stdout (minimised, its costs divided by its probability).
 *  @param file  copied; null ends it.  @param every  cycles, at least 1.  @return 0; 2 for a bad handle or number. */
QRT_API int qrts_setSaveState(QRTStoch *stoch, const char *file, int every);
/** @brief Lets the next runs go on from such a state of the same method, program, sense and cut; the file may be the one that
 *  states go to. A nested run on a kept list gives the list's own cuts up for those of the state. A file that is cut off,
 *  damaged or of another program is refused: a text on stdout, and the run returns 2 and has changed nothing.  @param file  copied; null ends it.  @return 0; 2 for a bad handle. */
QRT_API int qrts_setResumeState(QRTStoch *stoch, const char *file);

/** @brief Traces the optimum of the described model while costs and bounds move along given directions.
 *
 *  The described model is solved at Rslambda with its rim moved by Rslambda times the directions, and again after each
 *  step of Rslambdadelta up to Rslambdalim, which belongs to the range. The three controls are those of the described
 *  model (qrtse_getCurrentModel()), which takes them from the base model when it is described; without a described model
 *  the whole tree is described and loaded first. While `fn` runs, qrt_getRslambda() tells the present value; afterwards it is as
 *  before. The rim stays where the last step left it; absent bounds stay absent.
 *  @param parobj,parcollower,parcolupper  [columns of the described model] changes per unit of lambda.
 *  @param parrowlower,parrowupper  [rows of the described model].
 *  @param mask  which of them move, a sum: 1 parobj, 2 parrowlower, 4 parrowupper, 8 parcollower, 16 parcolupper; the
 *  others may be null. 0 does nothing.
 *  @param fn  called after each solve with the described model, whose status at this lambda may be any; a result of 2 or
 *  more ends the run. Null prints lambda and status on stdout; then the step must be above 0.
 *  @return 0; 2 after a message (a selected vector that is null, a mask that is no such sum, a step that never ends);
 *  else the code of 2 or more of the solve or the call-back that ended the run. */
QRT_API int qrtse_solveParametricModel(QRTStoch *stoch, double *parobj, double *parrowlower, double *parrowupper,
                                       double *parcollower, double *parcolupper, int mask, int (*fn)(QRTModel *model));
/** @brief The same with directions given once over the core and spread to every node: costs weighted by the node's
 *  probability, bounds as they are.
 *  @param cdelta,lcdelta,ucdelta  [columns of the core], in the order in which the core was given.
 *  @param lrdelta,urdelta  [rows of the core].
 *  @param mask  1 cdelta, 2 lrdelta, 4 urdelta, 8 lcdelta, 16 ucdelta.  @param fn  as above.  @return as above. */
QRT_API int qrts_solveParametricCoreModel(QRTStoch *stoch, double *cdelta, double *lrdelta, double *urdelta, double *lcdelta,
                                          double *ucdelta, int mask, int (*fn)(QRTModel *model));

/** @brief A user exit; which arguments it gets depends on the exit. */
typedef int (*QRTSUserExit)(void *first, void *second);
/** @brief Registers a user exit: *which 11 is told of each solve of a subproblem (int *cycle, int *solves so far), 12 of
 *  each gap test (double *gap, null). Other numbers store nothing. @return *which. */
QRT_API int qrts_rgcb(int *which, QRTSUserExit function);
/** @brief Clears it again. @return *which. */
QRT_API int qrts_clcb(int *which);
/** @brief The exits in force while none is registered; they do nothing. An application's functions of these names take
 *  their place. @return 0. */
QRT_USER_EXIT int QRTSBNDU1(int *cycle, int *solves);
/** @brief The exit told of each gap test; see QRTSBNDU1(). @return 0. */
QRT_USER_EXIT int QRTSBNDU2(double *gap);
/** @brief Cover of QRTSBNDU1(). */
QRT_API int qrtsbndu1(int *cycle, int *solves);
/** @brief Cover of QRTSBNDU2(). */
QRT_API int qrtsbndu2(double *gap);
/** @brief Cover of QRTSBNDU1(). */
QRT_API int qrtsbndu1_(int *cycle, int *solves);
/** @brief Cover of QRTSBNDU2(). */
QRT_API int qrtsbndu2_(double *gap);

/* ---- options (a bad handle is ignored; getters then give 0) ---------------------------------------------- */

/** @brief Traces entries and checks on stdout. */
QRT_API void qrts_setDebugOn(QRTStoch *stoch);
/** @brief Ends the trace: the default. */
QRT_API void qrts_setDebugOff(QRTStoch *stoch);
/** @brief Ends a decomposition with a simplex solve of the whole model: the default. */
QRT_API void qrts_setFinalSimplexSolverOn(QRTStoch *stoch);
/** @brief Ends a decomposition without it. */
QRT_API void qrts_setFinalSimplexSolverOff(QRTStoch *stoch);
/** @brief Asks for the parallel form of nested decomposition. */
QRT_API void qrtse_setParallelOn(QRTStoch *stoch);
/** @brief The same when the message layer has been started by the caller. */
QRT_API void qrtse_setParallelOnAfterVM(QRTStoch *stoch);
/** @brief Nested decomposition in one process: the default. */
QRT_API void qrtse_setParallelOff(QRTStoch *stoch);
/** @brief Stage at which a decomposition cuts the tree; 2 by default. */
QRT_API int qrts_getCutPeriod(QRTStoch *stoch);
/** @brief Sets it; a negative value is left unstored. */
QRT_API void qrts_setCutPeriod(QRTStoch *stoch, int v);
/** @brief Fewest rows of a submodel; 0 by default. */
QRT_API int qrts_getMinNumRows(QRTStoch *stoch);
/** @brief Sets it; a negative value is left unstored. */
QRT_API void qrts_setMinNumRows(QRTStoch *stoch, int v);
/** @brief Most submodels of a decomposition; 999999 by default. */
QRT_API int qrts_getMaxsubmodels(QRTStoch *stoch);
/** @brief Sets it; values below 1 are left unstored. */
QRT_API void qrts_setMaxsubmodels(QRTStoch *stoch, int v);
/** @brief Most cycles of a decomposition method; 100 by default. */
QRT_API int qrts_getMaxiter(QRTStoch *stoch);
/** @brief Sets it; a negative value is left unstored. */
QRT_API void qrts_setMaxiter(QRTStoch *stoch, int v);
/** @brief Scales models before a solve (see qrt_scale()). */
QRT_API void qrts_setScaleOn(QRTStoch *stoch);
/** @brief Solves models unscaled: the default. */
QRT_API void qrts_setScaleOff(QRTStoch *stoch);
/** @brief Presolves with type 1 to 3; another value is warned of on stdout and taken as 1. */
QRT_API void qrts_setPresolve(QRTStoch *stoch, int v);
/** @brief No presolve: the default. */
QRT_API void qrts_setPresolveOff(QRTStoch *stoch);
/** @brief Crashes before a direct solve with type 1 to 4 (see qrt_crash()); another value is warned of on stdout and
 *  taken as 1. A crash runs only while qrts_getMaxiter() is 0. */
QRT_API void qrts_setCrash(QRTStoch *stoch, int v);
/** @brief No crash: the default. */
QRT_API void qrts_setCrashOff(QRTStoch *stoch);
/** @brief Simplex algorithm, 0 to 2: 0 as the library chooses (default); another value is warned of and taken as 0. */
QRT_API void qrts_setSimplexAlg(QRTStoch *stoch, int v);
/** @brief Puts large bounds on free columns of a decomposition's models. */
QRT_API void qrts_setLargeBoundsOn(QRTStoch *stoch);
/** @brief Leaves them free: the default. */
QRT_API void qrts_setLargeBoundsOff(QRTStoch *stoch);
/** @brief Minimises: the default. */
QRT_API void qrts_setMinimize(QRTStoch *stoch);
/** @brief Maximises. */
QRT_API void qrts_setMaximize(QRTStoch *stoch);
/** @brief Relative optimality gap at which a decomposition stops; 1e-08 by default. */
QRT_API double qrts_getRelOptimalityGap(QRTStoch *stoch);
/** @brief Sets it; a value outside (1e-16, 1) is warned of on stdout and left unstored. */
QRT_API void qrts_setRelOptimalityGap(QRTStoch *stoch, double v);
/** @brief Status of the last solve: 0 optimal, 1 infeasible, 2 unbounded, 3 and above stopped; -1 before any. */
QRT_API int qrts_getStatus(QRTStoch *stoch);
/** @brief Objective value of the last solve, without the constant of the core's objective row. */
QRT_API double qrts_getRobjvalue(QRTStoch *stoch);

/* ---- event trees ----------------------------------------------------------------------------------------- */

/** @brief New tree holding its first sample.
 *  @param events  [nStages] event codes, one a stage after the root; copied.
 *  @param maxSamples  the most samples it will take.
 *  @param probability  weight of the sample.
 *  @return the tree, owned by the caller (qrts_deleteTree()); null for no stages or no events. */
QRT_API QRTTree *qrts_createScenarioTree(const int *events, int nStages, int maxSamples, double probability);
/** @brief Adds a sample. A vector equal to an earlier one is the same scenario, and the weights add.
 *  @return the scenario number of the sample; -1 with message 7426 when the table is full; 2 for a bad handle, and
 *  for a vector that is null or shorter than the tree's. */
QRT_API int qrts_addEventToTree(QRTTree *tree, const int *events, int nStages, double probability);
/** @brief Reads a sample.
 *  @param index  from 0, in the order of the samples.
 *  @param[out] ancestor  scenario it departs from, 0 for branching stage 1.
 *  @param[out] stage  branching stage, counted without the root.
 *  @param[out] probability  sum of the weights of the scenario's samples.
 *  @param[out] number  scenario number.
 *  @param[out] events  the event vector [nStages], owned by the tree.
 *  @return 0; 1 with message 7426 when there is no such sample; 2 for a bad handle. Outputs may be null. */
QRT_API int qrts_getScenarioFromTree(QRTTree *tree, int index, int *ancestor, int *stage, double *probability, int *number,
                                     int **events);
/** @brief Deletes a tree. @return 0; 2 for a bad handle. */
QRT_API int qrts_deleteTree(QRTTree *tree);

#ifdef __cplusplus
}
#endif
#endif
