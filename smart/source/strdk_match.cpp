// The pattern matcher: MatchingString and the list forms on top of it.
#include "strdk_match.h"

#include "smartbuf.h"
#include "strdk_internal.h"

namespace {

// How FindPatternSegment places a segment that follows a star.
enum {
    pff_decreased_search = 0,                 // backwards; must end at the text's end
    pff_increased_search = 1,                 // first start from which the segment matches
    pff_increased_search_by_end_matching = 2  // ... and from which it consumes the text
};

// The normalised flags of one match.
struct MatchMode {
    int unitFlags;  // msf_ignore_case and msf_slash_equal, for the literal test
    int sharpFlag;  // 0: `#` is literal, 1: one digit, 2: a run of digits
    bool sharpHex;
    bool dollar;
};

MatchMode MakeMode(bool ignoreCase, bool slashEqual, int sharpFlag, bool sharpHex, bool dollar) {
    return MatchMode{(ignoreCase ? msf_ignore_case : 0) | (slashEqual ? msf_slash_equal : 0),
                     sharpFlag, sharpHex, dollar};
}

template <class TCHAR>
bool IsSharpDigit(TCHAR c, const MatchMode& m) {
    return m.sharpHex ? IsHexLetter(c) : IsNumLetter(c);
}

// Matches the pattern unit `pc` at str[s] (s < strLen), forwards. On a match `s` moves
// behind what was taken, and `recorded` tells whether `rec` holds a wildcard record.
// `nextPc` is the pattern unit behind `pc` (0 at the end), which decides whether an
// identifier leaves its trailing digits to a `#`.
template <class TCHAR>
bool MatchForward(const TCHAR* str, int strLen, int& s, TCHAR pc, TCHAR nextPc, const MatchMode& m,
                  WildcardRange& rec, bool& recorded) {
    recorded = false;
    const TCHAR c = str[s];
    if (pc == '?') {
        rec = {s++, 1};
        recorded = true;
        return true;
    }
    if (pc == '#') {
        const int sharpFlag = m.sharpFlag;
        if (c == '#') {
            rec = {s++, 1};
            recorded = sharpFlag != 0;
            return true;
        }
        if (sharpFlag == 2 || sharpFlag == 1) {
            if (!IsSharpDigit(c, m)) return false;
            int e = s + 1;
            if (sharpFlag == 2)
                while (e < strLen && IsSharpDigit(str[e], m)) ++e;
            rec = {s, e - s};
            recorded = true;
            s = e;
            return true;
        }
        QDR_CHECK(0 == sharpFlag);
        return false;
    }
    if (pc == '$' && m.dollar) {
        if (c == '$') {
            rec = {s++, 1};
            recorded = m.sharpFlag != 0;  // the sharp mode gates this record, not `$`
            return true;
        }
        if (!IsWordStartLetter(c)) return false;
        // "$#" on "abc1": the identifier stops before the digits, which the `#` takes.
        const bool lettersOnly = m.sharpFlag >= 1 && nextPc == '#';
        int e = s + 1;
        while (e < strLen && (lettersOnly ? IsWordStartLetter(str[e]) : IsWordLetter(str[e]))) ++e;
        rec = {s, e - s};
        recorded = true;
        s = e;
        return true;
    }
    if (!IsSameUnit(c, pc, m.unitFlags)) return false;
    ++s;
    return true;
}

// Matches `pc` ending at str[s] (s >= 0), backwards; `s` moves before what was taken.
template <class TCHAR>
bool MatchBackward(const TCHAR* str, int& s, TCHAR pc, const MatchMode& m) {
    const TCHAR c = str[s];
    if (pc == '?') {
        --s;
        return true;
    }
    if (pc == '#') {
        if (c == '#') {
            --s;
            return true;
        }
        if (m.sharpFlag == 0 || !IsSharpDigit(c, m)) return false;
        --s;
        if (m.sharpFlag == 2)
            while (s >= 0 && IsSharpDigit(str[s], m)) --s;
        return true;
    }
    if (pc == '$' && m.dollar) {
        if (c == '$') {
            --s;
            return true;
        }
        if (!IsWordLetter(c)) return false;
        // The identifier starts at the leftmost letter or `_` of the run, so digits at
        // the run's front stay outside: "*$" on "12ab" places it at 2.
        int runStart = s;
        while (runStart > 0 && IsWordLetter(str[runStart - 1])) --runStart;
        while (runStart <= s && IsNumLetter(str[runStart])) ++runStart;
        if (runStart > s) return false;
        s = runStart - 1;
        return true;
    }
    if (!IsSameUnit(c, pc, m.unitFlags)) return false;
    --s;
    return true;
}

// Where the star-free segment patterns[0, patLen) is placed in str[0, strLen): the
// index of its start, or -1.
template <class TCHAR>
int FindPatternSegment(int pff, const TCHAR* str, const TCHAR* patterns, int strLen, int patLen,
                       bool ignoreCase, bool slashEqual, int sharpFlag, bool sharpHex,
                       bool dollar) {
    QDR_CHECK(str && patterns);
    QDR_CHECK(strLen >= 0);
    QDR_CHECK(patLen > 0);
    if (!str || !patterns || strLen < 0 || patLen <= 0) return -1;
    for (int k = 0; k < patLen; ++k) {
        const TCHAR patternChar = patterns[k];
        QDR_CHECK('*' != patternChar);
        if ('*' == patternChar) return -1;
    }
    const MatchMode m = MakeMode(ignoreCase, slashEqual, sharpFlag, sharpHex, dollar);

    if (pff == pff_decreased_search) {
        int idxS = strLen - 1, idxP = patLen - 1;
        while (idxS >= 0 && idxP >= 0 && MatchBackward(str, idxS, patterns[idxP], m)) --idxP;
        return idxP >= 0 ? -1 : idxS + 1;
    }
    QDR_CHECK(pff_increased_search == pff || pff_increased_search_by_end_matching == pff);
    if (!(pff_increased_search == pff || pff_increased_search_by_end_matching == pff)) return -1;

    for (int start = 0; start < strLen; ++start) {
        int idxStrSub = start, p = 0;
        WildcardRange unused;
        bool recorded;
        while (idxStrSub < strLen && p < patLen) {
            const TCHAR nextPc = p + 1 < patLen ? patterns[p + 1] : 0;
            if (!MatchForward(str, strLen, idxStrSub, patterns[p], nextPc, m, unused, recorded))
                break;
            ++p;
        }
        QDR_CHECK(idxStrSub <= strLen);
        if (pff == pff_increased_search_by_end_matching && idxStrSub < strLen) continue;
        if (p == patLen) return start;
    }
    return -1;
}

// Writes the wildcard records when the caller wants them.
class RangeRecorder {
public:
    // Counts on from the caller's output, which the entry has zeroed.
    RangeRecorder(WildcardRange* ranges, int* count)
        : ranges_(ranges), count_(count), idxWildcard(count ? *count : 0) {
        QDR_CHECK(0 == idxWildcard);
    }
    void Add(int offset, int length) {
        if (!ranges_) return;
        ranges_[idxWildcard++] = WildcardRange{offset, length};
        if (count_) *count_ = idxWildcard;
    }

private:
    WildcardRange* ranges_;
    int* count_;
    int idxWildcard;
};

template <class TCHAR>
bool HoldsPair(const TCHAR* text, int len, TCHAR first, TCHAR second) {
    for (int k = 0; k + 1 < len; ++k)
        if (text[k] == first && text[k + 1] == second) return true;
    return false;
}

// The main loop of MatchingString, behind its entry steps.
template <class TCHAR>
bool MatchWhole(const TCHAR* str, int strLen, const TCHAR* patterns, int patLen, const MatchMode& m,
                bool endMatch, RangeRecorder& rec) {
    int idxStr = 0, idxPattern = 0;
    for (;;) {
        QDR_CHECK(idxStr <= strLen);
        if (idxPattern >= patLen) return idxStr >= strLen;
        if (patterns[idxPattern] == '*') {
            int next = idxPattern + 1;
            while (next < patLen && patterns[next] == '*') ++next;
            int target = strLen;
            if (next < patLen) {
                int segEnd = next + 1;
                while (segEnd < patLen && patterns[segEnd] != '*') ++segEnd;
                const int pff = segEnd < patLen ? pff_increased_search
                                : endMatch      ? pff_increased_search_by_end_matching
                                                : pff_decreased_search;
                const int found = FindPatternSegment(
                    pff, str + idxStr, patterns + next, strLen - idxStr, segEnd - next,
                    (m.unitFlags & msf_ignore_case) != 0, (m.unitFlags & msf_slash_equal) != 0,
                    m.sharpFlag, m.sharpHex, m.dollar);
                if (found < 0) return false;
                target = idxStr + found;
            }
            // The first star takes the stretch, the others of its run an empty one;
            // the segment itself is walked again below, for its own records.
            rec.Add(idxStr, target - idxStr);
            for (int k = idxPattern + 1; k < next; ++k) rec.Add(target, 0);
            idxStr = target;
            idxPattern = next;
            continue;
        }
        if (idxStr == strLen) return false;
        WildcardRange one;
        bool recorded;
        if (!MatchForward(str, strLen, idxStr, patterns[idxPattern], patterns[idxPattern + 1], m,
                          one, recorded))
            return false;
        if (recorded) rec.Add(one.offset, one.length);
        ++idxPattern;
    }
}

// "*." and "**.": no extension.
template <class TCHAR>
bool IsNoExtensionSpelling(const TCHAR* pattern, int len) {
    if (len < 2 || pattern[len - 1] != '.') return false;
    for (int k = 0; k < len - 1; ++k)
        if (pattern[k] != '*') return false;
    return true;
}

// "*.*", "**.*", "*.***": everything.
template <class TCHAR>
bool IsEverythingSpelling(const TCHAR* pattern, int len) {
    int dot = -1;
    for (int k = 0; k < len; ++k) {
        if (pattern[k] == '.' && dot < 0)
            dot = k;
        else if (pattern[k] != '*')
            return false;
    }
    return dot > 0 && dot < len - 1;
}

template <class TCHAR>
bool IsListSeparator(TCHAR c) {
    return c == ',' || c == ';' || c == '|';
}

// The list walk of MatchingMultiPatterns and MatchingFileNames.
template <class TCHAR>
bool MatchList(bool isFileName, const TCHAR* str, const TCHAR* patterns, int allMustMatch,
               int flags, int strLen) {
    if (!patterns || !patterns[0]) return strLen == 0 || !str || !str[0];
    QDR_CHECK(strLen >= -1);
    if (strLen < -1) return false;
    strLen = MeasureIfNegative(str, strLen);

    const int patLen = TextLength(patterns);
    SmartBuf<TCHAR, 4096> tokens(patLen + 1);
    if (!tokens.Get()) {
        QDR_CHECK(false);
        return false;
    }
    if (isFileName) flags |= msf_ignore_case | msf_slash_equal;
    flags = (flags & ~msf_reverse) | msf_wildcards;

    // Each separator becomes the terminator of the token before it.
    TCHAR* list = tokens.Get();
    for (int k = 0; k < patLen; ++k) list[k] = IsListSeparator(patterns[k]) ? 0 : patterns[k];
    list[patLen] = 0;
    for (int start = 0; start <= patLen;) {
        const TCHAR* token = list + start;
        const int tokenLen = TextLength(token);
        start += tokenLen + 1;
        if (!allMustMatch) {
            if (tokenLen > 0 && MatchingFileName(isFileName, flags, str, strLen, token, tokenLen))
                return true;
        } else if (!MatchingFileName(isFileName, flags, str, strLen, token, tokenLen)) {
            return false;
        }
    }
    return allMustMatch != 0;
}

}  // namespace

