// The open log file: naming, opening, switching when full, flushing.
#include "logfile.h"

#include <cstring>

#include "logcontext.h"
#include "logdir.h"
#include "logfilelist.h"
#include "qdfdk.h"
#include "qdr/platform/os_files.h"
#include "qdtime.h"
#include "smartbuf.h"

bool LogFile::Open(const char* path, const char* mode) {
    QDR_CHECK(!IsOpened());
    if (IsOpened() || !Adopt(os::OpenAppendingStream(path, mode), path)) return false;
    // Before any other use of the stream; the buffer lives as long as the file.
    setvbuf(fp_, streamBuffer_, _IOFBF, sizeof(streamBuffer_));
    ShowPath(path_, shownName_, sizeof(shownName_));
    linesToFlush_ = 0;
    return true;
}

void LogFile::WriteLine(bool withHead, const char* head, int headLen, const char* text,
                        int textLen) {
    if (!withHead) headLen = 0;
    const size_t lineBytes =
        static_cast<size_t>(headLen) + static_cast<size_t>(textLen) + (withHead ? 2 : 0);
    // The stream hands its buffer to the system only when told to, so what it
    // hands over always ends at a line's end.
    if (os::PendingStreamBytes(fp_) + lineBytes > sizeof(streamBuffer_)) fflush(fp_);
    if (lineBytes <= sizeof(streamBuffer_)) {
        // lock_ guards the stream: its own lock would only cost time.
        os::WriteStreamUnlocked(fp_, head, static_cast<size_t>(headLen));
        os::WriteStreamUnlocked(fp_, text, static_cast<size_t>(textLen));
        if (withHead) os::WriteStreamUnlocked(fp_, "\r\n", 2);
    } else {
        SmartBuf<char, 1024> line(static_cast<int32_t>(lineBytes));
        if (line.Get()) {
            memcpy(line.Get(), head, static_cast<size_t>(headLen));
            memcpy(line.Get() + headLen, text, static_cast<size_t>(textLen));
            if (withHead) memcpy(line.Get() + headLen + textLen, "\r\n", 2);
            os::WriteStreamDirect(fp_, line.Get(), lineBytes);
        }
    }
    if (withHead) ++linesToFlush_;
}

void LogFile::Flush() {
    linesToFlush_ = 0;
    fflush(fp_);
}

bool LogFile::IsStillAtItsPath() const {
    return os::IsStreamAtPath(fp_, path_);
}

bool ComposeLogPath(const char* dir, const char* name, char (&path)[kLogPathChars]) {
    const size_t dirLen = strlen(dir);
    const bool endsInSeparator = dirLen > 0 && (dir[dirLen - 1] == '\\' || dir[dirLen - 1] == '/');
    const int n = snprintf(path, sizeof(path), "%s%s%s", dir, endsInSeparator ? "" : "\\", name);
    if (n < 0 || n >= static_cast<int>(sizeof(path))) {
        path[0] = 0;
        return false;
    }
    return true;
}

bool ComposeLogFileName(const char* dir, MSEL now, char (&path)[kLogPathChars]) {
    char name[3 + 32 + 4];  // "log", the date text's 32 bytes of room, ".log"
    if (!MSELToDateText(now, name + 3, false, false, 0, true)) {
        path[0] = 0;
        return false;
    }
    memcpy(name, "log", 3);
    strcat(name, ".log");
    return ComposeLogPath(dir, name, path);
}

namespace {

void ForgetCounters(LogFile& file) {
    file.bytesWritten_ = 0;
    file.linesToFlush_ = 0;
}

// The newest old file, when it is below half the limit: the path to go on with.
// It leaves the list and its bytes leave the sum.
bool TakeNewestSmallFile(LogContext& log, char (&name)[kLogPathChars]) {
    LogPathSet& listSet = log.logFileList_.listSet;
    if (listSet.empty()) return false;
    const std::string& newest = *listSet.rbegin();
    if (newest.size() >= sizeof(name)) return false;
    const int32_t size = static_cast<int32_t>(GetFileSizeByName(newest.c_str()));
    if (size >= log.switchBytes_ / 2) return false;
    strcpy(name, newest.c_str());
    log.logFileList_.totalLogBytes -= size;
    // clang-format off
    QDR_CHECK(1 == log.logFileList_.listSet.erase(name));
    // clang-format on
    return true;
}

}  // namespace

void CheckLogFile(LogContext& log, MSEL now) {
    QDR_CHECK(log.lock_.IsLockedByThreadSelf());
    if (!log.toFile_) return;  // an open file stays open and simply gets no lines
    LogFile& file = log.logFile_;
    bool firstOpen = true;
    if (file.IsOpen()) {
        firstOpen = false;
        if (!file.IsStillAtItsPath()) {
            // Its directory was removed (or the file itself): nobody would read
            // what it gets. A new file opens as soon as the directory is back.
            file.Close();
            ForgetCounters(file);
        } else if (GetFileSizeOfStream(file.GetStream()) >= log.switchBytes_) {
            // Only what has reached the system counts; a failed query (-1) never
            // switches.
            char closed[kLogPathChars];
            strcpy(closed, file.Name());
            file.Close();
            ForgetCounters(file);
            if (ListLogFile(log.logFileList_, closed))
                log.logFileList_.totalLogBytes += static_cast<int32_t>(GetFileSizeByName(closed));
        }
    }
    if (file.IsOpen()) return;

    // Only the first opening of a run goes on with the last run's newest file.
    char name[kLogPathChars];
    const bool reuse = firstOpen && TakeNewestSmallFile(log, name);
    if (!reuse && !ComposeLogFileName(LogDirectory(), now, name)) return;
    const bool exists = reuse || IsExistFile(name);
    // An existing file (the one continued, another process's of the same second, a
    // clock set back) is appended to, never cut. A failed open is tried again at
    // the first event of the next second.
    if (!exists)
        file.Open(name, "wb");
    else if (file.Open(name, "rb+"))
        fseek(file.GetStream(), 0, SEEK_END);
}

void FlushLogFile(LogContext& log) {
    LogLock lock(log);
    if (lock.Held()) FlushLogFileHeld(log);
}

void FlushLogFileHeld(LogContext& log) {
    QDR_CHECK(log.lock_.IsLockedByThreadSelf());
    LogFile& file = log.logFile_;
    // Never below the threshold, also when the application asks.
    if (file.IsOpen() && file.linesToFlush_ >= log.flushLines_) file.Flush();
}
