// Text views that own nothing: PtrStr, a slice of a larger text that need not be
// terminated, and LazyStr, a terminated text whose length is measured only when
// somebody asks. Both cost no allocation and no copy; the text must outlive them.
// Each is one template over the code unit: PtrStr / PtrStrW, LazyStr / LazyStrW
// (narrow UTF-8 in char, wide UTF-16 in char16_t).
//
// Also here, as every text type stands on them: AfxIsValidString, the test of a text
// argument, and the unit helpers TextLength, MeasureIfNegative, CompareText and
// IsSlashChar.
#pragma once

#include <cstdint>
#include <string>
#include <type_traits>

#include "qdr/qdassert.h"

// Whether `s` may be read as a text of `len` units (-1: up to its terminator). The
// platform has no probe of readable memory, so this is the null test.
template <class CHAR>
inline bool AfxIsValidString(const CHAR* s, int32_t len = -1) {
    (void)len;
    return s != nullptr;
}

// The length of a terminated text, 0 for none, cut to the range of the lengths.
template <class CHAR>
inline int32_t TextLength(const CHAR* s) {
    if (!s) return 0;
    const size_t n = std::char_traits<CHAR>::length(s);
    return n > static_cast<size_t>(INT32_MAX) ? INT32_MAX : static_cast<int32_t>(n);
}

// A negative length means "up to the terminator"; a null text is empty.
template <class CHAR>
inline int32_t MeasureIfNegative(const CHAR* s, int32_t len) {
    if (!s) return 0;
    return len < 0 ? TextLength(s) : len;
}

// Either separator of the library's paths.
template <class CHAR>
constexpr bool IsSlashChar(CHAR c) {
    return c == '\\' || c == '/';
}

// strcmp for either unit: units compare as unsigned values.
template <class CHAR>
inline int CompareText(const CHAR* a, const CHAR* b) {
    typedef typename std::make_unsigned<CHAR>::type Unit;
    for (;; ++a, ++b) {
        const Unit x = static_cast<Unit>(*a);
        const Unit y = static_cast<Unit>(*b);
        if (x != y) return x < y ? -1 : 1;
        if (x == 0) return 0;
    }
}

// A slice: p and len. p == 0 with len == 0 is the empty value; a negative len, or a
// positive one with a null p, fails ValidCheck. Out-of-range slices are cut, not
// reported:
//   "hello".Mid(-2, 4) -> "he"
//   "hello".Mid(5)     -> "" at the end (p non-null)
//   "hello".Mid(6)     -> the empty value (p null)
template <class CHAR>
class PtrStrT {
public:
    PtrStrT() : p(nullptr), len(0) {}

    // A negative len measures the text. A null p with a length other than 0 is
    // reported and gives the empty value.
    PtrStrT(const CHAR* s, int32_t n) : p(nullptr), len(0) {
        if (!s && n == 0) return;
        QDR_CHECK(AfxIsValidString(s, n));
        if (!s) return;
        p = s;
        len = n < 0 ? TextLength(s) : n;
    }

    PtrStrT(const PtrStrT& r) : p(r.p), len(r.len) { r.ValidCheck(); }
    PtrStrT& operator=(const PtrStrT& r) {
        r.ValidCheck();
        p = r.p;
        len = r.len;
        return *this;
    }

    bool ValidCheck() const {
        if (len < 0 || (len > 0 && !p)) {
            QDR_CHECK(false);
            return false;
        }
        return true;
    }

    bool IsEmpty() const { return len == 0; }

    // An index outside the slice is reported and reads 0.
    CHAR operator[](int32_t i) const {
        // The report shows this expression as written.
        // clang-format off
        QDR_CHECK(ValidCheck() && 0<=i && i<this->len);
        // clang-format on
        if (!p || i < 0 || i >= len) return 0;
        return p[i];
    }

    PtrStrT Mid(int32_t start) const { return Slice(start, -1, true); }
    PtrStrT Mid(int32_t start, int32_t count) const { return Slice(start, count, false); }
    PtrStrT Left(int32_t count) const { return Slice(0, count, false); }

    // Index of the first `unit` at or after start, or -1 (also for a start outside).
    int32_t Find(CHAR unit, int32_t start = 0) const {
        if (start < 0 || start >= len) return -1;
        for (int32_t i = start; i < len; ++i)
            if (p[i] == unit) return i;
        return -1;
    }

    // Drops the units of the terminated set `blanks` at both ends, by TrimRange of
    // the string toolkit (ptrstr.cpp); a slice of blanks only keeps its start with
    // len 0.
    //   "  a b \t", blanks " \t" -> "a b"
    PtrStrT& Trim(const CHAR* blanks);

    std::basic_string<CHAR> ToString() const {
        return p ? std::basic_string<CHAR>(p, static_cast<size_t>(len)) : std::basic_string<CHAR>();
    }

    const CHAR* p;
    int32_t len;

private:
    // The one routine behind Mid and Left; count -1 with toEnd runs to the end.
    PtrStrT Slice(int32_t start, int32_t count, bool toEnd) const {
        const int64_t end =
            count == -1 && toEnd ? len : static_cast<int64_t>(start) + static_cast<int64_t>(count);
        if (start > len || end < 0 || start > end) return PtrStrT();
        if (start < 0) start = 0;
        PtrStrT r;
        r.p = p + start;
        r.len = static_cast<int32_t>((end > len ? len : end) - start);
        return r;
    }
};

typedef PtrStrT<char> PtrStr;
typedef PtrStrT<char16_t> PtrStrW;

// A terminated text with its length measured on demand; never a null pointer.
//   LazyStr(0, 0)  -> "" (the built-in zero unit)
//   LazyStr(p, -1) -> p, measured at the first Length()
// A null pointer with any other length, and a length below -1, are reported; the
// former gives the empty text, the latter is measured on demand.
template <class CHAR>
class LazyStrT {
public:
    LazyStrT(const CHAR* s, int32_t n) : p_(s), len_(n), zero_(0) {
        QDR_CHECK(n >= -1);
        if (n < -1) len_ = -1;
        if (!s) {
            QDR_CHECK(0 == n);
            p_ = &zero_;
            len_ = 0;
        }
    }
    LazyStrT(const LazyStrT& r) : p_(r.p_ == &r.zero_ ? &zero_ : r.p_), len_(r.len_), zero_(0) {}
    LazyStrT& operator=(const LazyStrT& r) {
        p_ = r.p_ == &r.zero_ ? &zero_ : r.p_;
        len_ = r.len_;
        return *this;
    }

    const CHAR* c_str() const { return p_; }
    int32_t Length() const {
        if (len_ < 0) len_ = TextLength(p_);
        return len_;
    }

private:
    const CHAR* p_;
    mutable int32_t len_;
    CHAR zero_;
};

typedef LazyStrT<char> LazyStr;
typedef LazyStrT<char16_t> LazyStrW;
