#include <gtest/gtest.h>

#include <cstring>
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
};

const FindCase kFindCases[] = {
    // The failure table is really used: a naive restart after "aa" would miss it.
    {"aaab", "aab", 0, 1},
    {"abacabab", "abab", 0, 4},
    {"abc", "", 0, 0},
    {"", "", 0, -1},
    {"", "a", 0, -1},
    {"ab", "abc", 0, -1},
    {"xxABC", "abc", msf_ignore_case, 2},
    {"xxABC", "abc", 0, -1},
    {"a/b\\c", "b/c", msf_slash_equal, 2},
    {"a/b\\c", "b/c", 0, -1},
    // Reverse finds the last occurrence, with the table of the reversed find text.
    {"abxab", "ab", msf_reverse, 3},
    {"aaab", "aab", msf_reverse, 1},
    {"abXaB", "ab", msf_reverse | msf_ignore_case, 3},
    // Whole words restart one unit behind a rejected match.
    {"logfile log", "log", msf_whole_word, 8},
    {"xlog log", "log", msf_whole_word, 5},
    {"_log log", "log", msf_whole_word, 5},
    {"log logfile", "log", msf_whole_word | msf_reverse, 0},
    {"catalog", "log", msf_whole_word, -1},
    {"2log 9x", "9x", msf_whole_word, 5},
    // "a.b" is no word itself, so the flag is dropped.
    {"xa.by", "a.b", msf_whole_word, 1},
    // Wildcards, and `#` as a literal.
    {"xabc", "a?c", msf_wildcards, 1},
    {"a5c", "a#c", msf_wildcards, 0},
    {"a#c", "a#c", msf_wildcards, 0},
    {"a5c", "a#c", msf_wildcards | msf_sharp_literal, -1},
    {"a#c", "a#c", msf_wildcards | msf_sharp_literal, 0},
    {"a5c", "a#c", 0, -1},
    {"xa?c", "a?c", 0, 1},
    {"ab12cd", "##", msf_wildcards | msf_reverse, 2},
    // The table takes the find text's `?` for an 'a', so after "ab)" the scan goes on
    // as if "b" had matched the leading "a", and reports "b)5".
    {"xab)5c", "a?#", msf_wildcards, 2},
    {"abc", "?", msf_wildcards | msf_reverse, 2},
};

TYPED_TEST(Search, FindStrIndexCases) {
    for (const FindCase& c : kFindCases) {
        const auto src = Txt<TypeParam>(c.src);
        const auto find = Txt<TypeParam>(c.find);
        EXPECT_EQ(c.expected, FindStrIndex(src.c_str(), find.c_str(), -1, -1, c.flags))
            << '"' << c.find << "\" in \"" << c.src << "\" flags " << c.flags;
        // Counted lengths give the same answers as terminated ones.
        EXPECT_EQ(c.expected, FindStrIndex(src.c_str(), find.c_str(), static_cast<int>(src.size()),
                                           static_cast<int>(find.size()), c.flags));
    }
}

TYPED_TEST(Search, CountedLengthsBoundTheSearch) {
    const auto src = Txt<TypeParam>("abcabc");
    EXPECT_EQ(-1, FindStrIndex(src.c_str(), Txt<TypeParam>("ca").c_str(), 3));
    EXPECT_EQ(-1, FindStrIndex(src.c_str(), Txt<TypeParam>("c").c_str(), 2));
    EXPECT_EQ(-1, FindStrIndex(src.c_str() + 1, Txt<TypeParam>("a").c_str(), 2, -1, msf_reverse));
    EXPECT_EQ(1, FindStrIndex(src.c_str(), Txt<TypeParam>("bcX").c_str(), 6, 2));
}

TYPED_TEST(Search, LineOutputCountsLineFeedsBeforeTheMatch) {
    const auto src = Txt<TypeParam>("a\nb\nxx\nxx");
    int line = -1;
    EXPECT_EQ(4, FindStrIndex(src.c_str(), Txt<TypeParam>("xx").c_str(), -1, -1, 0, &line));
    EXPECT_EQ(2, line);
    EXPECT_EQ(7,
              FindStrIndex(src.c_str(), Txt<TypeParam>("xx").c_str(), -1, -1, msf_reverse, &line));
    EXPECT_EQ(3, line);
    EXPECT_EQ(-1, FindStrIndex(src.c_str(), Txt<TypeParam>("zz").c_str(), -1, -1, 0, &line));
    EXPECT_EQ(0, line);
}

