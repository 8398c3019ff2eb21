// Adaptive thresholds: reference, vector variant and OpenCV's adaptiveThreshold.
#include "ombrixBenchSupport.h"
#include "ombrixKernels.h"
#include "ombrixRuntime.h"

namespace {

using ombrix_bench::Image;

// The local average comes through the table, so each row runs on the table it
// would meet in use: the reference on the reference table, the vector variant
// on the vector table.
template <obxAdaptiveThresholdu8_fn* Threshold, bool VectorTable>
void BM_Ours(benchmark::State& state) {
    Image<uint8_t> src(state.range(0), state.range(1)), dst(state.range(0), state.range(1));
    if (VectorTable)
        obxTableInstallVectorVariants();
    else
        obxTableResetToReferences();
    for (auto _ : state) {
        Threshold(src.data(), src.width, src.height, src.strideBytes(), 255, 0, 2, dst.data(), dst.strideBytes());
        benchmark::ClobberMemory();
    }
    obxTableResetToReferences();
    ombrix_bench::setImageCounters(state, 1);
}

#define OMBRIX_BENCH_ADAPTIVE(form)                                                             \
    BENCHMARK_TEMPLATE(BM_Ours, obxAdaptiveThreshold##form##u8C, false)                              \
        ->Name("obxAdaptiveThreshold" #form "u8/reference")->Apply(ombrix_bench::imageSizes);   \
    BENCHMARK_TEMPLATE(BM_Ours, obxAdaptiveThreshold##form##u8V, true)                              \
        ->Name("obxAdaptiveThreshold" #form "u8/vector")->Apply(ombrix_bench::imageSizes)

OMBRIX_BENCH_ADAPTIVE(Gaussian3x3);
OMBRIX_BENCH_ADAPTIVE(Gaussian5x5);
OMBRIX_BENCH_ADAPTIVE(Gaussian11x11);
OMBRIX_BENCH_ADAPTIVE(Mean3x3);
OMBRIX_BENCH_ADAPTIVE(Mean5x5);
OMBRIX_BENCH_ADAPTIVE(Mean11x11);

#ifdef OMBRIX_HAVE_OPENCV
template <int Method, int BlockSize>
void BM_OpenCv(benchmark::State& state) {
    Image<uint8_t> src(state.range(0), state.range(1)), dst(state.range(0), state.range(1));
    cv::Mat in = ombrix_bench::asMat(src, CV_8UC1), out = ombrix_bench::asMat(dst, CV_8UC1);
    for (auto _ : state) {
        cv::adaptiveThreshold(in, out, 255, Method, cv::THRESH_BINARY, BlockSize, 2);
        benchmark::ClobberMemory();
    }
    ombrix_bench::setImageCounters(state, 1);
}

#define OMBRIX_BENCH_ADAPTIVE_OPENCV(form, method, size)                                     \
    BENCHMARK_TEMPLATE(BM_OpenCv, cv::method, size)                                          \
        ->Name("obxAdaptiveThreshold" #form "u8/opencv")->Apply(ombrix_bench::imageSizes)

OMBRIX_BENCH_ADAPTIVE_OPENCV(Gaussian3x3, ADAPTIVE_THRESH_GAUSSIAN_C, 3);
OMBRIX_BENCH_ADAPTIVE_OPENCV(Gaussian5x5, ADAPTIVE_THRESH_GAUSSIAN_C, 5);
OMBRIX_BENCH_ADAPTIVE_OPENCV(Gaussian11x11, ADAPTIVE_THRESH_GAUSSIAN_C, 11);
OMBRIX_BENCH_ADAPTIVE_OPENCV(Mean3x3, ADAPTIVE_THRESH_MEAN_C, 3);
OMBRIX_BENCH_ADAPTIVE_OPENCV(Mean5x5, ADAPTIVE_THRESH_MEAN_C, 5);
OMBRIX_BENCH_ADAPTIVE_OPENCV(Mean11x11, ADAPTIVE_THRESH_MEAN_C, 11);
#endif

OMBRIX_BENCH_COPY_ROW();

}  // namespace

BENCHMARK_MAIN();
