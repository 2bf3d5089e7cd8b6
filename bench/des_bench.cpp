// DES-ECB throughput: ours against OpenSSL's (legacy provider), the same key and
// 64 KiB of data, enciphering in place.
#include <benchmark/benchmark.h>
#include <openssl/evp.h>
#include <openssl/provider.h>

#include <random>
#include <vector>

#include "des.h"

namespace {

constexpr int kBytes = 64 * 1024;
const unsigned char kKey[8] = {0x13, 0x34, 0x57, 0x79, 0x9B, 0xBC, 0xDF, 0xF1};

std::vector<unsigned char> Data() {
    std::mt19937 rng(7);
    std::vector<unsigned char> v(kBytes);
    for (auto& b : v) b = static_cast<unsigned char>(rng());
    return v;
}

void BM_DesEcbOurs(benchmark::State& state) {
    std::vector<unsigned char> data = Data();
    Des des(reinterpret_cast<const char*>(kKey), 8);
    for (auto _ : state) {
        des.Endes(data.data(), data.data(), kBytes);
        benchmark::ClobberMemory();
    }
    state.SetBytesProcessed(state.iterations() * int64_t(kBytes));
}
BENCHMARK(BM_DesEcbOurs);

void BM_DesEcbOpenSsl(benchmark::State& state) {
    OSSL_PROVIDER* legacy = OSSL_PROVIDER_load(nullptr, "legacy");
    OSSL_PROVIDER* base = OSSL_PROVIDER_load(nullptr, "default");
    EVP_CIPHER* cipher = EVP_CIPHER_fetch(nullptr, "DES-ECB", nullptr);
    EVP_CIPHER_CTX* ctx = EVP_CIPHER_CTX_new();
    if (!cipher || !ctx || !EVP_EncryptInit_ex(ctx, cipher, nullptr, kKey, nullptr)) {
        state.SkipWithError("DES-ECB is not available");
    } else {
        EVP_CIPHER_CTX_set_padding(ctx, 0);
        std::vector<unsigned char> data = Data();
        for (auto _ : state) {
            int n = 0;
            EVP_EncryptUpdate(ctx, data.data(), &n, data.data(), kBytes);
            benchmark::ClobberMemory();
        }
        state.SetBytesProcessed(state.iterations() * int64_t(kBytes));
    }
    EVP_CIPHER_CTX_free(ctx);
    EVP_CIPHER_free(cipher);
    OSSL_PROVIDER_unload(base);
    OSSL_PROVIDER_unload(legacy);
}
BENCHMARK(BM_DesEcbOpenSsl);

}  // namespace

BENCHMARK_MAIN();
