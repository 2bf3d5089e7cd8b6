#include <gtest/gtest.h>

#include <string>

#include "qdr/platform/os.h"

namespace {

std::string ToUtf8(const std::u16string& s) {
    int n = os::Utf16ToUtf8(s.data(), static_cast<int>(s.size()), nullptr, 0);
    std::string out(static_cast<size_t>(n), '\0');
    EXPECT_EQ(n, os::Utf16ToUtf8(s.data(), static_cast<int>(s.size()), &out[0], n));
    return out;
}

std::u16string ToUtf16(const std::string& s) {
    int n = os::Utf8ToUtf16(s.data(), static_cast<int>(s.size()), nullptr, 0);
    std::u16string out(static_cast<size_t>(n), u'\0');
    EXPECT_EQ(n, os::Utf8ToUtf16(s.data(), static_cast<int>(s.size()), &out[0], n));
    return out;
}

TEST(TextConversion, InvalidInputBecomesReplacementCharacters) {
    // Unpaired surrogates, high and low.
    EXPECT_EQ(
        "a\xEF\xBF\xBD"
        "b\xEF\xBF\xBD",
        ToUtf8(std::u16string(u"a\xD800"
                              u"b\xDC00")));
    // A stray continuation byte, a truncated sequence, an overlong slash, a surrogate.
    EXPECT_EQ(u"\xFFFDx", ToUtf16("\x80x"));
    EXPECT_EQ(u"\xFFFD", ToUtf16("\xE4\xB8"));
    EXPECT_EQ(u"\xFFFD\xFFFD", ToUtf16("\xC0\xAF"));
    EXPECT_EQ(u"\xFFFD\xFFFD\xFFFD", ToUtf16("\xED\xA0\x80"));
}

TEST(TextConversion, TerminatorCountsForNegativeLengthsAndSmallBuffersFail) {
    char16_t wide[8];
    EXPECT_EQ(3, os::Utf8ToUtf16("ab", -1, wide, 8));
    EXPECT_EQ(0, wide[2]);
    EXPECT_EQ(0, os::Utf8ToUtf16("abc", 3, wide, 2));
    char narrow[8];
    EXPECT_EQ(0, os::Utf16ToUtf8(u"\x4E2D", 1, narrow, 2));
    EXPECT_EQ(4, os::Utf16ToUtf8(u"\x4E2D", -1, narrow, 8));
}

}  // namespace
