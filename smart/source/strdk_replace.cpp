// The in-place replacers of the string kit. They search with the kit's engine and
// move the rest of the text in the caller's buffer; see strdk.h for what the caller
// owes them.
#include <cstring>

#include "strdk.h"
#include "strdk_internal.h"

namespace {

// ReplaceBetween with -1 for its buffer size.
constexpr int kUnlimitedUnits = 0x40000000;

template <class TCHAR>
void MoveUnits(TCHAR* dest, const TCHAR* src, int count) {
    if (count > 0) memmove(dest, src, static_cast<size_t>(count) * sizeof(TCHAR));
}

// Equal under the case rule only, as the head and tail are compared.
template <class TCHAR>
bool SameUnderCase(const TCHAR* a, const TCHAR* b, int count, int flags) {
    for (int k = 0; k < count; ++k)
        if (!IsSameUnit(a[k], b[k], flags & msf_ignore_case)) return false;
    return true;
}

// Puts `newStr` in place of target[at, at + span) of a text of `len` units and
// returns the new length; the rest moves and is terminated anew when the length
// changes. The caller has checked the room.
template <class TCHAR>
int Splice(TCHAR* target, int len, int at, int span, const TCHAR* newStr, int newLen) {
    if (newLen != span) {
        MoveUnits(target + at + newLen, target + at + span, len - at - span);
        len += newLen - span;
        target[len] = 0;
    }
    MoveUnits(target + at, newStr, newLen);
    return len;
}

}  // namespace

template <class TCHAR>
int ReplaceStrPlain(TCHAR* text, const NonDeduced<TCHAR>* findStr,
                    const NonDeduced<TCHAR>* newStr) {
    if (!text || !findStr) return -1;
    const int findLen = TextLength(findStr);
    if (findLen == 0) return 0;
    const int newLen = TextLength(newStr);
    NextTable<TCHAR> vec(findStr, findLen, 0);
    if (!vec.Valid()) return -1;
    int len = TextLength(text);
    int count = 0;
    for (int pos = 0;; ++count) {
        const int idx =
            FindStrIndex(text + pos, findStr, len - pos, findLen, 0, nullptr, vec.Get());
        if (idx < 0) break;
        len = Splice(text, len, pos + idx, findLen, newStr, newLen);
        pos += idx + newLen;
    }
    return count;
}

template <class TCHAR>
int ReplaceStr(TCHAR* target, const NonDeduced<TCHAR>* findStr, const NonDeduced<TCHAR>* newStr,
               int flags, int bufBytes, int targetStrLen, int findLen, int newStrLen) {
    if (flags == 0 && bufBytes < 0 && targetStrLen < 0 && findLen < 0 && newStrLen < 0)
        return ReplaceStrPlain(target, findStr, newStr);
    return ReplaceBetween(target, findStr, findStr, newStr, flags, bufBytes, targetStrLen, findLen,
                          findLen, newStrLen, 0);
}

template <class TCHAR>
int ReplaceBetween(TCHAR* target, const NonDeduced<TCHAR>* repHead,
                   const NonDeduced<TCHAR>* repTail, const NonDeduced<TCHAR>* newStr, int flags,
                   int bufBytes, int targetStrLen, int repHeadLen, int repTailLen, int newStrLen,
                   int removeCount) {
    static const TCHAR kEmpty[1] = {0};
    if (!newStr) {
        newStr = kEmpty;
        newStrLen = 0;
    }
    QDR_CHECK(target);
    if (!target) return -1;
    if (!repHead || !repTail) {
        QDR_CHECK(false);
        return 0;
    }
    repHeadLen = MeasureIfNegative(repHead, repHeadLen);
    repTailLen = repTail == repHead ? repHeadLen : MeasureIfNegative(repTail, repTailLen);
    if (repHeadLen == 0 || repTailLen == 0) {
        QDR_CHECK(false);
        return 0;
    }
    // clang-format off
    QDR_CHECK(-1==bufBytes || bufBytes>0);
    // clang-format on
    QDR_CHECK(removeCount >= 0);
    if (!(-1 == bufBytes || bufBytes > 0) || removeCount < 0) return -1;
    const long long limit =
        bufBytes == -1 ? kUnlimitedUnits : bufBytes / static_cast<long long>(sizeof(TCHAR));
    flags &= ~(msf_wildcards | msf_reverse);
    targetStrLen = MeasureIfNegative(target, targetStrLen);
    newStrLen = MeasureIfNegative(newStr, newStrLen);
    if (targetStrLen == 0) return 0;

    // One search will do when the tail is the head, or begins with it ("ab" ... "abc"
    // looks for "abc" alone).
    bool sameSearch =
        repHeadLen == repTailLen && SameUnderCase(repHead, repTail, repHeadLen, flags);
    if (!sameSearch && repTailLen > repHeadLen &&
        SameUnderCase(repTail, repHead, repHeadLen, flags)) {
        repHead = repTail;
        repHeadLen = repTailLen;
        sameSearch = true;
    }
    NextTable<TCHAR> headVec(repHead, repHeadLen, flags);
    NextTable<TCHAR> tailVec(repTail, sameSearch ? 0 : repTailLen, flags);
    if (!headVec.Valid() || !tailVec.Valid()) return -1;

    int len = targetStrLen;
    int count = 0;
    for (int pos = 0;; ++count) {
        int head = FindStrIndex(target + pos, repHead, len - pos, repHeadLen, flags, nullptr,
                                headVec.Get());
        if (head < 0) break;
        head += pos;
        int span = repHeadLen + removeCount;
        if (!sameSearch) {
            const int tail = FindStrIndex(target + head, repTail, len - head, repTailLen, flags,
                                          nullptr, tailVec.Get());
            if (tail < 0) break;
            span = tail + repTailLen + removeCount;
        }
        if (span > len - head) span = len - head;
        // Only the head's offset is held against the limit, not the moved tail.
        if (head + static_cast<long long>(newStrLen) >= limit) {
            QDR_CHECK(false);
            return -1;
        }
        len = Splice(target, len, head, span, newStr, newStrLen);
        pos = head + newStrLen;
    }
    return count;
}

