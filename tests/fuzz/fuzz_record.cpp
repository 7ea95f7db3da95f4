// Any bytes as a record file.
#include "harness.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size) {
  const std::string path = fuzzFile("record", data, size);
  QRTContext *context = fuzzContext();
  if (setjmp(fuzzExit)) return 0;
  QRTStoch *stoch = qrts_newStoch(context, "", 200);
  fuzzQuiet(qrtse_getBaseModel(stoch));
  if (qrts_readNativeData(stoch, path.c_str()) == 0 && qrts_getNumNodes(stoch) < 2000) qrts_describeFullModel(stoch, 1);
  qrts_deleteStoch(stoch);
  return 0;
}
