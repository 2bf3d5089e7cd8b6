// Several copies of libqdlog_9d.so in one process, loaded with dlopen from copied
// files by copies_helper: each must load and log.
#include <gtest/gtest.h>

#include <filesystem>

#include "child_process.h"
#include "scratch_dir.h"

namespace fs = std::filesystem;

namespace {

// Copies the library to each of `names` (relative to `scratch`) and runs the helper
// on the copies; returns its output.
std::string RunCopies(const ScratchDir& scratch, const std::vector<std::string>& names) {
    std::vector<std::string> argv = {COPIES_HELPER, scratch / "logs"};
    for (const std::string& name : names) {
        const fs::path copy = scratch.Path() / name;
        fs::create_directories(copy.parent_path());
        fs::copy_file(QDLOG_LIBRARY_FILE, copy);
        argv.push_back(copy.string());
    }
    ChildProcess child(argv, {"QDR_ASSERT_ANSWER=ignore", "XDG_STATE_HOME=" + (scratch / "state")});
    std::string out = child.ReadAll();
    EXPECT_EQ(0, child.Wait()) << out;
    return out;
}

}  // namespace

TEST(LibraryCopies, ThreeCopiesLoadAndEachLogs) {
    ScratchDir scratch("copies");
    const std::string out = RunCopies(scratch, {"a/lib1.so", "b/lib2.so", "c/lib3.so"});
    EXPECT_NE(std::string::npos, out.find("loaded 3")) << out;
    for (int i = 1; i <= 3; ++i) {  // one log file each
        const fs::path logs = scratch.Path() / "logs" / std::to_string(i);
        EXPECT_EQ(1, std::distance(fs::directory_iterator(logs), fs::directory_iterator())) << logs;
    }
    EXPECT_EQ(std::string::npos, out.find("LogContext单件")) << out;
}

// The second copy from one directory finds the flag of the first taken; the report
// answered Ignore, both log.
TEST(LibraryCopies, SecondCopyFromOneDirectoryIsReported) {
    ScratchDir scratch("copies");
    const std::string out = RunCopies(scratch, {"a/lib1.so", "a/lib2.so"});
    const size_t report = out.find("相同目录的模块重复构造LogContext单件: ");
    ASSERT_NE(std::string::npos, report) << out;
    EXPECT_NE(std::string::npos, out.find("puf_.IsCreatedBy()")) << out;
    EXPECT_LT(out.find("loaded 1"), report);
    EXPECT_EQ(std::string::npos, out.find("Assertion Failed", report + 1)) << out;
    EXPECT_NE(std::string::npos, out.find("loaded 2")) << out;
}

// A host on the library and a plug-in with its own copy from another directory:
// the copy's calls of its own exports (the directory getter, the setters) bind
// inside the copy, so each writes into the directory it was given.
TEST(LibraryCopies, APluginsOwnCopyLogsIntoItsOwnDirectory) {
    ScratchDir scratch("plugin");
    const fs::path copy = scratch.Path() / "plugin" / "libqdlog_9d.so";
    fs::create_directories(copy.parent_path());
    fs::copy_file(QDLOG_LIBRARY_FILE, copy);
    ChildProcess child(
        {COPIES_HELPER, "plugin", scratch / "host-logs", copy.string(), scratch / "plugin-logs"},
        {"QDR_ASSERT_ANSWER=ignore", "XDG_STATE_HOME=" + (scratch / "state")});
    const std::string out = child.ReadAll();
    ASSERT_EQ(0, child.Wait()) << out;
    const auto linesIn = [](const fs::path& dir) {
        std::string all;
        for (const auto& entry : fs::directory_iterator(dir)) all += Contents(entry.path());
        return all;
    };
    const std::string host = linesIn(scratch.Path() / "host-logs");
    const std::string plugin = linesIn(scratch.Path() / "plugin-logs");
    EXPECT_NE(std::string::npos, host.find(":host again\r\n")) << host;
    EXPECT_EQ(std::string::npos, host.find(":plugin")) << host;
    EXPECT_NE(std::string::npos, plugin.find(":plugin\r\n")) << plugin;
}
