// The window helpers: the search and its order, owners, centring, the frame
// repaint, alpha, hit tests and the line scan. The X11 calls are in platform/xwin.
#include "wnddk.h"

#include <algorithm>
#include <cstring>

#include "linealgor.h"
#include "platform/gtkui.h"
#include "qddraw_monitor.h"
#include "platform/xwin.h"
#include "qdr/platform/os.h"
#include "qdr/qdassert.h"
#include "strdk.h"
#include "strdk_match.h"

namespace {

struct SearchArgs {
    const char* title;
    const char* className;
    HWND owner;
    int64_t style;
    bool recursive;
    uint32_t processId;  // 0: any
};

HWND SearchChildren(xwin::Session& x, HWND parent, const SearchArgs& a) {
    std::vector<HWND> children;
    if (!x.Children(parent, &children)) return 0;
    for (HWND w : children) {
        if (!x.IsWindow(w)) return 0;  // vanished during the walk
        if (a.processId != 0 && x.ProcessId(w) != a.processId) continue;
        bool passed = true;
        if (a.title) passed = MatchingString(x.Title(w).c_str(), a.title, msf_ignore_case);
        if (passed && a.className)
            passed = MatchingString(x.ClassName(w).c_str(), a.className, msf_ignore_case);
        if (passed && a.owner) passed = x.Owner(w) == a.owner;
        if (passed && a.style != -1) passed = x.Style(w) == static_cast<uint32_t>(a.style);
        if (passed) return w;
        if (a.recursive) {
            const HWND hit = SearchChildren(x, w, a);
            if (hit) return hit;
        }
    }
    return 0;
}

}  // namespace

bool IsWindow(HWND window) {
    xwin::Session x;
    return x && x.IsWindow(window);
}

uint32_t GetWindowStyle(HWND window) {
    xwin::Session x;
    return x ? x.Style(window) : 0;
}

bool GetWindowRect(HWND window, RECT* out) {
    xwin::Session x;
    return x && x.WindowRect(window, out);
}

HWND FindWindowEx2(HWND parent, const char* title, const char* className, HWND owner, int64_t style,
                   bool recursive, int processId) {
    xwin::Session x;
    if (!x) return 0;
    if (owner && !x.IsWindow(owner)) owner = 0;  // no test
    if (!title && !className && !owner) return 0;
    SearchArgs a{title, className, owner, style, recursive, 0};
    if (processId == -1) a.processId = os::CurrentProcessId();
    if (processId >= 0) a.processId = static_cast<uint32_t>(processId);
    return SearchChildren(x, parent ? parent : x.Root(), a);
}

HWND FindChildWindow(HWND parent, const char* title, const char* className, HWND owner,
                     int64_t style, bool recursive, bool inThisProcess) {
    return FindWindowEx2(parent, title, className, owner, style, recursive,
                         inThisProcess ? -1 : -2);
}

HWND FindProcessTopWindow(int processId, const char* title, const char* className) {
    return FindWindowEx2(0, title, className, 0, -1, true, processId);
}

HWND GetDefaultOwner() {
    xwin::Session x;
    if (!x) return 0;
    const HWND active = x.ActiveWindow();
    return active && x.ProcessId(active) == os::CurrentProcessId() ? active : 0;
}

bool IsTopLevel(HWND window, HWND* outParent) {
    xwin::Session x;
    QDR_CHECK_OR_RETURN(x && x.IsWindow(window), false);
    const HWND parent = x.Parent(window);
    if (outParent) *outParent = parent;
    return parent == 0 || parent == x.Root();
}

HWND GetTopLevelWindow(HWND subWnd) {
    xwin::Session x;
    QDR_CHECK_OR_RETURN(x && x.IsWindow(subWnd), 0);
    const uint32_t pid = x.ProcessId(subWnd);
    HWND w = subWnd;
    for (HWND parent = x.Parent(w); parent != 0 && parent != x.Root(); parent = x.Parent(w)) {
        if (x.ProcessId(parent) != pid) return 0;
        w = parent;
    }
    return w;
}

bool SendToChildren(HWND parentWnd, uint32_t message, uintptr_t wParam, intptr_t lParam) {
    xwin::Session x;
    QDR_CHECK_OR_RETURN(x && x.IsWindow(parentWnd), false);
    std::vector<HWND> children;
    x.Children(parentWnd, &children);
    for (HWND w : children)
        if (!x.SendClientMessage(w, message, wParam, lParam)) return false;
    return true;
}

POINT CenterPosition(const RECT& window, const RECT* reference, const RECT& monitor,
                     const RECT& workArea) {
    const RECT& ref = reference ? *reference : workArea;
    const int width = window.right - window.left, height = window.bottom - window.top;
    POINT p{ref.left + (ref.right - ref.left - width) / 2,
            ref.top + (ref.bottom - ref.top - height) / 2};
    // Held in the whole monitor, not its work area.
    if (p.x < monitor.left)
        p.x = monitor.left;
    else if (p.x + width > monitor.right)
        p.x = monitor.right - width;
    if (p.y < monitor.top)
        p.y = monitor.top;
    else if (p.y + height > monitor.bottom)
        p.y = monitor.bottom - height;
    return p;
}

