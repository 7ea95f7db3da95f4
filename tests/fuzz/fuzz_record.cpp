// Any bytes as a record file. Most of a file is zeros, so input without the stamp is taken as changes of a sound file:
// six bytes each, the place (in words) and the word to put there; one odd byte at the end cuts that much off.
#include <cstring>
#include <fstream>
#include <iterator>

#include "harness.h"

namespace {

constexpr size_t HEAD = 296, DIRECTORY_END = 1320, STAMP = 40;

// A small program of three stages in mixed order, saved.
std::string soundFile() {
  const int rowStages[] = {3, 1, 2}, colStages[] = {2, 3, 1}, rows[] = {1, 1, 1, 2, 3, 3}, cols[] = {1, 2, 3, 3, 1, 3};
  const double elements[] = {11, 12, 13, 23, 31, 33}, rowLower[] = {1, -1e31, 0}, rowUpper[] = {1e31, 5, 7};
  const double change[] = {0.5, 0, 0}, nothing[] = {0, 0, 0};
  QRTStoch *stoch = qrts_newStoch(fuzzContext(), "", 5);
  fuzzQuiet(qrtse_getBaseModel(stoch));
  qrts_createCore(stoch, 3, rowStages, colStages, 3, 3, 6, nothing, rowLower, rowUpper, nothing, nullptr, rows, cols, elements);
  for (int k = 1; k <= 3; k++)
    qrts_addScenario(stoch, k, k == 2 ? 1 : 0, k == 2 ? 3 : 2, 1.0, 0, 3, 3, 1, nothing, change, nothing, nothing, nothing, rows, cols,
                     elements, 0);
  const std::string path = fuzzFile("sound", "");
  qrts_writeNativeData(stoch, path.c_str());
  qrts_deleteStoch(stoch);
  fuzzDone();
  std::ifstream in(path, std::ios::binary);
  return std::string(std::istreambuf_iterator<char>(in), {});
}

std::string changed(std::string bytes, const uint8_t *data, size_t size) {
  for (; size >= 6; data += 6, size -= 6) {
    uint16_t place;
    std::memcpy(&place, data, 2);
    size_t at = size_t(place) * 4 % (bytes.size() - (DIRECTORY_END - HEAD));
    if (at >= HEAD + 8) at += DIRECTORY_END - HEAD - 8;  // the directory of a small file is empty
    std::memcpy(&bytes[at > bytes.size() - 4 ? bytes.size() - 4 : at], data + 2, 4);
  }
  if (size == 1 && bytes.size() > data[0]) bytes.resize(bytes.size() - data[0]);
  return bytes;
}

// Apart from the strings of the caller: nothing with a destructor may live where a jump arrives.
void readFile(const char *path) {
  QRTContext *context = fuzzContext();
  static QRTStoch *stoch;
  if (setjmp(fuzzExit) == 0) {
    stoch = qrts_newStoch(context, "", 200);
    fuzzQuiet(qrtse_getBaseModel(stoch));
    if (qrts_readNativeData(stoch, path) == 0 && qrts_getNumNodes(stoch) < 2000) qrts_describeFullModel(stoch, 1);
  }
  fuzzContext();  // an exit() on the way has disarmed the wrap
  if (setjmp(fuzzExit) == 0) qrts_deleteStoch(stoch);
  fuzzDone();
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size) {
  static const std::string sound = soundFile();
  const bool whole = size > STAMP + 4 && std::memcmp(data + STAMP, "VREC", 4) == 0;
  const std::string path = whole ? fuzzFile("record", data, size) : fuzzFile("record", changed(sound, data, size));
  readFile(path.c_str());
  return 0;
}
