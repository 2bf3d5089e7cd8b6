// The small window chores of the toolkit as free functions over window ids: the
// search by several criteria at once, owners and the tree walk, centring, the frame
// repaint, window alpha, hit tests and the clipboard. On Linux a window is an X
// window id; every function returns its failure value at once without a display.
#pragma once

#include <cstdarg>
#include <cstdint>
#include <string>
#include <vector>

#include "qdgeometry.h"

using HWND = unsigned long;  // an X window id; 0 is none

using RECT = QDRect;
using POINT = QDPoint;

// The style bits a window reports (GetWindowStyle).
constexpr uint32_t WS_POPUP = 0x80000000u;
constexpr uint32_t WS_CHILD = 0x40000000u;
constexpr uint32_t WS_MINIMIZE = 0x20000000u;
constexpr uint32_t WS_VISIBLE = 0x10000000u;

bool IsWindow(HWND window);
uint32_t GetWindowStyle(HWND window);
bool GetWindowRect(HWND window, RECT* out);

// ---- window search ------------------------------------------------------------

// The first window below `parent` (0: the desktop) whose title and class match the
// patterns (msf_ignore_case), whose owner is `owner` and whose style is `style`
// (-1: any); `processId` -2 any process, -1 this one. A window of another process
// fails, and its children are not searched. Null when no test is set.
HWND FindWindowEx2(HWND parent, const char* title, const char* className, HWND owner, int64_t style,
                   bool recursive, int processId);
HWND FindChildWindow(HWND parent, const char* title, const char* className, HWND owner,
                     int64_t style, bool recursive, bool inThisProcess);
HWND FindProcessTopWindow(int processId, const char* title, const char* className);

// ---- owners and the tree ------------------------------------------------------

// The active window when it is one of this process's; null otherwise (a process has
// no console window here).
HWND GetDefaultOwner();
bool IsTopLevel(HWND window, HWND* outParent = nullptr);
// Null when the climb reaches a window of another process.
HWND GetTopLevelWindow(HWND subWnd);
// A client message of the type "QD_MESSAGE" with the three words to each direct
// child; false when a child died during the walk.
bool SendToChildren(HWND parentWnd, uint32_t message, uintptr_t wParam, intptr_t lParam);

// ---- position and repaint -----------------------------------------------------

// Centres a popup on its owner (or parent), or on the work area of its monitor when
// the owner is hidden or minimised, held within the monitor. Others stay put.
void CenterWindow(HWND window);
// Where CenterWindow puts a window of `window`'s rectangle: on `reference` or, if
// null, on `workArea`, held within `monitor`.
POINT CenterPosition(const RECT& window, const RECT* reference, const RECT& monitor,
                     const RECT& workArea);
// Clears the frame of `rect`, `thick` pixels deep, with Expose events when `eraseIt`.
bool InvalidateRectangle(HWND wnd, const RECT& rect, bool eraseIt, int thick);
bool IsRectVisibleIn(HWND wnd, const RECT& rect);
// _NET_WM_WINDOW_OPACITY: 0..255, removed at 255.
bool SetWindowAlpha(HWND window, int alpha);

// ---- mouse and hit tests ------------------------------------------------------

bool IsPointOnWindow(HWND wnd, POINT point, bool isScreenPoint, HWND* outHit = nullptr);
bool ResendMouseMove(HWND wnd, bool post);
// The windows a line on the screen crosses, each once, in the order met; the count.
int FindWindowsOnLine(int x1, int y1, int x2, int y2, std::vector<HWND>& outWindows);

// ---- other --------------------------------------------------------------------

// No tool tips to relay and no tray of this kind on X11: false.
bool RelayToolTip(HWND tip, HWND window, uint32_t message, uintptr_t wParam, intptr_t lParam);
bool NotifyIcon(int action, HWND window, int id, uintptr_t icon, uint32_t callbackMessage,
                const char* tip);
// X11 windows have no class cursor to ask for: 0.
uintptr_t GetWindowClassCursor(HWND window);
// Through the GTK clipboard, handed to the clipboard manager so that the text stays
// after the call (and after the process, where a manager runs).
bool CopyTextToClipboard(const char* text, int length = -1);

// ---- the self-made message box --------------------------------------------------

// One row of the button table: the id returned, and the English and Chinese texts.
struct BoxButtonRow {
    int id;
    const char* text[2];
};
// Fourteen rows; a row's index is its bit in the flags.
extern const BoxButtonRow kBoxButtonTable[14];
constexpr uint32_t kBoxCentreOnScreen = 0x80000000u;  // bit 31: no button

// The table's column, 1 (Chinese) when the locale is zh_CN, else 0; fixed on first use.
int BoxLanguage();

// Where everything of a box goes, in pixels; the box is its client area.
struct BoxLayout {
    RECT box;    // on the screen
    RECT label;  // within the box
    struct Button {
        int id, x, y;
    };
    std::vector<Button> buttons;  // 75 by 21
    int focusIndex;
    int wrap;           // characters per measured line
    std::string lines;  // the lines measured, each ended by LF but the last
};
// The layout arithmetic. `measure` gives the width and height of one line in the
// box's font; `reference` is the owner's rectangle, `screen` the screen's.
using MeasureLine = void (*)(void* context, const std::string& line, int* width, int* height);
BoxLayout LayoutMessageBox(uint32_t flags, const char* text, int defaultIndex, int language,
                           MeasureLine measure, void* context, const RECT& reference,
                           const RECT& screen);

