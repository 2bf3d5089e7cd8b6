// The walk: the symbol engine is set up and the modules registered at the first
// walk of each walker, then every frame is looked up and handed to ReportFrame.
#include "stackwalker.h"

#include <atomic>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <vector>

#include "platform/os_stack.h"
#include "qdr/platform/os.h"
#include "qdr/platform/os_files.h"
#include "stacktext.h"
#include "symbolengine.h"

// Texts of fixed capacity are cut when they do not fit.
#if defined(__GNUC__) && !defined(__clang__)
#pragma GCC diagnostic ignored "-Wformat-truncation"
#endif

namespace win_sw {

namespace {

constexpr int kErrorNotEnoughMemory = 8;
constexpr int kErrorDllInitFailed = 1114;
constexpr int kSearchPathChars = 4096;
constexpr int kPieceChars = 1024;
// Frames of another thread kept while it is held; deeper ones end the walk.
constexpr size_t kHeldThreadFrames = 16384;

// The public symbol server, kept as text in the search path; nothing downloads.
const char kSymbolServer[] = "https://msdl.microsoft.com/download/symbols";

const char* const kSymTypeNames[] = {"-nosymbols-", "COFF", "CV",  "PDB",    "-exported-",
                                     "-deferred-",  "SYM",  "DIA", "Virtual"};

std::atomic<ReadMemoryRoutine> g_readMemory{nullptr};
std::atomic<void*> g_readMemoryUserData{nullptr};

const char* SymTypeText(uint32_t symType) {
    return symType < sizeof(kSymTypeNames) / sizeof(kSymTypeNames[0]) ? kSymTypeNames[symType]
                                                                      : nullptr;
}

char* Duplicate(const char* text) {
    return text ? strdup(text) : nullptr;
}

void Copy(char* out, const char* text) {
    snprintf(out, kNameChars, "%s", text);
}

// "/usr/lib/libz.so.1" -> "libz.so.1"; "C:\src\a.cpp" -> "a.cpp".
const char* FileNamePart(const char* path) {
    const char* name = path;
    for (const char* p = path; *p; ++p)
        if (*p == '/' || *p == '\\') name = p + 1;
    return name;
}

// The file version of a shared object from the numbers after ".so.":
// "libz.so.1.2.13" -> 1.2.13.0 as four 16-bit words, highest first; 0 without them.
uint64_t FileVersionOf(const char* image) {
    const char* numbers = strstr(FileNamePart(image), ".so.");
    if (!numbers) return 0;
    numbers += 4;
    uint64_t version = 0;
    for (int word = 3; word >= 0; --word) {
        uint64_t value = 0;
        while (*numbers >= '0' && *numbers <= '9') value = value * 10 + (*numbers++ - '0');
        version |= (value & 0xFFFF) << (16 * word);
        if (*numbers != '.') break;
        ++numbers;
    }
    return version;
}

void AppendPiece(char* path, const char* piece) {
    const size_t used = strlen(path);
    snprintf(path + used, kSearchPathChars - used, "%s;", piece);
}

}  // namespace

ReadMemoryRoutine CurrentReadMemoryRoutine() {
    return g_readMemory.load(std::memory_order_relaxed);
}
void* CurrentReadMemoryUserData() {
    return g_readMemoryUserData.load(std::memory_order_relaxed);
}

struct StackWalker::WalkState {
    StackWalker* walker;
    FrameRecord* record;
    bool first;
    uint64_t lastPc;
};

StackWalker::StackWalker(uint32_t options, const char* symbolPath, uint32_t processId,
                         uintptr_t process)
    : engine_(nullptr),
      process_(process),
      processId_(processId),
      modulesLoaded_(false),
      symbolPath_(Duplicate(symbolPath)),
      options_(options) {
    if (symbolPath_) options_ |= SymBuildPath;
    engine_ = new SymbolEngine(this);
}

StackWalker::~StackWalker() {
    free(symbolPath_);
    delete engine_;
}

bool StackWalker::ShowCallstack(uint32_t thread, const void* context, ReadMemoryRoutine readMemory,
                                void* userData) {
    if (!modulesLoaded_) LoadModules();
    if (!engine_->HasLibrary()) {
        os::SetLastError(kErrorDllInitFailed);
        return false;
    }
    g_readMemory.store(readMemory, std::memory_order_relaxed);
    g_readMemoryUserData.store(userData, std::memory_order_relaxed);

    FrameRecord* record = static_cast<FrameRecord*>(malloc(sizeof(FrameRecord)));
    if (!record) return true;
    WalkState walk = {this, record, true, 0};
    os::WalkEnd end;
    if (!context && thread != kCurrentThread && thread != os::CurrentThreadId()) {
        // The other thread waits in a signal handler while its frames are stepped. It
        // may hold the heap's lock, so they go into room taken beforehand and are
        // looked up (which allocates) once it has been let go.
        std::vector<os::StackFrame> frames;
        frames.reserve(kHeldThreadFrames);
        os::MachineContext borrowed;
        if (!os::BorrowThreadContext(thread, &borrowed)) {
            free(record);
            return false;
        }
        end = os::WalkStack(
            borrowed.bytes,
            [](void* room, const os::StackFrame& frame) {
                auto* kept = static_cast<std::vector<os::StackFrame>*>(room);
                if (kept->size() == kept->capacity()) return false;
                kept->push_back(frame);
                return true;
            },
            &frames);
        os::ReturnBorrowedThread();
        if (end == os::WalkEnd::kStopped) end = os::WalkEnd::kStepFailed;  // out of room
        for (const os::StackFrame& frame : frames) OnFrame(walk, frame.pc, frame.exact);
    } else {
        end = os::WalkStack(
            context,
            [](void* state, const os::StackFrame& frame) {
                WalkState* w = static_cast<WalkState*>(state);
                return w->walker->OnFrame(*w, frame.pc, frame.exact);
            },
            &walk);
    }
    if (end == os::WalkEnd::kOutermost) {
        ReportFrame(lastEntry, *record);
        os::SetLastError(0);
    } else if (end == os::WalkEnd::kStepFailed) {
        ReportHelperError(true, "StackWalk64()", os::GetLastError(), walk.lastPc);
    }
    free(record);
    return true;
}

bool StackWalker::OnFrame(WalkState& walk, uint64_t pc, bool exact) {
    FrameRecord& record = *walk.record;
    memset(&record, 0, sizeof(record));
    record.offset = pc;
    if (pc != 0) LookUpFrame(pc, exact, record);
    ReportFrame(walk.first ? firstEntry : nextEntry, record);
    walk.first = false;
    walk.lastPc = pc;
    return true;
}

// A return address is looked up one byte back, inside the call that it follows,
// so that the line is the call's line and not the next statement's.
void StackWalker::LookUpFrame(uint64_t address, bool exact, FrameRecord& record) {
    const uint64_t at = exact ? address : address - 1;
    if (engine_->SymbolFromAddr(at, record.name, kNameChars, &record.offsetFromSymbol)) {
        SymbolEngine::Undecorate(record.name, record.undName, kNameChars, true);
        SymbolEngine::Undecorate(record.name, record.undFullName, kNameChars, false);
    } else {
        ReportHelperError(false, "SymGetSymFromAddr64()", os::GetLastError(), address);
    }
    if (engine_->CanLookUpLines()) {
        if (!engine_->LineFromAddr(at, &record.lineNumber, record.lineFileName, kNameChars))
            ReportHelperError(true, "SymGetLineFromAddr64()", os::GetLastError(), address);
    }
    ModuleFacts facts;
    if (engine_->ModuleInfo(at, &facts)) {
        record.symTypeString = SymTypeText(facts.symType);
        Copy(record.moduleName, facts.moduleName);
        record.baseOfImage = facts.base;
        Copy(record.loadedImageName, facts.loadedImageName);
    } else {
        ReportHelperError(false, "SymGetModuleInfo64()", os::GetLastError(), address);
    }
}

bool StackWalker::LoadModules() {
    if (!engine_) {
        os::SetLastError(kErrorDllInitFailed);
        return false;
    }
    if (modulesLoaded_) return true;

    char* searchPath = nullptr;
    if (options_ & SymBuildPath) {
        searchPath = static_cast<char*>(malloc(kSearchPathChars));
        if (!searchPath) {
            os::SetLastError(kErrorNotEnoughMemory);
            return false;
        }
        searchPath[0] = 0;
        if (symbolPath_) AppendPiece(searchPath, symbolPath_);
        AppendPiece(searchPath, ".");
        char piece[kPieceChars];
        if (os::CurrentDirectory(piece, kPieceChars) > 0) AppendPiece(searchPath, piece);
        if (os::ProgramPath(piece, kPieceChars) > 0) {
            // The program's directory: cut at the last '\', '/' or ':', which goes too.
            int cut = static_cast<int>(strlen(piece));
            while (cut > 0 && piece[cut - 1] != '\\' && piece[cut - 1] != '/' &&
                   piece[cut - 1] != ':')
                --cut;
            if (cut > 0) piece[cut - 1] = 0;
            if (cut > 1) AppendPiece(searchPath, piece);
        }
        if (const char* value = os::GetEnv("_NT_SYMBOL_PATH")) AppendPiece(searchPath, value);
        if (const char* value = os::GetEnv("_NT_ALTERNATE_SYMBOL_PATH"))
            AppendPiece(searchPath, value);
        if (const char* value = os::GetEnv("SYSTEMROOT")) {
            AppendPiece(searchPath, value);
            snprintf(piece, sizeof(piece), "%s\\system32", value);
            AppendPiece(searchPath, piece);
        }
        const char* drive = os::GetEnv("SYSTEMDRIVE");
        snprintf(piece, sizeof(piece), "SRV*%s\\websymbols*%s",
                 drive ? drive : "c:", kSymbolServer);
        AppendPiece(searchPath, piece);
    }

    const bool initialised = engine_->Init(searchPath);
    free(searchPath);
    if (!initialised) {
        ReportHelperError(false, "Error while initializing dbghelp.dll", 0, 0);
        os::SetLastError(kErrorDllInitFailed);
        return false;
    }
    const bool loaded = RegisterModules();
    if (loaded) modulesLoaded_ = true;
    return loaded;
}

// Every object that the loader lists counts, whether or not the engine took it.
bool StackWalker::RegisterModules() {
    struct Count {
        StackWalker* walker;
        int modules;
    } count = {this, 0};
    os::ForEachModule(
        [](void* arg, const os::LoadedModule& module) {
            Count* c = static_cast<Count*>(arg);
            c->walker->RegisterModule(module.path, FileNamePart(module.path), module.base,
                                      module.size, module.bias);
            ++c->modules;
            return true;
        },
        &count);
    return count.modules > 0;
}

uint32_t StackWalker::RegisterModule(const char* image, const char* module, uint64_t base,
                                     uint32_t size, uint64_t bias) {
    char* imageCopy = Duplicate(image);
    char* moduleCopy = Duplicate(module);
    const uint32_t result = (!imageCopy || !moduleCopy)
                                ? kErrorNotEnoughMemory
                                : engine_->LoadModule(imageCopy, moduleCopy, bias);
    uint64_t fileVersion = 0;
    if (imageCopy && (options_ & RetrieveFileVersion)) fileVersion = FileVersionOf(imageCopy);
    const char* symType = "-unknown-";
    const char* pdbName = "";
    ModuleFacts facts;
    if (engine_->ModuleInfo(base, &facts)) {
        if (const char* text = SymTypeText(facts.symType)) symType = text;
        pdbName = facts.loadedImageName;
    }
    ReportModuleLoaded(imageCopy, moduleCopy, base, size, result, symType, pdbName, fileVersion);
    free(imageCopy);
    free(moduleCopy);
    return result;
}

void StackWalker::ReportHelperError(bool show, const char* /*function*/, int /*lastError*/,
                                    uint64_t address) {
    if (!show) return;
    char path[512];
    if (os::ModulePathOf(reinterpret_cast<const void*>(address), path, sizeof(path)) == 0) return;
    char line[1024];
    snprintf(line, sizeof(line), "%s: %p()", FileNamePart(path), reinterpret_cast<void*>(address));
    EmitLine(line);
}

// The base reports are formatted and not passed on: setting up adds no lines.
void StackWalker::ReportSymbolInit(const char* searchPath, uint32_t symOptions,
                                   const char* userName) {
    char text[1024];
    snprintf(text, sizeof(text),
             "SymInit: Symbol-SearchPath: '%s', symOptions: %d, UserName: '%s'\n", searchPath,
             static_cast<int>(symOptions), userName);
    int major, minor, build;
    char version[256];
    if (os::SystemVersion(&major, &minor, &build, version, sizeof(version)))
        snprintf(text, sizeof(text), "OS-Version: %d.%d.%d (%s) 0x%x-0x%x\n", major, minor, build,
                 version, 0, 0);
}

void StackWalker::ReportModuleLoaded(const char* image, const char* module, uint64_t base,
                                     uint32_t size, uint32_t result, const char* symType,
                                     const char* pdbName, uint64_t fileVersion) {
    char text[1024];
    void* at = reinterpret_cast<void*>(base);
    if (fileVersion == 0)
        snprintf(text, sizeof(text),
                 "%s:%s (%p), size: %d (result: %d), SymType: '%s', PDB: '%s'\n", image, module, at,
                 static_cast<int>(size), static_cast<int>(result), symType, pdbName);
    else
        snprintf(
            text, sizeof(text),
            "%s:%s (%p), size: %d (result: %d), SymType: '%s', PDB: '%s', fileVersion: "
            "%d.%d.%d.%d\n",
            image, module, at, static_cast<int>(size), static_cast<int>(result), symType, pdbName,
            static_cast<int>(fileVersion >> 48), static_cast<int>((fileVersion >> 32) & 0xFFFF),
            static_cast<int>((fileVersion >> 16) & 0xFFFF), static_cast<int>(fileVersion & 0xFFFF));
}

void StackWalker::ReportFrame(int entryKind, FrameRecord& frame) {
    if (entryKind == lastEntry || frame.offset == 0) return;
    if (!frame.name[0]) Copy(frame.name, "(function-name not available)");
    if (frame.undName[0]) Copy(frame.name, frame.undName);
    if (frame.undFullName[0]) Copy(frame.name, frame.undFullName);
    char line[3 * kNameChars];
    if (!frame.lineFileName[0]) {
        // Without line information the frame printed itself through the helper error.
        Copy(frame.lineFileName, "(filename not available)");
        if (!frame.moduleName[0]) Copy(frame.moduleName, "(module-name not available)");
        snprintf(line, sizeof(line), "%p (%s): %s: %s\n", reinterpret_cast<void*>(frame.offset),
                 frame.moduleName, frame.lineFileName, frame.name);
        return;
    }
    // The reporting machinery hides itself.
    if (strstr(frame.name, "win_sw::StackWalker::") || strstr(frame.name, "qdr_AssertPrintfBox") ||
        strstr(frame.name, "qdr_vAssertPrintfBox"))
        return;
    snprintf(line, sizeof(line), "%s(%d): %s()", FileNamePart(frame.lineFileName),
             static_cast<int>(frame.lineNumber), frame.name);
    EmitLine(line);
}

void StackWalker::EmitLine(const char* text) {
    os::OutputDebugText(text);
}

}  // namespace win_sw

StackWalker_D_::StackWalker_D_()
    : StackWalker(win_sw::OptionsAll, nullptr, os::CurrentProcessId(), win_sw::kCurrentProcess),
      maxLines(StackDisplayHeight() * 15 / 768),
      linesSeen(0),
      end(text) {
    text[0] = 0;
}

void StackWalker_D_::EmitLine(const char* line) {
    StackLines lines = {maxLines, linesSeen, text, static_cast<int>(sizeof(text)), end, "\r\n"};
    AppendStackLine(&lines, line);
    linesSeen = lines.linesSeen;
    end = lines.end;
}
