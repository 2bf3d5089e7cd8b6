// DES in electronic code book mode, table-driven, and the frame around it.
//
// A block takes: 16 nibble lookups for the initial permutation, per round four
// S-box pair lookups (12 input bits each, the expansion done by rotations) and four
// lookups of the P permutation, then 16 nibble lookups for the final permutation.
#include "des.h"

#include <cstdlib>
#include <cstring>

#include "hexstr.h"
#include "ptrstr.h"
#include "qdr/qdassert.h"
#include "qdr/qdfill.h"

struct DesContext {
    uint8_t ip[16][16][8];  // [nibble position][nibble value] -> the 8 output bytes
    uint8_t fp[16][16][8];
    uint8_t sbox[4][4096];  // [S-box pair][12 input bits] -> two 4-bit outputs
    uint8_t p[4][256][4];   // [input byte position][byte] -> 32 output bits
    uint8_t keys[16][6];    // round keys, 48 bits each, high bit first
};
static_assert(sizeof(DesContext) == 24672, "the context is 24672 bytes");

namespace {

// The standard's tables; bit numbers count from 1 at the high bit of the first byte.
const uint8_t kInitialPerm[64] = {58, 50, 42, 34, 26, 18, 10, 2, 60, 52, 44, 36, 28, 20, 12, 4,
                                  62, 54, 46, 38, 30, 22, 14, 6, 64, 56, 48, 40, 32, 24, 16, 8,
                                  57, 49, 41, 33, 25, 17, 9,  1, 59, 51, 43, 35, 27, 19, 11, 3,
                                  61, 53, 45, 37, 29, 21, 13, 5, 63, 55, 47, 39, 31, 23, 15, 7};
const uint8_t kFinalPerm[64] = {40, 8, 48, 16, 56, 24, 64, 32, 39, 7, 47, 15, 55, 23, 63, 31,
                                38, 6, 46, 14, 54, 22, 62, 30, 37, 5, 45, 13, 53, 21, 61, 29,
                                36, 4, 44, 12, 52, 20, 60, 28, 35, 3, 43, 11, 51, 19, 59, 27,
                                34, 2, 42, 10, 50, 18, 58, 26, 33, 1, 41, 9,  49, 17, 57, 25};
const uint8_t kPerm32[32] = {16, 7, 20, 21, 29, 12, 28, 17, 1,  15, 23, 26, 5,  18, 31, 10,
                             2,  8, 24, 14, 32, 27, 3,  9,  19, 13, 30, 6,  22, 11, 4,  25};
const uint8_t kChoice1[56] = {57, 49, 41, 33, 25, 17, 9,  1,  58, 50, 42, 34, 26, 18,
                              10, 2,  59, 51, 43, 35, 27, 19, 11, 3,  60, 52, 44, 36,
                              63, 55, 47, 39, 31, 23, 15, 7,  62, 54, 46, 38, 30, 22,
                              14, 6,  61, 53, 45, 37, 29, 21, 13, 5,  28, 20, 12, 4};
const uint8_t kChoice2[48] = {14, 17, 11, 24, 1,  5,  3,  28, 15, 6,  21, 10, 23, 19, 12, 4,
                              26, 8,  16, 7,  27, 20, 13, 2,  41, 52, 31, 37, 47, 55, 30, 40,
                              51, 45, 33, 48, 44, 49, 39, 56, 34, 53, 46, 42, 50, 36, 29, 32};
const uint8_t kShifts[16] = {1, 1, 2, 2, 2, 2, 2, 2, 1, 2, 2, 2, 2, 2, 2, 1};
// The eight S-boxes as the standard prints them: four rows of 16.
// clang-format off
const uint8_t kSBoxes[8][64] = {
    {14,  4, 13,  1,  2, 15, 11,  8,  3, 10,  6, 12,  5,  9,  0,  7,
      0, 15,  7,  4, 14,  2, 13,  1, 10,  6, 12, 11,  9,  5,  3,  8,
      4,  1, 14,  8, 13,  6,  2, 11, 15, 12,  9,  7,  3, 10,  5,  0,
     15, 12,  8,  2,  4,  9,  1,  7,  5, 11,  3, 14, 10,  0,  6, 13},
    {15,  1,  8, 14,  6, 11,  3,  4,  9,  7,  2, 13, 12,  0,  5, 10,
      3, 13,  4,  7, 15,  2,  8, 14, 12,  0,  1, 10,  6,  9, 11,  5,
      0, 14,  7, 11, 10,  4, 13,  1,  5,  8, 12,  6,  9,  3,  2, 15,
     13,  8, 10,  1,  3, 15,  4,  2, 11,  6,  7, 12,  0,  5, 14,  9},
    {10,  0,  9, 14,  6,  3, 15,  5,  1, 13, 12,  7, 11,  4,  2,  8,
     13,  7,  0,  9,  3,  4,  6, 10,  2,  8,  5, 14, 12, 11, 15,  1,
     13,  6,  4,  9,  8, 15,  3,  0, 11,  1,  2, 12,  5, 10, 14,  7,
      1, 10, 13,  0,  6,  9,  8,  7,  4, 15, 14,  3, 11,  5,  2, 12},
    {7, 13, 14,  3,  0,  6,  9, 10,  1,  2,  8,  5, 11, 12,  4, 15,
     13,  8, 11,  5,  6, 15,  0,  3,  4,  7,  2, 12,  1, 10, 14,  9,
     10,  6,  9,  0, 12, 11,  7, 13, 15,  1,  3, 14,  5,  2,  8,  4,
      3, 15,  0,  6, 10,  1, 13,  8,  9,  4,  5, 11, 12,  7,  2, 14},
    {2, 12,  4,  1,  7, 10, 11,  6,  8,  5,  3, 15, 13,  0, 14,  9,
     14, 11,  2, 12,  4,  7, 13,  1,  5,  0, 15, 10,  3,  9,  8,  6,
      4,  2,  1, 11, 10, 13,  7,  8, 15,  9, 12,  5,  6,  3,  0, 14,
     11,  8, 12,  7,  1, 14,  2, 13,  6, 15,  0,  9, 10,  4,  5,  3},
    {12,  1, 10, 15,  9,  2,  6,  8,  0, 13,  3,  4, 14,  7,  5, 11,
     10, 15,  4,  2,  7, 12,  9,  5,  6,  1, 13, 14,  0, 11,  3,  8,
      9, 14, 15,  5,  2,  8, 12,  3,  7,  0,  4, 10,  1, 13, 11,  6,
      4,  3,  2, 12,  9,  5, 15, 10, 11, 14,  1,  7,  6,  0,  8, 13},
    {4, 11,  2, 14, 15,  0,  8, 13,  3, 12,  9,  7,  5, 10,  6,  1,
     13,  0, 11,  7,  4,  9,  1, 10, 14,  3,  5, 12,  2, 15,  8,  6,
      1,  4, 11, 13, 12,  3,  7, 14, 10, 15,  6,  8,  0,  5,  9,  2,
      6, 11, 13,  8,  1,  4, 10,  7,  9,  5,  0, 15, 14,  2,  3, 12},
    {13,  2,  8,  4,  6, 15, 11,  1, 10,  9,  3, 14,  5,  0, 12,  7,
      1, 15, 13,  8, 10,  3,  7,  4, 12,  5,  6, 11,  0, 14,  9,  2,
      7, 11,  4,  1,  9, 12, 14,  2,  0,  6, 10, 13, 15,  3,  5,  8,
      2,  1, 14,  7,  4, 10,  8, 13, 15, 12,  9,  0,  3,  5,  6, 11}
};
// clang-format on

// For each 4-bit group of the input and each value of it, the output bytes that
// the group's bits reach.
void BuildNibbleTable(const uint8_t perm[64], uint8_t table[16][16][8]) {
    memset(table, 0, 16 * 16 * 8);
    for (int out = 0; out < 64; ++out) {
        const int in = perm[out] - 1;
        for (int value = 0; value < 16; ++value)
            if (value & (8 >> (in % 4))) table[in / 4][value][out / 8] |= 0x80 >> (out % 8);
    }
}

// Row from the outer two bits, column from the inner four.
int SBox(int box, int six) {
    return kSBoxes[box][(((six >> 4) & 2) | (six & 1)) * 16 + ((six >> 1) & 0xF)];
}

uint32_t RotateLeft(uint32_t x, int n) {
    n &= 31;
    return n ? (x << n) | (x >> (32 - n)) : x;
}

uint64_t LoadBigEndian64(const unsigned char* p) {
    uint64_t v = 0;
    for (int i = 0; i < 8; ++i) v = v << 8 | p[i];
    return v;
}

uint64_t BytesToBigEndianValue(uint64_t bytes) {
#if __BYTE_ORDER__ == __ORDER_LITTLE_ENDIAN__
    return __builtin_bswap64(bytes);
#else
    return bytes;
#endif
}

uint32_t LoadLittleEndian32(const unsigned char* p) {
    return uint32_t(p[0]) | uint32_t(p[1]) << 8 | uint32_t(p[2]) << 16 | uint32_t(p[3]) << 24;
}

void StoreLittleEndian32(unsigned char* p, uint32_t v) {
    for (int i = 0; i < 4; ++i) p[i] = static_cast<unsigned char>(v >> (8 * i));
}

uint32_t ByteSum(const unsigned char* p, int32_t len) {
    uint32_t sum = 0;
    for (int32_t i = 0; i < len; ++i) sum += p[i];
    return sum;
}

// The 8 bytes of the nibble table selected by each 4-bit group of `v`, ORed.
uint64_t Permute(const uint8_t table[16][16][8], uint64_t v) {
    uint64_t out = 0;
    for (int pos = 0; pos < 16; ++pos) {
        uint64_t part;
        memcpy(&part, table[pos][(v >> (60 - 4 * pos)) & 0xF], 8);
        out |= part;
    }
    return out;
}

// The round function: the expansion of `r` taken 12 bits (two S-box inputs) at a
// time by rotation, the key mixed in, the S-box pairs, then P.
inline uint32_t Round(const DesContext& c, uint32_t r, uint64_t key) {
    uint32_t out = 0;
    for (int pair = 0; pair < 4; ++pair) {
        const uint32_t x = RotateLeft(r, 8 * pair - 1);
        const uint32_t bits = ((x >> 20) & 0xFC0) | ((x >> 22) & 0x3F);
        const uint32_t index = bits ^ static_cast<uint32_t>((key >> (36 - 12 * pair)) & 0xFFF);
        uint32_t part;
        memcpy(&part, c.p[pair][c.sbox[pair][index]], 4);
        out |= part;
    }
    return out;
}

}  // namespace

