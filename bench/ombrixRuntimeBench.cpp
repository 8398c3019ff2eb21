// Runtime costs: a call through a slot against a direct call, and obxCopy's
// reference and vector variant against memcpy.
#include <benchmark/benchmark.h>
#include <string.h>

#include <vector>

#include "ombrixKernels.h"

namespace {

void BM_SlotCall(benchmark::State& state) {
    for (auto _ : state) benchmark::DoNotOptimize(probeZ9Time_());
}
BENCHMARK(BM_SlotCall);

void BM_DirectCall(benchmark::State& state) {
    // The reference lives in another translation unit, so this stays a plain call.
    for (auto _ : state) benchmark::DoNotOptimize(probeZ9TimeC());
}
BENCHMARK(BM_DirectCall);

template <void (*Copy)(uint8_t*, const uint8_t*, uint32_t)>
void BM_Copy(benchmark::State& state) {
    const size_t size = static_cast<size_t>(state.range(0));
    std::vector<uint8_t> src(size, 7), dst(size);
    for (auto _ : state) {
        Copy(dst.data(), src.data(), static_cast<uint32_t>(size));
        benchmark::ClobberMemory();
    }
    state.SetBytesProcessed(static_cast<int64_t>(state.iterations()) * static_cast<int64_t>(size));
}

void memcpyCopy(uint8_t* dst, const uint8_t* src, uint32_t size) { memcpy(dst, src, size); }

BENCHMARK_TEMPLATE(BM_Copy, obxCopyC)->Name("obxCopy/reference")->Arg(64)->Arg(4 << 10)->Arg(2 << 20);
BENCHMARK_TEMPLATE(BM_Copy, obxCopyV)->Name("obxCopy/vector")->Arg(64)->Arg(4 << 10)->Arg(2 << 20);
BENCHMARK_TEMPLATE(BM_Copy, memcpyCopy)->Name("obxCopy/memcpy")->Arg(64)->Arg(4 << 10)->Arg(2 << 20);

}  // namespace

BENCHMARK_MAIN();
