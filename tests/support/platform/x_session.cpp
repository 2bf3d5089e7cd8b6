#include "x_session.h"

// Before Xlib, whose macros would clash with its names.
#include <gtest/gtest.h>

#include <X11/Xatom.h>
#include <X11/Xlib.h>
#include <X11/Xutil.h>
#include <unistd.h>

#include <cstdlib>
#include <filesystem>

#include "child_process.h"

namespace {

// Xvfb on a display number of its own, away from the low numbers that other
// programs assume. Xvfb and openbox outlive this program by a moment: the watchdog ends them once
// the program's pid is gone. An openbox that quits early (it sometimes does on a busy machine) is
// started again.
const char kServerScript[] =
    "parent=$1; n=$((200 + parent % 700)); x=none\n"
    "while [ $n -lt 1000 ]; do\n"
    "  if [ ! -e /tmp/.X$n-lock ] && [ ! -e /tmp/.X11-unix/X$n ]; then\n"
    "    Xvfb :$n -screen 0 1024x768x24 -nolisten tcp >/dev/null 2>&1 & x=$!\n"
    "    i=0\n"
    "    while [ ! -e /tmp/.X11-unix/X$n ] && kill -0 $x 2>/dev/null && [ $i -lt 200 ]; do\n"
    "      sleep 0.05; i=$((i+1))\n"
    "    done\n"
    "    kill -0 $x 2>/dev/null && [ -e /tmp/.X11-unix/X$n ] && break\n"
    "  fi\n"
    "  n=$((n+1))\n"
    "done\n"
    "kill -0 $x 2>/dev/null || { echo none; exit 1; }\n"
    "echo $n\n"
    "exec >/dev/null\n"
    "o=none\n"
    "while kill -0 $parent 2>/dev/null; do\n"
    "  kill -0 $o 2>/dev/null || { DISPLAY=:$n openbox --sm-disable >/dev/null 2>&1 & o=$!; }\n"
    "  sleep 0.2\n"
    "done\n"
    "kill $o $x 2>/dev/null\n";

// openbox sets the work area once it manages the screen.
bool WindowManagerReady() {
    ChildProcess xprop({"/usr/bin/xprop", "-root", "_NET_WORKAREA"});
    return xprop.ReadAll().find(" = ") != std::string::npos;
}

}  // namespace

bool StartPrivateX(std::string* reason) {
    static int state = 0;  // 1 running, -1 failed
    static std::string failure;
    if (state == 0) {
        state = -1;
        // Never deleted, but held to the end: see the watchdog above.
        static ChildProcess* const server =
            new ChildProcess({"/bin/sh", "-c", kServerScript, "sh", std::to_string(getpid())});
        std::string line;
        if (!server->ReadLine(&line) || line.empty() || line == "none") {
            failure = "Xvfb could not start";
        } else {
            setenv("DISPLAY", (":" + line).c_str(), 1);
            // No session bus here: GTK's settings stay in memory, without accessibility.
            setenv("GSETTINGS_BACKEND", "memory", 1);
            setenv("NO_AT_BRIDGE", "1", 1);
            if (WaitUntil(WindowManagerReady, 60))
                state = 1;
            else
                failure = "openbox did not set _NET_WORKAREA";
        }
    }
    *reason = failure;
    return state == 1;
}

bool SaveScreenshot(HWND window, const std::string& name) {
    std::filesystem::create_directories(SCREENSHOT_DIR);
    ChildProcess gm({"/usr/bin/timeout", "10", "/usr/bin/gm", "import", "-window",
                     window ? std::to_string(window) : "root",
                     std::string(SCREENSHOT_DIR) + "/" + name + ".png"});
    return gm.Wait() == 0;
}

bool Xdotool(const std::vector<std::string>& args) {
    // "windowactivate --sync" waits for the window manager without limit; the
    // activation is sometimes lost (it takes milliseconds when it is not), and is
    // asked for again after 3 s.
    std::vector<std::string> argv{"/usr/bin/timeout", "3", "/usr/bin/xdotool"};
    argv.insert(argv.end(), args.begin(), args.end());
    for (int attempt = 0; attempt < 3; ++attempt)
        if (ChildProcess(argv).Wait() == 0) return true;
    return false;
}

