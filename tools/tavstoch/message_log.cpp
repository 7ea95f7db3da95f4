// Turns descriptor 1 to a file for the library and reads the numbered messages back from it.
#include "message_log.h"

#include <fcntl.h>
#include <unistd.h>

#include <cctype>
#include <cstdlib>

#include "failure.h"

MessageLog::MessageLog(const std::string &path) {
  std::fflush(stdout);
  const int kept = dup(STDOUT_FILENO);
  if (path.empty()) {
    char name[] = "/tmp/tavstoch.XXXXXX";
    file_ = mkstemp(name);
    if (file_ >= 0) unlink(name);
  } else {
    file_ = open(path.c_str(), O_RDWR | O_CREAT | O_TRUNC | O_APPEND, 0666);
  }
  output_ = kept >= 0 ? fdopen(kept, "w") : nullptr;
  if (file_ < 0 || !output_) throw BadInput(path.empty() ? "no room for a log in /tmp" : path + ": cannot be written");
  dup2(file_, STDOUT_FILENO);
}

MessageLog::~MessageLog() {
  std::fflush(stdout);
  std::fflush(output_);
  dup2(fileno(output_), STDOUT_FILENO);
  std::fclose(output_);
  close(file_);
}

std::vector<Message> MessageLog::collect() {
  std::fflush(stdout);
  std::vector<Message> messages;
  auto takeLine = [&](const std::string &line) {
    // A message is " QRTnnnnX text"; its first character steers a printer and may be another.
    if (line.size() < 10 || line.compare(1, 3, "QRT") != 0) return;
    char *end = nullptr;
    const long number = std::strtol(line.c_str() + 4, &end, 10);
    if (!end || !std::isupper(static_cast<unsigned char>(*end)) || number <= 0) return;
    std::string text = end[1] ? end + 2 : "";
    while (!text.empty() && text.back() == ' ') text.pop_back();
    messages.push_back({int(number), *end, text.substr(text.find_first_not_of(' ') == std::string::npos ? 0 : text.find_first_not_of(' '))});
  };
  char buffer[65536];
  ssize_t got;
  while ((got = pread(file_, buffer, sizeof buffer, read_)) > 0) {
    read_ += got;
    for (ssize_t k = 0; k < got; ++k) {
      if (buffer[k] != '\n') {
        unfinished_ += buffer[k];
        continue;
      }
      takeLine(unfinished_);
      unfinished_.clear();
    }
  }
  return messages;
}
