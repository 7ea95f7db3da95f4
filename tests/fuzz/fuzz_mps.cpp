// Any bytes as an MPS file, in fixed and in free form. The first byte chooses.
#include "harness.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size) {
  const bool freeForm = size && (data[0] & 1);
  const std::string path = fuzzFile("mps", data, size);
  QRTContext *context = fuzzContext();
  if (setjmp(fuzzExit)) return 0;
  QRTModel *model = qrt_newModel(context, "");
  fuzzQuiet(model);
  if (freeForm) qrt_importModelFree(model, path.c_str());
  else qrt_importModel(model, path.c_str());
  qrt_deleteModel(model);
  return 0;
}