void Press(const std::string& title, const std::string& key, const std::string& shot) {
    const HWND w = WaitForWindow(title.c_str());
    ASSERT_NE(0u, w) << title;
    std::this_thread::sleep_for(std::chrono::milliseconds(300));  // drawn, for the picture
    EXPECT_TRUE(shot.empty() || SaveScreenshot(w, shot)) << shot;
    // Every key pressed here closes its window. One that arrives before the window
    // has taken the focus is lost on a busy machine: press again while it is up.
    for (int attempt = 0; attempt < 3; ++attempt) {
        ASSERT_TRUE(Xdotool({"windowactivate", "--sync", std::to_string(w), "key", key}));
        if (WaitUntil([w] { return !IsWindow(w) || (GetWindowStyle(w) & WS_VISIBLE) == 0; }, 5))
            return;
    }
    ADD_FAILURE() << title << " stayed open after " << key;
}

HWND WaitForWindow(const char* title) {
    HWND found = 0;
    WaitUntil([&] {
        found = FindWindowEx2(0, title, nullptr, 0, -1, true, -2);
        return found != 0 && (GetWindowStyle(found) & WS_VISIBLE) != 0;
    });
    return found;
}

TestWindows::TestWindows() : display_(XOpenDisplay(nullptr)) {}

TestWindows::~TestWindows() {
    if (display_) XCloseDisplay(static_cast<Display*>(display_));
}

HWND TestWindows::Make(const char* title, const char* className, HWND parent, HWND owner, RECT rect,
                       bool unmanaged, unsigned long pid) {
    Display* d = static_cast<Display*>(display_);
    XSetWindowAttributes attributes;
    attributes.override_redirect = unmanaged;
    attributes.background_pixel = WhitePixel(d, DefaultScreen(d));
    const Window w =
        XCreateWindow(d, parent ? parent : DefaultRootWindow(d), rect.left, rect.top,
                      static_cast<unsigned>(rect.right - rect.left),
                      static_cast<unsigned>(rect.bottom - rect.top), 0, CopyFromParent, InputOutput,
                      CopyFromParent, CWOverrideRedirect | CWBackPixel, &attributes);
    XStoreName(d, w, title);
    XClassHint hint{const_cast<char*>("test"), const_cast<char*>(className)};
    XSetClassHint(d, w, &hint);
    if (!parent || pid) {
        const unsigned long value = pid ? pid : static_cast<unsigned long>(getpid());
        XChangeProperty(d, w, XInternAtom(d, "_NET_WM_PID", False), XA_CARDINAL, 32,
                        PropModeReplace, reinterpret_cast<const unsigned char*>(&value), 1);
    }
    if (owner) XSetTransientForHint(d, w, owner);
    XSizeHints size{};
    size.flags = PPosition | USPosition;
    size.x = rect.left;
    size.y = rect.top;
    XSetWMNormalHints(d, w, &size);
    XMapWindow(d, w);
    XSync(d, False);
    if (!parent && !unmanaged) WaitForWindow(title);
    return w;
}

void TestWindows::Destroy(HWND window) {
    XDestroyWindow(static_cast<Display*>(display_), window);
    XSync(static_cast<Display*>(display_), False);
}

void TestWindows::Close(HWND window) {
    Display* d = static_cast<Display*>(display_);
    XEvent e{};
    e.xclient.type = ClientMessage;
    e.xclient.window = window;
    e.xclient.message_type = XInternAtom(d, "WM_PROTOCOLS", False);
    e.xclient.format = 32;
    e.xclient.data.l[0] = static_cast<long>(XInternAtom(d, "WM_DELETE_WINDOW", False));
    e.xclient.data.l[1] = CurrentTime;
    XSendEvent(d, window, False, NoEventMask, &e);
    XSync(d, False);
}
