// Late binding: GetModuleHandle, then LoadLibrary, then GetProcAddress, on the
// loader's lookups.
#include "exports.h"

#include <cstring>

#include "qdr/platform/os.h"
#include "qdr/qdassert.h"

Exports::Exports(const char* fileName) {
    file_[0] = 0;
    QDR_CHECK_OR_RETURN(fileName != nullptr && strlen(fileName) < sizeof(file_));
    strcpy(file_, fileName);
}

Exports::~Exports() {
    if (loaded_) os::UnloadModule(reference_);
}

void* Exports::GetProc(const char* name) {
    QDR_CHECK_OR_RETURN(name != nullptr, nullptr);
    if (!module_ && file_[0]) {
        module_ = os::LoadedModuleBase(file_);
        if (!module_) {
            module_ = os::LoadModule(file_, &reference_);
            loaded_ = module_ != 0;
        }
    }
    if (!module_) {
        QDR_CHECK_MSG(false, "Can't find \"%s\" called by \"%s\"", file_, GetThisModulePathName());
        return nullptr;
    }
    void* proc = os::ModuleSymbol(module_, name);
    QDR_CHECK_MSG(proc != nullptr, "Can't find \"%s\" in \"%s\"", name, file_);
    return proc;
}
