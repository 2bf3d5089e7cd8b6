// The wide formatter: walks the format itself, hands numbers to the C library one
// conversion at a time, and converts narrow arguments from UTF-8.
#include "wideformat.h"

#include <climits>
#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstring>
#include <type_traits>

#include "qdr/platform/os.h"
#include "smartbuf.h"

namespace {

// Counts every unit and stores those that fit before the terminator's place, so one
// walk both measures and writes.
class WideSink {
public:
    WideSink(char16_t* out, int capacity) : out_(capacity > 0 ? out : nullptr), cap_(capacity) {}

    void Put(char16_t unit) {
        if (out_ && length_ < cap_ - 1) out_[length_] = unit;
        ++length_;
    }
    void Repeat(char16_t unit, int64_t count) {
        for (int64_t i = 0; i < count; ++i) Put(unit);
    }

    // The terminator, and the result: the length, or -1 when it did not fit.
    int Finish() {
        if (out_) out_[length_ < cap_ ? length_ : cap_ - 1] = 0;
        if (length_ > INT_MAX || (out_ && length_ >= cap_)) return -1;
        return static_cast<int>(length_);
    }

private:
    char16_t* out_;
    int64_t cap_;
    int64_t length_ = 0;
};

enum class Size { kNone, kHH, kH, kL, kLL, kJ, kZ, kT, kLongDouble, kI32, kI64, kI };

struct Conversion {
    char flags[6] = {};  // the C flags as given, at most "-+ #0"
    bool left = false;
    bool zero = false;
    int width = -1;
    int precision = -1;
    Size size = Size::kNone;
    char type = 0;
};

bool IsDigit(char16_t c) {
    return c >= u'0' && c <= u'9';
}

// Reads digits into `value`; false when they overflow an int.
bool ReadNumber(const char16_t*& p, int* value) {
    int64_t n = 0;
    while (IsDigit(*p)) {
        n = n * 10 + (*p++ - u'0');
        if (n > INT_MAX) return false;
    }
    *value = static_cast<int>(n);
    return true;
}

// The size prefixes, longest first: "hh" before "h", "I64" before "I".
struct SizePrefix {
    const char16_t* text;
    Size size;
};
const SizePrefix kSizePrefixes[] = {
    {u"hh", Size::kHH},   {u"h", Size::kH},     {u"ll", Size::kLL}, {u"l", Size::kL},
    {u"w", Size::kL},     {u"j", Size::kJ},     {u"z", Size::kZ},   {u"t", Size::kT},
    {u"I64", Size::kI64}, {u"I32", Size::kI32}, {u"I", Size::kI},   {u"L", Size::kLongDouble},
};

void ReadSize(const char16_t*& p, Size* size) {
    for (const SizePrefix& prefix : kSizePrefixes) {
        size_t n = 0;
        while (prefix.text[n] && p[n] == prefix.text[n]) ++n;
        if (prefix.text[n] == 0) {
            *size = prefix.size;
            p += n;
            return;
        }
    }
}

// Parses what follows a '%' up to and including the conversion character.
bool ParseConversion(const char16_t*& p, va_list& args, Conversion* c) {
    int flagCount = 0;
    for (;; ++p) {
        const char16_t f = *p;
        if (f != u'-' && f != u'+' && f != u' ' && f != u'#' && f != u'0') break;
        if (f == u'-') c->left = true;
        if (f == u'0') c->zero = true;
        if (flagCount < 5 && !strchr(c->flags, static_cast<char>(f)))
            c->flags[flagCount++] = static_cast<char>(f);
    }
    if (*p == u'*') {
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
    if (*p == u'.') {
        ++p;
        if (*p == u'*') {
            ++p;
            c->precision = va_arg(args, int);
            if (c->precision < 0) c->precision = -1;
        } else if (!ReadNumber(p, &c->precision)) {
            return false;
        }
    }
    ReadSize(p, &c->size);
    if (*p == 0 || *p > 0x7F) return false;
    c->type = static_cast<char>(*p++);
    return true;
}

// Pads a piece of `length` units to the width: before it, or after it with '-'.
// Strings and characters pad with '0' under the 0 flag, as the platform does.
template <class PutPiece>
void PutPadded(WideSink& sink, const Conversion& c, int64_t length, PutPiece putPiece) {
    const int64_t pad = c.width > length ? c.width - length : 0;
    if (!c.left) sink.Repeat(c.zero ? u'0' : u' ', pad);
    putPiece();
    if (c.left) sink.Repeat(u' ', pad);
}

void PutWideString(WideSink& sink, const Conversion& c, const char16_t* text) {
    if (!text) text = u"(null)";
    int64_t length = 0;
    while ((c.precision < 0 || length < c.precision) && text[length]) ++length;
    PutPadded(sink, c, length, [&] {
        for (int64_t i = 0; i < length; ++i) sink.Put(text[i]);
    });
}

// Bytes of `text` that a precision lets through, without a cut UTF-8 character:
//   "a中" (61 E4 B8 AD), precision 3 -> 1;  precision 4 -> 4
int64_t NarrowReadLength(const char* text, int precision) {
    int64_t length = 0;
    while ((precision < 0 || length < precision) && text[length]) ++length;
    if (precision < 0 || length < precision) return length;
    // The limit was reached, and nothing behind it may be read: step back over a
    // last character whose lead byte asks for more bytes than were read.
    int64_t lead = length;
    while (lead > 0 && (static_cast<unsigned char>(text[lead - 1]) & 0xC0) == 0x80) --lead;
    if (lead == 0) return length;
    const unsigned char b = static_cast<unsigned char>(text[lead - 1]);
    const int64_t need = b >= 0xF0 ? 4 : b >= 0xE0 ? 3 : b >= 0xC0 ? 2 : 1;
    return length - (lead - 1) < need ? lead - 1 : length;
}

// False when the text cannot be converted: longer than an int, or no room for it.
bool PutNarrowString(WideSink& sink, const Conversion& c, const char* text) {
    if (!text) text = "(null)";
    const int64_t bytes = NarrowReadLength(text, c.precision);
    if (bytes > INT_MAX) return false;
    const int units = os::Utf8ToUtf16(text, static_cast<int>(bytes), nullptr, 0);
    SmartBuf<char16_t, 256> wide(units);
    if (units > 0 && !wide.Get()) return false;
    if (units > 0) os::Utf8ToUtf16(text, static_cast<int>(bytes), wide.Get(), units);
    PutPadded(sink, c, units, [&] {
        for (int i = 0; i < units; ++i) sink.Put(wide.Get()[i]);
    });
    return true;
}

void PutCharacter(WideSink& sink, const Conversion& c, char16_t unit) {
    PutPadded(sink, c, 1, [&] { sink.Put(unit); });
}

// One conversion of the C library, widened; its output is ASCII.
template <class VALUE>
bool PutNumber(WideSink& sink, const Conversion& c, const char* size, VALUE value) {
    char spec[64];
    int n = snprintf(spec, sizeof(spec), "%%%s", c.flags);
    if (c.width >= 0) n += snprintf(spec + n, sizeof(spec) - n, "%d", c.width);
    if (c.precision >= 0) n += snprintf(spec + n, sizeof(spec) - n, ".%d", c.precision);
    snprintf(spec + n, sizeof(spec) - n, "%s%c", size, c.type);

    char room[512];
    int length = snprintf(room, sizeof(room), spec, value);
    if (length < 0) return false;
    SmartBuf<char, 0> text(length < static_cast<int>(sizeof(room)) ? 0 : length + 1);
    const char* digits = room;
    if (length >= static_cast<int>(sizeof(room))) {
        if (!text.Get()) return false;
        snprintf(text.Get(), static_cast<size_t>(length) + 1, spec, value);
        digits = text.Get();
    }
    for (int i = 0; i < length; ++i) sink.Put(static_cast<unsigned char>(digits[i]));
    return true;
}

// An integer argument by its size prefix, in its signed or unsigned form.
template <bool SIGNED, class T>
using IntOf = typename std::conditional<SIGNED, T, typename std::make_unsigned<T>::type>::type;

template <bool SIGNED>
bool PutInteger(WideSink& sink, const Conversion& c, va_list& args) {
    typedef IntOf<SIGNED, int> Int;  // va_arg is a macro: no commas in its type
    typedef IntOf<SIGNED, long> Long;
    typedef IntOf<SIGNED, long long> LongLong;
    typedef IntOf<SIGNED, intmax_t> IntMax;
    typedef IntOf<SIGNED, ptrdiff_t> PtrDiff;
    typedef IntOf<SIGNED, int32_t> Int32;
    LongLong v;
    switch (c.size) {
        case Size::kNone:
            v = va_arg(args, Int);
            break;
        case Size::kHH:  // promoted to int on the way
            v = static_cast<IntOf<SIGNED, signed char>>(va_arg(args, Int));
            break;
        case Size::kH:
            v = static_cast<IntOf<SIGNED, short>>(va_arg(args, Int));
            break;
        case Size::kL:
            v = va_arg(args, Long);
            break;
        case Size::kLL:
        case Size::kI64:
            v = va_arg(args, LongLong);
            break;
        case Size::kJ:
            v = va_arg(args, IntMax);
            break;
        case Size::kZ:
        case Size::kT:
        case Size::kI:
            v = va_arg(args, PtrDiff);
            break;
        case Size::kI32:
            v = va_arg(args, Int32);
            break;
        default:
            return false;  // L and the like have no integer meaning
    }
    return PutNumber(sink, c, "ll", v);
}

bool PutConversion(WideSink& sink, const Conversion& c, va_list& args) {
    const bool narrowForm = c.size == Size::kH || c.size == Size::kHH;
    const bool wideForm = c.size == Size::kL;
    switch (c.type) {
        case '%':
            sink.Put(u'%');
            return true;
        case 'c':
        case 'C': {
            const int raw = va_arg(args, int);
            if ((c.type == 'c' && !narrowForm) || (c.type == 'C' && wideForm)) {
                PutCharacter(sink, c, static_cast<char16_t>(raw));
            } else {
                const unsigned char byte = static_cast<unsigned char>(raw);
                PutCharacter(sink, c, byte < 0x80 ? char16_t(byte) : char16_t(0xFFFD));
            }
            return true;
        }
        case 's':
        case 'S':
            if ((c.type == 's' && !narrowForm) || (c.type == 'S' && wideForm)) {
                PutWideString(sink, c, va_arg(args, const char16_t*));
                return true;
            }
            return PutNarrowString(sink, c, va_arg(args, const char*));
        case 'd':
        case 'i':
            return PutInteger<true>(sink, c, args);
        case 'u':
        case 'o':
        case 'x':
        case 'X':
            return PutInteger<false>(sink, c, args);
        case 'e':
        case 'E':
        case 'f':
        case 'F':
        case 'g':
        case 'G':
        case 'a':
        case 'A':
            if (c.size == Size::kLongDouble)
                return PutNumber(sink, c, "L", va_arg(args, long double));
            return PutNumber(sink, c, "", va_arg(args, double));
        case 'p':
            return PutNumber(sink, c, "", va_arg(args, void*));
        default:
            return false;  // %n among them: the platform refuses it too
    }
}

}  // namespace

int FormatWideV(char16_t* out, int capacity, const char16_t* fmt, va_list args) {
    WideSink sink(out, capacity);
    if (!fmt) {
        sink.Finish();
        return -1;
    }
    va_list walk;
    va_copy(walk, args);
    bool valid = true;
    for (const char16_t* p = fmt; *p && valid;) {
        if (*p != u'%') {
            sink.Put(*p++);
            continue;
        }
        ++p;
        Conversion c;
        valid = ParseConversion(p, walk, &c) && PutConversion(sink, c, walk);
    }
    va_end(walk);
    const int result = sink.Finish();
    return valid ? result : -1;
}

int FormatWide(char16_t* out, int capacity, const char16_t* fmt, ...) {
    va_list args;
    va_start(args, fmt);
    const int result = FormatWideV(out, capacity, fmt, args);
    va_end(args);
    return result;
}
