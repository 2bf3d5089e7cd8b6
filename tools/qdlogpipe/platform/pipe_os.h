// What qdlogpipe needs of the system: a child with its standard output and error
// on pipes, waiting on several descriptors, signals handed on to the child, and
// plain reads.
#pragma once

#include <cstddef>

namespace pipeos {

// Starts `argv[0]` (searched in PATH) with its standard output and error on two
// pipes, whose read ends come back in `outFd` and `errFd`. On failure the reason
// is in `error` (an errno value) and false comes back.
bool StartChild(char* const argv[], int* pid, int* outFd, int* errFd, int* error);

// SIGINT and SIGTERM: handed on to `childPid` when it is positive, else remembered
// (see StopSignal). SIGPIPE is ignored, so a closed terminal is a failed write.
void HandleStopSignals(int childPid);
// The SIGINT or SIGTERM received when there was no child to hand it on to, or 0.
int StopSignal();

// Waits until one of `fds` (-1 entries are skipped) can be read or has ended;
// `ready[i]` tells which. False when interrupted by a signal.
bool WaitReadable(const int* fds, bool* ready, int count);

// Up to `capacity` bytes: their number, 0 at the end, -1 on an error (a signal
// is tried again).
long ReadSome(int fd, char* buffer, size_t capacity);
void CloseFd(int fd);

// The child's end as a shell reports it: its exit status, or 128 + the signal
// that ended it (`signal` tells which, else 0).
int WaitChild(int pid, int* signal);

const char* ErrorText(int error);

}  // namespace pipeos
