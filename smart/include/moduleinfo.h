// Who this module is and where it lies: the text of a build tag, and the lookups
// of this module's and the executable's paths. A module is the shared library or
// the program that holds the calling code. Paths hold at most 512 bytes; the
// directories end in their separator.
#pragma once

#include <cstdint>

// A build tag as it stands in a module: "ModuleInfoBegin|", the information padded
// with '`' to 64 characters, "|ModuleInfoEnd", then 8 more characters.
constexpr int kModuleTagBeginChars = 16;
constexpr int kModuleTagInfoChars = 64;
constexpr int kModuleTagEndChars = 14;
constexpr int kModuleTagSuffixChars = 8;

// Copies the 64 information characters to `info` (room for 65), trimmed at both
// ends of blank, CR, LF, tab and '`'; returns `info`.
//   "MIDKIT_2.0``````" ... (64 in all) -> "MIDKIT_2.0"
char* TrimModuleTagInfo(const char* info64, char* info);

// The full path of this module into `sPathName`; null on failure, or when the path
// does not fit in `size` bytes. A null buffer or a size below 1 is reported.
char* GetThisModuleFileName(char* sPathName, int size);
// The same, and its directory, each filled once into a static buffer; "" when the
// lookup failed, which is reported. The directories are GetDirName's (qdfdk.h), in
// the toolkit's grammar, for callers that build further paths on them:
//   "/opt/app/libqdlog_9d.so" -> "\opt\app\"
const char* GetThisModulePathName();
const char* GetThisModuleDir();
// The executable's directory and file name, each computed once.
const char* GetExeDir();
const char* GetExeName();

// ---- module handles -------------------------------------------------------------

// A module handle is the address of the loaded object's ELF header.
typedef uintptr_t ModuleHandle;
// The handle of the module that holds this code; 0 on failure.
ModuleHandle GetThisModuleHandle();
// The handle of the module holding `address`, or 0.
ModuleHandle GetModuleHandleByAddress(const void* address);
// Whether `handle` is the handle of a loaded module; 0 is not.
bool IsModuleHandle(ModuleHandle handle);

// ---- the tag in a module file ---------------------------------------------------

// Scans a file image for the tag: in 8-bit units first, then 16-bit, then 32-bit
// ones. The result points at the 64 information units, `*charSize` (may be null)
// receives the width; null when no tag is there. A marker that is not followed by
// the end marker exactly 64 units on, or whose information holds a zero unit, is
// not a tag, and the scan goes on behind it.
const void* FindModuleTag(const void* modBin, int binLen, int* charSize);
// Reads a module file and copies its trimmed information to `info` (65 bytes) and
// the 8 characters behind the end marker to `suffix` (9 bytes, terminated).
// `info`, or null when the file cannot be read or holds no tag.
char* ReadModuleTagFile(const char* path, char* info, char* suffix);
// Calls a loaded module's own GetModuleTagInfo; null when it has none.
const char* CallModuleTagInfo(ModuleHandle module);

// Calls `callback(param, pathName)` for each module that process `pid` (0 or this
// process's id: this one) has loaded, as its mapped executable files; with
// `patterns` only the names that match them (MatchingFileNames, case ignored). A
// false result of the callback ends the walk. 1, or 0 when the list cannot be read
// or `callback` is null.
int EnumProcessModules(void* param, bool (*callback)(void* param, const char* pathName),
                       uint32_t pid, const char* patterns = nullptr);

// Whether two names mean one module: equal ignoring case; else, when either is
// loaded, whether both name the same loaded module; else equal once normalised.
//   ("C:\A\x.dll", "c:\a\X.DLL") -> true
template <class CHAR>
bool IsSameModule(const CHAR* mod1, const CHAR* mod2);
