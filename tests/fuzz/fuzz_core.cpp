// Any bytes as a core file beside sound others, by the letter and in the lenient manner, which rewrites what strays.
#include "harness.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size) {
  const std::string fuzzed = fuzzFile("core", data, size);
  static const std::string time = fuzzFile("sound-time", fuzzTime);
  static const std::string stoch = fuzzFile("sound-stoch", fuzzStoch);
  for (bool lenient : {false, true}) fuzzTriple(fuzzed, time, stoch, lenient);
  return 0;
}
