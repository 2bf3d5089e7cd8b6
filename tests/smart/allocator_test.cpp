#include <gtest/gtest.h>

#include <algorithm>
#include <new>
#include <random>
#include <set>
#include <string>
#include <vector>

#include "autoptr.h"
#include "qd_allocator.h"
#include "quickallocator.h"
#include "report_capture.h"

namespace {

// Heap calls of the pools under test.
struct CountingTraits {
    static inline int mallocs = 0, frees = 0;
    static void Reset() { mallocs = frees = 0; }
    void* malloc(size_t bytes) {
        ++mallocs;
        return ::malloc(bytes);
    }
    void free(void* block) {
        ++frees;
        ::free(block);
    }
};

typedef BlockAllocator<24, 1, CountingTraits, 4096> Pool24;

TEST(BlockAllocator, FirstBlockIsInlineChunksGoBackWhenFreeAndTheListStaysWhole) {
    CountingTraits::Reset();
    ReportCapture reports;
    Pool24 pool;
    // (4096 - chunk header) / (24 + node header): 113 with 4-byte pointers, 84 with 8.
    EXPECT_EQ(sizeof(void*) == 4 ? 113 : 84, pool.NodesOfChunk());
    void* inlineBlock = pool.Allocate(24);
    EXPECT_EQ(0, CountingTraits::mallocs);

    void* chunkBlock = pool.Allocate(0);
    EXPECT_EQ(1, CountingTraits::mallocs);
    EXPECT_EQ(nullptr, pool.Allocate(25));
    EXPECT_EQ(1, reports.Count("(false)"));
    EXPECT_EQ(nullptr, pool.Allocate(-1));
    EXPECT_EQ(1, reports.Count("(bytes >= 0)"));

    pool.Deallocate(inlineBlock);
    pool.Deallocate(chunkBlock);
    EXPECT_EQ(1, CountingTraits::frees);  // at once

    // Blocks freed in any order keep the list whole and come back last first.
    CountingTraits::Reset();
    {
        Pool24 pool2;
        const int count = 3 * pool2.NodesOfChunk() + 5;  // four chunks and the inline node
        std::vector<void*> blocks;
        for (int i = 0; i < count; ++i) {
            blocks.push_back(pool2.Allocate(16));
            memset(blocks.back(), i & 0xFF, 16);  // the caller's bytes never touch a header
        }
        EXPECT_EQ(4, CountingTraits::mallocs);
        std::mt19937 rng(7);
        std::shuffle(blocks.begin(), blocks.end(), rng);
        for (int i = 0; i < count / 2; ++i) pool2.Deallocate(blocks[i]);
        void* last = blocks[count / 2 - 1];
        EXPECT_EQ(last, pool2.Allocate(8));  // the block freed last comes out first
        pool2.Deallocate(last);
        for (int i = count / 2; i < count; ++i) pool2.Deallocate(blocks[i]);
        EXPECT_EQ(CountingTraits::mallocs, CountingTraits::frees);  // every chunk back
        // A whole list: the inline node serves again, and four chunks are made anew.
        for (void*& block : blocks) block = pool2.Allocate(16);
        EXPECT_EQ(8, CountingTraits::mallocs);
        for (void* block : blocks) pool2.Deallocate(block);
    }
    EXPECT_EQ(2, reports.Count());
}

// The node size recorded in docs/platform.md, and the pool chosen for it.
constexpr int kPathNode = sizeof(void*) == 4 ? 48 : 64;

typedef WrapperAllocator<BlockAllocator<kPathNode, 1, CountingTraits>, CountingTraits> PathPool;
typedef std::set<std::string, QDLess_<std::string>, qd_allocator<std::string, PathPool>> PathSet;

TEST(QdAllocator, ASetTakesItsNodesFromItsOwnPool) {
    CountingTraits::Reset();
    ReportCapture reports;
    {
        PathSet paths;
        EXPECT_EQ(1, CountingTraits::mallocs);  // the entity
        paths.insert("C:\\log\\a.log");
        EXPECT_EQ(1, CountingTraits::mallocs);  // the inline node
        for (int i = 0; i < 200; ++i) paths.insert("log" + std::to_string(i));
        const int withChunks = CountingTraits::mallocs;
        EXPECT_GT(withChunks, 1);
        paths.clear();
        EXPECT_EQ(withChunks - 1, CountingTraits::frees);  // every chunk back at once

        PathSet copy(paths);  // a copy has a pool of its own
        EXPECT_FALSE(copy.get_allocator() == paths.get_allocator());
        copy.insert("y");
        PathSet other;
        other.insert("z");
        other.swap(copy);  // the pools travel with the nodes
        EXPECT_EQ(1u, other.count("y"));
        EXPECT_EQ(1u, copy.count("z"));

        qd_allocator<char, PathPool> rebound(paths.get_allocator());  // shares the pool
        EXPECT_TRUE(rebound == paths.get_allocator());
        EXPECT_EQ(2, rebound.Wrapper().RefCount());
        EXPECT_THROW(rebound.allocate(kPathNode + 1), std::bad_alloc);  // after the report
        EXPECT_EQ(1, reports.Count("(false)"));
    }
    EXPECT_EQ(CountingTraits::mallocs, CountingTraits::frees);
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
