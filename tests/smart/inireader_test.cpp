// IniReader: the syntax rules, the lookups, and files it does not read.
#include <gtest/gtest.h>

#include <unistd.h>

#include <climits>
#include <filesystem>
#include <fstream>
#include <string>

#include "inireader.h"
#include "report_capture.h"
#include "smlib.h"

namespace {

std::string IniPath() {
    return testing::TempDir() + "inireader-" + std::to_string(getpid()) + ".ini";
}

// A reader over `bytes`, written to a file for the moment of reading.
struct Ini {
    explicit Ini(const std::string& bytes) : reader(Written(bytes)) {
        std::filesystem::remove(IniPath());
    }
    static const char* Written(const std::string& bytes) {
        static std::string path;
        path = IniPath();
        std::ofstream(path, std::ios::binary) << bytes;
        return path.c_str();
    }
    // The value, or "<absent>".
    std::string Get(const char* section, const char* key) const {
        char out[64];
        reader.GetString(section, key, "<absent>", out, sizeof(out));
        return out;
    }
    IniReader reader;
};

TEST(IniSyntax, LinesSectionsAndKeys) {
    struct Case {
        const char* name;
        std::string text;
        const char* section;
        const char* key;
        const char* value;
    } cases[] = {
        {"key and value are trimmed", "[s]\n \t k \t= \t v 1\t \n", "s", "k", "v 1"},
        {"section name is trimmed", "[ \ts ]\nk=v", "s", "k", "v"},
        {"CR, LF and CR LF all end lines", "[s]\rk=v\r\nj=w\n", "s", "j", "w"},
        {"further '=' belong to the value", "[s]\nk==a=b", "s", "k", "=a=b"},
        {"an empty value", "[s]\nk=", "s", "k", ""},
        {"no end-of-line comments", "[params]\nflush_lines = 20 # many", "params", "flush_lines",
         "20 # many"},
        {"first value wins", "[s]\nk=1\nk=2", "s", "k", "1"},
        {"a repeated section goes on", "[s]\na=1\n[t]\nb=2\n[s]\na=3\nc=4", "s", "c", "4"},
        {"...keeping its first values", "[s]\na=1\n[t]\nb=2\n[s]\na=3", "s", "a", "1"},
        {"a comment in the first column", "[s]\n#k=1\nk=2", "s", "k", "2"},
        {"'[s' is ignored: the section goes on", "[s]\n[t\nk=1", "s", "k", "1"},
        {"...and does not start one", "[s]\n[t\nk=1", "[t", "k", "<absent>"},
        {"case counts in sections", "[Params]\nk=1", "params", "k", "<absent>"},
        {"case counts in keys", "[s]\nK=1", "s", "k", "<absent>"},
        {"lines before the first section", "k=1\n[s]", "s", "k", "<absent>"},
        {"lines under an empty name", "[s]\n[ ]\nk=1", "s", "k", "<absent>"},
        {"a line without '='", "[s]\nk\n", "s", "k", "<absent>"},
        {"a NUL inside a value", std::string("[s]\nk=a\0b\n", 10), "s", "k", "a"},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.name);
        EXPECT_EQ(c.value, Ini(c.text).Get(c.section, c.key));
    }
}

TEST(IniSyntax, AnIndentedHashIsPartOfTheKey) {
    ReportCapture reports;
    const Ini ini("[params]\n  # flush_lines=1\n");
    EXPECT_EQ("<absent>", ini.Get("params", "flush_lines"));
    // Such a key exists, but nobody can ask for it.
    EXPECT_EQ("", ini.Get("params", "# flush_lines"));
    EXPECT_EQ(1, reports.Count("(false)"));
    EXPECT_EQ(1, ini.reader.SectionCount());
}

TEST(IniSyntax, ReadsEveryEncodingAsNarrowText) {
    const std::string text = "[\xE4\xB8\xAD]\r\nkey=\xE6\x96\x87\r\n";
    for (TextFileType type : {tft_ansi, tft_utf_16, tft_utf_16_be, tft_utf_8}) {
        const std::string path = IniPath();
        ASSERT_TRUE(WriteWholeTextFileEx(path.c_str(), type, text.c_str()));
        const IniReader reader(path.c_str());
        std::filesystem::remove(path);
        char out[8];
        EXPECT_EQ(3, reader.GetString("\xE4\xB8\xAD", "key", "", out, sizeof(out))) << type;
        EXPECT_STREQ("\xE6\x96\x87", out);
    }
}

