// UnescapeStr on counted, unterminated text, loose and strict, narrow and wide.
// Input: a mode byte (bit 0 only in quotes, bit 1 strict), then the text.
#include <cstdint>
#include <initializer_list>

#include "fuzz_support.h"
#include "strdk.h"

namespace {

struct Outcome {
    bool refused;
    int len;
    int errorPos;
};

template <class T>
Outcome Run(const uint8_t* data, size_t size, bool onlyInQuotes, bool strict) {
    ExactText<T> text = CopyText<T>(data, size, false);
    int len = text.len, errorPos = -1;
    T* result = UnescapeStr(text.get(), &len, onlyInQuotes, strict ? &errorPos : nullptr);
    Outcome out{result == nullptr, len, errorPos};
    if (out.refused) {
        if (!strict || errorPos < 0 || errorPos >= text.len || len != text.len)
            FuzzFinding("refusal without a position");
        for (int k = 0; k < text.len; ++k)
            if (text.get()[k] != static_cast<T>(data[k])) FuzzFinding("refused text changed");
    } else if (len < 0 || len > text.len || result != text.get()) {
        FuzzFinding("decoded length");
    }
    return out;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    const int mode = size ? data[0] : 0;
    const uint8_t* text = size ? data + 1 : data;
    const size_t textSize = size ? size - 1 : 0;
    for (bool strict : {false, true}) {
        const Outcome narrow = Run<char>(text, textSize, mode & 1, strict);
        const Outcome wide = Run<char16_t>(text, textSize, mode & 1, strict);
        if (narrow.refused != wide.refused || narrow.len != wide.len ||
            narrow.errorPos != wide.errorPos)
            FuzzFinding("narrow and wide differ");
    }
    return 0;
}
