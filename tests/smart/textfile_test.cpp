// Whole-file text reading and writing: the byte-order marks, the two-phase reading,
// the writer's four encodings, and the UTF-8 pair under them.
#include <gtest/gtest.h>

#include <unistd.h>

#include <cstring>
#include <filesystem>
#include <fstream>
#include <string>

#include "chartransform.h"
#include "report_capture.h"
#include "smlib.h"

namespace {

namespace fs = std::filesystem;

// A file of the test's own, removed at the end.
class TempFile {
public:
    TempFile()
        : path_(testing::TempDir() + "textfile-" + std::to_string(getpid()) + "-" +
                std::to_string(++count_)) {}
    ~TempFile() { fs::remove(path_); }
    const char* path() const { return path_.c_str(); }
    void Write(const std::string& bytes) const { std::ofstream(path_, std::ios::binary) << bytes; }
    std::string Read() const {
        std::ifstream in(path_, std::ios::binary);
        return std::string(std::istreambuf_iterator<char>(in), {});
    }

private:
    static int count_;
    std::string path_;
};
int TempFile::count_ = 0;

// "中" is U+4E2D, UTF-8 E4 B8 AD; U+1F600 is the pair D83D DE00, UTF-8 F0 9F 98 80.
const std::string kUtf8Text = "a\r\n\xE4\xB8\xAD \xF0\x9F\x98\x80";
const std::string kUtf16Le = std::string("a\0\r\0\n\0\x2D\x4E \0\x3D\xD8\x00\xDE", 14);
const std::string kUtf16Be = std::string("\0a\0\r\0\n\x4E\x2D\0 \xD8\x3D\xDE\x00", 14);

TEST(ReadWholeTextFile, RecognisesTheMarksAndHandsOverUtf8) {
    struct Case {
        const char* name;
        std::string bytes;
        TextFileType type;
        std::string text;
    } cases[] = {
        {"empty", "", tft_ansi, ""},
        {"one byte", "\xFF", tft_ansi, "\xFF"},
        {"plain bytes stay as they are", "a\xC3(\xFF\xFE", tft_ansi, "a\xC3(\xFF\xFE"},
        {"utf-16", "\xFF\xFE" + kUtf16Le, tft_utf_16, kUtf8Text},
        {"utf-16 big-endian", "\xFE\xFF" + kUtf16Be, tft_utf_16_be, kUtf8Text},
        {"utf-8 with mark", "\xEF\xBB\xBF" + kUtf8Text, tft_utf_8, kUtf8Text},
        {"only a mark", "\xFE\xFF", tft_utf_16_be, ""},
        {"a lone surrogate", std::string("\xFF\xFE\x00\xD8x\0", 6), tft_utf_16, "\xEF\xBF\xBDx"},
        {"two bytes of a mark", "\xEF\xBB", tft_ansi, "\xEF\xBB"},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.name);
        TempFile file;
        file.Write(c.bytes);
        int len = -7;
        TextFileType type = tft_utf_8;
        ASSERT_TRUE(ReadWholeTextFileEx(file.path(), nullptr, len, &type));
        EXPECT_EQ(c.type, type);
        ASSERT_EQ(static_cast<int>(c.text.size()), len);
        std::string buffer(static_cast<size_t>(len) + 1, '*');
        ASSERT_TRUE(ReadWholeTextFileEx(file.path(), &buffer[0], len));
        EXPECT_EQ(c.text + '\0', buffer);
        std::string text = "old";
        EXPECT_TRUE(ReadTextFileToStr(file.path(), text));
        EXPECT_EQ(c.text, text);
    }
}

TEST(ReadWholeTextFile, RefusesWhatCannotBeRead) {
    ReportCapture reports;
    TempFile missing;
    int len = 5;
    TextFileType type = tft_utf_8;
    EXPECT_FALSE(ReadWholeTextFileEx(missing.path(), nullptr, len, &type));
    EXPECT_EQ(0, len);
    EXPECT_EQ(tft_ansi, type);
    EXPECT_FALSE(ReadWholeTextFileEx(nullptr, nullptr, len));
    EXPECT_EQ(1, reports.Count("(false)"));

    // A UTF-16 file of odd size is reported.
    TempFile odd;
    odd.Write(
        std::string("\xFF\xFE"
                    "a\0b",
                    5));
    EXPECT_FALSE(ReadWholeTextFileEx(odd.path(), nullptr, len, &type));
    EXPECT_EQ(tft_utf_16, type);
    EXPECT_EQ(2, reports.Count("(false)"));
    std::string text = "old";
    EXPECT_FALSE(ReadTextFileToStr(odd.path(), text));
    EXPECT_EQ("", text);
}

TEST(ReadWholeTextFile, WritesNothingPastTheRoomOfAFileThatGrew) {
    for (const std::string& prefix : {std::string(), std::string("\xFF\xFE")}) {
        TempFile file;
        file.Write(prefix + std::string(prefix.empty() ? "abcd" : std::string("a\0b\0c\0d\0", 8)));
        int len = 0;
        ASSERT_TRUE(ReadWholeTextFileEx(file.path(), nullptr, len));
        ASSERT_EQ(4, len);
        file.Write(prefix +
                   std::string(prefix.empty() ? "abcdef" : std::string("a\0b\0c\0d\0e\0", 10)));
        char buffer[8] = "*******";
        EXPECT_FALSE(ReadWholeTextFileEx(file.path(), buffer, len));
        EXPECT_EQ(0, len);
        EXPECT_EQ(0, buffer[0]);
        EXPECT_STREQ("**", buffer + 5);  // the room and its terminator are 5 bytes
    }
}

