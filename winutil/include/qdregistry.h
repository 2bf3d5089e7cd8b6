// The registry functions of the process utilities, over the per-user store: a
// folder per key under "$XDG_STATE_HOME/qdregistry/" (else ~/.local/state), named
// after the root key and the sub-key's parts, and a file per value whose content
// is the value's data. Values are written under a temporary name and renamed, so
// that a crash leaves the old value or the new one.
//   HKEY_CURRENT_USER, "Software\KORVANE\midkit_temp", value "a.puf"
//     -> ~/.local/state/qdregistry/HKEY_CURRENT_USER/Software/KORVANE/midkit_temp/a.puf
#pragma once

#include <cstdint>

struct RegKeyObject;
typedef RegKeyObject* HKEY;
#define HKEY_CLASSES_ROOT (reinterpret_cast<HKEY>(static_cast<uintptr_t>(0x80000000)))
#define HKEY_CURRENT_USER (reinterpret_cast<HKEY>(static_cast<uintptr_t>(0x80000001)))
#define HKEY_LOCAL_MACHINE (reinterpret_cast<HKEY>(static_cast<uintptr_t>(0x80000002)))
#define HKEY_USERS (reinterpret_cast<HKEY>(static_cast<uintptr_t>(0x80000003)))

constexpr uint32_t REG_SZ = 1;
constexpr uint32_t KEY_QUERY_VALUE = 1;
constexpr uint32_t KEY_READ = 0x20019;
constexpr uint32_t KEY_ALL_ACCESS = 0xF003F;
constexpr long ERROR_SUCCESS = 0;
constexpr long ERROR_FILE_NOT_FOUND = 2;
constexpr long ERROR_MORE_DATA = 234;
constexpr long ERROR_NO_MORE_ITEMS = 259;

// Value data are at most 1024 bytes here, the room the readers give.
constexpr int kRegValueBytes = 1024;

// An empty or null sub-key gives false in all of these.
bool RegKeyExists(HKEY root, const char* subKey);
bool RegValueExists(HKEY root, const char* subKey, const char* valueName);
// True only when the key was made now: an existing key gives false.
bool RegCreateKey(HKEY root, const char* subKey);
// Needs an existing key and a non-empty string; the data are the string's bytes,
// without a terminator.
bool RegWriteString(HKEY root, const char* subKey, const char* valueName, const char* value);
// The value's data, terminated, into `target` (1024 bytes of room); `outType`
// (may be null) receives REG_SZ. False for a missing value or one of 1024 bytes or more.
bool GetRegKeyValue(HKEY root, const char* subKey, const char* valueName, char* target,
                    uint32_t* outType);
// Removes a key with its values; a key with sub-keys is refused.
bool RegDeleteKey(HKEY root, const char* subKey);
bool RegDeleteValue(HKEY root, const char* subKey, const char* valueName);

// The handle-level calls that the sweep of stale flags walks the values with. An
// opened key lists its values once, in byte order, so that indexes stay stable
// while values are deleted by others.
long RegOpenKeyExA(HKEY root, const char* subKey, uint32_t options, uint32_t access, HKEY* result);
// ERROR_NO_MORE_ITEMS behind the last value, ERROR_MORE_DATA when the name does not
// fit `*nameChars` (with its terminator); on success `*nameChars` is its length.
long RegEnumValueA(HKEY key, uint32_t index, char* name, uint32_t* nameChars);
long RegDeleteValueA(HKEY key, const char* valueName);
long RegCloseKey(HKEY key);
