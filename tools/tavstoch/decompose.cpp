// The solve by cycles between a master and subproblems, with its history.
#include "decompose.h"

#include <fmt/core.h>

#include <cstdlib>

#include "failure.h"

namespace {

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

}  // namespace

int cutStage(const std::string &cut) {
  if (cut.empty()) return 2;
  const std::string head = "stage:";
  char *end = nullptr;
  const long stage = cut.compare(0, head.size(), head) == 0 ? std::strtol(cut.c_str() + head.size(), &end, 10) : 0;
  if (!end || *end || stage < 2 || stage > 1000000) throw BadInput("--cut " + cut + ": the L-shaped method cuts at stage:K, K from 2");
  return int(stage);
}

int solveByCycles(const Options &options, const StochProgram &program, CycleHistory &history) {
  QRTStoch *stoch = program.handle();
  const int stage = cutStage(options.cut);
  if (stage > qrts_getNumStages(stoch)) throw BadInput(fmt::format("--cut {}: the program has {} stages", options.cut, qrts_getNumStages(stoch)));
  qrts_setCutPeriod(stoch, stage);
  qrts_setMaxiter(stoch, options.cycles);
  qrts_setRelOptimalityGap(stoch, options.gap);
  if (options.noFinal) qrts_setFinalSimplexSolverOff(stoch);
  qrts_setCycleCallBack(stoch, tell, &history);
  if (!options.saveState.empty()) qrts_setSaveState(stoch, options.saveState.c_str(), options.saveEvery);
  if (!options.resume.empty()) qrts_setResumeState(stoch, options.resume.c_str());
  const int code = qrts_bendersLSolve(stoch, 0);
  if (code == 2 && !options.resume.empty() && history.cycles.empty()) throw BadInput("--resume " + options.resume + ": the state cannot be used");
  qrts_setCycleCallBack(stoch, nullptr, nullptr);
  if (code == 1 && history.cycles.empty()) throw BadInput("the tree has no two parts at this cut: solve it by --method direct");
  return code;
}
