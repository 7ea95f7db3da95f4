// Scratch files, context and the wrapped exit() of the fuzz targets.
#include "harness.h"

#include <unistd.h>

#include <cstdio>
#include <cstdlib>

std::jmp_buf fuzzExit;
static bool insideTarget = false;

const char *const fuzzCore =
    "NAME          TWO\n"
    "ROWS\n N  COST\n L  ROOM\n G  NEED\n E  BALANCE\n"
    "COLUMNS\n"
    "    X         COST               1.0   ROOM               1.0\n"
    "    X         NEED               1.0\n"
    "    Y         COST               2.0   NEED               1.0\n"
    "    Y         BALANCE            1.0\n"
    "    Z         COST               3.0   BALANCE           -1.0\n"
    "RHS\n"
    "    RHS       ROOM              10.0   NEED               4.0\n"
    "BOUNDS\n UP BND       Y                  6.0\n"
    "ENDATA\n";
const char *const fuzzTime =
    "TIME          TWO\n"
    "PERIODS\n"
    "    X         ROOM                     FIRST\n"
    "    Y         NEED                     SECOND\n"
    "ENDATA\n";
const char *const fuzzStoch =
    "STOCH         TWO\n"
    "INDEP         DISCRETE\n"
    "    RHS       NEED               2.0   SECOND             0.5\n"
    "    RHS       NEED               6.0   SECOND             0.5\n"
    "ENDATA\n";

extern "C" {
[[noreturn]] void __real_exit(int status);
[[noreturn]] void __wrap_exit(int status);
}
void __wrap_exit(int status) {
  if (insideTarget) {
    insideTarget = false;
    std::longjmp(fuzzExit, 1);
  }
  __real_exit(status);
}

QRTContext *fuzzContext() {
  static QRTContext *context = nullptr;
  if (!context) {
    if (!std::freopen("/dev/null", "w", stdout)) std::abort();
    context = qrts_initializeContext();
    fuzzQuiet(qrt_baseModel(context));
  }
  insideTarget = true;
  return context;
}

void fuzzDone() { insideTarget = false; }

void fuzzQuiet(QRTModel *model) {
  qrt_mset(model, 7000, 256, 0, 0, 7999, 0);
  qrt_stderrNumber(model, 9999);
}

std::string fuzzFile(const char *name, const void *bytes, size_t size) {
  const std::string path = "/tmp/tavstoch-fuzz-" + std::to_string(getpid()) + "-" + name;
  FILE *file = std::fopen(path.c_str(), "wb");
  if (!file) std::abort();
  if (size) std::fwrite(bytes, 1, size, file);
  std::fclose(file);
  return path;
}

std::string fuzzFile(const char *name, const std::string &text) { return fuzzFile(name, text.data(), text.size()); }

void fuzzTriple(const std::string &core, const std::string &time, const std::string &stochFile, bool lenient) {
  QRTContext *context = fuzzContext();
  if (setjmp(fuzzExit)) return;
  QRTStoch *stoch = qrts_newStoch(context, "", 200);
  fuzzQuiet(qrtse_getBaseModel(stoch));
  if (lenient) qrts_setLenientOn(stoch), qrts_setInheritOn(stoch);
  if (qrts_readSMPSData(stoch, core.c_str(), time.c_str(), stochFile.c_str()) > 0 && qrts_getNumNodes(stoch) < 2000)
    qrts_describeFullModel(stoch, 1);
  qrts_deleteStoch(stoch);
  fuzzDone();
}
