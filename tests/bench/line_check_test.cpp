// The comparison's check that a contender wrote every line: the heads of the
// contenders, line ends of both kinds, and each way a line can be lost or torn.
#include <gtest/gtest.h>

#include <cstdio>
#include <filesystem>
#include <string>
#include <tuple>

#include "compare/contender.h"
#include "compare/line_check.h"
#include "scratch_dir.h"

namespace {

std::string Message(int index) {
    char value[32];
    snprintf(value, sizeof(value), "%.3f", ValueOf(index));
    return "message " + std::to_string(index) + " from " + kSender + " took " + value + " ms";
}

TEST(LineCheck, FindsEveryWayALineIsLost) {
    // What the file holds; the messages, missing, repeated and malformed lines found.
    const std::tuple<const char*, std::string, long, long, long, long> rows[] = {
        {"all, with our head and CR LF",
         "2026-01-02 03:04:05.678|信息:" + Message(0) + "\r\n" + Message(1) + "\r\n" + Message(2) +
             "\r\n",
         3, 0, 0, 0},
        {"glog's file header and head, a warm-up message",
         "Log file created at: 2026/01/02\nI0102 03:04:05.678901 7 c.cpp:9] " + Message(2) + "\n" +
             Message(0) + "\n" + Message(1) + "\n" + Message(40),
         4, 0, 0, 0},
        {"one missing", Message(0) + "\n" + Message(2) + "\n", 2, 1, 0, 0},
        {"one twice", Message(0) + "\n" + Message(1) + "\n" + Message(2) + "\n" + Message(1), 4, 0,
         1, 0},
        {"one torn",
         Message(0) + "\n" + Message(1).substr(0, 30) + "\n" + Message(2) + "\n" + Message(1), 3, 0,
         0, 1},
        {"a wrong value", Message(0) + "\n" + Message(1) + "\n" + Message(2) + "0\n", 2, 1, 0, 1},
    };
    for (const auto& [what, text, messages, missing, repeated, malformed] : rows) {
        ScratchDir dir("line-check");
        Write(dir / "log", text);
        std::filesystem::create_symlink(dir / "log", dir / "log.INFO");  // glog's link
        const LineCheck check = CheckLines(dir.Text(), 3);
        EXPECT_EQ(messages, check.messages) << what;
        EXPECT_EQ(missing, check.missing) << what;
        EXPECT_EQ(repeated, check.repeated) << what;
        EXPECT_EQ(malformed, check.malformed) << what;
        EXPECT_EQ(missing + repeated + malformed == 0, check.Passed()) << what;
    }
}

}  // namespace
