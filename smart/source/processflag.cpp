// The process-unique flag: its value in the store, and the sweep of stale values
// under the machine-wide mutex.
#include "processflag.h"

#include <cinttypes>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>
#include <vector>

#include "ilocker.h"
#include "moduleinfo.h"
#include "qdr/platform/os.h"
#include "qdregistry.h"
#include "qdtime.h"
#include "strdk_match.h"

namespace {

// Set at load: the sweep step is still due in this copy of the library.
bool g_sweepDue = true;

// Counts the shutdown; on the one in thirty that finds 0, deletes the values of
// processes that no longer run.
void SweepStaleFlags() {
    ProcessMutex mutex("ProcessUniqueFlag");
    AutoProcessLock lock(mutex, true);
    char counter[16] = "1";
    bool sweep = false;
    char value[kRegValueBytes];
    if (RegValueExists(HKEY_CURRENT_USER, kProcessFlagKey, kProcessFlagCounter) &&
        GetRegKeyValue(HKEY_CURRENT_USER, kProcessFlagKey, kProcessFlagCounter, value, nullptr)) {
        int n = atoi(value);
        if (n == 0) sweep = true;
        ++n;
        if (n >= 30) n = 0;
        snprintf(counter, sizeof(counter), "%d", n);
    }
    RegWriteString(HKEY_CURRENT_USER, kProcessFlagKey, kProcessFlagCounter, counter);
    if (!sweep) return;
    HKEY key;
    if (RegOpenKeyExA(HKEY_CURRENT_USER, kProcessFlagKey, 0, KEY_ALL_ACCESS, &key) != ERROR_SUCCESS)
        return;
    std::vector<std::string> dead;
    for (uint32_t index = 0; index <= 9999; ++index) {
        char name[256];
        uint32_t nameChars = sizeof(name);
        if (RegEnumValueA(key, index, name, &nameChars) != ERROR_SUCCESS) break;
        if (!MatchingString(name, "*.puf")) continue;
        ProcessIdentity who;
        who.pid = atoi(name);
        const char* dash = strchr(name, '-');
        who.stampTime = dash ? strtoll(dash + 1, nullptr, 10) : 0;
        if (!who.IsAlive()) dead.push_back(name);
    }
    for (size_t i = dead.size(); i-- > 0;) RegDeleteValueA(key, dead[i].c_str());
    RegCloseKey(key);
}

}  // namespace

bool ProcessIdentity::IsAlive() const {
    if (pid == 0 || !IsValidMSEL(stampTime)) return false;
    if (pid < 0 || pid > UINT32_MAX) return false;
    return GetProcessStartMSELCached(static_cast<uint32_t>(pid), true) == stampTime;
}

ProcessUniqueFlag::ProcessUniqueFlag(const char* keyName) : isCreatedBy_(0) {
    mutexTmpFilePath_[0] = 0;
    creatorPath_[0] = 0;
    ProcessIdentity pidt;
    pidt.pid = static_cast<int32_t>(os::CurrentProcessId());
    pidt.stampTime = GetProcessStartMSELCached(0, true);
    const int n = snprintf(mutexTmpFilePath_, sizeof(mutexTmpFilePath_), "%d-%" PRId64 "-%s",
                           static_cast<int>(pidt.pid), pidt.stampTime, keyName ? keyName : "");
    QDR_CHECK_OR_RETURN(n > 0 && n + 4 < (int)sizeof(mutexTmpFilePath_));
    strcat(mutexTmpFilePath_, ".puf");
    if (RegValueExists(HKEY_CURRENT_USER, kProcessFlagKey, mutexTmpFilePath_)) {
        char creator[kRegValueBytes];
        QDR_CHECK(GetRegKeyValue(HKEY_CURRENT_USER, kProcessFlagKey, mutexTmpFilePath_, creator,
                                 nullptr));
        snprintf(creatorPath_, sizeof(creatorPath_), "%.255s", creator);
        return;
    }
    RegCreateKey(HKEY_CURRENT_USER, "Software\\KORVANE");
    RegCreateKey(HKEY_CURRENT_USER, kProcessFlagKey);
    RegWriteString(HKEY_CURRENT_USER, kProcessFlagKey, mutexTmpFilePath_, GetThisModulePathName());
    QDR_CHECK(!isCreatedBy_);
    isCreatedBy_ = 1;
    snprintf(creatorPath_, sizeof(creatorPath_), "%s", GetThisModulePathName());
}

ProcessUniqueFlag::~ProcessUniqueFlag() {
    if (isCreatedBy_) RegDeleteValue(HKEY_CURRENT_USER, kProcessFlagKey, mutexTmpFilePath_);
    if (g_sweepDue) {
        g_sweepDue = false;
        SweepStaleFlags();
    }
}
