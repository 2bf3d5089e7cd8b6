// The GTK 3 side of the boxes and dialogs. GTK is driven from one thread: the
// thread that runs the default main context (the application's GTK loop), or, when
// no thread runs it, a GUI thread of the library's own, started on first use. A
// call from any other thread is handed to that thread and waits for the answer.
#pragma once

#include <functional>
#include <string>
#include <utility>
#include <vector>

#include "wnddk.h"

namespace gtkui {

// Runs `job` on the GUI thread and returns when it is done; false at once, without
// running it, when there is no display or GTK cannot start.
bool RunOnGuiThread(const std::function<void()>& job);

// The rest run on the GUI thread (inside a job).

// The size of one line of `text` in the font `family` (a 16-pixel cell).
void MeasureText(const char* family, const std::string& text, int* width, int* height);

struct BoxButton {
    int id;
    std::string label;
    int x, y;
};
// The self-made box, already laid out: the client area, the text block and the
// buttons, 75 by 21 each, in pixels. The answer: the id pressed, 2 on Esc or close.
struct BoxWindow {
    HWND parent;
    std::string caption, text, family;
    RECT box;    // on the screen
    RECT label;  // within the box
    std::vector<BoxButton> buttons;
    int focusIndex;
};
int RunBoxWindow(const BoxWindow& spec);

// A GTK message dialog with the buttons and icon of `style` (the MB_* word), the
// seven captions (empty: the usual one) in place, moved by `place` once shown.
int RunMessageDialog(HWND owner, const std::string& text, const std::string& caption,
                     unsigned style, const std::string captions[7],
                     const std::function<POINT(const RECT& frame)>& place);

enum ChooserKind { kChooseFolder, kChooseOpen, kChooseSave };
struct Chooser {
    ChooserKind kind;
    HWND parent;
    std::string title, prompt, startDir, name;
    bool multiSelect;
    std::vector<std::pair<std::string, std::string>> filters;  // name, "*.a;*.b"
    int filterIndex;                                           // 1-based; 0: the first
};
// The chosen paths; `*filterIndex` the 1-based filter in use. False on cancel.
bool RunFileChooser(const Chooser& spec, std::vector<std::string>* paths, int* filterIndex);

bool SetClipboardText(const char* text, int length);
std::string ClipboardText();

}  // namespace gtkui
