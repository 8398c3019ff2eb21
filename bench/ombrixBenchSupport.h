// Shared pieces of the benchmark programs: test images at the standard sizes
// and the plain-copy row that gives every table its memory-bandwidth scale.
#ifndef OMBRIX_BENCH_SUPPORT_H
#define OMBRIX_BENCH_SUPPORT_H

#include <benchmark/benchmark.h>
#include <stdint.h>
#include <string.h>

#include <random>
#include <vector>

#ifdef OMBRIX_HAVE_OPENCV
#include <opencv2/core.hpp>
#include <opencv2/imgproc.hpp>
#endif
#ifdef OMBRIX_HAVE_LIBYUV
#include <libyuv.h>
#endif

// Benchmarks are named <operation>/<reference|vector|opencv|libyuv>/<width>/<height>
// and the bandwidth row copy/<width>/<height>; scripts/bench-ratios.py turns
// a run into a table of ratios.

namespace ombrix_bench {

#ifdef OMBRIX_HAVE_OPENCV
// The peer runs single-threaded, like our operations.
inline const bool kOpenCvSingleThreaded = (cv::setNumThreads(1), true);

// A cv::Mat header over an Image, without copying.
template <typename T>
cv::Mat asMat(T& image, int type) {
    return cv::Mat(static_cast<int>(image.height), static_cast<int>(image.width), type, image.data(),
                   image.strideBytes());
}
#endif

// 640x480 and 1920x1080, passed to benchmarks as Args({width, height}).
inline void imageSizes(benchmark::internal::Benchmark* b) {
    b->Args({640, 480})->Args({1920, 1080});
}

// A packed image of T with a smooth gradient plus noise: real pictures are
// neither constant nor white noise, and some kernels branch on content.
template <typename T>
struct Image {
    uint32_t width, height;
    std::vector<T> pixels;
    Image(uint32_t w, uint32_t h) : width(w), height(h), pixels(static_cast<size_t>(w) * h) {
        std::mt19937 rng(1);
        for (uint32_t y = 0; y < h; ++y)
            for (uint32_t x = 0; x < w; ++x)
                pixels[static_cast<size_t>(y) * w + x] = static_cast<T>((x + y) / 8 + rng() % 32);
    }
    T* data() { return pixels.data(); }
    uint32_t strideBytes() const { return width * sizeof(T); }
};

inline void setImageCounters(benchmark::State& state, size_t bytesPerPixel) {
    state.SetBytesProcessed(static_cast<int64_t>(state.iterations()) * state.range(0) * state.range(1) *
                            static_cast<int64_t>(bytesPerPixel));
}

#define OMBRIX_BENCH_COPY_ROW() \
    BENCHMARK(ombrix_bench::BM_CopyImage)->Name("copy")->Apply(ombrix_bench::imageSizes)

// memcpy of one u8 image of the same size: the bandwidth floor for the table.
inline void BM_CopyImage(benchmark::State& state) {
    Image<uint8_t> src(state.range(0), state.range(1)), dst(state.range(0), state.range(1));
    for (auto _ : state) {
        memcpy(dst.data(), src.data(), dst.pixels.size());
        benchmark::ClobberMemory();
    }
    setImageCounters(state, 1);
}

}  // namespace ombrix_bench

#endif  // OMBRIX_BENCH_SUPPORT_H
