// Trimming, comparing, unescaping, replacing and splitting text; the string types.
#include <gtest/gtest.h>

#include <cstdarg>
#include <cstring>
#include <string>
#include <utility>
#include <vector>

#include "ptrstr.h"
#include "report_capture.h"
#include "smartstr.h"
#include "strdk.h"
#include "strdk_split.h"
#include "strtmpl.h"
#include "unit_text.h"

namespace {

template <class T>
class TextRoutines : public ::testing::Test {};
TYPED_TEST_SUITE(TextRoutines, TextUnits);

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

TYPED_TEST(TextRoutines, TrimRangeTrimCopyCompareCharsUntilAndComparePathName) {
    int offset = -1;
    EXPECT_EQ(2, TrimRange(Txt<TypeParam>("  ab \t").c_str(), -1, &offset));
    EXPECT_EQ(2, offset);
    EXPECT_EQ(0, TrimRange(Txt<TypeParam>("   ").c_str(), -1, &offset));
    EXPECT_EQ(0, offset);
    EXPECT_EQ(4, TrimRange(Txt<TypeParam>("  ab ").c_str(), -1, &offset, nullptr, true));
    EXPECT_EQ(0, offset);

    auto buf = Buffer<TypeParam>("  keep me  ");
    TrimCopy(&buf[0]);
    EXPECT_EQ("keep me", Bytes(buf.c_str()));
    std::basic_string<TypeParam> dest(16, TypeParam('#'));
    TrimCopy(&dest[0], Txt<TypeParam>("  left").c_str(), -1, nullptr, true);
    EXPECT_EQ("  left", Bytes(dest.c_str()));

    for (const UntilCase& c : kUntilCases) {
        EXPECT_EQ(c.expected,
                  CompareCharsUntil(Txt<TypeParam>(c.s1).c_str(), Txt<TypeParam>(c.s2).c_str(),
                                    static_cast<TypeParam>(c.stop), -1, -1, c.flags))
            << c.s1 << " vs " << c.s2;
    }
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

TYPED_TEST(TextRoutines, UnescapeStrDecodesInPlaceTextExtentAndBoundedCopy) {
    for (const EscapeCase& c : kEscapeCases) {
        auto buf = Buffer<TypeParam>(c.in, 0);
        int len = -1;
        EXPECT_EQ(&buf[0], UnescapeStr(&buf[0], &len, c.onlyInQuotes));
        EXPECT_EQ(c.out, Bytes(buf.c_str())) << c.in;
        EXPECT_EQ(static_cast<int>(strlen(c.out)), len) << c.in;
        // The strict form refuses and keeps the text as it was.
        auto strict = Buffer<TypeParam>(c.in, 0);
        int pos = -1;
        len = -1;
        const TypeParam* r = UnescapeStr(&strict[0], &len, c.onlyInQuotes, &pos);
        EXPECT_EQ(c.strictPos, pos) << c.in;
        EXPECT_EQ(c.strictPos < 0, r != nullptr) << c.in;
        EXPECT_EQ(c.strictPos < 0 ? c.out : c.in, Bytes(strict.c_str())) << c.in;
    }

    // The extent of a text.
    int width = -1, lines = -1;
    GetTextExtent(Txt<TypeParam>("abc\r\nde\n").c_str(), -1, &width, &lines);
    EXPECT_EQ(std::make_pair(3, 3), std::make_pair(width, lines));  // CR takes no width
    GetTextExtent(Txt<TypeParam>("abcd\nx").c_str(), 3, &width, &lines);
    EXPECT_EQ(std::make_pair(3, 1), std::make_pair(width, lines));

    // A bounded copy cuts and terminates.
    ReportCapture reports;
    std::basic_string<TypeParam> dest(8, TypeParam('#'));
    CopyBounded(&dest[0], Txt<TypeParam>("abcdef").c_str(), -1, 4);
    EXPECT_EQ("abc", Bytes(dest.c_str()));
    EXPECT_EQ(TypeParam('#'), dest[4]);
    CopyBounded(&dest[0], Txt<TypeParam>("1234567").c_str(), 5, -1);
    EXPECT_EQ("12345", Bytes(dest.c_str()));
}

struct BetweenCase {
    const char *text, *head, *tail, *newStr;
    int flags, removeCount;
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

TYPED_TEST(TextRoutines, ReplaceBetweenStrPlainItsLimitCharHeadAndRemoval) {
    for (const BetweenCase& c : kBetweenCases) {
        auto buf = Buffer<TypeParam>(c.text);
        const auto head = Txt<TypeParam>(c.head), tail = Txt<TypeParam>(c.tail);
        const auto newStr = Txt<TypeParam>(c.newStr);
        EXPECT_EQ(c.count, ReplaceBetween(&buf[0], head.c_str(), tail.c_str(), newStr.c_str(),
                                          c.flags, -1, -1, -1, -1, -1, c.removeCount))
            << c.text;
        EXPECT_EQ(c.expected, Bytes(buf.c_str())) << c.text;
    }

    ReportCapture reports;
    const int unit = static_cast<int>(sizeof(TypeParam));
    const auto ab = Txt<TypeParam>("ab"), longer = Txt<TypeParam>("abcdef");

    // Too small for the first insertion: -1 and the text unchanged.
    auto buf = Buffer<TypeParam>("xxab");
    EXPECT_EQ(-1, ReplaceStr(&buf[0], ab.c_str(), longer.c_str(), 0, 8 * unit));
    EXPECT_EQ("xxab", Bytes(buf.c_str()));
    EXPECT_EQ(1, reports.Count("(false)"));

    // Head 0 + 6 new units is below the 7 declared, so the replacement goes ahead and
    // the moved tail runs past the declared size: the caller has to leave room.
    buf = Buffer<TypeParam>("abxx");
    EXPECT_EQ(1, ReplaceStr(&buf[0], ab.c_str(), longer.c_str(), 0, 7 * unit));
    EXPECT_EQ("abcdefxx", Bytes(buf.c_str()));

    // The second insertion fails: -1, with the first one kept.
    buf = Buffer<TypeParam>("ab ab");
    EXPECT_EQ(-1, ReplaceStr(&buf[0], ab.c_str(), longer.c_str(), 0, 9 * unit));
    EXPECT_EQ("abcdef ab", Bytes(buf.c_str()));

    // The plain replacement, and its delegation.
    buf = Buffer<TypeParam>("a.b.c");
    EXPECT_EQ(2,
              ReplaceStrPlain(&buf[0], Txt<TypeParam>(".").c_str(), Txt<TypeParam>("::").c_str()));
    EXPECT_EQ("a::b::c", Bytes(buf.c_str()));
    EXPECT_EQ(2, ReplaceStrPlain(&buf[0], Txt<TypeParam>("::").c_str(),
                                 static_cast<const TypeParam*>(nullptr)));
    EXPECT_EQ("abc", Bytes(buf.c_str()));
    EXPECT_EQ(0, ReplaceStrPlain(&buf[0], Txt<TypeParam>("").c_str(), Txt<TypeParam>("x").c_str()));
    // Counted: only the first three units count, and the result is terminated.
    buf = Buffer<TypeParam>("aXaXa");
    EXPECT_EQ(1, ReplaceStr(&buf[0], Txt<TypeParam>("X").c_str(), Txt<TypeParam>("--").c_str(), 0,
                            -1, 3));
    EXPECT_EQ("a--a", Bytes(buf.c_str()));

    // ReplaceChar, ReplaceHead and RemoveChars.
    ReportCapture charReports;
    auto path = Buffer<TypeParam>("a/b\\c/d");
    EXPECT_EQ(0, ReplaceChar(&path[0], '/', '\\', msf_slash_equal));
    EXPECT_EQ(2, ReplaceChar(&path[0], '/', '\\'));
    EXPECT_EQ("a\\b\\c\\d", Bytes(path.c_str()));
    auto word = Buffer<TypeParam>("Banana");
    EXPECT_EQ(2, ReplaceChar(&word[0], 'A', 'o', msf_ignore_case, 4));
    EXPECT_EQ("Bonona", Bytes(word.c_str()));
    EXPECT_EQ(0, ReplaceChar(&word[0], 0, 'x'));
    EXPECT_EQ(1, charReports.Count("(0 != repChar)"));
    EXPECT_EQ(0, ReplaceChar(&word[0], 'o', 0));
    EXPECT_EQ(1, charReports.Count("(false)"));

    auto text = Buffer<TypeParam>("hello world");
    EXPECT_EQ(9, ReplaceHead(&text[0], 5, Txt<TypeParam>("bye").c_str()));
    EXPECT_EQ("bye world", Bytes(text.c_str()));
    EXPECT_EQ(2, ReplaceHead(&text[0], 100, Txt<TypeParam>("ok").c_str()));
    EXPECT_EQ("ok", Bytes(text.c_str()));
    EXPECT_EQ(-1, ReplaceHead(&text[0], -1, Txt<TypeParam>("x").c_str()));
    EXPECT_EQ(1, charReports.Count("(0 <= len)"));

    // Each removed set character within the length; the result ends at the length.
    auto messy = Buffer<TypeParam>("a-b_c-d");
    EXPECT_EQ(2, RemoveChars(&messy[0], Txt<TypeParam>("-_").c_str(), 5));
    EXPECT_EQ("abc", Bytes(messy.c_str()));
    EXPECT_EQ(3, charReports.Count());
}

// The pieces as "[a][b]", a separator delivered alone as "[|*]".
// clang-format off
struct Collected { std::string pieces; int stopAfter = -1; };
// clang-format on

template <class T>
bool Collect(void* param, const T* piece, int len, int isSeparator) {
    auto* c = static_cast<Collected*>(param);
    c->pieces += "[" + Bytes(std::basic_string<T>(piece, static_cast<size_t>(len))) +
                 (isSeparator ? "*]" : "]");
    return c->stopAfter < 0 || --c->stopAfter > 0;
}

struct CallbackCase {
    const char *text, *seps;
    char sepOfSeps;
    int mode, flags;
    const char* expected;
};

const CallbackCase kCallbackCases[] = {
    // clang-format off
    {"a||b", "|", 0, 0, 0, "[a][b]"},             {"a||b", "|", 0, 1, 0, "[a|][|*][b]"},
    {"a||b", "|", 0, 2, 0, "[a][][b]"},           {"|a|", "|", 0, 2, 0, "[][a]"},
    {"a\r\nb\nc", "\r\n|\n", '|', 1, 0, "[a\r\n][b\n][c]"},
    // The earliest separator wins, the first listed on a tie.
    {"xab", "ab|a", '|', 0, 0, "[x]"},            {"xab", "a|ab", '|', 0, 0, "[x][b]"},
    {"1::2:3", ":|::", '|', 2, 0, "[1][][2][3]"}, {"", "|", 0, 1, 0, ""},
    {"aXbxc", "x", 0, 0, msf_ignore_case, "[a][b][c]"},
    {"a?b", "?", 0, 0, msf_wildcards | msf_reverse, "[a][b]"},
    {"x and band andy", "and", 0, 0, msf_whole_word, "[x ][ band andy]"},
    // clang-format on
};

TYPED_TEST(TextRoutines, SplitByCallbackAndIntoAnArray) {
    for (const CallbackCase& c : kCallbackCases) {
        Collected got;
        SplitStrByCallback<TypeParam>(Collect<TypeParam>, &got, Txt<TypeParam>(c.text).c_str(),
                                      Txt<TypeParam>(c.seps).c_str(), c.sepOfSeps, -1, -1, c.mode,
                                      c.flags);
        EXPECT_EQ(c.expected, got.pieces) << c.text << " at " << c.seps << " mode " << c.mode;
    }

    // A false answer stops; a counted text ends at its length; a bad mode is refused.
    ReportCapture reports;
    const auto text = Txt<TypeParam>("a,b,c,d"), comma = Txt<TypeParam>(",");
    Collected got;
    got.stopAfter = 2;
    SplitStrByCallback<TypeParam>(Collect<TypeParam>, &got, text.c_str(), comma.c_str(), 0);
    EXPECT_EQ("[a][b]", got.pieces);
    got = Collected();
    SplitStrByCallback<TypeParam>(Collect<TypeParam>, &got, text.c_str(), comma.c_str(), 0, 4);
    EXPECT_EQ("[a][b]", got.pieces);
    EXPECT_EQ(0, reports.Count());

    SplitStrByCallback<TypeParam>(Collect<TypeParam>, &got, text.c_str(), comma.c_str(), 0, -1, -1,
                                  3);
    EXPECT_EQ(1, reports.Count("(0 <= mode && mode <= 2)"));

    // The modes are SplitText's (below); SplitStr fills an array, here
    // with a quoted piece.
    SmartArray<PtrStrT<TypeParam>, 8> pieces;
    const auto quotedText = Txt<TypeParam>("x\"a,b\",c");  // the pieces point into it
    EXPECT_TRUE(SplitStr(pieces, quotedText.c_str(), ',', -1, 0, true));
    std::string joined;
    for (const PtrStrT<TypeParam>& piece : pieces)
        joined += "[" + Bytes(std::basic_string<TypeParam>(piece.p, size_t(piece.len))) + "]";
    EXPECT_EQ("[x\"a,b\"][c]", joined);
}

template <class TCHAR>
std::basic_string<TCHAR> Format(const TCHAR* format, ...) {
    va_list args;
    va_start(args, format);
    MiniStrT<TCHAR> out;
    FormatStr(out, format, args);
    va_end(args);
    return out;
}

TEST(FormatStr, FormatsShortAndLongTexts) {
    EXPECT_EQ("7-log", Format("%d-%s", 7, "log"));
    const std::string longText(3000, 'x');
    EXPECT_EQ(longText + "!", Format("%s!", longText.c_str()));
    // The wide form takes the Windows wide rules: %s wide, %S narrow.
    EXPECT_EQ(u"7-\u65e5\u5fd7-ab", Format(u"%d-%s-%S", 7, u"\u65e5\u5fd7", "ab"));
}

TEST(Strings, PtrStrSlicesAndFindsSmartStrConvertsNonAsciiText) {
    const char* text = "hello";
    PtrStr s(text, 5);
    // expected null: the empty value, whose p is null
    // clang-format off
    const struct { PtrStr slice; const char* expected; } cases[] = {
        {s.Mid(1), "ello"},      {s.Mid(5), ""},         {s.Mid(6), nullptr},
        {s.Mid(-2, 4), "he"},    {s.Mid(1, 2), "el"},    {s.Mid(3, 100), "lo"},
        {s.Mid(2, -3), nullptr}, {s.Left(100), "hello"}, {s.Left(0), ""},
    };
    // clang-format on
    for (const auto& c : cases) {
        EXPECT_EQ(c.expected ? c.expected : "", c.slice.ToString());
        EXPECT_EQ(!c.expected, c.slice.p == nullptr) << c.slice.len;
    }
    EXPECT_EQ(text + 5, s.Mid(5).p);
    EXPECT_EQ(3, s.Find('l', 3));
    EXPECT_EQ(-1, s.Find('l', 5));
    EXPECT_EQ(-1, s.Find('h', -1));

    ReportCapture reports;
    EXPECT_STREQ("\xE4\xB8\xAD\xE6\x96\x87", SmartStr(u"\u4e2d\u6587", -1).c_str());
    EXPECT_EQ(5, SmartStr(u"a\U0001F600", -1).Length());          // a surrogate pair counts 4
    SmartStr narrow(std::u16string(100, u'\u4e2d').c_str(), -1);  // 100 units, 300 bytes
    EXPECT_EQ(300, narrow.Length());
    EXPECT_FALSE(narrow.IsBuiltIn());
    EXPECT_EQ(0, reports.Count());

    // Narrow to wide: the estimate is often wrong for UTF-8 and the text converted again.
    EXPECT_EQ(u"\uFFFDz", std::u16string(SmartStrW("\x80z", -1).c_str()));  // estimated 1
    std::string many;
    for (int i = 0; i < 100; ++i) many += "\xE4\xB8\xAD";
    SmartStrW wide(many.c_str(), -1);  // 300 bytes, 100 units: built-in
    EXPECT_EQ(std::u16string(100, u'\u4e2d'), std::u16string(wide.c_str()));
    EXPECT_TRUE(wide.IsBuiltIn());
}

// SplitText for both widths: each case is split as a counted and as a terminated
// text. The plain modes and quoting at one separator unit, into an array, are shown
// through SplitStr above; these are the edges.
template <class CHAR>
bool CollectPiece(void* param, const CHAR* piece, int32_t len) {
    auto* pieces = static_cast<std::vector<std::string>*>(param);
    pieces->push_back(Bytes(std::basic_string<CHAR>(piece, static_cast<size_t>(len))));
    return true;
}

TYPED_TEST(TextRoutines, SplitTextModesQuotingAndASetOfSeparators) {
    struct Case {
        const char *text, *separators;
        int mode;
        bool quoted;
        std::vector<std::string> pieces;
    } cases[] = {
        {",,a,", ",", 0, false, {"a"}},
        {"a,", ",", 2, false, {"a"}},  // no empty piece behind a final separator
        {",a,,", ",", 1, false, {",", "a,", ","}},
        {",a", ",", 2, false, {"", "a"}},
        {"", ",", 2, false, {}},
        {"\"a,b\",c", ",", 0, true, {"\"a", "b\",c"}},  // an opening quote is not examined
        {"x\"a,b\",c", ",", 0, false, {"x\"a", "b\"", "c"}},
        {"k=v;x=y", "=;", 0, false, {"k", "v", "x", "y"}},
    };
    ReportCapture reports;
    for (const Case& c : cases) {
        const auto text = Txt<TypeParam>(c.text), separators = Txt<TypeParam>(c.separators);
        for (int32_t len : {static_cast<int32_t>(text.size()), -1}) {
            std::vector<std::string> got;
            EXPECT_TRUE(SplitText(&CollectPiece<TypeParam>, &got, text.c_str(), len,
                                  SplitSeparator<TypeParam>(separators.c_str()), c.mode, c.quoted));
            EXPECT_EQ(c.pieces, got) << c.text << " mode " << c.mode << " len " << len;
        }
    }
    EXPECT_EQ(0, reports.Count());
}

}  // namespace
