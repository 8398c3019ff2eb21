// FAST corners at barrier 20: the FAST9 and FAST10 detectors, reference
// against vector variant, and FAST9 scoring with suppression with the
// detector and score slots on the references or on the vector variants.
// OpenCV's single-threaded cv::FAST (TYPE_9_16, same threshold, without and
// with its non-maximum suppression) is the FAST9 peer; it has no 10-of-16
// form. The scene is photo-like: shapes of many grey levels on a ramp, with
// mild noise.
#include <algorithm>

#include "ombrixBenchSupport.h"
#include "ombrixKernels.h"

#ifdef OMBRIX_HAVE_OPENCV_FEATURES2D
#include <opencv2/features2d.hpp>
#endif

namespace {

using ombrix_bench::setImageCounters;

constexpr int32_t kBarrier = 20;

// Rectangles and discs of random grey levels over a diagonal ramp, a band of
// stripes, and noise of +-4: corners where shapes meet, few in flat areas.
struct Scene {
    uint32_t width, height;
    std::vector<uint8_t> pixels;
    Scene(uint32_t w, uint32_t h) : width(w), height(h), pixels(static_cast<size_t>(w) * h) {
        std::mt19937 rng(7);
        for (uint32_t y = 0; y < h; ++y)
            for (uint32_t x = 0; x < w; ++x) at(x, y) = static_cast<uint8_t>(50 + 100 * (x + y) / (w + h));
        for (int shape = 0; shape < 150; ++shape) {
            const int cx = rng() % w, cy = rng() % h, rx = 5 + rng() % (w / 20), ry = 5 + rng() % (h / 20);
            const uint8_t level = static_cast<uint8_t>(rng());
            const bool disc = rng() % 2;
            for (int y = std::max(0, cy - ry); y < std::min<int>(h, cy + ry); ++y)
                for (int x = std::max(0, cx - rx); x < std::min<int>(w, cx + rx); ++x)
                    if (!disc || double(x - cx) * (x - cx) / (rx * rx) + double(y - cy) * (y - cy) / (ry * ry) <= 1)
                        at(x, y) = level;
        }
        for (uint32_t y = h * 3 / 4; y < h * 7 / 8; ++y)
            for (uint32_t x = 0; x < w / 3; ++x)
                if ((x / 6 + y / 9) % 2) at(x, y) = static_cast<uint8_t>(at(x, y) / 2 + 100);
        for (uint8_t& p : pixels) p = static_cast<uint8_t>(std::clamp(p + static_cast<int>(rng() % 9) - 4, 0, 255));
    }
    uint8_t& at(uint32_t x, uint32_t y) { return pixels[static_cast<size_t>(y) * width + x]; }
};

template <obxCornerFastu8_fn* Detect>
void BM_Detect(benchmark::State& state) {
    Scene src(state.range(0), state.range(1));
    std::vector<uint32_t> xy(2 * src.pixels.size());
    uint32_t n = 0;
    for (auto _ : state) {
        Detect(src.pixels.data(), src.width, src.height, src.width, kBarrier, 3, xy.data(),
               static_cast<uint32_t>(src.pixels.size()), &n);
        benchmark::ClobberMemory();
    }
    state.counters["corners"] = n;
    setImageCounters(state, 1);
}

// The scoring operation is reference code; `vector` points the detector and
// score slots it calls through at the vector variants.
template <bool Vector>
void BM_ScoreSuppressed(benchmark::State& state) {
    Scene src(state.range(0), state.range(1));
    const uint32_t capacity = static_cast<uint32_t>(src.pixels.size() / 4);
    std::vector<uint32_t> xy(2 * capacity), scores(capacity), temp(3 * capacity + src.height);
    uint32_t n = 0;
    obxCornerFast9u8_v2_ = Vector ? obxCornerFast9u8V : obxCornerFast9u8C;
    fast9_corner_score_ = Vector ? fast9_corner_scoreV : fast9_corner_scoreC;
    for (auto _ : state) {
        obxCornerFast9Scoreu8_v2C(src.pixels.data(), src.width, src.height, src.width, kBarrier, 3, xy.data(),
                                  scores.data(), capacity, &n, 1, temp.data());
        benchmark::ClobberMemory();
    }
    obxCornerFast9u8_v2_ = obxCornerFast9u8C;
    fast9_corner_score_ = fast9_corner_scoreC;
    state.counters["corners"] = n;
    setImageCounters(state, 1);
}

BENCHMARK_TEMPLATE(BM_Detect, obxCornerFast9u8C)->Name("obxCornerFast9u8_v2/reference")->Apply(ombrix_bench::imageSizes);
BENCHMARK_TEMPLATE(BM_Detect, obxCornerFast9u8V)->Name("obxCornerFast9u8_v2/vector")->Apply(ombrix_bench::imageSizes);
BENCHMARK_TEMPLATE(BM_Detect, obxCornerFast10u8C)->Name("obxCornerFast10u8/reference")->Apply(ombrix_bench::imageSizes);
BENCHMARK_TEMPLATE(BM_Detect, obxCornerFast10u8V)->Name("obxCornerFast10u8/vector")->Apply(ombrix_bench::imageSizes);
BENCHMARK_TEMPLATE(BM_ScoreSuppressed, false)
    ->Name("obxCornerFast9Scoreu8_v4/reference")
    ->Apply(ombrix_bench::imageSizes);
BENCHMARK_TEMPLATE(BM_ScoreSuppressed, true)
    ->Name("obxCornerFast9Scoreu8_v4/vector")
    ->Apply(ombrix_bench::imageSizes);

#ifdef OMBRIX_HAVE_OPENCV_FEATURES2D
template <bool Suppress>
void BM_CvFast(benchmark::State& state) {
    Scene src(state.range(0), state.range(1));
    const cv::Mat in(static_cast<int>(src.height), static_cast<int>(src.width), CV_8U, src.pixels.data());
    std::vector<cv::KeyPoint> keypoints;
    for (auto _ : state) {
        cv::FAST(in, keypoints, kBarrier, Suppress, cv::FastFeatureDetector::TYPE_9_16);
        benchmark::ClobberMemory();
    }
    state.counters["corners"] = static_cast<double>(keypoints.size());
    setImageCounters(state, 1);
}
BENCHMARK_TEMPLATE(BM_CvFast, false)->Name("obxCornerFast9u8_v2/opencv")->Apply(ombrix_bench::imageSizes);
BENCHMARK_TEMPLATE(BM_CvFast, true)->Name("obxCornerFast9Scoreu8_v4/opencv")->Apply(ombrix_bench::imageSizes);
#endif

}  // namespace

OMBRIX_BENCH_COPY_ROW();

BENCHMARK_MAIN();
