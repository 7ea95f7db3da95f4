// Files written beside their place.
#include "frame/safe_file.h"

#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <cstring>

char *safeFile_place(const char *target) {
  struct stat about;
  const bool replaceable = stat(target, &about) != 0 || S_ISREG(about.st_mode);
  const size_t room = strlen(target) + 32;
  char *place = static_cast<char *>(malloc(room));
  if (!place) return nullptr;
  if (replaceable) snprintf(place, room, "%s.%ld.new", target, static_cast<long>(getpid()));
  else memcpy(place, target, strlen(target) + 1);
  return place;
}

int safeFile_settle(const char *place, const char *target, int error) {
  if (strcmp(place, target) == 0) return error;
  if (error == 0 && rename(place, target) != 0) error = errno;
  if (error != 0) remove(place);
  return error;
}
