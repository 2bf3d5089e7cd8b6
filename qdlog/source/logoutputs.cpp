// The end of the road: one line to standard output, the debugger, the log file
// and the callbacks, in that order, and the map of callbacks.
#include <cstdio>
#include <cstring>

#include "eventroad.h"
#include "qdr/platform/os.h"
#include "smartstr.h"

namespace {

// A line as the narrow outputs take it. The narrow road's line is a view into the
// whole message, not terminated at its length; the wide road's is converted to
// UTF-8 and terminated, and its length counts bytes.
template <class CHAR>
class NarrowText;

template <>
class NarrowText<char> {
public:
    NarrowText(const char* text, int length) : text_(text), length_(length) {}
    const char* Text() const { return text_; }
    int Length() const { return length_; }

private:
    const char* text_;
    int length_;
};

template <>
class NarrowText<char16_t> {
public:
    NarrowText(const char16_t* text, int length) : text_(text, length) {}
    const char* Text() const { return text_.c_str(); }
    int Length() const { return text_.Length(); }

private:
    SmartStr text_;
};

void OutputDebugStringA(const char* text) {
    os::OutputDebugText(text);
}
void OutputDebugStringW(const char16_t* text) {
    os::OutputDebugTextW(text);
}
void OutputDebugStringOf(const char* text) {
    OutputDebugStringA(text);
}
void OutputDebugStringOf(const char16_t* text) {
    OutputDebugStringW(text);
}

void WriteScreen(bool normal, const char* head, int headLen, const char* text, int textLen) {
    if (normal) fwrite(head, 1, static_cast<size_t>(headLen), stdout);
    fwrite(text, 1, static_cast<size_t>(textLen), stdout);
    if (normal) fputs("\n", stdout);
}

// The debugger gets the head, then a copy of the text with its LF, as two texts.
template <class CHAR>
void WriteDebugger(bool normal, const CHAR* head, const CHAR* text, int textLen) {
    if (textLen > 0) {
        SmartBuf<CHAR, 1024> line(textLen + 2);
        if (!line.Get()) return;  // no room for the copy: the debugger misses the line
        OutputDebugStringOf(head);
        memcpy(line.Get(), text, static_cast<size_t>(textLen) * sizeof(CHAR));
        int used = textLen;
        if (normal) line.Get()[used++] = '\n';
        line.Get()[used] = 0;
        OutputDebugStringOf(line.Get());
    } else if (normal) {
        OutputDebugStringOf(head);
        OutputDebugStringA("\n");
    }
}

// Walks by key rather than by iterator: after each call the walk goes on at the
// next key above the one just called, so a callback that adds or removes entries,
// its own included, never leaves the walk on a freed node.
void CallCallbacks(LogContext& log, int type, const char* head, int headLen, const char* text,
                   int textLen) {
    CallbackMap& map = log.callbackMap_;
    for (CallbackMap::iterator it = map.begin(); it != map.end();) {
        void* const userData = it->first;
        it->second(userData, type, head, headLen, text, textLen);
        it = map.upper_bound(userData);
    }
}

template <class CHAR>
void EmitLine(LogContext& log, int type, const CHAR* head, int headLen, const CHAR* text,
              int textLen) {
    QDR_CHECK(log.lock_.IsLockedByThreadSelf());
    const bool normal = type != kRawEventType;
    const NarrowText<CHAR> narrowHead(head, headLen);
    const NarrowText<CHAR> narrowText(text, textLen);
    if (log.toScreen_)
        WriteScreen(normal, narrowHead.Text(), narrowHead.Length(), narrowText.Text(),
                    narrowText.Length());
    if (log.toDebuger_) WriteDebugger(normal, head, text, textLen);
    if (log.toFile_ && log.logFile_.IsOpen())
        log.logFile_.WriteLine(normal, narrowHead.Text(), narrowHead.Length(), narrowText.Text(),
                               narrowText.Length());
    CallCallbacks(log, type, narrowHead.Text(), narrowHead.Length(), narrowText.Text(),
                  narrowText.Length());
}

}  // namespace

void QDLogEmitLine(LogContext& log, int type, const char* head, int headLen, const char* text,
                   int textLen) {
    EmitLine(log, type, head, headLen, text, textLen);
}

void QDLogEmitLineW(LogContext& log, int type, const char16_t* head, int headLen,
                    const char16_t* text, int textLen) {
    EmitLine(log, type, head, headLen, text, textLen);
}

int AddLogCallback(LogContext& log, QDLogCallback callback, void* userData) {
    LogLock lock(log);
    if (!lock.Held()) return 0;
    // An existing entry stays, even when the new callback differs.
    return log.callbackMap_.emplace(userData, callback).second ? 1 : 0;
}

int RemoveLogCallback(LogContext& log, void* userData) {
    LogLock lock(log);
    if (!lock.Held()) return 0;
    return log.callbackMap_.erase(userData) == 1 ? 1 : 0;
}
