// The folder and file dialogs over GTK's file chooser: the place of the last choice
// in the settings store, the "|"-separated filter, the missing extension and the
// second question about replacing a file.
#include <algorithm>
#include <cstring>

#include "chartransform.h"
#include "filesearch.h"
#include "platform/gtkui.h"
#include "qdfdk.h"
#include "qdglib.h"
#include "qdr/platform/os.h"
#include "qdr/qdassert.h"
#include "qdr/qdsync.h"
#include "smartarray.h"
#include "smartstr.h"
#include "strdk_split.h"
#include "wnddk.h"

namespace {

const char kFolderKey[] = "SelectAExistedFolder";
const char* const kFileKeys[2] = {"GetFilePathName_0", "GetFilePathName_1"};

// The stored directory of `key`, when it still exists.
std::string StoredDir(const char* key) {
    char dir[kMaxPathChars];
    if (!ReadSetting(key, dir, kMaxPathChars, true, "") || !IsExistDir<char>(dir)) return "";
    return dir;
}

// GTK wants '/'; the toolkit takes both separators.
std::string ForGtk(std::string path) {
    for (char& c : path)
        if (c == '\\') c = '/';
    return path;
}

// The filter's pieces up to the first empty one, as GTK filters.
void FilterPairs(const char* filter, gtkui::Chooser* spec) {
    SmartArray<PtrStr, 16> pieces;
    if (!filter || !SplitStr(pieces, filter, '|', -1, 2)) return;
    for (int i = 0; i + 1 < pieces.size(); i += 2) {
        if (pieces[i].len == 0 || pieces[i + 1].len == 0) break;
        spec->filters.emplace_back(
            std::string(pieces[i].p, static_cast<size_t>(pieces[i].len)),
            std::string(pieces[i + 1].p, static_cast<size_t>(pieces[i + 1].len)));
    }
}

bool CopyOut(const std::string& text, char* buffer, int capacity) {
    if (static_cast<int>(text.size()) >= capacity) return false;
    memcpy(buffer, text.c_str(), text.size() + 1);
    return true;
}

// One run of the dialog; `*retry` when the user refused to replace a file.
bool RunFileDialog(HWND parent, char* nameBuf, int nameBufSize, bool isOpen, bool multiSelect,
                   const char* filter, int* filterIndex, const char* initDir, const char* title,
                   bool* retry) {
    *retry = false;
    QDR_CHECK_OR_RETURN(IsMainThread(), false);
    QDR_CHECK_OR_RETURN(nameBuf != nullptr && nameBufSize > 1, false);
    const char* key = kFileKeys[isOpen ? 1 : 0];
    gtkui::Chooser spec{isOpen ? gtkui::kChooseOpen : gtkui::kChooseSave,
                        parent,
                        title ? title : "",
                        "",
                        "",
                        nameBuf,
                        isOpen && multiSelect,
                        {},
                        0};
    if (initDir && IsExistDir<char>(initDir))
        spec.startDir = ForGtk(initDir);
    else if (!initDir)
        spec.startDir = ForGtk(StoredDir(key));
    if (parent)
        QDR_CHECK(IsWindow(parent));
    else
        spec.parent = GetDefaultOwner();
    FilterPairs(filter, &spec);
    if (filterIndex && *filterIndex > 0) spec.filterIndex = *filterIndex;

    std::vector<std::string> paths;
    int usedFilter = spec.filterIndex;
    bool chosen = false;
    if (!gtkui::RunOnGuiThread(
            [&] { chosen = gtkui::RunFileChooser(spec, &paths, &usedFilter); }) ||
        !chosen)
        return false;

    // Several files come back as the directory and the names, each ended by NUL.
    std::string answer = paths[0];
    if (paths.size() > 1) {
        answer = GetDirName<char>(paths[0].c_str());
        if (answer.size() > 1 && (answer.back() == '\\' || answer.back() == '/')) answer.pop_back();
        answer.push_back('\0');
        for (const std::string& p : paths)
            answer.append(GetFileNamePart<char>(p.c_str())).push_back('\0');
    }
    if (static_cast<int>(answer.size()) + 1 > nameBufSize) {
        QDR_CHECK(false);
        char note[64];
        snprintf(note, sizeof(note), "\nThe buffer at least need %d bytes\n",
                 static_cast<int>(answer.size()) + 1);
        os::OutputDebugText(note);
        return false;
    }
    memcpy(nameBuf, answer.data(), answer.size());
    nameBuf[answer.size()] = '\0';
    if (filterIndex) *filterIndex = usedFilter;
    WriteSetting(key, IsExistDir<char>(nameBuf) ? nameBuf : GetDirName<char>(nameBuf).c_str(),
                 true);

    const char* ext = nullptr;
    if (isOpen || GetFileExtPos<char>(GetFileNamePart<char>(nameBuf), &ext)) return true;
    if (!AppendFilterExtension(nameBuf, nameBufSize, filter, usedFilter)) return true;
    // GTK asked about replacing before the extension was added: ask again.
    if (IsExistFile<char>(nameBuf) && SiteMessageBox(nullptr, spec.parent, 0x134, nullptr,
                                                     "%s 已存在。\n要替换它吗？", nameBuf) != 6) {
        nameBuf[0] = '\0';
        *retry = true;
        return false;
    }
    return true;
}

// A wide argument as UTF-8; null stays null, as it means "not given".
class Narrow {
public:
    explicit Narrow(const char16_t* text) : text_(text, -1), given_(text != nullptr) {}
    operator const char*() const { return given_ ? text_.c_str() : nullptr; }

private:
    SmartStr text_;
    bool given_;
};

std::u16string Wide(const std::string& text) {
    const SmartStrW wide(text.c_str(), static_cast<int32_t>(text.size()));
    return std::u16string(wide.c_str(), static_cast<size_t>(wide.Length()));
}

// `bytes` of UTF-8 (NULs inside included) into `out` of `capacity` units, terminated;
// false, with `out` emptied, when it doesn't fit.
bool WideOut(const char* text, int bytes, char16_t* out, int capacity) {
    int units = capacity;
    Utf8ToUnicode(text, bytes, out, &units);
    if (units < capacity) return true;  // on failure the count is left as it was
    out[0] = 0;
    return false;
}

// The folder dialog into `folderPath` of `capacity` bytes.
bool ChooseFolder(char* folderPath, int capacity, const char* caption, const char* prompt,
                  HWND ownerWnd, const char* initPath) {
    // One folder dialog at a time, as its start folder is the process's.
    static Mutex siteLock;
    AutoLock guard(&siteLock);
    gtkui::Chooser spec{gtkui::kChooseFolder,
                        ownerWnd,
                        caption ? caption : "",
                        prompt ? prompt : "",
                        "",
                        "",
                        false,
                        {},
                        0};
    spec.startDir = ForGtk(initPath && *initPath ? initPath : StoredDir(kFolderKey));
    if (ownerWnd)
        QDR_CHECK(IsWindow(ownerWnd));
    else
        spec.parent = GetDefaultOwner();
    std::vector<std::string> paths;
    bool chosen = false;
    if (!gtkui::RunOnGuiThread([&] { chosen = gtkui::RunFileChooser(spec, &paths, nullptr); }) ||
        !chosen) {
        folderPath[0] = '\0';
        return false;
    }
    if (!CopyOut(paths[0], folderPath, capacity)) {
        folderPath[0] = '\0';
        return false;
    }
    if (!IsExistDir<char>(folderPath)) return false;
    WriteSetting(kFolderKey, folderPath, true);
    return true;
}

template <class CHAR>
std::basic_string<CHAR> FolderAsString(const CHAR* caption, const CHAR* prompt, HWND ownerWnd,
                                       const CHAR* initPath) {
    CHAR path[kMaxPathChars];
    return SelectAExistedFolder(path, caption, prompt, ownerWnd, initPath)
               ? path
               : std::basic_string<CHAR>();
}

// The dialog with an initial name, cut at 511 characters; empty on cancel.
template <class CHAR>
std::basic_string<CHAR> FileAsString(HWND parent, const CHAR* initName, bool isOpen,
                                     const CHAR* filter, int* filterIndex, const CHAR* initDir,
                                     const CHAR* title) {
    CHAR name[kMaxPathChars] = {0};
    if (initName)
        std::char_traits<CHAR>::copy(
            name, initName,
            std::min(std::char_traits<CHAR>::length(initName), size_t{kMaxPathChars - 1}));
    if (!GetFilePathName(parent, name, kMaxPathChars, isOpen, false, filter, filterIndex, initDir,
                         title))
        return std::basic_string<CHAR>();
    return name;
}

}  // namespace

