// The named cross-process mutex, as four calls on an opaque handle. Here it is an
// flock on a file: "/tmp/<name>.lock" for "Global\" names, a file in the per-user
// store for the others. A holder that dies releases it with the kernel, so an
// abandoned mutex is simply taken. The calls are compiled into the process
// utilities (winutil), which decide the "Global\" prefix.
#pragma once

#include <cstdint>

typedef intptr_t OSPMutex;

// Opens or creates "<prefix><name>_OSPMUTEX". The name holds none of <>:|/\" and is
// shorter than 480 characters, else "(false)" is reported and 0 returned.
OSPMutex OSPMutexOpen(const char* name);
void OSPMutexClose(OSPMutex mutex);
// True when taken (also when its last holder died); 0xFFFFFFFF waits without limit.
bool OSPMutexLock(OSPMutex mutex, uint32_t timeoutMs);
bool OSPMutexUnlock(OSPMutex mutex);
