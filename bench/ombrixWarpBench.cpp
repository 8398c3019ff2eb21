// Perspective warps, affine patches and RGBA remaps: reference against vector
// variant, with OpenCV's single-threaded counterparts as the peer:
// cv::warpPerspective (bilinear, constant 0 border, the matrix as the inverse
// map) for the warps, cv::remap (nearest and bilinear, constant 0 border)
// for the remaps through maps of the same view, and cv::warpAffine
// (bilinear, replicated border) for 16x16 affine patches on a grid of
// centres 16 pixels apart. Counters are per destination pixel.
#include <cmath>
#include <memory>

#include "ombrixBenchSupport.h"
#include "ombrixKernels.h"

namespace {

using ombrix_bench::Image;
using ombrix_bench::setImageCounters;

// A 12 degree turn about the centre with a 10% enlargement and a mild tilt;
// the destination's corners fall outside the source.
void viewMatrix(uint32_t w, uint32_t h, float m[9]) {
    const float c = 0.9781476f / 1.1f, s = 0.2079117f / 1.1f, cx = 0.5f * w, cy = 0.5f * h;
    const float px = 0.00012f * 640.0f / w, py = -0.00008f * 480.0f / h;
    m[0] = c, m[1] = -s, m[2] = cx - c * cx + s * cy;
    m[3] = s, m[4] = c, m[5] = cy - s * cx - c * cy;
    m[6] = px, m[7] = py, m[8] = 1.0f - px * cx - py * cy;
}

template <uint32_t Channels, obxWarpPerspectiveu8_v2_fn* Warp>
void BM_Warp(benchmark::State& state) {
    Image<uint8_t> src(state.range(0) * Channels, state.range(1)), dst(state.range(0) * Channels, state.range(1));
    const uint32_t w = static_cast<uint32_t>(state.range(0)), h = static_cast<uint32_t>(state.range(1));
    float m[9];
    viewMatrix(w, h, m);
    for (auto _ : state) {
        Warp(src.data(), w, h, src.strideBytes(), dst.data(), w, h, dst.strideBytes(), m);
        benchmark::ClobberMemory();
    }
    setImageCounters(state, Channels);
}

// Maps of the same view: the projection of every destination pixel.
struct Maps {
    std::vector<float> x, y;
    Maps(uint32_t w, uint32_t h) : x(size_t{w} * h), y(size_t{w} * h) {
        float m[9];
        viewMatrix(w, h, m);
        for (uint32_t r = 0; r < h; ++r)
            for (uint32_t c = 0; c < w; ++c) {
                const float q = m[6] * c + m[7] * r + m[8];
                x[size_t{r} * w + c] = (m[0] * c + m[1] * r + m[2]) / q;
                y[size_t{r} * w + c] = (m[3] * c + m[4] * r + m[5]) / q;
            }
    }
};

template <obxRemapRGBA8888u8_fn* Remap>
void BM_Remap(benchmark::State& state) {
    const uint32_t w = static_cast<uint32_t>(state.range(0)), h = static_cast<uint32_t>(state.range(1));
    Image<uint8_t> src(w * 4, h), dst(w * 4, h);
    const Maps maps(w, h);
    for (auto _ : state) {
        Remap(src.data(), w, h, src.strideBytes(), dst.data(), w, h, dst.strideBytes(), maps.x.data(), maps.y.data(),
              w * 4);
        benchmark::ClobberMemory();
    }
    setImageCounters(state, 4);
}

// 16x16 patches turned by 20 degrees and enlarged by 1.25 around every
// centre of a 16-pixel grid, per patch pixel; the grid covers the image.
constexpr float kPatchAffine[4] = {0.7516f, -0.2736f, 0.2736f, 0.7516f};

template <obxTransformAffineu8_v2_fn* Affine>
void BM_AffinePatches(benchmark::State& state) {
    const uint32_t w = static_cast<uint32_t>(state.range(0)), h = static_cast<uint32_t>(state.range(1));
    Image<uint8_t> src(w, h);
    std::vector<uint8_t> patch(256);
    int64_t patches = 0;
    for (auto _ : state) {
        for (uint32_t y = 8; y < h; y += 16)
            for (uint32_t x = 8; x < w; x += 16) {
                const float pos[2] = {x + 0.37f, y + 0.61f};
                Affine(src.data(), w, h, w, pos, kPatchAffine, patch.data(), 16, 16, 16);
                benchmark::ClobberMemory();
                ++patches;
            }
    }
    state.SetItemsProcessed(patches * 256);
}

#ifdef OMBRIX_HAVE_OPENCV
template <int Type>
void BM_CvWarp(benchmark::State& state) {
    const int ch = CV_MAT_CN(Type);
    Image<uint8_t> src(state.range(0) * ch, state.range(1)), dst(state.range(0) * ch, state.range(1));
    cv::Mat s(static_cast<int>(src.height), static_cast<int>(state.range(0)), Type, src.data(), src.strideBytes());
    cv::Mat d(static_cast<int>(dst.height), static_cast<int>(state.range(0)), Type, dst.data(), dst.strideBytes());
    float m[9];
    viewMatrix(static_cast<uint32_t>(state.range(0)), static_cast<uint32_t>(state.range(1)), m);
    const cv::Mat matrix(3, 3, CV_32F, m);
    for (auto _ : state) {
        cv::warpPerspective(s, d, matrix, d.size(), cv::INTER_LINEAR | cv::WARP_INVERSE_MAP, cv::BORDER_CONSTANT, 0);
        benchmark::ClobberMemory();
    }
    setImageCounters(state, ch);
}

template <int Interpolation>
void BM_CvRemap(benchmark::State& state) {
    const uint32_t w = static_cast<uint32_t>(state.range(0)), h = static_cast<uint32_t>(state.range(1));
    Image<uint8_t> src(w * 4, h), dst(w * 4, h);
    Maps maps(w, h);
    cv::Mat s(static_cast<int>(h), static_cast<int>(w), CV_8UC4, src.data(), src.strideBytes());
    cv::Mat d(static_cast<int>(h), static_cast<int>(w), CV_8UC4, dst.data(), dst.strideBytes());
    cv::Mat mx(static_cast<int>(h), static_cast<int>(w), CV_32F, maps.x.data());
    cv::Mat my(static_cast<int>(h), static_cast<int>(w), CV_32F, maps.y.data());
    for (auto _ : state) {
        cv::remap(s, d, mx, my, Interpolation, cv::BORDER_CONSTANT, 0);
        benchmark::ClobberMemory();
    }
    setImageCounters(state, 4);
}

void BM_CvAffinePatches(benchmark::State& state) {
    const uint32_t w = static_cast<uint32_t>(state.range(0)), h = static_cast<uint32_t>(state.range(1));
    Image<uint8_t> src(w, h);
    cv::Mat s(static_cast<int>(h), static_cast<int>(w), CV_8U, src.data(), src.strideBytes());
    cv::Mat patch(16, 16, CV_8U);
    int64_t patches = 0;
    for (auto _ : state) {
        for (uint32_t y = 8; y < h; y += 16)
            for (uint32_t x = 8; x < w; x += 16) {
                // patch (c, r) samples centre + A (c - 8, r - 8)
                const float px = x + 0.37f, py = y + 0.61f;
                const float a[6] = {kPatchAffine[0], kPatchAffine[1], px - 8 * (kPatchAffine[0] + kPatchAffine[1]),
                                    kPatchAffine[2], kPatchAffine[3], py - 8 * (kPatchAffine[2] + kPatchAffine[3])};
                const cv::Mat matrix(2, 3, CV_32F, const_cast<float*>(a));
                cv::warpAffine(s, patch, matrix, patch.size(), cv::INTER_LINEAR | cv::WARP_INVERSE_MAP,
                               cv::BORDER_REPLICATE);
                benchmark::ClobberMemory();
                ++patches;
            }
    }
    state.SetItemsProcessed(patches * 256);
}

BENCHMARK_TEMPLATE(BM_CvWarp, CV_8UC1)->Name("obxWarpPerspectiveu8_v2/opencv")->Apply(ombrix_bench::imageSizes);
BENCHMARK_TEMPLATE(BM_CvWarp, CV_8UC3)->Name("obx3ChannelWarpPerspectiveu8_v2/opencv")->Apply(ombrix_bench::imageSizes);
BENCHMARK_TEMPLATE(BM_CvRemap, cv::INTER_NEAREST)->Name("obxRemapRGBA8888NNu8/opencv")->Apply(ombrix_bench::imageSizes);
BENCHMARK_TEMPLATE(BM_CvRemap, cv::INTER_LINEAR)->Name("obxRemapRGBA8888BLu8/opencv")->Apply(ombrix_bench::imageSizes);
BENCHMARK(BM_CvAffinePatches)->Name("obxTransformAffineu8_v2/opencv")->Apply(ombrix_bench::imageSizes);
#endif

#define OMBRIX_BENCH_PAIR(slot, ref, vec, ...)                                                          \
    BENCHMARK_TEMPLATE(__VA_ARGS__, ref)->Name(#slot "/reference")->Apply(ombrix_bench::imageSizes); \
    BENCHMARK_TEMPLATE(__VA_ARGS__, vec)->Name(#slot "/vector")->Apply(ombrix_bench::imageSizes)

OMBRIX_BENCH_PAIR(obxWarpPerspectiveu8_v2, obxWarpPerspectiveu8_v2C, obxWarpPerspectiveu8_v2V, BM_Warp, 1);
OMBRIX_BENCH_PAIR(obx3ChannelWarpPerspectiveu8_v2, obx3ChannelWarpPerspectiveu8_v2C, obx3ChannelWarpPerspectiveu8_v2V,
                  BM_Warp, 3);
OMBRIX_BENCH_PAIR(obxRemapRGBA8888NNu8, obxRemapRGBA8888NNu8C, obxRemapRGBA8888NNu8V, BM_Remap);
OMBRIX_BENCH_PAIR(obxRemapRGBA8888BLu8, obxRemapRGBA8888BLu8C, obxRemapRGBA8888BLu8V, BM_Remap);
OMBRIX_BENCH_PAIR(obxTransformAffineu8_v2, obxTransformAffineu8_v2C, obxTransformAffineu8_v2V, BM_AffinePatches);
OMBRIX_BENCH_COPY_ROW();

}  // namespace

BENCHMARK_MAIN();
