// The library speaks on stdout: numbered messages and a few plain texts. While a MessageLog lives, all that goes to a
// file instead, from which the command picks what a user should see; the command's own output keeps the terminal.
#pragma once

#include <cstdio>
#include <string>
#include <vector>

struct Message {
  int number = 0;      // 0: the plain text about a state that could not be written
  char severity = 'I';  // I, W, E or S
  std::string text;
};

class MessageLog {
public:
  // An empty path keeps the log in a file without a name. Throws BadInput when the path cannot be written.
  explicit MessageLog(const std::string &path);
  ~MessageLog();
  MessageLog(const MessageLog &) = delete;
  MessageLog &operator=(const MessageLog &) = delete;

  // Where the command writes: what stdout was before.
  FILE *output() const { return output_; }
  // Writes what is still held back. @return what could not be written and why, or an empty text.
  std::string finish();
  // Messages that came since the last call, in order.
  std::vector<Message> collect();

private:
  // Hands on what was read to a log that can't be read back.
  void copy(const char *bytes, size_t count);

  std::string path_;        // of the log, empty for a file without a name
  FILE *output_ = nullptr;
  int file_ = -1;           // what stdout is while this lives
  int copy_ = -1;           // a log that is no regular file, such as a terminal or a pipe: gets a copy of file_
  bool copied_ = true;      // all of it so far
  long long read_ = 0;      // bytes of the log taken so far
  std::string unfinished_;  // the last line, while its end is missing
};
