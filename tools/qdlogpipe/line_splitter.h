// Cuts a byte stream into the lines that qdlogpipe logs, one event each.
//
// A line ends at LF, which is not part of it. A line longer than kPieceBytes is
// handed on in pieces of at most that size, cut before a UTF-8 sequence rather
// than inside one, so nothing is lost and memory stays bounded:
//   "ab\ncd"           -> "ab", and "cd" at Finish()
//   "a\0b\n"           -> "a\xE2\x90\x80" "b" (NUL shown as U+2400; the library's
//                         texts end at NUL)
//   ""  "\n"           -> " " (the library drops an empty text)
#pragma once

#include <cstddef>
#include <functional>
#include <string>

class LineSplitter {
public:
    static constexpr size_t kPieceBytes = 65536;
    using Sink = std::function<void(const char* text, size_t length)>;

    explicit LineSplitter(Sink sink) : sink_(std::move(sink)) {}

    void Feed(const char* data, size_t length);
    // The last line, when the stream does not end in LF.
    void Finish();

    // What had to be done to the input, for the notes on standard error.
    bool sawNul() const { return sawNul_; }
    bool sawInvalidUtf8() const { return sawInvalidUtf8_; }
    bool splitLongLine() const { return splitLongLine_; }

private:
    void Emit(const char* text, size_t length);
    void EmitPieces(bool final);

    Sink sink_;
    std::string pending_;
    std::string shown_;
    bool sawNul_ = false;
    bool sawInvalidUtf8_ = false;
    bool splitLongLine_ = false;
};

// Whether the bytes are valid UTF-8 (no overlong forms, surrogates or values
// beyond U+10FFFF).
bool IsValidUtf8(const char* text, size_t length);
