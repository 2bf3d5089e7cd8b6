// The DES frame reader on any frame under any key: no read past the frame, and an
// accepted frame is as long as it says. Every input is also enciphered as data and
// read back. Input: a key length byte (0-15), the key, then the frame.
#include <cstdint>
#include <cstring>

#include "des.h"
#include "fuzz_support.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    if (size < 1) return 0;
    const size_t keyLen = data[0] & 15;
    if (size < 1 + keyLen) return 0;
    Des des(reinterpret_cast<const char*>(data + 1), static_cast<int>(keyLen));
    ExactText<unsigned char> frame =
        CopyText<unsigned char>(data + 1 + keyLen, size - 1 - keyLen, false);

    if (frame.len > 0) {
        // An inner length past the block, after a sum that agreed, is reported.
        ExpectedReports expected{"(false)"};
        Binary plain, exact;
        const int len = des.DedesEx(frame.get(), plain, frame.len);
        if (len != -1) {
            if (len < 4 || len + 4 > frame.len - 4 || plain.Size() != len + 4 || len % 8 != 4)
                FuzzFinding("accepted frame length");
            for (int k = 0; k < 4; ++k)
                if (plain.Data()[len + k] != 0) FuzzFinding("sum not cleared");
        }
        if (des.DedesExact(frame.get(), exact, frame.len) && (len == -1 || exact.Size() > len - 4))
            FuzzFinding("exact length past the block");
    }

    Binary sealed, opened;
    if (!des.EndesExact(frame.get(), frame.len, sealed) ||
        !des.DedesExact(sealed.Data(), opened, sealed.Size()) || opened.Size() != frame.len ||
        (frame.len && memcmp(opened.Data(), frame.get(), static_cast<size_t>(frame.len)) != 0))
        FuzzFinding("round trip");
    return 0;
}
