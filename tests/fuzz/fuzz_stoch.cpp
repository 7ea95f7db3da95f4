// Any bytes as a stoch file beside sound others, by the letter and in the lenient manner.
#include "harness.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size) {
  const std::string fuzzed = fuzzFile("stoch", data, size);
  static const std::string core = fuzzFile("core", fuzzCore);
  static const std::string time = fuzzFile("sound-time", fuzzTime);
  for (bool lenient : {false, true}) fuzzTriple(core, time, fuzzed, lenient);
  return 0;
}
