// Box filters, 3x3 dilation and erosion and the global threshold: reference,
// vector variant and, when available, OpenCV single-threaded with the same
// border treatment.
#include <benchmark/benchmark.h>

#include "ombrixBenchSupport.h"
#include "ombrixKernels.h"

namespace {

using ombrix_bench::Image;

constexpr uint32_t kThreshold = 100;

// Times `filter(src, dst)` on a state.range(0) x state.range(1) u8 image.
template <typename Filter>
void timeFilter(benchmark::State& state, Filter filter) {
    Image<uint8_t> src(state.range(0), state.range(1)), dst(state.range(0), state.range(1));
    for (auto _ : state) {
        filter(src, dst);
        benchmark::ClobberMemory();
    }
    ombrix_bench::setImageCounters(state, 1);
}

template <obxNeighbourhoodu8_fn* Filter>
void BM_Neighbourhood(benchmark::State& state) {
    timeFilter(state, [](Image<uint8_t>& src, Image<uint8_t>& dst) {
        Filter(src.data(), src.width, src.height, src.strideBytes(), dst.data(), dst.strideBytes());
    });
}

template <obxFilterThresholdu8_v2_fn* Threshold>
void BM_Threshold(benchmark::State& state) {
    timeFilter(state, [](Image<uint8_t>& src, Image<uint8_t>& dst) {
        Threshold(src.data(), src.width, src.height, src.strideBytes(), dst.data(), dst.strideBytes(), kThreshold);
    });
}

#define OMBRIX_BENCH_PAIR(operation, kind, reference, vector)                                                   \
    BENCHMARK_TEMPLATE(kind, reference)->Name(#operation "/reference")->Apply(ombrix_bench::imageSizes); \
    BENCHMARK_TEMPLATE(kind, vector)->Name(#operation "/vector")->Apply(ombrix_bench::imageSizes)

OMBRIX_BENCH_PAIR(obxBoxFilter3x3u8, BM_Neighbourhood, obxBoxFilter3x3u8C, obxBoxFilter3x3u8V);
OMBRIX_BENCH_PAIR(obxBoxFilter5x5u8, BM_Neighbourhood, obxBoxFilter5x5u8C, obxBoxFilter5x5u8V);
OMBRIX_BENCH_PAIR(obxBoxFilter11x11u8, BM_Neighbourhood, obxBoxFilter11x11u8C, obxBoxFilter11x11u8V);
OMBRIX_BENCH_PAIR(obxFilterDilate3x3u8_v2, BM_Neighbourhood, obxFilterDilate3x3u8C, obxFilterDilate3x3u8V);
OMBRIX_BENCH_PAIR(obxFilterErode3x3u8_v2, BM_Neighbourhood, obxFilterErode3x3u8C, obxFilterErode3x3u8V);
OMBRIX_BENCH_PAIR(obxFilterThresholdu8_v2, BM_Threshold, obxFilterThresholdu8C, obxFilterThresholdu8V);

#ifdef OMBRIX_HAVE_OPENCV
// Times `filter(in, out)` on cv::Mat headers over the benchmark images.
template <typename Filter>
void timeOpenCv(benchmark::State& state, Filter filter) {
    timeFilter(state, [&](Image<uint8_t>& src, Image<uint8_t>& dst) {
        const cv::Mat in = ombrix_bench::asMat(src, CV_8UC1);
        cv::Mat out = ombrix_bench::asMat(dst, CV_8UC1);
        filter(in, out);
    });
}

// Normalised box filter with zero padding, like ours (rounding aside).
template <int KernelSize>
void BM_OpenCvBox(benchmark::State& state) {
    timeOpenCv(state, [](const cv::Mat& in, cv::Mat& out) {
        cv::boxFilter(in, out, -1, cv::Size(KernelSize, KernelSize), cv::Point(-1, -1), true, cv::BORDER_CONSTANT);
    });
}
BENCHMARK_TEMPLATE(BM_OpenCvBox, 3)->Name("obxBoxFilter3x3u8/opencv")->Apply(ombrix_bench::imageSizes);
BENCHMARK_TEMPLATE(BM_OpenCvBox, 5)->Name("obxBoxFilter5x5u8/opencv")->Apply(ombrix_bench::imageSizes);
BENCHMARK_TEMPLATE(BM_OpenCvBox, 11)->Name("obxBoxFilter11x11u8/opencv")->Apply(ombrix_bench::imageSizes);

// 3x3 rectangle; the default border value ignores pixels outside the image,
// as ours does.
void BM_OpenCvDilate(benchmark::State& state) {
    const cv::Mat kernel = cv::getStructuringElement(cv::MORPH_RECT, cv::Size(3, 3));
    timeOpenCv(state, [&](const cv::Mat& in, cv::Mat& out) { cv::dilate(in, out, kernel); });
}
void BM_OpenCvErode(benchmark::State& state) {
    const cv::Mat kernel = cv::getStructuringElement(cv::MORPH_RECT, cv::Size(3, 3));
    timeOpenCv(state, [&](const cv::Mat& in, cv::Mat& out) { cv::erode(in, out, kernel); });
}
BENCHMARK(BM_OpenCvDilate)->Name("obxFilterDilate3x3u8_v2/opencv")->Apply(ombrix_bench::imageSizes);
BENCHMARK(BM_OpenCvErode)->Name("obxFilterErode3x3u8_v2/opencv")->Apply(ombrix_bench::imageSizes);

// THRESH_BINARY writes 255 where pixel > thresh: thresh - 1 gives our ">= threshold".
void BM_OpenCvThreshold(benchmark::State& state) {
    timeOpenCv(state, [](const cv::Mat& in, cv::Mat& out) {
        cv::threshold(in, out, kThreshold - 1, 255, cv::THRESH_BINARY);
    });
}
BENCHMARK(BM_OpenCvThreshold)->Name("obxFilterThresholdu8_v2/opencv")->Apply(ombrix_bench::imageSizes);
#endif

}  // namespace

OMBRIX_BENCH_COPY_ROW();

BENCHMARK_MAIN();
