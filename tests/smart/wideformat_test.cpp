// The wide formatter: the Windows rules for strings and characters, C's numbers.
#include <gtest/gtest.h>

#include <cstdint>
#include <string>

#include "wideformat.h"

namespace {

// Formats into a generous buffer and checks the measured length agrees.
template <class... Args>
std::u16string Wide(const char16_t* fmt, Args... args) {
    const int measured = FormatWide(nullptr, 0, fmt, args...);
    char16_t out[512];
    const int written = FormatWide(out, 512, fmt, args...);
    EXPECT_EQ(measured, written);
    return written < 0 ? u"<invalid>" : std::u16string(out, static_cast<size_t>(written));
}

TEST(WideFormat, StringsAndCharactersFollowTheWideRules) {
    const char16_t* noWide = nullptr;
    const char* noNarrow = nullptr;
    EXPECT_EQ(u"中文|日本|ab|cd", Wide(u"%s|%S|%ls|%hs", u"中文", "日本", u"ab", "cd"));
    EXPECT_EQ(u"x|y|字|z", Wide(u"%c|%C|%lc|%hc", u'x', 'y', u'字', 'z'));
    EXPECT_EQ(u"(null)(null)", Wide(u"%s%S", noWide, noNarrow));
    EXPECT_EQ(u"\xFFFD|\xFFFD", Wide(u"%C|%S", '\xE4', "\xFF"));  // not UTF-8 on its own
    EXPECT_EQ(u"%|100%", Wide(u"%%|%d%%", 100));
    EXPECT_EQ(u"中=b   2.2", Wide(u"%s=%S %5.1f", u"中", "b", 2.25));
}

TEST(WideFormat, WidthAndPrecisionOfStrings) {
    EXPECT_EQ(u"  ab|ab  |00ab", Wide(u"%4s|%-4s|%04s", u"ab", u"ab", u"ab"));
    EXPECT_EQ(u"ab|abc|   中", Wide(u"%.2s|%.*S|%*S", u"abcd", 3, "abcdef", 4, "中"));
    EXPECT_EQ(u"ab  ", Wide(u"%*s", -4, u"ab"));  // a negative width justifies left
    // A precision reads no further, and cuts no UTF-8 character in two.
    const char unterminated[3] = {'a', 'b', 'c'};
    const char16_t wideUnterminated[2] = {u'x', u'y'};
    EXPECT_EQ(u"abc|xy", Wide(u"%.3S|%.2s", unterminated, wideUnterminated));
    EXPECT_EQ(u"a", Wide(u"%.3S", "a中"));
    EXPECT_EQ(u"a中", Wide(u"%.4S", "a中"));
}

TEST(WideFormat, NumbersAreCs) {
    EXPECT_EQ(u"-42|42|2a|2A|52|+7| 7|007",
              Wide(u"%d|%u|%x|%X|%o|%+d|% d|%03d", -42, 42u, 42, 42, 42, 7, 7, 7));
    EXPECT_EQ(u"-1|255|65535", Wide(u"%hhd|%hhu|%hu", -1, 255, 65535));  // h is not %hs
    EXPECT_EQ(u"9223372036854775807|-9223372036854775807",
              Wide(u"%lld|%ld", INT64_MAX, -INT64_MAX));
    EXPECT_EQ(u"12345678901|-5|7",
              Wide(u"%I64d|%I32d|%Iu", int64_t(12345678901), int32_t(-5), size_t(7)));
    EXPECT_EQ(u"3.14|3.142e+00|0x1p+0|2.5",
              Wide(u"%.2f|%.3e|%a|%Lg", 3.14159, 3.14159, 1.0, static_cast<long double>(2.5)));
    EXPECT_EQ(u"    3.1|3.1    ", Wide(u"%*.*f|%-7.1f", 7, 1, 3.14159, 3.14159));
    // Longer than the formatter's inline room for one number.
    char16_t wide[700];
    EXPECT_EQ(601, FormatWide(wide, 700, u"%601d", 1));
    EXPECT_EQ(std::u16string(600, u' ') + u"1", std::u16string(wide));
}

TEST(WideFormat, InvalidFormatsAndTooSmallABufferGiveMinusOne) {
    int n = 0;
    for (const char16_t* fmt :
         {u"%n", u"%k", u"abc%", u"%99999999999d", u"%1$d", u"%Ld", u"%\x4E2D"})
        EXPECT_EQ(-1, FormatWide(nullptr, 0, fmt, &n)) << std::u16string(fmt).size();
    EXPECT_EQ(-1, FormatWide(nullptr, 0, nullptr));
    char16_t out[4] = {u'x', u'x', u'x', u'x'};
    EXPECT_EQ(-1, FormatWide(out, 4, u"%s", u"abcdef"));
    EXPECT_EQ(u"abc", std::u16string(out));  // what fits, terminated
    EXPECT_EQ(3, FormatWide(out, 4, u"%s", u"abc"));
}

}  // namespace
