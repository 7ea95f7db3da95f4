// Every published model by primal, dual and the library's choice, unscaled and scaled: status, value to 1e-6, certificate
// (of optimality, or the proof of infeasibility). Each run is a process of its own with a limit of seconds.
// usage: bench_certified [--seconds N] [--rows N] [NAME...]
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>
#include <vector>

#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

#include "certificate_model.h"
#include "generators.h"
#include "support/published_lp.h"

namespace {

using Solve = int (*)(QRTModel *, int);
constexpr Solve METHODS[] = {qrt_primalSimplex, qrt_dualSimplex, qrt_eitherSimplex};
const char *const METHOD_NAMES[] = {"primal", "dual", "either"};

struct Outcome {
  int finished;
  int iterations;
  double seconds;
  char fault[160];
};

Outcome judge(const PublishedLp &lp, int method, bool scaled) {
  Outcome out{};
  QRTModel *model = lp.read(benchContext());
  benchQuiet(model);
  if (scaled) qrt_scale(model);
  const double begin = secondsNow();
  const int code = METHODS[method](model, 1);
  out.seconds = secondsNow() - begin;
  out.iterations = qrt_getIiternum(model);
  out.finished = 1;
  const int status = qrt_getIprobstat(model);
  const double value = qrt_getRobjvalue(model);
  if (code != 0) std::snprintf(out.fault, sizeof out.fault, "code %d", code);
  else if (status != (lp.infeasible ? 1 : 0)) std::snprintf(out.fault, sizeof out.fault, "status %d", status);
  else if (!lp.infeasible && !(std::fabs(value - lp.optimum) <= 1e-6 * std::fmax(1.0, std::fabs(lp.optimum))))
    std::snprintf(out.fault, sizeof out.fault, "value %.10g, not %.10g", value, lp.optimum);
  else std::snprintf(out.fault, sizeof out.fault, "%s", firstFault(certifyModel(model), 1e-6).c_str());
  return out;
}

// In a child, so that neither a crash nor a run without end takes the table with it.
Outcome runAlone(const PublishedLp &lp, int method, bool scaled, int limit) {
  int ends[2];
  Outcome out{};
  if (pipe(ends) != 0) return out;
  std::fflush(stdout);
  const pid_t child = fork();
  if (child == 0) {
    const rlimit seconds = {rlim_t(limit), rlim_t(limit)};
    setrlimit(RLIMIT_CPU, &seconds);
    const Outcome mine = judge(lp, method, scaled);
    if (write(ends[1], &mine, sizeof mine) != ssize_t(sizeof mine)) _exit(1);
    _exit(0);
  }
  close(ends[1]);
  if (read(ends[0], &out, sizeof out) != ssize_t(sizeof out)) out.finished = 0;
  close(ends[0]);
  waitpid(child, nullptr, 0);
  return out;
}

}  // namespace

int main(int argc, char **argv) {
  int limit = 60, rows = 1 << 30;
  std::vector<std::string> names;
  for (int k = 1; k < argc; k++) {
    if (std::strcmp(argv[k], "--seconds") == 0 && k + 1 < argc) limit = std::atoi(argv[++k]);
    else if (std::strcmp(argv[k], "--rows") == 0 && k + 1 < argc) rows = std::atoi(argv[++k]);
    else names.push_back(argv[k]);
  }
  int runs = 0, good = 0, late = 0;
  std::printf("%-10s", "");
  for (int scaled = 0; scaled < 2; scaled++)
    for (const char *name : METHOD_NAMES) std::printf(" %16s%s", name, scaled ? ", scaled" : "");
  std::printf("\n");
  for (const PublishedLp &lp : publishedLps()) {
    bool wanted = names.empty() && lp.rows <= rows;
    for (const std::string &name : names) wanted = wanted || name == lp.name;
    if (!wanted) continue;
    std::printf("%-10s", lp.name.c_str());
    for (int k = 0; k < 6; k++) {
      const Outcome out = runAlone(lp, k % 3, k >= 3, limit);
      runs++;
      if (!out.finished) {
        late++;
        std::printf(" %24s", "not finished");
      } else if (out.fault[0]) {
        std::printf(" [%s]", out.fault);
      } else {
        good++;
        std::printf(" %7d it. %7.2f s %2s", out.iterations, out.seconds, "ok");
      }
      std::fflush(stdout);
    }
    std::printf("\n");
  }
  std::printf("%d runs, %d right, %d not finished in %d s, %d wrong\n", runs, good, late, limit, runs - good - late);
  return runs == good ? 0 : 1;
}
