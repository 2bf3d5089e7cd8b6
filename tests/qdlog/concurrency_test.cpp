// Many threads at once: the lines of concurrent events never mix on the screen, in
// the file or at the callbacks. These also run under ThreadSanitizer.
#include <gtest/gtest.h>

#include <regex>
#include <string>
#include <thread>
#include <vector>

#include "log_test_support.h"
#include "scratch_dir.h"

namespace {

constexpr int kThreads = 8;
constexpr int kEvents = 150;

// Every event has three lines "t<thread> e<event> <a|b|c>"; each output must show
// them as whole lines, in order and next to each other, and each thread's events
// in the order it sent them.
void ExpectWholeEvents(const std::vector<std::string>& texts, const char* where) {
    ASSERT_EQ(size_t(kThreads * kEvents * 3), texts.size()) << where;
    std::vector<int> nextEvent(kThreads, 0);
    const std::regex shape("t([0-9]+) e([0-9]+) ([abc])");
    for (size_t i = 0; i < texts.size(); i += 3) {
        std::smatch m;
        ASSERT_TRUE(std::regex_match(texts[i], m, shape)) << where << ": " << texts[i];
        const int thread = std::stoi(m[1].str());
        const std::string event = "t" + m[1].str() + " e" + m[2].str();
        ASSERT_EQ(event + " a", texts[i]) << where;
        ASSERT_EQ(event + " b", texts[i + 1]) << where;
        ASSERT_EQ(event + " c", texts[i + 2]) << where;
        ASSERT_EQ(nextEvent[static_cast<size_t>(thread)]++, std::stoi(m[2].str())) << where;
    }
}

class EventRoadConcurrency : public LogTest {};

TEST_F(EventRoadConcurrency, EightThreadsNeverMixLines) {
    ScratchDir dir("qdlog-threads");
    ASSERT_EQ(1, QDLogSetDir((dir.Text() + "/").c_str()));
    QDLogToFile(1);
    QDLogScreen(1);
    LineRecorder recorder;

    testing::internal::CaptureStdout();
    std::vector<std::thread> threads;
    for (int t = 0; t < kThreads; ++t)
        threads.emplace_back([t] {
            for (int e = 0; e < kEvents; ++e) {
                if (e % 2)
                    QDLogEvent(0, "t%d e%d a\nt%d e%d b\nt%d e%d c", t, e, t, e, t, e);
                else
                    QDLogEventW(0, u"t%d e%d a\nt%d e%d b\nt%d e%d c", t, e, t, e, t, e);
            }
        });
    for (std::thread& t : threads) t.join();
    const std::string screen = testing::internal::GetCapturedStdout();

    const std::string path = QDLogGetFileName();
    {
        LogContext& log = GetLogContext();
        LogLock lock(log);
        log.logFile_.Close();  // flushes what the stream holds
    }
    const std::string file = Contents(path);
    QDLogToFile(0);
    QDLogSetDir(nullptr);

    ExpectWholeEvents(recorder.Texts(), "callbacks");
    ExpectWholeEvents(TextsOf(screen, "\n"), "screen");
    ExpectWholeEvents(TextsOf(file, "\r\n"), "file");
}

}  // namespace
