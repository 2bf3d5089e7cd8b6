// Xlib and XRandR behind the window helpers.
#include "platform/xwin.h"

#include <X11/Xatom.h>
#include <X11/Xlib.h>
#include <X11/Xutil.h>
#include <X11/extensions/Xrandr.h>

#include <cstdlib>
#include <cstring>
#include <mutex>

namespace xwin {
namespace {

// Requests on a window that died in the meantime are normal here: errors of our
// own connections are dropped, the others go to whoever handled them before.
XErrorHandler gPreviousHandler = nullptr;
std::mutex gConnectionsLock;
std::vector<Display*> gConnections;

int DropOwnErrors(Display* display, XErrorEvent* event) {
    {
        std::lock_guard<std::mutex> guard(gConnectionsLock);
        for (Display* d : gConnections)
            if (d == display) return 0;
    }
    return gPreviousHandler ? gPreviousHandler(display, event) : 0;
}

Display* D(void* p) {
    return static_cast<Display*>(p);
}

}  // namespace

bool DisplayNamed() {
    const char* name = getenv("DISPLAY");
    return name && *name;
}

std::unique_lock<std::mutex> ConnectionGuard() {
    static std::mutex lock;
    return std::unique_lock<std::mutex>(lock);
}

Session::Session() : display_(nullptr) {
    if (!DisplayNamed()) return;
    static std::once_flag once;
    std::call_once(once, [] {
        XInitThreads();
        gPreviousHandler = XSetErrorHandler(DropOwnErrors);
    });
    Display* d;
    {
        const std::unique_lock<std::mutex> one = ConnectionGuard();
        d = XOpenDisplay(nullptr);
    }
    if (!d) return;
    std::lock_guard<std::mutex> guard(gConnectionsLock);
    gConnections.push_back(d);
    display_ = d;
}

Session::~Session() {
    if (!display_) return;
    {
        const std::unique_lock<std::mutex> one = ConnectionGuard();
        XCloseDisplay(D(display_));
    }
    std::lock_guard<std::mutex> guard(gConnectionsLock);
    for (size_t i = 0; i < gConnections.size(); ++i)
        if (gConnections[i] == display_) gConnections.erase(gConnections.begin() + i);
}

HWND Session::Root() const {
    return DefaultRootWindow(D(display_));
}

bool Session::IsWindow(HWND w) {
    XWindowAttributes a;
    return w != 0 && XGetWindowAttributes(D(display_), w, &a) != 0;
}

bool Session::Viewable(HWND w) {
    XWindowAttributes a;
    return w != 0 && XGetWindowAttributes(D(display_), w, &a) && a.map_state == IsViewable;
}

bool Session::Property(HWND w, const char* name, unsigned long type, int wantFormat,
                       std::vector<unsigned long>* longs, std::string* bytes) {
    Atom actualType;
    int format;
    unsigned long count, after;
    unsigned char* data = nullptr;
    const Atom atom = XInternAtom(D(display_), name, False);
    if (XGetWindowProperty(D(display_), w, atom, 0, 1 << 20, False, type, &actualType, &format,
                           &count, &after, &data) != Success ||
        !data)
        return false;
    const bool ok = format == wantFormat && count > 0;
    if (ok && longs)
        longs->assign(reinterpret_cast<unsigned long*>(data),
                      reinterpret_cast<unsigned long*>(data) + count);
    if (ok && bytes) bytes->assign(reinterpret_cast<char*>(data), count);
    XFree(data);
    return ok;
}

bool Session::IsManaged(HWND w) {
    return Property(w, "WM_STATE", AnyPropertyType, 32, nullptr, nullptr);
}

HWND Session::ClientOf(HWND frame, int depth) {
    if (IsManaged(frame)) return frame;
    if (depth > 4) return 0;
    Window root, parent, *kids = nullptr;
    unsigned int n = 0;
    if (!XQueryTree(D(display_), frame, &root, &parent, &kids, &n)) return 0;
    HWND found = 0;
    for (unsigned int i = n; i-- > 0 && !found;) found = ClientOf(kids[i], depth + 1);
    if (kids) XFree(kids);
    return found;
}

bool Session::Children(HWND parent, std::vector<HWND>* out) {
    out->clear();
    Window root, up, *kids = nullptr;
    unsigned int n = 0;
    if (!XQueryTree(D(display_), parent, &root, &up, &kids, &n)) return false;
    for (unsigned int i = 0; i < n; ++i) {
        HWND w = kids[i];
        if (parent == Root()) {
            const HWND client = ClientOf(w, 0);
            if (client) w = client;
        }
        out->push_back(w);
    }
    if (kids) XFree(kids);
    return true;
}

HWND Session::Parent(HWND w) {
    if (w == Root()) return 0;
    if (IsManaged(w)) return Root();
    Window root, parent, *kids = nullptr;
    unsigned int n = 0;
    if (!XQueryTree(D(display_), w, &root, &parent, &kids, &n)) return 0;
    if (kids) XFree(kids);
    return parent;
}

uint32_t Session::ProcessId(HWND w) {
    for (int depth = 0; w != 0 && w != Root() && depth < 64; ++depth) {
        std::vector<unsigned long> pid;
        if (Property(w, "_NET_WM_PID", XA_CARDINAL, 32, &pid, nullptr))
            return static_cast<uint32_t>(pid[0]);
        w = Parent(w);
    }
    return 0;
}

std::string Session::Title(HWND w) {
    std::string text;
    const Atom utf8 = XInternAtom(D(display_), "UTF8_STRING", False);
    if (Property(w, "_NET_WM_NAME", utf8, 8, nullptr, &text)) return text;
    if (Property(w, "WM_NAME", AnyPropertyType, 8, nullptr, &text)) return text;
    return std::string();
}

std::string Session::ClassName(HWND w) {
    std::string text;
    if (!Property(w, "WM_CLASS", XA_STRING, 8, nullptr, &text)) return std::string();
    // "instance\0Class\0"
    const size_t nul = text.find('\0');
    if (nul == std::string::npos) return text;
    return std::string(text.c_str() + nul + 1);
}

HWND Session::Owner(HWND w) {
    Window owner = 0;
    return XGetTransientForHint(D(display_), w, &owner) ? owner : 0;
}

uint32_t Session::Style(HWND w) {
    XWindowAttributes a;
    if (!XGetWindowAttributes(D(display_), w, &a)) return 0;
    uint32_t style = 0;
    const bool topLevel = Parent(w) == Root();
    if (!topLevel) style |= WS_CHILD;
    if (topLevel && (a.override_redirect || Owner(w) != 0)) style |= WS_POPUP;
    if (a.map_state == IsViewable) style |= WS_VISIBLE;
    std::vector<unsigned long> state;
    if (Property(w, "WM_STATE", AnyPropertyType, 32, &state, nullptr) && state[0] == IconicState)
        style |= WS_MINIMIZE;
    return style;
}

bool Session::ClientRect(HWND w, RECT* out) {
    XWindowAttributes a;
    Window child;
    int x, y;
    if (!XGetWindowAttributes(D(display_), w, &a) ||
        !XTranslateCoordinates(D(display_), w, Root(), 0, 0, &x, &y, &child))
        return false;
    *out = RECT{x, y, x + a.width, y + a.height};
    return true;
}

bool Session::WindowRect(HWND w, RECT* out) {
    if (!ClientRect(w, out)) return false;
    std::vector<unsigned long> frame;  // left, right, top, bottom
    if (Property(w, "_NET_FRAME_EXTENTS", XA_CARDINAL, 32, &frame, nullptr) && frame.size() == 4) {
        out->left -= static_cast<int>(frame[0]);
        out->right += static_cast<int>(frame[1]);
        out->top -= static_cast<int>(frame[2]);
        out->bottom += static_cast<int>(frame[3]);
    }
    return true;
}

bool Session::ClientSize(HWND w, int* width, int* height) {
    XWindowAttributes a;
    if (!XGetWindowAttributes(D(display_), w, &a)) return false;
    *width = a.width;
    *height = a.height;
    return true;
}

bool Session::Move(HWND w, int x, int y) {
    // A window manager puts the frame's corner there (north-west gravity); an
    // unmanaged window has no frame.
    XMoveWindow(D(display_), w, x, y);
    XSync(D(display_), False);
    return IsWindow(w);
}

bool Session::ScreenSize(int* width, int* height) {
    Screen* s = DefaultScreenOfDisplay(D(display_));
    *width = WidthOfScreen(s);
    *height = HeightOfScreen(s);
    return true;
}

bool Session::Monitors(std::vector<Monitor>* out) {
    out->clear();
    int n = 0;
    XRRMonitorInfo* info = XRRGetMonitors(D(display_), Root(), True, &n);
    for (int i = 0; info && i < n; ++i)
        out->push_back(Monitor{
            RECT{info[i].x, info[i].y, info[i].x + info[i].width, info[i].y + info[i].height},
            info[i].primary != 0});
    if (info) XRRFreeMonitors(info);
    if (out->empty()) {
        int w, h;
        ScreenSize(&w, &h);
        out->push_back(Monitor{RECT{0, 0, w, h}, true});
    }
    return true;
}

bool Session::WorkArea(RECT* out) {
    std::vector<unsigned long> area, desktop;
    if (!Property(Root(), "_NET_WORKAREA", XA_CARDINAL, 32, &area, nullptr) || area.size() < 4)
        return false;
    size_t index = 0;
    if (Property(Root(), "_NET_CURRENT_DESKTOP", XA_CARDINAL, 32, &desktop, nullptr) &&
        desktop[0] * 4 + 4 <= area.size())
        index = desktop[0] * 4;
    const int x = static_cast<int>(area[index]), y = static_cast<int>(area[index + 1]);
    *out = RECT{x, y, x + static_cast<int>(area[index + 2]), y + static_cast<int>(area[index + 3])};
    return true;
}

HWND Session::ActiveWindow() {
    std::vector<unsigned long> active;
    if (!Property(Root(), "_NET_ACTIVE_WINDOW", XA_WINDOW, 32, &active, nullptr)) return 0;
    return active[0];
}

HWND Session::WindowFromPoint(int x, int y) {
    Window from = Root(), child = 0;
    HWND hit = 0;
    int cx, cy;
    for (int depth = 0; depth < 64; ++depth) {
        if (!XTranslateCoordinates(D(display_), Root(), from, x, y, &cx, &cy, &child) || !child)
            return hit;
        HWND next = child;
        if (from == Root()) {
            const HWND client = ClientOf(child, 0);
            if (client && client != child) {
                RECT r;
                if (!ClientRect(client, &r) || !PtInRect(r, POINT{x, y})) return client;
                next = client;
            }
        }
        hit = next;
        from = next;
    }
    return hit;
}

bool Session::PointerPosition(int* x, int* y) {
    Window root, child;
    int wx, wy;
    unsigned int mask;
    return XQueryPointer(D(display_), Root(), &root, &child, x, y, &wx, &wy, &mask);
}

bool Session::ClientToScreen(HWND w, int* x, int* y) {
    Window child;
    return XTranslateCoordinates(D(display_), w, Root(), *x, *y, x, y, &child);
}

bool Session::SetOpacity(HWND w, uint32_t value, bool remove) {
    const Atom atom = XInternAtom(D(display_), "_NET_WM_WINDOW_OPACITY", False);
    if (remove) {
        XDeleteProperty(D(display_), w, atom);
    } else {
        const unsigned long v = value;
        XChangeProperty(D(display_), w, atom, XA_CARDINAL, 32, PropModeReplace,
                        reinterpret_cast<const unsigned char*>(&v), 1);
    }
    XSync(D(display_), False);
    return IsWindow(w);
}

bool Session::ClearArea(HWND w, const RECT& r, bool exposures) {
    if (!IsWindow(w)) return false;
    XClearArea(D(display_), w, r.left, r.top, static_cast<unsigned>(r.right - r.left),
               static_cast<unsigned>(r.bottom - r.top), exposures ? True : False);
    XSync(D(display_), False);
    return true;
}

bool Session::SendClientMessage(HWND w, uint32_t message, uintptr_t wParam, intptr_t lParam) {
    XEvent e;
    memset(&e, 0, sizeof(e));
    e.xclient.type = ClientMessage;
    e.xclient.window = w;
    e.xclient.message_type = XInternAtom(D(display_), "QD_MESSAGE", False);
    e.xclient.format = 32;
    e.xclient.data.l[0] = static_cast<long>(message);
    e.xclient.data.l[1] = static_cast<long>(wParam);
    e.xclient.data.l[2] = static_cast<long>(lParam);
    const bool sent = XSendEvent(D(display_), w, False, NoEventMask, &e) != 0;
    XSync(D(display_), False);
    return sent && IsWindow(w);
}

bool Session::SendMotion(HWND w, int x, int y) {
    XEvent e;
    memset(&e, 0, sizeof(e));
    e.xmotion.type = MotionNotify;
    e.xmotion.window = w;
    e.xmotion.root = Root();
    e.xmotion.x = x;
    e.xmotion.y = y;
    e.xmotion.same_screen = True;
    const bool sent = XSendEvent(D(display_), w, False, PointerMotionMask, &e) != 0;
    XSync(D(display_), False);
    return sent;
}

}  // namespace xwin
