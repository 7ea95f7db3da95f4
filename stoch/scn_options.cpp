// Options of a QRTStoch: scalar setters and getters, and carrying them over to the models of a decomposition. None of
// these has an entry frame or a message; out-of-range values are warned of on stdout or left unstored, and a handle that
// is not alive is left alone.
#include "include/qrts_c_api.h"

#include <cstdio>

#include "stoch/scn_object.h"

namespace {

int inRangeOrDefault(int value, int low, int high, int fallback, const char *option) {
  if (value >= low && value <= high) return value;
  printf("\n Warning ! Invalid '%s' value specified.  Valid range is [%d,%d]. A value of '%d' assumed.\n", option, low,
         high, fallback);
  return fallback;
}

void printOptions(const char *when, const QRTStoch *source, const QRTStoch *target) {
  fputs(when, stdout);
  struct {
    const char *name;
    int source, target;
  } const integers[] = {{"maxiter       ", source->maxiter, target->maxiter},
                        {"ifDebug       ", source->ifDebug, target->ifDebug},
                        {"ifScale       ", source->ifScale, target->ifScale},
                        {"ifPresolve    ", source->ifPresolve, target->ifPresolve},
                        {"ifCrash       ", source->ifCrash, target->ifCrash},
                        {"alg           ", source->alg, target->alg},
                        {"ifLargeBounds ", source->ifLargeBounds, target->ifLargeBounds}};
  for (const auto &option : integers) {
    printf("\n src->%s%d  \n", option.name, option.source);
    printf("\n target->%s  %d  \n", option.name, option.target);
  }
  printf("\n src->optmaxmin     %f  \n", source->optmaxmin);
  printf("\n target->optmaxmin       %f  \n", target->optmaxmin);
  printf("\n src->reloptgap     %f  \n", source->reloptgap);
  printf("\n target->reloptgap       %f  \n", target->reloptgap);
}

}  // namespace

void solverOptions_assign(QRTStoch *target, const QRTStoch *source) {
  target->maxiter = source->maxiter;
  target->ifDebug = source->ifDebug;
  target->ifScale = source->ifScale;
  target->ifPresolve = source->ifPresolve;
  target->ifCrash = source->ifCrash;
  target->alg = source->alg;
  target->ifLargeBounds = source->ifLargeBounds;
  target->optmaxmin = source->optmaxmin;
  target->reloptgap = source->reloptgap;
  target->gapAsked = source->gapAsked;
}

void qrts_copy2SolverOptions(QRTStoch *target, const QRTStoch *source) {
  const bool trace = source->ifDebug != 0;
  if (trace) printOptions("\n ****************** Before **********************  ", source, target);
  solverOptions_assign(target, source);
  if (trace) printOptions("\n ****************** After **********************   ", source, target);
}

