#include <gtest/gtest.h>
#include <unistd.h>

#include <cerrno>
#include <csignal>
#include <cstdlib>
#include <regex>
#include <string>

#include "qdr/qdassert.h"
#include "report_capture.h"

namespace {

std::string Field(const std::string& text, const std::string& name) {
    size_t at = text.find(name);
    if (at == std::string::npos) return "<missing " + name + ">";
    at += name.size();
    return text.substr(at, text.find('\n', at) - at);
}

TEST(AssertReport, TheWholeTemplateTitlesLongPathsAndIgnore) {
    ReportCapture reports;
    int out_len = 0;
    const int line = __LINE__ + 1;
    QDR_CHECK(out_len);
    ASSERT_EQ(1, reports.Count());
    const std::string text = reports.Reports()[0].text;
    // Stack lines, CR LF, then the report.
    std::regex shape(
        "(?:[^\\r\\n]+\\r\\n)*\\r\\nDebug Assertion Failed\\(\\(null\\)\\)!\\n\\n"
        "PID    : ([0-9]+)\\nTID    : ([0-9]+)\\(0x([0-9A-F]{8})\\)\\n"
        "Program: ([^\\n]+)\\nModule : ([^\\n]+)\\n"
        "Time   : [0-9]{4}/[0-9]{2}/[0-9]{2} [0-9]{2}:[0-9]{2}:[0-9]{2}\\.[0-9]{3}\\n"
        "Cycle  : [0-9A-F]{4},[0-9A-F]{4},[0-9A-F]{4},[0-9A-F]{4}\\n\\n"
        "File   : [^\\n]+\\(([0-9]+)\\)\\nExpression: \\(\\(out_len\\)\\)\\n\\n"
        "\\(Press Retry to debug the application\\)");
    std::smatch m;
    ASSERT_TRUE(std::regex_match(text, m, shape)) << text;
    EXPECT_EQ(std::to_string(getpid()), m[1].str());
    EXPECT_EQ(std::stoul(m[2].str()), std::stoul(m[3].str(), nullptr, 16));
    // The arguments follow the program; the check lives in the program itself.
    std::string args;
    for (size_t i = 1; i < ::testing::internal::GetArgvs().size(); ++i)
        args += " " + ::testing::internal::GetArgvs()[i];
    const std::string program = m[4].str();
    ASSERT_GE(program.size(), args.size());
    EXPECT_EQ(args, program.substr(program.size() - args.size()));
    EXPECT_EQ(program.substr(0, program.size() - args.size()), m[5].str());
    EXPECT_NE(std::string::npos, program.find("qdr_tests")) << program;
    EXPECT_EQ(std::to_string(line), m[6].str());
    EXPECT_EQ(1, reports.CountMessage("(null)"));  // a plain check's null message, printed

    // The forms of the title.
    ReportCapture forms;
    qdr_AssertPrintfBox(__FILE__, 1, "(a)", nullptr);
    qdr_AssertPrintfBox(__FILE__, 2, "(b)", "%s", "");
    // An empty format through the va_list entry, which has no literal to check.
    auto viaList = [](const char* fmt, ...) {
        va_list args;
        va_start(args, fmt);
        qdr_vAssertPrintfBox(__FILE__, 3, "(c)", fmt, args);
        va_end(args);
    };
    viaList("");
    qdr_AssertPrintfBox(__FILE__, 4, "(d)", "x");
    qdr_AssertPrintfBox(__FILE__, 5, "(e)", "%s: %d", "count", 12);
    std::vector<CapturedReport> all = forms.Reports();
    ASSERT_EQ(5u, all.size());
    const char* titles[] = {"", "()", "", "(x)", "(count: 12)"};
    for (size_t i = 0; i < 5; ++i)
        EXPECT_EQ("Debug Assertion Failed" + std::string(titles[i]) + "!",
                  Field("\r\n" + all[i].text, "\r\n\r\n"));
    EXPECT_EQ("count: 12", all[4].message);
    EXPECT_EQ("((e))", Field(all[4].text, "Expression: "));

    // Long paths are shortened to their tail.
    ReportCapture paths;
    // clang-format off
    const struct { std::string path, shown; } pathCases[] = {
        {"/" + std::string(53, 'a'), "/" + std::string(53, 'a')},
        {std::string(55, 'b'), "..." + std::string(40, 'b')},
        // No separator among the characters len-50 .. len-41: the last 40 characters.
        {std::string(30, 'c') + "/" + std::string(69, 'd'), "..." + std::string(40, 'd')},
        // A separator exactly at len-50: 50 characters beginning with it.
        {std::string(20, 'e') + "\\" + std::string(49, 'f'), "...\\" + std::string(49, 'f')},
        // The leftmost separator of the window wins.
        {std::string(20, 'g') + "/hh/" + std::string(44, 'i'), ".../hh/" + std::string(44, 'i')},
    };
    // clang-format on
    for (const auto& c : pathCases) {
        qdr_AssertPrintfBox(c.path.c_str(), 9, "(x)", nullptr);
        EXPECT_EQ(c.shown + "(9)", Field(paths.Reports().back().text, "File   : "));
    }
    // The handler is told the site's own path, not the shortened one.
    EXPECT_EQ(pathCases[1].path, paths.Reports()[1].file);

    // Ignore restores errno, and each failure reports again.
    ReportCapture ignored;
    for (int i = 0; i < 2; ++i) {
        errno = ENOSPC;
        QDR_CHECK_MSG(i < 0, "pass %d", i);
        EXPECT_EQ(ENOSPC, errno);
    }
    EXPECT_EQ(2, ignored.Count("(i < 0)"));
    EXPECT_EQ(1, ignored.CountMessage("pass 1"));
}

// A failed check answered by a handler, or with no handler by the environment.
void FailsACheck(int answer, const char* environment = nullptr) {
    ReportCapture reports(answer);
    if (environment) {
        qdr_SetAssertReportHandler(nullptr);
        setenv("QDR_ASSERT_ANSWER", environment, 1);
    }
    QDR_CHECK_MSG(false, "%s", "from a test");
    _exit(3);
}

TEST(AssertReportDeathTest, AbortEndsWith255RetryStopsAtTheTrapIgnoreGoesOn) {
    GTEST_FLAG_SET(death_test_style, "threadsafe");
    EXPECT_EXIT(FailsACheck(QDR_IDABORT), ::testing::ExitedWithCode(255), "");
    EXPECT_EXIT(FailsACheck(QDR_IDRETRY), ::testing::KilledBySignal(SIGTRAP), "");
    EXPECT_EXIT(FailsACheck(0, "abort"), ::testing::ExitedWithCode(255),
                "Debug Assertion Failed\\(from a test\\)!");
    EXPECT_EXIT(FailsACheck(0, "ignore"), ::testing::ExitedWithCode(3), "Smart Debug Lib - DEBUG");
}

}  // namespace
