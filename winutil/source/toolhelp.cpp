// Windows of processes: the main window, the list of real windows and the
// program behind a window, over the X server's top-level windows.
#include "toolhelp.h"

#include "platform/xwin.h"
#include "qdfdk.h"
#include "qdglib.h"
#include "qdr/platform/os.h"
#include "qdr/qdassert.h"
#include "strdk_match.h"

const char kWindowFilter[] = "IME;MSCTFIME UI;tooltips_class32;ConsoleWindowClass";

namespace {

uint32_t ProcessOrSelf(uint32_t processId) {
    return processId ? processId : os::CurrentProcessId();
}

}  // namespace

HWND FindMainWindow(uint32_t processId, const char* /*desktop*/) {
    xwin::Session x;
    std::vector<HWND> windows;
    if (!x || !x.Children(x.Root(), &windows)) return 0;
    const uint32_t pid = ProcessOrSelf(processId);
    HWND best = 0;
    int64_t bestArea = 0;
    for (HWND w : windows) {
        if (x.ProcessId(w) != pid) continue;
        const std::string className = x.ClassName(w);
        if (className.empty() || MatchingMultiPatterns(className.c_str(), kWindowFilter)) continue;
        int width, height;
        if (!x.ClientSize(w, &width, &height) || width <= 0 || height <= 0) continue;
        // Strictly larger only: among equal areas the first one found stays.
        if (int64_t{width} * height > bestArea) {
            bestArea = int64_t{width} * height;
            best = w;
        }
    }
    return best;
}

HWND FindMainWindowOfFile(const char* file, bool matchFullPath) {
    if (!file) return FindMainWindow(0);
    uint32_t pid = 0;
    if (!FindProcessByFile(file, &pid, matchFullPath)) return 0;
    return FindMainWindow(pid);
}

bool ListProcessWindows(std::vector<HWND>& outWindows, uint32_t processId) {
    outWindows.clear();
    xwin::Session x;
    std::vector<HWND> windows;
    if (!x || !x.Children(x.Root(), &windows)) return false;
    const uint32_t pid = ProcessOrSelf(processId);
    for (HWND w : windows)
        if (x.ProcessId(w) == pid && !MatchingMultiPatterns(x.ClassName(w).c_str(), kWindowFilter))
            outWindows.push_back(w);
    return true;
}

HWND FindProcessWindow(uint32_t processId, const char* classPatterns, bool mustMatch) {
    xwin::Session x;
    std::vector<HWND> windows;
    if (!x || !x.Children(x.Root(), &windows)) return 0;
    const uint32_t pid = ProcessOrSelf(processId);
    for (HWND w : windows) {
        if (!x.IsWindow(w)) break;
        if (x.ProcessId(w) != pid) continue;
        if (!classPatterns ||
            MatchingMultiPatterns(x.ClassName(w).c_str(), classPatterns) == mustMatch)
            return w;
    }
    return 0;
}

std::string GetWindowProcessFile(HWND window) {
    xwin::Session x;
    if (!x) return "";
    QDR_CHECK_OR_RETURN(x.IsWindow(window), "");
    const uint32_t pid = x.ProcessId(window);
    char path[kMaxPathChars];
    if (!pid || !GetProcessFileName(pid, path)) return "";
    return path;
}
