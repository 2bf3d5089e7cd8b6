// Path text: the validators, the normal form, the root classifier and the routines
// built on them. Nothing here asks the file system, except GetFullPath for the
// current directory.
#include "qdfdk.h"

#include <string>

#include "qdfdk_internal.h"
#include "smartarray.h"
#include "smartbuf.h"
#include "strdk.h"
#include "strdk_match.h"

const char kForbiddenNameChars[] = "<>:|/\\\"";

namespace {

template <class CHAR>
const CHAR* ForbiddenChars() {
    return QD_UNIT_TEXT(CHAR, "<>:|/\\\"");
}

template <class CHAR>
bool IsForbiddenChar(CHAR c, const CHAR* forbidden) {
    return c != 0 && FindChar(forbidden, c) != nullptr;
}

// Not the end, not forbidden, not a dot: the first unit of a name.
template <class CHAR>
bool IsValidNameStart(CHAR c) {
    return c != 0 && c != '.' && !IsForbiddenChar(c, ForbiddenChars<CHAR>());
}

// A path text of len units into a caller's buffer of kMaxPathChars units; a longer
// one is reported and leaves the buffer empty.
template <class CHAR>
bool SetPathText(CHAR* dest, const CHAR* text, int len) {
    QDR_CHECK(len < kMaxPathChars);
    if (len >= kMaxPathChars) {
        dest[0] = 0;
        return false;
    }
    CopyUnits(dest, text, len);
    return true;
}

// A private copy of a path for normalising: len units plus the two that
// NormalizePath may need.
template <class CHAR>
class PathCopy {
public:
    PathCopy(const CHAR* text, int len) : buf_(len + 3) {
        if (buf_.Get()) CopyUnits(buf_.Get(), text, len);
    }
    bool Valid() const { return buf_.Get() != nullptr; }
    CHAR* Get() { return buf_.Get(); }

private:
    SmartBuf<CHAR, kMaxPathChars + 2> buf_;
};

struct PathComponent {
    int start;
    int len;
};

template <class CHAR>
bool IsDotDot(const CHAR* path, const PathComponent& c) {
    return c.len == 2 && path[c.start] == '.' && path[c.start + 1] == '.';
}

// The stack entry that a `..` cannot climb over: the empty entry of a leading `\`,
// or a drive such as "C:".
template <class CHAR>
bool IsRootEntry(const CHAR* path, const PathComponent& c) {
    return c.len == 0 || (c.len == 2 && path[c.start + 1] == ':');
}

template <class CHAR>
bool SameTextIgnoringCase(const CHAR* a, const CHAR* b, int len) {
    return CompareCharsUntil(a, b, CHAR(0), len, len, msf_ignore_case) == 0;
}

}  // namespace

// ---- validating ----------------------------------------------------------------

template <class CHAR>
bool IsValidFileName(const CHAR* name, const NonDeduced<CHAR>* forbidden) {
    if (!AfxIsValidString(name) || !name[0]) return false;
    if (!forbidden) forbidden = ForbiddenChars<CHAR>();
    for (int i = 0; name[i]; ++i) {
        if (i + 1 >= kMaxPathChars) return false;
        if (IsForbiddenChar(name[i], forbidden)) return false;
    }
    return true;
}

template <class CHAR>
bool IsValidPathName(const CHAR* path, const NonDeduced<CHAR>* forbidden) {
    if (!AfxIsValidString(path) || !path[0]) return false;
    const int len = TextLength(path);
    if (len >= kMaxPathChars) return false;
    CHAR copy[kMaxPathChars];
    copy[0] = copy[1] = 0;  // (the loop writes them; this tells the compiler so)
    for (int i = 0; i <= len; ++i) copy[i] = path[i] == '/' ? CHAR('\\') : path[i];
    for (int i = 1; i + 1 < len; ++i)
        if (copy[i] == '\\' && copy[i + 1] == '\\') return false;
    if (len >= 2 && copy[1] == ':') {
        if (!IsLetter(copy[0]) || (len > 2 && copy[2] != '\\')) return false;
        copy[1] = '_';  // so that the name test below lets the drive's colon pass
    } else if (copy[0] == '\\' && copy[1] == '\\') {
        if (len < 3) return false;
        const CHAR* next = FindChar(copy + 2, CHAR('\\'));
        if (!next || next == copy + 2 || !next[1] || next[1] == '\\') return false;
    } else if (copy[0] == '\\') {
        // This platform's absolute path; the root alone has no name to test.
        if (len == 1) return true;
    } else {
        if (copy[0] != '.') return false;
        const CHAR* rest = copy + 1;
        if (rest[0] == '.') ++rest;
        if (rest[0] != 0 && rest[0] != '\\') return false;
    }
    RemoveChars(copy, QD_UNIT_TEXT(CHAR, "\\"));
    return IsValidFileName<CHAR>(copy, forbidden);
}

