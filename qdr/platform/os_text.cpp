// UTF-8 <-> UTF-16, standing in for the platform's code-page conversions.
#include <cstring>

#include "os.h"

namespace os {

namespace {

constexpr char32_t kReplacement = 0xFFFD;

// Decodes one UTF-8 sequence at src[0..left); sets `used` to the bytes consumed.
// Overlong forms, surrogates, values above U+10FFFF and truncated sequences give
// U+FFFD for the maximal invalid prefix (at least one byte).
char32_t DecodeUtf8(const unsigned char* src, int left, int* used) {
    unsigned char b0 = src[0];
    *used = 1;
    if (b0 < 0x80) return b0;
    int need;
    char32_t cp;
    char32_t min;
    if (b0 >= 0xC2 && b0 <= 0xDF) {
        need = 1;
        cp = b0 & 0x1F;
        min = 0x80;
    } else if (b0 >= 0xE0 && b0 <= 0xEF) {
        need = 2;
        cp = b0 & 0x0F;
        min = 0x800;
    } else if (b0 >= 0xF0 && b0 <= 0xF4) {
        need = 3;
        cp = b0 & 0x07;
        min = 0x10000;
    } else {
        return kReplacement;
    }
    for (int i = 1; i <= need; ++i) {
        if (i >= left || (src[i] & 0xC0) != 0x80) {
            *used = i;
            return kReplacement;
        }
        cp = (cp << 6) | (src[i] & 0x3F);
        // Reject overlong and out-of-range forms as soon as the second byte says so.
        if (i == 1) {
            if ((need == 2 && b0 == 0xE0 && src[1] < 0xA0) ||
                (need == 2 && b0 == 0xED && src[1] > 0x9F) ||
                (need == 3 && b0 == 0xF0 && src[1] < 0x90) ||
                (need == 3 && b0 == 0xF4 && src[1] > 0x8F)) {
                *used = 1;
                return kReplacement;
            }
        }
    }
    *used = need + 1;
    if (cp < min) return kReplacement;
    return cp;
}

int EncodeUtf8(char32_t cp, char* out) {
    if (cp < 0x80) {
        out[0] = static_cast<char>(cp);
        return 1;
    }
    if (cp < 0x800) {
        out[0] = static_cast<char>(0xC0 | (cp >> 6));
        out[1] = static_cast<char>(0x80 | (cp & 0x3F));
        return 2;
    }
    if (cp < 0x10000) {
        out[0] = static_cast<char>(0xE0 | (cp >> 12));
        out[1] = static_cast<char>(0x80 | ((cp >> 6) & 0x3F));
        out[2] = static_cast<char>(0x80 | (cp & 0x3F));
        return 3;
    }
    out[0] = static_cast<char>(0xF0 | (cp >> 18));
    out[1] = static_cast<char>(0x80 | ((cp >> 12) & 0x3F));
    out[2] = static_cast<char>(0x80 | ((cp >> 6) & 0x3F));
    out[3] = static_cast<char>(0x80 | (cp & 0x3F));
    return 4;
}

}  // namespace

int Utf8ToUtf16(const char* src, int srcLen, char16_t* dst, int dstCap) {
    if (!src) return 0;
    if (srcLen < 0) srcLen = static_cast<int>(strlen(src)) + 1;
    const bool measure = !dst || dstCap <= 0;
    const unsigned char* in = reinterpret_cast<const unsigned char*>(src);
    int pos = 0;
    int written = 0;
    while (pos < srcLen) {
        int used;
        char32_t cp = DecodeUtf8(in + pos, srcLen - pos, &used);
        pos += used;
        const int units = cp >= 0x10000 ? 2 : 1;
        if (!measure) {
            if (written + units > dstCap) return 0;
            if (units == 2) {
                cp -= 0x10000;
                dst[written] = static_cast<char16_t>(0xD800 + (cp >> 10));
                dst[written + 1] = static_cast<char16_t>(0xDC00 + (cp & 0x3FF));
            } else {
                dst[written] = static_cast<char16_t>(cp);
            }
        }
        written += units;
    }
    return written;
}

int Utf16ToUtf8(const char16_t* src, int srcLen, char* dst, int dstCap) {
    if (!src) return 0;
    if (srcLen < 0) {
        srcLen = 0;
        while (src[srcLen]) ++srcLen;
        ++srcLen;
    }
    const bool measure = !dst || dstCap <= 0;
    int written = 0;
    for (int pos = 0; pos < srcLen; ++pos) {
        char32_t cp = src[pos];
        if (cp >= 0xD800 && cp <= 0xDBFF && pos + 1 < srcLen && src[pos + 1] >= 0xDC00 &&
            src[pos + 1] <= 0xDFFF) {
            cp = 0x10000 + ((cp - 0xD800) << 10) + (src[pos + 1] - 0xDC00);
            ++pos;
        } else if (cp >= 0xD800 && cp <= 0xDFFF) {
            cp = kReplacement;
        }
        char bytes[4];
        const int n = EncodeUtf8(cp, bytes);
        if (!measure) {
            if (written + n > dstCap) return 0;
            memcpy(dst + written, bytes, static_cast<size_t>(n));
        }
        written += n;
    }
    return written;
}

}  // namespace os
