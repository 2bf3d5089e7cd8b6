// The log file writer inside one process: the file's name, the continued old file,
// the switch and whole lines. The flush threshold and a directory that cannot be
// written are seen across processes. Local time is UTC+8 (TZ=CST-8).
#include <fcntl.h>
#include <gtest/gtest.h>
#include <signal.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <unistd.h>

#include <filesystem>
#include <sstream>
#include <string>
#include <vector>

#include "log_test_support.h"
#include "logfilelist.h"
#include "report_capture.h"
#include "scratch_dir.h"
#include "unwritable_dir.h"

namespace {

namespace fs = std::filesystem;

// What a reader sees of the file: whole lines, and whether the last one is cut.
int WholeLines(const std::string& bytes, bool* cut = nullptr) {
    int lines = 0;
    for (size_t at = 0; (at = bytes.find("\r\n", at)) != std::string::npos; at += 2) ++lines;
    if (cut) *cut = !bytes.empty() && bytes.compare(bytes.size() - 2, 2, "\r\n") != 0;
    return lines;
}

const std::string kHead = std::string(kSampleTime) + "|信息:";

class LogFileWriter : public LogTest {
protected:
    void SetUp() override {
        LogTest::SetUp();
        // Without a trailing separator: the writer puts '\' between directory and name.
        ASSERT_EQ(1, QDLogSetDir(dir_.Text().c_str()));
        QDLogToFile(1);
        QDLogOutputToDebuger(0);  // the file alone, as most programs log
        Reset();
    }
    void TearDown() override {
        Reset();
        QDLogSetDir(nullptr);
        QDLogSetFileSizeLimit(0x80000);
        QDLogSetFlushLines(50);
        LogTest::TearDown();
    }
    // No open file, no list, and the next event checks the file.
    void Reset() {
        LogContext& log = GetLogContext();
        LogLock lock(log);
        log.logFile_.Close();
        log.logFileList_.listSet.clear();
        log.logFileList_.totalLogBytes = 0;
        NoteEventMSEL(log, 0, true);
    }
    void CloseFile() {
        LogContext& log = GetLogContext();
        LogLock lock(log);
        log.logFile_.Close();
    }
    // The writer's name of a file in the directory, and the same file for the system,
    // as QDLogGetFileName hands it out.
    std::string Named(const std::string& name) const { return dir_.Text() + "\\" + name; }
    std::string OnDisk(const std::string& name) const { return dir_ / name; }
    LogContext::LogFileList& List() { return GetLogContext().logFileList_; }

