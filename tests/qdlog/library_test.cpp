// libqdlog_9d.so as applications see it: exactly 36 dynamic symbols, events
// through the exports and the header's level macros, and the build tag in the file.
#include <gtest/gtest.h>

#include <iterator>
#include <map>
#include <set>
#include <sstream>
#include <string>
#include <vector>

#include "child_process.h"
#include "qdlog.h"
#include "scratch_dir.h"

namespace {

const char kExports[] =
    "QDLogEventX QDLogEventX_A QDLogEventX_W GetQDLogMaskPtr QDLogCanConfig QDLogSetDir "
    "QDLogGetDir QDLogGetFileName QDLogFlushFile QDLogSetFlushLines QDLogGetFlushLines "
    "QDLogSetFileSizeLimit QDLogGetFileSizeLimit QDLogScreen QDLogGetScreen QDLogToFile "
    "QDLogGetToFile QDLogOutputToDebuger QDLogIsOutputDebuger QDLogSetLife QDLogGetLife "
    "QDLogSetLife2 QDLogGetLife2 QDLogSetReserve QDLogGetReserve QDLogSetMaxFileNum "
    "QDLogGetMaxFileNum QDLogSetPrintCpuCycle QDLogIsPrintCpuCycle QDLogSetPrintMSEL "
    "QDLogIsPrintMSEL QDLogSetEventTitle QDLogGetEventTitle QDLogAddCallback "
    "QDLogRemoveCallback GetModuleTagInfo";

TEST(SharedLibrary, ExportsExactlyTheThirtySixFunctions) {
    ChildProcess nm({QDLOG_NM, "-D", "--defined-only", QDLOG_LIBRARY_FILE});
    std::istringstream lines(nm.ReadAll());
    ASSERT_EQ(0, nm.Wait());
    std::map<std::string, std::string> addresses;  // "<address> T <name>" lines
    for (std::string address, kind, name; lines >> address >> kind >> name;)
        addresses[name] = address;
    std::set<std::string> names;
    for (const auto& entry : addresses) names.insert(entry.first);
    std::istringstream words(kExports);
    const std::set<std::string> exports{std::istream_iterator<std::string>(words),
                                        std::istream_iterator<std::string>()};
    EXPECT_EQ(36u, exports.size());
    EXPECT_EQ(exports, names);
    // Not a copy: one routine under two names.
    EXPECT_EQ(addresses["QDLogEventX"], addresses["QDLogEventX_A"]);
}

TEST(SharedLibrary, CarriesItsBuildTagInTheFile) {
    const std::string image = Contents(QDLOG_LIBRARY_FILE);
    EXPECT_NE(std::string::npos,
              image.find("ModuleInfoBegin|MIDKIT_2.0.0.SVN72918_release20161118#121200_NoTNoW_"
                         "RealLogIni``|ModuleInfoEndFA2E432D"));
    EXPECT_STREQ("MIDKIT_2.0.0.SVN72918_release20161118#121200_NoTNoW_RealLogIni",
                 GetModuleTagInfo());
}

std::vector<std::string> g_lines;

void Record(void*, int type, const char* head, int headLen, const char* text, int textLen) {
    g_lines.push_back(std::to_string(type) + "|" +
                      std::string(head, static_cast<size_t>(headLen)).substr(headLen ? 23 : 0) +
                      std::string(text, static_cast<size_t>(textLen)));
}

class ThroughTheExports : public testing::Test {
protected:
    void SetUp() override {
        QDLogToFile(0);  // no file beside the test program
        QDLogScreen(0);
        QDLogOutputToDebuger(1);
        QDLogAddCallback(Record, &g_lines);
        g_lines.clear();
    }
    void TearDown() override {
        QDLogRemoveCallback(&g_lines);
        *GetQDLogMaskPtr() = 0xFFFFFFFF;
    }
};

TEST_F(ThroughTheExports, EventsOfBothWidthsAndLevelMacrosThatTestTheMaskFirst) {
    *GetQDLogMaskPtr() = QDLOG_MASK_ERROR | QDLOG_MASK_DEVELOP;
    int evaluated = 0;
    QDLOG_INFO_W(u"info %d", ++evaluated);
    QDLOG_DEVELOP("develop");
    QDLOG_ERROR_W(u"error %s", u"wide");
    EXPECT_EQ(0, evaluated);
    QDLogEvent(1, "narrow %d\nsecond", 1);
    QDLogEventW(20, u"wide %s %S", u"中文", "narrow");
    QDLogEvent(31, "raw");
    EXPECT_EQ(
        (std::vector<std::string>{"20||内部:develop", "2||错误:error wide", "1||警告:narrow 1",
                                  "1||警告:second", "20||内部:wide 中文 narrow", "31|raw"}),
        g_lines);
}

TEST_F(ThroughTheExports, BadEventsAreReportedOnStandardErrorAndDropped) {
    testing::internal::CaptureStderr();
    QDLogEvent(32, "x");
    const std::string report = testing::internal::GetCapturedStderr();
    EXPECT_NE(std::string::npos, report.find("Expression: ((fmt && 0<=type && type<32))"))
        << report;
    EXPECT_NE(std::string::npos, report.find("libqdlog_9d.so")) << report;
    EXPECT_TRUE(g_lines.empty());
}

}  // namespace
