// A file that replaces its predecessor only when it is whole: written beside its place, renamed at the end.
#pragma once

// Where to write what shall stand at `target`: "target.PID.new" in the same folder; the target itself when that is no
// ordinary file (a device, a pipe). malloc'd, the caller's to free(); null without memory.
char *safeFile_place(const char *target);
// Puts the closed file at `place` to `target`, or removes it when `error` (an errno, 0 for none) says that it is not whole.
// What stood at the target stays in that case. Harmless for a device. The error, or that of the rename.
int safeFile_settle(const char *place, const char *target, int error);
