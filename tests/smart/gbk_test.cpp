// The code page 936 transforms against glibc's iconv CP936, and the rules around
// the tables: single bytes, best fits, user-defined areas, capacities.
#include <iconv.h>

#include <string>

#include <gtest/gtest.h>

#include "chartransform.h"
#include "report_capture.h"

namespace {

bool IsUserDefined(char16_t u) {
    return u >= 0xE000 && u <= 0xF8FF;
}

// One conversion by iconv: the output bytes, or empty when it refuses.
class Iconv {
public:
    Iconv(const char* to, const char* from) : cd_(iconv_open(to, from)) {}
    ~Iconv() {
        if (cd_ != reinterpret_cast<iconv_t>(-1)) iconv_close(cd_);
    }
    bool Ready() const { return cd_ != reinterpret_cast<iconv_t>(-1); }
    std::string operator()(const std::string& in) {
        iconv(cd_, nullptr, nullptr, nullptr, nullptr);
        char out[16];
        char* src = const_cast<char*>(in.data());
        char* dst = out;
        size_t left = in.size(), room = sizeof out;
        if (iconv(cd_, &src, &left, &dst, &room) == static_cast<size_t>(-1) || left) return "";
        return std::string(out, dst);
    }

private:
    iconv_t cd_;
};

TEST(GbkTables, EveryCodePointAgreesWithIconv) {
    Iconv toUnicode("UTF-16LE", "CP936"), fromUnicode("CP936", "UTF-16LE");
    ASSERT_TRUE(toUnicode.Ready() && fromUnicode.Ready());
    int pairs = 0;
    for (int lead = 0x81; lead <= 0xFE; ++lead)
        for (int trail = 1; trail <= 0xFF; ++trail) {
            const unsigned char bytes[2] = {static_cast<unsigned char>(lead),
                                            static_cast<unsigned char>(trail)};
            char16_t ours = 0;
            const int n = Gb2312CharToUnicode(bytes, 2, &ours);
            const std::string theirs = toUnicode(std::string(bytes, bytes + 2));
            const char16_t u =
                theirs.size() == 2 ? char16_t(uint8_t(theirs[0]) | uint8_t(theirs[1]) << 8) : 0;
            if (u && !IsUserDefined(u)) {
                ++pairs;
                ASSERT_EQ(2, n) << std::hex << lead << ' ' << trail;
                ASSERT_EQ(u, ours) << std::hex << lead << ' ' << trail;
            } else {
                ASSERT_EQ(kGbNoMapping, n) << std::hex << lead << ' ' << trail;
            }
        }
    EXPECT_EQ(21791, pairs);

    int inverse = 0, bestFit = 0;
    for (int code = 0x80; code <= 0xFFFF; ++code) {
        if (code >= 0xD800 && code <= 0xDFFF) continue;
        const char16_t u = static_cast<char16_t>(code);
        unsigned char ours[8];
        const int n = UnicodeCharToGb2312(u, ours, sizeof ours);
        const char unit[2] = {static_cast<char>(code & 0xFF), static_cast<char>(code >> 8)};
        const std::string theirs = fromUnicode(std::string(unit, 2));
        if (!theirs.empty() && !IsUserDefined(u)) {
            inverse += theirs.size() == 2;
            ASSERT_EQ(std::string(reinterpret_cast<char*>(ours), n > 0 ? n : 0), theirs)
                << std::hex << code;
        } else if (n == 2) {
            ++bestFit;
            char16_t back = 0;
            ASSERT_EQ(2, Gb2312CharToUnicode(ours, 2, &back));
            EXPECT_NE(u, back) << std::hex << code;
            EXPECT_GE(code, 0x100) << std::hex << code;
        } else {
            ASSERT_EQ(kGbNoMapping, n) << std::hex << code;
        }
    }
    EXPECT_EQ(21791, inverse);
    EXPECT_EQ(380, bestFit);
}

std::string Gb(const std::u16string& text, int capacity = 64) {
    char out[64];
    int len = capacity;
    if (!UnicodeToGb2312(text.c_str(), static_cast<int>(text.size()), out, &len)) {
        EXPECT_EQ(-1, len);
        return "refused";
    }
    return std::string(out, len);
}

std::u16string Unicode(const std::string& text, int capacity = 64) {
    char16_t out[64];
    int len = capacity;
    if (!Gb2312ToUnicode(text.c_str(), static_cast<int>(text.size()), out, &len)) {
        EXPECT_EQ(-1, len);
        return u"refused";
    }
    return std::u16string(out, len);
}

TEST(GbkText, RulesAroundTheTables) {
    EXPECT_EQ("\xD6\xD0\xCE\xC4", Gb(u"中文"));
    EXPECT_EQ(u"中文", Unicode("\xD6\xD0\xCE\xC4"));
    EXPECT_EQ("a\x80", Gb(u"a€"));
    EXPECT_EQ(u"€", Unicode("\x80"));
    EXPECT_EQ("\xA8\xA1", Gb(u"\u0100"));  // a best fit: reads back as U+0101
    EXPECT_EQ(u"\u0101", Unicode("\xA8\xA1"));
    EXPECT_EQ(u"a\u00D6", Unicode("a\xD6"));  // a lead byte at the end stands alone
    EXPECT_EQ(u"\u00FFA", Unicode("\xFF"
                                  "A"));         // no row behind 0xFF
    EXPECT_EQ(u"refused", Unicode("\x81\x7F"));  // a trail byte outside the row
    EXPECT_EQ(u"refused", Unicode("\xAA\xA1"));  // user-defined area
    EXPECT_EQ("refused", Gb(u"\uE000"));
    EXPECT_EQ("refused", Gb(u"x\u00C9"));  // best fits of the first row are not taken
    EXPECT_EQ("refused", Gb(u"\xD800"));
    EXPECT_EQ("", Gb(u""));
    EXPECT_EQ(u"", Unicode(""));

    // The terminator needs room: a capacity of exactly the output fails.
    EXPECT_EQ("refused", Gb(u"中文", 4));
    EXPECT_EQ("\xD6\xD0\xCE\xC4", Gb(u"中文", 5));
    EXPECT_EQ(u"refused", Unicode("\xD6\xD0\xCE\xC4", 2));
    EXPECT_EQ(u"中文", Unicode("\xD6\xD0\xCE\xC4", 3));
    char16_t wide[4];
    int len = 4;
    EXPECT_TRUE(Gb2312ToUnicode("\xD6\xD0", -1, wide, &len));
    EXPECT_EQ(1, len);

    unsigned char one[2];
    char16_t code;
    EXPECT_EQ(kGbTooShort, UnicodeCharToGb2312(u'中', one, 1));
    EXPECT_EQ(kGbTooShort, UnicodeCharToGb2312(u'a', one, 0));
    EXPECT_EQ(1, UnicodeCharToGb2312(u'a', one, 1));
    EXPECT_EQ(kGbTooShort, Gb2312CharToUnicode(one, 0, &code));

    ReportCapture capture;
    len = 8;
    EXPECT_FALSE(UnicodeToGb2312(u"a", 1, nullptr, &len));
    EXPECT_EQ(-1, len);
    EXPECT_EQ(1, capture.Count());
}

}  // namespace
