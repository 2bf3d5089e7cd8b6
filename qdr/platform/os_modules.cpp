// Loaded modules: the dynamic linker's address query and list, and the file
// mappings of a process in /proc/<pid>/maps.
#include <dlfcn.h>
#include <link.h>
#include <stdio.h>
#include <string.h>
#include <strings.h>

#include <set>
#include <string>

#include "os.h"

namespace os {

namespace {

// The address of an object's ELF header: its load bias plus its lowest segment.
uintptr_t LoadBase(const dl_phdr_info* info) {
    uintptr_t lowest = UINTPTR_MAX;
    for (int i = 0; i < info->dlpi_phnum; ++i)
        if (info->dlpi_phdr[i].p_type == PT_LOAD && info->dlpi_phdr[i].p_vaddr < lowest)
            lowest = info->dlpi_phdr[i].p_vaddr;
    return lowest == UINTPTR_MAX ? 0 : info->dlpi_addr + (lowest & ~static_cast<uintptr_t>(0xFFF));
}

struct NameQuery {
    const char* name;
    bool byFileName;
    uintptr_t base;
};

}  // namespace

uintptr_t ModuleBaseOf(const void* address) {
    Dl_info info;
    if (!address || !dladdr(address, &info)) return 0;
    return reinterpret_cast<uintptr_t>(info.dli_fbase);
}

void* ModuleSymbol(uintptr_t base, const char* name) {
    Dl_info info;
    if (!base || !dladdr(reinterpret_cast<void*>(base), &info) ||
        reinterpret_cast<uintptr_t>(info.dli_fbase) != base)
        return nullptr;
    // The program itself is opened by a null name; a library by its path, only if
    // it is loaded already. The extra reference is dropped at once.
    void* self = dlopen(nullptr, RTLD_LAZY);
    void* probe = dlsym(self, "main");
    dlclose(self);
    const bool isProgram = probe && ModuleBaseOf(probe) == base;
    void* handle = dlopen(isProgram ? nullptr : info.dli_fname, RTLD_LAZY | RTLD_NOLOAD);
    if (!handle) return nullptr;
    void* symbol = dlsym(handle, name);
    dlclose(handle);
    return symbol;
}

uintptr_t LoadedModuleBase(const char* name) {
    NameQuery query{name, strchr(name, '/') == nullptr, 0};
    dl_iterate_phdr(
        [](dl_phdr_info* info, size_t, void* param) {
            auto* q = static_cast<NameQuery*>(param);
            const char* path = info->dlpi_name;
            if (!path || !*path) return 0;
            const char* slash = strrchr(path, '/');
            const char* compared = q->byFileName && slash ? slash + 1 : path;
            if (strcasecmp(compared, q->name) != 0) return 0;
            q->base = LoadBase(info);
            return 1;
        },
        &query);
    return query.base;
}

uintptr_t LoadModule(const char* name, void** reference) {
    *reference = nullptr;
    void* handle = dlopen(name, RTLD_NOW | RTLD_LOCAL);
    if (!handle) return 0;
    // The handle names the object by its load bias; the module handle is its header.
    link_map* map = nullptr;
    struct BiasQuery {
        ElfW(Addr) bias;
        uintptr_t base;
    } query{0, 0};
    if (dlinfo(handle, RTLD_DI_LINKMAP, &map) == 0 && map) {
        query.bias = map->l_addr;
        dl_iterate_phdr(
            [](dl_phdr_info* info, size_t, void* param) {
                auto* q = static_cast<BiasQuery*>(param);
                if (info->dlpi_addr != q->bias) return 0;
                q->base = LoadBase(info);
                return 1;
            },
            &query);
    }
    if (!query.base) {
        dlclose(handle);
        return 0;
    }
    *reference = handle;
    return query.base;
}

void UnloadModule(void* reference) {
    if (reference) dlclose(reference);
}

bool EachMappedModule(uint32_t pid, void (*each)(void* param, const char* path), void* param) {
    char mapsPath[32];
    if (pid == 0)
        snprintf(mapsPath, sizeof(mapsPath), "/proc/self/maps");
    else
        snprintf(mapsPath, sizeof(mapsPath), "/proc/%u/maps", pid);
    FILE* maps = fopen(mapsPath, "re");
    if (!maps) return false;
    std::set<std::string> seen;
    char line[4096 + 128];
    while (fgets(line, sizeof(line), maps)) {
        // "start-end perms offset dev inode   path": an executable mapping of a file.
        char perms[8];
        int pathStart = 0;
        if (sscanf(line, "%*s %7s %*s %*s %*s %n", perms, &pathStart) < 1 || pathStart == 0)
            continue;
        char* path = line + pathStart;
        path[strcspn(path, "\n")] = 0;
        if (perms[2] != 'x' || path[0] != '/' || !seen.insert(path).second) continue;
        each(param, path);
    }
    fclose(maps);
    return true;
}

}  // namespace os
