// Binary copies dropped on several threads at once; these also run under
// ThreadSanitizer.
#include <gtest/gtest.h>

#include <atomic>
#include <thread>
#include <vector>

#include "binary.h"
#include "report_capture.h"

namespace {

TEST(BinaryConcurrency, CopiesOfOneBlockAreDroppedOnManyThreads) {
    ReportCapture reports;
    int frees = 0;
    static std::atomic<int> s_frees;
    s_frees = 0;
    BinaryBlockFunction counting = [](void* block, size_t bytes) -> void* {
        if (!block) return malloc(bytes);
        s_frees.fetch_add(1);
        free(block);
        return nullptr;
    };
    {
        Binary original{BinaryAllocator(counting)};
        original.Set("shared bytes", 12);
        std::vector<std::thread> threads;
        for (int t = 0; t < 8; ++t)
            threads.emplace_back([original] {  // each thread starts with its own copy
                for (int i = 0; i < 1000; ++i) {
                    Binary copy = original;
                    Binary empty;  // the shared empty entity, counted from every thread
                    if (copy.Size() != 12) ADD_FAILURE();
                }
            });
        for (std::thread& t : threads) t.join();
        EXPECT_EQ(1, original.RefCount());
        frees = s_frees.load();
    }
    EXPECT_EQ(0, frees);           // nothing went while the original lived
    EXPECT_EQ(2, s_frees.load());  // then its entity and its block
    EXPECT_EQ(0, reports.Count());
}

}  // namespace
