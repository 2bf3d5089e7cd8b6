// RingBuffer against a reference model: a deque of bytes with the stream offset of
// its front, driven by a long random sequence of every operation at both ends.
#include <gtest/gtest.h>

#include <algorithm>
#include <cstring>
#include <deque>
#include <random>
#include <vector>

#include "report_capture.h"
#include "ringbuffer.h"

namespace {

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
