// MatchingString and the list forms, narrow and wide, with exact-size texts and a
// range array of exactly one record per wildcard character of the pattern.
// Input: two flag bytes, the pattern up to a zero byte, then the text.
#include <cstdint>
#include <tuple>
#include <vector>

#include "fuzz_support.h"
#include "strdk_match.h"

namespace {

// The answer, the records of a match, and the answers of the list forms.
typedef std::tuple<bool, std::vector<int>, bool, bool, bool> Outcome;

template <class T>
Outcome Run(Bytes pattern, Bytes str, int flags) {
    const ExactText<T> p = CopyText<T>(pattern, true);
    const ExactText<T> s = CopyText<T>(str, false);
    int wildcards = 0;
    for (int k = 0; k < p.len; ++k) {
        const T c = p.get()[k];
        wildcards += c == '*' || c == '?' || c == '#' || c == '$';
    }
    std::unique_ptr<WildcardRange[]> ranges(new WildcardRange[wildcards]);
    int count = -1;
    std::vector<int> matchedRanges;
    const bool matched = MatchingString(s.get(), p.get(), flags, s.len, ranges.get(), &count);
    if (count < 0 || count > wildcards) FuzzFinding("record count");
    for (int k = 0; k < count; ++k) {
        const WildcardRange r = ranges[k];
        if (r.offset < 0 || r.length < 0 || r.offset + r.length > s.len)
            FuzzFinding("record outside the text");
        if (matched) matchedRanges.insert(matchedRanges.end(), {r.offset, r.length});
    }
    if (matched != MatchingString(s.get(), p.get(), flags, s.len))
        FuzzFinding("records change the answer");
    return std::make_tuple(matched, matchedRanges,
                           MatchingMultiPatterns(s.get(), p.get(), 0, flags, s.len),
                           MatchingMultiPatterns(s.get(), p.get(), 1, flags, s.len),
                           MatchingFileNames(s.get(), p.get(), 0, flags, s.len));
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    FuzzInput in(data, size);
    const int flags = in.Byte() | (in.Byte() << 8);
    const Bytes pattern = in.Piece(), str = in.Piece();
    ExpectNarrowAndWideAgree([&](auto unit) { return Run<decltype(unit)>(pattern, str, flags); });
    return 0;
}