extern "C" {

void qrts_setDebugOn(QRTStoch *stoch) {
  if (handleLives(stoch)) stoch->ifDebug = 1;
}
void qrts_setDebugOff(QRTStoch *stoch) {
  if (handleLives(stoch)) stoch->ifDebug = 0;
}
void qrts_setFinalSimplexSolverOn(QRTStoch *stoch) {
  if (handleLives(stoch)) stoch->ifFinalSimplex = 1;
}
void qrts_setFinalSimplexSolverOff(QRTStoch *stoch) {
  if (handleLives(stoch)) stoch->ifFinalSimplex = 0;
}
void qrtse_setParallelOn(QRTStoch *stoch) {
  if (handleLives(stoch)) stoch->ifParallel = 1;
}
void qrtse_setParallelOnAfterVM(QRTStoch *stoch) {
  if (handleLives(stoch)) stoch->ifParallel = -1;
}
void qrtse_setParallelOff(QRTStoch *stoch) {
  if (handleLives(stoch)) stoch->ifParallel = 0;
}
void qrts_setLenientOn(QRTStoch *stoch) {
  if (handleLives(stoch)) stoch->lenient = 1;
}
void qrts_setLenientOff(QRTStoch *stoch) {
  if (handleLives(stoch)) stoch->lenient = 0;
}
void qrts_setInheritOn(QRTStoch *stoch) {
  if (handleLives(stoch)) stoch->inherit = 1;
}
void qrts_setInheritOff(QRTStoch *stoch) {
  if (handleLives(stoch)) stoch->inherit = 0;
}

int qrts_getCutPeriod(QRTStoch *stoch) { return handleLives(stoch) ? stoch->cutperiod : 0; }
void qrts_setCutPeriod(QRTStoch *stoch, int v) {
  if (v >= 0 && handleLives(stoch)) stoch->cutperiod = v;
}
int qrts_getMinNumRows(QRTStoch *stoch) { return handleLives(stoch) ? stoch->minNumRows : 0; }
void qrts_setMinNumRows(QRTStoch *stoch, int v) {
  if (v >= 0 && handleLives(stoch)) stoch->minNumRows = v;
}
int qrts_getMaxsubmodels(QRTStoch *stoch) { return handleLives(stoch) ? stoch->maxsubmodels : 0; }
void qrts_setMaxsubmodels(QRTStoch *stoch, int v) {
  if (v > 0 && handleLives(stoch)) stoch->maxsubmodels = v;
}
int qrts_getMaxiter(QRTStoch *stoch) { return handleLives(stoch) ? stoch->maxiter : 0; }
void qrts_setMaxiter(QRTStoch *stoch, int v) {
  if (v >= 0 && handleLives(stoch)) stoch->maxiter = v;
}

void qrts_setScaleOn(QRTStoch *stoch) {
  if (handleLives(stoch)) stoch->ifScale = 1;
}
void qrts_setScaleOff(QRTStoch *stoch) {
  if (handleLives(stoch)) stoch->ifScale = 0;
}
void qrts_setPresolve(QRTStoch *stoch, int v) {
  if (handleLives(stoch)) stoch->ifPresolve = inRangeOrDefault(v, 1, 3, 1, "type");
}
void qrts_setPresolveOff(QRTStoch *stoch) {
  if (handleLives(stoch)) stoch->ifPresolve = 0;
}
void qrts_setCrash(QRTStoch *stoch, int v) {
  if (handleLives(stoch)) stoch->ifCrash = inRangeOrDefault(v, 1, 4, 1, "crash");
}
void qrts_setCrashOff(QRTStoch *stoch) {
  if (handleLives(stoch)) stoch->ifCrash = 0;
}
void qrts_setSimplexAlg(QRTStoch *stoch, int v) {
  if (handleLives(stoch)) stoch->alg = inRangeOrDefault(v, 0, 2, 0, "alg");
}
void qrts_setLargeBoundsOn(QRTStoch *stoch) {
  if (handleLives(stoch)) stoch->ifLargeBounds = 1;
}
void qrts_setLargeBoundsOff(QRTStoch *stoch) {
  if (handleLives(stoch)) stoch->ifLargeBounds = 0;
}
void qrts_setMinimize(QRTStoch *stoch) {
  if (handleLives(stoch)) stoch->optmaxmin = 1.0;
}
void qrts_setMaximize(QRTStoch *stoch) {
  if (handleLives(stoch)) stoch->optmaxmin = -1.0;
}

double qrts_getRelOptimalityGap(QRTStoch *stoch) { return handleLives(stoch) ? stoch->reloptgap : 0; }
void qrts_setRelOptimalityGap(QRTStoch *stoch, double v) {
  if (!handleLives(stoch)) return;
  if (v > 1e-16 && v < 1.0)
    stoch->reloptgap = stoch->gapAsked = v;
  else
    printf("\n Waring ! Invalid 'tolerance' value specified.  Valid range is (0,1). Default setting of 1.0e-08 unchanged.\n");
}
int qrts_getStatus(QRTStoch *stoch) { return handleLives(stoch) ? stoch->status : 0; }
double qrts_getRobjvalue(QRTStoch *stoch) { return handleLives(stoch) ? stoch->robjvalue : 0; }

}  // extern "C"
