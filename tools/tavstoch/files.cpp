// Files read and written by the command itself, with a clear word for each way in which that fails.
#include "files.h"

#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>
#include <memory>
#include <system_error>

#include "failure.h"

using File = std::unique_ptr<FILE, int (*)(FILE *)>;

static BadInput cannotWrite(const std::string &path) { return BadInput(path + ": cannot be written: " + std::strerror(errno)); }

bool requireFile(const std::string &path) {
  if (path.empty()) throw BadInput("the name of a file is empty");
  struct stat about;
  if (stat(path.c_str(), &about) != 0 || access(path.c_str(), R_OK) != 0) throw BadInput(path + ": " + std::strerror(errno));
  if (S_ISDIR(about.st_mode)) throw BadInput(path + ": is a directory");
  return S_ISREG(about.st_mode);
}

void requireWritable(const std::string &path) {
  struct stat about;
  const bool existed = stat(path.c_str(), &about) == 0;
  if (existed && !S_ISREG(about.st_mode) && !S_ISDIR(about.st_mode)) return;  // opening a pipe would wait for its reader
  const File file(std::fopen(path.c_str(), "a"), std::fclose);
  if (!file) throw cannotWrite(path);
  if (!existed) unlink(path.c_str());
}

void writeFile(const std::string &path, const std::function<void(FILE *)> &fill) {
  File file(std::fopen(path.c_str(), "w"), std::fclose);
  if (!file) throw cannotWrite(path);
  try {
    fill(file.get());
  } catch (const std::system_error &) {  // fmt's word for a full disk
    throw cannotWrite(path);
  }
  if (std::fflush(file.get()) != 0) throw cannotWrite(path);
}
