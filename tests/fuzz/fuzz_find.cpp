// FindStrIndex with random flags, narrow and wide, against a plain quadratic search.
// Input: a flags byte, the find text up to a zero byte, then the text.
#include <cstdint>
#include <vector>

#include "fuzz_support.h"
#include "strdk.h"

namespace {

bool IsSharp(int c, int flags) {
    return c == '#' || (!(flags & msf_sharp_literal) && IsNumLetter(c));
}

template <class T>
bool UnitMatches(T t, T f, int flags) {
    if (flags & msf_wildcards) {
        if (f == '?') return true;
        if (f == '#') return IsSharp(t, flags);
    }
    return IsSameUnit(t, f, flags);
}

template <class T>
bool StandsAlone(const T* s, int n, int p, int m) {
    if (!IsWordStartLetter(s[p]) && !IsNumLetter(s[p])) return false;
    for (int k = p + 1; k < p + m; ++k)
        if (!IsWordLetter(s[k])) return false;
    return !(p > 0 && IsWordLetter(s[p - 1])) && !(p + m < n && IsWordLetter(s[p + m]));
}

template <class T>
bool MatchesAt(const T* s, int n, const T* f, int m, int p, int flags, bool wholeWord) {
    for (int k = 0; k < m; ++k)
        if (!UnitMatches(s[p + k], f[k], flags)) return false;
    return !wholeWord || StandsAlone(s, n, p, m);
}

template <class T>
int Run(Bytes find, Bytes src, int flags) {
    const ExactText<T> f = CopyText<T>(find, false);
    const ExactText<T> s = CopyText<T>(src, false);
    int line = -1;
    const int idx = FindStrIndex(s.get(), f.get(), s.len, f.len, flags, &line);

    std::vector<int> vec(f.len > 0 ? f.len : 1);
    if (BuildNextTable(vec.data(), f.get(), f.len, flags) != f.len) FuzzFinding("table size");
    if (FindStrIndex(s.get(), f.get(), s.len, f.len, flags, nullptr, vec.data()) != idx)
        FuzzFinding("a given table changes the result");

    const int n = s.len, m = f.len;
    if (n == 0 || m > n) {
        if (idx != -1) FuzzFinding("found in too short a text");
        return idx;
    }
    if (m == 0) {
        if (idx != 0) FuzzFinding("empty find text");
        return idx;
    }
    const bool wholeWord = (flags & msf_whole_word) && StandsAlone(f.get(), m, 0, m);
    if (idx >= 0) {
        if (idx > n - m) FuzzFinding("match outside the text");
        // The wildcard table takes `?` for any unit, so with wildcards a reported
        // match need not match; only its bounds are checked then.
        if (!(flags & msf_wildcards) && !MatchesAt(s.get(), n, f.get(), m, idx, flags, wholeWord))
            FuzzFinding("reported match does not match");
        int lf = 0;
        for (int k = 0; k < idx; ++k) lf += s.get()[k] == '\n';
        if (lf != line) FuzzFinding("line count");
    }
    // Without wildcards the failure table is exact: the first (last) match is found.
    if (!(flags & msf_wildcards)) {
        int expected = -1;
        for (int k = 0; k <= n - m && expected < 0; ++k) {
            const int p = (flags & msf_reverse) ? n - m - k : k;
            if (MatchesAt(s.get(), n, f.get(), m, p, flags, wholeWord)) expected = p;
        }
        if (expected != idx) FuzzFinding("differs from the plain search");
    }
    return idx;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    FuzzInput in(data, size);
    const int flags = in.Byte();
    const Bytes find = in.Piece(), src = in.Piece();
    ExpectNarrowAndWideAgree([&](auto unit) { return Run<decltype(unit)>(find, src, flags); });
    return 0;
}
