// tavstoch convert: a linear program from an MPS file to another form of it.
#include <fmt/core.h>

#include "command.h"
#include "failure.h"
#include "session.h"
#include "smps_text.h"

int runConvert(const Options &options) {
  Session session(options);
  requireCards(options.mps, "NAME ROWS");
  QRTModel *model = qrt_newModel(session.context(), "");
  if (!model) throw InternalFailure("no model");
  session.raiseLimits(model);
  qrt_setIoneobj(model, 0);  // free rows are part of what is converted
  session.progress.phase("reading " + options.mps);
  const int read = options.free ? qrt_importModelFree(model, options.mps.c_str()) : qrt_importModel(model, options.mps.c_str());
  session.progress.done();
  if (read >= 2 || read < 0) {
    const std::string complaint = session.complaint();
    throw BadInput(options.mps + ": " + (complaint.empty() ? "the library refuses this file" : complaint));
  }
  session.filesAreRead();
  const int written = qrt_exportModel(model, options.target.c_str(), options.binary ? 2 : 1, options.pairs);
  if (written != 0) throw BadInput(options.target + ": cannot be written");
  FILE *out = session.output();
  if (!options.quiet)
    fmt::print(out, "written    {}: {} rows, {} columns, {} elements, {} integer\n", options.target, qrt_getInumrows(model),
               qrt_getInumcols(model), qrt_getInumels(model), qrt_getInumints(model));
  return EXIT_SOLVED;
}
