// IniReader: the syntax rules, the lookups, and the files it does not read.
#include <gtest/gtest.h>

#include <unistd.h>

#include <climits>
#include <fstream>
#include <string>

#include "inireader.h"
#include "report_capture.h"

namespace {

const std::string kPath = testing::TempDir() + "inireader-" + std::to_string(getpid()) + ".ini";

const char* Written(const std::string& bytes) {
    std::ofstream(kPath, std::ios::binary) << bytes;
    return kPath.c_str();
}

std::string Get(const IniReader& ini, const char* section, const char* key) {
    char out[64];
    ini.GetString(section, key, "<absent>", out, sizeof(out));
    return out;
}

TEST(IniReader, SyntaxLookupsAndLargeFiles) {
    const struct {
        std::string text;
        const char *section, *key, *value;
    } cases[] = {
        {"[s]\n \t k \t= \t v 1\t \n", "s", "k", "v 1"},  // trimmed
        {"[ \ts ]\rk=v", "s", "k", "v"},                  // CR ends a line too
        {"[s]\r\nk==a=b\r\n", "s", "k", "=a=b"},
        {"[s]\nk=", "s", "k", ""},
        {"[params]\nflush_lines = 20 # many", "params", "flush_lines", "20 # many"},
        {"[s]\nk=1\nk=2", "s", "k", "1"},                 // the first value stands
        {"[s]\na=1\n[t]\n[s]\na=3\nc=4", "s", "a", "1"},  // a section goes on
        {"[s]\na=1\n[t]\n[s]\na=3\nc=4", "s", "c", "4"},
        {"[s]\n#k=1\nk=2", "s", "k", "2"},
        {"[s]\n  # k=1", "s", "# k", ""},  // a key, which cannot be asked for
        {"[s]\n[t\nk=1", "s", "k", "1"},   // "[t" is ignored
        {"[Params]\nk=1", "params", "k", "<absent>"},
        {"k=1\n[s]", "s", "k", "<absent>"},
        {"[s]\n[ ]\nk=1", "s", "k", "<absent>"},
        {"[s]\nk\n", "s", "k", "<absent>"},
        {"[\xE4\xB8\xAD]\nk=\xE6\x96\x87", "\xE4\xB8\xAD", "k", "\xE6\x96\x87"},
        {std::string("[s]\nk=a\0b\n", 10), "s", "k", "a"},  // a NUL ends the copy only
    };
    ReportCapture reports;
    for (const auto& c : cases)
        EXPECT_EQ(c.value, Get(IniReader(Written(c.text)), c.section, c.key)) << c.text;
    EXPECT_EQ(1, reports.Count("(false)"));  // the key with '#'

    const IniReader ini(Written("[s]\nk=abcdef\n"));
    char out[8] = "*******";
    EXPECT_EQ(0, ini.GetString("s", "k", "", out, 0));
    EXPECT_EQ('*', out[0]);
    EXPECT_EQ(0, ini.GetString("s", "k", "", out, 1));
    EXPECT_STREQ("", out);
    EXPECT_EQ(3, ini.GetString("s", "k", "", out, 4));
    EXPECT_STREQ("abc", out);
    EXPECT_EQ(0, ini.GetString("s", "x", nullptr, out, 8));
    EXPECT_EQ(4, ini.GetString("t", "k", "dflt", out, 8));
    EXPECT_STREQ("dflt", out);
    ReportCapture lookups;
    EXPECT_EQ(0, ini.GetString("s", "a#b", "dflt", out, 8));
    EXPECT_STREQ("", out);
    EXPECT_EQ(1, lookups.Count("(false)"));

    // GetInt reads as atoi does, and clamps when asked.
    const IniReader numbers(
        Written("[n]\na=12x\nb=abc\nc=\nd=0x10\ne=-1\nf=99999999999\ng=-99999999999\nh=+7\n"
                "i=1234567890123456789012345678901234\n"));
    const std::pair<const char*, int> ints[] = {
        {"a", 12},      {"b", 0},       {"c", 0}, {"d", 0},       {"e", -1},
        {"f", INT_MAX}, {"g", INT_MIN}, {"h", 7}, {"i", INT_MAX}, {"absent", 42}};
    for (const auto& [key, value] : ints) EXPECT_EQ(value, numbers.GetInt("n", key, 42)) << key;

    EXPECT_EQ(10, numbers.GetInt("n", "f", 5, true, 1, 10));
    EXPECT_EQ(1, numbers.GetInt("n", "b", 5, true, 1, 10));
    EXPECT_EQ(5, numbers.GetInt("n", "absent", 5, true, 1, 10));
    EXPECT_EQ(10, numbers.GetInt("n", "absent", 50, true, 1, 10));
    EXPECT_EQ(1, lookups.Count("(minVal<=defaultVal && defaultVal<=maxVal)"));

    // Of a file beyond the bound, the keys in its whole lines within the bound count,
    // in every encoding; the line that the bound cuts is left out.
    ReportCapture fileReports;
    EXPECT_EQ(0, IniReader(Written("")).SectionCount());
    EXPECT_EQ(0, IniReader(Written("# a\n \t\n\r\n")).SectionCount());
    EXPECT_EQ(0, IniReader((kPath + ".missing").c_str()).SectionCount());
    const std::string keys = "[s]\nk=1\n[t]\nz=2\nk=3\n";
    const std::string huge = "long=" + std::string(IniReader::kMaxFileBytes, 'x') + "\nafter=1\n";
    const std::string cut =
        std::string(IniReader::kMaxFileBytes - keys.size() - 4, '#') + "\nc=12345\n";
    for (const std::string& mark : {std::string(), std::string("\xEF\xBB\xBF")}) {
        const IniReader big(Written(mark + keys + huge));
        EXPECT_EQ(1, big.GetInt("s", "k", 0));
        EXPECT_EQ(3, big.GetInt("t", "k", 0));
        EXPECT_EQ(-1, big.GetInt("t", "long", -1));
        EXPECT_EQ(-1, big.GetInt("t", "after", -1));
        const IniReader bounded(Written(mark + keys + cut));
        EXPECT_EQ(1, bounded.GetInt("s", "k", 0));
        EXPECT_EQ(-1, bounded.GetInt("t", "c", -1));  // "c=1" within the bound is no key
    }
    std::u16string wide = u"\xFEFF[s]\nk=7\n" + std::u16string(IniReader::kMaxFileBytes, u'x');
    EXPECT_EQ(
        7,
        IniReader(Written(std::string(reinterpret_cast<const char*>(wide.data()), wide.size() * 2)))
            .GetInt("s", "k", 0));
    EXPECT_EQ(0, fileReports.Count());
}

}  // namespace