Des::Des(const char* key, int keyLen) : ctx_(static_cast<DesContext*>(malloc(sizeof(DesContext)))) {
    QDR_CHECK(ctx_);
    SetKey(key, keyLen);
}

Des::~Des() {
    if (!ctx_) return;
    FillDestroyed(ctx_, sizeof(DesContext));
    free(ctx_);
}

void Des::SetKey(const void* key, int keyLen) {
    QDR_CHECK_OR_RETURN(ctx_);
    const unsigned char* text = static_cast<const unsigned char*>(key);
    if (!text) keyLen = 0;
    if (keyLen < 0) keyLen = static_cast<int>(strlen(static_cast<const char*>(key)));
    unsigned char folded[8] = {0};
    for (int i = 0; i < keyLen; ++i)
        folded[i % 8] = static_cast<unsigned char>(folded[i % 8] + text[i]);

    DesContext& c = *ctx_;
    BuildNibbleTable(kInitialPerm, c.ip);
    BuildNibbleTable(kFinalPerm, c.fp);
    // Built from small pieces: EncryptStr pays for this on every call.
    uint8_t box[8][64];
    for (int b = 0; b < 8; ++b)
        for (int six = 0; six < 64; ++six) box[b][six] = static_cast<uint8_t>(SBox(b, six));
    for (int pair = 0; pair < 4; ++pair)
        for (int a = 0; a < 64; ++a)
            for (int b = 0; b < 64; ++b)
                c.sbox[pair][a * 64 + b] =
                    static_cast<uint8_t>(box[2 * pair][a] << 4 | box[2 * pair + 1][b]);
    uint32_t bitOut[32] = {0};  // input bit -> its output bit
    for (int out = 0; out < 32; ++out) bitOut[kPerm32[out] - 1] = 0x80000000u >> out;
    for (int pos = 0; pos < 4; ++pos) {
        uint32_t entry[256];
        entry[0] = 0;
        for (int value = 1; value < 256; ++value) {
            const int low = __builtin_ctz(static_cast<unsigned>(value));  // bit 7 - low of the byte
            entry[value] = entry[value & (value - 1)] | bitOut[pos * 8 + 7 - low];
        }
        memcpy(c.p[pos], entry, sizeof entry);
    }

    const uint64_t keyBits = LoadBigEndian64(folded);
    uint8_t cd[56];
    for (int i = 0; i < 56; ++i) cd[i] = (keyBits >> (64 - kChoice1[i])) & 1;
    for (int round = 0; round < 16; ++round) {
        for (int s = 0; s < kShifts[round]; ++s) {
            const uint8_t c0 = cd[0], d0 = cd[28];
            memmove(cd, cd + 1, 27);
            cd[27] = c0;
            memmove(cd + 28, cd + 29, 27);
            cd[55] = d0;
        }
        memset(c.keys[round], 0, 6);
        for (int i = 0; i < 48; ++i)
            if (cd[kChoice2[i] - 1]) c.keys[round][i / 8] |= 0x80 >> (i % 8);
    }
}

