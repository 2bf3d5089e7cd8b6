// The symbol engine of the stack walker: libdw (elfutils), loaded with dlopen when
// a walker first needs it and bound function by function, so that the library is
// never linked and a machine without it only loses the stack text.
#pragma once

#include <cstdint>

namespace win_sw {

class StackWalker;

// What the engine knows of the module around an address.
struct ModuleFacts {
    uint32_t symType;  // index into the symbol type names
    uint64_t base;
    char moduleName[1024];
    char loadedImageName[1024];
};

class SymbolEngine {
public:
    explicit SymbolEngine(StackWalker* owner);
    ~SymbolEngine();  // frees the library handle and the path copy
    SymbolEngine(const SymbolEngine&) = delete;
    SymbolEngine& operator=(const SymbolEngine&) = delete;

    // Loads and binds the library, starts a session and tells the owner
    // (ReportSymbolInit). False when the library cannot be had.
    bool Init(const char* searchPath);
    bool HasLibrary() const { return library_ != nullptr; }

    // Registers one module; 0 on success, else an error code.
    uint32_t LoadModule(const char* image, const char* module, uint64_t bias);
    bool SymbolFromAddr(uint64_t address, char* name, int capacity, uint64_t* displacement);
    bool CanLookUpLines() const;
    bool LineFromAddr(uint64_t address, uint32_t* line, char* file, int capacity);
    bool ModuleInfo(uint64_t address, ModuleFacts* facts);

    // Undecorates a linker name: complete ("ns::f(int)") or the name only ("ns::f").
    // False when it is not a decorated name.
    static bool Undecorate(const char* name, char* out, int capacity, bool nameOnly);

private:
    struct Functions;

    StackWalker* owner_;
    void* library_;
    char* path_;
    Functions* bound_;
    void* session_;  // the Dwfl
    // The engine uses the process's shared session (see Init) rather than its own.
    bool shared_;
};

}  // namespace win_sw
