// A program on libqdlog_9d.so that the log file tests start as a child process,
// to log from a process of its own: together with another one, until it is
// killed, under a file size limit of the system, or as a user that loses the
// right to write into its log directory. It speaks only through the exports.
//
//   logfile_helper lines DIR TAG COUNT START_MS FLUSH_LINES    name of the file after the first
//   logfile_helper killme DIR TAG COUNT START_MS FLUSH_LINES   after the last, then waits
//   logfile_helper fsize DIR RLIMIT COUNT
//   logfile_helper unwritable DIR
#include <qdlog.h>

#include <grp.h>
#include <signal.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <unistd.h>

#include <atomic>
#include <cstdio>
#include <cstdlib>
#include <string>

#include "child_process.h"

namespace {

std::atomic<int> g_callbackLines{0};

void CountLine(void*, int, const char*, int, const char*, int) {
    g_callbackLines.fetch_add(1, std::memory_order_relaxed);
}

// Only the file: the other outputs would flood the test's pipe.
void StartLogging(const char* dir, int flushLines) {
    if (!QDLogSetDir(dir)) {
        std::printf("cannot set %s\n", dir);
        std::exit(2);
    }
    QDLogScreen(0);
    QDLogOutputToDebuger(0);
    QDLogAddCallback(CountLine, &g_callbackLines);
    QDLogSetFlushLines(flushLines);
}

int Lines(char** argv, bool untilKilled) {
    const int count = std::atoi(argv[4]);
    const long long start = std::atoll(argv[5]);
    while (WallClockMs() < start) usleep(1000);
    StartLogging(argv[2], std::atoi(argv[6]));
    for (int i = 0; i < count; ++i) {
        QDLogEvent(0, "%s %06d", argv[3], i);
        if (i == (untilKilled ? count - 1 : 0)) {
            std::printf("file %s\n", QDLogGetFileName());
            std::fflush(stdout);
        }
    }
    while (untilKilled) pause();
    return 0;
}

int FileSizeLimit(char** argv) {
    // The write then fails with EFBIG instead of ending the process.
    signal(SIGXFSZ, SIG_IGN);
    const rlim_t limit = static_cast<rlim_t>(std::atoll(argv[3]));
    const rlimit fsize = {limit, limit};
    setrlimit(RLIMIT_FSIZE, &fsize);
    StartLogging(argv[2], 1);
    const int count = std::atoi(argv[4]);
    const std::string filler(100, 'f');
    for (int i = 0; i < count; ++i) QDLogEvent(0, "line %06d %s", i, filler.c_str());
    std::printf("callback %d\n", g_callbackLines.load());
    return 0;
}

// Logs for up to `ms` milliseconds, one event of 1 KiB every millisecond; the time
// when a file was first seen open (0: never). With `untilOpen` it stops there.
long long LogFor(int ms, bool untilOpen) {
    const std::string filler(1024, 'u');
    const long long end = WallClockMs() + ms;
    long long opened = 0;
    while (WallClockMs() < end) {
        QDLogEvent(0, "%s", filler.c_str());
        if (!opened && QDLogGetFileName()[0]) opened = WallClockMs();
        if (opened && untilOpen) break;
        usleep(1000);
    }
    return opened;
}

int Unwritable(char** argv) {
    // Root writes anywhere: the test runs as nobody then, in a directory of its own.
    if (geteuid() == 0 &&
        (setgroups(0, nullptr) != 0 || setgid(65534) != 0 || setuid(65534) != 0)) {
        std::printf("cannot become nobody\n");
        return 2;
    }
    StartLogging(argv[2], 1);
    QDLogSetFileSizeLimit(16384);
    if (!LogFor(100, true)) {
        std::printf("no file at the start\n");
        return 1;
    }
    chmod(argv[2], 0555);
    // The file fills at once; the first event of the next second gives it up, and
    // no new one can be made.
    LogFor(1100, false);
    const bool closed = QDLogGetFileName()[0] == 0;
    const int linesWhileLocked = g_callbackLines.load();
    chmod(argv[2], 0755);
    const long long usable = WallClockMs();
    const long long opened = LogFor(1500, true);
    std::printf("closed %d callbacks %d resumed-after-ms %lld\n", closed ? 1 : 0, linesWhileLocked,
                opened ? opened - usable : -1);
    return 0;
}

}  // namespace

int main(int argc, char** argv) {
    const std::string command = argc > 1 ? argv[1] : "";
    if ((command == "lines" || command == "killme") && argc == 7)
        return Lines(argv, command == "killme");
    if (command == "fsize" && argc == 5) return FileSizeLimit(argv);
    if (command == "unwritable" && argc == 3) return Unwritable(argv);
    std::fprintf(stderr, "usage: see the head of logfile_helper.cpp\n");
    return 2;
}
