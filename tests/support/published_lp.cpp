// The table of published linear programs and their files.
#include "support/published_lp.h"

#include <sys/stat.h>

#include <cstdlib>
#include <fstream>
#include <sstream>

std::string publishedFolder(const char *part) {
  const char *given = std::getenv("TAVSTOCH_DATA_DIR");
  const std::string folder = given ? given : TAVSTOCH_DATA_DIR;
  struct stat about;
  return !folder.empty() && stat((folder + "/" + part).c_str(), &about) == 0 ? folder : "";
}

namespace {

std::string trimmed(const std::string &cell) {
  const size_t a = cell.find_first_not_of(' '), b = cell.find_last_not_of(' ');
  return a == std::string::npos ? "" : cell.substr(a, b - a + 1);
}

}  // namespace

bool PublishedLp::wanted(int largestRows) const { return rows <= largestRows || std::getenv("TAVSTOCH_LONG_TESTS"); }

std::string PublishedLp::path() const { return publishedFolder("lp") + "/lp/" + name + ".mps"; }

QRTModel *PublishedLp::read(QRTContext *context) const {
  QRTModel *model = qrt_newModel(context, "");
  if (name == "qap12") qrt_importModelFree(model, path().c_str());
  else qrt_importModel(model, path().c_str());
  return model;
}

// Rows "| name | rows | columns | nonzeros | status | optimum |" of the table.
std::vector<PublishedLp> publishedLps() {
  std::vector<PublishedLp> all;
  std::ifstream readme(publishedFolder("lp") + "/README.md");
  for (std::string line; std::getline(readme, line);) {
    std::vector<std::string> cell;
    std::istringstream cells(line);
    for (std::string c; std::getline(cells, c, '|');) cell.push_back(trimmed(c));
    if (cell.size() < 7 || (cell[5] != "OPTIMAL" && cell[5] != "INFEASIBLE")) continue;
    PublishedLp p;
    p.name = cell[1];
    p.rows = std::atoi(cell[2].c_str());
    p.infeasible = cell[5] == "INFEASIBLE";
    p.optimum = std::atof(cell[6].c_str());
    if (std::ifstream(p.path()).good()) all.push_back(p);
  }
  return all;
}
