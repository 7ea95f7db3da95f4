// Reading an MPS file for the command.
#include "mps_model.h"

#include "failure.h"
#include "files.h"
#include "smps_text.h"

QRTModel *readMps(Session &session, const std::string &path, bool freeFormat, bool oneObjective, double *seconds) {
  if (requireFile(path)) requireCards(path, "NAME ROWS");  // a pipe can't be looked at before it is read
  QRTModel *model = qrt_newModel(session.context(), "");
  if (!model) throw InternalFailure("no model");
  session.raiseLimits(model);
  if (!oneObjective) qrt_setIoneobj(model, 0);
  session.progress.phase("reading " + path);
  const int code = freeFormat ? qrt_importModelFree(model, path.c_str()) : qrt_importModel(model, path.c_str());
  const double took = session.progress.done();
  if (seconds) *seconds = took;
  if (code >= 2 || code < 0) {
    const std::string complaint = session.complaint();
    throw BadInput(path + ": " + (complaint.empty() ? "the library refuses this file" : complaint));
  }
  session.filesAreRead();
  return model;
}
