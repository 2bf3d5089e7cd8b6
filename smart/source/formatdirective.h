// One conversion of a printf format, as both of the library's formatters read it:
// flags, width, precision (either may be '*'), a size prefix and the conversion
// character. The size prefixes differ between the two (the wide one takes the
// platform's I64, I32, I and w, the narrow one C's q, Z and L), so each passes its
// own table; the rest of the grammar is C's.
#pragma once

#include <climits>
#include <cstdarg>
#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstring>
#include <type_traits>

enum class FormatSize { kNone, kHH, kH, kL, kLL, kJ, kZ, kT, kLongDouble, kI32, kI64, kI };

struct FormatSpec {
    char flags[6] = {};  // the C flags as given, each once, at most "-+ #0"
    bool left = false;
    bool zero = false;
    bool plus = false;
    bool space = false;
    bool alternate = false;
    int width = -1;
    int precision = -1;
    FormatSize size = FormatSize::kNone;
    char type = 0;
    // Nothing but the conversion character was given ("%d", not "%5d" or "%ld").
    bool IsPlain() const {
        return !flags[0] && width < 0 && precision < 0 && size == FormatSize::kNone;
    }
};

template <class CHAR>
struct FormatSizePrefix {
    const CHAR* text;
    FormatSize size;
};

// The letters that begin a prefix of the table, as bits above '@' (0x40): the
// parser looks the table up only behind such a letter, and no conversion character
// is one, so a conversion without a prefix costs one test instead of the walk.
template <class CHAR, size_t N>
constexpr uint64_t SizePrefixStarts(const FormatSizePrefix<CHAR> (&prefixes)[N]) {
    uint64_t starts = 0;
    for (size_t i = 0; i < N; ++i) starts |= uint64_t(1) << (prefixes[i].text[0] - 0x40);
    return starts;
}

namespace format_spec_detail {

template <class CHAR>
bool IsDigit(CHAR c) {
    return c >= '0' && c <= '9';
}

// Reads digits into `value`; false when they overflow an int.
template <class CHAR>
bool ReadNumber(const CHAR*& p, int* value) {
    int64_t n = 0;
    while (IsDigit(*p)) {
        n = n * 10 + (*p++ - '0');
        if (n > INT_MAX) return false;
    }
    *value = static_cast<int>(n);
    return true;
}

}  // namespace format_spec_detail

// Parses what follows a '%' up to and including the conversion character, taking
// '*' values from `args`. The prefixes are tried in their order, so a longer one
// must stand before its own beginning ("hh" before "h"); `prefixStarts` is
// SizePrefixStarts of them. False when a number
// overflows an int, a '*' width is INT_MIN, or the text ends or leaves ASCII where
// the conversion character should stand.
//   "-08.3f" -> left, zero, width 8, precision 3, 'f'
//   "*d" with -5 -> left, width 5, 'd'
template <class CHAR, size_t N>
bool ParseFormatSpec(const CHAR*& p, va_list& args, const FormatSizePrefix<CHAR> (&prefixes)[N],
                     uint64_t prefixStarts, FormatSpec* c) {
    using format_spec_detail::IsDigit;
    using format_spec_detail::ReadNumber;
    int flagCount = 0;
    for (;; ++p) {
        const CHAR f = *p;
        if (f != '-' && f != '+' && f != ' ' && f != '#' && f != '0') break;
        c->left |= f == '-';
        c->zero |= f == '0';
        c->plus |= f == '+';
        c->space |= f == ' ';
        c->alternate |= f == '#';
        if (flagCount < 5 && !strchr(c->flags, static_cast<char>(f)))
            c->flags[flagCount++] = static_cast<char>(f);
    }
    if (*p == '*') {
        ++p;
        c->width = va_arg(args, int);
        if (c->width < 0) {
            if (c->width == INT_MIN) return false;
            c->left = true;
            c->width = -c->width;
            if (!strchr(c->flags, '-')) c->flags[flagCount++] = '-';
        }
    } else if (IsDigit(*p) && !ReadNumber(p, &c->width)) {
        return false;
    }
    if (*p == '.') {
        ++p;
        if (*p == '*') {
            ++p;
            c->precision = va_arg(args, int);
            if (c->precision < 0) c->precision = -1;
        } else if (!ReadNumber(p, &c->precision)) {
            return false;
        }
    }
    const bool mayBePrefix = *p >= 0x40 && *p < 0x80 && (prefixStarts >> (*p - 0x40)) & 1;
    for (size_t i = 0; mayBePrefix && i < N; ++i) {
        const FormatSizePrefix<CHAR>& prefix = prefixes[i];
        size_t n = 0;
        while (prefix.text[n] && p[n] == prefix.text[n]) ++n;
        if (prefix.text[n] == 0) {
            c->size = prefix.size;
            p += n;
            break;
        }
    }
    if (*p == 0 || *p > 0x7F) return false;
    c->type = static_cast<char>(*p++);
    return true;
}

// An integer argument by its size prefix, in its signed or unsigned form, widened to
// 64 bits. False for a prefix that has no integer meaning (L).
template <bool SIGNED>
bool ReadIntegerArgument(
    const FormatSpec& c, va_list& args,
    typename std::conditional<SIGNED, long long, unsigned long long>::type* v) {
    // va_arg is a macro: no commas in its type.
    typedef typename std::conditional<SIGNED, int, unsigned>::type Int;
    typedef typename std::conditional<SIGNED, long, unsigned long>::type Long;
    typedef typename std::conditional<SIGNED, long long, unsigned long long>::type LongLong;
    typedef typename std::conditional<SIGNED, intmax_t, uintmax_t>::type IntMax;
    typedef typename std::conditional<SIGNED, ptrdiff_t, size_t>::type PtrDiff;
    typedef typename std::conditional<SIGNED, int32_t, uint32_t>::type Int32;
    typedef typename std::conditional<SIGNED, signed char, unsigned char>::type Char;
    typedef typename std::conditional<SIGNED, short, unsigned short>::type Short;
    switch (c.size) {
        case FormatSize::kNone:
            *v = va_arg(args, Int);
            return true;
        case FormatSize::kHH:  // promoted to int on the way
            *v = static_cast<Char>(va_arg(args, Int));
            return true;
        case FormatSize::kH:
            *v = static_cast<Short>(va_arg(args, Int));
            return true;
        case FormatSize::kL:
            *v = va_arg(args, Long);
            return true;
        case FormatSize::kLL:
        case FormatSize::kI64:
            *v = va_arg(args, LongLong);
            return true;
        case FormatSize::kJ:
            *v = va_arg(args, IntMax);
            return true;
        case FormatSize::kZ:
        case FormatSize::kT:
        case FormatSize::kI:
            *v = va_arg(args, PtrDiff);
            return true;
        case FormatSize::kI32:
            *v = va_arg(args, Int32);
            return true;
        default:
            return false;
    }
}

// The conversion as a one-conversion format of the C library, with `size` as its
// prefix: flags, width and precision as given, '*' values written out.
//   flags "-0", width 8, precision 3, size "", type 'e' -> "%-08.3e"
inline void ComposeCFormat(const FormatSpec& c, const char* size, char (&spec)[64]) {
    int n = snprintf(spec, sizeof(spec), "%%%s", c.flags);
    if (c.width >= 0) n += snprintf(spec + n, sizeof(spec) - n, "%d", c.width);
    if (c.precision >= 0) n += snprintf(spec + n, sizeof(spec) - n, ".%d", c.precision);
    snprintf(spec + n, sizeof(spec) - n, "%s%c", size, c.type);
}
