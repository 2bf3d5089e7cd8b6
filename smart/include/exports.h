// Late binding of a library's functions: the library is taken from the process if
// it is loaded already, or loaded on first use, and each function is looked up by
// name once and kept in a slot of its caller's. What cannot be found is reported
// through the assertion box and gives null, so the caller returns its failure value.
//
//   static Exports lib("libfoo.so");
//   static int (*open_)(const char*);
//   if (!lib.Bind(open_, "FooOpen")) return false;
#pragma once

#include "moduleinfo.h"

class Exports {
public:
    // `fileName`: a path, or a name for the loader's search; below 512 bytes.
    explicit Exports(const char* fileName);
    // Unloads the library if this object loaded it.
    ~Exports();
    Exports(const Exports&) = delete;
    Exports& operator=(const Exports&) = delete;

    // The function's address, or null after a report.
    void* GetProc(const char* name);

    // Fills `slot` on first use; a filled slot is never looked up again. The value
    // written is the same in every thread, so racing writers are harmless.
    template <class FN>
    FN Bind(FN& slot, const char* name) {
        if (!slot) slot = reinterpret_cast<FN>(GetProc(name));
        return slot;
    }

    bool IsLoaded() const { return loaded_; }
    ModuleHandle Module() const { return module_; }
    const char* FileName() const { return file_; }

private:
    bool loaded_ = false;  // this object loaded the library
    ModuleHandle module_ = 0;
    void* reference_ = nullptr;
    char file_[512];
};
