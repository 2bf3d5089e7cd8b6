// The monitors of the screen, from XRandR. A monitor handle is its 1-based place in
// the server's list; 0 is none.
#pragma once

#include <cstdint>
#include <vector>

#include "wnddk.h"

using HMONITOR = uintptr_t;

struct MonitorEntry {
    HMONITOR monitor;
    RECT rect;
};

// The monitors that `rect` (null: the whole screen) touches, in the server's order.
bool GetMonitors(const RECT* rect, std::vector<MonitorEntry>& outList);
// Exactly one monitor must hold the point.
bool MonitorOfPoint(POINT point, MonitorEntry* out);
bool MonitorsOfWindow(HWND window, std::vector<MonitorEntry>& outList);
// A null monitor gives the whole screen.
bool GetMonitorRect(HMONITOR monitor, RECT* out);
bool IsMultiMonitor();
// One entry per monitor; with none found, one entry with a null monitor and an empty
// rectangle.
bool GetDisplayDevices(std::vector<MonitorEntry>& outList);

// The index in `monitors` of the one that shares most area with `rect`, else of the
// nearest one; -1 for an empty list.
int NearestMonitor(const std::vector<RECT>& monitors, const RECT& rect);
// The work area of the monitor nearest to `rect`: _NET_WORKAREA within the monitor,
// or the whole monitor without a window manager.
bool MonitorAndWorkArea(const RECT& rect, RECT* monitor, RECT* workArea);
