// The small text routines of the string kit: trimming, comparing texts and paths,
// decoding escapes, measuring and bounded copying.
#include <cstring>
#include <type_traits>

#include "numstr.h"
#include "strdk.h"
#include "strdk_internal.h"

namespace {

template <class TCHAR>
bool IsBlankOf(TCHAR c, const TCHAR* blankSet, int setLength) {
    return blankSet ? IsInCharSet(c, blankSet, setLength) : IsBlankLetter(c);
}

// Units are ordered as unsigned values, so bytes of 0x80 and above sort after ASCII.
template <class TCHAR>
int Sign(TCHAR a, TCHAR b) {
    using Unsigned = typename std::make_unsigned<TCHAR>::type;
    const Unsigned ua = static_cast<Unsigned>(a), ub = static_cast<Unsigned>(b);
    return ua < ub ? -1 : (ua > ub ? 1 : 0);
}

// The end of a text for CompareCharsUntil: its length, or the stop unit.
template <class TCHAR>
bool AtStop(const TCHAR* s, int len, int i, TCHAR stopChar) {
    return i >= len || s[i] == stopChar;
}

// The length up to the stop unit or the terminator, whichever comes first.
template <class TCHAR>
int MeasureUntil(const TCHAR* s, TCHAR stopChar) {
    int n = 0;
    while (s[n] && s[n] != stopChar) ++n;
    return n;
}

template <class TCHAR>
int ComparePathComponents(const TCHAR* c1, int len1, const TCHAR* c2, int len2,
                          bool caseSensitive) {
    const int shorter = len1 < len2 ? len1 : len2;
    for (int k = 0; k < shorter; ++k) {
        TCHAR a = c1[k], b = c2[k];
        if (!caseSensitive) {
            a = ToUpperLetter(a);
            b = ToUpperLetter(b);
        }
        if (a != b) return Sign(a, b);
    }
    return len1 < len2 ? -1 : (len1 > len2 ? 1 : 0);
}

template <class TCHAR>
int ComponentEnd(const TCHAR* path, int len, int from) {
    while (from < len && !IsSlashChar(path[from])) ++from;
    return from;
}

// One escape at text[i] (a `\` with at least one unit behind it). Returns the units
// it takes, or 0 when it is no escape of the strict grammar; `value` gets the unit.
//   "\101" -> 4, 'A';  "\x41" -> 4, 'A';  "\n" -> 2, LF;  "\q" -> 0
template <class TCHAR>
int ReadEscape(const TCHAR* text, int len, int i, long& value, bool& tooLong) {
    static const char kPairs[] = "\"\"''??\\\\a\ab\bf\fn\nr\rt\tv\v";
    tooLong = false;
    const TCHAR c = text[i + 1];
    for (int k = 0; kPairs[k]; k += 2) {
        if (c == static_cast<TCHAR>(kPairs[k])) {
            value = kPairs[k + 1];
            return 2;
        }
    }
    if (IsNumLetter(c)) {
        // Each digit is only tested as 0-9, so 8 and 9 count too: "\18" is 16.
        int n = 0;
        value = 0;
        while (n < 3 && i + 1 + n < len && IsNumLetter(text[i + 1 + n]))
            value = value * 8 + (text[i + 1 + n++] - '0');
        tooLong = i + 1 + n < len && IsNumLetter(text[i + 1 + n]);
        return 1 + n;
    }
    if (c == 'x' || c == 'X') {
        int n = 0;
        value = 0;
        while (n < 2 && i + 2 + n < len && IsHexLetter(text[i + 2 + n])) {
            const TCHAR h = text[i + 2 + n++];
            value = value * 16 + (IsNumLetter(h) ? h - '0' : (ToUpperLetter(h) - 'A' + 10));
        }
        tooLong = i + 2 + n < len && IsHexLetter(text[i + 2 + n]);
        return n ? 2 + n : 0;
    }
    return 0;
}

// One pass of UnescapeStr. With `write` it decodes in place; without it it only
// looks for the first strict error. Returns the new length, or -1 with *errorPos set.
template <class TCHAR>
int UnescapePass(TCHAR* text, int len, bool onlyInQuotes, int* errorPos, bool write) {
    int out = 0;
    bool inQuotes = false;
    for (int i = 0; i < len;) {
        const TCHAR c = text[i];
        if (c == '"') inQuotes = !inQuotes;
        const bool escapes = !onlyInQuotes || inQuotes;
        if (c != '\\' || !escapes || i + 1 >= len) {
            if (write) text[out] = c;
            ++out;
            ++i;
            continue;
        }
        long value = 0;
        bool tooLong = false;
        const int units = ReadEscape(text, len, i, value, tooLong);
        if (errorPos && (units == 0 || tooLong)) {
            *errorPos = i;
            return -1;
        }
        if (units == 0) {  // not an escape: both units stay
            if (write) text[out] = c;
            ++out;
            ++i;
            continue;
        }
        if (write) text[out] = static_cast<TCHAR>(value);
        ++out;
        i += units;
    }
    return out;
}

}  // namespace

