// The version table and the names of named objects.
#include <atomic>
#include <cstdio>

#include "qdglib.h"
#include "qdr/qdassert.h"

namespace {

int MajorMinorRuleOf5(int major, int minor) {
    if (major == 5) return minor == 0 ? Windows_2000 : Windows_XP;
    return Windows_NT;
}

}  // namespace

int ClassifyWindowsVersion(const VersionRecord& r) {
    if (r.platformId == 2) {
        if (r.major == 6 && r.minor == 0) return r.productType == 1 ? 7 : 6;
        if (r.major == 6 && r.minor == 1) return 8;
        if (r.major == 6 && r.minor == 2) return 9;
        return MajorMinorRuleOf5(r.major, r.minor);
    }
    if (r.versionWord & 0x80000000u) return (r.versionWord & 0xFF) >= 4 ? 2 : 1;
    switch (r.versionWord & 0xFFFF) {
        case 0x0206:
            return 9;
        case 0x0106:
            return 8;
        case 0x0006:
            return 7;
        default:
            return MajorMinorRuleOf5(static_cast<int>(r.versionWord & 0xFF),
                                     static_cast<int>((r.versionWord >> 8) & 0xFF));
    }
}

int GetWindowsVersion() {
    static std::atomic<int> version{-1};
    int v = version.load(std::memory_order_relaxed);
    if (v == -1) {
        // Linux is taken for an NT-family system of a release after the table.
        v = ClassifyWindowsVersion(VersionRecord{2, 10, 0, 1, 0});
        version.store(v, std::memory_order_relaxed);
    }
    return v;
}

const char* WindowsVersionName(int version) {
    static const char* const kNames[] = {
        "Unknown_WinVer", "Win32s",        "Windows_95/98",    "Windows_NT", "Windows_2000",
        "Windows_XP",     "Windows_Vista", "Windows_Longhorn", "Windows_7",  "Windows_8"};
    return version >= 0 && version <= 9 ? kNames[version] : "Invalid_WinVer";
}

const char* GetWindowsVersionName() {
    return WindowsVersionName(GetWindowsVersion());
}

char* MakeGlobalName(char* outName, const char* name, const char* suffix) {
    QDR_CHECK_OR_RETURN(outName && name, outName);
    sprintf(outName, GetWindowsVersion() < Windows_NT ? "%s%s" : "Global\\%s%s", name,
            suffix ? suffix : "");
    return outName;
}

std::string MakeGlobalName(const char* name, const char* suffix) {
    QDR_CHECK_OR_RETURN(name, std::string());
    return std::string(GetWindowsVersion() < Windows_NT ? "" : "Global\\") + name +
           (suffix ? suffix : "");
}
