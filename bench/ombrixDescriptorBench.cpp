// Patch descriptors and dot products: reference against vector variant,
// single-threaded, with OpenCV peers where one exists.
//
// Benchmarks take two numbers in place of an image size: the calls per
// iteration and the vector length (or 17 for the 17x17 descriptor, 8 for
// the 8x8 correlation). Peers: cv::Mat::dot for the dot products (four
// calls for the x4 forms, then the scaling for the Norm forms; it returns a
// double), Mat::convertTo with a scale for the normalisation, and
// matchTemplate with TM_CCORR (float results) for the 8x8 correlations.
// OpenCV has no call close to the 17x17 gradient descriptor or to the
// sampled per-dimension mean and variance; those rows have no peer.
#include "ombrixBenchSupport.h"
#include "ombrixKernels.h"

namespace {

constexpr uint32_t kCalls = 1000;

// Random bytes, enough for kCalls vectors of up to 128 elements and four
// partners each.
const std::vector<uint8_t>& data() {
    static const std::vector<uint8_t> bytes = [] {
        std::vector<uint8_t> b(kCalls * 128 + 8 * 1024);
        std::mt19937 rng(3);
        for (auto& x : b) x = static_cast<uint8_t>(rng());
        return b;
    }();
    return bytes;
}
template <typename T>
const T* at(size_t offset) {
    return reinterpret_cast<const T*>(data().data() + offset);
}
void setCounters(benchmark::State& state) { state.SetItemsProcessed(int64_t(state.iterations()) * state.range(0)); }

// ---- Dot products ----------------------------------------------------------------------------

template <typename T, typename R, R (*F)(const T*, const T*)>
void BM_Fixed(benchmark::State& state) {
    for (auto _ : state)
        for (uint32_t i = 0; i < kCalls; ++i) benchmark::DoNotOptimize(F(at<T>(i * 128), at<T>(i * 128 + 4099)));
    setCounters(state);
}
template <typename T, typename R, R (*F)(const T*, const T*, uint32_t)>
void BM_AnyLength(benchmark::State& state) {
    const uint32_t len = static_cast<uint32_t>(state.range(1));
    for (auto _ : state)
        for (uint32_t i = 0; i < kCalls; ++i) benchmark::DoNotOptimize(F(at<T>(i * 128), at<T>(i * 128 + 4099), len));
    setCounters(state);
}
template <typename T, typename R, void (*F)(const T*, const T*, const T*, const T*, const T*, R*)>
void BM_Four(benchmark::State& state) {
    R out[4];
    for (auto _ : state)
        for (uint32_t i = 0; i < kCalls; ++i) {
            const size_t o = i * 128;
            F(at<T>(o), at<T>(o + 4099), at<T>(o + 5001), at<T>(o + 6007), at<T>(o + 7011), out);
            benchmark::DoNotOptimize(out);
        }
    setCounters(state);
}
const float kInvB[4] = {1.0f / 300, 1.0f / 411, 1.0f / 529, 1.0f / 1000};
template <typename T, void (*F)(const T*, float, const T*, const T*, const T*, const T*, const float*, float*)>
void BM_Norm(benchmark::State& state) {
    float out[4];
    for (auto _ : state)
        for (uint32_t i = 0; i < kCalls; ++i) {
            const size_t o = i * 128;
            F(at<T>(o), 1.0f / 700, at<T>(o + 4099), at<T>(o + 5001), at<T>(o + 6007), at<T>(o + 7011), kInvB, out);
            benchmark::DoNotOptimize(out);
        }
    setCounters(state);
}

#ifdef OMBRIX_HAVE_OPENCV
// Mat headers over the same bytes; `partners` of them per call as in the
// x4 forms (one for x1), scaled afterwards for the Norm forms.
template <int Type>
void BM_CvDot(benchmark::State& state) {
    const int len = static_cast<int>(state.range(1));
    const int partners = static_cast<int>(state.range(2)), scaled = static_cast<int>(state.range(3));
    const size_t offsets[4] = {4099, 5001, 6007, 7011};
    auto* base = const_cast<uint8_t*>(data().data());
    for (auto _ : state)
        for (uint32_t i = 0; i < kCalls; ++i) {
            const cv::Mat a(1, len, Type, base + i * 128);
            for (int k = 0; k < partners; ++k) {
                const double d = a.dot(cv::Mat(1, len, Type, base + i * 128 + offsets[k]));
                benchmark::DoNotOptimize(scaled ? float(d) * (1.0f / 700) * kInvB[k] : d);
            }
        }
    setCounters(state);
}
#endif

// ---- Patch correlation ---------------------------------------------------------------------------

// A 640x480 noise image and a patch from it.
struct CorrelationScene {
    ombrix_bench::Image<uint8_t> img{640, 480};
    std::vector<uint8_t> ptch = std::vector<uint8_t>(data().begin(), data().begin() + 64);
};

// 16 positions along a row per call, at kCalls places.
template <obxDotProduct8x8u8_fn* F>
void BM_Patch8x8(benchmark::State& state) {
    CorrelationScene s;
    uint32_t out[16];
    for (auto _ : state)
        for (uint32_t i = 0; i < kCalls; ++i) {
            F(s.ptch.data(), s.img.data(), 640, 480, 4 + (i * 37) % 600, 4 + (i * 11) % 460, 16, out);
            benchmark::DoNotOptimize(out);
        }
    setCounters(state);
}
template <obxDotProduct11x12u8_fn* F>
void BM_Grid11x12(benchmark::State& state) {
    CorrelationScene s;
    uint32_t out[132];
    for (auto _ : state)
        for (uint32_t i = 0; i < kCalls; ++i) {
            F(s.ptch.data(), s.img.data(), 640, 480, 4 + (i * 37) % 600, 4 + (i * 11) % 450, out);
            benchmark::DoNotOptimize(out);
        }
    setCounters(state);
}
#ifdef OMBRIX_HAVE_OPENCV
// The same windows through matchTemplate (TM_CCORR): 23 x 8 pixels for 16
// positions, 19 x 18 for the 12 x 11 grid.
void BM_CvMatch(benchmark::State& state) {
    CorrelationScene s;
    const bool grid = state.range(2) != 0;
    const cv::Mat all = ombrix_bench::asMat(s.img, CV_8UC1), patch(8, 8, CV_8UC1, s.ptch.data());
    cv::Mat result;
    for (auto _ : state)
        for (uint32_t i = 0; i < kCalls; ++i) {
            const int x = int((i * 37) % 600), y = int((i * 11) % (grid ? 450 : 460));
            cv::matchTemplate(all(cv::Rect(x, y, grid ? 19 : 23, grid ? 18 : 8)), patch, result, cv::TM_CCORR);
            benchmark::DoNotOptimize(result.data);
        }
    setCounters(state);
}
#endif

// ---- Descriptor, normalisation, mean and variance ---------------------------------------------------

template <obxDescriptor17x17u8To36s8_fn* F>
void BM_Descriptor(benchmark::State& state) {
    CorrelationScene s;
    int8_t out[36];
    int32_t norm = 0;
    for (auto _ : state)
        for (uint32_t i = 0; i < kCalls; ++i) {
            // A 17x17 window of the noise image, stride 17 as the call requires:
            // consecutive bytes of the image rows.
            benchmark::DoNotOptimize(F(s.img.data() + (i * 613) % (640 * 470), out, &norm));
            benchmark::DoNotOptimize(out);
        }
    setCounters(state);
}

template <obxVecNormalize36s8f32_fn* F>
void BM_Normalize(benchmark::State& state) {
    std::vector<float> invLen(kCalls, 1.0f / 300), dst(36 * kCalls);
    const int32_t stop = 0;
    for (auto _ : state) {
        F(at<int8_t>(0), 37, invLen.data(), kCalls, 512.0f, dst.data(), &stop);
        benchmark::DoNotOptimize(dst.data());
    }
    setCounters(state);
}
#ifdef OMBRIX_HAVE_OPENCV
void BM_CvNormalize(benchmark::State& state) {
    std::vector<float> dst(36 * kCalls);
    auto* base = const_cast<uint8_t*>(data().data());
    for (auto _ : state) {
        for (uint32_t i = 0; i < kCalls; ++i) {
            cv::Mat out(1, 36, CV_32F, dst.data() + 36 * i);
            cv::Mat(1, 36, CV_8S, base + 37 * i).convertTo(out, CV_32F, (1.0f / 300) * 512.0f);
        }
        benchmark::DoNotOptimize(dst.data());
    }
    setCounters(state);
}
#endif

template <obxDescriptorSampledMeanAndVar36f32_fn* F>
void BM_MeanVar(benchmark::State& state) {
    std::vector<float> src(36 * 1000);
    std::mt19937 rng(4);
    for (float& f : src) f = float(rng() % 255);
    std::vector<uint32_t> vind(101);
    for (uint32_t k = 0; k < 101; ++k) vind[k] = (k * 7) % 1000;
    float means[36], vars[36], temp = 0;
    for (auto _ : state) {
        F(src.data(), 0, 100, vind.data(), means, vars, &temp);
        benchmark::DoNotOptimize(means);
        benchmark::DoNotOptimize(vars);
    }
    state.SetItemsProcessed(int64_t(state.iterations()));
}

}  // namespace

