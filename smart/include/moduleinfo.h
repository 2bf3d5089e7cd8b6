// Who this module is and where it lies: the text of a build tag, and the lookups
// of this module's and the executable's paths. A module is the shared library or
// the program that holds the calling code. Paths hold at most 512 bytes; the
// directories end in their separator.
#pragma once

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
// lookup failed, which is reported.
const char* GetThisModulePathName();
const char* GetThisModuleDir();
// The executable's directory and file name, each computed once.
const char* GetExeDir();
const char* GetExeName();
