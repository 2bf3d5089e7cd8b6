// qdlogpipe's line splitter: what a byte stream becomes, however it is read.
#include "line_splitter.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <string>
#include <vector>

namespace {

using Lines = std::vector<std::string>;

// The lines of `input` read `chunk` bytes at a time; `split` tells whether a line
// had to be cut into pieces.
Lines Split(const std::string& input, size_t chunk, bool* split = nullptr) {
    Lines lines;
    LineSplitter splitter(
        [&lines](const char* text, size_t length) { lines.emplace_back(text, length); });
    for (size_t at = 0; at < input.size(); at += chunk)
        splitter.Feed(input.data() + at, std::min(chunk, input.size() - at));
    splitter.Finish();
    if (split) *split = splitter.splitLongLine();
    return lines;
}

TEST(LineSplitter, EveryLineComesThroughWhateverTheReads) {
    // clang-format off
    const struct { std::string input; Lines lines; } cases[] = {
        {"ab\ncd", {"ab", "cd"}}, {"ab\n", {"ab"}},
        {"\n\nx\n", {" ", " ", "x"}},  // the library would drop an empty text
        {"a\r\n", {"a\r"}},
        {std::string("a\0b\n", 4),
         {"a\xE2\x90\x80"
          "b"}},
        {"\xFF\xFE\n", {"\xFF\xFE"}},
    };
    // clang-format on
    for (const auto& c : cases)
        for (size_t chunk : {1, 2, 7, 4096}) EXPECT_EQ(c.lines, Split(c.input, chunk)) << chunk;
}

TEST(LineSplitter, ALongLineComesInPiecesThatNeverTearACharacter) {
    const size_t piece = LineSplitter::kPieceBytes;
    bool split = false;
    const Lines plain = Split(std::string(3 * piece + 5, 'x') + "\nend", 1000, &split);
    ASSERT_EQ(5u, plain.size());
    EXPECT_EQ(Lines({std::string(piece, 'x'), std::string(5, 'x'), "end"}),
              Lines({plain[0], plain[3], plain[4]}));
    EXPECT_TRUE(split);

    std::string chinese;
    while (chinese.size() < 2 * piece) chinese += "中";
    const Lines pieces = Split(chinese, 777);
    std::string joined;
    for (const std::string& p : pieces) {
        EXPECT_TRUE(IsValidUtf8(p.data(), p.size()));
        EXPECT_LE(p.size(), piece);
        joined += p;
    }
    EXPECT_EQ(chinese, joined);
}

}  // namespace
