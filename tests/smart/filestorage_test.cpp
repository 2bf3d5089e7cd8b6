// FileStorage over real files, and the line and chunk readers on it. The program is
// linked with fread wrapped, so the tests count the reads that reach the stream.
// RingBuffer, the read snubber, against a reference model: a deque of bytes with the
// stream offset of its front, driven by a long random sequence of every operation at
// both ends.
#include <gtest/gtest.h>

#include <algorithm>
#include <cstdio>
#include <cstring>
#include <deque>
#include <filesystem>
#include <random>
#include <string>
#include <vector>

#include "filestorage.h"
#include "report_capture.h"
#include "ringbuffer.h"
#include "scratch_dir.h"

extern "C" size_t __real_fread(void* ptr, size_t size, size_t n, FILE* stream);

namespace {
int g_streamReads = 0;
}

extern "C" size_t __wrap_fread(void* ptr, size_t size, size_t n, FILE* stream) {
    ++g_streamReads;
    return __real_fread(ptr, size, n, stream);
}

namespace {

namespace fs = std::filesystem;

std::string Pattern(size_t n) {
    std::string s(n, 0);
    for (size_t i = 0; i < n; ++i) s[i] = static_cast<char>('a' + i % 23 + i / 997);
    return s;
}

// clang-format off
struct Lines { std::vector<std::string> seen; size_t stopAt = 100; };
// clang-format on
bool Collect(void* param, const char* line) {
    Lines* lines = static_cast<Lines*>(param);
    lines->seen.push_back(line);
    return lines->seen.size() < lines->stopAt;
}
bool CountChunks(void* param, const unsigned char*, int length) {
    static_cast<std::vector<int>*>(param)->push_back(length);
    return true;
}

TEST(FileStorage, TheSnubberServesASlowReaderWritesKeepItTrueLinesAndChunks) {
    ScratchDir dir("storage");
    const std::string path = dir / "data", data = Pattern(20000);
    Write(path, data);
    FileStorage file;
    ASSERT_TRUE(file.Open(path.c_str(), FileStorage::kReadOnly, 16));
    const RingBuffer& ring = *file.GetReadSnubber();
    char got[64];
    // begin and end: the ring afterwards
    // clang-format off
    struct Step { int offset, bytes, streamReads; int64_t begin, end; } steps[] = {
        {0, 4, 1, 0, 4},         // a fresh ring
        {4, 4, 1, 0, 8},         // its tail grows
        {2, 4, 0, 0, 8},         // inside: no stream read
        {100, 4, 1, 100, 104},   // far away: the ring starts afresh
        {98, 4, 1, 98, 104},     // reaches in front: only the two bytes before
        {102, 16, 1, 102, 118},  // the rest is read and the oldest fall off
        {0, 17, 1, 102, 118},    // more than the ring holds passes it by
    };
    // clang-format on
    for (const Step& s : steps) {
        g_streamReads = 0;
        ASSERT_EQ(s.bytes, file.Read(s.offset, got, s.bytes));
        EXPECT_EQ(data.substr(s.offset, s.bytes), std::string(got, s.bytes));
        EXPECT_EQ(s.streamReads, g_streamReads) << s.offset;
        EXPECT_EQ(s.begin, ring.BeginByteOffset()) << s.offset;
        EXPECT_EQ(s.end, ring.EndByteOffset()) << s.offset;
    }
    EXPECT_EQ(-1, file.Read(20000, got, 1));

    // A reader that looks back over the last 12 bytes before each step of 6
    // forward, then walks back the same way.
    file.Close();
    ASSERT_TRUE(file.Open(path.c_str(), FileStorage::kReadOnly, 64));
    g_streamReads = 0;
    int calls = 0;
    for (int step : {6, -6}) {
        for (int pos = step > 0 ? 12 : 19000; pos >= 12 && pos + 6 <= 20000; pos += step) {
            for (int at : {pos - 2 * step, pos - step, pos}) {
                ASSERT_EQ(6, file.Read(at, got, 6));
                ASSERT_EQ(data.substr(at, 6), std::string(got, 6));
                ++calls;
            }
        }
    }
    EXPECT_LE(g_streamReads, calls / 3 + 4) << g_streamReads << " stream reads for " << calls;

    // Writes keep the snubber true and extend the file.
    const std::string writePath = dir / "sub/data";
    FileStorage writer;
    ReportCapture capture;
    EXPECT_FALSE(writer.Open(writePath.c_str(), FileStorage::kReadWriteCreate, 0)) << "no parent";
    EXPECT_FALSE(writer.Open(writePath.c_str(), 4, 0));
    EXPECT_EQ(1, capture.Count("(false)"));
    ASSERT_TRUE(writer.Open(writePath.c_str(), FileStorage::kReplace, 16));
    EXPECT_EQ(-1, writer.Write(0, "abc", 3, false, false));
    EXPECT_EQ(2, capture.Count("(false)"));
    EXPECT_EQ(4, writer.Write(0, "abcd", 4, true, false));
    EXPECT_EQ(3, writer.Write(10, "xyz", 3, true, false));  // the gap is made first
    EXPECT_EQ(13, writer.GetFileSize());
    char bytes[16];
    ASSERT_EQ(8, writer.Read(2, bytes, 8));  // after an unflushed write
    EXPECT_EQ(std::string("cd\0\0\0\0\0\0", 8), std::string(bytes, 8));
    EXPECT_EQ(2, writer.Write(3, "DE", 2, false, true));  // inside the ring: emptied
    EXPECT_EQ(0, writer.GetReadSnubber()->GetSize());
    ASSERT_EQ(4, writer.Read(2, bytes, 4));
    EXPECT_EQ(2, writer.Write(1, "BC", 2, false, false));  // into its front
    EXPECT_EQ(3, writer.GetReadSnubber()->BeginByteOffset());
    ASSERT_EQ(3, writer.Read(10, bytes, 3));
    EXPECT_EQ(2, writer.Write(12, "ZW", 2, true, false));  // over the ring's end
    EXPECT_EQ(12, writer.GetReadSnubber()->EndByteOffset());
    EXPECT_TRUE(writer.SetFileSize(6));
    Binary whole;
    ASSERT_TRUE(writer.ReadWhole(whole));
    EXPECT_EQ(std::string("aBCDE\0", 6),
              std::string(reinterpret_cast<const char*>(whole.Data()), 6));

    int writable = -1;
    fclose(writer.Detach(&writable, nullptr));
    EXPECT_EQ(1, writable);
    ASSERT_TRUE(writer.Open(writePath.c_str(), FileStorage::kReadOnly, 0));
    EXPECT_EQ(-1, writer.Write(0, "x", 1, false, false));
    EXPECT_EQ(4, writer.Read(2, bytes, 10)) << "cut at the end";

    // The line and chunk readers.
    const std::string textPath = dir / "text";
    struct Case {
        std::string text;
        size_t stopAt;
        bool result;
        std::vector<std::string> lines;
    } cases[] = {
        {"a\r\nbb\rc\n", 100, true, {"a", "bb", "c", ""}},
        {"one\ntwo", 100, true, {"one", "two"}},
        {"", 100, true, {""}},
        {"x\n\ny\r", 100, false, {"x", "", "y"}},
        {"a\nb\nc", 2, true, {"a", "b", "b\nc"}},
    };
    for (const Case& c : cases) {
        Write(textPath, c.text);
        Lines lines;
        lines.stopAt = c.stopAt;
        EXPECT_EQ(c.result, ReadFileLines(textPath.c_str(), Collect, &lines));
        EXPECT_EQ(c.lines, lines.seen) << c.text;
    }
    Write(textPath, std::string(2500, 'x') + "\n\n");
    EXPECT_EQ(2, CountFileLines(textPath.c_str()));
    std::vector<int> chunks;
    EXPECT_TRUE(ReadFileInChunks(textPath.c_str(), CountChunks, &chunks, 1000));
    EXPECT_EQ((std::vector<int>{1000, 1000, 502}), chunks);
    EXPECT_EQ(-1, CountFileLines((dir / "missing").c_str()));
}

typedef std::vector<unsigned char> Bytes;

// The erase callback: records what it was asked and refuses when told to.
// clang-format off
struct EraseLog { bool refuse = false; int64_t offset = -1; int count = -1; };
// clang-format on
bool AskErase(void* param, int64_t offset, int bytes) {
    EraseLog* log = static_cast<EraseLog*>(param);
    log->offset = offset;
    log->count = bytes;
    return !log->refuse;
}

// Pushes through the two-phase steps: buf1 then buf2 in stream order at the back;
// at the front buf2 takes the head and buf1 the tail. Nothing else may start while
// the phase is open: each such try adds a report to `breaches`.
bool PushTwoPhase(RingBuffer& ring, const Bytes& data, bool front, bool overwrite, bool callBack,
                  int* breaches) {
    const int n = static_cast<int>(data.size());
    unsigned char *buf1 = nullptr, *buf2 = nullptr;
    int len1 = -1;
    if (!(front ? ring.BeginPushFront(n, overwrite, &buf1, &buf2, &len1, callBack)
                : ring.BeginPushBack(n, overwrite, &buf1, &buf2, &len1, callBack)))
        return false;
    EXPECT_EQ(len1 == n, buf2 == nullptr);
    const unsigned char* d = data.data();
    if (len1 > 0) memcpy(buf1, front ? d + (n - len1) : d, static_cast<size_t>(len1));
    if (n > len1) memcpy(buf2, front ? d : d + len1, static_cast<size_t>(n - len1));
    EXPECT_FALSE(ring.EraseFront(0, false));
    EXPECT_FALSE(front ? ring.CommitPushBack() : ring.CommitPushFront());
    *breaches += 2;
    return front ? ring.CommitPushFront() : ring.CommitPushBack();
}

TEST(RingBuffer, AgreesWithADequeUnderRandomOperationsAtBothEnds) {
    std::mt19937 rng(18);
    auto pick = [&](int upTo) { return static_cast<int>(rng() % (upTo + 1)); };
    auto fresh = [&](int n) {
        Bytes v(static_cast<size_t>(n));
        for (unsigned char& c : v) c = static_cast<unsigned char>(rng());
        return v;
    };
    EraseLog log;
    for (int round = 0; round < 25; ++round) {
        const int capacity = 1 + pick(39);
        RingBuffer ring(capacity, AskErase, &log);
        std::deque<unsigned char> model;
        int64_t begin = static_cast<int64_t>(rng()) << 20;  // offsets past 32 bits
        ring.SetBeginByteOffset(begin);
        ReportCapture capture;
        int breaches = 0;

        for (int step = 0; step < 2000; ++step) {
            const int op = pick(9), size = static_cast<int>(model.size());
            const int64_t end = begin + size;
            const bool front = op % 2, overwrite = rng() % 2, callBack = rng() % 2;
            log.refuse = rng() % 8 == 0;
            const bool refused = callBack && log.refuse;
            if (op <= 3) {  // push at either end, whole or two-phase; never 0 at the front
                const int n = front + pick(capacity + 1 - front);
                const Bytes data = fresh(n);
                const int shortage = n - (capacity - size);
                const bool breach = n > capacity || (!overwrite && shortage > 0);
                breaches += breach;
                const bool ok =
                    op < 2 ? (front ? ring.PushFront(data.data(), n, overwrite, callBack)
                                    : ring.PushBack(data.data(), n, overwrite, callBack))
                           : PushTwoPhase(ring, data, front, overwrite, callBack, &breaches);
                ASSERT_EQ(!breach && !(shortage > 0 && refused), ok) << "step " << step;
                if (!ok) continue;
                if (shortage > 0 && callBack) {
                    EXPECT_EQ(shortage, log.count);
                    EXPECT_EQ(front ? end - shortage : begin, log.offset);
                }
                for (int i = 0; i < shortage; ++i) front ? model.pop_back() : model.pop_front();
                if (front) {
                    model.insert(model.begin(), data.begin(), data.end());
                    begin -= n;
                } else {
                    model.insert(model.end(), data.begin(), data.end());
                    begin += std::max(shortage, 0);
                }
            } else if (op <= 5) {  // read or write a range, partly outside at times
                const int64_t at = begin - 2 + pick(size + 2);
                const int n = pick(capacity);
                const bool inside = at >= begin && at + n <= end;
                Bytes data = fresh(n);
                const auto first = model.begin() + (inside ? at - begin : 0);
                if (op == 4) {
                    ASSERT_EQ(inside, ring.Read(at, data.data(), n));
                    ASSERT_TRUE(!inside || std::equal(data.begin(), data.end(), first));
                } else {
                    ASSERT_EQ(inside, ring.Write(at, data.data(), n));
                    if (inside) std::copy(data.begin(), data.end(), first);
                }
            } else {  // erase or pop at either end, now and then more than held
                const int n = pick(size + 1);
                const bool pop = op >= 8;
                Bytes got(static_cast<size_t>(n) + 1);
                const bool ok =
                    pop ? (front ? ring.PopFront(got.data(), n, callBack)
                                 : ring.PopBack(got.data(), n, callBack))
                        : (front ? ring.EraseFront(n, callBack) : ring.EraseBack(n, callBack));
                breaches += n > size && !pop;
                ASSERT_EQ(n <= size && !refused, ok) << "step " << step;
                if (!ok) continue;
                EXPECT_TRUE(!callBack || log.offset == (front ? begin : end - n));
                const auto first = front ? model.begin() : model.end() - n;
                ASSERT_TRUE(!pop || std::equal(first, first + n, got.begin()));
                model.erase(first, first + n);
                if (front) begin += n;
            }
            ASSERT_EQ(static_cast<int>(model.size()), ring.GetSize());
            ASSERT_EQ(begin, ring.BeginByteOffset());
            ASSERT_EQ(begin + static_cast<int64_t>(model.size()), ring.EndByteOffset());
            ASSERT_EQ(RingBuffer::kIdle, ring.GetState());
        }
        Bytes all(model.size() + 1);
        ASSERT_TRUE(ring.Read(begin, all.data(), ring.GetSize()));
        EXPECT_TRUE(std::equal(model.begin(), model.end(), all.begin()));
        EXPECT_EQ(breaches, capture.Count()) << "round " << round;
    }
}

}  // namespace
