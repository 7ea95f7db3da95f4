// Any bytes as an MPS file. The first byte chooses the fixed or the free form, a last byte that ends no line the length
// of names.
#include "harness.h"

#include <cstdlib>

#include "model/model_store.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size) {
  const bool freeForm = size && (data[0] & 1);
  const int length = size && data[size - 1] != '\n' ? 1 + data[size - 1] % 31 : 8;
  const std::string path = fuzzFile("mps", data, size);
  QRTContext *context = fuzzContext();
  if (setjmp(fuzzExit)) return 0;
  QRTModel *model = qrt_newModel(context, "");
  fuzzQuiet(model);
  qrt_setInumchar(model, length);
  if (freeForm) qrt_importModelFree(model, path.c_str());
  else qrt_importModel(model, path.c_str());
  if (model_check(model)) std::abort();
  qrt_importQuadraticData(model, path.c_str());
  qrt_deleteModel(model);
  fuzzDone();
  return 0;
}
