#include <gtest/gtest.h>

#include <cstring>
#include <new>
#include <string>

#include "arraycopy.h"
#include "autoobj.h"
#include "autoptr.h"
#include "constructor.h"
#include "smartbuf.h"
#include "report_capture.h"

namespace {

// Exposes the buffer's fields for the invariant tests.
template <class TYPE, int N>
struct OpenBuf : SmartBuf<TYPE, N> {
    using SmartBuf<TYPE, N>::SmartBuf;
    const void* heapField() const { return &this->heap_; }
    const unsigned char* stack() const { return this->stack_; }
};

TEST(SmartBuf, StaysInlineUpToStackLenMovesToTheHeapBeyondAndBack) {
    ReportCapture reports;  // IsStack tests the invariants of either place
    OpenBuf<char, 1024> buf(1024);
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
    OpenBuf<int, 0> none(0);  // no inline room, and still a pointer
    EXPECT_EQ(reinterpret_cast<const int*>(none.stack()), none.Get());
    EXPECT_TRUE(none.IsStack());
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

TEST(SmartBuf, DestructionFillsItsFieldsAndStorageWith0xCD) {
    using Buf = OpenBuf<char, 32>;
    alignas(Buf) unsigned char room[sizeof(Buf)];
    Buf* buf = new (room) Buf(40);  // on the heap
    memset(buf->Get(), 'z', 40);
    const size_t stackAt = static_cast<size_t>(buf->stack() - room);
    const size_t heapAt =
        static_cast<size_t>(static_cast<const unsigned char*>(buf->heapField()) - room);
    buf->~Buf();
    // Read the dead object's bytes through volatile, as a stale pointer would.
    const volatile unsigned char* dead = room;
    // len_, p_ and valid_cnt_ lead the object.
    for (size_t i = 0; i < 4; ++i) EXPECT_EQ(0xCD, dead[i]) << i;
    for (size_t i = sizeof(void*); i < 3 * sizeof(void*); ++i) EXPECT_EQ(0xCD, dead[i]) << i;
    for (size_t i = 0; i < sizeof(void*); ++i) EXPECT_EQ(0xCD, dead[heapAt + i]) << i;
    for (size_t i = 0; i < 32; ++i) ASSERT_EQ(0xCD, dead[stackAt + i]);
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
        EXPECT_FALSE(one.IsArray() || adoptedOne.IsArray());
        EXPECT_TRUE(two.IsArray() && adoptedArray.IsArray());
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

    ReportCapture reports;
    int x = 0;
    AutoPtr<int> bad(&x, 0, false);
    EXPECT_EQ(1, reports.Count("(len > 0)"));
    EXPECT_EQ(1, reports.Count("(p == 0)"));
    EXPECT_EQ(nullptr, bad.Get());
}

TEST(AutoObj, BuildsOnDemandOnceAndDestroysIt) {
    ReportCapture reports;
    Counted::alive = 0;
    {
        AutoObj<Counted> obj;
        EXPECT_EQ(nullptr, obj.Get());
        obj.Attach(new (obj.Storage()) Counted);
        EXPECT_EQ(1, Counted::alive);
        EXPECT_EQ(nullptr, obj.Storage());
        EXPECT_EQ(1, reports.Count("(obj_ == 0)"));
        AutoObj<std::string> s;
        s.Emplace(40, 'x');  // on the heap: a leak if never destroyed
        EXPECT_EQ(std::string(40, 'x'), *s.Get());
    }
    EXPECT_EQ(0, Counted::alive);
    EXPECT_EQ(1, reports.Count());
}

TEST(ItemHelpers, RelocationFillsTheSourceOfNonTrivialItemsOnly) {
    alignas(std::string) unsigned char a[2 * sizeof(std::string)], b[sizeof(a)];
    std::string* src = reinterpret_cast<std::string*>(a);
    ConstructItems(src, 2, std::string(40, 'x'));  // long enough to live on the heap
    RelocateItems(reinterpret_cast<std::string*>(b), src, 2);
    for (unsigned char byte : a) ASSERT_EQ(0xCD, byte);
    EXPECT_EQ(std::string(40, 'x'), reinterpret_cast<std::string*>(b)[1]);
    DestroyItems(reinterpret_cast<std::string*>(b), 2);  // its fill shows with SmartArray
    int plainSrc[3] = {1, 2, 3}, plainDst[3] = {};
    RelocateItems(plainDst, plainSrc, 3);
    EXPECT_EQ(3, plainDst[2]);
    EXPECT_EQ(3, plainSrc[2]);  // plain data is copied without the fill
}

TEST(RemoveFromArray, MovesTheTailDownAndAnEmptyArrayIsReported) {
    ReportCapture reports;
    char text[] = "abcdef";
    int count = 6;
    RemoveFromArray(text, count, 1, 2);
    EXPECT_EQ(4, count);
    EXPECT_EQ("adef", std::string(text, 4));
    count = 0;
    RemoveFromArray(text, count, 0, 0);  // even for an empty run
    EXPECT_EQ(1, reports.Count("(0 < itemCount)"));
    EXPECT_EQ(0, count);
}

}  // namespace
