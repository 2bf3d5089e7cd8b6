// The one open log file and its counters, driven from the event road under lock_.
#pragma once

#include <cstdint>
#include <cstdio>

#include "qdr/qdmsel.h"

class LogContext;

constexpr int kLogPathChars = 512;

class LogFile {
public:
    LogFile() = default;
    ~LogFile() { Close(); }
    LogFile(const LogFile&) = delete;
    LogFile& operator=(const LogFile&) = delete;

    bool IsOpen() const { return fp_ != nullptr; }
    // Opens `path` with `mode`; on success the path is kept and linesToFlush_ is 0.
    bool Open(const char* path, const char* mode);
    // Closing flushes what the stream holds; it must succeed.
    void Close();
    // The path while open, else "".
    const char* Name() const { return fp_ ? fileName_ : ""; }

    FILE* fp_ = nullptr;
    char fileName_[kLogPathChars] = {};
    int64_t bytesWritten_ = 0;
    int32_t linesToFlush_ = 0;
};

// The log file's name for an event at `now`: "%s%slog%s.log" with the directory, a
// '\' unless the directory already ends in '\' or '/', and the local time in 14
// digits. False when the path would not fit.
//   "/var/log/app/", 2016-11-18 12:12:00 -> "/var/log/app/log20161118121200.log"
//   "/var/log/app",  2016-11-18 12:12:00 -> "/var/log/app\log20161118121200.log"
bool ComposeLogFileName(const char* dir, MSEL now, char (&path)[kLogPathChars]);

// At the first event of every second: opens a file when none is open and gives up
// a full one for a new one. The caller holds lock_.
void CheckLogFile(LogContext& log, MSEL now);

// Flushes the stream once flushLines_ lines have gathered; takes lock_.
void FlushLogFile(LogContext& log);
