// The driver of SMPS reading: the core file into a work model, then stages, scenarios, expansion, record file.
#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <cstring>

#include "frame/entry_frame.h"
#include "frame/messages.h"
#include "stoch/scn_object.h"
#include "stoch/scn_smps.h"

namespace {

int refused(int index, const char *text) {
  severe(index, text);
  return -1;
}

void refuseSecondReading() {
  printf("****** ERROR:  The QRTStoch object already has data. \n");
  printf("******         Please delete this object and create a new one \n");
  printf("******         before attempting reading of data. \n");
  qrts_endProcess(999);
}

// The core's NAME card; 0, or -1 after a message.
int readNameCard(SmpsReader *reader, const char *coreFile, bool *isFree) {
  if (!textFile_open(&reader->file, coreFile, reader->lenient)) return refused(MSG_CANNOT_READ, coreFile ? coreFile : "");
  int rc = RC_OK;
  qrtstofcof(&rc, reader, isFree);
  textFile_close(&reader->file);
  if (rc == RC_END_OF_FILE) return refused(MSG_PREMATURE_END, "CORE");
  if (rc == RC_CARD_MISSING) {
    messageC(2, "CORE");
    return refused(MSG_EXPECTING, "NAME");
  }
  return 0;
}

// Imports the core into the work model; 0 or -1. In the lenient manner a file that strays is rewritten first.
int importCore(SmpsReader *reader, QRTModel *model, const char *coreFile, bool isFree) {
  char *rewritten = reader->lenient ? lenientCore(reader, isFree) : nullptr;
  qrt_setInumchar(model, isFree || rewritten ? SCN_NAME_LENGTH : 8);
  const int rc = rewritten ? qrt_importModelFree(model, rewritten) : qrt_importModel(model, coreFile);
  if (rewritten) {
    unlink(rewritten);
    free(rewritten);
  }
  return rc >= 2 ? -1 : 0;
}

void keepIntegerMarks(CoreData *core, QRTModel *model) {
  free(core->integerMarks);
  core->integerMarks = nullptr;
  core->nIntegers = qrt_getInumints(model);
  if (core->nIntegers <= 0 || !model->integerTypes) return;
  const int n = model->Inumcols;
  core->integerMarks = static_cast<int *>(
      qrts__alloc("qrts_read2SMPSData", (n + int64_t(1)) * static_cast<int64_t>(sizeof(int)), 0));
  for (int j = 0; j < n; ++j) core->integerMarks[j] = static_cast<unsigned char>(model->integerTypes[j]);
}

// Core and time file into the store; 0 or -1.
int readCoreAndTime(QRTStoch *stoch, QRTModel *model, const char *coreFile, const char *timeFile, int *numchar, bool *isFree) {
  SmpsReader reader{};
  reader.stoch = stoch;
  reader.lenient = stoch->lenient != 0;
  reader.numchar = SCN_NAME_LENGTH;
  if (readNameCard(&reader, coreFile, isFree) != 0) return -1;
  reader.file.name = coreFile;
  if (importCore(&reader, model, coreFile, *isFree) != 0) return -1;
  // Names of any length are told apart in the lenient manner, also where the core keeps to eight characters.
  *numchar = *isFree || reader.lenient ? SCN_NAME_LENGTH : 8;
  if (qrts_Ctmps(stoch, model, timeFile, *numchar, *isFree) >= 1) return -1;
  keepIntegerMarks(stoch->sdata->core, model);
  return 0;
}

}  // namespace

void qrtstofcof(int *rc, SmpsReader *reader, bool *isFree) {
  *isFree = false;
  *rc = RC_END_OF_FILE;
  if (!nextCard(reader)) return;
  *rc = RC_CARD_MISSING;
  if (!lineBegins(reader, "NAME")) return;
  *rc = RC_OK;
  int start = 4, end;
  const char *line = reader->file.line;
  const int length = reader->file.length;
  if (qrtfform(line, length, &start, &end, SCN_LINE_LENGTH).length == 0) return;
  start = end + 2;
  const Field second = qrtfform(line, length, &start, &end, SCN_LINE_LENGTH);
  *isFree = reader->lenient ? fieldBeginsAnyCase(second, "FREE") : fieldBegins(second, "FREE");
}

int qrts_read2SMPSData(QRTStoch *stoch, const char *coreFile, const char *timeFile, const char *stochFile) {
  if (stoch->ifDebug) qrts_debug("qrts_read2SMPSData");
  StochData *sdata = stoch->sdata;
  if (!sdata) {
    messageC(2, "qrts_read2SMPSData");
    return refused(MSG_BAD_STRUCTURE, "StochData");
  }
  if (sdata->file) refuseSecondReading();
  QRTModel *model =
      qrts_create2EmptyModel(stoch->baseModel->context, stoch->baseModel, nullptr, stoch->ifDebug);
  int numchar = 8, type = DIST_NONE, replace = 1;
  bool isFree = false;
  int result = readCoreAndTime(stoch, model, coreFile, timeFile, &numchar, &isFree);
  qrt_deleteModel(model);
  if (result != 0) return -1;
  if (qrts_Csmps(stoch, &type, &replace, stochFile, numchar, isFree) >= 1) return -1;
  if (type != DIST_SCENARIOS && qrts_explodeTree(stoch, replace) > 0) return -1;
  if (replace == 0) return type;
  // The index makes the file readable from outside; the core may have been held in another order for subtracting.
  int rc = 0;
  qrtbinptsi(&rc, sdata);
  if (rc < 2) qrtbingtcd(&rc, sdata);
  return rc >= 2 ? -1 : type;
}
