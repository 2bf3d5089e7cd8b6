// Is this the first object in the whole process that claims a key? A plain global
// cannot say, since every loaded copy of a library has its own: the claim is a value
// in the per-user store, named after the process (pid and start time) and the key,
// holding the path of the module that made it. A process that dies leaves its value;
// one clean shutdown in thirty sweeps the values of processes that no longer run.
//   key "5A3B9C1D" in process 3120 started at 1384401234000
//     -> value "3120-1384401234000-5A3B9C1D.puf" = "/opt/app/libqdlog_9d.so"
#pragma once

#include <cstdint>

#include "qdr/qdmsel.h"

// One run of one process: a pid alone can be reused.
struct ProcessIdentity {
    int64_t pid = 0;
    MSEL stampTime = -1;
    // Runs now with the same start time.
    bool IsAlive() const;
};

class ProcessUniqueFlag {
public:
    explicit ProcessUniqueFlag(const char* keyName);
    ~ProcessUniqueFlag();
    ProcessUniqueFlag(const ProcessUniqueFlag&) = delete;
    ProcessUniqueFlag& operator=(const ProcessUniqueFlag&) = delete;

    int32_t IsCreatedBy() const { return isCreatedBy_; }
    const char* CreatorPath() const { return creatorPath_; }
    const char* ValueName() const { return mutexTmpFilePath_; }

private:
    char mutexTmpFilePath_[512];
    int32_t isCreatedBy_;
    char creatorPath_[512];
};

// The store's key of the flags and the counter.
constexpr const char* kProcessFlagKey = "Software\\KORVANE\\midkit_temp";
constexpr const char* kProcessFlagCounter = "ProcessUniqueFlag.count";