template <class CHAR>
bool IsValidAbsPath(const CHAR* path) {
    if (!IsValidPathName<CHAR>(path, nullptr)) return false;
    return (IsLetter(path[0]) && path[1] == ':') || IsSlashChar(path[0]);
}

// ---- the normal form ------------------------------------------------------------

namespace {

typedef SmartArray<PathComponent, 32> PathComponents;

// Every '/' becomes '\' and runs of separators collapse to one, but for the two
// that start a network name.
template <class CHAR>
void CollapseSeparators(CHAR* path) {
    const int len = TextLength(path);
    const int prefix = len >= 3 && MatchingString(path, QD_UNIT_TEXT(CHAR, "\\\\?*")) &&
                               !IsForbiddenChar(path[2], ForbiddenChars<CHAR>())
                           ? 2
                           : 0;
    for (int i = 0; i < len; ++i)
        if (path[i] == '/') path[i] = '\\';
    int out = prefix;
    for (int i = prefix; i < len; ++i) {
        if (path[i] == '\\' && out > prefix && path[out - 1] == '\\') continue;
        path[out++] = path[i];
    }
    path[out] = 0;
}

// Drops the "." components and a leading ".\" before "..", and gives a final ".."
// a separator of its own: "a\b\.." -> "a\b\..\". The new length.
template <class CHAR>
int DropDotComponents(CHAR* path) {
    while (ReplaceStr(path, QD_UNIT_TEXT(CHAR, "/./"), QD_UNIT_TEXT(CHAR, "\\"), msf_slash_equal) >
           0) {
    }
    int len = TextLength(path);
    if (MatchingString(path, QD_UNIT_TEXT(CHAR, "./../*"), msf_slash_equal)) {
        CopyUnits(path, path + 2, len - 2);
        len -= 2;
    }
    if (MatchingString(path, QD_UNIT_TEXT(CHAR, "*/.."), msf_slash_equal)) {
        path[len++] = '\\';
        path[len] = 0;
    }
    return len;
}

// The components as (start, length), each ".." taking the one before it away; the
// empty ones stand for a leading `\` or `\\`. False for a ".." above the root.
template <class CHAR>
bool ResolveDotDots(const CHAR* path, int len, PathComponents& stack) {
    for (int pos = 0;;) {
        int next = pos;
        while (next < len && path[next] != '\\') ++next;
        const PathComponent c = {pos, next - pos};
        if (!IsDotDot(path, c)) {
            stack.push_back(c);
        } else if (stack.empty() || IsDotDot(path, stack[stack.size() - 1])) {
            stack.push_back(c);
        } else if (stack.size() == 1 && IsRootEntry(path, stack[0])) {
            return false;
        } else {
            stack.RemoveAt(stack.size() - 1, 1);
        }
        pos = next + 1;
        if (pos >= len) break;
    }
    return true;
}

// Writes the components back over path, `\` between them; len is the length of the
// text they were taken from.
template <class CHAR>
CHAR* JoinComponents(CHAR* path, int len, const PathComponents& stack) {
    // Everything resolved down to the root of a Linux absolute path.
    if (stack.size() == 1 && stack[0].len == 0) {
        CopyUnits(path, QD_UNIT_TEXT(CHAR, "\\"), 1);
        return path;
    }
    SmartBuf<CHAR, kMaxPathChars + 2> joined(len + 2);
    CHAR* ch = joined.Get();
    if (!ch) return nullptr;
    int offset = 0;
    for (int k = 0; k < stack.size(); ++k) {
        if (k > 0) ch[offset++] = '\\';
        memcpy(ch + offset, path + stack[k].start,
               static_cast<size_t>(stack[k].len) * sizeof(CHAR));
        offset += stack[k].len;
    }
    QDR_CHECK(offset > 0);
    if (offset == 0) {
        path[0] = 0;  // nothing is left to name: "a\.." leaves the empty text
        return path;
    }
    // The report shows this expression as written.
    QDR_CHECK(!IsSlashChar(ch[offset-1]));
    // A root keeps its separator ("C:\"), a short text does not ("a\" -> "a").
    if (len >= 3 && IsSlashChar(path[len - 1]) && !IsSlashChar(path[len - 2])) ch[offset++] = '\\';
    CopyUnits(path, ch, offset);
    return path;
}

}  // namespace

