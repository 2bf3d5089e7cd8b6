// The message boxes and the folder and file dialogs: the layout arithmetic and the
// extension rule by tables, then real boxes and GTK dialogs on the private X server,
// answered with xdotool from another thread and photographed: the last folder in a
// new process, the extension and the second replace question, and the source tree
// trimming.
#include <gtest/gtest.h>

#include <cstdlib>
#include <thread>
#include <tuple>

#include "child_process.h"
#include "qdglib.h"
#include "report_capture.h"
#include "scratch_dir.h"
#include "smartstr.h"
#include "wnddk.h"
#include "x_session.h"

namespace {

// 8 by 16 pixels a character.
void FixedFont(void*, const std::string& line, int* width, int* height) {
    int chars = 0;
    for (unsigned char c : line) chars += (c & 0xC0) != 0x80;
    *width = 8 * chars;
    *height = 16;
}

}  // namespace

TEST(MessageBoxLayout, ButtonsFocusLinesAndCentring) {
    const RECT owner{100, 100, 500, 300}, screen{0, 0, 1000, 800};
    BoxLayout l = LayoutMessageBox(0x41, "hello", 1, 0, FixedFont, nullptr, owner, screen);
    ASSERT_EQ(2u, l.buttons.size());
    // Ok, then Retry, in table order, focus on the second; wrap 100 (170 / 16 * 2 is
    // below); a 170 wide row + 40 centred on the owner, the row (210 - 160) / 2 in.
    EXPECT_EQ((std::vector<int>{1, 4, 1, 100, 195, 77, 25, 110, 36, 85}),
              (std::vector<int>{l.buttons[0].id, l.buttons[1].id, l.focusIndex, l.wrap, l.box.left,
                                l.box.bottom - l.box.top, l.buttons[0].x, l.buttons[1].x,
                                l.buttons[0].y, l.label.left}));

    // Flags, text and default button; the focus, the text's height and width, its lines.
    const std::tuple<uint32_t, std::string, int, int, int, int, std::string> cases[] = {
        {0x41, "x", 5, 0, 16, 8, "x"},  // past the last button: the first
        {0x1, std::string(60, '\n'), 0, 0, 800, 8, std::string(49, '\n')},  // 50 lines at most
        {0x1, std::string(300, 'x'), 0, 0, 48, 800,                         // cut in pieces of wrap
         std::string(100, 'x') + "\n" + std::string(100, 'x') + "\n" + std::string(100, 'x')},
        {0x1, "a\n\nbb\n", 0, 0, 48, 16, "a\n\nbb"},  // a final LF adds no line
        {0x1, "中文", 0, 0, 16, 16, "中文"},          // characters, not bytes
    };
    for (const auto& [flags, text, defaultIndex, focus, height, width, lines] : cases) {
        l = LayoutMessageBox(flags, text.c_str(), defaultIndex, 0, FixedFont, nullptr, owner,
                             screen);
        EXPECT_EQ(focus, l.focusIndex) << text.size();
        EXPECT_EQ(height, l.label.bottom - l.label.top) << text.size();
        EXPECT_EQ(width, l.label.right - l.label.left) << text.size();
        EXPECT_EQ(lines, l.lines);
    }
    l = LayoutMessageBox(0x1 | kBoxCentreOnScreen, "x", 0, 0, FixedFont, nullptr, owner, screen);
    EXPECT_NEAR(500, CentreX(l.box), 1);
    ReportCapture capture;
    LayoutMessageBox(0, "x", 0, 0, FixedFont, nullptr, owner, screen);
    EXPECT_EQ(1, capture.Count("(buttonsCount > 0)"));

    const MessageBoxSite site{{}, 3, 1000, 700};
    const RECT box{10, 20, 110, 70};
    const POINT a = SiteCornerOffset({{}, 1, 0, 0}, box), b = SiteCornerOffset(site, box),
                c = SiteCornerOffset({{}, 9, 5, 5}, box);
    EXPECT_EQ((std::vector<int>{-10, 890, 630, 0, 0}), (std::vector<int>{a.x, b.x, b.y, c.x, c.y}));
}

// Each button of the table answers its id: the first seven from this thread, the
// all-items seven from a worker thread, while this one drives.
TEST(MessageBox, EveryButtonFromMainAndWorkerThread) {
    QD_REQUIRE_X();
    for (int bit = 0; bit < 14; ++bit) {
        const uint32_t flags = bit < 7 ? 0x55 | 0x1000 : 0xAA | 0x2000;
        const int index = __builtin_popcount(flags & ((1u << bit) - 1));
        if (!(flags & (1u << bit))) continue;
        const std::string title = "Box " + std::to_string(bit);
        int answer = -1;
        if (bit < 7) {
            std::thread driver(Press, title, "Return", bit == 0 ? "msgbox" : "");
            answer = HYMessageBox(0, "Replace the file?\nThe old one is lost.", title.c_str(),
                                  flags, index);
            driver.join();
        } else {
            std::thread worker(
                [&] { answer = HYMessageBox(0, "For every item", title.c_str(), flags, index); });
            Press(title, "Return", bit == 7 ? "msgbox_all" : "");
            worker.join();
        }
        EXPECT_EQ(kBoxButtonTable[bit].id, answer) << bit;
    }
}

