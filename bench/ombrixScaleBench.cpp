// Downscaling, the 2x up-scaler and pyramids: reference against vector
// variant, and OpenCV's single-threaded counterparts as the peer:
// cv::resize with INTER_AREA for the box reductions (by 2, by 4, by 3 for the
// arbitrary ratio, and to 2/3 for the 3:2 reduction), cv::pyrDown and
// cv::pyrUp for the Gaussians, cv::resize with INTER_NEAREST for nearest
// neighbour (to 5/8 of the size), cv::buildPyramid for a 4-level pyramid.
// Counters are per source pixel (the up-scaler: per destination pixel).
#include "ombrixBenchSupport.h"
#include "ombrixKernels.h"

namespace {

using ombrix_bench::Image;
using ombrix_bench::setImageCounters;

uint32_t scaled(int64_t size, int numerator, int denominator) {
    return static_cast<uint32_t>(size * numerator / denominator);
}

// Fixed factors: reductions by `Divisor`, or the enlargement (Divisor 0)
// of a source of half the size.
template <int Divisor, obxScaleu8_fn* Scale>
void BM_Fixed(benchmark::State& state) {
    const bool up = Divisor == 0;
    Image<uint8_t> src(up ? state.range(0) / 2 : state.range(0), up ? state.range(1) / 2 : state.range(1));
    Image<uint8_t> dst(up ? state.range(0) : state.range(0) / Divisor, up ? state.range(1) : state.range(1) / Divisor);
    for (auto _ : state) {
        Scale(src.data(), src.width, src.height, src.strideBytes(), dst.data(), dst.strideBytes());
        benchmark::ClobberMemory();
    }
    setImageCounters(state, 1);
}

template <obxScaleDownBy2Gaussian5x5u8_fn* Scale>
void BM_GaussianPacked(benchmark::State& state) {
    Image<uint8_t> src(state.range(0), state.range(1)), dst(state.range(0) / 2, state.range(1) / 2);
    for (auto _ : state) {
        Scale(src.data(), src.width, src.height, dst.data());
        benchmark::ClobberMemory();
    }
    setImageCounters(state, 1);
}

template <obxScaleDownBy2Gaussian5x5f32_fn* Scale>
void BM_GaussianF32(benchmark::State& state) {
    Image<float> src(state.range(0), state.range(1)), dst(state.range(0) / 2, state.range(1) / 2);
    for (auto _ : state) {
        Scale(src.data(), src.width, src.height, dst.data());
        benchmark::ClobberMemory();
    }
    setImageCounters(state, 4);
}

// To a size: a ratio of 1/Denominator, or Numerator/Denominator.
template <int Numerator, int Denominator, obxScaleDownToSizeu8_fn* Scale>
void BM_ToSize(benchmark::State& state) {
    Image<uint8_t> src(state.range(0), state.range(1));
    Image<uint8_t> dst(scaled(state.range(0), Numerator, Denominator), scaled(state.range(1), Numerator, Denominator));
    for (auto _ : state) {
        Scale(src.data(), src.width, src.height, src.strideBytes(), dst.data(), dst.width, dst.height,
              dst.strideBytes());
        benchmark::ClobberMemory();
    }
    setImageCounters(state, 1);
}

template <obxScaleDown3To2u8_fn* Scale>
void BM_ThreeToTwo(benchmark::State& state) {
    Image<uint8_t> src(state.range(0), state.range(1)), dst(scaled(state.range(0), 2, 3), scaled(state.range(1), 2, 3));
    for (auto _ : state) {
        benchmark::DoNotOptimize(Scale(src.data(), src.width, src.height, src.strideBytes(), dst.data(), 0));
        benchmark::ClobberMemory();
    }
    setImageCounters(state, 1);
}

// A 4-level u8 pyramid; the creation runs its reductions through the slot,
// which holds the reference or the vector variant.
template <obxScaleDownBy2Gaussian5x5u8_fn* Reduction>
void BM_PyramidCreate(benchmark::State& state) {
    constexpr uint32_t kLevels = 4;
    Image<uint8_t> src(state.range(0), state.range(1));
    obxPyramidLevel pyramid[kLevels];
    obxPyramidAllocateC(pyramid, src.width, src.height, 1, kLevels, 0);
    obxScaleDownBy2Gaussian5x5u8_fn* const saved = obxScaleDownBy2Gaussian5x5u8_;
    obxScaleDownBy2Gaussian5x5u8_ = Reduction;
    for (auto _ : state) {
        benchmark::DoNotOptimize(obxPyramidCreateu8C(src.data(), src.width, src.height, kLevels, pyramid));
        benchmark::ClobberMemory();
    }
    obxScaleDownBy2Gaussian5x5u8_ = saved;
    obxPyramidDeleteC(pyramid, kLevels, 1);
    setImageCounters(state, 1);
}

// Gradients of a 4-level pyramid. The level loop (the same code in the
// reference and the vector variant) calls the Sobel slot, pointed at the
// reference or the vector gradient as the mode would.
template <typename Out, obxPyramidSobelGradientCreate_fn* Create,
          void (**Slot)(const uint8_t*, uint32_t, uint32_t, uint32_t, Out*, Out*, uint32_t),
          void (*Gradient)(const uint8_t*, uint32_t, uint32_t, uint32_t, Out*, Out*, uint32_t)>
void BM_GradientPyramid(benchmark::State& state) {
    constexpr uint32_t kLevels = 4;
    Image<uint8_t> src(state.range(0), state.range(1));
    obxPyramidLevel image[kLevels], dx[kLevels], dy[kLevels];
    for (uint32_t i = 0; i < kLevels; ++i) image[i] = {src.data(), src.width >> i, src.height >> i};
    obxPyramidAllocateC(dx, src.width, src.height, sizeof(Out), kLevels, 1);
    obxPyramidAllocateC(dy, src.width, src.height, sizeof(Out), kLevels, 1);
    auto* const saved = *Slot;
    *Slot = Gradient;
    for (auto _ : state) {
        benchmark::DoNotOptimize(Create(image, dx, dy, kLevels));
        benchmark::ClobberMemory();
    }
    *Slot = saved;
    obxPyramidDeleteC(dx, kLevels, 0);
    obxPyramidDeleteC(dy, kLevels, 0);
    setImageCounters(state, 1);
}

#define OMBRIX_BENCH_PAIR(slot, ref, vec, ...)                                                          \
    BENCHMARK_TEMPLATE(__VA_ARGS__, ref)->Name(#slot "/reference")->Apply(ombrix_bench::imageSizes); \
    BENCHMARK_TEMPLATE(__VA_ARGS__, vec)->Name(#slot "/vector")->Apply(ombrix_bench::imageSizes)

OMBRIX_BENCH_PAIR(obxScaleDownBy2u8_v2, obxScaleDownBy2u8C, obxScaleDownBy2u8V, BM_Fixed, 2);
OMBRIX_BENCH_PAIR(obxScaleDownBy4u8_v2, obxScaleDownBy4u8C, obxScaleDownBy4u8V, BM_Fixed, 4);
OMBRIX_BENCH_PAIR(obxScaleDownBy2Gaussian5x5u8, obxScaleDownBy2Gaussian5x5u8C, obxScaleDownBy2Gaussian5x5u8V,
                  BM_GaussianPacked);
OMBRIX_BENCH_PAIR(obxScaleDownBy2Gaussian5x5u8_v2, obxScaleDownBy2Gaussian5x5u8_v2C,
                  obxScaleDownBy2Gaussian5x5u8_v2V, BM_Fixed, 2);
OMBRIX_BENCH_PAIR(obxScaleDownBy2Gaussian5x5f32, obxScaleDownBy2Gaussian5x5f32C, obxScaleDownBy2Gaussian5x5f32V,
                  BM_GaussianF32);
OMBRIX_BENCH_PAIR(obxScaleUpBy2Gaussian5x5u8_v2, obxScaleUpBy2Gaussian5x5u8C, obxScaleUpBy2Gaussian5x5u8V, BM_Fixed, 0);
OMBRIX_BENCH_PAIR(obxScaleDownu8_v2, obxScaleDownu8C, obxScaleDownu8V, BM_ToSize, 1, 3);
OMBRIX_BENCH_PAIR(obxScaleDown3To2u8, obxScaleDown3To2u8C, obxScaleDown3To2u8V, BM_ThreeToTwo);
OMBRIX_BENCH_PAIR(obxScaleDownNNu8, obxScaleDownNNu8C, obxScaleDownNNu8V, BM_ToSize, 5, 8);
OMBRIX_BENCH_PAIR(obxPyramidCreateu8, obxScaleDownBy2Gaussian5x5u8C, obxScaleDownBy2Gaussian5x5u8V, BM_PyramidCreate);
OMBRIX_BENCH_PAIR(obxPyramidSobelGradientCreatei16, obxImageGradientSobelPlanars16C, obxImageGradientSobelPlanars16V,
                  BM_GradientPyramid, int16_t, obxPyramidSobelGradientCreatei16V,
                  &obxImageGradientSobelPlanars16_v2_);

#ifdef OMBRIX_HAVE_OPENCV
template <int Numerator, int Denominator, int Interpolation>
void BM_CvResize(benchmark::State& state) {
    Image<uint8_t> src(state.range(0), state.range(1));
    Image<uint8_t> dst(scaled(state.range(0), Numerator, Denominator), scaled(state.range(1), Numerator, Denominator));
    const cv::Mat in = ombrix_bench::asMat(src, CV_8U);
    cv::Mat out = ombrix_bench::asMat(dst, CV_8U);
    for (auto _ : state) {
        cv::resize(in, out, out.size(), 0, 0, Interpolation);
        benchmark::ClobberMemory();
    }
    setImageCounters(state, 1);
}

template <typename T, int CvType>
void BM_CvPyrDown(benchmark::State& state) {
    Image<T> src(state.range(0), state.range(1)), dst(state.range(0) / 2, state.range(1) / 2);
    const cv::Mat in = ombrix_bench::asMat(src, CvType);
    cv::Mat out = ombrix_bench::asMat(dst, CvType);
    for (auto _ : state) {
        cv::pyrDown(in, out, out.size());
        benchmark::ClobberMemory();
    }
    setImageCounters(state, sizeof(T));
}

void BM_CvPyrUp(benchmark::State& state) {
    Image<uint8_t> src(state.range(0) / 2, state.range(1) / 2), dst(state.range(0), state.range(1));
    const cv::Mat in = ombrix_bench::asMat(src, CV_8U);
    cv::Mat out = ombrix_bench::asMat(dst, CV_8U);
    for (auto _ : state) {
        cv::pyrUp(in, out, out.size());
        benchmark::ClobberMemory();
    }
    setImageCounters(state, 1);
}

void BM_CvBuildPyramid(benchmark::State& state) {
    Image<uint8_t> src(state.range(0), state.range(1));
    const cv::Mat in = ombrix_bench::asMat(src, CV_8U);
    std::vector<cv::Mat> levels;
    for (auto _ : state) {
        cv::buildPyramid(in, levels, 3);
        benchmark::ClobberMemory();
    }
    setImageCounters(state, 1);
}

BENCHMARK_TEMPLATE(BM_CvResize, 1, 2, cv::INTER_AREA)->Name("obxScaleDownBy2u8_v2/opencv")->Apply(ombrix_bench::imageSizes);
BENCHMARK_TEMPLATE(BM_CvResize, 1, 4, cv::INTER_AREA)->Name("obxScaleDownBy4u8_v2/opencv")->Apply(ombrix_bench::imageSizes);
BENCHMARK_TEMPLATE(BM_CvPyrDown, uint8_t, CV_8U)
    ->Name("obxScaleDownBy2Gaussian5x5u8/opencv")
    ->Apply(ombrix_bench::imageSizes);
BENCHMARK_TEMPLATE(BM_CvPyrDown, uint8_t, CV_8U)
    ->Name("obxScaleDownBy2Gaussian5x5u8_v2/opencv")
    ->Apply(ombrix_bench::imageSizes);
BENCHMARK_TEMPLATE(BM_CvPyrDown, float, CV_32F)
    ->Name("obxScaleDownBy2Gaussian5x5f32/opencv")
    ->Apply(ombrix_bench::imageSizes);
BENCHMARK(BM_CvPyrUp)->Name("obxScaleUpBy2Gaussian5x5u8_v2/opencv")->Apply(ombrix_bench::imageSizes);
BENCHMARK_TEMPLATE(BM_CvResize, 1, 3, cv::INTER_AREA)->Name("obxScaleDownu8_v2/opencv")->Apply(ombrix_bench::imageSizes);
BENCHMARK_TEMPLATE(BM_CvResize, 2, 3, cv::INTER_AREA)->Name("obxScaleDown3To2u8/opencv")->Apply(ombrix_bench::imageSizes);
BENCHMARK_TEMPLATE(BM_CvResize, 5, 8, cv::INTER_NEAREST)
    ->Name("obxScaleDownNNu8/opencv")
    ->Apply(ombrix_bench::imageSizes);
BENCHMARK(BM_CvBuildPyramid)->Name("obxPyramidCreateu8/opencv")->Apply(ombrix_bench::imageSizes);
#endif

}  // namespace

OMBRIX_BENCH_COPY_ROW();

BENCHMARK_MAIN();