TEST(IniGetString, CopiesWhatFitsAndTerminates) {
    const Ini ini("[s]\nk=abcdef\n");
    char out[8] = "*******";
    EXPECT_EQ(0, ini.reader.GetString("s", "k", "", nullptr, 8));
    EXPECT_EQ(0, ini.reader.GetString("s", "k", "", out, 0));
    EXPECT_EQ('*', out[0]);
    EXPECT_EQ(0, ini.reader.GetString("s", "k", "", out, 1));
    EXPECT_EQ(0, out[0]);
    EXPECT_EQ(3, ini.reader.GetString("s", "k", "", out, 4));
    EXPECT_STREQ("abc", out);
    EXPECT_EQ(6, ini.reader.GetString("s", "k", "", out, 8));
    EXPECT_STREQ("abcdef", out);
    EXPECT_EQ(0, ini.reader.GetString("s", "x", nullptr, out, 8));
    EXPECT_STREQ("", out);
    EXPECT_EQ(4, ini.reader.GetString("t", "k", "dflt", out, 8));
    EXPECT_STREQ("dflt", out);

    ReportCapture reports;
    for (const char* bad : {static_cast<const char*>(nullptr), "a#b"}) {
        EXPECT_EQ(0, ini.reader.GetString(bad, "k", "dflt", out, 8));
        EXPECT_STREQ("", out);
        EXPECT_EQ(0, ini.reader.GetString("s", bad, "dflt", out, 8));
    }
    EXPECT_EQ(4, reports.Count("(false)"));
}

TEST(IniGetInt, ReadsAsAtoiAndClampsWhenAsked) {
    const Ini ini(
        "[n]\nplain=12\ntail=12x\nword=abc\nempty=\nhex=0x10\nneg=-1\nhuge=99999999999\n"
        "low=-99999999999\nlong=1234567890123456789012345678901234\nsigned=+7\n");
    struct Case {
        const char* key;
        int value;
    } cases[] = {
        {"plain", 12},     {"tail", 12},  {"word", 0},       {"empty", 0},
        {"hex", 0},        {"neg", -1},   {"huge", INT_MAX}, {"low", INT_MIN},
        {"long", INT_MAX}, {"signed", 7}, {"absent", 42},
    };
    for (const Case& c : cases) EXPECT_EQ(c.value, ini.reader.GetInt("n", c.key, 42)) << c.key;

    EXPECT_EQ(10, ini.reader.GetInt("n", "plain", 5, true, 1, 10));
    EXPECT_EQ(1, ini.reader.GetInt("n", "word", 5, true, 1, 10));
    EXPECT_EQ(5, ini.reader.GetInt("n", "absent", 5, true, 1, 10));

    ReportCapture reports;
    EXPECT_EQ(10, ini.reader.GetInt("n", "absent", 50, true, 1, 10));
    EXPECT_EQ(1, reports.Count("(minVal<=defaultVal && defaultVal<=maxVal)"));
}

TEST(IniFiles, WhatIsNotReadLeavesAnEmptyReader) {
    ReportCapture reports;
    const std::string big = "[s]\nk=1\n" + std::string(IniReader::kMaxFileBytes, '#');
    const IniReader missing((IniPath() + ".missing").c_str());
    struct Case {
        const char* name;
        std::string bytes;
    } cases[] = {
        {"empty", ""},
        {"larger than the limit", big},
        {"only comments and blanks", "# a\n \t\n\r\n"},
    };
    EXPECT_EQ(0, missing.SectionCount());
    for (const Case& c : cases) EXPECT_EQ(0, Ini(c.bytes).reader.SectionCount()) << c.name;
    EXPECT_EQ(1, Ini(big.substr(0, IniReader::kMaxFileBytes)).reader.SectionCount());
    EXPECT_EQ(0, reports.Count());
}

}  // namespace
