// What the command reads from the text files itself: whether they can be what they are given as, and what the library
// does not hand back, namely names and the constant of the objective.
#pragma once

#include <string>
#include <vector>

// Throws BadInput unless the file, which can be read, has a card of one of the given kinds before its data.
// `kinds` are section words in capitals, separated by blanks.
void requireCards(const std::string &path, const std::string &kinds);

struct CoreText {
  std::string problem;                    // of the NAME card
  std::string objectiveRow;
  double objectiveConstant = 0.0;         // added to c'x: minus the right-hand side of the objective row
  std::vector<std::string> rows, columns; // in file order, without N rows
};
CoreText scanCore(const std::string &path);

// Number of different items (pairs of names) that the data lines of a stoch file give values to.
long long countRandomElements(const std::string &path);