void Des::Run(const unsigned char* data, unsigned char* out, int len, bool decipher) const {
    QDR_CHECK_OR_RETURN(ctx_);
    const DesContext& c = *ctx_;
    uint64_t keys[16];
    for (int round = 0; round < 16; ++round) {
        const uint8_t* k = c.keys[decipher ? 15 - round : round];
        keys[round] = uint64_t(k[0]) << 40 | uint64_t(k[1]) << 32 | uint64_t(k[2]) << 24 |
                      uint64_t(k[3]) << 16 | uint64_t(k[4]) << 8 | k[5];
    }
    for (int at = 0; at < len; at += 8) {
        const uint64_t v = BytesToBigEndianValue(Permute(c.ip, LoadBigEndian64(data + at)));
        uint32_t l = static_cast<uint32_t>(v >> 32), r = static_cast<uint32_t>(v);
        for (int round = 0; round < 16; ++round) {
            const uint32_t t = l ^ Round(c, r, keys[round]);
            l = r;
            r = t;
        }
        const uint64_t result = Permute(c.fp, uint64_t(r) << 32 | l);
        memcpy(out + at, &result, 8);
    }
}

void Des::Endes(const unsigned char* data, unsigned char* out, int len) const {
    QDR_CHECK_OR_RETURN(0 == len % 8);
    Run(data, out, len, false);
}

