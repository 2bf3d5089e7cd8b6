// Threads, the recursive lock and sleeping, on pthreads.
#include "os.h"

#include <pthread.h>
#include <sched.h>
#include <sys/syscall.h>
#include <time.h>
#include <unistd.h>

#include <atomic>
#include <new>

namespace os {

namespace {

// A forked child is a new thread with the parent's thread-local copy.
void ResetThreadIdInChild() {
    t_knownThreadId = 0;
}

struct AtForkRegistration {
    AtForkRegistration() { pthread_atfork(nullptr, nullptr, ResetThreadIdInChild); }
} g_atForkRegistration;

// Handed from the creator to the new thread; the creator waits until the new
// thread has published its kernel id, after which the record is the thread's own
// copy on its stack.
struct StartBlock {
    unsigned (*routine)(void*);
    void* arg;
    std::atomic<uint32_t> tid;
};

void* ThreadTrampoline(void* p) {
    StartBlock* block = static_cast<StartBlock*>(p);
    unsigned (*routine)(void*) = block->routine;
    void* arg = block->arg;
    block->tid.store(CurrentThreadId(), std::memory_order_release);
    // From here on the creator may have left; the block is not touched again.
    unsigned result = routine(arg);
    return reinterpret_cast<void*>(static_cast<uintptr_t>(result));
}

}  // namespace

__thread uint32_t t_knownThreadId = 0;

uint32_t QueryCurrentThreadId() {
    t_knownThreadId = static_cast<uint32_t>(syscall(SYS_gettid));
    return t_knownThreadId;
}

uint32_t CurrentProcessId() {
    return static_cast<uint32_t>(getpid());
}

void SleepMs(unsigned milliseconds) {
    if (milliseconds == 0) {
        sched_yield();
        return;
    }
    timespec ts;
    ts.tv_sec = milliseconds / 1000;
    ts.tv_nsec = static_cast<long>(milliseconds % 1000) * 1000000L;
    while (nanosleep(&ts, &ts) != 0) {
    }
}

bool StartThread(uintptr_t* handle, uint32_t* tid, unsigned (*routine)(void*), void* arg,
                 size_t stackBytes) {
    pthread_attr_t attr;
    if (pthread_attr_init(&attr) != 0) return false;
    if (stackBytes < static_cast<size_t>(PTHREAD_STACK_MIN))
        stackBytes = static_cast<size_t>(PTHREAD_STACK_MIN);
    pthread_attr_setstacksize(&attr, stackBytes);
    StartBlock block;
    block.routine = routine;
    block.arg = arg;
    block.tid.store(0, std::memory_order_relaxed);
    pthread_t thread;
    int rc = pthread_create(&thread, &attr, ThreadTrampoline, &block);
    pthread_attr_destroy(&attr);
    if (rc != 0) return false;
    uint32_t id;
    while ((id = block.tid.load(std::memory_order_acquire)) == 0) sched_yield();
    *handle = static_cast<uintptr_t>(thread);
    if (tid) *tid = id;
    return true;
}

bool JoinThread(uintptr_t handle) {
    return pthread_join(static_cast<pthread_t>(handle), nullptr) == 0;
}

// Adaptive: a thread that finds the lock taken spins a little before it sleeps, which
// with the short hold of an event saves the sleep and the wake-up (two system calls).
// The spin count asked for has no such notion here.
void CriticalSectionInit(CriticalSection* cs, unsigned /*spinCount*/) {
    pthread_mutexattr_t attr;
    pthread_mutexattr_init(&attr);
    pthread_mutexattr_settype(&attr, PTHREAD_MUTEX_ADAPTIVE_NP);
    pthread_mutex_init(&cs->mutex, &attr);
    pthread_mutexattr_destroy(&attr);
}

void CriticalSectionDelete(CriticalSection* cs) {
    pthread_mutex_destroy(&cs->mutex);
}

}  // namespace os
