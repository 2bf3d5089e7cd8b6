// Threads: how one starts, who it is, and how it is waited for.
#pragma once

#include <cstdint>
#include <cstdlib>

#include "platform/os.h"
#include "qdassert.h"

// Linux's joinable thread handle (a pthread); 0 means no thread.
typedef uintptr_t OSThread;
// Kernel thread id; 0 means none.
typedef uint32_t OSThreadID;
typedef unsigned (*OSThreadRoutine)(void* arg);

// Stack of the library's threads when the caller asks for none.
constexpr int kOSDefaultThreadStack = 0x80000;

inline OSThreadID OSThreadSelf() {
    return os::CurrentThreadId();
}

// The start record, from malloc; the new thread takes it over and frees it.
struct OSThreadStart {
    OSThreadID creator;
    OSThreadRoutine routine;
    void* arg;
};

inline unsigned OSThreadEntry(void* p) {
    OSThreadStart start = *static_cast<OSThreadStart*>(p);
    free(p);
    (void)start.creator;  // copied for the frame only
    return start.routine(start.arg);
}

inline int OSCreateThreadRaw(OSThread* thread, OSThreadID* id, OSThreadRoutine routine, void* arg,
                             int stackBytes) {
    QDR_CHECK_OR_RETURN(thread, 0);
    // Below 1 the library's own default, never the process default.
    if (stackBytes < 1) stackBytes = kOSDefaultThreadStack;
    OSThread handle = 0;
    OSThreadID tid = 0;
    if (!os::StartThread(&handle, &tid, routine, arg, static_cast<size_t>(stackBytes))) handle = 0;
    *thread = handle;
    if (id) *id = tid;
    return handle != 0;
}

// Non-zero on success. `id` may be null; a stack of 0 or less means 512 KiB.
inline int OSCreateThread(OSThread* thread, OSThreadID* id, OSThreadRoutine routine, void* arg,
                          int stackBytes) {
    OSThreadStart* start = static_cast<OSThreadStart*>(malloc(sizeof(OSThreadStart)));
    if (!start) return 0;
    start->creator = OSThreadSelf();
    start->routine = routine;
    start->arg = arg;
    int ok = OSCreateThreadRaw(thread, id, OSThreadEntry, start, stackBytes);
    if (!ok) free(start);
    return ok;
}

// Waits without limit for the thread and releases its handle.
inline void OSWaitThread(OSThread thread) {
    bool joined = os::JoinThread(thread);
    QDR_CHECK(joined);
}
