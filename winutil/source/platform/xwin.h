// The X11 side of the window helpers: one connection per public call, so that a
// server that went away makes the next call fail instead of ending the process.
// Windows managed by a window manager sit inside its frames; the frames are
// skipped, so that a program's top-level windows are the root's children, as the
// helpers expect of a desktop.
#pragma once

#include <cstdint>
#include <string>
#include <mutex>
#include <vector>

#include "wnddk.h"

namespace xwin {

// Whether DISPLAY names a server at all; the callers fail at once without one.
bool DisplayNamed();

// Xlib's threads are switched on by the process's first Session, and connections
// open and close one at a time, never while GTK starts. Xlib holds a lock of its
// own while it connects and waits for the server there; GTK, as it opens its
// display, takes that lock inside a grab of the server: a connection opened
// meanwhile waits for the server, which waits for GTK, which waits for the lock.
// GTK's start holds the guard.
std::unique_lock<std::mutex> ConnectionGuard();

struct Monitor {
    RECT rect;
    bool primary;
};

class Session {
public:
    Session();
    ~Session();
    Session(const Session&) = delete;
    Session& operator=(const Session&) = delete;
    explicit operator bool() const { return display_ != nullptr; }

    HWND Root() const;
    bool IsWindow(HWND w);
    // Children in stacking order, bottom first; the root's are the managed clients
    // in place of their frames, then the unmanaged windows.
    bool Children(HWND parent, std::vector<HWND>* out);
    // A managed client's parent is the root, not its frame.
    HWND Parent(HWND w);
    // _NET_WM_PID of the window or of its nearest ancestor that has one; 0: none.
    uint32_t ProcessId(HWND w);
    std::string Title(HWND w);      // _NET_WM_NAME, else WM_NAME
    std::string ClassName(HWND w);  // the class half of WM_CLASS
    HWND Owner(HWND w);             // WM_TRANSIENT_FOR
    // WS_POPUP for a transient or unmanaged top-level window, WS_CHILD for the
    // rest below the top level, WS_VISIBLE when viewable, WS_MINIMIZE when iconic.
    uint32_t Style(HWND w);
    // In root coordinates, with the frame (_NET_FRAME_EXTENTS) of a managed window.
    bool WindowRect(HWND w, RECT* out);
    bool ClientRect(HWND w, RECT* out);  // in root coordinates, without the frame
    bool ClientSize(HWND w, int* width, int* height);
    // Moves the window so that its outer frame's top left corner is at (x, y).
    bool Move(HWND w, int x, int y);
    bool ScreenSize(int* width, int* height);
    bool Monitors(std::vector<Monitor>* out);
    // _NET_WORKAREA of the current desktop; false without a window manager.
    bool WorkArea(RECT* out);
    HWND ActiveWindow();  // _NET_ACTIVE_WINDOW, 0 when none
    // The deepest window under a root point, a frame's decorations answering for its
    // client.
    HWND WindowFromPoint(int x, int y);
    bool PointerPosition(int* x, int* y);
    bool ClientToScreen(HWND w, int* x, int* y);
    // _NET_WM_OPACITY as 32 bits: 0xFFFFFFFF is opaque; `remove` drops it.
    bool SetOpacity(HWND w, uint32_t value, bool remove);
    bool ClearArea(HWND w, const RECT& r, bool exposures);
    bool SendClientMessage(HWND w, uint32_t message, uintptr_t wParam, intptr_t lParam);
    bool SendMotion(HWND w, int x, int y);
    bool Viewable(HWND w);

private:
    bool Property(HWND w, const char* name, unsigned long type, int wantFormat,
                  std::vector<unsigned long>* longs, std::string* bytes);
    HWND ClientOf(HWND frame, int depth);
    bool IsManaged(HWND w);

    void* display_;  // Display*
};

}  // namespace xwin
