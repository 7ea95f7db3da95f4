// Writes linear programs of known kinds for the other programs here to solve.
// usage: bench_make_family DIR [NAME[:SIZE]...]
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>

#include "families.h"

int main(int argc, char **argv) {
  if (argc < 2) {
    std::printf("usage: bench_make_family DIR [NAME[:SIZE]...]\n");
    for (const Family &f : families()) std::printf("  %-16s %s (%d)\n", f.name, f.about, f.size);
    return 2;
  }
  for (const Family &f : families()) {
    int size = argc == 2 ? f.size : 0;
    for (int k = 2; k < argc; ++k) {
      const char *colon = std::strchr(argv[k], ':');
      if (std::string(argv[k], colon ? size_t(colon - argv[k]) : std::strlen(argv[k])) == f.name) size = colon ? std::atoi(colon + 1) : f.size;
    }
    if (size <= 0) continue;
    const std::string path = std::string(argv[1]) + "/" + f.name + (size == f.size ? "" : std::to_string(size)) + ".mps";
    f.write(path, size);
    std::printf("%s\n", path.c_str());
  }
  return 0;
}
