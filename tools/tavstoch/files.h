// What the command asks of files beside the library: that they are there, that they can be written, that they are whole.
#pragma once

#include <cstdio>
#include <functional>
#include <string>

// Throws BadInput unless the path names something to read that is no folder. @return whether it can be read twice: a
// regular file, not a pipe.
bool requireFile(const std::string &path);
// Throws BadInput unless a file can be written there, so that nobody learns after an hour's solve. Changes nothing.
void requireWritable(const std::string &path);
// Writes a file by `fill`. Throws BadInput with its name when it cannot be opened or does not get whole.
void writeFile(const std::string &path, const std::function<void(FILE *)> &fill);
