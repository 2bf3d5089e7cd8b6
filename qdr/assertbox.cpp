// Composes the assertion report and obtains its answer.
#include "qdassert.h"

#include <atomic>
#include <cstdio>
#include <cstring>

#include "diagnostics/stackwalker.h"
#include "qdmsel.h"

// Every text of the report has a fixed capacity and is cut when it does not fit.
#if defined(__GNUC__) && !defined(__clang__)
#pragma GCC diagnostic ignored "-Wformat-truncation"
#endif

namespace {

std::atomic<qdr_AssertReportHandler> g_handler{nullptr};

const char kCaption[] = "Smart Debug Lib - DEBUG";

const char kTemplate[] =
    "Debug Assertion Failed%s%s%s!\n\nPID    : %d\nTID    : %d(0x%08X)\nProgram: %s%s\n"
    "Module : %s\nTime   : %s\nCycle  : %s\n\nFile   : %s(%d)\nExpression: (%s)\n\n"
    "(Press Retry to debug the application)";

// Capacities of the report's texts, in characters with the terminator; longer text
// is cut.
constexpr int kPathChars = 512;
constexpr int kArgumentChars = 1024;
constexpr int kTimeChars = 64;
constexpr int kCycleChars = 32;
constexpr int kMessageChars = 512;
constexpr int kReportChars = 1024;
constexpr int kStackChars = 2048;

bool IsSeparator(char c) {
    return c == '\\' || c == '/';
}

// Keeps a path readable in the box:
//   54 characters or fewer          -> unchanged
//   longer, separator at len-50..41 -> "..." + tail from the leftmost such separator
//   longer, none there              -> "..." + the last 40 characters
void ShortenPath(const char* path, char* out, int capacity) {
    int len = static_cast<int>(strlen(path));
    if (len <= 54) {
        snprintf(out, static_cast<size_t>(capacity), "%s", path);
        return;
    }
    int i = 50;
    while (i > 40) {
        if (IsSeparator(path[len - i])) break;
        --i;
    }
    snprintf(out, static_cast<size_t>(capacity), "...%s", path + len - i);
}

// Shows the report and returns the answer, as Linux allows: the installed
// handler; else QDR_ASSERT_ANSWER; else a question on the terminal; else Ignore.
int ShowBox(const char* text, const char* file, int line, const char* expr, const char* message) {
    if (qdr_AssertReportHandler handler = g_handler.load(std::memory_order_acquire)) {
        qdr_AssertReport report = {kCaption, text, file, line, expr, message};
        return handler(&report);
    }
    char banner[64];
    int bannerLen = snprintf(banner, sizeof(banner), "\n%s\n", kCaption);
    os::WriteStderr(banner, static_cast<size_t>(bannerLen));
    os::WriteStderr(text, strlen(text));
    os::WriteStderr("\n", 1);
    if (const char* answer = os::GetEnv("QDR_ASSERT_ANSWER")) {
        if (strcmp(answer, "abort") == 0) return QDR_IDABORT;
        if (strcmp(answer, "retry") == 0) return QDR_IDRETRY;
        return QDR_IDIGNORE;
    }
    if (os::StdinAndStderrAreTerminals()) {
        switch (os::AskTerminal("(A)bort, (R)etry, (I)gnore? ")) {
            case 'a':
                return QDR_IDABORT;
            case 'r':
                return QDR_IDRETRY;
            default:
                return QDR_IDIGNORE;
        }
    }
    return QDR_IDIGNORE;
}

}  // namespace

const char* qdr_CheckMessage(const char* message) {
    return message;
}

qdr_AssertReportHandler qdr_SetAssertReportHandler(qdr_AssertReportHandler handler) {
    return g_handler.exchange(handler, std::memory_order_acq_rel);
}

int qdr_AssertPrintfBox(const char* file, int line, const char* expr, const char* fmt, ...) {
    va_list args;
    va_start(args, fmt);
    int result = qdr_vAssertPrintfBox(file, line, expr, fmt, args);
    va_end(args);
    return result;
}

