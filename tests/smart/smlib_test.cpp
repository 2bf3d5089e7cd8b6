// The compressed block, its source-text form, the hexadecimal forms, the task split
// and the repeating copy; whole-file text: the byte-order marks, the two-phase
// reading and the writer's four encodings.
#include <algorithm>
#include <climits>
#include <random>
#include <string>
#include <vector>

#include <gtest/gtest.h>
#include <unistd.h>

#include "child_process.h"
#include "report_capture.h"
#include "scratch_dir.h"
#include "smlib.h"

namespace {

const std::string kPath = testing::TempDir() + "smlib-" + std::to_string(getpid());

std::vector<unsigned char> RandomBytes(size_t n) {
    std::mt19937 rng(static_cast<unsigned>(n));
    std::vector<unsigned char> v(n + 1);  // + 1: data() is never null
    for (auto& b : v) b = static_cast<unsigned char>(rng());
    v.pop_back();
    return v;
}

size_t g_largest = 0;
void* CountingBlocks(void* block, size_t bytes) {
    if (block) return free(block), nullptr;
    g_largest = std::max(g_largest, bytes);
    return malloc(bytes);
}

TEST(CompressedBlock, RoundTripsDecodesPythonsStreamAndRefusesDamagedBlocks) {
    for (size_t size : {0u, 1u, 4096u, 10u << 20}) {
        const std::vector<unsigned char> data = RandomBytes(size);
        for (int minLen : {1, INT_MAX}) {
            Binary block, back;
            ASSERT_TRUE(CompressBuffer(data.data(), int(size), block, minLen));
            const uint32_t flag = int(size) >= minLen ? 0x80000000u : 0;
            EXPECT_EQ(flag | uint32_t(size), *reinterpret_cast<const uint32_t*>(block.Data()));
            EXPECT_TRUE(flag || int(size) + 4 == block.Size());
            ASSERT_TRUE(UncompressBuffer(block.Data(), block.Size(), back, 1)) << size;
            ASSERT_EQ(int(size) + 1, back.Size());
            EXPECT_EQ(0, memcmp(back.Data(), data.data(), size));
            EXPECT_EQ(0, back.Data()[size]);
        }
    }

    // A stream that Python's zlib wrote.
    ChildProcess python({"/usr/bin/python3", "-c",
                         "import struct, zlib; d = bytes(range(256)) * 40; print((struct.pack("
                         "'<I', 0x80000000 | len(d)) + zlib.compress(d, 1)).hex().upper())"});
    std::string hex = python.ReadAll();
    ASSERT_EQ(0, python.Wait());
    hex.erase(hex.find_last_not_of("\n") + 1);
    Binary pyBlock, pyBack;
    ASSERT_TRUE(HexStrToBin(hex.c_str(), pyBlock));
    ASSERT_TRUE(UncompressBuffer(pyBlock.Data(), pyBlock.Size(), pyBack, 0));
    ASSERT_EQ(10240, pyBack.Size());
    for (int i = 0; i < pyBack.Size(); ++i) ASSERT_EQ(i % 256, pyBack.Data()[i]);

    // Damaged and hostile blocks are refused.
    auto decodes = [](std::vector<unsigned char> block) {
        Binary out{BinaryAllocator(&CountingBlocks)};
        const bool ok = UncompressBuffer(block.data(), int(block.size()), out, 8);
        EXPECT_TRUE(ok || out.IsEmpty());
        return ok;
    };
    const std::vector<unsigned char> damaged = RandomBytes(5000);
    Binary good;
    ASSERT_TRUE(CompressBuffer(damaged.data(), int(damaged.size()), good, 1));
    std::vector<unsigned char> damagedBytes(good.Data(), good.Data() + good.Size());
    EXPECT_FALSE(decodes(std::vector<unsigned char>(damagedBytes.begin(), damagedBytes.end() - 7)));
    damagedBytes[damagedBytes.size() / 2] ^= 0x04;
    EXPECT_FALSE(decodes(damagedBytes));
    EXPECT_FALSE(decodes({0x01, 0x00, 0x00, 0x7F, 0x78}));  // header past 0x40000000

    // A bomb: 10 MiB of zeros under a header that claims 1000 bytes. The block is
    // never allocated larger than the header says.
    const std::vector<unsigned char> zeros(10u << 20);
    Binary bomb;
    ASSERT_TRUE(CompressBuffer(zeros.data(), int(zeros.size()), bomb, 1));
    std::vector<unsigned char> hostile(bomb.Data(), bomb.Data() + bomb.Size());
    hostile[0] = 0xE8, hostile[1] = 0x03, hostile[2] = 0;
    g_largest = 0;
    EXPECT_FALSE(decodes(hostile));
    EXPECT_LE(g_largest, 1008u + 64u);  // the block and its bookkeeping

    ReportCapture capture;
    EXPECT_FALSE(decodes({1, 2, 3}));
    EXPECT_FALSE(decodes({5, 0, 0, 0, 'a', 'b'}));  // stored, in_len disagrees
    EXPECT_EQ(2, capture.Count());
}

TEST(SmallLibrary, SourceTextHexReaderWorkTasksAndRepeatCopy) {
    std::string text, fromFile;
    BinaryToSourceText(text, "abcde", 5, 1, '\t');  // a 17-byte block: two lines
    EXPECT_EQ(1 + 16 * 5 + 2 + 1 + 5, int(text.size()));
    EXPECT_EQ("\t0x05,0x00,0x00,0x80,0x78,", text.substr(0, 26));
    EXPECT_EQ("\r\n\t0x", text.substr(81, 5));
    ASSERT_TRUE(WriteWholeTextFileEx(kPath.c_str(), tft_ansi, "abcde"));
    EXPECT_EQ(text, FileToSourceText(fromFile, kPath.c_str(), 1, '\t'));
    EXPECT_EQ("", FileToSourceText(fromFile, (kPath + ".none").c_str(), 1, '\t'));

    Binary bin;  // the reader takes only what BinToHexStr writes
    for (const char* bad : {"0a", "0", "", "0G"}) EXPECT_FALSE(HexStrToBin(bad, bin)) << bad;

    // Each task once, in rising order.
    for (int tasks = 0; tasks < 12; ++tasks)
        for (int workers = 1; workers < 5; ++workers) {
            std::vector<int> all;
            for (int w = 0; w < workers; ++w) {
                int mine[12];
                const int n = GetWorkTasks(tasks, workers, w, mine);
                EXPECT_TRUE(std::is_sorted(mine, mine + n));
                all.insert(all.end(), mine, mine + n);
            }
            std::sort(all.begin(), all.end());
            for (int k = 0; k < tasks; ++k) ASSERT_EQ(k, all.at(k));
            EXPECT_EQ(size_t(tasks), all.size());
        }
    int out[3];
    EXPECT_EQ(2, GetWorkTasks(7, 3, 1, out));
    EXPECT_EQ(4, out[1]);
    char buf[8] = "-------";
    EXPECT_EQ(buf, RepeatCopy(buf, 5, "ab", 2));
    EXPECT_STREQ("ababa--", buf);
}

// "a\r\n中 😀": U+4E2D is E4 B8 AD, U+1F600 the pair D83D DE00.
const std::string kText = "a\r\n\xE4\xB8\xAD \xF0\x9F\x98\x80";
const std::string kLe = std::string("a\0\r\0\n\0\x2D\x4E \0\x3D\xD8\x00\xDE", 14);
const std::string kBe = std::string("\0a\0\r\0\n\x4E\x2D\0 \xD8\x3D\xDE\x00", 14);
const std::string kMarks[] = {"", "\xFF\xFE", "\xFE\xFF", "\xEF\xBB\xBF"};

TEST(ReadWholeTextFile, MarksUtf8OddUtf16AndAFileThatGrew) {
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

    // Odd UTF-16 is refused; nothing is written past the room of a file that grew.
    ReportCapture oddReports;
    Write(kPath, kMarks[1] + "a");
    int oddLen = 5;
    std::string oddText = "old";
    EXPECT_FALSE(ReadWholeTextFileEx(kPath.c_str(), nullptr, oddLen));
    EXPECT_FALSE(ReadTextFileToStr(kPath.c_str(), oddText));
    EXPECT_EQ(0, oddLen);
    EXPECT_EQ("", oddText);
    EXPECT_EQ(2, oddReports.Count("(false)"));

    for (const std::string& mark : {kMarks[0], kMarks[1]}) {
        const std::string unit = mark.empty() ? "a" : std::string("a\0", 2);
        Write(kPath, mark + unit + unit);
        int grownLen = 0;
        ASSERT_TRUE(ReadWholeTextFileEx(kPath.c_str(), nullptr, grownLen));
        Write(kPath, mark + unit + unit + unit);
        char buffer[5] = "****";
        EXPECT_FALSE(ReadWholeTextFileEx(kPath.c_str(), buffer, grownLen));
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
