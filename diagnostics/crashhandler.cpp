// The optional crash handler: the stack of the failing thread and a short report,
// to standard error and to the end of the open log file, then the signal's own end.
// It runs in a signal handler, so it allocates nothing and takes no lock of the
// engine; the symbol library allocates, so its lines are "module: address() +offset".
#include <atomic>
#include <cstdio>
#include <cstring>

#include "platform/os_signals.h"
#include "qdr/platform/os.h"
#include "rawstack.h"
#include "stacktext.h"

// Texts of fixed capacity are cut when they do not fit.
#if defined(__GNUC__) && !defined(__clang__)
#pragma GCC diagnostic ignored "-Wformat-truncation"
#endif

namespace {

typedef const char* (*LogFileNameRoutine)(void);

std::atomic<LogFileNameRoutine> g_logFileName{nullptr};
std::atomic<bool> g_crashing{false};

constexpr int kCrashLines = 40;

const char kCrashTemplate[] =
    "%s\r\nFatal Signal %d(%s)!\r\n\r\nPID    : %d\r\nTID    : %d(0x%08X)\r\nProgram: %s%s\r\n"
    "Address: %p\r\n";

void OnCrash(int signal, const void* context, const void* address) {
    // A second failing thread waits for the first to write, and ends with it.
    if (g_crashing.exchange(true)) {
        os::SleepMs(10000);
        return;
    }
    char stack[kCrashLines * 104];
    stack[0] = 0;
    StackLines lines = {kCrashLines, 0, stack, static_cast<int>(sizeof(stack)), stack, "\r\n"};
    WriteRawStackLines(context, &lines, 0);

    char program[512];
    if (os::ProgramPath(program, sizeof(program)) == 0)
        snprintf(program, sizeof(program), "unknown exe");
    char arguments[1024];
    os::JoinedArguments(arguments, sizeof(arguments));

    char report[sizeof(stack) + 2048];
    const uint32_t tid = os::CurrentThreadId();
    int length = snprintf(report, sizeof(report), kCrashTemplate, stack, signal,
                          os::SignalName(signal), static_cast<int>(os::CurrentProcessId()),
                          static_cast<int>(tid), tid, program, arguments, address);
    if (length < 0) return;
    if (length >= static_cast<int>(sizeof(report))) length = sizeof(report) - 1;
    os::WriteStderr(report, static_cast<size_t>(length));
    if (LogFileNameRoutine logFileName = g_logFileName.load(std::memory_order_acquire)) {
        const char* path = logFileName();
        if (path && path[0]) os::AppendToFile(path, report, static_cast<size_t>(length));
    }
}

}  // namespace

int qdr_InstallCrashHandler() {
    // The engine's export, when the program has the engine. Called once here so that
    // its singleton exists and the handler's call reads the name without a lock.
    auto logFileName =
        reinterpret_cast<LogFileNameRoutine>(os::FindLoadedFunction("QDLogGetFileName"));
    if (logFileName) logFileName();
    g_logFileName.store(logFileName, std::memory_order_release);
    return os::InstallFatalSignalHandlers(OnCrash) ? 1 : 0;
}
