#include <gtest/gtest.h>

#include <vector>

#include "report_capture.h"
#include "strdk.h"
#include "unit_text.h"

namespace {

template <class T>
class Search : public ::testing::Test {};
TYPED_TEST_SUITE(Search, TextUnits);

struct FindCase {
    const char* src;
    const char* find;
    int flags;
    int expected;
    int srcLen = -1, findLen = -1;
};

const FindCase kFindCases[] = {
    // clang-format off
    // The failure table is really used: a naive restart after "aa" would miss it.
    {"aaab", "aab", 0, 1},                       {"abacabab", "abab", 0, 4},
    {"abc", "", 0, 0},                           {"", "", 0, -1},
    {"ab", "abc", 0, -1},                        {"xxABC", "abc", msf_ignore_case, 2},
    {"xxABC", "abc", 0, -1},                     {"a/b\\c", "b/c", msf_slash_equal, 2},
    // Counted lengths bound the search.
    {"abcabc", "ca", 0, -1, 3},                  {"abcabc", "ab", msf_reverse, 0, 4},
    {"abcabc", "bcX", 0, 1, 6, 2},
    // Reverse finds the last occurrence, with the table of the reversed find text.
    {"abxab", "ab", msf_reverse, 3},             {"abXaB", "ab", msf_reverse | msf_ignore_case, 3},
    // Whole words restart one unit behind a rejected match; "a.b" is no word itself,
    // so the flag is dropped.
    {"logfile log", "log", msf_whole_word, 8},   {"_log log", "log", msf_whole_word, 5},
    {"log logfile", "log", msf_whole_word | msf_reverse, 0},
    {"xa.by", "a.b", msf_whole_word, 1},
    // Wildcards, and `#` as a literal.
    {"xabc", "a?c", msf_wildcards, 1},           {"a5c", "a#c", msf_wildcards, 0},
    {"a5c", "a#c", msf_wildcards | msf_sharp_literal, -1},
    {"a#c", "a#c", msf_wildcards | msf_sharp_literal, 0},
    {"xa?c", "a?c", 0, 1},                       {"ab12cd", "##", msf_wildcards | msf_reverse, 2},
    // The table takes the find text's `?` for an 'a', so after "ab)" the scan goes on
    // as if "b" had matched the leading "a", and reports "b)5".
    {"xab)5c", "a?#", msf_wildcards, 2},
    // clang-format on
};

TYPED_TEST(Search, FindStrIndexCases) {
    for (const FindCase& c : kFindCases) {
        const auto src = Txt<TypeParam>(c.src), find = Txt<TypeParam>(c.find);
        EXPECT_EQ(c.expected, FindStrIndex(src.c_str(), find.c_str(), c.srcLen, c.findLen, c.flags))
            << '"' << c.find << "\" in \"" << c.src << "\" flags " << c.flags;
        // Counted lengths give the same answers as terminated ones.
        const int srcLen = c.srcLen < 0 ? static_cast<int>(src.size()) : c.srcLen;
        const int findLen = c.findLen < 0 ? static_cast<int>(find.size()) : c.findLen;
        EXPECT_EQ(c.expected, FindStrIndex(src.c_str(), find.c_str(), srcLen, findLen, c.flags));
    }
}

TYPED_TEST(Search, FindTextsBeyondTheStackTableUseTheHeap) {
    std::basic_string<TypeParam> find(2000, TypeParam('a'));
    find.back() = TypeParam('b');
    std::basic_string<TypeParam> src(5000, TypeParam('a'));
    src.replace(3000, find.size(), find);
    EXPECT_EQ(3000, FindStrIndex(src.c_str(), find.c_str()));
    EXPECT_EQ(3000, FindStrIndex(src.c_str(), find.c_str(), -1, -1, msf_reverse));
}

bool CollectIndex(void* param, int index) {
    auto* seen = static_cast<std::vector<int>*>(param);
    seen->push_back(index);
    return seen->size() < 2;
}

TYPED_TEST(Search, FindSubStrAndCountSubStr) {
    // FindSubStr clears the wildcards and the direction.
    const auto src = Txt<TypeParam>("ab?ab");
    EXPECT_EQ(src.c_str() + 1, FindSubStr(src.c_str(), Txt<TypeParam>("b?").c_str(), -1, -1,
                                          msf_wildcards | msf_reverse));
    // No overlap; an empty text to count is none; a false callback stops.
    const auto text = Txt<TypeParam>("aaaa.AA");
    EXPECT_EQ(2, CountSubStr(text.c_str(), Txt<TypeParam>("aa").c_str()));
    EXPECT_EQ(3, CountSubStr(text.c_str(), Txt<TypeParam>("aa").c_str(), -1, -1, nullptr, nullptr,
                             msf_ignore_case));
    EXPECT_EQ(0, CountSubStr(text.c_str(), Txt<TypeParam>("").c_str()));
    std::vector<int> seen;
    EXPECT_EQ(2,
              CountSubStr(text.c_str(), Txt<TypeParam>("a").c_str(), -1, -1, CollectIndex, &seen));
    EXPECT_EQ((std::vector<int>{0, 1}), seen);
}

TYPED_TEST(Search, IsWholeWordLooksAtBothNeighbours) {
    const auto text = Txt<TypeParam>("a log.x_y 9z");
    EXPECT_TRUE(IsWholeWord(text.c_str(), 2, -1, 3, false));
    EXPECT_FALSE(IsWholeWord(text.c_str(), 2, -1, 2, false));  // "lo" is followed by 'g'
    EXPECT_FALSE(IsWholeWord(text.c_str(), 10, -1, 2, false));
    EXPECT_TRUE(IsWholeWord(text.c_str(), 10, -1, -1, true));  // to the end
    EXPECT_FALSE(IsWholeWord(text.c_str(), 2, -1, 0, true));

    ReportCapture reports;
    EXPECT_FALSE(IsWholeWord(text.c_str(), 11, -1, 5, true));
    EXPECT_FALSE(IsWholeWord(text.c_str(), -1, -1, 2, true));
    EXPECT_EQ(2, reports.Count("(false)"));
}

// A character of several units, '/', and a lone lead unit at the end.
template <class T>
std::basic_string<T> MultiUnitText() {
    if constexpr (sizeof(T) == 1)
        return "\xE4\xB8\xAD/\xE4";  // U+4E2D in UTF-8
    else
        return u"\xD83D\xDE00/\xD83D";  // a surrogate pair
}

TYPED_TEST(Search, SkipDoubleByteStepsOverWholeCharacters) {
    const auto text = MultiUnitText<TypeParam>();
    const TypeParam* p = text.c_str();
    const int len = static_cast<int>(text.size());
    EXPECT_NE(nullptr, FindChar(p, p[1], len, false));
    EXPECT_EQ(nullptr, FindChar(p, p[1], len, true));
    EXPECT_EQ(nullptr, FindChar(p, p[1], -1, true));
    // The lone lead unit is a character of its own and is tested; the first is skipped.
    EXPECT_EQ(p + len - 1, FindChar(p, p[len - 1], len, true));
    const TypeParam set[] = {p[1], '/', 0};
    EXPECT_EQ(p + len - 2, FindAnyChar(p, set, len, -1, true));
    EXPECT_TRUE(HasDoubleByte(p, len));
    EXPECT_FALSE(HasDoubleByte(Txt<TypeParam>("plain").c_str()));
}

TEST(FindMem, SearchesPlainBytesZerosIncluded) {
    const char data[] = {'a', 0, 'b', 0, 'b', 'c'};
    const char wanted[] = {0, 'b', 'c'};
    EXPECT_EQ(data + 3, FindMem(data, 6, wanted, 3));
    EXPECT_EQ(nullptr, FindMem(data, 5, wanted, 3));
}

}  // namespace
