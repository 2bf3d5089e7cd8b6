// The monitor questions over the X server's list of monitors.
#include "qddraw_monitor.h"

#include <algorithm>
#include <climits>

#include "platform/xwin.h"
#include "qdr/qdassert.h"

namespace {

RECT Intersection(const RECT& a, const RECT& b) {
    return RECT{std::max(a.left, b.left), std::max(a.top, b.top), std::min(a.right, b.right),
                std::min(a.bottom, b.bottom)};
}

bool IsEmpty(const RECT& r) {
    return r.right <= r.left || r.bottom <= r.top;
}

bool ListMonitors(std::vector<RECT>* out) {
    xwin::Session x;
    if (!x) return false;
    std::vector<xwin::Monitor> monitors;
    x.Monitors(&monitors);
    out->clear();
    for (const xwin::Monitor& m : monitors) out->push_back(m.rect);
    return true;
}

}  // namespace

int NearestMonitor(const std::vector<RECT>& monitors, const RECT& rect) {
    int best = -1;
    long long bestArea = 0, bestDistance = LLONG_MAX;
    for (size_t i = 0; i < monitors.size(); ++i) {
        const RECT common = Intersection(monitors[i], rect);
        const long long area =
            IsEmpty(common) ? 0 : 1LL * (common.right - common.left) * (common.bottom - common.top);
        if (area > bestArea) {
            bestArea = area;
            best = static_cast<int>(i);
        }
    }
    if (best >= 0) return best;
    for (size_t i = 0; i < monitors.size(); ++i) {
        const RECT& m = monitors[i];
        const long long dx = std::max({0, m.left - rect.right, rect.left - m.right});
        const long long dy = std::max({0, m.top - rect.bottom, rect.top - m.bottom});
        if (dx * dx + dy * dy < bestDistance) {
            bestDistance = dx * dx + dy * dy;
            best = static_cast<int>(i);
        }
    }
    return best;
}

bool MonitorAndWorkArea(const RECT& rect, RECT* monitor, RECT* workArea) {
    xwin::Session x;
    if (!x) return false;
    std::vector<xwin::Monitor> monitors;
    x.Monitors(&monitors);
    std::vector<RECT> rects;
    for (const xwin::Monitor& m : monitors) rects.push_back(m.rect);
    *monitor = rects[NearestMonitor(rects, rect)];
    RECT area;
    *workArea = *monitor;
    if (x.WorkArea(&area) && !IsEmpty(Intersection(area, *monitor)))
        *workArea = Intersection(area, *monitor);
    return true;
}

bool GetMonitors(const RECT* rect, std::vector<MonitorEntry>& outList) {
    outList.clear();
    std::vector<RECT> monitors;
    if (!ListMonitors(&monitors)) return false;
    for (size_t i = 0; i < monitors.size(); ++i)
        if (!rect || !IsEmpty(Intersection(monitors[i], *rect)))
            outList.push_back(MonitorEntry{i + 1, monitors[i]});
    return true;
}

bool MonitorOfPoint(POINT point, MonitorEntry* out) {
    QDR_CHECK_OR_RETURN(out != nullptr, false);
    std::vector<MonitorEntry> hits;
    const RECT pixel{point.x, point.y, point.x + 1, point.y + 1};
    if (!GetMonitors(&pixel, hits) || hits.size() != 1) return false;
    *out = hits[0];
    return true;
}

bool MonitorsOfWindow(HWND window, std::vector<MonitorEntry>& outList) {
    outList.clear();
    RECT rect;
    QDR_CHECK_OR_RETURN(GetWindowRect(window, &rect), false);
    return GetMonitors(&rect, outList);
}

bool GetMonitorRect(HMONITOR monitor, RECT* out) {
    QDR_CHECK_OR_RETURN(out != nullptr, false);
    xwin::Session x;
    if (!x) return false;
    if (monitor == 0) {
        int w, h;
        x.ScreenSize(&w, &h);
        *out = RECT{0, 0, w, h};
        return true;
    }
    std::vector<RECT> monitors;
    if (!ListMonitors(&monitors) || monitor > monitors.size()) return false;
    *out = monitors[monitor - 1];
    return true;
}

bool IsMultiMonitor() {
    std::vector<RECT> monitors;
    return ListMonitors(&monitors) && monitors.size() > 1;
}

bool GetDisplayDevices(std::vector<MonitorEntry>& outList) {
    GetMonitors(nullptr, outList);
    if (outList.empty()) outList.push_back(MonitorEntry{0, RECT{0, 0, 0, 0}});
    return true;
}
