// MatchingString and the list forms, narrow and wide, with exact-size texts and a
// range array of exactly one record per wildcard character of the pattern.
// Input: two flag bytes, the pattern up to a zero byte, then the text.
#include <cstdint>
#include <vector>

#include "fuzz_support.h"
#include "strdk_match.h"

namespace {

struct Outcome {
    bool matched;
    std::vector<int> ranges;
    bool listAny, listAll, fileNames;
    bool operator!=(const Outcome& o) const {
        return matched != o.matched || ranges != o.ranges || listAny != o.listAny ||
               listAll != o.listAll || fileNames != o.fileNames;
    }
};

template <class T>
Outcome Run(const uint8_t* pattern, size_t patternSize, const uint8_t* str, size_t strSize,
            int flags) {
    const ExactText<T> p = CopyText<T>(pattern, patternSize, true);
    const ExactText<T> s = CopyText<T>(str, strSize, false);
    int wildcards = 0;
    for (int k = 0; k < p.len; ++k) {
        const T c = p.get()[k];
        wildcards += c == '*' || c == '?' || c == '#' || c == '$';
    }
    std::unique_ptr<WildcardRange[]> ranges(new WildcardRange[wildcards]);
    int count = -1;
    Outcome out;
    out.matched = MatchingString(s.get(), p.get(), flags, s.len, ranges.get(), &count);
    if (count < 0 || count > wildcards) FuzzFinding("record count");
    for (int k = 0; k < count; ++k) {
        const WildcardRange r = ranges[k];
        if (r.offset < 0 || r.length < 0 || r.offset + r.length > s.len)
            FuzzFinding("record outside the text");
        if (out.matched) {
            out.ranges.push_back(r.offset);
            out.ranges.push_back(r.length);
        }
    }
    if (out.matched != MatchingString(s.get(), p.get(), flags, s.len))
        FuzzFinding("records change the answer");
    out.listAny = MatchingMultiPatterns(s.get(), p.get(), 0, flags, s.len);
    out.listAll = MatchingMultiPatterns(s.get(), p.get(), 1, flags, s.len);
    out.fileNames = MatchingFileNames(s.get(), p.get(), 0, flags, s.len);
    return out;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    FuzzInput in(data, size);
    const int flags = in.Byte() | (in.Byte() << 8);
    const uint8_t *pattern, *str;
    size_t patternSize, strSize;
    in.Piece(&pattern, &patternSize);
    in.Piece(&str, &strSize);
    if (Run<char>(pattern, patternSize, str, strSize, flags) !=
        Run<char16_t>(pattern, patternSize, str, strSize, flags))
        FuzzFinding("narrow and wide differ");
    return 0;
}
