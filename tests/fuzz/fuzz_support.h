// What the libFuzzer targets share: exact-size copies of the input, so that
// AddressSanitizer sees a read one unit past a counted text, and the rule that every
// argument a target builds is valid, so that any failed check is a finding.
#pragma once

#include <cstddef>
#include <cstdint>
#include <initializer_list>
#include <memory>

// A run of the input's bytes.
struct Bytes {
    const uint8_t* data;
    size_t size;
};

// A heap block of exactly `len` units (plus a terminator when asked for).
template <class T>
struct ExactText {
    std::unique_ptr<T[]> units;
    int len = 0;
    T* get() const { return units.get(); }
};

// Each byte becomes one unit, so narrow and wide runs see the same text.
template <class T>
ExactText<T> CopyText(const uint8_t* data, size_t size, bool terminate) {
    ExactText<T> text;
    text.units.reset(new T[size + (terminate ? 1 : 0)]);
    for (size_t k = 0; k < size; ++k) text.units[k] = static_cast<T>(data[k]);
    if (terminate) text.units[size] = 0;
    text.len = static_cast<int>(size);
    return text;
}
template <class T>
ExactText<T> CopyText(Bytes bytes, bool terminate) {
    return CopyText<T>(bytes.data, bytes.size, terminate);
}

// Reads the input front to back: single bytes, then pieces cut at a zero byte.
class FuzzInput {
public:
    FuzzInput(const uint8_t* data, size_t size) : p_(data), n_(size) {}
    uint8_t Byte() {
        if (!n_) return 0;
        --n_;
        return *p_++;
    }
    // The bytes up to the next zero (dropped) or the end.
    Bytes Piece() {
        size_t k = 0;
        while (k < n_ && p_[k]) ++k;
        const Bytes piece{p_, k};
        const size_t taken = k < n_ ? k + 1 : k;
        p_ += taken;
        n_ -= taken;
        return piece;
    }

private:
    const uint8_t* p_;
    size_t n_;
};

// Stops the run with the report of a check that should not have failed.
[[noreturn]] void FuzzFinding(const char* what);

// Runs `run` for narrow and wide text, `run(char())` and `run(char16_t())`, and stops
// when the twins disagree.
template <class RUN>
void ExpectNarrowAndWideAgree(RUN run) {
    if (run(char()) != run(char16_t())) FuzzFinding("narrow and wide differ");
}

// While one lives, a failed check whose expression is in `exprs` (as the report
// shows it, e.g. "(false)") is answered Ignore: a refusal that the design reports.
// Any other failed check still stops the run.
class ExpectedReports {
public:
    explicit ExpectedReports(std::initializer_list<const char*> exprs);
    ~ExpectedReports();
    ExpectedReports(const ExpectedReports&) = delete;
    ExpectedReports& operator=(const ExpectedReports&) = delete;

private:
    size_t previous_;
};
