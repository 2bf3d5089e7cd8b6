// Module handles, the tag scan of module files and its trim, the paths of this
// module, the modules of a process and the comparison of module names.
#include <gtest/gtest.h>

#include <filesystem>

#include <string>

#include "moduleinfo.h"
#include "qdlog.h"
#include "report_capture.h"
#include "scratch_dir.h"

namespace {

const std::string kInfo = "MIDKIT_9.9`" + std::string(53, '`');

// The tag in units of `width` bytes (little-endian), with `prefix` bytes before it.
std::string Tag(int width, const std::string& info, const std::string& prefix = "") {
    const std::string narrow = "ModuleInfoBegin|" + info + "|ModuleInfoEnd" + "1234ABCD";
    std::string out = prefix;
    for (char c : narrow) {
        out += c;
        out.append(static_cast<size_t>(width - 1), '\0');
    }
    return out;
}

std::string ReadTag(const ScratchDir& dir, const std::string& image, std::string* suffix) {
    Write(dir / "m.so", image);
    char info[kModuleTagInfoChars + 1], suf[kModuleTagSuffixChars + 1];
    if (!ReadModuleTagFile((dir / "m.so").c_str(), info, suf)) return "(none)";
    *suffix = suf;
    return info;
}

}  // namespace

TEST(ModuleTag, TrimFoundInEachWidthLookupsPathsModulesAndSameNames) {
    char out[kModuleTagInfoChars + 1];
    const std::string padded = " \t`abc` \r\n" + std::string(54, '`');
    EXPECT_STREQ("abc", TrimModuleTagInfo(padded.c_str(), out));
    EXPECT_STREQ("", TrimModuleTagInfo(std::string(64, '`').c_str(), out));
    const std::string full(64, 'z');  // no padding, no terminator needed behind it
    EXPECT_EQ(full, TrimModuleTagInfo((full + "|ModuleInfoEnd").c_str(), out));

    ScratchDir dir("moduletag");
    const std::string markersOnly = "xxModuleInfoBegin|short|ModuleInfoEnd";
    const std::string zeroInside = Tag(1, std::string(10, 'a') + '\0' + std::string(53, 'a'));
    const std::pair<std::string, int> cases[] = {{Tag(1, kInfo, markersOnly), 1},
                                                 {zeroInside + Tag(1, kInfo), 1},
                                                 {Tag(2, kInfo, "odd"), 2},
                                                 {Tag(4, kInfo, markersOnly), 4}};
    for (const auto& [image, expectedWidth] : cases) {
        int width = 0;
        EXPECT_NE(nullptr, FindModuleTag(image.data(), static_cast<int>(image.size()), &width));
        EXPECT_EQ(expectedWidth, width);
        std::string suffix;
        EXPECT_EQ("MIDKIT_9.9", ReadTag(dir, image, &suffix));
        EXPECT_EQ("1234ABCD", suffix);
    }
    std::string suffix;
    EXPECT_EQ("(none)", ReadTag(dir, markersOnly, &suffix));
    EXPECT_EQ("(none)", ReadTag(dir, zeroInside, &suffix));
    EXPECT_EQ("(none)", ReadTag(dir, "", &suffix));

    // Module handles, lookups and the tag of a loaded library.
    const ModuleHandle self = GetThisModuleHandle();
    EXPECT_NE(0u, self);
    EXPECT_TRUE(IsModuleHandle(self));
    EXPECT_FALSE(IsModuleHandle(0));
    EXPECT_FALSE(IsModuleHandle(self + 16));
    EXPECT_EQ(self, GetModuleHandleByAddress(reinterpret_cast<void*>(&ReadTag)));
    EXPECT_EQ(0u, GetModuleHandleByAddress(nullptr));
    EXPECT_EQ(nullptr, CallModuleTagInfo(self));  // the program exports no tag
    const ModuleHandle library =
        GetModuleHandleByAddress(reinterpret_cast<void*>(&GetModuleTagInfo));
    ASSERT_NE(self, library);
    EXPECT_STREQ(GetModuleTagInfo(), CallModuleTagInfo(library));

    ReportCapture reports;
    // Linked statically, this code's module is the test program itself.
    const std::string path = GetThisModulePathName();
    EXPECT_EQ(std::filesystem::canonical("/proc/self/exe").string(), path);
    // The toolkit's grammar, as GetDirName gives it: "/opt/app/x" -> "\opt\app\".
    EXPECT_EQ(LibraryPath(path.substr(0, path.rfind('/') + 1)), GetThisModuleDir());
    EXPECT_EQ(GetThisModulePathName(), GetThisModulePathName());  // filled once
    EXPECT_STREQ(GetThisModuleDir(), GetExeDir());
    EXPECT_STREQ("smart_moduletag_tests", GetExeName());
    EXPECT_EQ(0, reports.Count());
    char small[4];
    EXPECT_EQ(nullptr, GetThisModuleFileName(small, sizeof(small)));  // it would be cut
    EXPECT_STREQ("", small);

    // The modules of a process, and names of the same module.
    std::vector<std::string> seen;
    auto collect = [](void* param, const char* path) {
        static_cast<std::vector<std::string>*>(param)->push_back(path);
        return true;
    };
    EXPECT_EQ(1, EnumProcessModules(&seen, collect, 0, "*libqdlog_9d.so*"));
    ASSERT_EQ(1u, seen.size());
    EXPECT_EQ(std::filesystem::canonical(QDLOG_LIBRARY_FILE), seen[0]);
    seen.clear();
    EXPECT_EQ(1, EnumProcessModules(&seen, collect, 0));
    EXPECT_GE(seen.size(), 3u);  // the program, the engine, the C library at least
    EXPECT_EQ(0, EnumProcessModules(&seen, collect, 0x7FFFFFF0));

    EXPECT_TRUE(IsSameModule("C:\\A\\x.dll", "c:\\a\\X.DLL"));
    EXPECT_TRUE(IsSameModule("\\a\\b\\..\\x.so", "/a/x.so"));
    EXPECT_FALSE(IsSameModule("\\a\\x.so", "\\a\\y.so"));
    // By its soname, and by the path it was loaded under.
    const std::string loaded =
        (std::filesystem::path(QDLOG_LIBRARY_FILE).parent_path() / "libqdlog_9d.so.2").string();
    EXPECT_TRUE(IsSameModule("libqdlog_9d.so.2", loaded.c_str()));
    EXPECT_FALSE(IsSameModule("libqdlog_9d.so", "/elsewhere/libqdlog_9d.so"));
    EXPECT_TRUE(IsSameModule(u"C:\\A\\x.dll", u"c:/a/X.DLL"));
}
