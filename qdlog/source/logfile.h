// The one open log file and its counters, driven from the event road under lock_.
//
// Lines reach the system whole. The file keeps its own buffer of whole lines and
// hands it over with write(2) on the stream's descriptor (the C stream itself
// buffers nothing), and every write of the file is an append. So writers in
// several processes that share a file (two starts in the same second, or a start
// that goes on with the newest old file) interleave whole lines and never tear or
// overwrite one another's. When the system takes only part of the buffer (a full
// disk, a file size limit), the piece of a line that went in is cut off the file
// again, and the lines not written stay in the buffer for the next flush: a reader
// never sees half a line, and nothing is lost while the buffer has room.
#pragma once

#include <cstdint>
#include <cstdio>

#include "cfile.h"
#include "qdr/platform/os_files.h"
#include "qdr/qdmsel.h"

class LogContext;

constexpr int kLogPathChars = 512;

class LogFile : public CFile {
public:
    // Lines gather here up to this size between flushes; a longer line goes to the
    // system on its own.
    static constexpr int kBufferBytes = 16384;

    LogFile() = default;
    ~LogFile() { Close(); }
    LogFile(const LogFile&) = delete;
    LogFile& operator=(const LogFile&) = delete;

    bool IsOpen() const { return IsOpened(); }
    // "wb" makes a new file, "rb+" goes on with an existing one. On success the path
    // is kept and linesToFlush_ is 0.
    bool Open(const char* path, const char* mode);
    // Closing writes out what is buffered first; the close must succeed.
    void Close();
    // The path while open, else "".
    const char* Name() const { return fp_ ? path_ : ""; }
    // The same with '/', for QDLogGetFileName: written where the path is set, under
    // lock_, and read without it, so its pointer never dangles.
    const char* ShownName() const { return fp_ ? shownName_ : ""; }

    // One line: the head, the text and CR LF, or for raw text (type 31) the text
    // alone. Only lines with a head count towards linesToFlush_. A line that finds
    // the buffer full and the system refusing it is dropped.
    void WriteLine(bool withHead, const char* head, int headLen, const char* text, int textLen);
    // The common event builds its first line in place: `bytes` of room at the end
    // of the buffer, or null when they are lacking or a torn line must be ended
    // first (WriteLine then takes the line). CommitLine adds a line with a head
    // that was built there.
    char* Room(size_t bytes) {
        return !tornTail_ && pending_ + bytes <= sizeof(buffer_) ? buffer_ + pending_ : nullptr;
    }
    void CommitLine(size_t bytes) {
        pending_ += bytes;
        ++linesToFlush_;
    }
    // Hands the buffered lines to the system, and linesToFlush_ back to 0.
    void Flush();
    // Flushes once `flushLines` lines have gathered, never below: the rule of
    // QDLogFlushFile, inline for the event road.
    void FlushIfDue(int32_t flushLines) {
        if (IsOpen() && linesToFlush_ >= flushLines) Flush();
    }
    // Whether the file has left its path: the path (or a directory above it) is gone
    // or names another file. A path that the system will not look at (a directory
    // made unreadable) does not count: the open file still takes lines.
    bool IsGoneFromItsPath() const;
    // Whether `path` names the open file: the deletion rules never take it.
    bool IsOpenAt(const char* path) const;

    alignas(64) int64_t bytesWritten_ = 0;
    int32_t linesToFlush_ = 0;

    // What the per-second check found the file's size to be: where the next write
    // lands, appends of other processes included.
    void SawSize(int64_t size) {
        if (size >= 0) fileEnd_ = size;
    }

    // A file that has grown this far gets disk reserved beyond its end, this much at
    // a time: a write that enters new blocks of the file then finds them allocated
    // instead of reserving them itself, which is most of what makes the write of a
    // flush slow. What is left reserved when the file is closed stays with it
    // (less than kRoomStep), as a file system's own preallocation would.
    static constexpr int64_t kRoomFrom = 1 << 20;
    static constexpr int64_t kRoomStep = 1 << 20;

private:
    // write(2) of `bytes` at the end of the file, with room reserved ahead first.
    size_t Append(const char* data, size_t bytes) {
        if (fileEnd_ + static_cast<int64_t>(bytes) > roomEnd_) ReserveRoom(bytes);
        const size_t done = os::AppendToStreamFile(fp_, data, bytes);
        fileEnd_ += static_cast<int64_t>(done);
        return done;
    }
    void ReserveRoom(size_t bytes);
    // Writes the buffer out as far as the system takes it; true when all went.
    bool WriteOut();
    // A line longer than the buffer, on its own.
    void WriteLong(const char* head, int headLen, const char* text, int textLen, bool lineEnd);

    // The counters of the buffer first, on the cache line of linesToFlush_: an
    // event writes that line and the buffer's, and no other of the file.
    size_t pending_ = 0;
    // A line that could be neither written whole nor taken back ends the file: the
    // next write starts on a fresh line.
    bool tornTail_ = false;
    // Where this process's next write lands as far as it knows (appends of other
    // processes show at the per-second check), and the end of the room reserved.
    int64_t fileEnd_ = 0;
    int64_t roomEnd_ = 0;
    char buffer_[kBufferBytes];
    char shownName_[kLogPathChars] = "";
};

// The path of a log file named `name` in `dir`: the directory, a '\' unless it
// already ends in '\' or '/', and the name. False (and "") when it would not fit.
//   "/var/log/app/", "log20161118121200.log" -> "/var/log/app/log20161118121200.log"
//   "/var/log/app",  "log20161118121200.log" -> "/var/log/app\log20161118121200.log"
bool ComposeLogPath(const char* dir, const char* name, char (&path)[kLogPathChars]);

// The log file's name for an event at `now`: "%s%slog%s.log" with the directory,
// the separator as above and the local time in 14 digits. False when the path
// would not fit or the time has no date text.
bool ComposeLogFileName(const char* dir, MSEL now, char (&path)[kLogPathChars]);

// At the first event of every second: opens a file when none is open, continues
// the newest old file at the first opening of the run, and gives up a full one
// for a new one. The caller holds lock_.
void CheckLogFile(LogContext& log, MSEL now);

// Flushes the stream once flushLines_ lines have gathered; takes lock_.
void FlushLogFile(LogContext& log);
// The same for a caller that holds lock_ (the event road), which is not checked
// again here: the road has just checked it.
void FlushLogFileHeld(LogContext& log);
