// RingBuffer against a reference model: a deque of bytes with the stream offset of
// its front, driven by a long random sequence of every operation at both ends.
#include <gtest/gtest.h>

#include <cstring>
#include <deque>
#include <random>
#include <vector>

#include "report_capture.h"
#include "ringbuffer.h"

namespace {

struct Model {
    std::deque<unsigned char> bytes;
    int64_t begin = 0;
    int capacity = 0;
    int Room() const { return capacity - static_cast<int>(bytes.size()); }
    int64_t End() const { return begin + static_cast<int64_t>(bytes.size()); }
};

// The erase callback: records what it was asked and refuses when told to.
struct EraseLog {
    bool refuse = false;
    int64_t offset = -1;
    int count = -1;
};
bool AskErase(void* param, int64_t offset, int bytes) {
    EraseLog* log = static_cast<EraseLog*>(param);
    log->offset = offset;
    log->count = bytes;
    return !log->refuse;
}

std::vector<unsigned char> Fresh(std::mt19937& rng, int n) {
    std::vector<unsigned char> v(static_cast<size_t>(n));
    for (unsigned char& c : v) c = static_cast<unsigned char>(rng());
    return v;
}

// Fills the two pieces of a begun phase from `data` in stream order: buf1 then buf2
// for the back, buf2 (the head) then buf1 (the tail) for the front.
void FillPieces(unsigned char* buf1, unsigned char* buf2, int len1,
                const std::vector<unsigned char>& data, bool front) {
    const int n = static_cast<int>(data.size());
    if (front) {
        memcpy(buf1, data.data() + (n - len1), static_cast<size_t>(len1));
        if (n > len1) memcpy(buf2, data.data(), static_cast<size_t>(n - len1));
    } else {
        memcpy(buf1, data.data(), static_cast<size_t>(len1));
        if (n > len1) memcpy(buf2, data.data() + len1, static_cast<size_t>(n - len1));
    }
}

TEST(RingBuffer, AgreesWithADequeUnderRandomOperationsAtBothEnds) {
    std::mt19937 rng(18);
    EraseLog log;
    for (int round = 0; round < 25; ++round) {
        const int capacity = 1 + static_cast<int>(rng() % 40);
        RingBuffer ring(capacity, AskErase, &log);
        Model model;
        model.capacity = capacity;
        model.begin = static_cast<int64_t>(rng()) << 20;  // offsets past 32 bits
        ring.SetBeginByteOffset(model.begin);
        ReportCapture capture;
        int breaches = 0;
        auto pick = [&](int upTo) { return static_cast<int>(rng() % (upTo + 1)); };

        for (int step = 0; step < 2000; ++step) {
            const int op = static_cast<int>(rng() % 10);
            const bool overwrite = rng() % 2, callBack = rng() % 2;
            log.refuse = rng() % 8 == 0;
            const bool refused = callBack && log.refuse;
            if (op <= 3) {  // push at either end, whole or two-phase
                const bool front = op % 2;
                const int n = (front ? 1 : 0) + pick(capacity + 1 - (front ? 1 : 0));
                const std::vector<unsigned char> data = Fresh(rng, n);
                const int shortage = n - model.Room();
                bool expect = true;
                if (n > capacity || (!overwrite && shortage > 0)) {
                    expect = false;
                    ++breaches;
                } else if (shortage > 0 && refused) {
                    expect = false;
                }
                bool ok;
                if (op < 2) {
                    ok = front ? ring.PushFront(data.data(), n, overwrite, callBack)
                               : ring.PushBack(data.data(), n, overwrite, callBack);
                } else {
                    unsigned char *buf1 = nullptr, *buf2 = nullptr;
                    int len1 = -1;
                    ok = front ? ring.BeginPushFront(n, overwrite, &buf1, &buf2, &len1, callBack)
                               : ring.BeginPushBack(n, overwrite, &buf1, &buf2, &len1, callBack);
                    if (ok) {
                        ASSERT_TRUE(len1 == n ? buf2 == nullptr : buf2 != nullptr);
                        FillPieces(buf1, buf2, len1, data, front);
                        // Nothing else may start while the phase is open.
                        EXPECT_FALSE(ring.EraseFront(0, false));
                        EXPECT_FALSE(front ? ring.CommitPushBack() : ring.CommitPushFront());
                        breaches += 2;
                        ASSERT_TRUE(front ? ring.CommitPushFront() : ring.CommitPushBack());
                    }
                }
                ASSERT_EQ(expect, ok) << "step " << step;
                if (ok && shortage > 0) {
                    if (callBack) {
                        EXPECT_EQ(shortage, log.count);
                        EXPECT_EQ(front ? model.End() - shortage : model.begin, log.offset);
                    }
                    for (int i = 0; i < shortage; ++i)
                        front ? model.bytes.pop_back() : model.bytes.pop_front();
                    if (!front) model.begin += shortage;
                }
                if (ok) {
                    if (front) {
                        model.bytes.insert(model.bytes.begin(), data.begin(), data.end());
                        model.begin -= n;
                    } else {
                        model.bytes.insert(model.bytes.end(), data.begin(), data.end());
                    }
                }
            } else if (op <= 5) {  // read or write a range, partly outside at times
                const int64_t at = model.begin - 2 + pick(static_cast<int>(model.bytes.size()) + 2);
                const int n = pick(capacity);
                const bool inside = at >= model.begin && at + n <= model.End();
                if (op == 4) {
                    std::vector<unsigned char> got(static_cast<size_t>(n) + 1);
                    ASSERT_EQ(inside, ring.Read(at, got.data(), n));
                    for (int i = 0; inside && i < n; ++i)
                        ASSERT_EQ(model.bytes[static_cast<size_t>(at - model.begin + i)], got[i]);
                } else {
                    const std::vector<unsigned char> data = Fresh(rng, n);
                    ASSERT_EQ(inside, ring.Write(at, data.data(), n));
                    for (int i = 0; inside && i < n; ++i)
                        model.bytes[static_cast<size_t>(at - model.begin + i)] = data[i];
                }
            } else {  // erase or pop at either end, now and then more than held
                const bool front = op % 2;
                const int size = static_cast<int>(model.bytes.size());
                const int n = pick(size + 1);
                std::vector<unsigned char> got(static_cast<size_t>(n) + 1);
                const bool pop = op >= 8;
                bool ok;
                if (pop)
                    ok = front ? ring.PopFront(got.data(), n, callBack)
                               : ring.PopBack(got.data(), n, callBack);
                else
                    ok = front ? ring.EraseFront(n, callBack) : ring.EraseBack(n, callBack);
                if (n > size && !pop) ++breaches;
                ASSERT_EQ(n <= size && !refused, ok) << "step " << step;
                if (ok && callBack) {
                    EXPECT_EQ(front ? model.begin : model.End() - n, log.offset);
                }
                for (int i = 0; ok && i < n; ++i) {
                    const unsigned char expected =
                        front ? model.bytes[static_cast<size_t>(i)]
                              : model.bytes[static_cast<size_t>(size - n + i)];
                    if (pop) {
                        ASSERT_EQ(expected, got[static_cast<size_t>(i)]);
                    }
                }
                for (int i = 0; ok && i < n; ++i)
                    front ? model.bytes.pop_front() : model.bytes.pop_back();
                if (ok && front) model.begin += n;
            }
            ASSERT_EQ(static_cast<int>(model.bytes.size()), ring.GetSize());
            ASSERT_EQ(model.begin, ring.BeginByteOffset());
            ASSERT_EQ(model.End(), ring.EndByteOffset());
            ASSERT_EQ(RingBuffer::kIdle, ring.GetState());
        }
        std::vector<unsigned char> all(static_cast<size_t>(ring.GetSize()) + 1);
        ASSERT_TRUE(ring.Read(ring.BeginByteOffset(), all.data(), ring.GetSize()));
        EXPECT_TRUE(std::equal(model.bytes.begin(), model.bytes.end(), all.begin()));
        EXPECT_EQ(breaches, capture.Count()) << "round " << round;
    }
}

}  // namespace