void Des::Dedes(const unsigned char* data, unsigned char* out, int len) const {
    QDR_CHECK_OR_RETURN(0 == len % 8);
    Run(data, out, len, true);
}

bool Des::EndesEx(const void* data, int len, Binary& out) const {
    if (len < 0) return false;
    QDR_CHECK_OR_RETURN(data || len == 0, false);
    const int64_t cipherLen = (static_cast<int64_t>(len) + 4 + 7) / 8 * 8;
    if (cipherLen + 4 > INT32_MAX) return false;
    // Built apart from `out`, which may hold the data.
    Binary work;
    if (!work.SetLength(static_cast<int32_t>(cipherLen + 4), false)) return false;
    unsigned char* frame = work.Get();
    unsigned char* plain = frame + 4;
    if (len) memcpy(plain, data, static_cast<size_t>(len));
    memset(plain + len, 0, static_cast<size_t>(cipherLen - len));
    StoreLittleEndian32(plain + cipherLen - 4, ByteSum(plain, static_cast<int32_t>(cipherLen - 4)));
    StoreLittleEndian32(frame, static_cast<uint32_t>(cipherLen));
    Endes(plain, plain, static_cast<int>(cipherLen));
    out = work;
    return true;
}

int Des::DedesEx(const void* frame, Binary& out, int frameLen) const {
    if (!frame) {
        QDR_CHECK(false);
        return -1;
    }
    // The frame length is looked at before the header is read, so that a frame
    // shorter than its header is not read past.
    if (frameLen != -1) {
        QDR_CHECK_OR_RETURN(frameLen > 0, -1);
        if (frameLen < 4) return -1;
    }
    const unsigned char* bytes = static_cast<const unsigned char*>(frame);
    const int32_t cipherLen = static_cast<int32_t>(LoadLittleEndian32(bytes));
    if (cipherLen < 8 || cipherLen % 8 != 0) return -1;
    if (frameLen != -1 && cipherLen > frameLen - 4) return -1;
    Binary plain;
    if (!plain.SetLength(cipherLen, false)) return -1;
    unsigned char* p = plain.Get();
    Dedes(bytes + 4, p, cipherLen);
    out = plain;
    if (ByteSum(p, cipherLen - 4) != LoadLittleEndian32(p + cipherLen - 4)) return -1;
    memset(p + cipherLen - 4, 0, 4);
    return cipherLen - 4;
}