template <class CHAR>
CHAR* NormalizePath(CHAR* path) {
    QDR_CHECK(AfxIsValidString(path));
    if (!path) return nullptr;
    CollapseSeparators(path);
    const int len = DropDotComponents(path);
    if (len == 0) return path;  // nothing to name, nothing to resolve
    PathComponents stack;
    if (!ResolveDotDots(path, len, stack)) return nullptr;
    return JoinComponents(path, len, stack);
}

template <class CHAR>
int ComparePathRelation(const CHAR* path1, const NonDeduced<CHAR>* path2, int len1, int len2) {
    QDR_CHECK(AfxIsValidString(path1));
    QDR_CHECK(AfxIsValidString(path2));
    if (!path1 || !path2) return 0;
    if (len1 < 0) len1 = TextLength(path1);
    if (len2 < 0) len2 = TextLength(path2);
    PathCopy<CHAR> a(path1, len1), b(path2, len2);
    if (!a.Valid() || !b.Valid()) return 0;
    NormalizePath(a.Get());
    NormalizePath(b.Get());
    const int n1 = TextLength(a.Get()), n2 = TextLength(b.Get());
    if (n1 < n2 && SameTextIgnoringCase(a.Get(), b.Get(), n1) && b.Get()[n1] == '\\') return 1;
    if (n2 < n1 && SameTextIgnoringCase(a.Get(), b.Get(), n2) && a.Get()[n2] == '\\') return 2;
    if (n1 == n2 && SameTextIgnoringCase(a.Get(), b.Get(), n1)) return 3;
    return 0;
}

// ---- roots and parts --------------------------------------------------------------

template <class CHAR>
bool GetRoot(const CHAR* path, CHAR* root, bool* isNetwork, int len) {
    if (isNetwork) *isNetwork = false;
    if (!AfxIsValidString(path) || !root) return false;
    PtrStrT<CHAR> trimmed;
    if (!TrimPathText(path, len, &trimmed)) return false;
    CHAR p[kMaxPathChars + 2];
    CopyUnits(p, trimmed.p ? trimmed.p : path, trimmed.len);
    NormalizePath(p);
    const int n = TextLength(p);

    if (n >= 3 && p[0] == '.' && p[1] == '.' && p[2] == '.') return false;
    if (MatchingMultiPatterns(p, QD_UNIT_TEXT(CHAR, "..;../*"), 0, msf_slash_equal, n))
        return SetPathText(root, QD_UNIT_TEXT(CHAR, "..\\"), 3);
    if (MatchingMultiPatterns(p, QD_UNIT_TEXT(CHAR, ".;./*"), 0, msf_slash_equal, n))
        return SetPathText(root, QD_UNIT_TEXT(CHAR, ".\\"), 2);
    if (MatchingString(p, QD_UNIT_TEXT(CHAR, "/*"))) return false;
    if (IsLetter(p[0]) && MatchingString(p, QD_UNIT_TEXT(CHAR, "?:*"))) {
        const CHAR drive[] = {p[0], ':', '\\', 0};
        return SetPathText(root, drive, 3);
    }
    if (p[0] == '\\' && p[1] != '\\') return SetPathText(root, QD_UNIT_TEXT(CHAR, "\\"), 1);
    if (n >= 4 && p[0] == '\\' && p[1] == '\\' && p[2] != '\\' &&
        MatchingString(p + 2, QD_UNIT_TEXT(CHAR, "?*\\?*"), msf_slash_equal)) {
        if (isNetwork) *isNetwork = true;
        const CHAR* server = FindAnyChar(p + 2, QD_UNIT_TEXT(CHAR, "\\/"));
        const CHAR* share = server ? FindAnyChar(server + 1, QD_UNIT_TEXT(CHAR, "\\/")) : nullptr;
        if (share) return SetPathText(root, p, static_cast<int>(share - p) + 1);
        p[n] = '\\';
        return SetPathText(root, p, n + 1);
    }
    if (IsValidNameStart(p[0])) return SetPathText(root, QD_UNIT_TEXT(CHAR, ".\\"), 2);
    if (p[0] == '.' && IsValidNameStart(p[1]))
        return SetPathText(root, QD_UNIT_TEXT(CHAR, ".\\"), 2);
    return false;
}

