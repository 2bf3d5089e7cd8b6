// File search: walks directory trees and calls back for each entry that passes a
// set of name filters. It is how the log engine finds the "*.log" files of its
// directory and how the tree-wide text tools find their files.
//
// FileFinder is one enumeration of one directory, matched against a name pattern
// as Windows' find call does (case ignored, `*.*` matching every name).
// WalkDirectory walks one directory, entering subdirectories while a depth budget
// lasts; SearchFiles takes several start directories separated by `|` and drops
// those that another start already covers before it walks.
//
// Paths handed to the callbacks are full paths in the library's normal form
// (`\` separators). Entries come in the order of the system; nothing is sorted.
#pragma once

#include <cstddef>
#include <cstdint>

#include "cpp_templ0.h"
#include "qdfdk.h"
#include "qdr/platform/os_files.h"

class FileFinder {
public:
    FileFinder();
    ~FileFinder();
    FileFinder(const FileFinder&) = delete;
    FileFinder& operator=(const FileFinder&) = delete;

    // The first entry whose name fits the pattern's name part; null means "*". A
    // name part without `*` or `?` finds that name, in its exact spelling if it
    // exists, else in any case. False when nothing fits or the full path of the
    // pattern does not fit kMaxPathChars units.
    bool Open(const char* pattern = nullptr);
    bool Next();
    void Close();

    // Windows' attribute bits (0x10 directory); 0xFFFFFFFF for an entry that
    // vanished before it could be looked at.
    uint32_t GetAttributes() const { return attributes_; }
    bool IsDirectory() const;
    // A directory named "." or "..".
    bool IsDots() const;
    const char* GetName() const { return namePart; }
    const char* GetFullPath() const { return fullPath; }

private:
    // Moves the enumeration to the next entry that fits the pattern and whose full
    // path fits the buffer, and copies its name behind the directory.
    bool FindMatch();

    uint32_t attributes_;
    os::DirectoryListing* hFind;  // null when closed
    bool single_;                 // an exact name: the one entry, no enumeration
    char pattern_[256];           // the name part of the pattern
    char fullPath[kMaxPathChars];
    char* namePart;  // behind the last separator of fullPath
};

// Called for each entry that passes; false stops the walk, which then fails.
typedef bool (*FileFoundCallback)(void* param, bool isDir, const char* pathname);
// Called for every entry that the attribute mask lets through, excluded ones too,
// with `passed` telling whether it matched and was not excluded; false marks the
// walk as failed (it goes on).
typedef bool (*FileVisitCallback)(void* param, bool isDir, const char* pathname, bool passed);
typedef bool (*FileFoundCallbackW)(void* param, bool isDir, const char16_t* pathname);
typedef bool (*FileVisitCallbackW)(void* param, bool isDir, const char16_t* pathname, bool passed);

// Walks `dir`, entering subdirectories while `depth` >= 1 (each level one less).
// `patterns`, `excludeDirNames`, `excludeFileNames` and `excludePaths` are lists in
// the sense of MatchingFileNames ("*.h;*.cpp"); the exclusions may be null.
// Entries with any of `excludeAttrs` are skipped silently; an excluded directory is
// not entered, while a directory whose name does not match `patterns` still is. A
// directory gets its callback before its content. A directory that cannot be read
// counts as empty. Without dir, patterns, or both callbacks it is reported and false.
bool WalkDirectory(const char* dir, const char* patterns, int depth, FileFoundCallback fileCb,
                   void* fileCbParam, uint32_t excludeAttrs = 0,
                   const char* excludeDirNames = nullptr, const char* excludeFileNames = nullptr,
                   const char* excludePaths = nullptr, FileVisitCallback visitCb = nullptr,
                   void* visitCbParam = nullptr);

// WalkDirectory over each directory of `beginPaths` ("a|b|c"; empty pieces are
// dropped). Null or empty `patterns` mean "*". Before walking, a start that names
// the same directory as an earlier one is dropped; with depth >= 1 so is one that
// lies inside another, and an ancestor takes the earlier position:
//   "C:\a|C:\a\b", recursive  -> walks C:\a;   not recursive -> walks both
//   "C:\a\b|C:\a", recursive  -> walks C:\a, in the first position
// (The comparison ignores case, as ComparePathRelation does.) A start of 512
// characters or more is reported and skipped.
bool SearchFiles(const char* beginPaths, const char* patterns, int depth, FileFoundCallback fileCb,
                 void* fileCbParam, uint32_t excludeAttrs = 0,
                 const char* excludeDirNames = nullptr, const char* excludeFileNames = nullptr,
                 const char* excludePaths = nullptr, FileVisitCallback visitCb = nullptr,
                 void* visitCbParam = nullptr);
// The wide entries: every text is converted to UTF-8 for the walk, and each path
// back to UTF-16 for the callbacks.
bool SearchFiles(const char16_t* beginPaths, const char16_t* patterns, int depth,
                 FileFoundCallbackW fileCb, void* fileCbParam, uint32_t excludeAttrs = 0,
                 const char16_t* excludeDirNames = nullptr,
                 const char16_t* excludeFileNames = nullptr, const char16_t* excludePaths = nullptr,
                 FileVisitCallbackW visitCb = nullptr, void* visitCbParam = nullptr);

// Either width, with a flag: recursive means a depth of 10000, else 0.
template <class CHAR, class FOUND, class VISIT = std::nullptr_t>
inline bool SearchFilesEx(const CHAR* beginPaths, const NonDeduced<CHAR>* patterns, bool recursive,
                          FOUND fileCb, void* fileCbParam, uint32_t excludeAttrs = 0,
                          const NonDeduced<CHAR>* excludeDirNames = nullptr,
                          const NonDeduced<CHAR>* excludeFileNames = nullptr,
                          const NonDeduced<CHAR>* excludePaths = nullptr, VISIT visitCb = nullptr,
                          void* visitCbParam = nullptr) {
    return SearchFiles(beginPaths, patterns, recursive ? 10000 : 0, fileCb, fileCbParam,
                       excludeAttrs, excludeDirNames, excludeFileNames, excludePaths, visitCb,
                       visitCbParam);
}

// ---- tree-wide text tools -------------------------------------------------------

// Rewrites every file found so that each LF is preceded by CR. Files whose size or
// content cannot be read are left alone. Directories are passed over.
bool ConvertTreeToCrLf(const char* beginPaths, const char* patterns, bool recursive);

// Removes the blanks (spaces and tabs) at the ends of the lines of text files,
// leaving read-only, hidden and system files alone. A file changes only when it
// has such blanks: a copy goes to "<name>_", the file is deleted and the copy
// renamed into its place. A file larger than 16 MiB, one holding a zero byte, and
// any failure end the walk with false and the file's name in `failedName`
// (kMaxPathChars bytes, may be null). `fixedCount` (may be null) is incremented per
// file changed.
bool TrimTreeLineEnds(const char* beginPaths, const char* patterns, bool recursive,
                      char* failedName, int* fixedCount);
