// The open log file: naming, opening, switching when full, flushing.
#include "logfile.h"

#include <cstring>

#include "logcontext.h"
#include "logdir.h"
#include "qdfdk.h"
#include "qdr/platform/os_files.h"
#include "qdtime.h"
#include "smartbuf.h"

bool LogFile::Open(const char* path, const char* mode) {
    QDR_CHECK_OR_RETURN(!IsOpened(), false);
    if (!Adopt(os::OpenAppendingStream(path, mode), path)) return false;
    // Lines that the last file could not take (a full disk, a size limit) go first.
    tornTail_ = false;
    fileEnd_ = os::FileSizeOfStream(fp_);
    if (fileEnd_ < 0) fileEnd_ = 0;
    roomEnd_ = fileEnd_ > kRoomFrom ? fileEnd_ : kRoomFrom;
    ShowPath(path_, shownName_, sizeof(shownName_));
    linesToFlush_ = 0;
    return true;
}

void LogFile::Close() {
    if (!fp_) return;
    WriteOut();
    CFile::Close(true);
}

void LogFile::ReserveRoom(size_t bytes) {
    const int64_t from = fileEnd_ > roomEnd_ ? fileEnd_ : roomEnd_;
    const int64_t to = fileEnd_ + static_cast<int64_t>(bytes) + kRoomStep;
    // A file system without such room (or a full disk) is not asked again for this
    // file: the writes go on as they would without it.
    roomEnd_ = os::ReserveStreamFileRoom(fp_, from, to - from) ? to : INT64_MAX;
}

bool LogFile::WriteOut() {
    if (pending_ == 0) return true;
    size_t done = Append(buffer_, pending_);
    if (done == pending_) {
        pending_ = 0;
        return true;
    }
    // The system took only part: the piece of the line it cut goes back out of the
    // file, and the line waits whole in the buffer with those behind it.
    //   buffer "a\r\nbb\r\ncc\r\n", 6 bytes taken -> file "a\r\n", buffer "bb\r\ncc\r\n"
    size_t lineStart = done;
    while (lineStart > 0 && buffer_[lineStart - 1] != '\n') --lineStart;
    if (lineStart < done && os::CutStreamFileTail(fp_, buffer_ + lineStart, done - lineStart)) {
        fileEnd_ -= static_cast<int64_t>(done - lineStart);
        done = lineStart;
    }
    // Otherwise the rest of that line is the first thing written next: it finishes
    // the line.
    memmove(buffer_, buffer_ + done, pending_ - done);
    pending_ -= done;
    return false;
}

void LogFile::WriteLong(const char* head, int headLen, const char* text, int textLen,
                        bool lineEnd) {
    const size_t lineBytes =
        static_cast<size_t>(headLen) + static_cast<size_t>(textLen) + (lineEnd ? 2 : 0);
    SmartBuf<char, 1024> line(static_cast<int32_t>(lineBytes));
    if (!line.Get()) return;
    memcpy(line.Get(), head, static_cast<size_t>(headLen));
    memcpy(line.Get() + headLen, text, static_cast<size_t>(textLen));
    if (lineEnd) memcpy(line.Get() + headLen + textLen, "\r\n", 2);
    const size_t done = Append(line.Get(), lineBytes);
    if (done > 0 && done < lineBytes) {
        if (os::CutStreamFileTail(fp_, line.Get(), done))
            fileEnd_ -= static_cast<int64_t>(done);
        else
            tornTail_ = true;
    }
}

void LogFile::WriteLine(bool withHead, const char* head, int headLen, const char* text,
                        int textLen) {
    if (!withHead) headLen = 0;
    const size_t lineBytes =
        static_cast<size_t>(headLen) + static_cast<size_t>(textLen) + (withHead ? 2 : 0);
    if (tornTail_) {
        // Only whole lines may follow: the torn one is ended first.
        if (pending_ + 2 > sizeof(buffer_) && !WriteOut()) return;
        memcpy(buffer_ + pending_, "\r\n", 2);
        pending_ += 2;
        tornTail_ = false;
    }
    // What the buffer hands over always ends at a line's end.
    if (pending_ + lineBytes > sizeof(buffer_)) WriteOut();
    if (pending_ + lineBytes <= sizeof(buffer_)) {
        memcpy(buffer_ + pending_, head, static_cast<size_t>(headLen));
        memcpy(buffer_ + pending_ + headLen, text, static_cast<size_t>(textLen));
        if (withHead) memcpy(buffer_ + pending_ + headLen + textLen, "\r\n", 2);
        pending_ += lineBytes;
    } else if (pending_ == 0) {
        WriteLong(head, headLen, text, textLen, withHead);
    } else {
        return;  // the system refuses the lines before it, and the buffer is full
    }
    if (withHead) ++linesToFlush_;
}

void LogFile::Flush() {
    linesToFlush_ = 0;
    WriteOut();
}

bool LogFile::IsGoneFromItsPath() const {
    return os::StreamFileAtPath(fp_, path_) == os::PathMatch::kOther;
}

bool LogFile::IsOpenAt(const char* path) const {
    return fp_ && os::StreamFileAtPath(fp_, path) == os::PathMatch::kSame;
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
    QDR_CHECK(1 == log.logFileList_.listSet.erase(name));
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
        if (file.IsGoneFromItsPath()) {
            // Its directory was removed (or the file itself): nobody would read
            // what it gets. A new file opens as soon as the directory is back.
            file.Close();
            ForgetCounters(file);
        } else {
            // Only what has reached the system counts; a failed query (-1) never
            // switches.
            const int32_t size = GetFileSizeOfStream(file.GetStream());
            if (size < log.switchBytes_) {
                file.SawSize(size);
            } else {
                char closed[kLogPathChars];
                strcpy(closed, file.Name());
                file.Close();
                ForgetCounters(file);
                if (log.logFileList_.List(closed))
                    log.logFileList_.totalLogBytes +=
                        static_cast<int32_t>(GetFileSizeByName(closed));
            }
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
    log.logFile_.FlushIfDue(log.flushLines_);
}