template <class CHAR>
bool ComposeFileName(const CHAR* dir, const NonDeduced<CHAR>* file, CHAR* dest) {
    QDR_CHECK(AfxIsValidString(dir));
    QDR_CHECK(AfxIsValidString(file));
    QDR_CHECK_OR_RETURN(dest, false);
    if (!dir || !file) {
        dest[0] = 0;
        return false;
    }
    const int dirLen = TextLength(dir);
    int fileLen = TextLength(file);
    if (dirLen == 0) return SetPathText(dest, file, fileLen);
    if (fileLen == 0) return SetPathText(dest, dir, dirLen);
    while (IsSlashChar(*file)) {
        ++file;
        --fileLen;
    }
    SmartBuf<CHAR, kMaxPathChars + 2> joined(dirLen + 1 + fileLen + 3);
    CHAR* j = joined.Get();
    if (!j) {
        dest[0] = 0;
        return false;
    }
    int n = dirLen;
    memcpy(j, dir, static_cast<size_t>(dirLen) * sizeof(CHAR));
    if (!IsSlashChar(dir[dirLen - 1])) j[n++] = '\\';
    CopyUnits(j + n, file, fileLen);
    NormalizePath(j);
    return SetPathText(dest, j, TextLength(j));
}

template <class CHAR>
std::basic_string<CHAR> ComposeFileName(const CHAR* dir, const NonDeduced<CHAR>* file) {
    CHAR dest[kMaxPathChars];
    return ComposeFileName<CHAR>(dir, file, dest) ? std::basic_string<CHAR>(dest)
                                                  : std::basic_string<CHAR>();
}

template <class CHAR>
CHAR* AppendPathName(CHAR* target, const NonDeduced<CHAR>* name) {
    if (!target || !name || !name[0]) {
        QDR_CHECK(false);
        return nullptr;
    }
    while (IsSlashChar(*name)) ++name;
    int targetLen = TextLength(target);
    while (targetLen > 0 && IsSlashChar(target[targetLen - 1])) --targetLen;
    const int nameLen = TextLength(name);
    const int len = targetLen + 1 + nameLen;
    QDR_CHECK(len < kMaxPathChars);
    if (len >= kMaxPathChars) return nullptr;
    memmove(target + targetLen + 1, name, static_cast<size_t>(nameLen) * sizeof(CHAR));
    target[targetLen] = '\\';
    target[len] = 0;
    return target;
}

template <class CHAR>
bool GetDirName(const CHAR* path, CHAR* dir, int len) {
    QDR_CHECK(AfxIsValidString(path));
    QDR_CHECK_OR_RETURN(dir, false);
    dir[0] = 0;
    if (!path) return false;
    if (len < 0) len = TextLength(path);
    QDR_CHECK(len < kMaxPathChars);
    if (len >= kMaxPathChars) return false;
    CHAR p[kMaxPathChars + 2];
    CopyUnits(p, path, len);
    if (!NormalizePath(p)) return false;
    CHAR root[kMaxPathChars];
    bool network = false;
    if (!GetRoot(p, root, &network)) return false;
    const int n = TextLength(p);
    const CHAR* sep = n > 0 ? FindLastAnyChar(p, p + n - 1, QD_UNIT_TEXT(CHAR, "\\/:")) : nullptr;
    if (!sep) return SetPathText(dir, root, TextLength(root));
    // A network path keeps at least "\\server\share\".
    const bool isRoot = network && TextLength(root) >= n &&
                        std::char_traits<CHAR>::compare(p, root, static_cast<size_t>(n)) == 0;
    if (isRoot) return SetPathText(dir, root, TextLength(root));
    return SetPathText(dir, p, static_cast<int>(sep - p) + 1);
}

template <class CHAR>
std::basic_string<CHAR> GetDirName(const CHAR* path, int len) {
    CHAR dir[kMaxPathChars];
    return GetDirName<CHAR>(path, dir, len) ? std::basic_string<CHAR>(dir)
                                            : std::basic_string<CHAR>();
}

template <class CHAR>
bool GetParentDirName(const CHAR* path, CHAR* dir, int len) {
    QDR_CHECK(AfxIsValidString(path));
    QDR_CHECK(dir);
    if (!path || !dir) return false;
    if (len < 0) len = TextLength(path);
    while (len > 0 && IsSlashChar(path[len - 1])) --len;
    return GetDirName<CHAR>(path, dir, len);
}