// A modal box with the buttons of `flags` in table order; the id of the button
// pressed, 2 on Esc or close, 0 while another box of this kind is open, 2 without a
// display. `parent` null: the default owner.
int HYMessageBox(HWND parent, const char* text, const char* caption, uint32_t flags,
                 int defaultIndex = 0);

// ---- the message dialog with its own captions and corner -----------------------

// Captions for the buttons with ids 1..7 (null or empty: unchanged), and the screen
// point where the box's corner goes: 1 top left, 2 top right, 3 bottom right,
// 4 bottom left, else no move.
struct MessageBoxSite {
    const char* captions[7];
    int corner;
    int x, y;
};
// How far a box of the frame `box` moves so that the site's corner lands on (x, y).
POINT SiteCornerOffset(const MessageBoxSite& site, const RECT& box);
// A message dialog with the buttons and icon of `style` (MB_OK 0 ... MB_RETRYCANCEL
// 5, icons 0x10..0x40, MB_DEFBUTTON2 0x100); the id of the answer, 0 without a display.
int ShowSiteMessageBox(const MessageBoxSite* site, HWND owner, const char* text,
                       const char* caption, uint32_t style);
// Formats the text; an empty caption is "Message"; `parent` null: the default owner.
int SiteMessageBoxV(const MessageBoxSite* site, HWND parent, uint32_t style, const char* caption,
                    const char* fmt, va_list args);
int SiteMessageBox(const MessageBoxSite* site, HWND parent, uint32_t style, const char* caption,
                   const char* fmt, ...) __attribute__((format(printf, 5, 6)));
// The wide forms: the format follows the wide printf rules; the site's captions stay
// UTF-8.
int SiteMessageBoxV(const MessageBoxSite* site, HWND parent, uint32_t style,
                    const char16_t* caption, const char16_t* fmt, va_list args);
int SiteMessageBox(const MessageBoxSite* site, HWND parent, uint32_t style, const char16_t* caption,
                   const char16_t* fmt, ...);

// ---- folder and file dialogs ------------------------------------------------------

// The folder dialog, starting in `initPath` or else where the user last chose a
// folder. `folderPath` holds 512 characters. True when an existing folder was chosen;
// on cancel `folderPath` is emptied.
bool SelectAExistedFolder(char* folderPath, const char* caption, const char* prompt,
                          HWND ownerWnd = 0, const char* initPath = nullptr);
std::string SelectAExistedFolder(const char* caption, const char* prompt, HWND ownerWnd = 0,
                                 const char* initPath = nullptr);
// The stored folder of the folder dialog, and the stored "GetFilePathName" value, when
// they name an existing directory; else empty.
std::string GetRecentFolder();
std::string GetRecentFilePath();

// One open or save dialog, repeated while the user refuses to replace a file. The
// filter is "name|pattern|name|pattern"; `filterIndex` (1-based, in and out) may be
// null. On a save, a name without extension gets the selected pattern's ("*.txt").
// With several files chosen, `nameBuf` holds the directory, then each name, every
// one ended by NUL, and an empty one last.
bool GetFilePathName(HWND parent, char* nameBuf, int nameBufSize, bool isOpen, bool multiSelect,
                     const char* filter, int* filterIndex, const char* initDir, const char* title);
// The multiple-selection form: `list` gives the first name in, every full path out.
bool GetFilePathNames(HWND parent, std::vector<std::string>& list, bool isOpen, bool multiSelect,
                      const char* filter, int* filterIndex, const char* initDir, const char* title);
std::string GetFilePathName(HWND parent, const char* initName, bool isOpen, const char* filter,
                            int* filterIndex = nullptr, const char* initDir = nullptr,
                            const char* title = nullptr);
// The extension rule of a save: "a" with "Text|*.txt|All|*.*" and index 1 -> "a.txt";
// false when the filter's pieces are odd or the index is outside them.
bool AppendFilterExtension(char* nameBuf, int nameBufSize, const char* filter, int filterIndex);

// The wide forms, UTF-16 in and out. `folderPath` holds 512 units, and `nameBuf`
// `nameBufSize` units.
bool SelectAExistedFolder(char16_t* folderPath, const char16_t* caption, const char16_t* prompt,
                          HWND ownerWnd = 0, const char16_t* initPath = nullptr);
std::u16string SelectAExistedFolder(const char16_t* caption, const char16_t* prompt,
                                    HWND ownerWnd = 0, const char16_t* initPath = nullptr);
std::u16string GetRecentFolderW();
std::u16string GetRecentFilePathW();
bool GetFilePathName(HWND parent, char16_t* nameBuf, int nameBufSize, bool isOpen, bool multiSelect,
                     const char16_t* filter, int* filterIndex, const char16_t* initDir,
                     const char16_t* title);
bool GetFilePathNames(HWND parent, std::vector<std::u16string>& list, bool isOpen, bool multiSelect,
                      const char16_t* filter, int* filterIndex, const char16_t* initDir,
                      const char16_t* title);
std::u16string GetFilePathName(HWND parent, const char16_t* initName, bool isOpen,
                               const char16_t* filter, int* filterIndex = nullptr,
                               const char16_t* initDir = nullptr, const char16_t* title = nullptr);

// Asks for a folder and trims the blanks at the line ends of its source files,
// reporting the count or the failing file in a message box.
bool TrimSourceTreeDialog();
