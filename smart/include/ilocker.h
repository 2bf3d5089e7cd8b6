// A named cross-process mutex as an object, a try-lock on it and its scope guard.
//   ProcessMutex m("ProcessUniqueFlag");  { AutoProcessLock lock(m); ... }
#pragma once

#include <cstdint>
#include <cstdlib>
#include <cstring>

#include "qdr/qdassert.h"
#include "qdr/qdpmutex.h"

class ProcessMutex {
public:
    explicit ProcessMutex(const char* name) : name_(strdup(name ? name : "")), mutex_(0) {
        mutex_ = OSPMutexOpen(name);
        QDR_CHECK(mutex_);
    }
    ~ProcessMutex() {
        if (mutex_) OSPMutexClose(mutex_);
        free(name_);
    }
    ProcessMutex(const ProcessMutex&) = delete;
    ProcessMutex& operator=(const ProcessMutex&) = delete;

    const char* Name() const { return name_; }
    OSPMutex Handle() const { return mutex_; }

private:
    char* name_;
    OSPMutex mutex_;
};

class TryLock {
public:
    TryLock(ProcessMutex& mutex, uint32_t timeoutMs, bool lockIt)
        : mutex_(mutex), locked_(0), keepLocked_(0) {
        if (lockIt && mutex_.Handle()) locked_ = OSPMutexLock(mutex_.Handle(), timeoutMs);
    }
    ~TryLock() {
        if (!keepLocked_ && locked_) OSPMutexUnlock(mutex_.Handle());
    }
    TryLock(const TryLock&) = delete;
    TryLock& operator=(const TryLock&) = delete;

    int32_t IsLocked() const { return locked_; }

private:
    ProcessMutex& mutex_;
    int32_t locked_;
    int32_t keepLocked_;  // 0 in every use: set, it would keep the destructor from unlocking
};

class AutoProcessLock {
public:
    AutoProcessLock(ProcessMutex& mutex, bool lockIt = true)
        : tryLock_(mutex, 0xFFFFFFFFu, lockIt) {
        QDR_CHECK(!lockIt || tryLock_.IsLocked());
    }

private:
    TryLock tryLock_;
};
