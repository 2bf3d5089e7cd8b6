#include <gtest/gtest.h>

#include <cstdarg>
#include <string>

#include "report_capture.h"
#include "strdk_split.h"
#include "unit_text.h"

namespace {

template <class T>
class Split : public ::testing::Test {};
TYPED_TEST_SUITE(Split, TextUnits);

// The pieces as "[a][b]", a separator delivered alone as "[|*]".
template <class T>
std::string Joined(const SmartArray<PtrStrT<T>, 8>& pieces) {
    std::string out;
    for (const PtrStrT<T>& piece : pieces)
        out += "[" + Bytes(std::basic_string<T>(piece.p, static_cast<size_t>(piece.len))) + "]";
    return out;
}

// The modes are SplitText's (strings_test.cpp); here the array and a quoted piece.
TYPED_TEST(Split, SplitStrQuotes) {
    SmartArray<PtrStrT<TypeParam>, 8> pieces;
    const auto quotedText = Txt<TypeParam>("x\"a,b\",c");  // the pieces point into it
    EXPECT_TRUE(SplitStr(pieces, quotedText.c_str(), ',', -1, 0, true));
    EXPECT_EQ("[x\"a,b\"][c]", Joined(pieces));
}

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
    const char* text;
    const char* seps;
    char sepOfSeps;
    int mode;
    int flags;
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

TYPED_TEST(Split, ByCallbackAtSeveralSeparators) {
    for (const CallbackCase& c : kCallbackCases) {
        Collected got;
        SplitStrByCallback<TypeParam>(Collect<TypeParam>, &got, Txt<TypeParam>(c.text).c_str(),
                                      Txt<TypeParam>(c.seps).c_str(), c.sepOfSeps, -1, -1, c.mode,
                                      c.flags);
        EXPECT_EQ(c.expected, got.pieces) << c.text << " at " << c.seps << " mode " << c.mode;
    }
}

TYPED_TEST(Split, ByCallbackStopsAndRefuses) {
    ReportCapture reports;
    const auto text = Txt<TypeParam>("a,b,c,d"), comma = Txt<TypeParam>(",");
    Collected got;
    got.stopAfter = 2;
    SplitStrByCallback<TypeParam>(Collect<TypeParam>, &got, text.c_str(), comma.c_str(), 0);
    EXPECT_EQ("[a][b]", got.pieces);
    got = Collected();  // a counted text ends the split at its length
    SplitStrByCallback<TypeParam>(Collect<TypeParam>, &got, text.c_str(), comma.c_str(), 0, 4);
    EXPECT_EQ("[a][b]", got.pieces);
    EXPECT_EQ(0, reports.Count());

    SplitStrByCallback<TypeParam>(Collect<TypeParam>, &got, text.c_str(), comma.c_str(), 0, -1, -1,
                                  3);
    EXPECT_EQ(1, reports.Count("(0 <= mode && mode <= 2)"));
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

}  // namespace