bool AppendFilterExtension(char* nameBuf, int nameBufSize, const char* filter, int filterIndex) {
    SmartArray<PtrStr, 16> pieces;
    if (!filter || !SplitStr(pieces, filter, '|', -1, 2)) return false;
    QDR_CHECK_OR_RETURN(pieces.size() % 2 == 0, false);
    QDR_CHECK_OR_RETURN(filterIndex >= 1 && filterIndex <= pieces.size() / 2, false);
    const PtrStr& pattern = pieces[filterIndex * 2 - 1];
    if (pattern.len < 3 || pattern.p[0] != '*' || pattern.p[1] != '.' ||
        strchr(kForbiddenNameChars, pattern.p[2]))
        return false;
    const size_t used = strlen(nameBuf);
    const size_t room = static_cast<size_t>(nameBufSize) - used - 1;
    const size_t add = std::min(room, static_cast<size_t>(pattern.len - 1));
    memcpy(nameBuf + used, pattern.p + 1, add);
    nameBuf[used + add] = '\0';
    return true;
}

bool GetFilePathName(HWND parent, char* nameBuf, int nameBufSize, bool isOpen, bool multiSelect,
                     const char* filter, int* filterIndex, const char* initDir, const char* title) {
    bool retry = false;
    bool chosen;
    do {
        chosen = RunFileDialog(parent, nameBuf, nameBufSize, isOpen, multiSelect, filter,
                               filterIndex, initDir, title, &retry);
    } while (!chosen && retry);
    return chosen;
}

