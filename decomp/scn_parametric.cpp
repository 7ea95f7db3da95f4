// Parametric solve: costs and bounds of the described model move along a direction, and a caller sees the optimum at
// each step.
//
//     rim(lambda) = rim + lambda * direction,    lambda = Rslambda, + Rslambdadelta, ... up to Rslambdalim
//
// The controls are those of the described model, which took them from the base model when it was described. Rims are
// moved in place and stay where the last step left them.
#include "decomp/scn_parametric.h"

#include <cmath>
#include <cstdio>
#include <cstdlib>

#include "frame/messages.h"
#include "model/model_store.h"
#include "stoch/scn_generation.h"

namespace {

constexpr int FROM_VALUES = 3;  // the primal starts from the last solution
constexpr int GO_ON = 0;        // the dual from the last basis

// One array of the rim and how it moves.
struct Movement {
  double *rim;            // [count] of the model
  const double *along;    // [count]
  int count;
};

// An absent bound stays absent: a sum would bring it into reach of a later, smaller test.
void move(const Movement &m, double step) {
  for (int k = 0; k < m.count; ++k)
    if (std::fabs(m.rim[k]) < QRT_INFINITE_TEST) m.rim[k] += step * m.along[k];
}

// The selected arrays; their number.
int movements(QRTModel *model, const ParametricDirection &d, int mask, Movement *out) {
  const int at = model->Imaxrows, n = model->Inumcols, m = model->Inumrows;
  int count = 0;
  if (mask & MOVE_OBJECTIVE) out[count++] = {model->objective + at, d.objective, n};
  if (mask & MOVE_COL_LOWER) out[count++] = {model->lower + at, d.colLower, n};
  if (mask & MOVE_COL_UPPER) out[count++] = {model->upper + at, d.colUpper, n};
  if (mask & MOVE_ROW_LOWER) out[count++] = {model->lower, d.rowLower, m};
  if (mask & MOVE_ROW_UPPER) out[count++] = {model->upper, d.rowUpper, m};
  return count;
}

struct VectorName {
  int bit;
  const double *ParametricDirection::*vector;
  const char *name;
};
// In the order in which they are tested.
const VectorName MODEL_VECTORS[] = {{MOVE_OBJECTIVE, &ParametricDirection::objective, "parobj"},
                                    {MOVE_COL_LOWER, &ParametricDirection::colLower, "parcollower"},
                                    {MOVE_COL_UPPER, &ParametricDirection::colUpper, "parcolupper"},
                                    {MOVE_ROW_LOWER, &ParametricDirection::rowLower, "parrowlower"},
                                    {MOVE_ROW_UPPER, &ParametricDirection::rowUpper, "parrowupper"}};
const VectorName CORE_VECTORS[] = {{MOVE_OBJECTIVE, &ParametricDirection::objective, "cdelta[]"},
                                   {MOVE_COL_LOWER, &ParametricDirection::colLower, "lcdelta[]"},
                                   {MOVE_COL_UPPER, &ParametricDirection::colUpper, "ucdelta[]"},
                                   {MOVE_ROW_LOWER, &ParametricDirection::rowLower, "lrdelta[]"},
                                   {MOVE_ROW_UPPER, &ParametricDirection::rowUpper, "urdelta[]"}};

int refuseNull(const VectorName (&vectors)[5], const ParametricDirection &direction, int mask) {
  for (const VectorName &v : vectors)
    if ((mask & v.bit) && !(direction.*v.vector)) {
      printf("\n ERROR ! %s vector is NULL.\n", v.name);
      return 2;
    }
  return 0;
}

int refuseMask(int mask) {
  if (mask >= 0 && mask <= MOVE_ALL) return 0;
  printf("\n ERROR ! mask must be a sum of 1, 2, 4, 8 and 16.\n");
  return 2;
}

// A model with its matrix: described and loaded when it is not yet. 0, or 2 after a message.
int needModel(QRTStoch *stoch, const char *caller) {
  if (!stoch->smodel) {
    printf("\n No Stochastic Model has been described. Invoking qrts_describeFullModel(stoch,1).\n");
    if (qrts_describe2FullModel(stoch, 0, 1) < 0) return 2;
  }
  QRTModel *model = stoch->smodel ? stoch->smodel->model : nullptr;
  if (!model || qrt_validateModel(model) != 0) {
    messageC(1, caller);
    stochMessage(MSG_MODEL_INVALID);
    return 2;
  }
  return model->Inumblocks == 0 && qrts_load2BaseModel(stoch, 1) >= 2 ? 2 : 0;
}

// Nothing but a call-back can end a run whose lambda does not come nearer to its limit.
bool endsByItself(double lambda, double step, double limit) { return lambda + step > lambda && limit + step > limit; }

int report(QRTModel *model, double lambda, ParametricCallBack fn) {
  qrt_setRslambda(model, lambda);
  if (fn) return fn(model);
  printf("\n ****(NULL function poniter) lambda = %f, IPROBSTAT = %d\n", lambda, qrt_getIprobstat(model));
  return 0;
}

struct Step {
  int code;       // of the solve
  bool ends;      // the run ends with `result`
  int result;
};

Step solveAndReport(QRTModel *model, bool byDual, double lambda, ParametricCallBack fn) {
  const int code = byDual ? qrt_dualSimplex(model, GO_ON) : qrt_primalSimplex(model, FROM_VALUES);
  if (code >= 2) return {code, true, code};
  const int told = report(model, lambda, fn);
  return {code, told >= 2, told};
}

int runLoop(QRTModel *model, const Movement *moves, int count, bool rowsOnly, ParametricCallBack fn) {
  double lambda = qrt_getRslambda(model);
  const double step = qrt_getRslambdadelta(model), stop = qrt_getRslambdalim(model) - step;
  // Sums of a step such as 0.1 miss the limit by rounding; the last value belongs to the range.
  const double slack = step > 0.0 ? 1e-9 * step : 0.0;
  if (lambda != 0.0)
    for (int k = 0; k < count; ++k) move(moves[k], lambda);
  Step last = solveAndReport(model, false, lambda, fn);
  while (!last.ends && lambda <= stop + slack) {
    lambda += step;
    for (int k = 0; k < count; ++k) move(moves[k], step);
    last = solveAndReport(model, rowsOnly, lambda, fn);  // moved row bounds alone leave the basis dual feasible
  }
  return last.ends ? last.result : last.code;
}

int loadDirection(QRTModel *model, const ParametricDirection &d, int mask) {
  const auto chosen = [mask](int bit, const double *vector) { return mask & bit ? vector : nullptr; };
  return qrt_loadParametricData(model, chosen(MOVE_OBJECTIVE, d.objective), chosen(MOVE_ROW_LOWER, d.rowLower),
                                chosen(MOVE_ROW_UPPER, d.rowUpper), chosen(MOVE_COL_LOWER, d.colLower),
                                chosen(MOVE_COL_UPPER, d.colUpper));
}

// Core vectors over all nodes of the described model. Vectors point into the one block, which is the caller's to free.
struct Spread {
  double *block;
  double *objective, *rowLower, *rowUpper, *colLower, *colUpper;
};

Spread makeSpread(const StochModel *smodel, int mask) {
  const int64_t n = smodel->nCols, m = smodel->nRows;
  const int64_t size = 1 + n * ((mask & 1) + (mask >> 3 & 1) + (mask >> 4)) + m * ((mask >> 1 & 1) + (mask >> 2 & 1));
  Spread s = {static_cast<double *>(qrts__alloc("qrts_CsparCore", size * int64_t(sizeof(double)), 0)),
              nullptr, nullptr, nullptr, nullptr, nullptr};
  double *at = s.block;
  const auto take = [&at, mask](int bit, int64_t length) {
    double *const begin = at;
    if (mask & bit) at += length;
    return begin;
  };
  s.objective = take(MOVE_OBJECTIVE, n);
  s.colLower = take(MOVE_COL_LOWER, n);
  s.colUpper = take(MOVE_COL_UPPER, n);
  s.rowLower = take(MOVE_ROW_LOWER, m);
  s.rowUpper = take(MOVE_ROW_UPPER, m);
  return s;
}

// A node's part of a vector given in input order.
void spreadColumns(const CoreData *core, const TreeNode &node, const double *given, double factor, double *out) {
  for (int k = 1; k <= node.nCols; ++k)
    out[colLocalToModel(&node, k)] = factor * given[colSortedToInput(core, colLocalToSorted(core, node.stage, k)) - 1];
}
void spreadRows(const CoreData *core, const TreeNode &node, const double *given, double *out) {
  for (int k = 1; k <= node.nRows; ++k)
    out[rowLocalToModel(&node, k)] = given[rowSortedToInput(core, rowLocalToSorted(core, node.stage, k)) - 1];
}

void spreadNode(const CoreData *core, const TreeNode &node, const ParametricDirection &given, int mask, const Spread &s) {
  if (node.isVirtual) return;  // its columns are fixed and cost nothing
  if (mask & MOVE_OBJECTIVE) spreadColumns(core, node, given.objective, node.probability, s.objective);
  if (mask & MOVE_COL_LOWER) spreadColumns(core, node, given.colLower, 1.0, s.colLower);
  if (mask & MOVE_COL_UPPER) spreadColumns(core, node, given.colUpper, 1.0, s.colUpper);
  if (mask & MOVE_ROW_LOWER) spreadRows(core, node, given.rowLower, s.rowLower);
  if (mask & MOVE_ROW_UPPER) spreadRows(core, node, given.rowUpper, s.rowUpper);
}

}  // namespace