TYPED_TEST(Search, NextTableIsTheFailureFunctionAndCanBeReused) {
    int vec[3];
    EXPECT_EQ(3, BuildNextTable(vec, Txt<TypeParam>("aab").c_str(), 3));
    EXPECT_EQ((std::vector<int>{-1, 0, 1}), std::vector<int>(vec, vec + 3));
    // Built for the reversed find text, "baa".
    EXPECT_EQ(3, BuildNextTable(vec, Txt<TypeParam>("aab").c_str(), 3, msf_reverse));
    EXPECT_EQ((std::vector<int>{-1, 0, 0}), std::vector<int>(vec, vec + 3));
    // `?` equals anything while the table is built.
    EXPECT_EQ(3, BuildNextTable(vec, Txt<TypeParam>("a?a").c_str(), 3, msf_wildcards));
    EXPECT_EQ((std::vector<int>{-1, 0, 1}), std::vector<int>(vec, vec + 3));

    const auto find = Txt<TypeParam>("aab");
    BuildNextTable(vec, find.c_str(), 3);
    for (const char* src : {"aaab", "xaab", "aaaaab", "aba"}) {
        const auto text = Txt<TypeParam>(src);
        EXPECT_EQ(FindStrIndex(text.c_str(), find.c_str()),
                  FindStrIndex(text.c_str(), find.c_str(), -1, -1, 0, nullptr, vec));
    }
}

TYPED_TEST(Search, AWrongCallerTableIsReportedNotFollowed) {
    ReportCapture reports;
    const int bad[3] = {-1, 7, 0};
    EXPECT_EQ(-1, FindStrIndex(Txt<TypeParam>("acaby").c_str(), Txt<TypeParam>("aby").c_str(), -1,
                               -1, 0, nullptr, bad));
    EXPECT_EQ(1, reports.Count("(vec[j] >= -1 && vec[j] < j)"));
}

TYPED_TEST(Search, FindTextsBeyondTheStackTableUseTheHeap) {
    std::basic_string<TypeParam> find(2000, TypeParam('a'));
    find.back() = TypeParam('b');
    std::basic_string<TypeParam> src(5000, TypeParam('a'));
    src.replace(3000, find.size(), find);
    EXPECT_EQ(3000, FindStrIndex(src.c_str(), find.c_str()));
    EXPECT_EQ(3000, FindStrIndex(src.c_str(), find.c_str(), -1, -1, msf_reverse));
}

TYPED_TEST(Search, FindSubStrIgnoresWildcardsAndDirection) {
    const auto src = Txt<TypeParam>("ab?ab");
    const TypeParam* p =
        FindSubStr(src.c_str(), Txt<TypeParam>("b?").c_str(), -1, -1, msf_wildcards | msf_reverse);
    EXPECT_EQ(src.c_str() + 1, p);
    EXPECT_EQ(nullptr, FindSubStr(src.c_str(), Txt<TypeParam>("zz").c_str()));
}

bool CollectIndex(void* param, int index) {
    auto* seen = static_cast<std::vector<int>*>(param);
    seen->push_back(index);
    return seen->size() < 2;
}

TYPED_TEST(Search, CountSubStrCountsWithoutOverlapAndStopsOnFalse) {
    const auto src = Txt<TypeParam>("aaaa.AA");
    EXPECT_EQ(2, CountSubStr(src.c_str(), Txt<TypeParam>("aa").c_str()));
    EXPECT_EQ(3, CountSubStr(src.c_str(), Txt<TypeParam>("aa").c_str(), -1, -1, nullptr, nullptr,
                             msf_ignore_case));
    EXPECT_EQ(0, CountSubStr(src.c_str(), Txt<TypeParam>("").c_str()));
    std::vector<int> seen;
    EXPECT_EQ(2,
              CountSubStr(src.c_str(), Txt<TypeParam>("a").c_str(), -1, -1, CollectIndex, &seen));
    EXPECT_EQ((std::vector<int>{0, 1}), seen);
}

TYPED_TEST(Search, IsWholeWordLooksAtBothNeighbours) {
    const auto text = Txt<TypeParam>("a log.x_y 9z");
    EXPECT_TRUE(IsWholeWord(text.c_str(), 2, -1, 3, false));
    EXPECT_FALSE(IsWholeWord(text.c_str(), 2, -1, 2, false));  // "lo" is followed by 'g'
    EXPECT_FALSE(IsWholeWord(text.c_str(), 6, -1, 1, false));  // "x" is followed by '_'
    EXPECT_FALSE(IsWholeWord(text.c_str(), 10, -1, 2, false));
    EXPECT_TRUE(IsWholeWord(text.c_str(), 10, -1, 2, true));
    EXPECT_TRUE(IsWholeWord(text.c_str(), 10, -1, -1, true));  // to the end
    EXPECT_FALSE(IsWholeWord(text.c_str(), 2, -1, 0, true));

    ReportCapture reports;
    EXPECT_FALSE(IsWholeWord(text.c_str(), 11, -1, 5, true));
    EXPECT_FALSE(IsWholeWord(text.c_str(), -1, -1, 2, true));
    EXPECT_EQ(2, reports.Count("(inside)"));
}