#define OBX_BENCH_PAIR(bench, op, ...)                                                               \
    BENCHMARK_TEMPLATE(bench, __VA_ARGS__, op##C)->Name(#op "/reference")->Args({kCalls, LENGTH(op)}); \
    BENCHMARK_TEMPLATE(bench, __VA_ARGS__, op##V)->Name(#op "/vector")->Args({kCalls, LENGTH(op)})

// Fixed lengths, read from the name.
#define LENGTH(op) (strstr(#op, "128") ? 128 : strstr(#op, "64") ? 64 : strstr(#op, "36") ? 36 : 100)
#define CV_PEER(op, type, partners, scaled) \
    BENCHMARK_TEMPLATE(BM_CvDot, type)->Name(#op "/opencv")->Args({kCalls, LENGTH(op), partners, scaled})

OBX_BENCH_PAIR(BM_AnyLength, obxDotProducts8, int8_t, int32_t);
OBX_BENCH_PAIR(BM_AnyLength, obxDotProductu8, uint8_t, uint32_t);
OBX_BENCH_PAIR(BM_Fixed, obxDotProduct36x1s8, int8_t, int32_t);
OBX_BENCH_PAIR(BM_Fixed, obxDotProduct64x1s8, int8_t, int32_t);
OBX_BENCH_PAIR(BM_Fixed, obxDotProduct128x1s8, int8_t, int32_t);
OBX_BENCH_PAIR(BM_Fixed, obxDotProduct36x1u8, uint8_t, uint32_t);
OBX_BENCH_PAIR(BM_Fixed, obxDotProduct64x1u8, uint8_t, uint32_t);
OBX_BENCH_PAIR(BM_Fixed, obxDotProduct128x1u8, uint8_t, uint32_t);
OBX_BENCH_PAIR(BM_Four, obxDotProduct36x4s8, int8_t, int32_t);
OBX_BENCH_PAIR(BM_Four, obxDotProduct64x4s8, int8_t, int32_t);
OBX_BENCH_PAIR(BM_Four, obxDotProduct128x4s8, int8_t, int32_t);
OBX_BENCH_PAIR(BM_Four, obxDotProduct36x4u8, uint8_t, uint32_t);
OBX_BENCH_PAIR(BM_Four, obxDotProduct64x4u8, uint8_t, uint32_t);
OBX_BENCH_PAIR(BM_Four, obxDotProduct128x4u8, uint8_t, uint32_t);
OBX_BENCH_PAIR(BM_Norm, obxDotProductNorm36x4s8, int8_t);
OBX_BENCH_PAIR(BM_Norm, obxDotProductNorm64x4s8, int8_t);
OBX_BENCH_PAIR(BM_Norm, obxDotProductNorm128x4s8, int8_t);
OBX_BENCH_PAIR(BM_Norm, obxDotProductNorm36x4u8, uint8_t);
OBX_BENCH_PAIR(BM_Norm, obxDotProductNorm64x4u8, uint8_t);
OBX_BENCH_PAIR(BM_Norm, obxDotProductNorm128x4u8, uint8_t);
#ifdef OMBRIX_HAVE_OPENCV
CV_PEER(obxDotProducts8, CV_8S, 1, 0);
CV_PEER(obxDotProductu8, CV_8U, 1, 0);
CV_PEER(obxDotProduct36x1s8, CV_8S, 1, 0);
CV_PEER(obxDotProduct64x1s8, CV_8S, 1, 0);
CV_PEER(obxDotProduct128x1s8, CV_8S, 1, 0);
CV_PEER(obxDotProduct36x1u8, CV_8U, 1, 0);
CV_PEER(obxDotProduct64x1u8, CV_8U, 1, 0);
CV_PEER(obxDotProduct128x1u8, CV_8U, 1, 0);
CV_PEER(obxDotProduct36x4s8, CV_8S, 4, 0);
CV_PEER(obxDotProduct64x4s8, CV_8S, 4, 0);
CV_PEER(obxDotProduct128x4s8, CV_8S, 4, 0);
CV_PEER(obxDotProduct36x4u8, CV_8U, 4, 0);
CV_PEER(obxDotProduct64x4u8, CV_8U, 4, 0);
CV_PEER(obxDotProduct128x4u8, CV_8U, 4, 0);
CV_PEER(obxDotProductNorm36x4s8, CV_8S, 4, 1);
CV_PEER(obxDotProductNorm64x4s8, CV_8S, 4, 1);
CV_PEER(obxDotProductNorm128x4s8, CV_8S, 4, 1);
CV_PEER(obxDotProductNorm36x4u8, CV_8U, 4, 1);
CV_PEER(obxDotProductNorm64x4u8, CV_8U, 4, 1);
CV_PEER(obxDotProductNorm128x4u8, CV_8U, 4, 1);
#endif

BENCHMARK_TEMPLATE(BM_Patch8x8, obxDotProduct8x8u8C)->Name("obxDotProduct8x8u8/reference")->Args({kCalls, 8});
BENCHMARK_TEMPLATE(BM_Patch8x8, obxDotProduct8x8u8V)->Name("obxDotProduct8x8u8/vector")->Args({kCalls, 8});
BENCHMARK_TEMPLATE(BM_Grid11x12, obxDotProduct11x12u8C)->Name("obxDotProduct11x12u8/reference")->Args({kCalls, 8});
BENCHMARK_TEMPLATE(BM_Grid11x12, obxDotProduct11x12u8V)->Name("obxDotProduct11x12u8/vector")->Args({kCalls, 8});
BENCHMARK_TEMPLATE(BM_Descriptor, obxDescriptor17x17u8To36s8C)->Name("obxDescriptor17x17u8To36s8/reference")->Args({kCalls, 17});
BENCHMARK_TEMPLATE(BM_Descriptor, obxDescriptor17x17u8To36s8V)->Name("obxDescriptor17x17u8To36s8/vector")->Args({kCalls, 17});
BENCHMARK_TEMPLATE(BM_Normalize, obxVecNormalize36s8f32C)->Name("obxVecNormalize36s8f32/reference")->Args({kCalls, 36});
BENCHMARK_TEMPLATE(BM_Normalize, obxVecNormalize36s8f32V)->Name("obxVecNormalize36s8f32/vector")->Args({kCalls, 36});
BENCHMARK_TEMPLATE(BM_MeanVar, obxDescriptorSampledMeanAndVar36f32C)->Name("obxDescriptorSampledMeanAndVar36f32/reference")->Args({1, 101});
BENCHMARK_TEMPLATE(BM_MeanVar, obxDescriptorSampledMeanAndVar36f32V)->Name("obxDescriptorSampledMeanAndVar36f32/vector")->Args({1, 101});
#ifdef OMBRIX_HAVE_OPENCV
BENCHMARK(BM_CvMatch)->Name("obxDotProduct8x8u8/opencv")->Args({kCalls, 8, 0});
BENCHMARK(BM_CvMatch)->Name("obxDotProduct11x12u8/opencv")->Args({kCalls, 8, 1});
BENCHMARK(BM_CvNormalize)->Name("obxVecNormalize36s8f32/opencv")->Args({kCalls, 36});
#endif

BENCHMARK_MAIN();
