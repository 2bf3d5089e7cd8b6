#include <gtest/gtest.h>

#include <string>

#include "binary.h"
#include "report_capture.h"

namespace {

std::string Bytes(const Binary& b) {
    return b.Data() ? std::string(reinterpret_cast<const char*>(b.Data()), b.Size()) : "";
}

// Both forms of an allocation source, counting what goes through them; the
// function refuses every allocation while g_refuse is set.
int g_functionAllocs = 0, g_functionFrees = 0;
bool g_refuse = false;
void* CountingFunction(void* block, size_t bytes) {
    if (block) {
        ++g_functionFrees;
        free(block);
        return nullptr;
    }
    ++g_functionAllocs;
    return g_refuse ? nullptr : malloc(bytes);
}

struct CountingSource : BinaryBlockSource {
    int allocs = 0, frees = 0;
    void Free(void* block) override {
        ++frees;
        free(block);
    }
    void* Allocate(size_t bytes) override {
        ++allocs;
        return malloc(bytes);
    }
};

TEST(Binary, EmptyObjectsShareOneEntityCopiesShareUntilOneWrites) {
    g_functionAllocs = 0;
    Binary empty{BinaryAllocator(&CountingFunction)}, b1;
    EXPECT_TRUE(empty.HoldsEmptyEntity());
    EXPECT_TRUE(empty.Clear());
    EXPECT_TRUE(empty.SetLength(0, false));
    EXPECT_EQ(0, g_functionAllocs);
    EXPECT_TRUE(b1.HoldsEmptyEntity());
    ASSERT_TRUE(b1.Set("abcdef", 6));
    Binary b2 = b1;
    EXPECT_EQ(2, b1.RefCount());
    EXPECT_EQ(b1.Data(), b2.Data());
    unsigned char* mine = b2.Get();  // copy on write
    EXPECT_NE(b1.Data(), mine);
    EXPECT_EQ(1, b1.RefCount());
    mine[0] = 'X';
    EXPECT_EQ("abcdef", Bytes(b1));
    EXPECT_EQ("Xbcdef", Bytes(b2));
    EXPECT_TRUE(b2.SetLength(3, true));
    EXPECT_TRUE(b2.SetLength(5, true));  // keeps the prefix
    EXPECT_EQ("Xbc", Bytes(b2).substr(0, 3));
    EXPECT_EQ(5, b2.Size());
    EXPECT_TRUE(b2.SetLength(0, true));
    EXPECT_TRUE(b2.HoldsEmptyEntity());
}

TEST(Binary, SetFromItsOwnBlockAndFixedBlocksAreReadOnly) {
    ReportCapture reports;
    Binary b;
    b.Set("0123456789", 10);
    const unsigned char* block = b.Data();
    EXPECT_TRUE(b.Set(b.Data(), b.Size()));  // the block itself: nothing to do
    EXPECT_EQ(block, b.Data());
    EXPECT_TRUE(b.Set(b.Data() + 2, 6));  // overlapping the start of the block
    EXPECT_EQ("234567", Bytes(b));
    EXPECT_TRUE(b.Set(b.Data() + 1, 5));  // overlapping its end
    EXPECT_EQ("34567", Bytes(b));
    Binary shared = b;
    EXPECT_TRUE(b.Set(shared.Data() + 1, 3));  // the shared block survives the write
    EXPECT_EQ("456", Bytes(b));
    EXPECT_EQ("34567", Bytes(shared));

    // Fixed blocks are read-only.
    char fixed[] = "fixed";
    Binary fixedBin;
    ASSERT_TRUE(fixedBin.Attach(fixed, 5, xbinary_fixed));
    EXPECT_TRUE(fixedBin.IsFixed());
    EXPECT_EQ(nullptr, fixedBin.Get());
    EXPECT_FALSE(fixedBin.Set("x", 1));
    EXPECT_FALSE(fixedBin.SetLength(2, true));
    EXPECT_FALSE(fixedBin.Clear());
    EXPECT_EQ(4, reports.Count("(false)"));
    EXPECT_EQ("fixed", Bytes(fixedBin));
    EXPECT_TRUE(fixedBin.SetLength(5, true));  // the present size: nothing to change
}

TEST(Binary, BothAllocatorFormsFreeOnlyOwnedBlocksAndARefusalKeepsTheOldContents) {
    CountingSource source;
    char foreign[4] = {'a', 'b', 'c', 'd'};
    {
        Binary owned{BinaryAllocator(&source)};
        owned.Set("xyz", 3);  // an entity and a block, both from the source
        EXPECT_EQ(2, source.allocs);
        Binary lent{BinaryAllocator(&source)};
        lent.Attach(foreign, 4, xbinary_foreign);
        EXPECT_EQ(3, source.allocs);
        Binary copy = lent;  // reading a foreign block through a copy is fine
        EXPECT_EQ("abcd", Bytes(copy));
    }
    EXPECT_EQ(3, source.frees);  // the two entities and the owned block only
    g_functionAllocs = g_functionFrees = 0;
    {
        Binary b{BinaryAllocator(&CountingFunction)};
        b.Set("data", 4);
        b.SetLength(100, true);
    }
    EXPECT_EQ(3, g_functionAllocs);
    EXPECT_EQ(g_functionAllocs, g_functionFrees);

    // A refused allocation keeps the old contents, whether the source lies inside the
    // block or outside it (the block would otherwise leak, which ASan reports).
    ReportCapture reports;
    Binary refused{BinaryAllocator(&CountingFunction)};
    ASSERT_TRUE(refused.Set("old", 3));
    g_refuse = true;
    EXPECT_FALSE(refused.Set("longer", 6));
    EXPECT_FALSE(refused.Set(refused.Data() + 1, 2));
    g_refuse = false;
    EXPECT_EQ("old", Bytes(refused));
    EXPECT_EQ(2, reports.Count("(false)"));
}

}  // namespace
