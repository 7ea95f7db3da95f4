// Names of the object interface that others have replaced: each says so on stderr and calls the newer one.
#include <cstdio>

#include "include/qrt_c_api.h"

namespace {

void tell(const char *line) {
  fflush(stdout);  // keeps the order of the two streams
  fputs(line, stderr);
}

}  // namespace

extern "C" {

QRTContext *qrt_initialize() {
  tell("qrt_initialize replaced by env=qrt_initializeContext()\n");
  return qrt_initializeContext();
}

QRTModel *qrt_createModel(const char *name) {
  tell("qrt_createModel replaced by qrt_newModel(env,name)\n");
  return qrt_newModel(nullptr, name);
}

// Without its context there is nothing that it could end.
int qrt_end() {
  tell("qrt_end replaced by qrt_endContext(env)\n");
  return 0;
}

int qrt_saveToFile(QRTModel *model, const char *filename) {
  tell("qrt_saveToFile replaced by qrt_saveModel\n");
  return qrt_saveModel(model, filename);
}

int qrt_restoreFromFile(QRTModel *model, const char *filename) {
  tell("qrt_restoreFromFile replaced by qrt_restoreModel\n");
  return qrt_restoreModel(model, filename);
}

int qrt_outMatrix(QRTModel *model, const char *filename, int format, int entries) {
  tell("qrt_outMatrix replaced by qrt_exportModel\n");
  return qrt_exportModel(model, filename, format, entries);
}

int qrt_outBasis(QRTModel *model, const char *filename, int format, int numbers) {
  tell("qrt_outBasis replaced by qrt_exportBasis\n");
  return qrt_exportBasis(model, filename, format, numbers);
}

int qrt_inBasis(QRTModel *model, const char *filename) {
  tell("qrt_inBasis replaced by qrt_importBasis\n");
  return qrt_importBasis(model, filename);
}

int qrt_convertMPS(QRTModel *model, const char *filename) {
  tell("qrt_convertMPS replaced by qrt_importModel\n");
  return qrt_importModel(model, filename);
}

int qrt_convertMPSFree(QRTModel *model, const char *filename) {
  tell("qrt_convertMPSFree replaced by qrt_importModelFree\n");
  return qrt_importModelFree(model, filename);
}

int qrt_convertQuadratic(QRTModel *model, const char *filename) {
  tell("qrt_convertQuadratic replaced by qrt_importQuadraticData\n");
  return qrt_importQuadraticData(model, filename);
}

}
