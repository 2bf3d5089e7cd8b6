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
    TYPE* heap() const { return this->heap_; }
    const unsigned char* stack() const { return this->stack_; }
    int32_t* validCount() const { return this->valid_cnt_; }
};

TEST(SmartBuf, StaysInlineUpToStackLenAndMovesToTheHeapBeyond) {
    ReportCapture reports;
    OpenBuf<char, 1024> inlineBuf(1024);
    EXPECT_TRUE(inlineBuf.IsStack());
    EXPECT_EQ(1024, inlineBuf.Length());
    EXPECT_EQ(nullptr, inlineBuf.heap());
    EXPECT_EQ(0, inlineBuf.HeapLength());

    OpenBuf<char, 1024> heapBuf(1025);
    EXPECT_FALSE(heapBuf.IsStack());
    EXPECT_EQ(1025, heapBuf.HeapLength());
    EXPECT_EQ(heapBuf.heap(), heapBuf.Get());

    heapBuf.Resize(10);  // back inline
    EXPECT_TRUE(heapBuf.IsStack());
    EXPECT_EQ(0, heapBuf.HeapLength());
    EXPECT_EQ(0, reports.Count());
}

TEST(SmartBuf, ZeroLengthWithNoInlineRoomStillHasAPointer) {
    OpenBuf<int, 0> buf(0);
    EXPECT_NE(nullptr, buf.Get());
    EXPECT_EQ(reinterpret_cast<const int*>(buf.stack()), buf.Get());
    EXPECT_TRUE(buf.IsStack());
    EXPECT_EQ(0, buf.Length());
}

TEST(SmartBuf, ResizeKeepsContentsOnlyForTheSameLength) {
    SmartBuf<char, 64> buf(16);
    memcpy(buf.Get(), "keep", 5);
    buf.Resize(16);
    EXPECT_STREQ("keep", buf.Get());
    buf.Resize(17);
    EXPECT_EQ(17, buf.Length());
    EXPECT_TRUE(buf.IsStack());
}

TEST(SmartBuf, IndexIsBoundedByTheLength) {
    ReportCapture reports;
    SmartBuf<int, 8> buf(4);
    buf[3] = 1;
    EXPECT_EQ(0, reports.Count());
    buf[4];
    buf[-1];
    EXPECT_EQ(2, reports.Count("(index >= 0 && index < *valid_cnt_)"));
}

TEST(SmartBuf, FreeTwiceNeedsAllowNull) {
    ReportCapture reports;
    SmartBuf<char, 8> buf(4);
    buf.Free(false);
    EXPECT_EQ(nullptr, buf.Get());
    buf.Free(true);
    EXPECT_EQ(0, reports.Count());
    buf.Free(false);
    EXPECT_EQ(1, reports.Count("(this->p_ == StackItems())"));
}

TEST(SmartBuf, BadLengthsAreReportedAndLeaveAnEmptyBuffer) {
    ReportCapture reports;
    SmartBuf<int, 4> negative(-1);
    EXPECT_EQ(1, reports.Count("(len >= 0)"));
    EXPECT_EQ(0, negative.Length());
    SmartBuf<int, 4> huge(1024 * 1024 * 512 / 4 + 1);
    EXPECT_EQ(1, reports.Count("(len <= 1024*1024*512/((const int)sizeof(TYPE)))"));
    EXPECT_EQ(1, reports.Count("(this->p_)"));
    EXPECT_EQ(0, huge.Length());
    EXPECT_EQ(nullptr, huge.Get());
}

TEST(SmartBuf, DestructionFillsItsFieldsAndStorageWith0xCD) {
    using Buf = OpenBuf<char, 32>;
    alignas(Buf) unsigned char room[sizeof(Buf)];
    Buf* buf = new (room) Buf(40);  // on the heap
    memset(buf->Get(), 'z', 40);
    const size_t stackAt = static_cast<size_t>(buf->stack() - room);
    buf->~Buf();
    // Read the dead object's bytes through volatile, as a stale pointer would.
    unsigned char after[sizeof(Buf)];
    const volatile unsigned char* dead = room;
    for (size_t i = 0; i < sizeof(Buf); ++i) after[i] = dead[i];
    // len_, p_ and valid_cnt_ lead the object: 0xCDCDCDCD, pointers likewise.
    int32_t len;
    uintptr_t p, validCount;
    memcpy(&len, after, sizeof(len));
    memcpy(&p, after + sizeof(void*), sizeof(p));
    memcpy(&validCount, after + 2 * sizeof(void*), sizeof(validCount));
    EXPECT_EQ(static_cast<int32_t>(0xCDCDCDCD), len);
    EXPECT_EQ(static_cast<uintptr_t>(0xCDCDCDCDCDCDCDCDull), p);
    EXPECT_EQ(static_cast<uintptr_t>(0xCDCDCDCDCDCDCDCDull), validCount);
    for (size_t i = 0; i < 32; ++i) ASSERT_EQ(0xCD, after[stackAt + i]);
}

