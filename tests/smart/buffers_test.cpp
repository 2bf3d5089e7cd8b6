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

TEST(SmartBuf, BadLengthsIndexAndFreeAreReported) {
    ReportCapture reports;
    SmartBuf<int, 4> negative(-1);
    EXPECT_EQ(1, reports.Count("(len >= 0)"));
    EXPECT_EQ(0, negative.Length());
    SmartBuf<int, 4> huge(1024 * 1024 * 512 / 4 + 1);
    EXPECT_EQ(1, reports.Count("(len <= 1024*1024*512/((const int)sizeof(TYPE)))"));
    EXPECT_EQ(1, reports.Count("(this->p_)"));
    EXPECT_EQ(0, huge.Length());
    EXPECT_EQ(nullptr, huge.Get());
    SmartBuf<int, 8> buf(4);
    buf[3] = 1;
    buf[4];
    buf[-1];
    EXPECT_EQ(2, reports.Count("(index >= 0 && index < *valid_cnt_)"));
    buf.Free(false);
    EXPECT_EQ(nullptr, buf.Get());
    buf.Free(true);  // freeing twice needs allow_null
    buf.Free(false);
    EXPECT_EQ(1, reports.Count("(this->p_ == StackItems())"));
    EXPECT_EQ(6, reports.Count());
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