template <class TCHAR>
int TrimRange(const TCHAR* text, int length, int* offset, const NonDeduced<TCHAR>* blankSet,
              bool rightOnly) {
    if (offset) *offset = 0;
    QDR_CHECK(text);
    if (!text) return 0;
    length = MeasureIfNegative(text, length);
    const int setLength = blankSet ? TextLength(blankSet) : 0;
    int start = 0;
    if (!rightOnly) {
        while (start < length && IsBlankOf(text[start], blankSet, setLength)) ++start;
        if (start == length) return 0;
    }
    int end = length;
    while (end > start && IsBlankOf(text[end - 1], blankSet, setLength)) --end;
    if (offset) *offset = start;
    return end - start;
}

template <class TCHAR>
TCHAR* TrimCopy(TCHAR* dest, const NonDeduced<TCHAR>* source, int length,
                const NonDeduced<TCHAR>* blankSet, bool rightOnly) {
    QDR_CHECK(dest);
    if (!dest) return nullptr;
    if (!source) source = dest;
    int offset = 0;
    const int kept = TrimRange(source, length, &offset, blankSet, rightOnly);
    if (kept > 0) memmove(dest, source + offset, static_cast<size_t>(kept) * sizeof(TCHAR));
    dest[kept] = 0;
    return dest;
}

template <class TCHAR>
int CompareCharsUntil(const TCHAR* s1, const NonDeduced<TCHAR>* s2, NonDeduced<TCHAR> stopChar,
                      int s1_len, int s2_len, int flags) {
    QDR_CHECK(s1 && s2);
    if (!s1 || !s2) return s1 ? 1 : (s2 ? -1 : 0);
    if (s1_len < 0) s1_len = MeasureUntil(s1, stopChar);
    if (s2_len < 0) s2_len = MeasureUntil(s2, stopChar);
    for (int i = 0;; ++i) {
        const bool end1 = AtStop(s1, s1_len, i, stopChar);
        const bool end2 = AtStop(s2, s2_len, i, stopChar);
        if (end1 || end2) return end1 == end2 ? 0 : (end1 ? -1 : 1);
        TCHAR a = s1[i], b = s2[i];
        if (flags & msf_ignore_case) {
            a = ToUpperLetter(a);
            b = ToUpperLetter(b);
        }
        if (flags & msf_slash_equal) {
            if (IsSlashChar(a)) a = '/';
            if (IsSlashChar(b)) b = '/';
        }
        if (a != b) return Sign(a, b);
    }
}

