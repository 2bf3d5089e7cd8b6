// The narrow formatter: the common conversions written here, the rare ones handed
// to the C library, which stays the reference for every byte.
#include "narrowformat.h"

#include <cfenv>
#include <climits>
#include <cmath>
#include <cstdint>
#include <cstdio>
#include <cstring>

#include "formatdirective.h"

namespace {

// C's size prefixes, longest first; q and Z are the C library's other names of ll
// and z. L, of long double, is read so that it is known, and left to the C library.
constexpr FormatSizePrefix<char> kSizePrefixes[] = {
    {"hh", FormatSize::kHH},        {"h", FormatSize::kH},   {"ll", FormatSize::kLL},
    {"l", FormatSize::kL},          {"j", FormatSize::kJ},   {"z", FormatSize::kZ},
    {"t", FormatSize::kT},          {"q", FormatSize::kI64}, {"Z", FormatSize::kI},
    {"L", FormatSize::kLongDouble},
};
constexpr uint64_t kSizePrefixStarts = SizePrefixStarts(kSizePrefixes);

// Writes what fits before the terminator's place and counts everything, as
// vsnprintf does.
class NarrowSink {
public:
    NarrowSink(char* out, size_t capacity) : out_(capacity ? out : nullptr), cap_(capacity) {}

