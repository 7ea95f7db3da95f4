// The solve by cycles between a master and subproblems, with its history.
#include "decompose.h"

#include <fmt/core.h>

#include "cut.h"
#include "failure.h"

namespace {

const char NO_PARTS[] = "the tree has no two parts at this cut: solve it by --method direct";

std::string bound(double value) { return value <= -1e31 || value >= 1e31 ? "-" : fmt::format("{:.10g}", value); }

int tell(const QRTSCycle *cycle, void *data) {
  CycleHistory *history = static_cast<CycleHistory *>(data);
  history->cycles.push_back(*cycle);
  if (history->lines) {
    fmt::print(history->lines, "cycle {:>5}  bounds {:>16} {:>16}  gap {:>9}  cuts {:>7}  {:.2f} s\n", cycle->cycle, bound(cycle->lower),
               bound(cycle->upper), cycle->gap >= 1e31 ? "-" : fmt::format("{:.2e}", cycle->gap), cycle->cuts, cycle->seconds);
    std::fflush(history->lines);
  }
  return Session::stopAsked();
}

void nameStates(const Options &options, QRTStoch *stoch) {
  if (!options.saveState.empty()) qrts_setSaveState(stoch, options.saveState.c_str(), options.saveEvery);
  if (!options.resume.empty()) qrts_setResumeState(stoch, options.resume.c_str());
}

// A refused state ends a run before its first cycle.
void judgeResume(const Options &options, int code, const CycleHistory &history) {
  if (code == 2 && !options.resume.empty() && history.cycles.empty()) throw BadInput("--resume " + options.resume + ": the state cannot be used");
}

int byLShaped(const Options &options, const StochProgram &program, const CycleHistory &history) {
  QRTStoch *stoch = program.handle();
  const TreeCut cut = cutOf(options.cut.empty() ? "stage:2" : options.cut, program);
  qrts_setCutPeriod(stoch, cut.value);
  nameStates(options, stoch);
  const int code = qrts_bendersLSolve(stoch, 0);
  judgeResume(options, code, history);
  if (code == 1 && history.cycles.empty()) throw BadInput(NO_PARTS);
  return code;
}

int byNested(const Options &options, const StochProgram &program, const CycleHistory &history) {
  const TreeCut cut = cutOf(options.cut.empty() ? "models:100" : options.cut, program);
  if (cutTree(cut, program) < 2) throw BadInput(NO_PARTS);
  constexpr int anyStrategy = 1;  // a list that exists is used as it stands
  nameStates(options, program.handle());
  const int code = qrtse_nestedLSolve(program.handle(), anyStrategy, 0);
  judgeResume(options, code, history);
  return code;
}

// Nested decomposition has codes of its own for a run that a final solve of the whole did not follow.
int plainStatus(const Options &options, int status) {
  constexpr int optimal = 0, unbounded = 2, stopped = 3, unboundedRoot = 4, unboundedBelow = 8, failed = -1;
  if (status == unboundedRoot || status == unboundedBelow) return unbounded;
  if (status == optimal || status == 1 || status == failed) return status;
  return options.noFinal ? stopped : status;
}

}  // namespace

int solveByCycles(const Options &options, const StochProgram &program, CycleHistory &history, int *status) {
  QRTStoch *stoch = program.handle();
  qrts_setMaxiter(stoch, options.cycles);
  qrts_setRelOptimalityGap(stoch, options.gap);
  if (options.noFinal) qrts_setFinalSimplexSolverOff(stoch);
  qrts_setCycleCallBack(stoch, tell, &history);
  const bool nested = options.method == "nested";
  const int code = nested ? byNested(options, program, history) : byLShaped(options, program, history);
  qrts_setCycleCallBack(stoch, nullptr, nullptr);
  *status = nested ? plainStatus(options, qrts_getStatus(stoch)) : qrts_getStatus(stoch);
  return code;
}