template <class TCHAR>
bool MatchingString(const TCHAR* str, const NonDeduced<TCHAR>* patterns, int flags, int strLen,
                    WildcardRange* ranges, int* idxWildcard) {
    if (idxWildcard) *idxWildcard = 0;
    if (!patterns) return !str;
    if (!str) {
        QDR_CHECK(false);
        return false;
    }
    strLen = MeasureIfNegative(str, strLen);
    if (!patterns[0]) return strLen == 0;

    flags = (flags | msf_wildcards) & ~msf_reverse;
    if (flags & msf_sharp_literal) flags &= ~(msf_sharp_digit_run | msf_sharp_hex);
    const int sharpFlag = (flags & msf_sharp_digit_run) ? 2 : (flags & msf_sharp_literal) ? 0 : 1;
    const bool dollar = (flags & msf_dollar_identifier) != 0;
    const int patLen = TextLength(patterns);
    // The variable-length forms cannot tell where one of two adjacent runs ends.
    if (sharpFlag == 2 && HoldsPair<TCHAR>(patterns, patLen, '#', '#')) return false;
    if (dollar && HoldsPair<TCHAR>(patterns, patLen, '$', '$')) return false;
    const bool endMatch = sharpFlag >= 1 && dollar && HoldsPair<TCHAR>(patterns, patLen, '#', '$');

    const MatchMode m = MakeMode((flags & msf_ignore_case) != 0, (flags & msf_slash_equal) != 0,
                                 sharpFlag, (flags & msf_sharp_hex) != 0, dollar);
    RangeRecorder rec(ranges, idxWildcard);
    return MatchWhole(str, strLen, patterns, patLen, m, endMatch, rec);
}

