// The code page 936 transforms against glibc's iconv CP936, and the rules around
// the tables: single bytes, best fits, user-defined areas, capacities.
#include <iconv.h>

#include <string>

#include <gtest/gtest.h>

#include "chartransform.h"

namespace {

bool IsUserDefined(char16_t u) {
    return u >= 0xE000 && u <= 0xF8FF;
}

// One conversion by iconv: the output bytes, or empty when it refuses.
std::string Iconv(iconv_t cd, std::string in) {
    iconv(cd, nullptr, nullptr, nullptr, nullptr);
    char out[16];
    char *src = &in[0], *dst = out;
    size_t left = in.size(), room = sizeof out;
    if (iconv(cd, &src, &left, &dst, &room) == static_cast<size_t>(-1) || left) return "";
    return std::string(out, dst);
}

std::string Gb(const std::u16string& text, int capacity = 64) {
    char out[64];
    int len = capacity;
    const bool ok = UnicodeToGb2312(text.c_str(), int(text.size()), out, &len);
    EXPECT_EQ(ok, len >= 0);
    return ok ? std::string(out, len) : "refused";
}

std::u16string Unicode(const std::string& text, int capacity = 64) {
    char16_t out[64];
    int len = capacity;
    const bool ok = Gb2312ToUnicode(text.c_str(), int(text.size()), out, &len);
    EXPECT_EQ(ok, len >= 0);
    return ok ? std::u16string(out, len) : u"refused";
}

TEST(GbkTables, EveryCodePointAgreesWithIconvAndTheRulesAroundTheTables) {
    iconv_t toUnicode = iconv_open("UTF-16LE", "CP936"),
            fromUnicode = iconv_open("CP936", "UTF-16LE");
    ASSERT_NE(reinterpret_cast<iconv_t>(-1), toUnicode);
    int pairs = 0, inverse = 0, bestFit = 0;
    for (int lead = 0x81; lead <= 0xFE; ++lead)
        for (int trail = 1; trail <= 0xFF; ++trail) {
            const unsigned char bytes[2] = {uint8_t(lead), uint8_t(trail)};
            char16_t ours = 0, theirs = 0;
            const int n = Gb2312CharToUnicode(bytes, 2, &ours);
            const std::string unit = Iconv(toUnicode, std::string(bytes, bytes + 2));
            if (unit.size() == 2) theirs = char16_t(uint8_t(unit[0]) | uint8_t(unit[1]) << 8);
            pairs += theirs && !IsUserDefined(theirs);
            ASSERT_EQ(theirs && !IsUserDefined(theirs) ? 2 : kGbNoMapping, n)
                << std::hex << lead << trail;
            ASSERT_TRUE(n != 2 || ours == theirs) << std::hex << lead << trail;
        }
    for (int code = 0x80; code <= 0xFFFF; ++code) {
        if (code >= 0xD800 && code <= 0xDFFF) continue;
        unsigned char ours[8];
        const int n = UnicodeCharToGb2312(char16_t(code), ours, sizeof ours);
        const std::string theirs = Iconv(fromUnicode, {char(code & 0xFF), char(code >> 8)});
        if (!theirs.empty() && !IsUserDefined(char16_t(code))) {
            inverse += theirs.size() == 2;
            ASSERT_EQ(theirs, std::string(reinterpret_cast<char*>(ours), n > 0 ? n : 0))
                << std::hex << code;
        } else if (n == 2) {  // a best fit: reads back as another character
            ++bestFit;
            char16_t back = 0;
            ASSERT_EQ(2, Gb2312CharToUnicode(ours, 2, &back));
            EXPECT_TRUE(back != code && code >= 0x100) << std::hex << code;
        } else {
            ASSERT_EQ(kGbNoMapping, n) << std::hex << code;
        }
    }
    EXPECT_EQ(21791, pairs);
    EXPECT_EQ(21791, inverse);
    EXPECT_EQ(380, bestFit);
    iconv_close(toUnicode);
    iconv_close(fromUnicode);

    // The characters themselves are compared with iconv; here the text around them.
    EXPECT_EQ("a\x80", Gb(u"a€"));
    EXPECT_EQ(u"€", Unicode("\x80"));
    EXPECT_EQ(u"a\u00D6", Unicode("a\xD6"));  // a lead byte at the end stands alone
    EXPECT_EQ(u"\u00FFA", Unicode("\xFF"
                                  "A"));         // no row behind 0xFF
    EXPECT_EQ(u"refused", Unicode("\x81\x7F"));  // a trail byte outside the row
    EXPECT_EQ(u"refused", Unicode("\xAA\xA1"));  // user-defined area
    EXPECT_EQ("refused", Gb(u"\uE000"));
    EXPECT_EQ("refused", Gb(u"x\u00C9"));  // best fits of the first row are not taken
    EXPECT_EQ("", Gb(u""));
    // The terminator needs room: a capacity of exactly the output fails.
    EXPECT_EQ("refused", Gb(u"中文", 4));
    EXPECT_EQ("\xD6\xD0\xCE\xC4", Gb(u"中文", 5));
    EXPECT_EQ(u"refused", Unicode("\xD6\xD0\xCE\xC4", 2));
    EXPECT_EQ(u"中文", Unicode("\xD6\xD0\xCE\xC4", 3));

    unsigned char one[2];
    EXPECT_EQ(kGbTooShort, UnicodeCharToGb2312(u'中', one, 1));
    EXPECT_EQ(1, UnicodeCharToGb2312(u'a', one, 1));
}

}  // namespace
