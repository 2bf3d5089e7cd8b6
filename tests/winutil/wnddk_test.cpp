// The window helpers on a private X server: the search with its criteria and its
// process rule, centring, monitors, alpha, hit tests, the clipboard, and the
// failure values without a display.
#include "wnddk.h"

#include <gtest/gtest.h>
#include <unistd.h>

#include <cstdlib>
#include <filesystem>
#include <sstream>
#include <tuple>

#include "child_process.h"
#include "platform/gtkui.h"
#include "qddraw_monitor.h"
#include "report_capture.h"
#include "toolhelp.h"
#include "x_session.h"

namespace {

// The window manager moves windows in its own time: waits until the window's centre
// (or, with `leftOnly`, its left edge) is where wanted, then checks it.
void ExpectPlace(HWND w, int x, int y, bool leftOnly = false) {
    RECT now{};
    EXPECT_TRUE(WaitUntil([&] {
        GetWindowRect(w, &now);
        if (leftOnly) return now.left == x;
        return abs(CentreX(now) - x) <= 1 && abs(CentreY(now) - y) <= 1;
    })) << x
        << "," << y << " wanted, the window is at " << now.left << "," << now.top << "-"
        << now.right << "," << now.bottom;
}

}  // namespace

// The other process of the search below: a top-level window "Helper Top" with a
// child "Helper Child"; prints both ids and waits to be killed.
TEST(WindowSearch, HelperProcess) {
    if (!getenv("QD_WINDOW_HELPER")) GTEST_SKIP() << "runs as the other process of the search";
    TestWindows windows;
    const HWND top = windows.Make("Helper Top", "HelperClass", 0, 0, {600, 400, 900, 600});
    const HWND child = windows.Make("Helper Child", "HelperChildClass", top, 0, {10, 10, 110, 60});
    printf("ids %lu %lu\n", top, child);
    fflush(stdout);
    for (;;) pause();
}