namespace {

// The program's path, shortened, or "unknown exe".
void ProgramText(char (&program)[kPathChars]) {
    char rawPath[kPathChars];
    if (os::ProgramPath(rawPath, kPathChars) == 0)
        snprintf(program, sizeof(program), "unknown exe");
    else
        ShortenPath(rawPath, program, kPathChars);
}

// The path of the module that holds the report, shortened, or "unknown module".
void ModuleText(const void* codeAddress, char (&module)[kPathChars]) {
    char rawPath[kPathChars];
    if (os::ModulePathOf(codeAddress, rawPath, kPathChars) == 0)
        snprintf(module, sizeof(module), "unknown module");
    else
        ShortenPath(rawPath, module, kPathChars);
}

// Local time straight from Linux (localtime_r): the report calls nothing that checks.
//   "2016/11/18 12:12:00.123"
void TimeText(char (&timeText)[kTimeChars]) {
    int64_t ms = (os::SystemTimeAsFileTime() - os::kFileTimeOfUnixEpoch) / 10000;
    std::tm tm = {};
    os::LocalTime(ms / 1000, &tm);
    snprintf(timeText, sizeof(timeText), "%04d/%02d/%02d %02d:%02d:%02d.%03d", tm.tm_year + 1900,
             tm.tm_mon + 1, tm.tm_mday, tm.tm_hour, tm.tm_min, tm.tm_sec,
             static_cast<int>(ms % 1000));
}

// The cycle counter in four groups of four hex digits: "0000,1A2B,3C4D,5E6F".
void CycleText(char (&cycleText)[kCycleChars]) {
    const uint64_t cycle = ReadCpuCycle();
    snprintf(cycleText, sizeof(cycleText), "%04X,%04X,%04X,%04X",
             static_cast<unsigned>((cycle >> 48) & 0xFFFF),
             static_cast<unsigned>((cycle >> 32) & 0xFFFF),
             static_cast<unsigned>((cycle >> 16) & 0xFFFF), static_cast<unsigned>(cycle & 0xFFFF));
}

}  // namespace

int qdr_vAssertPrintfBox(const char* file, int line, const char* expr, const char* fmt,
                         va_list args) {
    const int savedError = os::GetLastError();

    char shortFile[kPathChars];
    ShortenPath(file ? file : "", shortFile, kPathChars);
    char arguments[kArgumentChars];
    os::JoinedArguments(arguments, kArgumentChars);
    char program[kPathChars];
    ProgramText(program);
    char module[kPathChars];
    ModuleText(reinterpret_cast<const void*>(&qdr_vAssertPrintfBox), module);
    char timeText[kTimeChars];
    TimeText(timeText);
    char cycleText[kCycleChars];
    CycleText(cycleText);

    // The message, in parentheses, only when there is a format.
    char message[kMessageChars];
    const char* open = "";
    const char* close = "";
    const char* shownMessage = "";
    const char* handlerMessage = nullptr;
    if (fmt && fmt[0]) {
        vsnprintf(message, sizeof(message), fmt, args);
        open = "(";
        close = ")";
        shownMessage = message;
        handlerMessage = message;
    }

    char report[kReportChars];
    const uint32_t tid = os::CurrentThreadId();
    snprintf(report, sizeof(report), kTemplate, open, shownMessage, close,
             static_cast<int>(os::CurrentProcessId()), static_cast<int>(tid), tid, program,
             arguments, module, timeText, cycleText, shortFile, line, expr ? expr : "");

    // The stack lines come first, then a blank line, then the report. A walk that
    // fails leaves the stack text empty.
    char boxText[kStackChars + kReportChars];
    int answer;
    {
        StackWalker_D_ walker;
        walker.ShowCallstack(win_sw::kCurrentThread, nullptr, nullptr, nullptr);
        snprintf(boxText, sizeof(boxText), "%s\r\n%s", walker.Text(), report);
        answer = ShowBox(boxText, file, line, expr, handlerMessage);
    }

    os::SetLastError(savedError);

    switch (answer) {
        case QDR_IDRETRY:
            return 1;
        case QDR_IDABORT:
            os::ExitImmediately(255);
        default:
            return 0;
    }
}
