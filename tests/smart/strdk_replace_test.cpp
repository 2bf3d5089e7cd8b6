#include <gtest/gtest.h>

#include "report_capture.h"
#include "strdk.h"
#include "unit_text.h"

namespace {

template <class T>
class Replace : public ::testing::Test {};
TYPED_TEST_SUITE(Replace, TextUnits);

struct BetweenCase {
    const char* text;
    const char* head;
    const char* tail;
    const char* newStr;
    int flags;
    int removeCount;
    const char* expected;
    int count;
};

// clang-format off
const BetweenCase kBetweenCases[] = {
    {"a/*x*/b/*y*/c", "/*", "*/", "_", 0, 0, "a_b_c", 2},
    // The tail is searched from the head's own position, so "/*/" closes at once.
    {"a/*/b", "/*", "*/", "", 0, 0, "ab", 1}, {"a/*x", "/*", "*/", "", 0, 0, "a/*x", 0},
    // A tail that begins with the head makes both the tail: only "abc" is replaced.
    {"ab abc", "ab", "abc", "X", 0, 0, "ab X", 1},
    {"Ab ab AB", "ab", "ab", "x", msf_ignore_case, 0, "x x x", 3},
    {"k=12;k=34", "k=", "k=", "", 0, 2, ";", 2},
    // The span is cut to the remaining text.
    {"abx1", "x", "x", "", 0, 5, "ab", 1},
    // Wildcards are cleared: "?" is a literal.
    {"a?b", "?", "?", "-", msf_wildcards, 0, "a-b", 1},
    {"log logfile log", "log", "log", "LOG", msf_whole_word, 0, "LOG logfile LOG", 2},
    {"aaa", "a", "a", "aa", 0, 0, "aaaaaa", 3},
};
// clang-format on

TYPED_TEST(Replace, BetweenHeadAndTail) {
    for (const BetweenCase& c : kBetweenCases) {
        auto buf = Buffer<TypeParam>(c.text);
        const auto head = Txt<TypeParam>(c.head), tail = Txt<TypeParam>(c.tail);
        const auto newStr = Txt<TypeParam>(c.newStr);
        EXPECT_EQ(c.count, ReplaceBetween(&buf[0], head.c_str(), tail.c_str(), newStr.c_str(),
                                          c.flags, -1, -1, -1, -1, -1, c.removeCount))
            << c.text;
        EXPECT_EQ(c.expected, Terminated(buf)) << c.text;
    }
}

TYPED_TEST(Replace, TheLimitCoversOnlyTheHeadOffset) {
    ReportCapture reports;
    const int unit = static_cast<int>(sizeof(TypeParam));
    const auto ab = Txt<TypeParam>("ab"), longer = Txt<TypeParam>("abcdef");

    // Too small for the first insertion: -1 and the text unchanged.
    auto buf = Buffer<TypeParam>("xxab");
    EXPECT_EQ(-1, ReplaceStr(&buf[0], ab.c_str(), longer.c_str(), 0, 8 * unit));
    EXPECT_EQ("xxab", Terminated(buf));
    EXPECT_EQ(1, reports.Count("(false)"));

    // Head 0 + 6 new units is below the 7 declared, so the replacement goes ahead and
    // the moved tail runs past the declared size: the caller has to leave room.
    buf = Buffer<TypeParam>("abxx");
    EXPECT_EQ(1, ReplaceStr(&buf[0], ab.c_str(), longer.c_str(), 0, 7 * unit));
    EXPECT_EQ("abcdefxx", Terminated(buf));

    // The second insertion fails: -1, with the first one kept.
    buf = Buffer<TypeParam>("ab ab");
    EXPECT_EQ(-1, ReplaceStr(&buf[0], ab.c_str(), longer.c_str(), 0, 9 * unit));
    EXPECT_EQ("abcdef ab", Terminated(buf));
}

TYPED_TEST(Replace, PlainReplacementAndItsDelegation) {
    auto buf = Buffer<TypeParam>("a.b.c");
    EXPECT_EQ(2,
              ReplaceStrPlain(&buf[0], Txt<TypeParam>(".").c_str(), Txt<TypeParam>("::").c_str()));
    EXPECT_EQ("a::b::c", Terminated(buf));
    EXPECT_EQ(2, ReplaceStrPlain(&buf[0], Txt<TypeParam>("::").c_str(),
                                 static_cast<const TypeParam*>(nullptr)));
    EXPECT_EQ("abc", Terminated(buf));
    EXPECT_EQ(0, ReplaceStrPlain(&buf[0], Txt<TypeParam>("").c_str(), Txt<TypeParam>("x").c_str()));
    // Counted: only the first three units count, and the result is terminated.
    buf = Buffer<TypeParam>("aXaXa");
    EXPECT_EQ(1, ReplaceStr(&buf[0], Txt<TypeParam>("X").c_str(), Txt<TypeParam>("--").c_str(), 0,
                            -1, 3));
    EXPECT_EQ("a--a", Terminated(buf));
}

TYPED_TEST(Replace, CharHeadAndRemoval) {
    ReportCapture reports;
    auto path = Buffer<TypeParam>("a/b\\c/d");
    EXPECT_EQ(0, ReplaceChar(&path[0], '/', '\\', msf_slash_equal));
    EXPECT_EQ(2, ReplaceChar(&path[0], '/', '\\'));
    EXPECT_EQ("a\\b\\c\\d", Terminated(path));
    auto word = Buffer<TypeParam>("Banana");
    EXPECT_EQ(2, ReplaceChar(&word[0], 'A', 'o', msf_ignore_case, 4));
    EXPECT_EQ("Bonona", Terminated(word));
    EXPECT_EQ(0, ReplaceChar(&word[0], 0, 'x'));
    EXPECT_EQ(1, reports.Count("(0 != repChar)"));
    EXPECT_EQ(0, ReplaceChar(&word[0], 'o', 0));
    EXPECT_EQ(1, reports.Count("(false)"));

    auto text = Buffer<TypeParam>("hello world");
    EXPECT_EQ(9, ReplaceHead(&text[0], 5, Txt<TypeParam>("bye").c_str()));
    EXPECT_EQ("bye world", Terminated(text));
    EXPECT_EQ(2, ReplaceHead(&text[0], 100, Txt<TypeParam>("ok").c_str()));
    EXPECT_EQ("ok", Terminated(text));
    EXPECT_EQ(-1, ReplaceHead(&text[0], -1, Txt<TypeParam>("x").c_str()));
    EXPECT_EQ(1, reports.Count("(0 <= len)"));

    // Each removed set character within the length; the result ends at the length.
    auto messy = Buffer<TypeParam>("a-b_c-d");
    EXPECT_EQ(2, RemoveChars(&messy[0], Txt<TypeParam>("-_").c_str(), 5));
    EXPECT_EQ("abc", Terminated(messy));
    EXPECT_EQ(3, reports.Count());
}

}  // namespace
