// Re-solves after small changes against cold solves of the same changed model, by iterations, every result with its
// certificate. The models are those of the folder TAVSTOCH_DATA_DIR.
// usage: bench_warm [NAME...]
#include <algorithm>
#include <cstdio>
#include <cstring>
#include <string>
#include <vector>

#include "certificate_model.h"
#include "generators.h"
#include "support/published_lp.h"
#include "warm_changes.h"

namespace {

const char *const NAMES[] = {"25fv47", "adlittle", "agg",    "bandm",  "beaconfd", "bnl1",    "brandy",  "capri", "czprob",  "degen2",
                             "finnis", "fit1d",    "israel", "lotfi",  "scfxm1",   "scfxm2", "sctap2", "ship04l", "stair", "stocfor2"};

bool asked(const std::string &name, int argc, char **argv) {
  for (int k = 1; k < argc; k++)
    if (name == argv[k]) return true;
  for (const char *known : NAMES)
    if (argc == 1 && name == known) return true;
  return false;
}

}  // namespace

int main(int argc, char **argv) {
  std::vector<double> shares[WARM_CHANGES], all;
  int wrong = 0;
  std::printf("%-10s", "");
  for (int change = 0; change < WARM_CHANGES; change++) std::printf(" %20s", warmChangeName(change));
  std::printf("\n%-10s", "");
  for (int change = 0; change < WARM_CHANGES; change++) std::printf(" %7s/%-6s%6s", "warm", "cold", "");
  std::printf("\n");
  for (const PublishedLp &lp : publishedLps()) {
    if (!asked(lp.name, argc, argv)) continue;
    std::printf("%-10s", lp.name.c_str());
    for (int change = 0; change < WARM_CHANGES; change++) {
      QRTModel *model = lp.read(benchContext());
      benchQuiet(model);
      qrt_dualSimplex(model, 1);
      applyWarmChange(model, change, 1);
      int before = qrt_getIiternum(model);
      solveAfterChange(model, change);
      const int warm = qrt_getIiternum(model) - before, status = qrt_getIprobstat(model);
      bool good = status <= 1 && firstFault(certifyModel(model), 1e-6).empty();
      forgetBasis(model);
      before = qrt_getIiternum(model);
      solveAfterChange(model, change);
      const int cold = qrt_getIiternum(model) - before;
      good = good && status == qrt_getIprobstat(model);
      std::printf(" %7d/%-6d%-6s", warm, cold, !good ? "WRONG" : status == 1 ? "inf." : "");
      std::fflush(stdout);
      wrong += !good;
      const double share = cold > 0 ? double(warm) / cold : 1.0;
      shares[change].push_back(share);
      all.push_back(share);
      qrt_deleteModel(model);
    }
    std::printf("\n");
  }
  if (all.empty()) {
    std::printf("no models: set TAVSTOCH_DATA_DIR\n");
    return 1;
  }
  const auto median = [](std::vector<double> v) {
    std::sort(v.begin(), v.end());
    return v[v.size() / 2];
  };
  std::printf("%-10s", "median");
  for (const std::vector<double> &share : shares) std::printf(" %14.3f%6s", median(share), "");
  std::printf("\nmedian of all %.3f, wrong %d\n", median(all), wrong);
  return wrong ? 1 : 0;
}
