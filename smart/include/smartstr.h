// SmartStr: a text made once and read a few times, with 256 units of built-in room,
// so that it allocates only for a text of 256 units or more. It is also the
// converter between the widths: a narrow SmartStr built from wide text holds its
// UTF-8 form, a wide SmartStrW built from narrow text its UTF-16 form (code page 0,
// which is UTF-8 here). Not copyable; it lives in the frame that needs the text.
//
//   SmartStr narrow(u"\u4e2d", -1);  // "\xE4\xB8\xAD", Length() 3, built-in
//   SmartStr s; s.Format("%d", 42);  // "42"
#pragma once

#include <cstdarg>
#include <cstdint>
#include <cstring>
#include <type_traits>

#include "ptrstr.h"
#include "qdr/platform/os.h"
#include "smartbuf.h"
#include "textformat.h"

template <class CHAR>
class SmartStrT {
public:
    typedef
        typename std::conditional<std::is_same<CHAR, char>::value, char16_t, char>::type OtherUnit;
    static constexpr int32_t kRoom = 256;

    SmartStrT() : big_(nullptr), len_(0) { room_[0] = 0; }

    // A copy of a text of the same width; a negative len measures it, a null text
    // or len 0 gives the empty text.
    SmartStrT(const CHAR* text, int32_t len) : big_(nullptr), len_(0) {
        room_[0] = 0;
        if (!text || len == 0) return;
        if (len < 0) len = TextLength(text);
        len_ = len;
        CHAR* out = Reserve(len_);
        memcpy(out, text, static_cast<size_t>(len_) * sizeof(CHAR));
        out[len_] = 0;
    }

    // The other width, converted; a negative len measures it, a null text or len 0
    // gives the empty text.
    SmartStrT(const OtherUnit* text, int32_t len) : big_(nullptr), len_(0) {
        room_[0] = 0;
        if (!text || len == 0) return;
        if (len < 0) len = TextLength(text);
        Convert(text, len);
    }

    ~SmartStrT() {
        delete[] big_;
        FillDestroyed(room_, sizeof(room_));
        FillDestroyed(&big_, sizeof(big_));
        FillDestroyed(&len_, sizeof(len_));
    }

    SmartStrT(const SmartStrT&) = delete;
    SmartStrT& operator=(const SmartStrT&) = delete;

    const CHAR* c_str() const { return big_ ? big_ : room_; }
    int32_t Length() const {
        if (len_ < 0) len_ = TextLength(c_str());
        return len_;
    }
    bool IsBuiltIn() const { return big_ == nullptr; }

    SmartStrT& Format(const CHAR* fmt, ...) {
        va_list args;
        va_start(args, fmt);
        FormatV(fmt, args);
        va_end(args);
        return *this;
    }

    // A result that fits the built-in room after all is moved there. A null format,
    // or one that cannot be produced, is reported and gives the empty text.
    SmartStrT& FormatV(const CHAR* fmt, va_list args) {
        QDR_CHECK(AfxIsValidString(fmt));
        Reset();
        if (!fmt) return *this;
        va_list counting;
        va_copy(counting, args);
        const int n = TextFormat<CHAR>::Count(fmt, counting);
        va_end(counting);
        QDR_CHECK(n >= 0);
        if (n < 0) return *this;
        if (n + 1 <= kRoom) {
            len_ = TextFormat<CHAR>::Print(room_, kRoom, fmt, args);
        } else {
            big_ = new CHAR[static_cast<size_t>(n) + 1];
            len_ = TextFormat<CHAR>::Print(big_, static_cast<size_t>(n) + 1, fmt, args);
            if (len_ >= 0 && len_ + 1 <= kRoom) {
                memcpy(room_, big_, (static_cast<size_t>(len_) + 1) * sizeof(CHAR));
                delete[] big_;
                big_ = nullptr;
            }
        }
        if (len_ < 0) Reset();
        return *this;
    }

private:
    void Reset() {
        delete[] big_;
        big_ = nullptr;
        len_ = 0;
        room_[0] = 0;
    }

    // Room for len units and the terminator: built-in below 256 units.
    CHAR* Reserve(int32_t len) {
        if (len + 1 >= kRoom + 1) big_ = new CHAR[static_cast<size_t>(len) + 1];
        return big_ ? big_ : room_;
    }

    // Wide to narrow. The expected length is the exact UTF-8 length (a surrogate
    // pair counts 4), so the conversion has to agree with it.
    void Convert(const char16_t* text, int32_t len) {
        len_ = os::Utf16ToUtf8(text, len, nullptr, 0);
        char* out = Reserve(len_);
        const int tl = os::Utf16ToUtf8(text, len, out, len_);
        // The report shows this expression as written.
        QDR_CHECK(len_ == tl);
        out[len_] = 0;
    }

    // Narrow to wide. The estimate takes a byte with its high bit set and the byte
    // behind it as one unit, which UTF-8 often contradicts; then the text is
    // converted again into scratch sized by the byte count (never fewer bytes than
    // units) and taken from there.
    //   "ab"           -> estimate 2, converted 2
    //   "\xE4\xB8\xAD" -> estimate 2, converted 1: converted again
    void Convert(const char* text, int32_t len) {
        int32_t estimate = 0;
        for (int32_t i = 0; i < len; ++estimate)
            i += (static_cast<unsigned char>(text[i]) & 0x80) && i + 1 < len ? 2 : 1;
        len_ = estimate;
        char16_t* out = Reserve(len_);
        int tl = os::Utf8ToUtf16(text, len, out, len_);
        if (tl != len_) {
            delete[] big_;
            big_ = nullptr;
            SmartBuf<char16_t, kRoom> scratch(len);
            tl = scratch.Get() ? os::Utf8ToUtf16(text, len, scratch.Get(), len) : 0;
            len_ = tl;
            out = Reserve(len_);
            if (len_ > 0) memcpy(out, scratch.Get(), static_cast<size_t>(len_) * sizeof(char16_t));
        }
        out[len_] = 0;
    }

    CHAR room_[kRoom];
    CHAR* big_;
    mutable int32_t len_;
};

typedef SmartStrT<char> SmartStr;
typedef SmartStrT<char16_t> SmartStrW;
