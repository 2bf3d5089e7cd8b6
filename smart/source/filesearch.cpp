// The find-file object, the recursive walk and the search over several starts.
#include "filesearch.h"

#include <cstring>

#include "ptrstr.h"
#include "qdfdk_internal.h"
#include "smartarray.h"
#include "smartstr.h"
#include "strdk.h"
#include "strdk_match.h"
#include "strtmpl.h"

namespace {

// Names are matched as Windows' find call matches them: case ignored, `#`
// and `$` plain characters, "*.*" every name and "*." a name without extension.
constexpr int kFindFlags = msf_ignore_case | msf_sharp_literal;

bool HasWildcard(const char* pattern) {
    return FindAnyChar(pattern, "*?") != nullptr;
}

}  // namespace

// ---- FileFinder ------------------------------------------------------------------

FileFinder::FileFinder()
    : attributes_(os::kInvalidFileAttributes), hFind(nullptr), single_(false), namePart(nullptr) {
    pattern_[0] = 0;
    fullPath[0] = 0;
}

FileFinder::~FileFinder() {
    Close();
}

void FileFinder::Close() {
    if (hFind) os::CloseDirectoryListing(hFind);
    hFind = nullptr;
    single_ = false;
    attributes_ = os::kInvalidFileAttributes;
    fullPath[0] = 0;
    namePart = nullptr;
}

bool FileFinder::IsDirectory() const {
    return attributes_ != os::kInvalidFileAttributes &&
           (attributes_ & os::kFileAttributeDirectory) != 0;
}

bool FileFinder::IsDots() const {
    return IsDirectory() && namePart && (!strcmp(namePart, ".") || !strcmp(namePart, ".."));
}

bool FileFinder::Open(const char* pattern) {
    Close();
    if (!pattern) pattern = "*";
    const int len = TextLength(pattern);
    const char* sep = len > 0 ? FindLastAnyChar(pattern, pattern + len - 1, "\\/") : nullptr;
    const char* name = sep ? sep + 1 : pattern;
    if (!name[0] || TextLength(name) >= static_cast<int>(sizeof(pattern_))) return false;
    memcpy(pattern_, name, static_cast<size_t>(TextLength(name)) + 1);

    // The full path of the pattern decides where names go, and whether they fit.
    if (!::GetFullPath(pattern, fullPath, kMaxPathChars)) return false;
    const int fullLen = TextLength(fullPath);
    const char* fullSep =
        fullLen > 0 ? FindLastChar(fullPath, fullPath + fullLen - 1, '\\') : nullptr;
    if (!fullSep && fullLen > 0) fullSep = FindLastChar(fullPath, fullPath + fullLen - 1, '/');
    if (!fullSep) {
        Close();
        return false;
    }
    namePart = fullPath + (fullSep - fullPath) + 1;

    if (!HasWildcard(pattern_)) {
        const uint32_t attributes = os::FileAttributes(pattern);
        if (attributes != os::kInvalidFileAttributes) {
            single_ = true;
            attributes_ = attributes;  // the name is in fullPath already
            return true;
        }
    }
    char dir[kMaxPathChars + 2];
    if (!sep) {
        strcpy(dir, ".");
    } else {
        const int dirLen = sep == pattern ? 1 : static_cast<int>(sep - pattern);
        if (dirLen >= kMaxPathChars) {
            Close();
            return false;
        }
        memcpy(dir, pattern, static_cast<size_t>(dirLen));
        dir[dirLen] = 0;
    }
    hFind = os::OpenDirectoryListing(dir);
    if (!hFind || !FindMatch()) {
        Close();
        return false;
    }
    return true;
}

bool FileFinder::Next() {
    if (single_ || !hFind) return false;
    return FindMatch();
}

bool FileFinder::FindMatch() {
    char name[256];
    uint32_t attributes = 0;
    const int room = kMaxPathChars - static_cast<int>(namePart - fullPath);
    while (os::NextDirectoryEntry(hFind, name, sizeof(name), &attributes)) {
        if (!MatchingFileName(true, kFindFlags, name, -1, pattern_)) continue;
        const int n = TextLength(name);
        if (n >= room) continue;  // beyond the library's path length: not reachable
        memcpy(namePart, name, static_cast<size_t>(n) + 1);
        attributes_ = attributes;
        return true;
    }
    return false;
}

// ---- the walk --------------------------------------------------------------------

