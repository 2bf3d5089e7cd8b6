#include <gtest/gtest.h>

#include <string>
#include <vector>

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

TEST(SmartArrayCapacity, DoublesBelow128MiBThenStepsBy128MiBInSequencesBySize) {
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
}

TEST(SmartArrayCapacity, GoesToTheHeapAndBackShrinksWithADeadBandAndSetMaxLength) {
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

TEST(SmartArrayRules, BrokenArgumentsAreReportedAndChangeNothing) {
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
}

TEST(SmartArrayAssign, AssignAndResizeSetAnExactCapacityEraseReturnsWhereItStopped) {
    SmartArray<std::string, 2> a;
    for (int i = 0; i < 20; ++i) a.push_back(std::string(1, 'a' + i));
    a.assign(a.begin() + 5, a.begin() + 8);  // a sub-range of itself
    EXPECT_EQ("fgh", Join(a));
    EXPECT_EQ(3, a.MaxLength());
    a.Resize(6, a[0]);  // the value lies in the block that moves
    EXPECT_EQ("fghfff", Join(a));
    EXPECT_EQ(6, a.MaxLength());
    a.Resize(1, std::string());
    EXPECT_TRUE(a.IsStack());
    std::vector<int> source(40, 7);
    SmartArray<int, 4> b;
    b.push_back(1);
    for (int count : {40, 10, 2}) {  // to the heap, smaller there, back inline
        b.assign(source.data(), source.data() + count);
        EXPECT_EQ(count, b.size());
        EXPECT_EQ(count, b.MaxLength());
    }
    EXPECT_TRUE(b.IsStack());

    SmartArray<std::string, 0> c;
    for (int i = 0; i < 20; ++i) c.push_back(std::string(30, 'a' + i));
    c.RemoveAt(3, 1);
    EXPECT_EQ(std::string(30, 'e'), c[3]);
    // erase gives the item now at the old index, or the new end.
    EXPECT_EQ(std::string(30, 'g'), *c.erase(c.begin() + 4, c.begin() + 5));
    EXPECT_EQ(c.end(), c.erase(c.begin() + 2, c.end()));
    EXPECT_EQ(2, c.size());
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

}  // namespace