    // The first test is the usual case: the piece fits with room to spare (and a
    // capacity of 0, with no output, never passes it).
    void Append(const char* text, size_t n) {
        if (length_ + n < cap_)
            memcpy(out_ + length_, text, n);
        else if (out_ && length_ < cap_ - 1)
            memcpy(out_ + length_, text, cap_ - 1 - length_);
        length_ += n;
    }
    void Fill(char c, size_t n) {
        if (length_ + n < cap_)
            memset(out_ + length_, c, n);
        else if (out_ && length_ < cap_ - 1)
            memset(out_ + length_, c, cap_ - 1 - length_);
        length_ += n;
    }
    // The terminator; the length, or -1 beyond INT_MAX (left to the C library).
    int64_t Finish() {
        if (out_) out_[length_ < cap_ ? length_ : cap_ - 1] = 0;
        return length_ > INT_MAX ? -1 : static_cast<int64_t>(length_);
    }

private:
    char* out_;
    size_t cap_;
    size_t length_ = 0;
};

const char kDigitPairs[] =
    "00010203040506070809101112131415161718192021222324252627282930313233343536373839"
    "40414243444546474849505152535455565758596061626364656667686970717273747576777879"
    "8081828384858687888990919293949596979899";

// The digits of `v` written backwards ending at `end`; returns where they start.
char* DecimalDigits(uint64_t v, char* end) {
    while (v >= 100) {
        const unsigned pair = static_cast<unsigned>(v % 100) * 2;
        v /= 100;
        *--end = kDigitPairs[pair + 1];
        *--end = kDigitPairs[pair];
    }
    if (v >= 10) {
        *--end = kDigitPairs[v * 2 + 1];
        *--end = kDigitPairs[v * 2];
    } else {
        *--end = static_cast<char>('0' + v);
    }
    return end;
}

char* DigitsInBase(uint64_t v, char type, char* end) {
    if (type == 'o') {
        do *--end = static_cast<char>('0' + (v & 7));
        while (v >>= 3);
        return end;
    }
    const char* hex = type == 'X' ? "0123456789ABCDEF" : "0123456789abcdef";
    do *--end = hex[v & 15];
    while (v >>= 4);
    return end;
}

// A number's pieces laid out by C's rules: spaces, prefix (sign, "0x"), zeros,
// digits, spaces. The 0 flag turns the padding into zeros after the prefix.
void PutNumberPieces(NarrowSink& sink, const FormatSpec& c, const char* prefix, size_t prefixLen,
                     size_t zeros, const char* digits, size_t digitCount, bool zeroPadding) {
    if (c.width < 0 && zeros == 0) {  // the usual case: nothing to pad
        sink.Append(prefix, prefixLen);
        sink.Append(digits, digitCount);
        return;
    }
    const size_t body = prefixLen + zeros + digitCount;
    size_t pad = c.width > 0 && static_cast<size_t>(c.width) > body ? c.width - body : 0;
    if (zeroPadding && !c.left) {
        zeros += pad;
        pad = 0;
    }
    if (!c.left) sink.Fill(' ', pad);
    sink.Append(prefix, prefixLen);
    sink.Fill('0', zeros);
    sink.Append(digits, digitCount);
    if (c.left) sink.Fill(' ', pad);
}

// %d %i %u %o %x %X. A precision of 0 prints no digit for 0; '#' makes octal start
// with 0 and hexadecimal other than 0 with 0x; '+' and ' ' sign only d and i.
//   "%+.0d" 0 -> "+";  "%#.0o" 0 -> "0";  "%#5.3x" 10 -> "0x00a";  "%-05d" 42 -> "42   "
bool PutInteger(NarrowSink& sink, const FormatSpec& c, va_list& args) {
    const bool isSigned = c.type == 'd' || c.type == 'i';
    bool negative = false;
    unsigned long long magnitude;
    if (isSigned) {
        long long v;
        if (!ReadIntegerArgument<true>(c, args, &v)) return false;
        negative = v < 0;
        magnitude = negative ? 0ull - static_cast<unsigned long long>(v) : v;
    } else if (!ReadIntegerArgument<false>(c, args, &magnitude)) {
        return false;
    }
    char room[24];
    char* const end = room + sizeof(room);
    char* digits = end;
    if (magnitude != 0 || c.precision != 0)
        digits = c.type == 'd' || c.type == 'i' || c.type == 'u'
                     ? DecimalDigits(magnitude, end)
                     : DigitsInBase(magnitude, c.type, end);
    const size_t digitCount = static_cast<size_t>(end - digits);
    size_t zeros = c.precision > 0 && static_cast<size_t>(c.precision) > digitCount
                       ? c.precision - digitCount
                       : 0;
    if (c.type == 'o' && c.alternate && zeros == 0 && (digitCount == 0 || *digits != '0'))
        zeros = 1;
    char prefix[2];
    size_t prefixLen = 0;
    if (isSigned && (negative || c.plus || c.space))
        prefix[prefixLen++] = negative ? '-' : c.plus ? '+' : ' ';
    if ((c.type == 'x' || c.type == 'X') && c.alternate && magnitude != 0) {
        prefix[prefixLen++] = '0';
        prefix[prefixLen++] = c.type;
    }
    PutNumberPieces(sink, c, prefix, prefixLen, zeros, digits, digitCount,
                    c.zero && c.precision < 0);
    return true;
}

// Strings and characters pad with spaces, also under the 0 flag, as the C library
// does.
void PutText(NarrowSink& sink, const FormatSpec& c, const char* text, size_t length) {
    const size_t pad = c.width > 0 && static_cast<size_t>(c.width) > length ? c.width - length : 0;
    if (!c.left) sink.Fill(' ', pad);
    sink.Append(text, length);
    if (c.left) sink.Fill(' ', pad);
}

const uint64_t kPowersOf10[] = {1ull,
                                10ull,
                                100ull,
                                1000ull,
                                10000ull,
                                100000ull,
                                1000000ull,
                                10000000ull,
                                100000000ull,
                                1000000000ull,
                                10000000000ull,
                                100000000000ull,
                                1000000000000ull,
                                10000000000000ull,
                                100000000000000ull,
                                1000000000000000ull,
                                10000000000000000ull,
                                100000000000000000ull};
constexpr int kMostFixedDecimals = 17;

// |value| rounded to `decimals` places, as whole and fraction, from the exact
// binary value: value = m * 2^e, so value * 10^d = m * 10^d / 2^-e, whose quotient
// and remainder decide the rounding (ties to even). False for infinities, NaNs and
// values of 2^63 and more, which the C library writes.
//   2.5, 0 -> 2, 0;   0.125, 2 -> 0, 12;   1.0005, 3 -> 1, 0 (1.0005 is 1.000499999...)
bool RoundFixed(double value, int decimals, uint64_t* whole, uint64_t* fraction) {
    uint64_t bits;
    memcpy(&bits, &value, sizeof(bits));
    const int exponentField = static_cast<int>((bits >> 52) & 0x7FF);
    uint64_t m = bits & ((1ull << 52) - 1);
    if (exponentField == 0x7FF) return false;
    int e = -1074;
    if (exponentField != 0) {
        m |= 1ull << 52;
        e = exponentField - 1075;
    }
    const uint64_t scale = kPowersOf10[decimals];
    unsigned __int128 q = 0;
    if (m != 0 && e >= 0) {
        if (e > 10) return false;  // 2^63 and more
        q = static_cast<unsigned __int128>(m << e) * scale;
    } else if (m != 0) {
        const int shift = -e;
        const unsigned __int128 n = static_cast<unsigned __int128>(m) * scale;  // below 2^110
        // Beyond 110 places n is below half a unit of the last decimal: 0.
        if (shift <= 110) {
            q = n >> shift;
            const unsigned __int128 rest = n - (q << shift);
            const unsigned __int128 half = static_cast<unsigned __int128>(1) << (shift - 1);
            if (rest > half || (rest == half && (q & 1))) ++q;
        }
    }
    if (static_cast<uint64_t>(q >> 64) == 0) {  // the usual case: 64-bit division
        *whole = static_cast<uint64_t>(q) / scale;
        *fraction = static_cast<uint64_t>(q) % scale;
    } else {
        *whole = static_cast<uint64_t>(q / scale);
        *fraction = static_cast<uint64_t>(q % scale);
    }
    return true;
}

// One conversion of the C library for an argument already taken; false when its
// text would not fit the room here.
template <class VALUE>
bool PutByCLibrary(NarrowSink& sink, const FormatSpec& c, VALUE value) {
    char spec[64];
    ComposeCFormat(c, "", spec);
    char room[512];
    const int length = snprintf(room, sizeof(room), spec, value);
    if (length < 0 || length >= static_cast<int>(sizeof(room))) return false;
    sink.Append(room, static_cast<size_t>(length));
    return true;
}

// %f %F: sign, whole digits, the point when there are decimals or '#', decimals.
bool PutFixed(NarrowSink& sink, const FormatSpec& c, double value) {
    const int decimals = c.precision < 0 ? 6 : c.precision;
    uint64_t whole, fraction;
    if (decimals > kMostFixedDecimals || fegetround() != FE_TONEAREST ||
        !RoundFixed(value, decimals, &whole, &fraction))
        return PutByCLibrary(sink, c, value);
    char room[48];
    char* const end = room + sizeof(room);
    char* digits = end;
    if (decimals > 0) {
        char* const fractionEnd = end;
        digits = DecimalDigits(fraction, end);
        while (fractionEnd - digits < decimals) *--digits = '0';
    }
    if (decimals > 0 || c.alternate) *--digits = '.';
    digits = DecimalDigits(whole, digits);
    char sign = 0;
    if (std::signbit(value))
        sign = '-';
    else if (c.plus)
        sign = '+';
    else if (c.space)
        sign = ' ';
    PutNumberPieces(sink, c, &sign, sign ? 1 : 0, 0, digits, static_cast<size_t>(end - digits),
                    c.zero);
    return true;
}

// False when the conversion is left to vsnprintf for the whole format.
bool PutConversion(NarrowSink& sink, const FormatSpec& c, va_list& args) {
    switch (c.type) {
        case '%':
            if (!c.IsPlain()) return false;
            sink.Append("%", 1);
            return true;
        case 'd':
        case 'i':
        case 'u':
        case 'o':
        case 'x':
        case 'X':
            return PutInteger(sink, c, args);
        case 'c': {
            if (c.size != FormatSize::kNone) return false;
            const char ch = static_cast<char>(static_cast<unsigned char>(va_arg(args, int)));
            PutText(sink, c, &ch, 1);
            return true;
        }
        case 's': {
            if (c.size != FormatSize::kNone) return false;
            const char* text = va_arg(args, const char*);
            if (!text) return false;
            size_t length;
            if (c.precision < 0) {
                length = strlen(text);
            } else {
                const void* zero = memchr(text, 0, static_cast<size_t>(c.precision));
                length = zero ? static_cast<size_t>(static_cast<const char*>(zero) - text)
                              : static_cast<size_t>(c.precision);
            }
            PutText(sink, c, text, length);
            return true;
        }
        case 'f':
        case 'F':
            if (c.size != FormatSize::kNone && c.size != FormatSize::kL) return false;
            return PutFixed(sink, c, va_arg(args, double));
        case 'e':
        case 'E':
        case 'g':
        case 'G':
        case 'a':
        case 'A':
            if (c.size != FormatSize::kNone && c.size != FormatSize::kL) return false;
            return PutByCLibrary(sink, c, va_arg(args, double));
        case 'p':
            if (c.size != FormatSize::kNone) return false;
            return PutByCLibrary(sink, c, va_arg(args, void*));
        default:
            return false;
    }
}

// The whole format walked here; -2 when something in it is left to vsnprintf.
int64_t FormatHere(char* out, size_t capacity, const char* fmt, va_list& args) {
    NarrowSink sink(out, capacity);
    for (const char* p = fmt; *p;) {
        if (*p != '%') {
            const char* percent = strchr(p, '%');
            const size_t n = percent ? static_cast<size_t>(percent - p) : strlen(p);
            sink.Append(p, n);
            p += n;
            continue;
        }
        ++p;
        FormatSpec c;
        if (!ParseFormatSpec(p, args, kSizePrefixes, kSizePrefixStarts, &c) ||
            !PutConversion(sink, c, args))
            return -2;
    }
    const int64_t length = sink.Finish();
    return length < 0 ? -2 : length;
}

}  // namespace

int FormatNarrowV(char* out, size_t capacity, const char* fmt, va_list args) {
    if (fmt) {
        va_list walk;
        va_copy(walk, args);
        const int64_t length = FormatHere(out, capacity, fmt, walk);
        va_end(walk);
        if (length >= 0) return static_cast<int>(length);
    }
    va_list again;
    va_copy(again, args);
    const int length = vsnprintf(out, capacity, fmt, again);
    va_end(again);
    return length;
}

int FormatNarrow(char* out, size_t capacity, const char* fmt, ...) {
    va_list args;
    va_start(args, fmt);
    const int length = FormatNarrowV(out, capacity, fmt, args);
    va_end(args);
    return length;
}
