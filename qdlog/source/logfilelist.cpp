// The list of old log files: the sweep at start-up, its worker, and the deletion
// rules.
#include "logfilelist.h"

#include "cpp_templ0.h"
#include "filesearch.h"
#include "logdir.h"
#include "qdfdk.h"
#include "qdr/platform/os_files.h"
#include "qdtime.h"
#include "strdk.h"
#include "strdk_match.h"

// The worker sees the flag at its next file.
void LogContext::LogFileList::StopWorker() {
    if (!initThread) return;
    QDR_CHECK(!exitFlag);
    exitFlag = 1;
    OSWaitThread(initThread);
    initThread = 0;
}

bool ListFoundLogFile(LogContext& log, const char* dir, const char* path) {
    char listed[kLogPathChars];
    if (!ComposeLogPath(dir, GetFileNamePart(path), listed)) return false;
    LogLock lock(log);
    if (!lock.Held() || !log.logFileList_.List(listed)) return false;
    log.logFileList_.totalLogBytes += GetFileSizeByName(listed);
    return true;
}

namespace {

bool IsLogFile(bool isDirectory, const char* path) {
    return !isDirectory && MatchingString(GetFileNamePart(path), kLogFileNamePattern);
}

// The first sweep's callback, per entry of the directory (`param` is the context
// being built): lists the file, and at
// the 5000th hands the rest of the directory to the worker and ends the search.
bool ScanLogFile(void* param, bool isDirectory, const char* path) {
    if (!IsLogFile(isDirectory, path)) return true;
    LogContext& log = *static_cast<LogContext*>(param);
    QDR_CHECK(!log.logFileList_.exitFlag);
    LogLock lock(log);
    ListFoundLogFile(log, LogDirectory(), path);
    if (log.logFileList_.listSet.size() < static_cast<size_t>(kFirstSweepFiles)) return true;
    QDR_CHECK_OR_RETURN(((OSThread)0) == log.logFileList_.initThread, false);
    QDR_CHECK(OSCreateThread(&log.logFileList_.initThread, &log.logFileList_.initThreadID, LogContext::LogFileList::InitWoker, 0, 0 ));
    return false;
}

// The worker's callback: one insertion per file under lock_, and a pause every
// 512 files, so that events interleave with the sweep.
bool InitWokerFile(void* count, bool isDirectory, const char* path) {
    LogContext& log = GetLogContext();
    if (log.logFileList_.exitFlag) return false;
    if (!IsLogFile(isDirectory, path)) return true;
    ListFoundLogFile(log, LogDirectory(), path);
    int& accepted = *static_cast<int*>(count);
    if (++accepted % kWorkerPauseFiles == 0) os::SleepMs(1);
    return true;
}

// Measures, unlinks and forgets the listed file; its size leaves totalLogBytes.
// A file that cannot be deleted is forgotten all the same, until the next run's
// sweep; one that vanished measures -1, which leaves the sum one too high. `it`
// moves on to the next path.
int64_t DeleteListedFile(LogContext& log, LogPathSet::iterator& it) {
    const int64_t sz = GetFileSizeByName(it->c_str());
    QDR_CHECK(log.logFileList_.totalLogBytes >= sz);
    os::DeleteFile(it->c_str());
    log.logFileList_.totalLogBytes -= sz;
    it = log.logFileList_.listSet.erase(it);
    return sz;
}

// A listed path may name the open file: the worker's sweep lists whatever the
// directory holds, and the first opening goes on with the newest old file. Linux
// unlinks an open file without a word, and every line written to it afterwards
// would be lost, so the rules pass it by, known by its identity, not its name. It
// stays listed; its switch then adds nothing to the sum.
bool IsOpenLogFile(const LogContext& log, LogPathSet::iterator it) {
    return log.logFile_.IsOpenAt(it->c_str());
}

// The rules' common start: the preconditions, then whether the rule is due.
bool IsRuleDue(LogContext& log, bool switchedOn, uint32_t tick, uint32_t lastTick) {
    QDR_CHECK(log.logFileList_.initFinished);
    if (!log.logFileList_.initFinished || !switchedOn) return false;
    if (!IsElapsed(tick, lastTick, kRuleIntervalMs)) return false;
    QDR_CHECK(log.lock_.IsLockedByThreadSelf());
    // Without lock_ the worker may be inserting into the same set.
    return log.lock_.IsLockedByThreadSelf();
}

}  // namespace

unsigned LogContext::LogFileList::InitWoker(void* /*param*/) {
    int count = 0;
    SearchFilesEx(LogDirectory(), "*.log", false, InitWokerFile, &count);
    GetLogContext().logFileList_.initFinished = 1;
    return 0;
}

