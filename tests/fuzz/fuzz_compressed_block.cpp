// UncompressBuffer on any block: no read past it, no block larger than its header
// says, and what it accepts is whole. Input: a byte for the extra room (0-15), then
// the block.
#include <cstdint>
#include <cstring>

#include "compressbuffer.h"
#include "fuzz_support.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    if (size < 1) return 0;
    const int extra = data[0] & 15;
    ExactText<unsigned char> block = CopyText<unsigned char>(data + 1, size - 1, false);
    uint32_t header = 0;
    if (block.len >= 4) memcpy(&header, block.get(), 4);
    const uint32_t claimed = header & 0x7FFFFFFFu;
    // Lengths up to the bound are allocated as claimed, by design; past a few MiB
    // that is only slow.
    if (claimed > (4u << 20) && claimed <= 0x40000000u) return 0;

    // A short block, a stored block whose size disagrees, a stream shorter than its
    // header: refusals that are reported.
    ExpectedReports expected{"(false)", "(in_len == out_len+((const int)sizeof(INT32)))"};
    Binary out;
    if (!UncompressBuffer(block.get(), block.len, out, extra)) {
        if (!out.IsEmpty()) FuzzFinding("refused block left data behind");
        return 0;
    }
    if (out.Size() != static_cast<int>(claimed) + extra) FuzzFinding("length differs from header");
    for (int k = 0; k < extra; ++k)
        if (out.Data()[claimed + k] != 0) FuzzFinding("extra bytes not zero");
    if (!(header & 0x80000000u) && claimed && memcmp(out.Data(), block.get() + 4, claimed) != 0)
        FuzzFinding("stored bytes changed");

    Binary again, back;
    if (!CompressBuffer(out.Data(), static_cast<int>(claimed), again, 1) ||
        !UncompressBuffer(again.Data(), again.Size(), back, 0) ||
        back.Size() != static_cast<int>(claimed) ||
        (claimed && memcmp(back.Data(), out.Data(), claimed) != 0))
        FuzzFinding("round trip");
    return 0;
}