bool GetFilePathNames(HWND parent, std::vector<std::string>& list, bool isOpen, bool multiSelect,
                      const char* filter, int* filterIndex, const char* initDir,
                      const char* title) {
    std::vector<char> buffer(multiSelect ? 65532 : 513, '\0');
    if (!list.empty()) strncpy(buffer.data(), list[0].c_str(), buffer.size() - 2);
    list.clear();
    if (!GetFilePathName(parent, buffer.data(), static_cast<int>(buffer.size()), isOpen,
                         multiSelect, filter, filterIndex, initDir, title))
        return false;
    std::vector<std::string> parts;
    for (size_t at = 0; at + 2 < buffer.size() && buffer[at];) {
        parts.emplace_back(&buffer[at]);
        at += parts.back().size() + 1;
    }
    if (parts.size() >= 3) {
        for (size_t i = 1; i < parts.size(); ++i)
            list.push_back(ComposeFileName<char>(parts[0].c_str(), parts[i].c_str()));
    } else {
        list = parts;
    }
    return true;
}

std::string GetFilePathName(HWND parent, const char* initName, bool isOpen, const char* filter,
                            int* filterIndex, const char* initDir, const char* title) {
    return FileAsString(parent, initName, isOpen, filter, filterIndex, initDir, title);
}

std::u16string GetFilePathName(HWND parent, const char16_t* initName, bool isOpen,
                               const char16_t* filter, int* filterIndex, const char16_t* initDir,
                               const char16_t* title) {
    return FileAsString(parent, initName, isOpen, filter, filterIndex, initDir, title);
}

