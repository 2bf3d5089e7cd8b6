// Helpers of the engine's tests: a callback that records lines, a fixture that
// quiets the outputs, and the road driven at a fixed moment.
#pragma once

#include <gtest/gtest.h>

#include <mutex>
#include <string>
#include <vector>

#include "eventroad.h"
#include "qdlog.h"

// clang-format off
struct RecordedLine { int type; std::string head; std::string text; bool headTerminated; };
// clang-format on

// Registered with itself as the user data for its lifetime.
class LineRecorder {
public:
    LineRecorder();
    ~LineRecorder();
    LineRecorder(const LineRecorder&) = delete;
    LineRecorder& operator=(const LineRecorder&) = delete;

    std::vector<RecordedLine> Lines() const;
    std::vector<std::string> Texts() const;

private:
    static void Record(void* userData, int type, const char* head, int headLen, const char* text,
                       int textLen);
    mutable std::mutex mutex_;
    std::vector<RecordedLine> lines_;
};

// Every test starts from the same switches: screen and file off, the debugger on
// (it goes nowhere unless a tracer is attached), so that callbacks get lines and
// nothing floods the test output. The other settings are the defaults.
class LogTest : public testing::Test {
protected:
    void SetUp() override;
    void TearDown() override;
};

// 2016-11-18 12:12:00.123 at UTC+8: the tests run with TZ=CST-8.
constexpr MSEL kSampleMSEL = 1479442320123LL;
constexpr char kSampleTime[] = "2016-11-18 12:12:00.123";

// The second half of the road at a given moment, under lock_ as the road runs it.
template <class CHAR>
void PrintAt(int type, const CHAR* text, MSEL now, uint64_t cycle = 0) {
    LogContext& log = GetLogContext();
    LogLock lock(log);
    PrintEventAt(log, type, text, EventMoment{now, GetTickCount(), cycle});
}

// The list of old files as a run has it before its first sweep: a worker that
// still sweeps is stopped and waited for, the list and its sum are empty, and
// initFinished is `finished`.
void ResetLogFileList(int finished);
// The listed paths, oldest first.
std::vector<std::string> ListedPaths();

// The texts of the lines of an output that ends each line with `lineEnd`, each line
// without its head (up to "|信息:").
std::vector<std::string> TextsOf(const std::string& output, const std::string& lineEnd);
// The narrow entry without the compiler's format checking, for bad formats.
void LogFormat(int type, const char* fmt, ...);

std::u16string Widen(const std::string& utf8);
// A UTF-8 text in the given width.
template <class CHAR>
std::basic_string<CHAR> TextOf(const std::string& utf8) {
    if constexpr (sizeof(CHAR) == 1)
        return utf8;
    else
        return Widen(utf8);
}
// Logs `text` (UTF-8) through the entry of the given width, as "%s".
template <class CHAR>
void LogText(int type, const std::string& text) {
    if constexpr (sizeof(CHAR) == 1)
        QDLogEvent(type, "%s", text.c_str());
    else
        QDLogEventW(type, u"%s", Widen(text).c_str());
}
// What standard output received while `run` ran.
template <class Run>
std::string ScreenOf(Run run) {
    testing::internal::CaptureStdout();
    run();
    return testing::internal::GetCapturedStdout();
}