bool Des::EndesExact(const void* data, int len, Binary& out) const {
    if (!(len >= 0 && (data || len == 0))) {
        QDR_CHECK(false);
        return false;
    }
    if (len > INT32_MAX - 16) return false;
    Binary inner;
    if (!inner.SetLength(len + 4, false)) return false;
    StoreLittleEndian32(inner.Get(), static_cast<uint32_t>(len));
    if (len) memcpy(inner.Get() + 4, data, static_cast<size_t>(len));
    return EndesEx(inner.Data(), inner.Size(), out);
}

bool Des::DedesExact(const void* frame, Binary& out, int frameLen) const {
    Binary bin;
    const int len = DedesEx(frame, bin, frameLen);
    if (len == -1) return false;
    QDR_CHECK_OR_RETURN(bin.Length() >= len, false);
    if (len < 4) {
        QDR_CHECK(false);
        return false;
    }
    const uint32_t n = LoadLittleEndian32(bin.Data());
    if (n > static_cast<uint32_t>(len - 4)) {
        QDR_CHECK(false);
        return false;
    }
    return out.Set(bin.Data() + 4, static_cast<int32_t>(n));
}

template <class CHAR>
std::basic_string<CHAR>& EncryptStr(std::basic_string<CHAR>& out, const CHAR* key, const CHAR* str,
                                    int len) {
    out.clear();
    // clang-format off
    QDR_CHECK_OR_RETURN((0==str && 0==len) || AfxIsValidString(str, (int)len), out);
    // clang-format on
    Des des;
    des.SetKey(key, key ? TextLength(key) * static_cast<int>(sizeof(CHAR)) : 0);
    if (len < 0) len = TextLength(str);
    QDR_CHECK_OR_RETURN(len <= INT32_MAX / static_cast<int>(sizeof(CHAR)), out);
    Binary frame;
    // clang-format off
    QDR_CHECK_OR_RETURN(des.EndesEx((const unsigned char*)str, (int)(len*sizeof(CHAR)), frame), out);
    // clang-format on
    BinToHexStr(frame.Data(), frame.Size(), out);
    return out;
}

template <class CHAR>
std::basic_string<CHAR>& DecryptStr(std::basic_string<CHAR>& out, const CHAR* key,
                                    const CHAR* str) {
    out.clear();
    QDR_CHECK_OR_RETURN(AfxIsValidString(str), out);
    Binary bin;
    QDR_CHECK_OR_RETURN(HexStrToBin(str, bin), out);
    Des des;
    des.SetKey(key, key ? TextLength(key) * static_cast<int>(sizeof(CHAR)) : 0);
    Binary plain;
    // Only non-zero is asserted: after a wrong key (-1) the text is whatever the
    // deciphered block begins with. The block's length bounds the header.
    // clang-format off
    QDR_CHECK(des.DedesEx((const unsigned char*)bin.Data(), plain, bin.Size()));
    // clang-format on
    const size_t units = static_cast<size_t>(plain.Size()) / sizeof(CHAR);
    for (size_t i = 0; i < units; ++i) {
        CHAR unit;
        memcpy(&unit, plain.Data() + i * sizeof(CHAR), sizeof(CHAR));
        if (unit == 0) break;
        out.push_back(unit);
    }
    return out;
}

template std::string& EncryptStr<char>(std::string&, const char*, const char*, int);
template std::u16string& EncryptStr<char16_t>(std::u16string&, const char16_t*, const char16_t*,
                                              int);
template std::string& DecryptStr<char>(std::string&, const char*, const char*);
template std::u16string& DecryptStr<char16_t>(std::u16string&, const char16_t*, const char16_t*);