template <class TCHAR>
int ReplaceChar(TCHAR* target, NonDeduced<TCHAR> repChar, NonDeduced<TCHAR> newChar, int flags,
                int length) {
    QDR_CHECK(target);
    // clang-format off
    QDR_CHECK(0 != repChar);
    // clang-format on
    if (!target || repChar == 0) return 0;
    if (newChar == 0) {
        QDR_CHECK(false);
        return 0;
    }
    if (IsSameUnit(repChar, newChar, flags)) return 0;
    length = MeasureIfNegative(target, length);
    int count = 0;
    for (int i = 0; i < length; ++i) {
        if (IsSameUnit(target[i], repChar, flags)) {
            target[i] = newChar;
            ++count;
        }
    }
    return count;
}

template <class TCHAR>
int ReplaceHead(TCHAR* target, int len, const NonDeduced<TCHAR>* newStr, int targetStrLen,
                int newStrLen) {
    QDR_CHECK(target);
    // clang-format off
    QDR_CHECK(0 <= len);
    // clang-format on
    if (!target || len < 0) return -1;
    targetStrLen = MeasureIfNegative(target, targetStrLen);
    newStrLen = newStr ? MeasureIfNegative(newStr, newStrLen) : 0;
    if (len > targetStrLen) len = targetStrLen;
    const int rLen = targetStrLen - len + newStrLen;
    QDR_CHECK(rLen >= 0);
    return Splice(target, targetStrLen, 0, len, newStr, newStrLen);
}

template <class TCHAR>
int RemoveChars(TCHAR* target, const NonDeduced<TCHAR>* remChars, int targetLen) {
    QDR_CHECK(target && remChars);
    if (!target || !remChars) return 0;
    targetLen = MeasureIfNegative(target, targetLen);
    int removed = 0;
    for (const TCHAR* ch = remChars; *ch; ++ch) {
        const int r = ReplaceStr(target, ch, nullptr, 0, -1, targetLen, 1, 0);
        if (r < 0) break;
        QDR_CHECK(targetLen >= r);
        targetLen -= r;
        removed += r;
    }
    return removed;
}

#define QD_STRDK_REPLACE(TCHAR)                                                                    \
    template int ReplaceStrPlain<TCHAR>(TCHAR*, const TCHAR*, const TCHAR*);                       \
    template int ReplaceStr<TCHAR>(TCHAR*, const TCHAR*, const TCHAR*, int, int, int, int, int);   \
    template int ReplaceBetween<TCHAR>(TCHAR*, const TCHAR*, const TCHAR*, const TCHAR*, int, int, \
                                       int, int, int, int, int);                                   \
    template int ReplaceChar<TCHAR>(TCHAR*, TCHAR, TCHAR, int, int);                               \
    template int ReplaceHead<TCHAR>(TCHAR*, int, const TCHAR*, int, int);                          \
    template int RemoveChars<TCHAR>(TCHAR*, const TCHAR*, int);

QD_STRDK_REPLACE(char)
QD_STRDK_REPLACE(char16_t)
