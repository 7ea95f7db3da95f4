// Where messages go, and when what was written reaches it.
#pragma once

#include <cstdio>

// Stream of the messages now: the current model's log, or unit 6.
FILE *messageStream();
// Flushes the log when the last flush is some time ago: progress lines appear while a solve runs, yet a burst of
// messages costs one system call.
void flushWhenDue();
const char *qrt_build_stamp();