struct Counted {
    static int scalarDeletes;
    static int arrayDeletes;
    static int alive;
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
int Counted::scalarDeletes = 0;
int Counted::arrayDeletes = 0;
int Counted::alive = 0;

TEST(AutoPtr, DeletesByTheFormItWasMadeWith) {
    Counted::scalarDeletes = Counted::arrayDeletes = 0;
    {
        AutoPtr<Counted> one(1);
        EXPECT_FALSE(one.IsArray());
    }
    EXPECT_EQ(1, Counted::scalarDeletes);
    {
        AutoPtr<Counted> two(2);
        EXPECT_TRUE(two.IsArray());
    }
    EXPECT_EQ(1, Counted::arrayDeletes);
    { AutoPtr<Counted> adopted(new Counted[1], 1, true); }
    EXPECT_EQ(2, Counted::arrayDeletes);
    { AutoPtr<Counted> adopted(new Counted, 1, false); }
    EXPECT_EQ(2, Counted::scalarDeletes);
    {
        AutoPtr<Counted> none(0);
        EXPECT_EQ(nullptr, none.Get());
    }
    EXPECT_EQ(0, Counted::alive);
}

TEST(AutoPtr, TransferMovesOwnershipAndSelfTransferKeepsTheBlock) {
    Counted::scalarDeletes = Counted::arrayDeletes = 0;
    AutoPtr<Counted> a(3);
    Counted* block = a.Get();
    AutoPtr<Counted>& alias = a;
    a = alias;
    EXPECT_EQ(block, a.Get());
    AutoPtr<Counted> b;
    b = a;
    EXPECT_EQ(block, b.Get());
    EXPECT_EQ(3, b.Length());
    EXPECT_EQ(nullptr, a.Get());
    EXPECT_EQ(0, a.Length());
    EXPECT_EQ(0, Counted::arrayDeletes);
}

TEST(AutoPtr, BadAdoptionIsReported) {
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
        void* room = obj.Storage();
        ASSERT_NE(nullptr, room);
        obj.Attach(new (room) Counted);
        EXPECT_EQ(1, Counted::alive);
        EXPECT_EQ(nullptr, obj.Storage());
        EXPECT_EQ(1, reports.Count("(obj_ == 0)"));
    }
    EXPECT_EQ(0, Counted::alive);
    {
        AutoObj<std::string> s;
        s.Emplace("built");
        EXPECT_EQ("built", *s.Get());
    }
}

TEST(ItemHelpers, ConstructDestroyAndRelocate) {
    alignas(std::string) unsigned char a[3 * sizeof(std::string)];
    alignas(std::string) unsigned char b[3 * sizeof(std::string)];
    std::string* src = reinterpret_cast<std::string*>(a);
    std::string* dst = reinterpret_cast<std::string*>(b);
    ConstructItems(src, 3, std::string(40, 'x'));  // long enough to live on the heap
    RelocateItems(dst, src, 3);
    for (unsigned char byte : a) ASSERT_EQ(0xCD, byte);
    EXPECT_EQ(std::string(40, 'x'), dst[2]);
    DestroyItems(dst, 3);
    for (unsigned char byte : b) ASSERT_EQ(0xCD, byte);

    int plainSrc[3] = {1, 2, 3};
    int plainDst[3] = {};
    RelocateItems(plainDst, plainSrc, 3);
    EXPECT_EQ(3, plainDst[2]);
    EXPECT_EQ(3, plainSrc[2]);  // plain data is copied without the fill
}

TEST(RemoveFromArray, MovesTheTailDown) {
    char text[] = "abcdef";
    int count = 6;
    RemoveFromArray(text, count, 1, 2);
    EXPECT_EQ(4, count);
    EXPECT_EQ("adef", std::string(text, 4));

    char16_t wide[] = u"xyz";
    count = 3;
    RemoveFromArray(wide, count, 2, 1);
    EXPECT_EQ(2, count);
    EXPECT_EQ(u"xy", std::u16string(wide, 2));
}

TEST(RemoveFromArray, EmptyArrayIsReportedEvenForAnEmptyRun) {
    ReportCapture reports;
    char text[1] = {0};
    int count = 0;
    RemoveFromArray(text, count, 0, 0);
    EXPECT_EQ(1, reports.Count("(0 < itemCount)"));
    EXPECT_EQ(0, count);
}

}  // namespace
