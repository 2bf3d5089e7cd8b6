// DES against OpenSSL's DES-ECB (legacy provider), and the
// frame around it.
#include <openssl/evp.h>
#include <openssl/provider.h>

#include <cstring>
#include <random>
#include <string>

#include <gtest/gtest.h>

#include "des.h"
#include "hexstr.h"

namespace {

std::string Hex(const void* p, int len) {
    std::string s;
    return BinToHexStr(p, len, s), s;
}

std::string Encipher(const char* key, int keyLen, const char* hexBlock) {
    Binary block;
    EXPECT_TRUE(HexStrToBin(hexBlock, block));
    Des des(key, keyLen);
    des.Endes(block.Data(), block.Get(), 8);
    const std::string out = Hex(block.Data(), 8);
    des.Dedes(block.Data(), block.Get(), 8);
    EXPECT_EQ(hexBlock, Hex(block.Data(), 8));
    return out;
}

TEST(Des, KeysFoldBlocksAgreeWithOpenSslFramesRoundTripAndRefuse) {
    // A key text folds onto 8 bytes: a 9th byte adds to byte 0 ('1' + '1' = 'b').
    EXPECT_EQ(Encipher("b2345678", 8, "0102030405060708"),
              Encipher("123456781", 9, "0102030405060708"));
    EXPECT_EQ(Encipher("ab\0\0\0\0\0\0", 8, "0102030405060708"),
              Encipher("ab", -1, "0102030405060708"));

    OSSL_PROVIDER* legacy = OSSL_PROVIDER_load(nullptr, "legacy");
    EVP_CIPHER* cipher = EVP_CIPHER_fetch(nullptr, "DES-ECB", nullptr);
    EVP_CIPHER_CTX* ctx = EVP_CIPHER_CTX_new();
    ASSERT_TRUE(legacy && cipher && ctx);
    std::mt19937_64 rng(17);
    Des keyed;
    for (int i = 0; i < 10000; ++i) {
        const uint64_t words[2] = {rng(), rng()};
        const unsigned char* key = reinterpret_cast<const unsigned char*>(&words[0]);
        const unsigned char* plain = reinterpret_cast<const unsigned char*>(&words[1]);
        unsigned char ours[8], theirs[8];
        int n = 0;
        ASSERT_EQ(1, EVP_EncryptInit_ex(ctx, cipher, nullptr, key, nullptr));
        EVP_CIPHER_CTX_set_padding(ctx, 0);
        ASSERT_EQ(1, EVP_EncryptUpdate(ctx, theirs, &n, plain, 8));
        keyed.SetKey(key, 8);
        keyed.Endes(plain, ours, 8);
        ASSERT_EQ(Hex(theirs, 8), Hex(ours, 8)) << "block " << i;
        keyed.Dedes(ours, ours, 8);
        ASSERT_EQ(0, memcmp(plain, ours, 8)) << "block " << i;
    }
    EVP_CIPHER_CTX_free(ctx);
    EVP_CIPHER_free(cipher);
    OSSL_PROVIDER_unload(legacy);

    // The frame: layout byte for byte, round trips and refusals.
    // "abc": 61 62 63, padding 00, sum 0x126 as 26 01 00 00, enciphered under
    // "12345678" (openssl enc -des-ecb -K 3132333435363738 -nopad).
    Des des("12345678");
    Binary frame, plain;
    ASSERT_TRUE(des.EndesEx("abc", 3, frame));
    EXPECT_EQ("08000000C381CFB29AAA87F6", Hex(frame.Data(), frame.Size()));
    EXPECT_EQ(4, des.DedesEx(frame.Data(), plain, frame.Size()));
    EXPECT_EQ("6162630000000000", Hex(plain.Data(), plain.Size()));  // sum cleared
    std::string hex, text;
    EXPECT_EQ("08000000C381CFB29AAA87F6", EncryptStr(hex, "12345678", "abc"));
    EXPECT_EQ("abc", DecryptStr(text, "12345678", hex.c_str()));

    for (int len = 0; len < 20; ++len) {
        Binary exact;
        ASSERT_TRUE(des.EndesEx("0123456789abcdefghij", len, frame));
        EXPECT_EQ(4 + (len + 4 + 7) / 8 * 8, frame.Size()) << len;
        ASSERT_TRUE(des.EndesExact("0123456789abcdefghij", len, frame));
        ASSERT_TRUE(des.DedesExact(frame.Data(), exact, frame.Size()));
        EXPECT_EQ(std::string("0123456789abcdefghij", len),
                  std::string(exact.Data(), exact.Data() + exact.Size()));
    }
    std::u16string wideHex, wideText;
    EncryptStr(wideHex, u"钥匙", u"中文 text");
    EXPECT_EQ(2u * (4 + 24), wideHex.size());  // 9 units, 18 bytes + 4 -> 24
    EXPECT_EQ(u"中文 text", DecryptStr(wideText, u"钥匙", wideHex.c_str()));

    // A wrong key and malformed frames are refused.
    Des right("right"), other("wrong");
    Binary sealed, opened;
    ASSERT_TRUE(right.EndesExact("secret text", 11, sealed));
    EXPECT_EQ(-1, other.DedesEx(sealed.Data(), opened, sealed.Size()));
    EXPECT_FALSE(other.DedesExact(sealed.Data(), opened, sealed.Size()));
    sealed.Get()[9] ^= 0x10;
    EXPECT_EQ(-1, right.DedesEx(sealed.Data(), opened, sealed.Size()));

    unsigned char header[24] = {12};  // not a multiple of 8
    EXPECT_EQ(-1, right.DedesEx(header, opened, sizeof header));
    header[0] = 16;  // more than the frame holds
    EXPECT_EQ(-1, right.DedesEx(header, opened, 12));
    EXPECT_EQ(-1, right.DedesEx(header, opened, 3));
}

}  // namespace