TEST(MessageBox, EscCloseCentringOneAtATimeAndTheSiteCorner) {
    QD_REQUIRE_X();
    TestWindows windows;
    const HWND owner = windows.Make("Box Owner", "C", 0, 0, {0, 0, 200, 100});
    std::thread driver(Press, "Esc Box", "Escape", "");
    EXPECT_EQ(2, HYMessageBox(owner, "No cancel here", "Esc Box", 0x1));
    driver.join();

    // Bit 31 centres on the screen, away from the owner in the corner; a second box
    // meanwhile is refused.
    std::thread closer([&] {
        const HWND box = WaitForWindow("Centred Box");
        RECT r;
        GetWindowRect(box, &r);
        EXPECT_NEAR(512, CentreX(r), 2);
        ReportCapture capture;
        EXPECT_EQ(0, HYMessageBox(0, "second", "Second Box", 0x1));
        EXPECT_EQ(1, capture.Count());
        windows.Close(box);
    });
    EXPECT_EQ(2, HYMessageBox(owner, "Centred", "Centred Box", 0x41 | kBoxCentreOnScreen));
    closer.join();

    const std::string mega(1 << 20, 'm');
    driver = std::thread(Press, "Big Box", "Return", "");
    EXPECT_EQ(1, HYMessageBox(0, mega.c_str(), "Big Box", 0x1));
    driver.join();

    // The site box in its wide form, whose window is found by its UTF-8 caption; the
    // narrow one shares its body and asks the dialogs' questions.
    const MessageBoxSite site{
        {"Sure", nullptr, nullptr, nullptr, nullptr, "Never shown", ""}, 3, 1000, 700};
    driver = std::thread([] {
        RECT r{};
        WaitUntil([&r] {  // the corner is placed after the box is shown
            GetWindowRect(WaitForWindow("Site 宽 Box"), &r);
            return r.right == 1000 && r.bottom == 700;
        });
        EXPECT_EQ((std::vector<int>{1000, 700}), (std::vector<int>{r.right, r.bottom}));
        Press("Site 宽 Box", "Return", "site_box");
    });
    EXPECT_EQ(1, SiteMessageBox(&site, 0, 0x40, u"Site 宽 Box", u"%s %d", u"文件", 3));
    driver.join();
}

TEST(MessageBox, ChineseColumnFromTheLocale) {
    QD_REQUIRE_X();
    setenv("LANG", "zh_CN.UTF-8", 1);
    ASSERT_EQ(1, BoxLanguage());
    std::thread driver(Press, "中文", "Return", "msgbox_zh");
    EXPECT_EQ(6, HYMessageBox(0, "要替换它吗？", "中文", 0x1C00, 0));
    driver.join();
}

TEST(FileDialogs, ExtensionFromTheSelectedFilter) {
    // Filter, index and room; whether an extension was appended, the name, the reports.
    const std::tuple<const char*, int, int, bool, const char*, int> cases[] = {
        {"Text|*.txt|All|*.*", 1, 64, true, "a.txt", 0},
        {"Text|*.txt|All|*.*", 2, 64, true, "a.*", 0},  // '*' is not forbidden
        {"Text|*.txt|", 1, 64, true, "a.txt", 0},       // a trailing '|' is no piece
        {"Text|*.txt||", 1, 64, false, "a", 1},         // an empty piece makes them odd
        {"Text|*.txt", 2, 64, false, "a", 1},           // past the last pair
        {"Any|*", 1, 64, false, "a", 0},
        {"Odd|*.<x", 1, 64, false, "a", 0},
        {"Text|*.text", 1, 4, true, "a.t", 0},  // cut at the buffer
    };
    for (const auto& [filter, index, size, appended, want, reports] : cases) {
        ReportCapture capture;
        char name[64] = "a";
        EXPECT_EQ(appended, AppendFilterExtension(name, size, filter, index)) << filter;
        EXPECT_STREQ(want, name) << filter;
        EXPECT_EQ(reports, capture.Count()) << filter;
    }
}

// The first process chooses a folder; a second one (this program again) opens the
// dialog without a start folder, accepts it as it comes, and prints where it was.
TEST(FileDialogs, FolderDialogReturnsToTheLastFolderInANewProcessAndTheTrimmingStartsThere) {
    QD_REQUIRE_X();
    ScratchDir temp("dialogs", "TMPDIR");  // where the settings store lives
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

    // The source tree trimming starts in that folder too.
    Write(dir + "/x.c", "int a;  \r\nint b;\t\n");
    std::thread trimmer([] {
        Press("目录选择", "Return");
        Press("提示", "Return", "trim_report");
    });
    EXPECT_TRUE(TrimSourceTreeDialog());
    trimmer.join();
    EXPECT_EQ("int a;\r\nint b;\n", Contents(dir + "/x.c"));
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
// with an empty name (cancelled here). "记录" is taken as "记录.txt", in a folder of a
// non-ASCII name, by the wide form, which converts at its edges. An open dialog never
// asks.
TEST(FileDialogs, SaveAddsTheExtensionAndAsksBeforeReplacing) {
    QD_REQUIRE_X();
    ScratchDir temp("对话框", "TMPDIR");  // where the settings store lives
    const std::string dir = temp.Text();
    Write(dir + "/a.txt", "old");
    std::thread driver([] {
        Press("Save Test", "Return", "save_dialog");
        Press("Message", "Return", "replace_question");  // the default is No
        WaitUntil([] { return FindWindowEx2(0, "Message", 0, 0, -1, true, -1) == 0; });
        Press("Save Test", "Escape");
    });
    char name[512] = "a";
    int filterIndex = 1;
    EXPECT_FALSE(GetFilePathName(0, name, sizeof(name), false, false, "Text|*.txt|All|*.*",
                                 &filterIndex, dir.c_str(), "Save Test"));
    driver.join();
    EXPECT_STREQ("", name);

    driver = std::thread(Press, "Save Again", "Return", "");
    EXPECT_EQ(std::u16string(SmartStrW((dir + "/记录.txt").c_str(), -1).c_str()),
              GetFilePathName(0, u"记录", false, u"Text|*.txt|All|*.*", &filterIndex, nullptr,
                              u"Save Again"));
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
