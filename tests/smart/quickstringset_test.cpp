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

// A set keyed by slices of `keys`, which must outlive it.
QuickStringValues SetOf(const std::vector<std::string>& keys) {
    QuickStringValues set;
    for (const std::string& k : keys)
        set.insert(QuickStringItem<PtrStr>(  // the empty key without a text
            PtrStr(k.empty() ? nullptr : k.c_str(), int32_t(k.size())), PtrStr()));
    return set;
}

TEST(QuickStringSetOrder, HighBytesSortFirstBelow16UnitsAndLastFrom16) {
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
}

// The first value of a key stays (the reader's first value stands); operator[] adds.
TEST(QuickStringSetInsert, OperatorIndexInserts) {
    QuickStringValues set;
    set.insert(QuickStringItem<PtrStr>(P("k"), P("1")));
    PtrStr& fresh = set[P("new")];
    EXPECT_TRUE(fresh.IsEmpty());
    fresh = P("v");
    EXPECT_EQ("v", set[P("new")].ToString());
    EXPECT_EQ(2, set.size());
    EXPECT_EQ("new", set[1].owned);  // the item keeps a copy of its key
}

}  // namespace
