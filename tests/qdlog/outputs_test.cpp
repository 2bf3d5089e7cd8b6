// The outputs at the end of the road: the callback map and its walk, and the log
// file in its plain form.
#include <gtest/gtest.h>
#include <unistd.h>

#include <filesystem>
#include <fstream>
#include <sstream>
#include <string>
#include <vector>

#include "log_test_support.h"

namespace {

namespace fs = std::filesystem;

// Who was called, in order, across all callbacks of a test.
std::vector<std::string> g_calls;

void CallF(void*, int, const char*, int, const char* text, int textLen) {
    g_calls.push_back("f:" + std::string(text, static_cast<size_t>(textLen)));
}
void CallG(void*, int, const char*, int, const char* text, int textLen) {
    g_calls.push_back("g:" + std::string(text, static_cast<size_t>(textLen)));
}

class Callbacks : public LogTest {
protected:
    void SetUp() override {
        LogTest::SetUp();
        g_calls.clear();
    }
    void TearDown() override {
        for (char& key : keys_) QDLogRemoveCallback(&key);
        QDLogRemoveCallback(nullptr);
        LogTest::TearDown();
    }
    char keys_[3] = {};  // user data in a known address order
};

TEST_F(Callbacks, OneCallbackPerUserDataAndTheFirstStays) {
    EXPECT_EQ(1, QDLogAddCallback(CallF, &keys_[0]));
    EXPECT_EQ(0, QDLogAddCallback(CallF, &keys_[0]));
    EXPECT_EQ(0, QDLogAddCallback(CallG, &keys_[0]));
    EXPECT_EQ(1, QDLogAddCallback(CallG, nullptr));  // null is user data like any other
    QDLogEvent(0, "x");
    EXPECT_EQ((std::vector<std::string>{"g:x", "f:x"}), g_calls);

    EXPECT_EQ(1, QDLogRemoveCallback(&keys_[0]));
    EXPECT_EQ(0, QDLogRemoveCallback(&keys_[0]));
    EXPECT_EQ(1, QDLogRemoveCallback(nullptr));
    g_calls.clear();
    QDLogEvent(0, "y");
    EXPECT_TRUE(g_calls.empty());
}

TEST_F(Callbacks, CalledInTheOrderOfTheirUserDataForEveryLine) {
    QDLogAddCallback(CallG, &keys_[2]);
    QDLogAddCallback(CallF, &keys_[0]);
    QDLogEvent(0, "1\n2");
    EXPECT_EQ((std::vector<std::string>{"f:1", "g:1", "f:2", "g:2"}), g_calls);
}

// Logs from inside itself, once per outer line: the lock is recursive and the
// nested event comes out between two lines of the outer one.
void Nesting(void*, int, const char*, int, const char* text, int textLen) {
    const std::string line(text, static_cast<size_t>(textLen));
    g_calls.push_back(line);
    if (line != "inner") QDLogEvent(0, "inner");
}

TEST_F(Callbacks, MayLogFromInsideThemselves) {
    QDLogAddCallback(Nesting, &keys_[0]);
    QDLogEvent(0, "1\n2");
    EXPECT_EQ((std::vector<std::string>{"1", "inner", "2", "inner"}), g_calls);
}

// Removes itself and its neighbour, and adds a third entry, in the middle of a walk.
void Rearranging(void* userData, int, const char*, int, const char*, int) {
    char* keys = static_cast<char*>(userData);
    g_calls.push_back("rearranging");
    QDLogRemoveCallback(&keys[0]);
    QDLogRemoveCallback(&keys[1]);
    QDLogAddCallback(CallG, &keys[2]);
}

TEST_F(Callbacks, MayRemoveAndAddEntriesDuringTheWalk) {
    QDLogAddCallback(Rearranging, &keys_[0]);
    QDLogAddCallback(CallF, &keys_[1]);
    QDLogEvent(0, "a\nb");
    // The removed neighbour is not reached; the new entry above is, from this line on.
    EXPECT_EQ((std::vector<std::string>{"rearranging", "g:a", "g:b"}), g_calls);
}

class LogFileOutput : public LogTest {};

// The file's plain form: binary CR LF lines, flushed only at the threshold.
TEST_F(LogFileOutput, LinesEndInCrLfAndFlushWaitsForTheThreshold) {
    const std::string dir = testing::TempDir() + "qdlog-file-" + std::to_string(getpid()) + "/";
    ASSERT_EQ(1, QDLogSetDir(dir.c_str()));
    QDLogToFile(1);
    LogContext& log = GetLogContext();
    log.lastEventMSEL_ = 0;  // the next event checks the file
    const auto contents = [](const std::string& path) {
        std::stringstream all;
        all << std::ifstream(path, std::ios::binary).rdbuf();
        return all.str();
    };

    PrintAt(0, "a\r\nb", kSampleMSEL);
    const std::string path = dir + "log20161118121200.log";
    EXPECT_EQ(path, QDLogGetFileName());
    EXPECT_EQ(2, log.logFile_.linesToFlush_);
    QDLogFlushFile();  // 2 of 50 lines: nothing reaches the disk
    EXPECT_EQ("", contents(path));

    QDLogSetFlushLines(3);
    PrintAt(31, "raw", kSampleMSEL);  // counts for nothing
    EXPECT_EQ(2, log.logFile_.linesToFlush_);
    PrintAt(1, "c", kSampleMSEL);  // the third line: the event flushes
    const std::string head = std::string(kSampleTime) + "|信息:";
    EXPECT_EQ(head + "a\r\r\n" + head + "b\r\nraw" + kSampleTime + "|警告:c\r\n", contents(path));
    EXPECT_EQ(0, log.logFile_.linesToFlush_);

    {
        LogLock lock(log);
        log.logFile_.Close();
    }
    QDLogSetFlushLines(50);
    QDLogSetDir(nullptr);
    fs::remove_all(dir);
}

}  // namespace
