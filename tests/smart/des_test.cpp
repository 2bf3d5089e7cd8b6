// DES against published vectors and OpenSSL's DES-ECB (legacy provider), and the
// frame around it.
#include <openssl/evp.h>
#include <openssl/provider.h>

#include <cstring>
#include <random>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "des.h"
#include "hexstr.h"
#include "report_capture.h"

namespace {

std::vector<unsigned char> Bytes(const char* hex) {
    Binary b;
    EXPECT_TRUE(HexStrToBin(hex, b));
    return std::vector<unsigned char>(b.Data(), b.Data() + b.Size());
}

std::string Hex(const unsigned char* p, int len) {
    std::string s;
    BinToHexStr(p, len, s);
    return s;
}

// Single-block DES-ECB by OpenSSL, without padding.
class OpenSslDes {
public:
    OpenSslDes()
        : legacy_(OSSL_PROVIDER_load(nullptr, "legacy")),
          base_(OSSL_PROVIDER_load(nullptr, "default")),
          cipher_(EVP_CIPHER_fetch(nullptr, "DES-ECB", nullptr)),
          ctx_(EVP_CIPHER_CTX_new()) {}
    ~OpenSslDes() {
        EVP_CIPHER_CTX_free(ctx_);
        EVP_CIPHER_free(cipher_);
        OSSL_PROVIDER_unload(base_);
        OSSL_PROVIDER_unload(legacy_);
    }
    bool Ready() const { return cipher_ && ctx_; }
    void Encipher(const unsigned char key[8], const unsigned char in[8], unsigned char out[8]) {
        int n = 0;
        ASSERT_EQ(1, EVP_EncryptInit_ex(ctx_, cipher_, nullptr, key, nullptr));
        EVP_CIPHER_CTX_set_padding(ctx_, 0);
        ASSERT_EQ(1, EVP_EncryptUpdate(ctx_, out, &n, in, 8));
        ASSERT_EQ(8, n);
    }

private:
    OSSL_PROVIDER* legacy_;
    OSSL_PROVIDER* base_;
    EVP_CIPHER* cipher_;
    EVP_CIPHER_CTX* ctx_;
};

TEST(Des, PublishedVectorsBothWays) {
    // FIPS 81's example, the textbook block, and NIST SP 800-17 variable plaintext,
    // variable key, permutation and substitution tests.
    const char* const vectors[][3] = {
        {"0123456789ABCDEF", "4E6F772069732074", "3FA40E8A984D4815"},
        {"133457799BBCDFF1", "0123456789ABCDEF", "85E813540F0AB405"},
        {"0101010101010101", "8000000000000000", "95F8A5E5DD31D900"},
        {"0101010101010101", "4000000000000000", "DD7F121CA5015619"},
        {"8001010101010101", "0000000000000000", "95A8D72813DAA94D"},
        {"1046913489980131", "0000000000000000", "88D55E54F54C97B4"},
        {"7CA110454A1A6E57", "01A1D6D039776742", "690F5B0D9A26939B"},
    };
    for (const auto& v : vectors) {
        const std::vector<unsigned char> key = Bytes(v[0]), plain = Bytes(v[1]);
        Des des(reinterpret_cast<const char*>(key.data()), 8);
        unsigned char block[8];
        des.Endes(plain.data(), block, 8);
        EXPECT_EQ(v[2], Hex(block, 8)) << v[0];
        des.Dedes(block, block, 8);
        EXPECT_EQ(v[1], Hex(block, 8)) << v[0];
    }
}

TEST(Des, AgreesWithOpenSslOnRandomKeysAndBlocks) {
    OpenSslDes reference;
    ASSERT_TRUE(reference.Ready());
    std::mt19937_64 rng(17);
    Des des;
    for (int i = 0; i < 10000; ++i) {
        uint64_t words[2] = {rng(), rng()};
        const unsigned char* key = reinterpret_cast<unsigned char*>(&words[0]);
        const unsigned char* plain = reinterpret_cast<unsigned char*>(&words[1]);
        unsigned char ours[8], theirs[8], back[8];
        des.SetKey(key, 8);
        des.Endes(plain, ours, 8);
        reference.Encipher(key, plain, theirs);
        ASSERT_EQ(0, memcmp(ours, theirs, 8)) << "block " << i;
        des.Dedes(ours, back, 8);
        ASSERT_EQ(0, memcmp(plain, back, 8)) << "block " << i;
    }
}

TEST(Des, KeyTextFoldsOntoEightBytes) {
    const unsigned char block[8] = {1, 2, 3, 4, 5, 6, 7, 8};
    auto encipher = [&](const char* key, int len) {
        unsigned char out[8];
        Des(key, len).Endes(block, out, 8);
        return Hex(out, 8);
    };
    EXPECT_EQ(encipher("12345678", -1), encipher("12345678\0\0\0", 11));
    EXPECT_EQ(encipher("b2345678", 8), encipher("123456781", 9));  // '1' + '1' = 'b'
    EXPECT_EQ(encipher("ab\0\0\0\0\0\0", 8), encipher("ab", -1));
    EXPECT_EQ(encipher(nullptr, -1), encipher("", -1));
}

TEST(DesFrame, LayoutByteForByte) {
    // "abc": 61 62 63, padding 00, sum 0x126 as 26 01 00 00, enciphered under
    // "12345678" (openssl enc -des-ecb -K 3132333435363738 -nopad).
    Des des("12345678");
    Binary frame;
    ASSERT_TRUE(des.EndesEx("abc", 3, frame));
    EXPECT_EQ("08000000C381CFB29AAA87F6", Hex(frame.Data(), frame.Size()));

    Binary plain;
    EXPECT_EQ(4, des.DedesEx(frame.Data(), plain, frame.Size()));
    EXPECT_EQ("6162630000000000", Hex(plain.Data(), plain.Size()));  // sum cleared

    std::string hex;
    EXPECT_EQ("08000000C381CFB29AAA87F6", EncryptStr(hex, "12345678", "abc"));
    std::string text;
    EXPECT_EQ("abc", DecryptStr(text, "12345678", hex.c_str()));

    for (int len : {0, 4, 5, 12, 13}) {
        ASSERT_TRUE(des.EndesEx("0123456789abcdef", len, frame));
        EXPECT_EQ(4 + (len + 4 + 7) / 8 * 8, frame.Size()) << len;
    }
}

TEST(DesFrame, ExactLengthAndWideTextRoundTrip) {
    Des des("key");
    std::mt19937 rng(5);
    for (int len = 0; len < 40; ++len) {
        std::vector<unsigned char> data(len);
        for (auto& b : data) b = static_cast<unsigned char>(rng());
        data.push_back(0);  // never read: it keeps data() non-null at length 0
        Binary frame, back;
        ASSERT_TRUE(des.EndesExact(data.data(), len, frame));
        ASSERT_TRUE(des.DedesExact(frame.Data(), back, frame.Size()));
        ASSERT_EQ(len, back.Size());
        EXPECT_EQ(0, len ? memcmp(back.Data(), data.data(), len) : 0);
    }
    std::u16string hex, text;
    EncryptStr(hex, u"钥匙", u"中文 text");
    EXPECT_EQ(2u * (4 + 24), hex.size());  // 9 units, 18 bytes + 4 -> 24
    EXPECT_EQ(u"中文 text", DecryptStr(text, u"钥匙", hex.c_str()));
}

TEST(DesFrame, RefusesWrongKeyAndMalformedFrames) {
    Des des("right"), other("wrong");
    Binary frame, plain;
    ASSERT_TRUE(des.EndesExact("secret text", 11, frame));
    EXPECT_EQ(-1, other.DedesEx(frame.Data(), plain, frame.Size()));
    EXPECT_FALSE(other.DedesExact(frame.Data(), plain, frame.Size()));

    Binary altered;
    altered.Set(frame.Data(), frame.Size());
    altered.Get()[9] ^= 0x10;
    EXPECT_EQ(-1, des.DedesEx(altered.Data(), plain, altered.Size()));

    unsigned char header[24] = {12, 0, 0, 0};  // not a multiple of 8
    EXPECT_EQ(-1, des.DedesEx(header, plain, sizeof header));
    header[0] = 16;  // more than the frame holds
    EXPECT_EQ(-1, des.DedesEx(header, plain, 12));
    header[0] = 0;
    header[3] = 0x80;  // negative
    EXPECT_EQ(-1, des.DedesEx(header, plain, sizeof header));
    EXPECT_EQ(-1, des.DedesEx(frame.Data(), plain, 3));

    ReportCapture capture;
    EXPECT_EQ(-1, des.DedesEx(nullptr, plain));
    EXPECT_EQ(-1, des.DedesEx(frame.Data(), plain, 0));
    EXPECT_FALSE(des.EndesExact(nullptr, 3, frame));
    EXPECT_FALSE(des.EndesEx("x", -1, frame));
    EXPECT_EQ(3, capture.Count());
}

}  // namespace
