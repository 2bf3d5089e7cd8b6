// The character transforms: the UTF-8 pair, one body for both directions on top of
// os::Utf8ToUtf16 / os::Utf16ToUtf8, and the GB pair on the library's own tables.
#include "chartransform.h"

#include <cstring>

#include "gbktables.h"
#include "ptrstr.h"
#include "qdr/platform/os.h"
#include "qdr/qdassert.h"

namespace {

template <class SRC, class DST>
using PlatformConvert = int (*)(const SRC* src, int srcLen, DST* dst, int dstCap);

// Linux's converter writes exactly as many units as fit; the room for the terminator is
// kept back from it, so that terminating at the count it returns stays inside the
// caller's buffer.
template <class SRC, class DST>
void ConvertText(const SRC* text, int len, DST* out_buf, int* out_len,
                 PlatformConvert<SRC, DST> convert) {
    const bool measure = !out_buf || *out_len == 0;
    if (len == 0 || (len < 0 && text && text[0] == 0)) {
        if (!measure && *out_len > 0) out_buf[0] = 0;
        *out_len = 0;
        return;
    }
    // A null text is what Windows' converter refuses: nothing is converted.
    if (!text) return;
    if (measure) {
        const int needed = convert(text, len, nullptr, 0);
        if (needed > 0) *out_len = needed;
        return;
    }
    const int room = *out_len - 1;
    if (room < 1) return;
    const int written = convert(text, len, out_buf, room);
    if (written < 1) return;
    *out_len = written;
    out_buf[written] = 0;
}

}  // namespace

void Utf8ToUnicode(const char* utf8_txt, int utf8_len, char16_t* out_buf, int* out_len) {
    QDR_CHECK_OR_RETURN(out_len);
    // The report shows this expression as written.
    QDR_CHECK(utf8_txt || out_buf || utf8_len >= 0 || *out_len >= 0);
    ConvertText(utf8_txt, utf8_len, out_buf, out_len, &os::Utf8ToUtf16);
}

void UnicodeToUtf8(const char16_t* unicode_txt, int unicode_len, char* out_buf, int* out_len) {
    QDR_CHECK_OR_RETURN(out_len);
    QDR_CHECK(unicode_txt || out_buf || unicode_len >= 0 || *out_len >= 0);
    ConvertText(unicode_txt, unicode_len, out_buf, out_len, &os::Utf16ToUtf8);
}

// The GB pair on the library's own code page 936 tables.

namespace {

// The single-character steps with the tables at hand, so that a text fetches them
// once and the steps inline into its loop.
inline int CharToUnicode(const GbkTables& tables, const unsigned char* bytes, int left,
                         char16_t* code) {
    if (left < 1) return kGbTooShort;
    if (left >= 2) {
        const uint16_t* row = tables.forward[bytes[0]];
        if (row && bytes[1] != 0) {
            if (row[bytes[1]] == 0) return kGbNoMapping;
            *code = row[bytes[1]];
            return 2;
        }
    }
    *code = bytes[0] == 0x80 ? u'\u20AC' : static_cast<char16_t>(bytes[0]);
    return 1;
}

inline int CharToGb(const GbkTables& tables, char16_t code, unsigned char* out, int capacity) {
    if (capacity < 1) return kGbTooShort;
    if (code == u'\u20AC') {
        out[0] = 0x80;
        return 1;
    }
    const uint8_t(*row)[2] = tables.reverse[code >> 8];
    const bool mapped = row && (row[code & 0xFF][0] || row[code & 0xFF][1]);
    if (code < 0x100 && !mapped) {
        if (code >= 0x80) return kGbNoMapping;
        out[0] = static_cast<unsigned char>(code);
        return 1;
    }
    if (!row) return kGbNoMapping;
    if (capacity < 2) return kGbTooShort;
    if (!mapped) return kGbNoMapping;
    out[0] = row[code & 0xFF][0];
    out[1] = row[code & 0xFF][1];
    return 2;
}

// The checks and the refusals the two text forms share; false when `out_len` has
// its answer already.
template <class SRC, class DST>
bool StartGbText(const SRC* text, int len, DST* out_buf, int* out_len, bool* result) {
    *result = false;
    QDR_CHECK_OR_RETURN(out_len, false);
    QDR_CHECK(*out_len >= 0 && len >= -1 && out_buf && (text || len == 0));
    if (!out_buf || *out_len < 1 || len < -1 || (!text && len != 0)) {
        *out_len = -1;
        return false;
    }
    if (len == 0) {
        out_buf[0] = 0;
        *out_len = 0;
        *result = true;
        return false;
    }
    return true;
}

}  // namespace

int Gb2312CharToUnicode(const unsigned char* bytes, int left, char16_t* code) {
    return CharToUnicode(GetGbkTables(), bytes, left, code);
}

int UnicodeCharToGb2312(char16_t code, unsigned char* out, int capacity) {
    return CharToGb(GetGbkTables(), code, out, capacity);
}

bool UnicodeToGb2312(const char16_t* unicode_txt, int unicode_len, char* out_buf, int* out_len) {
    bool result;
    if (!StartGbText(unicode_txt, unicode_len, out_buf, out_len, &result)) return result;
    const int len = unicode_len < 0 ? TextLength(unicode_txt) : unicode_len;
    const int capacity = *out_len;
    const GbkTables& tables = GetGbkTables();
    int written = 0;
    for (int i = 0; i < len; ++i) {
        unsigned char bytes[8];
        const int n = CharToGb(tables, unicode_txt[i], bytes, sizeof bytes);
        if (n < 0 || written + n >= capacity) {
            *out_len = -1;
            return false;
        }
        out_buf[written] = static_cast<char>(bytes[0]);
        if (n == 2) out_buf[written + 1] = static_cast<char>(bytes[1]);
        written += n;
    }
    out_buf[written] = 0;
    *out_len = written;
    return true;
}

bool Gb2312ToUnicode(const char* gb2312_txt, int gb2312_len, char16_t* out_buf, int* out_len) {
    bool result;
    if (!StartGbText(gb2312_txt, gb2312_len, out_buf, out_len, &result)) return result;
    const int len = gb2312_len < 0 ? TextLength(gb2312_txt) : gb2312_len;
    const unsigned char* bytes = reinterpret_cast<const unsigned char*>(gb2312_txt);
    const int capacity = *out_len;
    const GbkTables& tables = GetGbkTables();
    int written = 0;
    for (int i = 0; i < len;) {
        char16_t code;
        const int n = CharToUnicode(tables, bytes + i, len - i, &code);
        if (n < 0 || written + 1 >= capacity) {
            *out_len = -1;
            return false;
        }
        out_buf[written++] = code;
        i += n;
    }
    out_buf[written] = 0;
    *out_len = written;
    return true;
}
