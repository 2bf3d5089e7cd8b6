// The narrow formatter against the C library, which is the reference for every
// byte: the common conversions, sweeps of flags, widths, precisions and sizes,
// doubles of every magnitude, the rounding mode, the forms left to the C library,
// and output cut at the capacity. The wide formatter: the Windows rules for strings
// and characters, C's numbers.
#include <gtest/gtest.h>

#include <cfenv>
#include <climits>
#include <cmath>
#include <cstdint>
#include <cstdio>
#include <cstring>
#include <random>
#include <string>

#include "narrowformat.h"
#include "wideformat.h"

// The tests hand the C library null strings and texts cut at the capacity on
// purpose: that is what they compare.
#pragma GCC diagnostic ignored "-Wformat-truncation"
#pragma GCC diagnostic ignored "-Wformat-overflow"

namespace {

// Both formatters with the same arguments into the same room: the same bytes,
// including what stands behind the terminator, and the same result.
template <class... Args>
void ExpectAsCLibraryIn(size_t capacity, const char* fmt, Args... args) {
    std::string ours(capacity + 1, '\x7f'), theirs(capacity + 1, '\x7f');
    const int expected = snprintf(capacity ? &theirs[0] : nullptr, capacity, fmt, args...);
    EXPECT_EQ(expected, FormatNarrow(capacity ? &ours[0] : nullptr, capacity, fmt, args...)) << fmt;
    EXPECT_EQ(theirs, ours) << fmt;
}

template <class... Args>
void ExpectAsCLibrary(const char* fmt, Args... args) {
    ExpectAsCLibraryIn(300, fmt, args...);
}

TEST(NarrowFormat, CommonConversionsAndIntegersForEveryFlagWidthPrecisionAndSize) {
    ExpectAsCLibrary("message %d from %s took %.3f ms", 42, "worker", 1.542);
    ExpectAsCLibrary("");
    ExpectAsCLibrary("no conversion at all");
    // Integers go through every flag, width, precision and size below; here the forms
    // the sweep does not write.
    ExpectAsCLibrary("%qd %Zu %d", LLONG_MAX, static_cast<size_t>(7), INT_MIN);
    ExpectAsCLibrary("%*d|%-*d|%*d|%.*d|%.*d", 6, 42, 6, 42, -6, 42, 4, 7, -4, 7);
    ExpectAsCLibrary("%c|%5c|%-5c|%05c|%c", 'a', 'b', 'c', 'd', 0x1E2);
    ExpectAsCLibrary("%s|%8s|%-8s|%.2s|%8.2s|%08s|%.10s|%s", "abc", "abc", "abc", "abc", "abc",
                     "abc", "中文", "");
    ExpectAsCLibrary("%%|%d%%", 5);
    ExpectAsCLibrary("%f %F %.0f %.0f %.0f %#.0f %.1f", 1.5, 2.5, 0.5, 1.5, 2.5, 2.0, 0.25);
    ExpectAsCLibrary("%+f|% f|%08.2f|%-8.2f|%+08.1f|% .3f|%#8.0f", 3.25, 3.25, -3.25, -3.25, -1.25,
                     0.0005, 7.0);
    ExpectAsCLibrary("%.3f %.3f %.3f %f %.2f", -0.0, -0.0004, 0.0005, 1e-320, 9.995);
    ExpectAsCLibrary("%e %.2E %g %G %a %A %10.3e %-+12g|%le", 12345.678, 1e-5, 0.0001, 1e20, 1.0,
                     -0.5, 3.5, 2.5, 6.0);
    ExpectAsCLibrary("%p %20p %-20p|", static_cast<void*>(&errno), nullptr, &errno);

    // Every combination of the flags, some widths and precisions, each size prefix and
    // each integer conversion, over values at the edges of their types.
    const char* const flags[] = {"",   "-",  "+",  " ",     "#",  "0", "-0",
                                 "+0", " 0", "#0", "-+ #0", "+ ", "#-"};
    const char* const widths[] = {"", "1", "5", "24"};
    const char* const precisions[] = {"", ".", ".0", ".1", ".6", ".22"};
    const char* const sizes[] = {"hh", "h", "", "l", "ll", "j", "z", "t"};
    const long long values[] = {0,   1,     -1,      7,       42,        -42,      255,
                                256, 65535, INT_MAX, INT_MIN, LLONG_MAX, LLONG_MIN};
    for (const char* flag : flags)
        for (const char* width : widths)
            for (const char* precision : precisions)
                for (const char* size : sizes)
                    for (char type : std::string("diuoxX")) {
                        const std::string fmt =
                            std::string("[%") + flag + width + precision + size + type + "]";
                        const bool wide = *size && strchr("ljzt", *size);  // as wide as long long
                        for (long long v : values)
                            wide ? ExpectAsCLibrary(fmt.c_str(), v)
                                 : ExpectAsCLibrary(fmt.c_str(), static_cast<int>(v));
                    }
}

// The exact value rounded to nearest, ties to even, for doubles of every exponent
// and precision, the specials among them; and in the other rounding modes, which
// the C library honours.
TEST(NarrowFormat, FixedMatchesForDoublesOfEveryMagnitude) {
    // clang-format off
    const double specials[] = {0.0, -0.0, 0.5, 1.5, 2.5, 0.125, 0.375, 1e-300, 4.9e-324,
        2.2250738585072014e-308, 1e15, 9.2233720368547758e18, 1.8446744073709552e19, 1e300,
        INFINITY, -INFINITY, NAN, -NAN, 1.0005, 123.456, 0.1, 1e22};
    // clang-format on
    const char* const forms[] = {"%.0f",  "%.1f",  "%.3f",  "%f",       "%.9f",     "%.17f",
                                 "%.18f", "%.30f", "%#.0f", "%+010.2f", "%- 12.4f", "%F"};
    for (double v : specials)
        for (const char* form : forms) ExpectAsCLibrary(form, v);

    std::mt19937_64 random(20240611);
    for (int i = 0; i < 20000; ++i) {
        uint64_t bits = random();
        double v;
        memcpy(&v, &bits, sizeof(v));
        // Spread the values over the exponents that fixed notation meets most.
        if (i % 2) v = std::ldexp(static_cast<double>(random() >> 11), -static_cast<int>(i % 80));
        char fmt[16];
        snprintf(fmt, sizeof(fmt), "%%.%df", static_cast<int>(random() % 19));
        ExpectAsCLibrary(fmt, v);
    }

    for (int mode : {FE_UPWARD, FE_DOWNWARD, FE_TOWARDZERO}) {
        ASSERT_EQ(0, fesetround(mode));
        ExpectAsCLibrary("%.1f %.1f %.0f %.3f", 0.25, -0.25, 2.5, 1.0005);
    }
    fesetround(FE_TONEAREST);
}

TEST(NarrowFormat, LeavesTheRareFormsToTheCLibraryAndCutsAtTheCapacityAsIt) {
    ExpectAsCLibrary("%1$d-%1$d", 7);
    ExpectAsCLibrary("%'d|%'.2f", 1234567, 1234.5);
    ExpectAsCLibrary("%ls|%lc|%S", L"wide", static_cast<wint_t>(L'w'), L"S");
    ExpectAsCLibrary("%Lf %Le", 1.5L, 2.5L);
    ExpectAsCLibrary("%s|%.3s|%10s", static_cast<const char*>(nullptr),
                     static_cast<const char*>(nullptr), static_cast<const char*>(nullptr));
    errno = ENOENT;
    ExpectAsCLibrary("%m");
    ExpectAsCLibrary("%5%|%-3%|");
    ExpectAsCLibrary("%Ld %hhs %y %", 5LL, "x");
    ExpectAsCLibrary("%700e|%.200f", 1.5, 1e300);

    // Cut at the capacity.
    for (size_t capacity : {0, 1, 2, 5, 9, 10, 11, 40})
        ExpectAsCLibraryIn(capacity, "%s=%05d|%.2f|%c", "key", 42, 3.14159, 'z');
    ExpectAsCLibraryIn(3, "%ls", L"left to the C library");
}

// Formats into a generous buffer and checks the measured length agrees.
template <class... Args>
std::u16string Wide(const char16_t* fmt, Args... args) {
    const int measured = FormatWide(nullptr, 0, fmt, args...);
    char16_t out[512];
    const int written = FormatWide(out, 512, fmt, args...);
    EXPECT_EQ(measured, written);
    return written < 0 ? u"<invalid>" : std::u16string(out, static_cast<size_t>(written));
}

TEST(WideFormat, WideRulesForStringsCsNumbersAndMinusOneForInvalidFormats) {
    const char16_t* noWide = nullptr;
    const char* noNarrow = nullptr;
    EXPECT_EQ(u"中文|日本|ab|cd", Wide(u"%s|%S|%ls|%hs", u"中文", "日本", u"ab", "cd"));
    EXPECT_EQ(u"x|y|字|z", Wide(u"%c|%C|%lc|%hc", u'x', 'y', u'字', 'z'));
    EXPECT_EQ(u"(null)(null)", Wide(u"%s%S", noWide, noNarrow));
    EXPECT_EQ(u"\xFFFD|\xFFFD", Wide(u"%C|%S", '\xE4', "\xFF"));  // not UTF-8 on its own
    EXPECT_EQ(u"%|100%", Wide(u"%%|%d%%", 100));
    EXPECT_EQ(u"中=b   2.2", Wide(u"%s=%S %5.1f", u"中", "b", 2.25));

    EXPECT_EQ(u"  ab|ab  |00ab", Wide(u"%4s|%-4s|%04s", u"ab", u"ab", u"ab"));
    EXPECT_EQ(u"ab|abc|   中", Wide(u"%.2s|%.*S|%*S", u"abcd", 3, "abcdef", 4, "中"));
    EXPECT_EQ(u"ab  ", Wide(u"%*s", -4, u"ab"));  // a negative width justifies left
    // A precision reads no further, and cuts no UTF-8 character in two.
    const char unterminated[3] = {'a', 'b', 'c'};
    const char16_t wideUnterminated[2] = {u'x', u'y'};
    EXPECT_EQ(u"abc|xy", Wide(u"%.3S|%.2s", unterminated, wideUnterminated));
    EXPECT_EQ(u"a", Wide(u"%.3S", "a中"));
    EXPECT_EQ(u"a中", Wide(u"%.4S", "a中"));

    // Numbers are C's; invalid formats and too small a buffer give -1.
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
