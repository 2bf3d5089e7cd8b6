// The narrow road costs no heap for a message of up to 1023 characters. This
// program replaces malloc, under operator new too, to count the logging thread's
// calls; a sanitizer's allocator cannot be replaced, so there it only runs.
#include <gtest/gtest.h>

#include <cstdlib>
#include <string>

#include "log_test_support.h"
#include "scratch_dir.h"

namespace {

thread_local bool t_counting = false;
thread_local int t_heapCalls = 0;

// Heap calls made by this thread while `run` runs.
template <class Run>
int HeapCallsOf(Run run) {
    t_heapCalls = 0;
    t_counting = true;
    run();
    t_counting = false;
    return t_heapCalls;
}

}  // namespace

#if !defined(__SANITIZE_ADDRESS__) && !defined(__SANITIZE_THREAD__)
constexpr bool kHeapCounted = true;
extern "C" void* __libc_malloc(size_t size);
extern "C" void* malloc(size_t size) {
    if (t_counting) ++t_heapCalls;
    return __libc_malloc(size);
}
#else
constexpr bool kHeapCounted = false;
#endif

namespace {

// A callback on the road that allocates nothing itself.
void CountLine(void* userData, int, const char*, int, const char*, int) {
    ++*static_cast<int*>(userData);
}

class NarrowRoadHeap : public LogTest {};

TEST_F(NarrowRoadHeap, AThousandCharacterMessageCostsNoAllocation) {
    ScratchDir dir("qdlog-heap");
    ASSERT_EQ(1, QDLogSetDir(dir.Text().c_str()));
    QDLogToFile(1);
    int lines = 0;
    QDLogAddCallback(CountLine, &lines);
    const std::string message(1000, 'm');
    const std::string twoLines = std::string(400, 'a') + "\n" + std::string(400, 'b');
    QDLogEvent(0, "%s", message.c_str());  // opens the file; stdio takes its buffers

    const int quiet = HeapCallsOf([&] {
        for (int i = 0; i < 3; ++i) {
            if (*GetQDLogMaskPtr() & QDLOG_MASK_INFO) QDLogEvent(0, "%s", message.c_str());
            QDLogEvent(3, "%s", twoLines.c_str());
        }
    });
    // Past 1023 characters the text needs the heap: the counter does count.
    const int loud = HeapCallsOf([&] { QDLogEvent(0, "%s%s", message.c_str(), message.c_str()); });
    EXPECT_EQ(1 + 3 * 3 + 1, lines);
    if (kHeapCounted) {
        EXPECT_EQ(0, quiet);
        EXPECT_GT(loud, 0);
    }
    QDLogRemoveCallback(&lines);
    QDLogToFile(0);
    QDLogSetDir(nullptr);
}

}  // namespace
