// The list of old log files: the sweep at start-up and the deletion rules.
#include "logfilelist.h"

#include "filesearch.h"
#include "qdfdk.h"
#include "strdk_match.h"

LogContext::LogFileList::~LogFileList() {
    // A sweep still running in its worker is told to stop and waited for.
    if (initThread) {
        QDR_CHECK(!exitFlag);
        exitFlag = 1;
        OSWaitThread(initThread);
        initThread = 0;
    }
}

bool ListLogFile(LogContext::LogFileList& list, const char* path) {
    return list.listSet.insert(path).second;
}

bool ListFoundLogFile(LogContext& log, const char* dir, const char* path) {
    char listed[kLogPathChars];
    if (!ComposeLogPath(dir, GetFileNamePart(path), listed)) return false;
    LogLock lock(log);
    if (!lock.Held() || !ListLogFile(log.logFileList_, listed)) return false;
    log.logFileList_.totalLogBytes += GetFileSizeByName(listed);
    return true;
}

namespace {

// The first sweep's callback, per entry of the directory. The handover to a worker
// thread at the 5000th file comes with retention; until then the first call takes
// in the whole directory.
bool ScanLogFile(void* /*param*/, bool isDirectory, const char* path) {
    if (isDirectory || !MatchingString(GetFileNamePart(path), kLogFileNamePattern)) return true;
    LogContext& log = GetLogContext();
    QDR_CHECK(!log.logFileList_.exitFlag);
    ListFoundLogFile(log, QDLogGetDir(), path);
    return true;
}

}  // namespace

bool SweepLogDirectory(LogContext& /*log*/) {
    return SearchFilesEx(QDLogGetDir(), "*.log", false, ScanLogFile, nullptr);
}

// The age, reserve and file count rules come with retention; they wait for
// initFinished.
void CleanLogFiles(LogContext& /*log*/, MSEL /*now*/, uint32_t /*tick*/) {}
