#include <gtest/gtest.h>


#include "autoptr.h"

namespace {

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