template <class CHAR>
bool SplitPathName(const CHAR* path, const CHAR** name, CHAR* dir, int len) {
    if (name) *name = nullptr;
    if (dir) dir[0] = 0;
    QDR_CHECK(AfxIsValidString(path));
    if (!path) return false;
    if (len < 0) len = TextLength(path);
    const CHAR* sep =
        len > 0 ? FindLastAnyChar(path, path + len - 1, QD_UNIT_TEXT(CHAR, "\\/:")) : nullptr;
    if (name) *name = sep ? sep + 1 : path;
    return !dir || GetDirName<CHAR>(path, dir, len);
}

template <class CHAR>
const CHAR* GetFileNamePart(const CHAR* path, int len) {
    const CHAR* name = nullptr;
    if (!path) return QD_UNIT_TEXT(CHAR, "");
    SplitPathName<CHAR>(path, &name, nullptr, len);
    return name;
}

template <class CHAR>
bool GetFileExtPos(const CHAR* name, const CHAR** pos) {
    if (pos) *pos = nullptr;
    if (!AfxIsValidString(name) || !name[0]) return false;
    const CHAR* dot = FindLastChar(name, name + TextLength(name) - 1, CHAR('.'));
    if (!dot || !dot[1] || FindAnyChar(dot, QD_UNIT_TEXT(CHAR, "\\/"))) return false;
    if (pos) *pos = dot;
    return true;
}

template <class CHAR>
bool GetFileExt(const CHAR* name, CHAR* ext) {
    QDR_CHECK_OR_RETURN(ext, false);
    const CHAR* dot = nullptr;
    if (!GetFileExtPos<CHAR>(name, &dot)) {
        ext[0] = 0;
        return false;
    }
    return SetPathText(ext, dot + 1, TextLength(dot + 1));
}

template <class CHAR>
std::basic_string<CHAR> GetFileExt(const CHAR* name) {
    const CHAR* dot = nullptr;
    return GetFileExtPos<CHAR>(name, &dot) ? std::basic_string<CHAR>(dot + 1)
                                           : std::basic_string<CHAR>();
}

template <class CHAR>
bool GetFullPath(const CHAR* path, CHAR* dest, int destChars) {
    if (!AfxIsValidString(path) || !dest || destChars <= 0) return false;
    dest[0] = 0;
    CHAR full[kMaxPathChars + 2];
    const int len = TextLength(path);
    const bool absolute = IsSlashChar(path[0]) || (IsLetter(path[0]) && path[1] == ':');
    if (absolute) {
        if (len >= kMaxPathChars) return false;
        CopyUnits(full, path, len);
        if (!NormalizePath(full)) return false;
    } else {
        CHAR current[kMaxPathChars];
        if (!GetCurrentDir(current) || !ComposeFileName<CHAR>(current, path, full)) return false;
    }
    const int n = TextLength(full);
    if (n >= destChars) return false;
    CopyUnits(dest, full, n);
    return true;
}

#define QD_INSTANTIATE_PATH_TEXT(CHAR)                                                \
    template bool IsValidFileName<CHAR>(const CHAR*, const CHAR*);                    \
    template bool IsValidPathName<CHAR>(const CHAR*, const CHAR*);                    \
    template bool IsValidAbsPath<CHAR>(const CHAR*);                                  \
    template CHAR* NormalizePath<CHAR>(CHAR*);                                        \
    template int ComparePathRelation<CHAR>(const CHAR*, const CHAR*, int, int);       \
    template bool GetRoot<CHAR>(const CHAR*, CHAR*, bool*, int);                      \
    template bool ComposeFileName<CHAR>(const CHAR*, const CHAR*, CHAR*);             \
    template std::basic_string<CHAR> ComposeFileName<CHAR>(const CHAR*, const CHAR*); \
    template CHAR* AppendPathName<CHAR>(CHAR*, const CHAR*);                          \
    template bool SplitPathName<CHAR>(const CHAR*, const CHAR**, CHAR*, int);         \
    template const CHAR* GetFileNamePart<CHAR>(const CHAR*, int);                     \
    template bool GetDirName<CHAR>(const CHAR*, CHAR*, int);                          \
    template std::basic_string<CHAR> GetDirName<CHAR>(const CHAR*, int);              \
    template bool GetParentDirName<CHAR>(const CHAR*, CHAR*, int);                    \
    template bool GetFileExtPos<CHAR>(const CHAR*, const CHAR**);                     \
    template bool GetFileExt<CHAR>(const CHAR*, CHAR*);                               \
    template std::basic_string<CHAR> GetFileExt<CHAR>(const CHAR*);                   \
    template bool GetFullPath<CHAR>(const CHAR*, CHAR*, int);
QD_FOR_BOTH_UNITS(QD_INSTANTIATE_PATH_TEXT)
