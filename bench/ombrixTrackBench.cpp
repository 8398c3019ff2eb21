// Tracking: the Lucas-Kanade tracker with its gradient kernel on the
// reference and on the vector variant (as the vector mode installs it),
// mean shift, and block matching with its kernels on either variant.
//
// Peers: OpenCV's calcOpticalFlowPyrLK on pyramids built beforehand by
// buildOpticalFlowPyramid (which also stores the Scharr derivatives of every
// level, work our tracker does per feature inside the call), with the same
// window, level count, iteration limit and 0.03-pixel step criterion; OpenCV's
// meanShift; and for block matching a plain exhaustive 16x16 SAD search over
// the same grid and range written here (rows named bruteforce). Times are per
// call; LK also reports items = tracked points.
#include <cmath>

#include "ombrixBenchSupport.h"
#include "ombrixKernels.h"

#ifdef OMBRIX_HAVE_OPENCV_VIDEO
#include <opencv2/video/tracking.hpp>
#endif

namespace {

using ombrix_bench::Image;

// A smooth texture of several orientations and wavelengths, shifted by
// (dx, dy) pixels and rounded to 8 bits.
Image<uint8_t> texture(uint32_t w, uint32_t h, double dx, double dy) {
    Image<uint8_t> img(w, h);
    for (uint32_t y = 0; y < h; ++y)
        for (uint32_t x = 0; x < w; ++x) {
            const double u = x - dx, v = y - dy;
            const double t = 128 + 40 * std::sin(0.31 * u + 0.17 * v) + 30 * std::cos(0.23 * v - 0.19 * u + 1.0) +
                             25 * std::sin(0.11 * u + 0.6) * std::cos(0.27 * v) + 20 * std::sin(0.07 * (u + v));
            img.pixels[size_t{y} * w + x] = static_cast<uint8_t>(std::lround(std::clamp(t, 0.0, 255.0)));
        }
    return img;
}

// ---- Lucas-Kanade ----------------------------------------------------------------------

constexpr int32_t kPoints = 500, kWindow = 9, kLevels = 3, kIterations = 20;
constexpr double kShiftX = 1.7, kShiftY = -1.3;

// 500 points on a grid, away from the edges.
std::vector<float> trackPoints(uint32_t w, uint32_t h) {
    std::vector<float> xy;
    const uint32_t margin = 40, cols = 25, rows = kPoints / cols;
    for (uint32_t r = 0; r < rows; ++r)
        for (uint32_t c = 0; c < cols; ++c)
            xy.push_back(margin + (w - 2 * margin) * (c + 0.37f) / cols),
                xy.push_back(margin + (h - 2 * margin) * (r + 0.61f) / rows);
    return xy;
}

struct LKScene {
    Image<uint8_t> first, second;
    std::vector<obxPyramidLevel> pyr1, pyr2;
    std::vector<float> xy;
    LKScene(uint32_t w, uint32_t h)
        : first(texture(w, h, 0, 0)), second(texture(w, h, kShiftX, kShiftY)), pyr1(kLevels), pyr2(kLevels),
          xy(trackPoints(w, h)) {
        obxPyramidAllocate_(pyr1.data(), w, h, 1, kLevels, 0);
        obxPyramidAllocate_(pyr2.data(), w, h, 1, kLevels, 0);
        obxPyramidCreateu8_(first.data(), w, h, kLevels, pyr1.data());
        obxPyramidCreateu8_(second.data(), w, h, kLevels, pyr2.data());
    }
    ~LKScene() {
        obxPyramidDelete_(pyr1.data(), kLevels, 1);
        obxPyramidDelete_(pyr2.data(), kLevels, 1);
    }
};

template <calcIxIy_32f_fn* Gradients>
void BM_LK(benchmark::State& state) {
    LKScene scene(state.range(0), state.range(1));
    std::vector<float> out(scene.xy.size());
    std::vector<int32_t> status(kPoints);
    calcIxIy_32f_ = Gradients;
    for (auto _ : state) {
        obxTrackLKOpticalFlowf32C(scene.first.data(), scene.second.data(), scene.first.width, scene.first.height,
                                  scene.pyr1.data(), scene.pyr2.data(), nullptr, nullptr, scene.xy.data(), out.data(),
                                  status.data(), kPoints, kWindow, kWindow, kIterations, kLevels);
        benchmark::ClobberMemory();
    }
    calcIxIy_32f_ = calcIxIy_32fC;
    state.counters["tracked"] = static_cast<double>(std::count(status.begin(), status.end(), 1));
    state.SetItemsProcessed(state.iterations() * kPoints);
}
BENCHMARK_TEMPLATE(BM_LK, calcIxIy_32fC)->Name("obxTrackLKOpticalFlowf32/reference")->Apply(ombrix_bench::imageSizes);
BENCHMARK_TEMPLATE(BM_LK, calcIxIy_32fV)->Name("obxTrackLKOpticalFlowf32/vector")->Apply(ombrix_bench::imageSizes);

// The gradient kernel alone, on the bordered patch of one 9x9 window.
template <calcIxIy_32f_fn* Gradients>
void BM_Gradients(benchmark::State& state) {
    const uint32_t w = state.range(0), h = state.range(1);
    std::vector<float> patch(size_t{w + 2} * (h + 2)), dx(size_t{w} * h), dy(size_t{w} * h);
    std::mt19937 rng(3);
    for (float& p : patch) p = static_cast<float>(rng() % 25600) / 100.0f;
    for (auto _ : state) {
        Gradients(patch.data() + w + 3, (w + 2) * 4, w, h, dx.data(), dy.data(), w * 4);
        benchmark::ClobberMemory();
    }
    state.SetItemsProcessed(state.iterations() * w * h);
}
void windowSizes(benchmark::internal::Benchmark* b) { b->Args({9, 9})->Args({21, 21}); }
BENCHMARK_TEMPLATE(BM_Gradients, calcIxIy_32fC)->Name("calcIxIy_32f/reference")->Apply(windowSizes);
BENCHMARK_TEMPLATE(BM_Gradients, calcIxIy_32fV)->Name("calcIxIy_32f/vector")->Apply(windowSizes);

#ifdef OMBRIX_HAVE_OPENCV_VIDEO
void BM_CvLK(benchmark::State& state) {
    LKScene scene(state.range(0), state.range(1));
    const cv::Mat a = ombrix_bench::asMat(scene.first, CV_8U), b = ombrix_bench::asMat(scene.second, CV_8U);
    std::vector<cv::Mat> pyrA, pyrB;
    const cv::Size win(kWindow, kWindow);
    cv::buildOpticalFlowPyramid(a, pyrA, win, kLevels - 1);
    cv::buildOpticalFlowPyramid(b, pyrB, win, kLevels - 1);
    std::vector<cv::Point2f> in, out;
    for (int32_t i = 0; i < kPoints; ++i) in.emplace_back(scene.xy[2 * i], scene.xy[2 * i + 1]);
    std::vector<uchar> status;
    std::vector<float> err;
    const cv::TermCriteria criteria(cv::TermCriteria::COUNT | cv::TermCriteria::EPS, kIterations, 0.03);
    for (auto _ : state) {
        cv::calcOpticalFlowPyrLK(pyrA, pyrB, in, out, status, err, win, kLevels - 1, criteria);
        benchmark::ClobberMemory();
    }
    state.counters["tracked"] = static_cast<double>(std::count(status.begin(), status.end(), 1));
    state.SetItemsProcessed(state.iterations() * kPoints);
}
BENCHMARK(BM_CvLK)->Name("obxTrackLKOpticalFlowf32/opencv")->Apply(ombrix_bench::imageSizes);
#endif

// ---- Mean shift ------------------------------------------------------------------------

// A weight image with a Gaussian blob; the window starts 40 pixels off it.
Image<uint8_t> blob(uint32_t w, uint32_t h) {
    Image<uint8_t> img(w, h);
    const double cx = w * 0.55, cy = h * 0.45, s = h / 10.0;
    for (uint32_t y = 0; y < h; ++y)
        for (uint32_t x = 0; x < w; ++x)
            img.pixels[size_t{y} * w + x] =
                static_cast<uint8_t>(250 * std::exp(-((x - cx) * (x - cx) + (y - cy) * (y - cy)) / (2 * s * s)));
    return img;
}
constexpr int32_t kMeanShiftWindow = 96;
std::array<int32_t, 4> startWindow(uint32_t w, uint32_t h) {
    return {static_cast<int32_t>(w * 0.55) - kMeanShiftWindow / 2 - 40,
            static_cast<int32_t>(h * 0.45) - kMeanShiftWindow / 2 + 30, kMeanShiftWindow, kMeanShiftWindow};
}

void BM_MeanShift(benchmark::State& state) {
    Image<uint8_t> src = blob(state.range(0), state.range(1));
    int32_t passes = 0;
    for (auto _ : state) {
        std::array<int32_t, 4> window = startWindow(src.width, src.height);
        passes = obxMeanShiftu8C(src.data(), src.width, src.height, src.width, window.data(), 10, 1.0f);
        benchmark::DoNotOptimize(window);
    }
    state.counters["passes"] = passes;
}
BENCHMARK(BM_MeanShift)->Name("obxMeanShiftu8/reference")->Apply(ombrix_bench::imageSizes);

#ifdef OMBRIX_HAVE_OPENCV_VIDEO
void BM_CvMeanShift(benchmark::State& state) {
    Image<uint8_t> src = blob(state.range(0), state.range(1));
    const cv::Mat in = ombrix_bench::asMat(src, CV_8U);
    int passes = 0;
    for (auto _ : state) {
        const std::array<int32_t, 4> start = startWindow(src.width, src.height);
        cv::Rect window(start[0], start[1], start[2], start[3]);
        passes = cv::meanShift(in, window, cv::TermCriteria(cv::TermCriteria::COUNT | cv::TermCriteria::EPS, 10, 1.0));
        benchmark::DoNotOptimize(window);
    }
    state.counters["passes"] = passes;
}
BENCHMARK(BM_CvMeanShift)->Name("obxMeanShiftu8/opencv")->Apply(ombrix_bench::imageSizes);
#endif

// ---- Block matching --------------------------------------------------------------------

constexpr uint32_t kGrid = 16, kRange = 8;

struct BMKernels {
    obxSumOfAbsoluteDiff16x16u8_fn* sad;
    calculateBlockSum16x16_fn* sum;
    calculateBlockSAD_ZeroMean16x16_fn* zeroMean;
};
constexpr BMKernels kReferenceKernels{obxSumOfAbsoluteDiff16x16u8C, calculateBlockSum16x16C,
                                      calculateBlockSAD_ZeroMean16x16C};
constexpr BMKernels kVectorKernels{obxSumOfAbsoluteDiff16x16u8V, calculateBlockSum16x16V,
                                   calculateBlockSAD_ZeroMean16x16V};

template <const BMKernels* Kernels>
void BM_BlockMatch(benchmark::State& state) {
    Image<uint8_t> a = texture(state.range(0), state.range(1), 0, 0), b = texture(state.range(0), state.range(1), 3, 2);
    const size_t capacity = size_t{a.width / kGrid + 1} * (a.height / kGrid + 1);
    std::vector<uint32_t> locX(capacity), locY(capacity), mvX(capacity), mvY(capacity);
    uint32_t count = 0;
    obxSumOfAbsoluteDiff16x16u8_ = Kernels->sad;
    calculateBlockSum16x16_ = Kernels->sum;
    calculateBlockSAD_ZeroMean16x16_ = Kernels->zeroMean;
    for (auto _ : state) {
        obxTrackBMOpticalFlow16x16u8C(a.data(), b.data(), a.width, a.height, a.width, 0, 0, a.width, a.height, kGrid,
                                      kRange, kRange, 1, 0, &count, locX.data(), locY.data(), mvX.data(), mvY.data());
        benchmark::ClobberMemory();
    }
    obxSumOfAbsoluteDiff16x16u8_ = kReferenceKernels.sad;
    calculateBlockSum16x16_ = kReferenceKernels.sum;
    calculateBlockSAD_ZeroMean16x16_ = kReferenceKernels.zeroMean;
    state.counters["vectors"] = count;
}
BENCHMARK_TEMPLATE(BM_BlockMatch, &kReferenceKernels)
    ->Name("obxTrackBMOpticalFlow16x16u8/reference")
    ->Apply(ombrix_bench::imageSizes);
BENCHMARK_TEMPLATE(BM_BlockMatch, &kVectorKernels)
    ->Name("obxTrackBMOpticalFlow16x16u8/vector")
    ->Apply(ombrix_bench::imageSizes);

// The plain peer: every block on the same grid, every position within the
// same range, a scalar SAD, the first minimum kept.
void BM_BruteForceBlockMatch(benchmark::State& state) {
    Image<uint8_t> a = texture(state.range(0), state.range(1), 0, 0), b = texture(state.range(0), state.range(1), 3, 2);
    const int32_t w = a.width, h = a.height, range = kRange;
    std::vector<int32_t> motion;
    for (auto _ : state) {
        motion.clear();
        for (int32_t y = 0; y + 16 <= h; y += kGrid)
            for (int32_t x = 0; x + 16 <= w; x += kGrid) {
                uint32_t best = UINT32_MAX;
                int32_t bestX = x, bestY = y;
                for (int32_t v = std::max(0, y - range); v <= std::min(h - 16, y + range); ++v)
                    for (int32_t u = std::max(0, x - range); u <= std::min(w - 16, x + range); ++u) {
                        uint32_t sad = 0;
                        for (int32_t r = 0; r < 16; ++r) {
                            const uint8_t* p = a.data() + size_t(y + r) * w + x;
                            const uint8_t* q = b.data() + size_t(v + r) * w + u;
                            for (int32_t c = 0; c < 16; ++c) sad += std::abs(p[c] - q[c]);
                        }
                        if (sad < best) best = sad, bestX = u, bestY = v;
                    }
                motion.push_back(bestX - x), motion.push_back(bestY - y);
            }
        benchmark::ClobberMemory();
    }
    state.counters["vectors"] = static_cast<double>(motion.size() / 2);
}
BENCHMARK(BM_BruteForceBlockMatch)->Name("obxTrackBMOpticalFlow16x16u8/bruteforce")->Apply(ombrix_bench::imageSizes);

}  // namespace

OMBRIX_BENCH_COPY_ROW();

BENCHMARK_MAIN();
