// Process-wide questions and small chores: the system's version, the names of
// named kernel objects, and (below) processes, errors, settings and CPU load.
#pragma once

#include <cstdint>
#include <string>

// The version numbers of GetWindowsVersion.
enum WindowsVersion : int {
    Unknown_WinVer = 0,
    Win32s = 1,
    Windows_95_98 = 2,
    Windows_NT = 3,
    Windows_2000 = 4,
    Windows_XP = 5,
    Windows_Vista = 6,
    Windows_Longhorn = 7,
    Windows_7 = 8,
    Windows_8 = 9,
};

// What the version query reports; `versionWord` is the plain GetVersion() word of
// the platforms other than NT.
struct VersionRecord {
    int platformId;  // 2: the NT family
    int major;
    int minor;
    int productType;  // 1: workstation
    uint32_t versionWord;
};
// The version table.  {2, 6, 0, 1} -> 7;  {2, 6, 0, 3} -> 6;  {2, 10, 0, 1} -> 3
int ClassifyWindowsVersion(const VersionRecord& record);
// Computed once. Linux answers as an NT-family system after the table: Windows_NT,
// so that named objects get the "Global\" prefix.
int GetWindowsVersion();
// "Windows_NT" for 3; "Invalid_WinVer" outside 0..9.
const char* GetWindowsVersionName();
const char* WindowsVersionName(int version);

// The name of a named kernel object: "Global\%s%s" from Windows_NT on, else "%s%s";
// a null suffix counts as empty. `outName` must hold the text.
char* MakeGlobalName(char* outName, const char* name, const char* suffix);
std::string MakeGlobalName(const char* name, const char* suffix);
