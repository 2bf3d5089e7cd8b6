// The registry functions on the per-user store of winos.
#include "qdregistry.h"

#include <cstdio>
#include <cstring>
#include <string>
#include <vector>

#include "platform/winos.h"
#include "qdr/qdassert.h"

struct RegKeyObject {
    std::string dir;
    std::vector<std::string> names;
};

namespace {

const char* RootFolder(HKEY root) {
    if (root == HKEY_CLASSES_ROOT) return "HKEY_CLASSES_ROOT";
    if (root == HKEY_CURRENT_USER) return "HKEY_CURRENT_USER";
    if (root == HKEY_LOCAL_MACHINE) return "HKEY_LOCAL_MACHINE";
    if (root == HKEY_USERS) return "HKEY_USERS";
    return nullptr;
}

// The folder of a key: the store, the root's name, the sub-key with `\` turned
// into `/`. Empty parts and "." or ".." are refused, so that no key lies outside
// the store.   "Software\KORVANE" -> ".../HKEY_CURRENT_USER/Software/KORVANE"
bool KeyFolder(HKEY root, const char* subKey, std::string* dir) {
    const char* rootName = RootFolder(root);
    char store[512];
    if (!rootName || !subKey || !*subKey || !winos::StoreDirectory(store, sizeof(store)))
        return false;
    *dir = std::string(store) + rootName;
    std::string part;
    for (const char* p = subKey;; ++p) {
        if (*p == '\\' || *p == '/' || *p == 0) {
            if (part.empty() || part == "." || part == "..") return false;
            *dir += "/" + part;
            part.clear();
            if (*p == 0) break;
        } else {
            part += *p;
        }
    }
    return dir->size() < 1024;
}

// A value's file. A value name holds no separator, and the default value (an empty
// name) is the file "@".
bool ValueFile(const std::string& dir, const char* valueName, std::string* path) {
    if (!valueName) valueName = "";
    if (strchr(valueName, '/') || !strcmp(valueName, ".") || !strcmp(valueName, "..") ||
        !strncmp(valueName, ".~", 2) || strlen(valueName) > 255)
        return false;
    *path = dir + "/" + (*valueName ? valueName : "@");
    return true;
}

bool ValuePath(HKEY root, const char* subKey, const char* valueName, std::string* path) {
    std::string dir;
    return KeyFolder(root, subKey, &dir) && ValueFile(dir, valueName, path);
}

}  // namespace

bool RegKeyExists(HKEY root, const char* subKey) {
    std::string dir;
    return KeyFolder(root, subKey, &dir) && winos::IsDirectory(dir.c_str());
}

bool RegValueExists(HKEY root, const char* subKey, const char* valueName) {
    char data[kRegValueBytes];
    return GetRegKeyValue(root, subKey, valueName, data, nullptr);
}

bool RegCreateKey(HKEY root, const char* subKey) {
    std::string dir;
    return KeyFolder(root, subKey, &dir) && winos::MakeDirectories(dir.c_str()) == 1;
}

bool RegWriteString(HKEY root, const char* subKey, const char* valueName, const char* value) {
    std::string dir, path;
    if (!value || !*value || !KeyFolder(root, subKey, &dir) || !winos::IsDirectory(dir.c_str()) ||
        !ValueFile(dir, valueName, &path))
        return false;
    return winos::ReplaceFile(path.c_str(), value, static_cast<int>(strlen(value)));
}

bool GetRegKeyValue(HKEY root, const char* subKey, const char* valueName, char* target,
                    uint32_t* outType) {
    QDR_CHECK_OR_RETURN(target, false);
    target[0] = 0;
    std::string path;
    if (!ValuePath(root, subKey, valueName, &path)) return false;
    const int n = winos::ReadSmallFile(path.c_str(), target, kRegValueBytes - 1);
    if (n < 0) {
        target[0] = 0;
        return false;
    }
    target[n] = 0;
    if (outType) *outType = REG_SZ;
    return true;
}

bool RegDeleteKey(HKEY root, const char* subKey) {
    std::string dir;
    return KeyFolder(root, subKey, &dir) && winos::RemoveDirectoryWithFiles(dir.c_str());
}

bool RegDeleteValue(HKEY root, const char* subKey, const char* valueName) {
    std::string path;
    if (!valueName || !*valueName || !ValuePath(root, subKey, valueName, &path)) return false;
    return winos::RemoveFile(path.c_str());
}

long RegOpenKeyExA(HKEY root, const char* subKey, uint32_t, uint32_t, HKEY* result) {
    QDR_CHECK_OR_RETURN(result, ERROR_FILE_NOT_FOUND);
    *result = nullptr;
    std::string dir;
    if (!KeyFolder(root, subKey, &dir)) return ERROR_FILE_NOT_FOUND;
    auto* key = new RegKeyObject{dir, {}};
    if (!winos::ListRegularFiles(dir.c_str(), &key->names)) {
        delete key;
        return ERROR_FILE_NOT_FOUND;
    }
    *result = key;
    return ERROR_SUCCESS;
}

long RegEnumValueA(HKEY key, uint32_t index, char* name, uint32_t* nameChars) {
    QDR_CHECK_OR_RETURN(key && name && nameChars, ERROR_FILE_NOT_FOUND);
    if (index >= key->names.size()) return ERROR_NO_MORE_ITEMS;
    const std::string& value = key->names[index];
    if (value.size() + 1 > *nameChars) return ERROR_MORE_DATA;
    memcpy(name, value.c_str(), value.size() + 1);
    *nameChars = static_cast<uint32_t>(value.size());
    return ERROR_SUCCESS;
}

long RegDeleteValueA(HKEY key, const char* valueName) {
    QDR_CHECK_OR_RETURN(key, ERROR_FILE_NOT_FOUND);
    std::string path;
    if (!ValueFile(key->dir, valueName, &path) || !winos::RemoveFile(path.c_str()))
        return ERROR_FILE_NOT_FOUND;
    return ERROR_SUCCESS;
}

long RegCloseKey(HKEY key) {
    QDR_CHECK_OR_RETURN(key, ERROR_FILE_NOT_FOUND);
    if (RootFolder(key)) return ERROR_SUCCESS;
    delete key;
    return ERROR_SUCCESS;
}
