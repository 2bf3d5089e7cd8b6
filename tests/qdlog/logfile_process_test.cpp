// The log file writer across processes: children of logfile_helper log through
// libqdlog_9d.so while this program watches their files.
#include <gtest/gtest.h>

#include <algorithm>
#include <filesystem>
#include <string>
#include <vector>

#include "child_process.h"
#include "log_test_support.h"
#include "scratch_dir.h"

namespace {

namespace fs = std::filesystem;

// Every line of every log file in `dir`, which must all be whole: a head, then the
// text, then CR LF.
std::vector<std::string> TextsOfAllFiles(const fs::path& dir) {
    std::vector<std::string> texts;
    for (const auto& entry : fs::directory_iterator(dir)) {
        const std::string bytes = Contents(entry.path());
        EXPECT_TRUE(bytes.empty() || bytes.compare(bytes.size() - 2, 2, "\r\n") == 0)
            << entry.path() << " ends inside a line";
        const std::vector<std::string> more = TextsOf(bytes, "\r\n");
        texts.insert(texts.end(), more.begin(), more.end());
    }
    return texts;
}

// Started together, both open a file of the same second: one makes it, the other
// appends to it (or both make it at once: neither cuts it). With 1000 lines between
// flushes the stream's buffer fills many times between them.
TEST(LogFileProcesses, TwoStartingTogetherLoseAndTearNoLine) {
    ScratchDir dir("qdlog-two");
    // Early in a second of their own, so that both open a file of that second.
    const std::string start = std::to_string((WallClockMs() / 1000 + 1) * 1000 + 100);
    ChildProcess a({LOGFILE_HELPER, "lines", dir.Text(), "A", "100000", start, "1000"});
    ChildProcess b({LOGFILE_HELPER, "lines", dir.Text(), "B", "100000", start, "1000"});
    std::string firstOfA, firstOfB;
    ASSERT_TRUE(a.ReadLine(&firstOfA));
    ASSERT_TRUE(b.ReadLine(&firstOfB));
    EXPECT_EQ(firstOfA, firstOfB);  // one file for both
    ASSERT_EQ(0, a.Wait());
    ASSERT_EQ(0, b.Wait());
    // Each of their numbers 0 .. 99999 exactly once, and nothing else.
    std::vector<std::string> texts = TextsOfAllFiles(dir.Path()), want;
    char text[32];
    for (const char* tag : {"A", "B"})
        for (int i = 0; i < 100000; ++i)
            want.push_back((snprintf(text, 32, "%s %06d", tag, i), text));
    std::sort(texts.begin(), texts.end());
    EXPECT_EQ(want.size(), texts.size());
    EXPECT_TRUE(want == texts);  // too long to print
}

TEST(LogFileProcesses, AKilledProcessLosesFewerThanFlushLines) {
    ScratchDir dir("qdlog-killed");
    ChildProcess child({LOGFILE_HELPER, "killme", dir.Text(), "line", "1234", "0", "50"});
    std::string written;
    ASSERT_TRUE(child.ReadLine(&written));
    // While it lives, this process sees the file lag by fewer than 50 lines ...
    const size_t seenAlive = TextsOfAllFiles(dir.Path()).size();
    EXPECT_LT(1234 - static_cast<int>(seenAlive), 50);
    child.Kill();
    EXPECT_EQ(128 + 9, child.Wait());
    // ... and the kill takes no more than that.
    std::vector<std::string> texts = TextsOfAllFiles(dir.Path());
    EXPECT_EQ(seenAlive, texts.size());
    for (size_t i = 0; i < texts.size(); ++i) {
        char expected[32];
        snprintf(expected, sizeof(expected), "line %06zu", i);
        EXPECT_EQ(expected, texts[i]);
    }
}

TEST(LogFileProcesses, AFileSizeLimitOfTheSystemBreaksNothing) {
    ScratchDir dir("qdlog-fsize");
    ChildProcess child({LOGFILE_HELPER, "fsize", dir.Text(), "20000", "500"});
    EXPECT_EQ("callback 500\n", child.ReadAll());  // every line reached the other outputs
    EXPECT_EQ(0, child.Wait());
    for (const auto& entry : fs::directory_iterator(dir.Path()))
        EXPECT_LE(fs::file_size(entry.path()), 20000u) << entry.path();
}

TEST(LogFileProcesses, AnUnwritableDirectoryIsTakenUpAgainWithinASecond) {
    ScratchDir dir("qdlog-unwritable");
    fs::permissions(dir.Path(), fs::perms::all);  // the child may run as nobody
    ChildProcess child({LOGFILE_HELPER, "unwritable", dir / "logs"});
    const std::string report = child.ReadAll();
    EXPECT_EQ(0, child.Wait()) << report;
    int closed = 0, callbacks = 0;
    long long resumed = -1;
    ASSERT_EQ(3, sscanf(report.c_str(), "closed %d callbacks %d resumed-after-ms %lld", &closed,
                        &callbacks, &resumed))
        << report;
    EXPECT_EQ(1, closed);     // the full file was given up and no new one could be made
    EXPECT_GT(callbacks, 0);  // while the other outputs went on
    EXPECT_GE(resumed, 0);
    EXPECT_LE(resumed, 1100);  // the first event of the next second opens a file again
}

}  // namespace
