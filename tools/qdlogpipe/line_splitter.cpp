#include "line_splitter.h"

#include <cstring>

namespace {

bool IsContinuation(unsigned char c) {
    return (c & 0xC0) == 0x80;
}

// Where to cut `length` bytes so that no UTF-8 sequence is torn: before the start
// of a sequence that the cut would split, unless that leaves nothing.
size_t CutPoint(const char* text, size_t length) {
    size_t cut = length;
    for (size_t back = 0; back < 3 && cut > 0 && IsContinuation(text[cut]); ++back) --cut;
    return cut > 0 ? cut : length;
}

}  // namespace

bool IsValidUtf8(const char* text, size_t length) {
    const auto* s = reinterpret_cast<const unsigned char*>(text);
    for (size_t i = 0; i < length;) {
        const unsigned char c = s[i];
        size_t n;
        unsigned min;
        unsigned value;
        if (c < 0x80) {
            ++i;
            continue;
        } else if ((c & 0xE0) == 0xC0) {
            n = 1, min = 0x80, value = c & 0x1F;
        } else if ((c & 0xF0) == 0xE0) {
            n = 2, min = 0x800, value = c & 0x0F;
        } else if ((c & 0xF8) == 0xF0) {
            n = 3, min = 0x10000, value = c & 0x07;
        } else {
            return false;
        }
        if (length - i <= n) return false;
        for (size_t k = 1; k <= n; ++k) {
            if (!IsContinuation(s[i + k])) return false;
            value = value << 6 | (s[i + k] & 0x3F);
        }
        if (value < min || value > 0x10FFFF || (value >= 0xD800 && value <= 0xDFFF)) return false;
        i += n + 1;
    }
    return true;
}

void LineSplitter::Feed(const char* data, size_t length) {
    while (length > 0) {
        const char* end = static_cast<const char*>(memchr(data, '\n', length));
        const size_t take = end ? static_cast<size_t>(end - data) : length;
        if (pending_.empty() && end && take <= kPieceBytes) {
            Emit(data, take);  // the common case: a whole line, no copy
        } else {
            pending_.append(data, take);
            EmitPieces(end != nullptr);
        }
        if (!end) return;
        data += take + 1;
        length -= take + 1;
    }
}

void LineSplitter::Finish() {
    if (!pending_.empty()) EmitPieces(true);
}

// Hands on full pieces of the pending text; with `final`, the rest as well.
void LineSplitter::EmitPieces(bool final) {
    size_t done = 0;
    while (pending_.size() - done > kPieceBytes) {
        const size_t cut = CutPoint(pending_.data() + done, kPieceBytes);
        Emit(pending_.data() + done, cut);
        done += cut;
        splitLongLine_ = true;
    }
    if (final) {
        Emit(pending_.data() + done, pending_.size() - done);
        done = pending_.size();
    }
    pending_.erase(0, done);
}

void LineSplitter::Emit(const char* text, size_t length) {
    if (!sawInvalidUtf8_ && !IsValidUtf8(text, length)) sawInvalidUtf8_ = true;
    if (length == 0) {
        sink_(" ", 1);
        return;
    }
    if (!memchr(text, 0, length)) {
        sink_(text, length);
        return;
    }
    sawNul_ = true;
    shown_.clear();
    for (size_t i = 0; i < length; ++i) {
        if (text[i])
            shown_ += text[i];
        else
            shown_ += "\xE2\x90\x80";
    }
    sink_(shown_.data(), shown_.size());
}
