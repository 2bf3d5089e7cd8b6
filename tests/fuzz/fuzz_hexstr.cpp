// HexStrToBin on any text, counted and terminated, narrow and wide: it accepts
// exactly what BinToHexStr writes, and gives back the bytes that write it.
#include <cstdint>
#include <string>
#include <tuple>

#include "fuzz_support.h"
#include "hexstr.h"

namespace {

bool IsHexDigit(uint8_t c) {
    return (c >= '0' && c <= '9') || (c >= 'A' && c <= 'F');
}

template <class T>
std::tuple<bool, std::string> Run(const uint8_t* data, size_t size, bool terminated) {
    ExactText<T> text = CopyText<T>(data, size, terminated);
    Binary bin;
    const bool ok = HexStrToBin(text.get(), bin, terminated ? -1 : text.len);
    if (!ok) {
        if (!bin.IsEmpty()) FuzzFinding("refused text left data behind");
        return std::make_tuple(false, std::string());
    }
    std::basic_string<T> again;
    BinToHexStr(bin.Data(), bin.Size(), again);
    if (again != std::basic_string<T>(text.get(), text.len)) FuzzFinding("round trip");
    return std::make_tuple(true, std::string(bin.Data(), bin.Data() + bin.Size()));
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    bool valid = size > 0 && size % 2 == 0;
    for (size_t k = 0; k < size; ++k) valid = valid && IsHexDigit(data[k]);
    // A terminated text ends at its first zero.
    size_t terminatedLen = 0;
    while (terminatedLen < size && data[terminatedLen]) ++terminatedLen;
    for (bool terminated : {false, true}) {
        const size_t len = terminated ? terminatedLen : size;
        bool accepted = false;
        ExpectNarrowAndWideAgree([&](auto unit) {
            const auto out = Run<decltype(unit)>(data, len, terminated);
            accepted = std::get<0>(out);
            return out;
        });
        if (!terminated && accepted != valid) FuzzFinding("accepted the wrong texts");
    }
    return 0;
}
