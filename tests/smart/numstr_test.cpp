// Decimal strings, narrow and wide: every test runs for char and char16_t.
#include <gtest/gtest.h>

#include <algorithm>
#include <cstdint>
#include <string>
#include <vector>

#include "unit_text.h"
#include "numstr.h"
#include "report_capture.h"

namespace {

template <class CHAR>
class NumStr : public ::testing::Test {};
TYPED_TEST_SUITE(NumStr, TextUnits);

TYPED_TEST(NumStr, DecimalStringsComparisonsRadixesGroupsAndByteSizes) {
    typedef TypeParam C;
    // clang-format off
    struct Case { char op; const char *a, *b, *expected; } cases[] = {
        // Digits alone are checked against Python's integers; here the buffer form,
        // the digit rules and refused texts.
        {'+', "999", "1", "1000"}, {'+', "12a", "1", ""},    {'+', "", "1", ""},
        {'-', "1", "2", "9"},      {'-', "1x", "1", ""},     {'*', "007", "010", "70"},
        {'*', "1a", "2", ""},
    };
    // clang-format on
    for (const Case& c : cases) {
        const std::basic_string<C> a = Txt<C>(c.a), b = Txt<C>(c.b);
        // Into a buffer and into a string.
        auto apply = [&](auto& out) {
            return c.op == '+'   ? Bytes(AddNumStr(out, a.c_str(), b.c_str()))
                   : c.op == '-' ? Bytes(SubNumStr(out, a.c_str(), b.c_str()))
                                 : Bytes(MulNumStr(out, a.c_str(), b.c_str()));
        };
        C buf[16];
        std::basic_string<C> text;
        EXPECT_EQ(c.expected, apply(buf)) << c.a << c.op << c.b;
        EXPECT_EQ(c.expected, apply(text)) << c.a << c.op << c.b;
    }
    C buf[8];
    EXPECT_EQ(buf + 1, AddNumStr(buf, Txt<C>("1").c_str(), Txt<C>("2").c_str()));
    std::basic_string<C> sum;
    EXPECT_EQ("105", Bytes(AddIntToNumStr(sum, Txt<C>("100").c_str(), 5)));
    EXPECT_EQ("095", Bytes(AddIntToNumStr(sum, Txt<C>("100").c_str(), -5)));
    EXPECT_EQ("7852516357", Bytes(AddIntToNumStr(sum, Txt<C>("5").c_str(), INT32_MIN)));

    // Comparisons in total, natural and numbered order.
    std::vector<std::basic_string<C>> sorted;
    for (const char* n : {"0", "000", "7", "07", "007", "9", "10", "010", "99999999999999999999"})
        sorted.push_back(Txt<C>(n));
    std::vector<std::basic_string<C>> shuffled(sorted.rbegin(), sorted.rend());
    std::sort(shuffled.begin(), shuffled.end(),
              [](const auto& x, const auto& y) { return CompareNumStr(x.c_str(), y.c_str()) < 0; });
    EXPECT_EQ(sorted, shuffled);
    EXPECT_EQ(0, CompareNumStr(Txt<C>("0042").c_str(), Txt<C>("0042").c_str()));
    ReportCapture reports;
    EXPECT_LT(CompareNumStr(Txt<C>("").c_str(), Txt<C>("0").c_str()), 0);
    EXPECT_EQ(1, reports.Count("(len1>0 && len2>0)"));

    // Natural and numbered comparison.
    auto sign = [](int r) { return (r > 0) - (r < 0); };
    // natural, numbered: case-sensitive results
    // clang-format off
    struct Order { const char *a, *b; int natural, numbered; } orders[] = {
        {"a10", "a9", 1, 1},     {"1.5", "1.25", 1, -1},  {"1.05", "1.5", -1, 1},
        {"1.5", "1.50", -1, -1}, {"v1.10", "v1.9", -1, 1}, {"a.5", "a.25", -1, -1},
        {"x2.5", "x10.1", -1, -1}, {"file09", "file10", -1, -1}, {"abc", "ABC", 1, 1},
        {"file", "file1", -1, -1}, {"007", "7", 1, 1},    {"", "", 0, 0},
    };
    // clang-format on
    for (const Order& c : orders) {
        const std::basic_string<C> a = Txt<C>(c.a), b = Txt<C>(c.b);
        EXPECT_EQ(c.natural, sign(CompareStrNatural(a.c_str(), b.c_str()))) << c.a << " " << c.b;
        EXPECT_EQ(c.numbered, sign(CompareStrNumbered(a.c_str(), b.c_str()))) << c.a << " " << c.b;
    }
    EXPECT_EQ(0, CompareStrNatural(Txt<C>("abc").c_str(), Txt<C>("ABC").c_str(), -1, -1, false));
    EXPECT_EQ(0,
              CompareStrNumbered(Txt<C>("F10.LOG").c_str(), Txt<C>("f10.log").c_str(), -1, false));
    // A counted text ends at its length; the numbered walk ends on the units at the limit.
    EXPECT_EQ(0, CompareStrNatural(Txt<C>("12x").c_str(), Txt<C>("12y").c_str(), 2, 2));
    EXPECT_LT(CompareStrNumbered(Txt<C>("abc").c_str(), Txt<C>("abd").c_str(), 2), 0);

    int consumed = -1;
    EXPECT_LT(CompareDigitRuns(&consumed, Txt<C>("123x").c_str(), Txt<C>("133x").c_str()), 0);
    EXPECT_EQ(3, consumed);
    EXPECT_EQ(1, CompareDigitRuns(&consumed, Txt<C>("10").c_str(), Txt<C>("9").c_str()));
    EXPECT_EQ(0, CompareDigitRuns(&consumed, Txt<C>("1234").c_str(), Txt<C>("1299").c_str(), 2));
    EXPECT_EQ(2, consumed);
    EXPECT_EQ(0, CompareDigitRuns(&consumed, Txt<C>("a1").c_str(), Txt<C>("1").c_str()));
    EXPECT_EQ(1, reports.Count("(IsNumLetter(*s1) && IsNumLetter(*s2))"));

    // Radix 10 also goes through the byte sizes; here the other radixes, the groups and
    // the way back.
    C radixText[80];
    EXPECT_EQ("FFFFFFFFFFFFFF01", Bytes(IntToStr(radixText, -255, 16)));
    EXPECT_EQ("-0,012", Bytes(IntToGroupedStr(radixText, -12, 10, 4, 3, ',', true)));
    EXPECT_EQ("ff_ff", Bytes(IntToGroupedStr(radixText, 0xFFFF, 16, 0, 2, '_', false)));
    EXPECT_EQ(-42, StrToInt64(Txt<C>(" \t-42x7").c_str()));
    EXPECT_EQ(INT64_MIN, StrToInt64(Txt<C>("9223372036854775808").c_str()));  // wraps

    // Byte sizes, both ways.
    // clang-format off
    struct Format { int64_t value; int precision; const char* text; } formats[] = {
        {0, -1, "0B"}, {1023, -1, "1023B"}, {1024, -1, "1K"}, {1536, -1, "1.5K"}, {2048, -1, "2K"},
        {-1536, -1, "-1.5K"}, {1048576, -1, "1M"}, {1048575, -1, "1023.999K"}, {2047, 1, "1K"},
        {1536, 0, "1K"}, {10240, 99, "10K"}, {(3LL << 30) + (1LL << 29), 2, "3.5G"},
        {1LL << 40, -1, "1T"}, {INT64_MIN, -1, "-8388608T"},
    };
    // clang-format on
    C sizeText[kByteSizeTextSize];
    for (const Format& f : formats)
        EXPECT_EQ(f.text, Bytes(FormatByteSize(f.value, sizeText, f.precision))) << f.value;

    // value -1: refused
    // clang-format off
    struct Parse { const char* text; int64_t value; } parses[] = {
        {"10", 10}, {"10b", 10}, {"10K", 10240}, {"1t", 1LL << 40}, {"3M", 3LL << 20},
        {"k", -1}, {"10x", -1}, {"", -1}, {"1 K", -1}, {"9223372036854775807", INT64_MAX},
        {"9223372036854775808", -1}, {"8388607T", 8388607LL << 40}, {"8388608T", -1},
        {"0009223372036854775807", -1},  // leading zeros count against the limit
    };
    // clang-format on
    for (const Parse& p : parses) {
        int64_t value = -1;
        EXPECT_EQ(p.value != -1, ParseByteSize(Txt<C>(p.text).c_str(), &value)) << p.text;
        EXPECT_EQ(p.value, value) << p.text;
    }
}

}  // namespace
