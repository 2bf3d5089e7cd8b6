// The named cross-process mutex on the lock files of winos.
#include <cstdio>
#include <cstring>

#include "platform/winos.h"
#include "qdglib.h"
#include "qdr/qdassert.h"
#include "qdr/qdpmutex.h"

namespace {

// "Global\X_OSPMUTEX" -> "/tmp/X_OSPMUTEX.lock"; "X_OSPMUTEX" -> "<store>/X_OSPMUTEX.lock".
bool LockFilePath(const char* systemName, char* path, int capacity) {
    static const char kGlobal[] = "Global\\";
    if (!strncmp(systemName, kGlobal, sizeof(kGlobal) - 1)) {
        const int n = snprintf(path, static_cast<size_t>(capacity), "/tmp/%s.lock",
                               systemName + sizeof(kGlobal) - 1);
        return n > 0 && n < capacity;
    }
    char store[512];
    if (!winos::StoreDirectory(store, sizeof(store)) || winos::MakeDirectories(store) < 0)
        return false;
    const int n = snprintf(path, static_cast<size_t>(capacity), "%s%s.lock", store, systemName);
    return n > 0 && n < capacity;
}

}  // namespace

OSPMutex OSPMutexOpen(const char* name) {
    if (!name || strpbrk(name, "<>:|/\\\"") || strlen(name) >= 480) {
        QDR_CHECK(false);
        return 0;
    }
    char systemName[512];
    const int n = snprintf(systemName, sizeof(systemName), "%s%s_OSPMUTEX",
                           GetWindowsVersion() >= Windows_NT ? "Global\\" : "", name);
    QDR_CHECK_OR_RETURN(n > 0 && n < (int)sizeof(systemName), 0);
    char path[1024];
    if (LockFilePath(systemName, path, sizeof(path))) {
        if (const OSPMutex mutex = winos::OpenLockFile(path)) return mutex;
    }
    QDR_CHECK(false);
    return 0;
}

void OSPMutexClose(OSPMutex mutex) {
    QDR_CHECK_OR_RETURN(mutex);
    QDR_CHECK(winos::CloseLockFile(mutex));
}

bool OSPMutexLock(OSPMutex mutex, uint32_t timeoutMs) {
    QDR_CHECK_OR_RETURN(mutex, false);
    return winos::LockLockFile(mutex, timeoutMs);
}

bool OSPMutexUnlock(OSPMutex mutex) {
    QDR_CHECK_OR_RETURN(mutex, false);
    return winos::UnlockLockFile(mutex);
}
