// Linear programs of the kinds that public collections hold, in any size: what a published model shows of one size, a
// family shows of its growth.
#pragma once

#include <string>
#include <vector>

struct Family {
  const char *name;
  const char *about;
  int size;                                         // the size that takes a second or so
  void (*write)(const std::string &path, int size); // an MPS file
};
const std::vector<Family> &families();