class WriteWholeTextFile : public testing::TestWithParam<TextFileType> {};

TEST_P(WriteWholeTextFile, WritesTheMarkAndReadsBack) {
    const std::string marks[] = {"", "\xFF\xFE", "\xFE\xFF", "\xEF\xBB\xBF"};
    const std::string bodies[] = {kUtf8Text, kUtf16Le, kUtf16Be, kUtf8Text};
    TempFile file;
    ASSERT_TRUE(WriteWholeTextFileEx(file.path(), GetParam(), kUtf8Text.c_str()));
    EXPECT_EQ(marks[GetParam()] + bodies[GetParam()], file.Read());
    std::string text;
    EXPECT_TRUE(ReadTextFileToStr(file.path(), text));
    EXPECT_EQ(kUtf8Text, text);

    ASSERT_TRUE(WriteWholeTextFileEx(file.path(), GetParam(), "", 0));
    EXPECT_EQ(marks[GetParam()], file.Read());
}

INSTANTIATE_TEST_SUITE_P(Types, WriteWholeTextFile,
                         testing::Values(tft_ansi, tft_utf_16, tft_utf_16_be, tft_utf_8));

TEST(WriteWholeTextFileRefusal, BadCallsLeaveTheFileAlone) {
    ReportCapture reports;
    TempFile file;
    file.Write("keep");
    EXPECT_FALSE(WriteWholeTextFileEx(file.path(), 4, "x"));
    EXPECT_FALSE(WriteWholeTextFileEx(file.path(), tft_ansi, nullptr));
    EXPECT_FALSE(WriteWholeTextFileEx(nullptr, tft_ansi, "x"));
    EXPECT_EQ(3, reports.Count("(false)"));
    EXPECT_EQ("keep", file.Read());
}

TEST(ReadFileToBinary, TakesTheBytesAsTheyStand) {
    TempFile file;
    file.Write(
        "\xFF\xFE"
        "a");
    Binary block;
    ASSERT_TRUE(ReadFileToBinary(file.path(), block));
    EXPECT_EQ(std::string("\xFF\xFE"
                          "a"),
              std::string(reinterpret_cast<const char*>(block.Data()), block.Size()));
    file.Write("");
    EXPECT_TRUE(ReadFileToBinary(file.path(), block));
    EXPECT_TRUE(block.IsEmpty());
    TempFile missing;
    block.Set("x", 1);
    EXPECT_FALSE(ReadFileToBinary(missing.path(), block));
    EXPECT_TRUE(block.IsEmpty());
}

// The UTF-8 pair, one direction per type: the source and the target texts.
struct ToWide {
    typedef char Src;
    typedef char16_t Dst;
    static std::string Text() { return "a\xE4\xB8\xAD"; }
    static std::u16string Converted() { return u"a\u4E2D"; }
    static void Convert(const Src* s, int n, Dst* out, int* len) { Utf8ToUnicode(s, n, out, len); }
};
struct ToNarrow {
    typedef char16_t Src;
    typedef char Dst;
    static std::u16string Text() { return u"a\u4E2D"; }
    static std::string Converted() { return "a\xE4\xB8\xAD"; }
    static void Convert(const Src* s, int n, Dst* out, int* len) { UnicodeToUtf8(s, n, out, len); }
};

template <class DIRECTION>
class Utf8Pair : public testing::Test {};
typedef testing::Types<ToWide, ToNarrow> Directions;
TYPED_TEST_SUITE(Utf8Pair, Directions);

TYPED_TEST(Utf8Pair, KeepsRoomForTheTerminator) {
    typedef typename TypeParam::Dst Dst;
    const auto text = TypeParam::Text();
    const auto converted = TypeParam::Converted();
    const int n = static_cast<int>(text.size());
    const int units = static_cast<int>(converted.size());
    Dst out[16];

    int len = 0;  // no room: measured
    TypeParam::Convert(text.c_str(), n, out, &len);
    EXPECT_EQ(units, len);
    len = 16;
    TypeParam::Convert(text.c_str(), n, nullptr, &len);
    EXPECT_EQ(units, len);

    len = units + 1;  // exactly the units and the terminator
    std::fill(out, out + 16, Dst('*'));
    TypeParam::Convert(text.c_str(), n, out, &len);
    EXPECT_EQ(units, len);
    EXPECT_EQ(converted, std::basic_string<Dst>(out));

    len = units;  // the terminator does not fit: nothing changes
    std::fill(out, out + 16, Dst('*'));
    TypeParam::Convert(text.c_str(), n, out, &len);
    EXPECT_EQ(units, len);
    EXPECT_EQ(Dst('*'), out[units]);

    len = 16;  // a terminated text counts its terminator
    TypeParam::Convert(text.c_str(), -1, out, &len);
    EXPECT_EQ(units + 1, len);
    EXPECT_EQ(converted, std::basic_string<Dst>(out));

    for (int empty : {0, -1}) {
        len = 16;
        out[0] = Dst('*');
        TypeParam::Convert(text.c_str() + (empty ? n : 0), empty, out, &len);
        EXPECT_EQ(0, len);
        EXPECT_EQ(Dst(0), out[0]);
    }
}

TYPED_TEST(Utf8Pair, ReportsAMissingCount) {
    ReportCapture reports;
    const auto text = TypeParam::Text();
    TypeParam::Convert(text.c_str(), -1, nullptr, nullptr);
    EXPECT_EQ(1, reports.Count("(out_len)"));
}

}  // namespace
