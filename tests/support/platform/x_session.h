// A private X server for GUI tests: Xvfb on a free display number with openbox (which
// sets the work area and the client list), started once per test program and
// stopped by a watchdog after the program ended, so that GTK never sees its server
// vanish. Also: screenshots as PNG, xdotool, and windows made with Xlib.
#pragma once

#include <chrono>
#include <string>
#include <thread>
#include <vector>

#include "wnddk.h"

// Starts the server once and sets DISPLAY; false (with the reason) when Xvfb or the
// window manager cannot start.
bool StartPrivateX(std::string* reason);
#define QD_REQUIRE_X()                                       \
    do {                                                     \
        std::string whyNot;                                  \
        if (!StartPrivateX(&whyNot)) GTEST_SKIP() << whyNot; \
    } while (0)

// Saves the window (0: the whole screen) as <build>/screenshots/<name>.png.
bool SaveScreenshot(HWND window, const std::string& name);
// Runs xdotool with the arguments and waits for it.
bool Xdotool(const std::vector<std::string>& args);
// Waits until a viewable window of that title (a pattern) exists; 0 after 10 s.
HWND WaitForWindow(const char* title);
// Waits until `done()` holds, at most `seconds`; its last answer.
template <class Done>
bool WaitUntil(Done done, int seconds = 10) {
    for (int i = 0; i < seconds * 20; ++i) {
        if (done()) return true;
        std::this_thread::sleep_for(std::chrono::milliseconds(50));
    }
    return done();
}
// Waits for the window of that title, photographs it when `shot` is named, activates
// it and presses the key.
void Press(const std::string& title, const std::string& key, const std::string& shot = "");

inline int CentreX(const RECT& r) {
    return (r.left + r.right) / 2;
}
inline int CentreY(const RECT& r) {
    return (r.top + r.bottom) / 2;
}

// Windows of this process made with Xlib on a connection of their own.
class TestWindows {
public:
    TestWindows();
    ~TestWindows();
    // A window with title and class; `parent` 0 makes a managed top-level window,
    // `owner` sets WM_TRANSIENT_FOR, `unmanaged` makes it override-redirect.
    HWND Make(const char* title, const char* className, HWND parent, HWND owner, RECT rect,
              bool unmanaged = false, unsigned long pid = 0);
    void Destroy(HWND window);
    // What the close box of the frame does: WM_DELETE_WINDOW.
    void Close(HWND window);

private:
    void* display_;
};
