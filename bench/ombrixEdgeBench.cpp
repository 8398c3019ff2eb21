// Gradients and the Sobel edge filter: reference against vector variant, and
// OpenCV's single-threaded derivative filters producing the same outputs as
// the peer: cv::Sobel (ksize 3) in x and in y for the Sobel forms, ksize 1
// ([-1 0 1]) for central differences, cv::Scharr in x and in y, all into
// CV_16S or CV_32F (scale 0.125 where ours scales); for the edge filter the
// two CV_16S Sobel derivatives, their saturated absolute values and a
// saturated add.
#include "ombrixBenchSupport.h"
#include "ombrixKernels.h"

namespace {

using ombrix_bench::Image;
using ombrix_bench::setImageCounters;

template <typename Out, void (*Gradient)(const uint8_t*, uint32_t, uint32_t, uint32_t, Out*, uint32_t)>
void BM_Interleaved(benchmark::State& state) {
    Image<uint8_t> src(state.range(0), state.range(1));
    Image<Out> pairs(2 * (src.width - 2), src.height - 2);
    for (auto _ : state) {
        Gradient(src.data(), src.width, src.height, src.strideBytes(), pairs.data(), pairs.strideBytes());
        benchmark::ClobberMemory();
    }
    setImageCounters(state, 1);
}

template <typename Src, typename Out, void (*Gradient)(const Src*, uint32_t, uint32_t, uint32_t, Out*, Out*, uint32_t)>
void BM_Planar(benchmark::State& state) {
    Image<Src> src(state.range(0), state.range(1));
    Image<Out> dx(src.width, src.height), dy(src.width, src.height);
    for (auto _ : state) {
        Gradient(src.data(), src.width, src.height, src.strideBytes(), dx.data(), dy.data(), dx.strideBytes());
        benchmark::ClobberMemory();
    }
    setImageCounters(state, sizeof(Src));
}

template <obxNeighbourhoodu8_fn* Filter>
void BM_Magnitude(benchmark::State& state) {
    Image<uint8_t> src(state.range(0), state.range(1)), dst(state.range(0), state.range(1));
    for (auto _ : state) {
        Filter(src.data(), src.width, src.height, src.strideBytes(), dst.data(), dst.strideBytes());
        benchmark::ClobberMemory();
    }
    setImageCounters(state, 1);
}

#define OMBRIX_BENCH_PAIR(slot, op, ...)                                                                        \
    BENCHMARK_TEMPLATE(__VA_ARGS__, op##C)->Name(#slot "/reference")->Apply(ombrix_bench::imageSizes); \
    BENCHMARK_TEMPLATE(__VA_ARGS__, op##V)->Name(#slot "/vector")->Apply(ombrix_bench::imageSizes)

OMBRIX_BENCH_PAIR(obxFilterSobel3x3u8_v2, obxFilterSobel3x3u8, BM_Magnitude);
OMBRIX_BENCH_PAIR(obxImageGradientInterleaveds16_v2, obxImageGradientInterleaveds16, BM_Interleaved, int16_t);
OMBRIX_BENCH_PAIR(obxImageGradientPlanars16_v2, obxImageGradientPlanars16, BM_Planar, uint8_t, int16_t);
OMBRIX_BENCH_PAIR(obxImageGradientInterleavedf32_v2, obxImageGradientInterleavedf32, BM_Interleaved, float);
OMBRIX_BENCH_PAIR(obxImageGradientPlanarf32_v2, obxImageGradientPlanarf32, BM_Planar, uint8_t, float);
OMBRIX_BENCH_PAIR(obxImageGradientSobelInterleaveds16_v2, obxImageGradientSobelInterleaveds16, BM_Interleaved,
                  int16_t);
OMBRIX_BENCH_PAIR(obxImageGradientSobelInterleaveds16_v3, obxImageGradientSobelInterleaveds16_v3, BM_Interleaved,
                  int16_t);
OMBRIX_BENCH_PAIR(obxImageGradientSobelInterleavedf32_v2, obxImageGradientSobelInterleavedf32, BM_Interleaved,
                  float);
OMBRIX_BENCH_PAIR(obxImageGradientSobelPlanars16_v2, obxImageGradientSobelPlanars16, BM_Planar, uint8_t, int16_t);
OMBRIX_BENCH_PAIR(obxImageGradientSobelPlanars16_v3, obxImageGradientSobelPlanars16_v3, BM_Planar, uint8_t,
                  int16_t);
OMBRIX_BENCH_PAIR(obxImageGradientSobelPlanars8_v2, obxImageGradientSobelPlanars8, BM_Planar, uint8_t, int8_t);
OMBRIX_BENCH_PAIR(obxImageGradientSobelPlanarf32_v2, obxImageGradientSobelPlanarf32, BM_Planar, uint8_t, float);
OMBRIX_BENCH_PAIR(obxImageGradientSobelPlanarf32f32_v2, obxImageGradientSobelPlanarf32f32, BM_Planar, float, float);
OMBRIX_BENCH_PAIR(obxImageGradientScharrInterleaveds16, obxImageGradientScharrInterleaveds16, BM_Interleaved,
                  int16_t);

#ifdef OMBRIX_HAVE_OPENCV
enum class CvKernel { Central, Sobel, Scharr };

// dx and dy of a SrcType image into two OutType images.
template <typename Src, int SrcType, int OutType, CvKernel Kernel>
void BM_CvDerivatives(benchmark::State& state) {
    Image<Src> src(state.range(0), state.range(1));
    const cv::Mat in = ombrix_bench::asMat(src, SrcType);
    cv::Mat dx(in.size(), OutType), dy(in.size(), OutType);
    const double scale = OutType == CV_32F && Kernel == CvKernel::Sobel ? 0.125 : 1.0;
    for (auto _ : state) {
        if (Kernel == CvKernel::Scharr) {
            cv::Scharr(in, dx, OutType, 1, 0);
            cv::Scharr(in, dy, OutType, 0, 1);
        } else {
            const int ksize = Kernel == CvKernel::Sobel ? 3 : 1;
            cv::Sobel(in, dx, OutType, 1, 0, ksize, scale);
            cv::Sobel(in, dy, OutType, 0, 1, ksize, scale);
        }
        benchmark::ClobberMemory();
    }
    setImageCounters(state, sizeof(Src));
}

void BM_CvSobelMagnitude(benchmark::State& state) {
    Image<uint8_t> src(state.range(0), state.range(1)), dst(state.range(0), state.range(1));
    const cv::Mat in = ombrix_bench::asMat(src, CV_8U);
    cv::Mat out = ombrix_bench::asMat(dst, CV_8U);
    cv::Mat dx(in.size(), CV_16S), dy(in.size(), CV_16S), absDx(in.size(), CV_8U), absDy(in.size(), CV_8U);
    for (auto _ : state) {
        cv::Sobel(in, dx, CV_16S, 1, 0, 3);
        cv::Sobel(in, dy, CV_16S, 0, 1, 3);
        cv::convertScaleAbs(dx, absDx);
        cv::convertScaleAbs(dy, absDy);
        cv::add(absDx, absDy, out);
        benchmark::ClobberMemory();
    }
    setImageCounters(state, 1);
}

#define OMBRIX_BENCH_CV(slot, ...) \
    BENCHMARK_TEMPLATE(BM_CvDerivatives, __VA_ARGS__)->Name(#slot "/opencv")->Apply(ombrix_bench::imageSizes)

BENCHMARK(BM_CvSobelMagnitude)->Name("obxFilterSobel3x3u8_v2/opencv")->Apply(ombrix_bench::imageSizes);
OMBRIX_BENCH_CV(obxImageGradientInterleaveds16_v2, uint8_t, CV_8U, CV_16S, CvKernel::Central);
OMBRIX_BENCH_CV(obxImageGradientPlanars16_v2, uint8_t, CV_8U, CV_16S, CvKernel::Central);
OMBRIX_BENCH_CV(obxImageGradientInterleavedf32_v2, uint8_t, CV_8U, CV_32F, CvKernel::Central);
OMBRIX_BENCH_CV(obxImageGradientPlanarf32_v2, uint8_t, CV_8U, CV_32F, CvKernel::Central);
OMBRIX_BENCH_CV(obxImageGradientSobelInterleaveds16_v2, uint8_t, CV_8U, CV_16S, CvKernel::Sobel);
OMBRIX_BENCH_CV(obxImageGradientSobelInterleaveds16_v3, uint8_t, CV_8U, CV_16S, CvKernel::Sobel);
OMBRIX_BENCH_CV(obxImageGradientSobelInterleavedf32_v2, uint8_t, CV_8U, CV_32F, CvKernel::Sobel);
OMBRIX_BENCH_CV(obxImageGradientSobelPlanars16_v2, uint8_t, CV_8U, CV_16S, CvKernel::Sobel);
OMBRIX_BENCH_CV(obxImageGradientSobelPlanars16_v3, uint8_t, CV_8U, CV_16S, CvKernel::Sobel);
OMBRIX_BENCH_CV(obxImageGradientSobelPlanars8_v2, uint8_t, CV_8U, CV_16S, CvKernel::Sobel);
OMBRIX_BENCH_CV(obxImageGradientSobelPlanarf32_v2, uint8_t, CV_8U, CV_32F, CvKernel::Sobel);
OMBRIX_BENCH_CV(obxImageGradientSobelPlanarf32f32_v2, float, CV_32F, CV_32F, CvKernel::Sobel);
OMBRIX_BENCH_CV(obxImageGradientScharrInterleaveds16, uint8_t, CV_8U, CV_16S, CvKernel::Scharr);
#endif

}  // namespace

OMBRIX_BENCH_COPY_ROW();

BENCHMARK_MAIN();
