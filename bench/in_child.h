// Work done in a process of its own, so that no memory is warm and its peak is its own.
#pragma once

#include <sys/wait.h>
#include <unistd.h>

#include <cstdio>

// `work` fills a plain record and says whether it is good; false when it is not, or the process ended before.
template <class Record, class Work> bool inChild(Record *record, Work work) {
  int ends[2];
  if (pipe(ends) != 0) return false;
  std::fflush(stdout);
  const pid_t child = fork();
  if (child == 0) {
    const bool good = work(record) && write(ends[1], record, sizeof *record) == ssize_t(sizeof *record);
    _exit(good ? 0 : 1);
  }
  close(ends[1]);
  bool good = child > 0 && read(ends[0], record, sizeof *record) == ssize_t(sizeof *record);
  close(ends[0]);
  int status = 0;
  if (child > 0) waitpid(child, &status, 0);
  return good && status == 0;
}
