// The UTF-8 pair of the character transforms, one body for both directions on top
// of os::Utf8ToUtf16 / os::Utf16ToUtf8.
#include "chartransform.h"

#include "qdr/platform/os.h"
#include "qdr/qdassert.h"

namespace {

template <class SRC, class DST>
using PlatformConvert = int (*)(const SRC* src, int srcLen, DST* dst, int dstCap);

// The platform writes exactly as many units as fit; the room for the terminator is
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
    // A null text is what the platform refuses: nothing is converted.
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
    QDR_CHECK(out_len);
    if (!out_len) return;
    // The report shows this expression as written.
    // clang-format off
    QDR_CHECK(utf8_txt || out_buf || utf8_len >= 0 || *out_len >= 0);
    // clang-format on
    ConvertText(utf8_txt, utf8_len, out_buf, out_len, &os::Utf8ToUtf16);
}

void UnicodeToUtf8(const char16_t* unicode_txt, int unicode_len, char* out_buf, int* out_len) {
    QDR_CHECK(out_len);
    if (!out_len) return;
    // clang-format off
    QDR_CHECK(unicode_txt || out_buf || unicode_len >= 0 || *out_len >= 0);
    // clang-format on
    ConvertText(unicode_txt, unicode_len, out_buf, out_len, &os::Utf16ToUtf8);
}