bool SweepLogDirectory(LogContext& log) {
    return SearchFilesEx(LogDirectory(), "*.log", false, ScanLogFile, &log);
}

int CleanByAge(LogContext& log, MSEL now, uint32_t tick) {
    QDR_CHECK(log.holdSeconds_ > 0);
    if (!IsRuleDue(log, log.holdSeconds_ > 0, tick, log.lastHoldCheckTick_)) return 0;
    LogPathSet& listSet = log.logFileList_.listSet;
    const int64_t holdMs = static_cast<int64_t>(log.holdSeconds_) * 1000;
    int deleted = 0;
    for (auto it = listSet.begin(); it != listSet.end();) {
        const std::string& path = *it;
        const char* separator = FindLastAnyCharOfStr(path.c_str(), "\\/");
        if (!separator) {
            QDR_CHECK(false);
            return deleted;
        }
        const char* file_ = separator + 1;
        if (!MatchingString(file_, kLogFileNamePattern)) {
            // The report shows the pattern written out; the name is matched again
            // only on this failing path.
            QDR_CHECK(MatchingString(file_, "log##############.log"));
            return deleted;
        }
        // The 14 digits behind "log", local time: "log20161118121200.log" was born
        // at 2016-11-18 12:12:00 here.
        const MSEL born = DateTextToMSEL(file_ + 3, false, true);
        if (born == -1) {
            QDR_CHECK(false);
            return deleted;
        }
        // The set is in order of birth: the first young file ends the run.
        if (!IsElapsed(now, born, holdMs)) break;
        if (IsOpenLogFile(log, it)) {
            ++it;
            continue;
        }
        DeleteListedFile(log, it);
        deleted = 1;
    }
    log.lastHoldCheckTick_ = tick;
    return deleted;
}

int CleanByReserve(LogContext& log, int disk_reserve_MBytes, uint32_t tick) {
    QDR_CHECK(disk_reserve_MBytes > 0);
    if (!IsRuleDue(log, disk_reserve_MBytes > 0, tick, log.lastReserveCheckTick_)) return 0;
    int64_t freeBytes = 0;
    switch (log.reserveIsMemory_) {
        case 0:
            // A failed query gives 0: the whole reserve counts as missing.
            freeBytes = static_cast<int64_t>(GetDiskSpace(LogDirectory()));
            break;
        case 1:
            freeBytes = static_cast<int64_t>(os::AvailablePhysicalMemory());
            if (freeBytes == 0) return 0;
            break;
        default:
            QDR_CHECK(false);
    }
    int64_t need = static_cast<int64_t>(disk_reserve_MBytes) * 1024 * 1024 - freeBytes;
    int deleted = 0;
    LogPathSet& listSet = log.logFileList_.listSet;
    for (auto it = listSet.begin(); need > 0 && it != listSet.end();) {
        if (IsOpenLogFile(log, it)) {
            ++it;
            continue;
        }
        need -= DeleteListedFile(log, it);
        deleted = 1;
    }
    log.lastReserveCheckTick_ = tick;
    return deleted;
}

int CleanByCount(LogContext& log, int maxFileNum, uint32_t tick) {
    QDR_CHECK(maxFileNum > 0);
    if (!IsRuleDue(log, maxFileNum > 0, tick, log.lastFileNumCheckTick_)) return 0;
    LogPathSet& listSet = log.logFileList_.listSet;
    for (auto it = listSet.begin();
         listSet.size() > static_cast<size_t>(maxFileNum) && it != listSet.end();) {
        if (IsOpenLogFile(log, it)) {
            ++it;
            continue;
        }
        os::DeleteFile(it->c_str());
        it = listSet.erase(it);
    }
    log.lastFileNumCheckTick_ = tick;
    return 0;
}

void RunDueLogFileRules(LogContext& log, MSEL now, uint32_t tick) {
    if (log.holdSeconds_ != 0 && IsElapsed(tick, log.lastHoldCheckTick_, kRuleIntervalMs) &&
        CleanByAge(log, now, tick))
        return;
    const int reserveMBytes = log.reserveMBytes_;
    if (reserveMBytes > 0 && IsElapsed(tick, log.lastReserveCheckTick_, kRuleIntervalMs))
        CleanByReserve(log, reserveMBytes, tick);
    const int maxFileNum = log.maxFileNum_;
    if (maxFileNum > 0 && IsElapsed(tick, log.lastFileNumCheckTick_, kRuleIntervalMs))
        CleanByCount(log, maxFileNum, tick);
}