template <class TCHAR>
bool MatchingMultiPatterns(const TCHAR* str, const NonDeduced<TCHAR>* patterns, int allMustMatch,
                           int flags, int strLen) {
    return MatchList(false, str, patterns, allMustMatch, flags, strLen);
}

template <class TCHAR>
bool MatchingFileNames(const TCHAR* str, const NonDeduced<TCHAR>* patterns, int allMustMatch,
                       int flags, int strLen) {
    return MatchList(true, str, patterns, allMustMatch, flags, strLen);
}

template <class TCHAR>
bool MatchingFileName(bool isFileName, int flags, const TCHAR* str, int strLen,
                      const NonDeduced<TCHAR>* pattern, int patternLen) {
    if (!isFileName || !pattern || !str) return MatchingString(str, pattern, flags, strLen);
    patternLen = MeasureIfNegative(pattern, patternLen);
    if (IsNoExtensionSpelling(pattern, patternLen)) {
        strLen = MeasureIfNegative(str, strLen);
        if (strLen == 0) return false;
        int nameStart = strLen;
        while (nameStart > 0 && !IsSlashChar(str[nameStart - 1])) --nameStart;
        return !FindChar(str + nameStart, '.', strLen - nameStart);
    }
    if (IsEverythingSpelling(pattern, patternLen)) return true;
    return MatchingString(str, pattern, flags, strLen);
}

bool IsJavaLauncher(const char* programPath) {
    QDR_CHECK(programPath);
    if (!programPath) return false;
    const char* slash = FindLastAnyCharOfStr(programPath, "\\/");
    const char* name = slash ? slash + 1 : programPath;
    return MatchingFileNames(name, "java.exe;javaw.exe;javaws.exe;java;javaws;");
}

#define QD_STRDK_MATCH(TCHAR)                                                                 \
    template bool MatchingString<TCHAR>(const TCHAR*, const TCHAR*, int, int, WildcardRange*, \
                                        int*);                                                \
    template bool MatchingMultiPatterns<TCHAR>(const TCHAR*, const TCHAR*, int, int, int);    \
    template bool MatchingFileNames<TCHAR>(const TCHAR*, const TCHAR*, int, int, int);        \
    template bool MatchingFileName<TCHAR>(bool, int, const TCHAR*, int, const TCHAR*, int);

QD_STRDK_MATCH(char)
QD_STRDK_MATCH(char16_t)
