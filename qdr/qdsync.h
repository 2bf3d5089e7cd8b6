// The recursive in-process mutex that checks itself, and its scope guard.
//
// Two magic words around the bookkeeping catch a record that was never initialised
// or was overrun by a neighbour; a destroyed record is filled with 0xCD so that any
// later use fails the same test. The lock proper is a plain (adaptive) pthread mutex,
// taken at the first level only: the owner's further levels are lockedCount alone, so
// a level costs one test of the owner instead of a second trip into pthreads.
#pragma once

#include <cstdint>
#include <cstring>

#include "platform/os.h"
#include "qdassert.h"
#include "qdfill.h"
#include "qdthread.h"

// "SYNC" in ascending address order.
constexpr uint32_t kOSMutexMagic = static_cast<uint32_t>(static_cast<uint8_t>('S')) |
                                   (static_cast<uint32_t>(static_cast<uint8_t>('Y')) << 8) |
                                   (static_cast<uint32_t>(static_cast<uint8_t>('N')) << 16) |
                                   (static_cast<uint32_t>(static_cast<uint8_t>('C')) << 24);

struct OSMutex {
    uint32_t syncDWORD1;
    os::CriticalSection cs;
    int32_t lockedCount;
    OSThreadID lockedThreadID;
    uint32_t syncDWORD2;
};
static_assert(sizeof(OSMutex) <= 64, "an OSMutex takes one cache line");

inline void OSInitCriticalSection(os::CriticalSection* cs, unsigned spinCount) {
    os::CriticalSectionInit(cs, spinCount);
}

inline bool OSMutexIsValid(const OSMutex* mutex) {
    return mutex && mutex->syncDWORD1 == kOSMutexMagic && mutex->syncDWORD2 == kOSMutexMagic;
}

inline void OSMutexInit(OSMutex* mutex, unsigned spinCount) {
    QDR_CHECK_OR_RETURN(mutex);
    OSInitCriticalSection(&mutex->cs, spinCount);
    mutex->lockedCount = 0;
    mutex->lockedThreadID = 0;
    // The magics last: the record counts as valid only once the rest is ready.
    mutex->syncDWORD1 = kOSMutexMagic;
    mutex->syncDWORD2 = kOSMutexMagic;
}

// lockedThreadID is read without the lock by IsLockedByThreadSelf, so its loads and
// stores are relaxed atomics; only the holder ever writes it.
inline OSThreadID OSMutexOwner(const OSMutex* mutex) {
    return __atomic_load_n(&mutex->lockedThreadID, __ATOMIC_RELAXED);
}
inline void OSMutexSetOwner(OSMutex* mutex, OSThreadID id) {
    __atomic_store_n(&mutex->lockedThreadID, id, __ATOMIC_RELAXED);
}

// A record that fails the magic test is reported and then left alone: going on
// would hand garbage to the pthread mutex. `self` is the caller's OSThreadSelf(),
// read once by the caller; the checks read it again only when they fail. True when
// the lock is now held.
inline bool OSMutexEnter(OSMutex* mutex, OSThreadID self) {
    if (!OSMutexIsValid(mutex)) {
        QDR_CHECK_MSG(OSMutexIsValid(mutex), "%s", "Invalid mutex object!!!");
        return false;
    }
    // Only the owner can find its own id here.
    if (OSMutexOwner(mutex) != self) {
        os::CriticalSectionEnter(&mutex->cs);
        QDR_CHECK(mutex->lockedCount >= 0);
        QDR_CHECK(OSMutexOwner(mutex) == 0);
        mutex->lockedCount = 1;
        OSMutexSetOwner(mutex, self);
        return true;
    }
    QDR_CHECK(mutex->lockedCount >= 1);
    ++mutex->lockedCount;
    return true;
}

inline void OSMutexLock(OSMutex* mutex) {
    OSMutexEnter(mutex, OSThreadSelf());
}

// OSMutexUnlock for a caller that knows its OSThreadSelf() (a scope guard that
// locked on this thread).
inline void OSMutexLeave(OSMutex* mutex, OSThreadID self) {
    if (!OSMutexIsValid(mutex)) {
        QDR_CHECK_MSG(OSMutexIsValid(mutex), "%s", "Invalid mutex object!!!");
        return;
    }
    // Only the owner may unlock, so this is tested before anything else moves. A
    // thread that is not the owner goes on with the counter, but the platform lock,
    // which it does not hold, stays as it is.
    const bool owner = OSMutexOwner(mutex) == self;
    if (!owner) QDR_CHECK(OSMutexOwner(mutex) == OSThreadSelf());
    QDR_CHECK(mutex->lockedCount >= 1);
    --mutex->lockedCount;
    QDR_CHECK(mutex->lockedCount >= 0);
    if (mutex->lockedCount != 0) return;
    OSMutexSetOwner(mutex, 0);
    if (owner) os::CriticalSectionLeave(&mutex->cs);
}

inline void OSMutexUnlock(OSMutex* mutex) {
    OSMutexLeave(mutex, OSThreadSelf());
}

inline void OSMutexDestroy(OSMutex* mutex) {
    QDR_CHECK_MSG(OSMutexIsValid(mutex), "%s", "Invalid mutex object!!!");
    if (!OSMutexIsValid(mutex)) return;
    QDR_CHECK(mutex->lockedThreadID == 0);
    QDR_CHECK(mutex->lockedCount == 0);
    os::CriticalSectionDelete(&mutex->cs);
    FillDestroyed(mutex, sizeof(*mutex));
}

class Mutex {
public:
    explicit Mutex(unsigned spinCount = 0) { OSMutexInit(&mutex_, spinCount); }
    ~Mutex() { OSMutexDestroy(&mutex_); }
    Mutex(const Mutex&) = delete;
    Mutex& operator=(const Mutex&) = delete;

    void Lock() { OSMutexLock(&mutex_); }
    void Unlock() { OSMutexUnlock(&mutex_); }
    // Exact for the asking thread: only the holder can find its own id there.
    bool IsLockedByThreadSelf() const { return OSThreadSelf() == OSMutexOwner(&mutex_); }

    const OSMutex& Raw() const { return mutex_; }
    OSMutex& Raw() { return mutex_; }

private:
    OSMutex mutex_;
};

class AutoLock {
public:
    explicit AutoLock(Mutex* mutex) : mutex_(mutex) { mutex_->Lock(); }
    ~AutoLock() { mutex_->Unlock(); }
    AutoLock(const AutoLock&) = delete;
    AutoLock& operator=(const AutoLock&) = delete;

private:
    Mutex* mutex_;
};