void CenterWindow(HWND window) {
    xwin::Session x;
    QDR_CHECK_OR_RETURN(x && x.IsWindow(window));
    if (!(x.Style(window) & WS_POPUP)) return;
    HWND centre = x.Owner(window);
    if (!centre) centre = x.Parent(window) == x.Root() ? 0 : x.Parent(window);
    if (centre && (x.Style(centre) & (WS_VISIBLE | WS_MINIMIZE)) != WS_VISIBLE) centre = 0;
    RECT rect, monitor, work, reference;
    if (!x.WindowRect(window, &rect)) return;
    if (!MonitorAndWorkArea(rect, &monitor, &work)) return;
    const bool haveReference = centre && x.WindowRect(centre, &reference);
    const POINT p = CenterPosition(rect, haveReference ? &reference : nullptr, monitor, work);
    x.Move(window, p.x, p.y);
}

bool InvalidateRectangle(HWND wnd, const RECT& rect, bool eraseIt, int thick) {
    QDR_CHECK_OR_RETURN(thick >= 1, false);
    if (rect.right <= rect.left || rect.bottom <= rect.top) return false;
    xwin::Session x;
    if (!x) return false;
    const RECT strips[] = {{rect.left, rect.top, rect.right, rect.top + 1},
                           {rect.left, rect.bottom - 1, rect.right, rect.bottom},
                           {rect.left, rect.top, rect.left + 1, rect.bottom},
                           {rect.right - 1, rect.top, rect.right, rect.bottom}};
    bool ok = true;
    for (const RECT& s : strips) ok = x.ClearArea(wnd, s, eraseIt) && ok;
    if (!ok) return false;
    const RECT inner{rect.left + 1, rect.top + 1, rect.right - 1, rect.bottom - 1};
    if (thick >= 2 && inner.right > inner.left && inner.bottom > inner.top) {
        const bool deeper = InvalidateRectangle(wnd, inner, eraseIt, thick - 1);
        QDR_CHECK(deeper);
    }
    return true;
}

bool IsRectVisibleIn(HWND wnd, const RECT& rect) {
    xwin::Session x;
    RECT w;
    if (!x || !x.Viewable(wnd) || !x.WindowRect(wnd, &w)) return false;
    const int width = w.right - w.left, height = w.bottom - w.top;
    return rect.left < width && rect.right > 0 && rect.top < height && rect.bottom > 0 &&
           rect.right > rect.left && rect.bottom > rect.top;
}

bool SetWindowAlpha(HWND window, int alpha) {
    alpha = std::min(255, std::max(0, alpha));
    xwin::Session x;
    if (!x || !x.IsWindow(window)) return false;
    // 0..255 spread over the 32-bit scale: 255 would be 0xFFFFFFFF, which is no
    // property at all.
    return x.SetOpacity(window, static_cast<uint32_t>(alpha) * 0x01010101u, alpha == 255);
}

bool IsPointOnWindow(HWND wnd, POINT point, bool isScreenPoint, HWND* outHit) {
    xwin::Session x;
    QDR_CHECK_OR_RETURN(x && x.IsWindow(wnd), false);
    if (!isScreenPoint) x.ClientToScreen(wnd, &point.x, &point.y);
    const HWND hit = x.WindowFromPoint(point.x, point.y);
    if (outHit) *outHit = hit;
    return hit == wnd;
}

bool ResendMouseMove(HWND wnd, bool /*post*/) {
    xwin::Session x;
    QDR_CHECK_OR_RETURN(x && x.IsWindow(wnd), false);
    int px, py;
    if (!x.PointerPosition(&px, &py)) return false;
    const HWND hit = x.WindowFromPoint(px, py);
    if (hit != wnd) return false;
    int cx = 0, cy = 0;
    x.ClientToScreen(hit, &cx, &cy);
    return x.SendMotion(hit, px - cx, py - cy);
}

int FindWindowsOnLine(int x1, int y1, int x2, int y2, std::vector<HWND>& outWindows) {
    xwin::Session x;
    int width = 0, height = 0;
    if (!x || !x.ScreenSize(&width, &height)) return 0;
    if (!ClipLineToRect(x1, y1, x2, y2, RECT{0, 0, width, height})) return 0;
    std::vector<POINT> points(static_cast<size_t>(LinePoints(x1, y1, x2, y2, nullptr)));
    LinePoints(x1, y1, x2, y2, points.data());
    for (const POINT& p : points) {
        const HWND w = x.WindowFromPoint(p.x, p.y);
        if (w && std::find(outWindows.begin(), outWindows.end(), w) == outWindows.end())
            outWindows.push_back(w);
    }
    return static_cast<int>(outWindows.size());
}

bool RelayToolTip(HWND, HWND, uint32_t, uintptr_t, intptr_t) {
    return false;
}
bool NotifyIcon(int, HWND, int, uintptr_t, uint32_t, const char*) {
    return false;
}
uintptr_t GetWindowClassCursor(HWND) {
    return 0;
}

bool CopyTextToClipboard(const char* text, int length) {
    QDR_CHECK_OR_RETURN(text != nullptr || length == 0, false);
    if (length < 0) length = static_cast<int>(strlen(text));
    return gtkui::SetClipboardText(text ? text : "", length);
}
