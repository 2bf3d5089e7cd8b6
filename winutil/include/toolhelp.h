// The process questions that take or return windows: a process's main window, its
// real windows, and the program behind a window.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "wnddk.h"

// "IME;MSCTFIME UI;tooltips_class32;ConsoleWindowClass": classes that are never a
// process's own real window.
extern const char kWindowFilter[];

// The window of the process (0: this one) with the largest client area, among its
// top-level windows outside the filter; `desktop` has no meaning on X11.
HWND FindMainWindow(uint32_t processId = 0, const char* desktop = nullptr);
// `file` null: this process; else the first process running it.
HWND FindMainWindowOfFile(const char* file, bool matchFullPath);
bool ListProcessWindows(std::vector<HWND>& outWindows, uint32_t processId);
// The first top-level window of the process whose class matches (`mustMatch`) or
// does not match the patterns; null patterns: any.
HWND FindProcessWindow(uint32_t processId, const char* classPatterns, bool mustMatch);
// The image path of the window's process, empty when it cannot be had.
std::string GetWindowProcessFile(HWND window);
