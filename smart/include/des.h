// Des: the DES block cipher in electronic code book mode, table-driven (a block is
// a chain of table loads, no bit-by-bit work), with a small frame around it:
//   [cipherLen, 4 bytes LE][ciphertext of: data, zero padding, 32-bit byte sum LE]
// cipherLen = ((len + 4 + 7) / 8) * 8, so len 0 -> 8, 4 -> 8, 5 -> 16.
// The sum lets a reader tell a wrong key from the right one.
//
// Any key text is folded to the cipher's 8 bytes: byte i is added (mod 256) to key
// byte i % 8, so "12345678" stays itself and a 9th byte changes byte 0.
// The context (24672 bytes of tables) is allocated per object; an object belongs
// to one thread.
#pragma once

#include <cstdint>
#include <string>

#include "binary.h"

struct DesContext;

class Des {
public:
    // A null key is the empty text; keyLen -1 measures a terminated key.
    explicit Des(const char* key = nullptr, int keyLen = -1);
    ~Des();
    Des(const Des&) = delete;
    Des& operator=(const Des&) = delete;

    // Key bytes; keyLen -1 measures `key` as a terminated narrow text.
    void SetKey(const void* key, int keyLen);

    // `len` a multiple of 8; `out` may be `data`.
    void Endes(const unsigned char* data, unsigned char* out, int len) const;
    void Dedes(const unsigned char* data, unsigned char* out, int len) const;

    // The frame of `len` bytes of data into `out`; false for a negative length.
    bool EndesEx(const void* data, int len, Binary& out) const;
    // The plain block of a frame into `out` (its last four bytes cleared); the
    // result is cipherLen - 4, padding included, or -1 for a frame that is
    // malformed, longer than `frameLen` (when given) or fails its sum.
    int DedesEx(const void* frame, Binary& out, int frameLen = -1) const;
    // The frame of [len, 4 bytes LE][data], so that the reader gets `len` back.
    bool EndesExact(const void* data, int len, Binary& out) const;
    bool DedesExact(const void* frame, Binary& out, int frameLen = -1) const;

private:
    void Run(const unsigned char* data, unsigned char* out, int len, bool decipher) const;

    DesContext* ctx_;
};

// The frame of `str` (`len` units, -1: terminated) under `key`, as upper-case
// hexadecimal, header included; a wide text is enciphered as its bytes.
template <class CHAR>
std::basic_string<CHAR>& EncryptStr(std::basic_string<CHAR>& out, const CHAR* key, const CHAR* str,
                                    int len = -1);
// The text of a hexadecimal frame, up to its first zero unit. A wrong key is not
// told apart here: the text is then whatever the deciphered block begins with.
template <class CHAR>
std::basic_string<CHAR>& DecryptStr(std::basic_string<CHAR>& out, const CHAR* key, const CHAR* str);
