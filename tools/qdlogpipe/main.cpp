// qdlogpipe: a program's standard output and error, or standard input, written
// line by line through libqdlog_9d.so into rotating, self-cleaning log files.
#include <qdlog.h>

#include <algorithm>
#include <cstdio>
#include <cstring>
#include <string>

#include "line_splitter.h"
#include "options.h"
#include "platform/pipe_os.h"

namespace {

constexpr int kBadUsage = 2;
constexpr int kAlteredInput = 3;
constexpr int kCannotRun = 127;

void Say(const std::string& text) {
    std::fprintf(stderr, "qdlogpipe: %s\n", text.c_str());
}

// One source of lines: the pipe it comes from, the type its lines are logged with,
// and where tee copies it.
struct Stream {
    int fd;
    FILE* tee;
    LineSplitter lines;
};

LineSplitter::Sink LogAs(int type, uint32_t maskBit) {
    return [type, maskBit](const char* text, size_t length) {
        if (QDLogLevelOn(maskBit)) QDLogEvent(type, "%.*s", static_cast<int>(length), text);
    };
}

bool Configure(const PipeOptions& options) {
    // Ahead of everything that builds the library's state, so that its first sweep
    // looks at this directory; a qdlog.ini's dir still wins in the sweep's pass.
    if (!options.dir.empty() && !QDLogSetDir(options.dir.c_str())) {
        Say("cannot make the log directory " + options.dir);
        return false;
    }
    for (const std::string* title : {&options.outTitle, &options.errTitle})
        if (title->size() >= 32) {
            Say("a title must be shorter than 32 bytes: " + *title);
            return false;
        }
    // Gated: a qdlog.ini that rules makes these do nothing.
    QDLogScreen(0);
    if (options.fileBytes >= 0)
        QDLogSetFileSizeLimit(static_cast<int>(std::min(options.fileBytes, 0x7FFFFFFFL)));
    if (options.lifeDays >= 0) QDLogSetLife(static_cast<int>(std::min(options.lifeDays, 365L)));
    if (options.reserveMBytes >= 0)
        QDLogSetReserve(static_cast<int>(std::min(options.reserveMBytes, 0x40000000L)), 0);
    if (options.maxFiles >= 0)
        QDLogSetMaxFileNum(static_cast<int>(std::min(options.maxFiles, 100000000L)));
    if (options.flushLines >= 0)
        QDLogSetFlushLines(static_cast<int>(std::min(options.flushLines, 8192L)));
    if (!options.outTitle.empty()) QDLogSetEventTitle(QDLOG_TYPE_INFO, options.outTitle.c_str());
    if (!options.errTitle.empty()) QDLogSetEventTitle(QDLOG_TYPE_ERROR, options.errTitle.c_str());
    return true;
}

// Reads every stream to its end; false when a stop signal ended the reading.
bool Drain(Stream* streams, int count, bool tee) {
    static char buffer[65536];
    int open = count;
    while (open > 0) {
        int fds[2];
        bool ready[2];
        for (int i = 0; i < count; ++i) fds[i] = streams[i].fd;
        if (!pipeos::WaitReadable(fds, ready, count)) {
            if (pipeos::StopSignal()) return false;
            continue;
        }
        for (int i = 0; i < count; ++i) {
            if (!ready[i]) continue;
            Stream& s = streams[i];
            const long n = pipeos::ReadSome(s.fd, buffer, sizeof(buffer));
            if (n > 0) {
                s.lines.Feed(buffer, static_cast<size_t>(n));
                if (tee) {
                    fwrite(buffer, 1, static_cast<size_t>(n), s.tee);
                    fflush(s.tee);
                }
                continue;
            }
            if (n < 0) Say("reading failed; what was read is logged");
            if (s.fd > 0) pipeos::CloseFd(s.fd);
            s.fd = -1;
            --open;
        }
    }
    return true;
}

}  // namespace

int main(int argc, char** argv) {
    PipeOptions options;
    std::string error;
    if (!ParseOptions(argc, argv, &options, &error)) {
        Say(error + "\nTry 'qdlogpipe --help'.");
        return kBadUsage;
    }
    if (options.help) {
        std::fputs(kPipeHelp, stdout);
        return 0;
    }
    if (!Configure(options)) return kBadUsage;

    Stream streams[2] = {{0, stdout, LineSplitter(LogAs(QDLOG_TYPE_INFO, QDLOG_MASK_INFO))},
                         {-1, stderr, LineSplitter(LogAs(QDLOG_TYPE_ERROR, QDLOG_MASK_ERROR))}};
    int count = 1;
    int pid = 0;
    if (!options.command.empty()) {
        int startError = 0;
        if (!pipeos::StartChild(options.command.data(), &pid, &streams[0].fd, &streams[1].fd,
                                &startError)) {
            Say(std::string("cannot run ") + options.command[0] + ": " +
                pipeos::ErrorText(startError));
            return kCannotRun;
        }
        count = 2;
    }
    pipeos::HandleStopSignals(pid);
    const bool complete = Drain(streams, count, options.tee);
    for (int i = 0; i < count; ++i) streams[i].lines.Finish();

    int status = 0;
    if (pid > 0) {
        int signal = 0;
        status = pipeos::WaitChild(pid, &signal);
        if (signal)
            Say(std::string(options.command[0]) + " ended by signal " + std::to_string(signal));
    } else if (!complete) {
        status = 128 + pipeos::StopSignal();
    }
    bool altered = false;
    for (int i = 0; i < count; ++i) {
        const LineSplitter& lines = streams[i].lines;
        altered |= lines.sawNul() || lines.splitLongLine() || lines.sawInvalidUtf8();
        if (lines.sawNul()) Say("NUL bytes were written as U+2400");
        if (lines.splitLongLine()) Say("lines longer than 65536 bytes were written in pieces");
        if (lines.sawInvalidUtf8()) Say("the input was not valid UTF-8; it was written as it came");
    }
    if (altered && status == 0) status = kAlteredInput;
    // Returning runs the library's exit handler, which flushes and closes the file.
    return status;
}
