#include <gtest/gtest.h>

#include <cstring>
#include <utility>

#include "report_capture.h"
#include "strdk.h"
#include "unit_text.h"

namespace {

template <class T>
class TextRoutines : public ::testing::Test {};
TYPED_TEST_SUITE(TextRoutines, TextUnits);

TYPED_TEST(TextRoutines, TrimRangeAndTrimCopy) {
    int offset = -1;
    EXPECT_EQ(2, TrimRange(Txt<TypeParam>("  ab \t").c_str(), -1, &offset));
    EXPECT_EQ(2, offset);
    EXPECT_EQ(0, TrimRange(Txt<TypeParam>("   ").c_str(), -1, &offset));
    EXPECT_EQ(0, offset);
    EXPECT_EQ(4, TrimRange(Txt<TypeParam>("  ab ").c_str(), -1, &offset, nullptr, true));
    EXPECT_EQ(0, offset);

    auto buf = Buffer<TypeParam>("  keep me  ");
    TrimCopy(&buf[0]);
    EXPECT_EQ("keep me", Terminated(buf));
    std::basic_string<TypeParam> dest(16, TypeParam('#'));
    TrimCopy(&dest[0], Txt<TypeParam>("  left").c_str(), -1, nullptr, true);
    EXPECT_EQ("  left", Terminated(dest));
}

// clang-format off
struct UntilCase { const char* s1; const char* s2; char stop; int flags; int expected; };
// clang-format on

const UntilCase kUntilCases[] = {
    // clang-format off
    {"abc=1", "ABC=2", '=', msf_ignore_case, 0}, {"abc=1", "ABC=2", '=', 0, 1},
    {"ab", "abc", 0, 0, -1},                     {"ab=c", "ab", '=', 0, 0},
    {"a\\b", "a/b", 0, msf_slash_equal, 0},
    {"a_", "aA", 0, msf_ignore_case, 1},  // folded to upper case
    {"a\xE4", "ab", 0, 0, 1},              // units compare unsigned
    // clang-format on
};

TYPED_TEST(TextRoutines, CompareCharsUntilTheStop) {
    for (const UntilCase& c : kUntilCases) {
        EXPECT_EQ(c.expected,
                  CompareCharsUntil(Txt<TypeParam>(c.s1).c_str(), Txt<TypeParam>(c.s2).c_str(),
                                    static_cast<TypeParam>(c.stop), -1, -1, c.flags))
            << c.s1 << " vs " << c.s2;
    }
}

// clang-format off
struct PathCase { const char* p1; const char* p2; int flags; bool caseSensitive; int sign; };
// clang-format on

// clang-format off
const PathCase kPathCases[] = {
    {"b\\x", "a.txt", 0, false, 1}, {"b\\x", "a.txt", cpn_dirs_first, false, -1},
    {"ABC", "abc", 0, false, 0}, {"ABC", "abc", 0, true, -1}, {"a/b", "A\\B", 0, false, 0},
    {"a\\", "a", cpn_path1_dir | cpn_path2_dir, false, 0},
    // Both directories: the path that ends first is the smaller.
    {"a", "a\\b", cpn_dirs_first | cpn_path1_dir, false, -1},
    // A file named like a directory sorts after it.
    {"a", "a\\b", cpn_dirs_first, false, 1}, {"dir\\x2", "dir\\x10", 0, false, 1},
    // Natural order: digit runs by value, then the plain comparison decides ties.
    {"dir\\x2", "dir\\x10", cpn_natural_order, false, -1},
    {"v1.5\\a", "v1.25\\a", cpn_natural_order, false, 1}, {"X9", "x9", cpn_natural_order, true, -1},
    {"a\\b", "a\\b\\c", 0, false, -1},
};
// clang-format on

TYPED_TEST(TextRoutines, ComparePathNameComponentByComponent) {
    auto sign = [](int r) { return r < 0 ? -1 : (r > 0 ? 1 : 0); };
    for (const PathCase& c : kPathCases) {
        const auto p1 = Txt<TypeParam>(c.p1), p2 = Txt<TypeParam>(c.p2);
        EXPECT_EQ(c.sign, sign(ComparePathName(p1.c_str(), p2.c_str(), c.flags, c.caseSensitive)))
            << c.p1 << " vs " << c.p2;
    }
}

// `strictPos`: where the strict form (with an error output) refuses, or -1 when it
// decodes as the lenient form does.
// clang-format off
struct EscapeCase { const char* in; bool onlyInQuotes; const char* out; int strictPos; };
// clang-format on

const EscapeCase kEscapeCases[] = {
    // clang-format off
    {"\\101\\x41", false, "AA", -1},
    {"\\t\\\\\\\"\\'\\?", false, "\t\\\"'?", -1},
    {"a\\nb\\r\\a\\b\\f\\v", false, "a\nb\r\a\b\f\v", -1},
    // Digits are taken as 0-9 at base 8: "\18" is 1*8+8.
    {"\\18", false, "\x10", -1},          {"ab\\1234", false, "abS4", 2},
    {"x\\x414", false, "xA4", 1},         {"\\q\\x", false, "\\q\\x", 0},
    {"\\x", false, "\\x", 0},             {"\\n\\z", false, "\n\\z", 2},
    {"\\123ab\\", false, "Sab\\", -1},    {"\"a\\\"b\"", true, "\"a\"b\"", -1},
    {"\\n\"\\n\"\\n", true, "\\n\"\n\"\\n", -1},
    // clang-format on
};

TYPED_TEST(TextRoutines, UnescapeStrDecodesInPlace) {
    for (const EscapeCase& c : kEscapeCases) {
        auto buf = Buffer<TypeParam>(c.in, 0);
        int len = -1;
        EXPECT_EQ(&buf[0], UnescapeStr(&buf[0], &len, c.onlyInQuotes));
        EXPECT_EQ(c.out, Terminated(buf)) << c.in;
        EXPECT_EQ(static_cast<int>(strlen(c.out)), len) << c.in;
        // The strict form refuses and keeps the text as it was.
        auto strict = Buffer<TypeParam>(c.in, 0);
        int pos = -1;
        len = -1;
        const TypeParam* r = UnescapeStr(&strict[0], &len, c.onlyInQuotes, &pos);
        EXPECT_EQ(c.strictPos, pos) << c.in;
        EXPECT_EQ(c.strictPos < 0, r != nullptr) << c.in;
        EXPECT_EQ(c.strictPos < 0 ? c.out : c.in, Terminated(strict)) << c.in;
    }
}

TYPED_TEST(TextRoutines, GetTextExtentCountsLinesAndWidestLine) {
    int width = -1, lines = -1;
    GetTextExtent(Txt<TypeParam>("abc\r\nde\n").c_str(), -1, &width, &lines);
    EXPECT_EQ(std::make_pair(3, 3), std::make_pair(width, lines));  // CR takes no width
    GetTextExtent(Txt<TypeParam>("abcd\nx").c_str(), 3, &width, &lines);
    EXPECT_EQ(std::make_pair(3, 1), std::make_pair(width, lines));
}

TYPED_TEST(TextRoutines, CopyBoundedCutsAndTerminates) {
    ReportCapture reports;
    std::basic_string<TypeParam> dest(8, TypeParam('#'));
    CopyBounded(&dest[0], Txt<TypeParam>("abcdef").c_str(), -1, 4);
    EXPECT_EQ("abc", Terminated(dest));
    EXPECT_EQ(TypeParam('#'), dest[4]);
    CopyBounded(&dest[0], Txt<TypeParam>("1234567").c_str(), 5, -1);
    EXPECT_EQ("12345", Terminated(dest));
}

}  // namespace
