// The stack walker: turns the current position of a thread into short lines of
// text. It binds the symbol library at run time (libdw, so a machine without it
// simply gets no lines), registers the process's modules with it, steps the frames
// of one thread and hands each frame to a virtual operation that prints it.
// StackWalker_D_ collects a screenful of those lines for the assertion report.
#pragma once

#include <cstdint>

namespace win_sw {

// What ReportFrame is handed: the first frame, any further frame, and the closing
// record after the last one.
enum EntryKind {
    firstEntry = 0,
    nextEntry = 1,
    lastEntry = 2,
};

// The pseudo handles of the calling thread and process, compared as values.
constexpr uint32_t kCurrentThread = 0xFFFFFFFEu;
constexpr uintptr_t kCurrentProcess = ~static_cast<uintptr_t>(0);

// Option bits: 0x08 reads each module's file version, 0x10 builds a search path.
// 0x01, 0x02, 0x04 and 0x20 are accepted and change nothing.
enum Options : uint32_t {
    RetrieveFileVersion = 0x08,
    SymBuildPath = 0x10,
    OptionsAll = 0x3F,
};

// A reader in place of the system's: process, address, buffer, size, bytes read,
// user value.
typedef bool (*ReadMemoryRoutine)(uintptr_t process, uint64_t address, void* buffer, uint32_t size,
                                  uint32_t* bytesRead, void* userData);

constexpr int kNameChars = 1024;

struct FrameRecord {
    uint64_t offset;  // the program counter
    char name[kNameChars];
    char undName[kNameChars];      // undecorated, name only
    char undFullName[kNameChars];  // undecorated, complete
    uint64_t offsetFromSymbol;
    uint32_t offsetFromLine;
    uint32_t lineNumber;
    char lineFileName[kNameChars];
    uint32_t symType;
    const char* symTypeString;
    char moduleName[kNameChars];
    uint64_t baseOfImage;
    char loadedImageName[kNameChars];
};

class SymbolEngine;

class StackWalker {
public:
    StackWalker(uint32_t options, const char* symbolPath, uint32_t processId, uintptr_t process);
    virtual ~StackWalker();
    StackWalker(const StackWalker&) = delete;
    StackWalker& operator=(const StackWalker&) = delete;

    // Walks `thread` (a kernel thread id, or kCurrentThread) from `context` (a
    // ucontext_t, or null for where the thread stands now). False, with the last
    // error set, when the symbol library is missing or the thread's context cannot
    // be had: it has exited, belongs to another process or does not answer.
    bool ShowCallstack(uint32_t thread = kCurrentThread, const void* context = nullptr,
                       ReadMemoryRoutine readMemory = nullptr, void* userData = nullptr);

protected:
    virtual void ReportSymbolInit(const char* searchPath, uint32_t symOptions,
                                  const char* userName);
    virtual void ReportModuleLoaded(const char* image, const char* module, uint64_t base,
                                    uint32_t size, uint32_t result, const char* symType,
                                    const char* pdbName, uint64_t fileVersion);
    virtual void ReportFrame(int entryKind, FrameRecord& frame);
    virtual void EmitLine(const char* text);

    // A failed look-up. Only a shown one prints: "module: address()".
    void ReportHelperError(bool show, const char* function, int lastError, uint64_t address);

private:
    friend class SymbolEngine;
    struct WalkState;
    bool OnFrame(WalkState& walk, uint64_t pc, bool exact);
    bool LoadModules();
    bool RegisterModules();
    uint32_t RegisterModule(const char* image, const char* module, uint64_t base, uint32_t size,
                            uint64_t bias);
    void LookUpFrame(uint64_t address, bool exact, FrameRecord& record);

    SymbolEngine* engine_;
    uintptr_t process_;
    uint32_t processId_;
    bool modulesLoaded_;
    char* symbolPath_;
    uint32_t options_;
};

// The process-wide reader slots, set by every walk. The unwinder reads this
// process's memory itself, so they are kept for callers that look at them.
ReadMemoryRoutine CurrentReadMemoryRoutine();
void* CurrentReadMemoryUserData();

}  // namespace win_sw

// The walker of the assertion report: at most `maxLines` lines in `text`, each cut
// to 100 characters and ended by CR LF; the walk still runs to the outermost frame.
class StackWalker_D_ : public win_sw::StackWalker {
public:
    StackWalker_D_();
    const char* Text() const { return text; }

    int maxLines;
    int linesSeen;
    char text[2048];
    char* end;

protected:
    void EmitLine(const char* line) override;
};
