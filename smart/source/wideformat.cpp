// The wide formatter: walks the format itself, hands numbers to the C library one
// conversion at a time, and converts narrow arguments from UTF-8.
#include "wideformat.h"

#include <climits>
#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstring>
#include <type_traits>

#include "formatdirective.h"
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

// Windows' wide size prefixes, longest first: "hh" before "h", "I64" before "I".
constexpr FormatSizePrefix<char16_t> kSizePrefixes[] = {
    {u"hh", FormatSize::kHH},   {u"h", FormatSize::kH}, {u"ll", FormatSize::kLL},
    {u"l", FormatSize::kL},     {u"w", FormatSize::kL}, {u"j", FormatSize::kJ},
    {u"z", FormatSize::kZ},     {u"t", FormatSize::kT}, {u"I64", FormatSize::kI64},
    {u"I32", FormatSize::kI32}, {u"I", FormatSize::kI}, {u"L", FormatSize::kLongDouble},
};
constexpr uint64_t kSizePrefixStarts = SizePrefixStarts(kSizePrefixes);

// Pads a piece of `length` units to the width: before it, or after it with '-'.
// Strings and characters pad with '0' under the 0 flag, as Windows does.
template <class PutPiece>
void PutPadded(WideSink& sink, const FormatSpec& c, int64_t length, PutPiece putPiece) {
    const int64_t pad = c.width > length ? c.width - length : 0;
    if (!c.left) sink.Repeat(c.zero ? u'0' : u' ', pad);
    putPiece();
    if (c.left) sink.Repeat(u' ', pad);
}

void PutWideString(WideSink& sink, const FormatSpec& c, const char16_t* text) {
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
bool PutNarrowString(WideSink& sink, const FormatSpec& c, const char* text) {
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

void PutCharacter(WideSink& sink, const FormatSpec& c, char16_t unit) {
    PutPadded(sink, c, 1, [&] { sink.Put(unit); });
}

// One conversion of the C library, widened; its output is ASCII.
template <class VALUE>
bool PutNumber(WideSink& sink, const FormatSpec& c, const char* size, VALUE value) {
    char spec[64];
    ComposeCFormat(c, size, spec);

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

template <bool SIGNED>
bool PutInteger(WideSink& sink, const FormatSpec& c, va_list& args) {
    typename std::conditional<SIGNED, long long, unsigned long long>::type v;
    return ReadIntegerArgument<SIGNED>(c, args, &v) && PutNumber(sink, c, "ll", v);
}

bool PutConversion(WideSink& sink, const FormatSpec& c, va_list& args) {
    const bool narrowForm = c.size == FormatSize::kH || c.size == FormatSize::kHH;
    const bool wideForm = c.size == FormatSize::kL;
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
            if (c.size == FormatSize::kLongDouble)
                return PutNumber(sink, c, "L", va_arg(args, long double));
            return PutNumber(sink, c, "", va_arg(args, double));
        case 'p':
            return PutNumber(sink, c, "", va_arg(args, void*));
        default:
            return false;  // %n among them: Windows refuses it too
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
        FormatSpec c;
        valid = ParseFormatSpec(p, walk, kSizePrefixes, kSizePrefixStarts, &c) &&
                PutConversion(sink, c, walk);
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
