// The open log file: naming, opening, switching when full, flushing.
#include "logfile.h"

#include <cstring>

#include "logcontext.h"
#include "qdfdk.h"
#include "qdr/platform/os_files.h"
#include "qdtime.h"

bool LogFile::Open(const char* path, const char* mode) {
    fp_ = os::OpenFile(path, mode);
    if (!fp_) return false;
    snprintf(fileName_, sizeof(fileName_), "%s", path);
    linesToFlush_ = 0;
    return true;
}

void LogFile::Close() {
    if (!fp_) return;
    // The report shows this expression as written.
    // clang-format off
    QDR_CHECK(0 == fclose(fp_));
    // clang-format on
    fp_ = nullptr;
}

// "log" + the 14 digits of the local time + ".log"; no name for a time that has no
// date text.
bool ComposeLogFileName(const char* dir, MSEL now, char (&path)[kLogPathChars]) {
    char digits[32];
    if (!MSELToDateText(now, digits, false, false, 0, true)) {
        path[0] = 0;
        return false;
    }
    const size_t dirLen = strlen(dir);
    const bool endsInSeparator = dirLen > 0 && (dir[dirLen - 1] == '\\' || dir[dirLen - 1] == '/');
    const int n =
        snprintf(path, sizeof(path), "%s%slog%s.log", dir, endsInSeparator ? "" : "\\", digits);
    if (n < 0 || n >= static_cast<int>(sizeof(path))) {
        path[0] = 0;
        return false;
    }
    return true;
}

// The plain form of the check. Still to come with the list of old files: a closed
// file joins the list, and the first opening of a run goes on with the newest old
// file when it is below half the limit.
void CheckLogFile(LogContext& log, MSEL now) {
    QDR_CHECK(log.lock_.IsLockedByThreadSelf());
    if (!log.toFile_) return;  // an open file stays open and simply gets no lines
    LogFile& file = log.logFile_;
    // Only what has reached the system counts; a failed query (-1) never switches.
    if (file.IsOpen() && os::FileSizeOfStream(file.fp_) >= log.switchBytes_) {
        file.Close();
        file.bytesWritten_ = 0;
        file.linesToFlush_ = 0;
    }
    if (file.IsOpen()) return;

    char path[kLogPathChars];
    if (!ComposeLogFileName(QDLogGetDir(), now, path)) return;
    // A name that exists already (another process, a clock set back) is appended
    // to, never truncated. A failed open is tried again a second later.
    if (!IsExistFile(path))
        file.Open(path, "wb");
    else if (file.Open(path, "rb+"))
        fseek(file.fp_, 0, SEEK_END);
}

void FlushLogFile(LogContext& log) {
    LogLock lock(log);
    if (!lock.Held()) return;
    LogFile& file = log.logFile_;
    // Never below the threshold, also when the application asks.
    if (file.IsOpen() && file.linesToFlush_ >= log.flushLines_) {
        file.linesToFlush_ = 0;
        fflush(file.fp_);
    }
}
