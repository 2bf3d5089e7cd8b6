// The compressed block around zlib, and its form as C source text.
#include "compressbuffer.h"

#include <zlib.h>

#include <algorithm>
#include <cstring>

#include "qdr/qdassert.h"
#include "smlib.h"

namespace {

const uint32_t kCompressedFlag = 0x80000000u;

void StoreHeader(unsigned char* p, uint32_t v) {
    for (int i = 0; i < 4; ++i) p[i] = static_cast<unsigned char>(v >> (8 * i));
}

uint32_t LoadHeader(const unsigned char* p) {
    return uint32_t(p[0]) | uint32_t(p[1]) << 8 | uint32_t(p[2]) << 16 | uint32_t(p[3]) << 24;
}

}  // namespace

bool CompressBuffer(const void* source, int len, Binary& out, int minLen) {
    if (!(len >= 0 && len <= kMaxCompressedLength && (source || len == 0))) {
        QDR_CHECK(false);
        return false;
    }
    if (minLen < 1) minLen = 1;
    const unsigned char* src = static_cast<const unsigned char*>(source);
    if (len < minLen) {
        if (!out.SetLength(len + 4, false)) return false;
        StoreHeader(out.Get(), static_cast<uint32_t>(len));
        if (len) memcpy(out.Get() + 4, src, static_cast<size_t>(len));
        return true;
    }
    const int room = std::max(static_cast<int>(int64_t(len) * 3 / 2), 8192);
    Binary work;
    if (!work.SetLength(room + 4, false)) return false;
    StoreHeader(work.Get(), kCompressedFlag | static_cast<uint32_t>(len));
    uLongf used = static_cast<uLongf>(room);
    if (compress2(work.Get() + 4, &used, src, static_cast<uLong>(len), 1) != Z_OK) {
        QDR_CHECK(false);
        return false;
    }
    if (static_cast<int>(used) == room) {
        out = work;
        return true;
    }
    return out.Set(work.Data(), static_cast<int32_t>(used) + 4);
}

bool UncompressBuffer(const void* source, int in_len, Binary& out, int extra) {
    out.Clear();
    if (!(source && in_len >= 4 && in_len <= kMaxCompressedLength && extra >= 0)) {
        QDR_CHECK(false);
        return false;
    }
    const unsigned char* src = static_cast<const unsigned char*>(source);
    const uint32_t header = LoadHeader(src);
    const int out_len = static_cast<int>(header & ~kCompressedFlag);
    if (out_len > kMaxCompressedLength) return false;
    if (extra > INT32_MAX - out_len) return false;
    if (!(header & kCompressedFlag)) {
        // The report spells the check with its designed cast, whose const the compiler
        // rightly calls pointless.
        typedef int32_t INT32;
#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Wignored-qualifiers"
        QDR_CHECK_OR_RETURN(in_len == out_len+((const int)sizeof(INT32)), false);
#pragma GCC diagnostic pop
    }
    if (!out.SetLength(out_len + extra, false)) return false;
    unsigned char* dst = out.Get();
    if (header & kCompressedFlag) {
        // zlib writes no more than destLen: a stream that inflates past the header's
        // length fails here instead of growing the block.
        unsigned char none = 0;
        uLongf destLen = static_cast<uLongf>(out_len);
        if (uncompress(dst ? dst : &none, &destLen, src + 4, static_cast<uLong>(in_len - 4)) !=
            Z_OK) {
            out.Clear();
            return false;
        }
        if (static_cast<int>(destLen) != out_len) {
            QDR_CHECK(false);
            out.Clear();
            return false;
        }
    } else if (out_len) {
        memcpy(dst, src + 4, static_cast<size_t>(out_len));
    }
    if (extra) memset(dst + out_len, 0, static_cast<size_t>(extra));
    return true;
}

std::string& BinaryToSourceText(std::string& out, const void* data, int len, int indent,
                                char indentChar) {
    out.clear();
    QDR_CHECK_OR_RETURN(data && len >= 1 && indent >= 0, out);
    Binary block;
    QDR_CHECK_OR_RETURN(CompressBuffer(data, len, block, 1), out);
    static const char kDigits[] = "0123456789ABCDEF";
    const int n = block.Size();
    const int lines = (n + 15) / 16;
    const int dstStrLen = lines * indent + n * 5 + (lines - 1) * 2;
    std::string ret(static_cast<size_t>(dstStrLen), '\0');
    char* p = &ret[0];
    for (int i = 0; i < n; ++i) {
        if (i % 16 == 0) {
            if (i) *p++ = '\r', *p++ = '\n';
            p = std::fill_n(p, indent, indentChar);
        }
        const unsigned char b = block.Data()[i];
        *p++ = '0', *p++ = 'x', *p++ = kDigits[b >> 4], *p++ = kDigits[b & 0xF], *p++ = ',';
    }
    // clang-format off
    QDR_CHECK_OR_RETURN(p-ret.c_str() == dstStrLen, out);
    // clang-format on
    out.swap(ret);
    return out;
}

std::string& FileToSourceText(std::string& out, const char* path, int indent, char indentChar) {
    out.clear();
    QDR_CHECK_OR_RETURN(path, out);
    Binary bytes;
    if (!ReadFileToBinary(path, bytes) || bytes.Size() == 0) return out;
    return BinaryToSourceText(out, bytes.Data(), bytes.Size(), indent, indentChar);
}
