// The spin lock, the atomic exchange under it, and the lazy construction of global
// objects, which is what the spin lock exists for.
//
// OSSpinLock is a plain 32-bit word, free at 0, so a zero-initialised static is a
// valid free lock before any constructor has run. It sleeps between tries instead
// of burning the processor, and is meant for code that runs once, not hot paths.
#pragma once

#include <atomic>
#include <cstdint>

#include "platform/os.h"
#include "qdassert.h"

typedef uint32_t OSSpinLock;

// Full-barrier exchange, as a compare-and-swap loop; returns the previous value.
inline uint32_t OSAtomicExchange(uint32_t* target, uint32_t value) {
    uint32_t seen = __atomic_load_n(target, __ATOMIC_RELAXED);
    while (!__atomic_compare_exchange_n(target, &seen, value, false, __ATOMIC_SEQ_CST,
                                        __ATOMIC_SEQ_CST)) {
    }
    return seen;
}

// Exchanges 1 in until the previous value was 0, sleeping `milliseconds` between
// tries (0 yields). Not recursive: a second acquire by the holder waits for ever.
inline void OSSpinLockAcquire(OSSpinLock* lock, unsigned milliseconds) {
    QDR_CHECK_OR_RETURN(lock);
    while (OSAtomicExchange(lock, 1) != 0) os::SleepMs(milliseconds);
}

inline void OSSpinLockRelease(OSSpinLock* lock) {
    QDR_CHECK_OR_RETURN(lock);
    __atomic_store_n(lock, 0u, __ATOMIC_RELEASE);
}

class AutoSpinLock {
public:
    AutoSpinLock(OSSpinLock* lock, unsigned milliseconds) : lock_(lock) {
        OSSpinLockAcquire(lock_, milliseconds);
    }
    ~AutoSpinLock() { OSSpinLockRelease(lock_); }
    AutoSpinLock(const AutoSpinLock&) = delete;
    AutoSpinLock& operator=(const AutoSpinLock&) = delete;

private:
    OSSpinLock* lock_;
};

// A lazily built global object: the pointer and the spin lock that guards its one
// construction. Constant-initialised, so it works as a namespace-scope static that
// is used before static constructors run.
//
//   static LazyGlobal<Thing> g_thing;
//   Thing* t = g_thing.Get([] { static Thing thing; return &thing; });
//
// The first test takes no lock; later calls cost one load. A builder whose object
// asks for itself while it is built calls Publish() first, so that the inner call
// takes the fast path instead of waiting on the lock its own thread holds.
template <class T>
class LazyGlobal {
public:
    constexpr LazyGlobal() : ptr_(nullptr), lock_(0) {}
    LazyGlobal(const LazyGlobal&) = delete;
    LazyGlobal& operator=(const LazyGlobal&) = delete;

    template <class Build>
    T* Get(Build build, unsigned sleepMilliseconds = 1) {
        T* p = ptr_.load(std::memory_order_acquire);
        if (p) return p;
        AutoSpinLock guard(&lock_, sleepMilliseconds);
        p = ptr_.load(std::memory_order_acquire);
        if (p) return p;
        p = build();
        ptr_.store(p, std::memory_order_release);
        return p;
    }

    void Publish(T* p) { ptr_.store(p, std::memory_order_release); }
    T* Peek() const { return ptr_.load(std::memory_order_acquire); }

private:
    std::atomic<T*> ptr_;
    OSSpinLock lock_;
};
