// Module identity: the build tag's trim and the path lookups.
#include <gtest/gtest.h>

#include <filesystem>
#include <string>

#include "moduleinfo.h"
#include "report_capture.h"
#include "scratch_dir.h"

namespace {

TEST(ModuleTagInfo, TrimsThePaddingAtBothEnds) {
    char out[kModuleTagInfoChars + 1];
    const std::string padded = " \t`abc` \r\n" + std::string(54, '`');
    EXPECT_STREQ("abc", TrimModuleTagInfo(padded.c_str(), out));
    EXPECT_STREQ("", TrimModuleTagInfo(std::string(64, '`').c_str(), out));
    const std::string full(64, 'z');  // no padding, no terminator needed behind it
    EXPECT_EQ(full, TrimModuleTagInfo((full + "|ModuleInfoEnd").c_str(), out));
}

TEST(ModulePaths, OfThisModuleAndTheExecutable) {
    ReportCapture reports;
    // Linked statically, this code's module is the test program itself.
    const std::string path = GetThisModulePathName();
    EXPECT_EQ(std::filesystem::canonical("/proc/self/exe").string(), path);
    // The toolkit's grammar, as GetDirName gives it: "/opt/app/x" -> "\opt\app\".
    EXPECT_EQ(LibraryPath(path.substr(0, path.rfind('/') + 1)), GetThisModuleDir());
    EXPECT_EQ(GetThisModulePathName(), GetThisModulePathName());  // filled once
    EXPECT_STREQ(GetThisModuleDir(), GetExeDir());
    EXPECT_STREQ("smart_moduleinfo_tests", GetExeName());
    EXPECT_EQ(0, reports.Count());

    char small[4];
    EXPECT_EQ(nullptr, GetThisModuleFileName(small, sizeof(small)));  // it would be cut
    EXPECT_STREQ("", small);
}

}  // namespace
