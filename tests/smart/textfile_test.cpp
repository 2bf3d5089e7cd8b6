// Whole-file text: the byte-order marks, the two-phase reading and the writer's four
// encodings.
#include <gtest/gtest.h>

#include <unistd.h>

#include <string>

#include "report_capture.h"
#include "scratch_dir.h"
#include "smlib.h"

namespace {

const std::string kPath = testing::TempDir() + "textfile-" + std::to_string(getpid());

// "a\r\n中 😀": U+4E2D is E4 B8 AD, U+1F600 the pair D83D DE00.
const std::string kText = "a\r\n\xE4\xB8\xAD \xF0\x9F\x98\x80";
const std::string kLe = std::string("a\0\r\0\n\0\x2D\x4E \0\x3D\xD8\x00\xDE", 14);
const std::string kBe = std::string("\0a\0\r\0\n\x4E\x2D\0 \xD8\x3D\xDE\x00", 14);
const std::string kMarks[] = {"", "\xFF\xFE", "\xFE\xFF", "\xEF\xBB\xBF"};

TEST(ReadWholeTextFile, RecognisesTheMarksAndHandsOverUtf8) {
    // clang-format off
    const struct { std::string bytes; TextFileType type; std::string text; } cases[] = {
        {"", tft_ansi, ""}, {"\xFF", tft_ansi, "\xFF"},
        {"a\xC3(\xFF\xFE", tft_ansi, "a\xC3(\xFF\xFE"},  // no mark: bytes as they stand
        {"\xEF\xBB", tft_ansi, "\xEF\xBB"}, {kMarks[1] + kLe, tft_utf_16, kText},
        {kMarks[2] + kBe, tft_utf_16_be, kText}, {kMarks[3] + kText, tft_utf_8, kText},
        {kMarks[2], tft_utf_16_be, ""},
        {kMarks[1] + std::string("\x00\xD8x\0", 4), tft_utf_16, "\xEF\xBF\xBDx"},
    };
    // clang-format on
    for (const auto& c : cases) {
        Write(kPath, c.bytes);
        int len = -7;
        TextFileType type = tft_utf_8;
        ASSERT_TRUE(ReadWholeTextFileEx(kPath.c_str(), nullptr, len, &type)) << c.bytes;
        EXPECT_EQ(c.type, type) << c.bytes;
        std::string buffer(static_cast<size_t>(len) + 1, '*');
        ASSERT_TRUE(ReadWholeTextFileEx(kPath.c_str(), &buffer[0], len));
        EXPECT_EQ(c.text + '\0', buffer);
        EXPECT_TRUE(ReadTextFileToStr(kPath.c_str(), buffer));
        EXPECT_EQ(c.text, buffer);
    }
}

TEST(ReadWholeTextFile, RefusesOddUtf16AndMissingFiles) {
    ReportCapture reports;
    Write(kPath, kMarks[1] + "a");
    int len = 5;
    std::string text = "old";
    EXPECT_FALSE(ReadWholeTextFileEx(kPath.c_str(), nullptr, len));
    EXPECT_FALSE(ReadTextFileToStr(kPath.c_str(), text));
    EXPECT_EQ(0, len);
    EXPECT_EQ("", text);
    EXPECT_EQ(2, reports.Count("(false)"));
}

TEST(ReadWholeTextFile, WritesNothingPastTheRoomOfAFileThatGrew) {
    for (const std::string& mark : {kMarks[0], kMarks[1]}) {
        const std::string unit = mark.empty() ? "a" : std::string("a\0", 2);
        Write(kPath, mark + unit + unit);
        int len = 0;
        ASSERT_TRUE(ReadWholeTextFileEx(kPath.c_str(), nullptr, len));
        Write(kPath, mark + unit + unit + unit);
        char buffer[5] = "****";
        EXPECT_FALSE(ReadWholeTextFileEx(kPath.c_str(), buffer, len));
        EXPECT_EQ(0, buffer[0]);
        EXPECT_STREQ("*", buffer + 3);  // the room of two and the terminator end at 2
    }
}

class WriteWholeTextFile : public testing::TestWithParam<TextFileType> {};

TEST_P(WriteWholeTextFile, WritesTheMarkAndReadsBack) {
    const std::string bodies[] = {kText, kLe, kBe, kText};
    ASSERT_TRUE(WriteWholeTextFileEx(kPath.c_str(), GetParam(), kText.c_str()));
    EXPECT_EQ(kMarks[GetParam()] + bodies[GetParam()], Contents(kPath));
    std::string text;
    EXPECT_TRUE(ReadTextFileToStr(kPath.c_str(), text));
    EXPECT_EQ(kText, text);

    // A bad call truncates nothing.
    ReportCapture reports;
    EXPECT_FALSE(WriteWholeTextFileEx(kPath.c_str(), 4, "x"));
    EXPECT_FALSE(WriteWholeTextFileEx(kPath.c_str(), GetParam(), nullptr));
    EXPECT_EQ(2, reports.Count("(false)"));
    EXPECT_EQ(kMarks[GetParam()] + bodies[GetParam()], Contents(kPath));
}

INSTANTIATE_TEST_SUITE_P(Types, WriteWholeTextFile,
                         testing::Values(tft_ansi, tft_utf_16, tft_utf_16_be, tft_utf_8));

}  // namespace