template <class TCHAR>
int ComparePathName(const TCHAR* path1_, const NonDeduced<TCHAR>* path2_, int pathFlags,
                    bool caseSensitive, int path1_len_, int path2_len_) {
    QDR_CHECK(path1_ && path2_);
    if (!path1_ || !path2_) return path1_ ? 1 : (path2_ ? -1 : 0);
    int len1 = MeasureIfNegative(path1_, path1_len_);
    int len2 = MeasureIfNegative(path2_, path2_len_);
    if (pathFlags & cpn_path1_dir)
        while (len1 > 0 && IsSlashChar(path1_[len1 - 1])) --len1;
    if (pathFlags & cpn_path2_dir)
        while (len2 > 0 && IsSlashChar(path2_[len2 - 1])) --len2;

    int i1 = 0, i2 = 0;
    while (i1 < len1 && i2 < len2) {
        const int e1 = ComponentEnd(path1_, len1, i1);
        const int e2 = ComponentEnd(path2_, len2, i2);
        if (pathFlags & cpn_dirs_first) {
            const bool last1 = e1 >= len1, last2 = e2 >= len2;
            const bool dir1 = !last1 || (pathFlags & cpn_path1_dir);
            const bool dir2 = !last2 || (pathFlags & cpn_path2_dir);
            if (dir1 != dir2) return dir1 ? -1 : 1;
            if (last1 != last2) return last1 ? -1 : 1;
        }
        if (pathFlags & cpn_natural_order) {
            const int natural =
                CompareStrNatural(path1_ + i1, path2_ + i2, e1 - i1, e2 - i2, caseSensitive);
            if (natural) return natural;
        }
        const int r =
            ComparePathComponents(path1_ + i1, e1 - i1, path2_ + i2, e2 - i2, caseSensitive);
        if (r) return r;
        i1 = e1 + 1;
        i2 = e2 + 1;
    }
    const int rest1 = len1 > i1 ? len1 - i1 : 0;
    const int rest2 = len2 > i2 ? len2 - i2 : 0;
    return rest1 < rest2 ? -1 : (rest1 > rest2 ? 1 : 0);
}

template <class TCHAR>
TCHAR* UnescapeStr(TCHAR* text, int* length, bool onlyInQuotes, int* errorPos) {
    QDR_CHECK(text);
    if (!text) return nullptr;
    const int len = MeasureIfNegative(text, length ? *length : -1);
    // Strict mode looks for an error first, so that a refused text stays unchanged.
    if (errorPos && UnescapePass(text, len, onlyInQuotes, errorPos, false) < 0) return nullptr;
    const int newLen = UnescapePass(text, len, onlyInQuotes, errorPos, true);
    if (newLen < len) text[newLen] = 0;
    if (length) *length = newLen;
    return text;
}

template <class TCHAR>
void GetTextExtent(const TCHAR* text, int length, int* width, int* lines) {
    if (width) *width = 0;
    if (lines) *lines = 0;
    QDR_CHECK(text);
    if (!text) return;
    length = MeasureIfNegative(text, length);
    int lineCount = 1, widest = 0, current = 0;
    for (int i = 0; i < length; ++i) {
        if (text[i] == '\n') {
            ++lineCount;
            current = 0;
        } else if (text[i] != '\r' && ++current > widest) {
            widest = current;
        }
    }
    if (width) *width = widest;
    if (lines) *lines = lineCount;
}

template <class TCHAR>
TCHAR* CopyBounded(TCHAR* dest, const NonDeduced<TCHAR>* source, int sourceLen, int destLen,
                   bool zeroRest) {
    QDR_CHECK(dest);
    if (!dest) return nullptr;
    if (destLen == 0) {
        QDR_CHECK(false);
        return dest;
    }
    sourceLen = source ? MeasureIfNegative(source, sourceLen) : 0;
    int n = sourceLen;
    if (destLen > 0 && n > destLen - 1) n = destLen - 1;
    if (n > 0) memmove(dest, source, static_cast<size_t>(n) * sizeof(TCHAR));
    dest[n] = 0;
    if (zeroRest && destLen > n + 1)
        memset(dest + n + 1, 0, static_cast<size_t>(destLen - n - 1) * sizeof(TCHAR));
    return dest;
}

#define QD_STRDK_TEXT(TCHAR)                                                                 \
    template int TrimRange<TCHAR>(const TCHAR*, int, int*, const TCHAR*, bool);              \
    template TCHAR* TrimCopy<TCHAR>(TCHAR*, const TCHAR*, int, const TCHAR*, bool);          \
    template int CompareCharsUntil<TCHAR>(const TCHAR*, const TCHAR*, TCHAR, int, int, int); \
    template int ComparePathName<TCHAR>(const TCHAR*, const TCHAR*, int, bool, int, int);    \
    template TCHAR* UnescapeStr<TCHAR>(TCHAR*, int*, bool, int*);                            \
    template void GetTextExtent<TCHAR>(const TCHAR*, int, int*, int*);                       \
    template TCHAR* CopyBounded<TCHAR>(TCHAR*, const TCHAR*, int, int, bool);

QD_STRDK_TEXT(char)
QD_STRDK_TEXT(char16_t)
