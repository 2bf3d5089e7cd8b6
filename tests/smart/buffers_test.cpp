#include <gtest/gtest.h>

#include <cstring>
#include <string>

#include "autoptr.h"
#include "smartbuf.h"
#include "report_capture.h"

namespace {

TEST(SmartBuf, StaysInlineUpToStackLenMovesToTheHeapBeyondAndBack) {
    ReportCapture reports;  // IsStack tests the invariants of either place
    SmartBuf<char, 1024> buf(1024);
    EXPECT_TRUE(buf.IsStack());
    memcpy(buf.Get(), "keep", 5);
    buf.Resize(1024);  // only the same length keeps the contents
    EXPECT_STREQ("keep", buf.Get());
    buf.Resize(1025);
    EXPECT_FALSE(buf.IsStack());
    EXPECT_EQ(1025, buf.HeapLength());
    buf.Resize(10);
    EXPECT_TRUE(buf.IsStack());
    EXPECT_EQ(0, buf.HeapLength());
    EXPECT_EQ(0, reports.Count());
}

struct Counted {
    static inline int scalarDeletes = 0, arrayDeletes = 0, alive = 0;
    Counted() { ++alive; }
    ~Counted() { --alive; }
    static void operator delete(void* p) {
        ++scalarDeletes;
        ::operator delete(p);
    }
    static void operator delete[](void* p) {
        ++arrayDeletes;
        ::operator delete[](p);
    }
};

TEST(AutoPtr, DeletesByTheFormItWasMadeWithAndAssignmentTransfers) {
    Counted::scalarDeletes = Counted::arrayDeletes = 0;
    {
        AutoPtr<Counted> one(1), adoptedOne(new Counted, 1, false);
        AutoPtr<Counted> two(2), adoptedArray(new Counted[1], 1, true);
    }
    EXPECT_EQ(2, Counted::scalarDeletes);
    EXPECT_EQ(2, Counted::arrayDeletes);
    {
        AutoPtr<Counted> a(3), b;
        Counted* block = a.Get();
        AutoPtr<Counted>& alias = a;
        a = alias;  // a self-transfer keeps the block
        b = a;
        EXPECT_EQ(block, b.Get());
        EXPECT_EQ(3, b.Length());
        EXPECT_EQ(nullptr, a.Get());
        EXPECT_EQ(0, a.Length());
        EXPECT_EQ(2, Counted::arrayDeletes);
    }
    EXPECT_EQ(3, Counted::arrayDeletes);
    EXPECT_EQ(0, Counted::alive);
}

}  // namespace
