// Binomial smoothing and the 3x3 median: reference against vector variant,
// and OpenCV's single-threaded GaussianBlur / medianBlur of the same kernel
// size as the peer. Every Gaussian computes its border (blurBorder = 1).
#include "ombrixBenchSupport.h"
#include "ombrixKernels.h"

namespace {

using ombrix_bench::Image;
using ombrix_bench::setImageCounters;

template <typename T>
using BlurFn = void(const T*, uint32_t, uint32_t, uint32_t, T*, uint32_t, uint32_t);
using MedianFn = void(const uint8_t*, uint32_t, uint32_t, uint32_t, uint8_t*, uint32_t);

template <typename T, BlurFn<T>* Blur>
void BM_Blur(benchmark::State& state) {
    Image<T> src(state.range(0), state.range(1)), dst(state.range(0), state.range(1));
    for (auto _ : state) {
        Blur(src.data(), src.width, src.height, src.strideBytes(), dst.data(), dst.strideBytes(), 1);
        benchmark::ClobberMemory();
    }
    setImageCounters(state, sizeof(T));
}

template <MedianFn* Median>
void BM_Median(benchmark::State& state) {
    Image<uint8_t> src(state.range(0), state.range(1)), dst(state.range(0), state.range(1));
    for (auto _ : state) {
        Median(src.data(), src.width, src.height, src.strideBytes(), dst.data(), dst.strideBytes());
        benchmark::ClobberMemory();
    }
    setImageCounters(state, 1);
}

#define OMBRIX_BENCH_BLUR(op, T)                                                                          \
    BENCHMARK_TEMPLATE(BM_Blur, T, op##C)->Name(#op "_v2/reference")->Apply(ombrix_bench::imageSizes); \
    BENCHMARK_TEMPLATE(BM_Blur, T, op##V)->Name(#op "_v2/vector")->Apply(ombrix_bench::imageSizes)

OMBRIX_BENCH_BLUR(obxFilterGaussian3x3u8, uint8_t);
OMBRIX_BENCH_BLUR(obxFilterGaussian5x5u8, uint8_t);
OMBRIX_BENCH_BLUR(obxFilterGaussian11x11u8, uint8_t);
OMBRIX_BENCH_BLUR(obxFilterGaussian5x5s16, int16_t);
OMBRIX_BENCH_BLUR(obxFilterGaussian5x5s32, int32_t);
BENCHMARK_TEMPLATE(BM_Median, obxFilterMedian3x3u8C)
    ->Name("obxFilterMedian3x3u8_v2/reference")
    ->Apply(ombrix_bench::imageSizes);
BENCHMARK_TEMPLATE(BM_Median, obxFilterMedian3x3u8V)
    ->Name("obxFilterMedian3x3u8_v2/vector")
    ->Apply(ombrix_bench::imageSizes);

#ifdef OMBRIX_HAVE_OPENCV
// OpenCV 4 has no 32-bit integer Gaussian (its row filters reject CV_32S),
// so the s32 filter has no peer row.
template <typename T, int CvType, int KernelSize>
void BM_CvGaussian(benchmark::State& state) {
    Image<T> src(state.range(0), state.range(1)), dst(state.range(0), state.range(1));
    const cv::Mat in = ombrix_bench::asMat(src, CvType);
    cv::Mat out = ombrix_bench::asMat(dst, CvType);
    for (auto _ : state) {
        cv::GaussianBlur(in, out, cv::Size(KernelSize, KernelSize), 0, 0, cv::BORDER_REPLICATE);
        benchmark::ClobberMemory();
    }
    setImageCounters(state, sizeof(T));
}

void BM_CvMedian(benchmark::State& state) {
    Image<uint8_t> src(state.range(0), state.range(1)), dst(state.range(0), state.range(1));
    const cv::Mat in = ombrix_bench::asMat(src, CV_8U);
    cv::Mat out = ombrix_bench::asMat(dst, CV_8U);
    for (auto _ : state) {
        cv::medianBlur(in, out, 3);
        benchmark::ClobberMemory();
    }
    setImageCounters(state, 1);
}

BENCHMARK_TEMPLATE(BM_CvGaussian, uint8_t, CV_8U, 3)
    ->Name("obxFilterGaussian3x3u8_v2/opencv")
    ->Apply(ombrix_bench::imageSizes);
BENCHMARK_TEMPLATE(BM_CvGaussian, uint8_t, CV_8U, 5)
    ->Name("obxFilterGaussian5x5u8_v2/opencv")
    ->Apply(ombrix_bench::imageSizes);
BENCHMARK_TEMPLATE(BM_CvGaussian, uint8_t, CV_8U, 11)
    ->Name("obxFilterGaussian11x11u8_v2/opencv")
    ->Apply(ombrix_bench::imageSizes);
BENCHMARK_TEMPLATE(BM_CvGaussian, int16_t, CV_16S, 5)
    ->Name("obxFilterGaussian5x5s16_v2/opencv")
    ->Apply(ombrix_bench::imageSizes);
BENCHMARK(BM_CvMedian)->Name("obxFilterMedian3x3u8_v2/opencv")->Apply(ombrix_bench::imageSizes);
#endif

}  // namespace

OMBRIX_BENCH_COPY_ROW();

BENCHMARK_MAIN();
