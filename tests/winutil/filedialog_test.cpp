// The folder and file dialogs: the extension rule by table, then real GTK dialogs on
// the private X server, driven with xdotool: the last folder in a new process, the
// extension and the second replace question, and the source tree trimming.
#include <gtest/gtest.h>

#include <cstdlib>
#include <thread>

#include "child_process.h"
#include "qdglib.h"
#include "report_capture.h"
#include "scratch_dir.h"
#include "smartstr.h"
#include "wnddk.h"
#include "x_session.h"

namespace {

// The settings store of this program lives in the temporary directory: one of its own
// for each test.
class PrivateTempDir {
public:
    PrivateTempDir() : dir_("dialogs") { setenv("TMPDIR", dir_.Text().c_str(), 1); }
    ~PrivateTempDir() { unsetenv("TMPDIR"); }
    std::string Text() const { return dir_.Text(); }

private:
    ScratchDir dir_;
};

}  // namespace

TEST(FileDialogs, ExtensionFromTheSelectedFilter) {
    struct Case {
        const char* filter;
        int index, size;
        bool appended;
        const char* name;
        int reports;
    } cases[] = {
        {"Text|*.txt|All|*.*", 1, 64, true, "a.txt", 0},
        {"Text|*.txt|All|*.*", 2, 64, true, "a.*", 0},  // '*' is not forbidden
        {"Text|*.txt|", 1, 64, true, "a.txt", 0},       // a trailing '|' is no piece
        {"Text|*.txt||", 1, 64, false, "a", 1},         // an empty piece makes them odd
        {"Text|*.txt", 2, 64, false, "a", 1},           // past the last pair
        {"Any|*", 1, 64, false, "a", 0},
        {"Odd|*.<x", 1, 64, false, "a", 0},
        {"Text|*.text", 1, 4, true, "a.t", 0},  // cut at the buffer
    };
    for (const Case& c : cases) {
        ReportCapture capture;
        char name[64] = "a";
        EXPECT_EQ(c.appended, AppendFilterExtension(name, c.size, c.filter, c.index)) << c.filter;
        EXPECT_STREQ(c.name, name) << c.filter;
        EXPECT_EQ(c.reports, capture.Count()) << c.filter;
    }
}

// The first process chooses a folder; a second one (this program again) opens the
// dialog without a start folder, accepts it as it comes, and prints where it was.
TEST(FileDialogs, FolderDialogReturnsToTheLastFolderInANewProcess) {
    QD_REQUIRE_X();
    PrivateTempDir temp;
    const std::string dir = temp.Text() + "/chosen";
    std::filesystem::create_directories(dir);
    std::thread driver(Press, "Folder Test", "Return", "folder_dialog");
    char folder[512];
    EXPECT_TRUE(SelectAExistedFolder(folder, "Folder Test", "Pick a folder", 0, dir.c_str()));
    driver.join();
    EXPECT_EQ(dir, folder);
    EXPECT_EQ(dir, GetRecentFolder());

    ChildProcess second({std::filesystem::read_symlink("/proc/self/exe").string(),
                         "--gtest_filter=FileDialogs.SecondProcessOfFolderTest"},
                        {"QD_DIALOG_SECOND=1"});
    std::string line;
    while (second.ReadLine(&line) && line.rfind("chosen: ", 0) != 0) {
    }
    EXPECT_EQ("chosen: " + dir, line);
}

TEST(FileDialogs, SecondProcessOfFolderTest) {
    if (!getenv("QD_DIALOG_SECOND")) GTEST_SKIP() << "runs as the second process of the test above";
    QD_REQUIRE_X();
    std::thread driver(Press, "Folder Again", "Return", "");
    printf("chosen: %s\n", SelectAExistedFolder("Folder Again", "Pick").c_str());
    fflush(stdout);
    driver.join();
}

// "a" becomes "a.txt", which exists: the question comes, and No brings the dialog back
// with an empty name (cancelled here). "c" is taken as "c.txt". An open dialog never
// asks.
TEST(FileDialogs, SaveAddsTheExtensionAndAsksBeforeReplacing) {
    QD_REQUIRE_X();
    PrivateTempDir temp;
    const std::string dir = temp.Text();
    Write(dir + "/a.txt", "old");
    std::thread driver([] {
        Press("Save Test", "Return", "save_dialog");
        Press("Message", "Return", "replace_question");  // the default is No
        WaitUntil([](void*) { return FindWindowEx2(0, "Message", 0, 0, -1, true, -1) == 0; },
                  nullptr);
        Press("Save Test", "Escape");
    });
    char name[512] = "a";
    int filterIndex = 1;
    EXPECT_FALSE(GetFilePathName(0, name, sizeof(name), false, false, "Text|*.txt|All|*.*",
                                 &filterIndex, dir.c_str(), "Save Test"));
    driver.join();
    EXPECT_STREQ("", name);

    driver = std::thread(Press, "Save Again", "Return", "");
    EXPECT_EQ(dir + "/c.txt", GetFilePathName(0, "c", false, "Text|*.txt|All|*.*", &filterIndex,
                                              nullptr, "Save Again"));
    driver.join();
    EXPECT_EQ(1, filterIndex);
    char stored[512];
    ReadSetting("GetFilePathName_0", stored, sizeof(stored), true, "");
    EXPECT_EQ(dir + "/", SystemPath(stored));

    driver = std::thread(Press, "Open Test", "Return", "");
    std::vector<std::string> list{dir + "/a.txt"};
    EXPECT_TRUE(GetFilePathNames(0, list, true, true, "Text|*.txt", nullptr, nullptr, "Open Test"));
    driver.join();
    EXPECT_EQ(std::vector<std::string>{dir + "/a.txt"}, list);
}

TEST(TrimSourceTreeDialog, TrimsTheChosenTreeAndReports) {
    QD_REQUIRE_X();
    PrivateTempDir temp;
    const std::string dir = temp.Text();
    Write(dir + "/x.c", "int a;  \r\nint b;\t\n");
    WriteSetting("SelectAExistedFolder", dir.c_str(), true);
    std::thread driver([] {
        Press("目录选择", "Return");
        Press("提示", "Return", "trim_report");
    });
    EXPECT_TRUE(TrimSourceTreeDialog());
    driver.join();
    EXPECT_EQ("int a;\r\nint b;\n", Contents(dir + "/x.c"));
}

// The wide forms convert at their edges: a non-ASCII name and directory come back as
// UTF-16, with the extension of the filter.
TEST(FileDialogs, WideSaveReturnsUtf16) {
    QD_REQUIRE_X();
    PrivateTempDir temp;
    const std::string dir = temp.Text() + "/日志";
    std::filesystem::create_directories(dir);
    const SmartStrW wideDir(dir.c_str(), -1);
    std::thread driver([] { Press("Wide Save", "Return"); });
    EXPECT_EQ(
        std::u16string(wideDir.c_str()) + u"/记录.txt",
        GetFilePathName(0, u"记录", false, u"Text|*.txt", nullptr, wideDir.c_str(), u"Wide Save"));
    driver.join();
}
