// The published models of the data folder, for tests that run through them: where they are, and the linear programs.
#pragma once

#include <string>
#include <vector>

#include "qrt_c_api.h"

// The folder that holds the folders lp, smps and strays; empty where this part of it is not at hand.
std::string publishedFolder(const char *part);

// Cells of the README's table under the heading that contains `heading`, row by row, without the row of titles; rows of
// fewer cells are no part of it. Empty where the folder is not at hand.
std::vector<std::vector<std::string>> publishedTable(const char *part, const std::string &heading, size_t leastCells);

struct PublishedLp {
  std::string name;
  bool infeasible = false;
  double optimum = 0.0;
  int rows = 0;
  // Small enough for a test of every build; TAVSTOCH_LONG_TESTS in the environment wants all.
  bool wanted(int largestRows) const;
  std::string path() const;
  // A new model of it, limits of messages as in the context's base model.
  QRTModel *read(QRTContext *context) const;
};

// All of them, from the table that comes with the models; none where the folder is not at hand.
std::vector<PublishedLp> publishedLps();