int qrts_CsparSolve(QRTStoch *stoch, const ParametricDirection &direction, int mask, ParametricCallBack fn) {
  QRTModel *model = stoch->smodel->model;
  const double start = qrt_getRslambda(model);
  if (!fn && !endsByItself(start, qrt_getRslambdadelta(model), qrt_getRslambdalim(model))) {
    printf("\n ERROR ! Rslambdadelta must be above 0 when no function can end the run.\n");
    return 2;
  }
  Movement moves[5];
  const int count = movements(model, direction, mask, moves);
  const bool rowsOnly = (mask & ~(MOVE_ROW_LOWER | MOVE_ROW_UPPER)) == 0;
  const int code = runLoop(model, moves, count, rowsOnly, fn);
  qrt_setRslambda(model, start);
  stoch->status = qrt_getIprobstat(model);
  stoch->robjvalue = qrt_getRobjvalue(model);
  return code;
}

int qrts_Cspar(QRTStoch *stoch, const ParametricDirection &direction, int mask, ParametricCallBack fn) {
  if (mask == 0) return 0;
  if (refuseMask(mask)) return 2;
  if (needModel(stoch, "qrtse_solveParametricModel") || refuseNull(MODEL_VECTORS, direction, mask)) return 2;
  const int code = loadDirection(stoch->smodel->model, direction, mask);
  return code >= 2 ? code : qrts_CsparSolve(stoch, direction, mask, fn);
}

int qrts_CsparCore(QRTStoch *stoch, const ParametricDirection &core, int mask, ParametricCallBack fn) {
  if (mask == 0) return 0;
  if (refuseMask(mask)) return 2;
  if (needModel(stoch, "qrts_solveParametricCoreModel") || refuseNull(CORE_VECTORS, core, mask)) return 2;
  const StochModel *smodel = stoch->smodel;
  const Spread spread = makeSpread(smodel, mask);
  for (int k = 0; k < smodel->nodeList->nNodes; ++k) spreadNode(stoch->sdata->core, smodel->nodeList->nodes[k], core, mask, spread);
  const ParametricDirection whole = {spread.objective, spread.rowLower, spread.rowUpper, spread.colLower, spread.colUpper};
  int code = loadDirection(smodel->model, whole, mask);
  if (code < 2) code = qrts_CsparSolve(stoch, whole, mask, fn);
  free(spread.block);
  return code;
}
