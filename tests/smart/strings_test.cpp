#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "unit_text.h"
#include "ministr.h"
#include "ptrstr.h"
#include "report_capture.h"
#include "smartstr.h"
#include "straccessor.h"
#include "strtmpl.h"

namespace {

std::string S(const PtrStr& s) {
    return s.ToString();
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
        EXPECT_EQ(c.expected ? c.expected : "", S(c.slice));
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
// through SplitStr in the string kit's tests; these are the edges.
template <class CHAR>
class SplitTextTest : public ::testing::Test {};
TYPED_TEST_SUITE(SplitTextTest, TextUnits);

template <class CHAR>
bool Collect(void* param, const CHAR* piece, int32_t len) {
    auto* pieces = static_cast<std::vector<std::string>*>(param);
    pieces->push_back(Bytes(std::basic_string<CHAR>(piece, static_cast<size_t>(len))));
    return true;
}

TYPED_TEST(SplitTextTest, ModesQuotingAndASetOfSeparators) {
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
            EXPECT_TRUE(SplitText(&Collect<TypeParam>, &got, text.c_str(), len,
                                  SplitSeparator<TypeParam>(separators.c_str()), c.mode, c.quoted));
            EXPECT_EQ(c.pieces, got) << c.text << " mode " << c.mode << " len " << len;
        }
    }
    EXPECT_EQ(0, reports.Count());
}

}  // namespace
