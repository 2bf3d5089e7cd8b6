// Module identity: the build tag's text and the path lookups, on Linux's
// address-to-module query.
#include "moduleinfo.h"

#include <cstring>

#include "ptrstr.h"
#include "qdfdk.h"
#include "qdr/platform/os.h"
#include "qdr/qdatomic.h"

namespace {

constexpr int kPathChars = 512;

bool IsTagPadding(char c) {
    return c == ' ' || c == '\r' || c == '\n' || c == '\t' || c == '`';
}

// Fills `buffer` once: `fill` runs under the spin lock of the first caller, and a
// failed fill leaves "".
template <class Fill>
const char* FillOnce(LazyGlobal<char>& slot, char* buffer, unsigned sleepMilliseconds, Fill fill) {
    return slot.Get(
        [&] {
            if (!fill()) buffer[0] = 0;
            return buffer;
        },
        sleepMilliseconds);
}

}  // namespace

char* TrimModuleTagInfo(const char* info64, char* info) {
    int begin = 0;
    int end = kModuleTagInfoChars;
    while (begin < end && IsTagPadding(info64[begin])) ++begin;
    while (end > begin && IsTagPadding(info64[end - 1])) --end;
    memcpy(info, info64 + begin, static_cast<size_t>(end - begin));
    info[end - begin] = 0;
    return info;
}

char* GetThisModuleFileName(char* sPathName, int size) {
    QDR_CHECK(sPathName && size > 0);
    if (!sPathName || size < 1) return nullptr;
    const int n =
        os::ModulePathOf(reinterpret_cast<const void*>(&GetThisModuleFileName), sPathName, size);
    // A path that fills the buffer may have been cut.
    if (n <= 0 || n >= size - 1) {
        sPathName[0] = 0;
        return nullptr;
    }
    return sPathName;
}

// The check's expression carries a `const int` cast, as the report shows it.
#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Wignored-qualifiers"
const char* GetThisModulePathName() {
    static LazyGlobal<char> slot;
    static char sPathName[kPathChars];
    return FillOnce(slot, sPathName, 0, [] {
        // The report shows this expression as written.
        QDR_CHECK(GetThisModuleFileName(sPathName, (((const int)sizeof(sPathName)) / ((const int)sizeof(0[sPathName])))));
        return sPathName[0] != 0;
    });
}
#pragma GCC diagnostic pop

const char* GetThisModuleDir() {
    static LazyGlobal<char> slot;
    static char sDir[kPathChars];
    return FillOnce(slot, sDir, 0, [] {
        QDR_CHECK(GetDirName(GetThisModulePathName(), sDir));
        return sDir[0] != 0;
    });
}

const char* GetExeDir() {
    static LazyGlobal<char> slot;
    static char dir[kPathChars];
    return FillOnce(slot, dir, 1, [] {
        char path[kPathChars];
        return os::ProgramPath(path, kPathChars) > 0 && GetDirName(path, dir);
    });
}

const char* GetExeName() {
    static LazyGlobal<char> slot;
    static char name[kPathChars];
    return FillOnce(slot, name, 1, [] {
        char path[kPathChars];
        if (os::ProgramPath(path, kPathChars) <= 0) return false;
        const char* start = path;
        for (const char* p = path; *p; ++p)
            if (IsSlashChar(*p)) start = p + 1;
        strcpy(name, start);
        return name[0] != 0;
    });
}