TEST(WindowSearch, CriteriaRecursionAndProcesses) {
    QD_REQUIRE_X();
    const std::string self = std::filesystem::read_symlink("/proc/self/exe").string();
    ChildProcess helper({self, "--gtest_filter=WindowSearch.HelperProcess"},
                        {"QD_WINDOW_HELPER=1"});
    std::string line;
    while (helper.ReadLine(&line) && line.rfind("ids ", 0) != 0) {
    }
    HWND helperTop = 0, helperChild = 0;
    std::istringstream(line.substr(4)) >> helperTop >> helperChild;
    ASSERT_TRUE(WaitForWindow("Helper Top"));

    TestWindows windows;
    const HWND top = windows.Make("Own Top", "OwnClass", 0, 0, {50, 50, 350, 250});
    const HWND child = windows.Make("Own Child", "OwnChildClass", top, 0, {5, 5, 50, 50});
    const HWND popup = windows.Make("Own Popup", "OwnPopupClass", 0, top, {80, 80, 180, 180});
    // A window of this process inside the helper's: the process filter must not find it.
    const HWND embedded =
        windows.Make("Embedded", "OwnClass", helperTop, 0, {60, 60, 90, 90}, false, getpid());
    const int own = static_cast<int>(getpid());
    const int other = static_cast<int>(helper.Pid());
    const std::string longPattern(5000, '*'), longTitle(5000, 'x');
    // The arguments of the search; the window it finds.
    const std::tuple<HWND, const char*, const char*, HWND, int64_t, bool, int, HWND> cases[] = {
        {0, "own TOP", nullptr, 0, -1, false, -2, top},  // case ignored
        {0, nullptr, "Own*Class", 0, -1, false, -1, top},
        {0, "Own Child", nullptr, 0, -1, false, -2, 0},  // not a top-level window
        {0, "Own Child", nullptr, 0, -1, true, -2, child},
        {top, "Own Child", nullptr, 0, -1, false, own, child},
        {0, "*", nullptr, top, -1, true, -1, popup},
        {0, "Own*", nullptr, 0, WS_POPUP | WS_VISIBLE, true, -1, popup},
        {0, "Helper*", nullptr, 0, -1, true, -1, 0},
        {0, "Helper Top", nullptr, 0, -1, true, -2, helperTop},
        {0, nullptr, "HelperChildClass", 0, -1, true, other, helperChild},
        {0, "Embedded", nullptr, 0, -1, true, -2, embedded},
        {0, "Embedded", nullptr, 0, -1, true, own, 0},
        {0, longPattern.c_str(), longPattern.c_str(), 0, -1, true, own, top},
        {0, longTitle.c_str(), nullptr, 0, -1, true, -2, 0},
        {0, nullptr, nullptr, 0, -1, true, -2, 0},       // no test at all
        {0, nullptr, nullptr, 0xDEAD, -1, true, -2, 0},  // a dead owner is no test
    };
    for (const auto& [parent, title, className, owner, style, recursive, processId, found] : cases)
        EXPECT_EQ(found,
                  FindWindowEx2(parent, title, className, owner, style, recursive, processId))
            << (title ? title : "") << " / " << (className ? className : "");

    HWND parent = 0;
    EXPECT_TRUE(IsTopLevel(top, &parent));
    EXPECT_FALSE(IsTopLevel(child, &parent));
    EXPECT_EQ(top, parent);
    EXPECT_EQ(0u, GetTopLevelWindow(embedded));  // climbs into another process
    EXPECT_EQ(static_cast<uint32_t>(WS_CHILD | WS_VISIBLE), GetWindowStyle(child));
    EXPECT_TRUE(SendToChildren(top, 1, 2, 3));

    // The window questions of the processes.
    std::vector<HWND> list;
    ListProcessWindows(list, static_cast<uint32_t>(other));
    EXPECT_EQ(std::vector<HWND>{helperTop}, list);
    EXPECT_EQ((std::vector<HWND>{top, helperTop, popup, top, child, helperChild, top}),
              (std::vector<HWND>{
                  FindMainWindow(), FindMainWindow(static_cast<uint32_t>(other)),
                  FindProcessWindow(0, "OwnPopup*", true), FindProcessWindow(0, "OwnPopup*", false),
                  FindChildWindow(top, "own*", nullptr, 0, -1, false, true),
                  FindProcessTopWindow(other, "Helper Child", nullptr), GetTopLevelWindow(child)}));
    EXPECT_EQ(self, GetWindowProcessFile(helperTop));

    // Hit tests and the line across the screen.
    HWND hit = 0;
    EXPECT_TRUE(IsPointOnWindow(child, POINT{10, 10}, false, &hit));
    EXPECT_FALSE(IsPointOnWindow(top, POINT{10, 10}, false, &hit));
    EXPECT_EQ(child, hit);
    RECT inChild;  // from the child down through its parent, each window once
    GetWindowRect(child, &inChild);
    std::vector<HWND> crossed;
    EXPECT_LE(
        2, FindWindowsOnLine(inChild.left + 1, inChild.top + 1, inChild.left + 1, 5000, crossed));
    EXPECT_EQ((std::vector<HWND>{child, top}),
              std::vector<HWND>(crossed.begin(), crossed.begin() + 2));
    EXPECT_EQ(0, FindWindowsOnLine(-5, -5, -1, -100, crossed));
    EXPECT_TRUE(SetWindowAlpha(top, 128));
    EXPECT_TRUE(SetWindowAlpha(top, 300));
    EXPECT_TRUE(InvalidateRectangle(top, RECT{0, 0, 100, 100}, true, 3));
    EXPECT_FALSE(InvalidateRectangle(top, RECT{10, 10, 10, 20}, true, 1));

    windows.Destroy(child);
    ReportCapture capture;
    EXPECT_FALSE(IsWindow(child));
    EXPECT_EQ(0u, GetTopLevelWindow(child));
    CenterWindow(child);
    EXPECT_FALSE(InvalidateRectangle(top, RECT{0, 0, 10, 10}, true, 0));
    EXPECT_EQ(3, capture.Count());
    EXPECT_EQ("", GetWindowProcessFile(child));
}

