// Turns descriptor 1 to a file for the library and reads the numbered messages back from it.
#include "message_log.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cctype>
#include <cerrno>
#include <cstdlib>
#include <cstring>

#include "failure.h"

MessageLog::MessageLog(const std::string &path) : path_(path) {
  std::fflush(stdout);
  const int kept = dup(STDOUT_FILENO);
  output_ = kept >= 0 ? fdopen(kept, "w") : nullptr;
  struct stat about;
  if (!path.empty() && stat(path.c_str(), &about) == 0 && !S_ISREG(about.st_mode)) copy_ = open(path.c_str(), O_WRONLY | O_APPEND);
  if (path.empty() || copy_ >= 0) {
    char name[] = "/tmp/tavstoch.XXXXXX";
    file_ = mkstemp(name);
    if (file_ >= 0) unlink(name);
  } else {
    file_ = open(path.c_str(), O_RDWR | O_CREAT | O_TRUNC | O_APPEND, 0666);
  }
  if (!output_) throw BadInput(std::string("standard output: ") + std::strerror(errno));
  if (file_ < 0) throw BadInput(path.empty() ? "no room for a log in /tmp" : path + ": cannot be written: " + std::strerror(errno));
  dup2(file_, STDOUT_FILENO);
}

MessageLog::~MessageLog() {
  collect();
  std::fflush(output_);
  dup2(fileno(output_), STDOUT_FILENO);
  std::fclose(output_);
  close(file_);
  if (copy_ >= 0) close(copy_);
}

void MessageLog::copy(const char *bytes, size_t count) {
  while (copied_ && count > 0) {
    const ssize_t done = write(copy_, bytes, count);
    copied_ = done > 0;
    bytes += copied_ ? done : 0;
    count -= copied_ ? size_t(done) : 0;
  }
}

std::string MessageLog::finish() {
  errno = 0;
  if (std::fflush(output_) != 0 || std::ferror(output_)) return std::string("standard output: ") + std::strerror(errno ? errno : EIO);
  collect();
  if (std::ferror(stdout) || !copied_) return (path_.empty() ? "the log in /tmp" : path_) + ": cannot be written whole";
  return "";
}

std::vector<Message> MessageLog::collect() {
  std::fflush(stdout);
  std::vector<Message> messages;
  auto takeLine = [&](const std::string &line) {
    // The one plain text that a run which goes on has for its user.
    if (line.compare(0, 22, " Warning ! State file ") == 0) return messages.push_back({0, 'W', line.substr(11)});
    // A message is " QRTnnnnX text"; its first character steers a printer and may be another.
    if (line.size() < 10 || line.compare(1, 3, "QRT") != 0) return;
    char *end = nullptr;
    const auto number = std::strtol(line.c_str() + 4, &end, 10);
    if (!end || !std::isupper(static_cast<unsigned char>(*end)) || number <= 0) return;
    std::string text = end[1] ? end + 2 : "";
    while (!text.empty() && text.back() == ' ') text.pop_back();
    messages.push_back({int(number), *end, text.substr(text.find_first_not_of(' ') == std::string::npos ? 0 : text.find_first_not_of(' '))});
  };
  char buffer[65536];
  ssize_t got;
  while ((got = pread(file_, buffer, sizeof buffer, read_)) > 0) {
    read_ += got;
    if (copy_ >= 0) copy(buffer, size_t(got));
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
