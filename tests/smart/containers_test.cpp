// Containers and their memory: SmartArray and the quick string set, Binary's shared
// blocks, the block pools and AutoPtr.
#include <gtest/gtest.h>

#include <algorithm>
#include <new>
#include <random>
#include <set>
#include <string>
#include <vector>

#include "autoptr.h"
#include "binary.h"
#include "qd_allocator.h"
#include "quickallocator.h"
#include "quickstringset.h"
#include "report_capture.h"
#include "smartarray.h"

namespace {

template <int BYTES>
// clang-format off
struct Record { char bytes[BYTES]; };
// clang-format on

// The capacities that a run of push_back goes through.
template <class TYPE, int N>
std::vector<int> CapacitySequence(int pushes) {
    SmartArray<TYPE, N> array;
    std::vector<int> seen;
    for (int i = 0; i < pushes; ++i) {
        array.push_back(TYPE());
        if (seen.empty() || seen.back() != array.MaxLength()) seen.push_back(array.MaxLength());
    }
    return seen;
}

TEST(SmartArrayCapacity, RuleStepsHeapAndBackDeadBandAndSetMaxLength) {
    // clang-format off
    struct Case { int32_t old_items, item_bytes, increase, expected; } cases[] = {
        {5, 1, 100, 128},  // the small steps show in the capacity sequences below
        {0x1FFFFF0, 4, 16, 0x2000000},
        {0x2000000, 4, 16, 0x4000000},         // 128 MiB reached: a fixed step of 128 MiB
        {0x2000000, 4, 0x3000000, 0x5000000},  // or the request, if larger
    };
    // clang-format on
    for (const Case& c : cases)
        EXPECT_EQ(c.expected, NextLength(c.old_items, c.item_bytes, c.increase)) << c.old_items;
    EXPECT_EQ((std::vector<int>{16, 32, 64}), (CapacitySequence<int, 0>(40)));
    EXPECT_EQ((std::vector<int>{1, 2, 4, 8, 16}), (CapacitySequence<Record<48>, 0>(9)));
    EXPECT_EQ((std::vector<int>{1, 2, 4, 8, 16}), (CapacitySequence<Record<88>, 0>(9)));
    // Inline the capacity moves item by item, then the rule takes over.
    EXPECT_EQ((std::vector<int>{1, 2, 3, 4, 32}), (CapacitySequence<int, 4>(5)));

    // To the heap past the inline length and back when emptied.
    ReportCapture reports;  // each change of the block tests the representation
    SmartArray<int, 16> a;
    for (int i = 0; i < 16; ++i) a.push_back(i);
    EXPECT_EQ(16, a.MaxLength());
    a.push_back(16);
    EXPECT_FALSE(a.IsStack());
    EXPECT_EQ(32, a.MaxLength());
    for (int i = 0; i < 17; ++i) ASSERT_EQ(i, a[i]);
    a.RemoveAt(1, 16);  // one item left: back inline, with the minimum step
    EXPECT_TRUE(a.IsStack());
    EXPECT_EQ(16, a.MaxLength());
    EXPECT_EQ(0, a[0]);
    a.clear();
    EXPECT_EQ(0, a.MaxLength());
    EXPECT_EQ(0, reports.Count());

    // A shrink keeps a dead band; SetMaxLength is refused below the items.
    SmartArray<int, 0> b;
    for (int i = 0; i < 40; ++i) b.push_back(i);
    b.RemoveAt(0, 22);  // 18 items: the last insertion of 18 would have asked for 64
    EXPECT_EQ(64, b.MaxLength());
    b.RemoveAt(0, 1);  // 17 items
    EXPECT_EQ(32, b.MaxLength());
    b.push_back(1);
    b.RemoveAt(17, 1);  // back and forth at the boundary without reallocating
    EXPECT_EQ(32, b.MaxLength());
    int* block = b.begin();
    b.SetMaxLength(5);  // silently
    EXPECT_EQ(block, b.begin());
    b.SetMaxLength(17);  // exact
    EXPECT_EQ(17, b.MaxLength());
    EXPECT_EQ(39, b[16]);
    EXPECT_EQ(0, reports.Count());
    b[17];  // operator[] is bounded by the live items, not the capacity
    b.SetMaxLength(20);
    b[17];
    EXPECT_EQ(2, reports.Count("(index >= 0 && index < *valid_cnt_)"));
}

// The three positions of a source inside the array, with a non-trivial item type
// (copies and assignments) and a trivially copyable one (memcpy).
template <class T>
class SelfInsertion : public ::testing::Test {};
typedef ::testing::Types<std::string, char> ItemTypes;
TYPED_TEST_SUITE(SelfInsertion, ItemTypes);

template <class A>
std::string Join(const A& a) {
    std::string s;
    for (auto it = a.begin(); it != a.end(); ++it) s += *it;
    return s;
}

TYPED_TEST(SelfInsertion, SourceInsideTheArrayAlsoWhenTheBlockMoves) {
    // clang-format off
    struct Case { int ins, from, count; const char* expected; } cases[] = {
        {2, 0, 4, "ABABCDCDE"},                          // straddles the insertion point
        {1, 3, 2, "ADEBCDE"},                            // behind it: moves up with the items
        {3, 0, 2, "ABCABDE"},                            // before it: stays where it is
        {0, 0, 5, "ABCDEABCDE"}, {5, 1, 3, "ABCDEBCD"},  // an append
    };
    // clang-format on
    ReportCapture reports;
    for (const Case& c : cases) {
        SmartArray<TypeParam, 8> a;
        for (char ch : std::string("ABCDE")) a.push_back(TypeParam{ch});
        EXPECT_TRUE(a.InsertAt(c.ins, a.begin() + c.from, c.count));
        EXPECT_EQ(c.expected, Join(a))
            << "InsertAt(" << c.ins << ", p_ + " << c.from << ", " << c.count << ")";
    }
    EXPECT_EQ(0, reports.Count());

    // Reallocation reads the source from the new block.
    SmartArray<TypeParam, 8> b;
    for (char ch : std::string("ABCDEFGH")) b.push_back(TypeParam{ch});
    ASSERT_TRUE(b.IsStack());
    EXPECT_TRUE(b.InsertAt(2, b.begin() + 1, 6));  // inline block to heap, straddling
    EXPECT_EQ("ABBCDEFGCDEFGH", Join(b));
    EXPECT_FALSE(b.IsStack());
    while (b.size() < b.MaxLength()) b.push_back(TypeParam{'x'});
    const TypeParam* before = b.begin();
    b.push_back(b[0]);  // a full heap block: the source moves with the items
    EXPECT_NE(before, b.begin());
    EXPECT_EQ(TypeParam{'A'}, b[b.size() - 1]);
    EXPECT_EQ("ABBCDEFGCDEFGH", Join(b).substr(0, 14));
}

TEST(SmartArray, BrokenArgumentsAreReportedAssignResizeAndErase) {
    ReportCapture reports;
    SmartArray<int, 8> a;
    EXPECT_TRUE(a.InsertAt(0, nullptr, 0));  // count 0: the source is not looked at
    a.RemoveAt(7, 0);                        // count 0: the index is not examined
    EXPECT_EQ(0, reports.Count());
    EXPECT_FALSE(a.InsertAt(0, nullptr, 1));
    EXPECT_EQ(1, reports.Count("(false)"));
    for (int i = 0; i < 4; ++i) a.push_back(i);
    a.SetMaxLength(8);
    EXPECT_FALSE(a.InsertAt(0, a.begin() + 5, 1));  // capacity slots, not live items
    EXPECT_EQ(1, reports.Count("(srcEnd <= block || src >= room)"));
    EXPECT_FALSE(a.InsertAt(0, a.begin() + 2, 3));  // runs past the live items
    EXPECT_EQ(1, reports.Count("(srcEnd <= live)"));
    EXPECT_FALSE(a.InsertAt(5, a.begin(), 1));
    EXPECT_EQ(1, reports.Count("(0 <= ins && ins <= items_)"));
    a.RemoveAt(3, 2);
    EXPECT_EQ(1, reports.Count("(0 <= last && last < items_)"));
    a.RemoveAt(0, -1);
    EXPECT_EQ(1, reports.Count("(count == 0)"));
    EXPECT_EQ(4, a.size());

    // Assign and resize set an exact capacity; erase returns where it stopped.
    SmartArray<std::string, 2> s;
    for (int i = 0; i < 20; ++i) s.push_back(std::string(1, 'a' + i));
    s.assign(s.begin() + 5, s.begin() + 8);  // a sub-range of itself
    EXPECT_EQ("fgh", Join(s));
    EXPECT_EQ(3, s.MaxLength());
    s.Resize(6, s[0]);  // the value lies in the block that moves
    EXPECT_EQ("fghfff", Join(s));
    EXPECT_EQ(6, s.MaxLength());
    s.Resize(1, std::string());
    EXPECT_TRUE(s.IsStack());
    std::vector<int> source(40, 7);
    SmartArray<int, 4> ints;
    ints.push_back(1);
    for (int count : {40, 10, 2}) {  // to the heap, smaller there, back inline
        ints.assign(source.data(), source.data() + count);
        EXPECT_EQ(count, ints.size());
        EXPECT_EQ(count, ints.MaxLength());
    }
    EXPECT_TRUE(ints.IsStack());

    SmartArray<std::string, 0> strings;
    for (int i = 0; i < 20; ++i) strings.push_back(std::string(30, 'a' + i));
    strings.RemoveAt(3, 1);
    EXPECT_EQ(std::string(30, 'e'), strings[3]);
    // erase gives the item now at the old index, or the new end.
    EXPECT_EQ(std::string(30, 'g'), *strings.erase(strings.begin() + 4, strings.begin() + 5));
    EXPECT_EQ(strings.end(), strings.erase(strings.begin() + 2, strings.end()));
    EXPECT_EQ(2, strings.size());
}

PtrStr P(const char* s) {
    return PtrStr(s, -1);
}

std::vector<std::string> Keys(const QuickStringValues& set) {
    std::vector<std::string> keys;
    for (const QuickStringItem<PtrStr>* it = set.begin(); it != set.end(); ++it)
        keys.push_back(it->key.ToString());
    return keys;
}

// A set keyed by slices of `keys`, which must outlive it.
QuickStringValues SetOf(const std::vector<std::string>& keys) {
    QuickStringValues set;
    for (const std::string& k : keys)
        set.insert(QuickStringItem<PtrStr>(  // the empty key without a text
            PtrStr(k.empty() ? nullptr : k.c_str(), int32_t(k.size())), PtrStr()));
    return set;
}

TEST(QuickStringSet, HighBytesSortFirstBelow16UnitsAndLastFrom16OperatorIndexInserts) {
    ReportCapture reports;
    const std::string tail(19, 'a');
    const std::string shortHigh = std::string("\x80") + "bc", shortLow = "Abc";
    const std::string longHigh = "\x80" + tail, longLow = "A" + tail;
    const std::vector<std::string> shortKeys = {shortLow, shortHigh, "", "Ab"};
    const std::vector<std::string> longKeys = {longHigh, longLow};
    // The empty key and shorter keys first; the same two first bytes order one way
    // in short keys and the other in long ones. (Mixed in one set the two orders
    // need not even be transitive.)
    EXPECT_EQ((std::vector<std::string>{"", shortHigh, "Ab", shortLow}), Keys(SetOf(shortKeys)));
    EXPECT_EQ((std::vector<std::string>{longLow, longHigh}), Keys(SetOf(longKeys)));
    // 15 and 16 common units: the branch changes with the shorter key's length.
    const std::string high15 = "\x80" + std::string(14, 'z'), low16 = "A" + std::string(15, 'z');
    QuickStringValues set;
    EXPECT_LT(set.CompareKeys(high15.c_str(), 15, low16.c_str(), 16), 0);
    EXPECT_GT(set.CompareKeys((high15 + "z").c_str(), 16, low16.c_str(), 16), 0);
    EXPECT_LT(set.CompareKeys(longLow.c_str(), 19, longLow.c_str() + 0, 20), 0);
    EXPECT_EQ(0, set.CompareKeys(nullptr, 0, nullptr, 0));
    EXPECT_EQ(0, reports.Count());

    // The first value of a key stays (the reader's first value stands); operator[] adds.
    set.insert(QuickStringItem<PtrStr>(P("k"), P("1")));
    PtrStr& fresh = set[P("new")];
    EXPECT_TRUE(fresh.IsEmpty());
    fresh = P("v");
    EXPECT_EQ("v", set[P("new")].ToString());
    EXPECT_EQ(2, set.size());
    EXPECT_EQ("new", set[1].owned);  // the item keeps a copy of its key
}

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

TEST(Binary, EmptiesCopiesOwnBlocksFixedBlocksAllocatorsAndRefusals) {
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

    // Set from its own block.
    ReportCapture reports;
    Binary own;
    own.Set("0123456789", 10);
    const unsigned char* block = own.Data();
    EXPECT_TRUE(own.Set(own.Data(), own.Size()));  // the block itself: nothing to do
    EXPECT_EQ(block, own.Data());
    EXPECT_TRUE(own.Set(own.Data() + 2, 6));  // overlapping the start of the block
    EXPECT_EQ("234567", Bytes(own));
    EXPECT_TRUE(own.Set(own.Data() + 1, 5));  // overlapping its end
    EXPECT_EQ("34567", Bytes(own));
    Binary sharedCopy = own;
    EXPECT_TRUE(own.Set(sharedCopy.Data() + 1, 3));  // the shared block survives the write
    EXPECT_EQ("456", Bytes(own));
    EXPECT_EQ("34567", Bytes(sharedCopy));

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

    // Both allocator forms; the last reference frees only owned blocks.
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
    ReportCapture refusals;
    Binary refused{BinaryAllocator(&CountingFunction)};
    ASSERT_TRUE(refused.Set("old", 3));
    g_refuse = true;
    EXPECT_FALSE(refused.Set("longer", 6));
    EXPECT_FALSE(refused.Set(refused.Data() + 1, 2));
    g_refuse = false;
    EXPECT_EQ("old", Bytes(refused));
    EXPECT_EQ(2, refusals.Count("(false)"));
}

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

// The node size recorded in docs/platform.md, and the pool chosen for it.
constexpr int kPathNode = sizeof(void*) == 4 ? 48 : 64;

typedef WrapperAllocator<BlockAllocator<kPathNode, 1, CountingTraits>, CountingTraits> PathPool;
typedef std::set<std::string, QDLess_<std::string>, qd_allocator<std::string, PathPool>> PathSet;

TEST(BlockAllocator, InlineFirstBlockChunksTheFreeListAndASetsOwnPool) {
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

    // A set takes its nodes from its own pool.
    CountingTraits::Reset();
    ReportCapture setReports;
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
        EXPECT_EQ(1, setReports.Count("(false)"));
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
