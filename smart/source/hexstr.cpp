// Hexadecimal forms of binary data, narrow and wide in one template.
#include "hexstr.h"

#include "ptrstr.h"
#include "qdr/qdassert.h"

namespace {

const char kDigits[] = "0123456789ABCDEF";

// -1 for anything but 0-9 and A-F.
template <class CHAR>
int DigitValue(CHAR c) {
    if (c >= '0' && c <= '9') return c - '0';
    if (c >= 'A' && c <= 'F') return c - 'A' + 10;
    return -1;
}

}  // namespace

template <class CHAR>
void BinToHexStr(const void* bin, int len, CHAR* hexStr) {
    QDR_CHECK_OR_RETURN(((bin && len > 0) || len == 0) && hexStr);
    const unsigned char* p = static_cast<const unsigned char*>(bin);
    for (int i = 0; i < len; ++i) {
        hexStr[2 * i] = static_cast<CHAR>(kDigits[p[i] >> 4]);
        hexStr[2 * i + 1] = static_cast<CHAR>(kDigits[p[i] & 0xF]);
    }
    hexStr[2 * len] = 0;
}

template <class CHAR>
void BinToHexStr(const void* bin, int len, std::basic_string<CHAR>& hexStr) {
    QDR_CHECK_OR_RETURN((bin && len > 0) || len == 0);
    hexStr.resize(2 * static_cast<size_t>(len));
    BinToHexStr(bin, len, &hexStr[0]);
}

template <class CHAR>
bool HexStrToBin(const CHAR* text, Binary& bin, int len) {
    if (!text) {
        bin.Clear();
        QDR_CHECK(false);
        return false;
    }
    if (len < 0) len = TextLength(text);
    if (len == 0 || len % 2 != 0 || !bin.SetLength(len / 2, false)) {
        bin.Clear();
        return false;
    }
    unsigned char* out = bin.Get();
    for (int i = 0; i < len; i += 2) {
        const int high = DigitValue(text[i]);
        const int low = DigitValue(text[i + 1]);
        if (high < 0 || low < 0) {
            bin.Clear();
            return false;
        }
        out[i / 2] = static_cast<unsigned char>(high << 4 | low);
    }
    return true;
}

#define QD_HEXSTR(CHAR)                                                          \
    template void BinToHexStr<CHAR>(const void*, int, CHAR*);                    \
    template void BinToHexStr<CHAR>(const void*, int, std::basic_string<CHAR>&); \
    template bool HexStrToBin<CHAR>(const CHAR*, Binary&, int);

QD_HEXSTR(char)
QD_HEXSTR(char16_t)
