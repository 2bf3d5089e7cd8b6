// Lines under a budget, and the caller's stack as text for an application.
#include "stacktext.h"

#include <cstring>

#include "platform/os_stack.h"
#include "qdr/qdassert.h"
#include "qdr/platform/os.h"
#include "rawstack.h"
#include "stackwalker.h"

void AppendStackLine(StackLines* lines, const char* line) {
    if (lines->linesSeen++ >= lines->maxLines) return;
    char cut[101];
    size_t length = strlen(line);
    if (length > 100) {
        memcpy(cut, line, 94);
        memcpy(cut + 94, "... ()", 7);
        line = cut;
        length = 100;
    }
    const size_t endLength = strlen(lines->lineEnd);
    const size_t used = static_cast<size_t>(lines->end - lines->text);
    // A line that does not fit the rest of the text is counted and not kept.
    if (used + length + endLength + 1 > static_cast<size_t>(lines->room)) return;
    memcpy(lines->end, line, length);
    memcpy(lines->end + length, lines->lineEnd, endLength);
    lines->end += length + endLength;
    *lines->end = 0;
}

int StackDisplayHeight() {
    int rows = 0, pixels = 0;
    if (!os::TerminalSize(&rows, &pixels)) return 1024;
    return pixels > 0 ? pixels : rows * 16;
}

namespace {

// The walker of qdr_WriteStackText: every frame, and its caller's first.
class TextWalker : public win_sw::StackWalker {
public:
    explicit TextWalker(StackLines* lines)
        : StackWalker(win_sw::OptionsAll, nullptr, os::CurrentProcessId(), win_sw::kCurrentProcess),
          lines_(lines) {}

protected:
    void ReportFrame(int entryKind, win_sw::FrameRecord& frame) override {
        if (strstr(frame.name, "qdr_WriteStackText")) return;
        StackWalker::ReportFrame(entryKind, frame);
    }
    void EmitLine(const char* line) override { AppendStackLine(lines_, line); }

private:
    StackLines* lines_;
};

}  // namespace

__attribute__((noinline)) int qdr_WriteStackText(char* out, int room) {
    QDR_CHECK_OR_RETURN(out != nullptr, 0);
    QDR_CHECK_OR_RETURN(room > 0, 0);
    out[0] = 0;
    StackLines lines = {0x7FFFFFFF, 0, out, room, out, "\n"};
    {
        TextWalker walker(&lines);
        if (walker.ShowCallstack()) return static_cast<int>(lines.end - out);
    }
    // Without the symbol library: module and address of each frame, from this
    // function's caller on.
    lines = StackLines{0x7FFFFFFF, 0, out, room, out, "\n"};
    out[0] = 0;
    WriteRawStackLines(nullptr, &lines, 1);
    return static_cast<int>(lines.end - out);
}
