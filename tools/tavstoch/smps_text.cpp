// A light second look at SMPS files. It splits lines by white space, and by columns where fixed fields hold blanks.
#include "smps_text.h"

#include <algorithm>
#include <cctype>
#include <cstdlib>
#include <fstream>
#include <unordered_set>

#include "failure.h"

namespace {

using Fields = std::vector<std::string>;

Fields split(const std::string &line) {
  Fields fields;
  size_t at = 0;
  while (true) {
    while (at < line.size() && std::isspace(static_cast<unsigned char>(line[at]))) ++at;
    if (at == line.size()) return fields;
    const size_t begin = at;
    while (at < line.size() && !std::isspace(static_cast<unsigned char>(line[at]))) ++at;
    fields.push_back(line.substr(begin, at - begin));
  }
}

std::string capitals(std::string text) {
  for (char &c : text) c = char(std::toupper(static_cast<unsigned char>(c)));
  return text;
}

bool isNumber(const std::string &text, double *value = nullptr) {
  char *end = nullptr;
  const double v = std::strtod(text.c_str(), &end);
  if (text.empty() || *end) return false;
  if (value) *value = v;
  return true;
}

bool isComment(const std::string &line) { return line.empty() || line[0] == '*' || line.find_first_not_of(" \t\r") == std::string::npos; }
bool isSection(const std::string &line) { return !std::isspace(static_cast<unsigned char>(line[0])); }

std::string column(const std::string &line, size_t first, size_t length) {  // a fixed field, outer blanks cut
  if (line.size() < first) return "";
  std::string text = line.substr(first - 1, length);
  while (!text.empty() && std::isspace(static_cast<unsigned char>(text.back()))) text.pop_back();
  const size_t begin = text.find_first_not_of(' ');
  return begin == std::string::npos ? "" : text.substr(begin);
}

// Fields of a data line: by white space when every field is one word, else by the columns of fixed MPS.
Fields dataFields(const std::string &line, bool freeFormat, bool rowsSection) {
  Fields words = split(line);
  if (freeFormat || line.find('\t') != std::string::npos) return words;
  const std::string one = column(line, 5, 8), two = column(line, 15, 8);
  const bool blankInside = one.find(' ') != std::string::npos || two.find(' ') != std::string::npos;
  if (!blankInside) return words;
  Fields fixed;
  if (rowsSection) return {column(line, 2, 2), one};
  fixed = {one, two, column(line, 25, 12)};
  if (line.size() >= 40) {
    fixed.push_back(column(line, 40, 8));
    fixed.push_back(column(line, 50, 12));
  }
  double ignored;
  return isNumber(fixed[2], &ignored) ? fixed : words;  // off its columns: the words are the better guess
}

}  // namespace

void requireCards(const std::string &path, const std::string &kinds) {
  std::ifstream file(path, std::ios::binary);
  const Fields wanted = split(kinds);
  std::string line;
  bool anything = false;
  while (std::getline(file, line)) {
    if (line.find('\0') != std::string::npos) throw BadInput(path + ": is not a text file");
    if (isComment(line)) continue;
    anything = true;
    const Fields words = split(line);
    if (std::find(wanted.begin(), wanted.end(), capitals(words[0])) != wanted.end()) return;
    break;
  }
  std::string expected = wanted[0];
  for (size_t k = 1; k < wanted.size(); ++k) expected += " or " + wanted[k];
  throw BadInput(path + (anything ? ": begins with no " + expected + " card" : ": is empty, no " + expected + " card"));
}

CoreText scanCore(const std::string &path) {
  CoreText core;
  std::ifstream file(path);
  std::string line, section, last;
  bool freeFormat = false;
  std::unordered_set<std::string> notARow;
  while (std::getline(file, line)) {
    if (isComment(line)) continue;
    if (isSection(line)) {
      const Fields words = split(line);
      section = capitals(words[0]);
      if (section == "NAME") {
        for (size_t k = 1; k < words.size(); ++k)
          if (capitals(words[k]) == "FREE") freeFormat = true;
        if (words.size() > 1) core.problem = words[1];
      }
      if (section == "ENDATA") break;
      continue;
    }
    const Fields fields = dataFields(line, freeFormat, section == "ROWS");
    if (section == "ROWS" && fields.size() >= 2) {
      if (capitals(fields[0]) == "N") {
        if (core.objectiveRow.empty()) core.objectiveRow = fields[1];
        notARow.insert(fields[1]);
      } else {
        core.rows.push_back(fields[1]);
      }
    } else if (section == "COLUMNS" && fields.size() >= 3 && fields[1] != "'MARKER'") {
      if (core.columns.empty() || fields[0] != last) core.columns.push_back(fields[0]);
      last = fields[0];
    } else if (section == "RHS") {
      // An even number of fields has no set name; pairs of name and value follow.
      for (size_t k = fields.size() % 2; k + 1 < fields.size(); k += 2) {
        double value;
        if (fields[k] == core.objectiveRow && isNumber(fields[k + 1], &value)) core.objectiveConstant = -value;
      }
    }
  }
  return core;
}

long long countRandomElements(const std::string &path) {
  std::ifstream file(path);
  std::string line, section;
  std::unordered_set<std::string> items;
  while (std::getline(file, line)) {
    if (isComment(line)) continue;
    const Fields fields = split(line);
    if (isSection(line)) {
      section = capitals(fields[0]);
      continue;
    }
    const std::string code = capitals(fields[0]);
    if (code == "SC" || code == "BL") continue;
    static const std::unordered_set<std::string> boundTypes{"UP", "LO", "FX", "MI", "PL", "FR", "BV"};
    if (boundTypes.count(code) && fields.size() >= 4 && isNumber(fields[3])) {
      items.insert(code + ' ' + fields[2]);
      continue;
    }
    if (fields.size() < 3) continue;
    items.insert(fields[0] + ' ' + fields[1]);
    // The fourth and fifth field of an INDEP line are period and probability, elsewhere a second pair.
    if (fields.size() >= 5 && section != "INDEP") items.insert(fields[0] + ' ' + fields[3]);
  }
  return static_cast<long long>(items.size());
}