TEST(CenterWindow, ChildPopupHiddenOwnerAndWidePopup) {
    QD_REQUIRE_X();
    TestWindows windows;
    const HWND owner = windows.Make("Centre Owner", "C", 0, 0, {100, 100, 500, 400});
    const HWND child = windows.Make("Centre Child", "C", owner, 0, {0, 0, 50, 50});
    RECT before, after;
    GetWindowRect(child, &before);
    CenterWindow(child);
    GetWindowRect(child, &after);
    EXPECT_EQ(before.left, after.left);

    const HWND popup = windows.Make("Centre Popup", "C", 0, owner, {0, 0, 100, 80});
    RECT ownerRect, popupRect;
    GetWindowRect(owner, &ownerRect);
    CenterWindow(popup);
    ExpectPlace(popup, CentreX(ownerRect), CentreY(ownerRect));

    // A minimised owner: the work area of the monitor instead.
    ASSERT_TRUE(Xdotool({"windowminimize", std::to_string(owner)}));
    WaitUntil([owner] { return (GetWindowStyle(owner) & WS_MINIMIZE) != 0; });
    RECT monitor, work;
    GetWindowRect(popup, &popupRect);
    ASSERT_TRUE(MonitorAndWorkArea(popupRect, &monitor, &work));
    CenterWindow(popup);
    ExpectPlace(popup, CentreX(work), CentreY(work));

    // Wider than the monitor, centred on a small owner: held at the monitor's left.
    const HWND small = windows.Make("Centre Small", "C", 0, 0, {20, 300, 120, 360});
    const HWND wide = windows.Make("Centre Wide", "C", 0, small, {300, 10, 1500, 100}, true);
    CenterWindow(wide);
    ExpectPlace(wide, monitor.left, 0, true);
    // The rule alone, on a monitor right of the origin: held at its right edge.
    const RECT right{1024, 0, 2048, 768}, ref{1900, 0, 2040, 100};
    EXPECT_EQ(2048 - 300, CenterPosition(RECT{0, 0, 300, 50}, &ref, right, right).x);
}

TEST(Screen, MonitorsPointsNearestAndClipboard) {
    QD_REQUIRE_X();
    std::vector<MonitorEntry> list, devices;
    ASSERT_TRUE(GetMonitors(nullptr, list));
    ASSERT_EQ(1u, list.size());
    MonitorEntry at;
    RECT screen;
    EXPECT_TRUE(GetMonitorRect(0, &screen));
    EXPECT_TRUE(GetDisplayDevices(devices));
    EXPECT_EQ((std::vector<long>{1024, 768, 1, 1, 0, 0}),
              (std::vector<long>{list[0].rect.right, screen.bottom, MonitorOfPoint({5, 5}, &at),
                                 static_cast<long>(devices.size()), MonitorOfPoint({5000, 5}, &at),
                                 IsMultiMonitor()}));
    const std::vector<RECT> two{{0, 0, 100, 100}, {100, 0, 200, 100}};
    EXPECT_EQ(1, NearestMonitor(two, RECT{90, 0, 150, 10}));   // more area on the second
    EXPECT_EQ(0, NearestMonitor(two, RECT{-50, 0, -40, 10}));  // none shared: the nearest
    EXPECT_EQ(-1, NearestMonitor({}, RECT{0, 0, 1, 1}));

    // Text on the clipboard stays after the call.
    EXPECT_TRUE(CopyTextToClipboard("hello world", 5));
    EXPECT_EQ("hello", gtkui::ClipboardText());
    const std::string big(1 << 20, 'x');
    EXPECT_TRUE(CopyTextToClipboard(big.c_str()));
    EXPECT_EQ(big.size(), gtkui::ClipboardText().size());
    ReportCapture capture;
    EXPECT_FALSE(CopyTextToClipboard(nullptr, -1));
    EXPECT_EQ(1, capture.Count());
}

TEST(NoDisplay, EveryCallFailsAtOnce) {
    const char* saved = getenv("DISPLAY");
    const std::string display = saved ? saved : "";
    for (const char* value : {"", ":4093"}) {  // none, and a server that does not answer
        setenv("DISPLAY", value, 1);
        EXPECT_EQ(0u, FindWindowEx2(0, "*", nullptr, 0, -1, true, -2));
        EXPECT_EQ(0u, GetDefaultOwner());
        EXPECT_FALSE(SetWindowAlpha(1, 5));
        std::vector<MonitorEntry> list;
        EXPECT_FALSE(GetMonitors(nullptr, list));
        EXPECT_FALSE(CopyTextToClipboard("x"));
        EXPECT_EQ(2, HYMessageBox(0, "text", "caption", 1));
        EXPECT_EQ(0, SiteMessageBox(nullptr, 0, 0, "c", "%s", "text"));
        char folder[512] = "x";
        EXPECT_FALSE(SelectAExistedFolder(folder, "c", "p"));
        EXPECT_STREQ("", folder);
        EXPECT_EQ(0u, FindMainWindow());
    }
    if (saved) setenv("DISPLAY", display.c_str(), 1);
}
