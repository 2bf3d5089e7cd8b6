// The compressed block, its source-text form, the hexadecimal forms, the task split
// and the repeating copy.
#include <climits>
#include <random>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "child_process.h"
#include "smlib.h"
#include "report_capture.h"

namespace {

std::vector<unsigned char> RandomBytes(size_t n, unsigned seed) {
    std::mt19937 rng(seed);
    std::vector<unsigned char> v(n + 1);  // + 1: data() is never null
    for (auto& b : v) b = static_cast<unsigned char>(rng());
    v.pop_back();
    return v;
}

size_t g_largest = 0;
void* CountingBlocks(void* block, size_t bytes) {
    if (!block) {
        g_largest = std::max(g_largest, bytes);
        return malloc(bytes);
    }
    free(block);
    return nullptr;
}

uint32_t Header(const Binary& b) {
    const unsigned char* p = b.Data();
    return p[0] | p[1] << 8 | p[2] << 16 | uint32_t(p[3]) << 24;
}

TEST(CompressedBlock, RoundTripsCompressedAndStored) {
    for (size_t size : {0u, 1u, 4096u, 10u << 20}) {
        const std::vector<unsigned char> data = RandomBytes(size, unsigned(size));
        for (int minLen : {1, INT_MAX}) {
            Binary block, back;
            ASSERT_TRUE(CompressBuffer(data.data(), int(size), block, minLen));
            const bool compressed = int(size) >= minLen;
            EXPECT_EQ((compressed ? 0x80000000u : 0u) | uint32_t(size), Header(block));
            EXPECT_TRUE(compressed || int(size) + 4 == block.Size());
            ASSERT_TRUE(UncompressBuffer(block.Data(), block.Size(), back, 1)) << size;
            ASSERT_EQ(int(size) + 1, back.Size());
            EXPECT_EQ(0, memcmp(back.Data(), data.data(), size));
            EXPECT_EQ(0, back.Data()[size]);
        }
    }
}

TEST(CompressedBlock, DecodesPythonStream) {
    ChildProcess python({"/usr/bin/python3", "-c",
                         "import struct, zlib\n"
                         "data = bytes(range(256)) * 40\n"
                         "print((struct.pack('<I', 0x80000000 | len(data)) + "
                         "zlib.compress(data, 1)).hex().upper())"});
    ASSERT_TRUE(python.Started());
    std::string hex = python.ReadAll();
    ASSERT_EQ(0, python.Wait());
    hex.erase(hex.find_last_not_of("\r\n") + 1);
    Binary block, back;
    ASSERT_TRUE(HexStrToBin(hex.c_str(), block));
    ASSERT_TRUE(UncompressBuffer(block.Data(), block.Size(), back, 0));
    ASSERT_EQ(10240, back.Size());
    for (int i = 0; i < back.Size(); ++i) ASSERT_EQ(i % 256, back.Data()[i]);
}

TEST(CompressedBlock, RefusesDamagedAndHostileBlocks) {
    const std::vector<unsigned char> data = RandomBytes(5000, 3);
    Binary good;
    ASSERT_TRUE(CompressBuffer(data.data(), int(data.size()), good, 1));
    auto decodes = [](std::vector<unsigned char> block, int extra = 0) {
        Binary out;
        const bool ok = UncompressBuffer(block.data(), int(block.size()), out, extra);
        EXPECT_TRUE(ok || out.IsEmpty());
        return ok;
    };
    const std::vector<unsigned char> bytes(good.Data(), good.Data() + good.Size());
    std::vector<unsigned char> cut(bytes.begin(), bytes.end() - 7), flipped = bytes;
    flipped[bytes.size() / 2] ^= 0x04;
    EXPECT_FALSE(decodes(cut));
    EXPECT_FALSE(decodes(flipped));
    EXPECT_FALSE(decodes({0x01, 0x00, 0x00, 0x7F, 0x78}));  // header past 0x40000000

    // A bomb: 10 MiB of zeros under a header that claims 1000 bytes. The block is
    // never allocated larger than the header says.
    const std::vector<unsigned char> zeros(10u << 20);
    Binary bomb;
    ASSERT_TRUE(CompressBuffer(zeros.data(), int(zeros.size()), bomb, 1));
    std::vector<unsigned char> hostile(bomb.Data(), bomb.Data() + bomb.Size());
    hostile[0] = 0xE8, hostile[1] = 0x03, hostile[2] = 0;
    g_largest = 0;
    Binary out{BinaryAllocator(&CountingBlocks)};
    EXPECT_FALSE(UncompressBuffer(hostile.data(), int(hostile.size()), out, 8));
    EXPECT_TRUE(out.IsEmpty());
    EXPECT_LE(g_largest, 1008u + 64u);  // the block and its bookkeeping

    ReportCapture capture;
    hostile[0] = 0xFF, hostile[1] = 0xFF, hostile[2] = 0xFF;  // claims more than it holds
    EXPECT_FALSE(decodes(hostile));
    EXPECT_FALSE(decodes({1, 2, 3}));
    EXPECT_FALSE(decodes({5, 0, 0, 0, 'a', 'b'}));  // stored, in_len disagrees
    EXPECT_FALSE(decodes({0, 0, 0, 0}, -1));
    EXPECT_EQ(4, capture.Count());
}

// Parses "0xHH," items back to bytes, checking the layout on the way.
Binary ParseSourceText(const std::string& text, int indent) {
    std::string hex;
    size_t at = 0, line = 0;
    while (at < text.size()) {
        EXPECT_EQ(std::string(indent, '\t'), text.substr(at, indent)) << line;
        at += indent;
        const size_t end = std::min(text.find("\r\n", at), text.size());
        EXPECT_EQ(0u, (end - at) % 5);
        EXPECT_TRUE(end == text.size() || end - at == 80) << line;
        for (; at < end; at += 5) hex += text.substr(at + 2, 2);
        at = end + 2, ++line;
    }
    Binary block;
    EXPECT_TRUE(HexStrToBin(hex.c_str(), block));
    return block;
}

TEST(SourceText, LinesOfSixteenThatDecodeBack) {
    std::string text;
    BinaryToSourceText(text, "abcde", 5, 1, '\t');  // a 17-byte block: two lines
    EXPECT_EQ(1 + 16 * 5 + 2 + 1 + 5, int(text.size()));
    EXPECT_EQ("\t0x05,0x00,0x00,0x80,0x78,", text.substr(0, 26));
    for (size_t size : {1u, 100u, 3000u}) {
        const std::vector<unsigned char> data = RandomBytes(size, 9);
        BinaryToSourceText(text, data.data(), int(size), 2, '\t');
        const Binary block = ParseSourceText(text, 2);
        Binary back;
        ASSERT_TRUE(UncompressBuffer(block.Data(), block.Size(), back, 0));
        EXPECT_EQ(0, memcmp(back.Data(), data.data(), size));
    }
    const std::string path = ::testing::TempDir() + "source_text.bin";
    ASSERT_TRUE(WriteWholeTextFileEx(path.c_str(), tft_ansi, "abcde"));
    std::string fromFile;
    EXPECT_EQ(BinaryToSourceText(text, "abcde", 5, 3, ' '),
              FileToSourceText(fromFile, path.c_str(), 3, ' '));
    EXPECT_EQ("", FileToSourceText(fromFile, (path + ".none").c_str(), 3, ' '));
}

template <class CHAR>
void ExpectHexForms() {
    std::basic_string<CHAR> hex;
    const unsigned char bytes[] = {0x0A, 0xFF, 0x00, 0x5C};
    BinToHexStr(bytes, 4, hex);
    EXPECT_EQ(std::basic_string<CHAR>({'0', 'A', 'F', 'F', '0', '0', '5', 'C'}), hex);
    Binary bin;
    EXPECT_TRUE(HexStrToBin(hex.c_str(), bin));
    EXPECT_EQ(0, memcmp(bin.Data(), bytes, 4));
    for (const char* bad : {"0a", "0", "", "0G", "0A1"}) {
        const std::basic_string<CHAR> text(bad, bad + strlen(bad));
        EXPECT_FALSE(HexStrToBin(text.c_str(), bin)) << bad;
        EXPECT_TRUE(bin.IsEmpty());
    }
}

TEST(SmallLibrary, HexFormsNarrowAndWide) {
    ExpectHexForms<char>();
    ExpectHexForms<char16_t>();
}

TEST(SmallLibrary, WorkTasksPartitionAndRepeatCopy) {
    int out[8];
    EXPECT_EQ(2, GetWorkTasks(7, 3, 1, out));
    EXPECT_EQ(1, out[0]);
    EXPECT_EQ(4, out[1]);
    for (int tasks = 0; tasks < 20; ++tasks)
        for (int workers = 1; workers < 5; ++workers) {
            std::vector<int> owner(tasks, -1);
            for (int w = 0; w < workers; ++w) {
                int mine[20];
                const int n = GetWorkTasks(tasks, workers, w, mine);
                EXPECT_LE(n, (tasks + workers - 1) / workers);
                for (int k = 0; k < n; ++k) {
                    EXPECT_TRUE(k == 0 || mine[k] > mine[k - 1]);
                    EXPECT_EQ(-1, owner[mine[k]]);
                    owner[mine[k]] = w;
                }
            }
            EXPECT_EQ(owner.end(), std::find(owner.begin(), owner.end(), -1));
        }
    char buf[8] = "-------";
    EXPECT_EQ(buf, RepeatCopy(buf, 5, "ab", 2));
    EXPECT_STREQ("ababa--", buf);
    ReportCapture capture;
    RepeatCopy(buf, 3, "ab", 0);
    EXPECT_EQ(0, GetWorkTasks(3, 0, 0, out));
    EXPECT_EQ(2, capture.Count());
}

}  // namespace
