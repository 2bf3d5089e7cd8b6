// UnescapeStr on counted, unterminated text, loose and strict, narrow and wide.
// Input: a mode byte (bit 0 only in quotes, bit 1 strict), then the text.
#include <cstdint>
#include <initializer_list>
#include <tuple>

#include "fuzz_support.h"
#include "strdk.h"

namespace {

template <class T>
std::tuple<bool, int, int> Run(const uint8_t* data, size_t size, bool onlyInQuotes, bool strict) {
    ExactText<T> text = CopyText<T>(data, size, false);
    int len = text.len, errorPos = -1;
    T* result = UnescapeStr(text.get(), &len, onlyInQuotes, strict ? &errorPos : nullptr);
    if (result == nullptr) {
        if (!strict || errorPos < 0 || errorPos >= text.len || len != text.len)
            FuzzFinding("refusal without a position");
        for (int k = 0; k < text.len; ++k)
            if (text.get()[k] != static_cast<T>(data[k])) FuzzFinding("refused text changed");
    } else if (len < 0 || len > text.len || result != text.get()) {
        FuzzFinding("decoded length");
    }
    return std::make_tuple(result == nullptr, len, errorPos);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    const int mode = size ? data[0] : 0;
    const uint8_t* text = size ? data + 1 : data;
    const size_t textSize = size ? size - 1 : 0;
    for (bool strict : {false, true}) {
        ExpectNarrowAndWideAgree(
            [&](auto unit) { return Run<decltype(unit)>(text, textSize, mode & 1, strict); });
    }
    return 0;
}
