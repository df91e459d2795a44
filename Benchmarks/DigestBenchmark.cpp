// The library's MD5 beside OpenSSL's, and the table checksum, over a block of a font's size. The
// last line is the ratio of the two digests' times, taken turn by turn in one run.
#include <benchmark/benchmark.h>
#include <openssl/evp.h>

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <memory>
#include <vector>

#include "Md5.h"
#include "SfntImage.h"

namespace {

std::vector<std::uint8_t> block(std::size_t size) {
    std::vector<std::uint8_t> bytes(size);
    std::uint32_t state = 1;
    for (std::uint8_t& byte : bytes) {
        state = state * 1664525 + 1013904223;
        byte = static_cast<std::uint8_t>(state >> 24);
    }
    return bytes;
}

void digestOwn(const std::vector<std::uint8_t>& bytes) {
    md5_state_t state;
    std::uint8_t digest[16];
    md5_init(&state);
    md5_append(&state, bytes.data(), bytes.size());
    md5_finish(&state, digest);
    benchmark::DoNotOptimize(digest);
}

void digestOpenSsl(const std::vector<std::uint8_t>& bytes) {
    unsigned char digest[16];
    EVP_Digest(bytes.data(), bytes.size(), digest, nullptr, EVP_md5(), nullptr);
    benchmark::DoNotOptimize(digest);
}

void setBytes(benchmark::State& state) {
    state.SetBytesProcessed(state.iterations() * state.range(0));
}

void OwnMd5(benchmark::State& state) {
    const auto bytes = block(static_cast<std::size_t>(state.range(0)));
    for (auto _ : state) {
        digestOwn(bytes);
    }
    setBytes(state);
}

void OpenSslMd5(benchmark::State& state) {
    const auto bytes = block(static_cast<std::size_t>(state.range(0)));
    for (auto _ : state) {
        digestOpenSsl(bytes);
    }
    setBytes(state);
}

void TableChecksum(benchmark::State& state) {
    auto bytes = block(static_cast<std::size_t>(state.range(0)));
    SfntImage image;
    image.refer(bytes.data(), bytes.size());
    for (auto _ : state) {
        benchmark::DoNotOptimize(image.checksum(0, static_cast<std::uint32_t>(bytes.size())));
    }
    setBytes(state);
}

BENCHMARK(OwnMd5)->Arg(64)->Arg(128 * 1024)->Arg(4 << 20);
BENCHMARK(OpenSslMd5)->Arg(64)->Arg(128 * 1024)->Arg(4 << 20);
BENCHMARK(TableChecksum)->Arg(128 * 1024)->Arg(4 << 20);

template <typename Work>
double seconds(const Work& work) {
    const auto start = std::chrono::steady_clock::now();
    work();
    return std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
}

void printRatio() {
    const auto bytes = block(4 << 20);
    std::vector<double> ratios;
    for (int i = 0; i < 21; ++i) {
        const double own = seconds([&] { digestOwn(bytes); });
        const double openSsl = seconds([&] { digestOpenSsl(bytes); });
        ratios.push_back(own / openSsl);
    }
    std::sort(ratios.begin(), ratios.end());
    std::printf("own MD5 / OpenSSL's MD5, time: min %.3f median %.3f max %.3f\n", ratios.front(),
                ratios[ratios.size() / 2], ratios.back());
}

}  // namespace

int main(int argc, char** argv) {
    benchmark::Initialize(&argc, argv);
    if (benchmark::ReportUnrecognizedArguments(argc, argv)) {
        return 2;
    }
    benchmark::RunSpecifiedBenchmarks();
    printRatio();
}
