#include <gtest/gtest.h>

#include <string>

#include "report_capture.h"
#include "strdk_match.h"
#include "unit_text.h"

namespace {

template <class T>
class Matching : public ::testing::Test {};
TYPED_TEST_SUITE(Matching, TextUnits);

constexpr int kRun = msf_sharp_digit_run;
constexpr int kDollar = msf_dollar_identifier;

// `ranges`, when given, are the records as "offset+length" separated by spaces.
struct MatchCase {
    const char* str;
    const char* pattern;
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

TYPED_TEST(Matching, MatchingStringCases) {
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
}

struct ListCase {
    const char* str;
    const char* patterns;
    int allMustMatch;
    bool fileNames;
    bool expected;
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

TYPED_TEST(Matching, PatternListsAndFileNameSpellings) {
    for (const ListCase& c : kListCases) {
        const auto str = Txt<TypeParam>(c.str), patterns = Txt<TypeParam>(c.patterns);
        const bool got = c.fileNames
                             ? MatchingFileNames(str.c_str(), patterns.c_str(), c.allMustMatch)
                             : MatchingMultiPatterns(str.c_str(), patterns.c_str(), c.allMustMatch);
        EXPECT_EQ(c.expected, got) << '"' << c.str << "\" ~ \"" << c.patterns << "\" all "
                                   << c.allMustMatch << (c.fileNames ? " file names" : "");
    }
}

TYPED_TEST(Matching, LongPatternListsGoToTheHeap) {
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