namespace {

// The parameters that every level of a walk passes on unchanged.
struct WalkParams {
    const char* patterns;
    FileFoundCallback fileCb;
    void* fileCbParam;
    uint32_t excludeAttrs;
    const char* excludeDirNames;
    const char* excludeFileNames;
    const char* excludePaths;
    FileVisitCallback visitCb;
    void* visitCbParam;
};

bool Walk(const WalkParams& w, const char* dir, int depth);

bool VisitEntry(const WalkParams& w, int depth, bool isDir, const char* pathname,
                const char* name) {
    bool ok = true;
    bool excluded = false;
    const char* excludeNames = isDir ? w.excludeDirNames : w.excludeFileNames;
    if (excludeNames) excluded = MatchingFileNames(name, excludeNames);
    if (!excluded && w.excludePaths) excluded = MatchingFileNames(pathname, w.excludePaths);
    const bool matched = MatchingFileNames(name, w.patterns);
    if (w.visitCb && !w.visitCb(w.visitCbParam, isDir, pathname, matched && !excluded)) ok = false;
    if (excluded) return ok;
    if (matched && w.fileCb && !w.fileCb(w.fileCbParam, isDir, pathname)) ok = false;
    if (ok && isDir && depth >= 1 && !Walk(w, pathname, depth - 1)) ok = false;
    return ok;
}

bool Walk(const WalkParams& w, const char* dir, int depth) {
    char pattern[kMaxPathChars];
    FileFinder finder;
    // A directory that is missing or cannot be read counts as empty.
    if (!ComposeFileName(dir, "*", pattern) || !finder.Open(pattern)) return true;
    do {
        if (finder.IsDots()) continue;
        const uint32_t attributes = finder.GetAttributes();
        if (attributes == os::kInvalidFileAttributes) {
            QDR_CHECK(false);
            continue;
        }
        if (attributes & w.excludeAttrs) continue;
        if (!VisitEntry(w, depth, finder.IsDirectory(), finder.GetFullPath(), finder.GetName()))
            return false;
    } while (finder.Next());
    return true;
}

}  // namespace

bool WalkDirectory(const char* dir, const char* patterns, int depth, FileFoundCallback fileCb,
                   void* fileCbParam, uint32_t excludeAttrs, const char* excludeDirNames,
                   const char* excludeFileNames, const char* excludePaths,
                   FileVisitCallback visitCb, void* visitCbParam) {
    if (!dir || !patterns || (!fileCb && !visitCb)) {
        QDR_CHECK(false);
        return false;
    }
    const WalkParams w = {patterns,     fileCb,          fileCbParam,
                          excludeAttrs, excludeDirNames, excludeFileNames,
                          excludePaths, visitCb,         visitCbParam};
    return Walk(w, dir, depth);
}

bool SearchFiles(const char* beginPaths, const char* patterns, int depth, FileFoundCallback fileCb,
                 void* fileCbParam, uint32_t excludeAttrs, const char* excludeDirNames,
                 const char* excludeFileNames, const char* excludePaths, FileVisitCallback visitCb,
                 void* visitCbParam) {
    QDR_CHECK_OR_RETURN(beginPaths, false);
    if (!patterns || !patterns[0]) patterns = "*";
    SmartArray<PtrStr, 16> paths;
    SplitText(paths, beginPaths, -1, SplitSeparator<char>('|'), split_drop_separators, false);

    // With recursion a start inside another is covered by it; without, only the
    // same directory twice is.
    for (int i = 0; i + 1 < paths.size(); ++i) {
        for (int j = paths.size() - 1; j > i; --j) {
            const int r = ComparePathRelation(paths[i].p, paths[j].p, paths[i].len, paths[j].len);
            if (depth > 0) {
                if (r == 2) paths[i] = paths[j];
                if (r != 0) paths.RemoveAt(j, 1);
            } else if (r == 3) {
                paths.RemoveAt(j, 1);
            }
        }
    }

    for (int i = 0; i < paths.size(); ++i) {
        if (paths[i].len >= kMaxPathChars) {
            QDR_CHECK(false);
            continue;
        }
        char dir[kMaxPathChars];
        memcpy(dir, paths[i].p, static_cast<size_t>(paths[i].len));
        dir[paths[i].len] = 0;
        if (!WalkDirectory(dir, patterns, depth, fileCb, fileCbParam, excludeAttrs, excludeDirNames,
                           excludeFileNames, excludePaths, visitCb, visitCbParam))
            return false;
    }
    return true;
}

// ---- the wide entry ----------------------------------------------------------------

namespace {

struct WideCallbacks {
    FileFoundCallbackW fileCb;
    void* fileCbParam;
    FileVisitCallbackW visitCb;
    void* visitCbParam;
};

bool WideFileFound(void* param, bool isDir, const char* pathname) {
    const WideCallbacks* w = static_cast<const WideCallbacks*>(param);
    const SmartStrW wide(pathname, -1);
    return w->fileCb(w->fileCbParam, isDir, wide.c_str());
}

bool WideVisit(void* param, bool isDir, const char* pathname, bool passed) {
    const WideCallbacks* w = static_cast<const WideCallbacks*>(param);
    const SmartStrW wide(pathname, -1);
    return w->visitCb(w->visitCbParam, isDir, wide.c_str(), passed);
}

}  // namespace

bool SearchFiles(const char16_t* beginPaths, const char16_t* patterns, int depth,
                 FileFoundCallbackW fileCb, void* fileCbParam, uint32_t excludeAttrs,
                 const char16_t* excludeDirNames, const char16_t* excludeFileNames,
                 const char16_t* excludePaths, FileVisitCallbackW visitCb, void* visitCbParam) {
    WideCallbacks callbacks = {fileCb, fileCbParam, visitCb, visitCbParam};
    const SystemText<char16_t> begin(beginPaths), pats(patterns), dirs(excludeDirNames),
        files(excludeFileNames), paths(excludePaths);
    return SearchFiles(begin.c_str(), pats.c_str(), depth, fileCb ? WideFileFound : nullptr,
                       &callbacks, excludeAttrs, dirs.c_str(), files.c_str(), paths.c_str(),
                       visitCb ? WideVisit : nullptr, &callbacks);
}
