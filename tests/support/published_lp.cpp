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

std::vector<std::vector<std::string>> publishedTable(const char *part, const std::string &heading, size_t leastCells) {
  std::vector<std::vector<std::string>> rows;
  std::ifstream readme(publishedFolder(part) + "/README.md");
  bool inside = false;
  for (std::string line; std::getline(readme, line);) {
    if (line.rfind("## ", 0) == 0) inside = line.find(heading) != std::string::npos;
    if (!inside || line.rfind("| ", 0) != 0 || line.rfind("| name", 0) == 0) continue;
    std::vector<std::string> cells;
    std::istringstream rest(line.substr(1));
    for (std::string cell; std::getline(rest, cell, '|');) cells.push_back(trimmed(cell));
    if (cells.size() >= leastCells) rows.push_back(cells);
  }
  return rows;
}

// Rows "| name | rows | columns | nonzeros | status | optimum |" of the table.
std::vector<PublishedLp> publishedLps() {
  std::vector<PublishedLp> all;
  for (const auto &cells : publishedTable("lp", "lp/", 6)) {
    PublishedLp p;
    p.name = cells[0];
    p.rows = std::atoi(cells[1].c_str());
    p.infeasible = cells[4] == "INFEASIBLE";
    p.optimum = std::atof(cells[5].c_str());
    if (std::ifstream(p.path()).good()) all.push_back(p);
  }
  return all;
}
