// Integral images: reference against vector variant for the whole-image
// table, the general patch form over a whole image (a table of sums and one
// of squared sums) and the exclusive tables of a 4:2:0 frame. OpenCV's
// single-threaded integral is the peer of the first two: with a 32-bit sum
// table alone, and with the squared sums beside it (in doubles, the nearest
// depth it offers).
#include "ombrixBenchSupport.h"
#include "ombrixKernels.h"

namespace {

using ombrix_bench::Image;
using ombrix_bench::setImageCounters;

template <obxIntegrateImageu8_v2_fn* Integrate>
void BM_IntegrateImage(benchmark::State& state) {
    Image<uint8_t> src(state.range(0), state.range(1));
    Image<uint32_t> table(src.width + 1, src.height + 1);
    for (auto _ : state) {
        Integrate(src.data(), src.width, src.height, src.strideBytes(), table.data(), table.strideBytes());
        benchmark::ClobberMemory();
    }
    setImageCounters(state, 1);
}

// The whole image as one patch: packed tables of sums and squared sums.
template <obxIntegratePatchu8_v2_fn* Integrate>
void BM_IntegratePatch(benchmark::State& state) {
    Image<uint8_t> src(state.range(0), state.range(1));
    Image<uint32_t> sums(src.width + 1, src.height + 1), squares(src.width + 1, src.height + 1);
    for (auto _ : state) {
        Integrate(src.data(), src.width, src.height, src.strideBytes(), 0, 0, src.width, src.height, sums.data(),
                  squares.data());
        benchmark::ClobberMemory();
    }
    setImageCounters(state, 1);
}

// A 4:2:0 frame: the luma image, and a chroma plane of pairs half as high.
template <obxIntegrateImageYCbCr420PseudoPlanaru8_fn* Integrate>
void BM_IntegrateYCbCr420(benchmark::State& state) {
    Image<uint8_t> luma(state.range(0), state.range(1)), chroma(state.range(0), state.range(1) / 2);
    const uint32_t cw = luma.width / 2, ch = luma.height / 2;
    Image<uint32_t> y(luma.width, luma.height), cb(cw, ch), cr(cw, ch);
    for (auto _ : state) {
        Integrate(luma.data(), chroma.data(), luma.width, luma.height, luma.strideBytes(), chroma.strideBytes(),
                  y.data(), cb.data(), cr.data(), y.strideBytes(), cb.strideBytes(), cr.strideBytes());
        benchmark::ClobberMemory();
    }
    setImageCounters(state, 1);
}

BENCHMARK_TEMPLATE(BM_IntegrateImage, obxIntegrateImageu8_v2C)
    ->Name("obxIntegrateImageu8_v2/reference")
    ->Apply(ombrix_bench::imageSizes);
BENCHMARK_TEMPLATE(BM_IntegrateImage, obxIntegrateImageu8_v2V)
    ->Name("obxIntegrateImageu8_v2/vector")
    ->Apply(ombrix_bench::imageSizes);
BENCHMARK_TEMPLATE(BM_IntegratePatch, obxIntegratePatchu8C)
    ->Name("obxIntegratePatchu8_v2/reference")
    ->Apply(ombrix_bench::imageSizes);
BENCHMARK_TEMPLATE(BM_IntegratePatch, obxIntegratePatchu8V)
    ->Name("obxIntegratePatchu8_v2/vector")
    ->Apply(ombrix_bench::imageSizes);
BENCHMARK_TEMPLATE(BM_IntegrateYCbCr420, obxIntegrateImageYCbCr420PseudoPlanaru8C)
    ->Name("obxIntegrateImageYCbCr420PseudoPlanaru8/reference")
    ->Apply(ombrix_bench::imageSizes);
BENCHMARK_TEMPLATE(BM_IntegrateYCbCr420, obxIntegrateImageYCbCr420PseudoPlanaru8V)
    ->Name("obxIntegrateImageYCbCr420PseudoPlanaru8/vector")
    ->Apply(ombrix_bench::imageSizes);

#ifdef OMBRIX_HAVE_OPENCV
// The same (width + 1) x (height + 1) table with a zero first row and column.
void BM_CvIntegral(benchmark::State& state) {
    Image<uint8_t> src(state.range(0), state.range(1));
    Image<uint32_t> table(src.width + 1, src.height + 1);
    const cv::Mat in = ombrix_bench::asMat(src, CV_8U);
    cv::Mat sum = ombrix_bench::asMat(table, CV_32S);
    for (auto _ : state) {
        cv::integral(in, sum, CV_32S);
        benchmark::ClobberMemory();
    }
    setImageCounters(state, 1);
}

void BM_CvIntegralSquared(benchmark::State& state) {
    Image<uint8_t> src(state.range(0), state.range(1));
    Image<uint32_t> table(src.width + 1, src.height + 1);
    Image<double> squares(src.width + 1, src.height + 1);
    const cv::Mat in = ombrix_bench::asMat(src, CV_8U);
    cv::Mat sum = ombrix_bench::asMat(table, CV_32S), sqsum = ombrix_bench::asMat(squares, CV_64F);
    for (auto _ : state) {
        cv::integral(in, sum, sqsum, CV_32S, CV_64F);
        benchmark::ClobberMemory();
    }
    setImageCounters(state, 1);
}

BENCHMARK(BM_CvIntegral)->Name("obxIntegrateImageu8_v2/opencv")->Apply(ombrix_bench::imageSizes);
BENCHMARK(BM_CvIntegralSquared)->Name("obxIntegratePatchu8_v2/opencv")->Apply(ombrix_bench::imageSizes);
#endif

}  // namespace

OMBRIX_BENCH_COPY_ROW();

BENCHMARK_MAIN();
