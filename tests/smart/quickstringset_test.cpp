#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "quickstringset.h"
#include "report_capture.h"

namespace {

PtrStr P(const char* s) {
    return PtrStr(s, -1);
}

std::vector<std::string> Keys(const QuickStringValues& set) {
    std::vector<std::string> keys;
    for (const QuickStringItem<PtrStr>* it = set.begin(); it != set.end(); ++it)
        keys.push_back(it->key.ToString());
    return keys;
}

TEST(QuickStringSetFind, PositionsOfAbsentKeys) {
    QuickStringValues set;
    int32_t pos = -5;
    EXPECT_EQ(-1, set.FindKey("a", 1, &pos));
    EXPECT_EQ(0, pos);
    for (const char* k : {"b", "d", "f"}) set.insert(QuickStringItem<PtrStr>(P(k), PtrStr()));
    struct Case {
        const char* key;
        int32_t index, pos;
    } cases[] = {
        {"a", -1, 0}, {"b", 0, 1}, {"c", -1, 1}, {"d", 1, 2},
        {"e", -1, 2}, {"f", 2, 3}, {"g", -1, 3},
    };
    for (const Case& c : cases) {
        EXPECT_EQ(c.index, set.FindKey(c.key, -1, &pos)) << c.key;
        EXPECT_EQ(c.pos, pos) << c.key;
        EXPECT_EQ(c.index, set.FindKey(c.key, -1, nullptr)) << c.key;
    }
    EXPECT_EQ(set.end(), set.find("c", 1));
    EXPECT_EQ(set.begin() + 1, set.find("d", 1));
}

TEST(QuickStringSetOrder, ShorterKeysAndTheEmptyKeySortFirst) {
    ReportCapture reports;
    QuickStringValues set;
    for (const char* k : {"ab", "b", "a"}) set.insert(QuickStringItem<PtrStr>(P(k), PtrStr()));
    set.insert(QuickStringItem<PtrStr>(PtrStr(nullptr, 0), PtrStr()));
    EXPECT_EQ((std::vector<std::string>{"", "a", "ab", "b"}), Keys(set));
    EXPECT_EQ(0, set.CompareKeys(nullptr, 0, nullptr, 0));
    EXPECT_EQ(0, set.FindKey(nullptr, 0, nullptr));
    EXPECT_EQ(0, reports.Count());
}

TEST(QuickStringSetOrder, HighBytesSortFirstBelow16UnitsAndLastFrom16) {
    QuickStringValues set;
    const std::string tail(19, 'a');
    const std::string shortHigh =
                          "\x80"
                          "bc",
                      shortLow = "Abc";
    const std::string longHigh = "\x80" + tail, longLow = "A" + tail;
    EXPECT_LT(set.CompareKeys(shortHigh.c_str(), 3, shortLow.c_str(), 3), 0);  // signed units
    EXPECT_GT(set.CompareKeys(longHigh.c_str(), 20, longLow.c_str(), 20), 0);  // memcmp
    // 15 and 16 common units: the branch changes with the shorter key's length.
    const std::string high15 = "\x80" + std::string(14, 'z'), low16 = "A" + std::string(15, 'z');
    EXPECT_LT(set.CompareKeys(high15.c_str(), 15, low16.c_str(), 16), 0);
    EXPECT_GT(set.CompareKeys((high15 + "z").c_str(), 16, low16.c_str(), 16), 0);
    // Equal common parts: the shorter key first, in both branches.
    EXPECT_LT(set.CompareKeys(longLow.c_str(), 19, longLow.c_str() + 0, 20), 0);
    EXPECT_LT(set.CompareKeys("ab", 2, "abc", 3), 0);

    // So the same two first bytes order one way in short keys and the other in long
    // ones. (Mixed in one set the two orders need not even be transitive.)
    QuickStringValues shortKeys, longKeys;
    for (const std::string* k : {&shortLow, &shortHigh})
        shortKeys.insert(QuickStringItem<PtrStr>(PtrStr(k->c_str(), -1), PtrStr()));
    for (const std::string* k : {&longHigh, &longLow})
        longKeys.insert(QuickStringItem<PtrStr>(PtrStr(k->c_str(), -1), PtrStr()));
    EXPECT_EQ((std::vector<std::string>{shortHigh, shortLow}), Keys(shortKeys));
    EXPECT_EQ((std::vector<std::string>{longLow, longHigh}), Keys(longKeys));
}

TEST(QuickStringSetOrder, TerminatedKeysCompareByStrcmp) {
    typedef QuickStringSet<QuickStringItem<PtrStr>, true> ZSet;
    ZSet set;
    EXPECT_GT(set.CompareKeys("\x80", -1, "A", -1), 0);  // unsigned, whatever the length
    set.insert(QuickStringItem<PtrStr>(P("\x80"), PtrStr()));
    set.insert(QuickStringItem<PtrStr>(P("A"), PtrStr()));
    EXPECT_EQ("A", set[0].key.ToString());
    EXPECT_EQ(1, set.FindKey("\x80", -1, nullptr));
    EXPECT_EQ(-1, set.FindKey("\x80", 0, nullptr));  // a counted empty key
}

int g_compareCalls = 0;
int ReverseOrder(void* user, const char* l, int32_t ll, const char* r, int32_t rl) {
    ++g_compareCalls;
    EXPECT_EQ(&g_compareCalls, user);
    return -std::string(l, static_cast<size_t>(ll))
                .compare(std::string(r, static_cast<size_t>(rl)));
}

TEST(QuickStringSetOrder, AComparisonFunctionReplacesTheBuiltInOrder) {
    QuickStringValues set(&ReverseOrder, &g_compareCalls);
    for (const char* k : {"a", "c", "b"}) set.insert(QuickStringItem<PtrStr>(P(k), PtrStr()));
    EXPECT_EQ((std::vector<std::string>{"c", "b", "a"}), Keys(set));
    g_compareCalls = 0;
    const char* same = set[1].key.p;
    EXPECT_EQ(0, set.CompareKeys(same, 1, same, 1));  // same slice: equal without a call
    EXPECT_EQ(0, g_compareCalls);
}

TEST(QuickStringSetInsert, TheFirstValueStaysAndOperatorIndexInserts) {
    QuickStringValues set;
    auto first = set.insert(QuickStringItem<PtrStr>(P("k"), P("1")));
    EXPECT_TRUE(first.second);
    auto second = set.insert(QuickStringItem<PtrStr>(P("k"), P("2")));
    EXPECT_FALSE(second.second);
    EXPECT_EQ(first.first, second.first);
    EXPECT_EQ("1", second.first->value.ToString());
    EXPECT_EQ(1, set.size());

    PtrStr& fresh = set[P("new")];
    EXPECT_TRUE(fresh.IsEmpty());
    EXPECT_EQ(2, set.size());
    fresh = P("v");
    EXPECT_EQ("v", set[P("new")].ToString());
    EXPECT_EQ(2, set.size());
    EXPECT_EQ("new", set[1].owned);  // the item keeps a copy of its key
}

TEST(QuickStringSetNested, SectionsHoldSetsOfKeys) {
    // Keys are slices of one text that outlives the sets, as in a configuration file.
    const std::string file = "level error params dir flush_lines";
    const PtrStr text(file.c_str(), static_cast<int32_t>(file.size()));
    QuickStringSections sections;
    sections[text.Mid(0, 5)][text.Mid(6, 5)] = text.Mid(6, 5);
    sections[text.Mid(12, 6)][text.Mid(19, 3)] = text.Mid(23, 11);
    sections[text.Mid(12, 6)][text.Mid(23, 11)] = text.Mid(19, 3);
    ASSERT_EQ(2, sections.size());
    EXPECT_EQ("level", sections[0].key.ToString());
    const QuickStringItem<QuickStringValues>* params = sections.find("params", 6);
    ASSERT_NE(sections.end(), params);
    EXPECT_EQ(2, params->value.size());
    const QuickStringItem<PtrStr>* dir = params->value.find("dir", 3);
    ASSERT_NE(params->value.end(), dir);
    EXPECT_EQ("flush_lines", dir->value.ToString());

    QuickStringSections copy(sections);  // nested sets copy with their items
    EXPECT_EQ(2, copy[P("params")].size());
}

}  // namespace
