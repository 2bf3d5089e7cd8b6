// Searching and matching text.
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "report_capture.h"
#include "strdk.h"
#include "strdk_match.h"
#include "unit_text.h"

namespace {

template <class T>
class Search : public ::testing::Test {};
TYPED_TEST_SUITE(Search, TextUnits);

struct FindCase {
    const char *src, *find;
    int flags, expected, srcLen = -1, findLen = -1;
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

TYPED_TEST(Search, FindStrIndexCasesAndLongFindTexts) {
    for (const FindCase& c : kFindCases) {
        const auto src = Txt<TypeParam>(c.src), find = Txt<TypeParam>(c.find);
        EXPECT_EQ(c.expected, FindStrIndex(src.c_str(), find.c_str(), c.srcLen, c.findLen, c.flags))
            << '"' << c.find << "\" in \"" << c.src << "\" flags " << c.flags;
        // Counted lengths give the same answers as terminated ones.
        const int srcLen = c.srcLen < 0 ? static_cast<int>(src.size()) : c.srcLen;
        const int findLen = c.findLen < 0 ? static_cast<int>(find.size()) : c.findLen;
        EXPECT_EQ(c.expected, FindStrIndex(src.c_str(), find.c_str(), srcLen, findLen, c.flags));
    }

    // Find texts beyond the stack table use the heap.
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

// A character of several units, '/', and a lone lead unit at the end.
template <class T>
std::basic_string<T> MultiUnitText() {
    if constexpr (sizeof(T) == 1)
        return "\xE4\xB8\xAD/\xE4";  // U+4E2D in UTF-8
    else
        return u"\xD83D\xDE00/\xD83D";  // a surrogate pair
}

TYPED_TEST(Search, FindSubStrCountSubStrWholeWordsAndDoubleByteSkips) {
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

    // IsWholeWord looks at both neighbours.
    const auto words = Txt<TypeParam>("a log.x_y 9z");
    EXPECT_TRUE(IsWholeWord(words.c_str(), 2, -1, 3, false));
    EXPECT_FALSE(IsWholeWord(words.c_str(), 2, -1, 2, false));  // "lo" is followed by 'g'
    EXPECT_FALSE(IsWholeWord(words.c_str(), 10, -1, 2, false));
    EXPECT_TRUE(IsWholeWord(words.c_str(), 10, -1, -1, true));  // to the end
    EXPECT_FALSE(IsWholeWord(words.c_str(), 2, -1, 0, true));

    ReportCapture reports;
    EXPECT_FALSE(IsWholeWord(words.c_str(), 11, -1, 5, true));
    EXPECT_FALSE(IsWholeWord(words.c_str(), -1, -1, 2, true));
    EXPECT_EQ(2, reports.Count("(false)"));

    // SkipDoubleByte steps over whole characters.
    const auto multi = MultiUnitText<TypeParam>();
    const TypeParam* units = multi.c_str();
    const int unitCount = static_cast<int>(multi.size());
    EXPECT_NE(nullptr, FindChar(units, units[1], unitCount, false));
    EXPECT_EQ(nullptr, FindChar(units, units[1], unitCount, true));
    EXPECT_EQ(nullptr, FindChar(units, units[1], -1, true));
    // The lone lead unit is a character of its own and is tested; the first is skipped.
    EXPECT_EQ(units + unitCount - 1, FindChar(units, units[unitCount - 1], unitCount, true));
    const TypeParam set[] = {units[1], '/', 0};
    EXPECT_EQ(units + unitCount - 2, FindAnyChar(units, set, unitCount, -1, true));
    EXPECT_TRUE(HasDoubleByte(units, unitCount));
    EXPECT_FALSE(HasDoubleByte(Txt<TypeParam>("plain").c_str()));
}

constexpr int kRun = msf_sharp_digit_run;
constexpr int kDollar = msf_dollar_identifier;

// `ranges`, when given, are the records as "offset+length" separated by spaces.
struct MatchCase {
    const char *str, *pattern;
    int flags;
    bool expected;
    const char* ranges = nullptr;
};

const MatchCase kMatchCases[] = {
    // clang-format off
    {"", "", 0, true},                           {"a", "", 0, false},
    // The log file name takes exactly 14 decimal digits.
    {"log20240102030405.log", "log##############.log", 0, true},
    {"log2024010203040.log", "log##############.log", 0, false},
    // Stars, and a pattern must consume the whole text.
    {"a", "a*", 0, true},                        {"", "*a", 0, false},
    {"", "*", 0, true},                          {"abab", "*ab", 0, true},
    {"ab", "a*", msf_reverse, true},             {"ab", "?", 0, false},
    {"ab", "**", 0, true, "0+2 2+0"},            {"axyz", "?x*", 0, true, "0+1 2+2"},
    // The middle "b" goes to the first b, the last segment is placed from the end.
    {"a1b2b3c", "a*b*c", 0, true, "1+1 3+3"},
    // Sharp modes: a text `#` is matched by `#` in all of them, and recorded in
    // modes 1 and 2 only.
    {"#", "#", 0, true, "0+1"},                  {"#", "#", msf_sharp_literal, true, ""},
    {"#", "#", kRun, true},                      {"5", "#", msf_sharp_literal, false},
    {"v123.log", "v#.log", kRun, true, "1+3"},   {"a123x", "a#x", 0, false},
    {"a12", "a##", kRun, false},                 {"f", "#", 0, false},
    {"F", "#", msf_sharp_hex, true},
    // No second try: "#5" placed from the end leaves the run to the `#`, which then
    // takes the 5 as well, and the match fails.
    {"a12345", "*#5", kRun, false},
    // Identifiers; a text `$` is recorded by the sharp mode's rule too.
    {"a", "$", 0, false},                        {"_x", "$", kDollar, true},
    {"1abc", "$", kDollar, false},               {"ab", "$$", kDollar, false},
    {"$", "$", kDollar, true, "0+1"},            {"$", "$", kDollar | msf_sharp_literal, true, ""},
    {"abc1", "$#", kDollar, true, "0+3 3+1"},    {"abc12", "$", kDollar, true, "0+5"},
    {"12ab", "*$", kDollar, true, "0+2 2+2"},
    // "#$" switches the last segment to the forward search that must reach the end.
    {"a1b2c", "*#$", kDollar, true, "0+1 1+1 2+3"},
    // Case and slashes.
    {"A/B", "a\\b", msf_ignore_case | msf_slash_equal, true},
    {"A/B", "a\\b", 0, false},                   {"a\\b", "a/b", msf_slash_equal, true},
    // Units of 0x80 and above are single units, never letters, never folded.
    {"\xC3\xA9", "?", 0, false},                 {"\xE4", "\xC4", msf_ignore_case, false},
    // clang-format on
};

struct ListCase {
    const char *str, *patterns;
    int allMustMatch;
    bool fileNames, expected;
};

const ListCase kListCases[] = {
    // clang-format off
    // Any one token, empty tokens skipped; every token, empty ones too.
    {"a.txt", "*.log;;*.txt", 0, false, true},   {"a.txt", "*.log;;*.txt", 1, false, false},
    {"x", "*,*", 1, false, true},                {"x", "*|", 1, false, false},
    {"y", ",,x|y", 0, false, true},              {"", "", 0, false, true},
    {"x", "", 0, false, false},                  {"", ",", 0, false, false},
    {"", ",", 1, false, true},
    // Only the file-name form folds case and slashes.
    {"A.TXT", "*.txt", 0, false, false},         {"A.TXT", "*.txt", 0, true, true},
    {"a/b.log", "*\\*.log", 0, true, true},
    // The fixed spellings.
    {"readme", "*.", 0, true, true},             {"readme.txt", "*.", 0, true, false},
    {"dir.x/readme", "*.", 0, true, true},       {"", "*.", 0, true, false},
    {"readme", "*.*", 0, true, true},            {"a.b", "**.*", 0, true, true},
    {"a", "*.***", 0, true, true},               {"readme", "*.", 0, false, false},
    // clang-format on
};

TYPED_TEST(Search, MatchingStringPatternListsFileNameSpellingsAndLongLists) {
    for (const MatchCase& c : kMatchCases) {
        const auto str = Txt<TypeParam>(c.str), pattern = Txt<TypeParam>(c.pattern);
        WildcardRange ranges[32];  // one per wildcard of the longest pattern at least
        int count = -1;
        EXPECT_EQ(c.expected,
                  MatchingString(str.c_str(), pattern.c_str(), c.flags, -1, ranges, &count))
            << '"' << c.str << "\" ~ \"" << c.pattern << "\" flags " << c.flags;
        std::string got;
        for (int k = 0; k < count; ++k)
            got += (k ? " " : "") + std::to_string(ranges[k].offset) + "+" +
                   std::to_string(ranges[k].length);
        if (c.ranges) {
            EXPECT_EQ(c.ranges, got) << c.pattern << " on " << c.str;
        }
        // Counted text: the same answer, also with junk behind the count.
        const auto longer = str + Txt<TypeParam>("zz");
        EXPECT_EQ(c.expected, MatchingString(longer.c_str(), pattern.c_str(), c.flags,
                                             static_cast<int>(str.size())));
    }

    // Pattern lists and the file-name spellings.
    for (const ListCase& c : kListCases) {
        const auto str = Txt<TypeParam>(c.str), patterns = Txt<TypeParam>(c.patterns);
        const bool got = c.fileNames
                             ? MatchingFileNames(str.c_str(), patterns.c_str(), c.allMustMatch)
                             : MatchingMultiPatterns(str.c_str(), patterns.c_str(), c.allMustMatch);
        EXPECT_EQ(c.expected, got) << '"' << c.str << "\" ~ \"" << c.patterns << "\" all "
                                   << c.allMustMatch << (c.fileNames ? " file names" : "");
    }

    // Long pattern lists go to the heap.
    std::basic_string<TypeParam> patterns;
    for (int k = 0; k < 1000; ++k) patterns += Txt<TypeParam>("*.no;");
    EXPECT_GT(patterns.size(), 4096u);
    patterns += Txt<TypeParam>("*.txt");
    EXPECT_TRUE(MatchingMultiPatterns(Txt<TypeParam>("a.txt").c_str(), patterns.c_str()));
}

TEST(JavaLauncher, RecognisesTheLauncherNamesOnly) {
    for (const char* yes : {"java", "JAVAW.EXE", "javaws", "Java.exe", "/usr/lib/jvm/bin/java",
                            "C:\\jdk\\bin\\javaws.exe"})
        EXPECT_TRUE(IsJavaLauncher(yes)) << yes;
    for (const char* no : {"javac", "java.sh", "myjava", "", "/opt/java/bin/", "jav"})
        EXPECT_FALSE(IsJavaLauncher(no)) << no;
}

}  // namespace
