// SplitStrByCallback, narrow and wide: every piece lies inside the text, in order and
// without overlap, and in mode 1 the pieces put together give the text back.
// Input: a control byte (bits 0-1 mode, bit 2 ignore case, bit 3 slash equal, bit 4
// whole word), the separator of separators (0: one separator), the separators up to a
// zero byte, then the text.
#include <cstdint>
#include <vector>

#include "fuzz_support.h"
#include "strdk_split.h"

namespace {

template <class T>
struct Pieces {
    const T* text;
    int len;
    int next = 0;  // where the next piece may start
    std::vector<int> spans;
};

template <class T>
bool Take(void* param, const T* piece, int len, int isSeparator) {
    auto* p = static_cast<Pieces<T>*>(param);
    const long offset = piece - p->text;
    if (len < 0 || offset < p->next || offset + len > p->len) FuzzFinding("piece out of order");
    if (isSeparator && len == 0) FuzzFinding("empty separator piece");
    p->next = static_cast<int>(offset + len);
    p->spans.push_back(static_cast<int>(offset));
    p->spans.push_back(len);
    p->spans.push_back(isSeparator);
    return true;
}

template <class T>
std::vector<int> Run(Bytes seps, Bytes text, uint8_t sepOfSeps, int mode, int flags) {
    const ExactText<T> s = CopyText<T>(seps, false);
    const ExactText<T> t = CopyText<T>(text, false);
    Pieces<T> pieces{t.get(), t.len, 0, {}};
    SplitStrByCallback<T>(Take<T>, &pieces, t.get(), s.get(), static_cast<T>(sepOfSeps), t.len,
                          s.len, mode, flags);
    if (mode == 1) {
        // Separators stay with their pieces, so the pieces cover the text.
        int covered = 0;
        for (size_t k = 0; k < pieces.spans.size(); k += 3) {
            if (pieces.spans[k] != covered) FuzzFinding("mode 1 leaves a gap");
            covered += pieces.spans[k + 1];
        }
        if (covered != t.len) FuzzFinding("mode 1 loses the end");
    }
    return pieces.spans;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    FuzzInput in(data, size);
    const int control = in.Byte();
    const uint8_t sepOfSeps = in.Byte();
    const Bytes seps = in.Piece(), text = in.Piece();
    // Only valid arguments: a mode of 0-2 and at least one non-empty separator.
    const int mode = (control & 3) % 3;
    const int flags = ((control & 4) ? msf_ignore_case : 0) |
                      ((control & 8) ? msf_slash_equal : 0) | ((control & 16) ? msf_whole_word : 0);
    bool anySeparator = false;
    for (size_t k = 0; k < seps.size; ++k) anySeparator |= seps.data[k] != sepOfSeps || !sepOfSeps;
    if (!anySeparator) return 0;
    ExpectNarrowAndWideAgree(
        [&](auto unit) { return Run<decltype(unit)>(seps, text, sepOfSeps, mode, flags); });
    return 0;
}
