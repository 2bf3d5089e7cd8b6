// Code page 936 conversion throughput, both ways: ours against glibc's iconv CP936
// on the same text (Chinese with some ASCII, 1 MiB of UTF-16).
#include <benchmark/benchmark.h>
#include <iconv.h>

#include <random>
#include <string>

#include "chartransform.h"

namespace {

// Characters of the GB2312 area (common Chinese) with a space or digit now and then.
const std::u16string& WideText() {
    static const std::u16string text = [] {
        std::mt19937 rng(11);
        std::u16string t;
        while (t.size() < 512 * 1024) {
            const unsigned char gb[2] = {static_cast<unsigned char>(0xB0 + rng() % 40),
                                         static_cast<unsigned char>(0xA1 + rng() % 94)};
            char16_t u = 0;
            if (Gb2312CharToUnicode(gb, 2, &u) == 2) t.push_back(u);
            if (rng() % 8 == 0) t.push_back(static_cast<char16_t>('0' + rng() % 10));
        }
        return t;
    }();
    return text;
}

const std::string& NarrowText() {
    static const std::string text = [] {
        std::string t(WideText().size() * 2 + 1, '\0');
        int len = static_cast<int>(t.size());
        UnicodeToGb2312(WideText().data(), static_cast<int>(WideText().size()), &t[0], &len);
        t.resize(len > 0 ? len : 0);
        return t;
    }();
    return text;
}

void BM_ToGbOurs(benchmark::State& state) {
    const std::u16string& in = WideText();
    std::string out(in.size() * 2 + 1, '\0');
    for (auto _ : state) {
        int len = static_cast<int>(out.size());
        benchmark::DoNotOptimize(
            UnicodeToGb2312(in.data(), static_cast<int>(in.size()), &out[0], &len));
    }
    state.SetBytesProcessed(state.iterations() * int64_t(in.size() * 2));
}
BENCHMARK(BM_ToGbOurs);

void BM_ToUnicodeOurs(benchmark::State& state) {
    const std::string& in = NarrowText();
    std::u16string out(in.size() + 1, u'\0');
    for (auto _ : state) {
        int len = static_cast<int>(out.size());
        benchmark::DoNotOptimize(
            Gb2312ToUnicode(in.data(), static_cast<int>(in.size()), &out[0], &len));
    }
    state.SetBytesProcessed(state.iterations() * int64_t(WideText().size() * 2));
}
BENCHMARK(BM_ToUnicodeOurs);

void RunIconv(benchmark::State& state, const char* to, const char* from, const char* in,
              size_t bytes) {
    iconv_t cd = iconv_open(to, from);
    std::string out(bytes * 2 + 16, '\0');
    for (auto _ : state) {
        iconv(cd, nullptr, nullptr, nullptr, nullptr);
        char* src = const_cast<char*>(in);
        char* dst = &out[0];
        size_t left = bytes, room = out.size();
        benchmark::DoNotOptimize(iconv(cd, &src, &left, &dst, &room));
    }
    iconv_close(cd);
    state.SetBytesProcessed(state.iterations() * int64_t(WideText().size() * 2));
}

void BM_ToGbIconv(benchmark::State& state) {
    RunIconv(state, "CP936", "UTF-16LE", reinterpret_cast<const char*>(WideText().data()),
             WideText().size() * 2);
}
BENCHMARK(BM_ToGbIconv);

void BM_ToUnicodeIconv(benchmark::State& state) {
    RunIconv(state, "UTF-16LE", "CP936", NarrowText().data(), NarrowText().size());
}
BENCHMARK(BM_ToUnicodeIconv);

}  // namespace

BENCHMARK_MAIN();
