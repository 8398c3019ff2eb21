// Canny edge detection: reference against vector variant, and OpenCV's
// single-threaded cv::Canny (3x3 Sobel aperture, L1 gradient) as the peer.
//
// The scene has edges in every direction on a noisy background. Our
// thresholds are 64 and 128 (in 1/256 of the largest squared magnitude, so a
// quarter and a half of the largest gradient); OpenCV's are absolute, so they
// are set to a quarter and a half of the scene's largest L1 Sobel magnitude.
#include <math.h>

#include "ombrixBenchSupport.h"
#include "ombrixKernels.h"

namespace {

using ombrix_bench::setImageCounters;

constexpr int32_t kLow = 64, kHigh = 128;

// Discs, a rotated square and stripes over a ramp with a little noise.
struct Scene {
    uint32_t width, height;
    std::vector<uint8_t> pixels;
    Scene(uint32_t w, uint32_t h) : width(w), height(h), pixels(static_cast<size_t>(w) * h) {
        std::mt19937 rng(3);
        for (uint32_t y = 0; y < h; ++y)
            for (uint32_t x = 0; x < w; ++x) {
                const double u = static_cast<double>(x) / w, v = static_cast<double>(y) / h;
                int value = 60 + static_cast<int>(60 * u);
                for (int k = 0; k < 6; ++k) {
                    const double cx = 0.15 + 0.14 * k, cy = 0.3 + 0.08 * (k % 3), r = 0.05 + 0.02 * (k % 4);
                    if ((u - cx) * (u - cx) + (v - cy) * (v - cy) < r * r) value = 200 - 20 * k;
                }
                const double p = (u - 0.5) * 0.8 + (v - 0.75) * 0.6, q = -(u - 0.5) * 0.6 + (v - 0.75) * 0.8;
                if (fabs(p) < 0.12 && fabs(q) < 0.12) value = 30;
                if (v > 0.55 && u < 0.3 && static_cast<int>(u * 80 + v * 20) % 2) value += 70;
                pixels[static_cast<size_t>(y) * w + x] = static_cast<uint8_t>(value + static_cast<int>(rng() % 9));
            }
    }
};

template <obxFilterCanny3x3u8_v2_fn* Canny>
void BM_Canny(benchmark::State& state) {
    const Scene src(state.range(0), state.range(1));
    std::vector<uint8_t> dst(src.pixels.size());
    for (auto _ : state) {
        Canny(src.pixels.data(), src.width, src.height, src.width, dst.data(), src.width, kLow, kHigh);
        benchmark::ClobberMemory();
    }
    setImageCounters(state, 1);
}

BENCHMARK_TEMPLATE(BM_Canny, obxFilterCanny3x3u8C)->Name("obxFilterCanny3x3u8_v2/reference")->Apply(ombrix_bench::imageSizes);
BENCHMARK_TEMPLATE(BM_Canny, obxFilterCanny3x3u8V)->Name("obxFilterCanny3x3u8_v2/vector")->Apply(ombrix_bench::imageSizes);

#ifdef OMBRIX_HAVE_OPENCV
void BM_CvCanny(benchmark::State& state) {
    Scene src(state.range(0), state.range(1));
    const cv::Mat in(static_cast<int>(src.height), static_cast<int>(src.width), CV_8U, src.pixels.data());
    cv::Mat dx, dy, l1;
    cv::Sobel(in, dx, CV_16S, 1, 0, 3);
    cv::Sobel(in, dy, CV_16S, 0, 1, 3);
    cv::add(cv::abs(dx), cv::abs(dy), l1, cv::noArray(), CV_32S);
    double largest = 0;
    cv::minMaxLoc(l1, nullptr, &largest);
    cv::Mat out(in.size(), CV_8U);
    for (auto _ : state) {
        cv::Canny(in, out, largest * kLow / 256, largest * kHigh / 256, 3, false);
        benchmark::ClobberMemory();
    }
    setImageCounters(state, 1);
}
BENCHMARK(BM_CvCanny)->Name("obxFilterCanny3x3u8_v2/opencv")->Apply(ombrix_bench::imageSizes);
#endif

}  // namespace

OMBRIX_BENCH_COPY_ROW();

BENCHMARK_MAIN();