TYPED_TEST(Search, CharacterScanners) {
    const auto text = Txt<TypeParam>("a=b;c=d");
    const TypeParam* p = text.c_str();
    const auto set = Txt<TypeParam>(";=");
    EXPECT_EQ(p + 1, FindChar(p, '='));
    EXPECT_EQ(nullptr, FindChar(p, '=', 1));
    EXPECT_EQ(p + 1, FindAnyChar(p, set.c_str()));
    EXPECT_EQ(p + 3, FindAnyChar(p, set.c_str(), -1, 1));  // only ';'
    EXPECT_EQ(p + 5, FindLastChar(p, p + 6, '='));
    EXPECT_EQ(nullptr, FindLastChar(p + 2, p + 4, '='));
    EXPECT_EQ(p + 5, FindLastAnyChar(p, p + 6, set.c_str()));
    EXPECT_EQ(p + 5, FindLastAnyCharOfStr(p, set.c_str()));
    EXPECT_EQ(nullptr, FindLastAnyCharOfStr(p, set.c_str(), 0));
    EXPECT_EQ(1, GetCharIndex(p, set.c_str(), false));
    EXPECT_EQ(2, GetCharIndex(p, set.c_str(), true));
    EXPECT_EQ(-1, GetCharIndex(p, Txt<TypeParam>("x").c_str(), true));
    EXPECT_EQ(2, CountChar(p, '='));
    EXPECT_EQ(1, CountChar(p, '=', 4));
}

// Multi-unit characters of each encoding for the skip rule.
template <class T>
struct MultiUnit;
template <>
struct MultiUnit<char> {
    static std::string Text() { return "\xE4\xB8\xAD/\xE4"; }  // U+4E2D, '/', a stray lead
    static char Inner() { return '\xB8'; }
    static char Stray() { return '\xE4'; }
};
template <>
struct MultiUnit<char16_t> {
    static std::u16string Text() { return u"\xD83D\xDE00/\xD83D"; }  // a pair, '/', a stray
    static char16_t Inner() { return 0xDE00; }
    static char16_t Stray() { return 0xD83D; }
};

TYPED_TEST(Search, SkipDoubleByteStepsOverWholeCharacters) {
    const auto text = MultiUnit<TypeParam>::Text();
    const TypeParam* p = text.c_str();
    const int len = static_cast<int>(text.size());
    const TypeParam inner = MultiUnit<TypeParam>::Inner();
    EXPECT_NE(nullptr, FindChar(p, inner, len, false));
    EXPECT_EQ(nullptr, FindChar(p, inner, len, true));
    EXPECT_EQ(nullptr, FindChar(p, inner, -1, true));
    // A lone lead unit at the end is a character of its own and is tested.
    EXPECT_EQ(p + len - 1, FindChar(p, MultiUnit<TypeParam>::Stray(), len, true));
    const TypeParam set[] = {inner, '/', 0};
    EXPECT_EQ(p + len - 2, FindAnyChar(p, set, len, -1, true));
    EXPECT_TRUE(HasDoubleByte(p, len));
    EXPECT_FALSE(HasDoubleByte(Txt<TypeParam>("plain").c_str()));
}

TEST(FindMem, SearchesPlainBytes) {
    const char data[] = {'a', 0, 'b', 0, 'b', 'c'};
    const char wanted[] = {0, 'b', 'c'};
    EXPECT_EQ(data + 3, FindMem(data, 6, wanted, 3));
    EXPECT_EQ(nullptr, FindMem(data, 5, wanted, 3));
    ReportCapture reports;
    EXPECT_EQ(nullptr, FindMem(data, -1, wanted, 3));
    EXPECT_EQ(1, reports.Count());
}

TEST(CharacterClasses, HighBytesAreInNoClass) {
    EXPECT_TRUE(IsHexLetter('F') && IsHexLetter('a') && !IsHexLetter('g'));
    EXPECT_TRUE(IsWordStartLetter('_') && !IsWordStartLetter('1') && IsWordLetter('1'));
    EXPECT_FALSE(IsLetter('\xE4') || IsWordLetter('\xC3') || IsNumLetter(u'\x0661'));
    EXPECT_EQ('A', ToUpperLetter('a'));
    EXPECT_EQ('\xE4', ToUpperLetter('\xE4'));
    EXPECT_EQ(u'\x00E4', ToUpperLetter(u'\x00E4'));
}

}  // namespace
