// The string kit's search against the C library's memmem and std::string_view::find
// on 1 MiB of text, and the matcher over 100k file names.
#include <benchmark/benchmark.h>

#include <cstring>
#include <random>
#include <string>
#include <string_view>
#include <vector>

#include "strdk.h"
#include "strdk_match.h"

namespace {

constexpr int kTextBytes = 1 << 20;

// Words of random lower-case letters, so that first letters match often and the
// search has to look further; the needle stands once, at the very end.
std::string MakeText(const std::string& needle) {
    std::mt19937 rng(20240102);
    std::uniform_int_distribution<int> letter('a', 'z'), word(2, 9);
    std::string text;
    text.reserve(kTextBytes);
    while (text.size() < kTextBytes - needle.size()) {
        for (int n = word(rng); n > 0; --n) text.push_back(static_cast<char>(letter(rng)));
        text.push_back(' ');
    }
    text.resize(kTextBytes - needle.size());
    return text + needle;
}

std::string Needle(int length) {
    std::string needle;
    for (int k = 0; needle.size() < static_cast<size_t>(length); ++k)
        needle.push_back(static_cast<char>('a' + (k * 7) % 26));
    return needle;
}

const std::string& Text(int needleLength) {
    static std::string shortText = MakeText(Needle(8));
    static std::string longText = MakeText(Needle(256));
    return needleLength == 8 ? shortText : longText;
}

void BM_FindStrIndex(benchmark::State& state) {
    const std::string needle = Needle(static_cast<int>(state.range(0)));
    const std::string& text = Text(static_cast<int>(state.range(0)));
    const int flags = static_cast<int>(state.range(1));
    for (auto _ : state) {
        benchmark::DoNotOptimize(FindStrIndex(text.data(), needle.data(),
                                              static_cast<int>(text.size()),
                                              static_cast<int>(needle.size()), flags));
    }
    state.SetBytesProcessed(state.iterations() * static_cast<int64_t>(text.size()));
}
BENCHMARK(BM_FindStrIndex)
    ->ArgNames({"needle", "flags"})
    ->Args({8, 0})
    ->Args({256, 0})
    ->Args({8, msf_ignore_case})
    ->Args({256, msf_ignore_case});

void BM_FindStrIndexWide(benchmark::State& state) {
    const std::string& narrow = Text(8);
    const std::u16string text(narrow.begin(), narrow.end());
    const std::string needleNarrow = Needle(8);
    const std::u16string needle(needleNarrow.begin(), needleNarrow.end());
    for (auto _ : state) {
        benchmark::DoNotOptimize(
            FindStrIndex(text.data(), needle.data(), static_cast<int>(text.size()), 8));
    }
    state.SetBytesProcessed(state.iterations() * static_cast<int64_t>(narrow.size()));
}
BENCHMARK(BM_FindStrIndexWide);

void BM_Memmem(benchmark::State& state) {
    const std::string needle = Needle(static_cast<int>(state.range(0)));
    const std::string& text = Text(static_cast<int>(state.range(0)));
    for (auto _ : state)
        benchmark::DoNotOptimize(memmem(text.data(), text.size(), needle.data(), needle.size()));
    state.SetBytesProcessed(state.iterations() * static_cast<int64_t>(text.size()));
}
BENCHMARK(BM_Memmem)->ArgName("needle")->Arg(8)->Arg(256);

void BM_StringViewFind(benchmark::State& state) {
    const std::string needle = Needle(static_cast<int>(state.range(0)));
    const std::string_view text = Text(static_cast<int>(state.range(0)));
    for (auto _ : state) benchmark::DoNotOptimize(text.find(needle));
    state.SetBytesProcessed(state.iterations() * static_cast<int64_t>(text.size()));
}
BENCHMARK(BM_StringViewFind)->ArgName("needle")->Arg(8)->Arg(256);

// 100k names, a third of them valid log file names.
std::vector<std::string> MakeNames() {
    std::mt19937 rng(7);
    std::uniform_int_distribution<int> digit('0', '9'), kind(0, 2);
    std::vector<std::string> names;
    names.reserve(100000);
    for (int k = 0; k < 100000; ++k) {
        std::string digits;
        for (int d = 0; d < 14; ++d) digits.push_back(static_cast<char>(digit(rng)));
        switch (kind(rng)) {
            case 0:
                names.push_back("log" + digits + ".log");
                break;
            case 1:
                names.push_back("log" + digits.substr(0, 13) + "x.log");
                break;
            default:
                names.push_back("report_" + digits + ".txt");
                break;
        }
    }
    return names;
}

void BM_MatchingLogNames(benchmark::State& state) {
    static const std::vector<std::string> names = MakeNames();
    for (auto _ : state) {
        int matched = 0;
        for (const std::string& name : names)
            matched += MatchingString(name.c_str(), "log##############.log", 0,
                                      static_cast<int>(name.size()));
        benchmark::DoNotOptimize(matched);
    }
    state.SetItemsProcessed(state.iterations() * static_cast<int64_t>(names.size()));
}
BENCHMARK(BM_MatchingLogNames)->Unit(benchmark::kMillisecond);

}  // namespace

BENCHMARK_MAIN();