// Each UTF-16 unit takes at most three bytes of UTF-8: the narrow dialog gets three
// times the room.
bool GetFilePathName(HWND parent, char16_t* nameBuf, int nameBufSize, bool isOpen, bool multiSelect,
                     const char16_t* filter, int* filterIndex, const char16_t* initDir,
                     const char16_t* title) {
    QDR_CHECK_OR_RETURN(nameBuf != nullptr && nameBufSize > 1, false);
    std::vector<char> name(static_cast<size_t>(nameBufSize) * 3, '\0');
    int given = 0;
    while (given < nameBufSize - 1 && nameBuf[given]) ++given;
    int bytes = static_cast<int>(name.size());
    UnicodeToUtf8(nameBuf, given, name.data(), &bytes);
    const bool chosen =
        GetFilePathName(parent, name.data(), static_cast<int>(name.size()), isOpen, multiSelect,
                        Narrow(filter), filterIndex, Narrow(initDir), Narrow(title));
    // The answer is one or more names, each ended by NUL, and an empty one last.
    size_t used = 0;
    while (used < name.size() && name[used]) used += strlen(&name[used]) + 1;
    const bool fits = WideOut(name.data(), static_cast<int>(used), nameBuf, nameBufSize);
    QDR_CHECK(fits);
    return chosen && fits;
}

bool GetFilePathNames(HWND parent, std::vector<std::u16string>& list, bool isOpen, bool multiSelect,
                      const char16_t* filter, int* filterIndex, const char16_t* initDir,
                      const char16_t* title) {
    std::vector<std::string> paths;
    if (!list.empty()) paths.emplace_back(SmartStr(list[0].c_str(), -1).c_str());
    list.clear();
    if (!GetFilePathNames(parent, paths, isOpen, multiSelect, Narrow(filter), filterIndex,
                          Narrow(initDir), Narrow(title)))
        return false;
    for (const std::string& path : paths) list.push_back(Wide(path));
    return true;
}

bool SelectAExistedFolder(char* folderPath, const char* caption, const char* prompt, HWND ownerWnd,
                          const char* initPath) {
    QDR_CHECK_OR_RETURN(folderPath != nullptr, false);
    return ChooseFolder(folderPath, kMaxPathChars, caption, prompt, ownerWnd, initPath);
}

bool SelectAExistedFolder(char16_t* folderPath, const char16_t* caption, const char16_t* prompt,
                          HWND ownerWnd, const char16_t* initPath) {
    QDR_CHECK_OR_RETURN(folderPath != nullptr, false);
    char path[kMaxPathChars * 3];
    const bool chosen = ChooseFolder(path, sizeof(path), Narrow(caption), Narrow(prompt), ownerWnd,
                                     Narrow(initPath));
    return WideOut(path, -1, folderPath, kMaxPathChars) && chosen;
}

std::string SelectAExistedFolder(const char* caption, const char* prompt, HWND ownerWnd,
                                 const char* initPath) {
    return FolderAsString(caption, prompt, ownerWnd, initPath);
}

std::u16string SelectAExistedFolder(const char16_t* caption, const char16_t* prompt, HWND ownerWnd,
                                    const char16_t* initPath) {
    return FolderAsString(caption, prompt, ownerWnd, initPath);
}

std::string GetRecentFolder() {
    return StoredDir(kFolderKey);
}
std::string GetRecentFilePath() {
    return StoredDir("GetFilePathName");
}
std::u16string GetRecentFolderW() {
    return Wide(GetRecentFolder());
}
std::u16string GetRecentFilePathW() {
    return Wide(GetRecentFilePath());
}

bool TrimSourceTreeDialog() {
    char folder[kMaxPathChars];
    if (!SelectAExistedFolder(folder, "目录选择", "目录选择")) return false;
    char failed[kMaxPathChars] = {0};
    int count = 0;
    if (!TrimTreeLineEnds(folder, "*.h,*.c,*.cpp,*.asm,*.rc,*.rc2,*.odl,*.def,*.txt", true, failed,
                          &count)) {
        SiteMessageBox(nullptr, 0, 0, "失败", "转化文件 \"%s\"失败!", failed);
        return false;
    }
    SiteMessageBox(nullptr, 0, 0, "提示", "成功转化文件%s个文件!", std::to_string(count).c_str());
    return true;
}