    ScratchDir dir_{"qdlog-logfile"};
};

TEST_F(LogFileWriter, NamesTheFileAfterTheEventThatOpensIt) {
    char path[kLogPathChars];
    EXPECT_TRUE(ComposeLogFileName("/var/log/app/", kSampleMSEL, path));
    EXPECT_STREQ("/var/log/app/log20161118121200.log", path);
    EXPECT_TRUE(ComposeLogFileName("C:\\logs", kSampleMSEL, path));
    EXPECT_STREQ("C:\\logs\\log20161118121200.log", path);
    EXPECT_FALSE(ComposeLogFileName(std::string(500, 'd').c_str(), kSampleMSEL, path));
    EXPECT_STREQ("", path);
    ReportCapture reports;
    EXPECT_FALSE(ComposeLogFileName("/x", -5, path));  // no date text for such a time

    // Binary CR LF lines; the raw type has no head and no line end. The file alone
    // and the file beside another output give the same bytes.
    PrintAt(0, "a\r\nb", kSampleMSEL);
    PrintAt(31, "raw", kSampleMSEL);
    const std::string longest(31, 't');  // every word of the title's row
    QDLogSetEventTitle(1, longest.c_str());
    PrintAt(1, "w", kSampleMSEL + 876);  // the last of the kept second's milliseconds
    QDLogSetEventTitle(1, "警告");
    QDLogOutputToDebuger(1);
    PrintAt(0, "a\r\nb", kSampleMSEL);
    EXPECT_EQ(OnDisk("log20161118121200.log"), QDLogGetFileName());
    CloseFile();
    const std::string lines = kHead + "a\r\r\n" + kHead + "b\r\n";
    EXPECT_EQ(lines + "raw2016-11-18 12:12:00.999|" + longest + ":w\r\n" + lines,
              Contents(OnDisk("log20161118121200.log")));
    EXPECT_TRUE(List().listSet.empty());  // the file in use is never listed
}

TEST_F(LogFileWriter, TheFirstOpeningContinuesTheNewestOldFileBelowHalfTheLimit) {
    Write(OnDisk("log20161118100000.log"), std::string(50, 'o'));
    Write(OnDisk("log20161118110000.log"), std::string(98, 'n') + "\r\n");
    fs::create_directory(OnDisk("log20161118115800.log"));  // a directory
    ASSERT_TRUE(SweepLogDirectory(GetLogContext()));
    EXPECT_EQ((LogPathSet{Named("log20161118100000.log"), Named("log20161118110000.log")}),
              List().listSet);
    EXPECT_EQ(150, List().totalLogBytes);

    PrintAt(0, "more", kSampleMSEL);
    EXPECT_EQ(OnDisk("log20161118110000.log"), QDLogGetFileName());  // its name, so its age
    EXPECT_EQ(LogPathSet{Named("log20161118100000.log")}, List().listSet);
    EXPECT_EQ(50, List().totalLogBytes);
    CloseFile();
    EXPECT_EQ(std::string(98, 'n') + "\r\n" + kHead + "more\r\n",
              Contents(OnDisk("log20161118110000.log")));
    EXPECT_FALSE(fs::exists(OnDisk("log20161118121200.log")));
}

TEST_F(LogFileWriter, AnOldFileOfHalfTheLimitIsNotContinued) {
    QDLogSetFileSizeLimit(16384);
    Write(OnDisk("log20161118110000.log"), std::string(8192, 'h'));
    ASSERT_TRUE(SweepLogDirectory(GetLogContext()));
    PrintAt(0, "new", kSampleMSEL);
    EXPECT_EQ(OnDisk("log20161118121200.log"), QDLogGetFileName());
    EXPECT_EQ(1u, List().listSet.size());
    EXPECT_EQ(8192, List().totalLogBytes);
}

// Only the first event of a new second looks at the size, so a full file takes the
// rest of its second, a long event included; the next file is named after the
// event that opens it, never the small old one.
TEST_F(LogFileWriter, SwitchesAtTheFirstEventOfTheNextSecond) {
    QDLogSetFileSizeLimit(16384);
    QDLogSetFlushLines(1);
    const std::string kilobyte(1024, 'k');
    for (int i = 0; i < 20; ++i) PrintAt(0, kilobyte.c_str(), kSampleMSEL + i * 40);  // ..00.883
    std::string manyLines;
    for (int i = 0; i < 30; ++i) manyLines += "line " + std::to_string(i) + "\n";
    PrintAt(0, manyLines.c_str(), kSampleMSEL + 800);  // 12:12:00.923, past the limit
    EXPECT_EQ(OnDisk("log20161118121200.log"), QDLogGetFileName());
    Write(OnDisk("log20161118000000.log"), "small");
    List().List(Named("log20161118000000.log").c_str());
    List().totalLogBytes += 5;

    PrintAt(0, "next", kSampleMSEL + 1000);
    EXPECT_EQ(OnDisk("log20161118121201.log"), QDLogGetFileName());
    const std::string full = Contents(OnDisk("log20161118121200.log"));
    EXPECT_EQ(50, WholeLines(full));
    const std::string lastLine = kHead.substr(0, 20) + "923|信息:line 29\r\n";
    EXPECT_EQ(lastLine, full.substr(full.size() - lastLine.size()));
    EXPECT_EQ((LogPathSet{Named("log20161118000000.log"), Named("log20161118121200.log")}),
              List().listSet);
    EXPECT_EQ(5 + static_cast<int64_t>(full.size()), List().totalLogBytes);
    EXPECT_EQ(0, GetLogContext().logFile_.bytesWritten_);
}

// Also for a file that is continued ("rb+") at an odd size.
TEST_F(LogFileWriter, OnlyWholeLinesReachTheSystem) {
    QDLogSetFlushLines(100000);  // no flush by count: only a full buffer moves lines
    const std::string path = OnDisk("log20161118121200.log");
    const std::string before = std::string(1001, 'b') + "\r\n";
    Write(path, before);
    std::vector<std::string> sent;
    const size_t sizes[] = {15500, 10, 3000, 9000, 16000, 20000, 16375, 1, 40000, 700};
    for (int round = 0; round < 3; ++round) {
        for (size_t size : sizes) {
            sent.push_back(std::string(size, static_cast<char>('a' + sent.size() % 26)));
            PrintAt(0, sent.back().c_str(), kSampleMSEL);
            bool cut = true;
            WholeLines(Contents(path), &cut);
            ASSERT_FALSE(cut) << "after a line of " << size;
        }
    }
    CloseFile();
    std::string expected = before;
    for (const std::string& text : sent) expected += kHead + text + "\r\n";
    EXPECT_EQ(expected, Contents(path));
}

// A formatted event, whose length the entry knows, reaches the file alone split
// as any other: every line with its head and CR LF, a CR before an LF kept.
TEST_F(LogFileWriter, AFormattedEventReachesTheFileAloneLineByLine) {
    QDLogEvent(0, "%s|%d", "a\r\nb\n\nc", 7);
    QDLogEvent(0, "%s", "one\n");
    const std::string path = QDLogGetFileName();
    CloseFile();
    EXPECT_EQ((std::vector<std::string>{"a\r", "b", "", "c|7", "one"}),
              TextsOf(Contents(path), "\r\n"));
}

// A file past a mebibyte gets disk reserved beyond its end: its blocks run ahead of
// its lines, while its size and its bytes are those of the lines alone.
TEST_F(LogFileWriter, AFilePastAMebibyteHasRoomReservedBeyondItsLines) {
    const std::string probe = OnDisk("probe");
    const int fd = open(probe.c_str(), O_WRONLY | O_CREAT, 0600);
    ASSERT_GE(fd, 0);
    const bool reserves = fallocate(fd, FALLOC_FL_KEEP_SIZE, 0, 4096) == 0;
    close(fd);
    fs::remove(probe);
    if (!reserves) GTEST_SKIP() << "the file system of the scratch directory has no fallocate";

    const std::string text(1000, 'r');
    std::string expected;
    for (int i = 0; i < 1200; ++i) {  // 50 lines to a flush: all of them reach the file
        PrintAt(0, text.c_str(), kSampleMSEL);
        expected += kHead + text + "\r\n";
    }
    const std::string path = OnDisk("log20161118121200.log");
    struct stat st;
    ASSERT_EQ(0, stat(path.c_str(), &st));
    EXPECT_EQ(static_cast<off_t>(expected.size()), st.st_size);
    EXPECT_GT(st.st_blocks * 512, st.st_size + (LogFile::kRoomStep / 2));
    CloseFile();
    EXPECT_EQ(expected, Contents(path));
}

// A directory that may not be searched says nothing about the open file: it keeps
// taking lines, and none is lost.
TEST_F(LogFileWriter, AnUnsearchableDirectoryKeepsTheOpenFile) {
    PrintAt(0, "before", kSampleMSEL);
    fs::permissions(dir_.Path(), fs::perms::none);
    {
        UnwritableDir asAnotherUser(dir_.Text());
        for (int i = 1; i <= 3; ++i) PrintAt(0, "while", kSampleMSEL + i * 1000);
    }
    fs::permissions(dir_.Path(), fs::perms::owner_all);
    EXPECT_EQ(OnDisk("log20161118121200.log"), QDLogGetFileName());
    CloseFile();
    EXPECT_EQ(4, WholeLines(Contents(OnDisk("log20161118121200.log"))));
}

// A write cut short by a file size limit takes the cut line back out of the file;
// the lines that did not go wait in the buffer, and once the limit is lifted every
// line in the file is whole, in order, and all that the buffer held arrived.
TEST_F(LogFileWriter, LinesCutByAFileSizeLimitAreTakenBackAndWrittenWholeLater) {
    QDLogSetFlushLines(10);
    rlimit saved;
    ASSERT_EQ(0, getrlimit(RLIMIT_FSIZE, &saved));
    signal(SIGXFSZ, SIG_IGN);
    rlimit limited = saved;
    limited.rlim_cur = 64 * 1024;
    ASSERT_EQ(0, setrlimit(RLIMIT_FSIZE, &limited));
    const std::string padding(997, 'p');
    int sent = 0;
    for (; sent < 90; ++sent) PrintAt(0, (std::to_string(sent) + padding).c_str(), kSampleMSEL);
    const std::string path = OnDisk("log20161118121200.log");
    bool cut = true;
    const int atTheLimit = WholeLines(Contents(path), &cut);
    EXPECT_FALSE(cut);
    EXPECT_LE(Contents(path).size(), limited.rlim_cur);
    ASSERT_EQ(0, setrlimit(RLIMIT_FSIZE, &saved));
    for (; sent < 100; ++sent) PrintAt(0, (std::to_string(sent) + padding).c_str(), kSampleMSEL);
    CloseFile();
    signal(SIGXFSZ, SIG_DFL);

    const std::string all = Contents(path);
    std::vector<int> numbers;
    std::istringstream lines(all);
    for (std::string line; std::getline(lines, line);) {
        ASSERT_EQ(kHead, line.substr(0, kHead.size()));
        ASSERT_EQ(padding + "\r", line.substr(line.size() - padding.size() - 1));
        numbers.push_back(std::stoi(line.substr(kHead.size())));
    }
    EXPECT_EQ(static_cast<int>(numbers.size()), WholeLines(all));
    // The buffer held the lines behind the limit up to its size; those after them
    // and before the lift are the ones lost.
    const int kept = LogFile::kBufferBytes / (static_cast<int>(kHead.size()) + 1000);
    EXPECT_GE(static_cast<int>(numbers.size()), atTheLimit + kept + 10);
    for (size_t i = 0; i + 1 < numbers.size(); ++i) EXPECT_LT(numbers[i], numbers[i + 1]);
    for (int i = 0; i < atTheLimit + kept; ++i) EXPECT_EQ(i, numbers[i]);
    EXPECT_EQ(99, numbers.back());
}

}  // namespace
