// libdw as the symbol engine. Every function is bound by name from the library
// loaded at Init; the header is included for the types only, never linked.
#include "diagnostics/symbolengine.h"

#include <cxxabi.h>
#include <elfutils/libdwfl.h>

#include <atomic>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <map>
#include <set>
#include <string>
#include <type_traits>

#include "os_stack.h"
#include "qdr/platform/os.h"
#include "diagnostics/stackwalker.h"

namespace win_sw {

namespace {

constexpr int kErrorDllInitFailed = 1114;
constexpr int kErrorFileNotFound = 2;

// Only the debug information inside each module is read. Separate debug files
// (/usr/lib/debug) are left alone: decompressing libc's costs 300 ms. The
// library's standard search would also ask a debuginfod server, and a walk never
// goes to the network.
int NoSeparateDebugInfo(Dwfl_Module*, void**, const char*, Dwarf_Addr, const char*, const char*,
                        GElf_Word, char**) {
    return -1;
}

void CopyText(char* out, int capacity, const char* text) {
    snprintf(out, static_cast<size_t>(capacity), "%s", text ? text : "");
}

}  // namespace

// One session for the process, kept for its life: the modules stay registered and
// their debug information parsed between walks, so a report after the first costs
// lookups instead of parsing every module again (30 ms a report before). Walks
// take it in turn; one that finds it in use (another thread's report, or a walk
// from a signal handler that interrupted one) sets up a session of its own as
// before. A module registered once at an address stays so, also after it is
// unloaded.
struct SharedSession {
    std::atomic<bool> busy{false};
    void* library = nullptr;  // a reference of its own, never released
    void* bound = nullptr;    // the bindings, never freed
    void* session = nullptr;  // the Dwfl, never ended
    std::set<std::string>* registered = nullptr;
    // Symbol look-ups scan a module's whole symbol table; the frames of one program
    // repeat, so their answers are kept: address -> (name, displacement).
    std::map<uint64_t, std::pair<std::string, uint64_t>>* symbols = nullptr;
};
SharedSession g_shared;

struct SymbolEngine::Functions {
    decltype(&dwfl_begin) begin;
    decltype(&dwfl_end) end;
    decltype(&dwfl_report_begin_add) reportBeginAdd;
    decltype(&dwfl_report_elf) reportElf;
    decltype(&dwfl_report_end) reportEnd;
    decltype(&dwfl_addrmodule) addrModule;
    decltype(&dwfl_module_addrinfo) addrInfo;
    decltype(&dwfl_module_info) moduleInfo;
    decltype(&dwfl_module_getdwarf) getDwarf;
    decltype(&dwfl_module_getsymtab) getSymtab;
    decltype(&dwfl_linux_proc_find_elf) findElf;
    // Line look-ups may be missing; frames then print by module and address.
    decltype(&dwfl_module_getsrc) getSrc;
    decltype(&dwfl_lineinfo) lineInfo;
    Dwfl_Callbacks callbacks;
};

SymbolEngine::SymbolEngine(StackWalker* owner)
    : owner_(owner),
      library_(nullptr),
      path_(nullptr),
      bound_(nullptr),
      session_(nullptr),
      shared_(false) {}

SymbolEngine::~SymbolEngine() {
    if (shared_) {
        g_shared.busy.store(false, std::memory_order_release);
    } else {
        if (session_) bound_->end(static_cast<Dwfl*>(session_));
        delete bound_;
    }
    os::FreeLibraryHandle(library_);
    free(path_);
}

bool SymbolEngine::Init(const char* searchPath) {
    if (!owner_) return false;
    // QDR_LIBDW names another build of the library (or, in tests, none at all).
    const char* name = os::GetEnv("QDR_LIBDW");
    if (!name || !name[0]) name = "libdw.so.1";
    if (!library_) library_ = os::LoadLibraryByName(name);
    if (!library_) return false;

    Functions* f = new Functions();
    bool all = true;
    auto bind = [&](auto& slot, const char* symbol, bool required) {
        slot = reinterpret_cast<std::remove_reference_t<decltype(slot)>>(
            os::BindFunction(library_, symbol));
        if (!slot && required) all = false;
    };
    bind(f->begin, "dwfl_begin", true);
    bind(f->end, "dwfl_end", true);
    bind(f->reportBeginAdd, "dwfl_report_begin_add", true);
    bind(f->reportElf, "dwfl_report_elf", true);
    bind(f->reportEnd, "dwfl_report_end", true);
    bind(f->addrModule, "dwfl_addrmodule", true);
    bind(f->addrInfo, "dwfl_module_addrinfo", true);
    bind(f->moduleInfo, "dwfl_module_info", true);
    bind(f->getDwarf, "dwfl_module_getdwarf", true);
    bind(f->getSymtab, "dwfl_module_getsymtab", true);
    bind(f->findElf, "dwfl_linux_proc_find_elf", true);
    bind(f->getSrc, "dwfl_module_getsrc", false);
    bind(f->lineInfo, "dwfl_lineinfo", false);
    if (!all) {
        delete f;
        os::FreeLibraryHandle(library_);
        library_ = nullptr;
        return false;
    }
    bound_ = f;
    f->callbacks.find_elf = f->findElf;
    f->callbacks.find_debuginfo = NoSeparateDebugInfo;
    f->callbacks.section_address = nullptr;
    f->callbacks.debuginfo_path = nullptr;

    if (searchPath) path_ = strdup(searchPath);
    if (!g_shared.busy.exchange(true, std::memory_order_acquire)) {
        if (!g_shared.session) {
            // One reference of the session's own, kept for the process's life.
            if (!g_shared.library) g_shared.library = os::LoadLibraryByName(name);
            g_shared.session = f->begin(&f->callbacks);
            if (g_shared.session) {
                g_shared.bound = f;
                g_shared.registered = new std::set<std::string>();
                g_shared.symbols = new std::map<uint64_t, std::pair<std::string, uint64_t>>();
            }
        }
        if (g_shared.session && g_shared.library == library_) {
            if (bound_ != g_shared.bound) delete bound_;
            bound_ = static_cast<Functions*>(g_shared.bound);
            session_ = g_shared.session;
            shared_ = true;
        } else {
            g_shared.busy.store(false, std::memory_order_release);
        }
    }
    if (!shared_) session_ = f->begin(&f->callbacks);
    if (!session_) owner_->ReportHelperError(false, "SymInitialize()", os::GetLastError(), 0);

    // Lines load with the symbols, and symbols load when a module is registered.
    const uint32_t symOptions = 0x10 | 0x200;
    char userName[1024] = "";
    os::UserName(userName, sizeof(userName));
    owner_->ReportSymbolInit(path_ ? path_ : "", symOptions, userName);
    return true;
}

uint32_t SymbolEngine::LoadModule(const char* image, const char* module, uint64_t bias) {
    Dwfl* session = static_cast<Dwfl*>(session_);
    if (!session) return kErrorDllInitFailed;
    std::string key;
    if (shared_) {
        char at[32];
        snprintf(at, sizeof(at), "@%llx:", static_cast<unsigned long long>(bias));
        key = std::string(at) + (module ? module : "") + "|" + (image ? image : "");
        if (g_shared.registered->count(key)) return 0;
    }
    bound_->reportBeginAdd(session);
    Dwfl_Module* loaded = bound_->reportElf(session, module, image, -1, bias, true);
    bound_->reportEnd(session, nullptr, nullptr);
    if (loaded && shared_) g_shared.registered->insert(key);
    return loaded ? 0 : kErrorFileNotFound;
}

bool SymbolEngine::SymbolFromAddr(uint64_t address, char* name, int capacity,
                                  uint64_t* displacement) {
    if (!session_) return false;
    if (shared_) {
        const auto known = g_shared.symbols->find(address);
        if (known != g_shared.symbols->end()) {
            CopyText(name, capacity, known->second.first.c_str());
            *displacement = known->second.second;
            return true;
        }
    }
    Dwfl_Module* module = bound_->addrModule(static_cast<Dwfl*>(session_), address);
    if (!module) return false;
    GElf_Off offset = 0;
    GElf_Sym symbol;
    const char* found =
        bound_->addrInfo(module, address, &offset, &symbol, nullptr, nullptr, nullptr);
    if (!found) return false;
    CopyText(name, capacity, found);
    *displacement = offset;
    if (shared_) (*g_shared.symbols)[address] = std::make_pair(std::string(found), offset);
    return true;
}

bool SymbolEngine::CanLookUpLines() const {
    return bound_ && bound_->getSrc && bound_->lineInfo;
}

bool SymbolEngine::LineFromAddr(uint64_t address, uint32_t* line, char* file, int capacity) {
    if (!session_ || !CanLookUpLines()) return false;
    Dwfl_Module* module = bound_->addrModule(static_cast<Dwfl*>(session_), address);
    Dwfl_Line* found = module ? bound_->getSrc(module, address) : nullptr;
    if (!found) return false;
    Dwarf_Addr at = 0;
    int number = 0;
    const char* source = bound_->lineInfo(found, &at, &number, nullptr, nullptr, nullptr);
    if (!source || number <= 0) return false;
    *line = static_cast<uint32_t>(number);
    CopyText(file, capacity, source);
    return true;
}

bool SymbolEngine::ModuleInfo(uint64_t address, ModuleFacts* facts) {
    if (!session_) return false;
    Dwfl_Module* module = bound_->addrModule(static_cast<Dwfl*>(session_), address);
    if (!module) return false;
    // Symbol type: 3 with debug information, 4 with a symbol table only, 0 with none.
    Dwarf_Addr bias = 0;
    if (bound_->getDwarf(module, &bias))
        facts->symType = 3;
    else
        facts->symType = bound_->getSymtab(module) > 0 ? 4 : 0;
    Dwarf_Addr start = 0, end = 0;
    const char* mainFile = nullptr;
    const char* name =
        bound_->moduleInfo(module, nullptr, &start, &end, nullptr, nullptr, &mainFile, nullptr);
    facts->base = start;
    CopyText(facts->moduleName, sizeof(facts->moduleName), name);
    CopyText(facts->loadedImageName, sizeof(facts->loadedImageName), mainFile);
    return true;
}

// "_ZN2ns1fEi" -> "ns::f(int)", or "ns::f" for the name only.
bool SymbolEngine::Undecorate(const char* name, char* out, int capacity, bool nameOnly) {
    int status = -1;
    char* full = abi::__cxa_demangle(name, nullptr, nullptr, &status);
    if (status != 0 || !full) {
        free(full);
        return false;
    }
    int cut = static_cast<int>(strlen(full));
    if (nameOnly) {
        // The parameter list opens at the first '(' outside template arguments that
        // is not part of "(anonymous namespace)" or "operator()".
        int angles = 0;
        for (int i = 0; full[i]; ++i) {
            const char c = full[i];
            if (c == '<') ++angles;
            if (c == '>' && angles > 0) --angles;
            if (c != '(' || angles > 0) continue;
            if (strncmp(full + i, "(anonymous namespace)", 21) == 0) {
                i += 20;
                continue;
            }
            if (i >= 8 && strncmp(full + i - 8, "operator()", 10) == 0) {
                ++i;
                continue;
            }
            cut = i;
            break;
        }
    }
    snprintf(out, static_cast<size_t>(capacity), "%.*s", cut, full);
    free(full);
    return true;
}

}  // namespace win_sw
