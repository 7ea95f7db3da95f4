// Any bytes as a time file beside sound others, by the letter and in the lenient manner.
#include "harness.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size) {
  const std::string fuzzed = fuzzFile("time", data, size);
  static const std::string core = fuzzFile("core", fuzzCore);
  static const std::string stoch = fuzzFile("sound-stoch", fuzzStoch);
  for (bool lenient : {false, true}) fuzzTriple(core, fuzzed, stoch, lenient);
  return 0;
}
