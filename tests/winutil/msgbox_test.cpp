// The message boxes: the layout arithmetic by table, then real boxes on the private
// X server, answered with xdotool from another thread and photographed.
#include <gtest/gtest.h>

#include <cstdlib>
#include <thread>

#include "report_capture.h"
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

int CentreX(const RECT& r) {
    return (r.left + r.right) / 2;
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

    struct Case {
        uint32_t flags;
        std::string text;
        int defaultIndex;
        int focus, textHeight, textWidth;
        std::string lines;
    } cases[] = {
        {0x41, "x", 5, 0, 16, 8, "x"},  // past the last button: the first
        {0x1, std::string(60, '\n'), 0, 0, 800, 8, std::string(49, '\n')},  // 50 lines at most
        {0x1, std::string(300, 'x'), 0, 0, 48, 800,                         // cut in pieces of wrap
         std::string(100, 'x') + "\n" + std::string(100, 'x') + "\n" + std::string(100, 'x')},
        {0x1, "a\n\nbb\n", 0, 0, 48, 16, "a\n\nbb"},  // a final LF adds no line
        {0x1, "中文", 0, 0, 16, 16, "中文"},          // characters, not bytes
    };
    for (const Case& c : cases) {
        l = LayoutMessageBox(c.flags, c.text.c_str(), c.defaultIndex, 0, FixedFont, nullptr, owner,
                             screen);
        EXPECT_EQ(c.focus, l.focusIndex) << c.text.size();
        EXPECT_EQ(c.textHeight, l.label.bottom - l.label.top) << c.text.size();
        EXPECT_EQ(c.textWidth, l.label.right - l.label.left) << c.text.size();
        EXPECT_EQ(c.lines, l.lines);
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

TEST(MessageBox, EscCloseCentringAndOneAtATime) {
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
}

TEST(MessageBox, ChineseColumnFromTheLocale) {
    QD_REQUIRE_X();
    setenv("LANG", "zh_CN.UTF-8", 1);
    ASSERT_EQ(1, BoxLanguage());
    std::thread driver(Press, "中文", "Return", "msgbox_zh");
    EXPECT_EQ(6, HYMessageBox(0, "要替换它吗？", "中文", 0x1C00, 0));
    driver.join();
}

TEST(SiteMessageBox, CaptionsAndCorner) {
    QD_REQUIRE_X();
    const MessageBoxSite site{
        {"Sure", nullptr, nullptr, nullptr, nullptr, "Never shown", ""}, 3, 1000, 700};
    std::thread driver([] {
        RECT r{};
        WaitUntil(  // the corner is placed after the box is shown
            [](void* p) {
                GetWindowRect(WaitForWindow("Site Box"), static_cast<RECT*>(p));
                return static_cast<RECT*>(p)->right == 1000 && static_cast<RECT*>(p)->bottom == 700;
            },
            &r);
        EXPECT_EQ((std::vector<int>{1000, 700}), (std::vector<int>{r.right, r.bottom}));
        Press("Site Box", "Return", "site_box");
    });
    EXPECT_EQ(1, SiteMessageBox(&site, 0, 0x40, "Site Box", "%d files", 3));
    driver.join();
}

// The wide form: the window is found by its UTF-8 caption.
TEST(SiteMessageBox, WideCaption) {
    QD_REQUIRE_X();
    std::thread driver([] { Press("宽 Box", "Return"); });
    EXPECT_EQ(1, SiteMessageBox(nullptr, 0, 0, u"宽 Box", u"%s %d", u"文件", 3));
    driver.join();
}
