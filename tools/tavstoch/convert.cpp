// tavstoch convert: a linear program from an MPS file to another form of it, a stochastic one between triples and native
// files. tavstoch sample: a stochastic program with probabilities drawn anew.
#include <fmt/core.h>

#include <cstdlib>
#include <memory>

#include "command.h"
#include "failure.h"
#include "session.h"
#include "mps_model.h"
#include "stoch_program.h"

namespace {

// What the library says of a target that it could not write, or a plain line.
BadInput cannotWrite(Session &session, const std::string &target) {
  const std::string complaint = session.complaint();
  return BadInput(target + ": cannot be written" + (complaint.empty() ? "" : ": " + complaint));
}

void tellWritten(Session &session, const Options &options, QRTStoch *stoch, const std::string &target) {
  if (options.quiet) return;
  fmt::print(session.output(), "written    {}: {} stages, {} scenarios, {} nodes\n", target, qrts_getNumStages(stoch),
             qrts_getNumScenarios(stoch), qrts_getNumNodes(stoch));
  for (const std::string &text : session.strayings())
    if (text.rfind("SMPS files: ", 0) == 0) fmt::print(session.output(), "lost       {}\n", text.substr(12));
}

// The last three of the options' files.
void writeTriple(Session &session, const Options &options, QRTStoch *stoch) {
  constexpr int scenarioForm = 1, values = 1, differences = 0;
  const std::string *target = options.files.data() + options.files.size() - 3;
  session.progress.phase("writing " + target[2]);
  const int code = qrts_outMatrixSMPS(stoch, scenarioForm, options.add ? differences : values, target[0].c_str(), target[1].c_str(),
                                      target[2].c_str());
  session.progress.done();
  if (code != 0) throw cannotWrite(session, target[0] + ", " + target[1] + ", " + target[2]);
  tellWritten(session, options, stoch, target[0] + ", " + target[1] + ", " + target[2]);
}

int convertStochastic(Session &session, const Options &options) {
  Options reading = options;
  if (!options.native) {
    reading.core = options.files[0];
    reading.time = options.files[1];
    reading.stoch = options.files[2];
  }
  const std::unique_ptr<StochProgram> program(options.native ? new StochProgram(session, reading, options.files[0])
                                                             : new StochProgram(session, reading));
  if (options.native || options.files.size() == 6) {
    writeTriple(session, options, program->handle());
    return EXIT_SOLVED;
  }
  const std::string &target = options.files[3];
  session.progress.phase("writing " + target);
  const int code = qrts_writeNativeData(program->handle(), target.c_str());
  session.progress.done();
  if (code != 0) throw cannotWrite(session, target);
  tellWritten(session, options, program->handle(), target);
  return EXIT_SOLVED;
}

int convertLinear(Session &session, const Options &options) {
  const std::string &source = options.files[0], &target = options.files[1];
  QRTModel *model = readMps(session, source, options.free, false);
  const int written = qrt_exportModel(model, target.c_str(), options.binary ? 2 : 1, options.pairs);
  if (written != 0) throw cannotWrite(session, target);
  FILE *out = session.output();
  if (!options.quiet)
    fmt::print(out, "written    {}: {} rows, {} columns, {} elements, {} integer\n", target, qrt_getInumrows(model),
               qrt_getInumcols(model), qrt_getInumels(model), qrt_getInumints(model));
  return EXIT_SOLVED;
}

}  // namespace

int runConvert(Session &session, const Options &options) {
  return options.files.size() == 2 ? convertLinear(session, options) : convertStochastic(session, options);
}

int runSample(Session &session, const Options &options) {
  StochProgram program(session, options);
  QRTStoch *stoch = program.handle();
  std::srand(options.seed);
  if (qrts_generateSamples(stoch, options.draws, 0) != 0) throw InternalFailure("no draw: " + session.complaint());
  writeTriple(session, options, stoch);
  return EXIT_SOLVED;
}
